// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel.h"

#include <cstdint>

namespace {

using namespace zel_test;
using zel::vector_fixed;
using zel::tessel::copy_mesh;

constexpr double pi = 3.141592653589793;
constexpr vector_fixed<double, 2> still{0, 0};
constexpr vector_fixed<double, 3> still3{0, 0, 0};

TEST(CopyMesh, QuarterTurnsAreExact) {
    auto pos = points({{3, 1}, {4, 1}});
    auto edges = cells({{0, 1}});
    ASSERT_EQ(0, copy_mesh(pos, edges, still, {1, 1}, pi / 2, 3, cells({{0, 1}})));
    EXPECT_EQ(columns(points({{3, 1}, {4, 1}, {1, 3}, {1, 4}, {-1, 1}, {-2, 1}, {1, -1}, {1, -2}})),
              columns(pos));
    EXPECT_EQ(columns(cells({{0, 1}, {2, 3}, {4, 5}, {6, 7}})), columns(edges));
}

TEST(CopyMesh, OfAnyNumberOfNodesAndElements) {
    for (unsigned n = 1; n < 30; ++n) {
        dense2D<double> pos(2, n, 1.0);
        dense2D<unsigned> source(1, n), copied;
        for (unsigned k = 0; k < n; ++k) source(0, k) = k;
        ASSERT_EQ(0, copy_mesh(pos, copied, {1, 2}, still, 0.0, 1, source));
        EXPECT_EQ(2 * n, pos.cols);
        EXPECT_EQ(n, copied.cols);
    }
}

TEST(CopyMesh, CopyKIsTurnedAndMovedKTimes) {
    auto pos = points({{2, 0}});
    dense2D<unsigned> nodes;
    ASSERT_EQ(0, copy_mesh(pos, nodes, {10, 100}, {1, 0}, 0.3, 4, cells({{0}})));
    ASSERT_EQ(5U, pos.cols);
    for (unsigned k = 1; k <= 4; ++k) {
        const long double t = 0.3L * k;
        EXPECT_NEAR(static_cast<double>(1 + std::cos(t) + 10 * k), pos(0, k), 1e-14);
        EXPECT_NEAR(static_cast<double>(std::sin(t) + 100 * k), pos(1, k), 1e-13);
        EXPECT_EQ(k, nodes(0, k - 1));
    }
}

TEST(CopyMesh, OnlyNodesInUseAreCopiedInAscendingOrder) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
    dense2D<unsigned> edges;
    ASSERT_EQ(0, copy_mesh(pos, edges, {0, 1}, {0, 0}, 0, 2, cells({{4, 1}, {1, 3}})));
    EXPECT_EQ(columns(points({{1, 1}, {3, 1}, {4, 1}, {1, 2}, {3, 2}, {4, 2}})),
              columns(pos.sub_matrix(0, 5, 2, 6)));
    EXPECT_EQ(columns(cells({{7, 5}, {5, 6}, {10, 8}, {8, 9}})), columns(edges));
}

