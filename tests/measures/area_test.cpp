// SPDX-License-Identifier: Apache-2.0
// Tests of `area`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/lanes.h"
#include "support/meshes.h"
#include "zel/tessel2d/measures.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zel_test;
using zel::tessel2d::area;

double area_of(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    double result = -77;
    EXPECT_EQ(0, area(pos, connect, result));
    return result;
}
double area_of(const mesh& m) {
    return area_of(m.pos, m.connect);
}

/// The elements run the other way round; row 3 of a triangle stays.
dense2D<unsigned> turned(const dense2D<unsigned>& connect) {
    auto other = fresh_copy(connect);
    for (std::size_t e = 0; e < other.cols; ++e)
        std::reverse(other[e], other[e] + corner_count(other, e));
    return other;
}

// -------------------------------------------------------------------------------------- normal use

TEST(Area, UnitSquareInThePlaneIsOneAndReversedMinusOne) {
    const auto square = unit_square(2);
    EXPECT_EQ(1, area_of(square));
    EXPECT_EQ(-1, area_of(square.pos, turned(square.connect)));
}

TEST(Area, UnitSquareInSpaceIsOneInBothOrders) {
    const auto square = unit_square(3);
    EXPECT_EQ(1, area_of(square));
    EXPECT_EQ(1, area_of(square.pos, turned(square.connect)));
}

TEST(Area, TrianglesQuadrilateralsAndBothAddUp) {
    for (const unsigned rows : {2U, 3U}) {
        EXPECT_EQ(1, area_of(grid_T3(8, 16, rows)));
        EXPECT_EQ(1, area_of(grid_Q4(8, 16, rows)));
        EXPECT_EQ(1, area_of(grid_mixed(8, 16, rows)));
        const auto m = grid_mixed(8, 16, rows);
        EXPECT_EQ(rows == 2 ? -1 : 1, area_of(m.pos, turned(m.connect)));
    }
}

TEST(Area, ClockwiseElementsInThePlaneSubtract) {
    const auto pos = points({{0, 0}, {2, 0}, {2, 3}, {0, 3}});
    EXPECT_EQ(0, area_of(pos, cells({{0, 1, 2}, {0, 3, 2}})));
    EXPECT_EQ(3, area_of(pos, cells({{0, 1, 2, 3}, {0, 3, 2, no_node}})));
}

