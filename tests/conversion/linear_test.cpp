// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/conversion.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::convert_into_high_order;
using zel::tessel2d::convert_into_linear;
using zel::tessel2d::convert_into_quadratic;

const unsigned none = no_node;

TEST(ConvertIntoLinear, AT6MatrixIsCutToThreeRows) {
    auto connect = cells({{0, 1, 2, 3, 4, 5}, {2, 1, 6, 7, 8, 3}});
    ASSERT_EQ(0, convert_into_linear(connect));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2), cell(2, 1, 6)));
}

TEST(ConvertIntoLinear, Q8AndQ9MatricesAreCutToFourRows) {
    auto eight = cells({{0, 1, 2, 3, 4, 5, 6, 7}});
    ASSERT_EQ(0, convert_into_linear(eight));
    EXPECT_THAT(columns(eight), ElementsAre(cell(0, 1, 2, 3)));
    auto nine = cells({{0, 1, 2, 3, 4, 5, 6, 7, 8}});
    ASSERT_EQ(0, convert_into_linear(nine));
    EXPECT_THAT(columns(nine), ElementsAre(cell(0, 1, 2, 3)));
}

TEST(ConvertIntoLinear, AT6AmongQuadraticElementsBecomesAMarkedTriangle) {
    auto nine = cells({{0, 1, 2, 3, 4, 5, none, none, none}, {0, 1, 2, 3, 4, 5, 6, 7, 8}});
    ASSERT_EQ(0, convert_into_linear(nine));
    EXPECT_THAT(columns(nine), ElementsAre(cell(0, 1, 2, none), cell(0, 1, 2, 3)));
    auto eight = cells({{0, 1, 2, 3, 4, 5, none, 7}});
    ASSERT_EQ(0, convert_into_linear(eight));
    EXPECT_THAT(columns(eight), ElementsAre(cell(0, 1, 2, none)));
}

TEST(ConvertIntoLinear, ViewsAreCutWithoutTouchingTheirSurroundings) {
    auto six = framed(cells({{0, 1, 2, 3, 4, 5}, {2, 1, 6, 7, 8, 3}}));
    const auto before = snapshot(six.parent);
    ASSERT_EQ(0, convert_into_linear(six.view));
    EXPECT_THAT(columns(six.view), ElementsAre(cell(0, 1, 2), cell(2, 1, 6)));
    EXPECT_EQ(before, snapshot(six.parent));
}

TEST(ConvertIntoLinear, NoEntriesAreNothingToDo) {
    dense2D<unsigned> empty;
    EXPECT_EQ(0, convert_into_linear(empty));
    dense2D<unsigned> no_columns(7, 0);
    EXPECT_EQ(0, convert_into_linear(no_columns));
    dense2D<unsigned> no_rows(0, 7);
    EXPECT_EQ(0, convert_into_linear(no_rows));
}

TEST(ConvertIntoLinear, OtherRowsAreRefused) {
    for (const std::size_t rows : {1U, 2U, 3U, 4U, 5U, 7U, 10U}) {
        dense2D<unsigned> connect(rows, 2, 7U);
        const auto before = snapshot(connect);
        EXPECT_EQ(-1, convert_into_linear(connect)) << rows;
        EXPECT_EQ(before, snapshot(connect));
    }
}

TEST(ConvertIntoLinear, NeedsNoMemory) {
    for (const std::size_t rows : {6U, 8U, 9U}) {
        dense2D<unsigned> connect(rows, 50, 1U);
        const auto before = allocation_count();
        EXPECT_EQ(0, convert_into_linear(connect));
        EXPECT_EQ(before, allocation_count());
    }
}

TEST(ConvertIntoLinearProperties, TheLinearMeshOfAQuadraticOneIsTheInput) {
    for (const auto& mesh : {grid_T3(5, 3), grid_Q4(4, 3), grid_mixed(5, 4)}) {
        auto pos = fresh_copy(mesh.pos);
        auto connect = fresh_copy(mesh.connect);
        ASSERT_EQ(0, convert_into_quadratic(pos, connect));
        ASSERT_EQ(0, convert_into_linear(connect));
        EXPECT_EQ(snapshot(mesh.connect), snapshot(connect));
        connect = fresh_copy(mesh.connect);
        ASSERT_EQ(0, convert_into_high_order(pos, connect, 1, 0, 0, dense2D<unsigned>()));
        ASSERT_EQ(0, convert_into_linear(connect));
        EXPECT_EQ(snapshot(mesh.connect), snapshot(connect));
    }
}

} // namespace
