// SPDX-License-Identifier: Apache-2.0
// An edge goes to the keeper of its first end in the directory of nodes, and from there to all ranks that have
// this end. Those that have the other end too keep it, ask where its nodes are, and fetch these.
#include "distributed/given_edges.h"

#include "distributed/directory.h"
#include "distributed/part.h"

#include <algorithm>

namespace zel::distributed {

namespace {

struct edge {
    number index; ///< among all given edges
    number ends[2];
    number first; ///< of its nodes
};

int test_edges(const dense2D<number>& edges, unsigned a, int complaint, number nodes) {
    if (edges.cols == 0) return 0;
    if (edges.rows != std::size_t{a} + 2) return complaint;
    for (std::size_t j = 0; j < edges.cols; ++j) {
        for (std::size_t i = 0; i < edges.rows; ++i)
            if (edges(i, j) >= nodes) return complaint;
        if (a > nodes - edges(2, j)) return complaint;
    }
    return 0;
}

int route(const dense2D<number>& edges, number before, const partitioned_mesh& part,
          const directory& nodes, inbox<edge>& came) {
    const int all = ranks_of(part.comm);
    outbox<edge> to_keepers(0), to_parts(0);
    int status = together(part.comm, [&] {
        to_keepers = outbox<edge>(all);
        for (std::size_t j = 0; j < edges.cols; ++j)
            to_keepers.add(nodes.keeper(edges(0, j)),
                           {before + j, {edges(0, j), edges(1, j)}, edges(2, j)});
        return 0;
    });
    if (status) return status;
    inbox<edge> at_keeper;
    if ((status = deliver(part.comm, to_keepers, at_keeper))) return status;
    status = together(part.comm, [&] {
        to_parts = outbox<edge>(all);
        for (const edge& e : at_keeper.records)
            nodes.for_each_rank(e.ends[0], [&](int rank) { to_parts.add(rank, e); });
        return 0;
    });
    if (status) return status;
    return deliver(part.comm, to_parts, came);
}

bool has(const partitioned_mesh& part, number node) {
    return std::binary_search(part.node_numbers.begin(), part.node_numbers.end(), node);
}

// The part with more nodes, whose coordinates come from their homes.
int add_nodes(const list<number>& numbers, const list<home>& homes, partitioned_mesh& part) {
    const std::size_t dimension = part.pos.rows;
    list<double> there, here;
    list<unsigned> own;
    int status = together(part.comm, [&] {
        own = own_entries(part.node_homes, rank_of(part.comm));
        there.resize(own.size() * dimension);
        here.resize(numbers.size() * dimension);
        for (std::size_t s = 0; s < own.size(); ++s)
            std::copy_n(part.pos[own[s]], dimension, there.data() + s * dimension);
        return 0;
    });
    if (status) return status;
    star_forest forest;
    if ((status = forest.build(part.comm, own.size(), homes.data(), homes.size()))) return status;
    if ((status = forest.spread(there.data(), here.data(), dimension))) return status;
    return together(part.comm, [&] {
        loose_part loose;
        loose.rows = part.connect.rows;
        loose.dimension = dimension;
        loose.corners = global_corners(part);
        loose.element_numbers.assign(part.element_numbers.begin(), part.element_numbers.end());
        loose.element_homes.assign(part.element_homes.begin(), part.element_homes.end());
        loose.node_numbers.assign(part.node_numbers.begin(), part.node_numbers.end());
        loose.node_homes.assign(part.node_homes.begin(), part.node_homes.end());
        for (std::size_t k = 0; k < part.pos.cols; ++k)
            loose.coordinates.insert(loose.coordinates.end(), part.pos[k], part.pos[k] + dimension);
        loose.node_numbers.insert(loose.node_numbers.end(), numbers.begin(), numbers.end());
        loose.node_homes.insert(loose.node_homes.end(), homes.begin(), homes.end());
        loose.coordinates.insert(loose.coordinates.end(), here.begin(), here.end());
        return put_together(loose, part);
    });
}

} // namespace

int bring_given_edges(const dense2D<number>& edges, unsigned a, int complaint,
                      partitioned_mesh& part, dense2D<unsigned>& given) {
    MPI_Comm comm = part.comm;
    int status = agree(comm, test_edges(edges, a, complaint, part.nodes));
    if (status) return status;
    number before = 0, all = 0;
    const number mine = edges.cols;
    int code = MPI_Exscan(&mine, &before, 1, MPI_UINT64_T, MPI_SUM, comm);
    if (rank_of(comm) == 0) before = 0; // undefined there
    if (code == MPI_SUCCESS) code = MPI_Allreduce(&mine, &all, 1, MPI_UINT64_T, MPI_SUM, comm);
    if ((status = agree(comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
    if (all == 0) return 0;

    directory nodes;
    if ((status = nodes.build(part))) return status;
    inbox<edge> came;
    if ((status = route(edges, before, part, nodes, came))) return status;

    list<number> missing;
    list<home> homes;
    status = together(comm, [&] {
        auto& kept = came.records;
        kept.erase(std::remove_if(kept.begin(), kept.end(),
                                  [&](const edge& e) { return !has(part, e.ends[1]); }),
                   kept.end());
        std::sort(kept.begin(), kept.end(),
                  [](const edge& x, const edge& y) { return x.index < y.index; });
        for (const edge& e : kept)
            for (number node = e.first; node < e.first + a; ++node)
                if (!has(part, node)) missing.push_back(node);
        std::sort(missing.begin(), missing.end());
        missing.erase(std::unique(missing.begin(), missing.end()), missing.end());
        return 0;
    });
    if (status) return status;
    if ((status = nodes.find_homes(comm, missing, homes))) return status;
    if ((status = add_nodes(missing, homes, part))) return status;
    return together(comm, [&] {
        const auto local = [&](number node) {
            return static_cast<unsigned>(
                std::lower_bound(part.node_numbers.begin(), part.node_numbers.end(), node) -
                part.node_numbers.begin());
        };
        if (!given.resize(std::size_t{a} + 2, came.records.size())) return no_memory;
        for (std::size_t j = 0; j < came.records.size(); ++j) {
            const edge& e = came.records[j];
            given(0, j) = local(e.ends[0]);
            given(1, j) = local(e.ends[1]);
            for (unsigned i = 0; i < a; ++i) given(2 + i, j) = local(e.first) + i;
        }
        return 0;
    });
}

} // namespace zel::distributed
