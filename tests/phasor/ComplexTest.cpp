#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "Kv_Data/Phasor.h"

using kv::Complex;

namespace {

const double kPi = 3.141592653589793;

}  // namespace

TEST(ComplexTest, ZeroPhasorHasAngleOfPlusNinetyAndTheQuotientIsGuardedOnce) {
    EXPECT_DOUBLE_EQ(kv::arg(Complex(0, 0)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(1e-60, -1e-60)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(-1, 0)), kPi);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(1e-40, -1e-40)), -kPi / 4);  // above the threshold

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
        Complex(0, -0.5).FSerialize(ar);
        Complex(1e40, -1e-40).FSerialize(ar);
    }
    const float floats[4] = {1e-35f, -0.5f, 1e35f, -1e-35f};  // a zero is stored as 1e-35
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

    kv::CMemFile cut(std::vector<kv::BYTE>(12, 0));  // ends in the middle of the imaginary part
    kv::CArchive cutAr(&cut, kv::CArchive::load);
    try {
        loaded.Serialize(cutAr);
        ADD_FAILURE() << "no exception";
    } catch (const kv::CArchiveException& e) {
        EXPECT_EQ(e.m_cause, kv::CArchiveException::endOfFile);
    }
}
