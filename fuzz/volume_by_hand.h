// SPDX-License-Identifier: Apache-2.0
#pragma once

// Closed surfaces, and the volume within them once more: a sum without rounding, with which a result is compared
// on both sides.
//
// The sum is kept in units of 2^-3222, the product of the smallest three numbers, in words of 16 bits of which each
// holds more than its share and a sign. A product of three mantissas, each cut into three pieces of 18 bits, is
// added piece by piece.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <utility>

namespace zel_fuzz {

/// A finite number as an integer of up to 53 bits times a power of two; infinity as the power that comes behind
/// the largest number.
struct integer_and_power {
    std::int64_t integer;
    int power;

    explicit integer_and_power(double x) {
        if (std::isinf(x)) {
            integer = x > 0 ? 1 : -1;
            power = 1024;
            return;
        }
        const double fraction = std::frexp(x, &power);
        integer = static_cast<std::int64_t>(std::ldexp(fraction, 53));
        power = x == 0 ? 0 : power - 53;
        while (integer % 2 == 0 && integer != 0) { // the smallest numbers have fewer bits
            integer /= 2;
            ++power;
        }
    }
};

class exact_number {
public:
    /// Adds `times` * a * b * c.
    void add(std::int64_t times, double a, double b, double c) {
        const integer_and_power x(a), y(b), z(c);
        const std::array<std::int64_t, 3> u = pieces(x), v = pieces(y), w = pieces(z);
        const int at = x.power + y.power + z.power - lowest;
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
                for (std::size_t k = 0; k < 3; ++k)
                    add_piece(times * u[i] * v[j] * w[k], at + 18 * static_cast<int>(i + j + k));
        carry();
    }
    /// Adds `times` * a, where infinity is what follows the largest number.
    void add(std::int64_t times, double a) {
        const integer_and_power x(a);
        const std::array<std::int64_t, 3> u = pieces(x);
        for (std::size_t i = 0; i < 3; ++i)
            add_piece(times * u[i], x.power - lowest + 18 * static_cast<int>(i));
        carry();
    }
    /// -1, 0 or 1.
    int sign() const {
        for (std::size_t i = words_.size(); i-- > 0;)
            if (words_[i] != 0) return words_[i] < 0 ? -1 : 1;
        return 0;
    }

private:
    static constexpr int lowest = -3 * 1074;
    // Up to three numbers of 2^1024, some bits for how many they are, and a sign.
    std::array<std::int64_t, 3 * (1024 + 1074) / 16 + 4> words_{};

    static std::array<std::int64_t, 3> pieces(const integer_and_power& x) {
        constexpr std::int64_t one = 1 << 18;
        return {x.integer % one, x.integer / one % one, x.integer / one / one};
    }
    void add_piece(std::int64_t piece, int bit) {
        for (; piece != 0; piece /= 0x10000, bit += 16)
            words_[static_cast<std::size_t>(bit / 16)] += piece % 0x10000 * (1 << bit % 16);
    }
    /// All words but the highest become 0 to 0xFFFF.
    void carry() {
        for (std::size_t i = 0; i + 1 < words_.size(); ++i) {
            const std::int64_t word = words_[i];
            const std::int64_t low = (word % 0x10000 + 0x10000) % 0x10000;
            words_[i] = low;
            words_[i + 1] += (word - low) / 0x10000;
        }
    }
};

/// An empty matrix may claim any number of columns.
inline std::size_t element_count(const dense2D<unsigned>& connect) {
    return connect.empty() ? 0 : connect.cols;
}

/// Twelve times what the elements enclose with the origin.
inline exact_number twelve_volumes(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    exact_number sum;
    for (std::size_t e = 0; e < element_count(connect); ++e) {
        const unsigned n = corners(connect, e);
        const auto add_triangle = [&](unsigned i, unsigned j, unsigned k) {
            const double* const at[3] = {pos[connect(i, e)], pos[connect(j, e)],
                                         pos[connect(k, e)]};
            constexpr unsigned orders[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1},
                                               {0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
            for (unsigned o = 0; o < 6; ++o)
                sum.add((o < 3 ? 1 : -1) * (n == 3 ? 2 : 1), at[orders[o][0]][0],
                        at[orders[o][1]][1], at[orders[o][2]][2]);
        };
        for (unsigned left_out = n; left_out-- > 0;) {
            if (n == 3 && left_out != 0) continue;
            const unsigned first = n == 3 ? 0 : (left_out + 1) % 4;
            add_triangle(first, (first + 1) % n, (first + 2) % n);
        }
    }
    return sum;
}

/// Whether no double is closer to a twelfth of `twelve` than v, and of two as close v is the even one.
inline bool is_nearest_twelfth(const exact_number& twelve, double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const int way : {-1, 1}) {
        if (std::isinf(v) && (v > 0) == (way > 0)) continue; // there is nothing beyond
        exact_number rest = twelve; // without 12 times the middle between v and the next number
        rest.add(-6, v);
        rest.add(-6, std::nextafter(v, way * infinity));
        const int side = rest.sign() * way;
        if (side > 0 || (side == 0 && bits % 2 != 0)) return false;
    }
    return true;
}

/// Edges that are not shared by two sides alone which run along them in opposite directions.
inline std::size_t open_edges(const dense2D<unsigned>& connect) {
    std::map<std::pair<unsigned, unsigned>, std::pair<int, int>> sides; // upwards and downwards
    for (std::size_t e = 0; e < element_count(connect); ++e) {
        const unsigned n = corners(connect, e);
        for (unsigned k = 0; k < n; ++k) {
            const unsigned a = connect(k, e);
            const unsigned b = connect((k + 1) % n, e);
            if (a == b) continue;
            auto& along = sides[std::minmax(a, b)];
            ++(a < b ? along.first : along.second);
        }
    }
    std::size_t open = 0;
    for (const auto& edge : sides) open += edge.second != std::pair<int, int>(1, 1);
    return open;
}

/// One or two rings of nx times ny cells, closed in both directions, the second of them inside out now and then;
/// cells are quadrilaterals or two triangles. The nodes may lie anywhere.
inline dense2D<unsigned> closed_surface(input& in, std::size_t height, std::size_t& nodes) {
    std::vector<std::array<unsigned, 4>> all;
    nodes = 0;
    for (unsigned rings = 1 + in.below(2); rings > 0; --rings) {
        const unsigned nx = 1 + in.below(5);
        const unsigned ny = 1 + in.below(5);
        const bool inside_out = in.one_in(4);
        const auto first = static_cast<unsigned>(nodes);
        const auto node = [&](unsigned i, unsigned j) { return first + j % ny * nx + i % nx; };
        for (unsigned c = 0; c < nx * ny; ++c) {
            const unsigned i = c % nx, j = c / nx;
            std::array<unsigned, 4> cell{node(i, j), node(i + 1, j), node(i + 1, j + 1),
                                         node(i, j + 1)};
            if (inside_out) std::swap(cell[1], cell[3]);
            if (height == 4 && !in.one_in(4)) {
                all.push_back(cell);
            } else {
                all.push_back({cell[0], cell[1], cell[2], no_node});
                all.push_back({cell[2], cell[3], cell[0], no_node});
            }
        }
        nodes += nx * ny;
    }
    dense2D<unsigned> connect =
        blank_matrix<unsigned>(in, height, all.size(), static_cast<unsigned>(nodes));
    for (std::size_t e = 0; e < connect.cols; ++e) std::copy_n(all[e].data(), height, connect[e]);
    return connect;
}

} // namespace zel_fuzz
