// SPDX-License-Identifier: Apache-2.0
// Sweeps of a line mesh along a straight vector, in the plane and in space.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// Sweeps a profile of edges along a straight vector into quadrilaterals, with layers sized from h0 to
/// h1.
///
/// @code{.unparsed}
///      +-----+---+--+
///      |     |   |  |
///      |     |   |  |
///      +-----+---+--+
///        h0   -T->  h1
/// @endcode
///
/// Sizes run from `h0` at the profile to `h1` at the far end in a geometric progression. With L = |T| the
/// number of layers N is L*ln(h1/h0)/(h1 - h0), or L/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates (1.41 gives 1, 1.42 gives 2), and at least 1.
///
/// The node of layer k lies at s*T from its node in the profile, s = (R^(k/N) - 1)/(R - 1), R = h1/h0.
/// Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`. A way of length 0 gives one layer of nodes
///                      on the profile.
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
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectQ4` and the columns of `pos` are as they were.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp graded_wall
ZEL_TESSEL2D_API int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 2>& T, double h0, double h1,
                                          bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a straight vector into quadrilaterals, in layers of equal size.
///
/// The layers are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    the length of `T` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectQ4` and the columns of
///              `pos` are as they were.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp counted_strip
ZEL_TESSEL2D_API int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 2>& T, unsigned nbr_layers,
                                          dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a straight vector in space into quadrilaterals, with layers sized from
/// h0 to h1.
///
/// Sizes run from `h0` at the profile to `h1` at the far end in a geometric progression. With L = |T| the
/// number of layers N is L*ln(h1/h0)/(h1 - h0), or L/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates (1.41 gives 1, 1.42 gives 2), and at least 1.
///
/// The node of layer k lies at s*T from its node in the profile, s = (R^(k/N) - 1)/(R - 1), R = h1/h0.
/// Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`. A way of length 0 gives one layer of nodes
///                      on the profile.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets N*E columns. It may share its storage with
///                      `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectQ4` and the columns of `pos` are as they were. `pos`
///              has 3 rows then, unless memory ran out for the third one itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp graded_wall
ZEL_TESSEL2D_API int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 3>& T, double h0, double h1,
                                          bool force_even, dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a straight vector in space into quadrilaterals, in layers of equal
/// size.
///
/// The layers are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    the length of `T` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectQ4` and the columns of
///              `pos` are as they were. `pos` has 3 rows then, unless memory ran out for the third one
///              itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp counted_strip
ZEL_TESSEL2D_API int extrude_translate_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 3>& T, unsigned nbr_layers,
                                          dense2D<unsigned>& connectQ4);

/// Sweeps a profile of edges along a straight vector into triangles, with layers sized from h0 to h1.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// Sizes run from `h0` at the profile to `h1` at the far end in a geometric progression. With L = |T| the
/// number of layers N is L*ln(h1/h0)/(h1 - h0), or L/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates (1.41 gives 1, 1.42 gives 2), and at least 1.
///
/// The node of layer k lies at s*T from its node in the profile, s = (R^(k/N) - 1)/(R - 1), R = h1/h0.
/// Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`. A way of length 0 gives one layer of nodes
///                      on the profile.
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
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -6    `pattern` is not 0, 1 or 2.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectT3` and the columns of `pos` are as they were.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp triangle_patterns
ZEL_TESSEL2D_API int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 2>& T, double h0, double h1,
                                          int pattern, bool force_even,
                                          dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges along a straight vector into triangles, in layers of equal size.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The layers are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h".
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    the length of `T` is not above 0.
/// @retval -6    `pattern` is not 0, 1 or 2.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectT3` and the columns of
///              `pos` are as they were.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp triangle_patterns
ZEL_TESSEL2D_API int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 2>& T, unsigned nbr_layers,
                                          int pattern, dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges along a straight vector in space into triangles, with layers sized from h0
/// to h1.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// Sizes run from `h0` at the profile to `h1` at the far end in a geometric progression. With L = |T| the
/// number of layers N is L*ln(h1/h0)/(h1 - h0), or L/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates (1.41 gives 1, 1.42 gives 2), and at least 1.
///
/// The node of layer k lies at s*T from its node in the profile, s = (R^(k/N) - 1)/(R - 1), R = h1/h0.
/// Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`. A way of length 0 gives one layer of nodes
///                      on the profile.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h".
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*N*E columns. It may share its storage
///                      with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -6    `pattern` is not 0, 1 or 2.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32. `connectT3` and the columns of `pos` are as they were. `pos`
///              has 3 rows then, unless memory ran out for the third one itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp triangle_patterns
ZEL_TESSEL2D_API int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 3>& T, double h0, double h1,
                                          int pattern, bool force_even,
                                          dense2D<unsigned>& connectT3);

/// Sweeps a profile of edges along a straight vector in space into triangles, in layers of equal size.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The layers are |T|/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 or 3 x nods0 coordinates, one node per column. Two rows are widened by
///                      a third row of zeros, behind the tests of the arguments. Gets one column per
///                      distinct node of the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param T             the whole way, in the unit of `pos`; not of length 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h".
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -4    the length of `T` is not above 0.
/// @retval -6    `pattern` is not 0, 1 or 2.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers. `connectT3` and the columns of
///              `pos` are as they were. `pos` has 3 rows then, unless memory ran out for the third one
///              itself.
///
/// Any other negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp triangle_patterns
ZEL_TESSEL2D_API int extrude_translate_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                          const vector_fixed<double, 3>& T, unsigned nbr_layers,
                                          int pattern, dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
