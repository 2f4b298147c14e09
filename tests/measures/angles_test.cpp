// SPDX-License-Identifier: Apache-2.0
// Tests of `angles`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel2d/measures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zel_test;
using testing::Each;
using testing::SizeIs;
using zel::tessel2d::angles;

constexpr double pi = 3.14159265358979323846;

struct extremes {
    dense1D<double, 8> smallest, largest;
};

extremes angles_of(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   bool normalise = false) {
    extremes found;
    EXPECT_EQ(0, angles(pos, connect, normalise, found.smallest, found.largest));
    EXPECT_EQ(connect.cols, found.smallest.size);
    EXPECT_EQ(connect.cols, found.largest.size);
    return found;
}
extremes angles_of(const mesh& m, bool normalise = false) {
    return angles_of(m.pos, m.connect, normalise);
}

// -------------------------------------------------------------------------------------- normal use

TEST(Angles, NormalisedCornersOfRegularElementsAreOne) {
    for (const unsigned rows : {2U, 3U}) {
        const auto triangle = angles_of(equilateral_triangle(rows), true);
        EXPECT_NEAR(1, triangle.smallest[0], 4e-16);
        EXPECT_NEAR(1, triangle.largest[0], 4e-16);
        const auto square = angles_of(unit_square(rows), true);
        EXPECT_EQ(1, square.smallest[0]);
        EXPECT_EQ(1, square.largest[0]);
    }
}

TEST(Angles, RadiansUnlessNormalised) {
    const auto pos = points({{0, 0}, {1, 0}, {0, 1}});
    const auto plain = angles_of(pos, cells({{0, 1, 2}}));
    EXPECT_DOUBLE_EQ(pi / 4, plain.smallest[0]);
    EXPECT_DOUBLE_EQ(pi / 2, plain.largest[0]);
    const auto normalised = angles_of(pos, cells({{0, 1, 2}}), true);
    EXPECT_EQ(plain.smallest[0] * 0.9549296585513721, normalised.smallest[0]);
    EXPECT_EQ(plain.largest[0] * 0.9549296585513721, normalised.largest[0]);
}

TEST(Angles, ClockwiseElementsAreNegativeInThePlaneAndPositiveInSpace) {
    const auto plane = points({{0, 0}, {1, 0}, {0, 1}});
    const auto clockwise = angles_of(plane, cells({{0, 2, 1}}));
    EXPECT_DOUBLE_EQ(-pi / 2, clockwise.smallest[0]);
    EXPECT_DOUBLE_EQ(-pi / 4, clockwise.largest[0]);
    const auto space = points({{0, 0, 3}, {1, 0, 3}, {0, 1, 3}});
    const auto turned = angles_of(space, cells({{0, 2, 1}}));
    EXPECT_DOUBLE_EQ(pi / 4, turned.smallest[0]);
    EXPECT_DOUBLE_EQ(pi / 2, turned.largest[0]);
}

TEST(Angles, ReflexCornerIsNegativeInThePlaneAndFoldedInSpace) {
    const auto plane = points({{0, 0}, {4, 0}, {1, 1}, {0, 4}});
    const double outer = std::atan2(1.0, 3.0);
    const double reflex = 2 * (pi / 4 + outer); // turned the other way inside
    const auto found = angles_of(plane, cells({{0, 1, 2, 3}}));
    EXPECT_DOUBLE_EQ(pi / 2, found.largest[0]);
    EXPECT_NEAR(-(pi / 2 + 2 * outer), found.smallest[0], 1e-15);
    EXPECT_NEAR(reflex, -found.smallest[0], 1e-15);
    const auto space = points({{0, 0, 1}, {4, 0, 1}, {1, 1, 1}, {0, 4, 1}});
    const auto folded = angles_of(space, cells({{0, 1, 2, 3}}));
    EXPECT_NEAR(pi / 2 + 2 * outer, folded.largest[0], 1e-15);
}

TEST(Angles, MixedMeshTreatsEachElementByItsKind) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    const auto found =
        angles_of(pos, cells({{0, 1, 2, no_node}, {0, 1, 2, 3}, {0, 2, 3, no_node}}), true);
    EXPECT_EQ(1, found.smallest[1]);
    EXPECT_EQ(1, found.largest[1]);
    for (const std::size_t e : {0U, 2U}) {
        EXPECT_DOUBLE_EQ(0.75, found.smallest[e]);
        EXPECT_DOUBLE_EQ(1.5, found.largest[e]);
    }
}

