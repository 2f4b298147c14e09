// SPDX-License-Identifier: Apache-2.0
// Turns about a point in the plane and about an axis in space.
#pragma once

#include "geometry/point.h"

#include <cmath>

namespace zel::tessel2d {

/// Cosine and sine of an angle in radians. An angle that is a multiple of a quarter turn to within its
/// rounding turns exactly.
struct cosine_sine {
    double cosine;
    double sine;

    explicit cosine_sine(double angle) noexcept : cosine(std::cos(angle)), sine(std::sin(angle)) {
        constexpr double rounding = 0x1p-51;
        if (!(std::fabs(angle) > 1)) return;
        if (std::fabs(cosine) < rounding) {
            cosine = 0;
            sine = std::copysign(1.0, sine);
        } else if (std::fabs(sine) < rounding) {
            sine = 0;
            cosine = std::copysign(1.0, cosine);
        }
    }
};

/// A turn in the plane, counterclockwise.
struct plane_turn {
    cosine_sine angle;

    explicit plane_turn(double radians) noexcept : angle(radians) {}
    point<2> operator()(const point<2>& d) const noexcept {
        return {angle.cosine * d[0] - angle.sine * d[1], angle.sine * d[0] + angle.cosine * d[1]};
    }
};

/// A turn in space: the direction of `rotation` is the axis, its length the angle (B. O. Rodrigues,
/// 1840). A vector without length does not turn.
struct space_turn {
    point<3> row[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    space_turn(const point<3>& rotation, double multiple) noexcept {
        const double length = std::hypot(rotation[0], rotation[1], rotation[2]);
        if (length == 0) return;
        const point<3> u{rotation[0] / length, rotation[1] / length, rotation[2] / length};
        const cosine_sine angle(multiple * length);
        const double c = angle.cosine;
        const double s = angle.sine;
        const double versine = 1 - c;
        row[0] = {c + versine * u[0] * u[0], versine * u[0] * u[1] - s * u[2],
                  versine * u[0] * u[2] + s * u[1]};
        row[1] = {versine * u[1] * u[0] + s * u[2], c + versine * u[1] * u[1],
                  versine * u[1] * u[2] - s * u[0]};
        row[2] = {versine * u[2] * u[0] - s * u[1], versine * u[2] * u[1] + s * u[0],
                  c + versine * u[2] * u[2]};
    }
    point<3> operator()(const point<3>& d) const noexcept {
        return {dot<3>(row[0], d), dot<3>(row[1], d), dot<3>(row[2], d)};
    }
};

/// The point p turned about a centre and then moved by `way`.
template <int Dim, class Turn>
point<Dim> turned(const Turn& turn, const point<Dim>& center, const point<Dim>& way,
                  const point<Dim>& p) noexcept {
    point<Dim> out = turn(difference<Dim>(p, center));
    for (std::size_t i = 0; i < Dim; ++i) out[i] = (center[i] + out[i]) + way[i];
    return out;
}

} // namespace zel::tessel2d
