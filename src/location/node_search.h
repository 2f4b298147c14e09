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
#include "geometry/number.h"
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

/// A cell that a range search has still to look at. All lengths are in grid cells.
struct waiting_cell {
    double x; ///< of the lower corner, from the point on
    double y;
    double size;
    double square; ///< of a way that is shorter than that to any node in it
    std::size_t cell;
};

/// Each level leaves at most three cells behind.
struct cell_stack {
    waiting_cell cells[3 * root_depth + 1];
    std::size_t count = 0;

    /// Pushes a cell if it is to be kept.
    void write(const waiting_cell& c, bool kept) noexcept {
        cells[count] = c;
        count += kept ? 1 : 0;
    }
    const waiting_cell& pop() noexcept { return cells[--count]; }
};

/// How far the children of a cell are away along one axis, in grid cells: those on the side of the point and
/// those on the other side. `middle` is where they meet, from the point on.
///
/// A coordinate on the grid is rounded by less than 2^-18 of a grid cell, so a node is further away along the
/// axis than these ways, by more than half a grid cell.
struct ways_to_children {
    double near;
    double far;

    ways_to_children(double middle, double size) noexcept
        : near(larger(0.0, std::abs(middle) - size - 2)), far(larger(0.0, std::abs(middle) - 2)) {}
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
    double best;
    double reach; // `best` with grid cells as the unit of length
    unsigned id = no_node;
    std::size_t leaf = 0; // in which `id` was found; 0 for none, which is a root without siblings

    tree_search(const node_tree& searched, const point<2>& at, double start,
                const Filter& usable) noexcept
        : tree(searched),
          filter(usable),
          cells(searched.cells.data()),
          p(at),
          xy(searched.grid(at)),
          best(start),
          reach(reach_of(start)) {}

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
    bool descend(waiting_cell& c, cell_stack& stack) const noexcept;
    void shrink_box() noexcept;

    /// A square with grid cells as the unit of length, and one more: where the product vanishes, cells at the
    /// point are not ruled out. Where it overflows it is infinite or NaN, which rules nothing out.
    double reach_of(double square) const noexcept {
        return square * tree.grid.scale * tree.grid.scale + 1;
    }
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
    reach = reach_of(square);
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

/// Goes from an inner cell to the child on the point's side and pushes the others, the opposite one first. Left
/// out are those that hold nothing or cannot hold a nearer node; which these are cannot be predicted, so each is
/// written and then kept or not. Returns false if the one on the point's side is left out.
///
/// The squared ways are compared with `reach`. What the ways leave of half a grid cell is more than rounding takes
/// from a sum of squares below 2^66.
template <class Filter>
bool tree_search<Filter>::descend(waiting_cell& c, cell_stack& stack) const noexcept {
    const double size = c.size / 2;
    const double middle_x = c.x + size;
    const double middle_y = c.y + size;
    const ways_to_children x(middle_x, size);
    const ways_to_children y(middle_y, size);
    const unsigned right = middle_x <= 0 ? 1 : 0; // of the middle lies the point
    const unsigned above = middle_y <= 0 ? 1 : 0;
    const double sides_x[2] = {c.x, middle_x};
    const double sides_y[2] = {c.y, middle_y};
    const std::size_t first = words(c.cell)[0];
    const auto push = [&](unsigned turn_x, unsigned turn_y, double square) {
        const unsigned i = right ^ turn_x;
        const unsigned j = above ^ turn_y;
        const std::size_t cell = first + std::size_t{2} * j + i;
        stack.write({sides_x[i], sides_y[j], size, square, cell},
                    !is_vacant(cell) & !(square >= reach));
    };
    push(1, 1, x.far * x.far + y.far * y.far);
    push(0, 1, x.near * x.near + y.far * y.far);
    push(1, 0, x.far * x.far + y.near * y.near);
    c = {sides_x[right], sides_y[above], size, x.near * x.near + y.near * y.near,
         first + std::size_t{2} * above + right};
    return !is_vacant(c.cell) & !(c.square >= reach);
}

/// Looks for a nearer node in a part of the tree, apart from the cell `skip`: for the nearest if
/// `exhaustive`, else for the first leaf that has one. True: a node was found.
template <class Filter>
bool tree_search<Filter>::range_search(const placed_cell& from, std::size_t skip,
                                       bool exhaustive) noexcept {
    if (is_vacant(from.cell)) return false;
    bool found_one = false;
    cell_stack stack;
    stack.write({static_cast<double>(from.corner.x) - xy.x,
                 static_cast<double>(from.corner.y) - xy.y,
                 static_cast<double>(std::uint64_t{1} << from.depth), 0, from.cell},
                true);
    while (stack.count > 0) {
        waiting_cell c = stack.pop();
        if (c.square >= reach) continue;
        bool down = true;
        while (c.cell != skip && !is_leaf(c.cell) && (down = descend(c, stack))) {}
        if (down && c.cell != skip && scan(c.cell)) {
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
