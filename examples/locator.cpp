// SPDX-License-Identifier: Apache-2.0
//
// Host tools: which elements hold many points, and two fields carried onto them.
#include "zel/host/locator.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace zel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

/// n x n squares over the unit square.
void unit_square(unsigned n, dense2D<double>& pos, dense2D<unsigned>& connect) {
    dense1D<unsigned, 8> boundary(4 * n + 1);
    pos = dense2D<double>(2, 4 * n);
    for (unsigned k = 0; k < n; ++k) {
        const double t = double(k) / n;
        const double side[4][2] = {{t, 0}, {1, t}, {1 - t, 1}, {0, 1 - t}};
        for (unsigned s = 0; s < 4; ++s)
            for (unsigned i = 0; i < 2; ++i) pos(i, s * n + k) = side[s][i];
    }
    for (unsigned k = 0; k <= 4 * n; ++k) boundary[k] = k % (4 * n);
    require(tessel2d::mesh_struct_Q4(pos, boundary, n, connect) == 0);
}

} // namespace

int main() {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    unit_square(20, pos, connect);
    dense2D<double> points(2, 1000);
    for (std::size_t j = 0; j < points.cols; ++j) {
        points(0, j) = 0.0011 * static_cast<double>(j);
        points(1, j) = 0.5 + 0.4 * std::sin(0.02 * static_cast<double>(j));
    }
    dense2D<double> velocity(2, pos.cols);
    dense1D<double, 8> pressure(pos.cols);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        velocity(0, j) = -pos(1, j);
        velocity(1, j) = pos(0, j);
        pressure[j] = pos(0, j) + 2 * pos(1, j);
    }

    //! [locator]
    host::locator mesh;
    require(mesh.build(pos, connect) == 0);

    // One point, and many on as many threads as the processor has.
    unsigned element;
    require(mesh.locate({0.31, 0.77}, element) == 1);
    dense1D<unsigned, 8> elements;
    dense1D<unsigned, 8> places;
    dense2D<double> weights;
    require(mesh.locate(points, elements, weights, places, 1e-6, 0) == 0);

    // Two fields, for which the points are located once.
    host::transfer_table table;
    require(mesh.transfer(points, table) == 0);
    dense2D<double> velocities;
    dense1D<double, 8> pressures;
    require(mesh.carry(table, velocity, velocities) == 0);
    require(mesh.carry(table, pressure, pressures, 0) == 0);
    //! [locator]

    std::size_t served = 0;
    for (std::size_t j = 0; j < points.cols; ++j) {
        const bool inside = table.states[j] == static_cast<unsigned>(host::source::inside);
        require(inside == (points(0, j) <= 1 + 1e-9));
        if (inside) require(std::abs(pressures[j] - points(0, j) - 2 * points(1, j)) < 1e-12);
        served += inside;
    }
    std::printf("%zu of %zu points are inside\n", served, points.cols);
    return 0;
}
