// SPDX-License-Identifier: Apache-2.0
// Nodes that coincide fused over the borders of the parts, and nodes of no element removed.
#pragma once

#include "zel/distributed/export.h"
#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Fuses nodes that coincide, on whichever ranks they are: every number of a fused node in the elements is replaced by
/// the number of the node that is kept. The nodes stay; `simplify` removes those that nothing refers to any more.
///
/// The elements are those of `tessel::merge` on one rank, in global numbers: nodes are visited in ascending order of
/// their numbers, and each is fused with the lowest kept node before it that lies closer than `tolerance` or has equal
/// coordinates. Nodes of no element count, and so do those of equal coordinates far from each other in the mesh.
///
/// @param[in,out] mesh  any mesh; without halo afterwards.
/// @param tolerance     the distance below which nodes are one. Zero, a negative number and NaN fuse nodes of equal
///                      coordinates only; infinity fuses all finite nodes.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: each rank tells all others sixteen boxes around its nodes; nodes within the tolerance of a box of another rank
/// travel there. Nodes that are close to one another, directly or over others between them, and do not lie on one rank
/// are fused by one of the ranks: so much memory one rank must have.
ZEL_TESSEL2D_DISTRIBUTED_API int merge(partitioned_mesh& mesh, double tolerance);

/// Removes the nodes from number `first_node` on that no element refers to. The others move up in their order.
///
/// The mesh is that of `tessel::simplify` on one rank.
///
/// @param[in,out] mesh  any mesh. The halo stays as deep as it is.
/// @param first_node    the first node that may be removed. At or above the number of nodes nothing changes.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: one pass over the part; what travels is proportional to the border and to the runs of consecutive numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int simplify(partitioned_mesh& mesh, number first_node);

} // namespace zel::distributed
