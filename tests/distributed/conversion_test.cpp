// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"
#include "support/failing_alloc.h"

#include "zel/distributed/conversion.h"
#include "zel/tessel2d.h"

#include <petscsys.h>

#include <algorithm>
#include <functional>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

struct order {
    unsigned a, b, c;
};
constexpr order orders[] = {{1, 1, 0}, {1, 0, 0}, {1, 1, 1}, {2, 4, 1}, {3, 9, 3}, {2, 0, 3}};

// Some edges of a mesh get nodes of their own behind the present ones: each fifth side of an element, one in
// three of them turned over, and the first once more, with other nodes and in the other direction.
dense2D<unsigned> give_edges(whole_mesh& mesh, unsigned a) {
    dense2D<unsigned> edges(a + 2, 0);
    std::size_t side = 0;
    const auto give = [&](unsigned u, unsigned v) {
        const std::size_t n = mesh.pos.cols;
        edges.resize(a + 2, edges.cols + 1);
        edges(0, edges.cols - 1) = u;
        edges(1, edges.cols - 1) = v;
        mesh.pos.resize(mesh.pos.rows, n + a);
        for (unsigned i = 0; i < a; ++i) {
            edges(2 + i, edges.cols - 1) = static_cast<unsigned>(n + i);
            for (std::size_t k = 0; k < mesh.pos.rows; ++k)
                mesh.pos(k, n + i) = 0.5 * (mesh.pos(k, u) + mesh.pos(k, v)) + 0.01 * (i + 1);
        }
    };
    for (std::size_t e = 0; e < mesh.connect.cols; ++e) {
        const unsigned corners = mesh.connect.rows == 4 && mesh.connect(3, e) != no_node ? 4 : 3;
        for (unsigned k = 0; k < corners; ++k)
            if (side++ % 5 == 2) {
                const unsigned u = mesh.connect(k, e), v = mesh.connect((k + 1) % corners, e);
                side % 3 == 0 ? give(v, u) : give(u, v);
            }
    }
    if (edges.cols != 0) give(edges(1, 0), edges(0, 0));
    return edges;
}

void expect_same(const partitioned_mesh& a, const partitioned_mesh& b) {
    EXPECT_EQ(a.nodes, b.nodes);
    EXPECT_EQ(a.elements, b.elements);
    EXPECT_EQ(a.pos.cols, b.pos.cols);
    EXPECT_TRUE(std::equal(a.connect.begin(), a.connect.end(), b.connect.begin(), b.connect.end()));
}

// Makes each allocation of one rank fail in turn.
void fail_on_one_rank(const whole_mesh& whole, const std::function<int(partitioned_mesh&)>& call) {
    const partitioned_mesh start = parts_of(whole, sharings()[3]);
    partitioned_mesh mesh;
    fail_each_allocation_on_one_rank([&] { mesh = start; }, [&] { return call(mesh); },
                                     [&] { expect_same(mesh, start); });
}

} // namespace

TEST(DistributedConversion, RaisedElementsAndNodesAreThoseOfOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        // Many ranks take their time: each mesh in parts tries two of the orders there.
        static std::size_t turn = 0;
        const std::size_t tries = ranks() > 4 ? 2 : std::size(orders);
        for (std::size_t i = 0; i < tries; ++i) {
            const order& o = orders[turn++ % std::size(orders)];
            SCOPED_TRACE(testing::Message() << o.a << ", " << o.b << ", " << o.c);
            whole_mesh one = copy_of(whole);
            partitioned_mesh parts = mesh;
            EXPECT_EQ(0, convert_into_high_order(parts, o.a, o.b, o.c, dense2D<number>()));
            expect_sound(parts);
            if (whole.connect.cols == 0) continue; // the library empties the connectivity
            ASSERT_EQ(0, tessel2d::convert_into_high_order(one.pos, one.connect, o.a, o.b, o.c,
                                                           dense2D<unsigned>()));
            expect_whole(parts, one.pos, one.connect);
        }
    });
}

TEST(DistributedConversion, AHaloMakesNoDifference) {
    const whole_mesh& whole = meshes()[3];
    whole_mesh one = copy_of(whole);
    ASSERT_EQ(0, tessel2d::convert_into_quadratic(one.pos, one.connect));
    for (const sharing& by : sharings()) {
        partitioned_mesh mesh = parts_of(whole, by);
        EXPECT_EQ(0, grow_halo(mesh, 2));
        EXPECT_EQ(0, convert_into_quadratic(mesh));
        EXPECT_EQ(0U, mesh.halo);
        expect_whole(mesh, one.pos, one.connect);
    }
}

