// SPDX-License-Identifier: Apache-2.0
#include "zel/host/locator.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "zel/host/adjacency.h"
#include "zel/tessel2d/location.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using zel::dense1D;
using zel::dense2D;
using zel::vector_fixed;
using zel::host::locator;
using zel::host::place;
using zel::host::source;
using zel::host::transfer_table;
using zel::tessel2d::get_element_containing_point;
using zel::tessel2d::interpolate;
using zel_test::column;
using zel_test::snapshot;
using zel_test::values;

constexpr unsigned none = 0xFFFFFFFFu;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

enum class kind { triangles, quads, mixed };

/// n x n jittered squares with a hole, cut as asked for.
mesh grid(unsigned n, kind cut, unsigned seed = 1) {
    std::mt19937 random(seed);
    mesh m;
    m.pos.resize(2, std::size_t{n + 1} * (n + 1));
    for (unsigned i = 0; i <= n; ++i) {
        for (unsigned j = 0; j <= n; ++j) {
            m.pos(0, i * (n + 1) + j) = j + static_cast<int>(random() % 100) * 0.003;
            m.pos(1, i * (n + 1) + j) = i + static_cast<int>(random() % 100) * 0.003;
        }
    }
    for (unsigned s = 0; s < n * n; ++s) {
        if (n > 4 && s / n == n / 2 && s % n == n / 2) continue;
        const unsigned a = s / n * (n + 1) + s % n;
        const unsigned quad[4] = {a, a + 1, a + n + 2, a + n + 1};
        const unsigned halves[2][4] = {{quad[0], quad[1], quad[2], none},
                                       {quad[0], quad[2], quad[3], none}};
        for (const auto& half : halves) {
            if (cut == kind::triangles) push_back_column3(half, m.connect);
            if (cut == kind::mixed && s % 3 == 0) push_back_column4(half, m.connect);
        }
        if (cut == kind::quads || (cut == kind::mixed && s % 3 != 0))
            push_back_column4(quad, m.connect);
    }
    return m;
}

zel::element_type type_of(const mesh& m) {
    return m.connect.rows == 3 ? zel::ELEMENT_T3 : zel::ELEMENT_FACE;
}

/// Points in and around the grid, on nodes and edges too, and some that are nowhere.
dense2D<double> points_around(const mesh& m, std::size_t n, double size, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> anywhere(-0.2 * size, 1.2 * size);
    dense2D<double> points(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < 2; ++i) points(i, j) = anywhere(random);
        const double* const a = m.pos[random() % m.pos.cols];
        const double* const b = m.pos[random() % m.pos.cols];
        if (j % 7 == 0) std::copy_n(a, 2, points[j]);
        if (j % 11 == 0)
            for (std::size_t i = 0; i < 2; ++i) points(i, j) = (a[i] + b[i]) / 2;
        if (j % 97 == 0) points(j % 2, j) = nan;
        if (j % 101 == 0) points(j % 2, j) = std::numeric_limits<double>::infinity();
        if (j % 103 == 0) points(j % 2, j) = 1e300;
    }
    return points;
}

struct batch {
    dense1D<unsigned, 8> elements;
    dense2D<double> weights;
    dense1D<unsigned, 8> places;
};

batch located(const locator& at, const dense2D<double>& points, unsigned threads = 1) {
    batch b;
    EXPECT_EQ(0, at.locate(points, b.elements, b.weights, b.places, 1e-6, threads));
    return b;
}

class LocatorOnMeshes : public testing::TestWithParam<kind> {};
INSTANTIATE_TEST_SUITE_P(Shapes, LocatorOnMeshes,
                         testing::Values(kind::triangles, kind::quads, kind::mixed));

TEST_P(LocatorOnMeshes, FindsWhatThePublicSearchFinds) {
    for (const double tolerance : {1e-6, 0.0, 0.1, -0.01, nan}) {
        const mesh m = grid(9, GetParam());
        zel::host::adjacency beside;
        ASSERT_EQ(0, build_adjacency(m.connect, m.pos.cols, beside));
        const zel::tessel::node_detector detector(m.pos);
        locator at;
        ASSERT_EQ(0, at.build(m.pos, m.connect));
        const dense2D<double> points = points_around(m, 6000, 9, 3);
        batch all;
        ASSERT_EQ(0, at.locate(points, all.elements, all.weights, all.places, tolerance));
        for (std::size_t j = 0; j < points.cols; ++j) {
            const vector_fixed<double, 2> p{points(0, j), points(1, j)};
            unsigned expected;
            unsigned single;
            const int status =
                get_element_containing_point(m.pos, m.connect, beside.neighbors, beside.ancestors,
                                             detector, type_of(m), p, expected, tolerance);
            ASSERT_EQ(status, at.locate(p, single, tolerance)) << "point " << j;
            ASSERT_EQ(expected, single);
            ASSERT_EQ(expected, all.elements[j]);
            ASSERT_EQ(status == 1 ? 0u : status == 0 ? 1u : 2u, all.places[j]);
        }
    }
}

