// kvdata record and kvdata assess: a relay's COMTRADE record read back, its phasors at
// chosen times or cycle by cycle, a picture of it; and a test sequence's assessments judged
// against it.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "Cli.h"
#include "Kv_Relay.h"
#include "Plot.h"

namespace kvdata {

namespace {

namespace ct = kv::relay::comtrade;

struct RecordOptions {
    std::string file;
    std::string at;
    bool everyCycle = false;
    bool json = false;
    bool primary = false;
    bool secondary = false;
    std::string plot;
    std::string output;
};

std::string Utf8(const std::string& bytes) { return ct::TextAsUtf8(bytes); }

// Seconds from the trigger, to the nanosecond: the difference of two sample times carries
// rounding noise ("-0.061000000000000006") that no record's clock resolves.
double FromTrigger(double t, double trigger) { return std::round((t - trigger) * 1e9) / 1e9; }

Json HeaderJson(const ct::Record& r) {
    Json rates = Json::array();
    for (const ct::RateSegment& s : r.rates) rates.push_back({s.rate, s.lastSample});
    Json analog = Json::array();
    for (const ct::AnalogInfo& a : r.analog)
        analog.push_back({{"name", Utf8(a.name)},
                          {"phase", Utf8(a.phase)},
                          {"unit", Utf8(a.unit)},
                          {"a", a.a},
                          {"b", a.b},
                          {"primary", a.primary},
                          {"secondary", a.secondary},
                          {"ps", std::string(1, a.ps)}});
    Json digital = Json::array();
    for (const ct::DigitalInfo& d : r.digital) digital.push_back({{"name", Utf8(d.name)}, {"normal", d.normal}});
    return {{"station", Utf8(r.station)},
            {"device", Utf8(r.device)},
            {"revision", r.revision},
            {"format", std::string(ct::Name(r.format))},
            {"frequency", r.lineFrequency},
            {"rates", rates},
            {"samples", r.samples},
            {"start", kv::relay::IsoTime(r.start)},
            {"trigger", kv::relay::IsoTime(r.trigger)},
            {"analog", analog},
            {"digital", digital}};
}

Json PolarJson(const std::optional<kv::relay::Phasor>& p) {
    return p ? PhasorJson(p->Magnitude(), p->Angle()) : Json(nullptr);
}

// The analog channels' keys: their names, and where a name was taken by an earlier
// channel, the name with the channel's number ("UA #2"), so that no channel hides another.
std::vector<std::string> ChannelKeys(const ct::Record& r) {
    std::vector<std::string> keys;
    for (std::size_t c = 0; c < r.analog.size(); ++c) {
        std::string key = Utf8(r.analog[c].name);
        while (std::find(keys.begin(), keys.end(), key) != keys.end()) key += " #" + std::to_string(c + 1);
        keys.push_back(key);
    }
    return keys;
}

// The phasors at one time: times from the trigger, the groups by their channels' keys.
Json PhasorsJson(const std::vector<std::string>& keys, const kv::relay::PhasorsAtTime& at,
                 const std::vector<kv::relay::PhaseGroup>& groups, double trigger, bool flat) {
    Json channels = Json::object();
    for (std::size_t c = 0; c < keys.size(); ++c) {
        const Json value = PolarJson(at.channels[c]);
        channels[keys[c]] = flat && value.is_null() ? Json{{"magnitude", nullptr}, {"angle", nullptr}} : value;
    }
    Json sets = flat ? Json::object() : Json::array();
    for (std::size_t g = 0; g < groups.size(); ++g) {
        Json set = {{"unit", Utf8(groups[g].unit)},
                    {"channels", {keys[groups[g].a], keys[groups[g].b], keys[groups[g].c]}}};
        const auto& s = at.groups[g];
        std::array<kv::relay::PolarValue, 3> reported{};
        if (s) reported = kv::relay::Report(AsTriple(*s));
        const char* names[] = {"positive", "negative", "zero"};
        for (std::size_t k = 0; k < 3; ++k)
            set[names[k]] = s ? PhasorJson(reported[k].magnitude, reported[k].angle)
                              : Json{{"magnitude", nullptr}, {"angle", nullptr}};
        if (flat) {
            set.erase("channels");
            set.erase("unit");
            sets[std::to_string(g + 1) + "." + Utf8(groups[g].unit)] = set;
        } else {
            sets.push_back(set);
        }
    }
    return {{"time", FromTrigger(at.time, trigger)}, {"channels", channels}, {"groups", sets}};
}

void PrintHeader(std::FILE* out, const ct::Record& r) {
    std::fprintf(out, "%s\n", r.configuration.string().c_str());
    std::fprintf(out, "Station \"%s\", device \"%s\"; COMTRADE %d, %s; line frequency %s Hz\n", Utf8(r.station).c_str(),
                 Utf8(r.device).c_str(), r.revision, std::string(ct::Name(r.format)).c_str(),
                 Number(r.lineFrequency).c_str());
    std::string rates;
    for (const ct::RateSegment& s : r.rates)
        rates += (rates.empty() ? "" : ", ") + Number(s.rate) + " Hz to sample " + std::to_string(s.lastSample);
    const double duration = r.samples > 1 ? r.times.back() - r.times.front() : 0.0;
    std::fprintf(out, "%zu samples (%s), %s s; start %s, trigger %s (+%s s)\n\n", r.samples,
                 rates.empty() ? "times from the timestamps" : rates.c_str(), Number(duration).c_str(),
                 kv::relay::IsoTime(r.start).c_str(), kv::relay::IsoTime(r.trigger).c_str(),
                 Number(r.TriggerOffset()).c_str());
    std::vector<std::vector<std::string>> rows{{"Analog", "phase", "unit", "a", "b", "primary", "secondary", "PS"}};
    for (const ct::AnalogInfo& a : r.analog)
        rows.push_back({Utf8(a.name), Utf8(a.phase), Utf8(a.unit), Shortest(a.a), Shortest(a.b), Shortest(a.primary),
                        Shortest(a.secondary), std::string(1, a.ps)});
    PrintTable(out, rows);
    if (!r.digital.empty()) {
        std::string names;
        for (const ct::DigitalInfo& d : r.digital) names += (names.empty() ? "" : ", ") + Utf8(d.name);
        std::fprintf(out, "Digital: %s\n", names.c_str());
    }
}

void PrintPhasors(std::FILE* out, const Json& at) {
    std::fprintf(out, "\nAt %s s from the trigger\n", Number(at["time"].get<double>()).c_str());
    std::vector<std::vector<std::string>> rows{{"Channel", "magnitude", "angle, deg"}};
    const int m = Decimals(3), a = Decimals(2);
    for (const auto& [name, value] : at["channels"].items()) {
        if (value.is_null())
            rows.push_back({name, "no value", ""});
        else
            rows.push_back({name, Fixed(value["magnitude"].get<double>(), m),
                            FixedAngle(value["magnitude"].get<double>(), value["angle"].get<double>(), m, a)});
    }
    PrintTable(out, rows);
    for (const Json& set : at["groups"]) {
        std::string channels;
        for (const Json& c : set["channels"]) channels += (channels.empty() ? "" : ", ") + c.get<std::string>();
        std::fprintf(out, "Symmetrical components of %s (%s)\n", channels.c_str(), set["unit"].get<std::string>().c_str());
        std::vector<std::vector<std::string>> s{{"Sequence", "magnitude", "angle, deg"}};
        for (const char* k : {"positive", "negative", "zero"}) {
            const Json& p = set[k];
            if (p["magnitude"].is_null())
                s.push_back({k, "no value", ""});
            else
                s.push_back({k, Fixed(p["magnitude"].get<double>(), m),
                             FixedAngle(p["magnitude"].get<double>(), p["angle"].get<double>(), m, a)});
        }
        PrintTable(out, s);
    }
}

std::vector<double> ParseTimes(const std::string& text) {
    std::vector<double> times;
    std::size_t from = 0;
    while (from <= text.size()) {
        const std::size_t comma = text.find(',', from);
        times.push_back(ParseNumber(text.substr(from, comma - from), "--at"));
        if (comma == std::string::npos) break;
        from = comma + 1;
    }
    return times;
}

void RunRecord(const RecordOptions& o) {
    Output out(o.output);
    if (!o.plot.empty()) CheckPictureName(o.plot);
    if (o.primary && o.secondary) throw Error("--primary and --secondary exclude each other");
    const ct::Values values = o.primary ? ct::Values::Primary : o.secondary ? ct::Values::Secondary : ct::Values::AsRecorded;
    const ct::Record r = ct::Read(o.file, values);
    const std::vector<double> times = o.at.empty() ? std::vector<double>() : ParseTimes(o.at);
    const double trigger = r.TriggerOffset();
    const auto groups = kv::relay::PhaseGroups(r);
    const std::vector<std::string> keys = ChannelKeys(r);

    if (o.everyCycle) {
        bool first = true;
        for (const auto& cycle : kv::relay::PhasorsEveryCycle(r)) {
            if (o.json)
                std::fprintf(out.file(), "%s\n", PhasorsJson(keys, cycle, groups, trigger, false).dump().c_str());
            else
                WriteCsvRow(out.file(), PhasorsJson(keys, cycle, groups, trigger, true), first);
            first = false;
        }
    } else if (o.json) {
        Json json = HeaderJson(r);
        if (!times.empty()) {
            Json phasors = Json::array();
            for (const double t : times)
                phasors.push_back(PhasorsJson(keys, kv::relay::PhasorsAt(r, t + trigger), groups, trigger, false));
            json["phasors"] = phasors;
        }
        std::fprintf(out.file(), "%s\n", json.dump(2).c_str());
    } else {
        PrintHeader(out.file(), r);
        for (const double t : times)
            PrintPhasors(out.file(), PhasorsJson(keys, kv::relay::PhasorsAt(r, t + trigger), groups, trigger, false));
    }

    if (!o.plot.empty()) {
        WaveformChart chart;
        chart.title = Utf8(r.station) + ": " + r.configuration.filename().string();
        const double rate = r.rates.empty() || r.rates.front().rate <= 0
                                ? (r.samples > 1 ? 1.0 / (r.times[1] - r.times[0]) : 1.0)
                                : r.rates.front().rate;
        chart.rate = rate;
        chart.start = -trigger;  // the axis counts from the trigger
        for (std::size_t c = 0; c < r.analog.size(); ++c)
            chart.analog.push_back({Utf8(r.analog[c].name), Utf8(r.analog[c].unit), r.Analog(c)});
        for (std::size_t d = 0; d < r.digital.size(); ++d) chart.digital.push_back({Utf8(r.digital[d].name), r.Digital(d)});
        chart.markers.push_back({0.0, "trigger"});
        for (const double t : times) chart.markers.push_back({t, Number(t) + " s"});
        DrawWaveforms(chart, o.plot);
    }
    out.Commit();
}

struct AssessOptions {
    std::string sequence;
    std::string record;
    bool json = false;
};

Json Optional(const std::optional<double>& v) { return v ? Json(*v) : Json(nullptr); }

int RunAssess(const AssessOptions& o) {
    const kv::relay::Sequence q = kv::relay::LoadSequence(o.sequence);
    if (q.assessments.empty()) throw Error(o.sequence + ": the sequence has no \"assess\" entries to judge");
    const ct::Record r = ct::Read(o.record);
    const auto results = kv::relay::Assess(q, r);
    bool passed = true;
    for (const auto& a : results) passed = passed && a.passed;
    if (o.json) {
        Json list = Json::array();
        for (const auto& a : results)
            list.push_back({{"name", a.name},
                            {"passed", a.passed},
                            {"measured", Optional(a.measured)},
                            {"low", Optional(a.low)},
                            {"high", Optional(a.high)}});
        std::printf("%s\n", Json{{"passed", passed}, {"assessments", list}}.dump(2).c_str());
    } else {
        std::vector<std::vector<std::string>> rows{{"Assessment", "result", "measured, s", "window, s"}};
        const auto text = [](const std::optional<double>& v) { return v ? Fixed(*v, Decimals(4)) : std::string("-"); };
        for (std::size_t k = 0; k < results.size(); ++k) {
            const auto& a = results[k];
            const bool noTrip = !q.assessments[k].expected;
            // A passing "no trip" has no edge in its window: the next one is shown as such.
            const std::string measured = noTrip && a.passed ? (a.measured ? "none; next " + text(a.measured) : "none")
                                         : a.measured       ? text(a.measured)
                                                            : "no trip (none found)";
            rows.push_back({a.name, a.passed ? "pass" : "FAIL", measured,
                            noTrip ? "no edge in " + text(a.low) + " .. " + text(a.high)
                                   : text(a.low) + " .. " + text(a.high)});
        }
        PrintTable(stdout, rows);
        std::printf("%s\n", passed ? "All assessments pass." : "An assessment fails.");
    }
    return passed ? 0 : 3;
}

}  // namespace

void AddRecordCommands(CLI::App& app, int& status) {
    auto o = std::make_shared<RecordOptions>();
    CLI::App* cmd = app.add_subcommand("record", "A COMTRADE record read back: its header, phasors and waveforms");
    cmd->footer("Times are seconds from the record's trigger, to the nanosecond. Phasors are full-cycle estimates\n"
                "at the line frequency, RMS, angles in degrees from the record's first sample.\n"
                "Example: kvdata record relay.cfg --at -0.02,0.04 --plot relay.png");
    cmd->add_option("FILE", o->file, "The record: NAME.cfg (with NAME.dat), NAME.dat or NAME.cff")->required();
    cmd->add_option("--at", o->at, "Phasors at these times, T[,T...] s from the trigger")->type_name("T");
    cmd->add_flag("--every-cycle", o->everyCycle, "Phasors cycle by cycle: CSV, or JSON lines with --json");
    cmd->add_flag("--json", o->json, "Print JSON");
    cmd->add_flag("--primary", o->primary, "Values on the primary side of the transformers");
    cmd->add_flag("--secondary", o->secondary, "Values on the secondary side");
    cmd->add_option("--plot", o->plot, "Draw the waveforms into this .png, .svg or .pdf file");
    cmd->add_option("-o,--output", o->output, "Write the output into this file instead of standard output");
    cmd->callback([o] { RunRecord(*o); });

    auto a = std::make_shared<AssessOptions>();
    CLI::App* assess = app.add_subcommand("assess", "A sequence's trip-time assessments judged against a relay's record");
    assess->footer("Exit status: 0 when every assessment passes, 3 when one fails, 1 on an error.\n"
                   "Example: kvdata assess examples/distance-zone1.json relay.cfg");
    assess->add_option("SEQUENCE", a->sequence, "Sequence file (JSON) with \"assess\" entries")->required();
    assess->add_option("RECORD", a->record, "The relay's record: NAME.cfg, NAME.dat or NAME.cff")->required();
    assess->add_flag("--json", a->json, "Print JSON");
    assess->callback([a, &status] { status = RunAssess(*a); });
}

}  // namespace kvdata
