// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

#include <limits>

namespace zel::host {

/// Where a point lies, as a batch of `locator::locate` says: `places[j] == unsigned(place::inside)`.
enum class place : unsigned {
    inside,  ///< in the element that is named
    outside, ///< in none that the search found
    degenerate ///< the search came to an element whose area is not positive and finite, and ended there
};

/// How a point is served by `locator::transfer`: `table.states[j] == unsigned(source::nearest)`.
enum class source : unsigned {
    inside,  ///< by the element that holds it
    nearest, ///< by the nearest node of the mesh
    unserved ///< by nothing: it lies in no element, and outside the box of the mesh's nodes
};

/// From where each of n points is served, for as many fields as there are; see `locator::transfer`.
struct transfer_table {
    dense1D<unsigned, 8> states; ///< n values of `source`
    dense1D<unsigned, 8>
        elements; ///< the element of a point inside, the node of one served by the nearest
    /// 2 x n local coordinates in the element: s and t, the shares of nodes 0 and 1 in a triangle; u and v
    /// from -1 to 1 in a quadrilateral. 0 for points that are not inside.
    dense2D<double> local;
};

/// A planar mesh that has been tested and prepared once and is asked often: which element holds a point,
/// and what a field of the mesh is there.
///
/// @verbatim
///     locator mesh;
///     mesh.build(pos, connect);
///     mesh.locate(points, elements, weights, places);    // or one point at a time
///     mesh.transfer(points, table);                      // then, for each field:
///     mesh.carry(table, field, values);
/// @endverbatim
///
/// It keeps copies of the mesh, so what it was built from may change or go. After `build` nothing changes
/// any more: any number of threads may ask at the same time.
/// @snippet examples/locator.cpp locator
class ZEL_TESSEL2D_HOST_API locator {
public:
    /// Holds no mesh: no point is inside.
    locator() noexcept = default;
    locator(const locator&) = delete;
    locator& operator=(const locator&) = delete;
    locator(locator&& other) noexcept;
    locator& operator=(locator&& other) noexcept;
    ~locator();

    /// Takes a mesh, and finds out itself how its elements lie beside one another.
    ///
    /// @param pos      2 x N coordinates.
    /// @param connect  3 x E triangles, or 4 x E quadrilaterals and triangles, these with 0xFFFFFFFF in
    ///                 row 3; or empty. Elements are counterclockwise: `tessel2d::flip` turns a mesh over that
    ///                 has a negative `tessel2d::area`.
    ///
    /// @retval 0     done.
    /// @retval -1    `pos` does not have 2 rows, or more columns than 32-bit numbers can tell apart.
    /// @retval -2    `connect` has neither 3 nor 4 rows, or names a node that does not exist.
    /// @retval -199  memory is exhausted.
    ///
    /// A negative status leaves the former mesh in place.
    ///
    /// Cost: proportional to nodes and elements but for the sorting of nodes along a curve; about 150 bytes
    /// per node.
    int build(const dense2D<double>& pos, const dense2D<unsigned>& connect);

    /// The same with adjacency that the host has; `build_adjacency` says what it is.
    ///
    /// @param pos        2 x N coordinates.
    /// @param connect    as above.
    /// @param neighbors  of the shape of `connect`.
    /// @param ancestors  N entries.
    ///
    /// @retval 0     done.
    /// @retval -1    `pos` does not have 2 rows, or more columns than 32-bit numbers can tell apart.
    /// @retval -2    `connect` has neither 3 nor 4 rows, or names a node that does not exist.
    /// @retval -3    `neighbors` has another shape than `connect`, or names an element that does not exist.
    /// @retval -4    `ancestors` does not have one entry per node.
    /// @retval -199  memory is exhausted.
    int build(const dense2D<double>& pos, const dense2D<unsigned>& connect,
              const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors);

