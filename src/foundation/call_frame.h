// SPDX-License-Identifier: Apache-2.0
// Defines what all public functions have in common: statuses, limits of node numbers, tests of
// outputs, and cursors that take data pointer and leading dimension out of the loops.
#pragma once

#include "zel/dense.h"

#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>

// Value 1 means that float is computed as double; the library has no floats. Value 2 is the
// arithmetic of the x87.
static_assert(FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1,
              "zel tessel2d needs doubles that are rounded in every step: no x87 arithmetic");

namespace zel {

/// Stands for no node, no element and no neighbour; in row 3 of a mixed column it marks a triangle.
constexpr unsigned no_node = 0xFFFFFFFFu;

namespace tessel2d {

constexpr int status_ok = 0;
constexpr int status_memory = -199;

/// The most nodes that 32-bit numbers can distinguish; the number 0xFFFFFFFF is no node.
constexpr std::uint64_t most_nodes = 0xFFFFFFFFu;

/// Computes a + b or a * b. Returns false if the result does not fit.
inline bool checked_add(std::size_t a, std::size_t b, std::size_t& sum) noexcept {
    return dense_detail::add(a, b, sum);
}
inline bool checked_multiply(std::size_t a, std::size_t b, std::size_t& product) noexcept {
    return dense_detail::multiply(a, b, product);
}

/// Adds `present` and `more` nodes. Returns false if 32-bit numbers cannot hold them all.
inline bool node_total(std::size_t present, std::size_t more, std::size_t& total) noexcept {
    return checked_add(present, more, total) && (more == 0 || total <= most_nodes);
}

/// The number of nodes as a bound for `check_IDs`; 0xFFFFFFFF is no node however many there are.
inline unsigned node_bound(const dense2D<double>& pos) noexcept {
    return pos.cols < no_node ? static_cast<unsigned>(pos.cols) : no_node;
}

/// A number of elements as a status: the number, or the largest `int` if that is smaller.
inline int as_count(std::size_t n) noexcept {
    constexpr std::size_t most = INT_MAX;
    return static_cast<int>(n < most ? n : most);
}

/// Returns true if an output connectivity can take columns of `height` rows: it is empty or has
/// that height.
inline bool takes_rows(const dense2D<unsigned>& connect, std::size_t height) noexcept {
    return connect.empty() || connect.rows == height;
}

/// Resizes a matrix to `cols` columns. The caller writes the new ones; only columns that an empty
/// matrix had already, without rows, are filled. Returns false, with the matrix unchanged, if
/// memory is exhausted.
template <class T>
bool grow_columns(dense2D<T>& m, std::size_t rows, std::size_t cols, T fill) noexcept {
    const std::size_t without_rows = m.empty() ? std::min(m.cols, cols) : 0;
    if (!m.resize(rows, cols)) return false;
    for (std::size_t j = 0; j < without_rows; ++j) std::fill_n(m[j], rows, fill);
    return true;
}

/// Makes `input`, a local view of an argument, independent of `output` when both share a storage
/// block: it becomes a copy of the values on entry. Usually nothing is shared and nothing happens.
/// Returns false if memory is exhausted.
template <class Output>
bool separate(dense2D<unsigned>& input, const Output& output) noexcept {
    return input.storage.get() != output.storage.get() || input.copy(input);
}
template <class Output>
bool separate(dense2D<double>& input, const Output& output) noexcept {
    return input.storage.get() != output.storage.get() || input.copy(input);
}
template <class T, class Output>
bool separate(dense1D<T, 8>& input, const Output& output) noexcept {
    if (input.storage.get() != output.storage.get()) return true;
    dense1D<T, 8> own;
    if (!own.resize(input.size)) return false;
    std::copy_n(input.data(), input.size, own.data());
    input.swap(own);
    return true;
}

/// Column j starts at `first + j*ld`. A cursor is valid until the matrix is resized.
template <class T>
struct columns {
    T* first;
    std::size_t ld;

    T* operator[](std::size_t j) const noexcept { return first + j * ld; }
};

template <class T>
columns<const T> columns_of(const dense2D<T>& m) noexcept {
    return {m.data(), m.ld};
}
template <class T>
columns<T> columns_of(dense2D<T>& m) noexcept {
    return {m.data(), m.ld};
}

/// Prefetches memory: the processor starts to load it, and goes on.
///
/// Inlined by force: gcc considers a function that only prefetches to be without effect and drops
/// calls to it. The same holds for a function that calls nothing but this one.
#if defined(__GNUC__)
[[gnu::always_inline]] inline void prefetch(const void* memory) noexcept {
    __builtin_prefetch(memory);
}
#else
inline void prefetch(const void*) noexcept {}
#endif

} // namespace tessel2d
} // namespace zel
