// SPDX-License-Identifier: Apache-2.0
// Connected components by hooking and shortcuts (Y. Zhang, A. Azad, Z. Hu, "FastSV: A distributed-memory
// connected component algorithm with fast convergence", SIAM PP 2020), with parities.
//
//   1. Each vertex has a parent, at first itself; keys of parents are never above those of their children.
//   2. In each step a vertex looks at the grandparents of its neighbours. The lowest one becomes the parent of the
//      vertex and of its parent, if it lies below what they have.
//   3. A vertex takes its own grandparent as parent, if that lies below.
//   4. When nothing changes any more on any rank, all vertices of a component have the one of lowest key as
//      parent.
//
// Invariant: the parity of a vertex against its parent is that of a path of links between the two, so that it is
// right wherever all paths agree. Where they do not, some link contradicts the parities in the end, whatever these
// are.
#include "distributed/components.h"

#include "distributed/exchange.h"

#include <algorithm>
#include <tuple>

namespace zel::distributed {

namespace {

/// A vertex as a parent: the key says which one is lower.
struct parent {
    number key;
    home where;
    unsigned odd; // of the child against it

    bool below(const parent& other) const { return key < other.key; }
    parent seen_across(unsigned link_odd) const { return {key, where, odd ^ link_odd}; }
};

/// A parent for the vertex in a slot of the rank that it is sent to.
struct hook {
    unsigned slot;
    parent to;
};

class hooking {
public:
    hooking(MPI_Comm over, const list<link>& of) : comm(over), links(of) {}

    int start(const list<number>& keys) {
        const int me = rank_of(comm);
        list<home> ends;
        const int status = together(comm, [&] {
            for (std::size_t v = 0; v < keys.size(); ++v)
                parents.push_back({keys[v], {me, static_cast<unsigned>(v)}, 0});
            grandparents = parents;
            lowest = parents;
            across.resize(links.size());
            for (const link& l : links) ends.push_back(l.to);
            return 0;
        });
        return status ? status : far_ends.build(comm, keys.size(), ends.data(), ends.size());
    }

    /// One step; `changed` is the same on all ranks.
    int step(bool& changed) {
        int status = find_grandparents();
        if (status) return status;
        if ((status = far_ends.spread(grandparents.data(), across.data()))) return status;
        outbox<hook> hooks(0);
        status = together(comm, [&] {
            look_across();
            hooks = outbox<hook>(ranks_of(comm));
            for (std::size_t v = 0; v < parents.size(); ++v)
                if (lowest[v].below(grandparents[v]))
                    hooks.add(parents[v].where.rank,
                              {parents[v].where.slot, lowest[v].seen_across(parents[v].odd)});
            return 0;
        });
        if (status) return status;
        inbox<hook> came;
        if ((status = deliver(comm, hooks, came))) return status;
        int mine = 0, any = 0;
        for (std::size_t v = 0; v < parents.size(); ++v) {
            mine |= lower(v, lowest[v]);
            mine |= lower(v, grandparents[v]);
        }
        for (const hook& h : came.records) mine |= lower(h.slot, h.to);
        const int code = MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, comm);
        changed = any != 0;
        return agree(comm, code == MPI_SUCCESS ? 0 : engine_failed);
    }

    /// Once nothing changes: whether a component contradicts itself.
    int finish(const list<unsigned char>& torn, list<component>& components) {
        int status = far_ends.spread(parents.data(), across.data());
        if (status) return status;
        list<unsigned> flags, torn_at_root;
        outbox<unsigned> roots(0);
        list<home> homes;
        status = together(comm, [&] {
            flags.assign(torn.begin(), torn.end());
            for (std::size_t k = 0; k < links.size(); ++k)
                flags[links[k].from] |= parents[links[k].from].odd ^ links[k].odd ^ across[k].odd;
            roots = outbox<unsigned>(ranks_of(comm));
            for (std::size_t v = 0; v < parents.size(); ++v) {
                homes.push_back(parents[v].where);
                if (flags[v]) roots.add(homes[v].rank, homes[v].slot);
            }
            torn_at_root.assign(parents.size(), 0);
            components.resize(parents.size());
            return 0;
        });
        if (status) return status;
        inbox<unsigned> came;
        if ((status = deliver(comm, roots, came))) return status;
        for (const unsigned v : came.records) torn_at_root[v] = 1;
        star_forest to_roots;
        if ((status = to_roots.build(comm, parents.size(), homes.data(), homes.size())))
            return status;
        if ((status = to_roots.spread(torn_at_root.data(), flags.data()))) return status;
        for (std::size_t v = 0; v < parents.size(); ++v)
            components[v] = {parents[v].key, parents[v].where, parents[v].odd, flags[v]};
        return 0;
    }

private:
    int find_grandparents() {
        list<home> homes;
        int status = together(comm, [&] {
            for (const parent& p : parents) homes.push_back(p.where);
            return 0;
        });
        if (status) return status;
        star_forest to_parents;
        if ((status = to_parents.build(comm, parents.size(), homes.data(), homes.size())))
            return status;
        if ((status = to_parents.spread(parents.data(), grandparents.data()))) return status;
        for (std::size_t v = 0; v < parents.size(); ++v) grandparents[v].odd ^= parents[v].odd;
        return 0;
    }

    /// Leaves in `lowest` the lowest grandparent of a neighbour, or else what is the parent.
    void look_across() {
        lowest = parents;
        for (std::size_t k = 0; k < links.size(); ++k) {
            const parent p = across[k].seen_across(links[k].odd);
            if (p.below(lowest[links[k].from])) lowest[links[k].from] = p;
        }
    }

    int lower(std::size_t v, const parent& to) {
        if (!to.below(parents[v])) return 0;
        parents[v] = to;
        return 1;
    }

    MPI_Comm comm;
    const list<link>& links;
    star_forest far_ends;
    list<parent> parents, grandparents, lowest,
        across; // `across`: what is at the far end of each link
};

} // namespace

void keep_distinct(list<link>& links) {
    const auto key = [](const link& l) { return std::tuple(l.from, l.to.rank, l.to.slot, l.odd); };
    std::sort(links.begin(), links.end(),
              [&](const link& a, const link& b) { return key(a) < key(b); });
    links.erase(std::unique(links.begin(), links.end(),
                            [&](const link& a, const link& b) { return key(a) == key(b); }),
                links.end());
}

int find_components(MPI_Comm comm, const list<number>& keys, const list<link>& links,
                    const list<unsigned char>& torn, list<component>& components) {
    hooking graph(comm, links);
    if (const int status = graph.start(keys)) return status;
    for (bool changed = true; changed;)
        if (const int status = graph.step(changed)) return status;
    return graph.finish(torn, components);
}

} // namespace zel::distributed
