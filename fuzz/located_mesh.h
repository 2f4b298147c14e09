// SPDX-License-Identifier: Apache-2.0
#pragma once

// Planar meshes with their adjacency and with nodes that belong to no element, for location and for what
// is carried onto such nodes.
#include "fuzz/adjacency.h"

#include "zel/element_type.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace zel_fuzz {

struct located_mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense2D<unsigned> neighbors;
    dense1D<unsigned, 8> ancestors;
    zel::element_type type;
    std::size_t mesh_nodes = 0; ///< those in front of the nodes without element
    bool in_order = false;
};

/// A kind that fits, mostly.
inline zel::element_type kind_for(input& in, const dense2D<unsigned>& connect) {
    using namespace zel;
    if (in.one_in(8))
        return in.one_of({ELEMENT_FACE, ELEMENT_T3, ELEMENT_Q4, ELEMENT_E2, ELEMENT_NONE,
                          ELEMENT_FACE_HO, ELEMENT_T6, ELEMENT_H27});
    if (connect.rows == 3) return ELEMENT_T3;
    bool quads = true;
    for (std::size_t e = 0; e < connect.cols; ++e) quads = quads && corners(connect, e) == 4;
    return quads && in.flag() ? ELEMENT_Q4 : ELEMENT_FACE;
}

/// Where a node without element lies: anywhere, on a node, or between three.
inline zel::vector_fixed<double, 2> draw_point(input& in, const dense2D<double>& pos, bool absurd) {
    if (absurd && in.one_in(8)) return {in.absurd(), in.absurd()};
    if (pos.cols == 0 || pos.rows < 2 || in.one_in(4)) return {in.small(), in.small()};
    const double* const a = pos[in.byte() % pos.cols];
    const double* const b = pos[in.byte() % pos.cols];
    const double* const c = pos[in.byte() % pos.cols];
    const unsigned along = in.below(64);
    const double s = along % 8 / 8.0;
    const double t = along / 8 / 8.0;
    return {a[0] + (b[0] - a[0]) * s + (c[0] - a[0]) * t,
            a[1] + (b[1] - a[1]) * s + (c[1] - a[1]) * t};
}

inline located_mesh draw_located(input& in, std::initializer_list<unsigned> heights = {3, 4}) {
    mesh m;
    if (in.one_in(4)) {
        m.pos = positions(in, {2});
        m.connect = cells(in, heights, m.pos.cols);
    } else {
        m = grid(in, in.one_in(16) ? 3 : 2, in.one_of(heights));
    }
    located_mesh l;
    const std::size_t orphans = in.below(6);
    l.pos = blank_matrix<double>(in, m.pos.rows, m.pos.cols + orphans);
    const bool absurd = in.one_in(4);
    for (std::size_t j = 0; j < l.pos.cols && !l.pos.empty(); ++j) {
        if (j < m.pos.cols) {
            std::copy_n(m.pos[j], m.pos.rows, l.pos[j]);
            continue;
        }
        const auto p = draw_point(in, m.pos, absurd);
        for (std::size_t i = 0; i < l.pos.rows; ++i) l.pos(i, j) = i < 2 ? p[i] : 0;
    }
    l.mesh_nodes = m.pos.cols;
    l.connect = m.connect;
    l.type = kind_for(in, m.connect);
    const adjacency a = beside(in, m.connect, l.pos.cols);
    l.neighbors = a.neighbors;
    l.ancestors = a.ancestors;
    l.in_order = a.in_order;
    return l;
}

/// Nodes to be served: all, or some, or so many that they are sorted first.
inline dense1D<unsigned, 8> listed_nodes(input& in, std::size_t nodes) {
    if (in.one_in(4)) return node_list(in, in.below(10), nodes);
    const bool many = nodes != 0 && in.one_in(64);
    dense1D<unsigned, 8> list = blank_list<unsigned>(in, many ? 4100 : nodes);
    for (std::size_t j = 0; j < list.size; ++j)
        list[j] = static_cast<unsigned>(many ? j * 7 % nodes : j);
    return list;
}

inline located_mesh plain_copy(const located_mesh& l) {
    located_mesh own = l;
    own.pos = plain_copy(l.pos);
    own.connect = plain_copy(l.connect);
    own.neighbors = plain_copy(l.neighbors);
    own.ancestors = plain_copy(l.ancestors);
    return own;
}

// ------------------------------------------------------------------------------------- what is known

/// The numbers in the elements suit the kind.
inline bool suits(const dense2D<unsigned>& connect, zel::element_type type, std::size_t nodes) {
    if (connect.empty()) return true;
    if (type == zel::ELEMENT_FACE) return is_surface(connect, nodes);
    return connect.rows == zel::element_node_count(type) && all_below(connect, nodes);
}

