// SPDX-License-Identifier: Apache-2.0
// Tests of `parametric_curvatures`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/lanes.h"
#include "support/meshes.h"
#include "zel/tessel2d/curvatures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zel_test;
using zel::tessel2d::parametric_curvatures;

/// A mesh of parameters with the derivatives of a surface at its nodes.
struct chart {
    mesh m;
    dense2D<double> D;
};

/// A grid over [-half, half] x [-half, half] whose nodes are moved a little, except the middle one.
template <class Slopes>
chart chart_of(unsigned n, double half, Slopes slopes, std::uint64_t seed = 1) {
    chart c{grid_T3(n, n), {}};
    random_numbers random(seed);
    const std::size_t middle = c.m.pos.cols / 2;
    for (std::size_t i = 0; i < c.m.pos.cols; ++i)
        for (std::size_t k = 0; k < 2; ++k) {
            const double shift = i == middle ? 0 : 0.3 / n * random.between(-1, 1);
            c.m.pos(k, i) = half * (2 * c.m.pos(k, i) - 1 + shift);
        }
    c.D.resize(6, c.m.pos.cols);
    for (std::size_t i = 0; i < c.m.pos.cols; ++i) {
        const std::vector<double> s = slopes(c.m.pos(0, i), c.m.pos(1, i));
        std::copy(s.begin(), s.end(), c.D[i]);
    }
    return c;
}
/// S = (u, v, (u^2 + v^2)/2)
std::vector<double> of_bowl(double u, double v) {
    return {1, 0, u, 0, 1, v};
}
/// S = (u, v, (a u^2 + 2 b u v + c v^2)/2)
std::vector<double> of_quadric(double u, double v) {
    return {1, 0, 3 * u - 2 * v, 0, 1, -2 * u + 5 * v};
}

dense2D<double> form_of(const chart& c) {
    dense2D<double> H;
    EXPECT_EQ(0, parametric_curvatures(c.m.pos, c.m.connect, c.D, H));
    EXPECT_EQ(3U, H.rows);
    EXPECT_EQ(c.m.pos.cols, H.cols);
    return H;
}

// -------------------------------------------------------------------------------------- normal use

TEST(ParametricCurvatures, OfABowlAtItsBottomAreMinusOneZeroMinusOne) {
    const auto c = chart_of(6, 0.3, of_bowl);
    const auto H = form_of(c);
    const std::size_t middle = c.m.pos.cols / 2;
    EXPECT_NEAR(-1, H(0, middle), 1e-15);
    EXPECT_NEAR(0, H(1, middle), 1e-15);
    EXPECT_NEAR(-1, H(2, middle), 1e-15);
}

TEST(ParametricCurvatures, HaveTheSameSignWhicheverWayTheTrianglesTurn) {
    auto c = chart_of(6, 0.3, of_bowl);
    for (std::size_t e = 0; e < c.m.connect.cols; e += 2)
        std::swap(c.m.connect(0, e), c.m.connect(2, e));
    const auto H = form_of(c);
    const std::size_t middle = c.m.pos.cols / 2;
    EXPECT_NEAR(-1, H(0, middle), 1e-15);
    EXPECT_NEAR(0, H(1, middle), 1e-15);
    EXPECT_NEAR(-1, H(2, middle), 1e-15);
}

TEST(ParametricCurvatures, OfLinearSlopesAreExactAtInteriorNodesUpToRounding) {
    // Su . n and Sv . n are linear in u and v where n is held fast, so that the divergence theorem gives
    // their derivatives whatever the triangles are: -(3, -2, 5) times the third component of n.
    const unsigned n = 7;
    const auto c = chart_of(n, 2, of_quadric);
    const auto H = form_of(c);
    for (unsigned j = 1; j < n; ++j)
        for (unsigned i = 1; i < n; ++i) {
            const std::size_t k = j * (n + 1) + i;
            const double z = 1 / std::sqrt(1 + c.D(2, k) * c.D(2, k) + c.D(5, k) * c.D(5, k));
            EXPECT_NEAR(-3 * z, H(0, k), 1e-13);
            EXPECT_NEAR(2 * z, H(1, k), 1e-13);
            EXPECT_NEAR(-5 * z, H(2, k), 1e-13);
        }
}

