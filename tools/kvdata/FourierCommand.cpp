// kvdata spectrum: amplitude and phase per frequency of samples from a CSV column.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

#include "Cli.h"
#include "Plot.h"

namespace kvdata {

namespace {

struct SpectrumOptions {
    std::string file;
    std::string column = "1";
    std::string separator;
    std::string frequencies;
    double t0 = 0;
    double t1 = 0;
    double rate = 0;
    bool hasT1 = false;
    bool hasRate = false;
    bool rms = false;
    bool json = false;
    std::string plot;
    std::string output;
    std::size_t maxRows = kDefaultMaxRows;
};

// The library takes a component below this frequency as direct current: the mean.
constexpr double kDirectCurrent = 0.001;

std::string Hex(unsigned char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", byte);
    return text;
}

// Length of the UTF-8 character at `at`, or 0 when the bytes there are not UTF-8
// (overlong forms and surrogates included).
std::size_t Utf8Length(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[at + k]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (at + length > text.size() || byte(1) < low || byte(1) > high) return 0;
    for (std::size_t k = 2; k < length; ++k)
        if (byte(k) < 0x80 || byte(k) > 0xBF) return 0;
    return length;
}

// Refuses what is not text, without echoing the bytes (they may upset the terminal).
void CheckText(std::string_view line, const std::string& where) {
    for (std::size_t at = 0; at < line.size();) {
        const auto byte = static_cast<unsigned char>(line[at]);
        if ((byte < 0x20 && byte != '\t') || byte == 0x7F)
            throw Error(where + ": binary data (byte " + Hex(byte) + "), not CSV text");
        const std::size_t length = Utf8Length(line, at);
        if (length == 0)
            throw Error(where + ": byte " + Hex(byte) + " is not UTF-8; save the file as CSV in UTF-8");
        at += length;
    }
}

// A field as an error message shows it: long ones are cut (on a character boundary).
std::string Shown(std::string_view field) {
    if (field.size() <= 40) return "'" + std::string(field) + "'";
    std::size_t end = 40;
    while (end > 0 && (static_cast<unsigned char>(field[end]) & 0xC0) == 0x80) --end;
    return "'" + std::string(field.substr(0, end)) + "...'";
}

std::string SeparatorName(char separator) { return separator == '\t' ? "tab" : std::string("'") + separator + "'"; }

// Fields split at `separator` outside double quotes, trimmed, quotes taken off.
// `foreign` is set to a separator of another kind found between a field's characters.
std::vector<std::string> SplitFields(std::string_view line, char separator, char& foreign) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    foreign = 0;
    for (std::size_t k = 0; k < line.size(); ++k) {
        const char c = line[k];
        if (c == '"') {
            if (quoted && k + 1 < line.size() && line[k + 1] == '"') fields.back() += line[++k];
            else quoted = !quoted;
        } else if (!quoted && c == separator) {
            fields.emplace_back();
        } else {
            if (!quoted && c == ';' && foreign == 0) foreign = c;
            fields.back() += c;
        }
    }
    for (std::string& field : fields) {
        const std::size_t first = field.find_first_not_of(" \t");
        field = first == std::string::npos ? "" : field.substr(first, field.find_last_not_of(" \t") - first + 1);
        if (separator != '\t' && field.find('\t') != std::string::npos && foreign == 0) foreign = '\t';
    }
    return fields;
}

// A decimal comma is a spreadsheet's in the locales that separate fields by ';' or tab.
bool ReadNumber(const std::string& field, char separator, double& value) {
    std::string text = field;
    const std::size_t comma = text.find(',');
    if (comma != std::string::npos) {
        if (separator == ',' || text.find(',', comma + 1) != std::string::npos || text.find('.') != std::string::npos)
            return false;
        text[comma] = '.';
    }
    try {
        value = ParseNumber(text, "");
        return true;
    } catch (const Error&) {
        return false;
    }
}

struct Line {
    std::size_t number;
    std::string_view text;
};

// The lines that hold something: no blank lines, no comments ("#..."); LF, CR LF and CR
// all end a line.
std::vector<Line> ContentLines(std::string_view text, const std::string& source) {
    std::vector<Line> lines;
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find_first_of("\r\n", start), text.size());
        const std::string_view line = text.substr(start, end - start);
        ++number;
        CheckText(line, source + ":" + std::to_string(number));
        if (line.find_first_not_of(" \t") != std::string_view::npos && line[0] != '#') lines.push_back({number, line});
        start = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
    }
    return lines;
}

