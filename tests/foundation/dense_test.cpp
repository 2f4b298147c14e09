// SPDX-License-Identifier: Apache-2.0
#include "zel/dense.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace zel_test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using zel::Ptr;
using zel::symmetric_fixed;
using zel::vector_fixed;
using zel::vector_num;

using block_u = vector_num<unsigned, 8>;

/// The growth of a block, which the views use, without a view.
bool grow(block_u& block, std::size_t min_capacity, std::size_t keep, std::size_t factor) {
    return zel::__block_access::grow(block, min_capacity, keep, factor);
}

// ------------------------------------------------------------------------------- blocks and pointers

TEST(RefCounted, ObjectsStartWithoutOwnerAndGoWithTheLast) {
    struct probe : zel::numera::ref_counted {
        explicit probe(bool& g) : gone(g) {}
        ~probe() override { gone = true; }
        bool& gone;
    };
    bool gone = false;
    auto* const object = new probe(gone);
    EXPECT_FALSE(object->is_unique()); // no owner yet
    {
        const Ptr<probe> first(object);
        EXPECT_TRUE(object->is_unique());
        const Ptr<probe> second = first; // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_FALSE(object->is_unique());
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(VectorNum, TheBlockThatStandsForNoneIsNeverWritten) {
    const auto image = [] {
        std::vector<unsigned char> bytes(sizeof(block_u));
        std::memcpy(bytes.data(), static_cast<const void*>(&block_u::none()), bytes.size());
        return bytes;
    };
    const auto before = image();
    {
        dense2D<unsigned> held(2, 3, 1U);
        const dense2D<unsigned> taken(std::move(held)); // leaves the block in `held`
        const std::vector<dense2D<unsigned>> many(100, held);
        EXPECT_TRUE(many.back().storage->is_none());
        EXPECT_FALSE(many.back().storage->is_unique());
        EXPECT_EQ(before, image());
    }
    EXPECT_EQ(before, image());
}
TEST(VectorNum, EachTypeHasOneBlockThatStandsForNone) {
    struct odd {
        char bytes[3];
    };
    auto& none = vector_num<odd, 8>::none();
    EXPECT_TRUE(none.is_none());
    EXPECT_EQ(nullptr, none.data);
    EXPECT_EQ(0U, none.capacity);
    EXPECT_EQ(&none, (&vector_num<odd, 8>::none()));
    EXPECT_TRUE((vector_num<double, 8>::none().is_none()));
    EXPECT_FALSE((vector_num<double, 8>().is_none()));
}
TEST(VectorNum, TheThrowingFormOfNewServesToo) {
    {
        const Ptr<vector_num<double, 8>> block(new vector_num<double, 8>);
        EXPECT_TRUE(block->is_unique());
    }
    arm_allocator(1);
    EXPECT_THROW(delete new block_u, std::bad_alloc);
    EXPECT_TRUE(disarm_allocator());
}
TEST(VectorNum, ElementsMayHave256Bytes) {
    struct large {
        unsigned char bytes[256];
    };
    vector_num<large, 8> block;
    ASSERT_TRUE((zel::__block_access::grow(block, 3, 0, 1)));
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block.data) % 256);
    EXPECT_LT(block.shift, 256U);
    EXPECT_GE(block.capacity, 3U);
}
TEST(RefCounted, TheClassForValuesNeverCounts) {
    struct by_value : zel::ref_counted {};
    const by_value a;
    const by_value b = a; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(0U, a.reference_count());
    EXPECT_EQ(0U, b.reference_count());
    EXPECT_TRUE(std::has_virtual_destructor_v<zel::ref_counted>);
}

TEST(Ptr, AssignsRawPointersAcquiringFirst) {
    Ptr<block_u> p;
    EXPECT_FALSE(p);
    block_u* const block = block_u::create();
    EXPECT_EQ(&p, &(p = block));
    EXPECT_TRUE(block->is_unique());
    p = block; // the only owner assigns the same object again
    EXPECT_EQ(block, p.get());
    EXPECT_TRUE(block->is_unique());
    p = nullptr;
    EXPECT_FALSE(p);
}

TEST(Ptr, ManyThreadsShareAndReleaseOneBlock) {
    const std::size_t before = live_blocks();
    {
        const dense1D<unsigned, 8> shared(1000, 7U);
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&shared] {
                for (int k = 0; k < 10000; ++k) {
                    const dense1D<unsigned, 8> view(shared);
                    ASSERT_EQ(7U, view[static_cast<std::size_t>(k) % view.size]);
                }
            });
        }
        for (std::thread& t : threads) t.join();
        EXPECT_TRUE(shared.storage->is_unique());
    }
    EXPECT_EQ(before, live_blocks());
}

TEST(Block, EmptyBlockHasAllFieldsZero) {
    const Ptr<block_u> block(block_u::create());
    EXPECT_EQ(nullptr, block->data);
    EXPECT_EQ(0U, block->capacity);
    EXPECT_EQ(0U, block->shift);
}

TEST(Block, FirstGrowthWithFactorTwoHoldsAtLeastTwo) {
    const Ptr<block_u> block(block_u::create());
    ASSERT_TRUE(grow(*block, 1, 0, 2));
    EXPECT_GE(block->capacity, 2U);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block->data) % sizeof(unsigned));
}

TEST(Block, GrowthTakesTheLargestOfFactorTwoAndMinimum) {
    const Ptr<block_u> block(block_u::create());
    ASSERT_TRUE(grow(*block, 10, 0, 1));
    EXPECT_EQ(10U, block->capacity); // the allocator's memory is aligned, so the capacity is exact
    for (unsigned k = 0; k < 10; ++k) block->data[k] = k;
    ASSERT_TRUE(grow(*block, 5, 10, 3));
    EXPECT_EQ(30U, block->capacity);
    for (unsigned k = 0; k < 10; ++k) EXPECT_EQ(k, block->data[k]);
    ASSERT_TRUE(grow(*block, 100, 10, 2));
    EXPECT_EQ(100U, block->capacity);
}

