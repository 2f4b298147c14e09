// SPDX-License-Identifier: Apache-2.0
// Meshes drawn at random, shared out at random, through every function that promises the bytes of one rank: edges of
// many elements, elements that are there twice or have a corner twice, coincident nodes, infinite coordinates, ranks
// without elements. ZEL_RANDOM_ROUNDS and ZEL_RANDOM_SEED make more of them, or others.
#include "distributed/support.h"

#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/curvatures.h"
#include "zel/distributed/location.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/merge.h"
#include "zel/distributed/normals.h"
#include "zel/distributed/orientation.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <random>
#include <set>
#include <vector>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

/// Numbers that are the same on every rank: all draw the same ones in the same order.
class dice {
public:
    explicit dice(unsigned seed) : draw(seed) {}
    unsigned below(std::size_t n) { return static_cast<unsigned>(draw() % n); }
    bool one_in(unsigned n) { return below(n) == 0; }

private:
    std::mt19937 draw;
};

unsigned setting(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

unsigned corners(const dense2D<unsigned>& connect, std::size_t e) {
    return connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
}

double coordinate(dice& d, bool wild) {
    if (wild && d.one_in(40)) return d.one_in(2) ? std::numeric_limits<double>::infinity() : 1e200;
    return d.below(8) / 4.0 + (d.one_in(2) ? d.below(1000) * 1e-3 : 0);
}

/// Cells of a strip of columns of nodes, each cell a quadrilateral or two triangles, at random.
void add_cells(dice& d, unsigned nodes, std::size_t rows,
               std::vector<std::vector<unsigned>>& cells) {
    const unsigned height = 2 + d.below(3);
    for (unsigned a = 0; a + height + 1 < nodes; ++a) {
        if (a % height + 1 == height || d.one_in(8)) continue;
        const unsigned q[4] = {a, a + height, a + height + 1, a + 1};
        if (rows == 4 && d.one_in(2)) {
            cells.push_back({q[0], q[1], q[2], q[3]});
        } else {
            cells.push_back({q[0], q[1], q[2]});
            cells.push_back({q[0], q[2], q[3]});
        }
    }
}

/// Cells of any nodes; `apart`: of distinct ones.
void add_any(dice& d, unsigned nodes, std::size_t rows, bool apart,
             std::vector<std::vector<unsigned>>& cells) {
    const unsigned count = 1 + d.below(30);
    for (unsigned e = 0; e < count; ++e) {
        std::vector<unsigned> cell(rows == 4 && d.one_in(2) ? 4 : 3);
        do
            for (unsigned& node : cell) node = d.below(nodes);
        while (apart && std::set<unsigned>(cell.begin(), cell.end()).size() != cell.size());
        cells.push_back(cell);
    }
}

struct random_mesh : whole_mesh {
    bool regular = true; ///< no element has a corner twice
};

random_mesh draw_mesh(dice& d) {
    random_mesh mesh;
    mesh.name = "drawn";
    const unsigned nodes = 6 + d.below(26);
    const std::size_t rows = 3 + d.below(2);
    std::vector<std::vector<unsigned>> cells;
    const unsigned kind = d.below(4);
    mesh.regular = kind != 3;
    if (kind < 2) add_cells(d, nodes, rows, cells);
    if (kind > 0) add_any(d, nodes, rows, mesh.regular, cells);
    // Some are there twice, begin at another corner, or are turned over.
    for (std::size_t e = 0; e < cells.size(); ++e) {
        if (d.one_in(12) && cells.size() < 80) cells.push_back(std::vector<unsigned>(cells[e]));
        std::rotate(cells[e].begin(), cells[e].begin() + d.below(cells[e].size()), cells[e].end());
        if (d.one_in(10)) std::reverse(cells[e].begin(), cells[e].end());
    }
    for (std::size_t e = cells.size(); e-- > 1;) std::swap(cells[e], cells[d.below(e + 1)]);

    mesh.connect = dense2D<unsigned>(rows, cells.size(), no_node);
    for (std::size_t e = 0; e < cells.size(); ++e)
        std::copy(cells[e].begin(), cells[e].end(), mesh.connect[e]);
    mesh.pos = dense2D<double>(2 + d.below(2), nodes);
    const bool wild = d.one_in(5);
    for (double& x : mesh.pos) x = coordinate(d, wild);
    for (unsigned k = 1; k < nodes; ++k)
        if (d.one_in(10)) std::copy_n(mesh.pos[k - 1], mesh.pos.rows, mesh.pos[k]);
    return mesh;
}

/// Owners that are drawn for all elements; half of the time some ranks get none.
sharing draw_sharing(dice& d, std::size_t elements) {
    const int most =
        d.one_in(2) ? ranks() : 1 + static_cast<int>(d.below(static_cast<std::size_t>(ranks())));
    std::vector<int> owners(elements);
    for (int& owner : owners) owner = static_cast<int>(d.below(static_cast<std::size_t>(most)));
    return {"drawn", [owners](partitioned_mesh& mesh) {
                dense1D<int, 8> to;
                for (std::size_t e = 0; e < mesh.connect.cols; ++e)
                    if (mesh.element_homes[e].rank == rank())
                        to.push_back(owners[mesh.element_numbers[e]]);
                return redistribute(mesh, to);
            }};
}

/// NaN count as one: which of the operands a processor takes it from is nobody's promise.
dense2D<double> one_nan(const dense2D<double>& table) {
    dense2D<double> out(table.rows, table.cols);
    for (std::size_t j = 0; j < table.cols; ++j)
        for (std::size_t i = 0; i < table.rows; ++i)
            out(i, j) =
                std::isnan(table(i, j)) ? std::numeric_limits<double>::quiet_NaN() : table(i, j);
    return out;
}

void expect_part(const dense2D<double>& part, const dense1D<number, 8>& numbers,
                 const dense2D<double>& whole) {
    expect_columns(one_nan(part), numbers, one_nan(whole));
}

void expect_mesh(partitioned_mesh mesh, const dense2D<double>& pos,
                 const dense2D<unsigned>& connect) {
    mesh.pos = one_nan(mesh.pos);
    expect_sound(mesh);
    expect_whole(mesh, one_nan(pos), connect);
}

/// Given edges of `a` inner nodes: sides of elements, pairs of any nodes, some of them twice. Every rank knows all and
/// brings a run of them.
dense2D<unsigned> draw_edges(dice& d, const whole_mesh& mesh, unsigned a) {
    const std::size_t count = d.one_in(2) ? 0 : d.below(8);
    dense2D<unsigned> edges(a + 2, count);
    for (std::size_t j = 0; j < count; ++j) {
        const std::size_t e = d.below(mesh.connect.cols);
        const unsigned n = corners(mesh.connect, e), k = d.below(n);
        edges(0, j) = mesh.connect(k, e);
        edges(1, j) = d.one_in(6) ? d.below(mesh.pos.cols) : mesh.connect((k + 1) % n, e);
        if (d.one_in(2)) std::swap(edges(0, j), edges(1, j));
        std::iota(edges[j] + 2, edges[j] + 2 + a, d.below(mesh.pos.cols - a));
        if (j > 0 && d.one_in(6)) std::copy_n(edges[j - 1], a + 2, edges[j]);
    }
    return edges;
}

void check_conversions(dice& d, const whole_mesh& whole, const partitioned_mesh& mesh) {
    constexpr unsigned orders[][3] = {{1, 1, 0}, {1, 0, 0}, {1, 1, 1},
                                      {2, 4, 1}, {3, 9, 3}, {2, 0, 3}};
    const unsigned* const o = orders[d.below(std::size(orders))];
    SCOPED_TRACE(testing::Message() << "order " << o[0] << ", " << o[1] << ", " << o[2]);
    const dense2D<unsigned> edges = draw_edges(d, whole, o[0]);
    dense2D<double> pos = copy_of(whole.pos);
    dense2D<unsigned> connect = copy_of(whole.connect);
    const int status = tessel2d::convert_into_high_order(pos, connect, o[0], o[1], o[2], edges);
    partitioned_mesh raised = mesh;
    EXPECT_EQ(status, convert_into_high_order(raised, o[0], o[1], o[2], run_of(edges)));
    expect_mesh(raised, pos, connect);

    dense2D<double> middle = copy_of(whole.pos);
    dense2D<unsigned> quadratic = copy_of(whole.connect);
    EXPECT_EQ(0, tessel2d::convert_into_quadratic(middle, quadratic));
    raised = mesh;
    EXPECT_EQ(0, convert_into_quadratic(raised));
    partitioned_mesh cut = raised, low = raised;
    dense2D<unsigned> pieces;
    EXPECT_EQ(0, tessel2d::split_into_linear(quadratic, pieces));
    EXPECT_EQ(0, split_into_linear(cut));
    expect_mesh(cut, middle, pieces);
    EXPECT_EQ(0, tessel2d::convert_into_linear(quadratic));
    EXPECT_EQ(0, convert_into_linear(low));
    expect_mesh(low, middle, quadratic);
}

void check_cuts(dice& d, const whole_mesh& whole, const partitioned_mesh& mesh) {
    const dense2D<unsigned> edges = draw_edges(d, whole, 1);
    dense2D<double> pos = copy_of(whole.pos);
    dense2D<unsigned> cells;
    EXPECT_EQ(0, tessel2d::split_into_Q4(pos, whole.connect, cells, edges));
    partitioned_mesh quads = mesh;
    EXPECT_EQ(0, split_into_Q4(quads, run_of(edges)));
    expect_mesh(quads, pos, cells);

    for (const diagonal by : {diagonal::first, diagonal::better}) {
        dense2D<unsigned> triangles;
        const int expected = by == diagonal::first
                                 ? tessel2d::split_Q4_into_T3(whole.connect, triangles)
                                 : tessel2d::split_Q4_into_T3(whole.pos, whole.connect, triangles);
        partitioned_mesh halves = mesh;
        number cut = 0;
        EXPECT_EQ(0, split_Q4_into_T3(halves, by, cut));
        EXPECT_EQ(static_cast<number>(expected), cut);
        expect_mesh(halves, whole.pos, triangles);
    }
    dense2D<unsigned> turned = copy_of(whole.connect);
    EXPECT_EQ(0, tessel2d::flip(turned, ELEMENT_FACE));
    partitioned_mesh over = mesh;
    EXPECT_EQ(0, flip(over, ELEMENT_FACE));
    expect_mesh(over, whole.pos, turned);
}

/// True if turning around each node ends at the border or where it began.
bool all_come_round(const dense2D<unsigned>& connect, const host::adjacency& beside) {
    for (unsigned node = 0; node < beside.ancestors.size; ++node) {
        const unsigned first = beside.ancestors[node];
        std::size_t steps = 0;
        for (unsigned e = first; e != no_node;) {
            const unsigned n = corners(connect, e);
            const auto at =
                static_cast<unsigned>(std::find(connect[e], connect[e] + n, node) - connect[e]);
            e = beside.neighbors(n == 3 ? (at + 1) % 3 : (at + 3) % 4, e);
            if (e == first) break;
            if (++steps > connect.cols) return false;
        }
    }
    return true;
}

/// The stars of the own nodes of this rank are those of one rank.
void check_stars(const whole_mesh& whole, const partitioned_mesh& mesh,
                 const host::adjacency& beside) {
    dense1D<unsigned, 8> starts, elements;
    EXPECT_EQ(0, tessel2d::get_connected_elements(whole.connect, beside.neighbors, beside.ancestors,
                                                  starts, elements));
    const bool all_end = all_come_round(whole.connect, beside);
    EXPECT_TRUE(!all_end || starts.size == whole.pos.cols + 1);
    dense1D<number, 8> own_starts, own_elements;
    EXPECT_EQ(all_end ? 0 : -1, get_connected_elements(mesh, own_starts, own_elements));
    if (!all_end) return;
    expect_stars(mesh, own_starts, own_elements, starts, elements);
}

void check_neighbors(const whole_mesh& whole, const partitioned_mesh& mesh) {
    host::adjacency one;
    EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, one));
    distributed::adjacency found;
    EXPECT_EQ(0, build_adjacency(mesh, found));
    EXPECT_EQ(one.shared_by_more, found.shared_by_more);
    expect_columns(found.neighbors, mesh.element_numbers, widened(one.neighbors));
    for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
        const unsigned ancestor = one.ancestors[mesh.node_numbers[k]];
        EXPECT_EQ(ancestor == no_node ? no_number : ancestor, found.ancestors[k]);
    }
    check_stars(whole, mesh, one);
}

