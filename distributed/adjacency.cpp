// SPDX-License-Identifier: Apache-2.0
// With one layer of halo a part has all elements at the nodes of its own elements, in the order of their numbers: so
// the tables of the part hold for its own elements and nodes. Copies get theirs from the homes.
#include "zel/distributed/adjacency.h"

#include "distributed/fields.h"

#include "foundation/topology.h"
#include "zel/host/adjacency.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>
#include <utility>

namespace zel::distributed {

namespace {

bool is_linear(const partitioned_mesh& mesh) {
    return mesh.comm != MPI_COMM_NULL && (mesh.connect.rows == 3 || mesh.connect.rows == 4);
}

// A part with halo and its tables in local numbers.
struct tables {
    partitioned_mesh wide;
    host::adjacency local;

    int build(const partitioned_mesh& mesh) {
        if (const int status = with_halo(mesh, 1, wide)) return status;
        return together(mesh.comm, [&] {
            const int failed = host::build_adjacency(wide.connect, wide.pos.cols, local);
            if (failed) return failed == no_memory ? no_memory : -1;
            local.neighbors.rows = wide.connect.rows; // of a part without elements too
            return 0;
        });
    }
};

struct side {
    unsigned a, b, element; // ends in ascending order
    bool operator<(const side& other) const {
        return std::pair(std::pair(a, b), element) <
               std::pair(std::pair(other.a, other.b), other.element);
    }
};

// Sides without a neighbour, but for those from a node to itself.
list<side> lonely_sides(const tables& t) {
    list<side> sides;
    const dense2D<unsigned>& connect = t.wide.connect;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned corners = connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
        for (unsigned k = 0; k < corners; ++k) {
            if (t.local.neighbors(k, e) != no_node) continue;
            const unsigned first = corners == 3 ? (k + 1) % 3 : k;
            const unsigned a = connect(first, e), b = connect((first + 1) % corners, e);
            if (a != b) sides.push_back({std::min(a, b), std::max(a, b), static_cast<unsigned>(e)});
        }
    }
    std::sort(sides.begin(), sides.end());
    return sides;
}

// Edges of more than two sides, each counted where its lowest element is at home.
number count_shared_by_more(const tables& t) {
    const list<side> sides = lonely_sides(t);
    const int me = rank_of(t.wide.comm);
    number count = 0;
    for (std::size_t k = 0; k < sides.size();) {
        std::size_t end = k + 1;
        while (end < sides.size() && sides[end].a == sides[k].a && sides[end].b == sides[k].b)
            ++end;
        if (end - k > 2 && t.wide.element_homes[sides[k].element].rank == me) ++count;
        k = end;
    }
    return count;
}

// True if turning around a node ends at the border or at the element where it began, which all of the node's elements
// on this rank decide.
bool comes_round(const tables& t, unsigned node) {
    const unsigned first = t.local.ancestors[node];
    unsigned e = first;
    for (std::size_t steps = 0; steps < t.wide.connect.cols; ++steps) {
        const unsigned* const cell = t.wide.connect[e];
        const unsigned corners = t.wide.connect.rows == 4 && cell[3] != no_node ? 4 : 3;
        const unsigned at = tessel2d::local_node_index(node, cell, corners);
        e = t.local.neighbors(tessel2d::turn_edge(at, corners), e);
        if (e == no_node || e == first) return true;
    }
    return false;
}

// What became of the lists: the library ends with the one that it cannot make, be it that of the last node.
int outcome_of(const tables& t, const dense1D<unsigned, 8>& starts) {
    const std::size_t lists = starts.size - 1;
    if (lists > 0 && t.local.ancestors[lists - 1] != no_node) {
        if (!comes_round(t, static_cast<unsigned>(lists - 1))) return -1;
        if (starts[lists - 1] == starts[lists]) return no_memory;
    }
    return lists == t.wide.pos.cols ? 0 : no_memory;
}

// A table of local element numbers in global ones.
int globalise(const tables& t, dense2D<number>& neighbors, dense2D<number>& ancestors) {
    const auto global = [&](unsigned e) {
        return e == no_node ? no_number : t.wide.element_numbers[e];
    };
    if (!neighbors.resize(t.wide.connect.rows, t.wide.connect.cols) ||
        !ancestors.resize(1, t.wide.pos.cols))
        return no_memory;
    for (std::size_t e = 0; e < neighbors.cols; ++e)
        for (std::size_t k = 0; k < neighbors.rows; ++k)
            neighbors(k, e) = global(t.local.neighbors(k, e));
    for (std::size_t k = 0; k < ancestors.cols; ++k) ancestors(0, k) = global(t.local.ancestors[k]);
    return 0;
}

} // namespace

