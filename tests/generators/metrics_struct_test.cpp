// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "support/tensors.h"
#include "zel/tessel2d/generators.h"

#include <cmath>
#include <limits>

namespace {

using namespace zel_test;
using zel::tessel2d::mesh_struct_Q4;
using zel::tessel2d::metrics_struct;
constexpr double nan = zel_test::nan; // of two by that name

dense1D<double, 8> sizes(std::size_t n, double h) {
    return dense1D<double, 8>(n, h);
}
/// Tensors for the sizes hx, hy (and 1 along z) at n nodes.
dense2D<double> tensors(std::size_t rows, std::size_t n, double hx, double hy) {
    dense2D<double> m(rows, n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        m(0, j) = 1 / (hx * hx);
        m(2, j) = 1 / (hy * hy);
        if (rows == 6) m(5, j) = 1;
    }
    return m;
}
dense1D<unsigned, 8> plain_loop(unsigned m, unsigned n) {
    return square_loop(m, n).boundary;
}

// --------------------------------------------------------------------------------------- normal use

TEST(MetricsStruct, OneInteriorNodeBetweenSizesOfOne) {
    auto h = sizes(8, 1.0);
    ASSERT_EQ(0, metrics_struct(plain_loop(2, 2), 2, h));
    EXPECT_EQ(std::vector<double>(9, 1.0), values(h));
}

TEST(MetricsStruct, EverySizeIsTheMeanOfTheTwoLinesThroughItsNode) {
    for (const auto& [m, n] : {std::pair{2U, 2U}, {7U, 3U}, {3U, 8U}, {5U, 70U}}) {
        random_numbers random(m * 100 + n);
        const auto patch = square_loop(m, n);
        auto h = sizes(patch.pos.cols + 3, 0); // three more nodes that the loop does not use
        for (double& x : h) x = random.between(0.5, 2);
        const auto before = values(h);
        ASSERT_EQ(0, metrics_struct(patch.boundary, n, h));
        ASSERT_EQ(before.size() + (m - 1) * (n - 1), h.size);
        EXPECT_EQ(before, std::vector<double>(h.begin(), h.begin() + before.size()));
        std::size_t at = before.size();
        for (unsigned i = 1; i < m; ++i)
            for (unsigned j = 1; j < n; ++j, ++at) {
                const long double u = static_cast<long double>(i) / m;
                const long double v = static_cast<long double>(j) / n;
                // Around the loop: i along the bottom, up the right side, back along the top, down.
                const long double across = (1 - u) * before[2 * m + 2 * n - j] + u * before[m + j];
                const long double up = (1 - v) * before[i] + v * before[m + n + (m - i)];
                EXPECT_NEAR(static_cast<double>((across + up) / 2), h[at], 1e-15 * 4)
                    << i << ", " << j;
            }
    }
}

TEST(MetricsStruct, NewEntriesAreNumberedLikeTheNodesOfTheGrid) {
    // With the size x at (x, y) on the outline, the size inside is x too; so it tells the place.
    auto patch = square_loop(6, 4);
    dense1D<double, 8> h(patch.pos.cols);
    for (std::size_t k = 0; k < h.size; ++k) h[k] = 1 + patch.pos(0, k);
    dense2D<unsigned> quads;
    ASSERT_EQ(0, metrics_struct(patch.boundary, 4, h));
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 4, quads));
    ASSERT_EQ(patch.pos.cols, h.size);
    for (std::size_t k = 0; k < h.size; ++k) EXPECT_NEAR(1 + patch.pos(0, k), h[k], 1e-15);
}

