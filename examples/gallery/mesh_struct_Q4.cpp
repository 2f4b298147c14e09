// SPDX-License-Identifier: Apache-2.0
// A patch with bent sides, filled with a structured grid of quadrilaterals.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    gallery::outline(pos, loop, 14, 10);

    dense2D<unsigned> quads;
    const int status = tessel2d::mesh_struct_Q4(pos, loop, 10, quads);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, quads).dots(pos, 0, loop.size - 1);
    figure.result(pos).result(quads);
    return figure.finish("mesh_struct_Q4",
                         "A four-sided patch with bent sides in 14 by 10 quadrilaterals. Dots mark "
                         "the nodes of its outline, from which the grid inside is blended.",
                         status);
}
