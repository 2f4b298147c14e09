// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/orientation.h"

#include "support/adjacency.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/lanes.h"
#include "support/meshes.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::flip;
using zel_test::adjacency_of;

const unsigned none = no_node;

/// A matrix with the numbers 10*column + row.
dense2D<unsigned> numbered(std::size_t rows, std::size_t cols) {
    dense2D<unsigned> m(rows, cols);
    for (std::size_t j = 0; j < cols; ++j)
        for (std::size_t i = 0; i < rows; ++i) m(i, j) = static_cast<unsigned>(10 * j + i);
    return m;
}

// ------------------------------------------------------------------------------------- one argument

TEST(Flip, ExchangesNodesZeroAndTwo) {
    auto triangles = cells({{0, 1, 2}, {2, 1, 3}});
    ASSERT_EQ(0, flip(triangles));
    EXPECT_THAT(columns(triangles), ElementsAre(cell(2, 1, 0), cell(3, 1, 2)));
    auto mixed = cells({{0, 1, 2, 3}, {4, 5, 6, none}});
    ASSERT_EQ(0, flip(mixed));
    EXPECT_THAT(columns(mixed), ElementsAre(cell(2, 1, 0, 3), cell(6, 5, 4, none)));
}

TEST(Flip, LeavesAllRowsFromThreeOnAlone) {
    auto connect = numbered(9, 1);
    ASSERT_EQ(0, flip(connect));
    EXPECT_THAT(column(connect, 0), ElementsAre(2, 1, 0, 3, 4, 5, 6, 7, 8));
}

TEST(Flip, ViewsAreTurnedInPlace) {
    auto triangles = framed(cells({{0, 1, 2}, {2, 1, 3}}));
    ASSERT_EQ(0, flip(triangles.view));
    EXPECT_THAT(columns(triangles.view), ElementsAre(cell(2, 1, 0), cell(3, 1, 2)));
    EXPECT_TRUE(triangles.surroundings_untouched(2));
}

TEST(Flip, AnEmptyMatrixIsNothingToDo) {
    dense2D<unsigned> connect;
    EXPECT_EQ(0, flip(connect));
    dense2D<unsigned> two_rows(2, 0);
    EXPECT_EQ(0, flip(two_rows));
}

TEST(Flip, FewerThanThreeRowsAreRefused) {
    auto edges = cells({{0, 1}});
    EXPECT_EQ(-1, flip(edges));
    EXPECT_THAT(column(edges, 0), ElementsAre(0, 1));
    dense2D<unsigned> no_rows(0, 3);
    EXPECT_EQ(-1, flip(no_rows));
}

// ---------------------------------------------------------------------------------------- by kind

struct kind_case {
    zel::element_type kind;
    std::vector<unsigned> turned; // of the column 0, 1, 2, ...
};

/// GoogleTest would print all bytes, also those between the members, which nobody has written.
void PrintTo(const kind_case& c, std::ostream* out) {
    *out << "kind " + std::to_string(static_cast<int>(c.kind));
}

class FlipKind : public testing::TestWithParam<kind_case> {};

TEST_P(FlipKind, ExchangesTheRowsOfTheKind) {
    const auto& param = GetParam();
    auto connect = framed(numbered(param.turned.size(), 2));
    ASSERT_EQ(0, flip(connect.view, param.kind));
    for (std::size_t i = 0; i < param.turned.size(); ++i) {
        EXPECT_EQ(param.turned[i], connect.view(i, 0)) << "row " << i;
        EXPECT_EQ(param.turned[i] + 10, connect.view(i, 1)) << "row " << i;
    }
    EXPECT_TRUE(connect.surroundings_untouched(2));
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, FlipKind,
    testing::Values(kind_case{zel::ELEMENT_T3, {2, 1, 0}}, kind_case{zel::ELEMENT_Q4, {2, 1, 0, 3}},
                    kind_case{zel::ELEMENT_T6, {2, 1, 0, 5, 4, 3}},
                    kind_case{zel::ELEMENT_Q8, {2, 1, 0, 3, 5, 4, 7, 6}},
                    kind_case{zel::ELEMENT_Q9, {2, 1, 0, 3, 5, 4, 7, 6, 8}},
                    kind_case{zel::ELEMENT_FACE, {2, 1, 0}},
                    kind_case{zel::ELEMENT_FACE, {2, 1, 0, 3}},
                    kind_case{zel::ELEMENT_FACE, {2, 1, 0, 5, 4, 3}},
                    kind_case{zel::ELEMENT_FACE, {2, 1, 0, 3, 5, 4, 7, 6}},
                    kind_case{zel::ELEMENT_FACE, {2, 1, 0, 3, 5, 4, 7, 6, 8}},
                    kind_case{zel::ELEMENT_E3, {0, 1, 2}}, kind_case{zel::ELEMENT_E2, {0, 1}},
                    kind_case{zel::ELEMENT_TH4, {0, 1, 2, 3}},
                    kind_case{zel::ELEMENT_FACE_HO, {0, 1, 2, 3, 4, 5, 6, 7, 8}}));

