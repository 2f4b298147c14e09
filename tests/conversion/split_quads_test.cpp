// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/conversion.h"

#include "conversion/quad_quality.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cmath>
#include <cstdint>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using testing::IsEmpty;
using zel::tessel2d::split_Q4_into_T3;

const unsigned none = no_node;

/// The selective form with its lists.
struct selection {
    dense1D<unsigned, 8> kept = ids({77});
    dense1D<unsigned, 8> split = ids({77});
    dense2D<unsigned> out;
    int result = 0;

    selection(const dense2D<double>& pos, const dense2D<unsigned>& connect, double shape,
              double angle, double warp, int criterion) {
        result = split_Q4_into_T3(pos, connect, shape, angle, warp, criterion, kept, split, out);
    }
    /// Of one quadrilateral that is split: true if it is cut from its smallest node.
    bool took_first() const { return out(0, 0) <= out(0, 1); }
};

/// Which diagonal the selective form takes for one quadrilateral, by the nodes of the diagonal.
std::pair<unsigned, unsigned> diagonal(const dense2D<double>& pos, const dense2D<unsigned>& quad,
                                       int criterion) {
    const selection s(pos, quad, 2, 2, 2, criterion);
    EXPECT_EQ(1, s.result);
    EXPECT_EQ(2U, s.out.cols);
    return {s.out(0, 0), s.out(2, 0)};
}

/// A quadrilateral 0, 1, 2, 3 with the given points.
struct quad_points {
    dense2D<double> pos;
    dense2D<unsigned> connect = cells({{0, 1, 2, 3}});
};

// --------------------------------------------------------------------------------------- blind form

TEST(SplitQ4IntoT3, TheBlindFormCutsFromTheFirstNodeAndKeepsTheOrder) {
    const auto connect = cells({{7, 3, 9, 1}, {4, 5, 6, none}, {0, 1, 2, 3}});
    dense2D<unsigned> out;
    ASSERT_EQ(2, split_Q4_into_T3(connect, out));
    EXPECT_THAT(columns(out), ElementsAre(cell(7, 3, 9), cell(9, 1, 7), cell(4, 5, 6),
                                          cell(0, 1, 2), cell(2, 3, 0)));
}

TEST(SplitQ4IntoT3, TrianglesAreAppendedAsTheyAre) {
    const auto triangles = cells({{7, 3, 9}, {4, 5, 6}});
    auto out = cells({{1, 1, 1}});
    EXPECT_EQ(0, split_Q4_into_T3(triangles, out));
    EXPECT_THAT(columns(out), ElementsAre(cell(1, 1, 1), cell(7, 3, 9), cell(4, 5, 6)));
    const auto pos = dense2D<double>(2, 10, 0.0);
    EXPECT_EQ(0, split_Q4_into_T3(pos, triangles, out));
    EXPECT_EQ(5U, out.cols);
}

TEST(SplitQ4IntoT3, TheBlindFormAppendsToViewsAndTakesItsInputFromTheSameBlock) {
    const auto connect = framed(cells({{7, 3, 9, 1}, {4, 5, 6, none}}));
    auto out = framed(cells({{1, 1, 1}}));
    ASSERT_EQ(1, split_Q4_into_T3(connect.view, out.view));
    EXPECT_THAT(columns(out.view),
                ElementsAre(cell(1, 1, 1), cell(7, 3, 9), cell(9, 1, 7), cell(4, 5, 6)));
    auto block = cells({{7, 3, 9, 1}, {4, 5, 6, none}});
    auto same = block.sub_matrix(0, 0, 3, 1);
    ASSERT_EQ(1, split_Q4_into_T3(block, same));
    EXPECT_THAT(columns(same),
                ElementsAre(cell(7, 3, 9), cell(7, 3, 9), cell(9, 1, 7), cell(4, 5, 6)));
    auto triangles = cells({{7, 3, 9}, {4, 5, 6}});
    auto front = triangles.sub_matrix(0, 0, 3, 1);
    ASSERT_EQ(0, split_Q4_into_T3(triangles, front));
    EXPECT_THAT(columns(front), ElementsAre(cell(7, 3, 9), cell(7, 3, 9), cell(4, 5, 6)));
}

TEST(SplitQ4IntoT3, ColumnsThatAnOutputWithoutRowsBringsAlongStayAndHoldNoNode) {
    const auto square = unit_square();
    for (const bool by_quality : {false, true}) {
        const auto split = [&](const dense2D<unsigned>& connect, dense2D<unsigned>& out) {
            return by_quality ? split_Q4_into_T3(square.pos, connect, out)
                              : split_Q4_into_T3(connect, out);
        };
        dense2D<unsigned> out(0, 2);
        ASSERT_EQ(1, split(square.connect, out));
        EXPECT_THAT(columns(out), ElementsAre(cell(none, none, none), cell(none, none, none),
                                              cell(0, 1, 2), cell(2, 3, 0)));
        dense2D<unsigned> triangles(0, 1);
        ASSERT_EQ(0, split(cells({{0, 1, 2}, {3, 2, 1}}), triangles));
        EXPECT_THAT(columns(triangles),
                    ElementsAre(cell(none, none, none), cell(0, 1, 2), cell(3, 2, 1)));
    }
}

TEST(SplitQ4IntoT3, StatusesOfTheBlindFormInTheirOrder) {
    auto bad_out = cells({{1, 2, 3, 4}});
    EXPECT_EQ(0, split_Q4_into_T3(dense2D<unsigned>(2, 0), bad_out));
    for (const std::size_t rows : {0U, 1U, 2U, 5U, 8U}) {
        const dense2D<unsigned> connect(rows, 2, 0U);
        EXPECT_EQ(-1, split_Q4_into_T3(connect, bad_out)) << rows;
    }
    EXPECT_EQ(-2, split_Q4_into_T3(cells({{0, 1, 2, 3}}), bad_out));
    EXPECT_EQ(-2, split_Q4_into_T3(cells({{0, 1, 2}}), bad_out));
    EXPECT_THAT(columns(bad_out), ElementsAre(cell(1, 2, 3, 4)));
}

TEST(SplitQ4IntoT3, ExhaustedMemoryInTheBlindFormIsReportedAndNothingChanges) {
    for (const auto& mesh : {grid_mixed(3, 3), grid_T3(3, 3)}) {
        fail_each_allocation([&](std::size_t k) {
            auto out = cells({{9, 8, 7}});
            const auto before = snapshot(out);
            arm_allocator(k);
            const int status = split_Q4_into_T3(mesh.connect, out);
            if (disarm_allocator() && status < 0) {
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(out));
            } else {
                EXPECT_GE(status, 0);
            }
        });
    }
}