TEST(MetricsStruct, TensorsWithCommonAxesHaveTheirSizesInterpolatedLikeSizes) {
    for (const std::size_t rows : {3U, 6U})
        for (const auto& [m, n] : {std::pair{2U, 2U}, {4U, 3U}, {3U, 70U}}) {
            random_numbers random(m * 100 + n + rows);
            const auto boundary = plain_loop(m, n);
            const std::size_t first = 2 * std::size_t{m + n};
            const square_matrix<3> upright3 = upright<3>();
            square_matrix<3> axes = upright3;
            turn_rows<3>(axes, 0, 1, 0.4L);
            if (rows == 6) turn_rows<3>(axes, 1, 2, 1.1L);
            const std::size_t order = rows == 3 ? 2 : 3;
            std::vector<dense1D<double, 8>> along(order);
            for (auto& h : along) {
                h.resize(first);
                for (double& x : h) x = random.between(0.5, 2);
            }
            const auto expected = [&](std::size_t node) {
                zel::vector_fixed<long double, 3> mu{};
                for (std::size_t k = 0; k < order; ++k) {
                    const long double h = along[k][node];
                    mu[k] = 1 / (h * h);
                }
                return exact_tensor<3>(axes, mu);
            };
            dense2D<double> metrics(rows, first);
            for (std::size_t node = 0; node < first; ++node)
                for (std::size_t i = 0; i < rows; ++i)
                    metrics(i, node) = static_cast<double>(expected(node)[i]);
            const auto before = columns(metrics);
            ASSERT_EQ(0, metrics_struct(boundary, n, metrics));
            for (auto& h : along) ASSERT_EQ(0, metrics_struct(boundary, n, h));
            ASSERT_EQ(first + (m - 1) * (n - 1), metrics.cols);
            for (std::size_t node = 0; node < first; ++node)
                EXPECT_EQ(before[node], column(metrics, node));
            for (std::size_t node = first; node < metrics.cols; ++node)
                for (std::size_t i = 0; i < rows; ++i)
                    EXPECT_NEAR(static_cast<double>(expected(node)[i]), metrics(i, node), 2e-13)
                        << node << ", entry " << i;
        }
}

TEST(MetricsStruct, OneRowOfCellsHasNoInterior) {
    for (const auto& [m, n] : {std::pair{5U, 1U}, {1U, 5U}, {1U, 1U}}) {
        auto h = sizes(2 * (m + n), 1.0);
        EXPECT_EQ(0, metrics_struct(plain_loop(m, n), n, h));
        EXPECT_EQ(2 * (m + n), h.size);
        for (const std::size_t rows : {3U, 6U}) {
            auto t = tensors(rows, 2 * (m + n), 1, 2);
            const auto before = snapshot(t);
            EXPECT_EQ(0, metrics_struct(plain_loop(m, n), n, t));
            EXPECT_EQ(before, snapshot(t));
        }
    }
}

TEST(MetricsStruct, ViewsWithALargerLeadingDimension) {
    random_numbers random(3);
    const auto loop = framed(plain_loop(4, 5));
    auto h = sizes(18, 0);
    for (double& x : h) x = random.between(1, 2);
    auto odd = framed(h);
    ASSERT_EQ(0, metrics_struct(plain_loop(4, 5), 5, h));
    ASSERT_EQ(0, metrics_struct(loop.view, 5, odd.view));
    EXPECT_EQ(values(h), values(odd.view));
    for (const std::size_t rows : {3U, 6U}) {
        auto t = tensors(rows, 18, 1, 2);
        for (std::size_t j = 0; j < 18; ++j) t(0, j) = random.between(1, 2);
        auto strange = framed(t);
        ASSERT_EQ(0, metrics_struct(plain_loop(4, 5), 5, t));
        ASSERT_EQ(0, metrics_struct(loop.view, 5, strange.view));
        EXPECT_EQ(columns(t), columns(strange.view));
        EXPECT_TRUE(strange.surroundings_untouched(18));
    }
}

// ------------------------------------------------------------------------------------------ statuses

/// Calls all three and expects the status, with nothing changed.
void expect_refused(int status, const dense1D<unsigned, 8>& boundary, unsigned n,
                    std::size_t nodes) {
    auto h = sizes(nodes, 1.0);
    EXPECT_EQ(status, metrics_struct(boundary, n, h));
    EXPECT_EQ(std::vector<double>(nodes, 1.0), values(h));
    for (const std::size_t rows : {3U, 6U}) {
        auto t = tensors(rows, nodes, 1, 2);
        const auto before = snapshot(t);
        EXPECT_EQ(status, metrics_struct(boundary, n, t)) << rows << " rows";
        EXPECT_EQ(before, snapshot(t));
    }
}

