// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/location.h"

#include "located_meshes.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <set>
#include <vector>

namespace {

using namespace zel_test;
using zel::element_type;
using zel::tessel::node_detector;
using zel::tessel2d::get_element_containing_point;

using place = zel::vector_fixed<double, 2>;
constexpr double nan = zel_test::nan; // of two by that name
constexpr double slack = 1e-6;

struct answer {
    int status;
    unsigned element;
};

answer ask(const adjacent_mesh& m, const node_detector& detector, const place& p,
           double tolerance = slack) {
    unsigned element = 77;
    const int status = get_element_containing_point(m.pos, m.connect, m.neighbors, m.ancestors,
                                                    detector, m.type, p, element, tolerance);
    return {status, element};
}
answer ask(const adjacent_mesh& m, const place& p, double tolerance = slack) {
    return ask(m, node_detector(m.pos), p, tolerance);
}

void expect_found(const adjacent_mesh& m, const answer& got, const place& p) {
    ASSERT_EQ(1, got.status) << m.name << " at " << p[0] << ", " << p[1];
    EXPECT_GE(share_inside(m, got.element, p), -slack) << m.name << " at " << p[0] << ", " << p[1];
}
void expect_nothing(int status, const answer& got) {
    EXPECT_EQ(status, got.status);
    EXPECT_EQ(no_node, got.element);
}

adjacent_mesh triangle_grid(unsigned n = 6) {
    return {"triangles", zel::ELEMENT_T3, grid_T3(n, n)};
}

// --------------------------------------------------------------------------------------- normal use

TEST(GetElementContainingPoint, TheResultMayBeWrittenToAnEntryOfAnInput) {
    const adjacent_mesh plain{"mixed", zel::ELEMENT_FACE, grid_mixed(6, 6)};
    const node_detector detector(plain.pos);
    random_numbers random(5);
    for (int trial = 0; trial < 300; ++trial) {
        const place p{random.between(-0.1, 1.1), random.between(-0.1, 1.1)};
        adjacent_mesh m = plain;
        m.connect = fresh_copy(plain.connect);
        std::size_t e = random.below(static_cast<unsigned>(m.connect.cols));
        while (m.connect(3, e) != no_node) e = (e + 1) % m.connect.cols;
        unsigned& element = m.connect(3, e); // says "triangle" while the search goes on
        const int status = get_element_containing_point(m.pos, m.connect, m.neighbors, m.ancestors,
                                                        detector, m.type, p, element, slack);
        const answer expected = ask(plain, detector, p);
        EXPECT_EQ(expected.status, status);
        EXPECT_EQ(expected.element, element);
    }
}

TEST(GetElementContainingPoint, FindsTheTriangleOfAPoint) {
    const adjacent_mesh m = triangle_grid(2);
    for (unsigned e = 0; e < m.connect.cols; ++e) {
        place p{0, 0};
        for (unsigned k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < 2; ++i) p[i] += m.pos(i, m.connect(k, e)) / 3;
        const answer got = ask(m, p);
        EXPECT_EQ(1, got.status);
        EXPECT_EQ(e, got.element);
    }
}

TEST(GetElementContainingPoint, FindsPointsOfAllShapesOfMeshes) {
    for (const adjacent_mesh& m : assorted_meshes()) {
        const node_detector detector(m.pos);
        for (std::size_t e = 0; e < m.connect.cols; ++e) {
            const unsigned n = corner_count(m.connect, e);
            place centroid{0, 0};
            for (unsigned k = 0; k < n; ++k) {
                const place a = place_of(m.pos, m.connect(k, e));
                const place b = place_of(m.pos, m.connect((k + 1) % n, e));
                expect_found(m, ask(m, detector, a), a);
                const place middle{(a[0] + b[0]) / 2, (a[1] + b[1]) / 2};
                expect_found(m, ask(m, detector, middle), middle);
                for (std::size_t i = 0; i < 2; ++i) centroid[i] += a[i] / n;
            }
            expect_found(m, ask(m, detector, centroid), centroid);
        }
    }
}

/// The walk over triangles as the header and the sources tell it, from the fixed sequence on: which edge is
/// tried first is the rest by 3 of two bits each, the lowest first, 16 of a word of 32 bits.
unsigned plain_walk(const adjacent_mesh& m, unsigned element, const place& p, double tolerance) {
    std::uint32_t word = 1;
    for (unsigned step = 0; element != no_node && step < m.connect.cols; ++step) {
        if (step % 16 == 0) word = (word ^ 0x811C9DC5U) * 16777619U;
        unsigned start = (word >> (2 * (step % 16)) & 3) % 3;
        const auto doubled = [&](const place& a, const place& b, const place& c) {
            return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
        };
        const auto corner = [&](unsigned k) { return place_of(m.pos, m.connect(k % 3, element)); };
        const double least = -tolerance * doubled(corner(0), corner(1), corner(2));
        const auto exit = [&] {
            for (unsigned k = 1; k <= 3; ++k)
                if (doubled(corner(start + k + 1), corner(start + k + 2), p) < least)
                    return (start + k) % 3;
            return 3U;
        };
        unsigned edge = exit();
        if (edge == 3) return element;
        for (unsigned more = 0; more < 2 && m.neighbors(edge, element) == no_node; ++more) {
            start = (start + 1) % 3;
            edge = exit();
        }
        element = m.neighbors(edge, element);
    }
    return no_node;
}

TEST(GetElementContainingPoint, LongWalksToSharedNodesEndWhereThePlainWalkEnds) {
    adjacent_mesh m = triangle_grid(32);
    random_numbers random(7);
    for (double& x : m.pos) // so that walks wander: more than one edge may lead on
        x += x > 0 && x < 1 ? random.between(-0.01, 0.01) : 0;
    const dense2D<double> first_node = m.pos.sub_matrix(0, 0, 2, 1);
    const node_detector detector(first_node); // so that all walks start in one corner of the mesh
    std::set<unsigned> places;                // of the found element among the six around a node
    for (unsigned node = 0; node < m.pos.cols; ++node) {
        const place p = place_of(m.pos, node);
        const unsigned expected = plain_walk(m, m.ancestors[0], p, slack);
        const answer got = ask(m, detector, p);
        ASSERT_EQ(expected, got.element) << "node " << node;
        for (unsigned k = 0; k < 3; ++k)
            if (m.connect(k, expected) == node) places.insert(expected % 2 * 3 + k);
    }
    EXPECT_LE(4U, places.size()); // which one depends on the way there
}

TEST(GetElementContainingPoint, WhatTheElementHoldsOnEntryDoesNotMatter) {
    const adjacent_mesh m = triangle_grid();
    const node_detector detector(m.pos);
    const place p{0.61, 0.37};
    const answer expected = ask(m, detector, p);
    for (const unsigned before : {0U, 5U, 1000000U, no_node}) {
        unsigned element = before;
        EXPECT_EQ(1, get_element_containing_point(m.pos, m.connect, m.neighbors, m.ancestors,
                                                  detector, m.type, p, element, slack));
        EXPECT_EQ(expected.element, element);
    }
}

TEST(GetElementContainingPoint, APointOnASharedSideHasTheSameElementAtEveryCall) {
    const adjacent_mesh m = triangle_grid();
    for (const place& p : {place{0.5, 0.25}, place{0.25, 0.25}, place{1.0 / 3, 0.4}}) {
        const answer first = ask(m, p);
        expect_found(m, first, p);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(first.element, ask(m, p).element);
    }
}

TEST(GetElementContainingPoint, APointOnANodeIsInAnElementOfIt) {
    const adjacent_mesh m = triangle_grid();
    const node_detector detector(m.pos);
    for (unsigned node = 0; node < m.pos.cols; ++node) {
        const answer got = ask(m, detector, place_of(m.pos, node));
        ASSERT_EQ(1, got.status);
        EXPECT_THAT(column(m.connect, got.element), testing::Contains(node));
    }
}

TEST(GetElementContainingPoint, APointJustOutsideTheBoundaryIsInsideWithinTheTolerance) {
    // Squares of side 1/4: doubled area 1/8, doubled triangle of a point d away from a side d/4.
    const adjacent_mesh m("squares", zel::ELEMENT_Q4, grid_Q4(4, 4));
    const double reach = 0x1p-10 * 0.125 / 0.25;
    const answer within = ask(m, {0.375, -reach}, 0x1p-10);
    EXPECT_EQ(1, within.status);
    EXPECT_EQ(1U, within.element);
    expect_nothing(0, ask(m, {0.375, std::nextafter(-reach, -1.0)}, 0x1p-10));
}

TEST(GetElementContainingPoint, APointBeyondTheBoundaryIsInNone) {
    const adjacent_mesh m = triangle_grid();
    for (const place& p : {place{-0.5, 0.5}, place{1.5, 2}, place{0.3, 1.001}, place{1e300, 0}})
        expect_nothing(0, ask(m, p));
}

TEST(GetElementContainingPoint, APointInAHoleIsInNone) {
    const adjacent_mesh m("frame", zel::ELEMENT_Q4,
                          compacted(without(grid_Q4(9, 9), [](double x, double y) {
                              return x > 0.34 && x < 0.66 && y > 0.34 && y < 0.66;
                          })));
    for (const place& p : {place{0.5, 0.5}, place{0.4, 0.6}, place{0.35, 0.5}})
        expect_nothing(0, ask(m, p));
    EXPECT_EQ(1, ask(m, {0.3, 0.5}).status);
}

TEST(GetElementContainingPoint, AMeshOfOneElementKnowsInsideFromOutside) {
    const adjacent_mesh m("square", zel::ELEMENT_Q4, unit_square());
    const answer in = ask(m, {0.5, 0.5});
    EXPECT_EQ(1, in.status);
    EXPECT_EQ(0U, in.element);
    expect_nothing(0, ask(m, {1.5, 0.5}));
    expect_nothing(0, ask(m, {-3, -3}));
}

TEST(GetElementContainingPoint, AMeshOfOneElementOfAMixedMeshKnowsItsOwnShape) {
    for (const bool triangle : {false, true}) {
        mesh g = unit_square();
        if (triangle) g.connect(3, 0) = no_node;
        const adjacent_mesh m("one", zel::ELEMENT_FACE, g);
        const answer in = ask(m, {0.75, 0.25});
        EXPECT_EQ(1, in.status);
        EXPECT_EQ(0U, in.element);
        const answer above = ask(m, {0.25, 0.75}); // beyond the side from 2 to 0 of the triangle
        EXPECT_EQ(triangle ? 0 : 1, above.status);
        EXPECT_EQ(triangle ? no_node : 0U, above.element);
        expect_nothing(0, ask(m, {1.5, 0.5}));
        expect_nothing(0, ask(m, {-3, -3}));
    }
}

TEST(GetElementContainingPoint, ViewsWithALargerLeadingDimension) {
    const adjacent_mesh m("mixed", zel::ELEMENT_FACE, grid_mixed(6, 5));
    const auto pos = framed(m.pos);
    const auto connect = framed(m.connect);
    const auto neighbors = framed(m.neighbors);
    const auto ancestors = framed(m.ancestors);
    const node_detector detector(m.pos);
    random_numbers random(3);
    for (int i = 0; i < 200; ++i) {
        const place p{random.between(-0.1, 1.1), random.between(-0.1, 1.1)};
        const answer expected = ask(m, detector, p);
        unsigned element = 0;
        EXPECT_EQ(expected.status, get_element_containing_point(
                                       pos.view, connect.view, neighbors.view, ancestors.view,
                                       detector, m.type, p, element, slack));
        EXPECT_EQ(expected.element, element);
    }
}

// ----------------------------------------------------------------------------------------- statuses

/// A call that works, made wrong in one or two of its arguments.
struct faulty {
    adjacent_mesh m{"mixed", zel::ELEMENT_FACE, grid_mixed(2, 2)};

