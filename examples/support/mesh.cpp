// SPDX-License-Identifier: Apache-2.0
#include "support/mesh.h"

#include "support/require.h"

#include <algorithm>
#include <cmath>

namespace zel::examples {

namespace {

constexpr unsigned no_node = 0xFFFFFFFF;

} // namespace

mesh deep_copy(const mesh& m) {
    mesh copy;
    require(copy.pos.copy(m.pos) && copy.connect.copy(m.connect), "memory is exhausted");
    return copy;
}

point node(const mesh& m, std::size_t n) {
    const double* p = m.pos[n];
    return {p[0], p[1], m.pos.rows > 2 ? p[2] : 0.0};
}

cell_kind kind_of_cell(const mesh& m, std::size_t element) {
    const unsigned* cell = m.connect[element];
    switch (m.connect.rows) {
    case 2:
        return cell_kind::edge;
    case 3:
        return cell_kind::triangle;
    case 4:
        return cell[3] == no_node ? cell_kind::triangle : cell_kind::quad;
    case 6:
        return cell_kind::triangle6;
    case 8:
        return cell[6] == no_node ? cell_kind::triangle6 : cell_kind::quad8;
    case 9:
        return cell[6] == no_node ? cell_kind::triangle6 : cell_kind::quad9;
    default:
        require(false, "no element has " + std::to_string(m.connect.rows) + " nodes");
        return cell_kind::edge;
    }
}

std::vector<unsigned> cell_nodes(const mesh& m, std::size_t element) {
    const unsigned* cell = m.connect[element];
    std::size_t count = m.connect.rows;
    switch (kind_of_cell(m, element)) {
    case cell_kind::triangle:
        count = 3;
        break;
    case cell_kind::triangle6:
        count = 6;
        break;
    default:
        break;
    }
    return std::vector<unsigned>(cell, cell + count);
}

std::vector<unsigned> cell_outline(const mesh& m, std::size_t element) {
    const std::vector<unsigned> n = cell_nodes(m, element);
    switch (kind_of_cell(m, element)) {
    case cell_kind::triangle6:
        return {n[0], n[5], n[1], n[3], n[2], n[4]};
    case cell_kind::quad8:
    case cell_kind::quad9:
        return {n[0], n[4], n[1], n[5], n[2], n[6], n[3], n[7]};
    default:
        return n;
    }
}

double extent(const mesh& m) {
    double sum = 0;
    for (std::size_t i = 0; i < m.pos.rows && m.pos.cols > 0; ++i) {
        double low = m.pos(i, 0);
        double high = low;
        for (std::size_t n = 1; n < m.pos.cols; ++n) {
            low = std::min(low, m.pos(i, n));
            high = std::max(high, m.pos(i, n));
        }
        sum += (high - low) * (high - low);
    }
    return std::sqrt(sum);
}

} // namespace zel::examples
