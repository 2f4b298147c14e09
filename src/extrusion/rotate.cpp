// SPDX-License-Identifier: Apache-2.0
// Sweeps a profile around a centre in the plane or an axis in space.
#include "extrusion/rotation.h"
#include "extrusion/sweep.h"
#include "zel/tessel2d/extrude_rotate.h"

#include <cmath>
#include <type_traits>

namespace zel::tessel2d {

namespace {

/// Rotation about a centre in the plane, counterclockwise.
struct plane_rotation {
    static constexpr std::size_t numbers = 2;

    struct step {
        point<2> centre;
        double cosine;
        double sine;

        point<2> operator()(const point<2>& d) const noexcept {
            return {(d[0] * cosine - d[1] * sine) + centre[0],
                    (d[1] * cosine + d[0] * sine) + centre[1]};
        }
    };

    point<2> centre;
    double angle;

    point<2> origin(const point<2>& p, unsigned) const noexcept { return difference<2>(p, centre); }
    step at(double s) const noexcept {
        const double phi = s * angle;
        return {centre, std::cos(phi), std::sin(phi)};
    }
};

/// Rotation about an axis through a centre in space, in the sense of the right hand.
struct space_rotation {
    static constexpr std::size_t numbers = 3;

    point<3> centre;
    point<3> vector;

    point<3> origin(const point<3>& p, unsigned) const noexcept { return difference<3>(p, centre); }
    rotation_about at(double s) const noexcept { return {centre, s, vector}; }
};

// The length of a sweep is that of the path of the first node of the first edge.
double way(const dense2D<double>& pos, unsigned node, const plane_rotation& turn) noexcept {
    const point<2> d = difference<2>({pos(0, node), pos(1, node)}, turn.centre);
    return length<2>(d) * std::fabs(turn.angle);
}
double way(const dense2D<double>& pos, unsigned node, const space_rotation& turn) noexcept {
    const point<3> d = difference<3>({pos(0, node), pos(1, node), pos(2, node)}, turn.centre);
    return length<3>(cross(d, turn.vector));
}

// Statuses and tests differ between the functions, in part for historical reasons; users rely on
// them.
template <class Motion, class Sides>
struct statuses {
    static constexpr bool planar = std::is_same_v<Motion, plane_rotation>;
    static constexpr bool quads = std::is_same_v<Sides, quad_sides>;
    static constexpr int edges_sized = planar || quads ? -2 : -1;
    static constexpr bool tests_pattern_sized = planar;
    static constexpr std::size_t output_rows = planar ? Sides::rows : 3;
    static constexpr int output_counted = !quads ? -7 : planar ? -6 : -3;
    static constexpr int output_sized = -8 - Sides::more_arguments;
};

template <class Motion, class Sides>
int extrude_counted(dense2D<double>& pos, const dense2D<unsigned>& profile, const Motion& turn,
                    unsigned nbr_layers, const Sides& sides, dense2D<unsigned>& connect) noexcept {
    using table = statuses<Motion, Sides>;
    constexpr int dimension = table::planar ? 2 : 3;
    if (nbr_layers == 0 || profile.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!edges_fit(profile, pos)) return -2;
    if (!takes_rows(connect, table::output_rows)) return table::output_counted;
    const std::size_t rows_after_failure = table::planar ? 2 : pos.rows;
    return sweep<dimension>(pos, profile, turn, {nbr_layers, 0, 0}, sides, rows_after_failure,
                            connect);
}

template <class Motion, class Sides>
int extrude_sized(dense2D<double>& pos, const dense2D<unsigned>& profile, const Motion& turn,
                  double h0, double h1, const Sides& sides, bool force_even,
                  dense2D<unsigned>& connect) noexcept {
    using table = statuses<Motion, Sides>;
    constexpr int dimension = table::planar ? 2 : 3;
    if (profile.empty()) return status_ok;
    if (pos.rows != 2 && (table::planar || pos.rows != 3)) return -1;
    if (!edges_fit(profile, pos)) return table::edges_sized;
    if (!(h0 > 0)) return -5;
    if (!(h1 > 0)) return -6;
    if (table::tests_pattern_sized && !sides.valid()) return -7;
    if (!takes_rows(connect, table::output_rows)) return table::output_sized;
    if (!pos.resize(dimension, pos.cols, 0.0)) return status_memory;
    layer_plan plan{0, h0, h1};
    if (!layer_count(way(pos, profile(0, 0), turn), h0, h1, force_even, plan.layers))
        return status_memory;
    return sweep<dimension>(pos, profile, turn, plan, sides, dimension, connect);
}

} // namespace

int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 2>& C, double angle, unsigned nbr_layers,
                      dense2D<unsigned>& connectQ4) {
    return extrude_counted(pos, connectE2, plane_rotation{C, angle}, nbr_layers, quad_sides{},
                           connectQ4);
}

int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 2>& C, double angle, double h0, double h1,
                      bool force_even, dense2D<unsigned>& connectQ4) {
    return extrude_sized(pos, connectE2, plane_rotation{C, angle}, h0, h1, quad_sides{}, force_even,
                         connectQ4);
}

int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      unsigned nbr_layers, dense2D<unsigned>& connectQ4) {
    return extrude_counted(pos, connectE2, space_rotation{C, A}, nbr_layers, quad_sides{},
                           connectQ4);
}

int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A, double h0,
                      double h1, bool force_even, dense2D<unsigned>& connectQ4) {
    return extrude_sized(pos, connectE2, space_rotation{C, A}, h0, h1, quad_sides{}, force_even,
                         connectQ4);
}

int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 2>& C, double angle, unsigned nbr_layers,
                      int pattern, dense2D<unsigned>& connectT3) {
    return extrude_counted(pos, connectE2, plane_rotation{C, angle}, nbr_layers,
                           triangle_sides{pattern}, connectT3);
}

int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 2>& C, double angle, double h0, double h1,
                      int pattern, bool force_even, dense2D<unsigned>& connectT3) {
    return extrude_sized(pos, connectE2, plane_rotation{C, angle}, h0, h1, triangle_sides{pattern},
                         force_even, connectT3);
}

int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      unsigned nbr_layers, int pattern, dense2D<unsigned>& connectT3) {
    return extrude_counted(pos, connectE2, space_rotation{C, A}, nbr_layers,
                           triangle_sides{pattern}, connectT3);
}

int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A, double h0,
                      double h1, int pattern, bool force_even, dense2D<unsigned>& connectT3) {
    return extrude_sized(pos, connectE2, space_rotation{C, A}, h0, h1, triangle_sides{pattern},
                         force_even, connectT3);
}

} // namespace zel::tessel2d
