// SPDX-License-Identifier: Apache-2.0
#include "zel/distributed/curvatures.h"

#include "distributed/support.h"

#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double infinity = std::numeric_limits<double>::infinity();

struct settings {
    double radius;
    double max_angle = pi;
    unsigned max_elements = 1000;
};

dense2D<double> on_one_rank(const whole_mesh& mesh, const settings& how,
                            const dense2D<unsigned>& hard) {
    host::adjacency beside;
    EXPECT_EQ(0, host::build_adjacency(mesh.connect, mesh.pos.cols, beside));
    dense2D<double> out;
    EXPECT_EQ(0,
              tessel2d::principal_curvatures(mesh.pos, mesh.connect, beside.neighbors, how.radius,
                                             how.max_angle, how.max_elements, hard, out));
    return out;
}

// The hard edges that a rank names: those whose element number, as it were, is its own share.
dense2D<unsigned> share_of(const partitioned_mesh& mesh, const dense2D<unsigned>& hard) {
    dense2D<unsigned> mine(2, 0);
    const auto local = [&](unsigned node) {
        const auto& all = mesh.node_numbers;
        const auto at = std::lower_bound(all.begin(), all.end(), node);
        return at != all.end() && *at == node ? static_cast<unsigned>(at - all.begin())
                                              : 0xFFFFFFFFU;
    };
    for (std::size_t j = 0; j < hard.cols; ++j) {
        const unsigned a = local(hard(0, j)), b = local(hard(1, j));
        if (a == 0xFFFFFFFFU || b == 0xFFFFFFFFU) continue;
        mine.resize(2, mine.cols + 1);
        mine(0, mine.cols - 1) = b;
        mine(1, mine.cols - 1) = a;
    }
    return mine;
}

void expect_as_on_one_rank(const whole_mesh& whole, const settings& how,
                           const dense2D<unsigned>& hard = dense2D<unsigned>(2, 0)) {
    const dense2D<double> want = on_one_rank(whole, how, hard);
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(whole.name + ", " + by.name);
        const partitioned_mesh mesh = parts_of(whole, by);
        dense2D<double> got;
        EXPECT_EQ(0, principal_curvatures(mesh, how.radius, how.max_angle, how.max_elements,
                                          share_of(mesh, hard), got));
        expect_columns(got, mesh.node_numbers, want);
    }
}

const whole_mesh& named(const char* name) {
    return *std::find_if(meshes().begin(), meshes().end(),
                         [&](const whole_mesh& mesh) { return mesh.name == name; });
}

// A wavy strip, long enough that parts do not see one another.
whole_mesh strip(unsigned n) {
    whole_mesh mesh;
    mesh.name = "strip";
    mesh.pos = dense2D<double>(3, std::size_t{n + 1} * 4);
    mesh.connect = dense2D<unsigned>(3, std::size_t{n} * 6);
    for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
        const double x = 0.1 * static_cast<double>(k / 4), y = 0.1 * static_cast<double>(k % 4);
        const double at[3] = {x, y, 0.2 * std::sin(3 * x) + 0.1 * y * y};
        std::copy_n(at, 3, mesh.pos[k]);
    }
    std::size_t e = 0;
    for (unsigned i = 0; i < n; ++i)
        for (unsigned j = 0; j < 3; ++j) {
            const unsigned a = 4 * i + j, b = a + 4, c = a + 5, d = a + 1;
            const unsigned cells[2][3] = {{a, b, c}, {a, c, d}};
            for (const auto& cell : cells) std::copy_n(cell, 3, mesh.connect[e++]);
        }
    return mesh;
}

} // namespace

TEST(DistributedCurvatures, AreThoseOfOneRankForSmallAndLargePatches) {
    const whole_mesh& surface = named("shuffled triangles in space");
    for (const double radius : {0.0, -0.2}) expect_as_on_one_rank(surface, {radius});
    expect_as_on_one_rank(named("Moebius band"), {0.5});
    expect_as_on_one_rank(named("book"), {1.2});
    expect_as_on_one_rank(strip(40), {0.25});
}

TEST(DistributedCurvatures, PatchesEndWhereTheyAreFullOrTheSurfaceBends) {
    const whole_mesh& surface = named("shuffled triangles in space");
    expect_as_on_one_rank(surface, {infinity, pi, 7});
    expect_as_on_one_rank(surface, {0.4, 0.3});
    expect_as_on_one_rank(surface, {0.4, pi, 1});
}

