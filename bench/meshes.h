// SPDX-License-Identifier: Apache-2.0
#pragma once

// Large meshes for benchmarks.
#include "fixtures.h"

#include "zel/tessel2d/generators.h"

#include <cmath>
#include <numeric>

namespace zel_bench {

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

// How a mesh comes to the library: as the generator makes it, with its nodes moved at random so that
// no two triangles are alike, and that with nodes and elements in random order besides.
enum order : std::int64_t { generated, jittered, shuffled };

inline void jitter_nodes(dense2D<double>& pos, double amount, std::uint64_t seed) {
    random_numbers random{seed};
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t i = 0; i < pos.rows; ++i) pos(i, j) += amount * (random.unit() - 0.5);
}

inline void renumber_nodes(mesh& m, std::uint64_t seed) {
    random_numbers random{seed};
    std::vector<unsigned> place(m.pos.cols);
    std::iota(place.begin(), place.end(), 0U);
    for (std::size_t j = place.size(); j > 1; --j) std::swap(place[j - 1], place[random.below(j)]);
    const auto old = fresh_copy(m.pos);
    for (std::size_t j = 0; j < old.cols; ++j) std::copy_n(old[j], old.rows, m.pos[place[j]]);
    for (unsigned& node : m.connect)
        if (node != 0xFFFFFFFFU) node = place[node];
}

/// About `elements` cells of the unit square; 3 rows are triangles, 4 rows quadrilaterals.
inline mesh make_mesh(std::size_t dim, std::size_t rows, std::int64_t elements, std::int64_t how) {
    const double cells = static_cast<double>(elements) / (rows == 3 ? 2 : 1);
    const auto n = static_cast<unsigned>(std::sqrt(cells));
    mesh m{dense2D<double>(dim, std::size_t{4} * n, 0.0), {}};
    dense1D<unsigned, 8> boundary(std::size_t{4} * n + 1);
    for (unsigned k = 0; k <= 4 * n; ++k) boundary[k] = k % (4 * n);
    for (unsigned k = 0; k < n; ++k) {
        const double t = static_cast<double>(k) / n;
        m.pos(0, k) = t;
        m.pos(0, n + k) = m.pos(1, 2 * n + k) = 1;
        m.pos(1, n + k) = t;
        m.pos(0, 2 * n + k) = m.pos(1, 3 * n + k) = 1 - t;
    }
    const int status = rows == 3 ? zel::tessel2d::mesh_struct_T3(m.pos, boundary, n, 2, m.connect)
                                 : zel::tessel2d::mesh_struct_Q4(m.pos, boundary, n, m.connect);
    if (status != 0) std::abort();
    if (how != generated) jitter_nodes(m.pos, 0.6 / n, 1);
    if (how == shuffled) {
        renumber_nodes(m, 2);
        shuffle_columns(m.connect, 3);
    }
    return m;
}

} // namespace zel_bench