void check_orientation(dice& d, const random_mesh& whole, const partitioned_mesh& mesh) {
    host::adjacency beside;
    EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, beside));
    host::orientation found;
    const bool orientable = host::is_orientable(whole.connect, beside.neighbors, found) == 1;
    const unsigned seed = d.below(whole.connect.cols);
    const bool all = d.one_in(2);
    partitioned_mesh alike = mesh;
    reorientation done;
    EXPECT_EQ(0, mesh_reorient(alike, seed, all, done));
    if (!orientable || !whole.regular) return;
    dense2D<unsigned> connect = copy_of(whole.connect);
    const int turned = tessel2d::mesh_reorient(connect, beside.neighbors, seed, all);
    EXPECT_EQ(static_cast<number>(turned), done.turned);
    EXPECT_EQ(0U, done.one_sided);
    expect_mesh(alike, whole.pos, connect);
}

void check_measures(const whole_mesh& whole, const partitioned_mesh& mesh) {
    for (const bool normalise : {false, true}) {
        dense1D<double, 8> least, most, one_least, one_most;
        EXPECT_EQ(0, angles(mesh, normalise, least, most));
        EXPECT_EQ(0, tessel2d::angles(whole.pos, whole.connect, normalise, one_least, one_most));
        for (std::size_t e = 0; e < mesh.connect.cols; ++e) {
            const number k = mesh.element_numbers[e];
            EXPECT_TRUE(least[e] == one_least[k] ||
                        (std::isnan(least[e]) && std::isnan(one_least[k])));
            EXPECT_TRUE(most[e] == one_most[k] || (std::isnan(most[e]) && std::isnan(one_most[k])));
        }
    }
    if (whole.connect.rows == 3) {
        dense2D<double> centers, one;
        EXPECT_EQ(0, circumcenters(mesh, centers));
        EXPECT_EQ(0, tessel2d::circumcenters(whole.pos, whole.connect, one));
        expect_part(centers, mesh.element_numbers, one);
    }
    if (whole.pos.rows != 3) return;
    for (const double power : {0.0, -0.5}) {
        dense2D<double> N, one;
        EXPECT_EQ(0, normals(mesh, power, true, N));
        EXPECT_EQ(0, tessel2d::normals(whole.pos, whole.connect, power, true, one));
        expect_part(N, mesh.node_numbers, one);
    }
    if (whole.connect.rows != 3) return;
    host::adjacency beside;
    EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, beside));
    dense2D<double> curvatures, one;
    const dense2D<unsigned> none(2, 0);
    EXPECT_EQ(0, tessel2d::principal_curvatures(whole.pos, whole.connect, beside.neighbors, 1.5,
                                                2.5, 12, none, one));
    EXPECT_EQ(0, principal_curvatures(mesh, 1.5, 2.5, 12, none, curvatures));
    expect_part(curvatures, mesh.node_numbers, one);
}

