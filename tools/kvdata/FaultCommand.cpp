// kvdata fault: the six phasors of a fault, their symmetrical components and line
// values, with the device's limits checked, as a table, JSON, CSV or JSON lines of a
// sweep, or a vector diagram.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "Cli.h"
#include "FaultMeaning.h"
#include "Limits.h"
#include "Plot.h"
#include "Rows.h"

namespace kvdata {

namespace {

const std::map<std::string, Synthesis> kSynthesisNames = {
    {"full", Synthesis::Full}, {"voltage", Synthesis::Voltage},
    {"current", Synthesis::Current}, {"record", Synthesis::Record}};

struct FaultOptions {
    std::string type;
    std::string u = "30";
    std::string i = "5";
    std::string phi = "75";
    double unom = -1;  // the geometry threshold; set from cstUmax100 when not given
    bool unomGiven = false;
    double nominal = 0;  // the system's line voltage; 0 keeps the library's
    double aux = -1;
    double auxAngle = 0;
    double uhealthy = -1;
    std::string function = "full";
    int device = -1;
    bool noFold = false;
    bool json = false;
    std::string plot;
    std::string output;
    std::size_t maxRows = kDefaultMaxRows;
};

struct FaultPoint {
    double U, I, phi;
    int result;
    kv::CValueIU phases;
    kv::CValueIU sequence;
    int sequenceWithinLimits;
    kv::CValueIU line;
    int lineWithinLimits;
    Verdicts limits;
};

bool WritesVoltages(Synthesis s) { return s != Synthesis::Current; }
bool WritesCurrents(Synthesis s) { return s != Synthesis::Voltage; }
unsigned short Mask(Synthesis s) {
    return static_cast<unsigned short>((WritesCurrents(s) ? 1 : 0) | (WritesVoltages(s) ? 2 : 0));
}

const char* const kPhases[] = {"A", "B", "C"};
const char* const kSequences[] = {"positive", "negative", "zero"};
const char* const kLines[] = {"AB", "BC", "CA"};

int Synthesise(int code, Synthesis synthesis, const FaultOptions& o, double U, double I, double phi,
               kv::CValueIU& v) {
    switch (synthesis) {
        case Synthesis::Full:
            return kv::SetUIFaza(code, U, I, phi, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2],
                                 v.dI[0], v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2], o.unom, o.aux,
                                 o.auxAngle, o.uhealthy);
        case Synthesis::Voltage:
            return kv::SetUFaza(code, U, phi, v.dU[0], v.dFiU[0], v.dU[1], v.dFiU[1], v.dU[2], v.dFiU[2]);
        case Synthesis::Current:
            return kv::SetIFaza(code, I, phi, v.dI[0], v.dFiI[0], v.dI[1], v.dFiI[1], v.dI[2], v.dFiI[2]);
        case Synthesis::Record:
            return kv::SetUIFaza(code, 1, 1, U, I, phi, v);
    }
    return 3;
}

bool AllFinite(const kv::CValueIU& v) {
    for (int k = 0; k < 3; ++k)
        if (!std::isfinite(v.dU[k]) || !std::isfinite(v.dFiU[k]) || !std::isfinite(v.dI[k]) ||
            !std::isfinite(v.dFiI[k]))
            return false;
    return true;
}

FaultPoint Compute(int code, Synthesis synthesis, const FaultOptions& o, double U, double I, double phi) {
    FaultPoint p{U, I, phi, 0, {}, {}, 0, {}, 0, {}};
    p.result = Synthesise(code, synthesis, o, U, I, phi, p.phases);
    p.sequence = p.phases;
    p.sequenceWithinLimits = kv::FazToSim(p.sequence, Mask(synthesis));
    p.line = p.phases;
    p.lineWithinLimits = kv::FazToLin(p.line, Mask(synthesis));
    if (!AllFinite(p.phases) || !AllFinite(p.sequence) || !AllFinite(p.line))
        throw Error("the fault at U = " + Shortest(U) + ", I = " + Shortest(I) + ", phi = " + Shortest(phi) +
                    " overflows: a result is not a finite number");
    p.limits = CheckLimits(p.phases, p.line, WritesVoltages(synthesis), WritesCurrents(synthesis));
    return p;
}

