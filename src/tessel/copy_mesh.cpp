// SPDX-License-Identifier: Apache-2.0
// Appends moved and turned copies of a part of a mesh.
#include "tessel/copy_mesh.h"

#include "foundation/call_frame.h"
#include "geometry/point.h"
#include "geometry/turn.h"

namespace zel::tessel {

using namespace tessel2d;

namespace {

/// The nodes that a part of a mesh uses: those of [low, low + range) that have a rank, which counts
/// them in ascending order.
struct used_nodes {
    dense1D<unsigned, 8>& ranks;
    std::size_t low = 0;
    std::size_t range = 0;
    std::size_t count = 0;

    /// What lies below `low` wraps to a number beyond all ranges.
    bool covers(unsigned id) const noexcept { return id - low < range; }
};

template <class Visit>
void each_node(const dense2D<unsigned>& source, std::size_t nodes, Visit visit) noexcept {
    for (std::size_t j = 0; j < source.cols; ++j) {
        const unsigned* const column = source[j];
        for (std::size_t i = 0; i < source.rows; ++i)
            if (column[i] != no_node && column[i] < nodes) visit(column[i]);
    }
}

/// Finds and ranks the nodes of `source`. Returns false if memory is exhausted.
bool find_used(const dense2D<unsigned>& source, std::size_t nodes, used_nodes& used) noexcept {
    std::size_t low = no_node;
    std::size_t end = 0;
    each_node(source, nodes, [&](unsigned id) {
        low = std::min<std::size_t>(low, id);
        end = std::max<std::size_t>(end, std::size_t{id} + 1);
    });
    if (end == 0) return true;
    used.ranks.clear();
    if (!used.ranks.resize(end - low, no_node)) return false;
    used.low = low;
    used.range = end - low;
    unsigned* const ranks = used.ranks.data();
    each_node(source, nodes, [&](unsigned id) { ranks[id - low] = 0; });
    unsigned next = 0;
    for (std::size_t k = 0; k < used.range; ++k)
        if (ranks[k] != no_node) ranks[k] = next++;
    used.count = next;
    return true;
}

/// Writes one copy of the nodes in use into the columns from `first` on, which are columns of `pos`.
template <int Dim, class Turn>
void copy_nodes(dense2D<double>& pos, const used_nodes& used, const Turn& turn,
                const point<Dim>& center, const point<Dim>& way, std::size_t first) noexcept {
    const points_view<Dim> points(pos);
    const columns<double> out = columns_of(pos);
    for (std::size_t k = 0; k < used.range; ++k) {
        if (used.ranks[k] == no_node) continue;
        const point<Dim> p = turned<Dim>(turn, center, way, points[used.low + k]);
        double* const to = out[first + used.ranks[k]];
        for (std::size_t i = 0; i < Dim; ++i) to[i] = p[i];
    }
}

/// Writes the columns of `source` with the nodes of a copy that are numbered from `first_new` on.
void copy_elements(const dense2D<unsigned>& source, const used_nodes& used, std::size_t first_new,
                   columns<unsigned> out) noexcept {
    const auto base = static_cast<unsigned>(first_new);
    const unsigned* const ranks = used.ranks.data();
    for (std::size_t j = 0; j < source.cols; ++j) {
        const unsigned* const from = source[j];
        unsigned* const to = out[j];
        for (std::size_t i = 0; i < source.rows; ++i) {
            const unsigned id = from[i];
            to[i] = used.covers(id) ? base + ranks[id - used.low] : id;
        }
    }
}

/// `turns(k)` is the turn of copy k.
template <int Dim, class Turns>
int append_copies(dense2D<double>& pos, dense2D<unsigned>& connect, const point<Dim>& translation,
                  const point<Dim>& center, std::size_t copies, const dense2D<unsigned>& given,
                  copy_scratch& scratch, Turns turns) noexcept {
    if (copies == 0 || given.empty()) return status_ok;
    if (pos.rows != Dim) return -1;
    if (!takes_rows(connect, given.rows)) return -2;
    dense2D<unsigned> source = given;
    used_nodes used{scratch.ranks};
    if (!separate(source, connect) || !find_used(source, pos.cols, used)) return status_memory;

    const std::size_t first_node = pos.cols;
    const std::size_t first_element = connect.cols;
    std::size_t new_nodes, nodes, elements;
    if (!checked_multiply(copies, used.count, new_nodes) ||
        !node_total(first_node, new_nodes, nodes) ||
        !checked_multiply(copies, source.cols, elements) ||
        !checked_add(first_element, elements, elements) || !pos.reserve(Dim, nodes, 1) ||
        !grow_columns(connect, source.rows, elements, no_node)) {
        return status_memory;
    }
    pos.resize(Dim, nodes);
    for (std::size_t k = 1; k <= copies; ++k) {
        const double multiple = static_cast<double>(k);
        const std::size_t first_new = first_node + (k - 1) * used.count;
        point<Dim> way;
        // mutation (< -> <=): runs behind arrays on the stack
        for (std::size_t i = 0; i < Dim; ++i) way[i] = multiple * translation[i];
        copy_nodes<Dim>(pos, used, turns(multiple), center, way, first_new);
        copy_elements(source, used, first_new,
                      {connect[first_element + (k - 1) * source.cols], connect.ld});
    }
    return status_ok;
}

} // namespace

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 2>& translation, const vector_fixed<double, 2>& center,
              double angle, unsigned copies, const dense2D<unsigned>& source,
              copy_scratch& scratch) noexcept {
    return append_copies<2>(pos, connect, translation, center, copies, source, scratch,
                            [&](double multiple) { return plane_turn(multiple * angle); });
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 3>& translation, const vector_fixed<double, 3>& center,
              const vector_fixed<double, 3>& rotation, unsigned copies,
              const dense2D<unsigned>& source, copy_scratch& scratch) noexcept {
    return append_copies<3>(pos, connect, translation, center, copies, source, scratch,
                            [&](double multiple) { return space_turn(rotation, multiple); });
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 2>& translation, const vector_fixed<double, 2>& center,
              double angle, unsigned copies, const dense2D<unsigned>& source) {
    copy_scratch scratch;
    return copy_mesh(pos, connect, translation, center, angle, copies, source, scratch);
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 3>& translation, const vector_fixed<double, 3>& center,
              const vector_fixed<double, 3>& rotation, unsigned copies,
              const dense2D<unsigned>& source) {
    copy_scratch scratch;
    return copy_mesh(pos, connect, translation, center, rotation, copies, source, scratch);
}

} // namespace zel::tessel
