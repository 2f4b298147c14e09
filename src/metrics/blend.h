// SPDX-License-Identifier: Apache-2.0
// Interpolates between two size tensors: the sizes along the axes of their common basis are linear.
#pragma once

#include "geometry/number.h"
#include "metrics/metric_reduction.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace zel::tessel2d {

/// Sizes and eigenvalues from here on count as infinite.
constexpr double infinite_size = std::numeric_limits<double>::max();

/// The sizes whose square and inverse square are ordinary numbers lie between these two: the roots of
/// the smallest positive normal number and of the largest number.
constexpr double least_squarable = 1.4916681462400413e-154;
constexpr double most_squarable = 1.3407807929942596e154;

/// Returns true if a coordinate is 0 but for rounding. A NaN counts as 0.
inline bool is_negligible(double x) noexcept {
    return !(std::abs(x) >= relative_slack);
}

/// Returns true if a size or an eigenvalue is usable: above 0 and not infinite.
inline bool is_size(double h) noexcept {
    return h > 0 && h < infinite_size;
}

/// 1/h^2. Sizes too small for that count as if they had the largest eigenvalue, sizes too large as if
/// they asked for nothing.
inline double size_eigenvalue(double h) noexcept {
    if (h < least_squarable) return infinite_size;
    if (h > most_squarable) return 0;
    return 1 / (h * h);
}

template <std::size_t Order>
constexpr std::size_t tensor_entries = Order*(Order + 1) / 2;

/// A column of packed tensors.
template <std::size_t Order>
inline tensor<Order> tensor_at(const double* column) noexcept {
    tensor<Order> m;
    std::copy_n(column, tensor_entries<Order>, m.begin());
    return m;
}

/// The tensors between A and B, whose common basis is found once for all of them. There are none, and
/// `exists` is false, unless both are positive definite with finite sizes.
template <std::size_t Order>
struct metric_segment {
    metric_reduction<Order> common;
    double from[Order]; ///< the size that A asks for along e_k
    double to[Order];   ///< the size that B asks for along e_k
    bool exists;

    metric_segment() noexcept = default;
    metric_segment(const tensor<Order>& a, const tensor<Order>& b) noexcept
        : exists(reduce_metrics(a, b, common)) {
        if (!exists) return;
        for (std::size_t k = 0; k < Order; ++k) {
            exists = exists && is_size(common.d0[k]) && is_size(common.d1[k]);
            from[k] = 1 / std::sqrt(common.d0[k]);
            to[k] = 1 / std::sqrt(common.d1[k]);
        }
    }

    /// The tensor at t, from A at 0 to B at 1. Returns false, with `result` zero, if there is no
    /// segment, or if the sizes beyond its ends are no longer positive and finite.
    bool at(double t, tensor<Order>& result) const noexcept {
        result = {};
        if (!exists) return false;
        const bool beyond = !(t >= 0) || t > 1;
        double mu[Order];
        for (std::size_t k = 0; k < Order; ++k) {
            const double h = (to[k] - from[k]) * t + from[k];
            if (beyond && !is_size(h)) return false;
            mu[k] = size_eigenvalue(h);
        }
        result = from_basis(common, mu);
        return true;
    }
};

/// The tensor between A at t = 0 and B at t = 1, where the sizes along the common basis are linear
/// in t. At the ends, to 1e-12, the result is A or B as it stands, whatever these hold, and for a
/// NaN it is A. Returns false, with `result` zero, if one of the two is not positive definite or
/// not finite, or if t is so far outside that a size is no longer positive and finite. `result` may
/// be `a` or `b` itself.
template <std::size_t Order>
inline bool blend(const tensor<Order>& a, const tensor<Order>& b, double t,
                  tensor<Order>& result) noexcept {
    if (is_negligible(t)) {
        result = tensor<Order>(a);
        return true;
    }
    if (is_negligible(1 - t)) {
        result = tensor<Order>(b);
        return true;
    }
    return metric_segment<Order>(a, b).at(t, result);
}

} // namespace zel::tessel2d
