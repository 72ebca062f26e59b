#include "Kv_Relay/Sequence.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Kv_Relay/Error.h"

namespace {

using namespace kv::relay;

const char* const kExample = R"({
  "station": "Substation 1", "device": "kvdata",
  "nominal": {"voltage": 100, "frequency": 50},
  "rate": 4000,
  "start": "2026-11-23T10:00:00.000000",
  "states": [
    {"name": "prefault", "duration": 0.5},
    {"name": "fault", "duration": 0.2, "trigger": true, "dc_offset": true,
     "impedance": {"loop": "AN", "z": [5, 75], "k0": [0.8, -5], "current": 5}},
    {"name": "catalogue", "duration": 0.1,
     "fault": {"type": "FaultAB", "u": 30, "i": 5, "phi": 75}},
    {"name": "explicit", "duration": 0.1, "frequency": 49.5,
     "phasors": {"UA": [20, 0], "IA": [3, -70]}, "outputs": {"TRIP": 1}},
    {"name": "postfault", "duration": 0.3}
  ],
  "assess": [
    {"name": "zone 1", "channel": "TRIP", "from": "fault", "expected": 0.03, "abs": 0.01, "rel": 0.05},
    {"name": "no trip in prefault", "channel": "TRIP", "from": "prefault", "until": "fault", "expected": null}
  ]
})";

TEST(SequenceTest, ExampleFileReadsAndPlays) {
    const Sequence q = ParseSequence(kExample);
    EXPECT_EQ(q.station, "Substation 1");
    ASSERT_EQ(q.states.size(), 5u);
    EXPECT_EQ(IsoTime(*q.start), "2026-11-23T10:00:00.000000");
    EXPECT_TRUE(q.states[1].trigger && q.states[1].dcOffset.enabled && !q.states[1].dcOffset.tau);
    EXPECT_EQ(std::get<CatalogueFault>(q.states[2].phasors).type, 6);
    EXPECT_EQ(*q.states[3].frequency, 49.5);
    EXPECT_EQ(q.states[3].outputs.front(), (std::pair<std::string, int>{"TRIP", 1}));
    ASSERT_EQ(q.assessments.size(), 2u);
    EXPECT_EQ(*q.assessments[0].expected, 0.03);
    EXPECT_FALSE(q.assessments[1].expected.has_value());

    const auto played = Play(q);
    EXPECT_EQ(played[1].start, 0.5);
    EXPECT_NEAR(played[1].phasors.voltages.a.Magnitude(), 44.958, 5e-4);  // the impedance fault
    // τ = X / (2π f R) of ZE = 8.9915 Ω at 72.78°.
    EXPECT_NEAR(*played[1].tau, std::tan(72.7782 * 3.141592653589793 / 180) / (2 * 3.141592653589793 * 50), 1e-6);
    EXPECT_NEAR(played[2].phasors.voltages.c.Magnitude(), 57.735, 5e-4);  // the catalogue's healthy phase
    EXPECT_NEAR(played[3].phasors.voltages.b.Magnitude(), 57.735, 5e-4);  // omitted: pre-fault
    EXPECT_EQ(played[3].phasors.currents.b.Value(), Complex());
    EXPECT_EQ(played[3].frequency, 49.5);
    EXPECT_EQ(played[4].frequency, 50);
}

TEST(SequenceTest, MistakesNameTheirPlace) {
    const auto error = [](const std::string& states, const std::string& extra = "") {
        try {
            Play(ParseSequence("{" + extra + "\"states\": [" + states + "]}"));
        } catch (const Error& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    const std::string only = R"({"name": "pre", "duration": 0.1})", pre = only + ", ";
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": -0.1})"), "states[1].duration: must be > 0, got -0.1");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "dc_ofset": true})").substr(0, 32),
              "states[1].dc_ofset: unknown key ");
    EXPECT_EQ(error(pre + R"({"name": "pre", "duration": 1})"), "states[1].name: 'pre' names an earlier state too");
    EXPECT_EQ(error(pre + R"({"name": "a,b", "duration": 1})"),
              "states[1].name: 'a,b' must not contain a comma or a line break: it names a channel of the record");
    EXPECT_EQ(error(R"({"name": "a", "duration": 1, "trigger": true}, {"name": "b", "duration": 1, "trigger": true})"),
              "states[1].trigger: only one state may be the trigger");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "impedance": {"loop": "AN", "z": [5, 75], "k0": [0.8], "current": 5}})"),
              "states[1].impedance.k0: must be [magnitude, angle], got [0.8]");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "impedance": {"loop": "AN", "z": [5, 75]}})"),
              "states[1].impedance: needs one test model: current, voltage, source or sir");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "impedance": {"loop": "AN", "z": [0, 0], "voltage": 5}})"),
              "states[1].impedance.voltage: a constant voltage needs a loop impedance that is not 0");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "fault": {"type": "FaultAB", "u": 500}})"),
              "states[1].fault: state 'f': the catalogue's synthesis of FaultAB gives result 1 (voltage limited)");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "fault": {"type": "FaultXY"}})"),
              "states[1].fault.type: unknown fault type 'FaultXY'");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "dc_offset": true, "phasors": {"IA": [1, 0]}})").substr(0, 48),
              "states[1].dc_offset: give {\"tau\": seconds}: only");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "outputs": {"TRIP": 2}})"), "states[1].outputs.TRIP: must be 0 or 1, got 2");
    EXPECT_EQ(error(pre + R"({"name": "f", "duration": 1, "phasors": {"UA": [-1, 0]}})"),
              "states[1].phasors.UA[0]: the magnitude must be >= 0, got -1");
    EXPECT_EQ(error(only, R"("assess": [{"name": "z", "channel": "T", "from": "nowhere"}], )"),
              "assess[0].from: 'nowhere' is not a state of the sequence");
    EXPECT_EQ(error(only, R"("start": "2026-02-30T00:00:00", )"), "start: '2026-02-30T00:00:00' is not a valid date and time");
    EXPECT_EQ(error(only, R"("rate": "fast", )"), "rate: must be a number, got \"fast\"");
    EXPECT_EQ(error("").rfind("states: must be a list of at least one state", 0), 0u);
    EXPECT_NE(error("{").find("syntax error"), std::string::npos);
    EXPECT_THROW(LoadSequence("/nonexistent/sequence.json"), Error);
}

TEST(SequenceTest, ExamplesPlay) {
    int examples = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KV_EXAMPLES_DIR)) {
        if (entry.path().extension() != ".json") continue;
        ++examples;
        const Sequence q = LoadSequence(entry.path());
        EXPECT_NO_THROW(Play(q)) << entry.path();
    }
    EXPECT_GE(examples, 4);
}

TEST(SequenceTest, IsoTimesReadAndWriteWithMicroseconds) {
    EXPECT_EQ(IsoTime(ParseIsoTime("2026-11-23T10:00:00.5Z")), "2026-11-23T10:00:00.500000");
    EXPECT_EQ(IsoTime(ParseIsoTime("1999-12-31T23:59:59.1234567")), "1999-12-31T23:59:59.123456");
    for (const char* bad : {"2026-11-23 10:00:00", "2026-11-23T10:00:00+01:00", "2026-13-01T00:00:00", "2026-11-23T10:00:00."})
        EXPECT_THROW(ParseIsoTime(bad), Error) << bad;
}

}  // namespace