TEST_P(LocatorOnMeshes, WeightsGiveThePointBack) {
    const mesh m = grid(9, GetParam());
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    const dense2D<double> points = points_around(m, 2000, 9, 4);
    const batch b = located(at, points);
    ASSERT_EQ(m.connect.rows, b.weights.rows);
    std::size_t inside = 0;
    for (std::size_t j = 0; j < points.cols; ++j) {
        double sum = 0;
        double p[2] = {0, 0};
        for (std::size_t i = 0; i < b.weights.rows; ++i) {
            const double w = b.weights(i, j);
            sum += w;
            if (b.places[j] != 0 || w == 0) continue;
            for (std::size_t k = 0; k < 2; ++k) p[k] += w * m.pos(k, m.connect(i, b.elements[j]));
        }
        if (b.places[j] != 0) {
            EXPECT_EQ(0, sum);
            continue;
        }
        ++inside;
        EXPECT_NEAR(1, sum, 1e-14);
        EXPECT_NEAR(points(0, j), p[0], 1e-12);
        EXPECT_NEAR(points(1, j), p[1], 1e-12);
    }
    EXPECT_GT(inside, 500u);
}

/// Carries fields onto points and compares with `interpolate` to the bit. `count` gets the number of points of
/// each kind of source.
void expect_interpolated(const mesh& m, zel::host::adjacency beside, const dense2D<double>& points,
                         std::size_t (&count)[3]) {
    // The points as nodes behind those of the mesh.
    const std::size_t nodes = m.pos.cols;
    dense2D<double> pos;
    ASSERT_TRUE(pos.copy(m.pos) && pos.resize(2, nodes + points.cols));
    dense1D<unsigned, 8> orphans(points.cols);
    for (std::size_t j = 0; j < points.cols; ++j) {
        std::copy_n(points[j], 2, pos[nodes + j]);
        orphans[j] = static_cast<unsigned>(nodes + j);
    }
    zel::host::adjacency mesh_side;
    ASSERT_TRUE(mesh_side.neighbors.copy(beside.neighbors));
    ASSERT_TRUE(mesh_side.ancestors.resize(nodes));
    std::copy_n(beside.ancestors.data(), nodes, mesh_side.ancestors.data());
    ASSERT_TRUE(beside.ancestors.resize(pos.cols, none));
    dense2D<double> field(3, pos.cols);
    dense1D<double, 8> scalar(pos.cols);
    std::mt19937 random(6);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        for (std::size_t i = 0; i < 3; ++i)
            field(i, j) = j < nodes ? static_cast<double>(random()) * 1e-9 : -77.0;
        scalar[j] = field(1, j);
    }
    dense2D<double> mesh_field;
    ASSERT_TRUE(mesh_field.copy(field) && mesh_field.resize(3, nodes));
    dense1D<double, 8> mesh_scalar(nodes);
    std::copy_n(scalar.data(), nodes, mesh_scalar.data());
    ASSERT_EQ(0, interpolate(pos, m.connect, beside.neighbors, beside.ancestors, field, orphans,
                             type_of(m)));
    ASSERT_EQ(0, interpolate(pos, m.connect, beside.neighbors, beside.ancestors, scalar, orphans,
                             type_of(m)));

    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect, mesh_side.neighbors, mesh_side.ancestors));
    transfer_table table;
    ASSERT_EQ(0, at.transfer(points, table));
    dense2D<double> carried;
    dense1D<double, 8> carried_scalar;
    ASSERT_EQ(0, at.carry(table, mesh_field, carried, -77.0));
    ASSERT_EQ(0, at.carry(table, mesh_scalar, carried_scalar, -77.0));
    for (std::size_t j = 0; j < points.cols; ++j) {
        for (std::size_t i = 0; i < 3; ++i)
            ASSERT_EQ(zel_test::bits(field(i, nodes + j)), zel_test::bits(carried(i, j)))
                << "point " << j;
        ASSERT_EQ(zel_test::bits(scalar[nodes + j]), zel_test::bits(carried_scalar[j]));
        ASSERT_EQ(table.states[j] == 2, carried_scalar[j] == -77.0);
        ++count[table.states[j]];
    }
}

