// What the subcommands of kvdata share: the error that ends a run with one line on
// standard error, strict number parsing, ranges for sweeps, code-page conversion and
// the tables and JSON values the commands print.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
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
// nan, inf and numbers beyond the double range are refused.
double ParseNumber(std::string_view text, std::string_view what);
double ParseNonNegative(std::string_view text, std::string_view what);
int ParseInteger(std::string_view text, std::string_view what);

// A numeric option that goes through ParseNumber (CLI11's own conversion takes nan).
CLI::Option* AddNumber(CLI::App* cmd, const std::string& name, double& target, const std::string& help);

// A value, or START:STOP:STEP with both ends included: the one sweep syntax of every
// subcommand. Points are rounded to the decimals the user wrote, so 0:1:0.1 gives 0.3,
// not 0.30000000000000004.
struct Range {
    double start = 0;
    double stop = 0;
    double step = 0;
    int decimals = -1;  // of the texts as written; -1 when one was in exponent form
    bool IsSweep() const { return step != 0; }
    std::size_t Count() const;
    std::vector<double> Points() const;
};

// The points of a range one at a time, each the very double of Points(): a sweep of
// millions of points need not hold them all.
class Grid {
public:
    explicit Grid(const Range& range);
    std::size_t Count() const { return m_count; }
    double operator[](std::size_t k) const;

private:
    Range m_range;
    std::size_t m_count;
    double m_scale;  // 10^decimals; 0 leaves the points unrounded
};
Range ParseRange(std::string_view text, std::string_view what);
// Error when the product of the counts exceeds `maxRows` (the --max-rows option).
void CheckRowCount(double rows, std::size_t maxRows);
constexpr std::size_t kDefaultMaxRows = 100000;

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

// Where a command writes: standard output, or FILE (-o FILE). A file is checked for
// writability before any work, written under a temporary name beside it and renamed by
// Commit(); an output never committed leaves nothing behind.
class Output {
public:
    explicit Output(const std::string& path);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();
    std::FILE* file() const { return m_file; }
    void Commit();

private:
    std::string m_path;
    std::string m_temporary;
    std::FILE* m_file = nullptr;
};

// Error with the operating system's reason unless a file can be created at `path`.
void CheckWritable(const std::string& path, std::string_view what);
// The temporary name beside `path` that a file is written under before its rename.
std::string TemporaryName(const std::string& path);

// Fixed-width rows: the first column left-aligned, the others right-aligned.
void PrintTable(std::FILE* out, const std::vector<std::vector<std::string>>& rows);
// Fixed decimals; a value that rounds to zero prints without a sign ("0.00", never "-0.00").
std::string Fixed(double value, int decimals);
// The angle of a phasor for a human table: a phasor whose magnitude shows as zero has angle 0,
// and an angle below 360 that would show as 360 shows as 0.
std::string FixedAngle(double magnitude, double angle, int magnitudeDecimals, int decimals);
// Up to ten significant digits, without trailing zeros.
std::string Number(double value);
// The shortest text that reads back as the same double.
std::string Shortest(double value);

Json PhasorJson(double magnitude, double angle);

// A JSON object as a CSV row: nested keys joined with "." make the columns ("z.r"), null is
// an empty field, numbers their shortest text. With `header`, the column names come first.
void WriteCsvRow(std::FILE* out, const Json& row, bool header);

// The decimals of human tables (--decimals); -1 leaves each column's own.
int Decimals(int columnDefault);
extern int g_decimals;

// Subcommands.
void AddFaultCommand(CLI::App& app);
void AddImpedanceCommand(CLI::App& app);
void AddComtradeCommand(CLI::App& app);
void AddTypesCommand(CLI::App& app);
void AddSequenceCommand(CLI::App& app);
void AddToleranceCommand(CLI::App& app);
void AddSpectrumCommand(CLI::App& app);
void AddDeviceCommand(CLI::App& app);
// record and assess; assess leaves its exit status (0 pass, 3 fail) in `status`.
void AddRecordCommands(CLI::App& app, int& status);

}  // namespace kvdata
