// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

namespace zel::host {

/// Measures the signed volume that a closed surface encloses, so that a host can turn the surface outward:
/// positive if the elements run counterclockwise seen from outside (`tessel2d::flip` turns them all).
///
/// Elements have to run alike: `tessel2d::mesh_reorient` makes them. Of a surface of several components the
/// result is the sum, in which one that is inside out counts negative, as the wall of a cavity is meant to.
/// To turn each of them outward, measure them one by one, as
/// the second example does.
///
/// A triangle counts as it is, a quadrilateral as the bilinear surface through its corners. The result is the
/// double next to the exact value for the given coordinates, so its sign is right however thin the body is, and
/// it does not depend on the order of the elements or on where the surface lies.
///
/// @param pos      3 x N coordinates.
/// @param connect  3 x E triangles, or 4 x E quadrilaterals and triangles, these with 0xFFFFFFFF in row 3;
///                 or empty.
/// @param[out] result  the volume in cubed units of length; 0 without elements, NaN if a coordinate of a node
///                 of an element is not finite, infinite if it is out of the range of numbers.
///
/// @retval 0      done, or nothing to do (`connect` is empty; then `pos` is not looked at).
/// @retval k > 0  the surface is not closed: so many edges are not shared by exactly two elements that run
///                along them in opposite directions. `result` stays as it was.
/// @retval -1     `pos` does not have 3 rows.
/// @retval -2     `connect` has neither 3 nor 4 rows, names a node that does not exist, or has more columns than
///                32-bit numbers can tell apart.
/// @retval -199   memory is exhausted.
///
/// A negative status leaves `result` as it was.
///
/// Cost: proportional to elements and nodes; about a tenth of a microsecond per element.
/// @snippet examples/volume.cpp volume
/// @snippet examples/volume.cpp each_component
ZEL_TESSEL2D_HOST_API int volume(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                                 double& result);

} // namespace zel::host
