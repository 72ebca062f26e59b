#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <climits>
#include <cstdint>
#include <string>

#include "Kv_Data/Catalogue.h"
#include "Kv_Data/PlatformModule.h"

namespace {

// The expected Russian texts are written here in UTF-8 and converted on their own, so
// that a slip in the library's table shows up.
std::string Cp1251(std::string in) {
    const iconv_t cd = iconv_open("CP1251", "UTF-8");
    std::string out(in.size(), '\0');
    char *inPtr = in.data(), *outPtr = out.data();
    std::size_t inLeft = in.size(), outLeft = out.size();
    const bool converted = cd != reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1)) &&
                           iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) != static_cast<std::size_t>(-1);
    if (converted) iconv_close(cd);
    EXPECT_TRUE(converted) << in;
    out.resize(out.size() - outLeft);
    return out;
}

// The Russian name in UTF-8, and what GetTestFromString gives for the key and the name.
struct Row { int code; const char* key; const char* name; int keyGives, nameGives; };

constexpr Row kRows[] = {
    {0, "FiMCh", "Фмч", -1, 0}, {1, "Zoperate", "Zуставки", -1, 1}, {2, "Zoffs", "Смещение", -1, 2},
    {3, "Eks", "Соотношение осей", 3, 3}, {4, "GraphZfromFi", "Z(ф)", 4, -1}, {5, "GraphZfromI", "Iтр", 5, 5},
    {10, "GraphTfromZ", "T(Z)", -1, -1}, {11, "Memory", "Работа по 'памяти'", -1, 11},
    {18, "GraphTfromI", "T(I)", 18, -1}, {20, "FiMCh", "Фмч", -1, 0}, {22, "FiMCh", "Фмч", -1, 0},
    {23, "FiMCh", "Фмч", -1, 0}, {24, "Eks", "Соотношение осей", 3, 3},
    {60, "RightSide", "Наклон правой боковой стороны", -1, 60}, {61, "SideMemory", "Направленность памяти", 11, 61},
    {62, "GraphTfromU", "T(U)", 62, -1}, {63, "GraphUI", "U(I)", 63, -1},
};

}  // namespace

TEST(TestTypes, EveryCodeNamedBothWaysAndBack) {
    for (const Row& row : kRows) {
        const std::string name = Cp1251(row.name);
        EXPECT_EQ(kv::GetStringFromTest(row.code), row.key) << row.code;
        EXPECT_EQ(kv::GetStringFromTestRus(row.code).str(), name) << row.code;
        EXPECT_EQ(kv::GetTestFromString(row.key), row.keyGives) << row.key;
        EXPECT_EQ(kv::GetTestFromString(name), row.nameGives) << row.code;
    }
}

TEST(TestTypes, CodesOutsideTheTableHaveNoNames) {
    for (int code : {-1, INT_MIN, INT_MAX, 6, 9, 12, 19, 21, 25, 59, 64, 210, 1288})
        EXPECT_TRUE(kv::GetStringFromTest(code).IsEmpty() && kv::GetStringFromTestRus(code).IsEmpty()) << code;
}

TEST(TestTypes, TextsAreSearchedByContainmentInAFixedOrder) {
    const std::string zf = Cp1251("Zф");
    const std::pair<std::string, int> cases[] = {
        {"Phi", 0}, {"Zset", 1}, {"Offset", 2}, {"GraphZfromT", 10}, {"xMemory", 11}, {"Curve_GraphTfromU", 62},
        {"Phi_Zset_x", -1}, {"TZ", 10}, {"TIUI", 18}, {"UI TU", 62}, {zf, 4}, {"Phi " + zf + "Tolerance", 210},
        {Cp1251("Zуставки Фмч"), 0}, {Cp1251("Направленность памяти") + " Memory", 11},
        {"Zф", -1},  // UTF-8 bytes are not the stored name
    };
    for (const auto& [text, code] : cases) EXPECT_EQ(kv::GetTestFromString(text), code) << text;
}

TEST(TestTypes, ResourceStringsComeFromTheHostTablesThenTheLibrarys) {
    EXPECT_EQ(kv::GetStringFromResource(1296).str(), Cp1251("Работа по 'памяти'"));
    EXPECT_TRUE(kv::GetStringFromResource(4321).IsEmpty());

    const std::array<kv::StringTableEntry, 2> entries{{{4321, "host text"}, {1288, "host 1288"}}};
    const kv::HINSTANCE host = kv::RegisterStringTable(entries);
    EXPECT_EQ(kv::GetStringFromResource(4321), "host text");
    EXPECT_EQ(kv::GetStringFromResource(1288), "host 1288");
    // The catalogue reads the library's own table only.
    EXPECT_EQ(kv::GetStringFromTestRus(0).str(), Cp1251("Фмч"));
    EXPECT_EQ(kv::GetTestFromString(Cp1251("Фмч")), 0);
    EXPECT_EQ(kv::GetTestFromString("host 1288"), -1);
    EXPECT_TRUE(kv::UnregisterStringTable(host));
    EXPECT_TRUE(kv::GetStringFromResource(4321).IsEmpty());
}
