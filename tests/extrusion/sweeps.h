// SPDX-License-Identifier: Apache-2.0
#pragma once

// The arguments of any sweep, and what the numbering of all sweeps promises.
#include "zel/tessel2d/extrusion.h"

#include "support/checks.h"
#include "support/meshes.h"

#include <algorithm>
#include <vector>

namespace zel_test {

using point2 = zel::vector_fixed<double, 2>;
using point3 = zel::vector_fixed<double, 3>;

/// The arguments of any sweep.
struct sweep_arguments {
    dense2D<double> pos;
    dense2D<unsigned> edges;
    point3 C{0, 0, 0};
    point3 A{0.3, -0.4, 1.2};
    point3 T{3, 4, 12};
    double angle = 1.25;
    double H = 13;
    double h0 = 1;
    double h1 = 2;
    bool force_even = false;
    unsigned layers = 3;
    int pattern = 2;
    dense2D<double> V;
    dense2D<unsigned> out;

    point2 C2() const { return {C[0], C[1]}; }
    point2 T2() const { return {T[0], T[1]}; }
};

/// Five nodes, three of them on a chain of two edges that starts at node 3.
inline sweep_arguments chain_arguments(std::size_t rows) {
    sweep_arguments a;
    a.pos = dense2D<double>(rows, 5, 0.0);
    for (std::size_t j = 0; j < 5; ++j)
        for (std::size_t i = 0; i < rows; ++i)
            a.pos(i, j) = 1.0 + 0.5 * static_cast<double>(i) + 0.75 * static_cast<double>(j);
    a.edges = cells({{3, 1}, {1, 4}});
    a.V = dense2D<double>(2, 5, 0.5);
    return a;
}

inline contents snapshot_of(const sweep_arguments& a) {
    return snapshot(a.pos, a.edges, a.V, a.out);
}

/// The elements of a sweep as the numbering promises them, made without any code of the library.
inline std::vector<std::vector<unsigned>> expected_sides(const dense2D<unsigned>& edges,
                                                         std::size_t first_new, unsigned layers,
                                                         std::size_t rows, int pattern) {
    std::vector<unsigned> seen;
    const auto place = [&](unsigned node) {
        const auto at = std::find(seen.begin(), seen.end(), node);
        const auto index = static_cast<unsigned>(at - seen.begin());
        if (at == seen.end()) seen.push_back(node);
        return index;
    };
    for (std::size_t e = 0; e < edges.cols; ++e) place(edges(0, e)), place(edges(1, e));
    const auto number = [&](unsigned node, unsigned layer) {
        if (layer == 0) return node;
        return static_cast<unsigned>(first_new + (layer - 1) * seen.size() + place(node));
    };
    std::vector<std::vector<unsigned>> sides;
    for (std::size_t e = 0; e < edges.cols; ++e)
        for (unsigned k = 0; k < layers; ++k) {
            const unsigned a = number(edges(0, e), k);
            const unsigned b = number(edges(1, e), k);
            const unsigned c = number(edges(1, e), k + 1);
            const unsigned d = number(edges(0, e), k + 1);
            if (rows == 4) {
                sides.push_back({a, b, c, d});
            } else if (pattern == 0 || (pattern == 2 && (k + e) % 2 == 1)) {
                sides.push_back({a, b, d});
                sides.push_back({b, c, d});
            } else {
                sides.push_back({a, b, c});
                sides.push_back({a, c, d});
            }
        }
    return sides;
}

/// The nodes of a profile in first-seen order.
inline std::vector<unsigned> profile_nodes(const dense2D<unsigned>& edges) {
    std::vector<unsigned> seen;
    for (std::size_t e = 0; e < edges.cols; ++e)
        for (std::size_t i = 0; i < 2; ++i)
            if (std::find(seen.begin(), seen.end(), edges(i, e)) == seen.end())
                seen.push_back(edges(i, e));
    return seen;
}

} // namespace zel_test
