// SPDX-License-Identifier: Apache-2.0
// Reduces two symmetric tensors of order 2 or 3 simultaneously: finds a basis in which both are
// diagonal.
#pragma once

#include "zel/dense.h"
#include "zel/lapack.h"

#include <cmath>

namespace zel::tessel2d {

template <std::size_t Order>
using tensor = symmetric_fixed<double, Order>;
using tensor2 = tensor<2>;
using tensor3 = tensor<3>;

/// The common basis of tensors A and B. E' A E and E' B E are diagonal for the matrix E of the unit
/// vectors e_k.
template <std::size_t Order>
struct metric_reduction {
    double basis[Order][Order];   ///< basis[k] is e_k
    double inverse[Order][Order]; ///< inverse[k] is row k of the inverse of E
    double d0[Order];             ///< e_k' A e_k
    double d1[Order];             ///< e_k' B e_k
};
using metric_reduction3 = metric_reduction<3>;

// ----------------------------------------------------------------------------------------- order 2

/// The eigenvalues of the tensor a, b, c (packed). An eigenvalue that is tiny beside the other is
/// computed from the determinant, since cancellation has left few digits in the sum. Returns false
/// if one of them is not finite.
inline bool eigenvalues_2x2(double a, double b, double c, double& lo, double& hi) noexcept {
    constexpr double tiny = 1e-12;
    const double determinant = a * c - b * b;
    const double width = std::sqrt((a - c) * (a - c) + 4 * (b * b));
    lo = (a + c - width) * 0.5;
    hi = lo + width;
    if (std::abs(lo) < std::abs(hi) * tiny) {
        lo = determinant / hi;
    } else if (std::abs(hi) < std::abs(lo) * tiny) {
        hi = determinant / lo;
    }
    return std::isfinite(lo) && std::isfinite(hi);
}

/// Eigenvalues with a vector each: `vectors[0]` belongs to `values[0]`, the lower one, and the
/// second is the first turned left by 90 degrees. For a multiple of the identity they are the axes.
/// Otherwise they have length 1 if `normalise`, and any length if not. Returns false, with
/// `vectors` undefined, if an eigenvalue is not finite.
inline bool eigen_2x2(const tensor2& m, bool normalise, double (&values)[2],
                      double (&vectors)[2][2]) noexcept {
    constexpr double flat = 1e-24;
    const double a = m[0];
    const double b = m[1];
    const double c = m[2];
    if (!eigenvalues_2x2(a, b, c, values[0], values[1])) return false;
    const double p = values[0] - a;
    const double q = values[0] - c;
    const bool from_q = q * q > p * p;
    double x = from_q ? q : b;
    double y = from_q ? b : p;
    const double squared = (from_q ? q * q : p * p) + b * b;
    const double aa = a * a;
    const double cc = c * c;
    if (!(squared > flat * (aa < cc ? cc : aa))) {
        x = 1;
        y = 0;
    } else if (normalise) {
        const double length = std::sqrt(squared);
        x /= length;
        y /= length;
    }
    vectors[0][0] = x;
    vectors[0][1] = y;
    vectors[1][0] = -y;
    vectors[1][1] = x;
    return true;
}

/// Reduces A and B. Returns false, with `r` undefined, if A is not positive definite, if the
/// eigenvalues of B in the basis of A are not finite, or if the two basis vectors are parallel.
///
/// With w the root of the determinant of A, the triangle T with the columns (w, 0) and (-b, a) makes
/// T' A T the multiple det*a of the identity, so the eigenvectors of T' B T are the common basis.
inline bool metric_reduction_2d(const tensor2& m0, const tensor2& m1,
                                metric_reduction<2>& r) noexcept {
    const double a = m0[0];
    const double b = m0[1];
    const double c = m0[2];
    const double determinant = a * c - b * b;
    if (!(a != 0 && determinant > 0)) return false;
    const double w = std::sqrt(determinant);
    const double p = m1[0];
    const double q = m1[1];
    const double aq = a * q;
    const double pb = p * b;
    const tensor2 reduced{{p * determinant, (aq - pb) * w, a * a * m1[2] - (2 * aq - pb) * b}};
    double lambda[2];
    double y[2][2];
    if (!eigen_2x2(reduced, false, lambda, y)) return false;
    const double factor = 1 / (determinant * a);
    for (int k = 0; k < 2; ++k) {
        if (factor != 1) lambda[k] *= factor;
        double ex = w * y[k][0] - b * y[k][1];
        double ey = a * y[k][1];
        const double squared = ex * ex + ey * ey;
        if (squared != 0 && squared != 1) {
            const double length = std::sqrt(squared);
            ex /= length;
            ey /= length;
        }
        r.basis[k][0] = ex;
        r.basis[k][1] = ey;
        r.d0[k] = (2 * b * ex + ey * c) * ey + ex * a * ex;
        r.d1[k] = lambda[k] * r.d0[k];
    }
    const double twist = r.basis[0][0] * r.basis[1][1] - r.basis[1][0] * r.basis[0][1];
    if (twist == 0) return false;
    r.inverse[0][0] = r.basis[1][1] / twist;
    r.inverse[0][1] = -r.basis[1][0] / twist;
    r.inverse[1][0] = -r.basis[0][1] / twist;
    r.inverse[1][1] = r.basis[0][0] / twist;
    return true;
}

// ----------------------------------------------------------------------------------------- order 3

/// x' M y
inline double bilinear(const tensor3& m, const double (&x)[3], const double (&y)[3]) noexcept {
    return x[0] * (m[0] * y[0] + m[1] * y[1] + m[3] * y[2]) +
           x[1] * (m[1] * y[0] + m[2] * y[1] + m[4] * y[2]) +
           x[2] * (m[3] * y[0] + m[4] * y[1] + m[5] * y[2]);
}

/// From A = L L' with a lower triangle L: the columns of U = G L'^-1, where G = L00 L11 L22, so
/// that U' A U = G^2 I. Returns false if A is not positive definite.
inline bool cholesky_inverse(const tensor3& a, double (&u)[3][3], double& g) noexcept {
    const double minor = a[0] * a[2] - a[1] * a[1];
    if (!(a[0] > 0 && minor > 0)) return false;
    const double l00 = std::sqrt(a[0]);
    const double root = std::sqrt(minor);
    const double l10 = a[1] / l00;
    const double l20 = a[3] / l00;
    const double l11 = root / l00;
    const double l21 = ((a[4] * a[0] - a[3] * a[1]) / root) / l00;
    const double rest = a[5] - (l21 * l21 + l20 * l20);
    if (!(rest >= 0)) return false;
    const double l22 = std::sqrt(rest);
    g = l00 * l11 * l22;
    if (g == 0) return false;
    const double columns[3][3] = {{l11 * l22, 0, 0},
                                  {-l10 * l22, l00 * l22, 0},
                                  {l10 * l21 - l20 * l11, -l00 * l21, l00 * l11}};
    for (int k = 0; k < 3; ++k) // mutation (3 -> 4, < -> <=): runs behind arrays on the stack
        for (int i = 0; i < 3; ++i) u[k][i] = columns[k][i];
    return true;
}

inline void cross_product(const double* x, const double* y, double* out) noexcept {
    out[0] = x[1] * y[2] - x[2] * y[1];
    out[1] = x[2] * y[0] - x[0] * y[2];
    out[2] = x[0] * y[1] - x[1] * y[0];
}

/// The inverse of the matrix with the given columns, by rows. It is not divided by a determinant of
/// zero.
inline void invert_columns(const double (&columns)[3][3], double (&rows)[3][3]) noexcept {
    cross_product(columns[1], columns[2], rows[0]);
    cross_product(columns[2], columns[0], rows[1]);
    cross_product(columns[0], columns[1], rows[2]);
    const double determinant =
        columns[0][0] * rows[0][0] + columns[0][1] * rows[0][1] + columns[0][2] * rows[0][2];
    if (determinant == 0) return;
    for (auto& row : rows)
        for (double& x : row) x /= determinant;
}

/// Reduces A and B. Returns false, with `r` undefined, if A is not positive definite or LAPACK
/// fails to find the eigenvalues of B in the basis of A.
inline bool metric_reduction_3d(const tensor3& a, const tensor3& b, metric_reduction3& r) noexcept {
    double u[3][3];
    double g;
    if (!cholesky_inverse(a, u, g)) return false;
    double w[6];
    for (int j = 0, at = 0; j < 3; ++j)
        for (int i = 0; i <= j; ++i) w[at++] = bilinear(b, u[i], u[j]);
    double lambda[3], z[9], work[9];
    long info = 0;
    lapack::dspev('V', 'U', 3, w, lambda, z, 3, work, info);
    if (info != 0) return false;
    cross_product(z, z + 3, z + 6); // right-handed
    const double factor = 1 / (g * g);
    for (std::size_t k = 0; k < 3; ++k) {
        if (factor != 1) lambda[k] *= factor;
        double* const e = r.basis[k];
        for (std::size_t i = 0; i < 3; ++i)
            e[i] = u[0][i] * z[3 * k] + u[1][i] * z[3 * k + 1] + u[2][i] * z[3 * k + 2];
        const double q = e[0] * e[0] + e[1] * e[1] + e[2] * e[2];
        if (q != 0 && q != 1) {
            const double length = std::sqrt(q);
            for (int i = 0; i < 3; ++i) e[i] /= length;
        }
    }
    invert_columns(r.basis, r.inverse);
    for (int k = 0; k < 3; ++k) {
        r.d0[k] = bilinear(a, r.basis[k], r.basis[k]);
        r.d1[k] = lambda[k] * r.d0[k];
    }
    return true;
}

// ------------------------------------------------------------------------------------- either order

inline bool reduce_metrics(const tensor2& a, const tensor2& b, metric_reduction<2>& r) noexcept {
    return metric_reduction_2d(a, b, r);
}
inline bool reduce_metrics(const tensor3& a, const tensor3& b, metric_reduction<3>& r) noexcept {
    return metric_reduction_3d(a, b, r);
}

/// The tensor that has the entries mu_k on its diagonal in the basis of the reduction.
template <std::size_t Order>
inline tensor<Order> from_basis(const metric_reduction<Order>& r,
                                const double (&mu)[Order]) noexcept {
    tensor<Order> m;
    for (std::size_t j = 0, at = 0; j < Order; ++j)
        for (std::size_t i = 0; i <= j; ++i, ++at) {
            double sum = 0;
            for (std::size_t k = 0; k < Order; ++k)
                sum += mu[k] * r.inverse[k][i] * r.inverse[k][j];
            m[at] = sum;
        }
    return m;
}

} // namespace zel::tessel2d
