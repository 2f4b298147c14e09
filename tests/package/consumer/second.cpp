// SPDX-License-Identifier: Apache-2.0
// A second file with the same headers: what they define must be allowed to occur twice in a program.
#include "zel/dense.h"
#include "zel/tessel2d.h"

#include "second.h"

double second_file_sum(const zel::dense2D<double>& pos) {
    double sum = 0;
    for (std::size_t j = 0; j < pos.cols; ++j) {
        for (std::size_t i = 0; i < pos.rows; ++i) sum += pos(i, j);
    }
    return sum;
}
