// The output-contact configuration record and its two archive blocks.

#include <algorithm>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/State.h"

namespace kv {

// Registered with the other start-up objects in Globals.cpp, at its place in the
// start-up order.
KV_IMPLEMENT_RUNTIMECLASS(COutContactsVal, CObject, 1)

namespace {

// 18 bytes an entry; the second field of each pair comes first.
void StoreEntry(CArchive& ar, const COutContactEntry& entry) {
    ar << entry.byFlag2 << entry.byFlag1 << entry.dValue2 << entry.dValue1;
}

// Reads straight into the entry, so that the fields read before a failure keep
// their new values.
void LoadEntry(CArchive& ar, COutContactEntry& entry) {
    ar >> entry.byFlag2 >> entry.byFlag1 >> entry.dValue2 >> entry.dValue1;
}

// The entries of the first block. cstMaxOldOutCont is the caller's to set; beyond the
// array the block ends with the array.
int OldEntryCount() {
    return static_cast<int>(std::min<DWORD>(cstMaxOldOutCont, COutContactsVal::kEntryCount));
}

}  // namespace

COutContactsVal::COutContactsVal(const COutContactsVal& other) = default;

COutContactsVal& COutContactsVal::operator=(const COutContactsVal& other) = default;

int COutContactsVal::operator==(const COutContactsVal& other) const {
    for (int i = 0; i < kEntryCount; ++i) {
        const COutContactEntry& a = m_aEntry[i];
        const COutContactEntry& b = other.m_aEntry[i];
        if (a.byFlag1 != b.byFlag1 || a.byFlag2 != b.byFlag2 || a.dValue1 != b.dValue1 ||
            a.dValue2 != b.dValue2 || a.strText != b.strText || a.dValue3 != b.dValue3 ||
            a.dValue4 != b.dValue4)
            return 0;
    }
    return 1;
}

void COutContactsVal::Serialize(CArchive& ar) {
    const int count = OldEntryCount();
    try {
        if (ar.IsStoring()) {
            for (int i = 0; i < count; ++i) StoreEntry(ar, m_aEntry[i]);
        } else {
            for (int i = 0; i < count; ++i) LoadEntry(ar, m_aEntry[i]);
        }
    } catch (const CException&) {
        // Deliberately silent: callers read older or damaged files through this block
        // and carry on with whatever was read.
    }
}

void COutContactsVal::SerializeRemain(CArchive& ar) {
    if (cstMaxOldOutCont >= static_cast<DWORD>(kEntryCount)) return;
    const int first = static_cast<int>(cstMaxOldOutCont);
    if (ar.IsStoring()) {
        for (int i = first; i < kEntryCount; ++i) StoreEntry(ar, m_aEntry[i]);
        return;
    }
    try {
        for (int i = first; i < kEntryCount; ++i) LoadEntry(ar, m_aEntry[i]);
    } catch (const CException&) {
        // A file from before these contacts existed ends here. Nothing of the block is
        // trusted then, not even the entries read completely.
        for (int i = first; i < kEntryCount; ++i) {
            COutContactEntry& entry = m_aEntry[i];
            entry.byFlag2 = 0;
            entry.byFlag1 = 0;
            entry.dValue1 = 0.0;
            entry.dValue2 = 0.1;
        }
    }
}

}  // namespace kv
