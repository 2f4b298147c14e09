// SPDX-License-Identifier: Apache-2.0
// Disks and quarters of disks.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Disks and quarters of disks.
namespace zel::tessel2d {

/// Meshes the upper right quarter of a disk with quadrilaterals, in three patches around a junction M.
///
/// @code{.unparsed}
///     S-.__
///     |    Q
///     B---M \    each line
///     |   |  \   has n cells
///     O---A---P
/// @endcode
///
/// O is the centre; A and B lie half way out, M on the diagonal at 0.58 of the radius; P, Q and S on the
/// circle at 0, 45 and 90 degrees. Each line between two of them has n cells: so has the side of each patch
/// O-A-M-B, A-P-Q-M and M-Q-S-B, and the arc from P to S has 2n edges. The interior of a patch is that of
/// `mesh_struct_Q4`.
///
/// New nodes: O, A, M, B, P, Q, S; then the n-1 nodes of each line in the order P-Q, Q-S (at equal
/// angles), O-A, A-P, S-B, B-O, A-M, M-B, M-Q (evenly spaced); then the interior of the three patches.
///
/// @param[in,out] pos  2 x N coordinates, one node per column, or empty. Grows by 3n(n+1) + 1 nodes. The
///                  functions for quarters and disks are made for an empty `pos`: see below.
/// @param center    the centre (cx, cy).
/// @param radius    the radius. With 0 all nodes lie at the centre, within rounding. It is not tested: a
///                  negative one gives the quarter of -radius turned by half a turn, NaN and infinity give
///                  nodes with coordinates that are not finite. The result is 0.
/// @param n         cells along the side of a patch; 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by 3n^2 counterclockwise columns, patch after
///                  patch.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 6n edges around the quarter,
///                  counterclockwise from P; the first 2n are the arc.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` is not empty and does not have 2 rows.
/// @retval -5    `connect` holds columns of another height.
/// @retval -6    `boundary` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
/// A negative status leaves all three as they were.
///
/// A `pos` that holds N nodes on entry is not refused, but not served either: its column count is set
/// to 2n + 5 as if it were empty, while skeleton and arcs go to the columns from N on, and the nodes of
/// the straight lines follow behind column 2n + 4. Patches whose nodes are not all below the column
/// count are left out. Nothing outside the storage is touched.
///
/// Cost: proportional to the mesh, one allocation per output and a list of 4n + 1 numbers. Views with a
/// leading dimension larger than their rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/disk.cpp quarter
ZEL_TESSEL2D_API int mesh_disk_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                                     double radius, unsigned n, dense2D<unsigned>& connect,
                                     dense2D<unsigned>& boundary);

/// Meshes the upper right quarter of a disk with triangles: the quarter of `mesh_disk_UR_Q4`, each cell cut
/// as by `mesh_struct_T3`.
///
/// @param[in,out] pos  2 x N coordinates, one node per column, or empty. Grows by 3n(n+1) + 1 nodes. The
///                  functions for quarters and disks are made for an empty `pos`: see below.
/// @param center    the centre (cx, cy).
/// @param radius    the radius. With 0 all nodes lie at the centre, within rounding. It is not tested: a
///                  negative one gives the quarter of -radius turned by half a turn, NaN and infinity give
///                  nodes with coordinates that are not finite. The result is 0.
/// @param n         cells along the side of a patch; 0 means nothing to do.
/// @param pattern   the diagonals: 0, 1 or 2 as for `mesh_struct_T3`. It is not tested: with any other
///                  value nodes of skeleton and lines and the boundary are made, but no triangle and no
///                  interior node, and the result is 0.
/// @param[in,out] connect  3 x E or 4 x E node numbers, or empty. Grows by 6n^2 columns; an empty matrix
///                  takes 3 rows, and a fourth row is 0xFFFFFFFF. An empty matrix of 5 or more rows is
///                  not refused, but not served either: it keeps its rows and takes the 2n^2
///                  triangles of the first patch alone, and the result is 0. Clear it first.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 6n edges around the quarter,
///                  counterclockwise from P; the first 2n are the arc.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` is not empty and does not have 2 rows.
/// @retval -6    `connect` holds columns of neither 3 nor 4 rows.
/// @retval -7    `boundary` holds columns of another height than 2.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all three as they were. A `pos` that holds nodes on entry is not served, as
/// `mesh_disk_UR_Q4` says.
///
/// Cost: that of `mesh_disk_UR_Q4`, for twice as many elements.
/// @snippet examples/disk.cpp quarter
ZEL_TESSEL2D_API int mesh_disk_UR_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                                     double radius, unsigned n, int pattern,
                                     dense2D<unsigned>& connect, dense2D<unsigned>& boundary);

