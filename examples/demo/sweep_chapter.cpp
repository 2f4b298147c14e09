// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "demo/outline.h"
#include "support/require.h"
#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <cmath>

namespace zel::demo {

namespace {

using examples::point;
using examples::require;
using vector2 = vector_fixed<double, 2>;
using vector3 = vector_fixed<double, 3>;
constexpr double pi = 3.14159265358979323846;

/// After a full turn the last layer lies on the profile, with nodes of its own: makes them one.
void close_the_turn(examples::mesh& m) {
    require(tessel::merge(m.pos, m.connect, 1e-9, 0), "merge");
    require(tessel::simplify(m.pos, m.connect, 0), "simplify");
}

/// A bent line swept to the right, with small elements where it starts and large ones at the end. It
/// runs downwards: what lies to the left of a line is swept into counterclockwise elements.
examples::mesh graded_strip() {
    examples::mesh m;
    const auto profile = add_line(
        m.pos,
        [](double t) {
            return point{0.3 * std::sin(pi * t), 1.6 * (1 - t), 0};
        },
        10, false, 2);
    require(
        tessel2d::extrude_translate_Q4(m.pos, profile, vector2{4, 0}, 0.03, 0.5, false, m.connect),
        "extrude_translate_Q4");
    return m;
}

/// A radius swept once around.
examples::mesh ring() {
    examples::mesh m;
    const auto profile = add_line(
        m.pos,
        [](double t) {
            return point{1 + t, 0, 0};
        },
        6, false, 2);
    require(tessel2d::extrude_rotate_T3(m.pos, profile, vector2{0, 0}, 2 * pi, 48, 2, m.connect),
            "extrude_rotate_T3");
    close_the_turn(m);
    return m;
}

/// The layers around a drop, thin at its wall. The outline runs clockwise, so that its normals, at
/// the left of each edge, point outwards.
examples::mesh boundary_layer() {
    examples::mesh m;
    const auto drop = [](double t) {
        const double angle = -2 * pi * t;
        return point{std::cos(angle), 0.34 * std::sin(angle) * (1 - 0.55 * std::cos(angle)), 0};
    };
    const auto profile = add_line(m.pos, drop, 96, true, 2);
    require(tessel2d::extrude_normal_Q4(m.pos, profile, 0.25, 0.006, 0.06, false, m.connect),
            "extrude_normal_Q4");
    return m;
}

/// A curve from foot to rim, swept around the upright axis.
examples::mesh vase() {
    examples::mesh m;
    const auto wall = [](double t) {
        return point{0.62 + 0.40 * std::sin(2 * pi * (t - 0.06)) * (1 - 0.35 * t) + 0.12 * t, 0,
                     2.6 * t};
    };
    const auto profile = add_line(m.pos, wall, 28, false, 3);
    require(tessel2d::extrude_rotate_Q4(m.pos, profile, vector3{0, 0, 0}, vector3{0, 0, 2 * pi}, 56,
                                        m.connect),
            "extrude_rotate_Q4");
    close_the_turn(m);
    return m;
}

/// A radius that turns one and a half times and climbs meanwhile.
examples::mesh helix() {
    examples::mesh m;
    const auto profile = add_line(
        m.pos,
        [](double t) {
            return point{0.4 + 1.1 * t, 0, 0};
        },
        7, false, 3);
    require(tessel2d::extrude_spiral_Q4(m.pos, profile, vector3{0, 0, 0}, vector3{0, 0, 3 * pi},
                                        vector3{0, 0, 2.4}, 72, m.connect),
            "extrude_spiral_Q4");
    return m;
}

/// A circle beside the axis on the same path.
examples::mesh spring() {
    examples::mesh m;
    const auto section = [](double t) {
        return point{1.5 + 0.32 * std::cos(2 * pi * t), 0, 0.32 * std::sin(2 * pi * t)};
    };
    const auto profile = add_line(m.pos, section, 16, true, 3);
    require(tessel2d::extrude_spiral_T3(m.pos, profile, vector3{0, 0, 0}, vector3{0, 0, 5 * pi},
                                        vector3{0, 0, 2.6}, 150, 2, m.connect),
            "extrude_spiral_T3");
    return m;
}

/// The surface that a radius from `inner` to `outer` sweeps when it turns by `angle` and climbs by
/// `climb`: the integral of sqrt(r^2 + c^2) over r, times the angle, with c the climb per radian.
double area_of_helix(double inner, double outer, double angle, double climb) {
    const double c = climb / angle;
    const auto primitive = [c](double r) {
        return 0.5 * (r * std::sqrt(r * r + c * c) + c * c * std::asinh(r / c));
    };
    return angle * (primitive(outer) - primitive(inner));
}

} // namespace

void sweep_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Sweeps",
        "A line of edges becomes a strip: moved along a vector, turned around a centre or an axis, "
        "screwed up, or grown along its normals. The number of layers is given, or follows from "
        "the "
        "sizes that elements shall have where the sweep starts and where it ends.",
        {"angles", "area", "extrude_normal_Q4", "extrude_rotate_Q4", "extrude_rotate_T3",
         "extrude_spiral_Q4", "extrude_spiral_T3", "extrude_translate_Q4"});
    s.columns = 3;
    const examples::camera down = examples::from_above();
    const examples::camera aside = examples::with_z_upright(55, 24);
    const examples::paint plain;
    const examples::paint clay = examples::surface_paint();
    examples::table t = areas_table();
    const auto show = [&](const char* file, const char* name, const examples::mesh& m,
                          const std::string& caption, std::optional<double> exact = {}) {
        const bool planar = m.pos.rows == 2;
        add_figure(b, s, file, m, picture_of(m, planar ? down : aside, planar ? plain : clay),
                   caption, {380, 280});
        add_areas(t, name, measure(m), exact);
    };
    show("sweep_strip", "Graded strip", graded_strip(), "A graded strip, sizes from 0.03 to 0.5.",
         4 * 1.6);
    show("sweep_ring", "Ring", ring(), "A ring, alternating triangles.", pi * (2 * 2 - 1 * 1));
    show("sweep_layer", "Boundary layer", boundary_layer(),
         "A boundary layer, sizes from 0.006 to 0.06 along the normals.");
    show("sweep_vase", "Vase", vase(), "A vase, turned once around its axis.");
    show("sweep_helix", "Helix", helix(), "A helix, one and a half turns.",
         area_of_helix(0.4, 1.5, 3 * pi, 2.4));
    show("sweep_spring", "Spring", spring(), "A spring, two and a half turns.");
    add_table(s, t);
}

} // namespace zel::demo
