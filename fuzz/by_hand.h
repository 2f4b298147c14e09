// SPDX-License-Identifier: Apache-2.0
// Conversions the slow way: what the drivers compare with, one element at a time on lists that grow.
#pragma once

#include "fuzz/adjacency.h"
#include "fuzz/checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace zel_fuzz::by_hand {

using column = std::vector<unsigned>;
using columns = std::vector<column>;

inline columns columns_of(const dense2D<unsigned>& m) {
    columns all(m.cols, column(m.rows));
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i) all[j][i] = m(i, j);
    return all;
}

/// From column `first` on the matrix holds what is expected and nothing else; rows that a column does not
/// have are 0xFFFFFFFF.
inline void require_columns(const dense2D<unsigned>& m, std::size_t first, const columns& expected,
                            const char* what) {
    if (expected.empty()) return;
    require(m.cols == first + expected.size(), what);
    for (std::size_t j = 0; j < expected.size(); ++j)
        for (std::size_t i = 0; i < m.rows; ++i)
            require(m(i, first + j) == (i < expected[j].size() ? expected[j][i] : no_node), what);
}

// -------------------------------------------------------------------------------------- pieces

inline void append_rows(columns& to, const column& from, std::initializer_list<column> pieces) {
    for (const column& rows : pieces) {
        to.emplace_back();
        for (const unsigned row : rows) to.back().push_back(from[row]);
    }
}

/// The four pieces of each quadratic element, on its own nodes.
inline columns linear_pieces(const columns& quadratic) {
    columns all;
    for (const column& e : quadratic) {
        if (e.size() == 6 || e[6] == no_node)
            append_rows(all, e, {{0, 5, 4}, {1, 3, 5}, {2, 4, 3}, {3, 4, 5}});
        else
            append_rows(all, e, {{0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}});
    }
    return all;
}

inline bool is_triangle(const column& linear) {
    return linear.size() == 3 || linear[3] == no_node;
}

/// Triangles as they are, quadrilaterals cut from their first to their third corner.
inline columns cut_from_first(const columns& linear) {
    columns all;
    for (const column& e : linear) {
        append_rows(all, e, {{0, 1, 2}});
        if (!is_triangle(e)) append_rows(all, e, {{2, 3, 0}});
    }
    return all;
}

/// A quadrilateral that begins with its smallest number.
inline column turned_to_smallest(column e) {
    std::rotate(e.begin(), std::min_element(e.begin(), e.end()), e.end());
    return e;
}

/// The two triangles of a quadrilateral, by the diagonal from corner `from`.
inline columns halves(const column& quad, unsigned from) {
    columns two;
    append_rows(two, quad, {{from, from + 1, from + 2}, {from + 2, (from + 3) % 4, from}});
    return two;
}

// ------------------------------------------------------------------------------------- orientation

/// Elements turned over: the rows of each kind that change places.
inline void turn_over(column& e, bool quadratic_triangle, bool quadratic_quad) {
    std::swap(e[0], e[2]);
    if (quadratic_triangle) std::swap(e[3], e[5]);
    if (quadratic_quad) std::swap(e[4], e[5]), std::swap(e[6], e[7]);
}

/// A quadrilateral with a collapsed edge becomes a triangle. Returns true if it did.
inline bool mend(column& e) {
    static const column corners[4] = {{0, 2, 3}, {0, 1, 3}, {0, 1, 2}, {0, 1, 2}};
    static const column sides[4] = {{6, 7, 5}, {6, 7, 4}, {5, 7, 4}, {5, 6, 4}};
    if (std::count(e.begin(), e.end(), no_node)) return false;
    for (unsigned k = 0; k < 4; ++k) {
        if (e[k] != e[(k + 1) % 4]) continue;
        column mended;
        for (const unsigned row : corners[k]) mended.push_back(e[row]);
        for (const unsigned row : sides[k])
            if (e.size() > 4) mended.push_back(e[row]);
        mended.resize(e.size(), no_node);
        e = mended;
        return true;
    }
    return false;
}