TEST_P(LocatorOnMeshes, CarriesWhatInterpolateCarries) {
    const mesh m = grid(9, GetParam());
    zel::host::adjacency beside;
    ASSERT_EQ(0, build_adjacency(m.connect, m.pos.cols, beside));
    std::size_t count[3] = {0, 0, 0};
    expect_interpolated(m, beside, points_around(m, 6000, 9, 5), count);
    for (const std::size_t c : count) EXPECT_GT(c, 20u); // each kind has come up
}

TEST_P(LocatorOnMeshes, ThreadsChangeNothing) {
    const mesh m = grid(30, GetParam());
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    for (const std::size_t n : {std::size_t{1}, std::size_t{300}, std::size_t{5003}}) {
        const dense2D<double> points = points_around(m, n, 30, 7);
        const batch one = located(at, points);
        transfer_table alone;
        ASSERT_EQ(0, at.transfer(points, alone));
        for (const unsigned threads : {0u, 2u, 3u, 8u, 4000000000u}) {
            const batch more = located(at, points, threads);
            EXPECT_EQ(snapshot(one.elements, one.weights, one.places),
                      snapshot(more.elements, more.weights, more.places));
            transfer_table shared;
            ASSERT_EQ(0, at.transfer(points, shared, threads));
            EXPECT_EQ(snapshot(alone.states, alone.elements, alone.local),
                      snapshot(shared.states, shared.elements, shared.local));
        }
    }
}

// ----------------------------------------------------------------- meshes of all kinds, and points at their rims

/// A mesh that is small or not usual, and how far it reaches.
struct unusual_mesh {
    const char* name;
    mesh m;
    zel::host::adjacency beside;
};

void add_element(mesh& m, const std::vector<vector_fixed<double, 2>>& corners, std::size_t rows) {
    unsigned column[4] = {none, none, none, none};
    for (std::size_t k = 0; k < corners.size(); ++k) {
        column[k] = static_cast<unsigned>(m.pos.cols);
        ASSERT_TRUE(m.pos.resize(2, m.pos.cols + 1));
        std::copy_n(corners[k].begin(), 2, m.pos[m.pos.cols - 1]);
    }
    if (rows == 3) {
        push_back_column3(column, m.connect);
    } else {
        push_back_column4(column, m.connect);
    }
}

/// The grid with each coordinate k scaled and moved.
mesh scaled_grid(kind cut, double scale_x, double scale_y, double shift) {
    mesh m = grid(9, cut);
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        m.pos(0, j) = m.pos(0, j) * scale_x + shift;
        m.pos(1, j) = m.pos(1, j) * scale_y + shift;
    }
    return m;
}

mesh grid_with(kind cut, const std::vector<vector_fixed<double, 2>>& corners) {
    mesh m = grid(9, cut);
    add_element(m, corners, m.connect.rows);
    return m;
}

