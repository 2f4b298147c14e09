// SPDX-License-Identifier: Apache-2.0
// Numbers the nodes of the grid of a four-sided patch: loop entries on the boundary, new nodes
// inside.
#pragma once

#include "geometry/point.h"

#include <cstddef>

namespace zel::tessel2d {

/// A patch of n1 x n cells, i from 0 to n1 along the bottom and j from 0 to n along the right side.
/// The loop B runs bottom, right, top, left; interior nodes are numbered from `first_new` on.
struct struct_patch {
    const unsigned* boundary;
    std::size_t n1;
    std::size_t n;
    std::size_t first_new;

    unsigned bottom(std::size_t i) const noexcept { return boundary[i]; }
    unsigned right(std::size_t j) const noexcept { return boundary[n1 + j]; }
    unsigned top(std::size_t i) const noexcept { return boundary[2 * n1 + n - i]; }
    unsigned left(std::size_t j) const noexcept { return boundary[2 * (n1 + n) - j]; }
    std::size_t interior(std::size_t i, std::size_t j) const noexcept {
        return first_new + (i - 1) * (n - 1) + (j - 1);
    }
};

/// The number of the node at grid point (i, j), which may need 64 bits.
inline std::size_t struct_node_number(const struct_patch& patch, std::size_t i,
                                      std::size_t j) noexcept {
    if (j == 0) return patch.bottom(i);
    if (i == patch.n1) return patch.right(j);
    if (j == patch.n) return patch.top(i);
    if (i != 0) return patch.interior(i, j);
    return patch.left(j);
}

/// The same in a patch whose numbers have 32 bits.
inline unsigned struct_node_id(const struct_patch& patch, std::size_t i, std::size_t j) noexcept {
    return static_cast<unsigned>(struct_node_number(patch, i, j));
}

/// A sphere onto which the interior nodes of a patch are moved, away from its centre. A node at the centre
/// stays there.
struct ball {
    point<3> center;
    double radius;
};

/// Computes the interior nodes of the lines first_i <= i < end_i, which lie between 1 and n1. The boundary is
/// read from `pos`; the nodes go to the columns of `out` from `to` on, which may be those of `pos`.
void place_lines(const struct_patch& patch, const ball* onto, const dense2D<double>& pos,
                 std::size_t first_i, std::size_t end_i, dense2D<double>& out,
                 std::size_t to) noexcept;

/// As the public functions of this name, for a patch whose interior nodes are moved onto a sphere;
/// with null they are not moved.
int mesh_struct_Q4(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   dense2D<unsigned>& connect, const ball* onto);
int mesh_struct_T3(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   int pattern, dense2D<unsigned>& connect, const ball* onto);

} // namespace zel::tessel2d
