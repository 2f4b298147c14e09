// SPDX-License-Identifier: Apache-2.0

// Sweeps of a profile of edges. The overloads of one sweep differ in the dimension of its vectors and in
// how layers are asked for, by number or by size.
#include "zel/tessel2d/extrusion.h"

#include "arrays.h"
#include "call.h"
#include "families.h"

#include <string>

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;

/// What all sweeps have in common.
struct sweep {
    const char* name;
    bool triangles;
    int pattern = 0;
    bool counted = false;
    unsigned layers = 0;
    double h0 = 0;
    double h1 = 0;
    bool even = false;
    input<coordinates> given{}; ///< keeps the memory from which `pos` grows
    coordinates pos{};
    input<connectivity> edges{};
    connectivity connect{};
};

/// `how` is (layers, h0, h1, even, pattern); without a pattern the strip is one of quadrilaterals.
sweep sweep_of(const char* name, py::handle pos, py::handle edges, const py::tuple& how) {
    sweep s{name, !how[4].is_none()};
    if (s.triangles) s.pattern = integer(how[4], "pattern");
    s.counted = !how[0].is_none();
    if (s.counted == !how[1].is_none())
        throw py::type_error("layers: either the number of layers is given, or the size h0");
    if (s.counted) {
        if (!how[2].is_none()) throw py::type_error("h1: goes with h0, not with layers");
        if (flag(how[3], "even")) throw py::type_error("even: goes with h0, not with layers");
        s.layers = count(how[0], "layers");
    } else {
        s.h0 = real(how[1], "h0");
        s.h1 = how[2].is_none() ? s.h0 : real(how[2], "h1");
        s.even = flag(how[3], "even");
    }
    s.given = reals(pos, "pos");
    s.pos = to_grow(s.given);
    s.edges = numbers(edges, "edges");
    return s;
}

/// For sweeps that drop the third row of nodes in the memory where they are: in the plane always, along a
/// screw when the layers cannot be made.
void drop_third_row_elsewhere(sweep& s) {
    if (s.pos.rows == 3) s.pos = own_copy(s.pos);
}

py::tuple strip(const sweep& s) {
    return py::make_tuple(give(s.pos, 0), give(s.connect, s.triangles ? 3 : 4));
}

template <std::size_t Dim>
py::tuple translated(sweep& s, const zel::vector_fixed<double, Dim>& T) {
    const connectivity& edges = s.edges;
    const auto body = [&] {
        if (s.triangles)
            return s.counted
                       ? lib::extrude_translate_T3(s.pos, edges, T, s.layers, s.pattern, s.connect)
                       : lib::extrude_translate_T3(s.pos, edges, T, s.h0, s.h1, s.pattern, s.even,
                                                   s.connect);
        return s.counted
                   ? lib::extrude_translate_Q4(s.pos, edges, T, s.layers, s.connect)
                   : lib::extrude_translate_Q4(s.pos, edges, T, s.h0, s.h1, s.even, s.connect);
    };
    if (s.counted)
        run(s.name, {"pos", "edges", "T", "T", "T", "pattern"}, body);
    else
        run(s.name, {"pos", "edges", "T", "h0", "h1", "pattern"}, body);
    return strip(s);
}

py::tuple extrude_translate(const std::string& name, py::handle pos, py::handle edges, py::handle T,
                            const py::tuple& how) {
    sweep s = sweep_of(name.c_str(), pos, edges, how);
    if (dimension(T) == 2) return translated(s, vector<2>(T, "T"));
    return translated(s, vector<3>(T, "T"));
}

/// `C` and `A` are a centre and an angle, or a point and a rotation vector.
template <class Center, class Turn>
py::tuple turned(sweep& s, const Center& C, const Turn& A) {
    const connectivity& edges = s.edges;
    const auto body = [&] {
        if (s.triangles)
            return s.counted
                       ? lib::extrude_rotate_T3(s.pos, edges, C, A, s.layers, s.pattern, s.connect)
                       : lib::extrude_rotate_T3(s.pos, edges, C, A, s.h0, s.h1, s.pattern, s.even,
                                                s.connect);
        return s.counted
                   ? lib::extrude_rotate_Q4(s.pos, edges, C, A, s.layers, s.connect)
                   : lib::extrude_rotate_Q4(s.pos, edges, C, A, s.h0, s.h1, s.even, s.connect);
    };
    if (s.counted)
        run(s.name, {"pos", "edges"}, body);
    else
        run(s.name, {"pos", "edges", "center", "angle", "h0", "h1", "pattern"}, body);
    return strip(s);
}

