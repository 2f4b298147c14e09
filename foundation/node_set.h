// zel tessel2d: planar and surface mesh tools.
#pragma once

// Lists the nodes of a connectivity, each once, in the order in which the columns name them first.
#include "foundation/call_frame.h"
#include "foundation/cell_shapes.h"
#include "foundation/hbuckets.h"

namespace zel::tessel2d {

/// Gathers the nodes of `connect` in `set`, which is emptied first. `Shape` tells how many leading rows
/// of a column count (see cell_shapes.h). A node that finds no memory after the start is left out, and
/// so may be values behind it: `set.complete()` and `position_in` tell.
///
/// Returns 0, or -199 when memory ran out at the start and nothing was gathered.
template <class Shape>
int collect_nodes(const dense2D<unsigned>& connect, vector_fast<unsigned>& set) noexcept {
    constexpr std::size_t ahead = 12; // columns between the hint to the processor and its use
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
        for (unsigned i = 0; i < Shape::corners(cell); ++i) vector_fast_insert(set, cell[i]);
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

} // namespace zel::tessel2d
