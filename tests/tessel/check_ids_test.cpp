// SPDX-License-Identifier: Apache-2.0
// Tests of `check_IDs`.
#include "support/checks.h"
#include "support/lanes.h"
#include "support/meshes.h"
#include "zel/element_type.h"
#include "zel/tessel.h"

#include <algorithm>
#include <optional>
#include <ostream>

namespace {

using namespace zel_test;
using zel::element_type;
using zel::tessel::check_IDs;

// -------------------------------------------------------------------------- check_IDs with a kind

TEST(CheckIDsOfAKind, AnIdEqualToTheBoundFails) {
    const auto m = cells({{0, 1, 2}, {2, 1, 3}});
    EXPECT_FALSE(check_IDs(m, zel::ELEMENT_T3, 3));
    EXPECT_TRUE(check_IDs(m, zel::ELEMENT_T3, 4));
}

TEST(CheckIDsOfAKind, AConcreteKindAsksForItsRows) {
    for (int kind = zel::ELEMENT_NODE; kind <= zel::ELEMENT_H27; ++kind) {
        if (kind == zel::ELEMENT_FACE) continue;
        const auto type = static_cast<element_type>(kind);
        for (std::size_t rows = 1; rows <= 28; ++rows)
            EXPECT_EQ(rows == zel::element_node_count(type),
                      check_IDs(dense2D<unsigned>(rows, 2, 0U), type, 1))
                << kind << ' ' << rows;
    }
}

TEST(CheckIDsOfAKind, FourRowsAreRejectedAsTriangles) {
    EXPECT_FALSE(check_IDs(cells({{0, 1, 2, no_node}}), zel::ELEMENT_T3, 3));
}

TEST(CheckIDsOfAKind, FaceTakesThreeOrFourRows) {
    for (std::size_t rows = 1; rows <= 9; ++rows)
        EXPECT_EQ(rows == 3 || rows == 4,
                  check_IDs(dense2D<unsigned>(rows, 2, 0U), zel::ELEMENT_FACE, 1));
}

TEST(CheckIDsOfAKind, RowThreeOfAFaceMayHoldNoNode) {
    const auto m = cells({{0, 1, 2, no_node}, {0, 1, 2, 3}, {3, 2, 1, no_node}});
    EXPECT_TRUE(check_IDs(m, zel::ELEMENT_FACE, 4));
    EXPECT_FALSE(check_IDs(m, zel::ELEMENT_Q4, 4));
    EXPECT_FALSE(check_IDs(m, zel::ELEMENT_FACE, 3));
}

TEST(CheckIDsOfAKind, NoNodeFailsAnywhereElse) {
    for (std::size_t row = 0; row < 3; ++row) {
        auto m = cells({{0, 1, 2, 3}, {0, 1, 2, no_node}});
        m(row, 1) = no_node;
        EXPECT_FALSE(check_IDs(m, zel::ELEMENT_FACE, 4)) << row;
        EXPECT_FALSE(check_IDs(m, zel::ELEMENT_FACE, no_node - 1)) << row;
    }
    EXPECT_FALSE(check_IDs(cells({{0, 1, no_node}}), zel::ELEMENT_FACE, 4));
}

TEST(CheckIDsOfAKind, AnEmptyMatrixPasses) {
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(), zel::ELEMENT_T3, 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(7, 0), zel::ELEMENT_E3, 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(0, 7), zel::ELEMENT_Q4, 5));
}

TEST(CheckIDsOfAKind, TheLargestBoundSwitchesTheRangeTestOff) {
    EXPECT_TRUE(check_IDs(cells({{0, 5, no_node - 1}}), zel::ELEMENT_FACE, no_node));
    EXPECT_TRUE(check_IDs(cells({{9, 5, no_node - 1, 0}}), zel::ELEMENT_Q4, no_node));
    EXPECT_TRUE(check_IDs(cells({{9, 5, no_node - 1, no_node}}), zel::ELEMENT_FACE, no_node));
    EXPECT_FALSE(check_IDs(cells({{9, 5, 7, no_node}}), zel::ELEMENT_Q4, no_node)); // still no node
    EXPECT_FALSE(check_IDs(cells({{no_node, 5, 7, 0}}), zel::ELEMENT_FACE, no_node));
    EXPECT_FALSE(check_IDs(cells({{1, 2, no_node}}), zel::ELEMENT_FACE, no_node));
    EXPECT_FALSE(check_IDs(cells({{0, 1}}), zel::ELEMENT_FACE, no_node)); // rows are still tested
}

