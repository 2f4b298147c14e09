// SPDX-License-Identifier: Apache-2.0
// Finds the element of a planar mesh that holds a point, by walks from element to element.
#pragma once

// 1. A walk starts at an element of a node near the point. At each element it crosses an edge that has the
//    point on its outer side; which of several is chosen by a fixed sequence of numbers, so that it does
//    not run in circles. It looks at no more elements than the mesh has (O. Devillers, S. Pion,
//    M. Teillaud, 2002: Walking in a triangulation).
// 2. When it falls off the mesh, further walks start at each element of the star of the nearest node.
//
// There is no search through all elements.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "geometry/lanes.h"
#include "geometry/point.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"
#include "location/node_search.h"
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
                 const dense2D<unsigned>& beyond_edges,
                 const dense1D<unsigned, 8>& of_nodes) noexcept
        : pos(positions),
          connect(columns_of(cells)),
          neighbors(columns_of(beyond_edges)),
          elements(cells.cols),
          ancestors(of_nodes.data()),
          nodes(of_nodes.size) {}

    /// An element that holds the node, or `no_node`. A number that is no element counts as none, and so
    /// does a node that the mesh does not have.
    unsigned ancestor(std::size_t node) const noexcept {
        return node < nodes && ancestors[node] < elements ? ancestors[node] : no_node;
    }
    node_filter held_nodes() const noexcept {
        return {ancestors, nodes, std::min<std::size_t>(elements, no_node)};
    }
};

/// The nodes that an element holds. The element of a node that is looked at is likely to be the first of a
/// walk, so its columns are prefetched.
struct prefetching_filter {
    node_filter held;
    columns<const unsigned> connect;
    columns<const unsigned> neighbors;

    explicit prefetching_filter(const located_mesh& mesh) noexcept
        : held(mesh.held_nodes()), connect(mesh.connect), neighbors(mesh.neighbors) {}

