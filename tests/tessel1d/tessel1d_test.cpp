// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel1d.h"

#include <cfloat>
#include <cstdint>

namespace {

using namespace zel_test;
using zel::tessel1d::indices_to_connectE2;
using zel::tessel1d::mesh_straight;
using zel::tessel1d::normals;

dense2D<double> normals_of(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                           double power, bool unit) {
    dense2D<double> vectors;
    EXPECT_EQ(0, normals(pos, connect, power, unit, vectors));
    return vectors;
}

// ------------------------------------------------------------------------------------------ normals

TEST(LineNormals, TheEdgeIsTurnedLeft) {
    const auto pos = points({{0, 0}, {2, 0}});
    EXPECT_EQ(columns(points({{-0.0, 1}, {-0.0, 1}})),
              columns(normals_of(pos, cells({{0, 1}}), 1, true)));
    EXPECT_EQ(columns(points({{0, -1}, {0, -1}})),
              columns(normals_of(pos, cells({{1, 0}}), 1, true)));
}

TEST(LineNormals, OfAnyNumberOfNodes) {
    for (unsigned n = 2; n < 30; ++n) {
        dense2D<double> pos(2, n, 0.0);
        for (unsigned k = 0; k < n; ++k) pos(0, k) = k;
        EXPECT_EQ(n, normals_of(pos, cells({{0, n - 1}}), 1, true).cols);
    }
}

TEST(LineNormals, AStripAlongThemHasCounterclockwiseCells) {
    random_numbers random(5);
    for (int k = 0; k < 50; ++k) {
        const auto pos = points({{random.unit(), random.unit()}, {random.unit(), random.unit()}});
        const auto n = normals_of(pos, cells({{0, 1}}), 1, true);
        dense2D<double> strip(2, 4);
        for (std::size_t i = 0; i < 2; ++i) {
            strip(i, 0) = pos(i, 0);
            strip(i, 1) = pos(i, 1);
            strip(i, 2) = pos(i, 1) + n(i, 1);
            strip(i, 3) = pos(i, 0) + n(i, 0);
        }
        EXPECT_GT(double_area(strip, cells({{0, 1, 2, 3}}), 0), 0.0);
    }
}

TEST(LineNormals, WeightsArePowersOfTheLength) {
    // Edges of length 2 with normal (0, 1) and of length 8 with normal (-1, 0) meet in node 1.
    const auto pos = points({{0, 0}, {2, 0}, {2, 8}});
    const auto edges = cells({{0, 1}, {1, 2}});
    for (const double power : {-2.0, -1.0, 0.0, 0.5, 1.0, 2.0, 3.0}) {
        const double a = std::pow(2.0, power);
        const double b = std::pow(8.0, power);
        const auto mean = normals_of(pos, edges, power, false);
        EXPECT_NEAR(-b / (a + b), mean(0, 1), 1e-15) << power;
        EXPECT_NEAR(a / (a + b), mean(1, 1), 1e-15) << power;
        const auto unit = normals_of(pos, edges, power, true);
        EXPECT_NEAR(-b / std::hypot(a, b), unit(0, 1), 1e-15) << power;
        EXPECT_NEAR(a / std::hypot(a, b), unit(1, 1), 1e-15) << power;
    }
}

TEST(LineNormals, PowersBeyondTheExtremesWeightAlike) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 8}});
    const auto edges = cells({{0, 1}, {1, 2}});
    for (const double power : {infinity, -infinity, zel_test::nan})
        EXPECT_EQ(columns(normals_of(pos, edges, 0, true)),
                  columns(normals_of(pos, edges, power, true)));
}

TEST(LineNormals, TheLargestPowerTakesTheLongestEdgeAndAddsLaterShorterOnes) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 8}});
    // The short edge comes first and is replaced.
    const auto replaced = normals_of(pos, cells({{0, 1}, {1, 2}}), DBL_MAX, true);
    EXPECT_EQ(-1, replaced(0, 1));
    EXPECT_EQ(0, replaced(1, 1));
    // The long edge comes first; the short one loses and is added.
    const auto added = normals_of(pos, cells({{1, 2}, {0, 1}}), DBL_MAX, true);
    EXPECT_EQ(-1, added(0, 1));
    EXPECT_EQ(1, added(1, 1));
}

