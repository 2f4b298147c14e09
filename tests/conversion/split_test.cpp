// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/conversion.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include <cstdint>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::convert_into_high_order;
using zel::tessel2d::convert_into_quadratic;
using zel::tessel2d::split_into_linear;
using zel::tessel2d::split_into_Q4;

const unsigned none = no_node;

double total_area(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    double sum = 0;
    for (std::size_t e = 0; e < connect.cols; ++e) sum += double_area(pos, connect, e) / 2;
    return sum;
}

// ------------------------------------------------------------------------------- split_into_linear

TEST(SplitIntoLinear, AT6GivesFourTriangles) {
    const auto connect = cells({{0, 1, 2, 3, 4, 5}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, split_into_linear(connect, out));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(0, 5, 4), cell(1, 3, 5), cell(2, 4, 3), cell(3, 4, 5)));
}

TEST(SplitIntoLinear, AFourRowOutputTakesMarkedTriangles) {
    const auto connect = cells({{0, 1, 2, 3, 4, 5}});
    auto out = cells({{9, 9, 9, 9}});
    ASSERT_EQ(0, split_into_linear(connect, out));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(9, 9, 9, 9), cell(0, 5, 4, none), cell(1, 3, 5, none),
                            cell(2, 4, 3, none), cell(3, 4, 5, none)));
    dense2D<unsigned> four_rows(4, 0);
    ASSERT_EQ(0, split_into_linear(connect, four_rows));
    EXPECT_EQ(4U, four_rows.rows);
    EXPECT_EQ(4U, four_rows.cols);
    EXPECT_EQ(none, four_rows(3, 3));
}

TEST(SplitIntoLinear, AThreeRowOutputIsContinued) {
    const auto connect = cells({{0, 1, 2, 3, 4, 5}});
    auto out = cells({{9, 8, 7}});
    ASSERT_EQ(0, split_into_linear(connect, out));
    EXPECT_EQ(5U, out.cols);
    EXPECT_THAT(column(out, 0), ElementsAre(9, 8, 7));
    EXPECT_THAT(column(out, 4), ElementsAre(3, 4, 5));
}

TEST(SplitIntoLinear, AQ9GivesFourQuadrilaterals) {
    const auto connect = cells({{0, 1, 2, 3, 4, 5, 6, 7, 8}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, split_into_linear(connect, out));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 4, 8, 7), cell(1, 5, 8, 4), cell(2, 6, 8, 5),
                                          cell(3, 7, 8, 6)));
}

TEST(SplitIntoLinear, MixedElementsAreCutInTheirOrder) {
    const auto connect =
        cells({{0, 1, 2, 3, 4, 5, none, none, none}, {10, 11, 12, 13, 14, 15, 16, 17, 18}});
    auto out = cells({{9, 8, 7}}); // is made four rows high
    ASSERT_EQ(0, split_into_linear(connect, out));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(9, 8, 7, none), cell(0, 5, 4, none), cell(1, 3, 5, none),
                            cell(2, 4, 3, none), cell(3, 4, 5, none), cell(10, 14, 18, 17),
                            cell(11, 15, 18, 14), cell(12, 16, 18, 15), cell(13, 17, 18, 16)));
}

TEST(SplitIntoLinear, ColumnsThatAnOutputWithoutRowsBringsAlongStayAndHoldNoNode) {
    dense2D<unsigned> triangles(0, 1);
    ASSERT_EQ(0, split_into_linear(cells({{0, 1, 2, 3, 4, 5}}), triangles));
    EXPECT_THAT(columns(triangles), ElementsAre(cell(none, none, none), cell(0, 5, 4),
                                                cell(1, 3, 5), cell(2, 4, 3), cell(3, 4, 5)));
    dense2D<unsigned> quads(0, 2);
    ASSERT_EQ(0, split_into_linear(cells({{0, 1, 2, 3, 4, 5, 6, 7, 8}}), quads));
    EXPECT_THAT(columns(quads), ElementsAre(cell(none, none, none, none),
                                            cell(none, none, none, none), cell(0, 4, 8, 7),
                                            cell(1, 5, 8, 4), cell(2, 6, 8, 5), cell(3, 7, 8, 6)));
}

