// Test sequences: a relay test as timed states (pre-fault, fault, post-fault, ...), read
// from a JSON sequence file.
//
// A state gives its phasors in one of three ways, or none: explicit phasors (an omitted
// voltage keeps its pre-fault value, an omitted current is 0), the catalogue's full
// synthesis, or a fault at an impedance. Without phasors a state is the pre-fault star
// EA = Vn∠0°, EB = Vn∠−120°, EC = Vn∠120° with no current. State s is active on
// [Ts, Ts + duration), Ts the sum of the durations before it.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Kv_Relay/CatalogueFault.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Export.h"
#include "Kv_Relay/ImpedanceFault.h"
#include "Kv_Relay/Phasors.h"

namespace kv::relay {

// The six analog channels, in this order everywhere.
enum class Channel { UA, UB, UC, IA, IB, IC };
inline constexpr std::size_t kChannels = 6;
KV_RELAY_API std::string_view Name(Channel channel);

// Phasors given one by one; a voltage left out keeps its pre-fault value, a current is 0.
struct ExplicitPhasors {
    std::array<std::optional<Phasor>, kChannels> values;
};

// None (the pre-fault star), explicit, the catalogue's synthesis, or a fault at an impedance.
// The impedance fault's nominal voltage is the sequence's.
using StatePhasors = std::variant<std::monostate, ExplicitPhasors, CatalogueFault, ImpedanceFault>;

// A decaying DC offset in the currents at the start of a state, which keeps each current
// continuous, as in an inductive circuit.
struct DcOffset {
    bool enabled = false;
    std::optional<double> tau;  // s; none: X / (2π·f·R) of the faulted loop of an impedance state
};

struct State {
    std::string name;
    double duration = 0;              // s, > 0
    std::optional<double> frequency;  // Hz; none: the nominal frequency
    bool trigger = false;             // the record's trigger lies at this state's start
    DcOffset dcOffset;
    StatePhasors phasors;
    // Binary outputs this state sets: name → 0 or 1, in the order given. An output keeps its
    // value until a state changes it; all start at 0.
    std::vector<std::pair<std::string, int>> outputs;
};

// A trip time to judge against a relay's record.
struct Assessment {
    std::string name;
    std::string channel;               // a digital channel of the record
    std::string from;                  // the state from whose start the time counts
    std::optional<std::string> until;  // with no expected time: the state before whose start no edge may lie
    std::optional<double> expected;    // s after the start of `from`; none: no trip
    double absolute = 0;               // s
    double relative = 0;               // fraction of `expected`
};

struct Sequence {
    std::string station = "Kv_Data";
    std::string device = "kvdata";
    double nominalVoltage = 100;    // Un, line voltage, V
    double nominalFrequency = 50;   // fn, Hz
    double rate = 4000;             // samples per second
    std::optional<comtrade::Time> start;
    std::vector<State> states;
    std::vector<Assessment> assessments;
};

// A sequence file's text; Error naming the place ("states[2].duration: must be > 0, got
// -0.1"), also for any key it does not know.
KV_RELAY_API Sequence ParseSequence(std::string_view json);
// The same from a file; errors begin with the file's name.
KV_RELAY_API Sequence LoadSequence(const std::filesystem::path& path);

// An ISO 8601 UTC time "2026-11-23T10:00:00.000000" (fraction and a final Z optional).
KV_RELAY_API comtrade::Time ParseIsoTime(std::string_view text);
KV_RELAY_API std::string IsoTime(comtrade::Time time);  // with six decimals, no Z

// A state as played: its start, frequency and steady phasors, and its DC offset's τ.
struct PlayedState {
    double start = 0;      // Ts, s
    double frequency = 0;  // Hz
    ThreePhaseSet phasors;
    std::optional<double> tau;  // s, when the state has a DC offset
    int catalogueResult = 0;    // of a catalogue state; 0 otherwise
};

// Every state's phasors: the catalogue's synthesis (whose result must be 0 or 2) or the
// impedance calculation where the state asks for them. Errors name the state
// ("states[1] (fault): ..."). Calls the core's synthesis for catalogue states.
KV_RELAY_API std::vector<PlayedState> Play(const Sequence& sequence);

}  // namespace kv::relay
