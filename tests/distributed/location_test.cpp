// SPDX-License-Identifier: Apache-2.0
#include "zel/distributed/location.h"

#include "distributed/support.h"

#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"
#include "zel/host/locator.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;
using host::source;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

using points_2d = tessel2d::points_view<2>;

unsigned corners_of(const whole_mesh& mesh, std::size_t e) {
    return mesh.connect.rows == 3 || mesh.connect(3, e) == no_node ? 3 : 4;
}

// By the sides alone, without a box.
bool holds(const whole_mesh& mesh, std::size_t e, const double* p, double tolerance) {
    const points_2d pos(mesh.pos);
    const unsigned* const n = mesh.connect[e];
    const unsigned corners = corners_of(mesh, e);
    const double size = corners == 3 ? tessel2d::triangle_double_area(pos, n[0], n[1], n[2])
                                     : tessel2d::quad_double_area(pos, n[0], n[1], n[2], n[3]);
    if (!(size > 0) || !std::isfinite(size)) return false;
    for (unsigned i = 0; i < corners; ++i)
        if (!(tessel2d::triangle_double_area<2>(pos[n[i]], pos[n[(i + 1) % corners]],
                                                {p[0], p[1]}) >= -(size * tolerance)))
            return false;
    return true;
}

struct answer {
    source from = source::unserved;
    number what = no_number;
};

// The rule, by a look at all elements and nodes. Distances are exact where coordinates are small multiples of 1/64.
answer by_the_rule(const whole_mesh& mesh, const double* p, double tolerance) {
    if (!std::isfinite(p[0]) || !std::isfinite(p[1])) return {};
    double low[2] = {infinity, infinity}, high[2] = {-infinity, -infinity};
    answer nearest{source::nearest, no_number};
    double least = infinity;
    for (std::size_t e = 0; e < mesh.connect.cols; ++e) {
        if (holds(mesh, e, p, tolerance)) return {source::inside, e};
        for (unsigned i = 0; i < corners_of(mesh, e); ++i) {
            const number k = mesh.connect(i, e);
            const double x = mesh.pos(0, k), y = mesh.pos(1, k);
            low[0] = std::min(low[0], x), high[0] = std::max(high[0], x);
            low[1] = std::min(low[1], y), high[1] = std::max(high[1], y);
            const double d = (x - p[0]) * (x - p[0]) + (y - p[1]) * (y - p[1]);
            if (d > least || (d == least && k >= nearest.what)) continue;
            least = d;
            nearest.what = k;
        }
    }
    const bool in = low[0] <= p[0] && p[0] <= high[0] && low[1] <= p[1] && p[1] <= high[1];
    return in ? nearest : answer{};
}

// A plate with a notch and a hole, of squares and triangles on a grid of whole numbers over 64, shuffled by a stride.
whole_mesh plate() {
    constexpr unsigned n = 12;
    whole_mesh mesh;
    mesh.name = "plate";
    mesh.pos = dense2D<double>(2, std::size_t{n + 1} * (n + 1));
    for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
        mesh.pos(0, k) = static_cast<double>(k % (n + 1)) / 8;
        mesh.pos(1, k) = static_cast<double>(k / (n + 1)) / 8;
    }
    std::vector<std::array<unsigned, 4>> cells;
    for (unsigned c = 0; c < n * n; ++c) {
        const unsigned place = c * 89 % (n * n), i = place % n, j = place / n;
        if ((i > 6 && j > 6) || (i > 1 && i < 5 && j > 2 && j < 6)) continue;
        const unsigned a = j * (n + 1) + i, b = a + 1, top = b + n + 1, d = top - 1;
        if (place % 3)
            cells.push_back({a, b, top, d});
        else
            cells.insert(cells.end(), {{b, top, a, no_node}, {a, top, d, no_node}});
    }
    mesh.connect = dense2D<unsigned>(4, cells.size());
    for (std::size_t e = 0; e < cells.size(); ++e) std::copy_n(cells[e].data(), 4, mesh.connect[e]);
    return mesh;
}

// Points all over the plate and around it, on a finer grid: on sides and nodes, too.
dense2D<double> grid_points() {
    constexpr unsigned n = 34;
    dense2D<double> points(2, std::size_t{n} * n);
    for (std::size_t k = 0; k < points.cols; ++k) {
        points(0, k) = (static_cast<double>(k % n) * 3 - 2) / 64;
        points(1, k) = (static_cast<double>(k / n) * 3 - 2) / 64;
    }
    return points;
}

