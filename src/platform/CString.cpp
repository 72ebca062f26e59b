#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/PlatformString.h"

namespace kv {

namespace {

const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

bool isBlank(char ch) { return std::isspace(static_cast<unsigned char>(ch)) != 0; }

}  // namespace

CString::CString(const char* text) : m_text(orEmpty(text)) {}

CString::CString(const char* text, int length)
    : m_text(text != nullptr && length > 0 ? std::string(text, static_cast<std::size_t>(length))
                                            : std::string()) {}

CString::CString(char ch, int count)
    : m_text(count > 0 ? static_cast<std::size_t>(count) : 0U, ch) {}

char CString::GetAt(int index) const {
    if (index < 0 || index > GetLength()) AfxThrowInvalidArgException();
    return m_text.c_str()[index];
}

void CString::SetAt(int index, char ch) {
    if (index < 0 || index >= GetLength()) AfxThrowInvalidArgException();
    m_text[static_cast<std::size_t>(index)] = ch;
}

int CString::Find(char ch, int start) const {
    if (start < 0 || start >= GetLength()) return -1;
    // Like strchr, a search for the zero byte finds the terminator.
    const std::size_t pos = ch == '\0' ? m_text.size() : m_text.find(ch, static_cast<std::size_t>(start));
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

int CString::Find(const char* sub, int start) const {
    if (start < 0 || start > GetLength()) return -1;
    const std::size_t pos = m_text.find(orEmpty(sub), static_cast<std::size_t>(start));
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

int CString::ReverseFind(char ch) const {
    if (ch == '\0') return GetLength();
    const std::size_t pos = m_text.rfind(ch);
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

CString CString::Left(int count) const {
    if (count <= 0) return {};
    return CString(m_text.substr(0, static_cast<std::size_t>(count)));
}

CString CString::Right(int count) const {
    if (count <= 0) return {};
    const int length = GetLength();
    if (count >= length) return *this;
    return CString(m_text.substr(static_cast<std::size_t>(length - count)));
}

CString CString::Mid(int first) const {
    const int from = std::max(first, 0);
    if (from >= GetLength()) return {};
    return CString(m_text.substr(static_cast<std::size_t>(from)));
}

CString CString::Mid(int first, int count) const {
    const long long length = GetLength();
    long long from = std::max(first, 0);
    long long n = std::max(count, 0);
    if (from + n > length) n = length - from;
    if (from > length) n = 0;
    if (n <= 0) return {};
    return CString(m_text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(n)));
}

int CString::Delete(int index, int count) {
    const long long length = GetLength();
    const long long from = std::max(index, 0);
    long long n = std::max(count, 0);
    if (from + n > length) n = length - from;
    if (n > 0) m_text.erase(static_cast<std::size_t>(from), static_cast<std::size_t>(n));
    return GetLength();
}

int CString::Insert(int index, const char* text) {
    const int at = std::clamp(index, 0, GetLength());
    m_text.insert(static_cast<std::size_t>(at), orEmpty(text));
    return GetLength();
}

int CString::Insert(int index, char ch) {
    const int at = std::clamp(index, 0, GetLength());
    m_text.insert(static_cast<std::size_t>(at), 1, ch);
    return GetLength();
}

int CString::Replace(const char* oldText, const char* newText) {
    const std::size_t oldLength = std::strlen(orEmpty(oldText));
    if (oldLength == 0) return 0;
    const char* replacement = orEmpty(newText);
    const std::size_t newLength = std::strlen(replacement);
    int count = 0;
    std::size_t pos = m_text.find(oldText);
    while (pos != std::string::npos) {
        m_text.replace(pos, oldLength, replacement, newLength);
        ++count;
        pos = m_text.find(oldText, pos + newLength);
    }
    return count;
}

int CString::Replace(char oldCh, char newCh) {
    int count = 0;
    for (char& ch : m_text) {
        if (ch == oldCh) {
            ch = newCh;
            ++count;
        }
    }
    return count;
}

int CString::Remove(char ch) {
    const std::size_t before = m_text.size();
    std::erase(m_text, ch);
    return static_cast<int>(before - m_text.size());
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }
CString& CString::Trim(char target) { return TrimRight(target).TrimLeft(target); }

CString& CString::TrimLeft() {
    const auto first = std::find_if_not(m_text.begin(), m_text.end(), isBlank);
    m_text.erase(m_text.begin(), first);
    return *this;
}

CString& CString::TrimLeft(char target) {
    const std::size_t first = m_text.find_first_not_of(target);
    m_text.erase(0, first);
    return *this;
}

CString& CString::TrimRight() {
    const auto last = std::find_if_not(m_text.rbegin(), m_text.rend(), isBlank);
    m_text.erase(last.base(), m_text.end());
    return *this;
}

CString& CString::TrimRight(char target) {
    const std::size_t last = m_text.find_last_not_of(target);
    m_text.erase(last == std::string::npos ? 0 : last + 1);
    return *this;
}

int CString::Compare(const char* other) const { return std::strcmp(m_text.c_str(), orEmpty(other)); }

void CString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length < 0) {
        va_end(args);
        AfxThrowInvalidArgException();
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    va_end(args);
    m_text = std::move(text);
}

CString& CString::operator=(const char* text) {
    m_text = orEmpty(text);
    return *this;
}

CString& CString::operator+=(const CString& text) {
    m_text += text.m_text;
    return *this;
}

CString& CString::operator+=(const char* text) {
    m_text += orEmpty(text);
    return *this;
}

CString& CString::operator+=(char ch) {
    m_text += ch;
    return *this;
}

CString operator+(const CString& a, const CString& b) { return CString(a.str() + b.str()); }
CString operator+(const CString& a, const char* b) { return CString(a.str() + orEmpty(b)); }
CString operator+(const char* a, const CString& b) { return CString(orEmpty(a) + b.str()); }
CString operator+(const CString& a, char b) { return CString(a.str() + b); }
CString operator+(char a, const CString& b) { return CString(a + b.str()); }

BOOL AfxExtractSubString(CString& out, const char* full, int n, char sep) {
    if (full == nullptr) return FALSE;
    // A negative field number walks past every separator as the original's
    // count-down loop does, and so always ends without a field.
    const char* field = full;
    for (long long skip = n < 0 ? 0x100000000LL + n : n; skip > 0; --skip) {
        field = std::strchr(field, sep);
        if (field == nullptr || sep == '\0') {
            out.Empty();
            return FALSE;
        }
        ++field;
    }
    const char* end = std::strchr(field, sep);
    const std::size_t length = end == nullptr || sep == '\0' ? std::strlen(field)
                                                              : static_cast<std::size_t>(end - field);
    out = CString(std::string_view(field, length));
    return TRUE;
}

}  // namespace kv
