// SPDX-License-Identifier: Apache-2.0
// Size tensors derived from a surface, and sizes and size tensors carried onto nodes.
#pragma once

#include "zel/dense.h"
#include "zel/element_type.h"
#include "zel/tessel2d/export.h"

/// Size fields: how large elements shall be, the same in all directions or by a tensor. A symmetric
/// positive definite tensor M asks for the size 1/sqrt(e' M e) along the unit vector e.
namespace zel::tessel2d {

/// Derives anisotropic sizes from a surface of triangles: at each node the mean length of its edges in
/// the tangent plane, and along the normal what the caller asks for.
///
/// Each triangle asks at its nodes for G = t T1 T1' + t T2 T2' + s N N', where N is its normal, T1 and T2
/// span its plane, and t = 1/h^2 for the mean length h of the edges at the node; an edge counts once for
/// each triangle that it bounds. What the triangles around a node ask for is merged by `minimum_metric`
/// in the order of the triangles, so that the smaller size counts in each direction.
///
/// @param pos          coordinates, at least 3 x N, one node per column. Normals come from the first
///                     three rows, lengths from all rows.
/// @param connect      3 x E node numbers below N.
/// @param normal_size  above 0: the size along the normal; below 0: its magnitude is the ratio of that
///                     size to h; 0: the size along the normal is h too.
/// @param[in,out] metrics  6 x K tensors m00, m01, m11, m02, m12, m22, or empty. What it holds takes part
///                     in the merge. It grows with zeros to one column more than the largest number in
///                     `connect`; zero tensors ask for nothing. It may share its storage with `pos`, which
///                     counts as it is on entry.
///
/// @retval 0     done.
/// @retval -1    `pos` has fewer than 3 rows.
/// @retval -2    `connect` does not have 3 rows or names a node that does not exist. Without columns it
///               counts as naming node 0.
/// @retval -4    `metrics` holds columns of another height.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `metrics` as it was.
///
/// Edges of length zero and edges whose length is not finite do not count. At a node without any other
/// a triangle stops: that node and those behind it in the triangle get nothing from it. A triangle without
/// area has the normal (1, 0, 0). Numbers so large or small that G is not finite are taken over by a
/// column that holds zeros, and leave any other column as it is.
///
/// Cost: two passes over the triangles and three calls of `minimum_metric` for each; 12 bytes of memory
/// per node besides the result. Views with a leading dimension larger than their rows are fine. Calls on
/// different blocks may run at the same time.
/// @snippet examples/metrics.cpp sizes_of_a_surface
ZEL_TESSEL2D_API int metrics_gen_aniso3d(const dense2D<double>& pos,
                                         const dense2D<unsigned>& connect, double normal_size,
                                         dense2D<double>& metrics);

/// Carries size tensors onto nodes that belong to no element: the counterpart of `interpolate`, with the
/// same location of nodes.
///
/// Between two tensors the sizes along their common basis are linear. A node in a triangle gets the
/// tensor between those of nodes 0 and 1, and between that and the one of node 2. On a side only the
/// tensors of its ends count, and at a corner that of the corner, bit for bit. When one that counts is
/// not positive definite or not finite, the node keeps what it holds. A node in no element, but inside
/// the bounding box of the mesh nodes, gets the tensor of the closest node that has an ancestor, as it
/// stands; one outside that box keeps its own.
///
/// @param pos        2 x N coordinates, one node per column, with those of the listed nodes.
/// @param connect    3 x E node numbers below N, triangles counterclockwise.
/// @param neighbors  3 x E: entry (k, e) is the element opposite node k of element e, or 0xFFFFFFFF.
/// @param ancestors  N entries: an element that holds the node, or 0xFFFFFFFF for one to be served.
/// @param[in,out] metrics  3 x N tensors m00, m01, m11, or 6 x N tensors m00, m01, m11, m02, m12, m22,
///                   one column per node. It may share its storage with `pos`, which counts as it is on
///                   entry.
/// @param nodes      node numbers below N, in any order; a node may be listed twice.
/// @param keep_valid true: a node whose tensor is positive definite keeps it.
/// @param type       ELEMENT_T3; with another nothing is changed.
///
/// @retval 0   done, or nothing to do (`nodes` is empty). A node that cannot be served keeps its tensor,
///             also for lack of memory.
/// @retval -1  `pos` does not have 2 rows.
/// @retval -2  `connect` does not have 3 rows, whatever `type` says, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
/// @retval -5  `metrics` does not have one column per node, or neither 3 nor 6 rows.
/// @retval -6  `nodes` names a node that does not exist.
///
/// A negative status leaves `metrics` as it was.
///
/// Cost: that of `interpolate`, and two reductions of tensors for each node inside a triangle. Views with
/// a leading dimension larger than their rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/metrics.cpp carry_tensors
ZEL_TESSEL2D_API int
interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                    dense2D<double>& metrics, const dense1D<unsigned, 8>& nodes, bool keep_valid,
                    element_type type);

