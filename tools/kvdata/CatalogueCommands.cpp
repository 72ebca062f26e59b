// kvdata types, tolerance and device: the catalogues, a tolerance table at one point,
// and the constants of a device type.

#include <cstdio>
#include <memory>
#include <variant>

#include "Cli.h"
#include "FaultMeaning.h"

namespace kvdata {

namespace {

constexpr int kTestTypes[] = {0, 1, 2, 3, 4, 5, 10, 11, 18, 20, 22, 23, 24, 60, 61, 62, 63};

// What U, I and phi mean for one fault type, in each synthesis that handles it.
void DescribeType(const std::string& text, bool json) {
    const int code = ResolveFaultType(text);
    std::string name;
    for (const FaultType& t : FaultTypes())
        if (t.code == code) name = t.name;
    const QuantityMeaning meaning = MeaningOf(code);
    Json out{{"code", code}, {"name", name}, {"group", meaning.group}, {"U", meaning.u}, {"I", meaning.i},
             {"phi", Json::object()}};
    constexpr std::pair<const char*, Synthesis> kSyntheses[] = {
        {"full", Synthesis::Full}, {"voltage", Synthesis::Voltage}, {"current", Synthesis::Current},
        {"record", Synthesis::Record}};
    for (const auto& [option, synthesis] : kSyntheses)
        out["phi"][option] = Handles(synthesis, code) ? Json(PhiMeaning(synthesis, code)) : Json(nullptr);
    if (json) {
        std::printf("%s\n", out.dump(2).c_str());
        return;
    }
    std::printf("%s (code %d): %s\nU: %s\nI: %s\nphi, by synthesis (--function):\n", name.c_str(), code,
                meaning.group, meaning.u, meaning.i);
    for (const auto& [option, synthesis] : kSyntheses) {
        const Json& phi = out["phi"][option];
        std::printf("  %-8s %s\n", option, phi.is_null() ? "not handled" : phi.get<std::string>().c_str());
    }
}

void RunTypes(bool json) {
    const std::vector<FaultType> faults = FaultTypes();
    if (json) {
        Json out;
        out["fault_types"] = Json::array();
        for (const FaultType& t : faults) out["fault_types"].push_back({{"code", t.code}, {"name", t.name}});
        out["test_types"] = Json::array();
        for (int code : kTestTypes)
            out["test_types"].push_back({{"code", code},
                                         {"key", kv::GetStringFromTest(code).str()},
                                         {"name", ToUtf8(kv::GetStringFromTestRus(code).view())}});
        std::printf("%s\n", out.dump(2).c_str());
        return;
    }
    std::printf("Fault types\n");
    std::vector<std::vector<std::string>> rows{{"code", "name"}};
    for (const FaultType& t : faults) rows.push_back({std::to_string(t.code), t.name});
    PrintTable(stdout, rows);
    std::printf("\nTest types\n");
    rows = {{"code", "key", "name"}};
    for (int code : kTestTypes)
        rows.push_back({std::to_string(code), kv::GetStringFromTest(code).str(),
                        ToUtf8(kv::GetStringFromTestRus(code).view())});
    PrintTable(stdout, rows);
}

struct ToleranceOptions {
    std::string table;
    std::string x;
    std::string time = "0";
    std::string rule = "current";
    bool json = false;
    std::string output;
    std::size_t maxRows = kDefaultMaxRows;
};

// The rules read at most ten threshold-tolerance pairs.
constexpr std::size_t kReadPairs = 10;

// Every field of a table must hold a number: the rules would read a field without one
// as 99999999999 and go on quietly. Returns the number of pairs.
std::size_t CheckTable(std::string_view table, bool timeRule) {
    if (timeRule && !table.empty() && table.front() == 'K' && table.find(';') != std::string_view::npos)
        table.remove_prefix(table.find(';') + 1);  // the leading "K" field is skipped
    if (table.empty()) throw Error("the tolerance table is empty");
    std::size_t fields = 0;
    for (std::size_t start = 0;; ++fields) {
        const std::size_t end = std::min(table.find(';', start), table.size());
        const std::string_view field = table.substr(start, end - start);
        const std::string where = "tolerance table, field " + std::to_string(fields + 1);
        if (field.empty()) throw Error(where + " is empty");
        if (field.find_first_of("0123456789") == std::string_view::npos ||
            field.find_first_not_of("0123456789.,+-eE %<c") != std::string_view::npos)
            throw Error(where + ": '" + std::string(field) + "' is not a number");
        if (end == table.size()) break;
        start = end + 1;
    }
    return (fields + 2) / 2;
}

struct ToleranceAt {
    bool found = false;
    int less = 0;
    double percent = 0, absolute = 0, minus = 0, plus = 0;
};

ToleranceAt Evaluate(const ToleranceOptions& o, const kv::CString& table, double x, double t) {
    ToleranceAt r;
    if (o.rule == "current")
        r.found = kv::GetITolerance(table, x, r.absolute, r.less, r.percent);
    else
        r.found = kv::GetTTolerance(table, x, t, r.minus, r.plus, r.less, r.percent);
    return r;
}

std::string Meaning(const ToleranceOptions& o, const ToleranceAt& r) {
    std::string meaning;
    if (o.rule == "current") {
        if (r.absolute != 0) meaning = "within +/-" + Number(r.absolute) + " of the expected value, in the table's unit";
        if (r.percent != 0) meaning = "within +/-" + Number(r.percent) + " % of the expected value";
    } else {
        if (r.minus != 0 || r.plus != 0)
            meaning = r.minus == r.plus ? "within +/-" + Number(r.minus) + " of the expected time"
                                        : "limits " + Number(r.minus) + " and " + Number(r.plus) + " about the expected time";
        if (r.percent != 0)
            meaning += std::string(meaning.empty() ? "" : ", ") + Number(r.percent) + " % of the expected time";
    }
    if (!r.found) meaning = "no tolerance applies at this point";
    if (r.less != 0) meaning += " (the table marks it with '<')";
    return meaning;
}

Json ToleranceJson(const ToleranceOptions& o, const ToleranceAt& r, double x, double t, std::size_t ignored) {
    Json out{{"table", o.table}, {"rule", o.rule}, {"x", x}};
    if (o.rule == "current") {
        out["absolute"] = r.absolute;
    } else {
        out["time"] = t;
        out["minus"] = r.minus;
        out["plus"] = r.plus;
    }
    out["percent"] = r.percent;
    out["less_flag"] = r.less;
    out["found"] = r.found;
    out["meaning"] = Meaning(o, r);
    out["ignored_pairs"] = ignored;
    return out;
}

void RunTolerance(const ToleranceOptions& o) {
    Output out(o.output);
    const Range xs = ParseRange(o.x, "--x");
    const Range ts = ParseRange(o.time, "--time");
    const std::size_t pairs = CheckTable(o.table, o.rule == "time");
    const std::size_t ignored = pairs > kReadPairs ? pairs - kReadPairs : 0;
    const kv::CString table(ToCp1251(o.table));
    std::FILE* f = out.file();
    if (ignored != 0)
        std::fprintf(stderr, "kvdata: the table has %zu pairs; the rules read the first %zu and ignore the rest\n",
                     pairs, kReadPairs);

    if (xs.IsSweep() || ts.IsSweep()) {
        CheckRowCount(static_cast<double>(xs.Count()) * static_cast<double>(ts.Count()), o.maxRows);
        if (!o.json) std::fprintf(f, "x,time,found,absolute,minus,plus,percent,less_flag\n");
        for (const double x : xs.Points())
            for (const double t : ts.Points()) {
                const ToleranceAt r = Evaluate(o, table, x, t);
                if (o.json)
                    std::fprintf(f, "%s\n", ToleranceJson(o, r, x, t, ignored).dump().c_str());
                else
                    std::fprintf(f, "%s,%s,%s,%s,%s,%s,%s,%d\n", Shortest(x).c_str(), Shortest(t).c_str(),
                                 r.found ? "true" : "false", Shortest(r.absolute).c_str(), Shortest(r.minus).c_str(),
                                 Shortest(r.plus).c_str(), Shortest(r.percent).c_str(), r.less);
            }
        out.Commit();
        return;
    }
    const double x = xs.start, t = ts.start;
    const ToleranceAt r = Evaluate(o, table, x, t);
    if (o.json) {
        std::fprintf(f, "%s\n", ToleranceJson(o, r, x, t, ignored).dump(2).c_str());
        out.Commit();
        return;
    }
    std::vector<std::vector<std::string>> rows;
    if (o.rule == "current")
        rows = {{"absolute", Number(r.absolute)}, {"percent", Number(r.percent)}};
    else
        rows = {{"lower (minus)", Number(r.minus)}, {"upper (plus)", Number(r.plus)}, {"percent", Number(r.percent)}};
    rows.push_back({"'<' flag", std::to_string(r.less)});
    std::fprintf(f, "%s rule at x = %s: %s\n", o.rule == "current" ? "Current" : "Time", Number(x).c_str(),
                 r.found ? "tolerance found" : "no tolerance found");
    PrintTable(f, rows);
    std::fprintf(f, "Meaning: %s\n", Meaning(o, r).c_str());
    if (ignored != 0) std::fprintf(f, "Note: pairs after the tenth (%zu of them) are ignored\n", ignored);
    out.Commit();
}

using GlobalRef = std::variant<double*, kv::DWORD*, int*>;
struct DeviceRow {
    const char* name;
    GlobalRef global;
    const char* what;
};

// What a device type puts in force: ranges, steps and counts.
const DeviceRow kDeviceRows[] = {
    {"globUmax", &kv::globUmax, "phase voltage limit, V"},
    {"globUmaxAB", &kv::globUmaxAB, "line voltage limit, V"},
    {"globUmaxABdc", &kv::globUmaxABdc, "d.c. line voltage limit, V"},
    {"globImax", &kv::globImax, "phase current limit, A"},
    {"globImax2", &kv::globImax2, "second current limit, A"},
    {"globImaxdc", &kv::globImaxdc, "d.c. current limit, A"},
    {"cstUmax", &kv::cstUmax, "voltage range, V"},
    {"cstUmaxAB", &kv::cstUmaxAB, "line voltage range, V"},
    {"cstUmaxKzAB", &kv::cstUmaxKzAB, "line voltage of a fault, V"},
    {"cstUmaxABdc", &kv::cstUmaxABdc, "d.c. line voltage range, V"},
    {"cstImax", &kv::cstImax, "current range, A"},
    {"cstImaxdc", &kv::cstImaxdc, "d.c. current range, A"},
    {"cstImaxDC3", &kv::cstImaxDC3, "d.c. current range of three phases, A"},
    {"defUmax", &kv::defUmax, "default voltage limit, V"},
    {"defImax", &kv::defImax, "default current limit, A"},
    {"cst58V", &kv::cst58V, "nominal phase voltage, V"},
    {"cstUmax100", &kv::cstUmax100, "nominal line voltage, V"},
    {"cst173V", &kv::cst173V, "line voltage limit of the fault synthesis, V"},
    {"cstUStep", &kv::cstUStep, "voltage step, V"},
    {"cstHStep", &kv::cstHStep, "harmonic step"},
    {"cstFStep", &kv::cstFStep, "frequency step, Hz"},
    {"cstUDigitAfterComma", &kv::cstUDigitAfterComma, "voltage decimals"},
    {"cstHDigitAfterComma", &kv::cstHDigitAfterComma, "harmonic decimals"},
    {"cstFDigitAfterComma", &kv::cstFDigitAfterComma, "frequency decimals"},
    {"cstHmax", &kv::cstHmax, "highest harmonic frequency, Hz"},
    {"cstMaxCont", &kv::cstMaxCont, "contacts"},
    {"cstMaxInCont", &kv::cstMaxInCont, "binary inputs"},
    {"cstInCont_32_8", &kv::cstInCont_32_8, "binary inputs of the base unit"},
    {"cstNowOutCont", &kv::cstNowOutCont, "binary outputs"},
    {"cstMaxOutContRaal", &kv::cstMaxOutContRaal, "output contacts"},
    {"glob_dwWatchDogTimeOut", &kv::glob_dwWatchDogTimeOut, "watchdog time-out"},
    {"glob_dwKavorDriverTimeOut", &kv::glob_dwKavorDriverTimeOut, "driver time-out"},
};

double Value(const GlobalRef& global) {
    return std::visit([](auto* p) { return static_cast<double>(*p); }, global);
}

void RunDevice(const std::string& codeText, bool json) {
    const int code = ParseInteger(codeText, "device type");
    ApplyDevice(code);
    if (json) {
        Json out{{"device", code}};
        for (const DeviceRow& row : kDeviceRows) out["constants"][row.name] = Value(row.global);
        std::printf("%s\n", out.dump(2).c_str());
        return;
    }
    std::printf("Device type %d\n", code);
    std::vector<std::vector<std::string>> rows{{"name", "value", "meaning"}};
    for (const DeviceRow& row : kDeviceRows) {
        char value[32];
        std::snprintf(value, sizeof value, "%g", Value(row.global));
        rows.push_back({row.name, value, row.what});
    }
    PrintTable(stdout, rows);
}

}  // namespace

void AddTypesCommand(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    auto type = std::make_shared<std::string>();
    CLI::App* cmd = app.add_subcommand("types", "The fault-type and test-type catalogues, or what one fault type means");
    cmd->add_option("TYPE", *type, "A fault type: tell what U, I and phi mean for it");
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([json, type] {
        if (type->empty())
            RunTypes(*json);
        else
            DescribeType(*type, *json);
    });
}

void AddToleranceCommand(CLI::App& app) {
    auto o = std::make_shared<ToleranceOptions>();
    CLI::App* cmd = app.add_subcommand("tolerance", "The tolerance that a table gives at one point");
    cmd->add_option("TABLE", o->table, "Tolerance table: threshold;tolerance;... (\"%\" for percent)")->required();
    cmd->add_option("--x", o->x, "The test argument at which the tolerance is wanted, or START:STOP:STEP")->required();
    cmd->add_option("--time", o->time,
                    "The time compared instead of x when the thresholds are in \"c\" (time rule), or START:STOP:STEP");
    cmd->add_option("--rule", o->rule, "current (a threshold opens its range) or time (a threshold closes it)")
        ->check(CLI::IsMember({"current", "time"}));
    cmd->add_flag("--json", o->json, "Print JSON (JSON lines for a sweep)");
    cmd->add_option("-o,--output", o->output, "Write the output into this file instead of standard output");
    cmd->add_option("--max-rows", o->maxRows, "Largest number of rows that the sweeps may give together")
        ->check(CLI::PositiveNumber);
    cmd->callback([o] { RunTolerance(*o); });
}

void AddDeviceCommand(CLI::App& app) {
    auto code = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("device", "The limits, steps and counts that a device type puts in force");
    cmd->add_option("--device", *code, "Device type: 20, 21, 23, 30, 31, 35 or 900")->required();
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([code, json] { RunDevice(*code, *json); });
}

}  // namespace kvdata
