// SPDX-License-Identifier: Apache-2.0
// Tests of the node detector beside a search through all nodes, with ties settled exactly.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <map>
#include <thread>

namespace {

using namespace zel_test;
using zel::vector_fixed;
using zel::tessel::node_detector;

/// The nearest node, the lowest of equals, in long double, whose range and digits suffice for all cases
/// here.
unsigned brute_force(const dense2D<double>& pos, double x, double y) {
    unsigned best = no_node;
    long double least = std::numeric_limits<long double>::infinity();
    for (unsigned i = 0; i < pos.cols; ++i) {
        const long double dx = static_cast<long double>(x) - pos(0, i);
        const long double dy = static_cast<long double>(y) - pos(1, i);
        const long double square = dx * dx + dy * dy;
        if (square < least) {
            least = square;
            best = i;
        }
    }
    return best;
}

long double distance_to(const dense2D<double>& pos, unsigned node, double x, double y) {
    const long double dx = static_cast<long double>(x) - pos(0, node);
    const long double dy = static_cast<long double>(y) - pos(1, node);
    return std::sqrt(dx * dx + dy * dy);
}

/// Nearest but for the rounding of the squares.
void expect_nearest(const dense2D<double>& pos, const node_detector& detector, double x, double y) {
    const unsigned found = detector.find_closest({x, y});
    ASSERT_LT(found, pos.cols) << x << ", " << y;
    const long double least = distance_to(pos, brute_force(pos, x, y), x, y);
    EXPECT_LE(distance_to(pos, found, x, y), least * (1 + 1e-15L)) << x << ", " << y;
    EXPECT_LT(detector.find_close({x, y}), pos.cols);
}

TEST(NodeDetector, FindsTheNearestNode) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    const node_detector detector(pos);
    EXPECT_EQ(4U, detector.size());
    EXPECT_EQ(0U, detector.find_closest({0.1, 0.2}));
    EXPECT_EQ(1U, detector.find_closest({0.9, 0.2}));
    EXPECT_EQ(2U, detector.find_closest({100, 100}));
    EXPECT_EQ(3U, detector.find_closest({-1e9, 1}));
    EXPECT_EQ(2U, detector.find_close({0.9, 0.8}));
}

TEST(NodeDetector, OfNodesAsNearTheLowestIsFound) {
    const auto pos = points({{5, 5}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 0}});
    EXPECT_EQ(1U, node_detector(pos).find_closest({0, 0}));
    EXPECT_EQ(1U, node_detector(pos).find_closest({1, 0}));
    const auto grid = grid_points(20, 20);
    const node_detector detector(grid);
    for (unsigned j = 0; j < 20; ++j)
        for (unsigned i = 0; i < 20; ++i) {
            const double x = (grid(0, j * 21 + i) + grid(0, j * 21 + i + 1)) / 2;
            EXPECT_EQ(brute_force(grid, x, grid(1, j * 21)),
                      detector.find_closest({x, grid(1, j * 21)}));
        }
}

TEST(NodeDetector, EveryNodeFindsItself) {
    const auto pos = grid_points(37, 23);
    const node_detector detector(pos);
    for (unsigned i = 0; i < pos.cols; ++i)
        EXPECT_EQ(i, detector.find_closest({pos(0, i), pos(1, i)}));
}

TEST(NodeDetector, WithoutNodesItReturnsNoNode) {
    const node_detector detector{dense2D<double>()};
    EXPECT_EQ(0U, detector.size());
    EXPECT_EQ(no_node, detector.find_close({0, 0}));
    EXPECT_EQ(no_node, detector.find_closest({0, 0}));
}

TEST(NodeDetector, CoordinatesInSpaceAreNotTaken) {
    EXPECT_EQ(0U, node_detector(points({{0, 0, 0}})).size());
    EXPECT_EQ(0U, node_detector(points({{0}})).size());
}

