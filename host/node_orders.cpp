// SPDX-License-Identifier: Apache-2.0
// Node orders of file formats: tables, found by coordinates, and columns permuted by them.
//
// The library numbers the edges of a triangle by the opposite corner, VTK and gmsh by the first one; so the
// groups of mid-side nodes move. Quadrilaterals differ from order 3 on only: VTK runs sides 2 and 3 along the
// axes, gmsh numbers inner nodes as an element within the element, corners first. A test compares each table
// with the coordinates that the two libraries themselves give to their nodes.
#include "zel/host/node_orders.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zel::host {
namespace {

constexpr unsigned most_nodes = 25;
constexpr unsigned no_node = 0xFFFFFFFF;

using order = std::array<unsigned, most_nodes>;

/// What a format does with one kind of element: both permutations, of which only the first `nodes`
/// entries count; 0 nodes where the format has no such element.
struct element_order {
    unsigned nodes = 0;
    order to{};
    order from{};
};

template <std::size_t Count>
constexpr element_order permutation(const unsigned (&to)[Count]) {
    element_order result;
    result.nodes = Count;
    for (unsigned k = 0; k < Count; ++k) {
        result.to[k] = to[k];
        result.from[to[k]] = k;
    }
    return result;
}

template <unsigned Count>
constexpr element_order identity() {
    unsigned rows[Count] = {};
    for (unsigned k = 0; k < Count; ++k) rows[k] = k;
    return permutation(rows);
}

constexpr std::size_t kinds = 11;
constexpr unsigned counts[kinds] = {3, 6, 7, 10, 15, 4, 8, 9, 12, 16, 25};
constexpr unsigned nodes_on_edge[kinds] = {0, 1, 1, 2, 3, 0, 1, 1, 2, 2, 3};

constexpr element_order T6 = permutation({0, 1, 2, 5, 3, 4});
constexpr element_order T7 = permutation({0, 1, 2, 5, 3, 4, 6});
constexpr element_order T10 = permutation({0, 1, 2, 7, 8, 3, 4, 5, 6, 9});
constexpr element_order none{};

// By the enumerators of node_format and nodal_element.
constexpr element_order orders[2][kinds] = {
    {identity<3>(), T6, T7, T10, none, identity<4>(), identity<8>(), identity<9>(), none,
     permutation({0, 1, 2, 3, 4, 5, 6, 7, 9, 8, 11, 10, 12, 13, 14, 15}),
     permutation({0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  12, 11, 10,
                  15, 14, 13, 16, 17, 18, 19, 20, 21, 22, 23, 24})},
    {identity<3>(), T6, none, T10, none, identity<4>(), identity<8>(), identity<9>(),
     identity<12>(), permutation({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15, 14}),
     permutation({0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                  13, 14, 15, 16, 18, 24, 22, 17, 21, 23, 19, 20})}};

/// The entry for a pair of enumerators; `none` for values that are no enumerators.
const element_order& find(node_format format, nodal_element element) noexcept {
    const auto f = static_cast<unsigned>(format);
    const auto e = static_cast<unsigned>(element);
    return f > 1 || e >= kinds ? none : orders[f][e];
}

/// The entry for the element that has `nodes` of which `edge_nodes` stand on each edge, or `none`.
const element_order& find(node_format format, unsigned edge_nodes, std::size_t nodes) noexcept {
    for (unsigned kind = 0; kind < kinds; ++kind)
        if (counts[kind] == nodes && nodes_on_edge[kind] == edge_nodes)
            return find(format, static_cast<nodal_element>(kind));
    return none;
}

/// Rows of a column before its first filler.
std::size_t nodes_of(const unsigned* column, std::size_t rows) noexcept {
    return static_cast<std::size_t>(std::find(column, column + rows, no_node) - column);
}

int reorder(node_format format, unsigned edge_nodes, dense2D<unsigned>& connect,
            order element_order::*direction) noexcept {
    if (static_cast<unsigned>(format) > 1) return -1;
    if (edge_nodes > 3) return -2;
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (find(format, edge_nodes, nodes_of(connect[e], connect.rows)).nodes == 0) return -3;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        unsigned* const column = connect[e];
        const element_order& by = find(format, edge_nodes, nodes_of(column, connect.rows));
        unsigned before[most_nodes];
        std::copy_n(column, by.nodes, before);
        for (unsigned k = 0; k < by.nodes; ++k) column[k] = before[(by.*direction)[k]];
    }
    return 0;
}

} // namespace

unsigned node_count(nodal_element element) noexcept {
    const auto e = static_cast<unsigned>(element);
    return e < kinds ? counts[e] : 0;
}

const unsigned* order_to(node_format format, nodal_element element) noexcept {
    const element_order& found = find(format, element);
    return found.nodes == 0 ? nullptr : found.to.data();
}

const unsigned* order_from(node_format format, nodal_element element) noexcept {
    const element_order& found = find(format, element);
    return found.nodes == 0 ? nullptr : found.from.data();
}

int reorder_to(node_format format, unsigned edge_nodes, dense2D<unsigned>& connect) noexcept {
    return reorder(format, edge_nodes, connect, &element_order::to);
}

int reorder_from(node_format format, unsigned edge_nodes, dense2D<unsigned>& connect) noexcept {
    return reorder(format, edge_nodes, connect, &element_order::from);
}

} // namespace zel::host
