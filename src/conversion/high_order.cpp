// SPDX-License-Identifier: Apache-2.0
//
// Raises linear triangles and quadrilaterals to a higher order: each edge gets the same number of nodes,
// which elements on both sides share, and each element gets nodes inside.
//
// 1. A walk over the elements numbers the nodes on edges: an edge gets the next numbers at its first use, in
//    the direction of that use; edges that the caller gave keep theirs. `edge_table` knows which edges were
//    met.
// 2. With the number of nodes known, the positions are resized once.
// 3. A second walk places the nodes on edges. Numbers ascend in the order of the first walk, so that an
//    edge whose number is the next one is at its first use: no table is needed any more.
// 4. A third walk numbers and places the nodes inside. Where an element of order two has a given node on
//    an edge, it counts as curved, and its inside follows the quadratic shape.
//
// Invariant: the numbers do not depend on the table, its size or the order in which it holds the edges.
#include "conversion/edge_table.h"
#include "conversion/shape_functions.h"
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "zel/tessel.h"
#include "zel/tessel2d/conversion.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// What each edge and each element gets, and where it stands in a column: corners, then the nodes of
/// the edges, then those inside.
struct element_order {
    std::size_t edge_nodes;
    std::size_t in_quad;
    std::size_t in_triangle;
    std::size_t quad_side; ///< in_quad is its square

    std::size_t first_inside(unsigned corners) const noexcept { return corners * (edge_nodes + 1); }
    std::size_t rows(unsigned corners) const noexcept {
        return first_inside(corners) + (corners == 3 ? in_triangle : in_quad);
    }
};

/// How many elements of each kind a mesh has.
struct element_counts {
    std::size_t triangles = 0;
    std::size_t quads = 0;

    explicit element_counts(const dense2D<unsigned>& connect) noexcept {
        if (connect.rows == 4) {
            const auto cells = columns_of(connect);
            for (std::size_t e = 0; e < connect.cols; ++e)
                if (cells[e][3] != no_node) ++quads;
        }
        triangles = connect.cols - quads;
    }
    std::size_t rows(const element_order& order) const noexcept {
        const std::size_t triangle = triangles == 0 ? 0 : order.rows(3);
        const std::size_t quad = quads == 0 ? 0 : order.rows(4);
        return std::max(triangle, quad);
    }
};

// --------------------------------------------------------------------------------- numbers of nodes

/// Puts the given edges into the table. Of an edge that is given twice the first direction and the last
/// number count. One with an end that is no node, which the test of numbers lets pass, is an edge of no
/// element and has no bucket.
void put_given(const dense2D<unsigned>& edges, edge_table& table) noexcept {
    const auto given = columns_of(edges);
    for (std::size_t j = 0; j < edges.cols; ++j) {
        if (given[j][0] == no_node || given[j][1] == no_node) continue;
        // mutation (2 -> 1, 2 -> 3): the next line writes the number that counts
        const edge_entry entry = table.insert({given[j][0], given[j][1]}, given[j][2]);
        if (entry.first) *entry.first = given[j][2];
    }
}

/// Writes the numbers of `count` nodes from the entry's first one on in the direction in which the
/// edge was looked up, and returns the place behind them. It writes `no_node` beyond the last
/// number, and if the edge has no entry.
inline unsigned* put_run(const edge_entry& entry, std::size_t count, unsigned* run) noexcept {
    if (!entry.first) return std::fill_n(run, count, no_node);
    const std::uint64_t first = *entry.first;
    for (std::size_t i = 0; i < count; ++i)
        run[i] = static_cast<unsigned>(std::min<std::uint64_t>(first + i, no_node));
    if (count > 1 && entry.against) std::reverse(run, run + count);
    return run + count;
}

/// The walk that numbers the nodes on edges: each edge at its first use, in the direction of that use.
template <class Shape>
struct edge_numbering {
    columns<const unsigned> cells;
    std::size_t elements;
    std::size_t count; ///< nodes on an edge
    edge_table& table;

