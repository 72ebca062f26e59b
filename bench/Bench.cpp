// Timings of the numeric routines, each checked to allocate nothing in its timed loop.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <new>
#include <utility>

#include "AllocationCounter.h"
#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/PlatformString.h"
#include "Kv_Data/ThreePhase.h"

namespace {

bool g_allocated = false;

// Runs body once per iteration and fails the benchmark, and later the program, if the
// loop allocated. The loop of the benchmark library itself allocates nothing.
template <class Body>
void Counted(benchmark::State& state, Body body) {
    const std::size_t before = kvbench::Allocations();
    for (auto _ : state) body();
    const std::size_t allocations = kvbench::Allocations() - before;
    if (allocations != 0) {
        g_allocated = true;
        static char message[64];
        std::snprintf(message, sizeof message, "%zu allocations in the timed loop", allocations);
        state.SkipWithError(message);
    }
}

// An unbalanced set, so that no component is a rounding residue.
const kv::CValueIU kPhases(3, 1.5, 4, 20, 200, 95, 57, 63, 49, 10, 250, 130);
const kv::CValueIU kComponents(2, 0.5, 0.3, 15, 170, 300, 57.7, 3, 1.2, 0, 110, 250);

void BM_FazToSim(benchmark::State& state) {
    Counted(state, [] {
        kv::CValueIU v = kPhases;
        benchmark::DoNotOptimize(kv::FazToSim(v, 3));
        benchmark::DoNotOptimize(v);
    });
}
BENCHMARK(BM_FazToSim);

void BM_SimToFaz(benchmark::State& state) {
    Counted(state, [] {
        kv::CValueIU v = kComponents;
        benchmark::DoNotOptimize(kv::SimToFaz(v, 3));
        benchmark::DoNotOptimize(v);
    });
}
BENCHMARK(BM_SimToFaz);

void BM_FazToLin(benchmark::State& state) {
    Counted(state, [] {
        kv::CValueIU v = kPhases;
        benchmark::DoNotOptimize(kv::FazToLin(v, 3));
        benchmark::DoNotOptimize(v);
    });
}
BENCHMARK(BM_FazToLin);

// (a * b + c) / d - a: one of each of the common operators, the quotient guarded.
void BM_ComplexArithmetic(benchmark::State& state) {
    kv::Complex a(3, 4);
    kv::Complex b(-1.5, 0.25);
    kv::Complex c(10, -2);
    kv::Complex d(0.5, 7);
    Counted(state, [&] {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(c);
        benchmark::DoNotOptimize(d);
        kv::Complex r = (a * b + c) / d - a;
        benchmark::DoNotOptimize(r);
    });
}
BENCHMARK(BM_ComplexArithmetic);

// Angles that take every branch: folded by turns, wrapped up, snapped to 0, kept.
void BM_AbsAngleGr(benchmark::State& state) {
    static const double angles[8] = {-90, 359.9995, 720, 45, -0.00005, 1000.5, -725, 360};
    std::size_t k = 0;
    Counted(state, [&] {
        benchmark::DoNotOptimize(kv::AbsAngleGr(angles[k]));
        k = (k + 1) & 7;
    });
}
BENCHMARK(BM_AbsAngleGr);

// One synthesis call per function, over a few typical codes: an earth fault, a
// phase-to-phase fault, a three-phase fault and a computed pattern.
const int kFaultCodes[4] = {3, 6, 9, 93};

void BM_SetUFaza(benchmark::State& state) {
    double out[6] = {};
    std::size_t k = 0;
    Counted(state, [&] {
        benchmark::DoNotOptimize(
            kv::SetUFaza(kFaultCodes[k], 40.0, 75.0, out[0], out[1], out[2], out[3], out[4], out[5]));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    });
}
BENCHMARK(BM_SetUFaza);

void BM_SetIFaza(benchmark::State& state) {
    double out[6] = {};
    std::size_t k = 0;
    Counted(state, [&] {
        benchmark::DoNotOptimize(
            kv::SetIFaza(kFaultCodes[k], 5.0, 75.0, out[0], out[1], out[2], out[3], out[4], out[5]));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    });
}
BENCHMARK(BM_SetIFaza);

void BM_SetUIFaza(benchmark::State& state) {
    double out[12] = {};
    std::size_t k = 0;
    Counted(state, [&] {
        benchmark::DoNotOptimize(kv::SetUIFaza(kFaultCodes[k], 40.0, 5.0, 75.0, out[0], out[1], out[2], out[3],
                                               out[4], out[5], out[6], out[7], out[8], out[9], out[10], out[11],
                                               100.0, 0.0, 0.0, -1.0));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    });
}
BENCHMARK(BM_SetUIFaza);

// The sequence-component patterns convert through the symmetrical components.
void BM_SetUIFaza_Universal(benchmark::State& state) {
    double out[12] = {};
    Counted(state, [&] {
        benchmark::DoNotOptimize(kv::SetUIFaza(103, 40.0, 5.0, 75.0, out[0], out[1], out[2], out[3], out[4],
                                               out[5], out[6], out[7], out[8], out[9], out[10], out[11], 100.0,
                                               57.7, 0.0, -1.0));
        benchmark::DoNotOptimize(out);
    });
}
BENCHMARK(BM_SetUIFaza_Universal);

void BM_SetUIFaza_Record(benchmark::State& state) {
    kv::CValueIU v;
    std::size_t k = 0;
    Counted(state, [&] {
        benchmark::DoNotOptimize(kv::SetUIFaza(kFaultCodes[k], 1, 1, 40.0, 5.0, 75.0, v));
        benchmark::DoNotOptimize(v);
        k = (k + 1) & 3;
    });
}
BENCHMARK(BM_SetUIFaza_Record);

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
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (g_allocated) {
        std::fprintf(stderr, "kv_bench: a numeric routine allocated memory\n");
        return 1;
    }
    return 0;
}