TEST(NodeDetector, NodesThatAreNotFiniteAreLeftOut) {
    const auto pos = points({{zel_test::nan, 0}, {infinity, 0}, {3, 4}, {0, -infinity}});
    const node_detector detector(pos);
    EXPECT_EQ(1U, detector.size());
    EXPECT_EQ(2U, detector.find_closest({0, 0}));
    EXPECT_EQ(2U, detector.find_close({0, 0}));
}

TEST(NodeDetector, PointsThatAreNotFiniteHaveNoNode) {
    const node_detector detector(points({{3, 4}}));
    for (const double odd : {zel_test::nan, infinity, -infinity}) {
        EXPECT_EQ(no_node, detector.find_closest({odd, 0}));
        EXPECT_EQ(no_node, detector.find_closest({0, odd}));
        EXPECT_EQ(no_node, detector.find_close({odd, 0}));
    }
}

TEST(NodeDetector, ViewsWithALargerLeadingDimension) {
    const auto pos = framed(grid_points(9, 9));
    const node_detector detector(pos.view);
    EXPECT_EQ(100U, detector.size());
    for (unsigned i = 0; i < 100; ++i)
        EXPECT_EQ(i, detector.find_closest({pos.view(0, i), pos.view(1, i)}));
}

TEST(NodeDetector, ItDoesNotFollowTheCoordinates) {
    auto pos = points({{0, 0}, {1, 0}});
    const node_detector detector(pos);
    const node_detector copy(detector);
    pos(0, 0) = 50;
    pos.resize(2, 0);
    EXPECT_EQ(0U, detector.find_closest({0.1, 0}));
    EXPECT_EQ(0U, copy.find_closest({0.1, 0}));
}

TEST(NodeDetector, AssignmentReplacesTheNodes) {
    const node_detector detector(points({{0, 0}, {1, 0}, {2, 0}}));
    node_detector other(points({{5, 5}}));
    other = detector;
    EXPECT_EQ(3U, other.size());
    EXPECT_EQ(2U, other.find_closest({5, 5}));
    other = node_detector(dense2D<double>());
    EXPECT_EQ(0U, other.size());
    EXPECT_EQ(2U, detector.find_closest({5, 5}));
}

TEST(NodeDetector, ManyNodesOnOnePointAreOneNode) {
    dense2D<double> pos(2, 5000, 0.5);
    pos(0, 4999) = 3;
    const node_detector detector(pos);
    EXPECT_EQ(0U, detector.find_closest({0.4, 0.4}));
    EXPECT_LT(detector.find_close({0.5, 0.5}), 4999U);
    EXPECT_EQ(4999U, detector.find_closest({2, 0}));
}

TEST(NodeDetector, ExhaustedMemoryLeavesItSafe) {
    fail_each_allocation([](std::size_t k) {
        const auto pos = grid_points(5, 5);
        arm_allocator(k);
        const node_detector detector(pos);
        disarm_allocator();
        if (detector.size() == 0) {
            EXPECT_EQ(no_node, detector.find_closest({0, 0}));
            EXPECT_EQ(no_node, detector.find_close({0, 0}));
        } else {
            EXPECT_EQ(36U, detector.size());
            EXPECT_EQ(0U, detector.find_closest({0, 0}));
        }
    });
}

TEST(NodeDetector, NumbersOfAnySizeAreExact) {
    for (const double unit :
         {5e-324, 1e-320, 1e-300, 1e-200, 1e-160, 1e-150, 1e100, 1e155, 1e200, 1e307}) {
        random_numbers random(17);
        dense2D<double> pos(2, 200);
        for (double& x : pos) x = unit * (static_cast<double>(random.below(200)) / 10 - 10);
        const node_detector detector(pos);
        for (int k = 0; k < 200; ++k) {
            const double x = unit * (static_cast<double>(random.below(300)) / 10 - 15);
            const double y = unit * (static_cast<double>(random.below(300)) / 10 - 15);
            expect_nearest(pos, detector, x, y);
        }
    }
}