std::vector<unusual_mesh> unusual_meshes() {
    std::vector<unusual_mesh> all;
    const auto add = [&all](const char* name, mesh&& m) {
        all.push_back({name, std::move(m), {}});
        ASSERT_EQ(0,
                  build_adjacency(all.back().m.connect, all.back().m.pos.cols, all.back().beside));
    };
    for (const kind cut : {kind::triangles, kind::quads, kind::mixed}) {
        const std::size_t rows = cut == kind::triangles ? 3 : 4;
        add("a grid with a hole", grid(9, cut));
        add("a tiny one", scaled_grid(cut, 1e-150, 1e-150, 0));
        add("a small one", scaled_grid(cut, 1e-90, 1e-90, 0));
        add("a huge one", scaled_grid(cut, 1e150, 1e150, 0));
        add("a large one", scaled_grid(cut, 1e90, 1e90, 0));
        add("far from the origin", scaled_grid(cut, 1, 1, 1e9));
        add("so far that corners fall together", scaled_grid(cut, 1, 1, 1e15));
        add("upright needles", scaled_grid(cut, 1e-5, 1, 0));
        add("lying needles", scaled_grid(cut, 1, 1e-8, 0));
        add("hairs", scaled_grid(cut, 1, 1e-12, 0));
        mesh one;
        one.pos.resize(2, 0);
        add_element(one, {{0, 0}, {1, 0.2}, {0.3, 0.9}}, rows);
        add("one triangle", std::move(one));
        for (const double height : {1e-3, 1e-6, 2e-7, 1e-7, 1e-9, 1e-12, 1e-15, 0.0, -1e-3})
            add("with a sliver", grid_with(cut, {{11, 1}, {13, 2}, {12, 1.5 + height}}));
        add("with a clockwise triangle", grid_with(cut, {{11, 1}, {11, 2}, {12, 1}}));
        add("with a NaN", grid_with(cut, {{11, 1}, {12, nan}, {11, 2}}));
        mesh unnamed = grid(9, cut);
        unnamed.pos.resize(2, unnamed.pos.cols + 2, nan);
        add("with nodes that no element names", std::move(unnamed));
        mesh clockwise = grid(9, cut);
        for (std::size_t j = 0; j < clockwise.pos.cols; ++j) clockwise.pos(0, j) *= -1;
        add("clockwise", std::move(clockwise));
        // Elements far apart that no walk leads to.
        mesh spread = grid(5, cut);
        for (unsigned i = 0; i < 30; ++i)
            add_element(spread, {{7.0 + i, 1}, {7.5 + i, 1.3}, {7.1 + i, 1.8}}, rows);
        add("in pieces", std::move(spread));
        for (const unsigned seed : {1U, 2U}) {
            add("with a wrong adjacency", grid(9, cut));
            std::mt19937 random(seed);
            const auto elements = static_cast<unsigned>(all.back().m.connect.cols);
            for (unsigned& f : all.back().beside.neighbors)
                if (random() % 5 == 0)
                    f = random() % 2 == 0 ? none : static_cast<unsigned>(random() % elements);
            for (unsigned& e : all.back().beside.ancestors)
                if (random() % 5 == 0)
                    e = random() % 2 == 0 ? none : static_cast<unsigned>(random() % elements);
        }
    }
    const std::vector<std::vector<vector_fixed<double, 2>>> quads = {
        {{11, 1}, {13, 1}, {11.2, 1.2}, {11, 3}},          // an arrowhead
        {{11, 1}, {13, 1}, {11.0001, 1.0001}, {11, 3}},    // a sharp one
        {{11, 1}, {13, 1}, {13, 1}, {11, 3}},              // two corners in one place
        {{11, 1}, {13, 1}, {11.001, 3}, {11, 3}},          // a short side
        {{11, 1}, {13, 1}, {11.000001, 3}, {11, 3}},       // a shorter one
        {{11, 1}, {12, 3}, {13, 1}, {11, 3}},              // crosses itself
        {{11, 1}, {13, 1}, {13, 1.000001}, {11, 1.000001}} // a needle
    };
    for (const auto& corners : quads)
        add("with an odd quadrilateral", grid_with(kind::mixed, corners));
    return all;
}

/// Points around a mesh, at and near the edges of its elements, and far away.
dense2D<double> points_at_rims(const mesh& m, std::size_t n, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    double low[2] = {1e300, 1e300};
    double high[2] = {-1e300, -1e300};
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        for (std::size_t k = 0; k < 2; ++k) {
            if (m.pos(k, j) < low[k]) low[k] = m.pos(k, j);
            if (m.pos(k, j) > high[k]) high[k] = m.pos(k, j);
        }
    }
    constexpr double shares[] = {0, 1e-6, 1e-4, 1e-3, 0.5};
    constexpr double steps[] = {-1.001, -0.999, 0.5, 0.999, 1.001};
    dense2D<double> points(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        const double wide = j % 3 == 0 ? 100 : 0.3;
        for (std::size_t k = 0; k < 2; ++k)
            points(k, j) = low[k] + (high[k] - low[k]) * ((1 + 2 * wide) * unit(random) - wide);
        const unsigned* const cell = m.connect[random() % m.connect.cols];
        const std::size_t corners = m.connect.rows == 3 || cell[3] == none ? 3 : 4;
        const std::size_t i = random() % corners;
        const double* const a = m.pos[cell[i]];
        const double* const b = m.pos[cell[(i + 1) % corners]];
        const double* const c = m.pos[cell[(i + 2) % corners]];
        if (j % 2 == 0) {
            // In a triangle d = 1 at c, so this is that share of the doubled area beyond the edge.
            const double out = shares[random() % 5] * steps[random() % 5];
            const double t = j % 4 == 0 ? unit(random) : static_cast<double>(random() % 2);
            for (std::size_t k = 0; k < 2; ++k) {
                const double at = a[k] + t * (b[k] - a[k]);
                points(k, j) = at - out * (c[k] - at);
            }
        }
        if (j % 97 == 0) points(j % 2, j) = nan;
        if (j % 101 == 0) points(j % 2, j) = std::numeric_limits<double>::infinity();
        if (j % 103 == 0) points(j % 2, j) = 1e300;
    }
    return points;
}

