// SPDX-License-Identifier: Apache-2.0
#include "support/lanes.h"

#include "geometry/four_lanes.h"

#include <atomic>

namespace {

std::atomic<bool> only_one{false};
std::atomic<bool> at_most_eight{false};

} // namespace

namespace zel::tessel2d {

// In place of the library's own, and so is the next one.
bool has_four_lanes() noexcept {
#if defined(__x86_64__) && defined(__GNUC__)
    return !only_one && __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

bool has_sixteen_numbers() noexcept {
#if defined(__x86_64__) && defined(__GNUC__) && !defined(ZEL_COVERAGE)
    return !only_one && !at_most_eight && __builtin_cpu_supports("avx512f");
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

eight_numbers::eight_numbers() noexcept {
    at_most_eight = true;
}

eight_numbers::~eight_numbers() {
    at_most_eight = false;
}

} // namespace zel_test
