// kvdata fault: the six phasors of a fault, their symmetrical components and line
// values, as a table, JSON, CSV rows of a sweep, or a vector diagram.

#include <charconv>
#include <cstdio>
#include <map>
#include <memory>

#include "Cli.h"
#include "Plot.h"

namespace kvdata {

namespace {

enum class Synthesis { Full, Voltage, Current, Record };

const std::map<std::string, Synthesis> kSynthesisNames = {
    {"full", Synthesis::Full}, {"voltage", Synthesis::Voltage},
    {"current", Synthesis::Current}, {"record", Synthesis::Record}};

const char* FunctionName(Synthesis synthesis) {
    switch (synthesis) {
        case Synthesis::Full: return "SetUIFaza";
        case Synthesis::Voltage: return "SetUFaza";
        case Synthesis::Current: return "SetIFaza";
        case Synthesis::Record: return "SetUIFaza (record)";
    }
    return "";
}

struct FaultOptions {
    std::string type;
    std::string u = "30";
    std::string i = "5";
    std::string phi = "75";
    double unom = -1;  // set from cstUmax100 after the device type
    bool unomGiven = false;
    double aux = -1;
    double auxAngle = 0;
    double uhealthy = -1;
    std::string function = "full";
    int device = -1;
    bool noFold = false;
    bool json = false;
    std::string plot;
};

struct FaultPoint {
    double U, I, phi;
    int result;
    kv::CValueIU phases;
    kv::CValueIU sequence;
    int sequenceWithinLimits;
    kv::CValueIU line;
    int lineWithinLimits;
};

bool WritesVoltages(Synthesis s) { return s != Synthesis::Current; }
bool WritesCurrents(Synthesis s) { return s != Synthesis::Voltage; }
unsigned short Mask(Synthesis s) {
    return static_cast<unsigned short>((WritesCurrents(s) ? 1 : 0) | (WritesVoltages(s) ? 2 : 0));
}

FaultPoint Compute(int code, Synthesis synthesis, const FaultOptions& o, double U, double I, double phi) {
    FaultPoint p{U, I, phi, 0, {}, {}, 0, {}, 0};
    kv::CValueIU& v = p.phases;
    switch (synthesis) {
        case Synthesis::Full:
            p.result = kv::SetUIFaza(code, U, I, phi, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2],
                                     v.dI[0], v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2], o.unom, o.aux,
                                     o.auxAngle, o.uhealthy);
            break;
        case Synthesis::Voltage:
            p.result = kv::SetUFaza(code, U, phi, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2]);
            break;
        case Synthesis::Current:
            p.result = kv::SetIFaza(code, I, phi, v.dI[0], v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2]);
            break;
        case Synthesis::Record:
            p.result = kv::SetUIFaza(code, 1, 1, U, I, phi, v);
            break;
    }
    p.sequence = v;
    p.sequenceWithinLimits = kv::FazToSim(p.sequence, Mask(synthesis));
    p.line = v;
    p.lineWithinLimits = kv::FazToLin(p.line, Mask(synthesis));
    return p;
}

const char* const kPhases[] = {"A", "B", "C"};
const char* const kSequences[] = {"positive", "negative", "zero"};
const char* const kLines[] = {"AB", "BC", "CA"};

Json Group(const double* magnitude, const double* angle, const char* const* names) {
    Json group = Json::object();
    for (int k = 0; k < 3; ++k) group[names[k]] = PhasorJson(magnitude[k], angle[k]);
    return group;
}

Json Halves(const kv::CValueIU& v, Synthesis s, const char* const* names) {
    Json halves = Json::object();
    if (WritesVoltages(s)) halves["voltages"] = Group(v.dU, v.dFiU, names);
    if (WritesCurrents(s)) halves["currents"] = Group(v.dI, v.dFiI, names);
    return halves;
}

Json PointJson(const FaultType& type, Synthesis s, const FaultOptions& o, const FaultPoint& p) {
    Json json;
    json["fault"] = {{"code", type.code}, {"name", type.name}};
    json["function"] = FunctionName(s);
    json["input"] = {{"U", p.U}, {"I", p.I}, {"phi", p.phi}};
    if (s == Synthesis::Full) {
        json["input"]["Unom"] = o.unom;
        json["input"]["Aux"] = o.aux;
        json["input"]["AuxAngle"] = o.auxAngle;
        json["input"]["Uhealthy"] = o.uhealthy;
    }
    json["device"] = o.device >= 0 ? Json(o.device) : Json(nullptr);
    json["fold"] = !o.noFold;
    json["result"] = {{"code", p.result}, {"meaning", ResultMeaning(p.result)}};
    json["phases"] = Halves(p.phases, s, kPhases);
    json["symmetrical"] = Halves(p.sequence, s, kSequences);
    json["symmetrical"]["within_limits"] = p.sequenceWithinLimits == 1;
    json["line"] = Halves(p.line, s, kLines);
    json["line"]["within_limits"] = p.lineWithinLimits == 1;
    return json;
}

