// SPDX-License-Identifier: Apache-2.0
// Tests of `offset` and `copy_with_offset`.
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel2d/normals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace zel_test;
using testing::Each;
using testing::ElementsAre;
using zel::symmetric_fixed;
using zel::tessel2d::copy_with_offset;
using zel::tessel2d::normals;
using zel::tessel2d::offset;

using tensor = symmetric_fixed<double, 3>;

constexpr double epsilon = std::numeric_limits<double>::epsilon();
const tensor stretched{{2, 0, 3, 0, 0, 5}}; // diagonal 2, 3, 5
const tensor full{{1, 2, 3, 4, 5, 6}};      // a00, a01, a11, a02, a12, a22
const tensor zero_tensor{{0, 0, 0, 0, 0, 0}};

/// A pyramid over six triangles around node 3; node 1 belongs to no element.
struct pyramid {
    dense2D<double> pos = points({{2, 0, 0},
                                  {9, 9, 9},
                                  {1, 2, 0},
                                  {0, 0, 1},
                                  {-1, 2, 0},
                                  {-2, 0, 0},
                                  {-1, -2, 0},
                                  {1, -2, 0}});
    dense2D<unsigned> connect =
        cells({{3, 0, 2}, {3, 2, 4}, {3, 4, 5}, {3, 5, 6}, {3, 6, 7}, {3, 7, 0}});
    dense2D<double> N = points({{1, 0, 0},
                                {zel_test::nan, zel_test::nan, zel_test::nan},
                                {0, 1, 0},
                                {0, 0, 1},
                                {0, 1, 1},
                                {-1, 0, 0},
                                {0, -1, 0},
                                {1, 1, 1}});
    dense2D<unsigned> out = cells({{5, 6}});
};

std::vector<double> moved(const dense2D<double>& pos, const dense2D<double>& N, std::size_t j,
                          double d) {
    return point(pos(0, j) + d * N(0, j), pos(1, j) + d * N(1, j), pos(2, j) + d * N(2, j));
}

// ---------------------------------------------------------------------------------------- in place

