// What the library needs of the user interface: a drawing context that measures text
// and a message box that a host program can take over.
#pragma once

#include <functional>

#include "Kv_Data/PlatformTypes.h"

namespace kv {

// Measures text in device units. The base class counts one unit a byte and one unit
// of height; a caller derives from it with its own font metrics.
class KV_DATA_API CDC {
public:
    virtual ~CDC() = default;
    virtual CSize GetTextExtent(const char* text, int count) const;
};

inline constexpr UINT MB_OK = 0x00000000;
inline constexpr UINT MB_OKCANCEL = 0x00000001;
inline constexpr UINT MB_YESNOCANCEL = 0x00000003;
inline constexpr UINT MB_YESNO = 0x00000004;
inline constexpr UINT MB_ICONERROR = 0x00000010;
inline constexpr UINT MB_ICONQUESTION = 0x00000020;
inline constexpr UINT MB_ICONWARNING = 0x00000030;
inline constexpr UINT MB_ICONINFORMATION = 0x00000040;

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// Shows `text` and returns the button chosen (IDOK, ...).
using MessageBoxHandler = std::function<int(const char* text, UINT type, UINT helpId)>;

// Installs a handler and returns the one it replaces; an empty handler restores the
// default, which writes the text to standard error and answers IDOK.
KV_DATA_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);
KV_DATA_API int AfxMessageBox(const char* text, UINT type = MB_OK, UINT helpId = 0);

}  // namespace kv
