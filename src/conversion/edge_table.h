// SPDX-License-Identifier: Apache-2.0
// Looks up the number of the first node on an edge, for order conversion.
#pragma once

// 1. A bucket of one cache line has room for five edges. There is one bucket for each node, so that a mesh
//    whose elements follow its nodes walks through the table from front to back.
// 2. An edge stands in the bucket of its lower node; where that is full, in the bucket of its higher node.
//    Six edges meet in a usual node of a triangulation, and each is in one bucket, so that few buckets
//    overflow; all edges of a node of high degree but five stand in the buckets at their other ends.
// 3. Where both are full, which takes two nodes of high degree side by side, the edge goes to a trie over a
//    bijective hash: four branches a level, at most 32 levels.
//
// Edges are never removed. So an edge that is not in the bucket of its lower node while that has a free
// place is not in the table at all, and the same holds for the next place where it could be.
//
// Whatever the numbers of the nodes are, a look-up takes at most two buckets and 33 places of the
// trie: no numbering, not even an adversarial one, makes the cost of an edge more than a constant.
//
// Where a mesh uses few of the nodes there are (positions of a large mesh, elements of a part of it), there
// are fewer buckets than nodes, and a multiplicative hash of the node chooses one.
#include "foundation/call_frame.h"
#include "zel/hbuckets.h"

#include <algorithm>

namespace zel::tessel2d {

/// What a table holds of an edge that was looked up.
struct edge_entry {
    unsigned* first; ///< number of its first node; null: it is not there, memory is exhausted
    bool against;    ///< the edge was looked up against the direction in which it was put there
    bool fresh;      ///< it has been put there just now
};

/// Edges for which the buckets had no room. A place of the trie holds one edge; the path to it
/// follows the bits of its hash from the top, two at each level. Distinct edges have distinct
/// hashes.
class edge_trie {
public:
    edge_entry insert(const elfes::edge2& edge, unsigned first) noexcept {
        unsigned* const link = walk(edge);
        const bool fresh = *link == no_node;
        if (fresh && !append(edge, first)) return {nullptr, false, false};
        place& found = places.data()[fresh ? places.size - 1 : *link];
        return {&found.first, found.edge.a != edge.a, fresh};
    }
    edge_entry find(const elfes::edge2& edge) noexcept {
        const unsigned* const link = walk(edge);
        if (*link == no_node) return {nullptr, false, false};
        place& found = places.data()[*link];
        return {&found.first, found.edge.a != edge.a, false};
    }

private:
    struct place {
        elfes::edge2 edge{};
        unsigned first = no_node;
        unsigned next[4] = {no_node, no_node, no_node, no_node};
    };

    /// The finalizer of MurmurHash3, a bijection, of the two node numbers in ascending order.
    static std::uint64_t hash(const elfes::edge2& edge) noexcept {
        std::uint64_t h = std::uint64_t{std::min(edge.a, edge.b)} << 32 | std::max(edge.a, edge.b);
        h = (h ^ h >> 33) * 0xFF51AFD7ED558CCDU;
        h = (h ^ h >> 33) * 0xC4CEB9FE1A85EC53U;
        return h ^ h >> 33;
    }
    /// The link to the place of the edge, or the empty link at which to append it.
    unsigned* walk(const elfes::edge2& edge) noexcept {
        unsigned* link = &root;
        for (std::uint64_t h = hash(edge); *link != no_node; h <<= 2) {
            place& at = places.data()[*link];
            if (at.edge == edge) break;
            link = &at.next[h >> 62];
        }
        return link;
    }
    bool append(const elfes::edge2& edge, unsigned first) noexcept {
        const std::size_t index = places.size;
        if (index >= no_node || !places.reserve(index + 1, 2)) return false;
        *walk(edge) = static_cast<unsigned>(index); // anew, since the places may have moved
        places.resize(index + 1);
        places.data()[index] = place{edge, first};
        return true;
    }

    dense1D<place, 8> places;
    unsigned root = no_node;
};

/// From an edge to the number of its first node.
class edge_table {
public:
    /// Makes the buckets for meshes of `nodes` nodes, whose numbers are below that, with up to `edges`
    /// distinct edges. Without memory for them all edges go to the trie.
    edge_table(std::size_t nodes, std::size_t edges) noexcept {
        const std::size_t most = edges / 2 + 2; // 2.5 places for each edge
        if (nodes > most) {
            unsigned bits = 1;
            while (std::size_t{2} << bits <= most) ++bits;
            factor = 0x9E3779B97F4A7C15U; // 2^64 divided by the golden ratio
            shift = 64 - bits;
            nodes = std::size_t{1} << bits;
        }
        if (list.resize(nodes)) buckets = list.data();
    }

