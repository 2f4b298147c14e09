// SPDX-License-Identifier: Apache-2.0
// Tests of `normals`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/lanes.h"
#include "support/meshes.h"
#include "zel/tessel2d/normals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace {

using namespace zel_test;
using testing::Each;
using testing::ElementsAre;
using zel::tessel2d::normals;

constexpr double largest = std::numeric_limits<double>::max();
constexpr double epsilon = std::numeric_limits<double>::epsilon();

dense2D<double> node_normals(const mesh& m, double power, bool unit) {
    dense2D<double> N(2, 3, 7.0);
    EXPECT_EQ(0, normals(m.pos, m.connect, power, unit, N));
    EXPECT_EQ(3U, N.rows);
    EXPECT_EQ(m.pos.cols, N.cols);
    return N;
}
dense2D<double> element_normals(const mesh& m, bool unit) {
    dense2D<double> N(2, 3, 7.0);
    EXPECT_EQ(0, normals(m.pos, m.connect, unit, N));
    EXPECT_EQ(3U, N.rows);
    EXPECT_EQ(m.connect.cols, N.cols);
    return N;
}

// --------------------------------------------------------------------------------------- reference

using vec = std::array<double, 3>;

vec minus(const double* a, const double* b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
vec product(const vec& a, const vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double square(const vec& a) {
    return a[0] * a[0] + a[1] * a[1] + a[2] * a[2];
}
double unitise(vec& v) {
    const double q = square(v);
    if (q == 0 || q == 1) return q;
    const double s = std::sqrt(q);
    for (double& x : v) x *= 1 / s;
    return s;
}
bool has_gap(const mesh& m, std::size_t e) {
    return m.connect(0, e) == no_node || m.connect(1, e) == no_node || m.connect(2, e) == no_node;
}
vec vector_of(const mesh& m, std::size_t e) {
    if (has_gap(m, e)) return {0, 0, 0};
    const double* const p0 = m.pos[m.connect(0, e)];
    const double* const p1 = m.pos[m.connect(1, e)];
    const double* const p2 = m.pos[m.connect(2, e)];
    if (corner_count(m.connect, e) == 4)
        return product(minus(p2, p0), minus(m.pos[m.connect(3, e)], p1));
    const vec a = minus(p0, p2), b = minus(p1, p2), c = minus(p1, p0);
    const bool short_c = !(square(c) > std::min(square(a), square(b)));
    return product(a, short_c ? c : b);
}

/// Node normals one element and one node at a time, with every weight kept and every power taken.
dense2D<double> expected_node_normals(const mesh& m, double power, bool unit) {
    dense2D<double> N(3, m.pos.cols, 0.0);
    std::vector<double> W(m.pos.cols, 0.0);
    const bool finite = -largest < power && power < largest;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        if (has_gap(m, e)) continue;
        vec v = vector_of(m, e);
        const double s = unitise(v);
        const double w = finite ? std::pow(s, power) : 1.0;
        for (unsigned k = 0; k < corner_count(m.connect, e); ++k) {
            const unsigned node = m.connect(k, e);
            if ((power == largest && s > W[node]) ||
                (power == -largest && (s < W[node] || W[node] == 0))) {
                W[node] = s;
                std::copy(v.begin(), v.end(), N[node]);
                continue;
            }
            W[node] += w;
            for (std::size_t i = 0; i < 3; ++i) N(i, node) += w * v[i];
        }
    }
    if (power == largest || power == -largest) return N;
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        if (W[j] == 0) continue;
        vec v{N(0, j), N(1, j), N(2, j)};
        if (unit) {
            unitise(v);
        } else {
            for (double& x : v) x *= 1 / W[j];
        }
        std::copy(v.begin(), v.end(), N[j]);
    }
    return N;
}

void expect_same(const dense2D<double>& expected, const dense2D<double>& found) {
    ASSERT_EQ(expected.rows, found.rows);
    ASSERT_EQ(expected.cols, found.cols);
    for (std::size_t j = 0; j < expected.cols; ++j)
        for (std::size_t i = 0; i < expected.rows; ++i)
            ASSERT_EQ(0U, ulps_apart(expected(i, j), found(i, j)))
                << "(" << i << ", " << j << "): " << expected(i, j) << " and " << found(i, j);
}

// ------------------------------------------------------------------------------------------ meshes

