#include <gtest/gtest.h>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace {

using kv::CString;

CString SetAt(const char* s, const char* str, int pos, unsigned mode) {
    CString text(s);
    kv::SetAtSStr(text, str, pos, mode);
    return text;
}

CString InsAt(const char* s, const char* str, int pos) {
    CString text(s);
    kv::InsAtSStr(text, str, pos);
    return text;
}

CString Replace(const char* s, const char* find, const char* repl, int all) {
    CString text(s);
    const CString copy = kv::ReplaceSubString(text, find, repl, all);
    EXPECT_EQ(copy, text);
    return text;
}

TEST(SetAtSStr, ColumnsModesAndTheMinusShift) {
    EXPECT_EQ(SetAt("", "-5", 3, 0), "  -5");
    EXPECT_EQ(SetAt("abcdef", "-1", 0, 0), "-1cdef");
    EXPECT_EQ(SetAt("abc", "xy", 5, 2), "abcxy");
    EXPECT_EQ(SetAt("abcdef", "-1", 4, 2), "ab-1ef");
    EXPECT_EQ(SetAt("abcdef", "XY", 1, 1), "aXYdef");
    EXPECT_EQ(InsAt("abc", "X", 1), "aXbc");
    EXPECT_EQ(InsAt("abc", "X", 5), "abc  X");
    EXPECT_EQ(InsAt("ab", "-1", 4), "ab -1");
}

TEST(SetAtSStr, WritingOutsideThrowsAfterWhatFits) {
    CString s("ab");
    EXPECT_THROW(kv::SetAtSStr(s, "XYZ", 1, 7), kv::CInvalidArgException);
    EXPECT_EQ(s, "aX");
    EXPECT_THROW(kv::SetAtSStr(s, "XYZ", 2, 2), kv::CInvalidArgException);
}

TEST(FindTextA, WholeWordsAndTheirAsymmetries) {
    EXPECT_EQ(kv::FindTextA("UaA", "A", 0), 1);
    EXPECT_EQ(kv::FindTextA("Ua (A)", "A", 1), 1);
    EXPECT_EQ(kv::FindTextA("UaA", "A", 1), 0);
    EXPECT_EQ(kv::FindTextA("x/A", "A", 1), 1);
    EXPECT_EQ(kv::FindTextA("x Ab", "A", 1), 0);
    EXPECT_EQ(kv::FindTextA("A B", "A", 1), 1);   // first blank right after the word
    EXPECT_EQ(kv::FindTextA("A)", "A", 1), 0);    // its own first letter stands before it
    EXPECT_EQ(kv::FindTextA("(A)", "A", 1), 1);
    EXPECT_EQ(kv::FindTextA("AB A", "A", 1), 0);  // only the first occurrence counts
}

TEST(StringHelpers, PaddingRemovalSplittingBrackets) {
    CString s("ab");
    EXPECT_EQ(kv::AddSpaceToStringToMaxLength(s, 5), 1);
    EXPECT_EQ(s, "ab...");
    EXPECT_EQ(kv::AddSpaceToStringToMaxLength(s, 5), 0);
    EXPECT_EQ(kv::StrAddSpaceToStringToMaxLength("x", 3), "x..");
    EXPECT_EQ(kv::RemoveSubString("FaultFaultAB", "Fault"), "FaultAB");

    CString tail("old"), path("a\\b\\c.txt"), plain("abc");
    EXPECT_EQ(kv::RemoveReverseSubString(tail, path, '\\'), 1);
    EXPECT_EQ(tail + "|" + path, "c.txt|a\\b");
    EXPECT_EQ(kv::RemoveReverseSubString(tail, plain, '\\'), 0);
    EXPECT_EQ(tail + "|" + plain, "c.txt|abc");

    EXPECT_EQ(kv::TrimBrackets("Z(\xF4)"), "Z\xF4");
    EXPECT_EQ(kv::TrimBrackets("(a)(b)"), "a)(b");
}

TEST(ReplaceSubString, FirstOrAllResumingAtTheInsertedText) {
    EXPECT_EQ(Replace("a-b-c", "-", "+", 0), "a+b-c");
    EXPECT_EQ(Replace("a-b-c", "-", "+", 1), "a+b+c");
    EXPECT_EQ(Replace("aabb", "ab", "a", 1), "aa");  // found again inside the new text
    EXPECT_EQ(Replace("abc", "", "X", 0), "Xabc");
}

TEST(ReplaceSubString, CasesThatWouldNeverEndReturn) {
    EXPECT_EQ(Replace("abc", "", "X", 1), "abc");
    EXPECT_EQ(Replace("a-b-c", "-", "--", 1), "a--b--c");
    EXPECT_EQ(Replace("xx", "x", "yxy", 1), "yxyyxy");
}

TEST(TruncNullEndStr, FollowsTheDecimalSeparatorSetting) {
    const int saved = kv::glob_bUseInFieldPoint;
    kv::glob_bUseInFieldPoint = 1;
    EXPECT_EQ(kv::TruncNullEndStr("100"), "100");
    EXPECT_EQ(kv::TruncNullEndStr("12.000"), "12.0");
    EXPECT_EQ(kv::TruncNullEndStr("1,500"), "1,500");
    EXPECT_EQ(kv::TruncNullEndStr("1.5 x100"), "1.5 x1");
    kv::glob_bUseInFieldPoint = 0;
    EXPECT_EQ(kv::TruncNullEndStr("1,500"), "1,5");
    EXPECT_EQ(kv::TruncNullEndStr("12,"), "12,0");
    kv::glob_bUseInFieldPoint = saved;
}

TEST(GetArrayStringFromString, FieldsBeforeEachSeparator) {
    CString out[10];
    EXPECT_EQ(kv::GetArrayStringFromString("a;;b;", out, 10, ";"), 3);
    EXPECT_EQ(out[0] + "|" + out[1] + "|" + out[2], "a||b");
    EXPECT_EQ(kv::GetArrayStringFromString("x;y;z", out, 1, ";"), 1);
    EXPECT_EQ(out[0] + "|" + out[1], "x|");
    EXPECT_EQ(kv::GetArrayStringFromString("a<>b<>c", out, 10, "<>"), 2);
    EXPECT_EQ(out[1], ">b");
}

TEST(GetArrayStringFromString, LeadingOrEmptySeparatorEnds) {
    CString out[10];
    EXPECT_EQ(kv::GetArrayStringFromString(";a;b", out, 10, ";"), 2);
    EXPECT_EQ(out[0] + "|" + out[1], "|a");
    EXPECT_EQ(kv::GetArrayStringFromString("ab", out, 10, ""), 3);
}

}  // namespace