dense2D<double> random_points(std::size_t n, unsigned seed) {
    std::mt19937 draw(seed);
    dense2D<double> points(2, n);
    for (double& x : points) x = 1.6 * static_cast<double>(draw()) / 0x1p32 - 0.05;
    return points;
}

// Rank r brings the points k with k mod (2 * ranks) in {r, 2 r + 1}, so that shares differ and some are brought twice.
std::vector<std::size_t> brought(std::size_t n) {
    std::vector<std::size_t> mine;
    for (std::size_t k = 0; k < n; ++k) {
        const int turn = static_cast<int>(k) % (2 * ranks());
        if (turn == rank() || turn == 2 * rank() + 1) mine.push_back(k);
    }
    return mine;
}

dense2D<double> columns(const dense2D<double>& all, const std::vector<std::size_t>& which) {
    dense2D<double> out(all.rows, which.size());
    for (std::size_t k = 0; k < which.size(); ++k) std::copy_n(all[which[k]], all.rows, out[k]);
    return out;
}

void expect_by_the_rule(const whole_mesh& whole, const dense2D<double>& points, double tolerance) {
    const auto mine = brought(points.cols);
    std::vector<answer> want;
    for (const std::size_t k : mine) want.push_back(by_the_rule(whole, points[k], tolerance));
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(whole.name + ", " + by.name);
        const partitioned_mesh mesh = parts_of(whole, by);
        location_table table;
        EXPECT_EQ(0, locate(mesh, columns(points, mine), tolerance, table));
        EXPECT_EQ(mine.size(), table.states.size);
        for (std::size_t k = 0; k < table.states.size; ++k) {
            EXPECT_EQ(want[k].from, table.states[k]) << "point " << mine[k];
            EXPECT_EQ(want[k].what, table.numbers[k]) << "point " << mine[k];
        }
    }
}

// Two components of a field: one linear, one not.
dense2D<double> field_on(const dense2D<double>& pos) {
    dense2D<double> field(2, pos.cols);
    for (std::size_t k = 0; k < pos.cols; ++k) {
        field(0, k) = 3 * pos(0, k) - 2 * pos(1, k) + 0.7;
        field(1, k) = std::sin(5 * pos(0, k)) * std::cos(7 * pos(1, k));
    }
    return field;
}

} // namespace

TEST(DistributedLocation, TheRuleDecidesOnSidesAndNodesInHolesAndOutside) {
    expect_by_the_rule(plate(), grid_points(), 1e-6);
    expect_by_the_rule(plate(), grid_points(), 0.0);
    expect_by_the_rule(meshes().back(), grid_points(), 1e-6); // no elements
}

// The box around an element never decides, however its sides lie.
TEST(DistributedLocation, ThinAndPointedElementsHoldWhatTheirSidesSay) {
    std::mt19937 draw(21);
    const auto number_between = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(draw()) / 0x1p32;
    };
    for (const double tolerance : {1e-6, 1e-2}) {
        whole_mesh whole;
        whole.name = "spikes";
        const std::size_t n = 60;
        whole.pos = dense2D<double>(2, 4 * n);
        whole.connect = dense2D<unsigned>(4, n);
        dense2D<double> points(2, 0);
        for (std::size_t e = 0; e < n; ++e) {
            // A trapezium that ends in a side of any smallness, or a triangle with a corner in a side of it.
            const double x = number_between(0, 1), y = number_between(0, 1),
                         end = std::pow(10, number_between(-9, 0)), width = 0.1;
            const double at[4][2] = {{x, y},
                                     {x + 1, y + number_between(0, 1e-3)},
                                     {x + 1, y + 1e-3 + width * end},
                                     {x, y + width}};
            for (unsigned i = 0; i < 4; ++i) {
                std::copy_n(at[i], 2, whole.pos[4 * e + i]);
                whole.connect(i, e) = static_cast<unsigned>(4 * e) + i;
            }
            for (unsigned k = 0; k < 6; ++k) {
                points.resize(2, points.cols + 1);
                points(0, points.cols - 1) = x + 1 + std::pow(10, number_between(-8, -0.5));
                points(1, points.cols - 1) = y + number_between(0, 2e-3);
            }
        }
        expect_by_the_rule(whole, points, tolerance);
    }
}

