// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/disks.h"

#include "generators/whole_mesh.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cmath>

namespace {

using namespace zel_test;
using zel::vector_fixed;
using zel::tessel2d::mesh_disk_Q4;
using zel::tessel2d::mesh_disk_T3;
using zel::tessel2d::mesh_disk_UR_Q4;
using zel::tessel2d::mesh_disk_UR_T3;

using point2 = vector_fixed<double, 2>;
constexpr point2 origin{0, 0};

struct disk {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense2D<unsigned> boundary;
};
disk quarter_Q4(unsigned n, point2 center = origin, double radius = 1) {
    disk d;
    EXPECT_EQ(0, mesh_disk_UR_Q4(d.pos, center, radius, n, d.connect, d.boundary));
    return d;
}
disk quarter_T3(unsigned n, int pattern, point2 center = origin, double radius = 1) {
    disk d;
    EXPECT_EQ(0, mesh_disk_UR_T3(d.pos, center, radius, n, pattern, d.connect, d.boundary));
    return d;
}
disk disk_Q4(unsigned n, point2 center = origin, double radius = 1) {
    disk d;
    EXPECT_EQ(0, mesh_disk_Q4(d.pos, center, radius, n, d.connect, d.boundary));
    return d;
}
disk disk_T3(unsigned n, int pattern, point2 center = origin, double radius = 1) {
    disk d;
    EXPECT_EQ(0, mesh_disk_T3(d.pos, center, radius, n, pattern, d.connect, d.boundary));
    return d;
}

const double diagonal = 0.7071067811865476;
const double junction = 0.41018862050852034;

// ------------------------------------------------------------------------------- the checks themselves

TEST(OutgoingEdges, KnowBorderTwinsAndFaults) {
    const outgoing_edges good(cells({{0, 1, 2, 3}, {1, 4, 2, no_node}}), 6);
    EXPECT_EQ(7U, good.count());
    EXPECT_EQ(0U, good.beyond());
    EXPECT_EQ(0U, good.faults());
    EXPECT_EQ((edge_list{{0, 1}, {1, 4}, {2, 3}, {3, 0}, {4, 2}}), good.border());
    EXPECT_TRUE(good.has(1, 2) && good.has(2, 1) && good.has(1, 4));
    EXPECT_FALSE(good.has(4, 1) || good.has(0, 3) || good.has(5, 0));
    EXPECT_TRUE(good.uses(4));
    EXPECT_FALSE(good.uses(5));
    EXPECT_EQ(1U, outgoing_edges(cells({{0, 1, 2}, {0, 1, 3}}), 4).faults());
    EXPECT_EQ(1U, outgoing_edges(cells({{0, 0, 2}}), 3).faults());
    EXPECT_EQ(2U, outgoing_edges(cells({{0, 1, 3}}), 3).beyond());
}

// ---------------------------------------------------------------------------------------- quarters

TEST(MeshDiskUR, OneCellPerSideIsTheSkeletonAndThreeQuadrilaterals) {
    const disk d = quarter_Q4(1, {10, 20}, 2);
    EXPECT_EQ(columns(points({{10, 20},
                              {11, 20},
                              {10 + junction * 2, 20 + junction * 2},
                              {10, 21},
                              {12, 20},
                              {10 + diagonal * 2, 20 + diagonal * 2},
                              {10, 22}})),
              columns(d.pos));
    EXPECT_EQ(columns(cells({{0, 1, 2, 3}, {1, 4, 5, 2}, {2, 5, 6, 3}})), columns(d.connect));
    EXPECT_EQ(columns(cells({{4, 5}, {5, 6}, {6, 3}, {3, 0}, {0, 1}, {1, 4}})),
              columns(d.boundary));
}

TEST(MeshDiskUR, NodesComeInTheOrderSkeletonArcsLinesPatches) {
    const disk d = quarter_Q4(2);
    ASSERT_EQ(19U, d.pos.cols);
    const auto half = [&](std::size_t a, std::size_t b) {
        return point((d.pos(0, a) + d.pos(0, b)) / 2, (d.pos(1, a) + d.pos(1, b)) / 2);
    };
    const double t = 0.5 * 0.7853981633974483;
    EXPECT_EQ(point(std::cos(t), std::sin(t)), column(d.pos, 7));
    EXPECT_EQ(point(std::cos(1.5 * 0.7853981633974483), std::sin(1.5 * 0.7853981633974483)),
              column(d.pos, 8));
    const std::size_t ends[7][2] = {{0, 1}, {1, 4}, {6, 3}, {3, 0}, {1, 2}, {2, 3}, {2, 5}};
    for (std::size_t l = 0; l < 7; ++l) {
        const auto expected = half(ends[l][0], ends[l][1]);
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_LE(ulps_apart(expected[i], d.pos(i, 9 + l)), 1U) << "line " << l;
    }
    // The first interior node belongs to the inner patch O, A, M, B.
    EXPECT_LT(d.pos(0, 16), d.pos(0, 2));
    EXPECT_LT(d.pos(1, 16), d.pos(1, 2));
    EXPECT_EQ(columns(cells({{0, 9, 16, 12}})), columns(d.connect.sub_matrix(0, 0, 4, 1)));
}

TEST(MeshDiskUR, ArcNodesStandAtEqualAngles) {
    for (const unsigned n : {2U, 3U, 7U, 30U}) {
        const disk d = quarter_Q4(n, origin, 3);
        for (unsigned k = 0; k <= 2 * n; ++k) {
            const unsigned id = k < 2 * n ? d.boundary(0, k) : d.boundary(1, 2 * n - 1);
            const long double t = 3.14159265358979323846264338327950288L / (4.0L * n) * k;
            EXPECT_NEAR(static_cast<double>(3 * std::cos(t)), d.pos(0, id), 2e-15);
            EXPECT_NEAR(static_cast<double>(3 * std::sin(t)), d.pos(1, id), 2e-15);
        }
    }
}

TEST(MeshDiskUR, TheBoundaryRunsAroundTheQuarterAndCloses) {
    for (unsigned n = 1; n <= 12; ++n) {
        const disk d = quarter_Q4(n);
        ASSERT_EQ(6U * n, d.boundary.cols);
        EXPECT_EQ(4U, d.boundary(0, 0)) << "starts at P";
        EXPECT_EQ(4U, d.boundary(1, 6 * n - 1)) << "ends at P";
        EXPECT_EQ(6U, d.boundary(1, 2 * n - 1)) << "the arc ends at S";
        expect_one_closed_loop(d.boundary);
        expect_surface(1, sorted_columns(d.boundary), d.pos.cols, d.connect);
    }
}

TEST(MeshDiskUR, QuartersAreValidMeshes) {
    for (unsigned n = 1; n <= 40; ++n) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        const disk q = quarter_Q4(n, {3, -4}, 0.5);
        EXPECT_EQ(3U * n * n, q.connect.cols);
        EXPECT_EQ(3U * n * (n + 1) + 1, q.pos.cols);
        const edge_list border = sorted_columns(q.boundary);
        expect_surface(1, border, q.pos.cols, q.connect);
        for (std::size_t e = 0; e < q.connect.cols; ++e)
            ASSERT_GT(double_area(q.pos, q.connect, e), 0.0);
        for (const int pattern : {0, 1, 2}) {
            const disk t = quarter_T3(n, pattern, {3, -4}, 0.5);
            EXPECT_EQ(6U * n * n, t.connect.cols);
            EXPECT_EQ(snapshot(q.pos, q.boundary), snapshot(t.pos, t.boundary));
            expect_surface(1, border, t.pos.cols, t.connect);
        }
    }
}