TEST(CheckIDsOfAKind, WithoutNodesNothingPasses) {
    EXPECT_FALSE(check_IDs(cells({{0, 0, 0}}), zel::ELEMENT_T3, 0));
    EXPECT_FALSE(check_IDs(cells({{0, 0, 0, no_node}}), zel::ELEMENT_FACE, 0));
}

TEST(CheckIDsOfAKind, AnUnknownKindFails) {
    EXPECT_FALSE(check_IDs(cells({{0, 0, 0}}), static_cast<element_type>(25), 9));
    EXPECT_FALSE(check_IDs(cells({{0, 0, 0}}), static_cast<element_type>(31), 9));
}

// ----------------------------------------------------------------- matrices and lists without a kind

TEST(CheckIDsOfAMatrix, EntriesAreBelowTheBoundOrNoNode) {
    const auto m = cells({{0, no_node}, {2, 1}});
    EXPECT_TRUE(check_IDs(m, 3));
    EXPECT_FALSE(check_IDs(m, 2));
    EXPECT_TRUE(check_IDs(cells({{no_node, no_node}}), 0));
    EXPECT_FALSE(check_IDs(cells({{0, no_node}}), 0));
    EXPECT_FALSE(check_IDs(cells({{no_node - 1, 0}}), no_node - 1));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(), 0));
}

TEST(CheckIDsOfAList, EveryEntryIsBelowTheBound) {
    EXPECT_TRUE(check_IDs(ids({0, 2, 1}), 3));
    EXPECT_FALSE(check_IDs(ids({0, 3, 1}), 3));
    EXPECT_FALSE(check_IDs(ids({0, no_node}), 3));
    EXPECT_FALSE(check_IDs(ids({no_node}), no_node));
    EXPECT_TRUE(check_IDs(ids({no_node - 1}), no_node));
    EXPECT_TRUE(check_IDs(ids({}), 0));
    EXPECT_FALSE(check_IDs(ids({0}), 0));
}

// ---------------------------------------------------------------------------------- long and strided

/// On this processor, on one without AVX-512, and on one without AVX2.
enum class processor { this_one, of_eight_numbers, of_one_number };
void PrintTo(processor p, std::ostream* out) {
    constexpr const char* names[] = {"this one", "of eight numbers", "of one number"};
    *out << names[static_cast<int>(p)];
}

class CheckIDsOnProcessors : public testing::TestWithParam<processor> {
    std::optional<eight_numbers> eight_;
    std::optional<one_lane> one_;

    void SetUp() override {
        if (GetParam() == processor::of_eight_numbers) eight_.emplace();
        if (GetParam() == processor::of_one_number) one_.emplace();
    }
};
INSTANTIATE_TEST_SUITE_P(Numbers, CheckIDsOnProcessors,
                         testing::Values(processor::this_one, processor::of_eight_numbers,
                                         processor::of_one_number));

// In matrices that are longer than the runs that the loops look at.
TEST_P(CheckIDsOnProcessors, FindsOneBadEntryAnywhere) {
    random_numbers random(7);
    constexpr unsigned bound = 0x90000000U; // beyond the signed range
    for (const std::size_t rows : {1U, 2U, 3U, 4U, 5U, 9U}) {
        for (const bool strided : {false, true}) {
            dense2D<unsigned> m(rows, 5000);
            for (unsigned& id : m) id = random.below(bound);
            auto f = framed(m);
            dense2D<unsigned> view = strided ? f.view : m;
            ASSERT_TRUE(check_IDs(view, bound));
            for (int trial = 0; trial < 200; ++trial) {
                const std::size_t i = random.below(static_cast<unsigned>(rows));
                const std::size_t j = random.below(5000);
                const unsigned old = view(i, j);
                const unsigned bad[] = {bound, bound + 1, no_node - 1, 0xA0000000U};
                view(i, j) = bad[trial % 4];
                EXPECT_FALSE(check_IDs(view, bound)) << i << ' ' << j;
                if (rows == 4) {
                    EXPECT_FALSE(check_IDs(view, zel::ELEMENT_FACE, bound)) << i << ' ' << j;
                    EXPECT_FALSE(check_IDs(view, zel::ELEMENT_Q4, bound)) << i << ' ' << j;
                }
                if (rows == 3) {
                    EXPECT_FALSE(check_IDs(view, zel::ELEMENT_T3, bound)) << i << ' ' << j;
                }
                if (!strided) {
                    EXPECT_FALSE(check_IDs(view.as_vector(), bound)) << i << ' ' << j;
                }
                view(i, j) = no_node;
                EXPECT_TRUE(check_IDs(view, bound));
                if (rows == 4) {
                    EXPECT_EQ(i == 3, check_IDs(view, zel::ELEMENT_FACE, bound));
                }
                view(i, j) = old;
            }
        }
    }
}

