// Diagnostics and host helpers: trace and log files beside the executable, a
// diagnostic message box, a wait that keeps the caller's windows alive, the colours of
// plotted series and the packing of numbers into message parameters.
#pragma once

#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"

namespace kv {

// ---------------------------------------------------------------------------------
// Trace and log files. Each call opens the file beside the executable (creating it
// when missing), appends one piece ending in CR LF, flushes and closes it, so that the
// trail survives a crash of the caller. The piece goes in with one append, so lines
// from several threads or processes never interleave. A file that cannot be opened
// is skipped silently; every function returns 1.
// ---------------------------------------------------------------------------------

// text, CR LF; into the file named by glob_StrFileNameTrase (re-read on every call).
KV_DATA_API int TRASE(const char* text);
// The numeric forms append text, a blank and the value, then an empty line:
// "n= 5" CR LF CR LF; the double with `digits` decimals ("%0.*f"); the pointer in
// upper-case hexadecimal without prefix or leading zeros.
KV_DATA_API int TRASE(const char* text, int value);
KV_DATA_API int TRASE(const char* text, double value, int digits);
KV_DATA_API int TRASE(const char* text, const void* pointer);

// text, CR LF, into `fileName` beside the executable. With bDeleteFirst set the file
// named exactly `fileName` is deleted first: a relative name is deleted in the current
// directory, not beside the executable, so the two differ when the directories do.
KV_DATA_API int WriteStringToLogFile(CString fileName, const char* text, int bDeleteFirst);

// Shows text in the message box (OK only) and returns when it is closed.
KV_DATA_API void DebugAfxMessageBox(const char* text);

// ---------------------------------------------------------------------------------
// Host helpers
// ---------------------------------------------------------------------------------

// Waits `milliseconds` (INFINITE: without end). With bPumpMessages set, the calling
// thread's posted messages are dispatched to their windows during the wait, which
// still lasts its whole time. 1 when the time ran out, 0 when the wait failed.
KV_DATA_API int SleepEx1(DWORD milliseconds, int bPumpMessages);

// The colour of plotted series `series` as 0x00BBGGRR: forest green for 3 and 123,
// deep sky blue, gold, blue violet, firebrick and dark blue for 4 to 8, red for the
// rest up to 131, black below 3 and from 132.
KV_DATA_API DWORD GetSeriesColor(int series);

// The 32 bits of a message parameter taken as a float, and back. The double forms
// round to single precision first (to nearest).
KV_DATA_API float FloatFromLP(LONG value);
KV_DATA_API LONG LPFromFloat(float value);
KV_DATA_API LONG LPFromFloat(double value);
KV_DATA_API UINT WPFromDouble(double value);

}  // namespace kv
