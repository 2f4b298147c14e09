// SPDX-License-Identifier: Apache-2.0
#include "host/covered_grid.h"

#include "foundation/cell_shapes.h"
#include "location/locate.h"
#include "support/checks.h"
#include "support/failing_alloc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace {

using zel::dense2D;
using zel::host::covered_grid;
using zel::tessel2d::mixed_cells;
using zel::tessel2d::point;
using zel::tessel2d::points_view;
using zel::tessel2d::side;
using zel::tessel2d::triangle_cells;

constexpr unsigned none = 0xFFFFFFFFu;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct mesh {
    dense2D<double> pos{2, 0};
    dense2D<unsigned> connect;

    /// Adds an element of its own three or four nodes.
    void add(const std::vector<point<2>>& corners, std::size_t rows) {
        unsigned column[4] = {none, none, none, none};
        for (std::size_t k = 0; k < corners.size(); ++k) {
            column[k] = static_cast<unsigned>(pos.cols);
            ASSERT_TRUE(pos.resize(2, pos.cols + 1));
            std::copy_n(corners[k].begin(), 2, pos[pos.cols - 1]);
        }
        if (rows == 3) {
            push_back_column3(column, connect);
        } else {
            push_back_column4(column, connect);
        }
    }
    void find_box(point<2>& low, point<2>& high) const {
        low = {infinity, infinity};
        high = {-infinity, -infinity};
        for (std::size_t j = 0; j < pos.cols; ++j) {
            for (std::size_t k = 0; k < 2; ++k) {
                if (pos(k, j) < low[k]) low[k] = pos(k, j);
                if (pos(k, j) > high[k]) high[k] = pos(k, j);
            }
        }
    }
    void fill(covered_grid& grid) const {
        point<2> low;
        point<2> high;
        find_box(low, high);
        grid.fill(pos, connect, low, high);
    }
    /// A point five times its size away.
    point<2> far_point() const {
        point<2> low;
        point<2> high;
        find_box(low, high);
        return {6 * high[0] - 5 * low[0], low[1]};
    }
    /// Whether a walk that comes to some element ends there.
    template <class Shape>
    bool holds(const point<2>& p, double tolerance) const {
        const unsigned border[4] = {none, none, none, none};
        for (std::size_t e = 0; e < connect.cols; ++e) {
            const auto test = zel::tessel2d::exit_edge<Shape>(points_view<2>(pos), connect[e],
                                                              border, p, tolerance, 0);
            if (test.where != side::beyond_edge) return true;
        }
        return false;
    }
    bool holds(const point<2>& p, double tolerance) const {
        return connect.rows == 3 ? holds<triangle_cells>(p, tolerance)
                                 : holds<mixed_cells>(p, tolerance);
    }
};

using random_engine = std::mt19937;

double between(random_engine& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

/// Whether a grid of that element alone rules out anything.
bool is_sound(const std::vector<point<2>>& corners) {
    mesh m;
    m.add(corners, corners.size());
    covered_grid grid;
    m.fill(grid);
    return grid.rules_out(m.far_point());
}

/// Corners around a place; one may be pulled in, the last of four close to the one before.
std::vector<point<2>> any_corners(random_engine& random, unsigned n, double size) {
    const point<2> center{size * between(random, 0, 3), size * between(random, 0, 3)};
    const double flatness = std::pow(10.0, between(random, -3, 0));
    const double turn = between(random, 0, 6.28);
    std::vector<point<2>> corners;
    for (unsigned k = 0; k < n; ++k) {
        const double angle = (k + between(random, 0, 0.9)) * 6.283185307179586 / n;
        const double radius = size * (random() % 4 == 0 ? between(random, 0.01, 1) : 1.0);
        const double x = radius * std::cos(angle);
        const double y = radius * std::sin(angle) * flatness;
        corners.push_back({center[0] + x * std::cos(turn) - y * std::sin(turn),
                           center[1] + x * std::sin(turn) + y * std::cos(turn)});
    }
    if (n == 4 && random() % 3 == 0) {
        const double share = std::pow(10.0, between(random, -3, 0));
        for (std::size_t k = 0; k < 2; ++k)
            corners[n - 1][k] = corners[n - 2][k] + (corners[n - 1][k] - corners[n - 2][k]) * share;
    }
    return corners;
}

/// The same, so that they make a sound element.
std::vector<point<2>> random_corners(random_engine& random, unsigned n, double size) {
    for (;;) {
        const auto corners = any_corners(random, n, size);
        if (is_sound(corners)) return corners;
    }
}

/// Points beyond the edges of elements, by shares of the elements' doubled areas, and around their corners.
void for_each_point_at_the_rim(const mesh& m, random_engine& random, double tolerance,
                               const std::function<void(const point<2>&)>& use) {
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const unsigned n = m.connect.rows == 3 || m.connect(3, e) == none ? 3 : 4;
        const points_view<2> pos(m.pos);
        const double size = m.connect.rows == 3
                                ? zel::tessel2d::double_size<triangle_cells>(pos, m.connect[e])
                                : zel::tessel2d::double_size<mixed_cells>(pos, m.connect[e]);
        for (unsigned k = 0; k < n; ++k) {
            const point<2> a = pos[m.connect(k, e)];
            const point<2> b = pos[m.connect((k + 1) % n, e)];
            const point<2> d{b[0] - a[0], b[1] - a[1]};
            const double way = size * tolerance / (d[0] * d[0] + d[1] * d[1]);
            for (const double share : {0.5, 0.999, 1.001}) {
                const double t = between(random, 0, 1);
                const double out = way * share;
                use({a[0] + t * d[0] + out * d[1], a[1] + t * d[1] - out * d[0]});
            }
            // Where both edges at the corner are as far away as they may be.
            const point<2> c = pos[m.connect((k + n - 1) % n, e)];
            const point<2> before{a[0] - c[0], a[1] - c[1]};
            const double share = 0.9999 * size * tolerance / (before[0] * d[1] - before[1] * d[0]);
            use({a[0] + share * (before[0] - d[0]), a[1] + share * (before[1] - d[1])});
        }
    }
}

