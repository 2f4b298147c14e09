// SPDX-License-Identifier: Apache-2.0
// A profile swept along a screw into quadrilaterals.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos(3, 5, 0.0);
    dense2D<unsigned> edges(2, 4);
    for (unsigned k = 0; k <= 4; ++k) {
        pos(0, k) = 0.4 + 0.15 * k;
        if (k < 4) edges(0, k) = k, edges(1, k) = k + 1;
    }

    dense2D<unsigned> ramp;
    const vector_fixed<double, 3> foot{0, 0, 0};
    const vector_fixed<double, 3> turn{0, 0, 12.0}; // axis z, 12 radians
    const vector_fixed<double, 3> rise{0, 0, 1.6};
    const int status = tessel2d::extrude_spiral_Q4(pos, edges, foot, turn, rise, 72, ramp);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-50, 28));
    figure.mesh(pos, ramp).lines(pos, edges);
    figure.result(pos).result(ramp);
    return figure.finish("extrude_spiral_Q4",
                         "A straight profile, in orange, swept by 12 radians along a screw into a "
                         "spiral ramp of quadrilaterals.",
                         status);
}
