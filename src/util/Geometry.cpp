#include <cmath>
#include <cstdint>

#include "Kv_Data/Util.h"
#include "util/Truncate.h"

namespace kv {

namespace {

// The sentinel of both coordinates when two oblique segments run parallel.
constexpr LONG kParallel = 2147483647;

// a − b in 32-bit integers, wrapping on overflow as the processor does.
int Diff(int a, int b) {
    return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

// Where v lies on the span e1..e2: 0 at e1, 1 at e2; a span of one value holds only
// that value (0) and puts everything else outside (2).
double SpanParameter(int e1, int e2, int v) {
    if (e2 != e1) return static_cast<double>(Diff(v, e1)) / static_cast<double>(Diff(e2, e1));
    return v == e2 ? 0.0 : 2.0;
}

// The other coordinate of the point at v on the line through (p, q) and (r, s).
int Interp(int v, int p, int q, int r, int s) {
    if (r == p) return q;
    return round(static_cast<double>(Diff(v, p)) * static_cast<double>(Diff(s, q)) /
                     static_cast<double>(Diff(r, p)) +
                 static_cast<double>(q));
}

bool OnBoth(CPoint a1, CPoint a2, CPoint b1, CPoint b2, CPoint p) {
    return PointInLine(a1, a2, p) != 0 && PointInLine(b1, b2, p) != 0;
}

}  // namespace

double AngleLine(CPoint p1, CPoint p2) {
    return std::atan2(static_cast<double>(Diff(p2.y, p1.y)), static_cast<double>(Diff(p2.x, p1.x)));
}

double AngleLine(CPoint p) { return std::atan2(static_cast<double>(p.y), static_cast<double>(p.x)); }

double LengthLine(CPoint p1, CPoint p2) {
    return std::hypot(static_cast<double>(Diff(p2.x, p1.x)), static_cast<double>(Diff(p2.y, p1.y)));
}

double LengthLine(double x1, double y1, double x2, double y2) { return std::hypot(x2 - x1, y2 - y1); }

double LengthLine(double dx, double dy) { return std::hypot(dx, dy); }

double LengthLine(CPoint p) { return std::hypot(static_cast<double>(p.x), static_cast<double>(p.y)); }

double LengthLine(CSize s) { return LengthLine(CPoint(s.cx, s.cy)); }

int PointInLine(int a, int b, int c) {
    const double t = SpanParameter(a, b, c);
    return t >= 0 && t <= 1 ? 1 : 0;
}

int PointInLine(CPoint p1, CPoint p2, CPoint p) {
    const double tx = SpanParameter(p1.x, p2.x, p.x);
    if (tx < 0 || tx > 1) return 0;
    const double ty = SpanParameter(p1.y, p2.y, p.y);
    if (ty < 0 || ty > 1) return 0;
    if (std::fabs(tx) < 1e-6 || std::fabs(ty) < 1e-6) return 1;
    // Always true for two parameters in [0, 1]: the whole bounding rectangle counts,
    // which the rounded meeting points of PointIntersectTwoLine need.
    return TruncToInt32(std::fabs(tx - ty)) <= 1 ? 1 : 0;
}

int PointIntersectTwoLine(CPoint& out, CPoint a1, CPoint a2, CPoint b1, CPoint b2) {
    bool found = false;
    bool applied = false;
    if (a2.x == a1.x) {
        out.x = a1.x;
        out.y = Interp(out.x, b1.x, b1.y, b2.x, b2.y);
        found = applied = true;
    }
    if (a2.y == a1.y) {
        if (found && a1.y != out.y) return 0;
        out.y = a1.y;
        out.x = Interp(out.y, b1.y, b1.x, b2.y, b2.x);
        found = applied = true;
    }
    if (b2.x == b1.x) {
        if (found && b1.x != out.x) return 0;
        if (found && OnBoth(a1, a2, b1, b2, out)) return 1;
        out.x = b1.x;
        out.y = Interp(out.x, a1.x, a1.y, a2.x, a2.y);
        found = applied = true;
    }
    if (b2.y == b1.y) {
        if (found && b1.y != out.y) return 0;
        if (found && OnBoth(a1, a2, b1, b2, out)) return 1;
        out.y = b1.y;
        out.x = Interp(out.y, a1.y, a1.x, a2.y, a2.x);
        applied = true;
    }
    if (!applied) {
        const double dAx = Diff(a2.x, a1.x);
        const double dAy = Diff(a2.y, a1.y);
        const double dBx = Diff(b2.x, b1.x);
        const double dBy = Diff(b2.y, b1.y);
        const double k = 1 - dBy * dAx / (dBx * dAy);
        if (std::fabs(k) < 0.0001) {
            out = CPoint(kParallel, kParallel);
        } else {
            const double ax = a1.x;
            const double ay = a1.y;
            const double bx = b1.x;
            const double by = b1.y;
            const double x = (ax - (bx * dBy - dBx * by) * dAx / (dBx * dAy) - ay * dAx / dAy) / k;
            out.x = round(x);
            out.y = round(static_cast<double>(Diff(out.x, b1.x)) * dBy / dBx + by);
        }
    }
    return OnBoth(a1, a2, b1, b2, out) ? 1 : 0;
}

}  // namespace kv
