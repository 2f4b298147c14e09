// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/location.h"

#include "located_meshes.h"
#include "location/local_coords.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <gmock/gmock.h>

#include <functional>
#include <vector>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::element_type;
using zel::tessel2d::interpolate;
using zel::tessel2d::local_coords_Q4;
using zel::tessel2d::local_coords_T3;

using place = zel::vector_fixed<double, 2>;
using points2 = zel::tessel2d::points_view<2>;
constexpr double nan = zel_test::nan; // of two by that name

/// A mesh with orphans, a field over it and the list of the orphans.
struct carried {
    adjacent_mesh m;
    dense1D<unsigned, 8> nodes;
    dense2D<double> field;

    carried(const adjacent_mesh& base, const std::vector<place>& at, std::size_t components = 1)
        : m(base), nodes(list(append_orphans(m, at))), field(components, m.pos.cols, -99.0) {}

    /// Sets the field at the nodes of the mesh; component i is f(p, i).
    carried& set(const std::function<double(const place&, std::size_t)>& f) {
        for (std::size_t node = 0; node < m.pos.cols; ++node)
            for (std::size_t i = 0; i < field.rows && m.ancestors[node] != no_node; ++i)
                field(i, node) = f(place_of(m.pos, node), i);
        return *this;
    }
    int run() {
        return interpolate(m.pos, m.connect, m.neighbors, m.ancestors, field, nodes, m.type);
    }
    int run_scalar(dense1D<double, 8>& scalar) {
        return interpolate(m.pos, m.connect, m.neighbors, m.ancestors, scalar, nodes, m.type);
    }
    double value(std::size_t k, std::size_t component = 0) const {
        return field(component, nodes[k]);
    }
};

adjacent_mesh square_Q4() {
    return {"square", zel::ELEMENT_Q4, unit_square()};
}
adjacent_mesh square_T3() {
    return {"square", zel::ELEMENT_T3, grid_T3(1, 1)};
}
/// A quarter of the unit square is missing at the upper right.
adjacent_mesh corner_mesh(element_type type = zel::ELEMENT_Q4, const mesh& grid = grid_Q4(4, 4)) {
    return {"corner", type, without(grid, [](double x, double y) { return x > 0.5 && y > 0.5; })};
}

// --------------------------------------------------------------------------------------- normal use

TEST(Interpolate, ATriangleGivesTheLinearInterpolant) {
    carried c({"triangle", zel::ELEMENT_T3, {points({{0, 0}, {4, 0}, {0, 4}}), cells({{0, 1, 2}})}},
              {{1, 1}, {2, 0}, {0.5, 3}});
    c.field(0, 0) = 10;
    c.field(0, 1) = 20;
    c.field(0, 2) = 40;
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(10 * 0.5 + 20 * 0.25 + 40 * 0.25, c.value(0));
    EXPECT_EQ(15, c.value(1));
    EXPECT_EQ(10 * 0.125 + 20 * 0.125 + 40 * 0.75, c.value(2));
    EXPECT_EQ(20, c.field(0, 1)) << "nodes of the mesh keep their values";
}

TEST(Interpolate, ASquareGivesTheBilinearInterpolant) {
    carried c(square_Q4(), {{0.5, 0.25}, {0.25, 0.75}});
    for (std::size_t k = 0; k < 4; ++k) c.field(0, k) = std::vector<double>{1, 3, 11, 5}[k];
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(1 * 0.375 + 3 * 0.375 + 11 * 0.125 + 5 * 0.125, c.value(0));
    EXPECT_EQ(1 * 0.1875 + 3 * 0.0625 + 11 * 0.1875 + 5 * 0.5625, c.value(1));
}

TEST(Interpolate, TheCentreOfASquareGetsTheMean) {
    carried c(square_Q4(), {{0.5, 0.5}});
    for (std::size_t k = 0; k < 4; ++k) c.field(0, k) = std::vector<double>{1, 3, 11, 5}[k];
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(5, c.value(0));
}

TEST(Interpolate, EveryComponentIsTreatedAlike) {
    carried c(square_T3(), {{0.5, 0.25}, {0.125, 0.5}}, 5);
    c.set([](const place& p, std::size_t i) { return p[0] * static_cast<double>(i) + p[1]; });
    ASSERT_EQ(0, c.run());
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(0.5 * static_cast<double>(i) + 0.25, c.value(0, i));
        EXPECT_EQ(0.125 * static_cast<double>(i) + 0.5, c.value(1, i));
    }
}

