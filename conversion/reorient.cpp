// zel tessel2d: planar and surface mesh tools.
#include "foundation/cell_shapes.h"
#include "foundation/tessel.h"
#include "foundation/topology.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>
#include <climits>

namespace zel::tessel2d {

namespace {

constexpr std::int64_t conflict = -2;

/// How an element F lies on an edge (a, b) of another one.
enum class side { same_direction, opposite_direction, not_on_edge };

/// A corner that F does not have counts as position 0xFFFFFFFF in the sums below.
side side_of_edge(const elfes::edge2& edge, const unsigned* cell, unsigned corners) noexcept {
    const std::uint64_t i = local_node_index(edge.a, cell, corners);
    const std::uint64_t j = local_node_index(edge.b, cell, corners);
    if (j == (i + 1) % corners) return side::same_direction;
    if (i == (j + 1) % corners) return side::opposite_direction;
    return side::not_on_edge;
}

/// The walk over the elements, breadth first.
///
/// An element is queued when it is first met as a neighbour, tested against each neighbour that is
/// processed before it, and processed when its turn comes. So it enters the queue once, and the queue
/// is an array that is filled from front to back.
struct reorientation {
    dense1D<unsigned, 8> queue;
    element_set queued;
    element_set processed;
    std::size_t head = 0;
    std::size_t tail = 0;
    std::int64_t count = 0;

    bool start(std::size_t elements) noexcept {
        return queue.resize(elements) && queued.start(elements) && processed.start(elements);
    }
    void push(unsigned e) noexcept {
        queued.add(e);
        queue.data()[tail++] = e;
    }
};

struct surface {
    columns<unsigned> cells;
    columns<unsigned> across;
    std::size_t elements;
};

/// Asks for the columns that are needed in a few steps: those of an element far behind the head of the
/// queue, and those of the neighbours of a nearer one, whose own column has come by then. What is no
/// neighbour counts as the last element: asking for it in vain costs less than a test.
template <class Shape>
[[gnu::always_inline]] inline void prefetch_ahead(const surface& mesh,
                                                  const reorientation& walk) noexcept {
    constexpr std::size_t near = 6;
    constexpr std::size_t far = 16;
    const unsigned* const next = walk.queue.data() + walk.head;
    const std::size_t waiting = walk.tail - walk.head;
    if (waiting <= far) return;
    prefetch(mesh.across[next[far]]);
    prefetch(mesh.cells[next[far]]);
    const unsigned* const across = mesh.across[next[near]];
    for (unsigned k = 0; k < Shape::rows; ++k) {
        const std::size_t f = std::min<std::size_t>(across[k], mesh.elements - 1);
        prefetch(mesh.cells[f]);
        prefetch(mesh.across[f]);
    }
}

/// Turns the neighbours of e that run along the common edge as e does. Whether one that is met for the
/// first time does is a coin's toss in a bad mesh, so that the exchange itself has no branch.
template <class Shape>
void process(const surface& mesh, unsigned e, reorientation& walk) noexcept {
    const unsigned* const cell = mesh.cells[e];
    const unsigned* const across = mesh.across[e];
    const unsigned corners = Shape::corners(cell);
    for (unsigned k = 0; k < corners; ++k) {
        const unsigned f = across[k];
        if (f >= mesh.elements || walk.processed.holds(f)) continue;
        unsigned* const other = mesh.cells[f];
        const unsigned other_corners = Shape::corners(other);
        const side found = side_of_edge(edge_nodes(cell, corners, k), other, other_corners);
        const bool turns = found == side::same_direction;
        const bool is_new = !walk.queued.holds(f);
        if (is_new || turns) {
            turn_over(other, turns);
            turn_over_neighbors(mesh.across[f], other_corners, turns);
        }
        walk.count = found == side::not_on_edge ? conflict : walk.count + (turns ? 1 : 0);
        if (is_new) walk.push(f);
        if (walk.count < 0) break;
    }
}

template <class Shape>
void reorient_component(const surface& mesh, unsigned first, reorientation& walk) noexcept {
    walk.push(first);
    while (walk.head < walk.tail) {
        prefetch_ahead<Shape>(mesh, walk);
        const unsigned e = walk.queue.data()[walk.head++];
        walk.processed.add(e);
        process<Shape>(mesh, e, walk);
    }
}

template <class Shape>
void reorient(const surface& mesh, unsigned seed, bool all_components,
              reorientation& walk) noexcept {
    for (std::size_t e = seed; e < mesh.elements; ++e) {
        if (walk.processed.holds(e)) continue;
        reorient_component<Shape>(mesh, static_cast<unsigned>(e), walk);
        if (!all_components) return;
    }
}

} // namespace

int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned seed,
                  int all_components) {
    if (connect.cols == 0) return status_ok;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, no_node)) return -1;
    if (neighbors.rows != connect.rows || neighbors.cols != connect.cols) return -2;
    if (seed >= connect.cols) return -3;
    if (connect.empty()) return status_ok;
    reorientation walk;
    if (connect.cols > most_nodes || !walk.start(connect.cols)) return status_memory;
    const surface mesh{columns_of(connect), columns_of(neighbors), connect.cols};
    if (connect.rows == 3) {
        reorient<triangle_cells>(mesh, seed, all_components != 0, walk);
    } else {
        reorient<mixed_cells>(mesh, seed, all_components != 0, walk);
    }
    return static_cast<int>(std::min<std::int64_t>(walk.count, INT_MAX));
}

} // namespace zel::tessel2d
