// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Curvatures of surfaces.
namespace zel::tessel2d {

/// Estimates principal curvatures and directions at the nodes of a triangulated surface.
///
/// Around each node a patch of triangles is gathered, and over its inner edges the dyads of their
/// directions are summed, times dihedral angle and length. That tensor over the patch's area has the
/// principal curvatures as eigenvalues, and about 0 along the normal (Cohen-Steiner and Morvan,
/// "Restricted Delaunay triangulations and normal cycle", 2003). The eigenvector of a curvature runs
/// along the edges that are bent, at right angles to the direction in which the surface bends: on a
/// cylinder u1 lies along the axis.
///
/// A surface that bends toward its normal counts positive: a sphere of radius R with outward normals has
/// k1 and k2 near -1/R. Two things make values too small; docs/curvatures.md has numbers. Edges on the
/// border of a patch count for nothing, which costs a share that shrinks as patches hold more triangles. And
/// a patch is not flat: one of radius r on a sphere of radius R sees 1 - r^2/(4 R^2) of 1/R, however fine
/// the mesh is.
///
/// At an exact fold, where two triangles lie on one another, the sign of the angle pi is that of a product
/// that should be 0 and is up to its rounding. Along an axis, in a plane of two axes, the angle comes out
/// positive; elsewhere either way.
///
/// @param pos         3 x N coordinates, one node per column.
/// @param connect     3 x E node numbers below N.
/// @param neighbors   E columns of 3 rows, or more, which are not read: entry (j, e) is the element
///                    across the edge opposite node j of element e, or 0xFFFFFFFF. Any number of E or
///                    more counts as none.
/// @param radius      a patch holds triangles whose centroids are within this distance of the node, in
///                    the unit of `pos`. 0, not a number, or so small that its square is 0: only the
///                    first triangle that holds the node. A negative radius acts as its magnitude.
/// @param max_angle   in radians: a patch does not grow from a triangle to a neighbour whose normal
///                    is turned by this or more. 0 stops at every edge as far as the rounding of
///                    the formula allows it: on a plane some edges let a patch pass. pi stops at none,
///                    nor does what has no cosine; any other number acts as the angle from 0 to pi of
///                    the same cosine.
/// @param max_elements  a patch of this many triangles or more grows no further; up to two more may
///                    come in with the last step.
/// @param hard_edges  2 x H node numbers below N, or empty: edges that a patch does not cross.
/// @param[out] curvatures  what it held is dropped; it gets 8 x N numbers. Rows 0 to 2: unit vector u1;
///                    3 to 5: unit vector u2; 6: k1, the eigenvalue of largest magnitude; 7: k2, the
///                    next one. It may share storage with `pos` or be `pos` itself.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then nothing is looked at or touched).
/// @retval -1    `pos` does not have 3 rows.
/// @retval -2    `connect` does not have 3 rows, or names a node that does not exist.
/// @retval -3    `neighbors` has another number of columns than `connect`, or fewer than 3 rows.
/// @retval -7    `hard_edges` holds something and does not have 2 rows, or names a node that does not
///               exist.
/// @retval -199  memory is exhausted; `curvatures` is empty, or as it was if the hard edges found no
///               room or there are more than 0xFFFFFFFF triangles.
/// The negative statuses above it leave `curvatures` as it was.
///
/// Columns of nodes without elements are zero, and so are those of patches that have no area or whose
/// tensor is not finite. A triangle with an infinite coordinate is in no patch but that of its own
/// nodes, where k1 and k2 may not be numbers, unless the square of `radius` is infinite. Where k2 is not
/// above 0.001 of k1 in magnitude, u2 is set at right angles to u1 in the tangent plane of the patch's
/// first triangle; so it is on a plane, where k1 and k2 are 0. A patch begins with the first triangle
/// that holds its node, so results depend on the numbering of the elements.
///
/// Cost: proportional to the sizes of the patches, and one eigenvalue problem of order 3 per node.
/// Memory of about 180 bytes per triangle besides the result. Views with a leading dimension larger
/// than their rows are fine.
/// @snippet examples/curvatures.cpp principal
ZEL_TESSEL2D_API int principal_curvatures(const dense2D<double>& pos,
                                          const dense2D<unsigned>& connect,
                                          const dense2D<unsigned>& neighbors, double radius,
                                          double max_angle, unsigned max_elements,
                                          const dense2D<unsigned>& hard_edges,
                                          dense2D<double>& curvatures);

/// Estimates the second fundamental form of a surface S(u, v) at the nodes of a mesh of its parameters,
/// from its first derivatives there.
///
/// With n the unit normal at a node, along Su x Sv, the three coefficients are minus the means over the
/// triangles around the node of the derivatives of Su . n and Sv . n, by the divergence theorem, where n
/// is held fast. They estimate -L, -M and -N: a surface that bends toward its normal has negative ones,
/// other than in `principal_curvatures`. S = (u, v, (u^2 + v^2)/2) has (-1, 0, -1) at the origin.
///
/// @param pos      2 x N parameters (u, v), one node per column.
/// @param connect  3 x E node numbers below N; each triangle may turn either way.
/// @param D        6 x N: rows 0 to 2 the derivative Su at the node, rows 3 to 5 Sv.
/// @param[out] H   what it held is dropped; it gets 3 x N numbers: rows 0, 1 and 2 the coefficients of
///                 du du, du dv and dv dv. It may share storage with `pos` or `D` or be one of them.
///
/// @retval 0     done, or nothing to do (`connect` is empty; then nothing else is looked at).
/// @retval -1    `pos` does not have 2 rows.
/// @retval -2    `connect` does not have 3 rows, or names a node that does not exist.
/// @retval -3    `D` does not have 6 rows, or has another number of columns than `pos`.
/// @retval -199  memory is exhausted.
/// Whatever the status, `H` is empty unless there is a result.
///
/// Columns of nodes without elements are zero. A triangle without area in the parameter plane adds
/// nothing; where Su and Sv are parallel the normal is zero and so are the coefficients. At the border
/// of the mesh the mean is one-sided. docs/curvatures.md tells how large errors are inside.
///
/// Cost: one pass over the triangles; memory of 32 bytes per node besides the result. Views with a
/// leading dimension larger than their rows are fine.
/// @snippet examples/curvatures.cpp parametric
ZEL_TESSEL2D_API int parametric_curvatures(const dense2D<double>& pos,
                                           const dense2D<unsigned>& connect,
                                           const dense2D<double>& D, dense2D<double>& H);

} // namespace zel::tessel2d
