// zel tessel2d: planar and surface mesh tools.
#include "zel/host/adjacency.h"

#include "support/checks.h"
#include "support/failing_alloc.h"

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
using zel::dense1D;
using zel::dense2D;
using zel::host::adjacency;
using zel::host::build_adjacency;
using zel_test::column;
using zel_test::snapshot;
using zel_test::values;

constexpr unsigned none = 0xFFFFFFFFu;

template <std::size_t Rows>
dense2D<unsigned> cells(const std::vector<std::array<unsigned, Rows>>& columns) {
    dense2D<unsigned> m(Rows, columns.size());
    for (std::size_t j = 0; j < columns.size(); ++j)
        for (std::size_t i = 0; i < Rows; ++i) m(i, j) = columns[j][i];
    return m;
}

adjacency built(const dense2D<unsigned>& connect, std::size_t nodes) {
    adjacency beside;
    EXPECT_EQ(0, build_adjacency(connect, nodes, beside));
    return beside;
}

/// The edge table of the two shapes, written out.
std::pair<unsigned, unsigned> edge(const dense2D<unsigned>& connect, std::size_t e, unsigned k) {
    static constexpr unsigned triangle[3][2] = {{1, 2}, {2, 0}, {0, 1}};
    static constexpr unsigned quad[4][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
    const bool three = connect.rows == 3 || connect(3, e) == none;
    const unsigned* const ends = three ? triangle[k] : quad[k];
    return std::minmax({connect(ends[0], e), connect(ends[1], e)});
}

TEST(BuildAdjacency, TrianglesNumberAnEdgeByTheOppositeNode) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
    EXPECT_THAT(values(beside.ancestors), ElementsAre(0, 0, 0, 1));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, QuadrilateralsNumberAnEdgeByTheNodeItStartsFrom) {
    const adjacency beside = built(cells<4>({{0, 1, 4, 3}, {1, 2, 5, 4}}), 6);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, 0));
}

TEST(BuildAdjacency, EachColumnOfAMixedMeshFollowsItsOwnShape) {
    const adjacency beside = built(cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}}), 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, 0, none, none));
    EXPECT_THAT(values(beside.ancestors), ElementsAre(0, 0, 1, 0, 0));
}

TEST(BuildAdjacency, WhichWayElementsRunDoesNotMatter) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {1, 2, 3}}), 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, UnusedNodesHaveNoAncestor) {
    const adjacency beside = built(cells<3>({{4, 1, 2}}), 6);
    EXPECT_THAT(values(beside.ancestors), ElementsAre(none, 0, 0, none, 0, none));
}

TEST(BuildAdjacency, AnEdgeOfThreeElementsHasNoNeighborsAndIsCounted) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
    for (std::size_t e = 0; e < 3; ++e)
        EXPECT_THAT(column(beside.neighbors, e), ElementsAre(none, none, none));
    EXPECT_EQ(1u, beside.shared_by_more);
}

TEST(BuildAdjacency, AnEdgeOfManyElementsIsCountedOnce) {
    dense2D<unsigned> connect(3, 9);
    for (unsigned e = 0; e < 9; ++e) {
        connect(0, e) = 7;
        connect(1, e) = 3;
        connect(2, e) = 8 + e;
    }
    const adjacency beside = built(connect, 17);
    EXPECT_EQ(1u, beside.shared_by_more);
    for (unsigned e = 0; e < 9; ++e)
        EXPECT_THAT(column(beside.neighbors, e), ElementsAre(none, none, none));
}