// ------------------------------------------------------------------------------------------ order

using place3 = std::array<long double, 3>;

/// Elements of a higher order, and the places of all nodes.
struct raised {
    columns connect;
    std::vector<place3> places;
    std::vector<bool> placed; ///< false for nodes that were there
};

/// Numbers of nodes on an edge, in a quadrilateral and in a triangle.
struct order {
    unsigned a, b, c;
};

class raising {
public:
    raising(const dense2D<double>& pos, const columns& linear, const order& o, const columns& given)
        : known_(pos.cols), o_(o) {
        while ((m_ + 1) * (m_ + 1) <= o.b) ++m_;
        result_.places.resize(pos.cols);
        result_.placed.resize(pos.cols, false);
        for (std::size_t j = 0; j < pos.cols; ++j)
            for (std::size_t i = 0; i < pos.rows; ++i) result_.places[j][i] = pos(i, j);
        for (const column& g : given)
            if (o.a != 0) edge_of(g[0], g[1], 0)->first_node = g[2];
        std::size_t triangles = 0;
        for (const column& e : linear) triangles += is_triangle(e);
        next_ = known_;
        for (const column& e : linear) number_edges(e);
        const std::size_t quads = linear.size() - triangles;
        const std::size_t nodes = next_ + quads * o.b + triangles * o.c;
        result_.places.resize(nodes);
        result_.placed.resize(nodes, true);
        place_edges();
        for (const column& e : linear) result_.connect.push_back(corners_and_edges(e));
        for (std::size_t e = 0; e < linear.size(); ++e) place_inside(linear[e], result_.connect[e]);
    }

    const raised& result() const { return result_; }

private:
    struct edge {
        unsigned from, to, first_node;
    };
    using ends = std::pair<unsigned, unsigned>;

    edge* edge_of(unsigned x, unsigned y, unsigned first_node) {
        return &edges_.insert({std::minmax(x, y), edge{x, y, first_node}}).first->second;
    }
    static std::vector<ends> edges_in(const column& e) {
        if (is_triangle(e)) return {{e[1], e[2]}, {e[2], e[0]}, {e[0], e[1]}};
        return {{e[0], e[1]}, {e[1], e[2]}, {e[2], e[3]}, {e[3], e[0]}};
    }
    void number_edges(const column& e) {
        for (const auto& [x, y] : edges_in(e)) {
            if (o_.a == 0) return;
            const std::size_t before = edges_.size();
            edge_of(x, y, static_cast<unsigned>(next_));
            if (edges_.size() != before) next_ += o_.a;
        }
    }
    void place_edges() {
        for (const auto& item : edges_) {
            const edge& g = item.second;
            for (unsigned i = 0; i < o_.a && g.first_node >= known_; ++i) {
                const long double t = (i + 1.0L) / (o_.a + 1.0L);
                result_.places[g.first_node + i] = sum({{1 - t, g.from}, {t, g.to}});
            }
        }
    }
    column corners_and_edges(const column& e) {
        const unsigned n = is_triangle(e) ? 3 : 4;
        if (o_.a == 0) return column(n, no_node);
        column all(e.begin(), e.begin() + n);
        for (const auto& [x, y] : edges_in(e)) {
            const edge& g = *edge_of(x, y, 0);
            const bool reversed = g.from != x;
            for (unsigned i = 0; i < o_.a; ++i)
                all.push_back(g.first_node + (reversed ? o_.a - 1 - i : i));
        }
        return all;
    }

