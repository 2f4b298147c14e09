// SPDX-License-Identifier: Apache-2.0
// Nodes in Morton order: the order of a Z curve through the cells of a grid.
#pragma once

// What is done in this order finds most of its memory in the cache. The tree is built from it, and long
// lists of orphans are served in it.
#include "geometry/point.h"

#include <cstddef>
#include <cstdint>

namespace zel::tessel2d {

/// The bits of each coordinate of a `grid_point`.
constexpr unsigned grid_bits = 32;

/// The 32-bit coordinates by which the nodes of a tree are told apart.
struct grid_point {
    std::uint32_t x;
    std::uint32_t y;
};

/// A square of 2^32 x 2^32 grid cells in the plane.
struct node_grid {
    point<2> origin;
    double scale; ///< grid cells per unit of length

    /// The number of the grid cell of a coordinate. Coordinates outside the square go to its border, and
    /// NaN to cell 0.
    static std::uint32_t cell_of(double x, double origin, double scale) noexcept {
        constexpr double last = 4294967295.0;
        const double w = (x - origin) * scale;
        if (!(w >= 0)) return 0; // mutation (0 -> 1, >= -> >): what is below 1 is in cell 0 as well
        return w > last ? 0xFFFFFFFFu : static_cast<std::uint32_t>(w);
    }
    grid_point operator()(const point<2>& p) const noexcept {
        return {cell_of(p[0], origin[0], scale), cell_of(p[1], origin[1], scale)};
    }
};

/// The place of a point on the curve through 2^levels x 2^levels cells: the leading bits of x and y in
/// turn. The bits of both are spread at once, in the halves of one word.
inline std::uint32_t place_on_curve(const grid_point& p, unsigned levels) noexcept {
    if (levels == 0) return 0;
    const unsigned drop = grid_bits - levels;
    std::uint64_t s = (std::uint64_t{p.y >> drop} << 32) | (p.x >> drop);
    s = (s | (s << 8)) & 0x00FF00FF00FF00FFu;
    s = (s | (s << 4)) & 0x0F0F0F0F0F0F0F0Fu;
    s = (s | (s << 2)) & 0x3333333333333333u;
    s = (s | (s << 1)) & 0x5555555555555555u;
    return static_cast<std::uint32_t>(s | (s >> 31));
}

/// Nodes sorted along the curve; those of one cell keep the order that they had in the list.
struct curve_order {
    static constexpr std::size_t readable_behind = 3;

    dense1D<unsigned, 8> nodes; ///< `readable_behind` entries behind the end may be read
    dense1D<unsigned, 8> runs;  ///< the nodes of place c on the curve are [runs[c], runs[c + 1])
    unsigned levels = 0;

    /// Sorts a list, with a grid that has one to four nodes in a cell if they are spread evenly.
    /// Returns false if memory is exhausted.
    bool sort(const node_grid& grid, const points_view<2>& pos,
              const dense1D<unsigned, 8>& list) noexcept;
};

} // namespace zel::tessel2d
