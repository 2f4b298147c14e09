// SPDX-License-Identifier: Apache-2.0
// Size tensors carried onto nodes of no element.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

#include <cmath>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 4);
    host::adjacency beside;
    int status = host::build_adjacency(triangles, pos.cols, beside);

    // One more node in the middle of each of 25 squares, behind those of the mesh.
    const std::size_t n = pos.cols;
    pos.resize(2, n + 25);
    beside.ancestors.resize(n + 25, 0xFFFFFFFFu);
    for (unsigned k = 0; k < 25; ++k) {
        pos(0, n + k) = 0.1 + 0.2 * (k % 5);
        pos(1, n + k) = 0.1 + 0.2 * (k / 5);
    }
    dense2D<double> tensors(3, n + 25,
                            0.0); // m00, m01, m11: flat on the left, upright on the right
    for (std::size_t k = 0; k < n; ++k) {
        tensors(0, k) = 100 + 900 * pos(0, k);
        tensors(2, k) = 1000 - 900 * pos(0, k);
    }
    if (status == 0) {
        status = tessel2d::interpolate_metrics(pos, triangles, beside.neighbors, beside.ancestors,
                                               tensors, true, ELEMENT_T3);
    }
    //! [program]

    gallery::figure figure;
    figure.mesh(pos.sub_matrix(0, 0, 2, n), triangles);
    for (std::size_t k = n; k < pos.cols;
         ++k) { // the ellipse of the sizes that the tensor asks for
        std::vector<examples::point> ellipse;
        for (int step = 0; step <= 48; ++step) {
            const double c = std::cos(step * 0.1308996938995747);
            const double s = std::sin(step * 0.1308996938995747);
            const double q =
                tensors(0, k) * c * c + 2 * tensors(1, k) * c * s + tensors(2, k) * s * s;
            const double h = 0.9 / std::sqrt(q);
            ellipse.push_back({pos(0, k) + h * c, pos(1, k) + h * s, 0});
        }
        figure.line(ellipse);
    }
    figure.result(tensors);
    return figure.finish("interpolate_metrics",
                         "A square in triangles and, at 25 nodes of no element, the ellipses of "
                         "the sizes carried there: lying on the left, upright on the right.",
                         status);
}
