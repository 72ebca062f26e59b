#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <limits>
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
        m_prefix = std::string("kv_diag_") + ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_";
        glob_StrFileNameTrase = Name("trace.log").c_str();
    }
    void TearDown() override {
        glob_StrFileNameTrase = m_savedName;
        for (const std::string& name : m_names) fs::remove_all(BesideExe(name));
    }
    std::string Name(const std::string& base) { return m_names.emplace_back(m_prefix + base); }

    CString m_savedName = glob_StrFileNameTrase;
    std::string m_prefix;
    std::vector<std::string> m_names;
};

TEST_F(TraceTest, EachFormAppendsItsExactBytesAfterTheFirstCreatesTheFile) {
    const fs::path file = BesideExe(glob_StrFileNameTrase.str());
    ASSERT_FALSE(fs::exists(file));
    const std::pair<int (*)(), const char*> cases[] = {
        {[] { return TRASE("start"); }, "start\r\n"},
        {[] { return TRASE("n=", 5); }, "n= 5\r\n\r\n"},
        // The nominal phase voltage 57.735...; the double nearest 57.735 itself is below the
        // halfway point and prints 57.73.
        {[] { return TRASE("U=", 100.0 / std::sqrt(3.0), 2); }, "U= 57.74\r\n\r\n"},
        {[] { return TRASE("U=", 57.735, 2); }, "U= 57.73\r\n\r\n"},
        {[] { return TRASE("v", 1.0, 0); }, "v 1\r\n\r\n"},
        {[] { return TRASE("x", 1.5, INT_MIN); }, "x 1.500000\r\n\r\n"},  // a negative precision means six decimals
        {[] { return TRASE("x", reinterpret_cast<const void*>(std::uintptr_t{0x1A2B})); }, "x 1A2B\r\n\r\n"},
        {[] { return TRASE("p", reinterpret_cast<const void*>(std::uintptr_t{0xAB00000000C1})); },
         "p AB00000000C1\r\n\r\n"},
        {[] { return TRASE("a\nb"); }, "a\r\nb\r\n"},
    };
    std::string expected;
    for (const auto& [trace, appended] : cases) {
        EXPECT_EQ(trace(), 1);
        expected += appended;
        EXPECT_EQ(Contents(file), expected) << "after " << appended;
    }

    // A new name takes effect at the next line.
    const std::string second = Name("second.log");
    glob_StrFileNameTrase = second.c_str();
    TRASE("two");
    EXPECT_EQ(Contents(file), expected);
    EXPECT_EQ(Contents(BesideExe(second)), "two\r\n");
}

TEST_F(TraceTest, LogIsDeletedInTheCurrentDirectoryButWrittenBesideTheExecutable) {
    const std::string name = Name("a.log");
    const fs::path beside = BesideExe(name);
    const fs::path savedCwd = fs::current_path();
    const fs::path elsewhere = fs::temp_directory_path() / (name + ".dir");
    fs::create_directories(elsewhere);

    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "one", 0), 1);
    fs::current_path(elsewhere);
    std::ofstream(elsewhere / name) << "old";
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "two", 1), 1);
    EXPECT_FALSE(fs::exists(elsewhere / name));
    EXPECT_EQ(Contents(beside), "one\r\ntwo\r\n");

    fs::current_path(beside.parent_path());
    EXPECT_EQ(WriteStringToLogFile(name.c_str(), "last", 1), 1);
    EXPECT_EQ(Contents(beside), "last\r\n");
    fs::current_path(savedCwd);
    fs::remove_all(elsewhere);
}

// A place that cannot be opened (below a missing folder, a folder, below a plain file)
// is skipped with result 1 and left as it was; a write error reaches the caller.
TEST_F(TraceTest, UnopenablePlacesAreSkippedButAWriteErrorReachesTheCaller) {
    const std::string missing = Name("missing"), dir = Name("dir"), file = Name("file");
    fs::create_directory(BesideExe(dir));
    std::ofstream(BesideExe(file)) << "kept";
    for (const std::string& target : {missing + "/t.log", dir, file + "/t.log"}) {
        glob_StrFileNameTrase = target.c_str();
        EXPECT_EQ(TRASE("a") + TRASE("a", 1) + TRASE("a", 1.0, 1) + TRASE("a", &target), 4) << target;
        EXPECT_EQ(WriteStringToLogFile(target.c_str(), "a", 0) + WriteStringToLogFile(target.c_str(), "a", 1), 2);
    }
    EXPECT_FALSE(fs::exists(BesideExe(missing)));
    EXPECT_TRUE(fs::is_directory(BesideExe(dir)) && fs::is_empty(BesideExe(dir)));
    EXPECT_EQ(Contents(BesideExe(file)), "kept");

    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    std::string up;  // enough steps up from any executable directory to reach the root
    for (int i = 0; i < 64; ++i) up += "../";
    glob_StrFileNameTrase = (up + "dev/full").c_str();
    EXPECT_THROW(TRASE("lost"), CFileException);
}