TEST(ParametricCurvatures, OfOtherNodesAreZero) {
    auto c = chart_of(4, 1, of_bowl);
    c.m.pos.resize(2, 27, 3.0);
    c.D.resize(6, 27, 1.0);
    const auto H = form_of(c);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(0, H(i, 25));
        EXPECT_EQ(0, H(i, 26));
    }
}

TEST(ParametricCurvatures, TheOutputIsReplacedAndMayShareStorageWithTheInputsOrBeOne) {
    auto c = chart_of(5, 1, of_quadric);
    const auto expected = snapshot(form_of(c));
    auto other = framed(points({{1, 2}, {3, 4}}));
    ASSERT_EQ(0, parametric_curvatures(c.m.pos, c.m.connect, c.D, other.view));
    EXPECT_EQ(expected, snapshot(other.view));
    EXPECT_EQ(4, other.parent(2, 3));

    dense2D<double> pos = fresh_copy(c.m.pos);
    ASSERT_EQ(0, parametric_curvatures(pos, c.m.connect, c.D, pos));
    EXPECT_EQ(expected, snapshot(pos));
    dense2D<double> D = fresh_copy(c.D);
    ASSERT_EQ(0, parametric_curvatures(c.m.pos, c.m.connect, D, D));
    EXPECT_EQ(expected, snapshot(D));
    dense2D<double> part = c.D.sub_matrix(1, 2, 2, 2);
    ASSERT_EQ(0, parametric_curvatures(c.m.pos, c.m.connect, c.D, part));
    EXPECT_EQ(expected, snapshot(part));
}

TEST(ParametricCurvatures, ViewsWithALargerLeadingDimension) {
    const auto c = chart_of(5, 1, of_quadric);
    dense2D<double> H;
    ASSERT_EQ(0, parametric_curvatures(framed(c.m.pos).view, framed(c.m.connect).view,
                                       framed(c.D).view, H));
    EXPECT_EQ(snapshot(form_of(c)), snapshot(H));
}

TEST(ParametricCurvatures, EachInputAloneMayBeAView) {
    const auto c = chart_of(5, 1, of_quadric);
    const auto expected = snapshot(form_of(c));
    dense2D<double> H;
    ASSERT_EQ(0, parametric_curvatures(framed(c.m.pos).view, c.m.connect, c.D, H));
    EXPECT_EQ(expected, snapshot(H));
    ASSERT_EQ(0, parametric_curvatures(c.m.pos, framed(c.m.connect).view, c.D, H));
    EXPECT_EQ(expected, snapshot(H));
    ASSERT_EQ(0, parametric_curvatures(c.m.pos, c.m.connect, framed(c.D).view, H));
    EXPECT_EQ(expected, snapshot(H));
}

// ---------------------------------------------------------------------------------------- statuses

void expect_status(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense2D<double>& D) {
    dense2D<double> H(3, 5, 1.0);
    EXPECT_EQ(status, parametric_curvatures(pos, connect, D, H));
    EXPECT_TRUE(H.empty());
}

TEST(ParametricCurvatures, WithoutElementsTheOutputIsEmptied) {
    for (const auto& none : {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(0, 2)})
        expect_status(0, dense2D<double>(5, 2, 0.0), none, dense2D<double>());
}

TEST(ParametricCurvatures, ParametersOfOtherRowsAreRefused) {
    for (const std::size_t rows : {0U, 1U, 3U})
        expect_status(-1, dense2D<double>(rows, 4, 0.0), cells({{0, 1, 2}}),
                      dense2D<double>(6, 4, 0.0));
}

TEST(ParametricCurvatures, ElementsThatAreNoTrianglesOfTheNodesAreRefused) {
    const dense2D<double> pos(2, 4, 0.0), D(6, 4, 0.0);
    expect_status(-2, pos, cells({{0, 1, 4}}), D);
    expect_status(-2, pos, cells({{0, 1, no_node}}), D);
    expect_status(-2, pos, cells({{0, 1, 2, no_node}}), D);
    expect_status(-2, dense2D<double>(2, 0), cells({{0, 0, 0}}), dense2D<double>(6, 0));
}

