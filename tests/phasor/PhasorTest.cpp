#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"

using kv::Complex;
using kv::Polar;

namespace {

const double kPi = 3.141592653589793;

TEST(ComplexTest, ZeroPhasorHasAngleOfPlusNinetyAndTheQuotientIsGuardedOnce) {
    EXPECT_DOUBLE_EQ(kv::arg(Complex(0, 0)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(1e-60, -1e-60)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(-1, 0)), kPi);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(2e-50, -2e-50)), -kPi / 4);  // just above the threshold

    EXPECT_EQ(Complex(3, 4) / Complex(0, 5e-7), Complex(0, 0));
    const Complex r = Complex(3, 4) / Complex(0, 2e-6);
    EXPECT_DOUBLE_EQ(r.Re(), 4 / 2e-6);
    EXPECT_DOUBLE_EQ(r.Im(), -3 / 2e-6);
    const Complex byZero = Complex(3, 4) / 0.0;  // the double overload is not guarded
    EXPECT_TRUE(std::isinf(byZero.Re()) && std::isinf(byZero.Im()));
    Complex inPlace(1, 1);
    inPlace /= Complex(0, 0);  // nor is the in-place one
    EXPECT_TRUE(std::isnan(inPlace.Re()));
}

TEST(ComplexTest, ArithmeticFollowsTheWrittenFormulas) {
    const Complex a(1, 2), b(3, -4);
    EXPECT_EQ(a * b, Complex(1.0 * 3 - 2.0 * -4, 2.0 * 3 + 1.0 * -4));
    Complex m = a;
    m *= b;  // uses the old real part for the imaginary one
    EXPECT_EQ(m, a * b);
    Complex d = a;
    d /= b;
    EXPECT_DOUBLE_EQ(d.Re(), (1.0 * 3 + 2.0 * -4) / 25);
    EXPECT_DOUBLE_EQ(d.Im(), (-1.0 * -4 + 2.0 * 3) / 25);
    const Complex inverse = 2.0 / Complex(3, 4);
    EXPECT_DOUBLE_EQ(inverse.Re(), 6.0 / 25);
    EXPECT_DOUBLE_EQ(inverse.Im(), -8.0 / 25);
    EXPECT_EQ(5.0 - a, Complex(4, -2));
    EXPECT_EQ(kv::norm(Complex(3, 4)), 5.0);  // the modulus, not its square
}

TEST(ComplexTest, AssignmentZeroSetExComparisonAndOtherConstructors) {
    Complex c(1, 7);
    c = 2.0;
    EXPECT_EQ(c.Zero(), Complex(0, 0));
    EXPECT_EQ(c, Complex(2, 0));  // Zero() leaves its object alone
    Complex e;
    e.SetEx(Complex(0.01, -0.009), 0.01);  // a part equal to eps is kept
    EXPECT_EQ(e, Complex(0.01, 0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Complex(nan, 0) == Complex(nan, 0), 0);
    EXPECT_EQ(Complex(nan, 0) != Complex(nan, 0), 1);
    EXPECT_EQ(Complex(&e), e);
    EXPECT_EQ(Complex(2, kPi / 2, 0).Re(), 2 * std::cos(kPi / 2));
    EXPECT_EQ(kv::PtoC(2, 1), kv::polar(2, 1));
}

TEST(ComplexTest, SerializeIsBitExactFSerializeClampsThroughFloatAndErrorsPassThrough) {
    kv::CMemFile file;
    const double parts[2] = {0.1, -std::numeric_limits<double>::denorm_min()};
    Complex stored(parts[0], parts[1]);
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        stored.Serialize(ar);
        Complex(-0.0, -0.5).FSerialize(ar);
        Complex(1e40, -1e-40).FSerialize(ar);
    }
    const float floats[4] = {1e-35f, -0.5f, 1e35f, -1e-35f};  // a zero, -0 too, is stored as 1e-35
    ASSERT_EQ(file.Bytes().size(), 32U);
    EXPECT_EQ(std::memcmp(file.Bytes().data(), parts, 16), 0);
    EXPECT_EQ(std::memcmp(file.Bytes().data() + 16, floats, 16), 0);

    kv::CMemFile in(file.Bytes());
    kv::CArchive ar(&in, kv::CArchive::load);
    Complex loaded, fromFloats;
    loaded.Serialize(ar);
    fromFloats.FSerialize(ar);
    EXPECT_EQ(std::memcmp(&loaded, &stored, sizeof(Complex)), 0);
    EXPECT_EQ(fromFloats, Complex(static_cast<double>(1e-35f), -0.5));

    // An archive that ends anywhere inside a number, or at its start, reports the end of the file.
    for (const auto load : {&Complex::Serialize, &Complex::FSerialize})
        for (std::size_t cut = 0; cut < (load == &Complex::Serialize ? 16U : 8U); ++cut) {
            kv::CMemFile part(std::vector<kv::BYTE>(cut, 0x11));
            kv::CArchive partAr(&part, kv::CArchive::load);
            try {
                (loaded.*load)(partAr);
                ADD_FAILURE() << "no exception at " << cut;
            } catch (const kv::CArchiveException& e) {
                EXPECT_EQ(e.m_cause, kv::CArchiveException::endOfFile) << cut;
            }
        }
}

TEST(PolarTest, RectangularConversionZeroesTheAngleOutsideItsRange) {
    EXPECT_EQ(kv::CtoP(0, 0).Ang(0), 0.0);
    EXPECT_EQ(kv::CtoP(0, 5e-8).Ang(0), 0.0);
    EXPECT_DOUBLE_EQ(kv::CtoP(0, 1e-7).Ang(0), kPi / 2);
    for (const double big : {2e35, HUGE_VAL}) EXPECT_EQ(kv::CtoP(0, big).Ang(0), 0.0) << big;
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
    EXPECT_EQ(small.Ang(400), 1.0);  // beyond 308 digits the lower bound underflows to 0
}

TEST(PolarTest, NanComponentGivesNanAngleWhateverTheModulus) {
    const double nan = std::nan("");
    for (const Polar& p : {kv::CtoP(nan, 0), kv::CtoP(0, nan), Polar(Complex(nan, 1)), Polar(nan, HUGE_VAL, 0)})
        EXPECT_TRUE(std::isnan(p.Ang(0))) << p.Mod();
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
    const double abs[][2] = {{-90, 270}, {359.9995, 0}, {-0.00005, -0.00005}, {720, 0}, {360, 0}, {1e308, 0}};
    for (const auto& [in, out] : abs) EXPECT_EQ(kv::AbsAngleGr(in), out) << in;
    EXPECT_EQ(kv::AbsAngleGr(-90.0f), 270.0f);
    EXPECT_TRUE(std::isnan(kv::AbsAngleGr(std::nan(""))));
    kv::glob_bEnableAbsAngle = 0;
    EXPECT_EQ(kv::AbsAngleGr(-90.0), -90.0);
    EXPECT_EQ(kv::AbsAngleGr(720.0f), 720.0f);
    kv::glob_bEnableAbsAngle = saved;

    // IsEqualAngles compares whole degrees; 11 against 10 is 0.9999999999999998 degrees apart.
    const double equal[][3] = {{10.5, 10, 1}, {370, 10, 1}, {371, 10, 0}, {12, 10, 0}, {11, 10, 1}, {1e308, 0, 0}};
    for (const auto& [a, b, same] : equal) EXPECT_EQ(kv::IsEqualAngles(kv::GtoR(a), kv::GtoR(b)), same) << a;
    EXPECT_EQ(kv::IsEqualAngles(std::nan(""), 0), 0);
}

}  // namespace
