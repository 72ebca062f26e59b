// The fault synthesis functions on a few typical codes, and their floors.

#include <cmath>
#include <cstddef>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Data/Fault.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kvbench::LibmCalls;

// An earth fault, a phase-to-phase fault, a three-phase fault and a computed pattern
// (earth fault with isolated neutral), one per call in turn.
const int kFaultCodes[4] = {3, 6, 9, 93};
constexpr double kU = 40;
constexpr double kI = 5;
constexpr double kPhi = 75;
constexpr double kUnom = 100;
constexpr double kSqrt3 = 1.7320508075688772;

// What the results of the four codes need from the C library, at U = 40 and the default
// nominal voltages: nothing for 3 and 9; for 6 the faulted-loop geometry (the healthy
// phase at cst58V); for 93 the displaced neutral.
std::vector<LibmCalls> FaultCodeCalls() {
    const double uh = kv::cst58V;
    LibmCalls loop;
    loop.Sqrt(kU * kU + uh * uh);
    loop.Atan(kU / uh);
    LibmCalls neutral;
    const double a = uh / 2 + uh - kU;
    const double b = uh * kSqrt3 / 2;
    neutral.Atan(b / a);
    neutral.Sqrt(a * a + b * b);
    return {LibmCalls(), loop, LibmCalls(), neutral};
}

struct SetUFazaCase {
    kvbench::LibmCycle floor{FaultCodeCalls()};
    double out[6] = {};
    std::size_t k = 0;
    void Routine() {
        benchmark::DoNotOptimize(
            kv::SetUFaza(kFaultCodes[k], kU, kPhi, out[0], out[1], out[2], out[3], out[4], out[5]));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    }
    void Floor() { floor.Call(); }
};

// The current rows call nothing in the C library: the floor is the loop alone.
struct SetIFazaCase {
    kvbench::LibmCycle floor{{LibmCalls()}};
    double out[6] = {};
    std::size_t k = 0;
    void Routine() {
        benchmark::DoNotOptimize(
            kv::SetIFaza(kFaultCodes[k], kI, kPhi, out[0], out[1], out[2], out[3], out[4], out[5]));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    }
    void Floor() { floor.Call(); }
};

struct SetUIFazaCase {
    kvbench::LibmCycle floor{FaultCodeCalls()};
    double out[12] = {};
    std::size_t k = 0;
    void Routine() {
        benchmark::DoNotOptimize(kv::SetUIFaza(kFaultCodes[k], kU, kI, kPhi, out[0], out[1], out[2], out[3],
                                               out[4], out[5], out[6], out[7], out[8], out[9], out[10], out[11],
                                               kUnom, 0.0, 0.0, -1.0));
        benchmark::DoNotOptimize(out);
        k = (k + 1) & 3;
    }
    void Floor() { floor.Call(); }
};

struct SetUIFazaRecordCase {
    kvbench::LibmCycle floor{FaultCodeCalls()};
    kv::CValueIU v;
    std::size_t k = 0;
    void Routine() {
        benchmark::DoNotOptimize(kv::SetUIFaza(kFaultCodes[k], 1, 1, kU, kI, kPhi, v));
        benchmark::DoNotOptimize(v);
        k = (k + 1) & 3;
    }
    void Floor() { floor.Call(); }
};

// The universal fault (code 103) with a full sequence set in the exported state, the
// positive-sequence voltage varied: it converts through the symmetrical components.
// The state is the benchmark's while it runs and is restored afterwards.
class UniversalFault {
public:
    UniversalFault() {
        for (std::size_t k = 0; k < kCount; ++k) m_saved[k] = *kDoubles[k];
        m_savedSelectors[0] = kv::glob_n_U0_or_U1_or_U2;
        m_savedSelectors[1] = kv::glob_n_I0_or_I1_or_I2;
        m_savedSelectors[2] = kv::glob_bChangeUniversal_U_or_I;
        for (std::size_t k = 0; k < kCount; ++k) *kDoubles[k] = kValues[k];
        kv::glob_n_U0_or_U1_or_U2 = 1;
        kv::glob_n_I0_or_I1_or_I2 = 1;
        kv::glob_bChangeUniversal_U_or_I = 1;
    }
    ~UniversalFault() {
        for (std::size_t k = 0; k < kCount; ++k) *kDoubles[k] = m_saved[k];
        kv::glob_n_U0_or_U1_or_U2 = m_savedSelectors[0];
        kv::glob_n_I0_or_I1_or_I2 = m_savedSelectors[1];
        kv::glob_bChangeUniversal_U_or_I = m_savedSelectors[2];
    }
    UniversalFault(const UniversalFault&) = delete;
    UniversalFault& operator=(const UniversalFault&) = delete;

    // The sequence block that the fault converts: the stored set with U1 = U.
    static kv::CValueIU Sequences() {
        kv::CValueIU v;
        v.dSimI[2] = kv::glob_dI0 / 3;
        v.dSimFiI[2] = kv::glob_dI0f;
        v.dSimI[0] = kv::glob_dI1;
        v.dSimFiI[0] = kv::glob_dI1f;
        v.dSimI[1] = kv::glob_dI2;
        v.dSimFiI[1] = kv::glob_dI2f;
        v.dSimU[2] = kv::glob_dU0 / 3 * 1.2;
        v.dSimFiU[2] = kv::glob_dU0f;
        v.dSimU[0] = kU;
        v.dSimFiU[0] = kv::glob_dU1f;
        v.dSimU[1] = kv::glob_dU2;
        v.dSimFiU[1] = kv::glob_dU2f;
        return v;
    }

private:
    static constexpr std::size_t kCount = 12;
    // 3I0, I1, I2 and 3U0, U1, U2 with their angles in degrees.
    static constexpr double* kDoubles[kCount] = {
        &kv::glob_dI0, &kv::glob_dI0f, &kv::glob_dI1, &kv::glob_dI1f, &kv::glob_dI2, &kv::glob_dI2f,
        &kv::glob_dU0, &kv::glob_dU0f, &kv::glob_dU1, &kv::glob_dU1f, &kv::glob_dU2, &kv::glob_dU2f};
    static constexpr double kValues[kCount] = {0.9, -80, 2, -75, 0.4, 100, 3, -60, 57.7, 0, 5, 30};

    double m_saved[kCount] = {};
    int m_savedSelectors[3] = {};
};

struct SetUIFazaUniversalCase {
    const UniversalFault fault;
    LibmCalls floor = kvbench::SimToFazAnotherFieldsCalls(UniversalFault::Sequences());
    double out[12] = {};
    void Routine() {
        benchmark::DoNotOptimize(kv::SetUIFaza(103, kU, kI, kPhi, out[0], out[1], out[2], out[3], out[4], out[5],
                                               out[6], out[7], out[8], out[9], out[10], out[11], kUnom, 57.7, 0.0,
                                               -1.0));
        benchmark::DoNotOptimize(out);
    }
    void Floor() { floor.Call(); }
};

int Register() {
    kvbench::RegisterPair<SetUFazaCase>("SetUFaza");
    kvbench::RegisterPair<SetIFazaCase>("SetIFaza");
    kvbench::RegisterPair<SetUIFazaCase>("SetUIFaza");
    kvbench::RegisterPair<SetUIFazaRecordCase>("SetUIFaza_Record");
    kvbench::RegisterPair<SetUIFazaUniversalCase>("SetUIFaza_Universal");
    return 0;
}
[[maybe_unused]] const int kRegistered = Register();

}  // namespace
