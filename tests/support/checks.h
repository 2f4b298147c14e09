// SPDX-License-Identifier: Apache-2.0
#pragma once

// What tests compare: contents of matrices, snapshots, distances in units in the last place, and the
// validity of meshes.
#include "foundation/call_frame.h"
#include "zel/dense.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace zel_test {

using zel::dense1D;
using zel::dense2D;
using zel::no_node;

// --------------------------------------------------------------------------------------- contents

template <class T>
std::vector<T> column(const dense2D<T>& m, std::size_t j) {
    return std::vector<T>(m[j], m[j] + m.rows);
}
template <class T>
std::vector<std::vector<T>> columns(const dense2D<T>& m) {
    std::vector<std::vector<T>> all;
    for (std::size_t j = 0; j < m.cols; ++j) all.push_back(column(m, j));
    return all;
}
template <class T>
std::vector<T> values(const dense1D<T, 8>& v) {
    return std::vector<T>(v.begin(), v.end());
}
/// For `ElementsAre(cell(0, 1, 2), ...)` and `EXPECT_EQ(point(0.5, 0.5), column(pos, 8))`.
template <class... Ids>
std::vector<unsigned> cell(Ids... ids) {
    return {static_cast<unsigned>(ids)...};
}
template <class... Xs>
std::vector<double> point(Xs... xs) {
    return {static_cast<double>(xs)...};
}

/// Shape and values of matrices and lists, bit for bit, for comparing before and after.
struct contents {
    std::vector<std::vector<std::uint64_t>> parts;

    bool operator==(const contents& other) const { return parts == other.parts; }
};
template <class T>
std::uint64_t bits(T x) {
    std::uint64_t b = 0;
    std::memcpy(&b, &x, sizeof x);
    return b;
}
template <class T>
void add_to(contents& c, const dense2D<T>& m) {
    std::vector<std::uint64_t> part{m.rows, m.cols};
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i) part.push_back(bits(m(i, j)));
    c.parts.push_back(std::move(part));
}
template <class T>
void add_to(contents& c, const dense1D<T, 8>& v) {
    std::vector<std::uint64_t> part{v.size};
    for (const T& x : v) part.push_back(bits(x));
    c.parts.push_back(std::move(part));
}
template <class... Views>
contents snapshot(const Views&... views) {
    contents c;
    (add_to(c, views), ...);
    return c;
}

// ----------------------------------------------------------------------------------------- numbers

/// Steps between two doubles; equal numbers and two NaNs are 0 apart, a NaN is far from any number.
inline std::uint64_t ulps_apart(double a, double b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
    if (std::isnan(a) || std::isnan(b)) return ~std::uint64_t{0};
    const auto ordered = [](double x) {
        const auto i = static_cast<std::int64_t>(bits(x));
        return i < 0 ? std::numeric_limits<std::int64_t>::min() - i : i;
    };
    const std::int64_t i = ordered(a);
    const std::int64_t j = ordered(b);
    return i > j ? static_cast<std::uint64_t>(i) - static_cast<std::uint64_t>(j)
                 : static_cast<std::uint64_t>(j) - static_cast<std::uint64_t>(i);
}

// ------------------------------------------------------------------------------------------ meshes

/// Corners of a column: 3, or 4 if a fourth row holds a node.
inline unsigned corner_count(const dense2D<unsigned>& connect, std::size_t e) {
    return connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
}

/// Undirected edges of T3, Q4 and mixed cells with the number of cells on them.
inline std::map<std::pair<unsigned, unsigned>, unsigned>
edge_uses(const dense2D<unsigned>& connect) {
    std::map<std::pair<unsigned, unsigned>, unsigned> uses;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned n = corner_count(connect, e);
        for (unsigned k = 0; k < n; ++k)
            ++uses[std::minmax({connect(k, e), connect((k + 1) % n, e)})];
    }
    return uses;
}

/// Twice the signed area of a planar cell.
inline double double_area(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                          std::size_t e) {
    const unsigned n = corner_count(connect, e);
    double sum = 0;
    for (unsigned k = 0; k < n; ++k) {
        const double* const a = pos[connect(k, e)];
        const double* const b = pos[connect((k + 1) % n, e)];
        sum += a[0] * b[1] - a[1] * b[0];
    }
    return sum;
}

/// Checks T3, Q4 and mixed meshes: numbers in range, no node twice in a cell, each edge on one or two
/// cells, neighbouring cells running along their edge in opposite directions, and in the plane positive
/// area.
inline void expect_valid_mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                              std::size_t first_element = 0) {
    ASSERT_TRUE(connect.rows == 3 || connect.rows == 4);
    std::set<std::pair<unsigned, unsigned>> directed;
    for (std::size_t e = first_element; e < connect.cols; ++e) {
        const unsigned n = corner_count(connect, e);
        std::set<unsigned> nodes;
        for (unsigned k = 0; k < n; ++k) {
            ASSERT_LT(connect(k, e), pos.cols) << "element " << e;
            nodes.insert(connect(k, e));
            EXPECT_TRUE(directed.insert({connect(k, e), connect((k + 1) % n, e)}).second)
                << "element " << e << " runs along edge " << k << " like another";
        }
        EXPECT_EQ(n, nodes.size()) << "element " << e << " has a node twice";
        if (pos.rows == 2) {
            EXPECT_GT(double_area(pos, connect, e), 0.0) << "element " << e;
        }
    }
    if (first_element == 0) {
        for (const auto& use : edge_uses(connect))
            EXPECT_LE(use.second, 2U) << "edge " << use.first.first << "-" << use.first.second;
    }
}

} // namespace zel_test
