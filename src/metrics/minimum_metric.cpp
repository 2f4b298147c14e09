// SPDX-License-Identifier: Apache-2.0
// Intersects two size tensors: the result asks for the smaller of their sizes along each axis of
// their common basis.
#include "metrics/metric_reduction.h"
#include "zel/tessel.h"

#include <algorithm>

namespace zel::tessel {

using namespace tessel2d;

namespace {

bool is_zero(const tensor3& m) noexcept {
    return std::all_of(m.begin(), m.end(), [](double x) { return x == 0; });
}
bool is_finite(const tensor3& m) noexcept {
    return std::all_of(m.begin(), m.end(), [](double x) { return std::isfinite(x); });
}

/// Multiplies by a power of two. The product with the power itself is rounded as `ldexp` rounds, and is much faster
/// for several numbers; it takes a power that is a normal number.
class scaling {
public:
    explicit scaling(int power_of_two) noexcept
        : exponent(power_of_two),
          direct(-1022 <= exponent && exponent <= 1023),
          power(direct ? std::ldexp(1.0, exponent) : 0) {}
    double operator()(double x) const noexcept {
        return direct ? x * power : std::ldexp(x, exponent);
    }

private:
    int exponent;
    bool direct;
    double power;
};

/// A tensor as a power of two times a tensor with entries of about 1, so that no product overflows
/// or underflows.
struct scaled_tensor {
    tensor3 m;
    int exponent = 0;

    explicit scaled_tensor(const tensor3& given) noexcept : m(given) {
        double largest = 0;
        for (const double x : m) largest = std::max(largest, std::fabs(x));
        exponent = std::ilogb(largest);
        const scaling down(-exponent);
        for (double& x : m) x = down(x);
    }
    /// 1 for a sphere, towards 0 for a flat or a long ellipsoid, and not above 0 if the tensor is
    /// not positive definite.
    double roundness() const noexcept {
        const double mean = (m[0] + m[2] + m[5]) / 3;
        const double determinant = m[0] * (m[2] * m[5] - m[4] * m[4]) -
                                   m[1] * (m[1] * m[5] - m[4] * m[3]) +
                                   m[3] * (m[1] * m[4] - m[2] * m[3]);
        return mean > 0 ? determinant / (mean * mean * mean) : 0;
    }
};

bool intersect(const scaled_tensor& a, const scaled_tensor& b, tensor3& result) noexcept {
    metric_reduction3 r;
    if (!metric_reduction_3d(a.m, b.m, r)) return false;
    // The result is formed in units of this power of two.
    const int most = std::max(a.exponent, b.exponent);
    const scaling from_a(a.exponent - most);
    const scaling from_b(b.exponent - most);
    double mu[3];
    for (int k = 0; k < 3; ++k) mu[k] = std::max(from_a(r.d0[k]), from_b(r.d1[k]));
    tensor3 m = from_basis(r, mu);
    const scaling up(most);
    for (double& x : m) x = up(x);
    if (!is_finite(m)) return false;
    result = m;
    return true;
}

} // namespace

bool minimum_metric(const symmetric_fixed<double, 3>& a, const symmetric_fixed<double, 3>& b,
                    symmetric_fixed<double, 3>& result) noexcept {
    if (is_zero(b)) {
        result = a;
        return true;
    }
    if (is_zero(a)) {
        result = b;
        return true;
    }
    if (!is_finite(a) || !is_finite(b)) return false;
    const scaled_tensor first(a);
    const scaled_tensor second(b);
    // Rounding errors grow with the elongation of the tensor that the reduction starts from.
    return first.roundness() >= second.roundness()
               ? intersect(first, second, result) || intersect(second, first, result)
               : intersect(second, first, result) || intersect(first, second, result);
}

} // namespace zel::tessel
