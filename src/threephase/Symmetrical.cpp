// Symmetrical components of a three-phase set, and back.

#include <cmath>
#include <cstddef>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"
#include "phasor/Angles.h"
#include "threephase/KeptAngles.h"

namespace kv {

namespace {

using threephase::CosSin;
using threephase::Kept;

// The literal factor, not the computed pi/180: the last digits differ, and callers
// compare the stored components with values they computed the same way. Being 3e-15
// short, it leaves a balanced set residues near 5e-13 of its magnitude in the sequences
// the set does not contain.
constexpr double kGr = 0.01745329251994;

constexpr unsigned kCurrents = 1;
constexpr unsigned kVoltages = 2;

struct MagAngle {
    double m;
    double fi;
};

// fi + shift degrees; the shift 0 is still added, which turns an angle of -0 into +0.
[[gnu::always_inline]] inline CosSin At(double fi, double shift) {
    const double r = (fi + shift) * kGr;
    return {std::cos(r), std::sin(r)};
}

// An angle turned by 0, 120 and 240 degrees: 120 stands for the operator a, 240 for a
// squared. Each angle a formula names is computed once, however many sums read it.
struct Turned {
    CosSin by0;
    CosSin by120;
    CosSin by240;
};

[[gnu::always_inline]] inline Turned Turn(double fi) { return {At(fi, 0), At(fi, 120), At(fi, 240)}; }

// Phase A's angle serves unturned only.
struct KeptAngles {
    Kept<CosSin> a;
    Kept<Turned> b;
    Kept<Turned> c;
};

// The currents' and the voltages' apart, as a record transforms both in turn.
thread_local KeptAngles tKeptAngles[2];

// m0 at r0 + m1 at r1 + m2 at r2, summed in the order of the terms.
// The magnitude is the square root of the sum of squares, not hypot: the last digits
// are part of the behaviour.
[[gnu::always_inline]] inline MagAngle WeightedSum(double m0, CosSin r0, double m1, CosSin r1, double m2, CosSin r2) {
    const double x = m0 * r0.c + m1 * r1.c + m2 * r2.c;
    const double y = m0 * r0.s + m1 * r1.s + m2 * r2.s;
    return {std::sqrt(x * x + y * y), angles::Abs(std::atan2(y, x) / kGr)};
}

// One group of a record (currents or voltages): slots 0, 1, 2 are phases A, B, C or the
// positive, negative and zero sequence.
struct Group {
    double m[3];
    double fi[3];
};

Group Read(const double (&m)[3], const double (&fi)[3]) {
    return {{m[0], m[1], m[2]}, {fi[0], fi[1], fi[2]}};
}

void Write(const Group& g, double (&m)[3], double (&fi)[3]) {
    for (std::size_t k = 0; k < 3; ++k) {
        m[k] = g.m[k];
        fi[k] = g.fi[k];
    }
}

// Components of phase A. With zeroTimesThree the zero sequence is left undivided (3I0, 3U0).
Group PhasesToSequence(const Group& p, bool zeroTimesThree, KeptAngles& kept) {
    const CosSin a = kept.a.Of(p.fi[0], [](double fi) { return At(fi, 0); });
    const Turned b = kept.b.Of(p.fi[1], Turn);
    const Turned c = kept.c.Of(p.fi[2], Turn);
    const MagAngle zero = WeightedSum(p.m[0], a, p.m[1], b.by0, p.m[2], c.by0);
    const MagAngle negative = WeightedSum(p.m[0], a, p.m[1], b.by240, p.m[2], c.by120);
    const MagAngle positive = WeightedSum(p.m[0], a, p.m[1], b.by120, p.m[2], c.by240);
    return {{positive.m / 3, negative.m / 3, zeroTimesThree ? zero.m : zero.m / 3},
            {positive.fi, negative.fi, zero.fi}};
}

// Phases A, B, C from the components of phase A, the zero sequence taken as it stands.
Group SequenceToPhases(const Group& s) {
    const Turned positive = Turn(s.fi[0]);
    const Turned negative = Turn(s.fi[1]);
    const CosSin zero = At(s.fi[2], 0);
    const MagAngle a = WeightedSum(s.m[0], positive.by0, s.m[1], negative.by0, s.m[2], zero);
    const MagAngle b = WeightedSum(s.m[0], positive.by240, s.m[1], negative.by120, s.m[2], zero);
    const MagAngle c = WeightedSum(s.m[0], positive.by120, s.m[1], negative.by240, s.m[2], zero);
    return {{a.m, b.m, c.m}, {a.fi, b.fi, c.fi}};
}

// Strictly greater only: a not-a-number magnitude passes.
bool Exceeds(const double (&m)[3], double limit) {
    return m[0] > limit || m[1] > limit || m[2] > limit;
}

int WithinLimits(const double (&i)[3], double iLimit, const double (&u)[3], double uLimit) {
    return Exceeds(i, iLimit) || Exceeds(u, uLimit) ? 0 : 1;
}

int CheckSimToFaz(double m1, double fi1, double m2, double fi2, double m0, double fi0,
                  double limit) {
    const Group phases = SequenceToPhases({{m1, m2, m0}, {fi1, fi2, fi0}});
    for (const double m : phases.m) {
        if (m - 0.001 > limit) return 0;
    }
    return 1;
}

}  // namespace

// Both groups are checked whatever the mask: a group left alone is checked as it stands.
int FazToSim(CValueIU& v, unsigned short mask) {
    const Group i = Read(v.dI, v.dFiI);
    const Group u = Read(v.dU, v.dFiU);
    const bool zeroTimesThree = glob_bArm != 0;
    KeptAngles* kept = tKeptAngles;
    if ((mask & kCurrents) != 0) Write(PhasesToSequence(i, zeroTimesThree, kept[0]), v.dI, v.dFiI);
    if ((mask & kVoltages) != 0) Write(PhasesToSequence(u, zeroTimesThree, kept[1]), v.dU, v.dFiU);
    return WithinLimits(v.dI, globImax, v.dU, globUmax);
}

// The 3I0/3U0 division acts on the working copies of both groups; a group the mask
// leaves out keeps its stored zero sequence.
int SimToFaz(CValueIU& v, unsigned short mask) {
    Group i = Read(v.dI, v.dFiI);
    Group u = Read(v.dU, v.dFiU);
    if (glob_bArm != 0) {
        i.m[2] = i.m[2] / 3;
        u.m[2] = u.m[2] / 3;
    }
    if ((mask & kCurrents) != 0) Write(SequenceToPhases(i), v.dI, v.dFiI);
    if ((mask & kVoltages) != 0) Write(SequenceToPhases(u), v.dU, v.dFiU);
    return WithinLimits(v.dI, globImax + 0.0001, v.dU, globUmax + 0.0001);
}

// The sequence block always holds I0 and U0 themselves: glob_bArm is not consulted.
int FazToSimAnotherFields(CValueIU& v) {
    KeptAngles* kept = tKeptAngles;
    Write(PhasesToSequence(Read(v.dI, v.dFiI), false, kept[0]), v.dSimI, v.dSimFiI);
    Write(PhasesToSequence(Read(v.dU, v.dFiU), false, kept[1]), v.dSimU, v.dSimFiU);
    return WithinLimits(v.dSimI, globImax, v.dSimU, globUmax);
}

int SimToFazAnotherFields(CValueIU& v) {
    Write(SequenceToPhases(Read(v.dSimI, v.dSimFiI)), v.dI, v.dFiI);
    Write(SequenceToPhases(Read(v.dSimU, v.dSimFiU)), v.dU, v.dFiU);
    return WithinLimits(v.dI, globImax, v.dU, globUmax);
}

int UcheckSimToFaz(double m1, double fi1, double m2, double fi2, double m0, double fi0,
                   double limit) {
    return CheckSimToFaz(m1, fi1, m2, fi2, m0, fi0, limit);
}

int IcheckSimToFaz(double m1, double fi1, double m2, double fi2, double m0, double fi0,
                   double limit) {
    return CheckSimToFaz(m1, fi1, m2, fi2, m0, fi0, limit);
}

}  // namespace kv
