// SPDX-License-Identifier: Apache-2.0
// Tests of the formulas of triangles and quadrilaterals.
#include "geometry/angles.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"

#include "support/checks.h"
#include "support/meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zel::tessel2d;
using zel_test::bits;
using zel_test::infinity;
using zel_test::nan;
using p2 = zel::tessel2d::point<2>;
using p3 = zel::tessel2d::point<3>;

constexpr double pi = 3.14159265358979323846;

// The numbers with a hexadecimal mantissa were computed elsewhere, from the formulas in decimal
// coordinates; each triangle is one for which the choice of the sides shows in the last place.

// ------------------------------------------------------------------------------------------- areas

TEST(TriangleDoubleArea, IsSignedInThePlaneAndAMagnitudeInSpace) {
    EXPECT_EQ(6, triangle_double_area<2>(p2{0, 0}, p2{3, 0}, p2{1, 2}));
    EXPECT_EQ(-6, triangle_double_area<2>(p2{0, 0}, p2{1, 2}, p2{3, 0}));
    EXPECT_EQ(6, triangle_double_area<3>(p3{0, 0, 5}, p3{3, 0, 5}, p3{1, 2, 5}));
    EXPECT_EQ(6, triangle_double_area<3>(p3{0, 0, 5}, p3{1, 2, 5}, p3{3, 0, 5}));
}

TEST(TriangleDoubleArea, TakesNodeNumbers) {
    const auto pos = zel_test::points({{9, 9}, {0, 0}, {3, 0}, {1, 2}});
    EXPECT_EQ(6, triangle_double_area(points_view<2>(pos), 1, 2, 3));
    EXPECT_EQ(-6, triangle_double_area(points_view<2>(pos), 3, 2, 1));
}

TEST(TriangleDoubleArea, UsesTheSidesAtTheThirdCornerUnlessTheFirstSideIsShorter) {
    // The first side is not the shortest of the three.
    EXPECT_EQ(0x1.64f41f212d772p+2,
              triangle_double_area<2>(p2{-1.41, -2.79}, p2{1.21, -3.42}, p2{0.29, -1.07}));
    EXPECT_EQ(0x1.6df49903b54e6p+4,
              triangle_double_area<3>(p3{1.31, -3.51, 1.61}, p3{1.18, 3.94, 2.58},
                                      p3{-1.72, -0.91, 1.35}));
    EXPECT_EQ(0x1.f904cc3a8d75dp+1,
              triangle_double_area<3>(p3{-3.82, -0.31, -2.66}, p3{-3.06, -3.53, 2.15},
                                      p3{-2.97, -2.02, -0.87}));
    // It is the shortest.
    EXPECT_EQ(0x1.07ae147ae147ap+2,
              triangle_double_area<2>(p2{1.84, -1.7}, p2{3.84, -3.06}, p2{-0.66, 2.06}));
    EXPECT_EQ(-0x1.ea9ad42c3c9efp+2,
              triangle_double_area<2>(p2{-2.78, -0.09}, p2{-3.69, 1.35}, p2{2.12, 0.58}));
    EXPECT_EQ(0x1.5e054b97bd23ep+5,
              triangle_double_area<3>(p3{1.41, -3.57, 3.2}, p3{2.24, 3.0, 2.38},
                                      p3{-0.86, -0.81, -3.17}));
}

// Sides of which two have the same length to the bit, while the two ways to form the product differ in
// their last bits.
TEST(TriangleDoubleArea, OfEqualSidesTakesThoseAtTheThirdCorner) {
    EXPECT_EQ(0x1.0351b3666146dp+3, // not ...6cp+3
              triangle_double_area<2>(p2{3.4916067756712437, 2.02178006619215},
                                      p2{5.513386841863394, 5.513386841863394}, p2{0, 0}));
    EXPECT_EQ(0x1.7b3aa4266f509p+2, // not ...0ap+2
              triangle_double_area<3>(p3{2.19515560567379, 1.0862808488309383, 2.4447597339749336},
                                      p3{3.2814364545047283, 3.531040582805872, 4.639915339648724},
                                      p3{0, 0, 0}));
}