/// Meshes a disk with quadrilaterals: four quarters of `mesh_disk_UR_Q4`, turned about the centre and
/// joined. The centre is a regular node of four elements.
///
/// Nodes of the quarters that lie closer than 1e-12 times the radius become one, also with nodes that
/// were there. From an empty `pos` the result has 12n^2 + 4n + 1 nodes: those of the first quarter in
/// its order, then those that the quarters turned by 90, 180 and 270 degrees add.
///
/// @param[in,out] pos  2 x N coordinates, or empty, which is what the function is made for: on nodes
///                  that are there it does as `mesh_disk_UR_Q4` says.
/// @param center    the centre (cx, cy). A centre that is far away, measured in radii, takes digits from
///                  the nodes; from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 only nodes with equal coordinates become one. It is not tested: a
///                  negative one gives the disk of -radius turned by half a turn, with seams where nodes
///                  may stay apart; NaN and infinity give nodes with coordinates that are not finite. The
///                  result is 0.
/// @param n         cells along the side of a patch; the circle gets 8n edges. 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by 12n^2 counterclockwise columns, quarter by
///                  quarter. Numbers that were there are rewritten too where nodes have been joined.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 8n edges of the circle,
///                  counterclockwise from the point to the right of the centre.
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the quarters are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 2 rows.
/// @retval -5    `connect` holds columns of another height.
/// @retval -6    `boundary` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
/// A negative status leaves all three as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about a quarter of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/disk.cpp disk
ZEL_TESSEL2D_API int mesh_disk_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                                  double radius, unsigned n, dense2D<unsigned>& connect,
                                  dense2D<unsigned>& boundary);

/// Meshes a disk with 24n^2 triangles: the disk of `mesh_disk_Q4`, each cell cut as by `mesh_struct_T3`.
///
/// @param[in,out] pos  2 x N coordinates, or empty, which is what the function is made for: on nodes
///                  that are there it does as `mesh_disk_UR_Q4` says.
/// @param center    the centre (cx, cy). A centre that is far away, measured in radii, takes digits from
///                  the nodes; from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 only nodes with equal coordinates become one. It is not tested: a
///                  negative one gives the disk of -radius turned by half a turn, with seams where nodes
///                  may stay apart; NaN and infinity give nodes with coordinates that are not finite. The
///                  result is 0.
/// @param n         cells along the side of a patch; the circle gets 8n edges. 0 means nothing to do.
/// @param pattern   the diagonals: 0, 1 or 2 as for `mesh_struct_T3`. It is not tested: with any other
///                  value only the nodes of the circle and its edges remain, and the result is 0.
/// @param[in,out] connect  3 x E or 4 x E node numbers, or empty. It always ends with 3 rows when
///                  triangles are added: a matrix of 4 rows loses its last one. Numbers that were there are
///                  rewritten too where nodes have been joined.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 8n edges of the circle,
///                  counterclockwise from the point to the right of the centre.
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the quarters are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 2 rows.
/// @retval -6    `connect` holds columns of neither 3 nor 4 rows.
/// @retval -7    `boundary` holds columns of another height than 2.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all three as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about a quarter of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/disk.cpp disk
ZEL_TESSEL2D_API int mesh_disk_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                                  double radius, unsigned n, int pattern,
                                  dense2D<unsigned>& connect, dense2D<unsigned>& boundary);

} // namespace zel::tessel2d