TEST(SplitIntoLinear, ViewsAndAnOutputThatSharesTheInput) {
    const auto connect = framed(cells({{0, 1, 2, 3, 4, 5}, {2, 1, 6, 7, 8, 3}}));
    auto out = framed(cells({{9, 9, 9}}));
    ASSERT_EQ(0, split_into_linear(connect.view, out.view));
    EXPECT_EQ(9U, out.view.cols);
    EXPECT_THAT(column(out.view, 0), ElementsAre(9, 9, 9));
    EXPECT_THAT(column(out.view, 5), ElementsAre(2, 3, 8));

    auto block = cells({{0, 1, 2, 3, 4, 5}, {2, 1, 6, 7, 8, 3}});
    auto same = block.sub_matrix(0, 0, 3, 1); // grows over the input
    ASSERT_EQ(0, split_into_linear(block, same));
    EXPECT_THAT(column(same, 0), ElementsAre(0, 1, 2));
    EXPECT_THAT(column(same, 5), ElementsAre(2, 3, 8));
    EXPECT_THAT(column(same, 8), ElementsAre(7, 8, 3));
}

TEST(SplitIntoLinear, StatusesInTheirOrder) {
    dense2D<unsigned> empty;
    auto bad = cells({{0, 1}});
    EXPECT_EQ(0, split_into_linear(empty, bad));
    for (const std::size_t rows : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 10U}) {
        dense2D<unsigned> connect(rows, 1, 0U);
        EXPECT_EQ(-1, split_into_linear(connect, bad)) << rows; // before the output
    }
    const auto connect = cells({{0, 1, 2, 3, 4, 5}});
    for (const std::size_t rows : {1U, 2U, 5U, 6U, 9U}) {
        dense2D<unsigned> out(rows, 1, 7U);
        EXPECT_EQ(-2, split_into_linear(connect, out)) << rows;
        dense2D<unsigned> without_columns(rows, 0);
        EXPECT_EQ(-2, split_into_linear(connect, without_columns)) << rows;
        EXPECT_EQ(7U, out(0, 0));
    }
}

TEST(SplitIntoLinear, ExhaustedMemoryIsReportedAndNothingChanges) {
    auto mesh = grid_mixed(3, 3);
    ASSERT_EQ(0, convert_into_quadratic(mesh.pos, mesh.connect));
    fail_each_allocation([&](std::size_t k) {
        auto out = cells({{9, 8, 7}});
        const auto before = snapshot(out);
        arm_allocator(k);
        const int status = split_into_linear(mesh.connect, out);
        if (disarm_allocator()) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(out));
        } else {
            EXPECT_EQ(0, status);
        }
    });
}

TEST(SplitIntoLinearProperties, PiecesAreAValidMeshOfTheSameArea) {
    for (const auto& mesh : {grid_T3(5, 3), grid_Q4(4, 3), grid_mixed(5, 4)}) {
        auto pos = fresh_copy(mesh.pos);
        auto connect = fresh_copy(mesh.connect);
        ASSERT_EQ(0, convert_into_quadratic(pos, connect));
        dense2D<unsigned> out;
        ASSERT_EQ(0, split_into_linear(connect, out));
        expect_valid_mesh(pos, out);
        EXPECT_NEAR(1.0, total_area(pos, out), 1e-14);
        for (std::size_t e = 0; e < out.cols; ++e) {
            if (e % 4 < corner_count(mesh.connect, e / 4)) {
                EXPECT_EQ(mesh.connect(e % 4, e / 4), out(0, e));
            }
        }
    }
}

// ------------------------------------------------------------------------------------ split_into_Q4

