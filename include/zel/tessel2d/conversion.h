// SPDX-License-Identifier: Apache-2.0
// The order of elements up and down, all-quadrilateral meshes, and quadrilaterals cut into triangles.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Conversion: order of elements, and splitting of elements into linear ones.
///
/// Raised elements have their nodes in this order: corners, then the `a` nodes of each edge, then those
/// inside. A triangle numbers its edges by the opposite corner, a quadrilateral by the first corner:
///
/// @code{.unparsed}
///     T6 (T7: node 6 at the centre)       Q8 (Q9: node 8 at the centre)       T, a = 2
///            2                                  3---6---2                          2
///           / \                                 |       |                         5 4
///          4   3                                7  (8)  5                        6   3
///         /     \                               |       |                       0-7-8-1
///        0---5---1                              0---4---1
/// @endcode
///
/// In a 4-row matrix a column with 0xFFFFFFFF in row 3 is a triangle; in an 8- or 9-row matrix row 6
/// marks a T6 in the same way. Views with a leading dimension larger than their rows are fine
/// everywhere, and outputs may share storage with inputs, which count as they are on entry. Columns
/// that an output without rows brings along stay and hold no node.
namespace zel::tessel2d {

/// Lowers T6, Q8, Q9 and mixed quadratic elements to linear ones, in place, by cutting rows.
///
/// @param[in,out] connect  6 x E: becomes 3 x E triangles. 8 x E or 9 x E: becomes 4 x E, and row 3 is
///                         0xFFFFFFFF where row 6 was. The nodes that fall out stay in `pos`.
///
/// @retval 0   done, or nothing to do (`connect` is empty).
/// @retval -1  `connect` has other rows, 3 and 4 among them.
///
/// Cost: one pass over the columns. No memory is needed.
/// @snippet examples/convert.cpp lower
ZEL_TESSEL2D_API int convert_into_linear(dense2D<unsigned>& connect);

/// Raises linear elements to Q9 and T6, in place: `convert_into_high_order` with a = 1, b = 1, c = 0 and
/// no given edges.
///
/// @param[in,out] pos      2 x N or 3 x N coordinates, one node per column. Grows by the node of each edge
///                         and the centre of each quadrilateral; present columns keep their values.
/// @param[in,out] connect  3 x E node numbers below N: becomes 6 x E. 4 x E: becomes 9 x E, where a
///                         triangle has 0xFFFFFFFF in rows 6 to 8.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was and `connect` empty.
///
/// Cost: that of `convert_into_high_order`.
/// @snippet examples/convert.cpp quadratic
ZEL_TESSEL2D_API int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect);

/// Raises linear elements to Q9 and T6, in place, where some edges have their mid-side node already, as on
/// a curved boundary: `convert_into_high_order` with a = 1, b = 1, c = 0.
///
/// @param[in,out] pos      2 x N or 3 x N coordinates, one node per column. Grows by the node of each other
///                         edge and the centre of each quadrilateral; present columns keep their values.
/// @param[in,out] connect  3 x E node numbers below N: becomes 6 x E. 4 x E: becomes 9 x E, where a
///                         triangle has 0xFFFFFFFF in rows 6 to 8.
/// @param edges            empty, or 3 x G node numbers below N: end nodes and mid-side node of an edge per
///                         column. Centres follow the curved shape.
///
/// @retval 0     done, or nothing to do (`connect` is empty).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -6    `edges` does not have 3 rows, or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` as it was and `connect` empty.
///
/// Cost: that of `convert_into_high_order`.
/// @snippet examples/convert.cpp curved
ZEL_TESSEL2D_API int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect,
                                            const dense2D<unsigned>& edges);