TEST(NodeDetector, ACloseNodeIsFoundAlsoWhereAllSquaresOfDistancesAreInfinite) {
    for (const double far : {1e155, 1e200, 1e308}) {
        const auto pos = points({{0, 0}, {far, far}, {-far, far}});
        const node_detector detector(pos);
        for (const double x : {1e155, 1e200, 1e308, -1e160, -1e308}) {
            EXPECT_LT(detector.find_close({x, -1e308}), 3U) << far << ", " << x;
            expect_nearest(pos, detector, x, -1e308);
        }
    }
    const node_detector one(points({{3, 4}}));
    EXPECT_EQ(0U, one.find_close({1e300, -1e300}));
}

// The point lies half way in one direction, so that the other one decides, however little it is.
TEST(NodeDetector, TiesAlongOneAxisAreDecidedByTheOther) {
    const auto expect_decided = [](double middle, double wide, double tiny, unsigned along) {
        dense2D<double> pos(2, 2, 0.0);
        vector_fixed<double, 2> p{0, 0};
        p[along] = middle;
        pos(along, 0) = middle - wide;
        pos(along, 1) = middle + wide;
        for (const unsigned nearer : {0U, 1U}) {
            pos(1 - along, nearer) = 0;
            pos(1 - along, 1 - nearer) = tiny;
            EXPECT_EQ(nearer, node_detector(pos).find_closest(p)) << wide << ", " << tiny;
        }
    };
    for (const double tiny : {5e-324, 1e-200, 1e-3})
        for (const unsigned along : {0U, 1U}) {
            for (const double wide : {1e-310, 1e-160, 1.0, 1e160, 1e308})
                expect_decided(0, wide, tiny, along);
            expect_decided(0x1p1023, 0x1p1022, tiny, along);
        }
}

// In steps of the last digit of a number whose square overflows: one node lies 2^25 steps away along one
// axis, the other 2^25 - 1 along it and 2^13 along the other axis, which is farther by one part in 2^51.
TEST(NodeDetector, AlmostTiesAcrossNumbersWithoutASquareAreDecidedWithoutRounding) {
    const double far = 0x1p515;
    const double step = 0x1p463;
    for (const unsigned along : {0U, 1U})
        for (const unsigned nearer : {0U, 1U}) {
            dense2D<double> pos(2, 2);
            pos(along, nearer) = 0x1p25 * step;
            pos(1 - along, nearer) = far;
            pos(along, 1 - nearer) = (0x1p25 - 1) * step;
            pos(1 - along, 1 - nearer) = far + 0x1p13 * step;
            vector_fixed<double, 2> p{far, far};
            p[along] = 0;
            EXPECT_EQ(nearer, node_detector(pos).find_closest(p)) << along;
        }
}

// Both nodes lie 2^-54 apart in their distance, far out along the other axis.
TEST(NodeDetector, AlmostTiesFarOutAreDecidedWithoutRounding) {
    for (const double far : {1e120, 1e155, 1e200, 1e300, -1e307}) {
        for (const unsigned along : {0U, 1U}) {
            for (const double sign : {-1.0, 1.0}) {
                dense2D<double> pos(2, 2, far);
                pos(along, 0) = -1;
                pos(along, 1) = 1;
                vector_fixed<double, 2> p{far, far};
                p[along] = sign * 0x1p-54;
                EXPECT_EQ(sign < 0 ? 0U : 1U, node_detector(pos).find_closest(p)) << far;
            }
        }
    }
}

