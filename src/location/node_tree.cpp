// zel tessel2d: planar and surface mesh tools.
#include "location/node_tree.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zel::tessel2d {

namespace {

constexpr unsigned root_depth = 32;
constexpr unsigned leaf_capacity = 3;
constexpr unsigned first_inner = 4; // in word 0: the first column that can be a child

constexpr std::size_t ahead = 24; // nodes between the hint to the processor and their use

/// Asks for the position of the node that is `ahead` in the list. Inlined by force, for the reason
/// that `prefetch` has.
#if defined(__GNUC__)
[[gnu::always_inline]]
#endif
inline void
prefetch_ahead(const points_view<2>& pos, const unsigned* list, std::size_t i,
               std::size_t n) noexcept {
    if (n - i > ahead) prefetch(pos.first + list[i + ahead] * pos.ld);
}

/// The quadrant that leads from a cell at `depth` towards p.
unsigned quadrant(const grid_point& p, unsigned depth) noexcept {
    return ((p.y >> (depth - 1)) & 1) * 2 + ((p.x >> (depth - 1)) & 1);
}

/// Puts a node among the `words[0]` nodes of a leaf, which ascend.
void put_in_leaf(unsigned* words, unsigned node) noexcept {
    unsigned i = ++words[0];
    for (; i > 1 && words[i - 1] > node; --i) words[i] = words[i - 1];
    words[i] = node;
}

/// Puts up to three nodes in a leaf that has none. How many there are cannot be foreseen, so there is no
/// branch for it: all three are read, and those that do not count go to the end as 0xFFFFFFFF.
void put_in_empty_leaf(unsigned* words, const unsigned* nodes, unsigned count) noexcept {
    const unsigned a = nodes[0] | (0u - unsigned{count < 1});
    const unsigned b = nodes[1] | (0u - unsigned{count < 2});
    const unsigned c = nodes[2] | (0u - unsigned{count < 3});
    const unsigned low = std::min(a, b);
    const unsigned high = std::max(a, b);
    const unsigned middle = std::min(high, c);
    words[0] = count;
    words[1] = std::min(low, middle);
    words[2] = std::max(low, middle);
    words[3] = std::max(high, c);
}

// ------------------------------------------------------------------------------------ order of nodes

constexpr unsigned most_levels = 12;

/// The place of a point on the curve through 4^levels cells: the leading bits of x and y in turn. The bits
/// of both are spread at once, in the halves of one word.
std::uint32_t place_on_curve(const grid_point& p, unsigned levels) noexcept {
    if (levels == 0) return 0;
    const unsigned drop = root_depth - levels;
    std::uint64_t s = (std::uint64_t{p.y >> drop} << 32) | (p.x >> drop);
    s = (s | (s << 8)) & 0x00FF00FF00FF00FFu;
    s = (s | (s << 4)) & 0x0F0F0F0F0F0F0F0Fu;
    s = (s | (s << 2)) & 0x3333333333333333u;
    s = (s | (s << 1)) & 0x5555555555555555u;
    return static_cast<std::uint32_t>(s | (s >> 31));
}

/// The most levels that leave one node a cell.
unsigned levels_for(std::size_t nodes) noexcept {
    unsigned levels = 0;
    while (levels < most_levels && (std::size_t{4} << (2 * levels)) <= nodes) ++levels;
    return levels;
}

// ------------------------------------------------------------------------------------------ searches

/// What a search has in hand.
struct tree_search {
    const node_tree& tree;
    const node_filter& filter;
    const unsigned* cells;
    point<2> p;
    grid_point xy;
    grid_point low{0, 0}; // the part of the grid that can hold a nearer node
    grid_point high{0xFFFFFFFFu, 0xFFFFFFFFu};
    double best;
    unsigned id = no_node;
    std::size_t leaf = 0; // in which `id` was found; 0 for none, which is a root without siblings

    tree_search(const node_tree& searched, const point<2>& point, double start,
                const node_filter& usable) noexcept
        : tree(searched),
          filter(usable),
          cells(searched.cells.data()),
          p(point),
          xy(searched.grid(point)),
          best(start) {}

    const unsigned* words(std::size_t cell) const noexcept { return cells + 4 * cell; }
    bool is_leaf(std::size_t cell) const noexcept { return words(cell)[0] < first_inner; }
    bool is_vacant(std::size_t cell) const noexcept { return words(cell)[0] == 0; }