TEST(Offset, EachNodeMovesExactlyOnceAlongItsVector) {
    pyramid s;
    const auto before = fresh_copy(s.pos);
    ASSERT_EQ(0, offset(s.pos, s.connect, s.N, 0.5));
    for (const std::size_t j : {0U, 2U, 3U, 4U, 5U, 6U, 7U})
        EXPECT_EQ(moved(before, s.N, j, 0.5), column(s.pos, j));
    EXPECT_EQ(point(0, 0, 1.5), column(s.pos, 3)) << "the apex of six triangles";
}
TEST(Offset, NodesThatNoElementNamesStay) {
    pyramid s;
    ASSERT_EQ(0, offset(s.pos, s.connect, s.N, 0.5));
    EXPECT_EQ(point(9, 9, 9), column(s.pos, 1));
    ASSERT_EQ(0, offset(s.pos, s.connect, 0.5));
    EXPECT_EQ(point(9, 9, 9), column(s.pos, 1));
}
TEST(Offset, ATensorMapsEachVector) {
    pyramid s;
    const auto before = fresh_copy(s.pos);
    ASSERT_EQ(0, offset(s.pos, s.connect, s.N, stretched));
    EXPECT_EQ(point(2 + 2, 0, 0), column(s.pos, 0));
    EXPECT_EQ(point(-1, 2 + 3, 5), column(s.pos, 4));
    s.pos = before;
    s.N(0, 7) = 1, s.N(1, 7) = 10, s.N(2, 7) = 100;
    ASSERT_EQ(0, offset(s.pos, s.connect, s.N, full));
    // rows (1, 2, 4), (2, 3, 5), (4, 5, 6)
    EXPECT_EQ(point(1 + 421, -2 + 532, 654), column(s.pos, 7));
}
TEST(Offset, TheIdentityTimesADistanceIsThatDistanceUpToRounding) {
    const double d = 0.3;
    const tensor identity{{d, 0, d, 0, 0, d}};
    pyramid s, t;
    ASSERT_EQ(0, offset(s.pos, s.connect, d));
    ASSERT_EQ(0, offset(t.pos, t.connect, identity));
    for (std::size_t j = 0; j < s.pos.cols; ++j)
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(s.pos(i, j), t.pos(i, j), 4 * epsilon);
}
TEST(Offset, OwnVectorsAreTheUnitNormalsWeightedByArea) {
    for (const mesh& plain : {grid_T3(5, 4, 3), grid_Q4(5, 4, 3), grid_mixed(5, 4, 3)}) {
        mesh m{fresh_copy(plain.pos), plain.connect};
        for (std::size_t j = 0; j < m.pos.cols; ++j) m.pos(2, j) = m.pos(0, j) * m.pos(1, j);
        dense2D<double> N;
        ASSERT_EQ(0, normals(m.pos, m.connect, 1.0, true, N));
        auto given = fresh_copy(m.pos), own = fresh_copy(m.pos);
        ASSERT_EQ(0, offset(given, m.connect, N, -0.25));
        ASSERT_EQ(0, offset(own, m.connect, -0.25));
        EXPECT_EQ(snapshot(given), snapshot(own));
        given = fresh_copy(m.pos), own = fresh_copy(m.pos);
        ASSERT_EQ(0, offset(given, m.connect, N, full));
        ASSERT_EQ(0, offset(own, m.connect, full));
        EXPECT_EQ(snapshot(given), snapshot(own));
    }
}
TEST(Offset, APlaneMovesToItsCounterClockwiseSide) {
    mesh m = grid_mixed(4, 4, 3);
    for (double& x : m.pos) x *= 4; // whole numbers, exact normals
    ASSERT_EQ(0, offset(m.pos, m.connect, 1.5));
    for (std::size_t j = 0; j < m.pos.cols; ++j) EXPECT_EQ(1.5, m.pos(2, j));
}
TEST(Offset, ADistanceOfZeroDoesNothingWithoutComputingNormals) {
    pyramid s;
    s.connect(0, 0) = 77; // what normals would refuse
    const dense2D<double> N(2, 1);
    dense2D<double> planar(2, 3, 1.0);
    const auto unchanged = snapshot(s.pos, planar);
    const std::size_t before = allocation_count();
    EXPECT_EQ(0, offset(s.pos, s.connect, 0.0));
    EXPECT_EQ(0, offset(s.pos, s.connect, -0.0));
    EXPECT_EQ(0, offset(s.pos, s.connect, N, 0.0));
    EXPECT_EQ(0, offset(planar, s.connect, 0.0));
    EXPECT_EQ(before, allocation_count());
    EXPECT_EQ(unchanged, snapshot(s.pos, planar));
}
TEST(Offset, ATensorOfZerosGoesThroughAllTests) {
    pyramid s;
    EXPECT_EQ(-2, offset(s.pos, cells({{0, 2, 8}}), s.N, zero_tensor));
    EXPECT_EQ(-3, offset(s.pos, s.connect, dense2D<double>(2, 8, 0.0), zero_tensor));
    EXPECT_EQ(-3, offset(s.pos, cells({{0, 2, 8}}), zero_tensor));
    s.N(0, 0) = infinity; // zero times infinity is NaN
    EXPECT_EQ(0, offset(s.pos, s.connect, s.N, zero_tensor));
    EXPECT_TRUE(std::isnan(s.pos(0, 0)));
    EXPECT_EQ(point(0, 0, 1), column(s.pos, 3));
}
TEST(Offset, ADistanceOfNaNDiffersFromZero) {
    pyramid s;
    ASSERT_EQ(0, offset(s.pos, s.connect, s.N, zel_test::nan));
    EXPECT_TRUE(std::isnan(s.pos(2, 3)));
    EXPECT_EQ(point(9, 9, 9), column(s.pos, 1));
}
TEST(Offset, TheVectorsMayBeTheNodesThemselves) {
    pyramid s;
    const auto before = fresh_copy(s.pos);
    ASSERT_EQ(0, offset(s.pos, s.connect, s.pos, 2.0));
    for (const std::size_t j : {0U, 2U, 7U})
        EXPECT_EQ(moved(before, before, j, 2), column(s.pos, j));
}
TEST(Offset, VectorsInTheSameStorageCountAsOnEntry) {
    dense2D<double> block(3, 9, 1.0);
    auto pos = block.sub_matrix(0, 1, 3, 8);
    const auto N = block.sub_matrix(0, 0, 3, 8); // each vector is the node before
    ASSERT_EQ(0, offset(pos, cells({{0, 1, 2}, {3, 4, 5}}), N, 1.0));
    for (std::size_t j = 0; j < 6; ++j) EXPECT_EQ(point(2, 2, 2), column(pos, j));
    EXPECT_EQ(point(1, 1, 1), column(pos, 6));
}

