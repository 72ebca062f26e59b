// What the subcommands of kvdata share: the error that ends a run with one line on
// standard error, strict number parsing, ranges for sweeps, code-page conversion and
// the tables and JSON values the commands print.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Kv_Data.h"

namespace kvdata {

using Json = nlohmann::ordered_json;

// A user's mistake: printed as "kvdata: <message>", exit status 1.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A finite number written in full ("57.7", "-3", "1e3"); otherwise Error naming `what`.
double ParseNumber(std::string_view text, std::string_view what);
int ParseInteger(std::string_view text, std::string_view what);

// A value, or START:STOP:STEP with both ends included.
struct Range {
    double start = 0;
    double stop = 0;
    double step = 0;
    bool IsSweep() const { return step != 0; }
    std::vector<double> Points() const;
};
Range ParseRange(std::string_view text, std::string_view what);

// "57.7@240" (magnitude at angle in degrees) or "57.7" (at 0).
struct PhasorText {
    double magnitude = 0;
    double angle = 0;
};
PhasorText ParsePhasor(std::string_view text, std::string_view what);

// The library's texts are Windows-1251; the terminal and JSON speak UTF-8.
std::string ToUtf8(std::string_view cp1251);
// Text that has no Windows-1251 form comes back unchanged.
std::string ToCp1251(std::string_view utf8);

// The fault types: every code's name, and the code of a name or number.
struct FaultType {
    int code;
    std::string name;  // UTF-8
};
std::vector<FaultType> FaultTypes();
int ResolveFaultType(const std::string& text);

// The result codes of the synthesis in words.
const char* ResultMeaning(int result);

// Applies a device type's constants; Error for a type the library has no model for.
void ApplyDevice(int code);

// Fixed-width rows: the first column left-aligned, the others right-aligned.
void PrintTable(const std::vector<std::vector<std::string>>& rows);
std::string Fixed(double value, int decimals);
// Up to ten significant digits, without trailing zeros.
std::string Number(double value);

Json PhasorJson(double magnitude, double angle);

// Subcommands.
void AddFaultCommand(CLI::App& app);
void AddTypesCommand(CLI::App& app);
void AddSequenceCommand(CLI::App& app);
void AddToleranceCommand(CLI::App& app);
void AddSpectrumCommand(CLI::App& app);
void AddDeviceCommand(CLI::App& app);

}  // namespace kvdata
