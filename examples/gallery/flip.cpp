// SPDX-License-Identifier: Apache-2.0
// All elements turned over: the order of their corners is reversed.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1, 1.9, 0.5};
    unsigned cells[] = {0, 1, 2, 3, 1, 4, 2, 0xFFFFFFFF};
    auto pos = dense2D<double>::wrap(corners, 2, 5);
    auto elements = dense2D<unsigned>::wrap(cells, 4, 2); // a quadrilateral and a triangle
    dense2D<unsigned> before;
    before.copy(elements);

    const int status = tessel2d::flip(elements);
    //! [program]

    gallery::figure figure;
    const auto say = [](const dense2D<unsigned>& c, std::size_t e) {
        std::string words = std::to_string(c(0, e));
        for (std::size_t i = 1; i < 4; ++i)
            if (c(i, e) != 0xFFFFFFFF) words += " " + std::to_string(c(i, e));
        return words;
    };
    figure.mesh(pos, before).number_nodes(pos);
    figure.label({0.5, 0.5, 0}, say(before, 0)).label({1.3, 0.5, 0}, say(before, 1));
    figure.at(0, -1.5).mesh(pos, elements).number_nodes(pos);
    figure.label({0.5, 0.5, 0}, say(elements, 0)).label({1.3, 0.5, 0}, say(elements, 1));
    figure.result(elements);
    return figure.finish("flip",
                         "A quadrilateral and a triangle with the node numbers of their columns, "
                         "above before and below after they have been turned over.",
                         status);
}
