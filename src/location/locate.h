// zel tessel2d: planar and surface mesh tools.
#pragma once

// Finds the element of a planar mesh that holds a point: a randomised walk from element to element,
// which starts beside a node near the point, and, when that falls off the mesh, further walks from
// the elements around the nearest node. There is no search through all elements.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "geometry/kernels.h"
#include "geometry/point.h"
#include "location/node_tree.h"
#include "zel/hbuckets.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace zel::tessel2d {

/// The inputs of a search, as cursors: a planar mesh with its adjacency.
struct located_mesh {
    points_view<2> pos;
    columns<const unsigned> connect;
    columns<const unsigned> neighbors;
    std::size_t elements;
    const unsigned* ancestors;
    std::size_t nodes;

    located_mesh(const dense2D<double>& positions, const dense2D<unsigned>& cells,
                 const dense2D<unsigned>& across, const dense1D<unsigned, 8>& holders) noexcept
        : pos(positions),
          connect(columns_of(cells)),
          neighbors(columns_of(across)),
          elements(cells.cols),
          ancestors(holders.data()),
          nodes(holders.size) {}

    /// An element that holds the node, or `no_node`. A number that is no element counts as none, and so
    /// does a node that the mesh does not have.
    unsigned ancestor(std::size_t node) const noexcept {
        return node < nodes && ancestors[node] < elements ? ancestors[node] : no_node;
    }
    node_filter held_nodes() const noexcept {
        return {ancestors, nodes, std::min<std::size_t>(elements, no_node), connect, neighbors};
    }
};

/// The tests that searches share, in the order of their arguments: 0, or -1 to -4 for the first of the
/// four matrices and lists that cannot be used.
inline int check_located_mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                              const dense2D<unsigned>& neighbors,
                              const dense1D<unsigned, 8>& ancestors, element_type type) noexcept {
    if (pos.rows != 2) return -1;
    if (!tessel::check_IDs(connect, type, node_bound(pos))) return -2;
    if (neighbors.rows != connect.rows || neighbors.cols != connect.cols) return -3;
    const std::size_t bound = std::min<std::size_t>(connect.cols, no_node);
    if (!tessel::check_IDs(neighbors, static_cast<unsigned>(bound))) return -3;
    if (ancestors.size != pos.cols) return -4;
    return status_ok;
}

// -------------------------------------------------------------------------------------- one element

constexpr unsigned inside = 0xFFFFFFFFu;     // no edge to leave by
constexpr unsigned degenerate = 0xFFFFFFFEu; // no inside to speak of

/// Twice the area of an element, positive when it turns counter-clockwise.
template <class Shape>
double double_size(const points_view<2>& pos, const unsigned* cell) noexcept {
    if (Shape::corners(cell) == 3)
        return triangle_double_area<2>(pos[cell[0]], pos[cell[1]], pos[cell[2]]);
    return quad_double_area_2d(pos[cell[0]], pos[cell[1]], pos[cell[2]], pos[cell[3]]);
}

/// The first edge with p on its outer side, farther out than the tolerance lets pass; `inside` when
/// there is none, `degenerate` when the element has no positive, finite size.
///
/// The tolerance is a fraction of the element's doubled area, and so is twice the area of the triangle
/// of p and the edge that is compared with it. The edges are tried in turn from the one behind `start`
/// to `start` itself. Whatever is not a number counts as outside.
template <class Shape>
unsigned exit_edge(const points_view<2>& pos, const unsigned* cell, const point<2>& p,
                   double tolerance, unsigned start) noexcept {
    const unsigned corners = Shape::corners(cell);
    const double size = double_size<Shape>(pos, cell);
    if (!(size > 0) || !(size <= std::numeric_limits<double>::max())) return degenerate;
    const double threshold = -(size * tolerance);
    unsigned k = start;
    do {
        k = k + 1 == corners ? 0 : k + 1;
        const elfes::edge2 ends = edge_nodes(cell, corners, k);
        const double side = triangle_double_area<2>(pos[ends.a], pos[ends.b], p);
        if (!(side >= threshold)) return k;
    } while (k != start);
    return inside;
}

// ------------------------------------------------------------------------------------------ the walk

/// The numbers 0 to 3 that choose the first edge to try. They are the same in every walk.
struct draws {
    std::uint32_t word = 1;
    std::uint32_t bits = 0;
    unsigned left = 0;

    unsigned next() noexcept {
        if (left == 0) {
            word = (word ^ 0x811C9DC5u) * 16777619u;
            bits = word;
            left = 16;
        }
        const unsigned d = bits & 3;
        bits >>= 2;
        --left;
        return d;
    }
};

/// An edge of an element of so many corners.
constexpr unsigned edge_of_draw(unsigned draw, unsigned corners) noexcept {
    return draw == corners ? 0 : draw; // of 0 to 3, for 3 or 4 corners: the rest of the division
}

// Statuses of a walk and of a search. A walk that ends without success at exactly the last element that
// it may look at is told from one that ends earlier or runs out of elements; it is not followed by others.
constexpr int found = 1;
constexpr int not_found = 0;
constexpr int met_degenerate = -1;
constexpr int ended_at_last = -2;

