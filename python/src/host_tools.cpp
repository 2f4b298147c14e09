// SPDX-License-Identifier: Apache-2.0

// Edges, boundaries and components of a mesh, outlines, volumes and located points, by the host tools.
#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/host/node_orders.h"
#include "zel/host/outlines.h"
#include "zel/host/volume.h"

#include <limits>
#include <memory>
#include <string>
#include <utility>

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

/// Whether the surface is orientable, what stands in the way, and the three numbers that say where.
py::tuple is_orientable(py::handle connect_, py::handle neighbors_) {
    using zel::host::orientation;
    const auto connect = numbers(connect_, "connect");
    const adjacent a = neighbors_of("is_orientable", connect, neighbors_);
    orientation found;
    const int status = run("is_orientable", {"connect", "neighbors"}, [&] {
        return zel::host::is_orientable(connect.view, a.neighbors, found);
    });
    if (found.what == orientation::fault::none)
        return py::make_tuple(status == 1, py::none(), py::none(), py::none(), py::none(),
                              found.against);
    const bool one_sided = found.what == orientation::fault::one_sided;
    return py::make_tuple(status == 1, one_sided ? "one-sided" : "mismatch", found.element,
                          found.edge, found.neighbor, found.against);
}

/// The volume and 0, or NaN and how many edges are open.
py::tuple volume(py::handle pos_, py::handle connect_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    double result = std::numeric_limits<double>::quiet_NaN();
    const int open = run("volume", {"pos", "connect"},
                         [&] { return zel::host::volume(pos.view, connect.view, result); });
    return py::make_tuple(result, open);
}

// ------------------------------------------------------------------------------------- outlines

py::tuple arc(py::handle pos_, py::handle a_, py::handle b_, py::handle center_, py::handle n_) {
    const auto given = reals(pos_, "pos");
    const unsigned a = count(a_, "a");
    const unsigned b = count(b_, "b");
    const auto center = vector<2>(center_, "center");
    const unsigned n = count(n_, "n");
    coordinates pos = to_grow(given);
    number_list line;
    run("arc", {"pos", "a", "b", "center"},
        [&] { return zel::host::arc(pos, a, b, center, n, line); });
    return py::make_tuple(give(pos, 2), give(line));
}

py::array patch_loop(py::handle bottom_, py::handle right_, py::handle top_, py::handle left_) {
    const auto bottom = numbers_list(bottom_, "bottom");
    const auto right = numbers_list(right_, "right");
    const auto top = numbers_list(top_, "top");
    const auto left = numbers_list(left_, "left");
    number_list loop;
    run("patch_loop", {"bottom", "right", "top", "left"},
        [&] { return zel::host::patch_loop(bottom.view, right.view, top.view, left.view, loop); });
    return give(loop);
}

py::tuple curved_edges(py::handle line_, py::handle a_) {
    const auto line = numbers_list(line_, "line");
    const unsigned a = count(a_, "a");
    number_list corners;
    connectivity edges;
    run("curved_edges", {"line", "a"},
        [&] { return zel::host::curved_edges(line.view, a, corners, edges); });
    return py::make_tuple(give(corners), give(edges, std::size_t{a} + 2));
}

py::tuple append(py::handle pos_, py::handle connect_, py::handle pos2_, py::handle connect2_) {
    const auto first = reals(pos_, "pos");
    const auto first_elements = numbers(connect_, "connect");
    const auto second = reals(pos2_, "pos2");
    const auto second_elements = numbers(connect2_, "connect2");
    coordinates pos = to_grow(first);
    connectivity connect = to_grow(first_elements);
    run("append", {"pos", "connect", "pos2", "connect2"},
        [&] { return zel::host::append(pos, connect, second.view, second_elements.view); });
    return py::make_tuple(give(pos, second.view.rows), give(connect, second_elements.view.rows));
}

// ------------------------------------------------------------------------------- located points

using zel::host::locator;

/// A locator and how many nodes its mesh has.
struct located_nodes {
    locator mesh;
    std::size_t nodes = 0;
};

/// `function`, which complains of what does not fit, has the arguments of locator::build in the same places.
std::unique_ptr<located_nodes> build(py::handle pos_, py::handle connect_, py::handle neighbors_,
                                     py::handle ancestors_, const std::string& function) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    auto built = std::make_unique<located_nodes>();
    built->nodes = pos.view.cols;
    const std::initializer_list<const char*> arguments = {"pos", "connect", "neighbors",
                                                          "ancestors"};
    if (neighbors_.is_none() && ancestors_.is_none()) {
        run(function.c_str(), arguments, [&] { return built->mesh.build(pos.view, connect.view); });
        return built;
    }
    const adjacent a =
        adjacency_of(function.c_str(), connect, pos.view.cols, neighbors_, ancestors_, 2);
    run(function.c_str(), arguments,
        [&] { return built->mesh.build(pos.view, connect.view, a.neighbors, a.ancestors); });
    return built;
}