void check_merge(dice& d, const whole_mesh& whole, const partitioned_mesh& mesh) {
    const double tolerance = d.below(4) * 0.11;
    SCOPED_TRACE(testing::Message() << "tolerance " << tolerance);
    dense2D<double> pos = copy_of(whole.pos);
    dense2D<unsigned> connect = copy_of(whole.connect);
    EXPECT_EQ(0, tessel::merge(pos, connect, tolerance, 0));
    partitioned_mesh fused = mesh;
    EXPECT_EQ(0, merge(fused, tolerance));
    expect_mesh(fused, pos, connect);
    const unsigned first = d.one_in(2) ? 0 : d.below(pos.cols);
    EXPECT_EQ(0, tessel::simplify(pos, connect, first));
    EXPECT_EQ(0, simplify(fused, first));
    expect_mesh(fused, pos, connect);
}

/// The connectivity of a mesh in parts, on all ranks.
dense2D<unsigned> whole_of(const partitioned_mesh& mesh) {
    dense2D<double> pos;
    dense2D<unsigned> connect(mesh.connect.rows, mesh.elements);
    EXPECT_EQ(0, gather(mesh, 0, pos, connect));
    MPI_Bcast(connect.data(), static_cast<int>(connect.rows * connect.cols), MPI_UNSIGNED, 0,
              PETSC_COMM_WORLD);
    return connect;
}

