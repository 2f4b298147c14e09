// SPDX-License-Identifier: Apache-2.0
#pragma once

// Elements with what lies beside them, as the host would hand them in: in order, in order but for a few
// numbers, or anything at all.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "support/adjacency.h"

#include <algorithm>
#include <set>
#include <utility>

namespace zel_fuzz {

inline unsigned corners(const dense2D<unsigned>& connect, std::size_t e) {
    return connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
}

inline bool all_below(const dense2D<unsigned>& ids, std::size_t bound) {
    for (std::size_t j = 0; j < ids.cols; ++j)
        for (std::size_t i = 0; i < ids.rows; ++i)
            if (ids(i, j) >= bound) return false;
    return true;
}

/// Triangles, or four rows of quadrilaterals and triangles, of nodes that exist.
inline bool is_surface(const dense2D<unsigned>& connect, std::size_t nodes) {
    if (connect.rows != 3 && connect.rows != 4) return false;
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t i = 0; i < connect.rows; ++i)
            if (connect(i, e) >= nodes && !(i == 3 && connect(i, e) == no_node)) return false;
    return true;
}

/// No element has a node twice, and no two run along an edge in the same direction.
inline bool is_oriented(const dense2D<unsigned>& connect) {
    if (connect.empty()) return true;
    std::set<std::pair<unsigned, unsigned>> directed;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned n = corners(connect, e);
        const std::set<unsigned> nodes(connect[e], connect[e] + n);
        if (nodes.size() != n) return false;
        for (unsigned k = 0; k < n; ++k)
            if (!directed.insert({connect(k, e), connect((k + 1) % n, e)}).second) return false;
    }
    return true;
}

/// The same numbers in a layout of the input's choice.
template <class T>
dense2D<T> laid_out(input& in, const dense2D<T>& plain) {
    dense2D<T> m = blank_matrix<T>(in, plain.rows, plain.cols);
    if (plain.empty()) return m;
    for (std::size_t j = 0; j < m.cols; ++j) std::copy_n(plain[j], m.rows, m[j]);
    return m;
}
template <class T>
dense1D<T, 8> laid_out(input& in, const dense1D<T, 8>& plain) {
    dense1D<T, 8> v = blank_list<T>(in, plain.size);
    std::copy(plain.begin(), plain.end(), v.begin());
    return v;
}

/// `in_order`: both are right, and the elements are oriented alike.
struct adjacency {
    dense2D<unsigned> neighbors;
    dense1D<unsigned, 8> ancestors;
    bool in_order = false;
};

/// What lies beside the elements: three times in four as it should be.
inline adjacency beside(input& in, const dense2D<unsigned>& elements, std::size_t nodes) {
    adjacency a;
    const dense2D<unsigned> connect = plain_copy(elements);
    if (!is_surface(connect, nodes) || in.one_in(8)) {
        const std::size_t nrows = in.one_in(8) ? rows(in, {3, 4}) : connect.rows;
        a.neighbors = cells(in, nrows, in.one_in(8) ? in.below(12) : connect.cols, connect.cols);
        a.ancestors = node_list(in, in.one_in(8) ? in.below(12) : nodes, connect.cols);
        return a;
    }
    const auto found = zel_test::adjacency_of(connect, nodes);
    a.neighbors = laid_out(in, found.neighbors);
    a.ancestors = laid_out(in, found.ancestors);
    // Any element of a node will do.
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (in.one_in(4)) a.ancestors[connect(in.below(3), e)] = static_cast<unsigned>(e);
    a.in_order = is_oriented(connect);
    const unsigned changes = in.one_in(8) ? 1 + in.below(4) : 0;
    for (unsigned k = 0; k < changes && !a.neighbors.empty() && nodes > 0; ++k) {
        a.in_order = false;
        a.neighbors(in.below(3), in.byte() % connect.cols) = in.node(connect.cols, true);
        if (in.flag()) a.ancestors[in.byte() % nodes] = in.node(connect.cols, in.flag());
    }
    return a;
}

/// The status is what the tests of the arguments say; with usable ones memory may have run out.
inline void require_status(int status, int expected) {
    if (expected == 0 && now.failed && status == -199) return;
    require(status == expected, "the status is that of the first unusable argument");
}

/// All numbers are multiples of 1/1024 below 1000, so that products of differences are exact.
inline bool all_exact(const dense2D<double>& m) {
    for (std::size_t j = 0; j < m.cols; ++j) {
        for (std::size_t i = 0; i < m.rows; ++i) {
            const double x = m(i, j) * 1024;
            if (!(std::fabs(x) < 1024000) || x != std::floor(x)) return false;
        }
    }
    return true;
}

} // namespace zel_fuzz
