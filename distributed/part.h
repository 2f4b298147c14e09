// SPDX-License-Identifier: Apache-2.0
// What the functions of parts share: which nodes and elements are a rank's own, and how a part is put together
// from loose elements.
#pragma once

#include "distributed/exchange.h"

#include "zel/distributed/mesh.h"

#include <cstddef>

namespace zel::distributed {

constexpr unsigned no_node = 0xFFFFFFFFU;
/// Local numbers stay below: the one behind them is no node.
constexpr std::size_t most_local = 0xFFFFFFFEU;

/// Local numbers of the nodes or elements that are this rank's own, ascending: entry s is the one in slot s.
list<unsigned> own_entries(const dense1D<home, 8>& homes, int rank);

/// Elements and nodes with global numbers, in any order.
struct loose_part {
    std::size_t rows = 0; ///< corners per element
    list<number> corners; ///< `rows` per element; `no_number` where there is none
    list<number> element_numbers;
    list<home> element_homes;
    list<number> node_numbers; ///< no number twice; every corner is among them
    list<home> node_homes;
    std::size_t dimension = 0;
    list<double> coordinates; ///< `dimension` per node
};

/// Puts a part together: nodes and elements ascending, corners in local numbers. Fills the local members of
/// `mesh` and leaves the others. Throws std::bad_alloc. Returns 0, or `no_memory` if local numbers outgrow 32
/// bits.
int put_together(const loose_part& loose, partitioned_mesh& mesh);

/// Replaces the local numbers of a part's elements by global ones: `rows` per element.
list<number> global_corners(const partitioned_mesh& mesh);

/// The distinct nodes of some corners, ascending, with their homes; without `no_number`.
void distinct_nodes(const list<number>& corners, const list<home>& corner_homes,
                    list<number>& numbers, list<home>& homes);

/// The mesh with at least so many layers around each part: the same matrices if it has them, else new ones.
int with_halo(const partitioned_mesh& mesh, unsigned layers, partitioned_mesh& wide);

/// Fills a part from own elements with corners in global numbers, and finds out whose the nodes are.
///
/// Where a node has been until now its coordinates lie and the ranks that use it meet: `node_homes`, one for each of
/// `node_numbers`, the distinct corners ascending, says where; `old_numbers` and `old_pos`, by `old_columns`, are the
/// nodes in the slots of this rank. Each node goes to the lowest rank that uses it, or stays where it is. The lists
/// that are not constant are used up. Collective; `mesh` stays as it was if the status is not 0.
int settle(MPI_Comm comm, std::size_t rows, list<number>& corners, list<number>& element_numbers,
           list<number>& node_numbers, const list<home>& node_homes,
           const list<number>& old_numbers, const dense2D<double>& old_pos,
           const list<unsigned>& old_columns, partitioned_mesh& mesh);

} // namespace zel::distributed
