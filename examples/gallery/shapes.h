// SPDX-License-Identifier: Apache-2.0
// What the programs of the gallery begin with: an outline, a profile, a grid and a hill.
#pragma once

#include <zel/tessel2d.h>

namespace zel::gallery {

/// Places 2*(m + n) nodes around a patch with bent sides and lists them as a closed loop,
/// counterclockwise from the lower left corner.
inline void outline(dense2D<double>& pos, dense1D<unsigned, 8>& loop, unsigned m, unsigned n) {
    pos.resize(2, 0);
    const auto bend = [](double t) { return 0.4 * t * (1 - t); };
    const auto add = [&](double x, double y) {
        const std::size_t k = pos.cols;
        pos.resize(2, k + 1);
        pos(0, k) = x;
        pos(1, k) = y;
        loop.push_back(static_cast<unsigned>(k));
    };
    for (unsigned k = 0; k < m; ++k) add(1.4 * k / m, bend(1.0 * k / m));
    for (unsigned k = 0; k < n; ++k) add(1.4 + bend(1.0 * k / n), 1.0 * k / n);
    for (unsigned k = 0; k < m; ++k) add(1.4 - 1.4 * k / m, 1 + bend(1.0 * k / m));
    for (unsigned k = 0; k < n; ++k) add(bend(1.0 * k / n), 1 - 1.0 * k / n);
    loop.push_back(0);
}

/// The loop around the unit square, n cells along each side.
inline void square(dense2D<double>& pos, dense1D<unsigned, 8>& loop, unsigned n) {
    outline(pos, loop, n, n);
    for (unsigned k = 0; k < n; ++k) {
        const double t = 1.0 * k / n;
        pos(0, k) = t, pos(1, k) = 0;
        pos(0, n + k) = 1, pos(1, n + k) = t;
        pos(0, 2 * n + k) = 1 - t, pos(1, 2 * n + k) = 1;
        pos(0, 3 * n + k) = 0, pos(1, 3 * n + k) = 1 - t;
    }
}

/// The unit square in quadrilaterals or triangles, n cells along each side.
inline void grid_of_quads(dense2D<double>& pos, dense2D<unsigned>& quads, unsigned n) {
    dense1D<unsigned, 8> loop;
    square(pos, loop, n);
    tessel2d::mesh_struct_Q4(pos, loop, n, quads);
}
inline void grid_of_triangles(dense2D<double>& pos, dense2D<unsigned>& triangles, unsigned n) {
    dense1D<unsigned, 8> loop;
    square(pos, loop, n);
    tessel2d::mesh_struct_T3(pos, loop, n, 2, triangles);
}

/// Lifts the unit square to a hill in space.
inline void lift(dense2D<double>& pos) {
    pos.resize(3, pos.cols, 0.0);
    for (std::size_t k = 0; k < pos.cols; ++k) {
        const double x = pos(0, k);
        const double y = pos(1, k);
        pos(2, k) = 8 * x * (1 - x) * y * (1 - y) + 0.2 * x * x;
    }
}

/// A chain of n edges over the unit interval, bent upward.
inline void profile(dense2D<double>& pos, dense2D<unsigned>& edges, unsigned n) {
    pos.resize(2, n + 1);
    edges.resize(2, n);
    for (unsigned k = 0; k <= n; ++k) {
        const double t = 1.0 * k / n;
        pos(0, k) = t;
        pos(1, k) = 0.6 * t * t;
        if (k < n) edges(0, k) = k, edges(1, k) = k + 1;
    }
}

} // namespace zel::gallery
