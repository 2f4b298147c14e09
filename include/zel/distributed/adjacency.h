// SPDX-License-Identifier: Apache-2.0
// How the elements of a mesh in parts lie beside one another, and around each node.
#pragma once

#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Neighbours and ancestors in global numbers.
struct adjacency {
    /// Rows of the connectivity, a column for each element of the part, copies included: entry (k, e) is the
    /// element across edge k, or `no_number`.
    dense2D<number> neighbors;
    /// One entry for each node of the part, copies included: the lowest element that has it, or `no_number`.
    dense1D<number, 8> ancestors;
    /// Edges of the whole mesh on which more than two sides of elements lie.
    number shared_by_more = 0;
};

/// Finds the neighbours of all elements and an element for each node: `host::build_adjacency` of the whole mesh.
///
/// @param mesh         3 or 4 rows.
/// @param[out] result  the tables; what it held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `result` as it was. Cost: that of the host tools on the part with one layer of halo; what
/// travels is proportional to the border.
ZEL_TESSEL2D_DISTRIBUTED_API int build_adjacency(const partitioned_mesh& mesh, adjacency& result);

/// Lists the star of each node that is this rank's own, in the order of slots: the elements around it as one meets
/// them when turning around the node, as `tessel2d::get_connected_elements` does with the tables of
/// `build_adjacency`.
///
/// @param mesh           3 or 4 rows.
/// @param[out] starts    one entry for each own node and one more; the list of the node in slot s is elements
///                       [starts[s], starts[s + 1]).
/// @param[out] elements  global numbers. What both held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner; or the elements around a
///               node do not run alike, so that turning around it does not come to an end: the library ends its
///               work early there. `mesh_reorient` helps.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves both lists as they were. Cost: as for `build_adjacency`.
ZEL_TESSEL2D_DISTRIBUTED_API int get_connected_elements(const partitioned_mesh& mesh,
                                                        dense1D<number, 8>& starts,
                                                        dense1D<number, 8>& elements);

/// Finds the smallest and the largest corner angle of each element: `tessel2d::angles` on every part.
///
/// @param mesh             3 or 4 rows.
/// @param normalise        false: radians. true: units of the corner of a regular element.
/// @param[out] min_angles  one entry for each element of the part, copies included.
/// @param[out] max_angles  likewise. What both held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves both lists as they were. Cost: that of the library; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int angles(const partitioned_mesh& mesh, bool normalise,
                                        dense1D<double, 8>& min_angles,
                                        dense1D<double, 8>& max_angles);

/// Finds the circumcentre of each triangle: `tessel2d::circumcenters` on every part.
///
/// @param mesh          3 rows of elements.
/// @param[out] centers  rows of the coordinates, one column for each element of the part, copies included. What it
///                      held is dropped.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, does not have 3 rows, or lacks a corner.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `centers` as it was. Cost: that of the library; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int circumcenters(const partitioned_mesh& mesh,
                                               dense2D<double>& centers);

} // namespace zel::distributed
