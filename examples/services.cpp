// SPDX-License-Identifier: Apache-2.0
//
// Services for programs that host the library: joining and copying meshes, nearest nodes, size tensors,
// line meshes, eigenvalues. Ends with status 1 if a result is not the expected one.
#include "zel/lapack.h"
#include "zel/tessel.h"
#include "zel/tessel1d.h"

#include <cmath>
#include <cstdio>

namespace {

bool joins_two_squares() {
    //! [merge]
    // Two unit squares side by side, each with nodes of its own.
    double xy[] = {0, 0, 1, 0, 1, 1, 0, 1, 1, 0, 2, 0, 2, 1, 1, 1};
    unsigned nodes[] = {0, 1, 2, 3, 4, 5, 6, 7};
    auto pos = zel::dense2D<double>::wrap(xy, 2, 8);
    auto quads = zel::dense2D<unsigned>::wrap(nodes, 4, 2);

    // Nodes closer than the tolerance become one; then nodes 4 and 7 are in no element any more.
    const int merged = zel::tessel::merge(pos, quads, 1e-12, 0);
    const int simplified = zel::tessel::simplify(pos, quads, 0);
    // Six nodes are left, and the second square is (1, 4, 5, 2).
    //! [merge]
    return merged == 0 && simplified == 0 && pos.cols == 6 && quads(0, 1) == 1 &&
           quads(1, 1) == 4 && quads(2, 1) == 5 && quads(3, 1) == 2;
}

bool copies_a_square() {
    //! [copies]
    // A square to the right of the origin, and three copies of it, turned by quarter turns.
    double xy[] = {1, 0, 2, 0, 2, 1, 1, 1};
    unsigned nodes[] = {0, 1, 2, 3};
    auto pos = zel::dense2D<double>::wrap(xy, 2, 4);
    auto quads = zel::dense2D<unsigned>::wrap(nodes, 4, 1);
    const double quarter_turn = 1.5707963267948966;
    const int status = zel::tessel::copy_mesh(pos, quads, {0, 0}, {0, 0}, quarter_turn, 3, quads);
    // 16 nodes and 4 squares; node 5 is node 1 turned to (0, 2).
    //! [copies]
    return status == 0 && pos.cols == 16 && quads.cols == 4 && pos(0, 5) == 0 && pos(1, 5) == 2;
}

bool finds_the_nearest_node() {
    //! [nearest_node]
    double xy[] = {0, 0, 1, 0, 1, 1, 0, 1};
    const auto pos = zel::dense2D<double>::wrap(xy, 2, 4);
    const zel::tessel::node_detector detector(pos);
    const unsigned nearest = detector.find_closest({0.8, 0.9}); // 2
    const unsigned outside = detector.find_closest({-7, 0.2});  // 0
    //! [nearest_node]
    return nearest == 2 && outside == 0;
}

bool combines_sizes() {
    //! [smaller_size]
    // One tensor asks for size 1/2 along x, the other for size 1/3 along y, and else for size 1.
    const zel::symmetric_fixed<double, 3> a{{4, 0, 1, 0, 0, 1}};
    const zel::symmetric_fixed<double, 3> b{{1, 0, 9, 0, 0, 1}};
    zel::symmetric_fixed<double, 3> both;
    const bool formed = zel::tessel::minimum_metric(a, b, both); // 1/2 along x, 1/3 along y
    //! [smaller_size]
    return formed && std::fabs(both(0, 0) - 4) < 1e-14 && std::fabs(both(1, 1) - 9) < 1e-14;
}

bool meshes_a_line() {
    //! [straight_line]
    // Four cells between two nodes, and their edges.
    double xy[] = {0, 0, 1, 2};
    auto pos = zel::dense2D<double>::wrap(xy, 2, 2);
    zel::dense1D<unsigned, 8> line;
    zel::dense2D<unsigned> edges;
    const int meshed = zel::tessel1d::mesh_straight(pos, 0, 1, 4, line);
    const int connected = zel::tessel1d::indices_to_connectE2(line, edges);
    // line is 0, 2, 3, 4, 1, and the edges are (0, 2), (2, 3), (3, 4) and (4, 1).
    //! [straight_line]
    return meshed == 0 && connected == 0 && pos.cols == 5 && line.size == 5 && edges.cols == 4 &&
           edges(0, 3) == 4 && edges(1, 3) == 1 && pos(0, 3) == 0.5 && pos(1, 3) == 1;
}

bool turns_left() {
    //! [line_normals]
    // Along the x axis and up again: the normals point to the left, in the corner between the two.
    double xy[] = {0, 0, 1, 0, 1, 1};
    unsigned nodes[] = {0, 1, 1, 2};
    const auto pos = zel::dense2D<double>::wrap(xy, 2, 3);
    const auto edges = zel::dense2D<unsigned>::wrap(nodes, 2, 2);
    zel::dense2D<double> vectors;
    const int status = zel::tessel1d::normals(pos, edges, 1.0, true, vectors);
    // (0, 1), (-0.707, 0.707) and (-1, 0)
    //! [line_normals]
    return status == 0 && vectors.cols == 3 && vectors(1, 0) == 1 && vectors(0, 2) == -1 &&
           std::fabs(vectors(0, 1) + std::sqrt(0.5)) < 1e-15;
}

bool finds_eigenvalues() {
    //! [eigenvalues]
    zel::symmetric_fixed<double, 3> m{{2, 1, 2, 0, 0, 5}}; // overwritten by the call
    double values[3], vectors[9], work[9];
    long info = 0;
    zel::lapack::dspev('V', 'U', 3, m.begin(), values, vectors, 3, work, info);
    // values holds 1, 3 and 5; vectors + 6 is the unit vector along z, the sign apart.
    //! [eigenvalues]
    return info == 0 && std::fabs(values[0] - 1) < 1e-14 && std::fabs(values[1] - 3) < 1e-14 &&
           std::fabs(values[2] - 5) < 1e-14 && std::fabs(std::fabs(vectors[8]) - 1) < 1e-14;
}

struct check {
    bool (*passes)();
    const char* name;
};

} // namespace

int main() {
    const check checks[] = {{joins_two_squares, "joining two squares"},
                            {copies_a_square, "copying a square"},
                            {finds_the_nearest_node, "finding the nearest node"},
                            {combines_sizes, "combining sizes"},
                            {meshes_a_line, "meshing a line"},
                            {turns_left, "normals of a line"},
                            {finds_eigenvalues, "eigenvalues"}};
    for (const check& c : checks) {
        if (c.passes()) continue;
        std::printf("%s does not give what is expected\n", c.name);
        return 1;
    }
    std::puts("all services give what is expected");
    return 0;
}
