// SPDX-License-Identifier: Apache-2.0
#include "demo/sail.h"

#include "support/require.h"
#include "zel/tessel2d.h"

#include <cmath>

namespace zel::demo {

namespace {

constexpr double pi = 3.14159265358979323846;

dense1D<unsigned, 8> add_sail(dense2D<double>& pos, unsigned across, unsigned upward) {
    return add_outline(pos, sail(), across, upward, 2);
}

} // namespace

four_sides sail() {
    using examples::point;
    return {[](double t) {
                return point{4 * t, 0.32 * std::sin(2 * pi * t), 0};
            },
            [](double t) {
                return point{4 + 0.45 * std::sin(pi * t), 2.2 * t, 0};
            },
            [](double t) {
                return point{4 * t, 2.2 + 0.75 * std::sin(pi * t), 0};
            },
            [](double t) {
                return point{0.35 * std::sin(pi * t), 2.2 * t, 0};
            }};
}

examples::mesh sail_of_quads() {
    examples::mesh m;
    const auto loop = add_sail(m.pos, sail_cells_across, sail_cells_upward);
    examples::require(tessel2d::mesh_struct_Q4(m.pos, loop, sail_cells_upward, m.connect),
                      "mesh_struct_Q4");
    return m;
}

examples::mesh sail_of_triangles(int pattern, unsigned across, unsigned upward) {
    examples::mesh m;
    const auto loop = add_sail(m.pos, across, upward);
    examples::require(tessel2d::mesh_struct_T3(m.pos, loop, upward, pattern, m.connect),
                      "mesh_struct_T3");
    return m;
}

double area_of_sail() {
    // A rectangle, and half waves on three of its sides; those of the bottom cancel out.
    const double half_wave = 2 / pi;
    return 4 * 2.2 + 4 * 0.75 * half_wave + 2.2 * (0.45 - 0.35) * half_wave;
}

} // namespace zel::demo
