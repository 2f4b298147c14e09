// SPDX-License-Identifier: Apache-2.0
// Line meshes: their normals, straight lines, and lists of nodes as edges.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Line meshes: their normals, straight lines, and lists of nodes as edges.
namespace zel::tessel1d {

/// Normal vectors at the nodes of a line mesh in the plane.
///
/// The normal of an edge from a to b is the edge vector turned left by a quarter turn, made a unit
/// vector: (-dy, dx)/length, for a line along +x that is +y. A node's normal is the sum of the normals
/// of its edges, each weighted by length^power.
///
/// @param pos      2 x N coordinates, one node per column.
/// @param connect  2 x E node numbers below N, one edge per column.
/// @param power    exponent of the edge's length in its weight: 0 weights edges alike, 1 by length,
///                 negative values favour short edges. The largest finite double takes the longest
///                 edge of a node, its negative the shortest; there an edge that loses against the one
///                 held so far is still added with weight 1. A NaN or an infinity weights alike.
/// @param unit     true: unit vectors; false: the weighted mean of the edges' unit normals. Has no
///                 effect on the two extreme powers.
/// @param[out] normals  2 x N, one vector per node; emptied first, whatever it held. Zero for a node
///                 without an edge or with edges of length zero only. It may be `pos` itself, which
///                 counts as it is on entry.
///
/// @retval 0     done; `normals` stays empty when `pos` or `connect` is empty.
/// @retval -1    `pos` does not have 2 rows.
/// @retval -2    `connect` does not have 2 rows or names a node that does not exist.
/// @retval -199  memory is exhausted; `normals` is empty.
///
/// An edge of length zero has the normal (0, 0); its weight is infinite for a negative power, and its
/// nodes then get NaN. Cost: proportional to edges and nodes, and one number per node of memory.
/// @snippet examples/services.cpp line_normals
ZEL_TESSEL2D_API int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                             double power, bool unit, dense2D<double>& normals);

/// Divides the straight line between two nodes into n cells of equal length.
///
/// New node k, for k = 1 ... n-1, lies at a + (k/n)*(b - a), with a and b the two nodes.
///
/// @param[in,out] pos   2 x N or 3 x N coordinates. Grows by n-1 nodes behind the present ones.
/// @param node0, node1  numbers of the two nodes, below N; they may be equal.
/// @param n             cells; 0 means nothing to do, 1 adds no node.
/// @param[in,out] indices  grows by n+1 entries: `node0`, the new nodes in order, `node1`.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `node0` does not exist.
/// @retval -3    `node1` does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `indices` as they were. Cost: proportional to n.
/// @snippet examples/services.cpp straight_line
ZEL_TESSEL2D_API int mesh_straight(dense2D<double>& pos, unsigned node0, unsigned node1, unsigned n,
                                   dense1D<unsigned, 8>& indices);

/// Turns a list of nodes into the edges between neighbours in the list.
///
/// @param indices  n+1 node numbers; they are not tested.
/// @param[in,out] connect  2 x E node numbers, or empty. Grows by the n columns
///                 (indices[k], indices[k+1]); a list of one entry or none adds nothing. It may share
///                 its storage with `indices`, which counts as it is on entry.
///
/// @retval 0     done.
/// @retval -2    `connect` holds columns of another height.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `connect` as it was. Cost: proportional to n.
/// @snippet examples/services.cpp straight_line
ZEL_TESSEL2D_API int indices_to_connectE2(const dense1D<unsigned, 8>& indices,
                                          dense2D<unsigned>& connect);

} // namespace zel::tessel1d
