// SPDX-License-Identifier: Apache-2.0
// Lists that grow, in memory from the allocator of the library, so that whoever replaces that one has these too.
#pragma once

#include "zel/storage.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace zel::distributed {

template <class T>
struct block_allocator {
    using value_type = T;

    block_allocator() noexcept = default;
    template <class Other>
    block_allocator(const block_allocator<Other>&) noexcept {
    } // NOLINT(google-explicit-constructor)

    T* allocate(std::size_t n) {
        constexpr std::size_t bytes =
            sizeof(T); // NOLINT(bugprone-sizeof-expression): of a pointer too
        if (n > PTRDIFF_MAX / bytes) throw std::bad_alloc();
        void* const memory = __vector_num_alloc(n * bytes);
        if (!memory) throw std::bad_alloc();
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t) noexcept { __vector_num_free(memory); }

    template <class Other>
    bool operator==(const block_allocator<Other>&) const noexcept {
        return true;
    }
    template <class Other>
    bool operator!=(const block_allocator<Other>&) const noexcept {
        return false;
    }
};

/// Throws std::bad_alloc where memory is missing, which `together` turns into a status.
template <class T>
using list = std::vector<T, block_allocator<T>>;

} // namespace zel::distributed