// ------------------------------------------------------------------------------------------- copies

TEST(CopyWithOffset, NewNodesFollowTheOrderInWhichElementsNameThem) {
    pyramid s;
    const auto before = fresh_copy(s.pos);
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, s.N, 0.5, s.out));
    ASSERT_EQ(8U + 7, s.pos.cols) << "compact: node 1 is not copied";
    EXPECT_THAT(columns(s.out), ElementsAre(cell(8, 9, 10), cell(8, 10, 11), cell(8, 11, 12),
                                            cell(8, 12, 13), cell(8, 13, 14), cell(8, 14, 9)));
    const std::size_t order[] = {3, 0, 2, 4, 5, 6, 7};
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(moved(before, s.N, order[i], 0.5), column(s.pos, 8 + i));
    for (std::size_t j = 0; j < 8; ++j) EXPECT_EQ(column(before, j), column(s.pos, j));
}
TEST(CopyWithOffset, AZeroDistanceDoublesTheNamedNodesInPlace) {
    pyramid s;
    s.N(0, 3) = infinity, s.N(0, 2) = zel_test::nan;
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, s.N, 0.0, s.out));
    ASSERT_EQ(15U, s.pos.cols);
    EXPECT_EQ(point(0, 0, 1), column(s.pos, 8));
    EXPECT_EQ(point(1, 2, 0), column(s.pos, 10));
    pyramid t;
    ASSERT_EQ(0, copy_with_offset(t.pos, t.connect, 0.0, t.out));
    EXPECT_EQ(snapshot(s.pos, s.out), snapshot(t.pos, t.out));
}
TEST(CopyWithOffset, MixedElementsKeepTheirMarks) {
    mesh m = grid_mixed(3, 2, 3);
    dense2D<unsigned> out;
    ASSERT_EQ(0, copy_with_offset(m.pos, m.connect, 0.5, out));
    ASSERT_EQ(m.connect.cols, out.cols);
    ASSERT_EQ(4U, out.rows);
    EXPECT_EQ(24U, m.pos.cols);
    bool marked = false;
    for (std::size_t e = 0; e < out.cols; ++e)
        for (std::size_t k = 0; k < 4; ++k) {
            const unsigned old = m.connect(k, e);
            marked |= old == no_node;
            if (old == no_node) {
                EXPECT_EQ(no_node, out(k, e));
                continue;
            }
            ASSERT_GE(out(k, e), 12U);
            ASSERT_LT(out(k, e), 24U);
            EXPECT_EQ(m.pos(0, old), m.pos(0, out(k, e)));
            EXPECT_EQ(m.pos(2, old) + 0.5, m.pos(2, out(k, e)));
        }
    EXPECT_TRUE(marked);
    expect_valid_mesh(m.pos, out);
}
TEST(CopyWithOffset, ATensorMapsEachVector) {
    pyramid s;
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, s.N, stretched, s.out));
    EXPECT_EQ(point(0, 0, 1 + 5), column(s.pos, 8));
    EXPECT_EQ(point(2 + 2, 0, 0), column(s.pos, 9));
    pyramid given, own;
    dense2D<double> N;
    ASSERT_EQ(0, normals(given.pos, given.connect, 1.0, true, N));
    ASSERT_EQ(0, copy_with_offset(given.pos, given.connect, N, full, given.out));
    ASSERT_EQ(0, copy_with_offset(own.pos, own.connect, full, own.out));
    EXPECT_EQ(snapshot(given.pos, given.out), snapshot(own.pos, own.out));
}
TEST(CopyWithOffset, TheCopyOfACopyIsAppendedBehindIt) {
    pyramid s;
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, 1.0, s.out));
    dense2D<unsigned> second;
    ASSERT_EQ(0, copy_with_offset(s.pos, s.out, 1.0, second));
    EXPECT_EQ(8U + 14, s.pos.cols);
    EXPECT_EQ(cell(15, 16, 17), column(second, 0));
}
TEST(CopyWithOffset, TheElementsMayBeReplacedByThoseOfTheCopy) {
    pyramid reference;
    ASSERT_EQ(0,
              copy_with_offset(reference.pos, reference.connect, reference.N, 2.0, reference.out));
    pyramid s, t, u;
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, s.N, 2.0, s.connect));
    EXPECT_EQ(snapshot(reference.pos, reference.out), snapshot(s.pos, s.connect));
    const tensor twice{{2, 0, 2, 0, 0, 2}};
    ASSERT_EQ(0, copy_with_offset(t.pos, t.connect, t.N, twice, t.connect));
    EXPECT_EQ(snapshot(reference.out), snapshot(t.connect));
    ASSERT_EQ(0, copy_with_offset(u.pos, u.connect, 2.0, u.connect));
    EXPECT_EQ(snapshot(reference.out), snapshot(u.connect));
}
TEST(CopyWithOffset, TheVectorsMayLieWhereNewNodesGoOrBeTheNodes) {
    pyramid reference;
    ASSERT_EQ(0,
              copy_with_offset(reference.pos, reference.connect, reference.N, 0.5, reference.out));
    dense2D<double> block(3, 100, 0.0);
    pyramid s;
    auto pos = block.sub_matrix(0, 0, 3, 8);
    const auto N = block.sub_matrix(0, 8, 3, 8);
    std::copy_n(s.pos.data(), 24, block[0]);
    std::copy_n(s.N.data(), 24, block[8]);
    ASSERT_EQ(0, copy_with_offset(pos, s.connect, N, 0.5, s.out));
    EXPECT_EQ(snapshot(reference.pos, reference.out), snapshot(pos, s.out));
    pyramid t;
    ASSERT_EQ(0, copy_with_offset(t.pos, t.connect, t.pos, 1.0, t.out));
    EXPECT_EQ(point(4, 0, 0), column(t.pos, 9));
    EXPECT_EQ(point(0, 0, 2), column(t.pos, 8));
}
TEST(CopyWithOffset, FewElementsInALargeMeshAreCopiedTheSame) {
    dense2D<double> pos(3, 5000, 0.0);
    for (std::size_t j = 0; j < pos.cols; ++j) pos(0, j) = static_cast<double>(j);
    const dense2D<double> N(3, 5000, 1.0);
    const auto connect = cells({{4000, 17, 4999, no_node}, {17, 3, 4000, 100}});
    dense2D<unsigned> out;
    auto in_place = fresh_copy(pos);
    ASSERT_EQ(0, copy_with_offset(pos, connect, N, 2.0, out));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(5000, 5001, 5002, no_node), cell(5001, 5003, 5000, 5004)));
    ASSERT_EQ(5005U, pos.cols);
    EXPECT_EQ(point(4002, 2, 2), column(pos, 5000));
    EXPECT_EQ(point(5, 2, 2), column(pos, 5003));
    ASSERT_EQ(0, offset(in_place, connect, N, 2.0));
    for (std::size_t j = 0; j < 5000; ++j) {
        const bool named = j == 4000 || j == 17 || j == 4999 || j == 3 || j == 100;
        ASSERT_EQ(static_cast<double>(j) + (named ? 2 : 0), in_place(0, j));
    }
}

