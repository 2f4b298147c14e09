// SPDX-License-Identifier: Apache-2.0
#include "zel/hbuckets.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <cstddef>
#include <type_traits>
#include <unordered_map>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

using testing::ElementsAre;
using zel::bucket_counts;
using zel::hash_edge2;
using zel::hbuckets;
using zel::next_bucket_count;
using zel::vector_fast;
using zel::vector_fast_insert;
using zel::elfes::edge2;
using zel_test::arm_allocator;
using zel_test::disarm_allocator;
using zel_test::fail_each_allocation;
using zel_test::random_numbers;
using zel_test::values;

using edge_map = hbuckets<std::pair<edge2, unsigned>>;
using node_map = hbuckets<std::pair<unsigned, unsigned long long>>;
using edge_set = hbuckets<edge2>;
using number_set = hbuckets<unsigned>;

constexpr unsigned none = 0xFFFFFFFFu;

// -------------------------------------------------------------------------------------- helpers

/// All slots as (value, link word); unused home buckets included.
std::vector<std::pair<unsigned, unsigned>> slots_of(const number_set& table) {
    std::vector<std::pair<unsigned, unsigned>> all;
    for (std::uint64_t i = 0; i < table.used; ++i)
        all.emplace_back(table.slots()[i].value, table.slots()[i].link);
    return all;
}
template <class Table>
std::vector<unsigned> numbers_in_order(const Table& table) {
    std::vector<unsigned> all;
    for (const auto& s : table) all.push_back(Table::traits::key(s.value));
    return all;
}
template <class Slot>
bool is_empty_slot(const Slot& s) {
    return s.link == 0 && s.value == decltype(s.value)();
}
bool is_empty_slot(const edge_map::slot& s) {
    return s.link == 0 && s.value.first.a == none && s.value.first.b == none && s.value.second == 0;
}
bool is_empty_slot(const edge_set::slot& s) {
    return s.link == 0 && s.value.a == none && s.value.b == none;
}
template <class Table>
void expect_rest_is_empty(const Table& table) {
    for (std::uint64_t i = table.used; table.start + i < table.storage->capacity; ++i)
        ASSERT_TRUE(is_empty_slot(table.slots()[i])) << "slot " << i;
}

/// The table as lists of slot numbers, one for each bucket: a home bucket holds the first value that
/// falls into it, later ones stand behind all others in the order of their arrival.
struct table_model {
    std::uint64_t buckets;
    std::vector<std::vector<std::uint64_t>> chains;
    std::unordered_map<std::uint64_t, unsigned> at; // slot -> key
    std::uint64_t used;
    std::uint64_t count = 0;

    explicit table_model(std::uint64_t n) : buckets(n), chains(n), used(n) {}
    void put(unsigned key) {
        auto& chain = chains[key % buckets];
        for (const auto s : chain)
            if (at[s] == key) return;
        chain.push_back(chain.empty() ? key % buckets : used++);
        at[chain.back()] = key;
        ++count;
    }
    void grow(std::uint64_t n) {
        std::vector<unsigned> keys;
        for (std::uint64_t s = 0; s < used; ++s)
            if (at.count(s)) keys.push_back(at[s]);
        *this = table_model(n);
        for (const unsigned k : keys) put(k);
    }
    unsigned link(std::uint64_t s) const {
        for (const auto& chain : chains)
            for (std::size_t i = 0; i < chain.size(); ++i)
                if (chain[i] == s)
                    return i + 1 == chain.size() ? 1
                                                 : static_cast<unsigned>(chain[i + 1] - s) * 2 + 1;
        return 0;
    }
};

// ----------------------------------------------------------------------------------------- edges

TEST(Edge2, DefaultHoldsNoNodes) {
    const edge2 e;
    EXPECT_EQ(none, e.a);
    EXPECT_EQ(none, e.b);
}
TEST(Edge2, EqualityIgnoresDirection) {
    EXPECT_EQ((edge2{7, 9}), (edge2{7, 9}));
    EXPECT_EQ((edge2{7, 9}), (edge2{9, 7}));
    EXPECT_NE((edge2{7, 9}), (edge2{7, 8}));
    EXPECT_NE((edge2{7, 7}), (edge2{7, 9}));
    EXPECT_NE((edge2{7, 9}), (edge2{9, 9}));
}
TEST(Edge2, HashIsTheSumOfMixedEndsTimesAPrime) {
    EXPECT_EQ(72685217778285118u, hash_edge2(0, 0));
    EXPECT_EQ(72685217845395594u, hash_edge2(7, 9));
    EXPECT_EQ(72685217845395594u, hash_edge2(9, 7));
    EXPECT_EQ(72059324892970605u, hash_edge2(0, none));
    EXPECT_EQ(71433432007656092u, hash_edge2(none, none));
}

