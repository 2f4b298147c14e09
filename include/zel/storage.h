// SPDX-License-Identifier: Apache-2.0
// Storage blocks that views share: memory, its allocator, and counted references to it.
#pragma once

#include "zel/tessel2d/export.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

static_assert(sizeof(std::size_t) == 8, "zel tessel2d needs a 64-bit target: counts have 64 bits");

namespace zel {

/// Obtains raw memory for a storage block: at least `bytes` bytes, aligned for any scalar. Returns
/// null when memory is exhausted; never throws. Large blocks are aligned to huge pages and request
/// them, since first touches of fresh memory take most of the time of a mesh generator. All memory
/// of the library passes through this function and `__vector_num_free`, which are alone in one
/// source file so that a program may define its own pair.
ZEL_TESSEL2D_API void* __vector_num_alloc(std::size_t bytes) noexcept;

/// Frees memory that `__vector_num_alloc` returned; null is ignored.
ZEL_TESSEL2D_API void __vector_num_free(void* memory) noexcept;

template <class T>
class Ptr;
template <class T, int Align>
class vector_num;
template <class Block>
union __lasting_block;

namespace numera {

/// Selects the constructor of lasting objects.
struct __lasting {};

/// Base of the storage blocks: an intrusive, atomic 32-bit reference counter that starts at 0. The
/// first owner raises it to 1; the owner that lowers it from 1 destroys the object. A lasting
/// object is never destroyed, and its counter is never written.
class ZEL_TESSEL2D_API ref_counted {
public:
    constexpr ref_counted() noexcept : __references(0) {}
    ref_counted(const ref_counted&) = delete;
    ref_counted& operator=(const ref_counted&) = delete;
    virtual ~ref_counted() = default;

    /// Returns true if exactly one owner holds the object.
    bool is_unique() const noexcept { return __references.load(std::memory_order_acquire) == 1; }

private:
    template <class T>
    friend class zel::Ptr;
    template <class T, int Align>
    friend class zel::vector_num;

    // A counter of this value or more belongs to a lasting object; no object has so many owners.
    static constexpr std::uint32_t lasting_references = 0x80000000u;

    constexpr explicit ref_counted(__lasting) noexcept : __references(lasting_references) {}

    bool __lasts() const noexcept {
        return __references.load(std::memory_order_relaxed) >= lasting_references;
    }
    void __acquire() noexcept {
        if (!__lasts()) __references.fetch_add(1, std::memory_order_relaxed);
    }
    void __release() noexcept {
        if (!__lasts() && __references.fetch_sub(1, std::memory_order_acq_rel) == 1) __destroy();
    }
    // Out of line: gcc sees which block a moved-from view holds, but not that its counter stays
    // above 0, and would warn of a delete that never happens.
    [[gnu::noinline]] void __destroy() noexcept { delete this; }

    std::atomic<std::uint32_t> __references;
};

} // namespace numera

/// A class of the same shape for objects that live by value: a virtual destructor and a counter
/// that starts at 0 and that this library never raises.
class ZEL_TESSEL2D_API ref_counted {
public:
    constexpr ref_counted() noexcept : __references(0) {}
    virtual ~ref_counted() = default;

    ref_counted(const ref_counted&) noexcept : __references(0) {}
    ref_counted& operator=(const ref_counted&) noexcept { return *this; }

    std::uint32_t reference_count() const noexcept { return __references; }

private:
    std::uint32_t __references;
};

/// One pointer to a reference-counted object; null when empty. Copies share the object.
template <class T>
class Ptr {
public:
    constexpr Ptr() noexcept = default;
    explicit Ptr(T* object) noexcept : __object(object) { __acquire(); }
    Ptr(const Ptr& other) noexcept : __object(other.__object) { __acquire(); }
    Ptr(Ptr&& other) noexcept : __object(std::exchange(other.__object, nullptr)) {}
    ~Ptr() { __release(__object); }

    /// Acquires the new object first, then releases the old one, so that assigning the object
    /// already held is harmless.
    Ptr& operator=(T* object) noexcept {
        T* const old = __object;
        __object = object;
        __acquire();
        __release(old);
        return *this;
    }
    Ptr& operator=(const Ptr& other) noexcept { return *this = other.__object; }
    Ptr& operator=(Ptr&& other) noexcept {
        std::swap(__object, other.__object);
        return *this;
    }

    T* get() const noexcept { return __object; }
    T* operator->() const noexcept { return __object; }
    T& operator*() const noexcept { return *__object; }
    explicit operator bool() const noexcept { return __object != nullptr; }
    friend bool operator==(const Ptr& a, const Ptr& b) noexcept { return a.__object == b.__object; }
    friend bool operator!=(const Ptr& a, const Ptr& b) noexcept { return !(a == b); }

private:
    void __acquire() const noexcept {
        if (__object) static_cast<numera::ref_counted*>(__object)->__acquire();
    }
    static void __release(T* object) noexcept {
        if (object) static_cast<numera::ref_counted*>(object)->__release();
    }

    T* __object = nullptr;
};

template <class T, int Align>
class dense1D;
template <class T>
class dense2D;

/// Holds a block that stands for "no block". It is initialised at compile time, and no destructor runs on
/// it.
template <class Block>
union __lasting_block {
    Block block;