TEST(SplitQ4IntoT3, ExhaustedMemoryLeavesTheShapeOfAnEmptyOutput) {
    for (const bool by_quality : {false, true}) {
        const auto mesh = grid_T3(2, 2);
        fail_each_allocation([&](std::size_t k) {
            dense2D<unsigned> out;
            ASSERT_TRUE(out.resize(0, 5));
            arm_allocator(k);
            const int status = by_quality ? split_Q4_into_T3(mesh.pos, mesh.connect, out)
                                          : split_Q4_into_T3(mesh.connect, out);
            if (disarm_allocator() && status < 0) {
                EXPECT_EQ(-199, status);
                EXPECT_EQ(0U, out.rows);
                EXPECT_EQ(5U, out.cols);
            } else {
                auto expected = columns(mesh.connect);
                expected.insert(expected.begin(), 5, cell(none, none, none));
                EXPECT_EQ(expected, columns(out));
            }
        });
    }
}

// ------------------------------------------------------------------------------------- quality form

TEST(SplitQ4IntoT3ByQuality, ASquareIsCutFromItsSmallestNode) {
    const auto square = unit_square();
    for (unsigned shift = 0; shift < 4; ++shift) {
        auto turned = fresh_copy(square.connect);
        for (unsigned i = 0; i < 4; ++i) turned(i, 0) = (i + shift) % 4;
        dense2D<unsigned> out;
        ASSERT_EQ(1, split_Q4_into_T3(square.pos, turned, out));
        EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2), cell(2, 3, 0))) << shift;
    }
}

TEST(SplitQ4IntoT3ByQuality, OrientationIsKept) {
    const auto square = unit_square();
    dense2D<unsigned> out;
    ASSERT_EQ(1, split_Q4_into_T3(square.pos, cells({{3, 2, 1, 0}}), out));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 3, 2), cell(2, 1, 0)));
}

TEST(SplitQ4IntoT3ByQuality, TheShorterDiagonalOfARhombusWins) {
    const quad_points flat{points({{0, 0}, {1, -0.4}, {2, 0}, {1, 0.4}})};
    const quad_points tall{points({{0, 0}, {1, -3}, {2, 0}, {1, 3}})};
    dense2D<unsigned> out;
    ASSERT_EQ(1, split_Q4_into_T3(flat.pos, flat.connect, out));
    ASSERT_EQ(1, split_Q4_into_T3(tall.pos, tall.connect, out));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(1, 2, 3), cell(3, 0, 1), cell(0, 1, 2), cell(2, 3, 0)));
}

TEST(SplitQ4IntoT3ByQuality, AReentrantCornerIsCutFromThatCorner) {
    const quad_points arrow{points({{0, 0}, {2, 1}, {0, 2}, {0.5, 1}})}; // node 3 is re-entrant
    dense2D<unsigned> out;
    ASSERT_EQ(1, split_Q4_into_T3(arrow.pos, arrow.connect, out));
    EXPECT_THAT(columns(out), ElementsAre(cell(1, 2, 3), cell(3, 0, 1)));
}

TEST(SplitQ4IntoT3ByQuality, EqualSmallestNumbersCountFromTheFirst) {
    const auto square = unit_square();
    dense2D<unsigned> out;
    ASSERT_EQ(1, split_Q4_into_T3(square.pos, cells({{2, 1, 3, 1}}), out));
    EXPECT_EQ(2U, out.cols);
    EXPECT_EQ(1U, out(0, 0));
    EXPECT_EQ(3U, out(1, 0));
}

TEST(SplitQ4IntoT3ByQuality, MixedMeshesViewsAndSharedBlocks) {
    const auto mesh = grid_mixed(4, 3);
    dense2D<unsigned> plain;
    const int quads = split_Q4_into_T3(mesh.pos, mesh.connect, plain);
    ASSERT_EQ(8, quads);
    EXPECT_EQ(24U, plain.cols);
    expect_valid_mesh(mesh.pos, plain);
    const auto pos = framed(mesh.pos);
    const auto connect = framed(mesh.connect);
    auto out = framed(cells({{1, 1, 1}}));
    ASSERT_EQ(quads, split_Q4_into_T3(pos.view, connect.view, out.view));
    EXPECT_EQ(snapshot(plain), snapshot(out.view.sub_matrix(0, 1, 3, 24)));
    auto block = fresh_copy(mesh.connect);
    auto same = block.sub_matrix(0, 0, 3, 0);
    ASSERT_EQ(quads, split_Q4_into_T3(mesh.pos, block, same));
    EXPECT_EQ(snapshot(plain), snapshot(same));
}

TEST(SplitQ4IntoT3ByQuality, StatusesInTheirOrder) {
    const auto square = unit_square();
    const dense2D<double> bad_pos(1, 4, 0.0);
    auto bad_out = cells({{1, 2, 3, 4}});
    const auto bad_connect = cells({{0, 1, 2, 4}});
    EXPECT_EQ(0, split_Q4_into_T3(bad_pos, dense2D<unsigned>(2, 0), bad_out));
    EXPECT_EQ(-1, split_Q4_into_T3(bad_pos, bad_connect, bad_out));
    EXPECT_EQ(-2, split_Q4_into_T3(square.pos, bad_connect, bad_out));
    EXPECT_EQ(-2, split_Q4_into_T3(square.pos, cells({{0, 1}}), bad_out));
    EXPECT_EQ(-2, split_Q4_into_T3(square.pos, cells({{0, 1, none}}), bad_out));
    EXPECT_EQ(-3, split_Q4_into_T3(square.pos, square.connect, bad_out));
    EXPECT_EQ(-3, split_Q4_into_T3(square.pos, cells({{0, 1, 2}}), bad_out));
    dense2D<unsigned> out;
    EXPECT_EQ(0, split_Q4_into_T3(square.pos, dense2D<unsigned>(0, 2), out));
    EXPECT_TRUE(out.empty());
}

TEST(SplitQ4IntoT3ByQuality, ExhaustedMemoryIsReportedAndNothingChanges) {
    for (const auto& mesh : {grid_mixed(3, 3), grid_T3(3, 3)}) {
        fail_each_allocation([&](std::size_t k) {
            auto out = cells({{9, 8, 7}});
            const auto before = snapshot(out);
            arm_allocator(k);
            const int status = split_Q4_into_T3(mesh.pos, mesh.connect, out);
            if (disarm_allocator() && status < 0) {
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(out));
            } else {
                EXPECT_GE(status, 0);
            }
        });
    }
}

