// SPDX-License-Identifier: Apache-2.0

// Meshes in parts over the ranks of mpi4py, as the module tessel2d._distributed.
//
// Records of parts are never written to: a function takes one and gives another, which shares what has not changed.
#include "arrays.h"
#include "call.h"

#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/curvatures.h"
#include "zel/distributed/files.h"
#include "zel/distributed/generators.h"
#include "zel/distributed/location.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/merge.h"
#include "zel/distributed/mesh.h"
#include "zel/distributed/normals.h"
#include "zel/distributed/orientation.h"

#include <mpi4py/mpi4py.h>
#include <petscsys.h>

#include <string>
#include <utility>
#include <vector>

namespace tessel2d_python {

namespace {

using zel::dense1D;
using zel::dense2D;
using zel::distributed::home;
using zel::distributed::number;
using zel::distributed::partitioned_mesh;

using global_connectivity = dense2D<number>;

MPI_Comm comm_of(py::handle given) {
    MPI_Comm* const comm = PyMPIComm_Get(given.ptr());
    if (!comm) throw py::error_already_set();
    return *comm;
}

// An array over memory that a matrix or list keeps. Parts share it, so that it is not to be written to.
template <class T, class Kept>
py::array shared(const T* data, std::vector<py::ssize_t> shape, const Kept& kept) {
    const py::capsule keeper(new Kept(kept), [](void* p) { delete static_cast<Kept*>(p); });
    py::array_t<T> out(std::move(shape), data, keeper);
    py::detail::array_proxy(out.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return out;
}
template <class T>
py::array shared(const dense2D<T>& m) {
    return shared(m.data(), {static_cast<py::ssize_t>(m.cols), static_cast<py::ssize_t>(m.rows)},
                  m);
}
template <class T>
py::array shared(const dense1D<T, 8>& v) {
    return shared(v.data(), {static_cast<py::ssize_t>(v.size)}, v);
}

py::array owners(const dense1D<home, 8>& homes) {
    py::array_t<int> out(static_cast<py::ssize_t>(homes.size));
    for (std::size_t k = 0; k < homes.size; ++k)
        out.mutable_at(static_cast<py::ssize_t>(k)) = homes[k].rank;
    return std::move(out);
}

// 64-bit numbers in C order, which the module in front of this one has made of what it was given.
global_connectivity global_numbers(const py::array_t<number, py::array::c_style>& given) {
    const auto cols = static_cast<std::size_t>(given.shape(0)),
               rows = static_cast<std::size_t>(given.shape(1));
    return global_connectivity::wrap(const_cast<number*>(given.data()), rows, cols);
}

// Calls `change` with a copy of the record and gives the copy.
template <class Change>
partitioned_mesh changed(const char* function, std::initializer_list<const char*> arguments,
                         const partitioned_mesh& mesh, const Change& change) {
    partitioned_mesh out = mesh;
    run(function, arguments, [&] { return change(out); });
    return out;
}

partitioned_mesh from_blocks(py::handle comm, py::handle pos_,
                             const py::array_t<number, py::array::c_style>& connect) {
    const MPI_Comm ranks = comm_of(comm);
    const auto pos = reals(pos_, "pos");
    const global_connectivity elements = global_numbers(connect);
    partitioned_mesh mesh;
    run("distributed::from_blocks", {"comm", "pos", "connect"},
        [&] { return zel::distributed::from_blocks(ranks, pos.view, elements, mesh); });
    return mesh;
}

std::vector<zel::distributed::field> fields_of(const py::dict& given) {
    std::vector<zel::distributed::field> out;
    for (const auto& [key, values] : given) {
        const auto name = py::cast<std::string>(key);
        // A list of numbers is a field of one row.
        const py::object table = dimensions(values) == 1
                                     ? values.attr("reshape")(-1, 1)
                                     : py::reinterpret_borrow<py::object>(values);
        const auto matrix = reals(table, name.c_str());
        out.push_back({name, own_copy(matrix.view)});
    }
    return out;
}

py::dict dict_of(const std::vector<zel::distributed::field>& given) {
    py::dict out;
    for (const auto& f : given) out[py::str(f.name)] = shared(f.values);
    return out;
}

void add_meshes(py::module_& m) {
    using namespace zel::distributed;
    py::class_<partitioned_mesh>(m, "PartitionedMesh", "The part of a mesh that this rank holds.")
        .def_readonly("nodes", &partitioned_mesh::nodes, "nodes of the whole mesh")
        .def_readonly("elements", &partitioned_mesh::elements, "elements of the whole mesh")
        .def_readonly("halo", &partitioned_mesh::halo, "layers of elements of other ranks")
        .def_property_readonly(
            "comm",
            [](const partitioned_mesh& p) {
                return py::reinterpret_steal<py::object>(PyMPIComm_New(p.comm));
            },
            "the ranks that hold the parts")
        .def_property_readonly(
            "pos", [](const partitioned_mesh& p) { return shared(p.pos); },
            "coordinates of the nodes of this part")
        .def_property_readonly(
            "connect", [](const partitioned_mesh& p) { return shared(p.connect); },
            "elements of this part in local node numbers, 0xFFFFFFFF where there is no node")
        .def_property_readonly(
            "node_numbers", [](const partitioned_mesh& p) { return shared(p.node_numbers); },
            "numbers within the whole mesh, ascending")
        .def_property_readonly(
            "element_numbers", [](const partitioned_mesh& p) { return shared(p.element_numbers); },
            "numbers within the whole mesh, ascending")
        .def_property_readonly(
            "node_owners", [](const partitioned_mesh& p) { return owners(p.node_homes); },
            "the rank in charge of each node")
        .def_property_readonly(
            "element_owners", [](const partitioned_mesh& p) { return owners(p.element_homes); },
            "the rank whose own each element is");
    m.def("from_blocks", &from_blocks);
    m.def("partition", [](const partitioned_mesh& mesh, const std::string& by) {
        return changed("distributed::partition", {"mesh"}, mesh, [&](partitioned_mesh& out) {
            return partition(out, by == "blocks" ? partitioner::blocks : partitioner::ptscotch);
        });
    });
    m.def("redistribute",
          [](const partitioned_mesh& mesh, const py::array_t<int, py::array::c_style>& ranks) {
              const auto to = dense1D<int, 8>::wrap(const_cast<int*>(ranks.data()),
                                                    static_cast<std::size_t>(ranks.size()));
              return changed("distributed::redistribute", {"mesh", "ranks"}, mesh,
                             [&](partitioned_mesh& out) { return redistribute(out, to); });
          });
    m.def("grow_halo", [](const partitioned_mesh& mesh, py::handle layers) {
        const unsigned n = count(layers, "layers");
        return changed("distributed::grow_halo", {"mesh"}, mesh,
                       [&](partitioned_mesh& out) { return grow_halo(out, n); });
    });
    m.def("drop_halo", [](const partitioned_mesh& mesh) {
        return changed("distributed::drop_halo", {"mesh"}, mesh,
                       [](partitioned_mesh& out) { return drop_halo(out); });
    });
    m.def("gather", [](const partitioned_mesh& mesh, py::handle root) {
        const int rank = integer(root, "root");
        coordinates pos;
        connectivity connect;
        run("distributed::gather", {"mesh", "root"},
            [&] { return gather(mesh, rank, pos, connect); });
        return py::make_tuple(give(pos, mesh.pos.rows), give(connect, mesh.connect.rows));
    });
    m.def("write", [](const partitioned_mesh& mesh, const std::string& path,
                      const py::dict& at_nodes, const py::dict& at_elements) {
        const auto node_fields = fields_of(at_nodes), element_fields = fields_of(at_elements);
        run("distributed::write", {"mesh", "path", "node_fields", "element_fields"},
            [&] { return write(mesh, path, node_fields, element_fields); });
    });
    m.def("read", [](py::handle comm, const std::string& path) {
        const MPI_Comm ranks = comm_of(comm);
        partitioned_mesh mesh;
        std::vector<field> at_nodes, at_elements;
        run("distributed::read", {"comm", "path"},
            [&] { return read(ranks, path, mesh, &at_nodes, &at_elements); });
        return py::make_tuple(mesh, dict_of(at_nodes), dict_of(at_elements));
    });
    m.def("mesh_struct_T3", [](py::handle comm, py::handle pos_, py::handle boundary_,
                               py::handle n_, py::handle pattern_) {
        const MPI_Comm ranks = comm_of(comm);
        const auto pos = reals(pos_, "pos");
        const auto boundary = numbers_list(boundary_, "boundary");
        const unsigned n = count(n_, "n");
        const int pattern = integer(pattern_, "pattern");
        partitioned_mesh mesh;
        run("distributed::mesh_struct_T3", {"comm", "pos", "boundary", "n", "pattern"},
            [&] { return mesh_struct_T3(ranks, pos.view, boundary.view, n, pattern, mesh); });
        return mesh;
    });
    m.def("mesh_struct_Q4",
          [](py::handle comm, py::handle pos_, py::handle boundary_, py::handle n_) {
              const MPI_Comm ranks = comm_of(comm);
              const auto pos = reals(pos_, "pos");
              const auto boundary = numbers_list(boundary_, "boundary");
              const unsigned n = count(n_, "n");
              partitioned_mesh mesh;
              run("distributed::mesh_struct_Q4", {"comm", "pos", "boundary", "n"},
                  [&] { return mesh_struct_Q4(ranks, pos.view, boundary.view, n, mesh); });
              return mesh;
          });
}

// A mesh of a disk or sphere: pattern None for quadrilaterals.
template <std::size_t Dim, class Quads, class Triangles>
py::tuple round_mesh(const char* name, py::handle comm, py::handle center_, py::handle radius_,
                     py::handle n_, py::handle pattern_, const Quads& quads,
                     const Triangles& triangles) {
    const MPI_Comm ranks = comm_of(comm);
    const auto center = vector<Dim>(center_, "center");
    const double radius = real(radius_, "radius");
    const unsigned n = count(n_, "n");
    partitioned_mesh mesh;
    dense2D<number> first, second;
    if (pattern_.is_none()) {
        run((std::string(name) + "_Q4").c_str(), {"comm", "center", "radius", "n"},
            [&] { return quads(ranks, center, radius, n, mesh, first, second); });
    } else {
        const int pattern = integer(pattern_, "pattern");
        run((std::string(name) + "_T3").c_str(), {"comm", "center", "radius", "n", "pattern"},
            [&] { return triangles(ranks, center, radius, n, pattern, mesh, first, second); });
    }
    return py::make_tuple(std::move(mesh), shared(first), shared(second));
}

void add_round_meshes(py::module_& m) {
    using namespace zel::distributed;
    m.def("mesh_disk", [](py::handle comm, py::handle center, py::handle radius, py::handle n,
                          py::handle pattern) {
        return round_mesh<2>(
            "distributed::mesh_disk", comm, center, radius, n, pattern,
            [](MPI_Comm c, const auto& at, double r, unsigned k, auto& mesh, auto& boundary,
               auto&) { return mesh_disk_Q4(c, at, r, k, mesh, boundary); },
            [](MPI_Comm c, const auto& at, double r, unsigned k, int cut, auto& mesh,
               auto& boundary, auto&) { return mesh_disk_T3(c, at, r, k, cut, mesh, boundary); });
    });
    m.def("mesh_sphere", [](py::handle comm, py::handle center, py::handle radius, py::handle n,
                            py::handle pattern) {
        return round_mesh<3>(
            "distributed::mesh_sphere", comm, center, radius, n, pattern,
            [](MPI_Comm c, const auto& at, double r, unsigned k, auto& mesh, auto& z, auto& y) {
                return mesh_sphere_Q4(c, at, r, k, mesh, z, y);
            },
            [](MPI_Comm c, const auto& at, double r, unsigned k, int cut, auto& mesh, auto& z,
               auto& y) { return mesh_sphere_T3(c, at, r, k, cut, mesh, z, y); });
    });
}

// A sweep in Python: takes positions and edges, gives a mesh; what it throws is kept for later.
zel::distributed::sweep python_sweep(const py::function& by, std::string& thrown) {
    return [&by, &thrown](coordinates& pos, const connectivity& edges, connectivity& connect) {
        const py::gil_scoped_acquire locked;
        try {
            const py::tuple made = by(give(own_copy(pos), pos.rows), give(own_copy(edges), 2));
            pos = own_copy(reals(made[0], "pos").view);
            connect = own_copy(numbers(made[1], "connect").view);
        } catch (const std::exception& error) {
            thrown = error.what();
            return -1;
        }
        return 0;
    };
}

void add_sweeps(py::module_& m) {
    m.def("extrude",
          [](py::handle comm, py::handle pos_, py::handle profile_, const py::function& by) {
              const MPI_Comm ranks = comm_of(comm);
              const auto pos = reals(pos_, "pos");
              const auto profile = numbers(profile_, "profile");
              std::string thrown;
              const auto work = python_sweep(by, thrown);
              partitioned_mesh mesh;
              int status = 0;
              {
                  const py::gil_scoped_release unlocked;
                  status = zel::distributed::extrude(ranks, pos.view, profile.view, work, mesh);
              }
              if (!thrown.empty()) throw std::runtime_error("extrude: by: " + thrown);
              if (status < 0)
                  raise("distributed::extrude", status, {"comm", "pos", "profile", "by"});
              return mesh;
          });
}

void add_changes(py::module_& m) {
    using namespace zel::distributed;
    m.def("convert_into_linear", [](const partitioned_mesh& mesh) {
        return changed("distributed::convert_into_linear", {"mesh"}, mesh,
                       [](partitioned_mesh& out) { return convert_into_linear(out); });
    });
    m.def("convert_into_high_order",
          [](const partitioned_mesh& mesh, py::handle a_, py::handle b_, py::handle c_,
             const py::array_t<number, py::array::c_style>& edges) {
              const unsigned a = count(a_, "a"), b = count(b_, "b"), c = count(c_, "c");
              const global_connectivity given = global_numbers(edges);
              return changed("distributed::convert_into_high_order",
                             {"mesh", "a", "b", "c", "edges"}, mesh, [&](partitioned_mesh& out) {
                                 return convert_into_high_order(out, a, b, c, given);
                             });
          });
    m.def("split_into_linear", [](const partitioned_mesh& mesh) {
        return changed("distributed::split_into_linear", {"mesh"}, mesh,
                       [](partitioned_mesh& out) { return split_into_linear(out); });
    });
    m.def("split_into_Q4",
          [](const partitioned_mesh& mesh, const py::array_t<number, py::array::c_style>& edges) {
              const global_connectivity given = global_numbers(edges);
              return changed("distributed::split_into_Q4", {"mesh", "edges"}, mesh,
                             [&](partitioned_mesh& out) { return split_into_Q4(out, given); });
          });
    m.def("split_Q4_into_T3", [](const partitioned_mesh& mesh, bool better) {
        number cut = 0;
        auto out =
            changed("distributed::split_Q4_into_T3", {"mesh"}, mesh, [&](partitioned_mesh& p) {
                return split_Q4_into_T3(p, better ? diagonal::better : diagonal::first, cut);
            });
        return py::make_tuple(std::move(out), cut);
    });
    m.def("split_bad_Q4_into_T3", [](const partitioned_mesh& mesh, py::handle quality,
                                     py::handle angle, py::handle warp, py::handle criterion_) {
        const double q = real(quality, "min_quality"), a = real(angle, "min_angle"),
                     w = real(warp, "min_warp");
        const int criterion = integer(criterion_, "criterion");
        number cut = 0;
        auto out =
            changed("distributed::split_Q4_into_T3", {"mesh"}, mesh, [&](partitioned_mesh& p) {
                return split_Q4_into_T3(p, q, a, w, criterion, cut);
            });
        return py::make_tuple(std::move(out), cut);
    });
    m.def("flip", [](const partitioned_mesh& mesh) {
        return changed("distributed::flip", {"mesh", "type"}, mesh,
                       [](partitioned_mesh& out) { return flip(out, zel::ELEMENT_FACE); });
    });
    m.def("mesh_reorient", [](const partitioned_mesh& mesh, number seed,
                              py::handle all_components) {
        const bool all = flag(all_components, "all_components");
        reorientation result;
        auto out =
            changed("distributed::mesh_reorient", {"mesh", "seed"}, mesh,
                    [&](partitioned_mesh& p) { return mesh_reorient(p, seed, all, result); });
        return py::make_tuple(std::move(out), result.turned, result.one_sided, result.conflicts);
    });
    m.def("merge", [](const partitioned_mesh& mesh, py::handle tolerance_) {
        const double tolerance = real(tolerance_, "tolerance");
        return changed("distributed::merge", {"mesh", "tolerance"}, mesh,
                       [&](partitioned_mesh& out) { return merge(out, tolerance); });
    });
    m.def("simplify", [](const partitioned_mesh& mesh, number first_node) {
        return changed("distributed::simplify", {"mesh", "first_node"}, mesh,
                       [&](partitioned_mesh& out) { return simplify(out, first_node); });
    });
    m.def("offset", [](const partitioned_mesh& mesh, py::handle vectors, py::handle by_) {
        const double by = real(by_, "by");
        if (vectors.is_none())
            return changed("distributed::offset", {"mesh"}, mesh,
                           [&](partitioned_mesh& out) { return offset(out, by); });
        const auto N = reals(vectors, "vectors");
        return changed("distributed::offset", {"mesh", "vectors"}, mesh,
                       [&](partitioned_mesh& out) { return offset(out, N.view, by); });
    });
    m.def("copy_with_offset", [](const partitioned_mesh& mesh, py::handle vectors, py::handle by_) {
        const double by = real(by_, "by");
        if (vectors.is_none())
            return changed("distributed::copy_with_offset", {"mesh"}, mesh,
                           [&](partitioned_mesh& out) { return copy_with_offset(mesh, by, out); });
        const auto N = reals(vectors, "vectors");
        return changed(
            "distributed::copy_with_offset", {"mesh", "vectors"}, mesh,
            [&](partitioned_mesh& out) { return copy_with_offset(mesh, N.view, by, out); });
    });
}

void add_measures(py::module_& m) {
    using namespace zel::distributed;
    m.def("adjacency", [](const partitioned_mesh& mesh) {
        adjacency found;
        run("distributed::build_adjacency", {"mesh"}, [&] { return build_adjacency(mesh, found); });
        return py::make_tuple(shared(found.neighbors), shared(found.ancestors),
                              found.shared_by_more);
    });
    m.def("get_connected_elements", [](const partitioned_mesh& mesh) {
        dense1D<number, 8> starts, elements;
        run("distributed::get_connected_elements", {"mesh"},
            [&] { return get_connected_elements(mesh, starts, elements); });
        return py::make_tuple(shared(starts), shared(elements));
    });
    m.def("angles", [](const partitioned_mesh& mesh, py::handle normalise_) {
        const bool normalise = flag(normalise_, "normalise");
        value_list least, most;
        run("distributed::angles", {"mesh"}, [&] { return angles(mesh, normalise, least, most); });
        return py::make_tuple(give(least), give(most));
    });
    m.def("circumcenters", [](const partitioned_mesh& mesh) {
        coordinates centers;
        run("distributed::circumcenters", {"mesh"}, [&] { return circumcenters(mesh, centers); });
        return give(centers, mesh.pos.rows);
    });
    m.def("normals", [](const partitioned_mesh& mesh, py::handle power_, py::handle unit_) {
        const double power = real(power_, "power");
        const bool unit = flag(unit_, "unit");
        coordinates N;
        run("distributed::normals", {"mesh"}, [&] { return normals(mesh, power, unit, N); });
        return give(N, 3);
    });
    m.def("element_normals", [](const partitioned_mesh& mesh, py::handle unit_) {
        const bool unit = flag(unit_, "unit");
        coordinates N;
        run("distributed::element_normals", {"mesh"},
            [&] { return element_normals(mesh, unit, N); });
        return give(N, 3);
    });
    m.def("area", [](const partitioned_mesh& mesh) {
        double result = 0;
        run("distributed::area", {"mesh"}, [&] { return area(mesh, result); });
        return result;
    });
    m.def("volume", [](const partitioned_mesh& mesh) {
        double result = 0;
        const int open = run("distributed::volume", {"mesh"}, [&] { return volume(mesh, result); });
        return py::make_tuple(result, open == 0);
    });
    m.def("principal_curvatures", [](const partitioned_mesh& mesh, py::handle radius_,
                                     py::handle max_angle_, py::handle max_elements_,
                                     py::handle hard_edges_) {
        const double radius = real(radius_, "radius"), max_angle = real(max_angle_, "max_angle");
        const unsigned max_elements = count(max_elements_, "max_elements");
        const auto hard_edges = numbers_or_nothing(hard_edges_, "hard_edges");
        coordinates out;
        run("distributed::principal_curvatures",
            {"mesh", "radius", "max_angle", "max_elements", "hard_edges"}, [&] {
                return principal_curvatures(mesh, radius, max_angle, max_elements, hard_edges.view,
                                            out);
            });
        return give(out, 8);
    });
    m.def("parametric_curvatures", [](const partitioned_mesh& mesh, py::handle derivatives) {
        const auto D = reals(derivatives, "D");
        coordinates out;
        run("distributed::parametric_curvatures", {"mesh", "D"},
            [&] { return parametric_curvatures(mesh, D.view, out); });
        return give(out, 3);
    });
    m.def("interpolate",
          [](const partitioned_mesh& mesh, py::handle field_, py::handle points_, double unserved) {
              const auto values = reals(field_, "field");
              const auto points = reals(points_, "points");
              location_table table;
              coordinates out;
              run("distributed::locate", {"mesh", "points"},
                  [&] { return locate(mesh, points.view, 1e-6, table); });
              run("distributed::carry", {"mesh", "table", "field"},
                  [&] { return carry(mesh, table, values.view, out, unserved); });
              py::array_t<unsigned char> states(static_cast<py::ssize_t>(table.states.size));
              for (std::size_t k = 0; k < table.states.size; ++k)
                  states.mutable_at(static_cast<py::ssize_t>(k)) =
                      static_cast<unsigned char>(table.states[k]);
              return py::make_tuple(give(out, values.view.rows), states, shared(table.numbers));
          });
    m.def("traffic", [] {
        const auto sent = traffic_so_far();
        return py::make_tuple(sent.messages, sent.bytes);
    });
    m.def("reset_traffic", &reset_traffic);
}

bool started_here = false;

// PETSc belongs to who has started it first, such as petsc4py.
void start() {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (stands == PETSC_TRUE) return;
    if (PetscInitializeNoArguments()) throw std::runtime_error("PETSc does not start");
    started_here = true;
}

void stop() {
    if (started_here) PetscFinalize();
    started_here = false;
}

} // namespace

} // namespace tessel2d_python

PYBIND11_MODULE(_distributed, m) {
    namespace ours = tessel2d_python;
    m.doc() = "Meshes in parts over the ranks of mpi4py; to be used through tessel2d.distributed.";
    if (import_mpi4py() < 0) throw pybind11::error_already_set();
    ours::start();
    m.def("stop", &ours::stop);
    ours::add_meshes(m);
    ours::add_round_meshes(m);
    ours::add_sweeps(m);
    ours::add_changes(m);
    ours::add_measures(m);
}
