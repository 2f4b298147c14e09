// SPDX-License-Identifier: Apache-2.0
// What formulas ask of a number besides arithmetic and comparison.
#pragma once

// A formula that is a template over its number runs with `double`, for which the functions stand here, and
// with four doubles at a time, for which they stand in lanes.h. A comparison gives `bool` or a mask; a
// formula uses it through `both`, `either`, `!`, `none`, `choose`,
// `kept_where` and `zero_where` alone.
//
// Such a formula is inlined by force: the instructions of lanes.h exist only inside of functions that are
// compiled for them.
#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

/// Slack of comparisons near 0 and 1.
constexpr double relative_slack = 1e-12;

/// b if it is below a, else a. Where one of the two is NaN this is a.
inline double smaller(double a, double b) noexcept {
    return std::min(a, b);
}

/// b if it is above a, else a. Where one of the two is NaN this is a.
inline double larger(double a, double b) noexcept {
    return std::max(a, b);
}

inline double square_root(double a) noexcept {
    return std::sqrt(a);
}

inline double absolute(double a) noexcept {
    return std::abs(a);
}

/// A mask that is set in no lane.
inline bool nowhere(double) noexcept {
    return false;
}

inline bool both(bool a, bool b) noexcept {
    return a && b;
}

inline bool either(bool a, bool b) noexcept {
    return a || b;
}

inline bool none(bool a) noexcept {
    return !a;
}

/// a where the mask is set, b elsewhere.
inline double choose(bool mask, double a, double b) noexcept {
    return mask ? a : b;
}

/// a where the mask is set, 0 elsewhere. One instruction less than `choose`.
inline double kept_where(bool mask, double a) noexcept {
    return mask ? a : 0;
}

/// 0 where the mask is set, a elsewhere.
inline double zero_where(bool mask, double a) noexcept {
    return mask ? 0 : a;
}

} // namespace zel::tessel2d
