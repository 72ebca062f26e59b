// Three-phase quantities: the value record in which the suite passes three phase
// currents and voltages, magnitudes in amperes and volts, angles in degrees.
#pragma once

#include "Kv_Data/Export.h"

namespace kv {

// 24 doubles in the order of the members. The first twelve are the working block
// (phase values as a rule; sequence or line values after a transform); the last twelve
// are the sequence block, which only the "AnotherFields" transforms touch.
class KV_DATA_API CValueIU {
public:
    // Currents first, magnitudes before angles.
    CValueIU(double iA = 0, double iB = 0, double iC = 0, double fiIA = 0, double fiIB = 0,
             double fiIC = 0, double uA = 0, double uB = 0, double uC = 0, double fiUA = 0,
             double fiUB = 0, double fiUC = 0);
    // Twelve values, voltages first and magnitude and angle interleaved per phase:
    // U_A, FiU_A, U_B, FiU_B, U_C, FiU_C, I_A, FiI_A, I_B, FiI_B, I_C, FiI_C.
    CValueIU(const double* p);

    // Copying a record by value carries all 24 fields; assignment only the working block.
    CValueIU(const CValueIU&) = default;
    CValueIU& operator=(const CValueIU& v);
    ~CValueIU() = default;

    // Same order and effect as the twelve-argument constructor.
    void SetValueIU(double iA, double iB, double iC, double fiIA, double fiIB, double fiIC,
                    double uA, double uB, double uC, double fiUA, double fiUB, double fiUC);

    // Phase n = 0, 1, 2 (A, B, C); -1.0 for any other n, indistinguishable from a stored -1.0.
    double GetI(int n) const;
    double GetFiI(int n) const;
    double GetU(int n) const;
    double GetFiU(int n) const;
    // Currents at 0-2 and voltages at 3-5, despite the U before the I in the names.
    double GetUI(int n) const;
    double GetFUI(int n) const;

    double dI[3];
    double dFiI[3];
    double dU[3];
    double dFiU[3];
    // No routine reads the sequence block before writing it; it starts at zero all the same.
    double dSimI[3] = {};
    double dSimFiI[3] = {};
    double dSimU[3] = {};
    double dSimFiU[3] = {};
};

// Transforms of a record between phase values, symmetrical components (positive,
// negative, zero in slots 0, 1, 2, those of phase A) and line values (AB, BC, CA). The
// mask selects the groups: bit 0 (1) the currents, bit 1 (2) the voltages. Each returns
// 1, or 0 when a magnitude exceeds its limit (globImax, globUmax); the check covers both
// groups whatever the mask, and the record is converted either way. Stored angles pass
// through AbsAngleGr.

// While glob_bArm is set, slot 2 holds 3I0 / 3U0 rather than I0 / U0, in what FazToSim
// writes and in what SimToFaz reads. SimToFaz passes magnitudes up to the limit + 0.0001.
KV_DATA_API int FazToSim(CValueIU& v, unsigned short mask);
KV_DATA_API int SimToFaz(CValueIU& v, unsigned short mask);
// Phase values in the working block to components in the sequence block and back,
// both groups, I0 / U0 whatever glob_bArm says.
KV_DATA_API int FazToSimAnotherFields(CValueIU& v);
KV_DATA_API int SimToFazAnotherFields(CValueIU& v);
// 1 when every phase magnitude that the components would give is within limit + 0.001.
// The voltage and current forms are the same computation; m0 is I0 / U0 as it stands.
KV_DATA_API int UcheckSimToFaz(double m1, double fi1, double m2, double fi2, double m0, double fi0,
                               double limit);
KV_DATA_API int IcheckSimToFaz(double m1, double fi1, double m2, double fi2, double m0, double fi0,
                               double limit);
KV_DATA_API int FazToLin(CValueIU& v, unsigned short mask);
// SimToFaz, then FazToLin even when the first reported an excess; 1 only if both pass.
KV_DATA_API int SimToLin(CValueIU& v, unsigned short mask);

}  // namespace kv
