// SPDX-License-Identifier: Apache-2.0
#include "measures/side_by_side.h"
#include "measures/stamp_marks.h"
#include "support/adjacency.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel2d/measures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using testing::IsEmpty;
using zel::tessel2d::get_connected_elements;
using zel_test::adjacency;
using zel_test::adjacency_of;

struct stars {
    int status = 0;
    dense1D<unsigned, 8> starts;
    dense1D<unsigned, 8> elements;

    std::vector<unsigned> of(std::size_t node) const {
        return {elements.begin() + starts[node], elements.begin() + starts[node + 1]};
    }
};

stars stars_of(const dense2D<unsigned>& connect, const adjacency& beside) {
    stars s;
    s.status =
        get_connected_elements(connect, beside.neighbors, beside.ancestors, s.starts, s.elements);
    return s;
}
stars stars_of(const mesh& m) {
    auto s = stars_of(m.connect, adjacency_of(m.connect, m.pos.cols));
    EXPECT_EQ(0, s.status);
    EXPECT_EQ(m.pos.cols + 1, s.starts.size);
    EXPECT_EQ(s.elements.size, s.starts[m.pos.cols]);
    return s;
}

/// `count` triangles (0, 1 + k, 2 + k) around node 0; closed, the last one ends at node 1.
dense2D<unsigned> fan(unsigned count, bool closed) {
    dense2D<unsigned> connect(3, count);
    for (unsigned k = 0; k < count; ++k) {
        connect(0, k) = 0;
        connect(1, k) = 1 + k;
        connect(2, k) = closed && k + 1 == count ? 1 : 2 + k;
    }
    return connect;
}

/// The same column with its corners moved on by `turns`.
void turn_column(dense2D<unsigned>& connect, std::size_t e, unsigned turns) {
    std::rotate(connect[e], connect[e] + turns, connect[e] + corner_count(connect, e));
}

// -------------------------------------------------------------------------------------- normal use

TEST(ConnectedElements, AClosedStarOfSixStartsWithTheAncestorAndRunsCounterclockwise) {
    auto connect = fan(6, true);
    for (unsigned e = 0; e < 6; ++e) turn_column(connect, e, e % 3);
    auto beside = adjacency_of(connect, 7);
    for (unsigned ancestor = 0; ancestor < 6; ++ancestor) {
        beside.ancestors[0] = ancestor;
        const auto s = stars_of(connect, beside);
        EXPECT_EQ(0, s.status);
        std::vector<unsigned> expected;
        for (unsigned k = 0; k < 6; ++k) expected.push_back((ancestor + k) % 6);
        EXPECT_EQ(expected, s.of(0));
    }
}

TEST(ConnectedElements, ABoundaryNodeGetsAllThreeWhicheverIsItsAncestor) {
    auto connect = fan(3, false);
    for (unsigned e = 0; e < 3; ++e) turn_column(connect, e, 2 - e);
    auto beside = adjacency_of(connect, 5);
    for (unsigned ancestor = 0; ancestor < 3; ++ancestor) {
        beside.ancestors[0] = ancestor;
        EXPECT_THAT(stars_of(connect, beside).of(0), ElementsAre(0, 1, 2)) << ancestor;
    }
}

TEST(ConnectedElements, ClockwiseElementsAreListedClockwise) {
    auto connect = fan(3, false);
    for (unsigned e = 0; e < 3; ++e) std::swap(connect(1, e), connect(2, e));
    EXPECT_THAT(stars_of(connect, adjacency_of(connect, 5)).of(0), ElementsAre(2, 1, 0));
}

TEST(ConnectedElements, ANodeWithoutAncestorHasAnEmptyList) {
    const auto connect = cells({{0, 1, 3}});
    const auto s = stars_of(connect, adjacency_of(connect, 5));
    EXPECT_EQ(0, s.status);
    EXPECT_THAT(values(s.starts), ElementsAre(0, 1, 2, 2, 3, 3));
    EXPECT_THAT(s.of(2), IsEmpty());
    EXPECT_THAT(values(s.elements), ElementsAre(0, 0, 0));
}

TEST(ConnectedElements, WithoutNodesThereIsOneOffset) {
    adjacency beside = adjacency_of(cells({{0, 1, 2}}), 3);
    beside.ancestors.resize(0);
    const auto s = stars_of(cells({{0, 1, 2}}), beside);
    EXPECT_EQ(0, s.status);
    EXPECT_THAT(values(s.starts), ElementsAre(0));
    EXPECT_TRUE(s.elements.empty());
}

