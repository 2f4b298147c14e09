// SPDX-License-Identifier: Apache-2.0
// A boundary layer: a profile swept along its own normals into triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> edges;
    gallery::profile(pos, edges, 16);

    dense2D<unsigned> strip; // 0.3 thick, layers from 0.01 at the profile to 0.08
    const int status = tessel2d::extrude_normal_T3(pos, edges, 0.3, 0.01, 0.08, true, 2, strip);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, strip).lines(pos, edges);
    figure.result(pos).result(strip);
    return figure.finish("extrude_normal_T3",
                         "A bent profile, in orange, with a layer of even thickness along its "
                         "normals in triangles that grow away from it.",
                         status);
}
