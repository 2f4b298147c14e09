// SPDX-License-Identifier: Apache-2.0
// Fuses the nodes that coincide, in linear time and mostly inside the cache.
//
// 1. Space is cut into cells that are large against the tolerance. A node that is nowhere near a border
//   coincides with nodes of its own cell only. The others, a few in a hundred, belong to all cells
//   within reach.
// 2. The nodes are put into buckets of a few thousand by the hash of their cell. In each bucket the nodes
//   that share their cell with another are picked out. In a mesh hardly any do, and all other nodes are
//   kept without further work.
// 3. A small group of nodes that have one and the same cell to themselves is fused at once. Nodes of
//   groups that are large, or that reach into other cells, are marked.
// 4. The marked nodes are looked up in ascending order in one hash table of the kept ones. If this takes
//   more comparisons than 16 a node, the cells are too crowded, and step 4 is repeated with cells of two
//   to four tolerances: kept nodes are at least a tolerance apart, so that a bounded number of them fits
//   into such a cell.
//
// Invariant: a node is fused with the lowest kept node before it that is closer than the tolerance,
// so that the result does not depend on the cells.
#include "tessel/merge.h"

#include "foundation/call_frame.h"
#include "tessel/cell_grid.h"
#include "zel/tessel.h"

namespace zel::tessel {

using namespace tessel2d;

namespace {

// mutation: speed only
constexpr int coarse = -6; // a tolerance is 2^-7 to 2^-6 cells: few nodes are near a border
constexpr int fine = -1;

#if defined(__GNUC__)
/// Prefetches memory that is written a little later; see `prefetch`.
[[gnu::always_inline]] inline void prefetch_to_write(const void* memory) noexcept {
    __builtin_prefetch(memory, 1);
}
#else
inline void prefetch_to_write(const void*) noexcept {}
#endif

/// The replacement of each node, `no_node` while it is marked.
struct fusion_result {
    unsigned* stands_for;
    std::size_t fused = 0;
    std::size_t marked = 0;

    void fuse(unsigned node, unsigned kept) noexcept {
        stands_for[node] = kept;
        ++fused;
    }
    void mark(unsigned node) noexcept {
        marked += stands_for[node] != no_node;
        stands_for[node] = no_node;
    }
};

template <int Dim>
bool has_nan(const double* p) noexcept {
    bool found = false;
    for (std::size_t i = 0; i < Dim; ++i) found |= p[i] != p[i];
    return found;
}

// ----------------------------------------------------------------------------------------- buckets

/// Keys are 31 bits of hash and a lowest bit that is 1 for nodes with several cells.
constexpr unsigned several_cells = 1;

unsigned key_of(std::uint64_t hash) noexcept {
    return static_cast<unsigned>(hash >> 33) << 1;
}

/// The entries, key and node, of all buckets. A bucket is a chain of chunks, so that its entries
/// need not be counted first; they are in ascending order of the nodes.
struct node_buckets {
    // mutation: speed only
    static constexpr unsigned most_bits = 11;
    // mutation: speed only
    static constexpr std::size_t aim = 8192; // entries in a bucket
    // mutation: speed only
    static constexpr std::size_t chunk = 256; // entries

    unsigned bits = 0;
    dense1D<unsigned, 8> entries;   ///< key, node, key, node, ...
    dense1D<unsigned, 8> following; ///< for each chunk the next one of its bucket
    std::size_t chunks = 1;         ///< in use; chunk 0 takes what is lost when memory is exhausted
    unsigned first[std::size_t{1} << most_bits] = {};  ///< for each bucket its first chunk
    std::size_t end[std::size_t{1} << most_bits] = {}; ///< and the place behind its last entry

    explicit node_buckets(std::size_t nodes) noexcept {
        while (bits < most_bits && nodes >> bits > aim) ++bits;
    }
    std::size_t count() const noexcept { return std::size_t{1} << bits; }
    std::size_t bucket(unsigned key) const noexcept { return std::uint64_t{key} << bits >> 32; }

