// SPDX-License-Identifier: Apache-2.0
//
// Neighbours and ancestors, edges, boundaries, components and orientation of a mesh, from its connectivity.
#include "zel/host/adjacency.h"

#include "host/edge_slots.h"
#include "host/sides.h"
#include "zel/tessel.h"

#include <utility>

namespace zel::host {

namespace {

constexpr std::size_t most_elements = 0xFFFFFFFEu; // two numbers stand for none and for passed over

/// The tests of a connectivity and its number of nodes: 0, -1 or -2.
int check_mesh(const dense2D<unsigned>& connect, std::size_t nodes) noexcept {
    if (connect.cols > most_elements) return -1;
    if (nodes > tessel2d::most_nodes) return -2;
    const auto bound = static_cast<unsigned>(nodes);
    return tessel::check_IDs(connect, ELEMENT_FACE, bound) ? status_ok : -1;
}

/// An element for each node: the first that has it.
template <class Shape>
void find_ancestors(const dense2D<unsigned>& connect, unsigned* ancestors) noexcept {
    const auto cells = columns_of(connect);
    for (std::size_t e = connect.empty() ? 0 : connect.cols; e-- > 0;) {
        const unsigned* const cell = cells[e];
        const unsigned corners = Shape::corners(cell);
        for (unsigned i = 0; i < corners; ++i) ancestors[cell[i]] = static_cast<unsigned>(e);
    }
}

/// Writes each element into the neighbours of the other.
struct join_elements {
    columns<unsigned> neighbors;
    std::size_t shared_by_more = 0;

    template <class Side>
    void ahead(const Side& s) const noexcept {
        tessel2d::prefetch(neighbors[s.element()]);
    }
    template <class Side>
    void two(const Side& s, const Side& t, bool joined) const noexcept {
        const unsigned e = s.element();
        const unsigned f = t.element();
        const bool apart = joined && e != f;
        neighbors[e][s.edge()] = apart ? f : no_node;
        neighbors[f][t.edge()] = apart ? e : no_node;
    }
    template <class Side>
    void three(const Side& s, const Side& t, const Side&) noexcept {
        neighbors[s.element()][s.edge()] = no_node;
        neighbors[t.element()][t.edge()] = no_node;
        ++shared_by_more;
    }
    template <class Side>
    void more(const Side&) const noexcept {}
};

/// The same, and the ancestors, where the elements come from the last to the first; see `edge_slots`.
template <class Shape>
struct join_scattered_elements {
    columns<const unsigned> connect;
    unsigned* neighbors; // Shape::rows to an element
    unsigned* ancestors;
    std::size_t shared_by_more = 0;

    unsigned& neighbor(numbered_side s) const noexcept {
        return neighbors[s.place_in_table<Shape::rows>()];
    }
    void element(unsigned e, const unsigned* cell) const noexcept {
        const unsigned corners = Shape::corners(cell);
        for (unsigned i = 0; i < corners; ++i) ancestors[cell[i]] = e;
        if (corners < Shape::rows) neighbor({e * 4 + corners}) = no_node;
    }
    void collapsed(numbered_side s) const noexcept { neighbor(s) = no_node; }
    void two(numbered_side s, numbered_side t, bool) const noexcept {
        const unsigned none = s.element() == t.element() ? no_node : 0; // also for a first side
        neighbor(s) = t.element() | none;
        neighbor(t) = s.element() | none;
    }
    void more(numbered_side s, numbered_side t, bool third) noexcept {
        neighbor(t) = no_node;
        if (!third) return;
        ++shared_by_more;
        if (neighbor(s) != no_node) part(s);
    }
    /// Takes the neighbour away from a side and from the side that it was joined with.
    void part(numbered_side s) const noexcept {
        const unsigned f = std::exchange(neighbor(s), no_node);
        const unsigned* const cell = connect[s.element()];
        const auto ends = tessel2d::edge_nodes(cell, Shape::corners(cell), s.edge());
        const unsigned corners = Shape::corners(connect[f]);
        for (unsigned k = 0; k < corners; ++k) {
            const auto other = tessel2d::edge_nodes(connect[f], corners, k);
            const bool same = (other.a == ends.a && other.b == ends.b) ||
                              (other.a == ends.b && other.b == ends.a);
            const numbered_side t{f * 4 + k};
            if (same && neighbor(t) == s.element()) neighbor(t) = no_node;
        }
    }
};

/// Leaves in a table of the connectivity's shape, which starts out full of `passed_over`, for the first
/// side of each edge the element of the second, or `no_node`.
struct list_first_sides {
    static constexpr unsigned passed_over = 0xFFFFFFFEu;

