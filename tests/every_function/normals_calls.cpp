// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/normals.h"

#include <initializer_list>

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

constexpr double extreme = std::numeric_limits<double>::max();

/// Smooth meshes, their views, and rough ones.
template <class Add>
void for_each_surface(Add add) {
    const shared_inputs& in = inputs();
    for (const auto* meshes : {&in.surface, &in.surface_views, &in.rough_surface})
        for (const shared_mesh& m : *meshes) add(m);
}

void add_normals(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto at_nodes =
        calls_of<int(const coordinates&, const connectivity&, double, bool, coordinates&)>(
            calls, "normals", normals);
    const auto of_elements =
        calls_of<int(const coordinates&, const connectivity&, bool, coordinates&)>(calls, "normals",
                                                                                   normals);
    for_each_surface([&](const shared_mesh& m) {
        for (const double power : {0.0, 1.0, 2.5, -1.0, extreme, -extreme}) {
            for (const bool unit : {false, true}) {
                const std::string options = m.name + ", power " +
                                            std::to_string(power).substr(0, 4) +
                                            (unit ? ", unit" : "");
                at_nodes.with(
                    options,
                    [=, &m](auto f, coordinates& n) { return f(m.pos, m.connect, power, unit, n); },
                    in.no_points);
            }
        }
        for (const bool unit : {false, true}) {
            of_elements.with(
                m.name + (unit ? ", unit" : ""),
                [=, &m](auto f, coordinates& n) { return f(m.pos, m.connect, unit, n); },
                in.derivatives);
        }
    });
    const shared_mesh& m = in.surface[2];
    at_nodes.with(
        "result is the nodes",
        [&m](auto f, coordinates& pos) { return f(pos, m.connect, 1.0, true, pos); }, m.pos);
    of_elements.with(
        "result is the nodes",
        [&m](auto f, coordinates& pos) { return f(pos, m.connect, true, pos); }, m.pos);
}

void add_offsets(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const tensor3 stretch{0.3, 0.1, 0.2, -0.05, 0.02, 0.7};
    const auto along = calls_of<int(coordinates&, const connectivity&, const coordinates&, double)>(
        calls, "offset", offset);
    const auto by_tensor =
        calls_of<int(coordinates&, const connectivity&, const coordinates&, const tensor3&)>(
            calls, "offset", offset);
    const auto own =
        calls_of<int(coordinates&, const connectivity&, double)>(calls, "offset", offset);
    const auto own_by_tensor =
        calls_of<int(coordinates&, const connectivity&, const tensor3&)>(calls, "offset", offset);
    for_each_surface([&](const shared_mesh& m) {
        along.with(
            m.name, [&](auto f, coordinates& pos) { return f(pos, m.connect, in.vectors, 0.3); },
            m.pos);
        by_tensor.with(
            m.name,
            [&in, &m, stretch](auto f, coordinates& pos) {
                return f(pos, m.connect, in.vectors, stretch);
            },
            m.pos);
        own.with(
            m.name, [&m](auto f, coordinates& pos) { return f(pos, m.connect, -0.2); }, m.pos);
        own_by_tensor.with(
            m.name, [&m, stretch](auto f, coordinates& pos) { return f(pos, m.connect, stretch); },
            m.pos);
    });
    const connectivity few = in.surface[0].connect.sub_matrix(0, 20, 3, 2);
    along
        .with(
            "few elements",
            [few, &in](auto f, coordinates& pos) { return f(pos, few, in.vectors, 2); },
            in.surface[0].pos)
        .with(
            "vectors are the nodes",
            [&in](auto f, coordinates& pos) { return f(pos, in.surface[0].connect, pos, 0.5); },
            in.surface[0].pos);
}

void add_copies(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const tensor3 stretch{0.3, 0.1, 0.2, -0.05, 0.02, 0.7};
    const auto along =
        calls_of<int(coordinates&, const connectivity&, const coordinates&, double, connectivity&)>(
            calls, "copy_with_offset", copy_with_offset);
    const auto by_tensor =
        calls_of<int(coordinates&, const connectivity&, const coordinates&, const tensor3&,
                     connectivity&)>(calls, "copy_with_offset", copy_with_offset);
    const auto own = calls_of<int(coordinates&, const connectivity&, double, connectivity&)>(
        calls, "copy_with_offset", copy_with_offset);
    const auto own_by_tensor =
        calls_of<int(coordinates&, const connectivity&, const tensor3&, connectivity&)>(
            calls, "copy_with_offset", copy_with_offset);
    for_each_surface([&](const shared_mesh& m) {
        along.with(
            m.name,
            [&](auto f, coordinates& pos, connectivity& out) {
                return f(pos, m.connect, in.vectors, 0.3, out);
            },
            m.pos, in.none);
        by_tensor.with(
            m.name,
            [&in, &m, stretch](auto f, coordinates& pos, connectivity& out) {
                return f(pos, m.connect, in.vectors, stretch, out);
            },
            m.pos, in.quads_there);
        own.with(
            m.name,
            [&m](auto f, coordinates& pos, connectivity& out) {
                return f(pos, m.connect, -0.2, out);
            },
            m.pos, in.quads_there);
        own_by_tensor.with(
            m.name,
            [&m, stretch](auto f, coordinates& pos, connectivity& out) {
                return f(pos, m.connect, stretch, out);
            },
            m.pos, in.none);
    });
    const connectivity few = in.surface[2].connect.sub_matrix(0, 20, 4, 2);
    along
        .with(
            "few elements",
            [few, &in](auto f, coordinates& pos, connectivity& out) {
                return f(pos, few, in.vectors, 2, out);
            },
            in.surface[0].pos, in.none)
        .with(
            "copy takes the place of the elements",
            [&in](auto f, coordinates& pos, connectivity& out) {
                return f(pos, out, in.vectors, 0, out);
            },
            in.surface[1].pos, in.surface[1].connect);
}

} // namespace

void add_normal_calls(std::vector<call>& calls) {
    add_normals(calls);
    add_offsets(calls);
    add_copies(calls);
}

} // namespace zel_test::every_function
