// SPDX-License-Identifier: Apache-2.0
// The areas of quadrilaterals.
#pragma once

// The formulas are templates over the number, `double` or `lanes`. Coincident points and numbers that are
// not finite go through them as they stand.
#include "geometry/point.h"

namespace zel::tessel2d {

/// Twice the signed area of a quadrilateral in the plane: the product of its diagonals.
template <class Number>
[[gnu::always_inline]] inline Number
quad_double_area_2d(const vector_of<Number, 2>& p0, const vector_of<Number, 2>& p1,
                    const vector_of<Number, 2>& p2, const vector_of<Number, 2>& p3) noexcept {
    return cross(difference<2>(p2, p0), difference<2>(p3, p1));
}

/// Twice the area of a quadrilateral in space, which may be warped: of the two ways to cut it into
/// triangles the one with the larger sum.
template <class Number>
[[gnu::always_inline]] inline Number
quad_double_area_3d(const vector_of<Number, 3>& p0, const vector_of<Number, 3>& p1,
                    const vector_of<Number, 3>& p2, const vector_of<Number, 3>& p3) noexcept {
    const vector_of<Number, 3> from_1_to_3 = difference<3>(p3, p1);
    const vector_of<Number, 3> from_0_to_2 = difference<3>(p2, p0);
    const Number along_13 = cross_size(difference<3>(p0, p1), from_1_to_3) +
                            cross_size(difference<3>(p2, p1), from_1_to_3);
    const Number along_02 = cross_size(from_0_to_2, difference<3>(p3, p0)) +
                            cross_size(from_0_to_2, difference<3>(p1, p0));
    return larger(along_13, along_02);
}

/// Twice the area of a quadrilateral, signed in the plane.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number
quad_double_area(const vector_of<Number, Dim>& p0, const vector_of<Number, Dim>& p1,
                 const vector_of<Number, Dim>& p2, const vector_of<Number, Dim>& p3) noexcept {
    if constexpr (Dim == 2) {
        return quad_double_area_2d(p0, p1, p2, p3);
    } else {
        return quad_double_area_3d(p0, p1, p2, p3);
    }
}

template <int Dim>
inline double quad_double_area(const points_view<Dim>& pos, std::size_t n0, std::size_t n1,
                               std::size_t n2, std::size_t n3) noexcept {
    return quad_double_area<Dim>(pos[n0], pos[n1], pos[n2], pos[n3]);
}

} // namespace zel::tessel2d
