// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "foundation/call_frame.h"
#include "foundation/topology.h"
#include "support/adjacency.h"
#include "support/meshes.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

namespace {

using namespace zel_bench;
using namespace zel::tessel2d;
using zel::no_node;

enum order { as_generated, at_random };

/// A grid of n x n cells, its elements and its nodes in generator order or shuffled.
zel_test::mesh grid(bool triangles, unsigned n, order in, unsigned rows = 2) {
    auto m = triangles ? zel_test::grid_T3(n, n, rows) : zel_test::grid_Q4(n, n, rows);
    if (in == as_generated) return m;
    shuffle_columns(m.connect, 1);
    dense2D<unsigned> number(1, m.pos.cols);
    for (std::size_t j = 0; j < number.cols; ++j) number[j][0] = static_cast<unsigned>(j);
    shuffle_columns(number, 2);
    auto moved = fresh_copy(m.pos);
    for (std::size_t j = 0; j < number.cols; ++j)
        std::copy_n(m.pos[j], m.pos.rows, moved[number[j][0]]);
    m.pos = moved;
    for (unsigned& node : m.connect) node = number[node][0];
    return m;
}

/// Cells along a side of a square for about this many elements.
unsigned side_for(std::int64_t elements, bool triangles) {
    return static_cast<unsigned>(
        std::lround(std::sqrt(static_cast<double>(elements) / (triangles ? 2 : 1))));
}

/// Reading and writing a run of memory once.
reference read_write_pass(dense2D<unsigned>& m) {
    return {"pass", [&m](stopwatch& watch) {
                watch.start();
                for (unsigned& x : m) x ^= 1;
                benchmark::ClobberMemory();
                watch.stop();
            }};
}

// ------------------------------------------------------------------------------------ order of elements

/// One insertion and one look-up of each edge of each element in the table of edges, and nothing else.
reference table_alone(const dense2D<unsigned>& connect) {
    return {"table", [&connect](stopwatch& watch) {
                const auto corners = static_cast<unsigned>(connect.rows);
                watch.start();
                zel::hbuckets<std::pair<zel::elfes::edge2, unsigned>> table;
                if (2 * connect.cols > table.bucket_count) table.rehash(2 * connect.cols);
                unsigned next = 0;
                for (std::size_t e = 0; e < connect.cols; ++e)
                    for (unsigned k = 0; k < corners; ++k)
                        table.insert({edge_nodes(connect[e], corners, k), next++});
                unsigned sum = 0;
                for (std::size_t e = 0; e < connect.cols; ++e)
                    for (unsigned k = 0; k < corners; ++k)
                        sum += table.find(edge_nodes(connect[e], corners, k))->value.second;
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

/// The same in a plain hash table with open addressing, a hash that mixes well and at most half of the
/// slots in use.
reference plain_hash(const dense2D<unsigned>& connect) {
    return {"hash", [&connect](stopwatch& watch) {
                struct slot {
                    std::uint64_t key;
                    unsigned number;
                };
                const auto corners = static_cast<unsigned>(connect.rows);
                unsigned bits = 4;
                while ((std::size_t{1} << bits) < connect.cols * corners) ++bits;
                watch.start();
                std::vector<slot> table(std::size_t{1} << bits, slot{~std::uint64_t{0}, 0});
                const auto slot_of = [&](const zel::elfes::edge2& edge) -> slot& {
                    const auto [low, high] = std::minmax(edge.a, edge.b);
                    const std::uint64_t key = std::uint64_t{low} << 32 | high;
                    std::size_t at = (key ^ key >> 29) * 0x9E3779B97F4A7C15U >> (64 - bits);
                    while (table[at].key != key && ~table[at].key != 0)
                        at = (at + 1) & (table.size() - 1);
                    if (~table[at].key == 0) table[at] = {key, ~0U};
                    return table[at];
                };
                unsigned next = 0;
                for (std::size_t e = 0; e < connect.cols; ++e)
                    for (unsigned k = 0; k < corners; ++k) {
                        slot& s = slot_of(edge_nodes(connect[e], corners, k));
                        if (s.number == ~0U) s.number = next++;
                    }
                unsigned sum = 0;
                for (std::size_t e = 0; e < connect.cols; ++e)
                    for (unsigned k = 0; k < corners; ++k)
                        sum += slot_of(edge_nodes(connect[e], corners, k)).number;
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

timed_work quadratic_work(benchmark::State& state, const zel_test::mesh& m) {
    return [&](stopwatch& watch) {
        auto pos = fresh_copy(m.pos);
        auto connect = fresh_copy(m.connect);
        watch.start();
        const int status = convert_into_quadratic(pos, connect);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    };
}

void quadratic(benchmark::State& state, bool triangles) {
    const auto m =
        grid(triangles, side_for(state.range(0), triangles), static_cast<order>(state.range(1)));
    measure(state, static_cast<double>(m.connect.cols),
            {table_alone(m.connect), plain_hash(m.connect)}, quadratic_work(state, m));
}
void convert_into_quadratic_T3(benchmark::State& state) {
    quadratic(state, true);
}
void convert_into_quadratic_Q4(benchmark::State& state) {
    quadratic(state, false);
}
BENCHMARK(convert_into_quadratic_T3)
    ->ArgNames({"elements", "random"})
    ->ArgsProduct({{1000, 30000, 1000000}, {0, 1}})
    ->UseManualTime();
BENCHMARK(convert_into_quadratic_Q4)
    ->ArgNames({"elements", "random"})
    ->ArgsProduct({{1000, 30000, 1000000}, {0, 1}})
    ->UseManualTime();

/// Numbers the nodes of a strip along its outline: there along one side and back along the other.
zel_test::mesh strip(std::int64_t quads, bool outline) {
    auto m = zel_test::grid_Q4(static_cast<unsigned>(quads), 1);
    const auto last = static_cast<unsigned>(m.pos.cols - 1);
    std::vector<unsigned> number(m.pos.cols);
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        const auto along = static_cast<unsigned>(m.pos(0, j) * static_cast<double>(quads) + 0.5);
        const bool top = m.pos(1, j) > 0.5;
        number[j] = outline ? (top ? last - along : along) : 2 * along + (top ? 1 : 0);
    }
    const auto old = fresh_copy(m.pos);
    for (std::size_t j = 0; j < m.pos.cols; ++j) std::copy_n(old[j], m.pos.rows, m.pos[number[j]]);
    for (unsigned& node : m.connect) node = number[node];
    return m;
}

/// The same strip numbered in rows is the reference.
void convert_into_quadratic_outline(benchmark::State& state) {
    const auto rows = strip(state.range(0), false);
    const auto m = strip(state.range(0), true);
    measure(state, static_cast<double>(m.connect.cols), {{"rows", quadratic_work(state, rows)}},
            quadratic_work(state, m));
}
BENCHMARK(convert_into_quadratic_outline)
    ->ArgName("quads")
    ->Arg(10000)
    ->Arg(65536)
    ->Arg(1000000)
    ->UseManualTime();

/// Triangles around one node.
zel_test::mesh hub(unsigned n) {
    zel_test::mesh m;
    m.pos.resize(2, n + 1, 0.0);
    m.connect.resize(3, n);
    for (unsigned i = 0; i < n; ++i) {
        const unsigned cell[3] = {0, 1 + i, 1 + (i + 1) % n};
        std::copy_n(cell, 3, m.connect[i]);
    }
    return m;
}
/// Each triangle of a grid cut into three at a node in its middle, with the nodes of the grid first: all of
/// them have twelve edges and half of these lead to nodes of their kind.
zel_test::mesh cut_in_three(unsigned n) {
    const auto grid = zel_test::grid_T3(n, n);
    zel_test::mesh m;
    m.pos = fresh_copy(grid.pos);
    m.pos.resize(2, grid.pos.cols + grid.connect.cols, 0.0);
    m.connect.resize(3, 3 * grid.connect.cols);
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const unsigned* const cell = grid.connect[e / 3];
        const unsigned piece[3] = {static_cast<unsigned>(grid.pos.cols + e / 3), cell[e % 3],
                                   cell[(e + 1) % 3]};
        std::copy_n(piece, 3, m.connect[e]);
    }
    return m;
}
/// A triangle for every third edge of a complete graph: no mesh, and the worst for buckets by node.
zel_test::mesh complete(unsigned n) {
    zel_test::mesh m;
    m.pos.resize(2, n, 0.0);
    m.connect.resize(3, std::size_t{n} * (n - 1) / 6);
    std::size_t e = 0;
    for (unsigned i = 0; i < n && e < m.connect.cols; ++i)
        for (unsigned k = i + 1; k + 1 < n && e < m.connect.cols; k += 2) {
            const unsigned cell[3] = {k, i, k + 1};
            std::copy_n(cell, 3, m.connect[e++]);
        }
    return m;
}

/// Meshes whose edges crowd at few nodes; the reference is the plain hash table.
void convert_into_quadratic_crowded(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const auto m = state.range(1) == 0   ? hub(n)
                   : state.range(1) == 1 ? cut_in_three(side_for(n / 3, true))
                                         : complete(static_cast<unsigned>(std::sqrt(6.0 * n)));
    measure(state, static_cast<double>(m.connect.cols), {plain_hash(m.connect)},
            quadratic_work(state, m));
}
BENCHMARK(convert_into_quadratic_crowded)
    ->ArgNames({"elements", "hub/cut/complete"})
    ->ArgsProduct({{10000, 1000000}, {0, 1, 2}})
    ->UseManualTime();

/// Cubic elements: two nodes on an edge, four or one inside.
void convert_into_high_order_cubic(benchmark::State& state) {
    const bool triangles = state.range(1) == 0;
    const auto m = grid(triangles, side_for(state.range(0), triangles), as_generated);
    measure(state, static_cast<double>(m.connect.cols), {table_alone(m.connect)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(m.pos);
                dense2D<unsigned> raised;
                watch.start();
                const int status =
                    convert_into_high_order(pos, m.connect, 2, 4, 1, raised, dense2D<unsigned>());
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(convert_into_high_order_cubic)
    ->ArgNames({"elements", "quads"})
    ->ArgsProduct({{30000, 1000000}, {0, 1}})
    ->UseManualTime();

void convert_into_linear_Q9(benchmark::State& state) {
    auto m = grid(false, side_for(state.range(0), false), as_generated);
    if (convert_into_quadratic(m.pos, m.connect) != 0) return state.SkipWithError("failed");
    measure(state, static_cast<double>(m.connect.cols),
            {read_pass(m.connect.data(), m.connect.size * 4)}, [&](stopwatch& watch) {
                auto connect = fresh_copy(m.connect);
                watch.start();
                const int status = convert_into_linear(connect);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(convert_into_linear_Q9)->ArgName("elements")->Arg(1000)->Arg(1000000)->UseManualTime();

// -------------------------------------------------------------------------------------------- splitting

void split_into_linear_Q9(benchmark::State& state) {
    auto m = grid(false, side_for(state.range(0), false), as_generated);
    if (convert_into_quadratic(m.pos, m.connect) != 0) return state.SkipWithError("failed");
    measure(state, static_cast<double>(m.connect.cols), {fresh_write(m.connect.cols * 64)},
            [&](stopwatch& watch) {
                dense2D<unsigned> out;
                watch.start();
                const int status = split_into_linear(m.connect, out);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(split_into_linear_Q9)->ArgName("elements")->Arg(1000)->Arg(1000000)->UseManualTime();

void split_into_Q4_T3(benchmark::State& state) {
    const auto m = grid(true, side_for(state.range(0), true), as_generated);
    measure(state, static_cast<double>(m.connect.cols), {table_alone(m.connect)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(m.pos);
                dense2D<unsigned> out;
                watch.start();
                const int status = split_into_Q4(pos, m.connect, out, dense2D<unsigned>());
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(split_into_Q4_T3)->ArgName("elements")->Arg(1000)->Arg(1000000)->UseManualTime();

void split_Q4_into_T3_blind(benchmark::State& state) {
    const auto m = grid(false, side_for(state.range(0), false), static_cast<order>(state.range(1)));
    measure(state, static_cast<double>(m.connect.cols), {fresh_write(m.connect.cols * 24)},
            [&](stopwatch& watch) {
                dense2D<unsigned> out;
                watch.start();
                const int split = split_Q4_into_T3(m.connect, out);
                watch.stop();
                if (split <= 0) state.SkipWithError("failed");
            });
}
BENCHMARK(split_Q4_into_T3_blind)
    ->ArgNames({"elements", "random"})
    ->ArgsProduct({{1000, 1000000}, {0, 1}})
    ->UseManualTime();

/// Nodes moved a little, so that the choice of the diagonal is not always the same.
void shake(dense2D<double>& pos, double by) {
    random_numbers random{3};
    for (double& x : pos) x += (random.unit() - 0.5) * by;
}

/// The square roots that the shape criterion takes for each quadrilateral, alone: ten side lengths, and
/// in space four vector products.
reference square_roots(std::size_t quads, unsigned rows) {
    return {"roots", [quads, roots = rows == 2 ? 10U : 14U](stopwatch& watch) {
                watch.start();
                double sum = 0;
                double x = 1;
                for (std::size_t i = 0; i < quads; ++i)
                    for (unsigned r = 0; r < roots; ++r) {
                        x += 1;
                        double root = std::sqrt(x);
                        benchmark::DoNotOptimize(root);
                        sum += root;
                    }
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

void split_Q4_into_T3_quality(benchmark::State& state) {
    const auto rows = static_cast<unsigned>(state.range(2));
    const unsigned n = side_for(state.range(0), false);
    auto m = grid(false, n, static_cast<order>(state.range(1)), rows);
    shake(m.pos, 0.4 / n);
    measure(state, static_cast<double>(m.connect.cols), {square_roots(m.connect.cols, rows)},
            [&](stopwatch& watch) {
                dense2D<unsigned> out;
                watch.start();
                const int split = split_Q4_into_T3(m.pos, m.connect, out);
                watch.stop();
                if (split <= 0) state.SkipWithError("failed");
            });
}
BENCHMARK(split_Q4_into_T3_quality)
    ->ArgNames({"elements", "random", "rows"})
    ->ArgsProduct({{1000, 1000000}, {0, 1}, {2, 3}})
    ->UseManualTime();

void split_Q4_into_T3_selected(benchmark::State& state) {
    const auto rows = static_cast<unsigned>(state.range(1));
    const unsigned n = side_for(state.range(0), false);
    auto m = grid(false, n, as_generated, rows);
    shake(m.pos, 0.4 / n);
    measure(state, static_cast<double>(m.connect.cols), {}, [&](stopwatch& watch) {
        dense2D<unsigned> out;
        dense1D<unsigned, 8> kept, split;
        watch.start();
        const int result = split_Q4_into_T3(m.pos, m.connect, 0.8, 0.7, 0.7,
                                            static_cast<int>(state.range(2)), kept, split, out);
        watch.stop();
        if (result < 0) state.SkipWithError("failed");
    });
}
BENCHMARK(split_Q4_into_T3_selected)
    ->ArgNames({"elements", "rows", "criterion"})
    ->ArgsProduct({{100000}, {2, 3}, {1, 2, 4, 6}})
    ->UseManualTime();

// ------------------------------------------------------------------------------------------ orientation

void flip_elements(benchmark::State& state) {
    const bool triangles = state.range(1) == 3;
    auto m = grid(triangles, side_for(state.range(0), triangles), as_generated);
    measure(state, static_cast<double>(m.connect.cols), {read_write_pass(m.connect)},
            [&](stopwatch& watch) {
                watch.start();
                const int status = flip(m.connect);
                benchmark::ClobberMemory();
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(flip_elements)
    ->ArgNames({"elements", "rows"})
    ->ArgsProduct({{1000, 1000000, 4000000}, {3, 4}})
    ->UseManualTime();

/// Breadth first from element 0 over all that hangs together, testing nothing.
reference visit(const dense2D<unsigned>& neighbors) {
    return {"visit", [&neighbors](stopwatch& watch) {
                const std::size_t elements = neighbors.cols;
                watch.start();
                dense1D<unsigned, 8> queue(elements);
                element_set seen;
                seen.start(elements);
                unsigned* const waiting = queue.data();
                std::size_t tail = 0;
                waiting[tail++] = 0;
                seen.add(0);
                for (std::size_t head = 0; head < tail; ++head) {
                    const unsigned* const across = neighbors[waiting[head]];
                    for (unsigned k = 0; k < 3; ++k) {
                        if (across[k] >= elements || seen.holds(across[k])) continue;
                        seen.add(across[k]);
                        waiting[tail++] = across[k];
                    }
                }
                benchmark::DoNotOptimize(tail);
                watch.stop();
            }};
}

void mesh_reorient_half_flipped(benchmark::State& state) {
    const auto m = grid(true, side_for(state.range(0), true), static_cast<order>(state.range(1)));
    auto beside = zel_test::adjacency_of(m.connect, m.pos.cols).neighbors;
    auto cells = fresh_copy(m.connect);
    random_numbers random{5};
    for (std::size_t e = 1; e < cells.cols; ++e) {
        if (random.below(2) == 0) continue;
        turn_over(cells[e]);
        turn_over_neighbors(beside[e], 3);
    }
    measure(state, static_cast<double>(m.connect.cols), {visit(beside)}, [&](stopwatch& watch) {
        auto connect = fresh_copy(cells);
        auto neighbors = fresh_copy(beside);
        watch.start();
        const int flipped = mesh_reorient(connect, neighbors, 0, 0);
        watch.stop();
        if (flipped <= 0) state.SkipWithError("failed");
    });
}
BENCHMARK(mesh_reorient_half_flipped)
    ->ArgNames({"elements", "random"})
    ->ArgsProduct({{1000, 30000, 1000000}, {0, 1}})
    ->UseManualTime();

void convert_degenerated_some(benchmark::State& state) {
    auto m = grid(false, side_for(state.range(0), false), as_generated);
    for (std::size_t e = 0; e < m.connect.cols; e += 10) m.connect(1, e) = m.connect(0, e);
    measure(state, static_cast<double>(m.connect.cols),
            {read_pass(m.connect.data(), m.connect.size * 4)}, [&](stopwatch& watch) {
                auto connect = fresh_copy(m.connect);
                dense1D<unsigned, 8> changed;
                watch.start();
                int count = state.range(1) == 0 ? convert_degenerated_Q4(connect)
                                                : convert_degenerated_Q(connect, changed);
                benchmark::DoNotOptimize(count);
                watch.stop();
            });
}
BENCHMARK(convert_degenerated_some)
    ->ArgNames({"elements", "listed"})
    ->ArgsProduct({{1000000}, {0, 1}})
    ->UseManualTime();

} // namespace
