// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"
#include "support/failing_alloc.h"

#include "zel/distributed/generators.h"
#include "zel/tessel2d.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <cmath>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

// The loop around m x n cells, bent so that no two nodes share a coordinate; numbers in another order than the
// loop, and two nodes beside it.
struct bent_loop {
    dense2D<double> pos;
    dense1D<unsigned, 8> boundary;

    bent_loop(unsigned m, unsigned n, std::size_t rows) {
        const unsigned count = 2 * (m + n);
        pos = dense2D<double>(rows, count + 2, 0.25);
        for (unsigned k = 0; k < count; ++k) {
            const unsigned node = (k * (count % 7 ? 7 : 11) + 3) % count; // each once
            const double t = 6.28 * k / count;
            pos(0, node) = std::cos(t) * (1 + 0.1 * std::sin(5 * t));
            pos(1, node) = std::sin(t) * (1 + 0.2 * std::cos(3 * t));
            if (rows == 3) pos(2, node) = 0.3 * std::sin(2 * t);
            boundary.push_back(node);
        }
        boundary.push_back(boundary[0]);
    }
};

// Profiles: a chain, a closed loop, a star of edges that share a node, edges in any order; two nodes of no edge.
struct line_mesh {
    dense2D<double> pos;
    dense2D<unsigned> edges;
};

line_mesh profile(unsigned edges, std::size_t rows, int kind) {
    line_mesh line;
    line.pos = dense2D<double>(rows, edges + 3, 0.5);
    for (unsigned k = 0; k <= edges; ++k) {
        line.pos(0, k + 1) = 2 + std::cos(0.7 * k);
        line.pos(1, k + 1) = 0.3 * k;
        if (rows == 3) line.pos(2, k + 1) = std::sin(0.4 * k);
    }
    line.edges = dense2D<unsigned>(2, edges);
    for (unsigned e = 0; e < edges; ++e) {
        const unsigned at = kind == 2 ? (e * 5 + 2) % edges : e; // shuffled
        line.edges(0, e) = kind == 3 ? 1 : at + 1;               // a star
        line.edges(1, e) = kind == 1 && at + 1 == edges ? 1 : at + 2;
    }
    return line;
}

// Sweeps on all ranks and as a whole, and compares.
void expect_sweep(const line_mesh& line, const sweep& by) {
    dense2D<double> pos = copy_of(line.pos);
    dense2D<unsigned> connect;
    EXPECT_EQ(0, by(pos, line.edges, connect));
    const dense2D<double> before = copy_of(line.pos);
    partitioned_mesh mesh;
    EXPECT_EQ(0, extrude(PETSC_COMM_WORLD, line.pos, line.edges, by, mesh));
    EXPECT_TRUE(std::equal(before.begin(), before.end(), line.pos.begin()));
    if (mesh.comm == MPI_COMM_NULL) return;
    expect_sound(mesh);
    expect_whole(mesh, pos, connect);
}

void expect_sweeps(std::size_t rows, const std::function<void(const line_mesh&)>& body) {
    for (const unsigned edges : {1U, 2U, 3U, 9U, 24U})
        for (int kind = 0; kind < 4; ++kind) {
            SCOPED_TRACE(testing::Message() << edges << " edges, kind " << kind);
            if ((kind == 1 && edges < 3) || (kind == 3 && edges > 9)) continue;
            body(profile(edges, rows, kind));
        }
}

const vector_fixed<double, 3> centre{0.1, 0.2, 0.3}, axis{0.2, 1.1, 0.3}, way{0.5, 0.25, 2.0};
const vector_fixed<double, 2> centre2{0.1, 0.2}, way2{0.5, 2.0};

} // namespace

