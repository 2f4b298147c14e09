// SPDX-License-Identifier: Apache-2.0

// Services that hosts and the library share, the host tools, and the version.
#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d/version.h"

#include <string>

namespace tessel2d_python {

namespace {

/// Fuses coincident nodes and takes away those that no element uses any more.
py::tuple merge(py::handle pos_, py::handle connect_, py::handle tolerance_) {
    auto pos = own_copy(reals(pos_, "pos").view);
    auto connect = own_copy(numbers(connect_, "connect").view);
    const double tolerance = real(tolerance_, "tolerance");
    const std::size_t before = pos.cols;
    run("merge", {"pos"}, [&] {
        const int status = zel::tessel::merge(pos, connect, tolerance, 0);
        return status == 0 ? zel::tessel::simplify(pos, connect, 0) : status;
    });
    return py::make_tuple(give(pos, 3), give(connect, 3), before - pos.cols);
}

py::tuple build_adjacency(py::handle connect_, py::handle nodes_) {
    const auto connect = numbers(connect_, "connect");
    const std::size_t nodes = nodes_.is_none() ? nodes_named(connect) : count(nodes_, "nodes");
    zel::host::adjacency built;
    run("build_adjacency", {"connect", "nodes"},
        [&] { return zel::host::build_adjacency(connect.view, nodes, built); });
    return py::make_tuple(give(built.neighbors, connect.view.rows), give(built.ancestors),
                          built.shared_by_more);
}

/// Both tables, as given or built, for the layer of Python.
py::tuple adjacency(const std::string& function, py::handle connect_, py::handle nodes_,
                    py::handle neighbors_, py::handle ancestors_) {
    const auto connect = numbers(connect_, "connect");
    adjacent a =
        adjacency_of(function.c_str(), connect, count(nodes_, "nodes"), neighbors_, ancestors_, 2);
    const auto back = [](const py::object& given, const auto& built) {
        return given ? given : py::object(built());
    };
    return py::make_tuple(
        back(a.keep_neighbors, [&] { return give(a.neighbors, connect.view.rows); }),
        back(a.keep_ancestors, [&] { return give(a.ancestors); }));
}

/// The array as one of float64 in one or two dimensions.
py::array as_field(py::handle given, const std::string& name) {
    return dimensions(given) == 1 ? real_list(given, name.c_str()).array
                                  : reals(given, name.c_str()).array;
}

void test_columns(const std::string& function, py::array given, py::ssize_t columns, int argument,
                  const std::string& name) {
    if (given.ndim() != 2 || given.shape(1) != columns)
        raise_for(function.c_str(), argument, name.c_str());
}
void test_length(const std::string& function, py::array given, py::ssize_t length, int argument,
                 const std::string& name) {
    if (given.ndim() == 0 || given.shape(0) != length)
        raise_for(function.c_str(), argument, name.c_str());
}

} // namespace

void add_services(py::module_& m) {
    m.def("version", &zel::tessel2d::version);
    m.def("merge", &merge);
    m.def("adjacency", &adjacency);
    m.def("as_reals", [](py::handle given, const std::string& name) {
        return reals(given, name.c_str()).array;
    });
    m.def("as_numbers", [](py::handle given, const std::string& name) {
        return numbers(given, name.c_str()).array.attr("view")("uint32");
    });
    m.def("as_field", &as_field);
    m.def("test_columns", &test_columns);
    m.def("test_length", &test_length);
    m.def("build_adjacency", &build_adjacency);
}

} // namespace tessel2d_python
