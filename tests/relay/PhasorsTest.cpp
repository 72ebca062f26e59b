#include "Kv_Relay/Phasors.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Kv_Relay/Components.h"
#include "Kv_Relay/Error.h"

namespace {

using kv::relay::Complex;
using kv::relay::Phasor;

TEST(PhasorsTest, AnglesAreReportedInTheirRanges) {
    EXPECT_EQ(Phasor::Polar(1, -90).Angle(), 270);
    EXPECT_NEAR(Phasor::Polar(1, 360 + 45).Angle(), 45, 1e-12);
    EXPECT_EQ(Phasor(Complex(1, -0.0)).Angle(), 0);           // not 360, not -0
    EXPECT_FALSE(std::signbit(Phasor(Complex(1, -0.0)).Angle()));
    EXPECT_EQ(Phasor(Complex(1, -1e-300)).Angle(), 0);        // rounds to 360: reported as 0
    EXPECT_EQ(Phasor().Angle(), 0);
    EXPECT_EQ(Phasor(Complex(-0.0, -0.0)).Angle(), 0);
    EXPECT_EQ(kv::relay::Impedance::RX(-1, -0.0).Angle(), -180);
    EXPECT_EQ(kv::relay::Impedance::RX(-1, 0.0).Angle(), 180);
    EXPECT_THROW(Phasor::Polar(-1, 0), kv::relay::Error);
    EXPECT_THROW(Phasor::Polar(1, HUGE_VAL), kv::relay::Error);
}

TEST(PhasorsTest, ReportZeroesWhatIsRoundingNoise) {
    const kv::relay::ThreePhase set{Phasor::Polar(5, 10), Phasor(Complex(1e-12, -1e-12)), Phasor::Polar(1e-11, 30)};
    const auto reported = kv::relay::Report(set);
    EXPECT_NEAR(reported[0].angle, 10, 1e-12);
    EXPECT_EQ(reported[1].magnitude, 0);  // 1.4e-12 < 5e-12
    EXPECT_EQ(reported[1].angle, 0);
    EXPECT_NEAR(reported[2].magnitude, 1e-11, 1e-25);
    const auto none = kv::relay::Report({});
    EXPECT_EQ(none[0].magnitude, 0);
}

}  // namespace

namespace {

TEST(ComponentsTest, StarsFallIntoTheirSequencesAndLinesAreDifferences) {
    using kv::relay::ThreePhase;
    const ThreePhase positive{Phasor::Polar(10, 20), Phasor::Polar(10, 260), Phasor::Polar(10, 140)};
    const auto s = kv::relay::Symmetrical(positive);
    EXPECT_NEAR(s.positive.Magnitude(), 10, 1e-13);
    EXPECT_NEAR(s.positive.Angle(), 20, 1e-12);
    EXPECT_LT(s.negative.Magnitude(), 1e-14);
    EXPECT_LT(s.zero.Magnitude(), 1e-14);
    const auto negative = kv::relay::Symmetrical({positive.a, positive.c, positive.b});
    EXPECT_NEAR(negative.negative.Magnitude(), 10, 1e-13);
    const auto zero = kv::relay::Symmetrical({Phasor::Polar(3, 0), Phasor(), Phasor()});
    EXPECT_NEAR(zero.zero.Magnitude(), 1, 1e-15);  // X0, not 3·X0

    const auto line = kv::relay::LineValues(positive);
    EXPECT_NEAR(line.a.Magnitude(), 10 * std::sqrt(3.0), 1e-12);
    EXPECT_NEAR(line.a.Angle(), 50, 1e-12);  // AB leads A by 30°
    EXPECT_EQ(line.c.Value(), positive.c.Value() - positive.a.Value());
}

}  // namespace