TEST(TriangleNormal, OfEqualSidesTakesTheThirdSide) {
    const p3 n =
        triangle_normal(p3{2.19515560567379, 1.0862808488309383, 2.4447597339749336},
                        p3{3.2814364545047283, 3.531040582805872, 4.639915339648724}, p3{0, 0, 0});
    EXPECT_EQ(-0x1.cbd04fbde91a9p+1, n[0]); // not ...a8p+1
    EXPECT_EQ(-0x1.14dd97939fb6bp+1, n[1]); // not ...6cp+1
    EXPECT_EQ(0x1.0bf19d332a195p+2, n[2]);  // not ...94p+2
}

TEST(TriangleDoubleArea, IsZeroWhenCollapsedAndNaNWhenACornerIs) {
    EXPECT_EQ(0, triangle_double_area<2>(p2{2, 3}, p2{2, 3}, p2{2, 3}));
    EXPECT_EQ(0, triangle_double_area<2>(p2{0, 0}, p2{1, 1}, p2{3, 3}));
    EXPECT_EQ(0, triangle_double_area<3>(p3{0, 0, 0}, p3{1, 1, 1}, p3{3, 3, 3}));
    EXPECT_TRUE(std::isnan(triangle_double_area<2>(p2{nan, 0}, p2{1, 0}, p2{0, 1})));
    EXPECT_TRUE(std::isnan(triangle_double_area<3>(p3{0, 0, 0}, p3{1, nan, 0}, p3{0, 1, 0})));
}

TEST(TriangleNormal, PointsToTheSideFromWhichTheCornersTurnCounterClockwise) {
    const p3 up = triangle_normal(p3{0, 0, 1}, p3{3, 0, 1}, p3{1, 2, 1});
    EXPECT_EQ(0, up[0]);
    EXPECT_EQ(0, up[1]);
    EXPECT_EQ(6, up[2]);
    const p3 down = triangle_normal(p3{0, 0, 1}, p3{1, 2, 1}, p3{3, 0, 1});
    EXPECT_EQ(-6, down[2]);
}

TEST(TriangleNormal, IsFormedFromTheShorterSides) {
    const p3 long_first =
        triangle_normal(p3{3.2, 2.72, -0.16}, p3{1.22, 2.4, -3.32}, p3{1.28, 3.28, 2.26});
    EXPECT_EQ(0x1.fd8adab9f558cp-1, long_first[0]);
    EXPECT_EQ(0x1.5b7b4a2339c10p+3, long_first[1]);
    EXPECT_EQ(-0x1.b923a29c779a7p+0, long_first[2]);
    const auto pos =
        zel_test::points({{-2.71, -0.55, 0.12}, {-1.29, -2.43, -1.45}, {1.78, -3.84, 0.43}});
    const p3 short_first = triangle_normal(0, 1, 2, points_view<3>(pos));
    EXPECT_EQ(-0x1.6fe0ded288ce6p+2, short_first[0]);
    EXPECT_EQ(-0x1.df53f7ced9168p+2, short_first[1]);
    EXPECT_EQ(0x1.e27bb2fec56d6p+1, short_first[2]);
}

TEST(QuadDoubleArea, IsTheProductOfTheDiagonalsInThePlane) {
    EXPECT_EQ(8, quad_double_area_2d(p2{0, 0}, p2{2, 0}, p2{2, 2}, p2{0, 2}));
    EXPECT_EQ(-8, quad_double_area_2d(p2{0, 2}, p2{2, 2}, p2{2, 0}, p2{0, 0}));
}

TEST(QuadDoubleArea, CutsAWarpedQuadrilateralWhereTheSumIsLarger) {
    // larger along the diagonal 0-2, which folds it the other way
    EXPECT_EQ(0x1.37e3195929760p+1,
              quad_double_area_3d(p3{0, 0, 0.3}, p3{1.1, 0, 0}, p3{1.2, 1, 0.4}, p3{0, 0.9, 0}));
    // larger along the diagonal 1-3
    EXPECT_EQ(0x1.f42d4d66c074ap+0,
              quad_double_area_3d(p3{0, 0, 0}, p3{1.1, 0, 0.3}, p3{0.7, 0.8, 0}, p3{0, 0.9, 0.5}));
}

TEST(QuadDoubleArea, CountsBothTrianglesOfTheOuterCutAtAReflexCornerInSpace) {
    EXPECT_EQ(0x1.999999999999ap+2,
              quad_double_area_3d(p3{0, 0, 0}, p3{2, 0, 0}, p3{0.4, 0.4, 0}, p3{0, 2, 0}));
}