TEST(Block, GrowthThatOverflowsChangesNothing) {
    const Ptr<block_u> block(block_u::create());
    ASSERT_TRUE(grow(*block, 4, 0, 1));
    const unsigned* const data = block->data;
    EXPECT_FALSE(grow(*block, ~std::size_t{0}, 4, 1));
    EXPECT_FALSE(grow(*block, ~std::size_t{0} / sizeof(unsigned), 4, 1)); // bytes + slack overflow
    EXPECT_FALSE(grow(*block, 5, 4, ~std::size_t{0} / 2)); // capacity*factor overflows
    EXPECT_EQ(data, block->data);
    EXPECT_EQ(4U, block->capacity);
}

struct slot24 {
    std::uint64_t a, b, c;
};

TEST(Block, ElementSizesThatAreNoPowersOfTwoFollowTheSameFormula) {
    const Ptr<vector_num<slot24, 8>> block(vector_num<slot24, 8>::create());
    ASSERT_TRUE(zel::__block_access::grow(*block, 7, 0, 1));
    const auto raw = reinterpret_cast<std::uintptr_t>(block->data) - block->shift;
    const std::uintptr_t expected = (raw + sizeof(slot24) - 1) & ~(sizeof(slot24) - 1);
    EXPECT_EQ(expected, reinterpret_cast<std::uintptr_t>(block->data));
    EXPECT_EQ((7 * sizeof(slot24) + sizeof(slot24) - 1 - block->shift) / sizeof(slot24),
              block->capacity);
    EXPECT_LT(block->shift, sizeof(slot24));
}

struct marked {
    unsigned value = 42;
};

TEST(Block, ElementsBehindTheKeptOnesAreDefaultConstructed) {
    const Ptr<vector_num<marked, 8>> block(vector_num<marked, 8>::create());
    ASSERT_TRUE(zel::__block_access::grow(*block, 4, 0, 1));
    block->data[0].value = 1;
    ASSERT_TRUE(zel::__block_access::grow(*block, 8, 1, 1));
    EXPECT_EQ(1U, block->data[0].value);
    for (std::size_t k = 1; k < block->capacity; ++k) EXPECT_EQ(42U, block->data[k].value);
}

struct refuses_construction {
    refuses_construction() { throw 1; }
};

TEST(Block, FailedConstructionFreesTheNewMemoryAndReturnsFalse) {
    const std::size_t before = live_blocks();
    {
        const Ptr<vector_num<refuses_construction, 8>> block(
            vector_num<refuses_construction, 8>::create());
        EXPECT_FALSE(zel::__block_access::grow(*block, 4, 0, 1));
        EXPECT_EQ(nullptr, block->data);
        EXPECT_EQ(before + 1, live_blocks());
    }
    EXPECT_EQ(before, live_blocks());
}

TEST(Block, MemoryThatIsNotOwnedIsNeverFreed) {
    const std::size_t before = live_blocks();
    unsigned mine[4] = {1, 2, 3, 4};
    {
        auto view = dense1D<unsigned, 8>::wrap(mine, 4);
        EXPECT_EQ(65535U, view.storage->shift);
        EXPECT_EQ(mine, view.data());
        view[0] = 10;
        view.push_back(5); // moves to memory of its own, leaves the caller's alone
        EXPECT_THAT(values(view), ElementsAre(10, 2, 3, 4, 5));
        EXPECT_NE(mine, view.data());
        EXPECT_LT(view.storage->shift, 65535U);
        view[1] = 20;
    }
    EXPECT_EQ(before, live_blocks());
    EXPECT_THAT(mine, ElementsAre(10, 2, 3, 4));
}

// ------------------------------------------------------------------------------------------ vectors

TEST(Dense1D, FieldsStandInOrder) {
    using view = dense1D<double, 8>;
    EXPECT_LT(offsetof(view, storage), offsetof(view, size));
    EXPECT_LT(offsetof(view, size), offsetof(view, start));
    EXPECT_FALSE(std::is_polymorphic_v<view>);
}

TEST(Dense1D, DefaultIsEmptyWithABlockOfItsOwn) {
    const dense1D<unsigned, 8> a;
    const dense1D<unsigned, 8> b;
    ASSERT_TRUE(a.storage);
    EXPECT_NE(a.storage.get(), b.storage.get());
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(0U, a.storage->capacity);
}

TEST(Dense1D, SizedConstructorsFill) {
    const dense1D<unsigned, 8> a(5);
    EXPECT_EQ(5U, a.size);
    EXPECT_THAT(values(dense1D<double, 8>(3, 2.5)), ElementsAre(2.5, 2.5, 2.5));
    EXPECT_THAT(values(dense1D<unsigned, 8>(2, 9U)), ElementsAre(9, 9));
}

TEST(Dense1D, CopiesAndAssignmentsShareTheBlock) {
    auto a = ids({1, 2, 3});
    auto b = a;
    dense1D<unsigned, 8> c;
    c = a;
    b[1] = 20;
    EXPECT_EQ(20U, a[1]);
    EXPECT_EQ(20U, c[1]);
    EXPECT_EQ(a.storage.get(), c.storage.get());
    b.push_back(4); // the block moves, the other views see it
    EXPECT_EQ(a.data(), b.data());
    EXPECT_THAT(values(a), ElementsAre(1, 20, 3));
}

