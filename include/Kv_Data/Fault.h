// The fault model: the catalogue of fault types and the synthesis of the voltage and
// current phasors that a fault produces at the relay under test.
#pragma once

#include "Kv_Data/PlatformString.h"
#include "Kv_Data/ThreePhase.h"

namespace kv {

// ---------------------------------------------------------------------------------
// Fault-type catalogue. A fault type is a code from 0 to 132 with gaps; its name is
// "Fault" followed by a suffix (four suffixes are Windows-1251 text).
// ---------------------------------------------------------------------------------

// The name of a code; "" for a code outside 0..132 or in a gap. Clears
// glob_bFault_A1_Enable on every call and sets it for code 123 ("FaultA1N") when
// glob_dwKavorType is 35, 23, 31 or 30.
KV_DATA_API CString GetStringFromDefineKZ(int code);

// The code of a name, with or without "Fault"; -1 when not recognised. When "Fault"
// stands after other text, that text and anything from a later "_" or "/" are cut
// off first ("X_FaultAB_2" gives 6, but "FaultAB_2" gives -1). Most suffixes must
// match exactly; thirteen are found anywhere in the text ("FaultABN_old" gives 118).
// "cstKZU2" is an alias of "FaultU2" (35).
KV_DATA_API int GetDefineFromStringKZ(CString name);

// ---------------------------------------------------------------------------------
// Fault synthesis. Each function first records the request in glob_TT_nCombo_TypeKz,
// glob_TT_dAngleKz and glob_bFault_A1_Enable, and returns 0 (done), 1 (voltage
// limited), 2 (current above its limit; currents are never limited) or 3 (code not
// handled by this function). An output that a code's row does not mention keeps the
// value the caller passed. Magnitudes in volts and amperes, angles in degrees.
// ---------------------------------------------------------------------------------

// The three phase voltages of a fault, at absolute angles turned by phi; no current is
// involved.
//
// What U stands for, by code:
//   0-5, 123        the faulted-phase voltage; 0-2 write zero into the other phases, in
//                   3-5 the healthy phases follow U above cst58V (123 is limited as the
//                   codes from 6 up are);
//   6-8             the line voltage between the two faulted phases, at phi; up to
//                   cstUmax100 the healthy phase keeps cst58V, above it the star of line
//                   voltage U;
//   9, 63-65        the phase voltage of a star; 92, 122 the line voltage of a star;
//   33, 34, 35      the zero-, positive- or negative-sequence voltage;
//   36-38           the negative-sequence voltage of a phase-to-phase fault (at most about
//                   28.87 V; above it 1, nothing written);
//   50, 99          the voltage between outputs A and B, in two halves at phi and
//                   phi + 180; 11 and 51 the same at the fixed 180 and 0 (phi ignored);
//   93-95           the faulted-phase voltage of an earth fault with isolated neutral:
//                   all six outputs are written, and the result is 3 all the same.
// Limiting: below code 6 to globUmax; from 6 up a U above both cst173V and globUmax
// becomes globUmax while the faulted phases keep U/√3 of the unlimited U; 50, 51, 92,
// 115-117 and 122 are never limited. Returns 0, 1 (limited) or 3.
KV_DATA_API int SetUFaza(int code, double U, double phi, double& UA, double& fiA, double& UB, double& fiB,
                         double& UC, double& fiC);

// The three phase currents of a fault, at absolute angles that follow phi.
//
// What I stands for, by code:
//   0-5, 21-23, 123     the faulted-phase current; the zero phases of 3-5 and 21-23 keep
//                       their angles in the star;
//   6-8                 the loop current, the second faulted phase in antiphase;
//   9, 15, 63-65, 92    the phase current of a positive-order star; 16 negative order;
//                       14 zero order (all three at phi);
//   11-13, 62           the total 3·I0, a third in each phase;
//   72-74               two phases of a star at the fixed 240 and 120 or 0 (phi ignored).
// Returns 0, 2 when I exceeds globImax (the outputs carry the full I all the same), or 3
// for any other code, also when I is too large.
KV_DATA_API int SetIFaza(int code, double I, double phi, double& IA, double& fiA, double& IB, double& fiB,
                         double& IC, double& fiC);

// The voltages and currents of a fault together, with load and source. The currents are
// the reference: the faulted phase or loop carries its current at 0 or at its place in
// the star, and the voltages are turned by phi against it, so that phi is the angle by
// which the loop voltage leads the loop current (codes 115 to 120 turn the currents by
// -phi instead).
//
// What U stands for, by code:
//   0-5, 21-23, 93-95, 108, 109, 118-120, 123   the faulted-phase voltage (70, 107 and
//                                                110 put |U - cst58V| on phase B);
//   6-8, 18-20, 60, 96-98, 111-113   the line voltage between the two faulted phases,
//                                    at phi; 24-29 and 124-126 place it their own way;
//   9, 15-17, 34, 35, 49, 61, 63-65, 69, 72-74, 81, 83, 88-90
//                                    the phase voltage of a star (positive or negative
//                                    order); 92, 122 the line voltage of a star;
//   14, 62, 91, 11, 12, 100          the voltage of each phase, all at phi;
//   33, 42-44, 48, 66-68, 75-77      a single output; 78-80 UA with UB in antiphase;
//   36-38                            the negative-sequence voltage (at most about 28.87 V);
//   71                               the voltage that sets UB and UC, UA staying at cst58V;
//   50, 51                           the voltage between outputs A and B, in two halves;
//   85-87                            the rise of the faulted phase above Aux;
//   115-117                          output C (glob_dUpitForProgramStandart feeds A-B);
//   82 three times the zero-sequence voltage (negative: the Aux star instead);
//   101 the phase voltage of a star; 102 the negative-sequence voltage;
//   103 the varied voltage of the universal fault (glob_dU0 ... glob_dICf and the rest).
// I is the fault current; 11, 12, 62, 81-83, 85-87, 91, 107, 108, 121 share it by three
// among the phases and 100 by six (with six times the current limit); 84 and 101 take
// it as the negative-sequence current; 127-132 vary it beside the fixed glob_dIk; 17
// puts a fixed 1 A in phase A. Negative magnitudes count as 0, except U of code 82.
//
// Unom: the nominal line voltage of the phase-to-phase geometry. From Unom up a fault
// gives the healthy star of line voltage U; below it the faulted phases close in while
// the healthy phase keeps cst58V. A negative Unom stands for cstUmax100; 0 is kept.
// For codes 0 to 5, a Unom of 500 or more switches the voltage limiting off.
// Aux: the base voltage of codes 85 to 87; the positive-sequence voltage (82, 102) or
// current (84, 101). 82, 84, 85, 101 and 102 leave it out when it is -0.0001 or less.
// AuxAngle: the angle of Aux, code 82 only.
// Uhealthy: the healthy-phase voltage of codes 111 to 113; negative stands for the
// healthy voltage the limiting decided, 0 is kept.
//
// Returns 0; 1 when the voltage was limited to globUmax or, for 36 to 38, cannot be
// produced (then nothing is written); 2 when I exceeds its limit (a 1 wins); 3 when the
// code has no row.
KV_DATA_API int SetUIFaza(int code, double U, double I, double phi, double& UA, double& fiUA, double& UB,
                          double& fiUB, double& UC, double& fiUC, double& IA, double& fiIA, double& IB,
                          double& fiIB, double& IC, double& fiIC, double Unom, double Aux, double AuxAngle,
                          double Uhealthy);

// The voltages and currents of a fault into the working block of a record, the voltages
// being the reference: the healthy star at the fixed 0, 240 and 120, each loop current
// turned by -phi so that it lags its loop voltage by phi. writeU and writeI choose the
// halves; 36-41, 48, 49, 75-80, 93-98 and 124-126 write both whatever they say. The
// sequence block is never touched.
//
// What U stands for, by code:
//   3-5, 21-23, 123     the faulted-phase voltage;
//   6-8, 18-20, 24-29   the line voltage between the two faulted phases; 96-98 the same,
//                       with the healthy phase raised to 1.3 times;
//   9, 16, 17, 63-65    the phase voltage of a star; 92, 122 the line voltage of a star;
//   35                  the negative-sequence voltage, a star at phi (voltages only);
//   36-38, 39-41        the negative-sequence voltage of a phase-to-phase fault (at most
//                       about 28.87 V) or of a phase-to-earth fault (at most cst58V/3);
//                       beyond, 1 and nothing written. 39-41 put the frame's faulted-phase
//                       voltage on the selected phase, not the one that gives U;
//   48, 75-77           output C, at phi; 78-80 output A at phi with B in antiphase;
//   49                  the phase voltage of a star at phi;
//   124-126             the two faulted phases in antiphase at phi, the healthy at 90 + phi;
//   50, 51              the voltage between outputs A and B, in two halves (phi ignored);
//   115-117             output C, with glob_dUpitForProgramStandart across A-B;
//   93-95               the faulted-phase voltage of an earth fault with isolated neutral.
// I is the fault-loop current; 11 and 12 put the whole of it into each phase, 17 a fixed
// 1 A into phase A.
// Limiting: below code 6 to globUmax; from 6 up to cst173V, not globUmax; 50, 51 and
// 115-117 never. Returns 0, 1 (limited, or 36-41 out of reach), 2 (I above globImax, not
// limited; a 1 wins) or 3 (no row, codes 0-2 included; nothing written).
KV_DATA_API int SetUIFaza(int code, int writeU, int writeI, double U, double I, double phi, CValueIU& v);

}  // namespace kv
