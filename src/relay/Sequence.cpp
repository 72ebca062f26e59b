#include "Kv_Relay/Sequence.h"

#include <algorithm>
#include <charconv>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "Angles.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {

using Json = nlohmann::json;

constexpr std::string_view kChannelNames[kChannels] = {"UA", "UB", "UC", "IA", "IB", "IC"};

std::string Shortest(double value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// A place in the file and the JSON value there; every reader of a key checks its type and
// names the place in its errors.
class Node {
public:
    Node(const Json& json, std::string path) : m_json(json), m_path(std::move(path)) {}

    const Json& json() const { return m_json; }
    const std::string& path() const { return m_path; }

    [[noreturn]] void Fail(const std::string& what) const { throw Error(m_path + ": " + what); }

    Node Key(std::string_view key) const {
        return Node(m_json.at(std::string(key)), m_path.empty() ? std::string(key) : m_path + "." + std::string(key));
    }
    Node Index(std::size_t k) const { return Node(m_json.at(k), m_path + "[" + std::to_string(k) + "]"); }
    bool Has(std::string_view key) const { return m_json.contains(std::string(key)); }

    void RequireObject(std::initializer_list<std::string_view> known) const {
        if (!m_json.is_object()) Fail("must be an object");
        for (const auto& [key, value] : m_json.items()) {
            if (std::find(known.begin(), known.end(), key) != known.end()) continue;
            std::string list;
            for (const std::string_view k : known) list += (list.empty() ? "" : ", ") + std::string(k);
            Key(key).Fail("unknown key (known here: " + list + ")");
        }
    }

    double Number() const {
        if (!m_json.is_number()) Fail("must be a number, got " + m_json.dump());
        const double value = m_json.get<double>();
        if (!std::isfinite(value)) Fail("must be a finite number");
        return value;
    }
    double NonNegative() const {
        const double value = Number();
        if (value < 0) Fail("must be >= 0, got " + Shortest(value));
        return value;
    }
    double Positive() const {
        const double value = Number();
        if (!(value > 0)) Fail("must be > 0, got " + Shortest(value));
        return value;
    }
    std::string Text() const {
        if (!m_json.is_string()) Fail("must be a text, got " + m_json.dump());
        return m_json.get<std::string>();
    }
    bool Boolean() const {
        if (!m_json.is_boolean()) Fail("must be true or false, got " + m_json.dump());
        return m_json.get<bool>();
    }
    // [magnitude, angle in degrees], the magnitude >= 0.
    std::pair<double, double> Polar() const {
        const auto [magnitude, angle] = Pair();
        if (magnitude < 0) Index(0).Fail("the magnitude must be >= 0, got " + Shortest(magnitude));
        return {magnitude, angle};
    }
    std::pair<double, double> Pair() const {
        if (!m_json.is_array() || m_json.size() != 2) Fail("must be [magnitude, angle], got " + m_json.dump());
        return {Index(0).Number(), Index(1).Number()};
    }

private:
    const Json& m_json;
    std::string m_path;
};

// States and outputs name the record's digital channels, whose lines are comma-separated.
void RequireChannelName(const Node& node, const std::string& name) {
    if (name.find_first_of(",\r\n") != std::string::npos)
        node.Fail("'" + name + "' must not contain a comma or a line break: it names a channel of the record");
}

ResidualCompensation ReadK0(const Node& node, Impedance z) {
    if (node.json().is_array()) {
        const auto [m, a] = node.Polar();
        return ResidualCompensation::Polar(m, a);
    }
    if (!node.json().is_object()) node.Fail("must be [magnitude, angle], {\"rerl\": a, \"xexl\": b} or {\"z0z1\": [magnitude, angle]}");
    if (node.Has("z0z1")) {
        node.RequireObject({"z0z1"});
        const auto [m, a] = node.Key("z0z1").Polar();
        return ResidualCompensation::FromZ0Z1(m, a);
    }
    node.RequireObject({"rerl", "xexl"});
    if (!node.Has("rerl") || !node.Has("xexl")) node.Fail("needs both rerl and xexl");
    if (z.Value() == Complex()) node.Fail("RE/RL and XE/XL need a line impedance that is not 0");
    return ResidualCompensation::FromRERLXEXL(node.Key("rerl").Number(), node.Key("xexl").Number(), z);
}

ImpedanceFault ReadImpedance(const Node& node, double nominal) {
    node.RequireObject({"loop", "z", "rx", "k0", "current", "voltage", "source", "sir", "ks"});
    ImpedanceFault f;
    f.nominalVoltage = nominal;
    if (!node.Has("loop")) node.Fail("needs a loop");
    try {
        f.loop = ParseFaultLoop(node.Key("loop").Text());
    } catch (const Error& e) {
        node.Key("loop").Fail(std::string(e.what()).substr(std::string("loop: ").size()));
    }
    if (node.Has("z") == node.Has("rx")) node.Fail("needs the impedance as z [magnitude, angle] or as rx [R, X]");
    if (node.Has("z")) {
        const auto [m, a] = node.Key("z").Polar();
        f.z = Impedance::Polar(m, a);
    } else {
        const auto [r, x] = node.Key("rx").Pair();
        f.z = Impedance::RX(r, x);
    }
    if (node.Has("k0")) f.k0 = ReadK0(node.Key("k0"), f.z);
    const int models = node.Has("current") + node.Has("voltage") + node.Has("source") + node.Has("sir");
    if (models != 1) node.Fail("needs one test model: current, voltage, source or sir");
    std::optional<ResidualCompensation> ks;
    if (node.Has("ks")) {
        if (!node.Has("source") && !node.Has("sir")) node.Key("ks").Fail("is the source's k0: it goes with source or sir");
        const auto [m, a] = node.Key("ks").Polar();
        ks = ResidualCompensation::Polar(m, a);
    }
    if (node.Has("current")) f.model = ConstantCurrent{node.Key("current").NonNegative()};
    if (node.Has("voltage")) f.model = ConstantVoltage{node.Key("voltage").NonNegative()};
    if (node.Has("source")) {
        const auto [m, a] = node.Key("source").Polar();
        f.model = SourceImpedance{Impedance::Polar(m, a), ks};
    }
    if (node.Has("sir")) f.model = SourceToLineRatio{node.Key("sir").NonNegative(), ks};
    return f;
}

CatalogueFault ReadCatalogue(const Node& node, double nominal) {
    node.RequireObject({"type", "u", "i", "phi", "unom", "aux", "aux_angle", "uhealthy"});
    CatalogueFault f;
    f.nominalVoltage = nominal;
    if (!node.Has("type")) node.Fail("needs a type");
    const Node type = node.Key("type");
    try {
        if (type.json().is_number_integer())
            f.type = FaultTypeCode(std::to_string(type.json().get<long long>()));
        else
            f.type = FaultTypeCode(type.Text());
    } catch (const Error& e) {
        type.Fail(std::string(e.what()).substr(std::string("type: ").size()));
    }
    if (node.Has("u")) f.u = node.Key("u").Number();
    if (f.u < 0 && f.type != 82) node.Key("u").Fail("must be >= 0 (only type 82 gives U a sign), got " + Shortest(f.u));
    if (node.Has("i")) f.i = node.Key("i").NonNegative();
    if (node.Has("phi")) f.phi = node.Key("phi").Number();
    if (node.Has("unom")) f.unom = node.Key("unom").NonNegative();
    if (node.Has("aux")) f.aux = node.Key("aux").Number();
    if (node.Has("aux_angle")) f.auxAngle = node.Key("aux_angle").Number();
    if (node.Has("uhealthy")) f.uhealthy = node.Key("uhealthy").NonNegative();
    return f;
}

ExplicitPhasors ReadPhasors(const Node& node) {
    node.RequireObject({"UA", "UB", "UC", "IA", "IB", "IC"});
    ExplicitPhasors p;
    for (std::size_t c = 0; c < kChannels; ++c) {
        if (!node.Has(kChannelNames[c])) continue;
        const auto [m, a] = node.Key(kChannelNames[c]).Polar();
        p.values[c] = Phasor::Polar(m, a);
    }
    return p;
}

State ReadState(const Node& node, double nominal) {
    node.RequireObject({"name", "duration", "frequency", "trigger", "dc_offset", "phasors", "fault", "impedance",
                        "outputs"});
    State s;
    if (!node.Has("name")) node.Fail("needs a name");
    s.name = node.Key("name").Text();
    if (s.name.empty()) node.Key("name").Fail("must not be empty");
    RequireChannelName(node.Key("name"), s.name);
    if (!node.Has("duration")) node.Fail("needs a duration");
    s.duration = node.Key("duration").Positive();
    if (node.Has("frequency")) s.frequency = node.Key("frequency").Positive();
    if (node.Has("trigger")) s.trigger = node.Key("trigger").Boolean();
    if (node.Has("dc_offset")) {
        const Node dc = node.Key("dc_offset");
        if (dc.json().is_boolean()) {
            s.dcOffset.enabled = dc.Boolean();
        } else {
            if (!dc.json().is_object()) dc.Fail("must be true, false or {\"tau\": seconds}");
            dc.RequireObject({"tau"});
            if (!dc.Has("tau")) dc.Fail("needs tau");
            s.dcOffset = {true, dc.Key("tau").Positive()};
        }
    }
    const int ways = node.Has("phasors") + node.Has("fault") + node.Has("impedance");
    if (ways > 1) node.Fail("gives its phasors in one way only: phasors, fault or impedance");
    if (node.Has("phasors")) s.phasors = ReadPhasors(node.Key("phasors"));
    if (node.Has("fault")) s.phasors = ReadCatalogue(node.Key("fault"), nominal);
    if (node.Has("impedance")) s.phasors = ReadImpedance(node.Key("impedance"), nominal);
    if (node.Has("outputs")) {
        const Node outputs = node.Key("outputs");
        if (!outputs.json().is_object()) outputs.Fail("must be an object of name: 0 or 1");
        for (const auto& [name, value] : outputs.json().items()) {
            const Node output = outputs.Key(name);
            if (name.empty()) outputs.Fail("an output's name must not be empty");
            RequireChannelName(output, name);
            if (!value.is_number_integer() || (value.get<long long>() != 0 && value.get<long long>() != 1))
                output.Fail("must be 0 or 1, got " + value.dump());
            s.outputs.emplace_back(name, value.get<int>());
        }
    }
    return s;
}

Assessment ReadAssessment(const Node& node) {
    node.RequireObject({"name", "channel", "from", "until", "expected", "abs", "rel"});
    Assessment a;
    for (const char* key : {"name", "channel", "from"})
        if (!node.Has(key)) node.Fail(std::string("needs ") + key);
    a.name = node.Key("name").Text();
    a.channel = node.Key("channel").Text();
    a.from = node.Key("from").Text();
    if (node.Has("until")) a.until = node.Key("until").Text();
    if (node.Has("expected") && !node.Key("expected").json().is_null()) a.expected = node.Key("expected").NonNegative();
    if (node.Has("abs")) a.absolute = node.Key("abs").NonNegative();
    if (node.Has("rel")) a.relative = node.Key("rel").NonNegative();
    if (a.expected && a.until) node.Key("until").Fail("goes with \"expected\": null only (no trip before that state)");
    return a;
}

}  // namespace

