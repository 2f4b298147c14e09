// SPDX-License-Identifier: Apache-2.0
// Spheres and octants in parts: each rank makes its share, with final numbers, and none ever holds the whole.
#pragma once

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Meshes an octant of a sphere with quadrilaterals, each rank a run of whole lines of cells.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_UR_Q4` on empty matrices: 3n(n+1) + 1 nodes, 3n^2
/// elements. All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius. Neither it nor the centre is tested, as in the library.
/// @param n         cells along the side of a patch, up to 65536.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
/// @param[out] boundary  2 x 6n global node numbers, all of them on each rank: the edges around the octant from
///                  the x axis to the y axis, to the z axis and back. What it held is dropped.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` and `boundary` as they were on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells.
ZEL_TESSEL2D_DISTRIBUTED_API int
mesh_sphere_UR_Q4(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                  partitioned_mesh& mesh, dense2D<number>& boundary);

/// Meshes an octant of a sphere with triangles, each rank a run of whole lines of cells.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_UR_T3` on empty matrices: 3n(n+1) + 1 nodes, 6n^2
/// elements. All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius. Neither it nor the centre is tested, as in the library.
/// @param n         cells along the side of a patch, up to 65536.
/// @param pattern   which diagonal cuts a cell: 0, 1 or, in turn, 2.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
/// @param[out] boundary  2 x 6n global node numbers, all of them on each rank: the edges around the octant from
///                  the x axis to the y axis, to the z axis and back. What it held is dropped.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -5    `pattern` is not 0, 1 or 2.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` and `boundary` as they were on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells.
ZEL_TESSEL2D_DISTRIBUTED_API int
mesh_sphere_UR_T3(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                  int pattern, partitioned_mesh& mesh, dense2D<number>& boundary);

/// Meshes a sphere with quadrilaterals, each rank a run of whole lines of cells.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_Q4` on empty matrices: 24n^2 + 2 nodes,
/// 24n^2 elements. A centre that is far away, measured in radii, leaves nodes on seams apart, as it does there.
/// All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius.
/// @param n         cells along the side of a patch, up to 65536.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    a coordinate of the centre is not finite, or their magnitudes amount to 1e250 or more.
/// @retval -3    `radius` is not between 1e-250 and 1e250, or so small against the distance of the centre from the
///               origin that rounding may move nodes of one patch onto each other.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells of their copy.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_sphere_Q4(MPI_Comm comm,
                                                const vector_fixed<double, 3>& center,
                                                double radius, unsigned n, partitioned_mesh& mesh);

/// Meshes a sphere with quadrilaterals, each rank a run of whole lines of cells, and lists two great circles.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_Q4` with circles on empty matrices: 24n^2 + 2 nodes,
/// 24n^2 elements. A centre that is far away, measured in radii, leaves nodes on seams apart, as it does there.
/// All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius.
/// @param n         cells along the side of a patch, up to 65536.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
/// @param[out] circle_z  2 x 8n global node numbers, all of them on each rank: the edges of the great circle in the plane
///                  z = cz, counterclockwise when seen from +z. What it held is dropped.
/// @param[out] circle_y  the same in the plane y = cy, from +z over +x to -z and back.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    a coordinate of the centre is not finite, or their magnitudes amount to 1e250 or more.
/// @retval -3    `radius` is not between 1e-250 and 1e250, or so small against the distance of the centre from the
///               origin that rounding may move nodes of one patch onto each other.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh`, `circle_z` and `circle_y` as they were on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells of their copy.
ZEL_TESSEL2D_DISTRIBUTED_API int
mesh_sphere_Q4(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
               partitioned_mesh& mesh, dense2D<number>& circle_z, dense2D<number>& circle_y);

/// Meshes a sphere with triangles, each rank a run of whole lines of cells.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_T3` on empty matrices: 24n^2 + 2 nodes,
/// 48n^2 elements. A centre that is far away, measured in radii, leaves nodes on seams apart, as it does there.
/// All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius.
/// @param n         cells along the side of a patch, up to 65536.
/// @param pattern   which diagonal cuts a cell: 0, 1 or, in turn, 2.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    a coordinate of the centre is not finite, or their magnitudes amount to 1e250 or more.
/// @retval -3    `radius` is not between 1e-250 and 1e250, or so small against the distance of the centre from the
///               origin that rounding may move nodes of one patch onto each other.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -5    `pattern` is not 0, 1 or 2.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells of their copy.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_sphere_T3(MPI_Comm comm,
                                                const vector_fixed<double, 3>& center,
                                                double radius, unsigned n, int pattern,
                                                partitioned_mesh& mesh);

/// Meshes a sphere with triangles, each rank a run of whole lines of cells, and lists two great circles.
///
/// Numbers and coordinates are those of `tessel2d::mesh_sphere_T3` with circles on empty matrices: 24n^2 + 2 nodes,
/// 48n^2 elements. A centre that is far away, measured in radii, leaves nodes on seams apart, as it does there.
/// All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius.
/// @param n         cells along the side of a patch, up to 65536.
/// @param pattern   which diagonal cuts a cell: 0, 1 or, in turn, 2.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the lines of n cells; with more ranks
///                  than lines some have none.
/// @param[out] circle_z  2 x 8n global node numbers, all of them on each rank: the edges of the great circle in the plane
///                  z = cz, counterclockwise when seen from +z. What it held is dropped.
/// @param[out] circle_y  the same in the plane y = cy, from +z over +x to -z and back.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    a coordinate of the centre is not finite, or their magnitudes amount to 1e250 or more.
/// @retval -3    `radius` is not between 1e-250 and 1e250, or so small against the distance of the centre from the
///               origin that rounding may move nodes of one patch onto each other.
/// @retval -4    `n` is 0 or above 65536.
/// @retval -5    `pattern` is not 0, 1 or 2.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh`, `circle_z` and `circle_y` as they were on all ranks.
///
/// Cost: proportional to the share and to n on each rank; lines between shares travel once, and the nodes on the
/// sides of patches from the rank that has the first line of cells of their copy.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_sphere_T3(MPI_Comm comm,
                                                const vector_fixed<double, 3>& center,
                                                double radius, unsigned n, int pattern,
                                                partitioned_mesh& mesh, dense2D<number>& circle_z,
                                                dense2D<number>& circle_y);

} // namespace zel::distributed