    bool scan(std::size_t cell) noexcept;
    void shrink_box() noexcept;
    bool overlaps_box(const grid_point& corner, unsigned depth) const noexcept;
};

/// A cell with its depth and its lower corner on the grid.
struct placed_cell {
    unsigned cell;
    unsigned depth;
    grid_point corner;
};

/// The cell that one reaches from the root towards `to`, at the first leaf or at `least` depth.
struct descent {
    placed_cell at;
    std::size_t parent = 0;

    descent(const tree_search& search, const grid_point& to, unsigned least) noexcept
        : at{0, root_depth, {0, 0}} {
        while (at.depth > least && !search.is_leaf(at.cell)) {
            parent = at.cell;
            at.cell = search.words(at.cell)[0] + quadrant(to, at.depth);
            --at.depth;
        }
        if (at.depth < root_depth) {
            at.corner = {to.x >> at.depth << at.depth, to.y >> at.depth << at.depth};
        }
    }
};

/// Looks for a nearer node in a leaf. Of nodes at the same distance the earlier one stays.
bool tree_search::scan(std::size_t cell) noexcept {
    const unsigned* const w = words(cell);
    bool found = false;
    for (unsigned i = 1; i <= w[0]; ++i) {
        const unsigned node = w[i];
        if (!filter.usable(node)) continue;
        const unsigned element = filter.ancestors[node];
        prefetch(filter.connect[element]);
        prefetch(filter.neighbors[element]);
        const double d = squared_length<2>(difference<2>(p, tree.pos[node]));
        if (d >= best) continue;
        best = d;
        id = node;
        found = true;
    }
    if (found) leaf = cell;
    return found;
}

/// Limits the search to the square around the point that holds the circle of the best distance.
void tree_search::shrink_box() noexcept {
    const double r = std::sqrt(best);
    low = tree.grid({p[0] - r, p[1] - r});
    high = tree.grid({p[0] + r, p[1] + r});
}

bool tree_search::overlaps_box(const grid_point& corner, unsigned depth) const noexcept {
    const auto far = [depth](std::uint32_t from) {
        const std::uint32_t to = depth == root_depth ? 0 : from + (1u << depth);
        return to == 0 ? 0xFFFFFFFFu : to;
    };
    return corner.x <= high.x && far(corner.x) >= low.x && corner.y <= high.y &&
           far(corner.y) >= low.y;
}

/// The cells that a range search has still to look at. Each level leaves at most three behind.
struct cell_stack {
    placed_cell cells[3 * root_depth + 4];
    std::size_t count = 0;

