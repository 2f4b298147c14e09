// SPDX-License-Identifier: Apache-2.0
// Steps that all ranks take together: each either does its share or says why not, and then all know the status
// of all.
#pragma once

#include <mpi.h>

#include <new>
#include <stdexcept>

namespace zel::distributed {

/// What a function returns when MPI or PETSc has reported a failure, and when memory is exhausted.
constexpr int engine_failed = -198;
constexpr int no_memory = -199;

/// The rank of this process, and how many there are.
int rank_of(MPI_Comm comm);
int ranks_of(MPI_Comm comm);

/// One status for all ranks: 0 if each brings 0, else the complaint about the first argument that any of them
/// complains about; `engine_failed` and `no_memory` come behind all arguments.
int agree(MPI_Comm comm, int status);

/// Runs `work`, which returns a status, on each rank, and agrees. Memory that is missing is `no_memory`.
template <class Work>
int together(MPI_Comm comm, Work&& work) {
    int status = no_memory;
    try {
        status = work();
    } catch (const std::bad_alloc&) {
        // Stays no_memory.
    } catch (const std::length_error&) {
        // A list of more elements than there can be bytes.
    }
    return agree(comm, status);
}

} // namespace zel::distributed