TEST(LineNormals, TheSmallestPowerTakesTheShortestEdgeAndAddsWhatLosesLater) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 8}});
    const auto replaced = normals_of(pos, cells({{1, 2}, {0, 1}}), -DBL_MAX, true);
    EXPECT_EQ(0, replaced(0, 1));
    EXPECT_EQ(1, replaced(1, 1));
    const auto added = normals_of(pos, cells({{0, 1}, {1, 2}}), -DBL_MAX, false);
    EXPECT_EQ(-1, added(0, 1));
    EXPECT_EQ(1, added(1, 1));
}

TEST(LineNormals, ALoserRaisesTheMarkByOne) {
    // Longest edge mode: edges of length 4, 2 and 4.5 at node 0. The second loses and raises the mark to
    // 5, so that the third loses too, although it is the longest.
    const auto pos = points({{0, 0}, {4, 0}, {0, 2}, {-4.5, 0}});
    const auto n = normals_of(pos, cells({{0, 1}, {0, 2}, {0, 3}}), DBL_MAX, true);
    EXPECT_EQ(-1, n(0, 0));        // 0 - 1 + 0
    EXPECT_EQ(1.0 - 1.0, n(1, 0)); // 1 + 0 - 1
}

TEST(LineNormals, AnEdgeOfLengthOneIsTakenUnchanged) {
    const auto pos = points({{0, 0}, {0.6, 0.8}});
    const auto n = normals_of(pos, cells({{0, 1}}), 1, true);
    EXPECT_EQ(-0.8, n(0, 0));
    EXPECT_EQ(0.6, n(1, 0));
}

TEST(LineNormals, EdgesWithoutLengthDisturbNothing) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 0}, {5, 5}, {5, 5}});
    const auto n = normals_of(pos, cells({{0, 1}, {1, 2}, {3, 4}}), 1, true);
    EXPECT_EQ(1, n(1, 1));
    EXPECT_EQ(0, n(0, 2));
    EXPECT_EQ(0, n(1, 2));
    EXPECT_EQ(0, n(0, 3));
    EXPECT_EQ(0, n(1, 3));
}

TEST(LineNormals, NodesWithoutEdgesStayZero) {
    const auto n = normals_of(points({{0, 0}, {1, 0}, {7, 7}}), cells({{0, 1}}), 1, true);
    EXPECT_EQ(point(0, 0), column(n, 2));
}

TEST(LineNormals, OppositeEdgesCancel) {
    const auto n = normals_of(points({{0, 0}, {3, 0}}), cells({{0, 1}, {1, 0}}), 1, true);
    EXPECT_EQ(0, n(0, 0));
    EXPECT_EQ(0, n(1, 0));
}

TEST(LineNormals, EmptyInputGivesAnEmptyResult) {
    auto n = points({{1, 2, 3}});
    EXPECT_EQ(0, normals({}, cells({{0, 1, 2}}), 1, true, n));
    EXPECT_EQ(0U, n.rows + n.cols);
    n = points({{1, 2, 3}});
    EXPECT_EQ(0, normals(points({{1, 2, 3}}), {}, 1, true, n));
    EXPECT_EQ(0U, n.rows + n.cols);
}

TEST(LineNormals, StatusesInOrder) {
    auto n = points({{1, 2}});
    EXPECT_EQ(-1, normals(points({{0, 0, 0}}), cells({{5, 5, 5}}), 1, true, n));
    EXPECT_EQ(0U, n.cols) << "emptied in any case";
    EXPECT_EQ(-2, normals(points({{0, 0}, {1, 0}}), cells({{0, 1, 0}}), 1, true, n));
    EXPECT_EQ(-2, normals(points({{0, 0}, {1, 0}}), cells({{0, 2}}), 1, true, n));
    EXPECT_EQ(-2, normals(points({{0, 0}, {1, 0}}), cells({{0, no_node}}), 1, true, n));
}

TEST(LineNormals, TheOutputMayBeTheCoordinates) {
    auto pos = points({{0, 0}, {2, 0}});
    ASSERT_EQ(0, normals(pos, cells({{0, 1}}), 1, true, pos));
    EXPECT_EQ(1, pos(1, 0));
}

TEST(LineNormals, ViewsWithALargerLeadingDimension) {
    const auto pos = framed(points({{0, 0}, {2, 0}, {2, 8}}));
    const auto edges = framed(cells({{0, 1}, {1, 2}}));
    EXPECT_EQ(
        columns(normals_of(points({{0, 0}, {2, 0}, {2, 8}}), cells({{0, 1}, {1, 2}}), 1, true)),
        columns(normals_of(pos.view, edges.view, 1, true)));
}

