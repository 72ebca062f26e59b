// kvdata fault: the six phasors of a fault, their symmetrical components and line
// values, with the device's limits checked, as a table, JSON, CSV or JSON lines of a
// sweep, or a vector diagram.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
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

// Without branches: a sweep checks every value of every row. x - x is 0 for every finite
// x and not a number for the others, so the sum of them all is 0 only when all are finite.
bool AllFinite(const kv::CValueIU& v) {
    double sum = 0;
    for (int k = 0; k < 3; ++k)
        sum += (v.dU[k] - v.dU[k]) + (v.dFiU[k] - v.dFiU[k]) + (v.dI[k] - v.dI[k]) + (v.dFiI[k] - v.dFiI[k]);
    return sum == 0;
}

// The transforms of a group (the currents or the voltages) depend on that group alone,
// and a sweep along one input leaves whole groups as they were (a sweep of U the
// currents): a group equal to the one of the row before keeps its transformed values and
// the library transforms the others. A group outside the mask is checked as it stands, so
// with the kept values in its place the library's verdicts are those of a full transform.
class Transforms {
public:
    void Apply(unsigned short mask, FaultPoint& p) {
        p.sequence = p.phases;
        p.line = p.phases;
        unsigned short changed = 0;
        for (unsigned g = 0; g < 2; ++g) {
            if ((mask & Bit(g)) == 0) continue;
            Kept& k = m_kept[g];
            if (k.valid && Same(Take(p.phases, g), k.phases)) {
                Put(k.sequence, p.sequence, g);
                Put(k.line, p.line, g);
            } else {
                changed = static_cast<unsigned short>(changed | Bit(g));
            }
        }
        p.sequenceWithinLimits = kv::FazToSim(p.sequence, changed);
        p.lineWithinLimits = kv::FazToLin(p.line, changed);
        for (unsigned g = 0; g < 2; ++g)
            if ((changed & Bit(g)) != 0) m_kept[g] = {true, Take(p.phases, g), Take(p.sequence, g), Take(p.line, g)};
    }

private:
    struct Group {
        double m[3];
        double fi[3];
    };
    struct Kept {
        bool valid = false;
        Group phases, sequence, line;
    };
    // Group 0 the currents (mask bit 1), group 1 the voltages (mask bit 2).
    static unsigned short Bit(unsigned g) { return static_cast<unsigned short>(1u << g); }
    static Group Take(const kv::CValueIU& v, unsigned g) {
        const double* m = g == 0 ? v.dI : v.dU;
        const double* fi = g == 0 ? v.dFiI : v.dFiU;
        return {{m[0], m[1], m[2]}, {fi[0], fi[1], fi[2]}};
    }
    static void Put(const Group& from, kv::CValueIU& v, unsigned g) {
        std::memcpy(g == 0 ? v.dI : v.dU, from.m, sizeof from.m);
        std::memcpy(g == 0 ? v.dFiI : v.dFiU, from.fi, sizeof from.fi);
    }
    // Every bit the same: the library gives the same results for the same bits.
    static bool Same(const Group& a, const Group& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

    Kept m_kept[2];
};

// Into `p`, which a sweep keeps from row to row: every field it writes is computed anew,
// the phases from a record of zeros as a fresh one (its sequence block, which no routine
// reads before writing it, is left as it was).
void Compute(int code, Synthesis synthesis, const FaultOptions& o, Transforms& transforms, double U, double I,
             double phi, FaultPoint& p) {
    p.U = U;
    p.I = I;
    p.phi = phi;
    for (double* values : {p.phases.dI, p.phases.dFiI, p.phases.dU, p.phases.dFiU}) std::fill_n(values, 3, 0.0);
    p.result = Synthesise(code, synthesis, o, U, I, phi, p.phases);
    transforms.Apply(Mask(synthesis), p);
    if (!AllFinite(p.phases) || !AllFinite(p.sequence) || !AllFinite(p.line))
        throw Error("the fault at U = " + Shortest(U) + ", I = " + Shortest(I) + ", phi = " + Shortest(phi) +
                    " overflows: a result is not a finite number");
    p.limits = CheckLimits(p.phases, p.line, WritesVoltages(synthesis), WritesCurrents(synthesis));
}

// ---- JSON, one object per point; the same writer serves a single fault and a sweep ----

// What every row of a run repeats, rendered once.
struct RowTexts {
    std::string jsonHead;    // up to the value of U
    std::string jsonMiddle;  // from after phi up to the result code
    std::string csvHead;     // the columns before U
    std::string csvMiddle;   // the columns between phi and the result code
    // The result code and meaning, and what follows up to the phases, of the results 0 to 3.
    std::string jsonResults[4];
    std::string csvResults[4];
    // Each limit's key, name and what leads up to its value, for the keys of this run.
    const char* limitKeys[3] = {};
    std::string jsonLimits[3];
};

struct Context {
    FaultType type;
    Synthesis synthesis;
    const FaultOptions* options;
    RowTexts texts;
    int decimals[3] = {-1, -1, -1};  // of U, I and phi as the user wrote them
};

using Row = RowBuffer::Row;

// The keys of a JSON group, each with what leads up to the magnitude.
using GroupKeys = std::string_view[3];
constexpr GroupKeys kPhaseKeys = {R"({"A":{"magnitude":)", R"(,"B":{"magnitude":)", R"(,"C":{"magnitude":)"};
constexpr GroupKeys kSequenceKeys = {R"({"positive":{"magnitude":)", R"(,"negative":{"magnitude":)",
                                     R"(,"zero":{"magnitude":)"};
constexpr GroupKeys kLineKeys = {R"({"AB":{"magnitude":)", R"(,"BC":{"magnitude":)", R"(,"CA":{"magnitude":)"};

// The row writers are inlined whole, so that the row's cursor stays in registers.
[[gnu::always_inline]] inline void JsonGroup(Row& row, const double* magnitude, const double* angle,
                                             const GroupKeys& keys) {
    for (int k = 0; k < 3; ++k) {
        row.Field(keys[k], magnitude[k]);
        row.Field(",\"angle\":", angle[k]);
        row.Char('}');
    }
    row.Char('}');
}

[[gnu::always_inline]] inline void JsonHalves(Row& row, const kv::CValueIU& v, Synthesis s, const GroupKeys& keys) {
    row.Char('{');
    if (WritesVoltages(s)) {
        row.Text("\"voltages\":");
        JsonGroup(row, v.dU, v.dFiU, keys);
    }
    if (WritesCurrents(s)) {
        row.Text(WritesVoltages(s) ? ",\"currents\":" : "\"currents\":");
        JsonGroup(row, v.dI, v.dFiI, keys);
    }
}

[[gnu::always_inline]] inline void CString(Row& row, const char* text) {
    for (; *text != '\0'; ++text) row.Char(*text);
}

// The text that `write` gives a row.
template <typename Write>
std::string Rendered(Write write) {
    RowBuffer b(nullptr, 1 << 16);
    {
        Row row(b);
        write(row);
    }
    std::string text(b.Pending());
    b.Discard();
    return text;
}

RowTexts MakeRowTexts(const FaultType& type, Synthesis synthesis, const FaultOptions& o) {
    RowTexts t;
    t.jsonHead = Rendered([&](Row& row) {
        row.Text("{\"fault\":{\"code\":");
        row.Integer(type.code);
        row.Text(",\"name\":");
        row.JsonString(type.name);
        row.Text("},\"function\":\"");
        CString(row, FunctionName(synthesis));
        row.Text("\",\"input\":{\"U\":");
    });
    t.jsonMiddle = Rendered([&](Row& row) {
        if (synthesis == Synthesis::Full) {
            row.Text(",\"Unom\":");
            row.Number(o.unom);
            row.Text(",\"Aux\":");
            row.Number(o.aux);
            row.Text(",\"AuxAngle\":");
            row.Number(o.auxAngle);
            row.Text(",\"Uhealthy\":");
            row.Number(o.uhealthy);
        }
        row.Text("},\"nominal\":");
        row.Number(kv::cstUmax100);
        row.Text(",\"device\":");
        if (o.device >= 0)
            row.Integer(o.device);
        else
            row.Text("null");
        row.Text(o.noFold ? ",\"fold\":false" : ",\"fold\":true");
        row.Text(",\"result\":{\"code\":");
    });
    t.csvHead = Rendered([&](Row& row) {
        row.Integer(type.code);
        row.Char(',');
        row.JsonString(type.name);  // quoted, so a name with a blank or comma stays one field
        row.Char(',');
        CString(row, FunctionName(synthesis));
        row.Char(',');
    });
    if (synthesis == Synthesis::Full)
        t.csvMiddle += "," + Shortest(o.unom) + "," + Shortest(o.aux) + "," + Shortest(o.auxAngle) + "," +
                       Shortest(o.uhealthy);
    t.csvMiddle += "," + Shortest(kv::cstUmax100) + "," + (o.device >= 0 ? std::to_string(o.device) : "") + "," +
                   (o.noFold ? "false," : "true,");
    for (int result = 0; result < 4; ++result) {
        t.jsonResults[result] = Rendered([&](Row& row) {
            row.Integer(result);
            row.Text(",\"meaning\":");
            row.JsonString(ResultMeaning(result));
            row.Text("},\"phases\":");
        });
        t.csvResults[result] = Rendered([&](Row& row) {
            row.Integer(result);
            row.Char(',');
            row.JsonString(ResultMeaning(result));
        });
    }
    const Verdicts sample = CheckLimits({}, {}, WritesVoltages(synthesis), WritesCurrents(synthesis));
    for (int k = 0; k < sample.count; ++k) {
        const Verdict& v = sample.items[k];
        t.limitKeys[k] = v.key;
        t.jsonLimits[k] = std::string(k ? "," : "") + "\"" + v.key + "\":{\"limit\":\"" + v.limitName + "\",\"value\":";
    }
    return t;
}

void JsonPoint(RowBuffer& b, const Context& c, const FaultPoint& p) {
    const RowTexts& t = c.texts;
    Row row(b);
    row.Text(t.jsonHead);
    row.Decimal(p.U, c.decimals[0]);
    row.Text(",\"I\":");
    row.Decimal(p.I, c.decimals[1]);
    row.Text(",\"phi\":");
    row.Decimal(p.phi, c.decimals[2]);
    row.Text(t.jsonMiddle);
    if (p.result >= 0 && p.result < 4) {
        row.Text(t.jsonResults[p.result]);
    } else {
        row.Integer(p.result);
        row.Text(",\"meaning\":");
        row.JsonString(ResultMeaning(p.result));
        row.Text("},\"phases\":");
    }
    JsonHalves(row, p.phases, c.synthesis, kPhaseKeys);
    row.Text("},\"symmetrical\":");
    JsonHalves(row, p.sequence, c.synthesis, kSequenceKeys);
    row.Text(p.sequenceWithinLimits == 1 ? ",\"within_limits\":true}" : ",\"within_limits\":false}");
    row.Text(",\"line\":");
    JsonHalves(row, p.line, c.synthesis, kLineKeys);
    row.Text(p.lineWithinLimits == 1 ? ",\"within_limits\":true}" : ",\"within_limits\":false}");
    row.Text(",\"limits\":{");
    for (int k = 0; k < p.limits.count; ++k) {
        const Verdict& v = p.limits.items[k];
        if (v.key == t.limitKeys[k]) {
            row.Text(t.jsonLimits[k]);
        } else {
            if (k) row.Char(',');
            row.Char('"');
            CString(row, v.key);
            row.Text("\":{\"limit\":\"");
            CString(row, v.limitName);
            row.Text("\",\"value\":");
        }
        row.Number(v.limit);
        row.Field(",\"largest\":", v.largest);
        row.Text(",\"where\":\"");
        CString(row, v.where);
        row.Text(v.exceeded ? "\",\"exceeded\":true}" : "\",\"exceeded\":false}");
    }
    row.Text(p.limits.within ? "},\"within_limits\":true}\n" : "},\"within_limits\":false}\n");
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

[[gnu::always_inline]] inline void CsvHalves(Row& row, const kv::CValueIU& v, Synthesis s) {
    if (WritesVoltages(s))
        for (int k = 0; k < 3; ++k) {
            row.Field(',', v.dU[k]);
            row.Field(',', v.dFiU[k]);
        }
    if (WritesCurrents(s))
        for (int k = 0; k < 3; ++k) {
            row.Field(',', v.dI[k]);
            row.Field(',', v.dFiI[k]);
        }
}

void CsvRow(RowBuffer& b, const Context& c, const FaultPoint& p) {
    const RowTexts& t = c.texts;
    Row row(b);
    row.Text(t.csvHead);
    row.Decimal(p.U, c.decimals[0]);
    row.Char(',');
    row.Decimal(p.I, c.decimals[1]);
    row.Char(',');
    row.Decimal(p.phi, c.decimals[2]);
    row.Text(t.csvMiddle);
    if (p.result >= 0 && p.result < 4) {
        row.Text(t.csvResults[p.result]);
    } else {
        row.Integer(p.result);
        row.Char(',');
        row.JsonString(ResultMeaning(p.result));
    }
    CsvHalves(row, p.phases, c.synthesis);
    CsvHalves(row, p.sequence, c.synthesis);
    row.Text(p.sequenceWithinLimits == 1 ? ",true" : ",false");
    CsvHalves(row, p.line, c.synthesis);
    row.Text(p.lineWithinLimits == 1 ? ",true" : ",false");
    for (int k = 0; k < p.limits.count; ++k) {
        const Verdict& v = p.limits.items[k];
        row.Field(',', v.limit);
        row.Field(',', v.largest);
        row.Char(',');
        CString(row, v.where);
        row.Text(v.exceeded ? ",true" : ",false");
    }
    row.Text(p.limits.within ? ",true\n" : ",false\n");
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
    Context context{{code, ""}, synthesis, &o, {}};
    for (const FaultType& t : FaultTypes())
        if (t.code == code) context.type = t;
    context.texts = MakeRowTexts(context.type, synthesis, o);
    Transforms transforms;

    const Range u = ParseRange(o.u, "--u");
    const Range i = ParseRange(o.i, "--i");
    const Range phi = ParseRange(o.phi, "--phi");
    context.decimals[0] = u.decimals;
    context.decimals[1] = i.decimals;
    context.decimals[2] = phi.decimals;
    // Only the universal pattern's code 82 gives U a sign.
    if (code != 82 && std::min(u.start, u.stop) < 0) throw Error("--u: '" + o.u + "' is negative; U is a magnitude");
    if (std::min(i.start, i.stop) < 0) throw Error("--i: '" + o.i + "' is negative; I is a magnitude");

    if (!Handles(synthesis, code))
        throw Error(context.type.name + " (code " + std::to_string(code) + ") is not handled by " +
                    FunctionName(synthesis) + "; " + HandledBy(code));

    const bool sweep = u.IsSweep() || i.IsSweep() || phi.IsSweep();
    if (!sweep) {
        FaultPoint p{};
        Compute(code, synthesis, o, transforms, u.start, i.start, phi.start, p);
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
    const Grid us(u), is(i), phis(phi);

    Progress progress(static_cast<std::size_t>(total));
    {
        RowBuffer b(out.file());
        FaultPoint p{};
        std::size_t done = 0;
        for (std::size_t ku = 0; ku < us.Count(); ++ku)
            for (std::size_t ki = 0; ki < is.Count(); ++ki)
                for (std::size_t kphi = 0; kphi < phis.Count(); ++kphi) {
                    Compute(code, synthesis, o, transforms, us[ku], is[ki], phis[kphi], p);
                    if (o.json) {
                        JsonPoint(b, context, p);
                    } else {
                        if (done == 0) CsvHeader(b, synthesis, p);
                        CsvRow(b, context, p);
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
