#include "Kv_Data/Catalogue.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

constexpr int kMaxPairs = 10;  // fields after the tenth pair are ignored

// The two comparisons differ on purpose: an absolute tolerance of exactly 0.001 counts,
// a percent tolerance of exactly 0.0001 does not.
bool IsFound(double absTol, double percentTol) { return absTol >= 0.001 || percentTol > 0.0001; }

// EAtStr rewrites the commas of what it reads; a piece cut from a text is read as a
// copy, so the text itself keeps them.
double ReadPiece(CString piece) { return EAtStr(piece); }

// From a sign up to the next blank. Without a blank the length comes out negative and
// the empty piece reads as 99999999999, as the suite's tables expect.
double ReadSigned(const CString& text, int sign) {
    int blank = text.Find(' ', sign);
    if (blank < 0) blank = 0;
    return ReadPiece(text.Mid(sign, blank - sign));
}

// "-0.02 +0.05 10%": the lower limit from the first "-" (else the first "+"), the upper
// from the first "+", the percent from the last blank to the first "%". A limit
// without its sign keeps what the caller's variable held.
void ReadSignedPercent(const CString& text, double& dMinusTol, double& dPlusTol, double& dPercentTol) {
    const int percent = text.Find('%');
    int blank = text.ReverseFind(' ');
    if (blank < 0) blank = 0;
    dPercentTol = ReadPiece(text.Mid(blank, percent - blank));
    int lower = text.Find('-');
    if (lower < 0) lower = text.Find('+');
    if (lower >= 0) dMinusTol = ReadSigned(text, lower);
    const int upper = text.Find('+');
    if (upper >= 0) dPlusTol = ReadSigned(text, upper);
}

}  // namespace

bool GetITolerance(CString strTol, double dX, double& dAbsTol, int& nLessFlag, double& dPercentTol) {
    dAbsTol = 0;
    dPercentTol = 0;
    nLessFlag = 0;
    if (strTol.IsEmpty()) return false;

    for (int k = 0; k < kMaxPairs; ++k) {
        CString threshold;
        if (!AfxExtractSubString(threshold, strTol, 2 * k, ';')) break;
        if (threshold.IsEmpty()) return false;
        const double limit = EAtStr(threshold);
        // Compared before the pair is read: the threshold opens the pair's range.
        if (dX < limit && IsFound(dAbsTol, dPercentTol)) return true;

        CString tolerance;
        if (!AfxExtractSubString(tolerance, strTol, 2 * k + 1, ';')) continue;
        if (tolerance.IsEmpty()) return false;
        const double value = EAtStr(tolerance);
        if (tolerance.Find('%') >= 0) {
            dAbsTol = 0;
            dPercentTol = value;
        } else {
            nLessFlag = tolerance.Find('<') >= 0 ? 1 : 0;
            dAbsTol = value;
            dPercentTol = 0;
        }
    }
    return IsFound(dAbsTol, dPercentTol);
}

bool GetTTolerance(CString strTol, double dX, double dT, double& dMinusTol, double& dPlusTol, int& nLessFlag,
                   double& dPercentTol) {
    dPlusTol = 0;
    dPercentTol = 0;
    dMinusTol = 0;
    nLessFlag = 0;
    if (strTol.IsEmpty()) return false;

    // The leading "K..." field means nothing here; the suite's programs read it.
    if (strTol[0] == 'K') {
        const int separator = strTol.Find(';');
        if (separator >= 0) strTol = strTol.Mid(separator + 1);
    }

    CString first;
    if (!AfxExtractSubString(first, strTol, 0, ';') || first.IsEmpty()) return false;
    // Thresholds in "c" are times: "1c;0.02;5c;0.05".
    if (first.Find('c') > 0) dX = dT;

    for (int k = 0; k < kMaxPairs; ++k) {
        CString threshold;
        if (!AfxExtractSubString(threshold, strTol, 2 * k, ';')) break;
        if (threshold.IsEmpty()) return false;
        const double limit = EAtStr(threshold);

        CString tolerance;
        const bool hasTolerance = AfxExtractSubString(tolerance, strTol, 2 * k + 1, ';') != FALSE;
        if (!hasTolerance && threshold.Find('%') > 0) {
            // A closing percent entry: its limits are sought in the whole table, so a
            // "-", "+", "%" or blank of an earlier field is taken as its own.
            dMinusTol = 0;
            ReadSignedPercent(strTol, dMinusTol, dPlusTol, dPercentTol);
            break;
        }
        if (hasTolerance) {
            if (tolerance.IsEmpty()) return false;
            const double value = EAtStr(tolerance);
            if (tolerance.Find('%') >= 0) {
                dMinusTol = 0;
                dPercentTol = value;
                // Read from the field as EAtStr left it, its commas already points.
                ReadSignedPercent(tolerance, dMinusTol, dPlusTol, dPercentTol);
            } else {
                nLessFlag = tolerance.Find('<') >= 0 ? 1 : 0;
                dMinusTol = value;
                dPlusTol = value;
                dPercentTol = 0;
            }
        }
        // Compared after the pair is read: the threshold closes the pair's range.
        if (dX < limit && IsFound(dMinusTol, dPercentTol)) return true;
    }
    return IsFound(dMinusTol, dPercentTol);
}

}  // namespace kv