TEST(LocatorOnUnusualMeshes, FindsWhatThePublicSearchFinds) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const unusual_mesh& u : unusual_meshes()) {
        SCOPED_TRACE(u.name);
        const zel::tessel::node_detector detector(u.m.pos);
        locator at;
        ASSERT_EQ(0, at.build(u.m.pos, u.m.connect, u.beside.neighbors, u.beside.ancestors));
        for (const double tolerance :
             {1e-6, 0.0, 1e-4, 1.0001e-4, 1e-3, 0.5, -0.01, nan, infinity, -infinity}) {
            const dense2D<double> points = points_at_rims(u.m, 150, 3);
            batch all;
            ASSERT_EQ(0, at.locate(points, all.elements, all.weights, all.places, tolerance));
            for (std::size_t j = 0; j < points.cols; ++j) {
                const vector_fixed<double, 2> p{points(0, j), points(1, j)};
                unsigned expected;
                unsigned single;
                const int status = get_element_containing_point(
                    u.m.pos, u.m.connect, u.beside.neighbors, u.beside.ancestors, detector,
                    type_of(u.m), p, expected, tolerance);
                ASSERT_EQ(status, at.locate(p, single, tolerance))
                    << p[0] << ' ' << p[1] << " tolerance " << tolerance;
                ASSERT_EQ(expected, single);
                ASSERT_EQ(expected, all.elements[j]);
                ASSERT_EQ(status == 1 ? 0u : status == 0 ? 1u : 2u, all.places[j]);
            }
        }
    }
}

TEST(LocatorOnUnusualMeshes, CarriesWhatInterpolateCarries) {
    std::size_t count[3] = {0, 0, 0};
    for (const unusual_mesh& u : unusual_meshes()) {
        SCOPED_TRACE(u.name);
        expect_interpolated(u.m, u.beside, points_at_rims(u.m, 700, 5), count);
        if (testing::Test::HasFatalFailure()) return;
    }
    for (const std::size_t c : count) EXPECT_GT(c, 1000u);
}

TEST(Locator, PointsInHolesAndFarAwayAreOutsideInBatchesOfAnySize) {
    const mesh m = grid(40, kind::triangles);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    for (const std::size_t n : {std::size_t{1}, std::size_t{17}, std::size_t{5000}}) {
        for (const std::size_t inside : {std::size_t{0}, std::size_t{1}, n / 2}) {
            dense2D<double> points(2, n, 20.75);
            for (std::size_t j = 0; j < n; ++j) {
                if (j % 3 == 0) points(j % 2, j) = -3.0 - static_cast<double>(j);
                if (j < inside) points(0, j) = points(1, j) = 3.3;
            }
            const batch b = located(at, points, 2);
            for (std::size_t j = 0; j < n; ++j) {
                EXPECT_EQ(j < inside ? 0u : 1u, b.places[j]);
                EXPECT_EQ(j < inside, b.elements[j] != none);
                EXPECT_EQ(j < inside ? 1 : 0, b.weights(0, j) + b.weights(1, j) + b.weights(2, j));
            }
        }
    }
}