    /// Looks the edge up and puts it there with the number `first` unless it was there.
    [[gnu::always_inline]] edge_entry insert(const elfes::edge2& edge, unsigned first) noexcept {
        if (!buckets) return overflow.insert(edge, first);
        bucket& at = buckets[home(std::min(edge.a, edge.b))];
        const unsigned i = at.find(edge);
        return i < bucket::room ? at.put(i, edge, first) : insert_elsewhere(edge, first);
    }

    /// Looks the edge up.
    edge_entry find(const elfes::edge2& edge) noexcept {
        if (!buckets) return overflow.find(edge);
        for (const unsigned node : {std::min(edge.a, edge.b), std::max(edge.a, edge.b)}) {
            bucket& at = buckets[home(node)];
            const unsigned i = at.find(edge);
            if (i < bucket::room) return at.get(i, edge);
        }
        return overflow.find(edge);
    }

    /// Prefetches the bucket in which the edge is likely to be.
    [[gnu::always_inline]] void prefetch_bucket(const elfes::edge2& edge) const noexcept {
        if (buckets) prefetch(buckets + home(std::min(edge.a, edge.b)));
    }

private:
    /// 64 bytes. The places are filled in order.
    struct bucket {
        static constexpr unsigned room = 5;

        std::uint64_t keys[room] = {};
        unsigned first[room] = {};
        std::uint16_t filled = 0;
        /// Bit i: edge i was put there in the direction from high to low.
        std::uint16_t downward = 0;

        /// Inverted, so that no edge has the key 0 of a free place: 0xFFFFFFFF is no node.
        static std::uint64_t key_of(const elfes::edge2& edge) noexcept {
            return ~(std::uint64_t{std::min(edge.a, edge.b)} << 32 | std::max(edge.a, edge.b));
        }
        /// The place of an edge or the first free one, or `room`. Branch-free, since where an edge stands
        /// cannot be predicted in a mesh without order.
        unsigned find(const elfes::edge2& edge) const noexcept {
            const std::uint64_t key = key_of(edge);
            unsigned at = filled;
            at = keys[4] == key ? 4 : at;
            at = keys[3] == key ? 3 : at;
            at = keys[2] == key ? 2 : at;
            at = keys[1] == key ? 1 : at;
            return keys[0] == key ? 0 : at;
        }
        /// Branch-free too: whether an edge is met for the first time cannot be predicted either.
        edge_entry put(unsigned i, const elfes::edge2& edge, unsigned number) noexcept {
            const bool fresh = i == filled;
            keys[i] = key_of(edge);
            first[i] = fresh ? number : first[i];
            filled = static_cast<std::uint16_t>(filled + fresh);
            downward = static_cast<std::uint16_t>(downward | (fresh & (edge.a > edge.b)) << i);
            return {first + i, runs_against(i, edge), fresh};
        }
        edge_entry get(unsigned i, const elfes::edge2& edge) noexcept {
            if (i == filled) return {nullptr, false, false};
            return {first + i, runs_against(i, edge), false};
        }

    private:
        bool runs_against(unsigned i, const elfes::edge2& edge) const noexcept {
            return ((downward >> i & 1) != 0) != (edge.a > edge.b);
        }
    };
    static_assert(sizeof(bucket) == 64);

    /// The bucket of the lower node is full of other edges.
    edge_entry insert_elsewhere(const elfes::edge2& edge, unsigned first) noexcept {
        bucket& at = buckets[home(std::max(edge.a, edge.b))];
        const unsigned i = at.find(edge);
        return i < bucket::room ? at.put(i, edge, first) : overflow.insert(edge, first);
    }

    std::size_t home(unsigned node) const noexcept { return node * factor >> shift; }

    dense1D<bucket, 8> list;
    bucket* buckets = nullptr;
    std::uint64_t factor = 1;
    unsigned shift = 0;
    edge_trie overflow;
};

} // namespace zel::tessel2d
