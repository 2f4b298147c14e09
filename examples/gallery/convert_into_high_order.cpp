// SPDX-License-Identifier: Apache-2.0
// Linear elements raised to any order: here two nodes on each edge and four in each quadrilateral.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    gallery::grid_of_quads(pos, elements, 3);
    const std::size_t corners = pos.cols;
    dense2D<unsigned> linear;
    linear.copy(elements);

    const dense2D<unsigned> no_edges; // none has its nodes already
    const int status = tessel2d::convert_into_high_order(pos, elements, 2, 4, 0, no_edges);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, linear).dots(pos, 0, corners, gallery::palette::ink);
    figure.dots(pos, corners, pos.cols);
    figure.result(pos).result(elements);
    return figure.finish("convert_into_high_order",
                         "A square in nine quadrilaterals of sixteen nodes each: corners in black, "
                         "new nodes on edges and inside in orange.",
                         status);
}
