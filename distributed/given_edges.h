// SPDX-License-Identifier: Apache-2.0
// Edges that have their nodes already, on their way to the parts that have both ends.
#pragma once

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Brings to each part the given edges whose ends it has, in their order and in local numbers, as the library
/// takes them, and adds their nodes to the part. `edges` is this rank's run of them in global numbers, of a + 2
/// rows. Collective. Returns `complaint` if a run has other rows or names nodes that do not exist.
int bring_given_edges(const dense2D<number>& edges, unsigned a, int complaint,
                      partitioned_mesh& part, dense2D<unsigned>& given);

} // namespace zel::distributed