// ---- JSON, one object per point; the same writer serves a single fault and a sweep ----

struct Context {
    FaultType type;
    Synthesis synthesis;
    const FaultOptions* options;
};

void JsonGroup(RowBuffer& b, const double* magnitude, const double* angle, const char* const* names) {
    b.Char('{');
    for (int k = 0; k < 3; ++k) {
        if (k) b.Char(',');
        b.Char('"');
        b.Text(names[k]);
        b.Text("\":{\"magnitude\":");
        b.Number(magnitude[k]);
        b.Text(",\"angle\":");
        b.Number(angle[k]);
        b.Char('}');
    }
    b.Char('}');
}

void JsonHalves(RowBuffer& b, const kv::CValueIU& v, Synthesis s, const char* const* names) {
    b.Char('{');
    if (WritesVoltages(s)) {
        b.Text("\"voltages\":");
        JsonGroup(b, v.dU, v.dFiU, names);
    }
    if (WritesCurrents(s)) {
        b.Text(WritesVoltages(s) ? ",\"currents\":" : "\"currents\":");
        JsonGroup(b, v.dI, v.dFiI, names);
    }
}

void JsonPoint(RowBuffer& b, const Context& c, const FaultPoint& p) {
    const FaultOptions& o = *c.options;
    b.Text("{\"fault\":{\"code\":");
    b.Integer(c.type.code);
    b.Text(",\"name\":");
    b.JsonString(c.type.name);
    b.Text("},\"function\":\"");
    b.Text(FunctionName(c.synthesis));
    b.Text("\",\"input\":{\"U\":");
    b.Number(p.U);
    b.Text(",\"I\":");
    b.Number(p.I);
    b.Text(",\"phi\":");
    b.Number(p.phi);
    if (c.synthesis == Synthesis::Full) {
        b.Text(",\"Unom\":");
        b.Number(o.unom);
        b.Text(",\"Aux\":");
        b.Number(o.aux);
        b.Text(",\"AuxAngle\":");
        b.Number(o.auxAngle);
        b.Text(",\"Uhealthy\":");
        b.Number(o.uhealthy);
    }
    b.Text("},\"nominal\":");
    b.Number(kv::cstUmax100);
    b.Text(",\"device\":");
    if (o.device >= 0)
        b.Integer(o.device);
    else
        b.Text("null");
    b.Text(o.noFold ? ",\"fold\":false" : ",\"fold\":true");
    b.Text(",\"result\":{\"code\":");
    b.Integer(p.result);
    b.Text(",\"meaning\":");
    b.JsonString(ResultMeaning(p.result));
    b.Text("},\"phases\":");
    JsonHalves(b, p.phases, c.synthesis, kPhases);
    b.Text("},\"symmetrical\":");
    JsonHalves(b, p.sequence, c.synthesis, kSequences);
    b.Text(p.sequenceWithinLimits == 1 ? ",\"within_limits\":true}" : ",\"within_limits\":false}");
    b.Text(",\"line\":");
    JsonHalves(b, p.line, c.synthesis, kLines);
    b.Text(p.lineWithinLimits == 1 ? ",\"within_limits\":true}" : ",\"within_limits\":false}");
    b.Text(",\"limits\":{");
    for (int k = 0; k < p.limits.count; ++k) {
        const Verdict& v = p.limits.items[k];
        if (k) b.Char(',');
        b.Char('"');
        b.Text(v.key);
        b.Text("\":{\"limit\":\"");
        b.Text(v.limitName);
        b.Text("\",\"value\":");
        b.Number(v.limit);
        b.Text(",\"largest\":");
        b.Number(v.largest);
        b.Text(",\"where\":\"");
        b.Text(v.where);
        b.Text(v.exceeded ? "\",\"exceeded\":true}" : "\",\"exceeded\":false}");
    }
    b.Text(p.limits.within ? "},\"within_limits\":true}\n" : "},\"within_limits\":false}\n");
}

