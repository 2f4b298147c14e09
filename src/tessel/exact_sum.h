// SPDX-License-Identifier: Apache-2.0
// Finds the exact sign of a sum of products, for comparisons that rounding must not decide.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zel::tessel {

/// A sum of products of finite numbers, without rounding, overflow or underflow: a number of 4224
/// bits in signed digits of 32 bits. Carries are resolved only in `sign`, which is why a sum may
/// have at most a million products.
class exact_sum {
public:
    /// Adds a*b, doubled if `doublings` is 1.
    void add_product(double a, double b, unsigned doublings = 0) noexcept {
        const parts x(a);
        const parts y(b);
        const bool negative = x.negative != y.negative;
        const unsigned place = x.exponent + y.exponent + doublings;
        add(x.low * y.low, place, negative);
        add(x.low * y.high, place + half, negative);
        add(x.high * y.low, place + half, negative);
        add(x.high * y.high, place + 2 * half, negative);
    }

    /// -1, 0 or 1.
    int sign() const noexcept {
        bool zero = true;
        std::int64_t carry = 0;
        for (std::size_t k = first_; k < end_; ++k) {
            const std::int64_t digit = digits_[k] + carry;
            zero = zero && (digit & low_bits) == 0;
            carry = (digit - (digit & low_bits)) / base;
        }
        if (carry != 0) return carry < 0 ? -1 : 1;
        return zero ? 0 : 1;
    }

private:
    static constexpr unsigned half = 27; ///< bits of the lower half of a mantissa
    static constexpr std::int64_t base = std::int64_t{1} << 32;
    static constexpr std::int64_t low_bits = base - 1;
    static constexpr std::size_t most_digits = 132;

    /// A number is (high*2^27 + low) * 2^(exponent - 1075).
    struct parts {
        std::uint64_t low;
        std::uint64_t high;
        unsigned exponent;
        bool negative;

        explicit parts(double x) noexcept {
            std::uint64_t bits;
            std::memcpy(&bits, &x, sizeof bits);
            negative = bits >> 63 != 0;
            exponent = static_cast<unsigned>(bits >> 52 & 0x7FF);
            const std::uint64_t fraction = bits & ((std::uint64_t{1} << 52) - 1);
            const std::uint64_t whole = exponent != 0 ? std::uint64_t{1} << 52 : 0;
            if (exponent == 0) exponent = 1; // subnormal
            low = (whole | fraction) & ((std::uint64_t{1} << half) - 1);
            high = (whole | fraction) >> half;
        }
    };

    /// Adds value * 2^place; the value has 54 bits at most.
    void add(std::uint64_t value, unsigned place, bool negative) noexcept {
        if (value == 0) return;
        const std::size_t k = place / 32;
        const unsigned shift = place % 32;
        const std::uint64_t low = (value & 0xFFFFFFFFU) << shift;
        const std::uint64_t high = (value >> 32) << shift;
        const std::uint64_t sum[3] = {low & 0xFFFFFFFFU, (low >> 32) + (high & 0xFFFFFFFFU),
                                      high >> 32};
        for (std::size_t i = 0; i < 3; ++i) {
            const auto digit = static_cast<std::int64_t>(sum[i]);
            digits_[k + i] += negative ? -digit : digit;
        }
        if (k < first_) first_ = k;
        if (k + 3 > end_) end_ = k + 3;
    }

    std::int64_t digits_[most_digits] = {};
    std::size_t first_ = most_digits; ///< those in use
    std::size_t end_ = 0;
};

} // namespace zel::tessel
