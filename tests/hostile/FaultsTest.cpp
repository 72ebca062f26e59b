// Faults from outside: trace places that cannot be written, log files deleted between
// calls, archives that end in the middle of a number, string-table ids that do not
// exist. Each gives its in-band result.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "Kv_Data.h"

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<kv::BYTE>;

fs::path BesideExe(const std::string& name) { return fs::path(kv::GetExePathName().str()) / name; }

std::string Contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Files of each test beside the executable, under names of their own, removed after.
class TraceFaults : public ::testing::Test {
protected:
    void SetUp() override {
        m_saved = kv::glob_StrFileNameTrase;
        m_prefix = std::string("kv_hostile_") + ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_";
    }
    void TearDown() override {
        kv::glob_StrFileNameTrase = m_saved;
        fs::remove_all(BesideExe(m_prefix + "dir"));
        fs::remove(BesideExe(m_prefix + "file"));
        fs::remove(BesideExe(m_prefix + "trace.log"));
    }
    std::string Name(const char* base) const { return m_prefix + base; }

    kv::CString m_saved;
    std::string m_prefix;
};

TEST_F(TraceFaults, PlacesThatCannotBeWrittenAreSkippedWithResultOne) {
    fs::create_directory(BesideExe(Name("dir")));
    std::ofstream(BesideExe(Name("file"))) << "kept";
    // A name that is a directory, and one below a plain file.
    for (const std::string& target : {Name("dir"), Name("file") + "/t.log"}) {
        kv::glob_StrFileNameTrase = target.c_str();
        EXPECT_EQ(kv::TRASE("a"), 1);
        EXPECT_EQ(kv::TRASE("a", 1), 1);
        EXPECT_EQ(kv::TRASE("a", 1.0, 1), 1);
        EXPECT_EQ(kv::WriteStringToLogFile(target.c_str(), "a", 0), 1);
        EXPECT_EQ(kv::WriteStringToLogFile(target.c_str(), "a", 1), 1);
    }
    EXPECT_TRUE(fs::is_directory(BesideExe(Name("dir"))));
    EXPECT_TRUE(fs::is_empty(BesideExe(Name("dir"))));
    EXPECT_EQ(Contents(BesideExe(Name("file"))), "kept");
}

TEST_F(TraceFaults, FileDeletedBetweenCallsStartsAgain) {
    const std::string name = Name("trace.log");
    const fs::path file = BesideExe(name);
    kv::glob_StrFileNameTrase = name.c_str();
    kv::TRASE("one");
    fs::remove(file);
    kv::TRASE("two");
    EXPECT_EQ(Contents(file), "two\r\n");

    kv::WriteStringToLogFile(name.c_str(), "three", 0);
    fs::remove(file);
    EXPECT_EQ(kv::WriteStringToLogFile(name.c_str(), "four", 0), 1);
    EXPECT_EQ(Contents(file), "four\r\n");
}

TEST_F(TraceFaults, NumericTracesOfHostileValues) {
    const std::string name = Name("trace.log");
    kv::glob_StrFileNameTrase = name.c_str();
    kv::TRASE("n", INT_MIN);
    kv::TRASE("x", std::numeric_limits<double>::quiet_NaN(), 2);
    kv::TRASE("x", -std::numeric_limits<double>::infinity(), 0);
    kv::TRASE("x", -0.0, 1);
    kv::TRASE("x", 1.5, INT_MIN);  // a negative precision means six decimals
    EXPECT_EQ(Contents(BesideExe(name)),
              "n -2147483648\r\n\r\nx nan\r\n\r\nx -inf\r\n\r\nx -0.0\r\n\r\nx 1.500000\r\n\r\n");
}

void ExpectEndOfFile(void (kv::Complex::*load)(kv::CArchive&), std::size_t cut) {
    kv::CMemFile file(Bytes(cut, 0x11));
    kv::CArchive ar(&file, kv::CArchive::load);
    kv::Complex c;
    try {
        (c.*load)(ar);
        ADD_FAILURE() << "no exception at " << cut;
    } catch (const kv::CArchiveException& e) {
        EXPECT_EQ(e.m_cause, kv::CArchiveException::endOfFile) << cut;
    }
}

