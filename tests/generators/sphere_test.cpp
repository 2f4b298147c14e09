// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/spheres.h"

#include "generators/whole_mesh.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cmath>

namespace {

using namespace zel_test;
using zel::vector_fixed;
using zel::tessel2d::mesh_sphere_Q4;
using zel::tessel2d::mesh_sphere_T3;
using zel::tessel2d::mesh_sphere_UR_Q4;
using zel::tessel2d::mesh_sphere_UR_T3;

using point3 = vector_fixed<double, 3>;
constexpr point3 origin{0, 0, 0};

struct sphere {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense2D<unsigned> circle_z; // the boundary of an octant
    dense2D<unsigned> circle_y;
};
sphere octant_Q4(unsigned n, point3 center = origin, double radius = 1) {
    sphere s;
    EXPECT_EQ(0, mesh_sphere_UR_Q4(s.pos, center, radius, n, s.connect, s.circle_z));
    return s;
}
sphere octant_T3(unsigned n, int pattern, point3 center = origin, double radius = 1) {
    sphere s;
    EXPECT_EQ(0, mesh_sphere_UR_T3(s.pos, center, radius, n, pattern, s.connect, s.circle_z));
    return s;
}
sphere sphere_Q4(unsigned n, point3 center = origin, double radius = 1) {
    sphere s;
    EXPECT_EQ(0, mesh_sphere_Q4(s.pos, center, radius, n, s.connect, s.circle_z, s.circle_y));
    return s;
}
sphere sphere_T3(unsigned n, int pattern, point3 center = origin, double radius = 1) {
    sphere s;
    EXPECT_EQ(0,
              mesh_sphere_T3(s.pos, center, radius, n, pattern, s.connect, s.circle_z, s.circle_y));
    return s;
}

double distance_to_center(const dense2D<double>& pos, std::size_t i, point3 c) {
    // Of two at a time: that of three overflows in some libraries.
    return std::hypot(std::hypot(pos(0, i) - c[0], pos(1, i) - c[1]), pos(2, i) - c[2]);
}

/// Six times the volume between an element and the centre, positive if it is turned outward.
double outwardness(const sphere& s, std::size_t e, point3 c) {
    const unsigned n = corner_count(s.connect, e);
    double sum = 0;
    for (unsigned k = 1; k + 1 < n; ++k) {
        double v[3][3];
        const unsigned ids[3] = {s.connect(0, e), s.connect(k, e), s.connect(k + 1, e)};
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i < 3; ++i) v[j][i] = s.pos(i, ids[j]) - c[i];
        sum += v[0][0] * (v[1][1] * v[2][2] - v[1][2] * v[2][1]) -
               v[0][1] * (v[1][0] * v[2][2] - v[1][2] * v[2][0]) +
               v[0][2] * (v[1][0] * v[2][1] - v[1][1] * v[2][0]);
    }
    return sum;
}

// ------------------------------------------------------------------------------------------ octants

TEST(MeshSphereUR, OneCellPerSideIsTheSkeletonAndThreeQuadrilaterals) {
    const sphere s = octant_Q4(1, {1, 2, 3}, 2);
    const double d = 2 * 0.7071067811865476;
    EXPECT_EQ(columns(points({{3, 2, 3},
                              {1 + d, 2 + d, 3},
                              {1, 4, 3},
                              {1 + d, 2, 3 + d},
                              {1 + d * 0.816496580927726, 2 + d * 0.816496580927726,
                               3 + 2 * 0.5773502691896258},
                              {1, 2 + d, 3 + d},
                              {1, 2, 5}})),
              columns(s.pos));
    EXPECT_EQ(columns(cells({{0, 1, 4, 3}, {1, 2, 5, 4}, {3, 4, 5, 6}})), columns(s.connect));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}, {2, 5}, {5, 6}, {6, 3}, {3, 0}})),
              columns(s.circle_z));
}

