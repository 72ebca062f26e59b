// Serialisable classes: CObject, the runtime-class record CRuntimeClass and the
// registry that FromName searches. A class becomes serialisable with
// KV_DECLARE_SERIAL in its body and one KV_IMPLEMENT_SERIAL line in its unit.
#pragma once

#include <cstdio>

#include "Kv_Data/PlatformTypes.h"

namespace kv {

class CArchive;
class CObject;

// Where Dump writes: standard error unless another stream is given.
class KV_DATA_API CDumpContext {
public:
    explicit CDumpContext(std::FILE* out = nullptr);
    CDumpContext& operator<<(const char* text);

private:
    std::FILE* m_out;
};

// The schema bit that lets a class load older schemas of itself.
inline constexpr UINT VERSIONABLE_SCHEMA = 0x80000000U;

// Plain aggregate, so that a class's record is constant-initialised and usable
// before any constructor of the library has run.
struct KV_DATA_API CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    UINT m_wSchema;  // 0xFFFF for a class that cannot be stored
    CObject* (*m_pfnCreateObject)();
    CRuntimeClass* m_pBaseClass;

    CObject* CreateObject() const;  // null for a class without a factory
    BOOL IsDerivedFrom(const CRuntimeClass* base) const;

    // A class registered with AfxClassInit, by its name; null when none is.
    static CRuntimeClass* FromName(const char* className);

    // The class reference of an archive: schema (WORD), name length (WORD), name.
    void Store(CArchive& ar) const;
    static CRuntimeClass* Load(CArchive& ar, UINT* schema);
};

KV_DATA_API void AfxClassInit(CRuntimeClass* newClass);

// A static instance registers a class while the library or program starts.
struct KV_DATA_API AFX_CLASSINIT {
    explicit AFX_CLASSINIT(CRuntimeClass* newClass) { AfxClassInit(newClass); }
};

class KV_DATA_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;
    virtual void Serialize(CArchive& ar);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& dc) const;

    BOOL IsKindOf(const CRuntimeClass* c) const;
    BOOL IsSerializable() const;

    static CRuntimeClass classCObject;

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

}  // namespace kv

#define KV_RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define KV_DECLARE_SERIAL(class_name)                             \
public:                                                           \
    static ::kv::CRuntimeClass class##class_name;                 \
    static ::kv::CRuntimeClass* GetThisClass();                   \
    ::kv::CRuntimeClass* GetRuntimeClass() const override;        \
    static ::kv::CObject* CreateObject();

// The runtime class of a serialisable class, without registering it.
#define KV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema)                             \
    ::kv::CObject* class_name::CreateObject() { return new class_name; }                           \
    ::kv::CRuntimeClass class_name::class##class_name = {#class_name, sizeof(class_name), schema,  \
                                                         class_name::CreateObject,                 \
                                                         KV_RUNTIME_CLASS(base_class_name)};       \
    ::kv::CRuntimeClass* class_name::GetThisClass() { return KV_RUNTIME_CLASS(class_name); }       \
    ::kv::CRuntimeClass* class_name::GetRuntimeClass() const { return KV_RUNTIME_CLASS(class_name); }

// The runtime class, registered at start-up so that archives can create it by name.
#define KV_IMPLEMENT_SERIAL(class_name, base_class_name, schema)   \
    KV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema) \
    static ::kv::AFX_CLASSINIT kv_classinit_##class_name(KV_RUNTIME_CLASS(class_name));
