// SPDX-License-Identifier: Apache-2.0
// A profile swept around an axis in space into quadrilaterals: a vase.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos(3, 13, 0.0);
    dense2D<unsigned> edges(2, 12);
    for (unsigned k = 0; k <= 12; ++k) {
        const double t = k / 12.0;
        pos(0, k) = 0.3 + 1.2 * t * (1 - t) + 0.2 * t * t;
        pos(2, k) = 1.4 * t;
        if (k < 12) edges(0, k) = k, edges(1, k) = k + 1;
    }

    dense2D<unsigned> vase;
    const vector_fixed<double, 3> foot{0, 0, 0};
    const vector_fixed<double, 3> turn{0, 0, 5.5}; // axis z, 5.5 radians
    const int status = tessel2d::extrude_rotate_Q4(pos, edges, foot, turn, 36, vase);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-35, 25));
    figure.mesh(pos, vase).lines(pos, edges);
    figure.result(pos).result(vase);
    return figure.finish("extrude_rotate_Q4",
                         "A bent profile, in orange, swept by 5.5 radians around an upright axis "
                         "into a vase of quadrilaterals.",
                         status);
}