py::object find(const located_nodes& in, py::handle p_, py::handle tolerance_) {
    const auto p = vector<2>(p_, "p");
    const double tolerance = real(tolerance_, "tolerance");
    unsigned element = none;
    const int found = in.mesh.locate(p, element, tolerance);
    if (found < 0) raise("locator::locate(p, element, tolerance)", found, {"p"});
    return found == 1 ? py::object(py::int_(element)) : py::none();
}

py::tuple locate(const located_nodes& in, py::handle points_, py::handle tolerance_,
                 py::handle threads_) {
    const auto points = reals(points_, "points");
    const double tolerance = real(tolerance_, "tolerance");
    const unsigned threads = count(threads_, "threads");
    number_list elements, places;
    coordinates weights;
    run("locator::locate(points, elements, weights, places, tolerance, threads)", {"points"},
        [&] { return in.mesh.locate(points.view, elements, weights, places, tolerance, threads); });
    return py::make_tuple(give(elements), give(weights, weights.rows), give(places));
}

py::tuple transfer(const located_nodes& in, py::handle points_, py::handle threads_) {
    const auto points = reals(points_, "points");
    const unsigned threads = count(threads_, "threads");
    zel::host::transfer_table table;
    run("locator::transfer", {"points"},
        [&] { return in.mesh.transfer(points.view, table, threads); });
    return py::make_tuple(give(table.states), give(table.elements), give(table.local, 2));
}

py::array carry(const located_nodes& in, py::handle states_, py::handle elements_,
                py::handle local_, py::handle field_, py::handle unserved_) {
    const auto states = numbers_list(states_, "table");
    const auto elements = numbers_list(elements_, "table");
    const auto local = reals(local_, "table");
    const double unserved = real(unserved_, "unserved");
    const zel::host::transfer_table table{states.view, elements.view, local.view};
    const auto carried = [&](const auto& field, auto values) {
        run("locator::carry", {"table", "field"},
            [&] { return in.mesh.carry(table, field.view, values, unserved); });
        return values;
    };
    if (dimensions(field_) == 1) return give(carried(real_list(field_, "field"), value_list()));
    const auto field = reals(field_, "field");
    const coordinates values = carried(field, coordinates());
    if (field.view.rows == 0) // values without components, for each point all the same
        return py::array(py::dtype::of<double>(), {states.array.shape(0), py::ssize_t{0}});
    return give(values, field.view.rows);
}

void add_locator(py::module_& m) {
    py::class_<located_nodes>(m, "Locator")
        .def(py::init(&build))
        .def("__len__", [](const located_nodes& in) { return in.nodes; })
        .def("find", &find)
        .def("locate", &locate)
        .def("transfer", &transfer)
        .def("carry", &carry);
}

// -------------------------------------------------------------------------------- order of nodes

/// The order of a format, or None where it does not have the element.
py::object node_order(const std::string& format, const std::string& element) {
    using zel::host::nodal_element;
    constexpr std::pair<const char*, nodal_element> names[] = {
        {"T3", nodal_element::T3},   {"T6", nodal_element::T6},   {"T7", nodal_element::T7},
        {"T10", nodal_element::T10}, {"T15", nodal_element::T15}, {"Q4", nodal_element::Q4},
        {"Q8", nodal_element::Q8},   {"Q9", nodal_element::Q9},   {"Q12", nodal_element::Q12},
        {"Q16", nodal_element::Q16}, {"Q25", nodal_element::Q25}};
    const auto whose =
        format == "gmsh" ? zel::host::node_format::gmsh : zel::host::node_format::vtk;
    for (const auto& [name, kind] : names) {
        if (element != name) continue;
        const unsigned* const order = zel::host::order_to(whose, kind);
        if (!order) return py::none();
        py::list places;
        for (unsigned k = 0; k < zel::host::node_count(kind); ++k) places.append(order[k]);
        return std::move(places);
    }
    return py::none();
}

} // namespace

void add_host_tools(py::module_& m) {
    m.def("unique_edges", &unique_edges);
    m.def("boundary_edges", &boundary_edges);
    m.def("boundary_loops", &boundary_loops);
    m.def("components", &components);
    m.def("is_orientable", &is_orientable);
    m.def("volume", &volume);
    m.def("arc", &arc);
    m.def("patch_loop", &patch_loop);
    m.def("curved_edges", &curved_edges);
    m.def("append", &append);
    m.def("node_order", &node_order);
    add_locator(m);
}

} // namespace tessel2d_python
