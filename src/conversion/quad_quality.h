// SPDX-License-Identifier: Apache-2.0
// How good a triangle or a quadrilateral is.
#pragma once

// 1 for the ideal shape, 0 for a collapsed one, and in the plane down to -1 for one that is turned over. No
// function tests its input: coincident points and numbers that are not finite go through the formulas as
// they stand.
#include "geometry/angles.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

template <int Dim>
using corners_of_quad = point<Dim>[4];

/// x held between low and high; NaN stays NaN.
template <class Number>
[[gnu::always_inline]] inline Number held(const Number& x, double low, double high) noexcept {
    return smaller(larger(x, Number(low)), Number(high));
}

/// 2 sqrt(3) A / (P M) with the doubled area A, the perimeter P and the longest side M: 1 for an
/// equilateral triangle, 0 when P M is not above 0. In the plane A is signed.
///
/// a and b run from the third corner to the first and to the second, la is the length of a. The vector
/// product is formed from the two shorter of three vectors, so that little is cancelled. At equal lengths
/// the plane takes the third side and space does not.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number shape_quality_of_sides(const vector_of<Number, Dim>& a,
                                                            const vector_of<Number, Dim>& b,
                                                            const Number& la) noexcept {
    constexpr double equilateral = 3.4641016151377544;
    const vector_of<Number, Dim> c = difference<Dim>(b, a);
    const Number lb = length<Dim>(b);
    const Number lc = length<Dim>(c);
    const Number shorter = smaller(la, lb);
    const auto from_c = Dim == 2 ? !(lc > shorter) : lc < shorter;
    const Number double_area = cross_size(a, choose(from_c, c, b));
    const Number scale = (la + lb + lc) * larger(larger(la, lb), lc);
    return zero_where(!(scale > Number(0.0)),
                      held(Number(equilateral) * double_area / scale, -1, 1));
}

/// The shape quality of a triangle.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number
triangle_shape_quality(const vector_of<Number, Dim>& p0, const vector_of<Number, Dim>& p1,
                       const vector_of<Number, Dim>& p2) noexcept {
    const vector_of<Number, Dim> a = difference<Dim>(p0, p2);
    return shape_quality_of_sides<Dim>(a, difference<Dim>(p1, p2), length<Dim>(a));
}

/// The smaller shape quality of the triangles (a, b, c) and (c, d, a), which share the diagonal a-c.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number
shape_quality_of_cut(const vector_of<Number, Dim>& a, const vector_of<Number, Dim>& b,
                     const vector_of<Number, Dim>& c, const vector_of<Number, Dim>& d) noexcept {
    const vector_of<Number, Dim> from_c = difference<Dim>(a, c);
    const Number diagonal = length<Dim>(from_c);
    return smaller(
        shape_quality_of_sides<Dim>(from_c, difference<Dim>(b, c), diagonal),
        shape_quality_of_sides<Dim>(difference<Dim>(c, a), difference<Dim>(d, a), diagonal));
}

/// 1 when the largest angle is a right one, less the farther it is from that.
template <int Dim>
inline double triangle_angle_quality(const point<Dim>& p0, const point<Dim>& p1,
                                     const point<Dim>& p2) noexcept {
    const point<Dim> p[3] = {p0, p1, p2};
    const auto angles = polygon_angles<Dim, 3>(p, 1.0);
    double v = std::max({angles[0], angles[1], angles[2]}) * quad_angle_factor;
    if (v > 1) v = 2 - v;
    return std::max(v, -1.0);
}

/// The vectors along the sides of a quadrilateral, and what its qualities are made of.
template <int Dim>
struct quad_sides {
    point<Dim> side[4]; ///< side i runs from corner i to the next one
    double perimeter;
    double longest_squared; ///< of the sides and the diagonals

    explicit quad_sides(const corners_of_quad<Dim>& p) noexcept {
        perimeter = 0;
        longest_squared = std::max(squared_length<Dim>(difference<Dim>(p[2], p[0])),
                                   squared_length<Dim>(difference<Dim>(p[3], p[1])));
        for (std::size_t i = 0; i < 4; ++i) {
            side[i] = difference<Dim>(p[(i + 1) % 4], p[i]);
            const double squared = squared_length<Dim>(side[i]);
            longest_squared = std::max(longest_squared, squared);
            perimeter += std::sqrt(squared);
        }
    }
    /// The vector product of the sides that meet at corner i.
    auto at_corner(std::size_t i) const noexcept { return cross(side[(i + 3) % 4], side[i]); }
};

/// Makes the quality of a square 1: 4 sqrt(2).
constexpr double square_shape = 5.656854249492381;

/// Twist, from the normals n at the corners: 1 minus the sine of half the angle between the normals of
/// the pair of opposite corners where it is larger; 0 when a normal vanishes.
inline double warp_quality(const point<3> (&n)[4]) noexcept {
    constexpr double flat = 0.999999999999;
    const double c1 = dot<3>(n[1], n[3]);
    const double m1 = squared_length<3>(n[1]) * squared_length<3>(n[3]);
    const double c2 = dot<3>(n[0], n[2]);
    const double m2 = squared_length<3>(n[0]) * squared_length<3>(n[2]);
    if (!(m1 > 0) || !(m2 > 0)) return 0;
    const bool second = std::abs(c1) * c1 * m2 > std::abs(c2) * c2 * m1;
    const double c = held(second ? c2 / std::sqrt(m2) : c1 / std::sqrt(m1), -1, 1);
    if (c >= flat) return 1;
    return held(1 - std::sqrt((1 - c) / 2), 0, 1);
}

/// Shape and twist of a quadrilateral; in the plane there is none.
struct quad_quality {
    double shape;
    double warp;
};

/// In the plane: the smallest vector product at a corner over the longest side or diagonal and the
/// perimeter, which is negative at a corner that is turned over or re-entrant.
inline quad_quality quality_of_quad(const corners_of_quad<2>& p) noexcept {
    const quad_sides<2> sides(p);
    const double scale = std::sqrt(sides.longest_squared) * sides.perimeter;
    if (!(scale > 0)) return {0, 1};
    const double smallest =
        std::min({sides.at_corner(0), sides.at_corner(1), sides.at_corner(2), sides.at_corner(3)});
    return {held(smallest / scale * square_shape, -1, 1), 1};
}

/// In space: the same from the lengths of the corner normals, times the warp quality.
inline quad_quality quality_of_quad(const corners_of_quad<3>& p) noexcept {
    const quad_sides<3> sides(p);
    const point<3> n[4] = {sides.at_corner(0), sides.at_corner(1), sides.at_corner(2),
                           sides.at_corner(3)};
    const double smallest = std::min({squared_length<3>(n[0]), squared_length<3>(n[1]),
                                      squared_length<3>(n[2]), squared_length<3>(n[3])});
    const double scale = sides.longest_squared * (sides.perimeter * sides.perimeter);
    const double warp = warp_quality(n);
    const double shape = scale > 0 ? std::sqrt(smallest / scale) * square_shape : 0;
    return {held(shape * (smallest > 0 ? warp : 0), 0, 1), warp};
}

/// The smallest corner angle, where a right angle is 1 and what is above it counts as much less.
template <int Dim>
inline double quad_angle_quality(const corners_of_quad<Dim>& p) noexcept {
    const auto angles = polygon_angles<Dim, 4>(p, quad_angle_factor);
    const auto folded = [](double x) { return x > 1 ? 2 - x : x; };
    const double smallest =
        std::min({folded(angles[0]), folded(angles[1]), folded(angles[2]), folded(angles[3])});
    return held(smallest, -1, 1);
}

} // namespace zel::tessel2d
