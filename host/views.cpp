// SPDX-License-Identifier: Apache-2.0
// Connectivities of 64-bit numbers: tested first, then copied number by number.
#include "zel/host/views.h"

#include <cstddef>
#include <cstdint>

namespace zel::host {
namespace {

constexpr unsigned no_node = 0xFFFFFFFF;

bool are_nodes(const std::int64_t* numbers, std::size_t rows, std::size_t cols, std::size_t leading,
               std::size_t nodes) noexcept {
    // One comparison: -1 becomes 0, other negative numbers become large.
    for (std::size_t j = 0; j < cols; ++j)
        for (std::size_t i = 0; i < rows; ++i)
            if (static_cast<std::uint64_t>(numbers[j * leading + i]) + 1 > nodes) return false;
    return true;
}

} // namespace

int narrow(const std::int64_t* numbers, std::size_t rows, std::size_t cols, std::size_t leading,
           std::size_t nodes, dense2D<unsigned>& connect) noexcept {
    if (nodes > no_node) return -5;
    if (leading == 0) leading = rows;
    if (leading < rows) return -4;
    const bool none = rows == 0 || cols == 0;
    if (!none && !numbers) return -1;
    if (!none && !are_nodes(numbers, rows, cols, leading, nodes)) return -1;
    dense2D<unsigned> narrowed;
    if (!none && !narrowed.resize(rows, cols)) return -199;
    for (std::size_t j = 0; j < narrowed.cols; ++j)
        for (std::size_t i = 0; i < rows; ++i)
            narrowed(i, j) = static_cast<unsigned>(numbers[j * leading + i]);
    connect.swap(narrowed);
    return 0;
}

void widen(const dense2D<unsigned>& connect, std::int64_t* numbers) noexcept {
    for (std::size_t j = 0; j < connect.cols; ++j) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned node = connect(i, j);
            *numbers++ = node == no_node ? -1 : std::int64_t{node};
        }
    }
}

} // namespace zel::host