    /// Numbers from `next` on and returns the number behind the last one, or one that is too large.
    ///
    /// A number is known as soon as its edge has been looked up. So if there are columns to fill, each edge
    /// of an element is looked up once and its nodes are written at once. Sets `complete` to false if an
    /// edge found no place in the table.
    template <bool Fill>
    std::uint64_t number(std::uint64_t next, dense2D<unsigned>& raised, bool& complete) noexcept {
        const auto out = columns_of(raised);
        for (std::size_t e = 0; e < elements && next <= most_nodes; ++e) {
            prefetch_buckets(e + look_ahead);
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            unsigned* run = Fill ? std::copy_n(cell, corners, out[e]) : nullptr;
            for (unsigned k = 0; k < corners; ++k) {
                const edge_entry entry =
                    table.insert(edge_nodes(cell, corners, k), static_cast<unsigned>(next));
                // Branch-free: whether the edge is met for the first time cannot be predicted.
                next += count * static_cast<unsigned>(entry.fresh);
                if (!entry.first) complete = false;
                if constexpr (Fill) run = put_run(entry, count, run);
            }
            if constexpr (Fill) std::fill(run, out[e] + raised.rows, no_node);
        }
        return next;
    }

    /// Fills the columns with corners and nodes on edges, looking each edge up.
    void fill(dense2D<unsigned>& raised) const noexcept {
        const auto out = columns_of(raised);
        for (std::size_t e = 0; e < elements; ++e) {
            prefetch_buckets(e + look_ahead);
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            unsigned* run = std::copy_n(cell, corners, out[e]);
            for (unsigned k = 0; k < corners; ++k)
                run = put_run(table.find(edge_nodes(cell, corners, k)), count, run);
            std::fill(run, out[e] + raised.rows, no_node);
        }
    }

private:
    // Long enough for the memory to arrive, short enough for it to stay in the cache until then.
    // mutation: speed only
    static constexpr std::size_t look_ahead = 8;

    [[gnu::always_inline]] void prefetch_buckets(std::size_t e) const noexcept {
        if (e >= elements) return;
        const unsigned* const cell = cells[e];
        const unsigned corners = Shape::corners(cell);
        for (unsigned k = 0; k < corners; ++k) table.prefetch_bucket(edge_nodes(cell, corners, k));
    }
};

/// The number of nodes of a raised mesh: the present ones, then those on edges, then those inside.
struct node_counts {
    std::size_t present;
    std::size_t inside = 0;
    std::uint64_t first_inside = 0;
    std::size_t total = 0;

    /// Returns false if 32-bit numbers do not suffice.
    bool count_inside(const element_order& order, const element_counts& counts) noexcept {
        std::size_t in_quads, in_triangles;
        return checked_multiply(counts.quads, order.in_quad, in_quads) &&
               checked_multiply(counts.triangles, order.in_triangle, in_triangles) &&
               checked_add(in_quads, in_triangles, inside) && ends_edges_at(present);
    }
    bool ends_edges_at(std::uint64_t number) noexcept {
        std::size_t added;
        first_inside = number;
        return checked_add(number - present, inside, added) && node_total(present, added, total);
    }
};

/// Numbers the nodes and fills the columns of `raised` with corners and nodes on edges. Returns false if
/// memory or 32-bit numbers are exhausted.
///
/// The columns are filled during the walk if no mesh of this size can run out of numbers. Otherwise they
/// are made behind the walk, once it is known that the numbers suffice.
template <class Shape>
bool number_edges(const dense2D<unsigned>& connect, const dense2D<unsigned>& edges,
                  const element_counts& counts, const element_order& order, node_counts& nodes,
                  dense2D<unsigned>& raised) noexcept {
    const std::size_t rows = counts.rows(order);
    edge_table table(nodes.present, 3 * counts.triangles + 4 * counts.quads + edges.cols);
    put_given(edges, table);
    edge_numbering<Shape> walk{columns_of(connect), connect.cols, order.edge_nodes, table};
    bool complete = true;
    std::size_t most_on_edges, most;
    // mutation (4 -> 5): an upper bound, which decides when the columns are made
    const bool enough_numbers = checked_multiply(3 * counts.triangles + 4 * counts.quads,
                                                 order.edge_nodes, most_on_edges) &&
                                checked_add(most_on_edges, nodes.total, most) && most <= most_nodes;
    if (enough_numbers && !raised.resize(rows, connect.cols)) return false;
    const std::uint64_t behind = enough_numbers
                                     ? walk.template number<true>(nodes.present, raised, complete)
                                     : walk.template number<false>(nodes.present, raised, complete);
    if (!nodes.ends_edges_at(behind)) return false;
    if (!enough_numbers && !raised.resize(rows, connect.cols)) return false;
    if (!enough_numbers || !complete) walk.fill(raised);
    return true;
}