// Decided once for the file from its first line: ';' first, for a line that holds both
// ';' and decimal commas.
char DecideSeparator(std::string_view first) {
    char foreign = 0;
    for (const char separator : {';', '\t', ','})
        if (SplitFields(first, separator, foreign).size() > 1) return separator;
    return 0;
}

// "12,5": one number with a decimal comma, or two whole numbers separated by ','.
bool LooksLikeDecimalComma(const Line& line) {
    const std::size_t first = line.text.find_first_not_of(' ');
    std::string_view text = line.text.substr(first, line.text.find_last_not_of(' ') - first + 1);
    if (!text.empty() && text[0] == '-') text.remove_prefix(1);
    const std::size_t comma = text.find(',');
    return comma != std::string_view::npos && comma > 0 && comma + 1 < text.size() &&
           text.find_first_not_of("0123456789,") == std::string_view::npos &&
           text.find(',', comma + 1) == std::string_view::npos;
}

std::string ReadAll(const std::string& file) {
    if (file == "-") {
        std::string text;
        char buffer[65536];
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) text.append(buffer, got);
        return text;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) throw Error("cannot open '" + file + "'");
    return {std::istreambuf_iterator<char>(in), {}};
}

// The column's samples; the first line is a header when its field is not a number, and
// the column may then be named.
std::vector<double> ReadColumn(const SpectrumOptions& o) {
    const std::string source = o.file == "-" ? "standard input" : o.file;
    std::string text = ReadAll(o.file);
    if (text.rfind("\xFF\xFE", 0) == 0 || text.rfind("\xFE\xFF", 0) == 0)
        throw Error(source + ": UTF-16 text; save the file as CSV in UTF-8");
    if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);
    const std::vector<Line> lines = ContentLines(text, source);
    if (lines.empty())
        throw Error(source + (text.find_first_not_of(" \t\r\n") == std::string::npos ? ": the file is empty"
                                                                                   : ": no samples"));

    const bool named = o.column.empty() || o.column.find_first_not_of("0123456789") != std::string::npos;
    std::size_t index = 0;
    if (!named) {
        const int number = ParseInteger(o.column, "--column");
        if (number < 1) throw Error("--column: columns are numbered from 1");
        index = static_cast<std::size_t>(number - 1);
    }
    const char separator = o.separator.empty() ? DecideSeparator(lines[0].text)
                           : o.separator == "tab" ? '\t'
                                                  : o.separator[0];
    const std::string firstLine = "line " + std::to_string(lines[0].number);
    const std::string fileSeparator = separator == 0 ? firstLine + " has one column"
                                                     : "the file's by " + SeparatorName(separator) +
                                                           (o.separator.empty() ? " (from " + firstLine + ")" : "");

    if (separator == ',' && o.separator.empty() && std::all_of(lines.begin(), lines.end(), LooksLikeDecimalComma))
        throw Error(source + ": every line is like '" + std::string(lines[0].text) +
                    "': give --separator ',' if these are two columns, or --separator ';' if they are numbers "
                    "with a decimal comma");

    std::vector<double> samples;
    std::size_t fieldCount = 0;
    for (const Line& line : lines) {
        const std::string where = source + ":" + std::to_string(line.number);
        char foreign = 0;
        const std::vector<std::string> fields = SplitFields(line.text, separator, foreign);
        if (foreign != 0)
            throw Error(where + ": fields separated by " + SeparatorName(foreign) + ", but " + fileSeparator);
        const bool first = &line == &lines[0];
        if (first) fieldCount = fields.size();
        if (fields.size() != fieldCount) {
            for (const char other : {';', '\t', ','})
                if (other != separator && SplitFields(line.text, other, foreign).size() == fieldCount)
                    throw Error(where + ": fields separated by " + SeparatorName(other) + ", but " + fileSeparator);
            throw Error(where + ": " + std::to_string(fields.size()) + (fields.size() == 1 ? " field" : " fields") +
                        " where " + firstLine + " has " + std::to_string(fieldCount));
        }
        double value = 0;
        if (first && named) {
            const auto found = std::find(fields.begin(), fields.end(), o.column);
            if (found == fields.end()) throw Error(where + ": the header has no column '" + o.column + "'");
            index = static_cast<std::size_t>(found - fields.begin());
            continue;
        }
        if (index >= fields.size()) throw Error(where + ": the row has no column " + std::to_string(index + 1));
        if (!ReadNumber(fields[index], separator, value)) {
            if (first) continue;  // a header
            throw Error(where + ": column " + std::to_string(index + 1) + ": " + Shown(fields[index]) +
                        " is not a number");
        }
        samples.push_back(value);
    }
    if (samples.empty()) throw Error(source + ": no samples after the header");
    if (samples.size() > INT_MAX) throw Error(source + ": more than " + std::to_string(INT_MAX) + " samples");
    return samples;
}