    columns<unsigned> second;
    std::size_t shared_by_more = 0;

    template <class Side>
    void ahead(const Side& s) const noexcept {
        tessel2d::prefetch(second[s.element()]);
    }
    template <class Side>
    void two(const Side& s, const Side& t, bool joined) const noexcept {
        second[s.element()][s.edge()] = joined ? t.element() : no_node;
    }
    template <class Side>
    void three(const Side&, const Side&, const Side&) noexcept {
        ++shared_by_more;
    }
    template <class Side>
    void more(const Side&) const noexcept {}
};

/// The same in a table with any contents, where the elements come from the last to the first.
template <class Shape>
struct list_scattered_first_sides {
    static constexpr unsigned passed_over = list_first_sides::passed_over;

    unsigned* seconds; // Shape::rows to an element
    std::size_t shared_by_more = 0;

    unsigned& second(numbered_side s) const noexcept {
        return seconds[s.place_in_table<Shape::rows>()];
    }
    void element(unsigned e, const unsigned* cell) const noexcept {
        const unsigned corners = Shape::corners(cell);
        if (corners < Shape::rows) second({e * 4 + corners}) = passed_over;
    }
    void collapsed(numbered_side s) const noexcept { second(s) = passed_over; }
    void two(numbered_side s, numbered_side t, bool joined) const noexcept {
        second(s) = passed_over;
        second(t) = s.element() | (joined ? 0 : no_node);
    }
    void more(numbered_side s, numbered_side t, bool third) noexcept {
        two(s, t, true);
        shared_by_more += third;
    }
};

/// Visits the edges of a mesh; see `filed_sides`. False: memory is exhausted.
template <class Shape, class Index, class Visit>
bool visit_edges(const dense2D<unsigned>& connect, std::size_t nodes, Visit& visit) noexcept {
    filed_sides<Shape, Index> sides;
    if (!sides.file(connect, nodes)) return false;
    sides.visit_edges(nodes, visit);
    return true;
}
template <class Visit>
bool visit_edges(const dense2D<unsigned>& connect, std::size_t nodes, Visit& visit) noexcept {
    constexpr std::size_t small = std::size_t{1} << 27;
    const bool large = connect.cols >= small;
    if (connect.empty()) return true;
    if (connect.rows == 3) {
        return large ? visit_edges<triangle_cells, std::uint64_t>(connect, nodes, visit)
                     : visit_edges<triangle_cells, std::uint32_t>(connect, nodes, visit);
    }
    return large ? visit_edges<mixed_cells, std::uint64_t>(connect, nodes, visit)
                 : visit_edges<mixed_cells, std::uint32_t>(connect, nodes, visit);
}

/// Fills the adjacency of a mesh. False: it is in order, or memory is short; see `edge_slots`. Ancestors start
/// out as none, and are then none or elements that have the node.
template <class Shape>
bool join_scattered(const dense2D<unsigned>& connect, std::size_t nodes,
                    adjacency& result) noexcept {
    join_scattered_elements<Shape> join{columns_of(connect), result.neighbors.data(),
                                        result.ancestors.data()};
    if (!edge_slots<Shape>().visit(connect, nodes, join)) return false;
    result.shared_by_more = join.shared_by_more;
    return true;
}
/// The same for every mesh. False: memory is exhausted.
template <class Shape>
bool join_all(const dense2D<unsigned>& connect, std::size_t nodes, adjacency& result) noexcept {
    std::fill(result.neighbors.begin(), result.neighbors.end(), no_node);
    join_elements join{columns_of(result.neighbors)};
    if (!visit_edges(connect, nodes, join)) return false;
    find_ancestors<Shape>(connect, result.ancestors.data());
    result.shared_by_more = join.shared_by_more;
    return true;
}
template <class Shape>
bool join(const dense2D<unsigned>& connect, std::size_t nodes, adjacency& result) noexcept {
    return join_scattered<Shape>(connect, nodes, result) || join_all<Shape>(connect, nodes, result);
}

unsigned corners_of(const dense2D<unsigned>& connect, std::size_t e) noexcept {
    return connect.rows == 3 ? 3 : mixed_cells::corners(connect[e]);
}

/// The edges of a mesh, one entry for the first side of each; see `list_first_sides`.
struct edge_table {
    dense2D<unsigned> second;
    std::size_t shared_by_more = 0;