TEST(MeshDiskUR, TrianglesAreThePatchesCutByThePattern) {
    EXPECT_EQ(columns(cells({{0, 1, 3}, {1, 2, 3}, {1, 4, 2}, {4, 5, 2}, {2, 5, 3}, {5, 6, 3}})),
              columns(quarter_T3(1, 0).connect));
    EXPECT_EQ(columns(cells({{0, 1, 2}, {0, 2, 3}, {1, 4, 5}, {1, 5, 2}, {2, 5, 6}, {2, 6, 3}})),
              columns(quarter_T3(1, 1).connect));
}

TEST(MeshDiskUR, APatternOutOfRangeMakesNodesAndBoundaryButNoTriangle) {
    for (const int pattern : {5, 3, -1}) {
        const disk d = quarter_T3(4, pattern);
        EXPECT_EQ(0U, d.connect.cols);
        EXPECT_EQ(9U * 4 - 2, d.pos.cols);
        EXPECT_EQ(24U, d.boundary.cols);
    }
}

TEST(MeshDiskUR, ElementsAndEdgesAreAppended) {
    disk d;
    d.connect = cells({{7, 8, 9, no_node}});
    d.boundary = cells({{5, 5}});
    ASSERT_EQ(0, mesh_disk_UR_T3(d.pos, origin, 1, 1, 0, d.connect, d.boundary));
    ASSERT_EQ(7U, d.connect.cols);
    EXPECT_EQ(cell(7, 8, 9, no_node), column(d.connect, 0));
    EXPECT_EQ(cell(0, 1, 3, no_node), column(d.connect, 1));
    EXPECT_EQ(cell(5, 5), column(d.boundary, 0));
    EXPECT_EQ(cell(4, 5), column(d.boundary, 1));
}

