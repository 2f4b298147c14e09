// SPDX-License-Identifier: Apache-2.0
#include "support/adjacency.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using zel::dense2D;
using zel_test::adjacency;
using zel_test::adjacency_of;

constexpr unsigned none = 0xFFFFFFFFu;

template <std::size_t Rows>
dense2D<unsigned> cells(const std::vector<std::array<unsigned, Rows>>& columns) {
    dense2D<unsigned> m(Rows, columns.size());
    for (std::size_t j = 0; j < columns.size(); ++j)
        for (std::size_t i = 0; i < Rows; ++i) m(i, j) = columns[j][i];
    return m;
}

std::vector<unsigned> column(const dense2D<unsigned>& m, std::size_t j) {
    return {m[j], m[j] + m.rows};
}

std::vector<unsigned> entries(const zel::dense1D<unsigned, 8>& v) {
    return {v.begin(), v.end()};
}

/// The edge table of the two shapes, written out.
std::pair<unsigned, unsigned> edge(const dense2D<unsigned>& connect, std::size_t e, unsigned k) {
    static constexpr unsigned triangle[3][2] = {{1, 2}, {2, 0}, {0, 1}};
    static constexpr unsigned quad[4][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
    const bool three = connect.rows == 3 || connect(3, e) == none;
    const unsigned* const ends = three ? triangle[k] : quad[k];
    return std::minmax({connect(ends[0], e), connect(ends[1], e)});
}

TEST(Adjacency, TrianglesNumberAnEdgeByTheOppositeNode) {
    const auto connect = cells<3>({{0, 1, 2}, {0, 2, 3}});
    const adjacency beside = adjacency_of(connect, 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
    EXPECT_THAT(entries(beside.ancestors), ElementsAre(0, 0, 0, 1));
}

TEST(Adjacency, QuadrilateralsNumberAnEdgeByTheNodeItStartsFrom) {
    const auto connect = cells<4>({{0, 1, 4, 3}, {1, 2, 5, 4}});
    const adjacency beside = adjacency_of(connect, 6);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, 0));
}

TEST(Adjacency, EachColumnOfAMixedMeshFollowsItsOwnShape) {
    const auto connect = cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}});
    const adjacency beside = adjacency_of(connect, 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, 0, none, none));
    EXPECT_THAT(entries(beside.ancestors), ElementsAre(0, 0, 1, 0, 0));
}

TEST(Adjacency, UnusedNodesHaveNoAncestor) {
    const adjacency beside = adjacency_of(cells<3>({{4, 1, 2}}), 6);
    EXPECT_THAT(entries(beside.ancestors), ElementsAre(none, 0, 0, none, 0, none));
}

TEST(Adjacency, AnEdgeOfThreeElementsHasNothingAcrossIt) {
    const adjacency beside = adjacency_of(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
    for (std::size_t e = 0; e < 3; ++e)
        EXPECT_THAT(column(beside.neighbors, e), ElementsAre(none, none, none));
}

TEST(Adjacency, ACollapsedEdgeHasNothingAcrossIt) {
    const adjacency beside = adjacency_of(cells<4>({{0, 1, 2, 2}, {2, 3, 4, 2}}), 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, none));
}

TEST(Adjacency, AnElementIsNotItsOwnNeighbor) {
    const adjacency beside = adjacency_of(cells<3>({{0, 1, 0}}), 2);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none));
}

TEST(Adjacency, ViewsWithALargerLeadingDimension) {
    dense2D<unsigned> all(7, 3, 99u);
    const auto plain = cells<3>({{0, 1, 2}, {0, 2, 3}});
    const dense2D<unsigned> view = all.sub_matrix(2, 1, 3, 2);
    for (std::size_t j = 0; j < 2; ++j)
        for (std::size_t i = 0; i < 3; ++i) all(2 + i, 1 + j) = plain(i, j);
    const adjacency beside = adjacency_of(view, 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(Adjacency, EmptyMeshesGiveNodesWithoutAncestors) {
    const adjacency beside = adjacency_of(dense2D<unsigned>(), 2);
    EXPECT_TRUE(beside.neighbors.empty());
    EXPECT_THAT(entries(beside.ancestors), ElementsAre(none, none));
}

// Random cells over few nodes: edges of one, two and many elements, collapsed and repeated ones.
TEST(Adjacency, AgreesWithASearchThroughAllPairsOfEdges) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        const auto random = [&] { return static_cast<unsigned>(generator()); };
        const unsigned nodes = 2 + random() % 12;
        dense2D<unsigned> connect(4, 1 + random() % 12);
        for (std::size_t e = 0; e < connect.cols; ++e) {
            for (unsigned i = 0; i < 4; ++i) connect(i, e) = random() % nodes;
            if (random() % 2) connect(3, e) = none;
        }
        std::map<std::pair<unsigned, unsigned>, std::vector<unsigned>> elements_of;
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (unsigned k = 0; k < (connect(3, e) == none ? 3u : 4u); ++k)
                elements_of[edge(connect, e, k)].push_back(static_cast<unsigned>(e));

        const adjacency beside = adjacency_of(connect, nodes);
        std::set<unsigned> used;
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned corners = connect(3, e) == none ? 3 : 4;
            for (unsigned k = 0; k < corners; ++k) {
                const auto ends = edge(connect, e, k);
                const std::vector<unsigned>& at = elements_of[ends];
                unsigned across = none;
                if (ends.first != ends.second && at.size() == 2 && at[0] != at[1])
                    across = at[0] == e ? at[1] : at[0];
                EXPECT_EQ(across, beside.neighbors(k, e)) << "edge " << k << " of " << e;
                used.insert(connect(k, e));
            }
            if (corners == 3) {
                EXPECT_EQ(none, beside.neighbors(3, e));
            }
        }
        for (unsigned node = 0; node < nodes; ++node) {
            const unsigned e = beside.ancestors[node];
            ASSERT_EQ(used.count(node) == 1, e != none);
            if (e != none) {
                EXPECT_THAT(column(connect, e), Contains(node));
            }
        }
    }
}

} // namespace