TEST(NodeDetector, AgreesWithBruteForce) {
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned kind = static_cast<unsigned>(seed % 5);
        dense2D<double> pos(2, 1 + random.below(600));
        for (std::size_t i = 0; i < pos.cols; ++i) {
            const double at = random.unit();
            for (std::size_t r = 0; r < 2; ++r) {
                double x = random.unit();
                if (kind == 1) x = std::floor(at * 3) + 1e-7 * x;         // clusters
                if (kind == 2) x = at;                                    // a line
                if (kind == 3) x = static_cast<double>(random.below(12)); // a lattice
                if (kind == 4)
                    x = std::ldexp(x, -static_cast<int>(random.below(900))); // all scales
                pos(r, i) = x;
            }
        }
        const node_detector detector(pos);
        for (int k = 0; k < 300; ++k) {
            const double far = k % 7 == 0 ? 1e6 : 3;
            double x = random.between(-far, far);
            double y = random.between(-far, far);
            if (k % 3 == 0) {
                const auto i = random.below(static_cast<unsigned>(pos.cols));
                x = pos(0, i) + 1e-8 * x;
                y = pos(1, i) + 1e-8 * y;
            }
            expect_nearest(pos, detector, x, y);
            if (kind == 3) {
                const double u = static_cast<double>(random.below(28)) / 2 - 1;
                const double v = static_cast<double>(random.below(28)) / 2 - 1;
                EXPECT_EQ(brute_force(pos, u, v), detector.find_closest({u, v}));
            }
        }
    }
}

// ------------------------------------------------------------------ crowded cells and odd distributions

/// `n` nodes of a distribution that leaves a plain grid mostly empty or crowds a few of its cells.
enum distribution {
    nested_clusters,
    two_places,
    all_scales,
    diagonal,
    flat_line,
    upright_line,
    copies
};
constexpr distribution distributions[] = {nested_clusters, two_places,   all_scales, diagonal,
                                          flat_line,       upright_line, copies};

dense2D<double> distributed(distribution kind, std::size_t n, random_numbers& random) {
    dense2D<double> pos(2, n);
    for (std::size_t i = 0; i < n; ++i) {
        const double t = random.unit();
        const unsigned level = random.below(6);
        for (std::size_t r = 0; r < 2; ++r) {
            double x = random.unit();
            if (kind == nested_clusters) x = 0.3 + (x - 0.3) * std::pow(1e-3, level);
            if (kind == two_places) x = 1e-9 * x + (t < 0.4 ? -1e6 : 1e6);
            if (kind == all_scales) x = std::ldexp(1 + x, -static_cast<int>(random.below(1000)));
            if (kind == diagonal) x = t;
            if (kind == flat_line) x = r == 0 ? t : 0.25;
            if (kind == upright_line) x = r == 0 ? 0.25 : t;
            if (kind == copies) x = level == 0 ? x : 0.5; // five of six on one point
            pos(r, i) = x;
        }
    }
    return pos;
}

TEST(NodeDetector, CrowdedCellsAndEmptyOnesAgreeWithBruteForce) {
    for (const distribution kind : distributions) {
        SCOPED_TRACE(testing::Message() << "distribution " << kind);
        random_numbers random(23);
        const auto pos = distributed(kind, 3000, random);
        const node_detector detector(pos);
        for (int k = 0; k < 200; ++k) {
            const unsigned i = random.below(3000);
            expect_nearest(pos, detector, pos(0, i), pos(1, i));
            const double near = std::pow(10.0, -static_cast<int>(random.below(14)));
            expect_nearest(pos, detector, pos(0, i) + near * random.between(-1, 1),
                           pos(1, i) + near * random.between(-1, 1));
            const double far = std::pow(10.0, random.below(13));
            expect_nearest(pos, detector, random.between(-far, far), random.between(-far, far));
        }
    }
}

TEST(NodeDetector, EveryNodeOfADistributionFindsItselfOrItsLowestCopy) {
    for (const distribution kind : distributions) {
        SCOPED_TRACE(testing::Message() << "distribution " << kind);
        random_numbers random(29);
        const auto pos = distributed(kind, 20000, random);
        const node_detector detector(pos);
        EXPECT_EQ(20000U, detector.size());
        std::map<std::pair<double, double>, unsigned> lowest;
        for (unsigned i = 0; i < pos.cols; ++i) lowest.emplace(std::pair(pos(0, i), pos(1, i)), i);
        for (unsigned i = 0; i < pos.cols; ++i) {
            const unsigned expected = lowest[{pos(0, i), pos(1, i)}];
            ASSERT_EQ(expected, detector.find_closest({pos(0, i), pos(1, i)})) << i;
        }
    }
}

