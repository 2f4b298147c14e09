// SPDX-License-Identifier: Apache-2.0
// Prints a line for each call of the catalogue: function and options, status, digest of the outputs;
// and once more as on a processor that works on one double at a time. Two libraries that
// give the same lines give the same bytes.
#include "every_function/calls.h"
#include "support/lanes.h"

#include <cinttypes>
#include <cstdio>

namespace {

using namespace zel_test::every_function;

void print(const char* lanes, const call& c, const outcome& o) {
    std::printf("%s%s\t%d\t%016" PRIx64 "\n", c.name().c_str(), lanes, o.status, digest_of(o));
}

} // namespace

int main() {
    for (const call& c : all_calls()) print("", c, c.run({}));
    const zel_test::one_lane only;
    for (const call& c : all_calls()) print(", one lane", c, c.run({}));
}
