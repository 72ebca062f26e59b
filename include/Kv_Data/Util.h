// Numeric and text utilities: rounding and number text, string helpers, Roman
// numerals and node names, paths, plane geometry and spectra. Every rounding rule here
// is what the suite's dialogs and reports show, the odd ones included.
#pragma once

#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"
#include "Kv_Data/PlatformUi.h"

namespace kv {

// ---------------------------------------------------------------------------------
// Rounding, comparison and number formatting
// ---------------------------------------------------------------------------------

// Halves away from zero, saturating at the 32-bit range; except that every x with
// -1 < x <= -0.5 gives +1 (the sign test looks at the truncated value; dialogs rely
// on it). NaN gives 2147483647: it truncates to INT_MIN as on x86 and the step away
// from zero wraps.
KV_DATA_API int round(double x);
KV_DATA_API int round(float x);
// As round, saturating at 32767 / -32768 instead.
KV_DATA_API int roundshort(double x);

// x rounded to n decimals by printing it with "%.*lf" and reading it back with atof,
// so the C library's decimal rounding decides ties; a negative n means 6 decimals.
// The text goes through a 512-byte buffer, one per thread; text longer than the buffer
// (more than 511 characters, only with a very large n) is cut there before it is read.
KV_DATA_API double dRound(double x, int n);

// The multiple of b nearest to a (not the quotient), ties away from zero. b > 0 is
// expected. b = 0 gives 0, the only multiple of zero. Overflow wraps as 32-bit
// arithmetic does (|INT_MIN| stays INT_MIN; INT_MIN / -1 wraps instead of trapping).
KV_DATA_API int DivRound(int a, int b);
// As above in tenths: x is cut (not rounded) to tenths first, so DivRound(2.49, 5) is
// 0. A 10 * x outside the 32-bit range, or NaN, truncates to INT_MIN as on x86; 10 * b
// wraps.
KV_DATA_API int DivRound(double x, int b);
// The multiple of step nearest to x. A value not larger than the step in magnitude
// goes to one whole step (+|step| or -|step|), never to zero; |x| < 1e-8 gives 0.
KV_DATA_API double dDivRound(double x, double step);
// x to n significant digits; n = 0 returns x. An exact power of ten counts one digit
// short (log10 1000 is 3).
KV_DATA_API double dDivRoundDegree(double x, double n);
// a / b, or 99999.9 when |b| <= 1e-5.
KV_DATA_API double ResultDiv(double a, double b);
// 1 when 10^n * a and 10^n * b truncate to the same 32-bit integer (n 1 to 9; any other
// n compares the integer parts). Values outside the 32-bit range, and NaN, all truncate
// to INT_MIN and so compare equal.
KV_DATA_API int IsEqual(double a, double b, int n);
// Clamped to the magnitudes 1e-35 .. 1e35; zero becomes +1e-35 (the single-precision
// archive image depends on it).
KV_DATA_API float DoubleToFloat(double x);

// n with "%d".
KV_DATA_API CString LStr(LONG n);
// x with "%*.*f" (right-aligned in width); a decimal comma when glob_bUseInFieldPoint
// is 0. Trailing zeros are cut (TruncNullEndStr) unless precision equals width. A
// width or precision whose text a string could not hold (beyond 2^31 − 401) gives "".
KV_DATA_API CString EStr(double x, int precision, int width);
// The integer from the first '-' or digit of s on ("U=-12V" gives -12); 99999999 when s
// has neither. Values beyond 32 bits saturate, as the 32-bit atol does.
KV_DATA_API LONG LAtStr(const CString& s);
// The number in s. Commas in the caller's string become points, one at a time from
// the left; at the fourth the text is rejected. 99999999999.0 for an empty or rejected
// text or one without '.', '-' or a digit.
KV_DATA_API double EAtStr(CString& s);
// atol(s), saturating at 32 bits; 0 for text that does not start with a number and
// for a null pointer.
KV_DATA_API LONG StrL(const char* s);

// ---------------------------------------------------------------------------------
// Strings
// ---------------------------------------------------------------------------------

// Writes str over s at column pos, widening s with blanks. mode 0: str starts at pos,
// a leading '-' one column to the left (when pos >= 1). mode 2: str ends just before
// pos. Any other mode writes from pos but widens s only up to pos. A write outside s
// (other modes on a short s, mode 2 with pos < length of str) throws
// CInvalidArgException, possibly after the characters inside s have been written.
KV_DATA_API CString& SetAtSStr(CString& s, const char* str, int pos, UINT mode);
// Inserts str before pos when pos is inside s; otherwise SetAtSStr(s, str, pos, 0).
KV_DATA_API CString& InsAtSStr(CString& s, const char* str, int pos);

// The characters of s, valid while s lives unchanged.
KV_DATA_API const char* GetLPString(const CString& s);
// Copies s with its terminating zero into dst, which the caller makes large enough.
KV_DATA_API char* GetLPString(char* dst, const CString& s);

// 1 when word occurs in text. With wholeWord set only the first occurrence is judged:
// it must follow a blank, '/' or '(' and be followed by the end, a blank, '/' or ')'.
// At the start of the text the word's own first character stands in for the one
// before, so there the word is whole only when it equals text or the first blank or '/'
// of text follows it: "A)" has no whole "A", "(A)" and "A B" do.
KV_DATA_API int FindTextA(const CString& text, const CString& word, int wholeWord);

// Pads s with full stops (not blanks, whatever the name says) up to maxLen: 1 when
// padded, 0 when s was long enough.
KV_DATA_API int AddSpaceToStringToMaxLength(CString& s, int maxLen);
KV_DATA_API CString StrAddSpaceToStringToMaxLength(const CString& s, int maxLen);

// s without the first occurrence of sub.
KV_DATA_API CString RemoveSubString(const CString& s, const CString& sub);

// Replaces the first occurrence of find in s by repl, or with all set each occurrence,
// changing s; returns a copy of it. With all set the search for the next occurrence
// starts at the inserted repl, not after it ("aabb", "ab" -> "a" gives "aa"). Where
// that would never end:
// - an empty find leaves s unchanged (without all, repl is put in front of s);
// - a repl that contains find resumes the search after the inserted repl, so each
//   occurrence of the original text is replaced once.
KV_DATA_API CString ReplaceSubString(CString& s, const CString& find, const CString& repl, int all);

// Splits s at its last ch: tail gets the text after it, s keeps the text before it, and
// the result is 1. Without ch: 0 and both unchanged.
KV_DATA_API int RemoveReverseSubString(CString& tail, CString& s, char ch);

// Cuts the trailing zeros of a decimal number, keeping one after the separator
// ("12,500" -> "12,5", "12,000" and "12," -> "12,0"). The separator is '.' while
// glob_bUseInFieldPoint is set and ',' when it is 0; text without it is returned as is.
KV_DATA_API CString TruncNullEndStr(const CString& s);

// Splits s at sep into out[0 .. maxCount - 1]; returns the number of fields stored.
// The text after the last separator is not stored ("a;b;c" gives "a", "b"; "a;b;c;"
// gives three), and each field starts one character after the start of the separator
// before it, whatever the separator's length. A separator at the very start delimits
// an empty first field (";a;" gives "", "a"). An empty or null sep yields empty fields
// up to maxCount or one more than the length of s.
KV_DATA_API int GetArrayStringFromString(const CString& s, CString* out, int maxCount,
                                         const char* sep);

// Deletes the first '(' and every ')' at either end: "Z(x)" gives "Zx", "(a)(b)" "a)(b".
KV_DATA_API CString TrimBrackets(const CString& s);

// ---------------------------------------------------------------------------------
// Roman numerals and node names
// ---------------------------------------------------------------------------------

// "I" .. "XII" for 1 to 12; a single blank " " for any other n.
KV_DATA_API CString GetRomeNumber(int n);
// 1 to 12 for exactly "I" .. "XII" (case-sensitive, whole text); -1 otherwise.
KV_DATA_API int GetIntFromRomeNumber(const CString& s);
// a + "_" + b, always (even "_" for two empty parts), then "_" + each of c .. f that is
// not empty.
KV_DATA_API CString GetNode(const CString& a, const CString& b, const CString& c = "",
                            const CString& d = "", const CString& e = "", const CString& f = "");
// As GetNode, joined with sep.
KV_DATA_API CString GetNodeWithSplitter(char sep, const CString& a, const CString& b,
                                        const CString& c = "", const CString& d = "",
                                        const CString& e = "", const CString& f = "");

// ---------------------------------------------------------------------------------
// Files and paths. The split functions do text work on the backslash and the dot and
// never touch the file system; the executable's folder ends in the platform's own
// separator ("/" here).
// ---------------------------------------------------------------------------------

// 1 for an existing file that is not a directory, else 0.
KV_DATA_API int FileExists(const char* path);
// 1 for an existing directory, else 0.
KV_DATA_API int DirectoryExists(const char* path);

// The full path of the running executable (at most 1023 characters); "" when the
// platform cannot tell.
KV_DATA_API CString GetExePathNameAPI();
// The running executable's folder with its trailing separator; "" when unknown.
KV_DATA_API CString GetExePathName();
// The current directory (at most 1023 characters); "" when it cannot be read.
KV_DATA_API CString GetCurrentDirectoryNew();

// After the last backslash; the whole path without one. "C:\dir\" gives "".
KV_DATA_API CString StFileName(const CString& path);
// StFileName cut before its last dot: "archive.tar.gz" gives "archive.tar".
KV_DATA_API CString StFileNameNoExt(const CString& path);
// After the last dot of the whole path, folders included: "C:\dir.v2\file" gives
// "v2\file"; "" without a dot.
KV_DATA_API CString StExt(const CString& path);
// Before the last backslash, with a backslash added after a drive ("C:\"); the whole
// path without one.
KV_DATA_API CString StPath(const CString& path);
// path, its leading folders after the first replaced by "...\" until it is narrower
// than `width` as pDC measures it. The shortened candidates join the last folder and
// the file name without a backslash, the last resort (returned whatever its width)
// with one: "C:\...\cfile.txt" is tried before "C:\...\c\file.txt" is given. A path
// whose folder part has no backslash comes back unchanged.
KV_DATA_API CString FormPath(CDC* pDC, const char* path, int width);

// String `id` of a module's string table (at most 254 characters); "" when the module
// has no such string, "Error loading resource." for a null module.
KV_DATA_API CString LoadStringFromDLL(HINSTANCE hModule, int id);
// Loads string `id` into buffer (bufferSize characters with the terminator) and turns
// every "|" into a NUL: "Text (*.txt)|*.txt||" becomes a file dialog's filter list.
KV_DATA_API void LoadStringExtFilter(HINSTANCE hModule, char* buffer, int bufferSize, int id);

// ---------------------------------------------------------------------------------
// Plane geometry on integer points. Angles in radians. Differences of coordinates are
// taken in 32 bits and wrap, so spans wider than INT_MAX come out wrong.
// ---------------------------------------------------------------------------------

KV_DATA_API double AngleLine(CPoint p1, CPoint p2);
KV_DATA_API double AngleLine(CPoint p);
KV_DATA_API double LengthLine(CPoint p1, CPoint p2);
KV_DATA_API double LengthLine(double x1, double y1, double x2, double y2);
KV_DATA_API double LengthLine(double dx, double dy);
KV_DATA_API double LengthLine(CPoint p);
KV_DATA_API double LengthLine(CSize s);

// 1 when c lies between a and b inclusive (either way round).
KV_DATA_API int PointInLine(int a, int b, int c);
// 1 when p lies in the bounding rectangle of the segment p1-p2, not only on the line
// itself; a degenerate side counts only where the coordinate matches exactly.
KV_DATA_API int PointInLine(CPoint p1, CPoint p2, CPoint p);
// 1 when the segments a1-a2 and b1-b2 meet. out always receives the meeting point of
// the two lines, rounded to integers; for parallel oblique segments it is
// (2147483647, 2147483647) and the result 0.
KV_DATA_API int PointIntersectTwoLine(CPoint& out, CPoint a1, CPoint a2, CPoint b1, CPoint b2);

// ---------------------------------------------------------------------------------
// Spectrum analysis: direct Fourier sums, amplitudes as peak values in the unit of the
// samples, phases in degrees folded by AbsAngleGr. Both return false, with what was
// written before kept, when the work cannot be done.
// ---------------------------------------------------------------------------------

// The spectrum of n samples taken at t0 + k·(t1 − t0)/n for the frequencies fStart,
// fStart + fStep, ... (count = (fEnd − fStart)/fStep + 1, truncated, stored first). amp
// and phase are allocated with new[] and handed over at once; the caller deletes them
// with delete[], also after false. The phase refers to a sine: A·sin(2πft + θ) over
// whole periods gives A and θ. Below 0.001 Hz the component is the mean, not doubled.
// A negative count fails the allocation: false, with amp and phase untouched. n <= 0
// leaves every sum empty: amplitudes 0, or NaN for n = 0 (0 / 0), and still true.
KV_DATA_API bool GetSpectr(double fStart, double fEnd, double fStep, double t0, double t1, int n,
                           const double* x, int& count, double*& amp, double*& phase);
// One component, with the sample step 1/n taken in integers: for n >= 2 every angle is
// 0, so the result is twice the mean with the phase 0 or 180 (the mean itself below
// 0.001 Hz). n = 0 returns false.
KV_DATA_API bool Get_Furie_Amp_Phase(double f, int n, const double* x, double& amp, double& phase);

}  // namespace kv