TEST(Area, WarpedQuadrilateralTakesTheCutWithTheLargerArea) {
    const auto pos = points({{0, 0, 0}, {1, 0, 1}, {1, 1, 0}, {0, 1, 1}});
    // Both ways cut this regular tetrahedron's edges into two equilateral triangles of side sqrt 2.
    EXPECT_NEAR(std::sqrt(3.0), area_of(pos, cells({{0, 1, 2, 3}})), 1e-15);
    const auto bent = points({{0, 0, 2}, {1, 0, 0}, {1, 1, 2}, {0, 1, 0}});
    // along 0-2 the halves span (1, 1, 0) with a height of sqrt 4.5, along 1-3 as well
    EXPECT_NEAR(3, area_of(bent, cells({{0, 1, 2, 3}})), 1e-15);
    const auto roof = points({{0, 0, 1}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
    // 1-3: sqrt 3/2 + 1/2; 0-2: two triangles of sqrt 2/2
    EXPECT_NEAR(std::sqrt(2.0), area_of(roof, cells({{0, 1, 2, 3}})), 1e-15);
}

TEST(Area, ResultIsReplacedNotAddedTo) {
    double result = 1000;
    const auto square = unit_square();
    EXPECT_EQ(0, area(square.pos, square.connect, result));
    EXPECT_EQ(1, result);
}

TEST(Area, ElementsAreSummedOneByOneInTheirOrder) {
    // A huge triangle in front swallows each small one that follows; behind them it takes their sum.
    const double big = 0x1p27; // twice the area is 2^53
    const auto pos = points({{0, 0}, {big, 0}, {0, big / 2}, {0, 0}, {1, 0}, {0, 1}});
    for (const std::size_t count : {1U, 2U, 255U, 256U, 1023U, 5000U}) {
        dense2D<unsigned> first(3, count + 1), last(3, count + 1);
        for (std::size_t e = 0; e <= count; ++e) {
            for (unsigned k = 0; k < 3; ++k) {
                first(k, e) = k + (e == 0 ? 0 : 3);
                last(k, e) = k + (e == count ? 0 : 3);
            }
        }
        EXPECT_EQ(0x1p52, area_of(pos, first));
        EXPECT_EQ((0x1p53 + 2 * static_cast<double>(count / 2)) / 2 + (count % 4 == 3 ? 1 : 0),
                  area_of(pos, last));
    }
}

TEST(Area, ViewsWithALargerLeadingDimension) {
    for (const unsigned rows : {2U, 3U}) {
        for (const auto& m : {grid_T3(16, 32, rows), grid_mixed(16, 32, rows)}) {
            const auto pos = framed(m.pos);
            const auto connect = framed(m.connect);
            EXPECT_EQ(1, area_of(pos.view, connect.view));
            EXPECT_EQ(1, area_of(m.pos, connect.view));
            EXPECT_EQ(1, area_of(pos.view, m.connect));
        }
    }
}

// -------------------------------------------------------------------------------------- statuses

TEST(Area, EmptyMeshIsZeroEvenWithBadCoordinates) {
    const dense2D<double> five_rows(5, 3, 1.0);
    double result = 7;
    EXPECT_EQ(0, area(five_rows, dense2D<unsigned>(), result));
    EXPECT_EQ(0, result);
    result = 7;
    EXPECT_EQ(0, area(five_rows, dense2D<unsigned>(3, 0), result));
    EXPECT_EQ(0, result);
    result = 7;
    EXPECT_EQ(0, area(five_rows, dense2D<unsigned>(0, 9), result));
    EXPECT_EQ(0, result);
}

void expect_status(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    double result = 7;
    EXPECT_EQ(status, area(pos, connect, result));
    EXPECT_EQ(0, result) << "whatever it was, the result starts at 0";
}

TEST(Area, CoordinatesOfOtherRowsAreRefused) {
    const auto square = unit_square();
    for (const std::size_t rows : {0U, 1U, 4U, 6U})
        expect_status(-1, dense2D<double>(rows, 4, 0.0), square.connect);
}

TEST(Area, ElementsOfOtherRowsAreRefused) {
    const auto square = unit_square();
    for (const std::size_t rows : {1U, 2U, 5U, 6U, 8U})
        expect_status(-2, square.pos, dense2D<unsigned>(rows, 2, 0U));
}

TEST(Area, NodesThatDoNotExistAreRefused) {
    const auto square = unit_square();
    expect_status(-2, square.pos, cells({{0, 1, 2}, {0, 1, 4}}));
    expect_status(-2, square.pos, cells({{0, 1, no_node}}));
    expect_status(-2, square.pos, cells({{0, 1, 2, 4}}));
    expect_status(-2, square.pos, cells({{0, 1, no_node, no_node}}));
    expect_status(-2, dense2D<double>(2, 0), cells({{0, 0, 0}}));
    EXPECT_EQ(0.5, area_of(square.pos, cells({{0, 1, 2, no_node}})));
}

TEST(Area, ABadElementIsFoundWhereverItStands) {
    const auto m = grid_T3(40, 40);
    const auto n = grid_mixed(40, 40);
    for (std::size_t e = 0; e < m.connect.cols; e += 17) {
        for (const auto& good : {m, n}) {
            if (e >= good.connect.cols) continue;
            auto bad = fresh_copy(good.connect);
            bad(e % 3, e) = static_cast<unsigned>(good.pos.cols);
            expect_status(-2, good.pos, bad);
        }
    }
    auto last = fresh_copy(m.connect);
    last(2, last.cols - 1) = 0xFFFFFFFEU;
    expect_status(-2, m.pos, last);
}

TEST(Area, TheFirstOfTwoFaultsDecides) {
    expect_status(-1, dense2D<double>(4, 4, 0.0), cells({{0, 1}}));
    expect_status(-1, dense2D<double>(4, 4, 0.0), cells({{0, 1, 9}}));
}

// -------------------------------------------------------------------------------- degenerate input

TEST(Area, CollapsedElementsAddNothing) {
    const auto flat = points({{0, 0}, {1, 1}, {2, 2}, {0, 0}});
    EXPECT_EQ(0, area_of(flat, cells({{0, 1, 2}, {0, 0, 0}, {0, 3, 1}, {1, 1, 2}})));
    EXPECT_EQ(0, area_of(flat, cells({{0, 1, 2, 3}, {0, 0, 0, no_node}, {1, 1, 1, 1}})));
    const auto space = points({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 0, 0}});
    EXPECT_EQ(0, area_of(space, cells({{0, 1, 2, 3}, {0, 0, 1, no_node}, {2, 2, 2, 2}})));
}

TEST(Area, NumbersThatAreNotFiniteGoThrough) {
    auto square = unit_square();
    square.pos(0, 1) = zel_test::nan;
    EXPECT_TRUE(std::isnan(area_of(square)));
    square.pos(0, 1) = infinity;
    EXPECT_FALSE(std::isfinite(area_of(square)));
    auto far = grid_T3(4, 4, 3);
    for (std::size_t j = 0; j < far.pos.cols; ++j) far.pos(0, j) *= 1e200;
    EXPECT_EQ(infinity, area_of(far));
}

// ---------------------------------------------------------------------------------------- memory

TEST(Area, NeedsNoMemoryAllocation) {
    const auto m = grid_mixed(50, 50, 3);
    double result = 0;
    const std::size_t before = allocation_count();
    arm_allocator(1);
    EXPECT_EQ(0, area(m.pos, m.connect, result));
    EXPECT_FALSE(disarm_allocator());
    EXPECT_EQ(before, allocation_count());
    EXPECT_NEAR(1, result, 1e-12);
}

// ------------------------------------------------------------------------------------ random input

long double exact_double_area(const double* a, const double* b, const double* c, std::size_t rows) {
    long double u[3] = {}, w[3] = {};
    for (std::size_t i = 0; i < rows; ++i) {
        u[i] = static_cast<long double>(b[i]) - a[i];
        w[i] = static_cast<long double>(c[i]) - a[i];
    }
    const long double n[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2],
                              u[0] * w[1] - u[1] * w[0]};
    return rows == 2 ? n[2] : std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
}

