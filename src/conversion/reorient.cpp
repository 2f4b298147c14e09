// SPDX-License-Identifier: Apache-2.0
//
// Turns the elements of a surface over until they run as the element `seed` does.
//
// A breadth-first search starts at the seed and crosses edges. An element that runs along an edge in the same
// direction as the element from which it was met is turned over, together with its column of neighbours.
// An element that has been processed is never turned again, so that each one agrees with the element that met
// it first; on a surface that has only one side the edges where this closes on itself stay as they are.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "zel/tessel.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>
#include <climits>

namespace zel::tessel2d {

namespace {

constexpr std::int64_t conflict = -2;

/// How an element F lies on an edge (a, b) of another one, in bits.
enum side : unsigned { opposite_direction = 0, same_direction = 1, not_on_edge = 2 };

/// The position of a node among the corners of an element, which counts as 0xFFFFFFFF in the sums when the
/// element does not have it.
constexpr std::uint64_t position_in_sums(unsigned i) {
    return i < 4 ? i : no_node;
}

/// How an element lies on (a, b) when its corners i and j are a and b; 4 stands for a corner that it does
/// not have.
struct side_table {
    side of[5][5];
};
constexpr side_table sides_for(unsigned corners) {
    side_table table{};
    for (unsigned a = 0; a < 5; ++a) {
        for (unsigned b = 0; b < 5; ++b) {
            const std::uint64_t i = position_in_sums(a);
            const std::uint64_t j = position_in_sums(b);
            table.of[a][b] = j == (i + 1) % corners   ? same_direction
                             : i == (j + 1) % corners ? opposite_direction
                                                      : not_on_edge;
        }
    }
    return table;
}
constexpr side_table triangle_sides = sides_for(3);
constexpr side_table quad_sides = sides_for(4);

/// `local_node_index`, but 4 for a node that is none of the corners. Written out, since a comparison behind
/// it makes gcc jump, and there is no telling which corner it is.
inline unsigned position_of(unsigned node, const unsigned* cell, unsigned corners) noexcept {
    unsigned row = corners == 4 && cell[3] == node ? 3 : 4;
    row = cell[2] == node ? 2 : row;
    row = cell[1] == node ? 1 : row;
    return cell[0] == node ? 0 : row;
}

inline side side_of_edge(const elfes::edge2& edge, const unsigned* cell,
                         unsigned corners) noexcept {
    const side_table& table = corners == 3 ? triangle_sides : quad_sides;
    return table.of[position_of(edge.a, cell, corners)][position_of(edge.b, cell, corners)];
}

/// Columns of the elements and of their neighbours; a leading dimension that is known at compile time
/// saves multiplications. `Leading` 0: it is not.
template <std::size_t Leading>
struct surface {
    columns<unsigned> cells;
    columns<unsigned> across;
    std::size_t elements;

    unsigned* cell(std::size_t e) const noexcept {
        return cells.first + e * (Leading == 0 ? cells.ld : Leading);
    }
    unsigned* neighbors(std::size_t e) const noexcept {
        return across.first + e * (Leading == 0 ? across.ld : Leading);
    }
    /// `e` need not be an element.
    void prefetch_columns(std::size_t e) const noexcept {
        prefetch_at(cells.first, e * (Leading == 0 ? cells.ld : Leading));
        prefetch_at(across.first, e * (Leading == 0 ? across.ld : Leading));
    }

private:
    [[gnu::always_inline]] static void prefetch_at(const unsigned* first, std::size_t i) noexcept {
        const auto address = reinterpret_cast<std::uintptr_t>(first) + i * sizeof(unsigned);
        prefetch(reinterpret_cast<const void*>(address));
    }
};

/// Two bits for each element: it is queued, it is processed. The bits of the same elements lie in two words
/// side by side, so that setting one does not hold up the other.
struct element_marks {
    static constexpr std::size_t in_word = 32;
    static std::size_t words_for(std::size_t elements) noexcept {
        return 2 * (elements / in_word + 1);
    }

    unsigned* words;

    unsigned& queued(std::size_t e) const noexcept { return words[e / in_word * 2]; }
    unsigned& processed(std::size_t e) const noexcept { return words[e / in_word * 2 + 1]; }
    static bool in(unsigned word, std::size_t e) noexcept {
        return (word >> e % in_word & 1U) != 0;
    }
    static unsigned bit(std::size_t e) noexcept { return 1U << e % in_word; }
};

/// The walk over the elements, breadth first.
///
/// An element is queued when it is first met as a neighbour, tested against each neighbour that is
/// processed before it, and processed when its turn comes. So it enters the queue once, and the queue
/// is an array that is filled from front to back, with room for one more.
struct reorientation {
    element_marks marks;
    unsigned* queue;
    std::size_t head = 0;
    std::size_t tail = 0;
    std::int64_t count = 0;