std::string_view Name(Channel channel) { return kChannelNames[static_cast<std::size_t>(channel)]; }

comtrade::Time ParseIsoTime(std::string_view text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, consumed = 0;
    const std::string s(text);
    if (std::sscanf(s.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &year, &month, &day, &hour, &minute, &second, &consumed) != 6 ||
        consumed != 19)
        throw Error("'" + s + "' is not an ISO 8601 time such as 2026-11-23T10:00:00.000000");
    std::string_view rest = text.substr(19);
    long long micros = 0;
    if (!rest.empty() && rest.front() == '.') {
        rest.remove_prefix(1);
        int digits = 0;
        while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
            if (digits < 6) micros = micros * 10 + (rest.front() - '0');
            ++digits;
            rest.remove_prefix(1);
        }
        if (digits == 0) throw Error("'" + s + "' has a point without decimals");
        for (; digits < 6; ++digits) micros *= 10;
    }
    if (rest == "Z") rest.remove_prefix(1);
    if (!rest.empty()) throw Error("'" + s + "' must be UTC, with nothing after the seconds but a Z");
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) throw Error("'" + s + "' is not a valid date and time");
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second) + microseconds(micros);
}

std::string IsoTime(comtrade::Time time) {
    using namespace std::chrono;
    const auto days = floor<std::chrono::days>(time);
    const year_month_day date(days);
    const hh_mm_ss<microseconds> clock(time - days);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%06lld", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<long long>(clock.subseconds().count()));
    return text;
}

