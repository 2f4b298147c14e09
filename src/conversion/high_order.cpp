// zel tessel2d: planar and surface mesh tools.
#include "conversion/shape_functions.h"
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "zel/tessel.h"
#include "zel/tessel2d/conversion.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// From an edge to the number of its first node.
using edge_map = hbuckets<std::pair<elfes::edge2, unsigned>>;

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

/// A table of edges that knows the given ones and has buckets for those of `elements` elements. Short of
/// memory it starts with fewer buckets and grows as it can.
void start_map(const dense2D<unsigned>& edges, const element_counts& counts,
               edge_map& map) noexcept {
    const std::size_t elements = counts.triangles + counts.quads;
    const std::size_t wanted = std::max(2 * elements, elements + edges.cols);
    const std::size_t shared_edges = (3 * counts.triangles + 4 * counts.quads) / 2;
    if (wanted > map.bucket_count)
        map.initialise(edges.cols + shared_edges, next_bucket_count(wanted), 1.0);
    const auto given = columns_of(edges);
    for (std::size_t j = 0; j < edges.cols; ++j) {
        auto* const slot = map.insert({{given[j][0], given[j][1]}, given[j][2]});
        if (slot) slot->value.second = given[j][2];
    }
}

/// Writes the numbers first, first + 1, ... in the direction of `edge`, where the table holds them in
/// the direction of `stored`, and answers the place behind them. Beyond the last number there is no
/// node.
unsigned* put_run(const elfes::edge2& edge, const edge_map::slot& stored, std::size_t count,
                  unsigned* run) noexcept {
    const std::uint64_t first = stored.value.second;
    for (std::size_t i = 0; i < count; ++i)
        run[i] = static_cast<unsigned>(std::min<std::uint64_t>(first + i, no_node));
    if (edge.a != stored.value.first.a) std::reverse(run, run + count);
    return run + count;
}

/// The walk that numbers the nodes on edges: each edge at its first use, in the direction of that use.
template <class Shape>
struct edge_numbering {
    columns<const unsigned> cells;
    std::size_t elements;
    std::size_t count; ///< nodes on an edge
    edge_map& map;

    /// Numbers from `next` on and answers the number behind the last one, or one that is too large.
    ///
    /// A number is known as soon as its edge has been looked up. So with columns to fill at hand each edge
    /// of an element is looked up once and its nodes are written at once. `complete` tells whether all
    /// edges found a place in the table.
    template <bool Fill>
    std::uint64_t number(std::uint64_t next, dense2D<unsigned>& raised, bool& complete) noexcept {
        const auto out = columns_of(raised);
        for (std::size_t e = 0; e < elements && next <= most_nodes; ++e) {
            prefetch(e + look_ahead);
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            unsigned* run = Fill ? std::copy_n(cell, corners, out[e]) : nullptr;
            for (unsigned k = 0; k < corners; ++k) {
                const elfes::edge2 edge = edge_nodes(cell, corners, k);
                const std::uint64_t before = map.item_count;
                const auto* const slot = map.insert({edge, static_cast<unsigned>(next)});
                if (map.item_count > before) next += count;
                if (!slot) complete = false;
                if constexpr (Fill) {
                    run =
                        slot ? put_run(edge, *slot, count, run) : std::fill_n(run, count, no_node);
                }
            }
            if constexpr (Fill) std::fill(run, out[e] + raised.rows, no_node);
        }
        return next;
    }

    /// Fills the columns with corners and nodes on edges, looking each edge up.
    void fill(dense2D<unsigned>& raised) const noexcept {
        const auto out = columns_of(raised);
        for (std::size_t e = 0; e < elements; ++e) {
            prefetch(e + look_ahead);
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            unsigned* run = std::copy_n(cell, corners, out[e]);
            for (unsigned k = 0; k < corners; ++k) {
                const elfes::edge2 edge = edge_nodes(cell, corners, k);
                const auto* const slot = map.find(edge);
                run = slot != map.end_position() ? put_run(edge, *slot, count, run)
                                                 : std::fill_n(run, count, no_node);
            }
            std::fill(run, out[e] + raised.rows, no_node);
        }
    }

private:
    // Far enough for memory to answer, near enough for the answers to wait in the cache.
    static constexpr std::size_t look_ahead = 8;

    [[gnu::always_inline]] void prefetch(std::size_t e) const noexcept {
        if (e >= elements || map.used == 0) return;
        const unsigned* const cell = cells[e];
        const unsigned corners = Shape::corners(cell);
        for (unsigned k = 0; k < corners; ++k) map.prefetch(hash_key(edge_nodes(cell, corners, k)));
    }
};

/// How many nodes a raised mesh has: the present ones, then those on edges, then those inside.
struct node_counts {
    std::size_t present;
    std::size_t inside = 0;
    std::uint64_t first_inside = 0;
    std::size_t total = 0;

    /// False: 32-bit numbers cannot tell the nodes apart.
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

/// Numbers the nodes and fills the columns of `raised` with corners and nodes on edges. False: memory is
/// exhausted, or 32-bit numbers are.
///
/// The columns are filled during the walk if no mesh of this size can run out of numbers. Otherwise
/// there are none before it is known that they are needed.
template <class Shape>
bool number_edges(const dense2D<unsigned>& connect, const dense2D<unsigned>& edges,
                  const element_counts& counts, const element_order& order, node_counts& nodes,
                  dense2D<unsigned>& raised) noexcept {
    const std::size_t rows = counts.rows(order);
    edge_map map;
    start_map(edges, counts, map);
    edge_numbering<Shape> walk{columns_of(connect), connect.cols, order.edge_nodes, map};
    bool complete = true;
    std::size_t most_on_edges, most;
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

/// Places the new nodes of all elements. `raised` has the columns of `connect` and tells the nodes.
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

    void store(std::uint64_t node, const point<Dim>& p) const noexcept {
        std::copy_n(p.begin(), Dim, coordinates + node * ld);
    }

    /// Nodes on edges. The numbers ascend in the order of the walk that gave them, so that the first
    /// use of an edge is where its numbers are the next ones; given edges never have these, since their
    /// first number is a node that was there.
    void place_on_edges() const noexcept {
        const std::size_t a = order.edge_nodes;
        const double step = 2 * (1 / (static_cast<double>(a) + 1));
        std::uint64_t next = first_new;
        for (std::size_t e = 0; e < elements; ++e) {
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

/// Raises a tested mesh. False: memory is exhausted and `pos` is as it was.
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
