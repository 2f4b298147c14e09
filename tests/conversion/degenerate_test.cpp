// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/orientation.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

namespace {

using namespace zel_test;
using testing::ElementsAre;
using testing::IsEmpty;
using zel::tessel2d::convert_degenerated_Q;
using zel::tessel2d::convert_degenerated_Q4;

const unsigned none = no_node;

// ---------------------------------------------------------------------------------- linear elements

TEST(ConvertDegeneratedQ4, EachCollapsedEdgeLeavesItsTriangle) {
    auto connect = cells({{5, 5, 7, 8}, {5, 6, 6, 8}, {5, 6, 7, 7}, {5, 6, 7, 5}});
    ASSERT_EQ(4, convert_degenerated_Q4(connect));
    EXPECT_THAT(columns(connect), ElementsAre(cell(5, 7, 8, none), cell(5, 6, 8, none),
                                              cell(5, 6, 7, none), cell(5, 6, 7, none)));
}

TEST(ConvertDegeneratedQ4, SoundElementsAndTrianglesStay) {
    auto connect = cells({{0, 1, 2, 3}, {4, 5, 6, none}, {7, 7, 8, none}, {none, none, 1, 2}});
    const auto before = snapshot(connect);
    EXPECT_EQ(0, convert_degenerated_Q4(connect));
    EXPECT_EQ(before, snapshot(connect));
}

TEST(ConvertDegeneratedQ4, OppositeCornersThatAreEqualStay) {
    auto connect = cells({{5, 6, 5, 8}, {5, 6, 7, 6}});
    const auto before = snapshot(connect);
    EXPECT_EQ(0, convert_degenerated_Q4(connect));
    EXPECT_EQ(before, snapshot(connect));
}

TEST(ConvertDegeneratedQ4, TheFirstCaseThatFitsIsApplied) {
    auto connect = cells({{3, 3, 3, 3}, {3, 3, 4, 4}, {3, 4, 4, 4}, {3, 4, 4, 3}, {3, 4, 3, 3}});
    ASSERT_EQ(5, convert_degenerated_Q4(connect));
    EXPECT_THAT(columns(connect),
                ElementsAre(cell(3, 3, 3, none), cell(3, 4, 4, none), cell(3, 4, 4, none),
                            cell(3, 4, 3, none), cell(3, 4, 3, none)));
}

TEST(ConvertDegeneratedQ4, ViewsAreChangedInPlace) {
    auto connect = framed(cells({{5, 5, 7, 8}, {0, 1, 2, 3}}));
    ASSERT_EQ(1, convert_degenerated_Q4(connect.view));
    EXPECT_THAT(columns(connect.view), ElementsAre(cell(5, 7, 8, none), cell(0, 1, 2, 3)));
    EXPECT_TRUE(connect.surroundings_untouched(2));
}

TEST(ConvertDegeneratedQ4, NoEntriesAreNothingToDoAndOtherRowsAreRefused) {
    dense2D<unsigned> empty;
    EXPECT_EQ(0, convert_degenerated_Q4(empty));
    dense2D<unsigned> no_rows(0, 3);
    EXPECT_EQ(0, convert_degenerated_Q4(no_rows));
    dense2D<unsigned> no_columns(3, 0);
    EXPECT_EQ(0, convert_degenerated_Q4(no_columns));
    for (const std::size_t rows : {1U, 3U, 5U, 8U, 9U}) {
        dense2D<unsigned> connect(rows, 1, 7U);
        EXPECT_EQ(-1, convert_degenerated_Q4(connect)) << rows;
        EXPECT_EQ(7U, connect(0, 0));
    }
}

TEST(ConvertDegeneratedQ4, NeedsNoMemory) {
    dense2D<unsigned> connect(4, 40, 3U);
    const auto before = allocation_count();
    EXPECT_EQ(40, convert_degenerated_Q4(connect));
    EXPECT_EQ(before, allocation_count());
}

// -------------------------------------------------------------------------------------- with a list

TEST(ConvertDegeneratedQ, LinearElementsAreChangedAndListed) {
    auto connect = cells({{0, 1, 2, 3}, {5, 5, 7, 8}, {0, 1, 2, none}, {5, 6, 7, 5}});
    auto changed = ids({9, 9, 9});
    ASSERT_EQ(2, convert_degenerated_Q(connect, changed));
    EXPECT_THAT(values(changed), ElementsAre(1, 3));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2, 3), cell(5, 7, 8, none),
                                              cell(0, 1, 2, none), cell(5, 6, 7, none)));
}

TEST(ConvertDegeneratedQ, AQ8BecomesAT6) {
    auto connect = cells({{0, 0, 2, 3, 14, 15, 16, 17},
                          {0, 1, 1, 3, 14, 15, 16, 17},
                          {0, 1, 2, 2, 14, 15, 16, 17},
                          {0, 1, 2, 0, 14, 15, 16, 17},
                          {0, 1, 2, 3, 14, 15, 16, 17}});
    dense1D<unsigned, 8> changed;
    ASSERT_EQ(4, convert_degenerated_Q(connect, changed));
    EXPECT_THAT(values(changed), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 2, 3, 16, 17, 15, none, none),
                                              cell(0, 1, 3, 16, 17, 14, none, none),
                                              cell(0, 1, 2, 15, 17, 14, none, none),
                                              cell(0, 1, 2, 15, 16, 14, none, none),
                                              cell(0, 1, 2, 3, 14, 15, 16, 17)));
}

