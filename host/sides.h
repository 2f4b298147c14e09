// SPDX-License-Identifier: Apache-2.0
#pragma once

// Brings together the sides of elements that lie on one edge, in linear time.
//
// 1. Count, for each node, the sides whose lower end node it is, and turn the counts into places.
// 2. File every side there: a counting sort by the lower end node. Sides of one node keep the order of
//    the elements.
// 3. Go through the sides node by node. A table over the nodes remembers at the higher end node the last
//    side that led there; if that side belongs to the same lower node, both lie on one edge. Places grow
//    from node to node, so the table never needs clearing.
//
// Where elements and nodes are in random order, passes 2 and 3 prefetch.
//
// Every step is one pass, and the work per side does not depend on how many sides a node has.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "zel/dense.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zel::host {

using tessel2d::columns;
using tessel2d::columns_of;
using tessel2d::mixed_cells;
using tessel2d::status_memory;
using tessel2d::status_ok;
using tessel2d::triangle_cells;

/// A side of an element, filed under the lower of its end nodes. The number of side k of element e is
/// 4*e + k. When a second side of its edge has come up, `high` of that one becomes the place of the first.
template <class Index>
struct filed_side {
    Index high;
    Index number;

    unsigned element() const noexcept { return static_cast<unsigned>(number / 4); }
    unsigned edge() const noexcept { return static_cast<unsigned>(number % 4); }
};

/// Calls use(low, high, k) for the sides of a column that join two different nodes.
template <class Shape, class Use>
void for_each_side(const unsigned* cell, const Use& use) noexcept {
    const unsigned corners = Shape::corners(cell);
    for (unsigned k = 0; k < corners; ++k) {
        const auto ends = tessel2d::edge_nodes(cell, corners, k);
        if (ends.a != ends.b) use(std::min(ends.a, ends.b), std::max(ends.a, ends.b), k);
    }
}

/// Returns true if the nodes of most elements have numbers that are more than `near` away from those of the
/// element before.
inline bool are_scattered(const columns<const unsigned>& cells, std::size_t n,
                          unsigned near) noexcept {
    const std::size_t step = n / 64 + 1;
    std::size_t apart = 0;
    std::size_t seen = 0;
    for (std::size_t e = 1; e < n; e += step, ++seen) {
        const unsigned a = cells[e - 1][0];
        const unsigned b = cells[e][0];
        apart += (a < b ? b - a : a - b) > near;
    }
    return 2 * apart > seen;
}

/// All sides of a mesh by their lower end nodes. `Index` must hold 16*(E + 1).
template <class Shape, class Index>
class filed_sides {
public:
    /// Files them. Node numbers are below `nodes`. False: memory is exhausted.
    bool file(const dense2D<unsigned>& connect, std::size_t nodes) noexcept {
        const std::size_t most = connect.cols * Shape::rows;
        if (!end_.resize(nodes + 1, 0) || !sides_.resize(most + far) || !last_.resize(nodes, 0))
            return false;
        count(columns_of(connect), connect.cols);
        std::size_t total = 0;
        for (std::size_t a = 0; a < nodes; ++a) {
            const Index here = end_[a];
            end_[a] = static_cast<Index>(total);
            total += here;
        }
        // Only then prefetching saves time; otherwise it costs some.
        scattered_ = are_scattered(columns_of(connect), connect.cols, 4096);
        if (scattered_) {
            place<true>(columns_of(connect), connect.cols);
        } else {
            place<false>(columns_of(connect), connect.cols);
        }
        std::fill_n(sides_.data() + total, far, filed_side<Index>{0, 0});
        return true;
    }

    /// Goes through the edges and calls
    ///
    ///     visit.ahead(s)           some sides before s has its turn
    ///     visit.two(s, t, joined)  for each first side s = t of an edge, with `joined` false; and when a
    ///                              second side t joins the first side s, with `joined` true
    ///     visit.three(s, t, u)     when a third side joins these
    ///     visit.more(u)            for each side behind that
    ///
    /// Sides of one edge come in the order of their numbers. Whether a side is the first or the second of
    /// its edge cannot be predicted, so one call serves both without a branch. To be called once.
    template <class Visit>
    void visit_edges(std::size_t nodes, Visit& visit) noexcept {
        if (scattered_) {
            visit_sides<true>(nodes, visit);
        } else {
            visit_sides<false>(nodes, visit);
        }
    }

private:
    static constexpr std::size_t far = 16; // sides between prefetch and use

    template <bool Scattered, class Visit>
    void visit_sides(std::size_t nodes, Visit& visit) noexcept {
        filed_side<Index>* const sides = sides_.data();
        Index* const last = last_.data();
        Index begin = 0;
        for (std::size_t a = 0; a < nodes; ++a) {
            const Index end = end_[a];
            for (Index i = begin; i < end; ++i) {
                if constexpr (Scattered) { // behind the last side stand some that are zero
                    tessel2d::prefetch(&last[sides[i + far].high]);
                    visit.ahead(sides[i + far]);
                }
                visit_side(sides, i, begin, last[sides[i].high], visit);
            }
            begin = end;
        }
    }

    /// `seen` is 4*(place + 1) of the side of the edge that came last, plus how many there were before it,
    /// up to 2; below 4*(begin + 1) it is left from another lower node.
    template <class Visit>
    static void visit_side(filed_side<Index>* sides, Index i, Index begin, Index& seen,
                           Visit& visit) noexcept {
        const filed_side<Index> side = sides[i];
        const Index before = seen;
        const bool joined = before >= (begin + 1) * 4;
        const Index place = joined ? before / 4 - 1 : i;
        if (joined && before % 4 != 0) {
            seen = (i + 1) * 4 + 2;
            if (before % 4 == 1) {
                visit.three(sides[sides[place].high], sides[place], side);
            } else {
                visit.more(side);
            }
            return;
        }
        seen = (i + 1) * 4 + (joined ? 1 : 0);
        sides[i].high = place;
        visit.two(sides[place], side, joined);
    }

    void count(const columns<const unsigned>& cells, std::size_t n) noexcept {
        Index* const end = end_.data();
        for (std::size_t e = 0; e < n; ++e)
            for_each_side<Shape>(cells[e], [&](unsigned low, unsigned, unsigned) { ++end[low]; });
    }
    /// Moves the beginning of each node's sides to their end.
    template <bool Scattered>
    void place(const columns<const unsigned>& cells, std::size_t n) noexcept {
        Index* const end = end_.data();
        filed_side<Index>* const sides = sides_.data();
        for (std::size_t e = 0; e < n; ++e) {
            if (Scattered && n - e > far) {
                const unsigned* const later = cells[e + far / 2];
                const unsigned corners = Shape::corners(later);
                for (unsigned k = 0; k < corners; ++k) tessel2d::prefetch(&sides[end[later[k]]]);
            }
            for_each_side<Shape>(cells[e], [&](unsigned low, unsigned high, unsigned k) {
                sides[end[low]++] = {high, static_cast<Index>(e * 4 + k)};
            });
        }
    }

    dense1D<Index, 8> end_;
    dense1D<Index, 8> last_;
    dense1D<filed_side<Index>, 8> sides_;
    bool scattered_ = false;
};

} // namespace zel::host
