#include <bit>
#include <cstring>

#include "Kv_Data/PlatformFile.h"

namespace kv {

static_assert(std::endian::native == std::endian::little,
              "archive images are little-endian and are copied as they lie in memory");

namespace {

// Tags of the object mechanism, as the platform's archives write them.
constexpr WORD kNullTag = 0;
constexpr WORD kNewClassTag = 0xFFFF;
constexpr WORD kClassTag = 0x8000;
constexpr WORD kBigObjectTag = 0x7FFF;
constexpr DWORD kBigClassTag = 0x80000000U;
constexpr DWORD kMaxMapCount = 0x3FFFFFFE;

}  // namespace

CArchive::CArchive(CFile* file, UINT mode, int bufferSize, void*)
    : m_pFile(file), m_nMode(mode), m_bufferSize(bufferSize > 0 ? static_cast<std::size_t>(bufferSize) : 4096) {
    if (file == nullptr) AfxThrowInvalidArgException();
    m_strFileName = file->GetFilePath();
    m_loadArray.push_back({nullptr, nullptr, 0});
}

CArchive::~CArchive() {
    if (m_pFile == nullptr) return;
    if (m_nMode & bNoFlushOnDelete) {
        Abort();
        return;
    }
    try {
        Close();
    } catch (const CException&) {
        // Nothing may leave a destructor; a caller who cares calls Close itself.
        m_pFile = nullptr;
    }
}

void CArchive::Flush() {
    if (m_pFile == nullptr || IsLoading() || m_pending.empty()) return;
    const std::vector<BYTE> pending = std::move(m_pending);
    m_pending.clear();
    m_pFile->Write(pending.data(), static_cast<UINT>(pending.size()));
}

void CArchive::Close() {
    Flush();
    m_pFile = nullptr;
}

void CArchive::Abort() {
    m_pending.clear();
    m_pFile = nullptr;
}

void CArchive::RequireStoring() const {
    if (m_pFile == nullptr) AfxThrowArchiveException(CArchiveException::generic, m_strFileName);
    if (!IsStoring()) AfxThrowArchiveException(CArchiveException::readOnly, m_strFileName);
}

void CArchive::RequireLoading() const {
    if (m_pFile == nullptr) AfxThrowArchiveException(CArchiveException::generic, m_strFileName);
    if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly, m_strFileName);
}

UINT CArchive::Read(void* buffer, UINT count) {
    RequireLoading();
    return m_pFile->Read(buffer, count);
}

void CArchive::Write(const void* buffer, UINT count) {
    RequireStoring();
    WriteBytes(buffer, count);
}

void CArchive::WriteBytes(const void* buffer, UINT count) {
    const BYTE* bytes = static_cast<const BYTE*>(buffer);
    m_pending.insert(m_pending.end(), bytes, bytes + count);
    if (m_pending.size() >= m_bufferSize) Flush();
}

void CArchive::ReadExactly(void* buffer, UINT count) {
    if (m_pFile->Read(buffer, count) != count) AfxThrowArchiveException(CArchiveException::endOfFile, m_strFileName);
}

template <class T>
CArchive& CArchive::Put(T value) {
    RequireStoring();
    BYTE image[sizeof(T)];
    std::memcpy(image, &value, sizeof(T));
    WriteBytes(image, sizeof(T));
    return *this;
}

template <class T>
CArchive& CArchive::Get(T& value) {
    RequireLoading();
    BYTE image[sizeof(T)];
    ReadExactly(image, sizeof(T));
    std::memcpy(&value, image, sizeof(T));
    return *this;
}

CArchive& CArchive::operator<<(BYTE value) { return Put(value); }
CArchive& CArchive::operator<<(char value) { return Put(value); }
CArchive& CArchive::operator<<(WORD value) { return Put(value); }
CArchive& CArchive::operator<<(short value) { return Put(value); }
CArchive& CArchive::operator<<(DWORD value) { return Put(value); }
CArchive& CArchive::operator<<(int value) { return Put(value); }
CArchive& CArchive::operator<<(LONGLONG value) { return Put(value); }
CArchive& CArchive::operator<<(ULONGLONG value) { return Put(value); }
CArchive& CArchive::operator<<(float value) { return Put(value); }
CArchive& CArchive::operator<<(double value) { return Put(value); }

CArchive& CArchive::operator>>(BYTE& value) { return Get(value); }
CArchive& CArchive::operator>>(char& value) { return Get(value); }
CArchive& CArchive::operator>>(WORD& value) { return Get(value); }
CArchive& CArchive::operator>>(short& value) { return Get(value); }
CArchive& CArchive::operator>>(DWORD& value) { return Get(value); }
CArchive& CArchive::operator>>(int& value) { return Get(value); }
CArchive& CArchive::operator>>(LONGLONG& value) { return Get(value); }
CArchive& CArchive::operator>>(ULONGLONG& value) { return Get(value); }
CArchive& CArchive::operator>>(float& value) { return Get(value); }
CArchive& CArchive::operator>>(double& value) { return Get(value); }

