// SPDX-License-Identifier: Apache-2.0
// Layers of elements of other ranks.
//
//   1. Each rank tells the homes of the nodes of its own elements that it has elements there: so the home of a
//      node knows all ranks that do.
//   2. For each node whose elements a rank wants it asks the node's home, which passes the question on to these
//      ranks; each of them sends its own elements at the node, with their nodes, straight to the one who asks.
//   3. What is new is sorted in, and the nodes that came with it are asked for in the next layer.
//
// Invariant: after a layer all elements at the nodes that were asked for are there, each once.
#include "distributed/part.h"

#include <algorithm>
#include <utility>

namespace zel::distributed {

namespace {

// Pairs (key, value), sorted, so that the values of one key form a run.
template <class Value>
struct runs {
    list<std::pair<unsigned, Value>> pairs;

    void sort() {
        std::sort(pairs.begin(), pairs.end());
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    }
    template <class Visit>
    void for_each(unsigned key, Visit&& visit) const {
        auto at = std::lower_bound(pairs.begin(), pairs.end(), key,
                                   [](const auto& pair, unsigned k) { return pair.first < k; });
        for (; at != pairs.end() && at->first == key; ++at) visit(at->second);
    }
};

struct question {
    number node;
    int asker;
};

struct point {
    number node;
    home where;
    double at[3];
};

// Marks of the nodes that own elements have.
list<bool> nodes_of_own(const partitioned_mesh& mesh, const list<unsigned>& own) {
    list<bool> marked(mesh.pos.cols, false);
    for (const unsigned e : own)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            if (mesh.connect(i, e) != no_node) marked[mesh.connect(i, e)] = true;
    return marked;
}

// Which ranks have elements of their own at the nodes that have their home here: by slot.
int find_sharers(const partitioned_mesh& mesh, const list<bool>& at_own, runs<int>& sharers) {
    const int me = rank_of(mesh.comm);
    outbox<unsigned> slots(0);
    int status = together(mesh.comm, [&] {
        slots = outbox<unsigned>(ranks_of(mesh.comm));
        for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
            if (!at_own[k]) continue;
            if (mesh.node_homes[k].rank == me)
                sharers.pairs.emplace_back(mesh.node_homes[k].slot, me);
            else
                slots.add(mesh.node_homes[k].rank, mesh.node_homes[k].slot);
        }
        return 0;
    });
    if (status) return status;
    inbox<unsigned> came;
    if ((status = deliver(mesh.comm, slots, came))) return status;
    return together(mesh.comm, [&] {
        for (std::size_t k = 0; k < came.from.size(); ++k)
            for (std::size_t i = came.starts[k]; i < came.starts[k + 1]; ++i)
                sharers.pairs.emplace_back(came.records[i], came.from[k]);
        sharers.sort();
        return 0;
    });
}

// Asks the homes of some nodes for their elements; `asked` are the questions that come to this rank in the end.
int ask(const partitioned_mesh& mesh, const list<unsigned>& wanted, const runs<int>& sharers,
        inbox<question>& asked) {
    const int me = rank_of(mesh.comm), all = ranks_of(mesh.comm);
    outbox<unsigned> to_homes(0);
    outbox<question> to_sharers(0);
    list<unsigned> own_nodes;
    const auto pass_on = [&](unsigned slot, int asker) {
        sharers.for_each(slot, [&](int rank) {
            if (rank != asker) to_sharers.add(rank, {mesh.node_numbers[own_nodes[slot]], asker});
        });
    };
    int status = together(mesh.comm, [&] {
        to_homes = outbox<unsigned>(all);
        to_sharers = outbox<question>(all);
        own_nodes = own_entries(mesh.node_homes, me);
        for (const unsigned k : wanted) {
            const home where = mesh.node_homes[k];
            if (where.rank == me)
                pass_on(where.slot, me);
            else
                to_homes.add(where.rank, where.slot);
        }
        return 0;
    });
    if (status) return status;
    inbox<unsigned> at_home;
    if ((status = deliver(mesh.comm, to_homes, at_home))) return status;
    status = together(mesh.comm, [&] {
        for (std::size_t k = 0; k < at_home.from.size(); ++k)
            for (std::size_t i = at_home.starts[k]; i < at_home.starts[k + 1]; ++i)
                pass_on(at_home.records[i], at_home.from[k]);
        return 0;
    });
    if (status) return status;
    return deliver(mesh.comm, to_sharers, asked);
}

// Own elements by the node that they are at: (local node, own element).
runs<unsigned> elements_at_nodes(const partitioned_mesh& mesh, const list<unsigned>& own) {
    runs<unsigned> table;
    table.pairs.reserve(own.size() * mesh.connect.rows);
    for (const unsigned e : own)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            if (mesh.connect(i, e) != no_node) table.pairs.emplace_back(mesh.connect(i, e), e);
    table.sort();
    return table;
}

// An element travels as its number, its slot and the numbers of its corners.
void pack(const partitioned_mesh& mesh, int to, const list<unsigned>& elements,
          outbox<number>& columns, outbox<point>& points) {
    list<unsigned> nodes;
    for (const unsigned e : elements) {
        columns.add(to, mesh.element_numbers[e]);
        columns.add(to, mesh.element_homes[e].slot);
        for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
            const unsigned local = mesh.connect(i, e);
            columns.add(to, local == no_node ? no_number : mesh.node_numbers[local]);
            if (local != no_node) nodes.push_back(local);
        }
    }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    for (const unsigned k : nodes) {
        point out{mesh.node_numbers[k], mesh.node_homes[k], {0, 0, 0}};
        std::copy_n(mesh.pos[k], mesh.pos.rows, out.at);
        points.add(to, out);
    }
}

