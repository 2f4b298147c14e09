// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

/// Outlines for generators and order conversion, and meshes put together. Straight lines of nodes come
/// from `tessel1d::mesh_straight`.
namespace zel::host {

/// Divides the arc between two nodes into n cells of equal angle, counterclockwise around a centre.
///
/// New node k, for k = 1 ... n-1, lies at k/n of the angle from a to b. If a and b are not equally far from
/// the centre, the distance changes evenly along the arc. If a and b lie in the same direction, or are the same
/// node, the arc is a full turn. For a clockwise arc exchange a and b; `patch_loop` takes either direction.
///
/// @param[in,out] pos   2 x N coordinates. Grows by n-1 nodes behind the present ones.
/// @param a, b          numbers of the first and last node, below N.
/// @param centre        the centre; at neither node.
/// @param n             cells; 0 means nothing to do, 1 adds no node.
/// @param[in,out] line  grows by n+1 entries: a, the new nodes in order, b.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` does not have 2 rows.
/// @retval -2    `a` does not exist.
/// @retval -3    `b` does not exist.
/// @retval -4    `centre` lies at one of the nodes, or something is not finite.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `line` as they were. Cost: proportional to n.
/// @snippet examples/outlines.cpp arc
ZEL_TESSEL2D_HOST_API int arc(dense2D<double>& pos, unsigned a, unsigned b,
                              const vector_fixed<double, 2>& centre, unsigned n,
                              dense1D<unsigned, 8>& line);

/// Joins four lines of nodes to the closed loop of a patch, and turns those that run backwards.
///
/// @verbatim
///           top
///        C3------C2
///   left |        | right
///        C0------C1
///          bottom
/// @endverbatim
///
/// The loop runs along bottom, right, top and left, from the first node of `bottom` if it meets the next
/// side at its last, else from its last. Opposite sides have equally many nodes, as patches want it.
///
/// @param bottom, right, top, left  two nodes at least each.
/// @param[out] loop  the nodes of the loop, first and last equal, in memory of its own.
///
/// @retval 0     done.
/// @retval -1    `bottom` has fewer than two nodes, or does not meet `right` at an end.
/// @retval -2    `right` has fewer than two nodes, or does not meet `top` at an end.
/// @retval -3    `top` has fewer than two nodes, or does not meet `left` at an end; or it has another number
///               of nodes than `bottom`.
/// @retval -4    `left` has fewer than two nodes, or does not come back to where the loop began; or it has
///               another number of nodes than `right`.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `loop` as it was. Cost: proportional to the nodes.
/// @snippet examples/outlines.cpp patch
ZEL_TESSEL2D_HOST_API int patch_loop(const dense1D<unsigned, 8>& bottom,
                                     const dense1D<unsigned, 8>& right,
                                     const dense1D<unsigned, 8>& top,
                                     const dense1D<unsigned, 8>& left, dense1D<unsigned, 8>& loop);

/// Takes a line of nodes apart into corners and the nodes between them, as order conversion wants the edges
/// of a curved outline.
///
/// @param line  nodes along the curve, as from `arc`: every (a+1)-th is a corner. The a nodes between two
///              corners have consecutive numbers, upwards or, where the line runs backwards, downwards.
/// @param a     nodes between two corners, 1 at least.
/// @param[out] corners    the corners in order, in memory of their own.
/// @param[in,out] edges   grows by one column per edge, of a + 2 rows: its two corners and its nodes between,
///              in the direction in which these numbers go up. This is the argument `edges` of
///              `convert_into_high_order` and, with a = 1, of `convert_into_quadratic`.
///
/// Until the elements have been raised, no element uses the nodes between corners. Where patches are joined
/// before that, give both tables to `tessel::merge(pos, connect, edges, ...)` and `tessel::simplify(pos,
/// connect, edges, ...)`: else these nodes are removed, and the numbers in `edges` are stale.
///
/// @retval 0     done.
/// @retval -1    `line` does not consist of whole edges, or nodes between two corners are not numbered
///               consecutively.
/// @retval -2    `a` is zero.
/// @retval -4    `edges` holds columns of another height.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `corners` and `edges` as they were. Cost: proportional to the line.
/// @snippet examples/outlines.cpp curved
ZEL_TESSEL2D_HOST_API int curved_edges(const dense1D<unsigned, 8>& line, unsigned a,
                                       dense1D<unsigned, 8>& corners, dense2D<unsigned>& edges);

/// Appends a mesh to another one: nodes behind nodes and elements behind elements, with numbers shifted.
/// 0xFFFFFFFF stays what it is. Nodes that coincide are not joined; `tessel::merge` does that.
///
/// @param[in,out] pos      2 x N or 3 x N coordinates, or empty.
/// @param[in,out] connect  elements of any kind, or empty.
/// @param pos2     as many rows as `pos`.
/// @param connect2  as many rows as `connect`; node numbers below the columns of `pos2`, or 0xFFFFFFFF. The
///                 same matrices as the first two are fine.
///
/// @retval 0     done.
/// @retval -1    `pos` holds columns of neither 2 nor 3 rows.
/// @retval -3    `pos2` has neither 2 nor 3 rows, or others than `pos`; an empty one is fine.
/// @retval -4    `connect2` has other rows than `connect`, or names a node that `pos2` does not have.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `connect` as they were. Cost: proportional to the second mesh, and to
/// the first when its memory has to grow.
/// @snippet examples/outlines.cpp append
ZEL_TESSEL2D_HOST_API int append(dense2D<double>& pos, dense2D<unsigned>& connect,
                                 const dense2D<double>& pos2, const dense2D<unsigned>& connect2);

} // namespace zel::host