/// Raises linear elements to any order, in place: the form with seven arguments, in whose list its
/// statuses count, with `connect` as input and output.
///
/// @param[in,out] pos      2 x N or 3 x N coordinates, one node per column. New nodes go behind the present
///                         ones, which keep their values.
/// @param[in,out] connect  3 x E or 4 x E node numbers below N; becomes one column per element, of
///                         4 + 4a + b or 3 + 3a + c rows, the larger number if there are both kinds.
/// @param a                nodes on an edge.
/// @param b                nodes in a quadrilateral, a square number.
/// @param c                nodes in a triangle: 0, 1 or 3.
/// @param edges            empty, or (a + 2) x G: edges that have their nodes already.
///
/// @retval 0     done, or nothing to do (`connect` is empty, or a + b + c is 0).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -4    `b` is not a square number.
/// @retval -5    `c` is 2 or above 3.
/// @retval -6    `edges` does not have a + 2 rows, or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// Whenever the status is not 0, and also when there is nothing to do, `connect` is empty afterwards and
/// `pos` is as it was.
///
/// Cost: that of the form with seven arguments.
/// @snippet examples/convert.cpp cubic
ZEL_TESSEL2D_API int convert_into_high_order(dense2D<double>& pos, dense2D<unsigned>& connect,
                                             unsigned a, unsigned b, unsigned c,
                                             const dense2D<unsigned>& edges);

/// Raises linear elements to any order: each edge gets `a` nodes, each quadrilateral `b` and each
/// triangle `c` nodes inside.
///
/// Neighbours share the nodes on their edge. Edges are numbered in the order of the elements, each at
/// its first use and in the direction of that use; an element that runs along it the other way has the
/// nodes in reverse. Then follow the nodes inside, element by element.
///
/// Nodes on an edge divide it evenly. Nodes inside stand on the even grid of the reference square, x
/// first, b = m*m; in a triangle at the centre (c = 1), or at the weights (1/4, 1/4, 1/2) and
/// (1/2, 1/4, 1/4) of corners 0, 1, 2 (c = 3). They follow the eight-node or six-node shape of an
/// element with a = 1 of which an edge was given, and the corners alone in all other elements.
///
/// @param[in,out] pos  2 x N or 3 x N coordinates, one node per column. New nodes go behind the present
///                     ones, which keep their values.
/// @param connect_in   3 x E or 4 x E node numbers below N.
/// @param a            nodes on an edge.
/// @param b            nodes in a quadrilateral, a square number.
/// @param c            nodes in a triangle: 0, 1 or 3. For 3 only two rows are filled and the third is
///                     0xFFFFFFFF: the third node, at (1/4, 1/2, 1/4), gives way to the first node inside
///                     the next element, if there is one, and `pos` ends with columns of zeros that no
///                     element uses.
/// @param[out] connect_out  what it held is dropped; one column per element, of 4 + 4a + b or
///                     3 + 3a + c rows, the larger number if there are both kinds. Rows that an element
///                     does not need are 0xFFFFFFFF.
/// @param edges        empty, or (a + 2) x G: end nodes of edges that have their nodes already, then the
///                     first of these. The others follow it in number, from the first end to the
///                     second; rows from 3 on are tested as node numbers but not used. Of an edge that is
///                     given twice the direction of the first and the nodes of the last count.
///
/// @retval 0     done, or nothing to do (`connect_in` is empty, or a + b + c is 0).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect_in` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -4    `b` is not a square number.
/// @retval -5    `c` is 2 or above 3.
/// @retval -6    `edges` does not have a + 2 rows, or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// Whenever the status is not 0, and also when there is nothing to do, `connect_out` is empty afterwards
/// and `pos` is as it was.
///
/// With a = 0 there are no edges, corners are not copied, and nodes inside lie at zero: it is of no use
/// with b or c. A number that names no node, such as 0xFFFFFFFF in row 2 of `edges`, contributes nothing
/// to nodes inside. Short of memory for its table of edges, the walk goes on; an edge that finds no place
/// has 0xFFFFFFFF for nodes.
///
/// Cost: one look-up per edge of each element, constant whatever the numbers of the nodes are, in a table
/// of 64 bytes per node, at most 96 per triangle and 128 per quadrilateral, and one evaluation per new
/// node.
/// @snippet examples/convert.cpp high_order
ZEL_TESSEL2D_API int convert_into_high_order(dense2D<double>& pos,
                                             const dense2D<unsigned>& connect_in, unsigned a,
                                             unsigned b, unsigned c, dense2D<unsigned>& connect_out,
                                             const dense2D<unsigned>& edges);

