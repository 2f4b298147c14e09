// SPDX-License-Identifier: Apache-2.0
#include "zel/distributed/merge.h"

#include "distributed/support.h"

#include "zel/tessel.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;
constexpr double infinity = std::numeric_limits<double>::infinity();

// Each element gets nodes of its own, numbered at random and moved by up to `jitter`.
whole_mesh torn_apart(const whole_mesh& mesh, double jitter, unsigned seed) {
    std::mt19937 draw(seed);
    std::vector<unsigned> numbers;
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            if (mesh.connect(i, e) != no_node)
                numbers.push_back(static_cast<unsigned>(numbers.size()));
    std::shuffle(numbers.begin(), numbers.end(), draw);
    whole_mesh out;
    out.name = mesh.name + " torn apart";
    out.pos = dense2D<double>(mesh.pos.rows, numbers.size());
    out.connect = dense2D<unsigned>(mesh.connect.rows, mesh.connect.cols, no_node);
    std::size_t next = 0;
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
            if (mesh.connect(i, e) == no_node) continue;
            const unsigned node = numbers[next++];
            out.connect(i, e) = node;
            for (std::size_t k = 0; k < out.pos.rows; ++k)
                out.pos(k, node) = mesh.pos(k, mesh.connect(i, e)) +
                                   jitter * (static_cast<double>(draw() % 2001) / 1000 - 1);
        }
    return out;
}

void expect_as_on_one_rank(const whole_mesh& whole, double tolerance, number first_node = 0) {
    const whole_mesh fused = copy_of(whole);
    dense2D<unsigned> entries = fused.connect;
    EXPECT_EQ(0, tessel::merge(fused.pos, entries, tolerance, 0));
    whole_mesh left = copy_of(fused);
    EXPECT_EQ(0, tessel::simplify(left.pos, left.connect, static_cast<unsigned>(first_node)));
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(whole.name + ", " + by.name);
        partitioned_mesh mesh = parts_of(whole, by);
        EXPECT_EQ(0, merge(mesh, tolerance));
        expect_sound(mesh);
        expect_whole(mesh, fused.pos, fused.connect);
        EXPECT_EQ(0, simplify(mesh, first_node));
        expect_sound(mesh);
        expect_whole(mesh, left.pos, left.connect);
    }
}

} // namespace

TEST(DistributedMerge, FusesWhatOneRankFuses) {
    expect_as_on_one_rank(torn_apart(meshes()[0], 1e-10, 1), 1e-8);
    expect_as_on_one_rank(torn_apart(meshes()[3], 1e-10, 2), 1e-8);
    expect_as_on_one_rank(torn_apart(meshes()[5], 1e-10, 3), 1e-8);
}

TEST(DistributedMerge, ChainsThatCrossManyBordersAreCutWhereOneRankCutsThem) {
    expect_as_on_one_rank(torn_apart(meshes()[0], 0.02, 4), 0.06);
    expect_as_on_one_rank(torn_apart(meshes()[1], 0.05, 5), 0.13);
}

TEST(DistributedMerge, NodesOfNoElementCount) {
    whole_mesh mesh = copy_of(meshes()[4]);
    for (std::size_t k = 0; k + 1 < mesh.pos.cols; k += 3)
        for (std::size_t i = 0; i < 3; ++i) mesh.pos(i, k + 1) = mesh.pos(i, k);
    expect_as_on_one_rank(mesh, 1e-6, mesh.pos.cols / 3);
}

