// SPDX-License-Identifier: Apache-2.0
#pragma once

// The ranks of MPI that a program runs on, once PETSc has been started.
#include <mpi.h>
#include <petscsys.h>

namespace zel_test {

inline int rank() {
    int r = 0;
    MPI_Comm_rank(PETSC_COMM_WORLD, &r);
    return r;
}

inline int ranks() {
    int n = 1;
    MPI_Comm_size(PETSC_COMM_WORLD, &n);
    return n;
}

} // namespace zel_test
