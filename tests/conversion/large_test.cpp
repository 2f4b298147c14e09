// SPDX-License-Identifier: Apache-2.0
// A strip of more than 2^16 elements through every conversion, checked by formula: a number that is held in
// too few bits on the way shows here.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

#include "support/adjacency.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

constexpr unsigned cells_of_strip = 65600;
constexpr unsigned known = 2 * (cells_of_strip + 1); // nodes of the strip

// Cell q has the corners q, q + 1, q + m + 2, q + m + 1. Its edges are numbered where they are first used:
// four in the first cell, then three, since the left edge is the right one of the cell before.
unsigned first_edge(unsigned q) {
    return q == 0 ? 0 : 4 + 3 * (q - 1);
}
struct q9 {
    unsigned nodes[9];
};
q9 raised(unsigned q, unsigned m) {
    const unsigned e = known + first_edge(q);
    const unsigned left = q == 0 ? known + 3 : known + first_edge(q - 1) + 1;
    return {{q, q + 1, q + m + 2, q + m + 1, e, e + 1, e + 2, left, known + 3 * m + 1 + q}};
}

/// How many entries differ from those of `expected(column, row)`.
template <class Expected>
std::size_t differing(const dense2D<unsigned>& connect, Expected&& expected) {
    std::size_t count = 0;
    for (unsigned e = 0; e < connect.cols; ++e)
        for (unsigned i = 0; i < connect.rows; ++i) count += connect(i, e) != expected(e, i);
    return count;
}

class LargeStrip : public testing::Test {
protected:
    const unsigned m = cells_of_strip;
    mesh strip = grid_Q4(m, 1);

    std::size_t wrong_places(const dense2D<double>& pos) const {
        std::size_t wrong = 0;
        const auto check = [&](unsigned node, double x, double y) {
            wrong +=
                !(std::abs(pos(0, node) - x / m) < 1e-12) || !(std::abs(pos(1, node) - y) < 1e-12);
        };
        for (unsigned q = 0; q < m; ++q) {
            const q9 e = raised(q, m);
            check(e.nodes[4], q + 0.5, 0);
            check(e.nodes[5], q + 1.0, 0.5);
            check(e.nodes[6], q + 0.5, 1);
            check(e.nodes[7], q, 0.5);
            check(e.nodes[8], q + 0.5, 0.5);
        }
        return wrong;
    }
};

TEST_F(LargeStrip, IsRaisedLoweredAndCutInFour) {
    ASSERT_EQ(0, convert_into_quadratic(strip.pos, strip.connect));
    ASSERT_EQ(std::size_t{known} + 3 * m + 1 + m, strip.pos.cols);
    ASSERT_EQ(m, strip.connect.cols);
    EXPECT_EQ(0U, differing(strip.connect,
                            [&](unsigned e, unsigned i) { return raised(e, m).nodes[i]; }));
    EXPECT_EQ(0U, wrong_places(strip.pos));

    static constexpr unsigned rows[4][4] = {{0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}};
    dense2D<unsigned> pieces;
    ASSERT_EQ(0, split_into_linear(strip.connect, pieces));
    ASSERT_EQ(4 * std::size_t{m}, pieces.cols);
    EXPECT_EQ(0U, differing(pieces, [&](unsigned e, unsigned i) {
                  return raised(e / 4, m).nodes[rows[e % 4][i]];
              }));

    ASSERT_EQ(0, convert_into_linear(strip.connect));
    EXPECT_EQ(0U, differing(strip.connect,
                            [&](unsigned e, unsigned i) { return raised(e, m).nodes[i]; }));
}

TEST_F(LargeStrip, IsRaisedToTheThirdOrder) {
    dense2D<unsigned> cubic;
    const auto nodes_before = strip.pos.cols;
    ASSERT_EQ(0, convert_into_high_order(strip.pos, strip.connect, 2, 4, 0, cubic, {}));
    ASSERT_EQ(nodes_before + 2 * (3 * std::size_t{m} + 1) + 4 * std::size_t{m}, strip.pos.cols);
    EXPECT_EQ(0U, differing(cubic, [&](unsigned e, unsigned i) {
                  if (i < 4) return raised(e, m).nodes[i];
                  if (i >= 12) return known + 2 * (3 * m + 1) + 4 * e + (i - 12);
                  const unsigned side = raised(e, m).nodes[i / 2 + 2] - known;
                  const bool reversed =
                      i / 2 == 5 && e > 0; // the left edge is that of the cell before
                  return known + 2 * side + (reversed ? 1 - i % 2 : i % 2);
              }));
}