/// Carries size tensors onto all nodes that belong to no element: the same for all nodes of `pos`.
///
/// @param pos        2 x N coordinates, one node per column, with those of the nodes to be served.
/// @param connect    3 x E node numbers below N, triangles counterclockwise.
/// @param neighbors  3 x E: entry (k, e) is the element opposite node k of element e, or 0xFFFFFFFF.
/// @param ancestors  N entries: an element that holds the node, or 0xFFFFFFFF for one to be served.
/// @param[in,out] metrics  3 x N tensors m00, m01, m11, or 6 x N tensors m00, m01, m11, m02, m12, m22,
///                   one column per node. It may share its storage with `pos`, which counts as it is on
///                   entry.
/// @param keep_valid true: a node whose tensor is positive definite keeps it.
/// @param type       ELEMENT_T3; with another nothing is changed.
///
/// @retval 0   done, or nothing to do (`pos` is empty). A node that cannot be served keeps its tensor,
///             also for lack of memory.
/// @retval -1  `pos` does not have 2 rows.
/// @retval -2  `connect` does not have 3 rows, whatever `type` says, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
/// @retval -5  `metrics` does not have one column per node, or neither 3 nor 6 rows.
///
/// A negative status leaves `metrics` as it was.
///
/// Cost: that of `interpolate`, and two reductions of tensors for each node inside a triangle.
/// @snippet examples/metrics.cpp carry_tensors
ZEL_TESSEL2D_API int
interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                    dense2D<double>& metrics, bool keep_valid, element_type type);

/// Carries sizes onto nodes that belong to no element, on triangles, quadrilaterals and both: the
/// counterpart of `interpolate`, with the same location of nodes.
///
/// Sizes are linear in a triangle. On the sides of an element only its ends count, at a corner only the
/// corner. Inside a quadrilateral, and on its side 1-2, the bilinear formula is evaluated at ((s + 1)/2,
/// (t + 1)/2), where (s, t) from 0 to 1 are the node's coordinates, so that sizes lean towards node 2; in
/// the centre of a square that is (0.75, 0.75). A node keeps its size when one that counts is not positive,
/// or when the result is not positive and finite.
///
/// @param pos        2 x N coordinates, one node per column, with those of the listed nodes.
/// @param connect    3 x E or 4 x E node numbers below N, elements counterclockwise. With ELEMENT_FACE a
///                   triangle has 0xFFFFFFFF in row 3.
/// @param neighbors  as many rows and columns as `connect`: entry (k, e) is the element across local edge k
///                   of element e, or 0xFFFFFFFF. Edge k of a triangle lies opposite its node k; edge k of
///                   a quadrilateral runs from node k to the next one.
/// @param ancestors  N entries: an element that holds the node, or 0xFFFFFFFF for one to be served.
/// @param[in,out] metrics  N sizes; those above 0 and below the largest double are valid. It may share its
///                   storage with `pos`, which counts as it is on entry.
/// @param nodes      node numbers below N, in any order; a node may be listed twice.
/// @param keep_valid true: a node whose size is valid keeps it.
/// @param type       ELEMENT_T3 with 3 rows in `connect`, ELEMENT_Q4 or ELEMENT_FACE with 4. Another
///                   combination that fits `connect` changes nothing.
///
/// @retval 0   done, or nothing to do (`nodes` is empty). A node that cannot be served keeps its size,
///             also for lack of memory.
/// @retval -1  `pos` does not have 2 rows.
/// @retval -2  `connect` does not suit `type`, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
/// @retval -5  `metrics` does not have one entry per node.
/// @retval -6  `nodes` names a node that does not exist.
///
/// A negative status leaves `metrics` as it was.
///
/// Cost: that of `interpolate`. Views with a leading dimension larger than their rows are fine. Calls on
/// different blocks may run at the same time.
/// @snippet examples/metrics.cpp carry_sizes
ZEL_TESSEL2D_API int
interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                    dense1D<double, 8>& metrics, const dense1D<unsigned, 8>& nodes, bool keep_valid,
                    element_type type);

/// Carries sizes onto all nodes that belong to no element: the same for all nodes of `pos`.
///
/// @param pos        2 x N coordinates, one node per column, with those of the nodes to be served.
/// @param connect    3 x E or 4 x E node numbers below N, elements counterclockwise. With ELEMENT_FACE a
///                   triangle has 0xFFFFFFFF in row 3.
/// @param neighbors  as many rows and columns as `connect`: entry (k, e) is the element across local edge k
///                   of element e, or 0xFFFFFFFF. Edge k of a triangle lies opposite its node k; edge k of
///                   a quadrilateral runs from node k to the next one.
/// @param ancestors  N entries: an element that holds the node, or 0xFFFFFFFF for one to be served.
/// @param[in,out] metrics  N sizes; those above 0 and below the largest double are valid. It may share its
///                   storage with `pos`, which counts as it is on entry.
/// @param keep_valid true: a node whose size is valid keeps it.
/// @param type       ELEMENT_T3 with 3 rows in `connect`, ELEMENT_Q4 or ELEMENT_FACE with 4. Another
///                   combination that fits `connect` changes nothing.
///
/// @retval 0   done, or nothing to do (`pos` is empty). A node that cannot be served keeps its size,
///             also for lack of memory.
/// @retval -1  `pos` does not have 2 rows.
/// @retval -2  `connect` does not suit `type`, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
/// @retval -5  `metrics` does not have one entry per node.
///
/// A negative status leaves `metrics` as it was.
///
/// Cost: that of `interpolate`.
/// @snippet examples/metrics.cpp carry_sizes
ZEL_TESSEL2D_API int
interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                    dense1D<double, 8>& metrics, bool keep_valid, element_type type);

} // namespace zel::tessel2d
