#include <gtest/gtest.h>

#include <cmath>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"

using kv::Polar;

namespace {

const double kPi = 3.141592653589793;

}  // namespace

TEST(PolarTest, RectangularConversionZeroesTheAngleOutsideItsRange) {
    EXPECT_EQ(kv::CtoP(0, 0).Ang(0), 0.0);
    EXPECT_EQ(kv::CtoP(0, 5e-8).Ang(0), 0.0);
    EXPECT_DOUBLE_EQ(kv::CtoP(0, 1e-7).Ang(0), kPi / 2);
    EXPECT_EQ(kv::CtoP(0, 2e35).Ang(0), 0.0);
    const Polar p(kv::Complex(3, 4));
    EXPECT_EQ(p.Mod(), 5.0);
    EXPECT_EQ(p.Ang(0), std::atan2(4.0, 3.0));
    EXPECT_EQ(Polar(3, 4, 0).Ang(0), p.Ang(0));
    EXPECT_EQ(kv::complex(3, 4).Mod(), 5.0);

    const Polar small(1e-4, 1.0);  // Ang with digits checks the modulus, the lower bound inclusive
    EXPECT_EQ(small.Ang(4), 1.0);
    EXPECT_EQ(small.Ang(3), 0.0);
    EXPECT_EQ(small.Ang(-2), 1.0);
    EXPECT_EQ(Polar(2e10, 1.0).Ang(1), 0.0);
}

TEST(PolarTest, SumDifferenceAndGuardedQuotient) {
    const Polar zero = Polar(2, 0) + Polar(2, kPi);
    EXPECT_NEAR(zero.Mod(), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(zero.Ang(0), kPi / 2);  // through arg, no thresholds
    const Polar d = Polar(1, 0) - Polar(1, kPi / 2);
    EXPECT_DOUBLE_EQ(d.Mod(), std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(d.Ang(0), -kPi / 4);

    const Polar big = Polar(1, 0.5) / Polar(0, 0);
    EXPECT_EQ(big.Mod(), 1e9);  // the limit is 1e10, the value returned 1e9
    EXPECT_EQ(big.Ang(0), 0.0);
    EXPECT_EQ((Polar(1e-20, 0.5) / Polar(1, 0)).Mod(), 0.0);
    // Complex(Polar) does not convert, so these are defined but not the true results.
    EXPECT_TRUE(std::isfinite((Polar(2, 0.5) / Polar(1, 0.1)).Mod()));
    EXPECT_TRUE(std::isfinite((Polar(2, 0.5) * Polar(1, 0.1)).Mod()));
}

TEST(PolarTest, InPlaceConversionsUseRadiansOrDegreesAndTheComputedFactor) {
    double x = 3, y = 4;
    kv::XYtoZF(x, y);
    EXPECT_EQ(x, 5.0);
    EXPECT_NEAR(y, 0.9273, 1e-4);
    double z = 5, f = 53.13;  // degrees, unlike XYtoZF's radians
    kv::ZFtoXY(z, f);
    EXPECT_NEAR(z, 3.0, 1e-4);
    EXPECT_NEAR(f, 4.0, 1e-4);
    Polar p(1, 90);
    p.AngGtoR();
    EXPECT_EQ(p.Ang(0), kv::GtoR(90));
    EXPECT_EQ(kv::GtoR(1), 3.141592653589793 / 180.0);  // not a literal or M_PI
    EXPECT_EQ(kv::RtoG(1), 180.0 / 3.141592653589793);
}

TEST(PolarTest, AngleFoldingAndComparison) {
    // NormAngleGr folds only beyond one turn, into [-180, 180].
    const double norm[][2] = {{540, -180}, {450, 90}, {-450, -90}, {900, -180}, {360, 360}, {-270, -270}};
    for (const auto& [in, out] : norm) EXPECT_EQ(kv::NormAngleGr(in), out) << in;
    EXPECT_EQ(kv::NormAngleGr(540.0f), -180.0f);
    EXPECT_NEAR(kv::NormAngleGr(360.00005), 0.00005, 1e-9);  // just past one turn folds
    EXPECT_EQ(kv::NormAngleGr(1e30), kv::NormAngleGr(1e30));  // saturated rounding, no trap

    // AbsAngleGr folds into one turn with its tolerances, and only while enabled.
    const int saved = kv::glob_bEnableAbsAngle;
    const double abs[][2] = {{-90, 270}, {359.9995, 0}, {-0.00005, -0.00005}, {720, 0}, {360, 0}};
    for (const auto& [in, out] : abs) EXPECT_EQ(kv::AbsAngleGr(in), out) << in;
    EXPECT_EQ(kv::AbsAngleGr(-90.0f), 270.0f);
    EXPECT_TRUE(std::isnan(kv::AbsAngleGr(std::nan(""))));
    kv::glob_bEnableAbsAngle = 0;
    EXPECT_EQ(kv::AbsAngleGr(-90.0), -90.0);
    EXPECT_EQ(kv::AbsAngleGr(720.0f), 720.0f);
    kv::glob_bEnableAbsAngle = saved;

    // IsEqualAngles compares whole degrees; 11 against 10 is 0.9999999999999998 degrees apart.
    const double equal[][3] = {{10.5, 10, 1}, {370, 10, 1}, {371, 10, 0}, {12, 10, 0}, {11, 10, 1}};
    for (const auto& [a, b, same] : equal) EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(a), kv::GtoR(b)), same) << a;
    EXPECT_EQ(kv::IsEqualAngles(std::nan(""), 0), 0);
}
