// SPDX-License-Identifier: Apache-2.0
#pragma once

// Builders of small matrices, views with odd layouts, and named meshes.
#include "foundation/call_frame.h"
#include "zel/dense.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <vector>

namespace zel_test {

using zel::dense1D;
using zel::dense2D;
using zel::no_node;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// --------------------------------------------------------------------------------------- builders

/// A matrix from its columns: `matrix<double>({{0, 0}, {1, 0}})` has two rows and two columns.
template <class T>
dense2D<T> matrix(std::initializer_list<std::initializer_list<T>> columns) {
    dense2D<T> m;
    if (columns.size() == 0) return m;
    m.resize(columns.begin()->size(), columns.size());
    std::size_t j = 0;
    for (const auto& column : columns) std::copy(column.begin(), column.end(), m[j++]);
    return m;
}
inline dense2D<double> points(std::initializer_list<std::initializer_list<double>> columns) {
    return matrix<double>(columns);
}
inline dense2D<unsigned> cells(std::initializer_list<std::initializer_list<unsigned>> columns) {
    return matrix<unsigned>(columns);
}
template <class T>
dense1D<T, 8> list(std::initializer_list<T> values) {
    dense1D<T, 8> v;
    v.resize(values.size());
    std::copy(values.begin(), values.end(), v.begin());
    return v;
}
inline dense1D<unsigned, 8> ids(std::initializer_list<unsigned> values) {
    return list<unsigned>(values);
}
template <class T>
dense1D<T, 8> list(const std::vector<T>& values) {
    dense1D<T, 8> v;
    v.resize(values.size());
    std::copy(values.begin(), values.end(), v.begin());
    return v;
}

/// A deep, contiguous copy.
template <class T>
dense2D<T> fresh_copy(const dense2D<T>& m) {
    dense2D<T> own;
    own.copy(m);
    return own;
}
template <class T>
dense1D<T, 8> fresh_copy(const dense1D<T, 8>& v) {
    dense1D<T, 8> own;
    own.resize(v.size);
    std::copy(v.begin(), v.end(), own.begin());
    return own;
}

// ------------------------------------------------------------------------------- views, odd layout

/// What stands around a view in its parent; a number that no mesh here uses.
template <class T>
constexpr T surroundings = static_cast<T>(123456789);

/// A view of the same values inside a larger block: start > 0 and ld > rows, surroundings marked.
template <class T>
struct framed_matrix {
    dense2D<T> parent;
    dense2D<T> view;

    /// The rows above and below the view and the columns in front of it are as they were made.
    bool surroundings_untouched(std::size_t viewed_columns) const {
        for (std::size_t j = 0; j < 2 + viewed_columns && j < parent.cols; ++j)
            for (std::size_t i = 0; i < parent.rows; ++i) {
                const bool inside = i >= 1 && i < 1 + view.rows && j >= 2;
                if (!inside && parent(i, j) != surroundings<T>) return false;
            }
        return true;
    }
};
template <class T>
framed_matrix<T> framed(const dense2D<T>& m) {
    framed_matrix<T> f;
    f.parent.resize(m.rows + 3, m.cols + 4, surroundings<T>);
    f.view = f.parent.sub_matrix(1, 2, m.rows, m.cols);
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i) f.view(i, j) = m(i, j);
    return f;
}

/// A view of the same values with start > 0.
template <class T>
struct framed_list {
    dense1D<T, 8> parent;
    dense1D<T, 8> view;
};
template <class T>
framed_list<T> framed(const dense1D<T, 8>& v) {
    framed_list<T> f;
    f.parent.resize(v.size + 8, surroundings<T>);
    f.view = f.parent;
    f.view.start = 5;
    f.view.size = v.size;
    std::copy(v.begin(), v.end(), f.view.begin());
    return f;
}

// ------------------------------------------------------------------------------------ named meshes

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

/// Nodes 0 ... 2(m+n)-1 around the unit square, counterclockwise from the origin, and the closed loop.
struct patch_outline {
    dense2D<double> pos;
    dense1D<unsigned, 8> boundary;
};
inline patch_outline square_loop(unsigned m, unsigned n, unsigned rows = 2) {
    patch_outline outline;
    const unsigned count = 2 * (m + n);
    outline.pos.resize(rows, count, 0.0);
    outline.boundary.resize(count + 1);
    for (unsigned k = 0; k <= count; ++k) outline.boundary[k] = k % count;
    const auto put = [&](unsigned k, double x, double y) {
        outline.pos(0, k) = x;
        outline.pos(1, k) = y;
    };
    for (unsigned i = 0; i < m; ++i) put(i, static_cast<double>(i) / m, 0.0);
    for (unsigned j = 0; j < n; ++j) put(m + j, 1.0, static_cast<double>(j) / n);
    for (unsigned i = 0; i < m; ++i) put(m + n + i, 1.0 - static_cast<double>(i) / m, 1.0);
    for (unsigned j = 0; j < n; ++j) put(2 * m + n + j, 0.0, 1.0 - static_cast<double>(j) / n);
    return outline;
}

