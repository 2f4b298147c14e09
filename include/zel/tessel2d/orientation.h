// SPDX-License-Identifier: Apache-2.0
// Elements turned over, one orientation for a whole surface, and quadrilaterals that have collapsed.
#pragma once

#include "zel/dense.h"
#include "zel/element_type.h"
#include "zel/tessel2d/export.h"

/// Conversion: orientation of elements, and quadrilaterals that have collapsed to triangles. Nothing
/// here reads coordinates.
///
/// The functions that take `neighbors` keep it in step: entry (k, e) is the element across local edge
/// k of element e, or 0xFFFFFFFF. Edge k of a triangle lies opposite corner k, edge k of a
/// quadrilateral runs from corner k to the next one:
///
/// @code{.unparsed}
///          2                3---2---2
///         / \               |       |
///        1   0              3       1
///       /     \             |       |
///      0---2---1            0---0---1
/// @endcode
///
/// Row 3 of a triangle in a mixed mesh is 0xFFFFFFFF. Views with a leading dimension larger than
/// their rows are fine everywhere.
namespace zel::tessel2d {

/// Turns all elements over: nodes 0 and 2 of each column change places.
///
/// @code{.unparsed}
///         2            0            3---2           3---0
///        / \    ->    / \           |   |    ->     |   |
///       0---1        2---1          0---1           2---1
/// @endcode
///
/// @param[in,out] connect  3 x E or 4 x E node numbers, triangles and quadrilaterals in any mix. A
///                         matrix with more rows is treated in the same way, which leaves the mid-side
///                         nodes of quadratic elements where they are: use the overload with a kind.
///
/// @retval 0   done, or nothing to do (`connect` has no columns).
/// @retval -1  `connect` has fewer than 3 rows.
///
/// Cost: one pass over the columns. No memory is needed.
/// @snippet examples/orientation.cpp flip
ZEL_TESSEL2D_API int flip(dense2D<unsigned>& connect);

/// Turns all elements of a kind over, mid-side nodes included.
///
/// Besides nodes 0 and 2, a T6 exchanges nodes 3 and 5, a Q8 or Q9 nodes 4 and 5, and 6 and 7.
///
/// @param[in,out] connect  one element per column.
/// @param type             ELEMENT_T3, ELEMENT_T6, ELEMENT_Q4, ELEMENT_Q8 or ELEMENT_Q9; or ELEMENT_FACE
///                         for what the rows tell: 3 or 4 rows linear, 6 rows T6, 8 or 9 rows Q8 and Q9
///                         with T6 wherever row 6 holds 0xFFFFFFFF. Columns of any other kind stay as
///                         they are.
///
/// @retval 0   done, or nothing to do (`connect` has no columns).
/// @retval -2  the rows of `connect` do not suit `type`.
///
/// Cost: one pass over the columns. No memory is needed.
/// @snippet examples/orientation.cpp flip_quadratic
ZEL_TESSEL2D_API int flip(dense2D<unsigned>& connect, element_type type);

/// Turns all elements of a kind over and keeps their neighbours in step.
///
/// The columns of `connect` change as above. Those of `neighbors` exchange rows 0 and 2 for a triangle
/// (T3 or T6), and rows 0 and 1, and 2 and 3, for a quadrilateral.
///
/// @param[in,out] connect    one element per column.
/// @param[in,out] neighbors  as many columns as `connect`; 3 rows for T3 and T6, 4 rows for Q4 and for
///                           ELEMENT_FACE with 4, 8 or 9 rows. For ELEMENT_Q8, ELEMENT_Q9 and all other
///                           kinds its rows are not looked at and it stays as it is: ask with
///                           ELEMENT_FACE to have the neighbours of quadratic quadrilaterals follow.
/// @param type               ELEMENT_T3, ELEMENT_T6, ELEMENT_Q4, ELEMENT_Q8, ELEMENT_Q9, or ELEMENT_FACE
///                           for what the rows of `connect` tell. A column holds a triangle if row 3 of a
///                           4-row matrix is 0xFFFFFFFF, or row 6 of the turned column in one of 8 or 9
///                           rows.
///
/// @retval 0   done, or nothing to do (`connect` has no columns).
/// @retval -2  `neighbors` has another number of columns than `connect`, or rows that do not suit the
///             kind; or `type` is ELEMENT_FACE and `connect` has other rows than 3, 4, 6, 8 and 9.
/// @retval -3  the rows of `connect` do not suit `type`.
///
/// A negative status leaves both as they were.
///
/// Cost: one pass over the columns of each matrix. No memory is needed.
/// @snippet examples/orientation.cpp flip_neighbors
ZEL_TESSEL2D_API int flip(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors,
                          element_type type);

/// Makes the elements of a surface agree with one of them: each element that runs along a common edge
/// in the direction of its neighbour is turned over.
///
/// The walk starts at `seed` and goes from neighbour to neighbour, breadth first. Coordinates do not
/// count, so the surface may lie in space and may be closed.
///
/// @param[in,out] connect    3 x E triangles, or 4 x E with 0xFFFFFFFF in row 3 of a triangle. Node
///                           numbers are compared only, so any other will do.
/// @param[in,out] neighbors  rows and columns of `connect`. Numbers of elements that do not exist stand
///                           for no neighbour; row 3 of a triangle is not looked at. It follows the
///                           elements that are turned over.
/// @param seed               the element whose orientation holds.
/// @param all_components     0: only what hangs together with `seed`. Otherwise the walk starts anew at
///                           the lowest element behind `seed` that it has not reached, whose orientation
///                           holds for its part, and so on. Parts that lie in front of `seed` as a whole
///                           are never reached.
///
/// @retval n>=0  n elements have been turned over; 0 also if `connect` is empty.
/// @retval -1    `connect` has neither 3 nor 4 rows, or a corner is 0xFFFFFFFF.
/// @retval -2    `neighbors` has another shape than `connect`.
/// @retval -3    there is no element `seed`.
/// @retval -199  memory is exhausted, or the elements outgrow 32-bit numbers; nothing has changed.
///
/// A neighbour that does not hold the common edge is a conflict: the count drops to -2, the rest of the
/// present element's neighbours is left out, and the walk goes on. Later turns add to the count, so that
/// a negative result, or a count that is too small, can follow a conflict; what has been turned stays
/// turned. The same happens on a surface with one side only, where an element can be turned twice.
/// If one end node of an edge is missing in the neighbour, the other one's corner decides: in a triangle
/// corner 1, in a quadrilateral corner 0, passes for the next corner of a missing one.
///
/// Cost: one visit of each element; 4 bytes and two bits of memory per element.
/// @snippet examples/orientation.cpp reorient
ZEL_TESSEL2D_API int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors,
                                   unsigned seed, int all_components);

