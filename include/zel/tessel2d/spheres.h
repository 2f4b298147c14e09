// SPDX-License-Identifier: Apache-2.0
// Spheres and octants of spheres.
#pragma once

#include "zel/dense.h"
#include "zel/tessel2d/export.h"

/// Spheres and octants of spheres.
namespace zel::tessel2d {

/// Meshes the octant of a sphere beyond the centre in x, y and z with quadrilaterals, in three patches
/// around its middle C.
///
/// @code{.unparsed}
///             Z
///           /   \       each arc
///        XZ-.   .-YZ
///        /   'C'   \    has n cells
///       X-----XY----Y
/// @endcode
///
/// X, Y and Z lie on the axes, XY, XZ and YZ half way between them. Each of the nine arcs between neighbours
/// has n cells, and so has each side of the patches X-XY-C-XZ, XY-Y-YZ-C and XZ-C-YZ-Z. The interior of a
/// patch is that of `mesh_struct_Q4`, pushed onto the sphere along the line from the centre.
///
/// New nodes: X, XY, Y, XZ, C, YZ, Z; then the n-1 nodes of each arc, at equal angles, in the order
/// X-XY, XY-Y, Y-YZ, YZ-Z, Z-XZ, XZ-X, XY-C, XZ-C, YZ-C; then the interior of the three patches.
///
/// @param[in,out] pos  3 x N coordinates, one node per column, or empty. Grows by 3n(n+1) + 1 nodes behind
///                  the present ones.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius. With 0 all nodes lie at the centre. It is not tested: a negative one puts
///                  skeleton and arcs beyond the centre, where -radius would have them reflected, but the
///                  interior of the patches on the side where it was, which is no mesh of an octant; NaN
///                  and infinity give nodes with coordinates that are not finite. The result is 0.
/// @param n         cells along the side of a patch; 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by 3n^2 columns, patch after patch,
///                  counterclockwise when seen from outside.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 6n edges around the octant: 2n each
///                  from X to Y, from Y to Z and from Z to X.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -5    `connect` holds columns of another height.
/// @retval -6    `boundary` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
/// A negative status leaves all three as they were.
///
/// Cost: proportional to the mesh, one allocation per output and a list of 4n + 1 numbers. Views with a
/// leading dimension larger than their rows are fine. Calls on different blocks may run at the same time.
/// @snippet examples/sphere.cpp octant
ZEL_TESSEL2D_API int mesh_sphere_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                       double radius, unsigned n, dense2D<unsigned>& connect,
                                       dense2D<unsigned>& boundary);

/// Meshes the octant of a sphere beyond the centre in x, y and z with triangles: the octant of
/// `mesh_sphere_UR_Q4`, each cell cut as by `mesh_struct_T3`.
///
/// @param[in,out] pos  3 x N coordinates, one node per column, or empty. Grows by 3n(n+1) + 1 nodes behind
///                  the present ones.
/// @param center    the centre (cx, cy, cz).
/// @param radius    the radius. With 0 all nodes lie at the centre. It is not tested: a negative one puts
///                  skeleton and arcs beyond the centre, where -radius would have them reflected, but the
///                  interior of the patches on the side where it was, which is no mesh of an octant; NaN
///                  and infinity give nodes with coordinates that are not finite. The result is 0.
/// @param n         cells along the side of a patch; 0 means nothing to do.
/// @param pattern   the diagonals: 0, 1 or 2 as for `mesh_struct_T3`. It is not tested: with any other
///                  value the nodes of the arcs and the boundary are made, but no triangle and no interior
///                  node, and the result is 0.
/// @param[in,out] connect  3 x E or 4 x E node numbers, or empty. Grows by 6n^2 columns; an empty matrix
///                  takes 3 rows, and a fourth row is 0xFFFFFFFF. An empty matrix of 5 or more rows is
///                  not refused, but not served either: it keeps its rows and takes the 2n^2
///                  triangles of the first patch alone, and the result is 0. Clear it first.
/// @param[in,out] boundary  2 x B node numbers, or empty. Grows by the 6n edges around the octant: 2n each
///                  from X to Y, from Y to Z and from Z to X.
///
/// @retval 0     done, or nothing to do (`n` is zero).
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -6    `connect` holds columns of neither 3 nor 4 rows.
/// @retval -7    `boundary` holds columns of another height than 2.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves all three as they were.
///
/// Cost: that of `mesh_sphere_UR_Q4`, for twice as many elements.
/// @snippet examples/sphere.cpp octant
ZEL_TESSEL2D_API int mesh_sphere_UR_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                       double radius, unsigned n, int pattern,
                                       dense2D<unsigned>& connect, dense2D<unsigned>& boundary);