TEST(Interpolate, ListAndMatrixOfOneRowGiveTheSameNumbers) {
    for (const adjacent_mesh& base : assorted_meshes()) {
        random_numbers random(8);
        std::vector<place> at;
        for (int i = 0; i < 200; ++i) at.push_back({random.between(0, 1.2), random.between(0, 2)});
        carried c(base, at);
        c.set([](const place& p, std::size_t) { return std::sin(7 * p[0]) + p[1] * p[1]; });
        dense1D<double, 8> scalar = fresh_copy(c.field.as_vector());
        ASSERT_EQ(0, c.run());
        ASSERT_EQ(0, c.run_scalar(scalar));
        EXPECT_EQ(snapshot(c.field.as_vector()), snapshot(scalar)) << base.name;
    }
}

TEST(Interpolate, ViewsWithALargerLeadingDimension) {
    random_numbers random(21);
    std::vector<place> at;
    for (int i = 0; i < 100; ++i) at.push_back({random.unit(), random.unit()});
    carried plain({"mixed", zel::ELEMENT_FACE, grid_mixed(6, 5)}, at, 3);
    plain.set([](const place& p, std::size_t i) { return p[0] - p[1] * static_cast<double>(i); });
    auto pos = framed(plain.m.pos);
    auto connect = framed(plain.m.connect);
    auto neighbors = framed(plain.m.neighbors);
    auto ancestors = framed(plain.m.ancestors);
    auto field = framed(plain.field);
    auto nodes = framed(plain.nodes);
    ASSERT_EQ(0, plain.run());
    ASSERT_EQ(0, interpolate(pos.view, connect.view, neighbors.view, ancestors.view, field.view,
                             nodes.view, zel::ELEMENT_FACE));
    EXPECT_EQ(columns(plain.field), columns(field.view));
    EXPECT_TRUE(field.surroundings_untouched(field.view.cols));
}

TEST(Interpolate, OnlyNodesOfTheListAreServed) {
    carried c(square_Q4(), {{0.5, 0.5}, {0.25, 0.25}});
    c.set([](const place&, std::size_t) { return 1.0; });
    c.nodes = ids({5});
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(-99.0, c.field(0, 4));
    EXPECT_EQ(1.0, c.field(0, 5));
}

TEST(Interpolate, NodesWithAnAncestorAreNotTouched) {
    carried c(square_Q4(), {{0.5, 0.5}});
    c.set([](const place& p, std::size_t) { return p[0]; });
    c.nodes = ids({0, 1, 2, 3});
    const auto before = snapshot(c.field);
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(before, snapshot(c.field));
}

TEST(Interpolate, AnOrphanListedTwiceGetsTheSameValueTwice) {
    carried c(square_Q4(), {{0.3, 0.6}, {0.2, 0.2}});
    c.set([](const place& p, std::size_t) { return p[0] + 3 * p[1] + p[0] * p[1]; });
    carried once = c;
    once.field = fresh_copy(c.field);
    ASSERT_EQ(0, once.run());
    c.nodes = ids({4, 5, 4});
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(columns(once.field), columns(c.field));
}

TEST(Interpolate, AnAncestorThatIsNoElementMakesAnOrphan) {
    for (const unsigned wrong : {1U, 77U, 0xFFFFFFFEU}) {
        carried c(square_Q4(), {{0.5, 0.5}});
        c.set([](const place&, std::size_t) { return 2.0; });
        c.m.ancestors[4] = wrong;
        ASSERT_EQ(0, c.run());
        EXPECT_EQ(2.0, c.value(0));
    }
}

TEST(Interpolate, MixedMeshesUseTheFormulaOfEachColumn) {
    carried c({"mixed",
               zel::ELEMENT_FACE,
               {points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0.5}}),
                cells({{0, 1, 2, 3}, {1, 4, 2, no_node}})}},
              {{0.5, 0.25}, {1.5, 0.5}});
    for (std::size_t k = 0; k < 5; ++k) c.field(0, k) = std::vector<double>{1, 3, 11, 5, 20}[k];
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(1 * 0.375 + 3 * 0.375 + 11 * 0.125 + 5 * 0.125, c.value(0));
    EXPECT_EQ(3 * 0.25 + 11 * 0.25 + 20 * 0.5, c.value(1));
}

// ------------------------------------------------------------------------- outside and at the border

TEST(Interpolate, AnOrphanInNoElementButInTheBoxGetsTheValueOfTheClosestNode) {
    carried c(corner_mesh(), {{0.9, 0.6}, {0.55, 0.95}}, 2);
    random_numbers random(2);
    c.set([&](const place&, std::size_t) { return random.unit(); });
    ASSERT_EQ(0, c.run());
    for (std::size_t k = 0; k < 2; ++k) {
        std::size_t closest = 0;
        double least = 1e9;
        for (std::size_t node = 0; node < 25; ++node) {
            if (c.m.ancestors[node] == no_node) continue;
            const double dx = c.m.pos(0, node) - c.m.pos(0, c.nodes[k]);
            const double dy = c.m.pos(1, node) - c.m.pos(1, c.nodes[k]);
            if (dx * dx + dy * dy < least) {
                least = dx * dx + dy * dy;
                closest = node;
            }
        }
        EXPECT_EQ(column(c.field, closest), column(c.field, c.nodes[k]));
    }
}