TEST(ParametricCurvatures, DerivativesOfAnotherShapeAreRefused) {
    const dense2D<double> pos(2, 4, 0.0);
    for (const std::size_t cols : {0U, 3U, 5U})
        expect_status(-3, pos, cells({{0, 1, 2}}), dense2D<double>(6, cols, 0.0));
    for (const std::size_t rows : {0U, 5U, 7U})
        expect_status(-3, pos, cells({{0, 1, 2}}), dense2D<double>(rows, 4, 0.0));
}

TEST(ParametricCurvatures, TheFirstOfTwoFaultsDecides) {
    expect_status(-1, dense2D<double>(3, 4, 0.0), cells({{0, 1, 9}}), dense2D<double>());
    expect_status(-2, dense2D<double>(2, 4, 0.0), cells({{0, 1, 9}}), dense2D<double>());
}

// -------------------------------------------------------------------------------- degenerate input

TEST(ParametricCurvatures, ATriangleWithoutAreaAddsNothing) {
    auto c = chart_of(4, 1, of_quadric);
    const auto expected = snapshot(form_of(c));
    dense2D<unsigned> more = fresh_copy(c.m.connect);
    ASSERT_TRUE(more.resize(3, c.m.connect.cols + 2));
    const unsigned flat[] = {7, 7, 12, 3, 3, 3};
    std::copy(flat, flat + 6, more[c.m.connect.cols]);
    c.m.connect = more;
    EXPECT_EQ(expected, snapshot(form_of(c)));
}

TEST(ParametricCurvatures, DoNotDependOnHowManyTrianglesAreTakenAtATime) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        chart c{{dense2D<double>(2, 6), dense2D<unsigned>(3, 3)}, dense2D<double>(6, 6)};
        for (double& x : c.m.pos) x = seed % 2 == 0 ? random.below(3) : random.between(-1, 1);
        for (double& x : c.D) x = random.between(-1, 1);
        for (unsigned& n : c.m.connect) n = random.below(6);
        const auto three = snapshot(form_of(c));
        ASSERT_TRUE(c.m.connect.resize(3, 8, 5U)); // with triangles that have no area
        EXPECT_EQ(three, snapshot(form_of(c)));
    }
}

TEST(ParametricCurvatures, OfAMeshWithoutAreaAreZero) {
    auto c = chart_of(3, 1, of_quadric);
    for (double& x : c.m.pos) x = 2;
    EXPECT_EQ(snapshot(dense2D<double>(3, 16, 0.0)), snapshot(form_of(c)));
}

TEST(ParametricCurvatures, ParallelDerivativesHaveNoNormalAndGiveZero) {
    auto c = chart_of(4, 1, of_quadric);
    for (std::size_t i = 0; i < 3; ++i) c.D(i, 12) = c.D(3 + i, 12) = 1;
    const auto H = form_of(c);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(0, H(i, 12));
}

TEST(ParametricCurvatures, NumbersThatAreNotFiniteReachTheirNeighboursOnly) {
    const auto plain = form_of(chart_of(4, 1, of_quadric));
    for (const double odd : {zel_test::nan, infinity, 1e300}) {
        auto c = chart_of(4, 1, of_quadric);
        c.m.pos(0, 12) = odd;
        const auto H = form_of(c);
        EXPECT_EQ(column(plain, 4), column(H, 4));
        EXPECT_EQ(column(plain, 20), column(H, 20));
    }
}

// ------------------------------------------------------------------------------------------ memory

TEST(ParametricCurvatures, ExhaustedMemoryIsReportedAndTheOutputIsEmpty) {
    const auto c = chart_of(5, 1, of_quadric);
    const auto expected = snapshot(form_of(c));
    fail_each_allocation([&](std::size_t k) {
        dense2D<double> H(2, 2, 7.0);
        arm_allocator(k);
        const int status = parametric_curvatures(c.m.pos, c.m.connect, c.D, H);
        if (status == -199) {
            EXPECT_TRUE(H.empty());
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(expected, snapshot(H));
        }
    });
}

// ------------------------------------------------------------------------------------ random input

