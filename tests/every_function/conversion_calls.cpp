// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

template <class Add>
void for_each_mesh(Add add) {
    const shared_inputs& in = inputs();
    for (const auto* meshes :
         {&in.plane, &in.surface, &in.surface_views, &in.rough_plane, &in.rough_surface})
        for (const shared_mesh& m : *meshes) add(m);
}

void add_order(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto lower = [](auto f, connectivity& connect) { return f(connect); };
    calls_of<int(connectivity&)>(calls, "convert_into_linear", convert_into_linear)
        .with("T6", lower, in.T6)
        .with("Q8", lower, in.Q8)
        .with("Q9, view", lower, framed(in.Q9).view)
        .with("mixed of 8 rows", lower, in.mixed8)
        .with("mixed of 9 rows", lower, in.mixed9);

    const auto quadratic = calls_of<int(coordinates&, connectivity&)>(
        calls, "convert_into_quadratic", convert_into_quadratic);
    const auto curved = calls_of<int(coordinates&, connectivity&, const connectivity&)>(
        calls, "convert_into_quadratic", convert_into_quadratic);
    const auto in_place = calls_of<int(coordinates&, connectivity&, unsigned, unsigned, unsigned,
                                       const connectivity&)>(calls, "convert_into_high_order",
                                                             convert_into_high_order);
    const auto full = calls_of<int(coordinates&, const connectivity&, unsigned, unsigned, unsigned,
                                   connectivity&, const connectivity&)>(
        calls, "convert_into_high_order", convert_into_high_order);
    for_each_mesh([&](const shared_mesh& m) {
        const auto raise = [](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, connect);
        };
        quadratic.with(m.name, raise, m.pos, m.connect);
        const auto along = [&in](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, connect, in.given_edges);
        };
        curved.with(m.name, along, m.pos, m.connect);
        const auto to_cubic = [&in](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, connect, 2, 4, 1, in.given_edges_cubic);
        };
        in_place.with(m.name + ", cubic", to_cubic, m.pos, m.connect);
        const auto without_inner = [&in](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, connect, 1, 0, 0, in.none);
        };
        in_place.with(m.name + ", edges alone", without_inner, m.pos, m.connect);
        const auto to_quartic = [&in, &m](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, m.connect, 3, 9, 3, connect, in.none);
        };
        full.with(m.name + ", quartic", to_quartic, m.pos, in.quads_there);
        const auto to_quadratic = [&in, &m](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, m.connect, 1, 1, 1, connect, in.given_edges);
        };
        full.with(m.name + ", quadratic along given edges", to_quadratic, m.pos, in.none);
        const auto inner_alone = [&in, &m](auto f, coordinates& pos, connectivity& connect) {
            return f(pos, m.connect, 0, 4, 1, connect, in.none);
        };
        full.with(m.name + ", inside alone", inner_alone, m.pos, in.none);
    });
}

void add_splitting(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto linear = calls_of<int(const connectivity&, connectivity&)>(
        calls, "split_into_linear", split_into_linear);
    const auto split = [](const connectivity& from) {
        return [&from](auto f, connectivity& out) { return f(from, out); };
    };
    linear.with("T6", split(in.T6), in.none)
        .with("T6 behind triangles of 4 rows", split(in.T6), in.quads_there)
        .with("Q9 behind triangles", split(in.Q9), in.triangles_there)
        .with("mixed", split(in.mixed9), in.quads_view);

    const auto quads =
        calls_of<int(coordinates&, const connectivity&, connectivity&, const connectivity&)>(
            calls, "split_into_Q4", split_into_Q4);
    const auto blind = calls_of<int(const connectivity&, connectivity&)>(calls, "split_Q4_into_T3",
                                                                         split_Q4_into_T3);
    const auto better = calls_of<int(const coordinates&, const connectivity&, connectivity&)>(
        calls, "split_Q4_into_T3", split_Q4_into_T3);
    const auto some = calls_of<int(const coordinates&, const connectivity&, double, double, double,
                                   int, number_list&, number_list&, connectivity&)>(
        calls, "split_Q4_into_T3", split_Q4_into_T3);
    for_each_mesh([&](const shared_mesh& m) {
        const auto to_quads = [&in, &m](auto f, coordinates& pos, connectivity& out) {
            return f(pos, m.connect, out, in.none);
        };
        quads.with(m.name, to_quads, m.pos, in.none);
        const auto along = [&in, &m](auto f, coordinates& pos, connectivity& out) {
            return f(pos, m.connect, out, in.given_edges);
        };
        quads.with(m.name + ", given edges", along, m.pos, in.quads_there);
        blind.with(m.name, split(m.connect), in.triangles_there);
        const auto well = [&m](auto f, connectivity& out) { return f(m.pos, m.connect, out); };
        better.with(m.name, well, in.triangles_view);
        if (m.connect.rows != 4) return;
        for (int criterion = 0; criterion <= 6; ++criterion) {
            const auto the_bad = [&m, criterion](auto f, number_list& kept, number_list& cut,
                                                 connectivity& out) {
                return f(m.pos, m.connect, 0.8, 0.7, 0.9, criterion, kept, cut, out);
            };
            some.with(m.name + ", criterion " + std::to_string(criterion), the_bad, in.no_list,
                      in.loop, in.quads_there);
        }
    });
}