/// Bumps over the unit square.
mesh bumpy(mesh m) {
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        m.pos(2, j) = 0.2 * std::sin(5 * m.pos(0, j)) * std::cos(4 * m.pos(1, j));
    return m;
}

/// A mesh of any of the three kinds with nodes drawn at random from few places, so that elements without
/// area, elements of size one, and gaps are among them.
mesh random_mesh(std::uint64_t seed) {
    random_numbers random(seed);
    const bool on_lattice = random.below(2) == 0;
    const std::size_t rows = 3 + random.below(2);
    mesh m{dense2D<double>(3, 5 + random.below(40)),
           dense2D<unsigned>(rows, 1 + random.below(300))};
    for (double& x : m.pos) x = on_lattice ? random.below(3) : random.between(-1, 1);
    for (std::size_t e = 0; e < m.connect.cols; ++e)
        for (std::size_t k = 0; k < rows; ++k) {
            const bool none = random.below(k == 3 ? 2 : 40) == 0;
            m.connect(k, e) = none ? no_node : random.below(static_cast<unsigned>(m.pos.cols));
        }
    return m;
}

/// Two triangles of different size along a crease: their common nodes are 0 and 1.
mesh crease() {
    return {points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -3}}),
            cells({{0, 1, 2}, {0, 1, 3}})}; // normals +z with s = 1, and +y with s = 3
}

// -------------------------------------------------------------------------------------- normal use

TEST(Normals, PlaneMeshOfCounterClockwiseElementsHasNormalsAlongZ) {
    for (const mesh& m : {grid_T3(5, 4, 3), grid_Q4(5, 4, 3), grid_mixed(5, 4, 3)}) {
        for (const double power : {0.0, 1.0, 2.5, -1.0, largest, -largest}) {
            const auto N = node_normals(m, power, true);
            const bool sums = std::abs(power) == largest; // what does not win is added
            for (std::size_t j = 0; j < N.cols; ++j) {
                EXPECT_EQ(0, N(0, j));
                EXPECT_EQ(0, N(1, j));
                if (sums) {
                    EXPECT_GE(N(2, j), 1 - epsilon);
                } else {
                    EXPECT_NEAR(1, N(2, j), epsilon);
                }
            }
        }
        const auto N = element_normals(m, true);
        for (std::size_t j = 0; j < N.cols; ++j) EXPECT_NEAR(1, N(2, j), epsilon);
    }
}
TEST(Normals, OfWholeNumbersAreExactlyAlongZ) {
    mesh m = grid_mixed(4, 4, 3);
    for (double& x : m.pos) x *= 4;
    for (const double power : {0.0, 1.0, 2.0})
        EXPECT_THAT(columns(node_normals(m, power, true)), Each(point(0, 0, 1)));
    EXPECT_THAT(columns(element_normals(m, true)), Each(point(0, 0, 1)));
}
TEST(Normals, OfAnElementAreAsLongAsTwiceItsArea) {
    const mesh triangle{points({{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}), cells({{0, 1, 2}, {0, 2, 1}})};
    EXPECT_THAT(columns(element_normals(triangle, false)),
                ElementsAre(point(0, 0, 6), point(0, 0, -6)));
    EXPECT_THAT(columns(element_normals(triangle, true)),
                ElementsAre(point(0, 0, 1), point(0, 0, -1)));
    const mesh quad{points({{0, 0, 0}, {2, 0, 0}, {2, 3, 0}, {0, 3, 0}}), cells({{0, 1, 2, 3}})};
    EXPECT_THAT(columns(element_normals(quad, false)), ElementsAre(point(0, 0, 12)));
}
TEST(Normals, OfAWarpedQuadrilateralIsTheProductOfItsDiagonals) {
    const mesh quad{points({{0, 0, 0}, {2, 0, 1}, {2, 3, 0}, {0, 3, 2}}), cells({{0, 1, 2, 3}})};
    // diagonals (2, 3, 0) and (-2, 3, 1)
    EXPECT_THAT(columns(element_normals(quad, false)), ElementsAre(point(3, -2, 12)));
}
TEST(Normals, MixedElementsGiveTrianglesThreeContributions) {
    // Node 3 belongs to the quadrilateral only; the triangle stands upright beside it.
    const mesh m{points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, 0, 1}}),
                 cells({{1, 2, 4, no_node}, {0, 1, 2, 3}})};
    EXPECT_THAT(columns(element_normals(m, true)), ElementsAre(point(1, 0, 0), point(0, 0, 1)));
    const auto N = node_normals(m, 0, false);
    EXPECT_THAT(columns(N), ElementsAre(point(0, 0, 1), point(0.5, 0, 0.5), point(0.5, 0, 0.5),
                                        point(0, 0, 1), point(1, 0, 0)));
}
TEST(Normals, OnACreaseWeightsFollowThePower) {
    const mesh m = crease();
    EXPECT_EQ(point(0, 0.5, 0.5), column(node_normals(m, 0, false), 0));
    EXPECT_EQ(point(0, 0.75, 0.25), column(node_normals(m, 1, false), 0));
    EXPECT_EQ(point(0, 0.25, 0.75), column(node_normals(m, -1, false), 1));
    const auto unit = column(node_normals(m, 1, true), 0);
    EXPECT_NEAR(3 / std::sqrt(10.0), unit[1], epsilon);
    EXPECT_NEAR(1 / std::sqrt(10.0), unit[2], epsilon);
}
TEST(Normals, OfATetrahedronPointOutwards) {
    const mesh m{points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}),
                 cells({{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}})};
    const auto N = node_normals(m, 1, true);
    for (std::size_t j = 0; j < 4; ++j) {
        double outwards = 0;
        for (std::size_t i = 0; i < 3; ++i) outwards += N(i, j) * (m.pos(i, j) - 0.25);
        EXPECT_GT(outwards, 0.1);
    }
}
TEST(Normals, NodesThatNoElementNamesKeepTheZeroVector) {
    mesh m = crease();
    m.pos.resize(3, 6, 5.0);
    for (const double power : {0.0, 1.0, -2.0, largest, -largest, zel_test::nan}) {
        for (const bool unit : {false, true}) {
            const auto N = node_normals(m, power, unit);
            EXPECT_EQ(point(0, 0, 0), column(N, 4));
            EXPECT_EQ(point(0, 0, 0), column(N, 5));
        }
    }
}

