// SPDX-License-Identifier: Apache-2.0
// Does not compile: elements of more than 256 bytes have no place in a storage block.
#include "zel/dense.h"

namespace {

struct too_large {
    unsigned char bytes[257];
};

} // namespace

std::size_t capacity_of_none() {
    return zel::vector_num<too_large, 8>::none().capacity;
}
