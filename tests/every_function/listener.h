// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lets a program learn the arguments of the calls in the catalogue.
//
// The body of a call gets a `listened` in place of the function. It passes everything on; when a listener
// is present it is told all arguments in front of the call, and behind it the status and those that the
// function may have changed.
#include "zel/dense.h"
#include "zel/element_type.h"

#include <type_traits>

namespace zel_test::every_function {

class listener {
public:
    virtual ~listener() = default;

    virtual void entered() = 0;
    virtual void returned(double status) = 0;

    virtual void value(const zel::dense2D<double>& m) = 0;
    virtual void value(const zel::dense2D<unsigned>& m) = 0;
    virtual void value(const zel::dense1D<double, 8>& v) = 0;
    virtual void value(const zel::dense1D<unsigned, 8>& v) = 0;
    virtual void value(double x) = 0;
    virtual void value(long long x) = 0;
    virtual void vector(const double* x, std::size_t n) = 0;
    /// An argument that is none of these.
    virtual void other() = 0;

    /// Set by a program that runs calls one after the other, else null.
    inline static listener* present = nullptr;
};

// clang-format off
template <class T> void tell(listener& l, const zel::dense2D<T>& m) { l.value(m); }
template <class T> void tell(listener& l, const zel::dense1D<T, 8>& v) { l.value(v); }
template <class T, std::size_t N> void tell(listener& l, const zel::vector_fixed<T, N>& x) { l.vector(x.begin(), N); }
template <class T, std::size_t N> void tell(listener& l, const zel::symmetric_fixed<T, N>& x) { l.vector(x.begin(), N * (N + 1) / 2); }
// clang-format on
template <class T>
void tell(listener& l, const T& x) {
    if constexpr (std::is_floating_point_v<T>)
        l.value(double{x});
    else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
        l.value(static_cast<long long>(x));
    else
        l.other();
}
template <class Parameter, class T>
void tell_if_changed(listener& l, const T& x) {
    if constexpr (std::is_lvalue_reference_v<Parameter> &&
                  !std::is_const_v<std::remove_reference_t<Parameter>>)
        tell(l, x);
}

template <class Signature>
struct listened;
template <class Result, class... Parameters>
struct listened<Result(Parameters...)> {
    Result (*function)(Parameters...);

    Result operator()(Parameters... p) const {
        listener* const l = listener::present;
        if (!l) return function(static_cast<Parameters>(p)...);
        l->entered();
        (tell(*l, p), ...);
        if constexpr (std::is_arithmetic_v<Result>) {
            const Result result = function(static_cast<Parameters>(p)...);
            l->returned(static_cast<double>(result));
            (tell_if_changed<Parameters>(*l, p), ...);
            return result;
        } else {
            return function(static_cast<Parameters>(p)...);
        }
    }
};

} // namespace zel_test::every_function
