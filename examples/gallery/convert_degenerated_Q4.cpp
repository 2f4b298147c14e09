// SPDX-License-Identifier: Apache-2.0
// Quadrilaterals with a collapsed edge become triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> quads;
    gallery::grid_of_quads(pos, quads, 6);
    for (std::size_t k = 0; k < pos.cols; ++k) pos(1, k) *= pos(0, k); // the left side shrinks
    for (unsigned& node : quads)                                       // to one node
        if (pos(0, node) == 0) node = 0;

    const int status = tessel2d::convert_degenerated_Q4(quads); // 6 elements have been changed
    //! [program]

    gallery::figure figure;
    std::vector<double> kind;
    for (std::size_t e = 0; e < quads.cols; ++e) kind.push_back(quads(3, e) == 0xFFFFFFFF ? 1 : 0);
    figure.mesh(pos, quads, kind, examples::signed_colours(), -1, 2,
                "triangles in the warmer colour");
    figure.result(quads);
    return figure.finish("convert_degenerated_Q4",
                         "A square whose left side has shrunk to one node: the six quadrilaterals "
                         "there, in the warmer colour, have become triangles.",
                         status);
}
