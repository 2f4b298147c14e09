// zel tessel2d: planar and surface mesh tools.
//
// Neighbours and ancestors, edges, boundaries, components and orientation of a mesh, from its connectivity.
#include "zel/host/adjacency.h"

#include "host/sides.h"
#include "zel/tessel.h"

namespace zel::host {

namespace {

constexpr std::size_t most_elements = no_node;

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
    for (std::size_t e = connect.cols; e-- > 0;) {
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
    void alone(const Side&) const noexcept {}
    template <class Side>
    void two(const Side& s, const Side& t) const noexcept {
        if (s.element() == t.element()) return;
        neighbors[s.element()][s.edge()] = t.element();
        neighbors[t.element()][t.edge()] = s.element();
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

} // namespace

int build_adjacency(const dense2D<unsigned>& connect, std::size_t nodes, adjacency& result) {
    if (const int status = check_mesh(connect, nodes)) return status;
    adjacency fresh;
    if (!connect.empty() && !fresh.neighbors.resize(connect.rows, connect.cols, no_node))
        return status_memory;
    if (!fresh.ancestors.resize(nodes, no_node)) return status_memory;
    join_elements join{columns_of(fresh.neighbors)};
    if (!visit_edges(connect, nodes, join)) return status_memory;
    if (connect.rows == 3) {
        find_ancestors<triangle_cells>(connect, fresh.ancestors.data());
    } else {
        find_ancestors<mixed_cells>(connect, fresh.ancestors.data());
    }
    fresh.shared_by_more = join.shared_by_more;
    result.neighbors.swap(fresh.neighbors);
    result.ancestors.swap(fresh.ancestors);
    result.shared_by_more = fresh.shared_by_more;
    return status_ok;
}

} // namespace zel::host
