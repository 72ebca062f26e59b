// The test-set state object: value records, contact settings and the open-window registry.

#include <algorithm>

#include "Kv_Data/PlatformWindow.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace kv {

namespace {

// Representation mask: one group of bits for the currents, one for the voltages.
constexpr WORD kPhaseI = 0x01;
constexpr WORD kThirdI = 0x02;
constexpr WORD kSymI = 0x04;
constexpr WORD kPhaseU = 0x10;
constexpr WORD kThirdU = 0x20;
constexpr WORD kSymU = 0x40;

// Selectors of FazToSim and SimToFaz.
constexpr unsigned short kCurrents = 1;
constexpr unsigned short kVoltages = 2;

// A group that names two or more forms is taken as phase values.
WORD NormaliseGroup(WORD mode, WORD phase, WORD third, WORD sym) {
    const int named = ((mode & phase) != 0) + ((mode & third) != 0) + ((mode & sym) != 0);
    if (named < 2) return mode;
    return static_cast<WORD>((mode & ~(third | sym)) | phase);
}

}  // namespace

KavorState::KavorState() : m_dImax(globImax) {
    // cstMaxCont is the caller's and may exceed the array; the clearing stops at its end.
    const DWORD cleared = std::min<DWORD>(cstMaxCont, COutContactsVal::kEntryCount);
    for (DWORD i = 0; i < cleared; ++i) m_adwContact1[i] = 0;
    std::fill(std::begin(m_anContact3), std::end(m_anContact3), 1);
    std::fill(std::begin(m_anContact4), std::end(m_anContact4), 1);
    for (auto& group : m_anGroup) std::fill(std::begin(group), std::end(group), 1);
}

KavorState::~KavorState() { m_arrOpenWindow.RemoveAll(); }

void KavorState::AddHwndToListOpenWindow(HWND hWnd) { m_arrOpenWindow.Add(hWnd); }

void KavorState::DeleteHwndFromListOpenWindow(HWND hWnd) {
    for (INT_PTR i = 0; i < m_arrOpenWindow.GetSize(); ++i) {
        if (m_arrOpenWindow[i] == hWnd) {
            m_arrOpenWindow.RemoveAt(i);
            return;
        }
    }
}

void KavorState::SendMessageToOpenWindow(HWND hWndSender, UINT nMsg, HWND hWndParam) {
    m_hWndSender = hWndSender;
    // The size is read on every pass: a dead entry is removed and its index checked again.
    INT_PTR i = 0;
    while (i < m_arrOpenWindow.GetSize()) {
        const HWND hWnd = m_arrOpenWindow[i];
        if (hWnd == hWndSender) {
            ++i;
            continue;
        }
        const CWnd* window = CWnd::FromHandle(hWnd);
        if (window == nullptr || !IsWindow(window->GetSafeHwnd())) {
            m_arrOpenWindow.RemoveAt(i);
            continue;
        }
        // Posted, never sent: no receiver runs inside the fan-out.
        PostMessageA(window->GetSafeHwnd(), WM_COMMAND, nMsg, reinterpret_cast<LPARAM>(hWndParam));
        PostMessageA(window->GetSafeHwnd(), nMsg, 0, 0);
        ++i;
    }
    m_bFanOut = 0;
}

void KavorState::SetValue(const CValueIU& value, unsigned short wMode) { StoreValue(m_Value, value, wMode); }

void KavorState::SetValue2(const CValueIU& value, unsigned short wMode) { StoreValue(m_Value2, value, wMode); }

void KavorState::SetValue3(const CValueIU& value, unsigned short wMode) { StoreValue(m_Value3, value, wMode); }

void KavorState::StoreValue(CValueIU& record, const CValueIU& value, unsigned short wMode) const {
    record = value;  // the working block only; the record's sequence block stays
    if (wMode == m_wValueMode) return;

    WORD mode = NormaliseGroup(wMode, kPhaseI, kThirdI, kSymI);
    mode = NormaliseGroup(mode, kPhaseU, kThirdU, kSymU);

    // The third forms (0x02, 0x20) are never converted, and a group that `mode` leaves
    // empty stays as it came. The limit checks' results do not matter here.
    if ((m_wValueMode & kSymI) != 0 && (mode & kPhaseI) != 0) FazToSim(record, kCurrents);
    if ((m_wValueMode & kSymU) != 0 && (mode & kPhaseU) != 0) FazToSim(record, kVoltages);
    if ((m_wValueMode & kPhaseI) != 0 && (mode & kSymI) != 0) SimToFaz(record, kCurrents);
    if ((m_wValueMode & kPhaseU) != 0 && (mode & kSymU) != 0) SimToFaz(record, kVoltages);
}

}  // namespace kv
