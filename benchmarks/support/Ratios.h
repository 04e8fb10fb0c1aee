#pragma once

// Runs the registered benchmarks and prints, after Google Benchmark's own table, how they compare with each other in
// this very run, by the best repetition of each: other programs on the machine only ever add time. Each benchmark's
// argument is the number of cores, 0 for all.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace Bench
{

/// "`strSlower` takes so many times as long as `strFaster`", once for each number of cores.
struct Ratio {
    std::string strFaster;
    std::string strSlower;
};

/// For `Apply`: on one core and on all, in milliseconds of wall time, and of CPU time summed over all threads.
void MeasureOnCores(benchmark::internal::Benchmark* pBenchmark);

/// Lets OpenCV use as many threads as the benchmark's argument says.
void SetCores(const benchmark::State& state);

/// The body of a main function. A ratio whose benchmarks did not both run is left out.
int RunAndCompare(int argc, char** argv, const std::vector<Ratio>& ratios);

} // namespace Bench