void expect_same_number(double a, double b) {
    EXPECT_TRUE(a == b || (std::isnan(a) && std::isnan(b))) << a << " and " << b;
}

/// What has no counterpart on one rank that is equal to the byte is the same for any partition.
void check_two_sharings(dice& d, const random_mesh& whole, const partitioned_mesh& mesh) {
    const partitioned_mesh other = parts_of(whole, sharings()[4]);
    double a = 0, b = 1;
    EXPECT_EQ(0, area(mesh, a));
    EXPECT_EQ(0, area(other, b));
    expect_same_number(a, b);
    if (whole.pos.rows == 3) {
        const int status = volume(mesh, a);
        EXPECT_EQ(status, volume(other, b));
        if (status == 0) expect_same_number(a, b);
    }
    partitioned_mesh turned = mesh, likewise = other;
    const unsigned seed = d.below(whole.connect.cols);
    reorientation here, there;
    EXPECT_EQ(0, mesh_reorient(turned, seed, true, here));
    EXPECT_EQ(0, mesh_reorient(likewise, seed, true, there));
    EXPECT_EQ(there.turned, here.turned);
    EXPECT_EQ(there.one_sided, here.one_sided);
    EXPECT_EQ(there.conflicts, here.conflicts);
    expect_mesh(turned, whole.pos, whole_of(likewise));
}

