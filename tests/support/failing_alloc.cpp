// SPDX-License-Identifier: Apache-2.0
#include "support/failing_alloc.h"

#include "zel/storage.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#if defined(__unix__)
#include <sys/mman.h>
#endif

namespace {

// Thread-safe, since some tests call the library from several threads at once.
std::atomic<std::size_t> blocks{0};
std::atomic<std::size_t> bytes_alive{0};
std::atomic<std::size_t> bytes_peak{0};
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> countdown{0}; // 0: nothing fails; 1: the next one fails
std::atomic<std::size_t> row{1};       // how many fail once it has come to that
std::atomic<bool> for_good{false};
std::atomic<bool> failing{false};
std::atomic<bool> has_failed{false};

// The size of a block stands in front of it; 16 bytes keep the alignment of malloc.
constexpr std::size_t front = 16;

#if defined(__unix__)
// With ZEL_TEST_GUARD_PAGES in the environment a block ends where the memory of the process does, so that
// whoever reads or writes behind it is ended on the spot.
const bool guarded = std::getenv("ZEL_TEST_GUARD_PAGES") != nullptr;
constexpr std::size_t page = 4096;

std::size_t pages_for(std::size_t bytes) {
    return (bytes + front + page - 1) / page * page;
}
unsigned char* system_block(std::size_t bytes) {
    if (!guarded) return static_cast<unsigned char*>(std::malloc(bytes + front));
    const std::size_t rounded = (bytes + 7) / 8 * 8; // as the widest elements are aligned
    const std::size_t length = pages_for(rounded);
    void* const map = mmap(nullptr, length + page, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (map == MAP_FAILED) return nullptr;
    auto* const first = static_cast<unsigned char*>(map);
    mprotect(first + length, page, PROT_NONE);
    return first + length - rounded - front;
}
void free_system_block(unsigned char* raw, std::size_t bytes) {
    if (!guarded) return std::free(raw);
    const std::size_t rounded = (bytes + 7) / 8 * 8;
    const std::size_t length = pages_for(rounded);
    munmap(raw + front + rounded - length, length + page);
}
#else
unsigned char* system_block(std::size_t bytes) {
    return static_cast<unsigned char*>(std::malloc(bytes + front));
}
void free_system_block(unsigned char* raw, std::size_t) {
    std::free(raw);
}
#endif

// New memory is filled with this, so that what is read before it is written is the same each time and no
// number that a mesh has. Not in large blocks, which may be many times what the machine has.
// ZEL_TEST_UNFILLED in the environment leaves blocks as they are, so that valgrind sees such reads.
const bool filled = std::getenv("ZEL_TEST_UNFILLED") == nullptr;
constexpr unsigned char unwritten = 0xAB;
constexpr std::size_t most_filled = std::size_t{1} << 16;

bool next_one_fails() {
    ++allocations;
    if (failing) return true;
    std::size_t left = countdown;
    while (left != 0 && !countdown.compare_exchange_weak(left, left - 1)) {}
    if (left != 1) return false;
    if (row > 1) {
        --row;
        countdown = 1;
    }
    failing = for_good.load();
    return true;
}

} // namespace

namespace zel {

void* __vector_num_alloc(std::size_t bytes) noexcept {
    if (next_one_fails()) {
        has_failed = true;
        return nullptr;
    }
    if (bytes > std::size_t{1} << 40) return nullptr; // as the system would, whatever it promises
    unsigned char* const raw = system_block(bytes);
    if (!raw) return nullptr;
    *reinterpret_cast<std::size_t*>(raw) = bytes;
    if (filled && bytes <= most_filled) std::memset(raw + front, unwritten, bytes);
    ++blocks;
    const std::size_t alive = bytes_alive += bytes;
    std::size_t peak = bytes_peak;
    while (peak < alive && !bytes_peak.compare_exchange_weak(peak, alive)) {}
    return raw + front;
}

void __vector_num_free(void* memory) noexcept {
    if (!memory) return;
    unsigned char* const raw = static_cast<unsigned char*>(memory) - front;
    const std::size_t bytes = *reinterpret_cast<std::size_t*>(raw);
    bytes_alive -= bytes;
    --blocks;
    free_system_block(raw, bytes);
}

} // namespace zel

namespace zel_test {

void arm_allocator(std::size_t k, std::size_t in_a_row) {
    row = in_a_row;
    has_failed = false;
    failing = false;
    countdown = k;
}

void fail_for_good(bool on) {
    for_good = on;
}

bool disarm_allocator() {
    countdown = 0;
    failing = false;
    return has_failed;
}

bool allocation_failed() {
    return has_failed;
}

std::size_t live_blocks() {
    return blocks;
}
std::size_t live_bytes() {
    return bytes_alive;
}
std::size_t peak_bytes() {
    return bytes_peak;
}
void reset_peak() {
    bytes_peak = bytes_alive.load();
}
std::size_t allocation_count() {
    return allocations;
}

} // namespace zel_test
