// SPDX-License-Identifier: Apache-2.0
// Searches for nodes near a point, among those that a node detector holds.
//
// 1. In a grid the cells around that of the point are looked at first, then the rest of their rows, then the
//    rows below and above, in each row only what the circle of the best distance reaches. At a cut the half
//    of the point comes first.
// 2. Distances are computed in double precision, in a measure whose numbers neither overflow nor vanish. What
//    rounding can hide is settled exactly (`exact_sum`). So the node found is the nearest one, and of
//    several as near the one of the lowest number, whatever the order of the visits.
//
// Invariant: `limit` is not below the distance of any node that could still win, so that what is above it may
// be passed over.
#include "foundation/call_frame.h"
#include "tessel/exact_sum.h"
#include "tessel/node_index.h"
#include "zel/tessel.h"

#include <cmath>
#include <limits>

namespace zel::tessel {

using namespace tessel2d;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

/// What the rounding of two measures can hide: nodes within it are compared exactly.
constexpr double rounding = 0x1p-49;

/// Squares of distances. A search ends as soon as it meets one that is so small or so large that squares
/// lose digits.
struct plain_measure {
    static constexpr double unit = 1; ///< coordinates are multiplied by it
    static constexpr double least = 1e-280;
    static constexpr double most = 1e300;
    static constexpr double lost = 0; ///< more than what underflow can hide

    static double of(double dx, double dy) noexcept { return dx * dx + dy * dy; }
    /// How far what has at most this measure can lie along one axis, when it lies `other` along the other. A
    /// little more, since the difference of almost equal squares loses digits.
    static double reach(double measure, double other) noexcept {
        return std::sqrt(std::max(0.0, measure - other * other + measure * 0x1p-48));
    }
};

/// Quarters of distances, for coordinates of any size: slower.
struct any_measure {
    static constexpr double unit = 0.25; // differences do not overflow
    static constexpr double least = 0;
    static constexpr double most = infinite;
    static constexpr double lost = 0x1p-1070; // a quarter of a subnormal number loses two bits

    static double of(double dx, double dy) noexcept { return std::hypot(dx, dy); }
    static double reach(double measure, double) noexcept { return measure; }
};

template <class Measure>
double difference(double a, double b) noexcept {
    return a * Measure::unit - b * Measure::unit;
}

/// The sign of |p-a|^2 - |p-b|^2, which is the sum of 2pb - bb - 2pa + aa over both coordinates.
int exact_sign_of_excess(const double* p, const double* a, const double* b) noexcept {
    exact_sum sum;
    for (std::size_t i = 0; i < 2; ++i) {
        if (a[i] == b[i]) continue;
        sum.add_product(p[i], b[i], 1);
        sum.add_product(-b[i], b[i]);
        sum.add_product(-p[i], a[i], 1);
        sum.add_product(a[i], a[i]);
    }
    return sum.sign();
}

/// The same. (b-a)(2p-a-b) keeps the digits that squares lose far away from the nodes; if it is small against
/// its terms, or these are out of range, the sum is exact.
int sign_of_excess(const double* p, const double* a, const double* b) noexcept {
    constexpr double underflow = 1e-300;
    double excess = 0;
    double size = 0;
    for (std::size_t i = 0; i < 2; ++i) {
        const double across = b[i] - a[i];
        excess += across * ((p[i] - a[i]) + (p[i] - b[i]));
        size += std::fabs(across) * (std::fabs(p[i] - a[i]) + std::fabs(p[i] - b[i]));
    }
    if (std::fabs(excess) > size * rounding + underflow && size < infinite)
        return excess > 0 ? 1 : -1;
    return exact_sign_of_excess(p, a, b);
}

struct candidate {
    const held_node* node = nullptr;
    double measure = infinite;
    double limit = infinite; ///< what is above is farther away

    /// The nodes are so near or so far that the other measure is needed; the search is over.
    bool out_of_range() const noexcept { return limit < 0; }
};

/// Where a search stands along one side of a grid: cells `from` to `to` have been visited. The places of the
/// borders are a little uncertain, and so are the ways to them.
template <class Measure>
struct window {
    std::size_t from;
    std::size_t to;
    std::size_t last;
    double at;   ///< of the point, from the low side of the box
    double size; ///< of a cell
    double uncertain;
    double away; ///< way to the box, along this side

