// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/tessel2d/extrusion.h"

namespace zel_test::every_function {

namespace {

using namespace zel::tessel2d;

/// Every profile, given by `pos_of`, into an empty output, and one behind elements that are there.
/// `sweep` takes function, coordinates, edges and output.
template <class Function, class PosOf, class Sweep>
void add_sweeps(const Function& f, const std::string& options, PosOf pos_of,
                const connectivity& there, Sweep sweep) {
    for (const shared_profile& p : inputs().profiles) {
        f.with(
            p.name + options,
            [&p, sweep](auto g, coordinates& pos, connectivity& connect) {
                return sweep(g, pos, p.edges, connect);
            },
            pos_of(p), inputs().none);
    }
    const shared_profile& chain = inputs().profiles[0];
    f.with(
        "behind others" + options,
        [&chain, sweep](auto g, coordinates& pos, connectivity& connect) {
            return sweep(g, pos, chain.edges, connect);
        },
        framed(pos_of(chain)).view, there);
}
const coordinates& plane_of(const shared_profile& p) {
    return p.plane;
}
const coordinates& space_of(const shared_profile& p) {
    return p.space;
}

/// The patterns of triangles, and one that does not exist, for functions that take any.
constexpr int no_pattern = 5;
template <class Add>
void for_each_pattern(Add add) {
    for (const int pattern : {0, 1, 2, no_pattern})
        add(", pattern " + std::to_string(pattern), pattern);
}

// -------------------------------------------------------------------------------------- translation

template <class Vector, class PosOf>
void add_translations(std::vector<call>& calls, PosOf pos_of, const Vector& way) {
    const shared_inputs& in = inputs();
    const auto sized_Q4 =
        calls_of<int(coordinates&, const connectivity&, const Vector&, double, double, bool,
                     connectivity&)>(calls, "extrude_translate_Q4", extrude_translate_Q4);
    for (const bool even : {false, true}) {
        add_sweeps(sized_Q4, even ? ", graded, even" : ", graded", pos_of, in.quads_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, way, 0.1, 0.37, even, connect);
                   });
    }
    add_sweeps(
        calls_of<int(coordinates&, const connectivity&, const Vector&, unsigned, connectivity&)>(
            calls, "extrude_translate_Q4", extrude_translate_Q4),
        ", counted", pos_of, in.quads_view, [=](auto f, auto& pos, auto& edges, auto& connect) {
            return f(pos, edges, way, 5, connect);
        });
    const auto sized_T3 =
        calls_of<int(coordinates&, const connectivity&, const Vector&, double, double, int, bool,
                     connectivity&)>(calls, "extrude_translate_T3", extrude_translate_T3);
    const auto counted_T3 =
        calls_of<int(coordinates&, const connectivity&, const Vector&, unsigned, int,
                     connectivity&)>(calls, "extrude_translate_T3", extrude_translate_T3);
    for_each_pattern([&](const std::string& options, int pattern) {
        if (pattern == no_pattern) return;
        add_sweeps(sized_T3, options, pos_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, way, 0.4, 0.13, pattern, false, connect);
                   });
        add_sweeps(counted_T3, options, pos_of, in.triangles_view,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, way, 4, pattern, connect);
                   });
    });
}

// ----------------------------------------------------------------------------------------- rotation

void add_plane_rotations(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector2 center{0.25, -0.5};
    const auto sized_Q4 =
        calls_of<int(coordinates&, const connectivity&, const vector2&, double, double, double,
                     bool, connectivity&)>(calls, "extrude_rotate_Q4", extrude_rotate_Q4);
    for (const bool even : {false, true}) {
        add_sweeps(sized_Q4, even ? ", graded, even" : ", graded", plane_of, in.quads_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, -1.9, 0.5, 1.7, even, connect);
                   });
    }
    const auto counted_Q4 =
        calls_of<int(coordinates&, const connectivity&, const vector2&, double, unsigned,
                     connectivity&)>(calls, "extrude_rotate_Q4", extrude_rotate_Q4);
    const auto turn = [=](auto f, auto& pos, auto& edges, auto& connect) {
        return f(pos, edges, center, 2.4, 6, connect);
    };
    add_sweeps(counted_Q4, ", counted", plane_of, in.quads_view, turn);
    add_sweeps(counted_Q4, ", counted, three rows", space_of, in.quads_there, turn);

    const auto sized_T3 =
        calls_of<int(coordinates&, const connectivity&, const vector2&, double, double, double, int,
                     bool, connectivity&)>(calls, "extrude_rotate_T3", extrude_rotate_T3);
    const auto counted_T3 =
        calls_of<int(coordinates&, const connectivity&, const vector2&, double, unsigned, int,
                     connectivity&)>(calls, "extrude_rotate_T3", extrude_rotate_T3);
    for_each_pattern([&](const std::string& options, int pattern) {
        add_sweeps(counted_T3, options, plane_of, in.triangles_view,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, 6.3, 3, pattern, connect);
                   });
        if (pattern == no_pattern) return;
        add_sweeps(sized_T3, options, plane_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, 1.1, 0.6, 0.6, pattern, true, connect);
                   });
    });
}

