// SPDX-License-Identifier: Apache-2.0
// Quadratic quadrilaterals with a collapsed edge become quadratic triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    gallery::grid_of_quads(pos, elements, 4);
    int status = tessel2d::convert_into_quadratic(pos, elements);
    for (std::size_t k = 0; k < pos.cols; ++k) pos(1, k) *= pos(0, k); // the left side shrinks
    for (unsigned& node : elements)                                    // to one node
        if (pos(0, node) == 0) node = 0;

    dense1D<unsigned, 8> changed;
    if (status == 0) status = tessel2d::convert_degenerated_Q(elements, changed); // 4 of 16
    //! [program]

    gallery::figure figure;
    std::vector<double> kind(elements.cols, 0.0);
    for (const unsigned e : changed) kind[e] = 1;
    figure.mesh(pos, elements, kind, examples::signed_colours(), -1, 2,
                "changed in the warmer colour");
    figure.result(elements).result(changed);
    return figure.finish("convert_degenerated_Q",
                         "A square of nine-node quadrilaterals whose left side has shrunk to one "
                         "node: the four changed elements are in the warmer colour.",
                         status);
}