__extension__ typedef __int128 wide_integer;

/// The nearest node, the lowest of equals, without any rounding: coordinates in units of 2^-20.
unsigned exact_nearest(const dense2D<double>& pos, double x, double y) {
    const auto units = [](double c) { return static_cast<wide_integer>(std::ldexp(c, 20)); };
    unsigned best = no_node;
    wide_integer least = 0;
    for (unsigned i = 0; i < pos.cols; ++i) {
        const wide_integer dx = units(x) - units(pos(0, i));
        const wide_integer dy = units(y) - units(pos(1, i));
        const wide_integer square = dx * dx + dy * dy;
        if (best == no_node || square < least) {
            least = square;
            best = i;
        }
    }
    return best;
}

TEST(NodeDetector, TiesAndAlmostTiesAreDecidedWithoutRounding) {
    random_numbers random(31);
    const auto draw = [&](double extent) { // a multiple of 2^-20
        return std::ldexp(std::floor(std::ldexp(random.between(-extent, extent), 20)), -20);
    };
    for (int round = 0; round < 60; ++round) {
        const double far = std::ldexp(1, static_cast<int>(random.below(32)));
        const double px = draw(far);
        const double py = draw(far);
        dense2D<double> pos(2, 40);
        for (std::size_t i = 0; i < pos.cols; ++i) {
            pos(0, i) = draw(1);
            pos(1, i) = draw(1);
            if (i % 4 == 0)
                continue; // the others: images of the one before with the same distance,
            pos(0, i) = i % 4 == 1 ? 2 * px - pos(0, i - 1) : pos(0, i - 1); // or one unit off
            pos(1, i) = i % 4 == 2 ? 2 * py - pos(1, i - 1) : pos(1, i - 1);
            if (round % 2 == 1) pos(i % 2, i) += std::ldexp(1, -20);
        }
        EXPECT_EQ(exact_nearest(pos, px, py), node_detector(pos).find_closest({px, py}))
            << px << ", " << py;
    }
    // On a circle around (0, 0), scaled Pythagorean triples and their neighbours, seen from afar.
    dense2D<double> circle(2, 0);
    for (const auto& [a, b] : {std::pair{33, 56}, {16, 63}, {25, 60}, {39, 52}, {65, 0}}) {
        const std::size_t c = circle.cols;
        circle.resize(2, c + 8);
        for (std::size_t k = 0; k < 8; ++k) {
            circle(k & 1U, c + k) = k & 2U ? -a : a;
            circle(1 - (k & 1U), c + k) = k & 4U ? -b : b;
        }
    }
    const node_detector detector(circle);
    EXPECT_EQ(0U, detector.find_closest({0, 0}));
    for (int k = 0; k < 400; ++k) {
        const double x = draw(1e9);
        const double y = k % 3 == 0 ? x : draw(1e9);
        EXPECT_EQ(exact_nearest(circle, x, y), detector.find_closest({x, y})) << x << ", " << y;
    }
}

TEST(NodeDetector, AlmostTiesOfSquaresThatOverflowAreDecidedWithoutRounding) {
    const double less = std::nextafter(5.0, 0.0);
    for (const double far : {1e155, 1e170, 1e200, 1e308}) {
        const node_detector upright(points({{far, 5}, {far, -less}}));
        EXPECT_EQ(1U, upright.find_closest({far, 0})) << far;
        const node_detector flat(points({{5, -far}, {-less, -far}}));
        EXPECT_EQ(1U, flat.find_closest({0, -far})) << far;
    }
}

TEST(NodeDetector, AlmostTiesOfSquaresThatVanishAreDecidedWithoutRounding) {
    for (const double x : {0.0, 1.0, 1e100, 1e200, 1e308})
        for (const double y : {1e-150, 1e-200, 1e-300, 5e-324}) {
            EXPECT_EQ(1U, node_detector(points({{x, y}, {x, 0}})).find_closest({-x, 0})) << x;
            EXPECT_EQ(1U, node_detector(points({{y, x}, {0, x}})).find_closest({0, -x})) << x;
        }
}

