#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "Kv_Data.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using kv::HANDLE;
using kv::HWND;
using kv::MSG;

constexpr kv::UINT kRepost = kv::WM_USER + 100;  // the procedure answers it with kRepost + 1

// What the procedure saw, wParam, lParam and the thread, in call order.
using Call = std::tuple<kv::WPARAM, kv::LPARAM, std::thread::id>;
std::mutex g_callsMutex;
std::vector<Call> g_calls;

kv::LRESULT RecordingProc(HWND hwnd, kv::UINT message, kv::WPARAM wParam, kv::LPARAM lParam) {
    {
        std::lock_guard lock(g_callsMutex);
        g_calls.emplace_back(wParam, lParam, std::this_thread::get_id());
    }
    if (message == kRepost) kv::PostMessageA(hwnd, kRepost + 1, wParam, lParam);
    return static_cast<kv::LRESULT>(wParam) + 1;
}

std::vector<Call> TakeCalls() {
    std::lock_guard lock(g_callsMutex);
    return std::exchange(g_calls, {});
}

// Everything queued for the calling thread, removed, in queue order.
std::vector<MSG> Drain() {
    std::vector<MSG> messages;
    MSG msg{};
    while (kv::PeekMessageA(&msg, nullptr, 0, 0, kv::PM_REMOVE)) messages.push_back(msg);
    return messages;
}

// The result of `wait` while another thread runs `action` 20 ms in. Without an action
// the wait's own 100 ms must run out, by both clocks, and not before.
kv::DWORD Timed(const std::function<kv::DWORD()>& wait, const std::function<void()>& action = {}) {
    std::thread other([&] {
        std::this_thread::sleep_for(20ms);
        if (action) action();
    });
    const auto start = Clock::now();
    const kv::DWORD startTick = kv::GetTickCount();
    const kv::DWORD result = wait();
    const auto elapsed = Clock::now() - start;
    other.join();
    if (action) {
        EXPECT_LT(elapsed, 10s);
    } else {
        EXPECT_EQ(result, kv::WAIT_TIMEOUT);
        EXPECT_GE(elapsed, 100ms);
        EXPECT_GE(static_cast<kv::DWORD>(kv::GetTickCount() - startTick), 100U);
    }
    return result;
}

kv::DWORD MsgWait(kv::DWORD count, const HANDLE* handles, kv::DWORD milliseconds) {
    return kv::MsgWaitForMultipleObjectsEx(count, handles, milliseconds, kv::QS_ALLINPUT, 0);
}

TEST(WindowTest, PostFromAnotherThreadRunsOnTheOwnerThreadOnly) {
    TakeCalls();
    const HWND window = kv::CreateHostWindow(RecordingProc);
    ASSERT_TRUE(kv::IsWindow(window));
    kv::BOOL posted = kv::FALSE, posterSaw = kv::TRUE;
    std::thread([&] {
        posted = kv::PostMessageA(window, kv::WM_USER + 1, 42, -7);
        MSG msg{};
        posterSaw = kv::PeekMessageA(&msg, nullptr, 0, 0, kv::PM_REMOVE);
    }).join();
    EXPECT_TRUE(posted && !posterSaw);
    EXPECT_TRUE(TakeCalls().empty());  // nothing runs before the owner dispatches

    const std::vector<MSG> received = Drain();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_TRUE(received[0].hwnd == window && received[0].message == kv::WM_USER + 1);
    EXPECT_EQ(kv::DispatchMessageA(&received[0]), 43);
    EXPECT_EQ(TakeCalls(), (std::vector<Call>{{42, -7, std::this_thread::get_id()}}));

    // A procedure may post while it is being dispatched.
    ASSERT_TRUE(kv::PostMessageA(window, kRepost, 9, 0));
    for (const MSG& m : Drain()) kv::DispatchMessageA(&m);
    const std::vector<MSG> reposted = Drain();
    EXPECT_TRUE(reposted.size() == 1U && reposted[0].message == kRepost + 1);
    kv::DestroyHostWindow(window);
}