// ------------------------------------------------------------------------------------------ angles

TEST(CornerAngle, TurnsFromTheNextCornerToThePrevious) {
    EXPECT_DOUBLE_EQ(pi / 2, corner_angle_2d(p2{1, 1}, p2{3, 1}, p2{1, 4}));
    EXPECT_DOUBLE_EQ(-pi / 2, corner_angle_2d(p2{1, 1}, p2{1, 4}, p2{3, 1}));
    EXPECT_DOUBLE_EQ(pi / 2, corner_angle_3d(p3{1, 1, 2}, p3{1, 4, 2}, p3{3, 1, 2}));
    EXPECT_DOUBLE_EQ(3 * pi / 4, corner_angle_3d(p3{0, 0, 0}, p3{0, 0, 2}, p3{0, 3, -3}));
}

// All vectors with components out of {-2, -0.0, 0.0, 3}.
template <int Dim>
std::vector<zel::tessel2d::point<Dim>> small_vectors() {
    const double some[] = {-2, -0.0, 0.0, 3};
    std::vector<zel::tessel2d::point<Dim>> all;
    const int count = Dim == 2 ? 16 : 64;
    for (int k = 0; k < count; ++k) {
        zel::tessel2d::point<Dim> v{};
        for (int i = 0, rest = k; i < Dim; ++i, rest /= 4)
            v[static_cast<std::size_t>(i)] = some[rest % 4];
        all.push_back(v);
    }
    return all;
}
template <int Dim>
bool has_no_length(const zel::tessel2d::point<Dim>& v) {
    for (const double x : v)
        if (x != 0) return false;
    return true;
}

TEST(CornerAngle, IsPositiveZeroAtEverySideOfLengthZeroInThePlane) {
    int tried = 0;
    const p2 corners[] = {{0, 0}, {-0.0, -0.0}, {5, -7}};
    for (const p2& corner : corners) {
        for (const p2& u : small_vectors<2>()) {
            for (const p2& w : small_vectors<2>()) {
                if (!has_no_length<2>(u) && !has_no_length<2>(w)) continue;
                const p2 next{corner[0] + u[0], corner[1] + u[1]};
                const p2 previous{corner[0] + w[0], corner[1] + w[1]};
                EXPECT_EQ(bits(0.0), bits(corner_angle_2d(corner, next, previous)))
                    << u[0] << ' ' << u[1] << " and " << w[0] << ' ' << w[1];
                ++tried;
            }
        }
    }
    EXPECT_EQ(3 * (2 * 4 * 16 - 16), tried);
}

TEST(CornerAngle, IsPositiveZeroAtEverySideOfLengthZeroInSpace) {
    int tried = 0;
    const p3 corners[] = {{0, 0, 0}, {-0.0, -0.0, -0.0}, {5, -7, 2}};
    for (const p3& corner : corners) {
        for (const p3& u : small_vectors<3>()) {
            for (const p3& w : small_vectors<3>()) {
                if (!has_no_length<3>(u) && !has_no_length<3>(w)) continue;
                const p3 next{corner[0] + u[0], corner[1] + u[1], corner[2] + u[2]};
                const p3 previous{corner[0] + w[0], corner[1] + w[1], corner[2] + w[2]};
                EXPECT_EQ(bits(0.0), bits(corner_angle_3d(corner, next, previous)));
                ++tried;
            }
        }
    }
    EXPECT_EQ(3 * (2 * 8 * 64 - 64), tried);
}

TEST(CornerAngle, OfTwoSidesWithALengthIsAtan2OfTheProductsToTheBit) {
    const p2 corner{0, 0};
    for (const p2& u : small_vectors<2>()) {
        for (const p2& w : small_vectors<2>()) {
            if (has_no_length<2>(u) || has_no_length<2>(w)) continue;
            // Zeros of either sign keep it: a straight corner is pi or -pi, a folded one 0 or -0.
            const p2 to_u{u[0] - corner[0], u[1] - corner[1]};
            const p2 to_w{w[0] - corner[0], w[1] - corner[1]};
            const double sine = to_u[0] * to_w[1] - to_u[1] * to_w[0];
            const double cosine = to_u[0] * to_w[0] + to_u[1] * to_w[1];
            EXPECT_EQ(bits(std::atan2(sine, cosine)), bits(corner_angle_2d(corner, u, w)));
        }
    }
    EXPECT_EQ(-pi, corner_angle_2d(p2{0, 0}, p2{-1, 0}, p2{1, 0}));
    EXPECT_EQ(pi, corner_angle_2d(p2{0, 0}, p2{1, 0}, p2{-1, 0}));
}

