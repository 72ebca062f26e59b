#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "Kv_Data.h"

// Outside the anonymous namespace, so that the runtime-class functions that no test
// calls draw no unused-function warning.
namespace archive_test {

using kv::CArchive;
using kv::CObject;

class CArchiveTestPoint : public CObject {
    KV_DECLARE_SERIAL(CArchiveTestPoint)
public:
    explicit CArchiveTestPoint(int px = 0, double py = 0) : x(px), y(py) {}
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring())
            ar << x << y;
        else
            ar >> x >> y;
    }
    bool operator==(const CArchiveTestPoint& other) const { return x == other.x && y == other.y; }
    int x;
    double y;
};
KV_IMPLEMENT_SERIAL(CArchiveTestPoint, CObject, 3)

class CArchiveTestTag : public CObject {
    KV_DECLARE_SERIAL(CArchiveTestTag)
};
KV_IMPLEMENT_SERIAL(CArchiveTestTag, CObject, 1)

}  // namespace archive_test

namespace {

using archive_test::CArchiveTestPoint;
using archive_test::CArchiveTestTag;
using kv::BYTE;
using kv::CArchive;
using kv::CArchiveException;
using kv::CMemFile;
using kv::CObject;
using Bytes = std::vector<BYTE>;

// The cause of the archive exception that `action` throws; -1 when it throws none.
template <class Action>
int CauseOf(Action action) {
    try {
        action();
    } catch (const CArchiveException& e) {
        return e.m_cause;
    }
    return -1;
}

// A new class as an archive writes it: tag 0xFFFF, schema, name length, name.
Bytes ClassReference(kv::WORD schema, std::string_view name) {
    Bytes bytes = {0xFF, 0xFF, static_cast<BYTE>(schema), static_cast<BYTE>(schema >> 8),
                   static_cast<BYTE>(name.size()), 0};
    for (const char ch : name) bytes.push_back(static_cast<BYTE>(ch));
    return bytes;
}

TEST(ArchiveTest, StoresLittleEndianImagesWithNothingBetweenAndLoadsThemBitExact) {
    const double nan = std::bit_cast<double>(std::uint64_t{0xFFF80000DEADBEEFULL});  // with a payload
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store, 8);  // a small buffer reaches the file many times
        ar << BYTE{2} << kv::WORD{0x1234} << kv::DWORD{0x89ABCDEFU} << kv::LONG{-2} << 1.0F << char{'A'} << 0.25
           << nan << -0.0F;
    }  // the destructor closes the archive
    const Bytes expected = {2, 0x34, 0x12, 0xEF, 0xCD, 0xAB, 0x89, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0x80, 0x3F, 'A',
                            0, 0, 0, 0, 0, 0, 0xD0, 0x3F, 0xEF, 0xBE, 0xAD, 0xDE, 0, 0, 0xF8, 0xFF, 0, 0, 0, 0x80};
    EXPECT_EQ(file.Bytes(), expected);

    CMemFile in(file.Bytes());
    CArchive ar(&in, CArchive::load);
    BYTE b = 0;
    kv::WORD w = 0;
    kv::DWORD dw = 0;
    kv::LONG l = 0;
    float f = 0, z = 0;
    char c = 0;
    double quarter = 0, loadedNan = 0;
    ar >> b >> w >> dw >> l >> f >> c >> quarter >> loadedNan >> z;
    EXPECT_TRUE(b == 2 && w == 0x1234 && dw == 0x89ABCDEFU && l == -2 && f == 1.0F && c == 'A' && quarter == 0.25);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(loadedNan), 0xFFF80000DEADBEEFULL);
    EXPECT_TRUE(std::signbit(z));
}

