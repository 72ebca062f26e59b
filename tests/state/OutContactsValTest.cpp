#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "Kv_Data.h"

namespace {

using namespace kv;
using Bytes = std::vector<BYTE>;
using Block = void (COutContactsVal::*)(CArchive&);

// A file whose every write fails, as on a full disk.
class FailingFile : public CMemFile {
public:
    void Write(const void*, UINT) override { AfxThrowFileException(CFileException::diskFull); }
};

class OutContactsVal : public ::testing::Test {
protected:
    void TearDown() override { cstMaxOldOutCont = m_savedOldCount; }

    static Bytes Store(COutContactsVal& object, Block block) {
        CMemFile file;
        {
            CArchive ar(&file, CArchive::store);
            (object.*block)(ar);
        }
        return file.Bytes();
    }
    static void Load(COutContactsVal& object, Block block, Bytes bytes) {
        CMemFile file(std::move(bytes));
        CArchive ar(&file, CArchive::load);
        (object.*block)(ar);
    }

    std::unique_ptr<COutContactsVal> m_a = std::make_unique<COutContactsVal>();  // 512 entries: on the heap
    std::unique_ptr<COutContactsVal> m_b = std::make_unique<COutContactsVal>();

private:
    DWORD m_savedOldCount = cstMaxOldOutCont;
};

TEST_F(OutContactsVal, BlocksHold18BytesAnEntrySecondFieldFirst) {
    EXPECT_EQ(Store(*m_a, &COutContactsVal::SerializeRemain), Bytes(9144, 0));
    COutContactEntry& e = m_a->m_aEntry[0];
    e = {1, 2, 1.5, 0.25, "never stored", 7.0, 7.0};
    Bytes expected = {0x02, 0x01, 0, 0, 0, 0, 0, 0, 0xD0, 0x3F, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    expected.resize(72, 0);
    EXPECT_EQ(Store(*m_a, &COutContactsVal::Serialize), expected);

    Load(*m_b, &COutContactsVal::Serialize, expected);
    EXPECT_EQ(*m_a == *m_b, 0);  // text and the last two values live in memory only
    m_b->m_aEntry[0].strText = "never stored", m_b->m_aEntry[0].dValue3 = m_b->m_aEntry[0].dValue4 = 7.0;
    EXPECT_EQ(*m_a == *m_b, 1);
}

// Entry layout: byFlag2, byFlag1, dValue2, dValue1; a field counts once it is whole. A
// first block that ends anywhere keeps what was read, silently; a second block that is
// short resets the stored fields of all its entries, those read whole too.
TEST_F(OutContactsVal, BlocksEndingAnywhereKeepWhatWasReadOrResetTheSecondBlock) {
    constexpr int kOld = 4;
    cstMaxOldOutCont = kOld;
    for (int i = 0; i < COutContactsVal::kEntryCount; ++i) m_a->m_aEntry[i] = {1, 2, 0.5 + i, 0.25 + i, "", 0, 0};
    Bytes all = Store(*m_a, &COutContactsVal::Serialize);
    const Bytes remain = Store(*m_a, &COutContactsVal::SerializeRemain);
    all.insert(all.end(), remain.begin(), remain.end());
    for (int cut = 0; cut < 18 * kOld + 40; ++cut) {
        for (COutContactEntry& e : m_b->m_aEntry) e = {9, 9, 9.0, 9.0, "kept", 9.0, 9.0};
        CMemFile file(Bytes(all.begin(), all.begin() + cut));
        CArchive ar(&file, CArchive::load);
        EXPECT_NO_THROW(m_b->Serialize(ar));
        EXPECT_NO_THROW(m_b->SerializeRemain(ar));
        for (int i = 0; i < COutContactsVal::kEntryCount; ++i) {
            const COutContactEntry& e = m_b->m_aEntry[i];
            const int have = i < kOld ? cut - 18 * i : 0;
            const bool reset = i >= kOld;
            ASSERT_TRUE(e.byFlag2 == (have >= 1 ? 2 : reset ? 0 : 9) && e.byFlag1 == (have >= 2 ? 1 : reset ? 0 : 9) &&
                        e.dValue2 == (have >= 10 ? 0.25 + i : reset ? 0.1 : 9.0) &&
                        e.dValue1 == (have >= 18 ? 0.5 + i : reset ? 0.0 : 9.0) && e.strText == "kept" &&
                        e.dValue3 == 9.0 && e.dValue4 == 9.0)
                << cut << " " << i;
        }
    }
}

TEST_F(OutContactsVal, OnlySerializeRemainReportsStoringErrors) {
    FailingFile file;
    CArchive ar(&file, CArchive::store, 16);  // a small buffer reaches the file at once
    EXPECT_NO_THROW(m_a->Serialize(ar));
    EXPECT_THROW(m_a->SerializeRemain(ar), CFileException);
}

TEST_F(OutContactsVal, OldCountAtOrAbove512LeavesNoSecondBlock) {
    m_a->m_aEntry[511].dValue2 = 5.0;
    for (const DWORD count : {512u, 100000u}) {
        cstMaxOldOutCont = count;
        EXPECT_EQ(Store(*m_a, &COutContactsVal::Serialize).size(), 512u * 18u);  // never past the array
        EXPECT_TRUE(Store(*m_a, &COutContactsVal::SerializeRemain).empty());
        Load(*m_a, &COutContactsVal::SerializeRemain, {});
        EXPECT_EQ(m_a->m_aEntry[511].dValue2, 5.0);
    }
}

TEST_F(OutContactsVal, ComparisonIsExactAndCaseSensitive) {
    m_b->m_aEntry[511].strText = "x", m_a->m_aEntry[511].strText = "X";
    EXPECT_EQ(*m_a == *m_b, 0);
    EXPECT_EQ(COutContactsVal(*m_b) == *m_b, 1);
    m_b->m_aEntry[7].dValue4 = std::nan("");
    EXPECT_EQ(*m_b == *m_b, 0);  // a NaN equals nothing, itself included
}

TEST_F(OutContactsVal, ArchivesCreateTheClassByName) {
    ASSERT_EQ(CRuntimeClass::FromName("COutContactsVal"), KV_RUNTIME_CLASS(COutContactsVal));
    EXPECT_EQ(KV_RUNTIME_CLASS(COutContactsVal)->m_wSchema, 1u);

    m_a->m_aEntry[3].dValue1 = 42.0;
    CMemFile file;
    CArchive(&file, CArchive::store).WriteObject(m_a.get());
    // Tag 0xFFFF, schema 1, the name's length and the name, then the first block.
    EXPECT_EQ(file.Bytes().size(), 6u + 15u + 72u);
    CMemFile in(file.Bytes());
    const std::unique_ptr<CObject> loaded(CArchive(&in, CArchive::load).ReadObject(nullptr));
    ASSERT_TRUE(loaded && loaded->IsKindOf(KV_RUNTIME_CLASS(COutContactsVal)));
    EXPECT_EQ(static_cast<COutContactsVal&>(*loaded) == *m_a, 1);
}

}  // namespace
