// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/curvatures.h"
#include "zel/tessel2d/measures.h"

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

/// Every mesh there is, in the plane and in space.
template <class Add>
void for_each_mesh(Add add) {
    const shared_inputs& in = inputs();
    for (const auto* meshes : {&in.plane, &in.plane_views, &in.rough_plane, &in.surface,
                               &in.surface_views, &in.rough_surface})
        for (const shared_mesh& m : *meshes) add(m);
}

void add_sizes_and_shapes(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto areas =
        calls_of<int(const coordinates&, const connectivity&, double&)>(calls, "area", area);
    const auto corners =
        calls_of<int(const coordinates&, const connectivity&, bool, value_list&, value_list&)>(
            calls, "angles", angles);
    const auto centers = calls_of<int(const coordinates&, const connectivity&, coordinates&)>(
        calls, "circumcenters", circumcenters);
    for_each_mesh([&](const shared_mesh& m) {
        areas.with(
            m.name, [&m](auto f, double& result) { return f(m.pos, m.connect, result); }, 7.0);
        for (const bool normalise : {false, true}) {
            corners.with(
                m.name + (normalise ? ", normalised" : ", radians"),
                [=, &m](auto f, value_list& least, value_list& largest) {
                    return f(m.pos, m.connect, normalise, least, largest);
                },
                in.outline_sizes, in.no_values);
        }
        if (m.connect.rows != 3) return;
        centers.with(
            m.name, [&m](auto f, coordinates& result) { return f(m.pos, m.connect, result); },
            in.derivatives);
    });
    const shared_mesh& m = in.surface[0];
    centers.with(
        "result is the nodes", [&m](auto f, coordinates& pos) { return f(pos, m.connect, pos); },
        m.pos);
}

void add_stars(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto stars =
        calls_of<int(const connectivity&, const connectivity&, const number_list&, number_list&,
                     number_list&)>(calls, "get_connected_elements", get_connected_elements);
    for (const auto* meshes : {&in.plane, &in.plane_views})
        for (const shared_mesh& m : *meshes) {
            stars.with(
                m.name,
                [&m](auto f, number_list& starts, number_list& elements) {
                    return f(m.connect, m.neighbors, m.ancestors, starts, elements);
                },
                in.no_list, in.loop);
        }
    stars
        .with(
            "elements turned over",
            [&in](auto f, number_list& starts, number_list& elements) {
                return f(in.disordered, in.disordered_neighbors, in.surface[2].ancestors, starts,
                         elements);
            },
            in.no_list, in.no_list)
        .with(
            "starts take the place of the ancestors",
            [&in](auto f, number_list& starts, number_list& elements) {
                return f(in.plane[1].connect, in.plane[1].neighbors, starts, starts, elements);
            },
            in.plane[1].ancestors, in.no_list);
}

void add_curvatures(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto principal =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&, double, double,
                     unsigned, const connectivity&, coordinates&)>(calls, "principal_curvatures",
                                                                   principal_curvatures);
    for (const shared_mesh* m : {&in.surface[0], &in.surface_views[0], &in.rough_surface[0]}) {
        for (const unsigned most : {8u, 60u})
            for (const connectivity* hard : {&in.none, &in.hard_edges})
                for (const double radius : {0.0, 0.2, 3.0}) {
                    principal.with(
                        m->name + ", patches of " + std::to_string(most) +
                            (hard->empty() ? "" : ", hard edges") + ", radius " +
                            std::to_string(radius).substr(0, 3),
                        [=](auto f, coordinates& result) {
                            return f(m->pos, m->connect, m->neighbors, radius, 1.2, most, *hard,
                                     result);
                        },
                        in.derivatives);
                }
    }
    principal.with(
        "result is the nodes",
        [&in](auto f, coordinates& pos) {
            const shared_mesh& m = in.surface[0];
            return f(pos, m.connect, m.neighbors, 0.3, 3.2, 40, in.hard_edges, pos);
        },
        in.surface[0].pos);

    const auto parametric =
        calls_of<int(const coordinates&, const connectivity&, const coordinates&, coordinates&)>(
            calls, "parametric_curvatures", parametric_curvatures);
    for (const shared_mesh* m : {&in.plane[0], &in.plane_views[0], &in.rough_plane[0]}) {
        parametric.with(
            m->name,
            [=, &in](auto f, coordinates& result) {
                return f(m->pos, m->connect, in.derivatives, result);
            },
            in.no_points);
    }
    parametric.with(
        "result is the derivatives",
        [&in](auto f, coordinates& result) {
            return f(in.plane[0].pos, in.plane[0].connect, result, result);
        },
        in.derivatives);
}

} // namespace

void add_measure_calls(std::vector<call>& calls) {
    add_sizes_and_shapes(calls);
    add_stars(calls);
    add_curvatures(calls);
}

} // namespace zel_test::every_function
