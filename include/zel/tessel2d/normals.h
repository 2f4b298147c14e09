// SPDX-License-Identifier: Apache-2.0
// Normals of the nodes and elements of a surface in space, and surfaces moved or copied along them.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Normals and offsets of surfaces in space.
namespace zel::tessel2d {

/// Normal vectors at the nodes of a surface in space.
///
/// The normal of a triangle points to the side from which its corners turn counterclockwise; that of a
/// quadrilateral A, B, C, D is the vector product of its diagonals, (C - A) x (D - B). Both are as long
/// as twice the area of the element (of a plane one), and that is the element's size s. A node's normal
/// is the sum of the unit normals of the elements around it, each weighted by s^power.
///
/// With 4294967295 nodes 0xFFFFFFFE is one too. In row 3 it gives a quadrilateral the normal of the
/// triangle of its first three corners; it still adds to the normals of all four.
///
/// @param pos      3 x N coordinates, one node per column.
/// @param connect  3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle. An
///                 element with 0xFFFFFFFF in one of the first three rows has no normal and adds to no
///                 node.
/// @param power    0 weights all elements alike, 1 by area; negative powers favour small elements. A NaN
///                 or an infinity weights alike. The largest finite double, 1.7976931348623157e308,
///                 takes the largest element of a node, its negative the smallest, in the order of the
///                 elements: an element that is larger (smaller) than the one held replaces the vector,
///                 and each one that loses is added to it with weight 1 and raises the size held by 1.
///                 So the vector is the pure normal of the winner only if no element loses behind it.
/// @param unit     true: unit vectors; false: the sum divided by that of the weights, which is shorter
///                 than 1 at a crease. Has no effect on the two extreme powers.
/// @param[out] N   3 x N, one vector per node; emptied first, whatever it held. Zero for a node that no
///                 element names and for one with elements of no area only. It may be `pos` itself,
///                 which counts as it is on entry.
///
/// @retval 0     done; `N` stays empty when `pos` or `connect` is empty.
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `N` empty.
///
/// An element of no area has the zero vector: it disturbs no neighbour if the power is at least 0 and
/// `unit` is true; without `unit` and with power 0 it counts in the mean; with a negative power its
/// weight is infinite and its nodes get NaN. Nothing looks at creases: a node on one gets one vector.
///
/// Cost: one pass over the elements and one over the nodes, at the speed at which corners are fetched;
/// `pow` for each element unless the power is 0 or 1. One allocation for the output, and one of a number
/// per node unless `unit` is true and the power 0 or 1. Views with a leading dimension larger than their
/// rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/normals.cpp node_normals
ZEL_TESSEL2D_API int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                             double power, bool unit, dense2D<double>& N);

/// Normal vectors of the elements of a surface in space.
///
/// @param pos      3 x N coordinates, one node per column.
/// @param connect  3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle. An
///                 element with 0xFFFFFFFF in one of the first three rows has no normal.
/// @param unit     true: unit vectors; false: vectors as long as twice the area of the element.
/// @param[out] N   3 x E, one vector per element; emptied first, whatever it held. It may be `pos`
///                 itself, which counts as it is on entry.
///
/// @retval 0     done; `N` stays empty when `pos` or `connect` is empty.
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `N` empty.
///
/// An element of no area has the zero vector. One whose squared length vanishes, since it is shorter
/// than about 1e-162, keeps its length, also with `unit`. Coordinates that are not finite give vectors
/// that are not. Cost: one pass over the elements and one allocation.
/// @snippet examples/normals.cpp element_normals
ZEL_TESSEL2D_API int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                             bool unit, dense2D<double>& N);

