// kvdata impedance: the six phasors of a fault at an impedance (distance-protection
// tests), what the relay's six loops then measure, k0 in its three forms, and the
// verdicts; a table, JSON, CSV or JSON lines of a sweep, or a vector and R-X diagram.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "Cli.h"
#include "Kv_Relay.h"
#include "Plot.h"

namespace kvdata {

namespace {

using kv::relay::ImpedanceFault;
using kv::relay::ImpedanceFaultResult;

struct ImpedanceOptions {
    std::string loop;
    std::string z, rx;
    std::string k0, rerl, xexl, z0z1, relayK0;
    std::string current, voltage, source, sir, ks;
    double nominal = 100;
    int device = -1;
    bool json = false;
    std::string plot;
    std::string output;
    std::size_t maxRows = kDefaultMaxRows;
};

// A swept input: one value, or START:STOP:STEP.
struct Axis {
    std::string name;  // the column of a sweep, "z.magnitude"
    Range range;
    std::vector<double> points;
};

// "A@B" or "A,B" with a range on either side.
std::pair<Range, Range> ParsePair(const std::string& text, char separator, const std::string& option) {
    const std::size_t at = text.find(separator);
    if (at == std::string::npos) {
        if (separator == ',') throw Error(option + ": '" + text + "' is not R,X");
        return {ParseRange(text, option), ParseRange("0", option)};
    }
    return {ParseRange(text.substr(0, at), option), ParseRange(text.substr(at + 1), option)};
}

void RequireNonNegative(const Range& r, const std::string& option, const char* what) {
    if (std::min(r.start, r.stop) < 0) throw Error(option + ": a " + what + " is not negative");
}

kv::relay::ResidualCompensation PolarK0(const std::string& text, const std::string& option) {
    const PhasorText p = ParsePhasor(text, option);
    if (p.magnitude < 0) throw Error(option + ": the magnitude is not negative");
    return kv::relay::ResidualCompensation::Polar(p.magnitude, p.angle);
}

// The inputs as parsed once; the axes carry what a sweep varies.
struct Plan {
    kv::relay::FaultLoop loop;
    bool zPolar = true;
    std::size_t zFirst = 0;      // axes of Z: magnitude and angle, or R and X
    std::size_t modelFirst = 0;  // axes of the test quantity (two for a source)
    enum class K0Form { None, Polar, RERL, Z0Z1 } k0Form = K0Form::None;
    kv::relay::ResidualCompensation k0;
    double rerl = 0, xexl = 0;
    std::optional<kv::relay::ResidualCompensation> relayK0, ks;
    enum class Model { Current, Voltage, Source, Sir } model = Model::Current;
    std::optional<kv::relay::DeviceLimits> limits;
    std::vector<Axis> axes;
};

Plan MakePlan(const ImpedanceOptions& o) {
    Plan plan;
    plan.loop = kv::relay::ParseFaultLoop(o.loop);
    if (!(o.nominal > 0)) throw Error("--nominal: the nominal line voltage must be above 0");

    if (o.z.empty() == o.rx.empty()) throw Error("give the impedance to the fault with --z MAG@ANG or with --rx R,X");
    plan.zPolar = !o.z.empty();
    const auto [z1, z2] = plan.zPolar ? ParsePair(o.z, '@', "--z") : ParsePair(o.rx, ',', "--rx");
    if (plan.zPolar) RequireNonNegative(z1, "--z", "magnitude");
    plan.axes.push_back({plan.zPolar ? "z.magnitude" : "z.r", z1, {}});
    plan.axes.push_back({plan.zPolar ? "z.angle" : "z.x", z2, {}});

    const int k0Forms = !o.k0.empty() + (!o.rerl.empty() || !o.xexl.empty()) + !o.z0z1.empty();
    if (k0Forms > 1) throw Error("give k0 in one form: --k0, --rerl with --xexl, or --z0z1");
    if (!o.k0.empty()) {
        plan.k0Form = Plan::K0Form::Polar;
        plan.k0 = PolarK0(o.k0, "--k0");
    } else if (!o.rerl.empty() || !o.xexl.empty()) {
        if (o.rerl.empty() || o.xexl.empty()) throw Error("--rerl and --xexl go together");
        plan.k0Form = Plan::K0Form::RERL;
        plan.rerl = ParseNumber(o.rerl, "--rerl");
        plan.xexl = ParseNumber(o.xexl, "--xexl");
    } else if (!o.z0z1.empty()) {
        plan.k0Form = Plan::K0Form::Z0Z1;
        const PhasorText p = ParsePhasor(o.z0z1, "--z0z1");
        if (p.magnitude < 0) throw Error("--z0z1: the magnitude is not negative");
        plan.k0 = kv::relay::ResidualCompensation::FromZ0Z1(p.magnitude, p.angle);
    }
    if (!o.relayK0.empty()) plan.relayK0 = PolarK0(o.relayK0, "--relay-k0");

    const int models = !o.current.empty() + !o.voltage.empty() + !o.source.empty() + !o.sir.empty();
    if (models > 1) throw Error("give one test model: --current, --voltage, --source or --sir");
    plan.modelFirst = plan.axes.size();
    if (!o.voltage.empty()) {
        plan.model = Plan::Model::Voltage;
        plan.axes.push_back({"voltage", ParseRange(o.voltage, "--voltage"), {}});
        RequireNonNegative(plan.axes.back().range, "--voltage", "voltage");
    } else if (!o.source.empty()) {
        plan.model = Plan::Model::Source;
        const auto [s1, s2] = ParsePair(o.source, '@', "--source");
        RequireNonNegative(s1, "--source", "magnitude");
        plan.axes.push_back({"source.magnitude", s1, {}});
        plan.axes.push_back({"source.angle", s2, {}});
    } else if (!o.sir.empty()) {
        plan.model = Plan::Model::Sir;
        plan.axes.push_back({"sir", ParseRange(o.sir, "--sir"), {}});
        RequireNonNegative(plan.axes.back().range, "--sir", "ratio");
    } else {
        plan.axes.push_back({"current", ParseRange(o.current.empty() ? "5" : o.current, "--current"), {}});
        RequireNonNegative(plan.axes.back().range, "--current", "current");
    }
    if (!o.ks.empty()) {
        if (plan.model != Plan::Model::Source && plan.model != Plan::Model::Sir)
            throw Error("--ks is the source's k0: it goes with --source or --sir");
        plan.ks = PolarK0(o.ks, "--ks");
    }
    if (o.device >= 0) plan.limits = kv::relay::ApplyDeviceType(o.device);
    return plan;
}

// The fault at one point of the axes.
ImpedanceFault FaultAt(const Plan& plan, const std::vector<double>& at, double nominal) {
    ImpedanceFault f;
    f.loop = plan.loop;
    f.nominalVoltage = nominal;
    f.z = plan.zPolar ? kv::relay::Impedance::Polar(at[0], at[1]) : kv::relay::Impedance::RX(at[0], at[1]);
    switch (plan.k0Form) {
        case Plan::K0Form::None: break;
        case Plan::K0Form::Polar:
        case Plan::K0Form::Z0Z1: f.k0 = plan.k0; break;
        case Plan::K0Form::RERL: f.k0 = kv::relay::ResidualCompensation::FromRERLXEXL(plan.rerl, plan.xexl, f.z); break;
    }
    f.relayK0 = plan.relayK0;
    const double q = at[plan.modelFirst];
    switch (plan.model) {
        case Plan::Model::Current: f.model = kv::relay::ConstantCurrent{q}; break;
        case Plan::Model::Voltage: f.model = kv::relay::ConstantVoltage{q}; break;
        case Plan::Model::Source:
            f.model = kv::relay::SourceImpedance{kv::relay::Impedance::Polar(q, at[plan.modelFirst + 1]), plan.ks};
            break;
        case Plan::Model::Sir: f.model = kv::relay::SourceToLineRatio{q, plan.ks}; break;
    }
    f.limits = plan.limits;
    return f;
}

// ---- JSON: one object per point; CSV is the same object flattened ----

const char* const kPhases[] = {"A", "B", "C"};
const char* const kSequences[] = {"positive", "negative", "zero"};
const char* const kLines[] = {"AB", "BC", "CA"};

Json GroupJson(const kv::relay::ThreePhase& set, const char* const* names) {
    Json json = Json::object();
    const auto reported = kv::relay::Report(set);
    for (std::size_t k = 0; k < 3; ++k) json[names[k]] = PhasorJson(reported[k].magnitude, reported[k].angle);
    return json;
}

Json HalvesJson(const kv::relay::ThreePhase& u, const kv::relay::ThreePhase& i, const char* const* names) {
    return {{"voltages", GroupJson(u, names)}, {"currents", GroupJson(i, names)}};
}

Json ImpedanceJson(kv::relay::Impedance z) {
    return {{"r", z.R()}, {"x", z.X()}, {"magnitude", z.Magnitude()}, {"angle", z.Angle()}};
}

Json OptionalNumber(const std::optional<double>& value) { return value ? Json(*value) : Json(nullptr); }

// `flat`: a missing impedance is an object of nulls, so that every row has the same columns.
Json PointJson(const ImpedanceOptions& o, const ImpedanceFault& f, const ImpedanceFaultResult& r, bool flat) {
    Json json;
    json["loop"] = std::string(Name(f.loop));
    json["model"] = std::string(Name(f.model));
    json["nominal"] = f.nominalVoltage;
    json["z"] = ImpedanceJson(f.z);
    json["k0"] = {{"magnitude", r.k0.magnitude},         {"angle", r.k0.angle},
                  {"rerl", OptionalNumber(r.k0.rerl)},    {"xexl", OptionalNumber(r.k0.xexl)},
                  {"z0z1_magnitude", r.k0.z0z1Magnitude}, {"z0z1_angle", r.k0.z0z1Angle}};
    const kv::relay::ResidualCompensation relay = f.relayK0.value_or(f.k0);
    json["relay_k0"] = {{"magnitude", relay.Magnitude()}, {"angle", relay.Angle()}};
    const bool source = std::holds_alternative<kv::relay::SourceImpedance>(f.model) ||
                        std::holds_alternative<kv::relay::SourceToLineRatio>(f.model);
    const Json nulls = {{"r", nullptr}, {"x", nullptr}, {"magnitude", nullptr}, {"angle", nullptr}};
    json["source"] = source ? ImpedanceJson(r.sourceImpedance) : flat ? nulls : Json(nullptr);
    json["test_current"] = r.testCurrent;
    json["feasible"] = r.feasible;
    json["loop_voltage"] = r.loopVoltage;
    json["prefault_loop_voltage"] = r.preFaultLoopVoltage;
    json["phases"] = HalvesJson(r.phases.voltages, r.phases.currents, kPhases);
    json["symmetrical"] = HalvesJson(AsTriple(kv::relay::Symmetrical(r.phases.voltages)),
                                     AsTriple(kv::relay::Symmetrical(r.phases.currents)), kSequences);
    json["line"] = HalvesJson(kv::relay::LineValues(r.phases.voltages), kv::relay::LineValues(r.phases.currents), kLines);
    Json loops = Json::object();
    for (std::size_t k = 0; k < kv::relay::kMeasuringLoops; ++k) {
        const std::string name(Name(static_cast<kv::relay::MeasuringLoop>(k)));
        loops[name] = r.loops[k] ? ImpedanceJson(*r.loops[k]) : flat ? nulls : Json(nullptr);
    }
    json["loops"] = loops;
    if (r.limits) {
        json["limits"] = {{"device", o.device},
                          {"umax", f.limits->umax},
                          {"imax", f.limits->imax},
                          {"largest_voltage", r.limits->largestVoltage},
                          {"voltage_exceeded", r.limits->voltageExceeded},
                          {"largest_current", r.limits->largestCurrent},
                          {"current_exceeded", r.limits->currentExceeded}};
    } else {
        json["limits"] = nullptr;
    }
    return json;
}

// ---- the human table ----

std::string Ohms(kv::relay::Impedance z) {
    return Fixed(z.Magnitude(), Decimals(3)) + " Ohm at " + FixedAngle(z.Magnitude(), z.Angle(), 3, Decimals(2)) +
           " deg (R = " + Fixed(z.R(), Decimals(3)) + " Ohm, X = " + Fixed(z.X(), Decimals(3)) + " Ohm)";
}

std::string ModelText(const ImpedanceFault& f, const ImpedanceFaultResult& r) {
    if (const auto* m = std::get_if<kv::relay::ConstantCurrent>(&f.model))
        return "constant current " + Fixed(m->current, Decimals(3)) + " A";
    if (const auto* m = std::get_if<kv::relay::ConstantVoltage>(&f.model))
        return "constant voltage " + Fixed(m->voltage, Decimals(3)) + " V across the faulted loop";
    std::string text = "source impedance ZS = " + Ohms(r.sourceImpedance);
    if (const auto* m = std::get_if<kv::relay::SourceToLineRatio>(&f.model))
        text = "source-to-line ratio " + Fixed(m->sir, Decimals(3)) + ": " + text;
    const auto& ks = std::holds_alternative<kv::relay::SourceImpedance>(f.model)
                         ? std::get<kv::relay::SourceImpedance>(f.model).sourceK0
                         : std::get<kv::relay::SourceToLineRatio>(f.model).sourceK0;
    return text + (ks ? ", kS = " + Fixed(ks->Magnitude(), 3) + " at " + Fixed(ks->Angle(), 2) + " deg" : ", kS = k0");
}

void PrintGroup(std::FILE* out, const char* heading, const Json& group, const char* const* names) {
    std::vector<std::vector<std::string>> rows{{heading, "U, V", "angle U, deg", "I, A", "angle I, deg"}};
    const int m = Decimals(3), a = Decimals(2);
    for (std::size_t k = 0; k < 3; ++k) {
        const Json& u = group["voltages"][names[k]];
        const Json& i = group["currents"][names[k]];
        rows.push_back({names[k], Fixed(u["magnitude"].get<double>(), m), Fixed(u["angle"].get<double>(), a),
                        Fixed(i["magnitude"].get<double>(), m), Fixed(i["angle"].get<double>(), a)});
    }
    PrintTable(out, rows);
}

void PrintPoint(std::FILE* out, const ImpedanceOptions& o, const ImpedanceFault& f, const ImpedanceFaultResult& r,
                const Json& json) {
    const int m = Decimals(3);
    std::fprintf(out, "Fault %s at Z = %s\n", std::string(Name(f.loop)).c_str(), Ohms(f.z).c_str());
    std::fprintf(out, "Test model: %s\n", ModelText(f, r).c_str());
    std::fprintf(out, "Nominal line voltage %s V (phase %s V); the source star has EA at 0 deg, EB at 240, EC at 120\n",
                 Fixed(f.nominalVoltage, m).c_str(), Fixed(f.nominalVoltage / std::sqrt(3.0), m).c_str());
    const auto& k = r.k0;
    std::fprintf(out, "k0 = %s at %s deg; RE/RL = %s, XE/XL = %s; Z0/Z1 = %s at %s deg\n", Fixed(k.magnitude, 4).c_str(),
                 Fixed(k.angle, 2).c_str(), k.rerl ? Fixed(*k.rerl, 4).c_str() : "no value (R = 0)",
                 k.xexl ? Fixed(*k.xexl, 4).c_str() : "no value (X = 0)", Fixed(k.z0z1Magnitude, 4).c_str(),
                 Fixed(k.z0z1Angle, 2).c_str());
    if (f.relayK0)
        std::fprintf(out, "The relay's k0 = %s at %s deg\n", Fixed(f.relayK0->Magnitude(), 4).c_str(),
                     Fixed(f.relayK0->Angle(), 2).c_str());
    else
        std::fprintf(out, "The relay's k0 is the line's\n");
    const bool earth = f.loop <= kv::relay::FaultLoop::CN;
    const bool phaseToPhase = !earth && f.loop != kv::relay::FaultLoop::ABC;
    std::fprintf(out, "Test current %s A; %s: the faulted loop's voltage %s V %s its pre-fault value %s V%s\n\n",
                 Fixed(r.testCurrent, m).c_str(), r.feasible ? "feasible" : "NOT FEASIBLE",
                 Fixed(r.loopVoltage, m).c_str(), r.feasible ? "is within" : "exceeds",
                 Fixed(r.preFaultLoopVoltage, m).c_str(),
                 r.feasible ? "" : phaseToPhase ? " (Un): no real fault gives it" : " (Vn): no real fault gives it");

    PrintGroup(out, "Phase", json["phases"], kPhases);
    std::fprintf(out, "\nApparent impedances (what each loop of the relay measures, with the relay's k0)\n");
    std::vector<std::vector<std::string>> rows{{"Loop", "R, Ohm", "X, Ohm", "|Z|, Ohm", "angle, deg"}};
    for (std::size_t l = 0; l < kv::relay::kMeasuringLoops; ++l) {
        const std::string name(Name(static_cast<kv::relay::MeasuringLoop>(l)));
        if (!r.loops[l]) {
            rows.push_back({name, "no value", "", "", ""});
            continue;
        }
        const auto z = *r.loops[l];
        rows.push_back({name, Fixed(z.R(), m), Fixed(z.X(), m), Fixed(z.Magnitude(), m),
                        FixedAngle(z.Magnitude(), z.Angle(), m, Decimals(2))});
    }
    PrintTable(out, rows);
    if (std::find(r.loops.begin(), r.loops.end(), std::nullopt) != r.loops.end())
        std::fprintf(out, "(no value: the loop's current is 0)\n");

    std::fprintf(out, "\n");
    if (r.limits) {
        const bool within = !r.limits->voltageExceeded && !r.limits->currentExceeded;
        std::fprintf(out, "Device limits (device type %d): %s\n", o.device, within ? "within" : "EXCEEDED");
        PrintTable(out, {{"Quantity", "largest", "limit", "value", "verdict"},
                         {"phase voltages", Fixed(r.limits->largestVoltage, m) + " V", "globUmax",
                          Fixed(f.limits->umax, m) + " V", r.limits->voltageExceeded ? "exceeds" : "within"},
                         {"phase currents", Fixed(r.limits->largestCurrent, m) + " A", "globImax",
                          Fixed(f.limits->imax, m) + " A", r.limits->currentExceeded ? "exceeds" : "within"}});
    } else {
        std::fprintf(out, "Device limits: not checked (--device CODE checks them)\n");
    }
    std::fprintf(out, "\nSymmetrical components\n");
    PrintGroup(out, "Sequence", json["symmetrical"], kSequences);
    std::fprintf(out, "\nLine values\n");
    PrintGroup(out, "Line", json["line"], kLines);
}

void Plot(const ImpedanceFault& f, const ImpedanceFaultResult& r, const Json& json, const std::string& path) {
    VectorDiagram d;
    d.title = "Fault " + std::string(Name(f.loop)) + " at Z = " + Fixed(f.z.Magnitude(), 2) + " Ohm, " +
              Fixed(f.z.Angle(), 1) + " deg";
    d.subtitle = ModelText(f, r) + "; k0 = " + Fixed(r.k0.magnitude, 3) + " at " + Fixed(r.k0.angle, 1) + " deg" +
                 (r.feasible ? "" : "; NOT FEASIBLE");
    for (std::size_t k = 0; k < 3; ++k) {
        const Json& u = json["phases"]["voltages"][kPhases[k]];
        const Json& i = json["phases"]["currents"][kPhases[k]];
        d.u[k] = {u["magnitude"].get<double>(), u["angle"].get<double>()};
        d.i[k] = {i["magnitude"].get<double>(), i["angle"].get<double>()};
    }
    d.notes.push_back("Symmetrical components");
    static const char* const kU[] = {"U1", "U2", "U0"};
    static const char* const kI[] = {"I1", "I2", "I0"};
    for (const auto& [names, half, unit] : {std::tuple{kU, "voltages", "V"}, std::tuple{kI, "currents", "A"}}) {
        for (std::size_t k = 0; k < 3; ++k) {
            const Json& p = json["symmetrical"][half][kSequences[k]];
            d.notes.push_back(std::string(names[k]) + " = " + Fixed(p["magnitude"].get<double>(), 3) + " " + unit +
                              " at " + Fixed(p["angle"].get<double>(), 1) + " deg");
        }
    }
    RxDiagram rx;
    rx.title = "R-X plane: the fault and what the loops measure";
    rx.faultR = f.z.R();
    rx.faultX = f.z.X();
    for (std::size_t l = 0; l < kv::relay::kMeasuringLoops; ++l) {
        rx.loops[l].label = std::string(Name(static_cast<kv::relay::MeasuringLoop>(l)));
        rx.loops[l].present = r.loops[l].has_value();
        if (r.loops[l]) {
            rx.loops[l].r = r.loops[l]->R();
            rx.loops[l].x = r.loops[l]->X();
        }
    }
    DrawVectorAndRxDiagrams(d, rx, path);
}

// The layer names its fields as the sequence file does; here they are options.
[[noreturn]] void Rethrow(const kv::relay::Error& e) {
    std::string message = e.what();
    const std::size_t colon = message.find(':');
    std::string field = message.substr(0, colon);
    if (colon != std::string::npos && field.find(' ') == std::string::npos) {
        for (char& c : field)
            if (c == '_') c = '-';
        message = (field == "loop" ? "LOOP" : "--" + field) + message.substr(colon);
    }
    throw Error(message);
}

void Run(const ImpedanceOptions& o) {
    Output out(o.output);
    if (!o.plot.empty()) CheckPictureName(o.plot);
    Plan plan = MakePlan(o);

    double total = 1;
    bool sweep = false;
    for (Axis& axis : plan.axes) {
        total *= static_cast<double>(axis.range.Count());
        sweep = sweep || axis.range.IsSweep();
    }
    if (!sweep) {
        std::vector<double> at;
        for (const Axis& axis : plan.axes) at.push_back(axis.range.start);
        const ImpedanceFault f = FaultAt(plan, at, o.nominal);
        const ImpedanceFaultResult r = kv::relay::Calculate(f);
        const Json json = PointJson(o, f, r, false);
        if (o.json)
            std::fprintf(out.file(), "%s\n", json.dump(2).c_str());
        else
            PrintPoint(out.file(), o, f, r, json);
        if (!o.plot.empty()) Plot(f, r, json, o.plot);
        out.Commit();
        return;
    }
    if (!o.plot.empty()) throw Error("--plot draws one fault; it cannot be combined with a sweep");
    CheckRowCount(total, o.maxRows);
    for (Axis& axis : plan.axes) axis.points = axis.range.Points();

    // Every combination, the last axis fastest.
    std::vector<std::size_t> index(plan.axes.size(), 0);
    std::vector<double> at(plan.axes.size());
    bool first = true;
    for (;;) {
        for (std::size_t k = 0; k < at.size(); ++k) at[k] = plan.axes[k].points[index[k]];
        const ImpedanceFault f = FaultAt(plan, at, o.nominal);
        const Json json = PointJson(o, f, kv::relay::Calculate(f), !o.json);
        if (o.json) {
            std::fprintf(out.file(), "%s\n", json.dump().c_str());
        } else {
            WriteCsvRow(out.file(), json, first);
        }
        first = false;
        std::size_t k = index.size();
        while (k > 0 && ++index[k - 1] == plan.axes[k - 1].points.size()) index[--k] = 0;
        if (k == 0) break;
    }
    out.Commit();
}

}  // namespace

void AddImpedanceCommand(CLI::App& app) {
    auto o = std::make_shared<ImpedanceOptions>();
    CLI::App* cmd = app.add_subcommand("impedance", "The phasors of a fault at an impedance, for distance-protection tests");
    cmd->footer(
        "Phasors are RMS, angles in degrees. Before the fault the source star is EA = Vn at 0, EB at 240 and EC at\n"
        "120 deg (Vn = nominal / sqrt 3); the fault's currents and voltages keep that reference. Any number of --z,\n"
        "--rx and the test quantity may be a sweep START:STOP:STEP (\"--z 1:10:0.5@75\", \"--rx 0:4:0.5,4.8\");\n"
        "the output is then CSV, or JSON lines with --json.\n"
        "Example: kvdata impedance AN --z 5@75 --k0 0.8@-5 --current 5");
    cmd->add_option("LOOP", o->loop, "Faulted loop: AN, BN, CN, AB, BC, CA or ABC (any case)")->required();
    cmd->add_option("--z", o->z, "Line impedance to the fault, MAG@ANG in Ohm and degrees")->type_name("MAG@ANG");
    cmd->add_option("--rx", o->rx, "Line impedance to the fault as R,X in Ohm")->type_name("R,X");
    cmd->add_option("--k0", o->k0, "Residual compensation k0 = (Z0 - Z1) / (3 Z1) as MAG@ANG (default: 0)")
        ->type_name("MAG@ANG");
    cmd->add_option("--rerl", o->rerl, "k0 as RE/RL (with --xexl)")->type_name("A");
    cmd->add_option("--xexl", o->xexl, "k0 as XE/XL (with --rerl)")->type_name("B");
    cmd->add_option("--z0z1", o->z0z1, "k0 as Z0/Z1, MAG@ANG")->type_name("MAG@ANG");
    cmd->add_option("--current", o->current, "Test model: constant fault current in A (the default, 5 A)")->type_name("I");
    cmd->add_option("--voltage", o->voltage,
                    "Test model: constant voltage of the faulted loop in V (phase-to-earth for AN, BN, CN and ABC; line "
                    "voltage for AB, BC, CA)")
        ->type_name("U");
    cmd->add_option("--source", o->source, "Test model: source impedance ZS, MAG@ANG in Ohm and degrees")
        ->type_name("MAG@ANG");
    cmd->add_option("--sir", o->sir, "Test model: source-to-line impedance ratio, ZS = SIR |Z| at the angle of Z")
        ->type_name("S");
    cmd->add_option("--ks", o->ks, "The source's k0 with --source or --sir, MAG@ANG (default: k0)")->type_name("MAG@ANG");
    AddNumber(cmd, "--nominal", o->nominal, "Nominal line voltage Un in V (default 100)");
    cmd->add_option("--relay-k0", o->relayK0, "The relay's k0 setting, MAG@ANG (default: the line's k0)")
        ->type_name("MAG@ANG");
    cmd->add_option("--device", o->device, "Check the limits of this device type (20, 21, 23, 30, 31, 35, 900)");
    cmd->add_flag("--json", o->json, "Print JSON (one object, or JSON lines for a sweep)");
    cmd->add_option("--plot", o->plot, "Draw the vector diagram and the R-X diagram into this .png, .svg or .pdf file");
    cmd->add_option("-o,--output", o->output, "Write the output into this file instead of standard output");
    cmd->add_option("--max-rows", o->maxRows, "Largest number of rows that the sweeps may give together")
        ->check(CLI::PositiveNumber);
    cmd->callback([o] {
        try {
            Run(*o);
        } catch (const kv::relay::Error& e) {
            Rethrow(e);
        }
    });
}

}  // namespace kvdata