TEST(FlipKinds, ARowSixWithoutNodeMarksAT6AmongQuadraticElements) {
    auto connect = cells({{0, 1, 2, 3, 4, 5, none, none, none}, {0, 1, 2, 3, 4, 5, 6, 7, none}});
    ASSERT_EQ(0, flip(connect, zel::ELEMENT_FACE));
    EXPECT_THAT(columns(connect), ElementsAre(cell(2, 1, 0, 5, 4, 3, none, none, none),
                                              cell(2, 1, 0, 3, 5, 4, 7, 6, none)));
}

TEST(FlipKinds, AnExplicitKindDoesNotLookForT6) {
    auto connect = cells({{0, 1, 2, 3, 4, 5, none, none}});
    ASSERT_EQ(0, flip(connect, zel::ELEMENT_Q8));
    EXPECT_THAT(column(connect, 0), ElementsAre(2, 1, 0, 3, 5, 4, none, none));
}

TEST(FlipKinds, NoColumnsAreNothingToDo) {
    dense2D<unsigned> connect(5, 0);
    EXPECT_EQ(0, flip(connect, zel::ELEMENT_T3));
    EXPECT_EQ(0, flip(connect, zel::ELEMENT_FACE));
}

TEST(FlipKinds, RowsThatDoNotSuitTheKindAreRefused) {
    for (const std::size_t rows : {0U, 1U, 2U, 5U, 7U, 10U}) {
        auto connect = numbered(rows, 1);
        EXPECT_EQ(-2, flip(connect, zel::ELEMENT_FACE)) << rows;
        EXPECT_EQ(-2, flip(connect, zel::ELEMENT_T3)) << rows;
        EXPECT_EQ(snapshot(numbered(rows, 1)), snapshot(connect));
    }
    auto quads = numbered(4, 1);
    EXPECT_EQ(-2, flip(quads, zel::ELEMENT_T3));
    EXPECT_EQ(-2, flip(quads, zel::ELEMENT_T6));
    auto triangles = numbered(3, 1);
    EXPECT_EQ(-2, flip(triangles, zel::ELEMENT_Q4));
}

TEST(FlipKinds, UnknownKindsSuitNoRows) {
    for (const int value : {25, 28, 31}) {
        const auto kind = static_cast<zel::element_type>(value);
        for (const std::size_t rows : {0U, 1U, 3U, 4U, 27U, 31U}) {
            auto connect = numbered(rows, 1);
            auto neighbors = numbered(rows, 1);
            EXPECT_EQ(-2, flip(connect, kind)) << value << " with " << rows;
            EXPECT_EQ(-3, flip(connect, neighbors, kind)) << value << " with " << rows;
            EXPECT_EQ(snapshot(numbered(rows, 1), numbered(rows, 1)), snapshot(connect, neighbors));
        }
        dense2D<unsigned> nothing(3, 0);
        EXPECT_EQ(0, flip(nothing, kind));
    }
}

// --------------------------------------------------------------------------------- with neighbours

TEST(FlipNeighbors, TrianglesExchangeRowsZeroAndTwo) {
    for (const auto kind : {zel::ELEMENT_T3, zel::ELEMENT_FACE}) {
        auto connect = numbered(3, 2);
        auto neighbors = framed(numbered(3, 2));
        ASSERT_EQ(0, flip(connect, neighbors.view, kind));
        EXPECT_THAT(columns(connect), ElementsAre(cell(2, 1, 0), cell(12, 11, 10)));
        EXPECT_THAT(columns(neighbors.view), ElementsAre(cell(2, 1, 0), cell(12, 11, 10)));
        EXPECT_TRUE(neighbors.surroundings_untouched(2));
    }
}

TEST(FlipNeighbors, QuadraticTrianglesKeepThreeRowsOfNeighbors) {
    for (const auto kind : {zel::ELEMENT_T6, zel::ELEMENT_FACE}) {
        auto connect = numbered(6, 1);
        auto neighbors = numbered(3, 1);
        ASSERT_EQ(0, flip(connect, neighbors, kind));
        EXPECT_THAT(column(connect, 0), ElementsAre(2, 1, 0, 5, 4, 3));
        EXPECT_THAT(column(neighbors, 0), ElementsAre(2, 1, 0));
    }
}