TEST(Locator, ManyThreadsMayAskAtOnce) {
    const mesh m = grid(12, kind::mixed);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    const dense2D<double> points = points_around(m, 1000, 12, 8);
    const batch expected = located(at, points);
    std::vector<int> wrong(4, 0);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            const double* const coordinates = points.data();
            for (std::size_t j = 0; j < points.cols; ++j) {
                unsigned element;
                at.locate({coordinates[2 * j], coordinates[2 * j + 1]}, element);
                wrong[t] += element != expected.elements.data()[j];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(wrong, ElementsAre(0, 0, 0, 0));
}

TEST(Locator, KeepsNothingOfItsArguments) {
    mesh m = grid(5, kind::triangles);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    unsigned before;
    ASSERT_EQ(1, at.locate({1.3, 3.2}, before));
    for (double& x : m.pos) x = nan;
    for (unsigned& node : m.connect) node = none;
    unsigned after;
    EXPECT_EQ(1, at.locate({1.3, 3.2}, after));
    EXPECT_EQ(before, after);
    locator moved(std::move(at));
    EXPECT_EQ(1, moved.locate({1.3, 3.2}, after));
    at = std::move(moved);
    EXPECT_EQ(1, at.locate({1.3, 3.2}, after));
}

TEST(Locator, AMeshWithoutFiniteNodesBesideFiniteOnesIsNoLackOfMemory) {
    dense2D<double> pos(2, 4, std::nan(""));
    pos(0, 3) = pos(1, 3) = 1;
    dense2D<unsigned> triangle(3, 1);
    for (unsigned i = 0; i < 3; ++i) triangle(i, 0) = i;
    locator found;
    EXPECT_EQ(0, found.build(pos, triangle));
}

TEST(Locator, AMeshWithoutAnyFiniteNodeIsNoLackOfMemory) {
    const double infinity = std::numeric_limits<double>::infinity();
    dense2D<unsigned> triangle(3, 1);
    for (unsigned i = 0; i < 3; ++i) triangle(i, 0) = i;
    for (const vector_fixed<double, 2>& p :
         {vector_fixed<double, 2>{nan, nan}, {1, infinity}, {-infinity, 1}}) {
        dense2D<double> pos(2, 3);
        for (std::size_t j = 0; j < 3; ++j) std::copy_n(p.begin(), 2, pos[j]);
        locator found;
        EXPECT_EQ(0, found.build(pos, triangle));
        unsigned element = 7;
        EXPECT_EQ(0, found.locate({1, 1}, element));
        EXPECT_EQ(none, element);
    }
}

TEST(Locator, WithoutAMeshNothingIsInside) {
    locator at;
    const auto expect_nothing = [&] {
        unsigned element = 3;
        EXPECT_EQ(0, at.locate({0, 0}, element));
        EXPECT_EQ(none, element);
        const batch b = located(at, dense2D<double>(2, 2, 0.0));
        EXPECT_THAT(values(b.elements), ElementsAre(none, none));
        EXPECT_THAT(values(b.places), ElementsAre(1, 1));
        transfer_table table;
        EXPECT_EQ(0, at.transfer(dense2D<double>(2, 2, 0.0), table));
        EXPECT_THAT(values(table.states), ElementsAre(2, 2));
        dense1D<double, 8> carried;
        EXPECT_EQ(0, at.carry(table, dense1D<double, 8>(), carried));
        ASSERT_EQ(2u, carried.size);
        EXPECT_TRUE(std::isnan(carried[0]) && std::isnan(carried[1]));
    };
    expect_nothing();
    ASSERT_EQ(0, at.build(dense2D<double>(2, 0), dense2D<unsigned>()));
    expect_nothing();
    ASSERT_EQ(0, at.build(dense2D<double>(2, 0), dense2D<unsigned>(4, 0)));
    expect_nothing();
}

TEST(Locator, ColumnsWithoutRowsAreNoElements) {
    dense2D<double> pos(2, 3, 0.0);
    pos(0, 1) = pos(1, 2) = 1;
    // The ancestors name these columns, which hold no numbers.
    locator at;
    ASSERT_EQ(0, at.build(pos, dense2D<unsigned>(0, 5), dense2D<unsigned>(0, 5),
                          dense1D<unsigned, 8>(3, 4u)));
    unsigned element = 3;
    EXPECT_EQ(0, at.locate({0.25, 0.25}, element));
    EXPECT_EQ(none, element);
    const batch b = located(at, dense2D<double>(2, 2, 0.25));
    EXPECT_THAT(values(b.elements), ElementsAre(none, none));
    EXPECT_THAT(values(b.places), ElementsAre(1, 1));
    transfer_table table;
    ASSERT_EQ(0, at.transfer(dense2D<double>(2, 2, 0.25), table));
    EXPECT_THAT(values(table.states), ElementsAre(2, 2));
    table.states[1] = static_cast<unsigned>(source::inside);
    table.elements[1] = 4;
    dense1D<double, 8> carried(1, 9.0);
    EXPECT_EQ(-1, at.carry(table, dense1D<double, 8>(3, 1.0), carried));
    EXPECT_EQ(1u, carried.size);
}

TEST(Locator, DegenerateElementsAreToldFromNothing) {
    mesh m;
    m.pos = dense2D<double>(2, 3, 0.0);
    m.pos(0, 1) = m.pos(0, 2) = 1;
    m.pos(1, 2) = 1;
    const unsigned clockwise[2][3] = {{0, 2, 1}, {0, 2, 1}};
    for (const auto& c : clockwise) push_back_column3(c, m.connect);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    unsigned element;
    EXPECT_EQ(-1, at.locate({0.6, 0.3}, element));
    dense2D<double> point(2, 1, 0.5);
    EXPECT_THAT(values(located(at, point).places),
                ElementsAre(static_cast<unsigned>(place::degenerate)));
}

TEST(Locator, ViewsWithALargerLeadingDimension) {
    const mesh m = grid(6, kind::mixed);
    dense2D<double> wide(5, m.pos.cols + 1, 9.0);
    dense2D<double> pos = wide.sub_matrix(2, 1, 2, m.pos.cols);
    for (std::size_t j = 0; j < pos.cols; ++j) std::copy_n(m.pos[j], 2, pos[j]);
    dense2D<unsigned> tall(6, m.connect.cols + 2, 9u);
    dense2D<unsigned> connect = tall.sub_matrix(1, 2, 4, m.connect.cols);
    for (std::size_t j = 0; j < connect.cols; ++j) std::copy_n(m.connect[j], 4, connect[j]);
    const dense2D<double> plain = points_around(m, 500, 6, 9);
    dense2D<double> around(4, plain.cols + 1, 1.0);
    dense2D<double> points = around.sub_matrix(1, 1, 2, plain.cols);
    for (std::size_t j = 0; j < points.cols; ++j) std::copy_n(plain[j], 2, points[j]);
    locator a;
    locator b;
    ASSERT_EQ(0, a.build(m.pos, m.connect));
    ASSERT_EQ(0, b.build(pos, connect));
    const batch expected = located(a, plain);
    const batch found = located(b, points);
    EXPECT_EQ(snapshot(expected.elements, expected.weights, expected.places),
              snapshot(found.elements, found.weights, found.places));
}

TEST(LocatorStatus, UnusableArgumentsLeaveEverythingAsItWas) {
    const mesh m = grid(3, kind::quads);
    zel::host::adjacency beside;
    ASSERT_EQ(0, build_adjacency(m.connect, m.pos.cols, beside));
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect, beside.neighbors, beside.ancestors));
    EXPECT_EQ(-1, at.build(dense2D<double>(3, 16, 0.0), m.connect));
    EXPECT_EQ(-2, at.build(dense2D<double>(2, 15, 0.0), m.connect));
    EXPECT_EQ(-2, at.build(m.pos, dense2D<unsigned>(2, 1, 0u)));
    EXPECT_EQ(-2, at.build(m.pos, dense2D<unsigned>(6, 1, 0u)));
    EXPECT_EQ(-1,
              at.build(dense2D<double>(3, 16, 0.0), m.connect, beside.neighbors, beside.ancestors));
    EXPECT_EQ(-2,
              at.build(dense2D<double>(2, 15, 0.0), m.connect, beside.neighbors, beside.ancestors));
    EXPECT_EQ(-3, at.build(m.pos, m.connect, dense2D<unsigned>(4, 1, none), beside.ancestors));
    EXPECT_EQ(-3, at.build(m.pos, m.connect, dense2D<unsigned>(4, 9, 9u), beside.ancestors));
    EXPECT_EQ(-4, at.build(m.pos, m.connect, beside.neighbors, dense1D<unsigned, 8>(15, 0u)));
    unsigned element;
    EXPECT_EQ(1, at.locate({1.5, 1.5}, element));

    batch b = located(at, dense2D<double>(2, 2, 1.0));
    const auto before = snapshot(b.elements, b.weights, b.places);
    EXPECT_EQ(-1, at.locate(dense2D<double>(3, 2, 1.0), b.elements, b.weights, b.places));
    EXPECT_EQ(before, snapshot(b.elements, b.weights, b.places));
    transfer_table table;
    EXPECT_EQ(-1, at.transfer(dense2D<double>(1, 2, 1.0), table));
    ASSERT_EQ(0, at.transfer(dense2D<double>(2, 2, 1.5), table));
    dense2D<double> values2(1, 1, 7.0);
    dense1D<double, 8> values1(1, 7.0);
    EXPECT_EQ(-2, at.carry(table, dense2D<double>(2, 15, 0.0), values2));
    EXPECT_EQ(-2, at.carry(table, dense1D<double, 8>(17, 0.0), values1));
    table.elements[0] = 9;
    EXPECT_EQ(-1, at.carry(table, dense2D<double>(2, 16, 0.0), values2));
    table.states[0] = static_cast<unsigned>(source::nearest);
    table.elements[0] = 16;
    EXPECT_EQ(-1, at.carry(table, dense1D<double, 8>(16, 0.0), values1));
    table.states[0] = 3;
    EXPECT_EQ(-1, at.carry(table, dense1D<double, 8>(16, 0.0), values1));
    table.states.resize(1);
    EXPECT_EQ(-1, at.carry(table, dense1D<double, 8>(16, 0.0), values1));
    EXPECT_EQ(7.0, values1[0]);
    EXPECT_EQ(7.0, values2(0, 0));
}

