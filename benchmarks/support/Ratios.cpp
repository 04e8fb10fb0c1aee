#include "Ratios.h"

#include <opencv2/core/utility.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace Bench
{

namespace
{

/// Keeps every time by name and argument.
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
                const double dSeconds = run.real_accumulated_time / static_cast<double>(run.iterations);
                m_mapTimes[run.run_name.function_name][run.run_name.args].push_back(1000.0 * dSeconds);
            }
        }
    }

    using TimesByCores = std::map<std::string, std::vector<double>>;
    std::map<std::string, TimesByCores> m_mapTimes; ///< milliseconds
};

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

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
    std::printf("\n%-26s %-26s %6s %10s %10s %10s\n", "This", "Against that", "Cores", "This ms", "That ms",
                "That/This");
    for (const Ratio& ratio : ratios) {
        for (const auto& [strCores, faster] : reporter.m_mapTimes[ratio.strFaster]) {
            const auto& that = reporter.m_mapTimes[ratio.strSlower];
            const auto it = that.find(strCores);
            if (it == that.end()) {
                continue;
            }
            const double dThis = Median(faster);
            const double dThat = Median(it->second);
            std::printf("%-26s %-26s %6s %10.2f %10.2f %10.2f\n", ratio.strFaster.c_str(), ratio.strSlower.c_str(),
                        strCores == "0" ? "all" : strCores.c_str(), dThis, dThat, dThat / dThis);
        }
    }
    return 0;
}

} // namespace Bench
