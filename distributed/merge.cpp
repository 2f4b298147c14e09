// SPDX-License-Identifier: Apache-2.0
// Nodes that coincide, fused over the borders of the parts.
//
//   1. Each rank sends its nodes to the ranks that have a node within the tolerance, as far as boxes tell.
//   2. On each rank the own and the received nodes form clusters: sets that contain with each node all those that are
//      close to it. A cluster may be larger than need be, since fusing looks at distances anew.
//   3. Clusters of two ranks that have a node in common are linked; each component of that graph goes to the rank of
//      its lowest node.
//   4. There, and at home for clusters of one rank, the library's `merge` fuses the nodes in ascending order of their
//      numbers. No node outside of a cluster is close to one in it, so that the outcome is that for the whole mesh.
#include "zel/distributed/merge.h"

#include "distributed/components.h"
#include "distributed/part.h"
#include "distributed/rank_boxes.h"
#include "distributed/runs.h"

#include "tessel/cell_grid.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace zel::distributed {

namespace {

/// A node on its way, with its home.
struct placed_node {
    number node;
    home where;
    double at[3];
};

/// What a node is replaced by: itself if it is kept.
struct replacement {
    number node;
    home where;
};

/// Sets of numbers below n; the lowest number is the root.
class sets {
public:
    explicit sets(std::size_t n) : parent(n) { std::iota(parent.begin(), parent.end(), 0U); }
    unsigned root(unsigned k) {
        while (parent[k] != k) k = parent[k] = parent[parent[k]];
        return k;
    }
    void join(unsigned a, unsigned b) {
        a = root(a);
        b = root(b);
        parent[std::max(a, b)] = std::min(a, b);
    }

private:
    list<unsigned> parent;
};

bool has_nan(const double* p, std::size_t dimension) {
    bool found = false;
    for (std::size_t i = 0; i < dimension; ++i) found |= std::isnan(p[i]);
    return found;
}

/// The box with all points closer than `way` to one of its points. Rounding keeps the order of numbers, so that none
/// gets lost.
template <int Dim>
void widen(box<Dim>& b, double way) {
    for (std::size_t i = 0; i < Dim; ++i) {
        b.low[i] -= way;
        b.high[i] += way;
        if (std::isnan(b.low[i])) b.low[i] = -std::numeric_limits<double>::infinity();
        if (std::isnan(b.high[i])) b.high[i] = std::numeric_limits<double>::infinity();
    }
}

/// The own nodes and those of other ranks near them, as clusters.
template <int Dim>
class clusters {
public:
    clusters(const partitioned_mesh& of, double distance)
        : mesh(of), tolerance(distance), me(rank_of(of.comm)) {}

    /// Steps 1 and 2. Collective.
    int find() {
        box_tree<Dim> points;
        int status = together(mesh.comm, [&] {
            list<box<Dim>> boxes;
            for (const unsigned k : own_entries(mesh.node_homes, me)) {
                items.push_back(placed(k));
                if (!has_nan(items.back().at, Dim)) boxes.emplace_back().add(items.back().at);
            }
            own = items.size();
            points.build(boxes, rank_boxes<Dim>::depth);
            return 0;
        });
        if (status) return status;
        if ((status = receive_near(points))) return status;
        return together(mesh.comm, [&] {
            group();
            return 0;
        });
    }

    list<placed_node> items; // the own nodes by slot, then those of other ranks
    std::size_t own = 0;
    list<unsigned> cluster; // of each item: the lowest item of its cluster

private:
    placed_node placed(unsigned k) const {
        placed_node out{mesh.node_numbers[k], mesh.node_homes[k], {0, 0, 0}};
        std::copy_n(mesh.pos[k], Dim, out.at);
        return out;
    }

    int receive_near(const box_tree<Dim>& points) {
        rank_boxes<Dim> around;
        const double way = tolerance > 0 ? tolerance * (1 + 1e-9) : 0;
        int status = around.gather(mesh.comm, points, [way](box<Dim>& b) { widen<Dim>(b, way); });
        if (status) return status;
        outbox<placed_node> out(0);
        status = together(mesh.comm, [&] {
            out = outbox<placed_node>(ranks_of(mesh.comm));
            list<int> ranks;
            for (std::size_t s = 0; s < own; ++s) {
                ranks.clear();
                around.tree.for_each_around(items[s].at, [&](unsigned b) {
                    if (around.rank_of_box[b] != me) ranks.push_back(around.rank_of_box[b]);
                });
                keep_distinct(ranks);
                for (const int r : ranks) out.add(r, items[s]);
            }
            return 0;
        });
        if (status) return status;
        inbox<placed_node> came;
        if ((status = deliver(mesh.comm, out, came))) return status;
        return together(mesh.comm, [&] {
            items.insert(items.end(), came.records.begin(), came.records.end());
            return 0;
        });
    }

