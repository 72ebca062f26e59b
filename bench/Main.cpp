// kv_bench: timings of the library's routines against their floors, with a check that
// the numeric routines allocate nothing. Exits with 1 when a check fails, 2 when the
// allocation counter itself does not work.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <new>
#include <utility>

#include "AllocationCounter.h"
#include "BenchSupport.h"
#include "Kv_Data/PlatformString.h"
#include "RatioReporter.h"

namespace {

// The counter must see allocations, the library's included, or the checks prove nothing.
bool CounterIsLive() {
    std::size_t before = kvbench::Allocations();
    void* p = ::operator new(64);
    // Read-only: g++ mistranslates the read-write form on a pointer-sized lvalue here,
    // and the delete below then frees another value.
    benchmark::DoNotOptimize(std::as_const(p));
    ::operator delete(p);
    if (kvbench::Allocations() == before) return false;

    before = kvbench::Allocations();
    kv::CString text;
    text.Format("%s", "a string well beyond any small-string buffer of the standard library");
    benchmark::DoNotOptimize(text);
    return kvbench::Allocations() != before;
}

}  // namespace

int main(int argc, char** argv) {
    if (!CounterIsLive()) {
        std::fprintf(stderr, "kv_bench: the allocation counter does not see allocations\n");
        return 2;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    // The default reporter belongs to the benchmark library.
    kvbench::RatioReporter reporter(benchmark::CreateDefaultDisplayReporter());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    if (kvbench::Failed()) {
        std::fprintf(stderr, "kv_bench: a check failed (see the errors above)\n");
        return 1;
    }
    return 0;
}
