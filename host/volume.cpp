// SPDX-License-Identifier: Apache-2.0
//
// The volume within a closed surface, exactly rounded.
//
// Six times the volume is the sum of the determinants of the triangles' corners; the bilinear surface of a
// quadrilateral encloses the mean of what its two cuts into triangles enclose. So twelve times the volume is a
// sum of products of three coordinates with signs. Each product is an integer of 159 bits times a power of
// two; the sum is kept as one long integer, is divided by twelve in the end, and rounded once.
#include "zel/host/volume.h"

#include "host/sides.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace zel::host {

namespace {

/// A sum of products of three doubles, without rounding: digits of 32 bits, signed, that carry now and then.
class long_sum {
public:
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

    /// The sum divided by 12 and rounded to nearest, ties to even.
    double twelfth() noexcept {
        if (!finite_) return std::numeric_limits<double>::quiet_NaN();
        carry();
        const bool negative = digits_[count - 1] < 0;
        if (negative) {
            for (std::int64_t& digit : digits_) digit = -digit;
            carry();
        }
        bool rest = divide();
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
    static constexpr std::size_t count = 208;
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
    /// Divides by 12. True: there is a rest.
    bool divide() noexcept {
        std::int64_t rest = 0;
        for (std::size_t k = count; k-- > 0;) {
            const std::int64_t digit = rest * (std::int64_t{1} << 32) + digits_[k];
            digits_[k] = digit / 12;
            rest = digit % 12;
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

/// Adds the determinant of the corners of a triangle.
void add_triangle(long_sum& sum, const double* a, const double* b, const double* c) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3;
        const std::size_t k = (i + 2) % 3;
        sum.add(a[i], b[j], c[k], false);
        sum.add(a[i], b[k], c[j], true);
    }
}

/// Counts the edges that are not shared by exactly two sides in opposite directions.
struct count_open_edges {
    columns<const unsigned> connect;
    std::size_t rows;
    std::size_t open = 0;

    template <class Side>
    bool upwards(const Side& s) const noexcept {
        const unsigned* const cell = connect[s.element()];
        const unsigned corners = rows == 3 ? 3 : mixed_cells::corners(cell);
        const auto ends = tessel2d::edge_nodes(cell, corners, s.edge());
        return ends.a < ends.b;
    }
    template <class Side>
    void ahead(const Side& s) const noexcept {
        tessel2d::prefetch(connect[s.element()]);
    }
    template <class Side>
    void two(const Side& s, const Side& t, bool joined) noexcept {
        if (!joined) {
            ++open;
        } else if (upwards(s) != upwards(t)) {
            --open;
        }
    }
    template <class Side>
    void three(const Side& s, const Side& t, const Side&) noexcept {
        if (upwards(s) != upwards(t)) ++open;
    }
    template <class Side>
    void more(const Side&) const noexcept {}
};

template <class Shape>
bool find_open_edges(const dense2D<unsigned>& connect, std::size_t nodes,
                     std::size_t& open) noexcept {
    filed_sides<Shape, std::uint64_t> sides;
    if (!sides.file(connect, nodes)) return false;
    count_open_edges count{columns_of(connect), connect.rows};
    sides.visit_edges(nodes, count);
    open = count.open;
    return true;
}

void add_element(long_sum& sum, const dense2D<double>& pos, const unsigned* cell,
                 bool quad) noexcept {
    const double* const a = pos[cell[0]];
    const double* const b = pos[cell[1]];
    const double* const c = pos[cell[2]];
    add_triangle(sum, a, b, c);
    if (!quad) return add_triangle(sum, a, b, c);
    const double* const d = pos[cell[3]];
    add_triangle(sum, a, c, d);
    add_triangle(sum, a, b, d);
    add_triangle(sum, b, c, d);
}

} // namespace

int volume(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& result) {
    if (pos.rows != 3) return -1;
    if (connect.cols >= 0xFFFFFFFEu || pos.cols > tessel2d::most_nodes) return -2;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, static_cast<unsigned>(pos.cols))) return -2;
    std::size_t open = 0;
    if (!connect.empty() &&
        !(connect.rows == 3 ? find_open_edges<triangle_cells>(connect, pos.cols, open)
                            : find_open_edges<mixed_cells>(connect, pos.cols, open))) {
        return status_memory;
    }
    if (open != 0) return tessel2d::as_count(open);
    long_sum sum;
    for (std::size_t e = 0; e < connect.cols && !connect.empty(); ++e)
        add_element(sum, pos, connect[e], connect.rows == 4 && connect(3, e) != no_node);
    result = sum.twelfth();
    return status_ok;
}

} // namespace zel::host
