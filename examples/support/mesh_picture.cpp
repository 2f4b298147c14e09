// SPDX-License-Identifier: Apache-2.0
#include "support/mesh_picture.h"

#include "support/require.h"

#include <algorithm>
#include <cmath>

namespace zel::examples {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double legend_height = 40;
constexpr double margin = 8;

double dot_product(const point& a, const point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

point cross_product(const point& a, const point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The unit normal of a polygon that need not be flat: the sum over its sides (Newell's formula).
/// A polygon without area has none and yields zeros.
point unit_normal(const std::vector<point>& corners) {
    point sum{0, 0, 0};
    for (std::size_t k = 0; k < corners.size(); ++k) {
        const point part = cross_product(corners[k], corners[(k + 1) % corners.size()]);
        for (std::size_t i = 0; i < 3; ++i) sum[i] += part[i];
    }
    const double length = std::sqrt(dot_product(sum, sum));
    if (length > 0) {
        for (double& x : sum) x /= length;
    }
    return sum;
}

/// The outline of an element in space. A side with a node between its corners is the parabola through
/// the three.
std::vector<point> outline_points(const mesh& m, std::size_t element) {
    const std::vector<unsigned> around = cell_outline(m, element);
    std::vector<point> points;
    if (around.size() <= 4) {
        for (const unsigned n : around) points.push_back(node(m, n));
        return points;
    }
    constexpr int steps = 8;
    for (std::size_t k = 0; k < around.size(); k += 2) {
        const point a = node(m, around[k]);
        const point middle = node(m, around[k + 1]);
        const point b = node(m, around[(k + 2) % around.size()]);
        for (int step = 0; step < steps; ++step) {
            const double t = static_cast<double>(step) / steps;
            point p;
            for (std::size_t i = 0; i < 3; ++i) {
                p[i] = (1 - t) * (1 - 2 * t) * a[i] + 4 * t * (1 - t) * middle[i] +
                       t * (2 * t - 1) * b[i];
            }
            points.push_back(p);
        }
    }
    return points;
}

/// Brightness of an element with the unit normal n: a lamp at the upper left before the surface, a
/// weaker one at the right, and light from everywhere. In camera coordinates.
double brightness(const camera& eye, const point& n) {
    const point seen{dot_product(n, eye.right), dot_product(n, eye.up), dot_product(n, eye.toward)};
    const double lamp = std::max(0.0, dot_product(seen, {-0.46, 0.59, 0.66}));
    const double second = std::max(0.0, dot_product(seen, {0.86, 0.10, 0.50}));
    return 0.52 + 0.52 * lamp + 0.16 * second;
}

colour scaled(const colour& c, double factor) {
    return {c.red * factor, c.green * factor, c.blue * factor};
}

/// The value of an element: its own, or the mean of its nodes.
double value_of(const mesh& m, std::size_t element, const std::vector<double>& values) {
    if (values.size() == m.connect.cols) return values[element];
    double sum = 0;
    const std::vector<unsigned> nodes = cell_nodes(m, element);
    for (const unsigned n : nodes) sum += values[n];
    return sum / static_cast<double>(nodes.size());
}

colour fill_of(const mesh& m, std::size_t element, const paint& how) {
    if (how.values == nullptr) return how.fill;
    const double t = (value_of(m, element, *how.values) - how.low) / (how.high - how.low);
    return colour_at(*how.map, t);
}

} // namespace

camera from_above() {
    return {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
}

camera with_z_upright(double azimuth, double elevation) {
    const double a = azimuth * pi / 180;
    const double e = elevation * pi / 180;
    const point toward{std::cos(e) * std::cos(a), std::cos(e) * std::sin(a), std::sin(e)};
    const point right{-std::sin(a), std::cos(a), 0};
    return {right, cross_product(toward, right), toward};
}

camera with_y_upright(double azimuth, double elevation) {
    const auto turned = [](const point& p) { return point{p[1], p[2], p[0]}; };
    const camera z_up = with_z_upright(azimuth, elevation);
    return {turned(z_up.right), turned(z_up.up), turned(z_up.toward)};
}

paint surface_paint() {
    paint how;
    how.fill = palette::clay;
    how.line_width = 0.35;
    how.lit = true;
    return how;
}

paint value_paint(const std::vector<double>& values, const colour_map& map, double low,
                  double high) {
    paint how;
    how.values = &values;
    how.map = &map;
    how.low = low;
    how.high = high;
    return how;
}

dot mesh_picture::project(const point& p) const {
    return {dot_product(p, eye.right), dot_product(p, eye.up)};
}

double mesh_picture::depth(const point& p) const {
    return dot_product(p, eye.toward);
}

void mesh_picture::add(const mesh& m, const paint& how) {
    require(how.values == nullptr || how.values->size() == m.connect.cols ||
                how.values->size() == m.pos.cols,
            "the values to be painted do not fit the mesh");
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const std::vector<point> corners = outline_points(m, e);
        point normal = unit_normal(corners);
        const bool back = dot_product(normal, eye.toward) < 0;
        if (back && how.hide_backs) continue;
        if (back) normal = {-normal[0], -normal[1], -normal[2]};

        shape s{shape_kind::face, {}, 0, fill_of(m, e, how), how.line, how.line_width, how.opacity};
        for (const point& p : corners) {
            s.points.push_back(project(p));
            s.depth += depth(p) / static_cast<double>(corners.size());
        }
        if (how.lit) {
            const double light = brightness(eye, normal);
            s.fill = scaled(s.fill, how.values == nullptr ? light : (1 + 2 * light) / 3);
            s.line = mix(s.fill, how.line, 0.45);
        }
        if (how.line_as_fill) s.line = s.fill;
        shapes.push_back(std::move(s));
    }
}

void mesh_picture::add_line(const std::vector<point>& points, const colour& line, double line_width,
                            double lift) {
    shape s{shape_kind::line, {}, lift, line, line, line_width, 1};
    for (const point& p : points) {
        s.points.push_back(project(p));
        s.depth += depth(p) / static_cast<double>(points.size());
    }
    shapes.push_back(std::move(s));
}

void mesh_picture::add_dot(const point& p, double radius, const colour& fill, double lift) {
    shapes.push_back({shape_kind::spot, {project(p)}, depth(p) + lift, fill, fill, radius, 1});
}

void mesh_picture::add_label(const point& p, const std::string& words, double size,
                             const colour& fill, double lift) {
    shapes.push_back(
        {shape_kind::label, {project(p)}, depth(p) + lift, fill, fill, size, 1, words});
}

void mesh_picture::set_legend(const colour_map& map, const std::string& low,
                              const std::string& high, const std::string& title) {
    legend = &map;
    legend_words = {low, high, title};
}

void mesh_picture::write(const std::filesystem::path& file, double width, double height,
                         const std::string& title) const {
    dot low{0, 0};
    dot high{1, 1};
    bool first = true;
    for (const shape& s : shapes) {
        for (const dot& p : s.points) {
            for (std::size_t i = 0; i < 2; ++i) {
                low[i] = first ? p[i] : std::min(low[i], p[i]);
                high[i] = first ? p[i] : std::max(high[i], p[i]);
            }
            first = false;
        }
    }
    const double room = height - (legend == nullptr ? 0 : legend_height);
    const double scale = std::min((width - 2 * margin) / (high[0] - low[0]),
                                  (room - 2 * margin) / (high[1] - low[1]));
    const auto place = [&](const dot& p) {
        return dot{width / 2 + scale * (p[0] - (low[0] + high[0]) / 2),
                   room / 2 - scale * (p[1] - (low[1] + high[1]) / 2)};
    };

    std::vector<const shape*> order;
    for (const shape& s : shapes) order.push_back(&s);
    std::stable_sort(order.begin(), order.end(),
                     [](const shape* a, const shape* b) { return a->depth < b->depth; });

    svg drawing(width, height, title);
    for (const shape* s : order) {
        std::vector<dot> points;
        for (const dot& p : s->points) points.push_back(place(p));
        switch (s->kind) {
        case shape_kind::face:
            drawing.polygon(points, s->fill, s->line, s->line_width, s->opacity, "cell");
            break;
        case shape_kind::line:
            drawing.polyline(points, s->line, s->line_width, false, s->opacity);
            break;
        case shape_kind::spot:
            drawing.disc(points[0], s->line_width, s->fill);
            break;
        case shape_kind::label:
            drawing.text({points[0][0], points[0][1] + 0.36 * s->line_width}, s->words,
                         s->line_width, s->fill);
            break;
        }
    }
    if (legend != nullptr) {
        const double bar = std::min(280.0, 0.75 * width);
        drawing.colour_bar({(width - bar) / 2, height - legend_height + 8}, bar, *legend,
                           legend_words[0], legend_words[1], legend_words[2]);
    }
    drawing.write(file);
}

} // namespace zel::examples
