#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Kv_Data/PlatformWindow.h"

namespace kv {

namespace {

using Clock = std::chrono::steady_clock;

struct ThreadQueue {
    std::deque<MSG> messages;
    bool newInput = false;  // a message arrived since the thread last looked at its queue
};

struct Window {
    WNDPROC proc;
    ThreadQueue* queue;
};

struct Event {
    bool manualReset;
    bool signalled;
    std::string name;  // empty for an unnamed event
    int references;
};

// One lock and one condition for every window, queue and event: each wait re-checks
// its own condition when anything changes.
struct WindowSystem {
    std::mutex mutex;
    std::condition_variable changed;
    std::unordered_map<std::uintptr_t, Window> windows;
    std::unordered_map<std::uintptr_t, Event> events;
    std::uintptr_t nextHandle = 1;
};

WindowSystem& System() {
    static WindowSystem system;
    return system;
}

std::uintptr_t Key(const void* handle) { return reinterpret_cast<std::uintptr_t>(handle); }

// The calling thread's queue. When the thread ends, its windows are destroyed with
// it, as the platform destroys the windows of a thread that exits.
struct ThreadState {
    ThreadQueue queue;
    ~ThreadState() {
        WindowSystem& system = System();
        std::lock_guard lock(system.mutex);
        std::erase_if(system.windows, [this](const auto& entry) { return entry.second.queue == &queue; });
    }
};

ThreadQueue& CurrentQueue() {
    thread_local ThreadState state;
    return state.queue;
}

Window* FindWindow(WindowSystem& system, HWND hwnd) {
    const auto found = system.windows.find(Key(hwnd));
    return found == system.windows.end() ? nullptr : &found->second;
}

bool Matches(const MSG& msg, HWND hwnd, UINT filterMin, UINT filterMax) {
    if (hwnd != nullptr && msg.hwnd != hwnd) return false;
    if (filterMin == 0 && filterMax == 0) return true;
    return msg.message >= filterMin && msg.message <= filterMax;
}

// Which handles are signalled now: the index for WAIT_OBJECT_0 + index, consuming the
// signal of auto-reset events; nothing while the wait must go on.
std::optional<long> Signalled(const std::vector<Event*>& events, bool waitAll) {
    if (waitAll) {
        for (const Event* event : events)
            if (!event->signalled) return std::nullopt;
        for (Event* event : events)
            if (!event->manualReset) event->signalled = false;
        return 0;
    }
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i]->signalled) {
            if (!events[i]->manualReset) events[i]->signalled = false;
            return static_cast<long>(i);
        }
    }
    return std::nullopt;
}

DWORD Wait(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds, bool wakeOnInput,
           bool anyQueuedInput) {
    if (count > MAXIMUM_WAIT_OBJECTS || (count > 0 && handles == nullptr)) return WAIT_FAILED;
    if (count == 0 && !wakeOnInput && milliseconds == INFINITE) {
        // Nothing can end this wait, as on the platform.
        for (;;) std::this_thread::sleep_for(std::chrono::hours(24));
    }
    ThreadQueue& queue = CurrentQueue();
    WindowSystem& system = System();
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock lock(system.mutex);
    for (;;) {
        std::vector<Event*> events;
        for (DWORD i = 0; i < count; ++i) {
            const auto found = system.events.find(Key(handles[i]));
            if (found == system.events.end()) return WAIT_FAILED;
            events.push_back(&found->second);
        }
        const bool input = wakeOnInput && (anyQueuedInput ? !queue.messages.empty() : queue.newInput);
        if (waitAll && count > 0 && wakeOnInput) {
            // With MWMO_WAITALL the handles and the input must come together.
            if (input) {
                if (Signalled(events, true)) {
                    queue.newInput = false;
                    return WAIT_OBJECT_0 + count;
                }
            }
        } else {
            if (const auto index = Signalled(events, waitAll != FALSE && count > 0))
                return WAIT_OBJECT_0 + static_cast<DWORD>(*index);
            if (input) {
                queue.newInput = false;
                return WAIT_OBJECT_0 + count;
            }
        }
        if (milliseconds != INFINITE) {
            if (milliseconds == 0 || system.changed.wait_until(lock, deadline) == std::cv_status::timeout) {
                if (Clock::now() >= deadline) return WAIT_TIMEOUT;
            }
        } else {
            system.changed.wait(lock);
        }
    }
}

}  // namespace

HWND CreateHostWindow(WNDPROC proc) {
    ThreadQueue* queue = &CurrentQueue();
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    const std::uintptr_t key = system.nextHandle++;
    system.windows.emplace(key, Window{proc, queue});
    return reinterpret_cast<HWND>(key);
}