// --------------------------------------------------------------------------------------- selection

TEST(SplitQ4IntoT3Selected, LowThresholdsKeepEverything) {
    const auto mesh = grid_mixed(4, 3);
    for (int criterion = -1; criterion < 9; ++criterion) {
        const selection s(mesh.pos, mesh.connect, -2, -2, -2, criterion);
        EXPECT_EQ(0, s.result);
        EXPECT_THAT(values(s.split), IsEmpty());
        EXPECT_EQ(mesh.connect.cols, s.kept.size);
        EXPECT_EQ(snapshot(mesh.connect), snapshot(s.out));
    }
}

TEST(SplitQ4IntoT3Selected, NoElementReachesAQualityAboveOne) {
    const auto mesh = grid_mixed(4, 3);
    for (const auto& least : {point(1.5, -2, -2), point(-2, 1.5, -2), point(-2, -2, 1.5)}) {
        const selection s(mesh.pos, mesh.connect, least[0], least[1], least[2], 1);
        EXPECT_EQ(8, s.result);
        EXPECT_EQ(8U, s.kept.size);
        for (const unsigned e : s.kept) EXPECT_EQ(none, mesh.connect(3, e));
        for (const unsigned e : s.split) EXPECT_NE(none, mesh.connect(3, e));
        EXPECT_EQ(24U, s.out.cols);
        expect_valid_mesh(mesh.pos, s.out);
    }
}

TEST(SplitQ4IntoT3Selected, KeptElementsPrecedeSplitOnes) {
    // Element 0 is a bad quadrilateral, 1 a triangle, 2 a square.
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}, {9, 0}, {9, 0.1}});
    const auto connect = cells({{1, 5, 6, 2}, {1, 4, 2, none}, {0, 1, 2, 3}});
    selection s(pos, connect, 0.5, -2, -2, 1);
    ASSERT_EQ(1, s.result);
    EXPECT_THAT(values(s.kept), ElementsAre(1, 2));
    EXPECT_THAT(values(s.split), ElementsAre(0));
    EXPECT_THAT(columns(s.out), ElementsAre(cell(1, 4, 2, none), cell(0, 1, 2, 3),
                                            cell(1, 5, 6, none), cell(6, 2, 1, none)));
}

TEST(SplitQ4IntoT3Selected, ADegenerateQuadrilateralIsSplitAtAnyPositiveThreshold) {
    for (const unsigned rows : {2U, 3U}) {
        const auto square = unit_square(rows);
        for (const auto& quad :
             {cells({{0, 0, 1, 2}}), cells({{0, 1, 1, 2}}), cells({{0, 1, 2, 0}}),
              cells({{0, 1, 0, 3}}), cells({{1, 1, 1, 1}})}) {
            EXPECT_EQ(1, selection(square.pos, quad, 1e-300, -2, -2, 1).result);
        }
    }
}

TEST(SplitQ4IntoT3Selected, TheSelectiveFormAppendsAndTakesInputsFromTheBlocksOfItsOutputs) {
    const auto mesh = grid_mixed(4, 3);
    const selection plain(mesh.pos, mesh.connect, 1.5, 0, 0, 1);
    const auto pos = framed(mesh.pos);
    const auto connect = framed(mesh.connect);
    auto out = framed(cells({{1, 1, 1, 1}}));
    dense1D<unsigned, 8> kept, split;
    ASSERT_EQ(8, split_Q4_into_T3(pos.view, connect.view, 1.5, 0, 0, 1, kept, split, out.view));
    EXPECT_EQ(snapshot(plain.out), snapshot(out.view.sub_matrix(0, 1, 4, plain.out.cols)));
    EXPECT_THAT(column(out.view, 0), ElementsAre(1, 1, 1, 1));
    auto block = fresh_copy(mesh.connect);
    auto same = block.sub_matrix(0, 0, 4, 0);
    kept = block.as_vector();
    split = block.as_vector();
    ASSERT_EQ(8, split_Q4_into_T3(mesh.pos, block, 1.5, 0, 0, 1, kept, split, same));
    EXPECT_EQ(snapshot(plain.kept, plain.split, plain.out), snapshot(kept, split, same));
}

TEST(SplitQ4IntoT3Selected, ColumnsThatAnOutputWithoutRowsBringsAlongStayAndHoldNoNode) {
    const auto square = unit_square();
    dense1D<unsigned, 8> kept, split;
    dense2D<unsigned> out(0, 1);
    const auto connect = cells({{0, 1, 2, 3}, {0, 1, 2, none}});
    ASSERT_EQ(1, split_Q4_into_T3(square.pos, connect, 2, 2, 2, 1, kept, split, out));
    EXPECT_THAT(columns(out), ElementsAre(cell(none, none, none, none), cell(0, 1, 2, none),
                                          cell(0, 1, 2, none), cell(2, 3, 0, none)));
}

TEST(SplitQ4IntoT3Selected, StatusesInTheirOrderWithEmptyLists) {
    const auto square = unit_square();
    const dense2D<double> bad_pos(1, 4, 0.0);
    const auto bad_out = cells({{1, 2, 3}});
    const auto status = [](const dense2D<double>& pos, const dense2D<unsigned>& connect,
                           const dense2D<unsigned>& out) {
        auto kept = ids({1});
        auto split = ids({2});
        auto own = fresh_copy(out);
        const int result = split_Q4_into_T3(pos, connect, 0, 0, 0, 1, kept, split, own);
        EXPECT_TRUE(kept.empty());
        EXPECT_TRUE(split.empty());
        EXPECT_EQ(snapshot(out), snapshot(own));
        return result;
    };
    EXPECT_EQ(0, status(bad_pos, dense2D<unsigned>(2, 0), bad_out));
    EXPECT_EQ(-1, status(bad_pos, cells({{0, 1, 2}}), bad_out));
    EXPECT_EQ(-2, status(square.pos, cells({{0, 1, 2}}), bad_out));
    EXPECT_EQ(-2, status(square.pos, dense2D<unsigned>(0, 2), bad_out));
    EXPECT_EQ(-2, status(square.pos, cells({{0, 1, 2, 4}}), bad_out));
    EXPECT_EQ(-8, status(square.pos, square.connect, bad_out));
}