TEST(ArchiveTest, EachMisuseAndMalformedDataReportsItsCause) {
    Bytes cut = ClassReference(3, "CArchiveTestPoint");
    cut.insert(cut.end(), {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0});  // seven of the eight bytes of its double
    const struct {
        Bytes bytes;
        const kv::CRuntimeClass* requested;
        int cause;
    } loads[] = {
        {ClassReference(3, "NoSuchClassAnywhere"), nullptr, CArchiveException::badClass},
        {ClassReference(4, "CArchiveTestPoint"), nullptr, CArchiveException::badSchema},
        {{0x05, 0x00}, nullptr, CArchiveException::badIndex},  // an object never read
        {{0x01, 0x80}, nullptr, CArchiveException::badIndex},  // a class never read
        {cut, nullptr, CArchiveException::endOfFile},
        {ClassReference(1, "CArchiveTestTag"), KV_RUNTIME_CLASS(CArchiveTestPoint), CArchiveException::badClass},
    };
    for (const auto& load : loads) {
        CMemFile file(load.bytes);
        CArchive ar(&file, CArchive::load);
        EXPECT_EQ(CauseOf([&] { delete ar.ReadObject(load.requested); }), load.cause) << load.bytes.size();
    }
    Bytes tag = ClassReference(1, "CArchiveTestTag");
    tag.insert(tag.end(), {0x01, 0x00});  // then index 1, which is the class, as an object
    CMemFile tagFile(tag);
    CArchive tagAr(&tagFile, CArchive::load);
    delete tagAr.ReadObject(nullptr);
    EXPECT_EQ(CauseOf([&] { tagAr.ReadObject(nullptr); }), CArchiveException::badIndex);

    double d = 0;
    CMemFile source(Bytes{1});
    CArchive loading(&source, CArchive::load);
    EXPECT_EQ(CauseOf([&] { loading << BYTE{1}; }), CArchiveException::readOnly);
    CMemFile sink;
    CArchive storing(&sink, CArchive::store);
    EXPECT_EQ(CauseOf([&] { storing >> d; }), CArchiveException::writeOnly);
    EXPECT_EQ(CauseOf([&] { storing.Read(&d, 1); }), CArchiveException::writeOnly);
}

TEST(ArchiveTest, ObjectsAreRecreatedFromRegisteredClassNamesWithBackReferences) {
    const CArchiveTestPoint a(7, 0.5);
    const CArchiveTestPoint b(-1, 2.0);
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << &a << &b << &a;
        ar.WriteObject(nullptr);
    }
    // Index 1 is the class, 2 and 3 the objects.
    Bytes expected = ClassReference(3, "CArchiveTestPoint");
    const Bytes rest = {7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F,  // a
                        0x01, 0x80,                                 // the class again, by reference
                        0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0x40,  // b
                        0x02, 0x00, 0x00, 0x00};                    // a again, then null
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(file.Bytes(), expected);

    CMemFile in(file.Bytes());
    CArchive ar(&in, CArchive::load);
    CObject* raw = nullptr;
    ar >> raw;
    const std::unique_ptr<CObject> first(raw);
    const std::unique_ptr<CObject> second(ar.ReadObject(KV_RUNTIME_CLASS(CArchiveTestPoint)));
    EXPECT_EQ(ar.ReadObject(KV_RUNTIME_CLASS(CObject)), first.get());
    EXPECT_EQ(ar.ReadObject(nullptr), nullptr);
    ASSERT_TRUE(first->IsKindOf(KV_RUNTIME_CLASS(CArchiveTestPoint)));
    ASSERT_TRUE(second->IsKindOf(KV_RUNTIME_CLASS(CArchiveTestPoint)));
    EXPECT_EQ(static_cast<const CArchiveTestPoint&>(*first), a);
    EXPECT_EQ(static_cast<const CArchiveTestPoint&>(*second), b);

    // Only registered classes are found by name, and only by the whole name.
    EXPECT_EQ(kv::CRuntimeClass::FromName("CArchiveTestTag"), KV_RUNTIME_CLASS(CArchiveTestTag));
    EXPECT_EQ(kv::CRuntimeClass::FromName("CArchiveTestPoin"), nullptr);
    EXPECT_EQ(kv::CRuntimeClass::FromName(nullptr), nullptr);
    kv::CRuntimeClass* found = kv::CRuntimeClass::FromName("CArchiveTestPoint");
    ASSERT_EQ(found, KV_RUNTIME_CLASS(CArchiveTestPoint));
    const std::unique_ptr<CObject> created(found->CreateObject());
    EXPECT_TRUE(created->IsKindOf(KV_RUNTIME_CLASS(CArchiveTestPoint)));
}

}  // namespace