    bool is_processed(std::size_t e) const noexcept {
        return element_marks::in(marks.processed(e), e);
    }
    /// Queues an element unless it was. Whether it was cannot be foreseen, so there is no branch.
    void push(unsigned e) noexcept {
        unsigned& queued = marks.queued(e);
        queue[tail] = e;
        tail += element_marks::in(queued, e) ? 0U : 1U;
        queued |= element_marks::bit(e);
    }
};

/// Prefetches the columns that are needed in a few steps: those of an element far behind the head
/// of the queue, and those of the neighbours of a nearer one, whose own columns have been loaded by
/// then. Entries that are no neighbour are prefetched too, which has no effect and costs less than
/// a test.
template <class Shape, std::size_t Leading>
[[gnu::always_inline]] inline void prefetch_ahead(const surface<Leading>& mesh,
                                                  const reorientation& walk) noexcept {
    constexpr std::size_t near = 6;
    constexpr std::size_t far = 16;
    if (walk.tail - walk.head <= far) return;
    const unsigned* const next = walk.queue + walk.head;
    mesh.prefetch_columns(next[far]);
    const unsigned* const across = mesh.neighbors(next[near]);
    for (unsigned k = 0; k < Shape::rows; ++k) mesh.prefetch_columns(across[k]);
}

/// Turns f if it runs along the edge of its neighbour as this one does. Returns false if f
/// conflicts with it.
///
/// Whether an element that is met for the first time turns cannot be predicted in a bad mesh, so
/// that the exchange itself is branch-free.
template <class Shape, std::size_t Leading>
[[gnu::always_inline]] inline bool visit(const surface<Leading>& mesh, const elfes::edge2& edge,
                                         unsigned f, reorientation& walk) noexcept {
    if (f >= mesh.elements || walk.is_processed(f)) return true;
    unsigned* const cell = mesh.cell(f);
    const unsigned corners = Shape::corners(cell);
    const side found = side_of_edge(edge, cell, corners);
    const unsigned turns = found & same_direction;
    turn_over(cell, turns);
    turn_over_neighbors(mesh.neighbors(f), corners, turns);
    walk.push(f);
    walk.count += turns;
    if (found == not_on_edge) walk.count = conflict;
    return walk.count >= 0;
}

template <class Shape, std::size_t Leading>
[[gnu::always_inline]] inline void process(const surface<Leading>& mesh, unsigned e,
                                           reorientation& walk) noexcept {
    const unsigned* const cell = mesh.cell(e);
    const unsigned* const across = mesh.neighbors(e);
    const unsigned corners = Shape::corners(cell);
    for (unsigned k = 0; k < corners; ++k)
        if (!visit<Shape>(mesh, edge_nodes(cell, corners, k), across[k], walk)) return;
}

template <class Shape, std::size_t Leading>
[[gnu::always_inline]] inline void reorient_component(const surface<Leading>& mesh, unsigned first,
                                                      reorientation& walk) noexcept {
    walk.push(first);
    while (walk.head < walk.tail) {
        prefetch_ahead<Shape>(mesh, walk);
        const unsigned e = walk.queue[walk.head++];
        walk.marks.processed(e) |= element_marks::bit(e);
        process<Shape>(mesh, e, walk);
    }
}

template <class Shape, std::size_t Leading>
std::int64_t reorient(const surface<Leading>& mesh, unsigned seed, bool all_components,
                      unsigned* marks, unsigned* queue) noexcept {
    reorientation walk{{marks}, queue};
    for (std::size_t e = seed; e < mesh.elements; ++e) {
        if (walk.is_processed(e)) continue;
        reorient_component<Shape>(mesh, static_cast<unsigned>(e), walk);
        if (!all_components) break;
    }
    return walk.count;
}

/// Picks the leading dimension.
template <class Shape>
std::int64_t reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned seed,
                      bool all_components, unsigned* marks, unsigned* queue) noexcept {
    const auto cells = columns_of(connect);
    const auto across = columns_of(neighbors);
    if (connect.contiguous() && neighbors.contiguous()) {
        const surface<Shape::rows> mesh{cells, across, connect.cols};
        return reorient<Shape>(mesh, seed, all_components, marks, queue);
    }
    const surface<0> mesh{cells, across, connect.cols};
    return reorient<Shape>(mesh, seed, all_components, marks, queue);
}

} // namespace

int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned seed,
                  int all_components) {
    if (connect.cols == 0) return status_ok;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, no_node)) return -1;
    if (neighbors.rows != connect.rows || neighbors.cols != connect.cols) return -2;
    if (seed >= connect.cols) return -3;
    if (connect.empty()) return status_ok;
    if (connect.cols > most_nodes) return status_memory;
    dense1D<unsigned, 8> queue;
    dense1D<unsigned, 8> marks;
    if (!queue.resize(connect.cols + 1) ||
        !marks.resize(element_marks::words_for(connect.cols), 0U)) {
        return status_memory;
    }
    const auto work = connect.rows == 3 ? reorient<triangle_cells> : reorient<mixed_cells>;
    const std::int64_t count =
        work(connect, neighbors, seed, all_components != 0, marks.data(), queue.data());
    return static_cast<int>(std::min<std::int64_t>(count, INT_MAX));
}

} // namespace zel::tessel2d
