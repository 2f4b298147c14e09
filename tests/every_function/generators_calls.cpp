// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/spheres.h"

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

constexpr int patterns[] = {0, 1, 2};

std::string with_pattern(const std::string& text, int pattern) {
    return text + ", pattern " + std::to_string(pattern);
}

void add_patches(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto quads = calls_of<int(coordinates&, const number_list&, unsigned, connectivity&)>(
        calls, "mesh_struct_Q4", mesh_struct_Q4);
    const auto fill_Q4 = [&in](auto f, coordinates& pos, connectivity& connect) {
        return f(pos, in.loop, 9, connect);
    };
    quads.with("plane", fill_Q4, in.outline_plane, in.none)
        .with("space, behind others", fill_Q4, in.outline_space, in.quads_there)
        .with("views", fill_Q4, framed(in.outline_plane).view, in.quads_view)
        .with(
            "loop is a view",
            [&in](auto f, coordinates& pos, connectivity& connect) {
                return f(pos, in.view_of_loop, 1, connect);
            },
            in.outline_space, in.none)
        .with("rough outline", fill_Q4, in.rough_plane[0].pos, in.none)
        .with(
            "count that does not fit",
            [&in](auto f, coordinates& pos, connectivity& connect) {
                return f(pos, in.loop, 900, connect);
            },
            in.outline_plane, in.quads_there);

    const auto triangles =
        calls_of<int(coordinates&, const number_list&, unsigned, int, connectivity&)>(
            calls, "mesh_struct_T3", mesh_struct_T3);
    for (const int pattern : patterns) {
        const auto fill_T3 = [&in, pattern](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, in.loop, 9, pattern, connect);
        };
        triangles.with(with_pattern("plane", pattern), fill_T3, in.outline_plane, in.none)
            .with(with_pattern("space, behind others", pattern), fill_T3, in.outline_space,
                  in.quads_there)
            .with(with_pattern("views", pattern), fill_T3, framed(in.outline_plane).view,
                  in.triangles_view);
    }
    triangles.with(
        "no cell in the first direction",
        [&in](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, in.loop, 21, 0, connect);
        },
        in.outline_plane, in.none);
}

void add_sizes(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto fill = [&in](auto f, auto& metrics) { return f(in.loop, 9, metrics); };
    calls_of<int(const number_list&, unsigned, value_list&)>(calls, "metrics_struct",
                                                             metrics_struct)
        .with("sizes", fill, in.outline_sizes)
        .with(
            "sizes, no cell in the first direction",
            [&in](auto f, value_list& sizes) { return f(in.loop, 21, sizes); }, in.outline_sizes);
    calls_of<int(const number_list&, unsigned, coordinates&)>(calls, "metrics_struct",
                                                              metrics_struct)
        .with("tensors of order 2", fill, in.outline_tensors3)
        .with("tensors of order 3", fill, in.outline_tensors6)
        .with("tensors of order 3, view", fill, framed(in.outline_tensors6).view);
}

void add_disks(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector2 center{0.3, -1.7};
    const auto make_Q4 = [center](auto f, coordinates& pos, connectivity& connect,
                                  connectivity& boundary) {
        return f(pos, center, 1.25, 5, connect, boundary);
    };
    using disk_Q4 =
        int(coordinates&, const vector2&, double, unsigned, connectivity&, connectivity&);
    using disk_T3 =
        int(coordinates&, const vector2&, double, unsigned, int, connectivity&, connectivity&);
    const auto two_of_Q4 = {calls_of<disk_Q4>(calls, "mesh_disk_UR_Q4", mesh_disk_UR_Q4),
                            calls_of<disk_Q4>(calls, "mesh_disk_Q4", mesh_disk_Q4)};
    for (const auto& f : two_of_Q4) {
        f.with("empty", make_Q4, in.no_points, in.none, in.none)
            .with("elements there", make_Q4, in.no_points, in.quads_there, in.edges_there)
            .with("nodes there", make_Q4, in.outline_plane, in.none, in.none)
            .with(
                "radius 0",
                [center](auto g, coordinates& pos, connectivity& connect, connectivity& boundary) {
                    return g(pos, center, 0, 2, connect, boundary);
                },
                in.no_points, in.none, in.none)
            .with(
                "radius not a number",
                [center](auto g, coordinates& pos, connectivity& connect, connectivity& boundary) {
                    return g(pos, center, nan, 2, connect, boundary);
                },
                in.no_points, in.none, in.none);
    }
    const auto two_of_T3 = {calls_of<disk_T3>(calls, "mesh_disk_UR_T3", mesh_disk_UR_T3),
                            calls_of<disk_T3>(calls, "mesh_disk_T3", mesh_disk_T3)};
    for (const auto& f : two_of_T3) {
        for (const int pattern : {0, 1, 2, 7}) {
            f.with(
                with_pattern("empty", pattern),
                [=](auto g, coordinates& pos, connectivity& connect, connectivity& boundary) {
                    return g(pos, center, 1.25, 4, pattern, connect, boundary);
                },
                in.no_points, in.none, in.none);
        }
        f.with(
            "elements there",
            [=](auto g, coordinates& pos, connectivity& connect, connectivity& boundary) {
                return g(pos, center, 1e-3, 3, 2, connect, boundary);
            },
            in.no_points, in.quads_there, in.edges_there);
    }
}

