// SPDX-License-Identifier: Apache-2.0
// Curvatures of surfaces in parts.
#pragma once

#include "zel/distributed/export.h"
#include "zel/distributed/mesh.h"

namespace zel::distributed {

/// Estimates principal curvatures and directions at the nodes of a triangulated surface: those of
/// `tessel2d::principal_curvatures` on one rank with the neighbours of `host::build_adjacency`, to the bit.
///
/// Each rank looks as deep beyond its border as the patches around its nodes can reach. The halo grows layer by layer,
/// beginning with two, until no triangle of the outermost layer has its centroid within `radius` of a node of which the
/// rank is in charge: a patch grows from neighbour to neighbour and so cannot pass that layer. It also stops at
/// `max_elements` + 3 layers, which no patch passes, and where the surface ends.
///
/// @param mesh          triangles in space.
/// @param radius        a patch holds triangles whose centroids are within this distance of the node. 0, NaN, or so
///                      small that its square is 0: only the first triangle that holds the node. A negative radius
///                      acts as its magnitude.
/// @param max_angle     in radians: a patch does not grow from a triangle to a neighbour whose normal is turned by this
///                      or more; pi stops at none.
/// @param max_elements  a patch of this many triangles or more grows no further.
/// @param hard_edges    2 x H local node numbers of this rank, or empty: edges that no patch crosses, on whichever rank
///                      it is. It is enough that one rank names an edge.
/// @param[out] curvatures  8 x N, one column per local node, copies included: unit vectors u1 and u2, then k1 and k2, as
///                      `tessel2d::principal_curvatures` has them. What it held is dropped.
///
/// @retval 0     done, or nothing to do (there are no elements; then `curvatures` stays as it was).
/// @retval -1    the mesh has no communicator, its nodes do not have 3 coordinates, its elements do not have 3 rows,
///               or a corner stands for no node.
/// @retval -5    a rank's `hard_edges` holds something and does not have 2 rows, or names a node that it does not have.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part with its halo outgrows 32-bit numbers.
///
/// A negative status leaves `curvatures` as it was on all ranks.
///
/// Cost: that of `tessel2d::principal_curvatures` on the part with its halo. What travels grows with the border times
/// the radius. A radius of the size of the mesh brings the whole mesh to each rank.
ZEL_TESSEL2D_DISTRIBUTED_API int principal_curvatures(const partitioned_mesh& mesh, double radius,
                                                      double max_angle, unsigned max_elements,
                                                      const dense2D<unsigned>& hard_edges,
                                                      dense2D<double>& curvatures);

/// Estimates the second fundamental form of a surface S(u, v) at the nodes of a mesh of its parameters, from its first
/// derivatives there: that of `tessel2d::parametric_curvatures` on one rank, to the bit.
///
/// @param mesh  triangles in the plane.
/// @param D     6 x N, a column of first derivatives for each node of the part, as the library has them. Those of a
///              copy are not looked at: they are taken from the node's home.
/// @param[out] curvatures  3 x N, one column for each node of the part, copies included, as the library has them; zero
///              for a node of no triangle. What it held is dropped.
///
/// @retval 0     done, or nothing to do (there are no elements; then `curvatures` stays as it was).
/// @retval -1    the mesh has no communicator, its nodes do not have 2 coordinates, its elements do not have 3 rows,
///               or a corner stands for no node.
/// @retval -2    a rank's `D` does not have 6 rows and a column for each node of its part.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `curvatures` as it was on all ranks.
///
/// Cost: that of the library on the part with one layer of halo; what travels is proportional to the border.
ZEL_TESSEL2D_DISTRIBUTED_API int parametric_curvatures(const partitioned_mesh& mesh,
                                                       const dense2D<double>& D,
                                                       dense2D<double>& curvatures);

} // namespace zel::distributed
