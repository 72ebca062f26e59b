#include <cerrno>

#include "Kv_Data/PlatformExceptions.h"

namespace kv {

const char* CException::what() const noexcept { return "kv::CException"; }
const char* CInvalidArgException::what() const noexcept { return "invalid argument"; }
const char* CMemoryException::what() const noexcept { return "out of memory"; }

CArchiveException::CArchiveException(int cause, const char* archiveName)
    : m_cause(cause), m_strFileName(archiveName) {}

const char* CArchiveException::what() const noexcept {
    switch (m_cause) {
        case none: return "archive: no error";
        case readOnly: return "archive: writing to an archive opened for loading";
        case endOfFile: return "archive: unexpected end of data";
        case writeOnly: return "archive: reading from an archive opened for storing";
        case badIndex: return "archive: invalid object or class reference";
        case badClass: return "archive: unknown or unexpected class";
        case badSchema: return "archive: class stored with another schema";
        default: return "archive: error";
    }
}

CFileException::CFileException(int cause, LONG osError, const char* fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

const char* CFileException::what() const noexcept {
    switch (m_cause) {
        case none: return "file: no error";
        case fileNotFound: return "file: not found";
        case badPath: return "file: invalid path";
        case tooManyOpenFiles: return "file: too many open files";
        case accessDenied: return "file: access denied";
        case invalidFile: return "file: not open";
        case directoryFull: return "file: directory full";
        case badSeek: return "file: seek failed";
        case hardIO: return "file: input/output error";
        case sharingViolation: return "file: in use";
        case lockViolation: return "file: locked";
        case diskFull: return "file: disk full";
        case endOfFile: return "file: end of file";
        default: return "file: error";
    }
}

int CFileException::OsErrorToException(LONG osError) {
    switch (osError) {
        case 0: return none;
        case ENOENT: return fileNotFound;
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP: return badPath;
        case EMFILE:
        case ENFILE: return tooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case EEXIST: return accessDenied;
        case EBADF: return invalidFile;
        case ESPIPE: return badSeek;
        case EIO: return hardIO;
        case ETXTBSY:
        case EBUSY: return sharingViolation;
        case ENOSPC:
        case EDQUOT:
        case EFBIG: return diskFull;
        default: return generic;
    }
}

void AfxThrowInvalidArgException() { throw CInvalidArgException(); }
void AfxThrowMemoryException() { throw CMemoryException(); }
void AfxThrowArchiveException(int cause, const char* archiveName) { throw CArchiveException(cause, archiveName); }
void AfxThrowFileException(int cause, LONG osError, const char* fileName) {
    throw CFileException(cause, osError, fileName);
}

}  // namespace kv