    constexpr __lasting_block() noexcept : block(numera::__lasting{}) {}
    ~__lasting_block() {} // NOLINT(modernize-use-equals-default): the default one is deleted
};

/// The one such block for each type of elements.
template <class Block>
struct ZEL_TESSEL2D_API __no_block {
    static __lasting_block<Block> value;
};
template <class Block>
__lasting_block<Block> __no_block<Block>::value;

/// The storage block that views share: a run of elements with its capacity.
///
/// An empty block has all three fields zero. The views reserve and resize; a block by itself only
/// moves to larger memory and drops what it holds. Elements need no destruction.
template <class T, int Align = 8>
class ZEL_TESSEL2D_API vector_num final : public numera::ref_counted {
    static_assert(std::is_trivially_destructible_v<T>, "elements are dropped without destruction");
    static_assert(sizeof(T) <= 256, "`shift` holds up to 255 bytes");

public:
    /// Value of `shift` that marks memory which the block does not own and never frees.
    static constexpr std::uint16_t not_owned = 65535;

    constexpr vector_num() noexcept = default;
    ~vector_num() override { __drop(); }

    T* data = nullptr;        ///< first element, aligned; null when the block is empty
    std::size_t capacity = 0; ///< number of elements that the block holds, counted from data
    std::uint16_t shift = 0;  ///< bytes from the raw allocation to data, or `not_owned`

    /// A new empty block, or the block `none()` when memory is exhausted.
    static vector_num* create() noexcept {
        vector_num* const block = new (std::nothrow) vector_num;
        return block ? block : &none();
    }

    /// The block that stands for "no block": it has no memory, owns none and is never grown or
    /// freed. Views hold it after a move, or when there was no memory even for an empty block, and
    /// take a block of their own before they grow.
    static vector_num& none() noexcept { return __no_block<vector_num>::value.block; }
    bool is_none() const noexcept { return __lasts(); }

    static void* operator new(std::size_t bytes) {
        if (void* const memory = __vector_num_alloc(bytes)) return memory;
        throw std::bad_alloc();
    }
    static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
        return __vector_num_alloc(bytes);
    }
    static void operator delete(void* memory) noexcept { __vector_num_free(memory); }
    static void operator delete(void* memory, const std::nothrow_t&) noexcept {
        __vector_num_free(memory);
    }

private:
    friend struct __block_access;
    friend union __lasting_block<vector_num>;

    // Hidden: clang would export it from where the class is instantiated, gcc does not.
    [[gnu::visibility("hidden")]] constexpr explicit vector_num(numera::__lasting lasting) noexcept
        : numera::ref_counted(lasting), shift(not_owned) {}

    bool __grow(std::size_t min_capacity, std::size_t keep, std::size_t factor);
    void __drop() noexcept;
};

/// Lets the containers that use a block grow it; see `vector_num::__grow`.
struct __block_access {
    template <class T, int Align>
    static bool grow(vector_num<T, Align>& block, std::size_t min_capacity, std::size_t keep,
                     std::size_t factor) {
        return block.__grow(min_capacity, keep, factor);
    }
};

/// Moves the block to memory for max(capacity*factor, 2, min_capacity) elements.
///
/// The first `keep` elements are copied, all others are default-constructed, which leaves numbers
/// undefined. Returns false, with the block unchanged, if the count overflows or memory is
/// exhausted. `factor` is at least 1.
template <class T, int Align>
bool vector_num<T, Align>::__grow(std::size_t min_capacity, std::size_t keep, std::size_t factor) {
    constexpr std::size_t most = static_cast<std::size_t>(-1);
    if (capacity > most / factor) return false;
    const std::size_t target = std::max({capacity * factor, std::size_t{2}, min_capacity});
    if (target > (most - (sizeof(T) - 1)) / sizeof(T)) return false;
    const std::size_t bytes = target * sizeof(T) + sizeof(T) - 1;
    void* const raw = __vector_num_alloc(bytes);
    if (!raw) return false;

    const auto raw_address = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t address = (raw_address + sizeof(T) - 1) & ~(sizeof(T) - 1);
    const std::size_t offset = address - raw_address;
    T* const fresh = reinterpret_cast<T*>(static_cast<char*>(raw) + offset);
    const std::size_t fresh_capacity = (bytes - offset) / sizeof(T);
    std::uninitialized_copy_n(data, keep, fresh);
    if constexpr (std::is_nothrow_default_constructible_v<T>) {
        std::uninitialized_default_construct(fresh + keep, fresh + fresh_capacity);
    } else {
        try {
            std::uninitialized_default_construct(fresh + keep, fresh + fresh_capacity);
        } catch (...) {
            __vector_num_free(raw);
            return false;
        }
    }
    __drop();
    data = fresh;
    capacity = fresh_capacity;
    shift = static_cast<std::uint8_t>(offset);
    return true;
}

/// Frees the memory if the block owns it, and leaves the block empty.
template <class T, int Align>
void vector_num<T, Align>::__drop() noexcept {
    if (data && shift != not_owned) {
        __vector_num_free(reinterpret_cast<char*>(data) - shift);
    }
    data = nullptr;
    capacity = 0;
    shift = 0;
}

/// @cond
template <>
ZEL_TESSEL2D_API __lasting_block<vector_num<unsigned, 8>>
    __no_block<vector_num<unsigned, 8>>::value;
template <>
ZEL_TESSEL2D_API __lasting_block<vector_num<double, 8>> __no_block<vector_num<double, 8>>::value;
/// @endcond

extern template class vector_num<unsigned, 8>;
extern template class vector_num<double, 8>;

} // namespace zel