TEST(DistributedLocation, FieldsAreThoseOfOneRankButForTiesOfItsWalk) {
    const whole_mesh whole = plate();
    host::locator one;
    ASSERT_EQ(0, one.build(whole.pos, whole.connect));
    const dense2D<double> field = field_on(whole.pos);
    std::size_t others_random = 0, others_grid = 0, inside_grid = 0;
    for (const bool random : {true, false}) {
        const dense2D<double> points = random ? random_points(3000, 31) : grid_points();
        host::transfer_table at_once;
        dense2D<double> want;
        EXPECT_EQ(0, one.transfer(points, at_once));
        EXPECT_EQ(0, one.carry(at_once, field, want, -7));
        const auto mine = brought(points.cols);
        for (const sharing& by : {sharings()[2], sharings()[3], sharings()[5]}) {
            const partitioned_mesh mesh = parts_of(whole, by);
            location_table table;
            dense2D<double> got;
            EXPECT_EQ(0, locate(mesh, columns(points, mine), 1e-6, table));
            EXPECT_EQ(0, carry(mesh, table, field_on(mesh.pos), got, -7));
            others_grid = others_random = inside_grid = random ? 0 : inside_grid;
            for (std::size_t k = 0; k < mine.size(); ++k) {
                const bool same = at_once.elements[mine[k]] == table.numbers[k] ||
                                  table.states[k] == source::unserved;
                EXPECT_EQ(static_cast<source>(at_once.states[mine[k]]), table.states[k]);
                for (std::size_t i = 0; i < 2; ++i) {
                    if (same) {
                        EXPECT_EQ(want(i, mine[k]), got(i, k)) << "point " << mine[k];
                    } else if (table.states[k] == source::inside) {
                        EXPECT_NEAR(want(i, mine[k]), got(i, k), 1e-14);
                    }
                }
                (random ? others_random : others_grid) += !same;
                inside_grid += !random && table.states[k] == source::inside;
            }
            EXPECT_EQ(0U, random ? others_random : 0);
        }
    }
    RecordProperty("points_on_sides_with_another_element", static_cast<int>(others_grid));
}

TEST(DistributedLocation, InterpolateKeepsTheValuesOfPointsThatAreNotServed) {
    const whole_mesh whole = plate();
    dense2D<double> points = grid_points();
    points(0, 3) = not_a_number;
    points(1, 4) = infinity;
    const auto mine = brought(points.cols);
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(by.name);
        const partitioned_mesh mesh = parts_of(whole, by);
        location_table table;
        dense2D<double> carried, values(2, mine.size(), -3.0);
        EXPECT_EQ(0, locate(mesh, columns(points, mine), 1e-6, table));
        EXPECT_EQ(0, carry(mesh, table, field_on(mesh.pos), carried, -3.0));
        EXPECT_EQ(0, interpolate(mesh, field_on(mesh.pos), columns(points, mine), values));
        EXPECT_TRUE(std::equal(values.begin(), values.end(), carried.begin()));
        for (std::size_t k = 0; k < mine.size(); ++k)
            EXPECT_EQ(values(0, k) == -3.0,
                      by_the_rule(whole, points[mine[k]], 1e-6).from == source::unserved);
    }
}

TEST(DistributedLocation, DegenerateElementsHoldNothing) {
    whole_mesh whole = plate();
    dense2D<double> pos(2, whole.pos.cols);
    std::copy(whole.pos.begin(), whole.pos.end(), pos.begin());
    whole.pos = pos;
    dense2D<unsigned> connect(4, whole.connect.cols);
    std::copy(whole.connect.begin(), whole.connect.end(), connect.begin());
    whole.connect = connect;
    for (std::size_t e = 0; e < connect.cols; e += 4)
        std::swap(connect(0, e), connect(2, e)); // clockwise
    for (std::size_t e = 1; e < connect.cols; e += 9) connect(1, e) = connect(2, e) = connect(0, e);
    whole.connect = connect;
    expect_by_the_rule(whole, grid_points(), 1e-6);
}

