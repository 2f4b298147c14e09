// SPDX-License-Identifier: Apache-2.0

// Arrays of numpy as matrices of the library, and back; see the header.
#include "arrays.h"

#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace tessel2d_python {

namespace {

using api = py::detail::npy_api;

[[noreturn]] void refuse(const char* name, const std::string& reason) {
    throw py::type_error(std::string(name) + ": " + reason);
}

/// Ends an exception of which a better one tells. Interruptions and lack of memory go on.
void forget_error() {
    if (!PyErr_ExceptionMatches(PyExc_Exception) || PyErr_ExceptionMatches(PyExc_MemoryError))
        throw py::error_already_set();
    PyErr_Clear();
}

std::string type_name(py::handle given) {
    return py::str(py::type::handle_of(given).attr("__name__"));
}

/// Issues a warning when the user asked to be told of copies.
void tell_of_copy(const char* name, const py::array& given) {
    const py::module_ package = py::module_::import("tessel2d");
    if (!py::cast<bool>(package.attr("warn_copies"))) return;
    const std::string text = std::string(name) + ": an array of " +
                             std::string(py::str(given.dtype())) + " with strides " +
                             std::string(py::str(given.attr("strides"))) + " has been copied";
    // Level 1 is our own layer of Python, level 2 who called it.
    if (PyErr_WarnEx(package.attr("CopyWarning").ptr(), text.c_str(), 2) < 0)
        throw py::error_already_set();
}

/// What was given as an array of any type.
py::array as_array(py::handle given, const char* name) {
    if (api::get().PyArray_Check_(given.ptr())) return py::reinterpret_borrow<py::array>(given);
    if (given.is_none() || PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr()))
        refuse(name, "an array is expected, not " + type_name(given));
    PyObject* const made = api::get().PyArray_FromAny_(given.ptr(), nullptr, 0, 0, 0, nullptr);
    if (made) return py::reinterpret_steal<py::array>(made);
    forget_error();
    refuse(name, "an array is expected, not this " + type_name(given));
}

/// True when the array has elements of `kind` and `size` bytes that can be read where they are.
bool readable_in_place(const py::array& a, char kind, py::ssize_t size) {
    const py::dtype type = a.dtype();
    if (type.kind() != kind || type.itemsize() != size) return false;
    const char order = type.byteorder();
    if (order != '=' && order != '|') return false;
    if (reinterpret_cast<std::uintptr_t>(a.data()) % static_cast<std::uintptr_t>(size) != 0)
        return false;
    const py::ssize_t dims = a.ndim();
    const py::ssize_t rows = a.shape(dims - 1);
    if (rows > 1 && a.strides(dims - 1) != size) return false;
    if (dims == 1 || a.shape(0) <= 1) return true;
    const py::ssize_t step = a.strides(0);
    return step % size == 0 && step / size >= rows;
}

/// The array with elements of type T, native, aligned and in C order.
template <class T>
py::array converted(const py::array& a) {
    using flags = api::constants;
    constexpr int wanted = flags::NPY_ARRAY_C_CONTIGUOUS_ | flags::NPY_ARRAY_ALIGNED_ |
                           flags::NPY_ARRAY_FORCECAST_ | flags::NPY_ARRAY_ENSUREARRAY_;
    PyObject* const made = api::get().PyArray_FromAny_(a.ptr(), py::dtype::of<T>().release().ptr(),
                                                       0, 0, wanted, nullptr);
    if (!made) throw py::error_already_set();
    return py::reinterpret_steal<py::array>(made);
}

/// Tests whether all numbers name a node or element, or nothing by -1.
template <class T>
bool test_number(T x) {
    if constexpr (std::is_signed_v<T>)
        return x >= -1 && static_cast<std::uint64_t>(x + 1) <= std::uint64_t{none} + 1;
    else
        return x <= none;
}

[[noreturn]] void refuse_number(const char* name, const std::string& number) {
    throw py::value_error(std::string(name) + ": " + number +
                          " is no number of a node or element; -1 stands for none");
}

