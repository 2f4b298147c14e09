// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/normals.h"
#include "zel/tessel2d.h"

#include <cmath>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

const symmetric_fixed<double, 3> tensor{{1.5, 0.25, 2, -0.5, 0.125, 0.75}};

bool in_space(const whole_mesh& mesh) {
    return mesh.pos.rows == 3 && mesh.connect.cols != 0;
}

void for_all_surfaces(const std::function<void(const whole_mesh&, partitioned_mesh&)>& body) {
    for_all_parts([&](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (in_space(whole)) body(whole, mesh);
    });
}

// The columns of a table of all nodes that a part has.
dense2D<double> part_of(const dense2D<double>& table, const partitioned_mesh& mesh) {
    dense2D<double> part(table.rows, mesh.pos.cols);
    for (std::size_t k = 0; k < part.cols; ++k)
        for (std::size_t i = 0; i < part.rows; ++i) part(i, k) = table(i, mesh.node_numbers[k]);
    return part;
}

} // namespace

TEST(DistributedNormals, NodesHaveThoseOfOneRank) {
    for_all_surfaces([](const whole_mesh& whole, partitioned_mesh& mesh) {
        for (const double power : {0.0, 1.0, -0.5, 1.7976931348623157e308})
            for (const bool unit : {true, false}) {
                dense2D<double> N, expected;
                EXPECT_EQ(0, normals(mesh, power, unit, N));
                EXPECT_EQ(0, tessel2d::normals(whole.pos, whole.connect, power, unit, expected));
                expect_columns(N, mesh.node_numbers, expected);
            }
    });
}

TEST(DistributedNormals, ElementsHaveThoseOfOneRank) {
    for_all_surfaces([](const whole_mesh& whole, partitioned_mesh& mesh) {
        EXPECT_EQ(0, grow_halo(mesh, 1));
        for (const bool unit : {true, false}) {
            dense2D<double> N, expected;
            EXPECT_EQ(0, element_normals(mesh, unit, N));
            EXPECT_EQ(0, tessel2d::normals(whole.pos, whole.connect, unit, expected));
            expect_columns(N, mesh.element_numbers, expected);
        }
    });
}

TEST(DistributedNormals, NodesMoveAsOnOneRank) {
    for_all_surfaces([](const whole_mesh& whole, partitioned_mesh& mesh) {
        whole_mesh one = copy_of(whole);
        EXPECT_EQ(0, offset(mesh, 0.25));
        EXPECT_EQ(0, tessel2d::offset(one.pos, one.connect, 0.25));
        expect_whole(mesh, one.pos, one.connect);
        EXPECT_EQ(0, offset(mesh, tensor));
        EXPECT_EQ(0, tessel2d::offset(one.pos, one.connect, tensor));
        expect_whole(mesh, one.pos, one.connect);
        dense2D<double> vectors(3, one.pos.cols);
        for (std::size_t k = 0; k < 3 * vectors.cols; ++k)
            vectors.data()[k] = std::sin(static_cast<double>(k));
        EXPECT_EQ(0, offset(mesh, part_of(vectors, mesh), -2.0));
        EXPECT_EQ(0, tessel2d::offset(one.pos, one.connect, vectors, -2.0));
        expect_whole(mesh, one.pos, one.connect);
        EXPECT_EQ(0, offset(mesh, part_of(vectors, mesh), tensor));
        EXPECT_EQ(0, tessel2d::offset(one.pos, one.connect, vectors, tensor));
        expect_sound(mesh);
        expect_whole(mesh, one.pos, one.connect);
    });
}

TEST(DistributedNormals, CopiesAreThoseOfOneRank) {
    for_all_surfaces([](const whole_mesh& whole, partitioned_mesh& mesh) {
        dense2D<double> vectors(3, whole.pos.cols);
        for (std::size_t k = 0; k < 3 * vectors.cols; ++k)
            vectors.data()[k] = std::cos(static_cast<double>(k));
        const auto compare = [&](const auto& in_parts, const auto& on_one_rank) {
            whole_mesh one = copy_of(whole);
            partitioned_mesh copy;
            EXPECT_EQ(0, in_parts(copy));
            EXPECT_EQ(0, on_one_rank(one));
            expect_sound(copy);
            expect_whole(copy, one.pos, one.connect);
        };
        compare([&](partitioned_mesh& copy) { return copy_with_offset(mesh, 0.5, copy); },
                [](whole_mesh& one) {
                    return tessel2d::copy_with_offset(one.pos, one.connect, 0.5, one.connect);
                });
        compare([&](partitioned_mesh& copy) { return copy_with_offset(mesh, tensor, copy); },
                [](whole_mesh& one) {
                    return tessel2d::copy_with_offset(one.pos, one.connect, tensor, one.connect);
                });
        compare(
            [&](partitioned_mesh& copy) {
                return copy_with_offset(mesh, part_of(vectors, mesh), 3.0, copy);
            },
            [&](whole_mesh& one) {
                return tessel2d::copy_with_offset(one.pos, one.connect, vectors, 3.0, one.connect);
            });
        compare(
            [&](partitioned_mesh& copy) {
                return copy_with_offset(mesh, part_of(vectors, mesh), tensor, copy);
            },
            [&](whole_mesh& one) {
                return tessel2d::copy_with_offset(one.pos, one.connect, vectors, tensor,
                                                  one.connect);
            });
    });
}