TEST(ArchiveFaults, ComplexEndingInsideANumberReportsTheEndOfTheFile) {
    for (std::size_t cut = 0; cut < 16; ++cut) ExpectEndOfFile(&kv::Complex::Serialize, cut);
    for (std::size_t cut = 0; cut < 8; ++cut) ExpectEndOfFile(&kv::Complex::FSerialize, cut);
}

TEST(ArchiveFaults, ContactsEndingAnywhereKeepWhatWasReadAndResetTheRest) {
    constexpr kv::DWORD kOld = 4;
    const kv::DWORD savedOld = kv::cstMaxOldOutCont;
    kv::cstMaxOldOutCont = kOld;
    const auto source = std::make_unique<kv::COutContactsVal>();
    for (int i = 0; i < kv::COutContactsVal::kEntryCount; ++i)
        source->m_aEntry[i] = {1, 2, 0.5 + i, 0.25 + i, "", 0, 0};
    kv::CMemFile stored;
    {
        kv::CArchive ar(&stored, kv::CArchive::store);
        source->Serialize(ar);
        source->SerializeRemain(ar);
    }
    const Bytes all = stored.Bytes();

    // Entry layout: byFlag2, byFlag1, dValue2, dValue1; a field counts once it is whole.
    for (std::size_t cut = 0; cut < 18 * kOld + 40; ++cut) {
        const auto target = std::make_unique<kv::COutContactsVal>();
        for (kv::COutContactEntry& e : target->m_aEntry) e = {9, 9, 9.0, 9.0, "", 0, 0};
        kv::CMemFile file(Bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(cut)));
        kv::CArchive ar(&file, kv::CArchive::load);
        EXPECT_NO_THROW(target->Serialize(ar));
        EXPECT_NO_THROW(target->SerializeRemain(ar));
        for (std::size_t i = 0; i < kOld; ++i) {
            const kv::COutContactEntry& e = target->m_aEntry[i];
            const std::size_t have = cut > 18 * i ? cut - 18 * i : 0;
            EXPECT_EQ(e.byFlag2, have >= 1 ? 2 : 9) << cut << " " << i;
            EXPECT_EQ(e.byFlag1, have >= 2 ? 1 : 9) << cut << " " << i;
            EXPECT_EQ(e.dValue2, have >= 10 ? 0.25 + static_cast<double>(i) : 9.0) << cut << " " << i;
            EXPECT_EQ(e.dValue1, have >= 18 ? 0.5 + static_cast<double>(i) : 9.0) << cut << " " << i;
        }
        // The second block is short in every case: all of it goes back to the defaults.
        for (int i = static_cast<int>(kOld); i < kv::COutContactsVal::kEntryCount; ++i) {
            const kv::COutContactEntry& e = target->m_aEntry[i];
            ASSERT_TRUE(e.byFlag1 == 0 && e.byFlag2 == 0 && e.dValue1 == 0.0 && e.dValue2 == 0.1) << cut << " " << i;
        }
    }
    kv::cstMaxOldOutCont = savedOld;
}

TEST(StringTableFaults, MissingIdsGiveEmptyText) {
    const kv::HINSTANCE library = kv::GetKvDataInstance();
    // 1287 shares its block with 1288; 1312 and 0 lie in blocks that do not exist.
    for (const int id : {1287, 1301, 1312, 0, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(kv::LoadStringFromDLL(library, id), "") << id;
        char buffer[16];
        std::memset(buffer, 'x', sizeof buffer);
        kv::LoadStringExtFilter(library, buffer, sizeof buffer, id);
        EXPECT_STREQ(buffer, "") << id;
    }
    EXPECT_TRUE(kv::GetStringFromResource(1287).IsEmpty());
    EXPECT_TRUE(kv::GetStringFromResource(0xFFFFFFFFU).IsEmpty());
    char small[4] = "abc";
    for (const int size : {0, -1, INT_MIN}) kv::LoadStringExtFilter(library, small, size, 1288);
    EXPECT_STREQ(small, "abc");  // no room: nothing written

    // A module that has been unregistered holds no strings any more.
    const kv::StringTableEntry entries[] = {{1287, "host"}};
    const kv::HINSTANCE host = kv::RegisterStringTable(entries);
    EXPECT_EQ(kv::LoadStringFromDLL(host, 1287), "host");
    kv::UnregisterStringTable(host);
    EXPECT_EQ(kv::LoadStringFromDLL(host, 1287), "");
    EXPECT_TRUE(kv::GetStringFromResource(1287).IsEmpty());
}

}  // namespace