/// The same sums, node by node over all triangles, in extended precision.
std::vector<long double> form_at(const chart& c, unsigned node) {
    using real = long double;
    real W = 0, P = 0, Q = 0, R = 0, n[3];
    const auto d = [&](unsigned i, unsigned k) { return static_cast<real>(c.D(i, k)); };
    for (unsigned i = 0; i < 3; ++i)
        n[i] = d((i + 1) % 3, node) * d(3 + (i + 2) % 3, node) -
               d((i + 2) % 3, node) * d(3 + (i + 1) % 3, node);
    const real length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (std::size_t e = 0; e < c.m.connect.cols; ++e)
        for (unsigned t = 0; t < 3; ++t) {
            if (c.m.connect(t, e) != node) continue;
            const unsigned a = c.m.connect((t + 1) % 3, e), b = c.m.connect((t + 2) % 3, e);
            const real ax = c.m.pos(0, a) - static_cast<real>(c.m.pos(0, node));
            const real ay = c.m.pos(1, a) - static_cast<real>(c.m.pos(1, node));
            const real bx = c.m.pos(0, b) - static_cast<real>(c.m.pos(0, node));
            const real by = c.m.pos(1, b) - static_cast<real>(c.m.pos(1, node));
            const real twice =
                ax * by - bx * ay; // the edge from a to b has the normal (by-ay, ax-bx)
            const real turn = twice > 0 ? 1 : -1;
            real f = 0, g = 0;
            for (unsigned i = 0; i < 3; ++i) {
                f += (d(i, a) + d(i, b)) * n[i] / length;
                g += (d(3 + i, a) + d(3 + i, b)) * n[i] / length;
            }
            W += std::abs(twice);
            P -= turn * f * (by - ay);
            R -= turn * g * (ax - bx);
            Q -= turn * (g * (by - ay) + f * (ax - bx)) / 2;
        }
    return {P / W, Q / W, R / W};
}

TEST(ParametricCurvatures, OfRandomNumbersAreThoseOfExtendedPrecision) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        auto c = chart_of(2 + random.below(5), 1, of_quadric, seed);
        for (double& x : c.D) x = random.between(-2, 2);
        for (std::size_t e = 0; e < c.m.connect.cols; ++e)
            for (unsigned k = random.below(3); k > 0; --k)
                std::swap(c.m.connect(0, e), c.m.connect(k, e));
        const auto H = form_of(c);
        for (unsigned n = 0; n < c.m.pos.cols; ++n) {
            const auto expected = form_at(c, n);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(static_cast<double>(-expected[i]), -H(i, n), 2e-12) << n;
        }
    }
}

TEST(ParametricCurvatures, AreTheSameToTheBitOnAProcessorThatTakesOneTriangleAtATime) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        chart c{{dense2D<double>(2, 20), dense2D<unsigned>(3, 1 + random.below(40))},
                dense2D<double>(6, 20)};
        for (double& x : c.m.pos) x = seed % 2 == 0 ? random.below(4) : random.between(-1, 1);
        for (double& x : c.D) x = random.between(-1, 1);
        for (unsigned& n : c.m.connect) n = random.below(20);
        const auto four = snapshot(form_of(c));
        const one_lane scalar;
        EXPECT_EQ(four, snapshot(form_of(c)));
    }
}

/// The triangles that hold a node, in their order.
dense2D<unsigned> triangles_at(const dense2D<unsigned>& connect, unsigned node) {
    dense2D<unsigned> found;
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (std::count(connect[e], connect[e] + 3, node) != 0)
            zel::push_back_column3(connect[e], found);
    return found;
}

TEST(ParametricCurvatures, AreThoseOfTheTrianglesAroundANodeHoweverFarApartTheseAreNumbered) {
    chart c = chart_of(260, 1, of_quadric); // one triangle and the next have far nodes
    random_numbers random(3);
    for (std::size_t j = c.m.connect.cols; j > 1; --j)
        std::swap_ranges(c.m.connect[j - 1], c.m.connect[j - 1] + 3,
                         c.m.connect[random.below(static_cast<unsigned>(j))]);
    const auto H = form_of(c);
    for (unsigned n = 5; n < c.m.pos.cols; n += 2100) {
        const auto alone = form_of({{c.m.pos, triangles_at(c.m.connect, n)}, c.D});
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(alone(i, n), H(i, n)) << "node " << n;
    }
}

} // namespace