    /// Joins items that share a cell of two to four tolerances and are close, or are many.
    void group() {
        const tessel::cell_grid grid(tolerance, -1);
        const tessel::closeness<Dim> close(grid);
        list<std::pair<std::uint64_t, unsigned>> entries;
        for (std::size_t k = 0; k < items.size(); ++k) {
            if (has_nan(items[k].at, Dim)) continue;
            // Of two nodes that coincide each goes half the way.
            const tessel::cells_around<Dim> cells(grid, items[k].at, grid.reach / 2);
            std::uint64_t hashes[27]; // three cells along each axis at most
            std::size_t count = 0;
            cells.each([&](std::uint64_t hash) { hashes[count++] = hash; });
            for (std::size_t c = 0; c < count; ++c)
                entries.emplace_back(hashes[c], static_cast<unsigned>(k));
        }
        std::sort(entries.begin(), entries.end());
        sets joined(items.size());
        constexpr std::size_t many = 32;
        for (std::size_t k = 0; k < entries.size();) {
            std::size_t end = k + 1;
            while (end < entries.size() && entries[end].first == entries[k].first) ++end;
            for (std::size_t i = k; i < end; ++i) {
                const std::size_t last = end - k > many ? std::min(i + 2, end) : end;
                for (std::size_t j = i + 1; j < last; ++j) {
                    const unsigned a = entries[i].second, b = entries[j].second;
                    if (end - k > many || close(items[a].at, items[b].at)) joined.join(a, b);
                }
            }
            k = end;
        }
        for (std::size_t k = 0; k < items.size(); ++k)
            cluster.push_back(joined.root(static_cast<unsigned>(k)));
    }

    const partitioned_mesh& mesh;
    const double tolerance;
    const int me;
};

/// The clusters that reach other ranks as vertices of a graph.
struct cluster_graph {
    list<unsigned> vertex_of_slot; // of an own node; `no_node`: its cluster has no link
    list<number> keys;             // the lowest own node of each vertex
    list<link> links;
    list<component> components;
};

/// A cluster here, by the slot of its first own node, and a node of another rank in it.
struct contact {
    unsigned cluster;
    home beyond;
};

/// A contact as the other rank gets to know it.
struct announced_contact {
    unsigned slot; // of the node there
    unsigned cluster;
};

/// The contacts of this rank, whichever of the two ranks has found them: where a crowd is joined without a look at
/// distances it may be only one.
template <int Dim>
int find_contacts(MPI_Comm comm, const clusters<Dim>& parts, list<contact>& contacts) {
    outbox<announced_contact> out(0);
    int status = together(comm, [&] {
        out = outbox<announced_contact>(ranks_of(comm));
        for (std::size_t k = parts.own; k < parts.items.size(); ++k) {
            if (parts.cluster[k] >= parts.own) continue; // no own node is close
            const home where = parts.items[k].where;
            contacts.push_back({parts.cluster[k], where});
            out.add(where.rank, {where.slot, parts.cluster[k]});
        }
        return 0;
    });
    if (status) return status;
    inbox<announced_contact> came;
    if ((status = deliver(comm, out, came))) return status;
    return together(comm, [&] {
        for (std::size_t k = 0; k < came.from.size(); ++k)
            for (std::size_t i = came.starts[k]; i < came.starts[k + 1]; ++i)
                contacts.push_back(
                    {parts.cluster[came.records[i].slot], {came.from[k], came.records[i].cluster}});
        return 0;
    });
}

/// Makes vertices of the clusters with contacts and links of the contacts.
template <int Dim>
int find_links(MPI_Comm comm, const clusters<Dim>& parts, cluster_graph& graph) {
    list<contact> contacts;
    list<home> homes;
    list<unsigned> beyond;
    int status = find_contacts(comm, parts, contacts);
    if (status) return status;
    status = together(comm, [&] {
        list<unsigned>& vertex = graph.vertex_of_slot;
        vertex.assign(parts.own, no_node);
        for (const contact& c : contacts) {
            homes.push_back(c.beyond);
            if (vertex[c.cluster] != no_node) continue;
            vertex[c.cluster] = static_cast<unsigned>(graph.keys.size());
            graph.keys.push_back(parts.items[c.cluster].node);
        }
        for (std::size_t s = 0; s < parts.own; ++s) vertex[s] = vertex[parts.cluster[s]];
        beyond.resize(homes.size());
        return 0;
    });
    if (status) return status;
    star_forest nodes;
    if ((status = nodes.build(comm, parts.own, homes.data(), homes.size()))) return status;
    if ((status = nodes.spread(graph.vertex_of_slot.data(), beyond.data()))) return status;
    return together(comm, [&] {
        for (std::size_t k = 0; k < contacts.size(); ++k)
            graph.links.push_back(
                {graph.vertex_of_slot[contacts[k].cluster], {homes[k].rank, beyond[k]}, 0});
        keep_distinct(graph.links);
        return 0;
    });
}

/// Fuses some nodes among themselves: `kept[k]` becomes the position of the node that stands for node k.
int fuse(std::size_t dimension, double tolerance, const list<placed_node>& nodes,
         dense2D<unsigned>& kept) {
    dense2D<double> pos;
    if (!pos.resize(dimension, nodes.size()) || !kept.resize(1, nodes.size())) return no_memory;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        std::copy_n(nodes[k].at, dimension, pos[k]);
        kept(0, k) = static_cast<unsigned>(k);
    }
    return tessel::merge(pos, kept, tolerance, 0);
}