TEST(Generators, APatchOfQuadrilateralsIsThatOfOneRank) {
    for (const unsigned m : {1U, 2U, 3U, 8U, 33U})
        for (const unsigned n : {1U, 2U, 5U, 71U})
            for (const std::size_t rows : {2U, 3U}) {
                SCOPED_TRACE(testing::Message() << m << " x " << n << " in " << rows);
                const bent_loop loop(m, n, rows);
                dense2D<double> pos = copy_of(loop.pos);
                dense2D<unsigned> connect;
                EXPECT_EQ(0, tessel2d::mesh_struct_Q4(pos, loop.boundary, n, connect));
                partitioned_mesh mesh;
                EXPECT_EQ(0, mesh_struct_Q4(PETSC_COMM_WORLD, loop.pos, loop.boundary, n, mesh));
                expect_sound(mesh);
                expect_whole(mesh, pos, connect);
                EXPECT_LE(mesh.connect.cols,
                          std::size_t{n} * (m / static_cast<unsigned>(ranks()) + 3));
            }
}

TEST(Generators, APatchOfTrianglesIsThatOfOneRank) {
    for (const unsigned m : {1U, 3U, 12U})
        for (int pattern = 0; pattern < 3; ++pattern) {
            const bent_loop loop(m, 5, 2);
            dense2D<double> pos = copy_of(loop.pos);
            dense2D<unsigned> connect;
            EXPECT_EQ(0, tessel2d::mesh_struct_T3(pos, loop.boundary, 5, pattern, connect));
            partitioned_mesh mesh;
            EXPECT_EQ(0,
                      mesh_struct_T3(PETSC_COMM_WORLD, loop.pos, loop.boundary, 5, pattern, mesh));
            expect_sound(mesh);
            expect_whole(mesh, pos, connect);
        }
}

TEST(Generators, RefusesWhatIsNoPatch) {
    const bent_loop loop(4, 3, 2);
    partitioned_mesh mesh;
    const MPI_Comm comm = PETSC_COMM_WORLD;
    const bool last = rank() == ranks() - 1;
    EXPECT_EQ(-1, mesh_struct_Q4(MPI_COMM_NULL, loop.pos, loop.boundary, 3, mesh));
    EXPECT_EQ(-2, mesh_struct_Q4(comm, last ? dense2D<double>(4, 14, 0.0) : loop.pos, loop.boundary,
                                 3, mesh));
    const bent_loop other(4, 3, 2);
    dense1D<unsigned, 8> open = other.boundary;
    if (last) open[0] = open[1];
    EXPECT_EQ(-3, mesh_struct_Q4(comm, loop.pos, open, 3, mesh));
    const bent_loop third(4, 3, 2);
    dense1D<unsigned, 8> wild = third.boundary;
    if (last) wild[2] = 16;
    EXPECT_EQ(-3, mesh_struct_Q4(comm, loop.pos, wild, 3, mesh));
    EXPECT_EQ(-3, mesh_struct_Q4(comm, loop.pos, dense1D<unsigned, 8>(), 3, mesh));
    for (const unsigned n : {0U, 7U, 8U, 0xFFFFFFFFU})
        EXPECT_EQ(-4, mesh_struct_Q4(comm, loop.pos, loop.boundary, n, mesh));
    EXPECT_EQ(-5, mesh_struct_T3(comm, loop.pos, loop.boundary, 3, last ? 3 : 2, mesh));
    EXPECT_EQ(-5, mesh_struct_T3(comm, loop.pos, loop.boundary, 3, -1, mesh));
    EXPECT_EQ(MPI_COMM_NULL, mesh.comm);
}

TEST(Generators, SweepsInThePlaneAreThoseOfOneRank) {
    expect_sweeps(2, [](const line_mesh& line) {
        using pos_t = dense2D<double>;
        using con_t = dense2D<unsigned>;
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_translate_Q4(pos, edges, way2, 5, connect);
        });
        for (int pattern = 0; pattern < 3; ++pattern)
            expect_sweep(line, [&](pos_t& pos, const con_t& edges, con_t& connect) {
                return tessel2d::extrude_translate_T3(pos, edges, way2, 7, pattern, connect);
            });
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_rotate_Q4(pos, edges, centre2, 1.5, 0.1, 0.4, true, connect);
        });
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_normal_Q4(pos, edges, 0.3, 0.02, 0.1, false, connect);
        });
        const pos_t vectors = copy_of(line.pos);
        expect_sweep(line, [&](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_normal_T3(pos, edges, vectors, 3, 2, connect);
        });
        // Into space: a third row comes in.
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_rotate_Q4(pos, edges, centre, axis, 6, connect);
        });
    });
}

