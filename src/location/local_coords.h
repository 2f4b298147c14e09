// SPDX-License-Identifier: Apache-2.0
// Finds the coordinates of a point within an element, as the shape functions of the element take
// them.
#pragma once

#include "geometry/point.h"

#include <cmath>
#include <cstddef>

namespace zel::tessel2d {

/// Barycentric coordinates in a triangle: s weighs node 0, t node 1, and node 2 has the rest. Returns
/// twice the signed area.
///
/// Cramer's rule from the two sides at node 2, or from one of them and the side 0-1 when that is the
/// shortest, with at most two steps of iterative refinement. Nodes 0 and 1 have their coordinates
/// exactly, and a triangle without area gives (0, 0) everywhere else.
inline double local_coords_T3(const points_view<2>& pos, const unsigned* cell, const point<2>& p,
                              point<2>& st) noexcept {
    const point<2> n0 = pos[cell[0]];
    const point<2> n1 = pos[cell[1]];
    const point<2> n2 = pos[cell[2]];
    const point<2> a = difference<2>(n0, n2);
    point<2> b = difference<2>(n1, n2);
    const point<2> c = difference<2>(n1, n0);
    const double cc = squared_length<2>(c);
    const bool from_c = cc < squared_length<2>(a) && cc < squared_length<2>(b);
    if (from_c) b = c;
    const double determinant = a[0] * b[1] - b[0] * a[1];
    st = {0, 0};
    const auto same = [](const point<2>& u, const point<2>& v) {
        return !(u[0] < v[0]) && !(u[0] > v[0]) && !(u[1] < v[1]) && !(u[1] > v[1]);
    };
    if (same(p, n0)) {
        st[0] = 1;
        return determinant;
    }
    if (same(p, n1)) {
        st[1] = 1;
        return determinant;
    }
    if (determinant == 0) return 0;
    const point<2> d = difference<2>(p, n2);
    const double inverse = 1 / determinant;
    double s = (b[1] * d[0] - b[0] * d[1]) * inverse;
    double t = (a[0] * d[1] - a[1] * d[0]) * inverse;
    for (int pass = 0; pass < 2; ++pass) {
        const point<2> r{d[0] - (s * a[0] + t * b[0]), d[1] - (s * a[1] + t * b[1])};
        const double ds = (r[0] * b[1] - r[1] * b[0]) * inverse;
        const double dt = (r[1] * a[0] - r[0] * a[1]) * inverse;
        s += ds;
        t += dt;
        if (!(std::abs(ds) > std::abs(s) * relative_slack) &&
            !(std::abs(dt) > std::abs(t) * relative_slack)) {
            break;
        }
    }
    st = {from_c ? s - t : s, t};
    return determinant;
}

/// The bilinear map of a quadrilateral at (u, v), with its two derivatives. Nodes 0 to 3 are the points
/// (-1, -1), (1, -1), (1, 1) and (-1, 1).
struct bilinear_map {
    point<2> x{0, 0};
    point<2> x_u{0, 0};
    point<2> x_v{0, 0};

    bilinear_map(const point<2> (&corner)[4], double u, double v) noexcept {
        const double weight[4] = {(1 - u) * (1 - v) / 4, (1 + u) * (1 - v) / 4,
                                  (1 + u) * (1 + v) / 4, (1 - u) * (1 + v) / 4};
        constexpr double su[4] = {-0.5, 0.5, 0.5, -0.5};
        constexpr double sv[4] = {-0.5, -0.5, 0.5, 0.5};
        for (std::size_t i = 0; i < 4; ++i) {
            const double weight_u = (sv[i] * v + 0.5) * su[i];
            const double weight_v = (su[i] * u + 0.5) * sv[i];
            for (std::size_t k = 0; k < 2; ++k) {
                x[k] += weight[i] * corner[i][k];
                x_u[k] += weight_u * corner[i][k];
                x_v[k] += weight_v * corner[i][k];
            }
        }
    }
};

/// The inverse of the bilinear map by Newton's method from the centre, ten steps at most; the last
/// step counts whether or not it converged. Where the Jacobian is singular the last regular one is
/// used; if there is none, the result is the centre.
inline void local_coords_Q4(const points_view<2>& pos, const unsigned* cell, const point<2>& p,
                            point<2>& uv) noexcept {
    const point<2> corner[4] = {pos[cell[0]], pos[cell[1]], pos[cell[2]], pos[cell[3]]};
    double inverse[2][2] = {{0, 0}, {0, 0}};
    uv = {0, 0};
    for (int iteration = 0; iteration < 10; ++iteration) {
        const bilinear_map map(corner, uv[0], uv[1]);
        const point<2> r = difference<2>(map.x, p);
        const double determinant = map.x_u[0] * map.x_v[1] - map.x_v[0] * map.x_u[1];
        if (determinant != 0) {
            const double d = 1 / determinant;
            inverse[0][0] = map.x_v[1] * d;
            inverse[0][1] = -map.x_v[0] * d;
            inverse[1][0] = -map.x_u[1] * d;
            inverse[1][1] = map.x_u[0] * d;
        }
        const point<2> step{inverse[0][0] * r[0] + inverse[0][1] * r[1],
                            inverse[1][0] * r[0] + inverse[1][1] * r[1]};
        uv = difference<2>(uv, step);
        if (!(length<2>(step) > relative_slack)) break;
    }
}

/// The value at local coordinates from the values at the corners. Each component is computed from
/// its own numbers alone, so that the column of a node may be overwritten component by component
/// even if the node is a corner of the element.
inline double triangle_value(double f0, double f1, double f2, const point<2>& st) noexcept {
    return (f1 - f2) * st[1] + (f0 - f2) * st[0] + f2;
}
inline double quad_value(double f0, double f1, double f2, double f3, const point<2>& uv) noexcept {
    const double s = (uv[0] + 1) * 0.5;
    const double t = (uv[1] + 1) * 0.5;
    const double a = (f1 - f0) * s + f0;
    const double b = (f2 - f3) * s + f3;
    return (b - a) * t + a;
}

} // namespace zel::tessel2d
