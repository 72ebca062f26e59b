// Passes every report on to the reporter that --benchmark_format chose and, at the end,
// prints for each BM_<Routine> the ratio to its BM_<Routine>_Floor twice: of the two
// median CPU times (single runs without repetitions), and the paired ratio that
// BM_<Routine>_Ratio measured. The table goes to standard output after a console
// report and to standard error after a machine-readable one.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace kvbench {

class RatioReporter : public benchmark::BenchmarkReporter {
public:
    explicit RatioReporter(benchmark::BenchmarkReporter* inner) : m_inner(inner) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Time {
        double ns = 0;
        bool median = false;
        // Registration order, whatever order the runs came in.
        long long family = 0;
        long long instance = 0;
        double ratio = 0;  // the counter "ratio", when the run has one
    };

    benchmark::BenchmarkReporter* m_inner;
    std::map<std::string, Time> m_times;  // CPU time per call by name
};

}  // namespace kvbench
