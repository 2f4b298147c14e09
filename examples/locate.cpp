// SPDX-License-Identifier: Apache-2.0
//
// Location and fields: the element that holds a point, and a field carried onto other points.
// Ends with status 1 if a result is not the expected one.
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

constexpr unsigned none = 0xFFFFFFFFu;

bool finds_elements() {
    //! [which_element]
    // Two squares side by side. Neighbours and ancestors come from the program, here by the host tools.
    double corners[] = {0, 0, 1, 0, 2, 0, 0, 1, 1, 1, 2, 1};
    unsigned quads[] = {0, 1, 4, 3, 1, 2, 5, 4};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 6);
    const auto connect = zel::dense2D<unsigned>::wrap(quads, 4, 2);
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(connect, pos.cols, beside) != 0) return false;
    const zel::tessel::node_detector detector(pos);

    unsigned right, outside;
    const int hit = zel::tessel2d::get_element_containing_point(
        pos, connect, beside.neighbors, beside.ancestors, detector, zel::ELEMENT_Q4, {1.75, 0.5},
        right, 1e-6);
    const int miss = zel::tessel2d::get_element_containing_point(
        pos, connect, beside.neighbors, beside.ancestors, detector, zel::ELEMENT_Q4, {1.75, 1.5},
        outside, 1e-6);
    // hit is 1 and right is 1, the second square; miss is 0 and outside is 0xFFFFFFFF.
    //! [which_element]
    return hit == 1 && right == 1 && miss == 0 && outside == none;
}

bool carries_a_field() {
    //! [carry_a_field]
    // A square of two triangles, and behind its nodes two points that belong to no element.
    double places[] = {0, 0, 1, 0, 1, 1, 0, 1, 0.5, 0.25, 0.25, 0.75};
    unsigned triangles[] = {0, 1, 2, 0, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(places, 2, 6);
    const auto connect = zel::dense2D<unsigned>::wrap(triangles, 3, 2);
    zel::host::adjacency beside; // no ancestor for 4 and 5
    if (zel::host::build_adjacency(connect, pos.cols, beside) != 0) return false;

    // Two components at each node: x + y and 10 x. The columns of the two points are filled.
    double values[] = {0, 0, 1, 10, 2, 10, 1, 0, -1, -1, -1, -1};
    unsigned wanted[] = {4, 5};
    auto field = zel::dense2D<double>::wrap(values, 2, 6);
    const auto nodes = zel::dense1D<unsigned, 8>::wrap(wanted, 2);
    const int status = zel::tessel2d::interpolate(pos, connect, beside.neighbors, beside.ancestors,
                                                  field, nodes, zel::ELEMENT_T3);
    // status is 0; field holds (0.75, 5) for node 4 and (1, 2.5) for node 5.
    //! [carry_a_field]
    return status == 0 && field(0, 4) == 0.75 && field(1, 4) == 5 && field(0, 5) == 1 &&
           field(1, 5) == 2.5;
}

bool carries_a_scalar() {
    //! [carry_a_scalar]
    // One square and its centre. The field x + 2 y is linear, so it comes over as it is.
    double places[] = {0, 0, 1, 0, 1, 1, 0, 1, 0.5, 0.5};
    unsigned quad[] = {0, 1, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(places, 2, 5);
    const auto connect = zel::dense2D<unsigned>::wrap(quad, 4, 1);
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(connect, pos.cols, beside) != 0) return false;

    double values[] = {0, 1, 3, 2, -1};
    unsigned wanted[] = {4};
    auto field = zel::dense1D<double, 8>::wrap(values, 5);
    const auto nodes = zel::dense1D<unsigned, 8>::wrap(wanted, 1);
    const int status = zel::tessel2d::interpolate(pos, connect, beside.neighbors, beside.ancestors,
                                                  field, nodes, zel::ELEMENT_Q4);
    // status is 0 and field[4] is 1.5.
    //! [carry_a_scalar]
    return status == 0 && field[4] == 1.5;
}

} // namespace

int main() {
    if (!finds_elements()) {
        std::puts("the elements of the points are not as expected");
        return 1;
    }
    if (!carries_a_field() || !carries_a_scalar()) {
        std::puts("the carried values are not as expected");
        return 1;
    }
    std::puts("one point found in the second of two squares, fields carried onto three points");
    return 0;
}
