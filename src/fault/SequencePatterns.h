// What the twelve-output SetUIFaza shares with its sequence-component and universal
// patterns: the outputs, the writing of a row's cells, and the five patterns themselves.
#pragma once

#include <array>
#include <cstddef>

#include "Kv_Data/Phasor.h"
#include "fault/Expr.h"
#include "fault/Synthesis.h"

namespace kv::fault {

// The caller's twelve outputs, phases A, B, C in each array.
struct Outputs {
    std::array<double*, 3> current;
    std::array<double*, 3> currentAngle;
    std::array<double*, 3> voltage;
    std::array<double*, 3> voltageAngle;
};

inline void WriteCurrents(const Triple& cells, const Work& w, const Outputs& out) {
    for (std::size_t k = 0; k < 3; ++k) WriteCell(cells[k], w, *out.current[k], *out.currentAngle[k]);
}

inline void WriteVoltages(const Triple& cells, const Work& w, const Outputs& out) {
    for (std::size_t k = 0; k < 3; ++k) WriteCell(cells[k], w, *out.voltage[k], *out.voltageAngle[k]);
}

// The patterns built from symmetrical components. Each runs after the frame's limiting
// and reads U, I, Phi, Aux and Uh from w; the caller returns its own result after them.
void FaultU1U30I30(const Work& w, double auxAngle, const Outputs& out);  // 82
void FaultI2I1(const Work& w, const Outputs& out);                       // 84
void FaultI2I1U1(const Work& w, const Outputs& out);                     // 101
void FaultU2U1(const Work& w, const Outputs& out);                       // 102
void FaultUniversal(const Work& w, const Outputs& out);                  // 103

}  // namespace kv::fault
