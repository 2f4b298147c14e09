// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/generators.h"
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

using centre2 = vector_fixed<double, 2>;
using centre3 = vector_fixed<double, 3>;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// What the library makes, with up to two lists of edges.
struct whole {
    dense2D<double> pos;
    dense2D<unsigned> connect, first, second;
};
/// What all ranks make together.
struct parts {
    partitioned_mesh mesh;
    dense2D<number> first, second;
};

void expect_edges(const dense2D<number>& edges, const dense2D<unsigned>& expected) {
    ASSERT_EQ(expected.cols, edges.cols);
    for (std::size_t e = 0; e < edges.cols; ++e)
        for (std::size_t i = 0; i < 2; ++i) ASSERT_EQ(expected(i, e), edges(i, e)) << "edge " << e;
}

void expect_equal(const parts& made, const whole& expected) {
    expect_sound(made.mesh);
    expect_whole(made.mesh, expected.pos, expected.connect);
    expect_edges(made.first, expected.first);
    expect_edges(made.second, expected.second);
}

// A pattern below zero stands for quadrilaterals.
whole disk(bool all, centre2 c, double radius, unsigned n, int pattern) {
    whole w;
    int status;
    if (pattern < 0) {
        status = all ? tessel2d::mesh_disk_Q4(w.pos, c, radius, n, w.connect, w.first)
                     : tessel2d::mesh_disk_UR_Q4(w.pos, c, radius, n, w.connect, w.first);
    } else {
        status = all ? tessel2d::mesh_disk_T3(w.pos, c, radius, n, pattern, w.connect, w.first)
                     : tessel2d::mesh_disk_UR_T3(w.pos, c, radius, n, pattern, w.connect, w.first);
    }
    EXPECT_EQ(0, status);
    return w;
}
int disk(bool all, centre2 c, double radius, unsigned n, int pattern, parts& p) {
    MPI_Comm comm = PETSC_COMM_WORLD;
    if (pattern < 0) {
        return all ? mesh_disk_Q4(comm, c, radius, n, p.mesh, p.first)
                   : mesh_disk_UR_Q4(comm, c, radius, n, p.mesh, p.first);
    }
    return all ? mesh_disk_T3(comm, c, radius, n, pattern, p.mesh, p.first)
               : mesh_disk_UR_T3(comm, c, radius, n, pattern, p.mesh, p.first);
}

enum class sphere_kind { octant, plain, with_circles };
constexpr sphere_kind sphere_kinds[] = {sphere_kind::octant, sphere_kind::plain,
                                        sphere_kind::with_circles};

whole sphere(sphere_kind kind, centre3 c, double radius, unsigned n, int pattern) {
    using namespace zel::tessel2d;
    whole w;
    int status = 1;
    switch (kind) {
    case sphere_kind::octant:
        status = pattern < 0 ? mesh_sphere_UR_Q4(w.pos, c, radius, n, w.connect, w.first)
                             : mesh_sphere_UR_T3(w.pos, c, radius, n, pattern, w.connect, w.first);
        break;
    case sphere_kind::plain:
        status = pattern < 0 ? mesh_sphere_Q4(w.pos, c, radius, n, w.connect)
                             : mesh_sphere_T3(w.pos, c, radius, n, pattern, w.connect);
        break;
    case sphere_kind::with_circles:
        status = pattern < 0
                     ? mesh_sphere_Q4(w.pos, c, radius, n, w.connect, w.first, w.second)
                     : mesh_sphere_T3(w.pos, c, radius, n, pattern, w.connect, w.first, w.second);
        break;
    }
    EXPECT_EQ(0, status);
    return w;
}
int sphere(sphere_kind kind, centre3 c, double radius, unsigned n, int pattern, parts& p) {
    using namespace zel::distributed;
    MPI_Comm comm = PETSC_COMM_WORLD;
    switch (kind) {
    case sphere_kind::octant:
        return pattern < 0 ? mesh_sphere_UR_Q4(comm, c, radius, n, p.mesh, p.first)
                           : mesh_sphere_UR_T3(comm, c, radius, n, pattern, p.mesh, p.first);
    case sphere_kind::plain:
        return pattern < 0 ? mesh_sphere_Q4(comm, c, radius, n, p.mesh)
                           : mesh_sphere_T3(comm, c, radius, n, pattern, p.mesh);
    case sphere_kind::with_circles:
        return pattern < 0 ? mesh_sphere_Q4(comm, c, radius, n, p.mesh, p.first, p.second)
                           : mesh_sphere_T3(comm, c, radius, n, pattern, p.mesh, p.first, p.second);
    }
    return 1;
}