/// (m+1) x (n+1) grid nodes over the unit square, x running first; 2 or 3 rows (z = 0).
inline dense2D<double> grid_points(unsigned m, unsigned n, unsigned rows = 2) {
    dense2D<double> pos(rows, std::size_t{m + 1} * (n + 1), 0.0);
    for (unsigned j = 0; j <= n; ++j)
        for (unsigned i = 0; i <= m; ++i) {
            pos(0, std::size_t{j} * (m + 1) + i) = static_cast<double>(i) / m;
            pos(1, std::size_t{j} * (m + 1) + i) = static_cast<double>(j) / n;
        }
    return pos;
}
/// Counterclockwise quadrilaterals on `grid_points`.
inline mesh grid_Q4(unsigned m, unsigned n, unsigned rows = 2) {
    mesh g{grid_points(m, n, rows), dense2D<unsigned>(4, std::size_t{m} * n)};
    for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < m; ++i) {
            const unsigned a = j * (m + 1) + i;
            unsigned* const q = g.connect[std::size_t{j} * m + i];
            q[0] = a;
            q[1] = a + 1;
            q[2] = a + m + 2;
            q[3] = a + m + 1;
        }
    return g;
}
/// Counterclockwise triangles on `grid_points`, each cell cut from its lower left to its upper right.
inline mesh grid_T3(unsigned m, unsigned n, unsigned rows = 2) {
    const mesh quads = grid_Q4(m, n, rows);
    mesh g{quads.pos, dense2D<unsigned>(3, 2 * quads.connect.cols)};
    for (std::size_t c = 0; c < quads.connect.cols; ++c) {
        const unsigned* const q = quads.connect[c];
        unsigned* const t = g.connect[2 * c];
        unsigned* const s = g.connect[2 * c + 1];
        t[0] = q[0], t[1] = q[1], t[2] = q[2];
        s[0] = q[0], s[1] = q[2], s[2] = q[3];
    }
    return g;
}
/// `grid_Q4` with every third cell cut into two triangles: a 4-row matrix with both kinds.
inline mesh grid_mixed(unsigned m, unsigned n, unsigned rows = 2) {
    const mesh quads = grid_Q4(m, n, rows);
    mesh g{quads.pos, {}};
    for (std::size_t c = 0; c < quads.connect.cols; ++c) {
        const unsigned* const q = quads.connect[c];
        if (c % 3 == 0) {
            const unsigned t[4] = {q[0], q[1], q[2], no_node};
            const unsigned s[4] = {q[0], q[2], q[3], no_node};
            zel::push_back_column4(t, g.connect);
            zel::push_back_column4(s, g.connect);
        } else {
            zel::push_back_column4(q, g.connect);
        }
    }
    return g;
}
/// One equilateral triangle of side 1, in the plane or in space.
inline mesh equilateral_triangle(unsigned rows = 2) {
    mesh g{dense2D<double>(rows, 3, 0.0), cells({{0, 1, 2}})};
    g.pos(0, 1) = 1.0;
    g.pos(0, 2) = 0.5;
    g.pos(1, 2) = std::sqrt(3.0) / 2;
    return g;
}
/// The unit square as one quadrilateral, in the plane or in space.
inline mesh unit_square(unsigned rows = 2) {
    mesh g{dense2D<double>(rows, 4, 0.0), cells({{0, 1, 2, 3}})};
    g.pos(0, 1) = g.pos(0, 2) = g.pos(1, 2) = g.pos(1, 3) = 1.0;
    return g;
}

// ----------------------------------------------------------------------------------- random numbers

/// A small generator with the same numbers everywhere (splitmix64); print the seed in random tests.
struct random_numbers {
    std::uint64_t state;

    explicit random_numbers(std::uint64_t seed) : state(seed) {}
    std::uint64_t next() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// 0 ... n-1
    unsigned below(unsigned n) { return static_cast<unsigned>(next() % n); }
    /// [0, 1)
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    double between(double low, double high) { return low + (high - low) * unit(); }
};

} // namespace zel_test
