// SPDX-License-Identifier: Apache-2.0
// Says where the lines of an octant of a sphere are, and how its copies are turned.
#pragma once

#include "generators/round_mesh.h"

namespace zel::tessel2d {

/// The octant of a sphere in which no coordinate is negative, seen from outside:
///
///            Z
///          /   \          X, Y and Z on the axes, XY, XZ and YZ half way between them,
///       XZ--.C.--YZ       C in the middle
///       /    |    \.
///      X----XY-----Y
struct sphere_octant {
    enum node : unsigned { X, XY, Y, XZ, C, YZ, Z };
    enum line : unsigned { X_XY, XY_Y, Y_YZ, YZ_Z, Z_XZ, XZ_X, XY_C, XZ_C, YZ_C };

    static constexpr std::size_t dimension = 3;
    static constexpr quarter_plan plan = {
        {{{X_XY, false}, {XY_C, false}, {XZ_C, true}, {XZ_X, false}},
         {{XY_Y, false}, {Y_YZ, false}, {YZ_C, false}, {XY_C, true}},
         {{XZ_C, false}, {YZ_C, true}, {YZ_Z, false}, {Z_XZ, false}}},
        {X_XY, XY_Y, Y_YZ, YZ_Z, Z_XZ, XZ_X},
    };

    static constexpr double half_turn = 3.141592653589793;     // pi
    static constexpr double middle_angle = 0.6154797086703874; // from XY to C: atan(1/sqrt(2))
    static constexpr double middle_flat = 0.816496580927726;   // cosine of the middle angle
    static constexpr double middle_rise = 0.5773502691896258;  // its sine

    /// Turns by which the copies come about: three about z make a hemisphere of the octant, one about x the sphere.
    /// Three about y make a circle of its edges from Z to X.
    static constexpr point<3> about_x{half_turn, 0, 0};
    static constexpr point<3> about_y{0, quarter_turn, 0};
    static constexpr point<3> about_z{0, 0, quarter_turn};

    static constexpr arc<3> arcs[] = {
        {X_XY, X, XY, 0.0, eighth_turn, false, {0, 1, -1}},
        {XY_Y, XY, Y, 1.0, eighth_turn, false, {0, 1, -1}},
        {Y_YZ, Y, YZ, 0.0, eighth_turn, false, {-1, 0, 1}},
        {YZ_Z, YZ, Z, 1.0, eighth_turn, false, {-1, 0, 1}},
        {Z_XZ, Z, XZ, 0.0, eighth_turn, false, {1, -1, 0}},
        {XZ_X, XZ, X, 1.0, eighth_turn, false, {1, -1, 0}},
        {XY_C, XY, C, 0.0, middle_angle, true, {0, 0, 1}},
        {XZ_C, XZ, C, 0.0, middle_angle, true, {0, 1, 0}},
        {YZ_C, YZ, C, 0.0, middle_angle, true, {1, 0, 0}},
    };

    static void place_sphere_skeleton(columns<double> points, std::size_t c,
                                      const round_shape<3>& sphere) noexcept {
        const double cx = sphere.center[0];
        const double cy = sphere.center[1];
        const double cz = sphere.center[2];
        const double radius = sphere.radius;
        const double s = radius * diagonal;
        // X, XY, Y, XZ, C, YZ, Z
        place_skeleton<3>(points, c,
                          {{cx + radius, cy, cz},
                           {cx + s, cy + s, cz},
                           {cx, cy + radius, cz},
                           {cx + s, cy, cz + s},
                           {cx + s * middle_flat, cy + s * middle_flat, cz + radius * middle_rise},
                           {cx, cy + s, cz + s},
                           {cx, cy, cz + radius}});
    }

    /// Places skeleton and arcs; memory has been reserved.
    static void place_lines(dense2D<double>& pos, const round_shape<3>& sphere,
                            node_line (&lines)[9]) noexcept {
        const std::size_t c = pos.cols;
        grow_columns(pos, 3, c + 9 * std::size_t{sphere.n} - 2, 0.0);
        const columns<double> points = columns_of(pos);
        place_sphere_skeleton(points, c, sphere);
        place_arcs(points, c, arcs, sphere, lines);
    }
};

} // namespace zel::tessel2d
