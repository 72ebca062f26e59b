#include <gtest/gtest.h>

#include "Kv_Data/Util.h"

namespace {

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