TEST(CopyMesh, RotationVectorsTurnAboutTheirDirection) {
    // A third of a turn about the diagonal exchanges the axes.
    auto pos = points({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    auto cells3 = cells({{0, 1, 2}});
    const double component = 2 * pi / 3 / std::sqrt(3.0);
    ASSERT_EQ(0, copy_mesh(pos, cells3, still3, {0, 0, 0}, {component, component, component}, 1,
                           cells({{0, 1, 2}})));
    const double expected[3][3] = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(expected[j][i], pos(i, 3 + j), 1e-15);
}

TEST(CopyMesh, TurnsAboutTheAxesAreExact) {
    const auto turned = [](vector_fixed<double, 3> rotation, unsigned copies) {
        auto pos = points({{1, 2, 3}});
        dense2D<unsigned> nodes;
        EXPECT_EQ(0, copy_mesh(pos, nodes, still3, {0, 0, 0}, rotation, copies, cells({{0}})));
        return column(pos, copies);
    };
    EXPECT_EQ(point(-2, 1, 3), turned({0, 0, pi / 2}, 1));
    EXPECT_EQ(point(-1, -2, 3), turned({0, 0, pi / 2}, 2));
    EXPECT_EQ(point(2, -1, 3), turned({0, 0, pi / 2}, 3));
    EXPECT_EQ(point(3, 2, -1), turned({0, pi / 2, 0}, 1));
    EXPECT_EQ(point(1, -2, -3), turned({pi, 0, 0}, 1));
    EXPECT_EQ(point(1, 2, 3), turned({0, 0, 0}, 2));
}

TEST(CopyMesh, SpaceCopiesMove) {
    auto pos = points({{1, 2, 3}});
    dense2D<unsigned> nodes;
    ASSERT_EQ(0, copy_mesh(pos, nodes, {1, 0, -1}, {0, 0, 0}, {0, 0, pi}, 2, cells({{0}})));
    EXPECT_EQ(point(0, -2, 2), column(pos, 1));
    EXPECT_EQ(point(3, 2, 1), column(pos, 2));
}

TEST(CopyMesh, SmallTurnsAreKept) {
    auto pos = points({{1, 0}});
    dense2D<unsigned> nodes;
    ASSERT_EQ(0, copy_mesh(pos, nodes, still, {0, 0}, 1e-20, 1, cells({{0}})));
    EXPECT_EQ(1e-20, pos(1, 1));
}

TEST(CopyMesh, EntriesThatNameNoNodeAreKept) {
    auto pos = points({{0, 0}, {1, 0}, {0, 1}});
    dense2D<unsigned> mixed;
    ASSERT_EQ(0, copy_mesh(pos, mixed, {5, 5}, {0, 0}, 0, 1,
                           cells({{0, 1, 2, no_node}, {2, 3, 1000, 0xFFFFFFFEU}})));
    EXPECT_EQ(6U, pos.cols);
    EXPECT_EQ(columns(cells({{3, 4, 5, no_node}, {5, 3, 1000, 0xFFFFFFFEU}})), columns(mixed));
}

TEST(CopyMesh, TheSourceMayBeTheOutputOrAViewOfIt) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}});
    auto edges = cells({{0, 1}, {1, 2}});
    ASSERT_EQ(0, copy_mesh(pos, edges, {0, 1}, {0, 0}, 0, 2, edges));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}, {3, 4}, {4, 5}, {6, 7}, {7, 8}})), columns(edges));
    auto pos2 = points({{0, 0}, {1, 0}, {2, 0}});
    auto quads = cells({{0, 1, 2, 0}, {1, 2, 0, 1}});
    dense2D<unsigned> pairs;
    ASSERT_EQ(0, copy_mesh(pos2, pairs, {0, 1}, {0, 0}, 0, 1, quads.sub_matrix(1, 0, 2, 2)));
    EXPECT_EQ(columns(cells({{4, 5}, {5, 3}})), columns(pairs));
}

TEST(CopyMesh, ViewsWithALargerLeadingDimension) {
    auto pos = framed(points({{0, 0}, {1, 0}}));
    auto edges = framed(cells({{0, 1}}));
    ASSERT_EQ(0, copy_mesh(pos.view, edges.view, {0, 7}, {0, 0}, 0, 1, cells({{0, 1}})));
    EXPECT_EQ(columns(points({{0, 0}, {1, 0}, {0, 7}, {1, 7}})), columns(pos.view));
    EXPECT_EQ(columns(cells({{0, 1}, {2, 3}})), columns(edges.view));
}

TEST(CopyMesh, RowsBesideAViewOfTheSourceAreIgnored) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}});
    dense2D<unsigned> edges;
    const auto block = cells({{0, 1, 2}}); // the node below the view is not copied
    ASSERT_EQ(0, copy_mesh(pos, edges, {0, 1}, {0, 0}, 0, 1, block.sub_matrix(0, 0, 2, 1)));
    EXPECT_EQ(5U, pos.cols);
    EXPECT_EQ(columns(cells({{3, 4}})), columns(edges));
}

