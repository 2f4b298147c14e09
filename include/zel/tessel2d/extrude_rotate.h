// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// Sweeps a profile of edges around a centre in the plane into quadrilaterals, in layers of equal angle.
///
/// The node of layer k is its node of the profile turned by k*angle/nbr_layers. Numbering is that of all
/// sweeps: see "zel/tessel2d/extrusion.h". A full turn is not closed: its last layer has nodes of its own
/// on those of the profile.
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values. A matrix of 3 rows is
///                      taken too and loses the third one.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param C             the centre.
/// @param angle         the whole angle in radians, anticlockwise; 0 gives layers that coincide.
/// @param nbr_layers    0: nothing to do; the result is 0 whatever the other arguments are.
/// @param[in,out] connectQ4  4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -6    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectQ4` and the columns of
///               `pos` are as they were; if memory is exhausted `pos` has 2 rows.
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different blocks
/// may run at the same time.
/// @snippet examples/sweep.cpp ring
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle,
                                       unsigned nbr_layers, dense2D<unsigned>& connectQ4);

/// The same with layers sized from `h0` to `h1` in a geometric progression along the way of the first
/// node of the first edge, L = |angle| times its distance from C. The number of layers is
/// L*ln(h1/h0)/(h1 - h0), or L/h for equal sizes, rounded up or down at the geometric mean of the two
/// candidates, and at least 1. So a first node at the centre gives one layer for the whole angle.
///
/// @param h0            size of the first layer, above 0.
/// @param h1            size of the last layer, above 0.
/// @param force_even    the number of layers is a multiple of 2, at least 2.
///
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    as above.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -8    `connectQ4` holds columns of another height.
/// @retval -199  as above, or the number of layers is not finite or not below 2^32.
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle, double h0,
                                       double h1, bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around an axis in space into quadrilaterals, in layers of equal angle.
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates. Two rows are widened by a third row of zeros.
/// @param C             a point of the axis.
/// @param A             the rotation vector: its direction is the axis, its length the whole angle in
///                      radians, in the sense of the right hand (O. Rodrigues, 1840). A zero vector gives
///                      layers that coincide.
/// @param[in,out] connectQ4  4 x M node numbers that are none yet, or 3 x M. Three rows are widened by a
///                      fourth one with 0xFFFFFFFF, which makes triangles of the present columns. Four
///                      rows are refused unless M is 0.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `connectQ4` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers; nothing has changed.
/// Any other negative status leaves all arguments as they were. All else is as in the plane.
/// @snippet examples/sweep.cpp vase
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, unsigned nbr_layers,
                                       dense2D<unsigned>& connectQ4);

/// The same with layers sized from `h0` to `h1` along the way of the first node of the first edge, |A|
/// times its distance from the axis; see the sized sweep in the plane.
///
/// @retval -1, -2  as above.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -8    `connectQ4` holds columns of other than 3 rows.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///               finite or not below 2^32. `pos` may have been widened if memory is exhausted.
ZEL_TESSEL2D_API int extrude_rotate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, double h0, double h1,
                                       bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges around a centre in the plane into triangles: the strip of
/// `extrude_rotate_Q4`, each quadrilateral cut along a diagonal.
///
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3  3 x M node numbers, or empty. Gets 2*nbr_layers*E columns.
///
/// @retval -7    `connectT3` holds columns of another height.
/// All other statuses and arguments are as for quadrilaterals.
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle,
                                       unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

/// The same with layers sized from `h0` to `h1`; here `pattern` is tested.
///
/// @retval -1, -2, -5, -6  as for quadrilaterals.
/// @retval -7    `pattern` is not 0, 1 or 2.
/// @retval -9    `connectT3` holds columns of another height.
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 2>& C, double angle, double h0,
                                       double h1, int pattern, bool force_even,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges around an axis in space into triangles. `pattern` is not tested; any value
/// but 0 and 2 acts as 1.
///
/// @retval -1, -2  as for quadrilaterals.
/// @retval -7    `connectT3` holds columns of other than 3 rows.
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, unsigned nbr_layers,
                                       int pattern, dense2D<unsigned>& connectT3);

/// The same with layers sized from `h0` to `h1`. `pattern` is not tested.
///
/// @retval -1    `pos` has neither 2 nor 3 rows, or `connectE2` has not 2 rows or names a node that does
///               not exist.
/// @retval -5    `h0` is not above 0.
/// @retval -6    `h1` is not above 0.
/// @retval -9    `connectT3` holds columns of other than 3 rows.
ZEL_TESSEL2D_API int extrude_rotate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const vector_fixed<double, 3>& C,
                                       const vector_fixed<double, 3>& A, double h0, double h1,
                                       int pattern, bool force_even, dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
