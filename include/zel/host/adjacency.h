// zel tessel2d: planar and surface mesh tools.
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
/// at a node; about 28 bytes of passing memory for a triangle. Calls may run at the same time on results of
/// their own.
ZEL_TESSEL2D_HOST_API int build_adjacency(const dense2D<unsigned>& connect, std::size_t nodes,
                                          adjacency& result);

} // namespace zel::host