    faulty& three_rows() { return m.pos.resize(3, m.pos.cols, 0.0), *this; }
    faulty& one_row() { return m.pos.resize(1, m.pos.cols), *this; }
    faulty& bad_node() { return m.connect(1, 2) = 9, *this; }
    faulty& no_third_node() { return m.connect(2, 2) = no_node, *this; }
    faulty& other_kind(element_type kind) { return m.type = kind, *this; }
    faulty& neighbor_rows() { return m.neighbors.resize(3, m.neighbors.cols), *this; }
    faulty& neighbor_columns() { return m.neighbors.resize(4, m.connect.cols + 1, no_node), *this; }
    faulty& bad_neighbor() {
        return m.neighbors(3, 1) = static_cast<unsigned>(m.connect.cols), *this;
    }
    faulty& short_ancestors() { return m.ancestors.resize(8), *this; }
    faulty& long_ancestors() { return m.ancestors.resize(10, 0), *this; }

    void expect(int status) {
        expect_nothing(status, ask(m, node_detector(grid_points(2, 2)), {0.3, 0.2}));
    }
};

TEST(GetElementContainingPoint, WorksWithoutAFault) {
    EXPECT_EQ(1, ask(faulty().m, {0.3, 0.2}).status);
}
TEST(GetElementContainingPoint, PositionsOfOtherThanTwoRowsAreRefused) {
    faulty().three_rows().expect(-1);
    faulty().one_row().expect(-1);
}
TEST(GetElementContainingPoint, AnElementOfMissingNodesIsRefused) {
    faulty().bad_node().expect(-2);
    faulty().no_third_node().expect(-2);
}
TEST(GetElementContainingPoint, AKindThatDoesNotSuitTheRowsIsRefused) {
    faulty().other_kind(zel::ELEMENT_T3).expect(-2);
    faulty().other_kind(zel::ELEMENT_Q4).expect(-2); // there are triangles
    faulty().other_kind(zel::ELEMENT_Q8).expect(-2);
}
TEST(GetElementContainingPoint, NeighborsOfAnotherShapeAreRefused) {
    faulty().neighbor_rows().expect(-3);
    faulty().neighbor_columns().expect(-3);
}
TEST(GetElementContainingPoint, ANeighborThatDoesNotExistIsRefused) {
    faulty().bad_neighbor().expect(-3);
}
TEST(GetElementContainingPoint, AncestorsOfAnotherLengthAreRefused) {
    faulty().short_ancestors().expect(-4);
    faulty().long_ancestors().expect(-4);
}
TEST(GetElementContainingPoint, OfTwoFaultsTheFirstArgumentCounts) {
    faulty().three_rows().bad_node().expect(-1);
    faulty().bad_node().neighbor_rows().expect(-2);
    faulty().other_kind(zel::ELEMENT_T3).bad_neighbor().expect(-2);
    faulty().neighbor_columns().short_ancestors().expect(-3);
    faulty().bad_neighbor().long_ancestors().expect(-3);
    faulty().three_rows().short_ancestors().expect(-1);
}

TEST(GetElementContainingPoint, TrianglesAnnouncedAsAnySurfaceElementAreNotSearched) {
    adjacent_mesh m = triangle_grid();
    m.type = zel::ELEMENT_FACE;
    expect_nothing(0, ask(m, {0.5, 0.25}));
}

TEST(GetElementContainingPoint, KindsOfOtherElementsAreNotSearched) {
    const dense2D<unsigned> edges = cells({{0, 1}});
    const dense2D<unsigned> across = cells({{no_node, no_node}});
    const dense2D<double> pos = points({{0, 0}, {1, 0}});
    unsigned element = 5;
    EXPECT_EQ(0, get_element_containing_point(pos, edges, across, ids({0, 0}), node_detector(pos),
                                              zel::ELEMENT_E2, {0.5, 0}, element, slack));
    EXPECT_EQ(no_node, element);
}

TEST(GetElementContainingPoint, AMeshWithoutElementsHoldsNothing) {
    const adjacent_mesh m("none", zel::ELEMENT_T3,
                          {points({{0, 0}, {1, 0}}), dense2D<unsigned>(3, 0)});
    expect_nothing(0, ask(m, {0, 0}));
    const adjacent_mesh empty("empty", zel::ELEMENT_T3,
                              {dense2D<double>(2, 0), dense2D<unsigned>()});
    expect_nothing(0, ask(empty, {0, 0}));
}

// ---------------------------------------------------------------------------------- degenerate input

TEST(GetElementContainingPoint, AClockwiseElementOnTheWayIsReported) {
    adjacent_mesh m("squares", zel::ELEMENT_Q4, grid_Q4(3, 1));
    std::swap(m.connect(1, 1), m.connect(3, 1));
    m.ancestors[3] = 1; // the walk starts there
    expect_nothing(-1, ask(m, {0.9, 0.1}));
}

TEST(GetElementContainingPoint, ACollapsedElementOnTheWayIsReported) {
    adjacent_mesh m = triangle_grid(2);
    for (unsigned k = 0; k < 3; ++k) m.connect(k, 5) = k; // three nodes on a line
    m.ancestors[8] = 5;
    expect_nothing(-1, ask(m, {1, 1}));
}

TEST(GetElementContainingPoint, AnOverflowingElementIsReported) {
    mesh g = grid_Q4(2, 2);
    for (double& x : g.pos) x *= 1e200;
    expect_nothing(-1, ask({"huge", zel::ELEMENT_Q4, g}, {1e199, 1e199}));
}

TEST(GetElementContainingPoint, ADegenerateMeshOfOneElementCountsAsNotFound) {
    mesh g = unit_square();
    std::swap(g.connect(1, 0), g.connect(3, 0));
    expect_nothing(0, ask({"clockwise", zel::ELEMENT_Q4, g}, {0.5, 0.5}));
}

TEST(GetElementContainingPoint, APointWithNaNIsInNoElement) {
    const adjacent_mesh m = triangle_grid();
    for (const place& p :
         {place{nan, 0.5}, place{0.5, nan}, place{infinity, 0}, place{0, -infinity}})
        expect_nothing(0, ask(m, p));
}

TEST(GetElementContainingPoint, AToleranceOfNaNFindsNothing) {
    expect_nothing(0, ask(triangle_grid(), {0.31, 0.47}, nan));
}

TEST(GetElementContainingPoint, ADetectorWithoutNodesOffersNoStart) {
    expect_nothing(0, ask(triangle_grid(), node_detector(dense2D<double>(2, 0)), {0.5, 0.5}));
}

TEST(GetElementContainingPoint, ADetectorOverOtherNodesDoesNoHarm) {
    const adjacent_mesh m = triangle_grid(2);
    const node_detector detector(grid_points(40, 40)); // offers numbers beyond the mesh
    for (const place& p : {place{0.1, 0.1}, place{0.9, 0.9}, place{0.5, 0.5}}) {
        const answer got = ask(m, detector, p);
        if (got.status != 0) expect_found(m, got, p);
    }
}

TEST(GetElementContainingPoint, ANodeWithoutElementIsNotUsedAsStart) {
    adjacent_mesh m = triangle_grid(2);
    for (unsigned& ancestor : m.ancestors) ancestor = no_node;
    expect_nothing(0, ask(m, {0.3, 0.3}));
    for (unsigned& ancestor : m.ancestors) ancestor = 8; // there are eight elements
    expect_nothing(0, ask(m, {0.3, 0.3}));
}

TEST(GetElementContainingPoint, WrongAdjacencyNeverLeadsOutsideStorage) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        adjacent_mesh m("random", zel::ELEMENT_FACE, grid_mixed(3, 3));
        const auto elements = static_cast<unsigned>(m.connect.cols);
        const auto nodes = static_cast<unsigned>(m.pos.cols);
        for (std::size_t e = 0; e < elements; ++e)
            for (std::size_t k = 0; k < 4; ++k) {
                if (random.below(3) == 0)
                    m.neighbors(k, e) = random.below(4) == 0 ? no_node : random.below(elements);
                if (random.below(8) == 0) m.connect(k, e) = random.below(nodes);
            }
        for (unsigned& ancestor : m.ancestors)
            if (random.below(3) == 0) ancestor = random.below(2) ? random.below(40) : 0xFFFFFFFEU;
        const node_detector detector(m.pos);
        for (int i = 0; i < 20; ++i) {
            const place p{random.between(-0.2, 1.2), random.between(-0.2, 1.2)};
            const answer got = ask(m, detector, p);
            EXPECT_TRUE(got.status == 1 || got.status == 0 || got.status == -1);
            if (got.status == 1) {
                ASSERT_LT(got.element, elements);
                EXPECT_GE(share_inside(m, got.element, p), -2 * slack);
            } else {
                EXPECT_EQ(no_node, got.element);
            }
        }
    }
}

// --------------------------------------------------------------------------------------------- memory

TEST(GetElementContainingPoint, AWalkNeedsNoMemory) {
    const adjacent_mesh m = triangle_grid(20);
    const node_detector detector(m.pos);
    const std::size_t before = allocation_count();
    EXPECT_EQ(1, ask(m, detector, {0.52, 0.31}).status);
    EXPECT_EQ(before, allocation_count());
}

TEST(GetElementContainingPoint, ExhaustedMemoryLosesElementsAroundANodeAndNothingElse) {
    const adjacent_mesh m("frame", zel::ELEMENT_T3,
                          compacted(without(grid_T3(9, 9), [](double x, double y) {
                              return x > 0.34 && x < 0.66 && y > 0.34 && y < 0.66;
                          })));
    const node_detector detector(m.pos);
    fail_each_allocation([&](std::size_t k) {
        arm_allocator(k);
        const answer got = ask(m, detector, {0.5, 0.6});
        disarm_allocator();
        expect_nothing(0, got);
    });
}

} // namespace