TEST(CornerAngle, OfSidesWhoseProductsUnderflowFollowsTheSignsOfTheZeros) {
    EXPECT_EQ(pi, corner_angle_2d(p2{0, 0}, p2{1e-200, 1e-200}, p2{-1e-200, -1e-200}));
    EXPECT_EQ(pi, corner_angle_3d(p3{0, 0, 0}, p3{-1e-200, -1e-200, -1e-200},
                                  p3{1e-200, 1e-200, 1e-200}));
    EXPECT_EQ(bits(0.0), bits(corner_angle_2d(p2{0, 0}, p2{1e-200, 0}, p2{1e-200, 0})));
}

TEST(CornerAngle, OfNaNIsNaN) {
    EXPECT_TRUE(std::isnan(corner_angle_2d(p2{0, nan}, p2{1, 0}, p2{0, 1})));
    EXPECT_TRUE(std::isnan(corner_angle_3d(p3{0, 0, 0}, p3{1, nan, 0}, p3{0, 1, 0})));
    EXPECT_TRUE(std::isnan(corner_angle_2d(p2{infinity, 0}, p2{infinity, 0}, p2{0, 1})));
}

TEST(TriangleAngles, ComeInCornerOrderAndScaled) {
    const auto pos = zel_test::points({{7, 7}, {0, 0}, {1, 0}, {0, 1}});
    const auto plain = triangle_angles(points_view<2>(pos), 1, 2, 3, false);
    EXPECT_DOUBLE_EQ(pi / 2, plain[0]);
    EXPECT_DOUBLE_EQ(pi / 4, plain[1]);
    EXPECT_DOUBLE_EQ(pi / 4, plain[2]);
    const auto scaled = triangle_angles(points_view<2>(pos), 2, 3, 1, true);
    EXPECT_EQ(plain[1] * 0.9549296585513721, scaled[0]);
    EXPECT_EQ(plain[0] * 0.9549296585513721, scaled[2]);
}

TEST(QuadAngles, ComeInCornerOrderAndScaled) {
    const auto pos = zel_test::points({{0, 0, 1}, {4, 0, 1}, {2, 2, 1}, {0, 2, 1}});
    const auto plain = quad_angles(points_view<3>(pos), 0, 1, 2, 3, false);
    EXPECT_DOUBLE_EQ(pi / 2, plain[0]);
    EXPECT_DOUBLE_EQ(pi / 4, plain[1]);
    EXPECT_DOUBLE_EQ(3 * pi / 4, plain[2]);
    EXPECT_DOUBLE_EQ(pi / 2, plain[3]);
    const auto scaled = quad_angles(points_view<3>(pos), 0, 1, 2, 3, true);
    EXPECT_EQ(1, scaled[0]);
    EXPECT_EQ(plain[1] * 0.6366197723675814, scaled[1]);
}

// ----------------------------------------------------------------------------------- small systems

TEST(Solve2x2Symmetric, SolvesExactlyWhatIsExact) {
    double x = 0;
    double y = 0;
    solve_2x2_symmetric(2.0, 1.0, 3.0, 1.0 / 5, 4.0, 7.0, x, y, 2); // 2x + y = 4, x + 3y = 7
    EXPECT_DOUBLE_EQ(1, x);
    EXPECT_DOUBLE_EQ(2, y);
}

TEST(Solve2x2Symmetric, EachPassRepairsAWrongInverseDeterminant) {
    // With 0.9 of the inverse determinant a pass leaves a tenth of the error.
    double x = 0;
    double y = 0;
    const auto solve = [&](int passes) {
        solve_2x2_symmetric(1.0, 0.0, 1.0, 0.9, 1.0, 1.0, x, y, passes);
        return x;
    };
    EXPECT_NEAR(0.9, solve(0), 1e-15);
    EXPECT_NEAR(0.99, solve(1), 1e-15);
    EXPECT_NEAR(0.999, solve(2), 1e-15);
    EXPECT_NEAR(1, solve(100), 2e-12); // and stops on its own
    EXPECT_EQ(x, y);
}