// ------------------------------------------------------------------------------------------- views

TEST(Offset, ViewsWithALargerLeadingDimension) {
    pyramid reference;
    ASSERT_EQ(0, offset(reference.pos, reference.connect, reference.N, 0.5));
    pyramid s;
    auto pos = framed(s.pos);
    ASSERT_EQ(0, offset(pos.view, framed(s.connect).view, framed(s.N).view, 0.5));
    EXPECT_EQ(snapshot(reference.pos), snapshot(pos.view));
    EXPECT_TRUE(pos.surroundings_untouched(8));
}
TEST(CopyWithOffset, ViewsWithALargerLeadingDimension) {
    pyramid reference;
    ASSERT_EQ(0,
              copy_with_offset(reference.pos, reference.connect, reference.N, 0.5, reference.out));
    pyramid s;
    auto pos = framed(s.pos);
    auto out = framed(s.connect);
    ASSERT_EQ(0,
              copy_with_offset(pos.view, framed(s.connect).view, framed(s.N).view, 0.5, out.view));
    EXPECT_EQ(snapshot(reference.pos, reference.out), snapshot(pos.view, out.view));
    EXPECT_TRUE(pos.surroundings_untouched(8));
    EXPECT_EQ(3U, out.parent(1, 2)) << "what others see stays";
}

