// SPDX-License-Identifier: Apache-2.0
// Runs loops over items that lie far apart in memory, with each item prefetched some items before
// its use. Results do not depend on it; a processor without prefetching runs the plain loop.
#pragma once

#include "foundation/call_frame.h"

#include <cstddef>

namespace zel::tessel2d {

constexpr std::size_t lookahead = 24; // more than the loads that a processor keeps on their way

/// Calls work(i) for each i below n, and prefetches address(i) 24 items before.
template <class Address, class Work>
void for_each_with_lookahead(std::size_t n, Address address, Work work) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        if (n - i > lookahead) prefetch(address(i + lookahead));
        work(i);
    }
}

/// The same where address(i) is itself read from memory: that is prefetched 48 items before.
template <class Source, class Address, class Work>
void for_each_with_lookahead(std::size_t n, Source source, Address address, Work work) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        if (n - i > 2 * lookahead) prefetch(source(i + 2 * lookahead));
        if (n - i > lookahead) prefetch(address(i + lookahead));
        work(i);
    }
}

} // namespace zel::tessel2d
