// The three-phase transforms and their floors.

#include <cmath>
#include <cstddef>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kvbench::LibmCalls;

// An unbalanced set, so that no component is a rounding residue.
const kv::CValueIU kPhases(3, 1.5, 4, 20, 200, 95, 57, 63, 49, 10, 250, 130);
const kv::CValueIU kComponents(2, 0.5, 0.3, 15, 170, 300, 57.7, 3, 1.2, 0, 110, 250);

// The degree factors of the two families of transforms.
constexpr double kGr = 0.01745329251994;
const double kDegToRad = 3.141592653589793 / 180;

// Shifts of the three terms of one weighted sum, in degrees.
using Shifts = double[3];

// The calls of one weighted sum: a cosine and a sine per term, then the square root of
// x² + y² and the arc tangent of (y, x). The term `shared`, when given, is one that an
// earlier sum of the same group has listed already.
constexpr std::size_t kNone = 3;

void WeightedSum(LibmCalls& calls, const double (&m)[3], const double (&fi)[3], const Shifts& s,
                 std::size_t shared = kNone) {
    double x = 0;
    double y = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double a = (fi[k] + s[k]) * kGr;
        if (k != shared) calls.SinCos(a);
        x = x + m[k] * std::cos(a);
        y = y + m[k] * std::sin(a);
    }
    calls.Sqrt(x * x + y * y);
    calls.Atan2(y, x);
}

// Zero, negative, positive sequence from phases A, B, C. Phase A's term is the same in
// all three sums.
void PhasesToSequence(LibmCalls& calls, const double (&m)[3], const double (&fi)[3]) {
    WeightedSum(calls, m, fi, {0, 0, 0});
    WeightedSum(calls, m, fi, {0, 240, 120}, 0);
    WeightedSum(calls, m, fi, {0, 120, 240}, 0);
}

// Phases A, B, C from the positive, negative and zero sequence; the zero-sequence term
// is the same in all three sums.
void SequenceToPhases(LibmCalls& calls, const double (&m)[3], const double (&fi)[3]) {
    WeightedSum(calls, m, fi, {0, 0, 0});
    WeightedSum(calls, m, fi, {240, 120, 0}, 2);
    WeightedSum(calls, m, fi, {120, 240, 0}, 2);
}

// Line values AB, BC, CA: a cosine and a sine per phase, then per line a hypot of the
// difference and an arc tangent of the reverse one.
void PhasesToLine(LibmCalls& calls, const double (&m)[3], const double (&fi)[3]) {
    double x[3];
    double y[3];
    for (std::size_t k = 0; k < 3; ++k) {
        const double a = fi[k] * kDegToRad;
        calls.SinCos(a);
        x[k] = m[k] * std::cos(a);
        y[k] = m[k] * std::sin(a);
    }
    for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t next = (k + 1) % 3;
        calls.Hypot(x[next] - x[k], y[next] - y[k]);
        calls.Atan2(y[k] - y[next], x[k] - x[next]);
    }
}

// One transform of a copy of the record, both groups.
template <int (*Transform)(kv::CValueIU&, unsigned short)>
void Transformed(const kv::CValueIU& record) {
    kv::CValueIU v = record;
    benchmark::DoNotOptimize(Transform(v, 3));
    benchmark::DoNotOptimize(v);
}

// The record, and the record with every angle one degree on, in turn: the transforms keep
// the cosines and sines of angles that stay from call to call, and each call here is to
// compute them all, as its floor does.
class Alternating {
public:
    explicit Alternating(const kv::CValueIU& record) : m_records{record, record} {
        for (double* angles : {m_records[1].dFiI, m_records[1].dFiU})
            for (std::size_t k = 0; k < 3; ++k) angles[k] += 1;
    }
    const kv::CValueIU& Next() { return m_records[m_next ^= 1]; }

private:
    kv::CValueIU m_records[2];
    unsigned m_next = 0;
};

struct FazToSimCase {
    LibmCalls floor;
    Alternating records{kPhases};
    FazToSimCase() {
        PhasesToSequence(floor, kPhases.dI, kPhases.dFiI);
        PhasesToSequence(floor, kPhases.dU, kPhases.dFiU);
    }
    void Routine() { Transformed<kv::FazToSim>(records.Next()); }
    void Floor() { floor.Call(); }
};

struct SimToFazCase {
    LibmCalls floor;
    SimToFazCase() {
        SequenceToPhases(floor, kComponents.dI, kComponents.dFiI);
        SequenceToPhases(floor, kComponents.dU, kComponents.dFiU);
    }
    void Routine() { Transformed<kv::SimToFaz>(kComponents); }
    void Floor() { floor.Call(); }
};

struct FazToLinCase {
    LibmCalls floor;
    Alternating records{kPhases};
    FazToLinCase() {
        PhasesToLine(floor, kPhases.dI, kPhases.dFiI);
        PhasesToLine(floor, kPhases.dU, kPhases.dFiU);
    }
    void Routine() { Transformed<kv::FazToLin>(records.Next()); }
    void Floor() { floor.Call(); }
};

int Register() {
    kvbench::RegisterPair<FazToSimCase>("FazToSim");
    kvbench::RegisterPair<SimToFazCase>("SimToFaz");
    kvbench::RegisterPair<FazToLinCase>("FazToLin");
    return 0;
}
[[maybe_unused]] const int kRegistered = Register();

}  // namespace

namespace kvbench {

// The floor of the symmetrical-component conversion that the sequence fault patterns
// call, for the synthesis benchmarks.
LibmCalls SimToFazAnotherFieldsCalls(const kv::CValueIU& v) {
    LibmCalls calls;
    SequenceToPhases(calls, v.dSimI, v.dSimFiI);
    SequenceToPhases(calls, v.dSimU, v.dSimFiU);
    return calls;
}

}  // namespace kvbench
