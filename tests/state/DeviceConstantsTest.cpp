#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <type_traits>
#include <variant>

#include "Kv_Data.h"

namespace {

using namespace kv;
// This program holds these tests alone: the globals they rewrite need no restoring.
class DeviceConstants : public ::testing::Test {
protected:
    static int Call(DWORD type) {
        glob_dwKavorType = type;
        return SetConstantsFromKavorType();
    }
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
