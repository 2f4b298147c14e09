// SPDX-License-Identifier: Apache-2.0
#include "distributed/numbers.h"

#include <algorithm>
#include <numeric>

namespace zel::distributed {

namespace {

constexpr std::size_t bits = 64;

// The place of the lowest bit that is set; there is one.
unsigned lowest_bit(std::uint64_t word) {
    unsigned place = 0;
    for (unsigned width = bits / 2; width != 0; width /= 2)
        if ((word & ((std::uint64_t{1} << width) - 1)) == 0) {
            word >>= width;
            place += width;
        }
    return place;
}

list<number> sorted_distinct(const list<number>& numbers) {
    list<number> out(numbers);
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    if (!out.empty() && out.back() == no_number) out.pop_back();
    return out;
}

// A bit for each number that there may be, from `least` on.
list<number> marked_distinct(const list<number>& numbers, number least, number range) {
    list<std::uint64_t> marks(static_cast<std::size_t>(range / bits + 1), 0);
    for (const number n : numbers)
        if (n != no_number) marks[(n - least) / bits] |= std::uint64_t{1} << (n - least) % bits;
    std::size_t count = 0;
    for (std::uint64_t word : marks)
        for (; word != 0; word &= word - 1) ++count;
    list<number> out;
    out.reserve(count);
    for (std::size_t w = 0; w < marks.size(); ++w)
        for (std::uint64_t word = marks[w]; word != 0; word &= word - 1)
            out.push_back(least + bits * w + lowest_bit(word));
    return out;
}

} // namespace

list<number> distinct(const list<number>& numbers) {
    number least = no_number, greatest = 0;
    for (const number n : numbers) {
        if (n == no_number) continue;
        least = std::min(least, n);
        greatest = std::max(greatest, n);
    }
    if (least == no_number) return {};
    const number range = greatest - least;
    return range / 32 <= numbers.size() ? marked_distinct(numbers, least, range)
                                        : sorted_distinct(numbers);
}

list<unsigned> ascending(const list<number>& keys) {
    list<unsigned> order(keys.size());
    std::iota(order.begin(), order.end(), 0U);
    const auto less = [&](unsigned a, unsigned b) { return keys[a] < keys[b]; };
    const auto behind =
        order.begin() + (std::is_sorted_until(keys.begin(), keys.end()) - keys.begin());
    std::sort(behind, order.end(), less);
    std::inplace_merge(order.begin(), behind, order.end(), less);
    return order;
}

number_index::number_index(const number* ascending_numbers, std::size_t size)
    : sorted(ascending_numbers), count(size) {
    if (count == 0) return;
    first = sorted[0];
    const number range = sorted[count - 1] - first;
    if (range / 8 > count) return;
    table.assign(static_cast<std::size_t>(range) + 1, 0xFFFFFFFFU);
    for (std::size_t k = 0; k < count; ++k)
        table[static_cast<std::size_t>(sorted[k] - first)] = static_cast<unsigned>(k);
}

unsigned number_index::bisect(number key) const {
    return static_cast<unsigned>(std::lower_bound(sorted, sorted + count, key) - sorted);
}

} // namespace zel::distributed
