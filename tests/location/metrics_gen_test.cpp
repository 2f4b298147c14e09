// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "support/tensors.h"
#include "zel/tessel2d/metrics.h"

#include <array>
#include <cmath>
#include <vector>

namespace {

using namespace zel_test;
using zel::tessel2d::metrics_gen_aniso3d;
constexpr double nan = zel_test::nan; // of two by that name
using vector3 = std::array<long double, 3>;

const std::vector<double> zeros(6, 0.0);

void expect_column_near(const std::vector<double>& expected, const dense2D<double>& m,
                        std::size_t j, double bound = 1e-13) {
    double largest = 0;
    for (const double x : expected) largest = std::max(largest, std::fabs(x));
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(expected[i], m(i, j), bound * largest) << "column " << j << ", entry " << i;
}

/// A bumpy surface over the unit square.
mesh bumpy(unsigned n, unsigned rows = 3) {
    mesh m = grid_T3(n, n, rows);
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        m.pos(2, j) = 0.3 * std::sin(5 * m.pos(0, j)) * std::cos(4 * m.pos(1, j));
    return m;
}

/// The mean of the edges at each node in extended precision, straight from the definition.
std::vector<long double> mean_edges(const mesh& m) {
    std::vector<long double> sum(m.pos.cols, 0), count(m.pos.cols, 0);
    for (std::size_t e = 0; e < m.connect.cols; ++e)
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned ends[2] = {m.connect(k, e), m.connect((k + 1) % 3, e)};
            long double squared = 0;
            for (std::size_t i = 0; i < m.pos.rows; ++i) {
                const long double d =
                    static_cast<long double>(m.pos(i, ends[0])) - m.pos(i, ends[1]);
                squared += d * d;
            }
            for (const unsigned node : ends) {
                sum[node] += std::sqrt(squared);
                count[node] += 1;
            }
        }
    for (std::size_t j = 0; j < sum.size(); ++j)
        if (count[j] > 0) sum[j] /= count[j];
    return sum;
}
vector3 unit_normal(const mesh& m, std::size_t e) {
    const auto at = [&](std::size_t k, std::size_t i) {
        return static_cast<long double>(m.pos(i, m.connect(k, e)));
    };
    vector3 a{}, b{}, n{};
    for (std::size_t i = 0; i < 3; ++i) {
        a[i] = at(1, i) - at(0, i);
        b[i] = at(2, i) - at(0, i);
    }
    long double squared = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        n[i] = a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
        squared += n[i] * n[i];
    }
    for (long double& x : n) x /= std::sqrt(squared);
    return n;
}
/// t (I - N N') + s N N', packed.
std::vector<double> asked(const vector3& n, long double t, long double s) {
    std::vector<double> m;
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i <= j; ++i)
            m.push_back(static_cast<double>((i == j ? t : 0.0L) + (s - t) * n[i] * n[j]));
    return m;
}
double form(const double* m, const vector3& e) {
    const auto x = static_cast<double>(e[0]), y = static_cast<double>(e[1]),
               z = static_cast<double>(e[2]);
    return m[0] * x * x + m[2] * y * y + m[5] * z * z +
           2 * (m[1] * x * y + m[3] * x * z + m[4] * y * z);
}

// --------------------------------------------------------------------------------------- normal use

TEST(MetricsGen, AFlatMeshWithoutANormalSizeGetsSpheres) {
    const mesh m = grid_T3(1, 1, 3); // triangles (0, 1, 3) and (0, 3, 2)
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, metrics));
    ASSERT_EQ(6U, metrics.rows);
    ASSERT_EQ(4U, metrics.cols);
    const double h = (2 + 2 * std::sqrt(2.0)) / 4; // the diagonal counts once from each side
    const double t = 1 / (h * h);
    expect_column_near({t, 0, t, 0, 0, t}, metrics, 0);
    expect_column_near({1, 0, 1, 0, 0, 1}, metrics, 1);
    expect_column_near({1, 0, 1, 0, 0, 1}, metrics, 2);
    expect_column_near({t, 0, t, 0, 0, t}, metrics, 3);
}