TEST(DistributedConversion, GivenEdgesKeepTheirNodes) {
    for (const whole_mesh& whole : meshes())
        for (const unsigned a : {1U, 2U, 3U}) {
            whole_mesh one = copy_of(whole);
            const dense2D<unsigned> edges = give_edges(one, a);
            if (edges.cols == 0) continue;
            const whole_mesh start = copy_of(one);
            ASSERT_EQ(0,
                      tessel2d::convert_into_high_order(one.pos, one.connect, a, a * a, 1, edges));
            for (const sharing& by : sharings()) {
                SCOPED_TRACE(testing::Message() << whole.name << ", " << by.name << ", a = " << a);
                partitioned_mesh mesh = parts_of(start, by);
                EXPECT_EQ(0, convert_into_high_order(mesh, a, a * a, 1, run_of(edges)));
                expect_sound(mesh);
                expect_whole(mesh, one.pos, one.connect);
            }
        }
}

TEST(DistributedConversion, QuadraticElementsAreLoweredAndCutAsOnOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (whole.connect.cols == 0) return;
        whole_mesh one = copy_of(whole);
        EXPECT_EQ(0, convert_into_quadratic(mesh));
        EXPECT_EQ(0, tessel2d::convert_into_quadratic(one.pos, one.connect));
        EXPECT_EQ(0, grow_halo(mesh, 1));
        partitioned_mesh cut = mesh;
        EXPECT_EQ(0, split_into_linear(cut));
        dense2D<unsigned> pieces;
        EXPECT_EQ(0, tessel2d::split_into_linear(one.connect, pieces));
        expect_sound(cut);
        expect_whole(cut, one.pos, pieces);

        EXPECT_EQ(0, flip(mesh, ELEMENT_FACE));
        EXPECT_EQ(0, tessel2d::flip(one.connect, ELEMENT_FACE));
        expect_whole(mesh, one.pos, one.connect);

        EXPECT_EQ(0, convert_into_linear(mesh));
        EXPECT_EQ(0, tessel2d::convert_into_linear(one.connect));
        expect_sound(mesh);
        expect_whole(mesh, one.pos, one.connect);
    });
}

TEST(DistributedConversion, AllQuadrilateralMeshesAreThoseOfOneRank) {
    for (const whole_mesh& whole : meshes()) {
        if (whole.connect.cols == 0) continue;
        for (const bool given : {false, true}) {
            whole_mesh one = copy_of(whole);
            dense2D<unsigned> edges;
            if (given) edges = give_edges(one, 1);
            const whole_mesh start = copy_of(one);
            dense2D<unsigned> quads;
            ASSERT_EQ(0, tessel2d::split_into_Q4(one.pos, one.connect, quads, edges));
            for (const sharing& by : sharings()) {
                SCOPED_TRACE(whole.name + ", " + by.name);
                partitioned_mesh mesh = parts_of(start, by);
                EXPECT_EQ(0, split_into_Q4(mesh, run_of(edges)));
                expect_sound(mesh);
                expect_whole(mesh, one.pos, quads);
            }
        }
    }
}

TEST(DistributedConversion, QuadrilateralsAreCutAsOnOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        for (const diagonal by : {diagonal::first, diagonal::better}) {
            partitioned_mesh parts = mesh;
            number cut = 77;
            EXPECT_EQ(0, split_Q4_into_T3(parts, by, cut));
            expect_sound(parts);
            dense2D<unsigned> triangles;
            const int expected =
                by == diagonal::first
                    ? tessel2d::split_Q4_into_T3(whole.connect, triangles)
                    : tessel2d::split_Q4_into_T3(whole.pos, whole.connect, triangles);
            EXPECT_EQ(static_cast<number>(expected), cut);
            expect_whole(parts, whole.pos, triangles);
        }
    });
}

TEST(DistributedConversion, BadQuadrilateralsAreCutAsOnOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (whole.connect.rows != 4) return;
        for (const int criterion : {0, 1, 2, 3, 4, 5, 6}) {
            partitioned_mesh parts = mesh;
            number cut = 77;
            EXPECT_EQ(0, split_Q4_into_T3(parts, 0.9, 0.8, 0.99, criterion, cut));
            expect_sound(parts);
            dense1D<unsigned, 8> kept, split;
            dense2D<unsigned> out;
            const int expected = tessel2d::split_Q4_into_T3(whole.pos, whole.connect, 0.9, 0.8,
                                                            0.99, criterion, kept, split, out);
            EXPECT_EQ(static_cast<number>(expected), cut);
            expect_whole(parts, whole.pos, out);
        }
    });
}

TEST(DistributedConversion, RefusesAMeshWithoutCommunicator) {
    partitioned_mesh mesh;
    number cut = 5;
    EXPECT_EQ(-1, convert_into_high_order(mesh, 1, 1, 0, dense2D<number>()));
    EXPECT_EQ(-1, convert_into_quadratic(mesh));
    EXPECT_EQ(-1, convert_into_linear(mesh));
    EXPECT_EQ(-1, split_into_linear(mesh));
    EXPECT_EQ(-1, split_into_Q4(mesh, dense2D<number>()));
    EXPECT_EQ(-1, split_Q4_into_T3(mesh, diagonal::first, cut));
    EXPECT_EQ(-1, split_Q4_into_T3(mesh, 0.5, 0.5, 0.5, 1, cut));
    EXPECT_EQ(-1, flip(mesh, ELEMENT_FACE));
    EXPECT_EQ(5U, cut);
}