int build_adjacency(const partitioned_mesh& mesh, adjacency& result) {
    if (!is_linear(mesh)) return -1;
    tables t;
    if (const int status = t.build(mesh)) return status;
    dense2D<number> neighbors, ancestors;
    number mine = 0;
    int status = together(mesh.comm, [&] {
        mine = count_shared_by_more(t);
        return globalise(t, neighbors, ancestors);
    });
    if (status) return status;
    adjacency fresh;
    dense2D<number> firsts;
    status = spread_columns(mesh.comm, neighbors, t.wide.element_homes, mesh.element_homes,
                            fresh.neighbors);
    if (status) return status;
    if ((status = spread_columns(mesh.comm, ancestors, t.wide.node_homes, mesh.node_homes, firsts)))
        return status;
    const int code =
        MPI_Allreduce(&mine, &fresh.shared_by_more, 1, MPI_UINT64_T, MPI_SUM, mesh.comm);
    if ((status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
    fresh.ancestors = firsts.as_vector();
    result.neighbors.swap(fresh.neighbors);
    result.ancestors.swap(fresh.ancestors);
    result.shared_by_more = fresh.shared_by_more;
    return 0;
}

int get_connected_elements(const partitioned_mesh& mesh, dense1D<number, 8>& starts,
                           dense1D<number, 8>& elements) {
    if (!is_linear(mesh)) return -1;
    tables t;
    if (const int status = t.build(mesh)) return status;
    dense1D<number, 8> fresh_starts, fresh_elements;
    const int status = together(mesh.comm, [&] {
        // Only own nodes have all their elements here: the others are walked around elsewhere.
        const int me = rank_of(mesh.comm);
        for (std::size_t k = 0; k < t.wide.pos.cols; ++k)
            if (t.wide.node_homes[k].rank != me) t.local.ancestors[k] = no_node;
        dense1D<unsigned, 8> local_starts, local;
        const int failed = tessel2d::get_connected_elements(t.wide.connect, t.local.neighbors,
                                                            t.local.ancestors, local_starts, local);
        if (failed) return failed == no_memory ? no_memory : -1;
        if (const int ended = outcome_of(t, local_starts)) return ended;
        if (!fresh_elements.resize(local.size)) return no_memory;
        for (std::size_t k = 0; k < local.size; ++k)
            fresh_elements[k] = t.wide.element_numbers[local[k]];
        const list<unsigned> own = own_entries(t.wide.node_homes, me);
        if (!fresh_starts.resize(own.size() + 1)) return no_memory;
        for (std::size_t s = 0; s < own.size(); ++s) fresh_starts[s] = local_starts[own[s]];
        fresh_starts[own.size()] = local.size;
        return 0;
    });
    if (status) return status;
    starts.swap(fresh_starts);
    elements.swap(fresh_elements);
    return 0;
}

int angles(const partitioned_mesh& mesh, bool normalise, dense1D<double, 8>& min_angles,
           dense1D<double, 8>& max_angles) {
    if (!is_linear(mesh)) return -1;
    dense1D<double, 8> least, most;
    const int status = together(mesh.comm, [&] {
        const int failed = tessel2d::angles(mesh.pos, mesh.connect, normalise, least, most);
        return failed == no_memory ? no_memory : failed ? -1 : 0;
    });
    if (status) return status;
    min_angles.swap(least);
    max_angles.swap(most);
    return 0;
}

int circumcenters(const partitioned_mesh& mesh, dense2D<double>& centers) {
    if (mesh.comm == MPI_COMM_NULL || mesh.connect.rows != 3) return -1;
    dense2D<double> found;
    const int status = together(mesh.comm, [&] {
        const int failed = tessel2d::circumcenters(mesh.pos, mesh.connect, found);
        return failed == no_memory ? no_memory : failed ? -1 : 0;
    });
    if (status == 0) centers.swap(found);
    return status;
}

} // namespace zel::distributed
