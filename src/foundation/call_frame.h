// SPDX-License-Identifier: Apache-2.0
#pragma once

// What all public functions have in common: statuses, limits of node numbers, tests of outputs, and
// cursors that take data pointer and leading dimension out of the loops.
#include "zel/dense.h"

#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>

// 1 computes float as double, which the library does not use; 2 is the arithmetic of the x87.
static_assert(FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1,
              "zel tessel2d needs doubles that are rounded in every step: no x87 arithmetic");

namespace zel {

/// Stands for no node, no element and no neighbour; in row 3 of a mixed column it marks a triangle.
constexpr unsigned no_node = 0xFFFFFFFFu;

namespace tessel2d {

constexpr int status_ok = 0;
constexpr int status_memory = -199;

/// The most nodes that 32-bit numbers can tell apart; the number 0xFFFFFFFF is no node.
constexpr std::uint64_t most_nodes = 0xFFFFFFFFu;

/// a + b and a * b; false when the result does not fit.
inline bool checked_add(std::size_t a, std::size_t b, std::size_t& sum) noexcept {
    return dense_detail::add(a, b, sum);
}
inline bool checked_multiply(std::size_t a, std::size_t b, std::size_t& product) noexcept {
    return dense_detail::multiply(a, b, product);
}

/// `present` nodes and `more` behind them: false when 32-bit numbers cannot hold them.
inline bool node_total(std::size_t present, std::size_t more, std::size_t& total) noexcept {
    return checked_add(present, more, total) && (more == 0 || total <= most_nodes);
}

/// The number of nodes as a bound for `check_IDs`; 0xFFFFFFFF is no node however many there are.
inline unsigned node_bound(const dense2D<double>& pos) noexcept {
    return pos.cols < no_node ? static_cast<unsigned>(pos.cols) : no_node;
}

/// A number of elements as a status; what an `int` cannot hold counts as the largest one.
inline int as_count(std::size_t n) noexcept {
    constexpr std::size_t most = INT_MAX;
    return static_cast<int>(n < most ? n : most);
}

/// An output connectivity can take columns of `height` rows: it is empty or has that height.
inline bool takes_rows(const dense2D<unsigned>& connect, std::size_t height) noexcept {
    return connect.empty() || connect.rows == height;
}

/// Makes room for `cols` columns behind the present ones and takes them in. The caller writes what is
/// new; only the columns that an empty matrix brings along, without rows, are filled. False: memory is
/// exhausted and the matrix is unchanged.
template <class T>
bool grow_columns(dense2D<T>& m, std::size_t rows, std::size_t cols, T fill) noexcept {
    const std::size_t without_rows = m.empty() ? std::min(m.cols, cols) : 0;
    if (!m.resize(rows, cols)) return false;
    for (std::size_t j = 0; j < without_rows; ++j) std::fill_n(m[j], rows, fill);
    return true;
}

/// Makes `input`, a local view of an argument, independent of `output` when both share a storage
/// block: it becomes a copy of the values on entry. Usually nothing is shared and nothing happens.
/// False: memory is exhausted.
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

/// Asks the processor for memory that is needed a little later.
///
/// Inlined by force: gcc takes a function that only prefetches for one without effect and drops calls
/// to it. The same holds for a function around this one that does nothing else.
#if defined(__GNUC__)
[[gnu::always_inline]] inline void prefetch(const void* memory) noexcept {
    __builtin_prefetch(memory);
}
#else
inline void prefetch(const void*) noexcept {}
#endif

} // namespace tessel2d
} // namespace zel