TEST(MetricsGen, ANegativeNormalSizeIsARatio) {
    const mesh m = grid_T3(3, 2, 3);
    const auto h = mean_edges(m);
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, -0.1, metrics));
    for (std::size_t j = 0; j < metrics.cols; ++j) {
        const auto t = static_cast<double>(1 / (h[j] * h[j]));
        expect_column_near({t, 0, t, 0, 0, 100 * t}, metrics, j);
    }
}

TEST(MetricsGen, APositiveNormalSizeIsTheSameEverywhere) {
    const mesh m = grid_T3(3, 2, 3);
    const auto h = mean_edges(m);
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0.1, metrics));
    for (std::size_t j = 0; j < metrics.cols; ++j) {
        const auto t = static_cast<double>(1 / (h[j] * h[j]));
        expect_column_near({t, 0, t, 0, 0, 100}, metrics, j);
    }
}

TEST(MetricsGen, OneTriangleInSpaceAsksForItsPlane) {
    random_numbers random(1);
    for (int round = 0; round < 100; ++round) {
        mesh m{dense2D<double>(3, 3), cells({{2, 0, 1}})};
        for (double& x : m.pos) x = random.between(-1, 1);
        const auto h = mean_edges(m);
        for (const double size : {0.0, 0.3, -0.3}) {
            dense2D<double> metrics;
            ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, size, metrics));
            for (std::size_t j = 0; j < 3; ++j) {
                const long double t = 1 / (h[j] * h[j]);
                const long double s = size == 0 ? t : (size > 0 ? 1 : t) / (size * size);
                expect_column_near(asked(unit_normal(m, 0), t, s), metrics, j, 1e-12);
            }
        }
    }
}

TEST(MetricsGen, InEveryDirectionTheSmallestSizeOfTheTrianglesAroundIsKept) {
    const mesh m = bumpy(6);
    const auto h = mean_edges(m);
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, -0.2, metrics));
    random_numbers random(2);
    for (unsigned node = 0; node < m.pos.cols; ++node)
        for (int sample = 0; sample < 50; ++sample) {
            vector3 direction{};
            long double squared = 0;
            for (long double& x : direction) {
                x = random.between(-1, 1);
                squared += x * x;
            }
            for (long double& x : direction) x /= std::sqrt(squared);
            const long double t = 1 / (h[node] * h[node]);
            double sum = 0;
            double largest = 0;
            for (std::size_t e = 0; e < m.connect.cols; ++e)
                for (std::size_t k = 0; k < 3; ++k)
                    if (m.connect(k, e) == node) {
                        const auto g = asked(unit_normal(m, e), t, 25 * t);
                        sum += form(g.data(), direction);
                        largest = std::max(largest, form(g.data(), direction));
                    }
            EXPECT_GE(form(metrics[node], direction), largest * (1 - 1e-10));
            // In a common basis the larger of two is not above their sum, and so it is for all.
            EXPECT_LE(form(metrics[node], direction), sum * (1 + 1e-10));
        }
}

TEST(MetricsGen, TensorsThatAreThereTakePart) {
    const mesh m = grid_T3(1, 1, 3);
    dense2D<double> metrics(6, 4, 0.0);
    for (const std::size_t node : {1U, 2U}) {
        metrics(0, node) = 4;
        metrics(2, node) = 0.5;
        metrics(5, node) = 0.5;
    }
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, metrics));
    expect_column_near({4, 0, 1, 0, 0, 1}, metrics, 1);
    expect_column_near({4, 0, 1, 0, 0, 1}, metrics, 2);
}

TEST(MetricsGen, FurtherColumnsAndUnusedNodesKeepWhatTheyHold) {
    const mesh m{points({{9, 9, 9}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {7, 7, 7}}),
                 cells({{1, 2, 3}})};
    dense2D<double> metrics(6, 8, 5.0);
    metrics.resize(6, 9, -3.0);
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, metrics));
    ASSERT_EQ(9U, metrics.cols);
    for (const std::size_t j : {0U, 4U, 5U, 6U, 7U})
        EXPECT_EQ(std::vector<double>(6, 5.0), column(metrics, j));
    EXPECT_EQ(std::vector<double>(6, -3.0), column(metrics, 8));
    dense2D<double> fresh;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, fresh));
    ASSERT_EQ(4U, fresh.cols) << "up to the largest number in use";
    EXPECT_EQ(zeros, column(fresh, 0));
}

