// SPDX-License-Identifier: Apache-2.0
// Views of lists and matrices in shared storage blocks, and small fixed lists: points, vectors,
// tensors.
#pragma once

#include "zel/storage.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

/// Marks members that assert their range unless NDEBUG is defined: `v[i]` of lists, points and
/// tensors, `m(i, j)`, `m[j]`, `sub_matrix` and the end of a matrix. Without NDEBUG they are always inlined, so that the
/// NDEBUG of each source file of a program decides about its checks, however the library was
/// compiled.
#if defined(NDEBUG) || !defined(__GNUC__)
#define ZEL_TESSEL2D_CHECKED
#else
#define ZEL_TESSEL2D_CHECKED __attribute__((always_inline)) inline
#endif

namespace zel {

/// N consecutive numbers: a point, a vector or an axis. An aggregate: `vector_fixed<double, 2>{x, y}`.
template <class T, std::size_t N>
struct vector_fixed {
    using value_type = T;
    using const_iterator = const T*;

    T elements[N];

    ZEL_TESSEL2D_CHECKED constexpr T& operator[](std::size_t i) noexcept {
        assert(i < N);
        return elements[i];
    }
    ZEL_TESSEL2D_CHECKED constexpr const T& operator[](std::size_t i) const noexcept {
        assert(i < N);
        return elements[i];
    }
    constexpr T* begin() noexcept { return elements; }
    constexpr T* end() noexcept { return elements + N; }
    constexpr const T* begin() const noexcept { return elements; }
    constexpr const T* end() const noexcept { return elements + N; }
};

/// A symmetric N x N matrix, packed: the upper triangle column after column, which is the order of
/// LAPACK's packed storage with `uplo` 'U'. Order 2: a00, a01, a11; order 3: a00, a01, a11, a02, a12,
/// a22. `m[k]` is the k-th packed number, `m(i, j)` the element in either triangle.
template <class T, std::size_t N>
struct symmetric_fixed {
    using value_type = T;
    using const_iterator = const T*;

    T elements[N * (N + 1) / 2];

    ZEL_TESSEL2D_CHECKED constexpr T& operator[](std::size_t k) noexcept {
        assert(k < N * (N + 1) / 2);
        return elements[k];
    }
    ZEL_TESSEL2D_CHECKED constexpr const T& operator[](std::size_t k) const noexcept {
        assert(k < N * (N + 1) / 2);
        return elements[k];
    }
    ZEL_TESSEL2D_CHECKED constexpr T& operator()(std::size_t i, std::size_t j) noexcept {
        assert(i < N && j < N);
        return elements[packed(i, j)];
    }
    ZEL_TESSEL2D_CHECKED constexpr const T& operator()(std::size_t i,
                                                       std::size_t j) const noexcept {
        assert(i < N && j < N);
        return elements[packed(i, j)];
    }
    constexpr T* begin() noexcept { return elements; }
    constexpr T* end() noexcept { return elements + N * (N + 1) / 2; }
    constexpr const T* begin() const noexcept { return elements; }
    constexpr const T* end() const noexcept { return elements + N * (N + 1) / 2; }

private:
    static constexpr std::size_t packed(std::size_t i, std::size_t j) noexcept {
        return i <= j ? j * (j + 1) / 2 + i : i * (i + 1) / 2 + j;
    }
};

/// A view of a run of elements in a shared storage block: element i is `storage->data[start + i]`.
///
/// Copies and assignments share the block; a write through any view is seen through all. Growing a
/// view moves the whole block, so views that share one block must not be resized in turn. Nothing
/// throws when memory is exhausted: a constructor then leaves an empty vector, and the other
/// operations return false.
template <class T, int Align = 8>
class ZEL_TESSEL2D_API dense1D {
public:
    using value_type = T;
    using const_iterator = const T*;
    using block_type = vector_num<T, Align>;

    Ptr<block_type> storage; ///< the shared block; never null, also in an empty vector
    std::size_t size = 0;    ///< number of elements of this view
    std::size_t start = 0;   ///< index in the block of element 0

    /// An empty vector with an empty block of its own.
    dense1D() noexcept : storage(block_type::create()) {}
    /// n elements, contents undefined.
    explicit dense1D(std::size_t n) noexcept : dense1D() { resize(n); }
    /// n elements of value `fill`.
    dense1D(std::size_t n, const T& fill) noexcept : dense1D() { resize(n, fill); }
    /// Shares the other's block; nothing is copied.
    dense1D(const dense1D& other) noexcept = default;
    dense1D& operator=(const dense1D& other) noexcept = default;
    /// Takes over the other's view and leaves it empty.
    dense1D(dense1D&& other) noexcept : storage(&block_type::none()) { swap(other); }
    /// A view of `count` elements from `first` on in a block that exists.
    dense1D(const Ptr<block_type>& block, std::size_t first, std::size_t count) noexcept
        : storage(block), size(count), start(first) {}
    dense1D& operator=(dense1D&& other) noexcept {
        dense1D(std::move(other)).swap(*this);
        return *this;
    }
    ~dense1D() = default;

