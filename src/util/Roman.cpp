#include "Kv_Data/Util.h"

namespace kv {

namespace {

constexpr const char* kRoman[] = {"I", "II", "III", "IV", "V", "VI",
                                  "VII", "VIII", "IX", "X", "XI", "XII"};
constexpr int kRomanCount = static_cast<int>(sizeof kRoman / sizeof kRoman[0]);

CString JoinNode(char sep, const CString& a, const CString& b, const CString& c,
                 const CString& d, const CString& e, const CString& f) {
    CString node = a + sep + b;
    for (const CString* part : {&c, &d, &e, &f}) {
        if (!part->IsEmpty()) node += sep + *part;
    }
    return node;
}

}  // namespace

// Out of range: one blank, not an empty string; it maps back to -1.
CString GetRomeNumber(int n) {
    if (n < 1 || n > kRomanCount) return CString(" ");
    return CString(kRoman[n - 1]);
}

int GetIntFromRomeNumber(const CString& s) {
    for (int i = 0; i < kRomanCount; ++i) {
        if (s == kRoman[i]) return i + 1;
    }
    return -1;
}

CString GetNode(const CString& a, const CString& b, const CString& c, const CString& d,
                const CString& e, const CString& f) {
    return JoinNode('_', a, b, c, d, e, f);
}

CString GetNodeWithSplitter(char sep, const CString& a, const CString& b, const CString& c,
                            const CString& d, const CString& e, const CString& f) {
    return JoinNode(sep, a, b, c, d, e, f);
}

}  // namespace kv
