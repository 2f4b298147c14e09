// zel tessel2d: planar and surface mesh tools.
#pragma once

// Simultaneous reduction of two symmetric tensors of order 3: a basis in which both are diagonal.
#include "foundation/dense.h"
#include "foundation/lapack.h"

#include <cmath>

namespace zel::tessel2d {

using tensor3 = symmetric_fixed<double, 3>;

/// The common basis of tensors A and B. E' A E and E' B E are diagonal for the matrix E of the unit
/// vectors e_k.
struct metric_reduction3 {
    double basis[3][3];   ///< basis[k] is e_k
    double inverse[3][3]; ///< inverse[k] is row k of the inverse of E
    double d0[3];         ///< e_k' A e_k
    double d1[3];         ///< e_k' B e_k
};

/// x' M y
inline double bilinear(const tensor3& m, const double (&x)[3], const double (&y)[3]) noexcept {
    return x[0] * (m[0] * y[0] + m[1] * y[1] + m[3] * y[2]) +
           x[1] * (m[1] * y[0] + m[2] * y[1] + m[4] * y[2]) +
           x[2] * (m[3] * y[0] + m[4] * y[1] + m[5] * y[2]);
}

/// From A = L L' with a lower triangle L: the columns of U = G L'^-1, where G = L00 L11 L22, so that
/// U' A U = G^2 I. False when A is not positive definite.
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
    for (int k = 0; k < 3; ++k)
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

/// Reduces A and B. False, with `r` undefined, when A is not positive definite or the eigenvalues of
/// B in the basis of A cannot be had.
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
    for (int k = 0; k < 3; ++k) {
        if (factor != 1) lambda[k] *= factor;
        double* const e = r.basis[k];
        for (int i = 0; i < 3; ++i)
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

/// The tensor that has the entries mu_k on its diagonal in the basis of the reduction.
inline tensor3 from_basis(const metric_reduction3& r, const double (&mu)[3]) noexcept {
    tensor3 m;
    for (int j = 0, at = 0; j < 3; ++j)
        for (int i = 0; i <= j; ++i, ++at) {
            double sum = 0;
            for (int k = 0; k < 3; ++k) sum += mu[k] * r.inverse[k][i] * r.inverse[k][j];
            m[static_cast<std::size_t>(at)] = sum;
        }
    return m;
}

} // namespace zel::tessel2d
