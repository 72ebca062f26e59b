// The catalogue's faults through the layer: the core's full synthesis (the twelve-output
// SetUIFaza) with its inputs named, its result checked and its phasors as value types.
//
// The core's synthesis reads the core's global state (device limits, nominal values) and
// records each request there, so syntheses run one at a time, never beside another thread
// that touches that state. Turning its outputs into phasors (CatalogueSweep::Phasors)
// touches nothing shared and may run on any thread.
#pragma once

#include <span>
#include <string_view>

#include "Kv_Relay/Export.h"
#include "Kv_Relay/Phasors.h"

namespace kv::relay {

// A fault type by name, with or without "Fault", in any letter case ("FaultAB", "ab"), or
// by code ("6"); Error for anything the catalogue does not know.
KV_RELAY_API int FaultTypeCode(std::string_view nameOrCode);
// The catalogue's name of a code ("FaultAB"), as the core spells it (Windows-1251).
KV_RELAY_API std::string FaultTypeName(int code);

struct CatalogueFault {
    int type = 6;      // the fault type's code
    double u = 30;     // V: what U stands for depends on the type (see the core's Fault.h)
    double i = 5;      // A
    double phi = 75;   // degrees: the angle by which the faulted loop's voltage leads its current
    double unom = -1;  // the phase-to-phase geometry's threshold, V; negative: the core's nominal line voltage
    double aux = -1;   // base voltage or positive-sequence quantity of the patterns that read it; -1: none
    double auxAngle = 0;
    double uhealthy = -1;  // healthy-phase voltage of the types that take one; negative: the nominal
    // The system's nominal line voltage for this synthesis (the healthy phases take it);
    // none: what the core holds. The core's value is put back afterwards.
    double nominalVoltage = 0;  // 0: none
};

struct CatalogueResult {
    int result = 0;  // 0 done, 1 voltage limited, 2 current above its limit, 3 not handled
    ThreePhaseSet phases;
};

// Error, naming the field, for non-finite inputs or a negative magnitude (U may be
// negative for type 82 only); the result code is returned, not judged.
KV_RELAY_API CatalogueResult Synthesise(const CatalogueFault& fault);

// The synthesis's first step alone: the core's polar outputs, magnitude and angle in
// degrees of UA, UB, UC in `voltages` and of IA, IB, IC in `currents`; the result code
// is returned. The same checks and Errors as Synthesise.
KV_RELAY_API int SynthesisePolar(const CatalogueFault& fault, std::span<double, 6> voltages,
                                 std::span<double, 6> currents);

// Syntheses one after another, as along a sweep, with the same results as Synthesise:
// the cosine and sine of each phasor's angle are kept and used again while the angle
// stays as it was, as most of them do from one point of a sweep to the next.
class KV_RELAY_API CatalogueSweep {
public:
    CatalogueResult operator()(const CatalogueFault& fault);
    // The second step, from SynthesisePolar's outputs, point after point in the same way.
    ThreePhaseSet Phasors(std::span<const double, 6> voltages, std::span<const double, 6> currents);

private:
    PolarSweep m_phasors[6];  // UA, UB, UC, IA, IB, IC
};

}  // namespace kv::relay