void add_octants(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector3 center{0.3, -1.7, 12};
    const auto make_Q4 = [center](auto f, coordinates& pos, connectivity& connect,
                                  connectivity& boundary) {
        return f(pos, center, 1.25, 5, connect, boundary);
    };
    calls_of<int(coordinates&, const vector3&, double, unsigned, connectivity&, connectivity&)>(
        calls, "mesh_sphere_UR_Q4", mesh_sphere_UR_Q4)
        .with("empty", make_Q4, in.no_points, in.none, in.none)
        .with("behind others", make_Q4, in.outline_space, in.quads_there, in.edges_there)
        .with("views", make_Q4, framed(in.outline_space).view, in.quads_view, in.none);
    const auto triangles =
        calls_of<int(coordinates&, const vector3&, double, unsigned, int, connectivity&,
                     connectivity&)>(calls, "mesh_sphere_UR_T3", mesh_sphere_UR_T3);
    for (const int pattern : {0, 1, 2, -1}) {
        triangles.with(
            with_pattern("behind others", pattern),
            [=](auto f, coordinates& pos, connectivity& connect, connectivity& boundary) {
                return f(pos, center, 1.25, 4, pattern, connect, boundary);
            },
            in.outline_space, in.triangles_there, in.edges_there);
    }
}

void add_spheres(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector3 center{0.3, -1.7, 12};
    const auto make_Q4 = [center](auto f, coordinates& pos, connectivity& connect,
                                  auto&... circles) {
        return f(pos, center, 1.25, 4, connect, circles...);
    };
    calls_of<int(coordinates&, const vector3&, double, unsigned, connectivity&)>(
        calls, "mesh_sphere_Q4", mesh_sphere_Q4)
        .with("empty", make_Q4, in.no_points, in.none)
        .with("behind others", make_Q4, in.outline_space, in.quads_there);
    calls_of<int(coordinates&, const vector3&, double, unsigned, connectivity&, connectivity&,
                 connectivity&)>(calls, "mesh_sphere_Q4", mesh_sphere_Q4)
        .with("circles", make_Q4, in.no_points, in.none, in.none, in.none)
        .with("circles, behind others", make_Q4, in.outline_space, in.quads_view, in.edges_there,
              in.edges_there);

    const auto plain =
        calls_of<int(coordinates&, const vector3&, double, unsigned, int, connectivity&)>(
            calls, "mesh_sphere_T3", mesh_sphere_T3);
    const auto with_circles =
        calls_of<int(coordinates&, const vector3&, double, unsigned, int, connectivity&,
                     connectivity&, connectivity&)>(calls, "mesh_sphere_T3", mesh_sphere_T3);
    for (const int pattern : {0, 1, 2, 3}) {
        const auto make_T3 = [=](auto f, coordinates& pos, connectivity& connect,
                                 auto&... circles) {
            return f(pos, center, 1.25, 3, pattern, connect, circles...);
        };
        plain.with(with_pattern("empty", pattern), make_T3, in.no_points, in.none);
        with_circles.with(with_pattern("circles, elements there", pattern), make_T3,
                          in.outline_space, in.quads_there, in.edges_there, in.none);
    }
}

} // namespace

void add_generator_calls(std::vector<call>& calls) {
    add_patches(calls);
    add_sizes(calls);
    add_disks(calls);
    add_octants(calls);
    add_spheres(calls);
}

} // namespace zel_test::every_function