    void push(const placed_cell& c) noexcept { cells[count++] = c; }
    placed_cell pop() noexcept { return cells[--count]; }
};

/// Pushes the children that hold anything, the one on the point's side last and the opposite first.
void push_children(const tree_search& search, const placed_cell& c, cell_stack& stack) noexcept {
    const std::uint32_t half = 1u << (c.depth - 1);
    const unsigned near_x = search.xy.x >= c.corner.x + half ? 1 : 0;
    const unsigned near_y = search.xy.y >= c.corner.y + half ? 1 : 0;
    const unsigned first = search.words(c.cell)[0];
    for (unsigned turn = 4; turn-- > 0;) {
        const unsigned q = (near_y * 2 + near_x) ^ turn;
        if (search.is_vacant(first + q)) continue;
        stack.push(
            {first + q, c.depth - 1, {c.corner.x + (q & 1) * half, c.corner.y + (q >> 1) * half}});
    }
}

/// Looks for a nearer node in a part of the tree, apart from the cell `skip`: for the nearest if
/// `exhaustive`, else for the first leaf that has one. True: a node was found.
bool range_search(tree_search& search, const placed_cell& from, std::size_t skip,
                  bool exhaustive) noexcept {
    if (search.is_vacant(from.cell)) return false;
    bool found = false;
    cell_stack stack;
    stack.push(from);
    while (stack.count > 0) {
        const placed_cell c = stack.pop();
        if (c.cell == skip || !search.overlaps_box(c.corner, c.depth)) continue;
        if (!search.is_leaf(c.cell)) {
            push_children(search, c, stack);
        } else if (search.scan(c.cell)) {
            search.shrink_box();
            found = true;
            if (!exhaustive) break;
        }
    }
    return found;
}

constexpr std::size_t no_cell = 0xFFFFFFFFu; // to skip: no column has this number

/// The leaf that covers the point, from the nearest short cut.
std::size_t leaf_of_point(const tree_search& search) noexcept {
    const node_tree& tree = search.tree;
    if (tree.entries.empty()) return descent(search, search.xy, 0).at.cell;
    std::size_t cell = tree.entries[place_on_curve(search.xy, tree.entry_levels)];
    for (unsigned depth = root_depth - tree.entry_levels; !search.is_leaf(cell); --depth)
        cell = search.words(cell)[0] + quadrant(search.xy, depth);
    return cell;
}

/// The first half of both queries. False: a node was found and another one may be nearer.
bool find_first(tree_search& search) noexcept {
    if (search.scan(leaf_of_point(search))) return search.best == 0;
    const descent down(search, search.xy, 0);
    const placed_cell& leaf = down.at;
    if (leaf.depth == root_depth) return true;

    const unsigned taken = quadrant(search.xy, leaf.depth + 1);
    const std::size_t first = search.words(down.parent)[0];
    for (unsigned turn = 1; turn < 4; ++turn) {
        const unsigned q = taken ^ turn;
        const std::uint32_t side = 1u << leaf.depth;
        const placed_cell sibling{
            static_cast<unsigned>(first + q),
            leaf.depth,
            {(leaf.corner.x & ~side) + (q & 1) * side, (leaf.corner.y & ~side) + (q >> 1) * side}};
        if (range_search(search, sibling, no_cell, false)) return search.best == 0;
    }
    range_search(search, {0, root_depth, {0, 0}}, down.parent, true);
    return true;
}

/// The number of bits up to the highest one that is set.
unsigned bit_length(std::uint32_t x) noexcept {
    unsigned n = 0;
    for (; x != 0; x >>= 1) ++n;
    return n;
}

} // namespace

bool curve_order::sort(const node_grid& grid, const points_view<2>& pos,
                       const dense1D<unsigned, 8>& list) noexcept {
    const std::size_t n = list.size;
    levels = levels_for(n);
    const std::size_t cells = std::size_t{1} << (2 * levels);
    dense1D<unsigned, 8> places;
    runs.clear();
    if (!places.resize(n) || !nodes.resize(n + leaf_capacity) || !runs.resize(cells + 1, 0))
        return false;
    std::fill_n(nodes.data() + n, leaf_capacity, 0u);
    nodes.resize(n);
    const unsigned* const ids = list.data();
    unsigned* const begin = runs.data();
    unsigned* const at = places.data();
    for (std::size_t i = 0; i < n; ++i) {
        prefetch_ahead(pos, ids, i, n);
        at[i] = place_on_curve(grid(pos[ids[i]]), levels);
        prefetch(begin + at[i]); // and is counted a little later
        if (i >= ahead) ++begin[at[i - ahead]];
    }
    for (std::size_t i = n - std::min(n, ahead); i < n; ++i) ++begin[at[i]];
    unsigned sum = 0;
    for (std::size_t c = 0; c <= cells; ++c) sum += std::exchange(begin[c], sum);
    unsigned* const sorted = nodes.data();
    for (std::size_t i = 0; i < n; ++i) {
        if (n - i > 2 * ahead) prefetch(begin + at[i + 2 * ahead]);
        if (n - i > ahead) prefetch(sorted + begin[at[i + ahead]]);
        sorted[begin[at[i]]++] = ids[i];
    }
    // Each begin has moved to the end of its run, which is where the next one begins.
    std::copy_backward(begin, begin + cells, begin + cells + 1);
    begin[0] = 0;
    return true;
}

// ------------------------------------------------------------------------------------- list of nodes

/// The distinct nodes of a mesh.
struct node_tree::mesh_nodes {
    dense1D<unsigned, 8> list;  ///< in ascending order, in which their positions stand side by side
    dense1D<unsigned, 8> marks; ///< a byte per node, which is faster to set than a bit
    std::size_t bound = 0;      ///< no node has a number from here on

    enum mark : unsigned char { not_named, named, dropped };

    unsigned char* bytes() noexcept { return reinterpret_cast<unsigned char*>(marks.data()); }

