// SPDX-License-Identifier: Apache-2.0
#include "fuzz/allocator.h"

#include "zel/storage.h"

#include <malloc.h>

#include <cstdlib>
#include <cstring>

namespace {

std::size_t blocks = 0;
std::size_t bytes_alive = 0;

bool in_call = false;
bool has_failed = false;
std::size_t failures = 0;
unsigned allocations = 0;
zel_fuzz::memory_plan plan;

bool fails(std::size_t bytes) {
    if (!in_call) return false;
    ++allocations;
    const bool planned = plan.fails_at != 0 && (allocations == plan.fails_at ||
                                                (plan.for_good && allocations > plan.fails_at));
    return planned || bytes > plan.bytes || bytes_alive > plan.bytes - bytes;
}

} // namespace

namespace zel {

// Nothing stands in front of a block, so that the sanitizer sees both of its ends; malloc knows its
// size.
void* __vector_num_alloc(std::size_t bytes) noexcept {
    if (fails(bytes)) {
        has_failed = true;
        ++failures;
        return nullptr;
    }
    void* const memory = std::malloc(bytes);
    if (!memory) std::abort();
    std::memset(memory, plan.pattern, bytes);
    ++blocks;
    bytes_alive += malloc_usable_size(memory);
    return memory;
}

void __vector_num_free(void* memory) noexcept {
    if (!memory) return;
    bytes_alive -= malloc_usable_size(memory);
    --blocks;
    std::free(memory);
}

} // namespace zel

namespace zel_fuzz {

void start_of_call(const memory_plan& next) {
    plan = next;
    // What the arguments hold does not count.
    plan.bytes += bytes_alive;
    allocations = 0;
    has_failed = false;
    in_call = true;
}

bool end_of_call() {
    in_call = false;
    plan = memory_plan();
    return has_failed;
}

std::size_t failed_allocations() {
    return failures;
}

std::size_t live_blocks() {
    return blocks;
}

} // namespace zel_fuzz