// ------------------------------------------------------------------------------------ extreme powers

TEST(Normals, TheLargestElementIsTakenWhenNoneLosesBehindIt) {
    const mesh m = crease(); // the second element is the larger one
    for (const bool unit : {false, true}) {
        const auto N = node_normals(m, largest, unit);
        EXPECT_THAT(columns(N),
                    ElementsAre(point(0, 1, 0), point(0, 1, 0), point(0, 0, 1), point(0, 1, 0)));
    }
}
TEST(Normals, ALoserBehindTheLargestElementIsAddedWithWeightOne) {
    mesh m = crease();
    m.connect = cells({{0, 1, 3}, {0, 1, 2}});
    for (const bool unit : {false, true}) {
        EXPECT_EQ(point(0, 1, 1), column(node_normals(m, largest, unit), 0)); // a sum, not a unit
    }
}
TEST(Normals, ALoserRaisesTheSizeHeldByOne) {
    // Sizes 3, 1 and 3.5: behind the second element 4 is held, so that the third one loses as well.
    const mesh m{points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -3}, {0, 0, -3.5}}),
                 cells({{0, 1, 3}, {0, 1, 2}, {0, 1, 4}})};
    EXPECT_EQ(point(0, 2, 1), column(node_normals(m, largest, true), 0));
    mesh larger = m;
    larger.pos = fresh_copy(m.pos);
    larger.pos(2, 4) = -4.5; // above 4
    EXPECT_EQ(point(0, 1, 0), column(node_normals(larger, largest, true), 0));
}
TEST(Normals, TheSmallestElementIsTakenWhenNoneLosesBehindIt) {
    mesh m = crease();
    m.connect = cells({{0, 1, 3}, {0, 1, 2}});
    EXPECT_EQ(point(0, 0, 1), column(node_normals(m, -largest, true), 0));
    m.connect = cells({{0, 1, 2}, {0, 1, 3}});
    EXPECT_EQ(point(0, 1, 1), column(node_normals(m, -largest, true), 0));
}
TEST(Normals, AnElementWithoutAreaHeldAsSmallestGivesWayToAnyOther) {
    mesh m = crease();
    m.connect = cells({{0, 1, 1}, {0, 1, 3}});
    EXPECT_EQ(point(0, 1, 0), column(node_normals(m, -largest, true), 0));
}
TEST(Normals, PowersBeyondTheExtremesAndNaNWeightAlikeAndScale) {
    const mesh m = crease();
    const auto alike = snapshot(node_normals(m, 0, true));
    const auto mean = snapshot(node_normals(m, 0, false));
    for (const double power : {infinity, -infinity, zel_test::nan}) {
        EXPECT_EQ(alike, snapshot(node_normals(m, power, true)));
        EXPECT_EQ(mean, snapshot(node_normals(m, power, false)));
    }
}
TEST(Normals, ThePowersNextToTheExtremesAreOrdinary) {
    const mesh m = crease(); // 3^power is infinite, 1^power is 1: infinity times a zero is NaN
    const double power = std::nextafter(largest, 0);
    const auto N = node_normals(m, power, true);
    EXPECT_TRUE(std::isnan(N(0, 0)));
    EXPECT_EQ(point(0, 0, 1), column(N, 2));
    const auto small = node_normals(m, -power, true); // 3^power is 0
    EXPECT_EQ(point(0, 0, 1), column(small, 0));
    EXPECT_EQ(point(0, 0, 0), column(small, 3)) << "no weight, no vector";
}