/// Returns whether the grid rules out anything.
bool expect_no_held_point_is_ruled_out(const mesh& m, unsigned seed) {
    covered_grid grid;
    m.fill(grid);
    if (!grid.rules_out(m.far_point())) return false;
    random_engine random(seed);
    const auto check = [&](const point<2>& p) {
        if (grid.rules_out(p)) {
            ASSERT_FALSE(m.holds(p, covered_grid::most_tolerance))
                << "seed " << seed << " point " << p[0] << ' ' << p[1];
        }
    };
    for_each_point_at_the_rim(m, random, covered_grid::most_tolerance, check);
    for (unsigned i = 0; i < 20; ++i)
        check({between(random, -0.5, 1.5), between(random, -0.5, 1.5)});
    return true;
}

TEST(CoveredGrid, RulesOutNoPointThatAWalkWouldEndAt) {
    for (const std::size_t rows : {3U, 4U}) {
        unsigned useful = 0;
        for (unsigned seed = 0; seed < 8000; ++seed) {
            random_engine random(seed);
            mesh m;
            const std::size_t elements = 1 + random() % 9;
            const double size = std::pow(10.0, between(random, -3, -0.3));
            for (std::size_t e = 0; e < elements; ++e)
                m.add(random_corners(random, rows == 3 || random() % 4 == 0 ? 3 : 4, size), rows);
            useful += expect_no_held_point_is_ruled_out(m, seed) ? 1U : 0U;
            if (testing::Test::HasFailure()) return;
        }
        EXPECT_GT(useful, 7800U);
    }
}

TEST(CoveredGrid, BeyondAShortSideTheToleranceReachesFarther) {
    const point<2> held{0.5, 1.009};
    for (unsigned i = 0; i < 1000; ++i) {
        mesh m;
        m.add({{0, 0}, {1, 0}, {0.505, 1}, {0.495, 1}}, 4);
        ASSERT_TRUE(m.holds(held, covered_grid::most_tolerance));
        const double y = 2 + i * 0.001; // moves the cells
        m.add({{0, y}, {1, y}, {0, y + 1}}, 4);
        covered_grid grid;
        m.fill(grid);
        ASSERT_TRUE(grid.rules_out(m.far_point()));
        ASSERT_FALSE(grid.rules_out(held)) << i;
    }
}

/// n x n squares over the unit square without a hole from 0.4 to 0.6, as triangles or as quadrilaterals.
mesh plate(unsigned n, std::size_t rows, double jitter = 0.2) {
    random_engine random(3);
    mesh m;
    m.pos.resize(2, std::size_t{n + 1} * (n + 1));
    for (unsigned i = 0; i <= n; ++i) {
        for (unsigned j = 0; j <= n; ++j) {
            m.pos(0, i * (n + 1) + j) = (j + between(random, -jitter, jitter)) / n;
            m.pos(1, i * (n + 1) + j) = (i + between(random, -jitter, jitter)) / n;
        }
    }
    for (unsigned i = 0; i < n; ++i) {
        for (unsigned j = 0; j < n; ++j) {
            if (std::abs((j + 0.5) / n - 0.5) < 0.1 && std::abs((i + 0.5) / n - 0.5) < 0.1)
                continue;
            const unsigned a = i * (n + 1) + j;
            const unsigned quad[4] = {a, a + 1, a + n + 2, a + n + 1};
            const unsigned halves[2][3] = {{quad[0], quad[1], quad[2]},
                                           {quad[0], quad[2], quad[3]}};
            if (rows == 4) push_back_column4(quad, m.connect);
            for (const auto& half : halves)
                if (rows == 3) push_back_column3(half, m.connect);
        }
    }
    return m;
}

