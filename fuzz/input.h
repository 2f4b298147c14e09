// SPDX-License-Identifier: Apache-2.0
#pragma once

// Turns the bytes of an input into arguments. Coordinates are mostly 0 to 9 and there are few nodes, so
// that coincident nodes and collapsed cells are the rule. Bytes that are missing read as 0, which always
// stands for the tamest choice; so short inputs are simple ones.
#include "fuzz/allocator.h"

#include "foundation/call_frame.h"
#include "zel/dense.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

namespace zel_fuzz {

using zel::dense1D;
using zel::dense2D;
using zel::no_node;

/// The reader. It also owns the plain memory that `wrap` views stand on.
struct input {
    const std::uint8_t* next;
    const std::uint8_t* end;
    std::vector<std::unique_ptr<double[]>> doubles;
    std::vector<std::unique_ptr<unsigned[]>> numbers;
    std::size_t room = 0;  ///< bytes that a call gets if more than usual, for large meshes
    bool outgrows = false; ///< the next call asks for counts that no number of 32 bits holds

    input(const std::uint8_t* first, const std::uint8_t* last) : next(first), end(last) {}

    bool exhausted() const { return next == end; }

    unsigned byte() { return next == end ? 0u : *next++; }
    /// 0 to n-1; n is at most 256.
    unsigned below(unsigned n) { return n < 2 ? 0u : byte() % n; }
    /// True for one value in n of a byte, never for 0.
    bool one_in(unsigned n) { return byte() % n == n - 1; }
    bool flag() { return one_in(2); }
    unsigned word() {
        unsigned w = byte();
        for (unsigned shift = 8; shift < 32; shift += 8) w |= byte() << shift;
        return w;
    }
    template <class T>
    T one_of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<unsigned>(values.size()))];
    }

    /// A tame number: 0 to 9, sometimes with a fraction or a minus.
    double small() {
        const unsigned b = byte();
        if (b < 220) return b % 10;
        return b < 240 ? byte() / 16.0 : -(byte() / 16.0);
    }
    /// Any double at all: the extremes by name, or all its bits.
    double absurd() {
        using limits = std::numeric_limits<double>;
        switch (below(16)) {
        case 0:
            return limits::quiet_NaN();
        case 1:
            return limits::infinity();
        case 2:
            return -limits::infinity();
        case 3:
            return limits::max();
        case 4:
            return -limits::max();
        case 5:
            return limits::min();
        case 6:
            return limits::denorm_min();
        case 7:
            return -0.0;
        case 8:
            return 1e150 * small();
        case 9:
            return 1e-150 * small();
        case 10:
            return 1e300 * small();
        case 11:
            return small() + small() * limits::epsilon();
        case 12:
            return small() * 1e16;
        case 13:
            return small() * 4294967296.0;
        default: {
            const std::uint64_t bits = word() | std::uint64_t{word()} << 32;
            double x;
            std::memcpy(&x, &bits, sizeof x);
            return x;
        }
        }
    }
    /// For a parameter: mostly small, one in 16 absurd.
    double number() { return one_in(16) ? absurd() : small(); }
    /// An angle: mostly multiples of 15 degrees in degrees or radians.
    double angle() {
        if (one_in(8)) return number();
        const double degrees = 15.0 * (static_cast<int>(below(60)) - 30);
        return flag() ? degrees : degrees * (3.14159265358979323846 / 180);
    }
    /// Subdivisions: mostly 0 to 7, some up to 255, one in 16 huge.
    unsigned count() {
        const unsigned b = byte();
        if (b < 208) return b % 8;
        if (b < 240) return byte();
        switch (b % 8) {
        case 0:
            return 0xFFFFFFFFu;
        case 1:
            return 0xFFFFFFFEu;
        case 2:
            return 0x80000000u;
        case 3:
            return 0x7FFFFFFFu;
        case 4:
            return 0x80000001u;
        case 5:
            return 0x10000u;
        case 6:
            return 0xFFFFu;
        default:
            return word();
        }
    }
    /// An option such as a pattern: mostly -1 to 6, sometimes any int.
    int option() {
        const unsigned b = byte();
        if (b < 224) return static_cast<int>(b % 8) == 7 ? -1 : static_cast<int>(b % 8);
        switch (b % 4) {
        case 0:
            return std::numeric_limits<int>::min();
        case 1:
            return std::numeric_limits<int>::max();
        default:
            return static_cast<int>(word());
        }
    }
    /// A node number below `nodes`, or, if `wild`, also one around the bound, none, or any.
    unsigned node(std::size_t nodes, bool wild) {
        const unsigned b = byte();
        const auto bound = static_cast<unsigned>(nodes);
        if (wild && b >= 192) {
            switch (b % 8) {
            case 0:
                return bound;
            case 1:
                return bound - 1;
            case 2:
                return bound + 1;
            case 3:
                return word();
            case 4:
                return no_node - 1;
            default:
                return no_node;
            }
        }
        return bound == 0 ? 0u : b % bound;
    }

    /// What the allocator does during the calls: three in four have memory for any small mesh.
    memory_plan memory() {
        memory_plan plan;
        if (!one_in(8)) plan.bytes = std::size_t{1} << 17;
        if (room > plan.bytes) plan.bytes = room;
        if (one_in(4)) {
            plan.fails_at = 1 + below(24);
            plan.for_good = flag();
        }
        return plan;
    }
};