// -------------------------------------------------------------------------------------- powers 0, 1

TEST(Normals, ThePowersZeroAndOneGiveWhatPowWouldToTheBit) {
    random_numbers random(11);
    for (int k = 0; k < 10000; ++k) {
        const double s = std::ldexp(random.unit(), static_cast<int>(random.below(2100)) - 1074);
        ASSERT_EQ(bits(s), bits(std::pow(s, 1.0)));
        ASSERT_EQ(1.0, std::pow(s, 0.0));
    }
    for (const double s : {0.0, infinity, std::numeric_limits<double>::denorm_min()}) {
        EXPECT_EQ(s, std::pow(s, 1.0));
        EXPECT_EQ(1.0, std::pow(s, 0.0));
    }
    EXPECT_EQ(1.0, std::pow(zel_test::nan, 0.0));
    // The reference takes every power.
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const mesh m = random_mesh(seed);
        for (const double power : {0.0, -0.0, 1.0})
            for (const bool unit : {false, true})
                expect_same(expected_node_normals(m, power, unit), node_normals(m, power, unit));
    }
}

// ---------------------------------------------------------------------------- shapes and appending

TEST(Normals, TheOutputIsReplacedAndKeepsWhatOthersShareWithIt) {
    const mesh m = bumpy(grid_T3(4, 3, 3));
    for (const bool of_nodes : {true, false}) {
        auto N = framed(points({{1, 2, 3}, {4, 5, 6}}));
        const int status = of_nodes ? normals(m.pos, m.connect, 1.0, true, N.view)
                                    : normals(m.pos, m.connect, true, N.view);
        ASSERT_EQ(0, status);
        expect_same(of_nodes ? node_normals(m, 1, true) : element_normals(m, true), N.view);
        EXPECT_EQ(surroundings<double>, N.parent(0, 2));
        EXPECT_EQ(4, N.parent(1, 3));
    }
}
TEST(Normals, TheOutputMayBeTheCoordinatesOrShareTheirStorage) {
    const mesh m = bumpy(grid_mixed(4, 3, 3));
    const auto of_nodes = snapshot(node_normals(m, 1, true));
    const auto of_elements = snapshot(element_normals(m, false));
    const auto before = snapshot(m.pos);
    dense2D<double> part = m.pos.sub_matrix(0, 2, 3, 3);
    ASSERT_EQ(0, normals(m.pos, m.connect, 1.0, true, part));
    EXPECT_EQ(of_nodes, snapshot(part));
    EXPECT_EQ(before, snapshot(m.pos));
    auto pos = fresh_copy(m.pos);
    ASSERT_EQ(0, normals(pos, m.connect, 1.0, true, pos));
    EXPECT_EQ(of_nodes, snapshot(pos));
    pos = fresh_copy(m.pos);
    ASSERT_EQ(0, normals(pos, m.connect, false, pos));
    EXPECT_EQ(of_elements, snapshot(pos));
}
TEST(Normals, ViewsWithALargerLeadingDimension) {
    for (const mesh& plain : {grid_T3(9, 8, 3), grid_Q4(9, 8, 3), grid_mixed(9, 8, 3)}) {
        const mesh m = bumpy(plain);
        const auto pos = framed(m.pos);
        const auto connect = framed(m.connect);
        const mesh view{pos.view, connect.view};
        for (const double power : {1.0, 2.0, largest})
            expect_same(node_normals(m, power, true), node_normals(view, power, true));
        expect_same(element_normals(m, true), element_normals(view, true));
        expect_same(element_normals(m, false), element_normals(view, false));
    }
}

