// SPDX-License-Identifier: Apache-2.0
// The program tessel2d-distributed: takes a mesh in parts through the steps that its arguments name.
//
// All steps are read and checked before the first one runs. The functions of the library return one status on all
// ranks, so all of them go on or all end; rank 0 says why. What ends a single rank (an exception, a signal) ends all.
#include "distributed/program/steps.h"

#include <mpi.h>
#include <petscsys.h>
#include <sys/resource.h>

#include <cstdio>
#include <exception>

using namespace zel::distributed::program;

namespace {

// Memory that a list of the standard library misses, for example: nobody waits for this rank.
[[noreturn]] void end_all() {
    std::fprintf(stderr, "tessel2d-distributed: a rank is out of memory or has failed; all end\n");
    MPI_Abort(MPI_COMM_WORLD, 1);
    std::abort();
}

// Ranks that mpirun has started with other arguments would wait for each other.
bool same_arguments(int argc, char** argv) {
    unsigned long long digest = 1469598103934665603U;
    for (int k = 1; k < argc; ++k)
        for (const char* c = argv[k];; ++c) {
            digest = (digest ^ static_cast<unsigned char>(*c)) * 1099511628211U;
            if (!*c) break;
        }
    unsigned long long mine[2] = {digest, ~digest}, least[2] = {0, 0};
    MPI_Allreduce(mine, least, 2, MPI_UNSIGNED_LONG_LONG, MPI_MIN, MPI_COMM_WORLD);
    return least[0] == ~least[1];
}

double largest_rank_in_mb() {
    struct rusage used {};
    getrusage(RUSAGE_SELF, &used);
    const double mine = static_cast<double>(used.ru_maxrss) / 1024;
    double most = 0;
    MPI_Allreduce(&mine, &most, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
    return most;
}

int run(int argc, char** argv, bool first) {
    if (!same_arguments(argc, argv)) {
        if (first) std::fprintf(stderr, "tessel2d-distributed: ranks have different arguments\n");
        return 2;
    }
    std::vector<call> calls;
    const std::string complaint =
        read_steps(std::vector<std::string>(argv + 1, argv + argc), calls);
    if (!complaint.empty() || calls.empty()) {
        if (first) std::fprintf(stderr, "%s%s", complaint.c_str(), usage().c_str());
        return 2;
    }
    state now;
    for (const call& step : calls) {
        const double start = MPI_Wtime();
        const std::string failure = step.what->run(now, step.arguments);
        if (!failure.empty()) {
            if (first)
                std::fprintf(stderr, "tessel2d-distributed: %s: %s\n", step.text.c_str(),
                             failure.c_str());
            return 1;
        }
        if (first) {
            std::printf("%-28s %14llu nodes %14llu elements %9.2f s\n", step.text.c_str(),
                        static_cast<unsigned long long>(now.mesh.nodes),
                        static_cast<unsigned long long>(now.mesh.elements), MPI_Wtime() - start);
            std::fflush(stdout);
        }
    }
    const double memory = largest_rank_in_mb();
    if (first) std::printf("largest rank: %.0f MB\n", memory);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::set_terminate(end_all);
    if (MPI_Init(&argc, &argv) != MPI_SUCCESS) return 1;
    if (PetscInitializeNoArguments()) return 1;
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    const int result = run(argc, argv, rank == 0);
    PetscFinalize();
    MPI_Finalize();
    return result;
}
