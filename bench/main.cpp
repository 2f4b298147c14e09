// SPDX-License-Identifier: Apache-2.0
// The main program of all benchmarks.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

int main(int argc, char** argv) {
#if defined(__GLIBC__)
    // Large blocks come fresh from the system every time, for the work and for its references alike;
    // otherwise the allocator would hand out what an earlier iteration has already paid for.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
    std::vector<char*> arguments(argv, argv + argc);
    static char tabular[] = "--benchmark_counters_tabular=true";
    arguments.insert(arguments.begin() + 1, tabular);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
