#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>

#include "Kv_Data/PlatformFile.h"

namespace kv {

namespace {

int OpenFlagsToPosix(UINT openFlags) {
    int flags = O_CLOEXEC;
    switch (openFlags & 0x3) {
        case CFile::modeWrite: flags |= O_WRONLY; break;
        case CFile::modeReadWrite: flags |= O_RDWR; break;
        default: flags |= O_RDONLY; break;
    }
    if (openFlags & CFile::modeCreate) {
        flags |= O_CREAT;
        if (!(openFlags & CFile::modeNoTruncate)) flags |= O_TRUNC;
    }
    if (openFlags & CFile::osAppend) flags |= O_APPEND;
    return flags;
}

// Writes everything or returns the error number.
int WriteAll(int fd, const char* data, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(fd, data, count);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += written;
        count -= static_cast<std::size_t>(written);
    }
    return 0;
}

}  // namespace

CFile::CFile(const char* fileName, UINT openFlags) {
    CFileException error;
    if (!Open(fileName, openFlags, &error)) throw error;
}

CFile::~CFile() { Abort(); }

BOOL CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
    Abort();
    m_strFileName = fileName;
    int fd = ::open(fileName != nullptr ? fileName : "", OpenFlagsToPosix(openFlags), 0666);
    int osError = fd < 0 ? errno : 0;
    struct stat info {};
    if (fd >= 0 && ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        // A directory is not a file the platform would open.
        ::close(fd);
        fd = -1;
        osError = EISDIR;
    }
    if (fd < 0) {
        if (error != nullptr) *error = CFileException(CFileException::OsErrorToException(osError), osError, fileName);
        return FALSE;
    }
    m_fd = fd;
    return TRUE;
}

void CFile::ThrowOsError(int osError) const {
    AfxThrowFileException(CFileException::OsErrorToException(osError), osError, m_strFileName);
}

UINT CFile::Read(void* buffer, UINT count) {
    if (m_fd < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    std::size_t total = 0;
    while (total < count) {
        const ssize_t got = ::read(m_fd, static_cast<char*>(buffer) + total, count - total);
        if (got < 0) {
            if (errno == EINTR) continue;
            ThrowOsError(errno);
        }
        if (got == 0) break;
        total += static_cast<std::size_t>(got);
    }
    return static_cast<UINT>(total);
}

void CFile::Write(const void* buffer, UINT count) {
    if (m_fd < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    if (const int osError = WriteAll(m_fd, static_cast<const char*>(buffer), count)) ThrowOsError(osError);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    if (m_fd < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    const int whence = from == end ? SEEK_END : from == current ? SEEK_CUR : SEEK_SET;
    const off_t position = ::lseek(m_fd, static_cast<off_t>(offset), whence);
    if (position < 0) AfxThrowFileException(CFileException::badSeek, errno, m_strFileName);
    return static_cast<ULONGLONG>(position);
}

ULONGLONG CFile::GetLength() const {
    struct stat info {};
    if (m_fd < 0 || ::fstat(m_fd, &info) != 0) ThrowOsError(m_fd < 0 ? EBADF : errno);
    return static_cast<ULONGLONG>(info.st_size);
}

ULONGLONG CFile::GetPosition() const {
    const off_t position = m_fd < 0 ? -1 : ::lseek(m_fd, 0, SEEK_CUR);
    if (position < 0) ThrowOsError(m_fd < 0 ? EBADF : errno);
    return static_cast<ULONGLONG>(position);
}

void CFile::Flush() {
    if (m_fd >= 0 && ::fsync(m_fd) != 0 && errno != EINVAL && errno != EROFS) ThrowOsError(errno);
}

void CFile::Close() {
    if (m_fd < 0) return;
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0 && errno != EINTR) ThrowOsError(errno);
}

void CFile::Abort() {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
}

void CFile::Remove(const char* fileName) {
    if (::unlink(fileName != nullptr ? fileName : "") != 0) {
        const int osError = errno;
        AfxThrowFileException(CFileException::OsErrorToException(osError), osError, fileName);
    }
}

// ---- CMemFile ----

CMemFile::CMemFile(std::vector<BYTE> bytes) : m_bytes(std::move(bytes)) {}

BOOL CMemFile::Open(const char*, UINT, CFileException* error) {
    // A memory file has no name to open.
    if (error != nullptr) *error = CFileException(CFileException::generic);
    return FALSE;
}

UINT CMemFile::Read(void* buffer, UINT count) {
    const std::size_t available = m_position < m_bytes.size() ? m_bytes.size() - m_position : 0;
    const std::size_t n = std::min<std::size_t>(count, available);
    if (n > 0) std::memcpy(buffer, m_bytes.data() + m_position, n);
    m_position += n;
    return static_cast<UINT>(n);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0) return;
    try {
        if (m_position + count > m_bytes.size()) m_bytes.resize(m_position + count);
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    } catch (const std::length_error&) {
        AfxThrowMemoryException();
    }
    std::memcpy(m_bytes.data() + m_position, buffer, count);
    m_position += count;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
    const LONGLONG base = from == end       ? static_cast<LONGLONG>(m_bytes.size())
                          : from == current ? static_cast<LONGLONG>(m_position)
                                            : 0;
    if ((offset < 0 && base + offset < 0) || (offset > 0 && base > LLONG_MAX - offset))
        AfxThrowFileException(CFileException::badSeek);
    m_position = static_cast<std::size_t>(base + offset);
    return m_position;
}

ULONGLONG CMemFile::GetLength() const { return m_bytes.size(); }
ULONGLONG CMemFile::GetPosition() const { return m_position; }
void CMemFile::Flush() {}
void CMemFile::Close() {}
void CMemFile::Abort() {}

// ---- CStdioFile ----

CStdioFile::CStdioFile(const char* fileName, UINT openFlags) {
    CFileException error;
    if (!Open(fileName, openFlags, &error)) throw error;
}

CStdioFile::~CStdioFile() {
    try {
        WritePending();
    } catch (const CException&) {
        // A destructor reports nothing, as the platform's does.
    }
}

BOOL CStdioFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
    m_pending.clear();
    m_text = (openFlags & typeBinary) == 0;
    return CFile::Open(fileName, openFlags, error);
}

