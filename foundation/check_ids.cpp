// zel tessel2d: planar and surface mesh tools.
#include "foundation/call_frame.h"
#include "foundation/tessel.h"

namespace zel::tessel {

namespace {

// An entry x passes a row when x + offset does not exceed limit, in 32-bit wrap-around: offset 0 and
// limit bound - 1 ask for x < bound; offset 1 and limit bound let 0xFFFFFFFF pass too, since it wraps
// to 0. Both tests are one addition and one comparison, so that rows with different rules make one
// vector loop.
struct rule {
    unsigned offset;
    unsigned limit;
};

constexpr rule below(unsigned bound) { return {0, bound - 1}; }
constexpr rule below_or_no_node(unsigned bound) { return {1, bound}; }

// The loops collect instead of leaving at the first hit, and look at what they collected once per
// run: long enough for vectors, short enough to leave a bad matrix early.
constexpr std::size_t run = 4096;

bool run_passes(const unsigned* x, std::size_t n, rule r) {
    unsigned bad = 0;
    for (std::size_t i = 0; i < n; ++i) bad |= static_cast<unsigned>(x[i] + r.offset > r.limit);
    return bad == 0;
}

bool all_pass(const unsigned* x, std::size_t n, rule r) {
    for (std::size_t i = 0; i < n; i += run)
        if (!run_passes(x + i, std::min(run, n - i), r)) return false;
    return true;
}

// Four entries a column, the last one under a rule of its own.
bool run_of_four_passes(const unsigned* x, std::size_t ld, std::size_t n, rule r, rule last) {
    const unsigned offset[4] = {r.offset, r.offset, r.offset, last.offset};
    const unsigned limit[4] = {r.limit, r.limit, r.limit, last.limit};
    unsigned bad[4] = {0, 0, 0, 0};
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = 0; i < 4; ++i)
            bad[i] |= static_cast<unsigned>(x[j * ld + i] + offset[i] > limit[i]);
    return (bad[0] | bad[1] | bad[2] | bad[3]) == 0;
}

bool all_of_four_pass(const dense2D<unsigned>& m, rule r, rule last) {
    constexpr std::size_t columns = run / 4;
    for (std::size_t j = 0; j < m.cols; j += columns)
        if (!run_of_four_passes(m[j], m.ld, std::min(columns, m.cols - j), r, last)) return false;
    return true;
}

template <std::size_t Rows>
bool columns_pass(const unsigned* x, std::size_t ld, std::size_t n, rule r) {
    unsigned bad[Rows] = {};
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = 0; i < Rows; ++i)
            bad[i] |= static_cast<unsigned>(x[j * ld + i] + r.offset > r.limit);
    unsigned any = 0;
    for (const unsigned b : bad) any |= b;
    return any == 0;
}

bool matrix_passes(const dense2D<unsigned>& m, rule r) {
    if (m.contiguous()) return all_pass(m.data(), m.rows * m.cols, r);
    switch (m.rows) {
    case 2: return columns_pass<2>(m.data(), m.ld, m.cols, r);
    case 3: return columns_pass<3>(m.data(), m.ld, m.cols, r);
    case 4: return columns_pass<4>(m.data(), m.ld, m.cols, r);
    default: break;
    }
    for (std::size_t j = 0; j < m.cols; ++j)
        if (!run_passes(m[j], m.rows, r)) return false;
    return true;
}

bool rows_suit(std::size_t rows, element_type kind) {
    if (kind == ELEMENT_FACE) return rows == 3 || rows == 4;
    const bool known = static_cast<unsigned>(kind) <= static_cast<unsigned>(ELEMENT_H27);
    return known && rows == element_node_count(kind);
}

} // namespace

bool check_IDs(const dense2D<unsigned>& connect, element_type kind, unsigned bound) noexcept {
    if (connect.empty()) return true;
    if (!rows_suit(connect.rows, kind)) return false;
    if (bound == no_node) return true;
    if (bound == 0) return false;
    if (kind == ELEMENT_FACE && connect.rows == 4)
        return all_of_four_pass(connect, below(bound), below_or_no_node(bound));
    return matrix_passes(connect, below(bound));
}

bool check_IDs(const dense2D<unsigned>& ids, unsigned bound) noexcept {
    return ids.empty() || bound == no_node || matrix_passes(ids, below_or_no_node(bound));
}

bool check_IDs(const dense1D<unsigned, 8>& ids, unsigned bound) noexcept {
    if (ids.empty()) return true;
    return bound != 0 && all_pass(ids.data(), ids.size, below(bound));
}

} // namespace zel::tessel
