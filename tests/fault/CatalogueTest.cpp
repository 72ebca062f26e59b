#include <gtest/gtest.h>

#include <string>

#include "Kv_Data/Fault.h"
#include "Kv_Data/State.h"

namespace {

class FaultCatalogue : public ::testing::Test {
protected:
    void TearDown() override {
        kv::glob_dwKavorType = savedType;
        kv::glob_bFault_A1_Enable = savedFlag;
    }
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
}

TEST_F(FaultCatalogue, CyrillicNamesAreWindows1251Bytes) {
    EXPECT_EQ(kv::GetStringFromDefineKZ(92), "FaultABC \xEB\xE8\xED");
    EXPECT_EQ(kv::GetStringFromDefineKZ(95).GetLength(), 21);
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultABC \xEB\xE8\xED"), 92);
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultABC \xD0\xBB\xD0\xB8\xD0\xBD"), -1);  // the same in UTF-8
}

TEST_F(FaultCatalogue, A1FlagFollowsTheDeviceTypeAndIsClearedByEveryCall) {
    for (kv::DWORD type : {35U, 23U, 31U, 30U}) {
        kv::glob_dwKavorType = type;
        EXPECT_EQ(kv::GetStringFromDefineKZ(123), "FaultA1N");
        EXPECT_EQ(kv::glob_bFault_A1_Enable, 1) << type;
        kv::GetStringFromDefineKZ(0);
        EXPECT_EQ(kv::glob_bFault_A1_Enable, 0);
    }
    kv::glob_dwKavorType = 40;
    EXPECT_EQ(kv::GetStringFromDefineKZ(123), "FaultA1N");
    EXPECT_EQ(kv::glob_bFault_A1_Enable, 0);
    kv::glob_dwKavorType = 30;
    kv::GetStringFromDefineKZ(123);
    kv::GetStringFromDefineKZ(-1);  // also for codes without a name
    EXPECT_EQ(kv::glob_bFault_A1_Enable, 0);
}

TEST_F(FaultCatalogue, ReverseLookupCutsOnlyWhenFaultIsNotAtTheStart) {
    EXPECT_EQ(kv::GetDefineFromStringKZ("AB"), 6);
    EXPECT_EQ(kv::GetDefineFromStringKZ("faultAB"), -1);
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultAB_2"), -1);
    EXPECT_EQ(kv::GetDefineFromStringKZ("X_FaultAB_2"), 6);
    EXPECT_EQ(kv::GetDefineFromStringKZ("Cfg/FaultCA/x"), 8);
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultFaultAB"), -1);
    EXPECT_EQ(kv::GetDefineFromStringKZ(""), -1);
    EXPECT_EQ(kv::GetDefineFromStringKZ("Fault"), -1);
}

TEST_F(FaultCatalogue, ContainedSuffixesAndTheAlias) {
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultcstKZU2"), 35);
    EXPECT_EQ(kv::GetDefineFromStringKZ("cstKZU2"), 35);
    EXPECT_EQ(kv::GetDefineFromStringKZ("FaultABN_old"), 118);
    EXPECT_EQ(kv::GetDefineFromStringKZ("xxUniversalyy"), 103);
    EXPECT_EQ(kv::GetDefineFromStringKZ("I30BNU0"), 107);  // tested before "I30BN"
    EXPECT_EQ(kv::GetDefineFromStringKZ("zI30BNz"), 108);
    EXPECT_EQ(kv::GetDefineFromStringKZ("ABUnBCN"), 111);  // the first in the fixed order wins
    EXPECT_EQ(kv::GetDefineFromStringKZ("BCNABUn"), 111);
    EXPECT_EQ(kv::GetDefineFromStringKZ("ABCx"), -1);
}
