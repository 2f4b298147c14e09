// SPDX-License-Identifier: Apache-2.0
#pragma once

// What an element adds to twelve times the volume that a closed surface encloses: the determinants of the corners of the
// triangles into which a quadrilateral can be cut, once for each cut, and those of a triangle twice.
#include "geometry/long_sum.h"
#include "zel/dense.h"

namespace zel::tessel2d {

/// A node as the factors of products.
struct exact_point {
    long_sum::factor at[3];

    explicit exact_point(const double* p) noexcept
        : at{long_sum::factor(p[0]), long_sum::factor(p[1]), long_sum::factor(p[2])} {}
};

/// Adds the determinant of the corners of a triangle, or with `twice` 1 the double of it.
inline void add_triangle(long_sum& sum, const exact_point& a, const exact_point& b,
                         const exact_point& c, unsigned twice) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3;
        const std::size_t k = (i + 2) % 3;
        sum.add(a.at[i], b.at[j], c.at[k], false, twice);
        sum.add(a.at[i], b.at[k], c.at[j], true, twice);
    }
}

/// Adds what a triangle, or a quadrilateral, encloses with the origin.
inline void add_element(long_sum& sum, const dense2D<double>& pos, const unsigned* cell,
                        bool quad) noexcept {
    const exact_point a(pos[cell[0]]);
    const exact_point b(pos[cell[1]]);
    const exact_point c(pos[cell[2]]);
    if (!quad) return add_triangle(sum, a, b, c, 1);
    const exact_point d(pos[cell[3]]);
    add_triangle(sum, a, b, c, 0);
    add_triangle(sum, a, c, d, 0);
    add_triangle(sum, a, b, d, 0);
    add_triangle(sum, b, c, d, 0);
}

} // namespace zel::tessel2d
