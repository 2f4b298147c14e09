// SPDX-License-Identifier: Apache-2.0
// Quadratic elements cut into four linear ones each.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 3);
    int status = tessel2d::convert_into_quadratic(pos, triangles);

    dense2D<unsigned> pieces;
    if (status == 0) status = tessel2d::split_into_linear(triangles, pieces);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, triangles).dots(pos, 0, pos.cols);
    figure.at(1.25).mesh(pos, pieces).dots(pos, 0, pos.cols);
    figure.result(pieces);
    return figure.finish("split_into_linear",
                         "Left: quadratic triangles with six nodes each. Right: each cut into four "
                         "triangles on these nodes.",
                         status);
}