TEST(FlipNeighbors, EachColumnOfAMixedMeshFollowsItsOwnShape) {
    for (const auto kind : {zel::ELEMENT_Q4, zel::ELEMENT_FACE}) {
        auto connect = cells({{0, 1, 2, 3}, {4, 5, 6, none}});
        auto neighbors = cells({{10, 11, 12, 13}, {14, 15, 16, none}});
        ASSERT_EQ(0, flip(connect, neighbors, kind));
        EXPECT_THAT(columns(neighbors), ElementsAre(cell(11, 10, 13, 12), cell(16, 15, 14, none)));
    }
}

TEST(FlipNeighbors, QuadraticElementsOfAnyShapeFollowTheirColumns) {
    for (const std::size_t rows : {8U, 9U}) {
        dense2D<unsigned> connect(rows, 2, none);
        for (unsigned i = 0; i < rows; ++i) connect(i, 0) = i;
        for (unsigned i = 0; i < 6; ++i) connect(i, 1) = i;
        auto neighbors = cells({{10, 11, 12, 13}, {14, 15, 16, none}});
        ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
        EXPECT_THAT(columns(neighbors), ElementsAre(cell(11, 10, 13, 12), cell(16, 15, 14, none)));
        EXPECT_EQ(5U, connect(3, 1));
    }
}

TEST(FlipNeighbors, AskedForQ8OrQ9TheyStayAsTheyAre) {
    for (const std::size_t rows : {8U, 9U}) {
        for (const std::size_t neighbor_rows : {1U, 3U, 4U, 5U}) {
            auto connect = numbered(rows, 1);
            auto neighbors = numbered(neighbor_rows, 1);
            ASSERT_EQ(0, flip(connect, neighbors, rows == 8 ? zel::ELEMENT_Q8 : zel::ELEMENT_Q9));
            EXPECT_EQ(snapshot(numbered(neighbor_rows, 1)), snapshot(neighbors));
            EXPECT_EQ(5U, connect(4, 0));
        }
    }
}

TEST(FlipNeighbors, TheMarkOfAT6IsReadInTheTurnedColumn) {
    // A quadrilateral without a node on its last edge: rows 6 and 7 have changed places before the
    // neighbours are looked at.
    auto connect = cells({{0, 1, 2, 3, 4, 5, 6, none}});
    auto neighbors = cells({{10, 11, 12, 13}});
    ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
    EXPECT_THAT(column(connect, 0), ElementsAre(2, 1, 0, 3, 5, 4, none, 6));
    EXPECT_THAT(column(neighbors, 0), ElementsAre(12, 11, 10, 13));
}

TEST(FlipNeighbors, OtherKindsChangeNothing) {
    auto connect = numbered(3, 1);
    auto neighbors = numbered(7, 1);
    EXPECT_EQ(0, flip(connect, neighbors, zel::ELEMENT_E3));
    EXPECT_EQ(snapshot(numbered(3, 1), numbered(7, 1)), snapshot(connect, neighbors));
}