TEST(SplitIntoQ4, ATriangleGivesThreeQuadrilaterals) {
    auto mesh = equilateral_triangle();
    dense2D<unsigned> out;
    ASSERT_EQ(0, split_into_Q4(mesh.pos, mesh.connect, out, dense2D<unsigned>()));
    EXPECT_EQ(7U, mesh.pos.cols);
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 5, 6, 4), cell(1, 3, 6, 5), cell(2, 4, 6, 3)));
    EXPECT_NEAR(0.5, mesh.pos(0, 6), 1e-15);
    EXPECT_NEAR(std::sqrt(3.0) / 6, mesh.pos(1, 6), 1e-15);
    expect_valid_mesh(mesh.pos, out);
}

TEST(SplitIntoQ4, TwoQuadrilateralsShareTheNodeOnTheirEdge) {
    auto mesh = grid_Q4(2, 1);
    dense2D<unsigned> out;
    ASSERT_EQ(0, split_into_Q4(mesh.pos, mesh.connect, out, dense2D<unsigned>()));
    EXPECT_EQ(6U + 7 + 2, mesh.pos.cols);
    EXPECT_EQ(8U, out.cols);
    expect_valid_mesh(mesh.pos, out);
    EXPECT_EQ(point(0.25, 0.5), column(mesh.pos, 13));
    EXPECT_EQ(point(0.75, 0.5), column(mesh.pos, 14));
}

TEST(SplitIntoQ4, AMixedMeshIsCutInItsOrder) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}});
    const auto connect = cells({{1, 4, 2, none}, {0, 1, 2, 3}});
    auto out = cells({{7, 7, 7, 7}});
    ASSERT_EQ(0, split_into_Q4(pos, connect, out, dense2D<unsigned>()));
    // On edges: 5 (4-2), 6 (2-1), 7 (1-4), 8 (0-1), 9 (2-3), 10 (3-0); centres 11 and 12.
    EXPECT_THAT(columns(out), ElementsAre(cell(7, 7, 7, 7), cell(1, 7, 11, 6), cell(4, 5, 11, 7),
                                          cell(2, 6, 11, 5), cell(0, 8, 12, 10), cell(1, 6, 12, 8),
                                          cell(2, 9, 12, 6), cell(3, 10, 12, 9)));
    EXPECT_EQ(13U, pos.cols);
}

TEST(SplitIntoQ4, AGivenMidSideNodeIsKeptAndBendsTheCentre) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0.5, -0.25}});
    const auto connect = cells({{0, 1, 2, 3}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, split_into_Q4(pos, connect, out, cells({{0, 1, 4}})));
    EXPECT_EQ(5U + 3 + 1, pos.cols);
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 4, 8, 7), cell(1, 5, 8, 4), cell(2, 6, 8, 5),
                                          cell(3, 7, 8, 6)));
    EXPECT_EQ(point(0.5, 0.375), column(pos, 8)); // half of the bend of the one side
}

TEST(SplitIntoQ4, ColumnsThatAnOutputWithoutRowsBringsAlongStayAndHoldNoNode) {
    auto square = unit_square();
    dense2D<unsigned> out(0, 1);
    ASSERT_EQ(0, split_into_Q4(square.pos, square.connect, out, dense2D<unsigned>()));
    EXPECT_THAT(columns(out), ElementsAre(cell(none, none, none, none), cell(0, 4, 8, 7),
                                          cell(1, 5, 8, 4), cell(2, 6, 8, 5), cell(3, 7, 8, 6)));
}

TEST(SplitIntoQ4, AllInputsMayLieInTheBlockOfTheOutput) {
    const auto mesh = grid_Q4(2, 2);
    auto expected_pos = fresh_copy(mesh.pos);
    dense2D<unsigned> expected;
    const auto edges = cells({{0, 1, 8}});
    ASSERT_EQ(0, split_into_Q4(expected_pos, mesh.connect, expected, edges));
    dense2D<unsigned> block(4, 8, none);
    for (std::size_t e = 0; e < 4; ++e) std::copy_n(mesh.connect[e], 4, block[e]);
    std::copy_n(edges[0], 3, block[7]);
    auto pos = fresh_copy(mesh.pos);
    auto out = block.sub_matrix(0, 0, 4, 0);
    ASSERT_EQ(0,
              split_into_Q4(pos, block.sub_matrix(0, 0, 4, 4), out, block.sub_matrix(0, 7, 3, 1)));
    EXPECT_EQ(snapshot(expected_pos, expected), snapshot(pos, out));
}

