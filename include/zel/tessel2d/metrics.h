// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "foundation/dense.h"
#include "foundation/element_type.h"
#include "zel/tessel2d/export.h"

/// Size fields: how large elements shall be, the same in all directions or by a tensor. A symmetric
/// positive definite tensor M asks for the size 1/sqrt(e' M e) along the unit vector e.
namespace zel::tessel2d {

/// Derives anisotropic sizes from a surface of triangles: at each node the mean length of its edges in
/// the tangent plane, and along the normal what the caller asks for.
///
/// Each triangle asks at its nodes for G = t T1 T1' + t T2 T2' + s N N', where N is its normal, T1 and T2
/// span its plane, and t = 1/h^2 for the mean length h of the edges at the node; an edge counts once for
/// each triangle that it bounds. What the triangles around a node ask for is merged by `minimum_metric`
/// in the order of the triangles, so that the smaller size counts in each direction.
///
/// @param pos          coordinates, at least 3 x N, one node per column. Normals come from the first
///                     three rows, lengths from all rows.
/// @param connect      3 x E node numbers below N.
/// @param normal_size  above 0: the size along the normal; below 0: its magnitude is the ratio of that
///                     size to h; 0: the size along the normal is h too.
/// @param[in,out] metrics  6 x K tensors m00, m01, m11, m02, m12, m22, or empty. What it holds takes part
///                     in the merge. It grows with zeros to one column more than the largest number in
///                     `connect`; zero tensors ask for nothing. It may share its storage with `pos`, which
///                     counts as it is on entry.
///
/// @retval 0     done.
/// @retval -1    `pos` has fewer than 3 rows.
/// @retval -2    `connect` does not have 3 rows or names a node that does not exist. Without columns it
///               counts as naming node 0.
/// @retval -4    `metrics` holds columns of another height.
/// @retval -199  memory is exhausted.
/// A negative status leaves `metrics` as it was.
///
/// Edges of length zero and edges whose length is not finite do not count. At a node without any other
/// a triangle stops: that node and those behind it in the triangle get nothing from it. A triangle without
/// area has the normal (1, 0, 0). Numbers so large or small that G is not finite are taken over by a
/// column that holds zeros, and leave any other column as it is.
///
/// Cost: two passes over the triangles and three calls of `minimum_metric` for each; 12 bytes of memory
/// per node besides the result. Views with a leading dimension larger than their rows are fine. Calls on
/// different blocks may run at the same time.
/// @snippet examples/metrics.cpp sizes_of_a_surface
ZEL_TESSEL2D_API int metrics_gen_aniso3d(const dense2D<double>& pos,
                                         const dense2D<unsigned>& connect, double normal_size,
                                         dense2D<double>& metrics);

} // namespace zel::tessel2d