TEST_P(CheckIDsOnProcessors, FindsEachBadEntryOfListsThatBeginAnywhere) {
    for (std::size_t begin = 0; begin < 17; ++begin)
        for (const std::size_t count :
             {1U, 7U, 8U, 63U, 64U, 65U, 68U, 100U, 127U, 128U, 131U, 144U, 205U}) {
            dense2D<unsigned> all(1, 240, 9U);
            dense2D<unsigned> list = all.sub_matrix(0, begin, 1, count);
            for (unsigned& id : list) id = 6;
            ASSERT_TRUE(check_IDs(list, 7)) << begin << ' ' << count;
            for (std::size_t i = 0; i < count; ++i) {
                list(0, i) = 7;
                EXPECT_FALSE(check_IDs(list, 7)) << begin << ' ' << count << ' ' << i;
                list(0, i) = 6;
            }
        }
}

/// One bad entry at a time at each place of short matrices, whose columns lie one behind the other from any
/// address on, or apart.
void expect_each_bad_entry_is_found(std::size_t rows, bool apart) {
    for (std::size_t begin = 0; begin < 4; ++begin)
        for (std::size_t count = 1; count < 48; ++count) {
            dense2D<unsigned> all(rows + (apart ? 1 : 0), 60, no_node);
            dense2D<unsigned> m = all.sub_matrix(0, begin, rows, count);
            for (std::size_t j = 0; j < count; ++j) std::fill_n(m[j], rows, 6U);
            ASSERT_TRUE(check_IDs(m, 7));
            for (std::size_t j = 0; j < count; ++j)
                for (std::size_t i = 0; i < rows; ++i) {
                    SCOPED_TRACE(testing::Message()
                                 << begin << ' ' << count << ' ' << i << ' ' << j);
                    m(i, j) = 7;
                    EXPECT_FALSE(check_IDs(m, 7));
                    EXPECT_FALSE(check_IDs(m, zel::ELEMENT_FACE, 7));
                    m(i, j) = no_node;
                    EXPECT_TRUE(check_IDs(m, 7));
                    EXPECT_EQ(rows == 4 && i == 3, check_IDs(m, zel::ELEMENT_FACE, 7));
                    m(i, j) = 6;
                }
        }
}

TEST_P(CheckIDsOnProcessors, FindsEachBadEntryOfShortMatrices) {
    for (const std::size_t rows : {2U, 3U, 4U, 5U})
        for (const bool apart : {false, true}) expect_each_bad_entry_is_found(rows, apart);
}

TEST(CheckIDs, LooksOnlyAtTheView) {
    const auto f = framed(cells({{0, 1, 2, no_node}, {2, 1, 0, 1}})); // surroundings are far beyond
    EXPECT_TRUE(check_IDs(f.view, zel::ELEMENT_FACE, 3));
    EXPECT_TRUE(check_IDs(f.view, 3));
    EXPECT_TRUE(check_IDs(framed(ids({1, 2})).view, 3));
}

TEST(CheckIDs, RowsBesideAViewAreNotLookedAt) {
    for (std::size_t rows = 1; rows <= 6; ++rows) {
        const auto f = framed(dense2D<unsigned>(rows, 5, 1U)); // what is around is no node
        EXPECT_TRUE(check_IDs(f.view, 2)) << rows;
        EXPECT_FALSE(check_IDs(f.view, 1)) << rows;
    }
}

TEST(CheckIDs, ABoundOfNoNodeLetsEveryNumberPass) {
    EXPECT_TRUE(check_IDs(cells({{0xFFFFFFFEU, no_node}, {0, 7}}), no_node));
}

} // namespace
