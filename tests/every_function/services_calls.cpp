// SPDX-License-Identifier: Apache-2.0
// The services for meshes and lines that stand beside the library: zel::tessel and zel::tessel1d.
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel.h"
#include "zel/tessel1d.h"

namespace zel_test::every_function {

namespace {

namespace tessel = zel::tessel;
namespace tessel1d = zel::tessel1d;
using two_connectivities = std::array<connectivity, 2>;

void add_checks(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto of_kind = calls_of<bool(const connectivity&, zel::element_type, unsigned)>(
        calls, "tessel::check_IDs", tessel::check_IDs);
    const auto of_matrix = calls_of<bool(const connectivity&, unsigned)>(calls, "tessel::check_IDs",
                                                                         tessel::check_IDs);
    const auto of_list =
        calls_of<bool(const number_list&, unsigned)>(calls, "tessel::check_IDs", tessel::check_IDs);
    for (const auto* meshes : {&in.plane, &in.plane_views})
        for (const shared_mesh& m : *meshes)
            for (const unsigned missing : {0u, 1u}) {
                const unsigned bound = static_cast<unsigned>(m.pos.cols) - missing;
                const std::string options = m.name + (missing ? ", one number too large" : "");
                of_kind.with(options, [&m, bound](auto f) { return f(m.connect, m.type, bound); });
                of_matrix.with(options, [&m, bound](auto f) { return f(m.connect, bound); });
                of_list.with(options, [&m, bound](auto f) { return f(m.ancestors, bound); });
            }
}

void add_surgery(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto merge_one = calls_of<int(const coordinates&, connectivity&, double, unsigned)>(
        calls, "tessel::merge", tessel::merge);
    const auto merge_two =
        calls_of<int(const coordinates&, connectivity&, connectivity&, double, unsigned)>(
            calls, "tessel::merge", tessel::merge);
    const auto merge_range =
        calls_of<int(const coordinates&, connectivity*, connectivity*, double, unsigned)>(
            calls, "tessel::merge", tessel::merge);
    for (const coordinates* pos : {&in.crowd_plane, &in.crowd_space}) {
        for (const double tolerance : {1e-9, 0.0, 1.5, infinity, nan}) {
            const std::string options = std::to_string(pos->rows) + " rows, tolerance " +
                                        std::to_string(tolerance * 1e9).substr(0, 4) + "e-9";
            merge_one.with(
                options,
                [=](auto f, connectivity& connect) { return f(*pos, connect, tolerance, 0); },
                in.crowd);
            merge_two.with(
                options,
                [=](auto f, connectivity& connect, connectivity& second) {
                    return f(*pos, connect, second, tolerance, 0);
                },
                framed(in.crowd).view, in.hard_edges);
            merge_range.with(
                options,
                [=](auto f, two_connectivities& all) {
                    return f(*pos, all.data(), all.data() + 2, tolerance, 0);
                },
                two_connectivities{in.crowd, in.hard_edges});
        }
    }

    const auto simplify_one = calls_of<int(coordinates&, connectivity&, unsigned)>(
        calls, "tessel::simplify", tessel::simplify);
    const auto simplify_two = calls_of<int(coordinates&, connectivity&, connectivity&, unsigned)>(
        calls, "tessel::simplify", tessel::simplify);
    const auto simplify_range = calls_of<int(coordinates&, connectivity*, connectivity*, unsigned)>(
        calls, "tessel::simplify", tessel::simplify);
    for (const unsigned first : {0u, 100u, 4000u}) {
        const std::string options = "from node " + std::to_string(first);
        simplify_one.with(
            options,
            [=](auto f, coordinates& pos, connectivity& connect) { return f(pos, connect, first); },
            in.crowd_plane, in.hard_edges);
        simplify_two.with(
            options,
            [=](auto f, coordinates& pos, connectivity& connect, connectivity& second) {
                return f(pos, connect, second, first);
            },
            framed(in.crowd_space).view, in.hard_edges, in.edges_there);
        simplify_range.with(
            options,
            [=](auto f, coordinates& pos, two_connectivities& all) {
                return f(pos, all.data(), all.data() + 2, first);
            },
            in.crowd_space, two_connectivities{in.crowd, in.quads_there});
    }
}

void add_copies(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto plane =
        calls_of<int(coordinates&, connectivity&, const vector2&, const vector2&, double, unsigned,
                     const connectivity&)>(calls, "tessel::copy_mesh", tessel::copy_mesh);
    for (const double angle : {0.0, 1.5707963267948966, 0.6}) {
        plane.with(
            "angle " + std::to_string(angle).substr(0, 3),
            [&in, angle](auto f, coordinates& pos, connectivity& connect) {
                return f(pos, connect, {0.5, -0.25}, {1, 2}, angle, 3, in.plane[2].connect);
            },
            in.plane[2].pos, in.quads_there);
    }
    plane.with(
        "copies behind their source, views",
        [](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, connect, {0, 0}, {1, 2}, 0.3, 2, connect);
        },
        in.plane_views[0].pos, in.plane_views[0].connect);
    const auto space =
        calls_of<int(coordinates&, connectivity&, const vector3&, const vector3&, const vector3&,
                     unsigned, const connectivity&)>(calls, "tessel::copy_mesh", tessel::copy_mesh);
    const vector3 turns[] = {{0, 0, 0}, {0, 3.141592653589793, 0}, {0.3, -0.8, 0.5}};
    for (const vector3& turn : turns) {
        space.with(
            "turn " + std::to_string(&turn - turns),
            [&in, turn](auto f, coordinates& pos, connectivity& connect) {
                return f(pos, connect, {0.5, -0.25, 1}, {1, 2, 3}, turn, 3, in.surface[1].connect);
            },
            in.surface[1].pos, in.none);
    }
}

void add_detector(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto detector = calls_of_class{calls, "tessel::node_detector"};
    const auto ask_all = [](const tessel::node_detector& d, number_list& close,
                            number_list& closest) {
        for (std::size_t i = 0; i < close.size; ++i) {
            const double x = 0.03 * static_cast<double>(i % 40) - 0.1;
            const double y = 0.02 * static_cast<double>(i) - 0.5;
            close[i] = d.find_close({x, y});
            closest[i] = d.find_closest({x, y});
        }
        return d.size();
    };
    const number_list answers(90, 0u);
    const coordinates* const nodes[] = {&in.plane[0].pos, &in.plane_views[1].pos,
                                        &in.rough_plane[2].pos, &in.crowd_plane};
    const char* const names[] = {"plane", "views", "rough plane", "crowd"};
    for (unsigned k = 0; k < 4; ++k) {
        const coordinates& pos = *nodes[k];
        detector.with(
            std::string("built and asked, ") + names[k],
            [&pos, ask_all](number_list& close, number_list& closest) {
                return ask_all(tessel::node_detector(pos), close, closest);
            },
            answers, answers);
    }
    detector.with(
        "asked",
        [&in, ask_all](number_list& close, number_list& closest) {
            return ask_all(in.located[0].detector, close, closest);
        },
        answers, answers);
    detector.with(
        "asked through a copy",
        [&in, ask_all](number_list& close, number_list& closest) {
            const tessel::node_detector copy = in.located[1].detector;
            return ask_all(copy, close, closest);
        },
        answers, answers);
}

void add_tensors(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto smaller = calls_of<bool(const tensor3&, const tensor3&, tensor3&)>(
        calls, "tessel::minimum_metric", tessel::minimum_metric);
    const auto tensor = [&in](std::size_t j) {
        tensor3 m{};
        for (std::size_t i = 0; i < 6; ++i) m[i] = in.outline_tensors6(i, j);
        return m;
    };
    for (std::size_t j = 0; j < 30; ++j) {
        const tensor3 a = tensor(j), b = tensor(j + 1);
        smaller.with(
            "pair " + std::to_string(j), [a, b](auto f, tensor3& m) { return f(a, b, m); },
            tensor3{1, 2, 3, 4, 5, 6});
    }
    const tensor3 zero{}, one{1, 0, 1, 0, 0, 1}, flat{1, 0, 1, 0, 0, 0};
    smaller
        .with(
            "with zero", [zero, one](auto f, tensor3& m) { return f(zero, one, m); }, zero)
        .with(
            "with itself", [](auto f, tensor3& m) { return f(m, m, m); }, tensor(3))
        .with(
            "with a flat one", [flat, b = tensor(4)](auto f, tensor3& m) { return f(flat, b, m); },
            zero);
}

void add_lines(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto at_nodes =
        calls_of<int(const coordinates&, const connectivity&, double, bool, coordinates&)>(
            calls, "tessel1d::normals", tessel1d::normals);
    constexpr double extreme = std::numeric_limits<double>::max();
    for (const shared_profile& p : in.profiles)
        for (const double power : {0.0, 1.0, 2.5, -1.0, extreme, -extreme})
            for (const bool unit : {false, true}) {
                at_nodes.with(
                    p.name + ", power " + std::to_string(power).substr(0, 4) +
                        (unit ? ", unit" : ""),
                    [=, &p](auto f, coordinates& n) { return f(p.plane, p.edges, power, unit, n); },
                    in.outline_plane);
            }
    at_nodes.with(
        "result is the nodes",
        [&in](auto f, coordinates& pos) { return f(pos, in.profiles[1].edges, 1, true, pos); },
        in.profiles[1].plane);

    const auto straight = calls_of<int(coordinates&, unsigned, unsigned, unsigned, number_list&)>(
        calls, "tessel1d::mesh_straight", tessel1d::mesh_straight);
    for (const unsigned n : {1u, 2u, 57u}) {
        const auto divide = [n](auto f, coordinates& pos, number_list& indices) {
            return f(pos, 3, 20, n, indices);
        };
        const std::string options = std::to_string(n) + " cells";
        straight.with(options + ", plane", divide, in.outline_plane, in.no_list)
            .with(options + ", space, views", divide, framed(in.outline_space).view, in.loop);
    }

    calls_of<int(const number_list&, connectivity&)>(calls, "tessel1d::indices_to_connectE2",
                                                     tessel1d::indices_to_connectE2)
        .with(
            "into nothing", [&in](auto f, connectivity& connect) { return f(in.loop, connect); },
            in.none)
        .with(
            "behind others",
            [&in](auto f, connectivity& connect) { return f(in.view_of_loop, connect); },
            framed(in.edges_there).view)
        .with(
            "from its own block",
            [](auto f, connectivity& connect) { return f(connect.as_vector(), connect); },
            in.edges_there);
}

} // namespace

void add_service_calls(std::vector<call>& calls) {
    add_checks(calls);
    add_surgery(calls);
    add_copies(calls);
    add_detector(calls);
    add_tensors(calls);
    add_lines(calls);
}

} // namespace zel_test::every_function
