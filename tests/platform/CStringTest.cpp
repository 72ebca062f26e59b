#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Kv_Data.h"

namespace {

using kv::CString;

TEST(CStringTest, FindIsMinusOneWhenAbsentOrStartLiesBeyondTheText) {
    const CString s("abcabc");
    EXPECT_EQ(s.Find('c', 3), 5);
    EXPECT_EQ(s.Find('x'), -1);
    EXPECT_EQ(s.Find('a', 6), -1);  // a character search never starts at the terminator
    EXPECT_EQ(s.Find('a', -1), -1);
    EXPECT_EQ(s.Find("bc", 2), 4);
    EXPECT_EQ(s.Find("abcd"), -1);
    EXPECT_EQ(s.Find("", 6), 6);  // the empty text is found even at the end
    EXPECT_EQ(s.Find("", 7), -1);
    EXPECT_EQ(s.ReverseFind('b'), 4);
}

TEST(CStringTest, ExtractionClampsOutOfRangeArguments) {
    const CString s("Hello");
    EXPECT_EQ(s.Mid(1, 3), "ell");
    EXPECT_EQ(s.Mid(1, 0), "");
    EXPECT_EQ(s.Mid(1, -2), "");
    EXPECT_EQ(s.Mid(-3, 2), "He");
    EXPECT_EQ(s.Mid(3, 100), "lo");
    EXPECT_EQ(s.Mid(9, 1), "");
    EXPECT_EQ(s.Mid(-1), "Hello");
    EXPECT_EQ(s.Mid(7), "");
    EXPECT_EQ(s.Left(-1), "");
    EXPECT_EQ(s.Right(99), "Hello");
}

TEST(CStringTest, DeleteAndInsertClampPositionsAndReturnTheNewLength) {
    CString s("abcdef");
    EXPECT_EQ(s.Delete(4, 10), 4);  // only what is there
    EXPECT_EQ(s.Delete(9), 4);      // past the end: nothing
    EXPECT_EQ(s.Delete(1, -1), 4);
    EXPECT_EQ(s.Delete(-2, 1), 3);  // a negative index acts as 0
    EXPECT_EQ(s, "bcd");
    EXPECT_EQ(s.Insert(10, "xy"), 5);  // beyond the end appends
    EXPECT_EQ(s.Insert(-5, 'a'), 6);
    EXPECT_EQ(s.Insert(3, '-'), 7);
    EXPECT_EQ(s, "abc-dxy");
}

TEST(CStringTest, SetAtOutsideTheTextThrowsAndGetAtReadsTheTerminator) {
    CString s("ab");
    s.SetAt(1, 'z');
    EXPECT_THROW(s.SetAt(2, 'x'), kv::CInvalidArgException);
    EXPECT_THROW(s.SetAt(-1, 'x'), kv::CInvalidArgException);
    EXPECT_EQ(s, "az");
    EXPECT_EQ(s.GetAt(2), '\0');
    EXPECT_THROW(s.GetAt(3), kv::CInvalidArgException);
}

TEST(CStringTest, ReplaceRemoveAndTrim) {
    CString s("a--b--c");
    EXPECT_EQ(s.Replace("--", "-"), 2);
    EXPECT_EQ(s.Replace("-", "--"), 2);  // the inserted text is not searched again
    EXPECT_EQ(s, "a--b--c");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace('-', '+'), 4);
    EXPECT_EQ(s.Remove('+'), 4);
    EXPECT_EQ(s, "abc");
    CString padded("xx text xx");
    EXPECT_EQ(padded.Trim('x'), " text ");
    EXPECT_EQ(padded.Trim(), "text");
    CString only("////");
    EXPECT_EQ(only.Trim('/'), "");
}

TEST(CStringTest, FormatConcatenationAndComparison) {
    CString s;
    s.Format("%d|%5.2f|%s|%c|%04X", -12, 3.14159, "ok", 'z', 0xBEEFU);
    EXPECT_EQ(s, "-12| 3.14|ok|z|BEEF");
    s.Format("%s", std::string(1000, 'q').c_str());  // longer than any small fixed buffer
    EXPECT_EQ(s.GetLength(), 1000);
    EXPECT_EQ("x" + CString("y") + 'z' + "!", "xyz!");
    EXPECT_TRUE("abc" == CString("abc"));
    EXPECT_TRUE(CString("abc") != "abd");
    EXPECT_TRUE(CString("abc") != CString("ab"));
    EXPECT_TRUE(CString("ab") < CString("abc"));
    EXPECT_FALSE(CString("abc") < CString("abc"));
}

TEST(CStringTest, BytesAboveAsciiPassUntouched) {
    const char text[] = "\xCF\xF0\xE8\xE2\xE5\xF2 \xEC\xE8\xF0";  // Windows-1251 Cyrillic
    CString s(text);
    EXPECT_EQ(std::memcmp(s.GetString(), text, sizeof text), 0);
    EXPECT_EQ(s.Find('\xE2'), 3);
    EXPECT_EQ(s.Trim(), text);
    EXPECT_TRUE(CString("z") < CString("\xE0"));  // bytes compare as unsigned
    EXPECT_LT(CString("z").Compare("\xE0"), 0);
}

TEST(AfxExtractSubStringTest, FieldsAndMissingFields) {
    CString out("stale");
    const char* fields[] = {"a", "", "c", ""};  // the last one follows the last separator
    for (int n = 0; n < 4; ++n) {
        EXPECT_TRUE(kv::AfxExtractSubString(out, "a,,c,", n, ','));
        EXPECT_EQ(out, fields[n]);
    }
    for (const int n : {5, -1}) {
        out = "stale";
        EXPECT_FALSE(kv::AfxExtractSubString(out, "a,,c,", n, ','));
        EXPECT_TRUE(out.IsEmpty());
    }
    EXPECT_TRUE(kv::AfxExtractSubString(out, "whole", 0, ';'));
    EXPECT_EQ(out, "whole");
}

TEST(CArrayTest, KeepsOrderAndRejectsIndicesOutside) {
    kv::CArray<int> a;
    for (const int v : {10, 20, 30, 40}) a.Add(v);
    EXPECT_EQ(a.Add(50), 4);
    a.RemoveAt(1);
    a.RemoveAt(2, 2);
    a.InsertAt(1, 15);
    ASSERT_EQ(a.GetSize(), 3);
    EXPECT_EQ(a[0], 10);
    EXPECT_EQ(a[1], 15);
    EXPECT_EQ(a.GetAt(2), 30);
    EXPECT_THROW(a.GetAt(3), kv::CInvalidArgException);
    EXPECT_THROW(a.GetAt(-1), kv::CInvalidArgException);
    EXPECT_THROW(a.RemoveAt(2, 2), kv::CInvalidArgException);
}

TEST(MessageBoxTest, InstalledHandlerAnswersAndIsReturnedWhenReplaced) {
    std::string seen;
    const kv::MessageBoxHandler previous = kv::SetMessageBoxHandler([&](const char* text, kv::UINT type, kv::UINT) {
        seen = text;
        return type == kv::MB_YESNO ? kv::IDNO : kv::IDCANCEL;
    });
    EXPECT_EQ(kv::AfxMessageBox("Continue?", kv::MB_YESNO), kv::IDNO);
    EXPECT_EQ(seen, "Continue?");
    const kv::MessageBoxHandler mine = kv::SetMessageBoxHandler(previous);
    ASSERT_TRUE(mine);
    EXPECT_EQ(mine("again", kv::MB_YESNO, 0), kv::IDNO);
}

}  // namespace