/// Cuts quadratic elements into four linear ones each, on the nodes that they have.
///
/// @code{.unparsed}
///            2                     3---6---2
///           / \                    |   |   |
///          4---3                   7---8---5
///         / \ / \                  |   |   |
///        0---5---1                 0---4---1
///
///     T6: (0,5,4) (1,3,5) (2,4,3) (3,4,5)
///     Q9: (0,4,8,7) (1,5,8,4) (2,6,8,5) (3,7,8,6)
/// @endcode
///
/// Pieces turn as their element does and start at its corner, but for the middle one of a triangle.
///
/// @param connect_in       6 x E: T6. 9 x E: Q9, and T6 where row 6 is 0xFFFFFFFF. Numbers are not
///                         looked at.
/// @param[in,out] connect_out  3 or 4 rows, or none. Grows by 4*E columns, element by element. It takes or
///                         keeps 3 rows for T6, or 4 if it has them; for 9 rows of input it is made 4 rows
///                         high. Row 3 of triangles, old ones too, is 0xFFFFFFFF.
///
/// @retval 0     done, or nothing to do (`connect_in` is empty).
/// @retval -1    `connect_in` has neither 6 nor 9 rows.
/// @retval -2    `connect_out` has other rows than 0, 3 and 4.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `connect_out` as it was.
///
/// Cost: proportional to the output, one allocation.
/// @snippet examples/convert.cpp split_quadratic
ZEL_TESSEL2D_API int split_into_linear(const dense2D<unsigned>& connect_in,
                                       dense2D<unsigned>& connect_out);

/// Makes an all-quadrilateral mesh of any linear one: each quadrilateral is cut into four, each triangle
/// into three, on a new node on each edge and one in each element.
///
/// @code{.unparsed}
///            2                     3---6---2
///           / \                    |   |   |
///          4-6-3                   7---8---5
///         /  |  \                  |   |   |
///        0---5---1                 0---4---1
///
///     triangle:      (0,5,6,4) (1,3,6,5) (2,4,6,3)
///     quadrilateral: (0,4,8,7) (1,5,8,4) (2,6,8,5) (3,7,8,6)
/// @endcode
///
/// @param[in,out] pos  2 x N or 3 x N coordinates. Grows as by `convert_into_high_order` with a, b, c = 1.
/// @param connect_in   3 x E or 4 x E node numbers below N.
/// @param[in,out] connect_out  4 rows, or empty. Grows by 4 or 3 columns per element, in their order.
/// @param edges        empty, or 3 x G node numbers below N: edges with a mid-side node already. They are
///                     kept, and centres follow the curved shape.
///
/// @retval 0     done, or nothing to do (`connect_in` has no columns).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect_in` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -3    `connect_out` holds columns of another height.
/// @retval -4    `edges` does not have 3 rows, or names a node that does not exist.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `connect_out` as they were. When memory runs out for the number of a
/// single edge the result is 0, and pieces at that edge have 0xFFFFFFFF for a corner.
///
/// Cost: that of `convert_into_high_order`, and one pass over the elements.
/// @snippet examples/convert.cpp all_quads
ZEL_TESSEL2D_API int split_into_Q4(dense2D<double>& pos, const dense2D<unsigned>& connect_in,
                                   dense2D<unsigned>& connect_out, const dense2D<unsigned>& edges);

/// Cuts each quadrilateral (a, b, c, d) into triangles (a, b, c) and (c, d, a), whatever its shape.
///
/// @param connect_in       3 x E or 4 x E node numbers, which are not looked at. Triangles stay.
/// @param[in,out] connect_out  3 rows, or empty. Grows by the triangles, in the order of the elements.
///
/// @retval n>=0  n quadrilaterals have been cut; 0 also if `connect_in` has no columns.
/// @retval -1    `connect_in` has neither 3 nor 4 rows.
/// @retval -2    `connect_out` holds columns of another height.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `connect_out` as it was.
///
/// Cost: one pass, one allocation.
/// @snippet examples/convert.cpp cut_blindly
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<unsigned>& connect_in,
                                      dense2D<unsigned>& connect_out);

