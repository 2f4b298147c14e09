// SPDX-License-Identifier: Apache-2.0
#include "metrics/blend.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "support/tensors.h"

#include <cmath>
#include <limits>

namespace {

using namespace zel_test;
using zel::tessel2d::blend;
using zel::tessel2d::eigen_2x2;
using zel::tessel2d::eigenvalues_2x2;
using zel::tessel2d::metric_reduction;
using zel::tessel2d::reduce_metrics;
using zel::tessel2d::tensor2;
using zel::tessel2d::tensor3;
constexpr double nan = zel_test::nan; // of two by that name
constexpr double most = std::numeric_limits<double>::max();

/// Cases for both orders.
template <class Order>
struct BlendOf : testing::Test {};
using orders =
    testing::Types<std::integral_constant<std::size_t, 2>, std::integral_constant<std::size_t, 3>>;
TYPED_TEST_SUITE(BlendOf, orders);

template <std::size_t N>
numbers<N> random_sizes(random_numbers& random, double decades) {
    numbers<N> h{};
    for (double& x : h) x = std::pow(10.0, random.between(-decades, decades));
    return h;
}
template <std::size_t N>
zel::vector_fixed<long double, N> sizes_between(const numbers<N>& p, const numbers<N>& q,
                                                double t) {
    zel::vector_fixed<long double, N> h{};
    for (std::size_t k = 0; k < N; ++k) h[k] = (static_cast<long double>(q[k]) - p[k]) * t + p[k];
    return h;
}

// --------------------------------------------------------------------------------------- normal use

TEST(Blend, HalfWayBetweenTheUnitAndFourTimesItTheSizeIsThreeQuarters) {
    tensor2 m;
    ASSERT_TRUE(blend<2>({{1, 0, 1}}, {{4, 0, 4}}, 0.5, m));
    EXPECT_EQ(point(1 / 0.5625, 0, 1 / 0.5625), entries(m));
    tensor3 s;
    ASSERT_TRUE(blend<3>({{1, 0, 1, 0, 0, 1}}, {{4, 0, 4, 0, 0, 4}}, 0.5, s));
    expect_tensor_near<3>({1 / 0.5625L, 0, 1 / 0.5625L, 0, 0, 1 / 0.5625L}, s, 4e-16);
}

TYPED_TEST(BlendOf, DiagonalTensorsHaveTheirSizesInterpolatedAxisByAxis) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(1);
    // Each tensor has eigenvalues up to 100 apart, in the basis of the other up to 10^4, and the smaller
    // eigenvalue of order 2 comes from a difference: a few parts in 10^12.
    for (int round = 0; round < 500; ++round) {
        const auto p = random_sizes<n>(random, 0.5);
        const auto q = random_sizes<n>(random, 0.5);
        const double t = random.unit();
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(upright_tensor<n>(p), upright_tensor<n>(q), t, m));
        const auto h = sizes_between<n>(p, q, t);
        expect_tensor_near<n>(exact_size_tensor<n>(upright<n>(), h), m, 1e-11);
    }
}

TYPED_TEST(BlendOf, TurnedTensorsWithTheSameAxesKeepThem) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(2);
    for (int round = 0; round < 500; ++round) {
        const auto axes = random_rotation<n>(random);
        const auto p = random_sizes<n>(random, 0.5);
        const auto q = random_sizes<n>(random, 0.5);
        const double t = random.unit();
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(size_tensor<n>(axes, p), size_tensor<n>(axes, q), t, m));
        expect_tensor_near<n>(exact_size_tensor<n>(axes, sizes_between<n>(p, q, t)), m, 1e-11);
    }
}

TYPED_TEST(BlendOf, DeformingSpaceAndBlendingMayBeSwapped) {
    // Any two tensors are C' D C and C' F C with diagonal D and F: what is between them is C' G C, where
    // G has the sizes between those of D and F.
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(3);
    for (int round = 0; round < 500; ++round) {
        auto deformed = random_rotation<n>(random);
        for (auto& row : deformed)
            for (long double& x : row) x += random.between(-0.2, 0.2);
        const auto p = random_sizes<n>(random, 0.5);
        const auto q = random_sizes<n>(random, 0.5);
        const double t = random.unit();
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(size_tensor<n>(deformed, p), size_tensor<n>(deformed, q), t, m));
        expect_tensor_near<n>(exact_size_tensor<n>(deformed, sizes_between<n>(p, q, t)), m, 1e-11);
    }
}