// ---------------------------------------------------------------------------------------- statuses

void expect_status(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    dense2D<double> N(2, 5, 1.0);
    EXPECT_EQ(status, normals(pos, connect, 1.0, true, N));
    EXPECT_EQ(0U, N.rows);
    EXPECT_EQ(0U, N.cols);
    dense2D<double> E(2, 5, 1.0);
    EXPECT_EQ(status, normals(pos, connect, true, E));
    EXPECT_EQ(0U, E.rows);
    EXPECT_EQ(0U, E.cols);
}

TEST(Normals, OfAnEmptyMeshAreEmpty) {
    expect_status(0, dense2D<double>(), cells({{0, 1, 2}}));
    expect_status(0, dense2D<double>(3, 0), cells({{0, 1, 2}}));
    expect_status(0, dense2D<double>(2, 0), cells({{9, 9}}));
    expect_status(0, crease().pos, dense2D<unsigned>());
    expect_status(0, crease().pos, dense2D<unsigned>(7, 0));
    expect_status(0, dense2D<double>(2, 4, 0.0), dense2D<unsigned>(3, 0));
}
TEST(Normals, CoordinatesOfOtherRowsAreRefused) {
    for (const std::size_t rows : {1U, 2U, 4U})
        expect_status(-1, dense2D<double>(rows, 4, 0.0), cells({{0, 1, 2}}));
}
TEST(Normals, ElementsOfOtherRowsAreRefused) {
    for (const std::size_t rows : {1U, 2U, 5U, 6U, 9U})
        expect_status(-2, crease().pos, dense2D<unsigned>(rows, 2, 0U));
}
TEST(Normals, NodesThatDoNotExistAreRefused) {
    expect_status(-2, crease().pos, cells({{0, 1, 2}, {0, 1, 4}}));
    expect_status(-2, crease().pos, cells({{0, 1, 2, no_node}, {0, 1, 2, 4}}));
    expect_status(-2, crease().pos, cells({{0, 1, 2, 0xFFFFFFFEU}}));
    expect_status(-2, crease().pos, cells({{0xFFFFFFFEU, 1, 2}}));
}
TEST(Normals, TheFirstOfTwoFaultsDecides) {
    expect_status(-1, dense2D<double>(2, 4, 0.0), cells({{0, 1, 9}}));
    expect_status(-1, dense2D<double>(2, 4, 0.0), dense2D<unsigned>(5, 2, 0U));
    expect_status(-2, crease().pos, dense2D<unsigned>(5, 2, 9U));
}

// -------------------------------------------------------------------------------- degenerate input

