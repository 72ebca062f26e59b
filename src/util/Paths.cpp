#include <cstring>

#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

constexpr DWORD kPathBuffer = 1024;
// A string table entry is read through a buffer of this size, terminator included.
constexpr int kStringBuffer = 255;

int TextWidth(const CDC& dc, const CString& text) { return dc.GetTextExtent(text, text.GetLength()).cx; }

}  // namespace

int FileExists(const char* path) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return 0;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? 1 : 0;
}

int DirectoryExists(const char* path) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return 0;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? 1 : 0;
}

CString GetExePathNameAPI() {
    char buffer[kPathBuffer] = {};
    if (GetModuleFileNameA(nullptr, buffer, kPathBuffer) == 0) return CString();
    return CString(buffer);
}

CString GetExePathName() {
    const CString path = GetExePathNameAPI();
    const int separator = path.ReverseFind('/');
    return separator < 0 ? CString() : path.Left(separator + 1);
}

CString GetCurrentDirectoryNew() {
    char buffer[kPathBuffer] = {};
    const DWORD length = GetCurrentDirectoryA(kPathBuffer, buffer);
    if (length == 0 || length >= kPathBuffer) return CString();
    return CString(buffer);
}

CString StFileName(const CString& path) {
    const int separator = path.ReverseFind('\\');
    return separator < 0 ? path : path.Mid(separator + 1);
}

CString StFileNameNoExt(const CString& path) {
    const CString name = StFileName(path);
    const int dot = name.ReverseFind('.');
    return dot < 0 ? name : name.Left(dot);
}

CString StExt(const CString& path) {
    const int dot = path.ReverseFind('.');
    return dot < 0 ? CString() : path.Mid(dot + 1);
}

CString StPath(const CString& path) {
    const int separator = path.ReverseFind('\\');
    if (separator < 0) return path;
    CString folder = path.Left(separator);
    if (!folder.IsEmpty() && folder[folder.GetLength() - 1] == ':') folder += '\\';
    return folder;
}

CString FormPath(CDC* pDC, const char* path, int width) {
    const CString full(path);
    // Without a context nothing can be measured; the path is shown as it is.
    if (pDC == nullptr || TextWidth(*pDC, full) < width) return full;
    const CString folder = StPath(full);
    const CString name = StFileName(full);
    const int first = folder.Find('\\');
    if (first < 0) return full;
    const CString head = folder.Left(first + 1);
    CString rest = folder.Mid(first + 1);
    for (int next = rest.Find('\\'); next >= 0; next = rest.Find('\\')) {
        rest = rest.Mid(next + 1);
        // The last folder and the name are joined without a separator here, unlike the
        // last resort below; the suite's dialogs show exactly these texts.
        const CString candidate = head + "...\\" + rest + name;
        if (TextWidth(*pDC, candidate) < width) return candidate;
    }
    return head + "...\\" + rest + "\\" + name;
}

CString LoadStringFromDLL(HINSTANCE hModule, int id) {
    if (hModule == nullptr) return CString("Error loading resource.");
    const auto block = static_cast<WORD>((id >> 4) + 1);
    if (FindResourceA(hModule, MAKEINTRESOURCEA(block), RT_STRING) == nullptr) return CString();
    char buffer[kStringBuffer] = {};
    if (LoadStringA(hModule, static_cast<UINT>(id), buffer, kStringBuffer) == 0) return CString();
    return CString(buffer);
}

void LoadStringExtFilter(HINSTANCE hModule, char* buffer, int bufferSize, int id) {
    if (buffer == nullptr || bufferSize <= 0) return;
    LoadStringA(hModule, static_cast<UINT>(id), buffer, bufferSize);
    const std::size_t length = std::strlen(buffer);
    for (std::size_t i = 0; i < length; ++i)
        if (buffer[i] == '|') buffer[i] = '\0';
}

}  // namespace kv