TEST(SplitIntoQ4, StatusesInTheirOrder) {
    const auto mesh = grid_Q4(2, 1);
    const auto bad_pos = dense2D<double>(4, 6, 0.0);
    const auto bad_connect = cells({{0, 1, 2, 6}});
    const auto bad_edges = cells({{0, 1, 6}});
    const auto status = [](const dense2D<double>& pos, const dense2D<unsigned>& connect,
                           const dense2D<unsigned>& out, const dense2D<unsigned>& edges) {
        auto own_pos = fresh_copy(pos);
        auto own_out = fresh_copy(out);
        const int result = split_into_Q4(own_pos, connect, own_out, edges);
        EXPECT_EQ(snapshot(pos, out), snapshot(own_pos, own_out));
        return result;
    };
    const auto bad_out = cells({{1, 2, 3}});
    EXPECT_EQ(0, status(bad_pos, dense2D<unsigned>(), bad_out, bad_edges));
    EXPECT_EQ(-1, status(bad_pos, bad_connect, bad_out, bad_edges));
    EXPECT_EQ(-2, status(mesh.pos, bad_connect, bad_out, bad_edges));
    EXPECT_EQ(-2, status(mesh.pos, cells({{0, 1}}), bad_out, bad_edges));
    EXPECT_EQ(-3, status(mesh.pos, mesh.connect, bad_out, bad_edges));
    const auto good_out = cells({{1, 2, 3, 4}});
    EXPECT_EQ(-4, status(mesh.pos, mesh.connect, good_out, bad_edges));
    EXPECT_EQ(-4, status(mesh.pos, mesh.connect, good_out, cells({{0, 1, 2, 3}})));
    EXPECT_EQ(-4, status(mesh.pos, mesh.connect, good_out, cells({{0, 1, none}})));
}

TEST(SplitIntoQ4, ColumnsWithoutRowsAreNothingToDo) {
    auto mesh = grid_Q4(2, 1);
    dense2D<unsigned> without_rows(0, 3);
    dense2D<unsigned> out;
    EXPECT_EQ(0, split_into_Q4(mesh.pos, without_rows, out, dense2D<unsigned>()));
    EXPECT_EQ(6U, mesh.pos.cols);
    EXPECT_TRUE(out.empty());
}

TEST(SplitIntoQ4, WhenMemoryForOneEdgeRunsOutNoColumnIsLeftUnwritten) {
    for (unsigned turn = 0; turn < 4; ++turn) {
        const auto g = grid_Q4(4, 5);
        dense2D<unsigned> quads(4, g.connect.cols);
        for (std::size_t e = 0; e < quads.cols; ++e)
            for (unsigned k = 0; k < 4; ++k) quads(k, e) = g.connect((k + turn) % 4, e);
        fail_each_allocation([&](std::size_t k) {
            auto pos = fresh_copy(g.pos);
            dense2D<unsigned> out;
            arm_allocator(k);
            const int status = split_into_Q4(pos, quads, out, {});
            if (status != 0) {
                EXPECT_EQ(-199, status);
                return;
            }
            // An entry that is not written is no number of a node: the allocator sees to that.
            for (const unsigned id : out) EXPECT_TRUE(id < pos.cols || id == no_node) << id;
        });
    }
}

TEST(SplitIntoQ4, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto mesh = grid_mixed(4, 3);
    fail_each_allocation([&](std::size_t k) {
        auto pos = fresh_copy(mesh.pos);
        auto out = cells({{9, 8, 7, 6}});
        const auto before = snapshot(pos, out);
        const dense2D<unsigned> edges;
        arm_allocator(k);
        const int status = split_into_Q4(pos, mesh.connect, out, edges);
        if (disarm_allocator() && status != 0) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(pos, out));
        } else {
            EXPECT_EQ(0, status);
            expect_valid_mesh(pos, out, 1);
        }
    });
}

