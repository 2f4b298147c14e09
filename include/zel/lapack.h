// SPDX-License-Identifier: Apache-2.0
// Eigenvalues of symmetric matrices by the installed LAPACK.
#pragma once

#include "zel/tessel2d/export.h"

/// Routines of the installed LAPACK, with `long` integers.
namespace zel::lapack {

/// Eigenvalues and, on demand, eigenvectors of a real symmetric matrix in packed storage: LAPACK's
/// routine of that name.
///
/// @param jobz  'N' eigenvalues only, 'V' eigenvectors too.
/// @param uplo  'U': `ap` holds the upper triangle column after column, which is the packing of
///              `symmetric_fixed`; 'L': the lower one.
/// @param n     order of the matrix, 0 or more.
/// @param[in,out] ap   n(n+1)/2 numbers of the matrix; overwritten.
/// @param[out] w   n eigenvalues in ascending order.
/// @param[out] z   n x n, the eigenvectors by columns, orthonormal, in the order of `w`; column j
///                 starts at `z + j*ldz`. Not touched for 'N', when it may be null.
/// @param ldz   leading dimension of `z`, at least 1, and at least n for 'V'.
/// @param work  room for 3*n numbers.
/// @param[out] info  0: done. -k: the k-th argument of LAPACK's list (jobz, uplo, n, ap, w, z, ldz) is
///              unusable and nothing else has been touched. Above 0: the iteration did not converge.
///              A matrix with an entry that is not finite gives 1 at once, with `w` and `z` untouched,
///              since LAPACK leaves the result for such a matrix undefined.
/// @return `info`.
///
/// Small orders only cost a few microseconds; in general time grows with n^3. Keeps no state.
/// @snippet examples/services.cpp eigenvalues
ZEL_TESSEL2D_API int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz,
                           double* work, long& info) noexcept;

} // namespace zel::lapack
