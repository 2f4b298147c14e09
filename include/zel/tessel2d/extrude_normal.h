// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "foundation/dense.h"
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
/// @retval -3    `V` has not 2 rows; or, tested last, it lacks the column of a node of the profile.
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

} // namespace zel::tessel2d