TEST(SplitQ4IntoT3Selected, OneListForBothReadsNoFillerAsNode) {
    for (const unsigned rows : {2U, 3U}) {
        const auto g = grid_mixed(4, 3, rows);
        dense1D<unsigned, 8> both;
        dense2D<unsigned> out;
        const int status = split_Q4_into_T3(g.pos, g.connect, 2, 2, 2, 0, both, both, out);
        EXPECT_EQ(static_cast<int>(g.connect.cols), status);
        for (const unsigned e : both) EXPECT_LT(e, g.connect.cols);
        for (std::size_t e = 0; e < out.cols; ++e)
            for (std::size_t i = 0; i < 4; ++i)
                EXPECT_TRUE(out(i, e) < g.pos.cols || (i == 3 && out(i, e) == no_node)) << e;
    }
}

TEST(SplitQ4IntoT3Selected, ExhaustedMemoryIsReportedWithEmptyLists) {
    const auto mesh = grid_mixed(3, 3);
    fail_each_allocation([&](std::size_t k) {
        auto out = cells({{9, 8, 7, 6}});
        dense1D<unsigned, 8> kept, split;
        const auto before = snapshot(kept, split, out);
        arm_allocator(k);
        const int status = split_Q4_into_T3(mesh.pos, mesh.connect, 2, 0, 0, 1, kept, split, out);
        if (disarm_allocator()) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(kept, split, out));
        } else {
            EXPECT_EQ(6, status);
        }
    });
}

// ----------------------------------------------------------------- qualities, through the thresholds

/// The threshold at which a quadrilateral ceases to be kept, by bisection: its quality.
double quality(const quad_points& q, std::size_t which) {
    double low = -2;
    double high = 2;
    for (int i = 0; i < 60; ++i) {
        const double middle = (low + high) / 2;
        double least[3] = {-2, -2, -2};
        least[which] = middle;
        const selection s(q.pos, q.connect, least[0], least[1], least[2], 1);
        (s.result == 0 ? low : high) = middle;
    }
    return low;
}
constexpr std::size_t shape = 0, angle = 1, warp = 2;
constexpr double close = 4e-15;

TEST(QuadQuality, ASquareHasOne) {
    for (const unsigned rows : {2U, 3U}) {
        const quad_points square{unit_square(rows).pos};
        EXPECT_NEAR(1, quality(square, shape), close);
        EXPECT_NEAR(1, quality(square, angle), close);
        EXPECT_NEAR(1, quality(square, warp), close);
    }
}

TEST(QuadQuality, ARectangleByItsFormula) {
    // Sides 1 and 2: corner products 2, longest is the diagonal, perimeter 6.
    for (const unsigned rows : {2U, 3U}) {
        quad_points q{dense2D<double>(rows, 4, 0.0)};
        q.pos(0, 1) = q.pos(0, 2) = 2;
        q.pos(1, 2) = q.pos(1, 3) = 1;
        EXPECT_NEAR(2 / (std::sqrt(5.0) * 6) * 4 * std::sqrt(2.0), quality(q, shape), close);
    }
}

TEST(QuadQuality, InThePlaneClockwiseAndReentrantAreNegativeInSpaceNothingIs) {
    const quad_points clockwise{points({{0, 0}, {0, 1}, {1, 1}, {1, 0}})};
    EXPECT_NEAR(-1, quality(clockwise, shape), close);
    EXPECT_NEAR(-1, quality(clockwise, angle), close);
    const quad_points arrow{points({{0, 0}, {2, 1}, {0, 2}, {0.5, 1}})};
    EXPECT_LT(quality(arrow, shape), 0);
    const quad_points in_space{points({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}})};
    EXPECT_NEAR(1, quality(in_space, shape), close);
    const quad_points arrow_in_space{points({{0, 0, 0}, {2, 1, 0}, {0, 2, 0}, {0.5, 1, 0}})};
    EXPECT_NEAR(0, quality(arrow_in_space, shape), close); // opposite normals: fully warped
    EXPECT_NEAR(0, quality(arrow_in_space, warp), close);
}

TEST(QuadQuality, AnglesAboveARightOneCountAsMuchLess) {
    // A rhombus of 60 and 120 degrees: 2/3 and 4/3, which folds to 2/3.
    const double h = std::sqrt(3.0) / 2;
    const quad_points rhombus{points({{0, 0}, {1, 0}, {1.5, h}, {0.5, h}})};
    EXPECT_NEAR(2.0 / 3, quality(rhombus, angle), close);
}

TEST(QuadQuality, WarpIsOneMinusTheSineOfHalfTheAngleOfTheNormals) {
    // A square bent about its diagonal 0-2: corner 3 is lifted. The normals at 1 and 3 enclose the
    // angle of the two halves, those at 0 and 2 are the normals of the planes at the fold's ends.
    for (const double lift : {0.1, 0.5, 2.0}) {
        quad_points q{points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, lift}})};
        const auto normal = [&](unsigned k) {
            const double* const a = q.pos[(k + 3) % 4];
            const double* const b = q.pos[k];
            const double* const c = q.pos[(k + 1) % 4];
            const long double u[3] = {static_cast<long double>(b[0]) - a[0],
                                      static_cast<long double>(b[1]) - a[1],
                                      static_cast<long double>(b[2]) - a[2]};
            const long double v[3] = {static_cast<long double>(c[0]) - b[0],
                                      static_cast<long double>(c[1]) - b[1],
                                      static_cast<long double>(c[2]) - b[2]};
            return std::array<long double, 3>{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                              u[0] * v[1] - u[1] * v[0]};
        };
        const auto cosine = [&](unsigned i, unsigned j) {
            const auto a = normal(i);
            const auto b = normal(j);
            long double ab = 0, aa = 0, bb = 0;
            for (unsigned k = 0; k < 3; ++k) {
                ab += a[k] * b[k];
                aa += a[k] * a[k];
                bb += b[k] * b[k];
            }
            return ab / std::sqrt(aa * bb);
        };
        const long double c = std::min(cosine(0, 2), cosine(1, 3));
        const auto expected = static_cast<double>(1 - std::sqrt((1 - c) / 2));
        EXPECT_NEAR(expected, quality(q, warp), close) << lift;
        EXPECT_NEAR(expected *
                        quality({points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})}, warp),
                    quality(q, warp), close);
        // The angle quality is weighed with it.
        EXPECT_LT(quality(q, angle), expected + close);
    }
}

TEST(QuadQuality, AlmostFlatIsExactlyOne) {
    const quad_points q{points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1e-7}})};
    EXPECT_EQ(0, selection(q.pos, q.connect, -2, -2, 1, 1).result);
}

