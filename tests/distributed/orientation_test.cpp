// SPDX-License-Identifier: Apache-2.0
#include "zel/distributed/orientation.h"

#include "distributed/support.h"

#include "zel/host/adjacency.h"
#include "zel/tessel2d/orientation.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <random>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

void turn(whole_mesh& mesh, std::size_t e) {
    std::swap(mesh.connect(0, e), mesh.connect(2, e));
}

// A copy with some elements turned over.
whole_mesh disordered(const whole_mesh& mesh, unsigned seed) {
    whole_mesh out = mesh;
    out.connect = dense2D<unsigned>(mesh.connect.rows, mesh.connect.cols);
    std::copy(mesh.connect.begin(), mesh.connect.end(), out.connect.begin());
    std::mt19937 draw(seed);
    for (std::size_t e = 0; e < out.connect.cols; ++e)
        if (draw() % 2) turn(out, e);
    return out;
}

// Both meshes, the elements of the second one behind those of the first, or dealt out in turn.
whole_mesh both(const whole_mesh& a, const whole_mesh& b, bool in_turn) {
    whole_mesh out;
    out.name = a.name + " and " + b.name;
    out.pos = dense2D<double>(3, a.pos.cols + b.pos.cols, 0.0);
    const std::size_t rows = std::max(a.connect.rows, b.connect.rows);
    out.connect = dense2D<unsigned>(rows, a.connect.cols + b.connect.cols, no_node);
    std::size_t i = 0, j = 0, e = 0;
    while (e < out.connect.cols) {
        const bool first =
            i < a.connect.cols && (!in_turn || j == b.connect.cols || (i + j) % 2 == 0);
        const dense2D<unsigned>& from = first ? a.connect : b.connect;
        const std::size_t column = first ? i++ : j++;
        for (std::size_t k = 0; k < from.rows; ++k) {
            const unsigned node = from(k, column);
            const bool moved = !first && node != no_node;
            out.connect(k, e) = moved ? node + static_cast<unsigned>(a.pos.cols) : node;
        }
        ++e;
    }
    return out;
}

struct one_rank {
    dense2D<unsigned> connect;
    int turned = 0;
    int orientable = 1;
};

one_rank on_one_rank(const whole_mesh& mesh, unsigned seed, bool all) {
    one_rank out;
    host::adjacency beside;
    EXPECT_EQ(0, host::build_adjacency(mesh.connect, mesh.pos.cols, beside));
    host::orientation found;
    out.orientable = host::is_orientable(mesh.connect, beside.neighbors, found);
    out.connect = dense2D<unsigned>(mesh.connect.rows, mesh.connect.cols);
    std::copy(mesh.connect.begin(), mesh.connect.end(), out.connect.begin());
    if (mesh.connect.cols == 0) return out;
    out.turned = tessel2d::mesh_reorient(out.connect, beside.neighbors, seed, all);
    return out;
}

const whole_mesh& named(const char* name) {
    return *std::find_if(meshes().begin(), meshes().end(),
                         [&](const whole_mesh& mesh) { return mesh.name == name; });
}

void for_all_sharings(const whole_mesh& whole, const std::function<void(partitioned_mesh&)>& body) {
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(whole.name + ", " + by.name);
        partitioned_mesh mesh = parts_of(whole, by);
        body(mesh);
    }
}

void expect_as_on_one_rank(const whole_mesh& whole, unsigned seed, bool all) {
    const one_rank want = on_one_rank(whole, seed, all);
    for_all_sharings(whole, [&](partitioned_mesh& mesh) {
        reorientation got;
        EXPECT_EQ(0, mesh_reorient(mesh, seed, all, got));
        EXPECT_EQ(static_cast<number>(want.turned), got.turned);
        EXPECT_EQ(0U, got.one_sided);
        EXPECT_EQ(0U, got.conflicts);
        expect_whole(mesh, whole.pos, want.connect);
    });
}

} // namespace

TEST(DistributedReorient, TurnsWhatOneRankTurns) {
    for (const whole_mesh& mesh : meshes()) {
        if (mesh.name == "Moebius band") continue;
        expect_as_on_one_rank(disordered(mesh, 11), 0, true);
    }
}

TEST(DistributedReorient, TheSeedsOrientationHolds) {
    const whole_mesh mesh = disordered(named("shuffled mixed mesh"), 12);
    for (const unsigned seed : {17U, static_cast<unsigned>(mesh.connect.cols) - 1})
        expect_as_on_one_rank(mesh, seed, true);
}

TEST(DistributedReorient, LaterComponentsStartBehindTheSeedAndEarlierOnesStay) {
    const whole_mesh& first = named("shuffled triangles in space");
    const whole_mesh& second = named("shuffled mixed mesh");
    const auto behind = static_cast<unsigned>(first.connect.cols) + 3;
    expect_as_on_one_rank(disordered(both(first, second, false), 13), behind, true);
    expect_as_on_one_rank(disordered(both(first, second, true), 13), 100, true);
    expect_as_on_one_rank(disordered(both(first, second, true), 13), 101, false);
}

