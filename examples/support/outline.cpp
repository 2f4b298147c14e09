// zel tessel2d: planar and surface mesh tools.
#include "support/outline.h"

#include "support/require.h"

#include <algorithm>

namespace support {

zel::dense1D<unsigned, 8> add_outline(zel::dense2D<double>& pos, const four_sides& sides,
                                      unsigned m, unsigned n, unsigned dimension) {
    const std::size_t first = pos.cols;
    const std::size_t count = 2 * (std::size_t{m} + n);
    const std::size_t rows = pos.empty() ? dimension : pos.rows;
    zel::dense1D<unsigned, 8> loop(count + 1);
    require(pos.resize(rows, first + count) && loop.size == count + 1, "memory is exhausted");

    std::size_t k = 0;
    const auto place = [&](const point& p) {
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

} // namespace support