BOOL DestroyHostWindow(HWND hwnd) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    Window* window = FindWindow(system, hwnd);
    if (window == nullptr) return FALSE;
    std::erase_if(window->queue->messages, [hwnd](const MSG& msg) { return msg.hwnd == hwnd; });
    system.windows.erase(Key(hwnd));
    system.changed.notify_all();
    return TRUE;
}

BOOL IsWindow(HWND hwnd) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    return FindWindow(system, hwnd) != nullptr;
}

BOOL PostMessageA(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    const DWORD time = GetTickCount();
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    Window* window = FindWindow(system, hwnd);
    if (window == nullptr) return FALSE;
    window->queue->messages.push_back(MSG{hwnd, message, wParam, lParam, time});
    window->queue->newInput = true;
    system.changed.notify_all();
    return TRUE;
}

BOOL PeekMessageA(MSG* msg, HWND hwnd, UINT filterMin, UINT filterMax, UINT removeFlags) {
    ThreadQueue& queue = CurrentQueue();
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    queue.newInput = false;
    for (auto it = queue.messages.begin(); it != queue.messages.end(); ++it) {
        if (!Matches(*it, hwnd, filterMin, filterMax)) continue;
        if (msg != nullptr) *msg = *it;
        if (removeFlags & PM_REMOVE) queue.messages.erase(it);
        return TRUE;
    }
    return FALSE;
}

BOOL TranslateMessage(const MSG*) { return FALSE; }

LRESULT DispatchMessageA(const MSG* msg) {
    if (msg == nullptr) return 0;
    WNDPROC proc = nullptr;
    {
        WindowSystem& system = System();
        std::lock_guard lock(system.mutex);
        const Window* window = FindWindow(system, msg->hwnd);
        if (window == nullptr) return 0;
        proc = window->proc;
    }
    // The procedure runs unlocked: it may post, create or destroy windows itself.
    return proc != nullptr ? proc(msg->hwnd, msg->message, msg->wParam, msg->lParam) : 0;
}

HANDLE CreateEventA(void*, BOOL manualReset, BOOL initialState, const char* name) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    if (name != nullptr && *name != '\0') {
        // A named event that exists already is opened again, its state unchanged.
        for (auto& [key, event] : system.events) {
            if (event.name == name) {
                ++event.references;
                return reinterpret_cast<HANDLE>(key);
            }
        }
    }
    const std::uintptr_t key = system.nextHandle++;
    system.events.emplace(key, Event{manualReset != FALSE, initialState != FALSE, name != nullptr ? name : "", 1});
    return reinterpret_cast<HANDLE>(key);
}

BOOL SetEvent(HANDLE event) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    const auto found = system.events.find(Key(event));
    if (found == system.events.end()) return FALSE;
    found->second.signalled = true;
    system.changed.notify_all();
    return TRUE;
}

BOOL ResetEvent(HANDLE event) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    const auto found = system.events.find(Key(event));
    if (found == system.events.end()) return FALSE;
    found->second.signalled = false;
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    WindowSystem& system = System();
    std::lock_guard lock(system.mutex);
    const auto found = system.events.find(Key(handle));
    if (found == system.events.end()) return FALSE;
    // Every handle to a named event counts; the last one closes it.
    if (--found->second.references == 0) system.events.erase(found);
    system.changed.notify_all();
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    return Wait(1, &handle, FALSE, milliseconds, false, false);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) {
    if (count == 0) return WAIT_FAILED;
    return Wait(count, handles, waitAll, milliseconds, false, false);
}

DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds, DWORD wakeMask,
                                  DWORD flags) {
    const bool wakeOnInput = (wakeMask & (QS_POSTMESSAGE | QS_ALLPOSTMESSAGE)) != 0;
    return Wait(count, handles, (flags & MWMO_WAITALL) != 0, milliseconds, wakeOnInput,
                (flags & MWMO_INPUTAVAILABLE) != 0);
}

DWORD SleepEx(DWORD milliseconds, BOOL) {
    if (milliseconds == INFINITE) {
        for (;;) std::this_thread::sleep_for(std::chrono::hours(24));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return 0;
}

DWORD GetTickCount() {
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch());
    return static_cast<DWORD>(static_cast<std::uint64_t>(since.count()));
}

CWnd* CWnd::FromHandle(HWND hwnd) {
    if (hwnd == nullptr) return nullptr;
    thread_local std::unordered_map<HWND, std::unique_ptr<CWnd>> objects;
    if (objects.size() > 64) {
        // Objects of windows that no longer exist are dropped now and then.
        std::erase_if(objects, [](const auto& entry) { return !IsWindow(entry.first); });
    }
    auto& object = objects[hwnd];
    if (!object) object = std::make_unique<CWnd>(hwnd);
    return object.get();
}

}  // namespace kv
