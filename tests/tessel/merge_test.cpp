// SPDX-License-Identifier: Apache-2.0
#include "tessel/merge.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace zel_test;
using zel::tessel::merge;
using zel::tessel::simplify;

// ------------------------------------------------------------------------------------- references

enum class closeness { closer, not_closer, either };

/// Whether two nodes are closer than the tolerance: `either` where rounding of doubles might decide. All is
/// scaled by a power of two, so that nothing overflows; what underflows is too small to count. Where each
/// step is exact, as on a lattice, so is the comparison.
closeness compare(const double* p, const double* q, std::size_t rows, double tolerance) {
    if (std::equal(p, p + rows, q)) return closeness::closer;
    if (!(tolerance > 0)) return closeness::not_closer;
    double plain = 0; // decides most cases
    for (std::size_t r = 0; r < rows; ++r) plain += (p[r] - q[r]) * (p[r] - q[r]);
    const double square_of_limit = tolerance * tolerance;
    if (square_of_limit > 1e-200 && square_of_limit < 1e200 && plain < 1e200 &&
        std::abs(plain - square_of_limit) > 1e-13 * square_of_limit)
        return plain < square_of_limit ? closeness::closer : closeness::not_closer;
    int exponent = std::isinf(tolerance) ? -2000 : std::ilogb(tolerance);
    double d[3]; // differences, or a quarter of them if they might overflow
    int quartered[3];
    bool exact = true;
    for (std::size_t r = 0; r < rows; ++r) {
        if (!std::isfinite(p[r]) || !std::isfinite(q[r])) return closeness::not_closer;
        quartered[r] = std::max(std::abs(p[r]), std::abs(q[r])) > 1e307 ? 2 : 0;
        const double a = std::ldexp(p[r], -quartered[r]), b = std::ldexp(q[r], -quartered[r]);
        d[r] = a - b;
        exact = exact && quartered[r] == 0 && a - d[r] == b && b + d[r] == a;
        if (d[r] != 0) exponent = std::max(exponent, std::ilogb(d[r]) + quartered[r]);
    }
    if (std::isinf(tolerance)) return closeness::closer;
    double sum = 0;
    for (std::size_t r = 0; r < rows; ++r) {
        const double x = std::ldexp(d[r], quartered[r] - exponent), square = x * x, before = sum;
        sum += square;
        exact = exact && std::ldexp(x, exponent) == d[r] && std::fma(x, x, -square) == 0 &&
                sum - square == before && sum - before == square;
    }
    const double t = std::ldexp(tolerance, -exponent), limit = t * t;
    exact = exact && std::ldexp(t, exponent) == tolerance && std::fma(t, t, -limit) == 0;
    // The library forms each of difference, square, sum and limit with one rounding.
    constexpr double band = 16 * std::numeric_limits<double>::epsilon();
    if (!exact && std::abs(sum - limit) <= band * limit + 1e-300) return closeness::either;
    return sum < limit ? closeness::closer : closeness::not_closer;
}

/// What `merge` makes of the list of all nodes.
std::vector<unsigned> merged(const dense2D<double>& pos, double tolerance) {
    dense2D<unsigned> all(1, pos.cols);
    for (std::size_t i = 0; i < pos.cols; ++i) all(0, i) = static_cast<unsigned>(i);
    EXPECT_EQ(0, merge(pos, all, tolerance, 0));
    return values(all.as_vector());
}

/// The rule as it stands: every node against all kept nodes before it.
void expect_as_brute_force(const dense2D<double>& pos, double tolerance) {
    const std::vector<unsigned> stands_for = merged(pos, tolerance);
    std::vector<unsigned> kept_nodes;
    for (unsigned i = 0; i < pos.cols; ++i) {
        unsigned expected = i;
        for (const unsigned k : kept_nodes) {
            const closeness c = compare(pos[i], pos[k], pos.rows, tolerance);
            if (c == closeness::not_closer || (c == closeness::either && stands_for[i] != k))
                continue;
            expected = k;
            break;
        }
        ASSERT_EQ(expected, stands_for[i]) << "node " << i << ", tolerance " << tolerance;
        if (expected == i) kept_nodes.push_back(i);
    }
}

