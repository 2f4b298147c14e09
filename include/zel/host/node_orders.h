// SPDX-License-Identifier: Apache-2.0
// The order in which file formats have the nodes of one element.
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

namespace zel::host {

/// Whose order of nodes: that of VTK, which meshio has too, or that of gmsh.
enum class node_format { vtk, gmsh };

/// Elements by their corners and their number of nodes, as the library makes them. A T15 counts its
/// third inner node, which is never made.
enum class nodal_element { T3, T6, T7, T10, T15, Q4, Q8, Q9, Q12, Q16, Q25 };

/// Nodes of an element: the number in its name.
ZEL_TESSEL2D_HOST_API unsigned node_count(nodal_element element) noexcept;

/// The permutation from the library's order into that of a format: place k of the format's element is row
/// `order[k]` of the library's column.
///
///     T6    0 1 2 5 3 4                           both
///     T7    0 1 2 5 3 4 6                         VTK
///     T10   0 1 2 7 8 3 4 5 6 9                   both
///     Q12   as it is                              gmsh
///     Q16   0..7 9 8 11 10 12 13 14 15            VTK
///           0..13 15 14                           gmsh
///     Q25   0..9 12 11 10 15 14 13 16..24         VTK
///           0..16 18 24 22 17 21 23 19 20         gmsh
///
/// T3, Q4, Q8 and Q9 are as they are in both. VTK is that of version 9.1; others turn sides 2 and 3 of
/// quadrilaterals of order 3 and more the other way. gmsh is that of version 4.8.
///
/// @return `node_count(element)` numbers, or null where the format has no such element: a T7 in gmsh, a
///         Q12 in VTK, and a T15 in both, since one of its nodes does not exist. Null also for a value
///         that is none of the enumerators.
ZEL_TESSEL2D_HOST_API const unsigned* order_to(node_format format, nodal_element element) noexcept;

/// The permutation back: row i of the library's column is place `order[i]` of the format's element.
/// Everything else as for `order_to`.
ZEL_TESSEL2D_HOST_API const unsigned* order_from(node_format format,
                                                 nodal_element element) noexcept;

/// Brings all columns of a connectivity into the order of a format, in place.
///
/// @param format   whose order.
/// @param edge_nodes  nodes on an edge, 0 to 3: the `a` of `convert_into_high_order`. It tells a triangle of
///                 9 nodes, which has two on each edge, from a quadrilateral with one.
/// @param[in,out] connect  one element per column. Triangles and quadrilaterals may stand side by side: a
///                 column ends before its first 0xFFFFFFFF, and rows from there on are left alone. Numbers
///                 of nodes are not looked at otherwise. Views with a leading dimension above their rows
///                 are fine; rows outside the view are not touched.
///
/// @retval 0   done; a `connect` without columns too.
/// @retval -1  `format` is not an enumerator.
/// @retval -2  `edge_nodes` is above 3.
/// @retval -3  a column is no element that the format has; see `order_to`.
///
/// A negative status leaves `connect` as it was.
///
/// Cost: two passes over the columns. No memory is needed.
/// @snippet examples/file_formats.cpp node_orders
ZEL_TESSEL2D_HOST_API int reorder_to(node_format format, unsigned edge_nodes,
                                     dense2D<unsigned>& connect) noexcept;

/// Brings all columns of a connectivity from the order of a format into that of the library, in place.
/// Arguments, statuses and cost are those of `reorder_to`.
///
/// @param format   whose order the columns have.
/// @param edge_nodes  nodes on an edge, 0 to 3.
/// @param[in,out] connect  one element per column, as for `reorder_to`.
///
/// @retval 0   done; a `connect` without columns too.
/// @retval -1  `format` is not an enumerator.
/// @retval -2  `edge_nodes` is above 3.
/// @retval -3  a column is no element that the format has; see `order_to`.
///
/// A negative status leaves `connect` as it was.
/// @snippet examples/file_formats.cpp node_orders
ZEL_TESSEL2D_HOST_API int reorder_from(node_format format, unsigned edge_nodes,
                                       dense2D<unsigned>& connect) noexcept;

} // namespace zel::host
