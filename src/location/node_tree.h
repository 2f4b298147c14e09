// SPDX-License-Identifier: Apache-2.0
// A bucket quadtree over the nodes of a planar mesh, built once per call of an interpolation.
#pragma once

// Built in node_tree.cpp; the queries are in node_search.h, which their users include.
#include "foundation/cell_shapes.h"
#include "geometry/point.h"
#include "location/curve_order.h"

#include <cstddef>
#include <limits>

namespace zel::tessel2d {

/// Stands for no distance yet.
constexpr double no_distance = std::numeric_limits<double>::max();

/// The nodes that a search may return: those that an element of the mesh holds.
struct node_filter {
    const unsigned* ancestors; ///< per node, the element that holds it
    std::size_t nodes;         ///< length of `ancestors`
    std::size_t elements;      ///< numbers from here on are no elements; 0xFFFFFFFF at most

    bool usable(std::size_t node) const noexcept {
        return node < nodes && ancestors[node] < elements;
    }
};

// The tree knows leaves from inner cells by the first word of a column.
constexpr unsigned root_depth = grid_bits;
constexpr unsigned leaf_capacity = 3;
constexpr unsigned first_inner = 4; // the first column that can be a child

/// The quadrant that leads from a cell at `depth` towards p.
inline unsigned quadrant(const grid_point& p, unsigned depth) noexcept {
    return ((p.y >> (depth - 1)) & 1) * 2 + ((p.x >> (depth - 1)) & 1);
}

/// The tree. A cell is a column of four words:
///
///     leaf         the number of its nodes, 0 to 3, and the nodes in ascending order
///     inner cell   the first of its four children, which stand in consecutive columns by quadrant
///                  q = 2*(bit of y) + (bit of x)
///
/// Column 0 is the root and columns 1 to 3 stay unused, so that a first word from 4 on marks an inner
/// cell. The root has depth 32; a cell at depth d covers 2^d x 2^d grid cells, and bit d - 1 of the
/// grid coordinates leads from it to a child.
///
/// Which cells there are depends on the nodes alone, not on the order in which they came in; only of
/// more than three nodes in one grid cell the first three to come are kept.
struct node_tree {
    points_view<2> pos;
    std::size_t pos_cols; ///< columns of `pos`
    point<2> box_min;     ///< the bounding box: points outside it are outside the tree
    point<2> box_max;
    node_grid grid;
    dense2D<unsigned> cells; ///< 4 x room for cells
    std::size_t cell_count = 0;
    std::size_t node_count = 0;

    /// Short cuts: per place on the curve the leaf that covers it, or the inner cell of its size. Empty
    /// in a tree that was not filled at once.
    dense1D<unsigned, 8> entries;
    unsigned entry_levels = 0;

    /// An empty tree over the unit square. `pos`, 2 x N, must outlive the tree.
    explicit node_tree(const dense2D<double>& positions) noexcept;

    /// Drops all nodes. The box stays.
    void clear() noexcept;

    /// Starts anew with the nodes of `connect`, node numbers below N. Returns the number of nodes
    /// taken; nodes that find no memory are left out. 0 with the tree as it was: there is not even
    /// memory for a list of the nodes.
    template <class Shape>
    std::size_t fill(const dense2D<unsigned>& connect) noexcept;

    /// Adds a node. Returns false if it lies outside the box, if it shares its grid cell with three
    /// others, or if memory is exhausted.
    bool insert(unsigned node) noexcept;

    bool covers(const point<2>& p) const noexcept {
        return p[0] >= box_min[0] && !(p[0] > box_max[0]) && p[1] >= box_min[1] &&
               !(p[1] > box_max[1]);
    }

    /// Some usable node near the point, or 0xFFFFFFFF: the best of the leaf of the point, else of a
    /// leaf beside it, else of the tree. `best` goes down to its squared distance; start with
    /// `no_distance`. A filter has `usable(node)`, as `node_filter` has. Cost: the depth of a leaf, and
    /// more only where no usable node is near.
    template <class Filter = node_filter>
    unsigned find_close(const point<2>& p, double& best, const Filter& filter) const noexcept;

    /// The usable node nearest to the point, to one unit in the last place of the squared distance,
    /// or 0xFFFFFFFF when the point lies outside the box. Of nodes at the same distance, the one
    /// looked at first. `best` as for `find_close`. Cost: the leaves that reach into the circle of the
    /// nearest node, and the way to them.
    template <class Filter = node_filter>
    unsigned find_closest(const point<2>& p, double& best, const Filter& filter) const noexcept;

private:
    struct mesh_nodes;
    struct planting;

    void take_in(mesh_nodes& nodes) noexcept;
    template <class Shape>
    void keep_first_to_come(const dense2D<unsigned>& connect, mesh_nodes& nodes) noexcept;
    void vacate_leaf_of(unsigned node, unsigned char* marks) noexcept;
    void set_box(const point<2>& low, const point<2>& high) noexcept;
    void fit_box(dense1D<unsigned, 8>& nodes) noexcept;
    bool plant(mesh_nodes& nodes) noexcept;
    bool insert_below(std::size_t cell, unsigned depth, unsigned node) noexcept;
    bool add_children(std::size_t cell) noexcept;
    bool split(std::size_t cell, unsigned depth) noexcept;
};

extern template std::size_t
node_tree::fill<triangle_cells>(const dense2D<unsigned>& connect) noexcept;
extern template std::size_t node_tree::fill<quad_cells>(const dense2D<unsigned>& connect) noexcept;
extern template std::size_t node_tree::fill<mixed_cells>(const dense2D<unsigned>& connect) noexcept;

} // namespace zel::tessel2d
