#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformObject.h"

namespace kv {

namespace {

struct ClassRegistry {
    std::mutex mutex;
    std::vector<CRuntimeClass*> classes;
};

ClassRegistry& Registry() {
    static ClassRegistry registry;
    return registry;
}

// Longest class name an archive may carry, as the platform's reader allows.
constexpr WORD kMaxClassNameLength = 63;

}  // namespace

CDumpContext::CDumpContext(std::FILE* out) : m_out(out) {}

CDumpContext& CDumpContext::operator<<(const char* text) {
    std::fputs(text != nullptr ? text : "", m_out != nullptr ? m_out : stderr);
    return *this;
}

CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, nullptr, nullptr};

CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }
void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext&) const {}

BOOL CObject::IsKindOf(const CRuntimeClass* c) const { return GetRuntimeClass()->IsDerivedFrom(c); }

BOOL CObject::IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }

CObject* CRuntimeClass::CreateObject() const {
    if (m_pfnCreateObject == nullptr) return nullptr;
    try {
        return m_pfnCreateObject();
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    }
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c != nullptr; c = c->m_pBaseClass)
        if (c == base) return TRUE;
    return FALSE;
}

CRuntimeClass* CRuntimeClass::FromName(const char* className) {
    if (className == nullptr) return nullptr;
    ClassRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    for (CRuntimeClass* c : registry.classes)
        if (std::strcmp(c->m_lpszClassName, className) == 0) return c;
    return nullptr;
}

void CRuntimeClass::Store(CArchive& ar) const {
    const auto length = static_cast<WORD>(std::strlen(m_lpszClassName));
    ar << static_cast<WORD>(m_wSchema) << length;
    ar.Write(m_lpszClassName, length);
}

CRuntimeClass* CRuntimeClass::Load(CArchive& ar, UINT* schema) {
    WORD storedSchema = 0;
    WORD length = 0;
    ar >> storedSchema >> length;
    char name[kMaxClassNameLength + 1] = {};
    if (length > kMaxClassNameLength || ar.Read(name, length) != length) return nullptr;
    if (schema != nullptr) *schema = storedSchema;
    return FromName(name);
}

void AfxClassInit(CRuntimeClass* newClass) {
    ClassRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    if (std::find(registry.classes.begin(), registry.classes.end(), newClass) == registry.classes.end())
        registry.classes.push_back(newClass);
}

}  // namespace kv
