// The spectrum of a recording, and its floor.

#include <cmath>
#include <cstddef>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Data/Util.h"

namespace {

// n = 1000 samples over 0.1 s (five periods of 50 Hz), 100 frequencies from 1 to 100 Hz.
constexpr int kSamples = 1000;
constexpr double kT0 = 0;
constexpr double kT1 = 0.1;
constexpr double kFStart = 1;
constexpr double kFEnd = 100;
constexpr double kFStep = 1;
constexpr double kPi = 3.141592653589793;

// A fundamental with a third harmonic.
std::vector<double> Recording() {
    std::vector<double> x(kSamples);
    const double dt = (kT1 - kT0) / kSamples;
    for (int k = 0; k < kSamples; ++k) {
        const double t = k * dt + kT0;
        x[static_cast<std::size_t>(k)] = 10 * std::sin(2 * kPi * 50 * t + 0.3) + 2 * std::sin(2 * kPi * 150 * t);
    }
    return x;
}

// Per frequency (all at least 0.001 Hz, so none is direct current): a cosine and a sine
// per sample, the square root of the amplitude and the arc tangent of the phase. The
// argument of sample k at frequency f is (k·dt + t0)·(2·π·f), f accumulated as it is.
kvbench::LibmCalls SpectrumCalls(const std::vector<double>& x) {
    const double dt = (kT1 - kT0) / kSamples;
    const int count = static_cast<int>((kFEnd - kFStart) / kFStep + 1.0);
    kvbench::LibmCalls calls;
    double f = kFStart;
    for (int i = 0; i < count; ++i) {
        double a = 0;
        double b = 0;
        for (int k = 0; k < kSamples; ++k) {
            const double arg = (k * dt + kT0) * (2 * kPi * f);
            calls.SinCos(arg);
            a = a + x[static_cast<std::size_t>(k)] * std::cos(arg);
            b = b + x[static_cast<std::size_t>(k)] * std::sin(arg);
        }
        const double re = 2 * a / kSamples;
        const double im = 2 * b / kSamples;
        calls.Sqrt(im * im + re * re);
        calls.Atan2(im, re);
        f = f + kFStep;
    }
    return calls;
}

struct GetSpectrCase {
    const std::vector<double> x = Recording();
    const kvbench::LibmCalls floor = SpectrumCalls(x);
    void Routine() {
        int count = 0;
        double* amp = nullptr;
        double* phase = nullptr;
        benchmark::DoNotOptimize(kv::GetSpectr(kFStart, kFEnd, kFStep, kT0, kT1, kSamples, x.data(), count, amp, phase));
        benchmark::DoNotOptimize(amp[count - 1]);
        benchmark::DoNotOptimize(phase[count - 1]);
        delete[] amp;
        delete[] phase;
    }
    void Floor() { floor.Call(); }
};

// The two result arrays are the only memory it is defined to allocate.
[[maybe_unused]] const int kRegistered =
    (kvbench::RegisterPair<GetSpectrCase>("GetSpectr", {benchmark::kMicrosecond, 2}), 0);

}  // namespace