/// Fuses the nodes of clusters that have no link to another rank, and sends the others to the rank of their component.
template <int Dim>
int fuse_at_home(MPI_Comm comm, double tolerance, const clusters<Dim>& parts,
                 const cluster_graph& graph, list<replacement>& by, outbox<placed_node>& out) {
    out = outbox<placed_node>(ranks_of(comm));
    list<placed_node> alone;
    list<unsigned> slots;
    for (std::size_t s = 0; s < parts.own; ++s) {
        const placed_node& p = parts.items[s];
        by.push_back({p.node, p.where});
        const unsigned v = graph.vertex_of_slot[s];
        if (v != no_node) {
            out.add(graph.components[v].where.rank, p);
        } else {
            alone.push_back(p);
            slots.push_back(static_cast<unsigned>(s));
        }
    }
    dense2D<unsigned> kept;
    if (const int status = fuse(Dim, tolerance, alone, kept)) return status;
    for (std::size_t k = 0; k < alone.size(); ++k)
        by[slots[k]] = {alone[kept(0, k)].node, alone[kept(0, k)].where};
    return 0;
}

/// A replacement for the node in a slot of the rank that it is sent to.
struct told_replacement {
    unsigned slot;
    replacement by;
};

/// Fuses the nodes that have come to this rank.
int fuse_here(MPI_Comm comm, std::size_t dimension, double tolerance, list<placed_node>& nodes,
              outbox<told_replacement>& back) {
    back = outbox<told_replacement>(ranks_of(comm));
    std::sort(nodes.begin(), nodes.end(),
              [](const placed_node& a, const placed_node& b) { return a.node < b.node; });
    dense2D<unsigned> kept;
    if (const int status = fuse(dimension, tolerance, nodes, kept)) return status;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        const placed_node& by = nodes[kept(0, k)];
        back.add(nodes[k].where.rank, {nodes[k].where.slot, {by.node, by.where}});
    }
    return 0;
}

/// Finds what each own node is replaced by: `by` has one entry per slot.
template <int Dim>
int find_replacements(const partitioned_mesh& mesh, double tolerance, list<replacement>& by) {
    MPI_Comm comm = mesh.comm;
    clusters<Dim> parts(mesh, tolerance);
    int status = parts.find();
    if (status) return status;
    cluster_graph graph;
    if ((status = find_links(comm, parts, graph))) return status;
    list<unsigned char> torn;
    status = together(comm, [&] {
        torn.assign(graph.keys.size(), 0);
        return 0;
    });
    if (status) return status;
    status = find_components(comm, graph.keys, graph.links, torn, graph.components);
    if (status) return status;

    outbox<placed_node> out(0);
    inbox<placed_node> came;
    outbox<told_replacement> back(0);
    inbox<told_replacement> told;
    status = together(comm, [&] { return fuse_at_home(comm, tolerance, parts, graph, by, out); });
    if (status) return status;
    if ((status = deliver(comm, out, came))) return status;
    status = together(comm, [&] { return fuse_here(comm, Dim, tolerance, came.records, back); });
    if (status) return status;
    if ((status = deliver(comm, back, told))) return status;
    for (const told_replacement& t : told.records) by[t.slot] = t.by;
    return 0;
}

/// Elements with other corners, and the nodes that they use.
struct rewritten {
    list<number> corners, element_numbers, node_numbers;
    list<home> node_homes;
};

void rewrite(const partitioned_mesh& mesh, const list<replacement>& by, rewritten& out) {
    list<replacement> used;
    for (const unsigned e : own_entries(mesh.element_homes, rank_of(mesh.comm))) {
        out.element_numbers.push_back(mesh.element_numbers[e]);
        for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
            const unsigned local = mesh.connect(i, e);
            out.corners.push_back(local == no_node ? no_number : by[local].node);
            if (local != no_node) used.push_back(by[local]);
        }
    }
    std::sort(used.begin(), used.end(),
              [](const replacement& a, const replacement& b) { return a.node < b.node; });
    for (const replacement& r : used) {
        if (!out.node_numbers.empty() && out.node_numbers.back() == r.node) continue;
        out.node_numbers.push_back(r.node);
        out.node_homes.push_back(r.where);
    }
}

