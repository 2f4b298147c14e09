// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/dmplex.h"

#include <mpi.h>
#include <petscdmplex.h>

#include <algorithm>
#include <array>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

// An element by the coordinates of its corners in their order, from the least one on: numbers and the place of the
// first corner do not matter, the direction of the turn does.
using outline = std::vector<std::array<double, 3>>;

std::vector<outline> outlines(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    std::vector<outline> all;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        outline corners;
        for (std::size_t i = 0; i < connect.rows && connect(i, e) != no_node; ++i) {
            std::array<double, 3> p{0, 0, 0};
            std::copy_n(pos[connect(i, e)], pos.rows, p.begin());
            corners.push_back(p);
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        all.push_back(corners);
    }
    std::sort(all.begin(), all.end());
    return all;
}

// Fails unless the parts together have the elements of the mesh, in whatever order.
void expect_elements(const partitioned_mesh& mesh, const whole_mesh& whole) {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    EXPECT_EQ(0, gather(mesh, 0, pos, connect));
    if (rank() == 0) {
        EXPECT_TRUE(outlines(pos, connect) == outlines(whole.pos, whole.connect));
    }
}

// PT-Scotch on threads, as PETSc takes it of itself, does not always return.
void without_ptscotch(DM plex) {
    PetscPartitioner by = nullptr;
    EXPECT_EQ(0, DMPlexGetPartitioner(plex, &by));
    EXPECT_EQ(0, PetscPartitionerSetType(by, PETSCPARTITIONERSIMPLE));
}

// Without the mesh without elements, of which a plex does not know the dimension.
void for_parts_with_elements(
    const std::function<void(const whole_mesh&, partitioned_mesh&)>& body) {
    for_all_parts([&](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (whole.connect.cols != 0) body(whole, mesh);
    });
}

} // namespace

TEST(DMPlex, ThereAndBackElementsAndTheirRanksStay) {
    for_parts_with_elements([](const whole_mesh& whole, partitioned_mesh& mesh) {
        DM plex = nullptr;
        EXPECT_EQ(0, to_dmplex(mesh, &plex));
        EXPECT_EQ(0, DMPlexCheck(plex));
        partitioned_mesh back;
        dense1D<int, 8> cells, vertices;
        EXPECT_EQ(0, from_dmplex(plex, back, &cells, &vertices));
        expect_sound(back);
        expect_elements(back, whole);
        EXPECT_EQ(mesh.elements, back.elements);
        EXPECT_EQ(mesh.connect.cols, back.connect.cols);
        EXPECT_EQ(back.connect.cols, cells.size);
        EXPECT_EQ(back.pos.cols, vertices.size);
        for (std::size_t e = 0; e < std::min(cells.size, mesh.connect.cols); ++e) {
            EXPECT_EQ(static_cast<int>(e), cells[e]);
            for (std::size_t i = 0; i < back.connect.rows; ++i) {
                const unsigned a = mesh.connect(i, e), b = back.connect(i, e);
                EXPECT_EQ(a == no_node, b == no_node);
                if (a == no_node || b == no_node) continue;
                EXPECT_TRUE(std::equal(mesh.pos[a], mesh.pos[a] + mesh.pos.rows, back.pos[b]));
            }
        }
        EXPECT_EQ(0, DMDestroy(&plex));
    });
}

TEST(DMPlex, APlexWithEdgesThatPetscHasSharedOut) {
    const auto simple = [](const whole_mesh& whole) { // no edge of more than two elements
        return whole.name.find("book") == std::string::npos && whole.pos.rows == 2;
    };
    for_parts_with_elements([&](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (!simple(whole)) return;
        DM bare = nullptr, plex = nullptr, spread = nullptr;
        EXPECT_EQ(0, to_dmplex(mesh, &bare));
        EXPECT_EQ(0, DMPlexInterpolate(bare, &plex));
        EXPECT_EQ(0, DMDestroy(&bare));
        without_ptscotch(plex);
        EXPECT_EQ(0, DMPlexDistribute(plex, 1, nullptr, &spread)); // with an overlap of one layer
        if (spread) {
            EXPECT_EQ(0, DMDestroy(&plex));
            plex = spread;
        }
        partitioned_mesh back;
        EXPECT_EQ(0, from_dmplex(plex, back));
        expect_sound(back);
        expect_elements(back, whole);
        EXPECT_EQ(0, DMDestroy(&plex));
    });
}

TEST(DMPlex, APlexThatPetscMadeOfCells) {
    const whole_mesh& whole = meshes()[2]; // quadrilaterals in space
    // All cells and vertices come from rank 0.
    const bool first = rank() == 0;
    std::vector<PetscInt> cells;
    for (const unsigned node : whole.connect)
        if (first) cells.push_back(static_cast<PetscInt>(node));
    const auto elements = static_cast<PetscInt>(cells.size() / 4);
    const auto nodes = first ? static_cast<PetscInt>(whole.pos.cols) : 0;
    for (const PetscBool edges : {PETSC_FALSE, PETSC_TRUE}) {
        DM plex = nullptr, spread = nullptr;
        EXPECT_EQ(0, DMPlexCreateFromCellListParallelPetsc(
                         PETSC_COMM_WORLD, 2, elements, nodes, PETSC_DECIDE, 4, edges, cells.data(),
                         3, whole.pos.data(), nullptr, nullptr, &plex));
        partitioned_mesh mesh;
        EXPECT_EQ(0, from_dmplex(plex, mesh));
        expect_elements(mesh, whole);
        EXPECT_EQ(static_cast<std::size_t>(elements), mesh.connect.cols);
        without_ptscotch(plex);
        EXPECT_EQ(0, DMPlexDistribute(plex, 0, nullptr, &spread));
        if (spread) {
            EXPECT_EQ(0, from_dmplex(spread, mesh));
            expect_sound(mesh);
            expect_elements(mesh, whole);
            EXPECT_EQ(0, DMDestroy(&spread));
        }
        EXPECT_EQ(0, DMDestroy(&plex));
    }
}

TEST(DMPlex, RefusesWhatIsNoSurface) {
    partitioned_mesh mesh;
    EXPECT_EQ(-1, from_dmplex(nullptr, mesh));
    DM plex = nullptr;
    EXPECT_EQ(-1, to_dmplex(mesh, &plex));
    EXPECT_EQ(nullptr, plex);
    EXPECT_EQ(0, DMPlexCreateBoxMesh(PETSC_COMM_WORLD, 3, PETSC_FALSE, nullptr, nullptr, nullptr,
                                     nullptr, PETSC_TRUE, &plex));
    EXPECT_EQ(-1, from_dmplex(plex, mesh));
    EXPECT_EQ(MPI_COMM_NULL, mesh.comm);
    EXPECT_EQ(0, DMDestroy(&plex));
}

TEST(DMPlex, MemoryThatFailsOnOneRankLeavesTheOutputsAlone) {
    const partitioned_mesh mesh = parts_of(meshes()[3], sharings()[3]);
    DM plex = nullptr;
    fail_each_allocation_on_one_rank(
        [&] { DMDestroy(&plex); }, [&] { return to_dmplex(mesh, &plex); },
        [&] { EXPECT_EQ(nullptr, plex); }, [&] { EXPECT_NE(nullptr, plex); });
    partitioned_mesh back;
    fail_each_allocation_on_one_rank([&] { back = partitioned_mesh(); },
                                     [&] { return from_dmplex(plex, back); },
                                     [&] { EXPECT_EQ(MPI_COMM_NULL, back.comm); },
                                     [&] { EXPECT_EQ(mesh.elements, back.elements); });
    DMDestroy(&plex);
}