TEST(Interpolate, AnOrphanOutsideTheBoxKeepsItsValue) {
    carried c(square_Q4(), {{1.5, 0.5}, {0.5, -0.1}, {nan, 0.5}, {infinity, 0}, {0.5, 0.5}});
    c.set([](const place&, std::size_t) { return 1.0; });
    ASSERT_EQ(0, c.run());
    for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(-99.0, c.value(k));
    EXPECT_EQ(1.0, c.value(4));
}

TEST(Interpolate, WithinTheToleranceOutsideASideTheValueIsExtrapolated) {
    // The sides at the missing quarter; 0.25 squares have a doubled area of 0.125.
    const double out = 0x1p-24; // less than 1e-6 * 0.125 / 0.25
    carried c(corner_mesh(), {{0.5 + out, 0.875}, {0.625, 0.5 + out}, {0.5 + 0x1p-15, 0.875}});
    c.set([](const place& p, std::size_t) { return 1024 * p[0] + p[1]; });
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(1024 * (0.5 + out) + 0.875, c.value(0));
    EXPECT_EQ(1024 * 0.625 + 0.5 + out, c.value(1));
    EXPECT_TRUE(c.value(2) == 512.75 || c.value(2) == 513.0) << "a node's: " << c.value(2);
}

TEST(Interpolate, WithinTheToleranceOutsideATriangleTheValueIsExtrapolated) {
    // Triangles of a doubled area of 0.0625: 2^-24 is less than 1e-6 * 0.0625 / 0.25, 2^-21 is more. Among
    // the elements of the mixed mesh the one at the right is a quadrilateral, the one on top a triangle.
    const double out = 0x1p-24;
    const double too_far = 0x1p-21;
    for (const auto& base : {corner_mesh(zel::ELEMENT_T3, grid_T3(4, 4)),
                             corner_mesh(zel::ELEMENT_FACE, grid_mixed(4, 4))}) {
        SCOPED_TRACE(base.connect.rows);
        carried c(base, {{0.5 + out, 0.875}, {0.625, 0.5 + out}, {0.625, 0.5 + too_far}});
        c.set([](const place& p, std::size_t) { return 1024 * p[0] + p[1]; });
        ASSERT_EQ(0, c.run());
        EXPECT_EQ(1024 * (0.5 + out) + 0.875, c.value(0));
        EXPECT_EQ(1024 * 0.625 + 0.5 + out, c.value(1));
        EXPECT_TRUE(c.value(2) == 512.5 || c.value(2) == 768.5) << "a node's: " << c.value(2);
        // A list gives the same.
        dense1D<double, 8> scalar = fresh_copy(c.field.as_vector());
        for (const unsigned node : c.nodes) scalar[node] = -99;
        ASSERT_EQ(0, c.run_scalar(scalar));
        EXPECT_EQ(snapshot(c.field.as_vector()), snapshot(scalar));
    }
}

TEST(Interpolate, InTheBoxOfOneElementButOutsideItTheClosestNodeCounts) {
    const auto triangle = points({{0, 0}, {4, 0}, {0, 4}});
    const auto quad = points({{0, 0}, {4, 0}, {2, 1}, {0, 4}});
    const adjacent_mesh all[] = {
        {"T3", zel::ELEMENT_T3, {triangle, cells({{0, 1, 2}})}},
        {"mixed", zel::ELEMENT_FACE, {triangle, cells({{0, 1, 2, no_node}})}},
        {"Q4", zel::ELEMENT_Q4, {quad, cells({{0, 1, 2, 3}})}},
        {"Q4 as mixed", zel::ELEMENT_FACE, {quad, cells({{0, 1, 2, 3}})}},
    };
    for (const auto& base : all) {
        SCOPED_TRACE(base.name);
        carried c(base, {{3.5, 2}, {2, 3.5}, {4.5, 1}});
        c.set([](const place& p, std::size_t) { return 10 * p[0] + p[1]; });
        ASSERT_EQ(0, c.run());
        EXPECT_EQ(corner_count(base.connect, 0) == 4 ? 21 : 40, c.value(0));
        EXPECT_EQ(4, c.value(1));
        EXPECT_EQ(-99, c.value(2)) << "outside the box";
    }
}

