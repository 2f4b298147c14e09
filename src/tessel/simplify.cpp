// SPDX-License-Identifier: Apache-2.0
// Removes the nodes that no matrix refers to and renumbers the others.
#include "foundation/call_frame.h"
#include "zel/tessel.h"

namespace zel::tessel {

using namespace tessel2d;

namespace {

/// The nodes that may be removed, those from `first` on, with their new numbers.
struct renumbering {
    unsigned first;
    std::size_t count;
    unsigned* numbers; ///< no_node: nothing refers to the node

    bool covers(unsigned id) const noexcept {
        return id >= first && std::size_t{id - first} < count;
    }
    unsigned& operator[](unsigned id) const noexcept { return numbers[id - first]; }
};

/// Calls visit(entry) for all entries of a matrix in storage order.
template <class Visit>
void each_entry(dense2D<unsigned>& connect, Visit visit) noexcept {
    const bool flat = connect.contiguous();
    const std::size_t runs = flat ? 1 : connect.cols;
    const std::size_t length = flat ? connect.rows * connect.cols : connect.rows;
    for (std::size_t j = 0; j < runs; ++j) {
        unsigned* const entries = connect[j];
        for (std::size_t i = 0; i < length; ++i) visit(entries[i]);
    }
}

/// Numbers the nodes in use behind those in front of `first`; returns the new count of nodes.
std::size_t number_used(const renumbering& nodes) noexcept {
    std::size_t next = nodes.first;
    for (std::size_t k = 0; k < nodes.count; ++k)
        if (nodes.numbers[k] != no_node) nodes.numbers[k] = static_cast<unsigned>(next++);
    return next;
}

/// Moves the nodes that stay to their new places, neighbours together.
void close_gaps(dense2D<double>& pos, const renumbering& nodes, std::size_t left) noexcept {
    const bool flat = pos.contiguous();
    std::size_t k = 0;
    while (k < nodes.count) {
        if (nodes.numbers[k] == no_node) {
            ++k;
            continue;
        }
        const std::size_t begin = k++;
        while (flat && k < nodes.count && nodes.numbers[k] != no_node) ++k;
        double* const to = pos[nodes.numbers[begin]];
        const double* const from = pos[nodes.first + begin];
        if (to != from) std::memmove(to, from, (k - begin) * pos.rows * sizeof(double));
    }
    pos.resize(pos.rows, left);
}

/// Position in the storage block of the first entry, and behind the last one.
std::size_t begin_of(const dense2D<unsigned>& m) noexcept {
    return m.start;
}
std::size_t end_of(const dense2D<unsigned>& m) noexcept {
    return m.start + (m.cols - 1) * m.ld + m.rows;
}
bool overlap(const dense2D<unsigned>& a, const dense2D<unsigned>& b) noexcept {
    // mutation (&& -> ||): decides whether the slower way is taken, which tests each entry again
    return a.storage == b.storage && !a.empty() && !b.empty() && begin_of(a) < end_of(b) &&
           begin_of(b) < end_of(a);
}
/// Returns true if a matrix that is not empty has an entry at this position.
bool shows(const dense2D<unsigned>& m, std::size_t place) noexcept {
    if (place < m.start) return false;
    const std::size_t offset = place - m.start;
    return offset / m.ld < m.cols && offset % m.ld < m.rows;
}

/// Rewrites the entries of `connect` that no matrix in [first, &connect) shows too.
void renumber_rest(dense2D<unsigned>* first, dense2D<unsigned>& connect,
                   const renumbering& nodes) noexcept {
    const unsigned* const block = connect.storage->data;
    each_entry(connect, [&](unsigned& id) {
        if (!nodes.covers(id)) return;
        const auto place = static_cast<std::size_t>(&id - block);
        for (const dense2D<unsigned>* m = first; m != &connect; ++m)
            if (overlap(*m, connect) && shows(*m, place)) return;
        id = nodes[id];
    });
}

void renumber(dense2D<unsigned>* first, dense2D<unsigned>& connect,
              const renumbering& nodes) noexcept {
    for (const dense2D<unsigned>* m = first; m != &connect; ++m)
        if (overlap(*m, connect)) return renumber_rest(first, connect, nodes);
    each_entry(connect, [&](unsigned& id) {
        if (nodes.covers(id)) id = nodes[id];
    });
}

} // namespace

int simplify(dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
             unsigned first_node) {
    if (pos.empty() || first_node >= pos.cols) return status_ok;
    dense1D<unsigned, 8> numbers;
    if (!numbers.resize(pos.cols - first_node, no_node)) return status_memory;
    const renumbering nodes{first_node, numbers.size, numbers.data()};
    for (dense2D<unsigned>* connect = first; connect != last; ++connect) {
        each_entry(*connect, [&](unsigned& id) {
            if (id != no_node && nodes.covers(id)) nodes[id] = 0;
        });
    }
    const std::size_t left = number_used(nodes);
    if (left == pos.cols) return status_ok;
    close_gaps(pos, nodes, left);
    for (dense2D<unsigned>* connect = first; connect != last; ++connect)
        renumber(first, *connect, nodes);
    return status_ok;
}

int simplify(dense2D<double>& pos, dense2D<unsigned>& connect, unsigned first_node) {
    return simplify(pos, &connect, &connect + 1, first_node);
}

int simplify(dense2D<double>& pos, dense2D<unsigned>& connect, dense2D<unsigned>& connect2,
             unsigned first_node) {
    dense2D<unsigned> both[2] = {connect, connect2}; // share storage with the arguments
    return simplify(pos, both, both + 2, first_node);
}

} // namespace zel::tessel
