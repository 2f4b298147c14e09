// SPDX-License-Identifier: Apache-2.0
// Measures of more nodes and elements than 16 bits count, checked by formula: a number that is held in too few
// bits on the way shows here.
#include "support/adjacency.h"
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel2d/curvatures.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

constexpr unsigned many = 65600; // beyond 2^16

/// The legs of a right triangle; their periods do not divide 2^16.
double leg_x(unsigned e) {
    return 1 + e % 5;
}
double leg_y(unsigned e) {
    return 1 + e % 7;
}
/// Triangles on nodes of their own. Number e has its right angle at (e, 2 e).
mesh right_triangles(unsigned rows) {
    mesh g{dense2D<double>(rows, std::size_t{3} * many, 0.0), dense2D<unsigned>(3, many)};
    for (unsigned e = 0; e < many; ++e) {
        for (unsigned k = 0; k < 3; ++k) {
            g.connect(k, e) = 3 * e + k;
            g.pos(0, 3 * e + k) = e + (k == 1 ? leg_x(e) : 0);
            g.pos(1, 3 * e + k) = 2.0 * e + (k == 2 ? leg_y(e) : 0);
            if (rows == 3) g.pos(2, 3 * e + k) = e % 3;
        }
    }
    return g;
}

class LargeMeasures : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(PlaneAndSpace, LargeMeasures, testing::Values(2U, 3U));

TEST_P(LargeMeasures, AreaIsThatOfEveryTriangle) {
    const mesh g = right_triangles(GetParam());
    double expected = 0;
    for (unsigned e = 0; e < many; ++e) expected += leg_x(e) * leg_y(e) / 2;
    double sum = 0;
    ASSERT_EQ(0, area(g.pos, g.connect, sum));
    EXPECT_EQ(expected, sum);
}

TEST_P(LargeMeasures, AreaIsThatOfEveryCellOfAStrip) {
    mesh strip = grid_Q4(many, 1, GetParam());
    double expected = 0;
    const auto height = [](unsigned i) { return 1.0 + i % 7; };
    for (unsigned i = 0; i <= many; ++i) {
        strip.pos(0, i) = strip.pos(0, many + 1 + i) = i;
        strip.pos(1, many + 1 + i) = height(i);
        if (i < many) expected += (height(i) + height(i + 1)) / 2;
    }
    double sum = 0;
    ASSERT_EQ(0, area(strip.pos, strip.connect, sum));
    EXPECT_EQ(expected, sum);
}

TEST_P(LargeMeasures, AnglesAreThoseOfEveryTriangle) {
    const mesh g = right_triangles(GetParam());
    dense1D<double, 8> least, most;
    ASSERT_EQ(0, angles(g.pos, g.connect, false, least, most));
    ASSERT_EQ(many, least.size);
    ASSERT_EQ(many, most.size);
    const double right = std::acos(0.0);
    std::size_t wrong = 0;
    for (unsigned e = 0; e < many; ++e) {
        const auto [low, high] = std::minmax({leg_x(e), leg_y(e)});
        wrong += !(std::abs(least[e] - std::atan2(low, high)) < 1e-15) ||
                 !(std::abs(most[e] - right) < 1e-15);
    }
    EXPECT_EQ(0U, wrong);
}

TEST_P(LargeMeasures, TheCircumcentreOfARightTriangleHalvesItsHypotenuse) {
    const mesh g = right_triangles(GetParam());
    dense2D<double> centres;
    ASSERT_EQ(0, circumcenters(g.pos, g.connect, centres));
    ASSERT_EQ(many, centres.cols);
    const double bound = GetParam() == 2 ? 0 : 1e-10;
    std::size_t wrong = 0;
    for (unsigned e = 0; e < many; ++e) {
        const double expected[3] = {e + leg_x(e) / 2, 2.0 * e + leg_y(e) / 2, e % 3 + 0.0};
        for (unsigned i = 0; i < GetParam(); ++i)
            wrong += !(std::abs(centres(i, e) - expected[i]) <= bound);
    }
    EXPECT_EQ(0U, wrong);
}

/// The cells around node (i, j) of a grid of n x n, counterclockwise. At the boundary they begin behind the
/// gap, inside with the first cell.
std::vector<unsigned> cells_around(unsigned n, unsigned i, unsigned j) {
    struct quarter {
        bool exists;
        unsigned cell;
    };
    const auto cell = [&](unsigned x, unsigned y) {
        return quarter{x < n && y < n, y * n + x}; // x and y of no cell wrap around
    };
    const quarter all[4] = {cell(i - 1, j - 1), cell(i, j - 1), cell(i, j), cell(i - 1, j)};
    unsigned first = 0;
    for (unsigned q = 0; q < 4; ++q)
        if (all[q].exists && !all[(q + 3) % 4].exists) first = q;
    std::vector<unsigned> around;
    for (unsigned q = 0; q < 4; ++q)
        if (all[(first + q) % 4].exists) around.push_back(all[(first + q) % 4].cell);
    return around;
}

