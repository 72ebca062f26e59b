#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include "Kv_Data.h"
#include "phasor/AngleConstants.h"

namespace {

// The declared types are the interface: a client binds to each name with its width.
static_assert(std::is_same_v<decltype(kv::cstIsKavor30), kv::BYTE>);
static_assert(std::is_same_v<decltype(kv::cBackground), kv::WORD>);
static_assert(std::is_same_v<decltype(kv::glob_nAccountAntiDev), double>);
static_assert(std::is_same_v<decltype(kv::glob_byContNumExStart_61850), kv::DWORD>);
static_assert(std::is_same_v<decltype(kv::glob_bCheckUse32bit_I_Pred), double[6]>);
static_assert(std::is_same_v<decltype(kv::glob_bDataADC), kv::WORD[2][200]>);
static_assert(std::is_same_v<decltype(kv::glob_64_State_GOOSE_KAVOR40), kv::ULONGLONG[10]>);
static_assert(std::is_same_v<decltype(kv::glob_dwArrayAvary), kv::DWORD[35]>);
static_assert(std::is_same_v<decltype(kv::glob_arrStrIdSV), kv::CString[40]>);
static_assert(std::is_same_v<decltype(kv::glob_ArrSV_CValueIU_AvtoMode), kv::CValueIU[6][40]>);
static_assert(std::is_same_v<decltype(kv::glob_data400Event), kv::TData400Event[4096]>);
static_assert(std::is_same_v<decltype(kv::glob_ptSeriesSignal), double* [24]>);
static_assert(std::is_same_v<decltype(kv::glob_HwndArm), kv::HWND>);
static_assert(std::is_same_v<decltype(kv::glob_fileOutCont_61850), kv::CFile>);

// Caller-defined records keep the sizes the calling programs were built with.
static_assert(sizeof(kv::TData400Event) == 16);
static_assert(sizeof(kv::structKavorOutUITime) == 1048);
static_assert(sizeof(kv::T_MMS_ReportLogic) == 56);
static_assert(sizeof(kv::structKavorRpoRpv) == 72);
static_assert(sizeof(kv::STRUCT_KavorWork) == 4);

std::string Bytes(const kv::CString& s) {
    return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength()));
}

bool AllZero(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t k = 0; k < size; ++k)
        if (bytes[k] != 0) return false;
    return true;
}

TEST(StateDefaults, ScalarsAndTheirQuirks) {
    EXPECT_EQ(kv::glob_dwKavorType, 31u);
    EXPECT_EQ(kv::cstMaxCont, 418u);
    // A mixed start-up set: one model's current limits, another's voltage limits.
    EXPECT_EQ(kv::globImax, 20.0);
    EXPECT_EQ(kv::globUmax, 120.0);
    EXPECT_EQ(kv::cstUmax, 135.0);
    EXPECT_EQ(kv::regim4ADC_fMul, 14.4);
    EXPECT_EQ(kv::defKavorNewCP, 65535u);
    EXPECT_EQ(kv::cst58V, 57.735026918962575);
    EXPECT_EQ(kv::cst173V, 207.9);  // not 173
    EXPECT_EQ(kv::glob_dTime_ReportMMS, -1.0);
    EXPECT_EQ(kv::glob_TT_dS_mag2_Calc, 0.0001);
    EXPECT_EQ(kv::glob_dwStateInContactForSetInTxxRpoRpv, 0xFFFFFFFFu);
    EXPECT_EQ(kv::glob_nMsgBoxResult, -1);
    EXPECT_EQ(kv::glob_nAccountAntiDev, 5.0);
    EXPECT_EQ(kv::glob_dwIP_Port, 49950u);
    EXPECT_EQ(kv::glob_bStopEvent, 1);
    EXPECT_EQ(kv::glob_bArm, 0);
}

