// SPDX-License-Identifier: Apache-2.0
// Fills the unit square with four quadrilaterals and asks LAPACK for two eigenvalues, through the
// installed headers and library.
//
//     consumer <version the library must have>
#include "zel/dense.h"
#include "zel/lapack.h"
#include "zel/tessel2d.h"

#include "second.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

int failures = 0;

void expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "failed: %s\n", what);
    ++failures;
}

} // namespace

int main(int argc, char** argv) {
    expect(argc == 2, "one argument");
    expect(argc == 2 && std::strcmp(zel::tessel2d::version(), argv[1]) == 0, "the version");

    const double corners_and_midpoints[8][2] = {{0, 0}, {0.5, 0}, {1, 0}, {1, 0.5},
                                                {1, 1}, {0.5, 1}, {0, 1}, {0, 0.5}};
    zel::dense2D<double> pos(2, 8);
    zel::dense1D<unsigned, 8> boundary(9);
    for (unsigned j = 0; j < 8; ++j) {
        pos(0, j) = corners_and_midpoints[j][0];
        pos(1, j) = corners_and_midpoints[j][1];
        boundary[j] = j;
    }
    boundary[8] = 0;

    zel::dense2D<unsigned> quads;
    expect(zel::tessel2d::mesh_struct_Q4(pos, boundary, 2, quads) == 0, "the status");
    expect(quads.rows == 4 && quads.cols == 4, "four quadrilaterals");
    expect(pos.rows == 2 && pos.cols == 9, "one node more");
    expect(pos(0, 8) == 0.5 && pos(1, 8) == 0.5, "the node in the middle");
    expect(second_file_sum(pos) == 9, "the sum of the coordinates");

    double total = 0;
    expect(zel::tessel2d::area(pos, quads, total) == 0 && total == 1, "the area");

    double matrix[3] = {2, 1, 2}; // upper triangle of (2 1; 1 2)
    double eigenvalues[2] = {0, 0};
    double work[6];
    long info = -1;
    zel::lapack::dspev('N', 'U', 2, matrix, eigenvalues, nullptr, 1, work, info);
    expect(info == 0, "the eigenvalues");
    expect(std::abs(eigenvalues[0] - 1) < 1e-14, "the smaller eigenvalue");
    expect(std::abs(eigenvalues[1] - 3) < 1e-14, "the larger eigenvalue");

    if (failures == 0) std::puts("consumer: all as expected");
    return failures == 0 ? 0 : 1;
}
