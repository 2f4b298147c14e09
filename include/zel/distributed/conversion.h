// SPDX-License-Identifier: Apache-2.0
// The order of elements of a mesh in parts up and down, all-quadrilateral meshes, and elements cut or turned
// over.
#pragma once

#include "zel/distributed/mesh.h"
#include "zel/element_type.h"

namespace zel::distributed {

/// Raises linear elements to any order, in place: each edge gets `a` nodes, each quadrilateral `b` and each
/// triangle `c` nodes inside.
///
/// Numbers, columns and positions are those of `tessel2d::convert_into_high_order` on one rank: new nodes behind
/// the present ones, those on edges first, each edge at its first use in the order of the elements and in the
/// direction of that use, then those inside. With c = 3 the columns that the library leaves behind the last
/// node are there too, shared out among the ranks.
///
/// @param[in,out] mesh  3 or 4 rows, 0xFFFFFFFF in row 3 of a triangle among quadrilaterals. Without halo
///                      afterwards.
/// @param a             nodes on an edge.
/// @param b             nodes in a quadrilateral, a square number.
/// @param c             nodes in a triangle: 0, 1 or 3.
/// @param edges         (a + 2) x G global node numbers: edges that have their nodes already. Each rank brings
///                      any run of them, which follow one another in the order of the ranks, or an empty
///                      matrix. Rows as in the library: the ends, and the first of the nodes, which the others
///                      follow in number; of an edge that is given twice the direction of the first and the
///                      nodes of the last count.
///
/// @retval 0     done, or nothing to do (the mesh has no elements, or a + b + c is 0); then it stays as it is.
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -2    `a` is 0 and b + c is not, which the library answers with elements without corners.
/// @retval -3    `b` is not a square number.
/// @retval -4    `c` is 2 or above 3.
/// @retval -5    a run of `edges` does not have a + 2 rows, or names a node that does not exist, or the nodes of
///               an edge do not end before the last node of the mesh.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: that of the library on the part with one layer of halo; what travels is proportional to the border,
/// to the runs of consecutive element numbers on a rank and, for given edges, to these and to the runs of node
/// numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int convert_into_high_order(partitioned_mesh& mesh, unsigned a,
                                                         unsigned b, unsigned c,
                                                         const dense2D<number>& edges);

/// Raises linear elements to Q9 and T6, in place: `convert_into_high_order` with a = 1, b = 1, c = 0.
///
/// @param[in,out] mesh  3 or 4 rows; 6 rows if all elements are triangles, else 9 afterwards. Without halo
///                      afterwards.
/// @param edges         3 x G given edges, or an empty matrix, as for `convert_into_high_order`.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -5    a run of `edges` does not have 3 rows, or names a node that does not exist.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: that of `convert_into_high_order`.
ZEL_TESSEL2D_DISTRIBUTED_API int convert_into_quadratic(partitioned_mesh& mesh,
                                                        const dense2D<number>& edges);
/// The same without given edges.
/// @param[in,out] mesh  3 or 4 rows.
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
ZEL_TESSEL2D_DISTRIBUTED_API int convert_into_quadratic(partitioned_mesh& mesh);

/// Lowers T6, Q8, Q9 and mixed quadratic elements to linear ones, in place, by cutting rows. The nodes that fall
/// out stay nodes of the mesh.
///
/// @param[in,out] mesh  6 rows: 3 afterwards. 8 or 9 rows: 4 afterwards. Without halo afterwards.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator or other rows, 3 and 4 among them.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: one pass; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int convert_into_linear(partitioned_mesh& mesh);

/// Cuts quadratic elements into four linear ones each, on the nodes that they have, in place.
///
/// Pieces are those of `tessel2d::split_into_linear`; piece k of element e has the number 4e + k.
///
/// @param[in,out] mesh  6 rows: 3 afterwards. 9 rows: 4 afterwards. Without halo afterwards.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator or has neither 6 nor 9 rows.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: one pass; what travels is proportional to the
/// runs of consecutive element numbers on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int split_into_linear(partitioned_mesh& mesh);

/// Makes an all-quadrilateral mesh of any linear one, in place: each quadrilateral is cut into four, each
/// triangle into three, on a new node on each edge and one in each element.
///
/// @param[in,out] mesh  3 or 4 rows; 4 afterwards. Without halo afterwards.
/// @param edges         3 x G given edges, or an empty matrix, as for `convert_into_high_order`.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows, or lacks a corner.
/// @retval -2    a run of `edges` does not have 3 rows, or names a node that does not exist.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: that of `convert_into_high_order`.
ZEL_TESSEL2D_DISTRIBUTED_API int split_into_Q4(partitioned_mesh& mesh,
                                               const dense2D<number>& edges);

/// Along which diagonal `split_Q4_into_T3` cuts.
enum class diagonal {
    first,  ///< from the first corner to the third, whatever the shape
    better, ///< the one that gives the better triangles, as the library's form with positions
};

/// Cuts each quadrilateral into two triangles, in place. Triangles stay.
///
/// @param[in,out] mesh  3 or 4 rows; 3 afterwards. Without halo afterwards.
/// @param by            along which diagonal.
/// @param[out] cut      how many quadrilaterals of the whole mesh have been cut.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator, has neither 3 nor 4 rows or, where positions count, lacks a corner.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` and `cut` as they were on all ranks. Cost: that of the library on the part;
/// what travels is proportional to the runs of consecutive element numbers on a rank.
ZEL_TESSEL2D_DISTRIBUTED_API int split_Q4_into_T3(partitioned_mesh& mesh, diagonal by, number& cut);

/// Cuts the bad quadrilaterals and keeps the others, in place: the library's form with thresholds.
///
/// @param[in,out] mesh       4 rows, 0xFFFFFFFF in row 3 of a triangle. Afterwards first the elements kept, then
///                           two triangles for each element cut, both in the order of the elements. Without halo
///                           afterwards.
/// @param min_quality        least shape quality.
/// @param min_angle_quality  least angle quality times warp quality.
/// @param min_warp_quality   least warp quality.
/// @param criterion          how the diagonal is chosen.
/// @param[out] cut           how many quadrilaterals of the whole mesh have been cut.
///
/// @retval 0     done, or nothing to do (the mesh has no elements).
/// @retval -1    the mesh has no communicator, does not have 4 rows, or lacks a corner.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` and `cut` as they were on all ranks. Cost: as for the form above.
ZEL_TESSEL2D_DISTRIBUTED_API int split_Q4_into_T3(partitioned_mesh& mesh, double min_quality,
                                                  double min_angle_quality, double min_warp_quality,
                                                  int criterion, number& cut);

/// Turns all elements of a kind over, mid-side nodes included: `tessel2d::flip` on every part, halo and all.
///
/// @param[in,out] mesh  a mesh.
/// @param type          the kind, or ELEMENT_FACE for what the rows tell, as for the library's form with a kind.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    the rows of the mesh do not suit `type`.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks. Cost: one pass; nothing travels.
ZEL_TESSEL2D_DISTRIBUTED_API int flip(partitioned_mesh& mesh, element_type type);

} // namespace zel::distributed
