// SPDX-License-Identifier: Apache-2.0
// Hash tables in one run of slots, for edges and node numbers, and a list of distinct values on top of
// one of them.
#pragma once

#include "zel/dense.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

namespace zel {

namespace elfes {

/// An edge as a key: two node numbers in the order in which they were given. The order is kept, so
/// that a table holds the direction in which an edge was met first; edges that differ in the order
/// alone are equal.
struct edge2 {
    unsigned a = 0xFFFFFFFFu;
    unsigned b = 0xFFFFFFFFu;

    friend constexpr bool operator==(const edge2& e, const edge2& f) noexcept {
        return (e.a == f.a && e.b == f.b) || (e.a == f.b && e.b == f.a);
    }
    friend constexpr bool operator!=(const edge2& e, const edge2& f) noexcept { return !(e == f); }
};

} // namespace elfes

/// The hash of an edge, the same for both directions.
constexpr std::uint64_t hash_edge2(unsigned a, unsigned b) noexcept {
    constexpr std::uint64_t basis = 2166136261u;
    constexpr std::uint64_t prime = 16777619u;
    return ((a ^ basis) + (b ^ basis)) * prime;
}

/// The hash of a key, as the tables use it.
constexpr std::uint64_t hash_key(const elfes::edge2& e) noexcept {
    return hash_edge2(e.a, e.b);
}
constexpr std::uint64_t hash_key(unsigned k) noexcept {
    return k;
}

/// The bucket counts that tables grow to.
inline constexpr std::uint32_t bucket_counts[30] = {
    13,        23,        53,        97,         193,        389,       769,      1543,
    3079,      6151,      12289,     24593,      49157,      98317,     196613,   393241,
    786433,    1572869,   3145739,   6291469,    12582917,   25165843,  50331653, 100663319,
    201326611, 402653189, 805306457, 1610612741, 3221225473, 4294967291};

/// The first of `bucket_counts` that is not below the low 32 bits of `requested`, or the last one.
inline std::uint32_t next_bucket_count(std::uint64_t requested) noexcept {
    const auto wanted = static_cast<std::uint32_t>(requested);
    const auto* const last = std::end(bucket_counts) - 1;
    return *std::lower_bound(std::begin(bucket_counts), last, wanted);
}

/// Makes a table of pairs a map from key to payload, and one of other values a set.
template <class Value>
struct hbuckets_value {
    using key_type = Value;
    static constexpr bool is_map = false;
    static constexpr const key_type& key(const Value& value) noexcept { return value; }
};
template <class Key, class Payload>
struct hbuckets_value<std::pair<Key, Payload>> {
    using key_type = Key;
    static constexpr bool is_map = true;
    static constexpr const key_type& key(const std::pair<Key, Payload>& value) noexcept {
        return value.first;
    }
};

/// One slot of a table: the value, then the link word. Bit 0 of the link is 1 if the slot is
/// occupied; bits 1 to 31 are the distance in slots to the next one of the chain, 0 at its end. By
/// default the slot is empty: link 0, payload 0, key 0 or an `edge2` by default.
template <class Value, class Link>
struct __hbuckets_node_type {
    Value value;
    Link link;

    constexpr __hbuckets_node_type() noexcept : value(), link(0) {}
    constexpr bool occupied() const noexcept { return (link & 1) != 0; }
    constexpr bool ends_chain() const noexcept { return link < 2; }
    constexpr Link distance() const noexcept { return link >> 1; }
};

/// A hash table in one block: home buckets in front, overflow slots behind them in the order in
/// which they were needed, chains that run forward by distances. Values are never removed one by
/// one.
///
/// `Value` is one of
///
/// @code{.unparsed}
///     std::pair<elfes::edge2, unsigned>          map from edge to node number
///     std::pair<unsigned, unsigned long long>    map from number to position
///     elfes::edge2, unsigned                     set of edges, set of numbers
/// @endcode
///
/// Operations return null or false when memory is exhausted, or when a chain would have to span
/// 2^31 slots; the table stays usable with what it held. It belongs to one call and is not copied.
template <class Value>
class hbuckets {
public:
    using traits = hbuckets_value<Value>;
    using key_type = typename traits::key_type;
    using slot = __hbuckets_node_type<Value, unsigned>;
    using block_type = vector_num<slot, 8>;
    template <class Slot>
    class slot_iterator;
    using iterator = slot_iterator<slot>;
    using const_iterator = slot_iterator<const slot>;