Sequence ParseSequence(std::string_view text) {
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::exception& e) {  // syntax errors, and numbers beyond the range of doubles
        std::string message = e.what();
        const std::size_t bracket = message.find("] ");
        throw Error(bracket == std::string::npos ? message : message.substr(bracket + 2));
    }
    const Node root(json, "");
    if (!json.is_object()) throw Error("a sequence file is a JSON object with \"states\"");
    root.RequireObject({"station", "device", "nominal", "rate", "start", "states", "assess"});
    Sequence q;
    if (root.Has("station")) q.station = root.Key("station").Text();
    if (root.Has("device")) q.device = root.Key("device").Text();
    if (root.Has("nominal")) {
        const Node nominal = root.Key("nominal");
        nominal.RequireObject({"voltage", "frequency"});
        if (nominal.Has("voltage")) q.nominalVoltage = nominal.Key("voltage").Positive();
        if (nominal.Has("frequency")) q.nominalFrequency = nominal.Key("frequency").Positive();
    }
    if (root.Has("rate")) q.rate = root.Key("rate").Positive();
    if (root.Has("start")) {
        try {
            q.start = ParseIsoTime(root.Key("start").Text());
        } catch (const Error& e) {
            root.Key("start").Fail(e.what());
        }
    }
    if (!root.Has("states")) throw Error("states: a sequence needs at least one state");
    const Node states = root.Key("states");
    if (!states.json().is_array() || states.json().empty()) states.Fail("must be a list of at least one state");
    std::set<std::string> names;
    int triggers = 0;
    for (std::size_t k = 0; k < states.json().size(); ++k) {
        const Node node = states.Index(k);
        q.states.push_back(ReadState(node, q.nominalVoltage));
        if (!names.insert(q.states.back().name).second)
            node.Key("name").Fail("'" + q.states.back().name + "' names an earlier state too");
        if (q.states.back().trigger && ++triggers > 1) node.Key("trigger").Fail("only one state may be the trigger");
    }
    if (root.Has("assess")) {
        const Node assess = root.Key("assess");
        if (!assess.json().is_array()) assess.Fail("must be a list");
        for (std::size_t k = 0; k < assess.json().size(); ++k) {
            const Node node = assess.Index(k);
            q.assessments.push_back(ReadAssessment(node));
            const Assessment& a = q.assessments.back();
            for (const auto& [key, state] : {std::pair{"from", a.from}, std::pair{"until", a.until.value_or(a.from)}})
                if (!names.count(state)) node.Key(key).Fail("'" + state + "' is not a state of the sequence");
        }
    }
    return q;
}