// ----------------------------------------------------------------------------------- slot layout

TEST(HbucketsSlot, ValueComesFirstAndTheLinkWordBehindIt) {
    static_assert(sizeof(edge_map::slot) == 16 && offsetof(edge_map::slot, link) == 12);
    static_assert(sizeof(node_map::slot) == 24 && offsetof(node_map::slot, link) == 16);
    static_assert(sizeof(edge_set::slot) == 12 && offsetof(edge_set::slot, link) == 8);
    static_assert(sizeof(number_set::slot) == 8 && offsetof(number_set::slot, link) == 4);
    static_assert(offsetof(edge_map::slot, value) == 0 && offsetof(node_map::slot, value) == 0);
    EXPECT_TRUE(is_empty_slot(edge_map::slot()));
    EXPECT_TRUE(is_empty_slot(edge_set::slot()));
    EXPECT_TRUE(is_empty_slot(node_map::slot()));
    EXPECT_TRUE(is_empty_slot(number_set::slot()));
}
TEST(Hbuckets, FieldsStandInTheirOrder) {
    number_set table;
    const auto at = [&](const auto& field) {
        return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&table);
    };
    EXPECT_THAT((std::vector<std::ptrdiff_t>{at(table.storage), at(table.used), at(table.start),
                                             at(table.bucket_count), at(table.item_count),
                                             at(table.load_factor)}),
                ElementsAre(0, 8, 16, 24, 32, 40));
    static_assert(!std::is_polymorphic_v<number_set>);
    static_assert(!std::is_copy_constructible_v<number_set>);
}

// --------------------------------------------------------------------------------- bucket counts

TEST(NextBucketCount, IsTheFirstEntryNotBelowTheRequest) {
    EXPECT_EQ(13u, next_bucket_count(0));
    EXPECT_EQ(13u, next_bucket_count(13));
    EXPECT_EQ(23u, next_bucket_count(14));
    EXPECT_EQ(97u, next_bucket_count(92));
    EXPECT_EQ(4294967291u, next_bucket_count(3221225474u));
    EXPECT_EQ(4294967291u, next_bucket_count(4294967291u));
    for (const unsigned p : bucket_counts) {
        EXPECT_EQ(p, next_bucket_count(p));
        EXPECT_GE(p, next_bucket_count(p - 1));
    }
}
TEST(NextBucketCount, IsTheLastEntryBeyondTheTable) {
    EXPECT_EQ(4294967291u, next_bucket_count(4294967292u));
    EXPECT_EQ(4294967291u, next_bucket_count(4294967295u));
}
TEST(NextBucketCount, CutsARequestToItsLow32Bits) {
    EXPECT_EQ(13u, next_bucket_count(std::uint64_t{1} << 32));
    EXPECT_EQ(97u, next_bucket_count((std::uint64_t{5} << 32) + 92));
}
TEST(NextBucketCount, EntriesArePrimeAndAscending) {
    unsigned before = 0;
    for (const unsigned p : bucket_counts) {
        EXPECT_LT(before, p);
        before = p;
        for (std::uint64_t d = 2; d * d <= p; ++d) ASSERT_NE(0u, p % d) << p;
    }
}

// ------------------------------------------------------------------------------------ initialise