TYPED_TEST(BlendOf, EqualTensorsStay) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(4);
    for (int round = 0; round < 200; ++round) {
        const auto a = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 1));
        zel::vector_fixed<long double, n*(n + 1) / 2> same{};
        for (std::size_t at = 0; at < n * (n + 1) / 2; ++at) same[at] = a[at];
        for (const double t : {0.25, 0.5, 1e-3, 1 - 1e-9, -3.0, 7.0}) {
            zel::symmetric_fixed<double, n> m;
            ASSERT_TRUE(blend<n>(a, a, t, m));
            expect_tensor_near<n>(same, m, 1e-11);
        }
    }
}

TYPED_TEST(BlendOf, EqualMultiplesOfTheIdentityStay) {
    constexpr std::size_t n = TypeParam::value;
    for (const double h : {1.0, 0.125, 3.7, 1e-8, 1e8}) {
        numbers<n> sizes{};
        for (double& x : sizes) x = h;
        const auto a = upright_tensor<n>(sizes);
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(a, a, 0.375, m));
        expect_tensor_near<n>(exact_size_tensor<n>(upright<n>(), extended<n>(sizes)), m, 2e-15);
    }
}

TYPED_TEST(BlendOf, SizesFromMinusEightToEightDecadesAreInterpolated) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(5);
    for (int round = 0; round < 300; ++round) {
        numbers<n> p{}, q{};
        for (std::size_t k = 0; k < n; ++k) {
            p[k] = random.below(2) ? 1e-8 : 1e8;
            q[k] = random.below(2) ? 1e-8 : 1e8;
        }
        const double t = random.unit();
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(upright_tensor<n>(p), upright_tensor<n>(q), t, m));
        const auto h = sizes_between<n>(p, q, t);
        for (std::size_t k = 0; k < n; ++k) { // each eigenvalue on its own, not beside the largest
            const auto mu = static_cast<double>(1 / (h[k] * h[k]));
            EXPECT_NEAR(mu, m(k, k), 1e-12 * mu) << "axis " << k;
        }
    }
}

TYPED_TEST(BlendOf, SizesOfAnyScaleBlendAlike) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(6);
    const auto axes = random_rotation<n>(random);
    for (const double scale : {1e-8, 1e-4, 1.0, 1e4, 1e8}) {
        auto p = random_sizes<n>(random, 0.5);
        auto q = random_sizes<n>(random, 0.5);
        for (double& x : p) x *= scale;
        for (double& x : q) x *= scale;
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(size_tensor<n>(axes, p), size_tensor<n>(axes, q), 0.3, m)) << scale;
        expect_tensor_near<n>(exact_size_tensor<n>(axes, sizes_between<n>(p, q, 0.3)), m, 1e-12);
    }
}

TYPED_TEST(BlendOf, TheResultMayBeAnArgument) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(7);
    const auto a = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
    const auto b = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
    for (const double t : {0.0, 0.4, 1.0}) {
        zel::symmetric_fixed<double, n> m, into_a = a, into_b = b;
        ASSERT_TRUE(blend<n>(a, b, t, m));
        ASSERT_TRUE(blend<n>(into_a, b, t, into_a));
        ASSERT_TRUE(blend<n>(a, into_b, t, into_b));
        EXPECT_EQ(entries(m), entries(into_a));
        EXPECT_EQ(entries(m), entries(into_b));
    }
}

TYPED_TEST(BlendOf, SwappedEndsGiveTheSameTensor) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(8);
    for (int round = 0; round < 200; ++round) {
        const auto a = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
        const auto b = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
        zel::symmetric_fixed<double, n> m, back;
        ASSERT_TRUE(blend<n>(a, b, 0.25, m));
        ASSERT_TRUE(blend<n>(b, a, 0.75, back));
        zel::vector_fixed<long double, n*(n + 1) / 2> expected{};
        for (std::size_t at = 0; at < n * (n + 1) / 2; ++at) expected[at] = back[at];
        expect_tensor_near<n>(expected, m, 1e-12);
    }
}

TYPED_TEST(BlendOf, NothingIsAllocated) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(9);
    const auto a = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
    const auto b = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
    const std::size_t before = allocation_count();
    zel::symmetric_fixed<double, n> m;
    ASSERT_TRUE(blend<n>(a, b, 0.3, m));
    EXPECT_EQ(before, allocation_count());
}

