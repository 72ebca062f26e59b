// The string utilities with arbitrary texts, positions, modes and counts. Input lines:
// pos, mode, flag (wholeWord / all / the decimal-separator setting), maxCount, s, a,
// then b (the rest). Every function runs on the same fields.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

// A position beyond this makes SetAtSStr widen the text by as many blanks, which is its
// definition; the harness keeps that to a size a fuzzer can afford.
constexpr int kMaxPos = 1 << 16;
// The caller's array of fields.
constexpr int kMaxFields = 256;

void SetAt(const kv::CString& original, const std::string& str, int pos, kv::UINT mode) {
    kv::CString s(original);
    try {
        kv::SetAtSStr(s, str.c_str(), pos, mode);
    } catch (const kv::CInvalidArgException&) {
        return;  // a write outside the text, as documented
    }
    const int n = static_cast<int>(str.size());
    if (mode == 0 && pos >= 0) {
        const int at = str[0] == '-' && pos >= 1 ? pos - 1 : pos;
        KV_FUZZ_CHECK(s.GetLength() == std::max(original.GetLength(), at + n));
        KV_FUZZ_CHECK(std::memcmp(s.GetString() + at, str.c_str(), static_cast<std::size_t>(n)) == 0);
    }
}

void InsAt(const kv::CString& original, const std::string& str, int pos) {
    kv::CString s(original);
    try {
        kv::InsAtSStr(s, str.c_str(), pos);
    } catch (const kv::CInvalidArgException&) {
        return;
    }
    KV_FUZZ_CHECK(s.GetLength() >= original.GetLength());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::FuzzInput in(data, size);
    const int pos = std::min(in.Int(), kMaxPos);
    const auto mode = static_cast<kv::UINT>(in.Int());
    const int flag = in.Int();
    const int maxCount = std::min(in.Int(), kMaxFields);
    const kv::CString s(in.Line());
    // The text arguments are C strings: they end at a NUL.
    const std::string a = in.Line().c_str();
    const std::string b = in.Rest().c_str();

    SetAt(s, a, pos, mode);
    InsAt(s, a, pos);

    const int found = kv::FindTextA(s, kv::CString(a), flag);
    KV_FUZZ_CHECK(found == 0 || found == 1);
    if (found == 1) KV_FUZZ_CHECK(s.Find(a.c_str()) >= 0 || s == a.c_str());

    kv::CString replaced(s);
    const kv::CString copy = kv::ReplaceSubString(replaced, kv::CString(a), kv::CString(b), flag);
    KV_FUZZ_CHECK(copy == replaced);
    if (flag == 0) {
        const bool hit = s.Find(a.c_str()) >= 0;
        const int grown = hit ? static_cast<int>(b.size()) - static_cast<int>(a.size()) : 0;
        KV_FUZZ_CHECK(replaced.GetLength() == s.GetLength() + grown);
    }

    kv::CString fields[kMaxFields];
    const int count = kv::GetArrayStringFromString(s, fields, maxCount, a.c_str());
    KV_FUZZ_CHECK(count >= 0 && count <= std::max(maxCount, 0));

    const kv::CString trimmed = kv::TrimBrackets(s);
    KV_FUZZ_CHECK(trimmed.GetLength() <= s.GetLength());

    kv::glob_bUseInFieldPoint = flag & 1;
    const kv::CString truncated = kv::TruncNullEndStr(s);
    // At most one "0" is added, after the separator.
    KV_FUZZ_CHECK(truncated.GetLength() <= s.GetLength() + 1);
    return 0;
}