TEST(LocatorStatus, PointsAndTablesWithoutColumnsNeedNoRows) {
    const mesh m = grid(2, kind::triangles);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    transfer_table table;
    EXPECT_EQ(0, at.transfer(dense2D<double>(), table));
    EXPECT_EQ(-1, at.transfer(dense2D<double>(3, 0), table));
    EXPECT_EQ(-1, at.transfer(dense2D<double>(0, 2), table));
    table.local = dense2D<double>();
    dense1D<double, 8> values1(1, 7.0);
    EXPECT_EQ(0, at.carry(table, dense1D<double, 8>(m.pos.cols, 1.0), values1));
    EXPECT_EQ(0U, values1.size);
}

TEST(LocatorStatus, TablesWhosePartsDoNotFitOneAnotherAreRefused) {
    const mesh m = grid(2, kind::triangles);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    const dense1D<double, 8> field(m.pos.cols, 1.0);
    dense1D<double, 8> values1(1, 7.0);
    const auto status_with = [&](auto spoil) {
        transfer_table table;
        EXPECT_EQ(0, at.transfer(dense2D<double>(2, 3, 0.5), table));
        spoil(table);
        return at.carry(table, field, values1);
    };
    EXPECT_EQ(-1, status_with([](transfer_table& t) { t.elements.resize(2); }));
    EXPECT_EQ(-1, status_with([](transfer_table& t) { t.local.resize(2, 2); }));
    EXPECT_EQ(-1, status_with([](transfer_table& t) { t.local.resize(1, 3); }));
    EXPECT_EQ(-1, status_with([](transfer_table& t) { t.local.resize(3, 3); }));
    EXPECT_EQ(7.0, values1[0]);
    EXPECT_EQ(0, status_with([](transfer_table&) {}));
}

