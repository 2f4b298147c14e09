// SPDX-License-Identifier: Apache-2.0
// Two size tensors in their common basis, the slow way: what the drivers compare intersections and blends with.
//
// Let b = L L' (Cholesky) and C = inv(L) a inv(L)', whose eigenvectors Q Jacobi's rotations find. In the basis
// inv(L)' Q the tensor b is the identity and a holds the eigenvalues of C. What is made of each pair of entries
// goes back by (L Q) diag (L Q)'. All of it in extended precision.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace zel_fuzz::by_hand {

template <std::size_t N>
using square = std::array<std::array<long double, N>, N>;

template <std::size_t N>
square<N> unpacked(const double* m) {
    square<N> s{};
    for (std::size_t j = 0; j < N; ++j)
        for (std::size_t i = 0; i <= j; ++i) s[i][j] = s[j][i] = *m++;
    return s;
}

/// Jacobi's rotations: c becomes diagonal, and the columns of q its eigenvectors.
template <std::size_t N>
void make_diagonal(square<N>& c, square<N>& q) {
    q = {};
    for (std::size_t i = 0; i < N; ++i) q[i][i] = 1;
    for (unsigned sweep = 0; sweep < 12; ++sweep) {
        for (std::size_t p = 0; p < N; ++p) {
            for (std::size_t r = p + 1; r < N; ++r) {
                if (std::fabs(c[p][r]) <= 1e-25L * (std::fabs(c[p][p]) + std::fabs(c[r][r])))
                    continue;
                const long double angle = std::atan2(2 * c[p][r], c[r][r] - c[p][p]) / 2;
                const long double cosine = std::cos(angle), sine = std::sin(angle);
                for (std::size_t k = 0; k < N; ++k) {
                    const long double x = c[k][p], y = c[k][r];
                    c[k][p] = cosine * x - sine * y;
                    c[k][r] = sine * x + cosine * y;
                }
                for (std::size_t k = 0; k < N; ++k) {
                    const long double x = c[p][k], y = c[r][k];
                    c[p][k] = cosine * x - sine * y;
                    c[r][k] = sine * x + cosine * y;
                    const long double u = q[k][p], v = q[k][r];
                    q[k][p] = cosine * u - sine * v;
                    q[k][r] = sine * u + cosine * v;
                }
            }
        }
    }
}

/// The factor L of b = L L'. False where b is not clearly positive definite.
template <std::size_t N>
bool factor(const square<N>& b, square<N>& l) {
    l = {};
    long double most = 0;
    for (std::size_t i = 0; i < N; ++i) most = std::fmax(most, b[i][i]);
    for (std::size_t j = 0; j < N; ++j) {
        for (std::size_t i = j; i < N; ++i) {
            long double sum = b[i][j];
            for (std::size_t k = 0; k < j; ++k) sum -= l[i][k] * l[j][k];
            if (i != j) {
                l[i][j] = sum / l[j][j];
            } else {
                if (!(sum > 1e-5L * most)) return false;
                l[j][j] = std::sqrt(sum);
            }
        }
    }
    return true;
}

/// What combine(x, 1) makes of the entries of a and b in their common basis. False where b is not clearly
/// positive definite.
template <std::size_t N, class Combine>
bool in_common_basis(const square<N>& a, const square<N>& b, Combine&& combine, square<N>& result) {
    square<N> l, q;
    if (!factor<N>(b, l)) return false;
    square<N> c = a;
    for (unsigned side = 0; side < 2; ++side) { // inv(L) from the left, twice, with a transpose
        for (std::size_t j = 0; j < N; ++j)
            for (std::size_t i = 0; i < N; ++i) {
                for (std::size_t k = 0; k < i; ++k) c[i][j] -= l[i][k] * c[k][j];
                c[i][j] /= l[i][i];
            }
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j < i; ++j) std::swap(c[i][j], c[j][i]);
    }
    make_diagonal<N>(c, q);
    result = {};
    for (std::size_t k = 0; k < N; ++k) {
        const long double entry = combine(c[k][k], 1.0L);
        std::array<long double, N> column{};
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j <= i; ++j) column[i] += l[i][j] * q[j][k];
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j < N; ++j) result[i][j] += entry * column[i] * column[j];
    }
    return true;
}

/// The smaller size in each direction of the common basis.
template <std::size_t N>
bool intersection(const square<N>& a, const square<N>& b, square<N>& result) {
    return in_common_basis<N>(
        a, b, [](long double x, long double y) { return std::fmax(x, y); }, result);
}

/// The tensor at t between two, whose sizes are linear along the common basis.
template <std::size_t N>
bool between(const square<N>& a, const square<N>& b, long double t, square<N>& result) {
    square<N> unused;
    return factor<N>(a, unused) && in_common_basis<N>(
                                       a, b,
                                       [&](long double x, long double y) {
                                           const long double h =
                                               (1 - t) / std::sqrt(x) + t / std::sqrt(y);
                                           return 1 / (h * h);
                                       },
                                       result);
}

/// Whether a packed tensor is this one, to a share of its largest entry.
template <std::size_t N>
bool is_near(const double* packed, const square<N>& expected, long double share) {
    const square<N> s = unpacked<N>(packed);
    long double most = 0;
    for (const auto& row : expected)
        for (const long double x : row) most = std::fmax(most, std::fabs(x));
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = 0; j < N; ++j)
            if (!(std::fabs(s[i][j] - expected[i][j]) <= share * most)) return false;
    return true;
}

} // namespace zel_fuzz::by_hand
