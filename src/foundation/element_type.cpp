// SPDX-License-Identifier: Apache-2.0
// Defines the number of nodes of each kind of element.
#include "zel/element_type.h"

namespace zel {

std::size_t element_node_count(element_type kind) noexcept {
    static constexpr unsigned char nodes[25] = {0,  1, 2,  3, 4,  4,  9, 3,  6,  4, 8,  9, 8,
                                                27, 4, 10, 5, 13, 14, 6, 15, 18, 8, 20, 27};
    return nodes[kind];
}

} // namespace zel