TEST(CopyMesh, RowsBesideAViewOfTheOutputStay) {
    auto pos = points({{0, 0}, {1, 0}});
    auto edges = framed(cells({{0, 1}}));
    ASSERT_EQ(0, copy_mesh(pos, edges.view, {0, 1}, {0, 0}, 0, 2, cells({{0, 1}})));
    EXPECT_EQ(columns(cells({{0, 1}, {2, 3}, {4, 5}})), columns(edges.view));
    EXPECT_TRUE(edges.surroundings_untouched(3));
}

TEST(CopyMesh, NothingToDo) {
    auto pos = points({{0}});
    auto edges = cells({{0, 1, 2}});
    const auto before = snapshot(pos, edges);
    EXPECT_EQ(0, copy_mesh(pos, edges, still, {0, 0}, 1, 0, cells({{0, 1}})));
    EXPECT_EQ(0, copy_mesh(pos, edges, still, {0, 0}, 1, 3, {}));
    EXPECT_EQ(before, snapshot(pos, edges));
}

TEST(CopyMesh, StatusesInOrder) {
    auto flat = points({{0, 0}});
    auto space = points({{0, 0, 0}});
    auto triangles = cells({{0, 0, 0}});
    const auto before = snapshot(flat, space, triangles);
    EXPECT_EQ(-1, copy_mesh(space, triangles, still, {0, 0}, 1, 1, cells({{0, 0}})));
    EXPECT_EQ(-1, copy_mesh(flat, triangles, still3, {0, 0, 0}, {0, 0, 0}, 1, cells({{0, 0}})));
    EXPECT_EQ(-2, copy_mesh(flat, triangles, still, {0, 0}, 1, 1, cells({{0, 0}})));
    EXPECT_EQ(-2, copy_mesh(space, triangles, still3, {0, 0, 0}, {0, 0, 0}, 1, cells({{0, 0}})));
    EXPECT_EQ(-199, copy_mesh(flat, triangles, still, {0, 0}, 1, 0xFFFFFFFFU, cells({{0, 0, 0}})));
    EXPECT_EQ(before, snapshot(flat, space, triangles));
}

TEST(CopyMesh, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto pos = points({{0, 0}, {1, 0}, {2, 0}});
        auto edges = cells({{0, 1}, {1, 2}});
        const auto before = snapshot(pos, edges);
        arm_allocator(k);
        const int status = copy_mesh(pos, edges, {0, 1}, {0, 0}, 0, 20, edges);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        if (status == 0) {
            EXPECT_EQ(63U, pos.cols);
        } else {
            EXPECT_EQ(before, snapshot(pos, edges));
        }
    });
}
TEST(CopyMesh, ExhaustedMemoryInSpaceIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto pos = points({{0, 0, 0}, {1, 0, 0}});
        auto edges = cells({{0, 1}});
        const auto source = cells({{0, 1}});
        const auto before = snapshot(pos, edges);
        arm_allocator(k);
        const int status = copy_mesh(pos, edges, still3, {0, 0, 0}, {0, 0, 1}, 20, source);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        if (status != 0) {
            EXPECT_EQ(before, snapshot(pos, edges));
        }
    });
}

TEST(CopyMesh, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    auto pos = points({{0, 0}, {1, 0}});
    const auto before = snapshot(pos);
    dense2D<unsigned> edges;
    ASSERT_TRUE(edges.resize(0, SIZE_MAX));
    EXPECT_EQ(-199, copy_mesh(pos, edges, {0, 1}, {0, 0}, 0, 2, cells({{0, 1}})));
    EXPECT_EQ(before, snapshot(pos));
    EXPECT_EQ(SIZE_MAX, edges.cols);
}

} // namespace
