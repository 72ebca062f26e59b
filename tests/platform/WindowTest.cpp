#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>
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

// What the procedure saw and on which thread.
struct Call {
    kv::WPARAM wParam;
    kv::LPARAM lParam;
    std::thread::id thread;
};
std::mutex g_callsMutex;
std::vector<Call> g_calls;

kv::LRESULT RecordingProc(HWND hwnd, kv::UINT message, kv::WPARAM wParam, kv::LPARAM lParam) {
    std::unique_lock lock(g_callsMutex);
    g_calls.push_back({wParam, lParam, std::this_thread::get_id()});
    lock.unlock();
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

// The result of `wait` while another thread runs `action` a little later.
template <class Action, class Wait>
kv::DWORD WaitWhile(Action action, Wait wait) {
    std::thread other([&] {
        std::this_thread::sleep_for(20ms);
        action();
    });
    const auto start = Clock::now();
    const kv::DWORD result = wait();
    EXPECT_LT(Clock::now() - start, 10s);
    other.join();
    return result;
}

// `wait` has a time-out of 100 ms: it must report it, and not before.
template <class Wait>
void ExpectTimeOut(Wait wait) {
    const auto start = Clock::now();
    const kv::DWORD startTick = kv::GetTickCount();
    EXPECT_EQ(wait(), 258U);
    EXPECT_GE(Clock::now() - start, 100ms);
    EXPECT_GE(static_cast<kv::DWORD>(kv::GetTickCount() - startTick), 100U);
}

TEST(WindowTest, PostFromAnotherThreadRunsOnTheOwnerThreadOnly) {
    TakeCalls();
    const HWND window = kv::CreateHostWindow(RecordingProc);
    ASSERT_TRUE(kv::IsWindow(window));
    kv::BOOL posted = kv::FALSE;
    kv::BOOL posterSaw = kv::TRUE;
    std::thread poster([&] {
        posted = kv::PostMessageA(window, kv::WM_USER + 1, 42, -7);
        MSG msg{};
        posterSaw = kv::PeekMessageA(&msg, nullptr, 0, 0, kv::PM_REMOVE);
    });
    poster.join();
    EXPECT_TRUE(posted);
    EXPECT_FALSE(posterSaw);
    EXPECT_TRUE(TakeCalls().empty());  // nothing runs before the owner dispatches

    const std::vector<MSG> received = Drain();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].hwnd, window);
    EXPECT_EQ(received[0].message, kv::WM_USER + 1);
    EXPECT_EQ(kv::DispatchMessageA(&received[0]), 43);
    const std::vector<Call> calls = TakeCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].wParam, 42U);
    EXPECT_EQ(calls[0].lParam, -7);
    EXPECT_EQ(calls[0].thread, std::this_thread::get_id());

    // A procedure may post while it is being dispatched.
    ASSERT_TRUE(kv::PostMessageA(window, kRepost, 9, 0));
    for (const MSG& m : Drain()) kv::DispatchMessageA(&m);
    const std::vector<MSG> reposted = Drain();
    ASSERT_EQ(reposted.size(), 1U);
    EXPECT_EQ(reposted[0].message, kRepost + 1);
    kv::DestroyHostWindow(window);
}

