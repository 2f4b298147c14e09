// SPDX-License-Identifier: Apache-2.0
// Sums over meshes in parts: area, enclosed volume, and sums of values per node or element.
#pragma once

#include "zel/distributed/export.h"
#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Measures the area of a mesh.
///
/// Each element counts as in `tessel2d::area`, rounded as there; the sum of these numbers is formed without
/// rounding and rounded once. So the result has the same bits on any number of ranks and for any partition. It
/// differs from that of `tessel2d::area` on one rank, which rounds after each element, by no more than E * 2^-53 times
/// the sum of the magnitudes of E elements, but for terms of E^2 * 2^-106.
///
/// @param mesh         triangles, or quadrilaterals and triangles.
/// @param[out] result  the area in the square of the unit of length, the same on all ranks; 0 without elements. In the
///                     plane elements that turn clockwise are subtracted. NaN or infinite if the area of an element
///                     is, or if the sum is out of the range of numbers.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, its elements have neither 3 nor 4 rows, or a corner stands for no
///               node.
/// @retval -198  MPI reported a failure.
///
/// A negative status leaves `result` as it was on all ranks.
///
/// Cost: one pass over the part; 2 KB travel, however large the mesh is.
ZEL_TESSEL2D_DISTRIBUTED_API int area(const partitioned_mesh& mesh, double& result);

/// Measures the signed volume that a closed surface encloses: positive if the elements run counterclockwise seen from
/// outside.
///
/// The result is that of `host::volume` on one rank, to the bit: the double next to the exact value.
///
/// @param mesh         triangles, or quadrilaterals and triangles, in space.
/// @param[out] result  the volume in cubed units of length, the same on all ranks; 0 without elements, NaN if a
///                     coordinate of a node of an element is not finite, infinite if it is out of the range of numbers.
///
/// @retval 0      done, or nothing to do (the mesh has no elements; then its nodes are not looked at).
/// @retval k > 0  the surface is not closed: so many edges are not shared by exactly two elements that run along them
///                in opposite directions. `result` stays as it was.
/// @retval -1     the mesh has no communicator, its nodes do not have 3 coordinates, its elements have neither 3 nor 4
///                rows, or a corner stands for no node.
/// @retval -198   MPI or PETSc reported a failure.
/// @retval -199   memory is exhausted on a rank.
///
/// A negative status leaves `result` as it was on all ranks.
///
/// Cost: a halo of one layer, unless there is one, and a sort of the edges of the part.
ZEL_TESSEL2D_DISTRIBUTED_API int volume(const partitioned_mesh& mesh, double& result);

/// Sums up values of the elements: the exact sum, rounded once, with the same bits however the mesh is shared out.
///
/// @param mesh         any mesh.
/// @param values       one per local element of this rank; those of copies do not count.
/// @param[out] result  the sum, the same on all ranks: 0 without elements; NaN if a value is NaN or if both
///                     infinities occur.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    a list has another length than its rank has elements.
/// @retval -198  MPI reported a failure.
///
/// A negative status leaves `result` as it was on all ranks.
///
/// Cost: one pass over the values; 2 KB travel.
ZEL_TESSEL2D_DISTRIBUTED_API int
sum_over_elements(const partitioned_mesh& mesh, const dense1D<double, 8>& values, double& result);

/// Sums up values of the nodes: the exact sum, rounded once, with the same bits however the mesh is shared out.
///
/// @param mesh         any mesh.
/// @param values       one per local node of this rank; each node counts once, on the rank that is in charge of it.
/// @param[out] result  as for `sum_over_elements`.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    a list has another length than its rank has nodes.
/// @retval -198  MPI reported a failure.
///
/// A negative status leaves `result` as it was on all ranks.
///
/// Cost: one pass over the values; 2 KB travel.
ZEL_TESSEL2D_DISTRIBUTED_API int sum_over_nodes(const partitioned_mesh& mesh,
                                                const dense1D<double, 8>& values, double& result);

} // namespace zel::distributed