    /// A view of n elements that the caller owns and keeps alive; growing copies them to memory of
    /// the block's own and leaves the caller's as they are. The view is empty if memory is
    /// exhausted.
    static dense1D wrap(T* elements, std::size_t n) noexcept;

    /// Reserves memory for n elements without changing size or contents; `factor` 1 requests
    /// exactly n, a larger one at least that multiple of the present capacity. Returns false if
    /// memory is exhausted.
    bool reserve(std::size_t n, std::size_t factor = 1) noexcept;
    /// Sets the size. The first min(old size, n) elements stay, new ones are undefined. Returns
    /// false, with the vector unchanged, if memory is exhausted.
    bool resize(std::size_t n) noexcept;
    /// The same, and new elements take the value `fill`.
    bool resize(std::size_t n, T fill) noexcept;
    /// Empties the vector. Memory that no other view shares is kept for later appends.
    void clear() noexcept;
    /// Appends x; the storage at least doubles when it is full. When memory is exhausted x is
    /// dropped and the size stays.
    void push_back(T x) noexcept;

    bool empty() const noexcept { return size == 0; }
    T* data() noexcept { return storage->data + start; }
    const T* data() const noexcept { return storage->data + start; }
    ZEL_TESSEL2D_CHECKED T& operator[](std::size_t i) noexcept {
        assert(i < size);
        return data()[i];
    }
    ZEL_TESSEL2D_CHECKED const T& operator[](std::size_t i) const noexcept {
        assert(i < size);
        return data()[i];
    }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + size; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + size; }

    void swap(dense1D& other) noexcept {
        std::swap(storage, other.storage);
        std::swap(size, other.size);
        std::swap(start, other.start);
    }

private:
    template <class>
    friend class dense2D;
    static bool __ensure(Ptr<block_type>& storage, std::size_t& start, std::size_t used,
                         std::size_t wanted, std::size_t factor) noexcept;
};

/// A view of a column-major matrix in a shared storage block, one node or element per column:
/// element (i, j) is `storage->data[start + j*ld + i]`.
///
/// Sharing and failure are those of `dense1D`. A matrix is empty when rows*cols is 0. A contiguous
/// matrix (ld equal to rows) stays contiguous when it is resized; a view with a larger ld keeps it as
/// long as the rows fit, so that the rows around it are left alone; an empty view takes a new one.
template <class T>
class ZEL_TESSEL2D_API dense2D {
public:
    using value_type = T;
    using const_iterator = const T*;
    using block_type = vector_num<T, 8>;

    Ptr<block_type> storage; ///< the shared block; never null, also in an empty matrix
    std::size_t size = 0;    ///< rows*cols
    std::size_t start = 0;   ///< index in the block of element (0, 0)
    std::size_t rows = 0;    ///< number of rows
    std::size_t cols = 0;    ///< number of columns
    std::size_t ld = 0;      ///< elements from one column to the next; 0 only in an empty matrix

    /// An empty matrix with an empty block of its own.
    dense2D() noexcept : storage(block_type::create()) {}
    /// rows x cols elements, contents undefined.
    dense2D(std::size_t nrows, std::size_t ncols) noexcept : dense2D() { resize(nrows, ncols); }
    /// rows x cols elements of value `fill`.
    dense2D(std::size_t nrows, std::size_t ncols, const T& fill) noexcept : dense2D() {
        resize(nrows, ncols, fill);
    }
    /// Shares the other's block; nothing is copied.
    dense2D(const dense2D& other) noexcept = default;
    dense2D& operator=(const dense2D& other) noexcept = default;
    /// Takes over the other's view and leaves it empty.
    dense2D(dense2D&& other) noexcept : storage(&block_type::none()) { swap(other); }
    dense2D& operator=(dense2D&& other) noexcept {
        dense2D(std::move(other)).swap(*this);
        return *this;
    }
    ~dense2D() = default;

    /// A view of nrows x ncols elements that the caller owns and keeps alive, with `leading` elements
    /// from one column to the next (0: nrows). Growing copies them to memory of the block's own and
    /// leaves the caller's as they are. Empty when memory is exhausted, when `leading` is below nrows,
    /// or when the extent overflows.
    static dense2D wrap(T* elements, std::size_t nrows, std::size_t ncols,
                        std::size_t leading = 0) noexcept;

    /// This view now shares the other's block with its start and shape; its former block is released.
    void shallow_copy(const dense2D& other) noexcept { *this = other; }
    /// Deep copy into storage of this matrix's own, contiguous. Returns false, with this matrix
    /// unchanged, if memory is exhausted.
    bool copy(const dense2D& other) noexcept;
    /// Reserves memory for nrows x ncols elements without changing sizes or contents; `factor` as
    /// in `dense1D`. Returns false if memory is exhausted or the count overflows.
    bool reserve(std::size_t nrows, std::size_t ncols, std::size_t factor = 1) noexcept;
    /// Makes the matrix nrows x ncols. An element (i, j) that existed stays at (i, j), new ones are
    /// undefined; ld may change. Returns false, with the matrix unchanged, if memory is exhausted
    /// or the count overflows.
    ///
    /// Rows are counted from the first one of the view. A view that begins in row r of another
    /// matrix has ld - r rows before the next column begins. Further rows, as long as they fit into
    /// ld, lie at the top of the next column and are written there.
    bool resize(std::size_t nrows, std::size_t ncols) noexcept;
    /// The same, and all new elements take the value `fill`, in new rows of old columns too.
    bool resize(std::size_t nrows, std::size_t ncols, T fill) noexcept;
    /// Makes the matrix empty, 0 x 0. Memory that no other view shares is kept.
    void clear() noexcept;

