#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "NumberText.h"
#include "Rows.h"

namespace {

std::string Shortest(double value) {
    char text[kvdata::kShortestRoom];
    return {text, kvdata::WriteShortest(text, value)};
}

// std::to_chars's text, but for whole numbers from 10^16 in plain form, which it writes
// with every digit of the binary value and WriteShortest with the shortest digits padded
// with zeros: the same length, and the same double.
void ExpectLikeToChars(double value) {
    char chars[400];
    const std::string text = Shortest(value), expected(chars, std::to_chars(chars, chars + sizeof chars, value).ptr);
    ASSERT_LE(text.size(), kvdata::kShortestLength);
    if (std::fabs(value) < 1e16 || expected.find_first_of("en") != std::string::npos) {
        ASSERT_EQ(text, expected) << std::bit_cast<std::uint64_t>(value);
        return;
    }
    ASSERT_EQ(text.size(), expected.size()) << expected;
    double back = 0;
    std::from_chars(text.data(), text.data() + text.size(), back);
    ASSERT_EQ(back, value) << text;
}

TEST(NumberTextTest, ShortestTextOfEveryKindOfDouble) {
    const double kMax = std::numeric_limits<double>::max(), kTiny = std::numeric_limits<double>::denorm_min();
    for (const double v : {0.0, -0.0, 1.0, -1.0, 0.1, 0.3, 1.0 / 3, 5e-324, 2.2250738585072014e-308, kMax, 1e-7,
                           1.5e-5, 0.001, 123.456, 49.9999, 99999.0, 100000.0, 120000.0, 1e15, 1e16, 1e21, 1e23,
                           12345678901234567.0, 9007199254740993.0, 4294967296.5, 100000000.25,
                           std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()})
        ExpectLikeToChars(v);
    // Every binary exponent, and both neighbours of powers of ten: digit counts and
    // the switch between the plain and the exponent form.
    for (double p = kTiny; p < kMax / 2; p *= 2)
        for (const double v : {p, std::nextafter(p, 0.0), std::nextafter(p, kMax), 3 * p}) ExpectLikeToChars(v);
    for (int e = -323; e <= 308; ++e)
        for (const double m : {1.0, 9.999999999999999, 5.0}) {
            const double v = m * std::pow(10.0, e);
            for (const double w : {v, std::nextafter(v, 0.0), std::nextafter(v, kMax)}) ExpectLikeToChars(w);
        }
    std::mt19937_64 random(20240601);
    for (int k = 0; k < 200000; ++k) {
        const std::uint64_t bits = random();
        const double fraction = std::ldexp(static_cast<double>(bits >> 11), -53);
        for (const double v : {std::bit_cast<double>(bits), fraction * 360, fraction * 1e-9,
                               std::round(fraction * 1e6) / 1e4, std::floor(fraction * 1e20)})
            ExpectLikeToChars(v);
    }
}

TEST(NumberTextTest, RowsCopyRepeatedNumbersAsTheyWouldBeWritten) {
    // Constant, slowly changing and repeated columns, zeros of both signs, NaN, a change
    // of layout, long texts, across many flushes of the buffer.
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    std::string expected;
    {
        kvdata::RowBuffer rows(file);
        for (int k = 0; k < 60000; ++k) {
            const double slow = 30 + (k / 7) * 0.0001;
            const double z = k % 3 == 0 ? -0.0 : 0.0;
            std::vector<double> row = {57.735026918962575, slow, 165, slow, z, std::nan(""), k * 1e-9, slow * 3};
            if (k % 1000 == 999) row.erase(row.begin());
            kvdata::RowBuffer::Row text(rows);
            for (const double v : row) {
                text.Number(v);
                text.Char(',');
                expected += Shortest(v) + ",";
            }
            // Texts longer than a number, one longer than the buffer.
            const std::string line = k % 500 == 0 ? std::string(k == 30000 ? 3 << 20 : 100, 'x') + "\n" : "\n";
            text.Text(line);
            expected += line;
        }
    }
    ASSERT_EQ(std::ftell(file), static_cast<long>(expected.size()));
    std::string written(expected.size(), '\0');
    std::rewind(file);
    ASSERT_EQ(std::fread(written.data(), 1, written.size(), file), written.size());
    std::fclose(file);
    EXPECT_TRUE(written == expected);
}

}  // namespace
