// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace zel::examples {

/// Red, green and blue from 0 to 1.
struct colour {
    double red, green, blue;
};

/// `#rrggbb`.
std::string hex(const colour& c);

/// `weight` 0 gives a, 1 gives b.
colour mix(const colour& a, const colour& b, double weight);

/// Colours at equal steps from 0 to 1, with those between interpolated.
using colour_map = std::vector<colour>;

/// From dark blue through green to yellow: for quantities that grow.
const colour_map& growing_colours();
/// From red through a pale middle to green: for quality, where little is bad.
const colour_map& quality_colours();
/// From blue through white to red: for quantities with a sign.
const colour_map& signed_colours();

/// The colour at t, which is held between 0 and 1; a NaN gives grey.
colour colour_at(const colour_map& map, double t);

/// Colours with a role on every picture.
namespace palette {
inline constexpr colour ink{0.13, 0.17, 0.22};    ///< text and axes
inline constexpr colour muted{0.42, 0.47, 0.53};  ///< secondary text
inline constexpr colour grid{0.88, 0.90, 0.92};   ///< grid lines
inline constexpr colour blue{0.20, 0.44, 0.69};   ///< bars, and what is to stand out
inline constexpr colour orange{0.85, 0.42, 0.13}; ///< marks and second things
inline constexpr colour sky{0.87, 0.92, 0.97};    ///< the elements of planar meshes
inline constexpr colour clay{0.86, 0.80, 0.71};   ///< surfaces
} // namespace palette

} // namespace zel::examples