/// Meshes a sphere with quadrilaterals: eight octants of `mesh_sphere_UR_Q4`, joined. Three copies turned
/// about the z axis make the upper half, a copy of that, turned by half a turn about the x axis, the
/// lower one.
///
/// Nodes of the octants that lie closer than 1e-12 times the radius become one, also with nodes that
/// were there. From an empty `pos` the result has 24n^2 + 2 nodes.
///
/// @param[in,out] pos  3 x N coordinates, or empty. Grows by the nodes of the sphere; the N nodes stay.
/// @param center    the centre. One that is far away, measured in radii, takes digits from the nodes;
///                  from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 all nodes lie at the centre and become one. It is not tested: with
///                  a negative one, NaN or an infinity the octants are what `mesh_sphere_UR_Q4` makes of
///                  it, nodes that should become one may stay apart, and the result is 0.
/// @param n         cells along the side of a patch; a great circle has 8n edges. 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by 24n^2 columns, counterclockwise when seen
///                  from outside. Numbers that were there are rewritten too where nodes have been joined.
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the octants are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -5    `connect` holds columns of another height.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
/// A negative status leaves the outputs as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about two thirds of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/sphere.cpp sphere
ZEL_TESSEL2D_API int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                    double radius, unsigned n, dense2D<unsigned>& connect);

/// Meshes a sphere with quadrilaterals, as the form without circles does, with two great circles as edges
/// between nodes of the mesh.
///
/// @param[in,out] pos  3 x N coordinates, or empty. Grows by the nodes of the sphere; the N nodes stay.
/// @param center    the centre. One that is far away, measured in radii, takes digits from the nodes;
///                  from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 all nodes lie at the centre and become one. It is not tested: with
///                  a negative one, NaN or an infinity the octants are what `mesh_sphere_UR_Q4` makes of
///                  it, nodes that should become one may stay apart, and the result is 0.
/// @param n         cells along the side of a patch; a great circle has 8n edges. 0 means nothing to do.
/// @param[in,out] connect  4 x E node numbers, or empty. Grows by 24n^2 columns, counterclockwise when seen
///                  from outside. Numbers that were there are rewritten too where nodes have been joined.
/// @param[in,out] circle_z  2 x B node numbers, or empty. Grows by the 8n edges of the circle in the plane
///                  z = cz, counterclockwise when seen from +z.
/// @param[in,out] circle_y  2 x B node numbers, or empty. Grows by the 8n edges of the circle in the plane
///                  y = cy, from +z over +x to -z and back. The circles share the two nodes at
///                  (cx + radius, cy, cz) and (cx - radius, cy, cz).
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the octants are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -5    `connect` holds columns of another height.
/// @retval -6    `circle_z` holds columns of another height than 2.
/// @retval -7    `circle_y` holds columns of another height than 2.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves the outputs as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about two thirds of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/sphere.cpp great_circles
ZEL_TESSEL2D_API int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                    double radius, unsigned n, dense2D<unsigned>& connect,
                                    dense2D<unsigned>& circle_z, dense2D<unsigned>& circle_y);