TEST(HbucketsInitialise, GivesAtLeast23Buckets) {
    number_set table(0, 0, 1.0);
    EXPECT_EQ(23u, table.bucket_count);
    EXPECT_EQ(23u, table.used);
    EXPECT_EQ(0u, table.item_count);
    EXPECT_TRUE(table.initialise(0, 13, 1.0));
    EXPECT_EQ(23u, table.bucket_count);
    EXPECT_TRUE(table.initialise(0, 24, 0.75));
    EXPECT_EQ(24u, table.bucket_count);
    EXPECT_EQ(0.75, table.load_factor);
}
// The expected numbers of slots were computed with 40 digits.
TEST(HbucketsInitialise, MakesRoomForTheExpectedSlots) {
    struct row {
        std::uint64_t expected, buckets, slots;
    };
    for (const row r : {row{23, 23, 33}, row{1000, 1543, 2048}, row{0, 1543, 1543},
                        row{3, 1543, 1546}, row{92, 97, 140}, row{100000, 196613, 253697}}) {
        const edge_map table(r.expected, r.buckets, 1.0);
        EXPECT_GE(table.storage->capacity, r.slots);
        EXPECT_LE(table.storage->capacity, r.slots + 1); // what alignment leaves over
        EXPECT_EQ(r.buckets, table.used);
        expect_rest_is_empty(table);
    }
}
TEST(HbucketsInitialise, LoadFactorEntersTheEstimateOnly) {
    const number_set half(1543, 1543, 0.5); // the estimate of empty buckets is below zero
    EXPECT_EQ(1543u, half.bucket_count);
    EXPECT_GE(half.storage->capacity, 1543u);
    for (const double load : {0.0, -1.0, zel_test::nan, zel_test::infinity}) {
        const number_set table(100, 200, load);
        EXPECT_EQ(200u, table.bucket_count);
        EXPECT_EQ(200u, table.used);
    }
}
TEST(HbucketsInitialise, EmptiesTheTableAndKeepsItsMemory) {
    number_set table;
    for (unsigned i = 0; i < 40; ++i) table.insert(i);
    const auto* const memory = table.storage->data;
    EXPECT_TRUE(table.initialise(23, 23, 1.0));
    EXPECT_EQ(memory, table.storage->data);
    EXPECT_EQ(0u, table.item_count);
    EXPECT_EQ(23u, table.used);
    EXPECT_TRUE(numbers_in_order(table).empty());
    for (unsigned i = 0; i < 23; ++i) EXPECT_TRUE(is_empty_slot(table.slots()[i]));
    for (unsigned i = 0; i < 40; ++i) EXPECT_FALSE(table.contains(i));
    table.insert(28);
    table.insert(5);
    EXPECT_THAT(numbers_in_order(table), ElementsAre(28, 5)); // left-over slots are written anew
}
TEST(HbucketsInitialise, TooManySlotsFallBackTo23Buckets) {
    number_set table;
    for (const std::uint64_t expected : {std::uint64_t{4294967295u}, ~std::uint64_t{0}}) {
        EXPECT_FALSE(table.initialise(expected, 100, 1.0));
        EXPECT_EQ(23u, table.bucket_count);
        EXPECT_EQ(23u, table.used);
        EXPECT_NE(nullptr, table.insert(7));
    }
    for (const std::uint64_t buckets : {std::uint64_t{4294967295u}, ~std::uint64_t{0}}) {
        EXPECT_FALSE(table.initialise(0, buckets, 1.0));
        EXPECT_EQ(23u, table.bucket_count);
    }
    arm_allocator(1); // one slot less is a matter of memory
    EXPECT_FALSE(table.initialise(4294967294u - 23, 23, 1.0));
    EXPECT_TRUE(disarm_allocator());
}
TEST(HbucketsInitialise, KeepsTheStartOfItsView) {
    number_set table;
    table.start = 7;
    EXPECT_TRUE(table.initialise(30, 53, 1.0));
    for (unsigned i = 0; i < 200; ++i) table.insert(i * 53 + 4);
    EXPECT_EQ(200u, table.item_count);
    EXPECT_LE(table.start + table.used, table.storage->capacity);
    for (unsigned i = 0; i < 200; ++i) EXPECT_TRUE(table.contains(i * 53 + 4));
}

// -------------------------------------------------------------------------------- find_or_insert