TEST(Angles, ListsAreReplacedAndKeepWhatOthersShareWithThem) {
    const auto m = grid_T3(3, 2);
    auto smallest = framed(list<double>({1, 2, 3}));
    auto largest = framed(list<double>({4}));
    ASSERT_EQ(0, angles(m.pos, m.connect, true, smallest.view, largest.view));
    EXPECT_EQ(m.connect.cols, smallest.view.size);
    EXPECT_EQ(m.connect.cols, largest.view.size);
    EXPECT_EQ(surroundings<double>, smallest.parent[0]);
    EXPECT_EQ(1, smallest.parent[5]);
    EXPECT_EQ(4, largest.parent[5]);
    const auto again = angles_of(m, true);
    EXPECT_EQ(values(again.smallest), values(smallest.view));
    EXPECT_EQ(values(again.largest), values(largest.view));
}

TEST(Angles, ListsMayShareStorageWithEachOther) {
    const auto m = grid_mixed(5, 4, 3);
    const auto expected = angles_of(m);
    dense1D<double, 8> smallest(200, 7.0);
    dense1D<double, 8> largest = smallest;
    largest.start = 3;
    largest.size = 20;
    ASSERT_EQ(0, angles(m.pos, m.connect, false, smallest, largest));
    EXPECT_EQ(values(expected.smallest), values(smallest));
    EXPECT_EQ(values(expected.largest), values(largest));
}

TEST(Angles, ListsMayShareStorageWithTheCoordinates) {
    for (const unsigned rows : {2U, 3U}) {
        const auto m = grid_mixed(5, 4, rows);
        const auto expected = angles_of(m);
        const auto before = snapshot(m.pos);
        auto smallest = m.pos.as_vector();
        auto largest = m.pos.as_vector();
        largest.start = 1;
        largest.size = 2;
        ASSERT_EQ(0, angles(m.pos, m.connect, false, smallest, largest));
        EXPECT_EQ(values(expected.smallest), values(smallest));
        EXPECT_EQ(values(expected.largest), values(largest));
        EXPECT_EQ(before, snapshot(m.pos));
    }
}

TEST(Angles, OneListForBothHasTheRightSize) {
    const auto m = grid_T3(3, 3);
    dense1D<double, 8> both(1, 7.0);
    ASSERT_EQ(0, angles(m.pos, m.connect, false, both, both));
    EXPECT_EQ(m.connect.cols, both.size);
}

TEST(Angles, ViewsWithALargerLeadingDimension) {
    for (const unsigned rows : {2U, 3U}) {
        for (const auto& m : {grid_T3(6, 3, rows), grid_mixed(6, 3, rows)}) {
            const auto expected = angles_of(m);
            const auto found = angles_of(framed(m.pos).view, framed(m.connect).view);
            EXPECT_EQ(values(expected.smallest), values(found.smallest));
            EXPECT_EQ(values(expected.largest), values(found.largest));
        }
    }
}

// ---------------------------------------------------------------------------------------- statuses

extremes used_lists() {
    return {list<double>({1, 2, 3}), list<double>({4, 5})};
}

void expect_status(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   std::size_t zeros = 0) {
    auto found = used_lists();
    EXPECT_EQ(status, angles(pos, connect, false, found.smallest, found.largest));
    EXPECT_THAT(values(found.smallest), SizeIs(zeros));
    EXPECT_THAT(values(found.largest), SizeIs(zeros));
    EXPECT_THAT(values(found.smallest), Each(0.0));
    EXPECT_THAT(values(found.largest), Each(0.0));
}

TEST(Angles, EmptyMeshEmptiesTheListsEvenWithBadCoordinates) {
    const dense2D<double> five_rows(5, 3, 1.0);
    expect_status(0, five_rows, dense2D<unsigned>());
    expect_status(0, five_rows, dense2D<unsigned>(3, 0));
    expect_status(0, five_rows, dense2D<unsigned>(0, 9));
}

TEST(Angles, CoordinatesOfOtherRowsAreRefused) {
    for (const std::size_t rows : {0U, 1U, 4U, 6U})
        expect_status(-1, dense2D<double>(rows, 4, 0.0), unit_square().connect);
}

TEST(Angles, ElementsOfOtherRowsAreRefusedAndTheListsAreEmpty) {
    for (const std::size_t rows : {1U, 2U, 5U, 6U, 8U})
        expect_status(-2, unit_square().pos, dense2D<unsigned>(rows, 2, 0U));
}

TEST(Angles, NodesThatDoNotExistAreRefusedAndTheListsHoldZeros) {
    const auto square = unit_square();
    expect_status(-2, square.pos, cells({{0, 1, 2}, {0, 1, 4}}), 2);
    expect_status(-2, square.pos, cells({{0, 1, no_node}}), 1);
    expect_status(-2, square.pos, cells({{0, 1, 2, 4}, {0, 1, 2, 3}, {0, 1, 2, 3}}), 3);
    expect_status(-2, square.pos, cells({{0, no_node, 2, no_node}}), 1);
    expect_status(-2, dense2D<double>(2, 0), cells({{0, 0, 0}}), 1);
}