/// Meshes a sphere with 48n^2 triangles: the sphere of `mesh_sphere_Q4`, each cell cut as by
/// `mesh_struct_T3`.
///
/// @param[in,out] pos  3 x N coordinates, or empty. Grows by the nodes of the sphere; the N nodes stay.
/// @param center    the centre. One that is far away, measured in radii, takes digits from the nodes;
///                  from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 all nodes lie at the centre and become one. It is not tested: with
///                  a negative one, NaN or an infinity the octants are what `mesh_sphere_UR_Q4` makes of
///                  it, nodes that should become one may stay apart, and the result is 0.
/// @param n         cells along the side of a patch; a great circle has 8n edges. 0 means nothing to do.
/// @param pattern   the diagonals: 0, 1 or 2 as for `mesh_struct_T3`. It is not tested: with any other
///                  value there is no triangle and no new node remains, and the result is 0.
/// @param[in,out] connect  empty, or 4 x E node numbers: a matrix of 3 rows that is not empty is refused.
///                  It always ends with 3 rows when triangles are added: a matrix of 4 rows loses its last
///                  one. Numbers that were there are rewritten too where nodes have been joined.
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the octants are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -5    `connect` holds columns of another height than 4.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves the outputs as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about two thirds of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/sphere.cpp sphere
ZEL_TESSEL2D_API int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                    double radius, unsigned n, int pattern,
                                    dense2D<unsigned>& connect);

/// Meshes a sphere with 48n^2 triangles, as the form without circles does, with two great circles as edges
/// between nodes of the mesh.
///
/// @param[in,out] pos  3 x N coordinates, or empty. Grows by the nodes of the sphere; the N nodes stay.
/// @param center    the centre. One that is far away, measured in radii, takes digits from the nodes;
///                  from about 1000 radii on nodes may fail to meet within the tolerance.
/// @param radius    the radius. With 0 all nodes lie at the centre and become one. It is not tested: with
///                  a negative one, NaN or an infinity the octants are what `mesh_sphere_UR_Q4` makes of
///                  it, nodes that should become one may stay apart, and the result is 0.
/// @param n         cells along the side of a patch; a great circle has 8n edges. 0 means nothing to do.
/// @param pattern   the diagonals: 0, 1 or 2 as for `mesh_struct_T3`. It is not tested: with any other
///                  value there is no triangle, but the circles are made all the same, and of the new nodes
///                  those on them remain. The result is 0.
/// @param[in,out] connect  empty, or 4 x E node numbers: a matrix of 3 rows that is not empty is refused.
///                  It always ends with 3 rows when triangles are added: a matrix of 4 rows loses its last
///                  one. Numbers that were there are rewritten too where nodes have been joined.
/// @param[in,out] circle_z  2 x B node numbers, or empty. Grows by the 8n edges of the circle in the plane
///                  z = cz, counterclockwise when seen from +z.
/// @param[in,out] circle_y  2 x B node numbers, or empty. Grows by the 8n edges of the circle in the plane
///                  y = cy, from +z over +x to -z and back. The circles share the two nodes at
///                  (cx + radius, cy, cz) and (cx - radius, cy, cz).
///
/// @retval 0     done, or nothing to do (`n` is zero). Should memory run out while nodes are joined, the
///               mesh is complete, but the octants are not joined or unused nodes stay.
/// @retval -1    `pos` is not empty and does not have 3 rows.
/// @retval -5    `connect` holds columns of another height than 4.
/// @retval -6    `circle_z` holds columns of another height than 2.
/// @retval -7    `circle_y` holds columns of another height than 2.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves the outputs as they were.
///
/// Cost: proportional to the mesh. Memory beyond the outputs: about two thirds of the elements, and
/// 4 bytes per node; 20 if there are nodes already.
/// @snippet examples/sphere.cpp great_circles
ZEL_TESSEL2D_API int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                                    double radius, unsigned n, int pattern,
                                    dense2D<unsigned>& connect, dense2D<unsigned>& circle_z,
                                    dense2D<unsigned>& circle_y);

} // namespace zel::tessel2d
