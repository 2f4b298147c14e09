// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/mesh.h"

#include <functional>

namespace zel::demo {

/// A curve by its parameter from 0 to 1.
using curve = std::function<examples::point(double)>;

/// The sides of a patch: `bottom` and `top` run from left to right, `left` and `right` upwards.
/// They are taken to meet at the corners.
struct four_sides {
    curve bottom, right, top, left;
};

/// Places 2*(m+n) nodes around a patch behind the columns of `pos`, m cells along bottom and top and
/// n along the other sides, and returns the closed loop of their numbers: counterclockwise, from the
/// lower left corner on. An empty `pos` gets `dimension` rows.
dense1D<unsigned, 8> add_outline(dense2D<double>& pos, const four_sides& sides, unsigned m,
                                 unsigned n, unsigned dimension);

/// Places the nodes of a line behind the columns of `pos`, `cells` edges at equal steps of its
/// parameter, and returns the edges: 2 rows, one edge per column. A closed line ends at its first
/// node. An empty `pos` gets `dimension` rows.
dense2D<unsigned> add_line(dense2D<double>& pos, const curve& line, unsigned cells, bool closed,
                           unsigned dimension);

} // namespace zel::demo