// ---------------------------------------------------------------------------------------- statuses

/// All forms with vectors and all without, on what they are given.
struct form {
    std::string name;
    bool given;
    bool copies;
    bool scalar;
    std::function<int(pyramid&)> run;
};
std::vector<form> forms() {
    return {
        {"offset N M", true, false, false,
         [](pyramid& s) { return offset(s.pos, s.connect, s.N, full); }},
        {"offset N d", true, false, true,
         [](pyramid& s) { return offset(s.pos, s.connect, s.N, 0.5); }},
        {"offset M", false, false, false,
         [](pyramid& s) { return offset(s.pos, s.connect, full); }},
        {"offset d", false, false, true, [](pyramid& s) { return offset(s.pos, s.connect, 0.5); }},
        {"copy N M", true, true, false,
         [](pyramid& s) { return copy_with_offset(s.pos, s.connect, s.N, full, s.out); }},
        {"copy N d", true, true, true,
         [](pyramid& s) { return copy_with_offset(s.pos, s.connect, s.N, 0.5, s.out); }},
        {"copy M", false, true, false,
         [](pyramid& s) { return copy_with_offset(s.pos, s.connect, full, s.out); }},
        {"copy d", false, true, true,
         [](pyramid& s) { return copy_with_offset(s.pos, s.connect, 0.5, s.out); }},
    };
}

/// `spoil` makes arguments unusable; the forms with and without vectors have to return the given status, and to
/// change nothing but to clear `out` where a distance is given.
void expect_refused(int with_vectors, int without, const std::function<void(pyramid&)>& spoil) {
    for (const form& f : forms()) {
        SCOPED_TRACE(f.name);
        pyramid s;
        spoil(s);
        const auto before = snapshot(s.pos, s.connect, s.N);
        const auto out = snapshot(s.out);
        EXPECT_EQ(f.given ? with_vectors : without, f.run(s));
        EXPECT_EQ(before, snapshot(s.pos, s.connect, s.N));
        if (f.copies && f.scalar) {
            EXPECT_EQ(0U, s.out.rows);
            EXPECT_EQ(0U, s.out.cols);
        } else {
            EXPECT_EQ(out, snapshot(s.out));
        }
    }
}

TEST(Offset, AnEmptyConnectivityIsNothingToDo) {
    expect_refused(0, 0, [](pyramid& s) {
        s.connect = dense2D<unsigned>(3, 0);
        s.pos = dense2D<double>(2, 5, 1.0);
        s.N = dense2D<double>(1, 1, 1.0);
    });
    expect_refused(0, 0, [](pyramid& s) { s.connect = dense2D<unsigned>(); });
}
TEST(Offset, CoordinatesOfOtherRowsAreRefused) {
    for (const std::size_t rows : {1U, 2U, 4U})
        expect_refused(-1, -1, [rows](pyramid& s) { s.pos = dense2D<double>(rows, 8, 1.0); });
    expect_refused(-1, -1, [](pyramid& s) { s.pos = dense2D<double>(); });
}
TEST(Offset, NodesThatDoNotExistAreRefused) {
    expect_refused(-2, -3, [](pyramid& s) { s.connect(1, 4) = 8; });
    expect_refused(-2, -3, [](pyramid& s) { s.connect(0, 0) = 0xFFFFFFFEU; });
    expect_refused(-2, -2, [](pyramid& s) { s.pos = dense2D<double>(3, 0); });
}
TEST(Offset, VectorsForTooFewNodesAreRefused) {
    for (const form& f : forms()) {
        if (!f.given) continue;
        SCOPED_TRACE(f.name);
        pyramid s;
        const auto before = snapshot(s.pos);
        s.N = dense2D<double>(3, 7, 1.0); // node 7 lacks its vector
        EXPECT_EQ(-2, f.run(s));
        EXPECT_EQ(before, snapshot(s.pos));
        s.connect = cells({{0, 2, 6}});
        EXPECT_EQ(0, f.run(s)) << "only the largest number counts";
    }
}
TEST(Offset, VectorsOfOtherRowsAreRefusedLast) {
    for (const form& f : forms()) {
        if (!f.given) continue;
        SCOPED_TRACE(f.name);
        pyramid s;
        for (const std::size_t rows : {1U, 2U, 4U}) {
            s.N = dense2D<double>(rows, 8, 1.0);
            EXPECT_EQ(-3, f.run(s));
            s.N = dense2D<double>(rows, 7, 1.0); // too few as well
            EXPECT_EQ(-2, f.run(s));
        }
        s.N = dense2D<double>();
        EXPECT_EQ(-2, f.run(s));
        s.pos = dense2D<double>(2, 8, 1.0);
        EXPECT_EQ(-1, f.run(s));
        s.pos = dense2D<double>(3, 8, 1.0);
        EXPECT_EQ(-2, f.run(s));
    }
}
TEST(Offset, ElementsOfOtherRowsMoveNothing) {
    for (const std::size_t rows : {1U, 2U, 5U, 6U}) {
        for (const form& f : forms()) {
            SCOPED_TRACE(f.name);
            pyramid s;
            s.connect = dense2D<unsigned>(rows, 3, 2U);
            s.connect(0, 1) = no_node;
            const auto before = snapshot(s.pos);
            EXPECT_EQ(f.given ? 0 : -3, f.run(s));
            EXPECT_EQ(before, snapshot(s.pos));
            if (f.given && f.copies) {
                EXPECT_EQ(snapshot(s.connect), snapshot(s.out)) << "the plain copy";
                EXPECT_NE(s.connect.storage.get(), s.out.storage.get());
            }
        }
    }
}

