// SPDX-License-Identifier: Apache-2.0
// What the debugger prints; printers_test.py stops in `look`.
#include <zel/dense.h>

#include <cstring>

static void look() {}

int main() {
    using namespace zel;
    dense2D<double> pos(2, 4, 0.0);
    pos(0, 1) = pos(0, 2) = pos(1, 2) = pos(1, 3) = 1.0;
    const dense2D<double> part = pos.sub_matrix(1, 1, 1, 2);
    dense2D<unsigned> mixed(4, 1, 7U);
    mixed(3, 0) = 0xFFFFFFFF;
    double heights[3] = {0.25, 0.5, 1.0};
    const auto graded = dense1D<double, 8>::wrap(heights, 3);
    const dense1D<unsigned, 8> none;
    const dense2D<double> many(3, 5000000, 0.5);
    const vector_fixed<double, 2> centre{1, 2};
    const symmetric_fixed<double, 2> size{1, 0, 4};

    dense2D<double> moved(pos);
    const dense2D<double> target(std::move(moved));

    // Not constructed yet, as a debugger meets them at the start of a scope.
    alignas(dense2D<double>) unsigned char raw[sizeof(dense2D<double>)];
    std::memset(raw, 0, sizeof raw);
    const auto* early = reinterpret_cast<const dense2D<double>*>(raw);
    alignas(dense2D<double>) unsigned char litter[sizeof(dense2D<double>)];
    std::memset(litter, 0x5a, sizeof litter);
    const auto* wild = reinterpret_cast<const dense2D<double>*>(litter);

    look();
    return part.empty() || graded.empty() || !none.empty() || many.empty() || target.empty() ||
           centre[0] == size[0] + 5 || early == wild;
}
