// zel tessel2d: planar and surface mesh tools.
#pragma once

// The geometry of one element: doubled areas, normals, corner angles and circumcentres.
//
// Each kernel comes on points, and those that others call by mesh also on node numbers of a
// `points_view`. Every one is a formula in one fixed order of terms, so that it gives the same bits
// wherever it is inlined. None of them tests its input: coincident points and numbers that are not
// finite go through the formula as they stand.
#include "geometry/point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::tessel2d {

/// Slack of comparisons near 0 and 1.
constexpr double relative_slack = 1e-12;

/// The squared radius of the circle through three points on a line: there is none.
constexpr double unbounded = std::numeric_limits<double>::max();

// Factors that make the corner of a regular element 1: 3/pi for 60 degrees, 2/pi for 90 degrees.
constexpr double triangle_angle_factor = 0.9549296585513721;
constexpr double quad_angle_factor = 0.6366197723675814;

template <int Dim>
inline double length(const point<Dim>& a) noexcept {
    return std::sqrt(squared_length<Dim>(a));
}

/// |a x b|: signed in the plane, the norm in space.
inline double cross_size(const point<2>& a, const point<2>& b) noexcept {
    return cross(a, b);
}
inline double cross_size(const point<3>& a, const point<3>& b) noexcept {
    return length<3>(cross(a, b));
}

// ------------------------------------------------------------------------------- areas and normals

/// Twice the area of a triangle: in the plane positive when it turns counter-clockwise, in space the
/// norm of the vector product.
///
/// The product is formed from two sides at p2, or from one of them and the third side when that is
/// shorter than one of the others: the shorter the factors, the less is cancelled.
template <int Dim>
inline double triangle_double_area(const point<Dim>& p0, const point<Dim>& p1,
                                   const point<Dim>& p2) noexcept {
    const point<Dim> a = difference<Dim>(p0, p2);
    const point<Dim> b = difference<Dim>(p1, p2);
    const point<Dim> c = difference<Dim>(b, a);
    const double shorter = std::min(squared_length<Dim>(a), squared_length<Dim>(b));
    const bool from_c = squared_length<Dim>(c) < shorter;
    return from_c ? cross_size(a, c) : cross_size(a, b);
}

template <int Dim>
inline double triangle_double_area(const points_view<Dim>& pos, std::size_t n0, std::size_t n1,
                                   std::size_t n2) noexcept {
    return triangle_double_area<Dim>(pos[n0], pos[n1], pos[n2]);
}

/// The normal of a triangle in space, as long as twice the area, on the side from which the corners
/// turn counter-clockwise. Points on a line give a vector that is zero or nearly so.
inline point<3> triangle_normal(const point<3>& p0, const point<3>& p1,
                                const point<3>& p2) noexcept {
    const point<3> a = difference<3>(p0, p2);
    const point<3> b = difference<3>(p1, p2);
    const point<3> c = difference<3>(p1, p0);
    const double shorter = std::min(squared_length<3>(a), squared_length<3>(b));
    return squared_length<3>(c) > shorter ? cross(a, b) : cross(a, c);
}

inline point<3> triangle_normal(std::size_t n0, std::size_t n1, std::size_t n2,
                                const points_view<3>& pos) noexcept {
    return triangle_normal(pos[n0], pos[n1], pos[n2]);
}

/// Twice the signed area of a quadrilateral in the plane: the product of its diagonals.
inline double quad_double_area_2d(const point<2>& p0, const point<2>& p1, const point<2>& p2,
                                  const point<2>& p3) noexcept {
    return cross(difference<2>(p2, p0), difference<2>(p3, p1));
}

/// Twice the area of a quadrilateral in space, which may be warped: of the two ways to cut it into
/// triangles the one with the larger sum.
inline double quad_double_area_3d(const point<3>& p0, const point<3>& p1, const point<3>& p2,
                                  const point<3>& p3) noexcept {
    const auto side = [](const point<3>& to, const point<3>& from) {
        return difference<3>(to, from);
    };
    const double along_13 =
        cross_size(side(p0, p1), side(p3, p1)) + cross_size(side(p2, p1), side(p3, p1));
    const double along_02 =
        cross_size(side(p2, p0), side(p3, p0)) + cross_size(side(p2, p0), side(p1, p0));
    return std::max(along_13, along_02);
}

