// kvdata types, tolerance and device: the catalogues, a tolerance table at one point,
// and the constants of a device type.

#include <cstdio>
#include <memory>
#include <variant>

#include "Cli.h"

namespace kvdata {

namespace {

constexpr int kTestTypes[] = {0, 1, 2, 3, 4, 5, 10, 11, 18, 20, 22, 23, 24, 60, 61, 62, 63};

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
    PrintTable(rows);
    std::printf("\nTest types\n");
    rows = {{"code", "key", "name"}};
    for (int code : kTestTypes)
        rows.push_back({std::to_string(code), kv::GetStringFromTest(code).str(),
                        ToUtf8(kv::GetStringFromTestRus(code).view())});
    PrintTable(rows);
}

struct ToleranceOptions {
    std::string table;
    std::string x;
    std::string time = "0";
    std::string rule = "current";
    bool json = false;
};

void RunTolerance(const ToleranceOptions& o) {
    const double x = ParseNumber(o.x, "--x");
    const double t = ParseNumber(o.time, "--time");
    const kv::CString table(ToCp1251(o.table));
    Json out{{"table", o.table}, {"rule", o.rule}, {"x", x}};
    std::vector<std::vector<std::string>> rows;
    std::string meaning;
    bool found = false;
    int less = 0;
    double percent = 0;
    if (o.rule == "current") {
        double absolute = 0;
        found = kv::GetITolerance(table, x, absolute, less, percent);
        out["absolute"] = absolute;
        rows = {{"absolute", Number(absolute)}, {"percent", Number(percent)}};
        if (absolute != 0) meaning = "within +/-" + Number(absolute) + " of the expected value, in the table's unit";
        if (percent != 0) meaning = "within +/-" + Number(percent) + " % of the expected value";
    } else {
        double minus = 0, plus = 0;
        out["time"] = t;
        found = kv::GetTTolerance(table, x, t, minus, plus, less, percent);
        out["minus"] = minus;
        out["plus"] = plus;
        rows = {{"lower (minus)", Number(minus)}, {"upper (plus)", Number(plus)}, {"percent", Number(percent)}};
        if (minus != 0 || plus != 0)
            meaning = minus == plus ? "within +/-" + Number(minus) + " of the expected time"
                                    : "limits " + Number(minus) + " and " + Number(plus) + " about the expected time";
        if (percent != 0)
            meaning += std::string(meaning.empty() ? "" : ", ") + Number(percent) + " % of the expected time";
    }
    rows.push_back({"'<' flag", std::to_string(less)});
    out["percent"] = percent;
    out["less_flag"] = less;
    out["found"] = found;
    if (!found) meaning = "no tolerance applies at this point";
    if (less != 0) meaning += " (the table marks it with '<')";
    out["meaning"] = meaning;
    if (o.json) {
        std::printf("%s\n", out.dump(2).c_str());
        return;
    }
    std::printf("%s rule at x = %s: %s\n", o.rule == "current" ? "Current" : "Time", Number(x).c_str(),
                found ? "tolerance found" : "no tolerance found");
    PrintTable(rows);
    std::printf("Meaning: %s\n", meaning.c_str());
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
    PrintTable(rows);
}

}  // namespace

void AddTypesCommand(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("types", "The fault-type and test-type catalogues");
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([json] { RunTypes(*json); });
}

void AddToleranceCommand(CLI::App& app) {
    auto o = std::make_shared<ToleranceOptions>();
    CLI::App* cmd = app.add_subcommand("tolerance", "The tolerance that a table gives at one point");
    cmd->add_option("TABLE", o->table, "Tolerance table: threshold;tolerance;... (\"%\" for percent)")->required();
    cmd->add_option("--x", o->x, "The test argument at which the tolerance is wanted")->required();
    cmd->add_option("--time", o->time, "The time compared instead of x when the thresholds are in \"c\" (time rule)");
    cmd->add_option("--rule", o->rule, "current (a threshold opens its range) or time (a threshold closes it)")
        ->check(CLI::IsMember({"current", "time"}));
    cmd->add_flag("--json", o->json, "Print JSON");
    cmd->callback([o] { RunTolerance(*o); });
}

void AddDeviceCommand(CLI::App& app) {
    auto code = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("device", "The limits, steps and counts that a device type puts in force");
    cmd->add_option("CODE", *code, "Device type: 20, 21, 23, 30, 31, 35 or 900")->required();
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([code, json] { RunDevice(*code, *json); });
}

}  // namespace kvdata
