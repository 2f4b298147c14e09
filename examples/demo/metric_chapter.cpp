// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/outline.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>

namespace zel::demo {

namespace {

using examples::point;
using examples::require;
constexpr double pi = 3.14159265358979323846;
constexpr unsigned cells = 10;

/// Sizes in two directions at right angles: `along` at `angle` from the x axis, and `across` it.
struct sizes {
    double along, across, angle;
};

/// The tensor M that asks for these sizes: the size along a unit vector e is 1/sqrt(e.Me).
void store_tensor(const sizes& h, double* m) {
    const double c = std::cos(h.angle);
    const double s = std::sin(h.angle);
    const double a = 1 / (h.along * h.along);
    const double b = 1 / (h.across * h.across);
    m[0] = a * c * c + b * s * s;
    m[1] = (a - b) * c * s;
    m[2] = a * s * s + b * c * c;
}

/// The sizes that a tensor asks for, the smaller one along.
sizes sizes_of(const double* m) {
    const double middle = (m[0] + m[2]) / 2;
    const double half = std::sqrt((m[0] - m[2]) * (m[0] - m[2]) / 4 + m[1] * m[1]);
    const double angle = 0.5 * std::atan2(2 * m[1], m[0] - m[2]);
    return {1 / std::sqrt(middle + half), 1 / std::sqrt(middle - half), angle};
}

/// The tensors on the sides of the patch: flat below, round above, turned more and more to the right.
sizes wanted(const double* p) {
    return {0.09, 0.02 + 0.07 * p[1], 0.5 * pi * p[0] * (1 - p[1])};
}

/// Draws the sizes of node n as an ellipse whose axes are as long as they are.
void add_ellipse(examples::mesh_picture& picture, const examples::mesh& m, std::size_t n,
                 const double* tensor, const examples::colour& line) {
    constexpr int steps = 36;
    const sizes h = sizes_of(tensor);
    const double c = std::cos(h.angle);
    const double s = std::sin(h.angle);
    const point centre = examples::node(m, n);
    std::vector<point> around;
    for (int step = 0; step <= steps; ++step) {
        const double t = 2 * pi * step / steps;
        const double x = 0.5 * h.along * std::cos(t);
        const double y = 0.5 * h.across * std::sin(t);
        around.push_back({centre[0] + c * x - s * y, centre[1] + s * x + c * y, 0});
    }
    picture.add_line(around, line, 1.3, 1);
}

/// The tensors as a field of three numbers per node.
examples::field field_of(const dense2D<double>& tensors) {
    examples::field f{"metric", {}};
    for (std::size_t n = 0; n < tensors.cols; ++n) {
        f.values.insert(f.values.end(), tensors[n], tensors[n] + 3);
    }
    return f;
}

} // namespace

void metric_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Sizes by direction",
        "A tensor at a node asks for element sizes by direction; the ellipse around the node shows "
        "them. Given along the sides of a patch, they are blended into its interior, in the "
        "numbering "
        "of the structured mesh.",
        {"mesh_struct_Q4", "metrics_struct"});
    const auto straight = [](double x0, double y0, double x1, double y1) {
        return [=](double t) { return point{x0 + t * (x1 - x0), y0 + t * (y1 - y0), 0}; };
    };
    const four_sides square{straight(0, 0, 1, 0), straight(1, 0, 1, 1), straight(0, 1, 1, 1),
                            straight(0, 0, 0, 1)};
    examples::mesh m;
    const auto loop = add_outline(m.pos, square, cells, cells, 2);
    const std::size_t given = m.pos.cols;
    dense2D<double> tensors(3, given);
    require(tensors.cols == given, "memory is exhausted");
    for (std::size_t n = 0; n < given; ++n) store_tensor(wanted(m.pos[n]), tensors[n]);

    require(tessel2d::mesh_struct_Q4(m.pos, loop, cells, m.connect), "mesh_struct_Q4");
    require(tessel2d::metrics_struct(loop, cells, tensors), "metrics_struct");

    examples::paint faint;
    faint.fill = {1, 1, 1};
    faint.line = examples::palette::grid;
    auto sides = picture_of(m, examples::from_above(), faint);
    for (std::size_t n = 0; n < given; ++n) {
        add_ellipse(sides, m, n, tensors[n], examples::palette::orange);
    }
    sides.write(b.output / "metric_sides.svg", 440, 440, "Sizes along the sides");
    s.figures.push_back({"metric_sides.svg", "Given: sizes along the sides.", ""});

    auto filled = sides;
    double smallest = sizes_of(tensors[given]).along;
    double largest_ratio = 1;
    for (std::size_t n = given; n < tensors.cols; ++n) {
        add_ellipse(filled, m, n, tensors[n], examples::palette::blue);
        const sizes h = sizes_of(tensors[n]);
        smallest = std::min(smallest, h.along);
        largest_ratio = std::max(largest_ratio, h.across / h.along);
    }
    add_figure(b, s, "metric_blended", m, filled, "Found: sizes at every node.", {440, 440},
               {{field_of(tensors)}, {}});

    examples::table t{{"Sizes", "given", "found", "smallest found (units)", "largest ratio found"},
                      {}};
    t.rows.push_back({"Unit square, 10 x 10 cells", examples::whole(given),
                      examples::whole(tensors.cols - given), examples::fixed(smallest, 4),
                      examples::fixed(largest_ratio, 2)});
    add_table(s, t);
}

} // namespace zel::demo
