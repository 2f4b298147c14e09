// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/orientation.h"

#include "support/adjacency.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "support/reorientation_walk.h"

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::flip;
using zel::tessel2d::mesh_reorient;
using zel_test::adjacency_of;

const unsigned none = no_node;

/// Turns each element over with the given chance and keeps the neighbours in step.
unsigned flip_some(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, double chance,
                   random_numbers& random) {
    unsigned count = 0;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        if (random.unit() >= chance) continue;
        auto cell = connect.sub_matrix(0, e, connect.rows, 1);
        auto across = neighbors.sub_matrix(0, e, neighbors.rows, 1);
        EXPECT_EQ(0, flip(cell, across, zel::ELEMENT_FACE));
        ++count;
    }
    return count;
}

TEST(MeshReorient, TheSecondTriangleRunsTheCommonEdgeInTheSameDirection) {
    auto connect = cells({{0, 1, 2}, {1, 2, 3}});
    auto neighbors = cells({{1, none, none}, {none, none, 0}});
    ASSERT_EQ(1, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2), cell(3, 2, 1)));
    EXPECT_THAT(columns(neighbors), ElementsAre(cell(1, none, none), cell(0, none, none)));
}

TEST(MeshReorient, TheSeedKeepsItsOrientation) {
    auto connect = cells({{0, 1, 2}, {1, 2, 3}});
    auto neighbors = cells({{1, none, none}, {none, none, 0}});
    ASSERT_EQ(1, mesh_reorient(connect, neighbors, 1, 0));
    EXPECT_THAT(columns(connect), ElementsAre(cell(2, 1, 0), cell(1, 2, 3)));
    EXPECT_THAT(columns(neighbors), ElementsAre(cell(none, none, 1), cell(none, none, 0)));
}

TEST(MeshReorient, ATriangleAndAQuadrilateral) {
    auto connect = cells({{0, 1, 2, 3}, {1, 2, 4, none}});
    auto neighbors = adjacency_of(connect, 5).neighbors;
    ASSERT_EQ(1, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2, 3), cell(4, 2, 1, none)));
    EXPECT_EQ(snapshot(adjacency_of(connect, 5).neighbors), snapshot(neighbors));
    auto other = cells({{0, 1, 2, 3}, {1, 2, 4, none}});
    auto beside = adjacency_of(other, 5).neighbors;
    ASSERT_EQ(1, mesh_reorient(other, beside, 1, 0));
    EXPECT_THAT(columns(other), ElementsAre(cell(2, 1, 0, 3), cell(1, 2, 4, none)));
    EXPECT_EQ(snapshot(adjacency_of(other, 5).neighbors), snapshot(beside));
}

TEST(MeshReorient, OnlyTheSeedsComponentUnlessAllAreAskedFor) {
    const auto connect = cells({{0, 1, 2}, {1, 2, 3}, {4, 5, 6}, {5, 6, 7}});
    const auto neighbors = adjacency_of(connect, 8).neighbors;
    auto one = fresh_copy(connect);
    auto beside_one = fresh_copy(neighbors);
    EXPECT_EQ(1, mesh_reorient(one, beside_one, 0, 0));
    EXPECT_THAT(columns(one),
                ElementsAre(cell(0, 1, 2), cell(3, 2, 1), cell(4, 5, 6), cell(5, 6, 7)));
    for (const int all : {1, -1, 7}) {
        auto both = fresh_copy(connect);
        auto beside_both = fresh_copy(neighbors);
        EXPECT_EQ(2, mesh_reorient(both, beside_both, 0, all));
        EXPECT_THAT(columns(both),
                    ElementsAre(cell(0, 1, 2), cell(3, 2, 1), cell(4, 5, 6), cell(7, 6, 5)));
    }
}

TEST(MeshReorient, ComponentsInFrontOfTheSeedStayUntreated) {
    auto connect = cells({{0, 1, 2}, {1, 2, 3}, {4, 5, 6}, {5, 6, 7}});
    auto neighbors = adjacency_of(connect, 8).neighbors;
    EXPECT_EQ(1, mesh_reorient(connect, neighbors, 3, 1));
    EXPECT_THAT(columns(connect),
                ElementsAre(cell(0, 1, 2), cell(1, 2, 3), cell(6, 5, 4), cell(5, 6, 7)));
}

