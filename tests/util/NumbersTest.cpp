#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <utility>

#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Round, HalvesAwayFromZeroSaturatingWithoutUndefinedCasts) {
    // -1 < x <= -0.5 gives +1; NaN truncates to INT_MIN and the step away wraps.
    for (const auto& [x, want] : {std::pair{2.5, 3}, {-1.5, -2}, {-0.49, 0}, {-0.5, 1}, {2147483648.0, INT_MAX},
                                  {2147483646.5, INT_MAX}, {-3e9, INT_MIN}, {kNaN, INT_MAX}})
        EXPECT_EQ(kv::round(x), want) << x;
    EXPECT_EQ(kv::round(-0.999f), 1);
    EXPECT_EQ(kv::roundshort(-0.7), 1);
    EXPECT_EQ(kv::roundshort(40000.0), 32767);
    EXPECT_EQ(kv::roundshort(-32767.5), -32768);
}

TEST(DRound, FollowsTheCLibrarysDecimalTextInEachThread) {
    // 2.345 is stored just above the half, 2.675 just below, 0.125 is an exact tie (to even);
    // -1e300 with 400 digits is longer than the buffer.
    for (const auto& [x, digits, want] : {std::tuple{2.345, 2, 2.35}, {2.675, 2, 2.67}, {0.125, 2, 0.12},
                                          {1.23456789, -1, 1.234568}, {-1e300, 400, -1e300}})
        EXPECT_EQ(kv::dRound(x, digits), want) << x;
    auto worker = [](double base, int* failures) {
        for (int i = 0; i < 20000; ++i)
            if (kv::dRound(base + i + 0.4, 0) != base + i) ++*failures;
    };
    int failures[2] = {0, 0};
    std::thread a(worker, 1e6, &failures[0]), b(worker, 5e6, &failures[1]);
    a.join(), b.join();
    EXPECT_EQ(failures[0] + failures[1], 0);
}

TEST(DivRound, NearestMultipleTiesAwayFromZeroWrappingLikeThirtyTwoBits) {
    // |INT_MIN| stays negative.
    for (const auto& [x, step, want] : {std::tuple{7, 5, 5}, {8, 5, 10}, {5, 10, 10}, {-8, 5, -10}, {7, 0, 0},
                                        {INT_MAX, 2, INT_MIN}, {INT_MIN, 5, 2147483640}, {INT_MIN, -1, -2147483647}})
        EXPECT_EQ(kv::DivRound(x, step), want) << x << " " << step;
    // A double is cut to tenths first; out of range and NaN truncate to INT_MIN like the processor.
    for (const auto& [x, step, want] : {std::tuple{2.5, 5, 5}, {2.49, 5, 0}, {-7.5, 5, -10}, {2.5, 0, 0},
                                        {1e300, 5, 214748355}, {kNaN, 5, 214748355}})
        EXPECT_EQ(kv::DivRound(x, step), want) << x << " " << step;
}

TEST(DDivRound, ValuesUpToOneStepBecomeOneStep) {
    for (const auto& [x, step, want] : {std::tuple{7.4, 5.0, 5.0}, {7.5, 5, 10}, {-12, 5, -10}, {5, 5, 5},
                                        {-0.3, 5, -5}, {12, 0, 0}, {12, 1e-9, 1e-9}, {-5e-9, 1, 0}})
        EXPECT_EQ(kv::dDivRound(x, step), want) << x << " " << step;
    EXPECT_EQ(kv::dDivRoundDegree(1234.5, 2), 1200.0);  // significant digits
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
    // 12 decimals compare the integer parts only; all beyond 32 bits are INT_MIN.
    for (const auto& [a, b, digits, want] : {std::tuple{0.19, 0.11, 1, 1}, {0.10, 0.09, 1, 0}, {-0.05, 0.05, 1, 1},
             {1.23456, 1.23457, 4, 1}, {1.23456, 1.23457, 5, 0}, {1.9, 1.1, 12, 1}, {1e300, kNaN, 1, 1}})
        EXPECT_EQ(kv::IsEqual(a, b, digits), want) << a << " " << b << " " << digits;
}

TEST(EStr, CutsZerosUnlessPrecisionEqualsWidth) {
    const int saved = kv::glob_bUseInFieldPoint;
    // "   3.5": cut after the alignment.
    // A negative precision means six decimals; a denormal prints as (signed) zero.
    for (const auto& [point, x, precision, width, want] : {std::tuple{1, 3.5, 3, 8, "   3.5"}, {1, 3.5, 3, 3, "3.500"},
             {1, -1.0, 2, 5, "-1.0"}, {0, 3.25, 2, 6, "  3,25"}, {0, 3.5, 3, 6, " 3,5"}, {1, kNaN, 2, 6, "   nan"},
             {1, -0.0, 1, 4, "-0.0"}, {1, -5e-324, 2, 0, "-0.0"}, {1, 1.5, INT_MIN, 0, "1.5"}}) {
        kv::glob_bUseInFieldPoint = point;
        EXPECT_EQ(kv::EStr(x, precision, width), want) << x;
    }
    kv::glob_bUseInFieldPoint = saved;
    EXPECT_EQ(kv::EStr(1e308, 2, 0).GetLength(), 309 + 2);
    EXPECT_EQ(kv::LStr(INT32_MIN), "-2147483648");
}

TEST(NumberParsing, FromTheFirstSignOrDigitWithCommasRewritten) {
    for (const auto& [text, want] :
         {std::pair{"U=-12V", -12}, {"No. 7.9", 7}, {"abc", 99999999}, {"99999999999", INT32_MAX}, {"-2147483649", INT32_MIN}})
        EXPECT_EQ(kv::LAtStr(text), want) << text;
    EXPECT_EQ(kv::StrL("  -7x"), -7);
    EXPECT_EQ(kv::StrL("abc"), 0);
    EXPECT_EQ(kv::StrL(nullptr), 0);
    kv::CString s("U=-1,25V"), three("1,2,3,4"), five("a,b,c,d,e,f"), empty, letters("abc");
    EXPECT_EQ(kv::EAtStr(s), -1.25);
    EXPECT_EQ(s, "U=-1.25V");
    EXPECT_EQ(kv::EAtStr(three), 1.2);
    EXPECT_EQ(kv::EAtStr(five), 99999999999.0);  // a fourth comma rejects
    EXPECT_EQ(five, "a.b.c.d.e,f");
    EXPECT_EQ(kv::EAtStr(empty), 99999999999.0);
    EXPECT_EQ(kv::EAtStr(letters), 99999999999.0);
}

}  // namespace
