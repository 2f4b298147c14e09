// SPDX-License-Identifier: Apache-2.0
// Queries of the node tree: a usable node near a point, and the nearest one.
#pragma once

// `find_close` scans the leaf of the point, then looks into its three siblings until one has a usable
// node, then searches the whole tree. `find_closest` goes on from that node: a depth-first search of the
// smallest cell that covers the square around the circle of the best distance, with the child on the
// point's side first.
//
// `best` only goes down, and only a smaller distance takes its place. So a cell of which no node can be
// nearer than `best` may be passed over at any time, and the order of the visits alone decides which of
// several nodes at one distance is returned.
#include "location/node_tree.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zel::tessel2d {

/// A cell with its depth and its lower corner on the grid.
struct placed_cell {
    unsigned cell;
    unsigned depth;
    grid_point corner;
};

/// A cell that a range search has still to look at.
struct waiting_cell {
    placed_cell at;
    double square; ///< no node in it is nearer
};

/// Each level leaves at most three cells behind, and the last writes four.
struct cell_stack {
    waiting_cell cells[3 * root_depth + 5];
    std::size_t count = 0;

    /// Pushes a cell if it is to be kept.
    void write(const waiting_cell& c, bool kept) noexcept {
        cells[count] = c;
        count += kept ? 1 : 0;
    }
    waiting_cell pop() noexcept { return cells[--count]; }
};

/// A search for one point.
template <class Filter>
struct tree_search {
    static constexpr std::size_t no_cell = 0xFFFFFFFFu; // no column has this number

    const node_tree& tree;
    const Filter& filter;
    const unsigned* cells;
    point<2> p;
    grid_point xy;
    grid_point low{0, 0}; // the part of the grid that can hold a nearer node
    grid_point high{0xFFFFFFFFu, 0xFFFFFFFFu};
    double unit; // length of a grid cell
    double best;
    unsigned id = no_node;
    std::size_t leaf = 0; // in which `id` was found; 0 for none, which is a root without siblings

    tree_search(const node_tree& searched, const point<2>& at, double start,
                const Filter& usable) noexcept
        : tree(searched),
          filter(usable),
          cells(searched.cells.data()),
          p(at),
          xy(searched.grid(at)),
          unit(1 / searched.grid.scale),
          best(start) {}

    const unsigned* words(std::size_t cell) const noexcept { return cells + 4 * cell; }
    bool is_leaf(std::size_t cell) const noexcept { return words(cell)[0] < first_inner; }
    bool is_vacant(std::size_t cell) const noexcept { return words(cell)[0] == 0; }

    bool find_first() noexcept;
    void find_nearer() noexcept;

private:
    struct descent;

    double square_to(unsigned node) const noexcept {
        return squared_length<2>(difference<2>(p, tree.pos[node]));
    }
    bool take_if_nearer(unsigned node, std::size_t cell) noexcept;
    bool scan_own_leaf(std::size_t cell) noexcept;
    bool scan(std::size_t cell) noexcept;
    std::size_t leaf_of_point() const noexcept;
    bool range_search(const placed_cell& from, std::size_t skip, bool exhaustive) noexcept;
    void push_children(const placed_cell& c, cell_stack& stack) const noexcept;
    void shrink_box() noexcept;
    double square_of_way(double ahead, double count) const noexcept;
};

/// The cell that one reaches from the root towards `to`, at the first leaf or at `least` depth.
template <class Filter>
struct tree_search<Filter>::descent {
    placed_cell at{0, root_depth, {0, 0}};
    std::size_t parent = 0;

