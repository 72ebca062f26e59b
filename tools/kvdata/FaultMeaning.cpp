#include "FaultMeaning.h"

#include <algorithm>
#include <initializer_list>

#include "Kv_Data.h"

namespace kvdata {

const char* FunctionName(Synthesis synthesis) {
    switch (synthesis) {
        case Synthesis::Full: return "SetUIFaza";
        case Synthesis::Voltage: return "SetUFaza";
        case Synthesis::Current: return "SetIFaza";
        case Synthesis::Record: return "SetUIFaza (record)";
    }
    return "";
}

bool Handles(Synthesis synthesis, int code) {
    const int savedCode = kv::glob_TT_nCombo_TypeKz, savedA1 = kv::glob_bFault_A1_Enable;
    const double savedAngle = kv::glob_TT_dAngleKz;
    kv::CValueIU v;
    int result = 3;
    switch (synthesis) {
        case Synthesis::Full:
            result = kv::SetUIFaza(code, 0, 0, 0, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2], v.dI[0],
                                   v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2], kv::cstUmax100, -1, 0, -1);
            break;
        case Synthesis::Voltage:
            result = kv::SetUFaza(code, 0, 0, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2]);
            break;
        case Synthesis::Current:
            result = kv::SetIFaza(code, 0, 0, v.dI[0], v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2]);
            break;
        case Synthesis::Record: result = kv::SetUIFaza(code, 1, 1, 0, 0, 0, v); break;
    }
    kv::glob_TT_nCombo_TypeKz = savedCode;
    kv::glob_bFault_A1_Enable = savedA1;
    kv::glob_TT_dAngleKz = savedAngle;
    return result != 3;
}

namespace {

bool In(int code, std::initializer_list<int> codes) { return std::find(codes.begin(), codes.end(), code) != codes.end(); }

// The codes of the full synthesis whose voltages are the reference and whose currents turn.
bool CurrentsTurn(int code) { return In(code, {115, 116, 117, 118, 119, 120}); }

constexpr const char* kFullPhi =
    "the faulted phase's current is the reference (at 0 deg, or at 360 deg for a fault on B or C); the "
    "voltages are turned by +phi from their healthy positions, so the faulted loop's voltage leads its "
    "current by phi";
constexpr const char* kFullTurnedPhi =
    "the voltages are the reference (the healthy star at 0, 240 and 120 deg); the faulted phases' currents "
    "are turned by -phi, so each lags its voltage by phi";
constexpr const char* kVoltagePhi =
    "phi turns the whole voltage set: phase A's place in the star is at phi (a positive-sequence star has A "
    "at phi, B at phi + 240, C at phi + 120)";
constexpr const char* kCurrentPhi =
    "phi turns the whole current set: the faulted phase's current is at phi (a positive-sequence star has A "
    "at phi, B at phi + 240, C at phi + 120)";
constexpr const char* kRecordPhi =
    "the voltages are the reference (the healthy star at 0, 240 and 120 deg); the currents are turned by "
    "-phi, so each fault-loop current lags its loop voltage by phi";

}  // namespace

const char* PhiMeaning(Synthesis synthesis, int code) {
    switch (synthesis) {
        case Synthesis::Full: return CurrentsTurn(code) ? kFullTurnedPhi : kFullPhi;
        case Synthesis::Voltage: return kVoltagePhi;
        case Synthesis::Current: return kCurrentPhi;
        case Synthesis::Record: return kRecordPhi;
    }
    return "";
}

std::string PhiHelp() {
    return std::string("What phi means:\n  full:    ") + kFullPhi + "; for codes 115 to 120: " + kFullTurnedPhi +
           "\n  voltage: " + kVoltagePhi + "\n  current: " + kCurrentPhi + "\n  record:  " + kRecordPhi +
           "\n'kvdata types TYPE' tells what U and I are for a fault type.";
}

QuantityMeaning MeaningOf(int code) {
    // clang-format off
    static const struct { std::initializer_list<int> codes; QuantityMeaning meaning; } kGroups[] = {
        {{0, 1, 2, 76}, {"single phase", "voltage of the named phase", "current of the named phase"}},
        {{3, 4, 5, 21, 22, 23, 109, 123}, {"phase-to-earth fault", "voltage of the faulted phase to earth", "current of the faulted phase"}},
        {{70, 110, 107, 108}, {"phase-to-earth fault with zero-sequence voltage", "voltage of the faulted phase to earth", "fault current (107, 108: three times the current of each phase)"}},
        {{93, 94, 95}, {"earth fault, isolated neutral", "voltage of the faulted phase to earth (the neutral is displaced to keep it)", "current of the faulted phase"}},
        {{118, 119, 120}, {"two-phase-to-earth fault", "voltage of each faulted phase", "current of each faulted phase"}},
        {{6, 7, 8, 60, 18, 19, 20, 111, 112, 113, 96, 97, 98}, {"phase-to-phase fault", "line voltage between the two faulted phases", "current through the faulted loop (out on one phase, back on the other)"}},
        {{24, 25, 26, 27, 28, 29, 124, 125, 126}, {"phase-to-phase pattern", "line voltage between the two faulted phases", "current through the faulted loop"}},
        {{9, 15, 34, 63, 64, 65, 72, 73, 74, 49, 17, 88, 89, 90}, {"three-phase and positive-sequence", "phase voltage of the positive-sequence star", "phase current (17: phase A is fixed at 1 A)"}},
        {{92, 122}, {"three-phase, line voltage given", "line voltage of the symmetrical star", "phase current"}},
        {{16, 35, 61, 69}, {"sequence patterns", "phase voltage of the (negative- or positive-) sequence star", "phase current of the sequence star"}},
        {{36, 37, 38}, {"negative sequence from a phase-to-phase fault", "negative-sequence voltage (up to about 28.87 V)", "not used"}},
        {{14, 62, 91, 11, 12, 100, 81, 83, 66, 67, 68, 121, 85, 86, 87}, {"zero-sequence current patterns", "voltage of the pattern's phases", "total current of the three phases in parallel (each carries I/3; 14: each I; 100: each I/6)"}},
        {{75, 77, 78, 79, 80, 48}, {"single-output patterns", "voltage of the named phase or line", "current of the named phase"}},
        {{42, 43, 44, 45, 46, 47, 33, 50, 51}, {"single outputs and supplies", "voltage of the named output", "current of the named output"}},
        {{115, 116, 117}, {"supply with a phase output", "voltage of phase C", "current of the named phase"}},
        {{127, 128, 129, 130, 131, 132}, {"variable and fixed currents", "not used", "the variable phase's current (the other takes glob_dIk)"}},
        {{82, 84, 101, 102, 103, 71}, {"sequence-component and universal patterns", "the varied voltage or sequence component (82: its sign is used)", "the varied current or sequence component"}},
    };
    // clang-format on
    for (const auto& group : kGroups)
        if (In(code, group.codes)) return group.meaning;
    return {"other", "fault voltage", "fault current"};
}

}  // namespace kvdata
