// SPDX-License-Identifier: Apache-2.0
// Mesh services that hosts and the library share: tests of node numbers, merging, copies, nearest
// nodes and the combination of size tensors.
#pragma once

#include "zel/dense.h"
#include "zel/element_type.h"
#include "zel/tessel2d/export.h"

/// Mesh services that hosts and the library share.
namespace zel::tessel {

/// Returns true if a connectivity can be used: its rows suit `kind` and every entry is below
/// `bound`.
///
/// @param connect  one element per column, one node number per row. An empty matrix passes.
/// @param kind     a concrete kind asks for exactly `element_node_count(kind)` rows. ELEMENT_FACE takes
///                 3 rows, or 4 rows in which row 3 may hold 0xFFFFFFFF: that column is a triangle.
/// @param bound    number of nodes; an entry equal to it fails, and so does any other 0xFFFFFFFF. The
///                 bound 0xFFFFFFFF switches the range test off: every other number passes then.
///
/// Cost: one pass over the entries at the speed of memory.
ZEL_TESSEL2D_API bool check_IDs(const dense2D<unsigned>& connect, element_type kind,
                                unsigned bound) noexcept;

/// Returns true if every entry is below `bound` or is 0xFFFFFFFF, which stands for no neighbour or
/// no node. An empty matrix passes.
ZEL_TESSEL2D_API bool check_IDs(const dense2D<unsigned>& ids, unsigned bound) noexcept;

/// Returns true if every entry is below `bound`. An empty vector passes.
ZEL_TESSEL2D_API bool check_IDs(const dense1D<unsigned, 8>& ids, unsigned bound) noexcept;

// --------------------------------------------------------------------------------- mesh surgery

/// Fuses nodes that coincide: every number of a fused node in the given connectivities is replaced
/// in place by the number of the node that is kept. `pos` is not changed; `simplify` removes the
/// nodes that nothing refers to any more.
///
/// The nodes are visited in ascending order. A node is fused with the lowest-numbered kept node
/// before it that lies closer than `tolerance` or has equal coordinates; if there is none, it is
/// kept. So a chain of close nodes does not become one node: a fused node is never farther than
/// `tolerance` from its replacement. All columns of `pos` are considered, also those that no
/// element uses. A node with a NaN is kept. Differences, squares and their sum are rounded to
/// double precision: nodes whose distance is within a few units in the last place of the tolerance
/// may be fused or kept, the same at every call.
///
/// @param pos       2 x N or 3 x N coordinates, one node per column.
/// @param[in,out] connect  node numbers, of any height. Entries that are not columns of `pos`, such as
///                  0xFFFFFFFF, stay.
/// @param tolerance the distance below which nodes are one. Zero, a negative number and NaN fuse nodes
///                  of equal coordinates only (0 and -0 are equal); infinity fuses all finite nodes.
/// @param flag      0. Reserved; other values do the same.
///
/// @retval 0     done.
/// @retval -1    `pos` has neither 2 nor 3 rows.
/// @retval -199  memory is exhausted; nothing has changed.
///
/// Cost: proportional to nodes and entries, however the nodes are spread. About 13 bytes of memory per
/// node, and 24 to 40 more for each node in a crowd or next to nodes of another cell; 200 bytes per node
/// if coordinates are chosen so that all nodes lie at corners of cells.
/// @snippet examples/services.cpp merge
ZEL_TESSEL2D_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connect, double tolerance,
                           unsigned flag);
/// The same for two connectivities.
ZEL_TESSEL2D_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connect,
                           dense2D<unsigned>& connect2, double tolerance, unsigned flag);
/// The same for the connectivities [first, last), which only change in their values. They may share
/// storage, with one another or with matrices that are not in the range.
ZEL_TESSEL2D_API int merge(const dense2D<double>& pos, dense2D<unsigned>* first,
                           dense2D<unsigned>* last, double tolerance, unsigned flag);

/// Removes the nodes from column `first_node` on that no element refers to. The others move up in
/// their order and all numbers are rewritten accordingly. Nodes in front of `first_node` stay.
///
/// @param[in,out] pos   coordinates, one node per column, of any height; loses columns.
/// @param[in,out] connect  node numbers, of any height. Entries that are not columns of `pos` on entry,
///                  such as 0xFFFFFFFF, stay.
/// @param first_node    the first node that may be removed. At or above the column count nothing changes.
///
/// @retval 0     done.
/// @retval -199  memory is exhausted; nothing has changed.
///
/// Cost: proportional to nodes and entries, and 4 bytes of memory per node from `first_node` on.
/// @snippet examples/services.cpp merge
ZEL_TESSEL2D_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connect,
                              unsigned first_node);
/// The same for two connectivities.
ZEL_TESSEL2D_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connect,
                              dense2D<unsigned>& connect2, unsigned first_node);
/// The same for the connectivities [first, last), which only change in their values. They may share
/// storage; an entry that several of them share is rewritten once.
ZEL_TESSEL2D_API int simplify(dense2D<double>& pos, dense2D<unsigned>* first,
                              dense2D<unsigned>* last, unsigned first_node);

