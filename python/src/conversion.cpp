// SPDX-License-Identifier: Apache-2.0

// The order of elements, and their splitting into linear ones.
#include "zel/tessel2d/conversion.h"

#include "arrays.h"
#include "call.h"
#include "families.h"

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;

py::array convert_into_linear(py::handle connect_) {
    auto connect = own_copy(numbers(connect_, "connect").view);
    run("convert_into_linear", {"connect"}, [&] { return lib::convert_into_linear(connect); });
    return give(connect, 3);
}

py::tuple convert_into_quadratic(py::handle pos_, py::handle connect_, py::handle edges_) {
    const auto given = reals(pos_, "pos");
    const auto elements = numbers(connect_, "connect");
    const auto edges = numbers_or_nothing(edges_, "edges");
    auto pos = to_grow(given);
    auto connect = own_copy(elements.view);
    run("convert_into_quadratic", {"pos", "connect", "", "", "", "edges"}, [&] {
        return edges_.is_none() ? lib::convert_into_quadratic(pos, connect)
                                : lib::convert_into_quadratic(pos, connect, edges.view);
    });
    return py::make_tuple(give(pos, 0), give(connect, elements.view.rows == 3 ? 6 : 9));
}

py::tuple convert_into_high_order(py::handle pos_, py::handle connect_, py::handle a_,
                                  py::handle b_, py::handle c_, py::handle edges_) {
    const auto given = reals(pos_, "pos");
    const auto elements = numbers(connect_, "connect");
    const unsigned a = count(a_, "a");
    const unsigned b = count(b_, "b");
    const unsigned c = count(c_, "c");
    const auto edges = numbers_or_nothing(edges_, "edges");
    auto pos = to_grow(given);
    connectivity connect;
    run("convert_into_high_order", {"pos", "connect", "a", "b", "c", "edges"}, [&] {
        return lib::convert_into_high_order(pos, elements.view, a, b, c, connect, edges.view);
    });
    return py::make_tuple(give(pos, 0), give(connect, elements.view.rows));
}

py::array split_into_linear(py::handle connect_) {
    const auto elements = numbers(connect_, "connect");
    connectivity connect;
    run("split_into_linear", {"connect"},
        [&] { return lib::split_into_linear(elements.view, connect); });
    return give(connect, elements.view.rows == 9 ? 4 : 3);
}

py::tuple split_into_Q4(py::handle pos_, py::handle connect_, py::handle edges_) {
    const auto given = reals(pos_, "pos");
    const auto elements = numbers(connect_, "connect");
    const auto edges = numbers_or_nothing(edges_, "edges");
    auto pos = to_grow(given);
    connectivity connect;
    run("split_into_Q4", {"pos", "connect", "", "edges"},
        [&] { return lib::split_into_Q4(pos, elements.view, connect, edges.view); });
    return py::make_tuple(give(pos, 0), give(connect, 4));
}

/// Along the first diagonal, or along the better one if there are coordinates.
py::array split_all_Q4(py::handle connect_, py::handle pos_) {
    const auto elements = numbers(connect_, "connect");
    connectivity connect;
    if (pos_.is_none()) {
        run("split_Q4_into_T3", {"connect"},
            [&] { return lib::split_Q4_into_T3(elements.view, connect); });
    } else {
        const auto pos = reals(pos_, "pos");
        run("split_Q4_into_T3", {"pos", "connect"},
            [&] { return lib::split_Q4_into_T3(pos.view, elements.view, connect); });
    }
    return give(connect, 3);
}

py::tuple split_bad_Q4(py::handle connect_, py::handle pos_, py::handle quality_, py::handle angle_,
                       py::handle warp_, py::handle criterion_) {
    const auto elements = numbers(connect_, "connect");
    const auto pos = reals(pos_, "pos");
    const double quality = real(quality_, "min_quality");
    const double angle = real(angle_, "min_angle");
    const double warp = real(warp_, "min_warp");
    const int criterion = integer(criterion_, "criterion");
    connectivity connect;
    number_list kept, split;
    run("split_Q4_into_T3", {"pos", "connect"}, [&] {
        return lib::split_Q4_into_T3(pos.view, elements.view, quality, angle, warp, criterion, kept,
                                     split, connect);
    });
    return py::make_tuple(give(connect, 4), give(kept), give(split));
}

} // namespace

void add_conversion(py::module_& m) {
    m.def("convert_into_linear", &convert_into_linear);
    m.def("convert_into_quadratic", &convert_into_quadratic);
    m.def("convert_into_high_order", &convert_into_high_order);
    m.def("split_into_linear", &split_into_linear);
    m.def("split_into_Q4", &split_into_Q4);
    m.def("split_all_Q4", &split_all_Q4);
    m.def("split_bad_Q4", &split_bad_Q4);
}

} // namespace tessel2d_python
