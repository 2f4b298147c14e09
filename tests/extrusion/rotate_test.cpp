// SPDX-License-Identifier: Apache-2.0
#include "extrusion/sweeps.h"

#include <cmath>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::extrude_rotate_Q4;
using zel::tessel2d::extrude_rotate_T3;

constexpr double pi = 3.14159265358979323846;
constexpr double epsilon = std::numeric_limits<double>::epsilon();

struct spoke {
    dense2D<double> pos = points({{1, 0}, {2, 0}});
    dense2D<unsigned> edges = cells({{0, 1}});
    dense2D<unsigned> out;
};
void expect_near(std::initializer_list<double> expected, const dense2D<double>& pos,
                 std::size_t node, double bound) {
    ASSERT_EQ(expected.size(), pos.rows);
    std::size_t i = 0;
    for (const double x : expected) EXPECT_NEAR(x, pos(i++, node), bound) << "node " << node;
}

// ----------------------------------------------------------------------------------- in the plane

TEST(ExtrudeRotate, AQuarterRingRunsCounterclockwise) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, pi / 2, 2, s.out));
    EXPECT_THAT(columns(s.out), ElementsAre(cell(0, 1, 3, 2), cell(2, 3, 5, 4)));
    const double h = std::sqrt(0.5);
    expect_near({h, h}, s.pos, 2, 2 * epsilon);
    expect_near({2 * h, 2 * h}, s.pos, 3, 4 * epsilon);
    expect_near({0, 1}, s.pos, 4, 2 * epsilon);
    expect_near({0, 2}, s.pos, 5, 4 * epsilon);
    expect_valid_mesh(s.pos, s.out);
}
TEST(ExtrudeRotate, NodesTurnAboutTheCentre) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_T3(s.pos, s.edges, point2{3, 1}, -pi / 2, 1, 1, s.out));
    // (1, 0) - (3, 1) = (-2, -1), clockwise by a quarter (-1, 2)
    expect_near({2, 3}, s.pos, 2, 8 * epsilon);
    expect_near({2, 2}, s.pos, 3, 8 * epsilon);
    EXPECT_THAT(columns(s.out), ElementsAre(cell(0, 1, 3), cell(0, 3, 2)));
}
TEST(ExtrudeRotate, AFullTurnIsNotClosed) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, 2 * pi, 8, s.out));
    EXPECT_EQ(2u + 16, s.pos.cols);
    EXPECT_EQ(cell(14, 15, 17, 16), column(s.out, 7));
    expect_near({1, 0}, s.pos, 16, 8 * epsilon);
}
TEST(ExtrudeRotate, AnAngleOfZeroGivesLayersThatCoincide) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{0.25, 0}, 0, 4, s.out));
    EXPECT_EQ(4u, s.out.cols);
    for (std::size_t k = 0; k < 10; ++k) EXPECT_EQ(column(s.pos, k % 2), column(s.pos, k));
    spoke t;
    ASSERT_EQ(0, extrude_rotate_Q4(t.pos, t.edges, point2{0.25, 0}, 0, 0.1, 0.1, false, t.out));
    EXPECT_EQ(1u, t.out.cols);
}
TEST(ExtrudeRotate, NoLayersAreNothingToDo) {
    spoke s;
    s.out = cells({{0, 1}});
    EXPECT_EQ(0, extrude_rotate_Q4(s.pos, cells({{0, 9}}), point2{0, 0}, 1, 0, s.out));
    EXPECT_EQ(0, extrude_rotate_T3(s.pos, cells({{0, 9}}), point3{0, 0, 0}, point3{0, 0, 1}, 0, 9,
                                   s.out));
    EXPECT_EQ(2u, s.pos.cols);
}
TEST(ExtrudeRotate, ACountedRotationInThePlaneLeavesTwoOfThreeRows) {
    for (const bool triangles : {false, true}) {
        spoke s;
        s.pos = points({{1, 0, 7}, {2, 0, 8}});
        ASSERT_EQ(0, triangles ? extrude_rotate_T3(s.pos, s.edges, point2{0, 0}, pi, 2, 0, s.out)
                               : extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, pi, 2, s.out));
        ASSERT_EQ(2u, s.pos.rows);
        ASSERT_EQ(6u, s.pos.cols);
        EXPECT_EQ(point(2, 0), column(s.pos, 1));
        expect_near({0, 1}, s.pos, 2, 4 * epsilon);
        EXPECT_EQ(-1, extrude_rotate_Q4(s.pos = dense2D<double>(3, 4, 0.0), s.edges, point2{0, 0},
                                        pi, 1, 1, false, s.out = dense2D<unsigned>()));
    }
}
TEST(ExtrudeRotate, UnknownPatternsActAsOneWhereTheyAreNotTested) {
    for (const int pattern : {5, -1, 3}) {
        spoke counted, reference, space, space_sized;
        ASSERT_EQ(0, extrude_rotate_T3(reference.pos, reference.edges, point2{0, 0}, 1, 3, 1,
                                       reference.out));
        ASSERT_EQ(0, extrude_rotate_T3(counted.pos, counted.edges, point2{0, 0}, 1, 3, pattern,
                                       counted.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(counted.out));
        ASSERT_EQ(0, extrude_rotate_T3(space.pos, space.edges, point3{0, 0, 0}, point3{0, 0, 1}, 3,
                                       pattern, space.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(space.out));
        ASSERT_EQ(0, extrude_rotate_T3(space_sized.pos, space_sized.edges, point3{0, 0, 0},
                                       point3{0, 0, 1}, 1 / 3.0, 1 / 3.0, pattern, false,
                                       space_sized.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(space_sized.out));
        spoke sized;
        EXPECT_EQ(-7, extrude_rotate_T3(sized.pos, sized.edges, point2{0, 0}, 1, 1, 1, pattern,
                                        false, sized.out));
    }
}
TEST(ExtrudeRotate, TheFirstNodeOfTheFirstEdgeMeasuresTheWay) {
    for (const double sign : {1.0, -1.0}) {
        spoke s; // (1, 0) moves by 3, sized 0.5
        ASSERT_EQ(
            0, extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, 3 * sign, 0.5, 0.5, false, s.out));
        EXPECT_EQ(6u, s.out.cols);
        expect_near({std::cos(3.0), sign * std::sin(3.0)}, s.pos, 12, 2 * epsilon);
        spoke t; // (2, 0) moves by 6
        ASSERT_EQ(0, extrude_rotate_Q4(t.pos, cells({{1, 0}}), point2{0, 0}, 3 * sign, 0.5, 0.5,
                                       false, t.out));
        EXPECT_EQ(12u, t.out.cols);
    }
}
TEST(ExtrudeRotate, AFirstNodeAtTheCentreGivesOneLayerOrTwo) {
    for (const bool even : {false, true}) {
        spoke s;
        ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{1, 0}, 2, 0.01, 0.01, even, s.out));
        EXPECT_EQ(even ? 2u : 1u, s.out.cols);
        spoke t;
        ASSERT_EQ(0, extrude_rotate_Q4(t.pos, t.edges, point3{1, 0, 0}, point3{0, 0, 2}, 0.01, 0.01,
                                       even, t.out));
        EXPECT_EQ(even ? 2u : 1u, t.out.cols);
    }
}
TEST(ExtrudeRotate, AnglesGrowInTheProgressionOfSizes) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, 1, 0.1, 0.2, false, s.out));
    ASSERT_EQ(7u, s.out.cols);
    for (int k = 1; k <= 7; ++k) {
        const double phi = std::pow(2.0, k / 7.0) - 1;
        expect_near({std::cos(phi), std::sin(phi)}, s.pos, 2 * static_cast<std::size_t>(k),
                    4 * epsilon);
    }
}

