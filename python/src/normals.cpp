// SPDX-License-Identifier: Apache-2.0

// Normals and offsets. The overloads of an offset differ in how far nodes move, by a distance or a tensor,
// and along what, given vectors or the normals of the surface.
#include "zel/tessel2d/normals.h"

#include "arrays.h"
#include "call.h"
#include "families.h"

namespace tessel2d_python {

namespace {

namespace lib = zel::tessel2d;

using tensor = zel::symmetric_fixed<double, 3>;

py::array normals_at_nodes(py::handle pos_, py::handle connect_, py::handle power_,
                           py::handle unit_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const double power = real(power_, "power");
    const bool unit = flag(unit_, "unit");
    coordinates N;
    run("normals", {"pos", "connect"},
        [&] { return lib::normals(pos.view, connect.view, power, unit, N); });
    return give(N, 3);
}

py::array normals_at_elements(py::handle pos_, py::handle connect_, py::handle unit_) {
    const auto pos = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    const bool unit = flag(unit_, "unit");
    coordinates N;
    run("normals", {"pos", "connect"},
        [&] { return lib::normals(pos.view, connect.view, unit, N); });
    return give(N, 3);
}

/// A tensor from its six numbers, or from a matrix of order 3 whose halves agree.
tensor tensor_of(py::handle given) {
    tensor M;
    if (dimensions(given) != 2) {
        read_vector(given, "by", M.elements, 6);
        return M;
    }
    const auto square = reals(given, "by");
    const coordinates& m = square.view;
    if (m.rows != 3 || m.cols != 3)
        throw py::type_error("by: a matrix of 3 x 3 numbers is expected");
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            if (m(i, j) != m(j, i) && !(m(i, j) != m(i, j)))
                throw py::value_error("by: the matrix is not symmetric");
            M(i, j) = m(i, j);
        }
    return M;
}

/// Calls `move` with the distance or tensor, in front of it the vectors if there are any.
template <class Move>
void moved(const char* name, py::handle by, py::handle vectors, const Move& move) {
    const auto with = [&](const auto& amount) {
        if (vectors.is_none()) {
            run(name, {"pos", "pos", "connect"}, [&] { return move(amount); });
            return;
        }
        const auto N = reals(vectors, "vectors");
        run(name, {"pos", "connect", "vectors"}, [&] { return move(N.view, amount); });
    };
    if (dimensions(by) == 0)
        with(real(by, "by"));
    else
        with(tensor_of(by));
}

py::object offset(py::handle pos_, py::handle connect_, py::handle by, py::handle vectors,
                  py::handle inplace_) {
    const bool inplace = flag(inplace_, "inplace");
    const auto given = inplace ? reals_in_place(pos_, "pos") : reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    coordinates pos = inplace ? given.view : own_copy(given.view);
    moved("offset", by, vectors,
          [&](const auto&... how) { return lib::offset(pos, connect.view, how...); });
    return inplace ? py::reinterpret_borrow<py::object>(pos_) : py::object(give(pos, 3));
}

py::tuple copy_with_offset(py::handle pos_, py::handle connect_, py::handle by,
                           py::handle vectors) {
    const auto given = reals(pos_, "pos");
    const auto connect = numbers(connect_, "connect");
    coordinates pos = to_grow(given);
    connectivity copy;
    moved("copy_with_offset", by, vectors, [&](const auto&... how) {
        return lib::copy_with_offset(pos, connect.view, how..., copy);
    });
    return py::make_tuple(give(pos, 3), give(copy, connect.view.rows));
}

} // namespace

void add_normals(py::module_& m) {
    m.def("normals_at_nodes", &normals_at_nodes);
    m.def("normals_at_elements", &normals_at_elements);
    m.def("offset", &offset);
    m.def("copy_with_offset", &copy_with_offset);
}

} // namespace tessel2d_python
