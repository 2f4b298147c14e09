// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/location.h"
#include "zel/tessel2d/metrics.h"

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

void add_searches(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto search = calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                                     const number_list&, const zel::tessel::node_detector&,
                                     zel::element_type, const vector2&, unsigned&, double)>(
        calls, "get_element_containing_point", get_element_containing_point);
    const vector2 points[] = {{0.31, 0.77}, {0.5, 0.5}, {0, 0}, {1.2, 0.4}, {-3, -3}, {nan, 0}};
    for (const located_mesh& l : in.located) {
        for (const vector2& p : points) {
            search.with(
                l.mesh.name + ", point " + std::to_string(&p - points),
                [&l, p](auto f, unsigned& element) {
                    const shared_mesh& m = l.mesh;
                    return f(m.pos, m.connect, m.neighbors, m.ancestors, l.detector, m.type, p,
                             element, 1e-6);
                },
                12u);
        }
    }
    // Walks that fall off the mesh around a missing element, and elements without area.
    const shared_mesh& m = in.plane[0];
    connectivity torn = fresh_copy(m.neighbors);
    for (unsigned& element : torn)
        if (element % 7 == 3) element = no_node;
    for (const vector2& p : points) {
        search.with(
            "torn mesh, point " + std::to_string(&p - points),
            [&m, &in, torn, p](auto f, unsigned& element) {
                return f(m.pos, m.connect, torn, m.ancestors, in.located[0].detector, m.type, p,
                         element, 1e-6);
            },
            12u);
        const shared_mesh& rough = in.rough_plane[2];
        search.with(
            "rough mesh, point " + std::to_string(&p - points),
            [&rough, &in, p](auto f, unsigned& element) {
                return f(rough.pos, rough.connect, rough.neighbors, rough.ancestors,
                         in.located[2].detector, rough.type, p, element, 1e-6);
            },
            12u);
    }
}

void add_fields(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto components =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, coordinates&, const number_list&, zel::element_type)>(
            calls, "interpolate", interpolate);
    const auto scalar =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, value_list&, const number_list&, zel::element_type)>(
            calls, "interpolate", interpolate);
    for (const located_mesh& l : in.located) {
        const auto carry = [&l](auto f, auto& field) {
            const shared_mesh& m = l.mesh;
            return f(m.pos, m.connect, m.neighbors, m.ancestors, field, l.orphans, m.type);
        };
        components.with(l.mesh.name, carry, l.field)
            .with(l.mesh.name + ", view", carry, framed(l.field).view);
        scalar.with(l.mesh.name, carry, l.sizes);
    }
    const located_mesh& l = in.located[0];
    components.with(
        "field is the nodes",
        [&l](auto f, coordinates& pos) {
            const shared_mesh& m = l.mesh;
            return f(pos, m.connect, m.neighbors, m.ancestors, pos, l.orphans, m.type);
        },
        l.mesh.pos);
}

void add_metrics(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto tensors_at =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, coordinates&, const number_list&, bool,
                     zel::element_type)>(calls, "interpolate_metrics", interpolate_metrics);
    const auto tensors_everywhere =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, coordinates&, bool, zel::element_type)>(
            calls, "interpolate_metrics", interpolate_metrics);
    const auto sizes_at =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, value_list&, const number_list&, bool, zel::element_type)>(
            calls, "interpolate_metrics", interpolate_metrics);
    const auto sizes_everywhere =
        calls_of<int(const coordinates&, const connectivity&, const connectivity&,
                     const number_list&, value_list&, bool, zel::element_type)>(
            calls, "interpolate_metrics", interpolate_metrics);
    for (const located_mesh& l : in.located) {
        for (const bool keep : {false, true}) {
            const std::string options = l.mesh.name + (keep ? ", valid ones stay" : "");
            const auto at = [&l, keep](auto f, auto& metrics) {
                const shared_mesh& m = l.mesh;
                return f(m.pos, m.connect, m.neighbors, m.ancestors, metrics, l.orphans, keep,
                         m.type);
            };
            const auto everywhere = [&l, keep](auto f, auto& metrics) {
                const shared_mesh& m = l.mesh;
                return f(m.pos, m.connect, m.neighbors, m.ancestors, metrics, keep, m.type);
            };
            sizes_at.with(options, at, l.sizes);
            sizes_everywhere.with(options, everywhere, l.sizes);
            if (l.mesh.type != zel::ELEMENT_T3) continue;
            tensors_at.with(options + ", order 2", at, l.tensors3)
                .with(options + ", order 3", at, l.tensors6);
            tensors_everywhere.with(options + ", order 2", everywhere, l.tensors3)
                .with(options + ", order 3, view", everywhere, framed(l.tensors6).view);
        }
    }

    const auto generate =
        calls_of<int(const coordinates&, const connectivity&, double, coordinates&)>(
            calls, "metrics_gen_aniso3d", metrics_gen_aniso3d);
    for (const shared_mesh* m : {&in.surface[0], &in.surface_views[0], &in.rough_surface[0]}) {
        for (const double size : {0.0, 0.02, -0.1}) {
            const auto derive = [m, size](auto f, coordinates& metrics) {
                return f(m->pos, m->connect, size, metrics);
            };
            const std::string options = m->name + ", size " + std::to_string(size).substr(0, 5);
            generate.with(options, derive, in.no_points)
                .with(options + ", merged", derive, in.outline_tensors6);
        }
    }
}

} // namespace

void add_location_calls(std::vector<call>& calls) {
    add_searches(calls);
    add_fields(calls);
    add_metrics(calls);
}

} // namespace zel_test::every_function