    bool make_room(std::size_t most_chunks) noexcept {
        return entries.resize(2 * chunk * most_chunks) && following.resize(most_chunks);
    }
    /// A new chunk for a bucket whose last one is full. Returns false if memory is exhausted.
    bool open_chunk(std::size_t b) noexcept {
        if (chunks >= following.size && !make_room(2 * chunks)) {
            end[b] = 0;
            return false;
        }
        if (end[b] == 0) {
            first[b] = static_cast<unsigned>(chunks);
        } else {
            following[end[b] / chunk - 1] = static_cast<unsigned>(chunks);
        }
        end[b] = chunk * chunks++;
        return true;
    }
    /// Calls visit(entries, count) for the parts of a bucket.
    template <class Visit>
    void each_part(std::size_t b, Visit visit) const noexcept {
        if (end[b] == 0) return;
        const std::size_t last = (end[b] - 1) / chunk;
        for (std::size_t c = first[b]; c != last; c = following[c])
            visit(entries.data() + 2 * chunk * c, chunk);
        visit(entries.data() + 2 * chunk * last, end[b] - chunk * last);
    }
    std::size_t size(std::size_t b) const noexcept {
        std::size_t sum = 0;
        each_part(b, [&](const unsigned*, std::size_t count) { sum += count; });
        return sum;
    }
};

/// Puts entries into buckets.
struct bucket_writer {
    node_buckets& buckets;
    unsigned* entries;
    bool complete = true; ///< false: memory is exhausted and entries are lost

    explicit bucket_writer(node_buckets& to) noexcept : buckets(to), entries(to.entries.data()) {}

    void put(unsigned key, std::size_t node) noexcept {
        const std::size_t b = buckets.bucket(key);
        if (buckets.end[b] % node_buckets::chunk == 0) {
            complete = buckets.open_chunk(b) && complete;
            entries = buckets.entries.data();
        }
        const std::size_t at = 2 * buckets.end[b]++;
        entries[at] = key;
        entries[at + 1] = static_cast<unsigned>(node);
    }
    template <int Dim>
    void put_in_all(const cells_around<Dim>& cells, std::size_t node) noexcept {
        const unsigned flag = cells.several ? several_cells : 0;
        cells.each([&](std::uint64_t hash) { put(key_of(hash) | flag, node); });
    }
};

/// Puts the nodes into buckets, those with a NaN into none. Returns false if memory is exhausted.
template <int Dim>
bool fill_buckets(const dense2D<double>& pos, const cell_grid& grid,
                  node_buckets& buckets) noexcept {
    // A few in a hundred nodes have several cells.
    if (!buckets.make_room(pos.cols / 15 * 16 / node_buckets::chunk + buckets.count() + 2))
        return false;
    const double distance = grid.reach / 2; // of two nodes that coincide each goes half the way
    const columns<const double> points = columns_of(pos);
    inner_cells<Dim> cells(grid, distance);
    bucket_writer writer(buckets);
    for (std::size_t begin = 0; begin < pos.cols; begin += cells.most) {
        const std::size_t count = std::min(cells.most, pos.cols - begin);
        cells.look_at(points, begin, count);
        for (std::size_t k = 0; k < count; ++k) {
            const double* const p = points[begin + k];
            if (std::uint64_t hash; cells.hash_of(k, hash)) {
                writer.put(key_of(hash), begin + k);
            } else if (!has_nan<Dim>(p)) {
                writer.put_in_all(cells_around<Dim>(grid, p, distance), begin + k);
            }
        }
    }
    return writer.complete;
}

// ------------------------------------------------------------------------------------------ groups

/// The power of two, as an exponent, that is not below `wanted`, but `most` at the most.
unsigned power_of_two(std::size_t wanted, unsigned most) noexcept {
    unsigned bits = 4;
    while (bits < most && std::size_t{1} << bits < wanted) ++bits;
    return bits;
}

/// Room for the work on one bucket.
struct bucket_scratch {
    static constexpr std::size_t most_entries = 1U << 16; // of larger buckets all nodes are marked

    dense1D<unsigned, 8> memory;
    unsigned char* company; // 16 for each entry
    unsigned* table;        // 4 for each entry: the group's first member plus one
    unsigned* key;          // the members: entries that seem to have company
    unsigned* node;
    unsigned* next; // the next member of the group plus one
    unsigned* last; // of the group, at its first member
    unsigned* size;
    unsigned* groups; // first members of groups of two and more