TEST(BuildAdjacency, ACollapsedEdgeHasNoNeighborsAndIsNotCounted) {
    const adjacency beside = built(cells<4>({{0, 1, 2, 2}, {2, 3, 4, 2}, {2, 2, 2, 2}}), 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, none));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, AnElementIsNotItsOwnNeighbor) {
    const adjacency beside = built(cells<3>({{0, 1, 0}}), 2);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, ViewsWithALargerLeadingDimensionAreFine) {
    const auto plain = cells<3>({{0, 1, 2}, {0, 2, 3}});
    dense2D<unsigned> all(7, 3, 99u);
    const dense2D<unsigned> view = all.sub_matrix(2, 1, 3, 2);
    for (std::size_t j = 0; j < 2; ++j)
        for (std::size_t i = 0; i < 3; ++i) all(2 + i, 1 + j) = plain(i, j);
    const adjacency beside = built(view, 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, ResultsThatAreViewsGetMemoryOfTheirOwn) {
    dense2D<unsigned> block(5, 9, 77u);
    adjacency beside;
    beside.neighbors = block.sub_matrix(1, 2, 3, 4);
    beside.ancestors = dense1D<unsigned, 8>(block.storage, 3, 6);
    ASSERT_EQ(0, build_adjacency(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4, beside));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
    EXPECT_EQ(4u, beside.ancestors.size);
    for (const unsigned x : block) EXPECT_EQ(77u, x);
}

TEST(BuildAdjacency, TheConnectivityMayBeTheResult) {
    adjacency beside;
    beside.neighbors = cells<3>({{0, 1, 2}, {0, 2, 3}});
    ASSERT_EQ(0, build_adjacency(beside.neighbors, 4, beside));
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, EmptyMeshesGiveNodesWithoutAncestors) {
    for (const dense2D<unsigned>& connect :
         {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(4, 0)}) {
        adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
        ASSERT_EQ(0, build_adjacency(connect, 2, beside));
        EXPECT_TRUE(beside.neighbors.empty());
        EXPECT_THAT(values(beside.ancestors), ElementsAre(none, none));
        EXPECT_EQ(0u, beside.shared_by_more);
    }
    EXPECT_TRUE(built(dense2D<unsigned>(), 0).ancestors.empty());
}

TEST(BuildAdjacencyStatus, UnusableArgumentsLeaveTheResultAlone) {
    adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
    const auto before = snapshot(beside.neighbors, beside.ancestors);
    const auto expect_refused = [&](int status, const dense2D<unsigned>& connect,
                                    std::size_t nodes) {
        EXPECT_EQ(status, build_adjacency(connect, nodes, beside));
        EXPECT_EQ(before, snapshot(beside.neighbors, beside.ancestors));
        EXPECT_EQ(1u, beside.shared_by_more);
    };
    expect_refused(-1, dense2D<unsigned>(2, 1, 0u), 5);
    expect_refused(-1, dense2D<unsigned>(6, 1, 0u), 5);
    expect_refused(-1, cells<3>({{0, 1, 5}}), 5);
    expect_refused(-1, cells<3>({{0, 1, none}}), 5);
    expect_refused(-1, cells<4>({{0, none, 2, 3}}), 5);
    expect_refused(-1, cells<3>({{0, 1, 2}}), 0);
    expect_refused(-2, cells<3>({{0, 1, 2}}), std::size_t{1} << 32);
    expect_refused(-2, cells<3>({{0, 1, 2}}), static_cast<std::size_t>(-1));
}

TEST(BuildAdjacencyStatus, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto connect = cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}});
    zel_test::fail_each_allocation([&](std::size_t k) {
        adjacency beside;
        beside.neighbors = dense2D<unsigned>(3, 1, 7u);
        beside.ancestors = dense1D<unsigned, 8>(2, 8u);
        beside.shared_by_more = 9;
        const auto before = snapshot(beside.neighbors, beside.ancestors);
        zel_test::arm_allocator(k);
        const int status = build_adjacency(connect, 5, beside);
        zel_test::disarm_allocator();
        if (status == 0) {
            EXPECT_EQ(2u, beside.neighbors.cols);
            return;
        }
        EXPECT_EQ(-199, status);
        EXPECT_EQ(before, snapshot(beside.neighbors, beside.ancestors));
        EXPECT_EQ(9u, beside.shared_by_more);
    });
}

// Random cells over few nodes: edges of one, two and many elements, collapsed and repeated ones.
TEST(BuildAdjacency, AgreesWithASearchThroughAllPairsOfEdges) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
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
        std::size_t more = 0;
        for (const auto& [ends, at] : elements_of)
            more += ends.first != ends.second && at.size() > 2;

        const adjacency beside = built(connect, nodes);
        EXPECT_EQ(more, beside.shared_by_more);
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
