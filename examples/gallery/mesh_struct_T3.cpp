// SPDX-License-Identifier: Apache-2.0
// A patch with bent sides in each of the three patterns of triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    gallery::outline(pos, loop, 8, 6);

    dense2D<unsigned> falling, rising, alternating;
    int status = tessel2d::mesh_struct_T3(pos, loop, 6, 0, falling);
    pos.resize(2, 28); // the outline alone, for the next pattern
    if (status == 0) status = tessel2d::mesh_struct_T3(pos, loop, 6, 1, rising);
    pos.resize(2, 28);
    if (status == 0) status = tessel2d::mesh_struct_T3(pos, loop, 6, 2, alternating);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, falling).at(1.7).mesh(pos, rising).at(0.85, -1.5).mesh(pos, alternating);
    figure.result(pos).result(falling).result(rising).result(alternating);
    return figure.finish("mesh_struct_T3",
                         "The same patch three times: cells cut along the falling diagonal, the "
                         "rising one, and both in turn like a chess board.",
                         status);
}