// -------------------------------------------------------------------------------- degenerate input

TEST(Offset, EntriesThatNameNoNodeAreNeitherGatheredNorChanged) {
    for (const form& f : forms()) {
        SCOPED_TRACE(f.name);
        pyramid s;
        s.connect = cells({{0, no_node, 2, 3}, {no_node, no_node, no_node, no_node}});
        const auto before = fresh_copy(s.pos);
        EXPECT_EQ(0, f.run(s));
        if (f.copies) {
            EXPECT_THAT(columns(s.out), ElementsAre(cell(8, no_node, 9, 10),
                                                    cell(no_node, no_node, no_node, no_node)));
            EXPECT_EQ(11U, s.pos.cols);
        } else {
            EXPECT_EQ(f.given, column(before, 0) != column(s.pos, 0));
            EXPECT_EQ(column(before, 4), column(s.pos, 4));
        }
    }
}
TEST(Offset, NodesOfElementsWithoutAreaStay) {
    pyramid s;
    s.connect = cells({{0, 0, 2}, {3, 3, 3}});
    const auto before = snapshot(s.pos);
    ASSERT_EQ(0, offset(s.pos, s.connect, 5.0));
    EXPECT_EQ(before, snapshot(s.pos));
    ASSERT_EQ(0, copy_with_offset(s.pos, s.connect, 5.0, s.out));
    EXPECT_EQ(11U, s.pos.cols);
    EXPECT_EQ(column(s.pos, 3), column(s.pos, 10));
}

// ------------------------------------------------------------------------------------------ memory

