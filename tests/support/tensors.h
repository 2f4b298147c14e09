// SPDX-License-Identifier: Apache-2.0
#pragma once

// Size tensors made from their sizes and axes, and what is known about them in extended precision.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/dense.h"

#include <cmath>
#include <cstddef>

namespace zel_test {

template <std::size_t N>
using square_matrix = zel::vector_fixed<zel::vector_fixed<long double, N>, N>;
template <std::size_t N>
using numbers = zel::vector_fixed<double, N>;

/// The identity.
template <std::size_t N>
square_matrix<N> upright() {
    square_matrix<N> c{};
    for (std::size_t i = 0; i < N; ++i) c[i][i] = 1;
    return c;
}
/// Turns the rows p and q of c.
template <std::size_t N>
void turn_rows(square_matrix<N>& c, std::size_t p, std::size_t q, long double angle) {
    const long double cosine = std::cos(angle), sine = std::sin(angle);
    for (std::size_t i = 0; i < N; ++i) {
        const long double x = c[p][i], y = c[q][i];
        c[p][i] = cosine * x + sine * y;
        c[q][i] = cosine * y - sine * x;
    }
}
/// A rotation that is anything.
template <std::size_t N>
square_matrix<N> random_rotation(random_numbers& random) {
    square_matrix<N> c = upright<N>();
    for (std::size_t p = 0; p < N; ++p)
        for (std::size_t q = p + 1; q < N; ++q) turn_rows<N>(c, p, q, random.between(-3.2, 3.2));
    return c;
}

/// The sum over k of mu_k c_k c_k' for the rows c_k, in extended precision, packed.
template <std::size_t N>
zel::vector_fixed<long double, N*(N + 1) / 2>
exact_tensor(const square_matrix<N>& rows, const zel::vector_fixed<long double, N>& mu) {
    zel::vector_fixed<long double, N*(N + 1) / 2> m{};
    for (std::size_t j = 0, at = 0; j < N; ++j)
        for (std::size_t i = 0; i <= j; ++i, ++at)
            for (std::size_t k = 0; k < N; ++k) m[at] += mu[k] * rows[k][i] * rows[k][j];
    return m;
}
/// The tensor that asks for the sizes h along the rows; with rows that are not a rotation, for what
/// becomes of such a tensor when space is deformed.
template <std::size_t N>
zel::vector_fixed<long double, N*(N + 1) / 2>
exact_size_tensor(const square_matrix<N>& rows, const zel::vector_fixed<long double, N>& h) {
    zel::vector_fixed<long double, N> mu{};
    for (std::size_t k = 0; k < N; ++k) mu[k] = 1 / (h[k] * h[k]);
    return exact_tensor<N>(rows, mu);
}
template <std::size_t N>
zel::symmetric_fixed<double, N>
rounded(const zel::vector_fixed<long double, N*(N + 1) / 2>& exact) {
    zel::symmetric_fixed<double, N> m{};
    for (std::size_t at = 0; at < N * (N + 1) / 2; ++at) m[at] = static_cast<double>(exact[at]);
    return m;
}
template <std::size_t N>
zel::vector_fixed<long double, N> extended(const numbers<N>& h) {
    zel::vector_fixed<long double, N> x{};
    for (std::size_t k = 0; k < N; ++k) x[k] = h[k];
    return x;
}
template <std::size_t N>
zel::symmetric_fixed<double, N> size_tensor(const square_matrix<N>& rows, const numbers<N>& h) {
    return rounded<N>(exact_size_tensor<N>(rows, extended<N>(h)));
}
template <std::size_t N>
zel::symmetric_fixed<double, N> upright_tensor(const numbers<N>& h) {
    return size_tensor<N>(upright<N>(), h);
}

/// Every entry within `relative` of the largest one.
template <std::size_t N>
void expect_tensor_near(const zel::vector_fixed<long double, N*(N + 1) / 2>& expected,
                        const zel::symmetric_fixed<double, N>& m, double relative) {
    long double largest = 0;
    for (const long double x : expected) largest = std::max(largest, std::fabs(x));
    for (std::size_t at = 0; at < N * (N + 1) / 2; ++at)
        EXPECT_LE(std::fabs(m[at] - expected[at]), relative * largest)
            << "entry " << at << ": " << m[at] << " instead of "
            << static_cast<double>(expected[at]);
}
template <std::size_t N>
std::vector<double> entries(const zel::symmetric_fixed<double, N>& m) {
    return {m.begin(), m.end()};
}

} // namespace zel_test
