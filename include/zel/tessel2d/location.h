// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/element_type.h"
#include "zel/tessel.h"
#include "zel/tessel2d/export.h"

/// Location and fields: which element of a planar mesh holds a point, and fields at nodes that belong to
/// no element.
namespace zel::tessel2d {

/// Finds the element of a planar mesh that contains a point.
///
///        +-------+         The search walks from element to element, across sides that have the
///       / \  2  / \        point on their outer side. It starts beside a node that `detector`
///      / 1 \   / p \       finds near the point. When it falls off the mesh, in a hole or at a bay,
///     +-----\-/-3---+      it starts again from each element around the node nearest to the point.
///
/// A point is inside an element when for each side from A to B the doubled signed area of the triangle
/// (A, B, p) is at least -`tolerance` times the doubled area of the element. On a shared side or a node
/// the answer is one of the elements there, the same at every call. Which of several failing sides the
/// walk crosses is chosen by a fixed sequence of numbers, and it looks at no more elements than the
/// mesh has, so that it always ends (O. Devillers, S. Pion, M. Teillaud, 2002).
///
/// @param pos        2 x N coordinates, one node per column.
/// @param connect    3 x E or 4 x E node numbers below N, elements counter-clockwise. With ELEMENT_FACE
///                   a triangle has 0xFFFFFFFF in row 3.
/// @param neighbors  as many rows and columns as `connect`: entry (k, e) is the element across local
///                   edge k of element e, or 0xFFFFFFFF at the boundary. Edge k of a triangle lies
///                   opposite its node k; edge k of a quadrilateral runs from node k to the next one.
/// @param ancestors  N entries: an element that holds the node, any of them, or 0xFFFFFFFF. A number
///                   that is no element counts as 0xFFFFFFFF.
/// @param detector   a search structure over the nodes of the mesh.
/// @param type       ELEMENT_T3 with 3 rows, ELEMENT_Q4 or ELEMENT_FACE with 4. Another combination that
///                   fits `connect` finds nothing.
/// @param p          the point.
/// @param[out] element  the element, or 0xFFFFFFFF. What it holds on entry does not matter.
/// @param tolerance  how far outside a side the point may lie: the share of the element's doubled area
///                   that the triangle of point and side may have, doubled too. 1e-6 is a good value.
///
/// @retval 1   found.
/// @retval 0   not found: the point lies outside the mesh, `detector` has no node to start from, the
///             node has no element, or the walks gave up. A point with a coordinate that is not a
///             number is never found.
/// @retval -1  `pos` does not have 2 rows, or the walk came to an element whose doubled area is not
///             positive or not finite: collapsed, clockwise or overflowing. There the search ends.
/// @retval -2  `connect` does not suit `type`, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
///
/// In a mesh of one element a point outside it is found to be so by the first walk, which is not
/// followed by others. A concave quadrilateral is not told from the half-planes of its sides.
///
/// Cost: the tests of `connect` and `neighbors`, which pass over both matrices, and then a few elements:
/// for many points in one mesh `interpolate` is far cheaper. Memory is allocated only for a
/// search around a node; when there is none, elements are left out. Views with a leading dimension
/// larger than their rows are fine. Calls may run at the same time.
/// @snippet examples/locate.cpp which_element
ZEL_TESSEL2D_API int
get_element_containing_point(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                             const dense2D<unsigned>& neighbors,
                             const dense1D<unsigned, 8>& ancestors,
                             const tessel::node_detector& detector, element_type type,
                             const vector_fixed<double, 2>& p, unsigned& element, double tolerance);

/// Carries a nodal field onto nodes that belong to no element.
///
/// Each listed node without an ancestor gets the value of the field at its position: linear on a
/// triangle, bilinear on a quadrilateral. So a field moves from one mesh to another when the nodes of
/// the other are appended to `pos`. A node in no element, but inside the bounding box of the mesh nodes,
/// gets the value of the closest node that has an ancestor; so does one for which the search came to a
/// degenerate element. A node outside that box keeps its value.
///
/// With s and t the barycentric coordinates of nodes 0 and 1, a triangle gives (f1 - f2) t + (f0 - f2) s
/// + f2. With u and v from -1 to 1 the coordinates of a quadrilateral, s = (u + 1)/2 and t = (v + 1)/2,
/// it gives (b - a) t + a from a = (f1 - f0) s + f0 and b = (f2 - f3) s + f3. They may lie outside by
/// the tolerance of the location, 1e-6 as in `get_element_containing_point`; nothing is clamped.
///
/// @param pos        2 x N coordinates, one node per column, with those of the listed nodes.
/// @param connect    as for `get_element_containing_point`.
/// @param neighbors  as for `get_element_containing_point`.
/// @param ancestors  as for `get_element_containing_point`; 0xFFFFFFFF makes a node one to be served.
/// @param[in,out] field  C x N values, one component per row. Columns of listed nodes without an
///                   ancestor are overwritten. It may share its storage with `pos`, which counts as it
///                   is on entry.
/// @param nodes      node numbers below N, in any order; a node may be listed twice.
/// @param type       ELEMENT_T3 with 3 rows in `connect`, ELEMENT_Q4 or ELEMENT_FACE with 4. Another
///                   combination that fits `connect` changes nothing.
///
/// @retval 0   done, or nothing to do (`nodes` is empty). A node that cannot be served keeps its value,
///             also for lack of memory.
/// @retval -1  `pos` does not have 2 rows.
/// @retval -2  `connect` does not suit `type`, or names a node that does not exist.
/// @retval -3  `neighbors` has another shape than `connect`, or names an element that does not exist.
/// @retval -4  `ancestors` does not have one entry per node.
/// @retval -5  `field` does not have one column per node.
/// @retval -6  `nodes` names a node that does not exist.
/// A negative status leaves `field` as it was.
///
/// Results do not depend on the order of the list, unless `ancestors` denies an element to a node of
/// `connect`: such a node is served like any other, and what it receives is passed on to nodes behind it.
///
/// Cost: a search tree over the nodes of the mesh, then a few elements for each listed node in the mesh. A
/// node in a hole or a bay costs a search for the closest node besides, which looks at the nodes that are
/// about as near: some ten times as much. Memory for the tree and for sorting a long list. Views with
/// a leading dimension larger than their rows are fine. Calls on different fields may run at the same time.
/// @snippet examples/locate.cpp carry_a_field
ZEL_TESSEL2D_API int interpolate(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                                 const dense2D<unsigned>& neighbors,
                                 const dense1D<unsigned, 8>& ancestors, dense2D<double>& field,
                                 const dense1D<unsigned, 8>& nodes, element_type type);

/// The same for a field of one component: `field` has N entries, and -5 means that it has another
/// number of them.
/// @snippet examples/locate.cpp carry_a_scalar
ZEL_TESSEL2D_API int interpolate(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                                 const dense2D<unsigned>& neighbors,
                                 const dense1D<unsigned, 8>& ancestors, dense1D<double, 8>& field,
                                 const dense1D<unsigned, 8>& nodes, element_type type);

} // namespace zel::tessel2d