TEST(HbucketsInsert, ChainsRunForwardThroughOverflowSlots) {
    number_set table;
    for (const unsigned k : {5u, 28u, 6u, 51u, 29u}) ASSERT_NE(nullptr, table.insert(k));
    std::vector<std::pair<unsigned, unsigned>> expected(23, {0u, 0u});
    expected[5] = {5, (23 - 5) * 2 + 1};
    expected[6] = {6, (25 - 6) * 2 + 1};
    expected.insert(expected.end(), {{28, (24 - 23) * 2 + 1}, {51, 1}, {29, 1}});
    EXPECT_EQ(expected, slots_of(table));
    EXPECT_EQ(26u, table.used);
    EXPECT_EQ(5u, table.item_count);
    EXPECT_THAT(numbers_in_order(table), ElementsAre(5, 6, 28, 51, 29));
}
TEST(HbucketsInsert, BothDirectionsOfAnEdgeShareOneSlotInTheFirstOrder) {
    edge_map table;
    edge_map::slot* const first = table.insert({edge2{7, 9}, 40});
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, table.insert({edge2{9, 7}, 50}));
    EXPECT_EQ(1u, table.item_count);
    EXPECT_EQ(7u, first->value.first.a);
    EXPECT_EQ(9u, first->value.first.b);
    EXPECT_EQ(40u, first->value.second);
    EXPECT_EQ(1u, first->link);
    EXPECT_EQ(first, table.find(edge2{9, 7}));
    EXPECT_EQ(hash_edge2(7, 9) % 23, static_cast<std::uint64_t>(first - table.slots()));
}
TEST(HbucketsInsert, AKeyThatIsThereKeepsPayloadAndCount) {
    node_map table;
    ASSERT_NE(nullptr, table.insert({3, 17}));
    ASSERT_NE(nullptr, table.insert({26, 18}));
    EXPECT_EQ(17u, table.insert({3, 99})->value.second);
    EXPECT_EQ(18u, table.insert({26, 99})->value.second);
    EXPECT_EQ(2u, table.item_count);
    EXPECT_EQ(24u, table.used);
}
TEST(HbucketsInsert, FirstVacantSlotOfAChainIsTakenWithItsLinkKept) {
    number_set table;
    for (const unsigned k : {5u, 28u, 51u}) table.insert(k);
    table.slots()[5].link &= ~1u;
    table.slots()[23].link &= ~1u;
    table.item_count = 1;
    EXPECT_EQ(table.slots() + 24, table.find(51));
    EXPECT_EQ(table.slots() + 24, table.insert(51)); // found behind the vacant ones
    EXPECT_EQ(table.end_position(), table.find(28));
    EXPECT_EQ(table.slots() + 5, table.insert(74));
    EXPECT_EQ((23u - 5) * 2 + 1, table.slots()[5].link);
    EXPECT_EQ(2u, table.item_count);
    EXPECT_EQ(table.slots() + 23, table.insert(97));
    EXPECT_EQ(3u, table.slots()[23].link);
    EXPECT_EQ(25u, table.used);
    EXPECT_THAT(numbers_in_order(table), ElementsAre(74, 97, 51));
}
TEST(HbucketsInsert, OverflowDoublesTheBlockAndRelinksNothing) {
    number_set table(23, 23, 1.0);
    const std::size_t capacity = table.storage->capacity;
    const unsigned fill = static_cast<unsigned>(capacity - 23);
    for (unsigned i = 0; i <= fill; ++i) table.find_or_insert(0, i * 23); // one long chain
    ASSERT_EQ(capacity, table.used);
    const auto before = slots_of(table);
    ASSERT_NE(nullptr, table.find_or_insert(0, (fill + 1) * 23));
    EXPECT_GE(table.storage->capacity, 2 * capacity);
    EXPECT_LE(table.storage->capacity, 2 * capacity + 1);
    expect_rest_is_empty(table);
    auto after = slots_of(table);
    EXPECT_EQ((std::pair<unsigned, unsigned>{(fill + 1) * 23, 1}), after.back());
    after.pop_back();
    EXPECT_EQ(3u, after.back().second);
    after.back().second = 1;
    EXPECT_EQ(before, after);
}
TEST(HbucketsInsert, AValueMayLieInTheBlockThatGrows) {
    edge_set table(23, 23, 1.0);
    const std::size_t capacity = table.storage->capacity;
    const std::uint64_t hash = hash_edge2(1, 2);
    table.find_or_insert(hash, edge2{1, 2});
    table.find_or_insert(hash, edge2{3, 4});
    for (unsigned i = 0; table.used < capacity; ++i) table.find_or_insert(hash, edge2{100 + i, 7});
    edge2& stale = table.slots()[0].value; // an empty home bucket
    stale = {55, 66};
    const edge_set::slot* const s = table.find_or_insert(hash, stale);
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(55u, s->value.a);
    EXPECT_EQ(66u, s->value.b);
}
TEST(HbucketsInsert, AValueMayLieInTheTableThatIsRehashed) {
    number_set table;
    for (unsigned i = 0; i < 46; ++i) table.insert(1000 + 7 * i);
    unsigned& stale = table.slots()[table.used - 1].value;
    const unsigned value = stale;
    const auto* const s = table.insert(stale); // the 47th insertion moves all values first
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(value, s->value);
    EXPECT_EQ(46u, table.item_count);
}
TEST(HbucketsInsert, Item47RehashesTo97Buckets) {
    number_set table;
    for (unsigned i = 0; i < 46; ++i) table.insert(1000 + 7 * i);
    EXPECT_EQ(23u, table.bucket_count);
    table.insert(5);
    EXPECT_EQ(97u, table.bucket_count);
    EXPECT_EQ(47u, table.item_count);
    for (unsigned i = 0; i < 46; ++i) EXPECT_TRUE(table.contains(1000 + 7 * i));
}
TEST(HbucketsInsert, GrowsBeforeItLooksUp) {
    number_set table;
    for (unsigned i = 0; i < 46; ++i) table.insert(i);
    table.insert(5); // there already
    EXPECT_EQ(97u, table.bucket_count);
    EXPECT_EQ(46u, table.item_count);
}