TEST(FlipNeighbors, StatusesInTheirOrder) {
    const auto status = [](std::size_t rows, std::size_t neighbor_rows, zel::element_type kind,
                           std::size_t neighbor_cols = 2) {
        auto connect = numbered(rows, 2);
        auto neighbors = numbered(neighbor_rows, neighbor_cols);
        const int result = flip(connect, neighbors, kind);
        if (result < 0) {
            EXPECT_EQ(snapshot(numbered(rows, 2), numbered(neighbor_rows, neighbor_cols)),
                      snapshot(connect, neighbors));
        }
        return result;
    };
    dense2D<unsigned> empty(7, 0);
    auto neighbors = numbered(3, 2);
    EXPECT_EQ(0, flip(empty, neighbors, zel::ELEMENT_T3));
    EXPECT_EQ(-2, status(3, 3, zel::ELEMENT_T3, 1));
    EXPECT_EQ(-2, status(4, 3, zel::ELEMENT_T3, 1)); // before the rows of the elements
    EXPECT_EQ(-3, status(4, 3, zel::ELEMENT_T3));
    EXPECT_EQ(-3, status(4, 4, zel::ELEMENT_T3)); // before the rows of the neighbours
    EXPECT_EQ(-2, status(3, 4, zel::ELEMENT_T3));
    EXPECT_EQ(-2, status(6, 4, zel::ELEMENT_T6));
    EXPECT_EQ(-2, status(4, 3, zel::ELEMENT_Q4));
    EXPECT_EQ(-2, status(3, 4, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(6, 4, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(4, 3, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(8, 3, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(9, 3, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(5, 4, zel::ELEMENT_FACE));
    EXPECT_EQ(-2, status(2, 2, zel::ELEMENT_FACE));
    EXPECT_EQ(-3, status(7, 4, zel::ELEMENT_Q8));
}

TEST(FlipMemory, NoFormNeedsMemory) {
    auto connect = numbered(4, 100);
    auto neighbors = numbered(4, 100);
    const auto before = allocation_count();
    EXPECT_EQ(0, flip(connect));
    EXPECT_EQ(0, flip(connect, zel::ELEMENT_Q4));
    EXPECT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
    EXPECT_EQ(before, allocation_count());
}

// -------------------------------------------------------------------------------------- properties

TEST(FlipProperties, TwiceIsTheIdentity) {
    for (const auto& mesh : {grid_T3(5, 4), grid_Q4(5, 4), grid_mixed(5, 4)}) {
        auto connect = fresh_copy(mesh.connect);
        auto neighbors = adjacency_of(connect, mesh.pos.cols).neighbors;
        const auto before = snapshot(connect, neighbors);
        ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
        EXPECT_FALSE(before == snapshot(connect, neighbors));
        EXPECT_EQ(snapshot(adjacency_of(connect, mesh.pos.cols).neighbors), snapshot(neighbors));
        ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_FACE));
        EXPECT_EQ(before, snapshot(connect, neighbors));
    }
    for (const std::size_t rows : {6U, 8U, 9U}) {
        auto connect = numbered(rows, 20);
        for (int twice = 0; twice < 2; ++twice) ASSERT_EQ(0, flip(connect, zel::ELEMENT_FACE));
        EXPECT_EQ(snapshot(numbered(rows, 20)), snapshot(connect));
    }
}

/// The words of `count` columns with `leading` words from one to the next, and a few behind the last one.
std::vector<unsigned> words_of(std::size_t leading, std::size_t count) {
    std::vector<unsigned> words(leading * count + 9);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<unsigned>(i);
    return words;
}

/// Runs of every length, so that each place in a register and each rest behind the last one occurs.
void expect_rows_zero_and_two_exchanged(std::size_t rows, std::size_t leading) {
    for (std::size_t count = 1; count <= 50; ++count) {
        SCOPED_TRACE(testing::Message() << rows << " rows of " << leading << ", " << count);
        auto expected = words_of(leading, count);
        for (std::size_t e = 0; e < count; ++e)
            std::swap(expected[1 + e * leading], expected[1 + e * leading + 2]);
        auto words = words_of(leading, count);
        auto connect = dense2D<unsigned>::wrap(words.data() + 1, rows, count, leading);
        ASSERT_EQ(0, flip(connect));
        EXPECT_EQ(expected, words);
    }
}

TEST(FlipProperties, OnlyRowsZeroAndTwoChangeWhateverTheCount) {
    for (const std::size_t leading : {3U, 4U, 5U}) expect_rows_zero_and_two_exchanged(3, leading);
    for (const std::size_t leading : {4U, 6U}) expect_rows_zero_and_two_exchanged(4, leading);
}

TEST(FlipProperties, OnlyRowsZeroAndTwoChangeOnAProcessorThatTakesOneColumnAtATime) {
    const one_lane scalar;
    for (const std::size_t leading : {3U, 4U, 5U}) expect_rows_zero_and_two_exchanged(3, leading);
    for (const std::size_t leading : {4U, 6U}) expect_rows_zero_and_two_exchanged(4, leading);
}

TEST(FlipNeighbors, OfManyTrianglesChangeInStep) {
    for (std::size_t count = 1; count <= 50; ++count) {
        auto connect = numbered(3, count);
        auto neighbors = numbered(3, count);
        ASSERT_EQ(0, flip(connect, neighbors, zel::ELEMENT_T3));
        for (std::size_t e = 0; e < count; ++e) {
            const auto turned =
                cell(10 * static_cast<unsigned>(e) + 2, 10 * static_cast<unsigned>(e) + 1,
                     10 * static_cast<unsigned>(e));
            ASSERT_EQ(turned, column(connect, e));
            ASSERT_EQ(turned, column(neighbors, e));
        }
    }
}

} // namespace