    bool make(std::size_t entries) noexcept {
        if (!memory.resize(14 * entries + 64)) return false;
        unsigned* words = memory.data();
        company = reinterpret_cast<unsigned char*>(words);
        words += 4 * entries + 4;
        table = words;
        words += 4 * entries + 16;
        for (unsigned** const list : {&key, &node, &next, &last, &size, &groups}) {
            *list = words;
            words += entries;
        }
        return true;
    }
};

/// Picks out the entries of a bucket that share a slot with another, a superset of those that share
/// a cell.
std::size_t pick_members(const node_buckets& buckets, std::size_t b, std::size_t count,
                         bucket_scratch& scratch) noexcept {
    const unsigned bits = power_of_two(8 * count, 31 - buckets.bits);
    unsigned char* const company = scratch.company;
    // mutation (1 -> 2): clears more of the scratch memory, which is written before it is read
    std::fill_n(company, std::size_t{1} << bits, static_cast<unsigned char>(0));
    const auto slot = [bits, skip = buckets.bits](unsigned key) {
        return key << skip >> (32 - bits);
    };
    buckets.each_part(b, [&](const unsigned* entries, std::size_t part) {
        for (std::size_t k = 0; k < part; ++k) {
            unsigned char& seen = company[slot(entries[2 * k])];
            // 1: alone; above 1: shared, and stays so
            seen = static_cast<unsigned char>(seen << 1 | 1);
        }
    });
    std::size_t members = 0;
    buckets.each_part(b, [&](const unsigned* entries, std::size_t part) {
        for (std::size_t k = 0; k < part; ++k) {
            scratch.key[members] = entries[2 * k];
            scratch.node[members] = entries[2 * k + 1];
            members += company[slot(entries[2 * k])] > 1;
        }
    });
    return members;
}

/// Links the members with equal hashes; returns the number of groups of two and more.
std::size_t link_groups(std::size_t members, bucket_scratch& scratch) noexcept {
    const unsigned bits = power_of_two(2 * members, 30);
    const unsigned mask = (1U << bits) - 1;
    std::fill_n(scratch.table, std::size_t{1} << bits, 0U);
    std::size_t groups = 0;
    for (std::size_t m = 0; m < members; ++m) {
        const auto member = static_cast<unsigned>(m);
        const unsigned hash = scratch.key[m] >> 1;
        scratch.next[m] = 0;
        for (unsigned at = hash & mask;; at = (at + 1) & mask) {
            const unsigned head = scratch.table[at];
            if (head == 0) {
                scratch.table[at] = member + 1;
                scratch.last[m] = member;
                scratch.size[m] = 1;
                break;
            }
            const unsigned first = head - 1;
            if (scratch.key[first] >> 1 != hash) continue;
            scratch.next[scratch.last[first]] = member + 1;
            scratch.last[first] = member;
            scratch.key[first] |= scratch.key[m] & several_cells; // the group reaches out
            if (++scratch.size[first] == 2) scratch.groups[groups++] = first;
            break;
        }
    }
    return groups;
}

/// Fuses a group that has its cell to itself: each member with the first kept one before it that
/// coincides.
template <int Dim>
void fuse_group(unsigned first, columns<const double> points, const closeness<Dim>& close,
                bucket_scratch& scratch, fusion_result& result) noexcept {
    unsigned last_kept = first;
    scratch.last[first] = no_node; // from here on the next kept member
    for (unsigned m = scratch.next[first]; m != 0; m = scratch.next[m - 1]) {
        const unsigned node = scratch.node[m - 1];
        unsigned kept = first;
        while (kept != no_node && !close(points[node], points[scratch.node[kept]]))
            kept = scratch.last[kept];
        if (kept != no_node) {
            result.fuse(node, scratch.node[kept]);
        } else {
            scratch.last[last_kept] = m - 1;
            scratch.last[m - 1] = no_node;
            last_kept = m - 1;
        }
    }
}

template <int Dim>
void fuse_groups(std::size_t groups, columns<const double> points, const closeness<Dim>& close,
                 bucket_scratch& scratch, fusion_result& result) noexcept {
    // mutation: speed only
    constexpr unsigned small = 16;
    constexpr std::size_t ahead = 8;
    for (std::size_t g = 0; g < groups; ++g) {
        if (g + ahead < groups) {
            const unsigned soon = scratch.groups[g + ahead];
            const unsigned second = scratch.node[scratch.next[soon] - 1];
            for (const double* const p : {points[scratch.node[soon]], points[second]}) {
                prefetch(p);
                prefetch(p + (Dim - 1)); // may lie in the next line
            }
            prefetch_to_write(result.stands_for + second);
        }
        const unsigned first = scratch.groups[g];
        if (scratch.size[first] <= small && (scratch.key[first] & several_cells) == 0) {
            fuse_group<Dim>(first, points, close, scratch, result);
        } else {
            for (unsigned m = first + 1; m != 0; m = scratch.next[m - 1])
                result.mark(scratch.node[m - 1]);
        }
    }
}

/// Fuses what can be fused bucket by bucket and marks the rest. Returns false if memory is
/// exhausted.
template <int Dim>
bool fuse_in_buckets(const dense2D<double>& pos, const cell_grid& grid,
                     fusion_result& result) noexcept {
    node_buckets buckets(pos.cols);
    if (!fill_buckets<Dim>(pos, grid, buckets)) return false;
    for (std::size_t i = 0; i < pos.cols; ++i) result.stands_for[i] = static_cast<unsigned>(i);

    std::size_t largest = 0;
    for (std::size_t b = 0; b < buckets.count(); ++b) {
        const std::size_t count = buckets.size(b);
        if (count <= bucket_scratch::most_entries) largest = std::max(largest, count);
    }
    bucket_scratch scratch;
    if (!scratch.make(largest)) return false;
    const closeness<Dim> close(grid);
    for (std::size_t b = 0; b < buckets.count(); ++b) {
        const std::size_t count = buckets.size(b);
        if (count > bucket_scratch::most_entries) {
            buckets.each_part(b, [&](const unsigned* entries, std::size_t part) {
                for (std::size_t k = 0; k < part; ++k) result.mark(entries[2 * k + 1]);
            });
        } else if (count > 1) {
            const std::size_t members = pick_members(buckets, b, count, scratch);
            const std::size_t groups = link_groups(members, scratch);
            fuse_groups<Dim>(groups, columns_of(pos), close, scratch, result);
        }
    }
    return true;
}

// ------------------------------------------------------------------------------------- marked nodes

/// The kept nodes by the hash of their cell: open addressing. An entry is the lower half of the hash
/// and the node's number plus one, in two words.
struct kept_table {
    dense1D<unsigned, 8> words;
    unsigned shift = 0;
    std::size_t mask = 0;

