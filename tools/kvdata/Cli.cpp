#include <fcntl.h>
#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

#include "Cli.h"

#include "Kv_Relay/DeviceLimits.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/Input.h"
#include "NumberText.h"

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

// Digits after the point as written; -1 for exponent form, whose decimals are unclear.
int DecimalsOf(std::string_view text) {
    if (text.find_first_of("eE") != std::string_view::npos) return -1;
    const std::size_t point = text.find('.');
    return point == std::string_view::npos ? 0 : static_cast<int>(text.size() - point - 1);
}

}  // namespace

double ParseNumber(std::string_view text, std::string_view what) {
    if (const auto value = kv::relay::ReadNumber(text)) return *value;
    throw Error(std::string(what) + ": " + Quoted(text) + " is not a number");
}

double ParseNonNegative(std::string_view text, std::string_view what) {
    const double value = ParseNumber(text, what);
    if (value < 0) throw Error(std::string(what) + ": " + Quoted(text) + " is negative; a magnitude is >= 0");
    return value;
}

int ParseInteger(std::string_view text, std::string_view what) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size())
        throw Error(std::string(what) + ": " + Quoted(text) + " is not a whole number");
    return value;
}

CLI::Option* AddNumber(CLI::App* cmd, const std::string& name, double& target, const std::string& help) {
    CLI::Option* option = cmd->add_option_function<std::string>(
        name, [&target, name](const std::string& text) { target = ParseNumber(text, name); }, help);
    option->type_name("NUMBER");
    return option;
}

std::size_t Range::Count() const {
    if (!IsSweep()) return 1;
    return static_cast<std::size_t>(std::floor((stop - start) / step + 1e-9)) + 1;
}

std::vector<double> Range::Points() const {
    const Grid grid(*this);
    std::vector<double> points(grid.Count());
    for (std::size_t k = 0; k < points.size(); ++k) points[k] = grid[k];
    return points;
}

Grid::Grid(const Range& range)
    : m_range(range),
      m_count(range.Count()),
      m_scale(range.decimals >= 0 && range.decimals <= 15 ? std::pow(10.0, range.decimals) : 0) {}

double Grid::operator[](std::size_t k) const {
    if (!m_range.IsSweep()) return m_range.start;
    const double value = m_range.start + static_cast<double>(k) * m_range.step;
    // n / 10^d is the double nearest the decimal n·10^-d: the grid value as written.
    return m_scale != 0 ? std::round(value * m_scale) / m_scale : value;
}

Range ParseRange(std::string_view text, std::string_view what) {
    const std::size_t first = text.find(':');
    if (first == std::string_view::npos) {
        const double value = ParseNumber(text, what);
        return {value, value, 0, DecimalsOf(text)};
    }
    const std::size_t second = text.find(':', first + 1);
    if (second == std::string_view::npos)
        throw Error(std::string(what) + ": " + Quoted(text) + " is not START:STOP:STEP");
    const std::string_view parts[] = {text.substr(0, first), text.substr(first + 1, second - first - 1),
                                      text.substr(second + 1)};
    Range range{ParseNumber(parts[0], what), ParseNumber(parts[1], what), ParseNumber(parts[2], what), 0};
    for (const std::string_view part : parts) {
        const int d = DecimalsOf(part);
        range.decimals = d < 0 || range.decimals < 0 ? -1 : std::max(range.decimals, d);
    }
    if (range.step == 0 || (range.stop - range.start) / range.step < 0)
        throw Error(std::string(what) + ": the step of " + Quoted(text) + " does not lead from START to STOP");
    if (!((range.stop - range.start) / range.step < 1e15))
        throw Error(std::string(what) + ": " + Quoted(text) + " has too many points");
    return range;
}

void CheckRowCount(double rows, std::size_t maxRows) {
    if (rows > static_cast<double>(maxRows))
        throw Error("the sweeps give " + Number(rows) + " rows, more than --max-rows " +
                    std::to_string(maxRows) + "; raise --max-rows to have them all");
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

    // Names match without regard to (Latin) case, with or without "Fault".
    const auto folded = [](std::string name) {
        for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return name.rfind("fault", 0) == 0 ? name : "fault" + name;
    };
    const std::string wantedFolded = folded(text);
    for (const FaultType& type : FaultTypes())
        if (folded(type.name) == wantedFolded) return type.code;

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
    try {
        kv::relay::ApplyDeviceType(code);
    } catch (const kv::relay::Error& e) {
        throw Error(std::string("--") + e.what());
    }
}

