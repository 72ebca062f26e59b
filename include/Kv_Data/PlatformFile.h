// Files and archives: CFile over an operating-system file, CMemFile in memory,
// CStdioFile for text, and CArchive, which stores and loads typed values as their
// little-endian images with nothing in between.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/PlatformObject.h"
#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"

namespace kv {

class KV_DATA_API CFile {
public:
    enum OpenFlags : UINT {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,     // create the file, truncating it unless modeNoTruncate
        modeNoTruncate = 0x2000,
        typeText = 0x4000,       // CStdioFile: every "\n" written is stored as CR LF
        typeBinary = 0x8000,
        // This layer's own: every write lands at the end of the file in one piece, so
        // that writers in several threads or processes never interleave within a write.
        osAppend = 0x10000,
    };
    enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };

    CFile() = default;
    // Opens the file or throws CFileException.
    CFile(const char* fileName, UINT openFlags);
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();  // closes an open file, ignoring errors

    // FALSE on failure, with the cause in *error when one is given; never throws for that.
    virtual BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
    virtual UINT Read(void* buffer, UINT count);
    virtual void Write(const void* buffer, UINT count);
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    ULONGLONG SeekToEnd() { return Seek(0, end); }
    void SeekToBegin() { Seek(0, begin); }
    virtual ULONGLONG GetLength() const;
    virtual ULONGLONG GetPosition() const;
    virtual void Flush();
    virtual void Close();
    // Closes without reporting errors.
    virtual void Abort();

    bool IsOpen() const { return m_fd >= 0; }
    const CString& GetFilePath() const { return m_strFileName; }

    // Deletes a file; throws CFileException when it cannot (a missing file included).
    static void Remove(const char* fileName);

protected:
    [[noreturn]] void ThrowOsError(int osError) const;

    int m_fd = -1;
    CString m_strFileName;
};

// A file in memory. It starts empty or with the given bytes at position 0.
class KV_DATA_API CMemFile : public CFile {
public:
    CMemFile() = default;
    explicit CMemFile(std::vector<BYTE> bytes);

    BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr) override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetLength() const override;
    ULONGLONG GetPosition() const override;
    void Flush() override;
    void Close() override;
    void Abort() override;

    // Everything written so far.
    const std::vector<BYTE>& Bytes() const { return m_bytes; }

private:
    std::vector<BYTE> m_bytes;
    std::size_t m_position = 0;
};

// A buffered file. In text mode (the default unless typeBinary) every "\n" written is
// stored as CR LF. The buffer reaches the file at Flush, Seek and Close.
class KV_DATA_API CStdioFile : public CFile {
public:
    CStdioFile() = default;
    CStdioFile(const char* fileName, UINT openFlags);
    ~CStdioFile() override;

    BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr) override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    void WriteString(const char* text);
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetLength() const override;
    ULONGLONG GetPosition() const override;
    void Flush() override;
    void Close() override;
    void Abort() override;

private:
    void WritePending();

    bool m_text = true;
    std::string m_pending;
};

class KV_DATA_API CArchive {
public:
    enum Mode : UINT { store = 0, load = 1, bNoFlushOnDelete = 2 };

    CArchive(CFile* file, UINT mode, int bufferSize = 4096, void* buffer = nullptr);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    ~CArchive();  // closes (a storing archive flushes) unless bNoFlushOnDelete

    BOOL IsLoading() const { return (m_nMode & load) != 0; }
    BOOL IsStoring() const { return (m_nMode & load) == 0; }
    CFile* GetFile() const { return m_pFile; }

    // A storing archive's bytes reach the file at Flush, when its buffer fills, and at Close.
    void Flush();
    void Close();
    void Abort();

    UINT Read(void* buffer, UINT count);  // may return fewer bytes at the end of the data
    void Write(const void* buffer, UINT count);

    CArchive& operator<<(BYTE value);
    CArchive& operator<<(char value);
    CArchive& operator<<(WORD value);
    CArchive& operator<<(short value);
    CArchive& operator<<(DWORD value);
    CArchive& operator<<(int value);  // also LONG, which is 32-bit
    CArchive& operator<<(LONGLONG value);
    CArchive& operator<<(ULONGLONG value);
    CArchive& operator<<(float value);
    CArchive& operator<<(double value);

    CArchive& operator>>(BYTE& value);
    CArchive& operator>>(char& value);
    CArchive& operator>>(WORD& value);
    CArchive& operator>>(short& value);
    CArchive& operator>>(DWORD& value);
    CArchive& operator>>(int& value);
    CArchive& operator>>(LONGLONG& value);
    CArchive& operator>>(ULONGLONG& value);
    CArchive& operator>>(float& value);
    CArchive& operator>>(double& value);

    // Objects with their class: the first object of a class writes its class
    // reference (tag 0xFFFF, schema, name), later ones a back-reference; an object
    // stored twice is written once and referred to after.
    void WriteObject(const CObject* object);
    // The new object belongs to the caller. `requested` (may be null) is the class the
    // object must derive from.
    CObject* ReadObject(const CRuntimeClass* requested);
    void WriteClass(const CRuntimeClass* classRef);
    CRuntimeClass* ReadClass(const CRuntimeClass* requested = nullptr, UINT* schema = nullptr,
                             DWORD* objectTag = nullptr);
    // The schema of the object being loaded; (UINT)-1 after the first call.
    UINT GetObjectSchema();

    CString m_strFileName;

private:
    void RequireStoring() const;
    void RequireLoading() const;
    void ReadExactly(void* buffer, UINT count);
    void WriteBytes(const void* buffer, UINT count);
    template <class T>
    CArchive& Put(T value);
    template <class T>
    CArchive& Get(T& value);

    CFile* m_pFile;
    UINT m_nMode;
    std::size_t m_bufferSize;
    std::vector<BYTE> m_pending;  // a storing archive's bytes not yet in the file
    UINT m_nObjectSchema = static_cast<UINT>(-1);
    // Storing: objects and classes already written, by the index they were given.
    std::unordered_map<const void*, DWORD> m_storeMap;
    // Loading: index 0 is the null object; then classes and objects in reading order.
    struct Loaded {
        CObject* object;
        CRuntimeClass* classRef;
        UINT schema;
    };
    std::vector<Loaded> m_loadArray;
    DWORD m_nMapCount = 1;
};

KV_DATA_API CArchive& operator<<(CArchive& ar, const CObject* object);
KV_DATA_API CArchive& operator>>(CArchive& ar, CObject*& object);

// File attributes of a path, as the platform reports them.
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFU;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

KV_DATA_API DWORD GetFileAttributesA(const char* path);
// The current directory into `buffer`; the length written, or the size needed
// (terminator included) when the buffer is too small, or 0 on failure.
KV_DATA_API DWORD GetCurrentDirectoryA(DWORD bufferLength, char* buffer);

}  // namespace kv