TEST(ConnectedElements, WithoutElementsAllListsAreEmpty) {
    for (const std::size_t rows : {3U, 4U}) {
        adjacency beside{dense2D<unsigned>(rows, 0), ids({no_node, no_node})};
        const auto s = stars_of(dense2D<unsigned>(rows, 0), beside);
        EXPECT_EQ(0, s.status);
        EXPECT_THAT(values(s.starts), ElementsAre(0, 0, 0));
    }
}

TEST(ConnectedElements, BetweenQuadrilateralAndTriangleEachTurnsByItsOwnRule) {
    // Around node 0, counterclockwise: a quadrilateral, a triangle, a quadrilateral, a triangle.
    const auto ring = cells({{0, 1, 2, 3}, {0, 3, 4, no_node}, {0, 4, 5, 6}, {0, 6, 1, no_node}});
    for (unsigned turns = 0; turns < 12; ++turns) {
        auto connect = fresh_copy(ring);
        for (std::size_t e = 0; e < 4; ++e)
            turn_column(connect, e, turns % corner_count(connect, e));
        const auto s = stars_of(connect, adjacency_of(connect, 7));
        EXPECT_THAT(s.of(0), ElementsAre(0, 1, 2, 3)) << turns;
        EXPECT_THAT(s.of(2), ElementsAre(0)) << turns;
        EXPECT_THAT(s.of(3), ElementsAre(1, 0)) << turns;
    }
    // The same node on the border, as the last triangle is missing.
    auto open = fresh_copy(ring);
    open.resize(4, 3);
    auto beside = adjacency_of(open, 7);
    for (unsigned ancestor = 0; ancestor < 3; ++ancestor) {
        beside.ancestors[0] = ancestor;
        EXPECT_THAT(stars_of(open, beside).of(0), ElementsAre(0, 1, 2));
    }
}

TEST(ConnectedElements, ViewsAreReadAndOutputsAreReplaced) {
    for (const auto& m : {grid_T3(5, 4), grid_mixed(5, 4), grid_Q4(5, 4)}) {
        const auto plain = stars_of(m);
        const auto beside = adjacency_of(m.connect, m.pos.cols);
        auto starts = framed(ids({1, 2, 3}));
        auto elements = framed(ids({4, 5}));
        const auto parents = snapshot(starts.parent, elements.parent);
        ASSERT_EQ(0, get_connected_elements(framed(m.connect).view, framed(beside.neighbors).view,
                                            framed(beside.ancestors).view, starts.view,
                                            elements.view));
        EXPECT_EQ(snapshot(plain.starts, plain.elements), snapshot(starts.view, elements.view));
        EXPECT_EQ(parents, snapshot(starts.parent, elements.parent));
    }
}

TEST(ConnectedElements, OutputsMayBeTheInputsOrOneList) {
    const auto m = grid_T3(6, 5);
    const auto plain = stars_of(m);
    auto beside = adjacency_of(m.connect, m.pos.cols);
    auto ancestors = fresh_copy(beside.ancestors);
    dense1D<unsigned, 8> elements;
    ASSERT_EQ(0,
              get_connected_elements(m.connect, beside.neighbors, ancestors, ancestors, elements));
    EXPECT_EQ(snapshot(plain.starts, plain.elements), snapshot(ancestors, elements));

    dense1D<unsigned, 8> starts = beside.neighbors.as_vector();
    elements = m.connect.as_vector();
    ASSERT_EQ(
        0, get_connected_elements(m.connect, beside.neighbors, beside.ancestors, starts, elements));
    EXPECT_EQ(snapshot(plain.starts, plain.elements), snapshot(starts, elements));

    dense1D<unsigned, 8> both = ids({7, 7, 7});
    EXPECT_EQ(0, get_connected_elements(m.connect, beside.neighbors, beside.ancestors, both, both));
}

// ---------------------------------------------------------------------------------------- statuses

void expect_refused(int status, const dense2D<unsigned>& connect,
                    const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors) {
    auto starts = ids({1, 2});
    auto elements = ids({3});
    EXPECT_EQ(status, get_connected_elements(connect, neighbors, ancestors, starts, elements));
    EXPECT_TRUE(starts.empty());
    EXPECT_TRUE(elements.empty());
}