// The two coordinates are so different in size that the larger distance decides, and the smaller one
// between equals.
TEST(NodeDetector, TiesAreDecidedWithoutRoundingOverTheWholeRangeOfNumbers) {
    random_numbers random(41);
    const auto draw = [&](unsigned extent) {
        return static_cast<int>(random.below(2 * extent + 1)) - static_cast<int>(extent);
    };
    for (const int wide : {-700, -400, 0, 300, 500, 540, 700, 1000})
        for (const int narrow : {-1070, -1000, -540}) {
            if (narrow + 300 > wide) continue;
            const bool upright = random.below(2) == 1;
            const auto at = [&](int u, int v) {
                const double x = std::ldexp(u, wide);
                const double y = std::ldexp(v, narrow);
                return upright ? vector_fixed<double, 2>{y, x} : vector_fixed<double, 2>{x, y};
            };
            std::vector<std::pair<int, int>> places(30);
            dense2D<double> pos(2, places.size());
            for (std::size_t i = 0; i < places.size(); ++i) {
                places[i] = {draw(3), draw(3)};
                const auto p = at(places[i].first, places[i].second);
                std::copy_n(p.begin(), 2, pos[i]);
            }
            const node_detector detector(pos);
            for (int k = 0; k < 50; ++k) {
                const int u = draw(6);
                const int v = draw(6);
                const auto distance = [&](std::size_t i) {
                    return std::pair(std::abs(places[i].first - u), std::abs(places[i].second - v));
                };
                unsigned nearest = 0;
                for (unsigned i = 1; i < places.size(); ++i)
                    if (distance(i) < distance(nearest)) nearest = i;
                EXPECT_EQ(nearest, detector.find_closest(at(u, v)))
                    << u << " * 2^" << wide << ", " << v << " * 2^" << narrow;
            }
        }
}

/// Seconds that it takes to find some of the nodes, drawn at random from a square of this side, at their own
/// places.
double seconds_at_nodes(double side) {
    random_numbers random(43);
    dense2D<double> pos(2, 100000);
    for (double& x : pos) x = side * random.unit();
    const node_detector detector(pos);
    std::size_t missed = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (unsigned i = 0; i < 2000; ++i)
        missed += detector.find_closest({pos(0, i), pos(1, i)}) != i;
    const auto end = std::chrono::steady_clock::now();
    EXPECT_EQ(0U, missed);
    return std::chrono::duration<double>(end - begin).count();
}

// A search that looks at all nodes takes a thousand times as long.
TEST(NodeDetector, AtItsOwnPlaceANodeIsFoundSoonInUnitsOfAnySize) {
    const double usual = seconds_at_nodes(1);
    for (const double side : {1e100, 1e150, 1e200, 1e300, 1e-150, 1e-200, 1e-280, 1e-300})
        EXPECT_LT(seconds_at_nodes(side), 100 * usual + 0.1) << side;
}

/// Nodes on rings around (0, 0), with radii from 0.4 to 1.
dense2D<double> rings(unsigned across, unsigned around) {
    dense2D<double> pos(2, std::size_t{across + 1} * around);
    for (unsigned i = 0; i <= across; ++i)
        for (unsigned j = 0; j < around; ++j) {
            const double radius = 0.4 + 0.6 * i / across;
            const double angle = 6.283185307179586 * j / around;
            pos(0, i * around + j) = radius * std::cos(angle);
            pos(1, i * around + j) = radius * std::sin(angle);
        }
    return pos;
}

TEST(NodeDetector, InAHoleAndOutsideOnAllSidesItAgreesWithBruteForce) {
    for (const double unit : {1.0, 1e-200, 1e200}) {
        dense2D<double> pos = rings(40, 160);
        for (double& x : pos) x *= unit;
        const node_detector detector(pos);
        random_numbers random(47);
        for (int k = 0; k < 300; ++k) {
            const double radius = k % 3 == 0 ? 0.39 : std::pow(10.0, random.below(12));
            const double angle = random.between(0, 6.3);
            expect_nearest(pos, detector, unit * radius * std::cos(angle) * random.unit(),
                           unit * radius * std::sin(angle));
        }
        expect_nearest(pos, detector, 0, 0);
    }
}