bool number_nodes(const dense2D<unsigned>& connect, const dense2D<unsigned>& edges,
                  const element_counts& counts, const element_order& order, node_counts& nodes,
                  dense2D<unsigned>& raised) noexcept {
    if (!nodes.count_inside(order, counts)) return false;
    if (order.edge_nodes == 0) return raised.resize(counts.rows(order), connect.cols);
    const auto number = connect.rows == 3       ? number_edges<triangle_cells>
                        : counts.triangles == 0 ? number_edges<quad_cells>
                                                : number_edges<mixed_cells>;
    return number(connect, edges, counts, order, nodes, raised);
}

// ------------------------------------------------------------------------------- positions of nodes

/// Places the new nodes of all elements. `raised` holds their numbers behind the corners.
template <class Shape, int Dim>
struct node_placement {
    columns<const unsigned> cells;
    std::size_t elements;
    columns<unsigned> raised;
    element_order order;
    std::uint64_t first_new;
    guarded_points<Dim> pos;
    double* coordinates;
    std::size_t ld;

    static constexpr std::size_t look_ahead = 8; // as for the buckets of edges

    void store(std::uint64_t node, const point<Dim>& p) const noexcept {
        std::copy_n(p.begin(), Dim, coordinates + node * ld);
    }
    /// The corners of an element may be anywhere; those of one that does not exist are passed over.
    [[gnu::always_inline]] void prefetch_corners(std::size_t e) const noexcept {
        if (e >= elements) return;
        const unsigned* const cell = cells[e];
        const unsigned corners = Shape::corners(cell);
        for (unsigned k = 0; k < corners; ++k) prefetch(coordinates + cell[k] * ld);
    }

    /// Nodes on edges. The numbers ascend in the order of the walk that gave them, so that the first
    /// use of an edge is where its numbers are the next ones; given edges never have these, since their
    /// first number is a node that was there.
    void place_on_edges() const noexcept {
        const std::size_t a = order.edge_nodes;
        const double step = 2 * (1 / (static_cast<double>(a) + 1));
        std::uint64_t next = first_new;
        for (std::size_t e = 0; e < elements; ++e) {
            prefetch_corners(e + look_ahead);
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            const unsigned* run = raised[e] + corners;
            for (unsigned k = 0; k < corners; ++k, run += a) {
                const bool first_use = run[0] == next && run[a - 1] == next + a - 1;
                if (!first_use) continue;
                const elfes::edge2 edge = tessel2d::edge_nodes(cell, corners, k);
                for (std::size_t i = 0; i < a; ++i) {
                    const double t = static_cast<double>(i + 1) * step - 1;
                    store(next + i, on_edge<Dim>(pos, edge.a, edge.b, t));
                }
                next += a;
            }
        }
    }

    /// An element is curved if its order is two and at least one of its mid-side nodes was given.
    bool is_curved(const unsigned* nodes, unsigned corners) const noexcept {
        return order.edge_nodes == 1 &&
               *std::min_element(nodes + corners, nodes + std::size_t{2} * corners) < first_new;
    }

    /// Of three nodes in a triangle only two are used by the element: the third place is that of the
    /// next element's first node, or stays unused at the end.
    void place_in_triangle(unsigned* nodes, std::uint64_t& next) const noexcept {
        static constexpr double three[3][2] = {{0.25, 0.25}, {0.5, 0.25}, {0.25, 0.5}};
        static constexpr double centre[1][2] = {{1.0 / 3.0, 1.0 / 3.0}};
        const std::size_t count = order.in_triangle;
        const auto* const at = count == 1 ? centre : three;
        const bool curved = is_curved(nodes, 3);
        for (std::size_t i = 0; i < count; ++i) {
            const double u = at[i][0];
            const double v = at[i][1];
            store(next + i, curved ? in_T6<Dim>(pos, nodes, u, v) : in_T3<Dim>(pos, nodes, u, v));
        }
        unsigned* const inside = nodes + order.first_inside(3);
        const std::size_t used = std::min<std::size_t>(count, 2);
        for (std::size_t i = 0; i < used; ++i) inside[i] = static_cast<unsigned>(next++);
    }

    void place_in_quad(unsigned* nodes, std::uint64_t& next) const noexcept {
        const bool curved = is_curved(nodes, 4);
        const std::size_t m = order.quad_side;
        const double step = 2 * (1 / (static_cast<double>(m) + 1));
        unsigned* inside = nodes + order.first_inside(4);
        for (std::size_t j = 0; j < m; ++j) {
            const double y = static_cast<double>(j + 1) * step - 1;
            for (std::size_t i = 0; i < m; ++i) {
                const double x = static_cast<double>(i + 1) * step - 1;
                store(next, curved ? in_Q8<Dim>(pos, nodes, x, y) : in_Q4<Dim>(pos, nodes, x, y));
                *inside++ = static_cast<unsigned>(next++);
            }
        }
    }

