// SPDX-License-Identifier: Apache-2.0
// Computes rotations from rotation vectors by Rodrigues' formula, with series for small angles.
#include "extrusion/rotation.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

constexpr double longest_series_angle = 0.1;

/// a[0] + a[1]*q + ... by Horner's rule.
template <std::size_t N>
double horner(const double (&a)[N], double q) noexcept {
    double sum = a[N - 1];
    for (std::size_t k = N - 1; k-- > 0;) sum = sum * q + a[k];
    return sum;
}

/// to = a*W + b*S; the second term only if b is not 0.
void combine(double a, const double (&W)[9], double b, const double (&S)[9],
             double (&to)[9]) noexcept {
    for (std::size_t k = 0; k < 9; ++k) {
        to[k] = a * W[k];
        if (b != 0) to[k] += b * S[k];
    }
}

void add_identity(double (&m)[9]) noexcept {
    for (std::size_t k = 0; k < 9; k += 4) m[k] += 1;
}

} // namespace

void rotation_coefficients(double q, double (&c)[8]) noexcept {
    const double theta = std::sqrt(q);
    if (theta <= longest_series_angle) {
        static constexpr double a0[] = {1.0,         -1.0 / 6,     1.0 / 120,
                                        -1.0 / 5040, 1.0 / 362880, -1.0 / 39916800};
        static constexpr double a1[] = {1.0 / 2, -1.0 / 24, 1.0 / 720, -1.0 / 40320, 1.0 / 3628800};
        static constexpr double a2[] = {-1.0 / 3, 1.0 / 30, -1.0 / 840, 1.0 / 45360,
                                        -1.0 / 3991680};
        static constexpr double a3[] = {-1.0 / 12, 1.0 / 180, -1.0 / 6720, 1.0 / 453600,
                                        -1.0 / 47900160};
        static constexpr double a4[] = {1.0 / 90, -1.0 / 1680, 1.0 / 75600, -1.0 / 5987520};
        static constexpr double a5[] = {1.0 / 6, -1.0 / 120, 1.0 / 5040, -1.0 / 362880,
                                        1.0 / 39916800};
        static constexpr double a6[] = {-1.0 / 60, 1.0 / 1260, -1.0 / 60480, 1.0 / 4989600};
        static constexpr double a7[] = {1.0 / 630, -1.0 / 15120, 1.0 / 831600, -1.0 / 77837760};
        c[0] = horner(a0, q);
        c[1] = horner(a1, q);
        c[2] = horner(a2, q);
        c[3] = horner(a3, q);
        c[4] = horner(a4, q);
        c[5] = horner(a5, q);
        c[6] = horner(a6, q);
        c[7] = horner(a7, q);
        return;
    }
    c[0] = std::sin(theta) / theta;
    c[1] = (1 - std::cos(theta)) / q;
    c[5] = (1 - c[0]) / q;
    c[2] = c[5] - c[1];
    c[3] = (c[0] - 2 * c[1]) / q;
    c[4] = (c[2] - 4 * c[3]) / q;
    c[6] = (c[1] - 3 * c[5]) / q;
    c[7] = (c[3] - 5 * c[6]) / q;
}

void skew_square(double factor, const point<3>& w, double (&S)[9]) noexcept {
    symmetric_fixed<double, 3> P;
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i <= j; ++i) P(i, j) = factor * w[i] * w[j];
    S[0] -= P(1, 1) + P(2, 2);
    S[4] -= P(0, 0) + P(2, 2);
    S[8] -= P(0, 0) + P(1, 1);
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i < 3; ++i)
            if (i != j) S[j * 3 + i] += P(i, j);
}

void make_rotation_state(rotation_state& state, const point<3>& w) noexcept {
    std::copy_n(w.begin(), 3, state.w);
    rotation_coefficients(squared_length<3>(w), state.c);
    const double skew[9] = {0, w[2], -w[1], -w[2], 0, w[0], w[1], -w[0], 0};
    std::copy_n(skew, 9, state.W);
    std::fill_n(state.S, 9, 0.0);
    skew_square(1.0, w, state.S);

    const double(&c)[8] = state.c;
    combine(c[0], state.W, c[1], state.S, state.scratch);
    std::copy_n(state.scratch, 9, state.R);
    add_identity(state.R);
    combine(c[1], state.W, c[5], state.S, state.T);
    add_identity(state.T);
    combine(c[3], state.W, c[6], state.S, state.D1);
    combine(c[4], state.W, c[7], state.S, state.D2);
}

} // namespace zel::tessel2d