TEST(Normals, AnElementWithoutAreaDisturbsNoNeighbour) {
    mesh m = crease();
    const auto expected = snapshot(node_normals(m, 1, true));
    zel::push_back_column3(std::array<unsigned, 3>{0, 1, 1}.data(), m.connect);
    zel::push_back_column3(std::array<unsigned, 3>{2, 2, 2}.data(), m.connect);
    EXPECT_EQ(expected, snapshot(node_normals(m, 1, true)));
    EXPECT_EQ(point(0, 0, 0), column(element_normals(m, true), 2));
    EXPECT_EQ(point(0, 0, 0), column(element_normals(m, true), 3));
    const auto alike = node_normals(m, 0, true);
    for (std::size_t j = 0; j < 4; ++j)
        EXPECT_LE(ulps_apart(1, std::hypot(alike(0, j), alike(1, j), alike(2, j))), 1U);
    EXPECT_EQ(point(0, 1.0 / 3, 1.0 / 3), column(node_normals(m, 0, false), 0));
}
TEST(Normals, AVectorOfSizeOneIsTakenUnchanged) {
    // Components whose squares sum up to 1 in rounded arithmetic: a division would change the last bit.
    const double x = 0.6, y = 0.8;
    ASSERT_EQ(1, x * x + y * y);
    const mesh m{points({{0, 0, 0}, {0, 0, 1}, {y, -x, 0}}), cells({{0, 1, 2}})};
    const auto raw = element_normals(m, false);
    EXPECT_EQ(1, raw(0, 0) * raw(0, 0) + raw(1, 0) * raw(1, 0));
    EXPECT_EQ(snapshot(raw), snapshot(element_normals(m, true)));
    EXPECT_EQ(column(raw, 0), column(node_normals(m, 1, true), 2));
    EXPECT_EQ(column(raw, 0), column(node_normals(m, 5, false), 2));
}
TEST(Normals, ANodeOfDegenerateElementsOnlyKeepsItsZeroVector) {
    const mesh m{points({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}), cells({{0, 1, 2}, {1, 1, 1}})};
    for (const bool unit : {false, true})
        EXPECT_THAT(columns(node_normals(m, 1, unit)), Each(point(0, 0, 0)));
    EXPECT_THAT(columns(element_normals(m, true)), Each(point(0, 0, 0)));
}
TEST(Normals, ANegativePowerGivesADegenerateElementAnInfiniteWeight) {
    mesh m = crease();
    zel::push_back_column3(std::array<unsigned, 3>{0, 0, 0}.data(), m.connect);
    const auto N = node_normals(m, -1, true);
    EXPECT_TRUE(std::isnan(N(0, 0)));
    EXPECT_FALSE(std::isnan(N(0, 1)));
}
TEST(Normals, AnElementWithAGapHasNoNormalAndAddsToNoNode) {
    const mesh plain = crease();
    for (const unsigned rows : {3U, 4U}) {
        mesh m{plain.pos, dense2D<unsigned>(rows, 5, no_node)};
        for (std::size_t e = 0; e < 2; ++e) std::copy_n(plain.connect[e], 3, m.connect[e]);
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < 3; ++i)
                if (i != k) m.connect(i, 2 + k) = static_cast<unsigned>(i);
        if (rows == 4) m.connect(3, 3) = 3;
        for (const double power : {0.0, 1.0, -1.0, largest, -largest})
            for (const bool unit : {false, true})
                expect_same(node_normals(plain, power, unit), node_normals(m, power, unit));
        const auto N = element_normals(m, true);
        for (std::size_t e = 2; e < 5; ++e) EXPECT_EQ(point(0, 0, 0), column(N, e));
    }
}
TEST(Normals, AllEntriesMayBeGaps) {
    const mesh m{crease().pos, dense2D<unsigned>(4, 3, no_node)};
    EXPECT_THAT(columns(node_normals(m, 0, false)), Each(point(0, 0, 0)));
    EXPECT_THAT(columns(element_normals(m, true)), Each(point(0, 0, 0)));
}
TEST(Normals, NumbersThatAreNotFiniteGoThroughAsTheFormulasStand) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        mesh m = random_mesh(seed);
        for (const double odd : {zel_test::nan, infinity, -infinity, 1e200, 1e160, 1e-170, 1e308})
            if (random.below(2) == 0)
                m.pos(random.below(3), random.below(static_cast<unsigned>(m.pos.cols))) = odd;
        for (const double power : {0.0, 1.0, 2.0, -1.0, -0.5, largest, -largest, zel_test::nan})
            for (const bool unit : {false, true})
                expect_same(expected_node_normals(m, power, unit), node_normals(m, power, unit));
    }
}
TEST(Normals, ATinyElementWhoseSquaredLengthVanishesKeepsItsVector) {
    const mesh m{points({{0, 0, 0}, {1e-85, 0, 0}, {0, 1e-85, 0}}), cells({{0, 1, 2}})};
    const auto N = element_normals(m, true);
    EXPECT_EQ(snapshot(element_normals(m, false)), snapshot(N));
    EXPECT_GT(N(2, 0), 0);
    EXPECT_THAT(columns(node_normals(m, 1, true)), Each(point(0, 0, 0)));
}

// ------------------------------------------------------------------------------------------ memory

TEST(Normals, ExhaustedMemoryIsReportedAndTheOutputIsEmpty) {
    const mesh m = bumpy(grid_T3(9, 7, 3));
    for (const double power : {1.0, 2.0}) {
        const auto expected = snapshot(node_normals(m, power, true));
        const std::size_t tried = fail_each_allocation([&](std::size_t k) {
            dense2D<double> N(2, 5, 1.0);
            arm_allocator(k);
            const int status = normals(m.pos, m.connect, power, true, N);
            if (status == 0) {
                EXPECT_EQ(expected, snapshot(N));
            } else {
                EXPECT_EQ(-199, status);
                EXPECT_EQ(0U, N.rows);
                EXPECT_EQ(0U, N.cols);
            }
        });
        EXPECT_LE(tried, 3U);
    }
}
TEST(Normals, OfElementsReportExhaustedMemory) {
    const mesh m = bumpy(grid_T3(9, 7, 3));
    const auto expected = snapshot(element_normals(m, true));
    const std::size_t tried = fail_each_allocation([&](std::size_t k) {
        dense2D<double> N(2, 5, 1.0);
        arm_allocator(k);
        const int status = normals(m.pos, m.connect, true, N);
        if (status == 0) {
            EXPECT_EQ(expected, snapshot(N));
        } else {
            EXPECT_EQ(-199, status);
            EXPECT_TRUE(N.empty());
        }
    });
    EXPECT_EQ(1U, tried) << "one allocation for the output";
}

