// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "demo/outline.h"

namespace zel::demo {

/// A patch with four curved sides: waves below, a bow above, the sides bent to the right.
four_sides sail();

constexpr unsigned sail_cells_across = 16;
constexpr unsigned sail_cells_upward = 10;

/// The sail in quadrilaterals.
examples::mesh sail_of_quads();
/// The sail in triangles of a pattern, 0 to 2.
examples::mesh sail_of_triangles(int pattern, unsigned across = sail_cells_across,
                                 unsigned upward = sail_cells_upward);

/// The area within the four sides.
double area_of_sail();

} // namespace zel::demo
