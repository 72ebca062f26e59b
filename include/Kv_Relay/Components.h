// Symmetrical components and line values of a three-phase quantity.
//
// With a = 1∠120°: X1 = (XA + a·XB + a²·XC) / 3, X2 = (XA + a²·XB + a·XC) / 3,
// X0 = (XA + XB + XC) / 3 (not 3·X0); line values XAB = XA − XB, XBC = XB − XC, XCA = XC − XA.
#pragma once

#include "Kv_Relay/Export.h"
#include "Kv_Relay/Phasors.h"

namespace kv::relay {

// Positive, negative and zero sequence, in this order.
struct SequenceComponents {
    Phasor positive, negative, zero;
};
KV_RELAY_API SequenceComponents Symmetrical(const ThreePhase& phases);
// The same three as a ThreePhase (positive, negative, zero), for Report.
inline ThreePhase AsTriple(const SequenceComponents& s) { return {s.positive, s.negative, s.zero}; }

// AB, BC and CA, in the places of A, B and C.
KV_RELAY_API ThreePhase LineValues(const ThreePhase& phases);

}  // namespace kv::relay