TEST(MetricsGen, AnEmptyMatrixTakesSixRows) {
    const mesh m = grid_T3(1, 1, 3);
    dense2D<double> metrics(3, 0);
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, metrics));
    EXPECT_EQ(6U, metrics.rows);
    EXPECT_EQ(4U, metrics.cols);
    dense2D<double> rowless;
    rowless.cols = 7; // columns without rows count
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, rowless));
    ASSERT_EQ(7U, rowless.cols);
    EXPECT_EQ(zeros, column(rowless, 6));
}

TEST(MetricsGen, AFourthRowCountsInLengthsAlone) {
    mesh flat = grid_T3(2, 2, 3);
    mesh lifted = grid_T3(2, 2, 4);
    random_numbers random(3);
    for (std::size_t j = 0; j < lifted.pos.cols; ++j) lifted.pos(3, j) = random.unit();
    const auto h = mean_edges(lifted);
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(lifted.pos, lifted.connect, -0.5, metrics));
    for (std::size_t j = 0; j < metrics.cols; ++j) {
        const auto t = static_cast<double>(1 / (h[j] * h[j]));
        expect_column_near({t, 0, t, 0, 0, 4 * t}, metrics, j);
    }
}

TEST(MetricsGen, ViewsWithALargerLeadingDimension) {
    const mesh m = bumpy(4);
    dense2D<double> plain(6, m.pos.cols, 0.0);
    auto pos = framed(m.pos);
    auto connect = framed(m.connect);
    auto metrics = framed(plain);
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0.01, plain));
    ASSERT_EQ(0, metrics_gen_aniso3d(pos.view, connect.view, 0.01, metrics.view));
    EXPECT_EQ(columns(plain), columns(metrics.view));
    EXPECT_TRUE(metrics.surroundings_untouched(m.pos.cols));
}

TEST(MetricsGen, CoordinatesInTheSameStorageCountAsOnEntry) {
    const mesh m = grid_T3(2, 1, 3);
    dense2D<double> shared(9, m.pos.cols, 0.0);
    for (std::size_t j = 0; j < m.pos.cols; ++j) std::copy_n(m.pos[j], 3, shared[j]);
    const auto pos = shared.sub_matrix(0, 0, 3, m.pos.cols);
    auto overlapping = shared.sub_matrix(0, 0, 6, m.pos.cols);
    auto expected = fresh_copy(overlapping);
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, -0.5, expected));
    ASSERT_EQ(0, metrics_gen_aniso3d(pos, m.connect, -0.5, overlapping));
    EXPECT_EQ(columns(expected), columns(overlapping));
}

// ------------------------------------------------------------------------------------------ statuses

void expect_refused(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    dense2D<double> metrics) {
    const auto before = snapshot(metrics);
    EXPECT_EQ(status, metrics_gen_aniso3d(pos, connect, 0.1, metrics));
    EXPECT_EQ(before, snapshot(metrics));
}
TEST(MetricsGen, FewerThanThreeRowsOfCoordinatesAreRefused) {
    expect_refused(-1, grid_points(1, 1, 2), cells({{0, 1, 2}}), {});
    expect_refused(-1, {}, cells({{0, 1, 2}}), {});
}
TEST(MetricsGen, OtherElementsThanTrianglesAreRefused) {
    expect_refused(-2, grid_points(1, 1, 3), cells({{0, 1, 2, 3}}), {});
    expect_refused(-2, grid_points(1, 1, 3), {}, {});
}
TEST(MetricsGen, ANodeThatDoesNotExistIsRefused) {
    expect_refused(-2, grid_points(1, 1, 3), cells({{0, 1, 4}}), {}); // there are four
    expect_refused(-2, grid_points(1, 1, 3), cells({{0, 1, no_node}}), {});
    expect_refused(-2, grid_points(1, 1, 3), cells({{no_node, no_node, no_node}}), {});
}
TEST(MetricsGen, WithoutTrianglesTheLargestNodeCountsAsNodeZero) {
    const dense2D<unsigned> none(3, 0);
    ASSERT_EQ(3U, none.rows);
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(grid_points(1, 1, 3), none, 0, metrics));
    ASSERT_EQ(1U, metrics.cols);
    EXPECT_EQ(zeros, column(metrics, 0));
    dense2D<double> nowhere(3, 0);
    expect_refused(-2, nowhere, none, {});
}
TEST(MetricsGen, TensorsOfAnotherHeightAreRefused) {
    const mesh m = grid_T3(1, 1, 3);
    expect_refused(-4, m.pos, m.connect, dense2D<double>(3, 4, 1.0));
    expect_refused(-4, m.pos, m.connect, dense2D<double>(7, 1, 1.0));
}
TEST(MetricsGen, OfTwoFaultsTheFirstCounts) {
    expect_refused(-1, grid_points(1, 1, 2), cells({{0, 1, 2, 3}}), dense2D<double>(3, 4, 1.0));
    expect_refused(-2, grid_points(1, 1, 3), cells({{0, 1, 9}}), dense2D<double>(3, 4, 1.0));
}