/// Numbers of 64 bits in C order as numbers of 32 bits.
template <class T>
py::array narrowed(const py::array& a, const char* name) {
    py::array narrow(py::dtype::of<std::uint32_t>(),
                     std::vector<py::ssize_t>(a.shape(), a.shape() + a.ndim()));
    const T* const from = static_cast<const T*>(a.data());
    auto* const to = static_cast<std::uint32_t*>(narrow.mutable_data());
    for (py::ssize_t i = 0; i < a.size(); ++i) {
        if (!test_number(from[i])) refuse_number(name, std::to_string(from[i]));
        to[i] = static_cast<std::uint32_t>(from[i]);
    }
    return narrow;
}

/// The dimensions of an array as a matrix of the library. Arrays that `readable_in_place` took.
struct extent {
    std::size_t rows;
    std::size_t cols;
    std::size_t leading;
};
extent extent_of(const py::array& a) {
    if (a.ndim() == 1) return {0, 0, 0}; // what stood as [] for a matrix
    const auto rows = static_cast<std::size_t>(a.shape(1));
    const auto cols = static_cast<std::size_t>(a.shape(0));
    const bool regular = cols > 1 && rows > 0;
    return {rows, cols, regular ? static_cast<std::size_t>(a.strides(0) / a.itemsize()) : rows};
}

template <class T>
zel::dense2D<T> matrix_over(const py::array& a) {
    const extent e = extent_of(a);
    auto* const memory = static_cast<T*>(const_cast<void*>(a.data()));
    auto m = zel::dense2D<T>::wrap(memory, e.rows, e.cols, e.leading);
    if (m.rows != e.rows || m.cols != e.cols) throw std::bad_alloc();
    return m;
}
template <class T>
zel::dense1D<T, 8> list_over(const py::array& a) {
    const auto size = static_cast<std::size_t>(a.size());
    auto v = zel::dense1D<T, 8>::wrap(static_cast<T*>(const_cast<void*>(a.data())), size);
    if (v.size != size) throw std::bad_alloc();
    return v;
}

/// Tests dimensions and kind. An empty list has neither.
void test_form(const py::array& a, py::handle given, const char* name, py::ssize_t dims,
               std::string_view kinds, const char* wanted) {
    const bool nothing = a.size() == 0 && a.ptr() != given.ptr();
    if (!nothing && kinds.find(a.dtype().kind()) == kinds.npos)
        refuse(name, std::string(wanted) + " are expected, not " + std::string(py::str(a.dtype())));
    if (a.ndim() != dims && !(nothing && a.ndim() == 1))
        refuse(name, "an array of " + std::to_string(dims) +
                         (dims == 1 ? " dimension" : " dimensions") + " is expected, not of " +
                         std::to_string(a.ndim()));
}

py::array real_array(py::handle given, const char* name, py::ssize_t dims) {
    py::array a = as_array(given, name);
    test_form(a, given, name, dims, "fiu", "real numbers");
    if (readable_in_place(a, 'f', sizeof(double))) return a;
    py::array copy = converted<double>(a);
    if (a.ptr() == given.ptr()) tell_of_copy(name, a);
    return copy;
}

/// int32 has the bits that are wanted once its numbers have been tested.
void test_in_place(const py::array& a, const char* name) {
    const extent e =
        a.ndim() == 1 ? extent{static_cast<std::size_t>(a.size()), 1, 0} : extent_of(a);
    const auto* column = static_cast<const std::int32_t*>(a.data());
    for (std::size_t j = 0; j < e.cols && e.rows > 0; ++j, column += e.leading)
        for (std::size_t i = 0; i < e.rows; ++i)
            if (column[i] < -1) refuse_number(name, std::to_string(column[i]));
}

py::array number_array(py::handle given, const char* name, py::ssize_t dims) {
    py::array a = as_array(given, name);
    test_form(a, given, name, dims, "iu", "integers");
    if (readable_in_place(a, 'u', sizeof(unsigned))) return a;
    if (readable_in_place(a, 'i', sizeof(unsigned))) {
        test_in_place(a, name);
        return a;
    }
    py::array copy = a.dtype().kind() == 'u'
                         ? narrowed<std::uint64_t>(converted<std::uint64_t>(a), name)
                         : narrowed<std::int64_t>(converted<std::int64_t>(a), name);
    if (a.ptr() == given.ptr()) tell_of_copy(name, a);
    return copy;
}