// ------------------------------------------------------------------------------------------ home

TEST(HbucketsHome, IsTheRemainderForEveryHashAndCount) {
    random_numbers random(11);
    for (const std::uint64_t buckets : {23u, 24u, 25u, 53u, 64u, 97u, 1000u, 12289u, 196613u}) {
        number_set table(0, buckets, 1.0);
        for (const std::uint64_t hash :
             {std::uint64_t{0}, buckets - 1, buckets, ~std::uint64_t{0},
              ~std::uint64_t{0} - buckets, ~std::uint64_t{0} / buckets * buckets,
              ~std::uint64_t{0} / buckets * buckets - 1})
            ASSERT_EQ(hash % buckets, table.home(hash)) << hash << " of " << buckets;
        for (int i = 0; i < 2000; ++i) {
            const std::uint64_t hash = random.next() >> random.below(64);
            ASSERT_EQ(hash % buckets, table.home(hash)) << hash << " of " << buckets;
            const std::uint64_t edge = hash / buckets * buckets;
            ASSERT_EQ(0u, table.home(edge)) << edge << " of " << buckets;
            ASSERT_EQ((edge - 1) % buckets, table.home(edge - 1)) << edge << " of " << buckets;
        }
    }
}

// ------------------------------------------------------------------------------------------ find

TEST(HbucketsFind, AnEmptyTableIsNotLookedInto) {
    number_set table;
    for (unsigned i = 0; i < 23; ++i) {
        table.slots()[i].value = i; // as if occupied, with chains that lead nowhere
        table.slots()[i].link = none;
    }
    for (unsigned i = 0; i < 50; ++i) EXPECT_EQ(table.end_position(), table.find(i));
    const number_set fresh;
    EXPECT_TRUE(fresh.begin() == fresh.end());
}
TEST(HbucketsFind, GivesTheEndForAKeyThatIsNotThere) {
    edge_map table;
    table.insert({edge2{1, 2}, 3});
    EXPECT_EQ(table.end_position(), table.find(edge2{1, 3}));
    EXPECT_EQ(table.slots() + table.used, table.end_position());
    EXPECT_EQ(table.end_position(), table.find(edge2{})); // not mistaken for an empty bucket
    const number_set zero;
    EXPECT_FALSE(zero.contains(0));
}

// ---------------------------------------------------------------------------------------- rehash

