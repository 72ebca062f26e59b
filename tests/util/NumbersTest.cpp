#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <thread>

#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Round, HalvesAwayFromZeroSaturatingWithoutUndefinedCasts) {
    EXPECT_EQ(kv::round(2.5), 3);
    EXPECT_EQ(kv::round(-1.5), -2);
    EXPECT_EQ(kv::round(-0.49), 0);
    EXPECT_EQ(kv::round(-0.5), 1);  // -1 < x <= -0.5 gives +1
    EXPECT_EQ(kv::round(-0.999f), 1);
    EXPECT_EQ(kv::roundshort(-0.7), 1);
    EXPECT_EQ(kv::round(2147483648.0), INT_MAX);
    EXPECT_EQ(kv::round(2147483646.5), INT_MAX);
    EXPECT_EQ(kv::round(-3e9), INT_MIN);
    EXPECT_EQ(kv::round(kNaN), INT_MAX);  // truncates to INT_MIN, the step away wraps
    EXPECT_EQ(kv::roundshort(40000.0), 32767);
    EXPECT_EQ(kv::roundshort(-32767.5), -32768);
}

TEST(DRound, FollowsTheCLibrarysDecimalText) {
    EXPECT_EQ(kv::dRound(2.345, 2), 2.35);  // stored just above the half
    EXPECT_EQ(kv::dRound(2.675, 2), 2.67);  // stored just below it
    EXPECT_EQ(kv::dRound(0.125, 2), 0.12);  // exact ties go to even
    EXPECT_EQ(kv::dRound(1.23456789, -1), 1.234568);
    EXPECT_EQ(kv::dRound(-1e300, 400), -1e300);  // longer than the buffer
}

TEST(DRound, ThreadsDoNotShareTheBuffer) {
    auto worker = [](double base, int* failures) {
        for (int i = 0; i < 20000; ++i)
            if (kv::dRound(base + i + 0.4, 0) != base + i) ++*failures;
    };
    int failures[2] = {0, 0};
    std::thread a(worker, 1e6, &failures[0]);
    std::thread b(worker, 5e6, &failures[1]);
    a.join();
    b.join();
    EXPECT_EQ(failures[0] + failures[1], 0);
}

TEST(DivRound, NearestMultipleWithTiesAwayFromZero) {
    EXPECT_EQ(kv::DivRound(7, 5), 5);
    EXPECT_EQ(kv::DivRound(8, 5), 10);
    EXPECT_EQ(kv::DivRound(5, 10), 10);
    EXPECT_EQ(kv::DivRound(-8, 5), -10);
    EXPECT_EQ(kv::DivRound(7, 0), 0);
}

TEST(DivRound, WrapsLikeThirtyTwoBitArithmetic) {
    EXPECT_EQ(kv::DivRound(INT_MAX, 2), INT_MIN);
    EXPECT_EQ(kv::DivRound(INT_MIN, 5), 2147483640);  // |INT_MIN| stays negative
    EXPECT_EQ(kv::DivRound(INT_MIN, -1), -2147483647);
}

TEST(DivRound, DoubleIsCutToTenthsFirst) {
    EXPECT_EQ(kv::DivRound(2.5, 5), 5);
    EXPECT_EQ(kv::DivRound(2.49, 5), 0);
    EXPECT_EQ(kv::DivRound(-7.5, 5), -10);
    EXPECT_EQ(kv::DivRound(2.5, 0), 0);
    // Out of range and NaN truncate to INT_MIN like the processor does.
    EXPECT_EQ(kv::DivRound(1e300, 5), 214748355);
    EXPECT_EQ(kv::DivRound(kNaN, 5), 214748355);
}

TEST(DDivRound, ValuesUpToOneStepBecomeOneStep) {
    EXPECT_EQ(kv::dDivRound(7.4, 5), 5.0);
    EXPECT_EQ(kv::dDivRound(7.5, 5), 10.0);
    EXPECT_EQ(kv::dDivRound(-12, 5), -10.0);
    EXPECT_EQ(kv::dDivRound(5, 5), 5.0);
    EXPECT_EQ(kv::dDivRound(-0.3, 5), -5.0);
    EXPECT_EQ(kv::dDivRound(12, 0), 0.0);
    EXPECT_EQ(kv::dDivRound(12, 1e-9), 1e-9);
    EXPECT_EQ(kv::dDivRound(-5e-9, 1), 0.0);
}