TEST(QuadQuality, FlatMeansACosineOfTheNormalsWithinTheSlack) {
    // With one corner of a square lifted by h both cosines are 1 - h^2, up to the fourth power of h.
    const auto lifted = [](double h) {
        return points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, h}});
    };
    const auto quad = cells({{0, 1, 2, 3}});
    EXPECT_EQ(0, selection(lifted(0.999e-6), quad, -2, -2, 1, 1).result);
    EXPECT_EQ(1, selection(lifted(1.001e-6), quad, -2, -2, 1, 1).result);
    // 1 minus the sine of half the angle, which is h/sqrt(2).
    EXPECT_EQ(0, selection(lifted(1.001e-6), quad, -2, -2, 1 - 0.708e-6, 1).result);
    EXPECT_EQ(1, selection(lifted(1.001e-6), quad, -2, -2, 1 - 0.707e-6, 1).result);
}

TEST(QuadQuality, AQualityThatEqualsTheThresholdIsGoodEnough) {
    for (const unsigned rows : {2U, 3U}) {
        const auto square = unit_square(rows);
        // Two equal nodes: shape and smallest angle are 0, and so is the warp quality in space.
        const auto collapsed = cells({{0, 0, 1, 2}});
        EXPECT_EQ(0, selection(square.pos, collapsed, 0, 0, 0, 1).result);
        EXPECT_EQ(1, selection(square.pos, collapsed, 1e-300, 0, 0, 1).result);
        EXPECT_EQ(1, selection(square.pos, collapsed, 0, 1e-300, 0, 1).result);
        EXPECT_EQ(rows == 3 ? 1 : 0, selection(square.pos, collapsed, 0, 0, 1e-300, 1).result);
        EXPECT_EQ(0, selection(square.pos, square.connect, 0, 0, 1, 1).result);
    }
}

TEST(QuadQuality, NumbersThatAreNotFiniteAreNeverGoodEnough) {
    for (const unsigned rows : {2U, 3U}) {
        for (const double x : {zel_test::nan, zel_test::infinity}) {
            quad_points q{fresh_copy(unit_square(rows).pos)};
            q.pos(0, 2) = x;
            EXPECT_EQ(1, selection(q.pos, q.connect, 0.1, 0.1, 0.1, 1).result);
            for (int criterion = 0; criterion < 8; ++criterion)
                EXPECT_EQ(2U, selection(q.pos, q.connect, 2, 2, 2, criterion).out.cols);
        }
        EXPECT_EQ(1,
                  selection(unit_square(rows).pos, cells({{0, 1, 2, 3}}), zel_test::nan, -2, -2, 1)
                      .result);
    }
}

// ---------------------------------------------------------------------------------------- criteria

using ends = std::pair<unsigned, unsigned>;

TEST(SplitCriterion, NoneTakesTheFirstDiagonal) {
    const quad_points flat{points({{0, 0}, {1, -0.4}, {2, 0}, {1, 0.4}})};
    for (const int criterion : {-1, 0, 5, 6, 7, 100})
        EXPECT_EQ(ends(0, 2), diagonal(flat.pos, flat.connect, criterion)) << criterion;
    const quad_points in_space{points({{0, 0, 0}, {1, -0.4, 0}, {2, 0, 0}, {1, 0.4, 0}})};
    for (const int criterion : {-1, 0, 7})
        EXPECT_EQ(ends(0, 2), diagonal(in_space.pos, in_space.connect, criterion)) << criterion;
}

TEST(SplitCriterion, ShapeTakesTheBetterTriangles) {
    const quad_points flat{points({{0, 0}, {1, -0.4}, {2, 0}, {1, 0.4}})};
    EXPECT_EQ(ends(1, 3), diagonal(flat.pos, flat.connect, 1));
}

TEST(SplitCriterion, AngleTakesTheRightAngles) {
    // Right angles at 1 and 3: the cut 0-2 gives two right triangles, the other one an obtuse and an
    // acute one.
    const quad_points kite{points({{0, 0}, {2, 0}, {2, 1}, {1.2, 1.6}})};
    const quad_points turned{points({{2, 0}, {2, 1}, {1.2, 1.6}, {0, 0}})};
    EXPECT_EQ(ends(0, 2), diagonal(kite.pos, kite.connect, 2));
    EXPECT_EQ(ends(1, 3), diagonal(turned.pos, turned.connect, 2));
}

/// The same quadrilateral with its node list begun one point later: its diagonals change places.
dense2D<double> turned_by_one(const dense2D<double>& pos) {
    dense2D<double> result(pos.rows, 4);
    for (unsigned j = 0; j < 4; ++j) std::copy_n(pos[(j + 1) % 4], pos.rows, result[j]);
    return result;
}

/// One quadrilateral, and for each criterion from 1 on the diagonal that it takes: 'a' for 0-2, 'b' for
/// 1-3.
struct decisions {
    dense2D<double> pos;
    const char* taken;

    void check() const {
        const auto connect = cells({{0, 1, 2, 3}});
        const auto turned = turned_by_one(pos);
        for (int criterion = 1; taken[criterion - 1] != 0; ++criterion) {
            SCOPED_TRACE(testing::Message() << taken << ", criterion " << criterion);
            const bool first = taken[criterion - 1] == 'a';
            EXPECT_EQ(first ? ends(0, 2) : ends(1, 3), diagonal(pos, connect, criterion));
            EXPECT_EQ(first ? ends(1, 3) : ends(0, 2), diagonal(turned, connect, criterion));
        }
    }
};

// The scores were worked out with forty digits; each pair of them is at least two hundredths apart. No
// two criteria agree on all of the quadrilaterals.
TEST(SplitCriterion, InThePlaneShapeAngleAndLargestAreaDecideEachInItsOwnWay) {
    const decisions all[] = {{points({{0, -1}, {1, -1}, {1, 0}, {-3, 3}}), "aab"},
                             {points({{0, -1}, {1, -1}, {2, 0}, {-2, 3}}), "abb"},
                             {points({{-2, 0}, {0, -3}, {3, 0}, {-3, 3}}), "aaa"},
                             {points({{1, -2}, {6, -1}, {5, 4}, {-2, 4}}), "abb"}};
    for (const auto& one : all) one.check();
}

