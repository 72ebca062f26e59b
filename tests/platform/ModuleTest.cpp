#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "Kv_Data.h"

namespace {

using kv::CString;
using kv::HINSTANCE;

// The string-table block that holds `id`.
kv::HRSRC FindBlock(HINSTANCE module, kv::UINT id) {
    return kv::FindResourceA(module, kv::MAKEINTRESOURCEA(static_cast<kv::WORD>((id >> 4) + 1)), kv::RT_STRING);
}

TEST(ModuleTest, RegisteredTableIsFoundByIdUntilUnregistered) {
    const kv::StringTableEntry entries[] = {{16, "16"}, {40, "forty"}, {41, "a longer text"}, {1288, "\xD2\xE5\xF1\xF2"}};
    const HINSTANCE module = kv::RegisterStringTable(entries);
    ASSERT_NE(module, nullptr);
    char buffer[32];
    EXPECT_EQ(kv::LoadStringA(module, 1288, buffer, 32), 4);
    EXPECT_STREQ(buffer, "\xD2\xE5\xF1\xF2");
    EXPECT_EQ(kv::LoadStringA(module, 41, buffer, 5), 4);  // cut to the buffer, terminated
    EXPECT_STREQ(buffer, "a lo");
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(kv::LoadStringA(module, 42, buffer, 32), 0);
    EXPECT_STREQ(buffer, "");

    CString text, missing("stale");
    EXPECT_TRUE(text.LoadString(40) && text == "forty");
    EXPECT_FALSE(missing.LoadString(42));
    EXPECT_TRUE(missing.IsEmpty());

    EXPECT_NE(FindBlock(module, 40), nullptr);
    EXPECT_NE(FindBlock(module, 1288), nullptr);
    EXPECT_EQ(FindBlock(module, 15), nullptr);  // ids 0 to 15: no string there, 16 starts block 2
    EXPECT_EQ(FindBlock(module, 1304), nullptr);
    EXPECT_EQ(kv::FindResourceA(module, kv::MAKEINTRESOURCEA(0), kv::RT_STRING), nullptr);
    // Block 4097 would start past the last 16-bit id; it must not wrap round to block 1.
    const kv::StringTableEntry low[] = {{5, "five"}};
    const HINSTANCE lowModule = kv::RegisterStringTable(low);
    EXPECT_EQ(kv::FindResourceA(lowModule, kv::MAKEINTRESOURCEA(4097), kv::RT_STRING), nullptr);
    EXPECT_TRUE(kv::UnregisterStringTable(lowModule));

    EXPECT_TRUE(kv::UnregisterStringTable(module));
    EXPECT_FALSE(kv::UnregisterStringTable(module));
    EXPECT_EQ(kv::LoadStringA(module, 40, buffer, 32), 0);
    EXPECT_EQ(FindBlock(module, 40), nullptr);
    EXPECT_FALSE(text.LoadString(40));
}

TEST(ModuleTest, LibraryAndExecutableModules) {
    const HINSTANCE library = kv::GetKvDataInstance();
    ASSERT_NE(library, nullptr);
    EXPECT_FALSE(kv::UnregisterStringTable(library));

    char path[1024];
    const kv::DWORD length = kv::GetModuleFileNameA(nullptr, path, sizeof path);
    ASSERT_GT(length, 0U);
    EXPECT_EQ(length, std::strlen(path));
    EXPECT_EQ(std::filesystem::path(path).filename(), "kv_tests_platform");
    char cut[4];
    EXPECT_EQ(kv::GetModuleFileNameA(nullptr, cut, sizeof cut), 4U);  // cut and terminated
    EXPECT_EQ(std::string(cut), std::string(path, 3));
    ASSERT_GT(kv::GetModuleFileNameA(library, path, sizeof path), 0U);
    EXPECT_NE(std::string(path).find("libKv_Data.so"), std::string::npos);
}

}  // namespace
