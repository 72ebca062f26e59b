// The platform layer's exceptions. They are thrown by value and derive from
// std::exception, so a client can catch them by their own type or generically.
#pragma once

#include <exception>

#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"

namespace kv {

class KV_DATA_API CException : public std::exception {
public:
    const char* what() const noexcept override;
};

// An argument outside what the called operation accepts (a string position past the
// end, an array index outside the array).
class KV_DATA_API CInvalidArgException : public CException {
public:
    const char* what() const noexcept override;
};

class KV_DATA_API CMemoryException : public CException {
public:
    const char* what() const noexcept override;
};

class KV_DATA_API CArchiveException : public CException {
public:
    enum {
        none,
        generic,
        readOnly,   // writing to a loading archive
        endOfFile,  // reading past the end of the data
        writeOnly,  // reading from a storing archive
        badIndex,   // an object or class reference that names nothing read so far
        badClass,   // a class name that is not registered
        badSchema,  // a class stored with another schema number than the registered one
    };
    explicit CArchiveException(int cause = none, const char* archiveName = nullptr);
    const char* what() const noexcept override;

    int m_cause;
    CString m_strFileName;
};

class KV_DATA_API CFileException : public CException {
public:
    enum {
        none,
        generic,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile,
    };
    explicit CFileException(int cause = none, LONG osError = -1, const char* fileName = nullptr);
    const char* what() const noexcept override;

    // The cause that an operating-system error number stands for.
    static int OsErrorToException(LONG osError);

    int m_cause;
    LONG m_lOsError;
    CString m_strFileName;
};

[[noreturn]] KV_DATA_API void AfxThrowInvalidArgException();
[[noreturn]] KV_DATA_API void AfxThrowMemoryException();
[[noreturn]] KV_DATA_API void AfxThrowArchiveException(int cause, const char* archiveName = nullptr);
[[noreturn]] KV_DATA_API void AfxThrowFileException(int cause, LONG osError = -1,
                                                    const char* fileName = nullptr);

}  // namespace kv