template <class Draw>
dense2D<double> random_points(std::size_t rows, std::size_t n, Draw draw) {
    dense2D<double> pos(rows, n);
    for (double& x : pos) x = draw();
    return pos;
}

// --------------------------------------------------------------------------------------- normal use

TEST(Merge, NodesOfTwoSquaresThatTouchBecomeOne) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {1, 0}, {2, 0}, {2, 1}, {1, 1}});
    auto quads = cells({{0, 1, 2, 3}, {4, 5, 6, 7}});
    ASSERT_EQ(0, merge(pos, quads, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1, 2, 3}, {1, 5, 6, 2}})), columns(quads));
}

TEST(Merge, TwoConnectivitiesAreTreatedAlike) {
    const auto pos = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 1e-13}});
    auto triangles = cells({{0, 3, 2}});
    auto edges = cells({{0, 3}, {3, 2}});
    ASSERT_EQ(0, merge(pos, triangles, edges, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1, 2}})), columns(triangles));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}})), columns(edges));
}

TEST(Merge, ARangeOfShallowCopiesReachesTheMatricesThemselves) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 0}});
    auto a = cells({{0, 2}});
    auto b = cells({{2, 1}});
    auto c = cells({{2, 2}});
    dense2D<unsigned> range[3] = {a, b, c};
    const auto* const block = a.storage.get();
    ASSERT_EQ(0, merge(pos, range, range + 2, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1}})), columns(a));
    EXPECT_EQ(columns(cells({{1, 1}})), columns(b));
    EXPECT_EQ(columns(cells({{2, 2}})), columns(c)) << "stands behind the range";
    EXPECT_EQ(block, a.storage.get());
}

TEST(Merge, AnEmptyRangeIsFine) {
    const auto pos = points({{0, 0}, {0, 0}});
    EXPECT_EQ(0, merge(pos, nullptr, nullptr, 1e-12, 0));
}

TEST(Merge, ReplacementIsTheLowestKeptNode) {
    // Node 2 is near both, which are too far apart to be one.
    const auto pos = points({{0, 0}, {1.5, 0}, {0.75, 0}});
    EXPECT_EQ((std::vector<unsigned>{0, 1, 0}), merged(pos, 1.0));
}

TEST(Merge, AFusedNodeDrawsNoOthersIn) {
    // A chain with steps of 0.75: node 1 goes to 0, so that 2 is too far from any kept node.
    const auto pos = points({{0, 0}, {0.75, 0}, {1.5, 0}, {2.25, 0}, {3, 0}});
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2, 2, 4}), merged(pos, 1.0));
}

TEST(Merge, TheDistanceMustBeBelowTheTolerance) {
    const auto pos = points({{0, 0}, {0.3, 0.4}, {3, 4}});
    EXPECT_EQ((std::vector<unsigned>{0, 1, 2}), merged(points({{0, 0}, {3, 4}, {-5, 0}}), 5.0));
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2}), merged(pos, 0.5000001));
}

TEST(Merge, NodesThatNoElementUsesTakePart) {
    const auto pos = points({{1, 0}, {0, 0}, {1, 0}});
    auto edge = cells({{1, 2}});
    ASSERT_EQ(0, merge(pos, edge, 1e-12, 0));
    EXPECT_EQ(columns(cells({{1, 0}})), columns(edge));
}

TEST(Merge, TheFlagSelectsNothingElse) {
    const auto pos = points({{1, 0}, {1, 0}});
    auto edge = cells({{0, 1}});
    ASSERT_EQ(0, merge(pos, edge, 1e-12, 7));
    EXPECT_EQ(columns(cells({{0, 0}})), columns(edge));
}

// --------------------------------------------------------------------------------------- tolerances

