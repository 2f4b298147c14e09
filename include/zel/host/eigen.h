// SPDX-License-Identifier: Apache-2.0
// Matrices of Eigen as containers of the library and back, without copies. Needs Eigen 3.4 and nothing else;
// who does not include this header does not need Eigen.
#pragma once

#include "zel/dense.h"

#include <Eigen/Core>

#include <cstddef>

namespace zel::host {

/// A map of Eigen whose columns lie ld elements apart.
template <class T>
using mapped = Eigen::Map<T, Eigen::Unaligned, Eigen::OuterStride<>>;

/// The elements of a matrix as a matrix of Eigen that shares them: writes go both ways. It is stale when
/// the matrix grows or goes.
/// @snippet tests/host/eigen_test.cpp map_of
template <class T>
mapped<Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>> map_of(dense2D<T>& m) noexcept {
    return {m.data(), static_cast<Eigen::Index>(m.rows), static_cast<Eigen::Index>(m.cols),
            Eigen::OuterStride<>(static_cast<Eigen::Index>(m.ld))};
}

/// The same for reading alone.
/// @snippet tests/host/eigen_test.cpp map_of
template <class T>
mapped<const Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>>
map_of(const dense2D<T>& m) noexcept {
    return {m.data(), static_cast<Eigen::Index>(m.rows), static_cast<Eigen::Index>(m.cols),
            Eigen::OuterStride<>(static_cast<Eigen::Index>(m.ld))};
}

/// A `const` matrix over elements that Eigen holds: a matrix, a map, a block or a `Ref`. Nothing is copied; it
/// is stale when Eigen's matrix is resized or goes. What has no memory of its own, as a sum has none, or
/// whose columns are not runs, is refused by the compiler. Empty when memory for the block of the
/// view is exhausted.
/// @snippet tests/host/eigen_test.cpp view_of
template <class Derived>
const dense2D<typename Derived::Scalar> view_of(const Eigen::MatrixBase<Derived>& m) noexcept {
    static_assert((Derived::Flags & Eigen::DirectAccessBit) != 0, "an expression has no memory");
    static_assert(!Derived::IsRowMajor && Derived::InnerStrideAtCompileTime == 1,
                  "columns must be runs");
    using T = typename Derived::Scalar;
    return dense2D<T>::wrap(const_cast<T*>(m.derived().data()), static_cast<std::size_t>(m.rows()),
                            static_cast<std::size_t>(m.cols()),
                            static_cast<std::size_t>(m.derived().outerStride()));
}

/// The same for reading and writing: writes go both ways. A call that makes the matrix grow leaves
/// Eigen's elements behind.
/// @snippet tests/host/eigen_test.cpp wrap
template <class Derived>
dense2D<typename Derived::Scalar> wrap(Eigen::MatrixBase<Derived>& m) noexcept {
    static_assert((Derived::Flags & Eigen::LvalueBit) != 0, "these elements cannot be written");
    return view_of(m);
}

} // namespace zel::host
