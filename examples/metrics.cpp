// zel tessel2d: planar and surface mesh tools.
//
// Size fields: inside a patch from those of its outline.
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

} // namespace

int main() {
    struct example {
        const char* name;
        bool (*run)();
    };
    const example examples[] = {{"sizes in a patch", fills_a_patch_with_sizes},
                                {"tensors in a patch", fills_a_patch_with_tensors}};
    bool good = true;
    for (const example& e : examples) {
        const bool as_expected = e.run();
        std::printf("%s: %s\n", e.name, as_expected ? "as expected" : "NOT as expected");
        good = good && as_expected;
    }
    return good ? 0 : 1;
}
