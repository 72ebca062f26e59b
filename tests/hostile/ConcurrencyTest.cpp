// Concurrency within what the library promises: a window's queue takes posts from any
// thread while its owner waits in SleepEx1, and delivers every message, on the owner's
// thread, in the order each poster sent them, during the waits.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>
#include <vector>

#include "Kv_Data.h"

namespace {

constexpr int kPosters = 8;
constexpr int kPerPoster = 2000;

struct Received {
    std::thread::id owner;
    std::vector<int> next = std::vector<int>(kPosters, 0);  // the sequence number expected
    int total = 0;
    int outOfOrder = 0;
    int foreign = 0;
};
Received* g_received = nullptr;

kv::LRESULT Record(kv::HWND, kv::UINT, kv::WPARAM poster, kv::LPARAM sequence) {
    Received& r = *g_received;
    if (std::this_thread::get_id() != r.owner) ++r.foreign;
    if (poster >= static_cast<kv::WPARAM>(kPosters) || sequence != r.next[poster]++) ++r.outOfOrder;
    ++r.total;
    return 0;
}

TEST(Concurrency, EightPostersToOneWindowWhileItsOwnerPumpsLoseNothing) {
    Received received;
    received.owner = std::this_thread::get_id();
    g_received = &received;
    const kv::HWND window = kv::CreateHostWindow(&Record);
    ASSERT_NE(window, nullptr);

    std::latch start(kPosters);
    std::atomic<int> done{0};
    std::atomic<int> refused{0};
    std::vector<std::thread> posters;
    for (int p = 0; p < kPosters; ++p)
        posters.emplace_back([&, p] {
            start.arrive_and_wait();
            for (int i = 0; i < kPerPoster; ++i) {
                if (!kv::PostMessageA(window, kv::WM_USER, static_cast<kv::WPARAM>(p), i)) ++refused;
                // Pauses spread the posts over many waits of the owner.
                if (i % 100 == 99) std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            ++done;
        });
    // A pumping wait lasts its whole time while it dispatches; it counts whole ticks of
    // the millisecond counter, so a finer clock may see it end up to one tick short.
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(kv::SleepEx1(120, 1), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(119));
    EXPECT_GT(received.total, 0);
    while (done < kPosters) EXPECT_EQ(kv::SleepEx1(2, 1), 1);
    for (std::thread& t : posters) t.join();
    EXPECT_EQ(kv::SleepEx1(0, 1), 1);  // what arrived after the last wait

    EXPECT_EQ(refused, 0);
    EXPECT_EQ(received.total, kPosters * kPerPoster);
    EXPECT_EQ(received.outOfOrder, 0);
    EXPECT_EQ(received.foreign, 0);
    for (const int next : received.next) EXPECT_EQ(next, kPerPoster);
    kv::DestroyHostWindow(window);
    g_received = nullptr;
}

}  // namespace