TEST(MeshSphereUR, ArcsFollowTheSkeletonInOrder) {
    const sphere s = octant_Q4(2);
    ASSERT_EQ(19U, s.pos.cols);
    const double q = 0.7853981633974483;
    const double w = 0.6154797086703874;
    const double d = 0.7071067811865476;
    const double c1 = std::cos(0.5 * q), s1 = std::sin(0.5 * q);
    const double c2 = std::cos(1.5 * q), s2 = std::sin(1.5 * q);
    const double cw = d * std::cos(0.5 * w), sw = std::sin(0.5 * w);
    EXPECT_EQ(columns(points({{c1, s1, 0},
                              {c2, s2, 0},
                              {0, c1, s1},
                              {0, c2, s2},
                              {s1, 0, c1},
                              {s2, 0, c2},
                              {cw, cw, sw},
                              {cw, sw, cw},
                              {sw, cw, cw}})),
              columns(s.pos.sub_matrix(0, 7, 3, 9)));
}

TEST(MeshSphereUR, TheBoundaryRunsFromXOverYAndZ) {
    for (unsigned n = 1; n <= 10; ++n) {
        const sphere s = octant_Q4(n);
        ASSERT_EQ(6U * n, s.circle_z.cols);
        EXPECT_EQ(0U, s.circle_z(0, 0));
        EXPECT_EQ(2U, s.circle_z(0, 2 * n));
        EXPECT_EQ(6U, s.circle_z(0, 4 * n));
        expect_one_closed_loop(s.circle_z);
        expect_surface(1, sorted_columns(s.circle_z), s.pos.cols, s.connect);
    }
}

TEST(MeshSphereUR, OctantsAreValidMeshesOnTheSphere) {
    const point3 center{0.5, -1, 2};
    for (unsigned n = 1; n <= 40; ++n) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        const sphere s = octant_Q4(n, center, 3);
        EXPECT_EQ(3U * n * n, s.connect.cols);
        EXPECT_EQ(3U * n * (n + 1) + 1, s.pos.cols);
        const edge_list border = sorted_columns(s.circle_z);
        expect_surface(1, border, s.pos.cols, s.connect);
        for (std::size_t i = 0; i < s.pos.cols; ++i) {
            ASSERT_NEAR(3, distance_to_center(s.pos, i, center), 3e-15);
            for (std::size_t r = 0; r < 3; ++r) ASSERT_GE(s.pos(r, i), center[r]);
        }
        for (std::size_t e = 0; e < s.connect.cols; ++e) ASSERT_GT(outwardness(s, e, center), 0.0);
        for (const int pattern : {0, 1, 2}) {
            const sphere t = octant_T3(n, pattern, center, 3);
            EXPECT_EQ(6U * n * n, t.connect.cols);
            EXPECT_EQ(snapshot(s.pos, s.circle_z), snapshot(t.pos, t.circle_z));
            expect_surface(1, border, t.pos.cols, t.connect);
        }
    }
}

TEST(MeshSphereUR, NodesThatWereThereStayInFront) {
    const sphere plain = octant_Q4(3);
    sphere s;
    s.pos = points({{9, 9, 9}, {8, 8, 8}});
    s.connect = cells({{0, 1, 0, 1}});
    s.circle_z = cells({{1, 0}});
    ASSERT_EQ(0, mesh_sphere_UR_Q4(s.pos, origin, 1, 3, s.connect, s.circle_z));
    EXPECT_EQ(point(9, 9, 9), column(s.pos, 0));
    EXPECT_EQ(columns(plain.pos), columns(s.pos.sub_matrix(0, 2, 3, plain.pos.cols)));
    EXPECT_EQ(cell(0, 1, 0, 1), column(s.connect, 0));
    for (std::size_t e = 0; e < plain.connect.cols; ++e)
        for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(plain.connect(k, e) + 2, s.connect(k, e + 1));
    EXPECT_EQ(cell(1, 0), column(s.circle_z, 0));
    EXPECT_EQ(cell(2, 9), column(s.circle_z, 1));
}

