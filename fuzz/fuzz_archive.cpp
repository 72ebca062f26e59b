// Archives written by older or foreign programs: Complex and COutContactsVal loaded
// from arbitrary bytes, directly and as archived objects. Input: the first byte picks
// cstMaxOldOutCont (the split of the contact record), the rest is the archive.
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

using Bytes = std::vector<kv::BYTE>;

constexpr kv::DWORD kOldCounts[] = {4, 0, 1, 100, 511, 512, 513, 0xFFFFFFFFU};
constexpr std::size_t kEntryBytes = 18;

// A short archive ends with endOfFile and nothing else; a long enough one loads the
// parts bit for bit.
void LoadComplex(const Bytes& bytes) {
    {
        kv::CMemFile file(bytes);
        kv::CArchive ar(&file, kv::CArchive::load);
        kv::Complex c;
        try {
            c.Serialize(ar);
            KV_FUZZ_CHECK(bytes.size() >= 16);
            double parts[2];
            std::memcpy(parts, bytes.data(), sizeof parts);
            KV_FUZZ_CHECK(kvfuzz::SameBits(c.Re(), parts[0]) && kvfuzz::SameBits(c.Im(), parts[1]));
        } catch (const kv::CArchiveException& e) {
            KV_FUZZ_CHECK(bytes.size() < 16 && e.m_cause == kv::CArchiveException::endOfFile);
        }
    }
    kv::CMemFile file(bytes);
    kv::CArchive ar(&file, kv::CArchive::load);
    kv::Complex c;
    try {
        c.FSerialize(ar);
        KV_FUZZ_CHECK(bytes.size() >= 8);
    } catch (const kv::CArchiveException& e) {
        KV_FUZZ_CHECK(bytes.size() < 8 && e.m_cause == kv::CArchiveException::endOfFile);
    }
}

Bytes Store(kv::COutContactsVal& contacts) {
    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        contacts.Serialize(ar);
        contacts.SerializeRemain(ar);
    }
    return file.Bytes();
}

// Both blocks swallow every loading error; what a whole record reads, it writes back
// unchanged.
void LoadContacts(const Bytes& bytes) {
    const auto contacts = std::make_unique<kv::COutContactsVal>();
    {
        kv::CMemFile file(bytes);
        kv::CArchive ar(&file, kv::CArchive::load);
        contacts->Serialize(ar);
        contacts->SerializeRemain(ar);
    }
    constexpr std::size_t kRecordBytes = kv::COutContactsVal::kEntryCount * kEntryBytes;
    if (bytes.size() < kRecordBytes) return;
    const Bytes stored = Store(*contacts);
    KV_FUZZ_CHECK(stored.size() == kRecordBytes && std::memcmp(stored.data(), bytes.data(), kRecordBytes) == 0);
}

// Objects with their class names: anything malformed is a CArchiveException.
void LoadObjects(const Bytes& bytes) {
    std::set<kv::CObject*> loaded;  // a back-reference returns an object again
    {
        kv::CMemFile file(bytes);
        kv::CArchive ar(&file, kv::CArchive::load);
        try {
            for (int i = 0; i < 8; ++i) {
                kv::CObject* object = ar.ReadObject(&kv::COutContactsVal::classCOutContactsVal);
                if (object != nullptr) {
                    KV_FUZZ_CHECK(object->IsKindOf(&kv::COutContactsVal::classCOutContactsVal));
                    loaded.insert(object);
                }
            }
        } catch (const kv::CArchiveException&) {
        }
    }
    for (kv::CObject* object : loaded) delete object;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    kv::cstMaxOldOutCont = kOldCounts[data[0] % std::size(kOldCounts)];
    const Bytes bytes(data + 1, data + size);
    LoadComplex(bytes);
    LoadContacts(bytes);
    LoadObjects(bytes);
    return 0;
}