/// Seconds of the processor that 200 searches take at a distance from the centre of 400,000 nodes on rings:
/// the least of some rounds, which other programs on the machine disturb little.
double seconds_around(const node_detector& detector, double radius) {
    double least = 1e9;
    unsigned sum = 0;
    for (int round = 0; round < 5; ++round) {
        const std::clock_t begin = std::clock();
        for (int k = 0; k < 200; ++k)
            sum += detector.find_closest({radius * std::cos(0.1 + k), radius * std::sin(0.1 + k)});
        least = std::min(least, static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
    EXPECT_GT(sum, 0U);
    return least;
}

// A search that looks at all nodes of the square around the circle takes 400 times as long as one in the
// mesh, and more far outside.
TEST(NodeDetector, InAHoleAndFarOutsideTheNearestNodeIsFoundSoon) {
    const node_detector detector(rings(316, 1264));
    const double within = seconds_around(detector, 0.7);
    for (const double radius : {0.2, 0.3, 1.5, 10.0, 1e6})
        EXPECT_LT(seconds_around(detector, radius), 100 * within + 0.005) << radius;
}

TEST(NodeDetector, ExhaustedMemoryInCrowdedCellsLeavesItSafe) {
    for (const distribution kind : {nested_clusters, all_scales}) {
        fail_each_allocation([kind](std::size_t k) {
            random_numbers random(37);
            const auto pos = distributed(kind, 2000, random);
            arm_allocator(k);
            const node_detector detector(pos);
            disarm_allocator();
            const vector_fixed<double, 2> first{pos(0, 0), pos(1, 0)};
            if (detector.size() == 0) {
                EXPECT_EQ(no_node, detector.find_closest(first));
                EXPECT_EQ(no_node, detector.find_close(first));
            } else {
                EXPECT_EQ(2000U, detector.size());
                EXPECT_EQ(0U, detector.find_closest(first));
            }
        });
    }
}

TEST(NodeDetector, ThreadsMayAskAtTheSameTime) {
    const auto pos = grid_points(50, 50);
    const node_detector detector(pos);
    std::vector<int> wrong(4, 0);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (unsigned i = 0; i < pos.cols; ++i)
                wrong[t] += detector.find_closest({pos(0, i), pos(1, i)}) != i;
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

// The box is so small that half its sides vanish: it must be cut across the side that it has.
TEST(NodeDetector, NodesThatAreTheSmallestStepApartAreToldApart) {
    const double step = std::numeric_limits<double>::denorm_min();
    for (const std::size_t along : {std::size_t{0}, std::size_t{1}}) {
        dense2D<double> pos(2, 100, 0.0);
        for (std::size_t j = 50; j < 100; ++j) pos(along, j) = step;
        const node_detector nodes(pos);
        EXPECT_EQ(0U, nodes.find_closest({0, 0}));
        zel::vector_fixed<double, 2> p{0, 0};
        p[along] = step;
        EXPECT_EQ(50U, nodes.find_closest(p));
        EXPECT_GT(100U, nodes.find_close(p));
    }
}

TEST(NodeDetector, OfManyNodesAtOnePlaceAnyWillDoForAPlaceNearby) {
    const dense2D<double> pos(2, 100, 1.0);
    const node_detector nodes(pos);
    EXPECT_EQ(0U, nodes.find_closest({3, 3}));
    EXPECT_GT(100U, nodes.find_close({3, 3}));
}
TEST(NodeDetector, OfMoreNodesThanNumbersFindsNone) {
    dense2D<double> pos;
    pos.rows = 2;
    pos.cols = std::size_t{1} << 33; // the claim is never looked into
    const node_detector nodes(pos);
    pos.rows = pos.cols = 0;
    EXPECT_EQ(no_node, nodes.find_closest({0, 0}));
}

} // namespace