TEST(SplitCriterion, InSpaceEachCriterionDecidesInItsOwnWay) {
    const decisions all[] = {
        {points({{-3, 0, 2}, {3, -3, 0}, {0, 2, 1}, {-2, 1, 0}}), "abbaba"},
        {points({{0, -1, 0}, {3, -1, 2}, {2, 1, 0}, {-1, 2, 2}}), "abaaaa"},
        {points({{0, 0, 1}, {3, -3, 1}, {1, 2, 1}, {0, 2, 0}}), "aabaaa"},
        {points({{-1, -1, 0}, {1, 0, 2}, {2, 1, 0}, {0, 0, 1}}), "aabbbb"},
        {points({{-1, 0, 2}, {0, 0, 0}, {3, 1, 2}, {-3, 1, 1}}), "bbaaab"},
    };
    for (const auto& one : all) one.check();
}

TEST(SplitCriterion, FlatnessByLengthTakesTheAngleAboutADiagonalOfLengthOne) {
    // The scores are 0.44 apart. With any one component of a diagonal too large or too small they would
    // change places.
    const auto connect = cells({{0, 1, 2, 3}});
    const auto pos = points({{-1, 0, 1}, {0, -1, 2}, {2, -1, 0}, {-1, 1, 1}});
    EXPECT_EQ(ends(0, 2), diagonal(pos, connect, 6));
    EXPECT_EQ(ends(1, 3), diagonal(turned_by_one(pos), connect, 6));
}

TEST(SplitCriterion, AreasInSpaceAreMagnitudes) {
    // Node 2 is re-entrant: along 0-2 the doubled areas are 4 and 2, along 1-3 they are 2 and 8. With
    // signs, which there are not in space, the 2 would be -2 and the sums equal.
    const quad_points q{points({{0, 0, 0}, {4, 0, 0}, {1, 1, 0}, {0, 2, 0}})};
    for (const int criterion : {3, 4}) {
        EXPECT_EQ(ends(0, 2), diagonal(q.pos, q.connect, criterion));
        EXPECT_EQ(ends(1, 3), diagonal(turned_by_one(q.pos), q.connect, criterion));
    }
}

TEST(SplitCriterion, TotalAreaInSpaceTakesTheSmallerRoof) {
    // Corners 1 and 3 lifted: cut along 1-3 the roof is steeper and larger than folded along 0-2? Both
    // totals are computed here from the corner points.
    const quad_points q{points({{0, 0, 0}, {1, 0, 1}, {1, 3, 0}, {0, 1, 1}})};
    const auto twice = [&](unsigned a, unsigned b, unsigned c) {
        const double* const p = q.pos[a];
        const double* const r = q.pos[b];
        const double* const s = q.pos[c];
        const double u[3] = {r[0] - p[0], r[1] - p[1], r[2] - p[2]};
        const double v[3] = {s[0] - p[0], s[1] - p[1], s[2] - p[2]};
        return std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                          u[0] * v[1] - u[1] * v[0]);
    };
    const double first = twice(0, 1, 2) + twice(2, 3, 0);
    const double second = twice(1, 2, 3) + twice(3, 0, 1);
    ASSERT_GT(std::abs(first - second), 0.01);
    EXPECT_EQ(first < second ? ends(0, 2) : ends(1, 3), diagonal(q.pos, q.connect, 4));
    const double first_larger = std::max(twice(0, 1, 2), twice(2, 3, 0));
    const double second_larger = std::max(twice(1, 2, 3), twice(3, 0, 1));
    ASSERT_GT(std::abs(first_larger - second_larger), 0.01);
    EXPECT_EQ(first_larger < second_larger ? ends(0, 2) : ends(1, 3),
              diagonal(q.pos, q.connect, 3));
}

TEST(SplitCriterion, AreasInThePlaneCarryTheirSign) {
    // A re-entrant corner at 3: along 0-2 the doubled areas are 4 and -1, along 1-3 both are 1.5. The sums
    // are equal, so that the first diagonal is taken; of the larger ones 1.5 is less.
    const quad_points arrow{points({{0, 0}, {2, 1}, {0, 2}, {0.5, 1}})};
    EXPECT_EQ(ends(0, 2), diagonal(arrow.pos, arrow.connect, 4));
    EXPECT_EQ(ends(1, 3), diagonal(arrow.pos, arrow.connect, 3));
    // The same turned over: 1 and -4 against -1.5 and -1.5, and -1.5 is less.
    const quad_points over{points({{0, 2}, {2, 1}, {0, 0}, {0.5, 1}})};
    EXPECT_EQ(ends(1, 3), diagonal(over.pos, over.connect, 3));
}

TEST(SplitCriterion, FlatnessTakesTheSmallerAngleBetweenTheTriangles) {
    // Ends 0 and 2 lifted: folding along 0-2 has slopes 0.5 over 1, along 1-3 slopes 0.5 over 4.
    const quad_points q{points({{-4, 0, 0.5}, {0, -1, 0}, {4, 0, 0.5}, {0, 1, 0}})};
    const quad_points turned{points({{0, 1, 0}, {-4, 0, 0.5}, {0, -1, 0}, {4, 0, 0.5}})};
    EXPECT_EQ(ends(1, 3), diagonal(q.pos, q.connect, 5));
    EXPECT_EQ(ends(0, 2), diagonal(turned.pos, turned.connect, 5));
}

TEST(SplitCriterion, FlatnessOfAFlatQuadrilateralFallsBackToShape) {
    const quad_points flat{points({{0, 0, 0}, {1, -0.4, 0}, {2, 0, 0}, {1, 0.4, 0}})};
    EXPECT_EQ(ends(1, 3), diagonal(flat.pos, flat.connect, 5));
    EXPECT_EQ(ends(1, 3), diagonal(flat.pos, flat.connect, 6));
    const quad_points tall{points({{0, 0, 0}, {1, -3, 0}, {2, 0, 0}, {1, 3, 0}})};
    EXPECT_EQ(ends(0, 2), diagonal(tall.pos, tall.connect, 5));
    EXPECT_EQ(ends(0, 2), diagonal(tall.pos, tall.connect, 6));
}

