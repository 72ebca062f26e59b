#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "Kv_Data.h"

namespace {

using namespace kv;

LRESULT QuietProc(HWND, UINT, WPARAM, LPARAM) { return 0; }

constexpr UINT kNotify = WM_USER + 7;

class KavorStateTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (const HWND hwnd : m_windows) DestroyHostWindow(hwnd);
        cstMaxCont = m_savedMaxCont, globImax = m_savedImax;
    }
    HWND Window() { return m_windows.emplace_back(CreateHostWindow(QuietProc)); }

    std::vector<HWND> Registry() const {
        std::vector<HWND> handles;
        const CArray<HWND, HWND>& registry = m_state->m_arrOpenWindow;
        for (INT_PTR i = 0; i < registry.GetSize(); ++i) handles.push_back(registry[i]);
        return handles;
    }
    // What the window's queue holds, as (message, wParam, lParam), emptying it.
    static std::vector<std::vector<LPARAM>> Take(HWND hwnd) {
        std::vector<std::vector<LPARAM>> got;
        MSG msg{};
        while (PeekMessageA(&msg, hwnd, 0, 0, PM_REMOVE))
            got.push_back({static_cast<LPARAM>(msg.message), static_cast<LPARAM>(msg.wParam), msg.lParam});
        return got;
    }
    static std::vector<LPARAM> Command(HWND param) { return {WM_COMMAND, kNotify, reinterpret_cast<LPARAM>(param)}; }

    std::unique_ptr<KavorState> m_state = std::make_unique<KavorState>();  // large: on the heap

private:
    std::vector<HWND> m_windows;
    DWORD m_savedMaxCont = cstMaxCont;
    double m_savedImax = globImax;
};

TEST_F(KavorStateTest, ConstructionTakesTheLimitsOfThatMoment) {
    EXPECT_TRUE(glbClassKavorState.m_dImax == 20.0 && glbClassKavorState.m_wValueMode == 17);
    globImax = 36.0, cstMaxCont = 0xFFFFFFFFu;  // more than the array holds
    const auto state = std::make_unique<KavorState>();
    EXPECT_EQ(state->m_dImax, 36.0);
    EXPECT_TRUE(state->m_adwContact1[511] == 0u && state->m_anGroup[2][7] == 1);
}

TEST_F(KavorStateTest, RegistryAppendsAndDeletesTheFirstOccurrence) {
    const HWND a = Window(), b = Window();
    for (const HWND hwnd : {a, b, a}) m_state->AddHwndToListOpenWindow(hwnd);
    m_state->DeleteHwndFromListOpenWindow(a);
    m_state->DeleteHwndFromListOpenWindow(Window());  // not registered: nothing
    EXPECT_EQ(Registry(), (std::vector<HWND>{b, a}));
}

// A dead or null handle is dropped and its index checked again, so the next is reached.
TEST_F(KavorStateTest, FanOutSkipsTheSenderDropsDeadHandlesAndPostsTheCommandFirst) {
    const HWND a = Window(), b = Window(), dead = Window(), param = Window();
    DestroyHostWindow(dead);
    for (const HWND hwnd : {a, dead, HWND{}, b, a}) m_state->AddHwndToListOpenWindow(hwnd);
    m_state->m_bFanOut = 1;
    m_state->SendMessageToOpenWindow(a, kNotify, param);
    EXPECT_TRUE(Take(a).empty());
    EXPECT_EQ(Take(b), (std::vector<std::vector<LPARAM>>{Command(param), {kNotify, 0, 0}}));
    EXPECT_EQ(Registry(), (std::vector<HWND>{a, b, a}));
    EXPECT_TRUE(m_state->m_hWndSender == a && m_state->m_bFanOut == 0);
}

// A positive-sequence set: 2 A and 100 V, B 240 and C 120 degrees after A.
const CValueIU kBalanced(2, 2, 2, 0, 240, 120, 100, 100, 100, 30, 270, 150);

TEST_F(KavorStateTest, SetValueKeepsTheGivenModeAndPhaseValuesWinWithinAGroup) {
    m_state->m_Value.dSimU[1] = 3.0;
    m_state->SetValue(kBalanced, 0x11);
    EXPECT_EQ(m_state->m_Value.GetFiI(1), 240.0);
    EXPECT_EQ(m_state->m_Value.dSimU[1], 3.0);  // only the working block is assigned
    m_state->SetValue2(kBalanced, 0x07);        // as 0x01: nothing to convert
    EXPECT_TRUE(m_state->m_Value2.GetI(1) == 2.0 && m_state->m_Value2.GetFiI(1) == 240.0);
}

TEST_F(KavorStateTest, SetValueConvertsBetweenPhaseValuesAndComponents) {
    m_state->m_wValueMode = 0x44;
    m_state->SetValue(kBalanced, 0x11);
    const double expected[] = {2.0, 0.0, 0.0};
    for (int n = 0; n < 3; ++n) {
        EXPECT_NEAR(m_state->m_Value.GetI(n), expected[n], 1e-9);
        EXPECT_NEAR(m_state->m_Value.GetU(n), 50.0 * expected[n], 1e-9);
    }
    m_state->SetValue3(kBalanced, 0x07);  // the voltages name no form and stay
    EXPECT_TRUE(std::fabs(m_state->m_Value3.GetI(1)) < 1e-9 && m_state->m_Value3.GetU(1) == 100.0);

    m_state->m_wValueMode = 0x11;
    m_state->SetValue(CValueIU(2, 0, 0, 0, 0, 0, 100, 0, 0, 30, 0, 0), 0x44);
    for (int n = 0; n < 3; ++n) EXPECT_NEAR(m_state->m_Value.GetU(n), 100.0, 1e-9);
    EXPECT_NEAR(m_state->m_Value.GetFiI(1), 240.0, 1e-6);
}

}  // namespace