TEST(WindowTest, PeekFiltersByWindowAndRangeAndKeepsTheOrderAcrossWindows) {
    const HWND w1 = kv::CreateHostWindow(RecordingProc), w2 = kv::CreateHostWindow(RecordingProc);
    kv::WPARAM n = 0;  // wParam 1 to 5
    for (const auto& [hwnd, message] : {std::pair{w1, kv::WM_USER + 1}, {w2, kv::WM_USER + 2}, {w1, kv::WM_USER + 3},
                                        {w1, kv::WM_COMMAND}, {w1, kv::WM_USER + 1}})
        kv::PostMessageA(hwnd, message, ++n, 0);
    // Window, range and removal, and the wParam of the first match (0 for none); 0 and 0
    // alone mean every message.
    const std::tuple<HWND, kv::UINT, kv::UINT, kv::UINT, kv::WPARAM> peeks[] = {
        {nullptr, 0, kv::WM_COMMAND, kv::PM_NOREMOVE, 4},  {w2, 0, 0, kv::PM_NOREMOVE, 2},
        {w2, 0, 0, kv::PM_NOREMOVE, 2},                   {nullptr, kv::WM_USER + 3, kv::WM_USER + 3, kv::PM_REMOVE, 3},
        {nullptr, kv::WM_USER + 5, kv::WM_USER + 9, kv::PM_REMOVE, 0}, {w2, kv::WM_USER + 1, kv::WM_USER + 1, kv::PM_REMOVE, 0},
        {nullptr, kv::WM_COMMAND, kv::WM_COMMAND, kv::PM_REMOVE, 4}, {w1, kv::WM_USER, kv::WM_USER + 10, kv::PM_REMOVE, 1},
    };
    for (const auto& [hwnd, first, last, remove, want] : peeks) {
        MSG msg{};
        EXPECT_EQ(kv::PeekMessageA(&msg, hwnd, first, last, remove) ? msg.wParam : 0, want) << first << " " << last;
    }
    std::vector<kv::WPARAM> rest;
    for (const MSG& m : Drain()) rest.push_back(m.wParam);
    EXPECT_EQ(rest, (std::vector<kv::WPARAM>{2, 5}));
    kv::DestroyHostWindow(w1);
    kv::DestroyHostWindow(w2);
}

TEST(WindowTest, DestroyedWindowIsDeadAndItsMessagesAreDiscarded) {
    TakeCalls();
    const HWND window = kv::CreateHostWindow(RecordingProc), other = kv::CreateHostWindow(RecordingProc);
    kv::PostMessageA(window, kv::WM_USER, 1, 0);
    kv::PostMessageA(other, kv::WM_USER, 2, 0);
    MSG stale{};
    ASSERT_TRUE(kv::PeekMessageA(&stale, window, 0, 0, kv::PM_NOREMOVE));
    EXPECT_TRUE(kv::DestroyHostWindow(window));
    EXPECT_FALSE(kv::IsWindow(window) || kv::PostMessageA(window, kv::WM_USER, 3, 0));
    const std::vector<MSG> left = Drain();
    EXPECT_TRUE(left.size() == 1U && left[0].hwnd == other);
    EXPECT_EQ(kv::DispatchMessageA(&stale), 0);
    EXPECT_TRUE(TakeCalls().empty());
    EXPECT_FALSE(kv::PostMessageA(nullptr, kv::WM_USER, 0, 0));
    EXPECT_EQ(kv::CWnd::FromHandle(nullptr), nullptr);
    EXPECT_EQ(kv::CWnd::FromHandle(other)->m_hWnd, other);
    kv::DestroyHostWindow(other);

    // The windows of a thread end with the thread.
    HWND threadWindow = nullptr;
    std::thread([&] { threadWindow = kv::CreateHostWindow(RecordingProc); }).join();
    EXPECT_FALSE(kv::PostMessageA(threadWindow, kv::WM_USER, 0, 0));
}