// Sends the own elements at the nodes of the questions to those who asked.
int send_elements(const partitioned_mesh& mesh, const inbox<question>& asked,
                  const list<unsigned>& own, inbox<number>& columns, inbox<point>& points) {
    outbox<number> columns_out(0);
    outbox<point> points_out(0);
    int status = together(mesh.comm, [&] {
        const int all = ranks_of(mesh.comm);
        columns_out = outbox<number>(all);
        points_out = outbox<point>(all);
        if (asked.records.empty()) return 0;
        const runs<unsigned> table = elements_at_nodes(mesh, own);
        list<list<unsigned>> for_rank(static_cast<std::size_t>(all));
        for (const question& q : asked.records) {
            const auto node =
                std::lower_bound(mesh.node_numbers.begin(), mesh.node_numbers.end(), q.node) -
                mesh.node_numbers.begin();
            table.for_each(static_cast<unsigned>(node), [&](unsigned e) {
                for_rank[static_cast<std::size_t>(q.asker)].push_back(e);
            });
        }
        for (int r = 0; r < all; ++r) {
            list<unsigned>& elements = for_rank[static_cast<std::size_t>(r)];
            std::sort(elements.begin(), elements.end());
            elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
            if (!elements.empty()) pack(mesh, r, elements, columns_out, points_out);
        }
        return 0;
    });
    if (status) return status;
    if ((status = deliver(mesh.comm, columns_out, columns))) return status;
    return deliver(mesh.comm, points_out, points);
}

bool contains(const dense1D<number, 8>& sorted, number key) {
    return std::binary_search(sorted.begin(), sorted.end(), key);
}

