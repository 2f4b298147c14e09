// SPDX-License-Identifier: Apache-2.0
// Numbers the local edges of elements, steps around a node, turns an element over and holds sets of
// elements.
#pragma once

// Local edges number the rows of a matrix of neighbours. A triangle numbers an edge by the corner
// opposite it, a quadrilateral by the corner from which it starts:
//
//          2                3---2---2
//         / \               |       |
//        1   0              3       1
//       /     \             |       |
//      0---2---1            0---0---1
#include "foundation/call_frame.h"
#include "zel/hbuckets.h"

namespace zel::tessel2d {

/// The first of the `corners` (3 or 4) rows of a column that holds the node, or 0xFFFFFFFF.
inline unsigned local_node_index(unsigned node, const unsigned* cell, unsigned corners) noexcept {
    // Branch-free, from the last row to the first: which row it is cannot be predicted.
    unsigned row = corners == 4 && cell[3] == node ? 3 : no_node;
    row = cell[2] == node ? 2 : row;
    row = cell[1] == node ? 1 : row;
    return cell[0] == node ? 0 : row;
}

/// The corners of a triangle before and after a corner. Compilers divide to find the remainder by 3.
constexpr unsigned corner_after(unsigned corner) noexcept {
    return corner == 2 ? 0 : corner + 1;
}
constexpr unsigned corner_before(unsigned corner) noexcept {
    return corner == 0 ? 2 : corner - 1;
}

/// The end nodes of local edge k, below `corners`, in the direction in which the element runs.
inline elfes::edge2 edge_nodes(const unsigned* cell, unsigned corners, unsigned k) noexcept {
    if (corners == 4) return {cell[k], cell[(k + 1) % 4]};
    return {cell[corner_after(k)], cell[corner_before(k)]};
}

/// The row of neighbours that leads across the edge that ends at corner i. Repeated from element to
/// element, this step turns around the node at that corner, counterclockwise if the elements are
/// counterclockwise.
inline unsigned turn_edge(unsigned i, unsigned corners) noexcept {
    return corners == 3 ? corner_after(i) : (i + 3) % 4;
}

/// The row of neighbours that leads across the edge that starts at corner i: the other way around the node.
inline unsigned turn_back_edge(unsigned i, unsigned corners) noexcept {
    return corners == 3 ? corner_before(i) : i;
}

/// Exchanges two numbers if `on` is 1 and not if it is 0, without a branch.
inline void swap_if(unsigned on, unsigned& x, unsigned& y) noexcept {
    const unsigned change = (x ^ y) & (0U - on);
    x ^= change;
    y ^= change;
}

/// Turns a linear element over: nodes 0 and 2 change places.
inline void turn_over(unsigned* cell, unsigned on = 1) noexcept {
    swap_if(on, cell[0], cell[2]);
}

/// Reorders the column of neighbours of an element that is turned over.
inline void turn_over_neighbors(unsigned* neighbors, unsigned corners, unsigned on = 1) noexcept {
    if (corners == 3) {
        swap_if(on, neighbors[0], neighbors[2]);
    } else {
        swap_if(on, neighbors[0], neighbors[1]);
        swap_if(on, neighbors[2], neighbors[3]);
    }
}

/// A set of element numbers, one bit for each element of a mesh.
class element_set {
public:
    /// Empties the set and makes room for the numbers below `count`. Returns false if memory is
    /// exhausted.
    bool start(std::size_t count) noexcept {
        words.clear();
        if (!words.resize(count / word_bits + (count % word_bits != 0), 0u)) return false;
        bits = words.data();
        return true;
    }
    bool holds(std::size_t e) const noexcept {
        return (bits[e / word_bits] >> (e % word_bits) & 1u) != 0;
    }
    void add(std::size_t e) noexcept { bits[e / word_bits] |= 1u << (e % word_bits); }

private:
    static constexpr std::size_t word_bits = 32;
    dense1D<unsigned, 8> words;
    unsigned* bits = nullptr;
};

} // namespace zel::tessel2d