    /// Makes room for the nodes of a mesh. False: memory is exhausted.
    bool reserve(const dense2D<unsigned>& connect, std::size_t columns_of_pos) noexcept {
        const std::size_t most = connect.rows * connect.cols;
        // The largest number is not worth a search where the mesh may have so many nodes.
        bound = columns_of_pos <= most ? columns_of_pos : std::size_t{max_index(connect)} + 1;
        return marks.resize(bound / sizeof(unsigned) + 1, 0) && list.resize(std::min(bound, most));
    }

    /// Lists them.
    template <class Shape>
    void collect(const dense2D<unsigned>& connect) noexcept {
        const columns<const unsigned> elements = columns_of(connect);
        unsigned char* const marked = bytes();
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned* const cell = elements[e];
            const unsigned corners = Shape::corners(cell);
            for (unsigned i = 0; i < corners; ++i) marked[cell[i]] = named;
        }
        unsigned* next = list.data();
        for (std::size_t node = 0; node < bound; ++node)
            if (marked[node] != not_named) *next++ = static_cast<unsigned>(node);
        list.resize(static_cast<std::size_t>(next - list.data()));
    }
};

// ---------------------------------------------------------------------------------------- the tree

node_tree::node_tree(const dense2D<double>& positions) noexcept
    : pos(positions), pos_cols(positions.cols) {
    clear();
    set_box({0, 0}, {1, 1});
}

void node_tree::clear() noexcept {
    node_count = 0;
    entries.clear();
    cells.clear();
    cells.resize(4, first_inner, 0);
    cell_count = cells.cols;
}

/// The square of the grid is a little larger than the box and has the same centre.
void node_tree::set_box(const point<2>& low, const point<2>& high) noexcept {
    constexpr double margin = 1.000000000001;
    constexpr double least_size = 1e-12;
    box_min = low;
    box_max = high;
    const double span = std::max(high[0] - low[0], high[1] - low[1]);
    const double size = span > 0 ? span * margin : least_size;
    for (std::size_t k = 0; k < 2; ++k) grid.origin[k] = (low[k] + high[k]) * 0.5 - size * 0.5;
    grid.scale = 4294967295.0 / size;
}

template <class Shape>
std::size_t node_tree::fill(const dense2D<unsigned>& connect) noexcept {
    if (connect.empty()) {
        clear();
        set_box({0, 0}, {1, 1});
        return 0;
    }
    mesh_nodes nodes;
    if (!nodes.reserve(connect, pos_cols)) return 0;
    nodes.collect<Shape>(connect);
    take_in(nodes);
    if (node_count < nodes.list.size) keep_first_to_come<Shape>(connect, nodes);
    return node_count;
}

template std::size_t node_tree::fill<triangle_cells>(const dense2D<unsigned>& connect) noexcept;
template std::size_t node_tree::fill<quad_cells>(const dense2D<unsigned>& connect) noexcept;
template std::size_t node_tree::fill<mixed_cells>(const dense2D<unsigned>& connect) noexcept;

/// Starts anew with the nodes of the list, and marks those that were dropped.
void node_tree::take_in(mesh_nodes& nodes) noexcept {
    clear();
    fit_box(nodes.list);
    if (cells.empty() || plant(nodes)) return;
    for (const unsigned node : nodes.list)
        if (!insert(node)) nodes.bytes()[node] = mesh_nodes::dropped;
}

/// Fills the leaves of grid cells with more than three nodes again, in the order in which the nodes first
/// appear in the mesh: the list, from which they were filled, has another order.
template <class Shape>
void node_tree::keep_first_to_come(const dense2D<unsigned>& connect, mesh_nodes& nodes) noexcept {
    unsigned char* const marks = nodes.bytes();
    for (const unsigned node : nodes.list)
        if (marks[node] == mesh_nodes::dropped) vacate_leaf_of(node, marks);
    const columns<const unsigned> elements = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned* const element = elements[e];
        const unsigned corners = Shape::corners(element);
        for (unsigned i = 0; i < corners; ++i) {
            if (marks[element[i]] != mesh_nodes::dropped) continue;
            marks[element[i]] = mesh_nodes::named;
            insert_below(0, root_depth, element[i]);
        }
    }
}