/// Moves the nodes of a surface in space along given vectors.
///
/// Node j goes from x to x + d*N(:, j). Each node that `connect` names moves once, however many elements
/// name it; the others stay.
///
/// @param[in,out] pos  3 x N coordinates, one node per column.
/// @param connect  3 x E node numbers, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle; 0xFFFFFFFF
///                 in another row is passed over. With another number of rows no node moves.
/// @param N        3 rows, column j is the vector of node j. It may share its storage with `pos`, or be
///                 `pos`, and counts as it is on entry.
/// @param d        distance in lengths of the vectors, against them if negative. 0: nothing to do,
///                 whatever the other arguments are.
///
/// @retval 0     done, or nothing to do (`connect` is empty or `d` is 0).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` names a node that `pos` or `N` does not have.
/// @retval -3    `N` does not have 3 rows.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `pos` as it was.
///
/// Cost: proportional to the elements, and memory for each node of `pos`, or, if the elements are few
/// beside the nodes, for each node named. Views with a leading dimension larger than their rows are fine.
/// Calls on different blocks may run at the same time.
/// @snippet examples/normals.cpp offset_along
ZEL_TESSEL2D_API int offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                            const dense2D<double>& N, double d);

/// Moves the nodes of a surface in space by a tensor times given vectors: an offset that differs by
/// direction. Node j goes from x to x + M*N(:, j); a tensor of zeros is no exception.
///
/// @param[in,out] pos  3 x N coordinates, one node per column. Each node that `connect` names moves once.
/// @param connect  3 x E node numbers, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle; 0xFFFFFFFF
///                 in another row is passed over. With another number of rows no node moves.
/// @param N        3 rows, column j is the vector of node j. It may share its storage with `pos`, or be
///                 `pos`, and counts as it is on entry.
/// @param M        3 x 3, packed as a00, a01, a11, a02, a12, a22.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` names a node that `pos` or `N` does not have.
/// @retval -3    `N` does not have 3 rows.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `pos` as it was. Cost: that of the offset by a distance along given vectors.
/// @snippet examples/normals.cpp offset_by_tensor
ZEL_TESSEL2D_API int offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                            const dense2D<double>& N, const symmetric_fixed<double, 3>& M);

/// Moves the nodes of a surface in space along its own normals: those at the nodes, unit vectors weighted
/// by area.
///
/// @param[in,out] pos  3 x N coordinates, one node per column. Each node that `connect` names moves once.
/// @param connect  3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param d        distance in the unit of `pos`. Above 0 it leads to the side from which the elements
///                 turn counterclockwise. 0: nothing to do, whatever the other arguments are.
///
/// @retval 0     done, or nothing to do (`connect` is empty or `d` is 0).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `pos` holds no node.
/// @retval -3    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `pos` as it was. A node whose elements have no area stays.
///
/// Cost: that of `normals` at the nodes and of the offset along given vectors.
/// @snippet examples/normals.cpp offset
ZEL_TESSEL2D_API int offset(dense2D<double>& pos, const dense2D<unsigned>& connect, double d);

/// Moves the nodes of a surface in space by a tensor times its own normals: those at the nodes, unit
/// vectors weighted by area. A tensor of zeros is no exception.
///
/// @param[in,out] pos  3 x N coordinates, one node per column. Each node that `connect` names moves once.
/// @param connect  3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param M        3 x 3, packed as a00, a01, a11, a02, a12, a22.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `pos` holds no node.
/// @retval -3    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `pos` as it was. A node whose elements have no area stays.
///
/// Cost: that of `normals` at the nodes and of the offset along given vectors.
/// @snippet examples/normals.cpp offset_by_tensor
ZEL_TESSEL2D_API int offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                            const symmetric_fixed<double, 3>& M);

/// Appends a copy of a surface in space that is moved along given vectors.
///
/// The copy has a new node for each node that `connect` names, in the order in which its columns name
/// them first: the i-th has the number nods0 + i, with nods0 the columns of `pos` on entry, and lies at
/// x + d*N(:, j), where x is the place of its node j.
///
/// @param[in,out] pos  3 x nods0 coordinates. Gets one column per node of the copy; present columns keep
///                 their values.
/// @param connect  3 x E node numbers, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle; 0xFFFFFFFF in
///                 another row has no node to copy. With another number of rows no node is
///                 copied, and `connect_out` is a plain copy.
/// @param N        3 rows, column j is the vector of node j. It may share its storage with `pos`, or be
///                 `pos`.
/// @param d        distance in lengths of the vectors. 0 makes a coincident copy, also where a vector is
///                 not finite.
/// @param[out] connect_out  what it held is dropped; the elements of the copy in the order and with the
///                 orientation of `connect`, 0xFFFFFFFF where that has it. It may be `connect` itself.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` names a node that `pos` or `N` does not have.
/// @retval -3    `N` does not have 3 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was and `connect_out` empty. So is `connect_out` when `connect`
/// is empty.
///
/// Cost: proportional to the elements, and one number per node of `pos` of memory besides the outputs,
/// or, if the elements are few beside the nodes, for each node named.
/// @snippet examples/normals.cpp copy_with_offset_along
ZEL_TESSEL2D_API int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                                      const dense2D<double>& N, double d,
                                      dense2D<unsigned>& connect_out);