/// Twice the area of a quadrilateral, signed in the plane.
template <int Dim>
inline double quad_double_area(const point<Dim>& p0, const point<Dim>& p1, const point<Dim>& p2,
                               const point<Dim>& p3) noexcept {
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

// ------------------------------------------------------------------------------------------ angles

template <int Dim>
inline bool is_zero(const point<Dim>& a) noexcept {
    for (const double x : a)
        if (x != 0) return false;
    return true;
}

/// The angle whose tangent is sine/cosine, where these are the vector and scalar product of u and w.
///
/// A vector of length zero makes an angle of 0. Its products are zeros whose signs are an accident of
/// the other vector, and atan2 would make pi of a negative one.
template <int Dim>
inline double angle_between(const point<Dim>& u, const point<Dim>& w, double sine,
                            double cosine) noexcept {
    if (sine == 0 && cosine == 0 && (is_zero<Dim>(u) || is_zero<Dim>(w))) return 0;
    return std::atan2(sine, cosine);
}

/// The angle at `corner` in the plane, from -pi to pi: positive where one turns left from the side
/// to `next` to the side to `previous`, which is inside a counter-clockwise element. 0 when one of
/// the sides has length zero.
inline double corner_angle_2d(const point<2>& corner, const point<2>& next,
                              const point<2>& previous) noexcept {
    const point<2> u = difference<2>(next, corner);
    const point<2> w = difference<2>(previous, corner);
    return angle_between<2>(u, w, cross(u, w), dot<2>(u, w));
}

/// The angle at `corner` in space, from 0 to pi. 0 when one of the sides has length zero.
inline double corner_angle_3d(const point<3>& corner, const point<3>& next,
                              const point<3>& previous) noexcept {
    const point<3> u = difference<3>(next, corner);
    const point<3> w = difference<3>(previous, corner);
    return angle_between<3>(u, w, length<3>(cross(u, w)), dot<3>(u, w));
}

/// The angles of a polygon in corner order, times `factor`.
///
/// The list is an array of as many numbers as there are corners, handed back by value: it needs no
/// memory and starts empty for each element, and callers walk it like any other range.
template <int Dim, std::size_t Corners>
inline vector_fixed<double, Corners> polygon_angles(const point<Dim> (&p)[Corners],
                                                    double factor) noexcept {
    vector_fixed<double, Corners> angles;
    for (std::size_t k = 0; k < Corners; ++k) {
        const point<Dim>& next = p[(k + 1) % Corners];
        const point<Dim>& previous = p[(k + Corners - 1) % Corners];
        if constexpr (Dim == 2) {
            angles[k] = corner_angle_2d(p[k], next, previous) * factor;
        } else {
            angles[k] = corner_angle_3d(p[k], next, previous) * factor;
        }
    }
    return angles;
}

/// The three corner angles in corner order, in radians, or in units of 60 degrees if `normalise`.
/// In the plane a clockwise triangle has negative ones.
template <int Dim>
inline vector_fixed<double, 3> triangle_angles(const points_view<Dim>& pos, std::size_t n0,
                                               std::size_t n1, std::size_t n2,
                                               bool normalise) noexcept {
    const point<Dim> p[3] = {pos[n0], pos[n1], pos[n2]};
    return polygon_angles<Dim, 3>(p, normalise ? triangle_angle_factor : 1.0);
}

/// The four corner angles in corner order, in radians, or in units of 90 degrees if `normalise`.
template <int Dim>
inline vector_fixed<double, 4> quad_angles(const points_view<Dim>& pos, std::size_t n0,
                                           std::size_t n1, std::size_t n2, std::size_t n3,
                                           bool normalise) noexcept {
    const point<Dim> p[4] = {pos[n0], pos[n1], pos[n2], pos[n3]};
    return polygon_angles<Dim, 4>(p, normalise ? quad_angle_factor : 1.0);
}

// ---------------------------------------------------------------------------------- circumcentres

/// Solves a x + b y = r1, b x + c y = r2, where `inverse_determinant` is 1/(a c - b b).
///
/// Cramer's rule, then at most `passes` steps of iterative refinement, which end early when a step
/// no longer moves x and y by more than 1e-12 of their size.
inline void solve_2x2_symmetric(double a, double b, double c, double inverse_determinant, double r1,
                                double r2, double& x, double& y, int passes) noexcept {
    x = (c * r1 - b * r2) * inverse_determinant;
    y = (a * r2 - b * r1) * inverse_determinant;
    for (int pass = 0; pass < passes; ++pass) {
        const double e1 = r1 - (a * x + b * y);
        const double e2 = r2 - (b * x + c * y);
        const double dx = (c * e1 - b * e2) * inverse_determinant;
        const double dy = (a * e2 - b * e1) * inverse_determinant;
        x += dx;
        y += dy;
        if (!(std::abs(dx) > relative_slack * std::abs(x)) &&
            !(std::abs(dy) > relative_slack * std::abs(y))) {
            break;
        }
    }
}

/// The circle through the corners of a triangle.
template <int Dim>
struct circumcircle {
    point<Dim> center;
    double squared_radius;
};

/// In the plane. The centre is sought from the midpoint of the longest side, along its perpendicular.
///
/// A triangle whose height is not above 5e-13 of the distance from that midpoint to the corner is
/// flat: its centre is the midpoint, and its squared radius is `unbounded` unless the corner lies as far
/// away as the ends of the side, that is, on one of them.
inline circumcircle<2> triangle_circumcircle(const point<2>& p0, const point<2>& p1,
                                             const point<2>& p2) noexcept {
    constexpr double flat = relative_slack * relative_slack;
    const point<2> p[3] = {p0, p1, p2};
    std::size_t k = 0;
    point<2> d = difference<2>(p2, p1);
    double longest = squared_length<2>(d);
    for (std::size_t i = 1; i < 3; ++i) {
        const point<2> side = difference<2>(p[(i + 2) % 3], p[(i + 1) % 3]);
        const double squared = squared_length<2>(side);
        if (squared > longest) {
            k = i;
            d = side;
            longest = squared;
        }
    }
    const point<2>& from = p[(k + 1) % 3];
    const point<2>& to = p[(k + 2) % 3];
    const point<2> middle{(from[0] + to[0]) * 0.5, (from[1] + to[1]) * 0.5};
    const point<2> w = difference<2>(p[k], middle);
    const double h2 = longest * 0.25;
    const double ww = squared_length<2>(w);
    const double t = cross(d, w);
    if (!(t * t > ww * flat * h2)) {
        const bool at_an_end = !(std::abs(ww - h2) > relative_slack * h2);
        return {middle, at_an_end ? h2 : unbounded};
    }
    const double s = (ww - h2) / t;
    const double squared_radius = (s * s + 1) * h2;
    if (s == 0) return {middle, squared_radius};
    return {{middle[0] - s * 0.5 * d[1], middle[1] + s * 0.5 * d[0]}, squared_radius};
}

/// In space, from the two shortest sides a and b, which meet at the base point: the centre is
/// base + (x/2) a + (y/2) b with (x, y) from the normal equations of the two bisecting planes.
///
/// The triangle is flat when the squared sine of the angle between a and b is not above 1e-12: the
/// centre is p2 then, and the squared radius is `unbounded`.
inline circumcircle<3> triangle_circumcircle(const point<3>& p0, const point<3>& p1,
                                             const point<3>& p2) noexcept {
    point<3> a = difference<3>(p0, p2);
    point<3> b = difference<3>(p1, p2);
    const point<3> c = difference<3>(p1, p0);
    const double aa = squared_length<3>(a);
    double bb = squared_length<3>(b);
    const double cc = squared_length<3>(c);
    const bool from_p0 = cc < aa && cc < bb;
    if (from_p0) {
        a = {-a[0], -a[1], -a[2]};
        b = c;
        bb = cc;
    }
    const double g = dot<3>(a, b);
    const double determinant = aa * bb - g * g;
    if (!(determinant > aa * relative_slack * bb)) return {p2, unbounded};
    double x, y;
    solve_2x2_symmetric(aa, g, bb, 1 / determinant, aa, bb, x, y, 2);
    point<3> v{x / 2 * a[0], x / 2 * a[1], x / 2 * a[2]};
    if (y != 0) v = {v[0] + y / 2 * b[0], v[1] + y / 2 * b[1], v[2] + y / 2 * b[2]};
    const point<3>& base = from_p0 ? p0 : p2;
    return {{base[0] + v[0], base[1] + v[1], base[2] + v[2]}, squared_length<3>(v)};
}

template <int Dim>
inline circumcircle<Dim> triangle_circumcircle(const points_view<Dim>& pos, std::size_t n0,
                                               std::size_t n1, std::size_t n2) noexcept {
    return triangle_circumcircle(pos[n0], pos[n1], pos[n2]);
}

} // namespace zel::tessel2d