// ------------------------------------------------------------------------------------------ views

/// Values of the elements that belong to no view; as node numbers they are out of range.
inline void fill_guards(unsigned* first, std::size_t n, unsigned tame) {
    for (std::size_t i = 0; i < n; ++i)
        first[i] =
            tame ? static_cast<unsigned>(i * 7 % tame) : 0xBADC0DEu + static_cast<unsigned>(i);
}
inline void fill_guards(double* first, std::size_t n, unsigned tame) {
    for (std::size_t i = 0; i < n; ++i)
        first[i] = tame ? static_cast<double>(i * 7 % 10) : -1e77 - static_cast<double>(i);
}

inline unsigned* plain_memory(input& in, std::size_t n, unsigned*) {
    in.numbers.emplace_back(new unsigned[n]);
    return in.numbers.back().get();
}
inline double* plain_memory(input& in, std::size_t n, double*) {
    in.doubles.emplace_back(new double[n]);
    return in.doubles.back().get();
}

/// A matrix of rows x cols whose elements are still to be written. It is contiguous, exact or with room
/// behind; or a view with start > 0 and ld > rows in a larger block; or stands on plain memory, exact or
/// with ld > rows. All that is around the view holds guards, or, one time in four, numbers below `tame`,
/// which are good for views that share the block.
template <class T>
dense2D<T> blank_matrix(input& in, std::size_t rows, std::size_t cols, unsigned tame = 10) {
    const unsigned layout = in.below(8);
    const unsigned around = in.one_in(4) ? tame : 0;
    if (rows * cols == 0) {
        dense2D<T> m;
        if (layout == 1) m.clear();
        if (layout == 2) dense2D<T>(std::move(m)); // what is left has no block
        if (layout == 3 || layout == 4) m.resize(rows, cols);
        if (layout == 5) m.reserve(4, in.below(16));
        if (layout == 6) {
            m = dense2D<T>(5, 4, T(1)).sub_matrix(1, 1, 0, 0);
            m.rows = rows; // of any height or length, as it holds no element
            m.cols = cols;
        }
        return m;
    }
    switch (layout) {
    default:
        return dense2D<T>(rows, cols);
    case 2:
    case 3: {
        dense2D<T> m(rows, cols);
        m.reserve(rows, cols + 1 + in.below(32));
        fill_guards(m.data(), m.storage->capacity, around);
        return m;
    }
    case 4:
    case 5: {
        const std::size_t ld = rows + 1 + in.below(4);
        const std::size_t front = 1 + in.below(8);
        const std::size_t behind = in.below(32);
        const dense1D<T, 8> block(front + cols * ld + behind);
        dense2D<T> m;
        fill_guards(block.storage->data, block.storage->capacity, around);
        m.storage = block.storage;
        m.start = front;
        m.rows = rows;
        m.cols = cols;
        m.ld = ld;
        m.size = rows * cols;
        return m;
    }
    case 6:
        return dense2D<T>::wrap(plain_memory(in, rows * cols, static_cast<T*>(nullptr)), rows,
                                cols);
    case 7: {
        const std::size_t ld = rows + 1 + in.below(3);
        T* const memory = plain_memory(in, (cols - 1) * ld + rows, static_cast<T*>(nullptr));
        fill_guards(memory, (cols - 1) * ld + rows, around);
        return dense2D<T>::wrap(memory, rows, cols, ld);
    }
    }
}

/// A list of n elements that are still to be written, in the same layouts.
template <class T>
dense1D<T, 8> blank_list(input& in, std::size_t n, unsigned tame = 10) {
    const unsigned layout = in.below(6);
    const unsigned around = in.one_in(4) ? tame : 0;
    switch (layout) {
    default:
        return dense1D<T, 8>(n);
    case 2: {
        dense1D<T, 8> v;
        dense1D<T, 8> gone(std::move(v));
        v.resize(n);
        return v;
    }
    case 3:
    case 4: {
        const std::size_t front = 1 + in.below(8);
        const dense1D<T, 8> block(front + n + in.below(32));
        fill_guards(block.storage->data, block.storage->capacity, around);
        return dense1D<T, 8>(block.storage, front, n);
    }
    case 5:
        return dense1D<T, 8>::wrap(plain_memory(in, n + 1, static_cast<T*>(nullptr)), n);
    }
}