TEST(Merge, ToleranceZeroFusesExactDuplicatesOnly) {
    const auto pos = points({{1, 2}, {1, 2}, {1, std::nextafter(2.0, 3.0)}, {1, 2}});
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2, 0}), merged(pos, 0.0));
}
TEST(Merge, ANegativeToleranceFusesExactDuplicatesOnly) {
    const auto pos = points({{1, 2}, {1, 2}, {1, std::nextafter(2.0, 3.0)}});
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2}), merged(pos, -1.0));
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2}), merged(pos, -infinity));
}
TEST(Merge, AToleranceThatIsNaNFusesExactDuplicatesOnly) {
    const auto pos = points({{1, 2}, {1, 2}, {1, std::nextafter(2.0, 3.0)}});
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2}), merged(pos, zel_test::nan));
}
TEST(Merge, AnInfiniteToleranceFusesAllFiniteNodes) {
    const auto pos = points({{1, 2},
                             {-1.7e308, 1.7e308},
                             {1.7e308, 0},
                             {infinity, 0},
                             {zel_test::nan, 0},
                             {0, 0},
                             {5e-324, 0}});
    EXPECT_EQ((std::vector<unsigned>{0, 0, 0, 3, 4, 0, 0}), merged(pos, infinity));
}
TEST(Merge, BothZerosAreEqual) {
    const auto pos = points({{0.0, -0.0}, {-0.0, 0.0}, {-0.0, -0.0}});
    for (const double tolerance : {0.0, 1e-300, 1e-12, 1.0})
        EXPECT_EQ((std::vector<unsigned>{0, 0, 0}), merged(pos, tolerance));
}
TEST(Merge, NaNNeverFuses) {
    const auto pos =
        points({{zel_test::nan, 0}, {zel_test::nan, 0}, {0, 0}, {0, zel_test::nan}, {0, 0}});
    for (const double tolerance : {0.0, 1e-12, 1.0, infinity})
        EXPECT_EQ((std::vector<unsigned>{0, 1, 2, 3, 2}), merged(pos, tolerance));
}
TEST(Merge, InfiniteCoordinatesFuseWhenTheyAreEqual) {
    const auto pos = points({{infinity, 0}, {infinity, 0}, {-infinity, 0}, {infinity, 1e-13}});
    for (const double tolerance : {0.0, 1e-12, 1.0})
        EXPECT_EQ((std::vector<unsigned>{0, 0, 2, 3}), merged(pos, tolerance));
}
TEST(Merge, TolerancesFarBelowTheSpacingOfNumbersFuseEqualNodes) {
    const double big = 1e300;
    const auto pos = points({{big, 0}, {big, 1e-13}, {std::nextafter(big, 2 * big), 0}, {big, 0}});
    EXPECT_EQ((std::vector<unsigned>{0, 1, 2, 0}), merged(pos, 1e-310));
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2, 0}), merged(pos, 1e-12));
}
TEST(Merge, ExtremeTolerancesAreExact) {
    const double tiny = 5e-324;
    EXPECT_EQ((std::vector<unsigned>{0, 1, 2}),
              merged(points({{0, 0}, {tiny, 0}, {0, tiny}}), tiny));
    EXPECT_EQ((std::vector<unsigned>{0, 0, 0}),
              merged(points({{0, 0}, {tiny, 0}, {0, tiny}}), 2 * tiny));
    EXPECT_EQ((std::vector<unsigned>{0, 0, 2}),
              merged(points({{0, 0}, {3e-200, 4e-200}, {1e-199, 0}}), 5.1e-200));
    EXPECT_EQ((std::vector<unsigned>{0, 1}), merged(points({{0, 0}, {3e200, 4e200}}), 4.9e200));
    EXPECT_EQ((std::vector<unsigned>{0, 0}), merged(points({{0, 0}, {3e200, 4e200}}), 5.1e200));
    EXPECT_EQ((std::vector<unsigned>{0, 0}), merged(points({{0, 0}, {1.2e308, 1.2e308}}), 1.7e308));
    EXPECT_EQ((std::vector<unsigned>{0, 1}), merged(points({{-1e308, 0}, {1e308, 0}}), 1.7e308));
}
TEST(Merge, NumbersAtTheResolutionOfCells) {
    // Around 2^44 to 2^60 tolerances the cells become as small as the steps between numbers.
    for (int e = 40; e < 64; ++e) {
        const double base = std::ldexp(1.0, e);
        dense2D<double> pos(2, 64, 0.0);
        double x = base * (1 - 16 * 0x1p-53);
        for (std::size_t i = 0; i < 64; ++i, x = std::nextafter(x, infinity)) pos(0, i) = x;
        for (const double tolerance : {0.3, 0.5, 0.75, 1.0, 1.25, 2.0, 3.0, 17.0, 100.0, 5000.0})
            expect_as_brute_force(pos, tolerance);
    }
}

