// Windows, messages and waits, on the standard library's threads. A window belongs
// to the thread that created it: messages posted to it, from any thread, go to that
// thread's queue and run its window procedure only when that thread dispatches them.
// Handles are never reused, so a stale handle is merely dead, never another window.
#pragma once

#include "Kv_Data/PlatformTypes.h"

namespace kv {

using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;  // GetTickCount() when the message was posted
};

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT WM_APP = 0x8000;

inline constexpr UINT PM_NOREMOVE = 0x0000;
inline constexpr UINT PM_REMOVE = 0x0001;
inline constexpr UINT PM_NOYIELD = 0x0002;

inline constexpr DWORD INFINITE = 0xFFFFFFFFU;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFU;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

// Wake masks: posted messages are the only input of this layer's queues.
inline constexpr DWORD QS_POSTMESSAGE = 0x0008;
inline constexpr DWORD QS_ALLPOSTMESSAGE = 0x0100;
inline constexpr DWORD QS_ALLINPUT = 0x04FF;

inline constexpr DWORD MWMO_WAITALL = 0x0001;
inline constexpr DWORD MWMO_ALERTABLE = 0x0002;
inline constexpr DWORD MWMO_INPUTAVAILABLE = 0x0004;

KV_DATA_API HWND CreateHostWindow(WNDPROC proc);
// Destroys the window and discards the messages still queued for it.
KV_DATA_API BOOL DestroyHostWindow(HWND hwnd);
KV_DATA_API BOOL IsWindow(HWND hwnd);

// Queues the message for the window's thread and returns at once; FALSE for a null
// or dead window.
KV_DATA_API BOOL PostMessageA(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
// The first message of the calling thread's queue for `hwnd` (null: any window) with
// a number in [filterMin, filterMax] (both 0: any number).
KV_DATA_API BOOL PeekMessageA(MSG* msg, HWND hwnd, UINT filterMin, UINT filterMax, UINT removeFlags);
// There are no keyboard messages to translate: always FALSE.
KV_DATA_API BOOL TranslateMessage(const MSG* msg);
// Calls the window procedure of msg->hwnd; 0 when the window is dead.
KV_DATA_API LRESULT DispatchMessageA(const MSG* msg);

KV_DATA_API HANDLE CreateEventA(void* attributes, BOOL manualReset, BOOL initialState, const char* name);
KV_DATA_API BOOL SetEvent(HANDLE event);
KV_DATA_API BOOL ResetEvent(HANDLE event);
KV_DATA_API BOOL CloseHandle(HANDLE handle);
KV_DATA_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
KV_DATA_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);
// As WaitForMultipleObjects, and returns WAIT_OBJECT_0 + count when a message of the
// wake mask arrives in the calling thread's queue (any queued message with
// MWMO_INPUTAVAILABLE; otherwise one posted since the thread last looked at its queue).
KV_DATA_API DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                              DWORD wakeMask, DWORD flags);
KV_DATA_API DWORD SleepEx(DWORD milliseconds, BOOL alertable);
// Milliseconds of a monotonic clock, wrapping at 2^32.
KV_DATA_API DWORD GetTickCount();

class KV_DATA_API CWnd {
public:
    CWnd() = default;
    explicit CWnd(HWND hwnd) : m_hWnd(hwnd) {}
    virtual ~CWnd() = default;

    HWND GetSafeHwnd() const { return m_hWnd; }
    // An object of the calling thread whose handle is `hwnd`; null for a null handle.
    static CWnd* FromHandle(HWND hwnd);

    HWND m_hWnd = nullptr;
};

}  // namespace kv