TEST(Interpolate, AnOrphanAtANodeOfATriangleHasItsValue) {
    adjacent_mesh base("triangle", zel::ELEMENT_T3,
                       {points({{0.1, 0.7}, {3.3, 0.2}, {1.9, 5.7}}), cells({{0, 1, 2}})});
    carried c(base, {place_of(base.pos, 0), place_of(base.pos, 1), place_of(base.pos, 2)});
    c.field(0, 0) = 1e9;
    c.field(0, 1) = 0.3;
    c.field(0, 2) = -7;
    ASSERT_EQ(0, c.run());
    EXPECT_EQ((0.3 + 7) * 0 + (1e9 + 7) * 1 - 7, c.value(0));
    EXPECT_EQ((0.3 + 7) * 1 + (1e9 + 7) * 0 - 7, c.value(1));
    EXPECT_EQ(-7, c.value(2));
}

TEST(Interpolate, ADegenerateElementOnTheWayLeadsToTheClosestNode) {
    adjacent_mesh base = square_T3();
    std::swap(base.connect(1, 0), base.connect(2, 0));
    std::swap(base.connect(1, 1), base.connect(2, 1));
    carried c(base, {{0.9, 0.2}});
    c.set([](const place& p, std::size_t) { return 10 * p[0] + p[1]; });
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(10, c.value(0)) << "node (1, 0)";
}

TEST(Interpolate, MeshesWithoutAncestorsServeNobody) {
    carried c(square_Q4(), {{0.5, 0.5}});
    for (std::size_t node = 0; node < 4; ++node) c.m.ancestors[node] = no_node;
    const auto before = snapshot(c.field);
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(before, snapshot(c.field));
}

TEST(Interpolate, AnOrphanThatIsACornerPassesOnWhatItReceivedInListOrder) {
    // Node 2 of the square is an orphan by its ancestor: served first, it gets the value of the element
    // at its own place, which is its own; served after being moved it would not matter. Node 4 reads it.
    for (const bool many : {false, true}) {
        carried c(square_Q4(), {{0.75, 0.75}});
        c.m.ancestors[2] = no_node;
        for (std::size_t k = 0; k < 4; ++k) c.field(0, k) = 1;
        c.field(0, 2) = 5;
        std::vector<unsigned> order = {4, 2};
        if (many) order.insert(order.begin(), 9000, 4U);
        c.nodes = list(order);
        ASSERT_EQ(0, c.run());
        EXPECT_EQ(1 * 0.0625 + 1 * 0.1875 + 5 * 0.5625 + 1 * 0.1875, c.field(0, 4));
        EXPECT_EQ(5, c.field(0, 2));
    }
}

// -------------------------------------------------------------------------- nothing to do, statuses

TEST(Interpolate, AnEmptyListIsNothingToDoWhateverElseIsWrong) {
    const dense2D<double> flat = points({{0, 0, 0}});
    dense2D<double> field;
    dense1D<double, 8> scalar;
    EXPECT_EQ(0,
              interpolate(flat, cells({{7, 8, 9}}), {}, ids({}), field, ids({}), zel::ELEMENT_T3));
    EXPECT_EQ(0,
              interpolate(flat, cells({{7, 8, 9}}), {}, ids({}), scalar, ids({}), zel::ELEMENT_T3));
}

TEST(Interpolate, AKindThatFitsNoSearchChangesNothing) {
    carried c(square_T3(), {{0.5, 0.5}});
    c.m.type = zel::ELEMENT_FACE; // 3 rows pass the tests and reach no search
    const auto before = snapshot(c.field);
    EXPECT_EQ(0, c.run());
    EXPECT_EQ(before, snapshot(c.field));
}

TEST(Interpolate, AMeshWithoutElementsServesNobody) {
    carried c({"nodes", zel::ELEMENT_T3, {points({{0, 0}, {1, 0}}), dense2D<unsigned>(3, 0)}},
              {{0.5, 0.0}});
    EXPECT_EQ(0, c.run());
    EXPECT_EQ(-99.0, c.value(0));
}

/// A call that works, made wrong in one or two of its arguments.
struct faulty {
    carried c{square_Q4(), {{0.5, 0.5}}};
    element_type type = zel::ELEMENT_Q4;

    faulty& three_rows() { return c.m.pos.resize(3, c.m.pos.cols, 0.0), *this; }
    faulty& bad_node() { return c.m.connect(1, 0) = 5, *this; }
    faulty& other_kind() { return type = zel::ELEMENT_T3, *this; }
    faulty& bad_neighbor() { return c.m.neighbors(0, 0) = 1, *this; }
    faulty& short_neighbors() { return c.m.neighbors = dense2D<unsigned>(3, 1, no_node), *this; }
    faulty& more_neighbors() { return c.m.neighbors.resize(4, 2, no_node), *this; }
    faulty& short_ancestors() { return c.m.ancestors.resize(4), *this; }
    faulty& short_field() { return c.field.resize(1, 4), *this; }
    faulty& bad_list() { return c.nodes = ids({4, 5}), *this; }

