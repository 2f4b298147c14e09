// SPDX-License-Identifier: Apache-2.0
// The areas, normals and circumcircles of triangles.
#pragma once

// The formulas are templates over the number, `double` or `lanes`. Each has one fixed order of terms, so
// that it gives the same bits wherever it is inlined. None tests its input: coincident points and numbers
// that are not finite go through the formula as they stand.
#include "geometry/point.h"

#include <limits>

namespace zel::tessel2d {

/// The squared radius of the circle through three points on a line: there is none.
constexpr double unbounded = std::numeric_limits<double>::max();

// ------------------------------------------------------------------------------- areas and normals

/// Twice the area of a triangle: in the plane positive when it turns counterclockwise, in space the
/// norm of the vector product.
///
/// The product is formed from two sides at p2, or from one of them and the third side when that is
/// shorter than both of them: the shorter the factors, the less is cancelled.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number
triangle_double_area(const vector_of<Number, Dim>& p0, const vector_of<Number, Dim>& p1,
                     const vector_of<Number, Dim>& p2) noexcept {
    const vector_of<Number, Dim> a = difference<Dim>(p0, p2);
    const vector_of<Number, Dim> b = difference<Dim>(p1, p2);
    const vector_of<Number, Dim> c = difference<Dim>(b, a);
    const Number shorter = smaller(squared_length<Dim>(a), squared_length<Dim>(b));
    const auto from_c = squared_length<Dim>(c) < shorter;
    return cross_size(a, difference<Dim>(b, kept_where<Dim>(from_c, a))); // b - a is c
}

template <int Dim>
inline double triangle_double_area(const points_view<Dim>& pos, std::size_t n0, std::size_t n1,
                                   std::size_t n2) noexcept {
    return triangle_double_area<Dim>(pos[n0], pos[n1], pos[n2]);
}

/// a x b, or a x c where c is not longer than the shorter one of a and b.
template <class Number>
[[gnu::always_inline]] inline vector_of<Number, 3>
normal_of_sides(const vector_of<Number, 3>& a, const vector_of<Number, 3>& b,
                const vector_of<Number, 3>& c) noexcept {
    const Number shorter = smaller(squared_length<3>(a), squared_length<3>(b));
    return cross(a, choose(squared_length<3>(c) > shorter, b, c));
}

/// The normal of a triangle in space, as long as twice the area, on the side from which the corners
/// turn counterclockwise. Points on a line give a vector that is zero or nearly so.
template <class Number>
[[gnu::always_inline]] inline vector_of<Number, 3>
triangle_normal(const vector_of<Number, 3>& p0, const vector_of<Number, 3>& p1,
                const vector_of<Number, 3>& p2) noexcept {
    return normal_of_sides(difference<3>(p0, p2), difference<3>(p1, p2), difference<3>(p1, p0));
}

inline point<3> triangle_normal(std::size_t n0, std::size_t n1, std::size_t n2,
                                const points_view<3>& pos) noexcept {
    return triangle_normal(pos[n0], pos[n1], pos[n2]);
}

// ---------------------------------------------------------------------------------- circumcircles

/// Solves a x + b y = r1, b x + c y = r2, where `inverse_determinant` is 1/(a c - b b).
///
/// Cramer's rule, then at most `passes` steps of iterative refinement, which end early when a step
/// no longer moves x and y by more than 1e-12 of their size.
template <class Number>
[[gnu::always_inline]] inline void
solve_2x2_symmetric(const Number& a, const Number& b, const Number& c,
                    const Number& inverse_determinant, const Number& r1, const Number& r2,
                    Number& x, Number& y, int passes) noexcept {
    x = (c * r1 - b * r2) * inverse_determinant;
    y = (a * r2 - b * r1) * inverse_determinant;
    auto settled = nowhere(x);
    for (int pass = 0; pass < passes; ++pass) {
        const Number e1 = r1 - (a * x + b * y);
        const Number e2 = r2 - (b * x + c * y);
        const Number dx = (c * e1 - b * e2) * inverse_determinant;
        const Number dy = (a * e2 - b * e1) * inverse_determinant;
        x = choose(settled, x, x + dx);
        y = choose(settled, y, y + dy);
        settled = either(settled, !either(absolute(dx) > Number(relative_slack) * absolute(x),
                                          absolute(dy) > Number(relative_slack) * absolute(y)));
        if (none(!settled)) break;
    }
}

/// The circle through the corners of a triangle.
template <class Number, int Dim>
struct circle_of {
    vector_of<Number, Dim> center;
    Number squared_radius;
};

template <int Dim>
using circumcircle = circle_of<double, Dim>;

/// Which side of a triangle in the plane is the longest; of equally long ones the first. It lies opposite to
/// corner 2 where `third` is set, else to corner 1 where `second` is set, else to corner 0.
template <class Mask>
struct longest_side {
    Mask second;
    Mask third;
};

template <class Number>
[[gnu::always_inline]] inline auto longest_side_of(const vector_of<Number, 2>& p0,
                                                   const vector_of<Number, 2>& p1,
                                                   const vector_of<Number, 2>& p2) noexcept {
    const Number squared0 = squared_length<2>(difference<2>(p2, p1));
    const Number squared1 = squared_length<2>(difference<2>(p0, p2));
    const Number squared2 = squared_length<2>(difference<2>(p1, p0));
    const auto second_wins = squared1 > squared0;
    return longest_side<decltype(nowhere(squared0))>{second_wins,
                                                     squared2 > larger(squared0, squared1)};
}

/// In the plane, from the corner opposite to the longest side and the ends of that side, counterclockwise or
/// clockwise as the triangle is. The centre is sought from the midpoint of the side, along its perpendicular.
///
/// A triangle whose height is not above 5e-13 of the distance from that midpoint to the corner is
/// flat: its centre is the midpoint, and its squared radius is `unbounded` unless the corner lies as far
/// away as the ends of the side, that is, on one of them.
template <class Number>
[[gnu::always_inline]] inline circle_of<Number, 2>
circumcircle_of_longest_side(const vector_of<Number, 2>& corner, const vector_of<Number, 2>& from,
                             const vector_of<Number, 2>& to) noexcept {
    using vector = vector_of<Number, 2>;
    const Number flat(relative_slack * relative_slack);
    const vector d = difference<2>(to, from);
    const vector ends = sum<2>(from, to);
    const vector middle{ends[0] * Number(0.5), ends[1] * Number(0.5)};
    const vector w = difference<2>(corner, middle);
    const Number h2 = squared_length<2>(d) * Number(0.25);
    const Number ww = squared_length<2>(w);
    const Number t = cross(d, w);
    const auto has_height = t * t > ww * flat * h2;
    const auto at_an_end = !(absolute(ww - h2) > Number(relative_slack) * h2);
    const Number s = (ww - h2) / t;
    // The centre is middle + s/2 (-d1, d0). Both terms are subtracted, and -0 - 0 is -0: where there is none, the
    // centre is the midpoint with its signs.
    const auto moves = both(has_height, !(s == Number(0.0)));
    const vector way{kept_where(moves, s * Number(0.5) * d[1]),
                     kept_where(moves, s * Number(-0.5) * d[0])};
    return {difference<2>(middle, way), choose(has_height, (s * s + Number(1.0)) * h2,
                                               choose(at_an_end, h2, Number(unbounded)))};
}

/// In the plane, from the longest side.
template <class Number>
[[gnu::always_inline]] inline circle_of<Number, 2>
triangle_circumcircle(const vector_of<Number, 2>& p0, const vector_of<Number, 2>& p1,
                      const vector_of<Number, 2>& p2) noexcept {
    const auto longest = longest_side_of(p0, p1, p2);
    return circumcircle_of_longest_side(choose(longest.third, p2, choose(longest.second, p1, p0)),
                                        choose(longest.third, p0, choose(longest.second, p2, p1)),
                                        choose(longest.third, p1, choose(longest.second, p0, p2)));
}

/// In space, from the two shortest sides a and b, which meet at the base point: the centre is
/// base + (x/2) a + (y/2) b with (x, y) from the normal equations of the two bisecting planes.
///
/// The triangle is flat when the squared sine of the angle between a and b is not above 1e-12: the
/// centre is p2 then, and the squared radius is `unbounded`.
template <class Number>
[[gnu::always_inline]] inline circle_of<Number, 3>
triangle_circumcircle(const vector_of<Number, 3>& p0, const vector_of<Number, 3>& p1,
                      const vector_of<Number, 3>& p2) noexcept {
    using vector = vector_of<Number, 3>;
    vector a = difference<3>(p0, p2);
    vector b = difference<3>(p1, p2);
    const vector c = difference<3>(p1, p0);
    const Number aa = squared_length<3>(a);
    Number bb = squared_length<3>(b);
    const Number cc = squared_length<3>(c);
    const auto from_p0 = both(cc < aa, cc < bb);
    a = choose(from_p0, vector{-a[0], -a[1], -a[2]}, a);
    b = choose(from_p0, c, b);
    bb = choose(from_p0, cc, bb);
    const vector base = choose(from_p0, p0, p2);

    const Number g = dot<3>(a, b);
    const Number determinant = aa * bb - g * g;
    const auto is_flat = !(determinant > aa * Number(relative_slack) * bb);
    Number x, y;
    solve_2x2_symmetric(aa, g, bb, Number(1.0) / determinant, aa, bb, x, y, 2);
    const Number s = x / Number(2.0);
    const Number t = y / Number(2.0);
    vector v{s * a[0], s * a[1], s * a[2]};
    v = choose(y == Number(0.0), v, vector{v[0] + t * b[0], v[1] + t * b[1], v[2] + t * b[2]});
    return {choose(is_flat, p2, vector{base[0] + v[0], base[1] + v[1], base[2] + v[2]}),
            choose(is_flat, Number(unbounded), squared_length<3>(v))};
}

template <int Dim>
inline circumcircle<Dim> triangle_circumcircle(const points_view<Dim>& pos, std::size_t n0,
                                               std::size_t n1, std::size_t n2) noexcept {
    return triangle_circumcircle(pos[n0], pos[n1], pos[n2]);
}

} // namespace zel::tessel2d
