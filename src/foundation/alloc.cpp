// SPDX-License-Identifier: Apache-2.0
// Allocates and frees all memory of the library. The file holds nothing else, so that a program
// that links the static library can define its own pair of functions.
#include "zel/storage.h"

#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace zel {

namespace {

#if defined(__linux__)
// mutation (21 -> 22): speed only
constexpr std::size_t huge_page = std::size_t{1} << 21;

// Fresh memory costs a page fault for each page: 512 small faults take several times as long as the
// kernel needs to clear one huge page. Blocks of at least one huge page are therefore aligned to
// it, and the kernel is advised to use huge pages; where these are off, the advice has no effect.
void* allocate_large(std::size_t bytes) noexcept {
    void* memory = nullptr;
    if (posix_memalign(&memory, huge_page, bytes) != 0) return nullptr;
    // mutation: speed only
    madvise(memory, bytes & ~(huge_page - 1), MADV_HUGEPAGE);
    return memory;
}
#endif

} // namespace

void* __vector_num_alloc(std::size_t bytes) noexcept {
#if defined(__linux__)
    if (bytes >= huge_page) return allocate_large(bytes);
#endif
    return std::malloc(bytes);
}

void __vector_num_free(void* memory) noexcept {
    std::free(memory);
}

} // namespace zel
