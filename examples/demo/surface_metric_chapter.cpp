// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>

namespace zel::demo {

namespace {

using examples::point;
using examples::require;

double dot(const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
point cross(const double* a, const double* b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The size that a packed tensor asks for along a unit vector.
double size_along(const double* m, const point& e) {
    const double q = m[0] * e[0] * e[0] + m[2] * e[1] * e[1] + m[5] * e[2] * e[2] +
                     2 * (m[1] * e[0] * e[1] + m[3] * e[0] * e[2] + m[4] * e[1] * e[2]);
    return 1 / std::sqrt(q);
}

/// The sizes at a node in the directions at right angles to its normal, as a closed line around the
/// node that is as far across as they are.
std::vector<point> sizes_around(const point& centre, const double* normal, const double* tensor) {
    constexpr int steps = 24;
    const double axis[3] = {std::abs(normal[0]) < 0.7 ? 1.0 : 0.0,
                            std::abs(normal[0]) < 0.7 ? 0.0 : 1.0, 0};
    point u = cross(normal, axis);
    const double length = std::sqrt(dot(u.data(), u.data()));
    for (double& x : u) x /= length;
    const point v = cross(normal, u.data());
    std::vector<point> around;
    for (int step = 0; step <= steps; ++step) {
        const double t = 6.283185307179586 * step / steps;
        point e{};
        for (std::size_t i = 0; i < 3; ++i) e[i] = std::cos(t) * u[i] + std::sin(t) * v[i];
        const double h = 0.5 * size_along(tensor, e);
        around.push_back({centre[0] + h * e[0], centre[1] + h * e[1], centre[2] + h * e[2]});
    }
    return around;
}

/// The elements all of whose nodes lie above a height.
examples::mesh part_above(const examples::mesh& m, double height) {
    examples::mesh part;
    part.pos = m.pos;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const unsigned* const cell = m.connect[e];
        const double lowest = std::min({m.pos(1, cell[0]), m.pos(1, cell[1]), m.pos(1, cell[2])});
        if (lowest > height) require(push_back_column3(cell, part.connect), "memory is exhausted");
    }
    return part;
}

} // namespace

void surface_metric_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Sizes of a surface",
        "What sizes does a mesh have? Every node gets a tensor with the mean length of its edges "
        "in "
        "the planes of the triangles around it, and a fifth of that along their normals. Where the "
        "surface bends, the tensors of the triangles disagree and the smaller size counts: the "
        "ellipses become narrow across the bend.",
        {"metrics_gen_aniso3d", "normals"});
    const examples::mesh& m = b.surface;
    dense2D<double> tensors;
    require(tessel2d::metrics_gen_aniso3d(m.pos, m.connect, -0.2, tensors), "metrics_gen_aniso3d");
    dense2D<double> normals;
    require(tessel2d::normals(m.pos, m.connect, 1, true, normals), "normals");

    double low = m.pos(1, 0);
    double high = low;
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        low = std::min(low, m.pos(1, n));
        high = std::max(high, m.pos(1, n));
    }
    const double height = low + 0.55 * (high - low);
    const examples::camera view = examples::with_y_upright(-25, 12);
    examples::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    auto picture = picture_of(part_above(m, height), view, clay);
    double smallest = HUGE_VAL;
    double largest = 0;
    std::size_t drawn = 0;
    // Viewers know vectors of three: the tensors come in two.
    examples::field diagonal{"metric_xx_yy_zz", {}};
    examples::field mixed{"metric_xy_xz_yz", {}};
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        for (const int k : {0, 2, 5}) diagonal.values.push_back(tensors[n][k]);
        for (const int k : {1, 3, 4}) mixed.values.push_back(tensors[n][k]);
        const double* const normal = normals[n];
        const double thin = size_along(tensors[n], {normal[0], normal[1], normal[2]});
        smallest = std::min(smallest, thin);
        largest = std::max(largest, thin);
        if (m.pos(1, n) < height || dot(normal, view.toward.data()) < 0.2) continue;
        picture.add_line(sizes_around(examples::node(m, n), normal, tensors[n]),
                         examples::palette::blue, 0.9, 0.02 * (high - low));
        ++drawn;
    }
    add_figure(b, s, "surface_metric", m, picture, "The sizes at the nodes of the upper part.",
               {560, 480}, {{diagonal, mixed}, {}});

    examples::table t{{"Sizes", "nodes", "drawn", "smallest along the normal (units)",
                       "largest along the normal (units)"},
                      {}};
    t.rows.push_back({"Surface", examples::whole(m.pos.cols), examples::whole(drawn),
                      examples::fixed(smallest, 4), examples::fixed(largest, 4)});
    add_table(s, t);
}

} // namespace zel::demo
