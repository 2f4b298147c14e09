// SPDX-License-Identifier: Apache-2.0
// A field carried from one mesh onto another.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 16);
    host::adjacency beside;
    int status = host::build_adjacency(triangles, pos.cols, beside);

    // The nodes of the other mesh, a disk within the square, go behind those of this one.
    dense2D<double> disk;
    dense2D<unsigned> elements;
    dense2D<unsigned> circle;
    if (status == 0)
        status = tessel2d::mesh_disk_T3(disk, {0.5, 0.5}, 0.45, 6, 2, elements, circle);
    const std::size_t n = pos.cols;
    pos.resize(2, n + disk.cols);
    beside.ancestors.resize(n + disk.cols, 0xFFFFFFFFu);
    dense1D<double, 8> field(n + disk.cols, 0.0);
    dense1D<unsigned, 8> nodes(disk.cols);
    for (std::size_t k = 0; k < n; ++k) field[k] = 4 * pos(0, k) * (1 - pos(0, k)) * pos(1, k);
    for (std::size_t k = 0; k < disk.cols; ++k) {
        pos(0, n + k) = disk(0, k);
        pos(1, n + k) = disk(1, k);
        nodes[k] = static_cast<unsigned>(n + k);
    }
    if (status == 0) {
        status = tessel2d::interpolate(pos, triangles, beside.neighbors, beside.ancestors, field,
                                       nodes, ELEMENT_T3);
    }
    //! [program]

    gallery::figure figure;
    const std::vector<double> given(field.begin(), field.begin() + n);
    const std::vector<double> carried(field.begin() + n, field.end());
    figure.mesh(pos.sub_matrix(0, 0, 2, n), triangles, given, examples::growing_colours(), 0, 1,
                "field");
    figure.at(1.15).mesh(disk, elements, carried, examples::growing_colours(), 0, 1, "field");
    figure.result(field);
    return figure.finish("interpolate",
                         "Left: a field on a square. Right: the same field, carried onto the nodes "
                         "of a disk within the square.",
                         status);
}
