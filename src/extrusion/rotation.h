// SPDX-License-Identifier: Apache-2.0
// Computes the rotation that a rotation vector stands for, with its tangent operator and their
// derivatives.
#pragma once

#include "geometry/point.h"

#include <algorithm>

namespace zel::tessel2d {

/// All that belongs to the rotation by the angle |w| about the direction of w, in the sense of the right
/// hand. Matrices are 3 x 3, stored by columns: element (i, j) at j*3 + i.
struct rotation_state {
    double w[3];       ///< the rotation vector
    double R[9];       ///< rotation matrix I + c0*W + c1*S
    double scratch[9]; ///< R - I
    double W[9];       ///< skew matrix: W*d is w x d
    double S[9];       ///< W*W
    double T[9];       ///< tangent operator I + c1*W + c5*S
    double D1[9];      ///< c3*W + c6*S
    double D2[9];      ///< c4*W + c7*S
    double c[8];       ///< the coefficients, see `rotation_coefficients`
};
static_assert(sizeof(rotation_state) == 74 * sizeof(double));

/// The coefficients for theta, with q = theta*theta:
///
///     c0 = sin(theta)/theta     c1 = (1 - cos(theta))/q     c2 = c5 - c1        c3 = (c0 - 2*c1)/q
///     c4 = (c2 - 4*c3)/q        c5 = (1 - c0)/q             c6 = (c1 - 3*c5)/q  c7 = (c3 - 5*c6)/q
///
/// Up to 0.1 they come from their series and are accurate to some units in the last place, at 0
/// too. Beyond it they are evaluated as they stand, and each division by q magnifies the rounding
/// of the differences above it. What R and T are made of, c0*|w|, c1*q and c5*q, stays accurate to
/// rounding.
void rotation_coefficients(double q, double (&c)[8]) noexcept;

/// Adds to S, a 3 x 3 matrix, the square of the skew matrix of w times `factor`: w w^T - (w . w) I.
void skew_square(double factor, const point<3>& w, double (&S)[9]) noexcept;

/// Fills the state for the rotation vector w; w = 0 gives R = I exactly.
void make_rotation_state(rotation_state& state, const point<3>& w) noexcept;

/// A rotation about a centre, ready for many points.
struct rotation_about {
    point<3> centre;
    double R[9];

    /// The rotation by the vector s*w.
    rotation_about(const point<3>& about, double s, const point<3>& w) noexcept : centre(about) {
        rotation_state state{};
        make_rotation_state(state, {s * w[0], s * w[1], s * w[2]});
        std::copy_n(state.R, 9, R);
    }
    /// The point at d from the centre, turned: centre + R*d.
    point<3> operator()(const point<3>& d) const noexcept {
        return {centre[0] + (d[0] * R[0] + d[1] * R[3] + d[2] * R[6]),
                centre[1] + (d[0] * R[1] + d[1] * R[4] + d[2] * R[7]),
                centre[2] + (d[0] * R[2] + d[1] * R[5] + d[2] * R[8])};
    }
};

} // namespace zel::tessel2d
