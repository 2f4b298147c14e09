// SPDX-License-Identifier: Apache-2.0
// Sweeps of a line mesh along a screw: around an axis and along a vector.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// Sweeps a profile of edges along a screw into quadrilaterals, with layers sized from h0 to h1: around
/// an axis and along a vector, both growing together.
///
/// At the fraction s of the sweep a node p lies at C + R*(p - C) + s*T, R the rotation by s*A. The layers
/// are counted along T alone, however long the arc is: with L = |T| there are L*ln(h1/h0)/(h1 - h0) of
/// them, or L/h for equal sizes, rounded up or down at the geometric mean of the two candidates, and at
/// least 1. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   3 x nods0 coordinates, one node per column; 2 rows are not widened. Gets one
///                      column per distinct node of the profile and layer; present columns keep their
///                      values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand. A zero vector gives a translation.
/// @param T             the whole way, in the unit of `pos`. A zero vector gives one layer, or two, for
///                      the whole rotation.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets N*E columns. It may share its storage with
///                      `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    `h0` is not above 0.
/// @retval -7    `h1` is not above 0.
/// @retval -9    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectQ4` is as it was; `pos` has lost its third row.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp spiral
ZEL_TESSEL2D_API int extrude_spiral_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A,
                                       const vector_fixed<double, 3>& T, double h0, double h1,
                                       bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a screw into quadrilaterals, in layers of equal size: around an axis
/// and along a vector, both growing together.
///
/// At the fraction s of the sweep a node p lies at C + R*(p - C) + s*T, R the rotation by s*A. The layers
/// are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose list of
/// arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   3 x nods0 coordinates, one node per column; 2 rows are not widened. Gets one
///                      column per distinct node of the profile and layer; present columns keep their
///                      values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand. A zero vector gives a translation.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    the length of `T` is not above 0.
/// @retval -9    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectQ4` is as it was;
///              `pos` has lost its third row.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp spiral
ZEL_TESSEL2D_API int extrude_spiral_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A,
                                       const vector_fixed<double, 3>& T, unsigned nbr_layers,
                                       dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a screw into triangles, with layers sized from h0 to h1: around an
/// axis and along a vector, both growing together.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// At the fraction s of the sweep a node p lies at C + R*(p - C) + s*T, R the rotation by s*A. The layers
/// are counted along T alone, however long the arc is: with L = |T| there are L*ln(h1/h0)/(h1 - h0) of
/// them, or L/h for equal sizes, rounded up or down at the geometric mean of the two candidates, and at
/// least 1. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   3 x nods0 coordinates, one node per column; 2 rows are not widened. Gets one
///                      column per distinct node of the profile and layer; present columns keep their
///                      values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand. A zero vector gives a translation.
/// @param T             the whole way, in the unit of `pos`. A zero vector gives one layer, or two, for
///                      the whole rotation.
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
/// @retval -1    `pos` has not 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    `h0` is not above 0.
/// @retval -4    `h1` is not above 0.
/// @retval -10   `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectT3` is as it was; `pos` has lost its third row.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp spiral
ZEL_TESSEL2D_API int extrude_spiral_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A,
                                       const vector_fixed<double, 3>& T, double h0, double h1,
                                       int pattern, bool force_even, dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges along a screw into triangles, in layers of equal size: around an axis and
/// along a vector, both growing together.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// At the fraction s of the sweep a node p lies at C + R*(p - C) + s*T, R the rotation by s*A. The layers
/// are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose list of
/// arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   3 x nods0 coordinates, one node per column; 2 rows are not widened. Gets one
///                      column per distinct node of the profile and layer; present columns keep their
///                      values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand. A zero vector gives a translation.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    the length of `T` is not above 0.
/// @retval -10   `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectT3` is as it was;
///              `pos` has lost its third row.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp spiral
ZEL_TESSEL2D_API int extrude_spiral_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A,
                                       const vector_fixed<double, 3>& T, unsigned nbr_layers,
                                       int pattern, dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
