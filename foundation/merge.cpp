// zel tessel2d: planar and surface mesh tools.
#include "foundation/merge.h"

#include "foundation/call_frame.h"
#include "foundation/cell_grid.h"
#include "foundation/tessel.h"

// How coincident nodes are found in linear time, and mostly inside the cache:
//
// 1. Space is cut into cells that are large against the tolerance. A node that is nowhere near a border
//    coincides with nodes of its own cell only. The others, a few in a hundred, belong to all cells
//    within reach.
// 2. The nodes are sorted into buckets of a few thousand by the hash of their cell. In a bucket those
//    are picked out that share their cell with another. In a mesh hardly any do, and the rest costs no
//    more than this.
// 3. A small group of nodes that have one and the same cell to themselves is fused on the spot. Nodes
//    of groups that are large, or that reach into other cells, are marked.
// 4. The marked nodes are looked up in ascending order in one hash table of those that are kept. When
//    the comparisons run ahead of the nodes, the cells are too crowded, and all is done again with
//    cells of two to four tolerances: kept nodes are at least a tolerance apart, so that only so many
//    fit into such a cell.
//
// What is found does not depend on the cells.

namespace zel::tessel {

using namespace tessel2d;

namespace {

constexpr int coarse = -6; // a tolerance is 2^-7 to 2^-6 cells: few nodes are near a border
constexpr int fine = -1;

/// What is to be told: for each node the number that stands for it, `no_node` for a marked one.
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

/// Keys are 31 bits of hash and a lowest bit that tells nodes with several cells. These two stand for
/// nodes in the list of keys that go nowhere, or not only to one place.
constexpr unsigned several_cells = 1;
constexpr unsigned no_cell = 3;

unsigned key_of(std::uint64_t hash) noexcept {
    return static_cast<unsigned>(hash >> 33) << 1;
}

/// The entries of all buckets behind one another, in ascending order of the nodes within a bucket.
struct node_buckets {
    static constexpr unsigned most_bits = 11;
    static constexpr std::size_t aim = 8192; // entries

    unsigned bits = 0;
    std::size_t begin[(std::size_t{1} << most_bits) + 1] = {};
    dense1D<unsigned, 8> entries; // key, node, key, node, ...

