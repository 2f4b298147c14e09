// SPDX-License-Identifier: Apache-2.0

// Location of points, and fields and sizes carried onto nodes that belong to no element.
#include "zel/tessel2d/location.h"

#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/tessel2d/metrics.h"

#include <algorithm>
#include <limits>

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;
using zel::tessel::node_detector;

/// The kind under which a connectivity of 3 or 4 rows is read.
zel::element_type kind_by_rows(const connectivity& connect) {
    return connect.rows == 3 ? zel::ELEMENT_T3 : zel::ELEMENT_FACE;
}

/// A search tree over the nodes that have an element: from others no search can start. It takes finite
/// nodes only, so that the others are made to be none.
node_detector detector_over(const coordinates& pos, const number_list& ancestors) {
    if (ancestors.size != pos.cols || pos.rows != 2) return node_detector(pos);
    if (std::find(ancestors.begin(), ancestors.end(), none) == ancestors.end())
        return node_detector(pos);
    coordinates used;
    if (!used.copy(pos)) return node_detector(pos);
    for (std::size_t j = 0; j < used.cols; ++j)
        if (ancestors[j] == none) used(0, j) = std::numeric_limits<double>::quiet_NaN();
    return node_detector(used);
}

py::object get_element_containing_point(py::handle pos_, py::handle connect_, py::handle p_,
                                        py::handle tolerance_, py::handle neighbors_,
                                        py::handle ancestors_, const node_detector* detector) {
    constexpr const char* name = "get_element_containing_point";
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const auto p = vector<2>(p_, "p");
    const double tolerance = real(tolerance_, "tolerance");
    const adjacent a = adjacency_of(name, connect, pos.view.cols, neighbors_, ancestors_, 2);
    unsigned element = none;
    const auto find = [&](const node_detector& nodes) {
        return lib::get_element_containing_point(pos.view, connect.view, a.neighbors, a.ancestors,
                                                 nodes, kind_by_rows(connect), p, element,
                                                 tolerance);
    };
    const int found = run(name, {"pos", "connect", "neighbors", "ancestors"}, [&] {
        return find(detector ? *detector : detector_over(pos.view, a.ancestors));
    });
    return found == 1 ? py::object(py::int_(element)) : py::none();
}

/// A field that a function fills in, of any number of components.
struct carried {
    const char* name;
    const char* field_name;
    input<coordinates> pos;
    input<connectivity> connect;
    adjacent beside;

    template <class Body>
    void fill(const Body& body) const {
        run(name, {"pos", "connect", "neighbors", "ancestors", field_name, "nodes"}, body);
    }
};
carried carried_of(const char* name, const char* field_name, py::handle pos_, py::handle connect_,
                   py::handle neighbors_, py::handle ancestors_) {
    auto pos = reals(pos_, "pos");
    auto connect = numbers(connect_, "connect");
    adjacent beside = adjacency_of(name, connect, pos.view.cols, neighbors_, ancestors_, 2);
    return {name, field_name, std::move(pos), std::move(connect), std::move(beside)};
}

/// Calls `fill` on the field, or on a copy of it, and returns what was filled.
template <class Fill>
py::object filled(const char* name, py::handle field_, bool inplace, const Fill& fill) {
    if (dimensions(field_) == 2) {
        const auto given = inplace ? reals_in_place(field_, name) : reals(field_, name);
        coordinates field = inplace ? given.view : own_copy(given.view);
        fill(field);
        return inplace ? py::reinterpret_borrow<py::object>(field_) : py::object(give(field, 0));
    }
    const auto given = inplace ? real_list_in_place(field_, name) : real_list(field_, name);
    value_list field = inplace ? given.view : own_copy(given.view);
    fill(field);
    return inplace ? py::reinterpret_borrow<py::object>(field_) : py::object(give(field));
}

py::object interpolate(py::handle pos_, py::handle connect_, py::handle field_, py::handle nodes_,
                       py::handle neighbors_, py::handle ancestors_, py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    const carried c = carried_of("interpolate", "field", pos_, connect_, neighbors_, ancestors_);
    const auto nodes = numbers_list(nodes_, "nodes");
    return filled("field", field_, inplace, [&](auto& field) {
        c.fill([&] {
            return lib::interpolate(c.pos.view, c.connect.view, c.beside.neighbors,
                                    c.beside.ancestors, field, nodes.view, kind_by_rows(c.connect));
        });
    });
}

py::object interpolate_metrics(py::handle pos_, py::handle connect_, py::handle metrics_,
                               py::handle nodes_, py::handle keep_valid_, py::handle neighbors_,
                               py::handle ancestors_, py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    const carried c =
        carried_of("interpolate_metrics", "metrics", pos_, connect_, neighbors_, ancestors_);
    const bool keep_valid = flag(keep_valid_, "keep_valid");
    const zel::element_type kind = kind_by_rows(c.connect);
    input<number_list> nodes{};
    if (!nodes_.is_none()) nodes = numbers_list(nodes_, "nodes");
    return filled("metrics", metrics_, inplace, [&](auto& metrics) {
        c.fill([&] {
            return nodes_.is_none()
                       ? lib::interpolate_metrics(c.pos.view, c.connect.view, c.beside.neighbors,
                                                  c.beside.ancestors, metrics, keep_valid, kind)
                       : lib::interpolate_metrics(c.pos.view, c.connect.view, c.beside.neighbors,
                                                  c.beside.ancestors, metrics, nodes.view,
                                                  keep_valid, kind);
        });
    });
}

void add_detector(py::module_& m) {
    py::class_<node_detector>(m, "NodeDetector",
                              "Finds nodes of a planar mesh near a point: NodeDetector(pos).")
        .def(py::init([](py::handle pos_) {
                 const auto pos = reals(pos_, "pos");
                 const py::gil_scoped_release unlocked;
                 return node_detector(pos.view);
             }),
             py::arg("pos"))
        .def(
            "find_close",
            [](const node_detector& d, py::handle p) { return d.find_close(vector<2>(p, "p")); },
            py::arg("p"),
            "The number of a node near the point, quickly; 0xFFFFFFFF if there is none.")
        .def(
            "find_closest",
            [](const node_detector& d, py::handle p) { return d.find_closest(vector<2>(p, "p")); },
            py::arg("p"),
            "The number of the nearest node, of several the lowest; 0xFFFFFFFF if there is none.")
        .def("__len__", &node_detector::size);
}

} // namespace

void add_location(py::module_& m) {
    add_detector(m);
    m.def("get_element_containing_point", &get_element_containing_point);
    m.def("interpolate", &interpolate);
    m.def("interpolate_metrics", &interpolate_metrics);
}

} // namespace tessel2d_python
