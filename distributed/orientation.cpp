// SPDX-License-Identifier: Apache-2.0
// One orientation for a surface in parts.
//
//   1. On each rank the own elements that hang together through own elements form a piece, by union-find with
//      parities: whether an element is unlike the first of its piece.
//   2. The edges across which pieces of two ranks are neighbours link them; the components of that graph are those
//      of the mesh. A piece's key is its lowest element behind the seed, so that the lowest key of a component is
//      the element whose orientation holds.
//   3. An element is turned if it is unlike that one.
#include "zel/distributed/orientation.h"

#include "distributed/components.h"
#include "distributed/part.h"

#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "zel/host/adjacency.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace zel::distributed {

namespace {

/// Keys of pieces that lie in front of the seed as a whole: their lowest element with this bit.
constexpr number in_front = number{1} << 63;

/// Sets of elements with the parity of each against the root of its set.
class parity_sets {
public:
    explicit parity_sets(std::size_t n) : parent(n), odd(n, 0), torn(n, 0) {
        std::iota(parent.begin(), parent.end(), 0U);
    }
    unsigned root(unsigned e) {
        while (parent[e] != e) {
            odd[e] ^= odd[parent[e]]; // of a root it is 0
            e = parent[e] = parent[parent[e]];
        }
        return e;
    }
    /// Of an element against the root of its set, once `root` is known to be its parent.
    unsigned parity(unsigned e) {
        unsigned sum = 0;
        for (; parent[e] != e; e = parent[e]) sum ^= odd[e];
        return sum;
    }
    void join(unsigned e, unsigned f, unsigned unlike) {
        const unsigned at_e = root(e), at_f = root(f); // which leaves short paths
        unlike ^= parity(e) ^ parity(f);
        e = at_e;
        f = at_f;
        if (e == f) {
            if (unlike) torn[e] = 1;
            return;
        }
        const unsigned high = std::max(e, f), low = std::min(e, f);
        parent[high] = low;
        odd[high] = static_cast<unsigned char>(unlike);
        torn[low] |= torn[high];
    }
    bool is_torn(unsigned root) const { return torn[root] != 0; }

private:
    list<unsigned> parent;
    list<unsigned char> odd; // against the parent
    list<unsigned char> torn;
};

unsigned corners_of(const dense2D<unsigned>& connect, std::size_t e) {
    return connect.rows == 3 || connect(3, e) == no_node ? 3 : 4;
}

/// 1 if the neighbour runs along the edge (a, b) as well, 0 if from b to a.
unsigned same_direction(const unsigned* cell, unsigned corners, const elfes::edge2& edge) {
    for (unsigned k = 0; k < corners; ++k) {
        const auto ends = tessel2d::edge_nodes(cell, corners, k);
        if (ends.a == edge.b && ends.b == edge.a) return 0;
    }
    return 1;
}

/// Returns true if the first corners that are a and b are not beside one another.
bool looks_absent(const unsigned* cell, unsigned corners, const elfes::edge2& edge) {
    const unsigned i = tessel2d::local_node_index(edge.a, cell, corners);
    const unsigned j = tessel2d::local_node_index(edge.b, cell, corners);
    return (i + 1) % corners != j && (j + 1) % corners != i;
}

/// An edge from an own element to one of another rank.
struct crossing {
    unsigned slot;
    home beyond;
    unsigned unlike;
};

/// What is known of the own elements without the other ranks.
struct pieces {
    list<unsigned> piece;     // of the element in each slot
    list<unsigned> odd;       // of that element against the one that is the key
    list<number> keys;        // of each piece
    list<unsigned char> torn; // of each piece
    list<number> conflicts;   // of each piece
    list<crossing> crossings;
};

/// Visits the neighbours of the own elements: visit(slot, neighbour, how the edge lies in it).
template <class Visit>
void for_each_neighbor(const partitioned_mesh& mesh, const list<unsigned>& own,
                       const dense2D<unsigned>& neighbors, Visit&& visit) {
    for (std::size_t s = 0; s < own.size(); ++s) {
        const unsigned corners = corners_of(mesh.connect, own[s]);
        for (unsigned k = 0; k < corners; ++k) {
            const unsigned f = neighbors(k, own[s]);
            if (f == no_node) continue;
            const auto edge = tessel2d::edge_nodes(mesh.connect[own[s]], corners, k);
            const unsigned there = corners_of(mesh.connect, f);
            visit(static_cast<unsigned>(s), f, same_direction(mesh.connect[f], there, edge),
                  looks_absent(mesh.connect[f], there, edge));
        }
    }
}

/// Gives the pieces numbers and keys.
void number_pieces(const partitioned_mesh& mesh, const list<unsigned>& own, number seed,
                   parity_sets& sets, pieces& out) {
    list<unsigned> of_root(own.size(), no_node), key_odd;
    for (std::size_t s = 0; s < own.size(); ++s) {
        const auto slot = static_cast<unsigned>(s);
        const unsigned root = sets.root(slot);
        const number e = mesh.element_numbers[own[s]];
        const number key = e < seed ? e | in_front : e;
        unsigned& piece = of_root[root];
        if (piece == no_node) {
            piece = static_cast<unsigned>(out.keys.size());
            out.keys.push_back(key);
            key_odd.push_back(sets.parity(slot));
            out.torn.push_back(sets.is_torn(root));
        } else if (key < out.keys[piece]) {
            out.keys[piece] = key;
            key_odd[piece] = sets.parity(slot);
        }
        out.piece.push_back(piece);
        out.odd.push_back(sets.parity(slot));
    }
    for (std::size_t s = 0; s < own.size(); ++s) out.odd[s] ^= key_odd[out.piece[s]];
}

int find_pieces(const partitioned_mesh& wide, const list<unsigned>& own, number seed, pieces& out) {
    host::adjacency beside;
    if (const int status = host::build_adjacency(wide.connect, wide.pos.cols, beside))
        return status == no_memory ? no_memory : -1;
    const int me = rank_of(wide.comm);
    parity_sets sets(own.size());
    list<number> conflicts(own.size(), 0);
    for_each_neighbor(wide, own, beside.neighbors,
                      [&](unsigned slot, unsigned f, unsigned unlike, bool absent) {
                          const home beyond = wide.element_homes[f];
                          conflicts[slot] += absent;
                          if (beyond.rank != me)
                              out.crossings.push_back({slot, beyond, unlike});
                          else if (beyond.slot < slot)
                              sets.join(slot, beyond.slot, unlike);
                      });
    number_pieces(wide, own, seed, sets, out);
    out.conflicts.assign(out.keys.size(), 0);
    for (std::size_t s = 0; s < own.size(); ++s) out.conflicts[out.piece[s]] += conflicts[s];
    return 0;
}

/// What the rank beyond a crossing has to know of an element.
struct member {
    unsigned piece;
    unsigned odd;
};

/// The links between pieces, each once.
int find_links(MPI_Comm comm, const pieces& mine, list<link>& links) {
    list<member> here, beyond;
    list<home> homes;
    int status = together(comm, [&] {
        for (std::size_t s = 0; s < mine.piece.size(); ++s)
            here.push_back({mine.piece[s], mine.odd[s]});
        for (const crossing& c : mine.crossings) homes.push_back(c.beyond);
        beyond.resize(homes.size());
        return 0;
    });
    if (status) return status;
    star_forest elements;
    if ((status = elements.build(comm, here.size(), homes.data(), homes.size()))) return status;
    if ((status = elements.spread(here.data(), beyond.data()))) return status;
    return together(comm, [&] {
        for (std::size_t k = 0; k < mine.crossings.size(); ++k) {
            const crossing& c = mine.crossings[k];
            links.push_back({mine.piece[c.slot],
                             {c.beyond.rank, beyond[k].piece},
                             c.unlike ^ mine.odd[c.slot] ^ beyond[k].odd});
        }
        keep_distinct(links);
        return 0;
    });
}

bool is_reached(const component& c, number seed, bool all_components) {
    return all_components ? (c.key & in_front) == 0 : c.key == seed;
}

/// Turns the marked elements of a part over, in a new matrix.
int turn_marked(partitioned_mesh& mesh, const list<unsigned char>& marked) {
    dense2D<unsigned> fresh;
    if (!fresh.resize(mesh.connect.rows, mesh.connect.cols)) return no_memory;
    for (std::size_t e = 0; e < fresh.cols; ++e) {
        std::copy_n(std::as_const(mesh.connect)[e], fresh.rows, fresh[e]);
        tessel2d::turn_over(fresh[e], marked[e]);
    }
    mesh.connect.swap(fresh);
    return 0;
}

} // namespace

