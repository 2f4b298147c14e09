// SPDX-License-Identifier: Apache-2.0
// Tests of walks, stars of nodes and the search for an element, with fixed and with real searchers.
#include "location/locate.h"

#include "located_meshes.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using place = zel::vector_fixed<double, 2>;
constexpr double nan = zel_test::nan; // of two by that name

constexpr double slack = 1e-6;

/// A searcher that always returns the same two nodes and counts its calls.
struct fixed_searcher {
    unsigned close;
    unsigned closest;
    mutable int asked_close = 0;
    mutable int asked_closest = 0;

    fixed_searcher(unsigned near, unsigned nearest) : close(near), closest(nearest) {}
    unsigned find_close(const place&) const {
        ++asked_close;
        return close;
    }
    unsigned find_closest(const place&) const {
        ++asked_closest;
        return closest;
    }
};

located_mesh view_of(const adjacent_mesh& m) {
    return {m.pos, m.connect, m.neighbors, m.ancestors};
}

struct walk_result {
    outcome status;
    unsigned element;
    std::uint64_t steps;
};

template <class Shape>
walk_result walk_from(const adjacent_mesh& m, unsigned element, const place& p,
                      double tolerance = slack) {
    std::uint64_t steps = 99;
    const outcome status = walk<Shape>(view_of(m), p, element, tolerance, steps);
    return {status, element, steps};
}

template <class Shape, class Searcher>
walk_result locate_with(const adjacent_mesh& m, const Searcher& searcher, const place& p,
                        bool around = true, unsigned element = no_node) {
    search_record record;
    record.steps = 99;
    const outcome status = locate<Shape>(view_of(m), searcher, p, slack, element, around, record);
    return {status, element, record.steps};
}

adjacent_mesh two_triangles() {
    return {"two triangles",
            zel::ELEMENT_T3,
            {points({{0, 0}, {1, 0}, {1, 1}, {0, 1}}), cells({{0, 1, 2}, {0, 2, 3}})}};
}
adjacent_mesh one_triangle() {
    return {
        "one triangle", zel::ELEMENT_T3, {points({{0, 0}, {1, 0}, {0, 1}}), cells({{0, 1, 2}})}};
}

TEST(LocatedMesh, ANodeIsHeldByAnElementThatThereIs) {
    adjacent_mesh m{"triangles", zel::ELEMENT_T3, grid_T3(1, 1)};
    m.ancestors = ids({0, 1, 2, no_node});
    located_mesh mesh = view_of(m);
    EXPECT_EQ(2U, mesh.elements);
    const auto usable = [&](unsigned node) { return mesh.held_nodes().usable(node); };
    EXPECT_TRUE(usable(0) && usable(1));
    EXPECT_FALSE(usable(2) || usable(3) || usable(4));
    mesh.elements = std::size_t{1} << 33; // the claim is never looked into
    EXPECT_TRUE(usable(2));
    EXPECT_FALSE(usable(3));
}

// ---------------------------------------------------------------------------------------- the draws

TEST(Draws, TheFirst64AreFixedNumbers) {
    const unsigned expected[64] = {0, 3, 0, 2, 3, 2, 1, 1, 0, 3, 0, 0, 0, 1, 0, 0, 3, 2, 2, 3, 0, 1,
                                   2, 0, 0, 2, 2, 1, 2, 0, 0, 3, 2, 2, 2, 1, 3, 0, 0, 2, 3, 3, 3, 2,
                                   2, 3, 1, 1, 1, 3, 3, 1, 1, 3, 0, 1, 1, 2, 0, 3, 0, 3, 3, 2};
    draws random;
    std::vector<unsigned> drawn;
    for (int i = 0; i < 64; ++i) drawn.push_back(random.next());
    EXPECT_THAT(drawn, ElementsAreArray(expected));
}

TEST(Draws, TheFourthEdgeOfATriangleIsItsFirst) {
    for (unsigned d = 0; d < 4; ++d) {
        EXPECT_EQ(d % 3, edge_of_draw(d, 3));
        EXPECT_EQ(d, edge_of_draw(d, 4));
    }
}

// -------------------------------------------------------------------------------------- one element

} // namespace

namespace zel::tessel2d {

inline bool operator==(const side_test& a, const side_test& b) {
    return a.where == b.where && a.edge == b.edge;
}

} // namespace zel::tessel2d

