#include "RatioReporter.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace kvbench {

namespace {

constexpr const char* kFloorSuffix = "_Floor";
constexpr const char* kRatioSuffix = "_Ratio";
// The aim: the library adds at most a fifth to the C library calls its results need.
constexpr double kAim = 1.2;

double Nanoseconds(double value, benchmark::TimeUnit unit) {
    switch (unit) {
        case benchmark::kSecond: return value * 1e9;
        case benchmark::kMillisecond: return value * 1e6;
        case benchmark::kMicrosecond: return value * 1e3;
        default: return value;
    }
}

std::string Name(const benchmark::BenchmarkReporter::Run& run) {
    std::string name = run.run_name.function_name;
    if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
    return name;
}

}  // namespace

bool RatioReporter::ReportContext(const Context& context) { return m_inner->ReportContext(context); }

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    m_inner->ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred) continue;
        const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        const bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
        if (!median && !single) continue;
        Time time;
        time.ns = Nanoseconds(run.GetAdjustedCPUTime(), run.time_unit);
        time.median = median;
        time.family = static_cast<long long>(run.family_index);
        time.instance = static_cast<long long>(run.per_family_instance_index);
        const auto ratio = run.counters.find("ratio");
        if (ratio != run.counters.end()) time.ratio = ratio->second.value;
        m_times[Name(run)] = time;
    }
}

void RatioReporter::Finalize() {
    m_inner->Finalize();
    const bool console = dynamic_cast<benchmark::ConsoleReporter*>(m_inner) != nullptr;
    std::ostream& out = console ? std::cout : std::cerr;

    std::vector<std::string> order;
    for (const auto& entry : m_times) order.push_back(entry.first);
    std::sort(order.begin(), order.end(), [this](const std::string& a, const std::string& b) {
        const Time& x = m_times.at(a);
        const Time& y = m_times.at(b);
        return x.family != y.family ? x.family < y.family : x.instance < y.instance;
    });

    bool any = false;
    bool allMedians = true;
    char line[160];
    for (const std::string& name : order) {
        if (name.find(kFloorSuffix) != std::string::npos || name.find(kRatioSuffix) != std::string::npos) continue;
        const auto floor = m_times.find(name + kFloorSuffix);
        if (floor == m_times.end()) continue;
        const Time& routine = m_times.at(name);
        const auto paired = m_times.find(name + kRatioSuffix);
        if (!any) {
            out << "\nRoutine against its floor (CPU time per call; ratios routine / floor):\n";
            std::snprintf(line, sizeof line, "%-26s %12s %12s %8s %8s\n", "Routine", "routine ns", "floor ns",
                          "medians", "paired");
            out << line;
            any = true;
        }
        allMedians = allMedians && routine.median && floor->second.median;
        const double medians = routine.ns / floor->second.ns;
        const double ratio = paired == m_times.end() ? medians : paired->second.ratio;
        char pairedText[16] = "-";
        if (paired != m_times.end()) std::snprintf(pairedText, sizeof pairedText, "%.2f", paired->second.ratio);
        std::snprintf(line, sizeof line, "%-26s %12.4g %12.4g %8.2f %8s%s\n", name.c_str(), routine.ns,
                      floor->second.ns, medians, pairedText, ratio > kAim ? "  above 1.2" : "");
        out << line;
    }
    if (any && !allMedians) out << "(single runs, not medians: see bench/README.md for the options of a full run)\n";
    out.flush();
}

}  // namespace kvbench
