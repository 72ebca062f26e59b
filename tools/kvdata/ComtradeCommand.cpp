// kvdata comtrade: a test sequence turned into its waveforms and written as a COMTRADE
// record, with a summary of what was written and, on request, a picture of the waveforms.

#include <cmath>
#include <cstdio>
#include <memory>

#include "Cli.h"
#include "Kv_Relay.h"
#include "Plot.h"

namespace kvdata {

namespace {

namespace ct = kv::relay::comtrade;

struct ComtradeOptions {
    std::string sequence;
    std::string output;
    std::string format = "ASCII";
    std::string revision = "2013";
    bool cff = false;
    double rate = 0;
    std::string plot;
};

// NAME, NAME.cfg or NAME.cff all name the record NAME.
std::filesystem::path Stem(const std::string& output) {
    std::filesystem::path path(output);
    std::string extension = path.extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == ".cfg" || extension == ".cff" || extension == ".dat") path.replace_extension();
    return path;
}

std::string PhasorText(kv::relay::PolarValue p) { return Fixed(p.magnitude, Decimals(3)) + "@" + Fixed(p.angle, Decimals(2)); }

void PrintSummary(std::FILE* out, const kv::relay::Sequence& q, const kv::relay::Waveforms& w,
                  const ct::RecordToWrite& record, const ct::WriteOptions& options,
                  const std::vector<std::filesystem::path>& written) {
    std::string files;
    for (const auto& path : written) files += (files.empty() ? "" : " and ") + path.string();
    std::fprintf(out, "Wrote %s: COMTRADE %d, %s\n", files.c_str(), static_cast<int>(options.revision),
                 std::string(ct::Name(options.format)).c_str());
    std::fprintf(out, "Station \"%s\", device \"%s\"; nominal %s V line voltage, %s Hz\n", q.station.c_str(),
                 q.device.c_str(), Number(q.nominalVoltage).c_str(), Number(q.nominalFrequency).c_str());
    std::string digital;
    for (const auto& name : w.DigitalNames()) digital += (digital.empty() ? "" : ", ") + name;
    std::fprintf(out, "Channels: 6 analog (UA, UB, UC in V; IA, IB, IC in A), %zu digital (%s)\n", w.DigitalNames().size(),
                 digital.c_str());
    std::fprintf(out, "%zu samples at %s Hz: %s s from %s, trigger at %s (+%s s)\n\n", w.Samples(), Number(w.Rate()).c_str(),
                 Number(static_cast<double>(w.Samples()) / w.Rate()).c_str(), kv::relay::IsoTime(record.start).c_str(),
                 kv::relay::IsoTime(record.trigger).c_str(), Number(kv::relay::TriggerTime(q)).c_str());

    std::vector<std::vector<std::string>> rows{
        {"State", "start, s", "duration, s", "f, Hz", "UA, V@deg", "UB", "UC", "IA, A@deg", "IB", "IC", "outputs"}};
    for (std::size_t s = 0; s < q.states.size(); ++s) {
        const kv::relay::PlayedState& p = w.Played()[s];
        std::vector<std::string> row{q.states[s].name, Fixed(p.start, 4), Fixed(q.states[s].duration, 4),
                                     Fixed(p.frequency, 2)};
        for (const auto& half : {p.phasors.voltages, p.phasors.currents})
            for (const kv::relay::PolarValue& v : kv::relay::Report(half)) row.push_back(PhasorText(v));
        std::string outputs;
        for (const auto& [name, value] : q.states[s].outputs)
            outputs += (outputs.empty() ? "" : " ") + name + "=" + std::to_string(value);
        if (q.states[s].dcOffset.enabled) outputs += std::string(outputs.empty() ? "" : " ") + "DC tau " + Number(*p.tau) + " s";
        row.push_back(outputs);
        rows.push_back(row);
    }
    PrintTable(out, rows);
}

void Run(const ComtradeOptions& o) {
    if (o.output.empty()) throw Error("-o NAME: give the record's name (NAME.cfg and NAME.dat, or NAME.cff)");
    if (!(o.rate >= 0) || !std::isfinite(o.rate)) throw Error("--rate: must be a finite number above 0");
    ct::WriteOptions options;
    options.format = ct::ParseDataFormat(o.format);
    options.revision = ct::ParseRevision(o.revision);
    options.singleFile = o.cff;
    if (!o.plot.empty()) CheckPictureName(o.plot);

    const kv::relay::Sequence q = kv::relay::LoadSequence(o.sequence);
    const kv::relay::Waveforms w(q, o.rate);
    const ct::RecordToWrite record = kv::relay::ToRecord(q, w, kv::relay::RecordStart(q));
    const auto written = ct::Write(record, Stem(o.output), options);
    PrintSummary(stdout, q, w, record, options, written);

    if (!o.plot.empty()) {
        WaveformChart chart;
        chart.title = q.station + ": " + std::filesystem::path(o.sequence).filename().string();
        chart.rate = w.Rate();
        for (std::size_t c = 0; c < kv::relay::kChannels; ++c) {
            const auto channel = static_cast<kv::relay::Channel>(c);
            chart.analog.push_back({std::string(Name(channel)), c < 3 ? "V" : "A", w.Analog(channel)});
        }
        for (std::size_t s = 0; s < q.states.size(); ++s) chart.markers.push_back({w.Played()[s].start, q.states[s].name});
        for (std::size_t d = q.states.size(); d < w.DigitalNames().size(); ++d)
            chart.digital.push_back({w.DigitalNames()[d], w.Digital(d)});
        DrawWaveforms(chart, o.plot);
    }
}

}  // namespace

void AddComtradeCommand(CLI::App& app) {
    auto o = std::make_shared<ComtradeOptions>();
    CLI::App* cmd = app.add_subcommand("comtrade", "A test sequence's waveforms written as a COMTRADE record");
    cmd->footer(
        "The sequence file (JSON) gives timed states: pre-fault, fault, post-fault, ... with their phasors given\n"
        "explicitly, by the catalogue's synthesis, or as a fault at an impedance. See examples/ for files to start from.\n"
        "Example: kvdata comtrade examples/distance-zone1.json -o zone1 --format BINARY");
    cmd->add_option("SEQUENCE", o->sequence, "Sequence file (JSON)")->required();
    cmd->add_option("-o,--output", o->output, "The record's name: NAME.cfg and NAME.dat, or NAME.cff")->required();
    cmd->add_option("--format", o->format, "Data format: ASCII, BINARY, BINARY32 or FLOAT32 (1999: ASCII or BINARY)")
        ->capture_default_str();
    cmd->add_option("--revision", o->revision, "COMTRADE revision: 2013 or 1999")->capture_default_str();
    cmd->add_flag("--cff", o->cff, "One NAME.cff file instead of NAME.cfg and NAME.dat (revision 2013)");
    AddNumber(cmd, "--rate", o->rate, "Samples per second, instead of the sequence file's rate");
    cmd->add_option("--plot", o->plot, "Draw the waveforms with the states marked into this .png, .svg or .pdf file");
    cmd->callback([o] { Run(*o); });
}

}  // namespace kvdata