TEST(Solve2x2Symmetric, StopsAtNaN) {
    double x = 0;
    double y = 0;
    solve_2x2_symmetric(1.0, 0.0, 1.0, nan, 1.0, 1.0, x, y, 2000000000);
    EXPECT_TRUE(std::isnan(x));
    EXPECT_TRUE(std::isnan(y));
}

// ---------------------------------------------------------------------------------- circumcircles

TEST(TriangleCircumcircle, HasTheBitsOfItsFormulaInThePlane) {
    const auto circle = triangle_circumcircle(p2{0.1, 0.7}, p2{1.3, -0.2}, p2{0.9, 1.7});
    EXPECT_EQ(0x1.1200000000001p+0, circle.center[0]);
    EXPECT_EQ(0x1.7cccccccccccdp-1, circle.center[1]);
    EXPECT_EQ(0x1.e308000000000p-1, circle.squared_radius);
}

TEST(TriangleCircumcircle, HasTheBitsOfItsFormulaInSpace) {
    const auto circle =
        triangle_circumcircle(p3{0.1, 0.7, 0.3}, p3{0.4, 0.6, 0.4}, p3{0.9, 1.7, -0.6});
    EXPECT_EQ(0x1.27fb65d320ca8p-1, circle.center[0]);
    EXPECT_EQ(0x1.2ab6f077a88eap+0, circle.center[1]);
    EXPECT_EQ(-0x1.e0ef511d56de0p-4, circle.center[2]);
    EXPECT_EQ(0x1.3dd40c6d12c10p-1, circle.squared_radius);
}

TEST(TriangleCircumcircle, OfARightTriangleInThePlaneIsThatOfItsHypotenuse) {
    const p2 p[3] = {{0, 0}, {4, 0}, {0, 3}};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto circle = triangle_circumcircle(p[k], p[(k + 1) % 3], p[(k + 2) % 3]);
        EXPECT_EQ(2, circle.center[0]);
        EXPECT_EQ(1.5, circle.center[1]);
        EXPECT_EQ(6.25, circle.squared_radius);
    }
}

TEST(TriangleCircumcircle, OfARightTriangleInSpaceIsThatOfItsHypotenuse) {
    const p3 p[3] = {{0, 0, 1}, {4, 0, 1}, {0, 3, 1}};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto circle = triangle_circumcircle(p[k], p[(k + 1) % 3], p[(k + 2) % 3]);
        EXPECT_DOUBLE_EQ(2, circle.center[0]);
        EXPECT_DOUBLE_EQ(1.5, circle.center[1]);
        EXPECT_EQ(1, circle.center[2]);
        EXPECT_DOUBLE_EQ(6.25, circle.squared_radius);
    }
}

TEST(TriangleCircumcircle, OfAFlatTriangleInThePlaneHasNoRadius) {
    const auto between = triangle_circumcircle(p2{0, 0}, p2{10, 10}, p2{2, 2});
    EXPECT_EQ(5, between.center[0]);
    EXPECT_EQ(5, between.center[1]);
    EXPECT_EQ(1.7976931348623157e308, between.squared_radius);
}

TEST(TriangleCircumcircle, IsFlatInThePlaneBelowAHeightOfFiveTenTrillionths) {
    // A side of length 2 from (-1, 0) and a corner at (1/2, h): the bound of h is 5e-13 of 1/2.
    const p2 a{-1, 0};
    const p2 b{1, 0};
    for (const double sign : {1.0, -1.0}) {
        const auto steep = triangle_circumcircle(a, b, p2{0.5, sign * 0.251e-12});
        EXPECT_NE(unbounded, steep.squared_radius);
        EXPECT_EQ(0, steep.center[0]);
        // The centre (0, y) has 1 + y^2 = 1/4 + (h - y)^2, so that y = -3/8 / h.
        EXPECT_NEAR(-0.375 / 0.251e-12, sign * steep.center[1], 1e-3);
        const auto flat = triangle_circumcircle(a, b, p2{0.5, sign * 0.249e-12});
        EXPECT_EQ(unbounded, flat.squared_radius);
        EXPECT_EQ(0, flat.center[0]);
        EXPECT_EQ(0, flat.center[1]);
    }
}

