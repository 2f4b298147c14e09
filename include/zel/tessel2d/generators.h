// SPDX-License-Identifier: Apache-2.0
// Structured grids on four-sided patches, and sizes for their nodes.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Generators: structured grids on four-sided patches, and sizes for their nodes.
namespace zel::tessel2d {

/// Fills a four-sided patch with a structured grid of quadrilaterals.
///
/// @code{.unparsed}
///            top
///        C3------C2
///   left |  i ->  | right
///        C0------C1
///          bottom
/// @endcode
///
/// The closed loop runs bottom, right, top, left. `n` cells lie along right and left; the loop's length
/// fixes the count m along bottom and top: m = (size - 1)/2 - n. Interior nodes are the bilinearly blended
/// Coons interpolant of the four sides (S. A. Coons, 1967), so straight sides give a bilinear grid and a
/// counterclockwise loop gives counterclockwise elements. With B the loop, u = i/m and v = j/n, node
/// (i, j) is this sum, formed in this order:
///
/// @code{.unparsed}
///   (1 - v)*B[i] + u*B[m+j] + v*B[2m+n-i] + (1 - u)*B[2(m+n)-j] +
///   (v - 1)(1 - u)*C0 + (v - 1)u*C1 - v u*C2 + (u - 1)v*C3
/// @endcode
///
/// Nodes that coincide or are not finite need no care: the formula is evaluated as it stands.
///
/// @param[in,out] pos   2 x N or 3 x N coordinates, one node per column. Grows by (m-1)*(n-1)
///                      interior nodes behind the present ones, i outer and j inner. Present columns
///                      keep their values.
/// @param boundary      2*(m+n) + 1 node numbers below N; first and last are equal.
/// @param n             cells in the second direction; 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by m*n columns (a, b, c, d): the nodes
///                      (i, j), (i+1, j), (i+1, j+1), (i, j+1) of a cell, i outer and j inner. It may
///                      share its storage with `boundary`, which counts as it is on entry.
///
/// @retval 0     done, or nothing to do (`n`, the loop or m is zero).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    the loop has fewer than 5 entries, is not closed, or names a node that does not
///               exist.
/// @retval -3    `n` does not fit the length of the loop, or that length is even.
/// @retval -4    `connect` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `connect` as they were.
///
/// Cost: proportional to the grid, one allocation per output, nothing else. Views with a leading
/// dimension larger than their rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/patch.cpp unit_square
ZEL_TESSEL2D_API int mesh_struct_Q4(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary,
                                    unsigned n, dense2D<unsigned>& connect);

/// Fills a four-sided patch with a structured grid of triangles: the grid of `mesh_struct_Q4`, each
/// cell (a, b, c, d) cut along a diagonal.
///
/// @code{.unparsed}
///     pattern 0: d---c   pattern 1: d---c   pattern 2: pattern 1 where i + j is even,
///                |\  |              |  /|              pattern 0 where it is odd,
///                | \ |              | / |              like a chess board
///                a---b              a---b
/// @endcode
///
/// @param[in,out] pos   2 x N or 3 x N coordinates, one node per column. Grows by (m-1)*(n-1)
///                      interior nodes behind the present ones, i outer and j inner. Present columns
///                      keep their values.
/// @param boundary      2*(m+n) + 1 node numbers below N, the loop of the patch: bottom, right, top, left;
///                      first and last are equal.
/// @param n             cells in the second direction; 0 means nothing to do.
/// @param pattern       0: every cell gives (a, b, d) and (b, c, d); 1: (a, b, c) and (a, c, d);
///                      2: alternating.
/// @param[in,out] connect  3 x E or 4 x E node numbers, or empty. Grows by 2*m*n columns, the two of a
///                      cell behind one another. An empty matrix takes 3 rows, or keeps its row count if
///                      that is larger; rows from 3 on are 0xFFFFFFFF in the new columns.
///
/// @retval 0     done, or nothing to do (`n` or the loop is zero).
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -2    the loop has fewer than 5 entries, is not closed, or names a node that does not
///               exist.
/// @retval -3    `n` does not fit the length of the loop, or that length is even.
/// @retval -4    `pattern` is not 0, 1 or 2.
/// @retval -5    `connect` holds columns of neither 3 nor 4 rows.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `connect` as they were.
///
/// A loop of 2*n + 1 entries leaves no cell in the first direction (m = 0). It is not refused: `pos`
/// loses its last n - 1 columns, `connect` gains none, and the result is 0; with fewer than n - 1
/// columns the result is -199.
///
/// Cost: proportional to the grid, one allocation per output, nothing else. Views with a leading
/// dimension larger than their rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/patch.cpp triangle_patterns
ZEL_TESSEL2D_API int mesh_struct_T3(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary,
                                    unsigned n, int pattern, dense2D<unsigned>& connect);

/// Sizes for the nodes that `mesh_struct_Q4` and `mesh_struct_T3` put inside a patch, from the sizes at
/// the nodes of its loop.
///
/// The new entries are those of the interior nodes, in the order in which the generators append them.
/// Each is the mean of two sizes: one linear from the left to the right node of its line, and one linear
/// from the bottom to the top node.
///
/// @param boundary      2*(m+n) + 1 node numbers below N, the closed loop of the patch: bottom, right,
///                      top, left; first and last are equal.
/// @param n             cells in the second direction; 0 means nothing to do.
/// @param[in,out] metrics  N sizes, one per node, at least for the nodes of the loop. Grows by
///                      (m-1)*(n-1) entries; present ones keep their values. 0, a negative number and NaN
///                      stand for no size: the nodes inside that lie on a line with such a node at one of
///                      its ends get 0.
///
/// @retval 0     done, or nothing to do (`n` or the loop is zero).
/// @retval -1    the loop has fewer than 5 entries, is not closed, or names a node that has no entry.
/// @retval -2    `n` does not fit the length of the loop, or that length is even.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `metrics` as it was.
///
/// A loop of 2*n + 1 entries leaves no cell in the first direction (m = 0). It is not refused: `metrics`
/// loses its last n - 1 entries and the result is 0; with fewer than n - 1 entries the result is -199.
///
/// Cost: proportional to the grid, one allocation. Calls on different blocks may run at the same time.
/// @snippet examples/metrics.cpp sizes_in_a_patch
ZEL_TESSEL2D_API int metrics_struct(const dense1D<unsigned, 8>& boundary, unsigned n,
                                    dense1D<double, 8>& metrics);

/// Anisotropic size tensors for the nodes that `mesh_struct_Q4` and `mesh_struct_T3` put inside a patch,
/// from the tensors at the nodes of its loop. M asks for the size 1/sqrt(e' M e) along the unit vector e.
///
/// Between two tensors the sizes along their common basis are linear, the basis in which both are
/// diagonal. The new tensor is half way between that of the line from left to right and that of the line
/// from bottom to top.
///
/// @param boundary      2*(m+n) + 1 node numbers below N, the closed loop of the patch: bottom, right,
///                      top, left; first and last are equal.
/// @param n             cells in the second direction; 0 means nothing to do.
/// @param[in,out] metrics  3 x N tensors m00, m01, m11, or 6 x N tensors m00, m01, m11, m02, m12, m22, one
///                      per column. Grows by (m-1)*(n-1) columns. Where a line has an end whose tensor is
///                      not positive definite or not finite, the nodes inside on it get zero tensors.
///
/// @retval 0     done, or nothing to do (`n` or the loop is zero).
/// @retval -1    the loop has fewer than 5 entries, is not closed, or names a node that has no column.
/// @retval -2    `n` does not fit the length of the loop, or that length is even.
/// @retval -3    `metrics` has neither 3 nor 6 rows. This comes before everything else.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `metrics` as it was.
///
/// A loop of 2*n + 1 entries leaves no cell in the first direction (m = 0). It is not refused: `metrics`
/// loses its last n - 1 columns and the result is 0; with fewer than n - 1 columns the result is -199.
///
/// Cost: proportional to the grid, one allocation; an eigenvalue problem of order 3 per new column of 6
/// rows. Views with a leading dimension larger than their rows are fine.
/// @snippet examples/metrics.cpp tensors_in_a_patch
ZEL_TESSEL2D_API int metrics_struct(const dense1D<unsigned, 8>& boundary, unsigned n,
                                    dense2D<double>& metrics);

} // namespace zel::tessel2d