    bool make(std::size_t nodes) noexcept {
        const unsigned bits = power_of_two(2 * nodes, 40);
        shift = 64 - bits;
        mask = (std::size_t{1} << bits) - 1;
        return words.resize(2 * (mask + 1), 0U);
    }
    void clear() noexcept { std::fill(words.begin(), words.end(), 0U); }
    std::size_t place(std::uint64_t hash) const noexcept { return hash >> shift; }
    void insert(std::uint64_t hash, unsigned node) noexcept {
        std::size_t at = place(hash);
        while (words[2 * at + 1] != 0) at = (at + 1) & mask;
        words[2 * at] = static_cast<unsigned>(hash);
        words[2 * at + 1] = node + 1;
    }
};

/// One walk over the marked nodes.
template <int Dim>
struct marked_walk {
    columns<const double> points;
    const dense1D<unsigned, 8>& nodes;
    kept_table& table;
    fusion_result& result;

    /// The lowest kept node that coincides with p, or `no_node`. Counts the nodes looked at.
    unsigned find(const cells_around<Dim>& cells, const double* p, const closeness<Dim>& close,
                  std::size_t& comparisons) const noexcept {
        unsigned lowest = no_node;
        const unsigned* const words = table.words.data();
        cells.each([&](std::uint64_t hash) {
            for (std::size_t at = table.place(hash);; at = (at + 1) & table.mask) {
                if (words[2 * at + 1] == 0) break;
                ++comparisons;
                if (words[2 * at] != static_cast<unsigned>(hash)) continue;
                const unsigned node = words[2 * at + 1] - 1;
                if (node < lowest && close(p, points[node])) lowest = node;
            }
        });
        return lowest;
    }

