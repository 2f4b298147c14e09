// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "foundation/dense.h"
#include "zel/tessel2d/export.h"

/// Measures: areas, angles and circumcentres.
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
/// clockwise and at a reflex corner of one that turns counter-clockwise.
///
/// @param pos       2 x N or 3 x N coordinates, one node per column.
/// @param connect   3 x E node numbers below N, or 4 x E, where 0xFFFFFFFF in row 3 marks a triangle.
/// @param normalise false: angles in radians. true: angles in units of the corner of a regular
///                  element, 60 degrees in a triangle and 90 degrees in a quadrilateral.
/// @param[out] min_angles, max_angles  what they held is dropped; they get one entry per element.
///                  They are two different lists.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then `pos` is not looked at).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows; both lists are empty then. Or it names a node
///               that does not exist; both lists hold E zeros then.
/// @retval -199  memory is exhausted; both lists are empty.
///
/// A side of length zero makes an angle of 0 at both its ends. A coordinate that is not a number makes
/// angles that are not numbers; the smallest and the largest are found by plain comparison from the
/// first corner on, so that such an angle counts at the first corner and is passed over at others.
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

} // namespace zel::tessel2d