void expect_disk(bool all, centre2 c, double radius, unsigned n, int pattern) {
    SCOPED_TRACE(testing::Message()
                 << (all ? "disk" : "quarter") << " around " << c[0] << ", radius " << radius
                 << ", n " << n << ", pattern " << pattern);
    parts made;
    EXPECT_EQ(0, disk(all, c, radius, n, pattern, made));
    expect_equal(made, disk(all, c, radius, n, pattern));
}

void expect_sphere(sphere_kind kind, centre3 c, double radius, unsigned n, int pattern) {
    SCOPED_TRACE(testing::Message()
                 << "kind " << static_cast<int>(kind) << " around " << c[0] << ", radius " << radius
                 << ", n " << n << ", pattern " << pattern);
    parts made;
    EXPECT_EQ(0, sphere(kind, c, radius, n, pattern, made));
    expect_equal(made, sphere(kind, c, radius, n, pattern));
}

// A call may go wrong on one rank only.
bool last() {
    return rank() == ranks() - 1;
}

} // namespace

TEST(RoundMeshes, ADiskIsThatOfOneRank) {
    for (const bool all : {false, true})
        for (const unsigned n : {1U, 2U, 3U, 8U, 21U})
            for (int pattern = -1; pattern < 3; ++pattern)
                expect_disk(all, {0.3, -1.7}, 0.9, n, pattern);
    expect_disk(true, {0, 0}, 1, 5, -1);
    expect_disk(true, {0, 0}, 1e-200, 5, -1);
    expect_disk(true, {0, 0}, 1e200, 5, 2);
    expect_disk(true, {-0.0, 0.0}, 3, 70, -1); // more than a strip of nodes
}

TEST(RoundMeshes, ASphereIsThatOfOneRank) {
    for (const sphere_kind kind : sphere_kinds)
        for (const unsigned n : {1U, 2U, 3U, 9U})
            for (int pattern = -1; pattern < 3; ++pattern)
                expect_sphere(kind, {0.3, -1.7, 11}, 0.9, n, pattern);
    for (const sphere_kind kind : sphere_kinds) {
        expect_sphere(kind, {0, 0, 0}, 1, 5, -1);
        expect_sphere(kind, {0, 0, 0}, 1e-200, 5, 2);
        expect_sphere(kind, {0, -0.0, 0}, 3, 34, -1);
    }
}

TEST(RoundMeshes, NodesThatFailToMeetFarFromTheOriginStayApartAsOnOneRank) {
    for (const double away : {1e4, 1e5, 1e6}) {
        expect_disk(true, {away, -3 * away}, 1, 13, -1);
        expect_sphere(sphere_kind::plain, {away, 2 * away, 0.1}, 1, 7, 1);
        expect_sphere(sphere_kind::with_circles, {away, 2 * away, 0.1}, 1, 7, -1);
    }
    EXPECT_LT(12U * 13 * 13 + 4 * 13 + 1, disk(true, {1e5, -3e5}, 1, 13, -1).pos.cols);
    EXPECT_LT(24U * 49 + 2, sphere(sphere_kind::plain, {1e5, 2e5, 0.1}, 1, 7, 1).pos.cols);
}

TEST(RoundMeshes, QuartersTakeAnyRadius) {
    for (const double radius : {0.0, -2.0, not_a_number, infinity}) {
        expect_disk(false, {1, 2}, radius, 4, -1);
        expect_sphere(sphere_kind::octant, {1, 2, 3}, radius, 4, 0);
    }
    expect_disk(false, {infinity, not_a_number}, 1, 4, -1);
}

TEST(RoundMeshes, EachRankHasItsShareOfTheLinesOfCells) {
    for (const unsigned n : {1U, 2U, 30U}) {
        parts d, s;
        EXPECT_EQ(0, disk(true, {0, 0}, 1, n, -1, d));
        EXPECT_EQ(0, sphere(sphere_kind::plain, {0, 0, 0}, 1, n, 0, s));
        EXPECT_EQ(12U * n * n, d.mesh.elements);
        EXPECT_EQ(12U * n * n + 4 * n + 1, d.mesh.nodes);
        EXPECT_EQ(48U * n * n, s.mesh.elements);
        EXPECT_EQ(24U * n * n + 2, s.mesh.nodes);
        const auto among = static_cast<unsigned>(ranks());
        EXPECT_LE(d.mesh.connect.cols, n * (12 * n / among + 1));
        EXPECT_LE(s.mesh.connect.cols, 2 * n * (24 * n / among + 1));
        for (std::size_t e = 1; e < d.mesh.element_numbers.size; ++e)
            EXPECT_EQ(d.mesh.element_numbers[0] + e, d.mesh.element_numbers[e]);
    }
}

