// SPDX-License-Identifier: Apache-2.0
#include "distributed/collective.h"

#include <climits>

namespace zel::distributed {

int rank_of(MPI_Comm comm) {
    int rank = 0;
    MPI_Comm_rank(comm, &rank);
    return rank;
}

int ranks_of(MPI_Comm comm) {
    int ranks = 1;
    MPI_Comm_size(comm, &ranks);
    return ranks;
}

int agree(MPI_Comm comm, int status) {
    // The complaint that is nearest to zero comes first; who has none comes last of all.
    const int mine = status < 0 ? -status : INT_MAX;
    int first = INT_MAX;
    if (MPI_Allreduce(&mine, &first, 1, MPI_INT, MPI_MIN, comm) != MPI_SUCCESS)
        return engine_failed;
    return first == INT_MAX ? 0 : -first;
}

} // namespace zel::distributed
