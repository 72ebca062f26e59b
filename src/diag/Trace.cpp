#include <climits>
#include <cstdint>

#include "Kv_Data/Diag.h"
#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformUi.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

// Appends text and its line end to the file `path`, creating the file when missing.
// The line goes to the file in one append, so that concurrent writers never split it;
// a file that cannot be opened is skipped. Write errors leave as CFileException.
void AppendLine(const CString& path, const char* text) {
    constexpr UINT kWrite = CFile::modeWrite | CFile::typeText | CFile::osAppend;
    CStdioFile file;
    // The create step does not truncate: another writer may have created the file and
    // appended to it since our first attempt failed.
    if (!file.Open(path, kWrite) && !file.Open(path, kWrite | CFile::modeCreate | CFile::modeNoTruncate)) return;
    file.WriteString(text != nullptr ? text : "");
    file.WriteString("\n");
    file.Flush();
    file.Close();
}

}  // namespace

int TRASE(const char* text) {
    AppendLine(GetExePathName() + glob_StrFileNameTrase, text);
    return 1;
}

// The numeric forms end their text with "\n" before TRASE adds its own, so each of
// them leaves an empty line after the value; readers of the trace expect that.
int TRASE(const char* text, int value) {
    CString line;
    line.Format("%s %d\n", text != nullptr ? text : "", value);
    return TRASE(line);
}

int TRASE(const char* text, double value, int digits) {
    // So many digits that the line could not be held in a string: the line is skipped,
    // as one whose file cannot be opened is.
    constexpr int kLongest = INT_MAX - 400;
    if (digits > kLongest) return 1;
    CString line;
    try {
        line.Format("%s %0.*f\n", text != nullptr ? text : "", digits, value);
    } catch (const CInvalidArgException&) {
        return 1;
    }
    return TRASE(line);
}

int TRASE(const char* text, const void* pointer) {
    CString line;
    line.Format("%s %llX\n", text != nullptr ? text : "",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pointer)));
    return TRASE(line);
}

int WriteStringToLogFile(CString fileName, const char* text, int bDeleteFirst) {
    if (bDeleteFirst != 0) {
        // Deleted as named (relative to the current directory) but written beside the
        // executable: callers rely on exactly this pair.
        try {
            CFile::Remove(fileName);
        } catch (const CFileException&) {
            // A missing or undeletable file is no reason not to write.
        }
    }
    AppendLine(GetExePathName() + fileName, text);
    return 1;
}

void DebugAfxMessageBox(const char* text) { AfxMessageBox(text, MB_OK, 0); }

}  // namespace kv
