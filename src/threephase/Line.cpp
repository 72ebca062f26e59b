// Line (phase-to-phase) values of a three-phase set.

#include <cmath>
#include <cstddef>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"
#include "phasor/AngleConstants.h"
#include "phasor/Angles.h"
#include "threephase/KeptAngles.h"

namespace kv {

namespace {

constexpr unsigned kCurrents = 1;
constexpr unsigned kVoltages = 2;

struct Rect {
    double x;
    double y;
};

using KeptAngle = threephase::Kept<threephase::CosSin>;

// The currents' and the voltages' apart, phases A, B, C.
thread_local KeptAngle tKeptAngles[2][3];

// The computed pi/180 here, unlike the symmetrical components and their literal.
[[gnu::always_inline]] inline Rect ToRect(double m, double fi, KeptAngle& kept) {
    const threephase::CosSin r =
        kept.Of(fi, [](double a) { return threephase::CosSin{std::cos(a * kDegToRad), std::sin(a * kDegToRad)}; });
    return {m * r.c, m * r.s};
}

// Slot 0 AB, slot 1 BC, slot 2 CA. The magnitude is taken of the reverse difference
// and the angle of the forward one; hypot does not care, the stored angle does.
void PhasesToLine(const double (&m)[3], const double (&fi)[3], double (&lineM)[3],
                  double (&lineFi)[3], KeptAngle (&kept)[3]) {
    const Rect a = ToRect(m[0], fi[0], kept[0]);
    const Rect b = ToRect(m[1], fi[1], kept[1]);
    const Rect c = ToRect(m[2], fi[2], kept[2]);
    lineM[0] = std::hypot(b.x - a.x, b.y - a.y);
    lineFi[0] = angles::Abs(std::atan2(a.y - b.y, a.x - b.x) * kRadToDeg);
    lineM[1] = std::hypot(c.x - b.x, c.y - b.y);
    lineFi[1] = angles::Abs(std::atan2(b.y - c.y, b.x - c.x) * kRadToDeg);
    lineM[2] = std::hypot(a.x - c.x, a.y - c.y);
    lineFi[2] = angles::Abs(std::atan2(c.y - a.y, c.x - a.x) * kRadToDeg);
}

// Strictly greater only, no margin: a not-a-number magnitude passes.
bool Exceeds(const double (&m)[3], double limit) {
    return m[0] > limit || m[1] > limit || m[2] > limit;
}

}  // namespace

// Both groups are checked whatever the mask.
int FazToLin(CValueIU& v, unsigned short mask) {
    const CValueIU phases = v;
    auto& kept = tKeptAngles;
    if ((mask & kCurrents) != 0) PhasesToLine(phases.dI, phases.dFiI, v.dI, v.dFiI, kept[0]);
    if ((mask & kVoltages) != 0) PhasesToLine(phases.dU, phases.dFiU, v.dU, v.dFiU, kept[1]);
    return Exceeds(v.dI, globImax) || Exceeds(v.dU, globUmax) ? 0 : 1;
}

// The line values are formed even when SimToFaz reports an excess.
int SimToLin(CValueIU& v, unsigned short mask) {
    const int phasesOk = SimToFaz(v, mask);
    const int linesOk = FazToLin(v, mask);
    return phasesOk == 1 && linesOk == 1 ? 1 : 0;
}

}  // namespace kv