TEST(DistributedLocation, RefusesWhatDoesNotFit) {
    const dense2D<double> points(2, 3, 0.5);
    location_table table;
    dense2D<double> values(1, 3, 7.0);
    partitioned_mesh none;
    EXPECT_EQ(-1, locate(none, points, 1e-6, table));
    EXPECT_EQ(-1, carry(none, table, values, values));
    EXPECT_EQ(-1, interpolate(none, values, points, values));
    EXPECT_EQ(-1, locate(parts_of(meshes()[2], sharings()[0]), points, 1e-6, table)); // in space

    const int last = ranks() - 1;
    const partitioned_mesh mesh = parts_of(plate(), sharings()[1]);
    EXPECT_EQ(-2, locate(mesh, dense2D<double>(rank() == last ? 3 : 2, 3, 0.5), 1e-6, table));
    const dense2D<double> field(1, mesh.pos.cols, 1.0);
    EXPECT_EQ(0, locate(mesh, points, 1e-6, table));
    EXPECT_EQ(
        -3, carry(mesh, table, dense2D<double>(1, mesh.pos.cols + (rank() == last), 1.0), values));
    if (ranks() > 1) {
        const dense2D<double> two(rank() == last ? 2 : 1, mesh.pos.cols, 1.0);
        EXPECT_EQ(-3, carry(mesh, table, two, values));
        EXPECT_EQ(-2, interpolate(mesh, two, points, values));
    }
    EXPECT_EQ(-3,
              interpolate(mesh, field, dense2D<double>(rank() == last ? 3 : 2, 3, 0.5), values));
    dense2D<double> wrong(1, rank() == last ? 4 : 3, 7.0);
    EXPECT_EQ(-4, interpolate(mesh, field, points, wrong));
    if (rank() == last) table.homes[1].slot = 1u << 30;
    EXPECT_EQ(-2, carry(mesh, table, field, values));
    if (rank() == last) table.homes[1] = {ranks(), 0};
    EXPECT_EQ(-2, carry(mesh, table, field, values));
    EXPECT_EQ(7.0, values(0, 0));
}

TEST(DistributedLocation, MemoryThatFailsOnOneRankLeavesTheOutputsOfAll) {
    const partitioned_mesh mesh = parts_of(plate(), sharings()[2]);
    const dense2D<double> points = columns(random_points(50, 5), brought(50));
    const dense2D<double> field = field_on(mesh.pos);
    dense2D<double> want(2, points.cols, -1.0);
    EXPECT_EQ(0, interpolate(mesh, field, points, want));
    dense2D<double> values;
    fail_each_allocation_on_one_rank([&] { values = dense2D<double>(2, points.cols, -1.0); },
                                     [&] { return interpolate(mesh, field, points, values); },
                                     [&] {
                                         for (std::size_t i = 0; i < values.cols; ++i)
                                             EXPECT_EQ(-1.0, values(0, i));
                                     },
                                     [&] {
                                         for (std::size_t i = 0; i < values.cols; ++i)
                                             EXPECT_EQ(want(0, i), values(0, i));
                                     });
}

TEST(DistributedLocation, PointsNearThePartsOfTheirRankHardlyTravel) {
    // Each rank asks for the midpoints of its own elements, in blocks of rows.
    const auto bytes_for = [](unsigned n) {
        whole_mesh whole;
        whole.pos = dense2D<double>(2, std::size_t{n + 1} * (n + 1));
        whole.connect = dense2D<unsigned>(4, std::size_t{n} * n);
        for (std::size_t k = 0; k < whole.pos.cols; ++k) {
            whole.pos(0, k) = static_cast<double>(k % (n + 1)) / n;
            whole.pos(1, k) = static_cast<double>(k / (n + 1)) / n;
        }
        for (unsigned e = 0; e < n * n; ++e) {
            const unsigned a = e / n * (n + 1) + e % n, cell[4] = {a, a + 1, a + n + 2, a + n + 1};
            std::copy_n(cell, 4, whole.connect[e]);
        }
        const partitioned_mesh mesh = parts_of(whole, sharings()[1]);
        dense2D<double> points(2, mesh.connect.cols);
        for (std::size_t e = 0; e < points.cols; ++e)
            for (std::size_t i = 0; i < 2; ++i)
                points(i, e) =
                    (mesh.pos(i, mesh.connect(0, e)) + mesh.pos(i, mesh.connect(2, e))) / 2;
        reset_traffic();
        location_table table;
        EXPECT_EQ(0, locate(mesh, points, 1e-6, table));
        for (const source s : table.states) EXPECT_EQ(source::inside, s);
        const std::uint64_t mine = traffic_so_far().bytes;
        std::uint64_t most = 0;
        MPI_Allreduce(&mine, &most, 1, MPI_UINT64_T, MPI_MAX, PETSC_COMM_WORLD);
        return static_cast<double>(most);
    };
    // A row of points at each end of a block may lie in a box of another rank, as a question and an answer.
    for (const unsigned n : {32U, 128U}) EXPECT_LE(bytes_for(n), 2 * n * (24.0 + 40.0));
}