TEST(DistributedConversion, RefusesOtherRowsAndLeavesTheMesh) {
    partitioned_mesh linear = parts_of(meshes()[0], sharings()[3]);
    const partitioned_mesh before = linear;
    number cut = 5;
    EXPECT_EQ(-1, convert_into_linear(linear));
    EXPECT_EQ(-1, split_into_linear(linear));
    EXPECT_EQ(-1, split_Q4_into_T3(linear, 0.5, 0.5, 0.5, 1, cut));
    EXPECT_EQ(-2, flip(linear, ELEMENT_Q8));
    expect_same(linear, before);
    partitioned_mesh quadratic = linear;
    ASSERT_EQ(0, convert_into_quadratic(quadratic));
    EXPECT_EQ(-1, convert_into_quadratic(quadratic));
    EXPECT_EQ(-1, split_into_Q4(quadratic, dense2D<number>()));
    EXPECT_EQ(-1, split_Q4_into_T3(quadratic, diagonal::better, cut));
}

TEST(DistributedConversion, RefusesNumbersOfNodesInTheOrderOfTheArguments) {
    partitioned_mesh mesh = parts_of(meshes()[3], sharings()[3]);
    const partitioned_mesh before = mesh;
    const dense2D<number> none;
    EXPECT_EQ(-2, convert_into_high_order(mesh, 0, 2, 2, none));
    EXPECT_EQ(-3, convert_into_high_order(mesh, 1, 2, 2, none));
    EXPECT_EQ(-4, convert_into_high_order(mesh, 1, 1, 2, none));
    EXPECT_EQ(-4, convert_into_high_order(mesh, 1, 1, 4, none));
    EXPECT_EQ(0, convert_into_high_order(mesh, 0, 0, 0, none));
    // Given edges that only the last rank brings.
    const bool last = rank() == ranks() - 1;
    const dense2D<number> other_rows(last ? 4 : 0, last ? 1 : 0, number{0});
    EXPECT_EQ(-5, convert_into_high_order(mesh, 1, 1, 0, other_rows));
    dense2D<number> no_such_node(last ? 3 : 0, last ? 1 : 0, mesh.nodes);
    EXPECT_EQ(-5, convert_into_high_order(mesh, 1, 1, 0, no_such_node));
    EXPECT_EQ(-2, split_into_Q4(mesh, no_such_node));
    dense2D<number> too_long(last ? 4 : 0, last ? 1 : 0, mesh.nodes - 1);
    EXPECT_EQ(-5, convert_into_high_order(mesh, 2, 1, 0, too_long));
    expect_same(mesh, before);
}

TEST(DistributedConversion, AMissingCornerIsRefusedOnAllRanks) {
    whole_mesh broken = copy_of(meshes()[0]);
    broken.connect(1, broken.connect.cols / 2) = no_node;
    partitioned_mesh mesh = parts_of(broken, sharings()[0]);
    EXPECT_EQ(-1, convert_into_quadratic(mesh));
    number cut = 0;
    EXPECT_EQ(-1, split_Q4_into_T3(mesh, diagonal::better, cut));
}

TEST(DistributedConversion, MemoryThatFailsOnOneRankLeavesAllPartsAsTheyWere) {
    whole_mesh curved = copy_of(meshes()[4]);
    const dense2D<number> run = run_of(give_edges(curved, 1));
    number cut = 0;
    fail_on_one_rank(curved,
                     [&](partitioned_mesh& mesh) { return convert_into_quadratic(mesh, run); });
    fail_on_one_rank(curved, [&](partitioned_mesh& mesh) { return split_into_Q4(mesh, run); });
    fail_on_one_rank(curved, [&](partitioned_mesh& mesh) {
        return split_Q4_into_T3(mesh, 0.9, 0.9, 0.9, 1, cut);
    });
    fail_on_one_rank(curved, [&](partitioned_mesh& mesh) {
        return split_Q4_into_T3(mesh, diagonal::better, cut);
    });
    fail_on_one_rank(curved, [&](partitioned_mesh& mesh) { return flip(mesh, ELEMENT_FACE); });
    whole_mesh quadratic = copy_of(meshes()[4]);
    ASSERT_EQ(0, tessel2d::convert_into_quadratic(quadratic.pos, quadratic.connect));
    fail_on_one_rank(quadratic, [](partitioned_mesh& mesh) { return split_into_linear(mesh); });
    fail_on_one_rank(quadratic, [](partitioned_mesh& mesh) { return convert_into_linear(mesh); });
}