// ---------------------------------------------------------------------------------- odd arguments

TEST(Merge, EntriesThatNameNoNodeAreKept) {
    const auto pos = points({{0, 0}, {0, 0}, {1, 1}});
    auto connect = cells({{1, 3, no_node, 1000000}, {0xFFFFFFFEU, 2, 1, 0}});
    ASSERT_EQ(0, merge(pos, connect, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 3, no_node, 1000000}, {0xFFFFFFFEU, 2, 0, 0}})), columns(connect));
}

TEST(Merge, ViewsWithALargerLeadingDimension) {
    const auto pos = framed(points({{0, 0}, {1, 0}, {1, 0}, {0, 0}}));
    auto connect = framed(cells({{0, 1, 2}, {1, 2, 3}, {3, 3, 3}}));
    ASSERT_EQ(0, merge(pos.view, connect.view, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1, 1}, {1, 1, 0}, {0, 0, 0}})), columns(connect.view));
    EXPECT_TRUE(connect.surroundings_untouched(3));
}

TEST(Merge, MatricesThatShareStorageAreRewrittenOnce) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 0}, {0, 0}});
    auto connect = cells({{0, 1}, {2, 3}, {3, 2}});
    auto same = connect;
    ASSERT_EQ(0, merge(pos, connect, same, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 0}, {0, 1}})), columns(connect));
}

TEST(Merge, NothingToDoWithoutNodes) {
    dense2D<double> none;
    auto connect = cells({{0, 1}});
    EXPECT_EQ(0, merge(none, connect, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1}})), columns(connect));
}

TEST(Merge, CoordinatesOfOtherHeightsAreRefused) {
    auto connect = cells({{0, 1}});
    EXPECT_EQ(-1, merge(points({{0}, {0}}), connect, 1e-12, 0));
    EXPECT_EQ(-1, merge(points({{0, 0, 0, 0}, {0, 0, 0, 0}}), connect, 1e-12, 0));
    EXPECT_EQ(columns(cells({{0, 1}})), columns(connect));
}

TEST(Merge, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        const auto pos = grid_points(3, 3);
        dense2D<double> twice(2, 2 * pos.cols);
        for (std::size_t i = 0; i < twice.cols; ++i) std::copy_n(pos[i % pos.cols], 2, twice[i]);
        auto connect = cells({{0, 1, 20}, {17, 18, 19}});
        auto connect2 = cells({{31, 30}});
        const auto before = snapshot(connect, connect2);
        arm_allocator(k);
        const int status = merge(twice, connect, connect2, 1e-12, 0);
        disarm_allocator();
        if (status == 0) {
            EXPECT_EQ(columns(cells({{0, 1, 4}, {1, 2, 3}})), columns(connect));
        } else {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(connect, connect2));
        }
    });
}

// -------------------------------------------------------------------------------------- properties

TEST(Reference, FindsExactTiesAndTiesUpToRounding) {
    const double o[2] = {0, 0}, tie[2] = {3, 4}, inexact[2] = {0.1, 0.2},
                 huge[2] = {1.5e308, -1.5e308};
    EXPECT_EQ(closeness::not_closer, compare(o, tie, 2, 5));
    EXPECT_EQ(closeness::closer, compare(o, tie, 2, std::nextafter(5.0, 6.0) + 1e-13));
    EXPECT_EQ(closeness::either, compare(o, inexact, 2, std::hypot(0.1, 0.2)));
    EXPECT_EQ(closeness::closer, compare(o, inexact, 2, 0.23));
    EXPECT_EQ(closeness::not_closer, compare(o, inexact, 2, 0.22));
    EXPECT_EQ(closeness::not_closer, compare(o, huge, 2, 1.7e308));
    EXPECT_EQ(closeness::closer, compare(o, huge, 2, infinity));
    EXPECT_EQ(closeness::closer, compare(tie, tie, 2, -1));
}

