// SPDX-License-Identifier: Apache-2.0
// Points in planar meshes in parts: which element holds each, and fields carried onto them.
#pragma once

#include "zel/distributed/export.h"
#include "zel/distributed/mesh.h"
#include "zel/host/locator.h"

#include <limits>

namespace zel::distributed {

/// From where each of the n points of a rank is served.
struct location_table {
    dense1D<host::source, 8> states;
    /// The element that holds a point inside, the node of one that is served by the nearest; else `no_number`.
    dense1D<number, 8> numbers;
    dense1D<home, 8> homes; ///< of that element or node; {-1, 0} without one
    /// 2 x n local coordinates in the element: s and t, the shares of nodes 0 and 1 in a triangle; u and v from -1 to 1 in
    /// a quadrilateral. 0 for points that are not inside.
    dense2D<double> local;
};

/// Finds out for points on any rank from where in a mesh in parts they are served.
///
/// The answer follows from the mesh and the point alone, not from a path, a number of ranks or a partition:
///
/// 1. An element holds a point if for each of its sides from A to B the doubled signed area of the triangle (A, B, p) is
///    at least -`tolerance` times the doubled area of the element, computed as in
///    `tessel2d::get_element_containing_point`, and if the point is no farther outside of the box around its corners than
///    4 sqrt(`tolerance`) of the longer side of the box. Elements whose doubled area is not positive and finite hold
///    nothing. Of several elements that hold a point the one with the lowest number counts: the point is inside.
/// 2. Else, within the box around all finite nodes of elements, the nearest of these counts: distances are compared
///    without rounding, and of several at the same distance the one with the lowest number counts.
/// 3. Else the point is unserved, as is one with a coordinate that is not finite.
///
/// One rank finds the same with `host::locator`, but where a point lies on a side, or within the tolerance of one: there
/// the path of its walk decides between the elements that hold the point, and values of fields differ by rounding (by as
/// much as the tolerance lets a point lie outside). Of a million points at random none differed; of a million points on
/// sides of elements one in nine was found in the other element, and one in fifty got a value with another last bit. One
/// rank may also miss an element behind a degenerate one or a hole, and takes another one of several nodes that are as
/// near.
///
/// @param mesh        triangles, or quadrilaterals and triangles, in the plane, counterclockwise.
/// @param points      2 x n coordinates, any number on each rank; a rank without points may bring an empty matrix.
/// @param tolerance   1e-6 is a good value; a negative number and NaN count as 0 in the box.
/// @param[out] table  what `carry` needs; one entry per point of this rank.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, its nodes do not have 2 coordinates, its elements have neither 3 nor 4
///               rows, or a corner stands for no node.
/// @retval -2    the points of a rank do not have 2 rows, or outgrow 32-bit numbers.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `table` as it was on all ranks.
///
/// Cost: trees over the own elements and nodes, in n log n; each rank tells all others sixteen boxes around its elements
/// and around its nodes. A point travels to the ranks that have a box around it, one that is in no element also to those
/// that may have the nearest node.
ZEL_TESSEL2D_DISTRIBUTED_API int locate(const partitioned_mesh& mesh, const dense2D<double>& points,
                                        double tolerance, location_table& table);

/// Carries a field of a mesh in parts onto the points of a table.
///
/// Inside an element the value is that of `tessel2d::interpolate`, from the same numbers in the same order; served by
/// the nearest node it is that of the node.
///
/// @param mesh         as it was when `locate` made the table.
/// @param table        of this rank's points.
/// @param field        c x N, one column per local node of this rank, copies included; c is the same on all ranks that
///                     have nodes.
/// @param[out] values  c x n. What it held is dropped.
/// @param unserved     what unserved points get.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    a table is not in itself consistent, or names elements or nodes that the mesh does not have.
/// @retval -3    a field does not have one column per node of its rank, or ranks differ in its rows.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `values` as it was on all ranks.
///
/// Cost: each point that is served from another rank travels there, and its values come back.
ZEL_TESSEL2D_DISTRIBUTED_API int carry(const partitioned_mesh& mesh, const location_table& table,
                                       const dense2D<double>& field, dense2D<double>& values,
                                       double unserved = std::numeric_limits<double>::quiet_NaN());

/// Carries a field of a mesh in parts onto points on any rank: `locate` with a tolerance of 1e-6, then `carry`. So the
/// nodes of another mesh in parts get the field, whichever ranks they are on.
///
/// @param mesh             as for `locate`.
/// @param field            as for `carry`.
/// @param points           as for `locate`.
/// @param[in,out] values   c x n, one column per point; columns of unserved points keep their values. Points may be as
///                         many as the rank has.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, its nodes do not have 2 coordinates, its elements have neither 3 nor 4
///               rows, or a corner stands for no node.
/// @retval -2    a field does not have one column per node of its rank, or ranks differ in its rows.
/// @retval -3    the points of a rank do not have 2 rows, or outgrow 32-bit numbers.
/// @retval -4    a rank's `values` do not have one column per point, or other rows than the field.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `values` as they were on all ranks.
///
/// Cost: as for `locate` and `carry`.
ZEL_TESSEL2D_DISTRIBUTED_API int interpolate(const partitioned_mesh& mesh,
                                             const dense2D<double>& field,
                                             const dense2D<double>& points,
                                             dense2D<double>& values);

} // namespace zel::distributed
