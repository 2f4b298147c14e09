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

    /// A double as sign, integer of 53 bits, and power of two.
    struct factor {
        std::uint64_t whole;
        unsigned exponent;
        bool negative, finite;

        explicit factor(double x) noexcept {
            std::uint64_t bits;
            std::memcpy(&bits, &x, sizeof bits);
            negative = bits >> 63 != 0;
            exponent = static_cast<unsigned>(bits >> 52 & 0x7FF);
            finite = exponent != 0x7FF;
            const std::uint64_t normal = exponent != 0; // 0: subnormal
            whole = (bits & ((std::uint64_t{1} << 52) - 1)) | normal << 52;
            exponent += exponent == 0;
        }
    };

    /// Adds a product, or with `twice` 1 the double of it.
    void add(const factor& a, const factor& b, const factor& c, bool negative,
             unsigned twice) noexcept {
        finite_ = finite_ && a.finite && b.finite && c.finite;
        if (!finite_) return;
        const words ab = product(a.whole, b.whole);
        const words low = product(ab.low, c.whole);
        words high = product(ab.high, c.whole);
        high.low += low.high;
        high.high += high.low < low.high; // 31 bits
        add_at(low.low, high.low, high.high, a.exponent + b.exponent + c.exponent - 3 + twice,
               negative != (a.negative != (b.negative != c.negative)));
    }

    /// Adds one finite number.
    void add(double x) noexcept {
        const factor a(x);
        add_at(a.whole, 0, 0, a.exponent + 2 * one_exponent - 3 + 2 * 52, // as of x * 1 * 1
               a.negative);
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
    // Digits behind the last bit of a product, for the division.
    static constexpr std::size_t spare = 3;
    static constexpr unsigned one_exponent = 1023; // that of 1.0
    static constexpr std::uint32_t often = 1u << 24;
    // Bit i of the digits weighs 2^(i + lowest_exponent): three mantissas count from 2^-1074.
    static constexpr long lowest_exponent = -3L * 1074 - 32 * static_cast<long>(spare);
    static constexpr long subnormal_place = -1074 - lowest_exponent;

    struct words {
        std::uint64_t low, high;
    };
    static words product(std::uint64_t a, std::uint64_t b) noexcept {
#if defined(__SIZEOF_INT128__)
        __extension__ using wide = unsigned __int128;
        const wide all = wide{a} * b;
        return {static_cast<std::uint64_t>(all), static_cast<std::uint64_t>(all >> 64)};
#else
        const std::uint64_t a0 = a & 0xFFFFFFFF, a1 = a >> 32, b0 = b & 0xFFFFFFFF, b1 = b >> 32;
        const std::uint64_t low = a0 * b0;
        const std::uint64_t first = a1 * b0 + (low >> 32);
        const std::uint64_t second = a0 * b1 + (first & 0xFFFFFFFF);
        return {second << 32 | (low & 0xFFFFFFFF), a1 * b1 + (first >> 32) + (second >> 32)};
#endif
    }

    /// Adds an integer of three words, the highest of 31 bits, times 2^place.
    void add_at(std::uint64_t low, std::uint64_t middle, std::uint64_t high, unsigned place,
                bool minus) noexcept {
        const unsigned shift = place % 32;
        const std::uint64_t shifted[3] = {low << shift, middle << shift | low >> 1 >> (63 - shift),
                                          high << shift | middle >> 1 >> (63 - shift)};
        std::int64_t* const digits = digits_ + place / 32 + spare;
        const std::int64_t sign = minus ? -1 : 0;
        for (unsigned i = 0; i < 6; ++i) {
            const std::uint64_t digit = shifted[i / 2] >> 32 * (i % 2) & 0xFFFFFFFF;
            digits[i] += (static_cast<std::int64_t>(digit) ^ sign) - sign;
        }
        if (++added_ == often) carry();
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
