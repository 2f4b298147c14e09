// SPDX-License-Identifier: Apache-2.0
// Calls the eigenvalue routine of LAPACK for packed symmetric matrices, behind tests of its
// arguments.
#include "zel/lapack.h"

#include <cmath>
#include <cstddef>
#include <limits>

// The Fortran routine; the lengths of the two strings follow the arguments, by value.
extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w,
                       double* z, const int* ldz, double* work, int* info, std::size_t jobz_length,
                       std::size_t uplo_length);

namespace zel::lapack {

namespace {

bool is_one_of(char given, char upper, char lower) noexcept {
    return given == upper || given == lower;
}

/// The same tests as in LAPACK, which reports a bad argument by printing a line and ending the
/// program.
long first_bad_argument(char jobz, char uplo, long n, long ldz) noexcept {
    constexpr long most = std::numeric_limits<int>::max();
    const bool vectors = is_one_of(jobz, 'V', 'v');
    if (!vectors && !is_one_of(jobz, 'N', 'n')) return -1;
    if (!is_one_of(uplo, 'U', 'u') && !is_one_of(uplo, 'L', 'l')) return -2;
    if (n < 0 || n > most) return -3;
    if (ldz < 1 || ldz > most || (vectors && ldz < n)) return -7;
    return 0;
}

bool all_finite(const double* numbers, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i)
        if (!std::isfinite(numbers[i])) return false;
    return true;
}

} // namespace

int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz, double* work,
          long& info) noexcept {
    info = first_bad_argument(jobz, uplo, n, ldz);
    if (info == 0 && n > 0) {
        const auto order = static_cast<std::size_t>(n);
        if (all_finite(ap, order * (order + 1) / 2)) {
            const int fortran_n = static_cast<int>(n);
            const int fortran_ldz = static_cast<int>(ldz);
            int fortran_info = 0;
            // mutation: the lengths of strings of one character, which nobody reads
            dspev_(&jobz, &uplo, &fortran_n, ap, w, z, &fortran_ldz, work, &fortran_info, 1, 1);
            info = fortran_info;
        } else {
            info = 1;
        }
    }
    return static_cast<int>(info);
}

} // namespace zel::lapack
