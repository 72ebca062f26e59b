// What the benchmarks share: the allocation checks around a timed loop, the optimisation
// barriers, and the floors (the C library calls a routine's formula needs, and nothing
// else).
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "AllocationCounter.h"

namespace kv {
class CValueIU;
}

namespace kvbench {

// The compiler forgets what it knew of v, so that nothing computed from it is folded or
// hoisted out of the loop. Free: v stays in its register.
inline void Opaque(double& v) { asm volatile("" : "+x"(v)); }

// v is computed, though nothing reads it. Free as well.
inline void Keep(double v) { asm volatile("" : : "x"(v)); }

// Fails the benchmark and marks the program as failed: it runs on and exits with
// status 1 at the end.
void Fail(benchmark::State& state, const char* message);
void FailAllocations(benchmark::State& state, std::size_t expected, std::size_t counted);
bool Failed();

// Runs body once per iteration and fails the benchmark, and the program, unless the
// timed loop allocated exactly perCall times per iteration (0 for a numeric routine).
// The loop of the benchmark library itself allocates nothing.
template <class Body>
void CountedExactly(benchmark::State& state, std::size_t perCall, Body body) {
    const std::size_t before = Allocations();
    for (auto _ : state) body();
    const std::size_t counted = Allocations() - before;
    const std::size_t expected = perCall * static_cast<std::size_t>(state.iterations());
    if (counted != expected) FailAllocations(state, expected, counted);
}

// Routines whose allocations must not grow with their input (a writer's names and its
// one buffer): the count per call is reported, and the benchmark fails beyond perCall.
template <class Body>
void CountedAtMost(benchmark::State& state, std::size_t perCall, Body body) {
    const std::size_t before = Allocations();
    for (auto _ : state) body();
    const std::size_t counted = Allocations() - before;
    state.counters["allocs"] = benchmark::Counter(static_cast<double>(counted), benchmark::Counter::kAvgIterations);
    const std::size_t bound = perCall * static_cast<std::size_t>(state.iterations());
    if (counted > bound) FailAllocations(state, bound, counted);
}

// Routines that are allowed to allocate (strings, archives): the count per call is
// reported, not checked.
template <class Body>
void Reported(benchmark::State& state, Body body) {
    const std::size_t before = Allocations();
    for (auto _ : state) body();
    const auto allocations = static_cast<double>(Allocations() - before);
    state.counters["allocs"] = benchmark::Counter(allocations, benchmark::Counter::kAvgIterations);
}

// The C library calls that a formula's results need, with the arguments the formula
// gives them; whoever fills it lists a term that the formula writes in several places
// once. A cosine and a sine of one argument are made side by side, which lets the
// compiler make one sincos call of them, as it does in the library wherever the source
// allows.
class LibmCalls {
public:
    void SinCos(double a) { m_sinCos.push_back(a); }
    void Sqrt(double a) { m_sqrt.push_back(a); }
    void Atan(double a) { m_atan.push_back(a); }
    void Atan2(double y, double x) { m_atan2.push_back({y, x}); }
    void Hypot(double x, double y) { m_hypot.push_back({x, y}); }

    // One function at a time over plain arrays: a dispatch per call, or a vector whose
    // bounds are read again after every call (the C library might change them, for all
    // the compiler knows), would add cost of its own to the floor.
    void Call() const {
        SinCosAll(m_sinCos.data(), m_sinCos.size());
        SqrtAll(m_sqrt.data(), m_sqrt.size());
        AtanAll(m_atan.data(), m_atan.size());
        Atan2All(m_atan2.data(), m_atan2.size());
        HypotAll(m_hypot.data(), m_hypot.size());
    }

private:
    struct Pair {
        double a;
        double b;
    };

    static void SinCosAll(const double* a, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            double x = a[i];
            Opaque(x);
            Keep(std::cos(x));
            Keep(std::sin(x));
        }
    }
    static void SqrtAll(const double* a, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            double x = a[i];
            Opaque(x);
            Keep(std::sqrt(x));
        }
    }
    static void AtanAll(const double* a, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            double x = a[i];
            Opaque(x);
            Keep(std::atan(x));
        }
    }
    static void Atan2All(const Pair* p, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            double y = p[i].a;
            double x = p[i].b;
            Opaque(y);
            Opaque(x);
            Keep(std::atan2(y, x));
        }
    }
    static void HypotAll(const Pair* p, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            double x = p[i].a;
            double y = p[i].b;
            Opaque(x);
            Opaque(y);
            Keep(std::hypot(x, y));
        }
    }

    std::vector<double> m_sinCos;
    std::vector<double> m_sqrt;
    std::vector<double> m_atan;
    std::vector<Pair> m_atan2;
    std::vector<Pair> m_hypot;
};

// The floor of SimToFazAnotherFields on v's sequence block (ThreePhaseBench.cpp).
LibmCalls SimToFazAnotherFieldsCalls(const kv::CValueIU& v);

// Sets of calls made in turn, one set per call of the floor, as a routine's benchmark
// cycles through its inputs.
class LibmCycle {
public:
    explicit LibmCycle(std::vector<LibmCalls> sets) : m_sets(std::move(sets)) {}
    void Call() {
        m_sets[m_next].Call();
        if (++m_next == m_sets.size()) m_next = 0;
    }

private:
    std::vector<LibmCalls> m_sets;
    std::size_t m_next = 0;
};

// The median of routine time / floor time over short blocks of calls that alternate,
// so that both halves of each ratio see the same machine: on a shared machine the
// medians of two benchmarks run apart can drift by a quarter against each other.
double PairedRatio(benchmark::State& state, const std::function<double(std::size_t)>& routine,
                   const std::function<double(std::size_t)>& floor);

struct PairOptions {
    benchmark::TimeUnit unit = benchmark::kNanosecond;
    std::size_t allocationsPerCall = 0;  // what the routine is defined to allocate
};

// Registers BM_<name> (Case::Routine, with the allocation check), BM_<name>_Floor
// (Case::Floor) and BM_<name>_Ratio (the paired ratio, in the counter "ratio"). A
// Case is built afresh for each run; its constructor prepares the inputs of both.
template <class Case>
void RegisterPair(const std::string& name, PairOptions options = {}) {
    benchmark::RegisterBenchmark(("BM_" + name).c_str(), [options](benchmark::State& state) {
        Case c;
        CountedExactly(state, options.allocationsPerCall, [&c] { c.Routine(); });
    })->Unit(options.unit);
    benchmark::RegisterBenchmark(("BM_" + name + "_Floor").c_str(), [](benchmark::State& state) {
        Case c;
        for (auto _ : state) c.Floor();
    })->Unit(options.unit);
    benchmark::RegisterBenchmark(("BM_" + name + "_Ratio").c_str(), [](benchmark::State& state) {
        Case c;
        const auto timed = [](auto&& body) {
            return [body](std::size_t n) mutable {
                const auto start = std::chrono::steady_clock::now();
                for (std::size_t i = 0; i < n; ++i) body();
                return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            };
        };
        state.counters["ratio"] = PairedRatio(state, timed([&c] { c.Routine(); }), timed([&c] { c.Floor(); }));
    });
}

}  // namespace kvbench
