// SPDX-License-Identifier: Apache-2.0
// The library's own allocator; this program does not replace it, as the other tests do.
#include "zel/dense.h"
#include "zel/tessel2d/measures.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

TEST(Allocator, SmallBlocksAreAlignedForAnyScalar) {
    for (const std::size_t bytes : {1U, 7U, 16U, 1000U, 100000U}) {
        void* const memory = zel::__vector_num_alloc(bytes);
        ASSERT_NE(nullptr, memory);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t));
        std::memset(memory, 0x5A, bytes);
        zel::__vector_num_free(memory);
    }
}

TEST(Allocator, LargeBlocksCanBeWrittenFromEndToEnd) {
    for (const std::size_t bytes : {(std::size_t{2} << 20) - 1, std::size_t{2} << 20,
                                    (std::size_t{2} << 20) + 1, (std::size_t{9} << 20) + 12345}) {
        auto* const memory = static_cast<unsigned char*>(zel::__vector_num_alloc(bytes));
        ASSERT_NE(nullptr, memory);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t));
        std::memset(memory, 0x5A, bytes);
        EXPECT_EQ(0x5A, memory[bytes - 1]);
        zel::__vector_num_free(memory);
    }
}

#if defined(__linux__)
TEST(Allocator, LargeBlocksBeginOnAHugePage) {
    void* const memory = zel::__vector_num_alloc(std::size_t{5} << 20);
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % (std::size_t{2} << 20));
    zel::__vector_num_free(memory);
}
#endif

TEST(Allocator, NullIsIgnored) {
    zel::__vector_num_free(nullptr);
}

TEST(Allocator, MatricesGrowAcrossTheLimitBetweenSmallAndLarge) {
    zel::dense2D<double> m;
    for (std::size_t columns = 1000; columns < 2000000; columns *= 3) {
        ASSERT_TRUE(m.resize(2, columns, static_cast<double>(columns)));
        EXPECT_EQ(1000.0, m(0, 999));
        EXPECT_EQ(static_cast<double>(columns), m(1, columns - 1));
    }
}

#if !defined(__SANITIZE_ADDRESS__) // which ends the program where the system returns null
TEST(Allocator, AbsurdRequestsReturnNull) {
    for (const std::size_t bytes : {~std::size_t{0}, ~std::size_t{0} / 2, std::size_t{1} << 60})
        EXPECT_EQ(nullptr, zel::__vector_num_alloc(bytes));
    zel::dense1D<double, 8> v(3, 1.0);
    EXPECT_FALSE(v.resize(std::size_t{1} << 58));
    EXPECT_EQ(3U, v.size);
}
#endif

// Which way the library goes depends on the processor; other tests choose the way themselves.
TEST(Lanes, TheLibraryAsksTheProcessorItself) {
    zel::dense2D<double> pos(2, 3, 0.0);
    pos(0, 1) = pos(1, 2) = 1;
    zel::dense2D<unsigned> connect(3, 9);
    for (std::size_t e = 0; e < 9; ++e)
        for (unsigned k = 0; k < 3; ++k) connect(k, e) = k;
    double result = 0;
    ASSERT_EQ(0, zel::tessel2d::area(pos, connect, result));
    EXPECT_EQ(4.5, result);
}

} // namespace
