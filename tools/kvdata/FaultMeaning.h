// What U, I and phi stand for in each synthesis and for each fault type, for the help,
// the output's header and 'kvdata types TYPE'.
#pragma once

#include <string>

namespace kvdata {

enum class Synthesis { Full, Voltage, Current, Record };

// The library function behind a synthesis ("SetUIFaza", ...).
const char* FunctionName(Synthesis synthesis);

// Whether a synthesis handles a code (the library answers 3 where it does not). The
// globals that a synthesis records the request in are put back.
bool Handles(Synthesis synthesis, int code);

// Which phasor is the reference and what turns by phi, for one code in one synthesis.
const char* PhiMeaning(Synthesis synthesis, int code);
// The same for every synthesis, for the fault command's help.
std::string PhiHelp();

// What U and I are for a code ("line voltage between the faulted phases", ...).
struct QuantityMeaning {
    const char* group;
    const char* u;
    const char* i;
};
QuantityMeaning MeaningOf(int code);

}  // namespace kvdata