TEST(Dense1D, MoveLeavesAUsableEmptyVector) {
    auto a = ids({1, 2, 3});
    dense1D<unsigned, 8> b = std::move(a);
    EXPECT_THAT(values(b), ElementsAre(1, 2, 3));
    ASSERT_TRUE(a.storage); // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(0U, a.storage->capacity);
    a.push_back(7);
    dense1D<unsigned, 8> d;
    d = std::move(b);
    d.push_back(4);
    EXPECT_THAT(values(a), ElementsAre(7));
    EXPECT_THAT(values(d), ElementsAre(1, 2, 3, 4));
}

TEST(Dense1D, ResizeKeepsTheFrontAndFills) {
    auto v = ids({1, 2, 3});
    ASSERT_TRUE(v.resize(5, 8U));
    EXPECT_THAT(values(v), ElementsAre(1, 2, 3, 8, 8));
    ASSERT_TRUE(v.resize(2, 9U));
    EXPECT_THAT(values(v), ElementsAre(1, 2));
    ASSERT_TRUE(v.resize(3));
    EXPECT_EQ(3U, v.size);
}

TEST(Dense1D, ReserveIsExactAndKeepsSizeAndContents) {
    auto v = ids({1, 2, 3});
    ASSERT_TRUE(v.reserve(100, 1));
    EXPECT_EQ(100U, v.storage->capacity);
    EXPECT_THAT(values(v), ElementsAre(1, 2, 3));
    const unsigned* const data = v.data();
    ASSERT_TRUE(v.reserve(50, 1));
    ASSERT_TRUE(v.resize(100));
    EXPECT_EQ(data, v.data());
}

TEST(Dense1D, AFactorOfZeroReservesExactlyToo) {
    dense1D<double, 8> v(3, 1.0);
    ASSERT_TRUE(v.reserve(100, 0));
    EXPECT_EQ(100U, v.storage->capacity);
    EXPECT_EQ(3U, v.size);
}
TEST(Dense1D, PushBackDoublesTheStorage) {
    dense1D<unsigned, 8> v;
    const std::size_t before = allocation_count();
    for (unsigned k = 0; k < 1024; ++k) zel::push_back(v, k);
    EXPECT_EQ(10U, allocation_count() - before); // 2, 4, ..., 1024
    EXPECT_EQ(1024U, v.size);
    for (unsigned k = 0; k < 1024; ++k) EXPECT_EQ(k, v[k]);
}

TEST(Dense1D, PushBackCountsFromTheStartOfTheView) {
    auto all = ids({0, 1, 2, 3, 4, 5, 6, 7});
    auto tail = all;
    tail.start = 6;
    tail.size = 2;
    EXPECT_EQ(8U, tail.storage->capacity);
    tail.push_back(8);
    EXPECT_EQ(16U, tail.storage->capacity); // start + size + 1 is needed, the capacity doubles
    EXPECT_THAT(values(tail), ElementsAre(6, 7, 8));
    EXPECT_THAT(values(all), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
}

TEST(Dense1D, PushBackOfAnElementOfTheVectorItself) {
    auto v = ids({5, 6});
    v.push_back(v[0]);
    EXPECT_THAT(values(v), ElementsAre(5, 6, 5));
}

TEST(Dense1D, ClearKeepsMemoryThatNobodyShares) {
    auto v = ids({1, 2, 3});
    const unsigned* const data = v.data();
    v.clear();
    EXPECT_TRUE(v.empty());
    v.push_back(4);
    EXPECT_EQ(data, v.data());
}

TEST(Dense1D, ClearLeavesOtherViewsTheirElements) {
    auto v = ids({1, 2, 3});
    const auto other = v;
    v.clear();
    v.push_back(9);
    EXPECT_THAT(values(other), ElementsAre(1, 2, 3));
    EXPECT_THAT(values(v), ElementsAre(9));
}

TEST(Dense1D, OverflowAndExhaustedMemoryLeaveTheVectorUnchanged) {
    auto v = ids({1, 2, 3});
    EXPECT_FALSE(v.reserve(~std::size_t{0}, 1));
    EXPECT_FALSE(v.resize(~std::size_t{0}));
    EXPECT_FALSE(v.resize(~std::size_t{0} / 4, 1U));
    v.start = 1;
    v.size = 2;
    EXPECT_FALSE(v.resize(~std::size_t{0})); // start + size overflows
    EXPECT_THAT(values(v), ElementsAre(2, 3));
    arm_allocator(1);
    EXPECT_FALSE(v.resize(10));
    EXPECT_THAT(values(v), ElementsAre(2, 3));
    arm_allocator(1);
    v.push_back(4); // dropped
    EXPECT_THAT(values(v), ElementsAre(2, 3));
    disarm_allocator();
    v.push_back(4);
    EXPECT_THAT(values(v), ElementsAre(2, 3, 4));
}

TEST(Dense1D, ConstructionWithoutMemoryGivesAnEmptyVectorThatRecovers) {
    arm_allocator(1);
    fail_for_good(true);
    arm_allocator(1);
    dense1D<unsigned, 8> empty;
    dense1D<unsigned, 8> sized(4);
    dense1D<double, 8> filled(4, 1.0);
    fail_for_good(false);
    disarm_allocator();
    for (const std::size_t size : {empty.size, sized.size, filled.size}) EXPECT_EQ(0U, size);
    ASSERT_TRUE(empty.storage);
    EXPECT_EQ(0U, empty.storage->capacity);
    EXPECT_TRUE(empty.resize(2, 3U));
    EXPECT_THAT(values(empty), ElementsAre(3, 3));
    sized.push_back(1);
    EXPECT_THAT(values(sized), ElementsAre(1));
}

TEST(Dense1D, ViewsRunLikeRanges) {
    const auto v = ids({3, 1, 2});
    unsigned sum = 0;
    for (const unsigned x : v) sum += x;
    EXPECT_EQ(6U, sum);
    EXPECT_EQ(v.end() - v.begin(), static_cast<std::ptrdiff_t>(v.size));
}

// ----------------------------------------------------------------------------------------- matrices

TEST(Dense2D, FieldsStandInOrder) {
    using view = dense2D<double>;
    EXPECT_LT(offsetof(view, storage), offsetof(view, size));
    EXPECT_LT(offsetof(view, size), offsetof(view, start));
    EXPECT_LT(offsetof(view, start), offsetof(view, rows));
    EXPECT_LT(offsetof(view, rows), offsetof(view, cols));
    EXPECT_LT(offsetof(view, cols), offsetof(view, ld));
    EXPECT_FALSE(std::is_polymorphic_v<view>);
}

TEST(Dense2D, NoRowsOrNoColumnsIsEmpty) {
    dense2D<unsigned> m;
    EXPECT_TRUE(m.empty());
    ASSERT_TRUE(m.resize(4, 0));
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(4U, m.rows);
    ASSERT_TRUE(m.resize(0, 5));
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(5U, m.cols);
}

TEST(Dense2D, ResizeOfAnEmptyMatrixSetsTheRows) {
    dense2D<unsigned> m;
    ASSERT_TRUE(m.resize(4, 3, no_node));
    EXPECT_EQ(4U, m.rows);
    EXPECT_EQ(3U, m.cols);
    EXPECT_EQ(4U, m.ld);
    EXPECT_THAT(values(m.as_vector()), Each(no_node));
}

TEST(Dense2D, WideningKeepsElementsAndFillsTheNewRow) {
    auto m = cells({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}});
    ASSERT_TRUE(m.resize(4, 4, no_node));
    EXPECT_THAT(columns(m),
                ElementsAre(cell(0, 1, 2, no_node), cell(3, 4, 5, no_node), cell(6, 7, 8, no_node),
                            cell(no_node, no_node, no_node, no_node)));
}