TEST(LocatorStatus, AFieldOfALocatorWithoutAMeshHasNoColumns) {
    const locator at;
    transfer_table table;
    ASSERT_EQ(0, at.transfer(dense2D<double>(2, 2, 0.5), table));
    dense2D<double> carried(1, 1, 7.0);
    EXPECT_EQ(-2, at.carry(table, dense2D<double>(1, 1, 0.0), carried));
    EXPECT_EQ(7.0, carried(0, 0));
    EXPECT_EQ(0, at.carry(table, dense2D<double>(1, 0), carried));
    EXPECT_EQ(2U, carried.cols);
}

TEST(LocatorStatus, ConnectivityOfOtherHeightsIsRefusedBesideNeighborsToo) {
    const mesh m = grid(2, kind::triangles);
    zel::host::adjacency beside;
    ASSERT_EQ(0, build_adjacency(m.connect, m.pos.cols, beside));
    locator at;
    for (const std::size_t rows : {1U, 2U, 5U, 6U}) {
        const dense2D<unsigned> other(rows, m.connect.cols, 0U);
        EXPECT_EQ(-2, at.build(m.pos, other, beside.neighbors, beside.ancestors)) << rows;
    }
}

TEST(LocatorStatus, ExhaustedMemoryIsReportedAndTheFormerMeshStays) {
    const mesh first = grid(2, kind::quads);
    const mesh second = grid(6, kind::triangles);
    zel_test::fail_each_allocation([&](std::size_t k) {
        locator at;
        ASSERT_EQ(0, at.build(first.pos, first.connect));
        zel_test::arm_allocator(k);
        const int status = at.build(second.pos, second.connect);
        zel_test::disarm_allocator();
        unsigned element;
        if (status == -199) {
            EXPECT_EQ(0, at.locate({4.5, 4.5}, element));
            EXPECT_EQ(1, at.locate({0.6, 0.7}, element));
        } else {
            EXPECT_EQ(0, status);
            EXPECT_EQ(1, at.locate({4.5, 4.5}, element));
        }
    });
}

TEST(LocatorStatus, ExhaustedMemoryLeavesOutputsAsTheyWere) {
    const mesh m = grid(6, kind::mixed);
    locator at;
    ASSERT_EQ(0, at.build(m.pos, m.connect));
    dense2D<double> points(2, 5000, 1.7);
    const dense1D<double, 8> field(m.pos.cols, 2.5);
    const batch whole = located(at, points);
    zel_test::fail_each_allocation([&](std::size_t k) {
        batch b{dense1D<unsigned, 8>(2, 1u), dense2D<double>(2, 2, 2.0),
                dense1D<unsigned, 8>(2, 3u)};
        const auto before = snapshot(b.elements, b.weights, b.places);
        zel_test::arm_allocator(k);
        const int status = at.locate(points, b.elements, b.weights, b.places);
        zel_test::disarm_allocator();
        EXPECT_EQ(status == -199 ? before : snapshot(whole.elements, whole.weights, whole.places),
                  snapshot(b.elements, b.weights, b.places));
    });
    zel_test::fail_each_allocation([&](std::size_t k) {
        transfer_table table;
        dense1D<double, 8> carried(1, 9.0);
        zel_test::arm_allocator(k);
        const int status = at.transfer(points, table);
        const int then = status == 0 ? at.carry(table, field, carried) : -199;
        zel_test::disarm_allocator();
        if (status == -199) {
            EXPECT_TRUE(table.states.empty());
        }
        if (then == 0) {
            EXPECT_EQ(2.5, carried[4999]);
        } else {
            EXPECT_EQ(-199, then);
            EXPECT_EQ(1u, carried.size);
        }
    });
}

} // namespace