    /// Finds the element that holds a point: what `tessel2d::get_element_containing_point` finds in this mesh
    /// with a detector of its nodes and the same tolerance.
    ///
    /// @param p             the point.
    /// @param[out] element  the element, or 0xFFFFFFFF.
    /// @param tolerance     how far outside a side the point may lie, as there.
    ///
    /// @retval 1   found.
    /// @retval 0   not found, also when a long search finds no memory.
    /// @retval -1  the search came to an element whose area is not positive and finite, and ended there.
    ///
    /// Cost: a few elements, whatever the size of the mesh. A point that is outside costs a few nanoseconds if
    /// it lies clear of the elements, as a rule by the size of one, and less than 30 times the mesh's size away.
    /// This takes a tolerance of at most 1e-4, and a mesh in which all elements are counterclockwise, no
    /// quadrilateral is twisted or has a side 2000 times shorter than others, and none is flatter than
    /// 1e-8 of the mesh's size. Other points outside cost several times as much as those inside.
    int locate(const vector_fixed<double, 2>& p, unsigned& element,
               double tolerance = 1e-6) const noexcept;

    /// Finds the elements that hold many points, each as above. Where a long search finds no memory, its
    /// point counts as outside.
    ///
    /// @param points         2 x n coordinates.
    /// @param[out] elements  n entries: the element, or 0xFFFFFFFF.
    /// @param[out] weights   as many rows as the connectivity has, x n: the shares of the element's nodes at the
    ///                       point, linear in a triangle and bilinear in a quadrilateral; their sum is 1. Row 3
    ///                       of a triangle, and all rows of points that are not inside, are 0.
    /// @param[out] places    n values of `place`.
    /// @param tolerance      how far outside a side a point may lie.
    /// @param threads        threads that share the points; 0 means as many as the processor has. The outputs
    ///                       do not depend on it. Where a thread cannot be had, its share is done without.
    ///
    /// @retval 0     done.
    /// @retval -1    `points` does not have 2 rows, or has more columns than 32-bit numbers can tell apart. An
    ///               empty one without rows is fine.
    /// @retval -199  memory is exhausted.
    ///
    /// A negative status leaves the outputs as they were; else they are in memory of their own.
    ///
    /// Cost: a few elements per point, and for points outside what is said above. Many points are visited in
    /// the order of a Z curve, so their own order does not matter much.
    int locate(const dense2D<double>& points, dense1D<unsigned, 8>& elements,
               dense2D<double>& weights, dense1D<unsigned, 8>& places, double tolerance = 1e-6,
               unsigned threads = 1) const;

    /// Finds out from where points are served when fields of the mesh are carried onto them, as
    /// `tessel2d::interpolate` does: by the element that holds them to its tolerance of 1e-6, else by the
    /// nearest node of the mesh that an element has, if they lie within the box of these nodes. So is a point
    /// there for which the search came to a degenerate element.
    ///
    /// @param points      2 x n coordinates.
    /// @param[out] table  what `carry` needs, in memory of its own.
    /// @param threads     as for `locate`.
    ///
    /// @retval 0     done.
    /// @retval -1    `points` does not have 2 rows, or has more columns than 32-bit numbers can tell apart. An
    ///               empty one without rows is fine.
    /// @retval -199  memory is exhausted.
    ///
    /// A negative status leaves `table` as it was.
    ///
    /// Cost: a few elements per point. For points that are not inside, the search for the nearest node:
    /// some nodes near the mesh, more in the middle of a large hole.
    int transfer(const dense2D<double>& points, transfer_table& table, unsigned threads = 1) const;

    /// Carries a field onto the points of a table; values are those of `tessel2d::interpolate` to the last
    /// bit.
    ///
    /// @param table        as `transfer` of this locator made it.
    /// @param field        c x N: any number of components for each node of the mesh.
    /// @param[out] values  c x n, in memory of its own.
    /// @param unserved     what unserved points get.
    ///
    /// @retval 0     done.
    /// @retval -1    `table` is not in itself consistent, or names elements or nodes that the mesh does not
    ///               have.
    /// @retval -2    `field` does not have one column per node.
    /// @retval -199  memory is exhausted.
    ///
    /// A negative status leaves `values` as it was.
    int carry(const transfer_table& table, const dense2D<double>& field, dense2D<double>& values,
              double unserved = std::numeric_limits<double>::quiet_NaN()) const;

    /// The same for one number per node: N entries give n.
    int carry(const transfer_table& table, const dense1D<double, 8>& field,
              dense1D<double, 8>& values,
              double unserved = std::numeric_limits<double>::quiet_NaN()) const;

private:
    struct prepared_mesh;
    prepared_mesh* mesh_ = nullptr;
};

} // namespace zel::host