TEST_F(LargeStrip, IsCutIntoQuadrilaterals) {
    static constexpr unsigned rows[4][4] = {{0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}};
    dense2D<unsigned> pieces;
    ASSERT_EQ(0, split_into_Q4(strip.pos, strip.connect, pieces, {}));
    ASSERT_EQ(4 * std::size_t{m}, pieces.cols);
    EXPECT_EQ(0U, differing(pieces, [&](unsigned e, unsigned i) {
                  return raised(e / 4, m).nodes[rows[e % 4][i]];
              }));
    EXPECT_EQ(0U, wrong_places(strip.pos));
}

TEST_F(LargeStrip, IsCutIntoTrianglesInEachWay) {
    static constexpr unsigned rows[6] = {0, 1, 2, 2, 3, 0};
    const auto halves = [&](unsigned e, unsigned i) {
        return i == 3 ? no_node : strip.connect(rows[e % 2 * 3 + i], e / 2);
    };
    dense2D<unsigned> blind, good, bad;
    ASSERT_EQ(static_cast<int>(m), split_Q4_into_T3(strip.connect, blind));
    ASSERT_EQ(2 * std::size_t{m}, blind.cols);
    EXPECT_EQ(0U, differing(blind, halves));
    ASSERT_EQ(static_cast<int>(m), split_Q4_into_T3(strip.pos, strip.connect, good));
    ASSERT_EQ(2 * std::size_t{m}, good.cols);
    EXPECT_EQ(0U, differing(good, halves));
    dense1D<unsigned, 8> kept, cut;
    ASSERT_EQ(static_cast<int>(m),
              split_Q4_into_T3(strip.pos, strip.connect, 2.0, 2.0, 2.0, 0, kept, cut, bad));
    ASSERT_EQ(2 * std::size_t{m}, bad.cols);
    EXPECT_EQ(0U, differing(bad, halves));
    ASSERT_EQ(m, cut.size);
    for (unsigned e = 0; e < m; ++e) ASSERT_EQ(e, cut[e]);
}

TEST_F(LargeStrip, IsReorientedFromOneEndToTheOther) {
    const auto beside = zel_test::adjacency_of(strip.connect, strip.pos.cols);
    auto connect = fresh_copy(strip.connect);
    auto neighbors = fresh_copy(beside.neighbors);
    for (unsigned e = 1; e < m; e += 2) {
        auto cell = connect.sub_matrix(0, e, 4, 1);
        auto around = neighbors.sub_matrix(0, e, 4, 1);
        ASSERT_EQ(0, flip(cell, around, zel::ELEMENT_Q4));
    }
    ASSERT_EQ(static_cast<int>(m / 2), mesh_reorient(connect, neighbors, 0, 0));
    EXPECT_EQ(0U, differing(connect, [&](unsigned e, unsigned i) { return strip.connect(i, e); }));
    EXPECT_EQ(0U,
              differing(neighbors, [&](unsigned e, unsigned i) { return beside.neighbors(i, e); }));
    ASSERT_EQ(0, flip(connect));
    EXPECT_EQ(0U, differing(connect, [&](unsigned e, unsigned i) {
                  return strip.connect(i % 2 == 1 ? i : 2 - i, e);
              }));
}

TEST_F(LargeStrip, CollapsedCellsAreMendedAndListed) {
    for (unsigned e = 0; e < m; e += 2) strip.connect(1, e) = strip.connect(0, e);
    const auto before = fresh_copy(strip.connect);
    dense1D<unsigned, 8> changed;
    ASSERT_EQ(static_cast<int>(m / 2), convert_degenerated_Q(strip.connect, changed));
    ASSERT_EQ(m / 2, changed.size);
    for (unsigned k = 0; k < changed.size; ++k) ASSERT_EQ(2 * k, changed[k]);
    EXPECT_EQ(0U, differing(strip.connect, [&](unsigned e, unsigned i) {
                  if (e % 2 == 1) return before(i, e);
                  return i == 0 ? before(0, e) : i == 3 ? no_node : before(i + 1, e);
              }));
}

} // namespace