    window(const branch& b, std::size_t i, double x) noexcept
        : from(b.cell_along(i, x)),
          to(from),
          last(b.cells[i] - 1U),
          at(difference<Measure>(x, b.low[i])),
          size(1 / b.per_length[i] * Measure::unit),
          uncertain((std::fabs(at) + size * b.cells[i]) * 0x1p-48),
          away(std::max({0.0, -at, difference<Measure>(x, b.high[i])})) {}

    void widen() noexcept {
        from -= from > 0;
        to += to < last;
    }
    /// The least ways, along this side, to what lies beyond. NaN counts as near.
    double below() const noexcept {
        return std::max(0.0, at - static_cast<double>(from) * size - uncertain);
    }
    double above() const noexcept {
        return std::max(0.0, static_cast<double>(to + 1) * size - at - uncertain);
    }
    /// The cell at a way from the point, or one more in its direction.
    std::size_t cell_at_way(double way) const noexcept {
        const double cell = (at + way + std::copysign(uncertain, way)) / size;
        const double on = cell + std::copysign(1.0, way);
        return on > 0 ? static_cast<std::size_t>(std::min(on, static_cast<double>(last))) : 0;
    }
};

template <class Measure>
class closest_search {
public:
    closest_search(const node_index& searched, const vector_fixed<double, 2>& point) noexcept
        : index(searched), p(point.begin()) {}

    candidate best;

    void visit(const node_run& run, std::size_t branch_number) noexcept {
        if (!run.crowded()) return look_through(run);
        const branch& b = index.branches[branch_number];
        if (b.is_grid()) {
            in_grid(b);
        } else if (b.is_point()) {
            look_through({run.first, run.first + 1});
        } else {
            at_cut(b, run);
        }
    }
    void look_through(const node_run& run) noexcept {
        const node_run runs[1] = {run};
        look_through(runs);
    }

private:
    using grid_window = window<Measure>;

    const node_index& index;
    const double* p;

    // ------------------------------------------------------------------------------------- nodes

    double measure_to(const held_node& node) const noexcept {
        return Measure::of(difference<Measure>(p[0], node.x[0]),
                           difference<Measure>(p[1], node.x[1]));
    }
    bool is_at(const held_node* node) const noexcept {
        return node != nullptr && node->x[0] == p[0] && node->x[1] == p[1];
    }
    static double limit_of(double measure) noexcept {
        return measure * (1 + rounding) + Measure::lost;
    }

    /// Of two nodes almost equally near, returns true if `other` is nearer than the one that is held, or as
    /// near and of the lower number.
    bool wins_close_call(const held_node& other) const noexcept {
        const held_node& held = *best.node;
        if (other.x[0] == held.x[0] && other.x[1] == held.x[1]) return other.number < held.number;
        const int sign = sign_of_excess(p, held.x, other.x);
        return sign > 0 || (sign == 0 && other.number < held.number);
    }

    /// Offers the nodes one by one, with care for those that are almost equally near.
    void look_closely(const node_run& run) noexcept {
        for (std::size_t k = run.first; k < run.last; ++k) {
            const held_node& node = index.nodes[k];
            const double d = measure_to(node);
            if (d > best.limit) continue;
            if (best.node == nullptr || limit_of(d) < best.measure || wins_close_call(node))
                best = {&node, d, limit_of(d)};
        }
    }

    /// Finds the least and the second least measure, branch-free. Only if the two are almost equal are the
    /// nodes looked at closely. A node at the point itself is the nearest in any measure; only another one
    /// there may have a lower number.
    template <std::size_t N>
    void look_through(const node_run (&runs)[N]) noexcept {
        std::size_t nodes = 0;
        for (const node_run& run : runs) nodes += run.count();
        if (nodes == 0 || best.out_of_range()) return;
        const held_node* nearest = best.node;
        double least = best.measure;
        double second = infinite;
        for (const node_run& run : runs)
            for (std::size_t k = run.first; k < run.last; ++k) {
                const held_node& node = index.nodes[k];
                const double d = measure_to(node);
                const double larger = d > least ? d : least;
                second = larger < second ? larger : second;
                nearest = d < least ? &node : nearest;
                least = d < least ? d : least;
            }
        const double limit = limit_of(least);
        if (least > Measure::most || (least < Measure::least && !is_at(nearest))) {
            best = {nearest, least, -1};
        } else if (second > limit) {
            best = {nearest, least, limit};
        } else {
            for (const node_run& run : runs) look_closely(run);
        }
    }

