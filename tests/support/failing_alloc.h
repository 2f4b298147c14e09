// SPDX-License-Identifier: Apache-2.0
#pragma once

// The allocator of the test programs: it takes the place of the library's own, counts what lives, and
// fails on demand.
#include <gtest/gtest.h>

#include <cstddef>

namespace zel_test {

/// From now on the k-th allocation fails (1 is the next one), and so many in a row from there, and with
/// `fail_for_good(true)` all that follow it.
void arm_allocator(std::size_t k, std::size_t in_a_row = 1);
void fail_for_good(bool on);
/// No allocation fails any more. Tells, however often it is called, whether one has failed since the
/// allocator was armed; arming with 0 only forgets.
bool disarm_allocator();

/// Returns true if an allocation has failed since the allocator was armed.
bool allocation_failed();

/// What lives now, and the most bytes that lived at one time since `reset_peak`.
std::size_t live_blocks();
std::size_t live_bytes();
std::size_t peak_bytes();
void reset_peak();
/// Allocations since the program began, failed ones included.
std::size_t allocation_count();

/// Runs `body(k)` for k = 1, 2, ... until no allocation fails any more: first with one failure, then
/// with failures for good from the k-th on. The body makes its matrices, calls `arm_allocator(k)` and the
/// function under test, and checks what the function promises; nothing is allocated from the library
/// behind the call unless `disarm_allocator()` is called first. Blocks left behind are a failure.
/// Returns the number of allocations that were made to fail in turn, at least one.
template <class Body>
std::size_t fail_each_allocation(Body&& body) {
    std::size_t tried = 0;
    for (const bool for_good : {false, true}) {
        fail_for_good(for_good);
        bool failed = true;
        for (std::size_t k = 1; failed && k < 10000 && !testing::Test::HasFailure(); ++k) {
            SCOPED_TRACE(testing::Message() << "allocation " << k
                                            << (for_good ? " and all behind it" : "") << " failed");
            const std::size_t before = live_blocks();
            arm_allocator(0);
            body(k);
            failed = disarm_allocator();
            EXPECT_EQ(before, live_blocks()) << "blocks left behind";
            if (failed) tried = k > tried ? k : tried;
            EXPECT_LT(k, 9999U) << "the function never gets through";
        }
    }
    fail_for_good(false);
    EXPECT_GT(tried, 0U) << "the function under test never allocates";
    return tried;
}

} // namespace zel_test