TEST(Normals, ANodeThatDoesNotExistIsReportedBeforeExhaustedMemory) {
    mesh m = grid_T3(30, 30, 3);
    m.connect(2, 1700) = 961; // far behind the first elements
    for (const bool of_nodes : {true, false}) {
        dense2D<double> N(2, 5, 1.0);
        fail_for_good(true);
        arm_allocator(1);
        const int status =
            of_nodes ? normals(m.pos, m.connect, 1.0, true, N) : normals(m.pos, m.connect, true, N);
        disarm_allocator();
        fail_for_good(false);
        EXPECT_EQ(-2, status);
        EXPECT_EQ(-2, normals(m.pos, m.connect, true, N));
        EXPECT_EQ(0U, N.rows);
        EXPECT_EQ(0U, N.cols);
    }
}
TEST(Normals, ANodeThatDoesNotExistFarBehindTheFirstElementsIsRefused) {
    mesh m = grid_T3(30, 30, 3);
    m.connect(2, 1700) = 961;
    for (const double power : {0.0, 1.0, 2.0, largest}) {
        dense2D<double> N(2, 5, 1.0);
        EXPECT_EQ(-2, normals(m.pos, m.connect, power, true, N)) << power;
        EXPECT_EQ(0U, N.rows);
        EXPECT_EQ(0U, N.cols);
    }
}
TEST(Normals, OfNodesOfManyElementsAreThoseOfOneElementAtATimeToTheBit) {
    for (mesh m : {bumpy(grid_T3(30, 31, 3)), bumpy(grid_Q4(31, 29, 3))}) {
        for (const bool gap : {false, true}) {
            if (gap) m.connect(1, 700) = no_node;
            for (const double power : {0.0, 1.0})
                expect_same(expected_node_normals(m, power, true), node_normals(m, power, true));
        }
    }
}
TEST(Normals, AGapFarBehindTheFirstElementsIsFound) {
    mesh m = bumpy(grid_T3(30, 30, 3));
    const auto before = element_normals(m, true);
    m.connect(1, 1700) = no_node;
    const auto N = element_normals(m, true);
    EXPECT_EQ(point(0, 0, 0), column(N, 1700));
    for (std::size_t e = 0; e < N.cols; ++e) {
        if (e != 1700) {
            ASSERT_EQ(column(before, e), column(N, e));
        }
    }
}

// ------------------------------------------------------------------------------------ random input

