// SPDX-License-Identifier: Apache-2.0
// Vector arithmetic in two and three dimensions, each operation in one fixed order of terms.
#pragma once

#include "foundation/call_frame.h"
#include "geometry/number.h"

namespace zel::tessel2d {

/// A vector whose components are numbers of any kind, `double` or `lanes`.
template <class Number, int Dim>
using vector_of = vector_fixed<Number, static_cast<std::size_t>(Dim)>; // mutation: 2 or 3

template <int Dim>
using point = vector_of<double, Dim>;

/// The nodes of a mesh: node i as a point.
template <int Dim>
struct points_view {
    const double* first;
    std::size_t ld;

    explicit points_view(const dense2D<double>& pos) noexcept : first(pos.data()), ld(pos.ld) {}
    explicit points_view(const columns<double>& c) noexcept : first(c.first), ld(c.ld) {}

    point<Dim> operator[](std::size_t node) const noexcept {
        const double* const p = first + node * ld;
        if constexpr (Dim == 2) {
            return {p[0], p[1]};
        } else {
            return {p[0], p[1], p[2]};
        }
    }
};

/// a - b
template <int Dim, class Number>
[[gnu::always_inline]] inline vector_of<Number, Dim>
difference(const vector_of<Number, Dim>& a, const vector_of<Number, Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return {a[0] - b[0], a[1] - b[1]};
    } else {
        return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    }
}

/// a + b
template <int Dim, class Number>
[[gnu::always_inline]] inline vector_of<Number, Dim> sum(const vector_of<Number, Dim>& a,
                                                         const vector_of<Number, Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return {a[0] + b[0], a[1] + b[1]};
    } else {
        return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
    }
}

/// Scalar product, terms in the order of the components.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number dot(const vector_of<Number, Dim>& a,
                                         const vector_of<Number, Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return a[0] * b[0] + a[1] * b[1];
    } else {
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
}

template <int Dim, class Number>
[[gnu::always_inline]] inline Number squared_length(const vector_of<Number, Dim>& a) noexcept {
    return dot<Dim>(a, a);
}

/// The square root of the sum of squares, as it stands.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number length(const vector_of<Number, Dim>& a) noexcept {
    return square_root(squared_length<Dim>(a));
}

/// The third component of a x b for vectors in the plane.
template <class Number>
[[gnu::always_inline]] inline Number cross(const vector_of<Number, 2>& a,
                                           const vector_of<Number, 2>& b) noexcept {
    return a[0] * b[1] - a[1] * b[0];
}

template <class Number>
[[gnu::always_inline]] inline vector_of<Number, 3> cross(const vector_of<Number, 3>& a,
                                                         const vector_of<Number, 3>& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// |a x b|: signed in the plane, the norm in space.
template <class Number>
[[gnu::always_inline]] inline Number cross_size(const vector_of<Number, 2>& a,
                                                const vector_of<Number, 2>& b) noexcept {
    return cross(a, b);
}
template <class Number>
[[gnu::always_inline]] inline Number cross_size(const vector_of<Number, 3>& a,
                                                const vector_of<Number, 3>& b) noexcept {
    return length<3>(cross(a, b));
}

/// a where the mask is set, b elsewhere.
template <class Mask, class Number, std::size_t N>
[[gnu::always_inline]] inline vector_fixed<Number, N>
choose(const Mask& mask, const vector_fixed<Number, N>& a,
       const vector_fixed<Number, N>& b) noexcept {
    if constexpr (N == 2) {
        return {choose(mask, a[0], b[0]), choose(mask, a[1], b[1])};
    } else {
        return {choose(mask, a[0], b[0]), choose(mask, a[1], b[1]), choose(mask, a[2], b[2])};
    }
}

/// a where the mask is set, the zero vector elsewhere.
template <int Dim, class Mask, class Number>
[[gnu::always_inline]] inline vector_of<Number, Dim>
kept_where(const Mask& mask, const vector_of<Number, Dim>& a) noexcept {
    if constexpr (Dim == 2) {
        return {kept_where(mask, a[0]), kept_where(mask, a[1])};
    } else {
        return {kept_where(mask, a[0]), kept_where(mask, a[1]), kept_where(mask, a[2])};
    }
}

/// Makes v, whose length is given, a unit vector. One of length 0 stays as it is.
template <int Dim, class Number>
[[gnu::always_inline]] inline void make_unit_of_length(const Number& length,
                                                       vector_of<Number, Dim>& v) noexcept {
    const Number factor = Number(1.0) / choose(length == Number(0.0), Number(1.0), length);
    for (std::size_t i = 0; i < Dim; ++i) v[i] = v[i] * factor;
}

/// Makes v a unit vector and returns its length. A vector of length 0 or 1 stays as it is.
template <int Dim, class Number>
[[gnu::always_inline]] inline Number make_unit(vector_of<Number, Dim>& v) noexcept {
    const Number l = length<Dim>(v);
    make_unit_of_length<Dim>(l, v);
    return l;
}

} // namespace zel::tessel2d
