// zel tessel2d: planar and surface mesh tools.
#pragma once

// Vector arithmetic in two and three dimensions, each operation in one fixed order of terms.
#include "foundation/call_frame.h"

namespace zel::tessel2d {

template <int Dim>
using point = vector_fixed<double, static_cast<std::size_t>(Dim)>;

/// The nodes of a mesh: node i as a point.
template <int Dim>
struct points_view {
    const double* first;
    std::size_t ld;

    explicit points_view(const dense2D<double>& pos) noexcept : first(pos.data()), ld(pos.ld) {}

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
template <int Dim>
inline point<Dim> difference(const point<Dim>& a, const point<Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return {a[0] - b[0], a[1] - b[1]};
    } else {
        return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    }
}

/// Scalar product, terms in the order of the components.
template <int Dim>
inline double dot(const point<Dim>& a, const point<Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return a[0] * b[0] + a[1] * b[1];
    } else {
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
}

template <int Dim>
inline double squared_length(const point<Dim>& a) noexcept {
    return dot<Dim>(a, a);
}

/// The third component of a x b for vectors in the plane.
inline double cross(const point<2>& a, const point<2>& b) noexcept {
    return a[0] * b[1] - a[1] * b[0];
}

inline point<3> cross(const point<3>& a, const point<3>& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

} // namespace zel::tessel2d