TEST(Area, RandomTrianglesMatchHigherPrecision) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        dense2D<double> pos(rows, 300);
        for (double& x : pos) x = random.between(-3, 3);
        dense2D<unsigned> connect(3, 1 + random.below(2000));
        for (unsigned& node : connect) node = random.below(300);
        long double sum = 0;
        long double sizes = 0;
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned* const n = connect[e];
            const long double a = exact_double_area(pos[n[0]], pos[n[1]], pos[n[2]], rows);
            sum += a;
            sizes += std::abs(a);
        }
        const double bound =
            static_cast<double>(sizes) * static_cast<double>(connect.cols + 8) * 0x1p-53 + 1e-13;
        EXPECT_NEAR(static_cast<double>(sum / 2), area_of(pos, connect), bound);
    }
}

TEST(Area, TheSumOverAMeshIsTheSumOfItsElementsToTheBit) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        auto m = seed % 3 == 0 ? grid_T3(17, 33, 2 + seed % 2) : grid_mixed(17, 33, 2 + seed % 2);
        for (double& x : m.pos) x += random.between(-0.05, 0.05);
        double doubled = 0;
        for (std::size_t e = 0; e < m.connect.cols; ++e)
            doubled += 2 * area_of(m.pos, m.connect.sub_matrix(0, e, m.connect.rows, 1));
        EXPECT_EQ(doubled / 2, area_of(m));
    }
}

TEST(Area, IsTheSameToTheBitOnAProcessorThatTakesOneTriangleAtATime) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        mesh m{dense2D<double>(rows, 40), dense2D<unsigned>(3, 1 + random.below(40))};
        for (double& x : m.pos) x = seed % 5 == 0 ? random.below(3) : random.between(-1, 1);
        for (unsigned& node : m.connect) node = random.below(40);
        const double four = area_of(m);
        const one_lane scalar;
        EXPECT_EQ(bits(four), bits(area_of(m)));
    }
}

} // namespace
