// SPDX-License-Identifier: Apache-2.0
//
// Meshes in parts: what each function of zel::distributed is for, on any number of ranks.
//
//     mpirun -n 3 distributed
#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/curvatures.h"
#include "zel/distributed/files.h"
#include "zel/distributed/generators.h"
#include "zel/distributed/location.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/merge.h"
#include "zel/distributed/mesh.h"
#include "zel/distributed/normals.h"
#include "zel/distributed/orientation.h"
#include "zel/tessel1d.h"
#include "zel/tessel2d.h"

#include <petscsys.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace zel;
using namespace zel::distributed;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

int rank() {
    int r = 0;
    MPI_Comm_rank(PETSC_COMM_WORLD, &r);
    return r;
}

/// The outline of the unit square, n cells along each side.
void outline(unsigned n, dense2D<double>& pos, dense1D<unsigned, 8>& loop) {
    pos = dense2D<double>(2, 4 * n);
    loop = dense1D<unsigned, 8>(4 * n + 1);
    for (unsigned k = 0; k < n; ++k) {
        const double t = double(k) / n;
        const double side[4][2] = {{t, 0}, {1, t}, {1 - t, 1}, {0, 1 - t}};
        for (unsigned s = 0; s < 4; ++s)
            for (unsigned i = 0; i < 2; ++i) pos(i, s * n + k) = side[s][i];
    }
    for (unsigned k = 0; k <= 4 * n; ++k) loop[k] = k % (4 * n);
}

/// A strip of triangles over the plane, of which each rank brings one square: its own two nodes on the left, and on the
/// last rank the two at the end.
partitioned_mesh strip() {
    int ranks = 1;
    MPI_Comm_size(PETSC_COMM_WORLD, &ranks);
    //! [blocks]
    const bool last = rank() + 1 == ranks;
    dense2D<double> pos(3, last ? 4 : 2);
    for (std::size_t k = 0; k < pos.cols; ++k) {
        pos(0, k) = rank() + static_cast<double>(k / 2);
        pos(1, k) = static_cast<double>(k % 2);
        pos(2, k) = 0.1 * pos(0, k) * pos(0, k);
    }
    const number a = 2 * static_cast<number>(rank()); // global numbers
    dense2D<number> connect(3, 2);
    const number triangles[2][3] = {{a, a + 2, a + 1}, {a + 1, a + 2, a + 3}};
    for (std::size_t e = 0; e < 2; ++e)
        for (std::size_t i = 0; i < 3; ++i) connect(i, e) = triangles[e][i];

    partitioned_mesh mesh;
    require(from_blocks(PETSC_COMM_WORLD, pos, connect, mesh) == 0);
    require(mesh.elements == 2 * static_cast<number>(ranks) && mesh.nodes == mesh.elements + 2);
    //! [blocks]
    return mesh;
}

void share_out(partitioned_mesh mesh) {
    //! [share_out]
    require(partition(mesh, partitioner::ptscotch) == 0);
    require(grow_halo(mesh, 1) == 0); // elements of other ranks around the own ones
    require(drop_halo(mesh) == 0);

    dense1D<int, 8> all_on_rank_0(mesh.connect.cols, 0);
    require(redistribute(mesh, all_on_rank_0) == 0);
    dense2D<double> pos;
    dense2D<unsigned> connect;
    require(gather(mesh, 0, pos, connect) == 0);
    require(rank() != 0 || connect.cols == mesh.elements);
    //! [share_out]
}

void convert(const partitioned_mesh& patch) {
    //! [convert]
    partitioned_mesh mesh = patch; // shares the matrices until they change
    require(convert_into_quadratic(mesh) == 0);
    partitioned_mesh pieces = mesh;
    require(split_into_linear(pieces) == 0);
    require(pieces.elements == 4 * patch.elements);
    require(convert_into_linear(mesh) == 0);
    require(mesh.nodes == pieces.nodes); // those that fell out stay

    mesh = patch;
    require(convert_into_high_order(mesh, 2, 4, 1, dense2D<number>()) == 0);
    mesh = patch;
    require(split_into_Q4(mesh, dense2D<number>()) == 0);
    number cut = 0;
    require(split_Q4_into_T3(mesh, diagonal::better, cut) == 0);
    require(cut == 4 * patch.elements);
    require(flip(mesh, ELEMENT_T3) == 0);
    //! [convert]
}

void measure(partitioned_mesh surface) {
    //! [surface]
    reorientation turned;
    require(mesh_reorient(surface, 0, true, turned) == 0);
    dense2D<double> N, triangle_normals, curvatures;
    require(normals(surface, 1, true, N) == 0); // a column for each node of the part
    require(element_normals(surface, true, triangle_normals) == 0);
    require(principal_curvatures(surface, 1.5, 3.0, 100, dense2D<unsigned>(), curvatures) == 0);
    require(offset(surface, N, 0.01) == 0);
    partitioned_mesh parallel;
    require(copy_with_offset(surface, 0.5, parallel) == 0);
    require(parallel.nodes == 2 * surface.nodes);
    require(simplify(parallel, 0) == 0); // without the nodes of the original
    require(parallel.nodes == surface.nodes);
    require(merge(surface, 1e-9) == 0);
    //! [surface]

    //! [measures]
    double size = 0, enclosed = 0, count = 0;
    require(area(surface, size) == 0);      // the same bits on any number of ranks
    require(volume(surface, enclosed) > 0); // so many edges are open
    require(sum_over_nodes(surface, dense1D<double, 8>(surface.pos.cols, 1.0), count) == 0);
    require(count == static_cast<double>(surface.nodes));
    require(sum_over_elements(surface, dense1D<double, 8>(surface.connect.cols, 1.0), count) == 0);
    dense1D<double, 8> least, most;
    dense2D<double> centers;
    require(angles(surface, false, least, most) == 0);
    require(circumcenters(surface, centers) == 0);
    //! [measures]

    //! [adjacency]
    adjacency beside;
    require(build_adjacency(surface, beside) == 0);
    dense1D<number, 8> starts, elements;
    require(get_connected_elements(surface, starts, elements) == 0); // of this rank's own nodes
    //! [adjacency]
}

