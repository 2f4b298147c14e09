// SPDX-License-Identifier: Apache-2.0
#include "foundation/topology.h"

#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <gmock/gmock.h>

#include <utility>
#include <vector>

namespace {

using namespace zel::tessel2d;
using namespace zel_test;
using testing::ElementsAre;

std::pair<unsigned, unsigned> ends(const unsigned* cell, unsigned corners, unsigned k) {
    const zel::elfes::edge2 edge = edge_nodes(cell, corners, k);
    return {edge.a, edge.b};
}

TEST(Topology, LocalNodeIndexIsTheFirstRowThatHoldsTheNode) {
    const unsigned quad[4] = {5, 7, 5, 9};
    EXPECT_EQ(0U, local_node_index(5, quad, 4));
    EXPECT_EQ(1U, local_node_index(7, quad, 4));
    EXPECT_EQ(3U, local_node_index(9, quad, 4));
    EXPECT_EQ(no_node, local_node_index(6, quad, 4));
}

TEST(Topology, LocalNodeIndexOfATriangleNeverLooksAtRowThree) {
    const unsigned triangle[4] = {5, 7, 8, no_node};
    EXPECT_EQ(no_node, local_node_index(no_node, triangle, 3));
    const unsigned quad[4] = {5, 7, 8, 9};
    EXPECT_EQ(no_node, local_node_index(9, quad, 3));
}

TEST(Topology, ATriangleNumbersAnEdgeByTheOppositeCorner) {
    const unsigned cell[3] = {10, 11, 12};
    EXPECT_EQ(std::make_pair(11U, 12U), ends(cell, 3, 0));
    EXPECT_EQ(std::make_pair(12U, 10U), ends(cell, 3, 1));
    EXPECT_EQ(std::make_pair(10U, 11U), ends(cell, 3, 2));
}

TEST(Topology, AQuadrilateralNumbersAnEdgeByTheCornerItStartsFrom) {
    const unsigned cell[4] = {10, 11, 12, 13};
    EXPECT_EQ(std::make_pair(10U, 11U), ends(cell, 4, 0));
    EXPECT_EQ(std::make_pair(11U, 12U), ends(cell, 4, 1));
    EXPECT_EQ(std::make_pair(12U, 13U), ends(cell, 4, 2));
    EXPECT_EQ(std::make_pair(13U, 10U), ends(cell, 4, 3));
}

TEST(Topology, TurnEdgeLeadsAcrossTheEdgeThatEndsAtTheNode) {
    EXPECT_EQ(3U, turn_edge(0, 4));
    EXPECT_EQ(0U, turn_edge(2, 3));
    const unsigned triangle[3] = {10, 11, 12};
    for (unsigned i = 0; i < 3; ++i)
        EXPECT_EQ(triangle[i], edge_nodes(triangle, 3, turn_edge(i, 3)).b);
    const unsigned quad[4] = {10, 11, 12, 13};
    for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(quad[i], edge_nodes(quad, 4, turn_edge(i, 4)).b);
}

TEST(Topology, TurnBackEdgeLeadsAcrossTheEdgeThatStartsAtTheNode) {
    const unsigned triangle[3] = {10, 11, 12};
    for (unsigned i = 0; i < 3; ++i)
        EXPECT_EQ(triangle[i], edge_nodes(triangle, 3, turn_back_edge(i, 3)).a);
    const unsigned quad[4] = {10, 11, 12, 13};
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_EQ(quad[i], edge_nodes(quad, 4, turn_back_edge(i, 4)).a);
}

// After turning over, each row of neighbours leads across the same pair of nodes as before.
TEST(Topology, TurningOverKeepsNeighborsAtTheirEdges) {
    for (const unsigned corners : {3U, 4U}) {
        unsigned cell[4] = {10, 11, 12, corners == 3 ? no_node : 13};
        unsigned across[4] = {0, 1, 2, corners == 3 ? no_node : 3};
        std::vector<std::pair<unsigned, unsigned>> before(4);
        for (unsigned k = 0; k < corners; ++k) before[k] = ends(cell, corners, k);
        turn_over(cell);
        turn_over_neighbors(across, corners);
        for (unsigned k = 0; k < corners; ++k) {
            const auto edge = ends(cell, corners, k);
            EXPECT_EQ(before[across[k]], std::make_pair(edge.second, edge.first)) << corners << k;
        }
    }
}

TEST(Topology, ASetOfElementsStartsEmptyAndKeepsEachNumberApart) {
    for (const std::size_t count : {1U, 31U, 32U, 33U, 100U}) {
        element_set set;
        ASSERT_TRUE(set.start(count));
        for (std::size_t e = 0; e < count; ++e) EXPECT_FALSE(set.holds(e));
        for (std::size_t e = 0; e < count; e += 3) set.add(e);
        for (std::size_t e = 0; e < count; ++e) EXPECT_EQ(e % 3 == 0, set.holds(e)) << e;
        ASSERT_TRUE(set.start(count));
        for (std::size_t e = 0; e < count; ++e) EXPECT_FALSE(set.holds(e));
    }
}

TEST(Topology, ExhaustedMemoryForASetIsReported) {
    fail_each_allocation([](std::size_t k) {
        element_set set;
        arm_allocator(k);
        const bool started = set.start(1000);
        EXPECT_EQ(!disarm_allocator(), started);
    });
}

} // namespace
