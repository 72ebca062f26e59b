// CString: the counted 8-bit string of the platform layer. Its bytes are never
// converted: non-ASCII text in it is Windows-1251. Positions out of range are
// clamped the way the original string class clamps them; SetAt outside the string
// throws CInvalidArgException.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Kv_Data/PlatformTypes.h"

namespace kv {

class KV_DATA_API CString {
public:
    CString() = default;
    CString(const char* text);  // a null pointer gives the empty string
    CString(const char* text, int length);
    CString(const std::string& text) : m_text(text) {}
    CString(std::string&& text) : m_text(std::move(text)) {}
    CString(std::string_view text) : m_text(text) {}
    CString(char ch, int count);

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }
    const char* GetString() const { return m_text.c_str(); }
    operator const char*() const { return m_text.c_str(); }
    const std::string& str() const { return m_text; }
    std::string_view view() const { return m_text; }

    // Index 0 .. GetLength(); GetLength() itself reads the terminating zero.
    char GetAt(int index) const;
    char operator[](int index) const { return GetAt(index); }
    void SetAt(int index, char ch);  // index 0 .. GetLength() - 1

    // -1 when absent or when start lies beyond the text.
    int Find(char ch, int start = 0) const;
    int Find(const char* sub, int start = 0) const;
    int ReverseFind(char ch) const;

    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;  // empty for a count of zero or less

    // Each returns the new length.
    int Delete(int index, int count = 1);
    int Insert(int index, const char* text);
    int Insert(int index, char ch);

    // Each returns the number of replacements or removals.
    int Replace(const char* oldText, const char* newText);
    int Replace(char oldCh, char newCh);
    int Remove(char ch);

    CString& Trim();
    CString& Trim(char target);
    CString& TrimLeft();
    CString& TrimLeft(char target);
    CString& TrimRight();
    CString& TrimRight(char target);

    int Compare(const char* other) const;

    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Loads string `id` from the string tables of the host program and of the library;
    // FALSE, with the text emptied, when no table has it.
    BOOL LoadString(UINT id);

    CString& operator=(const char* text);
    CString& operator+=(const CString& text);
    CString& operator+=(const char* text);
    CString& operator+=(char ch);

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
    friend bool operator<(const CString& a, const CString& b) { return a.m_text < b.m_text; }

private:
    std::string m_text;
};

KV_DATA_API CString operator+(const CString& a, const CString& b);
KV_DATA_API CString operator+(const CString& a, const char* b);
KV_DATA_API CString operator+(const char* a, const CString& b);
KV_DATA_API CString operator+(const CString& a, char b);
KV_DATA_API CString operator+(char a, const CString& b);

// Field `n` (from 0) of `full`, fields separated by `sep`: TRUE and the field in `out`,
// or FALSE and an empty `out` when the text has no such field.
KV_DATA_API BOOL AfxExtractSubString(CString& out, const char* full, int n, char sep);

}  // namespace kv
