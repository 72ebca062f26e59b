#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include "Kv_Data.h"

namespace {

using kv::CString;

TEST(CStringTest, SearchAndExtractionClampOrRejectOutOfRangeArguments) {
    const CString s("abcabc"), h("Hello");
    // A character search never starts at the terminator; the empty text is found even at the end.
    const std::pair<int, int> found[] = {{s.Find('c', 3), 5}, {s.Find('a', 6), -1}, {s.Find('a', -1), -1},
                                         {s.Find("", 6), 6},  {s.Find("", 7), -1},  {s.ReverseFind('b'), 4}};
    for (std::size_t k = 0; k < std::size(found); ++k) EXPECT_EQ(found[k].first, found[k].second) << k;
    const std::pair<CString, const char*> cut[] = {{h.Mid(1, -2), ""}, {h.Mid(-3, 2), "He"}, {h.Mid(3, 100), "lo"},
                                                   {h.Mid(9, 1), ""},  {h.Left(-1), ""},     {h.Right(99), "Hello"}};
    for (std::size_t k = 0; k < std::size(cut); ++k) EXPECT_EQ(cut[k].first, cut[k].second) << k;
}

TEST(CStringTest, EditingClampsPositionsButSetAtAndGetAtThrowOutsideAndReplaceIsNotRecursive) {
    CString s("abcdef");
    EXPECT_EQ(s.Delete(4, 10), 4);  // only what is there
    EXPECT_EQ(s.Delete(9), 4);      // past the end: nothing
    EXPECT_EQ(s.Delete(-2, 1), 3);  // a negative index acts as 0
    EXPECT_EQ(s.Insert(10, "xy"), 5);  // beyond the end appends
    EXPECT_EQ(s.Insert(-5, 'a'), 6);
    EXPECT_EQ(s, "abcdxy");
    s.SetAt(1, 'z');
    EXPECT_THROW(s.SetAt(6, 'x'), kv::CInvalidArgException);
    EXPECT_THROW(s.SetAt(-1, 'x'), kv::CInvalidArgException);
    EXPECT_EQ(s.GetAt(6), '\0');  // the terminator can be read
    EXPECT_THROW(s.GetAt(7), kv::CInvalidArgException);
    EXPECT_EQ(s, "azcdxy");

    s = "a--b--c";
    EXPECT_EQ(s.Replace("-", "--"), 4);  // the inserted text is not searched again
    EXPECT_EQ(s, "a----b----c");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace('-', '+'), 8);
    EXPECT_EQ(s.Remove('+'), 8);
    EXPECT_EQ(s, "abc");
    CString padded("xx text xx");
    EXPECT_EQ(padded.Trim('x'), " text ");
    EXPECT_EQ(padded.Trim(), "text");
    EXPECT_EQ(CString("////").Trim('/'), "");
}

TEST(CStringTest, FormatConcatenationAndUnsignedComparison) {
    CString s;
    s.Format("%d|%5.2f|%s|%c|%04X", -12, 3.14159, "ok", 'z', 0xBEEFU);
    EXPECT_EQ(s, "-12| 3.14|ok|z|BEEF");
    s.Format("%s", std::string(1000, 'q').c_str());  // longer than any small fixed buffer
    EXPECT_EQ(s.GetLength(), 1000);
    EXPECT_EQ("x" + CString("y") + 'z' + "!", "xyz!");
    EXPECT_TRUE(CString("ab") < CString("abc"));
    EXPECT_FALSE(CString("abc") < CString("abc"));

    const char text[] = "\xCF\xF0\xE8\xE2\xE5\xF2 \xEC\xE8\xF0";  // Windows-1251 Cyrillic passes untouched
    CString cyrillic(text);
    EXPECT_EQ(std::memcmp(cyrillic.GetString(), text, sizeof text), 0);
    EXPECT_EQ(cyrillic.Find('\xE2'), 3);
    EXPECT_TRUE(CString("z") < CString("\xE0"));  // bytes compare as unsigned
    EXPECT_LT(CString("z").Compare("\xE0"), 0);
}

TEST(AfxExtractSubStringTest, FieldsAndMissingFields) {
    const char* fields[] = {"a", "", "c", ""};  // the last one follows the last separator
    for (const int n : {-1, 0, 1, 2, 3, 5}) {
        CString out("stale");
        const bool present = n >= 0 && n < 4;
        EXPECT_EQ(kv::AfxExtractSubString(out, "a,,c,", n, ',') != 0, present) << n;
        EXPECT_EQ(out, present ? fields[n] : "") << n;
    }
}

TEST(CArrayTest, KeepsOrderAndRejectsIndicesOutside) {
    kv::CArray<int> a;
    for (const int v : {10, 20, 30, 40}) a.Add(v);
    EXPECT_EQ(a.Add(50), 4);
    a.RemoveAt(1);
    a.RemoveAt(2, 2);
    a.InsertAt(1, 15);
    ASSERT_EQ(a.GetSize(), 3);
    EXPECT_EQ(a[1], 15);
    EXPECT_EQ(a.GetAt(2), 30);
    EXPECT_THROW(a.GetAt(3), kv::CInvalidArgException);
    EXPECT_THROW(a.RemoveAt(2, 2), kv::CInvalidArgException);
}

TEST(MessageBoxTest, InstalledHandlerAnswersAndIsReturnedWhenReplaced) {
    std::tuple<std::string, kv::UINT, kv::UINT> seen;
    const kv::MessageBoxHandler previous = kv::SetMessageBoxHandler([&](const char* text, kv::UINT type, kv::UINT help) {
        seen = {text, type, help};
        return type == kv::MB_YESNO ? kv::IDNO : kv::IDCANCEL;
    });
    EXPECT_EQ(kv::AfxMessageBox("Continue?", kv::MB_YESNO), kv::IDNO);
    EXPECT_EQ(std::get<0>(seen), "Continue?");
    kv::DebugAfxMessageBox("check me");  // with OK only
    EXPECT_EQ(seen, std::make_tuple(std::string("check me"), kv::MB_OK, 0u));
    const kv::MessageBoxHandler mine = kv::SetMessageBoxHandler(previous);
    ASSERT_TRUE(mine);
    EXPECT_EQ(mine("again", kv::MB_YESNO, 0), kv::IDNO);
}

}  // namespace