/// Walks from `element` to the element that holds p, crossing edges that have p on their outer side, and
/// looks at no more elements than the mesh has. `element` becomes the one found, or `no_node`; `steps`
/// the number of elements looked at, and one more when they ran out.
template <class Shape>
int walk(const located_mesh& mesh, const point<2>& p, unsigned& element, double tolerance,
         std::uint64_t& steps) noexcept {
    draws random;
    steps = 0;
    while (element != no_node && steps++ < mesh.elements) {
        const unsigned* const cell = mesh.connect[element];
        const unsigned* const across = mesh.neighbors[element];
        const unsigned corners = Shape::corners(cell);
        // One of the elements around is next, whichever edge it will be.
        for (unsigned i = 0; i < corners; ++i) {
            if (across[i] >= mesh.elements) continue;
            prefetch(mesh.connect[across[i]]);
            prefetch(mesh.neighbors[across[i]]);
        }
        unsigned start = edge_of_draw(random.next(), corners);
        unsigned edge = exit_edge<Shape>(mesh.pos, cell, p, tolerance, start);
        if (edge == inside) return found;
        if (edge == degenerate) {
            element = no_node;
            return steps == mesh.elements ? ended_at_last : met_degenerate;
        }
        // At the boundary another edge with p on its outer side may lead on.
        for (unsigned more = corners; --more > 0 && across[edge] == no_node;) {
            start = start + 1 == corners ? 0 : start + 1;
            edge = exit_edge<Shape>(mesh.pos, cell, p, tolerance, start);
        }
        element = across[edge];
    }
    element = no_node;
    return steps == mesh.elements ? ended_at_last : not_found;
}

// ------------------------------------------------------------------------------ the elements of a node

/// The elements around a node, and what it takes to list them. Without memory entries are lost.
struct node_fan {
    dense1D<unsigned, 8> elements;
    bool closed = false; ///< no edge at the node lies on the boundary

    dense1D<unsigned, 8> stack;
    hbuckets<unsigned> seen;
};

/// Lists the elements that can be reached from `first` across edges that end at the node, depth first.
/// -1 when an element on the way does not hold the node: the list ends in front of it.
template <class Shape>
int node_ball(const located_mesh& mesh, unsigned node, unsigned first, node_fan& fan) noexcept {
    fan.elements.clear();
    fan.stack.clear();
    fan.closed = false;
    if (first == no_node) return 0;
    fan.closed = true;
    fan.seen.initialise(23, 23, 1.0);
    fan.seen.insert(first);
    fan.stack.push_back(first);
    while (!fan.stack.empty()) {
        const unsigned e = fan.stack[--fan.stack.size];
        const unsigned* const cell = mesh.connect[e];
        const unsigned corners = Shape::corners(cell);
        const unsigned i = local_node_index(node, cell, corners);
        if (i == no_node) return -1;
        fan.elements.push_back(e);
        const unsigned edges[2] = {corners == 3 ? (i + 2) % 3 : i, turn_edge(i, corners)};
        for (const unsigned edge : edges) {
            const unsigned f = mesh.neighbors[e][edge];
            if (f == no_node) {
                fan.closed = false;
                continue;
            }
            const std::uint64_t before = fan.seen.item_count;
            fan.seen.insert(f);
            if (fan.seen.item_count > before) fan.stack.push_back(f);
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------------- the search

/// What finds nodes: a tree restricted to nodes that an element holds. A detector of the host's has the
/// same two operations.
struct tree_searcher {
    const node_tree& tree;
    node_filter filter;

    unsigned find_close(const point<2>& p) const noexcept {
        double best = no_distance;
        return tree.find_close(p, best, filter);
    }
    unsigned find_closest(const point<2>& p) const noexcept {
        double best = no_distance;
        return tree.find_closest(p, best, filter);
    }
};

/// Walks from the elements around the node closest to p until one walk gets anywhere.
template <class Shape, class Searcher>
int locate_around_closest(const located_mesh& mesh, const Searcher& searcher, const point<2>& p,
                          double tolerance, unsigned& element, std::uint64_t& steps,
                          std::optional<node_fan>& fan) noexcept {
    if (!fan) fan.emplace();
    const unsigned node = searcher.find_closest(p);
    if (node == no_node) return not_found;
    node_ball<Shape>(mesh, node, mesh.ancestor(node), *fan);
    int status = not_found;
    for (std::size_t i = 0; i < fan->elements.size && status == not_found; ++i) {
        element = fan->elements[i];
        status = walk<Shape>(mesh, p, element, tolerance, steps);
    }
    return status;
}

/// Finds the element that holds p, to the tolerance of `exit_edge`.
///
/// @param searcher   offers `find_close` and `find_closest`.
/// @param element    where to start, or `no_node`: beside a node near p. Becomes the element, or
///                   `no_node`.
/// @param around     whether a walk that falls off the mesh is followed by others, from the elements
///                   around the node closest to p.
/// @param steps      as for the last walk.
/// @param fan        memory that searches share; it is made when it is needed first.
///
/// Returns the status of the last walk, 0 when there was none.
template <class Shape, class Searcher>
int locate(const located_mesh& mesh, const Searcher& searcher, const point<2>& p, double tolerance,
           unsigned& element, bool around, std::uint64_t& steps,
           std::optional<node_fan>& fan) noexcept {
    steps = 0;
    if (element == no_node) {
        const unsigned node = searcher.find_close(p);
        if (node == no_node) return not_found;
        element = mesh.ancestor(node);
        if (element == no_node) return not_found;
    }
    int status = walk<Shape>(mesh, p, element, tolerance, steps);
    if (around && status == not_found) {
        status = locate_around_closest<Shape>(mesh, searcher, p, tolerance, element, steps, fan);
    }
    if (status != found) element = no_node;
    return status;
}

} // namespace zel::tessel2d
