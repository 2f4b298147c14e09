// SPDX-License-Identifier: Apache-2.0
#pragma once

// Meshes for tests of location and interpolation, with their adjacency, and what is known about them.
#include "support/adjacency.h"
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/element_type.h"

#include <cmath>
#include <string>
#include <vector>

namespace zel_test {

struct adjacent_mesh {
    std::string name;
    zel::element_type type;
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense2D<unsigned> neighbors;
    dense1D<unsigned, 8> ancestors;

    adjacent_mesh(std::string called, zel::element_type kind, const mesh& m)
        : name(std::move(called)), type(kind), pos(m.pos), connect(m.connect) {
        const auto beside = zel_test::adjacency_of(connect, pos.cols);
        neighbors = beside.neighbors;
        ancestors = beside.ancestors;
    }
};

inline zel::vector_fixed<double, 2> place_of(const dense2D<double>& pos, std::size_t node) {
    return {pos(0, node), pos(1, node)};
}

/// Appends nodes that belong to no element; returns their numbers.
inline std::vector<unsigned> append_orphans(adjacent_mesh& m,
                                            const std::vector<zel::vector_fixed<double, 2>>& at) {
    std::vector<unsigned> nodes;
    const std::size_t first = m.pos.cols;
    m.pos.resize(2, first + at.size());
    m.ancestors.resize(first + at.size(), no_node);
    for (std::size_t i = 0; i < at.size(); ++i) {
        m.pos(0, first + i) = at[i][0];
        m.pos(1, first + i) = at[i][1];
        nodes.push_back(static_cast<unsigned>(first + i));
    }
    return nodes;
}

/// Drops the elements whose centre `drop(x, y)` picks, which makes holes and bays.
template <class Drop>
mesh without(const mesh& m, Drop drop) {
    mesh kept{m.pos, {}};
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        double x = 0, y = 0;
        const unsigned n = corner_count(m.connect, e);
        for (unsigned k = 0; k < n; ++k) {
            x += m.pos(0, m.connect(k, e)) / n;
            y += m.pos(1, m.connect(k, e)) / n;
        }
        if (!drop(x, y))
            zel::append_columns(m.connect.sub_matrix(0, e, m.connect.rows, 1), kept.connect);
    }
    return kept;
}

/// The same mesh without the nodes that no element uses.
inline mesh compacted(const mesh& m) {
    std::vector<unsigned> number(m.pos.cols, no_node);
    for (std::size_t e = 0; e < m.connect.cols; ++e)
        for (unsigned k = 0; k < corner_count(m.connect, e); ++k) number[m.connect(k, e)] = 0;
    unsigned used = 0;
    for (unsigned& n : number)
        if (n != no_node) n = used++;
    mesh result{dense2D<double>(m.pos.rows, used), fresh_copy(m.connect)};
    for (std::size_t i = 0; i < m.pos.cols; ++i)
        if (number[i] != no_node) std::copy_n(m.pos[i], m.pos.rows, result.pos[number[i]]);
    for (unsigned& node : result.connect)
        if (node != no_node) node = number[node];
    return result;
}

/// Moves every node of a mesh.
template <class Move>
mesh moved(const mesh& m, Move move) {
    mesh result{fresh_copy(m.pos), m.connect};
    for (std::size_t i = 0; i < m.pos.cols; ++i) {
        const auto to = move(m.pos(0, i), m.pos(1, i));
        result.pos(0, i) = to[0];
        result.pos(1, i) = to[1];
    }
    return result;
}

/// Structured, graded, sheared, mixed and non-convex meshes with holes, in all three shapes.
inline std::vector<adjacent_mesh> assorted_meshes() {
    using point2 = zel::vector_fixed<double, 2>;
    const auto graded = [](double x, double y) {
        return point2{x * x * x + 0.01 * x, std::exp(3 * y) - 1};
    };
    const auto sheared = [](double x, double y) {
        return point2{x + 0.15 * y + 0.03 * std::sin(9 * y), y + 0.03 * std::sin(11 * x)};
    };
    // Whole cells, so that no two elements meet in a node alone: walks cannot pass there.
    const auto holes = [](double x, double y) {
        const int i = static_cast<int>(x * 18);
        const int j = static_cast<int>(y * 14);
        const bool window = i >= 7 && i <= 11 && j >= 5 && j <= 9;
        const bool bay = i >= 14 && j >= 4 && j <= 5;
        const bool slit = i == 2 && j <= 11;
        return window || bay || slit;
    };
    std::vector<adjacent_mesh> all;
    struct base {
        const char* name;
        zel::element_type type;
        mesh grid;
    };
    const std::vector<base> bases = {
        {"triangles", zel::ELEMENT_T3, grid_T3(18, 14)},
        {"quadrilaterals", zel::ELEMENT_Q4, grid_Q4(18, 14)},
        {"mixed", zel::ELEMENT_FACE, grid_mixed(18, 14)},
        {"quadrilaterals as mixed", zel::ELEMENT_FACE, grid_Q4(18, 14)}};
    for (const base& b : bases) {
        const std::string name = b.name;
        all.emplace_back(name, b.type, b.grid);
        all.emplace_back(name + ", graded", b.type, moved(b.grid, graded));
        all.emplace_back(name + ", sheared", b.type, moved(b.grid, sheared));
        all.emplace_back(name + ", holes", b.type, compacted(without(b.grid, holes)));
        all.emplace_back(name + ", holes, sheared", b.type,
                         moved(compacted(without(b.grid, holes)), sheared));
    }
    return all;
}

/// The smallest of the shares of the doubled area by which p lies inside the sides of an element, in
/// extended precision. Not negative: inside or on the border.
inline long double share_inside(const adjacent_mesh& m, std::size_t e,
                                const zel::vector_fixed<double, 2>& p) {
    const unsigned n = corner_count(m.connect, e);
    const auto x = [&](unsigned k) {
        return static_cast<long double>(m.pos(0, m.connect(k % n, e))) - p[0];
    };
    const auto y = [&](unsigned k) {
        return static_cast<long double>(m.pos(1, m.connect(k % n, e))) - p[1];
    };
    long double area = 0;
    long double least = HUGE_VALL;
    for (unsigned k = 0; k < n; ++k) {
        const long double side = x(k) * y(k + 1) - x(k + 1) * y(k);
        area += side;
        least = std::min(least, side);
    }
    return least / area;
}

} // namespace zel_test
