#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <type_traits>
#include <variant>
#include <vector>

#include "Kv_Data.h"

namespace {

using namespace kv;
using Ref = std::variant<double*, DWORD*, int*, WORD*, CString*>;
using Value = std::variant<double, DWORD, int, WORD, CString>;

// Everything SetConstantsFromKavorType writes, and what the tests set around it.
const Ref kTouched[] = {
    &glob_dwKavorType, &glob_nComboRangeU, &glob_dKI2, &cstUStep, &cstUDigitAfterComma,
    &glob_dwTimeRPORPVOfTripOutputContact, &glob_dwCounterRPORPVOfTripOutputContact, &cVectorIa1, &cVectorIb1,
    &cVectorIc1, &cVectorU4, &cBackground, &cEllipse, &cFont, &cGrig, &cOs, &cNoCheckVector, &glob_StrFileNameTrase,
    &glob_StrFileNameContact, &glob_StrFileNameContactOut, &glob_StrFileNameOption, &glob_StrFileNameCoeff,
    &glob_StrFileNameOk, &glob_StrFileNameIni, &glob_StrFileNameArmIni, &glob_StrFileNameError, &cstMaxCont,
    &cstInCont_32_8, &cstInCont_32_8_noGOOSE, &cstOutCont_8_4_noGOOSE, &cstHDigitAfterComma, &cstFDigitAfterComma,
    &cstHStep, &cstFStep, &defR20, &defN20, &def_A, &def_xA, &def_x, &defKavorFineNumber, &defKavorNewCP, &defImax,
    &cstImax, &globImax, &globImax2, &globImaxdc, &globUmax, &globUmaxAB, &globUmaxABdc, &regim1ADC_fMul,
    &regim2ADC_fMul, &regim3ADC_fMul, &regim4ADC_fMul, &cstHmax, &cstHmaxI, &cstHmaxU, &cstHmax800, &defUmax,
    &cstUmax, &cstUmaxKzAB, &cstUmaxAB, &cstUmaxABdc, &cstImaxdc, &cstImaxDC3, &cstMaxOutContRaal, &cstMaxOldOutCont,
    &cstMaxInCont, &cstNowOutCont, &glob_dwWatchDogTimeOut, &glob_dwWatchDogTimeOutComp, &glob_dwKavorDriverTimeOut,
    &glob_nAccountOfErrorKavorDriver, &glob_nAccountOfErrorKavorAvary,
};

class DeviceConstants : public ::testing::Test {
protected:
    void SetUp() override {
        for (const Ref& ref : kTouched) m_saved.push_back(std::visit([](auto* g) { return Value(*g); }, ref));
    }
    void TearDown() override { Restore(); }
    void Restore() const {
        for (std::size_t k = 0; k < std::size(kTouched); ++k)
            std::visit([&](auto* g) { *g = std::get<std::remove_pointer_t<decltype(g)>>(m_saved[k]); }, kTouched[k]);
    }
    static int Call(DWORD type) {
        glob_dwKavorType = type;
        return SetConstantsFromKavorType();
    }

private:
    std::vector<Value> m_saved;
};

using NumberRef = std::variant<double*, DWORD*, int*, WORD*>;
constexpr std::array<DWORD, 9> kTypes = {20, 21, 23, 31, 35, 30, 900, 25, 7};
constexpr std::optional<double> kept;  // as before the call
constexpr double kSentinel = 97;       // no type writes it to any global below
constexpr std::array<const char*, kTypes.size()> kR20 = {"20", "20", "20", "20", "20", "30", "?", "?", "?"};

struct Probe {
    NumberRef global;
    std::array<std::optional<double>, kTypes.size()> byType;
};

// clang-format off
const Probe kProbes[] = {
    //                            20     21     23     31     35      30      900       25    7
    {&defKavorFineNumber,        { 1273,  1273,  1,     1,     1,      1,      kept,     kept, kept }},
    {&cstImax,                   { 20,    36,    36,    36,    20,     15,     1518500,  kept, kept }},
    {&globImax,                  { 20,    36,    10,    10,    20,     15,     1518500,  kept, kept }},
    {&globUmax,                  { 120,   120,   135,   135,   140,    135,    15185000, kept, kept }},
    {&globUmaxABdc,              { 340,   340,   381,   381,   396,    381,    42949666, kept, kept }},
    {&cstUmaxABdc,               { 339,   339,   380,   380,   390,    380,    15185000, kept, kept }},
    {&cstImaxDC3,                { 20,    20,    15,    15,    45,     60,     1518500,  kept, kept }},
    {&cstHStep,                  { 0.01,  0.01,  0.001, 0.001, 0.0001, 0.01,   0.001,    0.01, 0.01 }},
    {&cstHmaxI,                  { kept,  kept,  2100,  2100,  2100,   2100,   1000,     kept, kept }},
    {&cstMaxInCont,              { 8,     8,     16,    16,    16,     32,     418,      kept, kept }},
    {&cstNowOutCont,             { 4,     6,     8,     8,     16,     24,     8,        kept, kept }},
    {&glob_dwKavorDriverTimeOut, { 5,     5,     10,    10,    10,     2,      kept,     kept, kept }},
    {&glob_dKI2,                 { 1,     1,     1,     kept,  kept,   kept,   kept,     kept, 1 }},
    {&cBackground,               { 6,     6,     10,    10,    10,     10,     6,        6,    6 }},
    {&cstMaxCont,                { 74,    74,    kept,  98,    98,     98,     kept,     kept, kept }},
};
// clang-format on

TEST_F(DeviceConstants, EachTypeWritesItsValuesAndKeepsTheRest) {
    for (std::size_t t = 0; t < kTypes.size(); ++t) {
        Restore();
        for (const Probe& p : kProbes)
            std::visit([](auto* g) { *g = static_cast<std::remove_pointer_t<decltype(g)>>(kSentinel); }, p.global);
        glob_StrFileNameTrase = glob_StrFileNameError = defR20 = "?";

        EXPECT_EQ(Call(kTypes[t]), 1);
        for (std::size_t k = 0; k < std::size(kProbes); ++k)
            EXPECT_EQ(std::visit([](auto* g) { return static_cast<double>(*g); }, kProbes[k].global),
                      kProbes[k].byType[t].value_or(kSentinel)) << "row " << k << ", type " << kTypes[t];
        EXPECT_EQ(cstInCont_32_8_noGOOSE, cstInCont_32_8) << kTypes[t];
        EXPECT_EQ(cstOutCont_8_4_noGOOSE, static_cast<DWORD>(cstNowOutCont)) << kTypes[t];
        EXPECT_EQ(glob_StrFileNameTrase + "|" + glob_StrFileNameError, "Kavor.log|KavorError.txt") << kTypes[t];
        EXPECT_EQ(defR20, kR20[t]) << kTypes[t];
    }
}

TEST_F(DeviceConstants, LaterCallsCarryOverWhatTheirTypeLeavesAlone) {
    for (DWORD type : {20u, 31u}) Call(type);
    EXPECT_TRUE(cstHmaxI == 2100.0 && cstMaxCont == 98u);
    for (DWORD type : {20u, 23u}) Call(type);
    EXPECT_EQ(cstMaxCont, 74u);
    for (const int range : {0, 1, 2}) {  // 35's voltage range ignores the combo
        glob_nComboRangeU = range;
        Call(35);
        EXPECT_TRUE(globUmaxABdc == 396.0 && cstUmaxABdc == 390.0) << range;
    }
}

}  // namespace
