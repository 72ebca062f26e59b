#include "Limits.h"


namespace kvdata {

Verdicts CheckLimits(const kv::CValueIU& phases, const kv::CValueIU& line, bool voltages, bool currents) {
    return kv::relay::CheckLimits(voltages ? phases.dU : nullptr, voltages ? line.dU : nullptr,
                                  currents ? phases.dI : nullptr);
}

void PrintVerdicts(std::FILE* out, const Verdicts& verdicts, int device) {
    std::fprintf(out, "Device limits (%s): %s\n",
                 device >= 0 ? ("device type " + std::to_string(device)).c_str() : "the library's start-up values",
                 verdicts.within ? "within" : "EXCEEDED");
    std::vector<std::vector<std::string>> rows{{"Quantity", "largest", "where", "limit", "value", "verdict"}};
    for (int k = 0; k < verdicts.count; ++k) {
        const Verdict& v = verdicts.items[k];
        rows.push_back({v.quantity, Fixed(v.largest, Decimals(3)) + " " + v.unit, v.where, v.limitName,
                        Fixed(v.limit, Decimals(3)) + " " + v.unit, v.exceeded ? "exceeds" : "within"});
    }
    PrintTable(out, rows);
}

Json VerdictsJson(const Verdicts& verdicts) {
    Json json = Json::object();
    for (int k = 0; k < verdicts.count; ++k) {
        const Verdict& v = verdicts.items[k];
        json[v.key] = {{"limit", v.limitName}, {"value", v.limit}, {"largest", v.largest}, {"where", v.where},
                       {"exceeded", v.exceeded}};
    }
    return json;
}

std::string LibraryCheck(int withinLimits, bool voltages, bool currents, const char* quantities) {
    const std::string u = "globUmax " + Fixed(kv::globUmax, 1) + " V", i = "globImax " + Fixed(kv::globImax, 1) + " A";
    const std::string limits = voltages && currents ? u + " and " + i : voltages ? u : i;
    return std::string("the library compares the ") + quantities + " with the phase limits " + limits + ": " +
           (withinLimits == 1 ? "within" : "a value exceeds them");
}

}  // namespace kvdata
