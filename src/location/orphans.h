// SPDX-License-Identifier: Apache-2.0
// Carries what the nodes of a mesh hold onto orphans: nodes that belong to no element.
#pragma once

// One search tree over the nodes of the mesh is built for all orphans. The orphans of a long list
// are processed in Morton order. Each is located in an element; one that lies in none, or whose
// walk meets a degenerate element, receives from the closest node of the mesh instead.
#include "location/local_coords.h"
#include "location/locate.h"
#include "zel/element_type.h"

namespace zel::tessel2d {

/// Share of an element's doubled area by which a point may lie outside a side of it.
constexpr double carry_tolerance = 1e-6;

/// Returns true if some corner of the mesh has no ancestor. Adjacency that is in order has none.
template <class Shape>
bool has_orphan_corners(const located_mesh& mesh) noexcept {
    for (std::size_t e = 0; e < mesh.elements; ++e) {
        const unsigned* const cell = mesh.connect[e];
        const unsigned corners = Shape::corners(cell);
        for (unsigned i = 0; i < corners; ++i)
            if (mesh.ancestor(cell[i]) == no_node) return true;
    }
    return false;
}

/// Lists the orphans among `nodes` in an order that makes good use of the cache. Returns false, and
/// the list keeps its order, if there are few of them, if memory is exhausted, or if an orphan is a
/// corner: then the values that one orphan receives may be passed on to another, and the order
/// matters.
template <class Shape>
bool sort_orphans(const located_mesh& mesh, const node_tree& tree,
                  const dense1D<unsigned, 8>& nodes, curve_order& order) noexcept {
    constexpr std::size_t worth_sorting = 4096;
    if (nodes.size < worth_sorting || has_orphan_corners<Shape>(mesh)) return false;
    dense1D<unsigned, 8> orphans;
    if (!orphans.reserve(nodes.size, 1)) return false;
    for (const unsigned node : nodes)
        if (mesh.ancestor(node) == no_node) orphans.push_back(node);
    return order.sort(tree.grid, mesh.pos, orphans);
}

/// Locates an orphan, by a walk from an element, and hands it to the rule.
template <class Shape, class Rule>
void serve_orphan(const located_mesh& mesh, const tree_searcher& searcher, unsigned node,
                  unsigned element, Rule& rule, search_record& record) noexcept {
    const point<2> p = mesh.pos[node];
    if (locate<Shape>(mesh, searcher, p, carry_tolerance, element, true, record) ==
        outcome::found) {
        const unsigned* const cell = mesh.connect[element];
        const unsigned corners = Shape::corners(cell);
        point<2> at;
        if (corners == 3) {
            local_coords_T3(mesh.pos, cell, p, at);
        } else {
            local_coords_Q4(mesh.pos, cell, p, at);
        }
        rule.in_element(node, cell, corners, at);
    } else {
        const unsigned closest = record.closest ? *record.closest : searcher.find_closest(p);
        if (closest != no_node) rule.from_node(node, closest);
    }
}

/// Locates every orphan in the list and hands it to the rule:
///
///     rule.keep_valid                            true if `wants` may say no
///     rule.wants(node)                           false to pass over it
///     rule.in_element(node, cell, corners, at)   it lies in this element, at these local coordinates:
///                                                (s, t) with 3 corners, (u, v) with 4
///     rule.from_node(node, closest)              it lies in none; this is the closest mesh node
///
/// An orphan in no element and outside the box of the mesh nodes is passed over.
///
/// So many orphans are located `at_once`, at most those of a `point_group`: what one receives does not change
/// whether another of them is wanted.
template <class Shape, class Rule>
void serve_orphans(const located_mesh& mesh, const node_tree& tree,
                   const dense1D<unsigned, 8>& nodes, std::size_t at_once, Rule rule) noexcept {
    const tree_searcher searcher(tree, mesh);
    search_record record;
    point_group group;
    unsigned wanted[group.most];
    for (std::size_t next = 0; next < nodes.size;) {
        std::size_t n = 0;
        for (; n < at_once && next < nodes.size; ++next)
            if (mesh.ancestor(nodes[next]) == no_node && rule.wants(nodes[next]))
                wanted[n++] = nodes[next];
        group.find_starts(mesh, searcher, n, [&](std::size_t i) { return mesh.pos[wanted[i]]; });
        for (std::size_t i = 0; i < n; ++i)
            serve_orphan<Shape>(mesh, searcher, wanted[i], group.starts[i], rule, record);
    }
}

template <class Shape, class Rule>
void carry_onto_orphans(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        const dense1D<unsigned, 8>& nodes, const Rule& rule) noexcept {
    const located_mesh mesh(pos, connect, neighbors, ancestors);
    node_tree tree(pos);
    if (tree.fill<Shape>(connect) == 0) return; // nothing is found without a node
    curve_order order;
    const bool sorted = sort_orphans<Shape>(mesh, tree, nodes, order);
    // Of sorted orphans none is a corner, so one that is listed twice receives the same twice.
    const std::size_t at_once = sorted || !rule.keep_valid ? point_group::most : 1;
    serve_orphans<Shape>(mesh, tree, sorted ? order.nodes : nodes, at_once, rule);
}

/// Carries something onto the orphans in the list by the rule, for the shape that `type` and the rows
/// of `connect` name together. Other combinations do nothing.
template <class Rule>
void carry_onto_orphans(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        const dense1D<unsigned, 8>& nodes, element_type type,
                        const Rule& rule) noexcept {
    if (connect.rows == 3 && type == ELEMENT_T3) {
        carry_onto_orphans<triangle_cells>(pos, connect, neighbors, ancestors, nodes, rule);
    } else if (connect.rows == 4 && type == ELEMENT_Q4) {
        carry_onto_orphans<quad_cells>(pos, connect, neighbors, ancestors, nodes, rule);
    } else if (connect.rows == 4 && type == ELEMENT_FACE) {
        carry_onto_orphans<mixed_cells>(pos, connect, neighbors, ancestors, nodes, rule);
    }
}

} // namespace zel::tessel2d
