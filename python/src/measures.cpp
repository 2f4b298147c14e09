// SPDX-License-Identifier: Apache-2.0

// Measures, elements around a node, curvatures and sizes derived from a surface.
#include "zel/tessel2d/measures.h"

#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/tessel2d/curvatures.h"
#include "zel/tessel2d/metrics.h"

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;

double area(py::handle pos_, py::handle connect_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    double result = 0;
    run("area", {"pos", "connect"}, [&] { return lib::area(pos.view, connect.view, result); });
    return result;
}

py::tuple angles(py::handle pos_, py::handle connect_, py::handle normalise_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const bool normalise = flag(normalise_, "normalise");
    value_list least, most;
    run("angles", {"pos", "connect"},
        [&] { return lib::angles(pos.view, connect.view, normalise, least, most); });
    return py::make_tuple(give(least), give(most));
}

py::array circumcenters(py::handle pos_, py::handle connect_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    coordinates centers;
    run("circumcenters", {"pos", "connect"},
        [&] { return lib::circumcenters(pos.view, connect.view, centers); });
    return give(centers, pos.view.rows);
}

py::tuple get_connected_elements(py::handle connect_, py::handle neighbors_,
                                 py::handle ancestors_) {
    const auto connect = numbers(connect_, "connect");
    const adjacent a = adjacency_of("get_connected_elements", connect, nodes_named(connect),
                                    neighbors_, ancestors_, 1);
    number_list starts, elements;
    run("get_connected_elements", {"connect", "neighbors", "ancestors"}, [&] {
        return lib::get_connected_elements(connect.view, a.neighbors, a.ancestors, starts,
                                           elements);
    });
    return py::make_tuple(give(starts), give(elements));
}

py::array principal_curvatures(py::handle pos_, py::handle connect_, py::handle radius_,
                               py::handle max_angle_, py::handle max_elements_,
                               py::handle hard_edges_, py::handle neighbors_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const double radius = real(radius_, "radius");
    const double max_angle = real(max_angle_, "max_angle");
    const unsigned max_elements = count(max_elements_, "max_elements");
    const auto hard_edges = numbers_or_nothing(hard_edges_, "hard_edges");
    const adjacent a =
        adjacency_of("principal_curvatures", connect, pos.view.cols, neighbors_, py::handle(), 2);
    coordinates curvatures;
    run("principal_curvatures",
        {"pos", "connect", "neighbors", "radius", "max_angle", "max_elements", "hard_edges"}, [&] {
            return lib::principal_curvatures(pos.view, connect.view, a.neighbors, radius, max_angle,
                                             max_elements, hard_edges.view, curvatures);
        });
    return give(curvatures, 8);
}

py::array parametric_curvatures(py::handle pos_, py::handle connect_, py::handle derivatives_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const auto D = reals(derivatives_, "D");
    coordinates H;
    run("parametric_curvatures", {"pos", "connect", "D"},
        [&] { return lib::parametric_curvatures(pos.view, connect.view, D.view, H); });
    return give(H, 3);
}

py::array metrics_gen_aniso3d(py::handle pos_, py::handle connect_, py::handle size_,
                              py::handle metrics_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const double size = real(size_, "normal_size");
    coordinates metrics;
    if (!metrics_.is_none()) metrics = own_copy(reals(metrics_, "metrics").view);
    run("metrics_gen_aniso3d", {"pos", "connect", "normal_size", "metrics"},
        [&] { return lib::metrics_gen_aniso3d(pos.view, connect.view, size, metrics); });
    return give(metrics, 6);
}

} // namespace

void add_measures(py::module_& m) {
    m.def("area", &area);
    m.def("angles", &angles);
    m.def("circumcenters", &circumcenters);
    m.def("get_connected_elements", &get_connected_elements);
    m.def("principal_curvatures", &principal_curvatures);
    m.def("parametric_curvatures", &parametric_curvatures);
    m.def("metrics_gen_aniso3d", &metrics_gen_aniso3d);
}

} // namespace tessel2d_python
