// SPDX-License-Identifier: Apache-2.0
#include "metrics/metric_reduction.h"
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel.h"

namespace {

using namespace zel_test;
using zel::tessel::minimum_metric;
using tensor = zel::symmetric_fixed<double, 3>;

const tensor zero{{0, 0, 0, 0, 0, 0}};
const tensor unit{{1, 0, 1, 0, 0, 1}};

tensor diagonal(double x, double y, double z) {
    return {{x, 0, y, 0, 0, z}};
}

/// R' diag(mu) R for the rows of any matrix R.
tensor from_rows(const double (&rows)[3][3], const double (&mu)[3]) {
    tensor m = zero;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j <= i; ++j)
            for (std::size_t k = 0; k < 3; ++k) m(j, i) += mu[k] * rows[k][i] * rows[k][j];
    return m;
}

double form(const tensor& m, const double* e) {
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) sum += e[i] * m(i, j) * e[j];
    return sum;
}

double largest(const tensor& m) {
    double most = 0;
    for (const double x : m) most = std::max(most, std::fabs(x));
    return most;
}

void expect_near(const tensor& expected, const tensor& m, double relative) {
    for (std::size_t k = 0; k < 6; ++k)
        EXPECT_NEAR(expected[k], m[k], relative * largest(expected)) << "entry " << k;
}

TEST(MinimumMetric, TakesTheLargerEigenvalueInEachCommonDirection) {
    tensor result;
    ASSERT_TRUE(minimum_metric(diagonal(1, 4, 9), diagonal(16, 2, 9), result));
    expect_near(diagonal(16, 4, 9), result, 1e-15);
}

TEST(MinimumMetric, EqualTensorsStay) {
    const tensor m{{4, 1, 3, 0.5, -0.25, 2}};
    tensor result;
    ASSERT_TRUE(minimum_metric(m, m, result));
    expect_near(m, result, 1e-14);
}

TEST(MinimumMetric, AZeroTensorAsksForNothing) {
    const tensor m{{4, 1, 3, 0.5, -0.25, 2}};
    tensor result;
    ASSERT_TRUE(minimum_metric(m, zero, result));
    EXPECT_TRUE(std::equal(m.begin(), m.end(), result.begin()));
    result = unit;
    ASSERT_TRUE(minimum_metric(zero, m, result));
    EXPECT_TRUE(std::equal(m.begin(), m.end(), result.begin()));
    const tensor indefinite = diagonal(1, -1, 0);
    ASSERT_TRUE(minimum_metric(zero, indefinite, result));
    EXPECT_TRUE(std::equal(indefinite.begin(), indefinite.end(), result.begin())) << "as it stands";
}

TEST(MinimumMetric, TwoZeroTensorsGiveZero) {
    tensor result = unit;
    ASSERT_TRUE(minimum_metric(zero, diagonal(-0.0, 0, -0.0), result));
    for (const double x : result) EXPECT_EQ(0.0, x);
}

TEST(MinimumMetric, TheResultMayBeAnArgument) {
    tensor a = diagonal(1, 4, 9);
    const tensor b = diagonal(16, 2, 9);
    ASSERT_TRUE(minimum_metric(b, a, a));
    expect_near(diagonal(16, 4, 9), a, 1e-15);
}

TEST(MinimumMetric, OneTensorMayBeSemidefinite) {
    tensor result;
    for (const bool swapped : {false, true}) {
        const tensor flat = diagonal(0, 5, 0);
        ASSERT_TRUE(swapped ? minimum_metric(flat, unit, result)
                            : minimum_metric(unit, flat, result));
        expect_near(diagonal(1, 5, 1), result, 1e-15);
    }
}

TEST(MinimumMetric, WithoutADefiniteTensorThereIsNoResult) {
    const tensor mark = diagonal(7, 8, 9);
    for (const auto& pair : {std::make_pair(diagonal(1, 0, 0), diagonal(0, 1, 1)),
                             std::make_pair(diagonal(-1, 1, 1), diagonal(1, -1, 1)),
                             std::make_pair(diagonal(1, 1, zel_test::nan), unit),
                             std::make_pair(unit, diagonal(infinity, 1, 1))}) {
        for (const bool swapped : {false, true}) {
            tensor result = mark;
            EXPECT_FALSE(swapped ? minimum_metric(pair.second, pair.first, result)
                                 : minimum_metric(pair.first, pair.second, result));
            EXPECT_TRUE(std::equal(mark.begin(), mark.end(), result.begin())) << "untouched";
        }
    }
}

TEST(MinimumMetric, AnIndefiniteTensorLeavesTheDefiniteOne) {
    tensor result;
    ASSERT_TRUE(minimum_metric(diagonal(-3, -1, 2), unit, result));
    expect_near(diagonal(1, 1, 2), result, 1e-15);
}

