// SPDX-License-Identifier: Apache-2.0
// Cuts space into cells whose size follows from a tolerance, so that two points closer than it
// share a cell.
#pragma once

#include "foundation/call_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace zel::tessel {

/// The cells that the surroundings of a number touch in one direction: from `low` up to `high`, one to
/// three.
struct cell_range {
    std::uint64_t low;
    std::uint64_t high;
};

/// Cuts each axis into cells and measures distances in units of their size, which is a power of
/// two: the change of units neither rounds nor overflows nor underflows, whatever the tolerance.
struct cell_grid {
    double shrink = 1;  ///< the change of units is the product of three factors; this is at most 1
    double enlarge = 1; ///< and these are at least 1
    double enlarge_more = 1;
    double tolerance = 0; ///< in cells; infinity stays
    double reach = 0;     ///< the tolerance, but at most half a cell
    bool equal_only = true;

    /// `given` becomes at least 2^(bits - 1) and less than 2^bits cells, with `bits` at most -1. If it
    /// is not above 0, a cell is a single number.
    cell_grid(double given, int bits) noexcept {
        if (!(given > 0)) return;
        equal_only = false;
        int exponent = std::numeric_limits<double>::max_exponent;
        if (std::isfinite(given)) std::frexp(given, &exponent);
        const int scale = bits - exponent;
        constexpr int half = 600;
        if (scale <= 0) { // mutation (<= -> <): at zero both ways scale by one
            shrink = std::ldexp(1.0, scale);
        } else {
            enlarge = std::ldexp(1.0, std::min(scale, half));
            enlarge_more = std::ldexp(1.0, scale - std::min(scale, half));
        }
        tolerance = given * shrink * enlarge * enlarge_more;
        reach = std::min(tolerance, 0.5);
    }

    double in_cells(double x) const noexcept { return x * (shrink * enlarge) * enlarge_more; }

    /// The difference of two coordinates in cells. It is multiplied by `shrink` first and by the
    /// enlarging factors last, so that neither large numbers nor large units overflow.
    double difference(double x, double y) const noexcept {
        return (x * shrink - y * shrink) * enlarge * enlarge_more;
    }

    /// The cells within `distance` (at most `reach`) around x. Rounding keeps the order of numbers,
    /// and the distance is taken a little longer than given, so that no cell is missed.
    cell_range around(double x, double distance) const noexcept {
        const double c = in_cells(x);
        if (equal_only || !(std::fabs(c) <= most_cells)) {
            const std::uint64_t bits = bits_of(x + 0.0); // -0 becomes 0
            return {bits, bits};
        }
        const double way = distance * (1 + 1e-9);
        return {whole(c + (border_shift - way)), whole(c + (border_shift + way))};
    }

private:
    template <int Dim>
    friend struct inner_cells;

    /// Numbers beyond it, in cells, are at least half a cell apart and thus at least a tolerance:
    /// only equal ones share a cell.
    static constexpr double most_cells = 0x1p51;
    /// Keeps the borders of cells away from round numbers.
    static constexpr double border_shift = 0.3819660112501051;
    /// Adding this constant, 1.5 * 2^52, rounds a number to the nearest integer.
    static constexpr double to_whole = 0x1.8p52;

    static std::uint64_t bits_of(double x) noexcept {
        std::uint64_t bits;
        std::memcpy(&bits, &x, sizeof bits);
        return bits;
    }
    /// Numbers the cells: the numbers of neighbours follow one another.
    static std::uint64_t whole(double x) noexcept { return bits_of(x + to_whole); }
};

/// Returns true if two points have equal coordinates or lie closer than the tolerance.
template <int Dim>
struct closeness {
    const cell_grid& grid;
    double square;

    explicit closeness(const cell_grid& cells) noexcept
        : grid(cells), square(cells.tolerance * cells.tolerance) {}

    bool operator()(const double* p, const double* q) const noexcept {
        bool equal = true;
        double sum = 0;
        for (std::size_t i = 0; i < Dim; ++i) {
            const double d = grid.difference(p[i], q[i]);
            equal &= p[i] == q[i];
            sum += d * d;
        }
        return equal || sum < square;
    }
};

