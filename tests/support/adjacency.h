// SPDX-License-Identifier: Apache-2.0
#pragma once

// Neighbours and ancestors of a mesh, built without the host tools: what tests, benchmarks and fuzz drivers of the
// library hand to the functions that ask for them, and what the host tools are compared with.
#include "zel/dense.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace zel_test {

using zel::dense1D;
using zel::dense2D;

/// @var neighbors  rows x columns of the connectivity. Entry (k, e) is the element across local edge k
///                 of element e, or 0xFFFFFFFF. Edge k of a triangle joins nodes k + 1 and k + 2
///                 (modulo 3), so it lies opposite node k; edge k of a quadrilateral joins nodes k and
///                 k + 1 (modulo 4). Row 3 of a triangle in a mixed mesh is 0xFFFFFFFF.
/// @var ancestors  one entry per node: the first element that holds it, or 0xFFFFFFFF.
struct adjacency {
    dense2D<unsigned> neighbors;
    dense1D<unsigned, 8> ancestors;
};

namespace adjacency_detail {

constexpr unsigned none = 0xFFFFFFFFu;

inline unsigned corners(const dense2D<unsigned>& connect, std::size_t element) {
    return connect.rows == 3 || connect(3, element) == none ? 3 : 4;
}

/// An edge as one element sees it, filed under the lower of its nodes.
struct half_edge {
    unsigned high;
    unsigned element;
    unsigned edge;
};

/// Calls use(low, half_edge) for every edge of every element whose nodes differ.
template <class Use>
void for_each_half_edge(const dense2D<unsigned>& connect, Use use) {
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned c = corners(connect, e);
        for (unsigned k = 0; k < c; ++k) {
            const unsigned a = connect(c == 3 ? (k + 1) % 3 : k, e);
            const unsigned b = connect(c == 3 ? (k + 2) % 3 : (k + 1) % 4, e);
            if (a != b) use(std::min(a, b), half_edge{std::max(a, b), static_cast<unsigned>(e), k});
        }
    }
}

/// The half edges in the order of their lower nodes: those of node a from first[a] up to first[a + 1].
struct filed_edges {
    std::vector<std::size_t> first;
    std::vector<half_edge> edges;
};

inline filed_edges file_by_lower_node(const dense2D<unsigned>& connect, std::size_t nodes) {
    filed_edges filed;
    filed.first.assign(nodes + 1, 0);
    for_each_half_edge(connect, [&](unsigned low, const half_edge&) { ++filed.first[low + 1]; });
    for (std::size_t a = 0; a < nodes; ++a) filed.first[a + 1] += filed.first[a];
    filed.edges.resize(filed.first[nodes]);
    std::vector<std::size_t> next(filed.first.begin(), filed.first.end() - 1);
    for_each_half_edge(connect,
                       [&](unsigned low, const half_edge& h) { filed.edges[next[low]++] = h; });
    return filed;
}

/// The half edges of one pair of nodes: the first two, and how many there are.
struct meeting {
    std::size_t first = 0;
    std::size_t second = 0;
    unsigned count = 0;
};

inline void join(const half_edge& a, const half_edge& b, dense2D<unsigned>& neighbors) {
    if (a.element == b.element) return;
    neighbors(a.edge, a.element) = b.element;
    neighbors(b.edge, b.element) = a.element;
}

} // namespace adjacency_detail

/// Builds both for a mesh of triangles (3 rows), quadrilaterals or both (4 rows, 0xFFFFFFFF in row 3
/// of a triangle) in time proportional to its elements and nodes.
///
/// @param connect  node numbers below `nodes`.
/// @param nodes    number of nodes.
///
/// An edge that more than two elements share, that joins a node to itself or that one element has
/// twice has nothing across it. Orientation does not matter.
inline adjacency adjacency_of(const dense2D<unsigned>& connect, std::size_t nodes) {
    using namespace adjacency_detail;
    adjacency result;
    result.neighbors.resize(connect.rows, connect.cols, none);
    result.ancestors.resize(nodes, none);
    if (connect.empty()) return result;

    for (std::size_t e = connect.cols; e-- > 0;)
        for (unsigned i = 0; i < corners(connect, e); ++i)
            result.ancestors[connect(i, e)] = static_cast<unsigned>(e);

    const filed_edges filed = file_by_lower_node(connect, nodes);
    std::vector<meeting> met(nodes); // by the higher node; counts are 0 again after each lower node
    for (std::size_t low = 0; low < nodes; ++low) {
        for (std::size_t i = filed.first[low]; i < filed.first[low + 1]; ++i) {
            meeting& m = met[filed.edges[i].high];
            if (m.count == 0) m.first = i;
            if (m.count == 1) m.second = i;
            ++m.count;
        }
        for (std::size_t i = filed.first[low]; i < filed.first[low + 1]; ++i) {
            meeting& m = met[filed.edges[i].high];
            if (m.count == 2) join(filed.edges[m.first], filed.edges[m.second], result.neighbors);
            m.count = 0;
        }
    }
    return result;
}

} // namespace zel_test