/// Where a node of a part goes when others are removed.
struct new_place {
    number node; // `no_number`: it is removed
    unsigned slot;
};

/// The own nodes' new places, by slot; returns the number of nodes that stay in all.
int find_places(const partitioned_mesh& mesh, number first_node, list<new_place>& places,
                number& left) {
    list<number> numbers, stays;
    int status = together(mesh.comm, [&] {
        const int me = rank_of(mesh.comm);
        list<bool> used(mesh.pos.cols, false);
        for (const unsigned e : own_entries(mesh.element_homes, me))
            for (std::size_t i = 0; i < mesh.connect.rows; ++i)
                if (mesh.connect(i, e) != no_node) used[mesh.connect(i, e)] = true;
        // Who is in charge of a node that has elements has one of them.
        for (const unsigned k : own_entries(mesh.node_homes, me)) {
            numbers.push_back(mesh.node_numbers[k]);
            stays.push_back(used[k] || mesh.node_numbers[k] < first_node);
        }
        places.resize(numbers.size());
        return 0;
    });
    if (status) return status;
    sums_in_front sums;
    if ((status = sum_in_front(mesh.comm, numbers, stays, mesh.nodes, sums))) return status;
    unsigned slot = 0;
    for (std::size_t s = 0; s < places.size(); ++s) {
        places[s] = {stays[s] ? sums.front[s] : no_number, slot};
        slot += stays[s] != 0;
    }
    left = sums.all;
    return 0;
}

/// Gives the nodes of a part their new places. Throws std::bad_alloc.
int move_nodes(const partitioned_mesh& mesh, const list<new_place>& places,
               partitioned_mesh& fresh) {
    loose_part loose;
    loose.rows = mesh.connect.rows;
    loose.dimension = mesh.pos.rows;
    for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
        if (places[k].node == no_number) continue;
        loose.node_numbers.push_back(places[k].node);
        loose.node_homes.push_back({mesh.node_homes[k].rank, places[k].slot});
        loose.coordinates.insert(loose.coordinates.end(), mesh.pos[k], mesh.pos[k] + mesh.pos.rows);
    }
    loose.element_numbers.assign(mesh.element_numbers.begin(), mesh.element_numbers.end());
    loose.element_homes.assign(mesh.element_homes.begin(), mesh.element_homes.end());
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
            const unsigned local = mesh.connect(i, e);
            loose.corners.push_back(local == no_node ? no_number : places[local].node);
        }
    return put_together(loose, fresh);
}

} // namespace

int merge(partitioned_mesh& mesh, double tolerance) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    MPI_Comm comm = mesh.comm;
    list<replacement> by, local;
    int status = mesh.pos.rows == 2 ? find_replacements<2>(mesh, tolerance, by)
                                    : find_replacements<3>(mesh, tolerance, by);
    if (status) return status;
    status = together(comm, [&] {
        local.resize(mesh.pos.cols);
        return 0;
    });
    if (status) return status;
    star_forest copies;
    status = copies.build(comm, by.size(), mesh.node_homes.data(), mesh.node_homes.size);
    if (status) return status;
    if ((status = copies.spread(by.data(), local.data()))) return status;

    rewritten parts;
    list<unsigned> own_nodes;
    list<number> old_numbers;
    status = together(comm, [&] {
        rewrite(mesh, local, parts);
        own_nodes = own_entries(mesh.node_homes, rank_of(comm));
        for (const unsigned k : own_nodes) old_numbers.push_back(mesh.node_numbers[k]);
        return 0;
    });
    if (status) return status;
    return settle(comm, mesh.connect.rows, parts.corners, parts.element_numbers, parts.node_numbers,
                  parts.node_homes, old_numbers, mesh.pos, own_nodes, mesh);
}

int simplify(partitioned_mesh& mesh, number first_node) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (first_node >= mesh.nodes) return 0;
    list<new_place> places, local;
    number left = 0;
    int status = find_places(mesh, first_node, places, left);
    if (status) return status;
    status = together(mesh.comm, [&] {
        local.resize(mesh.pos.cols);
        return 0;
    });
    if (status) return status;
    star_forest copies;
    status = copies.build(mesh.comm, places.size(), mesh.node_homes.data(), mesh.node_homes.size);
    if (status) return status;
    if ((status = copies.spread(places.data(), local.data()))) return status;
    partitioned_mesh fresh = mesh;
    if ((status = together(mesh.comm, [&] { return move_nodes(mesh, local, fresh); })))
        return status;
    fresh.nodes = left;
    mesh = fresh;
    return 0;
}

} // namespace zel::distributed
