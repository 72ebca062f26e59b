#include <gtest/gtest.h>

#include <tuple>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace {

using kv::CString;

TEST(SetAtSStr, ColumnsModesTheMinusShiftAndWritingOutside) {
    for (const auto& [s, str, pos, mode, want] : {std::tuple{"", "-5", 3, 0u, "  -5"},
             {"abcdef", "-1", 0, 0u, "-1cdef"},
             {"abc", "xy", 5, 2u, "abcxy"}, {"abcdef", "-1", 4, 2u, "ab-1ef"}, {"abcdef", "XY", 1, 1u, "aXYdef"},
             {"abc", "X", 1, 9u, "aXbc"}, {"abc", "X", 5, 9u, "abc  X"}, {"ab", "-1", 4, 9u, "ab -1"}}) {
        CString text(s);
        mode == 9u ? kv::InsAtSStr(text, str, pos) : kv::SetAtSStr(text, str, pos, mode);  // 9: insert
        EXPECT_EQ(text, want) << s << " " << pos << " " << mode;
    }
    CString s("ab");  // throws after writing what fits
    EXPECT_THROW(kv::SetAtSStr(s, "XYZ", 1, 7), kv::CInvalidArgException);
    EXPECT_EQ(s, "aX");
    EXPECT_THROW(kv::SetAtSStr(s, "XYZ", 2, 2), kv::CInvalidArgException);
}

TEST(FindTextA, WholeWordsAndTheirAsymmetries) {
    // "A B": the first blank right after the word; "A)": its own first letter stands before
    // it; "AB A": only the first occurrence counts.
    for (const auto& [text, whole, want] : {std::tuple{"UaA", 0, 1}, {"Ua (A)", 1, 1}, {"UaA", 1, 0}, {"x/A", 1, 1},
             {"x Ab", 1, 0}, {"A B", 1, 1}, {"A)", 1, 0}, {"(A)", 1, 1}, {"AB A", 1, 0}})
        EXPECT_EQ(kv::FindTextA(text, "A", whole), want) << text << " " << whole;
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

TEST(ReplaceSubString, FirstOrAllResumingAfterTheInsertedTextAndNeverEndless) {
    // "aabb": found again inside the new text; "" with all would never end and returns.
    for (const auto& [s, find, repl, all, want] : {std::tuple{"a-b-c", "-", "+", 0, "a+b-c"},
             {"a-b-c", "-", "+", 1, "a+b+c"}, {"aabb", "ab", "a", 1, "aa"}, {"abc", "", "X", 0, "Xabc"},
             {"abc", "", "X", 1, "abc"}, {"a-b-c", "-", "--", 1, "a--b--c"}, {"xx", "x", "yxy", 1, "yxyyxy"}}) {
        CString text(s);
        EXPECT_EQ(kv::ReplaceSubString(text, find, repl, all), want) << s << " " << find << " " << all;
        EXPECT_EQ(text, want);
    }
}

TEST(TruncNullEndStr, FollowsTheDecimalSeparatorSetting) {
    const int saved = kv::glob_bUseInFieldPoint;
    for (const auto& [point, text, want] : {std::tuple{1, "100", "100"}, {1, "12.000", "12.0"}, {1, "1,500", "1,500"},
             {1, "1.5 x100", "1.5 x1"}, {0, "1,500", "1,5"}, {0, "12,", "12,0"}}) {
        kv::glob_bUseInFieldPoint = point;
        EXPECT_EQ(kv::TruncNullEndStr(text), want) << point << " " << text;
    }
    kv::glob_bUseInFieldPoint = saved;
}

TEST(GetArrayStringFromString, FieldsBeforeEachSeparatorALeadingOrEmptyOneEnds) {
    CString out[10];
    EXPECT_EQ(kv::GetArrayStringFromString("a;;b;", out, 10, ";"), 3);
    EXPECT_EQ(out[0] + "|" + out[1] + "|" + out[2], "a||b");
    EXPECT_EQ(kv::GetArrayStringFromString("x;y;z", out, 1, ";"), 1);
    EXPECT_EQ(out[0] + "|" + out[1], "x|");
    EXPECT_EQ(kv::GetArrayStringFromString("a<>b<>c", out, 10, "<>"), 2);
    EXPECT_EQ(out[1], ">b");
    EXPECT_EQ(kv::GetArrayStringFromString(";a;b", out, 10, ";"), 2);
    EXPECT_EQ(out[0] + "|" + out[1], "|a");
    EXPECT_EQ(kv::GetArrayStringFromString("ab", out, 10, ""), 3);
}

TEST(RomeNumber, OneToTwelveBothWaysOnly) {
    const char* const numerals[] = {"I", "II", "III", "IV", "V", "VI",
                                    "VII", "VIII", "IX", "X", "XI", "XII"};
    for (int n = 1; n <= 12; ++n) {
        EXPECT_EQ(kv::GetRomeNumber(n), numerals[n - 1]);
        EXPECT_EQ(kv::GetIntFromRomeNumber(numerals[n - 1]), n);
    }
    EXPECT_EQ(kv::GetRomeNumber(0), " ");
    EXPECT_EQ(kv::GetRomeNumber(13), " ");
    for (const char* bad : {" ", "", "ix", " IV", "IIII", "XIII"})
        EXPECT_EQ(kv::GetIntFromRomeNumber(bad), -1) << bad;
}

TEST(Node, FirstTwoAlwaysJoinedEmptyOthersSkipped) {
    EXPECT_EQ(kv::GetNode("Stage", "1", "", "", "", ""), "Stage_1");
    EXPECT_EQ(kv::GetNode("A", "B", "", "D", "", "F"), "A_B_D_F");
    EXPECT_EQ(kv::GetNode("", "", "", "", "", ""), "_");
    EXPECT_EQ(kv::GetNodeWithSplitter('.', "A", "B", "C", "", "", ""), "A.B.C");
}

}  // namespace
