// SPDX-License-Identifier: Apache-2.0
// Number and spacing of layers.
#include "extrusion/sweep.h"

#include "support/checks.h"
#include "support/meshes.h"

#include <cmath>

namespace {

using namespace zel_test;
using zel::tessel2d::layer_count;
using zel::tessel2d::layer_fractions;
using zel::tessel2d::metric_length_factor;
using zel::tessel2d::round_geometric;
using zel::tessel2d::size_progression;

constexpr double epsilon = std::numeric_limits<double>::epsilon();

std::uint64_t layers(double length, double h0, double h1, bool even = false) {
    std::uint64_t n = 0;
    EXPECT_TRUE(layer_count(length, h0, h1, even, n));
    return n;
}

// --------------------------------------------------------------------------- metric_length_factor

TEST(MetricLengthFactor, EqualSizesGiveTheirReciprocal) {
    for (const double h : {0.25, 1.0, 3.0, 1e-200, 1e200}) {
        EXPECT_EQ(1.0 / h, metric_length_factor(h, h));
        EXPECT_EQ(1.0 / h, metric_length_factor(h, h * (1 - 5e-13)));
        EXPECT_EQ(1.0 / h, metric_length_factor(h * (1 - 5e-13), h));
    }
}
TEST(MetricLengthFactor, IsSymmetric) {
    for (const double h : {0.3, 0.995, 1.0000001, 7.0})
        EXPECT_EQ(metric_length_factor(1.0, h), metric_length_factor(h, 1.0));
}
TEST(MetricLengthFactor, OneToTwoIsTheLogarithmOfTwo) {
    EXPECT_LE(ulps_apart(std::log(2.0), metric_length_factor(1, 2)), 1u);
}
// The closed form magnifies the rounding of (small - big)/big by big/small; the series is cut behind the
// fifth power, where the next term is below 0.01^6/7.
TEST(MetricLengthFactor, AgreesWithTheIntegralInHigherPrecision) {
    random_numbers random(3);
    for (int i = 0; i < 20000; ++i) {
        const double h0 = std::exp(random.between(-6, 6));
        const double spread = std::pow(10.0, random.between(-14, 1.5));
        const double h1 = h0 * (1 + spread);
        const long double x = (static_cast<long double>(h0) - h1) / h1;
        const auto exact = static_cast<double>(std::log1p(x) / x / h1);
        const double series = -x < 0.01L ? 1.5e-13 : 0;
        const double equal = -x < 1.1e-12L ? 1e-12 : 0;
        EXPECT_NEAR(exact, metric_length_factor(h0, h1),
                    exact * (series + equal + epsilon * (4 + h1 / h0)))
            << h0 << " " << h1;
    }
}

TEST(MetricLengthFactor, RatiosBeyondThePrecisionOfDoubleAreInfinite) {
    // 1 - 2^-53 is the last number below 1: (small - big)/big is -1 from 2^-54 on.
    const double last = 53 * std::log(2.0) / (1 - 0x1p-53);
    EXPECT_LE(ulps_apart(last, metric_length_factor(1, 0x1p-53)), 2u);
    EXPECT_LE(ulps_apart(last, metric_length_factor(0x1p-53, 1)), 2u);
    for (const double small : {0x1p-54, 1e-20, 1e-300, 5e-324}) {
        EXPECT_EQ(infinity, metric_length_factor(1, small));
        EXPECT_EQ(infinity, metric_length_factor(small, 1));
    }
    EXPECT_EQ(infinity, metric_length_factor(1e300, 1e-300));
}
TEST(MetricLengthFactor, TheLargestAndTheSmallestSizesHaveTheirReciprocals) {
    const double most = std::numeric_limits<double>::max();
    EXPECT_EQ(1 / most, metric_length_factor(most, most));
    EXPECT_EQ(infinity, metric_length_factor(5e-324, 5e-324)); // 2^1074 is no double
    EXPECT_EQ(0x1p1022, metric_length_factor(0x1p-1022, 0x1p-1022));
    EXPECT_EQ(0.0, metric_length_factor(infinity, infinity));
}

// -------------------------------------------------------------------------------- round_geometric

TEST(RoundGeometric, CutsAtTheGeometricMean) {
    EXPECT_EQ(1u, round_geometric(1.41, 1));
    EXPECT_EQ(2u, round_geometric(1.42, 1));
    EXPECT_EQ(2u, round_geometric(2.8, 2));
    EXPECT_EQ(4u, round_geometric(3.0, 2));
    EXPECT_EQ(7u, round_geometric(6.93, 1));
    EXPECT_EQ(6u, round_geometric(6.48, 1)); // 6.48^2 < 42 <= 6.49^2
    EXPECT_EQ(7u, round_geometric(6.49, 1));
}
TEST(RoundGeometric, GivesAtLeastOneMultiple) {
    for (const double x : {0.0, 1e-300, 0.3, 0.999}) EXPECT_EQ(1u, round_geometric(x, 1));
    for (const double x : {0.0, 0.3, 1.0, 1.999}) EXPECT_EQ(2u, round_geometric(x, 2));
}
TEST(RoundGeometric, MultiplesStayAndTheLargestCountsAreExact) {
    for (const double x : {1.0, 2.0, 1000.0, 4294967295.0})
        EXPECT_EQ(static_cast<std::uint64_t>(x), round_geometric(x, 1));
    EXPECT_EQ(4294967294u, round_geometric(4294967294.0, 2));
    EXPECT_EQ(4294967296u, round_geometric(4294967295.5, 2));
}

TEST(RoundGeometric, DecidesByTheSquareAsItIsRounded) {
    // The last number of which the square is rounded to below 42, and the next one.
    EXPECT_EQ(6u, round_geometric(0x1.9ec474a261263p+2, 1));
    EXPECT_EQ(7u, round_geometric(0x1.9ec474a261264p+2, 1));
    EXPECT_EQ(1u, round_geometric(0x1.6a09e667f3bccp+0, 1));
    EXPECT_EQ(2u, round_geometric(0x1.6a09e667f3bcdp+0, 1));
    EXPECT_EQ(2u, round_geometric(0x1.6a09e667f3bccp+1, 2)); // 8
    EXPECT_EQ(4u, round_geometric(0x1.6a09e667f3bcdp+1, 2));
    EXPECT_EQ(4u, round_geometric(0x1.3988e1409212ep+2, 2)); // 24
    EXPECT_EQ(6u, round_geometric(0x1.3988e1409212fp+2, 2));
}
TEST(RoundGeometric, BelowTwoToThe32TheLargestCountsMayReachIt) {
    const std::uint64_t all = std::uint64_t{1} << 32;
    EXPECT_EQ(all - 1, round_geometric(0x1p32 - 0.75, 1));
    EXPECT_EQ(all, round_geometric(0x1p32 - 0.25, 1));
    EXPECT_EQ(all - 2, round_geometric(0x1p32 - 1.5, 2));
    EXPECT_EQ(all, round_geometric(0x1p32 - 0.75, 2));
}

// ------------------------------------------------------------------------------------ layer_count

TEST(LayerCount, TenFromOneToTwoAreSeven) {
    EXPECT_EQ(7u, layers(10, 1, 2));
    EXPECT_EQ(7u, layers(10, 2, 1));
    EXPECT_EQ(8u, layers(10, 1, 2, true)); // 6.93 lies just above the mean of 6 and 8
}
TEST(LayerCount, ForceEvenGivesTwoAtLeast) {
    EXPECT_EQ(2u, layers(0.3, 1, 1, true));
    EXPECT_EQ(1u, layers(0.3, 1, 1));
    EXPECT_EQ(1u, layers(0, 1, 1));
}
TEST(LayerCount, RejectsValuesThatAreNotCounts) {
    std::uint64_t n = 77;
    EXPECT_FALSE(layer_count(zel_test::nan, 1, 1, false, n));
    EXPECT_FALSE(layer_count(infinity, 1, 1, false, n));
    EXPECT_FALSE(layer_count(4294967296.0, 1, 1, false, n));
    EXPECT_FALSE(layer_count(infinity, infinity, 1, false, n)); // 0 times infinity
    EXPECT_FALSE(layer_count(1, 4e-324, 4e-324, false, n));
    EXPECT_EQ(77u, n);
    EXPECT_TRUE(layer_count(4294967295.0, 1, 1, false, n));
    EXPECT_EQ(4294967295u, n);
}

// ------------------------------------------------------------------------------- size_progression

TEST(SizeProgression, IsTheIdentityForEqualSizes) {
    for (const double t : {0.0, 0.1, 0.5, 1.0, 1.5, -0.5}) {
        EXPECT_EQ(t, size_progression(t, 3, 3));
        EXPECT_EQ(t, size_progression(t, infinity, infinity));
    }
    for (const double t : {0.125, 0.5, 0.75}) {
        EXPECT_EQ(t, size_progression(t, 1, 1 - 5e-13));
        EXPECT_EQ(t, size_progression(t, 1 - 5e-13, 1));
    }
}
TEST(SizeProgression, KeepsBothEnds) {
    for (const double h1 : {0.1, 0.999, 1.001, 30.0}) {
        EXPECT_EQ(0.0, size_progression(0, 1, h1));
        EXPECT_EQ(1.0, size_progression(1, 1, h1));
    }
}
TEST(SizeProgression, StaysWithinZeroAndOne) {
    const double beyond = 1 + epsilon;
    for (const double h1 : {0.5, 0.995, 1.005, 2.0}) {
        EXPECT_LE(size_progression(beyond, 1, h1), 1.0);
        EXPECT_EQ(0.0, size_progression(-0.25, 1, h1));
    }
    EXPECT_EQ(0.0, size_progression(zel_test::nan, 1, 2));
    EXPECT_EQ(0.5, size_progression(0.5, zel_test::nan, 2)); // as for equal sizes
}
TEST(SizeProgression, AnInfiniteSizeLeavesUniformLayers) {
    EXPECT_EQ(0.25, size_progression(0.25, infinity, 1));
    EXPECT_EQ(0.25, size_progression(0.25, 1, infinity));
}
TEST(SizeProgression, FollowsTheRatioDownToTheResolutionOfDoubles) {
    // (R^t - 1)/(R - 1) with R = 2^-53 at one half, and with R = 2^53.
    const double root = std::sqrt(0x1p-53);
    EXPECT_NEAR((1 - root) / (1 - 0x1p-53), size_progression(0.5, 1, 0x1p-53), 2 * epsilon);
    EXPECT_NEAR(root, size_progression(0.5, 0x1p-53, 1), 2 * epsilon);
    for (const double t : {1e-3, 0.5, 0.999}) { // beyond, the smaller size counts as none
        EXPECT_EQ(1.0, size_progression(t, 1e300, 1e-300));
        EXPECT_EQ(0.0, size_progression(t, 1e-300, 1e300));
    }
}
TEST(SizeProgression, ADisappearingSizeGoesToItsEnd) {
    EXPECT_EQ(1.0, size_progression(0.5, 1, 1e-320));
    EXPECT_EQ(0.0, size_progression(0.5, 1e-320, 1));
}
// Closed form: rounding magnified by the ratio of the sizes. Series: cut behind the third power, the next
// term is at most 0.2*0.01^4.
TEST(SizeProgression, AgreesWithTheGeometricSumInHigherPrecision) {
    random_numbers random(4);
    for (int i = 0; i < 20000; ++i) {
        const double t = random.between(0.001, 0.999);
        const double ratio = 1 + std::pow(10.0, random.between(-13, 1.5));
        const double h1 = random.below(2) == 0 ? ratio : 1 / ratio;
        const long double log_ratio = std::log1p(static_cast<long double>(h1) - 1);
        const auto exact = static_cast<double>(std::expm1(log_ratio * t) / std::expm1(log_ratio));
        const double series = std::fabs(h1 - 1) < 0.0102 ? 2.1e-9 : 0;
        EXPECT_NEAR(exact, size_progression(t, 1, h1), series + epsilon * (4 + 4 * ratio))
            << t << " " << h1;
    }
}
TEST(SizeProgression, GrowsWithTheFraction) {
    for (const double h1 : {1e-3, 0.9, 0.995, 1.005, 1.1, 1e3}) {
        double before = 0;
        for (int k = 1; k <= 1000; ++k) {
            const double s = size_progression(k / 1000.0, 1, h1);
            EXPECT_GT(s, before);
            before = s;
        }
    }
}
TEST(LayerFractions, AreUniformUnlessBothSizesAreAboveZero) {
    for (const double h : {0.0, -1.0, zel_test::nan}) {
        const layer_fractions uniform({4, h, 1});
        EXPECT_EQ(0.25, uniform(1));
        EXPECT_EQ(0.75, layer_fractions({4, 1, h})(3));
    }
    EXPECT_NE(0.25, layer_fractions({4, 1, 2})(1));
}
TEST(LayerFractions, AreMultiplesOfOneReciprocal) {
    for (const std::uint64_t n : {3u, 7u, 49u, 1000u}) {
        const layer_fractions fraction({n, 0, 0});
        const double step = 1.0 / static_cast<double>(n);
        for (std::uint64_t k = 1; k <= n; ++k)
            EXPECT_EQ(static_cast<double>(k) * step, fraction(k));
    }
}

} // namespace
