// SPDX-License-Identifier: Apache-2.0
// Sweeps a profile along a vector at each of its nodes, given or its normal.
#include "extrusion/sweep.h"
#include "zel/tessel1d.h"
#include "zel/tessel2d/extrude_normal.h"

namespace zel::tessel2d {

namespace {

/// Translation along a vector of its own for each node.
struct nodal_translation {
    static constexpr std::size_t numbers = 4;
    using point_and_vector = vector_fixed<double, 4>;

    struct step {
        double s;

        point<2> operator()(const point_and_vector& p) const noexcept {
            if (s == 0) return {p[0], p[1]};
            return {p[0] + s * p[2], p[1] + s * p[3]};
        }
    };

    columns<const double> vectors;
    double scale;

    point_and_vector origin(const point<2>& p, unsigned node) const noexcept {
        return {p[0], p[1], vectors[node][0], vectors[node][1]};
    }
    step at(double s) const noexcept { return {s * scale}; }
};

template <class Sides>
int extrude_along(dense2D<double>& pos, const dense2D<unsigned>& profile, const dense2D<double>& V,
                  unsigned nbr_layers, const Sides& sides, dense2D<unsigned>& connect) noexcept {
    if (profile.empty()) return status_ok;
    if (pos.rows != 2) return -1;
    if (!edges_fit(profile, pos)) return -2;
    if (V.rows != 2) return -3;
    if (!takes_rows(connect, Sides::rows)) return -5 - Sides::more_arguments;
    dense2D<double> vectors = V;
    if (nbr_layers != 0) {
        if (!edges_fit(profile, V)) return -3;
        if (!separate(vectors, pos)) return status_memory;
    }
    const dense2D<double>& read_only = vectors;
    return sweep<2>(pos, profile, nodal_translation{columns_of(read_only), 1.0},
                    {nbr_layers, 1.0, 1.0}, sides, pos.rows, connect);
}

template <class Sides>
int extrude_sized(dense2D<double>& pos, const dense2D<unsigned>& profile, double H, double h0,
                  double h1, const Sides& sides, bool force_even,
                  dense2D<unsigned>& connect) noexcept {
    if (profile.empty()) return status_ok;
    if (pos.rows != 2) return -1;
    if (!edges_fit(profile, pos)) return -2;
    if (!(H > 0)) return -3;
    if (!(h0 > 0)) return -4;
    if (!(h1 > 0)) return -5;
    if (!takes_rows(connect, Sides::rows)) return -7 - Sides::more_arguments;
    layer_plan plan{0, h0, h1};
    if (!layer_count(H, h0, h1, force_even, plan.layers)) return status_memory;
    dense2D<double> normals;
    const int status = tessel1d::normals(pos, profile, 1.0, true, normals);
    if (status < 0) return status;
    const dense2D<double>& read_only = normals;
    return sweep<2>(pos, profile, nodal_translation{columns_of(read_only), H}, plan, sides,
                    pos.rows, connect);
}

template <class Sides>
int extrude_counted(dense2D<double>& pos, const dense2D<unsigned>& profile, double H,
                    unsigned nbr_layers, const Sides& sides, dense2D<unsigned>& connect) noexcept {
    if (nbr_layers == 0) return status_ok;
    const double h = H / nbr_layers;
    return extrude_sized(pos, profile, H, h, h, sides, false, connect);
}

} // namespace

int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const dense2D<double>& V, unsigned nbr_layers, dense2D<unsigned>& connectQ4) {
    return extrude_along(pos, connectE2, V, nbr_layers, quad_sides{}, connectQ4);
}

int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                      const dense2D<double>& V, unsigned nbr_layers, int pattern,
                      dense2D<unsigned>& connectT3) {
    return extrude_along(pos, connectE2, V, nbr_layers, triangle_sides{pattern}, connectT3);
}

int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2, double H,
                      unsigned nbr_layers, dense2D<unsigned>& connectQ4) {
    return extrude_counted(pos, connectE2, H, nbr_layers, quad_sides{}, connectQ4);
}

int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2, double H, double h0,
                      double h1, bool force_even, dense2D<unsigned>& connectQ4) {
    return extrude_sized(pos, connectE2, H, h0, h1, quad_sides{}, force_even, connectQ4);
}

int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2, double H,
                      unsigned nbr_layers, int pattern, dense2D<unsigned>& connectT3) {
    return extrude_counted(pos, connectE2, H, nbr_layers, triangle_sides{pattern}, connectT3);
}

int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2, double H, double h0,
                      double h1, bool force_even, int pattern, dense2D<unsigned>& connectT3) {
    return extrude_sized(pos, connectE2, H, h0, h1, triangle_sides{pattern}, force_even, connectT3);
}

} // namespace zel::tessel2d
