// zel tessel2d: planar and surface mesh tools.
// Prints a line for each call of the catalogue: function and options, status, digest of the outputs.
// Two libraries that give the same lines give the same bytes.
#include "every_function/calls.h"

#include <cinttypes>
#include <cstdio>

int main() {
    using namespace zel_test::every_function;
    for (const call& c : all_calls()) {
        const outcome o = c.run({});
        std::printf("%s\t%d\t%016" PRIx64 "\n", c.name().c_str(), o.status, digest_of(o));
    }
}
