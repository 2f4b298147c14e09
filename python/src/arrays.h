// SPDX-License-Identifier: Apache-2.0
#pragma once

// Arrays of numpy as matrices of the library, and back.
//
// A C-ordered array of N nodes or elements is the library's matrix of N columns as it lies in memory, so
// an array is read in place whenever it holds numbers of the right kind in the byte order of the machine
// and the numbers of a column stand behind one another. Columns may be farther apart: `xyz[:, :2]` is a
// view with leading dimension 3. Every other array is converted first. What the library has made is handed
// over with its memory, which a capsule keeps.
#include "zel/dense.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <string>

namespace tessel2d_python {

namespace py = pybind11;

using coordinates = zel::dense2D<double>;
using connectivity = zel::dense2D<unsigned>;
using value_list = zel::dense1D<double, 8>;
using number_list = zel::dense1D<unsigned, 8>;

/// The number that names no node and no element; -1 in a signed array.
constexpr unsigned none = 0xFFFFFFFF;

/// A matrix or list over the memory of `array`, which keeps it.
template <class View>
struct input {
    py::array array;
    View view;

    operator const View&() const { return view; }
};

/// Node coordinates, fields, tensors: any real numbers, N x rows. Throws TypeError, which names the
/// argument, for everything else. `[]` is an empty matrix.
input<coordinates> reals(py::handle given, const char* name);
/// Node and element numbers: integers of any type, tested to be 32-bit numbers, or -1 for none.
input<connectivity> numbers(py::handle given, const char* name);
/// The same with one dimension.
input<value_list> real_list(py::handle given, const char* name);
input<number_list> numbers_list(py::handle given, const char* name);

/// An empty matrix for None.
input<connectivity> numbers_or_nothing(py::handle given, const char* name);

/// The array itself, to be written to: float64 or uint32, native, aligned, with unit inner stride and
/// writeable, else TypeError.
input<coordinates> reals_in_place(py::handle given, const char* name);
input<connectivity> numbers_in_place(py::handle given, const char* name);
input<value_list> real_list_in_place(py::handle given, const char* name);

/// Scalars; TypeError and ValueError name the argument.
double real(py::handle given, const char* name);
unsigned count(py::handle given, const char* name);
int integer(py::handle given, const char* name);
bool flag(py::handle given, const char* name);

/// Real numbers, exactly `n`, in a sequence or array.
void read_vector(py::handle given, const char* name, double* to, std::size_t n);
template <std::size_t N>
zel::vector_fixed<double, N> vector(py::handle given, const char* name) {
    zel::vector_fixed<double, N> v;
    read_vector(given, name, v.elements, N);
    return v;
}
/// The length of a sequence or array; 0 for a scalar.
std::size_t dimension(py::handle given);
/// How often an array is indexed; that of a sequence in which sequences stand is 2.
std::size_t dimensions(py::handle given);

/// A matrix of its own with the numbers of `m`, for functions that change what they get.
template <class T>
zel::dense2D<T> own_copy(const zel::dense2D<T>& m) {
    zel::dense2D<T> own;
    if (!own.copy(m)) throw std::bad_alloc();
    return own;
}
template <class T>
zel::dense1D<T, 8> own_copy(const zel::dense1D<T, 8>& v) {
    zel::dense1D<T, 8> own;
    if (!own.resize(v.size)) throw std::bad_alloc();
    std::copy(v.begin(), v.end(), own.begin());
    return own;
}

/// A matrix for functions that append to it and leave the present columns as they are: growing takes it
/// away from the caller's memory, which `given` has to keep until then. One with other numbers between its
/// columns is copied.
template <class T>
zel::dense2D<T> to_grow(const input<zel::dense2D<T>>& given) {
    return given.view.contiguous() ? given.view : own_copy(given.view);
}
template <class T>
zel::dense1D<T, 8> to_grow(const input<zel::dense1D<T, 8>>& given) {
    return given.view;
}
template <class View>
View to_grow(input<View>&&) = delete;

/// An array over the memory of a matrix, columns x rows. `rows` is for an empty matrix without rows. A
/// matrix that still lies in the caller's memory is copied.
py::array give(const coordinates& m, std::size_t rows);
py::array give(const connectivity& m, std::size_t rows);
py::array give(const value_list& v);
py::array give(const number_list& v);

} // namespace tessel2d_python
