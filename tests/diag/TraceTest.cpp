#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Kv_Data.h"

namespace fs = std::filesystem;
using namespace kv;

namespace {

fs::path BesideExe(const std::string& name) { return fs::path(GetExePathName().str()) / name; }

std::string Contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Each test writes its own files beside the executable and removes them afterwards, so
// that tests run in parallel processes do not meet.
class TraceTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_savedName = glob_StrFileNameTrase;
        m_prefix = std::string("kv_diag_") + ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_";
        glob_StrFileNameTrase = Name("trace.log").c_str();
    }
    void TearDown() override {
        glob_StrFileNameTrase = m_savedName;
        for (const std::string& name : m_names) fs::remove(BesideExe(name));
    }
    std::string Name(const std::string& base) {
        m_names.push_back(m_prefix + base);
        return m_names.back();
    }

    CString m_savedName;
    std::string m_prefix;
    std::vector<std::string> m_names;
};

TEST_F(TraceTest, EachFormAppendsItsExactBytesAfterTheFirstCreatesTheFile) {
    const fs::path file = BesideExe(glob_StrFileNameTrase.str());
    ASSERT_FALSE(fs::exists(file));
    struct Case {
        int (*trace)();
        const char* appended;
    };
    const Case cases[] = {
        {[] { return TRASE("start"); }, "start\r\n"},
        {[] { return TRASE("n=", 5); }, "n= 5\r\n\r\n"},
        // The nominal phase voltage 57.735...; the double nearest 57.735 itself is below the
        // halfway point and prints 57.73.
        {[] { return TRASE("U=", 100.0 / std::sqrt(3.0), 2); }, "U= 57.74\r\n\r\n"},
        {[] { return TRASE("U=", 57.735, 2); }, "U= 57.73\r\n\r\n"},
        {[] { return TRASE("v", 1.0, 0); }, "v 1\r\n\r\n"},
        {[] { return TRASE("x", reinterpret_cast<const void*>(std::uintptr_t{0x1A2B})); }, "x 1A2B\r\n\r\n"},
        {[] { return TRASE("p", reinterpret_cast<const void*>(std::uintptr_t{0xAB00000000C1})); },
         "p AB00000000C1\r\n\r\n"},
        {[] { return TRASE("a\nb"); }, "a\r\nb\r\n"},
    };
    std::string expected;
    for (const Case& c : cases) {
        EXPECT_EQ(c.trace(), 1);
        expected += c.appended;
        EXPECT_EQ(Contents(file), expected) << "after " << c.appended;
    }
}

TEST_F(TraceTest, NewTraceFileNameTakesEffectAtTheNextLine) {
    const std::string first = glob_StrFileNameTrase.str();
    const std::string second = Name("second.log");
    TRASE("one");
    glob_StrFileNameTrase = second.c_str();
    TRASE("two");
    EXPECT_EQ(Contents(BesideExe(first)), "one\r\n");
    EXPECT_EQ(Contents(BesideExe(second)), "two\r\n");
}

TEST_F(TraceTest, LogIsDeletedInTheCurrentDirectoryButWrittenBesideTheExecutable) {
    const std::string name = Name("a.log");
    const fs::path beside = BesideExe(name);
    const fs::path savedCwd = fs::current_path();
    const fs::path elsewhere = fs::temp_directory_path() / (name + ".dir");
    fs::create_directories(elsewhere);

    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "one", 0), 1);
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "one", 0), 1);
    EXPECT_EQ(Contents(beside), "one\r\none\r\n");

    fs::current_path(elsewhere);
    std::ofstream(elsewhere / name) << "old";
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "two", 1), 1);
    EXPECT_FALSE(fs::exists(elsewhere / name));
    EXPECT_EQ(Contents(beside), "one\r\none\r\ntwo\r\n");

    fs::current_path(beside.parent_path());
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "last", 1), 1);
    EXPECT_EQ(Contents(beside), "last\r\n");
    // Nothing to delete is no error.
    fs::remove(beside);
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "again", 1), 1);
    EXPECT_EQ(Contents(beside), "again\r\n");

    fs::current_path(savedCwd);
    fs::remove_all(elsewhere);
}

TEST_F(TraceTest, UnopenableFileIsSkippedAndStillGivesOne) {
    const std::string missingDir = Name("missing_dir");
    const std::string inside = missingDir + "/t.log";
    glob_StrFileNameTrase = inside.c_str();
    EXPECT_EQ(TRASE("a"), 1);
    EXPECT_EQ(TRASE("a", 1), 1);
    EXPECT_EQ(TRASE("a", 1.0, 1), 1);
    EXPECT_EQ(TRASE("a", static_cast<const void*>(nullptr)), 1);
    EXPECT_EQ(WriteStringToLogFile(inside.c_str(), "a", 1), 1);
    EXPECT_FALSE(fs::exists(BesideExe(missingDir)));
}

TEST_F(TraceTest, WriteErrorReachesTheCaller) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    // Enough steps up from any executable directory to reach the root.
    std::string up;
    for (int i = 0; i < 64; ++i) up += "../";
    glob_StrFileNameTrase = (up + "dev/full").c_str();
    EXPECT_THROW(TRASE("lost"), CFileException);
}

// Rounds start without the file, so that the threads also race to create it.
TEST_F(TraceTest, ConcurrentTracersNeitherLoseNorSplitLines) {
    constexpr int kRounds = 100;
    constexpr int kThreads = 8;
    constexpr int kLines = 5;
    const fs::path file = BesideExe(glob_StrFileNameTrase.str());
    auto lineOf = [](int thread, int line) {
        return "thread " + std::to_string(thread) + " line " + std::to_string(line) + " " +
               std::string(100, static_cast<char>('a' + thread));
    };
    std::multiset<std::string> expected;
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kLines; ++i) expected.insert(lineOf(t, i));

    for (int round = 0; round < kRounds; ++round) {
        fs::remove(file);
        std::latch ready(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([t, &lineOf, &ready] {
                ready.arrive_and_wait();
                for (int i = 0; i < kLines; ++i) TRASE(lineOf(t, i).c_str());
            });
        for (std::thread& thread : threads) thread.join();

        std::multiset<std::string> found;
        const std::string text = Contents(file);
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = text.find("\r\n", start);
            ASSERT_NE(end, std::string::npos) << "unterminated tail";
            found.insert(text.substr(start, end - start));
            start = end + 2;
        }
        ASSERT_EQ(found, expected) << "round " << round;
    }
}

TEST(DebugAfxMessageBoxTest, ShowsTheTextWithOkOnly) {
    std::string shown;
    UINT type = 0xFFFF;
    UINT help = 0xFFFF;
    MessageBoxHandler previous = SetMessageBoxHandler([&](const char* text, UINT t, UINT h) {
        shown = text;
        type = t;
        help = h;
        return IDOK;
    });
    DebugAfxMessageBox("check me");
    SetMessageBoxHandler(previous);
    EXPECT_EQ(shown, "check me");
    EXPECT_EQ(type, MB_OK);
    EXPECT_EQ(help, 0u);
}

}  // namespace