TEST(ConnectedElements, ElementsOfOtherRowsAreRefused) {
    for (const std::size_t rows : {0U, 2U, 5U, 6U})
        expect_refused(-1, dense2D<unsigned>(rows, 1, 0U), dense2D<unsigned>(rows, 1, 0U),
                       ids({0}));
    expect_refused(-1, dense2D<unsigned>(), dense2D<unsigned>(), ids({}));
}

TEST(ConnectedElements, NeighborsOfAnotherShapeAreRefused) {
    const auto connect = cells({{0, 1, 2}, {2, 1, 3}});
    expect_refused(-2, connect, dense2D<unsigned>(4, 2, no_node), ids({0}));
    expect_refused(-2, connect, dense2D<unsigned>(3, 3, no_node), ids({0}));
    expect_refused(-2, connect, dense2D<unsigned>(3, 1, no_node), ids({0}));
    expect_refused(-2, connect, dense2D<unsigned>(), ids({0}));
}

TEST(ConnectedElements, AncestorsThatDoNotExistAreRefused) {
    const auto connect = cells({{0, 1, 2}, {2, 1, 3}});
    const dense2D<unsigned> none(3, 2, no_node);
    expect_refused(-3, connect, none, ids({0, 2}));
    expect_refused(-3, connect, none, ids({0, no_node - 1}));
    expect_refused(-3, dense2D<unsigned>(3, 0), dense2D<unsigned>(3, 0), ids({0}));
}

TEST(ConnectedElements, TheFirstOfTwoFaultsDecides) {
    expect_refused(-1, dense2D<unsigned>(2, 1, 0U), dense2D<unsigned>(3, 2, 0U), ids({9}));
    expect_refused(-2, cells({{0, 1, 2}}), dense2D<unsigned>(3, 2, 0U), ids({9}));
}

// --------------------------------------------------------------------------------- broken adjacency

TEST(ConnectedElements, AnAncestorWithoutTheNodeEndsTheTable) {
    const auto m = grid_T3(2, 2);
    auto beside = adjacency_of(m.connect, m.pos.cols);
    const auto good = stars_of(m.connect, beside);
    beside.ancestors[3] = 1; // nodes 0, 4, 3 belong to it; take one that does not
    beside.ancestors[4] = 2; // element 2 has nodes 1, 2, 5
    const auto s = stars_of(m.connect, beside);
    EXPECT_EQ(0, s.status);
    ASSERT_EQ(6U, s.starts.size) << "nodes 0 to 4 and the total";
    for (std::size_t n = 0; n < 4; ++n) EXPECT_EQ(good.of(n).size(), s.of(n).size());
    EXPECT_THAT(s.of(4), ElementsAre(2));
    EXPECT_EQ(s.elements.size, s.starts[5]);
}

TEST(ConnectedElements, AWalkThatMeetsAnElementWithoutTheNodeKeepsTheElementsBeforeIt) {
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}, {7, 8, 9}});
    adjacency beside = adjacency_of(connect, 10);
    beside.neighbors(1, 1) = 2; // beyond the edge 3-0 a stranger
    beside.ancestors[0] = 0;
    const auto s = stars_of(connect, beside);
    EXPECT_EQ(0, s.status);
    EXPECT_THAT(values(s.starts), ElementsAre(0, 3));
    EXPECT_THAT(values(s.elements), ElementsAre(0, 1, 2));
}

TEST(ConnectedElements, AFloodThatMeetsAnElementWithoutTheNodeStopsAndIsReversed) {
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}, {7, 8, 9}});
    adjacency beside = adjacency_of(connect, 10);
    beside.neighbors(2, 0) = 2; // beyond the edge 0-1 a stranger; beyond 3-0 is the border
    const auto s = stars_of(connect, beside);
    EXPECT_EQ(0, s.status);
    EXPECT_THAT(values(s.starts), ElementsAre(0, 2));
    EXPECT_THAT(values(s.elements), ElementsAre(0, 1)) << "met as 1, 0, then the stranger";
}