TEST(Merge, AgreesWithBruteForceOnLattices) {
    // Distances equal to the tolerance and cells full of nodes are the rule here.
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        const double step = std::ldexp(1.0, static_cast<int>(random.below(80)) - 40);
        const unsigned span = 1 + random.below(12);
        const auto pos = random_points(
            rows, 300, [&] { return step * (static_cast<double>(random.below(2 * span)) - span); });
        for (const double factor : {0.0, 0.5, 1.0, 1.25, 1.5, 2.0, 3.0, 5.0, 8.0, 40.0})
            expect_as_brute_force(pos, factor * step);
    }
}

TEST(Merge, AgreesWithBruteForceOnClustersAndPairs) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const std::size_t rows = 2 + seed % 2;
        const double tolerance =
            std::ldexp(1 + random.unit(), static_cast<int>(random.below(60)) - 50);
        dense2D<double> pos(rows, 400);
        for (std::size_t i = 0; i < pos.cols; ++i) {
            const unsigned kind = random.below(4);
            for (std::size_t r = 0; r < rows; ++r) {
                if (kind == 0 || i == 0) {
                    pos(r, i) = random.between(-1, 1);
                } else {
                    const std::size_t other = random.below(static_cast<unsigned>(i));
                    pos(r, i) = pos(r, other) + tolerance * random.between(-1, 1) * kind;
                }
            }
        }
        expect_as_brute_force(pos, tolerance);
    }
}

TEST(Merge, AgreesWithBruteForceOnDenseClouds) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const auto pos = random_points(2 + seed % 2, 1500, [&] { return random.unit(); });
        for (const double tolerance : {0.01, 0.03, 0.1, 0.4, 1.0, 3.0})
            expect_as_brute_force(pos, tolerance);
    }
}

TEST(Merge, AgreesWithBruteForceOnRandomBits) {
    // Coordinates of every size, with zeros, infinities and NaN among them.
    const double special[] = {0.0, -0.0, infinity, -infinity, zel_test::nan, 1.0, 5e-324, 1.7e308};
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        dense2D<double> pos(2, 200);
        for (std::size_t i = 0; i < pos.cols; ++i) {
            for (std::size_t r = 0; r < 2; ++r) {
                if (random.below(3) == 0) {
                    pos(r, i) = special[random.below(8)];
                } else {
                    const int exponent = static_cast<int>(random.below(2000)) - 1000;
                    pos(r, i) = std::ldexp(random.between(-1, 1), exponent);
                }
            }
            if (i > 0 && random.below(2) == 0)
                std::copy_n(pos[random.below(static_cast<unsigned>(i))], 2, pos[i]);
        }
        for (const double tolerance : {0.0, 5e-324, 1e-200, 1e-12, 1.0, 1e200, 1.7e308})
            expect_as_brute_force(pos, tolerance);
    }
}

TEST(Merge, CountsEachFusedNodeOnce) {
    // Large groups and a pair; two nodes are alone.
    dense2D<double> pos(2, 66, 0.0);
    for (std::size_t k = 0; k < pos.cols; ++k)
        pos(0, k) = k < 40 ? 0 : k < 60 ? 1 : k < 62 ? 2 : static_cast<double>(k / 2);
    pos(1, 65) = pos(1, 63) = 7;
    dense1D<unsigned, 8> stands_for(pos.cols);
    std::size_t fused = 0;
    ASSERT_TRUE(zel::tessel::find_coincident(pos, 1e-9, stands_for, fused));
    std::size_t expected = 0;
    for (std::size_t k = 0; k < pos.cols; ++k) expected += stands_for[k] != k;
    EXPECT_EQ(39U + 19U + 1U, expected);
    EXPECT_EQ(expected, fused);
}