    /// The fewest home buckets that a table has.
    static constexpr std::uint64_t fewest_buckets = 23;

    Ptr<block_type> storage;        ///< the block with all slots; never null
    std::uint64_t used = 0;         ///< slots in use: home buckets and overflow slots
    std::uint64_t start = 0;        ///< index in the block of slot 0
    std::uint64_t bucket_count = 0; ///< number of home buckets; must not be written
    std::uint64_t item_count = 0;   ///< occupied slots
    double load_factor = 1.0;       ///< used for the estimate of slots alone

    /// A table with room for a few values; if memory is exhausted, insertions try again.
    hbuckets() noexcept : hbuckets(fewest_buckets, fewest_buckets, 1.0) {}
    /// A table started with `initialise`.
    hbuckets(std::uint64_t expected, std::uint64_t requested, double load) noexcept
        : storage(block_type::create()) {
        initialise(expected, requested, load);
    }
    hbuckets(const hbuckets&) = delete;
    hbuckets& operator=(const hbuckets&) = delete;
    ~hbuckets() = default;

    /// Empties the table and gives it `requested` home buckets, at least 23, with room for
    /// `expected` values. Returns false, with 23 buckets, if memory is exhausted.
    bool initialise(std::uint64_t expected, std::uint64_t requested, double load) noexcept;

    /// Moves the values to a table of `next_bucket_count(requested)` buckets, at least 23. Returns
    /// false, with the table as it was, if memory is exhausted or 32-bit numbers cannot count so
    /// many slots.
    bool rehash(std::uint64_t requested) noexcept;

    /// The slot that holds the key of `value`. If there was none, `value` is put into a free slot
    /// and `item_count` grows; otherwise the payload stays. Returns null, with nothing changed, if
    /// memory is exhausted.
    slot* find_or_insert(std::uint64_t hash, Value value) noexcept;

    /// The same, but a table with two values for each home bucket is rehashed first. Returns null,
    /// and the value is not inserted, if memory is exhausted.
    slot* insert(Value value) noexcept { // by value: it may lie in the block that grows
        if (item_count + 1 > 2 * bucket_count && !rehash(2 * item_count)) return nullptr;
        return find_or_insert(hash_key(traits::key(value)), value);
    }

    /// The slot that holds the key, or `end_position()`.
    slot* find(const key_type& key) noexcept {
        return const_cast<slot*>(static_cast<const hbuckets*>(this)->find(key));
    }
    const slot* find(const key_type& key) const noexcept;
    bool contains(const key_type& key) const noexcept { return find(key) != end_position(); }

    slot* slots() noexcept { return storage->data + start; }
    const slot* slots() const noexcept { return storage->data + start; }
    /// One past the last slot in use.
    slot* end_position() noexcept { return slots() + used; }
    const slot* end_position() const noexcept { return slots() + used; }

    /// The home bucket of a hash: hash modulo `bucket_count`.
    std::uint64_t home(std::uint64_t hash) const noexcept;

    /// Prefetches the home bucket of a hash that is looked up a little later. Inlined by force,
    /// since gcc drops calls to a function that only prefetches.
#if defined(__GNUC__)
    [[gnu::always_inline]] void prefetch(std::uint64_t hash) const noexcept {
        if (used != 0) __builtin_prefetch(slots() + home(hash), 1);
    }
#else
    void prefetch(std::uint64_t) const noexcept {}
#endif

    /// The occupied slots in slot order.
    iterator begin() noexcept {
        return {slots(), end_position()};
    }
    iterator end() noexcept {
        return {end_position(), end_position()};
    }
    const_iterator begin() const noexcept {
        return {slots(), end_position()};
    }
    const_iterator end() const noexcept {
        return {end_position(), end_position()};
    }

private:
    static bool __expected_slots(std::uint64_t expected, std::uint64_t buckets, double load,
                                 std::uint64_t& slots) noexcept;
    bool __make_room(std::uint64_t slots, std::size_t factor) noexcept;
    bool __make_home_buckets() noexcept;
    slot* __append_overflow(slot* last, const Value& value) noexcept;
    bool __take_over(const hbuckets& old) noexcept;
    void __swap(hbuckets& other) noexcept;