py::array writable_array(py::handle given, const char* name, py::ssize_t dims, char kind,
                         py::ssize_t size, const char* wanted) {
    if (!api::get().PyArray_Check_(given.ptr()))
        refuse(name, std::string("inplace=True needs an array of ") + wanted);
    py::array a = py::reinterpret_borrow<py::array>(given);
    if (a.ndim() != dims || !readable_in_place(a, kind, size))
        refuse(name, std::string("inplace=True needs an array of ") + wanted +
                         " whose rows stand in one piece, in as many dimensions as without");
    if (!a.writeable()) refuse(name, "inplace=True needs an array that is not read-only");
    return a;
}

/// Hands a run of numbers over: the array keeps the block. Straight to numpy, because small results are
/// what calls in a loop wait for.
template <class T, class Block, std::size_t Dims>
py::array array_over(const zel::Ptr<Block>& block, const T* first, const Py_ssize_t (&shape)[Dims],
                     const Py_ssize_t (&strides)[Dims]) {
    PyObject* const keeper =
        PyCapsule_New(new zel::Ptr<Block>(block), nullptr, [](PyObject* capsule) {
            delete static_cast<zel::Ptr<Block>*>(PyCapsule_GetPointer(capsule, nullptr));
        });
    if (!keeper) throw py::error_already_set();
    const auto owned = py::reinterpret_steal<py::object>(keeper);
    PyObject* const made = api::get().PyArray_NewFromDescr_(
        api::get().PyArray_Type_, py::dtype::of<T>().release().ptr(), Dims, shape, strides,
        const_cast<T*>(first), api::NPY_ARRAY_WRITEABLE_, nullptr);
    if (!made) throw py::error_already_set();
    const auto array = py::reinterpret_steal<py::array>(made);
    if (api::get().PyArray_SetBaseObject_(made, owned.inc_ref().ptr()) < 0)
        throw py::error_already_set();
    return array;
}

template <class T>
py::array give_matrix(const zel::dense2D<T>& m, std::size_t rows) {
    if (m.empty()) {
        const auto height = static_cast<py::ssize_t>(m.rows == 0 ? rows : m.rows);
        return py::array(py::dtype::of<T>(), {py::ssize_t{0}, height});
    }
    if (m.storage->shift == std::decay_t<decltype(*m.storage)>::not_owned)
        return give_matrix(own_copy(m), rows);
    const auto size = static_cast<py::ssize_t>(sizeof(T));
    const Py_ssize_t shape[] = {static_cast<Py_ssize_t>(m.cols), static_cast<Py_ssize_t>(m.rows)};
    const Py_ssize_t strides[] = {static_cast<Py_ssize_t>(m.ld) * size, size};
    return array_over(m.storage, m.data(), shape, strides);
}
template <class T>
py::array give_list(const zel::dense1D<T, 8>& v) {
    if (v.empty()) return py::array_t<T>(0);
    if (v.storage->shift == std::decay_t<decltype(*v.storage)>::not_owned)
        return give_list(own_copy(v));
    const Py_ssize_t shape[] = {static_cast<Py_ssize_t>(v.size)};
    const Py_ssize_t strides[] = {sizeof(T)};
    return array_over(v.storage, v.data(), shape, strides);
}

} // namespace

input<coordinates> reals(py::handle given, const char* name) {
    py::array a = real_array(given, name, 2);
    return {a, matrix_over<double>(a)};
}
input<connectivity> numbers(py::handle given, const char* name) {
    py::array a = number_array(given, name, 2);
    return {a, matrix_over<unsigned>(a)};
}
input<value_list> real_list(py::handle given, const char* name) {
    py::array a = real_array(given, name, 1);
    return {a, list_over<double>(a)};
}
input<number_list> numbers_list(py::handle given, const char* name) {
    py::array a = number_array(given, name, 1);
    return {a, list_over<unsigned>(a)};
}

input<connectivity> numbers_or_nothing(py::handle given, const char* name) {
    if (given.is_none()) return {py::array(), connectivity()};
    return numbers(given, name);
}