int g_decimals = -1;

int Decimals(int columnDefault) { return g_decimals >= 0 ? g_decimals : columnDefault; }

std::string Fixed(double value, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string out = text;
    if (out[0] == '-' && out.find_first_not_of("-0.") == std::string::npos) out.erase(0, 1);
    return out;
}

std::string FixedAngle(double magnitude, double angle, int magnitudeDecimals, int decimals) {
    const std::string shown = Fixed(magnitude, magnitudeDecimals);
    if (shown.find_first_of("123456789") == std::string::npos) return Fixed(0, decimals);
    // An angle just below 360 that rounds up reads as the 0 it is next to.
    std::string text = Fixed(angle, decimals);
    if (angle < 360 && text == Fixed(360, decimals)) text = Fixed(0, decimals);
    return text;
}

std::string Shortest(double value) {
    char text[kShortestRoom];
    return std::string(text, WriteShortest(text, value));
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

void PrintTable(std::FILE* out, const std::vector<std::vector<std::string>>& rows) {
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
        std::fprintf(out, "%s\n", line.c_str());
    }
}

std::string TemporaryName(const std::string& path) { return path + ".tmp" + std::to_string(::getpid()); }

void CheckWritable(const std::string& path, std::string_view what) {
    const std::string temporary = TemporaryName(path);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (fd < 0) throw Error(std::string(what) + ": cannot write " + Quoted(path) + ": " + std::strerror(errno));
    ::close(fd);
    ::unlink(temporary.c_str());
}

Output::Output(const std::string& path) : m_path(path) {
    if (path.empty() || path == "-") {
        m_file = stdout;
        return;
    }
    m_temporary = TemporaryName(path);
    m_file = std::fopen(m_temporary.c_str(), "wx");
    if (m_file == nullptr) throw Error("-o: cannot write " + Quoted(path) + ": " + std::strerror(errno));
}

Output::~Output() {
    if (m_temporary.empty() || m_file == nullptr) return;
    std::fclose(m_file);
    std::remove(m_temporary.c_str());
}

void Output::Commit() {
    if (m_temporary.empty()) {
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            throw Error(std::string("cannot write the standard output: ") + std::strerror(errno));
        return;
    }
    std::FILE* file = std::exchange(m_file, nullptr);
    const bool failed = std::ferror(file) != 0;
    const int saved = errno;
    if (std::fclose(file) != 0 || failed) {
        const int reason = failed ? saved : errno;
        std::remove(m_temporary.c_str());
        throw Error("cannot write " + Quoted(m_path) + ": " + std::strerror(reason));
    }
    if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        const int reason = errno;
        std::remove(m_temporary.c_str());
        throw Error("cannot write " + Quoted(m_path) + ": " + std::strerror(reason));
    }
}

Json PhasorJson(double magnitude, double angle) { return Json{{"magnitude", magnitude}, {"angle", angle}}; }

namespace {

void Flatten(const Json& json, const std::string& prefix, std::vector<std::string>& names,
             std::vector<const Json*>& values) {
    if (json.is_object()) {
        for (const auto& [key, value] : json.items()) Flatten(value, prefix.empty() ? key : prefix + "." + key, names, values);
        return;
    }
    names.push_back(prefix);
    values.push_back(&json);
}

std::string CsvField(const Json& value) {
    if (value.is_null()) return "";
    if (value.is_number()) return Shortest(value.get<double>());
    return value.dump();  // strings quoted, true and false as words
}

}  // namespace

void WriteCsvRow(std::FILE* out, const Json& row, bool header) {
    std::vector<std::string> names;
    std::vector<const Json*> values;
    Flatten(row, "", names, values);
    if (header) {
        for (std::size_t k = 0; k < names.size(); ++k) std::fprintf(out, "%s%s", k ? "," : "", names[k].c_str());
        std::fputc('\n', out);
    }
    for (std::size_t k = 0; k < values.size(); ++k) std::fprintf(out, "%s%s", k ? "," : "", CsvField(*values[k]).c_str());
    std::fputc('\n', out);
}

}  // namespace kvdata
