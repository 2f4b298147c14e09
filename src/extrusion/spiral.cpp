// SPDX-License-Identifier: Apache-2.0
// Sweeps a profile along a screw: around an axis and along a vector at once.
#include "extrusion/rotation.h"
#include "extrusion/sweep.h"
#include "zel/tessel2d/extrude_spiral.h"

namespace zel::tessel2d {

namespace {

/// Rotation about an axis through a centre together with translation along a vector.
struct screw {
    static constexpr std::size_t numbers = 3;

    struct step {
        rotation_about turned;
        point<3> shift;

        point<3> operator()(const point<3>& d) const noexcept {
            const point<3> p = turned(d);
            return {p[0] + shift[0], p[1] + shift[1], p[2] + shift[2]};
        }
    };

    point<3> centre;
    point<3> rotation;
    point<3> translation;

    point<3> origin(const point<3>& p, unsigned) const noexcept { return difference<3>(p, centre); }
    step at(double s) const noexcept {
        return {{centre, s, rotation},
                {s * translation[0], s * translation[1], s * translation[2]}};
    }
};

template <class Sides>
int extrude_sized(dense2D<double>& pos, const dense2D<unsigned>& profile, const screw& motion,
                  double h0, double h1, const Sides& sides, bool force_even,
                  dense2D<unsigned>& connect) noexcept {
    constexpr bool quads = Sides::rows == 4;
    if (profile.empty()) return status_ok;
    if (pos.rows != 3) return -1;
    if (!edges_fit(profile, pos)) return -2;
    if (!(h0 > 0)) return -6;
    if (!(h1 > 0)) return quads ? -7 : -4; // users rely on the -4 of triangles
    if (!takes_rows(connect, Sides::rows)) return -9 - Sides::more_arguments;
    layer_plan plan{0, h0, h1};
    if (!layer_count(length<3>(motion.translation), h0, h1, force_even, plan.layers))
        return failed_sweep(pos, profile.rows);
    return sweep<3>(pos, profile, motion, plan, sides, profile.rows, connect);
}

template <class Sides>
int extrude_counted(dense2D<double>& pos, const dense2D<unsigned>& profile, const screw& motion,
                    unsigned nbr_layers, const Sides& sides, dense2D<unsigned>& connect) noexcept {
    if (nbr_layers == 0) return status_ok;
    const double h = length<3>(motion.translation) * (1.0 / nbr_layers);
    return extrude_sized(pos, profile, motion, h, h, sides, false, connect);
}

} // namespace

int extrude_spiral_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      const vector_fixed<double, 3>& T, unsigned nbr_layers,
                      dense2D<unsigned>& connectQ4) {
    return extrude_counted(pos, connectE2, screw{C, A, T}, nbr_layers, quad_sides{}, connectQ4);
}

int extrude_spiral_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      const vector_fixed<double, 3>& T, double h0, double h1, bool force_even,
                      dense2D<unsigned>& connectQ4) {
    return extrude_sized(pos, connectE2, screw{C, A, T}, h0, h1, quad_sides{}, force_even,
                         connectQ4);
}

int extrude_spiral_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      const vector_fixed<double, 3>& T, unsigned nbr_layers, int pattern,
                      dense2D<unsigned>& connectT3) {
    return extrude_counted(pos, connectE2, screw{C, A, T}, nbr_layers, triangle_sides{pattern},
                           connectT3);
}

int extrude_spiral_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& A,
                      const vector_fixed<double, 3>& T, double h0, double h1, int pattern,
                      bool force_even, dense2D<unsigned>& connectT3) {
    return extrude_sized(pos, connectE2, screw{C, A, T}, h0, h1, triangle_sides{pattern},
                         force_even, connectT3);
}

} // namespace zel::tessel2d