TEST(Angles, TheFirstOfTwoFaultsDecides) {
    const dense2D<double> four_rows(4, 4, 0.0);
    expect_status(-1, four_rows, cells({{0, 1}}));
    expect_status(-1, four_rows, cells({{0, 1, 9}}));
    expect_status(-2, unit_square().pos, cells({{0, 9}})); // rows before numbers: no zeros
}

TEST(Angles, ExhaustedMemoryComesBeforeNodesThatDoNotExist) {
    const auto pos = unit_square().pos;
    const auto bad = cells({{0, 1, 9}});
    extremes found;
    arm_allocator(1);
    const int status = angles(pos, bad, false, found.smallest, found.largest);
    EXPECT_TRUE(disarm_allocator());
    EXPECT_EQ(-199, status);
    EXPECT_EQ(0U, found.smallest.size);
    EXPECT_EQ(0U, found.largest.size);
}

// -------------------------------------------------------------------------------- degenerate input

TEST(Angles, SidesOfLengthZeroMakeAnglesOfZero) {
    // Whatever the signs of the other side are.
    for (const double x : {-2.0, 0.0, 3.0}) {
        for (const double y : {-2.0, 0.0, 3.0}) {
            const auto pos = points({{1, 1}, {1, 1}, {1 + x, 1 + y}});
            const auto found = angles_of(pos, cells({{0, 1, 2}, {2, 0, 1}, {1, 2, 0}}), true);
            for (std::size_t e = 0; e < 3; ++e) {
                EXPECT_EQ(bits(0.0), bits(found.smallest[e]));
                EXPECT_EQ(bits(0.0), bits(found.largest[e]));
            }
            const auto space = points({{1, 1, 1}, {1, 1, 1}, {1 + x, 1 + y, 1 - x}});
            const auto in_space = angles_of(space, cells({{0, 1, 2}, {2, 0, 1}, {1, 2, 0}}));
            EXPECT_THAT(values(in_space.smallest), Each(0.0));
            EXPECT_THAT(values(in_space.largest), Each(0.0));
        }
    }
}

TEST(Angles, AnAngleOfNaNCountsAtTheFirstCornerOnly) {
    // The corner at infinity has no angle, nor have its neighbours; the corner opposite has.
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {zel_test::nan, 1}});
    const auto found = angles_of(pos, cells({{1, 2, 3, 0}, {0, 1, 2, 3}, {3, 0, 1, 2}}));
    EXPECT_DOUBLE_EQ(pi / 2, found.smallest[0]);
    EXPECT_DOUBLE_EQ(pi / 2, found.largest[0]);
    EXPECT_TRUE(std::isnan(found.smallest[1]) && std::isnan(found.largest[1]));
    EXPECT_TRUE(std::isnan(found.smallest[2]) && std::isnan(found.largest[2]));
}

// ------------------------------------------------------------------------------------------ memory

TEST(Angles, ExhaustedMemoryIsReportedAndTheListsAreEmpty) {
    const auto m = grid_mixed(9, 7, 3);
    const auto expected = angles_of(m);
    const std::size_t tried = fail_each_allocation([&](std::size_t k) {
        auto found = used_lists();
        arm_allocator(k);
        const int status = angles(m.pos, m.connect, false, found.smallest, found.largest);
        if (status == -199) {
            EXPECT_EQ(0U, found.smallest.size);
            EXPECT_EQ(0U, found.largest.size);
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(values(expected.smallest), values(found.smallest));
        }
    });
    EXPECT_EQ(2U, tried) << "one allocation for each list";
}

// ------------------------------------------------------------------------------------ random input

TEST(Angles, OfRandomTrianglesAreThoseOfTheLawOfCosines) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        dense2D<double> pos(rows, 3);
        for (double& x : pos) x = random.between(-5, 5);
        long double side[3];
        for (std::size_t k = 0; k < 3; ++k) {
            long double square = 0;
            for (std::size_t i = 0; i < rows; ++i) {
                const long double d =
                    static_cast<long double>(pos(i, (k + 1) % 3)) - pos(i, (k + 2) % 3);
                square += d * d;
            }
            side[k] = std::sqrt(square);
        }
        double smallest = 4;
        double largest = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const long double a = side[k], b = side[(k + 1) % 3], c = side[(k + 2) % 3];
            const auto angle =
                static_cast<double>(std::acos((b * b + c * c - a * a) / (2 * b * c)));
            smallest = std::min(smallest, angle);
            largest = std::max(largest, angle);
        }
        auto found = angles_of(pos, cells({{0, 1, 2}}));
        if (found.largest[0] < 0) found = angles_of(pos, cells({{0, 2, 1}})); // clockwise
        EXPECT_NEAR(smallest, found.smallest[0], 1e-13);
        EXPECT_NEAR(largest, found.largest[0], 1e-13);
    }
}

} // namespace
