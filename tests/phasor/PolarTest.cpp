#include <gtest/gtest.h>

#include <cmath>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"

using kv::Polar;

namespace {

const double kPi = 3.141592653589793;

class AbsAngle : public ::testing::Test {
protected:
    void TearDown() override { kv::glob_bEnableAbsAngle = saved; }
    int saved = kv::glob_bEnableAbsAngle;
};

}  // namespace

TEST(PolarTest, RectangularConversionZeroesTheAngleOutsideItsRange) {
    EXPECT_EQ(kv::CtoP(0, 0).Mod(), 0.0);
    EXPECT_EQ(kv::CtoP(0, 0).Ang(0), 0.0);
    EXPECT_EQ(kv::CtoP(0, 5e-8).Ang(0), 0.0);
    EXPECT_DOUBLE_EQ(kv::CtoP(0, 1e-7).Ang(0), kPi / 2);
    EXPECT_EQ(kv::CtoP(0, 2e35).Ang(0), 0.0);
    const Polar p(kv::Complex(3, 4));
    EXPECT_EQ(p.Mod(), 5.0);
    EXPECT_EQ(p.Ang(0), std::atan2(4.0, 3.0));
    EXPECT_EQ(Polar(3, 4, 0).Ang(0), p.Ang(0));
    EXPECT_EQ(kv::complex(3, 4).Mod(), 5.0);
}

TEST(PolarTest, AngWithDigitsChecksTheModulus) {
    const Polar small(1e-4, 1.0);
    EXPECT_EQ(small.Ang(4), 1.0);  // the lower bound is inclusive
    EXPECT_EQ(small.Ang(3), 0.0);
    EXPECT_EQ(small.Ang(0), 1.0);
    EXPECT_EQ(small.Ang(-2), 1.0);
    EXPECT_EQ(Polar(2e10, 1.0).Ang(1), 0.0);
}

TEST(PolarTest, SumAndDifferenceGoThroughRectangularForm) {
    const Polar zero = Polar(2, 0) + Polar(2, kPi);
    EXPECT_NEAR(zero.Mod(), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(zero.Ang(0), kPi / 2);  // through arg, no thresholds
    const Polar d = Polar(1, 0) - Polar(1, kPi / 2);
    EXPECT_DOUBLE_EQ(d.Mod(), std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(d.Ang(0), -kPi / 4);
}

TEST(PolarTest, QuotientGuardsAndDefinedIndeterminateResults) {
    const Polar big = Polar(1, 0.5) / Polar(0, 0);
    EXPECT_EQ(big.Mod(), 1e9);  // the limit is 1e10, the value returned 1e9
    EXPECT_EQ(big.Ang(0), 0.0);
    const Polar tiny = Polar(1e-20, 0.5) / Polar(1, 0);
    EXPECT_EQ(tiny.Mod(), 0.0);
    // Complex(Polar) does not convert, so these are defined but not the true results.
    const Polar q = Polar(2, 0.5) / Polar(1, 0.1);
    const Polar p = Polar(2, 0.5) * Polar(1, 0.1);
    EXPECT_TRUE(std::isfinite(q.Mod()) && std::isfinite(p.Mod()));
}

TEST(PolarTest, InPlaceConversions) {
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
    p.AngRtoG();
    EXPECT_EQ(p.Ang(0), kv::RtoG(kv::GtoR(90)));
    // The computed factor, not a literal or M_PI.
    EXPECT_EQ(kv::GtoR(1), 3.141592653589793 / 180.0);
    EXPECT_EQ(kv::RtoG(1), 180.0 / 3.141592653589793);
}

TEST(PolarTest, NormAngleGrFoldsOnlyBeyondOneTurn) {
    EXPECT_EQ(kv::NormAngleGr(540.0), -180.0);
    EXPECT_EQ(kv::NormAngleGr(450.0), 90.0);
    EXPECT_EQ(kv::NormAngleGr(-450.0), -90.0);
    EXPECT_EQ(kv::NormAngleGr(900.0), -180.0);
    EXPECT_EQ(kv::NormAngleGr(360.0), 360.0);
    EXPECT_EQ(kv::NormAngleGr(-270.0), -270.0);
    EXPECT_EQ(kv::NormAngleGr(540.0f), -180.0f);
    EXPECT_EQ(kv::NormAngleGr(-270.0f), -270.0f);
    EXPECT_NEAR(kv::NormAngleGr(360.00005), 0.00005, 1e-9);  // just past one turn folds
    EXPECT_EQ(kv::NormAngleGr(1e30), kv::NormAngleGr(1e30));  // saturated rounding, no trap
}

TEST_F(AbsAngle, FoldsIntoOneTurnWithItsTolerances) {
    EXPECT_EQ(kv::AbsAngleGr(-90.0), 270.0);
    EXPECT_EQ(kv::AbsAngleGr(359.9995), 0.0);
    EXPECT_EQ(kv::AbsAngleGr(-0.00005), -0.00005);
    EXPECT_EQ(kv::AbsAngleGr(720.0), 0.0);
    EXPECT_EQ(kv::AbsAngleGr(360.0), 0.0);
    EXPECT_EQ(kv::AbsAngleGr(-90.0f), 270.0f);
    EXPECT_TRUE(std::isnan(kv::AbsAngleGr(std::nan(""))));
    kv::glob_bEnableAbsAngle = 0;
    EXPECT_EQ(kv::AbsAngleGr(-90.0), -90.0);
    EXPECT_EQ(kv::AbsAngleGr(720.0f), 720.0f);
}

TEST(PolarTest, IsEqualAnglesComparesWholeDegrees) {
    EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(10.5), kv::GtoR(10)), 1);
    EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(370), kv::GtoR(10)), 1);
    EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(371), kv::GtoR(10)), 0);
    EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(12), kv::GtoR(10)), 0);
    EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(11), kv::GtoR(10)), 1);  // 0.9999999999999998 degrees
    EXPECT_EQ(kv::IsEqualAngles(std::nan(""), 0), 0);
}
