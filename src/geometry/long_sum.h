// SPDX-License-Identifier: Apache-2.0
#pragma once

// Adds numbers up without rounding, so that the order does not matter, and rounds once in the end.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace zel::tessel2d {

/// A sum of products of three doubles, without rounding: digits of 32 bits, signed, that carry now and then.
class long_sum {
public:
    static constexpr std::size_t count = 208; ///< digits

    void add(double x, double y, double z, bool negative) noexcept {
        const parts a(x);
        const parts b(y);
        const parts c(z);
        finite_ = finite_ && a.finite && b.finite && c.finite;
        if (!finite_) return;
        // The product by digits of 27 bits: two for each factor.
        const std::uint64_t ab[3] = {a.low * b.low, a.low * b.high + a.high * b.low,
                                     a.high * b.high};
        const unsigned place = a.exponent + b.exponent + c.exponent - 3;
        const bool minus = negative != (a.negative != (b.negative != c.negative));
        for (unsigned i = 0; i < 3; ++i) {
            // 55 bits in two halves, so that no product has more than 64.
            const std::uint64_t lower = ab[i] & low_bits;
            const std::uint64_t upper = ab[i] >> half;
            add_at(lower * c.low, place + half * i, minus);
            add_at(lower * c.high, place + half * (i + 1), minus);
            add_at(upper * c.low, place + half * (i + 1), minus);
            add_at(upper * c.high, place + half * (i + 2), minus);
        }
        if (++added_ == often) carry();
    }

    /// Adds one finite number.
    void add(double x) noexcept {
        const parts a(x);
        const unsigned place = a.exponent + 2 * one_exponent - 3 + 2 * 52; // as of x * 1 * 1
        add_at(a.high << half | a.low, place, a.negative);
        if (++added_ == often) carry();
    }

    /// False: a factor was infinite or NaN.
    bool is_finite() const noexcept { return finite_; }

    /// The digits, each but the highest from 0 to 2^32 - 1, so that those of very many sums can be added up one by
    /// one, in place.
    std::int64_t* settled_digits() noexcept {
        carry();
        return digits_;
    }

    /// The sum divided by 1 to 12 and rounded to nearest, ties to even. It can be taken once.
    double rounded(std::int64_t divisor) noexcept {
        if (!finite_) return std::numeric_limits<double>::quiet_NaN();
        carry();
        const bool negative = digits_[count - 1] < 0;
        if (negative) {
            for (std::int64_t& digit : digits_) digit = -digit;
            carry();
        }
        bool rest = divide(divisor);
        std::size_t top = count;
        while (top > 0 && digits_[top - 1] == 0) --top;
        if (top == 0) return 0;
        unsigned bit = 31;
        while ((digits_[top - 1] >> bit & 1) == 0) --bit;
        const long highest = static_cast<long>((top - 1) * 32 + bit);
        const long cut = std::max(highest - 52, subnormal_place); // of the last bit that stays
        for (long i = 0; i < cut - 1 && !rest; ++i) rest = bit_at(i);
        std::uint64_t mantissa = 0;
        for (long i = highest; i >= cut; --i) mantissa = mantissa * 2 + (bit_at(i) ? 1 : 0);
        if (bit_at(cut - 1) && (rest || mantissa % 2 != 0)) ++mantissa;
        const double size =
            std::ldexp(static_cast<double>(mantissa), static_cast<int>(cut + lowest_exponent));
        return negative ? -size : size;
    }

private:
    static constexpr unsigned half = 27;
    static constexpr std::uint64_t low_bits = (std::uint64_t{1} << half) - 1;
    // Digits behind the last bit of a product, for the division.
    static constexpr std::size_t spare = 3;
    static constexpr unsigned one_exponent = 1023; // that of 1.0
    static constexpr std::uint32_t often = 1u << 24;
    // Bit i of the digits weighs 2^(i + lowest_exponent): three mantissas count from 2^-1074.
    static constexpr long lowest_exponent = -3L * 1074 - 32 * static_cast<long>(spare);
    static constexpr long subnormal_place = -1074 - lowest_exponent;

    struct parts {
        std::uint64_t low, high;
        unsigned exponent;
        bool negative, finite;

        explicit parts(double x) noexcept {
            std::uint64_t bits;
            std::memcpy(&bits, &x, sizeof bits);
            negative = bits >> 63 != 0;
            exponent = static_cast<unsigned>(bits >> 52 & 0x7FF);
            finite = exponent != 0x7FF;
            std::uint64_t whole = bits & ((std::uint64_t{1} << 52) - 1);
            if (exponent != 0) whole |= std::uint64_t{1} << 52;
            if (exponent == 0) exponent = 1; // subnormal
            low = whole & low_bits;
            high = whole >> half;
        }
    };

    void add_at(std::uint64_t value, unsigned place, bool minus) noexcept {
        const std::size_t k = place / 32 + spare;
        const unsigned shift = place % 32;
        const std::uint64_t low = (value & 0xFFFFFFFFu) << shift;
        const std::uint64_t high = (value >> 32) << shift;
        const std::uint64_t sum[3] = {low & 0xFFFFFFFFu, (low >> 32) + (high & 0xFFFFFFFFu),
                                      high >> 32};
        for (std::size_t i = 0; i < 3; ++i) {
            const auto digit = static_cast<std::int64_t>(sum[i]);
            digits_[k + i] += minus ? -digit : digit;
        }
    }
    /// Brings all digits but the highest into 0 to 2^32 - 1.
    void carry() noexcept {
        std::int64_t over = 0;
        for (std::size_t k = 0; k + 1 < count; ++k) {
            const std::int64_t digit = digits_[k] + over;
            const std::int64_t stays = digit & 0xFFFFFFFF;
            over = (digit - stays) / (std::int64_t{1} << 32);
            digits_[k] = stays;
        }
        digits_[count - 1] += over;
        added_ = 0;
    }
    /// True: there is a rest.
    bool divide(std::int64_t divisor) noexcept {
        std::int64_t rest = 0;
        for (std::size_t k = count; k-- > 0;) {
            const std::int64_t digit = rest * (std::int64_t{1} << 32) + digits_[k];
            digits_[k] = digit / divisor;
            rest = digit % divisor;
        }
        return rest != 0;
    }
    bool bit_at(long i) const noexcept {
        return (digits_[static_cast<std::size_t>(i / 32)] >> (i % 32) & 1) != 0;
    }

    std::int64_t digits_[count] = {};
    std::uint32_t added_ = 0;
    bool finite_ = true;
};

} // namespace zel::tessel2d
