// SPDX-License-Identifier: Apache-2.0
// Services on more nodes than 16 bits count, checked by formula: a number that is held in too few bits on the
// way shows here.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel;

constexpr unsigned many = 65600; // beyond 2^16

/// Two nodes at each of `many` places, the second ones behind all the first ones.
dense2D<double> doubled_nodes() {
    dense2D<double> pos(2, std::size_t{2} * many);
    for (unsigned i = 0; i < many; ++i)
        for (unsigned node : {i, many + i}) {
            pos(0, node) = i;
            pos(1, node) = i % 11;
        }
    return pos;
}
/// Edges from each node of the first half to the next one of the second half.
dense2D<unsigned> edges_between() {
    dense2D<unsigned> edges(2, many - 1);
    for (unsigned i = 0; i + 1 < many; ++i) {
        edges(0, i) = i;
        edges(1, i) = many + i + 1;
    }
    return edges;
}
std::size_t not_joined(const dense2D<unsigned>& edges) {
    std::size_t wrong = 0;
    for (unsigned i = 0; i + 1 < many; ++i) wrong += edges(0, i) != i || edges(1, i) != i + 1;
    return wrong;
}

TEST(LargeServices, MergeFusesEveryNodeWithItsDouble) {
    const auto pos = doubled_nodes();
    for (const double tolerance : {0.0, 0.25}) {
        auto edges = edges_between();
        ASSERT_EQ(0, merge(pos, edges, tolerance, 0));
        EXPECT_EQ(0U, not_joined(edges));
    }
}

TEST(LargeServices, MergeFusesMoreNodesInOnePlaceThanItTakesAtOnce) {
    // Every tenth node stands alone, the others in two places.
    constexpr unsigned n = 3 * many;
    const auto replacement = [](unsigned v) { return v % 10 == 9 ? v : v % 10 == 1 ? 1 : 0; };
    dense2D<double> pos(2, n, 0.0);
    dense2D<unsigned> edges(2, n - 1);
    for (unsigned v = 0; v < n; ++v) {
        pos(0, v) = replacement(v);
        if (v + 1 < n) edges(0, v) = v, edges(1, v) = v + 1;
    }
    for (const double tolerance : {0.0, 0.25}) {
        dense2D<unsigned> fused;
        ASSERT_TRUE(fused.copy(edges));
        ASSERT_EQ(0, merge(pos, fused, tolerance, 0));
        std::size_t wrong = 0;
        for (unsigned v = 0; v + 1 < n; ++v)
            wrong += fused(0, v) != replacement(v) || fused(1, v) != replacement(v + 1);
        EXPECT_EQ(0U, wrong);
    }
}

TEST(LargeServices, MergeAndSimplifyTreatSeveralMatricesAlike) {
    auto pos = doubled_nodes();
    dense2D<unsigned> all[3] = {edges_between(), edges_between(), edges_between()};
    ASSERT_EQ(0, merge(pos, all, all + 3, 0.25, 0));
    for (const auto& edges : all) EXPECT_EQ(0U, not_joined(edges));
    ASSERT_EQ(0, simplify(pos, all, all + 3, 0));
    EXPECT_EQ(many, pos.cols);
    for (const auto& edges : all) EXPECT_EQ(0U, not_joined(edges));
}

TEST(LargeServices, SimplifyMovesEveryNodeThatIsNamed) {
    auto pos = doubled_nodes();
    dense2D<unsigned> odd(1, many);
    for (unsigned i = 0; i < many; ++i) odd(0, i) = 2 * i + 1;
    ASSERT_EQ(0, simplify(pos, odd, 0));
    ASSERT_EQ(many, pos.cols);
    std::size_t wrong = 0;
    for (unsigned i = 0; i < many; ++i)
        wrong += odd(0, i) != i || pos(0, i) != (2 * i + 1) % many ||
                 pos(1, i) != (2 * i + 1) % many % 11;
    EXPECT_EQ(0U, wrong);
}

TEST(LargeServices, ManyCopiesOfATriangleAndACopyOfManyTriangles) {
    auto g = equilateral_triangle();
    const auto source = fresh_copy(g.connect);
    ASSERT_EQ(0, copy_mesh(g.pos, g.connect, {2, 3}, {0, 0}, 0.0, many, source));
    ASSERT_EQ(many + 1, g.connect.cols);
    ASSERT_EQ(3 * (many + 1), g.pos.cols);
    const auto wrong = [&](unsigned copies) {
        std::size_t count = 0;
        for (unsigned e = 0; e < g.connect.cols; ++e)
            for (unsigned k = 0; k < 3; ++k) {
                // Copies of all that was there before stand behind it, 1000 further up.
                const unsigned original = e % (many + 1);
                const double up = e / (many + 1) * 1000.0;
                count += g.connect(k, e) != 3 * e + k;
                count += !(std::abs(g.pos(0, 3 * e + k) - g.pos(0, k) - 2.0 * original) < 1e-9);
                count +=
                    !(std::abs(g.pos(1, 3 * e + k) - g.pos(1, k) - 3.0 * original - up) < 1e-9);
            }
        return g.connect.cols == std::size_t{copies + 1} * (many + 1) ? count : count + 1;
    };
    EXPECT_EQ(0U, wrong(0));
    const auto all = fresh_copy(g.connect);
    ASSERT_EQ(0, copy_mesh(g.pos, g.connect, {0, 1000}, {0, 0}, 0.0, 2, all));
    EXPECT_EQ(0U, wrong(2));
}

TEST(LargeServices, EveryNodeOfALatticeIsTheClosestToItsSurroundings) {
    constexpr unsigned n = 300;
    dense2D<double> pos(2, std::size_t{n} * n);
    for (unsigned v = 0; v < n * n; ++v) {
        pos(0, v) = v % n;
        pos(1, v) = v / n;
    }
    const node_detector detector(pos);
    ASSERT_EQ(std::size_t{n} * n, detector.size());
    std::size_t wrong = 0;
    for (unsigned v = 0; v < n * n; ++v)
        wrong += detector.find_closest({v % n + 0.3, v / n - 0.4}) != v;
    EXPECT_EQ(0U, wrong);
}

TEST(LargeServices, TheLastOfManyNumbersIsTested) {
    dense2D<unsigned> connect(3, many, many);
    EXPECT_TRUE(check_IDs(connect, zel::ELEMENT_T3, many + 1));
    EXPECT_FALSE(check_IDs(connect, zel::ELEMENT_T3, many));
    connect = dense2D<unsigned>(3, many, 7U);
    EXPECT_TRUE(check_IDs(connect, zel::ELEMENT_T3, 8));
    connect(2, many - 1) = 8;
    EXPECT_FALSE(check_IDs(connect, zel::ELEMENT_T3, 8));
    EXPECT_FALSE(check_IDs(connect, 8));
}

} // namespace
