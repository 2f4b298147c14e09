// SPDX-License-Identifier: Apache-2.0
// Defines the member functions of the views; `zel/dense.h` includes it.
#pragma once

#include "zel/dense.h"

namespace zel {

namespace dense_detail {

/// Computes a*b or a+b. Returns false on overflow.
inline bool multiply(std::size_t a, std::size_t b, std::size_t& product) noexcept {
    product = a * b;
    return a == 0 || product / a == b;
}
inline bool add(std::size_t a, std::size_t b, std::size_t& sum) noexcept {
    sum = a + b;
    return sum >= a;
}

/// Counts the elements from the first to the last of a matrix, both included. Returns false on
/// overflow.
inline bool extent(std::size_t rows, std::size_t cols, std::size_t leading,
                   std::size_t& elements) noexcept {
    elements = 0;
    if (rows == 0 || cols == 0) return true;
    std::size_t before_last;
    return multiply(cols - 1, leading, before_last) && add(before_last, rows, elements);
}

} // namespace dense_detail

// ---------------------------------------------------------------------------------------- dense1D

/// Makes the block hold `wanted` elements from `start` on; `used` of them are kept, and the whole
/// block when other views share it.
template <class T, int Align>
bool dense1D<T, Align>::__ensure(Ptr<block_type>& storage, std::size_t& start, std::size_t used,
                                 std::size_t wanted, std::size_t factor) noexcept {
    std::size_t needed;
    if (!dense_detail::add(start, wanted, needed)) return false;
    if (needed <= storage->capacity) return true;
    if (storage->is_none()) {
        block_type* const own = block_type::create();
        if (own->is_none()) return false;
        storage = own;
    }
    const std::size_t keep =
        storage->is_unique() ? std::min(start + used, storage->capacity) : storage->capacity;
    return __block_access::grow(*storage, needed, keep, factor == 0 ? 1 : factor);
}

template <class T, int Align>
dense1D<T, Align> dense1D<T, Align>::wrap(T* elements, std::size_t n) noexcept {
    dense1D view;
    if (view.storage->is_none()) return view;
    view.storage->data = elements;
    view.storage->capacity = n;
    view.storage->shift = block_type::not_owned;
    view.size = n;
    return view;
}

template <class T, int Align>
bool dense1D<T, Align>::reserve(std::size_t n, std::size_t factor) noexcept {
    return __ensure(storage, start, size, n, factor);
}

template <class T, int Align>
bool dense1D<T, Align>::resize(std::size_t n) noexcept {
    if (!__ensure(storage, start, size, n, 1)) return false;
    size = n;
    return true;
}

template <class T, int Align>
bool dense1D<T, Align>::resize(std::size_t n, T fill) noexcept {
    const std::size_t old_size = size;
    if (!resize(n)) return false;
    if (n > old_size) std::fill(begin() + old_size, end(), fill);
    return true;
}

template <class T, int Align>
void dense1D<T, Align>::clear() noexcept {
    if (!storage->is_unique()) storage = &block_type::none();
    size = start = 0;
}

template <class T, int Align>
void dense1D<T, Align>::push_back(T x) noexcept {
    if (!__ensure(storage, start, size, size + 1, 2)) return;
    data()[size++] = x;
}

// ---------------------------------------------------------------------------------------- dense2D

template <class T>
dense2D<T> dense2D<T>::wrap(T* elements, std::size_t nrows, std::size_t ncols,
                            std::size_t leading) noexcept {
    dense2D view;
    if (leading == 0) leading = nrows;
    std::size_t extent, product;
    if (leading < nrows || !dense_detail::extent(nrows, ncols, leading, extent) ||
        !dense_detail::multiply(leading, ncols, product)) {
        return view;
    }
    const dense1D<T, 8> run = dense1D<T, 8>::wrap(elements, extent);
    if (run.storage->is_none()) return view;
    view.storage = run.storage;
    view.rows = nrows;
    view.cols = ncols;
    view.ld = leading;
    view.size = nrows * ncols;
    return view;
}

/// The leading dimension that this matrix gets when it has `nrows` rows.
template <class T>
std::size_t dense2D<T>::__leading(std::size_t nrows) const noexcept {
    return empty() || ld == rows || nrows > ld ? nrows : ld;
}

template <class T>
bool dense2D<T>::reserve(std::size_t nrows, std::size_t ncols, std::size_t factor) noexcept {
    std::size_t wanted, used;
    if (!dense_detail::extent(nrows, ncols, __leading(nrows), wanted)) return false;
    dense_detail::extent(rows, cols, ld, used);
    return dense1D<T, 8>::__ensure(storage, start, used, wanted, factor);
}

template <class T>
bool dense2D<T>::resize(std::size_t nrows, std::size_t ncols) noexcept {
    std::size_t product;
    if (!dense_detail::multiply(nrows, ncols, product) || !reserve(nrows, ncols, 1)) return false;
    const std::size_t leading = __leading(nrows);
    if (leading != ld) __move_columns(std::min(rows, nrows), std::min(cols, ncols), leading);
    rows = nrows;
    cols = ncols;
    ld = leading;
    size = product;
    return true;
}

/// Spreads or packs the leading nrows x ncols elements to another leading dimension, in place.
template <class T>
void dense2D<T>::__move_columns(std::size_t nrows, std::size_t ncols,
                                std::size_t leading) noexcept {
    const std::size_t bytes = nrows * sizeof(T);
    if (bytes == 0) return; // mutation (0 -> 1): an element has more than one byte
    if (leading > ld) {
        for (std::size_t j = ncols; j-- > 1;)
            std::memmove(data() + j * leading, data() + j * ld, bytes);
    } else {
        for (std::size_t j = 1; j < ncols; ++j)
            std::memmove(data() + j * leading, data() + j * ld, bytes);
    }
}

template <class T>
bool dense2D<T>::resize(std::size_t nrows, std::size_t ncols, T fill) noexcept {
    const std::size_t old_rows = std::min(rows, nrows);
    const std::size_t old_cols = empty() ? 0 : std::min(cols, ncols);
    if (!resize(nrows, ncols)) return false;
    if (nrows > old_rows) {
        for (std::size_t j = 0; j < old_cols; ++j)
            std::fill_n(data() + j * ld + old_rows, nrows - old_rows, fill);
    }
    if (contiguous()) {
        std::fill(data() + old_cols * ld, data() + ncols * ld, fill);
    } else {
        for (std::size_t j = old_cols; j < ncols; ++j) std::fill_n(data() + j * ld, nrows, fill);
    }
    return true;
}

template <class T>
bool dense2D<T>::copy(const dense2D& other) noexcept {
    dense2D own;
    if (!own.resize(other.rows, other.cols)) return false;
    if (!own.empty()) {
        const T* const from = other.data();
        for (std::size_t j = 0; j < own.cols; ++j)
            std::memcpy(own.data() + j * own.ld, from + j * other.ld, own.rows * sizeof(T));
    }
    swap(own);
    return true;
}

template <class T>
void dense2D<T>::clear() noexcept {
    if (!storage->is_unique()) storage = &block_type::none();
    size = start = rows = cols = ld = 0;
}

template <class T>
dense1D<T, 8> dense2D<T>::as_vector() const noexcept {
    return dense1D<T, 8>(storage, start, rows * cols);
}

template <class T>
ZEL_TESSEL2D_CHECKED dense2D<T> dense2D<T>::sub_matrix(std::size_t row0, std::size_t col0,
                                                       std::size_t nrows,
                                                       std::size_t ncols) const noexcept {
    assert(row0 <= rows && nrows <= rows - row0);
    assert(col0 <= cols && ncols <= cols - col0);
    dense2D view(*this);
    view.start = start + col0 * ld + row0;
    view.rows = nrows;
    view.cols = ncols;
    view.size = nrows * ncols;
    return view;
}

extern template class dense1D<unsigned, 8>;
extern template class dense1D<double, 8>;
extern template class dense2D<unsigned>;
extern template class dense2D<double>;

} // namespace zel
