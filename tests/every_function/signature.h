// SPDX-License-Identifier: Apache-2.0
#pragma once

// Parameter lists as functions.txt spells them, from the type of the function itself.
#include "zel/dense.h"
#include "zel/element_type.h"
#include "zel/tessel.h"

#include <cstddef>
#include <string>

namespace zel_test::every_function {

template <class T>
struct spelled;

// clang-format off
template <> struct spelled<bool> { static std::string text() { return "bool"; } };
template <> struct spelled<char> { static std::string text() { return "char"; } };
template <> struct spelled<int> { static std::string text() { return "int"; } };
template <> struct spelled<long> { static std::string text() { return "long"; } };
template <> struct spelled<unsigned> { static std::string text() { return "unsigned"; } };
template <> struct spelled<double> { static std::string text() { return "double"; } };
template <> struct spelled<std::size_t> { static std::string text() { return "size_t"; } };
template <> struct spelled<void> { static std::string text() { return "void"; } };
template <> struct spelled<zel::element_type> { static std::string text() { return "element_type"; } };
template <> struct spelled<zel::tessel::node_detector> {
    static std::string text() { return "tessel::node_detector"; }
};
// clang-format on
template <class T>
struct spelled<zel::dense2D<T>> {
    static std::string text() { return "dense2D<" + spelled<T>::text() + ">"; }
};
template <class T>
struct spelled<zel::dense1D<T, 8>> {
    static std::string text() { return "dense1D<" + spelled<T>::text() + ", 8>"; }
};
template <class T, std::size_t N>
struct spelled<zel::vector_fixed<T, N>> {
    static std::string text() {
        return "vector_fixed<" + spelled<T>::text() + ", " + std::to_string(N) + ">";
    }
};
template <class T, std::size_t N>
struct spelled<zel::symmetric_fixed<T, N>> {
    static std::string text() {
        return "symmetric_fixed<" + spelled<T>::text() + ", " + std::to_string(N) + ">";
    }
};
template <class T>
struct spelled<const T> {
    static std::string text() { return "const " + spelled<T>::text(); }
};
template <class T>
struct spelled<T&> {
    static std::string text() { return spelled<T>::text() + "&"; }
};
template <class T>
struct spelled<T*> {
    static std::string text() { return spelled<T>::text() + "*"; }
};

/// "(dense2D<double>&, unsigned)" for a function of these two parameters.
template <class Result, class... Parameters>
std::string parameters_of(Result (*)(Parameters...)) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + spelled<Parameters>::text()), ...);
    return "(" + text + ")";
}

} // namespace zel_test::every_function