TEST(MeshSphereUR, TrianglesIntoFourRowsLeaveTheLastOneUnused) {
    sphere s;
    s.connect = cells({{0, 0, 0, 0}});
    ASSERT_EQ(0, mesh_sphere_UR_T3(s.pos, origin, 1, 1, 1, s.connect, s.circle_z));
    EXPECT_EQ(cell(0, 1, 4, no_node), column(s.connect, 1));
    EXPECT_EQ(cell(0, 4, 3, no_node), column(s.connect, 2));
}

TEST(MeshSphereUR, APatternOutOfRangeMakesArcsOnly) {
    const sphere s = octant_T3(4, -2);
    EXPECT_EQ(0U, s.connect.cols);
    EXPECT_EQ(9U * 4 - 2, s.pos.cols);
    EXPECT_EQ(24U, s.circle_z.cols);
}

TEST(MeshSphereUR, RadiusZeroLeavesAllNodesAtTheCentre) {
    const point3 center{0.1, -0.7, 1e6};
    const sphere s = octant_Q4(5, center, 0);
    for (std::size_t i = 0; i < s.pos.cols; ++i) EXPECT_EQ(point(0.1, -0.7, 1e6), column(s.pos, i));
}

TEST(MeshSphereUR, AnEmptyMatrixOfFiveRowsOrMoreTakesTheTrianglesOfOnePatch) {
    const sphere whole = octant_T3(3, 0);
    for (const std::size_t rows : {5U, 6U, 9U}) {
        sphere s;
        s.connect = dense2D<unsigned>(rows, 0);
        ASSERT_EQ(0, mesh_sphere_UR_T3(s.pos, origin, 1, 3, 0, s.connect, s.circle_z));
        EXPECT_EQ(rows, s.connect.rows);
        ASSERT_EQ(18U, s.connect.cols);
        EXPECT_EQ(columns(whole.connect.sub_matrix(0, 0, 3, 18)),
                  columns(s.connect.sub_matrix(0, 0, 3, 18)));
        EXPECT_EQ(columns(whole.circle_z), columns(s.circle_z));
    }
}

TEST(MeshSphereUR, ViewsWithALargerLeadingDimension) {
    const sphere plain = octant_Q4(3);
    auto pos = framed(points({{9, 9, 9}}));
    auto connect = framed(cells({{0, 0, 0, 0}}));
    auto boundary = framed(cells({{0, 0}}));
    ASSERT_EQ(0, mesh_sphere_UR_Q4(pos.view, origin, 1, 3, connect.view, boundary.view));
    EXPECT_EQ(columns(plain.pos), columns(pos.view.sub_matrix(0, 1, 3, plain.pos.cols)));
    EXPECT_EQ(plain.connect(2, 5) + 1, connect.view(2, 6));
    EXPECT_EQ(plain.circle_z(1, 5) + 1, boundary.view(1, 6));
}

// ----------------------------------------------------------------------------------------- statuses

TEST(MeshSphereStatus, NothingToDoWithoutDivisions) {
    sphere s;
    s.pos = points({{1, 2}});
    s.connect = cells({{1, 2}});
    s.circle_z = s.circle_y = cells({{1}});
    const auto before = snapshot(s.pos, s.connect, s.circle_z);
    EXPECT_EQ(0, mesh_sphere_UR_Q4(s.pos, origin, 1, 0, s.connect, s.circle_z));
    EXPECT_EQ(0, mesh_sphere_UR_T3(s.pos, origin, 1, 0, 9, s.connect, s.circle_z));
    EXPECT_EQ(0, mesh_sphere_Q4(s.pos, origin, 1, 0, s.connect));
    EXPECT_EQ(0, mesh_sphere_Q4(s.pos, origin, 1, 0, s.connect, s.circle_z, s.circle_y));
    EXPECT_EQ(0, mesh_sphere_T3(s.pos, origin, 1, 0, 9, s.connect));
    EXPECT_EQ(0, mesh_sphere_T3(s.pos, origin, 1, 0, 9, s.connect, s.circle_z, s.circle_y));
    EXPECT_EQ(before, snapshot(s.pos, s.connect, s.circle_z));
}

