// SPDX-License-Identifier: Apache-2.0
// The search structure of a node detector: grids within grids over the nodes of a planar mesh.
#pragma once

// A grid of equal cells lies over the box of the nodes, and the nodes are sorted by cell, so that
// those of neighbouring cells of a row are contiguous. The nodes of a crowded cell have a grid of
// their own over their box, and so on: clusters cost no more than even nodes. A grid that is mostly
// empty gets larger cells, so that a search does not walk through empty ones.
//
// Where a grid does not part the nodes, because most of them lie in one cell or because its sizes are
// out of the range of numbers, they are cut into halves of equal count. This bounds the depth.
#include "foundation/call_frame.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cstddef>

namespace zel::tessel {

struct held_node {
    double x[2];
    unsigned number;
};

/// The nodes [first, last) of the sorted ones.
struct node_run {
    static constexpr std::size_t leaf_size = 24; ///< nodes that are looked through one by one

    std::size_t first;
    std::size_t last;

    std::size_t count() const noexcept { return last - first; }
    bool crowded() const noexcept { return count() > leaf_size; }
};

/// How a crowded run is divided: by a grid, by a cut, or, if all its nodes lie on one point, not at all.
struct branch {
    double low[2]; ///< the box of the nodes
    double high[2];
    double per_length[2]; ///< grid: cells in a unit of length
    unsigned cells[2];    ///< grid: their counts. Else 0
    double cut_place; ///< cut: nodes to its left have coordinates up to it, to its right from it on
    std::size_t cut_axis; ///< cut: of the coordinate
    /// Grid: where `numbers` holds the first node of each cell. Cut: the first node to the right.
    std::size_t first_begin;
    /// Grid: where `numbers` holds the branch of each crowded cell, 0 if none is crowded. Cut: the first
    /// of two branches.
    std::size_t first_child;

    bool is_point() const noexcept { return low[0] == high[0] && low[1] == high[1]; }
    bool is_grid() const noexcept { return cells[0] > 0; }
    std::size_t across() const noexcept { return cells[0]; }
    std::size_t up() const noexcept { return cells[1]; }

    std::size_t cell_along(std::size_t i, double x) const noexcept {
        const double at = (x - low[i]) * per_length[i];
        return at > 0 ? static_cast<std::size_t>(std::min(at, cells[i] - 1.0)) : 0;
    }
    std::size_t cell_at(const double* p) const noexcept {
        return cell_along(1, p[1]) * across() + cell_along(0, p[0]);
    }
};

/// What the copies of a detector share. Branch 0 divides all nodes, if they are crowded.
class node_index final : public numera::ref_counted {
public:
    dense1D<held_node, 8> nodes; ///< sorted
    dense1D<unsigned, 8> numbers;
    dense1D<branch, 8> branches;

    /// Takes the finite nodes of a matrix with two rows. Returns false if memory is exhausted.
    bool build(const dense2D<double>& pos) noexcept;

    static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
        return __vector_num_alloc(bytes);
    }
    static void operator delete(void* memory) noexcept { __vector_num_free(memory); }
    static void operator delete(void* memory, const std::nothrow_t&) noexcept {
        __vector_num_free(memory);
    }
};

} // namespace zel::tessel
