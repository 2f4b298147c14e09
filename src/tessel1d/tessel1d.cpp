// SPDX-License-Identifier: Apache-2.0
// Meshes straight lines and finds the node normals of line meshes.
#include "zel/tessel1d.h"

#include "geometry/node_normals.h"
#include "tessel1d/line.h"
#include "zel/tessel.h"

namespace zel::tessel1d {

using namespace tessel2d;

namespace {

/// The edges of a line mesh as the elements from which `find_node_normals` sums.
struct line_elements {
    points_view<2> points;
    columns<const unsigned> edges;
    std::size_t count;

    static constexpr bool has_gap(const unsigned*) noexcept { return false; }
    static constexpr unsigned corners(const unsigned*) noexcept { return 2; }

    template <class Visit>
    void for_each(Visit&& visit) const noexcept {
        for (std::size_t e = 0; e < count; ++e) {
            const unsigned* const edge = edges[e];
            const point<2> d = difference<2>(points[edge[1]], points[edge[0]]);
            point<2> v{-d[1], d[0]};
            const double size = make_unit<2>(v);
            visit(e, edge, v, size);
        }
    }
};

} // namespace

int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, double power, bool unit,
            dense2D<double>& normals) {
    const dense2D<double> given = pos; // keeps its block if `normals` is the same matrix
    normals.clear();
    if (given.empty() || connect.empty()) return status_ok;
    if (given.rows != 2) return -1;
    if (!tessel::check_IDs(connect, ELEMENT_E2, node_bound(given))) return -2;
    if (!normals.resize(2, given.cols, 0.0)) return status_memory;
    const line_elements elements{points_view<2>(given), columns_of(connect), connect.cols};
    if (!find_node_normals<2>(elements, power, unit, normals)) {
        normals.clear();
        return status_memory;
    }
    return status_ok;
}

int mesh_straight(dense2D<double>& pos, unsigned node0, unsigned node1, unsigned n,
                  dense1D<unsigned, 8>& indices) {
    if (n == 0) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (node0 >= pos.cols) return -2;
    if (node1 >= pos.cols) return -3;
    const std::size_t first_new = pos.cols;
    const std::size_t first_entry = indices.size;
    std::size_t nodes, entries;
    if (!node_total(first_new, n - 1, nodes) ||
        !checked_add(first_entry, std::size_t{n} + 1, entries) ||
        !pos.reserve(pos.rows, nodes, 1) || !indices.reserve(entries, 1)) {
        return status_memory;
    }
    pos.resize(pos.rows, nodes);
    indices.resize(entries);
    place_line(columns_of(pos), pos.rows, node0, node1, n, first_new);
    unsigned* const list = indices.data() + first_entry;
    list[0] = node0;
    // mutation (< -> <=): the last entry is written by the next line
    for (unsigned k = 1; k < n; ++k) list[k] = static_cast<unsigned>(first_new + k - 1);
    list[n] = node1;
    return status_ok;
}

int indices_to_connectE2(const dense1D<unsigned, 8>& indices, dense2D<unsigned>& connect) {
    if (indices.size < 2) return status_ok;
    if (!takes_rows(connect, 2)) return -2;
    dense1D<unsigned, 8> list = indices;
    const std::size_t first_edge = connect.cols;
    std::size_t edges;
    if (!separate(list, connect) || !checked_add(first_edge, list.size - 1, edges) ||
        !grow_columns(connect, 2, edges, no_node)) {
        return status_memory;
    }
    for (std::size_t k = 0; k + 1 < list.size; ++k) {
        unsigned* const edge = connect[first_edge + k];
        edge[0] = list[k];
        edge[1] = list[k + 1];
    }
    return status_ok;
}

} // namespace zel::tessel1d
