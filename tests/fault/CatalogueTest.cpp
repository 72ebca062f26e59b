#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "Kv_Data/Fault.h"
#include "Kv_Data/State.h"

namespace {

class FaultCatalogue : public ::testing::Test {
protected:
    void TearDown() override { kv::glob_dwKavorType = savedType, kv::glob_bFault_A1_Enable = savedFlag; }
    kv::DWORD savedType = kv::glob_dwKavorType;
    int savedFlag = kv::glob_bFault_A1_Enable;
};

bool IsGap(int code) {
    return code == 10 || code == 12 || code == 13 || (code >= 52 && code <= 60) || code == 99 || code == 100 ||
           (code >= 104 && code <= 106) || code == 114;
}

}  // namespace

TEST_F(FaultCatalogue, EveryNameMapsBackToItsCodeAndGapsHaveNone) {
    int named = 0;
    for (int code = -5; code <= 140; ++code) {
        const kv::CString name = kv::GetStringFromDefineKZ(code);
        if (code < 0 || code > 132 || IsGap(code)) {
            EXPECT_TRUE(name.IsEmpty()) << code;
            continue;
        }
        ++named;
        EXPECT_EQ(name.Find("Fault"), 0) << code;
        EXPECT_EQ(kv::GetDefineFromStringKZ(name), code) << name.GetString();
    }
    EXPECT_EQ(named, 115);
    EXPECT_EQ(kv::GetStringFromDefineKZ(6), "FaultAB");
    EXPECT_EQ(kv::GetStringFromDefineKZ(132), "FaultIcVarIbConst");
    // The Cyrillic names are Windows-1251 bytes.
    EXPECT_EQ(kv::GetStringFromDefineKZ(92), "FaultABC \xEB\xE8\xED");
    EXPECT_EQ(kv::GetStringFromDefineKZ(95).GetLength(), 21);
}

// The flag that naming code 123 raises is tested with the synthesis' own (SetUFazaTest).
TEST_F(FaultCatalogue, ReverseLookupCutsOnlyAfterALeadingPrefixAndSearchesSuffixesInAFixedOrder) {
    const std::pair<const char*, int> cases[] = {
        {"AB", 6}, {"faultAB", -1}, {"FaultAB_2", -1}, {"X_FaultAB_2", 6}, {"Cfg/FaultCA/x", 8},
        {"FaultFaultAB", -1}, {"", -1}, {"Fault", -1}, {"FaultcstKZU2", 35}, {"cstKZU2", 35},
        {"FaultABN_old", 118}, {"xxUniversalyy", 103}, {"ABCx", -1},
        {"I30BNU0", 107},  // tried before "I30BN"
        {"zI30BNz", 108},
        {"ABUnBCN", 111}, {"BCNABUn", 111},  // the first in the fixed order wins
        {"FaultABC \xEB\xE8\xED", 92}, {"FaultABC \xD0\xBB\xD0\xB8\xD0\xBD", -1},  // the same in UTF-8
    };
    for (const auto& [name, code] : cases) EXPECT_EQ(kv::GetDefineFromStringKZ(name), code) << name;
}
