// SPDX-License-Identifier: Apache-2.0
// Eigenvalues of small symmetric matrices by Jacobi's method (C. G. J. Jacobi, 1846), under the name and with
// the arguments of LAPACK's dspev: sums, products, divisions and square roots alone, in a fixed order, so that
// every machine gives the same bits. Only for comparing machines.
//
// 1. Sweep over all pairs p < q; turn the plane (p, q) so that the entry at (p, q) vanishes.
// 2. Stop when all entries beside the diagonal are zero, or after 60 sweeps.
// 3. Sort by eigenvalue. The signs of vectors are those that the turns give.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

namespace {

struct matrix {
    std::size_t n;
    std::vector<double> entries;

    explicit matrix(std::size_t order) : n(order), entries(order * order, 0.0) {}
    double& operator()(std::size_t i, std::size_t j) { return entries[i * n + j]; }
};

/// Turns the plane (p, q) of the symmetric matrix so that a(p, q) becomes zero.
void turn(matrix& a, matrix& vectors, std::size_t p, std::size_t q) {
    const double theta = (a(q, q) - a(p, p)) / (2 * a(p, q));
    const double t = (theta < 0 ? -1 : 1) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
    const double c = 1 / std::sqrt(t * t + 1), s = t * c;
    const double shift = t * a(p, q);
    a(p, p) -= shift;
    a(q, q) += shift;
    a(p, q) = a(q, p) = 0;
    for (std::size_t k = 0; k < a.n; ++k) {
        if (k != p && k != q) {
            const double x = a(k, p), y = a(k, q);
            a(k, p) = a(p, k) = c * x - s * y;
            a(k, q) = a(q, k) = s * x + c * y;
        }
        const double x = vectors(k, p), y = vectors(k, q);
        vectors(k, p) = c * x - s * y;
        vectors(k, q) = s * x + c * y;
    }
}

/// Is the entry zero, or too small to change the diagonal?
bool counts(matrix& a, std::size_t p, std::size_t q) {
    const double size = std::fabs(a(p, p)) + std::fabs(a(q, q));
    return size + std::fabs(a(p, q)) != size;
}

} // namespace

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w,
                       double* z, const int* ldz, double*, int* info, std::size_t, std::size_t);

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w,
                       double* z, const int* ldz, double*, int* info, std::size_t, std::size_t) {
    const auto order = static_cast<std::size_t>(*n);
    const bool upper = *uplo == 'U' || *uplo == 'u';
    matrix a(order), vectors(order);
    for (std::size_t j = 0, k = 0; j < order; ++j) {
        vectors(j, j) = 1;
        const std::size_t first = upper ? 0 : j, last = upper ? j + 1 : order;
        for (std::size_t i = first; i < last; ++i, ++k) a(i, j) = a(j, i) = ap[k];
    }
    bool more = true;
    for (int sweep = 0; more && sweep < 60; ++sweep) {
        more = false;
        for (std::size_t p = 0; p < order; ++p)
            for (std::size_t q = p + 1; q < order; ++q)
                if (counts(a, p, q)) turn(a, vectors, p, q), more = true;
    }
    std::vector<std::size_t> place(order);
    std::iota(place.begin(), place.end(), std::size_t{0});
    std::stable_sort(place.begin(), place.end(),
                     [&](std::size_t i, std::size_t j) { return a(i, i) < a(j, j); });
    for (std::size_t j = 0; j < order; ++j) {
        w[j] = a(place[j], place[j]);
        for (std::size_t i = 0; (*jobz == 'V' || *jobz == 'v') && i < order; ++i)
            z[j * static_cast<std::size_t>(*ldz) + i] = vectors(i, place[j]);
    }
    *info = 0;
}