/// Appends a copy of a surface in space that is moved by a tensor times given vectors, M*N(:, j).
///
/// The copy is numbered as by the copy along given vectors by a distance.
///
/// @param[in,out] pos  3 x nods0 coordinates. Gets one column per node of the copy; present columns keep
///                 their values.
/// @param connect  3 x E node numbers, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle. With another
///                 number of rows no node is copied, and `connect_out` is a plain copy.
/// @param N        3 rows, column j is the vector of node j. It may share its storage with `pos`, or be
///                 `pos`.
/// @param M        3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @param[out] connect_out  the elements of the copy in the order and with the orientation of `connect`,
///                 0xFFFFFFFF where that has it. What it held is dropped. It may be `connect` itself.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then `connect_out` stays as it was).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` names a node that `pos` or `N` does not have.
/// @retval -3    `N` does not have 3 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was. `connect_out` keeps what it held too, unless memory runs out
/// in the last step: then it holds the elements of the copy and `pos` lacks their nodes.
///
/// Cost: proportional to the elements, and one number per node of `pos` of memory besides the outputs,
/// or, if the elements are few beside the nodes, for each node named.
/// @snippet examples/normals.cpp copy_with_offset_by_tensor
ZEL_TESSEL2D_API int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                                      const dense2D<double>& N, const symmetric_fixed<double, 3>& M,
                                      dense2D<unsigned>& connect_out);

/// Appends a copy of a surface in space that is moved along its own normals: a parallel surface.
///
/// The normals are those at the nodes, unit vectors weighted by area. The copy is numbered as by the copy
/// along given vectors.
///
/// @param[in,out] pos  3 x nods0 coordinates. Gets one column per node of the copy; present columns keep
///                 their values.
/// @param connect  3 x E node numbers below nods0, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param d        distance in the unit of `pos`. Above 0 it leads to the side from which the elements
///                 turn counterclockwise; 0 makes a coincident copy.
/// @param[out] connect_out  the elements of the copy in the order and with the orientation of `connect`,
///                 0xFFFFFFFF where that has it. What it held is dropped. It may be `connect` itself.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `pos` holds no node.
/// @retval -3    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was and `connect_out` empty. So is `connect_out` when `connect`
/// is empty. A node whose elements have no area is copied in its place.
///
/// Cost: that of `normals` at the nodes and of the copy along given vectors.
/// @snippet examples/normals.cpp copy_with_offset
ZEL_TESSEL2D_API int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                                      double d, dense2D<unsigned>& connect_out);

/// Appends a copy of a surface in space that is moved by a tensor times its own normals.
///
/// The normals are those at the nodes, unit vectors weighted by area. The copy is numbered as by the copy
/// along given vectors.
///
/// @param[in,out] pos  3 x nods0 coordinates. Gets one column per node of the copy; present columns keep
///                 their values.
/// @param connect  3 x E node numbers below nods0, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param M        3 x 3, packed as a00, a01, a11, a02, a12, a22.
/// @param[out] connect_out  the elements of the copy in the order and with the orientation of `connect`,
///                 0xFFFFFFFF where that has it. What it held is dropped. It may be `connect` itself.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then `connect_out` stays as it was).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `pos` holds no node.
/// @retval -3    `connect` has neither 3 nor 4 rows or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was. `connect_out` keeps what it held too, unless memory runs out
/// in the last step: then it holds the elements of the copy and `pos` lacks their nodes.
///
/// Cost: that of `normals` at the nodes and of the copy along given vectors.
/// @snippet examples/normals.cpp copy_with_offset_by_tensor
ZEL_TESSEL2D_API int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                                      const symmetric_fixed<double, 3>& M,
                                      dense2D<unsigned>& connect_out);

} // namespace zel::tessel2d
