// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "meshes.h"

#include "foundation/node_set.h"
#include "zel/tessel2d.h"

namespace {

using namespace zel_bench;

// -------------------------------------------------------------------------------------- references

/// What a mesh costs to be read and its result to be written, without arithmetic: the corners of every
/// element are fetched, and `write(e, corners)` puts 24 bytes somewhere for each. The output is
/// obtained as the library obtains its own.
template <class Write>
void gather(const mesh& m, std::size_t columns, stopwatch& watch, const Write& write) {
    watch.start();
    dense2D<double> out(3, columns);
    const double* const pos = m.pos.data();
    const unsigned* const connect = m.connect.data();
    const std::size_t corners = m.connect.rows;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const unsigned* const nodes = connect + e * corners;
        const double* p[4];
        for (std::size_t k = 0; k < corners; ++k) p[k] = pos + std::size_t{nodes[k]} * 3;
        write(out.data(), e, nodes, p);
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
    watch.stop();
}

/// Each element gets one coordinate of each of its first three corners.
reference gather_and_write(const mesh& m) {
    return {"gather+write", [&m](stopwatch& watch) {
                gather(m, m.connect.cols, watch,
                       [](double* out, std::size_t e, const unsigned*, const double* const* p) {
                           out[3 * e] = p[0][0];
                           out[3 * e + 1] = p[1][1];
                           out[3 * e + 2] = p[2][2];
                       });
            }};
}

/// Each of an element's nodes gets the same 24 bytes.
template <std::size_t Corners>
reference gather_and_scatter(const mesh& m) {
    return {"gather+scatter", [&m](stopwatch& watch) {
                gather(m, m.pos.cols, watch,
                       [](double* out, std::size_t, const unsigned* n, const double* const* p) {
                           for (std::size_t k = 0; k < Corners; ++k) {
                               double* const o = out + std::size_t{n[k]} * 3;
                               o[0] = p[0][0];
                               o[1] = p[1][1];
                               o[2] = p[2][2];
                           }
                       });
            }};
}

/// All nodes into the node set, and all coordinates counted up.
reference insert_and_pass(mesh& m) {
    return {"insert+pass", [&m](stopwatch& watch) {
                watch.start();
                zel::vector_fast<unsigned> set;
                zel::tessel2d::collect_nodes<zel::tessel2d::triangle_cells>(m.connect, set);
                benchmark::DoNotOptimize(set.data());
                for (double& x : m.pos) x += 1e-9;
                benchmark::ClobberMemory();
                watch.stop();
            }};
}

// ------------------------------------------------------------------------------------------- cases

void normals_of_elements(benchmark::State& state) {
    const mesh m =
        make_mesh(3, static_cast<std::size_t>(state.range(0)), state.range(1), state.range(2));
    const bool unit = state.range(3) != 0;
    measure(state, static_cast<double>(m.connect.cols), {gather_and_write(m)},
            [&](stopwatch& watch) {
                dense2D<double> N;
                watch.start();
                const int status = zel::tessel2d::normals(m.pos, m.connect, unit, N);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(normals_of_elements)
    ->ArgNames({"rows", "elements", "order", "unit"})
    ->ArgsProduct({{3, 4}, {1000, 1000000}, {generated, jittered, shuffled}, {1}})
    ->Args({3, 1000000, jittered, 0})
    ->UseManualTime();

void normals_of_nodes(benchmark::State& state) {
    const mesh m =
        make_mesh(3, static_cast<std::size_t>(state.range(0)), state.range(1), state.range(2));
    const auto power = static_cast<double>(state.range(3));
    const bool unit = state.range(4) != 0;
    const auto scatter = m.connect.rows == 3 ? gather_and_scatter<3>(m) : gather_and_scatter<4>(m);
    measure(state, static_cast<double>(m.connect.cols), {scatter}, [&](stopwatch& watch) {
        dense2D<double> N;
        watch.start();
        const int status = zel::tessel2d::normals(m.pos, m.connect, power, unit, N);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
BENCHMARK(normals_of_nodes)
    ->ArgNames({"rows", "elements", "order", "power", "unit"})
    ->ArgsProduct({{3, 4}, {1000, 1000000}, {generated, jittered, shuffled}, {1}, {1}})
    ->Args({3, 1000000, jittered, 1, 0})
    ->Args({3, 1000000, jittered, 2, 1})
    ->UseManualTime();

void offset_along_vectors(benchmark::State& state) {
    mesh m = make_mesh(3, 3, state.range(0), state.range(1));
    const dense2D<double> N(3, m.pos.cols, 1e-9);
    measure(state, static_cast<double>(m.connect.cols), {insert_and_pass(m)},
            [&](stopwatch& watch) {
                watch.start();
                const int status = zel::tessel2d::offset(m.pos, m.connect, N, 0.25);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(offset_along_vectors)
    ->ArgNames({"elements", "order"})
    ->ArgsProduct({{1000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

/// The copy has to write the elements too.
void copy_along_vectors(benchmark::State& state) {
    mesh m = make_mesh(3, 3, state.range(0), state.range(1));
    const dense2D<double> N(3, m.pos.cols, 1e-9);
    const std::size_t bytes = m.connect.cols * 3 * sizeof(unsigned);
    measure(state, static_cast<double>(m.connect.cols), {insert_and_pass(m), fresh_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(m.pos);
                dense2D<unsigned> copied;
                watch.start();
                const int status = zel::tessel2d::copy_with_offset(pos, m.connect, N, 0.25, copied);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(copy_along_vectors)
    ->ArgNames({"elements", "order"})
    ->ArgsProduct({{1000, 1000000}, {generated, shuffled}})
    ->UseManualTime();

} // namespace