void PrintGroupTable(const char* heading, const kv::CValueIU& v, Synthesis s, const char* const* names) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> header{heading};
    if (WritesVoltages(s)) header.insert(header.end(), {"U, V", "angle U, deg"});
    if (WritesCurrents(s)) header.insert(header.end(), {"I, A", "angle I, deg"});
    rows.push_back(header);
    for (int k = 0; k < 3; ++k) {
        std::vector<std::string> row{names[k]};
        if (WritesVoltages(s)) row.insert(row.end(), {Fixed(v.dU[k], 3), Fixed(v.dFiU[k], 2)});
        if (WritesCurrents(s)) row.insert(row.end(), {Fixed(v.dI[k], 3), Fixed(v.dFiI[k], 2)});
        rows.push_back(row);
    }
    PrintTable(rows);
}

std::string Limits(int withinLimits) {
    if (withinLimits == 1) return "within the device's limits";
    return "a magnitude exceeds the device's limits (globUmax " + Fixed(kv::globUmax, 1) + " V, globImax " +
           Fixed(kv::globImax, 1) + " A)";
}

void PrintPoint(const FaultType& type, Synthesis s, const FaultOptions& o, const FaultPoint& p) {
    std::printf("%s (code %d) with %s: U = %s V, I = %s A, phi = %s deg", type.name.c_str(), type.code,
                FunctionName(s), Fixed(p.U, 3).c_str(), Fixed(p.I, 3).c_str(), Fixed(p.phi, 2).c_str());
    if (s == Synthesis::Full) std::printf(", Unom = %s V", Fixed(o.unom, 3).c_str());
    std::printf("\nResult %d: %s\n\n", p.result, ResultMeaning(p.result));
    PrintGroupTable("Phase", p.phases, s, kPhases);
    std::printf("\nSymmetrical components, %s\n", Limits(p.sequenceWithinLimits).c_str());
    PrintGroupTable("Sequence", p.sequence, s, kSequences);
    std::printf("\nLine values, %s\n", Limits(p.lineWithinLimits).c_str());
    PrintGroupTable("Line", p.line, s, kLines);
}

