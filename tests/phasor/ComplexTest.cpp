#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "Kv_Data/Phasor.h"

using kv::Complex;

namespace {

const double kPi = 3.141592653589793;

template <class T>
T FromBytes(const std::vector<kv::BYTE>& bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

}  // namespace

TEST(ComplexTest, ZeroPhasorHasAngleOfPlusNinetyDegrees) {
    EXPECT_DOUBLE_EQ(kv::arg(Complex(0, 0)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(1e-60, -1e-60)), kPi / 2);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(-1, 0)), kPi);
    EXPECT_DOUBLE_EQ(kv::arg(Complex(1e-40, -1e-40)), -kPi / 4);  // above the threshold
}

TEST(ComplexTest, GuardedQuotientGivesZeroForVanishingDivisor) {
    const Complex q = Complex(3, 4) / Complex(0, 5e-7);
    EXPECT_EQ(q.Re(), 0.0);
    EXPECT_EQ(q.Im(), 0.0);
    const Complex r = Complex(3, 4) / Complex(0, 2e-6);
    EXPECT_DOUBLE_EQ(r.Re(), 4 / 2e-6);
    EXPECT_DOUBLE_EQ(r.Im(), -3 / 2e-6);

    const Complex byZero = Complex(3, 4) / 0.0;  // the double overload is not guarded
    EXPECT_TRUE(std::isinf(byZero.Re()) && std::isinf(byZero.Im()));
    Complex inPlace(1, 1);
    inPlace /= Complex(0, 0);
    EXPECT_TRUE(std::isnan(inPlace.Re()));
}

TEST(ComplexTest, ArithmeticFollowsTheWrittenFormulas) {
    const Complex a(1, 2), b(3, -4);
    const Complex p = a * b;
    EXPECT_EQ(p.Re(), 1.0 * 3 - 2.0 * -4);
    EXPECT_EQ(p.Im(), 2.0 * 3 + 1.0 * -4);
    Complex m = a;
    m *= b;  // uses the old real part for the imaginary one
    EXPECT_EQ(m, p);
    Complex d = a;
    d /= b;
    EXPECT_DOUBLE_EQ(d.Re(), (1.0 * 3 + 2.0 * -4) / 25);
    EXPECT_DOUBLE_EQ(d.Im(), (-1.0 * -4 + 2.0 * 3) / 25);
    const Complex inverse = 2.0 / Complex(3, 4);
    EXPECT_DOUBLE_EQ(inverse.Re(), 6.0 / 25);
    EXPECT_DOUBLE_EQ(inverse.Im(), -8.0 / 25);
    EXPECT_EQ(5.0 - a, Complex(4, -2));
    EXPECT_EQ(a - 5.0, Complex(-4, 2));
    EXPECT_EQ(kv::conj(a), Complex(1, -2));
    EXPECT_EQ(-a, Complex(-1, -2));
}

TEST(ComplexTest, NormIsTheModulusNotItsSquare) {
    EXPECT_EQ(kv::norm(Complex(3, 4)), 5.0);
    EXPECT_EQ(kv::abs(Complex(3, 4)), 5.0);
}

TEST(ComplexTest, RealAssignmentAndInPlaceChanges) {
    Complex c(1, 7);
    c += 2.0;
    EXPECT_EQ(c, Complex(3, 7));
    c = 2.0;
    EXPECT_EQ(c, Complex(2, 0));
    const Complex z = c.Zero();
    EXPECT_EQ(z, Complex(0, 0));
    EXPECT_EQ(c, Complex(2, 0));

    Complex e;
    e.SetEx(Complex(0.01, -0.009), 0.01);  // a part equal to eps is kept
    EXPECT_EQ(e, Complex(0.01, 0));

    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Complex(nan, 0) == Complex(nan, 0), 0);
    EXPECT_EQ(Complex(nan, 0) != Complex(nan, 0), 1);

    const Complex source(5, 6);
    EXPECT_EQ(Complex(&source), source);
    EXPECT_EQ(Complex(2, kPi / 2, 0).Re(), 2 * std::cos(kPi / 2));
    EXPECT_EQ(kv::PtoC(2, 1), kv::polar(2, 1));
}

TEST(ComplexTest, SerializeRestoresBothPartsBitForBit) {
    kv::CMemFile file;
    Complex stored(0.1, -std::numeric_limits<double>::denorm_min());
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        stored.Serialize(ar);
    }
    ASSERT_EQ(file.Bytes().size(), 16U);
    EXPECT_EQ(FromBytes<double>(file.Bytes(), 0), 0.1);

    kv::CMemFile in(file.Bytes());
    kv::CArchive ar(&in, kv::CArchive::load);
    Complex loaded;
    loaded.Serialize(ar);
    EXPECT_EQ(std::memcmp(&loaded, &stored, sizeof(Complex)), 0);
}

TEST(ComplexTest, FSerializeClampsThroughDoubleToFloat) {
    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        Complex(0, -0.5).FSerialize(ar);
        Complex(1e40, -1e-40).FSerialize(ar);
    }
    const auto& bytes = file.Bytes();
    ASSERT_EQ(bytes.size(), 16U);
    EXPECT_EQ(FromBytes<float>(bytes, 0), 1e-35f);  // a zero is stored as 1e-35
    EXPECT_EQ(FromBytes<float>(bytes, 4), -0.5f);
    EXPECT_EQ(FromBytes<float>(bytes, 8), 1e35f);
    EXPECT_EQ(FromBytes<float>(bytes, 12), -1e-35f);

    kv::CMemFile in(bytes);
    kv::CArchive ar(&in, kv::CArchive::load);
    Complex loaded;
    loaded.FSerialize(ar);
    EXPECT_EQ(loaded.Re(), static_cast<double>(1e-35f));
    EXPECT_EQ(loaded.Im(), -0.5);
}

TEST(ComplexTest, ArchiveErrorsPassThrough) {
    kv::CMemFile file(std::vector<kv::BYTE>(12, 0));  // ends in the middle of the imaginary part
    kv::CArchive ar(&file, kv::CArchive::load);
    Complex c;
    try {
        c.Serialize(ar);
        FAIL() << "no exception";
    } catch (const kv::CArchiveException& e) {
        EXPECT_EQ(e.m_cause, kv::CArchiveException::endOfFile);
    }
    try {
        c.FSerialize(ar);  // still loading; writing would be readOnly
    } catch (const kv::CArchiveException& e) {
        EXPECT_EQ(e.m_cause, kv::CArchiveException::endOfFile);
    }
}