/// The status of the tests of the first four arguments.
inline int located_status(const located_mesh& l, zel::element_type type) {
    if (l.pos.rows != 2) return -1;
    if (!suits(l.connect, type, l.pos.cols)) return -2;
    if (l.neighbors.rows != l.connect.rows || l.neighbors.cols != l.connect.cols) return -3;
    for (std::size_t e = 0; e < l.neighbors.cols; ++e)
        for (std::size_t i = 0; i < l.neighbors.rows; ++i)
            if (l.neighbors(i, e) >= l.connect.cols && l.neighbors(i, e) != no_node) return -3;
    return l.ancestors.size == l.pos.cols ? 0 : -4;
}

inline bool is_searched(const dense2D<unsigned>& connect, zel::element_type type) {
    if (connect.rows == 3) return type == zel::ELEMENT_T3;
    return connect.rows == 4 && (type == zel::ELEMENT_Q4 || type == zel::ELEMENT_FACE);
}

inline bool is_orphan(const located_mesh& l, unsigned node) {
    return l.ancestors[node] >= l.connect.cols;
}

/// The bounding box of the nodes of all elements; not usable if one of them is not finite.
struct bounds {
    double low[2] = {std::numeric_limits<double>::infinity(),
                     std::numeric_limits<double>::infinity()};
    double high[2] = {-low[0], -low[1]};
    bool finite = true;

    explicit bounds(const located_mesh& l) {
        if (!is_searched(l.connect, l.type)) return;
        for (std::size_t e = 0; e < l.connect.cols; ++e) {
            for (unsigned k = 0; k < corners(l.connect, e); ++k) {
                for (std::size_t i = 0; i < 2; ++i) {
                    const double x = l.pos(i, l.connect(k, e));
                    finite = finite && std::isfinite(x);
                    low[i] = std::fmin(low[i], x);
                    high[i] = std::fmax(high[i], x);
                }
            }
        }
    }
    bool holds(const double* p) const {
        return p[0] >= low[0] && p[0] <= high[0] && p[1] >= low[1] && p[1] <= high[1];
    }
};

/// The doubled area of an element, exact where coordinates are.
inline long double double_area(const located_mesh& l, std::size_t e) {
    const unsigned n = corners(l.connect, e);
    long double sum = 0;
    for (unsigned k = 0; k < n; ++k) {
        const double* const a = l.pos[l.connect(k, e)];
        const double* const b = l.pos[l.connect((k + 1) % n, e)];
        sum += static_cast<long double>(a[0]) * b[1] - static_cast<long double>(a[1]) * b[0];
    }
    return sum;
}

/// Squares of side 1, whole or cut into two triangles, that fill a rectangle: here every point inside
/// must be found, and what is linear must be carried exactly.
inline bool is_lattice(const located_mesh& l) {
    if (!l.in_order || l.connect.empty() || l.pos.rows != 2 || !is_searched(l.connect, l.type))
        return false;
    if (!suits(l.connect, l.type, l.pos.cols)) return false;
    const bounds box(l);
    long double area = 0;
    for (std::size_t e = 0; e < l.connect.cols; ++e) {
        const unsigned n = corners(l.connect, e);
        double low[2] = {1e9, 1e9};
        double high[2] = {-1e9, -1e9};
        for (unsigned k = 0; k < n; ++k) {
            for (std::size_t i = 0; i < 2; ++i) {
                const double x = l.pos(i, l.connect(k, e));
                if (x != std::floor(x)) return false;
                low[i] = std::fmin(low[i], x);
                high[i] = std::fmax(high[i], x);
            }
        }
        const bool square = high[0] - low[0] == 1 && high[1] - low[1] == 1;
        if (!square || double_area(l, e) != (n == 4 ? 2 : 1)) return false;
        area += n == 4 ? 1 : 0.5L;
    }
    if (area != (box.high[0] - box.low[0]) * (box.high[1] - box.low[1])) return false;
    // Nodes that lie on one another would leave a cut in the mesh.
    std::set<std::pair<double, double>> places;
    std::set<unsigned> nodes;
    for (std::size_t e = 0; e < l.connect.cols; ++e) {
        for (unsigned k = 0; k < corners(l.connect, e); ++k) {
            const unsigned node = l.connect(k, e);
            if (is_orphan(l, node)) return false;
            if (nodes.insert(node).second &&
                !places.insert({l.pos(0, node), l.pos(1, node)}).second)
                return false;
        }
    }
    return true;
}

} // namespace zel_fuzz
