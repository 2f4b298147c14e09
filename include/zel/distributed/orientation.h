// SPDX-License-Identifier: Apache-2.0
// One orientation for a surface in parts.
#pragma once

#include "zel/distributed/export.h"
#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// What `mesh_reorient` has done and what it has found.
struct reorientation {
    number turned = 0; ///< elements that have been turned over
    /// Components with one side only, such as a Moebius band, among those reached. They stay as they are.
    number one_sided = 0;
    /// Edges of elements, in the components reached, whose neighbour has a corner twice, so that a look at the
    /// first corner of that number does not find the edge there: where `tessel2d::mesh_reorient` reports a
    /// conflict when it comes by. Here the edge counts as it runs, and elements on both sides of it agree.
    number conflicts = 0;
};

/// Makes the elements of a surface agree with one of them, across the borders of the parts: two neighbours agree
/// if they run along their common edge in opposite directions.
///
/// Neighbours are two elements that alone have an edge, as `host::build_adjacency` finds them; edges of more than
/// two elements connect nothing. In each component one element's orientation holds: in that of `seed` the seed's,
/// in another one that of its lowest element behind `seed`. Components that lie in front of `seed` as a whole are
/// never reached. So it is on one rank: without conflicts and one-sided components the elements and the number
/// turned are those of `tessel2d::mesh_reorient`.
///
/// A component with one side only cannot be made to agree. On one rank the result then depends on the path that
/// the walk takes; here such a component stays as it is, element by element, and is counted. That depends on
/// neither the number of ranks nor the partition.
///
/// @param[in,out] mesh    triangles, or quadrilaterals and triangles. Elements that are turned over exchange
///                        nodes 0 and 2, copies in halos with them. The halo stays as deep as it is.
/// @param seed            global number of the element whose orientation holds.
/// @param all_components  false: only what hangs together with `seed`.
/// @param[out] result     the same on all ranks.
///
/// @retval 0     done, also if there are conflicts or one-sided components, or if there are no elements.
/// @retval -1    the mesh has no communicator, its elements have neither 3 nor 4 rows, or a corner stands for no
///               node.
/// @retval -2    there is no element `seed`.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` and `result` as they were on all ranks.
///
/// Cost: one pass over the part; then the pieces into which the borders cut the components find together, in as
/// good as the logarithm of their number of steps. What travels is proportional to the borders.
ZEL_TESSEL2D_DISTRIBUTED_API int mesh_reorient(partitioned_mesh& mesh, number seed,
                                               bool all_components, reorientation& result);

} // namespace zel::distributed
