// SPDX-License-Identifier: Apache-2.0
#include "demo/outline.h"

#include "support/require.h"

#include <algorithm>

namespace zel::demo {

dense1D<unsigned, 8> add_outline(dense2D<double>& pos, const four_sides& sides, unsigned m,
                                 unsigned n, unsigned dimension) {
    const std::size_t first = pos.cols;
    const std::size_t count = 2 * (std::size_t{m} + n);
    const std::size_t rows = pos.empty() ? dimension : pos.rows;
    dense1D<unsigned, 8> loop(count + 1);
    examples::require(pos.resize(rows, first + count) && loop.size == count + 1,
                      "memory is exhausted");

    std::size_t k = 0;
    const auto place = [&](const examples::point& p) {
        std::copy_n(p.begin(), rows, pos[first + k]);
        loop[k] = static_cast<unsigned>(first + k);
        ++k;
    };
    for (unsigned i = 0; i < m; ++i) place(sides.bottom(double(i) / m));
    for (unsigned j = 0; j < n; ++j) place(sides.right(double(j) / n));
    for (unsigned i = m; i > 0; --i) place(sides.top(double(i) / m));
    for (unsigned j = n; j > 0; --j) place(sides.left(double(j) / n));
    loop[k] = loop[0];
    return loop;
}

dense2D<unsigned> add_line(dense2D<double>& pos, const curve& line, unsigned cells, bool closed,
                           unsigned dimension) {
    const std::size_t first = pos.cols;
    const std::size_t count = std::size_t{cells} + (closed ? 0 : 1);
    const std::size_t rows = pos.empty() ? dimension : pos.rows;
    dense2D<unsigned> edges(2, cells);
    examples::require(pos.resize(rows, first + count) && edges.cols == cells,
                      "memory is exhausted");
    for (std::size_t k = 0; k < count; ++k) {
        const examples::point p = line(static_cast<double>(k) / cells);
        std::copy_n(p.begin(), rows, pos[first + k]);
    }
    for (std::size_t k = 0; k < cells; ++k) {
        edges(0, k) = static_cast<unsigned>(first + k);
        edges(1, k) = static_cast<unsigned>(first + (k + 1) % count);
    }
    return edges;
}

} // namespace zel::demo
