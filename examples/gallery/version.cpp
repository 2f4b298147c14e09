// SPDX-License-Identifier: Apache-2.0
// The version of the library.
#include "gallery/figure.h"

#include <zel/tessel2d.h>

int main() {
    using namespace zel;
    //! [program]
    const std::string version = tessel2d::version();
    //! [program]

    gallery::figure figure;
    figure.line({{0, 0, 0}, {4, 0, 0}, {4, 1, 0}, {0, 1, 0}, {0, 0, 0}}, gallery::palette::grid);
    figure.label({2, 0.5, 0}, "tessel2d " + version, 36);
    return figure.finish("version", "The words tessel2d " + version, version.empty() ? -1 : 0);
}
