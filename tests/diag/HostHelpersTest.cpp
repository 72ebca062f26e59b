#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <thread>

#include "Kv_Data.h"

using namespace kv;

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<int> g_dispatched{0};
std::atomic<bool> g_onOtherThread{false};
std::thread::id g_waitingThread;

LRESULT CountingProc(HWND, UINT, WPARAM, LPARAM) {
    if (std::this_thread::get_id() != g_waitingThread) g_onOtherThread = true;
    ++g_dispatched;
    return 0;
}

class SleepEx1Test : public ::testing::Test {
protected:
    void SetUp() override {
        g_dispatched = 0;
        g_onOtherThread = false;
        g_waitingThread = std::this_thread::get_id();
        m_window = CreateHostWindow(&CountingProc);
    }
    void TearDown() override { DestroyHostWindow(m_window); }

    HWND m_window = nullptr;
};

TEST_F(SleepEx1Test, ZeroTimeDispatchesWhatIsQueued) {
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(PostMessageA(m_window, WM_USER, 0, 0));
    EXPECT_EQ(SleepEx1(0, 1), 1);
    EXPECT_EQ(g_dispatched, 3);
    EXPECT_EQ(SleepEx1(0, 1), 1);
    EXPECT_EQ(SleepEx1(0, 0), 1);
    EXPECT_EQ(g_dispatched, 3);
}

TEST_F(SleepEx1Test, PlainSleepLastsItsTimeAndDispatchesNothing) {
    PostMessageA(m_window, WM_USER, 0, 0);
    const auto start = Clock::now();
    EXPECT_EQ(SleepEx1(30, 0), 1);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(30));
    EXPECT_EQ(g_dispatched, 0);
}

TEST_F(SleepEx1Test, PumpingWaitDispatchesMessagesPostedMeanwhileAndLastsItsTime) {
    constexpr DWORD kWait = 120;
    std::atomic<bool> stop{false};
    std::atomic<int> posted{0};
    std::thread poster([&] {
        while (!stop) {
            if (PostMessageA(m_window, WM_USER, 0, 0)) ++posted;
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
    });
    const auto start = Clock::now();
    const int result = SleepEx1(kWait, 1);
    const auto elapsed = Clock::now() - start;
    stop = true;
    poster.join();

    EXPECT_EQ(result, 1);
    // The wait counts whole ticks of the millisecond counter, so a finer clock may see
    // it end up to one tick short.
    EXPECT_GE(elapsed, std::chrono::milliseconds(kWait - 1));
    EXPECT_GT(g_dispatched, 1);
    EXPECT_FALSE(g_onOtherThread);
    SleepEx1(0, 1);
    EXPECT_EQ(g_dispatched, posted);
}

TEST(GetSeriesColorTest, TableRowsAtTheirBoundaries) {
    const struct {
        int series;
        DWORD colour;
    } cases[] = {
        {INT_MIN, 0},       {-1, 0},         {0, 0},          {2, 0},          {3, 0x228B22},
        {4, 0xFFBF00},      {5, 0x00D7FF},   {6, 0xE22B8A},   {7, 0x2222B2},   {8, 0x8B0000},
        {9, 0x0000FF},      {122, 0x0000FF}, {123, 0x228B22}, {124, 0x0000FF}, {131, 0x0000FF},
        {132, 0},           {INT_MAX, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(GetSeriesColor(c.series), c.colour) << c.series;
}

TEST(MessageParameterTest, FloatBitsTravelUnchanged) {
    EXPECT_EQ(LPFromFloat(1.0f), 0x3F800000);
    EXPECT_EQ(FloatFromLP(LPFromFloat(1.5f)), 1.5f);
    EXPECT_EQ(FloatFromLP(0x3F800000), 1.0f);
    // The double forms round to the nearest float first.
    EXPECT_EQ(WPFromDouble(0.1), 0x3DCCCCCDU);
    EXPECT_EQ(LPFromFloat(0.1), 0x3DCCCCCD);
    EXPECT_EQ(LPFromFloat(1.0 + 0x1p-24 + 0x1p-40), 0x3F800001);
    EXPECT_EQ(WPFromDouble(1e300), 0x7F800000U);
}

}  // namespace