// -------------------------------------------------------------------------------------- in space

TEST(ExtrudeRotate, AboutTheThirdAxisIsTheRotationInThePlane) {
    spoke flat, space;
    ASSERT_EQ(0, extrude_rotate_Q4(flat.pos, flat.edges, point2{0.5, 2}, 2.5, 5, flat.out));
    ASSERT_EQ(0, extrude_rotate_Q4(space.pos, space.edges, point3{0.5, 2, 1}, point3{0, 0, 2.5}, 5,
                                   space.out));
    EXPECT_EQ(snapshot(flat.out), snapshot(space.out));
    for (std::size_t j = 0; j < flat.pos.cols; ++j)
        expect_near({flat.pos(0, j), flat.pos(1, j), 0}, space.pos, j, 16 * epsilon);
}
TEST(ExtrudeRotate, AboutAnyAxisByTheRightHand) {
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const auto any = [&] {
            return point3{random.between(-2, 2), random.between(-2, 2), random.between(-2, 2)};
        };
        const point3 C = any(), A = any(), p = any(), q = any();
        dense2D<double> pos = points({{p[0], p[1], p[2]}, {q[0], q[1], q[2]}});
        dense2D<unsigned> out;
        ASSERT_EQ(0, extrude_rotate_T3(pos, cells({{0, 1}}), C, A, 4, 0, out));
        const long double angle = std::sqrt(static_cast<long double>(A[0]) * A[0] +
                                            static_cast<long double>(A[1]) * A[1] +
                                            static_cast<long double>(A[2]) * A[2]);
        for (unsigned k = 1; k <= 4; ++k) {
            const long double phi = angle * k / 4;
            for (unsigned n = 0; n < 2; ++n) {
                const point3& x = n == 0 ? p : q;
                long double axis[3], d[3], along = 0;
                for (std::size_t i = 0; i < 3; ++i) {
                    axis[i] = A[i] / angle;
                    d[i] = static_cast<long double>(x[i]) - C[i];
                    along += axis[i] * d[i];
                }
                for (std::size_t i = 0; i < 3; ++i) {
                    const std::size_t u = (i + 1) % 3;
                    const std::size_t v = (i + 2) % 3;
                    const long double across = axis[u] * d[v] - axis[v] * d[u];
                    const long double moved = C[i] + axis[i] * along +
                                              (d[i] - axis[i] * along) * std::cos(phi) +
                                              across * std::sin(phi);
                    EXPECT_NEAR(static_cast<double>(moved), pos(i, 2 * std::size_t{k} + n),
                                64 * epsilon);
                }
            }
        }
    }
}
TEST(ExtrudeRotate, TheWayInSpaceIsTheDistanceFromTheAxisTimesTheAngle) {
    spoke s;
    s.pos = points({{1, 0, 5}, {1, 0, 6}});
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point3{0, 0, -3}, point3{0, 0, 3}, 0.5, 0.5,
                                   false, s.out));
    EXPECT_EQ(6u, s.out.cols);
}
TEST(ExtrudeRotate, TheWayInSpaceIsTheVectorProductWithTheRotation) {
    const auto layers = [](const dense2D<double>& at, const point3& C, const point3& A, double h,
                           bool even = false) {
        spoke s;
        s.pos = fresh_copy(at);
        EXPECT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, C, A, h, h, even, s.out));
        spoke t;
        t.pos = fresh_copy(at);
        EXPECT_EQ(0, extrude_rotate_T3(t.pos, t.edges, C, A, h, h, 0, even, t.out));
        EXPECT_EQ(2 * s.out.cols, t.out.cols);
        return s.out.cols;
    };
    // (1, 2, 0) x (1, 4, 1) = (2, -1, 2), of length 3; the product of the lengths is above 9.
    const auto first = points({{6, 9, -1}, {0, 0, 0}});
    EXPECT_EQ(3072U, layers(first, {5, 7, -1}, {1, 4, 1}, 0x1p-10));
    EXPECT_EQ(3072U, layers(first, {5, 7, -1}, {-1, -4, -1}, 0x1p-10));
    EXPECT_EQ(6U, layers(first, {5, 7, -1}, {1, 4, 1}, 0.5, true));
    // Two rows lie at z = 0: (-2, 4, -3) x (1, 0, 0) = (0, -3, -4), of length 5.
    const auto flat = points({{5, 4}, {0, 0}});
    EXPECT_EQ(5120U, layers(flat, {7, 0, 3}, {1, 0, 0}, 0x1p-10));
    // Along the axis there is no way.
    EXPECT_EQ(1U, layers(first, {5, 7, -1}, {2, 4, 0}, 0x1p-10));
}
TEST(ExtrudeRotate, TheLengthDecidesBetweenTwoCountsToTheLastBit) {
    // Between 6 and 7 layers of size 1: the square of the first one is rounded to below 42.
    const double ways[] = {0x1.9ec474a261263p+2, 0x1.9ec474a261264p+2};
    for (std::size_t k = 0; k < 2; ++k) {
        spoke s, t, u;
        s.pos = points({{ways[k], 0, 9}, {0, 0, 0}});
        ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point3{0, 0, 2}, point3{0, 0, 1}, 1, 1,
                                       false, s.out));
        EXPECT_EQ(6 + k, s.out.cols);
        t.pos = points({{1, -3, 2}, {0, 0, 0}});
        ASSERT_EQ(0, extrude_rotate_Q4(t.pos, t.edges, point3{0, -3, 2}, point3{0, ways[k], 0}, 1,
                                       1, false, t.out));
        EXPECT_EQ(6 + k, t.out.cols);
        ASSERT_EQ(0, extrude_rotate_Q4(u.pos, u.edges, point2{0, 0}, -ways[k], 1, 1, false, u.out));
        EXPECT_EQ(6 + k, u.out.cols);
    }
}
TEST(ExtrudeRotate, AZeroVectorCopiesNodes) {
    spoke s;
    ASSERT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, 0}, 3, s.out));
    for (std::size_t j = 0; j < 8; ++j) EXPECT_EQ(column(s.pos, j % 2), column(s.pos, j));
}
TEST(ExtrudeRotate, InSpaceFourRowsAreRefusedAndThreeAreWidened) {
    spoke s;
    s.out = cells({{0, 1, 0, 1}});
    EXPECT_EQ(-3, extrude_rotate_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, 1}, 2, s.out));
    EXPECT_EQ(-8, extrude_rotate_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, 1}, 1, 1, false,
                                    s.out));
    EXPECT_EQ(2u, s.pos.rows);
    for (const bool sized : {false, true}) {
        spoke t;
        t.out = cells({{0, 1, 0}, {1, 0, 1}});
        ASSERT_EQ(0, sized ? extrude_rotate_Q4(t.pos, t.edges, point3{0, 0, 0}, point3{0, 0, 1}, 1,
                                               1, false, t.out)
                           : extrude_rotate_Q4(t.pos, t.edges, point3{0, 0, 0}, point3{0, 0, 1}, 1,
                                               t.out));
        EXPECT_THAT(columns(t.out),
                    ElementsAre(cell(0, 1, 0, no_node), cell(1, 0, 1, no_node), cell(0, 1, 3, 2)));
    }
}
TEST(ExtrudeRotate, TheSizedTrianglesInSpaceReportBadNodesAsTheFirstArgument) {
    spoke s;
    EXPECT_EQ(-1, extrude_rotate_T3(s.pos, cells({{0, 2}}), point3{0, 0, 0}, point3{0, 0, 1}, 1, 1,
                                    0, false, s.out));
    EXPECT_EQ(-2, extrude_rotate_T3(s.pos, cells({{0, 2}}), point3{0, 0, 0}, point3{0, 0, 1}, 3, 0,
                                    s.out));
}
TEST(ExtrudeRotate, AnglesThatAreNotFiniteEnd) {
    for (const double bad : {zel_test::nan, infinity}) {
        spoke s, t;
        EXPECT_EQ(0, extrude_rotate_Q4(s.pos, s.edges, point2{0, 0}, bad, 3, s.out));
        EXPECT_TRUE(std::isnan(s.pos(0, 2)));
        EXPECT_EQ(0,
                  extrude_rotate_Q4(t.pos, t.edges, point3{0, 0, 0}, point3{0, bad, 0}, 3, t.out));
        EXPECT_TRUE(std::isnan(t.pos(0, 2)));
    }
}

} // namespace
