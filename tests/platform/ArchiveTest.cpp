#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
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

int LoadCause(Bytes bytes) {
    CMemFile file(std::move(bytes));
    CArchive ar(&file, CArchive::load);
    return CauseOf([&] { std::unique_ptr<CObject> object(ar.ReadObject(nullptr)); });
}

TEST(ArchiveTest, StoresLittleEndianImagesWithNothingBetween) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    ar << BYTE{2} << BYTE{1} << 0.25 << 1.5;
    ar.Close();
    const Bytes expected = {2, 1, 0, 0, 0, 0, 0, 0, 0xD0, 0x3F, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    EXPECT_EQ(file.Bytes(), expected);

    CMemFile other;
    {
        CArchive ar2(&other, CArchive::store);
        ar2 << kv::WORD{0x1234} << kv::DWORD{0x89ABCDEFU} << kv::LONG{-2} << 1.0F << char{'A'};
    }  // the destructor closes the archive
    const Bytes expected2 = {0x34, 0x12, 0xEF, 0xCD, 0xAB, 0x89, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0x80, 0x3F, 'A'};
    EXPECT_EQ(other.Bytes(), expected2);
}

TEST(ArchiveTest, RoundTripIsBitExact) {
    const double doubles[] = {-0.0, std::bit_cast<double>(std::uint64_t{0xFFF80000DEADBEEFULL}),  // NaN payload
                              std::numeric_limits<double>::denorm_min(), 1.0 / 3.0, -1e300};
    const float floats[] = {-0.0F, std::bit_cast<float>(std::uint32_t{0x7FC0ABCDU}), 0.1F};
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store, 8);  // a small buffer reaches the file many times
        for (const double d : doubles) ar << d;
        for (const float f : floats) ar << f;
    }
    ASSERT_EQ(file.Bytes().size(), 8U * std::size(doubles) + 4U * std::size(floats));
    CMemFile in(file.Bytes());
    CArchive ar(&in, CArchive::load);
    for (const double expected : doubles) {
        double d = 0;
        ar >> d;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(d), std::bit_cast<std::uint64_t>(expected));
    }
    for (const float expected : floats) {
        float f = 0;
        ar >> f;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(f), std::bit_cast<std::uint32_t>(expected));
    }
}

TEST(ArchiveTest, EachMisuseReportsItsCause) {
    BYTE b = 0;
    double d = 0;
    CMemFile cut(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9});
    CArchive loading(&cut, CArchive::load);
    loading >> d;
    EXPECT_EQ(CauseOf([&] { loading >> d; }), CArchiveException::endOfFile);  // one byte of a double
    EXPECT_EQ(CauseOf([&] { loading << BYTE{1}; }), CArchiveException::readOnly);

    CMemFile sink;
    CArchive storing(&sink, CArchive::store);
    EXPECT_EQ(CauseOf([&] { storing >> d; }), CArchiveException::writeOnly);
    EXPECT_EQ(CauseOf([&] { storing.Read(&b, 1); }), CArchiveException::writeOnly);
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
}

TEST(ArchiveTest, MalformedObjectDataReportsItsCause) {
    EXPECT_EQ(LoadCause(ClassReference(3, "NoSuchClassAnywhere")), CArchiveException::badClass);
    EXPECT_EQ(LoadCause(ClassReference(4, "CArchiveTestPoint")), CArchiveException::badSchema);
    EXPECT_EQ(LoadCause(Bytes{0x05, 0x00}), CArchiveException::badIndex);  // an object never read
    EXPECT_EQ(LoadCause(Bytes{0x01, 0x80}), CArchiveException::badIndex);  // a class never read
    Bytes cut = ClassReference(3, "CArchiveTestPoint");
    cut.insert(cut.end(), {1, 0, 0, 0});  // the object's double is missing
    EXPECT_EQ(LoadCause(cut), CArchiveException::endOfFile);

    CMemFile file(ClassReference(1, "CArchiveTestTag"));
    CArchive ar(&file, CArchive::load);
    EXPECT_EQ(CauseOf([&] { delete ar.ReadObject(KV_RUNTIME_CLASS(CArchiveTestPoint)); }),
              CArchiveException::badClass);  // not of the class asked for
}

TEST(ObjectTest, FromNameFindsRegisteredClassesOnly) {
    kv::CRuntimeClass* found = kv::CRuntimeClass::FromName("CArchiveTestPoint");
    EXPECT_EQ(found, KV_RUNTIME_CLASS(CArchiveTestPoint));
    EXPECT_EQ(kv::CRuntimeClass::FromName("CArchiveTestTag"), KV_RUNTIME_CLASS(CArchiveTestTag));
    EXPECT_EQ(kv::CRuntimeClass::FromName("CArchiveTestPoin"), nullptr);
    EXPECT_EQ(kv::CRuntimeClass::FromName(nullptr), nullptr);
    ASSERT_NE(found, nullptr);
    const std::unique_ptr<CObject> created(found->CreateObject());
    EXPECT_TRUE(created->IsKindOf(KV_RUNTIME_CLASS(CArchiveTestPoint)));
}

}  // namespace
