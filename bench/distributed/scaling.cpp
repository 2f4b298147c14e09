// SPDX-License-Identifier: Apache-2.0
// Times functions of meshes in parts on a square of quadrilaterals, and counts what travels and what each rank
// holds. One line per function, from rank 0: the longest time of any rank, the most bytes that a rank has sent, and
// the most memory that a rank has held so far.
//
//     mpirun -n 4 distributed_scaling <cells along a side> [<limit of memory of a rank in MB> [<functions>]]
//
// The square comes in rows, a block of them on each rank, so that no rank ever holds the whole. Functions are letters:
// p partition by PT-Scotch, h one layer of halo, n normals, a area, b adjacency, q quadratic elements, Q all
// quadrilaterals, t triangles. Those behind p and h work on what these have made.
#include "support/ranks.h"
#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/mesh.h"
#include "zel/distributed/normals.h"

#include <mpi.h>
#include <petscsys.h>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

using namespace zel;
using namespace zel::distributed;
using zel_test::rank;
using zel_test::ranks;

namespace {

double most(double mine) {
    double all = 0;
    MPI_Allreduce(&mine, &all, 1, MPI_DOUBLE, MPI_MAX, PETSC_COMM_WORLD);
    return all;
}

// Megabytes that this rank has held at one time.
double peak() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

int make_square(number n, partitioned_mesh& mesh) {
    const auto r = static_cast<number>(rank()), all = static_cast<number>(ranks());
    const number first = n * r / all, last = n * (r + 1) / all;
    const number first_nodes = first + (r != 0), rows = last - first + (r == 0);
    dense2D<double> pos;
    dense2D<number> connect;
    if (!pos.resize(3, rows * (n + 1)) || !connect.resize(4, (last - first) * n)) return -199;
    std::size_t at = 0;
    for (number j = first_nodes; j < first_nodes + rows; ++j)
        for (number i = 0; i <= n; ++i, ++at) {
            const double u = static_cast<double>(i) / static_cast<double>(n);
            const double v = static_cast<double>(j) / static_cast<double>(n);
            pos(0, at) = u;
            pos(1, at) = v;
            pos(2, at) = 0.1 * u * v;
        }
    at = 0;
    for (number j = first; j < last; ++j)
        for (number i = 0; i < n; ++i, ++at) {
            const number a = j * (n + 1) + i;
            const number cell[4] = {a, a + 1, a + n + 2, a + n + 1};
            std::copy_n(cell, 4, connect[at]);
        }
    return from_blocks(PETSC_COMM_WORLD, pos, connect, mesh);
}

// Runs a function on all ranks and prints its line; ends the program if it fails.
void time(const char* name, number elements, const std::function<int()>& call) {
    MPI_Barrier(PETSC_COMM_WORLD);
    reset_traffic();
    const double start = MPI_Wtime();
    const int status = call();
    const double seconds = most(MPI_Wtime() - start);
    const double bytes = most(static_cast<double>(traffic_so_far().bytes)), memory = most(peak());
    if (rank() == 0) {
        std::printf("%2d ranks  %-20s %11llu elements  %8.3f s  %8.1f ns per element and rank  "
                    "%12.0f bytes sent"
                    "  %7.0f MB\n",
                    ranks(), name, static_cast<unsigned long long>(elements), seconds,
                    1e9 * seconds * ranks() / static_cast<double>(elements), bytes, memory);
        std::fflush(stdout);
    }
    if (status == 0) return;
    if (rank() == 0) std::fprintf(stderr, "%s returned %d\n", name, status);
    PetscFinalize();
    std::exit(1);
}

void run(number n, const std::string& functions) {
    const number elements = n * n;
    partitioned_mesh mesh;
    time("from_blocks", elements, [&] { return make_square(n, mesh); });
    for (const char f : functions) {
        partitioned_mesh out = mesh;
        dense2D<double> N;
        adjacency beside;
        double sum = 0;
        number cut = 0;
        switch (f) {
        case 'p':
            time("partition", elements, [&] { return partition(mesh, partitioner::ptscotch); });
            break;
        case 'h':
            time("grow_halo", elements, [&] { return grow_halo(mesh, 1); });
            break;
        case 'n':
            time("normals", elements, [&] { return normals(mesh, 1, true, N); });
            break;
        case 'a':
            time("area", elements, [&] { return area(mesh, sum); });
            break;
        case 'b':
            time("build_adjacency", elements, [&] { return build_adjacency(mesh, beside); });
            break;
        case 'q':
            time("convert_into_quadratic", elements, [&] { return convert_into_quadratic(out); });
            break;
        case 'Q':
            time("split_into_Q4", elements, [&] { return split_into_Q4(out, dense2D<number>()); });
            break;
        case 't':
            time("split_Q4_into_T3", elements,
                 [&] { return split_Q4_into_T3(out, diagonal::better, cut); });
            break;
        default:
            if (rank() == 0) std::fprintf(stderr, "there is no function \"%c\"\n", f);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (PetscInitializeNoArguments()) return 1;
    const number n = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000;
    const rlim_t limit = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 0;
    if (limit != 0) {
        const rlimit bytes{limit << 20, limit << 20};
        setrlimit(RLIMIT_DATA, &bytes);
    }
    run(n, argc > 3 ? argv[3] : "");
    PetscFinalize();
    return 0;
}