TEST(HbucketsRehash, InsertsInSlotOrderAndCarriesPayloadsOver) {
    node_map table;
    for (const unsigned k : {28u, 5u, 51u, 74u, 0u}) table.insert({k, 10 * k});
    ASSERT_TRUE(table.rehash(24));
    EXPECT_EQ(53u, table.bucket_count);
    EXPECT_THAT(numbers_in_order(table), ElementsAre(0, 5, 74, 28, 51));
    for (const auto& s : table) EXPECT_EQ(10ull * s.value.first, s.value.second);
    ASSERT_TRUE(table.rehash(0)); // and back: 23 buckets at least
    EXPECT_EQ(23u, table.bucket_count);
    EXPECT_THAT(numbers_in_order(table), ElementsAre(0, 5, 74, 28, 51));
    EXPECT_EQ((23u - 5) * 2 + 1, table.slots()[5].link);
}
TEST(HbucketsRehash, MapsMakeRoomForTheirItemsAndSetsForTheRequest) {
    node_map map;
    for (unsigned i = 0; i < 3; ++i) map.insert({i, i});
    ASSERT_TRUE(map.rehash(1000));
    EXPECT_EQ(1543u, map.bucket_count);
    EXPECT_GE(map.storage->capacity, 1546u);
    EXPECT_LE(map.storage->capacity, 1547u);
    number_set set;
    for (unsigned i = 0; i < 3; ++i) set.insert(i);
    ASSERT_TRUE(set.rehash(1000));
    EXPECT_EQ(1543u, set.bucket_count);
    EXPECT_GE(set.storage->capacity, 2048u);
    EXPECT_LE(set.storage->capacity, 2049u);
}
TEST(HbucketsRehash, ARequestBeyondTheCountsFailsWithNothingChanged) {
    node_map map;
    map.insert({1, 2});
    const auto* const memory = map.storage->data;
    EXPECT_FALSE(map.rehash(std::uint64_t{1} << 32)); // 13 for a request cut to its low bits
    edge_set set;
    set.insert({1, 2});
    EXPECT_FALSE(set.rehash(4294967295u));
    EXPECT_EQ(memory, map.storage->data);
    EXPECT_TRUE(map.contains(1));
    EXPECT_TRUE(set.contains({2, 1}));
    EXPECT_EQ(23u, set.bucket_count);
}
TEST(HbucketsRehash, TheOldBlockIsReleased) {
    const std::size_t before = zel_test::live_blocks();
    {
        number_set table;
        const std::size_t with_one = zel_test::live_blocks();
        for (unsigned i = 0; i < 5000; ++i) table.insert(i);
        EXPECT_EQ(with_one, zel_test::live_blocks());
    }
    EXPECT_EQ(before, zel_test::live_blocks());
}

// ------------------------------------------------------------------------------- exhausted memory

