#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "Kv_Data/Util.h"

namespace {

// 200 samples over 0.02 s of mean + peak·sin(2π·50·t + θ).
std::vector<double> Samples(double mean, double peak, double thetaDeg) {
    const double pi = 3.141592653589793;
    std::vector<double> x(200);
    for (std::size_t k = 0; k < x.size(); ++k)
        x[k] = mean + peak * std::sin(2 * pi * 50 * (static_cast<double>(k) * 1e-4) + thetaDeg * pi / 180);
    return x;
}

struct Spectrum {
    int count = -99;
    double* amp = nullptr;
    double* phase = nullptr;
    bool ok;  // after the outputs, which it fills
    Spectrum(double fStart, double fEnd, double fStep, int n, const std::vector<double>& x)
        : ok(kv::GetSpectr(fStart, fEnd, fStep, 0, 0.02, n, x.data(), count, amp, phase)) {}
    ~Spectrum() {
        delete[] amp;
        delete[] phase;
    }
    Spectrum(const Spectrum&) = delete;
    Spectrum& operator=(const Spectrum&) = delete;
};

TEST(GetSpectr, WholePeriodsGiveTheAmplitudeAndPhaseOfASine) {
    for (const double theta : {0.0, 90.0, 135.0, 200.0, 300.0}) {
        const Spectrum s(50, 50, 1, 200, Samples(0, 10, theta));
        ASSERT_TRUE(s.ok && s.count == 1);
        EXPECT_NEAR(s.amp[0], 10, 1e-9) << theta;
        EXPECT_NEAR(std::remainder(s.phase[0] - theta, 360.0), 0, 1e-7) << theta;
    }
    // A sine part of at most 1e-5 takes the other branch of the phase rule: 90 + 90.
    const Spectrum faint(50, 50, 1, 200, Samples(0, 1e-6, 0));
    EXPECT_NEAR(faint.phase[0], 180, 1e-6);
}

TEST(GetSpectr, ScansFrequenciesFromTheMeanUpward) {
    // 0 Hz: the mean itself, phase 90 (270 when negative); 100 Hz holds nothing.
    for (const double mean : {3.0, -3.0}) {
        const Spectrum s(0, 100, 10, 200, Samples(mean, 10, 0));
        ASSERT_TRUE(s.ok && s.count == 11);
        EXPECT_NEAR(s.amp[0], 3, 1e-12);
        EXPECT_NEAR(s.phase[0], mean > 0 ? 90 : 270, 1e-9);
        EXPECT_NEAR(s.amp[5], 10, 1e-9);
        EXPECT_NEAR(s.amp[10], 0, 1e-9);
    }
    EXPECT_EQ(Spectrum(0, 9.99, 2, 200, Samples(1, 0, 0)).count, 5);  // truncated
}

TEST(GetSpectr, EmptySumsAndFailedAllocation) {
    const std::vector<double> x{1, 2, 3};
    const Spectrum negative(10, 30, 10, -5, x);
    ASSERT_TRUE(negative.ok && negative.count == 3);
    EXPECT_EQ(negative.amp[2], 0.0);
    const Spectrum none(0, 20, 10, 0, x);  // 0 / 0
    ASSERT_TRUE(none.ok && none.count == 3);
    EXPECT_TRUE(std::isnan(none.amp[0]) && std::isnan(none.amp[2]));
    // A negative count (NaN truncates to INT_MIN) fails the allocation: outputs untouched.
    for (const double fStep : {10.0, std::numeric_limits<double>::quiet_NaN()}) {
        int count = 0;
        double sentinel[2] = {};
        double *amp = &sentinel[0], *phase = &sentinel[1];
        EXPECT_FALSE(kv::GetSpectr(50, 10, fStep, 0, 0.02, 3, x.data(), count, amp, phase));
        EXPECT_EQ(count, fStep == 10.0 ? -3 : INT_MIN);
        EXPECT_TRUE(amp == &sentinel[0] && phase == &sentinel[1]);
    }
}

TEST(GetFurieAmpPhase, TheIntegerStepMakesEveryAngleZero) {
    // Twice the mean whatever the waveform, phase 0 or 180; the mean itself below 0.001 Hz.
    const double ones[8] = {1, 1, 1, 1, 1, 1, 1, 1}, minus[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
    const double ramp[4] = {1, 2, 3, 6};
    for (const auto& [f, n, x, wantAmp, wantPhase] :
         {std::tuple{1.0, 8, ones, 2.0, 0.0}, {1.0, 8, minus, 2.0, 180.0}, {50.0, 4, ramp, 6.0, 0.0},
          {0.0005, 4, minus, 1.0, 180.0}, {50.0, INT_MIN, ramp, 0.0, 180.0}}) {
        double amp = -1, phase = -1;
        ASSERT_TRUE(kv::Get_Furie_Amp_Phase(f, n, x, amp, phase));
        EXPECT_EQ(amp, wantAmp) << f << " " << n;
        EXPECT_NEAR(phase, wantPhase, 1e-9) << f << " " << n;
    }
    double amp = 7, phase = 7;
    EXPECT_FALSE(kv::Get_Furie_Amp_Phase(0, 0, nullptr, amp, phase));
    EXPECT_TRUE(amp == 7 && phase == 7);
}

}  // namespace