TEST(MeshDiskUR, AnEmptyMatrixOfFiveRowsOrMoreTakesTheTrianglesOfOnePatch) {
    const disk whole = quarter_T3(3, 0);
    for (const std::size_t rows : {5U, 6U, 9U}) {
        disk d;
        d.connect = dense2D<unsigned>(rows, 0);
        ASSERT_EQ(0, mesh_disk_UR_T3(d.pos, origin, 1, 3, 0, d.connect, d.boundary));
        EXPECT_EQ(rows, d.connect.rows);
        ASSERT_EQ(18U, d.connect.cols);
        EXPECT_EQ(columns(whole.connect.sub_matrix(0, 0, 3, 18)),
                  columns(d.connect.sub_matrix(0, 0, 3, 18)));
        EXPECT_EQ(columns(whole.boundary), columns(d.boundary));
    }
}

TEST(MeshDiskUR, ViewsWithALargerLeadingDimension) {
    const disk plain = quarter_Q4(3);
    auto connect = framed(cells({{9, 9, 9, 9}}));
    auto boundary = framed(cells({{8, 8}}));
    dense2D<double> pos;
    ASSERT_EQ(0, mesh_disk_UR_Q4(pos, origin, 1, 3, connect.view, boundary.view));
    EXPECT_EQ(snapshot(plain.pos), snapshot(pos));
    EXPECT_EQ(columns(plain.connect), columns(connect.view.sub_matrix(0, 1, 4, 27)));
    EXPECT_EQ(columns(plain.boundary), columns(boundary.view.sub_matrix(0, 1, 2, 18)));
    EXPECT_EQ(cell(9, 9, 9, 9), column(connect.view, 0));
}

TEST(MeshDiskUR, NothingToDoWithoutDivisions) {
    auto pos = points({{1, 2, 3, 4}});
    auto connect = cells({{1}});
    auto boundary = cells({{1, 2, 3}});
    const auto before = snapshot(pos, connect, boundary);
    EXPECT_EQ(0, mesh_disk_UR_Q4(pos, origin, 1, 0, connect, boundary));
    EXPECT_EQ(0, mesh_disk_UR_T3(pos, origin, 1, 0, 0, connect, boundary));
    EXPECT_EQ(0, mesh_disk_Q4(pos, origin, 1, 0, connect, boundary));
    EXPECT_EQ(0, mesh_disk_T3(pos, origin, 1, 0, 0, connect, boundary));
    EXPECT_EQ(before, snapshot(pos, connect, boundary));
}

// ---------------------------------------------------------------------------------------- statuses

/// Runs all four functions on the same outputs and compares statuses; nothing may change.
void expect_statuses(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const dense2D<unsigned>& boundary, int quads, int triangles, unsigned n = 2) {
    auto p = pos;
    auto c = connect;
    auto b = boundary;
    const auto before = snapshot(p, c, b);
    EXPECT_EQ(quads, mesh_disk_UR_Q4(p, origin, 1, n, c, b));
    EXPECT_EQ(quads, mesh_disk_Q4(p, origin, 1, n, c, b));
    EXPECT_EQ(triangles, mesh_disk_UR_T3(p, origin, 1, n, 0, c, b));
    EXPECT_EQ(triangles, mesh_disk_T3(p, origin, 1, n, 0, c, b));
    EXPECT_EQ(before, snapshot(p, c, b));
}

