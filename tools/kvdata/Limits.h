// kvdata's side of the device's limits: the layer's checks (kv::relay::CheckLimits) of a
// record and its line values, as a table or JSON, and what the library's own transforms
// compared (components and line values with the phase limits), said beside them.
#pragma once

#include <cstdio>
#include <string>

#include "Cli.h"
#include "Kv_Relay/DeviceLimits.h"

namespace kvdata {

using Verdict = kv::relay::LimitCheck;
using Verdicts = kv::relay::LimitChecks;

// `line` holds the line values of `phases` (FazToLin); halves not given are not checked.
Verdicts CheckLimits(const kv::CValueIU& phases, const kv::CValueIU& line, bool voltages, bool currents);

void PrintVerdicts(std::FILE* out, const Verdicts& verdicts, int device);
Json VerdictsJson(const Verdicts& verdicts);
// The library's own check of a transform, with what it compared.
std::string LibraryCheck(int withinLimits, bool voltages, bool currents, const char* quantities);

}  // namespace kvdata
