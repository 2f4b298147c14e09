// SPDX-License-Identifier: Apache-2.0
// The look at the processor that four_lanes.h declares.
//
// Alone in its object, so that the tests can put another one in its place and see both ways.
#include "geometry/four_lanes.h"

namespace zel::tessel2d {

bool has_four_lanes() noexcept {
#if defined(__x86_64__) && defined(__GNUC__)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

bool has_sixteen_numbers() noexcept {
#if defined(__x86_64__) && defined(__GNUC__) && !defined(ZEL_COVERAGE)
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vbmi2");
#else
    return false;
#endif
}

} // namespace zel::tessel2d