// ---------------------------------------------------------------------------------- degenerate input

TEST(MetricsGen, ATriangleWithoutAreaHasItsNormalAlongTheFirstAxis) {
    const mesh m{points({{0, 0, 0}, {0, 1, 0}, {0, 2, 0}}), cells({{0, 1, 2}})};
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0.1, metrics));
    expect_column_near({100, 0, 1 / 2.25, 0, 0, 1 / 2.25}, metrics, 0);
    expect_column_near({100, 0, 1, 0, 0, 1}, metrics, 1);
}

TEST(MetricsGen, ANodeWithoutAnEdgeEndsItsTriangle) {
    // Nodes 0 to 2 coincide; node 1 has an edge in another triangle, nodes 0 and 2 have none.
    const mesh m{points({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {2, 0, 0}, {0, 2, 0}}),
                 cells({{1, 0, 2}, {1, 3, 4}})};
    dense2D<double> metrics;
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0, metrics));
    expect_column_near({0.25, 0, 0.25, 0, 0, 0.25}, metrics, 1);
    EXPECT_EQ(zeros, column(metrics, 0));
    EXPECT_EQ(zeros, column(metrics, 2));
    // Behind such a node even a node that has an edge gets nothing from the triangle.
    const mesh skipped{m.pos, cells({{0, 2, 1}, {0, 1, 2}, {3, 4, 0}})};
    dense2D<double> other(6, 5, 0.0);
    ASSERT_EQ(0, metrics_gen_aniso3d(skipped.pos, skipped.connect, 0, other));
    EXPECT_EQ(zeros, column(other, 1));
    EXPECT_GT(other(0, 0), 0) << "through another triangle";
}

TEST(MetricsGen, EdgesThatAreNotFiniteDoNotCountAndDoNotSpread) {
    for (const double bad : {nan, infinity}) {
        mesh m{points({{0, 0, 0}, {1, 0, 0}, {0, 0, bad}, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}}),
               cells({{2, 0, 1}, {3, 4, 5}})};
        dense2D<double> metrics;
        ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0.1, metrics));
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_EQ(zeros, column(metrics, j)) << "node 2 has no edge and ends the triangle";
        const double t = 4 / ((1 + std::sqrt(2.0)) * (1 + std::sqrt(2.0)));
        expect_column_near({1, 0, 1, 0, 0, 100}, metrics, 3);
        expect_column_near({t, 0, t, 0, 0, 100}, metrics, 4);
    }
}

TEST(MetricsGen, ATensorThatCannotBeMergedStays) {
    const mesh m = grid_T3(1, 1, 3);
    dense2D<double> metrics(6, 4, nan);
    ASSERT_EQ(0, metrics_gen_aniso3d(m.pos, m.connect, 0.1, metrics));
    for (const double x : metrics) EXPECT_TRUE(std::isnan(x));
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(MetricsGen, ExhaustedMemoryIsReportedAndNothingChanges) {
    const mesh m = bumpy(3);
    fail_each_allocation([&](std::size_t k) {
        dense2D<double> metrics(6, 2, 0.0);
        const auto before = snapshot(metrics);
        arm_allocator(k);
        if (metrics_gen_aniso3d(m.pos, m.connect, 0.1, metrics) == -199) {
            EXPECT_EQ(before, snapshot(metrics));
        } else {
            EXPECT_EQ(16U, metrics.cols);
        }
    });
}

} // namespace