    void expect(int status) {
        const auto before = snapshot(c.field);
        EXPECT_EQ(status, interpolate(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, c.field,
                                      c.nodes, type));
        dense1D<double, 8> scalar = fresh_copy(c.field.as_vector());
        EXPECT_EQ(status, interpolate(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, scalar,
                                      c.nodes, type));
        EXPECT_EQ(before, snapshot(c.field));
        EXPECT_EQ(values(c.field.as_vector()), values(scalar));
    }
};

TEST(Interpolate, PositionsInSpaceAreRefused) {
    faulty().three_rows().expect(-1);
}
TEST(Interpolate, AnElementOfMissingNodesIsRefused) {
    faulty().bad_node().expect(-2);
}
TEST(Interpolate, AKindThatDoesNotSuitTheRowsIsRefused) {
    faulty().other_kind().expect(-2);
}
TEST(Interpolate, ATriangleAmongQuadrilateralsIsRefused) {
    faulty f;
    f.c.m.connect(3, 0) = no_node;
    f.expect(-2);
}
TEST(Interpolate, NeighborsOfOtherRowsAreRefused) {
    faulty().short_neighbors().expect(-3);
}
TEST(Interpolate, NeighborsOfOtherColumnsAreRefused) {
    faulty().more_neighbors().expect(-3);
}
TEST(Interpolate, ANeighborThatDoesNotExistIsRefused) {
    faulty().bad_neighbor().expect(-3);
}
TEST(Interpolate, TooFewAncestorsAreRefused) {
    faulty().short_ancestors().expect(-4);
}
TEST(Interpolate, AFieldOfOtherLengthIsRefused) {
    faulty().short_field().expect(-5);
}
TEST(Interpolate, AListOfMissingNodesIsRefused) {
    faulty().bad_list().expect(-6);
}

TEST(Interpolate, OfTwoFaultsTheFirstArgumentCounts) {
    faulty().three_rows().bad_node().expect(-1);
    faulty().bad_node().bad_neighbor().expect(-2);
    faulty().bad_neighbor().short_ancestors().expect(-3);
    faulty().short_ancestors().short_field().expect(-4);
    faulty().short_field().bad_list().expect(-5);
}

TEST(Interpolate, AFieldMayHaveNoComponents) {
    carried c(square_Q4(), {{0.5, 0.5}});
    c.field = dense2D<double>(0, 5);
    EXPECT_EQ(0, c.run());
}

// ----------------------------------------------------------------------------------- shared storage