TEST(LargeStars, EveryStarOfAGridIsByFormula) {
    constexpr unsigned n = 300;
    const mesh g = grid_Q4(n, n);
    const adjacency a = adjacency_of(g.connect, g.pos.cols);
    dense1D<unsigned, 8> starts, elements;
    ASSERT_EQ(0, get_connected_elements(g.connect, a.neighbors, a.ancestors, starts, elements));
    ASSERT_EQ(g.pos.cols + 1, starts.size);
    ASSERT_EQ(std::size_t{4} * n * n, elements.size);
    std::size_t wrong = 0;
    unsigned at = 0;
    for (unsigned j = 0; j <= n; ++j)
        for (unsigned i = 0; i <= n; ++i) {
            wrong += starts[j * (n + 1) + i] != at;
            for (const unsigned cell : cells_around(n, i, j)) wrong += elements[at++] != cell;
        }
    EXPECT_EQ(at, starts[starts.size - 1]);
    EXPECT_EQ(0U, wrong);
}

/// 600 times the same wavy patch of 110 nodes, on nodes of their own.
mesh many_patches() {
    constexpr unsigned patches = 600;
    const mesh one = grid_T3(9, 10, 3);
    const auto n = static_cast<unsigned>(one.pos.cols);
    mesh all{dense2D<double>(3, std::size_t{n} * patches),
             dense2D<unsigned>(3, one.connect.cols * patches)};
    for (unsigned p = 0; p < patches; ++p) {
        for (unsigned v = 0; v < n; ++v) {
            all.pos(0, p * n + v) = one.pos(0, v);
            all.pos(1, p * n + v) = one.pos(1, v);
            all.pos(2, p * n + v) = (v * 37 % 101) / 300.0;
        }
        for (std::size_t e = 0; e < one.connect.cols; ++e)
            for (unsigned k = 0; k < 3; ++k)
                all.connect(k, p * one.connect.cols + e) = p * n + one.connect(k, e);
    }
    return all;
}
/// How many values of the patches behind the first differ from those of the first, of 110 nodes.
std::size_t differing(const dense2D<double>& values) {
    std::size_t count = 0;
    for (std::size_t j = 110; j < values.cols; ++j)
        for (std::size_t i = 0; i < values.rows; ++i) count += values(i, j) != values(i, j % 110);
    return count;
}

TEST(LargeCurvatures, EqualPatchesHaveEqualPrincipalCurvatures) {
    const mesh g = many_patches();
    ASSERT_GT(g.pos.cols, many);
    const adjacency a = adjacency_of(g.connect, g.pos.cols);
    dense2D<double> curvatures;
    const dense2D<unsigned> no_edges;
    ASSERT_EQ(0, principal_curvatures(g.pos, g.connect, a.neighbors, 0.25, 3.0, 20, no_edges,
                                      curvatures));
    ASSERT_EQ(g.pos.cols, curvatures.cols);
    EXPECT_EQ(0U, differing(curvatures));
    EXPECT_NE(curvatures(6, 55), curvatures(6, 56)); // they differ within a patch
}

TEST(LargeCurvatures, EqualPatchesHaveEqualParametricCurvatures) {
    const mesh g = many_patches();
    dense2D<double> plane(2, g.pos.cols), derivatives(6, g.pos.cols);
    for (std::size_t j = 0; j < g.pos.cols; ++j) {
        const double slope_u = g.pos(2, j), slope_v = g.pos(2, j - j % 110 + (j % 110 + 1) % 110);
        const double columns[6] = {1, 0, slope_u, 0, 1, slope_v};
        for (unsigned i = 0; i < 2; ++i) plane(i, j) = g.pos(i, j);
        for (unsigned i = 0; i < 6; ++i) derivatives(i, j) = columns[i];
    }
    dense2D<double> form;
    ASSERT_EQ(0, parametric_curvatures(plane, g.connect, derivatives, form));
    ASSERT_EQ(g.pos.cols, form.cols);
    EXPECT_EQ(0U, differing(derivatives));
    EXPECT_EQ(0U, differing(form));
    EXPECT_NE(form(0, 55), form(0, 56));
}

} // namespace