TEST(SplitCriterion, FlatnessByLengthWeighsTheDiagonal) {
    const auto quad = cells({{0, 1, 2, 3}});
    // Folds of 1.28 at 0-2 and 1.43 at 1-3; times the lengths 6.56 and 5.48 they are 8.41 and 7.84.
    const auto q = points({{-1, -1, -3}, {1, -1, -4}, {2, -4, 2}, {0, 1, 1}});
    EXPECT_EQ(ends(0, 2), diagonal(q, quad, 5));
    EXPECT_EQ(ends(1, 3), diagonal(q, quad, 6));
    EXPECT_EQ(ends(1, 3), diagonal(turned_by_one(q), quad, 5));
    EXPECT_EQ(ends(0, 2), diagonal(turned_by_one(q), quad, 6));
    // Folds of 1.43 and 1.35; times the lengths 5.92 and 6.40 they are 8.48 and 8.63.
    const auto p = points({{1, -4, 0}, {-4, -2, -1}, {-4, -1, -1}, {2, -4, -2}});
    EXPECT_EQ(ends(1, 3), diagonal(p, quad, 5));
    EXPECT_EQ(ends(0, 2), diagonal(p, quad, 6));
    EXPECT_EQ(ends(0, 2), diagonal(turned_by_one(p), quad, 5));
    EXPECT_EQ(ends(1, 3), diagonal(turned_by_one(p), quad, 6));
}

// A plane quadrilateral of which node 3 is lifted by a small h. Two triangles of doubled areas A and B
// then enclose the angle 6V L / (A B) along the diagonal of length L, where 6V is h times the doubled
// area of (0, 1, 2).
TEST(SplitCriterion, ShapeDecidesAsLongAsAFoldIsBelowAMillionth) {
    const auto quad = cells({{0, 1, 2, 3}});
    // Doubled areas along 0-2, which is 5 long: 7 and 4, and the fold is 1.25 h; along 1-3: 1 and 10,
    // and 0.7 sqrt(5) h. The shape is better along 1-3.
    for (const double times : {0.1, 0.9, 0.999, 1.001, 1.1, 10.0}) {
        const double h = times * 1e-6 / (0.7 * std::sqrt(5.0));
        const auto q = points({{-3, -3, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 1, h}});
        EXPECT_EQ(times < 1 ? ends(1, 3) : ends(0, 2), diagonal(q, quad, 5)) << times;
        EXPECT_EQ(times < 1 ? ends(0, 2) : ends(1, 3), diagonal(turned_by_one(q), quad, 5))
            << times;
    }
}

TEST(SplitCriterion, ShapeDecidesAsLongAsAFoldTimesItsLengthIsBelowAMillionth) {
    const auto quad = cells({{0, 1, 2, 3}});
    // Doubled areas along 0-2, which is 5 long: 8 and 7, and the fold is 5/7 h, times its length 25/7 h;
    // along 1-3: 2 and 13, and 40/13 h. The shape is better along 0-2.
    for (const double times : {0.1, 0.9, 0.999, 1.001, 1.1, 10.0}) {
        const double h = times * 1e-6 * 7 / 25;
        const auto q = points({{-3, -3, 0}, {1, -2, 0}, {1, 0, 0}, {0, 1, h}});
        EXPECT_EQ(times < 1 ? ends(0, 2) : ends(1, 3), diagonal(q, quad, 6)) << times;
        EXPECT_EQ(times < 1 ? ends(1, 3) : ends(0, 2), diagonal(turned_by_one(q), quad, 6))
            << times;
    }
}

TEST(SplitCriterion, TheSecondDiagonalHasToBeBetterByMoreThanTheSlack) {
    // Doubled areas 1 + 2d and 1 along 0-2, 1 + d twice along 1-3: by the largest area 1-3 is better by d.
    for (const unsigned rows : {2U, 3U}) {
        for (const double d : {0.0, 0.5e-12, 0.99e-12, 1.01e-12, 2e-12, 1e-3}) {
            dense2D<double> pos(rows, 4, 0.0);
            pos(0, 1) = 1 + d, pos(1, 1) = -d;
            pos(0, 2) = pos(1, 2) = pos(1, 3) = 1;
            const quad_points q{pos};
            EXPECT_EQ(d < 1e-12 ? ends(0, 2) : ends(1, 3), diagonal(q.pos, q.connect, 3)) << d;
        }
    }
}

TEST(SplitCriterion, DiagonalsOfLengthOneAndZeroStayAsTheyAre) {
    // |e|^2 is exactly 1 for 0-2, and exactly 0 when nodes 0 and 2 coincide.
    const quad_points unit{points({{0, 0, 0}, {0.5, -1, 0.3}, {1, 0, 0}, {0.5, 1, 0.3}})};
    EXPECT_EQ(ends(0, 2), diagonal(unit.pos, unit.connect, 6));
    const quad_points closed{points({{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 1}})};
    EXPECT_EQ(2U, selection(closed.pos, closed.connect, 2, 2, 2, 6).out.cols);
}

// ------------------------------------------------------------------------------------- properties

TEST(SplitQ4IntoT3Properties, AreaIsUnchangedAndRotationsGiveTheSameTriangles) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        const unsigned m = 1 + random.below(6);
        const unsigned n = 1 + random.below(6);
        const unsigned rows = 2 + random.below(2);
        auto mesh = seed % 2 == 0 ? grid_Q4(m, n, rows) : grid_mixed(m, n, rows);
        for (std::size_t j = 0; j < mesh.pos.cols; ++j)
            for (std::size_t i = 0; i < rows; ++i)
                mesh.pos(i, j) += random.between(-0.2, 0.2) / (m > n ? m : n);
        auto rotated = fresh_copy(mesh.connect);
        for (std::size_t e = 0; e < rotated.cols; ++e) {
            if (rotated(3, e) == none) continue;
            std::rotate(rotated[e], rotated[e] + random.below(4), rotated[e] + 4);
        }
        dense2D<unsigned> out, out_rotated, blind;
        const int quads = split_Q4_into_T3(mesh.pos, mesh.connect, out);
        ASSERT_EQ(quads, split_Q4_into_T3(mesh.pos, rotated, out_rotated));
        ASSERT_EQ(quads, split_Q4_into_T3(mesh.connect, blind));
        EXPECT_EQ(snapshot(out), snapshot(out_rotated));
        EXPECT_EQ(mesh.connect.cols + static_cast<std::size_t>(quads), out.cols);
        for (int criterion = 0; criterion < 8; ++criterion) {
            const selection s(mesh.pos, mesh.connect, 2, 2, 2, criterion);
            const selection t(mesh.pos, rotated, 2, 2, 2, criterion);
            EXPECT_EQ(snapshot(s.out), snapshot(t.out));
            EXPECT_EQ(quads, s.result);
        }
        if (rows == 3) continue;
        double before = 0, by_quality = 0, by_blind = 0;
        for (std::size_t e = 0; e < mesh.connect.cols; ++e)
            before += double_area(mesh.pos, mesh.connect, e);
        for (std::size_t e = 0; e < out.cols; ++e) {
            by_quality += double_area(mesh.pos, out, e);
            by_blind += double_area(mesh.pos, blind, e);
        }
        EXPECT_NEAR(before, by_quality, 1e-14);
        EXPECT_NEAR(before, by_blind, 1e-14);
    }
}