TEST(MeshReorient, ElementsInFrontOfTheSeedThatHangTogetherWithItAreTreated) {
    auto connect = cells({{0, 1, 2}, {1, 2, 3}});
    auto neighbors = adjacency_of(connect, 4).neighbors;
    EXPECT_EQ(1, mesh_reorient(connect, neighbors, 1, 1));
    EXPECT_THAT(column(connect, 0), ElementsAre(2, 1, 0));
}

TEST(MeshReorient, ViewsAreTurnedInPlace) {
    const auto mesh = grid_mixed(4, 3);
    auto connect = framed(mesh.connect);
    auto neighbors = framed(adjacency_of(mesh.connect, mesh.pos.cols).neighbors);
    random_numbers random(3);
    ASSERT_GT(flip_some(connect.view, neighbors.view, 0.5, random), 0U);
    EXPECT_GE(mesh_reorient(connect.view, neighbors.view, 0, 0), 0);
    EXPECT_TRUE(connect.surroundings_untouched(mesh.connect.cols));
    EXPECT_TRUE(neighbors.surroundings_untouched(mesh.connect.cols));
    EXPECT_EQ(0, mesh_reorient(connect.view, neighbors.view, 0, 0));
}

TEST(MeshReorient, OneInputMayBeAViewAndTheOtherContiguous) {
    const auto mesh = grid_mixed(4, 3);
    auto connect = fresh_copy(mesh.connect);
    auto neighbors = adjacency_of(mesh.connect, mesh.pos.cols).neighbors;
    random_numbers random(4);
    ASSERT_GT(flip_some(connect, neighbors, 0.5, random), 0U);
    for (const bool framed_neighbors : {false, true}) {
        auto own_connect = fresh_copy(connect);
        auto own_neighbors = fresh_copy(neighbors);
        auto view = framed(framed_neighbors ? neighbors : connect);
        auto& cells = framed_neighbors ? own_connect : view.view;
        auto& across = framed_neighbors ? view.view : own_neighbors;
        auto expected_cells = fresh_copy(connect);
        auto expected_across = fresh_copy(neighbors);
        const int turned = mesh_reorient(expected_cells, expected_across, 0, 0);
        ASSERT_GT(turned, 0);
        EXPECT_EQ(turned, mesh_reorient(cells, across, 0, 0));
        EXPECT_EQ(columns(expected_cells), columns(cells));
        EXPECT_EQ(columns(expected_across), columns(across));
        EXPECT_TRUE(view.surroundings_untouched(mesh.connect.cols));
    }
}

TEST(MeshReorient, StatusesInTheirOrder) {
    dense2D<unsigned> none_at_all;
    dense2D<unsigned> five(5, 2, 0U);
    EXPECT_EQ(0, mesh_reorient(none_at_all, five, 9, 1));
    auto connect = cells({{0, 1, 2}, {1, 2, 3}});
    auto neighbors = cells({{1, none, none}, {none, none, 0}});
    EXPECT_EQ(-1, mesh_reorient(five, neighbors, 9, 1)); // before the shape of the neighbours
    auto two_rows = cells({{1, none}, {none, 0}});
    EXPECT_EQ(-2, mesh_reorient(connect, two_rows, 9, 1)); // before the seed
    auto one_column = cells({{1, none, none}});
    EXPECT_EQ(-2, mesh_reorient(connect, one_column, 0, 1));
    EXPECT_EQ(-2, mesh_reorient(connect, none_at_all, 0, 1));
    EXPECT_EQ(-3, mesh_reorient(connect, neighbors, 2, 1));
    EXPECT_EQ(-3, mesh_reorient(connect, neighbors, none, 1));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2), cell(1, 2, 3)));
}

TEST(MeshReorient, ColumnsWithoutRowsHaveNothingToTurn) {
    dense2D<unsigned> connect(0, 3);
    dense2D<unsigned> neighbors(0, 3);
    EXPECT_EQ(0, mesh_reorient(connect, neighbors, 1, 1));
    EXPECT_EQ(-3, mesh_reorient(connect, neighbors, 3, 1));
}

// --------------------------------------------------------------------------------------- conflicts

TEST(MeshReorient, ANeighborWithoutTheCommonEdgeGivesMinusTwo) {
    auto connect = cells({{0, 1, 2}, {7, 8, 9}});
    auto neighbors = cells({{1, none, none}, {0, none, none}});
    EXPECT_EQ(-2, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2), cell(7, 8, 9)));
}

