// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

#include <cstddef>

namespace zel::host {

/// How the elements of a mesh lie beside one another: the inputs that point location, interpolation,
/// reorientation, curvatures and connected elements ask for.
struct adjacency {
    /// The shape of the connectivity. Entry (k, e) is the element across edge k of element e, or
    /// 0xFFFFFFFF where there is none; row 3 of a triangle in a mixed matrix is 0xFFFFFFFF too.
    dense2D<unsigned> neighbors;
    /// One entry per node: the first element that has it as a corner, or 0xFFFFFFFF.
    dense1D<unsigned, 8> ancestors;
    /// Edges on which more than two sides of elements lie.
    std::size_t shared_by_more = 0;
};

/// Finds the neighbours of all elements and an element for each node.
///
/// Edge k of a triangle is the one opposite to corner k, from corner k + 1 to k + 2 (modulo 3). Edge k of a
/// quadrilateral starts at corner k and ends at k + 1 (modulo 4).
///
/// @verbatim
///          2                3---2---2
///         / \               |       |
///        1   0              3       1
///       /     \             |       |
///      0---2---1            0---0---1
/// @endverbatim
///
/// Two elements are neighbours across an edge that they alone have, whichever way they run along it. An
/// edge that more than two sides share has no neighbours and is counted. Nor has an edge from a node to
/// itself, as in a degenerate quadrilateral, nor one that a single element has twice.
///
/// @param connect  3 x E triangles, or 4 x E quadrilaterals and triangles, these with 0xFFFFFFFF in row 3;
///                 or empty. Views with a leading dimension above their rows are fine.
/// @param nodes    number of nodes; all node numbers lie below.
/// @param[out] result  both tables, in memory of their own, and the count. May not hold views of `connect`
///                 that are needed later.
///
/// @retval 0     done. An empty connectivity gives empty neighbours and no ancestor for any node.
/// @retval -1    `connect` has neither 3 nor 4 rows, names a node that does not exist, or has more
///               columns than 32-bit numbers can tell apart.
/// @retval -2    `nodes` is more than 0xFFFFFFFF, which 32-bit numbers cannot tell apart.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `result` as it was.
///
/// Cost: proportional to elements and nodes, whatever the order of either and however many elements meet
/// at a node; about 30 bytes of passing memory for a triangle and 40 for a quadrilateral, 64 if elements and
/// nodes are in random order. Calls may run at the same time on results of their own.
/// @snippet examples/adjacency.cpp adjacency
ZEL_TESSEL2D_HOST_API int build_adjacency(const dense2D<unsigned>& connect, std::size_t nodes,
                                          adjacency& result);

/// Lists every edge of a mesh once, with the elements on it.
///
/// Edges come in the order in which the elements have them, and run as the first of their elements does.
/// An edge from a node to itself is left out.
///
/// @param connect  as for `build_adjacency`.
/// @param nodes    number of nodes; all node numbers lie below.
/// @param[out] edges     2 x M: the end nodes.
/// @param[out] elements  2 x M: the first element on the edge, and the second one or 0xFFFFFFFF on the
///                 boundary. Of more than two it holds the first two; an element that has the edge twice
///                 counts twice.
///
/// @retval 0     done; no edge is shared by more than two sides.
/// @retval k > 0  done; so many edges are shared by more than two sides.
/// @retval -1    `connect` has neither 3 nor 4 rows, names a node that does not exist, or has more
///               columns than 32-bit numbers can tell apart.
/// @retval -2    `nodes` is more than 0xFFFFFFFF.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves both outputs as they were; else they are in memory of their own.
///
/// Cost: proportional to elements and nodes.
/// @snippet examples/adjacency.cpp edges
ZEL_TESSEL2D_HOST_API int unique_edges(const dense2D<unsigned>& connect, std::size_t nodes,
                                       dense2D<unsigned>& edges, dense2D<unsigned>& elements);

/// Lists the edges that have an element on one side only, in the direction of that element, so that a
/// counterclockwise element lies to their left.
///
/// They come in the order of the elements and their edges. An edge that more than two sides share is no
/// boundary, nor is one that a single element has twice.
///
/// @param connect  as for `build_adjacency`.
/// @param nodes    number of nodes; all node numbers lie below.
/// @param[out] edges  2 x B: start and end.
///
/// @retval 0     done. A closed surface gives 2 x 0.
/// @retval -1    `connect` has neither 3 nor 4 rows, names a node that does not exist, or has more
///               columns than 32-bit numbers can tell apart.
/// @retval -2    `nodes` is more than 0xFFFFFFFF.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `edges` as it was; else it is in memory of its own.
///
/// Cost: proportional to elements and nodes.
/// @snippet examples/adjacency.cpp boundary
ZEL_TESSEL2D_HOST_API int boundary_edges(const dense2D<unsigned>& connect, std::size_t nodes,
                                         dense2D<unsigned>& edges);

/// Lists the boundary of a mesh as closed loops, in the direction of the elements: counterclockwise around
/// counterclockwise elements, clockwise around holes.
///
/// No loop passes a node twice. Where the boundary meets itself in a node, as in the middle of a figure of
/// eight, it is cut there: two holes that touch in a node are two loops, and so are two parts of the mesh
/// that touch in a node. Where loops meet in two nodes or more, there are several ways to cut, and one of
/// them is taken.
///
/// Loops come in the order in which a walk along the edges of `boundary_edges` closes them. A loop starts
/// at the start of the first edge that no loop has yet, or at the node where it has been cut off.
///
/// @param connect  as for `build_adjacency`. Elements along the boundary run alike.
/// @param nodes    number of nodes; all node numbers lie below.
/// @param[out] starts  L + 1 offsets: loop i is `loops`[`starts`[i]] up to, not including,
///                 `loops`[`starts`[i + 1]].
/// @param[out] loops   the nodes of all loops, one loop behind the other; first and last node of each loop
///                 are equal, as generators want it.
///
/// @retval 0     done. A closed surface gives no loop and the single offset 0.
/// @retval -1    `connect` has neither 3 nor 4 rows, names a node that does not exist, has more columns than
///               32-bit numbers can tell apart, or its elements do not run alike along the boundary, so that
///               the walk comes to an end (`tessel2d::mesh_reorient` makes them agree).
/// @retval -2    `nodes` is more than 0xFFFFFFFF.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves both outputs as they were; else they are in memory of their own.
///
/// Cost: proportional to elements and nodes.
/// @snippet examples/adjacency.cpp loops
ZEL_TESSEL2D_HOST_API int boundary_loops(const dense2D<unsigned>& connect, std::size_t nodes,
                                         dense1D<unsigned, 8>& starts, dense1D<unsigned, 8>& loops);

/// Numbers the components of a mesh: elements that are connected through neighbours.
///
/// @param neighbors  rows x E, as from `build_adjacency`. It is enough that one of two elements names the
///                 other.
/// @param[out] component  E numbers from 0 on, in the order of the first elements of the components.
///
/// @retval k >= 0  done; so many components.
/// @retval -1    `neighbors` has neither 3 nor 4 rows, or names an element that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `component` as it was; else it is in memory of its own.
///
/// Cost: as good as proportional to the elements.
/// @snippet examples/adjacency.cpp components
ZEL_TESSEL2D_HOST_API int components(const dense2D<unsigned>& neighbors,
                                     dense1D<unsigned, 8>& component);

/// What `is_orientable` finds, and where.
struct orientation {
    enum class fault {
        none,      ///< the elements can be made to run alike, or do so already
        one_sided, ///< a walk over the surface comes back to this edge with the other side up
        mismatch   ///< the neighbour has no such edge: `neighbors` and `connect` disagree
    };
    fault what = fault::none;
    unsigned element = 0xFFFFFFFFu;  ///< one of the two elements at the fault
    unsigned edge = 0xFFFFFFFFu;     ///< its edge there, as rows of `neighbors` are numbered
    unsigned neighbor = 0xFFFFFFFFu; ///< the other element
    /// Edges along which two neighbours run in the same direction, each counted once. 0 says that no
    /// element has to be turned over. Counted up to the fault.
    std::size_t against = 0;
};

/// Tells whether the elements of a surface can be made to run alike, each in the direction opposite to its
/// neighbour's along their edge, and what stands in the way.
///
/// Only neighbours are compared: edges that more than two elements share have none and do not count.
///
/// @param connect    3 x E or 4 x E, as for `build_adjacency`; or empty.
/// @param neighbors  of its shape, as from `build_adjacency`.
/// @param[out] found  the fault that the walk meets first, if any, and the edges to be mended.
///
/// @retval 1     orientable, each component for itself; or `connect` is empty.
/// @retval 0     not orientable; `found` says why and where.
/// @retval -1    `connect` has neither 3 nor 4 rows, or more columns than 32-bit numbers can tell apart.
/// @retval -2    `neighbors` has another shape or names an element that does not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `found` as it was.
///
/// Cost: proportional to the elements.
/// @snippet examples/adjacency.cpp orientable
ZEL_TESSEL2D_HOST_API int is_orientable(const dense2D<unsigned>& connect,
                                        const dense2D<unsigned>& neighbors, orientation& found);

} // namespace zel::host