TEST(Normals, OfRandomMeshesAreThoseOfOneElementAtATimeToTheBit) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const mesh m = random_mesh(seed);
        for (const double power : {0.0, 1.0, 2.0, 0.5, -1.0, largest, -largest, infinity})
            for (const bool unit : {false, true})
                expect_same(expected_node_normals(m, power, unit), node_normals(m, power, unit));
        dense2D<double> raw(3, m.connect.cols), unit(3, m.connect.cols);
        for (std::size_t e = 0; e < m.connect.cols; ++e) {
            vec v = vector_of(m, e);
            std::copy(v.begin(), v.end(), raw[e]);
            unitise(v);
            std::copy(v.begin(), v.end(), unit[e]);
        }
        expect_same(raw, element_normals(m, false));
        expect_same(unit, element_normals(m, true));
    }
}
TEST(Normals, AreTheSameToTheBitOnAProcessorThatTakesOneElementAtATime) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const mesh m = random_mesh(seed);
        for (const bool unit : {false, true}) {
            const auto of_elements = snapshot(element_normals(m, unit));
            for (const double power : {0.0, 1.0, 2.0, -1.0, largest, -largest}) {
                const auto of_nodes = node_normals(m, power, unit);
                const one_lane scalar;
                expect_same(of_nodes, node_normals(m, power, unit));
                EXPECT_EQ(of_elements, snapshot(element_normals(m, unit)));
            }
        }
    }
}
TEST(Normals, OfSmoothSurfacesAreAccurateToAFewUnitsInTheLastPlace) {
    const mesh m = bumpy(grid_T3(40, 30, 3));
    const auto N = element_normals(m, true);
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        long double u[3], w[3], n[3];
        for (std::size_t i = 0; i < 3; ++i) {
            u[i] = static_cast<long double>(m.pos(i, m.connect(1, e))) - m.pos(i, m.connect(0, e));
            w[i] = static_cast<long double>(m.pos(i, m.connect(2, e))) - m.pos(i, m.connect(0, e));
        }
        long double q = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            n[i] = u[(i + 1) % 3] * w[(i + 2) % 3] - u[(i + 2) % 3] * w[(i + 1) % 3];
            q += n[i] * n[i];
        }
        for (std::size_t i = 0; i < 3; ++i)
            ASSERT_NEAR(static_cast<double>(n[i] / std::sqrt(q)), N(i, e), 100 * epsilon)
                << "a grid of 40 cells cancels 5 to 6 bits of the coordinates";
    }
}
TEST(Normals, OfASphereAreItsRadii) {
    mesh m = grid_Q4(60, 60, 3);
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        const double a = 0.5 + m.pos(0, j), b = 0.5 + m.pos(1, j);
        m.pos(0, j) = std::cos(a) * std::sin(b);
        m.pos(1, j) = std::sin(a) * std::sin(b);
        m.pos(2, j) = std::cos(b);
    }
    const auto N = node_normals(m, 1, true);
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        const double cosine = N(0, j) * m.pos(0, j) + N(1, j) * m.pos(1, j) + N(2, j) * m.pos(2, j);
        EXPECT_LT(cosine, -0.999) << "the parameters turn clockwise seen from outside";
    }
}

#if defined(MAP_NORESERVE)

// Coordinates of so many nodes that the very last number below 0xFFFFFFFF is one, in memory that is only
// there where it is touched.
class ElementNormalsOfAllNumbers : public testing::Test {
protected:
    static constexpr std::size_t most = 4294967295;
    static constexpr std::size_t bytes = 3 * most * sizeof(double);

    void SetUp() override {
        if (sizeof(void*) < 8) GTEST_SKIP() << "so many nodes have no room";
        memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) GTEST_SKIP() << "no address space for 103 GB";
        pos = dense2D<double>::wrap(static_cast<double*>(memory), 3, most);
    }
    void TearDown() override {
        if (memory != MAP_FAILED) munmap(memory, bytes);
    }
    void set(std::size_t node, double x, double y, double z) {
        pos(0, node) = x;
        pos(1, node) = y;
        pos(2, node) = z;
    }

    void* memory = MAP_FAILED;
    dense2D<double> pos;
};

TEST_F(ElementNormalsOfAllNumbers, TheLastNodeInRow3GivesTheNormalOfTheFirstThree) {
    constexpr unsigned last = 0xFFFFFFFEu;
    set(0, 0, 0, 0);
    set(1, 2, 0, 0);
    set(2, 2, 2, 0);
    set(3, 0, 2, 1);
    set(last, 0, 2, 1);
    set(last - 1, 0, 2, 1);
    for (const std::size_t count : {std::size_t{1}, std::size_t{3}, std::size_t{150}}) {
        for (const unsigned fourth : {3U, last - 1, last, no_node}) {
            dense2D<unsigned> connect(4, count);
            for (std::size_t e = 0; e < count; ++e)
                for (unsigned k = 0; k < 4; ++k) connect(k, e) = k < 3 ? k : fourth;
            dense2D<double> N;
            ASSERT_EQ(0, normals(pos, connect, false, N));
            // (2, 0, 0) x (2, 2, 0), or that of the diagonals, (2, 2, 0) x (-2, 2, 1)
            const auto expected = fourth >= last ? point(0, 0, 4) : point(2, -2, 8);
            for (std::size_t e = 0; e < count; ++e) ASSERT_EQ(expected, column(N, e)) << fourth;
            ASSERT_EQ(0, normals(pos, connect, true, N));
            if (fourth >= last) {
                for (std::size_t e = 0; e < count; ++e) ASSERT_EQ(point(0, 0, 1), column(N, e));
            }
        }
    }
}

#endif

} // namespace
