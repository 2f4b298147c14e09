// SPDX-License-Identifier: Apache-2.0
// Builds the node tree of a mesh.
//
// 1. The nodes of the mesh are listed once each, in ascending order (`mesh_nodes`), and the box is fitted.
// 2. They are sorted along a Z curve, on which each cell of the tree is one run (`curve_order`).
// 3. Cells are planted from the root down: a run of up to three nodes is a leaf, a longer one an inner
//    cell; what is left in one cell of the finest grid goes in node by node (`planting`).
// 4. Where more than three nodes share a grid cell, those that the mesh names first are kept.
//
// Without memory for the sorted list each node is inserted from the root. Both ways lead to the same cells,
// since the cells depend on the nodes alone.
#include "location/node_tree.h"

#include "location/lookahead.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// Puts a node among the `words[0]` nodes of a leaf, which ascend.
void put_in_leaf(unsigned* words, unsigned node) noexcept {
    unsigned i = ++words[0];
    for (; i > 1 && words[i - 1] > node; --i) words[i] = words[i - 1];
    words[i] = node;
}

/// Puts up to three nodes in a leaf that has none. Branch-free, since their count cannot be predicted: all
/// three are read, and those that do not count go to the end as 0xFFFFFFFF.
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

} // namespace

// ------------------------------------------------------------------------------------- list of nodes

/// The distinct nodes of a mesh.
struct node_tree::mesh_nodes {
    dense1D<unsigned, 8> list;  ///< in ascending order, in which their positions stand side by side
    dense1D<unsigned, 8> marks; ///< a byte per node, which is faster to set than a bit
    std::size_t bound = 0;      ///< no node has a number from here on

    enum mark : unsigned char { not_named, named, dropped };

    unsigned char* bytes() noexcept { return reinterpret_cast<unsigned char*>(marks.data()); }

    /// Makes room for the nodes of a mesh. Returns false if memory is exhausted.
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

/// Fits the box to the nodes. A NaN does not count for the box, and its node is taken off the list, since
/// no box covers it.
void node_tree::fit_box(dense1D<unsigned, 8>& nodes) noexcept {
    point<2> low{no_distance, no_distance};
    point<2> high{-no_distance, -no_distance};
    std::size_t kept = 0;
    const unsigned* const list = nodes.data();
    for_each_with_lookahead(
        nodes.size, [&](std::size_t i) { return pos.first + list[i] * pos.ld; },
        [&](std::size_t i) {
            const unsigned node = list[i];
            const point<2> p = pos[node];
            for (std::size_t k = 0; k < 2; ++k) {
                if (p[k] < low[k]) low[k] = p[k];
                if (p[k] > high[k]) high[k] = p[k];
            }
            nodes[kept] = node;
            if (!std::isnan(p[0]) && !std::isnan(p[1])) ++kept;
        });
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

/// Builds the tree at once. Returns false, with the tree empty, if memory is exhausted.
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

/// Makes a cell an inner one with four empty children. Returns false if memory is exhausted.
bool node_tree::add_children(std::size_t cell) noexcept {
    const std::size_t first = cell_count;
    const std::size_t after = first + 4;
    // mutation: a tree of so many cells takes 64 GB
    if (after > no_node) return false;
    // mutation (8 -> 7, 8 -> 9, 2 -> 3): speed only
    if (after > cells.cols && !cells.resize(4, std::max<std::size_t>(2 * cells.cols, 8)))
        return false;
    unsigned* const words = cells.data();
    for (std::size_t child = first; child < after; ++child) words[4 * child] = 0;
    words[4 * cell] = static_cast<unsigned>(first);
    cell_count = after;
    return true;
}

/// Hands the three nodes of a leaf to four new children. Returns false if they lie in one grid cell
/// or memory is exhausted.
bool node_tree::split(std::size_t cell, unsigned depth) noexcept {
    if (depth == 0 || !add_children(cell)) return false;
    const unsigned* const words = cells.data() + 4 * cell;
    for (unsigned i = 1; i <= leaf_capacity; ++i) {
        const unsigned q = quadrant(grid(pos[words[i]]), depth);
        put_in_leaf(cells.data() + std::size_t{4} * (words[0] + q), words[i]);
    }
    return true;
}

} // namespace zel::tessel2d
