// SPDX-License-Identifier: Apache-2.0
// Instantiates the containers of numbers and defines the functions that append to node lists and
// connectivities.
#include "zel/dense.h"

namespace zel {

template <>
__lasting_block<vector_num<unsigned, 8>> __no_block<vector_num<unsigned, 8>>::value{};
template <>
__lasting_block<vector_num<double, 8>> __no_block<vector_num<double, 8>>::value{};

template class vector_num<unsigned, 8>;
template class vector_num<double, 8>;
template class dense1D<unsigned, 8>;
template class dense1D<double, 8>;
template class dense2D<unsigned>;
template class dense2D<double>;

bool append(const dense1D<unsigned, 8>& src, dense1D<unsigned, 8>& dst) noexcept {
    const std::size_t n = src.size;
    const std::size_t m = dst.size;
    if (n == 0) return true;
    std::size_t sum, most;
    if (!dense_detail::add(m, n, sum) || !dense_detail::add(std::max(n, m), m, most)) return false;
    if (sum > dst.storage->capacity - dst.start) dst.reserve(most, 1);
    if (!dst.resize(sum)) return false;
    std::copy_n(src.data(), n, dst.data() + m);
    return true;
}

dense1D<unsigned, 8>& append_reversed(const unsigned* last, const unsigned* first,
                                      dense1D<unsigned, 8>& dst) noexcept {
    const unsigned* const block = dst.storage->data;
    const bool inside = block && !std::less<>{}(first, block) &&
                        std::less<>{}(first, block + dst.storage->capacity);
    const std::ptrdiff_t offset = inside ? first - block : 0;
    for (std::ptrdiff_t i = last - first; i-- > 0;)
        dst.push_back(inside ? dst.storage->data[offset + i] : first[i]);
    return dst;
}

bool append_columns(const dense2D<unsigned>& src, dense2D<unsigned>& dst) noexcept {
    const std::size_t r = src.rows;
    const std::size_t c = src.cols;
    const std::size_t m = dst.cols;
    if (r * c == 0) return true;
    std::size_t sum, most;
    if (!dense_detail::add(m, c, sum) || !dense_detail::add(std::max(c, m), m, most)) return false;
    const std::size_t src_ld = src.ld;
    const std::size_t src_start = src.start;
    if (src.storage == dst.storage && !(src.contiguous() && dst.contiguous() && dst.rows == r)) {
        // The columns of one block might be moved, or written over, before they are read.
        dense2D<unsigned> own;
        return own.copy(src) && append_columns(own, dst);
    }
    if (sum > dst.column_capacity()) dst.reserve(r, most, 1);
    if (!dst.resize(r, sum)) return false;
    const unsigned* const from = src.storage->data + src_start;
    unsigned* const to = dst[m];
    if (src_ld == r && dst.ld == r) {
        std::copy_n(from, r * c, to);
    } else {
        for (std::size_t j = 0; j < c; ++j) std::copy_n(from + j * src_ld, r, to + j * dst.ld);
    }
    return true;
}

namespace {

bool push_back_column(const unsigned* ids, std::size_t height, dense2D<unsigned>& dst) noexcept {
    unsigned column[4];
    std::copy_n(ids, height, column); // `ids` may lie in the block that grows
    if (!dst.empty() && dst.rows != height) return false;
    const std::size_t m = dst.cols;
    // mutation (1 -> 2): twice the capacity is requested anyway
    if (m == dst.column_capacity()) dst.reserve(height, std::max<std::size_t>(2 * m, 4), 1);
    if (!dst.resize(height, m + 1)) return false;
    std::copy_n(column, height, dst[m]);
    return true;
}

} // namespace

bool push_back_column3(const unsigned* ids, dense2D<unsigned>& dst) noexcept {
    return push_back_column(ids, 3, dst);
}

bool push_back_column4(const unsigned* ids, dense2D<unsigned>& dst) noexcept {
    return push_back_column(ids, 4, dst);
}

unsigned max_index(const dense2D<unsigned>& m) noexcept {
    if (m.empty()) return m.ld == m.rows ? 0xFFFFFFFFu : 0u;
    const bool in_one_run = m.contiguous();
    const std::size_t runs = in_one_run ? 1 : m.cols;
    const std::size_t length = in_one_run ? m.rows * m.cols : m.rows;
    // mutation (0 -> 1): zero and one both return zero
    unsigned largest = 0; // the largest entry plus one; 0xFFFFFFFF wraps to 0
    for (std::size_t j = 0; j < runs; ++j) {
        const unsigned* const entries = m[j];
        for (std::size_t i = 0; i < length; ++i) largest = std::max(largest, entries[i] + 1);
    }
    return largest == 0 ? 0 : largest - 1;
}

} // namespace zel