    struct weight {
        long double w;
        unsigned node;
    };
    place3 sum(const std::vector<weight>& weights) const {
        place3 at{};
        for (const auto& [w, node] : weights)
            for (std::size_t i = 0; i < 3 && node < result_.places.size(); ++i)
                at[i] += w * result_.places[node][i];
        return at;
    }
    bool curved(const column& e, unsigned corners_of_e) const {
        return o_.a == 1 &&
               *std::min_element(e.begin() + corners_of_e, e.begin() + 2 * corners_of_e) < known_;
    }
    place3 in_triangle(const column& e, bool bent, long double u, long double v) const {
        const long double w = 1 - u - v;
        if (!bent) return sum({{u, e[0]}, {v, e[1]}, {w, e[2]}});
        return sum({{(2 * u - 1) * u, e[0]},
                    {(2 * v - 1) * v, e[1]},
                    {(2 * w - 1) * w, e[2]},
                    {4 * w * v, e[3]},
                    {4 * w * u, e[4]},
                    {4 * u * v, e[5]}});
    }
    place3 in_quad(const column& e, bool bent, long double x, long double y) const {
        static constexpr int sx[4] = {-1, 1, 1, -1}, sy[4] = {-1, -1, 1, 1};
        std::vector<weight> all;
        for (unsigned i = 0; i < 4; ++i) {
            const long double w = (1 + sx[i] * x) * (1 + sy[i] * y) / 4;
            all.push_back({bent ? w * (sx[i] * x + sy[i] * y - 1) : w, e[i]});
        }
        if (bent) {
            all.push_back({(1 - x * x) * (1 - y) / 2, e[4]});
            all.push_back({(1 - y * y) * (1 + x) / 2, e[5]});
            all.push_back({(1 - x * x) * (1 + y) / 2, e[6]});
            all.push_back({(1 - y * y) * (1 - x) / 2, e[7]});
        }
        return sum(all);
    }
    void place_inside(const column& linear, column& e) {
        const bool triangle = is_triangle(linear);
        const bool bent = curved(e, triangle ? 3 : 4);
        if (!triangle) {
            const long double h = 2.0L / (m_ + 1);
            for (unsigned j = 1; j <= m_; ++j)
                for (unsigned i = 1; i <= m_; ++i) {
                    result_.places[next_] = in_quad(e, bent, i * h - 1, j * h - 1);
                    e.push_back(static_cast<unsigned>(next_++));
                }
        } else if (o_.c == 1) {
            result_.places[next_] = in_triangle(e, bent, 1.0L / 3, 1.0L / 3);
            e.push_back(static_cast<unsigned>(next_++));
        } else if (o_.c == 3) {
            result_.places[next_] = in_triangle(e, bent, 0.25L, 0.25L);
            result_.places[next_ + 1] = in_triangle(e, bent, 0.5L, 0.25L);
            result_.places[next_ + 2] = in_triangle(e, bent, 0.25L, 0.5L);
            e.push_back(static_cast<unsigned>(next_));
            e.push_back(static_cast<unsigned>(next_ + 1));
            next_ += 2;
        }
    }

    std::size_t known_;
    std::size_t next_ = 0;
    order o_;
    unsigned m_ = 0;
    std::map<ends, edge> edges_;
    raised result_;
};

/// The quadrilaterals that `split_into_Q4` cuts: an element with a centre is given by its raised column.
inline columns quad_pieces(const columns& linear, const raised& r) {
    columns all;
    for (std::size_t e = 0; e < linear.size(); ++e) {
        if (is_triangle(linear[e]))
            append_rows(all, r.connect[e], {{0, 5, 6, 4}, {1, 3, 6, 5}, {2, 4, 6, 3}});
        else
            append_rows(all, r.connect[e],
                        {{0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}});
    }
    return all;
}

/// New nodes are where they should be, as far as coordinates are ordinary numbers.
inline void require_places(const raised& r, const dense2D<double>& pos) {
    require(pos.cols == r.places.size(), "there are as many nodes as elements ask for");
    constexpr long double tiny = 8 * std::numeric_limits<double>::denorm_min();
    long double size = 0;
    for (const double x : elements(pos)) {
        if (!(std::fabs(x) < 1e6)) return;
        size = std::max<long double>(size, std::fabs(x));
    }
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t i = 0; i < pos.rows && r.placed[j]; ++i)
            require(std::fabs(pos(i, j) - r.places[j][i]) <= 1e-13L * size + tiny,
                    "a new node is where its element puts it");
}

} // namespace zel_fuzz::by_hand