TEST(HbucketsMemory, EveryFailureLeavesTheTableUsable) {
    fail_each_allocation([](std::size_t k) {
        arm_allocator(k);
        edge_map table;
        std::vector<unsigned> kept;
        for (unsigned i = 0; i < 300; ++i)
            if (table.insert({edge2{i, i / 2}, i})) kept.push_back(i);
        disarm_allocator();
        EXPECT_EQ(kept.size(), table.item_count);
        for (const unsigned i : kept) {
            const auto* const s = table.find(edge2{i / 2, i});
            ASSERT_NE(table.end_position(), s);
            EXPECT_EQ(i, s->value.second);
        }
        for (unsigned i = 0; i < 300; ++i)
            EXPECT_NE(nullptr, table.insert({edge2{i, i / 2}, i})); // there is memory again
        EXPECT_EQ(300u, table.item_count);
    });
}
TEST(HbucketsMemory, FailedInitialiseFallsBackTo23Buckets) {
    number_set table;
    arm_allocator(1);
    EXPECT_FALSE(table.initialise(1000, 1000, 1.0));
    EXPECT_TRUE(disarm_allocator());
    EXPECT_EQ(23u, table.bucket_count);
    EXPECT_EQ(23u, table.used);
    EXPECT_NE(nullptr, table.insert(3));
}
TEST(HbucketsMemory, ATableWithoutAnySlotReportsFailureAndTriesAgain) {
    zel_test::fail_for_good(true);
    arm_allocator(1);
    number_set table;
    EXPECT_EQ(23u, table.bucket_count);
    EXPECT_EQ(nullptr, table.insert(3));
    EXPECT_EQ(nullptr, table.find_or_insert(~std::uint64_t{0}, 3));
    EXPECT_FALSE(table.contains(3));
    EXPECT_TRUE(table.begin() == table.end());
    EXPECT_FALSE(table.rehash(10));
    EXPECT_FALSE(table.initialise(23, 23, 1.0));
    EXPECT_TRUE(disarm_allocator());
    zel_test::fail_for_good(false);
    EXPECT_NE(nullptr, table.insert(3));
    EXPECT_TRUE(table.contains(3));
}
TEST(HbucketsMemory, FailedRehashKeepsTheTable) {
    number_set table;
    for (unsigned i = 0; i < 46; ++i) table.insert(23 * i);
    const auto before = slots_of(table);
    unsigned failures = 0;
    zel_test::fail_for_good(true);
    for (std::size_t k = 1; failures + 1 == k; ++k) {
        arm_allocator(k);
        const bool done = table.rehash(92);
        const bool failed = disarm_allocator();
        EXPECT_EQ(failed, !done);
        if (failed) {
            EXPECT_EQ(before, slots_of(table));
        }
        failures += failed;
    }
    zel_test::fail_for_good(false);
    EXPECT_GE(failures, 2u);
    EXPECT_EQ(97u, table.bucket_count);
}
TEST(HbucketsMemory, RehashThatLosesValuesOnTheWayKeepsTheTable) {
    number_set table(23, 97, 1.0);
    for (unsigned i = 0; i < 60; ++i) table.insert(23 * i); // one chain among 23 buckets
    const auto before = slots_of(table);
    zel_test::fail_for_good(true);
    arm_allocator(3); // behind the new block and its slots
    EXPECT_FALSE(table.rehash(0));
    EXPECT_TRUE(disarm_allocator());
    zel_test::fail_for_good(false);
    EXPECT_EQ(before, slots_of(table));
    for (unsigned i = 0; i < 60; ++i) EXPECT_TRUE(table.contains(23 * i));
    EXPECT_TRUE(table.rehash(0));
    EXPECT_EQ(23u, table.bucket_count);
    for (unsigned i = 0; i < 60; ++i) EXPECT_TRUE(table.contains(23 * i));
}
TEST(HbucketsMemory, FailedOverflowChangesNothing) {
    number_set table;
    while (table.used < table.storage->capacity)
        table.find_or_insert(4, static_cast<unsigned>(23 * table.item_count + 4));
    const auto before = slots_of(table);
    const std::uint64_t items = table.item_count;
    arm_allocator(1);
    EXPECT_EQ(nullptr, table.find_or_insert(4, 1000000));
    EXPECT_TRUE(disarm_allocator());
    EXPECT_EQ(before, slots_of(table));
    EXPECT_EQ(items, table.item_count);
    EXPECT_NE(nullptr, table.find_or_insert(4, 1000000));
}
#if defined(__linux__)
TEST(HbucketsMemory, AChainThatWouldSpan31BitsIsExhausted) {
    const std::size_t slots = (std::size_t{1} << 31) + 64;
    void* const far = mmap(nullptr, slots * sizeof(number_set::slot), PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (far == MAP_FAILED) GTEST_SKIP() << "no address space for 2^31 slots";
    {
        number_set table;
        table.insert(5);
        number_set::slot* const own = table.slots();
        auto* const block = number_set::block_type::create();
        block->data = static_cast<number_set::slot*>(far);
        block->capacity = slots;
        block->shift = number_set::block_type::not_owned;
        std::copy_n(own, 23, block->data);
        table.storage = block;
        table.used = 5 + (std::uint64_t{1} << 31);
        EXPECT_EQ(nullptr, table.insert(28)); // 2^31 slots behind slot 5
        EXPECT_EQ(1u, table.slots()[5].link);
        EXPECT_EQ(1u, table.item_count);
        EXPECT_EQ(5 + (std::uint64_t{1} << 31), table.used);
        table.used -= 1;
        const number_set::slot* const next = table.end_position();
        EXPECT_EQ(next, table.insert(28));
        EXPECT_EQ(none, table.slots()[5].link);
        EXPECT_TRUE(table.contains(28));
    }
    munmap(far, slots * sizeof(number_set::slot));
}
#endif

// ------------------------------------------------------------------------------------ properties

TEST(HbucketsProperties, SlotsAndLinksFollowTheChainsOfAnyKeys) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_numbers random(seed);
        const unsigned range = 1 + random.below(seed % 2 == 0 ? 400 : none);
        number_set table;
        table_model model(23);
        for (int i = 0; i < 500; ++i) {
            const unsigned key = random.below(range);
            if (model.count + 1 > 2 * model.buckets) model.grow(next_bucket_count(2 * model.count));
            model.put(key);
            ASSERT_EQ(key, table.insert(key)->value);
        }
        ASSERT_EQ(model.buckets, table.bucket_count);
        ASSERT_EQ(model.used, table.used);
        ASSERT_EQ(model.count, table.item_count);
        for (std::uint64_t s = 0; s < model.used; ++s) {
            ASSERT_EQ(model.link(s), table.slots()[s].link) << "slot " << s;
            if (model.at.count(s)) {
                ASSERT_EQ(model.at[s], table.slots()[s].value) << "slot " << s;
            }
        }
    }
}
TEST(HbucketsProperties, EdgeMapAgreesWithAnOrderedMap) {
    random_numbers random(5);
    edge_map table;
    std::map<std::pair<unsigned, unsigned>, unsigned> reference;
    for (unsigned i = 0; i < 20000; ++i) {
        const unsigned a = random.below(150);
        const unsigned b = random.below(150);
        table.insert({edge2{a, b}, i});
        reference.insert({std::minmax(a, b), i});
    }
    EXPECT_EQ(reference.size(), table.item_count);
    for (const auto& entry : reference) {
        const auto* const s = table.find({entry.first.second, entry.first.first});
        ASSERT_NE(table.end_position(), s);
        EXPECT_EQ(entry.second, s->value.second);
    }
    EXPECT_EQ(reference.size(),
              static_cast<std::size_t>(std::distance(table.begin(), table.end())));
}