void CArchive::WriteClass(const CRuntimeClass* classRef) {
    RequireStoring();
    if (classRef == nullptr || classRef->m_wSchema == 0xFFFF)
        AfxThrowArchiveException(CArchiveException::badClass, m_strFileName);
    if (const auto known = m_storeMap.find(classRef); known != m_storeMap.end()) {
        if (known->second < kBigObjectTag)
            *this << static_cast<WORD>(kClassTag | known->second);
        else
            *this << kBigObjectTag << (kBigClassTag | known->second);
        return;
    }
    *this << kNewClassTag;
    classRef->Store(*this);
    if (m_nMapCount > kMaxMapCount) AfxThrowArchiveException(CArchiveException::badIndex, m_strFileName);
    m_storeMap[classRef] = m_nMapCount++;
}

void CArchive::WriteObject(const CObject* object) {
    RequireStoring();
    if (object == nullptr) {
        *this << kNullTag;
        return;
    }
    if (const auto known = m_storeMap.find(object); known != m_storeMap.end()) {
        if (known->second < kBigObjectTag)
            *this << static_cast<WORD>(known->second);
        else
            *this << kBigObjectTag << known->second;
        return;
    }
    WriteClass(object->GetRuntimeClass());
    if (m_nMapCount > kMaxMapCount) AfxThrowArchiveException(CArchiveException::badIndex, m_strFileName);
    m_storeMap[object] = m_nMapCount++;
    const_cast<CObject*>(object)->Serialize(*this);
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* requested, UINT* schema, DWORD* objectTag) {
    RequireLoading();
    WORD tag = 0;
    *this >> tag;
    DWORD fullTag = 0;
    if (tag == kBigObjectTag)
        *this >> fullTag;
    else
        fullTag = (static_cast<DWORD>(tag & kClassTag) << 16) | (tag & ~static_cast<DWORD>(kClassTag));

    if (!(fullTag & kBigClassTag)) {  // a reference to an object, not a class
        if (objectTag != nullptr) *objectTag = fullTag;
        return nullptr;
    }

    CRuntimeClass* classRef = nullptr;
    UINT storedSchema = 0;
    if (tag == kNewClassTag) {
        classRef = CRuntimeClass::Load(*this, &storedSchema);
        if (classRef == nullptr) AfxThrowArchiveException(CArchiveException::badClass, m_strFileName);
        if ((classRef->m_wSchema & ~VERSIONABLE_SCHEMA) != storedSchema &&
            !(classRef->m_wSchema & VERSIONABLE_SCHEMA))
            AfxThrowArchiveException(CArchiveException::badSchema, m_strFileName);
        m_loadArray.push_back({nullptr, classRef, storedSchema});
    } else {
        const DWORD index = fullTag & ~kBigClassTag;
        if (index == 0 || index >= m_loadArray.size() || m_loadArray[index].classRef == nullptr)
            AfxThrowArchiveException(CArchiveException::badIndex, m_strFileName);
        classRef = m_loadArray[index].classRef;
        storedSchema = m_loadArray[index].schema;
    }
    if (requested != nullptr && !classRef->IsDerivedFrom(requested))
        AfxThrowArchiveException(CArchiveException::badClass, m_strFileName);
    if (schema != nullptr) *schema = storedSchema;
    return classRef;
}

CObject* CArchive::ReadObject(const CRuntimeClass* requested) {
    UINT schema = 0;
    DWORD objectTag = 0;
    CRuntimeClass* classRef = ReadClass(requested, &schema, &objectTag);
    if (classRef == nullptr) {
        if (objectTag >= m_loadArray.size() || (objectTag != 0 && m_loadArray[objectTag].object == nullptr))
            AfxThrowArchiveException(CArchiveException::badIndex, m_strFileName);
        CObject* object = m_loadArray[objectTag].object;
        if (object != nullptr && requested != nullptr && !object->IsKindOf(requested))
            AfxThrowArchiveException(CArchiveException::badClass, m_strFileName);
        return object;
    }
    CObject* object = classRef->CreateObject();
    if (object == nullptr) AfxThrowArchiveException(CArchiveException::badClass, m_strFileName);
    const std::size_t slot = m_loadArray.size();
    m_loadArray.push_back({object, nullptr, 0});
    try {
        m_nObjectSchema = schema;
        object->Serialize(*this);
    } catch (...) {
        // The object never reaches the caller: drop it rather than leak it.
        m_loadArray.resize(slot);
        delete object;
        throw;
    }
    return object;
}

UINT CArchive::GetObjectSchema() {
    const UINT schema = m_nObjectSchema;
    m_nObjectSchema = static_cast<UINT>(-1);
    return schema;
}

CArchive& operator<<(CArchive& ar, const CObject* object) {
    ar.WriteObject(object);
    return ar;
}

CArchive& operator>>(CArchive& ar, CObject*& object) {
    object = ar.ReadObject(nullptr);
    return ar;
}

}  // namespace kv