TEST(WindowTest, PeekFiltersByWindowAndRangeAndKeepsOrder) {
    const HWND w1 = kv::CreateHostWindow(RecordingProc);
    const HWND w2 = kv::CreateHostWindow(RecordingProc);
    kv::PostMessageA(w1, kv::WM_USER + 1, 1, 0);
    kv::PostMessageA(w2, kv::WM_USER + 2, 2, 0);
    kv::PostMessageA(w1, kv::WM_USER + 3, 3, 0);
    kv::PostMessageA(w1, kv::WM_COMMAND, 4, 0);
    kv::PostMessageA(w1, kv::WM_USER + 1, 5, 0);
    // The wParam of the first match, 0 for none.
    const auto peek = [](HWND hwnd, kv::UINT first, kv::UINT last, kv::UINT remove) {
        MSG msg{};
        return kv::PeekMessageA(&msg, hwnd, first, last, remove) ? msg.wParam : 0;
    };
    EXPECT_EQ(peek(w2, 0, 0, kv::PM_NOREMOVE), 2U);
    EXPECT_EQ(peek(w2, 0, 0, kv::PM_NOREMOVE), 2U);  // still there
    EXPECT_EQ(peek(nullptr, kv::WM_USER + 3, kv::WM_USER + 3, kv::PM_REMOVE), 3U);
    EXPECT_EQ(peek(nullptr, kv::WM_USER + 5, kv::WM_USER + 9, kv::PM_REMOVE), 0U);
    EXPECT_EQ(peek(w2, kv::WM_USER + 1, kv::WM_USER + 1, kv::PM_REMOVE), 0U);
    EXPECT_EQ(peek(nullptr, kv::WM_COMMAND, kv::WM_COMMAND, kv::PM_REMOVE), 4U);
    EXPECT_EQ(peek(w1, kv::WM_USER, kv::WM_USER + 10, kv::PM_REMOVE), 1U);
    std::vector<kv::WPARAM> rest;
    for (const MSG& m : Drain()) rest.push_back(m.wParam);
    EXPECT_EQ(rest, (std::vector<kv::WPARAM>{2, 5}));

    std::thread poster([&] {
        for (kv::WPARAM i = 0; i < 500; ++i) kv::PostMessageA(i % 2 == 0 ? w1 : w2, kv::WM_USER, i, 0);
    });
    poster.join();
    const std::vector<MSG> received = Drain();
    ASSERT_EQ(received.size(), 500U);
    for (std::size_t i = 0; i < received.size(); ++i) EXPECT_EQ(received[i].wParam, i);
    kv::DestroyHostWindow(w1);
    kv::DestroyHostWindow(w2);
}

TEST(WindowTest, DestroyedWindowIsDeadAndItsMessagesAreDiscarded) {
    TakeCalls();
    const HWND window = kv::CreateHostWindow(RecordingProc);
    const HWND other = kv::CreateHostWindow(RecordingProc);
    kv::PostMessageA(window, kv::WM_USER, 1, 0);
    kv::PostMessageA(other, kv::WM_USER, 2, 0);
    MSG stale{};
    ASSERT_TRUE(kv::PeekMessageA(&stale, window, 0, 0, kv::PM_NOREMOVE));
    EXPECT_TRUE(kv::DestroyHostWindow(window));
    EXPECT_FALSE(kv::IsWindow(window));
    EXPECT_FALSE(kv::PostMessageA(window, kv::WM_USER, 3, 0));
    const std::vector<MSG> left = Drain();
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].hwnd, other);
    EXPECT_EQ(kv::DispatchMessageA(&stale), 0);
    EXPECT_TRUE(TakeCalls().empty());
    EXPECT_FALSE(kv::PostMessageA(nullptr, kv::WM_USER, 0, 0));
    EXPECT_EQ(kv::CWnd::FromHandle(nullptr), nullptr);
    EXPECT_EQ(kv::CWnd::FromHandle(other)->m_hWnd, other);
    kv::DestroyHostWindow(other);

    // The windows of a thread end with the thread.
    HWND threadWindow = nullptr;
    std::thread owner([&] { threadWindow = kv::CreateHostWindow(RecordingProc); });
    owner.join();
    EXPECT_FALSE(kv::PostMessageA(threadWindow, kv::WM_USER, 0, 0));
}

TEST(MessageWaitTest, PostOrEventFromAnotherThreadEndsTheWait) {
    const HWND window = kv::CreateHostWindow(RecordingProc);
    const HANDLE event = kv::CreateEventA(nullptr, kv::FALSE, kv::FALSE, nullptr);
    const auto post = [&] { kv::PostMessageA(window, kv::WM_USER, 5, 0); };
    const auto set = [&] { kv::SetEvent(event); };
    const auto pump = [&](kv::DWORD count) {
        return [&, count] { return kv::MsgWaitForMultipleObjectsEx(count, &event, 20000, kv::QS_ALLINPUT, 0); };
    };
    Drain();
    EXPECT_EQ(WaitWhile(post, pump(0)), kv::WAIT_OBJECT_0);
    EXPECT_EQ(Drain().size(), 1U);
    EXPECT_EQ(WaitWhile(post, pump(1)), kv::WAIT_OBJECT_0 + 1);
    EXPECT_EQ(Drain().size(), 1U);
    EXPECT_EQ(WaitWhile(set, pump(1)), kv::WAIT_OBJECT_0);
    EXPECT_EQ(WaitWhile(set, [&] { return kv::WaitForMultipleObjects(1, &event, kv::FALSE, 20000); }),
              kv::WAIT_OBJECT_0);
    kv::CloseHandle(event);
    kv::DestroyHostWindow(window);
}