TEST(ConnectedElements, AWalkThatNeverClosesIsGivenUpAfterAsManyStepsAsThereAreElements) {
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {9, 9, 9}});
    dense2D<unsigned> neighbors(3, 4, no_node);
    neighbors(1, 0) = 1; // from 0 to 1, then 1 and 2 in turn for ever
    neighbors(1, 1) = 2;
    neighbors(1, 2) = 1;
    adjacency beside{neighbors, ids({0, 0})};
    const auto s = stars_of(connect, beside);
    EXPECT_EQ(0, s.status);
    EXPECT_THAT(values(s.starts), ElementsAre(0, 4));
    EXPECT_THAT(values(s.elements), ElementsAre(0, 1, 2, 1));
}

TEST(ConnectedElements, NeighborsThatDoNotExistCountAsNone) {
    for (const auto& m : {grid_T3(4, 3), grid_mixed(4, 3)}) {
        auto beside = adjacency_of(m.connect, m.pos.cols);
        const auto good = stars_of(m.connect, beside);
        unsigned odd = 0;
        for (unsigned& e : beside.neighbors)
            if (e == no_node) e = static_cast<unsigned>(m.connect.cols) + odd++ % 3 * 1000000007U;
        const auto s = stars_of(m.connect, beside);
        EXPECT_EQ(snapshot(good.starts, good.elements), snapshot(s.starts, s.elements));
    }
}

TEST(ConnectedElements, TwoFansThatTouchAtTheNodeOnlyGiveTheOneOfTheAncestor) {
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}, {0, 4, 5}, {0, 5, 6}});
    auto beside = adjacency_of(connect, 7);
    EXPECT_THAT(stars_of(connect, beside).of(0), ElementsAre(0, 1));
    beside.ancestors[0] = 3;
    EXPECT_THAT(stars_of(connect, beside).of(0), ElementsAre(2, 3));
}

TEST(ConnectedElements, AFloodReachesAllThatEdgesAtTheNodeConnect) {
    // Element 1 names 3 instead of 0 across one of its edges at the node: one-sided adjacency.
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 5, 6}});
    auto beside = adjacency_of(connect, 7);
    beside.neighbors(2, 1) = 3;
    const auto s = stars_of(connect, beside);
    // The walk runs 0, 1, 2 to the border. The flood from 2 meets 1, then 3, but never 0.
    EXPECT_THAT(s.of(0), ElementsAre(3, 1, 2));
}

// ------------------------------------------------------------------------------------------ memory

TEST(ConnectedElements, ExhaustedMemoryIsReportedAndBothListsAreEmpty) {
    const auto m = grid_mixed(7, 6);
    const auto beside = adjacency_of(m.connect, m.pos.cols);
    const auto good = stars_of(m.connect, beside);
    unsigned refused = 0;
    fail_each_allocation([&](std::size_t k) {
        stars s;
        s.starts.resize(2, 1U);
        arm_allocator(k);
        const int status = get_connected_elements(m.connect, beside.neighbors, beside.ancestors,
                                                  s.starts, s.elements);
        if (status == -199) {
            ++refused;
            EXPECT_TRUE(s.starts.empty());
            EXPECT_TRUE(s.elements.empty());
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(snapshot(good.starts, good.elements), snapshot(s.starts, s.elements));
        }
    });
    EXPECT_GE(refused, 4U);
}

TEST(ConnectedElements, WithoutMemoryOnTheWayTheTableEndsEarly) {
    // One node with 40 elements around it.
    const auto connect = fan(40, true);
    auto all = adjacency_of(connect, 41);
    all.ancestors.resize(1); // room for 6, needed 40
    const auto good = stars_of(connect, all);
    ASSERT_EQ(40U, good.elements.size);
    unsigned early = 0;
    fail_each_allocation([&](std::size_t k) {
        stars s;
        arm_allocator(k);
        s.status =
            get_connected_elements(connect, all.neighbors, all.ancestors, s.starts, s.elements);
        if (s.status == -199) {
            EXPECT_TRUE(s.starts.empty());
        } else if (s.elements.empty()) {
            ++early;
            EXPECT_THAT(values(s.starts), ElementsAre(0, 0));
        } else {
            EXPECT_EQ(snapshot(good.starts, good.elements), snapshot(s.starts, s.elements));
        }
    });
    EXPECT_GE(early, 1U);
}