    /// Returns true if what lies at least so far along the two axes is farther than the node that is held. A
    /// way that is not zero counts as more than nothing, also if its measure underflows.
    bool beyond(double dx, double dy) const noexcept {
        constexpr double nearly_zero = std::numeric_limits<double>::denorm_min();
        const double measure = Measure::of(dx, dy);
        return (dx != 0 || dy != 0 ? std::max(measure, nearly_zero) : measure) > best.limit;
    }

    // -------------------------------------------------------------------------------------- cuts

    void at_cut(const branch& b, const node_run& run) noexcept {
        double away[2]; // from the box
        for (std::size_t i = 0; i < 2; ++i)
            away[i] = difference<Measure>(p[i], std::clamp(p[i], b.low[i], b.high[i]));
        if (beyond(away[0], away[1])) return;
        const node_run halves[2] = {{run.first, b.first_begin}, {b.first_begin, run.last}};
        // mutation (>= -> >): which half comes first for a point at the cut
        const std::size_t near = p[b.cut_axis] >= b.cut_place ? 1 : 0;
        visit(halves[near], b.first_child + near);
        if (beyond(difference<Measure>(p[b.cut_axis], b.cut_place), 0)) return;
        visit(halves[1 - near], b.first_child + 1 - near);
    }

    // ------------------------------------------------------------------------------------- grids

    node_run row(const branch& b, std::size_t j, std::size_t from, std::size_t to) const noexcept {
        const unsigned* const begins = index.numbers.data() + b.first_begin + j * b.across();
        return {begins[from], begins[to + 1]};
    }

    /// Looks at cells `from` to `to` of a row.
    void look_at_row(const branch& b, std::size_t j, std::size_t from, std::size_t to) noexcept {
        const node_run run = row(b, j, from, to);
        if (b.first_child == 0 || !run.crowded()) return look_through(run);
        for (std::size_t i = from; i <= to; ++i) {
            const node_run cell = row(b, j, i, i);
            if (cell.crowded()) {
                visit(cell, index.numbers[b.first_child + j * b.across() + i]);
            } else {
                look_through(cell);
            }
        }
    }

    /// Looks at what the circle reaches of cells `from` to `to` of a row, which lies at least `dy` away. While
    /// there is no circle yet, one of a node at either side of the point's column serves.
    void look_at_reach(const branch& b, const grid_window& x, std::size_t j, double dy,
                       std::size_t from, std::size_t to) noexcept {
        const node_run run = row(b, j, from, to);
        if (run.count() == 0) return;
        if (best.node == nullptr) {
            const std::size_t middle = row(b, j, std::clamp(x.from, from, to), to).first;
            look_through({std::max(run.first + 1, middle) - 1, std::min(run.last, middle + 1)});
        }
        const double way = Measure::reach(best.limit, dy) * (1 + 0x1p-40);
        from = std::max(from, x.cell_at_way(-way));
        to = std::min(to, x.cell_at_way(way));
        if (from <= to) look_at_row(b, j, from, to);
    }

    /// Looks at the cells around the one of the point at once, if there are few nodes: their memory is
    /// prefetched before the first is compared.
    bool look_at_block(const branch& b, grid_window& x, grid_window& y) noexcept {
        const std::size_t middle = y.from;
        grid_window wide = x;
        wide.widen();
        const std::size_t low = middle > 0 ? middle - 1 : middle;
        const std::size_t high = middle < y.last ? middle + 1 : middle;
        node_run rows[3] = {row(b, middle, wide.from, wide.to), row(b, low, wide.from, wide.to),
                            row(b, high, wide.from, wide.to)};
        for (const node_run& run : rows) prefetch(index.nodes.data() + run.first);
        if (b.first_child != 0)
            for (const node_run& run : rows)
                if (run.crowded()) return false;
        if (low == middle) rows[1].last = rows[1].first;
        if (high == middle) rows[2].last = rows[2].first;
        look_through(rows);
        x = wide;
        y.from = low;
        y.to = high;
        return true;
    }

