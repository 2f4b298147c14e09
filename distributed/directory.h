// SPDX-License-Identifier: Apache-2.0
// Finds nodes of a mesh in parts by their global numbers: which ranks have them, and where their homes are.
#pragma once

#include "distributed/exchange.h"

namespace zel::distributed {

/// Rank r keeps the entries of the r-th block of node numbers. What is entered are runs of consecutive numbers, so
/// that a directory is as small as the numbers of the parts are orderly.
class directory {
public:
    /// Enters the nodes of all parts. Collective.
    int build(const partitioned_mesh& mesh);

    /// The rank that keeps the entry of a node.
    int keeper(number node) const { return static_cast<int>(node / per_block); }

    /// Calls visit(rank) for each rank that has the node; for keepers.
    template <class Visit>
    void for_each_rank(number node, Visit&& visit) const {
        for (std::size_t k = 0; k < entries.from.size(); ++k)
            if (find(k, node)) visit(entries.from[k]);
    }

    /// The homes of the nodes, asked of their keepers. Collective; each rank asks for its own list.
    int find_homes(MPI_Comm comm, const list<number>& nodes, list<home>& homes) const;

private:
    struct run {
        number first, count;
        unsigned slot; ///< of the first node, if the run is the rank's own
        int own;
    };
    const run* find(std::size_t from, number node) const;

    number per_block = 1;
    inbox<run> entries;
};

} // namespace zel::distributed
