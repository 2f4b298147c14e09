// SPDX-License-Identifier: Apache-2.0

// Edges, boundaries and components of a mesh, by the host tools.
#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/host/adjacency.h"

namespace tessel2d_python {

namespace {

std::size_t nodes_of(const connectivity& connect, py::handle nodes) {
    return nodes.is_none() ? nodes_named(connect) : count(nodes, "nodes");
}

py::tuple unique_edges(py::handle connect_, py::handle nodes_) {
    const auto connect = numbers(connect_, "connect");
    const std::size_t nodes = nodes_of(connect, nodes_);
    connectivity edges, elements;
    const int shared = run("unique_edges", {"connect", "nodes"}, [&] {
        return zel::host::unique_edges(connect.view, nodes, edges, elements);
    });
    return py::make_tuple(give(edges, 2), give(elements, 2), shared);
}

py::array boundary_edges(py::handle connect_, py::handle nodes_) {
    const auto connect = numbers(connect_, "connect");
    const std::size_t nodes = nodes_of(connect, nodes_);
    connectivity edges;
    run("boundary_edges", {"connect", "nodes"},
        [&] { return zel::host::boundary_edges(connect.view, nodes, edges); });
    return give(edges, 2);
}

py::tuple boundary_loops(py::handle connect_, py::handle nodes_) {
    const auto connect = numbers(connect_, "connect");
    const std::size_t nodes = nodes_of(connect, nodes_);
    number_list starts, loops;
    run("boundary_loops", {"connect", "nodes"},
        [&] { return zel::host::boundary_loops(connect.view, nodes, starts, loops); });
    return py::make_tuple(give(starts), give(loops));
}

py::tuple components(py::handle neighbors_) {
    const auto neighbors = numbers(neighbors_, "neighbors");
    number_list component;
    const int found = run("components", {"neighbors"},
                          [&] { return zel::host::components(neighbors.view, component); });
    return py::make_tuple(found, give(component));
}

} // namespace

void add_host_tools(py::module_& m) {
    m.def("unique_edges", &unique_edges);
    m.def("boundary_edges", &boundary_edges);
    m.def("boundary_loops", &boundary_loops);
    m.def("components", &components);
}

} // namespace tessel2d_python
