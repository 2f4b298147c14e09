// SPDX-License-Identifier: Apache-2.0
//
// Lists the elements around each node in turning order.
//
// 1. From the ancestor of the node the walk crosses, at each element, the edge that ends at the node. If it
//    comes back to the ancestor, the star is whole.
// 2. If it meets the boundary, elements on the other side of the ancestor are missing: a depth-first search
//    from the last element over all edges at the node lists the star anew, in reverse.
// 3. Walks of sixteen nodes are made at a time (`side_by_side.h`). A node whose walk does not come round there
//    is left to steps 1 and 2.
//
// Invariant: however a list came about, it is that of steps 1 and 2.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "measures/side_by_side.h"
#include "measures/stamp_marks.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

/// How the list of a node ended. All but `whole` end the loop over the nodes.
enum class outcome {
    whole,       ///< the walk came round, or the flood had nowhere to go
    open,        ///< the walk met the boundary: the other side is missing
    broken,      ///< an element without the node, or neighbours that never close
    out_of_room, ///< memory is exhausted, or 32-bit offsets are
};

/// A list of elements at whose end the walks write. Data pointer and capacity are kept at hand.
struct growing_list {
    dense1D<unsigned, 8>& list;
    unsigned* data;
    std::size_t size = 0;
    std::size_t capacity;

    explicit growing_list(dense1D<unsigned, 8>& given) noexcept
        : list(given), data(given.data()), capacity(room()) {}

    bool push(unsigned x) noexcept {
        if (size == capacity && !grow()) return false;
        data[size++] = x;
        return true;
    }
    /// Appends the first `count` of `Run` numbers, where there is room for the whole run.
    template <std::size_t Run>
    bool push_run(const unsigned (&run)[Run], std::size_t count) noexcept {
        if (capacity - size < Run) {
            bool room = true;
            for (std::size_t i = 0; room && i < count; ++i) room = push(run[i]);
            return room;
        }
        std::copy_n(run, Run, data + size); // a length that is known is no loop
        size += count;
        return true;
    }

private:
    std::size_t room() const noexcept {
        return std::min<std::size_t>(list.storage->capacity - list.start, no_node);
    }
    bool grow() noexcept {
        if (size == no_node) return false;
        list.size = size;
        if (!list.reserve(size + 1, 2)) return false;
        data = list.data();
        capacity = room();
        return true;
    }
};

/// Lists the elements around one node after the other.
template <class Shape>
struct star_walk {
    columns<const unsigned> cells;
    columns<const unsigned> across;
    std::size_t elements; // neighbours at or beyond this are none
    growing_list found;
    stamp_marks marks{};
    dense1D<unsigned, 8> stack{};
    star_lists together{};

    /// Makes room for what nearly every mesh needs. Returns false if memory is exhausted.
    bool start() noexcept {
        constexpr std::size_t usual_depth = 64;
        return marks.start(elements) && stack.reserve(usual_depth, 1);
    }

    /// Turns around the node from element `first` on until it comes round or meets the boundary; `last`
    /// is the element there.
    outcome turn(unsigned node, unsigned first, unsigned& last) noexcept {
        unsigned e = first;
        for (std::size_t steps = 0; steps < elements; ++steps) {
            if (!found.push(e)) return outcome::out_of_room;
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            const unsigned i = local_node_index(node, cell, corners);
            if (i == no_node) return outcome::broken;
            const unsigned next = across[e][turn_edge(i, corners)];
            if (next == first) return outcome::whole;
            if (next >= elements) {
                last = e;
                return outcome::open;
            }
            e = next;
        }
        return outcome::broken;
    }

    /// Goes from `last` over all edges at the node, depth first, and lists the elements in reverse.
    outcome flood(unsigned node, unsigned last) noexcept {
        const std::size_t begin = found.size;
        marks.renew();
        stack.size = 0;
        outcome result = visit(last);
        while (result == outcome::whole && stack.size > 0) {
            const unsigned e = stack.end()[-1];
            --stack.size;
            const unsigned* const cell = cells[e];
            const unsigned corners = Shape::corners(cell);
            const unsigned i = local_node_index(node, cell, corners);
            if (i == no_node) {
                result = outcome::broken;
            } else if (!found.push(e)) {
                result = outcome::out_of_room;
            } else {
                const unsigned ending = turn_edge(i, corners);
                const unsigned starting = turn_back_edge(i, corners);
                result = visit(across[e][starting]);
                if (result == outcome::whole) result = visit(across[e][ending]);
            }
        }
        std::reverse(found.data + begin, found.data + found.size);
        return result;
    }

    outcome visit(unsigned e) noexcept {
        if (e >= elements || marks.holds(e)) return outcome::whole;
        marks.add(e);
        const std::size_t before = stack.size;
        stack.push_back(e);
        return stack.size == before ? outcome::out_of_room : outcome::whole;
    }

