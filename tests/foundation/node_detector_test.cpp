// zel tessel2d: planar and surface mesh tools.
#include "foundation/tessel.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

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

TEST(NodeDetector, WithoutNodesThereIsNoAnswer) {
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

} // namespace
