#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <tuple>

#include "Kv_Data/Util.h"

namespace {

using kv::CPoint;

TEST(Geometry, AnglesAndLengthsTakeIntegerDifferencesThatWrap) {
    EXPECT_DOUBLE_EQ(kv::AngleLine(CPoint(5, 1), CPoint(1, 4)), std::atan2(3.0, -4.0));
    EXPECT_DOUBLE_EQ(kv::AngleLine(CPoint(-3, 4)), std::atan2(4.0, -3.0));
    EXPECT_EQ(kv::LengthLine(CPoint(1, 2), CPoint(4, 6)), 5.0);
    EXPECT_EQ(kv::LengthLine(1.0, 2.0, 4.0, 6.0), 5.0);
    EXPECT_EQ(kv::LengthLine(-6.0, 8.0), 10.0);
    EXPECT_EQ(kv::LengthLine(kv::CSize(5, -12)), 13.0);
    EXPECT_EQ(kv::LengthLine(CPoint(-1, 0), CPoint(INT_MAX, 0)), 2147483648.0);  // wraps to INT_MIN
}

TEST(Geometry, PointInLineAcceptsTheBoundingRectangle) {
    for (const auto& [a, b, c, want] : {std::tuple{5, 5, 5, 1}, {5, 5, 6, 0}, {10, 0, 3, 1}, {0, 10, 11, 0}})
        EXPECT_EQ(kv::PointInLine(a, b, c), want) << a << " " << b << " " << c;
    for (const auto& [p, want] : {std::pair{CPoint(10, 0), 1}, {CPoint(3, 7), 1}, {CPoint(11, 5), 0}, {CPoint(5, -1), 0}})
        EXPECT_EQ(kv::PointInLine(CPoint(0, 0), CPoint(10, 10), p), want) << p.x << "," << p.y;
    EXPECT_EQ(kv::PointInLine(CPoint(2, 0), CPoint(2, 10), CPoint(3, 4)), 0);  // a degenerate side
    // INT_MAX - INT_MIN wraps to -1, so the whole plane's diagonal holds nothing.
    EXPECT_EQ(kv::PointInLine(CPoint(INT_MIN, INT_MIN), CPoint(INT_MAX, INT_MAX), CPoint(0, 0)), 0);
}

TEST(Geometry, IntersectionOfTwoSegmentsAlwaysWritesOut) {
    struct Case {
        CPoint a1, a2, b1, b2, out;
        int result;
    } const cases[] = {
        {{0, 0}, {10, 0}, {5, -5}, {5, 5}, {5, 0}, 1},                // horizontal and vertical
        {{5, -5}, {5, 5}, {0, 0}, {10, 0}, {5, 0}, 1},                // the other way round
        {{0, 0}, {10, 10}, {0, 10}, {10, 0}, {5, 5}, 1},              // both oblique
        {{3, 1}, {12, 4}, {2, 7}, {6, -5}, {4, 1}, 1},                // oblique, x = 3.9
        {{0, 0}, {10, 10}, {0, 1}, {10, 11}, {INT_MAX, INT_MAX}, 0},  // parallel
        {{0, 0}, {4, 4}, {0, 10}, {10, 0}, {5, 5}, 0},                // beyond the end of a
        {{0, 0}, {10, 5}, {3, 0}, {3, 100}, {3, 2}, 1},               // y = 1.5 rounded
        {{0, 0}, {10, 4}, {0, 3}, {20, 3}, {8, 3}, 1},                // x = 7.5 rounded
        {{0, 0}, {8, 5}, {-10, 3}, {0, 3}, {5, 3}, 0},                // beyond the end of b
        {{3, 0}, {3, 4}, {0, 6}, {3, 6}, {3, 6}, 0},                  // vertical a, then horizontal b
        {{1, 0}, {1, 9}, {4, 0}, {4, 9}, {1, 0}, 0},                  // two verticals
        {{1, 0}, {1, 9}, {1, 5}, {1, 20}, {1, 5}, 1},                 // overlapping verticals
        {{0, 2}, {9, 2}, {0, 3}, {9, 3}, {0, 2}, 0},                  // two horizontals
        {{4, 2}, {4, 2}, {0, 2}, {9, 2}, {4, 2}, 1},                  // a point on a horizontal
    };
    for (const Case& c : cases) {
        CPoint out(-7, -7);
        EXPECT_EQ(kv::PointIntersectTwoLine(out, c.a1, c.a2, c.b1, c.b2), c.result) << c.b1.x << "," << c.b1.y;
        EXPECT_EQ(out, c.out) << c.b1.x << "," << c.b1.y;
    }
    // Extreme coordinates: only defined behaviour is asked for (the sanitizer build checks it).
    CPoint out;
    const CPoint lo(INT_MIN, INT_MIN), hi(INT_MAX, INT_MAX);
    kv::PointIntersectTwoLine(out, lo, hi, CPoint(INT_MIN, INT_MAX), CPoint(INT_MAX, INT_MIN));
    kv::PointIntersectTwoLine(out, lo, CPoint(INT_MIN, INT_MAX), CPoint(INT_MAX, 0), CPoint(INT_MIN + 1, 1));
    kv::PointIntersectTwoLine(out, lo, CPoint(INT_MAX, INT_MIN), hi, CPoint(0, INT_MIN + 3));
}

}  // namespace