TEST(Dense2D, NarrowingKeepsElementsAndStaysContiguous) {
    auto m = points({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}});
    ASSERT_TRUE(m.resize(2, 2));
    EXPECT_TRUE(m.contiguous());
    EXPECT_THAT(columns(m), ElementsAre(point(0, 1), point(3, 4)));
}

TEST(Dense2D, EveryResizeKeepsWhatExistedAndFillsTheRest) {
    for (std::size_t rows = 0; rows <= 5; ++rows)
        for (std::size_t cols = 0; cols <= 5; ++cols)
            for (const bool strided : {false, true})
                for (std::size_t new_rows = 0; new_rows <= 6; ++new_rows)
                    for (std::size_t new_cols = 0; new_cols <= 7; ++new_cols) {
                        dense2D<unsigned> original(rows, cols);
                        for (std::size_t j = 0; j < cols; ++j)
                            for (std::size_t i = 0; i < rows; ++i)
                                original(i, j) = static_cast<unsigned>(10 * i + j);
                        auto framed_original = framed(original);
                        dense2D<unsigned> m = strided ? framed_original.view : original;
                        ASSERT_TRUE(m.resize(new_rows, new_cols, 99U));
                        ASSERT_EQ(new_rows, m.rows);
                        ASSERT_EQ(new_cols, m.cols);
                        ASSERT_GE(m.ld, m.rows);
                        if (!m.empty()) {
                            ASSERT_LE(m.start + (new_cols - 1) * m.ld + new_rows,
                                      m.storage->capacity);
                        }
                        for (std::size_t j = 0; j < new_cols; ++j)
                            for (std::size_t i = 0; i < new_rows; ++i) {
                                const bool old = i < rows && j < cols;
                                ASSERT_EQ(old ? 10 * i + j : 99, m(i, j)) << i << ' ' << j;
                            }
                    }
}

TEST(Dense2D, GrowingAViewLeavesTheRowsAroundItAlone) {
    auto f = framed(cells({{0, 1, 2}, {3, 4, 5}}));
    ASSERT_TRUE(f.view.resize(3, 50, 7U));
    EXPECT_TRUE(f.surroundings_untouched(2));
    EXPECT_EQ(f.view.ld, f.parent.rows);
    EXPECT_EQ(cell(3, 4, 5), column(f.view, 1));
}

TEST(Dense2D, ReserveIsExactAndMovesNothingAfterwards) {
    auto m = cells({{0, 1, 2}});
    ASSERT_TRUE(m.reserve(3, 1000, 1));
    EXPECT_EQ(3000U, m.storage->capacity);
    EXPECT_EQ(1U, m.cols);
    const unsigned* const data = m.data();
    ASSERT_TRUE(m.resize(3, 1000));
    EXPECT_EQ(data, m.data());
    EXPECT_EQ(1000U, m.column_capacity());
}

TEST(Dense2D, ReservingHigherColumnsCoversTheWidenedMatrix) {
    auto m = cells({{0, 1, 2}, {3, 4, 5}});
    ASSERT_TRUE(m.reserve(4, 10, 1));
    arm_allocator(1);
    EXPECT_TRUE(m.resize(4, 10, no_node));
    disarm_allocator();
    EXPECT_EQ(cell(3, 4, 5, no_node), column(m, 1));
}

TEST(Dense2D, PeakMemoryOfAReservationIsTheOutput) {
    const std::size_t base = live_bytes();
    reset_peak();
    {
        dense2D<double> m;
        ASSERT_TRUE(m.reserve(2, 100000, 1));
        ASSERT_TRUE(m.resize(2, 100000, 0.0));
        EXPECT_LE(peak_bytes() - base, 1600000 + 128U);
    }
    EXPECT_EQ(base, live_bytes());
}