TEST(ConnectedElements, ADeepFloodGrowsItsStack) {
    // 300 elements, each beside the next two at node 0: the stack gets as deep as there are elements.
    const unsigned count = 300;
    dense2D<unsigned> connect(3, count);
    dense2D<unsigned> neighbors(3, count, no_node);
    for (unsigned e = 0; e < count; ++e) {
        connect(0, e) = 0;
        connect(1, e) = connect(2, e) = 1;
        if (e > 0) neighbors(2, e) = 2 * e < count ? 2 * e : no_node;
        if (e > 0) neighbors(1, e) = 2 * e + 1 < count ? 2 * e + 1 : no_node;
    }
    neighbors(2, 0) = 1;
    const auto s = stars_of(connect, adjacency{neighbors, ids({0})});
    EXPECT_EQ(0, s.status);
    EXPECT_EQ(count, s.elements.size);
    const auto listed = values(s.elements);
    EXPECT_EQ(count, std::set<unsigned>(listed.begin(), listed.end()).size());
}

// ----------------------------------------------------------------------------------------- marks

TEST(StampMarks, ANewStampTakesAllMarksOff) {
    zel::tessel2d::stamp_marks marks;
    ASSERT_TRUE(marks.start(5));
    EXPECT_FALSE(marks.holds(3));
    marks.renew();
    EXPECT_FALSE(marks.holds(3));
    marks.add(3);
    EXPECT_TRUE(marks.holds(3));
    EXPECT_FALSE(marks.holds(2));
    marks.renew();
    EXPECT_FALSE(marks.holds(3));
}

TEST(StampMarks, TheListIsClearedOnlyWhenTheStampsRunOut) {
    zel::tessel2d::stamp_marks marks;
    ASSERT_TRUE(marks.start(3));
    marks.add(0); // with stamp 1, which comes again after the overflow
    marks.stamp = 0xFFFFFFFDU;
    marks.renew();
    EXPECT_EQ(0xFFFFFFFEU, marks.stamp);
    marks.add(1);
    marks.renew();
    EXPECT_EQ(1U, marks.stamp) << "not below the complement of the increment";
    for (std::size_t e = 0; e < 3; ++e) EXPECT_FALSE(marks.holds(e));
    marks.renew();
    EXPECT_EQ(2U, marks.stamp);
}

// ------------------------------------------------------------------------------------ random input

/// The elements around a node, found by looking for the next one through its edges.
std::vector<unsigned> star_by_search(const dense2D<unsigned>& connect, unsigned node,
                                     unsigned ancestor) {
    const auto corners_at = [&](unsigned e, unsigned& before, unsigned& after) {
        const unsigned c = corner_count(connect, e);
        for (unsigned i = 0; i < c; ++i) {
            if (connect(i, e) != node) continue;
            before = connect((i + c - 1) % c, e);
            after = connect((i + 1) % c, e);
            return true;
        }
        return false;
    };
    std::vector<unsigned> around;
    for (unsigned e = 0, a, b; e < connect.cols; ++e)
        if (corners_at(e, b, a)) around.push_back(e);
    // `next[e]` begins with the edge with which e ends.
    const auto next = [&](unsigned e) {
        unsigned before = 0, after = 0, b, a;
        corners_at(e, before, after);
        for (const unsigned f : around)
            if (corners_at(f, b, a) && a == before) return f;
        return no_node;
    };
    std::vector<unsigned> list;
    std::set<unsigned> has_previous;
    for (const unsigned e : around) has_previous.insert(next(e));
    unsigned first = ancestor;
    for (const unsigned e : around)
        if (has_previous.count(e) == 0) first = e;
    for (unsigned e = first; e != no_node && (list.empty() || e != first); e = next(e))
        list.push_back(e);
    return list;
}

TEST(ConnectedElements, OfRandomlyNumberedMeshesAreThoseOfASearch) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned w = 2 + random.below(6), h = 1 + random.below(6);
        const auto m = seed % 3 == 0   ? grid_T3(w, h)
                       : seed % 3 == 1 ? grid_mixed(w, h)
                                       : grid_Q4(w, h);
        dense2D<unsigned> connect = fresh_copy(m.connect);
        for (std::size_t j = connect.cols; j > 1; --j)
            std::swap_ranges(connect[j - 1], connect[j - 1] + connect.rows,
                             connect[random.below(static_cast<unsigned>(j))]);
        for (std::size_t e = 0; e < connect.cols; ++e)
            turn_column(connect, e, random.below(corner_count(connect, e)));
        const auto beside = adjacency_of(connect, m.pos.cols);
        const auto s = stars_of(connect, beside);
        ASSERT_EQ(m.pos.cols + 1, s.starts.size);
        for (unsigned n = 0; n < m.pos.cols; ++n)
            EXPECT_EQ(star_by_search(connect, n, beside.ancestors[n]), s.of(n)) << "node " << n;
    }
}