void locate_points(const partitioned_mesh& patch) {
    partitioned_mesh triangles = patch;
    number cut = 0;
    require(split_Q4_into_T3(triangles, diagonal::first, cut) == 0);
    dense2D<double> field(1, triangles.pos.cols);
    for (std::size_t k = 0; k < field.cols; ++k) field(0, k) = triangles.pos(0, k);

    //! [location]
    dense2D<double> points(2, 5); // of this rank; they may lie anywhere
    for (std::size_t j = 0; j < points.cols; ++j)
        points(0, j) = points(1, j) = 0.1 + 0.15 * static_cast<double>(j);
    location_table table;
    require(locate(triangles, points, 1e-6, table) == 0);
    dense2D<double> values;
    require(carry(triangles, table, field, values) == 0);
    require(std::fabs(values(0, 4) - 0.7) < 1e-12);
    require(interpolate(triangles, field, points, values) == 0); // both in one
    //! [location]

    dense2D<double> D(6, triangles.pos.cols, 0.0), H;
    for (std::size_t k = 0; k < D.cols; ++k) D(0, k) = D(4, k) = 1;
    //! [parametric]
    require(parametric_curvatures(triangles, D, H) ==
            0); // D: derivatives of a surface at the nodes
    //! [parametric]
}

void round_meshes() {
    //! [round]
    partitioned_mesh disk, ball;
    dense2D<number> boundary, circle_z, circle_y; // whole on every rank
    require(mesh_disk_Q4(PETSC_COMM_WORLD, {{0, 0}}, 1, 10, disk, boundary) == 0);
    require(mesh_disk_T3(PETSC_COMM_WORLD, {{0, 0}}, 1, 10, 0, disk, boundary) == 0);
    require(mesh_disk_UR_Q4(PETSC_COMM_WORLD, {{0, 0}}, 1, 10, disk, boundary) == 0); // a quarter
    require(mesh_disk_UR_T3(PETSC_COMM_WORLD, {{0, 0}}, 1, 10, 0, disk, boundary) == 0);
    require(mesh_sphere_UR_Q4(PETSC_COMM_WORLD, {{0, 0, 0}}, 1, 10, ball, boundary) ==
            0); // an octant
    require(mesh_sphere_UR_T3(PETSC_COMM_WORLD, {{0, 0, 0}}, 1, 10, 0, ball, boundary) == 0);
    require(mesh_sphere_Q4(PETSC_COMM_WORLD, {{0, 0, 0}}, 1, 10, ball) == 0);
    require(mesh_sphere_T3(PETSC_COMM_WORLD, {{0, 0, 0}}, 1, 10, 0, ball, circle_z, circle_y) == 0);
    double inside = 0;
    require(volume(ball, inside) == 0 && inside > 4.1); // closed
    //! [round]
}

void files(const partitioned_mesh& patch) {
    //! [files]
    require(write(patch, "patch.h5") == 0); // and patch.xdmf for viewers
    partitioned_mesh again;
    require(read(PETSC_COMM_WORLD, "patch.h5", again) == 0);
    require(again.nodes == patch.nodes && again.elements == patch.elements);
    //! [files]
}

} // namespace

int main() {
    if (PetscInitializeNoArguments()) return 1;
    share_out(strip());
    measure(strip());

    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    outline(16, pos, loop);
    //! [generators]
    partitioned_mesh patch, cut_patch, wall;
    require(mesh_struct_Q4(PETSC_COMM_WORLD, pos, loop, 16, patch) ==
            0); // each rank makes its share
    require(mesh_struct_T3(PETSC_COMM_WORLD, pos, loop, 16, 0, cut_patch) == 0);
    dense2D<unsigned> profile;
    require(tessel1d::indices_to_connectE2(loop, profile) == 0);
    const auto upward = [](dense2D<double>& nodes, const dense2D<unsigned>& edges,
                           dense2D<unsigned>& connect) {
        return tessel2d::extrude_translate_Q4(nodes, edges, {{0, 0, 2}}, 8, connect);
    };
    require(extrude(PETSC_COMM_WORLD, pos, profile, upward, wall) == 0);
    require(wall.elements == 8 * 64);
    //! [generators]
    round_meshes();
    convert(patch);
    locate_points(patch);
    files(patch);

    reset_traffic();
    require(grow_halo(patch, 1) == 0);
    if (rank() == 0)
        std::printf("%llu elements in parts\n", static_cast<unsigned long long>(patch.elements));
    require(traffic_so_far().bytes > 0 || patch.connect.cols == patch.elements);
    PetscFinalize();
    return 0;
}