TEST(MessageWaitTest, WithoutInputTheWaitKeepsToItsTimeOut) {
    const HANDLE never = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    Drain();
    ExpectTimeOut([&] { return kv::MsgWaitForMultipleObjectsEx(0, nullptr, 100, kv::QS_ALLINPUT, 0); });
    ExpectTimeOut([&] { return kv::MsgWaitForMultipleObjectsEx(1, &never, 100, kv::QS_ALLINPUT, 0); });
    ExpectTimeOut([&] { return kv::WaitForSingleObject(never, 100); });

    // A message for another thread's window wakes that thread, not this one.
    HWND foreign = nullptr;
    kv::DWORD foreignResult = 0;
    std::size_t foreignReceived = 0;
    const HANDLE ready = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    std::thread owner([&] {
        foreign = kv::CreateHostWindow(RecordingProc);
        kv::SetEvent(ready);
        foreignResult = kv::MsgWaitForMultipleObjectsEx(1, &never, 20000, kv::QS_ALLINPUT, 0);
        foreignReceived = Drain().size();
    });
    ASSERT_EQ(kv::WaitForSingleObject(ready, 20000), kv::WAIT_OBJECT_0);
    EXPECT_TRUE(kv::PostMessageA(foreign, kv::WM_USER, 77, 0));
    ExpectTimeOut([&] { return kv::MsgWaitForMultipleObjectsEx(0, nullptr, 100, kv::QS_ALLINPUT, 0); });
    owner.join();
    EXPECT_EQ(foreignResult, kv::WAIT_OBJECT_0 + 1);
    EXPECT_EQ(foreignReceived, 1U);
    kv::CloseHandle(ready);
    kv::CloseHandle(never);
}

TEST(EventTest, AutoResetAndManualResetEvents) {
    const HANDLE autoReset = kv::CreateEventA(nullptr, kv::FALSE, kv::TRUE, nullptr);
    const HANDLE manual = kv::CreateEventA(nullptr, kv::TRUE, kv::FALSE, nullptr);
    EXPECT_EQ(kv::WaitForSingleObject(autoReset, 0), kv::WAIT_OBJECT_0);
    EXPECT_EQ(kv::WaitForSingleObject(autoReset, 0), kv::WAIT_TIMEOUT);  // the wait consumed it
    kv::SetEvent(manual);
    EXPECT_EQ(kv::WaitForSingleObject(manual, 0), kv::WAIT_OBJECT_0);
    const HANDLE both[] = {autoReset, manual};
    EXPECT_EQ(kv::WaitForMultipleObjects(2, both, kv::FALSE, 0), kv::WAIT_OBJECT_0 + 1);
    EXPECT_EQ(kv::WaitForMultipleObjects(2, both, kv::TRUE, 0), kv::WAIT_TIMEOUT);
    kv::SetEvent(autoReset);
    EXPECT_EQ(kv::WaitForMultipleObjects(2, both, kv::TRUE, 0), kv::WAIT_OBJECT_0);
    EXPECT_EQ(kv::WaitForSingleObject(autoReset, 0), kv::WAIT_TIMEOUT);
    kv::ResetEvent(manual);
    EXPECT_EQ(kv::WaitForSingleObject(manual, 0), kv::WAIT_TIMEOUT);
    EXPECT_TRUE(kv::CloseHandle(manual));
    EXPECT_FALSE(kv::SetEvent(manual));
    EXPECT_EQ(kv::WaitForSingleObject(manual, 0), kv::WAIT_FAILED);
    kv::CloseHandle(autoReset);
}

}  // namespace
