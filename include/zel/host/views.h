// SPDX-License-Identifier: Apache-2.0
// Views of memory that a program has already: pointers, vectors and arrays as matrices and lists.
#pragma once

#include "zel/dense.h"
#include "zel/host/export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel::host {

// The views are const, so that what they look at cannot be written through them.
// NOLINTBEGIN(readability-const-return-type)

namespace views_detail {

// The view promises not to write: it is handed out as `const`.
template <class T>
T* unlocked(const T* elements) noexcept {
    return const_cast<T*>(elements);
}

} // namespace views_detail

/// A matrix over memory that the program owns and keeps alive: rows x cols elements, column after column, with
/// `leading` elements from one column to the next (0: `rows`). Nothing is copied.
///
/// The result is a `const` matrix, since the memory may not be written. Take it as it comes, `const auto`: a
/// copy that is not `const` could write, as with any container of the library. Empty when memory for
/// the block of the view is exhausted, when `leading` is below `rows`, or when the extent overflows.
///
/// @snippet examples/views.cpp pointers
template <class T>
const dense2D<T> view_of(const T* elements, std::size_t rows, std::size_t cols,
                         std::size_t leading = 0) noexcept {
    return dense2D<T>::wrap(views_detail::unlocked(elements), rows, cols, leading);
}

/// A list over memory that the program owns and keeps alive, not copied. Empty when memory for the block
/// of the view is exhausted.
/// @snippet examples/views.cpp pointers
template <class T>
const dense1D<T, 8> view_of(const T* elements, std::size_t count) noexcept {
    return dense1D<T, 8>::wrap(views_detail::unlocked(elements), count);
}

/// A matrix of `rows` rows over a vector of columns, one behind the other. Elements behind the last whole
/// column are not seen; with 0 rows the matrix is empty. It is stale when the vector reallocates.
/// @snippet examples/views.cpp vectors
template <class T>
const dense2D<T> view_of(const std::vector<T>& elements, std::size_t rows) noexcept {
    return view_of(elements.data(), rows, rows == 0 ? 0 : elements.size() / rows);
}

/// A list over a vector. It is stale when the vector reallocates.
/// @snippet examples/views.cpp vectors
template <class T>
const dense1D<T, 8> view_of(const std::vector<T>& elements) noexcept {
    return view_of(elements.data(), elements.size());
}

/// A matrix over a C array of columns: `double xy[4][2]` gives 2 x 4.
/// @snippet examples/views.cpp arrays
template <class T, std::size_t Cols, std::size_t Rows>
const dense2D<T> view_of(const T (&columns)[Cols][Rows]) noexcept {
    return view_of(&columns[0][0], Rows, Cols);
}

/// A list over a C array.
/// @snippet examples/views.cpp arrays
template <class T, std::size_t Count>
const dense1D<T, 8> view_of(const T (&elements)[Count]) noexcept {
    return view_of(static_cast<const T*>(elements), Count);
}

/// Copies a connectivity of signed 64-bit numbers, as many file formats and array libraries have them,
/// into one of the library's.
///
/// @param numbers  rows x cols node numbers, `leading` of them from one column to the next (0: `rows`).
///                 -1 stands for no node and becomes 0xFFFFFFFF. Not looked at when rows or cols is 0.
/// @param rows     nodes of an element.
/// @param cols     elements.
/// @param leading  0, or at least `rows`.
/// @param nodes    number of nodes, at most 0xFFFFFFFF.
/// @param[out] connect  what it held is dropped; rows x cols in memory of its own.
///
/// @retval 0     done; rows or cols at 0 give an empty matrix.
/// @retval -1    a number is neither -1 nor below `nodes`, or `numbers` is null where there should be some.
/// @retval -4    `leading` is below `rows` and not 0.
/// @retval -5    `nodes` is more than 0xFFFFFFFF.
/// @retval -199  memory is exhausted, or rows times cols overflows.
///
/// A negative status leaves `connect` as it was. Tests come in the order -5, -4, -1, -199.
///
/// Cost: two passes over the numbers and one allocation.
/// @snippet examples/views.cpp wide_numbers
ZEL_TESSEL2D_HOST_API int narrow(const std::int64_t* numbers, std::size_t rows, std::size_t cols,
                                 std::size_t leading, std::size_t nodes,
                                 dense2D<unsigned>& connect) noexcept;

/// Copies a connectivity into signed 64-bit numbers; 0xFFFFFFFF becomes -1.
///
/// @param connect       node numbers; any view.
/// @param[out] numbers  room for rows*cols numbers, column after column. Not touched when there are none.
///
/// Cost: one pass.
/// @snippet examples/views.cpp wide_numbers
ZEL_TESSEL2D_HOST_API void widen(const dense2D<unsigned>& connect, std::int64_t* numbers) noexcept;

// NOLINTEND(readability-const-return-type)

} // namespace zel::host
