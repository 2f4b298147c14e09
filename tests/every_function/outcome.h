// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a call leaves behind: its status and all bits of its outputs.
#include "zel/dense.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace zel_test::every_function {

/// Shape and values of one output, column by column, each value as the bits that it has.
struct part {
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::vector<std::uint64_t> bits{};

    bool operator==(const part& other) const {
        return rows == other.rows && cols == other.cols && bits == other.bits;
    }
    bool operator!=(const part& other) const { return !(*this == other); }
};

/// All NaN count as one. IEEE 754 leaves their sign and payload open, and they do differ between two
/// orders of the operands of one addition, which a compiler is free to choose. All else counts as it
/// stands; 0 and -0 are two values.
inline std::uint64_t bits_of(double x) {
    if (std::isnan(x)) return 0x7FF8000000000000u;
    std::uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}
template <class Number>
std::enable_if_t<!std::is_floating_point_v<Number>, std::uint64_t> bits_of(Number x) {
    return static_cast<std::uint64_t>(x);
}

template <class T>
part part_of(const zel::dense2D<T>& m) {
    part p{m.rows, m.cols};
    p.bits.reserve(m.rows * m.cols);
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i) p.bits.push_back(bits_of(m(i, j)));
    return p;
}
template <class T>
part part_of(const zel::dense1D<T, 8>& v) {
    part p{1, v.size};
    for (const T x : v) p.bits.push_back(bits_of(x));
    return p;
}
/// Two matrices that are handed over as a range count as one output.
inline part part_of(const std::array<zel::dense2D<unsigned>, 2>& two) {
    part p = part_of(two[0]);
    const part second = part_of(two[1]);
    p.bits.push_back(p.cols);
    p.cols += second.cols;
    p.bits.insert(p.bits.end(), second.bits.begin(), second.bits.end());
    return p;
}
template <class T, std::size_t N>
part part_of(const zel::symmetric_fixed<T, N>& m) {
    part p{N * (N + 1) / 2, 1};
    for (const T x : m) p.bits.push_back(bits_of(x));
    return p;
}
inline part part_of(const std::string& text) {
    part p{1, text.size()};
    for (const char c : text) p.bits.push_back(static_cast<unsigned char>(c));
    return p;
}
inline part part_of(double x) {
    return {1, 1, {bits_of(x)}};
}
inline part part_of(unsigned x) {
    return {1, 1, {x}};
}

/// A deep copy. A view keeps its start and leading dimension in a block of its own.
template <class T>
zel::dense2D<T> fresh(const zel::dense2D<T>& m) {
    zel::dense2D<T> own;
    if (m.start == 0 && m.contiguous()) {
        own.copy(m);
        return own;
    }
    zel::dense1D<T, 8> block(m.storage->capacity);
    std::copy_n(m.storage->data, block.size, block.data());
    own = m;
    own.storage = block.storage;
    return own;
}
template <class T>
zel::dense1D<T, 8> fresh(const zel::dense1D<T, 8>& v) {
    zel::dense1D<T, 8> own;
    if (own.resize(v.size)) std::copy(v.begin(), v.end(), own.begin());
    return own;
}
inline std::array<zel::dense2D<unsigned>, 2>
fresh(const std::array<zel::dense2D<unsigned>, 2>& two) {
    return {fresh(two[0]), fresh(two[1])};
}
/// Numbers and texts.
template <class Value>
Value fresh(const Value& value) {
    return value;
}

struct outcome {
    int status = 0;
    std::vector<part> before{}; ///< outputs on entry
    std::vector<part> after{};
};

/// Equal statuses and outputs have equal digests: FNV-1a of 64 bits over all of them, byte by byte.
std::uint64_t digest_of(const outcome& o);

} // namespace zel_test::every_function
