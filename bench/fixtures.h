// SPDX-License-Identifier: Apache-2.0
#pragma once

// Benchmarks with their references in one run: each iteration runs the references and the work in turn,
// and what is reported is the ratio of the medians, so that drifts of the machine fall out.
#include "zel/dense.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zel_bench {

using zel::dense1D;
using zel::dense2D;

/// Measures the part of a case that counts: what stands between `start` and `stop`. It counts the
/// processor time of this thread, page faults included, so that other programs disturb little.
class stopwatch {
public:
    void start() { began_ = now(); }
    void stop() { seconds_ += now() - began_; }
    double take() { return std::exchange(seconds_, 0.0); }

private:
    static double now() {
        timespec t;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
    }

    double began_ = 0;
    double seconds_ = 0;
};

using timed_work = std::function<void(stopwatch&)>;

/// What a case is compared with; the ratio is reported as a column "x <name>".
struct reference {
    std::string name;
    timed_work run;
};

/// Writing `bytes` into memory that was just obtained as the library obtains it.
inline reference fresh_write(std::size_t bytes) {
    return {"write", [bytes](stopwatch& watch) {
                watch.start();
                void* const memory = zel::__vector_num_alloc(bytes);
                std::memset(memory, 1, bytes);
                benchmark::DoNotOptimize(memory);
                benchmark::ClobberMemory();
                watch.stop();
                zel::__vector_num_free(memory);
            }};
}

/// The same with plain malloc, small pages and all.
inline reference malloc_write(std::size_t bytes) {
    return {"malloc", [bytes](stopwatch& watch) {
                watch.start();
                void* const memory = std::malloc(bytes);
                std::memset(memory, 1, bytes);
                benchmark::DoNotOptimize(memory);
                benchmark::ClobberMemory();
                watch.stop();
                std::free(memory);
            }};
}

/// Reading a run of memory once: the sum of its 32-bit words.
inline reference read_pass(const void* memory, std::size_t bytes) {
    return {"read", [memory, bytes](stopwatch& watch) {
                const auto* const words = static_cast<const unsigned*>(memory);
                watch.start();
                unsigned sum = 0;
                for (std::size_t i = 0; i < bytes / sizeof *words; ++i) sum += words[i];
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs the references and the work in turn and reports ns per item and the ratios of the medians.
/// The case is to be registered with `UseManualTime()`.
inline void measure(benchmark::State& state, double items, const std::vector<reference>& references,
                    const timed_work& work) {
    std::vector<double> taken;
    std::vector<std::vector<double>> reference_taken(references.size());
    stopwatch watch;
    work(watch); // a first run pays for cold code and tables
    watch.take();
    for (auto _ : state) {
        for (std::size_t r = 0; r < references.size(); ++r) {
            references[r].run(watch);
            reference_taken[r].push_back(watch.take());
        }
        work(watch);
        taken.push_back(watch.take());
        state.SetIterationTime(taken.back());
    }
    const double typical = median(taken);
    state.counters["ns/item"] = typical * 1e9 / items;
    state.counters["items/s"] = benchmark::Counter(items / typical);
    for (std::size_t r = 0; r < references.size(); ++r)
        state.counters["x " + references[r].name] = typical / median(reference_taken[r]);
}

/// A deep copy, to grow anew in every iteration.
template <class T>
dense2D<T> fresh_copy(const dense2D<T>& m) {
    dense2D<T> own;
    own.copy(m);
    return own;
}

/// Random numbers that are the same everywhere (splitmix64).
struct random_numbers {
    std::uint64_t state;

    std::uint64_t next() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15U);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31);
    }
    unsigned below(std::size_t n) { return static_cast<unsigned>(next() % n); }
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
};

/// Shuffles the columns of a matrix.
template <class T>
void shuffle_columns(dense2D<T>& m, std::uint64_t seed) {
    random_numbers random{seed};
    for (std::size_t j = m.cols; j > 1; --j) {
        const std::size_t k = random.next() % j;
        std::swap_ranges(m[j - 1], m[j - 1] + m.rows, m[k]);
    }
}

} // namespace zel_bench
