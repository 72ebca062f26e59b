#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/Util.h"
#include "phasor/Angles.h"
#include "util/Truncate.h"

namespace kv {

namespace {

// The literals of these routines, kept apart from the library's computed angle
// constants: the phases divide by this degree factor, not by π/180.
constexpr double kSpectrumPi = 3.141592653589793;
constexpr double kSpectrumDegree = 0.01745329251994;
// Below this frequency the component is direct current: the mean, not doubled.
constexpr double kDirectCurrent = 0.001;
constexpr double kZeroSine = 1e-5;

// count doubles with new[]; null for a request that cannot be met, a negative count and
// one whose size in bytes overflows included.
double* NewDoubles(int count) {
    if (count < 0) return nullptr;
    const auto elements = static_cast<std::size_t>(count);
    if (elements > SIZE_MAX / sizeof(double)) return nullptr;
    return new (std::nothrow) double[elements];
}

}  // namespace

bool GetSpectr(double fStart, double fEnd, double fStep, double t0, double t1, int n,
               const double* x, int& count, double*& amp, double*& phase) {
    const double dn = n;
    const double dt = (t1 - t0) / dn;
    count = TruncToInt32((fEnd - fStart) / fStep + 1.0);
    double* const amplitudes = NewDoubles(count);
    if (amplitudes == nullptr) return false;
    amp = amplitudes;
    double* const phases = NewDoubles(count);
    if (phases == nullptr) return false;
    phase = phases;

    double f = fStart;
    for (int i = 0; i < count; ++i) {
        // Each sum runs over the samples in order, as two separate loops would; one loop
        // lets the cosine and sine of a sample's angle come from one sincos call.
        double a = 0;
        double b = 0;
        const bool alternating = f >= kDirectCurrent;
        if (alternating) {
            for (int k = 0; k < n; ++k) {
                const double angle = (k * dt + t0) * (2 * kSpectrumPi * f);
                a = a + x[k] * std::cos(angle);
                b = b + x[k] * std::sin(angle);
            }
        } else {
            for (int k = 0; k < n; ++k) a = a + x[k] * std::cos((k * dt + t0) * (2 * kSpectrumPi * f));
        }
        const double re = alternating ? 2 * a / dn : a / dn;
        const double im = alternating ? 2 * b / dn : 0;
        amplitudes[i] = std::sqrt(im * im + re * re);
        const double phi = std::atan2(im, re) / kSpectrumDegree;
        // Referred to a sine: A·sin(ωt + θ) correlates to re = A·sin θ, im = A·cos θ.
        phases[i] = std::fabs(im) > kZeroSine ? 90 - phi : phi + 90;
        phases[i] = angles::Abs(phases[i]);
        f = f + fStep;
    }
    return true;
}

bool Get_Furie_Amp_Phase(double f, int n, const double* x, double& amp, double& phase) {
    // The step is 1 / n in integers, where the processor would trap on n = 0; for n >= 2
    // it is 0 and every angle below with it.
    if (n == 0) return false;
    const double s = 1 / n;
    const double dn = n;
    double a = 0;
    for (int k = 0; k < n; ++k) a = a + x[k] * std::cos(k * s * 2 * kSpectrumPi * f);
    double re;
    double im;
    if (f >= kDirectCurrent) {
        re = 2 * a / dn;
        double b = 0;
        for (int k = 0; k < n; ++k) b = b + x[k] * std::sin(k * s * 2 * kSpectrumPi * f);
        im = 2 * b / dn;
    } else {
        re = a / dn;
        im = 0;
    }
    amp = std::sqrt(im * im + re * re);
    phase = angles::Abs(std::atan2(im, re) / kSpectrumDegree);
    return true;
}

}  // namespace kv
