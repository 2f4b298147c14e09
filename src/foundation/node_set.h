// SPDX-License-Identifier: Apache-2.0
// Lists the nodes of a connectivity, each once, in the order in which the columns name them first.
#pragma once

#include "foundation/call_frame.h"
#include "foundation/cell_shapes.h"
#include "zel/hbuckets.h"

namespace zel::tessel2d {

/// Gathers the nodes of `connect` in `set`, which is emptied first. `Shape` gives the number of
/// leading rows of a column that count (see cell_shapes.h); entries among them that are no node are
/// skipped. When memory runs out after the start, nodes are missing: `set.complete()` then returns
/// false, and `position_in` returns `no_node` for them.
///
/// Returns 0, or -199 when memory ran out at the start and nothing was gathered.
template <class Shape>
int collect_nodes(const dense2D<unsigned>& connect, vector_fast<unsigned>& set) noexcept {
    constexpr std::size_t ahead = 12; // columns between prefetch and use
    set.clear();
    if (!set.reserve(connect.cols, 1)) return status_memory;
    if (connect.cols > set.positions.bucket_count && !set.positions.rehash(connect.cols))
        return status_memory;
    const auto cells = columns_of(connect);
    const std::size_t n = connect.cols;
    for (std::size_t j = 0; j < n; ++j) {
        if (n - j > ahead) {
            const unsigned* const later = cells[j + ahead];
            for (unsigned i = 0; i < Shape::corners(later); ++i)
                set.positions.prefetch(hash_key(later[i]));
        }
        const unsigned* const cell = cells[j];
        for (unsigned i = 0; i < Shape::corners(cell); ++i)
            if (cell[i] != no_node) vector_fast_insert(set, cell[i]);
    }
    return status_ok;
}

/// The same for a profile of edges.
inline int collect_edge_nodes(const dense2D<unsigned>& connect,
                              vector_fast<unsigned>& set) noexcept {
    return collect_nodes<edge_cells>(connect, set);
}

/// The place of a node in the list, or `no_node`.
inline unsigned position_in(const vector_fast<unsigned>& set, unsigned node) noexcept {
    const auto* const found = set.positions.find(node);
    return found == set.positions.end_position() ? no_node
                                                 : static_cast<unsigned>(found->value.second);
}

/// Lists the nodes of `connect` in `list`, each once in first-seen order, and writes the position
/// of each entry in that list to `places`, a matrix of the same shape. Entries behind the corners
/// of a column are copied. All corners are below `node_count` or no node; these are copied too.
/// Returns false if memory is exhausted.
///
/// Where the connectivity names a large share of all nodes, a table over the nodes is faster than
/// hashing; the result is the same.
template <class Shape>
bool number_nodes(const dense2D<unsigned>& connect, std::size_t node_count,
                  dense1D<unsigned, 8>& list, dense2D<unsigned>& places) noexcept {
    constexpr std::size_t sparse = 16; // nodes per column from which on hashing takes less memory
    const std::size_t n = connect.cols;
    if (!places.resize(connect.rows, n)) return false;
    const auto cells = columns_of(connect);
    const auto out = columns_of(places);
    const auto for_each_entry = [&](const auto& place_of) {
        bool found = true;
        for (std::size_t j = 0; j < n; ++j) {
            const unsigned corners = Shape::corners(cells[j]);
            for (unsigned i = 0; i < corners; ++i) {
                const unsigned node = cells[j][i];
                out[j][i] = node == no_node ? no_node : place_of(node);
                found &= node == no_node || out[j][i] != no_node;
            }
            for (std::size_t i = corners; i < connect.rows; ++i) out[j][i] = cells[j][i];
        }
        return found;
    };
    if (node_count / sparse > n) {
        vector_fast<unsigned> set;
        if (collect_nodes<Shape>(connect, set) != status_ok || !set.complete()) return false;
        list = set;
        return for_each_entry([&](unsigned node) { return position_in(set, node); });
    }
    dense1D<unsigned, 8> table;
    std::size_t entries;
    if (!table.resize(node_count, no_node) || !checked_multiply(connect.rows, n, entries) ||
        !list.resize(std::min(entries, node_count))) {
        return false;
    }
    unsigned* const place = table.data();
    unsigned* const node_at = list.data();
    unsigned count = 0;
    for_each_entry([&](unsigned node) {
        if (place[node] == no_node) {
            place[node] = count;
            node_at[count++] = node;
        }
        return place[node];
    });
    list.size = count;
    return true;
}

} // namespace zel::tessel2d
