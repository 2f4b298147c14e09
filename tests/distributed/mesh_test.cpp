// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"
#include "support/failing_alloc.h"

#include "zel/distributed/mesh.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <set>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

// Numbers of the elements that a rank should hold: its own, and `layers` times those at their nodes.
std::set<number> elements_around(const whole_mesh& whole, const partitioned_mesh& own,
                                 unsigned layers) {
    std::set<number> held(own.element_numbers.begin(), own.element_numbers.end());
    for (unsigned layer = 0; layer < layers; ++layer) {
        std::set<unsigned> nodes;
        for (const number e : held)
            for (std::size_t i = 0; i < whole.connect.rows; ++i) nodes.insert(whole.connect(i, e));
        nodes.erase(no_node);
        for (std::size_t e = 0; e < whole.connect.cols; ++e)
            for (std::size_t i = 0; i < whole.connect.rows; ++i)
                if (nodes.count(whole.connect(i, e))) held.insert(e);
    }
    return held;
}

void expect_same(const partitioned_mesh& a, const partitioned_mesh& b) {
    EXPECT_EQ(a.halo, b.halo);
    EXPECT_TRUE(std::equal(a.element_numbers.begin(), a.element_numbers.end(),
                           b.element_numbers.begin(), b.element_numbers.end()));
    EXPECT_TRUE(std::equal(a.node_numbers.begin(), a.node_numbers.end(), b.node_numbers.begin(),
                           b.node_numbers.end()));
    EXPECT_TRUE(std::equal(a.connect.begin(), a.connect.end(), b.connect.begin(), b.connect.end()));
    EXPECT_TRUE(std::equal(a.pos.begin(), a.pos.end(), b.pos.begin(), b.pos.end()));
}

} // namespace

TEST(PartitionedMesh, PartsTogetherAreTheWholeHoweverItIsSharedOut) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        expect_sound(mesh);
        expect_whole(mesh, whole.pos, whole.connect);
        EXPECT_EQ(0U, mesh.halo);
    });
}

TEST(PartitionedMesh, EachLayerHoldsTheElementsAtTheNodesOfThePart) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        const partitioned_mesh own = mesh;
        for (unsigned layers = 1; layers <= 3; ++layers) {
            ASSERT_EQ(0, grow_halo(mesh, 1));
            expect_sound(mesh);
            expect_whole(mesh, whole.pos, whole.connect);
            EXPECT_EQ(layers, mesh.halo);
            const std::set<number> want = elements_around(whole, own, layers);
            EXPECT_TRUE(std::equal(want.begin(), want.end(), mesh.element_numbers.begin(),
                                   mesh.element_numbers.end()));
            partitioned_mesh at_once = own;
            ASSERT_EQ(0, grow_halo(at_once, layers));
            expect_same(mesh, at_once);
        }
        ASSERT_EQ(0, drop_halo(mesh));
        expect_same(mesh, own);
    });
}

TEST(PartitionedMesh, LayersWithoutEndStopWhereTheMeshDoes) {
    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[3]);
    ASSERT_EQ(0, grow_halo(mesh, 0xFFFFFFFFU));
    EXPECT_EQ(meshes()[0].connect.cols, mesh.connect.cols);
    ASSERT_EQ(0, grow_halo(mesh, 5));
    EXPECT_EQ(0xFFFFFFFFU, mesh.halo);
}

TEST(PartitionedMesh, GatheredOnAnyRankItIsTheWhole) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        const int root = ranks() / 2;
        dense2D<double> pos(1, 1, 7.0);
        dense2D<unsigned> connect;
        ASSERT_EQ(0, gather(mesh, root, pos, connect));
        if (rank() != root) {
            EXPECT_EQ(7.0, pos(0, 0));
            return;
        }
        ASSERT_EQ(whole.pos.cols, pos.cols);
        ASSERT_EQ(whole.connect.cols, connect.cols);
        EXPECT_TRUE(std::equal(pos.begin(), pos.end(), whole.pos.begin()));
        EXPECT_TRUE(std::equal(connect.begin(), connect.end(), whole.connect.begin()));
    });
}

TEST(PartitionedMesh, ACopyOfTheRecordStaysAsItIsWhenTheOtherGrows) {
    partitioned_mesh mesh = parts_of(meshes()[2], sharings()[6]);
    const partitioned_mesh before = mesh;
    const std::size_t elements = mesh.connect.cols;
    ASSERT_EQ(0, grow_halo(mesh, 2));
    EXPECT_EQ(elements, before.connect.cols);
    expect_sound(before);
}

TEST(PartitionedMesh, RefusesANullCommunicator) {
    partitioned_mesh mesh;
    dense2D<double> pos(2, 3, 0.0);
    dense2D<number> connect(3, 0);
    EXPECT_EQ(-1, from_blocks(MPI_COMM_NULL, pos, connect, mesh));
    EXPECT_EQ(-1, partition(mesh, partitioner::blocks));
    EXPECT_EQ(-1, redistribute(mesh, dense1D<int, 8>()));
    EXPECT_EQ(-1, grow_halo(mesh, 1));
    EXPECT_EQ(-1, drop_halo(mesh));
    dense2D<unsigned> whole;
    EXPECT_EQ(-1, gather(mesh, 0, pos, whole));
}