TEST(MeshDiskStatus, CoordinatesMustHaveTwoRows) {
    expect_statuses(points({{1, 2, 3}}), {}, {}, -1, -1);
    expect_statuses(points({{1}}), cells({{1}}), cells({{1}}), -1, -1);
}
TEST(MeshDiskStatus, ElementsOfAnotherHeightAreRefused) {
    expect_statuses({}, cells({{1, 2}}), {}, -5, -6);
    expect_statuses({}, cells({{1, 2, 3, 4, 5}}), cells({{1}}), -5, -6);
}
TEST(MeshDiskStatus, QuadrilateralsDoNotGoIntoThreeRows) {
    disk d;
    d.connect = cells({{0, 0, 0}});
    EXPECT_EQ(-5, mesh_disk_UR_Q4(d.pos, origin, 1, 1, d.connect, d.boundary));
    EXPECT_EQ(-5, mesh_disk_Q4(d.pos, origin, 1, 1, d.connect, d.boundary));
}
TEST(MeshDiskStatus, EdgesOfAnotherHeightAreRefused) {
    expect_statuses({}, {}, cells({{1, 2, 3}}), -6, -7);
    expect_statuses({}, cells({{0, 1, 2, 3}}), cells({{1}}), -6, -7);
}
TEST(MeshDiskStatus, CountsThatOutgrowNodeNumbersAreMemoryStatuses) {
    const std::size_t bytes = live_bytes();
    reset_peak();
    for (const unsigned n : {40000U, 65536U, 65537U, 1U << 31, 0xFFFFFFFFU})
        expect_statuses({}, {}, {}, -199, -199, n);
    EXPECT_LT(peak_bytes(), bytes + (std::size_t{1} << 21)) << "known before much is asked for";
}
TEST(MeshDiskStatus, ArgumentsAreTestedBeforeCounts) {
    expect_statuses(points({{1, 2, 3}}), {}, {}, -1, -1, 0xFFFFFFFFU);
}

template <class Mesh>
void expect_safe_without_memory(Mesh mesh, bool joins) {
    fail_each_allocation([&](std::size_t k) {
        disk d;
        d.connect = cells({{0, 0, 0, 0}});
        d.boundary = cells({{1, 1}});
        const auto before = snapshot(d.pos, d.connect, d.boundary);
        arm_allocator(k);
        const int status = mesh(d);
        disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(before, snapshot(d.pos, d.connect, d.boundary));
            return;
        }
        EXPECT_EQ(0, status);
        EXPECT_EQ(joins ? 1U + 48 : 1U + 12, d.connect.cols);
        for (std::size_t e = 1; e < d.connect.cols; ++e)
            EXPECT_GT(double_area(d.pos, d.connect, e), 0.0);
    });
}
TEST(MeshDiskStatus, ExhaustedMemoryLeavesTheQuarterAsItWas) {
    expect_safe_without_memory(
        [](disk& d) { return mesh_disk_UR_Q4(d.pos, origin, 1, 2, d.connect, d.boundary); }, false);
}
TEST(MeshDiskStatus, ExhaustedMemoryLeavesTheDiskAsItWasOrWhole) {
    expect_safe_without_memory(
        [](disk& d) { return mesh_disk_Q4(d.pos, origin, 1, 2, d.connect, d.boundary); }, true);
}
TEST(MeshDiskStatus, ExhaustedMemoryLeavesTriangleQuartersAsTheyWere) {
    fail_each_allocation([&](std::size_t k) {
        disk d;
        arm_allocator(k);
        const int status = mesh_disk_UR_T3(d.pos, origin, 1, 3, 2, d.connect, d.boundary);
        disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(0U, d.pos.cols + d.connect.cols + d.boundary.cols);
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(54U, d.connect.cols);
        }
    });
}
TEST(MeshDiskStatus, ExhaustedMemoryLeavesTriangleDisksAsTheyWereOrWhole) {
    fail_each_allocation([&](std::size_t k) {
        disk d;
        arm_allocator(k);
        const int status = mesh_disk_T3(d.pos, origin, 1, 3, 2, d.connect, d.boundary);
        disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(0U, d.pos.cols + d.connect.cols + d.boundary.cols);
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(216U, d.connect.cols);
        }
    });
}

// -------------------------------------------------------------------------------------- whole disks