TEST(DistributedMerge, ZeroNegativeAndNaNFuseEqualCoordinatesOnly) {
    whole_mesh mesh = torn_apart(meshes()[7], 0, 6);
    for (unsigned k = 0; k < mesh.pos.cols; ++k) mesh.pos(0, k) = k % 2 ? 0.0 : -0.0;
    mesh.pos(1, 3) = std::nextafter(mesh.pos(1, 1), 1.0);
    for (const double tolerance : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        expect_as_on_one_rank(mesh, tolerance);
}

TEST(DistributedMerge, CrowdsAndCoordinatesThatAreNotFinite) {
    whole_mesh mesh = torn_apart(meshes()[2], 0, 7);
    for (std::size_t k = 0; k < mesh.pos.cols; k += 2)
        for (std::size_t i = 0; i < 3; ++i)
            mesh.pos(i, k) = 0.25 + 1e-9 * static_cast<double>(k % 7); // half of all at one place
    mesh.pos(0, 5) = std::numeric_limits<double>::quiet_NaN();
    mesh.pos(0, 7) = mesh.pos(0, 9) = infinity;
    mesh.pos(1, 7) = mesh.pos(1, 9) = mesh.pos(2, 7) = mesh.pos(2, 9) = 1;
    mesh.pos(2, 11) = -infinity;
    mesh.pos(1, 13) = 1e300;
    expect_as_on_one_rank(mesh, 2.5e-9);
    expect_as_on_one_rank(mesh, infinity);
}

TEST(DistributedMerge, LeavesAMeshWithoutCoincidentNodesAndNoElements) {
    expect_as_on_one_rank(meshes()[1], 1e-9);
    expect_as_on_one_rank(meshes().back(), 1e-9, 2);
}

TEST(DistributedSimplify, KeepsTheHaloAndTheNodesInFront) {
    const whole_mesh& whole = meshes()[4];
    for (const number first : {number{0}, number{10}}) {
        whole_mesh left = copy_of(whole);
        EXPECT_EQ(0, tessel::simplify(left.pos, left.connect, static_cast<unsigned>(first)));
        for (const sharing& by : sharings()) {
            partitioned_mesh mesh = parts_of(whole, by);
            EXPECT_EQ(0, grow_halo(mesh, 1));
            EXPECT_EQ(0, simplify(mesh, first));
            EXPECT_EQ(1U, mesh.halo);
            expect_sound(mesh);
            expect_whole(mesh, left.pos, left.connect);
        }
    }
    partitioned_mesh mesh = parts_of(whole, sharings()[0]);
    EXPECT_EQ(0, simplify(mesh, mesh.nodes));
    expect_whole(mesh, whole.pos, whole.connect);
}

TEST(DistributedMerge, RefusesANullCommunicator) {
    partitioned_mesh none;
    EXPECT_EQ(-1, merge(none, 1e-9));
    EXPECT_EQ(-1, simplify(none, 0));
}

TEST(DistributedMerge, MemoryThatFailsOnOneRankLeavesAllPartsAsTheyWere) {
    const whole_mesh whole = torn_apart(meshes()[3], 1e-10, 8);
    whole_mesh fused = copy_of(whole);
    EXPECT_EQ(0, tessel::merge(fused.pos, fused.connect, 1e-8, 0));
    whole_mesh left = copy_of(fused);
    EXPECT_EQ(0, tessel::simplify(left.pos, left.connect, 0));
    const partitioned_mesh start = parts_of(whole, sharings()[2]);
    const auto try_all = [&](const whole_mesh& before, const whole_mesh& after,
                             const partitioned_mesh& from,
                             const std::function<int(partitioned_mesh&)>& call) {
        partitioned_mesh mesh;
        fail_each_allocation_on_one_rank([&] { mesh = from; }, [&] { return call(mesh); },
                                         [&] { expect_whole(mesh, before.pos, before.connect); },
                                         [&] { expect_whole(mesh, after.pos, after.connect); });
    };
    try_all(whole, fused, start, [](partitioned_mesh& mesh) { return merge(mesh, 1e-8); });
    partitioned_mesh merged = start;
    EXPECT_EQ(0, merge(merged, 1e-8));
    try_all(fused, left, merged, [](partitioned_mesh& mesh) { return simplify(mesh, 0); });
}

TEST(DistributedMerge, TrafficGrowsWithTheBorder) {
    // A square of n x n cells torn apart, in blocks of rows.
    const auto bytes_for = [](unsigned n) {
        whole_mesh whole;
        whole.pos = dense2D<double>(2, std::size_t{4} * n * n);
        whole.connect = dense2D<unsigned>(4, std::size_t{n} * n);
        for (unsigned e = 0; e < n * n; ++e)
            for (unsigned i = 0; i < 4; ++i) {
                whole.connect(i, e) = 4 * e + i;
                whole.pos(0, 4 * e + i) = e % n + (i == 1 || i == 2);
                whole.pos(1, 4 * e + i) = e / n + (i >= 2);
            }
        partitioned_mesh mesh = parts_of(whole, sharings()[1]);
        reset_traffic();
        EXPECT_EQ(0, merge(mesh, 1e-9));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    const double small = bytes_for(30), large = bytes_for(120);
    EXPECT_LE(large, 6 * small); // 16 times the cells, 4 times the border
}