    std::uint64_t __reciprocal = 0; // of bucket_count, see home()
};

/// Runs over the occupied slots.
template <class Value>
template <class Slot>
class hbuckets<Value>::slot_iterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = slot;
    using difference_type = std::ptrdiff_t;
    using pointer = Slot*;
    using reference = Slot&;

    slot_iterator() noexcept = default;
    slot_iterator(Slot* first, Slot* last) noexcept : __at(first), __last(last) { __settle(); }

    Slot& operator*() const noexcept { return *__at; }
    Slot* operator->() const noexcept { return __at; }
    slot_iterator& operator++() noexcept {
        ++__at;
        __settle();
        return *this;
    }
    slot_iterator operator++(int) noexcept {
        slot_iterator old(*this);
        ++*this;
        return old;
    }
    friend bool operator==(const slot_iterator& a, const slot_iterator& b) noexcept {
        return a.__at == b.__at;
    }
    friend bool operator!=(const slot_iterator& a, const slot_iterator& b) noexcept {
        return a.__at != b.__at;
    }

private:
    void __settle() noexcept {
        while (__at != __last && !__at->occupied()) ++__at;
    }
    Slot* __at = nullptr;
    Slot* __last = nullptr;
};

/// Estimates the slots that `expected` values in `buckets` home buckets take: one per value, and
/// the buckets that stay empty with a margin of 30 %. Returns false if 32-bit numbers cannot count
/// them.
template <class Value>
bool hbuckets<Value>::__expected_slots(std::uint64_t expected, std::uint64_t buckets, double load,
                                       std::uint64_t& slots) noexcept {
    constexpr std::uint64_t too_many = 4294967295u;
    const auto nb = static_cast<double>(buckets);
    const double empty = std::exp(std::log1p(-1.0 / nb) * static_cast<double>(expected));
    double share = (1.0 - (1.0 - empty) / load) * 1.3;
    if (!(share < 1.0)) share = 1.0;
    if (share < 0.0) share = 0.0;
    if (expected >= too_many || buckets >= too_many || share * nb >= static_cast<double>(too_many))
        return false;
    slots = std::max(static_cast<std::uint64_t>(share * nb) + expected, buckets);
    return slots < too_many;
}

/// Makes the block hold `slots` slots from `start` on. Slots in use stay; new ones are empty.
template <class Value>
bool hbuckets<Value>::__make_room(std::uint64_t slots, std::size_t factor) noexcept {
    std::size_t needed;
    if (!dense_detail::add(start, slots, needed)) return false;
    if (needed <= storage->capacity) return true;
    if (storage->is_none()) {
        block_type* const own = block_type::create();
        if (own->is_none()) return false;
        storage = own;
    }
    const std::uint64_t kept = std::min<std::uint64_t>(start + used, storage->capacity);
    return __block_access::grow(*storage, needed, kept, factor);
}

/// Creates the empty home buckets. If there is no memory for them, the table has no slots at all.
template <class Value>
bool hbuckets<Value>::__make_home_buckets() noexcept {
    used = 0;
    const slot* const old = storage->data;
    if (!__make_room(bucket_count, 1)) return false;
    if (storage->data == old) std::fill_n(slots(), bucket_count, slot());
    used = bucket_count;
    return true;
}

template <class Value>
bool hbuckets<Value>::initialise(std::uint64_t expected, std::uint64_t requested,
                                 double load) noexcept {
    bucket_count = std::max(requested, fewest_buckets);
    used = 0;
    item_count = 0;
    load_factor = load;
    const slot* const old = storage->data;
    std::uint64_t wanted = 0;
    const bool roomy =
        __expected_slots(expected, bucket_count, load, wanted) && __make_room(wanted, 1);
    if (!roomy) bucket_count = fewest_buckets;
    __reciprocal = ~std::uint64_t{0} / bucket_count;
    if (storage->data != old) { // all of it is empty already
        used = bucket_count;
        return roomy;
    }
    return __make_home_buckets() && roomy;
}

// The estimate of the quotient by the reciprocal is exact or one too small.
template <class Value>
std::uint64_t hbuckets<Value>::home(std::uint64_t hash) const noexcept {
#if defined(__SIZEOF_INT128__)
    __extension__ typedef unsigned __int128 wide; // NOLINT(modernize-use-using)
    const auto quotient = static_cast<std::uint64_t>((wide{hash} * __reciprocal) >> 64);
    const std::uint64_t rest = hash - quotient * bucket_count;
    return rest >= bucket_count ? rest - bucket_count : rest;
#else
    return hash % bucket_count;
#endif
}

