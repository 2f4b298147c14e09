// SPDX-License-Identifier: Apache-2.0
// A grid of bits over a planar mesh, which says of most points that no element holds that no element does.
#pragma once

// covered_grid.cpp says which points are ruled out, and why no walk would have found an element for them.
#include "geometry/number.h"
#include "geometry/point.h"

#include <cstddef>
#include <limits>

namespace zel::host {

/// The cells of a grid along one direction, and from where to where the grid knows about points.
struct grid_axis {
    double low = std::numeric_limits<double>::max(); ///< nothing is known below, here nowhere
    double high = -std::numeric_limits<double>::max();
    double origin = 0; ///< the middle of cell 0
    double scale = 0;  ///< cells per unit of length
    double last = 0;   ///< the last cell, below 2^28

    bool knows(double x) const noexcept { return x >= low && x <= high; } // never a NaN

    /// The cell of a coordinate; coordinates outside the grid are in the first or last cell. It never
    /// decreases as x grows, rounding included. NaN is in some cell.
    template <class Number>
    [[gnu::always_inline]] Number cell_of(const Number& x) const noexcept {
        using tessel2d::larger;
        using tessel2d::smaller;
        const Number shift(6755399441055744.0); // 1.5 * 2^52: the sum has no fraction
        const Number w = (x - Number(origin)) * Number(scale);
        return (smaller(Number(last), larger(Number(0.0), w)) + shift) - shift;
    }
};

class covered_grid {
public:
    /// Searches with a larger tolerance, or with NaN, get no help.
    static constexpr double most_tolerance = 1e-4;

    /// Takes a mesh in place of the former one. It rules out no point if the mesh is empty, if an element
    /// is not sound, or if memory is exhausted.
    ///
    /// @param pos        2 x N coordinates.
    /// @param connect    3 x E triangles, or 4 x E quadrilaterals and triangles; node numbers below N.
    /// @param low, high  the bounding box of the nodes that are named; NaN does not count.
    void fill(const dense2D<double>& pos, const dense2D<unsigned>& connect,
              const tessel2d::point<2>& low, const tessel2d::point<2>& high) noexcept;

    /// Returns true if no walk with a tolerance up to `most_tolerance` finds an element that holds p, and none
    /// comes to a degenerate one. False says nothing.
    bool rules_out(const tessel2d::point<2>& p) const noexcept {
        if (!x_.knows(p[0]) || !y_.knows(p[1])) return false;
        const auto bit =
            static_cast<std::size_t>(y_.cell_of(p[1]) * (x_.last + 1) + x_.cell_of(p[0]));
        return (words_.data()[bit / 32] >> (bit % 32) & 1) == 0;
    }

private:
    grid_axis x_;
    grid_axis y_;
    dense1D<unsigned, 8> words_; // 32 cells each, row after row
};

} // namespace zel::host