/// Turns quadrilaterals with a collapsed edge into triangles, in place.
///
/// @code{.unparsed}
///       3                      (a, a, c, d)  becomes  (a, c, d, -)
///       | \          2         (a, b, b, d)  becomes  (a, b, d, -)
///       |  \   ->    | \       (a, b, c, c)  becomes  (a, b, c, -)
///       0===1--2     0---1     (a, b, c, a)  becomes  (a, b, c, -)
/// @endcode
///
/// Here - stands for 0xFFFFFFFF. The first line that fits is applied, so that four equal nodes become
/// (a, a, a, -).
///
/// Only neighbouring corners are compared; opposite corners that are the same node stay. Columns that
/// hold 0xFFFFFFFF are left alone.
///
/// @param[in,out] connect  4 x E node numbers.
///
/// @retval n>=0  n columns have been changed; 0 also if `connect` is empty.
/// @retval -1    `connect` does not have 4 rows.
///
/// Cost: one pass over the columns. No memory is needed.
/// @snippet examples/orientation.cpp collapsed
ZEL_TESSEL2D_API int convert_degenerated_Q4(dense2D<unsigned>& connect);

/// Turns linear or quadratic quadrilaterals with a collapsed edge into T3 or T6, in place, and lists
/// them.
///
/// With 4 rows the columns change as in `convert_degenerated_Q4`. A Q8 or Q9 becomes a T6 in rows 0 to
/// 5 of its column; the mid-side node of the collapsed edge and the centre are dropped, and the other
/// rows take 0xFFFFFFFF.
///
/// @code{.unparsed}
///     collapsed edge   corners      mid-side nodes, by the rows that held them
///     0-1              n0, n2, n3   6, 7, 5
///     1-2              n0, n1, n3   6, 7, 4
///     2-3              n0, n1, n2   5, 7, 4
///     3-0              n0, n1, n2   5, 6, 4
/// @endcode
///
/// @param[in,out] connect  4 x E, 8 x E or 9 x E node numbers. Columns that hold 0xFFFFFFFF in any row
///                         are left alone.
/// @param[out] changed     what it held is dropped; the columns changed, in ascending order. A column
///                         for which it finds no memory is changed but not listed.
///
/// @retval n>=0  n columns are listed in `changed`; 0 also if `connect` is empty.
/// @retval -1    `connect` has neither 4, 8 nor 9 rows.
///
/// Cost: one pass over the columns, and a list that grows as needed.
/// @snippet examples/orientation.cpp collapsed_quadratic
ZEL_TESSEL2D_API int convert_degenerated_Q(dense2D<unsigned>& connect,
                                           dense1D<unsigned, 8>& changed);

} // namespace zel::tessel2d