TEST(Interpolate, PositionsThatAreTheFieldCountAsTheyAreOnEntry) {
    carried c({"grid", zel::ELEMENT_T3, grid_T3(5, 5)}, {{0.31, 0.42}, {0.33, 0.9}, {0.61, 0.17}},
              2);
    carried apart = c;
    apart.m.pos = fresh_copy(c.m.pos);
    apart.field = fresh_copy(c.m.pos);
    for (std::size_t k = 0; k < 36; ++k) // a twist, so that an orphan that has moved lies elsewhere
        apart.field(0, k) += 0.5 * apart.field(1, k);
    ASSERT_EQ(0, apart.run());

    // The same numbers, with the positions of the orphans in the columns that are overwritten.
    dense2D<double> both(4, c.m.pos.cols);
    for (std::size_t j = 0; j < both.cols; ++j) {
        both(0, j) = c.m.pos(0, j);
        both(1, j) = c.m.pos(1, j);
        both(2, j) = c.m.pos(0, j) + (j < 36 ? 0.5 * c.m.pos(1, j) : 0.0);
        both(3, j) = c.m.pos(1, j);
    }
    const dense2D<double> pos = both.sub_matrix(0, 0, 2, both.cols);
    dense2D<double> field = both.sub_matrix(0, 0, 4, both.cols);
    ASSERT_EQ(0, interpolate(pos, c.m.connect, c.m.neighbors, c.m.ancestors, field, c.nodes,
                             zel::ELEMENT_T3));
    for (const unsigned node : {36U, 37U, 38U}) {
        EXPECT_EQ(apart.field(0, node), both(2, node));
        EXPECT_EQ(apart.field(1, node), both(3, node));
    }
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(Interpolate, ExhaustedMemoryLeavesNodesAsTheyWereOrServesThem) {
    random_numbers random(6);
    std::vector<place> at;
    for (int i = 0; i < 5000; ++i) at.push_back({random.unit(), random.unit()});
    carried c(corner_mesh(), at);
    c.set([](const place& p, std::size_t) { return p[0] + p[1]; });
    carried whole = c;
    whole.field = fresh_copy(c.field);
    ASSERT_EQ(0, whole.run());
    fail_each_allocation([&](std::size_t k) {
        auto field = fresh_copy(c.field);
        arm_allocator(k);
        const int status = interpolate(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, field,
                                       c.nodes, c.m.type);
        disarm_allocator();
        EXPECT_EQ(0, status);
        for (std::size_t node = 0; node < 25; ++node) ASSERT_EQ(c.field(0, node), field(0, node));
        for (const unsigned node : c.nodes) {
            const double x = field(0, node);
            // Carried over, or untouched; with a thinned tree another node may be the closest.
            ASSERT_TRUE(x == whole.field(0, node) || x == -99.0 || (x >= 0 && x <= 2)) << x;
        }
    });
}

TEST(Interpolate, WithoutMemoryForACopyOfSharedPositionsNothingChanges) {
    carried c(square_Q4(), {{0.5, 0.5}});
    dense2D<double> field = c.m.pos;
    const auto before = snapshot(field);
    fail_for_good(true);
    arm_allocator(1);
    const int status = interpolate(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, field,
                                   c.nodes, zel::ELEMENT_Q4);
    disarm_allocator();
    fail_for_good(false);
    EXPECT_EQ(0, status);
    EXPECT_EQ(before, snapshot(field));
}

// ---------------------------------------------------------------------------------- local coordinates

TEST(LocalCoordsT3, NodesZeroAndOneAreExact) {
    const auto pos = points({{0.1, 0.3}, {7.7, 0.9}, {1.3, 9.1}});
    const unsigned cell[3] = {0, 1, 2};
    for (unsigned k = 0; k < 2; ++k) {
        place st{9, 9};
        EXPECT_GT(local_coords_T3(points2(pos), cell, place_of(pos, k), st), 0);
        EXPECT_EQ(k == 0 ? 1.0 : 0.0, st[0]);
        EXPECT_EQ(k == 1 ? 1.0 : 0.0, st[1]);
    }
}

TEST(LocalCoordsT3, APointWithOneEqualCoordinateIsNotTheNode) {
    const auto pos = points({{0.5, 1}, {0, 0}, {1, 0}});
    const unsigned cell[3] = {0, 1, 2};
    place st{9, 9};
    local_coords_T3(points2(pos), cell, {0.5, 0.5}, st);
    EXPECT_EQ(0.5, st[0]);
    EXPECT_EQ(0.25, st[1]);
    local_coords_T3(points2(pos), cell, {0.5, 1.5}, st);
    EXPECT_EQ(1.5, st[0]);
    EXPECT_EQ(-0.25, st[1]);
}

TEST(LocalCoordsT3, NodeTwoIsSolvedFor) {
    const auto pos = points({{0.1, 0.3}, {7.7, 0.9}, {1.3, 9.1}});
    const unsigned cell[3] = {0, 1, 2};
    place st{9, 9};
    local_coords_T3(points2(pos), cell, place_of(pos, 2), st);
    EXPECT_EQ(0.0, st[0]);
    EXPECT_EQ(0.0, st[1]);
}

TEST(LocalCoordsT3, ReturnsTwiceTheSignedArea) {
    const auto pos = points({{0, 0}, {3, 0}, {0, 2}});
    place st;
    const unsigned counterclockwise[3] = {0, 1, 2};
    const unsigned clockwise[3] = {0, 2, 1};
    EXPECT_EQ(6.0, local_coords_T3(points2(pos), counterclockwise, {1, 1}, st));
    EXPECT_EQ(-6.0, local_coords_T3(points2(pos), clockwise, {1, 1}, st));
}

TEST(LocalCoordsT3, ATriangleWithoutAreaGivesZerosExceptAtItsNodes) {
    const auto pos = points({{0, 0}, {1, 1}, {2, 2}});
    const unsigned cell[3] = {0, 1, 2};
    place st{9, 9};
    EXPECT_EQ(0.0, local_coords_T3(points2(pos), cell, {1.5, 1.5}, st));
    EXPECT_EQ(0.0, st[0]);
    EXPECT_EQ(0.0, st[1]);
    EXPECT_EQ(0.0, local_coords_T3(points2(pos), cell, {1, 1}, st));
    EXPECT_EQ(1.0, st[1]);
}

TEST(LocalCoordsT3, IsAccurateInNeedlesOfAnyOrientation) {
    random_numbers random(12);
    for (int i = 0; i < 2000; ++i) {
        const double thin = std::ldexp(1.0, -static_cast<int>(random.below(30)));
        const place needle[3] = {{0, 0}, {1, thin * random.unit()}, {random.unit(), thin}};
        dense2D<double> pos(2, 3);
        for (unsigned k = 0; k < 3; ++k)
            for (std::size_t r = 0; r < 2; ++r)
                pos(r, k) = needle[(k + static_cast<unsigned>(i)) % 3][r];
        const unsigned cell[3] = {0, 1, 2};
        const double s = random.unit();
        const double t = (1 - s) * random.unit();
        place p;
        for (std::size_t r = 0; r < 2; ++r)
            p[r] = s * pos(r, 0) + t * pos(r, 1) + (1 - s - t) * pos(r, 2);
        place st;
        const double area = std::abs(local_coords_T3(points2(pos), cell, p, st));
        // Coordinates of the rounded point, in extended precision.
        const auto x = [&](unsigned k) { return static_cast<long double>(pos(0, k)); };
        const auto y = [&](unsigned k) { return static_cast<long double>(pos(1, k)); };
        const long double det = (x(0) - x(2)) * (y(1) - y(2)) - (x(1) - x(2)) * (y(0) - y(2));
        const long double dx = p[0] - x(2), dy = p[1] - y(2);
        const long double exact_s = ((y(1) - y(2)) * dx - (x(1) - x(2)) * dy) / det;
        const long double exact_t = ((x(0) - x(2)) * dy - (y(0) - y(2)) * dx) / det;
        if (area == 0) continue;
        EXPECT_NEAR(0.0, static_cast<double>(st[0] - exact_s), 4e-15 / thin);
        EXPECT_NEAR(0.0, static_cast<double>(st[1] - exact_t), 4e-15 / thin);
    }
}

TEST(LocalCoordsQ4, CornersAndCentreOfASquareAreExact) {
    const auto g = unit_square();
    const place at[5] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0.5, 0.5}};
    const place expected[5] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {0, 0}};
    for (int k = 0; k < 5; ++k) {
        place uv{9, 9};
        local_coords_Q4(points2(g.pos), g.connect[0], at[k], uv);
        EXPECT_EQ(expected[k][0], uv[0]);
        EXPECT_EQ(expected[k][1], uv[1]);
    }
}

