// SPDX-License-Identifier: Apache-2.0
#pragma once

// Checks of whole disks and spheres that stay quick for many sizes: counts of edges, Euler number,
// loops, distances between nodes, and comparison of sets of points.
#include "support/checks.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

namespace zel_test {

using edge_list = std::vector<std::pair<unsigned, unsigned>>;

/// The directed edges of the elements, by the node that they leave. Nodes have few of them, so that
/// looking an edge up is quick and nothing has to be sorted.
class outgoing_edges {
public:
    outgoing_edges(const dense2D<unsigned>& connect, std::size_t nodes)
        : first(nodes + 1, 0), bad(0) {
        for_each(connect,
                 [&](unsigned a, unsigned b) { a < nodes&& b < nodes ? ++first[a + 1] : ++bad; });
        for (std::size_t i = 0; i < nodes; ++i) first[i + 1] += first[i];
        to.resize(first[nodes]);
        std::vector<unsigned> next(first.begin(), first.end() - 1);
        for_each(connect, [&](unsigned a, unsigned b) {
            if (a < nodes && b < nodes) to[next[a]++] = b;
        });
    }
    std::size_t count() const { return to.size(); }
    /// Edges with an end that is no node.
    std::size_t beyond() const { return bad; }
    bool uses(unsigned node) const { return first[node] < first[node + 1]; }
    bool has(unsigned a, unsigned b) const {
        for (unsigned i = first[a]; i < first[a + 1]; ++i)
            if (to[i] == b) return true;
        return false;
    }
    /// Edges that come more than once, and edges from a node to itself.
    std::size_t faults() const {
        std::size_t n = 0;
        for (unsigned a = 0; a + 1 < first.size(); ++a)
            for (unsigned i = first[a]; i < first[a + 1]; ++i) {
                n += to[i] == a;
                for (unsigned j = first[a]; j < i; ++j) n += to[i] == to[j];
            }
        return n;
    }
    /// The edges that have no twin in the other direction: the border, sorted.
    edge_list border() const {
        edge_list edges;
        for (unsigned a = 0; a + 1 < first.size(); ++a)
            for (unsigned i = first[a]; i < first[a + 1]; ++i)
                if (!has(to[i], a)) edges.emplace_back(a, to[i]);
        std::sort(edges.begin(), edges.end());
        return edges;
    }

private:
    std::vector<unsigned> first; // of each node in `to`
    std::vector<unsigned> to;
    std::size_t bad;

    template <class Take>
    static void for_each(const dense2D<unsigned>& connect, Take take) {
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned* const cell = connect[e];
            const unsigned n = corner_count(connect, e);
            for (unsigned k = 0; k < n; ++k) take(cell[k], cell[k + 1 == n ? 0 : k + 1]);
        }
    }
};

inline edge_list sorted_columns(const dense2D<unsigned>& edges) {
    edge_list list;
    for (std::size_t e = 0; e < edges.cols; ++e) list.emplace_back(edges(0, e), edges(1, e));
    std::sort(list.begin(), list.end());
    return list;
}

/// Expects a mesh of so many nodes on the elements `connect`: no directed edge comes twice, every node is
/// in use and no element has a node twice; the edges without a twin are those of `border`; and the Euler
/// number, nodes - edges + elements, is the given one.
inline void expect_surface(long euler_number, const edge_list& border, std::size_t nodes,
                           const dense2D<unsigned>& connect) {
    const outgoing_edges edges(connect, nodes);
    ASSERT_EQ(0U, edges.beyond());
    EXPECT_EQ(0U, edges.faults()) << "an edge is run along twice, or goes nowhere";
    std::size_t used = 0;
    for (unsigned i = 0; i < nodes; ++i) used += edges.uses(i);
    EXPECT_EQ(nodes, used);
    EXPECT_EQ(border, edges.border());
    const std::size_t undirected = (edges.count() - border.size()) / 2 + border.size();
    EXPECT_EQ(euler_number, static_cast<long>(nodes) - static_cast<long>(undirected) +
                                static_cast<long>(connect.cols));
}

/// The columns are one closed loop, each column going on where the one before ends.
inline void expect_one_closed_loop(const dense2D<unsigned>& edges) {
    ASSERT_EQ(2U, edges.rows);
    ASSERT_GT(edges.cols, 0U);
    std::vector<unsigned> starts;
    for (std::size_t e = 0; e < edges.cols; ++e) {
        EXPECT_EQ(edges(1, e), edges(0, (e + 1) % edges.cols)) << "behind edge " << e;
        starts.push_back(edges(0, e));
    }
    std::sort(starts.begin(), starts.end());
    EXPECT_TRUE(std::adjacent_find(starts.begin(), starts.end()) == starts.end())
        << "the loop touches itself";
}

using space_point = std::array<double, 3>;

inline std::vector<space_point> sorted_points(const dense2D<double>& pos) {
    std::vector<space_point> all(pos.cols, space_point{});
    for (std::size_t i = 0; i < pos.cols; ++i) std::copy_n(pos[i], pos.rows, all[i].begin());
    std::sort(all.begin(), all.end());
    return all;
}

inline double distance(const space_point& a, const space_point& b) {
    // Of two at a time: that of three overflows in some libraries.
    return std::hypot(std::hypot(a[0] - b[0], a[1] - b[1]), a[2] - b[2]);
}

/// Distance from p to the nearest of the sorted points, or `limit` if none is nearer.
inline double nearest(const std::vector<space_point>& sorted, const space_point& p, double limit) {
    const space_point low{p[0] - limit, -std::numeric_limits<double>::infinity(), 0};
    double best = limit;
    for (auto q = std::lower_bound(sorted.begin(), sorted.end(), low);
         q != sorted.end() && (*q)[0] <= p[0] + limit; ++q)
        best = std::min(best, distance(*q, p));
    return best;
}

/// No two nodes lie closer than `limit`.
inline void expect_apart(const dense2D<double>& pos, double limit) {
    const auto sorted = sorted_points(pos);
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t j = i + 1; j < sorted.size() && sorted[j][0] - sorted[i][0] < limit; ++j)
            ASSERT_GE(distance(sorted[i], sorted[j]), limit);
}

/// Each point of either set has one of the other within `limit`.
inline void expect_same_points(const std::vector<space_point>& a, const std::vector<space_point>& b,
                               double limit) {
    for (const auto& p : a) ASSERT_LT(nearest(b, p, 2 * limit), limit) << p[0] << ", " << p[1];
    for (const auto& p : b) ASSERT_LT(nearest(a, p, 2 * limit), limit) << p[0] << ", " << p[1];
}

} // namespace zel_test
