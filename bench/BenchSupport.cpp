#include "BenchSupport.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace kvbench {

namespace {

bool g_failed = false;

}  // namespace

void Fail(benchmark::State& state, const char* message) {
    g_failed = true;
    state.SkipWithError(message);
}

void FailAllocations(benchmark::State& state, std::size_t expected, std::size_t counted) {
    // Kept beyond the call, for a harness that keeps the pointer rather than a copy.
    static char message[128];
    std::snprintf(message, sizeof message, "%zu allocations in %lld iterations, expected %zu", counted,
                  static_cast<long long>(state.iterations()), expected);
    Fail(state, message);
}

bool Failed() { return g_failed; }

double PairedRatio(benchmark::State& state, const std::function<double(std::size_t)>& routine,
                   const std::function<double(std::size_t)>& floor) {
    // Blocks of at least 20 µs of routine calls: long beside the clock's cost, short
    // beside the machine's changes of pace.
    std::size_t n = 1;
    while (n < (std::size_t{1} << 24) && routine(n) < 20e-6) n *= 2;
    std::vector<double> ratios;
    bool routineFirst = true;
    for (auto _ : state) {
        double r = 0;
        double f = 0;
        if (routineFirst) {
            r = routine(n);
            f = floor(n);
        } else {
            f = floor(n);
            r = routine(n);
        }
        routineFirst = !routineFirst;
        ratios.push_back(r / f);
    }
    if (ratios.empty()) return 0;
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    return *middle;
}

}  // namespace kvbench