TEST(SplitIntoQ4Properties, AllQuadrilateralsOfTheSameAreaOnDistinctEdges) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        const unsigned m = 1 + random.below(6);
        const unsigned n = 1 + random.below(6);
        auto mesh = seed % 3 == 0   ? grid_T3(m, n)
                    : seed % 3 == 1 ? grid_Q4(m, n)
                                    : grid_mixed(m, n);
        for (std::size_t j = 0; j < mesh.pos.cols; ++j)
            for (std::size_t i = 0; i < 2; ++i)
                mesh.pos(i, j) += random.between(-0.2, 0.2) / (m > n ? m : n);
        const std::size_t nodes = mesh.pos.cols;
        const double before = total_area(mesh.pos, mesh.connect);
        dense2D<unsigned> out;
        ASSERT_EQ(0, split_into_Q4(mesh.pos, mesh.connect, out, dense2D<unsigned>()));
        EXPECT_EQ(nodes + edge_uses(mesh.connect).size() + mesh.connect.cols, mesh.pos.cols);
        std::size_t corners = 0;
        for (std::size_t e = 0; e < mesh.connect.cols; ++e)
            corners += corner_count(mesh.connect, e);
        EXPECT_EQ(corners, out.cols);
        EXPECT_NEAR(before, total_area(mesh.pos, out), 1e-14);
        expect_valid_mesh(mesh.pos, out);
    }
}

// -------------------------------------------------------------------------- what cannot be counted

TEST(SplitIntoLinear, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    dense2D<unsigned> out;
    ASSERT_TRUE(out.resize(0, SIZE_MAX - 2));
    EXPECT_EQ(-199, split_into_linear(cells({{0, 1, 2, 3, 4, 5}}), out));
    EXPECT_EQ(SIZE_MAX - 2, out.cols);
}
TEST(SplitIntoQ4, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    auto pos = points({{0, 0}, {1, 0}, {0, 1}});
    const auto before = snapshot(pos);
    dense2D<unsigned> out;
    ASSERT_TRUE(out.resize(0, SIZE_MAX - 2));
    EXPECT_EQ(-199, split_into_Q4(pos, cells({{0, 1, 2}}), out, {}));
    EXPECT_EQ(SIZE_MAX - 2, out.cols);
    EXPECT_EQ(before, snapshot(pos));
}

// ------------------------------------------------------------------------------------ shared blocks

TEST(SplitIntoLinear, WithoutMemoryForACopyOfASharedInputNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto block = cells({{0, 1, 2, 3, 4, 5}, {2, 1, 6, 7, 8, 3}});
        dense2D<unsigned> out;
        out.storage = block.storage;
        const auto before = snapshot(block, out);
        arm_allocator(k);
        const int status = split_into_linear(block, out);
        if (status < 0) {
            EXPECT_TRUE(allocation_failed());
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(block, out));
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(8U, out.cols);
        }
    });
}
TEST(SplitIntoQ4, WithoutMemoryForCopiesOfSharedInputsNothingChanges) {
    for (const bool share_edges : {false, true}) {
        fail_each_allocation([&](std::size_t k) {
            auto pos = points({{0, 0}, {2, 0}, {0, 2}, {1, -0.25}});
            auto elements = cells({{0, 1, 2}});
            auto edges = cells({{0, 1, 3}});
            dense2D<unsigned> out;
            out.storage = (share_edges ? edges : elements).storage;
            const auto before = snapshot(pos, elements, edges);
            arm_allocator(k);
            const int status = split_into_Q4(pos, elements, out, edges);
            if (status == 0) {
                EXPECT_EQ(3U, out.cols);
                return;
            }
            EXPECT_TRUE(allocation_failed());
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(pos, elements, edges));
            EXPECT_TRUE(out.empty());
        });
    }
}

} // namespace