// ---- CSV: the same fields, flattened ----

const char* const kSequenceColumns[] = {"1", "2", "0"};

void CsvQuantities(std::string& header, const char* prefixU, const char* prefixI, const char* const* names, Synthesis s) {
    if (WritesVoltages(s))
        for (int k = 0; k < 3; ++k) header += std::string(",") + prefixU + names[k] + ",fi" + prefixU + names[k];
    if (WritesCurrents(s))
        for (int k = 0; k < 3; ++k) header += std::string(",") + prefixI + names[k] + ",fi" + prefixI + names[k];
}

void CsvHeader(RowBuffer& b, Synthesis s, const FaultPoint& sample) {
    std::string header = "code,name,function,U,I,phi";
    if (s == Synthesis::Full) header += ",Unom,Aux,AuxAngle,Uhealthy";
    header += ",nominal,device,fold,result,meaning";
    CsvQuantities(header, "U", "I", kPhases, s);
    CsvQuantities(header, "U", "I", kSequenceColumns, s);
    header += ",symmetrical_within_limits";
    CsvQuantities(header, "U", "I", kLines, s);
    header += ",line_within_limits";
    for (int k = 0; k < sample.limits.count; ++k) {
        const std::string name = sample.limits.items[k].key;
        header += "," + name + "_limit," + name + "_largest," + name + "_where," + name + "_exceeded";
    }
    header += ",within_limits\n";
    b.Text(header);
}

void CsvHalves(RowBuffer& b, const kv::CValueIU& v, Synthesis s) {
    if (WritesVoltages(s))
        for (int k = 0; k < 3; ++k) {
            b.Char(',');
            b.Number(v.dU[k]);
            b.Char(',');
            b.Number(v.dFiU[k]);
        }
    if (WritesCurrents(s))
        for (int k = 0; k < 3; ++k) {
            b.Char(',');
            b.Number(v.dI[k]);
            b.Char(',');
            b.Number(v.dFiI[k]);
        }
}

// The columns that stay the same for every row of a run, rendered once.
std::string CsvConstants(const Context& c) {
    const FaultOptions& o = *c.options;
    std::string text;
    if (c.synthesis == Synthesis::Full)
        text += "," + Shortest(o.unom) + "," + Shortest(o.aux) + "," + Shortest(o.auxAngle) + "," +
                Shortest(o.uhealthy);
    text += "," + Shortest(kv::cstUmax100) + "," + (o.device >= 0 ? std::to_string(o.device) : "") + "," +
            (o.noFold ? "false" : "true");
    return text;
}

void CsvRow(RowBuffer& b, const Context& c, const std::string& constants, const FaultPoint& p) {
    b.Integer(c.type.code);
    b.Char(',');
    b.JsonString(c.type.name);  // quoted, so a name with a blank or comma stays one field
    b.Char(',');
    b.Text(FunctionName(c.synthesis));
    b.Char(',');
    b.Number(p.U);
    b.Char(',');
    b.Number(p.I);
    b.Char(',');
    b.Number(p.phi);
    b.Text(constants);
    b.Char(',');
    b.Integer(p.result);
    b.Char(',');
    b.JsonString(ResultMeaning(p.result));
    CsvHalves(b, p.phases, c.synthesis);
    CsvHalves(b, p.sequence, c.synthesis);
    b.Text(p.sequenceWithinLimits == 1 ? ",true" : ",false");
    CsvHalves(b, p.line, c.synthesis);
    b.Text(p.lineWithinLimits == 1 ? ",true" : ",false");
    for (int k = 0; k < p.limits.count; ++k) {
        const Verdict& v = p.limits.items[k];
        b.Char(',');
        b.Number(v.limit);
        b.Char(',');
        b.Number(v.largest);
        b.Char(',');
        b.Text(v.where);
        b.Text(v.exceeded ? ",true" : ",false");
    }
    b.Text(p.limits.within ? ",true\n" : ",false\n");
}