    /// The cell of the point, or the one next to it outside, with those around it; what is left of their
    /// rows; then the rows below and above, from near to far.
    void in_grid(const branch& b) noexcept {
        grid_window x(b, 0, p[0]);
        grid_window y(b, 1, p[1]);
        if (beyond(x.away, y.away)) return;
        if (!look_at_block(b, x, y)) look_at_row(b, y.from, x.from, x.to);
        if (x.from > 0 && !beyond(x.below(), y.away))
            for (std::size_t j = y.from; j <= y.to; ++j)
                look_at_reach(b, x, j, y.away, 0, x.from - 1);
        if (x.to < x.last && !beyond(x.above(), y.away))
            for (std::size_t j = y.from; j <= y.to; ++j)
                look_at_reach(b, x, j, y.away, x.to + 1, x.last);
        for (bool done = false; !done;) {
            done = true;
            if (y.from > 0 && !beyond(x.away, y.below())) {
                const double dy = y.below();
                look_at_reach(b, x, --y.from, dy, 0, x.last);
                done = false;
            }
            if (y.to < y.last && !beyond(x.away, y.above())) {
                const double dy = y.above();
                look_at_reach(b, x, ++y.to, dy, 0, x.last);
                done = false;
            }
        }
    }
};

template <class Measure>
candidate closest(const node_index& index, const vector_fixed<double, 2>& p) noexcept {
    closest_search<Measure> search(index, p);
    search.visit({0, index.nodes.size}, 0);
    return search.best;
}

unsigned find_in(const node_index& index, const vector_fixed<double, 2>& p) noexcept {
    constexpr double large = 1e150;
    if (std::fabs(p[0]) <= large && std::fabs(p[1]) <= large) {
        const candidate found = closest<plain_measure>(index, p);
        if (found.node != nullptr && !found.out_of_range()) return found.node->number;
    }
    const candidate found = closest<any_measure>(index, p);
    return found.node != nullptr ? found.node->number : no_node;
}

/// The run at the end of the way down to the cell of the point.
node_run descend(const node_index& index, const vector_fixed<double, 2>& p) noexcept {
    node_run run{0, index.nodes.size};
    std::size_t number = 0;
    while (run.crowded()) {
        const branch& b = index.branches[number];
        if (b.is_grid()) {
            const std::size_t cell = b.cell_at(p.begin());
            const unsigned* const begins = index.numbers.data() + b.first_begin + cell;
            // mutation (0 -> 1): an empty run is followed by a search for the nearest node
            run = {begins[0], begins[1]};
            if (run.crowded()) number = index.numbers[b.first_child + cell];
        } else if (b.is_point()) {
            return {run.first, run.first + 1};
        } else {
            const bool right = p[b.cut_axis] >= b.cut_place;
            (right ? run.first : run.last) = b.first_begin;
            number = b.first_child + (right ? 1 : 0);
        }
    }
    return run;
}

bool is_finite(const vector_fixed<double, 2>& p) noexcept {
    return std::isfinite(p[0]) && std::isfinite(p[1]);
}

} // namespace

node_detector::node_detector(const dense2D<double>& pos) noexcept {
    if (pos.rows != 2 || pos.cols > most_nodes) return;
    Ptr<node_index> made(new (std::nothrow) node_index);
    if (made && made->build(pos) && !made->nodes.empty()) index_ = made;
}

node_detector::node_detector(const node_detector& other) noexcept = default;
node_detector& node_detector::operator=(const node_detector& other) noexcept = default;
node_detector::~node_detector() = default;

std::size_t node_detector::size() const noexcept {
    return index_ ? index_->nodes.size : 0;
}

unsigned node_detector::find_close(const vector_fixed<double, 2>& point) const noexcept {
    if (!index_ || !is_finite(point)) return no_node;
    const node_run run = descend(*index_, point);
    if (run.count() == 0) return find_in(*index_, point);
    closest_search<plain_measure> search(*index_, point);
    search.look_through(run);
    // Squares of distances to nodes so far away may all be infinite.
    if (search.best.node == nullptr) return find_in(*index_, point);
    return search.best.node->number;
}

unsigned node_detector::find_closest(const vector_fixed<double, 2>& point) const noexcept {
    return index_ && is_finite(point) ? find_in(*index_, point) : no_node;
}

} // namespace zel::tessel
