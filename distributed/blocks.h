// SPDX-License-Identifier: Apache-2.0
// Blocks of global numbers of equal length, one per rank, in which columns pass into files and out of them.
#pragma once

#include "distributed/exchange.h"
#include "distributed/list.h"

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Rank r has the numbers from first(r) to first(r + 1); lengths differ by one at most.
struct equal_blocks {
    number total;
    number ranks;

    equal_blocks(MPI_Comm comm, number all)
        : total(all), ranks(static_cast<number>(ranks_of(comm))) {}
    number first(int rank) const {
        const auto r = static_cast<number>(rank);
        const number share = total / ranks, more = total % ranks;
        return r * share + (r < more ? r : more);
    }
    number length(int rank) const { return first(rank + 1) - first(rank); }
    home home_of(number k) const {
        const number share = total / ranks, more = total % ranks, longer = more * (share + 1);
        const number r = k < longer ? k / (share + 1) : more + (k - longer) / share;
        const int rank = static_cast<int>(r);
        return {rank, static_cast<unsigned>(k - first(rank))};
    }
};

/// Columns of words of 64 bits; doubles travel by their bits.
struct word_columns {
    std::size_t width = 0;
    list<number> words; ///< `width` per column
};

/// Sends each rank's own columns, whose global numbers are `numbers`, to the blocks that have them. `block` gets
/// the columns of this rank's block. Collective; the status is the same on all ranks.
int into_blocks(MPI_Comm comm, const list<number>& numbers, const word_columns& columns,
                number total, word_columns& block);

/// Fetches the columns of `numbers` from the blocks that have them, as many rows as `out` has. Collective.
int out_of_blocks(MPI_Comm comm, const list<number>& block, const dense1D<number, 8>& numbers,
                  number total, dense2D<double>& out);

} // namespace zel::distributed