template <class Value>
auto hbuckets<Value>::find_or_insert(std::uint64_t hash, Value value) noexcept -> slot* {
    if (used == 0 && !__make_home_buckets()) return nullptr;
    const key_type& key = traits::key(value);
    slot* at = slots() + home(hash);
    slot* vacant = nullptr;
    for (;; at += at->distance()) {
        if (at->occupied()) {
            if (traits::key(at->value) == key) return at;
        } else if (!vacant) {
            vacant = at;
        }
        if (at->ends_chain()) break;
    }
    if (!vacant) return __append_overflow(at, value);
    vacant->value = value;
    vacant->link |= 1;
    ++item_count;
    return vacant;
}

/// Puts `value` behind the last slot of its chain.
template <class Value>
auto hbuckets<Value>::__append_overflow(slot* last, const Value& value) noexcept -> slot* {
    constexpr std::uint64_t farthest = (std::uint64_t{1} << 31) - 1;
    const auto from = static_cast<std::uint64_t>(last - slots());
    const std::uint64_t distance = used - from;
    if (distance > farthest || !__make_room(used + 1, 2)) return nullptr;
    slots()[from].link = static_cast<unsigned>(distance) * 2 + 1;
    slot* const fresh = end_position();
    fresh->value = value;
    fresh->link = 1;
    ++used;
    ++item_count;
    return fresh;
}

template <class Value>
auto hbuckets<Value>::find(const key_type& key) const noexcept -> const slot* {
    if (item_count == 0) return end_position();
    const slot* at = slots() + home(hash_key(key));
    for (;; at += at->distance()) {
        if (at->occupied() && traits::key(at->value) == key) return at;
        if (at->ends_chain()) return end_position();
    }
}

template <class Value>
bool hbuckets<Value>::rehash(std::uint64_t requested) noexcept {
    const std::uint64_t prime = next_bucket_count(requested);
    hbuckets fresh(traits::is_map ? item_count : requested, prime, 1.0);
    if (fresh.bucket_count < (traits::is_map ? requested : prime)) return false;
    if (fresh.used == 0 || !fresh.__take_over(*this)) return false;
    __swap(fresh);
    return true;
}

/// Inserts all values of `old`. Returns false if there was no room for some.
template <class Value>
bool hbuckets<Value>::__take_over(const hbuckets& old) noexcept {
    for (const slot& s : old) find_or_insert(hash_key(traits::key(s.value)), s.value);
    return item_count == old.item_count;
}

template <class Value>
void hbuckets<Value>::__swap(hbuckets& other) noexcept {
    std::swap(storage, other.storage);
    std::swap(used, other.used);
    std::swap(start, other.start);
    std::swap(bucket_count, other.bucket_count);
    std::swap(item_count, other.item_count);
    std::swap(load_factor, other.load_factor);
    std::swap(__reciprocal, other.__reciprocal);
}

/// Distinct values in the order in which they first appeared, with a map from value to position. It
/// is a `dense1D` of the values; `vector_fast_insert` adds values.
template <class T>
class ZEL_TESSEL2D_API vector_fast : public ref_counted, public dense1D<T, 8> {
public:
    vector_fast() noexcept = default;
    vector_fast(const vector_fast&) = delete;
    vector_fast& operator=(const vector_fast&) = delete;
    ~vector_fast() override = default;

    /// Forgets all values.
    void clear() noexcept {
        dense1D<T, 8>::clear();
        positions.initialise(23, 23, 1.0);
    }
    /// Returns true unless memory ran out in an insertion: list and map then hold the same values.
    bool complete() const noexcept { return positions.item_count == this->size; }

    hbuckets<std::pair<T, unsigned long long>>
        positions; ///< from value to its position in the list
};

/// Appends x to the list unless it is there. When memory is exhausted x is dropped.
template <class T>
void vector_fast_insert(vector_fast<T>& list, T x) noexcept {
    const std::uint64_t before = list.positions.item_count;
    list.positions.insert({x, list.size});
    if (list.positions.item_count > before) list.push_back(x);
}

} // namespace zel