TEST(ConvertDegeneratedQ, AQ9LosesItsCentre) {
    auto connect = framed(cells({{0, 0, 2, 3, 14, 15, 16, 17, 18}, {0, 1, 2, 3, 4, 5, 6, 7, 8}}));
    dense1D<unsigned, 8> changed;
    ASSERT_EQ(1, convert_degenerated_Q(connect.view, changed));
    EXPECT_THAT(columns(connect.view), ElementsAre(cell(0, 2, 3, 16, 17, 15, none, none, none),
                                                   cell(0, 1, 2, 3, 4, 5, 6, 7, 8)));
    EXPECT_TRUE(connect.surroundings_untouched(2));
}

// The mid-side nodes of the triangle lie between its corners, whichever edge has collapsed.
TEST(ConvertDegeneratedQ, MidSideNodesStayOnTheirEdges) {
    for (unsigned k = 0; k < 4; ++k) {
        auto connect = cells({{0, 1, 2, 3, 4, 5, 6, 7}});
        connect((k + 1) % 4, 0) = connect(k, 0) = 10;
        std::map<std::pair<unsigned, unsigned>, unsigned> on_edge;
        for (unsigned i = 0; i < 4; ++i)
            on_edge[std::minmax({connect(i, 0), connect((i + 1) % 4, 0)})] = 4 + i;
        dense1D<unsigned, 8> changed;
        ASSERT_EQ(1, convert_degenerated_Q(connect, changed));
        for (unsigned i = 0; i < 3; ++i) {
            const auto ends = std::minmax({connect((i + 1) % 3, 0), connect((i + 2) % 3, 0)});
            EXPECT_EQ(on_edge[ends], connect(3 + i, 0)) << "edge " << k << " collapsed, side " << i;
        }
    }
}

TEST(ConvertDegeneratedQ, AnyEntryWithoutNodeKeepsAQuadraticColumn) {
    for (unsigned row = 0; row < 9; ++row) {
        auto connect = cells({{0, 0, 2, 3, 4, 5, 6, 7, 8}});
        connect(row, 0) = none;
        const auto before = snapshot(connect);
        dense1D<unsigned, 8> changed;
        EXPECT_EQ(0, convert_degenerated_Q(connect, changed)) << row;
        EXPECT_EQ(before, snapshot(connect));
    }
}

TEST(ConvertDegeneratedQ, TheListIsEmptiedInAnyCase) {
    dense2D<unsigned> empty;
    auto changed = ids({1, 2});
    EXPECT_EQ(0, convert_degenerated_Q(empty, changed));
    EXPECT_THAT(values(changed), IsEmpty());
    for (const std::size_t rows : {3U, 5U, 6U, 7U, 10U}) {
        dense2D<unsigned> connect(rows, 1, 7U);
        changed = ids({1, 2});
        EXPECT_EQ(-1, convert_degenerated_Q(connect, changed)) << rows;
        EXPECT_THAT(values(changed), IsEmpty());
        EXPECT_EQ(7U, connect(0, 0));
    }
}

TEST(ConvertDegeneratedQ, AListInTheBlockOfTheMeshDoesNotDisturbIt) {
    auto connect = cells({{5, 5, 7, 8}, {0, 1, 1, 3}});
    dense1D<unsigned, 8> changed = connect.as_vector();
    ASSERT_EQ(2, convert_degenerated_Q(connect, changed));
    EXPECT_THAT(columns(connect), ElementsAre(cell(5, 7, 8, none), cell(0, 1, 3, none)));
    EXPECT_THAT(values(changed), ElementsAre(0, 1));
}

TEST(ConvertDegeneratedQ, ExhaustedMemoryLeavesColumnsChangedButNotListed) {
    fail_each_allocation([](std::size_t k) {
        dense2D<unsigned> connect(4, 40, 3U);
        dense1D<unsigned, 8> changed;
        arm_allocator(k);
        const int count = convert_degenerated_Q(connect, changed);
        const bool failed = disarm_allocator();
        EXPECT_EQ(count, static_cast<int>(changed.size));
        EXPECT_EQ(failed, changed.size < 40);
        for (std::size_t i = 1; i < changed.size; ++i) EXPECT_LT(changed[i - 1], changed[i]);
        for (std::size_t e = 0; e < 40; ++e) EXPECT_EQ(none, connect(3, e));
    });
}

TEST(ConvertDegeneratedQProperties, RandomColumnsAgreeWithThePlainRule) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        dense2D<unsigned> connect(4, 1 + random.below(20));
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t i = 0; i < 4; ++i)
                connect(i, e) = random.below(12) == 0 ? none : random.below(4);
        const auto before = columns(connect);
        auto again = fresh_copy(connect);
        dense1D<unsigned, 8> changed;
        const int count = convert_degenerated_Q(connect, changed);
        EXPECT_EQ(count, convert_degenerated_Q4(again));
        EXPECT_EQ(snapshot(connect), snapshot(again));
        std::vector<unsigned> expected;
        for (unsigned e = 0; e < connect.cols; ++e) {
            const auto& c = before[e];
            const bool full = std::count(c.begin(), c.end(), none) == 0;
            const bool collapsed = c[0] == c[1] || c[1] == c[2] || c[2] == c[3] || c[3] == c[0];
            if (full && collapsed) {
                expected.push_back(e);
                EXPECT_EQ(none, connect(3, e));
                std::set<unsigned> nodes(c.begin(), c.end());
                for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(1U, nodes.count(connect(i, e)));
            } else {
                EXPECT_EQ(c, column(connect, e));
            }
        }
        EXPECT_EQ(expected, values(changed));
    }
}

} // namespace
