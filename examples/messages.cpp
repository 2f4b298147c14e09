// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a status in words.
#include "zel/host/messages.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace zel;

int main() {
    //! [explain]
    dense2D<double> line(1, 4, 0.0); // one row: no coordinates of a plane or of space
    dense2D<unsigned> triangles(3, 1, 0U);
    double total = 0;
    const int status = tessel2d::area(line, triangles, total);
    const char* why = host::explain("area", status);
    if (status != 0) std::printf("area: %s\n", why); // area: `pos` has neither 2 nor 3 rows.
    //! [explain]
    return std::strcmp(why, "`pos` has neither 2 nor 3 rows.") == 0 ? 0 : 1;
}