/// Statuses of all six functions in the order of declaration; nothing may change.
std::vector<int> statuses(sphere s, unsigned n = 2) {
    const auto before = snapshot(s.pos, s.connect, s.circle_z, s.circle_y);
    const std::vector<int> all = {
        mesh_sphere_UR_Q4(s.pos, origin, 1, n, s.connect, s.circle_z),
        mesh_sphere_UR_T3(s.pos, origin, 1, n, 0, s.connect, s.circle_z),
        mesh_sphere_Q4(s.pos, origin, 1, n, s.connect),
        mesh_sphere_Q4(s.pos, origin, 1, n, s.connect, s.circle_z, s.circle_y),
        mesh_sphere_T3(s.pos, origin, 1, n, 0, s.connect),
        mesh_sphere_T3(s.pos, origin, 1, n, 0, s.connect, s.circle_z, s.circle_y)};
    EXPECT_EQ(before, snapshot(s.pos, s.connect, s.circle_z, s.circle_y));
    return all;
}
using codes = std::vector<int>;

TEST(MeshSphereStatus, CoordinatesMustHaveThreeRows) {
    EXPECT_EQ((codes{-1, -1, -1, -1, -1, -1}), statuses({points({{1, 2}}), {}, {}, {}}));
    EXPECT_EQ((codes{-1, -1, -1, -1, -1, -1}),
              statuses({points({{1, 2}}), cells({{1}}), cells({{1}}), cells({{1}})}));
}
TEST(MeshSphereStatus, ElementsOfAnotherHeightAreRefused) {
    EXPECT_EQ((codes{-5, -6, -5, -5, -5, -5}), statuses({{}, cells({{1, 2}}), {}, {}}));
    EXPECT_EQ((codes{-5, -6, -5, -5, -5, -5}),
              statuses({{}, cells({{1, 2}}), cells({{1}}), cells({{1}})}));
}
TEST(MeshSphereStatus, WholeSpheresOfTrianglesAskForFourRows) {
    for (const bool circles : {false, true}) {
        sphere s;
        s.connect = cells({{0, 0, 0}});
        const auto before = snapshot(s.pos, s.connect);
        EXPECT_EQ(
            -5, circles ? mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect, s.circle_z, s.circle_y)
                        : mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect));
        EXPECT_EQ(before, snapshot(s.pos, s.connect));
    }
}
TEST(MeshSphereStatus, QuadrilateralsDoNotGoIntoThreeRows) {
    sphere s;
    s.connect = cells({{0, 0, 0}});
    EXPECT_EQ(-5, mesh_sphere_UR_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z));
    EXPECT_EQ(-5, mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect));
}
TEST(MeshSphereStatus, EdgesOfAnotherHeightAreRefused) {
    sphere s;
    s.circle_z = cells({{1}});
    s.circle_y = cells({{1, 2, 3}});
    EXPECT_EQ(-6, mesh_sphere_UR_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z));
    EXPECT_EQ(-7, mesh_sphere_UR_T3(s.pos, origin, 1, 2, 0, s.connect, s.circle_z));
    EXPECT_EQ(-6, mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z, s.circle_y));
    EXPECT_EQ(-6, mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect, s.circle_z, s.circle_y));
    s.circle_z.clear();
    EXPECT_EQ(-7, mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z, s.circle_y));
    EXPECT_EQ(-7, mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect, s.circle_z, s.circle_y));
    EXPECT_EQ(0U, s.pos.cols + s.connect.cols + s.circle_z.cols);
}
TEST(MeshSphereStatus, CountsThatOutgrowNodeNumbersAreMemoryStatuses) {
    const std::size_t bytes = live_bytes();
    reset_peak();
    for (const unsigned n : {40000U, 65536U, 65537U, 1U << 31, 0xFFFFFFFFU})
        EXPECT_EQ((codes{-199, -199, -199, -199, -199, -199}), statuses({}, n));
    EXPECT_LT(peak_bytes(), bytes + (std::size_t{1} << 21)) << "known before much is asked for";
}

