// SPDX-License-Identifier: Apache-2.0
// The corner angles of triangles and quadrilaterals.
#pragma once

// Coincident points and numbers that are not finite go through the formulas as they stand.
#include "geometry/point.h"

#include <cmath>

namespace zel::tessel2d {

// Factors that make the corner of a regular element 1: 3/pi for 60 degrees, 2/pi for 90 degrees.
constexpr double triangle_angle_factor = 0.9549296585513721;
constexpr double quad_angle_factor = 0.6366197723675814;

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
/// to `next` to the side to `previous`, which is inside a counterclockwise element. 0 when one of
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

} // namespace zel::tessel2d
