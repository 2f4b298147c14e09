// SPDX-License-Identifier: Apache-2.0
//
// Measures: area, corner angles and circumcentres of small meshes.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

bool close_to(double expected, double x) {
    return std::abs(x - expected) < 1e-12;
}

bool measures_an_area() {
    //! [area]
    // A unit square with a triangle on its right side: row 3 of a triangle is 0xFFFFFFFF.
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1, 2, 0.5};
    unsigned nodes[] = {0, 1, 2, 3, 1, 4, 2, 0xFFFFFFFF};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 5);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);

    double area = 0;
    const int status = zel::tessel2d::area(pos, connect, area);
    // status is 0 and area 1.5. Had the elements turned clockwise, it would be -1.5.
    //! [area]
    return status == 0 && area == 1.5;
}

bool finds_angles() {
    //! [angles]
    // Half a square and a square, in units of the corner of a regular element.
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1};
    unsigned nodes[] = {0, 1, 2, 0xFFFFFFFF, 0, 1, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);

    zel::dense1D<double, 8> smallest;
    zel::dense1D<double, 8> largest;
    const int status = zel::tessel2d::angles(pos, connect, true, smallest, largest);
    // The triangle has angles from 45 to 90 degrees: smallest[0] is 0.75, largest[0] is 1.5.
    // The square has right angles only: smallest[1] and largest[1] are 1.
    //! [angles]
    return status == 0 && smallest.size == 2 && largest.size == 2 && close_to(0.75, smallest[0]) &&
           close_to(1.5, largest[0]) && smallest[1] == 1 && largest[1] == 1;
}

bool finds_circumcenters() {
    //! [circumcenters]
    // A right triangle, and a flat one on its hypotenuse.
    double corners[] = {0, 0, 4, 0, 0, 2, 1, 1.5};
    unsigned nodes[] = {0, 1, 2, 1, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 2);

    zel::dense2D<double> centers;
    const int status = zel::tessel2d::circumcenters(pos, connect, centers);
    // Both centres are (2, 1): the midpoint of the hypotenuse, and that of the longest side.
    //! [circumcenters]
    return status == 0 && centers.rows == 2 && centers.cols == 2 && centers(0, 0) == 2 &&
           centers(1, 0) == 1 && centers(0, 1) == 2 && centers(1, 1) == 1;
}

} // namespace

int main() {
    if (!measures_an_area()) {
        std::puts("the area is not as expected");
        return 1;
    }
    if (!finds_angles()) {
        std::puts("the angles are not as expected");
        return 1;
    }
    if (!finds_circumcenters()) {
        std::puts("the circumcentres are not as expected");
        return 1;
    }
    std::puts("an area, angles and circumcentres are as expected");
    return 0;
}
