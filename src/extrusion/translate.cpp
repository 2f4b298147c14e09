// SPDX-License-Identifier: Apache-2.0
// Sweeps a profile along a straight vector.
#include "extrusion/sweep.h"
#include "zel/tessel2d/extrude_translate.h"

namespace zel::tessel2d {

namespace {

/// Translation along a vector that is the same for all nodes.
template <int Dim>
struct translation {
    static constexpr std::size_t numbers = Dim;

    struct step {
        point<Dim> shift;

        point<Dim> operator()(const point<Dim>& p) const noexcept {
            point<Dim> moved;
            for (std::size_t i = 0; i < Dim; ++i) moved[i] = p[i] + shift[i];
            return moved;
        }
    };

    point<Dim> vector;

    point<Dim> origin(const point<Dim>& p, unsigned) const noexcept { return p; }
    // At fraction 0 nodes are copied, whatever the vector: -0.0 changes no number.
    step at(double s) const noexcept {
        step moved;
        for (std::size_t i = 0; i < Dim; ++i) moved.shift[i] = s != 0 ? s * vector[i] : -0.0;
        return moved;
    }
};

template <int Dim, class Sides>
int extrude_sized(dense2D<double>& pos, const dense2D<unsigned>& profile, const point<Dim>& vector,
                  double h0, double h1, const Sides& sides, bool force_even,
                  dense2D<unsigned>& connect) noexcept {
    if (profile.empty()) return status_ok;
    if (pos.rows != 2 && (Dim == 2 || pos.rows != 3)) return -1;
    if (!edges_fit(profile, pos)) return -2;
    if (!(h0 > 0)) return -4;
    if (!(h1 > 0)) return -5;
    if (!sides.valid()) return -6;
    if (!takes_rows(connect, Sides::rows)) return -7 - Sides::more_arguments;
    if (!pos.resize(Dim, pos.cols, 0.0)) return status_memory;
    layer_plan plan{0, h0, h1};
    if (!layer_count(length<Dim>(vector), h0, h1, force_even, plan.layers)) return status_memory;
    return sweep<Dim>(pos, profile, translation<Dim>{vector}, plan, sides, Dim, connect);
}

template <int Dim, class Sides>
int extrude_counted(dense2D<double>& pos, const dense2D<unsigned>& profile,
                    const point<Dim>& vector, unsigned nbr_layers, const Sides& sides,
                    dense2D<unsigned>& connect) noexcept {
    if (nbr_layers == 0) return status_ok;
    const double h = length<Dim>(vector) * (1.0 / nbr_layers);
    return extrude_sized<Dim>(pos, profile, vector, h, h, sides, false, connect);
}

} // namespace

int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 2>& T, unsigned nbr_layers,
                         dense2D<unsigned>& connectQ4) {
    return extrude_counted<2>(pos, connectE2, T, nbr_layers, quad_sides{}, connectQ4);
}

int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 2>& T, double h0, double h1, bool force_even,
                         dense2D<unsigned>& connectQ4) {
    return extrude_sized<2>(pos, connectE2, T, h0, h1, quad_sides{}, force_even, connectQ4);
}

int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 3>& T, unsigned nbr_layers,
                         dense2D<unsigned>& connectQ4) {
    return extrude_counted<3>(pos, connectE2, T, nbr_layers, quad_sides{}, connectQ4);
}

int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 3>& T, double h0, double h1, bool force_even,
                         dense2D<unsigned>& connectQ4) {
    return extrude_sized<3>(pos, connectE2, T, h0, h1, quad_sides{}, force_even, connectQ4);
}

int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 2>& T, unsigned nbr_layers, int pattern,
                         dense2D<unsigned>& connectT3) {
    return extrude_counted<2>(pos, connectE2, T, nbr_layers, triangle_sides{pattern}, connectT3);
}

int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 2>& T, double h0, double h1, int pattern,
                         bool force_even, dense2D<unsigned>& connectT3) {
    return extrude_sized<2>(pos, connectE2, T, h0, h1, triangle_sides{pattern}, force_even,
                            connectT3);
}

int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 3>& T, unsigned nbr_layers, int pattern,
                         dense2D<unsigned>& connectT3) {
    return extrude_counted<3>(pos, connectE2, T, nbr_layers, triangle_sides{pattern}, connectT3);
}

int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                         const vector_fixed<double, 3>& T, double h0, double h1, int pattern,
                         bool force_even, dense2D<unsigned>& connectT3) {
    return extrude_sized<3>(pos, connectE2, T, h0, h1, triangle_sides{pattern}, force_even,
                            connectT3);
}

} // namespace zel::tessel2d