TEST(MinimumMetric, TensorsOfAnySizeAreCombined) {
    for (const double scale : {1e-300, 1e-200, 1e-30, 1e30, 1e200, 1e300}) {
        tensor result;
        ASSERT_TRUE(minimum_metric(diagonal(scale, 4 * scale, 9 * scale),
                                   diagonal(16 * scale, 2 * scale, 9 * scale), result));
        expect_near(diagonal(16 * scale, 4 * scale, 9 * scale), result, 1e-15);
        ASSERT_TRUE(minimum_metric(diagonal(scale, scale, scale), unit, result));
        expect_near(scale > 1 ? diagonal(scale, scale, scale) : unit, result, 1e-15);
    }
}

TEST(MinimumMetric, CommonDirectionsAreRecovered) {
    // Tensors made from one oblique basis: the result is known.
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        double rows[3][3];
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < 3; ++i)
                rows[k][i] = (k == i ? 2.5 : 0) + random.between(-1, 1);
        double p[3], q[3], most[3];
        for (int k = 0; k < 3; ++k) {
            p[k] = std::exp(random.between(-4, 4));
            q[k] = std::exp(random.between(-4, 4));
            most[k] = std::max(p[k], q[k]);
        }
        tensor result, swapped;
        ASSERT_TRUE(minimum_metric(from_rows(rows, p), from_rows(rows, q), result));
        ASSERT_TRUE(minimum_metric(from_rows(rows, q), from_rows(rows, p), swapped));
        expect_near(from_rows(rows, most), result, 1e-10);
        expect_near(result, swapped, 1e-11);
    }
}

TEST(MinimumMetric, InEachDirectionTheResultAsksForNoMoreThanTheTensors) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        double r[3][3], s[3][3];
        double mu[3] = {1, 1, 1};
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < 3; ++i) {
                r[k][i] = random.between(-1, 1);
                s[k][i] = random.between(-1, 1);
            }
        const tensor a = from_rows(r, mu);
        const tensor b = from_rows(s, mu);
        tensor result;
        if (!minimum_metric(a, b, result)) continue;
        for (int k = 0; k < 50; ++k) {
            const double e[3] = {random.between(-1, 1), random.between(-1, 1),
                                 random.between(-1, 1)};
            const double slack = 1e-9 * largest(result);
            EXPECT_GE(form(result, e), form(a, e) - slack);
            EXPECT_GE(form(result, e), form(b, e) - slack);
        }
    }
}

TEST(MetricReduction, DiagonalisesBothTensors) {
    const tensor a{{4, 1, 3, 0.5, -0.25, 2}};
    const tensor b{{1, 0.5, 7, -1, 0.25, 5}};
    zel::tessel2d::metric_reduction3 r;
    ASSERT_TRUE(zel::tessel2d::metric_reduction_3d(a, b, r));
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(1, std::hypot(r.basis[k][0], r.basis[k][1], r.basis[k][2]), 1e-15);
        EXPECT_NEAR(form(a, r.basis[k]), r.d0[k], 1e-14);
        EXPECT_NEAR(form(b, r.basis[k]), r.d1[k], 1e-13);
        for (std::size_t l = 0; l < 3; ++l) {
            double product = 0;
            for (std::size_t i = 0; i < 3; ++i) product += r.inverse[k][i] * r.basis[l][i];
            EXPECT_NEAR(k == l ? 1 : 0, product, 1e-14);
        }
    }
    const tensor again = zel::tessel2d::from_basis(r, r.d1);
    expect_near(b, again, 1e-13);
}

TEST(MetricReduction, FailsWhenTheFirstTensorIsNotDefinite) {
    zel::tessel2d::metric_reduction3 r;
    for (const tensor& a :
         {diagonal(0, 1, 1), diagonal(1, 0, 1), diagonal(1, 1, 0), diagonal(-1, 1, 1),
          diagonal(1, 1, -1), zero, tensor{{1, 2, 1, 0, 0, 1}}})
        EXPECT_FALSE(zel::tessel2d::metric_reduction_3d(a, unit, r));
}

TEST(MinimumMetric, ATensorWithTwoNegativeEigenvaluesIsNeverTheStart) {
    const tensor saddle = diagonal(-1, -1, 5); // its determinant is positive
    for (const bool turned : {false, true}) {
        tensor m = zero;
        ASSERT_TRUE(turned ? minimum_metric(unit, saddle, m) : minimum_metric(saddle, unit, m));
        expect_near(diagonal(1, 1, 5), m, 1e-15);
    }
    tensor m = unit;
    EXPECT_FALSE(minimum_metric(saddle, diagonal(5, -1, -1), m));
    EXPECT_EQ(unit[0], m[0]);
    EXPECT_EQ(unit[5], m[5]);
}

} // namespace
