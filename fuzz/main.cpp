// SPDX-License-Identifier: Apache-2.0
// The entry of every driver: one input of libFuzzer is one or a few calls of the library.
#include "fuzz/allocator.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include <cstddef>
#include <cstdint>

// Freed memory is kept aside for the length of a few calls, not for seconds: the cache stays warm.
extern "C" const char* __asan_default_options();
const char* __asan_default_options() {
    return "quarantine_size_mb=8:detect_stack_use_after_return=1";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count);

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::size_t blocks = zel_fuzz::live_blocks();
    {
        zel_fuzz::input in(bytes, bytes + count);
        zel_fuzz::run(in);
    }
    zel_fuzz::require(zel_fuzz::live_blocks() == blocks, "no block of memory is left behind");
    return 0;
}