TEST(StateDefaults, ZeroFamiliesStartEmpty) {
    EXPECT_TRUE(AllZero(kv::dGlobUIFazaMinMaxStep, sizeof kv::dGlobUIFazaMinMaxStep));
    EXPECT_TRUE(AllZero(kv::glob_data400Event, sizeof kv::glob_data400Event));
    EXPECT_TRUE(AllZero(&kv::kavorOutUITime, sizeof kv::kavorOutUITime));
    EXPECT_TRUE(AllZero(&kv::glob_tMMSrl, sizeof kv::glob_tMMSrl));
    for (double* series : kv::glob_ptSeriesSignal) EXPECT_EQ(series, nullptr);
    EXPECT_EQ(kv::glob_HwndArm, nullptr);
    EXPECT_EQ(kv::structKavorWork.dwValue, 0u);
    EXPECT_FALSE(kv::glob_fileOutCont_61850.IsOpen());
    // A default value record is all zero.
    EXPECT_TRUE(AllZero(kv::glob_ArrSV_CValueIU, sizeof kv::glob_ArrSV_CValueIU));
    EXPECT_TRUE(AllZero(kv::glob_ArrSV_CValueIU_AvtoMode, sizeof kv::glob_ArrSV_CValueIU_AvtoMode));
}

TEST(StateDefaults, RpoRpvRecordHasItsTwoOnesAtBytes48And52) {
    const kv::structKavorRpoRpv& r = kv::KavorRpoRpv;
    EXPECT_EQ(r.nField7, 1);
    EXPECT_EQ(r.nField8, 1);
    kv::structKavorRpoRpv zeroed = r;
    zeroed.nField7 = zeroed.nField8 = 0;
    EXPECT_TRUE(AllZero(&zeroed, sizeof zeroed));
    EXPECT_EQ(offsetof(kv::structKavorRpoRpv, nField7), 48u);
    EXPECT_EQ(offsetof(kv::structKavorRpoRpv, nField8), 52u);
    EXPECT_EQ(offsetof(kv::structKavorRpoRpv, dField4), 64u);
}

TEST(StateDefaults, FileNamesAndModelFragments) {
    EXPECT_EQ(Bytes(kv::glob_StrFileNameTrase), "Kavor.log");
    EXPECT_EQ(Bytes(kv::glob_StrFileNameError), "KavorError.txt");
    EXPECT_TRUE(kv::glob_StrNameContacts.IsEmpty());
    EXPECT_EQ(Bytes(kv::def_xA), "xA");
    EXPECT_EQ(Bytes(kv::defR20), "30");
    EXPECT_EQ(Bytes(kv::defN20), "30");
    EXPECT_EQ(Bytes(kv::glob_strUmode3U0), "3U0");
    for (const kv::CString& s : kv::glob_arrStrIdSV) EXPECT_TRUE(s.IsEmpty());
}

TEST(StateDefaults, TransformerLabelsEndInTheNumeroSignOfCodePage1251) {
    EXPECT_EQ(Bytes(kv::glob_TT_str_EDIT_Type_TT_1), std::string("TT 1 \xB9"));
    EXPECT_EQ(Bytes(kv::glob_TT_str_EDIT_Type_TT_2), std::string("TT 2 \xB9"));
}

TEST(StateDefaults, ReportHeadersHaveThreeEqualCopies) {
    const kv::CString* copies[3][5] = {
        {&kv::glob_strLink, &kv::glob_strStation, &kv::glob_strUser, &kv::glob_strOraganization,
         &kv::glob_strProtect},
        {&kv::glob_strLinkPrint, &kv::glob_strStationPrint, &kv::glob_strUserPrint,
         &kv::glob_strOraganizationPrint, &kv::glob_strProtectPrint},
        {&kv::glob_strLinkOriginal, &kv::glob_strStationOriginal, &kv::glob_strUserOriginal,
         &kv::glob_strOraganizationOriginal, &kv::glob_strProtectOriginal},
    };
    const char* const expected[5] = {"", "Station", "User", "Quorvex", ""};
    for (const auto& copy : copies)
        for (std::size_t k = 0; k < 5; ++k) EXPECT_EQ(Bytes(*copy[k]), expected[k]) << k;
}

TEST(LibraryFrame, ModuleHandleExistsOnceLoaded) {
    const kv::HINSTANCE module = kv::GetKvDataInstance();
    ASSERT_NE(module, nullptr);
    char path[4096] = {};
    ASSERT_GT(kv::GetModuleFileNameA(module, path, sizeof path), 0u);
    EXPECT_NE(std::strstr(path, "Kv_Data"), nullptr) << path;
}

TEST(AngleConstants, EvaluatedAsWrittenFromPi) {
    EXPECT_EQ(kv::kThreeHalvesPi, 4.71238898038469);
    EXPECT_EQ(kv::kTwoThirdsPi, 2.0943951023931953);
    EXPECT_EQ(kv::kDegToRad, 0.017453292519943295);
}

}  // namespace
