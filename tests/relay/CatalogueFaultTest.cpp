#include "Kv_Relay/CatalogueFault.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "Kv_Data/State.h"
#include "Kv_Relay/DeviceLimits.h"
#include "Kv_Relay/Error.h"

namespace {

using namespace kv::relay;

bool SameBits(const ThreePhaseSet& a, const ThreePhaseSet& b) {
    for (std::size_t k = 0; k < 3; ++k) {
        const Complex values[] = {a.voltages[k].Value(), b.voltages[k].Value(), a.currents[k].Value(), b.currents[k].Value()};
        if (std::memcmp(&values[0], &values[1], sizeof(Complex)) != 0 ||
            std::memcmp(&values[2], &values[3], sizeof(Complex)) != 0)
            return false;
    }
    return true;
}

TEST(CatalogueFaultTest, ASweepGivesTheVeryBitsOfSingleSyntheses) {
    // Sweeps of U, of phi and across types, where angles stay, change and come back.
    CatalogueSweep sweep;
    CatalogueFault f;
    for (const int type : {6, 1, 16, 35, 6}) {
        f.type = type;
        for (const double phi : {75.0, 75.0, -0.0, 0.0, 180.0, 75.0})
            for (const double u : {0.0, 10.0, 30.0, 57.7, 150.0}) {
                f.u = u;
                f.phi = phi;
                const CatalogueResult single = Synthesise(f), swept = sweep(f);
                EXPECT_EQ(single.result, swept.result);
                EXPECT_TRUE(SameBits(single.phases, swept.phases)) << type << " " << u << " " << phi;
            }
    }
    f.u = -1;
    EXPECT_THROW(sweep(f), Error);
}

TEST(CatalogueFaultTest, ANominalVoltageIsTheSynthesissOwn) {
    CatalogueFault f;
    f.nominalVoltage = 110;
    // The core's values are put back.
    const double line = kv::cstUmax100, phase = kv::cst58V;
    EXPECT_NEAR(Synthesise(f).phases.voltages[2].Magnitude(), 110 / std::sqrt(3.0), 1e-9);
    EXPECT_EQ(kv::cstUmax100, line);
    EXPECT_EQ(kv::cst58V, phase);
}

TEST(CatalogueFaultTest, DeviceLimitsAreJudgedPerQuantityWithWhereTheLargestIs) {
    const double umax = kv::globUmax, umaxAB = kv::globUmaxAB, imax = kv::globImax;
    kv::globUmax = 100;
    kv::globUmaxAB = 200;
    kv::globImax = 10;
    const double phases[] = {10, 101, 30}, lines[] = {200, 5, 6}, currents[] = {1, 2, 3};
    const LimitChecks all = CheckLimits(phases, lines, currents);
    kv::globUmax = umax;
    kv::globUmaxAB = umaxAB;
    kv::globImax = imax;
    ASSERT_EQ(all.count, 3);
    EXPECT_FALSE(all.within);
    EXPECT_TRUE(all.items[0].exceeded);
    EXPECT_STREQ(all.items[0].where, "B");
    EXPECT_FALSE(all.items[1].exceeded);  // at the limit is within it
    EXPECT_STREQ(all.items[1].limitName, "globUmaxAB");
    EXPECT_STREQ(all.items[2].where, "C");
    const LimitChecks currentsOnly = CheckLimits(nullptr, nullptr, currents);
    ASSERT_EQ(currentsOnly.count, 1);
    EXPECT_STREQ(currentsOnly.items[0].key, "phase_currents");
    EXPECT_TRUE(currentsOnly.within);
    EXPECT_THROW(ApplyDeviceType(22), Error);
}

}  // namespace
