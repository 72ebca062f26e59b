// kvdata sequence: phase values in; symmetrical components and line values out.

#include <cstdio>
#include <memory>

#include "Cli.h"
#include "Limits.h"

namespace kvdata {

namespace {

struct SequenceOptions {
    std::string u;
    std::string i;
    bool arm = false;
    int device = -1;
    bool noFold = false;
    bool json = false;
    std::string output;
};

// "mag@angle,mag@angle,mag@angle" into three magnitudes and angles.
void ParseThree(const std::string& text, const char* what, double* magnitude, double* angle) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t comma; (comma = text.find(',', start)) != std::string::npos; start = comma + 1)
        parts.push_back(text.substr(start, comma - start));
    parts.push_back(text.substr(start));
    if (parts.size() != 3)
        throw Error(std::string(what) + ": '" + text + "' is not three phases A,B,C (each magnitude@angle)");
    for (int k = 0; k < 3; ++k) {
        const PhasorText p = ParsePhasor(parts[static_cast<std::size_t>(k)], what);
        if (p.magnitude < 0)
            throw Error(std::string(what) + ": '" + parts[static_cast<std::size_t>(k)] +
                        "' has a negative magnitude; give the angle instead");
        magnitude[k] = p.magnitude;
        angle[k] = p.angle;
    }
}

const char* const kPhases[] = {"A", "B", "C"};
const char* const kLines[] = {"AB", "BC", "CA"};

void Table(std::FILE* out, const char* heading, const char* const* names, const kv::CValueIU& v, bool voltages, bool currents) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> header{heading};
    if (voltages) header.insert(header.end(), {"U, V", "angle U, deg"});
    if (currents) header.insert(header.end(), {"I, A", "angle I, deg"});
    rows.push_back(header);
    for (int k = 0; k < 3; ++k) {
        std::vector<std::string> row{names[k]};
        const int m = Decimals(4), a = Decimals(2);
        if (voltages) row.insert(row.end(), {Fixed(v.dU[k], m), FixedAngle(v.dU[k], v.dFiU[k], m, a)});
        if (currents) row.insert(row.end(), {Fixed(v.dI[k], m), FixedAngle(v.dI[k], v.dFiI[k], m, a)});
        rows.push_back(row);
    }
    PrintTable(out, rows);
}

Json Group(const kv::CValueIU& v, const char* const* names, bool voltages, bool currents) {
    Json out = Json::object();
    for (int k = 0; k < 3; ++k) {
        if (voltages) out["voltages"][names[k]] = PhasorJson(v.dU[k], v.dFiU[k]);
        if (currents) out["currents"][names[k]] = PhasorJson(v.dI[k], v.dFiI[k]);
    }
    return out;
}

void Run(const SequenceOptions& o) {
    Output out(o.output);
    if (o.u.empty() && o.i.empty()) throw Error("give the phase voltages (--u) or currents (--i) or both");
    if (o.device >= 0) ApplyDevice(o.device);
    if (o.noFold) kv::glob_bEnableAbsAngle = 0;
    kv::glob_bArm = o.arm ? 1 : 0;
    kv::CValueIU phases;
    const bool voltages = !o.u.empty(), currents = !o.i.empty();
    if (voltages) ParseThree(o.u, "--u", phases.dU, phases.dFiU);
    if (currents) ParseThree(o.i, "--i", phases.dI, phases.dFiI);
    const auto mask = static_cast<unsigned short>((currents ? 1 : 0) | (voltages ? 2 : 0));

    kv::CValueIU sequence = phases;
    const int sequenceOk = kv::FazToSim(sequence, mask);
    kv::CValueIU line = phases;
    const int lineOk = kv::FazToLin(line, mask);
    const Verdicts limits = CheckLimits(phases, line, voltages, currents);

    const char* const sequenceNames[] = {"positive", "negative", o.arm ? "zero x3" : "zero"};
    std::FILE* f = out.file();
    if (o.json) {
        Json json;
        json["phases"] = Group(phases, kPhases, voltages, currents);
        json["symmetrical"] = Group(sequence, sequenceNames, voltages, currents);
        json["symmetrical"]["zero_tripled"] = o.arm;
        json["symmetrical"]["within_limits"] = sequenceOk == 1;
        json["line"] = Group(line, kLines, voltages, currents);
        json["line"]["within_limits"] = lineOk == 1;
        json["device"] = o.device >= 0 ? Json(o.device) : Json(nullptr);
        json["limits"] = VerdictsJson(limits);
        json["within_limits"] = limits.within;
        std::fprintf(f, "%s\n", json.dump(2).c_str());
    } else {
        PrintVerdicts(f, limits, o.device);
        std::fprintf(f, "\nSymmetrical components%s (%s)\n", o.arm ? ", zero sequence as 3U0 and 3I0" : "",
                     LibraryCheck(sequenceOk, voltages, currents, "components").c_str());
        Table(f, "Sequence", sequenceNames, sequence, voltages, currents);
        std::fprintf(f, "\nLine values (%s)\n", LibraryCheck(lineOk, voltages, currents, "line values").c_str());
        Table(f, "Line", kLines, line, voltages, currents);
    }
    out.Commit();
}

}  // namespace

void AddSequenceCommand(CLI::App& app) {
    auto o = std::make_shared<SequenceOptions>();
    CLI::App* cmd = app.add_subcommand("sequence", "Symmetrical components and line values of phase values");
    cmd->add_option("--u", o->u, "Phase voltages A,B,C as magnitude@angle, e.g. 57.7@0,57.7@240,57.7@120");
    cmd->add_option("--i", o->i, "Phase currents A,B,C as magnitude@angle");
    cmd->add_flag("--arm", o->arm, "Give the zero sequence as 3U0 and 3I0");
    cmd->add_option("--device", o->device, "Check against the limits of this device type");
    cmd->add_flag("--no-fold", o->noFold, "Leave angles as computed instead of folding them into 0..360");
    cmd->add_flag("--json", o->json, "Print JSON");
    cmd->add_option("-o,--output", o->output, "Write the output into this file instead of standard output");
    cmd->callback([o] { Run(*o); });
}

}  // namespace kvdata
