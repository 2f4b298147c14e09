// SPDX-License-Identifier: Apache-2.0
// Quadrilaterals cut along the diagonal that gives the better triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> quads;
    gallery::grid_of_quads(pos, quads, 8);
    for (std::size_t k = 0; k < pos.cols; ++k) { // sheared to the left below, to the right above
        const double y = pos(1, k) - 0.5;
        pos(0, k) += 1.6 * y * y;
    }

    dense2D<unsigned> triangles;
    const int status = tessel2d::split_Q4_into_T3(pos, quads, triangles);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, quads).at(1.6).mesh(pos, triangles);
    figure.result(triangles);
    return figure.finish("split_Q4_into_T3",
                         "Left: sheared quadrilaterals. Right: each cut along its shorter "
                         "diagonal, which leans the other way above than below.",
                         status);
}
