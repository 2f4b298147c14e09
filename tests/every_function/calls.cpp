// SPDX-License-Identifier: Apache-2.0
#include "every_function/calls.h"

namespace zel_test::every_function {

namespace {

/// FNV-1a, 64 bits.
void add_number(std::uint64_t& digest, std::uint64_t number) {
    for (unsigned byte = 0; byte < 8; ++byte, number >>= 8) {
        digest ^= number & 0xFF;
        digest *= 1099511628211u;
    }
}

} // namespace

std::uint64_t digest_of(const outcome& o) {
    std::uint64_t digest = 14695981039346656037u;
    add_number(digest, static_cast<std::uint64_t>(o.status));
    for (const part& p : o.after) {
        add_number(digest, p.rows);
        add_number(digest, p.cols);
        for (const std::uint64_t bits : p.bits) add_number(digest, bits);
    }
    return digest;
}

const std::vector<call>& all_calls() {
    static const std::vector<call> calls = [] {
        std::vector<call> all;
        add_foundation_calls(all);
        add_service_calls(all);
        add_generator_calls(all);
        add_extrusion_calls(all);
        add_normal_calls(all);
        add_conversion_calls(all);
        add_measure_calls(all);
        add_location_calls(all);
        return all;
    }();
    return calls;
}

} // namespace zel_test::every_function