Sequence LoadSequence(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Error(path.string() + ": cannot open: " + std::strerror(errno));
    std::ostringstream text;
    text << in.rdbuf();
    try {
        return ParseSequence(text.str());
    } catch (const Error& e) {
        throw Error(path.string() + ": " + e.what());
    }
}

std::vector<PlayedState> Play(const Sequence& q) {
    std::vector<PlayedState> played;
    played.reserve(q.states.size());
    const double vn = q.nominalVoltage / std::sqrt(3.0);
    const ThreePhase star{Phasor::Polar(vn, 0), Phasor::Polar(vn, -120), Phasor::Polar(vn, 120)};
    double start = 0;
    for (std::size_t k = 0; k < q.states.size(); ++k) {
        const State& s = q.states[k];
        const std::string place = "states[" + std::to_string(k) + "]";
        PlayedState p;
        p.start = start;
        p.frequency = s.frequency.value_or(q.nominalFrequency);
        p.phasors.voltages = star;
        std::optional<Impedance> loopImpedance;  // for the DC offset's time constant
        try {
            if (const auto* e = std::get_if<ExplicitPhasors>(&s.phasors)) {
                for (std::size_t c = 0; c < 3; ++c) {
                    if (e->values[c]) p.phasors.voltages[c] = *e->values[c];
                    if (e->values[3 + c]) p.phasors.currents[c] = *e->values[3 + c];
                }
            } else if (const auto* c = std::get_if<CatalogueFault>(&s.phasors)) {
                CatalogueResult r;
                try {
                    r = Synthesise(*c);
                } catch (const Error& error) {
                    throw Error(std::string("fault.") + error.what());
                }
                if (r.result != 0 && r.result != 2)
                    throw Error("fault: state '" + s.name + "': the catalogue's synthesis of " + FaultTypeName(c->type) +
                                " gives result " + std::to_string(r.result) +
                                (r.result == 1 ? " (voltage limited)" : r.result == 3 ? " (not handled)" : ""));
                p.phasors = r.phases;
                p.catalogueResult = r.result;
            } else if (const auto* f = std::get_if<ImpedanceFault>(&s.phasors)) {
                try {
                    p.phasors = Calculate(*f).phases;
                } catch (const Error& error) {
                    throw Error(std::string("impedance.") + error.what());
                }
                const bool earth = f->loop <= FaultLoop::CN;
                loopImpedance = Impedance(earth ? f->z.Value() * (1.0 + f->k0.Value()) : f->z.Value());
            }
            if (s.dcOffset.enabled) {
                if (s.dcOffset.tau) {
                    p.tau = s.dcOffset.tau;
                } else if (loopImpedance && loopImpedance->R() > 0) {
                    p.tau = loopImpedance->X() / (2 * kPi * p.frequency * loopImpedance->R());
                    if (!(*p.tau > 0))
                        throw Error("dc_offset: the loop's X / (2 pi f R) is not a time constant > 0; give tau");
                } else {
                    throw Error(std::string("dc_offset: give {\"tau\": seconds}") +
                                (loopImpedance ? ": the loop's R is not above 0" : ": only an impedance state has a loop to take it from"));
                }
            }
        } catch (const Error& e) {
            throw Error(place + "." + e.what());
        }
        played.push_back(p);
        start += s.duration;
    }
    return played;
}

}  // namespace kv::relay