TEST(DistributedNormals, ACopyMayTakeThePlaceOfItsOriginal) {
    const whole_mesh& whole = meshes()[1];
    partitioned_mesh mesh = parts_of(whole, sharings()[3]);
    whole_mesh one = copy_of(whole);
    EXPECT_EQ(0, grow_halo(mesh, 1));
    EXPECT_EQ(0, copy_with_offset(mesh, 0.5, mesh));
    EXPECT_EQ(0, tessel2d::copy_with_offset(one.pos, one.connect, 0.5, one.connect));
    EXPECT_EQ(0U, mesh.halo);
    expect_whole(mesh, one.pos, one.connect);
}

TEST(DistributedNormals, RefusesWhatIsNoSurfaceInSpace) {
    partitioned_mesh none, planar = parts_of(meshes()[0], sharings()[0]), copy;
    dense2D<double> N(1, 1, 7.0);
    for (const partitioned_mesh* mesh : {&none, &planar}) {
        partitioned_mesh moved = *mesh;
        EXPECT_EQ(-1, normals(*mesh, 1, true, N));
        EXPECT_EQ(-1, element_normals(*mesh, true, N));
        EXPECT_EQ(-1, offset(moved, 1.0));
        EXPECT_EQ(-1, offset(moved, tensor));
        EXPECT_EQ(-1, offset(moved, N, 1.0));
        EXPECT_EQ(-1, offset(moved, N, tensor));
        EXPECT_EQ(-1, copy_with_offset(*mesh, 1.0, copy));
        EXPECT_EQ(-1, copy_with_offset(*mesh, tensor, copy));
        EXPECT_EQ(-1, copy_with_offset(*mesh, N, 1.0, copy));
        EXPECT_EQ(-1, copy_with_offset(*mesh, N, tensor, copy));
    }
    EXPECT_EQ(7.0, N(0, 0));
}

TEST(DistributedNormals, RefusesVectorsThatSuitAllRanksButOne) {
    partitioned_mesh mesh = parts_of(meshes()[1], sharings()[3]), copy;
    dense2D<double> N(3, mesh.pos.cols + (rank() == ranks() - 1), 0.5);
    EXPECT_EQ(-2, offset(mesh, N, 1.0));
    EXPECT_EQ(-2, offset(mesh, N, tensor));
    EXPECT_EQ(-2, copy_with_offset(mesh, N, 1.0, copy));
    EXPECT_EQ(-2, copy_with_offset(mesh, N, tensor, copy));
    expect_whole(mesh, meshes()[1].pos, meshes()[1].connect);
}

TEST(DistributedNormals, MemoryThatFailsOnOneRankLeavesAllOutputs) {
    const partitioned_mesh start = parts_of(meshes()[4], sharings()[3]);
    dense2D<double> N;
    fail_each_allocation_on_one_rank([&] { N = dense2D<double>(1, 1, 7.0); },
                                     [&] { return normals(start, 1, true, N); },
                                     [&] { EXPECT_EQ(7.0, N(0, 0)); });
    fail_each_allocation_on_one_rank([&] { N = dense2D<double>(1, 1, 7.0); },
                                     [&] { return element_normals(start, true, N); },
                                     [&] { EXPECT_EQ(7.0, N(0, 0)); });
    partitioned_mesh mesh;
    const auto unchanged = [&] { expect_whole(mesh, meshes()[4].pos, meshes()[4].connect); };
    fail_each_allocation_on_one_rank([&] { mesh = start; }, [&] { return offset(mesh, 0.5); },
                                     unchanged);
    fail_each_allocation_on_one_rank([&] { mesh = start; },
                                     [&] { return copy_with_offset(mesh, 0.5, mesh); }, unchanged);
}