// ------------------------------------------------------------------------------------ vector_fast

TEST(VectorFast, ListsDistinctValuesInTheOrderOfTheirFirstAppearance) {
    vector_fast<unsigned> list;
    for (const unsigned x : {9u, 3u, 9u, 32u, 3u, 0u, 9u}) vector_fast_insert(list, x);
    EXPECT_THAT(values<unsigned>(list), ElementsAre(9, 3, 32, 0));
    for (std::size_t i = 0; i < list.size; ++i)
        EXPECT_EQ(i, list.positions.find(list[i])->value.second);
    EXPECT_TRUE(list.complete());
    static_assert(std::is_base_of_v<zel::ref_counted, vector_fast<unsigned>>);
    static_assert(std::is_base_of_v<zel::dense1D<unsigned, 8>, vector_fast<unsigned>>);
    EXPECT_EQ(0u, list.reference_count());
}
TEST(VectorFast, StartsWith23BucketsAndGrowsWithThe47thValue) {
    vector_fast<unsigned> list;
    EXPECT_EQ(23u, list.positions.bucket_count);
    for (unsigned x = 0; x < 46; ++x) vector_fast_insert(list, 2 * x);
    EXPECT_EQ(23u, list.positions.bucket_count);
    vector_fast_insert(list, 1000u);
    EXPECT_EQ(97u, list.positions.bucket_count);
    EXPECT_EQ(47u, list.size);
    EXPECT_EQ(46u, list.positions.find(1000)->value.second);
}
TEST(VectorFast, ClearForgetsAllValues) {
    vector_fast<unsigned> list;
    for (unsigned x = 0; x < 100; ++x) vector_fast_insert(list, x);
    list.clear();
    EXPECT_EQ(0u, list.size);
    EXPECT_EQ(23u, list.positions.bucket_count);
    vector_fast_insert(list, 55u);
    EXPECT_THAT(values<unsigned>(list), ElementsAre(55));
}
TEST(VectorFast, FailedAllocationsDropValuesSilently) {
    fail_each_allocation([](std::size_t k) {
        arm_allocator(k);
        vector_fast<unsigned> list;
        for (unsigned x = 0; x < 200; ++x) vector_fast_insert(list, 3 * x);
        disarm_allocator();
        for (std::size_t i = 1; i < list.size; ++i) EXPECT_LT(list[i - 1], list[i]);
        for (std::size_t i = 0; i < list.size; ++i) EXPECT_TRUE(list.positions.contains(list[i]));
        EXPECT_EQ(list.complete(), list.size == list.positions.item_count);
    });
}

} // namespace
