// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <cstdio>

namespace zel::demo {

namespace {

using examples::require;
constexpr double pi = 3.14159265358979323846;
constexpr unsigned cells = 6; ///< along each side of a patch
constexpr vector_fixed<double, 2> origin2{0, 0};
constexpr vector_fixed<double, 3> origin3{0, 0, 0};

examples::mesh disk_of_quads() {
    examples::mesh m;
    dense2D<unsigned> circle;
    require(tessel2d::mesh_disk_Q4(m.pos, origin2, 1, cells, m.connect, circle), "mesh_disk_Q4");
    return m;
}

examples::mesh disk_of_triangles() {
    examples::mesh m;
    dense2D<unsigned> circle;
    require(tessel2d::mesh_disk_T3(m.pos, origin2, 1, cells, 2, m.connect, circle), "mesh_disk_T3");
    return m;
}

examples::mesh sphere_of_triangles() {
    examples::mesh m;
    require(tessel2d::mesh_sphere_T3(m.pos, origin3, 1, cells, 2, m.connect), "mesh_sphere_T3");
    return m;
}

/// The edges of a circle on a sphere that are not behind it.
void add_circle(examples::mesh_picture& picture, const examples::camera& view,
                const examples::mesh& m, const dense2D<unsigned>& circle) {
    for (std::size_t e = 0; e < circle.cols; ++e) {
        const examples::point a = examples::node(m, circle(0, e));
        const examples::point z = examples::node(m, circle(1, e));
        double nearness = 0;
        for (std::size_t i = 0; i < 3; ++i) nearness += (a[i] + z[i]) * view.toward[i];
        if (nearness > 0) picture.add_line({a, z}, examples::palette::orange, 2.2, 0.1);
    }
}

void show_disk(book& b, examples::section& s, const char* file, const examples::mesh& m,
               const measures& result, double ideal, const std::string& name) {
    const std::vector<double> smallest = in_degrees(result.smallest_angles);
    const std::vector<double> largest = in_degrees(result.largest_angles);
    const auto& colours = examples::quality_colours();
    auto picture = picture_of(m, examples::from_above(),
                              examples::value_paint(smallest, colours, ideal / 3, ideal));
    picture.set_legend(colours, examples::fixed(ideal / 3, 0) + "°",
                       examples::fixed(ideal, 0) + "°", "smallest angle");
    add_figure(
        b, s, file, m, picture,
        name + ". Worst angles " + examples::degrees(result.smallest_angle) + " and " +
            examples::degrees(result.largest_angle) + ".",
        {280, 310},
        {{}, {{"smallest angle in degrees", smallest}, {"largest angle in degrees", largest}}});
}

examples::mesh_picture picture_of_sphere(const examples::mesh& m, const examples::camera& view) {
    examples::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    clay.line_width = 0.6;
    return picture_of(m, view, clay);
}

} // namespace

void round_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Disks and spheres",
        "Of radius 1, from three structured patches per quarter of a disk and per eighth of a "
        "sphere, with 6 cells along each of their sides. There is no pole: no fan of triangles "
        "meets "
        "in the centre. The orange lines are the two great circles that come with a sphere.",
        {"angles", "area", "mesh_disk_Q4", "mesh_disk_T3", "mesh_sphere_Q4", "mesh_sphere_T3"});
    s.columns = 4;
    examples::table t = areas_table();

    const examples::mesh quads = disk_of_quads();
    const measures of_quads = measure(quads);
    show_disk(b, s, "disk_quads", quads, of_quads, 90, "Disk of quadrilaterals");
    add_areas(t, "Disk of quadrilaterals", of_quads, pi);

    const examples::mesh triangles = disk_of_triangles();
    const measures of_triangles = measure(triangles);
    show_disk(b, s, "disk_triangles", triangles, of_triangles, 60, "Disk of triangles");
    add_areas(t, "Disk of triangles", of_triangles, pi);

    const examples::camera view = examples::with_z_upright(35, 25);
    examples::mesh sphere;
    dense2D<unsigned> equator;
    dense2D<unsigned> meridian;
    require(
        tessel2d::mesh_sphere_Q4(sphere.pos, origin3, 1, cells, sphere.connect, equator, meridian),
        "mesh_sphere_Q4");
    auto picture = picture_of_sphere(sphere, view);
    add_circle(picture, view, sphere, equator);
    add_circle(picture, view, sphere, meridian);
    add_figure(b, s, "sphere_quads", sphere, picture, "Sphere of quadrilaterals.", {280, 310});
    add_areas(t, "Sphere of quadrilaterals", measure(sphere), 4 * pi);

    const examples::mesh ball = sphere_of_triangles();
    add_figure(b, s, "sphere_triangles", ball, picture_of_sphere(ball, view),
               "Sphere of triangles.", {280, 310});
    add_areas(t, "Sphere of triangles", measure(ball), 4 * pi);
    add_table(s, t);
}

} // namespace zel::demo