TEST(ConnectedElements, AnyNumbersAtAllStayInsideStorage) {
    for (std::uint64_t seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned count = 1 + random.below(12), nodes = 1 + random.below(8);
        dense2D<unsigned> connect(3 + seed % 2, count), neighbors(3 + seed % 2, count);
        for (unsigned& n : connect) n = random.below(9) == 0 ? no_node : random.below(nodes);
        for (unsigned& e : neighbors)
            e = random.below(5) == 0 ? no_node - random.below(3) : random.below(count + 2);
        dense1D<unsigned, 8> ancestors(nodes);
        for (unsigned& a : ancestors) a = random.below(6) == 0 ? no_node : random.below(count);
        const auto s = stars_of(connect, adjacency{neighbors, ancestors});
        ASSERT_EQ(0, s.status);
        ASSERT_LE(s.starts.size, nodes + std::size_t{1});
        EXPECT_EQ(s.elements.size, s.starts[s.starts.size - 1]);
        for (std::size_t n = 0; n + 1 < s.starts.size; ++n) EXPECT_LE(s.of(n).size(), count);
        for (const unsigned e : s.elements) EXPECT_LT(e, count);
    }
}

/// Meshes, fans from 3 to 40 triangles around one node, and now and then any numbers at all.
adjacency random_stars(random_numbers& random, std::size_t rows, dense2D<unsigned>& connect) {
    const unsigned kind = random.below(3);
    const unsigned w = 2 + random.below(6), h = 1 + random.below(6);
    std::size_t nodes = (w + 1) * (h + 1);
    if (kind == 0) {
        nodes = 42;
        const auto triangles = fan(3 + random.below(38), random.below(2) == 0);
        connect = dense2D<unsigned>(rows, triangles.cols, no_node);
        for (std::size_t e = 0; e < triangles.cols; ++e) std::copy_n(triangles[e], 3, connect[e]);
    } else {
        connect = fresh_copy(rows == 3 ? grid_T3(w, h).connect : grid_mixed(w, h).connect);
    }
    for (std::size_t e = 0; e < connect.cols; ++e)
        turn_column(connect, e, random.below(corner_count(connect, e)));
    auto beside = adjacency_of(connect, nodes);
    if (kind == 1) // a node that an element has twice
        for (std::size_t e = 0; e < connect.cols; ++e)
            if (random.below(6) == 0) connect(random.below(2), e) = connect(2, e);
    if (kind == 2)
        for (unsigned& e : beside.neighbors)
            if (random.below(20) == 0)
                e = random.below(3) == 0 ? 0x7FFFFFFEU + random.below(4)
                                         : random.below(static_cast<unsigned>(connect.cols) + 1);
    return beside;
}

TEST(ConnectedElements, DoNotDependOnHowManyWalksAreMadeAtATime) {
    for (std::uint64_t seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        dense2D<unsigned> connect;
        const auto beside = random_stars(random, 3 + seed % 2, connect);
        const auto together = stars_of(connect, beside);
        const auto spaced = framed(connect);
        const auto spaced_beside = framed(beside.neighbors);
        const auto apart = stars_of(spaced.view, adjacency{spaced_beside.view, beside.ancestors});
        EXPECT_EQ(snapshot(apart.starts, apart.elements),
                  snapshot(together.starts, together.elements));
        // Nor on what lies around the other nodes.
        if (together.starts.size != beside.ancestors.size + 1) continue;
        for (std::size_t n = 0; n < beside.ancestors.size; ++n) {
            adjacency one{beside.neighbors, dense1D<unsigned, 8>(n + 1, no_node)};
            one.ancestors[n] = beside.ancestors[n];
            EXPECT_EQ(together.of(n), stars_of(connect, one).of(n)) << "node " << n;
        }
    }
}

