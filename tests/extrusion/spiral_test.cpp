// SPDX-License-Identifier: Apache-2.0
#include "extrusion/sweeps.h"

#include <cmath>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::extrude_rotate_Q4;
using zel::tessel2d::extrude_spiral_Q4;
using zel::tessel2d::extrude_spiral_T3;
using zel::tessel2d::extrude_translate_Q4;

constexpr double pi = 3.14159265358979323846;
constexpr double epsilon = std::numeric_limits<double>::epsilon();

struct spoke {
    dense2D<double> pos = points({{1, 0, 0}, {2, 0, 0}});
    dense2D<unsigned> edges = cells({{0, 1}});
    dense2D<unsigned> out;
};

TEST(ExtrudeSpiral, RotationAndAdvanceGrowTogether) {
    spoke s;
    ASSERT_EQ(0, extrude_spiral_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, pi},
                                   point3{0, 0, 3}, 6, s.out));
    ASSERT_EQ(14u, s.pos.cols);
    for (std::size_t k = 1; k <= 6; ++k)
        for (std::size_t n = 0; n < 2; ++n) {
            const double phi = pi * static_cast<double>(k) / 6;
            const double r = 1.0 + static_cast<double>(n);
            EXPECT_NEAR(r * std::cos(phi), s.pos(0, 2 * k + n), 8 * epsilon);
            EXPECT_NEAR(r * std::sin(phi), s.pos(1, 2 * k + n), 8 * epsilon);
            EXPECT_NEAR(0.5 * static_cast<double>(k), s.pos(2, 2 * k + n), 4 * epsilon);
        }
    EXPECT_EQ(cell(2, 3, 5, 4), column(s.out, 1));
}
TEST(ExtrudeSpiral, TheProgressionOfSizesActsOnTheHelixAsAWhole) {
    spoke s;
    ASSERT_EQ(0, extrude_spiral_T3(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, 1},
                                   point3{0, 0, 10}, 1, 2, 2, false, s.out));
    ASSERT_EQ(14u, s.out.cols);
    for (std::size_t k = 1; k <= 7; ++k) {
        const double fraction = std::pow(2.0, static_cast<double>(k) / 7) - 1;
        EXPECT_NEAR(10 * fraction, s.pos(2, 2 * k), 1e-14);
        EXPECT_NEAR(std::cos(fraction), s.pos(0, 2 * k), 4 * epsilon);
    }
}
TEST(ExtrudeSpiral, PosOfTwoRowsIsRefusedAndNotWidened) {
    spoke s;
    s.pos = points({{1, 0}, {2, 0}});
    EXPECT_EQ(-1, extrude_spiral_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, 1},
                                    point3{0, 0, 1}, 3, s.out));
    EXPECT_EQ(2u, s.pos.rows);
}
TEST(ExtrudeSpiral, WithoutTranslationOneLayerHoldsTheWholeRotation) {
    for (const bool even : {false, true}) {
        spoke s;
        ASSERT_EQ(0, extrude_spiral_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, pi},
                                       point3{0, 0, 0}, 0.1, 0.1, even, s.out));
        EXPECT_EQ(even ? 2u : 1u, s.out.cols);
        EXPECT_NEAR(-1, s.pos(0, s.pos.cols - 2), 4 * epsilon);
    }
}
TEST(ExtrudeSpiral, ACountedSweepWithoutTranslationIsRefused) {
    spoke s;
    EXPECT_EQ(-6, extrude_spiral_Q4(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, pi},
                                    point3{0, 0, 0}, 4, s.out));
    EXPECT_EQ(-6, extrude_spiral_T3(s.pos, s.edges, point3{0, 0, 0}, point3{0, 0, pi},
                                    point3{0, 0, 0}, 4, 0, s.out));
}
TEST(ExtrudeSpiral, TheSecondSizeHasAnotherStatusForTriangles) {
    spoke s;
    const point3 o{0, 0, 0}, z{0, 0, 1};
    for (const double h1 : {0.0, -1.0, zel_test::nan}) {
        EXPECT_EQ(-7, extrude_spiral_Q4(s.pos, s.edges, o, z, z, 1, h1, false, s.out));
        EXPECT_EQ(-4, extrude_spiral_T3(s.pos, s.edges, o, z, z, 1, h1, 0, false, s.out));
        EXPECT_EQ(-6, extrude_spiral_Q4(s.pos, s.edges, o, z, z, h1, 1, false, s.out));
        EXPECT_EQ(-6, extrude_spiral_T3(s.pos, s.edges, o, z, z, h1, 1, 0, false, s.out));
    }
}
TEST(ExtrudeSpiral, UnknownPatternsActAsOne) {
    const point3 o{0, 0, 0}, z{0, 0, 1};
    spoke reference;
    ASSERT_EQ(0, extrude_spiral_T3(reference.pos, reference.edges, o, z, z, 3, 1, reference.out));
    for (const int pattern : {7, -2, 3}) {
        spoke s, t;
        ASSERT_EQ(0, extrude_spiral_T3(s.pos, s.edges, o, z, z, 3, pattern, s.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(s.out));
        ASSERT_EQ(
            0, extrude_spiral_T3(t.pos, t.edges, o, z, z, 1 / 3.0, 1 / 3.0, pattern, false, t.out));
        EXPECT_EQ(snapshot(reference.out), snapshot(t.out));
    }
}
TEST(ExtrudeSpiral, AZeroRotationIsATranslation) {
    spoke spiral, straight;
    const point3 T{3, -4, 12};
    ASSERT_EQ(0, extrude_spiral_Q4(spiral.pos, spiral.edges, point3{0, 0, 0}, point3{0, 0, 0}, T, 1,
                                   2, false, spiral.out));
    ASSERT_EQ(0, extrude_translate_Q4(straight.pos, straight.edges, T, 1, 2, false, straight.out));
    EXPECT_EQ(snapshot(straight.pos, straight.out), snapshot(spiral.pos, spiral.out));
}
TEST(ExtrudeSpiral, EachLayerIsTheRotationMovedAlong) {
    spoke spiral, turned;
    const point3 C{0.5, -1, 2}, A{0.25, 1, -0.5}, T{1, 2, 2};
    ASSERT_EQ(0, extrude_spiral_Q4(spiral.pos, spiral.edges, C, A, T, 8, spiral.out));
    ASSERT_EQ(0, extrude_rotate_Q4(turned.pos, turned.edges, C, A, 8, turned.out));
    for (std::size_t k = 1; k <= 8; ++k)
        for (std::size_t n = 0; n < 2; ++n)
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_EQ(turned.pos(i, 2 * k + n) + static_cast<double>(k) / 8 * T[i],
                          spiral.pos(i, 2 * k + n));
}

} // namespace