// ---- the human table ----

void PrintGroupTable(std::FILE* out, const char* heading, const kv::CValueIU& v, Synthesis s,
                     const char* const* names) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> header{heading};
    if (WritesVoltages(s)) header.insert(header.end(), {"U, V", "angle U, deg"});
    if (WritesCurrents(s)) header.insert(header.end(), {"I, A", "angle I, deg"});
    rows.push_back(header);
    const int m = Decimals(3), a = Decimals(2);
    for (int k = 0; k < 3; ++k) {
        std::vector<std::string> row{names[k]};
        if (WritesVoltages(s)) row.insert(row.end(), {Fixed(v.dU[k], m), FixedAngle(v.dU[k], v.dFiU[k], m, a)});
        if (WritesCurrents(s)) row.insert(row.end(), {Fixed(v.dI[k], m), FixedAngle(v.dI[k], v.dFiI[k], m, a)});
        rows.push_back(row);
    }
    PrintTable(out, rows);
}

void PrintPoint(std::FILE* out, const Context& c, const FaultPoint& p) {
    const FaultOptions& o = *c.options;
    std::fprintf(out, "%s (code %d) with %s: U = %s V, I = %s A, phi = %s deg", c.type.name.c_str(), c.type.code,
                 FunctionName(c.synthesis), Fixed(p.U, Decimals(3)).c_str(), Fixed(p.I, Decimals(3)).c_str(),
                 Fixed(p.phi, Decimals(2)).c_str());
    if (c.synthesis == Synthesis::Full) std::fprintf(out, ", Unom = %s V", Fixed(o.unom, Decimals(3)).c_str());
    std::fprintf(out, "\nNominal line voltage %s V (phase %s V)\n", Fixed(kv::cstUmax100, Decimals(3)).c_str(),
                 Fixed(kv::cst58V, Decimals(3)).c_str());
    std::fprintf(out, "phi: %s\n", PhiMeaning(c.synthesis, c.type.code));
    std::fprintf(out, "Result %d: %s\n\n", p.result, ResultMeaning(p.result));
    PrintGroupTable(out, "Phase", p.phases, c.synthesis, kPhases);

    std::fprintf(out, "\n");
    PrintVerdicts(out, p.limits, o.device);

    std::fprintf(out, "\nSymmetrical components (%s)\n",
                 LibraryCheck(p.sequenceWithinLimits, WritesVoltages(c.synthesis), WritesCurrents(c.synthesis), "components").c_str());
    PrintGroupTable(out, "Sequence", p.sequence, c.synthesis, kSequences);
    std::fprintf(out, "\nLine values (%s)\n", LibraryCheck(p.lineWithinLimits, WritesVoltages(c.synthesis), WritesCurrents(c.synthesis), "line values").c_str());
    PrintGroupTable(out, "Line", p.line, c.synthesis, kLines);
}

std::string SequenceNote(const char* what, const char* unit, double magnitude, double angle) {
    return std::string(what) + " = " + Fixed(magnitude, 3) + " " + unit + " at " + FixedAngle(magnitude, angle, 3, 1) +
           " deg";
}

void Plot(const Context& c, const FaultPoint& p, const std::string& path) {
    const Synthesis s = c.synthesis;
    VectorDiagram d;
    d.title = c.type.name + " (code " + std::to_string(c.type.code) + ")";
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
    for (int k = 0; k < 3; ++k)
        if (d.voltages) d.notes.push_back(SequenceNote(kU[k], "V", p.sequence.dU[k], p.sequence.dFiU[k]));
    for (int k = 0; k < 3; ++k)
        if (d.currents) d.notes.push_back(SequenceNote(kI[k], "A", p.sequence.dI[k], p.sequence.dFiI[k]));
    DrawVectorDiagram(d, path);
}

