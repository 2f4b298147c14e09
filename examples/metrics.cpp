// SPDX-License-Identifier: Apache-2.0
//
// Size fields: inside a patch from those of its outline, from the edges of a surface, and
// carried onto nodes of no element.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

bool is_near(double expected, double x) {
    return std::abs(x - expected) <= 1e-12 * std::abs(expected);
}

bool fills_a_patch_with_sizes() {
    //! [sizes_in_a_patch]
    // Two by two cells. The loop has eight nodes: elements shall be small at the left and large at the
    // right, and node 8 will stand in the middle.
    unsigned loop[] = {0, 1, 2, 3, 4, 5, 6, 7, 0};
    const auto boundary = zel::dense1D<unsigned, 8>::wrap(loop, 9);
    double around[] = {1, 2, 3, 3, 3, 2, 1, 1};
    auto sizes = zel::dense1D<double, 8>::wrap(around, 8);

    const int status = zel::tessel2d::metrics_struct(boundary, 2, sizes);
    // status is 0 and sizes[8] is 2.
    //! [sizes_in_a_patch]
    return status == 0 && sizes.size == 9 && sizes[8] == 2;
}

bool fills_a_patch_with_tensors() {
    //! [tensors_in_a_patch]
    // Elements shall be twice as long as wide at all eight nodes of the loop: size 1 along x and 0.5
    // along y, which are the eigenvalues 1 and 4.
    unsigned loop[] = {0, 1, 2, 3, 4, 5, 6, 7, 0};
    const auto boundary = zel::dense1D<unsigned, 8>::wrap(loop, 9);
    zel::dense2D<double> tensors(3, 8); // m00, m01, m11
    for (std::size_t node = 0; node < 8; ++node) {
        tensors(0, node) = 1;
        tensors(1, node) = 0;
        tensors(2, node) = 4;
    }
    const int status = zel::tessel2d::metrics_struct(boundary, 2, tensors);
    // status is 0 and column 8 holds the same tensor.
    //! [tensors_in_a_patch]
    return status == 0 && tensors.cols == 9 && is_near(1, tensors(0, 8)) &&
           std::abs(tensors(1, 8)) < 1e-12 && is_near(4, tensors(2, 8));
}

bool takes_sizes_from_a_surface() {
    //! [sizes_of_a_surface]
    // Two triangles of a horizontal square: edges of length 1, and the diagonal from node 0 to node 2.
    double corners[] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    unsigned triangles[] = {0, 1, 2, 0, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(corners, 3, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(triangles, 3, 2);

    // Along the normal, elements shall be a tenth as thick as they are long.
    zel::dense2D<double> metrics;
    const int status = zel::tessel2d::metrics_gen_aniso3d(pos, connect, -0.1, metrics);
    // status is 0. Node 1 has two edges of length 1: column 1 asks for the eigenvalues 1 and 1 in the
    // plane, and 100 along z.
    //! [sizes_of_a_surface]
    return status == 0 && metrics.rows == 6 && metrics.cols == 4 && is_near(1, metrics(0, 1)) &&
           is_near(1, metrics(2, 1)) && is_near(100, metrics(5, 1));
}

bool carries_sizes_onto_a_node() {
    //! [carry_sizes]
    // A triangle, and node 3 inside it, which belongs to no element.
    double places[] = {0, 0, 4, 0, 0, 4, 1, 1};
    unsigned corners[] = {0, 1, 2};
    unsigned beside[] = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    unsigned holders[] = {0, 0, 0, 0xFFFFFFFF};
    const auto pos = zel::dense2D<double>::wrap(places, 2, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(corners, 3, 1);
    const auto neighbors = zel::dense2D<unsigned>::wrap(beside, 3, 1);
    const auto ancestors = zel::dense1D<unsigned, 8>::wrap(holders, 4);

    double at_nodes[] = {1, 2, 4, 0};
    auto sizes = zel::dense1D<double, 8>::wrap(at_nodes, 4);
    unsigned wanted[] = {3};
    const auto nodes = zel::dense1D<unsigned, 8>::wrap(wanted, 1);
    const int one = zel::tessel2d::interpolate_metrics(pos, connect, neighbors, ancestors, sizes,
                                                       nodes, false, zel::ELEMENT_T3);
    // one is 0 and sizes[3] is 1 * 0.5 + 2 * 0.25 + 4 * 0.25 = 2. Without a list all such nodes are
    // served, here only those that have no valid size yet.
    const int all = zel::tessel2d::interpolate_metrics(pos, connect, neighbors, ancestors, sizes,
                                                       true, zel::ELEMENT_T3);
    //! [carry_sizes]
    return one == 0 && all == 0 && sizes[3] == 2;
}

bool carries_tensors_onto_a_node() {
    double places[] = {0, 0, 4, 0, 0, 4, 1, 1};
    unsigned corners[] = {0, 1, 2};
    unsigned beside[] = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    unsigned holders[] = {0, 0, 0, 0xFFFFFFFF};
    const auto pos = zel::dense2D<double>::wrap(places, 2, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(corners, 3, 1);
    const auto neighbors = zel::dense2D<unsigned>::wrap(beside, 3, 1);
    const auto ancestors = zel::dense1D<unsigned, 8>::wrap(holders, 4);
    unsigned wanted[] = {3};
    const auto nodes = zel::dense1D<unsigned, 8>::wrap(wanted, 1);
    //! [carry_tensors]
    // The same mesh. Sizes 1, 2 and 4 along x, and 1 along y at all corners: m00, m01, m11.
    double at_nodes[] = {1, 0, 1, 0.25, 0, 1, 0.0625, 0, 1, 0, 0, 0};
    auto tensors = zel::dense2D<double>::wrap(at_nodes, 3, 4);
    const int one = zel::tessel2d::interpolate_metrics(pos, connect, neighbors, ancestors, tensors,
                                                       nodes, false, zel::ELEMENT_T3);
    const int all = zel::tessel2d::interpolate_metrics(pos, connect, neighbors, ancestors, tensors,
                                                       true, zel::ELEMENT_T3);
    // Both are 0, and column 3 asks for size 2 along x and 1 along y: the eigenvalues 0.25 and 1.
    //! [carry_tensors]
    return one == 0 && all == 0 && is_near(0.25, tensors(0, 3)) && tensors(1, 3) == 0 &&
           is_near(1, tensors(2, 3));
}

} // namespace

int main() {
    struct example {
        const char* name;
        bool (*run)();
    };
    const example examples[] = {{"sizes in a patch", fills_a_patch_with_sizes},
                                {"tensors in a patch", fills_a_patch_with_tensors},
                                {"sizes of a surface", takes_sizes_from_a_surface},
                                {"carried sizes", carries_sizes_onto_a_node},
                                {"carried tensors", carries_tensors_onto_a_node}};
    bool good = true;
    for (const example& e : examples) {
        const bool as_expected = e.run();
        std::printf("%s: %s\n", e.name, as_expected ? "as expected" : "NOT as expected");
        good = good && as_expected;
    }
    return good ? 0 : 1;
}
