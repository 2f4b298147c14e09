// SPDX-License-Identifier: Apache-2.0
// Generators of meshes in parts: each rank makes its share, with final numbers, and none ever holds the whole.
#pragma once

#include "zel/distributed/disks.h"
#include "zel/distributed/mesh.h"
#include "zel/distributed/spheres.h"

#include <functional>

namespace zel::distributed {

/// Fills a four-sided patch with a structured grid of quadrilaterals, each rank a run of whole lines of it.
///
/// Numbers and coordinates are those of `tessel2d::mesh_struct_Q4`: present nodes first, then the interior ones, i
/// outer and j inner; elements in the order of their cells. All ranks bring the same arguments.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param pos       2 x N or 3 x N coordinates of the nodes of the loop, and of others if there are any.
/// @param boundary  2*(m+n) + 1 node numbers below N; first and last are equal. Bottom, right, top, left.
/// @param n         cells in the second direction.
/// @param[out] mesh what it held is dropped. Rank r has the r-th share of the m lines of n cells, in pairs of
///                  lines; with more ranks than pairs of lines some have none.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    `pos` has neither 2 nor 3 rows.
/// @retval -3    the loop is too short, not closed, or names a node that does not exist.
/// @retval -4    `n` is 0, leaves no cell along the bottom or does not fit the length of the loop.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: proportional to the loop and the share; lines between shares travel once.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_struct_Q4(MPI_Comm comm, const dense2D<double>& pos,
                                                const dense1D<unsigned, 8>& boundary, unsigned n,
                                                partitioned_mesh& mesh);

/// Fills a four-sided patch with a structured grid of triangles, each rank a run of whole lines of cells.
///
/// Everything is as for quadrilaterals, with the two triangles of a cell one behind the other, as
/// `tessel2d::mesh_struct_T3` makes them.
///
/// @param comm      the ranks; stays in use as long as the mesh.
/// @param pos       2 x N or 3 x N coordinates of the nodes of the loop, and of others if there are any.
/// @param boundary  2*(m+n) + 1 node numbers below N; first and last are equal. Bottom, right, top, left.
/// @param n         cells in the second direction.
/// @param pattern   which diagonal cuts a cell: 0, 1 or, in turn, 2.
/// @param[out] mesh what it held is dropped.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    `pos` has neither 2 nor 3 rows.
/// @retval -3    the loop is too short, not closed, or names a node that does not exist.
/// @retval -4    `n` is 0, leaves no cell along the bottom or does not fit the length of the loop.
/// @retval -5    `pattern` is not 0, 1 or 2.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: proportional to the loop and the share; lines between shares travel once.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_struct_T3(MPI_Comm comm, const dense2D<double>& pos,
                                                const dense1D<unsigned, 8>& boundary, unsigned n,
                                                int pattern, partitioned_mesh& mesh);

/// A sweep of the library with all of its arguments but coordinates, profile and elements:
///
///     [&](dense2D<double>& pos, const dense2D<unsigned>& edges, dense2D<unsigned>& connect) {
///         return tessel2d::extrude_rotate_Q4(pos, edges, C, A, 4000, connect);
///     }
using sweep = std::function<int(dense2D<double>& pos, const dense2D<unsigned>& edges,
                                dense2D<unsigned>& connect)>;

/// Sweeps a profile of edges into a strip, each rank a run of the edges, by any of the library's functions
/// `extrude_translate_*`, `extrude_rotate_*`, `extrude_spiral_*` and `extrude_normal_*`.
///
/// Numbers and coordinates are those of that function on the whole profile: nodes of `pos` first, then layer by layer
/// the nodes of the profile in the order in which the edges name them first; the elements of an edge one behind the
/// other. All ranks bring the same arguments, the whole profile too.
///
/// @param comm     the ranks; stays in use as long as the mesh.
/// @param pos      2 x N or 3 x N coordinates of the nodes of the profile, and of others if there are any.
/// @param profile  2 x E node numbers below N, one edge per column.
/// @param by       is called once on each rank that has edges, with a copy of `pos`, some edges of the profile (the first
///                 one, its own and those that touch them) and an empty connectivity. It must be one call of one of
///                 these functions, and may not throw.
/// @param[out] mesh  what it held is dropped. Rank r has the elements of the r-th share of the edges.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL, or PETSc is not initialised.
/// @retval -2    `pos` has neither 2 nor 3 rows.
/// @retval -3    `profile` has not 2 rows, has no edges, or names a node that does not exist.
/// @retval -4    `by` is empty, returned a negative status other than -199, or has not done what a sweep does.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a share outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: proportional to the profile and the share; the layers over a node between shares travel once.
ZEL_TESSEL2D_DISTRIBUTED_API int extrude(MPI_Comm comm, const dense2D<double>& pos,
                                         const dense2D<unsigned>& profile, const sweep& by,
                                         partitioned_mesh& mesh);

} // namespace zel::distributed
