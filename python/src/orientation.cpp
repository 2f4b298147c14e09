// SPDX-License-Identifier: Apache-2.0

// The orientation of elements, and quadrilaterals that have collapsed to triangles.
#include "zel/tessel2d/orientation.h"

#include "adjacency.h"
#include "arrays.h"
#include "call.h"
#include "families.h"
#include "kinds.h"

#include <algorithm>
#include <string>

namespace tessel2d_python {

zel::element_type kind_of(py::handle name) {
    constexpr const char* names[] = {"NONE", "NODE", "E2",  "E3",   "E4",   "FACE",  "FACE_HO",
                                     "T3",   "T6",   "Q4",  "Q8",   "Q9",   "SOLID", "SOLID_HO",
                                     "TH4",  "TH10", "PY5", "PY13", "PY14", "W6",    "W15",
                                     "W18",  "H8",   "H20", "H27"};
    if (!PyUnicode_Check(name.ptr()))
        throw py::type_error("kind: the name of a kind is expected, as \"T3\"");
    const auto text = py::cast<std::string>(name);
    for (std::size_t k = 0; k < std::size(names); ++k)
        if (text == names[k]) return static_cast<zel::element_type>(k);
    throw py::value_error("kind: there is no kind \"" + text + "\"");
}

namespace {

namespace lib = zel::tessel2d;

/// A connectivity that a function changes: the caller's own if that is wished, else a copy.
struct changed {
    py::object array; ///< the caller's, or empty
    connectivity view;

    py::object given_back(std::size_t rows) const {
        return array ? array : py::object(give(view, rows));
    }
};
changed to_change(py::handle given, const char* name, bool inplace) {
    if (!inplace) return {py::object(), own_copy(numbers(given, name).view)};
    return {py::reinterpret_borrow<py::object>(given), numbers_in_place(given, name).view};
}

py::object flip(py::handle connect_, py::handle kind_, py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    changed connect = to_change(connect_, "connect", inplace);
    if (kind_.is_none()) {
        run("flip", {"connect"}, [&] { return lib::flip(connect.view); });
    } else {
        const zel::element_type kind = kind_of(kind_);
        run("flip", {"connect", "connect"}, [&] { return lib::flip(connect.view, kind); });
    }
    return connect.given_back(3);
}

py::tuple flip_neighbors(py::handle connect_, py::handle neighbors_, py::handle kind_,
                         py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    changed connect = to_change(connect_, "connect", inplace);
    changed neighbors = to_change(neighbors_, "neighbors", inplace);
    const zel::element_type kind = kind_.is_none() ? zel::ELEMENT_FACE : kind_of(kind_);
    run("flip", {"", "neighbors", "connect"},
        [&] { return lib::flip(connect.view, neighbors.view, kind); });
    return py::make_tuple(connect.given_back(3), neighbors.given_back(3));
}

/// What the library says of arguments that are unusable. Behind these tests a negative result tells of a
/// neighbour that does not hold the common edge.
void test_reorientation(const connectivity& connect, const connectivity& neighbors, unsigned seed) {
    if (connect.empty()) return;
    const auto has_corners = [&](std::size_t e) {
        const unsigned* const c = connect[e];
        return c[0] != none && c[1] != none && c[2] != none;
    };
    bool sound = connect.rows == 3 || connect.rows == 4;
    for (std::size_t e = 0; sound && e < connect.cols; ++e) sound = has_corners(e);
    constexpr const char* name = "mesh_reorient";
    if (!sound) raise(name, -1, {"connect"});
    if (neighbors.rows != connect.rows || neighbors.cols != connect.cols)
        raise(name, -2, {"", "neighbors"});
    if (seed >= connect.cols) raise(name, -3, {"", "", "seed"});
}

int columns_that_differ(const connectivity& a, const connectivity& b) {
    if (a.rows == 0) return 0;
    int count = 0;
    for (std::size_t e = 0; e < a.cols; ++e) count += !std::equal(a[e], a[e] + a.rows, b[e]);
    return count;
}

py::tuple mesh_reorient(py::handle connect_, py::handle neighbors_, py::handle seed_,
                        py::handle all_components_, py::handle inplace_) {
    const bool all_components = flag(all_components_, "all_components");
    const bool inplace = flag(inplace_, "inplace");
    changed connect = to_change(connect_, "connect", inplace);
    changed neighbors =
        neighbors_.is_none()
            ? changed{py::object(),
                      neighbors_of("mesh_reorient", connect.view, neighbors_).neighbors}
            : to_change(neighbors_, "neighbors", inplace);
    const unsigned seed = count(seed_, "seed");
    test_reorientation(connect.view, neighbors.view, seed);
    const connectivity before = own_copy(connect.view);
    int turned;
    {
        const py::gil_scoped_release unlocked;
        turned = lib::mesh_reorient(connect.view, neighbors.view, seed, all_components ? 1 : 0);
    }
    if (turned == -199) raise("mesh_reorient", turned, {});
    // A conflict takes away what was counted before it.
    const int differ = columns_that_differ(before, connect.view);
    return py::make_tuple(connect.given_back(3), neighbors.given_back(3), std::max(turned, differ),
                          turned < differ);
}

py::tuple convert_degenerated_Q4(py::handle connect_, py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    changed connect = to_change(connect_, "connect", inplace);
    const int converted = run("convert_degenerated_Q4", {"connect"},
                              [&] { return lib::convert_degenerated_Q4(connect.view); });
    return py::make_tuple(connect.given_back(4), converted);
}

py::tuple convert_degenerated_Q(py::handle connect_, py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    changed connect = to_change(connect_, "connect", inplace);
    number_list list;
    run("convert_degenerated_Q", {"connect"},
        [&] { return lib::convert_degenerated_Q(connect.view, list); });
    return py::make_tuple(connect.given_back(4), give(list));
}

} // namespace

void add_orientation(py::module_& m) {
    m.def("flip", &flip);
    m.def("flip_neighbors", &flip_neighbors);
    m.def("mesh_reorient", &mesh_reorient);
    m.def("convert_degenerated_Q4", &convert_degenerated_Q4);
    m.def("convert_degenerated_Q", &convert_degenerated_Q);
}

} // namespace tessel2d_python
