// SPDX-License-Identifier: Apache-2.0
//
// A complete small program: it places nodes around the unit square, fills the square with triangles
// and measures them. Prints
//
//     tessel2d 5.5.0.0: 35 nodes, 48 triangles, area 1.000000, angles from 33.69 to 90.00 degrees
//! [host]
#include <zel/tessel2d.h>

#include <algorithm>
#include <cstdio>

int main() {
    using namespace zel;

    // Around the square, counterclockwise from its lower left corner: 6 cells along bottom and top, 4
    // along the sides. The loop names every node once and the first one again at its end.
    const unsigned m = 6;
    const unsigned n = 4;
    dense2D<double> pos(2, 2 * (m + n));
    dense1D<unsigned, 8> loop(2 * (m + n) + 1);
    if (pos.empty() || loop.empty()) return 1; // no memory
    unsigned k = 0;
    const auto place = [&](double x, double y) {
        pos(0, k) = x;
        pos(1, k) = y;
        loop[k] = k;
        ++k;
    };
    for (unsigned i = 0; i < m; ++i) place(double(i) / m, 0);     // bottom
    for (unsigned j = 0; j < n; ++j) place(1, double(j) / n);     // right
    for (unsigned i = 0; i < m; ++i) place(1 - double(i) / m, 1); // top
    for (unsigned j = 0; j < n; ++j) place(0, 1 - double(j) / n); // left
    loop[k] = loop[0];

    // Fill it: interior nodes go behind those of the outline, elements into `triangles`. A negative
    // status stands for a sentence in the header, which `explain` of the host tools gives.
    dense2D<unsigned> triangles;
    int status = tessel2d::mesh_struct_T3(pos, loop, n, 2, triangles);
    if (status < 0) {
        std::printf("mesh_struct_T3: status %d\n", status);
        return 1;
    }

    // Measure it. Angles come in radians, the smallest and the largest of every triangle.
    double area = 0;
    dense1D<double, 8> smallest;
    dense1D<double, 8> largest;
    status = tessel2d::area(pos, triangles, area);
    if (status == 0) status = tessel2d::angles(pos, triangles, false, smallest, largest);
    if (status < 0) {
        std::printf("area or angles: status %d\n", status);
        return 1;
    }

    const double degree = 3.14159265358979323846 / 180;
    std::printf(
        "tessel2d %s: %zu nodes, %zu triangles, area %.6f, angles from %.2f to %.2f degrees\n",
        tessel2d::version(), pos.cols, triangles.cols, area,
        *std::min_element(smallest.begin(), smallest.end()) / degree,
        *std::max_element(largest.begin(), largest.end()) / degree);
    return 0;
}
//! [host]
