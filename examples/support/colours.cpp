// SPDX-License-Identifier: Apache-2.0
#include "support/colours.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zel::examples {

namespace {

colour from_hex(unsigned rgb) {
    return {(rgb >> 16 & 255) / 255.0, (rgb >> 8 & 255) / 255.0, (rgb & 255) / 255.0};
}

colour_map from_hex(const std::vector<unsigned>& list) {
    colour_map map;
    for (const unsigned rgb : list) map.push_back(from_hex(rgb));
    return map;
}

int to_byte(double part) {
    return static_cast<int>(std::lround(255 * std::clamp(part, 0.0, 1.0)));
}

} // namespace

std::string hex(const colour& c) {
    char text[16];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", to_byte(c.red), to_byte(c.green),
                  to_byte(c.blue));
    return text;
}

colour mix(const colour& a, const colour& b, double weight) {
    const double rest = 1 - weight;
    return {rest * a.red + weight * b.red, rest * a.green + weight * b.green,
            rest * a.blue + weight * b.blue};
}

const colour_map& growing_colours() {
    static const colour_map map =
        from_hex({0x440154, 0x482475, 0x414487, 0x355f8d, 0x2a788e, 0x21918c, 0x22a884, 0x44bf70,
                  0x7ad151, 0xbddf26, 0xfde725});
    return map;
}

const colour_map& quality_colours() {
    static const colour_map map =
        from_hex({0xb8302f, 0xe2704a, 0xf6b26b, 0xfbe6a2, 0xcfe5a5, 0x8fc98b, 0x4aa37a});
    return map;
}

const colour_map& signed_colours() {
    static const colour_map map =
        from_hex({0x2166ac, 0x67a9cf, 0xd1e5f0, 0xf7f7f7, 0xfddbc7, 0xef8a62, 0xb2182b});
    return map;
}

colour colour_at(const colour_map& map, double t) {
    if (std::isnan(t)) return {0.6, 0.6, 0.6};
    const double place = std::clamp(t, 0.0, 1.0) * static_cast<double>(map.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(place), map.size() - 2);
    return mix(map[below], map[below + 1], place - static_cast<double>(below));
}

} // namespace zel::examples
