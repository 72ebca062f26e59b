#include <climits>
#include <cstddef>
#include <cstring>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace kv {

CString& SetAtSStr(CString& s, const char* str, int pos, UINT mode) {
    const char* text = str != nullptr ? str : "";
    const long long n = static_cast<long long>(std::strlen(text));
    long long at = pos;
    // A leading minus sign stands one column left of the digits' column.
    if (text[0] == '-' && at >= 1 && mode == 0) --at;
    const long long needed = mode == 0 ? at + n : at;
    if (s.GetLength() < needed) {
        if (needed > INT_MAX) AfxThrowMemoryException();
        s += CString(' ', static_cast<int>(needed - s.GetLength()));
    }
    if (mode == 2) at -= n;
    // Character by character, like the original: a write that runs off s throws
    // after the characters inside s have been written.
    for (long long i = 0; i < n; ++i) {
        const long long index = at + i;
        if (index < 0 || index >= s.GetLength()) AfxThrowInvalidArgException();
        s.SetAt(static_cast<int>(index), text[i]);
    }
    return s;
}

CString& InsAtSStr(CString& s, const char* str, int pos) {
    if (pos < s.GetLength()) {
        s = s.Left(pos) + str + s.Mid(pos);
        return s;
    }
    return SetAtSStr(s, str, pos, 0);
}

const char* GetLPString(const CString& s) { return s.GetString(); }

char* GetLPString(char* dst, const CString& s) {
    std::memcpy(dst, s.GetString(), static_cast<std::size_t>(s.GetLength()) + 1);
    return dst;
}

int FindTextA(const CString& text, const CString& word, int wholeWord) {
    if (word == text) return 1;
    const int at = text.Find(word.GetString());
    if (at < 0) return 0;
    if (wholeWord == 0) return 1;
    const int length = word.GetLength();
    if (at == 0) {
        const char* firstBreak = std::strpbrk(text.GetString(), " /");
        if (firstBreak != nullptr && firstBreak - text.GetString() == length) return 1;
    }
    // At position 0 the word's own first character is looked at: so "A)" has no whole
    // "A". Kept as the suite's programs know it.
    const char before = text[at == 0 ? 0 : at - 1];
    if (before != ' ' && before != '/' && before != '(') return 0;
    const int end = at + length;
    if (end >= text.GetLength()) return 1;
    const char after = text[end];
    return after == ' ' || after == '/' || after == ')' ? 1 : 0;
}

int AddSpaceToStringToMaxLength(CString& s, int maxLen) {
    if (s.GetLength() >= maxLen) return 0;
    // Full stops despite the name: the suite's tables are laid out with them.
    s += CString('.', maxLen - s.GetLength());
    return 1;
}

CString StrAddSpaceToStringToMaxLength(const CString& s, int maxLen) {
    CString padded(s);
    AddSpaceToStringToMaxLength(padded, maxLen);
    return padded;
}

CString RemoveSubString(const CString& s, const CString& sub) {
    CString result(s);
    const int at = result.Find(sub.GetString());
    if (at >= 0) result.Delete(at, sub.GetLength());
    return result;
}

CString ReplaceSubString(CString& s, const CString& find, const CString& repl, int all) {
    // Copies: find or repl may be s itself, which changes below.
    const CString what(find);
    const CString with(repl);
    const int whatLength = what.GetLength();
    if (all != 0 && whatLength == 0) return s;
    // The next search starts at the inserted text, except when that text holds `what`
    // itself: it would be found there again for ever, so the search resumes after it.
    const int resume = all != 0 && with.Find(what.GetString()) >= 0 ? with.GetLength() : 0;
    int at = s.Find(what.GetString(), 0);
    while (at >= 0) {
        s.Delete(at, whatLength);
        if (at >= s.GetLength())
            s += with;
        else
            s.Insert(at, with.GetString());
        if (all == 0) break;
        at = s.Find(what.GetString(), at + resume);
    }
    return s;
}

int RemoveReverseSubString(CString& tail, CString& s, char ch) {
    const int at = s.ReverseFind(ch);
    if (at < 0) return 0;
    tail = s.Mid(at + 1);
    s.Delete(at, s.GetLength() - at);
    return 1;
}

CString TruncNullEndStr(const CString& s) {
    const char separator = glob_bUseInFieldPoint != 0 ? '.' : ',';
    if (s.Find(separator) < 0) return s;
    // The separator is not '0', so the walk stops on it at the latest.
    int last = s.GetLength() - 1;
    while (s[last] == '0') --last;
    if (s[last] != separator) return s.Left(last + 1);
    return s.Left(last + 1) + "0";
}

int GetArrayStringFromString(const CString& s, CString* out, int maxCount, const char* sep) {
    // A copy: s may be one of the out strings.
    const CString text(s);
    int count = 0;
    int start = 0;
    while (count < maxCount) {
        const int at = text.Find(sep, start);
        if (at < 0) break;
        // A separator at position 0 delimits an empty first field rather than being
        // found again for ever. The text after the last separator is never stored:
        // the suite's lists end with a separator.
        out[count] = text.Mid(start, at - start);
        ++count;
        start = at + 1;
    }
    return count;
}

CString TrimBrackets(const CString& s) {
    CString result(s);
    const int open = result.Find('(');
    if (open >= 0) result.Delete(open);
    result.Trim(')');
    return result;
}

}  // namespace kv