/// Drops the nodes in the grid cell of a node that was dropped itself. One that was dropped for lack of
/// memory is given up.
void node_tree::vacate_leaf_of(unsigned node, unsigned char* marks) noexcept {
    const grid_point xy = grid(pos[node]);
    unsigned* words = cells.data();
    unsigned depth = root_depth;
    while (words[0] >= first_inner)
        words = cells.data() + std::size_t{4} * (words[0] + quadrant(xy, depth--));
    if (depth > 0) {
        marks[node] = mesh_nodes::named;
        return;
    }
    for (unsigned i = 1; i <= words[0]; ++i) marks[words[i]] = mesh_nodes::dropped;
    node_count -= words[0];
    words[0] = 0;
}

/// Fits the box to the nodes. A coordinate that is not a number does not count for the box, and its
/// node is taken off the list, since no box covers it.
void node_tree::fit_box(dense1D<unsigned, 8>& nodes) noexcept {
    point<2> low{no_distance, no_distance};
    point<2> high{-no_distance, -no_distance};
    std::size_t kept = 0;
    for (std::size_t i = 0; i < nodes.size; ++i) {
        prefetch_ahead(pos, nodes.data(), i, nodes.size);
        const unsigned node = nodes[i];
        const point<2> p = pos[node];
        for (std::size_t k = 0; k < 2; ++k) {
            if (p[k] < low[k]) low[k] = p[k];
            if (p[k] > high[k]) high[k] = p[k];
        }
        nodes[kept] = node;
        if (!std::isnan(p[0]) && !std::isnan(p[1])) ++kept;
    }
    nodes.resize(kept);
    set_box(low, high);
}

/// Builds a tree at once from nodes in the order of the curve, in which each cell holds one run.
struct node_tree::planting {
    /// A run of nodes that is too long for the leaf it falls to.
    struct crowd {
        std::size_t cell;
        const unsigned* first;
        std::size_t count;
    };

    node_tree& tree;
    const curve_order& order;
    unsigned char* marks;

    // Crowds wait a little for the positions of their nodes.
    static constexpr std::size_t room = 8;
    crowd waiting[room] = {};
    std::size_t crowds = 0;

    void plant(std::size_t cell, unsigned level, std::size_t place) noexcept;
    void plant_more(const crowd& run, unsigned level, std::size_t place) noexcept;
    void put_off(const crowd& run) noexcept;
    void settle(const crowd& run) noexcept;
    void settle_all() noexcept;
};

/// Plants the cell at `level` below the root that begins at a place on the curve.
inline void node_tree::planting::plant(std::size_t cell, unsigned level,
                                       std::size_t place) noexcept {
    const std::size_t places = std::size_t{1} << (2 * (order.levels - level));
    const unsigned begin = order.runs[place];
    const unsigned count = order.runs[place + places] - begin;
    const unsigned* const first = order.nodes.data() + begin;
    if (count > leaf_capacity) {
        plant_more({cell, first, count}, level, place);
        return;
    }
    put_in_empty_leaf(tree.cells.data() + 4 * cell, first, count);
    tree.node_count += count;
    unsigned* const entry = tree.entries.data() + place;
    for (std::size_t i = 0; i < places; ++i) entry[i] = static_cast<unsigned>(cell);
}

/// The same for a cell that holds more nodes than a leaf can.
void node_tree::planting::plant_more(const crowd& run, unsigned level, std::size_t place) noexcept {
    const std::size_t places = std::size_t{1} << (2 * (order.levels - level));
    if (level < order.levels && tree.add_children(run.cell)) {
        const std::size_t child = tree.cells.data()[4 * run.cell];
        for (std::size_t q = 0; q < 4; ++q) plant(child + q, level + 1, place + q * (places / 4));
        return;
    }
    std::fill_n(tree.entries.data() + place, places, static_cast<unsigned>(run.cell));
    if (level == order.levels) {
        put_off(run);
        return;
    }
    // Memory for children has run out. The cell stays a leaf, since short cuts lead past children that
    // it may get later, and what does not fit is dropped.
    put_in_empty_leaf(tree.cells.data() + 4 * run.cell, run.first, leaf_capacity);
    tree.node_count += leaf_capacity;
    for (std::size_t i = leaf_capacity; i < run.count; ++i)
        marks[run.first[i]] = mesh_nodes::dropped;
}