// --------------------------------------------------------------------------------------------- ends

TYPED_TEST(BlendOf, TheEndsAreTakenAsTheyStandUpToOnePartInTenToTheTwelve) {
    constexpr std::size_t n = TypeParam::value;
    zel::symmetric_fixed<double, n> a{}, b{}; // no metrics at all
    a[0] = -3;
    b[0] = infinity;
    b[1] = -7;
    for (const double t : {0.0, -0.0, 9.99e-13, -9.99e-13, std::nextafter(1e-12, 0.0), nan}) {
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(a, b, t, m)) << t;
        EXPECT_EQ(snapshot(list(entries(a))), snapshot(list(entries(m)))) << t;
    }
    for (const double t : {1.0, 1 - 9.99e-13, 1 + 9.99e-13}) {
        zel::symmetric_fixed<double, n> m;
        ASSERT_TRUE(blend<n>(a, b, t, m)) << t;
        EXPECT_EQ(snapshot(list(entries(b))), snapshot(list(entries(m)))) << t;
    }
    for (const double t : {1e-12, -1e-12, 1 - 1.01e-12, 1 + 1.01e-12, 0.5, infinity, -infinity}) {
        zel::symmetric_fixed<double, n> m = b;
        EXPECT_FALSE(blend<n>(a, b, t, m)) << t;
        EXPECT_EQ(std::vector<double>(n * (n + 1) / 2, 0.0), entries(m)) << t;
    }
}

// ----------------------------------------------------------------------------------- no blend at all

TYPED_TEST(BlendOf, ATensorThatIsNotPositiveDefiniteFails) {
    constexpr std::size_t n = TypeParam::value;
    numbers<n> ones{};
    for (double& x : ones) x = 1;
    const auto unit = upright_tensor<n>(ones);
    std::vector<zel::symmetric_fixed<double, n>> bad;
    for (std::size_t k = 0; k < n; ++k)
        for (const double mu : {0.0, -1.0, -1e-8, infinity, -infinity, nan}) {
            auto m = unit;
            m(k, k) = mu;
            bad.push_back(m);
        }
    for (std::size_t k = 1; k < n; ++k) {
        auto m = unit;
        m(0, k) = 1; // semidefinite
        bad.push_back(m);
        m(0, k) = 2;
        bad.push_back(m);
        m(0, k) = nan;
        bad.push_back(m);
    }
    bad.push_back({});
    for (const auto& m : bad)
        for (const bool first : {true, false}) {
            zel::symmetric_fixed<double, n> result = unit;
            EXPECT_FALSE(first ? blend<n>(m, unit, 0.5, result) : blend<n>(unit, m, 0.5, result))
                << testing::PrintToString(entries(m)) << (first ? " first" : " second");
            EXPECT_EQ(std::vector<double>(n * (n + 1) / 2, 0.0), entries(result));
        }
}

TYPED_TEST(BlendOf, BeyondTheEndsSizesMustStayPositive) {
    constexpr std::size_t n = TypeParam::value;
    numbers<n> ones{}, twos{};
    for (double& x : ones) x = 1;
    for (double& x : twos) x = 2;
    const auto a = upright_tensor<n>(ones);
    const auto b = upright_tensor<n>(twos);
    zel::symmetric_fixed<double, n> m;
    ASSERT_TRUE(blend<n>(a, b, -0.5, m)); // size 0.5
    EXPECT_NEAR(4, m[0], 1e-14);
    ASSERT_TRUE(blend<n>(a, b, 3, m)); // size 4
    EXPECT_NEAR(0.0625, m[0], 1e-16);
    for (const double t : {-1.0, -1.5, -infinity, infinity}) {
        m = a;
        EXPECT_FALSE(blend<n>(a, b, t, m)) << t;
        EXPECT_EQ(std::vector<double>(n * (n + 1) / 2, 0.0), entries(m));
    }
    twos[n - 1] = 0.5; // one axis shrinks, the others grow
    EXPECT_TRUE(blend<n>(a, upright_tensor<n>(twos), 1.75, m));
    EXPECT_FALSE(blend<n>(a, upright_tensor<n>(twos), 2.0, m));
}