// The part with what has come; `fresh_nodes` are the nodes that it has not had before.
int sort_in(const partitioned_mesh& mesh, const inbox<number>& columns, const inbox<point>& points,
            partitioned_mesh& out, list<number>& fresh_nodes) {
    const std::size_t rows = mesh.connect.rows, dimension = mesh.pos.rows;
    loose_part loose;
    loose.rows = rows;
    loose.dimension = dimension;
    loose.corners = global_corners(mesh);
    loose.element_numbers.assign(mesh.element_numbers.begin(), mesh.element_numbers.end());
    loose.element_homes.assign(mesh.element_homes.begin(), mesh.element_homes.end());
    loose.node_numbers.assign(mesh.node_numbers.begin(), mesh.node_numbers.end());
    loose.node_homes.assign(mesh.node_homes.begin(), mesh.node_homes.end());
    loose.coordinates.resize(dimension * mesh.pos.cols);
    for (std::size_t k = 0; k < mesh.pos.cols; ++k)
        std::copy_n(mesh.pos[k], dimension, loose.coordinates.data() + k * dimension);

    for (std::size_t k = 0; k < columns.from.size(); ++k)
        for (std::size_t i = columns.starts[k]; i < columns.starts[k + 1]; i += rows + 2) {
            const number* const record = columns.records.data() + i;
            if (contains(mesh.element_numbers, record[0])) continue;
            loose.element_numbers.push_back(record[0]);
            loose.element_homes.push_back({columns.from[k], static_cast<unsigned>(record[1])});
            loose.corners.insert(loose.corners.end(), record + 2, record + 2 + rows);
        }
    list<unsigned> order(points.records.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = static_cast<unsigned>(k);
    std::sort(order.begin(), order.end(), [&](unsigned a, unsigned b) {
        return points.records[a].node < points.records[b].node;
    });
    fresh_nodes.clear();
    for (const unsigned k : order) {
        const point& p = points.records[k];
        if ((!fresh_nodes.empty() && fresh_nodes.back() == p.node) ||
            contains(mesh.node_numbers, p.node))
            continue;
        fresh_nodes.push_back(p.node);
        loose.node_numbers.push_back(p.node);
        loose.node_homes.push_back(p.where);
        loose.coordinates.insert(loose.coordinates.end(), p.at, p.at + dimension);
    }
    return put_together(loose, out);
}

// The nodes whose elements are asked for first: those of own elements, or, where there is a halo, those of the
// halo alone.
list<unsigned> first_frontier(const partitioned_mesh& mesh, const list<bool>& at_own) {
    list<bool> wanted(mesh.pos.cols, false);
    if (mesh.halo == 0)
        wanted = at_own;
    else
        for (std::size_t e = 0; e < mesh.connect.cols; ++e)
            for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
                const unsigned k = mesh.connect(i, e);
                if (k != no_node) wanted[k] = !at_own[k];
            }
    list<unsigned> frontier;
    for (std::size_t k = 0; k < mesh.pos.cols; ++k)
        if (wanted[k]) frontier.push_back(static_cast<unsigned>(k));
    return frontier;
}

list<unsigned> local_numbers(const dense1D<number, 8>& sorted, const list<number>& numbers) {
    list<unsigned> local;
    for (const number key : numbers)
        local.push_back(static_cast<unsigned>(std::lower_bound(sorted.begin(), sorted.end(), key) -
                                              sorted.begin()));
    return local;
}

} // namespace

int grow_halo(partitioned_mesh& mesh, unsigned layers) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    partitioned_mesh wide = mesh;
    list<unsigned> own, frontier;
    list<bool> at_own;
    int status = together(mesh.comm, [&] {
        own = own_entries(mesh.element_homes, rank_of(mesh.comm));
        at_own = nodes_of_own(mesh, own);
        frontier = first_frontier(mesh, at_own);
        return 0;
    });
    if (status) return status;
    runs<int> sharers;
    if ((status = find_sharers(mesh, at_own, sharers))) return status;

    for (unsigned layer = 0; layer < layers; ++layer) {
        inbox<question> asked;
        inbox<number> columns;
        inbox<point> points;
        if ((status = ask(wide, frontier, sharers, asked))) return status;
        if ((status = send_elements(wide, asked, own, columns, points))) return status;
        partitioned_mesh grown = wide;
        list<number> fresh_nodes;
        std::uint64_t came = 0, all = 0;
        status = together(mesh.comm, [&] {
            fresh_nodes.clear();
            if (columns.records.empty()) {
                frontier.clear();
                return 0;
            }
            if (const int failed = sort_in(wide, columns, points, grown, fresh_nodes))
                return failed;
            own = own_entries(grown.element_homes, rank_of(mesh.comm));
            frontier = local_numbers(grown.node_numbers, fresh_nodes);
            came = grown.connect.cols - wide.connect.cols;
            return 0;
        });
        if (status) return status;
        wide = grown;
        // Once no rank finds anything more all parts are as deep as can be.
        const int code = MPI_Allreduce(&came, &all, 1, MPI_UINT64_T, MPI_SUM, mesh.comm);
        if ((status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
        if (all == 0) break;
    }
    wide.halo = mesh.halo > ~0U - layers ? ~0U : mesh.halo + layers;
    mesh = wide;
    return 0;
}

} // namespace zel::distributed