void node_tree::planting::put_off(const crowd& run) noexcept {
    constexpr std::size_t most = 8; // a place has seldom more
    for (std::size_t i = 0; i < std::min(run.count, most); ++i)
        prefetch(tree.pos.first + run.first[i] * tree.pos.ld);
    crowd& place = waiting[crowds++ % room];
    if (crowds > room) settle(place);
    place = run;
}

void node_tree::planting::settle_all() noexcept {
    for (std::size_t i = 0; i < std::min(crowds, room); ++i) settle(waiting[i]);
}

void node_tree::planting::settle(const crowd& run) noexcept {
    for (std::size_t i = 0; i < run.count; ++i)
        if (!tree.insert_below(run.cell, root_depth - order.levels, run.first[i]))
            marks[run.first[i]] = mesh_nodes::dropped;
}

/// Builds the tree at once. False: memory is exhausted and the tree is empty.
bool node_tree::plant(mesh_nodes& nodes) noexcept {
    curve_order order;
    if (!order.sort(grid, pos, nodes.list)) return false;
    entries = order.runs; // each place is overwritten when its run has been read
    entry_levels = order.levels;
    const std::size_t n = nodes.list.size;
    const std::size_t usual = n + n / 4; // seldom more, and what is not used costs nothing
    cells.resize(4, std::max(usual, cells.cols));
    planting p{*this, order, nodes.bytes()};
    p.plant(0, 0, 0);
    p.settle_all();
    return true;
}

bool node_tree::insert(unsigned node) noexcept {
    entries.clear(); // a leaf that they lead to may become an inner cell
    return covers(pos[node]) && !cells.empty() && insert_below(0, root_depth, node);
}

bool node_tree::insert_below(std::size_t cell, unsigned depth, unsigned node) noexcept {
    unsigned* words = cells.data() + 4 * cell;
    if (words[0] >= leaf_capacity) {
        const grid_point xy = grid(pos[node]);
        do {
            if (words[0] == leaf_capacity && !split(cell, depth)) return false;
            cell = cells.data()[4 * cell] + quadrant(xy, depth--);
            words = cells.data() + 4 * cell;
        } while (words[0] >= leaf_capacity);
    }
    put_in_leaf(words, node);
    ++node_count;
    return true;
}

/// Makes a cell an inner one with four empty children. False: memory is exhausted.
bool node_tree::add_children(std::size_t cell) noexcept {
    const std::size_t first = cell_count;
    const std::size_t after = first + 4;
    if (after > no_node) return false;
    if (after > cells.cols && !cells.resize(4, std::max<std::size_t>(2 * cells.cols, 8)))
        return false;
    unsigned* const words = cells.data();
    for (std::size_t child = first; child < after; ++child) words[4 * child] = 0;
    words[4 * cell] = static_cast<unsigned>(first);
    cell_count = after;
    return true;
}

/// Hands the three nodes of a leaf to four new children. False: they lie in one grid cell, or memory
/// is exhausted.
bool node_tree::split(std::size_t cell, unsigned depth) noexcept {
    if (depth == 0 || !add_children(cell)) return false;
    const unsigned* const words = cells.data() + 4 * cell;
    for (unsigned i = 1; i <= leaf_capacity; ++i) {
        const unsigned q = quadrant(grid(pos[words[i]]), depth);
        put_in_leaf(cells.data() + std::size_t{4} * (words[0] + q), words[i]);
    }
    return true;
}

unsigned node_tree::find_close(const point<2>& p, double& best,
                               const node_filter& filter) const noexcept {
    if (node_count == 0 || !covers(p)) return no_node;
    tree_search search(*this, p, best, filter);
    find_first(search);
    best = search.best;
    return search.id;
}

unsigned node_tree::find_closest(const point<2>& p, double& best,
                                 const node_filter& filter) const noexcept {
    if (node_count == 0 || !covers(p)) return no_node;
    tree_search search(*this, p, best, filter);
    if (!find_first(search)) {
        search.shrink_box();
        const unsigned bits =
            bit_length((search.low.x ^ search.high.x) | (search.low.y ^ search.high.y));
        const descent down(search, search.low, std::max(bits, 1u));
        range_search(search, down.at, search.leaf, true);
    }
    best = search.best;
    return search.id;
}

} // namespace zel::tessel2d