void add_orientation(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto turn = [](auto f, connectivity& connect) { return f(connect); };
    calls_of<int(connectivity&)>(calls, "flip", flip)
        .with("triangles", turn, in.plane[0].connect)
        .with("mixed, view", turn, in.plane_views[2].connect)
        .with("nine rows", turn, in.mixed9);
    const auto of_kind = calls_of<int(connectivity&, zel::element_type)>(calls, "flip", flip);
    const auto with_neighbors =
        calls_of<int(connectivity&, connectivity&, zel::element_type)>(calls, "flip", flip);
    struct kind {
        const char* name;
        const connectivity& connect;
        zel::element_type type;
    };
    const kind kinds[] = {{"T3", in.plane[0].connect, zel::ELEMENT_T3},
                          {"T6", in.T6, zel::ELEMENT_T6},
                          {"Q4", in.plane[1].connect, zel::ELEMENT_Q4},
                          {"Q8", in.Q8, zel::ELEMENT_Q8},
                          {"Q9", in.Q9, zel::ELEMENT_Q9},
                          {"mixed", in.plane[2].connect, zel::ELEMENT_FACE},
                          {"mixed of 8 rows", in.mixed8, zel::ELEMENT_FACE},
                          {"mixed of 9 rows", in.mixed9, zel::ELEMENT_FACE}};
    for (const kind& k : kinds) {
        const zel::element_type type = k.type;
        of_kind.with(
            k.name, [type](auto f, connectivity& connect) { return f(connect, type); }, k.connect);
        const unsigned sides = k.connect.rows == 3 || k.connect.rows == 6 ? 3 : 4;
        connectivity neighbors(sides, k.connect.cols);
        for (std::size_t e = 0; e < neighbors.cols; ++e)
            for (unsigned i = 0; i < sides; ++i) neighbors(i, e) = static_cast<unsigned>(4 * e + i);
        with_neighbors.with(
            k.name,
            [type](auto f, connectivity& connect, connectivity& beside) {
                return f(connect, beside, type);
            },
            k.connect, neighbors);
    }

    const auto reorient = calls_of<int(connectivity&, connectivity&, unsigned, int)>(
        calls, "mesh_reorient", mesh_reorient);
    for (const int all : {0, 1}) {
        reorient.with(
            all == 0 ? "one part" : "all parts",
            [all](auto f, connectivity& connect, connectivity& neighbors) {
                return f(connect, neighbors, 17, all);
            },
            in.disordered, in.disordered_neighbors);
    }
    reorient.with(
        "views, in order already",
        [](auto f, connectivity& connect, connectivity& neighbors) {
            return f(connect, neighbors, 0, 1);
        },
        in.surface_views[1].connect, in.surface_views[1].neighbors);
}

void add_degenerate(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto convert = [](auto f, connectivity& connect, auto&... changed) {
        return f(connect, changed...);
    };
    calls_of<int(connectivity&)>(calls, "convert_degenerated_Q4", convert_degenerated_Q4)
        .with("collapsed", convert, in.collapsed_Q4)
        .with("collapsed, view", convert, framed(in.collapsed_Q4).view);
    calls_of<int(connectivity&, number_list&)>(calls, "convert_degenerated_Q",
                                               convert_degenerated_Q)
        .with("Q4", convert, in.collapsed_Q4, in.no_list)
        .with("Q8", convert, in.collapsed_Q8, in.loop)
        .with("Q9, view", convert, in.collapsed_Q9, in.no_list);
}

} // namespace

void add_conversion_calls(std::vector<call>& calls) {
    add_order(calls);
    add_splitting(calls);
    add_orientation(calls);
    add_degenerate(calls);
}

} // namespace zel_test::every_function