void Run(const SpectrumOptions& o) {
    Output out(o.output);
    if (!o.plot.empty()) CheckPictureName(o.plot);
    if (o.hasT1 && o.hasRate) throw Error("give --t1 or --rate, not both");
    if (!o.hasT1 && !o.hasRate) throw Error("give the sampling window with either --t1 or --rate");
    if (o.hasRate && !(o.rate > 0)) throw Error("--rate: the sampling rate must be above 0 Hz");
    if (o.hasT1 && !(o.t1 > o.t0))
        throw Error("--t1: the window must end after it starts (--t0 " + Shortest(o.t0) + " s, --t1 " +
                    Shortest(o.t1) + " s)");
    Range wanted;
    if (!o.frequencies.empty()) {
        wanted = ParseRange(o.frequencies, "--f");
        if (std::min(wanted.start, wanted.stop) < 0)
            throw Error("--f: '" + o.frequencies + "' has a negative frequency");
        CheckRowCount(static_cast<double>(wanted.Count()), o.maxRows);
    }

    const std::vector<double> samples = ReadColumn(o);
    const int n = static_cast<int>(samples.size());
    const double t1 = o.hasRate ? o.t0 + n / o.rate : o.t1;
    const double window = t1 - o.t0;
    if (!(window > 0) || !std::isfinite(window))
        throw Error("the window from " + Shortest(o.t0) + " s to " + Shortest(t1) + " s has no usable length");
    const double rate = o.hasRate ? o.rate : n / window;

    // Without --f: the frequencies of whole periods in the window, up to half the rate.
    std::vector<double> frequencies;
    int decimals = Decimals(3);
    if (o.frequencies.empty()) {
        const double step = o.hasRate ? rate / n : 1 / window;
        if (static_cast<std::size_t>(n / 2) + 1 > o.maxRows)
            throw Error("up to half the rate the window has " + std::to_string(n / 2 + 1) +
                        " frequencies, more than --max-rows " + std::to_string(o.maxRows) +
                        "; give --f or raise --max-rows");
        for (int k = 0; k <= n / 2; ++k) frequencies.push_back(k * step);
    } else {
        frequencies = wanted.Points();
        decimals = Decimals(wanted.decimals >= 0 ? std::min(wanted.decimals, 9) : 3);
    }
    const double highest = *std::max_element(frequencies.begin(), frequencies.end());
    // A relative allowance, so that bins computed from the window do not trip the check.
    if (highest > rate / 2 * (1 + 1e-12))
        throw Error("--f: " + Number(highest) + " Hz is above " + Number(rate / 2) +
                    " Hz, half the sampling rate of " + Number(rate) + " Hz");

    const char* const kind = o.rms ? "rms" : "peak";
    const bool direct =
        std::any_of(frequencies.begin(), frequencies.end(), [](double f) { return f < kDirectCurrent; });
    const std::string phaseMeaning = "of the sine A sin(2 pi f t + phase) at t = 0 s, degrees 0..360";
    SpectrumChart chart;
    const std::string shownKind = o.rms ? "RMS" : "peak";
    chart.title = "Amplitude spectrum (" + shownKind + ") of " + std::to_string(n) + " samples";
    Json json{{"samples", n},          {"t0", o.t0},         {"t1", t1}, {"rate", rate}, {"amplitude", kind},
              {"phase", phaseMeaning}, {"components", Json::array()}};
    std::vector<std::vector<std::string>> rows{{"f, Hz", "amplitude, " + shownKind, "phase, deg"}};
    for (const double f : frequencies) {
        int count = 0;
        double* amp = nullptr;
        double* phase = nullptr;
        const bool ok = kv::GetSpectr(f, f, 1, o.t0, t1, n, samples.data(), count, amp, phase);
        const std::unique_ptr<double[]> ampOwner(amp), phaseOwner(phase);
        if (!ok || count != 1) throw Error("the spectrum could not be computed");
        // Direct current is its own RMS value.
        const double amplitude = o.rms && f >= kDirectCurrent ? amp[0] / std::sqrt(2.0) : amp[0];
        chart.frequency.push_back(f);
        chart.amplitude.push_back(amplitude);
        json["components"].push_back({{"frequency", f}, {"amplitude", amplitude}, {"phase", phase[0]}});
        rows.push_back({Fixed(f, decimals), Fixed(amplitude, Decimals(6)),
                        FixedAngle(amplitude, phase[0], Decimals(6), Decimals(2))});
    }

    std::FILE* file = out.file();
    if (o.json) {
        std::fprintf(file, "%s\n", json.dump(2).c_str());
    } else {
        std::fprintf(file, "%d samples from t0 = %s s to t1 = %s s, rate %s Hz\n", n, Shortest(o.t0).c_str(),
                     Shortest(t1).c_str(), Number(rate).c_str());
        std::fprintf(file, "amplitude: %s%s; phase: %s\n", shownKind.c_str(),
                     direct ? " (at 0 Hz the mean)" : "", phaseMeaning.c_str());
        PrintTable(file, rows);
    }
    if (!o.plot.empty()) DrawSpectrum(chart, o.plot);
    out.Commit();
}

}  // namespace

