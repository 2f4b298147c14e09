// SPDX-License-Identifier: Apache-2.0
//
// Host tools: memory that a program has already, handed to the library without copies.
#include "zel/host/views.h"
#include "zel/tessel2d.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace zel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

} // namespace

int main() {
    double total = 0;
    //! [vectors]
    const std::vector<double> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}; // node after node
    const std::vector<unsigned> corners = {0, 1, 2, 0, 2, 3};
    int status = tessel2d::area(host::view_of(xyz, 3), host::view_of(corners, 3), total);
    const auto list = host::view_of(corners); // the same numbers as a list
    //! [vectors]
    require(status == 0 && total == 1.0 && list.size == 6);

    //! [pointers]
    const double* first = xyz.data();
    const auto plane = host::view_of(first, 2, 4, 3); // x and y of each node, z passed over
    const auto loop = host::view_of(corners.data(), 3);
    //! [pointers]
    require(plane(1, 2) == 1.0 && loop.size == 3);

    //! [arrays]
    const double square[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}; // 2 x 4
    const unsigned quad[1][4] = {{0, 1, 2, 3}};
    status = tessel2d::area(host::view_of(square), host::view_of(quad), total);
    //! [arrays]
    require(status == 0 && total == 1.0);

    //! [wide_numbers]
    const std::int64_t wide[8] = {0, 1, 2, 3, 0, 1, 2, -1}; // a quadrilateral and a triangle
    dense2D<unsigned> connect;
    status = host::narrow(wide, 4, 2, 0, 4, connect); // four nodes; -1: a number out of range
    std::int64_t back[8];
    host::widen(connect, back);
    //! [wide_numbers]
    require(status == 0 && connect(3, 1) == 0xFFFFFFFF && back[7] == -1);
}