void add_space_rotations(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector3 center{0.25, -0.5, 1};
    const vector3 axis{0.7, -1.1, 0.4};
    const auto sized_Q4 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&, double,
                     double, bool, connectivity&)>(calls, "extrude_rotate_Q4", extrude_rotate_Q4);
    for (const bool even : {false, true}) {
        add_sweeps(sized_Q4, even ? ", graded, even" : ", graded", space_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, 0.5, 1.7, even, connect);
                   });
    }
    const auto counted_Q4 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&, unsigned,
                     connectivity&)>(calls, "extrude_rotate_Q4", extrude_rotate_Q4);
    const auto turn = [=](auto f, auto& pos, auto& edges, auto& connect) {
        return f(pos, edges, center, axis, 6, connect);
    };
    add_sweeps(counted_Q4, ", counted", space_of, in.triangles_view, turn);
    add_sweeps(counted_Q4, ", counted, widened", plane_of, in.triangles_there, turn);

    const auto sized_T3 = calls_of<int(coordinates&, const connectivity&, const vector3&,
                                       const vector3&, double, double, int, bool, connectivity&)>(
        calls, "extrude_rotate_T3", extrude_rotate_T3);
    const auto counted_T3 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&, unsigned,
                     int, connectivity&)>(calls, "extrude_rotate_T3", extrude_rotate_T3);
    for_each_pattern([&](const std::string& options, int pattern) {
        add_sweeps(sized_T3, options, plane_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, 1.6, 0.6, pattern, true, connect);
                   });
        add_sweeps(counted_T3, options, space_of, in.triangles_view,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, 3, pattern, connect);
                   });
    });
}

// ------------------------------------------------------------------------------------------- spiral

void add_spirals(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const vector3 center{0.25, -0.5, 1};
    const vector3 axis{0, 0, 4.2};
    const vector3 way{0.5, -0.1, 2.5};
    const auto sized_Q4 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&,
                     const vector3&, double, double, bool, connectivity&)>(
            calls, "extrude_spiral_Q4", extrude_spiral_Q4);
    for (const bool even : {false, true}) {
        add_sweeps(sized_Q4, even ? ", graded, even" : ", graded", space_of, in.quads_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, way, 0.5, 0.25, even, connect);
                   });
    }
    add_sweeps(calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&,
                            const vector3&, unsigned, connectivity&)>(calls, "extrude_spiral_Q4",
                                                                      extrude_spiral_Q4),
               ", counted", space_of, in.quads_view,
               [=](auto f, auto& pos, auto& edges, auto& connect) {
                   return f(pos, edges, center, axis, way, 6, connect);
               });
    const auto sized_T3 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&,
                     const vector3&, double, double, int, bool, connectivity&)>(
            calls, "extrude_spiral_T3", extrude_spiral_T3);
    const auto counted_T3 =
        calls_of<int(coordinates&, const connectivity&, const vector3&, const vector3&,
                     const vector3&, unsigned, int, connectivity&)>(calls, "extrude_spiral_T3",
                                                                    extrude_spiral_T3);
    for_each_pattern([&](const std::string& options, int pattern) {
        add_sweeps(sized_T3, options, space_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, way, 0.6, 0.6, pattern, true, connect);
                   });
        add_sweeps(counted_T3, options, space_of, in.triangles_view,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, center, axis, way, 3, pattern, connect);
                   });
    });
}

// ------------------------------------------------------------------------------------ along normals

void add_along_normals(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    add_sweeps(calls_of<int(coordinates&, const connectivity&, const coordinates&, unsigned,
                            connectivity&)>(calls, "extrude_normal_Q4", extrude_normal_Q4),
               ", given vectors", plane_of, in.quads_there,
               [&in](auto f, auto& pos, auto& edges, auto& connect) {
                   return f(pos, edges, in.plane_views[0].pos, 4, connect);
               });
    const auto sized_Q4 =
        calls_of<int(coordinates&, const connectivity&, double, double, double, bool,
                     connectivity&)>(calls, "extrude_normal_Q4", extrude_normal_Q4);
    for (const bool even : {false, true}) {
        add_sweeps(sized_Q4, even ? ", graded, even" : ", graded", plane_of, in.quads_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, 1.5, 0.1, 0.45, even, connect);
                   });
    }
    add_sweeps(calls_of<int(coordinates&, const connectivity&, double, unsigned, connectivity&)>(
                   calls, "extrude_normal_Q4", extrude_normal_Q4),
               ", counted", plane_of, in.quads_view,
               [=](auto f, auto& pos, auto& edges, auto& connect) {
                   return f(pos, edges, 0.7, 5, connect);
               });

    const auto given_T3 =
        calls_of<int(coordinates&, const connectivity&, const coordinates&, unsigned, int,
                     connectivity&)>(calls, "extrude_normal_T3", extrude_normal_T3);
    const auto sized_T3 =
        calls_of<int(coordinates&, const connectivity&, double, double, double, bool, int,
                     connectivity&)>(calls, "extrude_normal_T3", extrude_normal_T3);
    const auto counted_T3 =
        calls_of<int(coordinates&, const connectivity&, double, unsigned, int, connectivity&)>(
            calls, "extrude_normal_T3", extrude_normal_T3);
    for_each_pattern([&](const std::string& options, int pattern) {
        add_sweeps(given_T3, options + ", vectors are the nodes", plane_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, pos, 3, pattern, connect);
                   });
        add_sweeps(sized_T3, options, plane_of, in.triangles_there,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, 1.5, 0.4, 0.2, true, pattern, connect);
                   });
        add_sweeps(counted_T3, options, plane_of, in.triangles_view,
                   [=](auto f, auto& pos, auto& edges, auto& connect) {
                       return f(pos, edges, 0.7, 3, pattern, connect);
                   });
    });
}

} // namespace

void add_extrusion_calls(std::vector<call>& calls) {
    add_translations(calls, plane_of, vector2{0.3, 1.6});
    add_translations(calls, space_of, vector3{0.3, 1.6, -0.9});
    add_plane_rotations(calls);
    add_space_rotations(calls);
    add_spirals(calls);
    add_along_normals(calls);
}

} // namespace zel_test::every_function