    descent(const tree_search& search, const grid_point& to, unsigned least) noexcept {
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

/// Looks for a nearer node in the leaf of the point. Of nodes at the same distance the earlier one stays.
/// The filter is asked first: it may prefetch what is needed next.
template <class Filter>
bool tree_search<Filter>::scan_own_leaf(std::size_t cell) noexcept {
    const unsigned* const w = words(cell);
    bool nearer = false;
    for (unsigned i = 1; i <= w[0]; ++i)
        if (filter.usable(w[i]) && take_if_nearer(w[i], cell)) nearer = true;
    return nearer;
}

/// The same in another leaf, where few nodes are nearer: only those are shown to the filter.
template <class Filter>
bool tree_search<Filter>::scan(std::size_t cell) noexcept {
    const unsigned* const w = words(cell);
    bool nearer = false;
    for (unsigned i = 1; i <= w[0]; ++i)
        if (!(square_to(w[i]) >= best) && filter.usable(w[i]) && take_if_nearer(w[i], cell))
            nearer = true;
    return nearer;
}

template <class Filter>
bool tree_search<Filter>::take_if_nearer(unsigned node, std::size_t cell) noexcept {
    const double square = square_to(node);
    if (square >= best) return false;
    best = square;
    id = node;
    leaf = cell;
    return true;
}

/// Limits the search to the square around the point that holds the circle of the best distance.
template <class Filter>
void tree_search<Filter>::shrink_box() noexcept {
    const double r = std::sqrt(best);
    low = tree.grid({p[0] - r, p[1] - r});
    high = tree.grid({p[0] + r, p[1] + r});
}

/// The square of the way from the point to a run of `count` cells of the grid that begins so many cells ahead,
/// along one axis. The sum over both axes is not above the squared distance of any node there, as `scan` computes it.
///
/// A coordinate on the grid is rounded by less than 2^-18 of a grid cell. So the way, less one whole grid
/// cell, is not above the difference of the coordinates, and rounding a smaller difference, its square and
/// the sum gives no larger result. Where the scale overflows the squares are zero or NaN, which rules
/// nothing out.
template <class Filter>
double tree_search<Filter>::square_of_way(double ahead, double count) const noexcept {
    const double below = ahead - 2;
    const double above = -ahead - count - 1;
    const double way = std::max({0.0, below, above}) * unit;
    return way * way;
}

/// Pushes the children that hold anything and may hold a nearer node, the one on the point's side last and
/// the opposite first. Which these are cannot be predicted, so each is written and then kept or not.
template <class Filter>
void tree_search<Filter>::push_children(const placed_cell& c, cell_stack& stack) const noexcept {
    const std::uint32_t half = 1u << (c.depth - 1);
    const grid_point middle{c.corner.x + half, c.corner.y + half};
    const double count = half;
    const double ahead_x = static_cast<double>(c.corner.x) - xy.x;
    const double ahead_y = static_cast<double>(c.corner.y) - xy.y;
    const double along_x[2] = {square_of_way(ahead_x, count),
                               square_of_way(ahead_x + count, count)};
    const double along_y[2] = {square_of_way(ahead_y, count),
                               square_of_way(ahead_y + count, count)};
    const unsigned near = (xy.y >= middle.y ? 2u : 0u) + (xy.x >= middle.x ? 1u : 0u);
    const unsigned first = words(c.cell)[0];
    for (unsigned turn = 4; turn-- > 0;) {
        const unsigned q = near ^ turn;
        const double square = along_x[q & 1] + along_y[q >> 1];
        const grid_point corner{c.corner.x + (q & 1) * half, c.corner.y + (q >> 1) * half};
        stack.write({{first + q, c.depth - 1, corner}, square},
                    !is_vacant(first + q) & !(square >= best));
    }
}

/// Looks for a nearer node in a part of the tree, apart from the cell `skip`: for the nearest if
/// `exhaustive`, else for the first leaf that has one. True: a node was found.
template <class Filter>
bool tree_search<Filter>::range_search(const placed_cell& from, std::size_t skip,
                                       bool exhaustive) noexcept {
    if (is_vacant(from.cell)) return false;
    bool found_one = false;
    cell_stack stack;
    stack.write({from, 0}, true);
    while (stack.count > 0) {
        const waiting_cell next = stack.pop();
        const placed_cell& c = next.at;
        if (c.cell == skip || next.square >= best) continue;
        if (!is_leaf(c.cell)) {
            push_children(c, stack);
        } else if (scan(c.cell)) {
            found_one = true;
            if (!exhaustive) break;
        }
    }
    return found_one;
}

/// The leaf that covers the point, from the nearest short cut.
template <class Filter>
std::size_t tree_search<Filter>::leaf_of_point() const noexcept {
    if (tree.entries.empty()) return descent(*this, xy, 0).at.cell;
    std::size_t cell = tree.entries[place_on_curve(xy, tree.entry_levels)];
    for (unsigned depth = root_depth - tree.entry_levels; !is_leaf(cell); --depth)
        cell = words(cell)[0] + quadrant(xy, depth);
    return cell;
}

/// The first half of both queries. Returns false if a node was found and another one may be nearer.
template <class Filter>
bool tree_search<Filter>::find_first() noexcept {
    if (scan_own_leaf(leaf_of_point())) return best == 0;
    const descent down(*this, xy, 0);
    const placed_cell& at = down.at;
    if (at.depth == root_depth) return true;

    const unsigned taken = quadrant(xy, at.depth + 1);
    const unsigned first = words(down.parent)[0];
    const std::uint32_t side = 1u << at.depth;
    for (unsigned turn = 1; turn < 4; ++turn) {
        const unsigned q = taken ^ turn;
        const grid_point corner{(at.corner.x & ~side) + (q & 1) * side,
                                (at.corner.y & ~side) + (q >> 1) * side};
        if (range_search({first + q, at.depth, corner}, no_cell, false)) return best == 0;
    }
    range_search({0, root_depth, {0, 0}}, down.parent, true);
    return true;
}

/// The second half of `find_closest`: looks at all cells that may hold a node nearer than the one in hand.
template <class Filter>
void tree_search<Filter>::find_nearer() noexcept {
    shrink_box();
    unsigned depth = 0; // of the smallest cell that covers the box, at least 1
    for (std::uint32_t differing = (low.x ^ high.x) | (low.y ^ high.y); differing != 0;
         differing >>= 1)
        ++depth;
    range_search(descent(*this, low, std::max(depth, 1u)).at, leaf, true);
}

/// Prefetches what `find_close` will read for a group of points at a time. One memory access waits for another
/// on the way from a short cut to the nodes of a leaf; those of all points are under way together.
struct leaf_prefetch {
    static constexpr std::size_t most = 16;

    const node_tree& tree;
    const unsigned* ancestors;
    std::size_t cells[most] = {};

    const unsigned* words(std::size_t i) const noexcept { return tree.cells.data() + 4 * cells[i]; }

    void operator()(const point<2>* points, std::size_t n) noexcept {
        if (tree.entries.empty()) return;
        for (std::size_t i = 0; i < n; ++i) {
            cells[i] = place_on_curve(tree.grid(points[i]), tree.entry_levels);
            prefetch(&tree.entries[cells[i]]);
        }
        for (std::size_t i = 0; i < n; ++i) {
            cells[i] = tree.entries[cells[i]];
            prefetch(words(i));
        }
        const unsigned depth = root_depth - tree.entry_levels;
        for (std::size_t i = 0; i < n; ++i) {
            if (words(i)[0] < first_inner) continue;
            cells[i] = words(i)[0] + quadrant(tree.grid(points[i]), depth);
            prefetch(words(i));
        }
        for (std::size_t i = 0; i < n; ++i) {
            const unsigned* const w = words(i);
            for (unsigned k = 1; k <= w[0] && w[0] < first_inner; ++k) {
                prefetch(tree.pos.first + w[k] * tree.pos.ld);
                prefetch(&ancestors[w[k]]);
            }
        }
    }
};

template <class Filter>
unsigned node_tree::find_close(const point<2>& p, double& best,
                               const Filter& filter) const noexcept {
    if (node_count == 0 || !covers(p)) return no_node;
    tree_search<Filter> search(*this, p, best, filter);
    search.find_first();
    best = search.best;
    return search.id;
}

template <class Filter>
unsigned node_tree::find_closest(const point<2>& p, double& best,
                                 const Filter& filter) const noexcept {
    if (node_count == 0 || !covers(p)) return no_node;
    tree_search<Filter> search(*this, p, best, filter);
    if (!search.find_first()) search.find_nearer();
    best = search.best;
    return search.id;
}

} // namespace zel::tessel2d
