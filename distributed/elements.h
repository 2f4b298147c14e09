// SPDX-License-Identifier: Apache-2.0
// New elements in place of the own elements of a part.
#pragma once

#include "distributed/list.h"

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Puts new elements in place of the own elements of a part without halo. `connect` holds them in local node
/// numbers, and `numbers` their numbers within the `total` of the whole mesh, in any order. Throws
/// std::bad_alloc; returns 0 or `no_memory`, with the part as it was.
int replace_elements(const dense2D<unsigned>& connect, const list<number>& numbers, number total,
                     partitioned_mesh& mesh);

} // namespace zel::distributed