    void place_inside(std::uint64_t next) const noexcept {
        for (std::size_t e = 0; e < elements; ++e) {
            if (Shape::corners(cells[e]) == 3) {
                place_in_triangle(raised[e], next);
            } else {
                place_in_quad(raised[e], next);
            }
        }
    }
};

template <class Shape, int Dim>
void place_nodes(const dense2D<unsigned>& connect, const element_order& order,
                 const node_counts& nodes, dense2D<unsigned>& raised,
                 dense2D<double>& pos) noexcept {
    const node_placement<Shape, Dim> placement{columns_of(connect), connect.cols,
                                               columns_of(raised),  order,
                                               nodes.present,       guarded_points<Dim>(pos),
                                               pos.data(),          pos.ld};
    if (order.edge_nodes > 0) placement.place_on_edges();
    if (nodes.inside == 0) return;
    if (order.in_triangle == 3) { // some of these places stay unused
        for (std::size_t j = nodes.first_inside; j < pos.cols; ++j) std::fill_n(pos[j], Dim, 0.0);
    }
    placement.place_inside(nodes.first_inside);
}

template <int Dim>
void place_nodes(const dense2D<unsigned>& connect, const element_order& order,
                 const node_counts& nodes, dense2D<unsigned>& raised,
                 dense2D<double>& pos) noexcept {
    if (connect.rows == 3) {
        place_nodes<triangle_cells, Dim>(connect, order, nodes, raised, pos);
    } else {
        place_nodes<mixed_cells, Dim>(connect, order, nodes, raised, pos);
    }
}

// --------------------------------------------------------------------------------------- the whole

/// Raises a tested mesh. Returns false, with `pos` as it was, if memory is exhausted.
bool raise(dense2D<double>& pos, const dense2D<unsigned>& connect, const element_order& order,
           const dense2D<unsigned>& edges, dense2D<unsigned>& raised) noexcept {
    const element_counts counts(connect);
    node_counts nodes{pos.cols};
    if (!number_nodes(connect, edges, counts, order, nodes, raised)) return false;
    if (!pos.resize(pos.rows, nodes.total)) return false;
    if (order.edge_nodes == 0) std::fill(raised.begin(), raised.end(), no_node);
    if (pos.rows == 2) {
        place_nodes<2>(connect, order, nodes, raised, pos);
    } else {
        place_nodes<3>(connect, order, nodes, raised, pos);
    }
    return true;
}

} // namespace

int convert_into_high_order(dense2D<double>& pos, const dense2D<unsigned>& connect_in, unsigned a,
                            unsigned b, unsigned c, dense2D<unsigned>& connect_out,
                            const dense2D<unsigned>& edges) {
    // Views of the inputs keep their blocks alive when the output, which may be one of them, is
    // cleared.
    const dense2D<unsigned> connect(connect_in);
    dense2D<unsigned> given(edges);
    connect_out.clear();
    if (given.empty()) given.clear(); // columns without rows are no edges
    if (connect.empty()) return status_ok;
    if (std::uint64_t{a} + b + c == 0) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, node_bound(pos))) return -2;
    const auto m = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(b)));
    if (m * m != b) return -4;
    if (c > 3 || c == 2) return -5;
    const bool edges_fit = given.empty() || (given.rows == std::uint64_t{a} + 2 &&
                                             tessel::check_IDs(given, node_bound(pos)));
    if (!edges_fit) return -6;
    if (raise(pos, connect, {a, b, c, m}, given, connect_out)) return status_ok;
    connect_out.clear();
    return status_memory;
}

int convert_into_high_order(dense2D<double>& pos, dense2D<unsigned>& connect, unsigned a,
                            unsigned b, unsigned c, const dense2D<unsigned>& edges) {
    return convert_into_high_order(pos, connect, a, b, c, connect, edges);
}

int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect) {
    return convert_into_quadratic(pos, connect, dense2D<unsigned>());
}

int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect,
                           const dense2D<unsigned>& edges) {
    return convert_into_high_order(pos, connect, 1, 1, 0, edges);
}

} // namespace zel::tessel2d