// The form by quality and the selective form by shape cut every quadrilateral alike, and their choice is
// the better one of the two, measured in long double.
TEST(SplitQ4IntoT3Properties, TheBetterDiagonalIsTaken) {
    const auto triangle = [](const dense2D<double>& pos, unsigned i, unsigned j, unsigned k) {
        const unsigned n[3] = {i, j, k};
        long double edge[3], longest = 0, sum = 0;
        for (unsigned s = 0; s < 3; ++s) {
            const double* const a = pos[n[s]];
            const double* const b = pos[n[(s + 1) % 3]];
            const long double x = static_cast<long double>(b[0]) - a[0];
            const long double y = static_cast<long double>(b[1]) - a[1];
            edge[s] = std::sqrt(x * x + y * y);
            sum += edge[s];
            longest = std::max(longest, edge[s]);
        }
        const double* const a = pos[i];
        const double* const b = pos[j];
        const double* const c = pos[k];
        const long double area =
            (static_cast<long double>(b[0]) - a[0]) * (static_cast<long double>(c[1]) - a[1]) -
            (static_cast<long double>(b[1]) - a[1]) * (static_cast<long double>(c[0]) - a[0]);
        return 2 * std::sqrt(3.0L) * area / (sum * longest);
    };
    random_numbers random(11);
    for (int round = 0; round < 2000; ++round) {
        dense2D<double> pos(2, 4);
        for (unsigned j = 0; j < 4; ++j)
            for (unsigned i = 0; i < 2; ++i) pos(i, j) = random.between(-1, 1);
        const long double first = std::min(triangle(pos, 0, 1, 2), triangle(pos, 2, 3, 0));
        const long double second = std::min(triangle(pos, 1, 2, 3), triangle(pos, 3, 0, 1));
        if (std::abs(first - second) < 1e-11L) continue;
        dense2D<unsigned> out;
        ASSERT_EQ(1, split_Q4_into_T3(pos, cells({{0, 1, 2, 3}}), out));
        EXPECT_EQ(first > second ? 0U : 1U, out(0, 0)) << "round " << round;
        EXPECT_EQ(ends(out(0, 0), out(2, 0)), diagonal(pos, cells({{0, 1, 2, 3}}), 1));
    }
}

// -------------------------------------------------------------------------- what cannot be counted

TEST(SplitQ4IntoT3, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    const auto quad = cells({{0, 1, 2, 3}});
    for (const std::size_t cols : {SIZE_MAX, SIZE_MAX - 1}) {
        dense2D<unsigned> out;
        ASSERT_TRUE(out.resize(0, cols));
        EXPECT_EQ(-199, split_Q4_into_T3(quad, out));
        EXPECT_EQ(-199, split_Q4_into_T3(pos, quad, out));
        auto kept = ids({1}), split = ids({2});
        EXPECT_EQ(-199, split_Q4_into_T3(pos, quad, 2, 2, 2, 0, kept, split, out));
        EXPECT_TRUE(kept.empty() && split.empty());
        EXPECT_EQ(cols, out.cols);
        EXPECT_EQ(0U, out.rows);
    }
}
TEST(SplitQ4IntoT3, WithoutMemoryForACopyOfASharedInputNothingChanges) {
    const auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    for (const bool by_quality : {false, true}) {
        for (const unsigned rows : {3U, 4U}) {
            fail_each_allocation([&](std::size_t k) {
                const dense2D<unsigned> elements =
                    rows == 3 ? cells({{0, 1, 2}, {0, 2, 3}}) : cells({{0, 1, 2, 3}});
                dense2D<unsigned> out;
                out.storage = elements.storage;
                const auto before = snapshot(elements);
                arm_allocator(k);
                const int status = by_quality ? split_Q4_into_T3(pos, elements, out)
                                              : split_Q4_into_T3(elements, out);
                if (status < 0) {
                    EXPECT_TRUE(allocation_failed());
                    EXPECT_EQ(-199, status);
                    EXPECT_EQ(before, snapshot(elements));
                    EXPECT_TRUE(out.empty());
                } else {
                    EXPECT_LE(0, status);
                    EXPECT_EQ(2U, out.cols);
                }
            });
        }
    }
}

// --------------------------------------------------------------------- what the qualities are made of

TEST(QuadQuality, TwistIsThatOfThePairOfNormalsAtTheLargerAngleWhateverTheirLength) {
    const double bent = 2 * std::sqrt(3.0); // at 60 degrees, four long
    EXPECT_NEAR(0.5, zel::tessel2d::warp_quality({{0, 0, 1}, {0, 0, 2}, {0, 0, 1}, {0, bent, 2}}),
                1e-15);
    EXPECT_NEAR(0.5, zel::tessel2d::warp_quality({{0, 0, 2}, {0, 0, 1}, {0, bent, 2}, {0, 0, 1}}),
                1e-15);
}
TEST(QuadQuality, TheSmallestCornerDecidesWhicheverItIs) {
    const zel::tessel2d::point<3> corner[4] = {{0, 0, 0}, {4, 0, 0}, {2.5, 2.5, 0}, {0, 4, 0}};
    for (std::size_t turn = 0; turn < 4; ++turn) {
        zel::tessel2d::corners_of_quad<3> p;
        for (std::size_t k = 0; k < 4; ++k) p[k] = corner[(k + turn) % 4];
        EXPECT_NEAR(4 / (8 + 2 * std::sqrt(8.5)), zel::tessel2d::quality_of_quad(p).shape, 1e-15);
    }
}
TEST(QuadQuality, AnAngleAboveARightAngleCountsAsMuchAsItIsShortOfTwo) {
    const double degree = std::acos(-1.0) / 180;
    const double x = std::cos(75 * degree), y = std::sin(75 * degree);
    // 150 degrees at the first corner and 70 at the others
    const zel::tessel2d::point<2> corner[4] = {
        {0, 0}, {x, -y}, {x + y / std::tan(35 * degree), 0}, {x, y}};
    for (std::size_t turn = 0; turn < 4; ++turn) {
        zel::tessel2d::corners_of_quad<2> p;
        for (std::size_t k = 0; k < 4; ++k) p[k] = corner[(k + turn) % 4];
        EXPECT_NEAR(1.0 / 3, zel::tessel2d::quad_angle_quality<2>(p), 1e-14);
    }
}

} // namespace
