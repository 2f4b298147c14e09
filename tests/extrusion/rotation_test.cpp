// SPDX-License-Identifier: Apache-2.0
#include "extrusion/rotation.h"

#include "support/checks.h"
#include "support/meshes.h"

#include <cmath>

namespace {

using namespace zel_test;
using zel::tessel2d::make_rotation_state;
using zel::tessel2d::point;
using zel::tessel2d::rotation_coefficients;
using zel::tessel2d::rotation_state;
using zel::tessel2d::skew_square;

constexpr double epsilon = std::numeric_limits<double>::epsilon();

struct known_coefficients {
    double q;
    double c[8];
};
// Computed with 120 digits. The sixth and seventh row stand at the two sides of the angle 0.1.
const known_coefficients known[] = {
    {0x0.0p+0,
     {0x1.0000000000000p+0, 0x1.0000000000000p-1, -0x1.5555555555555p-2, -0x1.5555555555555p-4,
      0x1.6c16c16c16c17p-7, 0x1.5555555555555p-3, -0x1.1111111111111p-6, 0x1.a01a01a01a01ap-10}},
    {0x1.cd2b297d889bcp-54,
     {0x1.0000000000000p+0, 0x1.0000000000000p-1, -0x1.5555555555555p-2, -0x1.5555555555555p-4,
      0x1.6c16c16c16c17p-7, 0x1.5555555555555p-3, -0x1.1111111111111p-6, 0x1.a01a01a01a01ap-10}},
    {0x1.0c6f7a0b5ed8dp-20,
     {0x1.fffffa6858247p-1, 0x1.fffffd342c117p-2, -0x1.55555318abc9cp-2, -0x1.555553d78ef81p-4,
      0x1.6c16c024da716p-7, 0x1.55555437008f5p-3, -0x1.11111036e8dbbp-6, 0x1.a01a007d39ba7p-10}},
    {0x1.47ae147ae147bp-9,
     {0x1.ffc964bbf3d4bp-1, 0x1.ffe4b2136ae05p-2, -0x1.553f7d6d63741p-2, -0x1.5546c55011395p-4,
      0x1.6c0a45f087306p-7, 0x1.554a694c0ed87p-3, -0x1.1108bebccc963p-6, 0x1.a00ee92aecbf6p-10}},
    {0x1.26e978d4fdf3bp-7,
     {0x1.ff3b7aff13561p-1, 0x1.ff9db9b97b0eep-2, -0x1.5506b724eeab3p-2, -0x1.5520eacbb3835p-4,
      0x1.6be9d3589d501p-7, 0x1.552e052918c77p-3, -0x1.10f31ceb8ba82p-6, 0x1.9ff2112f9d0f5p-10}},
    {0x1.47ae147ae147cp-7,
     {0x1.ff25a7e6ebdf7p-1, 0x1.ff92cf4ad719ap-2, -0x1.54fdfbb31da66p-2, -0x1.551b183f15e6fp-4,
      0x1.6be4d59f26faap-7, 0x1.5529a72f72e68p-3, -0x1.10efc914d0c0ep-6, 0x1.9feda157fd9c7p-10}},
    {0x1.47ae147ae147dp-7,
     {0x1.ff25a7e6ebdf7p-1, 0x1.ff92cf4ad719ap-2, -0x1.54fdfbb31da66p-2, -0x1.551b183f15e6fp-4,
      0x1.6be4d59f26faap-7, 0x1.5529a72f72e68p-3, -0x1.10efc914d0c0ep-6, 0x1.9feda157fd9c7p-10}},
    {0x1.8c7e28240b780p-7,
     {0x1.fef7d4d2a8199p-1, 0x1.ff7be39757fadp-2, -0x1.54eba5c92b254p-2, -0x1.550ede5a557fdp-4,
      0x1.6bda5a95cd94fp-7, 0x1.55207b9c59ab2p-3, -0x1.10e8cc55dbd0ap-6, 0x1.9fe4503599b41p-10}},
    {0x1.0000000000000p-2,
     {0x1.eaee8744b05f0p-1, 0x1.f56bfcd241583p-2, -0x1.4ce036f7c4502p-2, -0x1.4faeb1b21f265p-4,
      0x1.673d5d2d6b172p-7, 0x1.51178bb4fa101p-3, -0x1.0dd52f4d6ffc9p-6, 0x1.9bc96eacd559bp-10}},
    {0x1.0000000000000p+0,
     {0x1.aed548f090ceep-1, 0x1.d6bafe095f2e9p-2, -0x1.34658fea80cc5p-2, -0x1.3f2da8c672fd7p-4,
      0x1.59031b7e4623bp-7, 0x1.44aadc3dbcc48p-3, -0x1.0454c533bf831p-6, 0x1.8f136e8f1998cp-10}},
    {0x1.0000000000000p+2,
     {0x1.d18f6ead1b446p-2, 0x1.6a88995d4dc81p-2, -0x1.bdd8ea1129325p-3, -0x1.0381c40d804bcp-4,
      0x1.24aa78275d94fp-7, 0x1.173848a9725ddp-3, -0x1.c25e9d06ee253p-7, 0x1.5f95e16d48b7cp-10}},
    {0x1.3bd3cc9be45dep+3,
     {0x1.24c0cd0f08fe1p-55, 0x1.9f02f6222c720p-3, -0x1.9f02f6222c720p-4, -0x1.50654d05c8a40p-5,
      0x1.a1e59e1ee310dp-8, 0x1.9f02f6222c720p-4, -0x1.50654d05c8a40p-7, 0x1.10ac0e0a9d163p-10}},
    {0x1.2000000000000p+5,
     {-0x1.7d7ecb8eb83abp-5, 0x1.2207f79536424p-10, 0x1.ca2da8477df47p-6, -0x1.633842b1d170cp-10,
      0x1.e635162e2cb97p-11, 0x1.dc4e27c0d1589p-6, -0x1.398237104024dp-9, 0x1.34dfc3fe4c71bp-12}},
    {0x1.9000000000000p+8,
     {0x1.75f13f77dca4dp-5, 0x1.83eb59dd40f34p-10, 0x1.db0cf032508e9p-11, 0x1.bf9cd96900bf8p-14,
      0x1.4197b28c8f981p-20, 0x1.38b8e8fb349d4p-9, -0x1.dc4aea3f5a79bp-17, 0x1.dcfd3ac2f1780p-22}},
};
constexpr std::size_t last_series = 5;

// Beyond 0.1 a rounding in c0 or c1 passes through the divisions by q.
void rounding_of_closed_forms(double q, double (&bound)[8]) {
    bound[0] = 2 * epsilon;
    bound[1] = 2 * epsilon / q;
    bound[5] = (bound[0] + epsilon) / q;
    bound[2] = bound[5] + bound[1];
    bound[3] = (bound[0] + 2 * bound[1]) / q;
    bound[4] = (bound[2] + 4 * bound[3]) / q;
    bound[6] = (bound[1] + 3 * bound[5]) / q;
    bound[7] = (bound[3] + 5 * bound[6]) / q;
}

TEST(RotationCoefficients, SeriesAgreeWithHighPrecisionToUnitsInTheLastPlace) {
    for (std::size_t k = 0; k <= last_series; ++k) {
        double c[8];
        rotation_coefficients(known[k].q, c);
        for (int i = 0; i < 8; ++i)
            EXPECT_LE(ulps_apart(known[k].c[i], c[i]), 8u) << "c" << i << " at q = " << known[k].q;
    }
}
TEST(RotationCoefficients, ClosedFormsAgreeWithHighPrecisionToMagnifiedRounding) {
    for (std::size_t k = last_series + 1; k < std::size(known); ++k) {
        double c[8], bound[8];
        rotation_coefficients(known[k].q, c);
        rounding_of_closed_forms(known[k].q, bound);
        for (int i = 0; i < 8; ++i)
            EXPECT_NEAR(known[k].c[i], c[i], bound[i] + 2 * epsilon * std::fabs(known[k].c[i]))
                << "c" << i << " at q = " << known[k].q;
    }
}
TEST(RotationCoefficients, AtZeroTheyAreTheFirstTermsExactly) {
    double c[8];
    rotation_coefficients(0.0, c);
    const double expected[8] = {1,        1.0 / 2, -1.0 / 3,  -1.0 / 12,
                                1.0 / 90, 1.0 / 6, -1.0 / 60, 1.0 / 630};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(expected[i], c[i]) << "c" << i;
}
TEST(RotationCoefficients, BothFormsMeetAtOneTenth) {
    double below[8], above[8], bound[8];
    rotation_coefficients(known[last_series].q, below);
    rotation_coefficients(known[last_series + 1].q, above);
    ASSERT_LE(std::sqrt(known[last_series].q), 0.1);
    ASSERT_GT(std::sqrt(known[last_series + 1].q), 0.1);
    rounding_of_closed_forms(0.01, bound);
    for (int i = 0; i < 8; ++i) EXPECT_NEAR(below[i], above[i], bound[i] + 8 * epsilon) << "c" << i;
}
TEST(RotationCoefficients, NotANumberAndInfinityComeOutAsNotANumber) {
    for (const double q : {zel_test::nan, infinity}) {
        double c[8];
        rotation_coefficients(q, c);
        for (const double x : c) EXPECT_TRUE(std::isnan(x) || x == 0) << q;
    }
}
TEST(SkewSquare, IsTheOuterProductLessTheSquaredLengthAndIsAdded) {
    double S[9] = {100, 0, 0, 0, 100, 0, 0, 0, 100};
    skew_square(1.0, {1, 2, 3}, S);
    const double expected[9] = {87, 2, 3, 2, 90, 6, 3, 6, 95};
    for (int k = 0; k < 9; ++k) EXPECT_EQ(expected[k], S[k]);
    double doubled[9] = {};
    skew_square(2.0, {1, 2, 3}, doubled);
    EXPECT_EQ(-26, doubled[0]);
    EXPECT_EQ(12, doubled[5]);
}
TEST(RotationState, FieldsFollowFromTheCoefficients) {
    rotation_state s{};
    make_rotation_state(s, {0.5, -0.25, 1.0});
    const double W[9] = {0, 1.0, 0.25, -1.0, 0, 0.5, -0.25, -0.5, 0};
    double square[9];
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i) {
            square[j * 3 + i] = 0;
            for (int k = 0; k < 3; ++k) square[j * 3 + i] += W[k * 3 + i] * W[j * 3 + k];
        }
    EXPECT_EQ(-0.25, s.w[1]);
    for (int k = 0; k < 9; ++k) {
        const double one = k % 4 == 0 ? 1 : 0;
        EXPECT_EQ(W[k], s.W[k]);
        EXPECT_EQ(square[k], s.S[k]);
        EXPECT_EQ(s.c[0] * W[k] + s.c[1] * square[k], s.scratch[k]);
        EXPECT_EQ(s.scratch[k] + one, s.R[k]);
        EXPECT_EQ(s.c[1] * W[k] + s.c[5] * square[k] + one, s.T[k]);
        EXPECT_EQ(s.c[3] * W[k] + s.c[6] * square[k], s.D1[k]);
        EXPECT_EQ(s.c[4] * W[k] + s.c[7] * square[k], s.D2[k]);
    }
}
TEST(RotationState, AZeroVectorGivesTheIdentityExactly) {
    rotation_state s{};
    make_rotation_state(s, {0, 0, 0});
    for (int k = 0; k < 9; ++k) {
        EXPECT_EQ(k % 4 == 0 ? 1.0 : 0.0, s.R[k]);
        EXPECT_EQ(k % 4 == 0 ? 1.0 : 0.0, s.T[k]);
        EXPECT_EQ(0.0, s.D1[k]);
    }
}
// After a whole turn the cosine is 1 and nothing of the square remains, not even a zero: the signs of the
// zeros are those of the products with W alone.
TEST(RotationState, AFullTurnTakesNothingFromTheSquare) {
    rotation_state s{};
    make_rotation_state(s, {0, 0, 6.283185307179586});
    ASSERT_EQ(0.0, s.c[1]);
    ASSERT_LT(s.c[0], 0.0);
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(std::signbit(s.c[0] * s.W[k]), std::signbit(s.scratch[k])) << k;
}
TEST(RotationState, MatricesAreRotationsByTheRightHand) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const double size = std::pow(10.0, random.between(-9, 1));
        const point<3> w{size * random.between(-1, 1), size * random.between(-1, 1),
                         size * random.between(-1, 1)};
        rotation_state s{};
        make_rotation_state(s, w);
        // p cos + (k x p) sin + k (k . p)(1 - cos), k the unit vector of the axis
        const long double theta = std::sqrt(static_cast<long double>(w[0]) * w[0] +
                                            static_cast<long double>(w[1]) * w[1] +
                                            static_cast<long double>(w[2]) * w[2]);
        const long double k[3] = {w[0] / theta, w[1] / theta, w[2] / theta};
        for (int j = 0; j < 3; ++j) {
            const int up = (j + 1) % 3;
            const int down = (j + 2) % 3;
            long double column[3];
            for (int i = 0; i < 3; ++i)
                column[i] = k[i] * k[j] * 2 * std::sin(theta / 2) * std::sin(theta / 2);
            column[j] += std::cos(theta);
            column[up] += k[down] * std::sin(theta);
            column[down] -= k[up] * std::sin(theta);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(static_cast<double>(column[i]), s.R[j * 3 + i],
                            epsilon * (4 + 2 * static_cast<double>(theta)));
        }
    }
}
TEST(RotationState, JustBelowAndAboveOneTenthRotateAlike) {
    for (const point<3>& axis :
         {point<3>{1, 0, 0}, point<3>{0.6, 0, -0.8}, point<3>{0, 0.8, 0.6}}) {
        rotation_state below{}, above{};
        const double a = 0.0999999999999999;
        const double b = 0.1000000000000001;
        make_rotation_state(below, {a * axis[0], a * axis[1], a * axis[2]});
        make_rotation_state(above, {b * axis[0], b * axis[1], b * axis[2]});
        for (int k = 0; k < 9; ++k) EXPECT_NEAR(below.R[k], above.R[k], 4 * epsilon);
    }
}

} // namespace
