// SPDX-License-Identifier: Apache-2.0
// Right-angled frames from a direction and a normal.
#pragma once

#include "geometry/point.h"

#include <cmath>

namespace zel::tessel2d {

/// Completes a direction u and a normal n to a frame of unit vectors at right angles: w = u x n, and n
/// becomes w x u, so that (u, n, w) is right-handed. u keeps its direction.
///
/// A zero u becomes the first axis. An n along u gives way to the axis that is farthest from u.
inline void tangent_frame(point<3>& u, point<3>& n, point<3>& w) noexcept {
    const double q = squared_length<3>(u);
    if (q == 0) {
        u[0] = 1.0;
    } else if (q != 1) {
        const double length = std::sqrt(q);
        for (double& component : u) component /= length;
    }
    w = cross(u, n);
    if (w[0] == 0 && w[1] == 0 && w[2] == 0) {
        std::size_t least = 0;
        for (std::size_t i = 1; i < 3; ++i)
            if (std::abs(u[i]) < std::abs(u[least])) least = i;
        n = {0, 0, 0};
        n[least] = 1; // mutation (1 -> 2): only the direction counts
        w = cross(u, n);
    }
    make_unit<3>(w);
    n = cross(w, u);
}

} // namespace zel::tessel2d
