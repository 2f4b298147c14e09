// zel tessel2d: planar and surface mesh tools.
#include "examples/support/adjacency.h"
#include "fixtures.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <numeric>

namespace {

using namespace zel_bench;

// ------------------------------------------------------------------------------------------ meshes

// Numbering of nodes and elements: row by row, or in random order. Corners always begin anywhere.
enum order : std::int64_t { by_rows, shuffled };

struct mesh {
    dense2D<double> pos; // 2 rows: the unit square; 3 rows: waves over it
    dense2D<unsigned> connect;
    zel::examples::adjacency beside;
    unsigned cells; // along a side
};

/// About `elements` triangles; each cell is cut along one of its diagonals at random, so that nodes have
/// from 4 to 8 elements, and the nodes are moved a little.
mesh make_mesh(std::size_t dim, std::int64_t elements, std::int64_t how) {
    const auto n = static_cast<unsigned>(std::sqrt(static_cast<double>(elements) / 2));
    random_numbers random{5};
    const std::size_t nodes = std::size_t{n + 1} * (n + 1);
    std::vector<unsigned> place(nodes);
    std::iota(place.begin(), place.end(), 0U);
    if (how == shuffled)
        for (std::size_t j = nodes; j > 1; --j) std::swap(place[j - 1], place[random.below(j)]);
    mesh m{dense2D<double>(dim, nodes), dense2D<unsigned>(3, std::size_t{2} * n * n), {}, n};
    for (unsigned j = 0; j <= n; ++j) {
        for (unsigned i = 0; i <= n; ++i) {
            double* const p = m.pos[place[std::size_t{j} * (n + 1) + i]];
            p[0] = (i + 0.5 * (random.unit() - 0.5)) / n;
            p[1] = (j + 0.5 * (random.unit() - 0.5)) / n;
            if (dim == 3) p[2] = 0.2 * std::sin(7 * p[0]) * std::cos(5 * p[1]);
        }
    }
    unsigned* t = m.connect.data();
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned i = 0; i < n; ++i) {
            const unsigned a = j * (n + 1) + i;
            const unsigned q[4] = {place[a], place[a + 1], place[a + n + 2], place[a + n + 1]};
            const unsigned cut = random.below(2);
            for (unsigned half = 0; half < 2; ++half, t += 3) {
                const unsigned from = cut + 2 * half;
                for (unsigned k = 0; k < 3; ++k) t[k] = q[(from + k) % 4];
                std::rotate(t, t + random.below(3), t + 3);
            }
        }
    }
    if (how == shuffled) shuffle_columns(m.connect, 3);
    m.beside = zel::examples::adjacency_of(m.connect, nodes);
    return m;
}

// ------------------------------------------------------------------------------------ stars of nodes

/// Reading both matrices and writing the result, each once and in order.
reference pass_over_stars(const mesh& m) {
    const std::size_t words = m.connect.size;
    return {"pass", [&m, words](stopwatch& watch) {
                watch.start();
                unsigned sum = 0;
                for (const unsigned x : m.connect) sum += x;
                for (const unsigned x : m.beside.neighbors) sum += x;
                benchmark::DoNotOptimize(sum);
                const std::size_t bytes = (words + m.pos.cols + 1) * sizeof(unsigned);
                void* const memory = zel::__vector_num_alloc(bytes);
                std::memset(memory, 1, bytes);
                benchmark::DoNotOptimize(memory);
                benchmark::ClobberMemory();
                watch.stop();
                zel::__vector_num_free(memory);
            }};
}

void get_connected_elements(benchmark::State& state) {
    const mesh m = make_mesh(2, state.range(0), state.range(1));
    measure(state, static_cast<double>(m.connect.cols), {pass_over_stars(m)},
            [&](stopwatch& watch) {
                dense1D<unsigned, 8> starts, elements;
                watch.start();
                const int status = zel::tessel2d::get_connected_elements(
                    m.connect, m.beside.neighbors, m.beside.ancestors, starts, elements);
                watch.stop();
                if (status != 0 || elements.size != m.connect.size) state.SkipWithError("failed");
            });
}
BENCHMARK(get_connected_elements)
    ->ArgNames({"elements", "order"})
    ->ArgsProduct({{1000, 30000, 1000000, 4000000}, {by_rows, shuffled}})
    ->UseManualTime();

} // namespace