template <class Mesh>
void expect_safe_without_memory(std::size_t elements, Mesh mesh) {
    fail_each_allocation([&](std::size_t k) {
        sphere s;
        s.pos = points({{7, 7, 7}});
        s.circle_z = cells({{0, 0}});
        const auto before = snapshot(s.pos, s.connect, s.circle_z, s.circle_y);
        arm_allocator(k);
        const int status = mesh(s);
        disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(before, snapshot(s.pos, s.connect, s.circle_z, s.circle_y));
            return;
        }
        EXPECT_EQ(0, status);
        ASSERT_EQ(elements, s.connect.cols);
        for (std::size_t e = 0; e < elements; ++e) EXPECT_GT(outwardness(s, e, origin), 0.0);
        EXPECT_EQ(point(7, 7, 7), column(s.pos, 0));
    });
}
TEST(MeshSphereStatus, ExhaustedMemoryLeavesTheOctantAsItWas) {
    expect_safe_without_memory(12, [](sphere& s) {
        return mesh_sphere_UR_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z);
    });
    expect_safe_without_memory(24, [](sphere& s) {
        return mesh_sphere_UR_T3(s.pos, origin, 1, 2, 2, s.connect, s.circle_z);
    });
}
TEST(MeshSphereStatus, ExhaustedMemoryLeavesTheSphereAsItWasOrWhole) {
    expect_safe_without_memory(
        96, [](sphere& s) { return mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect); });
    expect_safe_without_memory(
        192, [](sphere& s) { return mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect); });
}
TEST(MeshSphereStatus, ExhaustedMemoryLeavesSphereAndCirclesAsTheyWereOrWhole) {
    expect_safe_without_memory(96, [](sphere& s) {
        return mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect, s.circle_z, s.circle_y);
    });
    expect_safe_without_memory(192, [](sphere& s) {
        return mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect, s.circle_z, s.circle_y);
    });
}

// ------------------------------------------------------------------------------------ whole spheres