UINT CStdioFile::Read(void* buffer, UINT count) {
    WritePending();
    return CFile::Read(buffer, count);
}

void CStdioFile::Write(const void* buffer, UINT count) {
    if (m_fd < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    const char* bytes = static_cast<const char*>(buffer);
    for (UINT i = 0; i < count; ++i) {
        if (m_text && bytes[i] == '\n') m_pending += '\r';
        m_pending += bytes[i];
    }
}

void CStdioFile::WriteString(const char* text) {
    if (text == nullptr) AfxThrowInvalidArgException();
    Write(text, static_cast<UINT>(std::strlen(text)));
}

ULONGLONG CStdioFile::Seek(LONGLONG offset, UINT from) {
    WritePending();
    return CFile::Seek(offset, from);
}

ULONGLONG CStdioFile::GetLength() const {
    return CFile::GetLength() + ((m_fd >= 0) ? m_pending.size() : 0);
}

ULONGLONG CStdioFile::GetPosition() const { return CFile::GetPosition() + m_pending.size(); }

void CStdioFile::WritePending() {
    if (m_pending.empty() || m_fd < 0) return;
    const std::string pending = std::move(m_pending);
    m_pending.clear();
    if (const int osError = WriteAll(m_fd, pending.data(), pending.size())) ThrowOsError(osError);
}

void CStdioFile::Flush() {
    // One write per flush: a line written and flushed reaches the file in one piece.
    WritePending();
}

void CStdioFile::Close() {
    try {
        WritePending();
    } catch (...) {
        CFile::Abort();
        throw;
    }
    CFile::Close();
}

void CStdioFile::Abort() {
    m_pending.clear();
    CFile::Abort();
}

// ---- file system ----

DWORD GetFileAttributesA(const char* path) {
    struct stat info {};
    if (path == nullptr || ::stat(path, &info) != 0) return INVALID_FILE_ATTRIBUTES;
    if (S_ISDIR(info.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
    return (info.st_mode & S_IWUSR) == 0 ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
}

DWORD GetCurrentDirectoryA(DWORD bufferLength, char* buffer) {
    std::string directory(256, '\0');
    while (::getcwd(directory.data(), directory.size()) == nullptr) {
        if (errno != ERANGE) return 0;
        directory.resize(directory.size() * 2);
    }
    directory.resize(std::strlen(directory.c_str()));
    if (buffer == nullptr || bufferLength <= directory.size()) return static_cast<DWORD>(directory.size() + 1);
    std::memcpy(buffer, directory.c_str(), directory.size() + 1);
    return static_cast<DWORD>(directory.size());
}

}  // namespace kv