TEST(Dense2D, CountsThatOverflowReturnFalse) {
    auto m = cells({{0, 1, 2}});
    constexpr std::size_t half = std::size_t{1} << 32;
    for (const auto& [rows, cols] : {std::pair{half, half},
                                     {3, ~std::size_t{0}},
                                     {~std::size_t{0}, 2},
                                     {3, ~std::size_t{0} / 3},
                                     {2, std::size_t{1} << 61}}) {
        EXPECT_FALSE(m.reserve(rows, cols, 1));
        EXPECT_FALSE(m.resize(rows, cols));
        EXPECT_FALSE(m.resize(rows, cols, 5U));
        EXPECT_THAT(columns(m), ElementsAre(cell(0, 1, 2)));
    }
}

TEST(Dense2D, ExhaustedMemoryLeavesTheMatrixUnchanged) {
    auto m = cells({{0, 1, 2}, {3, 4, 5}});
    const auto before = snapshot(m);
    for (const std::size_t rows : {3U, 4U}) {
        arm_allocator(1);
        EXPECT_FALSE(m.reserve(rows, 100, 1));
        arm_allocator(1);
        EXPECT_FALSE(m.resize(rows, 100));
        arm_allocator(1);
        EXPECT_FALSE(m.resize(rows, 100, 1U));
        disarm_allocator();
        EXPECT_EQ(before, snapshot(m));
    }
    dense2D<unsigned> copy = cells({{9, 9}});
    fail_each_allocation([&](std::size_t k) {
        auto target = fresh_copy(copy);
        arm_allocator(k);
        if (!target.copy(m)) {
            EXPECT_THAT(columns(target), ElementsAre(cell(9, 9)));
        }
    });
}

TEST(Dense2D, ShallowCopySharesAndCopyDoesNot) {
    auto m = points({{0, 1}, {2, 3}});
    dense2D<double> shared;
    shared.shallow_copy(m);
    dense2D<double> own;
    ASSERT_TRUE(own.copy(m.sub_matrix(1, 0, 1, 2)));
    m(1, 1) = 30;
    EXPECT_EQ(30, shared(1, 1));
    EXPECT_THAT(columns(own), ElementsAre(point(1), point(3)));
    EXPECT_TRUE(own.contiguous());
    ASSERT_TRUE(m.copy(m)); // onto itself: leaves the shared block
    EXPECT_NE(m.storage.get(), shared.storage.get());
    EXPECT_THAT(columns(m), ElementsAre(point(0, 1), point(2, 30)));
}

TEST(Dense2D, SubMatrixLooksIntoItsParent) {
    auto m = cells({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}});
    auto part = m.sub_matrix(1, 1, 2, 2);
    EXPECT_EQ(4U, part.start);
    EXPECT_EQ(3U, part.ld);
    EXPECT_THAT(columns(part), ElementsAre(cell(4, 5), cell(7, 8)));
    part(0, 1) = 70;
    EXPECT_EQ(70U, m(1, 2));
    const auto nested = part.sub_matrix(1, 1, 1, 1);
    EXPECT_EQ(8U, nested(0, 0));
}

