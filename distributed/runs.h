// SPDX-License-Identifier: Apache-2.0
// Sums over all elements or nodes in front of one, in the order of global numbers, whichever ranks hold them.
#pragma once

#include "distributed/list.h"

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// What stands in front of each of this rank's own items, and in all.
struct sums_in_front {
    list<number> front; ///< one per item
    number all = 0;
};

/// `numbers` are the items of this rank, ascending, each of which one rank names; all lie below `total`.
/// `counts` has one entry per item. What travels is proportional to the runs of consecutive numbers on a rank.
/// Collective; the status is the same on all ranks.
int sum_in_front(MPI_Comm comm, const list<number>& numbers, const list<number>& counts,
                 number total, sums_in_front& sums);

} // namespace zel::distributed