TEST(PartitionedMesh, RefusesBlocksThatDoNotFitOnAllRanksAlike) {
    const int last = ranks() - 1;
    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[0]);
    const partitioned_mesh before = mesh;
    const dense2D<double> pos(2, 3, 0.0);
    const dense2D<number> none(3, 0);
    // Only the last rank brings what cannot be used; all get the status.
    const dense2D<double> four_rows(rank() == last ? 4 : 2, 3, 0.0);
    EXPECT_EQ(-2, from_blocks(PETSC_COMM_WORLD, four_rows, none, mesh));
    const dense2D<number> names_no_node(3, 1,
                                        rank() == last ? static_cast<number>(3 * ranks()) : 0);
    EXPECT_EQ(-3, from_blocks(PETSC_COMM_WORLD, pos, names_no_node, mesh));
    if (ranks() > 1) {
        const dense2D<double> three_rows(rank() == last ? 3 : 2, 3, 0.0);
        EXPECT_EQ(-2, from_blocks(PETSC_COMM_WORLD, three_rows, none, mesh));
        const dense2D<number> other_rows(rank() == last ? 4 : 3, 1, number{0});
        EXPECT_EQ(-3, from_blocks(PETSC_COMM_WORLD, pos, other_rows, mesh));
    }
    expect_same(mesh, before);
}

TEST(PartitionedMesh, RefusesRanksThatDoNotExist) {
    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[0]);
    const partitioned_mesh before = mesh;
    dense1D<int, 8> to(mesh.connect.cols, 0);
    if (rank() == ranks() - 1) to[0] = ranks();
    EXPECT_EQ(-2, redistribute(mesh, to));
    if (rank() == ranks() - 1) to[0] = -1;
    EXPECT_EQ(-2, redistribute(mesh, to));
    if (rank() == ranks() - 1) to[0] = 0, to.push_back(0);
    EXPECT_EQ(-2, redistribute(mesh, to));
    expect_same(mesh, before);
}

// Memory fails on one rank alone: all ranks hear of it, and nothing has changed on any.
TEST(PartitionedMesh, MemoryThatFailsOnOneRankLeavesAllPartsAsTheyWere) {
    const partitioned_mesh start = parts_of(meshes()[1], sharings()[3]);
    const auto try_all = [&](const std::function<int(partitioned_mesh&)>& call) {
        partitioned_mesh mesh;
        fail_each_allocation_on_one_rank([&] { mesh = start; }, [&] { return call(mesh); },
                                         [&] { expect_same(mesh, start); });
    };
    try_all([](partitioned_mesh& mesh) { return grow_halo(mesh, 2); });
    try_all([](partitioned_mesh& mesh) { return partition(mesh, partitioner::blocks); });
    try_all([](partitioned_mesh& mesh) { return partition(mesh, partitioner::ptscotch); });
    try_all([](partitioned_mesh& mesh) { return drop_halo(mesh); });
    try_all([](partitioned_mesh& mesh) {
        const dense2D<double>& pos = meshes()[1].pos;
        dense2D<double> all;
        dense2D<unsigned> connect;
        const int status = gather(mesh, 0, all, connect);
        EXPECT_EQ(status == 0 && rank() == 0 ? pos.cols : 0, all.cols);
        return status;
    });
}

TEST(PartitionedMesh, TrafficOfAHaloGrowsWithTheBorder) {
    // A square of n x n cells in blocks of rows: the border has n cells, the mesh n * n.
    const auto bytes_for = [](unsigned n) {
        dense2D<double> pos(2, rank() == 0 ? std::size_t{n + 1} * (n + 1) : 0);
        for (std::size_t k = 0; k < pos.cols; ++k) {
            pos(0, k) = static_cast<double>(k % (n + 1));
            pos(1, k) = static_cast<double>(k / (n + 1));
        }
        dense2D<number> connect(4, rank() == 0 ? std::size_t{n} * n : 0);
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const number a = e / n * (n + 1) + e % n;
            connect(0, e) = a;
            connect(1, e) = a + 1;
            connect(2, e) = a + n + 2;
            connect(3, e) = a + n + 1;
        }
        partitioned_mesh mesh;
        EXPECT_EQ(0, from_blocks(PETSC_COMM_WORLD, pos, connect, mesh));
        EXPECT_EQ(0, partition(mesh, partitioner::blocks));
        reset_traffic();
        EXPECT_EQ(0, grow_halo(mesh, 1));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return most;
    };
    const double small = static_cast<double>(bytes_for(40)),
                 large = static_cast<double>(bytes_for(160));
    EXPECT_LE(large, 4.5 * small); // 16 times the cells, 4 times the border; nothing on one rank
    EXPECT_EQ(ranks() == 1, large == 0);
}
