// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "support/require.h"
#include "zel/tessel2d.h"

namespace zel::demo {

namespace {

using examples::require;
/// The values of a matrix, column after column.
std::vector<double> values_of(const dense2D<double>& matrix) {
    std::vector<double> values;
    for (std::size_t n = 0; n < matrix.cols; ++n) {
        values.insert(values.end(), matrix[n], matrix[n] + matrix.rows);
    }
    return values;
}

/// Draws the vector of every third node that looks towards the eye.
void add_vectors(examples::mesh_picture& picture, const examples::camera& view,
                 const examples::mesh& m, const dense2D<double>& vectors, double length) {
    for (std::size_t n = 0; n < m.pos.cols; n += 3) {
        const double* v = vectors[n];
        const examples::point from = examples::node(m, n);
        const examples::point to{from[0] + length * v[0], from[1] + length * v[1],
                                 from[2] + length * v[2]};
        const double towards =
            v[0] * view.toward[0] + v[1] * view.toward[1] + v[2] * view.toward[2];
        if (towards > -0.1) picture.add_line({from, to}, examples::palette::blue, 0.9, length);
    }
}

} // namespace

void offset_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Normals and an offset copy",
        "Every node gets the mean normal of the triangles around it, weighted by their area. Along "
        "these normals a copy of the surface is placed outwards, 2 % of the diagonal of its box "
        "away.",
        {"angles", "area", "copy_with_offset", "normals"});
    s.columns = 3;
    examples::mesh m = examples::deep_copy(b.surface);
    const double distance = 0.02 * examples::extent(m);

    dense2D<double> normals;
    require(tessel2d::normals(m.pos, m.connect, 1, true, normals), "normals");
    const examples::camera view = examples::with_y_upright(-25, 12);
    examples::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    auto with_normals = picture_of(m, view, clay);
    add_vectors(with_normals, view, m, normals, 1.5 * distance);
    add_figure(b, s, "surface_normals", m, with_normals, "Normals of every third node.", {380, 390},
               {{{"normal", values_of(normals)}}, {}});

    // The copy's nodes come in behind those of the surface; its elements go into a matrix of their own.
    examples::mesh copy;
    require(tessel2d::copy_with_offset(m.pos, m.connect, normals, distance, copy.connect),
            "copy_with_offset");
    copy.pos = m.pos;
    examples::paint glass = clay;
    glass.fill = {0.45, 0.66, 0.86};
    glass.opacity = 0.45;
    auto both = picture_of(m, view, clay);
    both.add(copy, glass);
    examples::mesh all = examples::deep_copy(m);
    std::vector<double> is_copy(all.connect.cols, 0.0);
    require(append_columns(copy.connect, all.connect), "memory is exhausted");
    is_copy.resize(all.connect.cols, 1.0);
    add_figure(b, s, "surface_and_copy", all, both, "The surface within its copy.", {380, 390},
               {{}, {{"copy", is_copy}}});

    glass.opacity = 1;
    auto outside = picture_of(copy, view, glass);
    outside.write(b.output / "surface_copy.svg", 380, 390, "The copy alone");
    s.figures.push_back({"surface_copy.svg", "The copy alone.", ""});

    const measures of_surface = measure(m);
    const measures of_copy = measure(copy);
    examples::table t{{"Mesh", "distance (units)", "area (units²)", "ratio of areas"}, {}};
    t.rows.push_back({"Surface", examples::fixed(0, 4), examples::fixed(of_surface.area, 4), "1"});
    t.rows.push_back({"Copy", examples::fixed(distance, 4), examples::fixed(of_copy.area, 4),
                      examples::fixed(of_copy.area / of_surface.area, 4)});
    add_table(s, t);
}

} // namespace zel::demo
