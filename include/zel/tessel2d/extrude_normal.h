// SPDX-License-Identifier: Apache-2.0
// Sweeps of a planar line mesh along its own normals or given vectors.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// Sweeps a planar profile of edges along a given vector for each node into quadrilaterals, in layers of
/// equal size.
///
/// The node of layer k lies at k/nbr_layers times the vector from its node in the profile; the last layer
/// at its tip. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param V             2 rows, column j is the whole way of node j, in the unit of `pos`. Nodes that the
///                      profile does not name need no column. It may share its storage with `pos`, or be
///                      `pos`.
/// @param nbr_layers    number of layers; 0 adds nothing, but the other arguments are tested
///                      nevertheless.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `V` has not 2 rows; or, tested last and only if there are layers, it lacks the column of
///              a node of the profile.
/// @retval -5    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp given_vectors
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const dense2D<double>& V, unsigned nbr_layers,
                                       dense2D<unsigned>& connectQ4);

/// Sweeps a planar profile of edges along its own normals into quadrilaterals, with layers sized from h0
/// to h1.
///
/// The normal of an edge from a to b points to its left; that of a node is the mean of those of its
/// edges, weighted by their lengths and made a unit vector (see `tessel1d::normals`). So the strip has
/// the thickness H along the normal of each node, also at corners, where a constant offset would be
/// thicker.
///
/// The number of layers is H*ln(h1/h0)/(h1 - h0), or H/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates, and at least 1; the first one lies at the profile. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param H             the whole thickness, in the unit of `pos`, above 0.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets N*E columns. It may share its storage with
///                      `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do (`connectE2` is empty).
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `H` is not above 0.
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32.
///
/// A negative status leaves all arguments as they were.
///
/// A node whose edges all have length zero, or whose normals cancel, has no normal; its layers coincide
/// with it.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, double h0, double h1, bool force_even,
                                       dense2D<unsigned>& connectQ4);

/// Sweeps a planar profile of edges along its own normals into quadrilaterals, in layers of equal size.
///
/// The normal of an edge from a to b points to its left; that of a node is the mean of those of its
/// edges, weighted by their lengths and made a unit vector (see `tessel1d::normals`). So the strip has
/// the thickness H along the normal of each node, also at corners, where a constant offset would be
/// thicker.
///
/// The layers are H/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param H             the whole thickness, in the unit of `pos`, above 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param[in,out] connectQ4 4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `H` is not above 0.
/// @retval -4    `H` is so small that a layer has no thickness.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all arguments as they were.
///
/// A node whose edges all have length zero, or whose normals cancel, has no normal; its layers coincide
/// with it.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, unsigned nbr_layers, dense2D<unsigned>& connectQ4);

/// Sweeps a planar profile of edges along a given vector for each node into triangles, in layers of equal
/// size.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The node of layer k lies at k/nbr_layers times the vector from its node in the profile; the last layer
/// at its tip. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param V             2 rows, column j is the whole way of node j, in the unit of `pos`. Nodes that the
///                      profile does not name need no column. It may share its storage with `pos`, or be
///                      `pos`.
/// @param nbr_layers    number of layers; 0 adds nothing, but the other arguments are tested
///                      nevertheless.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `V` has not 2 rows; or, tested last and only if there are layers, it lacks the column of
///              a node of the profile.
/// @retval -6    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const dense2D<double>& V, unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a planar profile of edges along its own normals into triangles, with layers sized from h0 to
/// h1.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The normal of an edge from a to b points to its left; that of a node is the mean of those of its
/// edges, weighted by their lengths and made a unit vector (see `tessel1d::normals`). So the strip has
/// the thickness H along the normal of each node, also at corners, where a constant offset would be
/// thicker.
///
/// The number of layers is H*ln(h1/h0)/(h1 - h0), or H/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates, and at least 1; the first one lies at the profile. Numbering is
/// that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param H             the whole thickness, in the unit of `pos`, above 0.
/// @param h0            size of the first layer, in the unit of `pos`, above 0; infinity asks for the
///                      fewest layers.
/// @param h1            size of the last layer, in the unit of `pos`, above 0.
/// @param force_even    true: the number of layers is a multiple of 2, at least 2.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*N*E columns. It may share its storage
///                      with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do (`connectE2` is empty).
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `H` is not above 0.
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///              finite or not below 2^32.
///
/// A negative status leaves all arguments as they were.
///
/// A node whose edges all have length zero, or whose normals cancel, has no normal; its layers coincide
/// with it.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, double h0, double h1, bool force_even, int pattern,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a planar profile of edges along its own normals into triangles, in layers of equal size.
///
/// Each quadrilateral of the strip is cut along a diagonal.
///
/// The normal of an edge from a to b points to its left; that of a node is the mean of those of its
/// edges, weighted by their lengths and made a unit vector (see `tessel1d::normals`). So the strip has
/// the thickness H along the normal of each node, also at corners, where a constant offset would be
/// thicker.
///
/// The layers are H/nbr_layers thick, which is passed on as `h0` and `h1` of the sized form, in whose
/// list of arguments the statuses count. Numbering is that of all sweeps: see "zel/tessel2d/extrusion.h".
///
/// @param[in,out] pos   2 x nods0 coordinates, one node per column. Gets one column per distinct node of
///                      the profile and layer; present columns keep their values.
/// @param connectE2     2 x E node numbers below nods0, one edge per column. Empty: nothing to do.
/// @param H             the whole thickness, in the unit of `pos`, above 0.
/// @param nbr_layers    number of layers; 0: nothing to do, the result is 0 whatever the other arguments
///                      are.
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3 3 x M node numbers, or empty. Gets 2*nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `H` is not above 0.
/// @retval -4    `H` is so small that a layer has no thickness.
/// @retval -8    `connectT3` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all arguments as they were.
///
/// A node whose edges all have length zero, or whose normals cancel, has no normal; its layers coincide
/// with it.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different
/// blocks may run at the same time.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
