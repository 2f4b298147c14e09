// SPDX-License-Identifier: Apache-2.0
#include "support/lanes.h"

#include "geometry/four_lanes.h"

#include <atomic>

namespace {

std::atomic<bool> only_one{false};

} // namespace

namespace zel::tessel2d {

// In place of the library's own.
bool has_four_lanes() noexcept {
#if defined(__x86_64__) && defined(__GNUC__)
    return !only_one && __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

} // namespace zel::tessel2d

namespace zel_test {

one_lane::one_lane() noexcept {
    only_one = true;
}

one_lane::~one_lane() {
    only_one = false;
}

} // namespace zel_test