TEST(CoveredGrid, RulesOutWhatIsFartherThanAnElementFromTheMesh) {
    for (const std::size_t rows : {3U, 4U}) {
        for (const unsigned n : {20U, 60U, 200U}) {
            covered_grid grid;
            const mesh m = plate(n, rows);
            m.fill(grid);
            random_engine random(8);
            const double size = 1.0 / n;
            for (unsigned i = 0; i < 2000; ++i) {
                const double hole = 0.1 - 1.2 * size;
                EXPECT_TRUE(grid.rules_out(
                    {0.5 + hole * between(random, -1, 1), 0.5 + hole * between(random, -1, 1)}));
                const double beyond = size * between(random, 1.2, 50 * n);
                const double along = between(random, -2, 3);
                EXPECT_TRUE(grid.rules_out({-beyond, along}));
                EXPECT_TRUE(grid.rules_out({1 + beyond, along}));
                EXPECT_TRUE(grid.rules_out({along, -beyond}));
                EXPECT_TRUE(grid.rules_out({along, 1 + beyond}));
            }
        }
    }
}

/// A grid of points over a mesh and around it.
void for_each_point_around(const std::function<void(const point<2>&)>& use) {
    for (int i = -40; i <= 240; ++i)
        for (int j = -40; j <= 240; ++j) use({i / 200.0, j / 200.0});
}

TEST(CoveredGrid, DoesNotDependOnTheLeadingDimension) {
    for (const std::size_t rows : {3U, 4U}) {
        const mesh m = plate(40, rows);
        dense2D<double> wide(3, m.pos.cols, 9.0);
        mesh view;
        view.pos = wide.sub_matrix(1, 0, 2, m.pos.cols);
        for (std::size_t j = 0; j < m.pos.cols; ++j) std::copy_n(m.pos[j], 2, view.pos[j]);
        view.connect = m.connect;
        covered_grid four_by_four;
        covered_grid one_by_one;
        m.fill(four_by_four);
        view.fill(one_by_one);
        std::size_t ruled_out = 0;
        for_each_point_around([&](const point<2>& p) {
            EXPECT_EQ(four_by_four.rules_out(p), one_by_one.rules_out(p)) << p[0] << ' ' << p[1];
            ruled_out += one_by_one.rules_out(p) ? 1U : 0U;
        });
        EXPECT_GT(ruled_out, 30000U);
    }
}

TEST(CoveredGrid, KnowsNothingWithoutAMeshOrFarFromIt) {
    covered_grid grid;
    EXPECT_FALSE(grid.rules_out({0, 0}));
    grid.fill(dense2D<double>(2, 0), dense2D<unsigned>(), {0, 0}, {1, 1});
    EXPECT_FALSE(grid.rules_out({0, 0}));
    plate(20, 3).fill(grid);
    EXPECT_TRUE(grid.rules_out({3, 3}));
    for (const double far : {1e3, 1e50, 1e200, infinity, nan}) {
        EXPECT_FALSE(grid.rules_out({far, 0.5})) << far;
        EXPECT_FALSE(grid.rules_out({0.5, -far})) << far;
    }
}

bool rules_out_anything(const mesh& m) {
    covered_grid grid;
    m.fill(grid);
    bool any = false;
    for_each_point_around([&](const point<2>& p) { any = any || grid.rules_out(p); });
    return any;
}

TEST(CoveredGrid, RulesOutNothingOnceAnElementIsUnsound) {
    for (const std::size_t rows : {3U, 4U}) {
        const std::vector<std::vector<point<2>>> unsound = {
            {{0.1, 0.1}, {0.1, 0.2}, {0.2, 0.1}},          // clockwise
            {{0.1, 0.1}, {0.2, 0.2}, {0.3, 0.3}},          // flat
            {{0.1, 0.1}, {0.1, 0.1}, {0.2, 0.1}},          // two corners in one place
            {{0.1, 0.1}, {0.2, 0.1}, {0.15, 0.1 + 1e-10}}, // nearly flat
            {{0.1, 0.1}, {0.2, 0.1}, {nan, 0.2}},          {{0.1, 0.1}, {0.2, nan}, {0.1, 0.2}},
            {{0.1, 0.1}, {0.2, 0.1}, {0.1, infinity}},     {{0.1, 0.1}, {1e101, 0.1}, {0.1, 1e101}},
        };
        for (const auto& corners : unsound) {
            mesh m = plate(10, rows);
            EXPECT_TRUE(rules_out_anything(m));
            m.add(corners, rows);
            EXPECT_FALSE(rules_out_anything(m)) << corners[1][0];
        }
    }
    const std::vector<std::vector<point<2>>> quads = {
        {{0.1, 0.1}, {0.2, 0.2}, {0.2, 0.1}, {0.1, 0.2}}, // crosses itself
        {{0.1, 0.1},
         {0.2, 0.1},
         {0.2, 0.2},
         {0.2 - 1e-6, 0.2}},                              // a side of a 100000th of the others
        {{0.1, 0.1}, {0.1, 0.2}, {0.2, 0.2}, {0.2, 0.1}}, // clockwise
        {{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.2}, {0.1, nan}},
        {{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.1}, {0.1, 0.1}}, // two places
    };
    for (const auto& corners : quads) {
        mesh m = plate(10, 4);
        m.add(corners, 4);
        EXPECT_FALSE(rules_out_anything(m)) << corners[3][0];
    }
}