/// Cuts each quadrilateral along the diagonal that gives the better triangles.
///
/// The node list is turned first so that it starts at its smallest number: (q0, q1, q2, q3). The diagonal
/// q0-q2 gives (q0, q1, q2) and (q2, q3, q0), the other one (q1, q2, q3) and (q3, q0, q1). A diagonal
/// scores the smaller shape quality 2 sqrt(3) A / (P M) of its two triangles, from the doubled area A, the
/// perimeter P and the longest side M: 1 for an equilateral triangle, in the plane negative for one that
/// turns clockwise. q0-q2 wins unless the other is better by 1e-12 or more, or a score is NaN.
///
/// @param pos              2 x N or 3 x N coordinates.
/// @param connect_in       3 x E or 4 x E node numbers below N. Triangles stay.
/// @param[in,out] connect_out  3 rows, or empty. Grows by the triangles, in the order of the elements.
///
/// @retval n>=0  n quadrilaterals have been cut; 0 also if `connect_in` has no columns.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect_in` has neither 3 nor 4 rows, or names a node that does not exist.
/// @retval -3    `connect_out` holds columns of another height.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `connect_out` as it was.
///
/// Cost: one pass, ten square roots per quadrilateral in the plane and fourteen in space.
/// @snippet examples/convert.cpp cut_well
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<double>& pos,
                                      const dense2D<unsigned>& connect_in,
                                      dense2D<unsigned>& connect_out);

/// Cuts the bad quadrilaterals of a mesh and keeps the others.
///
/// A quadrilateral is kept if its three qualities reach the thresholds. All are 1 for a square.
///
/// - Shape: 4 sqrt(2) C / (M P), with C the smallest vector product of the sides at a corner, M the
///   longest side or diagonal and P the perimeter; from -1 to 1. In space C is a length, and the quality,
///   from 0 to 1, is multiplied with the warp quality.
/// - Angle times warp: the smallest corner angle in units of 90 degrees, where an angle above 1 counts as
///   2 minus itself; from -1 to 1.
/// - Warp: in space 1 minus the sine of half the larger of the angles between the normals at opposite
///   corners; from 0 to 1, and 0 if a normal vanishes. In the plane 1.
///
/// Those that are not kept are cut along one of the diagonals of the form above, by the higher score:
///
/// @code{.unparsed}
///     criterion   score of a diagonal
///     1           smaller shape quality of its triangles
///     2           smaller angle quality: largest angle in units of 90 degrees, v or 2 - v if v > 1
///     3           minus the larger of the two doubled areas, which have a sign in the plane
///     4           minus their sum
///     5           in space, minus the angle between the normals of the triangles
///     6           in space, minus that angle times the length of the diagonal
///     else        none: always q0-q2, as with 5 and 6 in the plane
/// @endcode
///
/// With 5 and 6 a score above -1e-6 means coplanar triangles, and criterion 1 takes its place.
///
/// @param pos               2 x N or 3 x N coordinates.
/// @param connect_in        4 x E node numbers below N, 0xFFFFFFFF in row 3 of a triangle.
/// @param min_quality       least shape quality.
/// @param min_angle_quality least angle quality times warp quality.
/// @param min_warp_quality  least warp quality.
/// @param criterion         how the diagonal is chosen.
/// @param[out] kept         the numbers of the elements kept, triangles among them, ascending. What it
///                          held is dropped.
/// @param[out] split        the numbers of the elements cut, ascending. What it held is dropped.
/// @param[in,out] connect_out  4 rows, or empty. Grows by the elements kept, then by two triangles, with
///                          0xFFFFFFFF in row 3, for each of those cut.
///
/// @retval n>=0  n quadrilaterals have been cut; 0 also if `connect_in` has no columns.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    `connect_in` does not have 4 rows, or names a node that does not exist.
/// @retval -8    `connect_out` holds columns of another height.
/// @retval -199  memory is exhausted, or the elements outgrow 32-bit numbers.
///
/// A negative status leaves both lists empty and `connect_out` as it was.
///
/// A quality that is NaN reaches no threshold; with NaN among the coordinates it depends on the corner
/// whether the quality is NaN. `kept` and `split` are to be two lists: one list for both
/// names every element, and its quadrilaterals are kept and cut.
///
/// Cost: one pass that measures, in which atan2 for the angles takes most of the time, and one that
/// writes. The lists take 4 bytes per element each.
/// @snippet examples/convert.cpp cut_the_bad
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<double>& pos,
                                      const dense2D<unsigned>& connect_in, double min_quality,
                                      double min_angle_quality, double min_warp_quality,
                                      int criterion, dense1D<unsigned, 8>& kept,
                                      dense1D<unsigned, 8>& split, dense2D<unsigned>& connect_out);

} // namespace zel::tessel2d
