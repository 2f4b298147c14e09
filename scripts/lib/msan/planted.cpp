// SPDX-License-Identifier: Apache-2.0
// Measures the area of one triangle. With the word "coordinate" the ordinate of its last node has never been
// written, with "number" its last node number: the sanitizer for uninitialised memory must report either.
#include "zel/tessel2d.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

int main(int count, char** words) {
    const std::string_view missing = count > 1 ? words[1] : "";
    zel::dense2D<double> pos;
    zel::dense2D<unsigned> connect;
    if (!pos.resize(2, 3) || !connect.resize(3, 1)) return 2;
    const double places[] = {0, 0, 1, 0, 0, 1};
    for (std::size_t j = 0; j < 3; ++j) {
        if (missing != "number" || j < 2) connect(j, 0) = static_cast<unsigned>(j);
        for (std::size_t i = 0; i < 2; ++i)
            if (missing != "coordinate" || i + j < 3) pos(i, j) = places[2 * j + i];
    }
    double area = 0;
    if (zel::tessel2d::area(pos, connect, area) != 0) return 3;
    if (area > 0) std::puts("as it should be");
}
