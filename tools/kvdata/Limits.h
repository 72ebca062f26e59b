// The device's limits, checked as an engineer means them: phase voltages against the
// phase-voltage limit, line voltages against the line-voltage limit, phase currents
// against the current limit. (The library's own transforms compare components and line
// values with the phase limits; the outputs say so beside these verdicts.)
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
