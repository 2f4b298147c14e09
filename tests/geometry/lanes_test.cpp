// SPDX-License-Identifier: Apache-2.0
// Every formula gives the same bits over four lanes as over `double`.
#include "geometry/lanes.h"

#include "conversion/quad_quality.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"
#include "support/checks.h"
#include "support/meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace {

using namespace zel::tessel2d;
using zel_test::infinity;
using zel_test::nan;

// A formula takes `points` points of dimension `dim` and returns `results` numbers.

template <int Dim>
struct double_area {
    static constexpr int dim = Dim, points = 3, results = 1;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 1> operator()(const vector_of<N, Dim>* p) const noexcept {
        return {triangle_double_area<Dim>(p[0], p[1], p[2])};
    }
};

struct normal {
    static constexpr int dim = 3, points = 3, results = 3;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 3> operator()(const vector_of<N, 3>* p) const noexcept {
        return triangle_normal(p[0], p[1], p[2]);
    }
};

struct unit_normal {
    static constexpr int dim = 3, points = 3, results = 4;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 4> operator()(const vector_of<N, 3>* p) const noexcept {
        vector_of<N, 3> n = triangle_normal(p[0], p[1], p[2]);
        const N size = make_unit<3>(n);
        return {n[0], n[1], n[2], size};
    }
};

template <int Dim>
struct circle {
    static constexpr int dim = Dim, points = 3, results = 4;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 4> operator()(const vector_of<N, Dim>* p) const noexcept {
        const auto c = triangle_circumcircle(p[0], p[1], p[2]);
        return {c.center[0], c.center[1], c.center[Dim - 1], c.squared_radius};
    }
};

template <int Dim>
struct quad_area {
    static constexpr int dim = Dim, points = 4, results = 1;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 1> operator()(const vector_of<N, Dim>* p) const noexcept {
        return {quad_double_area<Dim>(p[0], p[1], p[2], p[3])};
    }
};

template <int Dim>
struct quality_of_cut {
    static constexpr int dim = Dim, points = 4, results = 2;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 2> operator()(const vector_of<N, Dim>* p) const noexcept {
        return {shape_quality_of_cut<Dim>(p[0], p[1], p[2], p[3]),
                triangle_shape_quality<Dim>(p[3], p[1], p[2])};
    }
};

/// What a mask does, and the smaller and larger of two numbers.
struct selections {
    static constexpr int dim = 2, points = 2, results = 10;
    template <class N>
    [[gnu::always_inline]] vector_of<N, 10> operator()(const vector_of<N, 2>* p) const noexcept {
        const N a = p[0][0];
        const N b = p[0][1];
        const N c = p[1][0];
        const N d = p[1][1];
        return {smaller(a, b),
                larger(a, b),
                choose(both(a<b, c> d), a, c),
                choose(either(a < b, c == d), b, d),
                choose(!(a < b), a, b),
                choose(a >= b, c, d),
                zero_where(a > c, -a),
                kept_where(a > c, -a),
                choose(nowhere(a), a, absolute(b)),
                choose(either(nowhere(a), a == b), square_root(c), c / d)};
    }
};

template <class Formula>
struct sample {
    double in[lane_count][Formula::points * Formula::dim];
    double out[lane_count][Formula::results];
};

template <class Formula>
ZEL_FOUR_LANES void compute_by_four(sample<Formula>& s) {
    constexpr std::size_t dim = Formula::dim;
    vector_of<lanes, dim> p[Formula::points];
    for (std::size_t k = 0; k < Formula::points; ++k)
        p[k] = load_columns<dim>(
            {s.in[0] + k * dim, s.in[1] + k * dim, s.in[2] + k * dim, s.in[3] + k * dim});
    const auto results = Formula()(p);
    for (std::size_t r = 0; r < Formula::results; ++r) {
        double numbers[lane_count];
        store_lanes(results[r], numbers);
        for (std::size_t lane = 0; lane < lane_count; ++lane) s.out[lane][r] = numbers[lane];
    }
}

template <class Formula>
auto compute_one(const double* in) {
    constexpr std::size_t dim = Formula::dim;
    vector_of<double, dim> p[Formula::points];
    for (std::size_t k = 0; k < Formula::points; ++k)
        for (std::size_t i = 0; i < dim; ++i) p[k][i] = in[k * dim + i];
    return Formula()(p);
}

/// Coordinates of which many are equal, and some not finite, zero with either sign, denormal or huge.
double wild_number(zel_test::random_numbers& random) {
    constexpr double hard[] = {nan,     infinity, -infinity, 0.0,    -0.0,  5e-324,
                               -3e-310, 1e-170,   1.7e308,   -1e200, 1e154, 1e-12};
    const unsigned kind = random.below(32);
    if (kind == 0) return hard[random.below(12)];
    if (kind < 12) return random.below(5) - 2.0;
    return random.between(-1, 1) * (kind < 14 ? 1e-7 : 1);
}

/// NaN are one number: IEEE 754 leaves their sign and payload open.
bool same_bits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || zel_test::bits(a) == zel_test::bits(b);
}

template <class Formula>
struct FormulaOverLanes : testing::Test {};

using formulas =
    testing::Types<double_area<2>, double_area<3>, normal, unit_normal, circle<2>, circle<3>,
                   quad_area<2>, quad_area<3>, quality_of_cut<2>, quality_of_cut<3>, selections>;
TYPED_TEST_SUITE(FormulaOverLanes, formulas, );

