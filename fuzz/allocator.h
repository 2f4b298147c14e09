// SPDX-License-Identifier: Apache-2.0
#pragma once

// The allocator of the fuzz drivers. It takes the place of the library's own: a call that asks for more
// than it is allowed gets nothing, allocations fail on demand, fresh memory holds a pattern, and what
// lives is counted.
#include <cstddef>

namespace zel_fuzz {

/// What the allocator does during one call.
struct memory_plan {
    std::size_t bytes = std::size_t{1} << 20; ///< most bytes that may live at one time
    unsigned fails_at = 0;        ///< this allocation of the call fails, 1 the first; 0 none
    bool for_good = false;        ///< and all that follow it
    unsigned char pattern = 0xCD; ///< what fresh memory is filled with
};

/// From here to `end_of_call` the plan holds. Outside of calls nothing fails.
void start_of_call(const memory_plan& plan);
/// Returns true if an allocation has failed during the call, for whatever reason.
bool end_of_call();

/// How many allocations of calls have failed since the program began.
std::size_t failed_allocations();

/// Blocks that live now.
std::size_t live_blocks();

} // namespace zel_fuzz
