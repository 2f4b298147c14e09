// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a sphere is turned outward by the sign of its volume.
#include "zel/host/volume.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <cstdlib>

using namespace zel;

int main() {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    if (tessel2d::mesh_sphere_Q4(pos, {1, 2, 3}, 1, 8, connect) != 0) return 1;
    if (tessel2d::flip(connect) != 0) return 1; // inside out

    //! [volume]
    double content = 0;
    const int open = host::volume(pos, connect, content);
    if (open > 0) std::printf("the surface is open at %d edges\n", open);
    if (open == 0 && content < 0) tessel2d::flip(connect);
    //! [volume]

    if (open != 0 || content > -4 || content < -4.19) return 1;
    return host::volume(pos, connect, content) == 0 && content > 4 ? 0 : 1;
}