/// Points near the corners of the cells that tolerances from 1 to 2 lead to: each belongs to four or eight.
dense2D<double> corner_points(std::size_t rows, std::size_t n, random_numbers& random) {
    const double cell = 128;
    const double border = 0.5 - 0.3819660112501051;
    return random_points(rows, n, [&] {
        return cell * (static_cast<double>(random.below(9)) - 4 + border) +
               random.between(-1, 1) / 2;
    });
}
TEST(Merge, NodesNearTheCornersOfCellsAreFoundFromAllOfThem) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const auto pos = corner_points(2 + seed % 2, 2000, random);
        for (const double tolerance : {1.0, 1.5, 1.99}) expect_as_brute_force(pos, tolerance);
    }
}
/// Whichever allocation fails, `connect` becomes what is expected or stays, with -199.
void expect_all_or_nothing(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                           double tolerance, const dense2D<unsigned>& expected) {
    fail_each_allocation([&](std::size_t k) {
        auto merged = fresh_copy(connect);
        arm_allocator(k);
        const int status = merge(pos, merged, tolerance, 0);
        const bool failed = disarm_allocator();
        if (status != 0) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(-199, status);
        }
        EXPECT_EQ(columns(status == 0 ? expected : connect), columns(merged));
    });
}
// Each has many entries, for which the memory that is set aside first does not do.
TEST(Merge, ExhaustedMemoryForNodesNearTheCornersOfCellsIsReportedAndNothingChanges) {
    random_numbers random(3);
    const auto pos = corner_points(3, 2000, random);
    expect_as_brute_force(pos, 1.0);
    const auto expected = merged(pos, 1.0);
    expect_all_or_nothing(pos, cells({{1999, 1000, 500}}), 1.0,
                          cells({{expected[1999], expected[1000], expected[500]}}));
}
TEST(Merge, ManyNodesOfAViewWithALargerLeadingDimension) {
    random_numbers random(5);
    for (const std::size_t rows : {std::size_t{2}, std::size_t{3}}) {
        const auto pos = random_points(rows, 500, [&] { return random.below(9); });
        const auto view = framed(pos);
        EXPECT_EQ(merged(pos, 1e-12), merged(view.view, 1e-12));
        expect_as_brute_force(view.view, 1.25);
    }
}
// Where numbers are too far from 0 for the quick way to their cells, and on both sides of it.
TEST(Merge, AgreesWithBruteForceWhereCellsAreFarFromTheOrigin) {
    for (const int exponent : {38, 39, 40, 41, 46, 50, 51, 52}) {
        SCOPED_TRACE(testing::Message() << "cell 2^" << exponent);
        random_numbers random(static_cast<std::uint64_t>(exponent));
        const double far = std::ldexp(128.0, exponent); // tolerances from 1 to 2 make cells of 128
        const double step = std::max(0.25, std::ldexp(far, -52));
        const auto pos = random_points(2, 400, [&] {
            const double x = far + step * (static_cast<double>(random.below(16)) - 8);
            return random.below(2) == 0 ? x : -x;
        });
        for (const double tolerance : {1.0, 1.5, 1.99}) expect_as_brute_force(pos, tolerance);
    }
}

// ------------------------------------------------------------------------------------------ Simplify

TEST(Simplify, RemovesUnusedNodes) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
    auto connect = cells({{0, 2}, {2, 4}});
    ASSERT_EQ(0, simplify(pos, connect, 0));
    EXPECT_EQ(columns(points({{0, 0}, {2, 0}, {4, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}})), columns(connect));
}

TEST(Simplify, NodesInFrontOfTheFirstStay) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
    auto connect = cells({{2, 4}});
    ASSERT_EQ(0, simplify(pos, connect, 2));
    EXPECT_EQ(columns(points({{0, 0}, {1, 0}, {2, 0}, {4, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{2, 3}})), columns(connect));
}

TEST(Simplify, FirstNodeAboveTheLastColumnChangesNothing) {
    for (const unsigned first : {2U, 3U, 1000U, 0xFFFFFFFFU}) {
        auto pos = points({{0, 0}, {1, 0}});
        auto connect = cells({{0, 0}});
        const auto before = snapshot(pos, connect);
        EXPECT_EQ(0, simplify(pos, connect, first));
        EXPECT_EQ(before, snapshot(pos, connect));
    }
}

TEST(Simplify, BothConnectivitiesKeepTheirNodes) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    auto connect = cells({{3, 3}});
    auto connect2 = cells({{1, 3, no_node}});
    ASSERT_EQ(0, simplify(pos, connect, connect2, 0));
    EXPECT_EQ(columns(points({{1, 0}, {3, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{1, 1}})), columns(connect));
    EXPECT_EQ(columns(cells({{0, 1, no_node}})), columns(connect2));
}

TEST(Simplify, EntriesThatNameNoNodeAreKept) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}});
    auto connect = cells({{2, no_node}, {3, 0xFFFFFFFEU}});
    ASSERT_EQ(0, simplify(pos, connect, 0));
    EXPECT_EQ(columns(points({{2, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{0, no_node}, {3, 0xFFFFFFFEU}})), columns(connect));
}