    /// The elements of a contiguous matrix as a vector that shares the block.
    dense1D<T, 8> as_vector() const noexcept;
    /// A view of the nrows x ncols block that begins at (row0, col0); shares the storage block.
    dense2D sub_matrix(std::size_t row0, std::size_t col0, std::size_t nrows,
                       std::size_t ncols) const noexcept;

    bool empty() const noexcept { return rows * cols == 0; }
    bool contiguous() const noexcept { return ld == rows; }
    /// Number of columns that the block can hold at the present ld, each with all of its leading dimension;
    /// behind them there may be room for the rows of one more.
    std::size_t column_capacity() const noexcept {
        return (storage->capacity - start) / (ld == 0 ? 1 : ld);
    }

    T* data() noexcept { return storage->data + start; }
    const T* data() const noexcept { return storage->data + start; }
    ZEL_TESSEL2D_CHECKED T& operator()(std::size_t i, std::size_t j) noexcept {
        assert(i < rows && j < cols);
        return data()[j * ld + i];
    }
    ZEL_TESSEL2D_CHECKED const T& operator()(std::size_t i, std::size_t j) const noexcept {
        assert(i < rows && j < cols);
        return data()[j * ld + i];
    }
    /// Column j: `m[j][i]` is element (i, j). `m[cols]` is the end of the matrix: its address may
    /// be formed, but it must not be read.
    ZEL_TESSEL2D_CHECKED T* operator[](std::size_t j) noexcept {
        assert(j <= cols);
        return data() + j * ld;
    }
    ZEL_TESSEL2D_CHECKED const T* operator[](std::size_t j) const noexcept {
        assert(j <= cols);
        return data() + j * ld;
    }
    /// All elements in storage order; only for a contiguous matrix.
    T* begin() noexcept { return data(); }
    ZEL_TESSEL2D_CHECKED T* end() noexcept {
        assert(ld == rows || cols <= 1 || rows == 0);
        return data() + rows * cols;
    }
    const T* begin() const noexcept { return data(); }
    ZEL_TESSEL2D_CHECKED const T* end() const noexcept {
        assert(ld == rows || cols <= 1 || rows == 0);
        return data() + rows * cols;
    }

    void swap(dense2D& other) noexcept {
        std::swap(storage, other.storage);
        std::swap(size, other.size);
        std::swap(start, other.start);
        std::swap(rows, other.rows);
        std::swap(cols, other.cols);
        std::swap(ld, other.ld);
    }

private:
    std::size_t __leading(std::size_t nrows) const noexcept;
    void __move_columns(std::size_t nrows, std::size_t ncols, std::size_t leading) noexcept;
};

/// Appends x to v: `v.push_back(x)`.
template <class T>
void push_back(dense1D<T, 8>& v, T x) noexcept {
    v.push_back(x);
}

/// Appends `src` to `dst`. Returns false, with `dst` unchanged, if memory is exhausted.
ZEL_TESSEL2D_API bool append(const dense1D<unsigned, 8>& src, dense1D<unsigned, 8>& dst) noexcept;

/// Appends the run [first, last) in descending address order: from the element before `last` down to
/// `first`, each by `push_back`. Returns `dst`. The run may lie in the storage block of `dst`.
ZEL_TESSEL2D_API dense1D<unsigned, 8>& append_reversed(const unsigned* last, const unsigned* first,
                                                       dense1D<unsigned, 8>& dst) noexcept;

/// Appends the columns of `src` behind those of `dst`, which takes the row count of `src`. Returns
/// false, with `dst` unchanged, if memory is exhausted. An empty `src` changes nothing.
ZEL_TESSEL2D_API bool append_columns(const dense2D<unsigned>& src, dense2D<unsigned>& dst) noexcept;

/// Appends one column of three node numbers. Returns false, with `dst` unchanged, if `dst` holds
/// columns of another height or memory is exhausted.
ZEL_TESSEL2D_API bool push_back_column3(const unsigned* ids, dense2D<unsigned>& dst) noexcept;
/// The same for four node numbers.
ZEL_TESSEL2D_API bool push_back_column4(const unsigned* ids, dense2D<unsigned>& dst) noexcept;

/// The largest entry that is not 0xFFFFFFFF, or 0 if there is none. For an empty matrix it is
/// 0xFFFFFFFF if its ld equals its rows, and 0 otherwise.
ZEL_TESSEL2D_API unsigned max_index(const dense2D<unsigned>& m) noexcept;

} // namespace zel

#include "zel/dense_detail.h"
