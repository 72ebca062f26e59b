#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "Cli.h"

namespace kvdata {

namespace {

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

// iconv over the whole text; false when a character has no form in `to`.
bool Convert(std::string_view text, const char* from, const char* to, std::string& out) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1))) return false;
    std::string input(text);
    out.assign(input.size() * 4 + 4, '\0');
    char* in = input.data();
    std::size_t inLeft = input.size();
    char* dst = out.data();
    std::size_t outLeft = out.size();
    const std::size_t done = iconv(cd, &in, &inLeft, &dst, &outLeft);
    iconv_close(cd);
    if (done == static_cast<std::size_t>(-1)) return false;
    out.resize(out.size() - outLeft);
    return true;
}

std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// A sweep longer than this is surely a typing mistake.
constexpr std::size_t kMaxSweepPoints = 100000;

}  // namespace

double ParseNumber(std::string_view text, std::string_view what) {
    std::string_view digits = text;
    if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
    double value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
        throw Error(std::string(what) + ": " + Quoted(text) + " is not a number");
    return value;
}

int ParseInteger(std::string_view text, std::string_view what) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size())
        throw Error(std::string(what) + ": " + Quoted(text) + " is not a whole number");
    return value;
}

std::vector<double> Range::Points() const {
    if (!IsSweep()) return {start};
    const double last = std::floor((stop - start) / step + 1e-9);
    std::vector<double> points;
    for (double k = 0; k <= last; ++k) points.push_back(start + k * step);
    return points;
}

Range ParseRange(std::string_view text, std::string_view what) {
    const std::size_t first = text.find(':');
    if (first == std::string_view::npos) {
        const double value = ParseNumber(text, what);
        return {value, value, 0};
    }
    const std::size_t second = text.find(':', first + 1);
    if (second == std::string_view::npos)
        throw Error(std::string(what) + ": " + Quoted(text) + " is not START:STOP:STEP");
    Range range{ParseNumber(text.substr(0, first), what),
                ParseNumber(text.substr(first + 1, second - first - 1), what),
                ParseNumber(text.substr(second + 1), what)};
    if (range.step == 0 || (range.stop - range.start) / range.step < 0)
        throw Error(std::string(what) + ": the step of " + Quoted(text) + " does not lead from START to STOP");
    if ((range.stop - range.start) / range.step >= static_cast<double>(kMaxSweepPoints))
        throw Error(std::string(what) + ": " + Quoted(text) + " has more than " +
                    std::to_string(kMaxSweepPoints) + " points");
    return range;
}

PhasorText ParsePhasor(std::string_view text, std::string_view what) {
    const std::size_t at = text.find('@');
    if (at == std::string_view::npos) return {ParseNumber(text, what), 0};
    return {ParseNumber(text.substr(0, at), what), ParseNumber(text.substr(at + 1), what)};
}

std::string ToUtf8(std::string_view cp1251) {
    std::string out;
    if (!Convert(cp1251, "CP1251", "UTF-8", out)) return std::string(cp1251);
    return out;
}

std::string ToCp1251(std::string_view utf8) {
    std::string out;
    if (!Convert(utf8, "UTF-8", "CP1251", out)) return std::string(utf8);
    return out;
}

std::vector<FaultType> FaultTypes() {
    // Naming a code also sets the A1 flag for code 123; the flag is put back.
    const int savedA1 = kv::glob_bFault_A1_Enable;
    std::vector<FaultType> types;
    for (int code = 0; code <= 132; ++code) {
        const kv::CString name = kv::GetStringFromDefineKZ(code);
        if (!name.IsEmpty()) types.push_back({code, ToUtf8(name.view())});
    }
    kv::glob_bFault_A1_Enable = savedA1;
    return types;
}

int ResolveFaultType(const std::string& text) {
    const bool numeric = !text.empty() && text.find_first_not_of("+-0123456789") == std::string::npos;
    if (numeric) {
        const int code = ParseInteger(text.front() == '+' ? text.substr(1) : text, "fault type");
        for (const FaultType& type : FaultTypes())
            if (type.code == code) return code;
        throw Error("fault type " + text + " is not in the catalogue (see 'kvdata types')");
    }
    const int code = kv::GetDefineFromStringKZ(kv::CString(ToCp1251(text)));
    if (code >= 0) return code;

    std::vector<FaultType> types = FaultTypes();
    const std::string wanted = text.rfind("Fault", 0) == 0 ? text : "Fault" + text;
    std::stable_sort(types.begin(), types.end(), [&wanted](const FaultType& a, const FaultType& b) {
        return EditDistance(wanted, a.name) < EditDistance(wanted, b.name);
    });
    std::string closest;
    for (std::size_t i = 0; i < 3 && i < types.size(); ++i) closest += (i ? ", " : "") + types[i].name;
    throw Error("unknown fault type " + Quoted(text) + "; closest: " + closest);
}

const char* ResultMeaning(int result) {
    switch (result) {
        case 0: return "done";
        case 1: return "voltage limited to the device's range";
        case 2: return "current above the device's limit (not limited)";
        case 3: return "this fault type is not handled by this function";
        default: return "unknown result";
    }
}

void ApplyDevice(int code) {
    static constexpr int kKnownTypes[] = {20, 21, 23, 30, 31, 35, 900};
    if (std::find(std::begin(kKnownTypes), std::end(kKnownTypes), code) == std::end(kKnownTypes))
        throw Error("unknown device type " + std::to_string(code) + "; known: 20, 21, 23, 30, 31, 35, 900");
    kv::glob_dwKavorType = static_cast<kv::DWORD>(code);
    kv::SetConstantsFromKavorType();
}

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string Number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

namespace {

// Columns are measured in characters, not bytes, so that UTF-8 names line up.
std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

}  // namespace

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
    // Numbers align right, text left; the first row is the header.
    std::vector<std::size_t> widths;
    std::vector<bool> numeric;
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            if (widths.size() <= i) {
                widths.push_back(0);
                numeric.push_back(i > 0);
            }
            widths[i] = std::max(widths[i], Width(rows[r][i]));
            const std::string& cell = rows[r][i];
            if (r > 0 && (cell.empty() || cell.find_first_not_of("+-.0123456789e") != std::string::npos))
                numeric[i] = false;
        }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string pad(widths[i] - Width(row[i]), ' ');
            if (i > 0) line += "  ";
            line += numeric[i] ? pad + row[i] : row[i] + pad;
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        std::printf("%s\n", line.c_str());
    }
}

Json PhasorJson(double magnitude, double angle) { return Json{{"magnitude", magnitude}, {"angle", angle}}; }

}  // namespace kvdata
