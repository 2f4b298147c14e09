// zel tessel2d: planar and surface mesh tools.
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
/// @param V             2 rows, column j is the whole way of node j. Nodes that the profile does not name
///                      need no column. It may share its storage with `pos`, or be `pos`.
/// @param nbr_layers    0 adds nothing; the other arguments are tested nevertheless.
/// @param[in,out] connectQ4  4 x M node numbers, or empty. Gets nbr_layers*E columns. It may share its
///                      storage with `connectE2`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do.
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `V` has not 2 rows; or, tested last and only if there are layers, it lacks the column of
///               a node of the profile.
/// @retval -5    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
/// A negative status leaves all arguments as they were.
///
/// Cost: proportional to the strip; one allocation per output, and as much again as the profile for
/// numbering it. Views with a leading dimension larger than their rows are fine. Calls on different blocks
/// may run at the same time.
/// @snippet examples/sweep.cpp given_vectors
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const dense2D<double>& V, unsigned nbr_layers,
                                       dense2D<unsigned>& connectQ4);

/// Sweeps a planar profile of edges along its own normals into quadrilaterals, with layers sized from h0
/// to h1.
///
/// The normal of an edge from a to b points to its left; that of a node is the mean of those of its edges,
/// weighted by their lengths and made a unit vector (see `tessel1d::normals`). So the strip has the
/// thickness H along the normal of each node, also at corners, where a constant offset would be thicker.
/// The number of layers is H*ln(h1/h0)/(h1 - h0), or H/h for equal sizes, rounded up or down at the
/// geometric mean of the two candidates, and at least 1; the first one lies at the profile.
///
/// @param[in,out] pos   as above.
/// @param connectE2     as above.
/// @param H             the whole thickness, above 0.
/// @param h0            size of the first layer, above 0.
/// @param h1            size of the last layer, above 0.
/// @param force_even    the number of layers is a multiple of 2, at least 2.
/// @param[in,out] connectQ4  as above.
///
/// @retval 0     done, or nothing to do (`connectE2` is empty).
/// @retval -1    `pos` has not 2 rows.
/// @retval -2    `connectE2` has not 2 rows or names a node that does not exist.
/// @retval -3    `H` is not above 0.
/// @retval -4    `h0` is not above 0.
/// @retval -5    `h1` is not above 0.
/// @retval -7    `connectQ4` holds columns of another height.
/// @retval -199  memory is exhausted, the nodes outgrow 32-bit numbers, or the number of layers is not
///               finite or not below 2^32.
/// A negative status leaves all arguments as they were. A node whose edges all have length zero, or whose
/// normals cancel, has no normal; its layers coincide with it.
/// @snippet examples/sweep.cpp boundary_layer
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, double h0, double h1, bool force_even,
                                       dense2D<unsigned>& connectQ4);

/// The same in `nbr_layers` layers of equal size, H/nbr_layers, which is passed on as `h0` and `h1`; 0:
/// nothing to do, whatever the other arguments are. Statuses are those of the sized function.
ZEL_TESSEL2D_API int extrude_normal_Q4(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, unsigned nbr_layers, dense2D<unsigned>& connectQ4);

/// Sweeps a planar profile of edges along a given vector for each node into triangles: the strip of
/// `extrude_normal_Q4`, each quadrilateral cut along a diagonal.
///
/// @param pattern       0, 1 or 2, see "zel/tessel2d/extrusion.h". It is not tested; any other value acts
///                      as 1.
/// @param[in,out] connectT3  3 x M node numbers, or empty. Gets 2*nbr_layers*E columns.
///
/// @retval 0, -1, -2, -3, -199  as for quadrilaterals.
/// @retval -6    `connectT3` holds columns of another height.
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       const dense2D<double>& V, unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

/// Sweeps a planar profile of edges along its own normals into triangles. `pattern` is not tested; any
/// value but 0 and 2 acts as 1.
///
/// @retval 0, -1 to -5, -199  as for quadrilaterals.
/// @retval -8    `connectT3` holds columns of another height.
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, double h0, double h1, bool force_even, int pattern,
                                       dense2D<unsigned>& connectT3);

/// The same in `nbr_layers` layers of equal size, H/nbr_layers; 0: nothing to do, whatever the other
/// arguments are. Statuses are those of the sized function.
ZEL_TESSEL2D_API int extrude_normal_T3(dense2D<double>& pos, const dense2D<unsigned>& connectE2,
                                       double H, unsigned nbr_layers, int pattern,
                                       dense2D<unsigned>& connectT3);

} // namespace zel::tessel2d