TEST(Blend, FromATensorWithNegativeEigenvaluesThereIsNone) {
    tensor2 m{{7, 7, 7}};
    EXPECT_FALSE(blend<2>({{-1, 0, -1}}, {{1, 0, 1}}, 0.5, m));
    EXPECT_EQ(point(0, 0, 0), entries(m));
}

TEST(Blend, SizesTooSmallOrTooLargeToBeSquaredTakeTheExtremeEigenvalues) {
    using zel::tessel2d::size_eigenvalue;
    constexpr double least = 1.4916681462400413e-154;
    constexpr double largest = 1.3407807929942596e154;
    EXPECT_EQ(most, size_eigenvalue(std::nextafter(least, 0)));
    EXPECT_EQ(most, size_eigenvalue(1e-300));
    EXPECT_EQ(1 / (least * least), size_eigenvalue(least));
    EXPECT_EQ(1 / (largest * largest), size_eigenvalue(largest));
    EXPECT_EQ(0, size_eigenvalue(std::nextafter(largest, infinity)));
    EXPECT_EQ(0, size_eigenvalue(1e300));
    EXPECT_EQ(0.0625, size_eigenvalue(4));
    EXPECT_TRUE(std::isfinite(size_eigenvalue(least)) && size_eigenvalue(largest) > 0);
    // Beyond the ends both bounds are within reach of tensors that are in order.
    tensor2 m;
    ASSERT_TRUE(blend<2>({{1, 0, 1}}, {{1, 0, 0.25}}, 1e160, m));
    EXPECT_EQ(point(1, 0, 0), entries(m));
    tensor3 s;
    ASSERT_TRUE(blend<3>({{1, 0, 1, 0, 0, 1}}, {{1, 0, 1, 0, 0, 0.25}}, 1e160, s));
    EXPECT_EQ(point(1, 0, 1, 0, 0, 0), entries(s));
}

// ----------------------------------------------------------------------------------------- reductions

TYPED_TEST(BlendOf, TheReductionMakesBothTensorsDiagonal) {
    constexpr std::size_t n = TypeParam::value;
    random_numbers random(10);
    for (int round = 0; round < 300; ++round) {
        const auto a = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
        const auto b = size_tensor<n>(random_rotation<n>(random), random_sizes<n>(random, 0.5));
        metric_reduction<n> r;
        ASSERT_TRUE(reduce_metrics(a, b, r));
        const auto form = [&r](const zel::symmetric_fixed<double, n>& m, std::size_t k,
                               std::size_t l) {
            long double sum = 0;
            for (std::size_t i = 0; i < n; ++i)
                for (std::size_t j = 0; j < n; ++j)
                    sum += static_cast<long double>(r.basis[k][i]) * m(i, j) * r.basis[l][j];
            return static_cast<double>(sum);
        };
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t l = 0; l < n; ++l) {
                EXPECT_NEAR(k == l ? r.d0[k] : 0.0, form(a, k, l), 1e-12);
                EXPECT_NEAR(k == l ? r.d1[k] : 0.0, form(b, k, l), 1e-12);
                double product = 0;
                for (std::size_t i = 0; i < n; ++i) product += r.inverse[k][i] * r.basis[l][i];
                EXPECT_NEAR(k == l ? 1.0 : 0.0, product, 1e-12);
            }
    }
}

TYPED_TEST(BlendOf, MultiplesOfTheIdentityAreReducedInTheAxes) {
    constexpr std::size_t n = TypeParam::value;
    numbers<n> ones{}, threes{};
    for (double& x : ones) x = 1;
    for (double& x : threes) x = 3;
    metric_reduction<n> r;
    ASSERT_TRUE(reduce_metrics(upright_tensor<n>(ones), upright_tensor<n>(threes), r));
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(i == k ? 1.0 : 0.0, std::abs(r.basis[k][i]));
    if (n == 2) {
        EXPECT_EQ(1.0, r.basis[0][0]);
        EXPECT_EQ(1.0, r.basis[1][1]);
    }
}

TEST(Reduction, ATensorWithAVanishingRowFails) {
    metric_reduction<3> r;
    EXPECT_FALSE(reduce_metrics(tensor3{{0, 0, 1, 0, 0, 1}}, {{1, 0, 1, 0, 0, 1}}, r));
    EXPECT_FALSE(reduce_metrics(tensor3{{1, 0, 0, 0, 0, 1}}, {{1, 0, 1, 0, 0, 1}}, r));
    metric_reduction<2> p;
    EXPECT_FALSE(reduce_metrics(tensor2{{0, 0, 1}}, {{1, 0, 1}}, p));
    EXPECT_FALSE(reduce_metrics(tensor2{{1, 0, 0}}, {{1, 0, 1}}, p));
}

