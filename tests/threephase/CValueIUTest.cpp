#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

void ExpectTriple(const double (&actual)[3], double a, double b, double c) {
    EXPECT_EQ(actual[0], a);
    EXPECT_EQ(actual[1], b);
    EXPECT_EQ(actual[2], c);
}

void ExpectSequenceBlock(const CValueIU& v, double value) {
    ExpectTriple(v.dSimI, value, value, value);
    ExpectTriple(v.dSimFiI, value, value, value);
    ExpectTriple(v.dSimU, value, value, value);
    ExpectTriple(v.dSimFiU, value, value, value);
}

void FillSequenceBlock(CValueIU& v, double value) {
    for (std::size_t k = 0; k < 3; ++k) {
        v.dSimI[k] = value;
        v.dSimFiI[k] = value;
        v.dSimU[k] = value;
        v.dSimFiU[k] = value;
    }
}

TEST(CValueIULayout, TwentyFourDoublesInFieldOrder) {
    static_assert(sizeof(CValueIU) == 24 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dI), 0u);
    EXPECT_EQ(offsetof(CValueIU, dFiI), 3 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dU), 6 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dFiU), 9 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dSimI), 12 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dSimFiI), 15 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dSimU), 18 * sizeof(double));
    EXPECT_EQ(offsetof(CValueIU, dSimFiU), 21 * sizeof(double));
}

TEST(CValueIUConstruction, DefaultIsAllZero) {
    const CValueIU v;
    ExpectTriple(v.dI, 0, 0, 0);
    ExpectTriple(v.dFiI, 0, 0, 0);
    ExpectTriple(v.dU, 0, 0, 0);
    ExpectTriple(v.dFiU, 0, 0, 0);
    ExpectSequenceBlock(v, 0.0);
}

TEST(CValueIUConstruction, TwelveArgumentsAreCurrentsFirstMagnitudesBeforeAngles) {
    const CValueIU v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    ExpectTriple(v.dI, 1, 2, 3);
    ExpectTriple(v.dFiI, 4, 5, 6);
    ExpectTriple(v.dU, 7, 8, 9);
    ExpectTriple(v.dFiU, 10, 11, 12);
    ExpectSequenceBlock(v, 0.0);

    const CValueIU partial(5, 6);  // the rest default to 0
    ExpectTriple(partial.dI, 5, 6, 0);
    ExpectTriple(partial.dFiU, 0, 0, 0);
}

TEST(CValueIUConstruction, ArrayIsVoltagesFirstInterleavedPerPhase) {
    double p[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const CValueIU v(p);
    ExpectTriple(v.dU, 1, 3, 5);
    ExpectTriple(v.dFiU, 2, 4, 6);
    ExpectTriple(v.dI, 7, 9, 11);
    ExpectTriple(v.dFiI, 8, 10, 12);
    ExpectSequenceBlock(v, 0.0);

    const double constant[12] = {};
    const CValueIU fromConst(constant);
    ExpectTriple(fromConst.dU, 0, 0, 0);
}

TEST(CValueIUConstruction, SetValueIUMatchesTheConstructorAndKeepsTheSequenceBlock) {
    CValueIU v;
    FillSequenceBlock(v, 7.5);
    v.SetValueIU(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    ExpectTriple(v.dI, 1, 2, 3);
    ExpectTriple(v.dFiI, 4, 5, 6);
    ExpectTriple(v.dU, 7, 8, 9);
    ExpectTriple(v.dFiU, 10, 11, 12);
    ExpectSequenceBlock(v, 7.5);
}

TEST(CValueIUCopy, AssignmentCopiesTheWorkingBlockOnly) {
    CValueIU source(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    FillSequenceBlock(source, 99.0);
    CValueIU target(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    FillSequenceBlock(target, 3.0);

    CValueIU& result = (target = source);
    EXPECT_EQ(&result, &target);
    ExpectTriple(target.dI, 1, 2, 3);
    ExpectTriple(target.dFiI, 4, 5, 6);
    ExpectTriple(target.dU, 7, 8, 9);
    ExpectTriple(target.dFiU, 10, 11, 12);
    ExpectSequenceBlock(target, 3.0);

    target = CValueIU();  // a temporary binds too
    ExpectTriple(target.dI, 0, 0, 0);
    ExpectSequenceBlock(target, 3.0);
}

TEST(CValueIUCopy, CopyByValueCarriesAllTwentyFourFields) {
    CValueIU source(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    FillSequenceBlock(source, 42.0);
    const auto passThrough = [](CValueIU v) { return v; };
    const CValueIU copy = passThrough(source);
    ExpectTriple(copy.dI, 1, 2, 3);
    ExpectTriple(copy.dFiU, 10, 11, 12);
    ExpectSequenceBlock(copy, 42.0);
}

TEST(CValueIUGetters, PhaseGettersAndTheirBadIndex) {
    const CValueIU v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    EXPECT_EQ(v.GetI(0), 1);
    EXPECT_EQ(v.GetI(2), 3);
    EXPECT_EQ(v.GetFiI(1), 5);
    EXPECT_EQ(v.GetU(1), 8);
    EXPECT_EQ(v.GetFiU(2), 12);
    for (int bad : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(v.GetI(bad), -1.0) << bad;
        EXPECT_EQ(v.GetFiI(bad), -1.0) << bad;
        EXPECT_EQ(v.GetU(bad), -1.0) << bad;
        EXPECT_EQ(v.GetFiU(bad), -1.0) << bad;
    }
}

TEST(CValueIUGetters, CombinedGettersNumberCurrentsBeforeVoltages) {
    const CValueIU v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    const double ui[6] = {1, 2, 3, 7, 8, 9};
    const double fui[6] = {4, 5, 6, 10, 11, 12};
    for (int n = 0; n < 6; ++n) {
        EXPECT_EQ(v.GetUI(n), ui[n]) << n;
        EXPECT_EQ(v.GetFUI(n), fui[n]) << n;
    }
    for (int bad : {-1, 6, INT_MIN, INT_MAX}) {
        EXPECT_EQ(v.GetUI(bad), -1.0) << bad;
        EXPECT_EQ(v.GetFUI(bad), -1.0) << bad;
    }
}

}  // namespace