/// Some view of rows x any of the block of another matrix or list: overlapping, in front, or behind.
template <class View>
auto sharing_matrix(input& in, const View& other, std::size_t rows) {
    using T = typename View::value_type;
    dense2D<T> m;
    m.storage = other.storage;
    const std::size_t capacity = other.storage->capacity;
    m.rows = rows;
    m.ld = rows + in.below(3);
    const std::size_t room = capacity / 2 + 1;
    m.start = in.byte() % (room < 64 ? room : 64);
    if (rows != 0 && m.start + rows <= capacity) {
        const std::size_t most = (capacity - m.start - rows) / m.ld + 1;
        m.cols = in.byte() % (most + 1);
    }
    m.size = m.rows * m.cols;
    return m;
}
template <class View>
auto sharing_list(input& in, const View& other) {
    using T = typename View::value_type;
    const std::size_t capacity = other.storage->capacity;
    const std::size_t first = in.byte() % (capacity + 1);
    return dense1D<T, 8>(other.storage, first, in.byte() % (capacity - first + 1));
}

// -------------------------------------------------------------------------------------- arguments

/// Row counts: one of the wanted ones, one time in 16 any from 0 to 12.
inline std::size_t rows(input& in, std::initializer_list<unsigned> wanted) {
    return in.one_in(16) ? in.below(13) : in.one_of(wanted);
}

/// Coordinates or other columns of doubles: one column in 16 may be absurd if the matrix is.
inline dense2D<double> doubles(input& in, std::size_t nrows, std::size_t cols) {
    dense2D<double> m = blank_matrix<double>(in, nrows, cols);
    const bool absurd = in.one_in(8);
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i)
            m(i, j) = absurd && in.one_in(8) ? in.absurd() : in.small();
    return m;
}

/// Coordinates: 0 to 15 nodes, or one time in 8 up to 127.
inline dense2D<double> positions(input& in, std::initializer_list<unsigned> wanted = {2, 3}) {
    const std::size_t nrows = rows(in, wanted);
    return doubles(in, nrows, in.one_in(8) ? in.below(128) : in.below(16));
}

/// Node numbers of `cols` elements; with 4 rows some are triangles, with 8 and 9 some are T6.
inline dense2D<unsigned> cells(input& in, std::size_t nrows, std::size_t cols, std::size_t nodes) {
    const auto tame = static_cast<unsigned>(nodes < 1000 ? nodes : 1000);
    dense2D<unsigned> m = blank_matrix<unsigned>(in, nrows, cols, tame);
    const bool wild = in.one_in(8);
    const bool mixed = in.flag();
    for (std::size_t j = 0; j < m.cols; ++j) {
        for (std::size_t i = 0; i < m.rows; ++i) m(i, j) = in.node(nodes, wild);
        if (mixed && m.rows >= 4 && in.flag()) {
            if (m.rows == 4) m(3, j) = no_node;
            for (std::size_t i = 6; i < m.rows; ++i) m(i, j) = no_node;
        }
    }
    return m;
}
/// The same with 0 to 11 elements, or one time in 8 up to 127.
inline dense2D<unsigned> cells(input& in, std::initializer_list<unsigned> wanted,
                               std::size_t nodes) {
    const std::size_t nrows = rows(in, wanted);
    return cells(in, nrows, in.one_in(8) ? in.below(128) : in.below(12), nodes);
}

/// A list of numbers below `nodes`.
inline dense1D<unsigned, 8> node_list(input& in, std::size_t n, std::size_t nodes) {
    dense1D<unsigned, 8> v = blank_list<unsigned>(in, n);
    const bool wild = in.one_in(8);
    for (unsigned& id : v) id = in.node(nodes, wild);
    return v;
}
inline dense1D<double, 8> double_list(input& in, std::size_t n) {
    dense1D<double, 8> v = blank_list<double>(in, n);
    const bool absurd = in.one_in(8);
    for (double& x : v) x = absurd && in.one_in(8) ? in.absurd() : in.small();
    return v;
}

template <std::size_t N>
zel::vector_fixed<double, N> vector(input& in) {
    zel::vector_fixed<double, N> v;
    const bool absurd = in.one_in(16);
    for (double& x : v) x = absurd ? in.absurd() : in.small();
    return v;
}

/// Runs one input; each driver defines it.
void run(input& in);

} // namespace zel_fuzz