TEST(CoveredGrid, UnusualElementsThatAreSoundDoNotMatter) {
    const std::vector<std::vector<point<2>>> unusual = {
        {{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.2}, {0.199, 0.2}},             // a short side
        {{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.1}, {0.1, 0.2}},               // two corners in one place
        {{0.1, 0.1}, {0.2, 0.1}, {0.11, 0.11}, {0.1, 0.2}},             // an arrowhead
        {{0.1, 0.1}, {0.2, 0.1}, {0.15, 0.1 + 1e-5}},                   // flat
        {{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.1 + 1e-6}, {0.1, 0.1 + 1e-6}}, // a needle
        {{0.05, 0.05}, {0.95, 0.05}, {0.95, 0.06}, {0.05, 0.06}},       // a long one
    };
    for (const auto& corners : unusual) {
        mesh m = plate(10, 4);
        m.add(corners, 4);
        EXPECT_TRUE(rules_out_anything(m)) << corners[2][0];
        EXPECT_TRUE(expect_no_held_point_is_ruled_out(m, 5));
    }
}

/// Elements of which every `step`-th is small and the others are as asked for.
mesh overlapping(std::size_t n, std::size_t step,
                 const std::function<std::vector<point<2>>(random_engine&)>& others) {
    const auto small = [](random_engine& engine) -> std::vector<point<2>> {
        const double x = between(engine, 0, 1);
        return {{x, 0}, {x + 0.01, 0}, {x, 0.01}};
    };
    random_engine random(9);
    mesh m;
    m.pos.reserve(2, 3 * n);
    for (std::size_t e = 0; e < n; ++e) m.add(e % step == 0 ? small(random) : others(random), 3);
    return m;
}

TEST(CoveredGrid, LargeElementsAmongSmallOnesAreMarkedWhole) {
    const auto upright = [](random_engine& random) -> std::vector<point<2>> {
        const double x = between(random, 0, 1);
        return {{x, 0}, {x + 1e-3, 0}, {x, 1}};
    };
    const auto lying = [](random_engine& random) -> std::vector<point<2>> {
        const double y = between(random, 0, 0.5);
        return {{0, y}, {1, y}, {1, y + 1e-3}};
    };
    const auto large = [](random_engine& random) -> std::vector<point<2>> {
        const double x = between(random, 0, 0.3);
        return {{x, 0}, {x + 0.7, 0}, {x, 0.7}};
    };
    for (const std::size_t n : {100U, 1000U, 3000U}) {
        // The step of the sample, and one at which all kinds are in it.
        for (const std::size_t step : {n / 256 + 1, std::size_t{7}, n}) {
            for (const auto& others :
                 {std::function(upright), std::function(lying), std::function(large)}) {
                const mesh m = overlapping(n, step, others);
                covered_grid grid;
                m.fill(grid);
                EXPECT_TRUE(grid.rules_out({-5, 0.5}));
                EXPECT_TRUE(grid.rules_out({5, -4}));
                random_engine random(4);
                for (unsigned i = 0; i < 300; ++i) {
                    const point<2> p{between(random, -0.1, 1.1), between(random, -0.1, 1.1)};
                    EXPECT_FALSE(m.holds(p, covered_grid::most_tolerance) && grid.rules_out(p));
                }
            }
        }
    }
}

TEST(CoveredGrid, WithoutMemoryItRulesOutNothing) {
    const mesh m = plate(20, 3);
    std::size_t without = 0;
    zel_test::fail_each_allocation([&](std::size_t k) {
        covered_grid grid;
        zel_test::arm_allocator(k);
        m.fill(grid);
        zel_test::disarm_allocator();
        const bool knows = grid.rules_out({0.5, 0.5});
        without += knows ? 0U : 1U;
        EXPECT_EQ(knows, grid.rules_out({-2, 3}));
        EXPECT_FALSE(grid.rules_out({0.2, 0.2}));
    });
    EXPECT_GE(without, 2U);
}

} // namespace
