// SPDX-License-Identifier: Apache-2.0
// A sweep in shares of the profile's edges. Each node of the profile is swept by itself, so the library sweeps a share as
// it sweeps the whole; only the numbers differ.
//
//   1. Nodes of the profile get places in the order in which the edges name them first. Those that a rank's edges name
//      first are a run of places: that rank has them, in all layers.
//   2. The library is called with the rank's edges, the first edge of all, from which some sweeps take their number of
//      layers, and the edges that touch its own, by which normals at its nodes are right. One more edge in front
//      keeps even edges even where patterns of triangles need it.
//   3. Place p in layer k has the number N + (k - 1)*n + p, in a mesh with N present nodes and n places.
#include "distributed/part.h"

#include "zel/distributed/generators.h"
#include "zel/tessel.h"

#include <petscsys.h>

#include <algorithm>
#include <climits>

namespace zel::distributed {

namespace {

// The shares of edges, and the runs of places that come with them.
struct shares {
    list<std::size_t> first_edge;  ///< by rank, and one behind
    list<std::size_t> first_place; ///< likewise
    list<unsigned> place;          ///< by node; no_node if no edge has it
    list<unsigned> node;           ///< by place

    shares(const dense2D<double>& pos, const dense2D<unsigned>& profile, int ranks)
        : place(pos.cols, no_node) {
        const std::size_t r = static_cast<std::size_t>(ranks), edges = profile.cols;
        for (std::size_t k = 0; k <= r; ++k)
            first_edge.push_back(k * (edges / r) + std::min(k, edges % r));
        std::size_t rank = 0;
        for (std::size_t e = 0; e < edges; ++e) {
            for (; first_edge[rank] == e && rank < r; ++rank) first_place.push_back(node.size());
            for (std::size_t i = 0; i < 2; ++i) {
                unsigned& found = place[profile(i, e)];
                if (found != no_node) continue;
                found = static_cast<unsigned>(node.size());
                node.push_back(profile(i, e));
            }
        }
        first_place.resize(r + 1, node.size());
    }
    // The rank whose run a place is in.
    int rank_of_place(std::size_t p) const {
        return static_cast<int>(std::upper_bound(first_place.begin(), first_place.end(), p) -
                                first_place.begin() - 1);
    }
    std::size_t places(int rank) const {
        const auto r = static_cast<std::size_t>(rank);
        return first_place[r + 1] - first_place[r];
    }
};

// The edges that the library sweeps here, ascending, and where among them the own ones begin.
struct some_edges {
    list<std::size_t> edges;
    std::size_t own = 0;

