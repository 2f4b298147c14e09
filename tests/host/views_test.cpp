// SPDX-License-Identifier: Apache-2.0
#include "zel/host/views.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::host::narrow;
using zel::host::view_of;
using zel::host::widen;

constexpr std::size_t huge = ~std::size_t{0};

TEST(ViewOf, PointersWithAndWithoutALeadingDimension) {
    const double xyz[6] = {1, 2, 3, 4, 5, 6};
    const auto whole = view_of(&xyz[0], 3, 2);
    EXPECT_EQ(xyz, whole.data());
    EXPECT_EQ(4.0, whole(0, 1));
    const auto plane = view_of(&xyz[0], 2, 2, 3);
    EXPECT_EQ(5.0, plane(1, 1));
    EXPECT_EQ(3U, plane.ld);
    EXPECT_EQ(6U, view_of(&xyz[0], 6).size);
}

TEST(ViewOf, ResultsAreConst) {
    static_assert(std::is_const_v<decltype(view_of(std::declval<const double*>(), 2, 3))>);
    static_assert(std::is_const_v<decltype(view_of(std::declval<const std::vector<int>&>()))>);
    SUCCEED();
}

TEST(ViewOf, ShapesThatCannotBeAreEmpty) {
    const double one = 1;
    EXPECT_TRUE(view_of(&one, 3, 2, 2).empty());    // columns would overlap
    EXPECT_TRUE(view_of(&one, huge, huge).empty()); // no such extent
    EXPECT_TRUE(view_of(&one, 1, huge, huge).empty());
    EXPECT_TRUE(view_of(static_cast<const double*>(nullptr), 0, 0).empty());
}

TEST(ViewOf, VectorsSeeWholeColumnsOnly) {
    const std::vector<unsigned> numbers = {0, 1, 2, 2, 1, 3, 9};
    const auto triangles = view_of(numbers, 3);
    EXPECT_EQ(2U, triangles.cols);
    EXPECT_EQ(numbers.data() + 3, triangles[1]);
    EXPECT_TRUE(view_of(numbers, 0).empty());
    EXPECT_TRUE(view_of(numbers, 8).empty());
    EXPECT_THAT(view_of(numbers), ElementsAre(0, 1, 2, 2, 1, 3, 9));
    EXPECT_TRUE(view_of(std::vector<unsigned>()).empty());
}

TEST(ViewOf, ArraysOfColumnsAndOfNumbers) {
    const double xy[3][2] = {{0, 1}, {2, 3}, {4, 5}};
    const auto pos = view_of(xy);
    EXPECT_EQ(2U, pos.rows);
    EXPECT_EQ(3U, pos.cols);
    EXPECT_EQ(5.0, pos(1, 2));
    const unsigned loop[] = {0, 1, 2, 0};
    EXPECT_THAT(view_of(loop), ElementsAre(0, 1, 2, 0));
}

TEST(ViewOf, WithoutMemoryForABlockIsEmpty) {
    const double xy[3][2] = {};
    arm_allocator(1, 9);
    const auto pos = view_of(xy);
    disarm_allocator();
    EXPECT_TRUE(pos.empty());
}

TEST(Narrow, NumbersAndFillers) {
    const std::int64_t numbers[8] = {0, 1, 2, -1, 3, 2, 1, 0};
    dense2D<unsigned> connect;
    ASSERT_EQ(0, narrow(numbers, 4, 2, 0, 4, connect));
    EXPECT_THAT(columns(connect),
                ElementsAre(ElementsAre(0, 1, 2, 0xFFFFFFFF), ElementsAre(3, 2, 1, 0)));
}

TEST(Narrow, ColumnsFurtherApart) {
    const std::int64_t numbers[7] = {0, 1, 2, 99, 2, 1, 0};
    dense2D<unsigned> connect(2, 2, 5U);
    ASSERT_EQ(0, narrow(numbers, 3, 2, 4, 3, connect)); // 99 is between columns
    EXPECT_THAT(columns(connect), ElementsAre(ElementsAre(0, 1, 2), ElementsAre(2, 1, 0)));
}

TEST(Narrow, NothingGivesNothing) {
    dense2D<unsigned> connect(2, 2, 5U);
    ASSERT_EQ(0, narrow(nullptr, 3, 0, 0, 0, connect));
    EXPECT_TRUE(connect.empty());
    EXPECT_EQ(0, narrow(nullptr, 0, huge, 0, 0, connect));
}

TEST(Narrow, RangeIsTested) {
    dense2D<unsigned> connect(2, 2, 5U);
    const auto before = snapshot(connect);
    using limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t bad : {std::int64_t{4}, std::int64_t{-2}, limits::max(), limits::min(),
                                   std::int64_t{1} << 32, (std::int64_t{1} << 32) - 1}) {
        const std::int64_t numbers[3] = {0, 1, bad};
        EXPECT_EQ(-1, narrow(numbers, 3, 1, 0, 4, connect)) << bad;
    }
    const std::int64_t last[1] = {0xFFFFFFFE};
    EXPECT_EQ(-1, narrow(nullptr, 1, 1, 0, 4, connect));
    EXPECT_EQ(-4, narrow(last, 3, 1, 2, 4, connect));
    EXPECT_EQ(-5, narrow(last, 3, 1, 2, std::size_t{1} << 32, connect));
    EXPECT_EQ(before, snapshot(connect));
    ASSERT_EQ(0, narrow(last, 1, 1, 0, 0xFFFFFFFF, connect));
    EXPECT_EQ(0xFFFFFFFE, connect(0, 0));
}

TEST(Narrow, ExhaustedMemoryIsReportedAndNothingChanges) {
    const std::int64_t numbers[3] = {0, 1, 2};
    dense2D<unsigned> connect(2, 2, 5U);
    const auto before = snapshot(connect);
    for (const std::size_t failures : {1U, 9U}) { // one, or all of them
        arm_allocator(2 - failures / 9, failures);
        const int status = narrow(numbers, 3, 1, 0, 3, connect);
        EXPECT_TRUE(disarm_allocator());
        EXPECT_EQ(-199, status);
        EXPECT_EQ(before, snapshot(connect));
    }
}

TEST(Widen, UndoesNarrowAlsoForViews) {
    dense2D<unsigned> parent(4, 3, 0xFFFFFFFFU);
    parent(1, 1) = 7;
    parent(2, 2) = 0xFFFFFFFE;
    std::int64_t wide[4];
    widen(parent.sub_matrix(1, 1, 2, 2), wide);
    EXPECT_THAT(wide, ElementsAre(7, -1, -1, 0xFFFFFFFE));
    widen(dense2D<unsigned>(), nullptr);
}

} // namespace