TEST(LineNormals, ExhaustedMemoryLeavesAnEmptyResult) {
    const auto pos = points({{0, 0}, {2, 0}});
    const auto edges = cells({{0, 1}});
    fail_each_allocation([&](std::size_t k) {
        dense2D<double> n;
        arm_allocator(k);
        const int status = normals(pos, edges, 1, true, n);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        EXPECT_EQ(status == 0 ? 2U : 0U, n.cols);
    });
}

// ------------------------------------------------------------------------------------ straight lines

TEST(MeshStraight, NodesAreEvenlySpacedAndAppended) {
    auto pos = points({{1, 2}, {9, 9}, {5, 10}});
    auto line = ids({7});
    ASSERT_EQ(0, mesh_straight(pos, 0, 2, 4, line));
    EXPECT_EQ(columns(points({{1, 2}, {9, 9}, {5, 10}, {2, 4}, {3, 6}, {4, 8}})), columns(pos));
    EXPECT_EQ((std::vector<unsigned>{7, 0, 3, 4, 5, 2}), values(line));
}

TEST(MeshStraight, OneCellAddsNoNode) {
    auto pos = points({{0, 0, 0}, {1, 1, 1}});
    dense1D<unsigned, 8> line;
    ASSERT_EQ(0, mesh_straight(pos, 1, 0, 1, line));
    EXPECT_EQ(2U, pos.cols);
    EXPECT_EQ((std::vector<unsigned>{1, 0}), values(line));
}

TEST(MeshStraight, NoCellsAreNothingToDo) {
    auto pos = points({{0, 0}});
    dense1D<unsigned, 8> line;
    EXPECT_EQ(0, mesh_straight(pos, 5, 6, 0, line));
    EXPECT_EQ(0U, line.size);
}

TEST(MeshStraight, ALineFromANodeToItselfStaysThere) {
    auto pos = points({{0.1, 0.7, -3}});
    dense1D<unsigned, 8> line;
    ASSERT_EQ(0, mesh_straight(pos, 0, 0, 5, line));
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(point(0.1, 0.7, -3), column(pos, i));
}

TEST(MeshStraight, StatusesInOrder) {
    auto pos = points({{0, 0}, {1, 1}});
    auto line = ids({3});
    const auto before = snapshot(pos, line);
    auto odd = points({{0}, {1}});
    EXPECT_EQ(-1, mesh_straight(odd, 7, 7, 3, line));
    EXPECT_EQ(-2, mesh_straight(pos, 2, 7, 3, line));
    EXPECT_EQ(-2, mesh_straight(pos, no_node, 0, 3, line));
    EXPECT_EQ(-3, mesh_straight(pos, 0, 2, 3, line));
    EXPECT_EQ(-199, mesh_straight(pos, 0, 1, 0xFFFFFFFFU, line));
    EXPECT_EQ(before, snapshot(pos, line));
}

TEST(MeshStraight, ViewsWithALargerLeadingDimension) {
    auto pos = framed(points({{0, 0}, {4, 8}}));
    auto line = framed(ids({9}));
    ASSERT_EQ(0, mesh_straight(pos.view, 0, 1, 2, line.view));
    EXPECT_EQ(point(2, 4), column(pos.view, 2));
    EXPECT_EQ((std::vector<unsigned>{9, 0, 2, 1}), values(line.view));
}

TEST(MeshStraight, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto pos = points({{0, 0}, {1, 1}});
        dense1D<unsigned, 8> line;
        const auto before = snapshot(pos, line);
        arm_allocator(k);
        const int status = mesh_straight(pos, 0, 1, 40, line);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        if (status != 0) {
            EXPECT_EQ(before, snapshot(pos, line));
        }
    });
}

// -------------------------------------------------------------------------------------- lists of edges

TEST(IndicesToConnectE2, NeighboursInTheListBecomeEdges) {
    dense2D<unsigned> edges;
    ASSERT_EQ(0, indices_to_connectE2(ids({4, 2, 7, 4}), edges));
    EXPECT_EQ(columns(cells({{4, 2}, {2, 7}, {7, 4}})), columns(edges));
}

