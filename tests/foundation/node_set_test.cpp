// SPDX-License-Identifier: Apache-2.0
#include "foundation/node_set.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

namespace {

using testing::ElementsAre;
using zel::no_node;
using zel::vector_fast;
using zel::tessel2d::collect_edge_nodes;
using zel::tessel2d::collect_nodes;
using zel::tessel2d::position_in;
using zel_test::arm_allocator;
using zel_test::cells;
using zel_test::disarm_allocator;
using zel_test::values;

TEST(CollectEdgeNodes, AChainGivesItsNodesInFirstSeenOrder) {
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_edge_nodes(cells({{3, 7}, {7, 9}}), set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(3, 7, 9));
    EXPECT_EQ(1u, position_in(set, 7));
    EXPECT_EQ(no_node, position_in(set, 4));
}
TEST(CollectEdgeNodes, ALoopNamesItsClosingNodeOnce) {
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_edge_nodes(cells({{5, 2}, {2, 8}, {8, 5}, {5, 2}}), set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(5, 2, 8));
}
TEST(CollectEdgeNodes, ForgetsWhatTheSetHeld) {
    vector_fast<unsigned> set;
    collect_edge_nodes(cells({{1, 2}}), set);
    EXPECT_EQ(0, collect_edge_nodes(cells({{4, 3}}), set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(4, 3));
    EXPECT_EQ(no_node, position_in(set, 1));
}
TEST(CollectEdgeNodes, AnEmptyProfileGivesAnEmptySet) {
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_edge_nodes(zel::dense2D<unsigned>(), set));
    EXPECT_EQ(0u, set.size);
}
TEST(CollectEdgeNodes, ReadsAViewInsideALargerMatrix) {
    const auto profile = zel_test::framed(cells({{3, 7}, {7, 9}}));
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_edge_nodes(profile.view, set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(3, 7, 9));
}
TEST(CollectEdgeNodes, MoreColumnsThanBucketsGrowTheMapFirst) {
    zel::dense2D<unsigned> profile(2, 1000);
    for (unsigned e = 0; e < 1000; ++e) {
        profile(0, e) = 2 * e;
        profile(1, e) = 2 * e + 2;
    }
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_edge_nodes(profile, set));
    EXPECT_EQ(1543u, set.positions.bucket_count);
    ASSERT_EQ(1001u, set.size);
    for (unsigned i = 0; i < 1001; ++i) ASSERT_EQ(i, position_in(set, 2 * i));
}
TEST(CollectEdgeNodes, MemoryThatRunsOutAtTheStartIsReported) {
    zel::dense2D<unsigned> profile(2, 1000);
    for (unsigned e = 0; e < 1000; ++e) {
        profile(0, e) = 2 * e;
        profile(1, e) = 2 * e + 1;
    }
    int reported = 0;
    zel_test::fail_each_allocation([&](std::size_t k) {
        vector_fast<unsigned> set;
        arm_allocator(k);
        const int status = collect_edge_nodes(profile, set);
        disarm_allocator();
        if (status != 0) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(0u, set.size);
            ++reported;
        }
        EXPECT_LE(set.size, 2000u);
        for (std::size_t i = 0; i < set.size && set.complete(); ++i)
            EXPECT_EQ(i, position_in(set, set[i]));
    });
    EXPECT_GE(reported, 3);
}
TEST(CollectNodes, TrianglesInAMixedMatrixHaveThreeNodes) {
    vector_fast<unsigned> set;
    EXPECT_EQ(0, collect_nodes<zel::tessel2d::mixed_cells>(
                     cells({{4, 1, 0, no_node}, {1, 4, 9, 3}}), set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(4, 1, 0, 9, 3));
    EXPECT_EQ(0, collect_nodes<zel::tessel2d::triangle_cells>(cells({{6, 5, 4}, {4, 5, 6}}), set));
    EXPECT_THAT(values<unsigned>(set), ElementsAre(6, 5, 4));
}

} // namespace
