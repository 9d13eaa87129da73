// What every benchmark of this folder shares: the calling thread's CPU time, and a
// run of a plain hand-written loop beside the library's call that computes the
// same answer, reported as ns per item for each and their ratio.
#ifndef PLENAR_BENCH_PAIRED_H
#define PLENAR_BENCH_PAIRED_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace plenar_bench {

/// CPU seconds of the calling thread: unlike wall time, unaffected by other
/// processes on a shared machine.
inline double ThreadSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

/// Runs plain() and then library() once per iteration, each over n items, and
/// reports the library's time (register the benchmark with UseManualTime()) with
/// the counters lib_ns and plain_ns (per item) and ratio (library / plain).
template <class Plain, class Library>
void Paired(benchmark::State& state, std::size_t n, Plain&& plain, Library&& library) {
    double plainSeconds = 0.0, librarySeconds = 0.0;
    for (auto _ : state) {
        const double t0 = ThreadSeconds();
        plain();
        const double t1 = ThreadSeconds();
        library();
        benchmark::ClobberMemory();
        const double t2 = ThreadSeconds();
        plainSeconds += t1 - t0;
        librarySeconds += t2 - t1;
        state.SetIterationTime(t2 - t1);
    }
    const double items = static_cast<double>(state.iterations()) * static_cast<double>(n);
    state.SetItemsProcessed(static_cast<std::int64_t>(items));
    state.counters["lib_ns"] = librarySeconds * 1e9 / items;
    state.counters["plain_ns"] = plainSeconds * 1e9 / items;
    state.counters["ratio"] = librarySeconds / plainSeconds;
}

}  // namespace plenar_bench

#endif  // PLENAR_BENCH_PAIRED_H