TEST(DistributedReorient, AComponentWithOneSideStaysAndIsCounted) {
    const whole_mesh whole =
        disordered(both(named("Moebius band"), named("shuffled triangles in space"), false), 14);
    EXPECT_EQ(0, on_one_rank(whole, 0, true).orientable);
    const auto band = static_cast<unsigned>(named("Moebius band").connect.cols);
    // What one rank does to the other component alone.
    const one_rank want = on_one_rank(whole, band, false);
    for_all_sharings(whole, [&](partitioned_mesh& mesh) {
        reorientation got;
        EXPECT_EQ(0, mesh_reorient(mesh, 0, true, got));
        EXPECT_EQ(static_cast<number>(want.turned), got.turned);
        EXPECT_EQ(1U, got.one_sided);
        expect_whole(mesh, whole.pos, want.connect);
        EXPECT_EQ(0, mesh_reorient(mesh, band, true, got));
        EXPECT_EQ(0U, got.turned);
        EXPECT_EQ(0U, got.one_sided); // never reached
    });
}

TEST(DistributedReorient, AQuadrilateralWithACornerTwiceIsAConflictThatIsMended) {
    // A row of three; the middle one has its first edge collapsed.
    whole_mesh whole;
    whole.name = "collapsed quadrilateral";
    whole.pos = dense2D<double>(2, 7, 0.0);
    whole.connect = dense2D<unsigned>(4, 3);
    const unsigned cells[3][4] = {{0, 1, 2, 3}, {1, 1, 4, 2}, {1, 5, 6, 4}};
    for (std::size_t e = 0; e < 3; ++e) std::copy_n(cells[e], 4, whole.connect[e]);
    EXPECT_GT(0, on_one_rank(whole, 2, true).turned);
    whole_mesh bad = disordered(whole, 0);
    std::copy(whole.connect.begin(), whole.connect.end(), bad.connect.begin());
    turn(bad, 2);
    for_all_sharings(bad, [&](partitioned_mesh& mesh) {
        reorientation got;
        EXPECT_EQ(0, mesh_reorient(mesh, 0, true, got));
        EXPECT_EQ(1U, got.turned);
        EXPECT_EQ(1U, got.conflicts);
        EXPECT_EQ(0U, got.one_sided);
        expect_whole(mesh, whole.pos, whole.connect);
    });
}

TEST(DistributedReorient, CopiesInAHaloTurnWithTheirElements) {
    const whole_mesh whole = disordered(named("shuffled mixed mesh"), 15);
    const one_rank want = on_one_rank(whole, 3, true);
    for_all_sharings(whole, [&](partitioned_mesh& mesh) {
        EXPECT_EQ(0, grow_halo(mesh, 2));
        reorientation got;
        EXPECT_EQ(0, mesh_reorient(mesh, 3, true, got));
        EXPECT_EQ(2U, mesh.halo);
        expect_sound(mesh);
        expect_whole(mesh, whole.pos, want.connect);
    });
}

TEST(DistributedReorient, RefusesWhatCannotBeOriented) {
    partitioned_mesh none;
    reorientation result{7, 7, 7};
    EXPECT_EQ(-1, mesh_reorient(none, 0, true, result));
    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[1]);
    EXPECT_EQ(-2, mesh_reorient(mesh, mesh.elements, true, result));
    EXPECT_EQ(7U, result.turned);

    whole_mesh holed = disordered(meshes()[0], 0);
    holed.connect(1, holed.connect.cols - 1) = no_node; // known to one rank alone
    mesh = parts_of(holed, sharings()[1]);
    EXPECT_EQ(-1, mesh_reorient(mesh, 0, true, result));
    EXPECT_EQ(7U, result.turned);
    whole_mesh lines;
    lines.pos = dense2D<double>(2, 3, 0.0);
    lines.connect = dense2D<unsigned>(2, 2, 1U);
    mesh = parts_of(lines, sharings()[0]);
    EXPECT_EQ(-1, mesh_reorient(mesh, 0, true, result));
}

TEST(DistributedReorient, MemoryThatFailsOnOneRankLeavesAllPartsAsTheyWere) {
    const whole_mesh whole = disordered(named("shuffled mixed mesh"), 16);
    const one_rank want = on_one_rank(whole, 0, true);
    const partitioned_mesh start = parts_of(whole, sharings()[2]);
    partitioned_mesh mesh;
    reorientation got;
    fail_each_allocation_on_one_rank(
        [&] {
            mesh = start;
            got = {5, 5, 5};
        },
        [&] { return mesh_reorient(mesh, 0, true, got); },
        [&] {
            expect_whole(mesh, whole.pos, whole.connect);
            EXPECT_EQ(5U, got.turned);
        },
        [&] {
            expect_whole(mesh, whole.pos, want.connect);
            EXPECT_EQ(static_cast<number>(want.turned), got.turned);
        });
}

TEST(DistributedReorient, TrafficGrowsWithTheBorder) {
    const auto bytes_for = [](unsigned n) {
        whole_mesh whole;
        whole.pos = dense2D<double>(2, std::size_t{n + 1} * (n + 1), 0.0);
        whole.connect = dense2D<unsigned>(4, std::size_t{n} * n);
        for (unsigned e = 0; e < n * n; ++e) {
            const unsigned a = e / n * (n + 1) + e % n, cell[4] = {a, a + 1, a + n + 2, a + n + 1};
            std::copy_n(cell, 4, whole.connect[e]);
        }
        partitioned_mesh mesh = parts_of(disordered(whole, 17), sharings()[1]);
        reset_traffic();
        reorientation result;
        EXPECT_EQ(0, mesh_reorient(mesh, 0, true, result));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    const double small = bytes_for(40), large = bytes_for(160);
    EXPECT_LE(large, 4.5 * small);
    EXPECT_EQ(ranks() == 1, large == 0);
}
