// SPDX-License-Identifier: Apache-2.0
// Range checks of element access. This file is compiled without NDEBUG in all builds and linked with the
// library as it was built, so that it also shows that a program has its checks over a release library.
#undef NDEBUG
#include "zel/dense.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

namespace {

using zel::dense1D;
using zel::dense2D;
using zel::symmetric_fixed;
using zel::vector_fixed;

template <class Container>
void read(const Container& container, std::size_t i) {
    [[maybe_unused]] const volatile auto value = container[i];
}
template <class Matrix>
void read(const Matrix& matrix, std::size_t i, std::size_t j) {
    [[maybe_unused]] const volatile auto value = matrix(i, j);
}

constexpr std::size_t huge = ~std::size_t{0};

TEST(RangeChecksDeathTest, ListsEndTheProgramBehindTheirLastElement) {
    dense1D<unsigned, 8> list(3, 7U);
    list.reserve(10); // room is not size
    read(list, 2);
    EXPECT_DEATH(read(list, 3), "i < size");
    EXPECT_DEATH(list[3] = 1, "i < size");
    EXPECT_DEATH(read(list, huge), "i < size");
    EXPECT_DEATH(read(dense1D<double, 8>(), 0), "i < size");
}

TEST(RangeChecksDeathTest, ViewsAreCheckedAgainstTheirOwnSize) {
    const dense1D<double, 8> whole(10, 1.0);
    const dense1D<double, 8> part(whole.storage, 4, 2);
    read(part, 1);
    EXPECT_DEATH(read(part, 2), "i < size");
}

TEST(RangeChecksDeathTest, MatricesCheckRowAndColumn) {
    dense2D<double> m(2, 3, 0.0);
    read(m, 1, 2);
    EXPECT_DEATH(read(m, 2, 0), "i < rows && j < cols"); // inside the block all the same
    EXPECT_DEATH(read(m, 0, 3), "i < rows && j < cols");
    EXPECT_DEATH(m(2, 2) = 1, "i < rows && j < cols");
    EXPECT_DEATH(read(m, huge, huge), "i < rows && j < cols");
    EXPECT_DEATH(read(dense2D<unsigned>(), 0, 0), "i < rows && j < cols");
}

TEST(RangeChecksDeathTest, ColumnsMayBeNamedUpToTheEnd) {
    dense2D<unsigned> m(3, 2, 5U);
    const dense2D<unsigned>& same = m;
    EXPECT_EQ(m[0] + 6, m[2]);
    EXPECT_EQ(same[0] + 6, same[2]);
    EXPECT_DEATH(m[3][0] = 1, "j <= cols");
    EXPECT_DEATH(read(same, 3), "j <= cols");
}

TEST(RangeChecksDeathTest, BlocksOfAMatrixLieInside) {
    const dense2D<double> m(3, 4, 0.0);
    EXPECT_EQ(6U, m.sub_matrix(1, 1, 2, 3).size);
    EXPECT_TRUE(m.sub_matrix(3, 4, 0, 0).empty()); // nothing, at the end
    EXPECT_DEATH(m.sub_matrix(4, 0, 0, 1), "row0 <= rows");
    EXPECT_DEATH(m.sub_matrix(2, 0, 2, 1), "nrows <= rows - row0");
    EXPECT_DEATH(m.sub_matrix(0, 5, 1, 0), "col0 <= cols");
    EXPECT_DEATH(m.sub_matrix(0, 1, 1, 4), "ncols <= cols - col0");
    EXPECT_DEATH(m.sub_matrix(1, 0, huge, 1), "nrows <= rows - row0"); // the sum would wrap around
}

TEST(RangeChecksDeathTest, OnlyAContiguousMatrixHasAnEnd) {
    dense2D<double> m(3, 4, 0.0);
    EXPECT_EQ(12, std::as_const(m).end() - std::as_const(m).begin());
    EXPECT_EQ(3, m.sub_matrix(0, 1, 3, 1).end() - m[1]);
    EXPECT_EQ(2, m.sub_matrix(1, 1, 2, 1).end() - (m[1] + 1)); // one column
    EXPECT_EQ(m[1], m.sub_matrix(0, 1, 0, 2).end());           // no element
    dense2D<double> rows = m.sub_matrix(1, 0, 2, 4);
    EXPECT_DEATH(rows.end(), "ld == rows");
    EXPECT_DEATH(std::as_const(rows).end(), "ld == rows");
}

TEST(RangeChecksDeathTest, PointsAndTensorsToo) {
    vector_fixed<double, 2> point{1, 2};
    symmetric_fixed<double, 2> tensor{1, 2, 3};
    read(tensor, 2);
    read(tensor, 1, 1);
    EXPECT_DEATH(point[2] = 0, "i < N");
    EXPECT_DEATH(read(point, 2), "i < N");
    EXPECT_DEATH(tensor[3] = 0, "k < N");
    EXPECT_DEATH(read(tensor, 0, 2), "i < N && j < N");
}

TEST(RangeChecks, ConstantExpressionsStayConstant) {
    constexpr vector_fixed<int, 2> point{3, 4};
    static_assert(point[1] == 4);
    constexpr symmetric_fixed<int, 2> tensor{1, 2, 3};
    static_assert(tensor(1, 0) == 2 && tensor[2] == 3);
    SUCCEED();
}

} // namespace