std::string Shortest(double value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

const char* const kSequenceColumns[] = {"1", "2", "0"};

void PrintCsvHeader(Synthesis s) {
    std::string header = "U,I,phi,result";
    for (const char* const* names : {kPhases, kSequenceColumns}) {
        if (WritesVoltages(s))
            for (int k = 0; k < 3; ++k) header += std::string(",U") + names[k] + ",fiU" + names[k];
        if (WritesCurrents(s))
            for (int k = 0; k < 3; ++k) header += std::string(",I") + names[k] + ",fiI" + names[k];
    }
    std::printf("%s\n", header.c_str());
}

void PrintCsvRow(Synthesis s, const FaultPoint& p) {
    std::string row = Shortest(p.U) + "," + Shortest(p.I) + "," + Shortest(p.phi) + "," + std::to_string(p.result);
    for (const kv::CValueIU* v : {&p.phases, &p.sequence}) {
        if (WritesVoltages(s))
            for (int k = 0; k < 3; ++k) row += "," + Shortest(v->dU[k]) + "," + Shortest(v->dFiU[k]);
        if (WritesCurrents(s))
            for (int k = 0; k < 3; ++k) row += "," + Shortest(v->dI[k]) + "," + Shortest(v->dFiI[k]);
    }
    std::printf("%s\n", row.c_str());
}

std::string SequenceNote(const char* what, const char* unit, double magnitude, double angle) {
    return std::string(what) + " = " + Fixed(magnitude, 3) + " " + unit + " at " + Fixed(angle, 1) + " deg";
}

void Plot(const FaultType& type, Synthesis s, const FaultPoint& p, const std::string& path) {
    VectorDiagram d;
    d.title = type.name + " (code " + std::to_string(type.code) + ")";
    d.subtitle = std::string(FunctionName(s)) + ": U = " + Fixed(p.U, 2) + " V, I = " + Fixed(p.I, 2) +
                 " A, phi = " + Fixed(p.phi, 1) + " deg; result " + std::to_string(p.result) + ", " +
                 ResultMeaning(p.result);
    d.voltages = WritesVoltages(s);
    d.currents = WritesCurrents(s);
    for (int k = 0; k < 3; ++k) {
        d.u[k] = {p.phases.dU[k], p.phases.dFiU[k]};
        d.i[k] = {p.phases.dI[k], p.phases.dFiI[k]};
    }
    static const char* const kU[] = {"U1", "U2", "U0"};
    static const char* const kI[] = {"I1", "I2", "I0"};
    d.notes.push_back("Symmetrical components");
    for (int k = 0; k < 3; ++k) {
        if (d.voltages) d.notes.push_back(SequenceNote(kU[k], "V", p.sequence.dU[k], p.sequence.dFiU[k]));
    }
    for (int k = 0; k < 3; ++k) {
        if (d.currents) d.notes.push_back(SequenceNote(kI[k], "A", p.sequence.dI[k], p.sequence.dFiI[k]));
    }
    DrawVectorDiagram(d, path);
}

void Run(FaultOptions& o) {
    const auto synthesis = kSynthesisNames.at(o.function);
    if (!o.plot.empty()) CheckPictureName(o.plot);
    if (o.device >= 0) ApplyDevice(o.device);
    if (o.noFold) kv::glob_bEnableAbsAngle = 0;
    if (!o.unomGiven) o.unom = kv::cstUmax100;

    const int code = ResolveFaultType(o.type);
    FaultType type{code, ""};
    for (const FaultType& t : FaultTypes())
        if (t.code == code) type = t;

    const Range u = ParseRange(o.u, "--u");
    const Range i = ParseRange(o.i, "--i");
    const Range phi = ParseRange(o.phi, "--phi");
    const bool sweep = u.IsSweep() || i.IsSweep() || phi.IsSweep();
    if (sweep && !o.plot.empty()) throw Error("--plot draws one fault; it cannot be combined with a sweep");

    if (!sweep) {
        const FaultPoint p = Compute(code, synthesis, o, u.start, i.start, phi.start);
        if (o.json)
            std::printf("%s\n", PointJson(type, synthesis, o, p).dump(2).c_str());
        else
            PrintPoint(type, synthesis, o, p);
        if (!o.plot.empty()) Plot(type, synthesis, p, o.plot);
        return;
    }
    if (!o.json) PrintCsvHeader(synthesis);
    for (double uValue : u.Points())
        for (double iValue : i.Points())
            for (double phiValue : phi.Points()) {
                const FaultPoint p = Compute(code, synthesis, o, uValue, iValue, phiValue);
                if (o.json)
                    std::printf("%s\n", PointJson(type, synthesis, o, p).dump().c_str());
                else
                    PrintCsvRow(synthesis, p);
            }
}

}  // namespace

void AddFaultCommand(CLI::App& app) {
    auto options = std::make_shared<FaultOptions>();
    CLI::App* cmd = app.add_subcommand("fault", "The phasors of a fault at the relay under test");
    cmd->add_option("TYPE", options->type, "Fault type: a name such as FaultAB (\"Fault\" may be left out) or a code")
        ->required();
    cmd->add_option("--u", options->u, "Fault voltage U in V, or START:STOP:STEP");
    cmd->add_option("--i", options->i, "Fault current I in A, or START:STOP:STEP");
    cmd->add_option("--phi", options->phi, "Fault angle phi in degrees, or START:STOP:STEP");
    cmd->add_option_function<double>(
           "--unom", [options](double v) { options->unom = v; options->unomGiven = true; },
           "Nominal line voltage Unom in V (default: cstUmax100 of the device)");
    cmd->add_option("--aux", options->aux, "Aux: base voltage or positive-sequence quantity (negative: none)");
    cmd->add_option("--aux-angle", options->auxAngle, "Angle of Aux in degrees");
    cmd->add_option("--uhealthy", options->uhealthy, "Healthy-phase voltage (negative: follows the nominal)");
    cmd->add_option("--function", options->function,
                    "Synthesis: full (voltages and currents with load), voltage, current, or record")
        ->check(CLI::IsMember({"full", "voltage", "current", "record"}));
    cmd->add_option("--device", options->device, "Apply the limits of this device type first");
    cmd->add_flag("--no-fold", options->noFold, "Leave angles as computed instead of folding them into 0..360");
    cmd->add_flag("--json", options->json, "Print JSON (one object, or JSON lines for a sweep)");
    cmd->add_option("--plot", options->plot, "Draw the vector diagram into this .png, .svg or .pdf file");
    cmd->callback([options] { Run(*options); });
}

}  // namespace kvdata
