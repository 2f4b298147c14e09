// zel tessel2d: planar and surface mesh tools.
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

/// All directed edges of the elements, sorted.
inline edge_list directed_edges(const dense2D<unsigned>& connect) {
    edge_list edges;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned n = corner_count(connect, e);
        for (unsigned k = 0; k < n; ++k) edges.emplace_back(connect(k, e), connect((k + 1) % n, e));
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

/// The edges that have no twin in the other direction: the border, in the direction of the elements.
inline edge_list border_edges(const edge_list& directed) {
    edge_list border;
    for (const auto& edge : directed)
        if (!std::binary_search(directed.begin(), directed.end(),
                                std::make_pair(edge.second, edge.first)))
            border.push_back(edge);
    return border;
}

inline edge_list sorted_columns(const dense2D<unsigned>& edges) {
    edge_list list;
    for (std::size_t e = 0; e < edges.cols; ++e) list.emplace_back(edges(0, e), edges(1, e));
    std::sort(list.begin(), list.end());
    return list;
}

/// Nodes in use - edges + elements. Expects that no directed edge comes twice and that every node of
/// `pos` is in use and no element has a node twice.
inline long euler_number(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    const edge_list directed = directed_edges(connect);
    EXPECT_TRUE(std::adjacent_find(directed.begin(), directed.end()) == directed.end())
        << "an edge is run along twice in one direction";
    std::vector<bool> used(pos.cols, false);
    std::size_t degenerate = 0;
    for (const auto& edge : directed) {
        used.at(edge.first) = true;
        degenerate += edge.first == edge.second;
    }
    EXPECT_EQ(0U, degenerate);
    EXPECT_EQ(pos.cols, static_cast<std::size_t>(std::count(used.begin(), used.end(), true)));
    const std::size_t border = border_edges(directed).size();
    const std::size_t edges = (directed.size() - border) / 2 + border;
    return static_cast<long>(pos.cols) - static_cast<long>(edges) + static_cast<long>(connect.cols);
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
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
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