/// Appends turned and moved copies of a part of a planar mesh.
///
/// For k = 1 ... `copies` each node that `source` uses gets a copy behind the columns of `pos`, at
/// center + R(p - center) + k*translation with R the turn by k*angle, in ascending order of the old
/// numbers; then the columns of `source` are appended to `connect` with the new numbers. A turn that
/// is a multiple of a quarter turn to within rounding is exact.
///
/// @param[in,out] pos      2 x N coordinates. Grows by `copies` nodes for each node in use.
/// @param[in,out] connect  node numbers with the height of `source`, or empty. Grows by `copies` times
///                     the columns of `source`.
/// @param translation  the way that each copy is moved beyond the one before.
/// @param center       the fixed point of the turns.
/// @param angle        turn of each copy beyond the one before, in radians, counterclockwise.
/// @param copies       number of copies; 0 means nothing to do.
/// @param source       elements to be copied, of any height. Entries that are not columns of `pos`
///                     stay. It may share its storage with `connect` and counts as it is on entry.
///
/// @retval 0     done, or nothing to do (`copies` is zero, `source` is empty).
/// @retval -1    `pos` does not have 2 rows.
/// @retval -2    `connect` holds columns of another height than `source`.
/// @retval -199  memory is exhausted, or the nodes outgrow 32-bit numbers.
///
/// A negative status leaves `pos` and `connect` as they were.
///
/// Cost: proportional to what is added and to the range of the node numbers in `source`, with 4 bytes
/// of memory for each number in that range.
/// @snippet examples/services.cpp copies
ZEL_TESSEL2D_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
                               const vector_fixed<double, 2>& translation,
                               const vector_fixed<double, 2>& center, double angle, unsigned copies,
                               const dense2D<unsigned>& source);

/// The same in space: `pos` has 3 rows (else -1), and `rotation` points along the axis through
/// `center` about which the copies turn; its length is the angle in radians, counterclockwise when the
/// axis points to the viewer. A zero vector does not turn.
ZEL_TESSEL2D_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
                               const vector_fixed<double, 3>& translation,
                               const vector_fixed<double, 3>& center,
                               const vector_fixed<double, 3>& rotation, unsigned copies,
                               const dense2D<unsigned>& source);

// ------------------------------------------------------------------------------ search and metrics

class node_index;

/// Finds nodes of a planar mesh near a point. The host builds it once; it copies what it needs, so
/// that later changes of the coordinates have no effect.
///
/// A grid of cells over the nodes, and grids within the crowded cells, so that clusters and graded meshes
/// cost no more than even ones. Copies share their memory. All queries are const and may run on several
/// threads at once.
/// @snippet examples/services.cpp nearest_node
class ZEL_TESSEL2D_API node_detector {
public:
    /// Takes the columns of `pos` whose coordinates are both finite. It holds no node if `pos` does
    /// not have 2 rows, has more columns than 32-bit numbers count, or if memory is exhausted.
    /// Cost: proportional to the nodes, unless sizes differ by many orders of magnitude: then n log n.
    /// About 26 bytes per node to keep, more when there are many grids; twice as much while it is made.
    explicit node_detector(const dense2D<double>& pos) noexcept;

    /// The number of a node near the point, quickly: not always the nearest one. 0xFFFFFFFF if it
    /// holds no node or if a coordinate of the point is not finite. Cost: a few cells, whatever the
    /// number of nodes, unless sizes differ by many orders of magnitude: then log n.
    unsigned find_close(const vector_fixed<double, 2>& point) const noexcept;

    /// The number of the nearest node, of several as near the lowest, also for points far outside
    /// the mesh: distances are compared without rounding. 0xFFFFFFFF as for `find_close`. Cost: as
    /// for `find_close` near the nodes. Elsewhere, in a hole or outside the mesh, a few rows of
    /// cells more: up to the square root of the number of nodes. Nodes whose distances from the
    /// point are equal in double precision are all compared exactly, such as a cluster within
    /// 1e-310 or a mesh seen from 10^16 times its size.
    unsigned find_closest(const vector_fixed<double, 2>& point) const noexcept;

    /// The number of nodes it holds.
    std::size_t size() const noexcept;

    node_detector(const node_detector& other) noexcept;
    node_detector& operator=(const node_detector& other) noexcept;
    ~node_detector();

private:
    Ptr<node_index> index_; // null if it holds no node
};

/// Combines two anisotropic size tensors into the one that asks for the smaller of the two sizes in
/// each direction: their intersection by simultaneous reduction (P. J. Frey and P. L. George, 2008).
/// In the common basis of the tensors the larger eigenvalue counts.
///
/// @param a, b         symmetric tensors; size 1/sqrt(e' a e) is asked for along the unit vector e.
/// @param[out] result  the combination; may be `a` or `b` itself.
/// @return true when `result` has been formed. A zero tensor asks for nothing: the result is the other
///         one, as it stands. False, with `result` untouched, when neither tensor is positive definite
///         or the result would not be finite.
///
/// One of the tensors may be semidefinite. Swapping `a` and `b` changes the result by rounding at most.
/// @snippet examples/services.cpp smaller_size
ZEL_TESSEL2D_API bool minimum_metric(const symmetric_fixed<double, 3>& a,
                                     const symmetric_fixed<double, 3>& b,
                                     symmetric_fixed<double, 3>& result) noexcept;

} // namespace zel::tessel