py::tuple extrude_rotate(const std::string& name, py::handle pos, py::handle edges,
                         py::handle center, py::handle angle, const py::tuple& how) {
    sweep s = sweep_of(name.c_str(), pos, edges, how);
    if (dimension(center) == 3) {
        const auto C = vector<3>(center, "center");
        return turned(s, C, vector<3>(angle, "angle"));
    }
    const auto C = vector<2>(center, "center");
    drop_third_row_elsewhere(s);
    return turned(s, C, real(angle, "angle"));
}

py::tuple extrude_spiral(const std::string& name, py::handle pos, py::handle edges,
                         py::handle center, py::handle angle, py::handle way,
                         const py::tuple& how) {
    sweep s = sweep_of(name.c_str(), pos, edges, how);
    const auto C = vector<3>(center, "center");
    const auto A = vector<3>(angle, "angle");
    const auto T = vector<3>(way, "T");
    drop_third_row_elsewhere(s);
    const connectivity& e = s.edges;
    if (s.triangles)
        run(s.name, {"pos", "edges", "", s.counted ? "T" : "h1", "", s.counted ? "T" : "h0"}, [&] {
            return s.counted
                       ? lib::extrude_spiral_T3(s.pos, e, C, A, T, s.layers, s.pattern, s.connect)
                       : lib::extrude_spiral_T3(s.pos, e, C, A, T, s.h0, s.h1, s.pattern, s.even,
                                                s.connect);
        });
    else
        run(s.name, {"pos", "edges", "", "", "", s.counted ? "T" : "h0", s.counted ? "T" : "h1"},
            [&] {
                return s.counted ? lib::extrude_spiral_Q4(s.pos, e, C, A, T, s.layers, s.connect)
                                 : lib::extrude_spiral_Q4(s.pos, e, C, A, T, s.h0, s.h1, s.even,
                                                          s.connect);
            });
    return strip(s);
}

/// Along a vector for each node.
py::tuple along_vectors(sweep& s, py::handle vectors) {
    if (!s.counted)
        throw py::type_error("layers: vectors go with the number of layers, not with sizes");
    const auto V = reals(vectors, "by");
    const connectivity& edges = s.edges;
    run(s.name, {"pos", "edges", "by"}, [&] {
        return s.triangles ? lib::extrude_normal_T3(s.pos, edges, V, s.layers, s.pattern, s.connect)
                           : lib::extrude_normal_Q4(s.pos, edges, V, s.layers, s.connect);
    });
    return strip(s);
}

/// Along the normals of the profile.
py::tuple along_normals(sweep& s, double H) {
    const connectivity& edges = s.edges;
    const auto body = [&] {
        if (s.triangles)
            return s.counted
                       ? lib::extrude_normal_T3(s.pos, edges, H, s.layers, s.pattern, s.connect)
                       : lib::extrude_normal_T3(s.pos, edges, H, s.h0, s.h1, s.even, s.pattern,
                                                s.connect);
        return s.counted ? lib::extrude_normal_Q4(s.pos, edges, H, s.layers, s.connect)
                         : lib::extrude_normal_Q4(s.pos, edges, H, s.h0, s.h1, s.even, s.connect);
    };
    if (s.counted)
        run(s.name, {"pos", "edges", "by", "by", "by"}, body);
    else
        run(s.name, {"pos", "edges", "by", "h0", "h1"}, body);
    return strip(s);
}

py::tuple extrude_normal(const std::string& name, py::handle pos, py::handle edges, py::handle by,
                         const py::tuple& how) {
    sweep s = sweep_of(name.c_str(), pos, edges, how);
    return dimensions(by) == 0 ? along_normals(s, real(by, "by")) : along_vectors(s, by);
}

} // namespace

void add_extrusion(py::module_& m) {
    m.def("extrude_translate", &extrude_translate);
    m.def("extrude_rotate", &extrude_rotate);
    m.def("extrude_spiral", &extrude_spiral);
    m.def("extrude_normal", &extrude_normal);
}

} // namespace tessel2d_python
