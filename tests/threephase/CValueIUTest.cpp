#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstring>

#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;
using Fields = std::array<double, 24>;

// Twenty-four doubles in field order: the byte images below are the layout test.
static_assert(sizeof(CValueIU) == sizeof(Fields));

Fields FieldsOf(const CValueIU& v) {
    Fields f{};
    std::memcpy(f.data(), &v, sizeof v);
    return f;
}

// The working block as listed, and `sequence` in all twelve fields of the sequence block.
Fields Expected(const std::array<double, 12>& working, double sequence) {
    Fields f{};
    for (std::size_t k = 0; k < 24; ++k) f[k] = k < 12 ? working[k] : sequence;
    return f;
}

void FillSequenceBlock(CValueIU& v, double value) {
    for (std::size_t k = 0; k < 3; ++k) v.dSimI[k] = v.dSimFiI[k] = v.dSimU[k] = v.dSimFiU[k] = value;
}

constexpr std::array<double, 12> kOneToTwelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

TEST(CValueIU, ConstructorsOrderTheirArgumentsDifferently) {
    EXPECT_EQ(FieldsOf(CValueIU()), Fields{});
    EXPECT_EQ(FieldsOf(CValueIU(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12)), Expected(kOneToTwelve, 0));
    EXPECT_EQ(FieldsOf(CValueIU(5, 6)), Expected({5, 6}, 0));  // the rest default to 0
    // The array is voltages first, magnitude and angle interleaved per phase.
    double p[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(FieldsOf(CValueIU(p)), Expected({7, 9, 11, 8, 10, 12, 1, 3, 5, 2, 4, 6}, 0));
    const double constant[12] = {};
    EXPECT_EQ(FieldsOf(CValueIU(constant)), Fields{});
}

TEST(CValueIU, SetValueAndAssignmentKeepTheTargetsSequenceBlockButCopiesCarryIt) {
    CValueIU v;
    FillSequenceBlock(v, 7.5);
    v.SetValueIU(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    EXPECT_EQ(FieldsOf(v), Expected(kOneToTwelve, 7.5));

    CValueIU source(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    FillSequenceBlock(source, 99.0);
    CValueIU target(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    FillSequenceBlock(target, 3.0);
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(FieldsOf(target), Expected(kOneToTwelve, 3.0));
    target = CValueIU();  // a temporary binds too
    EXPECT_EQ(FieldsOf(target), Expected({}, 3.0));

    const auto passThrough = [](CValueIU copy) { return copy; };
    EXPECT_EQ(FieldsOf(passThrough(source)), Expected(kOneToTwelve, 99.0));
}

TEST(CValueIU, GettersNumberCurrentsBeforeVoltagesAndAnswerMinusOneOutside) {
    const CValueIU v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    for (int n = 0; n < 3; ++n) {
        EXPECT_TRUE(v.GetI(n) == n + 1 && v.GetFiI(n) == n + 4 && v.GetU(n) == n + 7 && v.GetFiU(n) == n + 10) << n;
        EXPECT_TRUE(v.GetUI(n) == n + 1 && v.GetFUI(n) == n + 4 && v.GetUI(n + 3) == n + 7 && v.GetFUI(n + 3) == n + 10);
    }
    for (const int bad : {-1, 3, INT_MIN, INT_MAX}) {
        const int combined = bad == 3 ? 6 : bad;  // the first index past the end of each
        for (const double got : {v.GetI(bad), v.GetFiI(bad), v.GetU(bad), v.GetFiU(bad), v.GetUI(combined),
                                 v.GetFUI(combined)})
            EXPECT_EQ(got, -1.0) << bad;
    }
}

}  // namespace
