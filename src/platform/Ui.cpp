#include <cstdio>
#include <mutex>

#include "Kv_Data/PlatformUi.h"

namespace kv {

namespace {

struct MessageBoxState {
    std::mutex mutex;
    MessageBoxHandler handler;
};

MessageBoxState& State() {
    static MessageBoxState state;
    return state;
}

}  // namespace

CSize CDC::GetTextExtent(const char*, int count) const { return CSize(count > 0 ? count : 0, 1); }

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    MessageBoxState& state = State();
    std::lock_guard lock(state.mutex);
    std::swap(state.handler, handler);
    return handler;
}

int AfxMessageBox(const char* text, UINT type, UINT helpId) {
    MessageBoxHandler handler;
    {
        MessageBoxState& state = State();
        std::lock_guard lock(state.mutex);
        handler = state.handler;
    }
    if (handler) return handler(text != nullptr ? text : "", type, helpId);
    std::fprintf(stderr, "%s\n", text != nullptr ? text : "");
    return IDOK;
}

}  // namespace kv
