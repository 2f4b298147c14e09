// SPDX-License-Identifier: Apache-2.0
// Meshes in parts from PETSc's DMPlex and back. Programs that include this header link PETSc themselves.
#pragma once

#include "zel/distributed/mesh.h"

#include <petscdmplex.h>

namespace zel::distributed {

/// Makes a mesh in parts of a two-dimensional DMPlex, with edges or without.
///
/// Each rank keeps the cells that are its own in the plex; cells of an overlap are left out. Elements get the
/// numbers that they have when the cells of ranks 0, 1, 2, ... follow one another in the order of their points, and
/// so do nodes; so numbers depend on how the plex is shared out. Triangles and quadrilaterals side by side give a mixed mesh of 4 rows.
///
/// @param plex         a DMPlex of dimension 2 with coordinates in the plane or in space; stays as it is.
/// @param[out] mesh    what it held is dropped. Its communicator is the plex's and lives as long as that.
/// @param[out] cells   null, or gets the point of the plex for each own element, in the order of numbers.
/// @param[out] vertices  null, or gets the point of the plex for each node of the part.
///
/// @retval 0     done.
/// @retval -1    `plex` is null or no DMPlex of dimension 2 with coordinates of 2 or 3 components at its
///               vertices alone, or a cell has neither 3 nor 4 corners.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves all outputs as they were.
///
/// Cost: one pass over the plex; then that of `from_blocks`.
ZEL_TESSEL2D_DISTRIBUTED_API int from_dmplex(DM plex, partitioned_mesh& mesh,
                                             dense1D<int, 8>* cells = nullptr,
                                             dense1D<int, 8>* vertices = nullptr);

/// Makes a DMPlex of a mesh in parts, shared out in the same way and without edges, which `DMPlexInterpolate` adds.
///
/// On each rank the own elements are the cells 0, 1, 2, ... in the order of numbers. Behind them come the nodes of
/// own elements in the order of theirs. Nodes of no element are left out.
///
/// @param mesh       a mesh of elements with 3 or 4 rows, with or without halo.
/// @param[out] plex  a new one, which the caller destroys by `DMDestroy`.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or its elements have neither 3 nor 4 rows.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or the mesh outgrows PETSc's 32-bit numbers.
///
/// A negative status leaves `plex` as it was.
///
/// Cost: one pass over the part; what travels is proportional to the border.
ZEL_TESSEL2D_DISTRIBUTED_API int to_dmplex(const partitioned_mesh& mesh, DM* plex);

} // namespace zel::distributed