void AddSpectrumCommand(CLI::App& app) {
    auto o = std::make_shared<SpectrumOptions>();
    CLI::App* cmd = app.add_subcommand("spectrum", "Amplitude and phase per frequency of sampled values");
    cmd->add_option("FILE", o->file, "CSV file of samples, or - for standard input")->required();
    cmd->add_option("--column", o->column, "Column number (from 1) or header name");
    cmd->add_option("--separator", o->separator,
                    "Field separator: ';', ',' or tab (default: decided from the first line)")
        ->check([](const std::string& text) {
            return text == ";" || text == "," || text == "tab" ? std::string() : "give ';', ',' or tab";
        });
    cmd->add_option("--f", o->frequencies,
                    "Frequency in Hz, or START:STOP:STEP (default: 0 to half the rate in steps of 1/(t1 - t0))");
    AddNumber(cmd, "--t0", o->t0, "Time of the first sample, s (default 0)");
    CLI::Option* t1 = AddNumber(cmd, "--t1", o->t1, "End of the sampling window, s (samples at t0 + k (t1 - t0) / n)");
    CLI::Option* rate = AddNumber(cmd, "--rate", o->rate, "Sampling rate, Hz, instead of --t1");
    cmd->add_flag("--rms", o->rms, "RMS amplitudes (peak / sqrt 2; at 0 Hz the mean) instead of peak values");
    cmd->add_flag("--json", o->json, "Print JSON");
    cmd->add_option("--plot", o->plot, "Draw the amplitude spectrum into this .png, .svg or .pdf file");
    cmd->add_option("-o,--output", o->output, "Write the output into this file instead of standard output");
    cmd->add_option("--max-rows", o->maxRows, "Largest number of frequencies")->check(CLI::PositiveNumber);
    cmd->callback([o, t1, rate] {
        o->hasT1 = t1->count() > 0;
        o->hasRate = rate->count() > 0;
        Run(*o);
    });
}

}  // namespace kvdata