    /// The whole list of a node. Without room for it there is none.
    outcome star(unsigned node, unsigned ancestor) noexcept {
        const std::size_t begin = found.size;
        unsigned last = ancestor;
        outcome result = turn(node, ancestor, last);
        if (result == outcome::open) {
            found.size = begin;
            result = flood(node, last);
        }
        if (result == outcome::out_of_room) found.size = begin;
        return result;
    }

    /// The lists of a run of nodes that begins with `node`: where each begins goes to `offset`. Returns
    /// how many were begun before a list came to a bad end.
    std::size_t list_run(const unsigned* ancestors, std::size_t nodes, unsigned node,
                         unsigned* offset, bool& good) noexcept {
        unsigned first[star_lists::walks] = {};
        for (std::size_t k = 0; k < nodes; ++k)
            first[k] = ancestors[k] == no_node ? 0 : ancestors[k];
        turn_around_nodes<Shape>(cells, across, elements, node, first, together);
        for (std::size_t k = 0; k < nodes; ++k) {
            const std::size_t begin = found.size;
            offset[k] = static_cast<unsigned>(begin);
            if (ancestors[k] == no_node) continue;
            outcome result = outcome::whole;
            if (together.closed[k] == 0) {
                result = star(node + static_cast<unsigned>(k), ancestors[k]);
            } else if (!found.push_run(together.list[k], together.size[k])) {
                found.size = begin;
                result = outcome::out_of_room;
            }
            good = result == outcome::whole;
            if (!good) return k + 1;
        }
        return nodes;
    }

    /// The lists of all nodes, up to one that comes to a bad end; returns how many were begun.
    std::size_t list_all(const unsigned* ancestors, std::size_t nodes, unsigned* offset) noexcept {
        if (elements == 0) {
            std::fill_n(offset, nodes, 0u);
            return nodes;
        }
        std::size_t listed = 0;
        for (bool good = true; good && listed < nodes;) {
            const std::size_t run = std::min(star_lists::walks, nodes - listed);
            listed += list_run(ancestors + listed, run, static_cast<unsigned>(listed),
                               offset + listed, good);
        }
        return listed;
    }
};

/// Fills both lists, which have room: `starts` for all offsets, `elements` for what is usual.
template <class Shape>
bool list_stars(const dense2D<unsigned>& connect, const dense2D<unsigned>& neighbors,
                const dense1D<unsigned, 8>& ancestors, dense1D<unsigned, 8>& starts,
                dense1D<unsigned, 8>& elements) noexcept {
    star_walk<Shape> walk{columns_of(connect), columns_of(neighbors), connect.cols,
                          growing_list(elements)};
    if (!walk.start()) return false;
    unsigned* const offset = starts.data();
    const std::size_t listed = walk.list_all(ancestors.data(), ancestors.size, offset);
    offset[listed] = static_cast<unsigned>(walk.found.size);
    starts.size = listed + 1;
    elements.size = walk.found.size;
    return true;
}

/// Returns true if every entry is an element or none.
bool are_elements(const dense1D<unsigned, 8>& ancestors, std::size_t elements) noexcept {
    dense2D<unsigned> row;
    row.storage = ancestors.storage;
    row.start = ancestors.start;
    row.rows = row.size = row.ld = ancestors.size;
    row.cols = 1;
    const auto bound = static_cast<unsigned>(std::min<std::size_t>(elements, no_node - 1));
    return tessel::check_IDs(row, bound);
}

} // namespace

int get_connected_elements(const dense2D<unsigned>& connect, const dense2D<unsigned>& neighbors,
                           const dense1D<unsigned, 8>& ancestors, dense1D<unsigned, 8>& starts,
                           dense1D<unsigned, 8>& elements) {
    // Views of their own keep the inputs when an output shares their block or is one of them.
    const dense2D<unsigned> cells = connect;
    const dense2D<unsigned> across = neighbors;
    const dense1D<unsigned, 8> given = ancestors;
    starts.clear();
    elements.clear();
    dense1D<unsigned, 8> table; // two lists even if a caller passes one for both
    table.swap(starts);
    if (cells.rows != 3 && cells.rows != 4) return -1;
    if (across.rows != cells.rows || across.cols != cells.cols) return -2;
    if (!are_elements(given, cells.cols)) return -3;
    constexpr std::size_t usual_elements = 6; // around a node
    std::size_t offsets, usual;
    if (!checked_add(given.size, 1, offsets) ||
        !checked_multiply(given.size, usual_elements, usual) || !table.reserve(offsets, 1) ||
        !elements.reserve(usual, 1)) {
        return status_memory;
    }
    const auto list = cells.rows == 3 ? list_stars<triangle_cells> : list_stars<mixed_cells>;
    if (!list(cells, across, given, table, elements)) return status_memory;
    starts.swap(table);
    return status_ok;
}

} // namespace zel::tessel2d