TYPED_TEST(FormulaOverLanes, HasTheBitsOfTheFormulaOverDouble) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    zel_test::random_numbers random(20260117);
    sample<TypeParam> s;
    for (int i = 0; i < 60000; ++i) {
        for (auto& element : s.in)
            for (double& x : element) x = wild_number(random);
        compute_by_four(s);
        for (std::size_t lane = 0; lane < lane_count; ++lane) {
            const auto one = compute_one<TypeParam>(s.in[lane]);
            for (std::size_t r = 0; r < TypeParam::results; ++r)
                ASSERT_PRED2(same_bits, one[r], s.out[lane][r])
                    << "sample " << i << ", lane " << lane << ", result " << r;
        }
    }
}

// --------------------------------------------------------------------------------- loads and stores

/// Four vectors with components 0 to 11 in the order of memory.
struct twelve {
    double numbers[12];

    twelve() {
        for (int i = 0; i < 12; ++i) numbers[i] = i;
    }
    ZEL_FOUR_LANES vector_of<lanes, 3> load() const {
        return load_columns<3>({numbers, numbers + 3, numbers + 6, numbers + 9});
    }
};

ZEL_FOUR_LANES void copy_packed(const twelve& from, twelve& to) {
    store_packed(from.load(), to.numbers);
}
ZEL_FOUR_LANES void copy_one_by_one(const twelve& from, twelve& to) {
    const lane_vectors<3> vectors(from.load());
    for (std::size_t lane = 0; lane < lane_count; ++lane)
        vectors.store(lane, to.numbers + 3 * lane);
}
ZEL_FOUR_LANES void add_one_by_one(const twelve& from, twelve& to) {
    const lane_vectors<3> vectors(from.load());
    for (std::size_t lane = 0; lane < lane_count; ++lane) vectors.add(lane, to.numbers + 3 * lane);
}
ZEL_FOUR_LANES void transpose(const double (&from)[4][4], double (&to)[4][4]) {
    const vector_of<lanes, 4> t = transposed(
        {load_lanes(from[0]), load_lanes(from[1]), load_lanes(from[2]), load_lanes(from[3])});
    for (std::size_t i = 0; i < 4; ++i) store_lanes(t[i], to[i]);
}
ZEL_FOUR_LANES unsigned bits_below(const double* a, double bound) {
    return bits_of(load_lanes(a) < lanes(bound));
}

TEST(Lanes, AreStoredInTheOrderInWhichTheyAreLoaded) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const twelve given;
    for (const auto copy : {copy_packed, copy_one_by_one}) {
        twelve stored;
        std::fill_n(stored.numbers, 12, -1.0);
        copy(given, stored);
        for (int i = 0; i < 12; ++i) EXPECT_EQ(i, stored.numbers[i]);
    }
    twelve sums;
    add_one_by_one(given, sums);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(2 * i, sums.numbers[i]);
}

ZEL_FOUR_LANES void take_apart(const double* from, double (&evens)[4], double (&odds)[4],
                               double (&components)[2][4]) {
    const lane_pairs pairs({from, from + 2, from + 4, from + 6});
    pairs.store(evens, odds);
    const vector_of<lanes, 2> v = pairs.components();
    for (std::size_t k = 0; k < 2; ++k) store_lanes(v[k], components[k]);
}

TEST(Lanes, PointsInThePlaneAreTakenApart) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const double given[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    double evens[4], odds[4], components[2][4];
    take_apart(given, evens, odds, components);
    EXPECT_THAT(evens, testing::ElementsAre(0, 1, 4, 5));
    EXPECT_THAT(odds, testing::ElementsAre(2, 3, 6, 7));
    EXPECT_THAT(components[0], testing::ElementsAre(0, 2, 4, 6));
    EXPECT_THAT(components[1], testing::ElementsAre(1, 3, 5, 7));
}

ZEL_FOUR_LANES void choose_steps(const double* a, std::int64_t (&to)[4]) {
    store_choices(load_lanes(a) > lanes(1.0), load_lanes(a) > lanes(2.0), 7, to);
}

TEST(LaneMask, TheSecondOfTwoChoicesCountsWhereBothHold) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const double numbers[] = {2, 0, 3, nan};
    std::int64_t steps[4];
    choose_steps(numbers, steps);
    EXPECT_THAT(steps, testing::ElementsAre(7, 0, 14, 0));
}

TEST(Lanes, AreTransposed) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const double given[4][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}, {12, 13, 14, 15}};
    double turned[4][4];
    transpose(given, turned);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(given[j][i], turned[i][j]);
}

ZEL_FOUR_LANES void rearrange(const double* from, double (&to)[2][4]) {
    const vector_of<lanes, 2> v{load_lanes(from), load_lanes(from + 4)};
    const vector_of<lanes, 2> turned = rearranged<2, 0, 3, 3>(v);
    for (std::size_t k = 0; k < 2; ++k) store_lanes(turned[k], to[k]);
}

TEST(Lanes, AreRearrangedInTheOrderGiven) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const double given[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    double turned[2][4];
    rearrange(given, turned);
    EXPECT_THAT(turned[0], testing::ElementsAre(2, 0, 3, 3));
    EXPECT_THAT(turned[1], testing::ElementsAre(6, 4, 7, 7));
}

TEST(LaneMask, HasOneBitPerLaneFromTheFirstOn) {
    if (!has_four_lanes()) GTEST_SKIP() << "the processor has no lanes";
    const double numbers[] = {0, 5, nan, 1};
    EXPECT_EQ(0b1001U, bits_below(numbers, 2));
    EXPECT_EQ(0U, bits_below(numbers, 0));
}

} // namespace
