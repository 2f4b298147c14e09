// SPDX-License-Identifier: Apache-2.0

// Patches, disks and spheres.
#include "zel/tessel2d/generators.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/spheres.h"

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;

py::tuple mesh_struct_Q4(py::handle pos_, py::handle boundary_, py::handle n_) {
    const auto given = reals(pos_, "pos");
    const auto boundary = numbers_list(boundary_, "boundary");
    const unsigned n = count(n_, "n");
    auto pos = to_grow(given);
    connectivity connect;
    run("mesh_struct_Q4", {"pos", "boundary", "n"},
        [&] { return lib::mesh_struct_Q4(pos, boundary, n, connect); });
    return py::make_tuple(give(pos, 0), give(connect, 4));
}

py::tuple mesh_struct_T3(py::handle pos_, py::handle boundary_, py::handle n_,
                         py::handle pattern_) {
    const auto given = reals(pos_, "pos");
    const auto boundary = numbers_list(boundary_, "boundary");
    const unsigned n = count(n_, "n");
    const int pattern = integer(pattern_, "pattern");
    auto pos = to_grow(given);
    connectivity connect;
    run("mesh_struct_T3", {"pos", "boundary", "n", "pattern"},
        [&] { return lib::mesh_struct_T3(pos, boundary, n, pattern, connect); });
    return py::make_tuple(give(pos, 0), give(connect, 3));
}

py::object metrics_struct(py::handle boundary_, py::handle n_, py::handle metrics_) {
    const auto boundary = numbers_list(boundary_, "boundary");
    const unsigned n = count(n_, "n");
    const auto grown = [&](auto metrics) {
        run("metrics_struct", {"boundary", "n", "metrics"},
            [&] { return lib::metrics_struct(boundary, n, metrics); });
        return metrics;
    };
    if (dimensions(metrics_) == 2) {
        const auto given = reals(metrics_, "metrics");
        return give(grown(to_grow(given)), 0);
    }
    const auto given = real_list(metrics_, "metrics");
    return give(grown(to_grow(given)));
}

/// Disks, quarters and octants: nodes, elements and boundary of one of them.
template <std::size_t Dim, class Function>
py::tuple round_Q4(const char* name, Function function, py::handle center_, py::handle radius_,
                   py::handle n_) {
    const auto center = vector<Dim>(center_, "center");
    const double radius = real(radius_, "radius");
    const unsigned n = count(n_, "n");
    coordinates pos;
    connectivity connect, boundary;
    run(name, {}, [&] { return function(pos, center, radius, n, connect, boundary); });
    return py::make_tuple(give(pos, Dim), give(connect, 4), give(boundary, 2));
}
template <std::size_t Dim, class Function>
py::tuple round_T3(const char* name, Function function, py::handle center_, py::handle radius_,
                   py::handle n_, py::handle pattern_) {
    const auto center = vector<Dim>(center_, "center");
    const double radius = real(radius_, "radius");
    const unsigned n = count(n_, "n");
    const int pattern = integer(pattern_, "pattern");
    coordinates pos;
    connectivity connect, boundary;
    run(name, {}, [&] { return function(pos, center, radius, n, pattern, connect, boundary); });
    return py::make_tuple(give(pos, Dim), give(connect, 3), give(boundary, 2));
}

py::tuple mesh_sphere_Q4(py::handle center_, py::handle radius_, py::handle n_,
                         py::handle circles_) {
    const bool circles = flag(circles_, "circles");
    const auto center = vector<3>(center_, "center");
    const double radius = real(radius_, "radius");
    const unsigned n = count(n_, "n");
    coordinates pos;
    connectivity connect, z, y;
    run("mesh_sphere_Q4", {}, [&] {
        return circles ? lib::mesh_sphere_Q4(pos, center, radius, n, connect, z, y)
                       : lib::mesh_sphere_Q4(pos, center, radius, n, connect);
    });
    if (!circles) return py::make_tuple(give(pos, 3), give(connect, 4));
    return py::make_tuple(give(pos, 3), give(connect, 4), give(z, 2), give(y, 2));
}

py::tuple mesh_sphere_T3(py::handle center_, py::handle radius_, py::handle n_, py::handle pattern_,
                         py::handle circles_) {
    const bool circles = flag(circles_, "circles");
    const auto center = vector<3>(center_, "center");
    const double radius = real(radius_, "radius");
    const unsigned n = count(n_, "n");
    const int pattern = integer(pattern_, "pattern");
    coordinates pos;
    connectivity connect, z, y;
    run("mesh_sphere_T3", {}, [&] {
        return circles ? lib::mesh_sphere_T3(pos, center, radius, n, pattern, connect, z, y)
                       : lib::mesh_sphere_T3(pos, center, radius, n, pattern, connect);
    });
    if (!circles) return py::make_tuple(give(pos, 3), give(connect, 3));
    return py::make_tuple(give(pos, 3), give(connect, 3), give(z, 2), give(y, 2));
}

} // namespace

void add_generators(py::module_& m) {
    using py::handle;
    m.def("mesh_struct_Q4", &mesh_struct_Q4);
    m.def("mesh_struct_T3", &mesh_struct_T3);
    m.def("metrics_struct", &metrics_struct);
    m.def("mesh_disk_Q4", [](handle center, handle radius, handle n) {
        return round_Q4<2>("mesh_disk_Q4", &lib::mesh_disk_Q4, center, radius, n);
    });
    m.def("mesh_disk_UR_Q4", [](handle center, handle radius, handle n) {
        return round_Q4<2>("mesh_disk_UR_Q4", &lib::mesh_disk_UR_Q4, center, radius, n);
    });
    m.def("mesh_sphere_UR_Q4", [](handle center, handle radius, handle n) {
        return round_Q4<3>("mesh_sphere_UR_Q4", &lib::mesh_sphere_UR_Q4, center, radius, n);
    });
    m.def("mesh_disk_T3", [](handle center, handle radius, handle n, handle pattern) {
        return round_T3<2>("mesh_disk_T3", &lib::mesh_disk_T3, center, radius, n, pattern);
    });
    m.def("mesh_disk_UR_T3", [](handle center, handle radius, handle n, handle pattern) {
        return round_T3<2>("mesh_disk_UR_T3", &lib::mesh_disk_UR_T3, center, radius, n, pattern);
    });
    m.def("mesh_sphere_UR_T3", [](handle center, handle radius, handle n, handle pattern) {
        return round_T3<3>("mesh_sphere_UR_T3", &lib::mesh_sphere_UR_T3, center, radius, n,
                           pattern);
    });
    m.def("mesh_sphere_Q4", &mesh_sphere_Q4);
    m.def("mesh_sphere_T3", &mesh_sphere_T3);
}

} // namespace tessel2d_python