    explicit node_buckets(std::size_t nodes) noexcept {
        while (bits < most_bits && nodes >> bits > aim) ++bits;
    }
    std::size_t count() const noexcept { return std::size_t{1} << bits; }
    std::size_t bucket(unsigned key) const noexcept { return std::uint64_t{key} << bits >> 32; }
    std::size_t size(std::size_t b) const noexcept { return begin[b + 1] - begin[b]; }
};

/// Writes the key of each node to `keys` and counts the entries of bucket b in `begin[b + 1]`.
template <int Dim>
void count_entries(columns<const double> points, const cell_grid& grid, double distance,
                   std::size_t node_count, unsigned* keys, node_buckets& buckets) noexcept {
    for (std::size_t i = 0; i < node_count; ++i) {
        const double* const p = points[i];
        const cells_around<Dim> cells(grid, p, distance);
        if (has_nan<Dim>(p)) {
            keys[i] = no_cell;
        } else if (cells.several) {
            keys[i] = several_cells;
            cells.each(
                [&](std::uint64_t hash) { ++buckets.begin[buckets.bucket(key_of(hash)) + 1]; });
        } else {
            keys[i] = key_of(cells.first());
            ++buckets.begin[buckets.bucket(keys[i]) + 1];
        }
    }
}

/// Writes the entries to their buckets; `begin` is right again afterwards.
template <int Dim>
void place_entries(columns<const double> points, const cell_grid& grid, double distance,
                   std::size_t node_count, const unsigned* keys, node_buckets& buckets) noexcept {
    unsigned* const entries = buckets.entries.data();
    const auto put = [&](unsigned key, std::size_t node) {
        const std::size_t at = 2 * buckets.begin[buckets.bucket(key)]++;
        entries[at] = key;
        entries[at + 1] = static_cast<unsigned>(node);
    };
    for (std::size_t i = 0; i < node_count; ++i) {
        const unsigned key = keys[i];
        if ((key & 1U) == 0) {
            put(key, i);
        } else if (key == several_cells) {
            const cells_around<Dim> cells(grid, points[i], distance);
            cells.each([&](std::uint64_t hash) { put(key_of(hash) | several_cells, i); });
        }
    }
    for (std::size_t b = buckets.count(); b > 0; --b) buckets.begin[b] = buckets.begin[b - 1];
    buckets.begin[0] = 0;
}

/// Sorts the nodes into buckets; `keys` is scratch. False: memory is exhausted.
template <int Dim>
bool fill_buckets(const dense2D<double>& pos, const cell_grid& grid, unsigned* keys,
                  node_buckets& buckets) noexcept {
    const double distance = grid.reach / 2; // of two nodes that coincide each goes half the way
    const columns<const double> points = columns_of(pos);
    count_entries<Dim>(points, grid, distance, pos.cols, keys, buckets);
    for (std::size_t b = 0; b < buckets.count(); ++b) buckets.begin[b + 1] += buckets.begin[b];
    if (!buckets.entries.resize(2 * buckets.begin[buckets.count()])) return false;
    place_entries<Dim>(points, grid, distance, pos.cols, keys, buckets);
    return true;
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

/// Picks the entries out that share a slot with another, a superset of those that share a cell.
std::size_t pick_members(const unsigned* entries, std::size_t count, unsigned bucket_bits,
                         bucket_scratch& scratch) noexcept {
    const unsigned bits = power_of_two(8 * count, 31 - bucket_bits);
    unsigned char* const company = scratch.company;
    std::fill_n(company, std::size_t{1} << bits, static_cast<unsigned char>(0));
    const auto slot = [&](std::size_t k) { return entries[2 * k] << bucket_bits >> (32 - bits); };
    for (std::size_t k = 0; k < count; ++k) {
        unsigned char& seen = company[slot(k)];
        seen = static_cast<unsigned char>(seen << 1 | 1); // 1 is alone, more is company for good
    }
    std::size_t members = 0;
    for (std::size_t k = 0; k < count; ++k) {
        scratch.key[members] = entries[2 * k];
        scratch.node[members] = entries[2 * k + 1];
        members += company[slot(k)] > 1;
    }
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

/// Fuses a group that has its cell to itself: each member with the first kept one before it.
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
    constexpr unsigned small = 16;
    constexpr std::size_t ahead = 8;
    for (std::size_t g = 0; g < groups; ++g) {
        if (g + ahead < groups) {
            const unsigned soon = scratch.groups[g + ahead];
            prefetch(points[scratch.node[soon]]);
            prefetch(points[scratch.node[scratch.next[soon] - 1]]);
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

/// Fuses what can be fused bucket by bucket and marks the rest. False: memory is exhausted.
template <int Dim>
bool fuse_in_buckets(const dense2D<double>& pos, const cell_grid& grid,
                     fusion_result& result) noexcept {
    node_buckets buckets(pos.cols);
    if (!fill_buckets<Dim>(pos, grid, result.stands_for, buckets)) return false;
    for (std::size_t i = 0; i < pos.cols; ++i) result.stands_for[i] = static_cast<unsigned>(i);

    std::size_t largest = 0;
    for (std::size_t b = 0; b < buckets.count(); ++b)
        if (buckets.size(b) <= bucket_scratch::most_entries)
            largest = std::max(largest, buckets.size(b));
    bucket_scratch scratch;
    if (!scratch.make(largest)) return false;
    const closeness<Dim> close(grid);
    for (std::size_t b = 0; b < buckets.count(); ++b) {
        const std::size_t count = buckets.size(b);
        const unsigned* const entries = buckets.entries.data() + 2 * buckets.begin[b];
        if (count > bucket_scratch::most_entries) {
            for (std::size_t k = 0; k < count; ++k) result.mark(entries[2 * k + 1]);
        } else if (count > 1) {
            const std::size_t members = pick_members(entries, count, buckets.bits, scratch);
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

    /// False when more than `most` nodes were looked at. Then all nodes are marked again.
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

/// False: memory is exhausted.
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
