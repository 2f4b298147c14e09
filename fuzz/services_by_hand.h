// SPDX-License-Identifier: Apache-2.0
// Merging, tidying, copies and lines the slow way: what the drivers compare the services with.
#pragma once

#include "fuzz/checks.h"
#include "fuzz/input.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace zel_fuzz::by_hand {

/// All numbers are finite, and below the bound, and 0 or not below its inverse.
inline bool are_tame(const std::vector<double>& numbers, double bound) {
    return std::all_of(numbers.begin(), numbers.end(), [&](double x) {
        return x == 0 || (std::fabs(x) < bound && std::fabs(x) > 1 / bound);
    });
}

/// The node that each node is fused with: the first kept one in front of it that is close. Empty where the
/// distance of two nodes is within rounding of the tolerance, or where squares underflow.
inline std::vector<unsigned> merged(const dense2D<double>& pos, double tolerance) {
    std::vector<unsigned> kept(pos.cols);
    if (pos.rows == 0) return {}; // nodes without coordinates
    if (!are_tame(elements(pos), 1e6) || (tolerance > 0 && tolerance < 1e-6)) return {};
    for (unsigned j = 0; j < pos.cols; ++j) {
        kept[j] = j;
        for (unsigned i = 0; i < j && kept[j] == j; ++i) {
            if (kept[i] != i) continue;
            long double sum = 0;
            for (std::size_t k = 0; k < pos.rows; ++k) {
                const long double d = static_cast<long double>(pos(k, i)) - pos(k, j);
                sum += d * d;
            }
            const long double distance = std::sqrt(sum);
            if (distance != 0 && tolerance > 0 &&
                std::fabs(distance - tolerance) <= 1e-12L * distance)
                return {};
            if (distance == 0 || distance < tolerance) kept[j] = i;
        }
    }
    return kept;
}

/// Numbers of nodes have become those of `now`; others are as they were.
inline void require_renamed(const dense2D<unsigned>& before, const dense2D<unsigned>& after,
                            const std::vector<unsigned>& now, const char* what) {
    const std::vector<unsigned> old = elements(before), fresh = elements(after);
    require(old.size() == fresh.size(), what);
    for (std::size_t k = 0; k < old.size(); ++k)
        require(fresh[k] == (old[k] < now.size() ? now[old[k]] : old[k]), what);
}

/// The numbers after nodes from `first` on that no matrix names have gone; such nodes become `no_node`.
inline std::vector<unsigned> tidied(std::size_t nodes, std::size_t first,
                                    const std::vector<const dense2D<unsigned>*>& all,
                                    std::size_t& left) {
    std::vector<char> named(nodes, 0);
    for (const auto* const connect : all)
        for (const unsigned id : elements(*connect))
            if (id < nodes) named[id] = 1;
    std::vector<unsigned> now(nodes, no_node);
    left = 0;
    for (std::size_t j = 0; j < nodes; ++j)
        if (j < first || named[j]) now[j] = static_cast<unsigned>(left++);
    return now;
}

inline void require_tidied(const dense2D<double>& before, const std::vector<unsigned>& now,
                           std::size_t left, const dense2D<double>& pos) {
    if (before.empty()) return;
    require(pos.cols == left, "nodes that nothing names are gone, and no others");
    for (std::size_t j = 0; j < before.cols; ++j)
        for (std::size_t i = 0; i < before.rows && now[j] != no_node; ++i)
            require(same(before(i, j), pos(i, now[j])), "nodes move up in their order");
}

/// p turned about a centre by the rotation vector, to its k-th power, and moved k times.
inline std::array<long double, 3> copied_place(const std::array<long double, 3>& p,
                                               const std::array<long double, 3>& center,
                                               const std::array<long double, 3>& rotation,
                                               const std::array<long double, 3>& translation,
                                               long double k) {
    const auto& w = rotation;
    const long double angle = std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
    std::array<long double, 3> d{}, n{}, q{};
    for (unsigned i = 0; i < 3; ++i) {
        d[i] = p[i] - center[i];
        n[i] = angle == 0 ? 0 : w[i] / angle;
    }
    const long double cosine = std::cos(k * angle), sine = std::sin(k * angle);
    const long double along = n[0] * d[0] + n[1] * d[1] + n[2] * d[2];
    const long double across[3] = {n[1] * d[2] - n[2] * d[1], n[2] * d[0] - n[0] * d[2],
                                   n[0] * d[1] - n[1] * d[0]};
    for (unsigned i = 0; i < 3; ++i)
        q[i] = center[i] + cosine * d[i] + sine * across[i] + (1 - cosine) * along * n[i] +
               k * translation[i];
    return q;
}

/// The normals of a line mesh whose edges count by length^power. False where a node's vector is not well
/// conditioned; its column is left out of the comparison.
struct line_normal {
    long double x = 0, y = 0, weights = 0, most = 0;
    bool defined = true;
};
inline std::vector<line_normal> line_normals(const dense2D<double>& pos,
                                             const dense2D<unsigned>& edges, double power) {
    std::vector<line_normal> all(pos.cols);
    for (std::size_t e = 0; e < edges.cols; ++e) {
        const unsigned a = edges(0, e), b = edges(1, e);
        const long double dx = static_cast<long double>(pos(0, b)) - pos(0, a);
        const long double dy = static_cast<long double>(pos(1, b)) - pos(1, a);
        const long double length = std::sqrt(dx * dx + dy * dy);
        for (const unsigned node : {a, b}) {
            line_normal& n = all[node];
            const long double w =
                power == 0 ? 1 : std::pow(length, static_cast<long double>(power));
            if (length == 0 && power < 0) n.defined = false;
            n.weights += w;
            if (length == 0) continue;
            n.x -= w * dy / length;
            n.y += w * dx / length;
            n.most = std::max(n.most, w);
        }
    }
    return all;
}

inline void require_line_normals(const std::vector<line_normal>& expected, bool unit,
                                 const dense2D<double>& normals) {
    for (std::size_t j = 0; j < expected.size(); ++j) {
        const line_normal& n = expected[j];
        if (!n.defined) continue;
        const long double length = std::sqrt(n.x * n.x + n.y * n.y);
        if (unit && n.most != 0 && length < 1e-6L * n.most) continue; // what is left is rounding
        const long double by = n.most == 0 ? 1 : unit ? length : n.weights;
        const long double slack = unit && n.most != 0 ? 1e-12L * n.weights / length : 1e-12L;
        require(std::fabs(normals(0, j) - n.x / by) <= slack &&
                    std::fabs(normals(1, j) - n.y / by) <= slack,
                "a normal is the weighted sum of those of the edges");
    }
}

} // namespace zel_fuzz::by_hand