int mesh_reorient(partitioned_mesh& mesh, number seed, bool all_components, reorientation& result) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    MPI_Comm comm = mesh.comm;
    if (mesh.elements == 0) {
        result = {};
        return 0;
    }
    if (mesh.connect.rows != 3 && mesh.connect.rows != 4) return -1;
    if (seed >= mesh.elements) return -2;
    const int me = rank_of(comm);
    partitioned_mesh wide;
    int status = with_halo(mesh, 1, wide);
    if (status) return status;

    pieces mine;
    list<link> links;
    list<component> components;
    status = together(
        comm, [&] { return find_pieces(wide, own_entries(wide.element_homes, me), seed, mine); });
    if (status) return status;
    if ((status = find_links(comm, mine, links))) return status;
    if ((status = find_components(comm, mine.keys, links, mine.torn, components))) return status;

    list<unsigned char> turns, marked;
    number sums[3] = {0, 0, 0}, all[3] = {0, 0, 0};
    status = together(comm, [&] {
        for (std::size_t p = 0; p < components.size(); ++p) {
            const component& c = components[p];
            if (!is_reached(c, seed, all_components)) continue;
            sums[1] += c.torn != 0 && c.where.rank == me && c.where.slot == p;
            sums[2] += mine.conflicts[p];
        }
        for (std::size_t s = 0; s < mine.piece.size(); ++s) {
            const component& c = components[mine.piece[s]];
            const bool turn =
                is_reached(c, seed, all_components) && !c.torn && (c.odd ^ mine.odd[s]);
            turns.push_back(turn);
            sums[0] += turn;
        }
        marked.resize(mesh.connect.cols);
        return 0;
    });
    if (status) return status;
    const int code = MPI_Allreduce(sums, all, 3, MPI_UINT64_T, MPI_SUM, comm);
    if ((status = agree(comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
    star_forest copies;
    status = copies.build(comm, turns.size(), mesh.element_homes.data(), mesh.element_homes.size);
    if (status) return status;
    if ((status = copies.spread(turns.data(), marked.data()))) return status;
    partitioned_mesh fresh = mesh;
    if ((status = together(comm, [&] { return turn_marked(fresh, marked); }))) return status;
    mesh = fresh;
    result = {all[0], all[1], all[2]};
    return 0;
}

} // namespace zel::distributed