    some_edges(const dense2D<unsigned>& profile, std::size_t nodes, std::size_t first,
               std::size_t end) {
        list<bool> ours(nodes, false), taken(profile.cols, false);
        for (std::size_t e = first; e < end; ++e)
            ours[profile(0, e)] = ours[profile(1, e)] = taken[e] = true;
        taken[0] = true;
        for (std::size_t e = 0; e < profile.cols; ++e)
            if (ours[profile(0, e)] || ours[profile(1, e)]) taken[e] = true;
        const auto before = static_cast<std::size_t>(
            std::count(taken.begin(), taken.begin() + as_long(first), true));
        if (before % 2 != first % 2) {
            // Not all edges in front are taken, else the numbers were equal.
            *std::find(taken.begin(), taken.begin() + as_long(first), false) = true;
        }
        own = before + (before % 2 != first % 2);
        for (std::size_t e = 0; e < profile.cols; ++e)
            if (taken[e]) edges.push_back(e);
    }

private:
    static long as_long(std::size_t k) { return static_cast<long>(k); }
};

// What the library made on this rank.
struct strip {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    list<unsigned> node;   ///< by place among the edges that were swept
    std::size_t own = 0;   ///< columns in front of the own elements
    std::size_t count = 0; ///< own elements
    number sizes[3] = {0, 0,
                       0}; ///< rows of coordinates and elements, layers; the same on all ranks
};

// Copies of the profile's nodes, so that the caller's stay as they are.
bool copy_columns(const dense2D<double>& from, dense2D<double>& to) {
    if (!to.resize(from.rows, from.cols)) return false;
    for (std::size_t k = 0; k < from.cols; ++k) std::copy_n(from[k], from.rows, to[k]);
    return true;
}

int sweep_share(const dense2D<double>& pos, const dense2D<unsigned>& profile, const sweep& by,
                std::size_t first, std::size_t end, strip& out) {
    const some_edges some(profile, pos.cols, first, end);
    dense2D<unsigned> edges;
    if (!copy_columns(pos, out.pos) || !edges.resize(2, some.edges.size())) return no_memory;
    list<bool> seen(pos.cols, false);
    for (std::size_t k = 0; k < edges.cols; ++k)
        for (std::size_t i = 0; i < 2; ++i) {
            const unsigned node = edges(i, k) = profile(i, some.edges[k]);
            if (!seen[node]) out.node.push_back(node);
            seen[node] = true;
        }
    const int status = by(out.pos, edges, out.connect);
    if (status < 0) return status == no_memory ? no_memory : -4;
    const std::size_t made = out.pos.cols - pos.cols, each = out.connect.cols / edges.cols;
    if (out.pos.cols < pos.cols || made % out.node.size() != 0 ||
        out.connect.cols % edges.cols != 0 || out.pos.rows < pos.rows)
        return -4;
    out.own = some.own * each;
    out.count = (end - first) * each;
    out.sizes[0] = out.pos.rows;
    out.sizes[1] = out.connect.rows;
    out.sizes[2] = made / out.node.size();
    return out.count > INT_MAX || made > INT_MAX ? no_memory : 0;
}

// All ranks with edges must have made layers alike; the others hear of them.
int agree_on_sizes(MPI_Comm comm, bool any, strip& out) {
    number mine[6], all[6];
    for (std::size_t k = 0; k < 3; ++k) {
        mine[k] = any ? out.sizes[k] : 0;
        mine[k + 3] = any ? ~out.sizes[k] : 0;
    }
    if (MPI_Allreduce(mine, all, 6, MPI_UINT64_T, MPI_MAX, comm) != MPI_SUCCESS)
        return engine_failed;
    for (std::size_t k = 0; k < 3; ++k) {
        if (all[k] != ~all[k + 3]) return -4;
        out.sizes[k] = all[k];
    }
    return 0;
}

// Numbers and homes of the nodes until each is settled where it is used.
struct numbering {
    const shares& all;
    number present; ///< nodes of the profile, and others beside it

