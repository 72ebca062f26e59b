// kvdata spectrum: amplitude and phase per frequency of samples from a CSV column.

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "Cli.h"
#include "Plot.h"

namespace kvdata {

namespace {

struct SpectrumOptions {
    std::string file;
    std::string column = "1";
    double from = 0;
    double to = 500;
    double step = 50;
    double t0 = 0;
    double t1 = 0;
    double rate = 0;
    bool json = false;
    std::string plot;
};

std::vector<std::string> SplitFields(const std::string& line) {
    const char separator = line.find(',') != std::string::npos ? ',' : line.find(';') != std::string::npos ? ';' : '\t';
    std::vector<std::string> fields;
    std::stringstream stream(line);
    for (std::string field; std::getline(stream, field, separator);) {
        const std::size_t first = field.find_first_not_of(" \t\r");
        const std::size_t last = field.find_last_not_of(" \t\r");
        fields.push_back(first == std::string::npos ? "" : field.substr(first, last - first + 1));
    }
    return fields;
}

bool IsNumber(const std::string& text) {
    try {
        ParseNumber(text, "");
        return true;
    } catch (const Error&) {
        return false;
    }
}

// The column's samples; the first row is a header when its field is not a number, and
// the column may then be named.
std::vector<double> ReadColumn(std::istream& in, const std::string& source, const std::string& column) {
    std::vector<double> samples;
    std::size_t index = 0;
    bool named = !column.empty() && column.find_first_not_of("0123456789") != std::string::npos;
    if (!named) {
        const int number = ParseInteger(column, "--column");
        if (number < 1) throw Error("--column: columns are numbered from 1");
        index = static_cast<std::size_t>(number - 1);
    }
    bool first = true;
    std::size_t lineNumber = 0;
    for (std::string line; std::getline(in, line);) {
        ++lineNumber;
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[0] == '#') continue;
        const std::vector<std::string> fields = SplitFields(line);
        const std::string where = source + ":" + std::to_string(lineNumber);
        if (first) {
            first = false;
            if (named) {
                const auto found = std::find(fields.begin(), fields.end(), column);
                if (found == fields.end()) throw Error(where + ": the header has no column '" + column + "'");
                index = static_cast<std::size_t>(found - fields.begin());
                continue;
            }
            if (index < fields.size() && !IsNumber(fields[index])) continue;  // a header
        }
        if (index >= fields.size())
            throw Error(where + ": the row has no column " + std::to_string(index + 1));
        samples.push_back(ParseNumber(fields[index], where + ": column " + std::to_string(index + 1)));
    }
    if (samples.empty()) throw Error(source + ": no samples");
    return samples;
}

void Run(const SpectrumOptions& o) {
    if (!o.plot.empty()) CheckPictureName(o.plot);
    if (!(o.step > 0) || o.to < o.from) throw Error("the frequencies need --from <= --to and a --step above 0");
    if ((o.to - o.from) / o.step >= 100000) throw Error("more than 100000 frequencies; take a larger --step");
    if ((o.t1 == 0) == (o.rate == 0)) throw Error("give the sampling window with either --t1 or --rate");

    std::vector<double> samples;
    if (o.file == "-") {
        samples = ReadColumn(std::cin, "standard input", o.column);
    } else {
        std::ifstream in(o.file);
        if (!in) throw Error("cannot open '" + o.file + "'");
        samples = ReadColumn(in, o.file, o.column);
    }
    const int n = static_cast<int>(std::min<std::size_t>(samples.size(), 10000000));
    const double t1 = o.rate > 0 ? o.t0 + n / o.rate : o.t1;

    int count = 0;
    double* amp = nullptr;
    double* phase = nullptr;
    const bool ok = kv::GetSpectr(o.from, o.to, o.step, o.t0, t1, n, samples.data(), count, amp, phase);
    const std::unique_ptr<double[]> ampOwner(amp), phaseOwner(phase);
    if (!ok) throw Error("the spectrum could not be computed");

    SpectrumChart chart;
    chart.title = "Amplitude spectrum of " + std::to_string(n) + " samples";
    Json out{{"samples", n}, {"t0", o.t0}, {"t1", t1}, {"components", Json::array()}};
    std::vector<std::vector<std::string>> rows{{"f, Hz", "amplitude", "phase, deg"}};
    double f = o.from;
    for (int k = 0; k < count; ++k, f += o.step) {
        chart.frequency.push_back(f);
        chart.amplitude.push_back(amp[k]);
        out["components"].push_back({{"frequency", f}, {"amplitude", amp[k]}, {"phase", phase[k]}});
        rows.push_back({Fixed(f, 3), Fixed(amp[k], 6), Fixed(phase[k], 2)});
    }
    if (o.json)
        std::printf("%s\n", out.dump(2).c_str());
    else
        PrintTable(rows);
    if (!o.plot.empty()) DrawSpectrum(chart, o.plot);
}

}  // namespace

void AddSpectrumCommand(CLI::App& app) {
    auto o = std::make_shared<SpectrumOptions>();
    CLI::App* cmd = app.add_subcommand("spectrum", "Amplitude and phase per frequency of sampled values");
    cmd->add_option("FILE", o->file, "CSV file of samples, or - for standard input")->required();
    cmd->add_option("--column", o->column, "Column number (from 1) or header name");
    cmd->add_option("--from", o->from, "First frequency, Hz");
    cmd->add_option("--to", o->to, "Last frequency, Hz");
    cmd->add_option("--step", o->step, "Frequency step, Hz");
    cmd->add_option("--t0", o->t0, "Time of the first sample, s");
    cmd->add_option("--t1", o->t1, "End of the sampling window, s (samples at t0 + k (t1 - t0) / n)");
    cmd->add_option("--rate", o->rate, "Sampling rate, Hz, instead of --t1");
    cmd->add_flag("--json", o->json, "Print JSON");
    cmd->add_option("--plot", o->plot, "Draw the amplitude spectrum into this .png, .svg or .pdf file");
    cmd->callback([o] { Run(*o); });
}

}  // namespace kvdata
