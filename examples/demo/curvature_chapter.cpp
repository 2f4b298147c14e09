// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "support/require.h"
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>

namespace zel::demo {

namespace {

using examples::require;
/// The principal curvatures of a surface: k1, the larger in magnitude, k2, and the direction of the
/// axis about which the surface bends with k1, 3 numbers per node.
struct curvatures {
    std::vector<double> k1, k2, mean, direction;
};

curvatures curvatures_of(const examples::mesh& m, double radius) {
    host::adjacency beside;
    require(host::build_adjacency(m.connect, m.pos.cols, beside), "build_adjacency");
    const dense2D<unsigned> no_hard_edges;
    dense2D<double> found;
    require(tessel2d::principal_curvatures(m.pos, m.connect, beside.neighbors, radius, 1.2, 2000,
                                           no_hard_edges, found),
            "principal_curvatures");
    curvatures result;
    for (std::size_t n = 0; n < found.cols; ++n) {
        const double* c = found[n];
        result.k1.push_back(c[6]);
        result.k2.push_back(c[7]);
        result.mean.push_back((c[6] + c[7]) / 2);
        result.direction.insert(result.direction.end(), c, c + 3);
    }
    return result;
}

double quantile(std::vector<double> values, double part) {
    const auto place = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(place),
                     values.end());
    return values[place];
}

examples::mesh unit_sphere() {
    examples::mesh m;
    require(tessel2d::mesh_sphere_T3(m.pos, {0, 0, 0}, 1, 24, 2, m.connect), "mesh_sphere_T3");
    return m;
}

void add_row(examples::table& t, const std::string& name, const curvatures& c) {
    const auto cell = [](double value) { return examples::fixed(value, 3); };
    t.rows.push_back({name, cell(quantile(c.mean, 0)), cell(quantile(c.mean, 0.05)),
                      cell(quantile(c.mean, 0.5)), cell(quantile(c.mean, 0.95)),
                      cell(quantile(c.mean, 1))});
}

/// Strokes along the direction of k1 where k2 is much smaller, on the side that faces the eye.
void add_directions(examples::mesh_picture& picture, const examples::camera& view,
                    const examples::mesh& m, const curvatures& c, double length) {
    dense2D<double> normals;
    require(tessel2d::normals(m.pos, m.connect, 1, true, normals), "normals");
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        if (std::abs(c.k2[n]) > 0.5 * std::abs(c.k1[n])) continue;
        const examples::point p = examples::node(m, n);
        examples::point from = p;
        examples::point to = p;
        double facing = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            from[i] -= length * c.direction[3 * n + i];
            to[i] += length * c.direction[3 * n + i];
            facing += normals(i, n) * view.toward[i];
        }
        if (facing > 0.05) picture.add_line({from, to}, examples::palette::blue, 1.1, length);
    }
}

} // namespace

void curvature_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Curvatures",
        "At every node the angles between the triangles nearby give two principal curvatures with "
        "their directions. What bends away from its normal counts negative: a sphere of radius 1 "
        "has a mean curvature of -1. Sides on the rim of what counts as nearby are left out, and "
        "what "
        "counts as nearby is bent itself: within the distance r on a sphere of radius R, 1 - "
        "r²/(4R²) of "
        "the curvature is seen. So the estimate is a little too small.",
        {"mesh_sphere_T3", "normals", "principal_curvatures"});
    s.columns = 3;
    const examples::mesh& m = b.surface;
    const curvatures found = curvatures_of(m, 0.04 * examples::extent(m));
    const examples::mesh_fields fields{{{"k1", found.k1},
                                        {"k2", found.k2},
                                        {"mean curvature", found.mean},
                                        {"axis of k1", found.direction}},
                                       {}};
    const auto& colours = examples::signed_colours();
    examples::paint how = examples::value_paint(found.mean, colours, -0.9, 0.9);
    how.lit = true;
    how.hide_backs = true;
    how.line_width = 0.3;
    const auto coloured = [&](double azimuth) {
        auto picture = picture_of(m, examples::with_y_upright(azimuth, 12), how);
        picture.set_legend(colours, "-0.9", "0.9", "mean curvature (1/unit)");
        return picture;
    };
    add_figure(b, s, "surface_curvature", m, coloured(-25), "Mean curvature.", {380, 390}, fields);
    coloured(155).write(b.output / "surface_curvature_back.svg", 380, 390, "From behind");
    s.figures.push_back({"surface_curvature_back.svg", "Mean curvature, from behind.", ""});

    const examples::camera view = examples::with_y_upright(-25, 12);
    examples::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    auto directions = picture_of(m, view, clay);
    add_directions(directions, view, m, found, 0.012 * examples::extent(m));
    directions.write(b.output / "surface_directions.svg", 380, 390, "Axes of the larger curvature");
    s.figures.push_back({"surface_directions.svg",
                         "The axis about which the surface bends most, where it is clear.", ""});

    examples::table t{{"Mean curvature (1/unit)", "smallest", "5 %", "median", "95 %", "largest"},
                      {}};
    add_row(t, "Scanned surface", found);
    add_row(t, "Sphere of radius 1", curvatures_of(unit_sphere(), 0.35));
    add_table(s, t);
}

} // namespace zel::demo