    number of(number layer, std::size_t place) const {
        return layer == 0 ? all.node[place] : present + (layer - 1) * all.node.size() + place;
    }
    home where(number layer, std::size_t place) const {
        const int rank = all.rank_of_place(place);
        const std::size_t slot =
            layer * all.places(rank) + place - all.first_place[static_cast<std::size_t>(rank)];
        return {rank, static_cast<unsigned>(slot)};
    }
};

// What `settle` wants to know of this rank.
struct share_of_mesh {
    list<number> corners, element_numbers, node_numbers, old_numbers;
    list<home> homes;
    list<unsigned> old_columns;
};

// Own elements in global numbers, and the distinct nodes of these.
void number_elements(const numbering& numbers, const strip& made, number first_element,
                     share_of_mesh& out) {
    struct corner {
        number node;
        home where;
    };
    const auto corner_of = [&](unsigned local) {
        const bool on_profile = local < numbers.present;
        const std::size_t k = on_profile ? 0 : local - numbers.present;
        const number layer = on_profile ? 0 : 1 + k / made.node.size();
        const unsigned node = on_profile ? local : made.node[k % made.node.size()];
        const std::size_t place = numbers.all.place[node];
        return corner{numbers.of(layer, place), numbers.where(layer, place)};
    };
    list<corner> used;
    used.reserve(made.count * made.connect.rows);
    for (std::size_t e = 0; e < made.count; ++e) {
        out.element_numbers.push_back(first_element + e);
        for (std::size_t i = 0; i < made.connect.rows; ++i)
            used.push_back(corner_of(made.connect(i, made.own + e)));
    }
    out.corners.reserve(used.size());
    for (const corner& c : used) out.corners.push_back(c.node);
    std::sort(used.begin(), used.end(),
              [](const corner& a, const corner& b) { return a.node < b.node; });
    for (const corner& c : used)
        if (out.node_numbers.empty() || out.node_numbers.back() != c.node) {
            out.node_numbers.push_back(c.node);
            out.homes.push_back(c.where);
        }
}

// The nodes that this rank has: its run of places in all layers, in the order of the slots, and on the first rank those
// of no edge.
void number_nodes(const numbering& numbers, const strip& made, int rank, share_of_mesh& out) {
    const shares& all = numbers.all;
    list<std::size_t> column(numbers.present, 0); // by node: where among those swept it is
    for (std::size_t k = 0; k < made.node.size(); ++k) column[made.node[k]] = k;
    const std::size_t first = all.first_place[static_cast<std::size_t>(rank)];
    for (number layer = 0; layer <= made.sizes[2]; ++layer)
        for (std::size_t p = first; p < first + all.places(rank); ++p) {
            const unsigned node = all.node[p];
            out.old_numbers.push_back(numbers.of(layer, p));
            out.old_columns.push_back(
                layer == 0 ? node
                           : static_cast<unsigned>(numbers.present +
                                                   (layer - 1) * made.node.size() + column[node]));
        }
    if (rank != 0) return;
    for (unsigned node = 0; node < all.place.size(); ++node)
        if (all.place[node] == no_node) {
            out.old_numbers.push_back(node);
            out.old_columns.push_back(node);
        }
}

int check_profile(const dense2D<double>& pos, const dense2D<unsigned>& profile, const sweep& by) {
    if (pos.rows != 2 && pos.rows != 3) return -2;
    const auto bound = static_cast<unsigned>(std::min(pos.cols, most_local));
    if (profile.cols == 0 || !tessel::check_IDs(profile, ELEMENT_E2, bound)) return -3;
    return by ? 0 : -4;
}

} // namespace

int extrude(MPI_Comm comm, const dense2D<double>& pos, const dense2D<unsigned>& profile,
            const sweep& by, partitioned_mesh& mesh) {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (comm == MPI_COMM_NULL || !stands) return -1;
    int status = agree(comm, check_profile(pos, profile, by));
    if (status) return status;

    const int me = rank_of(comm);
    strip made;
    bool any = false;
    std::size_t first = 0;
    status = together(comm, [&] {
        const shares all(pos, profile, ranks_of(comm));
        first = all.first_edge[static_cast<std::size_t>(me)];
        const std::size_t end = all.first_edge[static_cast<std::size_t>(me) + 1];
        any = end > first;
        return any ? sweep_share(pos, profile, by, first, end, made) : 0;
    });
    if (status) return status;
    if ((status = agree_on_sizes(comm, any, made))) return status;

    const std::size_t dimension = made.sizes[0], rows = made.sizes[1] ? made.sizes[1] : 4;
    number elements = made.count, before = 0;
    MPI_Allreduce(MPI_IN_PLACE, &elements, 1, MPI_UINT64_T, MPI_SUM, comm);
    share_of_mesh share;
    number swept = 0;
    status = together(comm, [&] {
        const shares all(pos, profile, ranks_of(comm));
        const numbering numbers{all, pos.cols};
        swept = all.node.size();
        before = elements / profile.cols * first;
        if (!any && !copy_columns(pos, made.pos)) return no_memory;
        if (!any && !made.pos.resize(dimension, pos.cols, 0.0)) return no_memory;
        number_elements(numbers, made, before, share);
        number_nodes(numbers, made, me, share);
        return 0;
    });
    if (status) return status;
    partitioned_mesh fresh;
    status = settle(comm, rows, share.corners, share.element_numbers, share.node_numbers,
                    share.homes, share.old_numbers, made.pos, share.old_columns, fresh);
    if (status) return status;
    fresh.nodes = pos.cols + made.sizes[2] * swept;
    fresh.elements = elements;
    mesh = fresh;
    return 0;
}

} // namespace zel::distributed