TEST(MeshReorient, AfterAConflictTheWalkGoesOnAndItsTurnsAddToTheResult) {
    // Element 1 is no neighbour; element 2, met through it, is turned and lifts -2 to -1; element 3,
    // behind the conflict in element 0, is met from nowhere.
    auto connect = cells({{0, 1, 2}, {7, 8, 9}, {8, 9, 10}, {2, 0, 3}});
    auto neighbors = cells({{1, 3, none}, {2, none, 0}, {none, none, 1}, {none, none, 0}});
    EXPECT_EQ(-1, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(columns(connect),
                ElementsAre(cell(0, 1, 2), cell(7, 8, 9), cell(10, 9, 8), cell(2, 0, 3)));
}

TEST(MeshReorient, EnoughTurnsLiftAConflictToZero) {
    // A chain 0 - 1 (conflict), 1 - 2, 2 - 3.
    auto connect = cells({{0, 1, 2}, {7, 8, 9}, {8, 9, 10}, {9, 8, 11}});
    auto neighbors = cells({{1, none, none}, {2, none, none}, {none, none, 3}, {none, none, none}});
    EXPECT_EQ(0, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(columns(connect),
                ElementsAre(cell(0, 1, 2), cell(7, 8, 9), cell(10, 9, 8), cell(11, 8, 9)));
}

TEST(MeshReorient, AMissingCornerHasTheLargestPosition) {
    // The neighbour holds node 2 of the edge (1, 2) but not node 1. The place of node 1 then counts as
    // 0xFFFFFFFF, and 0xFFFFFFFF + 1 leaves 1 by 3 and 0 by 4.
    auto triangles = cells({{0, 1, 2}, {7, 2, 8}});
    auto beside = cells({{1, none, none}, {none, none, none}});
    EXPECT_EQ(1, mesh_reorient(triangles, beside, 0, 0));
    EXPECT_THAT(column(triangles, 1), ElementsAre(8, 2, 7));
    auto quads = cells({{0, 1, 2, 3}, {2, 7, 8, 9}});
    auto beside_quads = cells({{none, 1, none, none}, {none, none, none, none}});
    EXPECT_EQ(1, mesh_reorient(quads, beside_quads, 0, 0));
    EXPECT_THAT(column(quads, 1), ElementsAre(8, 7, 2, 9));
    // The other end missing makes the pair look consistent.
    auto consistent = cells({{0, 1, 2}, {7, 1, 8}});
    auto beside_consistent = cells({{1, none, none}, {none, none, none}});
    EXPECT_EQ(0, mesh_reorient(consistent, beside_consistent, 0, 0));
    EXPECT_THAT(column(consistent, 1), ElementsAre(7, 1, 8));
    // At the other places a missing corner is a conflict.
    auto conflict = cells({{0, 1, 2}, {2, 7, 8}});
    auto beside_conflict = cells({{1, none, none}, {none, none, none}});
    EXPECT_EQ(-2, mesh_reorient(conflict, beside_conflict, 0, 0));
}

TEST(MeshReorient, RowThreeOfATriangleIsNotLookedAt) {
    auto connect = cells({{0, 1, 2, none}, {0, 1, 3, none}});
    auto neighbors = cells({{none, none, none, 1}, {none, none, none, 0}});
    EXPECT_EQ(0, mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_THAT(column(connect, 1), ElementsAre(0, 1, 3, none));
}

TEST(MeshReorient, AnElementThatIsItsOwnNeighborIsPassedOver) {
    auto connect = cells({{0, 1, 2}});
    auto neighbors = cells({{0, 0, 0}});
    EXPECT_EQ(0, mesh_reorient(connect, neighbors, 0, 1));
    EXPECT_THAT(column(connect, 0), ElementsAre(0, 1, 2));
}

TEST(MeshReorient, AMoebiusStripKeepsNeighborsInStep) {
    // Five quadrilaterals in a ring with a twist: consistent all around is impossible.
    auto connect = cells({{0, 1, 3, 2}, {2, 3, 5, 4}, {4, 5, 7, 6}, {6, 7, 9, 8}, {8, 9, 0, 1}});
    auto neighbors = adjacency_of(connect, 10).neighbors;
    EXPECT_GE(mesh_reorient(connect, neighbors, 0, 0), 1);
    EXPECT_EQ(snapshot(adjacency_of(connect, 10).neighbors), snapshot(neighbors));
}

// ----------------------------------------------------------------------------------------- memory

TEST(MeshReorient, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto mesh = grid_mixed(6, 5);
    fail_each_allocation([&](std::size_t k) {
        auto connect = fresh_copy(mesh.connect);
        auto neighbors = adjacency_of(connect, mesh.pos.cols).neighbors;
        random_numbers random(5);
        flip_some(connect, neighbors, 0.5, random);
        const auto before = snapshot(connect, neighbors);
        arm_allocator(k);
        const int status = mesh_reorient(connect, neighbors, 0, 1);
        if (disarm_allocator()) {
            EXPECT_TRUE(status == -199 || status > 0) << status;
            if (status == -199) {
                EXPECT_EQ(before, snapshot(connect, neighbors));
            }
        } else {
            EXPECT_GT(status, 0);
        }
    });
}

// -------------------------------------------------------------------------------------- properties

TEST(MeshReorientProperties, RandomFlipsAreUndoneUpToTheSeed) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        const unsigned m = 1 + random.below(7);
        const unsigned n = 1 + random.below(7);
        const auto mesh = seed % 3 == 0   ? grid_T3(m, n)
                          : seed % 3 == 1 ? grid_Q4(m, n)
                                          : grid_mixed(m, n);
        auto connect = fresh_copy(mesh.connect);
        auto neighbors = adjacency_of(connect, mesh.pos.cols).neighbors;
        flip_some(connect, neighbors, 0.5, random);
        const auto start = random.below(static_cast<unsigned>(connect.cols));
        const bool upright = double_area(mesh.pos, connect, start) > 0;
        unsigned to_turn = 0;
        for (std::size_t e = 0; e < connect.cols; ++e)
            to_turn += (double_area(mesh.pos, connect, e) > 0) != upright ? 1U : 0U;
        ASSERT_EQ(static_cast<int>(to_turn), mesh_reorient(connect, neighbors, start, 0));
        EXPECT_EQ(snapshot(adjacency_of(connect, mesh.pos.cols).neighbors), snapshot(neighbors));
        if (!upright) {
            ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
        }
        expect_valid_mesh(mesh.pos, connect);
        EXPECT_EQ(0, mesh_reorient(connect, neighbors, start, 1));
    }
}

TEST(MeshReorient, ACornerWithoutANodeIsRefused) {
    for (std::size_t row = 0; row < 3; ++row) {
        for (const std::size_t rows : {3U, 4U}) {
            dense2D<unsigned> connect(rows, 2, 5U);
            dense2D<unsigned> neighbors(rows, 2, none);
            connect(row, 1) = none;
            const auto before = snapshot(connect, neighbors);
            EXPECT_EQ(-1, mesh_reorient(connect, neighbors, 0, 1));
            EXPECT_EQ(before, snapshot(connect, neighbors));
        }
    }
}

// Arbitrary adjacency: wrong, one-sided, out of range. The same as the walk written down plainly.
TEST(MeshReorientProperties, AnyNumbersGiveWhatThePlainWalkGives) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        const std::size_t rows = 3 + random.below(2);
        const std::size_t elements = 1 + random.below(12);
        const unsigned nodes = 2 + random.below(9);
        const auto count = static_cast<unsigned>(elements);
        dense2D<unsigned> connect(rows, elements);
        dense2D<unsigned> neighbors(rows, elements);
        for (std::size_t e = 0; e < elements; ++e) {
            for (std::size_t i = 0; i < rows; ++i) {
                connect(i, e) =
                    random.below(10) == 0 ? none - 1 - random.below(2) : random.below(nodes);
                const unsigned kind = random.below(10);
                neighbors(i, e) = kind == 0   ? none
                                  : kind == 1 ? count + random.below(5)
                                              : random.below(count);
            }
            if (rows == 4 && random.below(2) == 0) connect(3, e) = none;
        }
        auto plain_connect = columns(connect);
        auto plain_neighbors = columns(neighbors);
        const auto start = random.below(count);
        const int all = static_cast<int>(random.below(2));
        const int expected = reorientation_walk(plain_connect, plain_neighbors, start, all != 0);
        ASSERT_EQ(expected, mesh_reorient(connect, neighbors, start, all));
        ASSERT_EQ(plain_connect, columns(connect));
        ASSERT_EQ(plain_neighbors, columns(neighbors));
    }
}

} // namespace
