// SPDX-License-Identifier: Apache-2.0
// Tests of `circumcenters`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/lanes.h"
#include "support/meshes.h"
#include "zel/tessel2d/measures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::circumcenters;

dense2D<double> centers_of(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    dense2D<double> centers;
    EXPECT_EQ(0, circumcenters(pos, connect, centers));
    EXPECT_EQ(pos.rows, centers.rows);
    EXPECT_EQ(connect.cols, centers.cols);
    return centers;
}

// -------------------------------------------------------------------------------------- normal use

TEST(Circumcenters, OfARightTriangleInThePlaneIsExactlyTheMidpointOfTheHypotenuse) {
    const auto pos = points({{0.1, 0.2}, {0.1, 1.7}, {3.3, 0.2}});
    const auto centers = centers_of(pos, cells({{0, 1, 2}, {1, 2, 0}, {2, 1, 0}}));
    const auto middle = point((0.1 + 3.3) / 2, (1.7 + 0.2) / 2);
    EXPECT_THAT(columns(centers), ElementsAre(middle, middle, middle));
}

TEST(Circumcenters, OfAnEquilateralTriangleIsItsMiddle) {
    for (const unsigned rows : {2U, 3U}) {
        const auto triangle = equilateral_triangle(rows);
        const auto centers = centers_of(triangle.pos, triangle.connect);
        EXPECT_NEAR(0.5, centers(0, 0), 2e-16);
        EXPECT_NEAR(std::sqrt(3.0) / 6, centers(1, 0), 2e-16);
        if (rows == 3) {
            EXPECT_EQ(0, centers(2, 0));
        }
    }
}

TEST(Circumcenters, OfAnObtuseTriangleLiesOutside) {
    const auto plane = points({{-4, 0}, {4, 0}, {0, 2}}); // circle around (0, -3) with radius 5
    EXPECT_THAT(columns(centers_of(plane, cells({{0, 1, 2}, {2, 1, 0}}))),
                ElementsAre(point(0, -3), point(0, -3)));
    const auto space = points({{-4, 0, 1}, {4, 0, 1}, {0, 2, 1}});
    const auto centers = centers_of(space, cells({{0, 1, 2}}));
    EXPECT_NEAR(0, centers(0, 0), 1e-14);
    EXPECT_NEAR(-3, centers(1, 0), 1e-14);
    EXPECT_EQ(1, centers(2, 0));
}

TEST(Circumcenters, ScaleWithTheMesh) {
    for (const unsigned rows : {2U, 3U}) {
        const auto m = grid_T3(4, 3, rows);
        const auto centers = centers_of(m.pos, m.connect);
        for (const int power : {-100, -40, 30, 60, 100}) {
            const double scale = std::ldexp(1.0, power);
            auto pos = fresh_copy(m.pos);
            for (double& x : pos) x *= scale;
            const auto scaled = centers_of(pos, m.connect);
            for (std::size_t e = 0; e < m.connect.cols; ++e)
                for (std::size_t i = 0; i < rows; ++i)
                    EXPECT_EQ(scale * centers(i, e), scaled(i, e)) << rows << ' ' << power;
        }
    }
}

TEST(Circumcenters, OfAnyNumberOfElements) {
    for (std::size_t n = 1; n < 30; ++n) {
        const auto triangle = equilateral_triangle();
        dense2D<unsigned> connect(3, n);
        for (std::size_t e = 0; e < n; ++e) std::copy_n(triangle.connect[0], 3, connect[e]);
        EXPECT_EQ(n, centers_of(triangle.pos, connect).cols);
    }
}

TEST(Circumcenters, TheOutputIsReplacedAndKeepsWhatOthersShareWithIt) {
    const auto m = grid_T3(3, 2);
    auto centers = framed(points({{1, 2, 3}, {4, 5, 6}}));
    ASSERT_EQ(0, circumcenters(m.pos, m.connect, centers.view));
    EXPECT_EQ(snapshot(centers_of(m.pos, m.connect)), snapshot(centers.view));
    EXPECT_EQ(surroundings<double>, centers.parent(0, 2));
    EXPECT_EQ(4, centers.parent(1, 3));
}

TEST(Circumcenters, TheOutputMayShareStorageWithTheCoordinatesOrBeThem) {
    for (const unsigned rows : {2U, 3U}) {
        auto m = grid_T3(7, 4, rows);
        const auto expected = snapshot(centers_of(m.pos, m.connect));
        const auto before = snapshot(m.pos);

        dense2D<double> view = m.pos.sub_matrix(1, 2, rows - 1, 3);
        ASSERT_EQ(0, circumcenters(m.pos, m.connect, view));
        EXPECT_EQ(expected, snapshot(view));
        EXPECT_EQ(before, snapshot(m.pos));

        dense2D<double> whole = m.pos;
        ASSERT_EQ(0, circumcenters(m.pos, m.connect, whole));
        EXPECT_EQ(expected, snapshot(whole));
        EXPECT_EQ(before, snapshot(m.pos));

        ASSERT_EQ(0, circumcenters(m.pos, m.connect, m.pos));
        EXPECT_EQ(expected, snapshot(m.pos));
    }
}