TEST(MetricsStruct, AnEmptyLoopIsASuccessOnAMatrixWithoutMemory) {
    auto tensors = dense2D<double>::wrap(nullptr, 6, 0);
    EXPECT_EQ(0, metrics_struct(dense1D<unsigned, 8>(), 2, tensors));
    EXPECT_EQ(6U, tensors.rows);
}
TEST(MetricsStruct, NothingToDoIsASuccess) {
    expect_refused(0, plain_loop(2, 2), 0, 8);
    expect_refused(0, {}, 3, 8);
    expect_refused(0, ids({9, 9}), 0, 1); // before the loop is looked at
}
TEST(MetricsStruct, OtherRowsAreRefusedBeforeAllElse) {
    for (const std::size_t rows : {1U, 2U, 4U, 5U, 7U}) {
        dense2D<double> t(rows, 8, 1.0);
        EXPECT_EQ(-3, metrics_struct(plain_loop(2, 2), 2, t));
        EXPECT_EQ(-3, metrics_struct(plain_loop(2, 2), 0, t)) << "also with nothing to do";
        EXPECT_EQ(-3, metrics_struct({}, 2, t));
        EXPECT_EQ(-3, metrics_struct(ids({0, 1, 2, 3, 99}), 2, t));
        EXPECT_EQ(8U, t.cols);
    }
    dense2D<double> empty;
    EXPECT_EQ(-3, metrics_struct(plain_loop(2, 2), 2, empty));
}
TEST(MetricsStruct, AShortLoopIsRefused) {
    expect_refused(-1, ids({0, 1, 2, 0}), 1, 8);
    expect_refused(-1, ids({0}), 1, 8);
}
TEST(MetricsStruct, ALoopThatIsNotClosedIsRefused) {
    expect_refused(-1, ids({0, 1, 2, 3, 4, 5, 6, 7, 1}), 2, 8);
}
TEST(MetricsStruct, ANodeWithoutAnEntryIsRefused) {
    expect_refused(-1, plain_loop(2, 2), 2, 7);
    expect_refused(-1, ids({0, 1, 2, no_node, 4, 5, 6, 7, 0}), 2, 8);
    dense2D<double> columnless(3, 0);
    columnless.rows = 3;
    EXPECT_EQ(-1, metrics_struct(plain_loop(2, 2), 2, columnless));
}
TEST(MetricsStruct, TooManyCellsForTheLoopAreRefused) {
    expect_refused(-2, plain_loop(2, 2), 5, 8);
    expect_refused(-2, plain_loop(2, 2), 0xFFFFFFFFu, 8);
}
TEST(MetricsStruct, AnEvenLoopIsRefused) {
    expect_refused(-2, ids({0, 1, 2, 3, 4, 5, 6, 0}), 2, 8);
    expect_refused(-2, ids({0, 1, 2, 3, 4, 5, 6, 0}), 4, 8); // 2n is not above the length
}
TEST(MetricsStruct, OfTwoFaultsTheFirstCounts) {
    expect_refused(-1, ids({0, 1, 2, 3, 4, 5, 6, 7}), 5, 8);  // open, and n too large
    expect_refused(-1, ids({0, 1, 2, 3, 4, 5, 99, 0}), 2, 8); // no entry, and even
}

TEST(MetricsStruct, WithoutCellsAlongTheBottomEntriesAreLost) {
    const auto loop = ids({0, 1, 2, 1, 2, 1, 0}); // n = 3: no cell in the other direction
    auto h = list<double>({1, 2, 3, 4, 5});
    ASSERT_EQ(0, metrics_struct(loop, 3, h));
    EXPECT_EQ((std::vector<double>{1, 2, 3}), values(h));
    for (const std::size_t rows : {3U, 6U}) {
        auto t = tensors(rows, 5, 1, 2);
        ASSERT_EQ(0, metrics_struct(loop, 3, t));
        EXPECT_EQ(snapshot(tensors(rows, 3, 1, 2)), snapshot(t));
    }
    const auto long_loop = ids({0, 1, 0, 1, 0, 1, 0, 1, 0}); // n = 4: three entries less
    expect_refused(-199, long_loop, 4, 2);
}

// ---------------------------------------------------------------------------------- degenerate input

