// SPDX-License-Identifier: Apache-2.0
#include "extrusion/sweeps.h"
#include "support/failing_alloc.h"

#include <cmath>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::extrude_normal_Q4;
using zel::tessel2d::extrude_normal_T3;

constexpr double epsilon = std::numeric_limits<double>::epsilon();

struct bottom {
    dense2D<double> pos = points({{0, 0}, {9, 9}, {2, 0}, {4, 0}});
    dense2D<unsigned> edges = cells({{0, 2}, {2, 3}});
    dense2D<unsigned> out;
};

// ---------------------------------------------------------------------------------- given vectors

TEST(ExtrudeNormal, GivenVectorsAreWholeWaysByNodeNumber) {
    bottom s;
    const auto V = points({{0, 2}, {zel_test::nan, zel_test::nan}, {1, 4}, {0, 8}});
    ASSERT_EQ(0, extrude_normal_Q4(s.pos, s.edges, V, 2, s.out));
    EXPECT_THAT(columns(s.pos),
                ElementsAre(point(0, 0), point(9, 9), point(2, 0), point(4, 0), point(0, 1),
                            point(2.5, 2), point(4, 4), point(0, 2), point(3, 4), point(4, 8)));
    EXPECT_THAT(columns(s.out), ElementsAre(cell(0, 2, 5, 4), cell(4, 5, 8, 7), cell(2, 3, 6, 5),
                                            cell(5, 6, 9, 8)));
}
TEST(ExtrudeNormal, VectorsOfThreeRowsAreRefused) {
    bottom s;
    const dense2D<double> V(3, 4, 1.0);
    EXPECT_EQ(-3, extrude_normal_Q4(s.pos, s.edges, V, 2, s.out));
    EXPECT_EQ(-3, extrude_normal_T3(s.pos, s.edges, V, 2, 0, s.out));
}
TEST(ExtrudeNormal, OnlyNodesOfTheProfileNeedAVector) {
    bottom s;
    s.edges = cells({{0, 2}});
    const dense2D<double> V(2, 3, 1.0);
    EXPECT_EQ(0, extrude_normal_Q4(s.pos, s.edges, V, 1, s.out));
    EXPECT_EQ(point(3, 1), column(s.pos, 5));
}
TEST(ExtrudeNormal, AMissingVectorIsReportedLast) {
    bottom s;
    const dense2D<double> V(2, 3, 1.0);
    const dense2D<double> none(2, 0);
    const auto before = snapshot(s.pos, s.out);
    EXPECT_EQ(-3, extrude_normal_Q4(s.pos, s.edges, V, 1, s.out));
    EXPECT_EQ(-3, extrude_normal_T3(s.pos, s.edges, none, 1, 0, s.out));
    EXPECT_EQ(before, snapshot(s.pos, s.out));
    s.out = cells({{1, 2}});
    EXPECT_EQ(-5, extrude_normal_Q4(s.pos, s.edges, V, 1, s.out));
    EXPECT_EQ(-6, extrude_normal_T3(s.pos, s.edges, V, 1, 0, s.out));
}
TEST(ExtrudeNormal, NoLayersAddNothingBehindTheTests) {
    bottom s;
    const dense2D<double> V(2, 4, 1.0);
    const auto before = snapshot(s.pos);
    EXPECT_EQ(0, extrude_normal_Q4(s.pos, s.edges, V, 0, s.out));
    EXPECT_EQ(0, extrude_normal_Q4(s.pos, s.edges, dense2D<double>(2, 0), 0, s.out));
    EXPECT_EQ(before, snapshot(s.pos));
    EXPECT_EQ(0u, s.out.cols);
    EXPECT_EQ(4u, s.out.rows);
    EXPECT_EQ(-3, extrude_normal_Q4(s.pos, s.edges, dense2D<double>(), 0, s.out));
    EXPECT_EQ(-2, extrude_normal_Q4(s.pos, cells({{0, 4}}), V, 0, s.out));
}
TEST(ExtrudeNormal, TheVectorsMayBeTheNodesThemselves) {
    bottom s;
    ASSERT_EQ(0, extrude_normal_Q4(s.pos, s.edges, s.pos, 4, s.out));
    for (std::size_t k = 1; k <= 4; ++k)
        EXPECT_EQ(point(4 + static_cast<double>(k), 0), column(s.pos, 3 + 3 * k));
}
TEST(ExtrudeNormal, TheVectorsMayLieWhereNewNodesGo) {
    dense2D<double> block(2, 400, 0.0);
    bottom s;
    std::copy_n(s.pos.data(), 8, block.data());
    for (std::size_t j = 4; j < 8; ++j) block(1, j) = 8;
    auto pos = block.sub_matrix(0, 0, 2, 4);
    const auto V = block.sub_matrix(0, 4, 2, 4);
    ASSERT_EQ(0, extrude_normal_T3(pos, s.edges, V, 4, 0, s.out));
    for (std::size_t k = 1; k <= 4; ++k)
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(2 * static_cast<double>(k), pos(1, 1 + 3 * k + i));
}
TEST(ExtrudeNormal, ACopyOfSharedVectorsMayFail) {
    zel_test::fail_each_allocation([](std::size_t k) {
        bottom s;
        const auto before = snapshot(s.pos, s.out);
        arm_allocator(k);
        const int status = extrude_normal_Q4(s.pos, s.edges, s.pos, 4, s.out);
        disarm_allocator();
        if (status == 0) return;
        EXPECT_EQ(-199, status);
        EXPECT_EQ(before, snapshot(s.pos, s.out));
    });
}
TEST(ExtrudeNormal, UnknownPatternsActAsOne) {
    const dense2D<double> V(2, 4, 1.0);
    bottom reference;
    ASSERT_EQ(0, extrude_normal_T3(reference.pos, reference.edges, V, 3, 1, reference.out));
    for (const int pattern : {9, -1, 3}) {
        bottom s, t, u;
        ASSERT_EQ(0, extrude_normal_T3(s.pos, s.edges, V, 3, pattern, s.out));
        ASSERT_EQ(0, extrude_normal_T3(t.pos, t.edges, 1.0, 3, pattern, t.out));
        ASSERT_EQ(0, extrude_normal_T3(u.pos, u.edges, 3.0, 1.0, 1.0, false, pattern, u.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(s.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(t.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(u.out));
    }
}

// ------------------------------------------------------------------------------------ own normals

TEST(ExtrudeNormal, AStraightProfileGrowsToItsLeft) {
    bottom s;
    ASSERT_EQ(0, extrude_normal_Q4(s.pos, s.edges, 3.0, 3, s.out));
    ASSERT_EQ(13u, s.pos.cols);
    for (std::size_t k = 1; k <= 3; ++k)
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(2.0 * static_cast<double>(i), s.pos(0, 1 + 3 * k + i));
            EXPECT_NEAR(static_cast<double>(k), s.pos(1, 1 + 3 * k + i), 4 * epsilon);
        }
    expect_valid_mesh(s.pos, s.out);
}
TEST(ExtrudeNormal, SizesRunInAProgressionThroughTheThickness) {
    bottom s;
    ASSERT_EQ(0, extrude_normal_T3(s.pos, s.edges, 10.0, 1.0, 2.0, false, 2, s.out));
    ASSERT_EQ(4u + 21, s.pos.cols);
    for (std::size_t k = 1; k <= 7; ++k)
        EXPECT_NEAR(10 * (std::pow(2.0, static_cast<double>(k) / 7) - 1), s.pos(1, 1 + 3 * k),
                    1e-14);
    bottom t;
    ASSERT_EQ(0, extrude_normal_Q4(t.pos, t.edges, 0.3, 1.0, 1.0, true, t.out));
    EXPECT_EQ(4u, t.out.cols);
}
TEST(ExtrudeNormal, AtACornerTheStripIsAsThickAlongTheNodesVector) {
    dense2D<double> pos = points({{0, 0}, {1, 0}, {1, 1}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, extrude_normal_Q4(pos, cells({{0, 1}, {1, 2}}), 2.0, 1, out));
    const double h = std::sqrt(2.0);
    EXPECT_NEAR(1 - h, pos(0, 4), 8 * epsilon); // along (-1, 1), not out to (-1, 2)
    EXPECT_NEAR(h, pos(1, 4), 8 * epsilon);
    EXPECT_NEAR(-1, pos(0, 5), 8 * epsilon);
}
TEST(ExtrudeNormal, AThicknessOfZeroIsTestedBeforeTheSizes) {
    bottom s;
    EXPECT_EQ(-3, extrude_normal_Q4(s.pos, s.edges, 0.0, 3, s.out));
    EXPECT_EQ(-3, extrude_normal_T3(s.pos, s.edges, 0.0, 3, 0, s.out));
}
TEST(ExtrudeNormal, AnEdgeOfLengthZeroHasNoNormal) {
    dense2D<double> pos = points({{1, 1}, {1, 1}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, extrude_normal_Q4(pos, cells({{0, 1}}), 2.0, 2, out));
    for (std::size_t j = 0; j < 6; ++j) EXPECT_EQ(point(1, 1), column(pos, j));
}

/// A line that turns back on itself: at node 1 the normals of the two edges cancel.
struct turning_back {
    dense2D<double> pos = points({{0, 0}, {1, 0}, {0, 0}});
    dense2D<unsigned> edges = cells({{0, 1}, {1, 2}});
    dense2D<unsigned> out;

    /// Node 1 stays where it is in both layers, which are `first` and 2 thick at the ends.
    void expect_coincident_layers(double first) const {
        EXPECT_THAT(columns(pos), ElementsAre(point(0, 0), point(1, 0), point(0, 0), //
                                              point(0, first), point(1, 0), point(0, -first),
                                              point(0, 2), point(1, 0), point(0, -2)));
    }
};

TEST(ExtrudeNormal, ANodeWhoseNormalsCancelGetsCoincidentLayersOfQuadrilaterals) {
    turning_back counted;
    ASSERT_EQ(0, extrude_normal_Q4(counted.pos, counted.edges, 2.0, 2, counted.out));
    counted.expect_coincident_layers(1);
    EXPECT_THAT(columns(counted.out), ElementsAre(cell(0, 1, 4, 3), cell(3, 4, 7, 6),
                                                  cell(1, 2, 5, 4), cell(4, 5, 8, 7)));
    turning_back sized;
    ASSERT_EQ(0, extrude_normal_Q4(sized.pos, sized.edges, 2.0, 1.0, 1.0, false, sized.out));
    EXPECT_EQ(snapshot(counted.pos, counted.out), snapshot(sized.pos, sized.out));
}
TEST(ExtrudeNormal, ANodeWhoseNormalsCancelGetsCoincidentLayersOfTriangles) {
    turning_back counted;
    ASSERT_EQ(0, extrude_normal_T3(counted.pos, counted.edges, 2.0, 2, 1, counted.out));
    counted.expect_coincident_layers(1);
    EXPECT_EQ(8u, counted.out.cols);
    turning_back sized;
    ASSERT_EQ(0, extrude_normal_T3(sized.pos, sized.edges, 2.0, 1.0, 1.0, false, 1, sized.out));
    EXPECT_EQ(snapshot(counted.pos, counted.out), snapshot(sized.pos, sized.out));
}
TEST(ExtrudeNormal, ANodeWhoseNormalsCancelStaysInGradedLayersToo) {
    turning_back graded;
    ASSERT_EQ(0, extrude_normal_Q4(graded.pos, graded.edges, 2.0, 0.25, 1.0, false, graded.out));
    ASSERT_GT(graded.pos.cols, 9u);
    for (std::size_t j = 3; j < graded.pos.cols; j += 3) {
        EXPECT_EQ(point(1, 0), column(graded.pos, j + 1));
        EXPECT_LT(graded.pos(1, j - 3), graded.pos(1, j));
        EXPECT_EQ(-graded.pos(1, j), graded.pos(1, j + 2));
    }
}
/// With V a zero vector does the same for any node.
TEST(ExtrudeNormal, AZeroVectorGivesCoincidentLayers) {
    turning_back given;
    const auto V = points({{0, 2}, {0, 0}, {0, -2}});
    ASSERT_EQ(0, extrude_normal_Q4(given.pos, given.edges, V, 2, given.out));
    given.expect_coincident_layers(1);
    turning_back triangles;
    ASSERT_EQ(0, extrude_normal_T3(triangles.pos, triangles.edges, V, 2, 0, triangles.out));
    triangles.expect_coincident_layers(1);
}

// The first layer lies so low that its height vanishes: its nodes are those of the profile, and a normal
// that is no number does not spoil a node beside it.
TEST(ExtrudeNormal, ALayerOfNoHeightLeavesTheNodesWhereTheyAre) {
    bottom s;
    s.pos(0, 3) = infinity;
    s.pos(1, 3) = zel_test::nan;
    ASSERT_EQ(0, extrude_normal_Q4(s.pos, s.edges, 10, 0x1p-53, 1, false, s.out));
    ASSERT_LT(4U, s.pos.cols);
    EXPECT_EQ(point(0, 0), column(s.pos, 4));
    EXPECT_EQ(point(2, 0), column(s.pos, 5));
}

TEST(ExtrudeNormal, WithoutLayersColumnsWithoutRowsStillNeedMemory) {
    fail_each_allocation([](std::size_t k) {
        bottom s;
        const dense2D<double> V(2, 4, 1.0);
        ASSERT_TRUE(s.out.resize(0, 3));
        arm_allocator(k);
        const int status = extrude_normal_Q4(s.pos, s.edges, V, 0, s.out);
        EXPECT_EQ(4U, s.pos.cols);
        EXPECT_EQ(3U, s.out.cols);
        if (status == 0) {
            EXPECT_EQ(cell(no_node, no_node, no_node, no_node), column(s.out, 2));
        } else {
            EXPECT_TRUE(allocation_failed());
            EXPECT_EQ(-199, status);
        }
    });
}

} // namespace