    /// False: memory is exhausted.
    bool fill(const dense2D<unsigned>& connect, std::size_t nodes) noexcept {
        if (connect.empty()) return true;
        if (!second.resize(connect.rows, connect.cols)) return false;
        if (connect.rows == 3 ? fill_scattered<triangle_cells>(connect, nodes)
                              : fill_scattered<mixed_cells>(connect, nodes)) {
            return true;
        }
        std::fill(second.begin(), second.end(), list_first_sides::passed_over);
        list_first_sides list{columns_of(second)};
        const bool done = visit_edges(connect, nodes, list);
        shared_by_more = list.shared_by_more;
        return done;
    }
    /// False: the mesh is in order, or memory is short; see `edge_slots`.
    template <class Shape>
    bool fill_scattered(const dense2D<unsigned>& connect, std::size_t nodes) noexcept {
        list_scattered_first_sides<Shape> list{second.data()};
        if (!edge_slots<Shape>().visit(connect, nodes, list)) return false;
        shared_by_more = list.shared_by_more;
        return true;
    }
    /// Calls use(a, b, e, second) for each edge, in the direction of its first element e.
    template <class Use>
    void for_each(const dense2D<unsigned>& connect, const Use& use) const noexcept {
        for (std::size_t e = 0; e < second.cols; ++e) {
            const unsigned corners = corners_of(connect, e);
            for (unsigned k = 0; k < corners; ++k) {
                if (second(k, e) == list_first_sides::passed_over) continue;
                const auto ends = tessel2d::edge_nodes(connect[e], corners, k);
                use(ends.a, ends.b, static_cast<unsigned>(e), second(k, e));
            }
        }
    }
};

/// Fills `edges` with the boundary. 0, -1, -2 or -199.
int list_boundary(const dense2D<unsigned>& connect, std::size_t nodes,
                  dense2D<unsigned>& edges) noexcept {
    if (const int status = check_mesh(connect, nodes)) return status;
    edge_table table;
    if (!table.fill(connect, nodes)) return status_memory;
    std::size_t count = 0;
    table.for_each(connect,
                   [&](unsigned, unsigned, unsigned, unsigned f) { count += f == no_node; });
    if (!edges.resize(2, count)) return status_memory;
    std::size_t j = 0;
    table.for_each(connect, [&](unsigned a, unsigned b, unsigned, unsigned f) {
        if (f != no_node) return;
        edges(0, j) = a;
        edges(1, j++) = b;
    });
    return status_ok;
}

/// A walk along directed edges that cuts off a loop whenever it comes to a node for the second time.
class loop_walk {
public:
    /// False: memory is exhausted.
    bool prepare(const dense2D<unsigned>& edges, std::size_t nodes) noexcept {
        if (!end_.resize(nodes + 1, 0) || !place_.resize(nodes, no_node) ||
            !to_.resize(edges.cols) || !path_.resize(edges.cols + 1) ||
            !starts.reserve(edges.cols + 1, 1) || !loops.reserve(edges.cols * 2, 1)) {
            return false;
        }
        for (std::size_t j = 0; j < edges.cols; ++j) ++end_[std::size_t{edges(0, j)} + 1];
        for (std::size_t a = 0; a < nodes; ++a) end_[a + 1] += end_[a];
        if (!next_.resize(nodes)) return false;
        std::copy_n(end_.data(), nodes, next_.data());
        for (std::size_t j = 0; j < edges.cols; ++j) to_[next_[edges(0, j)]++] = edges(1, j);
        std::copy_n(end_.data(), nodes, next_.data());
        starts.push_back(0);
        return true;
    }
    /// Walks until all edges are used. False: an edge leads to where none goes on.
    bool run(const dense2D<unsigned>& edges) noexcept {
        for (std::size_t j = 0; j < edges.cols; ++j) {
            const unsigned a = edges(0, j);
            if (next_[a] != end_[std::size_t{a} + 1] && !close_from(a)) return false;
        }
        return true;
    }

    dense1D<unsigned, 8> starts;
    dense1D<unsigned, 8> loops;

private:
    bool close_from(unsigned first) noexcept {
        std::size_t length = 0;
        unsigned node = first;
        do {
            place_[node] = static_cast<unsigned>(length);
            path_[length++] = node;
            if (next_[node] == end_[std::size_t{node} + 1]) return false;
            node = to_[next_[node]++];
            if (place_[node] != no_node) length = cut_off(node, length);
        } while (length != 0);
        return true;
    }
    /// Moves the end of the path, from where it was at the node before, to the loops.
    std::size_t cut_off(unsigned node, std::size_t length) noexcept {
        const std::size_t begin = place_[node];
        for (std::size_t i = begin; i < length; ++i) {
            loops.push_back(path_[i]);
            place_[path_[i]] = no_node;
        }
        loops.push_back(node);
        starts.push_back(static_cast<unsigned>(loops.size));
        return begin;
    }

