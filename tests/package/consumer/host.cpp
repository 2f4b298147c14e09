// SPDX-License-Identifier: Apache-2.0
// Builds the adjacency of two triangles with the host tools and hands it to the library.
//
//     consumer_host <version the library must have>
#include "zel/host.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    zel::dense2D<unsigned> connect(3, 2);
    const unsigned corners[2][3] = {{0, 1, 2}, {2, 1, 3}};
    for (unsigned e = 0; e < 2; ++e)
        for (unsigned i = 0; i < 3; ++i) connect(i, e) = corners[e][i];

    zel::host::adjacency beside;
    zel::dense1D<unsigned, 8> starts;
    zel::dense1D<unsigned, 8> elements;
    const bool good = argc == 2 && std::strcmp(zel::tessel2d::version(), argv[1]) == 0 &&
                      zel::host::build_adjacency(connect, 4, beside) == 0 &&
                      beside.neighbors(0, 0) == 1 && beside.neighbors(2, 1) == 0 &&
                      zel::tessel2d::get_connected_elements(
                          connect, beside.neighbors, beside.ancestors, starts, elements) == 0 &&
                      elements.size == 6;
    std::puts(good ? "consumer: all as expected" : "failed");
    return good ? 0 : 1;
}