TEST(DDivRoundDegree, KeepsSignificantDigits) {
    EXPECT_EQ(kv::dDivRoundDegree(1234.5, 2), 1200.0);
    EXPECT_EQ(kv::dDivRoundDegree(-1254.5, 2), -1300.0);
    EXPECT_EQ(kv::dDivRoundDegree(0.012345, 3), 123 * std::pow(10.0, -4.0));
    EXPECT_EQ(kv::dDivRoundDegree(1234.5, 0), 1234.5);
}

TEST(ResultDivAndDoubleToFloat, InBandLimits) {
    EXPECT_EQ(kv::ResultDiv(1, 0.00001), 99999.9);
    EXPECT_EQ(kv::ResultDiv(1, -0.00001), 99999.9);
    EXPECT_DOUBLE_EQ(kv::ResultDiv(1, 0.00002), 50000.0);
    EXPECT_EQ(kv::DoubleToFloat(0.0), 1e-35f);
    EXPECT_EQ(kv::DoubleToFloat(-1e-40), -1e-35f);
    EXPECT_EQ(kv::DoubleToFloat(-2e40), -1e35f);
}

TEST(IsEqual, ComparesTruncatedDecimals) {
    EXPECT_EQ(kv::IsEqual(0.19, 0.11, 1), 1);
    EXPECT_EQ(kv::IsEqual(0.10, 0.09, 1), 0);
    EXPECT_EQ(kv::IsEqual(-0.05, 0.05, 1), 1);
    EXPECT_EQ(kv::IsEqual(1.23456, 1.23457, 4), 1);
    EXPECT_EQ(kv::IsEqual(1.23456, 1.23457, 5), 0);
    EXPECT_EQ(kv::IsEqual(1.9, 1.1, 12), 1);  // integer parts only
    EXPECT_EQ(kv::IsEqual(1e300, kNaN, 1), 1);  // all beyond 32 bits are INT_MIN
}

TEST(EStr, CutsZerosUnlessPrecisionEqualsWidth) {
    const int saved = kv::glob_bUseInFieldPoint;
    kv::glob_bUseInFieldPoint = 1;
    EXPECT_EQ(kv::EStr(3.5, 3, 8), "   3.5");  // cut after the alignment
    EXPECT_EQ(kv::EStr(3.5, 3, 3), "3.500");
    EXPECT_EQ(kv::EStr(-1.0, 2, 5), "-1.0");
    kv::glob_bUseInFieldPoint = 0;
    EXPECT_EQ(kv::EStr(3.25, 2, 6), "  3,25");
    EXPECT_EQ(kv::EStr(3.5, 3, 6), " 3,5");
    kv::glob_bUseInFieldPoint = saved;
    EXPECT_EQ(kv::LStr(INT32_MIN), "-2147483648");
}

TEST(NumberParsing, LongsFromTheFirstSignOrDigit) {
    EXPECT_EQ(kv::LAtStr("U=-12V"), -12);
    EXPECT_EQ(kv::LAtStr("No. 7.9"), 7);
    EXPECT_EQ(kv::LAtStr("abc"), 99999999);
    EXPECT_EQ(kv::LAtStr("99999999999"), INT32_MAX);
    EXPECT_EQ(kv::StrL("  -7x"), -7);
    EXPECT_EQ(kv::StrL("abc"), 0);
    EXPECT_EQ(kv::StrL(nullptr), 0);
}

TEST(NumberParsing, EAtStrRewritesCommasAndRejectsAFourth) {
    kv::CString s("U=-1,25V");
    EXPECT_EQ(kv::EAtStr(s), -1.25);
    EXPECT_EQ(s, "U=-1.25V");
    kv::CString three("1,2,3,4");
    EXPECT_EQ(kv::EAtStr(three), 1.2);
    kv::CString five("a,b,c,d,e,f");
    EXPECT_EQ(kv::EAtStr(five), 99999999999.0);
    EXPECT_EQ(five, "a.b.c.d.e,f");
    kv::CString empty, letters("abc");
    EXPECT_EQ(kv::EAtStr(empty), 99999999999.0);
    EXPECT_EQ(kv::EAtStr(letters), 99999999999.0);
}

}  // namespace