    bool usable(std::size_t node) const noexcept {
        if (!held.usable(node)) return false;
        prefetch(connect[held.ancestors[node]]);
        prefetch(neighbors[held.ancestors[node]]);
        return true;
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

/// Where a point lies, seen from one element.
enum class side { inside, beyond_edge, degenerate };

struct side_test {
    side where;
    unsigned edge = no_node; ///< of `beyond_edge`
};

/// Twice the area of an element, positive when it runs counterclockwise.
template <class Shape>
double double_size(const points_view<2>& pos, const unsigned* cell) noexcept {
    if (Shape::corners(cell) == 3)
        return triangle_double_area<2>(pos[cell[0]], pos[cell[1]], pos[cell[2]]);
    return quad_double_area_2d(pos[cell[0]], pos[cell[1]], pos[cell[2]], pos[cell[3]]);
}

/// Finds the first edge that has p on its outer side by more than the tolerance and an element behind it;
/// without one the first that has p on its outer side alone. Where there is none either, p is inside. The
/// edges are tried in turn from the one behind `start` to `start` itself.
template <class IsBeyond>
[[gnu::always_inline]] inline side_test first_exit(const unsigned* neighbors, unsigned corners,
                                                   unsigned start,
                                                   const IsBeyond& is_beyond) noexcept {
    side_test first{side::inside};
    unsigned k = start;
    do {
        k = k + 1 == corners ? 0 : k + 1;
        if (!is_beyond(k)) continue;
        if (neighbors[k] != no_node) return {side::beyond_edge, k};
        if (first.where == side::inside) first = {side::beyond_edge, k};
    } while (k != start);
    return first;
}

/// An edge as `first_exit` finds it. An element whose doubled area is not positive and finite is degenerate.
///
/// The tolerance is a fraction of the element's doubled area, and so is twice the area of the triangle
/// of p and the edge that is compared with it. NaN counts as outside.
template <class Shape>
side_test exit_edge(const points_view<2>& pos, const unsigned* cell, const unsigned* neighbors,
                    const point<2>& p, double tolerance, unsigned start) noexcept {
    const unsigned corners = Shape::corners(cell);
    const double size = double_size<Shape>(pos, cell);
    if (!(size > 0) || !(size <= std::numeric_limits<double>::max())) return {side::degenerate};
    const double threshold = -(size * tolerance);
    return first_exit(neighbors, corners, start, [&](unsigned k) {
        const elfes::edge2 ends = edge_nodes(cell, corners, k);
        return !(triangle_double_area<2>(pos[ends.a], pos[ends.b], p) >= threshold);
    });
}

/// The edge to cross, from which bits of `beyond` say whether p is on the outer side of the edges. They are tried one
/// by one, since the processor goes on beyond the edge that it expects; with a choice without jumps walks took a
/// tenth longer.
inline side_test first_exit(const unsigned* neighbors, unsigned corners, unsigned start,
                            unsigned beyond) noexcept {
    if (beyond == 0) return {side::inside}; // mutation: speed only
    return first_exit(neighbors, corners, start,
                      [&](unsigned k) { return (beyond >> k & 1) != 0; });
}

/// What `exit_edge` finds, from four areas at once: lanes 0 to 2 are those of p and the edges, lane 3 that of the
/// triangle.
ZEL_FOUR_LANES inline side_test triangle_exit(const points_view<2>& pos, const unsigned* cell,
                                              const unsigned* neighbors, const point<2>& p,
                                              double tolerance, unsigned start) noexcept {
    const vector_of<lanes, 2> v =
        load_columns<2>({pos.first + cell[0] * pos.ld, pos.first + cell[1] * pos.ld,
                         pos.first + cell[2] * pos.ld, &p[0]});
    const lanes sizes = triangle_double_area<2>(
        rearranged<1, 2, 0, 0>(v), rearranged<2, 0, 1, 1>(v), rearranged<3, 3, 3, 2>(v));
    const lanes size = rearranged<3, 3, 3, 3>(sizes);
    const lane_mask sound =
        both(size > lanes(0.0), size < lanes(std::numeric_limits<double>::infinity()));
    if (none(sound)) return {side::degenerate};
    const unsigned beyond = bits_of(!(sizes >= -(size * lanes(tolerance)))) & 7;
    return first_exit(neighbors, 3, start, beyond);
}

/// The same for a quadrilateral: the lanes are the areas of p and the edges.
ZEL_FOUR_LANES inline side_test quad_exit(const points_view<2>& pos, const unsigned* cell,
                                          const unsigned* neighbors, const point<2>& p,
                                          double tolerance, unsigned start) noexcept {
    const double size = double_size<quad_cells>(pos, cell);
    if (!(size > 0) || !(size <= std::numeric_limits<double>::max())) return {side::degenerate};
    const vector_of<lanes, 2> v = load_nodes<2>(pos, {cell[0], cell[1], cell[2], cell[3]});
    const lanes sizes = triangle_double_area<2>(v, rearranged<1, 2, 3, 0>(v),
                                                vector_of<lanes, 2>{lanes(p[0]), lanes(p[1])});
    return first_exit(neighbors, 4, start, bits_of(!(sizes >= lanes(-(size * tolerance)))));
}

/// What `exit_edge` finds, in lanes.
template <class Shape>
ZEL_FOUR_LANES side_test exit_edge_by_four(const points_view<2>& pos, const unsigned* cell,
                                           const unsigned* neighbors, const point<2>& p,
                                           double tolerance, unsigned start) noexcept {
    return Shape::corners(cell) == 3 ? triangle_exit(pos, cell, neighbors, p, tolerance, start)
                                     : quad_exit(pos, cell, neighbors, p, tolerance, start);
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

/// How a walk ends, and a search. A walk that ends without success at exactly the last element that it may
/// look at is told from one that ends earlier or runs out of elements; it is not followed by others.
enum class outcome { found, not_found, met_degenerate, ended_at_last };

/// Prefetches the neighbours of an element: one of them is next, whichever edge the walk crosses. Inlined by
/// force, for the reason that `prefetch` has.
#if defined(__GNUC__)
[[gnu::always_inline]]
#endif
inline void
prefetch_neighbors(const located_mesh& mesh, const unsigned* neighbors, unsigned corners) noexcept {
    for (unsigned i = 0; i < corners; ++i) {
        if (neighbors[i] >= mesh.elements) continue;
        prefetch(mesh.connect[neighbors[i]]);
        prefetch(mesh.neighbors[neighbors[i]]);
    }
}

/// What `walk` does, with a function that finds the edge to cross.
template <class Shape, class ExitEdge>
[[gnu::always_inline]] inline outcome
walk_across(const ExitEdge& edge_to_cross, const located_mesh& mesh, const point<2>& p,
            unsigned& element, double tolerance, std::uint64_t& steps) noexcept {
    draws random;
    steps = 0;
    while (element != no_node && steps++ < mesh.elements) {
        const unsigned* const cell = mesh.connect[element];
        const unsigned* const neighbors = mesh.neighbors[element];
        const unsigned corners = Shape::corners(cell);
        prefetch_neighbors(mesh, neighbors, corners);
        const unsigned start = edge_of_draw(random.next(), corners);
        const side_test test = edge_to_cross(mesh.pos, cell, neighbors, p, tolerance, start);
        if (test.where == side::inside) return outcome::found;
        if (test.where == side::degenerate) {
            element = no_node;
            return steps == mesh.elements ? outcome::ended_at_last : outcome::met_degenerate;
        }
        element = neighbors[test.edge];
    }
    element = no_node;
    return steps == mesh.elements ? outcome::ended_at_last : outcome::not_found;
}

/// What `walk` does, compiled for lanes.
template <class Shape>
ZEL_FOUR_LANES outcome walk_by_four(const located_mesh& mesh, const point<2>& p, unsigned& element,
                                    double tolerance, std::uint64_t& steps) noexcept {
    return walk_across<Shape>(exit_edge_by_four<Shape>, mesh, p, element, tolerance, steps);
}

/// Walks from `element` to the element that holds p, crossing edges that have p on their outer side, and
/// looks at no more elements than the mesh has. `element` becomes the one found, or `no_node`; `steps`
/// the number of elements looked at, and one more when they ran out.
template <class Shape>
outcome walk(const located_mesh& mesh, const point<2>& p, unsigned& element, double tolerance,
             std::uint64_t& steps) noexcept {
    if (has_four_lanes()) return walk_by_four<Shape>(mesh, p, element, tolerance, steps);
    return walk_across<Shape>(exit_edge<Shape>, mesh, p, element, tolerance, steps);
}

// ------------------------------------------------------------------------------- the star of a node

// `flood` in measures/connected_elements.cpp searches in the same order, but ends when memory is exhausted and
// marks elements in a list as long as the mesh, while this search goes on with what it has, marks few elements
// and looks out for the boundary. A template for both made that one a tenth slower.

/// A set of elements. The first ones stand in a list, which is all that most nodes need.
struct met_elements {
    static constexpr std::size_t listed = 16;

    unsigned list[listed];
    std::size_t count = 0;
    std::optional<hbuckets<unsigned>> table; ///< of the others

    void clear() noexcept {
        count = 0;
        if (table && table->item_count != 0) table->initialise(23, 23, 1.0);
    }
    /// Returns false if the element is in the set already, or memory is exhausted.
    bool insert(unsigned element) noexcept {
        if (std::find(list, list + count, element) != list + count) return false;
        if (count < listed) {
            list[count++] = element;
            return true;
        }
        if (!table) table.emplace();
        const std::uint64_t before = table->item_count;
        table->insert(element);
        return table->item_count > before;
    }
};

/// The elements around a node, and what it takes to list them. Without memory entries are lost.
struct node_star {
    dense1D<unsigned, 8> elements;
    bool closed = false; ///< no edge at the node lies on the boundary

    dense1D<unsigned, 8> stack;
    met_elements seen;

    node_star() noexcept {} // as below
};

/// Lists the elements that can be reached from `first` across edges that end at the node, depth first.
/// -1 when an element on the way does not hold the node: the list ends in front of it.
template <class Shape>
int list_star(const located_mesh& mesh, unsigned node, unsigned first, node_star& star) noexcept {
    star.elements.clear();
    star.stack.clear();
    star.closed = false;
    if (first == no_node) return 0;
    star.closed = true;
    star.seen.clear();
    star.seen.insert(first);
    star.stack.push_back(first);
    while (!star.stack.empty()) {
        const unsigned e = star.stack.end()[-1];
        --star.stack.size;
        const unsigned* const cell = mesh.connect[e];
        const unsigned corners = Shape::corners(cell);
        const unsigned i = local_node_index(node, cell, corners);
        if (i == no_node) return -1;
        star.elements.push_back(e);
        const unsigned edges[2] = {turn_back_edge(i, corners), turn_edge(i, corners)};
        for (const unsigned edge : edges) {
            const unsigned f = mesh.neighbors[e][edge];
            if (f == no_node) {
                star.closed = false;
                continue;
            }
            if (star.seen.insert(f)) star.stack.push_back(f);
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------------- the search

/// Finds nodes in a tree, among those that an element holds. A node detector of the caller has the
/// same two operations.
struct tree_searcher {
    const node_tree& tree;
    prefetching_filter filter;

    tree_searcher(const node_tree& searched, const located_mesh& mesh) noexcept
        : tree(searched), filter(mesh) {}

    void prefetch_close(const point<2>* points, std::size_t n) const noexcept {
        leaf_prefetch{tree, filter.held.ancestors}(points, n);
    }
    unsigned find_close(const point<2>& p) const noexcept {
        double best = no_distance;
        return tree.find_close(p, best, filter);
    }
    unsigned find_closest(const point<2>& p) const noexcept {
        double best = no_distance;
        return tree.find_closest(p, best, filter);
    }
};

/// What a search found on its way, and memory that searches share, allocated when it is first
/// needed.
struct search_record {
    std::uint64_t steps = 0;         ///< of the last walk, as `walk` counts them
    std::optional<unsigned> closest; ///< what `find_closest` returned, if it was called
    std::optional<node_star> star;

    // Not a constant: gcc would write zeros all over a new record, which takes as long as a short walk.
    search_record() noexcept {}
};

/// Walks from the elements around the node closest to p until one walk gets anywhere.
template <class Shape, class Searcher>
outcome locate_around_closest(const located_mesh& mesh, const Searcher& searcher, const point<2>& p,
                              double tolerance, unsigned& element, search_record& record) noexcept {
    if (!record.star) record.star.emplace();
    const unsigned node = searcher.find_closest(p);
    record.closest = node;
    if (node == no_node) return outcome::not_found;
    list_star<Shape>(mesh, node, mesh.ancestor(node), *record.star);
    const dense1D<unsigned, 8>& around = record.star->elements;
    outcome end = outcome::not_found;
    for (std::size_t i = 0; i < around.size && end == outcome::not_found; ++i) {
        element = around[i];
        end = walk<Shape>(mesh, p, element, tolerance, record.steps);
    }
    return end;
}

/// An element of a node near p, from which a walk may start, or `no_node`.
template <class Searcher>
unsigned start_of_walk(const located_mesh& mesh, const Searcher& searcher,
                       const point<2>& p) noexcept {
    const unsigned node = searcher.find_close(p);
    return node == no_node ? no_node : mesh.ancestor(node);
}

/// Points of which the searches for a start are done together, before the walks: so the memory accesses of
/// one search do not wait for those of another.
struct point_group {
    static constexpr std::size_t most = leaf_prefetch::most;

    point<2> points[most];
    unsigned starts[most];

    /// Takes n points, the i-th of which is point_of(i).
    template <class Searcher, class PointOf>
    void find_starts(const located_mesh& mesh, const Searcher& searcher, std::size_t n,
                     const PointOf& point_of) noexcept {
        for (std::size_t i = 0; i < n; ++i) points[i] = point_of(i);
        searcher.prefetch_close(points, n);
        for (std::size_t i = 0; i < n; ++i) {
            starts[i] = start_of_walk(mesh, searcher, points[i]);
            if (starts[i] == no_node) continue;
            prefetch(mesh.connect[starts[i]]);
            prefetch(mesh.neighbors[starts[i]]);
        }
        for (std::size_t i = 0; i < n; ++i) {
            if (starts[i] == no_node) continue;
            const unsigned* const cell = mesh.connect[starts[i]];
            for (unsigned k = 0; k < 3; ++k) prefetch(mesh.pos.first + cell[k] * mesh.pos.ld);
            prefetch_neighbors(mesh, mesh.neighbors[starts[i]], 3);
        }
    }
};

/// Finds the element that holds p, to the tolerance of `exit_edge`.
///
/// @param searcher   offers `find_close` and `find_closest`.
/// @param element    where to start, or `no_node`: beside a node near p. Becomes the element, or
///                   `no_node`.
/// @param around     whether a walk that falls off the mesh is followed by others, from the elements
///                   around the node closest to p.
///
/// Returns how the last walk ended; `not_found` when there was none.
template <class Shape, class Searcher>
outcome locate(const located_mesh& mesh, const Searcher& searcher, const point<2>& p,
               double tolerance, unsigned& element, bool around, search_record& record) noexcept {
    record.steps = 0;
    record.closest.reset();
    if (element == no_node) element = start_of_walk(mesh, searcher, p);
    if (element == no_node) return outcome::not_found;
    outcome end = walk<Shape>(mesh, p, element, tolerance, record.steps);
    if (around && end == outcome::not_found)
        end = locate_around_closest<Shape>(mesh, searcher, p, tolerance, element, record);
    if (end != outcome::found) element = no_node;
    return end;
}

} // namespace zel::tessel2d
