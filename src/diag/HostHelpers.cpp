#include <bit>
#include <limits>

#include "Kv_Data/Diag.h"
#include "Kv_Data/PlatformWindow.h"

namespace kv {

namespace {

static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == sizeof(LONG) && sizeof(float) == sizeof(UINT),
              "message parameters carry IEEE single-precision images");

// Closes the wait's event also when a window procedure throws out of the pump.
class EventHolder {
public:
    EventHolder() : m_event(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    EventHolder(const EventHolder&) = delete;
    EventHolder& operator=(const EventHolder&) = delete;
    ~EventHolder() {
        if (m_event != nullptr) CloseHandle(m_event);
    }
    HANDLE Get() const { return m_event; }

private:
    HANDLE m_event;
};

void DispatchQueuedMessages() {
    MSG msg{};
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

// Waits on `handle` for `timeout` ms while dispatching the thread's messages; the result
// of the last wait (WAIT_TIMEOUT when the time ran out).
DWORD MessagePumpingWait(HANDLE handle, DWORD timeout) {
    const DWORD start = GetTickCount();
    DWORD remaining = timeout;
    for (;;) {
        const DWORD result = MsgWaitForMultipleObjectsEx(1, &handle, remaining, QS_ALLINPUT, 0);
        if (result != WAIT_OBJECT_0 + 1) return result;
        DispatchQueuedMessages();
        if (timeout == INFINITE) continue;
        // Unsigned: a wrap of the tick counter during the wait does no harm.
        const DWORD elapsed = GetTickCount() - start;
        if (timeout <= elapsed) return WaitForMultipleObjects(1, &handle, FALSE, 0);
        remaining = timeout - elapsed;
    }
}

struct SeriesColour {
    int first;
    int last;
    DWORD colour;  // 0x00BBGGRR
};

constexpr DWORD kRed = 0x0000FF;
constexpr DWORD kForestGreen = 0x228B22;

constexpr SeriesColour kSeriesColours[] = {
    {3, 3, kForestGreen}, {123, 123, kForestGreen},  // 123 repeats series 3 on purpose
    {4, 4, 0xFFBF00},                                // deep sky blue
    {5, 5, 0x00D7FF},                                // gold
    {6, 6, 0xE22B8A},                                // blue violet
    {7, 7, 0x2222B2},                                // firebrick
    {8, 8, 0x8B0000},                                // dark blue
    {9, 122, kRed},       {124, 131, kRed},
};

}  // namespace

int SleepEx1(DWORD milliseconds, int bPumpMessages) {
    if (bPumpMessages == 0) {
        SleepEx(milliseconds, FALSE);
        return 1;
    }
    // Nobody signals the event: it only gives the wait a handle, so the wait ends by its time.
    const EventHolder event;
    if (event.Get() == nullptr) return 0;
    return MessagePumpingWait(event.Get(), milliseconds) == WAIT_TIMEOUT ? 1 : 0;
}

DWORD GetSeriesColor(int series) {
    for (const SeriesColour& row : kSeriesColours)
        if (series >= row.first && series <= row.last) return row.colour;
    return 0x000000;
}

float FloatFromLP(LONG value) { return std::bit_cast<float>(value); }

LONG LPFromFloat(float value) { return std::bit_cast<LONG>(value); }

// Every double lies between two adjacent floats once the infinities count, so the
// conversion is defined and rounds to nearest.
LONG LPFromFloat(double value) { return std::bit_cast<LONG>(static_cast<float>(value)); }

UINT WPFromDouble(double value) { return std::bit_cast<UINT>(static_cast<float>(value)); }

}  // namespace kv