// Rounds start without the file, so that the threads also race to create it.
TEST_F(TraceTest, ConcurrentTracersNeitherLoseNorSplitLines) {
    constexpr int kThreads = 8, kLines = 5;
    const fs::path file = BesideExe(glob_StrFileNameTrase.str());
    const auto lineOf = [](int thread, int line) {
        return "thread " + std::to_string(thread) + " line " + std::to_string(line) + " " +
               std::string(100, static_cast<char>('a' + thread));
    };
    std::multiset<std::string> expected;
    for (int k = 0; k < kThreads * kLines; ++k) expected.insert(lineOf(k / kLines, k % kLines));
    for (int round = 0; round < 100; ++round) {
        fs::remove(file);
        std::latch ready(kThreads);
        std::vector<std::jthread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([t, &lineOf, &ready] {
                ready.arrive_and_wait();
                for (int i = 0; i < kLines; ++i) TRASE(lineOf(t, i).c_str());
            });
        threads.clear();  // joins them
        const std::string text = Contents(file);
        ASSERT_TRUE(text.ends_with("\r\n")) << "unterminated tail in round " << round;
        std::multiset<std::string> found;
        for (std::size_t start = 0, end = 0; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
            found.insert(text.substr(start, end - start));
        ASSERT_EQ(found, expected) << "round " << round;
    }
}

std::atomic<int> g_dispatched{0};

LRESULT CountingProc(HWND, UINT, WPARAM, LPARAM) { return ++g_dispatched, 0; }

// The pumping wait under load is in the concurrency suite.
TEST(SleepEx1Test, ZeroTimeDispatchesWhatIsQueuedAPlainSleepNothing) {
    const HWND window = CreateHostWindow(&CountingProc);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(PostMessageA(window, WM_USER, 0, 0));
    EXPECT_EQ(SleepEx1(0, 1), 1);
    EXPECT_EQ(g_dispatched, 3);
    EXPECT_EQ(SleepEx1(0, 1), 1);
    EXPECT_EQ(g_dispatched, 3);

    PostMessageA(window, WM_USER, 0, 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(SleepEx1(30, 0), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    EXPECT_EQ(g_dispatched, 3);
    DestroyHostWindow(window);
}

TEST(GetSeriesColorTest, TableRowsAtTheirBoundaries) {
    const std::pair<int, DWORD> cases[] = {{INT_MIN, 0}, {2, 0}, {3, 0x228B22}, {4, 0xFFBF00}, {5, 0x00D7FF},
        {6, 0xE22B8A}, {7, 0x2222B2}, {8, 0x8B0000}, {9, 0x0000FF}, {122, 0x0000FF}, {123, 0x228B22},
        {124, 0x0000FF}, {131, 0x0000FF}, {132, 0}, {INT_MAX, 0}};
    for (const auto& [series, colour] : cases) EXPECT_EQ(GetSeriesColor(series), colour) << series;
}

// Images travel unchanged; the double forms round to the nearest float first.
TEST(MessageParameterTest, FloatBitsTravelUnchanged) {
    const std::pair<double, UINT> cases[] = {{1.0, 0x3F800000U}, {0.1, 0x3DCCCCCDU},
        {1.0 + 0x1p-24 + 0x1p-40, 0x3F800001U}, {1e300, 0x7F800000U}, {-1e308, 0xFF800000U}, {-0.0, 0x80000000U},
        {std::numeric_limits<double>::denorm_min(), 0}, {std::numeric_limits<double>::quiet_NaN(), 0x7FC00000U}};
    for (const auto& [x, bits] : cases) {
        EXPECT_EQ(WPFromDouble(x), bits) << x;
        EXPECT_EQ(static_cast<UINT>(LPFromFloat(x)), bits) << x;
        EXPECT_EQ(static_cast<UINT>(LPFromFloat(static_cast<float>(x))), bits) << x;
        EXPECT_EQ(std::bit_cast<UINT>(FloatFromLP(static_cast<LONG>(bits))), bits) << x;
    }
}

}  // namespace