TEST(Offset, ExhaustedMemoryIsReportedAndNothingMoves) {
    for (const bool sparse : {false, true}) {
        for (const form& f : forms()) {
            if (f.copies) continue;
            SCOPED_TRACE(f.name);
            fail_each_allocation([&](std::size_t k) {
                pyramid s;
                if (sparse) {
                    s.pos.resize(3, 500, 1.0);
                    s.N.resize(3, 500, 1.0);
                }
                const auto before = snapshot(s.pos);
                arm_allocator(k);
                const int status = f.run(s);
                disarm_allocator();
                EXPECT_TRUE(status == 0 || status == -199) << status;
                EXPECT_EQ(status == 0, !(before == snapshot(s.pos)));
            });
        }
    }
}
TEST(CopyWithOffset, ExhaustedMemoryIsReported) {
    for (const bool sparse : {false, true}) {
        for (const form& f : forms()) {
            if (!f.copies) continue;
            SCOPED_TRACE(f.name);
            const auto make = [&] {
                pyramid s;
                if (sparse) {
                    s.pos.resize(3, 500, 1.0);
                    s.N.resize(3, 500, 1.0);
                }
                return s;
            };
            pyramid done = make();
            ASSERT_EQ(0, f.run(done));
            bool filled = false;
            fail_each_allocation([&](std::size_t k) {
                pyramid s = make();
                const auto before = snapshot(s.pos);
                const auto out = snapshot(s.out);
                arm_allocator(k);
                const int status = f.run(s);
                disarm_allocator();
                if (status == 0) {
                    EXPECT_EQ(snapshot(done.pos, done.out), snapshot(s.pos, s.out));
                    return;
                }
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(s.pos));
                if (f.scalar) {
                    EXPECT_EQ(0U, s.out.rows);
                    EXPECT_EQ(0U, s.out.cols);
                } else if (!(out == snapshot(s.out))) {
                    filled = true;
                    EXPECT_EQ(snapshot(done.out), snapshot(s.out));
                }
            });
            EXPECT_EQ(!f.scalar, filled) << "elements without nodes after the last failure";
        }
    }
}
TEST(Offset, ACopyOfSharedVectorsMayFail) {
    fail_each_allocation([](std::size_t k) {
        pyramid s;
        const auto before = snapshot(s.pos);
        arm_allocator(k);
        const int status = offset(s.pos, s.connect, s.pos, 0.5);
        disarm_allocator();
        EXPECT_TRUE(status == 0 || status == -199);
        EXPECT_EQ(status == 0, !(before == snapshot(s.pos)));
    });
}

// ------------------------------------------------------------------------------------ random input

TEST(CopyWithOffset, RandomMeshesAgreeWithAMapOfNodes) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned nodes = 1 + random.below(random.below(2) ? 40 : 4000);
        const unsigned rows = 3 + random.below(2);
        dense2D<double> pos(3, nodes), N(3, nodes + random.below(3));
        for (double& x : pos) x = random.between(-1, 1);
        for (double& x : N) x = random.between(-1, 1);
        dense2D<unsigned> connect(rows, 1 + random.below(100));
        for (unsigned& n : connect) n = random.below(10) == 0 ? no_node : random.below(nodes);
        const double d = random.between(-2, 2);

        std::map<unsigned, unsigned> number;
        auto expected_pos = fresh_copy(pos), expected_moved = fresh_copy(pos);
        auto expected_out = fresh_copy(connect);
        for (unsigned& n : expected_out) {
            if (n == no_node) continue;
            const auto found = number.emplace(n, static_cast<unsigned>(nodes + number.size()));
            if (found.second) {
                const auto p = moved(pos, N, n, d);
                expected_pos.resize(3, expected_pos.cols + 1);
                std::copy(p.begin(), p.end(), expected_pos[expected_pos.cols - 1]);
                std::copy(p.begin(), p.end(), expected_moved[n]);
            }
            n = found.first->second;
        }
        auto in_place = fresh_copy(pos);
        ASSERT_EQ(0, offset(in_place, connect, N, d));
        EXPECT_EQ(snapshot(expected_moved), snapshot(in_place));
        dense2D<unsigned> out;
        ASSERT_EQ(0, copy_with_offset(pos, connect, N, d, out));
        EXPECT_EQ(snapshot(expected_pos, expected_out), snapshot(pos, out));
    }
}

TEST(Offset, WithoutMemoryForACopyOfVectorsInTheBlockOfThePositionsNothingMoves) {
    for (const bool copies : {false, true}) {
        fail_each_allocation([&](std::size_t k) {
            dense2D<double> block(6, 3, 0.0);
            auto pos = block.sub_matrix(0, 0, 3, 3);
            const auto N = block.sub_matrix(3, 0, 3, 3);
            pos(0, 1) = pos(1, 2) = 1;
            for (std::size_t j = 0; j < 3; ++j) block(5, j) = 1;
            const auto triangle = cells({{0, 1, 2}});
            dense2D<unsigned> out;
            const auto before = snapshot(pos, N);
            arm_allocator(k);
            const int status = copies ? copy_with_offset(pos, triangle, N, 2.0, out)
                                      : offset(pos, triangle, N, 2.0);
            if (status != 0) {
                EXPECT_TRUE(allocation_failed());
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(pos, N));
            } else {
                EXPECT_EQ(point(0, 0, 2), column(pos, copies ? 3 : 0));
            }
        });
    }
}

} // namespace
