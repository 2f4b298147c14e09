// SPDX-License-Identifier: Apache-2.0
// A profile swept along a vector into quadrilaterals, with layers that grow.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> edges;
    gallery::profile(pos, edges, 10);

    dense2D<unsigned> strip; // layers from 0.05 at the profile to 0.3 at the far end
    const vector_fixed<double, 2> way{0.3, 1.2};
    const int status = tessel2d::extrude_translate_Q4(pos, edges, way, 0.05, 0.3, false, strip);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, strip).lines(pos, edges);
    figure.result(pos).result(strip);
    return figure.finish("extrude_translate_Q4",
                         "A bent profile, in orange, swept upward into quadrilaterals whose layers "
                         "grow from 0.05 to 0.3.",
                         status);
}
