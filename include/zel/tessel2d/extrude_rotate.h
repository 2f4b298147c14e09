// SPDX-License-Identifier: Apache-2.0
// Sweeps of a line mesh around a centre in the plane or an axis in space.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// Sweeps a profile of edges around a centre in the plane into quadrilaterals, in layers of equal angle.
///
/// The node of layer k is its node of the profile turned by k/nbr_layers of the whole angle. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h". A full turn is not closed: its last layer has
/// nodes of its own on those of the profile.
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column, or 3 x nods0, which lose their third
///                      row. Gets one column per distinct node of the profile and layer; present columns
///                      keep their first two values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             the centre.
/// @param angle         the whole angle in radians, counterclockwise; 0 gives layers that coincide.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectQ4` and the columns of
///              `pos` are as they were, and `pos` has 2 rows.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp ring
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle,
                                       unsigned nbr_layers, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around a centre in the plane into quadrilaterals, with layers sized from h0
/// to h1.
///
/// The layers are sized in a geometric progression along the way of the first node of the first edge: L =
/// |angle| times its distance from C. The number of layers is L*ln(h1/h0)/(h1 - h0), or L/h for equal
/// sizes, rounded up or down at the geometric mean of the two candidates, and at least 1. So a first node
/// on the centre or axis gives one layer for the whole angle. Numbering is that of all sweeps: see
/// "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             the centre.
/// @param angle         the whole angle in radians, counterclockwise; 0 gives layers that coincide.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets N*E columns. It may share its storage with
///                      `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -8    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectQ4` and the columns of `pos` are as they were, and
///              `pos` has 2 rows.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp ring
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle, double h0,
                                       double h1, bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around an axis in space into quadrilaterals, in layers of equal angle.
///
/// The node of layer k is its node of the profile turned by k/nbr_layers of the whole angle. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h". A full turn is not closed: its last layer has
/// nodes of its own on those of the profile.
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand (O. Rodrigues, 1840). A zero vector gives
///                      layers that coincide.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers that are none yet, or 3 x M. Three rows are widened by a
///                      fourth one with 0xFFFFFFFF, which makes triangles of the present columns; four
///                      rows are refused unless M is 0. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `connectQ4` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. Nothing has changed.
///
/// A negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp vase
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, unsigned nbr_layers,
                                       dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around an axis in space into quadrilaterals, with layers sized from h0 to
/// h1.
///
/// The layers are sized in a geometric progression along the way of the first node of the first edge: L =
/// |A| times its distance from the axis. The number of layers is L*ln(h1/h0)/(h1 - h0), or L/h for equal
/// sizes, rounded up or down at the geometric mean of the two candidates, and at least 1. So a first node
/// on the centre or axis gives one layer for the whole angle. Numbering is that of all sweeps: see
/// "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand (O. Rodrigues, 1840). A zero vector gives
///                      layers that coincide.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4 4 x M node numbers that are none yet, or 3 x M. Three rows are widened by a
///                      fourth one with 0xFFFFFFFF, which makes triangles of the present columns; four
///                      rows are refused unless M is 0. Gets N*E columns. It may share its storage with
///                      `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -8    `connectQ4` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectQ4` and the columns of `pos` are as they were. `pos`
///              has 3 rows then, unless memory ran out for the third one itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp vase
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, double h0, double h1,
                                       bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around a centre in the plane into triangles, in layers of equal angle.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The node of layer k is its node of the profile turned by k/nbr_layers of the whole angle. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h". A full turn is not closed: its last layer has
/// nodes of its own on those of the profile.
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column, or 3 x nods0, which lose their third
///                      row. Gets one column per distinct node of the profile and layer; present columns
///                      keep their first two values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             the centre.
/// @param angle         the whole angle in radians, counterclockwise; 0 gives layers that coincide.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -7    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectT3` and the columns of
///              `pos` are as they were, and `pos` has 2 rows.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp ring
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle,
                                       unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges around a centre in the plane into triangles, with layers sized from h0 to
/// h1.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The layers are sized in a geometric progression along the way of the first node of the first edge: L =
/// |angle| times its distance from C. The number of layers is L*ln(h1/h0)/(h1 - h0), or L/h for equal
/// sizes, rounded up or down at the geometric mean of the two candidates, and at least 1. So a first node
/// on the centre or axis gives one layer for the whole angle. Numbering is that of all sweeps: see
/// "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             the centre.
/// @param angle         the whole angle in radians, counterclockwise; 0 gives layers that coincide.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h".
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*N*E columns. It may share its storage
///                      with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -7    `pattern` is not 0, 1 or 2.
/// @retval -9    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectT3` and the columns of `pos` are as they were, and
///              `pos` has 2 rows.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp ring
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle, double h0,
                                       double h1, int pattern, bool force_even,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges around an axis in space into triangles, in layers of equal angle.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The node of layer k is its node of the profile turned by k/nbr_layers of the whole angle. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h". A full turn is not closed: its last layer has
/// nodes of its own on those of the profile.
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand (O. Rodrigues, 1840). A zero vector gives
///                      layers that coincide.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -7    `connectT3` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. Nothing has changed.
///
/// A negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp vase
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, unsigned nbr_layers,
                                       int pattern, dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges around an axis in space into triangles, with layers sized from h0 to h1.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The layers are sized in a geometric progression along the way of the first node of the first edge: L =
/// |A| times its distance from the axis. The number of layers is L*ln(h1/h0)/(h1 - h0), or L/h for equal
/// sizes, rounded up or down at the geometric mean of the two candidates, and at least 1. So a first node
/// on the centre or axis gives one layer for the whole angle. Numbering is that of all sweeps: see
/// "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand (O. Rodrigues, 1840). A zero vector gives
///                      layers that coincide.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*N*E columns. It may share its storage
///                      with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows, or `connectE2` has not 2 rows or names a node that does
///              not exist.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -9    `connectT3` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectT3` and the columns of `pos` are as they were. `pos`
///              has 3 rows then, unless memory ran out for the third one itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp vase
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, double h0, double h1,
                                       int pattern, bool force_even, dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