TEST(Circumcenters, ViewsWithALargerLeadingDimension) {
    for (const unsigned rows : {2U, 3U}) {
        const auto m = grid_T3(6, 3, rows);
        EXPECT_EQ(snapshot(centers_of(m.pos, m.connect)),
                  snapshot(centers_of(framed(m.pos).view, framed(m.connect).view)));
    }
}

// ---------------------------------------------------------------------------------------- statuses

void expect_refused(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    dense2D<double> centers(2, 5, 1.0);
    EXPECT_EQ(status, circumcenters(pos, connect, centers));
    EXPECT_TRUE(centers.empty());
}

TEST(Circumcenters, CoordinatesOfOtherRowsAreRefused) {
    for (const std::size_t rows : {0U, 1U, 4U, 6U})
        expect_refused(-1, dense2D<double>(rows, 4, 0.0), cells({{0, 1, 2}}));
    expect_refused(-1, dense2D<double>(), cells({{0, 1, 2}}));
}

TEST(Circumcenters, EmptyMeshWithoutRowsIsRefused) {
    expect_refused(-2, unit_square().pos, dense2D<unsigned>());
    expect_refused(-2, unit_square().pos, dense2D<unsigned>(4, 0));
}

TEST(Circumcenters, EmptyMeshOfThreeRowsHasNoCenters) {
    for (const std::size_t rows : {2U, 3U}) {
        dense2D<double> centers(5, 5, 1.0);
        EXPECT_EQ(0,
                  circumcenters(dense2D<double>(rows, 4, 0.0), dense2D<unsigned>(3, 0), centers));
        EXPECT_EQ(rows, centers.rows);
        EXPECT_EQ(0U, centers.cols);
    }
}

TEST(Circumcenters, ElementsOfOtherRowsAreRefused) {
    for (const std::size_t rows : {1U, 2U, 4U, 6U})
        expect_refused(-2, unit_square().pos, dense2D<unsigned>(rows, 2, 0U));
    expect_refused(-2, unit_square().pos, cells({{0, 1, 2, no_node}}));
}

TEST(Circumcenters, NodesThatDoNotExistAreRefused) {
    expect_refused(-2, unit_square().pos, cells({{0, 1, 2}, {0, 1, 4}}));
    expect_refused(-2, unit_square().pos, cells({{0, 1, no_node}}));
    expect_refused(-2, dense2D<double>(2, 0), cells({{0, 0, 0}}));
}

TEST(Circumcenters, TheFirstOfTwoFaultsDecides) {
    expect_refused(-1, dense2D<double>(4, 4, 0.0), dense2D<unsigned>());
    expect_refused(-1, dense2D<double>(4, 4, 0.0), cells({{0, 1, 9}}));
    expect_refused(-2, unit_square().pos, cells({{0, 9}}));
}

// -------------------------------------------------------------------------------- degenerate input

TEST(Circumcenters, AFlatTriangleInThePlaneGetsTheMidpointOfItsLongestSide) {
    const auto pos = points({{0, 0}, {10, 10}, {2, 2}, {0, 0}});
    const auto centers = centers_of(pos, cells({{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 3, 1}}));
    EXPECT_THAT(columns(centers), ElementsAre(point(5, 5), point(5, 5), point(5, 5), point(5, 5)));
}

TEST(Circumcenters, OfTwoLongestSidesTheFirstCounts) {
    // A height of 2e-13 is flat; both long sides have the same squared length after rounding.
    const auto pos = points({{0, 0}, {2e-13, 0}, {1e-13, 1}});
    const auto centers = centers_of(pos, cells({{0, 1, 2}, {2, 0, 1}, {1, 2, 0}}));
    // the side opposite corner 0 of each element, unless that is the short one
    EXPECT_EQ(point((2e-13 + 1e-13) / 2, 0.5), column(centers, 0));
    EXPECT_EQ(point((1e-13 + 2e-13) / 2, 0.5), column(centers, 1));
    EXPECT_EQ(point((0 + 1e-13) / 2, 0.5), column(centers, 2));
}

TEST(Circumcenters, AFlatTriangleInSpaceGetsItsThirdNode) {
    const auto pos = points({{0, 0, 0}, {1, 1, 1}, {5, 5, 5}});
    EXPECT_THAT(columns(centers_of(pos, cells({{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 0, 1}}))),
                ElementsAre(point(5, 5, 5), point(0, 0, 0), point(1, 1, 1), point(1, 1, 1)));
}