/// What the four quarters' nodes are when they are turned exactly.
std::vector<space_point> turned_quarters(const dense2D<double>& quarter, point2 center) {
    std::vector<space_point> all;
    for (std::size_t i = 0; i < quarter.cols; ++i) {
        double x = quarter(0, i) - center[0];
        double y = quarter(1, i) - center[1];
        for (int k = 0; k < 4; ++k) {
            all.push_back({center[0] + x, center[1] + y, 0});
            const double turned = -y;
            y = x;
            x = turned;
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

void expect_whole_disk(const disk& d, unsigned n, unsigned per_cell) {
    ASSERT_EQ(12U * n * n * per_cell, d.connect.cols);
    ASSERT_EQ(12U * n * n + 4 * n + 1, d.pos.cols);
    ASSERT_EQ(8U * n, d.boundary.cols);
    expect_one_closed_loop(d.boundary);
    expect_surface(1, sorted_columns(d.boundary), d.pos.cols, d.connect);
    for (std::size_t e = 0; e < d.connect.cols; ++e)
        ASSERT_GT(double_area(d.pos, d.connect, e), 0.0) << "element " << e;
}

void expect_nodes_of_quarters(const disk& d, const disk& quarter, point2 center, double radius) {
    expect_apart(d.pos, 1e-12 * radius);
    EXPECT_EQ(snapshot(quarter.pos), snapshot(static_cast<const dense2D<double>&>(
                                         d.pos.sub_matrix(0, 0, 2, quarter.pos.cols))))
        << "the first quarter's nodes stand in front";
    expect_same_points(turned_quarters(quarter.pos, center), sorted_points(d.pos), 4e-15 * radius);
}

/// The first of every fourth size.
class MeshDiskSizes : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(EveryFourthFrom, MeshDiskSizes, testing::Values(1U, 2U, 3U, 4U));

TEST_P(MeshDiskSizes, WholeDisksAreValidForAllPatterns) {
    const point2 center{0.25, -0.5};
    const double radius = 1.5;
    for (unsigned n = GetParam(); n <= 40; n += 4) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        const disk quads = disk_Q4(n, center, radius);
        expect_whole_disk(quads, n, 1);
        expect_nodes_of_quarters(quads, quarter_Q4(n, center, radius), center, radius);
        for (const int pattern : {0, 1, 2}) {
            const disk triangles = disk_T3(n, pattern, center, radius);
            expect_whole_disk(triangles, n, 2);
            EXPECT_EQ(snapshot(quads.pos, quads.boundary),
                      snapshot(triangles.pos, triangles.boundary));
        }
    }
}

TEST(MeshDisk, TheBoundaryRunsCounterclockwiseFromTheRight) {
    const disk d = disk_Q4(3, {1, 2}, 4);
    EXPECT_EQ(point(5, 2), column(d.pos, d.boundary(0, 0)));
    EXPECT_EQ(point(1, 6), column(d.pos, d.boundary(0, 6)));
    EXPECT_EQ(point(-3, 2), column(d.pos, d.boundary(0, 12)));
    EXPECT_EQ(point(1, -2), column(d.pos, d.boundary(0, 18)));
}

TEST(MeshDisk, TheCentreIsARegularNode) {
    const disk d = disk_Q4(5);
    EXPECT_EQ(point(0, 0), column(d.pos, 0));
    unsigned around = 0;
    for (const unsigned id : d.connect) around += id == 0;
    EXPECT_EQ(4U, around);
}

TEST(MeshDisk, OneCellPerSideHasSeventeenNodes) {
    const disk d = disk_Q4(1);
    EXPECT_EQ(17U, d.pos.cols);
    EXPECT_EQ(12U, d.connect.cols);
    EXPECT_EQ(8U, d.boundary.cols);
}

TEST(MeshDisk, RadiiOfAnySizeGiveTheSameMesh) {
    const disk one = disk_Q4(4);
    for (const double radius : {1e-300, 1e-200, 1e-5, 1e5, 1e150, 1e300}) {
        const disk d = disk_Q4(4, origin, radius);
        EXPECT_EQ(snapshot(one.connect, one.boundary), snapshot(d.connect, d.boundary)) << radius;
    }
}

TEST(MeshDisk, RadiusZeroFusesCoincidentNodesOnly) {
    const disk d = disk_Q4(3);
    const disk flat = disk_Q4(3, origin, 0);
    EXPECT_EQ(1U, flat.pos.cols) << "at the origin all nodes are equal";
    EXPECT_EQ(d.connect.cols, flat.connect.cols);
    const disk away = disk_Q4(3, {0.1, 0.7}, 0);
    for (std::size_t i = 0; i < away.pos.cols; ++i) {
        EXPECT_NEAR(0.1, away.pos(0, i), 1e-15);
        EXPECT_NEAR(0.7, away.pos(1, i), 1e-15);
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(away.pos(0, i) == away.pos(0, j) && away.pos(1, i) == away.pos(1, j));
    }
}

TEST(MeshDisk, NumbersThatAreNotFiniteEnd) {
    for (const double odd : {zel_test::nan, infinity, -infinity}) {
        disk d;
        EXPECT_EQ(0, mesh_disk_Q4(d.pos, {odd, 0}, 1, 3, d.connect, d.boundary));
        disk e;
        EXPECT_EQ(0, mesh_disk_T3(e.pos, origin, odd, 3, 1, e.connect, e.boundary));
        EXPECT_EQ(108U, d.connect.cols);
        EXPECT_EQ(216U, e.connect.cols);
    }
}

TEST(MeshDisk, TrianglesAppendedToFourRowsLeaveThree) {
    disk d;
    d.connect = cells({{100, 101, 102, 103}, {104, 105, 106, no_node}});
    ASSERT_EQ(0, mesh_disk_T3(d.pos, origin, 1, 2, 0, d.connect, d.boundary));
    EXPECT_EQ(3U, d.connect.rows);
    ASSERT_EQ(2U + 96, d.connect.cols);
    EXPECT_EQ(105U, d.connect(1, 1));
    disk plain = disk_T3(2, 0);
    EXPECT_EQ(columns(plain.connect), columns(d.connect.sub_matrix(0, 2, 3, 96)));
}

TEST(MeshDisk, TrianglesAppendedToThreeRows) {
    disk d;
    d.connect = cells({{100, 101, 102}});
    ASSERT_EQ(0, mesh_disk_T3(d.pos, origin, 1, 2, 1, d.connect, d.boundary));
    ASSERT_EQ(97U, d.connect.cols);
    EXPECT_EQ(cell(100, 101, 102), column(d.connect, 0));
}

TEST(MeshDisk, APatternOutOfRangeLeavesTheCircle) {
    const disk d = disk_T3(3, 7);
    EXPECT_EQ(0U, d.connect.cols);
    EXPECT_EQ(24U, d.boundary.cols);
    EXPECT_EQ(24U, d.pos.cols);
    expect_one_closed_loop(d.boundary);
}

TEST(MeshDisk, ElementsThatWereThereAreRenumberedToo) {
    // They name nodes that the disk is about to make; the fourth copy of the centre is one of them.
    disk d;
    d.connect = cells({{0, 7, 14, 21}});
    ASSERT_EQ(0, mesh_disk_Q4(d.pos, origin, 1, 1, d.connect, d.boundary));
    EXPECT_EQ(cell(0, 0, 0, 0), column(d.connect, 0)) << "all four quarters' centres are one node";
    EXPECT_EQ(13U, d.connect.cols);
}

TEST(MeshDisk, EdgesThatWereThereAreRenumberedToo) {
    // With one cell per side a quarter has seven nodes: 7 is the centre of the second quarter, 12 and 13
    // its nodes Q and S, 11 its P, which is S of the first.
    disk d;
    d.boundary = cells({{7, 12}, {11, 6}, {no_node, 1000}});
    ASSERT_EQ(0, mesh_disk_Q4(d.pos, origin, 1, 1, d.connect, d.boundary));
    EXPECT_EQ(0U, d.boundary(0, 0));
    EXPECT_EQ(point(-diagonal, diagonal), column(d.pos, d.boundary(1, 0)));
    EXPECT_EQ(6U, d.boundary(0, 1));
    EXPECT_EQ(6U, d.boundary(1, 1));
    EXPECT_EQ(no_node, d.boundary(0, 2));
    EXPECT_EQ(1000U, d.boundary(1, 2));
    EXPECT_EQ(11U, d.boundary.cols);
}

TEST(MeshDisk, ViewsWithALargerLeadingDimension) {
    const disk plain = disk_Q4(3);
    auto connect = framed(cells({{900, 900, 900, 900}}));
    auto boundary = framed(cells({{900, 900}}));
    dense2D<double> pos;
    ASSERT_EQ(0, mesh_disk_Q4(pos, origin, 1, 3, connect.view, boundary.view));
    EXPECT_EQ(snapshot(plain.pos), snapshot(pos));
    EXPECT_EQ(columns(plain.connect), columns(connect.view.sub_matrix(0, 1, 4, 108)));
    EXPECT_EQ(columns(plain.boundary), columns(boundary.view.sub_matrix(0, 1, 2, 24)));
}

// --------------------------------------------------------------------------- nodes that were there

TEST(MeshDiskOnNodes, TheColumnCountIsThatOfAnEmptyMatrix) {
    // 2n + 5 columns, then the lines and the interior of the patches whose nodes all exist.
    const unsigned n = 4;
    for (const unsigned present : {1U, 2U, 5U, 12U, 21U, 22U, 100U}) {
        SCOPED_TRACE(testing::Message() << present << " nodes");
        disk d;
        d.pos.resize(2, present, 0.5);
        ASSERT_EQ(0, mesh_disk_UR_Q4(d.pos, origin, 1, n, d.connect, d.boundary));
        const unsigned lines = 2 * n + 5 + 7 * (n - 1);
        EXPECT_GE(d.pos.cols, lines);
        EXPECT_EQ(0U, (d.pos.cols - lines) % ((n - 1) * (n - 1)));
        EXPECT_EQ((d.pos.cols - lines) / ((n - 1) * (n - 1)), d.connect.cols / (n * n));
        EXPECT_EQ(24U, d.boundary.cols);
        if (present <= 7 * n - 7) {
            EXPECT_EQ(3U * n * n, d.connect.cols);
        }
        for (const unsigned id : d.connect) EXPECT_LT(id, d.pos.cols);
        EXPECT_EQ(present + 4, d.boundary(0, 0)) << "P stands behind the nodes that were there";
    }
}

TEST(MeshDiskOnNodes, NothingOutsideTheStorageIsTouched) {
    for (const unsigned present : {1U, 3U, 9U, 40U, 200U})
        for (unsigned n = 1; n <= 6; ++n) {
            std::vector<double> before(2 * present, 0.5);
            disk d;
            d.pos = dense2D<double>::wrap(before.data(), 2, present);
            ASSERT_EQ(0, mesh_disk_Q4(d.pos, origin, 1, n, d.connect, d.boundary));
            disk t;
            t.pos = dense2D<double>(2, present, 0.25);
            ASSERT_EQ(0, mesh_disk_T3(t.pos, origin, 1, n, 2, t.connect, t.boundary));
            EXPECT_EQ(std::vector<double>(2 * present, 0.5), before);
        }
}

TEST(MeshDiskOnNodes, TheSkeletonStandsBehindThem) {
    disk d;
    d.pos = points({{9, 9}});
    ASSERT_EQ(0, mesh_disk_UR_Q4(d.pos, origin, 1, 1, d.connect, d.boundary));
    EXPECT_EQ(7U, d.pos.cols);
    EXPECT_EQ(point(9, 9), column(d.pos, 0));
    EXPECT_EQ(point(0, 0), column(d.pos, 1));
    EXPECT_EQ(point(1, 0), column(d.pos, 5));
    // The patch with node S, column 7, is left out; the others are there.
    EXPECT_EQ(columns(cells({{1, 2, 3, 4}, {2, 5, 6, 3}})), columns(d.connect));
}

TEST(MeshDisk, ANegativeRadiusTurnsTheMeshByHalfATurn) {
    const disk quarter = quarter_Q4(3), turned = quarter_Q4(3, origin, -1);
    ASSERT_EQ(quarter.pos.cols, turned.pos.cols);
    EXPECT_EQ(columns(quarter.connect), columns(turned.connect));
    for (std::size_t j = 0; j < quarter.pos.cols; ++j)
        for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(-quarter.pos(i, j), turned.pos(i, j));
}
TEST(MeshDisk, ARadiusThatIsNotFiniteIsNotRefused) {
    for (const double radius : {zel_test::nan, zel_test::infinity, -zel_test::infinity}) {
        const disk d = disk_Q4(2, origin, radius);
        EXPECT_EQ(48U, d.connect.cols);
        for (const unsigned id : d.connect) EXPECT_LT(id, d.pos.cols);
    }
}

} // namespace
