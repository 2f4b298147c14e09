// SPDX-License-Identifier: Apache-2.0
#pragma once

// What an element adds to twelve times the volume that a closed surface encloses: the determinants of the corners of the
// triangles into which a quadrilateral can be cut, once for each cut, and those of a triangle twice.
#include "geometry/long_sum.h"
#include "zel/dense.h"

namespace zel::tessel2d {

/// Adds the determinant of the corners of a triangle.
inline void add_triangle(long_sum& sum, const double* a, const double* b,
                         const double* c) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3;
        const std::size_t k = (i + 2) % 3;
        sum.add(a[i], b[j], c[k], false);
        sum.add(a[i], b[k], c[j], true);
    }
}

/// Adds what a triangle, or a quadrilateral, encloses with the origin.
inline void add_element(long_sum& sum, const dense2D<double>& pos, const unsigned* cell,
                        bool quad) noexcept {
    const double* const a = pos[cell[0]];
    const double* const b = pos[cell[1]];
    const double* const c = pos[cell[2]];
    add_triangle(sum, a, b, c);
    if (!quad) return add_triangle(sum, a, b, c);
    const double* const d = pos[cell[3]];
    add_triangle(sum, a, c, d);
    add_triangle(sum, a, b, d);
    add_triangle(sum, b, c, d);
}

} // namespace zel::tessel2d
