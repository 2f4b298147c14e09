// SPDX-License-Identifier: Apache-2.0
// Normals of the nodes and elements of a surface in parts, and surfaces moved or copied along them.
#pragma once

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Normal vectors at the nodes of a surface in space: `tessel2d::normals`, with its weights and its degenerate
/// cases.
///
/// @param mesh     3 rows of coordinates; 3 or 4 rows of elements.
/// @param power    0 weights all elements of a node alike, 1 by area, ...
/// @param unit     true: unit vectors; false: the weighted mean.
/// @param[out] N   3 x n, one vector for each node of the part, copies included; what it held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, does not have 3 rows of coordinates or 3 or 4 rows of elements.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `N` as it was. A node of no element has the zero vector, also where the library gives
/// no vectors at all, as it does for a mesh without elements.
///
/// Cost: that of the library on the part with one layer of halo; what travels is proportional to the border, and less
/// if the mesh has a halo already.
ZEL_TESSEL2D_DISTRIBUTED_API int normals(const partitioned_mesh& mesh, double power, bool unit,
                                         dense2D<double>& N);

/// Normal vectors of the elements of a surface in space: `tessel2d::normals` for elements.
///
/// @param mesh     3 rows of coordinates; 3 or 4 rows of elements.
/// @param unit     true: unit vectors; false: vectors as long as twice the area of the element.
/// @param[out] N   3 x m, one vector for each element of the part, copies included; what it held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, does not have 3 rows of coordinates or 3 or 4 rows of elements.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `N` as it was. Cost: that of the library; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int element_normals(const partitioned_mesh& mesh, bool unit,
                                                 dense2D<double>& N);

/// Moves the nodes of a surface in space along given vectors: each node of an element goes from x to x + d*N(:, j).
///
/// @param[in,out] mesh  3 rows of coordinates.
/// @param N             3 x n, column j the vector of local node j; copies of a node have the same vector on all
///                      ranks, as `normals` gives them.
/// @param d             distance in lengths of the vectors. 0: nothing to do.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -2    `N` does not have 3 rows and a column for each node of the part.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: one pass; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int offset(partitioned_mesh& mesh, const dense2D<double>& N, double d);
/// The same by a tensor times given vectors: from x to x + M*N(:, j).
/// @param[in,out] mesh  3 rows of coordinates.
/// @param N             3 x n, as above.
/// @param M             3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @retval 0     done, or nothing to do.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -2    `N` does not have 3 rows and a column for each node of the part.
/// @retval -199  memory is exhausted on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int offset(partitioned_mesh& mesh, const dense2D<double>& N,
                                        const symmetric_fixed<double, 3>& M);
/// The same along its own normals: unit vectors at the nodes, weighted by area.
/// @param[in,out] mesh  3 rows of coordinates.
/// @param d             distance in the unit of the coordinates. 0: nothing to do.
/// @retval 0     done, or nothing to do.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int offset(partitioned_mesh& mesh, double d);
/// The same by a tensor times its own normals.
/// @param[in,out] mesh  3 rows of coordinates.
/// @param M             3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @retval 0     done, or nothing to do.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int offset(partitioned_mesh& mesh,
                                        const symmetric_fixed<double, 3>& M);

/// Makes a copy of a surface in space that is moved along given vectors, on new nodes behind the present ones.
///
/// The copy has a new node for each node that an element names, numbered in the order in which the elements name
/// them first, and the elements of the surface with their numbers: the outcome of `tessel2d::copy_with_offset`.
///
/// @param mesh        3 rows of coordinates.
/// @param N           3 x n, column j the vector of local node j, as for `offset`.
/// @param d           distance in lengths of the vectors. 0 makes a coincident copy.
/// @param[out] copy   the nodes of `mesh` and behind them the new ones; the elements of the copy. What it held is
///                    dropped. It may be `mesh` itself. Without halo.
///
/// @retval 0     done. A mesh without elements gives itself.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -2    `N` does not have 3 rows and a column for each node of the part.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `copy` as it was on all ranks. Cost: one pass; what travels is proportional to the border
/// and to the runs of consecutive element numbers on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int copy_with_offset(const partitioned_mesh& mesh,
                                                  const dense2D<double>& N, double d,
                                                  partitioned_mesh& copy);
/// The same by a tensor times given vectors.
/// @param mesh        3 rows of coordinates.
/// @param N           3 x n, as above.
/// @param M           3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @param[out] copy   as above.
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -2    `N` does not have 3 rows and a column for each node of the part.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int copy_with_offset(const partitioned_mesh& mesh,
                                                  const dense2D<double>& N,
                                                  const symmetric_fixed<double, 3>& M,
                                                  partitioned_mesh& copy);
/// The same along the surface's own normals: unit vectors at the nodes, weighted by area.
/// @param mesh        3 rows of coordinates.
/// @param d           distance in the unit of the coordinates.
/// @param[out] copy   as above.
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int copy_with_offset(const partitioned_mesh& mesh, double d,
                                                  partitioned_mesh& copy);
/// The same by a tensor times the surface's own normals.
/// @param mesh        3 rows of coordinates.
/// @param M           3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @param[out] copy   as above.
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or does not have 3 rows of coordinates or 3 or 4 of elements.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int copy_with_offset(const partitioned_mesh& mesh,
                                                  const symmetric_fixed<double, 3>& M,
                                                  partitioned_mesh& copy);

} // namespace zel::distributed
