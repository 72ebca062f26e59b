#include "Limits.h"

#include <algorithm>

namespace kvdata {

namespace {

const char* const kPhases[] = {"A", "B", "C"};
const char* const kLines[] = {"AB", "BC", "CA"};

Verdict Check(const char* what, const char* key, const char* limitName, const char* unit, double limit,
              const double* magnitude, const char* const* names) {
    const auto where = std::max_element(magnitude, magnitude + 3) - magnitude;
    return {what, key, limitName, unit, limit, magnitude[where], names[where], magnitude[where] > limit};
}

}  // namespace

Verdicts CheckLimits(const kv::CValueIU& phases, const kv::CValueIU& line, bool voltages, bool currents) {
    Verdicts v;
    if (voltages) {
        v.items[v.count++] = Check("phase voltages", "phase_voltages", "globUmax", "V", kv::globUmax, phases.dU, kPhases);
        v.items[v.count++] = Check("line voltages", "line_voltages", "globUmaxAB", "V", kv::globUmaxAB, line.dU, kLines);
    }
    if (currents)
        v.items[v.count++] = Check("phase currents", "phase_currents", "globImax", "A", kv::globImax, phases.dI, kPhases);
    for (int k = 0; k < v.count; ++k) v.within = v.within && !v.items[k].exceeded;
    return v;
}

void PrintVerdicts(std::FILE* out, const Verdicts& verdicts, int device) {
    std::fprintf(out, "Device limits (%s): %s\n",
                 device >= 0 ? ("device type " + std::to_string(device)).c_str() : "the library's start-up values",
                 verdicts.within ? "within" : "EXCEEDED");
    std::vector<std::vector<std::string>> rows{{"Quantity", "largest", "where", "limit", "value", "verdict"}};
    for (int k = 0; k < verdicts.count; ++k) {
        const Verdict& v = verdicts.items[k];
        rows.push_back({v.what, Fixed(v.largest, Decimals(3)) + " " + v.unit, v.where, v.limitName,
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