    dense1D<unsigned, 8> end_;   // edges from node a: from end_[a] up to end_[a + 1] in to_
    dense1D<unsigned, 8> next_;  // the first of them that is not used
    dense1D<unsigned, 8> to_;    // where they end
    dense1D<unsigned, 8> place_; // of a node on the path
    dense1D<unsigned, 8> path_;
};

/// Union-find over elements; the root of a set is its lowest element.
class element_sets {
public:
    explicit element_sets(dense1D<unsigned, 8>& parents) noexcept : parent_(parents.data()) {
        for (std::size_t e = 0; e < parents.size; ++e) parent_[e] = static_cast<unsigned>(e);
    }
    void join(unsigned e, unsigned f) noexcept {
        e = root(e);
        f = root(f);
        parent_[std::max(e, f)] = std::min(e, f);
    }
    /// Replaces every entry by the number of its set. A parent lies below its children, so its number is
    /// there before theirs.
    unsigned number(std::size_t n) noexcept {
        unsigned count = 0;
        for (std::size_t e = 0; e < n; ++e)
            parent_[e] = parent_[e] == e ? count++ : parent_[parent_[e]];
        return count;
    }

private:
    unsigned root(unsigned e) noexcept {
        while (parent_[e] != e) e = parent_[e] = parent_[parent_[e]];
        return e;
    }
    unsigned* parent_;
};

/// How the neighbour has the edge (a, b): 1 runs the same way, 0 the other way, -1 not at all.
int direction_in(const unsigned* cell, unsigned corners, unsigned a, unsigned b) noexcept {
    for (unsigned k = 0; k < corners; ++k) {
        const auto ends = tessel2d::edge_nodes(cell, corners, k);
        if (ends.a == b && ends.b == a) return 0;
        if (ends.a == a && ends.b == b) return 1;
    }
    return -1;
}

/// A walk from element to neighbour that notes which would have to be turned over.
class orientation_walk {
public:
    orientation_walk(const dense2D<unsigned>& connect, const dense2D<unsigned>& neighbors) noexcept
        : connect_(connect), neighbors_(neighbors) {}

    /// False: memory is exhausted.
    bool prepare() noexcept {
        return turned_.resize(connect_.cols, unseen) && stack_.reserve(connect_.cols, 1);
    }
    void run() noexcept {
        for (std::size_t e = 0; e < connect_.cols && found.what == orientation::fault::none; ++e) {
            if (turned_[e] == unseen) visit_component(static_cast<unsigned>(e));
        }
        found.against /= 2; // seen from both sides
    }

    orientation found;

private:
    static constexpr unsigned unseen = 2;

    void visit_component(unsigned seed) noexcept {
        turned_[seed] = 0;
        stack_.push_back(seed);
        while (!stack_.empty() && found.what == orientation::fault::none) {
            const unsigned e = stack_[stack_.size - 1];
            --stack_.size;
            const unsigned corners = corners_of(connect_, e);
            for (unsigned k = 0; k < corners && found.what == orientation::fault::none; ++k)
                if (neighbors_(k, e) != no_node) cross(e, corners, k);
        }
    }
    void cross(unsigned e, unsigned corners, unsigned k) noexcept {
        const unsigned f = neighbors_(k, e);
        const auto ends = tessel2d::edge_nodes(connect_[e], corners, k);
        const int same =
            e == f ? -1 : direction_in(connect_[f], corners_of(connect_, f), ends.a, ends.b);
        if (same < 0) return report(orientation::fault::mismatch, e, k);
        found.against += static_cast<unsigned>(same);
        const unsigned wanted = turned_[e] ^ static_cast<unsigned>(same);
        if (turned_[f] == unseen) {
            turned_[f] = wanted;
            stack_.push_back(f);
        } else if (turned_[f] != wanted) {
            report(orientation::fault::one_sided, e, k);
        }
    }
    void report(orientation::fault what, unsigned e, unsigned k) noexcept {
        found.what = what;
        found.element = e;
        found.edge = k;
        found.neighbor = neighbors_(k, e);
    }