TEST(Simplify, ARangeOfShallowCopiesReachesTheMatricesThemselves) {
    auto pos = points({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
    auto a = cells({{1, 3, 3}});
    auto b = cells({{3, 1}});
    dense2D<unsigned> range[2] = {a, b};
    ASSERT_EQ(0, simplify(pos, range, range + 2, 0));
    EXPECT_EQ(columns(points({{1, 0, 0}, {3, 0, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{0, 1, 1}})), columns(a));
    EXPECT_EQ(columns(cells({{1, 0}})), columns(b));
}

TEST(Simplify, AnEntryInSeveralMatricesIsRewrittenOnce) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}});
    auto connect = cells({{1, 3}, {3, 4}, {4, 5}});
    dense2D<unsigned> range[4] = {connect, connect, connect.sub_matrix(0, 1, 2, 2),
                                  connect.sub_matrix(1, 0, 1, 3)};
    ASSERT_EQ(0, simplify(pos, range, range + 4, 0));
    EXPECT_EQ(columns(points({{1, 0}, {3, 0}, {4, 0}, {5, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}, {2, 3}})), columns(connect));

    auto pos2 = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}});
    auto other = cells({{1, 3}, {3, 4}, {4, 5}});
    dense2D<unsigned> parts[3] = {other.sub_matrix(1, 0, 1, 2), other.sub_matrix(0, 2, 2, 1),
                                  other};
    ASSERT_EQ(0, simplify(pos2, parts, parts + 3, 0));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 2}, {2, 3}})), columns(other));
}

TEST(Simplify, WithoutConnectivityAllNodesFromTheFirstOnGo) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}});
    ASSERT_EQ(0, simplify(pos, nullptr, nullptr, 1));
    EXPECT_EQ(columns(points({{0, 0}})), columns(pos));
}

TEST(Simplify, ViewsWithALargerLeadingDimension) {
    auto pos = framed(points({{0, 0}, {1, 0}, {2, 0}, {3, 0}}));
    auto connect = framed(cells({{1, 3}, {3, 1}}));
    ASSERT_EQ(0, simplify(pos.view, connect.view, 0));
    EXPECT_EQ(columns(points({{1, 0}, {3, 0}})), columns(pos.view));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 0}})), columns(connect.view));
    EXPECT_TRUE(connect.surroundings_untouched(2));
}

TEST(Simplify, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
        auto connect = cells({{1, 3}});
        const auto before = snapshot(pos, connect);
        arm_allocator(k);
        const int status = simplify(pos, connect, 0);
        disarm_allocator();
        if (status == 0) {
            EXPECT_EQ(columns(cells({{0, 1}})), columns(connect));
        } else {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(pos, connect));
        }
    });
}

TEST(Simplify, RandomMeshesKeepTheirPositions) {
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned n = 1 + random.below(60);
        dense2D<double> pos(3, n);
        for (double& x : pos) x = random.unit();
        dense2D<unsigned> connect(3, 1 + random.below(20));
        for (unsigned& id : connect) id = random.below(5) == 0 ? no_node : random.below(n);
        const unsigned first = random.below(n + 2);
        const auto old_pos = fresh_copy(pos);
        const auto old_connect = fresh_copy(connect);
        ASSERT_EQ(0, simplify(pos, connect, first));
        std::set<unsigned> used;
        for (unsigned i = 0; i < std::min(first, n); ++i) used.insert(i);
        for (const unsigned id : old_connect)
            if (id != no_node) used.insert(id);
        ASSERT_EQ(used.size(), pos.cols);
        std::size_t k = 0;
        for (const unsigned id : used) EXPECT_EQ(column(old_pos, id), column(pos, k++));
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t i = 0; i < 3; ++i) {
                if (old_connect(i, e) == no_node) {
                    EXPECT_EQ(no_node, connect(i, e));
                } else {
                    EXPECT_EQ(column(old_pos, old_connect(i, e)), column(pos, connect(i, e)));
                }
            }
    }
}