TEST(ConnectedElements, NothingIsReadBehindTheLastColumn) {
    for (std::size_t rows = 3; rows <= 4; ++rows) {
        const auto m = rows == 3 ? grid_T3(4, 3) : grid_mixed(4, 3);
        const auto beside = adjacency_of(m.connect, m.pos.cols);
        // Memory that ends with the last entry: a sanitizer watches what lies behind.
        std::vector<unsigned> cells(m.connect.begin(), m.connect.end());
        std::vector<unsigned> across(beside.neighbors.begin(), beside.neighbors.end());
        const auto count = m.connect.cols;
        const auto s = stars_of(
            dense2D<unsigned>::wrap(cells.data(), rows, count),
            adjacency{dense2D<unsigned>::wrap(across.data(), rows, count), beside.ancestors});
        EXPECT_EQ(snapshot(stars_of(m).elements), snapshot(s.elements));
    }
}

#if defined(__SSE2__)
// Inside a mesh each walk comes round without help, whichever corner of its elements the node is.
template <class Shape>
void expect_walks_come_round(const mesh& m, std::uint64_t seed) {
    random_numbers random(seed);
    auto connect = fresh_copy(m.connect);
    for (std::size_t e = 0; e < connect.cols; ++e)
        turn_column(connect, e, random.below(corner_count(connect, e)));
    const auto beside = adjacency_of(connect, m.pos.cols);
    const dense2D<unsigned>&elements = connect, &across = beside.neighbors;
    constexpr std::size_t walks = zel::tessel2d::star_lists::walks;
    for (unsigned n = 0; n + walks <= m.pos.cols; n += 7) {
        unsigned first[walks];
        for (unsigned k = 0; k < walks; ++k) first[k] = beside.ancestors[n + k];
        zel::tessel2d::star_lists found;
        zel::tessel2d::turn_around_nodes<Shape>(zel::tessel2d::columns_of(elements),
                                                zel::tessel2d::columns_of(across), connect.cols, n,
                                                first, found);
        for (unsigned k = 0; k < walks; ++k) {
            const double x = m.pos(0, n + k), y = m.pos(1, n + k);
            if (x == 0 || x == 1 || y == 0 || y == 1) continue;
            const auto star = star_by_search(connect, n + k, first[k]);
            // Reading a column of three as four is left out for the last one.
            if (std::count(star.begin(), star.end(), connect.cols - 1) != 0) continue;
            EXPECT_NE(0U, found.closed[k]);
            EXPECT_EQ(star, std::vector<unsigned>(found.list[k], found.list[k] + found.size[k]))
                << "node " << n + k;
        }
    }
}
TEST(ConnectedElements, WalksSideBySideComeRoundInsideAMesh) {
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        expect_walks_come_round<zel::tessel2d::triangle_cells>(grid_T3(9, 8), seed);
        expect_walks_come_round<zel::tessel2d::mixed_cells>(grid_mixed(9, 8), seed);
        expect_walks_come_round<zel::tessel2d::mixed_cells>(grid_Q4(9, 8), seed);
    }
}
#endif

// Twenty nodes with ten elements around each, where six are usual: the lists outgrow their first memory
// while walks run side by side.
TEST(ConnectedElements, WithoutMemoryForMoreListsTheTableEndsEarlyOrIsWhole) {
    dense2D<unsigned> connect(3, 200);
    for (unsigned f = 0; f < 20; ++f)
        for (unsigned k = 0; k < 10; ++k) {
            unsigned* const t = connect[10 * f + k];
            t[0] = f;
            t[1] = 20 + 10 * f + k;
            t[2] = 20 + 10 * f + (k + 1) % 10;
        }
    auto all = adjacency_of(connect, 220);
    all.ancestors.resize(20);
    const auto good = stars_of(connect, all);
    ASSERT_EQ(200U, good.elements.size);
    unsigned early = 0;
    fail_each_allocation([&](std::size_t k) {
        stars s;
        arm_allocator(k);
        s.status =
            get_connected_elements(connect, all.neighbors, all.ancestors, s.starts, s.elements);
        if (s.status != 0) {
            EXPECT_EQ(-199, s.status);
            EXPECT_TRUE(s.starts.empty() && s.elements.empty());
            return;
        }
        ASSERT_TRUE(1 <= s.starts.size && s.starts.size <= 21);
        const std::size_t nodes = s.starts.size - 1;
        EXPECT_EQ(s.elements.size, s.starts[nodes]);
        if (s.elements.size < 200) ++early;
        for (std::size_t n = 0; n < nodes; ++n) {
            if (s.starts[n + 1] != s.starts[n]) {
                EXPECT_EQ(good.of(n), s.of(n));
            }
        }
    });
    EXPECT_GT(early, 0U);
}

} // namespace
