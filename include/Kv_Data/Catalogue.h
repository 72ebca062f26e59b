// Test types and tolerances: the kinds of impedance-protection test with their English
// keys and Russian names, and the tolerance tables against which a measured current or
// operating time is judged.
#pragma once

#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"

namespace kv {

// ---------------------------------------------------------------------------------
// Test-type catalogue. Codes 0-5, 10, 11, 18, 60-63, with 20, 22, 23 synonyms of 0 and
// 24 of 3; 210 (the tolerance test) comes only from GetTestFromString. The Russian
// names are the library's string table, ids 1288 to 1300, in Windows-1251.
// ---------------------------------------------------------------------------------

// String `id` of the host program's tables or, failing them, the library's; "" when
// none has it.
KV_DATA_API CString GetStringFromResource(UINT id);

// The English key of a code ("FiMCh", "Zoperate", ...); "" for any other code.
KV_DATA_API CString GetStringFromTest(int test);
// The Russian name of a code, from the library's string table; "" for any other code.
KV_DATA_API CString GetStringFromTestRus(int test);

// The code found in `text`, or -1. Only what follows the last "_" is searched. The rows
// are tried in a fixed order, each by plain containment of its Russian name (brackets
// stripped: "Z(ф)" is looked for as "Zф") and then of its English search key, which for
// codes 0, 1, 2 and 10 is not the key GetStringFromTest gives ("Phi", "Zset", "Offset",
// "GraphZfromT"). So "TI" anywhere gives 18 and "UI" 63 unless an earlier row matched;
// "Memory" counts only after position 0 ("SideMemory" gives 11); "ZфTolerance" gives
// 210.
KV_DATA_API int GetTestFromString(CString text);

// ---------------------------------------------------------------------------------
// Tolerance tables: "threshold;tolerance;threshold;tolerance;..." with at most 10
// pairs. A tolerance with "%" is in percent, otherwise absolute; "<" in an absolute
// tolerance sets nLessFlag. A malformed number reads as 99999999999 and is used as
// such. Every output is set to 0 first. The result counts as found when the absolute
// (lower) tolerance is at least 0.001 or the percent tolerance is greater than 0.0001.
// An empty table, threshold or tolerance field returns false at once, leaving the
// outputs as far as they were set.
// ---------------------------------------------------------------------------------

// Current-type quantities: a threshold opens its range, so the last pair whose
// threshold is at most dX applies (the first pair below every threshold); pairs with a
// zero tolerance are passed over. "0;0.05;1;5%" gives 0.05 at 0.5 and 5 % at 1.
KV_DATA_API bool GetITolerance(CString strTol, double dX, double& dAbsTol, int& nLessFlag,
                               double& dPercentTol);

// Operating times: a threshold closes its range, so the first pair whose threshold
// exceeds dX applies (the last pair at or above every threshold). Beyond
// GetITolerance:
// - a leading field that begins with "K" is skipped;
// - a "c" after position 0 of the first threshold compares the thresholds with dT;
// - a percent tolerance may carry signed limits, "-0.02 +0.05 10%": lower, upper and
//   percent, each read from its sign (or from the last blank) to the next blank (or
//   the "%"), 99999999999 when that blank is missing. A percent tolerance without "+"
//   keeps the dPlusTol of an earlier pair;
// - a last threshold field with "%" after position 0 and no tolerance reads the signed
//   limits from the whole table text.
KV_DATA_API bool GetTTolerance(CString strTol, double dX, double dT, double& dMinusTol,
                               double& dPlusTol, int& nLessFlag, double& dPercentTol);

}  // namespace kv