TEST(Dense2D, AsVectorWalksTheColumns) {
    const auto m = cells({{0, 1}, {2, 3}});
    const auto v = m.as_vector();
    EXPECT_THAT(values(v), ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(m.storage.get(), v.storage.get());
}

TEST(Dense2D, WrapOfNothingHasItsRows) {
    double mine[3] = {};
    for (double* const memory : {mine, static_cast<double*>(nullptr)}) {
        auto view = dense2D<double>::wrap(memory, 3, 0);
        EXPECT_EQ(3U, view.rows);
        EXPECT_EQ(0U, view.cols);
        EXPECT_EQ(3U, view.ld);
        EXPECT_TRUE(view.empty());
        ASSERT_TRUE(view.resize(3, 2, 1.5));
        EXPECT_EQ(1.5, view(2, 1));
    }
    auto list = dense1D<double, 8>::wrap(nullptr, 0);
    list.push_back(2.5);
    EXPECT_THAT(values(list), ElementsAre(2.5));
}
TEST(Dense2D, WrapUsesTheCallersMemory) {
    double mine[7] = {0, 1, -1, 2, 3, -1, 77};
    auto view = dense2D<double>::wrap(mine, 2, 2, 3);
    EXPECT_THAT(columns(view), ElementsAre(point(0, 1), point(2, 3)));
    ASSERT_TRUE(view.resize(2, 3, 5.0)); // the third column needs memory of its own
    EXPECT_THAT(columns(view), ElementsAre(point(0, 1), point(2, 3), point(5, 5)));
    EXPECT_EQ(77, mine[6]);
    EXPECT_TRUE(dense2D<double>::wrap(mine, 3, 2, 2).empty()); // columns would overlap
    EXPECT_TRUE(dense2D<double>::wrap(mine, 2, ~std::size_t{0}).empty());
    EXPECT_TRUE(dense2D<double>::wrap(mine, 2, 3).contiguous());
}

TEST(Dense2D, MoveLeavesAUsableEmptyMatrix) {
    auto a = cells({{0, 1}, {2, 3}});
    dense2D<unsigned> b = std::move(a);
    EXPECT_TRUE(a.empty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(0U, a.storage->capacity);
    ASSERT_TRUE(a.resize(2, 1, 4U));
    EXPECT_THAT(columns(a), ElementsAre(cell(4, 4)));
    dense2D<unsigned> c;
    c = std::move(b);
    EXPECT_THAT(columns(c), ElementsAre(cell(0, 1), cell(2, 3)));
}

TEST(Dense2D, ClearEmptiesAndLeavesOtherViewsTheirElements) {
    auto m = cells({{0, 1}, {2, 3}});
    const auto other = m;
    m.clear();
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(0U, m.rows);
    ASSERT_TRUE(m.resize(3, 1, 8U));
    EXPECT_THAT(columns(other), ElementsAre(cell(0, 1), cell(2, 3)));
    m.clear();
    EXPECT_TRUE(m.empty());
}

TEST(Dense2D, ElementsAreReachedByPairAndByColumn) {
    auto m = framed(cells({{0, 1}, {2, 3}})).view;
    EXPECT_EQ(3U, m(1, 1));
    EXPECT_EQ(3U, m[1][1]);
    m[0][1] = 10;
    EXPECT_EQ(10U, m(1, 0));
}

// ---------------------------------------------------------------------------------- small operations

TEST(Append, OfAnEmptyVectorDoesNotTouchTheTarget) {
    auto dst = ids({1});
    const unsigned* const data = dst.data();
    const std::size_t before = allocation_count();
    const dense1D<unsigned, 8> nothing;
    EXPECT_TRUE(zel::append(nothing, dst));
    EXPECT_EQ(before + 1, allocation_count()); // the block of `nothing`
    EXPECT_EQ(data, dst.data());
    EXPECT_THAT(values(dst), ElementsAre(1));
}

TEST(Append, CopiesBehindTheOldElementsAndReservesAhead) {
    auto dst = ids({1, 2});
    ASSERT_TRUE(zel::append(ids({3, 4, 5}), dst));
    EXPECT_THAT(values(dst), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(5U, dst.storage->capacity); // max(3, 2) + 2
    ASSERT_TRUE(zel::append(ids({6}), dst));
    EXPECT_EQ(10U, dst.storage->capacity); // max(1, 5) + 5
}

TEST(Append, OntoItself) {
    auto v = ids({1, 2, 3});
    ASSERT_TRUE(zel::append(v, v));
    EXPECT_THAT(values(v), ElementsAre(1, 2, 3, 1, 2, 3));
}

TEST(Append, ExhaustedMemoryIsFatalOnlyWhenTheExactSizeDoesNotFit) {
    auto dst = ids({1, 2});
    const auto src = ids({3});
    arm_allocator(1); // the generous reservation fails, the resize behind it gets its memory
    EXPECT_TRUE(zel::append(src, dst));
    EXPECT_TRUE(disarm_allocator());
    EXPECT_THAT(values(dst), ElementsAre(1, 2, 3));
    fail_for_good(true);
    arm_allocator(1);
    EXPECT_FALSE(zel::append(src, dst));
    fail_for_good(false);
    disarm_allocator();
    EXPECT_THAT(values(dst), ElementsAre(1, 2, 3));
}

TEST(AppendReversed, RunsFromTheLastElementToTheFirst) {
    const unsigned run[] = {1, 2, 3};
    auto dst = ids({9});
    EXPECT_EQ(&dst, &zel::append_reversed(run + 3, run, dst));
    EXPECT_THAT(values(dst), ElementsAre(9, 3, 2, 1));
    zel::append_reversed(run, run, dst);
    EXPECT_EQ(4U, dst.size);
}

TEST(AppendReversed, TheRunMayLieInTheVectorItself) {
    auto v = ids({1, 2, 3, 4});
    zel::append_reversed(v.end(), v.begin(), v);
    EXPECT_THAT(values(v), ElementsAre(1, 2, 3, 4, 4, 3, 2, 1));
}

TEST(AppendColumns, TakesTheRowsOfTheSource) {
    dense2D<unsigned> dst;
    ASSERT_TRUE(zel::append_columns(cells({{0, 1, 2}}), dst));
    ASSERT_TRUE(zel::append_columns(framed(cells({{3, 4, 5}, {6, 7, 8}})).view, dst));
    EXPECT_THAT(columns(dst), ElementsAre(cell(0, 1, 2), cell(3, 4, 5), cell(6, 7, 8)));
    ASSERT_TRUE(zel::append_columns(dense2D<unsigned>(), dst));
    EXPECT_EQ(3U, dst.cols);
    ASSERT_TRUE(zel::append_columns(cells({{1, 2, 3, 4}}), dst));
    EXPECT_EQ(4U, dst.rows);
    EXPECT_EQ(cell(1, 2, 3, 4), column(dst, 3));
}

TEST(AppendColumns, IntoAViewAndWithoutMemory) {
    auto f = framed(cells({{0, 1}}));
    ASSERT_TRUE(zel::append_columns(cells({{2, 3}, {4, 5}}), f.view));
    EXPECT_THAT(columns(f.view), ElementsAre(cell(0, 1), cell(2, 3), cell(4, 5)));
    EXPECT_TRUE(f.surroundings_untouched(1));
    auto dst = cells({{0, 1}});
    const auto src = cells({{2, 3}});
    fail_for_good(true);
    arm_allocator(1);
    EXPECT_FALSE(zel::append_columns(src, dst));
    fail_for_good(false);
    disarm_allocator();
    EXPECT_THAT(columns(dst), ElementsAre(cell(0, 1)));
}

TEST(AppendColumns, BothMayLieInOneBlock) {
    auto m = cells({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}});
    auto dst = m;
    ASSERT_TRUE(
        zel::append_columns(m.sub_matrix(0, 1, 3, 2), dst)); // lower columns: all are packed
    EXPECT_THAT(columns(dst), ElementsAre(cell(0, 1, 2), cell(4, 5, 6), cell(8, 9, 10),
                                          cell(4, 5, 6), cell(8, 9, 10)));
    auto n = cells({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}, {12, 13, 14, 15}});
    auto front = n.sub_matrix(0, 0, 2, 2); // the source overlaps the columns that are written
    ASSERT_TRUE(zel::append_columns(n.sub_matrix(0, 1, 2, 3), front));
    EXPECT_THAT(columns(front),
                ElementsAre(cell(0, 1), cell(4, 5), cell(4, 5), cell(8, 9), cell(12, 13)));
}

TEST(PushBackColumn, AppendsAndDoubles) {
    dense2D<unsigned> m;
    const unsigned ids3[] = {1, 2, 3};
    for (int k = 0; k < 5; ++k) EXPECT_TRUE(zel::push_back_column3(ids3, m));
    EXPECT_EQ(5U, m.cols);
    EXPECT_EQ(8U, m.column_capacity()); // 4, then 8
    EXPECT_EQ(cell(1, 2, 3), column(m, 4));
}

TEST(PushBackColumn, RefusesAnotherHeight) {
    auto m = cells({{0, 1, 2}});
    const unsigned ids4[] = {1, 2, 3, 4};
    EXPECT_FALSE(zel::push_back_column4(ids4, m));
    EXPECT_EQ(1U, m.cols);
    dense2D<unsigned> empty_of_three_rows(3, 0);
    EXPECT_TRUE(zel::push_back_column4(ids4, empty_of_three_rows));
    EXPECT_EQ(cell(1, 2, 3, 4), column(empty_of_three_rows, 0));
}

TEST(PushBackColumn, GoesBehindColumnsThatHadNoRows) {
    dense2D<unsigned> m(0, 5);
    const unsigned ids3[] = {1, 2, 3};
    EXPECT_TRUE(zel::push_back_column3(ids3, m));
    EXPECT_EQ(6U, m.cols);
    EXPECT_EQ(cell(1, 2, 3), column(m, 5));
}

TEST(PushBackColumn, AColumnOfTheMatrixItselfAndNoMemory) {
    auto m = cells({{7, 8, 9}});
    EXPECT_TRUE(zel::push_back_column3(m[0], m));
    EXPECT_THAT(columns(m), ElementsAre(cell(7, 8, 9), cell(7, 8, 9)));
    auto full = cells({{7, 8, 9}});
    fail_for_good(true);
    arm_allocator(1);
    EXPECT_FALSE(zel::push_back_column3(full[0], full));
    fail_for_good(false);
    disarm_allocator();
    EXPECT_THAT(columns(full), ElementsAre(cell(7, 8, 9)));
}

TEST(MaxIndex, SkipsNoNode) {
    EXPECT_EQ(7U, zel::max_index(cells({{0, 7, no_node}, {3, 2, 1}})));
    EXPECT_EQ(0xFFFFFFFEU, zel::max_index(cells({{0, 0xFFFFFFFE, no_node}})));
    EXPECT_EQ(5U, zel::max_index(framed(cells({{5, 4}, {1, no_node}})).view));
}

TEST(MaxIndex, OfNothingButNoNodeIsZero) {
    EXPECT_EQ(0U, zel::max_index(cells({{no_node, no_node}})));
}

TEST(MaxIndex, OfAnEmptyMatrixDependsOnItsLeadingDimension) {
    EXPECT_EQ(no_node, zel::max_index(dense2D<unsigned>()));
    EXPECT_EQ(no_node, zel::max_index(dense2D<unsigned>(3, 0)));
    EXPECT_EQ(0U, zel::max_index(framed(cells({{1, 2, 3}})).view.sub_matrix(0, 0, 2, 0)));
}

TEST(VectorFixed, IsPlainAndIndexable) {
    vector_fixed<double, 3> p{1, 2, 3};
    p[1] = 5;
    EXPECT_THAT(p, ElementsAre(1, 5, 3));
    EXPECT_EQ(3 * sizeof(double), sizeof p);
    EXPECT_TRUE((std::is_trivially_copyable_v<vector_fixed<double, 2>>));
}

TEST(SymmetricFixed, IsPackedColumnAfterColumn) {
    symmetric_fixed<double, 3> m{{0, 1, 11, 2, 12, 22}};
    EXPECT_EQ(0, m(0, 0));
    EXPECT_EQ(1, m(0, 1));
    EXPECT_EQ(1, m(1, 0));
    EXPECT_EQ(11, m(1, 1));
    EXPECT_EQ(12, m(2, 1));
    EXPECT_EQ(22, m[5]);
    symmetric_fixed<double, 2> a{{1, 2, 3}};
    const symmetric_fixed<double, 2> b{{4, 5, 6}};
    EXPECT_EQ(&a, &(a = b));
    EXPECT_THAT(a, ElementsAre(4, 5, 6));
    EXPECT_EQ(6 * sizeof(double), sizeof m);
}

// ------------------------------------------------------------- appending: room, counts and one block

TEST(Append, WithRoomForTheSumNothingIsReserved) {
    auto dst = ids({1, 2});
    ASSERT_TRUE(dst.reserve(5, 1));
    const std::size_t count = allocation_count();
    EXPECT_TRUE(append(ids({3, 4, 5}), dst));
    EXPECT_EQ((std::vector<unsigned>{1, 2, 3, 4, 5}), values(dst));
    EXPECT_EQ(2U, allocation_count() - count) << "the source alone";
    EXPECT_EQ(5U, dst.storage->capacity);
}
TEST(Append, SizesWhoseSumOverflowsAreRefused) {
    dense1D<unsigned, 8> dst;
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 2 + 1}) {
        dst.size = size; // the claim is never looked into
        EXPECT_FALSE(append(ids({3}), dst));
        EXPECT_EQ(size, dst.size);
    }
    dst.size = 0;
}
TEST(AppendColumns, ColumnsWithoutRowsThatCannotBeCountedFurtherAreRefused) {
    for (const std::size_t cols : {SIZE_MAX, SIZE_MAX / 2 + 1}) {
        dense2D<unsigned> dst;
        ASSERT_TRUE(dst.resize(0, cols));
        EXPECT_FALSE(append_columns(cells({{1, 2}}), dst));
        EXPECT_EQ(cols, dst.cols);
        EXPECT_EQ(0U, dst.rows);
    }
}
TEST(AppendColumns, ViewsOfOneBlockAreReadAsTheyAreOnEntry) {
    const auto expected = cells({{1, 2}, {3, 4}, {1, 2}});
    for (const unsigned kind : {0U, 1U, 2U}) {
        dense2D<unsigned> block(kind == 0 ? 2 : 3, 4, 0U);
        dense2D<unsigned> src, dst;
        if (kind == 0) { // both contiguous
            src = block.sub_matrix(0, 0, 2, 1);
            dst = block.sub_matrix(0, 0, 2, 2);
        } else if (kind == 1) { // neither
            src = block.sub_matrix(0, 0, 2, 1);
            dst = block.sub_matrix(0, 0, 2, 2);
        } else { // the source alone
            src = block.sub_matrix(0, 0, 2, 1);
            dst = block.sub_matrix(0, 0, 3, 2);
            dst.ld = dst.rows = 2;
        }
        dst(0, 0) = 1, dst(1, 0) = 2, dst(0, 1) = 3, dst(1, 1) = 4;
        ASSERT_TRUE(append_columns(src, dst));
        EXPECT_EQ(columns(expected), columns(dst)) << kind;
    }
}
TEST(AppendColumns, WithoutMemoryForACopyOfOneBlockTheTargetStays) {
    fail_each_allocation([](std::size_t k) {
        dense2D<unsigned> block(3, 4, 5U);
        const auto src = block.sub_matrix(1, 0, 2, 2);
        auto dst = block.sub_matrix(0, 0, 2, 2);
        arm_allocator(k);
        const bool done = append_columns(src, dst);
        EXPECT_TRUE(done || allocation_failed());
        EXPECT_EQ(done ? 4U : 2U, dst.cols);
    });
}
TEST(AppendColumns, OntoAViewOfTheBlockWithALargerLeadingDimension) {
    dense2D<unsigned> block(2, 6);
    for (unsigned k = 0; k < 12; ++k) block.data()[k] = k;
    const auto src = block.sub_matrix(0, 2, 2, 2); // its second column is where its first one goes
    auto dst = block.sub_matrix(0, 0, 2, 2);
    dst.ld = 3;
    ASSERT_TRUE(append_columns(src, dst));
    EXPECT_THAT(columns(dst), ElementsAre(cell(0, 1), cell(3, 4), cell(4, 5), cell(6, 7)));
}
TEST(AppendColumns, OntoHigherColumnsOfTheBlockThatAreCutFirst) {
    dense2D<unsigned> block(2, 6);
    for (unsigned k = 0; k < 12; ++k) block.data()[k] = k;
    const auto src = block.sub_matrix(0, 1, 2, 2);
    auto dst = block.sub_matrix(0, 0, 2, 2);
    dst.rows = dst.ld = 3;
    dst.size = 6;
    ASSERT_TRUE(append_columns(src, dst));
    EXPECT_THAT(columns(dst), ElementsAre(cell(0, 1), cell(3, 4), cell(2, 3), cell(4, 5)));
}
TEST(AppendColumns, WithoutMemoryBehindTheCopyOfOneBlockTheTargetStays) {
    const std::size_t tried = fail_each_allocation([](std::size_t k) {
        dense2D<unsigned> block(3, 4, 5U);
        const auto src = block.sub_matrix(1, 0, 2, 4);
        auto dst = block.sub_matrix(0, 0, 2, 4);
        arm_allocator(k);
        const bool done = append_columns(src, dst);
        EXPECT_TRUE(done || allocation_failed());
        EXPECT_EQ(done ? 8U : 4U, dst.cols);
        EXPECT_EQ(cell(5, 5), column(dst, 3));
    });
    EXPECT_GE(tried, 4U); // two blocks and their memory for the copy, and then the target grows
}
TEST(AppendReversed, ARunBelowOrAboveTheBlockIsNoPartOfIt) {
    unsigned numbers[12] = {1, 2, 3, 0, 0, 0, 0, 0, 0, 7, 8, 9};
    for (const bool above : {false, true}) {
        auto dst = dense1D<unsigned, 8>::wrap(numbers + 3, 6);
        dst.size = 0;
        const unsigned* const first = above ? numbers + 9 : numbers;
        append_reversed(first + 3, first, dst);
        EXPECT_EQ((above ? std::vector<unsigned>{9, 8, 7} : std::vector<unsigned>{3, 2, 1}),
                  values(dst));
    }
    dense1D<unsigned, 8> none;
    append_reversed(numbers + 3, numbers, none);
    EXPECT_EQ((std::vector<unsigned>{3, 2, 1}), values(none));
}

TEST(Dense2D, MoreRowsOfAViewRunIntoTheNextColumnOfItsMatrix) {
    dense2D<double> all(3, 3, 1.0);
    dense2D<double> view = all.sub_matrix(1, 0, 2, 2);
    ASSERT_TRUE(view.resize(3, 2, 5.0));
    EXPECT_EQ(3U, view.ld);
    EXPECT_EQ(5.0, all(0, 1));
    EXPECT_EQ(5.0, all(0, 2));
    EXPECT_EQ(1.0, all(0, 0));
}
TEST(Dense2D, ColumnCapacityCountsFullLeadingDimensions) {
    double mine[5] = {};
    EXPECT_EQ(
        1U, dense2D<double>::wrap(mine, 2, 2, 3).column_capacity()); // though two columns are there
}

} // namespace