TEST(DistributedCurvatures, HardEdgesStopPatchesOnAllRanks) {
    const whole_mesh whole = strip(12);
    dense2D<unsigned> hard(2, 6);
    for (unsigned j = 0; j < 6; ++j) {
        hard(0, j) = 4 * (j + 3) + 1; // a line along the strip
        hard(1, j) = 4 * (j + 4) + 1;
    }
    const settings how{0.35};
    const dense2D<double> with = on_one_rank(whole, how, hard);
    const dense2D<double> without = on_one_rank(whole, how, dense2D<unsigned>(2, 0));
    EXPECT_FALSE(std::equal(with.begin(), with.end(), without.begin()));
    expect_as_on_one_rank(whole, how, hard);
}

TEST(DistributedCurvatures, CoordinatesThatAreNotFiniteSpoilNoMoreThanOnOneRank) {
    whole_mesh whole = strip(12);
    whole.pos(2, 25) = std::numeric_limits<double>::quiet_NaN();
    whole.pos(0, 40) = infinity;
    // NaN of two ranks need not have the same bits: the columns that have none must.
    const settings how{0.25};
    const dense2D<double> want = on_one_rank(whole, how, dense2D<unsigned>(2, 0));
    for (const sharing& by : sharings()) {
        const partitioned_mesh mesh = parts_of(whole, by);
        dense2D<double> got;
        EXPECT_EQ(0, principal_curvatures(mesh, how.radius, how.max_angle, how.max_elements,
                                          dense2D<unsigned>(2, 0), got));
        for (std::size_t k = 0; k < got.cols; ++k)
            for (std::size_t i = 0; i < 8; ++i) {
                const double w = want(i, mesh.node_numbers[k]), g = got(i, k);
                EXPECT_TRUE(w == g || (std::isnan(w) && std::isnan(g))) << w << " " << g;
            }
    }
}

TEST(DistributedCurvatures, RefuseWhatIsNoSurfaceOfTriangles) {
    partitioned_mesh none;
    dense2D<double> out(1, 1, 7.0);
    const dense2D<unsigned> no_edges;
    EXPECT_EQ(-1, principal_curvatures(none, 1, pi, 10, no_edges, out));
    EXPECT_EQ(-1, principal_curvatures(parts_of(meshes()[0], sharings()[0]), 1, pi, 10, no_edges,
                                       out)); // in the plane
    EXPECT_EQ(-1, principal_curvatures(parts_of(named("quadrilaterals in space"), sharings()[0]), 1,
                                       pi, 10, no_edges, out));
    const partitioned_mesh mesh = parts_of(named("Moebius band"), sharings()[1]);
    dense2D<unsigned> hard(2, 1, 0U);
    if (rank() == ranks() - 1) hard(1, 0) = static_cast<unsigned>(mesh.pos.cols);
    EXPECT_EQ(-5, principal_curvatures(mesh, 1, pi, 10, hard, out));
    const dense2D<unsigned> three(rank() == 0 ? 3 : 2, 1, 0U);
    EXPECT_EQ(-5, principal_curvatures(mesh, 1, pi, 10, three, out));
    whole_mesh empty;
    empty.pos = dense2D<double>(3, 4, 0.0);
    empty.connect = dense2D<unsigned>(3, 0);
    EXPECT_EQ(0, principal_curvatures(parts_of(empty, sharings()[0]), 1, pi, 10, no_edges, out));
    EXPECT_EQ(7.0, out(0, 0));
}

TEST(DistributedCurvatures, MemoryThatFailsOnOneRankLeavesTheOutputOfAll) {
    const whole_mesh whole = strip(8);
    const partitioned_mesh mesh = parts_of(whole, sharings()[1]);
    const dense2D<double> want = on_one_rank(whole, {0.2}, dense2D<unsigned>(2, 0));
    dense2D<unsigned> hard(2, 0);
    dense2D<double> got;
    fail_each_allocation_on_one_rank(
        [&] { got = dense2D<double>(1, 1, 7.0); },
        [&] { return principal_curvatures(mesh, 0.2, pi, 1000, hard, got); },
        [&] { EXPECT_EQ(7.0, got(0, 0)); }, [&] { expect_columns(got, mesh.node_numbers, want); });
}

TEST(DistributedCurvatures, TrafficGrowsWithTheBorderAndTheRadius) {
    const auto bytes_for = [](unsigned n, double radius) {
        partitioned_mesh mesh = parts_of(strip(n), sharings()[1]);
        reset_traffic();
        dense2D<double> out;
        EXPECT_EQ(0, principal_curvatures(mesh, radius, pi, 1000, dense2D<unsigned>(2, 0), out));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    const double near = bytes_for(100, 0.2), far = bytes_for(100, 0.8);
    EXPECT_LE(bytes_for(400, 0.2), 1.25 * near); // a longer strip has no longer border
    EXPECT_EQ(ranks() > 1, near < far);
}