    /// Returns false, with all nodes marked again, if more than `most` nodes were compared.
    bool run(const cell_grid& grid, std::size_t most) const noexcept {
        constexpr std::size_t block = 64;
        const closeness<Dim> close(grid);
        const std::size_t fused_before = result.fused;
        std::uint64_t home[block];
        std::size_t comparisons = 0;
        for (std::size_t begin = 0; begin < nodes.size; begin += block) {
            const std::size_t end = std::min(begin + block, nodes.size);
            for (std::size_t c = begin; c < end; ++c) {
                home[c - begin] = cells_around<Dim>(grid, points[nodes[c]], 0).first();
                prefetch(table.words.data() + 2 * table.place(home[c - begin]));
            }
            for (std::size_t c = begin; c < end; ++c) {
                const unsigned node = nodes[c];
                const double* const p = points[node];
                const unsigned kept =
                    find(cells_around<Dim>(grid, p, grid.reach), p, close, comparisons);
                if (kept != no_node) {
                    result.fuse(node, kept);
                } else {
                    result.stands_for[node] = node;
                    table.insert(home[c - begin], node);
                }
            }
            if (comparisons > most) {
                result.fused = fused_before;
                return false;
            }
        }
        return true;
    }
};

/// Fuses the marked nodes (step 4). Returns false if memory is exhausted.
template <int Dim>
bool fuse_marked(const dense2D<double>& pos, const cell_grid& grid, double tolerance,
                 fusion_result& result) noexcept {
    dense1D<unsigned, 8> nodes;
    kept_table table;
    if (!nodes.resize(result.marked) || !table.make(result.marked)) return false;
    std::size_t found = 0;
    for (std::size_t i = 0; i < pos.cols; ++i)
        if (result.stands_for[i] == no_node) nodes[found++] = static_cast<unsigned>(i);
    const marked_walk<Dim> walk{columns_of(pos), nodes, table, result};
    if (walk.run(grid, 16 * nodes.size)) return true;
    table.clear();
    walk.run(cell_grid(tolerance, fine), std::numeric_limits<std::size_t>::max());
    return true;
}

template <int Dim>
bool find_fusions(const dense2D<double>& pos, double tolerance, fusion_result& result) noexcept {
    const cell_grid grid(tolerance, coarse);
    return fuse_in_buckets<Dim>(pos, grid, result) &&
           (result.marked == 0 || fuse_marked<Dim>(pos, grid, tolerance, result));
}

} // namespace

bool find_coincident(const dense2D<double>& pos, double tolerance, dense1D<unsigned, 8>& stands_for,
                     std::size_t& fused) noexcept {
    fusion_result result{stands_for.data()};
    if (!(pos.rows == 2 ? find_fusions<2>(pos, tolerance, result)
                        : find_fusions<3>(pos, tolerance, result))) {
        return false;
    }
    fused = result.fused;
    return true;
}

void replace_entries(dense2D<unsigned>& connect, const dense1D<unsigned, 8>& stands_for) noexcept {
    const unsigned* const nodes = stands_for.data();
    const std::size_t count = stands_for.size;
    const bool flat = connect.contiguous();
    const std::size_t runs = flat ? 1 : connect.cols;
    const std::size_t length = flat ? connect.rows * connect.cols : connect.rows;
    for (std::size_t r = 0; r < runs; ++r) {
        unsigned* const entries = connect[r];
        for (std::size_t k = 0; k < length; ++k)
            if (entries[k] < count) entries[k] = nodes[entries[k]];
    }
}

int merge(const dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
          double tolerance, unsigned) {
    if (pos.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    dense1D<unsigned, 8> stands_for;
    if (pos.cols > most_nodes || !stands_for.resize(pos.cols)) return status_memory;
    std::size_t fused;
    if (!find_coincident(pos, tolerance, stands_for, fused)) return status_memory;
    if (fused != 0) {
        for (dense2D<unsigned>* connect = first; connect != last; ++connect)
            replace_entries(*connect, stands_for);
    }
    return status_ok;
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connect, double tolerance, unsigned flag) {
    return merge(pos, &connect, &connect + 1, tolerance, flag);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connect, dense2D<unsigned>& connect2,
          double tolerance, unsigned flag) {
    dense2D<unsigned> both[2] = {connect, connect2}; // share storage with the arguments
    return merge(pos, both, both + 2, tolerance, flag);
}

} // namespace zel::tessel