    const dense2D<unsigned>& connect_;
    const dense2D<unsigned>& neighbors_;
    dense1D<unsigned, 8> turned_;
    dense1D<unsigned, 8> stack_;
};

bool are_neighbors(const dense2D<unsigned>& neighbors) noexcept {
    if (!neighbors.empty() && neighbors.rows != 3 && neighbors.rows != 4) return false;
    return neighbors.cols <= most_elements &&
           tessel::check_IDs(neighbors, static_cast<unsigned>(neighbors.cols));
}

} // namespace

int build_adjacency(const dense2D<unsigned>& connect, std::size_t nodes, adjacency& result) {
    if (const int status = check_mesh(connect, nodes)) return status;
    adjacency fresh;
    if (!connect.empty() && !fresh.neighbors.resize(connect.rows, connect.cols))
        return status_memory;
    if (!fresh.ancestors.resize(nodes, no_node)) return status_memory;
    if (!connect.empty() && !(connect.rows == 3 ? join<triangle_cells>(connect, nodes, fresh)
                                                : join<mixed_cells>(connect, nodes, fresh))) {
        return status_memory;
    }
    result.neighbors.swap(fresh.neighbors);
    result.ancestors.swap(fresh.ancestors);
    result.shared_by_more = fresh.shared_by_more;
    return status_ok;
}

int unique_edges(const dense2D<unsigned>& connect, std::size_t nodes, dense2D<unsigned>& edges,
                 dense2D<unsigned>& elements) {
    if (const int status = check_mesh(connect, nodes)) return status;
    edge_table table;
    if (!table.fill(connect, nodes)) return status_memory;
    std::size_t count = 0;
    table.for_each(connect, [&](unsigned, unsigned, unsigned, unsigned) { ++count; });
    dense2D<unsigned> ends;
    dense2D<unsigned> beside;
    if (!ends.resize(2, count) || !beside.resize(2, count)) return status_memory;
    std::size_t j = 0;
    table.for_each(connect, [&](unsigned a, unsigned b, unsigned e, unsigned f) {
        ends(0, j) = a;
        ends(1, j) = b;
        beside(0, j) = e;
        beside(1, j++) = f;
    });
    edges.swap(ends);
    elements.swap(beside);
    return tessel2d::as_count(table.shared_by_more);
}

int boundary_edges(const dense2D<unsigned>& connect, std::size_t nodes, dense2D<unsigned>& edges) {
    dense2D<unsigned> fresh;
    if (const int status = list_boundary(connect, nodes, fresh)) return status;
    edges.swap(fresh);
    return status_ok;
}

int boundary_loops(const dense2D<unsigned>& connect, std::size_t nodes,
                   dense1D<unsigned, 8>& starts, dense1D<unsigned, 8>& loops) {
    dense2D<unsigned> edges;
    if (const int status = list_boundary(connect, nodes, edges)) return status;
    if (edges.cols > no_node / 2) return status_memory; // offsets have 32 bits
    loop_walk walk;
    if (!walk.prepare(edges, nodes)) return status_memory;
    if (!walk.run(edges)) return -1;
    starts.swap(walk.starts);
    loops.swap(walk.loops);
    return status_ok;
}

int components(const dense2D<unsigned>& neighbors, dense1D<unsigned, 8>& component) {
    if (!are_neighbors(neighbors)) return -1;
    const std::size_t n = neighbors.empty() ? 0 : neighbors.cols;
    dense1D<unsigned, 8> fresh;
    if (!fresh.resize(n)) return status_memory;
    element_sets sets(fresh);
    for (std::size_t e = 0; e < n; ++e)
        for (std::size_t k = 0; k < neighbors.rows; ++k)
            if (neighbors(k, e) != no_node) sets.join(static_cast<unsigned>(e), neighbors(k, e));
    const unsigned count = sets.number(n);
    component.swap(fresh);
    return tessel2d::as_count(count);
}

int is_orientable(const dense2D<unsigned>& connect, const dense2D<unsigned>& neighbors,
                  orientation& found) {
    if (connect.empty()) {
        found = {};
        return 1;
    }
    if ((connect.rows != 3 && connect.rows != 4) || connect.cols > most_elements) return -1;
    if (neighbors.rows != connect.rows || neighbors.cols != connect.cols ||
        !are_neighbors(neighbors))
        return -2;
    orientation_walk walk(connect, neighbors);
    if (!walk.prepare()) return status_memory;
    walk.run();
    found = walk.found;
    return found.what == orientation::fault::none ? 1 : 0;
}

} // namespace zel::host