TEST(TriangleCircumcircle, OfThreePointsOnALineIsThatOfTwoIfTheThirdIsAtAnEnd) {
    const p2 a{-1, 0};
    const p2 b{1, 0};
    EXPECT_EQ(1, triangle_circumcircle(a, b, p2{1 - 0.49e-12, 0}).squared_radius);
    EXPECT_EQ(unbounded, triangle_circumcircle(a, b, p2{1 - 0.51e-12, 0}).squared_radius);
    EXPECT_EQ(1, triangle_circumcircle(a, p2{-1 + 0.49e-12, 0}, b).squared_radius);
    EXPECT_EQ(unbounded, triangle_circumcircle(p2{-1 + 0.51e-12, 0}, a, b).squared_radius);
}

TEST(TriangleCircumcircle, OfTwoPointsInThePlaneIsTheSmallestAroundThem) {
    const p2 a{0, 0};
    const p2 b{6, 8};
    const circumcircle<2> circles[] = {
        triangle_circumcircle(a, a, b), triangle_circumcircle(a, b, a),
        triangle_circumcircle(b, a, a), triangle_circumcircle(a, b, b)};
    for (const auto& circle : circles) {
        EXPECT_EQ(3, circle.center[0]);
        EXPECT_EQ(4, circle.center[1]);
        EXPECT_EQ(25, circle.squared_radius);
    }
}

TEST(TriangleCircumcircle, OfOnePointInThePlaneHasRadiusZero) {
    const auto circle = triangle_circumcircle(p2{2, 3}, p2{2, 3}, p2{2, 3});
    EXPECT_EQ(2, circle.center[0]);
    EXPECT_EQ(3, circle.center[1]);
    EXPECT_EQ(0, circle.squared_radius);
}

TEST(TriangleCircumcircle, OfAFlatTriangleInSpaceIsItsThirdCornerWithoutRadius) {
    // the first side shortest, or not
    const p3 p[3] = {{0, 0, 0}, {1, 1, 1}, {5, 5, 5}};
    for (std::size_t k = 0; k < 3; ++k) {
        const p3& third = p[(k + 2) % 3];
        const auto circle = triangle_circumcircle(p[k], p[(k + 1) % 3], third);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(third[i], circle.center[i]);
        EXPECT_EQ(1.7976931348623157e308, circle.squared_radius);
    }
}

TEST(TriangleCircumcircle, IsFlatInSpaceBelowASineOfOneInAMillion) {
    const auto round = triangle_circumcircle(p3{1, 0, 0}, p3{1, 2e-6, 0}, p3{0, 0, 0});
    EXPECT_NE(unbounded, round.squared_radius); // the shortest side is at a right angle
    const auto steep = triangle_circumcircle(p3{1, 0, 0}, p3{-1, 1.1e-6, 0}, p3{0, 0, 0});
    EXPECT_NE(unbounded, steep.squared_radius);
    const auto flat = triangle_circumcircle(p3{1, 0, 0}, p3{-1, 0.9e-6, 0}, p3{0, 0, 0});
    EXPECT_EQ(unbounded, flat.squared_radius);
}

TEST(TriangleCircumcircle, EndsAndStaysFlatWithNaNAndInfinity) {
    const auto plane = triangle_circumcircle(p2{nan, 0}, p2{1, 0}, p2{0, 1});
    EXPECT_EQ(0.5, plane.center[0]); // flat over the one side that can be measured
    EXPECT_EQ(0.5, plane.center[1]);
    EXPECT_EQ(0.5, plane.squared_radius);
    const auto space = triangle_circumcircle(p3{nan, 0, 0}, p3{1, 0, 0}, p3{0, 1, 7});
    EXPECT_EQ(unbounded, space.squared_radius);
    EXPECT_EQ(7, space.center[2]);
    const auto far = triangle_circumcircle(p3{0, 0, 0}, p3{infinity, 0, 0}, p3{0, 1, 7});
    EXPECT_EQ(unbounded, far.squared_radius);
}

TEST(Solve2x2Symmetric, WithoutRefinementIsCramersRuleToTheBit) {
    double x = 0, y = 0;
    solve_2x2_symmetric(4.0, 2.0, 3.0, 1.0 / 8, 16.0, 12.0, x, y, 0); // 4x + 2y = 16, 2x + 3y = 12
    EXPECT_EQ(3, x);
    EXPECT_EQ(2, y);
}

} // namespace