TEST(IndicesToConnectE2, EdgesAreAppended) {
    auto edges = cells({{8, 9}});
    ASSERT_EQ(0, indices_to_connectE2(ids({1, 2}), edges));
    ASSERT_EQ(0, indices_to_connectE2(ids({2, 3, no_node}), edges));
    EXPECT_EQ(columns(cells({{8, 9}, {1, 2}, {2, 3}, {3, no_node}})), columns(edges));
}

TEST(IndicesToConnectE2, OneEntryOrNoneAddsNothing) {
    dense2D<unsigned> edges;
    EXPECT_EQ(0, indices_to_connectE2(ids({5}), edges));
    EXPECT_EQ(0, indices_to_connectE2({}, edges));
    EXPECT_EQ(0U, edges.cols);
    auto triangles = cells({{1, 2, 3}});
    EXPECT_EQ(0, indices_to_connectE2(ids({5}), triangles));
}

TEST(IndicesToConnectE2, ColumnsOfAnotherHeightAreRefused) {
    auto triangles = cells({{1, 2, 3}});
    EXPECT_EQ(-2, indices_to_connectE2(ids({5, 6}), triangles));
    EXPECT_EQ(columns(cells({{1, 2, 3}})), columns(triangles));
}

TEST(IndicesToConnectE2, TheListMayShareItsStorageWithTheEdges) {
    auto edges = cells({{1, 2}, {3, 4}});
    const auto list = edges.as_vector();
    ASSERT_EQ(0, indices_to_connectE2(list, edges));
    EXPECT_EQ(columns(cells({{1, 2}, {3, 4}, {1, 2}, {2, 3}, {3, 4}})), columns(edges));
}

TEST(IndicesToConnectE2, ViewsWithALargerLeadingDimension) {
    auto edges = framed(cells({{1, 2}}));
    const auto list = framed(ids({3, 4, 5}));
    ASSERT_EQ(0, indices_to_connectE2(list.view, edges.view));
    EXPECT_EQ(columns(cells({{1, 2}, {3, 4}, {4, 5}})), columns(edges.view));
}

TEST(IndicesToConnectE2, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto list = ids({1, 2, 3, 4, 5, 6, 7, 8});
    fail_each_allocation([&](std::size_t k) {
        auto edges = cells({{1, 2}});
        arm_allocator(k);
        const int status = indices_to_connectE2(list, edges);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        EXPECT_EQ(status == 0 ? 8U : 1U, edges.cols);
        EXPECT_EQ(cell(1, 2), column(edges, 0));
    });
}

TEST(IndicesToConnectE2, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    dense2D<unsigned> edges;
    ASSERT_TRUE(edges.resize(0, SIZE_MAX));
    EXPECT_EQ(-199, indices_to_connectE2(ids({1, 2}), edges));
    EXPECT_EQ(SIZE_MAX, edges.cols);
}
TEST(IndicesToConnectE2, WithoutMemoryForACopyOfASharedListNothingChanges) {
    fail_each_allocation([&](std::size_t k) {
        dense2D<unsigned> edges(2, 4, 0U);
        dense1D<unsigned, 8> list;
        list.storage = edges.storage;
        list.start = 2;
        list.size = 6;
        for (unsigned i = 0; i < 6; ++i) list[i] = i + 1;
        edges.cols = 1;
        arm_allocator(k);
        const int status = indices_to_connectE2(list, edges);
        const bool failed = disarm_allocator();
        if (status < 0) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(-199, status);
            EXPECT_EQ(columns(cells({{0, 0}})), columns(edges));
            EXPECT_EQ((std::vector<unsigned>{1, 2, 3, 4, 5, 6}), values(list));
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(columns(cells({{0, 0}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 6}})),
                      columns(edges));
        }
    });
}

// With a power that needs weights there is one allocation more, and the result is there already.
TEST(LineNormals, ExhaustedMemoryForWeightsLeavesAnEmptyResult) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 3}});
    const auto edges = cells({{0, 1}, {1, 2}});
    std::size_t refused = 0;
    fail_each_allocation([&](std::size_t k) {
        dense2D<double> n;
        arm_allocator(k);
        const int status = normals(pos, edges, 2, true, n);
        if (status != 0) {
            EXPECT_TRUE(allocation_failed());
            EXPECT_EQ(-199, status);
            refused = std::max(refused, k);
        }
        EXPECT_EQ(status == 0 ? 3U : 0U, n.cols);
        EXPECT_EQ(status == 0 ? 2U : 0U, n.rows);
    });
    EXPECT_GE(refused, 3U) << "matrix, its block, weights";
}

} // namespace