/// The cells around a point, by their hashes. The upper bits of a hash are mixed best.
template <int Dim>
struct cells_around {
    std::uint64_t low[static_cast<std::size_t>(Dim)];
    std::uint64_t high[static_cast<std::size_t>(Dim)];
    bool several = false;

    cells_around(const cell_grid& grid, const double* p, double distance) noexcept {
        for (std::size_t i = 0; i < Dim; ++i) {
            const cell_range range = grid.around(p[i], distance);
            low[i] = range.low;
            high[i] = range.high;
            several |= range.low != range.high;
        }
    }
    /// The hash of the lowest cell.
    std::uint64_t first() const noexcept {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < Dim; ++i) sum += spread(low[i], i);
        return finish(sum);
    }
    /// Calls visit(hash) for each cell.
    template <class Visit>
    void each(Visit visit) const noexcept {
        if (several) {
            each_from(0, 0, visit);
        } else {
            visit(first());
        }
    }

    /// The parts of a hash: the sum of `spread` over the coordinates, and `finish` of it.
    static std::uint64_t spread(std::uint64_t cell, std::size_t axis) noexcept {
        constexpr std::uint64_t factor[3] = {0x9E3779B97F4A7C15U, 0xC2B2AE3D27D4EB4FU,
                                             0xD6E8FEB86659FD93U};
        return cell * factor[axis];
    }
    static std::uint64_t finish(std::uint64_t sum) noexcept {
        return (sum ^ (sum >> 29)) * 0xBF58476D1CE4E5B9U;
    }

private:
    template <class Visit>
    void each_from(std::size_t axis, std::uint64_t sum, Visit& visit) const noexcept {
        if (axis == Dim) return visit(finish(sum));
        for (std::uint64_t cell = low[axis];; ++cell) {
            each_from(axis + 1, sum + spread(cell, axis), visit);
            if (cell == high[axis]) return;
        }
    }
};

/// Finds the cells of points that have no other cell within a distance. Most points are of this
/// kind, and it takes less time than `cells_around`: the loop over the coordinates of many points
/// is branch-free.
template <int Dim>
struct inner_cells {
    static constexpr std::size_t most = 64; ///< points at a time

    inner_cells(const cell_grid& grid, double distance) noexcept
        : factor_(grid.shrink * grid.enlarge * grid.enlarge_more),
          way_(grid.equal_only ? -1 : 0.5 - (distance + rounding)) {}

    /// Finds the cells of the points [begin, begin + count).
    void look_at(tessel2d::columns<const double> points, std::size_t begin,
                 std::size_t count) noexcept {
        double copies[most * Dim];
        const double* x = points[begin];
        if (points.ld != Dim) {
            for (std::size_t k = 0; k < count; ++k)
                std::copy_n(points[begin + k], Dim, copies + k * Dim);
            x = copies;
        }
        const double factor = factor_;
        const double way = way_;
        for (std::size_t k = 0; k < count * Dim; ++k) {
            const double c = x[k] * factor + cell_grid::border_shift;
            const double whole = c + cell_grid::to_whole;
            const double from_middle = std::fabs(c - (whole - cell_grid::to_whole));
            cells_[k] = from_middle <= way ? whole : 0.0;
        }
    }

    /// The hash of the cell of the k-th of them. Returns false if there may be other cells, or if
    /// the point is far from the origin or holds a NaN.
    bool hash_of(std::size_t k, std::uint64_t& hash) const noexcept {
        const std::uint64_t lowest = cell_grid::bits_of(cell_grid::to_whole) - most_cells;
        std::uint64_t sum = 0;
        std::uint64_t above_lowest = 0;
        for (std::size_t i = 0; i < Dim; ++i) {
            const std::uint64_t cell = cell_grid::bits_of(cells_[k * Dim + i]);
            above_lowest |= cell - lowest;
            sum += cells_around<Dim>::spread(cell, i);
        }
        hash = cells_around<Dim>::finish(sum);
        return above_lowest < 2 * most_cells;
    }

private:
    /// `hash_of` serves coordinates up to this size, in cells.
    static constexpr std::uint64_t most_cells = std::uint64_t{1} << 40;
    /// Bounds the rounding, in cells, of the few sums that form the position of such a coordinate.
    static constexpr double rounding = 0x1p-11;

    double factor_;
    double way_; ///< from the middle of a cell
    double cells_[most * Dim];
};

} // namespace zel::tessel
