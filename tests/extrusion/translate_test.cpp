// SPDX-License-Identifier: Apache-2.0
#include "extrusion/sweeps.h"

#include "support/failing_alloc.h"

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::extrude_translate_Q4;
using zel::tessel2d::extrude_translate_T3;

struct strip {
    dense2D<double> pos = points({{0, 0}, {0, 1}, {0, 3}});
    dense2D<unsigned> edges = cells({{0, 1}, {1, 2}});
    dense2D<unsigned> out;
};

TEST(ExtrudeTranslate, TwoEdgesTwoLayers) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{4, 0}, 2, s.out));
    EXPECT_THAT(columns(s.pos),
                ElementsAre(point(0, 0), point(0, 1), point(0, 3), point(2, 0), point(2, 1),
                            point(2, 3), point(4, 0), point(4, 1), point(4, 3)));
    EXPECT_THAT(columns(s.out), ElementsAre(cell(0, 1, 4, 3), cell(3, 4, 7, 6), cell(1, 2, 5, 4),
                                            cell(4, 5, 8, 7)));
}
TEST(ExtrudeTranslate, TrianglesFollowThePattern) {
    strip s;
    s.edges = cells({{0, 1}});
    ASSERT_EQ(0, extrude_translate_T3(s.pos, s.edges, point2{4, 0}, 2, 0, s.out));
    EXPECT_THAT(columns(s.out),
                ElementsAre(cell(0, 1, 3), cell(1, 4, 3), cell(3, 4, 5), cell(4, 6, 5)));
    strip t;
    t.edges = s.edges;
    ASSERT_EQ(0, extrude_translate_T3(t.pos, t.edges, point2{4, 0}, 2, 1, t.out));
    EXPECT_THAT(columns(t.out),
                ElementsAre(cell(0, 1, 4), cell(0, 4, 3), cell(3, 4, 6), cell(3, 6, 5)));
    strip u;
    u.edges = s.edges;
    ASSERT_EQ(0, extrude_translate_T3(u.pos, u.edges, point2{4, 0}, 2, 2, u.out));
    EXPECT_THAT(columns(u.out),
                ElementsAre(cell(0, 1, 4), cell(0, 4, 3), cell(3, 4, 5), cell(4, 6, 5)));
}
TEST(ExtrudeTranslate, HeightsInSpaceAreKeptAndMoved) {
    const auto profile = points({{0, 0, 5}, {0, 1, 7}});
    const auto edges = cells({{0, 1}});
    const point3 up{0, 0, 2};
    dense2D<double> quads = fresh_copy(profile), sized = fresh_copy(profile);
    dense2D<double> triangles = fresh_copy(profile);
    dense2D<unsigned> out, out_sized, out_triangles;
    ASSERT_EQ(0, extrude_translate_Q4(quads, edges, up, 2, out));
    ASSERT_EQ(0, extrude_translate_Q4(sized, edges, up, 1, 1, false, out_sized));
    ASSERT_EQ(0, extrude_translate_T3(triangles, edges, up, 2, 1, out_triangles));
    for (const auto* pos : {&quads, &sized, &triangles}) {
        EXPECT_THAT(columns(*pos), ElementsAre(point(0, 0, 5), point(0, 1, 7), point(0, 0, 6),
                                               point(0, 1, 8), point(0, 0, 7), point(0, 1, 9)));
    }
}
TEST(ExtrudeTranslate, ThirdRowStaysWhenMemoryRunsOutOnce) {
    unsigned refused = 0;
    for (std::size_t k = 1; k <= 12; ++k) {
        dense2D<double> pos = points({{0, 0}, {0, 1}});
        auto block = cells({{0, 1}, {0, 0}, {0, 0}});
        const auto edges =
            block.sub_matrix(0, 0, 2, 1); // is copied, since it shares the output's block
        auto out = block.sub_matrix(0, 0, 0, 0);
        arm_allocator(k);
        const int status = extrude_translate_Q4(pos, edges, point3{0, 0, 2}, 1, 1, false, out);
        disarm_allocator();
        if (status == 0) continue;
        ++refused;
        EXPECT_EQ(-199, status);
        if (k == 1) { // that of the third row itself
            EXPECT_THAT(columns(pos), ElementsAre(point(0, 0), point(0, 1)));
        } else {
            EXPECT_THAT(columns(pos), ElementsAre(point(0, 0, 0), point(0, 1, 0))) << k;
        }
        EXPECT_TRUE(out.empty());
    }
    EXPECT_GE(refused, 3U);
}
TEST(ExtrudeTranslate, LongProfilesAreSweptPieceByPiece) {
    for (const unsigned nodes : {512U, 513U, 1100U}) {
        for (const bool in_frame : {false, true}) {
            dense2D<double> line(2, nodes);
            dense2D<unsigned> edges(2, nodes - 1);
            for (unsigned k = 0; k < nodes; ++k) {
                line(0, k) = k * k; // uneven, so that a node taken for another shows
                line(1, k) = 3.0 * k;
                if (k > 0) {
                    edges(0, k - 1) = nodes - k; // from the last to the first
                    edges(1, k - 1) = nodes - k - 1;
                }
            }
            auto frame = framed(line);
            dense2D<double> pos = in_frame ? frame.view : line;
            dense2D<unsigned> out;
            ASSERT_EQ(0, extrude_translate_Q4(pos, edges, point2{6, 0.75}, 3, out));
            ASSERT_EQ(std::size_t{4} * nodes, pos.cols);
            for (unsigned layer = 1; layer <= 3; ++layer) {
                const double s = layer * (1.0 / 3);
                for (unsigned i = 0; i < nodes; ++i) {
                    const std::size_t column = std::size_t{layer} * nodes + i;
                    ASSERT_EQ(pos(0, nodes - 1 - i) + s * 6, pos(0, column)) << nodes << ' ' << i;
                    ASSERT_EQ(pos(1, nodes - 1 - i) + s * 0.75, pos(1, column));
                }
            }
        }
    }
}
TEST(ExtrudeTranslate, StripsAreValidMeshes) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, cells({{2, 1}, {1, 0}}), point2{7, 1}, 0.5, 1.5, true,
                                      s.out));
    expect_valid_mesh(s.pos, s.out);
    for (const int pattern : {0, 1, 2}) {
        strip t;
        ASSERT_EQ(0, extrude_translate_T3(t.pos, cells({{2, 1}, {1, 0}}), point2{7, 1}, 1.5, 0.5,
                                          pattern, false, t.out));
        expect_valid_mesh(t.pos, t.out);
    }
}
TEST(ExtrudeTranslate, TenFromOneToTwoTakesSevenLayersInAProgression) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{10, 0}, 1, 2, false, s.out));
    EXPECT_EQ(14u, s.out.cols);
    ASSERT_EQ(3u + 7 * 3, s.pos.cols);
    for (int k = 1; k <= 7; ++k) {
        const double x = 10 * (std::pow(2.0, k / 7.0) - 1);
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t node = 3 * static_cast<std::size_t>(k) + i;
            EXPECT_NEAR(x, s.pos(0, node), 1e-14);
            EXPECT_EQ(s.pos(1, i), s.pos(1, node));
        }
    }
}
TEST(ExtrudeTranslate, SizesShrinkLikewise) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{10, 0}, 2, 1, false, s.out));
    ASSERT_EQ(3u + 7 * 3, s.pos.cols);
    for (int k = 1; k <= 7; ++k)
        EXPECT_NEAR(20 * (1 - std::pow(2.0, -k / 7.0)), s.pos(0, 3 * static_cast<std::size_t>(k)),
                    1e-14);
}
TEST(ExtrudeTranslate, ForceEvenOfAShortSweepGivesTwoLayers) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{0.3, 0}, 1, 1, true, s.out));
    EXPECT_EQ(4u, s.out.cols);
}
TEST(ExtrudeTranslate, ASweepOfLengthZeroGivesOneLayerOnTheProfile) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{0, 0}, 1, 1, false, s.out));
    EXPECT_EQ(2u, s.out.cols);
    EXPECT_EQ(point(0, 3), column(s.pos, 5));
}
TEST(ExtrudeTranslate, InSpacePosOfTwoRowsIsWidened) {
    strip s;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point3{0, 0, 2}, 2, s.out));
    ASSERT_EQ(3u, s.pos.rows);
    EXPECT_EQ(point(0, 1, 0), column(s.pos, 1));
    EXPECT_EQ(point(0, 1, 1), column(s.pos, 4));
    EXPECT_EQ(point(0, 3, 2), column(s.pos, 8));
    strip t;
    ASSERT_EQ(0, extrude_translate_T3(t.pos, t.edges, point3{0, 0, 2}, 1.0, 1.0, 2, false, t.out));
    EXPECT_EQ(snapshot(s.pos), snapshot(t.pos));
}
TEST(ExtrudeTranslate, InThePlanePosOfThreeRowsIsRefused) {
    strip s;
    s.pos = dense2D<double>(3, 3, 0.0);
    EXPECT_EQ(-1, extrude_translate_Q4(s.pos, s.edges, point2{1, 0}, 1, 1, false, s.out));
    EXPECT_EQ(-1, extrude_translate_T3(s.pos, s.edges, point2{1, 0}, 1, 1, 0, false, s.out));
}
TEST(ExtrudeTranslate, ACountedCallReportsTheArgumentsOfTheSizedOne) {
    strip s;
    s.out = cells({{1, 2, 0}});
    EXPECT_EQ(-7, extrude_translate_Q4(s.pos, s.edges, point2{1, 0}, 3, s.out));
    s.out = cells({{1, 2, 0, 0}});
    EXPECT_EQ(-8, extrude_translate_T3(s.pos, s.edges, point2{1, 0}, 3, 0, s.out));
    EXPECT_EQ(-4, extrude_translate_Q4(s.pos, s.edges, point2{0, 0}, 3, s.out));
}
TEST(ExtrudeTranslate, NegativePatternsAreRefused) {
    strip s;
    EXPECT_EQ(-6, extrude_translate_T3(s.pos, s.edges, point2{1, 0}, 1, -1, s.out));
    EXPECT_EQ(-6, extrude_translate_T3(s.pos, s.edges, point2{1, 0}, 1, 3, s.out));
}
TEST(ExtrudeTranslate, AnOutputOfAnotherHeightWithoutColumnsIsAccepted) {
    strip s;
    s.out.resize(9, 0);
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{1, 0}, 1, s.out));
    EXPECT_EQ(4u, s.out.rows);
}
TEST(ExtrudeTranslate, AtFractionZeroNodesAreCopiedBitForBit) {
    strip s;
    s.pos(0, 0) = -0.0;
    // The first of some 400 layers is thinner than a fraction can show.
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{11, 0}, 0x1p-53, 1, true, s.out));
    ASSERT_GT(s.out.cols, 600u);
    EXPECT_EQ(bits(-0.0), bits(s.pos(0, 3)));
}
TEST(ExtrudeTranslate, LengthsAreTheRootOfTheSumOfSquares) {
    strip s;
    const auto before = snapshot(s.pos);
    // Squares overflow or vanish.
    EXPECT_EQ(-199, extrude_translate_Q4(s.pos, s.edges, point2{1e200, 0}, 5, s.out));
    EXPECT_EQ(-4, extrude_translate_Q4(s.pos, s.edges, point2{1e-200, 0}, 5, s.out));
    EXPECT_EQ(before, snapshot(s.pos));
}
TEST(ExtrudeTranslate, NodesThatAreNotFiniteAreMovedLikeOthers) {
    strip s;
    s.pos(0, 1) = zel_test::nan;
    s.pos(1, 2) = infinity;
    ASSERT_EQ(0, extrude_translate_Q4(s.pos, s.edges, point2{2, 1}, 2, s.out));
    EXPECT_TRUE(std::isnan(s.pos(0, 4)));
    EXPECT_EQ(1.5, s.pos(1, 4));
    EXPECT_EQ(infinity, s.pos(1, 8));
}

} // namespace