// Groups of more than sixteen nodes are fused in a second round, with memory of its own.
TEST(Merge, ExhaustedMemoryForLargeGroupsIsReportedAndNothingChanges) {
    dense2D<double> pos(2, 60, 0.0);
    for (std::size_t j = 30; j < 60; ++j) pos(0, j) = 5;
    expect_all_or_nothing(pos, cells({{7, 31, 59}}), 1e-3, cells({{0, 30, 30}}));
}
// So many nodes at one place do not fit in a bucket: all of them go to the second round.
TEST(Merge, AHundredThousandNodesAtOnePlaceBecomeOne) {
    dense2D<double> pos(2, 100000, 1.0);
    for (std::size_t j = 0; j < pos.cols; j += 2) pos(0, j) = 2;
    auto connect = cells({{99999, 99998, 1}, {0, 5, 4}});
    ASSERT_EQ(0, merge(pos, connect, 1e-9, 0));
    EXPECT_EQ(columns(cells({{1, 0, 1}, {0, 1, 0}})), columns(connect));
}

TEST(Merge, MoreNodesThanNumbersIsAMemoryStatus) {
    dense2D<double> pos;
    pos.rows = 2;
    pos.cols = std::size_t{1} << 33; // the claim is never looked into
    auto connect = cells({{0, 1}});
    EXPECT_EQ(-199, merge(pos, connect, 1, 0));
    EXPECT_EQ(cell(0, 1), column(connect, 0));
    pos.rows = pos.cols = 0;
}
TEST(Simplify, MatricesSideBySideInOneBlockAreRewrittenOnceEach) {
    for (const bool swapped : {false, true}) {
        auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
        dense2D<unsigned> block(2, 3, 0U);
        block(0, 0) = 1, block(1, 0) = 3, block(0, 1) = 3, block(1, 1) = 3;
        dense2D<unsigned> parts[3] = {block.sub_matrix(0, swapped ? 1 : 0, 2, 1),
                                      block.sub_matrix(0, swapped ? 0 : 1, 2, 1),
                                      block.sub_matrix(0, 0, 2, 0)};
        ASSERT_EQ(0, simplify(pos, parts, parts + 3, 0));
        EXPECT_EQ(columns(points({{1, 0}, {3, 0}})), columns(pos));
        EXPECT_EQ(columns(cells({{0, 1}, {1, 1}, {0, 0}})), columns(block));
    }
}
// The second matrix shows row 1 of the first as well; a number in front of the first node stays.
TEST(Simplify, RowsThatAnEarlierMatrixShowsTooAreRewrittenOnce) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    dense2D<unsigned> block(3, 2, 0U);
    block(0, 0) = 3, block(1, 0) = 3, block(2, 0) = 0;
    block(0, 1) = 1, block(1, 1) = 1, block(2, 1) = 3;
    dense2D<unsigned> parts[2] = {block.sub_matrix(0, 0, 2, 2), block.sub_matrix(1, 0, 2, 2)};
    ASSERT_EQ(0, simplify(pos, parts, parts + 2, 1));
    EXPECT_EQ(columns(points({{0, 0}, {1, 0}, {3, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{2, 2, 0}, {1, 1, 2}})), columns(block));
}
// The first view is empty and has no leading dimension, as after `clear`.
TEST(Simplify, AnEmptyViewInTheMiddleOfAMatrixHidesNothing) {
    auto pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    dense2D<unsigned> block = cells({{1, 3}, {3, 1}});
    dense2D<unsigned> parts[3] = {block, block, block};
    parts[0].start = 2;
    parts[0].rows = parts[0].cols = parts[0].ld = parts[0].size = 0;
    ASSERT_EQ(0, simplify(pos, parts, parts + 3, 0));
    EXPECT_EQ(columns(points({{1, 0}, {3, 0}})), columns(pos));
    EXPECT_EQ(columns(cells({{0, 1}, {1, 0}})), columns(block));
}
TEST(Simplify, ColumnsWithoutRowsCountAsNoNodes) {
    dense2D<double> pos(0, 4);
    auto connect = cells({{1, 3}});
    ASSERT_EQ(0, simplify(pos, connect, 0));
    EXPECT_EQ(4U, pos.cols);
    EXPECT_EQ(cell(1, 3), column(connect, 0));
}

} // namespace