TEST(MetricsStruct, AnInvalidSizeLeavesItsLineZero) {
    for (const double none : {0.0, -1.0, nan}) {
        auto h = sizes(16, 1.0); // four by four cells, inside (i, j) from 1 to 3
        h[2] = none;             // (2, 0)
        ASSERT_EQ(0, metrics_struct(plain_loop(4, 4), 4, h));
        for (unsigned i = 1; i < 4; ++i)
            for (unsigned j = 1; j < 4; ++j)
                EXPECT_EQ(i == 2 ? 0.0 : 1.0, h[16 + (i - 1) * 3 + j - 1]) << i << ", " << j;
        h = sizes(16, 1.0);
        h[4 + 3] = none; // (4, 3)
        ASSERT_EQ(0, metrics_struct(plain_loop(4, 4), 4, h));
        for (unsigned i = 1; i < 4; ++i)
            for (unsigned j = 1; j < 4; ++j)
                EXPECT_EQ(j == 3 ? 0.0 : 1.0, h[16 + (i - 1) * 3 + j - 1]) << i << ", " << j;
    }
}

TEST(MetricsStruct, ATensorThatIsNotPositiveDefiniteLeavesItsLinesZero) {
    for (const std::size_t rows : {3U, 6U})
        for (const double bad : {0.0, -1.0, nan, infinity}) {
            auto t = tensors(rows, 16, 1, 2);
            t(0, 2) = bad;     // (2, 0)
            t(2, 4 + 3) = bad; // (4, 3)
            ASSERT_EQ(0, metrics_struct(plain_loop(4, 4), 4, t));
            for (unsigned i = 1; i < 4; ++i)
                for (unsigned j = 1; j < 4; ++j) {
                    const auto m = column(t, 16 + (i - 1) * 3 + j - 1);
                    if (i == 2 || j == 3) {
                        EXPECT_EQ(std::vector<double>(rows, 0.0), m) << i << ", " << j;
                    } else {
                        EXPECT_NEAR(1, m[0], 1e-14);
                        EXPECT_NEAR(0.25, m[2], 1e-14);
                    }
                }
        }
}

// Both lines through a node have tensors there, but a product underflows on the way between the two.
TEST(MetricsStruct, WithoutATensorBetweenItsTwoLinesANodeStaysEmpty) {
    for (const std::size_t rows : {3U, 6U}) {
        auto t = tensors(rows, 12, 1, 2);
        t(0, 1) = t(0, 8) = rows == 3 ? 1e-150 : 1e-300; // bottom and top, i = 1
        t(2, 1) = t(2, 8) = 1;
        for (const std::size_t side : {4U, 5U, 10U, 11U}) t(2, side) = 1e-30;
        ASSERT_EQ(0, metrics_struct(plain_loop(3, 3), 3, t));
        for (unsigned j = 0; j < 2; ++j) {
            EXPECT_EQ(std::vector<double>(rows, 0.0), column(t, 12 + j)) << j;
            EXPECT_NEAR(1, t(0, 14 + j), 1e-14);
        }
    }
}

TEST(MetricsStruct, CornersDoNotMatter) {
    auto h = sizes(12, 1.0);
    auto t = tensors(6, 12, 1, 2);
    for (const unsigned corner : {0U, 3U, 6U, 9U}) {
        h[corner] = 0;
        t(0, corner) = nan;
    }
    ASSERT_EQ(0, metrics_struct(plain_loop(3, 3), 3, h));
    ASSERT_EQ(0, metrics_struct(plain_loop(3, 3), 3, t));
    for (std::size_t k = 12; k < 16; ++k) {
        EXPECT_EQ(1, h[k]);
        EXPECT_NEAR(0.25, t(2, k), 1e-14);
    }
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(MetricsStruct, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto loop = plain_loop(5, 4);
    fail_each_allocation([&](std::size_t k) {
        auto h = sizes(18, 1.0);
        const auto before = snapshot(h);
        arm_allocator(k);
        if (metrics_struct(loop, 4, h) == -199) {
            EXPECT_EQ(before, snapshot(h));
        } else {
            EXPECT_EQ(30U, h.size);
        }
    });
    for (const std::size_t rows : {3U, 6U})
        fail_each_allocation([&](std::size_t k) {
            auto t = tensors(rows, 18, 1, 2);
            const auto before = snapshot(t);
            arm_allocator(k);
            if (metrics_struct(loop, 4, t) == -199) {
                EXPECT_EQ(before, snapshot(t));
            } else {
                EXPECT_EQ(30U, t.cols);
            }
        });
}

} // namespace
