#include "Ratios.h"

#include <opencv2/core/utility.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>

namespace Bench
{

namespace
{

/// Keeps the best times.
class KeepingReporter : public benchmark::ConsoleReporter
{
public:
    /// Colours on a terminal only.
    KeepingReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_None) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0) {
                const double dScale = 1000.0 / static_cast<double>(run.iterations);
                Times& best = m_mapTimes[run.run_name.function_name][run.run_name.args];
                best.dWallMs = std::min(best.dWallMs, dScale * run.real_accumulated_time);
                best.dCpuMs = std::min(best.dCpuMs, dScale * run.cpu_accumulated_time);
            }
        }
    }

    /// Of the best repetition.
    struct Times {
        double dWallMs = std::numeric_limits<double>::infinity();
        double dCpuMs = std::numeric_limits<double>::infinity();
    };
    std::map<std::string, std::map<std::string, Times>> m_mapTimes; ///< by name, by cores
};

} // namespace

void MeasureOnCores(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
}

void SetCores(const benchmark::State& state)
{
    cv::setNumThreads(state.range(0) == 0 ? cv::getNumberOfCPUs() : static_cast<int>(state.range(0)));
}

int RunAndCompare(int argc, char** argv, const std::vector<Ratio>& ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    KeepingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    std::printf("\nBest repetitions\n%-26s %-26s %6s %10s %10s %10s %10s\n", "This", "Against that", "Cores", "This ms",
                "That ms", "That/This", "of CPU");
    for (const Ratio& ratio : ratios) {
        for (const auto& [strCores, faster] : reporter.m_mapTimes[ratio.strFaster]) {
            const auto& that = reporter.m_mapTimes[ratio.strSlower];
            const auto it = that.find(strCores);
            if (it != that.end()) {
                std::printf("%-26s %-26s %6s %10.2f %10.2f %10.2f %10.2f\n", ratio.strFaster.c_str(),
                            ratio.strSlower.c_str(), strCores == "0" ? "all" : strCores.c_str(), faster.dWallMs,
                            it->second.dWallMs, it->second.dWallMs / faster.dWallMs, it->second.dCpuMs / faster.dCpuMs);
            }
        }
    }
    return 0;
}

} // namespace Bench