namespace {

side_test beyond_edge(unsigned k) {
    return {side::beyond_edge, k};
}

/// In lanes where there are lanes, which must be as without.
template <class Shape>
side_test exit_of(const points_view<2>& pos, const unsigned* cell, const unsigned* neighbors,
                  const place& p, double tolerance, unsigned start) {
    const side_test by_one = exit_edge<Shape>(pos, cell, neighbors, p, tolerance, start);
    if (has_four_lanes()) {
        EXPECT_EQ(by_one, exit_edge_by_four<Shape>(pos, cell, neighbors, p, tolerance, start));
    }
    return by_one;
}

/// The same for an element without neighbours.
template <class Shape>
side_test exit_alone(const points_view<2>& pos, const unsigned* cell, const place& p,
                     double tolerance, unsigned start) {
    constexpr unsigned none[4] = {no_node, no_node, no_node, no_node};
    return exit_of<Shape>(pos, cell, none, p, tolerance, start);
}

TEST(ExitEdge, TriesTheEdgesInTurnAndTheStartLast) {
    // Beyond node 1 of the triangle: edges 0 (opposite node 0) and 2 (opposite node 2) fail.
    const auto m = one_triangle();
    const place beyond{2, -0.1};
    const points_view<2> pos(m.pos);
    EXPECT_EQ(beyond_edge(2), exit_alone<triangle_cells>(pos, m.connect[0], beyond, slack, 0));
    EXPECT_EQ(beyond_edge(2), exit_alone<triangle_cells>(pos, m.connect[0], beyond, slack, 1));
    EXPECT_EQ(beyond_edge(0), exit_alone<triangle_cells>(pos, m.connect[0], beyond, slack, 2));
}

TEST(ExitEdge, NumbersTheEdgesOfQuadrilateralsByTheirFirstNode) {
    const auto g = unit_square();
    const points_view<2> pos(g.pos);
    for (unsigned start = 0; start < 4; ++start) {
        EXPECT_EQ(beyond_edge(0),
                  exit_alone<quad_cells>(pos, g.connect[0], {0.5, -1}, slack, start));
        EXPECT_EQ(beyond_edge(1),
                  exit_alone<quad_cells>(pos, g.connect[0], {2, 0.5}, slack, start));
        EXPECT_EQ(beyond_edge(2),
                  exit_alone<quad_cells>(pos, g.connect[0], {0.5, 2}, slack, start));
        EXPECT_EQ(beyond_edge(3),
                  exit_alone<quad_cells>(pos, g.connect[0], {-1, 0.5}, slack, start));
        EXPECT_EQ(side::inside,
                  exit_alone<quad_cells>(pos, g.connect[0], {0.5, 0.5}, slack, start).where);
        EXPECT_EQ(side::inside,
                  exit_alone<mixed_cells>(pos, g.connect[0], {1, 1}, slack, start).where);
    }
}

TEST(ExitEdge, AcceptsPointsWithinToleranceTimesTheDoubledArea) {
    // The unit triangle has a doubled area of 1: a point at y below side 2 of length 1 has -y.
    const auto m = one_triangle();
    const points_view<2> pos(m.pos);
    EXPECT_EQ(side::inside,
              exit_alone<triangle_cells>(pos, m.connect[0], {0.25, -0.125}, 0.125, 0).where);
    EXPECT_EQ(beyond_edge(2),
              exit_alone<triangle_cells>(pos, m.connect[0], {0.25, std::nextafter(-0.125, -1.0)},
                                         0.125, 0));
    EXPECT_EQ(side::inside, exit_alone<triangle_cells>(pos, m.connect[0], {0.25, 0}, 0, 0).where);
    EXPECT_EQ(beyond_edge(2),
              exit_alone<triangle_cells>(pos, m.connect[0], {0.25, 0.0625}, -0.125, 0));
}

TEST(ExitEdge, ElementsWithoutPositiveFiniteSizeAreDegenerate) {
    const auto size_of = [](const dense2D<double>& pos) {
        const unsigned cell[4] = {0, 1, 2, no_node};
        return exit_alone<mixed_cells>(points_view<2>(pos), cell, {0, 0}, slack, 0).where;
    };
    EXPECT_EQ(side::degenerate, size_of(points({{0, 0}, {1, 1}, {2, 2}}))) << "flat";
    EXPECT_EQ(side::degenerate, size_of(points({{0, 0}, {0, 1}, {1, 0}}))) << "clockwise";
    EXPECT_EQ(side::degenerate, size_of(points({{0, 0}, {1e200, 0}, {0, 1e200}}))) << "overflowing";
    EXPECT_EQ(side::degenerate, size_of(points({{0, 0}, {nan, 0}, {0, 1}}))) << "not a number";
    EXPECT_NE(side::degenerate, size_of(points({{0, 0}, {1e150, 0}, {0, 1e150}})));
    const unsigned quad[4] = {0, 1, 2, 3};
    const auto clockwise = points({{0, 0}, {0, 1}, {1, 1}, {1, 0}});
    EXPECT_EQ(side::degenerate,
              exit_alone<quad_cells>(points_view<2>(clockwise), quad, {0.5, 0.5}, slack, 0).where);
}

TEST(ExitEdge, AllEdgesFailForAPointWithNaN) {
    const auto m = one_triangle();
    for (unsigned start = 0; start < 3; ++start)
        EXPECT_EQ(beyond_edge((start + 1) % 3),
                  exit_alone<triangle_cells>(points_view<2>(m.pos), m.connect[0], {nan, 0.1}, slack,
                                             start));
}

TEST(ExitEdge, PrefersAnEdgeWithAnElementBehindIt) {
    // Beyond node 1 of the triangle edges 0 and 2 fail.
    const auto m = one_triangle();
    const points_view<2> pos(m.pos);
    for (const unsigned led : {0U, 2U}) {
        unsigned neighbors[3] = {no_node, 7, no_node};
        neighbors[led] = 5;
        for (unsigned start = 0; start < 3; ++start)
            EXPECT_EQ(beyond_edge(led), exit_of<triangle_cells>(pos, m.connect[0], neighbors,
                                                                {2, -0.1}, slack, start));
    }
}

TEST(ExitEdge, IsTheSameInLanesForAnyNumbers) {
    const double hard[] = {
        nan, zel_test::infinity, -zel_test::infinity, 1e308, 1e200, 1e-200, 5e-324, -0.0};
    random_numbers random(20261122);
    const auto number = [&] {
        const unsigned kind = random.below(48);
        return kind < 8 ? hard[kind] : kind < 32 ? random.below(4) - 1.0 : random.between(-1, 2);
    };
    int ends[2][3] = {};
    for (int i = 0; i < 400000; ++i) {
        dense2D<double> wide(3, 6);
        dense2D<double> pos = wide.sub_matrix(1, 1, 2, 5);
        for (std::size_t j = 0; j < 5; ++j)
            for (std::size_t k = 0; k < 2; ++k) pos(k, j) = number();
        unsigned cell[4];
        unsigned neighbors[4];
        for (unsigned k = 0; k < 4; ++k) {
            cell[k] = random.below(5);
            neighbors[k] = random.below(2) == 0 ? no_node : random.below(9);
        }
        const unsigned corners = i % 2 == 0 ? 3 : 4;
        if (corners == 3) cell[3] = no_node;
        const double tolerance = random.below(4) == 0 ? number() : slack;
        const place p{number(), number()};
        const unsigned start = random.below(corners);
        const points_view<2> points(pos);
        const side_test found = exit_of<mixed_cells>(points, cell, neighbors, p, tolerance, start);
        EXPECT_EQ(found, corners == 3
                             ? exit_of<triangle_cells>(points, cell, neighbors, p, tolerance, start)
                             : exit_of<quad_cells>(points, cell, neighbors, p, tolerance, start));
        ASSERT_FALSE(testing::Test::HasFailure()) << "element " << i;
        ++ends[corners - 3][static_cast<int>(found.where)];
    }
    for (const auto& of_kind : ends)
        for (const int n : of_kind) EXPECT_LT(500, n) << "each end is met";
}

// ------------------------------------------------------------------------------------------ the walk

TEST(Walk, StaysInTheElementThatHoldsThePoint) {
    const auto got = walk_from<triangle_cells>(two_triangles(), 1, {0.2, 0.8});
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(1U, got.element);
    EXPECT_EQ(1U, got.steps);
}

TEST(Walk, APointOnASharedSideOrNodeBelongsToTheElementReachedFirst) {
    for (const place& p : {place{0.5, 0.5}, place{0, 0}, place{1, 1}}) {
        for (const unsigned start : {0U, 1U}) {
            const auto got = walk_from<triangle_cells>(two_triangles(), start, p);
            EXPECT_EQ(outcome::found, got.status);
            EXPECT_EQ(start, got.element);
            EXPECT_EQ(1U, got.steps);
        }
    }
}

TEST(Walk, CrossesTheSideThatHasThePointBeyondIt) {
    const auto got = walk_from<triangle_cells>(two_triangles(), 0, {0.2, 0.8});
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(1U, got.element);
    EXPECT_EQ(2U, got.steps);
}

TEST(Walk, ReachesEveryElementOfAGridFromEveryOther) {
    const adjacent_mesh m("grid", zel::ELEMENT_FACE, grid_mixed(7, 6));
    for (unsigned from = 0; from < m.connect.cols; ++from)
        for (unsigned to = 0; to < m.connect.cols; ++to) {
            place p{0, 0};
            const unsigned n = corner_count(m.connect, to);
            for (unsigned k = 0; k < n; ++k)
                for (std::size_t i = 0; i < 2; ++i) p[i] += m.pos(i, m.connect(k, to)) / n;
            const auto got = walk_from<mixed_cells>(m, from, p);
            EXPECT_EQ(outcome::found, got.status);
            EXPECT_EQ(to, got.element);
        }
}

TEST(Walk, WithoutAnElementEndsBeforeItBegins) {
    const auto got = walk_from<triangle_cells>(two_triangles(), no_node, {0.2, 0.8});
    EXPECT_EQ(outcome::not_found, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(0U, got.steps);
}

TEST(Walk, FallingOffTheMeshEarlyIsNotFound) {
    adjacent_mesh m = two_triangles();
    m.connect = cells({{0, 1, 2}, {0, 2, 3}, {0, 2, 3}}); // a third, which nothing leads to
    m.neighbors =
        cells({{no_node, 1, no_node}, {no_node, no_node, 0}, {no_node, no_node, no_node}});
    const auto got = walk_from<triangle_cells>(m, 0, {2, 0.5});
    EXPECT_EQ(outcome::not_found, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(1U, got.steps);
}

TEST(Walk, FallingOffAtExactlyTheLastElementIsToldApart) {
    // Two elements: the walk crosses from 0 to 1, its second and last one, and falls off there.
    const auto got = walk_from<triangle_cells>(two_triangles(), 0, {-1, 0.9});
    EXPECT_EQ(outcome::ended_at_last, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(2U, got.steps);
}

TEST(Walk, EveryFailingWalkInAMeshOfOneElementEndsAtTheLast) {
    for (const place& p : {place{2, 2}, place{-1, 0}, place{0.1, -3}, place{nan, 0}})
        EXPECT_EQ(outcome::ended_at_last, walk_from<triangle_cells>(one_triangle(), 0, p).status);
}

/// One element of each shape: a quadrilateral, the same in a mixed mesh, and a triangle in one.
adjacent_mesh one_quad() {
    return {"one quadrilateral", zel::ELEMENT_Q4, unit_square()};
}
adjacent_mesh one_mixed(bool triangle) {
    mesh g = unit_square();
    if (triangle) g.connect(3, 0) = no_node;
    return {"one of a mixed mesh", zel::ELEMENT_FACE, g};
}

TEST(Walk, OneQuadrilateralOrMixedElementEndsItTheSameWay) {
    for (const place& p : {place{2, 2}, place{-1, 0}, place{0.1, -3}, place{0.5, nan}}) {
        for (const auto& got : {walk_from<quad_cells>(one_quad(), 0, p),
                                walk_from<mixed_cells>(one_mixed(false), 0, p),
                                walk_from<mixed_cells>(one_mixed(true), 0, p)}) {
            EXPECT_EQ(outcome::ended_at_last, got.status);
            EXPECT_EQ(no_node, got.element);
            EXPECT_EQ(1U, got.steps);
        }
    }
    EXPECT_EQ(outcome::found, walk_from<quad_cells>(one_quad(), 0, {0.25, 0.75}).status);
    EXPECT_EQ(outcome::found, walk_from<mixed_cells>(one_mixed(false), 0, {0.25, 0.75}).status);
    EXPECT_EQ(outcome::ended_at_last,
              walk_from<mixed_cells>(one_mixed(true), 0, {0.25, 0.75}).status);
    EXPECT_EQ(outcome::found, walk_from<mixed_cells>(one_mixed(true), 0, {0.75, 0.25}).status);
}

TEST(Walk, ADegenerateElementEndsIt) {
    adjacent_mesh m = two_triangles();
    m.connect = cells({{0, 1, 2}, {0, 3, 2}, {0, 2, 3}}); // the second is clockwise
    m.neighbors =
        cells({{no_node, 1, no_node}, {no_node, 0, no_node}, {no_node, no_node, no_node}});
    const auto got = walk_from<triangle_cells>(m, 0, {0.2, 0.8});
    EXPECT_EQ(outcome::met_degenerate, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(2U, got.steps);
}

TEST(Walk, ADegenerateElementThatIsTheLastOneIsToldApart) {
    adjacent_mesh m = two_triangles();
    m.connect = cells({{0, 1, 2}, {0, 3, 2}});
    EXPECT_EQ(outcome::ended_at_last, walk_from<triangle_cells>(m, 0, {0.2, 0.8}).status);
}

TEST(Walk, LooksAtNoMoreElementsThanThereAre) {
    // Each triangle sends a point that is in neither of them to the other one.
    adjacent_mesh m = two_triangles();
    m.neighbors = cells({{1, 1, 1}, {0, 0, 0}});
    const auto got = walk_from<triangle_cells>(m, 0, {nan, nan});
    EXPECT_EQ(outcome::not_found, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(3U, got.steps) << "one more than there are";
}

TEST(Walk, AtTheBoundaryAnotherFailingSideIsTried) {
    // From the left cell of an L the point beyond its right and its upper side is reached across the
    // upper one, whichever of them is tried first.
    const auto grid = grid_Q4(2, 2);
    const adjacent_mesh m("L", zel::ELEMENT_Q4,
                          without(grid, [](double x, double y) { return x > 0.5 && y < 0.5; }));
    ASSERT_EQ(3U, m.connect.cols);
    const auto got = walk_from<quad_cells>(m, 0, {0.75, 0.75});
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(2U, got.element);
}

TEST(Walk, IsTheSameEveryTime) {
    const adjacent_mesh m("grid", zel::ELEMENT_T3, grid_T3(30, 30));
    const auto first = walk_from<triangle_cells>(m, 0, {0.9, 0.95});
    for (int i = 0; i < 3; ++i) {
        const auto again = walk_from<triangle_cells>(m, 0, {0.9, 0.95});
        EXPECT_EQ(first.element, again.element);
        EXPECT_EQ(first.steps, again.steps);
    }
}

// ------------------------------------------------------------------------------ the elements of a node

template <class Shape>
std::vector<unsigned> star_of(const adjacent_mesh& m, unsigned node, unsigned first, int status = 0,
                              bool* closed = nullptr) {
    node_star star;
    EXPECT_EQ(status, list_star<Shape>(view_of(m), node, first, star));
    if (closed) *closed = star.closed;
    return values(star.elements);
}

/// Six triangles around node 0.
adjacent_mesh hexagon() {
    mesh g{dense2D<double>(2, 7, 0.0), {}};
    for (unsigned k = 0; k < 6; ++k) {
        g.pos(0, k + 1) = std::cos(k * std::acos(-1.0) / 3);
        g.pos(1, k + 1) = std::sin(k * std::acos(-1.0) / 3);
        const unsigned t[3] = {0, k + 1, (k + 1) % 6 + 1};
        zel::push_back_column3(t, g.connect);
    }
    return {"hexagon", zel::ELEMENT_T3, g};
}

TEST(ListStar, ListsTheTrianglesOfAnInteriorNodeAndIsClosed) {
    // Node 0 is the first of each: the edges at it are 2, pushed first, to the previous one, and 1 to
    // the next one, which is therefore popped first.
    bool closed = false;
    EXPECT_THAT(star_of<triangle_cells>(hexagon(), 0, 2, 0, &closed),
                ElementsAre(2, 3, 4, 5, 0, 1));
    EXPECT_TRUE(closed);
}

TEST(ListStar, ListsEachElementOfALongStarOnce) {
    for (const unsigned count : {15U, 16U, 17U, 18U, 100U}) {
        mesh g{dense2D<double>(2, count + 1, 0.0), {}};
        for (unsigned k = 0; k < count; ++k) {
            const unsigned t[3] = {0, k + 1, (k + 1) % count + 1};
            zel::push_back_column3(t, g.connect);
        }
        const adjacent_mesh fan("fan", zel::ELEMENT_T3, g);
        node_star star;
        for (unsigned first = 0; first < 3; ++first) { // the lists of an earlier star do not stay
            ASSERT_EQ(0, list_star<triangle_cells>(view_of(fan), 0, first, star));
            EXPECT_TRUE(star.closed);
            ASSERT_EQ(count, star.elements.size);
            for (unsigned k = 0; k < count; ++k)
                EXPECT_EQ((first + k) % count, star.elements[k]) << count;
        }
    }
}

TEST(ListStar, AtTheBoundaryBothSidesAreListedAndItIsOpen) {
    bool closed = true;
    EXPECT_THAT(star_of<triangle_cells>(hexagon(), 3, 1, 0, &closed), ElementsAre(1, 2));
    EXPECT_FALSE(closed);
}

TEST(ListStar, ListsTheQuadrilateralsOfANode) {
    const adjacent_mesh m("grid", zel::ELEMENT_Q4, grid_Q4(2, 2));
    bool closed = false;
    // Cell 0 holds the node as its third: edge 2 leads up to 2, edge 1 to the right, popped first.
    EXPECT_THAT(star_of<quad_cells>(m, 4, 0, 0, &closed), ElementsAre(0, 1, 3, 2));
    EXPECT_TRUE(closed);
    EXPECT_THAT(star_of<quad_cells>(m, 0, 0), ElementsAre(0));
}

TEST(ListStar, FollowsEachShapeOfAMixedMesh) {
    // Left a quadrilateral, right two triangles, all at node 1.
    const adjacent_mesh m("mixed", zel::ELEMENT_FACE,
                          {points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}, {2, 1}}),
                           cells({{0, 1, 2, 3}, {1, 4, 5, no_node}, {1, 5, 2, no_node}})});
    bool closed = true;
    EXPECT_THAT(star_of<mixed_cells>(m, 1, 0, 0, &closed), ElementsAre(0, 2, 1));
    EXPECT_FALSE(closed);
}

TEST(ListStar, OfOneElementIsThatElementAndOpen) {
    for (unsigned node = 0; node < 4; ++node) {
        bool closed = true;
        EXPECT_THAT(star_of<quad_cells>(one_quad(), node, 0, 0, &closed), ElementsAre(0));
        EXPECT_FALSE(closed);
        closed = true;
        EXPECT_THAT(star_of<mixed_cells>(one_mixed(false), node, 0, 0, &closed), ElementsAre(0));
        EXPECT_FALSE(closed);
    }
    for (unsigned node = 0; node < 3; ++node) {
        bool closed = true;
        EXPECT_THAT(star_of<mixed_cells>(one_mixed(true), node, 0, 0, &closed), ElementsAre(0));
        EXPECT_FALSE(closed);
    }
    // The mark of a triangle is no node of it, whoever asks.
    EXPECT_THAT(star_of<mixed_cells>(one_mixed(true), 3, 0, -1), IsEmpty());
    EXPECT_THAT(star_of<mixed_cells>(one_mixed(true), no_node, 0, -1), IsEmpty());
}

TEST(ListStar, WithoutAFirstElementIsEmpty) {
    bool closed = true;
    EXPECT_THAT(star_of<triangle_cells>(hexagon(), 0, no_node, 0, &closed), IsEmpty());
    EXPECT_FALSE(closed);
}

TEST(ListStar, KeepsWhatItHasWhenAnElementDoesNotHoldTheNode) {
    EXPECT_THAT(star_of<triangle_cells>(hexagon(), 5, 0, -1), IsEmpty());
    adjacent_mesh wrong = hexagon();
    wrong.neighbors(1, 3) = 0; // the way from 3 leads to 0, which has node 0 but not node 5
    wrong.neighbors(0, 3) = 0;
    EXPECT_THAT(star_of<triangle_cells>(wrong, 5, 4, -1), testing::Not(IsEmpty()));
}

TEST(ListStar, ALargeFanIsListedCompletely) {
    mesh g{dense2D<double>(2, 301, 0.0), {}};
    for (unsigned k = 0; k < 300; ++k) {
        g.pos(0, k + 1) = std::cos(k * std::acos(-1.0) / 150);
        g.pos(1, k + 1) = std::sin(k * std::acos(-1.0) / 150);
        const unsigned t[3] = {0, k + 1, (k + 1) % 300 + 1};
        zel::push_back_column3(t, g.connect);
    }
    const adjacent_mesh m("fan", zel::ELEMENT_T3, g);
    auto listed = star_of<triangle_cells>(m, 0, 7);
    std::sort(listed.begin(), listed.end());
    ASSERT_EQ(300U, listed.size());
    for (unsigned k = 0; k < 300; ++k) EXPECT_EQ(k, listed[k]);
}

// ---------------------------------------------------------------------------------------- the search

TEST(Locate, StartsAtTheElementOfANodeNearby) {
    const fixed_searcher searcher(3, no_node);
    const auto got = locate_with<triangle_cells>(two_triangles(), searcher, {0.2, 0.8});
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(1U, got.element);
    EXPECT_EQ(1U, got.steps);
    EXPECT_EQ(0, searcher.asked_closest);
}

TEST(Locate, StartsAtAGivenElementWithoutAsking) {
    const fixed_searcher searcher(no_node, no_node);
    const auto got = locate_with<triangle_cells>(two_triangles(), searcher, {0.2, 0.8}, true, 0);
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(1U, got.element);
    EXPECT_EQ(0, searcher.asked_close);
}

TEST(Locate, WithoutANodeOrAnElementOfItNothingIsFound) {
    adjacent_mesh m = two_triangles();
    const auto nobody = locate_with<triangle_cells>(m, fixed_searcher(no_node, 0), {0.2, 0.8});
    EXPECT_EQ(outcome::not_found, nobody.status);
    EXPECT_EQ(no_node, nobody.element);
    m.ancestors[3] = no_node;
    EXPECT_EQ(outcome::not_found,
              locate_with<triangle_cells>(m, fixed_searcher(3, 0), {0.2, 0.8}).status);
}

TEST(Locate, AncestorsThatAreNoElementsAndNodesBeyondTheMeshCountAsNone) {
    adjacent_mesh m = two_triangles();
    for (const unsigned wrong : {2U, 1000000U, 0xFFFFFFFEU}) {
        m.ancestors[3] = wrong;
        const auto got = locate_with<triangle_cells>(m, fixed_searcher(3, 3), {0.2, 0.8});
        EXPECT_EQ(outcome::not_found, got.status);
    }
    EXPECT_EQ(outcome::not_found,
              locate_with<triangle_cells>(m, fixed_searcher(4, 0), {0.2, 0.8}).status);
    EXPECT_EQ(outcome::not_found,
              locate_with<triangle_cells>(m, fixed_searcher(0xFFFFFFFEU, 0), {0.2, 0.8}).status);
}

/// Two columns of cells with a hole between them that no walk can cross.
adjacent_mesh two_islands() {
    return {"islands", zel::ELEMENT_Q4,
            without(grid_Q4(5, 1), [](double x, double) { return x > 0.4 && x < 0.6; })};
}

TEST(Locate, AWalkThatFallsOffIsFollowedByOthersAroundTheClosestNode) {
    const adjacent_mesh m = two_islands();
    const fixed_searcher searcher(0, 5);
    const auto got = locate_with<quad_cells>(m, searcher, {0.9, 0.5});
    EXPECT_EQ(outcome::found, got.status);
    EXPECT_EQ(3U, got.element);
    EXPECT_EQ(1, searcher.asked_closest);
}

TEST(Locate, WithoutSearchAroundTheFirstWalkDecides) {
    const fixed_searcher searcher(0, 5);
    const auto got = locate_with<quad_cells>(two_islands(), searcher, {0.9, 0.5}, false);
    EXPECT_EQ(outcome::not_found, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(0, searcher.asked_closest);
}

TEST(Locate, WithoutAClosestNodeOrItsElementNothingIsFound) {
    adjacent_mesh m = two_islands();
    EXPECT_EQ(outcome::not_found,
              locate_with<quad_cells>(m, fixed_searcher(0, no_node), {0.9, 0.5}).status);
    m.ancestors[5] = no_node;
    const auto got = locate_with<quad_cells>(m, fixed_searcher(0, 5), {0.9, 0.5});
    EXPECT_EQ(outcome::not_found, got.status);
    EXPECT_EQ(no_node, got.element);
}

TEST(Locate, ADegenerateElementEndsTheSearchAtOnce) {
    adjacent_mesh m = two_islands();
    std::swap(m.connect(1, 0), m.connect(3, 0)); // clockwise
    const fixed_searcher searcher(0, 5);
    const auto got = locate_with<quad_cells>(m, searcher, {0.9, 0.5});
    EXPECT_EQ(outcome::met_degenerate, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(0, searcher.asked_closest);
}

TEST(Locate, AWalkThatEndsAtTheLastElementEndsTheSearch) {
    const fixed_searcher searcher(0, 2);
    const auto got = locate_with<triangle_cells>(one_triangle(), searcher, {2, 2});
    EXPECT_EQ(outcome::ended_at_last, got.status);
    EXPECT_EQ(no_node, got.element);
    EXPECT_EQ(0, searcher.asked_closest);
}

TEST(Locate, OutsideOneQuadrilateralOrMixedElementThereIsNoSearchAround) {
    const fixed_searcher searcher(0, 1);
    for (const auto& got : {locate_with<quad_cells>(one_quad(), searcher, {2, 2}),
                            locate_with<mixed_cells>(one_mixed(false), searcher, {2, 2}),
                            locate_with<mixed_cells>(one_mixed(true), searcher, {0.25, 0.75})}) {
        EXPECT_EQ(outcome::ended_at_last, got.status);
        EXPECT_EQ(no_node, got.element);
    }
    EXPECT_EQ(3, searcher.asked_close);
    EXPECT_EQ(0, searcher.asked_closest);
}

// A lone element that is its own neighbour sends the walk back until there are no more elements to look
// at: a plain failure, so that the search goes on around the closest node and fails there once more.
TEST(Locate, OneElementThatIsItsOwnNeighborIsSearchedAround) {
    adjacent_mesh quad = one_quad();
    adjacent_mesh mixed = one_mixed(true);
    quad.neighbors = cells({{0, 0, 0, 0}});
    mixed.neighbors = cells({{0, 0, 0, no_node}});
    const fixed_searcher searcher(0, 1);
    for (const auto& got : {locate_with<quad_cells>(quad, searcher, {2, 2}),
                            locate_with<mixed_cells>(quad, searcher, {2, 2}),
                            locate_with<mixed_cells>(mixed, searcher, {0.25, 0.75})}) {
        EXPECT_EQ(outcome::not_found, got.status);
        EXPECT_EQ(no_node, got.element);
        EXPECT_EQ(2U, got.steps);
    }
    EXPECT_EQ(3, searcher.asked_closest);
}

// All edges fail for such a point, and where the first of them is on the boundary another one is taken.
// So a walk goes on as long as there are elements to look at, and so do those around the closest node.
template <class Shape>
void expect_wandering(const adjacent_mesh& m) {
    for (const place& p : {place{nan, 0.5}, place{0.5, nan}, place{nan, nan}}) {
        for (unsigned start = 0; start < m.pos.cols; ++start) {
            const fixed_searcher searcher(start, 0);
            const auto got = locate_with<Shape>(m, searcher, p);
            EXPECT_EQ(outcome::not_found, got.status) << m.name;
            EXPECT_EQ(no_node, got.element) << m.name;
            EXPECT_EQ(m.connect.cols + 1, got.steps) << m.name;
            EXPECT_EQ(1, searcher.asked_closest) << m.name;
            const auto alone = locate_with<Shape>(m, searcher, p, false);
            EXPECT_EQ(outcome::not_found, alone.status) << m.name;
            EXPECT_EQ(m.connect.cols + 1, alone.steps) << m.name;
        }
    }
}

TEST(Locate, APointWithNaNIsNotFoundFromAnyStart) {
    expect_wandering<triangle_cells>({"triangles", zel::ELEMENT_T3, grid_T3(4, 3)});
    expect_wandering<quad_cells>({"quadrilaterals", zel::ELEMENT_Q4, grid_Q4(4, 3)});
    expect_wandering<mixed_cells>({"mixed", zel::ELEMENT_FACE, grid_mixed(4, 3)});
}

template <class Shape>
void expect_all_found(const adjacent_mesh& m, const std::vector<place>& at) {
    node_tree tree(m.pos);
    tree.fill<Shape>(m.connect);
    const tree_searcher searcher(tree, view_of(m));
    std::size_t elsewhere = 0;
    for (const place& p : at) {
        const auto got = locate_with<Shape>(m, searcher, p);
        if (got.status != outcome::found) {
            ++elsewhere;
            ADD_FAILURE() << m.name << ": nothing found at " << p[0] << ", " << p[1];
        } else {
            EXPECT_GE(share_inside(m, got.element, p), -slack)
                << m.name << " " << p[0] << ", " << p[1];
        }
        if (elsewhere > 5) return;
    }
}

TEST(Locate, FindsEveryNodeEdgeMidpointAndCentroid) {
    for (const adjacent_mesh& m : assorted_meshes()) {
        std::vector<place> at;
        for (std::size_t e = 0; e < m.connect.cols; ++e) {
            const unsigned n = corner_count(m.connect, e);
            place centroid{0, 0};
            for (unsigned k = 0; k < n; ++k) {
                const place a = place_of(m.pos, m.connect(k, e));
                const place b = place_of(m.pos, m.connect((k + 1) % n, e));
                at.push_back(a);
                at.push_back({(a[0] + b[0]) / 2, (a[1] + b[1]) / 2});
                for (std::size_t i = 0; i < 2; ++i) centroid[i] += a[i] / n;
            }
            at.push_back(centroid);
        }
        switch (m.type) {
        case zel::ELEMENT_T3:
            expect_all_found<triangle_cells>(m, at);
            break;
        case zel::ELEMENT_Q4:
            expect_all_found<quad_cells>(m, at);
            break;
        default:
            expect_all_found<mixed_cells>(m, at);
            break;
        }
    }
}

TEST(Locate, ARecordThatSearchesShareChangesNothing) {
    const adjacent_mesh m("holes", zel::ELEMENT_T3,
                          without(grid_T3(20, 20), [](double x, double y) {
                              return x > 0.3 && x < 0.7 && y > 0.3 && y < 0.7;
                          }));
    node_tree tree(m.pos);
    tree.fill<triangle_cells>(m.connect);
    const tree_searcher searcher(tree, view_of(m));
    search_record shared;
    random_numbers random(4);
    for (int i = 0; i < 500; ++i) {
        const place p{random.unit(), random.unit()};
        unsigned element = no_node;
        const outcome status =
            locate<triangle_cells>(view_of(m), searcher, p, slack, element, true, shared);
        const auto alone = locate_with<triangle_cells>(m, searcher, p);
        EXPECT_EQ(alone.status, status);
        EXPECT_EQ(alone.element, element);
        EXPECT_EQ(alone.steps, shared.steps);
    }
}

// Also outside the mesh, with NaN, with fewer points than a group holds, and in a tree without short cuts.
TEST(PointGroup, StartsAreThoseOfSingleSearches) {
    const adjacent_mesh m("grid", zel::ELEMENT_T3, grid_T3(40, 40));
    node_tree tree(m.pos);
    tree.fill<triangle_cells>(m.connect);
    const tree_searcher searcher(tree, view_of(m));
    random_numbers random(5);
    for (std::size_t n = 0; n <= point_group::most; ++n) {
        if (n == 9) tree.entries.clear();
        std::vector<place> points(n);
        for (place& p : points) p = {1.5 * random.unit() - 0.2, 1.5 * random.unit() - 0.2};
        if (n > 3) points[3] = {nan, 0.5};
        point_group group;
        group.find_starts(view_of(m), searcher, n, [&](std::size_t i) { return points[i]; });
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(start_of_walk(view_of(m), searcher, points[i]), group.starts[i]);
    }
}

TEST(Locate, TheClosestNodeIsKeptWhenItWasLookedFor) {
    const adjacent_mesh m("grid", zel::ELEMENT_T3, grid_T3(4, 4));
    search_record record;
    unsigned element = no_node;
    const fixed_searcher first(0, 3);
    locate<triangle_cells>(view_of(m), first, {0.5, 0.2}, slack, element, true, record);
    EXPECT_FALSE(record.closest) << "the first walk found the element";
    // All walks fall off the mesh.
    element = no_node;
    locate<triangle_cells>(view_of(m), first, {-0.5, 0.5}, slack, element, true, record);
    EXPECT_EQ(3U, record.closest);
    EXPECT_EQ(1, first.asked_closest);
    element = no_node;
    locate<triangle_cells>(view_of(m), first, {0.5, 0.2}, slack, element, true, record);
    EXPECT_FALSE(record.closest) << "that of an earlier search does not stay";
}

TEST(Locate, ThePointOutsideIsNeverFoundInAHole) {
    for (const adjacent_mesh& m : assorted_meshes()) {
        if (m.name != "triangles, holes") continue;
        node_tree tree(m.pos);
        tree.fill<triangle_cells>(m.connect);
        const tree_searcher searcher(tree, view_of(m));
        const auto got = locate_with<triangle_cells>(m, searcher, {0.5, 0.5});
        EXPECT_EQ(outcome::not_found, got.status);
        EXPECT_EQ(no_node, got.element);
        return;
    }
    FAIL() << "the mesh is missing";
}

TEST(Locate, ExhaustedMemoryLosesElementsAndNothingElse) {
    const adjacent_mesh m = hexagon();
    // Around node 0 the walks reach the element on the other side; the first one starts on a triangle
    // that leads nowhere.
    adjacent_mesh torn = m;
    torn.neighbors(1, 0) = torn.neighbors(2, 0) = torn.neighbors(0, 0) = no_node;
    torn.ancestors[0] = 2;
    const fixed_searcher searcher(1, 0);
    torn.ancestors[1] = 0;
    const place p{-0.5, 0.1};
    ASSERT_EQ(outcome::found, locate_with<triangle_cells>(torn, searcher, p).status);
    fail_each_allocation([&](std::size_t k) {
        arm_allocator(k);
        const auto got = locate_with<triangle_cells>(torn, searcher, p);
        disarm_allocator();
        EXPECT_TRUE(got.status == outcome::found || got.status == outcome::not_found);
        EXPECT_EQ(got.status == outcome::found ? 2U : no_node, got.element);
    });
}

} // namespace
