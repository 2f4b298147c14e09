// SPDX-License-Identifier: Apache-2.0
// Areas, corner angles and circumcentres of elements, and the stars of nodes.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Measures: areas, angles and circumcentres, and the star of each node.
namespace zel::tessel2d {

/// Measures the area of a mesh of triangles, quadrilaterals or both.
///
/// In the plane each element counts with its sign: one that turns clockwise is subtracted. In space
/// each counts with its magnitude, and a warped quadrilateral is cut along the diagonal that gives
/// the larger area. The elements are summed in their order, so that the result is always the same.
///
/// @param pos          2 x N or 3 x N coordinates, one node per column.
/// @param connect      3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a
///                     triangle.
/// @param[out] result  the area, in the square of the unit of `pos`; 0 whenever the status is not 0
///                     or there is no element.
///
/// @retval 0   done, or nothing to do (`connect` is empty; then `pos` is not looked at).
/// @retval -1  `pos` has neither 2 nor 3 rows.
/// @retval -2  `connect` has neither 3 nor 4 rows, or names a node that does not exist.
///
/// A collapsed element adds 0. Coordinates that are not finite give a result that is not finite.
///
/// Cost: one pass over the elements, at the speed at which their corners are fetched. No memory is
/// needed. Views with a leading dimension larger than their rows are fine.
/// @snippet examples/measures.cpp area
ZEL_TESSEL2D_API int area(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                          double& result);

/// Finds the smallest and the largest corner angle of each element.
///
/// The angle at a corner is atan2(|u x w|, u . w), where u runs to the next corner and w to the
/// previous one. In space it lies between 0 and pi. In the plane the vector product is signed and so
/// is the angle: it lies between -pi and pi, and is negative at the corners of an element that turns
/// clockwise and at a reflex corner of one that turns counterclockwise.
///
/// @param pos       2 x N or 3 x N coordinates, one node per column.
/// @param connect   3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param normalise false: angles in radians. true: angles in units of the corner of a regular
///                  element, 60 degrees in a triangle and 90 degrees in a quadrilateral.
/// @param[out] min_angles  the smallest angle of each element; what it held is dropped.
/// @param[out] max_angles  the largest angle of each element; what it held is dropped. It is another list
///                  than `min_angles`.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then `pos` is not looked at).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows; both lists are empty then. Or it names a node
///               that does not exist; both lists hold E zeros then.
/// @retval -199  memory is exhausted; both lists are empty.
///
/// A side of length zero makes an angle of 0 at both its ends. A coordinate that is NaN makes angles that
/// are NaN; the smallest and the largest are found by plain comparison from the first corner on, so that
/// such an angle counts at the first corner and is passed over at others.
///
/// Cost: one pass over the elements; atan2 takes most of the time. One allocation per list. Views
/// with a leading dimension larger than their rows are fine, and the lists may share storage with
/// `pos` or with each other: what they share stays as it is.
/// @snippet examples/measures.cpp angles
ZEL_TESSEL2D_API int angles(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                            bool normalise, dense1D<double, 8>& min_angles,
                            dense1D<double, 8>& max_angles);

/// Finds the circumcentre of each triangle: the point at the same distance from its three corners.
///
/// In the plane it is sought from the midpoint of the longest side along the perpendicular, so that
/// the centre of a right triangle is exactly the midpoint of its hypotenuse. In space it is the
/// solution of a 2 x 2 system for the two shortest sides, refined twice.
///
/// @param pos           2 x N or 3 x N coordinates, one node per column.
/// @param connect       3 x E node numbers below N.
/// @param[out] centers  what it held is dropped; it gets as many rows as `pos` and E columns. It may
///                      share storage with `pos` or be `pos` itself, which counts as it is on entry.
///
/// @retval 0     done; a `connect` of 3 rows without columns gives no centres.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` does not have 3 rows, also when it is empty; or it names a node that does
///               not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `centers` empty.
///
/// A flat triangle has a centre too: in the plane, where its height is not above 5e-13 of the
/// distance from the midpoint of the longest side to the corner, that midpoint; in space, where the
/// sine of the angle between the two shortest sides is not above 1e-6, its third node.
///
/// Cost: one pass over the triangles and one allocation. Views with a leading dimension larger than
/// their rows are fine.
/// @snippet examples/measures.cpp circumcenters
ZEL_TESSEL2D_API int circumcenters(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                                   dense2D<double>& centers);

/// Lists the star of every node: the elements around it, in the order in which one meets them when turning
/// around the node.
///
/// The list of node n is elements[starts[n]] up to, not including, elements[starts[n + 1]]. With
/// counterclockwise elements it runs counterclockwise. Around an interior node it begins with the node's
/// ancestor; at a boundary node it runs from one boundary edge to the other, whichever element the
/// ancestor is.
///
/// @param connect    3 x E node numbers, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param neighbors  shape of `connect`: entry (k, e) is the element across local edge k of element e,
///                   or 0xFFFFFFFF. Edge k of a triangle lies opposite corner k; edge k of a
///                   quadrilateral starts from corner k. Any number of E or more counts as none.
/// @param ancestors  one entry per node: an element that holds it, any of them, or 0xFFFFFFFF for a
///                   node without elements, whose list is empty.
/// @param[out] starts    what it held is dropped; it gets one entry per node and one more, the size of
///                       `elements`.
/// @param[out] elements  what it held is dropped; it gets all lists end to end. Not the same list as
///                       `starts`; both may share storage with the inputs or be one of them, which
///                       count as they are on entry.
///
/// @retval 0     done.
/// @retval -1    `connect` has neither 3 nor 4 rows.
/// @retval -2    `neighbors` has another shape than `connect`.
/// @retval -3    an ancestor is neither below E nor 0xFFFFFFFF.
/// @retval -199  memory is exhausted before the first list is begun.
///
/// A negative status leaves both lists empty.
///
/// Adjacency that is not one ends the work early, with status 0: a walk that meets an element without
/// the node, or that has made E steps without coming round. The list of that node holds what was met
/// and is the last one, so that `starts` has fewer entries than nodes and one more; so it is, without
/// that node's list, when memory for more than six elements per node runs out on the way. Of a star whose
/// elements meet in the node alone, only the part that is connected to the ancestor through edges is found.
///
/// Cost: proportional to the result; no list of the elements of a node is built beforehand. Memory of
/// one mark per element besides the result. Views with a leading dimension larger than their rows are
/// fine.
/// @snippet examples/curvatures.cpp stars
ZEL_TESSEL2D_API int get_connected_elements(const dense2D<unsigned>& connect,
                                            const dense2D<unsigned>& neighbors,
                                            const dense1D<unsigned, 8>& ancestors,
                                            dense1D<unsigned, 8>& starts,
                                            dense1D<unsigned, 8>& elements);

} // namespace zel::tessel2d