// The synthesis functions that do handle a code, for the error of one that does not.
std::string HandledBy(int code) {
    std::string list;
    for (const auto& [name, synthesis] : kSynthesisNames) {
        if (Handles(synthesis, code))
            list += std::string(list.empty() ? "" : ", ") + FunctionName(synthesis) + " (--function " + name + ")";
    }
    return list.empty() ? "no synthesis handles it" : "it is handled by " + list;
}

// A progress line on standard error for long outputs, when a person watches it.
class Progress {
public:
    explicit Progress(std::size_t total) : m_total(total), m_shown(total >= 100000 && ::isatty(2) != 0) {}
    void Step(std::size_t done) {
        if (!m_shown || done % (m_total / 100) != 0) return;
        std::fprintf(stderr, "\rkvdata: %zu of %zu rows (%zu%%)", done, m_total, done * 100 / m_total);
    }
    ~Progress() {
        if (m_shown) std::fprintf(stderr, "\r\033[K");
    }

private:
    std::size_t m_total;
    bool m_shown;
};

void Run(FaultOptions& o) {
    const Synthesis synthesis = kSynthesisNames.at(o.function);
    Output out(o.output);
    if (!o.plot.empty()) CheckPictureName(o.plot);
    if (o.device >= 0) ApplyDevice(o.device);
    if (o.nominal > 0) {
        // The healthy phases of every synthesis follow these two.
        kv::cstUmax100 = o.nominal;
        kv::cst58V = o.nominal / std::sqrt(3.0);
    }
    if (o.noFold) kv::glob_bEnableAbsAngle = 0;
    if (!o.unomGiven) o.unom = kv::cstUmax100;

    const int code = ResolveFaultType(o.type);
    Context context{{code, ""}, synthesis, &o};
    for (const FaultType& t : FaultTypes())
        if (t.code == code) context.type = t;

    const Range u = ParseRange(o.u, "--u");
    const Range i = ParseRange(o.i, "--i");
    const Range phi = ParseRange(o.phi, "--phi");
    // Only the universal pattern's code 82 gives U a sign.
    if (code != 82 && std::min(u.start, u.stop) < 0) throw Error("--u: '" + o.u + "' is negative; U is a magnitude");
    if (std::min(i.start, i.stop) < 0) throw Error("--i: '" + o.i + "' is negative; I is a magnitude");

    if (!Handles(synthesis, code))
        throw Error(context.type.name + " (code " + std::to_string(code) + ") is not handled by " +
                    FunctionName(synthesis) + "; " + HandledBy(code));

    const bool sweep = u.IsSweep() || i.IsSweep() || phi.IsSweep();
    if (!sweep) {
        const FaultPoint p = Compute(code, synthesis, o, u.start, i.start, phi.start);
        if (o.json) {
            // The same object as a row of a sweep, indented.
            RowBuffer b(out.file());
            JsonPoint(b, context, p);
            const std::string line(b.Pending());
            b.Discard();
            std::fprintf(out.file(), "%s\n", Json::parse(line).dump(2).c_str());
        } else {
            PrintPoint(out.file(), context, p);
        }
        if (!o.plot.empty()) Plot(context, p, o.plot);
        out.Commit();
        return;
    }
    if (!o.plot.empty()) throw Error("--plot draws one fault; it cannot be combined with a sweep");
    const double total = static_cast<double>(u.Count()) * static_cast<double>(i.Count()) *
                         static_cast<double>(phi.Count());
    CheckRowCount(total, o.maxRows);
    const std::vector<double> us = u.Points(), is = i.Points(), phis = phi.Points();

    Progress progress(static_cast<std::size_t>(total));
    {
        RowBuffer b(out.file());
        const std::string constants = CsvConstants(context);
        std::size_t done = 0;
        for (const double uValue : us)
            for (const double iValue : is)
                for (const double phiValue : phis) {
                    const FaultPoint p = Compute(code, synthesis, o, uValue, iValue, phiValue);
                    if (o.json) {
                        JsonPoint(b, context, p);
                    } else {
                        if (done == 0) CsvHeader(b, synthesis, p);
                        CsvRow(b, context, constants, p);
                    }
                    progress.Step(++done);
                }
    }
    out.Commit();
}

}  // namespace

