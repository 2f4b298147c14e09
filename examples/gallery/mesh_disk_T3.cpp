// SPDX-License-Identifier: Apache-2.0
// A disk in triangles, without a pole.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    dense2D<unsigned> circle;
    const int status = tessel2d::mesh_disk_T3(pos, {0, 0}, 1.0, 5, 2, elements, circle);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, elements).lines(pos, circle);
    figure.result(pos).result(elements).result(circle);
    return figure.finish("mesh_disk_T3",
                         "A disk in triangles from twelve patches: no fan at the centre. The "
                         "circle is drawn in orange.",
                         status);
}
