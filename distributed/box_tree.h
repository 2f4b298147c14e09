// SPDX-License-Identifier: Apache-2.0
// A tree over boxes: those that hold a point, and a few that cover them all.
//
// The boxes are halved at the median of their lower corners along the axis in which these lie farthest apart, and so
// on, until eight are left. A node of the tree holds the box around its boxes; its first child follows it.
#pragma once

#include "distributed/list.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>

namespace zel::distributed {

/// From `low` to `high`, both included. Empty at first.
template <int Dim>
struct box {
    double low[static_cast<std::size_t>(Dim)];
    double high[static_cast<std::size_t>(Dim)];

    box() {
        std::fill_n(low, Dim, std::numeric_limits<double>::infinity());
        std::fill_n(high, Dim, -std::numeric_limits<double>::infinity());
    }
    void add(const double* p) {
        for (std::size_t i = 0; i < Dim; ++i) {
            low[i] = std::min(low[i], p[i]);
            high[i] = std::max(high[i], p[i]);
        }
    }
    void add(const box& b) {
        add(b.low);
        add(b.high);
    }
    bool holds(const double* p) const {
        bool in = true;
        for (std::size_t i = 0; i < Dim; ++i) in &= low[i] <= p[i] && p[i] <= high[i];
        return in;
    }
};

template <int Dim>
class box_tree {
public:
    /// The boxes must not hold NaN. A tree of which only a cover is asked needs no more levels than that has. Throws
    /// std::bad_alloc.
    void build(const list<box<Dim>>& of, unsigned most_levels = 64) {
        boxes = of;
        order.resize(boxes.size());
        std::iota(order.begin(), order.end(), 0U);
        nodes.clear();
        if (!boxes.empty()) add_node(0, boxes.size(), most_levels);
    }

    /// Calls visit(index) for each box that holds the point, in any order.
    template <class Visit>
    void for_each_around(const double* p, Visit&& visit) const {
        if (!nodes.empty()) descend([&](const box<Dim>& b) { return b.holds(p); }, 0, visit);
    }
    /// Calls visit(index) for each box of which `wanted(box)` is true, as it is of every box around such a box.
    template <class Wanted, class Visit>
    void for_each_if(Wanted&& wanted, Visit&& visit) const {
        if (!nodes.empty()) descend(wanted, 0, visit);
    }
    /// Leaves at most 2^depth boxes that cover all boxes.
    list<box<Dim>> cover(unsigned depth) const {
        list<box<Dim>> out;
        if (!nodes.empty()) collect(0, depth, out);
        return out;
    }
    const box<Dim>& at(unsigned index) const { return boxes[index]; }
    std::size_t size() const { return boxes.size(); }

private:
    static constexpr std::size_t most_in_leaf = 8;

    struct node {
        box<Dim> around;
        std::size_t first, last;      // in `order`
        std::size_t second_child = 0; // none: a leaf
    };

    std::size_t widest_axis(std::size_t first, std::size_t last) const {
        box<Dim> corners;
        for (std::size_t k = first; k < last; ++k) corners.add(boxes[order[k]].low);
        std::size_t axis = 0;
        for (std::size_t i = 1; i < Dim; ++i)
            if (corners.high[i] - corners.low[i] > corners.high[axis] - corners.low[axis]) axis = i;
        return axis;
    }
    void add_node(std::size_t first, std::size_t last, unsigned levels) {
        const std::size_t me = nodes.size();
        nodes.push_back({{}, first, last});
        for (std::size_t k = first; k < last; ++k) nodes[me].around.add(boxes[order[k]]);
        if (levels == 0 || last - first <= most_in_leaf) return;
        const std::size_t axis = widest_axis(first, last), middle = first + (last - first) / 2;
        const auto at = [&](std::size_t k) {
            return order.begin() + static_cast<std::ptrdiff_t>(k);
        };
        std::nth_element(at(first), at(middle), at(last), [&](unsigned a, unsigned b) {
            const double x = boxes[a].low[axis], y = boxes[b].low[axis];
            return x < y || (x == y && a < b);
        });
        add_node(first, middle, levels - 1);
        const std::size_t second = nodes.size();
        nodes[me].second_child = second;
        add_node(middle, last, levels - 1);
    }
    template <class Wanted, class Visit>
    void descend(const Wanted& wanted, std::size_t n, Visit& visit) const {
        const node& here = nodes[n];
        if (!wanted(here.around)) return;
        if (here.second_child == 0) {
            for (std::size_t k = here.first; k < here.last; ++k)
                if (wanted(boxes[order[k]])) visit(order[k]);
            return;
        }
        descend(wanted, n + 1, visit);
        descend(wanted, here.second_child, visit);
    }
    void collect(std::size_t n, unsigned depth, list<box<Dim>>& out) const {
        if (depth == 0 || nodes[n].second_child == 0) {
            out.push_back(nodes[n].around);
            return;
        }
        collect(n + 1, depth - 1, out);
        collect(nodes[n].second_child, depth - 1, out);
    }

    list<box<Dim>> boxes;
    list<unsigned> order;
    list<node> nodes;
};

} // namespace zel::distributed