TEST(RoundMeshes, RefusesWhatIsNoDiskOrSphere) {
    parts p;
    p.first = p.second = dense2D<number>(3, 1, 7);
    const auto expect_disk_status = [&](int status, centre2 c, double radius, unsigned n,
                                        int pattern) {
        EXPECT_EQ(status,
                  last() ? disk(true, c, radius, n, pattern, p) : disk(true, {1, 2}, 1, 3, 0, p));
    };
    const auto expect_sphere_status = [&](int status, centre3 c, double radius, unsigned n,
                                          int pattern) {
        EXPECT_EQ(status, last() ? sphere(sphere_kind::with_circles, c, radius, n, pattern, p)
                                 : sphere(sphere_kind::with_circles, {1, 2, 3}, 1, 3, 0, p));
    };
    EXPECT_EQ(-1, mesh_disk_Q4(MPI_COMM_NULL, {0, 0}, 1, 2, p.mesh, p.first));
    EXPECT_EQ(-1, mesh_disk_UR_T3(MPI_COMM_NULL, {0, 0}, 1, 2, 0, p.mesh, p.first));
    EXPECT_EQ(-1, mesh_sphere_Q4(MPI_COMM_NULL, {0, 0, 0}, 1, 2, p.mesh));
    for (const double wild : {not_a_number, infinity, -infinity, 1e250}) {
        expect_disk_status(-2, {0, wild}, 1, 3, 0);
        expect_sphere_status(-2, {0, 0, wild}, 1, 3, 0);
    }
    for (const double radius : {0.0, -1.0, not_a_number, infinity, 1e-250, 1e250}) {
        expect_disk_status(-3, {0, 0}, radius, 3, 0);
        expect_sphere_status(-3, {0, 0, 0}, radius, 3, 0);
    }
    expect_disk_status(-3, {1e12, 0}, 1, 3, 0); // no digits are left for the nodes
    expect_sphere_status(-3, {1e12, 0, 0}, 1, 3, 0);
    for (const unsigned n : {0U, 65537U, 0xFFFFFFFFU}) {
        expect_disk_status(-4, {0, 0}, 1, n, 0);
        expect_sphere_status(-4, {0, 0, 0}, 1, n, 0);
        EXPECT_EQ(-4, disk(false, {0, 0}, 1, last() ? n : 3, -1, p));
        EXPECT_EQ(-4, sphere(sphere_kind::octant, {0, 0, 0}, 1, last() ? n : 3, -1, p));
    }
    expect_disk_status(-5, {0, 0}, 1, 3, 3);
    expect_sphere_status(-5, {0, 0, 0}, 1, 3, 3);
    EXPECT_EQ(-5,
              mesh_disk_UR_T3(PETSC_COMM_WORLD, {0, 0}, 1, 2, last() ? -1 : 1, p.mesh, p.first));
    EXPECT_EQ(
        -5, mesh_sphere_UR_T3(PETSC_COMM_WORLD, {0, 0, 0}, 1, 2, last() ? -1 : 1, p.mesh, p.first));
    EXPECT_EQ(-5, mesh_sphere_T3(PETSC_COMM_WORLD, {0, 0, 0}, 1, 2, last() ? -1 : 1, p.mesh));
    EXPECT_EQ(MPI_COMM_NULL, p.mesh.comm);
    EXPECT_EQ(3U, p.first.rows);
    EXPECT_EQ(3U, p.second.rows);
}

TEST(RoundMeshes, MemoryThatFailsOnOneRankLeavesAllAsItWas) {
    parts p;
    const auto prepare = [&] {
        p.mesh = partitioned_mesh();
        p.first = p.second = dense2D<number>(3, 1, 7);
    };
    const auto unchanged = [&] {
        EXPECT_EQ(MPI_COMM_NULL, p.mesh.comm);
        EXPECT_EQ(3U, p.first.rows);
        EXPECT_EQ(3U, p.second.rows);
    };
    fail_each_allocation_on_one_rank(
        prepare,
        [&] {
            return disk(false, {0, 0}, 1, 3, -1, p);
        },
        unchanged);
    fail_each_allocation_on_one_rank(
        prepare,
        [&] {
            return disk(true, {0, 0}, 1, 3, 1, p);
        },
        unchanged);
    fail_each_allocation_on_one_rank(
        prepare,
        [&] {
            return sphere(sphere_kind::with_circles, {0, 0, 0}, 1, 3, -1, p);
        },
        unchanged);
}

TEST(RoundMeshes, WhatTravelsGrowsWithTheLines) {
    const auto bytes_for = [](unsigned n) {
        parts p;
        reset_traffic();
        EXPECT_EQ(0, sphere(sphere_kind::plain, {0, 0, 0}, 1, n, -1, p));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    EXPECT_LE(bytes_for(96), 4.5 * bytes_for(24)); // 16 times the cells, 4 times the lines
}
