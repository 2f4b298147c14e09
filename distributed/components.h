// SPDX-License-Identifier: Apache-2.0
// Connected components of a graph whose vertices are spread over the ranks, with a parity for each vertex.
#pragma once

#include "distributed/list.h"

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// A link from a vertex of this rank. Its two ends are alike if `odd` is 0 and unlike if it is 1.
struct link {
    unsigned from;
    home to;
    unsigned odd;
};

/// Drops links that are there twice.
void keep_distinct(list<link>& links);

/// The component of a vertex.
struct component {
    number key;   ///< the lowest key of its vertices
    home where;   ///< the vertex that has it
    unsigned odd; ///< 1: unlike that vertex
    unsigned
        torn; ///< 1: no way to call the vertices of the component alike or unlike agrees with all links
};

/// Finds the component of each vertex of this rank.
///
/// `keys` has one entry per vertex; no key comes twice, on any rank. Both ranks of a link have it, each from its
/// end. `torn` marks vertices that bring a contradiction with them. The component with the lowest key does not
/// depend on how the graph is spread, nor does `torn`, nor, unless that is 1, `odd`.
///
/// Collective; the status is the same on all ranks. As good as proportional to the logarithm of the number of
/// vertices in steps; in each one the links and the vertices travel once.
int find_components(MPI_Comm comm, const list<number>& keys, const list<link>& links,
                    const list<unsigned char>& torn, list<component>& components);

} // namespace zel::distributed