TEST(Circumcenters, NumbersThatAreNotFiniteGoThrough) {
    for (const double odd : {zel_test::nan, infinity, -infinity, 1e200, 1e308}) {
        for (const unsigned rows : {2U, 3U}) {
            auto triangle = equilateral_triangle(rows);
            for (std::size_t k = 0; k < 3; ++k) {
                auto pos = fresh_copy(triangle.pos);
                pos(0, k) = odd;
                const auto centers = centers_of(pos, triangle.connect);
                EXPECT_EQ(1U, centers.cols);
            }
        }
    }
    auto third = equilateral_triangle(3);
    third.pos(0, 0) = zel_test::nan;
    EXPECT_EQ(column(third.pos, 2), column(centers_of(third.pos, third.connect), 0));
}

// ------------------------------------------------------------------------------------------ memory

TEST(Circumcenters, ExhaustedMemoryIsReportedAndTheOutputIsEmpty) {
    const auto m = grid_T3(9, 7, 3);
    const auto expected = snapshot(centers_of(m.pos, m.connect));
    const std::size_t tried = fail_each_allocation([&](std::size_t k) {
        dense2D<double> centers(2, 5, 1.0);
        arm_allocator(k);
        const int status = circumcenters(m.pos, m.connect, centers);
        if (status == -199) {
            EXPECT_TRUE(centers.empty());
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(expected, snapshot(centers));
        }
    });
    EXPECT_EQ(1U, tried) << "one allocation for the output";
}

// ------------------------------------------------------------------------------------ random input

long double distance(const double* a, const double* b, std::size_t rows) {
    long double square = 0;
    for (std::size_t i = 0; i < rows; ++i) {
        const long double d = static_cast<long double>(a[i]) - b[i];
        square += d * d;
    }
    return std::sqrt(square);
}

/// The same for all NaN, whose sign and payload are open.
std::uint64_t bits_of_number(double x) {
    return bits(std::isnan(x) ? zel_test::nan : x);
}
std::vector<std::uint64_t> bits_of_numbers(const dense2D<double>& m) {
    std::vector<std::uint64_t> all;
    for (const double x : m) all.push_back(bits_of_number(x));
    return all;
}

TEST(Circumcenters, OfManyTrianglesHaveTheBitsThatEachHasAlone) {
    constexpr double hard[] = {zel_test::nan, infinity, -infinity, 0.0,
                               -0.0,          5e-324,   1e-170,    1e308};
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        dense2D<double> pos(2 + seed % 2, 40);
        for (double& x : pos) {
            const unsigned kind = random.below(64);
            x = kind < 8 ? hard[kind] : kind < 30 ? random.below(4) - 1.0 : random.between(-1, 1);
        }
        dense2D<unsigned> connect(3, 250);
        for (unsigned& node : connect) node = random.below(40);
        const auto together = centers_of(pos, connect);
        const one_lane scalar;
        EXPECT_EQ(bits_of_numbers(together), bits_of_numbers(centers_of(pos, connect)));
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const auto alone =
                centers_of(pos, cells({{connect(0, e), connect(1, e), connect(2, e)}}));
            for (std::size_t i = 0; i < pos.rows; ++i)
                ASSERT_EQ(bits_of_number(alone(i, 0)), bits_of_number(together(i, e)))
                    << "element " << e << ", row " << i;
        }
    }
}

TEST(Circumcenters, OfRandomTrianglesAreAsFarFromAllThreeCorners) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        dense2D<double> pos(rows, 60);
        for (double& x : pos) x = random.between(-5, 5);
        dense2D<unsigned> connect(3, 500);
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned first = random.below(60);
            connect(0, e) = first;
            connect(1, e) = (first + 1 + random.below(29)) % 60;
            connect(2, e) = (first + 30 + random.below(29)) % 60;
        }
        const auto centers = centers_of(pos, connect);
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const unsigned* const n = connect[e];
            const long double r0 = distance(centers[e], pos[n[0]], rows);
            const long double r1 = distance(centers[e], pos[n[1]], rows);
            const long double r2 = distance(centers[e], pos[n[2]], rows);
            // A needle moves its centre far for a small change of its corners.
            const long double bound = 1e-13L * (1 + r0) * (1 + r0);
            EXPECT_NEAR(static_cast<double>(r0), static_cast<double>(r1),
                        static_cast<double>(bound));
            EXPECT_NEAR(static_cast<double>(r0), static_cast<double>(r2),
                        static_cast<double>(bound));
        }
    }
}

} // namespace