void AddFaultCommand(CLI::App& app) {
    auto options = std::make_shared<FaultOptions>();
    CLI::App* cmd = app.add_subcommand("fault", "The phasors of a fault at the relay under test");
    cmd->footer(PhiHelp());
    cmd->add_option("TYPE", options->type,
                    "Fault type: a name such as FaultAB or ab (any case, \"Fault\" may be left out) or a code")
        ->required();
    cmd->add_option("--u", options->u, "Fault voltage U in V (see 'kvdata types TYPE'), or START:STOP:STEP");
    cmd->add_option("--i", options->i, "Fault current I in A, or START:STOP:STEP");
    cmd->add_option("--phi", options->phi, "Fault angle phi in degrees (see below), or START:STOP:STEP");
    cmd->add_option_function<std::string>(
           "--nominal",
           [options](const std::string& text) {
               options->nominal = ParseNumber(text, "--nominal");
               if (!(options->nominal > 0)) throw Error("--nominal: the nominal line voltage must be above 0");
           },
           "Nominal line voltage of the system in V (100, 110, 115, ...): sets cstUmax100 and cst58V = Un/sqrt(3), "
           "which the healthy phases take (default: the library's 100 V)")
        ->type_name("V");
    cmd->add_option_function<std::string>(
           "--unom",
           [options](const std::string& text) {
               options->unom = ParseNonNegative(text, "--unom");
               options->unomGiven = true;
           },
           "Threshold of the phase-to-phase geometry in V (the full synthesis's Unom argument): a line "
           "voltage U at or above it gives a symmetrical system of line voltage U; not the nominal "
           "voltage (default: cstUmax100)")
        ->type_name("V");
    cmd->add_option_function<std::string>(
           "--aux", [options](const std::string& text) { options->aux = ParseNonNegative(text, "--aux"); },
           "Aux: base voltage or positive-sequence quantity of the patterns that read it (default: none)")
        ->type_name("V");
    AddNumber(cmd, "--aux-angle", options->auxAngle, "Angle of Aux in degrees");
    cmd->add_option_function<std::string>(
           "--uhealthy",
           [options](const std::string& text) { options->uhealthy = ParseNonNegative(text, "--uhealthy"); },
           "Healthy-phase voltage of FaultABUn, FaultBCUn, FaultCAUn (default: the nominal phase voltage)")
        ->type_name("V");
    cmd->add_option("--function", options->function,
                    "Synthesis: full (voltages and currents with load), voltage, current, or record")
        ->check(CLI::IsMember({"full", "voltage", "current", "record"}));
    cmd->add_option("--device", options->device, "Apply the limits of this device type first");
    cmd->add_flag("--no-fold", options->noFold, "Leave angles as computed instead of folding them into 0..360");
    cmd->add_flag("--json", options->json, "Print JSON (one object, or JSON lines for a sweep)");
    cmd->add_option("--plot", options->plot, "Draw the vector diagram into this .png, .svg or .pdf file");
    cmd->add_option("-o,--output", options->output, "Write the output into this file instead of standard output");
    cmd->add_option("--max-rows", options->maxRows, "Largest number of rows that the sweeps may give together")
        ->check(CLI::PositiveNumber);
    cmd->callback([options] { Run(*options); });
}

}  // namespace kvdata