TEST(LocalCoordsQ4, ASingularJacobianAtTheCentreReturnsTheCentre) {
    const auto pos = points({{0, 0}, {1, 1}, {2, 2}, {3, 3}});
    const unsigned cell[4] = {0, 1, 2, 3};
    place uv{9, 9};
    local_coords_Q4(points2(pos), cell, {1, 0}, uv);
    EXPECT_EQ(0.0, uv[0]);
    EXPECT_EQ(0.0, uv[1]);
}

TEST(LocalCoordsQ4, InvertsTheBilinearMapOfConvexQuadrilaterals) {
    random_numbers random(13);
    for (int i = 0; i < 2000; ++i) {
        dense2D<double> pos(2, 4);
        const double corner[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
        for (unsigned k = 0; k < 4; ++k)
            for (std::size_t r = 0; r < 2; ++r)
                pos(r, k) = corner[k][r] + random.between(-0.3, 0.3);
        const unsigned cell[4] = {0, 1, 2, 3};
        const double u = random.between(-1, 1);
        const double v = random.between(-1, 1);
        const double weight[4] = {(1 - u) * (1 - v) / 4, (1 + u) * (1 - v) / 4,
                                  (1 + u) * (1 + v) / 4, (1 - u) * (1 + v) / 4};
        place p{0, 0};
        for (unsigned k = 0; k < 4; ++k)
            for (std::size_t r = 0; r < 2; ++r) p[r] += weight[k] * pos(r, k);
        place uv;
        local_coords_Q4(points2(pos), cell, p, uv);
        EXPECT_NEAR(u, uv[0], 1e-13) << i;
        EXPECT_NEAR(v, uv[1], 1e-13) << i;
    }
}

// With U = u + 2 the map is x = U + v, y = U v, and the point is where U = v = 1, which is node 3. Every
// step halves the way that is left.
TEST(LocalCoordsQ4, AtAStraightAngleTenStepsAreMade) {
    const auto pos = points({{0, -1}, {2, -3}, {4, 3}, {2, 1}});
    const unsigned cell[4] = {0, 1, 2, 3};
    place uv{9, 9};
    local_coords_Q4(points2(pos), cell, {2, 1}, uv);
    EXPECT_EQ(-1 + 0x1p-10, uv[0]);
    EXPECT_EQ(1 - 0x1p-10, uv[1]);
}

TEST(LocalCoordsQ4, EndsOnNaNAndInfinity) {
    auto g = unit_square();
    place uv;
    local_coords_Q4(points2(g.pos), g.connect[0], {nan, 0.5}, uv);
    EXPECT_TRUE(std::isnan(uv[0]));
    g.pos(0, 1) = infinity;
    local_coords_Q4(points2(g.pos), g.connect[0], {0.5, 0.5}, uv);
    EXPECT_FALSE(std::isinf(uv[0]));
}

// ---------------------------------------------------------------------------------------- properties

/// Carries a linear field onto points of every element.
void expect_linear_fields_reproduced(const adjacent_mesh& base, std::uint64_t seed,
                                     std::size_t points_per_element) {
    random_numbers random(seed);
    std::vector<place> at;
    for (std::size_t e = 0; e < base.connect.cols; ++e)
        for (std::size_t i = 0; i < points_per_element; ++i) {
            const unsigned n = corner_count(base.connect, e);
            double weight[4] = {};
            double sum = 0;
            for (unsigned k = 0; k < n; ++k) sum += weight[k] = random.unit();
            place p{0, 0};
            for (unsigned k = 0; k < n; ++k)
                for (std::size_t r = 0; r < 2; ++r)
                    p[r] += weight[k] / sum * base.pos(r, base.connect(k, e));
            at.push_back(p);
        }
    carried c(base, at, 2);
    const auto linear = [](const place& p, std::size_t i) {
        return i == 0 ? 3 * p[0] - 2 * p[1] + 1 : p[1] - 5 * p[0];
    };
    c.set(linear);
    ASSERT_EQ(0, c.run());
    double scale = 0;
    for (std::size_t node = 0; node < c.m.pos.cols; ++node)
        scale = std::max({scale, std::abs(c.m.pos(0, node)), std::abs(c.m.pos(1, node))});
    for (std::size_t k = 0; k < at.size(); ++k)
        for (std::size_t i = 0; i < 2; ++i)
            ASSERT_NEAR(linear(at[k], i), c.value(k, i), 1e-14 * (1 + 6 * scale))
                << base.name << " seed " << seed << " at " << at[k][0] << ", " << at[k][1];
}

TEST(Interpolate, LinearFieldsAreReproducedToRounding) {
    std::uint64_t seed = 100;
    for (const adjacent_mesh& base : assorted_meshes())
        expect_linear_fields_reproduced(base, ++seed, 4);
}

TEST(Interpolate, LongListsAreServedAsShortOnes) {
    // More than enough orphans to be served in another order than that of the list.
    for (const adjacent_mesh& base : assorted_meshes()) {
        random_numbers random(31);
        std::vector<place> at;
        for (int i = 0; i < 6000; ++i) at.push_back({random.between(0, 1.3), random.between(0, 3)});
        carried c(base, at, 2);
        c.set([](const place& p, std::size_t i) {
            return std::cos(5 * p[0] * static_cast<double>(i + 1)) + p[1];
        });
        carried in_parts = c;
        in_parts.field = fresh_copy(c.field);
        ASSERT_EQ(0, c.run());
        for (std::size_t first = 0; first < at.size(); first += 1000) {
            in_parts.nodes = c.nodes;
            in_parts.nodes.start = c.nodes.start + first;
            in_parts.nodes.size = 1000;
            ASSERT_EQ(0, in_parts.run());
        }
        EXPECT_EQ(snapshot(in_parts.field), snapshot(c.field)) << base.name;
    }
}

TEST(Interpolate, OfALongListThatNamesNodesOfTheMeshTooOnlyOrphansAreServed) {
    for (const adjacent_mesh& base : assorted_meshes()) {
        random_numbers random(32);
        std::vector<place> at;
        for (int i = 0; i < 5000; ++i) at.push_back({random.between(0, 1.3), random.between(0, 3)});
        carried c(base, at, 1);
        c.set([](const place& p, std::size_t) { return std::cos(5 * p[0]) + p[1]; });
        carried mixed = c;
        mixed.field = fresh_copy(c.field);
        mixed.nodes.resize(c.m.pos.cols);
        unsigned next = static_cast<unsigned>(c.m.pos.cols);
        for (unsigned& node : mixed.nodes) node = --next;
        ASSERT_GT(mixed.nodes.size, c.nodes.size);
        ASSERT_EQ(0, c.run());
        ASSERT_EQ(0, mixed.run());
        EXPECT_EQ(snapshot(c.field), snapshot(mixed.field)) << base.name;
    }
}

TEST(Interpolate, WithoutMemoryForACopyOfPositionsThatAreAFieldOfOneComponentNothingChanges) {
    carried c(square_Q4(), {{0.5, 0.5}});
    dense1D<double, 8> field;
    field.storage = c.m.pos.storage;
    field.size = c.m.pos.cols;
    const auto before = snapshot(c.m.pos);
    fail_for_good(true);
    arm_allocator(1);
    const int status = interpolate(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, field,
                                   c.nodes, zel::ELEMENT_Q4);
    EXPECT_TRUE(disarm_allocator());
    fail_for_good(false);
    EXPECT_EQ(0, status);
    EXPECT_EQ(before, snapshot(c.m.pos));
}

} // namespace