input<coordinates> reals_in_place(py::handle given, const char* name) {
    py::array a = writable_array(given, name, 2, 'f', sizeof(double), "float64");
    return {a, matrix_over<double>(a)};
}
input<connectivity> numbers_in_place(py::handle given, const char* name) {
    py::array a = writable_array(given, name, 2, 'u', sizeof(unsigned), "uint32");
    return {a, matrix_over<unsigned>(a)};
}
input<value_list> real_list_in_place(py::handle given, const char* name) {
    py::array a = writable_array(given, name, 1, 'f', sizeof(double), "float64");
    return {a, list_over<double>(a)};
}

double real(py::handle given, const char* name) {
    const double x = PyFloat_AsDouble(given.ptr());
    if (x == -1.0 && PyErr_Occurred()) {
        forget_error();
        refuse(name, "a number is expected, not " + type_name(given));
    }
    return x;
}

namespace {

long long whole_number(py::handle given, const char* name, long long least, long long most) {
    PyObject* const index = PyNumber_Index(given.ptr());
    if (!index) {
        forget_error();
        refuse(name, "an integer is expected, not " + type_name(given));
    }
    int overflow = 0;
    const long long x =
        PyLong_AsLongLongAndOverflow(py::reinterpret_steal<py::object>(index).ptr(), &overflow);
    if (overflow != 0 || x < least || x > most)
        throw py::value_error(std::string(name) + ": an integer from " + std::to_string(least) +
                              " to " + std::to_string(most) + " is expected");
    return x;
}

} // namespace

unsigned count(py::handle given, const char* name) {
    return static_cast<unsigned>(
        whole_number(given, name, 0, std::numeric_limits<std::uint32_t>::max()));
}
int integer(py::handle given, const char* name) {
    return static_cast<int>(whole_number(given, name, std::numeric_limits<int>::min(),
                                         std::numeric_limits<int>::max()));
}
bool flag(py::handle given, const char* name) {
    if (PyBool_Check(given.ptr())) return given.ptr() == Py_True;
    const std::string type = type_name(given);
    if (!PyLong_Check(given.ptr()) && type != "bool_" && type != "bool") // those of numpy
        refuse(name, "True or False is expected, not " + type);
    return PyObject_IsTrue(given.ptr()) == 1;
}

void read_vector(py::handle given, const char* name, double* to, std::size_t n) {
    if (PyTuple_Check(given.ptr()) || PyList_Check(given.ptr())) {
        if (dimension(given) == n) {
            for (std::size_t i = 0; i < n; ++i)
                to[i] =
                    real(PySequence_Fast_GET_ITEM(given.ptr(), static_cast<Py_ssize_t>(i)), name);
            return;
        }
    }
    const auto list = real_list(given, name);
    if (list.view.size != n)
        refuse(name,
               std::to_string(n) + " numbers are expected, not " + std::to_string(list.view.size));
    std::copy(list.view.begin(), list.view.end(), to);
}

std::size_t dimensions(py::handle given) {
    if (api::get().PyArray_Check_(given.ptr()))
        return static_cast<std::size_t>(py::reinterpret_borrow<py::array>(given).ndim());
    if (PyFloat_Check(given.ptr()) || PyLong_Check(given.ptr()) || given.is_none()) return 0;
    PyObject* const made = api::get().PyArray_FromAny_(given.ptr(), nullptr, 0, 0, 0, nullptr);
    if (!made) forget_error();
    return made ? static_cast<std::size_t>(py::reinterpret_steal<py::array>(made).ndim()) : 0;
}

std::size_t dimension(py::handle given) {
    const Py_ssize_t length = PyObject_Size(given.ptr());
    if (length < 0) forget_error();
    return length < 0 ? 0 : static_cast<std::size_t>(length);
}

py::array give(const coordinates& m, std::size_t rows) {
    return give_matrix(m, rows);
}
py::array give(const connectivity& m, std::size_t rows) {
    return give_matrix(m, rows);
}
py::array give(const value_list& v) {
    return give_list(v);
}
py::array give(const number_list& v) {
    return give_list(v);
}

} // namespace tessel2d_python