std::vector<space_point> turned_octants(const dense2D<double>& octant, point3 c) {
    std::vector<space_point> all;
    for (std::size_t i = 0; i < octant.cols; ++i) {
        double x = octant(0, i) - c[0];
        double y = octant(1, i) - c[1];
        const double z = octant(2, i) - c[2];
        for (int k = 0; k < 4; ++k) {
            all.push_back({c[0] + x, c[1] + y, c[2] + z});
            all.push_back({c[0] + x, c[1] - y, c[2] - z});
            const double turned = -y;
            y = x;
            x = turned;
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

void expect_whole_sphere(const sphere& s, unsigned n, unsigned per_cell, point3 center) {
    ASSERT_EQ(24U * n * n * per_cell, s.connect.cols);
    ASSERT_EQ(24U * n * n + 2, s.pos.cols);
    expect_surface(2, {}, s.pos.cols, s.connect);
    for (std::size_t e = 0; e < s.connect.cols; ++e)
        ASSERT_GT(outwardness(s, e, center), 0.0) << "element " << e;
}

void expect_nodes_of_octants(const sphere& s, const sphere& octant, point3 center, double radius) {
    for (std::size_t i = 0; i < s.pos.cols; ++i)
        ASSERT_NEAR(radius, distance_to_center(s.pos, i, center), 2e-15 * radius);
    expect_apart(s.pos, 1e-12 * radius);
    EXPECT_EQ(columns(octant.pos), columns(s.pos.sub_matrix(0, 0, 3, octant.pos.cols)))
        << "the first octant's nodes stand in front";
    expect_same_points(turned_octants(octant.pos, center), sorted_points(s.pos), 4e-15 * radius);
}

void expect_great_circles(const sphere& s, unsigned n, point3 center, double radius) {
    ASSERT_EQ(8U * n, s.circle_z.cols);
    ASSERT_EQ(8U * n, s.circle_y.cols);
    expect_one_closed_loop(s.circle_z);
    expect_one_closed_loop(s.circle_y);
    const outgoing_edges edges(s.connect, s.pos.cols);
    std::set<unsigned> on_z, shared;
    for (std::size_t e = 0; e < 8 * n; ++e) {
        for (const auto* circle : {&s.circle_z, &s.circle_y})
            EXPECT_TRUE(edges.has((*circle)(0, e), (*circle)(1, e)))
                << "edge " << e << " is one of the mesh";
        EXPECT_NEAR(center[2], s.pos(2, s.circle_z(0, e)), 1e-15 * radius);
        EXPECT_NEAR(center[1], s.pos(1, s.circle_y(0, e)), 1e-15 * radius);
        on_z.insert(s.circle_z(0, e));
    }
    for (std::size_t e = 0; e < 8 * n; ++e)
        if (on_z.count(s.circle_y(0, e)) != 0) shared.insert(s.circle_y(0, e));
    ASSERT_EQ(2U, shared.size());
    for (const unsigned id : shared)
        EXPECT_NEAR(radius, std::fabs(s.pos(0, id) - center[0]), 1e-15 * radius);
}

/// The first of every fourth size.
class MeshSphereSizes : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(EveryFourthFrom, MeshSphereSizes, testing::Values(1U, 2U, 3U, 4U));

TEST_P(MeshSphereSizes, WholeSpheresAreValidForAllPatterns) {
    const point3 center{0.25, -0.5, 1};
    const double radius = 1.5;
    for (unsigned n = GetParam(); n <= 40; n += 4) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        const sphere quads = sphere_Q4(n, center, radius);
        expect_whole_sphere(quads, n, 1, center);
        expect_nodes_of_octants(quads, octant_Q4(n, center, radius), center, radius);
        expect_great_circles(quads, n, center, radius);
        for (const int pattern : {0, 1, 2}) {
            const sphere triangles = sphere_T3(n, pattern, center, radius);
            expect_whole_sphere(triangles, n, 2, center);
            expect_great_circles(triangles, n, center, radius);
            EXPECT_EQ(snapshot(quads.pos, quads.circle_z, quads.circle_y),
                      snapshot(triangles.pos, triangles.circle_z, triangles.circle_y));
        }
    }
}

TEST(MeshSphere, OneCellPerSideHasTwentySixNodes) {
    const sphere s = sphere_Q4(1);
    EXPECT_EQ(26U, s.pos.cols);
    EXPECT_EQ(24U, s.connect.cols);
}

TEST(MeshSphere, WithoutCirclesTheMeshIsTheSame) {
    for (const unsigned n : {1U, 2U, 5U}) {
        const sphere with = sphere_Q4(n);
        sphere without;
        ASSERT_EQ(0, mesh_sphere_Q4(without.pos, origin, 1, n, without.connect));
        EXPECT_EQ(snapshot(with.pos, with.connect), snapshot(without.pos, without.connect));
        const sphere triangles = sphere_T3(n, 2);
        sphere plain;
        ASSERT_EQ(0, mesh_sphere_T3(plain.pos, origin, 1, n, 2, plain.connect));
        EXPECT_EQ(snapshot(triangles.pos, triangles.connect), snapshot(plain.pos, plain.connect));
    }
}

TEST(MeshSphere, CirclesRunCounterclockwiseAboutTheirAxes) {
    const sphere s = sphere_Q4(2, {1, 2, 3}, 4);
    EXPECT_EQ(point(5, 2, 3), column(s.pos, s.circle_z(0, 0)));
    EXPECT_EQ(point(1, 6, 3), column(s.pos, s.circle_z(0, 4)));
    EXPECT_EQ(point(1, 2, 7), column(s.pos, s.circle_y(0, 0)));
    EXPECT_EQ(point(5, 2, 3), column(s.pos, s.circle_y(0, 4)));
    EXPECT_EQ(point(1, 2, -1), column(s.pos, s.circle_y(0, 8)));
}

TEST(MeshSphere, NodesThatWereThereStay) {
    sphere s;
    s.pos = points({{9, 9, 9}, {1, 0, 0}, {8, 8, 8}});
    s.connect = cells({{0, 1, 2, no_node}});
    ASSERT_EQ(0, mesh_sphere_Q4(s.pos, origin, 1, 2, s.connect));
    EXPECT_EQ(point(9, 9, 9), column(s.pos, 0));
    EXPECT_EQ(point(1, 0, 0), column(s.pos, 1));
    EXPECT_EQ(point(8, 8, 8), column(s.pos, 2));
    EXPECT_EQ(cell(0, 1, 2, no_node), column(s.connect, 0));
    EXPECT_EQ(3U + 24 * 4 + 2 - 1, s.pos.cols) << "the node at X is the one that was there";
}

TEST(MeshSphere, CirclesOnNodesThatWereThere) {
    for (unsigned n = 1; n <= 5; ++n)
        for (const bool quads : {true, false}) {
            SCOPED_TRACE(testing::Message() << n << (quads ? " quadrilaterals" : " triangles"));
            const point3 center{1, 2, 3};
            const sphere alone = quads ? sphere_Q4(n, center, 2) : sphere_T3(n, 1, center, 2);
            sphere s; // two nodes elsewhere, and one where the circles cross
            s.pos = points({{9, 9, 9}, {8, 8, 8}, {3, 2, 3}});
            ASSERT_EQ(
                0, quads
                       ? mesh_sphere_Q4(s.pos, center, 2, n, s.connect, s.circle_z, s.circle_y)
                       : mesh_sphere_T3(s.pos, center, 2, n, 1, s.connect, s.circle_z, s.circle_y));
            EXPECT_EQ(alone.pos.cols + 2, s.pos.cols);
            EXPECT_EQ((std::vector<double>{9, 9, 9}), column(s.pos, 0));
            EXPECT_EQ((std::vector<double>{8, 8, 8}), column(s.pos, 1));
            EXPECT_EQ((std::vector<double>{3, 2, 3}), column(s.pos, 2));
            // Node 0 of the sphere alone is the one that was there, the others follow in their order.
            const auto expect_shifted = [](const dense2D<unsigned>& before,
                                           const dense2D<unsigned>& after) {
                ASSERT_EQ(before.rows, after.rows);
                ASSERT_EQ(before.cols, after.cols);
                for (std::size_t j = 0; j < before.cols; ++j)
                    for (std::size_t i = 0; i < before.rows; ++i)
                        EXPECT_EQ(before(i, j) + 2, after(i, j));
            };
            expect_shifted(alone.connect, s.connect);
            expect_shifted(alone.circle_z, s.circle_z);
            expect_shifted(alone.circle_y, s.circle_y);
            for (std::size_t k = 1; k < alone.pos.cols; ++k)
                ASSERT_EQ(column(alone.pos, k), column(s.pos, k + 2));
        }
}

TEST(MeshSphere, TrianglesIntoFourRowsLeaveThree) {
    sphere s;
    s.connect = cells({{500, 501, 502, 503}});
    ASSERT_EQ(0, mesh_sphere_T3(s.pos, origin, 1, 2, 0, s.connect));
    EXPECT_EQ(3U, s.connect.rows);
    EXPECT_EQ(193U, s.connect.cols);
    EXPECT_EQ(cell(500, 501, 502), column(s.connect, 0));
    sphere empty;
    ASSERT_EQ(0, mesh_sphere_T3(empty.pos, origin, 1, 2, 0, empty.connect));
    EXPECT_EQ(3U, empty.connect.rows);
    EXPECT_EQ(columns(empty.connect), columns(s.connect.sub_matrix(0, 1, 3, 192)));
}

TEST(MeshSphere, RadiusZeroIsOneNode) {
    const sphere s = sphere_Q4(3, {0.1, 0.2, -0.3}, 0);
    EXPECT_EQ(1U, s.pos.cols);
    EXPECT_EQ(point(0.1, 0.2, -0.3), column(s.pos, 0));
    EXPECT_EQ(216U, s.connect.cols);
}

TEST(MeshSphere, RadiiOfAnySizeGiveTheSameMesh) {
    const sphere one = sphere_Q4(4);
    for (const double radius : {1e-300, 1e-200, 1e-5, 1e5, 1e150, 1e200, 1e300}) {
        const sphere s = sphere_Q4(4, origin, radius);
        EXPECT_EQ(snapshot(one.connect, one.circle_z, one.circle_y),
                  snapshot(s.connect, s.circle_z, s.circle_y))
            << radius;
        for (std::size_t i = 0; i < s.pos.cols; ++i)
            EXPECT_NEAR(1, distance_to_center(s.pos, i, origin) / radius, 2e-15);
    }
}

TEST(MeshSphere, NumbersThatAreNotFiniteEnd) {
    for (const double odd : {zel_test::nan, infinity, -infinity}) {
        sphere s;
        EXPECT_EQ(0, mesh_sphere_Q4(s.pos, {odd, 0, 0}, 1, 3, s.connect, s.circle_z, s.circle_y));
        EXPECT_EQ(216U, s.connect.cols);
        sphere t;
        EXPECT_EQ(0, mesh_sphere_T3(t.pos, origin, odd, 3, 1, t.connect));
        EXPECT_EQ(432U, t.connect.cols);
    }
}

TEST(MeshSphere, OneMatrixForBothCirclesIsSafe) {
    sphere s;
    EXPECT_EQ(0, mesh_sphere_Q4(s.pos, origin, 1, 3, s.connect, s.circle_z, s.circle_z));
    EXPECT_EQ(48U, s.circle_z.cols);
    for (const unsigned id : s.circle_z) EXPECT_LT(id, s.pos.cols);
}

TEST(MeshSphereT3, ABadPatternLeavesNoNodeOrThoseOfTheCircles) {
    for (const int pattern : {-1, 3, 5}) {
        sphere s;
        EXPECT_EQ(0, mesh_sphere_T3(s.pos, origin, 1, 3, pattern, s.connect));
        EXPECT_TRUE(s.pos.empty());
        EXPECT_TRUE(s.connect.empty());
        s = sphere_T3(3, pattern);
        EXPECT_TRUE(s.connect.empty());
        EXPECT_EQ(24U, s.circle_z.cols);
        EXPECT_EQ(46U, s.pos.cols); // two circles of 24 that share two nodes
        for (std::size_t j = 0; j < s.pos.cols; ++j)
            EXPECT_TRUE(s.pos(1, j) == 0 || std::abs(s.pos(2, j)) < 1e-15 ||
                        std::abs(s.pos(1, j)) < 1e-15);
    }
}
TEST(MeshSphere, ARadiusBelowZeroOrNotFiniteIsNotRefused) {
    for (const double radius : {-1.0, zel_test::nan, zel_test::infinity, -zel_test::infinity}) {
        sphere s;
        EXPECT_EQ(0, mesh_sphere_Q4(s.pos, origin, radius, 2, s.connect));
        EXPECT_EQ(96U, s.connect.cols);
        for (const unsigned id : s.connect) EXPECT_LT(id, s.pos.cols);
    }
    const sphere octant = octant_Q4(2, origin, -1);
    EXPECT_EQ(point(-1, 0, 0), column(octant.pos, 0));
    for (std::size_t j = 16; j < 19; ++j)
        EXPECT_GT(octant.pos(0, j), 0); // the interior of the patches
}

} // namespace
