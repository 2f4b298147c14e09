// SPDX-License-Identifier: Apache-2.0
// Sets of global numbers: sorted without comparing where the numbers lie close together, as those of a part mostly do.
#pragma once

#include "distributed/list.h"

#include "zel/distributed/mesh.h"

#include <cstddef>

namespace zel::distributed {

/// The distinct numbers of a list without `no_number`, ascending. Throws std::bad_alloc.
///
/// Cost: proportional to the list if it has a number for every 32 that lie between its least and its greatest, else
/// that of a sort.
list<number> distinct(const list<number>& numbers);

/// The order in which `keys`, which are distinct, ascend. What is sorted already in front is not sorted again.
list<unsigned> ascending(const list<number>& keys);

/// Finds the places of numbers in an ascending list, which stays alive: by a table if the numbers lie close together,
/// else by bisection. Throws std::bad_alloc.
class number_index {
public:
    number_index(const number* ascending_numbers, std::size_t size);

    /// The place of a number that the list has.
    unsigned operator()(number key) const {
        return table.empty() ? bisect(key) : table[static_cast<std::size_t>(key - first)];
    }

private:
    unsigned bisect(number key) const;

    const number* sorted;
    std::size_t count;
    number first = 0;
    list<unsigned> table; ///< by number, from the first one on
};

} // namespace zel::distributed
