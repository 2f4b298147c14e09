// SPDX-License-Identifier: Apache-2.0
// Marks on the elements of a mesh that are taken off all at once.
#pragma once

#include "foundation/call_frame.h"

#include <algorithm>

namespace zel::tessel2d {

/// A mark for each element of a mesh, for walks that run once per node: a new walk takes a new stamp,
/// and all marks are off without being cleared.
class stamp_marks {
public:
    unsigned stamp = 1;     ///< an element is marked when its entry equals this
    unsigned increment = 1; ///< from one stamp to the next

    /// Makes marks for `count` elements, all off. Returns false if memory is exhausted.
    bool start(std::size_t count) noexcept {
        list.clear();
        if (!list.resize(count, 0u)) return false;
        marks = list.data();
        stamp = increment;
        return true;
    }
    /// Takes all marks off. The list is cleared only when the stamps have run out.
    void renew() noexcept {
        if (stamp < ~increment) {
            stamp += increment;
            return;
        }
        std::fill_n(marks, list.size, 0u);
        stamp = 1;
    }
    bool holds(std::size_t e) const noexcept { return marks[e] == stamp; }
    void add(std::size_t e) noexcept { marks[e] = stamp; }
    /// The entry of an element. Entries of earlier walks are smaller than the stamp; with a larger
    /// increment a walk has more than one kind of mark.
    unsigned& operator[](std::size_t e) noexcept { return marks[e]; }
    unsigned operator[](std::size_t e) const noexcept { return marks[e]; }

private:
    dense1D<unsigned, 8> list;
    unsigned* marks = nullptr;
};

} // namespace zel::tessel2d