TEST(Reduction, ABasisOfParallelVectorsFails) {
    // The first entry is the smallest number there is: it vanishes from both vectors of the basis.
    const tensor2 needle{{5e-324, 1e-8, 1e308}};
    metric_reduction<2> r;
    EXPECT_FALSE(reduce_metrics(needle, {{1, 0.5, 3}}, r));
    EXPECT_TRUE(reduce_metrics(tensor2{{1e-150, 1e-8, 1e150}}, {{1, 0.5, 3}}, r));
}

TEST(Eigen2x2, ValuesOfTensorsWhoseSmallerOneIsLostInTheSum) {
    double lo = 0, hi = 0;
    ASSERT_TRUE(eigenvalues_2x2(2, 0, 5, lo, hi));
    EXPECT_EQ(2, lo);
    EXPECT_EQ(5, hi);
    ASSERT_TRUE(eigenvalues_2x2(1e20, 0, 3, lo, hi));
    EXPECT_EQ(3, lo) << "from the determinant";
    EXPECT_EQ(1e20, hi);
    ASSERT_TRUE(eigenvalues_2x2(-1e20, 0, 3, lo, hi));
    EXPECT_EQ(-1e20, lo);
    EXPECT_EQ(3, hi);
    ASSERT_TRUE(eigenvalues_2x2(1, 1, 1, lo, hi));
    EXPECT_EQ(0, lo);
    EXPECT_EQ(2, hi);
    for (const double bad : {nan, infinity, 1e200}) {
        EXPECT_FALSE(eigenvalues_2x2(bad, 0, 1, lo, hi)) << bad;
        EXPECT_FALSE(eigenvalues_2x2(1, bad, 1, lo, hi)) << bad;
    }
}

TEST(Eigen2x2, VectorsBelongToTheirValues) {
    random_numbers random(11);
    for (int round = 0; round < 1000; ++round) {
        const tensor2 m{{random.between(-1, 1), random.between(-1, 1), random.between(-1, 1)}};
        double values[2], vectors[2][2];
        ASSERT_TRUE(eigen_2x2(m, true, values, vectors));
        EXPECT_LE(values[0], values[1]);
        EXPECT_EQ(-vectors[0][1], vectors[1][0]);
        EXPECT_EQ(vectors[0][0], vectors[1][1]);
        for (int k = 0; k < 2; ++k) {
            const double* const v = vectors[k];
            EXPECT_NEAR(1, std::hypot(v[0], v[1]), 1e-15);
            EXPECT_NEAR(values[k] * v[0], m[0] * v[0] + m[1] * v[1], 1e-13);
            EXPECT_NEAR(values[k] * v[1], m[1] * v[0] + m[2] * v[1], 1e-13);
        }
    }
}

TEST(Eigen2x2, MultiplesOfTheIdentityHaveTheAxes) {
    for (const double x : {1.0, -2.0, 1e-100, 0.0}) {
        double values[2], vectors[2][2];
        ASSERT_TRUE(eigen_2x2({{x, 0, x}}, false, values, vectors));
        EXPECT_EQ(x, values[0]);
        EXPECT_EQ(x, values[1]);
        EXPECT_EQ(1, vectors[0][0]);
        EXPECT_EQ(0, vectors[0][1]);
    }
}

TEST(ReduceMetrics, TheCommonBasisHasUnitVectorsAlsoWhereTheirSquareIsTwo) {
    metric_reduction<2> r;
    ASSERT_TRUE(reduce_metrics(tensor2{{1, 0, 1}}, tensor2{{2, 1, 2}}, r));
    const double half = std::sqrt(0.5);
    for (std::size_t k = 0; k < 2; ++k) {
        EXPECT_NEAR(half, std::abs(r.basis[k][0]), 1e-15);
        EXPECT_NEAR(half, std::abs(r.basis[k][1]), 1e-15);
        EXPECT_NEAR(1, r.d0[k], 1e-15);
    }
    EXPECT_NEAR(1, std::min(r.d1[0], r.d1[1]), 1e-15);
    EXPECT_NEAR(3, std::max(r.d1[0], r.d1[1]), 1e-15);
}

} // namespace