TEST(MessageWaitTest, PostOrEventFromAnotherThreadEndsTheWaitOtherwiseItTimesOut) {
    const HWND window = kv::CreateHostWindow(RecordingProc);
    const HANDLE event = kv::CreateEventA(nullptr, kv::FALSE, kv::FALSE, nullptr);
    const auto post = [&] { kv::PostMessageA(window, kv::WM_USER, 5, 0); };
    const auto set = [&] { kv::SetEvent(event); };
    Drain();
    EXPECT_EQ(Timed([&] { return MsgWait(0, &event, 20000); }, post), kv::WAIT_OBJECT_0);
    EXPECT_EQ(Drain().size(), 1U);
    EXPECT_EQ(Timed([&] { return MsgWait(1, &event, 20000); }, post), kv::WAIT_OBJECT_0 + 1);
    EXPECT_EQ(Drain().size(), 1U);
    EXPECT_EQ(Timed([&] { return MsgWait(1, &event, 20000); }, set), kv::WAIT_OBJECT_0);
    EXPECT_EQ(Timed([&] { return kv::WaitForMultipleObjects(1, &event, kv::FALSE, 20000); }, set), kv::WAIT_OBJECT_0);
    kv::CloseHandle(event);
    kv::DestroyHostWindow(window);

    // Without input the wait keeps to its time-out.
    const HANDLE never = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    Timed([&] { return MsgWait(0, nullptr, 100); });
    Timed([&] { return MsgWait(1, &never, 100); });
    Timed([&] { return kv::WaitForSingleObject(never, 100); });

    // A message for another thread's window wakes that thread, not this one.
    HWND foreign = nullptr;
    kv::DWORD foreignResult = 0;
    std::size_t foreignReceived = 0;
    const HANDLE ready = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    std::thread owner([&] {
        foreign = kv::CreateHostWindow(RecordingProc);
        kv::SetEvent(ready);
        foreignResult = MsgWait(1, &never, 20000);
        foreignReceived = Drain().size();
    });
    ASSERT_EQ(kv::WaitForSingleObject(ready, 20000), kv::WAIT_OBJECT_0);
    EXPECT_TRUE(kv::PostMessageA(foreign, kv::WM_USER, 77, 0));
    Timed([&] { return MsgWait(0, nullptr, 100); });
    owner.join();
    EXPECT_TRUE(foreignResult == kv::WAIT_OBJECT_0 + 1 && foreignReceived == 1U);
    kv::CloseHandle(ready);
    kv::CloseHandle(never);
}

TEST(EventTest, AutoResetAndManualResetEvents) {
    const HANDLE autoReset = kv::CreateEventA(nullptr, kv::FALSE, kv::TRUE, nullptr);
    const HANDLE manual = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    const HANDLE both[] = {autoReset, manual};
    const auto wait = [](HANDLE h) { return kv::WaitForSingleObject(h, 0); };
    const auto waitBoth = [&](kv::BOOL all) { return kv::WaitForMultipleObjects(2, both, all, 0); };
    EXPECT_EQ(wait(autoReset), kv::WAIT_OBJECT_0);
    EXPECT_EQ(wait(autoReset), kv::WAIT_TIMEOUT);  // the wait consumed it
    kv::SetEvent(manual);
    EXPECT_EQ(wait(manual), kv::WAIT_OBJECT_0);
    EXPECT_EQ(waitBoth(kv::FALSE), kv::WAIT_OBJECT_0 + 1);
    EXPECT_EQ(waitBoth(kv::TRUE), kv::WAIT_TIMEOUT);
    kv::SetEvent(autoReset);
    EXPECT_EQ(waitBoth(kv::TRUE), kv::WAIT_OBJECT_0);
    EXPECT_EQ(wait(autoReset), kv::WAIT_TIMEOUT);
    kv::ResetEvent(manual);
    EXPECT_EQ(wait(manual), kv::WAIT_TIMEOUT);
    EXPECT_TRUE(kv::CloseHandle(manual));
    EXPECT_FALSE(kv::SetEvent(manual));
    EXPECT_EQ(wait(manual), kv::WAIT_FAILED);
    kv::CloseHandle(autoReset);
}

}  // namespace