TEST(Generators, SweepsInSpaceAreThoseOfOneRank) {
    expect_sweeps(3, [](const line_mesh& line) {
        using pos_t = dense2D<double>;
        using con_t = dense2D<unsigned>;
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_translate_Q4(pos, edges, way, 0.1, 0.5, true, connect);
        });
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_rotate_T3(pos, edges, centre, axis, 0.1, 0.2, 2, false,
                                               connect);
        });
        expect_sweep(line, [](pos_t& pos, const con_t& edges, con_t& connect) {
            return tessel2d::extrude_spiral_Q4(pos, edges, centre, axis, way, 4, connect);
        });
    });
}

TEST(Generators, RefusesWhatIsNoSweep) {
    const line_mesh line = profile(6, 2, 0);
    const MPI_Comm comm = PETSC_COMM_WORLD;
    const bool last = rank() == ranks() - 1;
    partitioned_mesh mesh;
    const sweep good = [](dense2D<double>& pos, const dense2D<unsigned>& edges,
                          dense2D<unsigned>& connect) {
        return tessel2d::extrude_translate_Q4(pos, edges, way2, 2, connect);
    };
    EXPECT_EQ(-1, extrude(MPI_COMM_NULL, line.pos, line.edges, good, mesh));
    EXPECT_EQ(-2,
              extrude(comm, last ? dense2D<double>(4, 9, 0.0) : line.pos, line.edges, good, mesh));
    EXPECT_EQ(-3, extrude(comm, line.pos, dense2D<unsigned>(2, 0), good, mesh));
    EXPECT_EQ(-3, extrude(comm, line.pos, dense2D<unsigned>(2, 6, last ? 9U : 0U), good, mesh));
    EXPECT_EQ(-3, extrude(comm, line.pos, dense2D<unsigned>(3, 6, 0U), good, mesh));
    EXPECT_EQ(-4, extrude(comm, line.pos, line.edges, last ? sweep() : good, mesh));
    EXPECT_EQ(-4,
              extrude(
                  comm, line.pos, line.edges, [](auto&, const auto&, auto&) { return -5; }, mesh));
    EXPECT_EQ(-4, extrude(
                      comm, line.pos, line.edges,
                      [](dense2D<double>& pos, const auto&, auto&) {
                          pos.resize(2, pos.cols + 1, 0.0);
                          return 0;
                      },
                      mesh));
    EXPECT_EQ(MPI_COMM_NULL, mesh.comm);
}

TEST(Generators, MemoryThatFailsOnOneRankLeavesTheMeshAsItWas) {
    const bent_loop loop(9, 4, 2);
    const line_mesh line = profile(9, 2, 0);
    const auto try_all = [&](const std::function<int(partitioned_mesh&)>& call) {
        partitioned_mesh mesh;
        fail_each_allocation_on_one_rank([&] { mesh = partitioned_mesh(); },
                                         [&] { return call(mesh); },
                                         [&] { EXPECT_EQ(MPI_COMM_NULL, mesh.comm); },
                                         [&] { EXPECT_NE(MPI_COMM_NULL, mesh.comm); });
    };
    try_all([&](partitioned_mesh& mesh) {
        return mesh_struct_Q4(PETSC_COMM_WORLD, loop.pos, loop.boundary, 4, mesh);
    });
    const sweep by = [](dense2D<double>& pos, const dense2D<unsigned>& edges,
                        dense2D<unsigned>& connect) {
        return tessel2d::extrude_translate_Q4(pos, edges, way2, 3, connect);
    };
    try_all([&](partitioned_mesh& mesh) {
        return extrude(PETSC_COMM_WORLD, line.pos, line.edges, by, mesh);
    });
}

TEST(Generators, TrafficOfAPatchGrowsWithItsLines) {
    const auto bytes_for = [](unsigned n) {
        const bent_loop loop(n, n, 2);
        partitioned_mesh mesh;
        reset_traffic();
        EXPECT_EQ(0, mesh_struct_Q4(PETSC_COMM_WORLD, loop.pos, loop.boundary, n, mesh));
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    EXPECT_LE(bytes_for(160), 4.5 * bytes_for(40)); // 16 times the cells, 4 times the loop
}