/// Where points lie, in holes, in several elements, on sides and outside, is the same for any partition.
void check_location(dice& d, const whole_mesh& whole, const partitioned_mesh& mesh) {
    if (whole.pos.rows != 2) return;
    dense2D<double> points(2, 25);
    for (double& x : points) x = coordinate(d, d.one_in(10)) - 0.3;
    for (std::size_t k = 0; k < 5; ++k) // on nodes
        std::copy_n(whole.pos[d.below(whole.pos.cols)], 2, points[k]);
    const partitioned_mesh other = parts_of(whole, sharings()[4]);
    location_table here, there;
    EXPECT_EQ(0, locate(mesh, points, 1e-6, here));
    EXPECT_EQ(0, locate(other, points, 1e-6, there));
    ASSERT_EQ(points.cols, here.states.size);
    ASSERT_EQ(points.cols, there.states.size);
    for (std::size_t k = 0; k < points.cols; ++k) {
        SCOPED_TRACE(testing::Message() << "point " << k);
        EXPECT_EQ(there.states[k], here.states[k]);
        EXPECT_EQ(there.numbers[k], here.numbers[k]);
        expect_same_number(there.local(0, k), here.local(0, k));
        expect_same_number(there.local(1, k), here.local(1, k));
    }
}

bool any_rank_failed() {
    int mine = testing::Test::HasFailure(), any = 0;
    MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, PETSC_COMM_WORLD);
    return any != 0;
}

} // namespace

TEST(RandomMeshes, HaveTheBytesOfOneRank) {
    const unsigned seed = setting("ZEL_RANDOM_SEED", 1);
    const unsigned rounds = setting("ZEL_RANDOM_ROUNDS", ranks() > 4 ? 15 : 40);
    for (unsigned k = 0; k < rounds && !any_rank_failed(); ++k) {
        SCOPED_TRACE(testing::Message() << "seed " << seed + k);
        dice d(seed + k);
        const random_mesh whole = draw_mesh(d);
        if (whole.connect.cols == 0) continue;
        partitioned_mesh mesh = parts_of(whole, draw_sharing(d, whole.connect.cols));
        EXPECT_EQ(0, grow_halo(mesh, d.below(3)));
        check_conversions(d, whole, mesh);
        check_cuts(d, whole, mesh);
        check_neighbors(whole, mesh);
        check_orientation(d, whole, mesh);
        check_measures(whole, mesh);
        check_merge(d, whole, mesh);
        check_two_sharings(d, whole, mesh);
        check_location(d, whole, mesh);
    }
}
