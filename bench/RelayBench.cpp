// The fault at an impedance: one call, and a million calls as a sweep makes them, over
// the seven loops and the four test models in turn. Neither may allocate.
// The COMTRADE writer: a 10 s record at 10 kHz in each data format, to files in a
// temporary directory; its allocations must not depend on the number of samples.
// The COMTRADE reader: a 100 MiB BINARY record and the 10 s record in ASCII, written once
// and read back whole; neither may allocate per sample.

#include <stdlib.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <numbers>
#include <string>
#include <system_error>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/ImpedanceFault.h"
#include "Kv_Relay/SamplePhasors.h"
#include "Kv_Relay/Waveforms.h"

namespace {

using namespace kv::relay;

// K1, K2, ...: appended rather than "K" + text, which g++ 12 at -O3 warns about.
std::string ContactName(std::size_t index) {
    std::string name = "K";
    name += std::to_string(index + 1);
    return name;
}

std::array<ImpedanceFault, 28> Faults() {
    const TestModel models[] = {ConstantCurrent{5}, ConstantVoltage{20}, SourceImpedance{Impedance::Polar(2, 80), {}},
                                SourceToLineRatio{0.5, {}}};
    std::array<ImpedanceFault, 28> faults;
    for (std::size_t k = 0; k < faults.size(); ++k) {
        ImpedanceFault& f = faults[k];
        f.loop = static_cast<FaultLoop>(k % 7);
        f.model = models[k / 7];
        f.z = Impedance::Polar(5, 75);
        f.k0 = ResidualCompensation::Polar(0.8, -5);
        f.limits = DeviceLimits{120, 20};
    }
    return faults;
}

void BM_ImpedanceFault(benchmark::State& state) {
    const auto faults = Faults();
    std::size_t k = 0;
    kvbench::CountedExactly(state, 0, [&] {
        benchmark::DoNotOptimize(Calculate(faults[k]));
        k = k + 1 == faults.size() ? 0 : k + 1;
    });
}
BENCHMARK(BM_ImpedanceFault);

// A reach test's sweep: 10^6 impedance magnitudes of one loop and model.
void BM_ImpedanceFault_Million(benchmark::State& state) {
    ImpedanceFault f = Faults()[0];
    kvbench::CountedExactly(state, 0, [&] {
        for (int n = 0; n < 1000000; ++n) {
            f.z = Impedance::RX(1.3 + n * 1e-6, 4.8);
            benchmark::DoNotOptimize(Calculate(f));
        }
    });
}
BENCHMARK(BM_ImpedanceFault_Million)->Unit(benchmark::kMillisecond);

namespace comtrade = kv::relay::comtrade;

// 100000 samples of three voltages and three currents at 50 Hz, and four contacts.
struct ComtradeRecord {
    static constexpr std::size_t kSamples = 100000;
    static constexpr double kRate = 10000;

    ComtradeRecord() {
        for (std::size_t c = 0; c < 6; ++c) {
            analog[c].resize(kSamples);
            const double amplitude = c < 3 ? 100 * std::numbers::sqrt2 : 5 * std::numbers::sqrt2;
            const double phase = -2 * std::numbers::pi / 3 * static_cast<double>(c % 3);
            for (std::size_t n = 0; n < kSamples; ++n)
                analog[c][n] = amplitude * std::sin(2 * std::numbers::pi * 50 * static_cast<double>(n) / kRate + phase);
        }
        for (std::size_t c = 0; c < 4; ++c) {
            digital[c].resize(kSamples);
            for (std::size_t n = 0; n < kSamples; ++n) digital[c][n] = (n / (1000 * (c + 1))) % 2 ? 1 : 0;
        }
        record.station = "Bench";
        record.device = "Writer";
        record.sampleRate = kRate;
        record.samples = kSamples;
        const char* names[] = {"UA", "UB", "UC", "IA", "IB", "IC"};
        for (std::size_t c = 0; c < 6; ++c)
            record.analog.push_back(
                {names[c], std::string(1, static_cast<char>('A' + c % 3)), c < 3 ? "V" : "A", analog[c]});
        for (std::size_t c = 0; c < 4; ++c) record.digital.push_back({ContactName(c), digital[c]});
    }

    std::array<std::vector<double>, 6> analog;
    std::array<std::vector<std::uint8_t>, 4> digital;
    comtrade::RecordToWrite record;
};

// A fixed number of allocations per call: paths, the configuration text, the channel
// tables and the output buffer. One per sample would be 100000.
constexpr std::size_t kComtradeAllocations = 100;

void ComtradeWrite(benchmark::State& state, comtrade::WriteOptions options) {
    static const ComtradeRecord data;
    std::string pattern = (std::filesystem::temp_directory_path() / "kv_bench_comtrade_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        kvbench::Fail(state, "cannot create a temporary directory");
        return;
    }
    const std::filesystem::path dir = pattern;
    std::uintmax_t bytes = 0;
    try {
        kvbench::CountedAtMost(state, kComtradeAllocations, [&] {
            benchmark::DoNotOptimize(comtrade::Write(data.record, dir / "record", options));
        });
        for (const auto& entry : std::filesystem::directory_iterator(dir)) bytes += entry.file_size();
    } catch (const std::exception& e) {
        static std::string message;  // kept beyond the call, as the harness may keep the pointer
        message = e.what();
        kvbench::Fail(state, message.c_str());
    }
    std::filesystem::remove_all(dir);
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void BM_ComtradeWrite_Ascii(benchmark::State& state) { ComtradeWrite(state, {}); }
void BM_ComtradeWrite_Binary(benchmark::State& state) {
    ComtradeWrite(state, {comtrade::Revision::Rev2013, comtrade::DataFormat::Binary, false});
}
void BM_ComtradeWrite_Binary32(benchmark::State& state) {
    ComtradeWrite(state, {comtrade::Revision::Rev2013, comtrade::DataFormat::Binary32, false});
}
void BM_ComtradeWrite_Float32(benchmark::State& state) {
    ComtradeWrite(state, {comtrade::Revision::Rev2013, comtrade::DataFormat::Float32, false});
}
void BM_ComtradeWrite_BinarySingleFile(benchmark::State& state) {
    ComtradeWrite(state, {comtrade::Revision::Rev2013, comtrade::DataFormat::Binary, true});
}
BENCHMARK(BM_ComtradeWrite_Ascii)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComtradeWrite_Binary)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComtradeWrite_Binary32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComtradeWrite_Float32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComtradeWrite_BinarySingleFile)->Unit(benchmark::kMillisecond);

// What `kvdata comtrade` does: a 10 s sequence (pre-fault, fault with a DC offset and a
// trip output, post-fault) synthesised at 10 kHz and written; 6 analog and 4 digital channels.
void SequenceToComtrade(benchmark::State& state, comtrade::DataFormat format) {
    const Sequence sequence = ParseSequence(R"({"rate": 10000, "start": "2026-11-23T10:00:00", "states": [
        {"name": "prefault", "duration": 2},
        {"name": "fault", "duration": 5, "trigger": true, "dc_offset": true, "outputs": {"TRIP": 1},
         "impedance": {"loop": "AN", "z": [5, 75], "k0": [0.8, -5], "current": 5}},
        {"name": "postfault", "duration": 3, "outputs": {"TRIP": 0}}]})");
    std::string pattern = (std::filesystem::temp_directory_path() / "kv_bench_sequence_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        kvbench::Fail(state, "cannot create a temporary directory");
        return;
    }
    const std::filesystem::path dir = pattern;
    for (auto _ : state) {
        const Waveforms waveforms(sequence);
        comtrade::WriteOptions options;
        options.format = format;
        benchmark::DoNotOptimize(comtrade::Write(ToRecord(sequence, waveforms, *sequence.start), dir / "record", options));
    }
    std::filesystem::remove_all(dir);
}
void BM_SequenceToComtrade_Ascii(benchmark::State& state) { SequenceToComtrade(state, comtrade::DataFormat::Ascii); }
void BM_SequenceToComtrade_Binary(benchmark::State& state) { SequenceToComtrade(state, comtrade::DataFormat::Binary); }
BENCHMARK(BM_SequenceToComtrade_Ascii)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SequenceToComtrade_Binary)->Unit(benchmark::kMillisecond);

// A record written once into a temporary directory, removed at exit.
class WrittenRecord {
public:
    template <class Fill>
    explicit WrittenRecord(const char* name, Fill fill) {
        std::string pattern = (std::filesystem::temp_directory_path() / name).string() + "_XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            error = "cannot create a temporary directory";
            return;
        }
        dir = pattern;
        try {
            const auto paths = fill(dir / "record");
            cfg = paths.front();
            bytes = std::filesystem::file_size(paths.back());
        } catch (const std::exception& e) {
            error = e.what();
        }
    }
    WrittenRecord(const WrittenRecord&) = delete;
    WrittenRecord& operator=(const WrittenRecord&) = delete;
    ~WrittenRecord() {
        std::error_code ignored;
        if (!dir.empty()) std::filesystem::remove_all(dir, ignored);
    }

    std::filesystem::path dir, cfg;
    std::uintmax_t bytes = 0;  // of the data file
    std::string error;
};

// Fails beyond this: the channel tables, names and paths, never anything per sample.
constexpr std::size_t kComtradeReadAllocations = 200;

void ComtradeRead(benchmark::State& state, const WrittenRecord& written) {
    if (!written.error.empty()) {
        kvbench::Fail(state, written.error.c_str());
        return;
    }
    std::size_t samples = 0;
    try {
        kvbench::CountedAtMost(state, kComtradeReadAllocations, [&] {
            const comtrade::Record r = comtrade::Read(written.cfg);
            samples = r.samples;
            benchmark::DoNotOptimize(r.values.data());
        });
    } catch (const std::exception& e) {
        static std::string message;
        message = e.what();
        kvbench::Fail(state, message.c_str());
    }
    state.counters["samples"] = static_cast<double>(samples);
    state.SetBytesProcessed(static_cast<std::int64_t>(written.bytes) * state.iterations());
}

// 100 MiB of BINARY data: 6 analog and 4 digital channels at 10 kHz, 8 + 12 + 2 = 22 bytes a
// sample, 4.77 million samples (8 minutes). The waves repeat every 200 samples, from a table.
const WrittenRecord& Binary100MB() {
    static const WrittenRecord written("kv_bench_comtrade_read", [](const std::filesystem::path& stem) {
        constexpr std::size_t kSamples = (std::size_t{100} << 20) / 22;
        constexpr std::size_t kPeriod = 200;
        comtrade::RecordToWrite record;
        record.station = "Bench";
        record.device = "Reader";
        record.sampleRate = 10000;
        record.samples = kSamples;
        std::vector<std::vector<double>> analog(6, std::vector<double>(kSamples));
        std::vector<std::vector<std::uint8_t>> digital(4, std::vector<std::uint8_t>(kSamples));
        const char* names[] = {"UA", "UB", "UC", "IA", "IB", "IC"};
        for (std::size_t c = 0; c < 6; ++c) {
            double period[kPeriod];
            const double amplitude = c < 3 ? 100 * std::numbers::sqrt2 : 5 * std::numbers::sqrt2;
            for (std::size_t n = 0; n < kPeriod; ++n)
                period[n] = amplitude * std::sin(2 * std::numbers::pi * (static_cast<double>(n) / kPeriod -
                                                                         static_cast<double>(c % 3) / 3));
            for (std::size_t n = 0; n < kSamples; ++n) analog[c][n] = period[n % kPeriod];
            const std::string phase(1, static_cast<char>('A' + c % 3));
            record.analog.push_back({names[c], phase, c < 3 ? "V" : "A", analog[c]});
        }
        for (std::size_t c = 0; c < 4; ++c) {
            for (std::size_t n = 0; n < kSamples; ++n) digital[c][n] = (n / (1000 * (c + 1))) % 2 ? 1 : 0;
            record.digital.push_back({ContactName(c), digital[c]});
        }
        return comtrade::Write(record, stem, {comtrade::Revision::Rev2013, comtrade::DataFormat::Binary, false});
    });
    return written;
}
void BM_ComtradeRead_Binary100MB(benchmark::State& state) { ComtradeRead(state, Binary100MB()); }
BENCHMARK(BM_ComtradeRead_Binary100MB)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same record read and its phasors estimated cycle by cycle for every channel, with the
// symmetrical components of both sets: what `kvdata record --every-cycle` computes.
void BM_ComtradeReadAndPhasors_Binary100MB(benchmark::State& state) {
    const WrittenRecord& written = Binary100MB();
    if (!written.error.empty()) {
        kvbench::Fail(state, written.error.c_str());
        return;
    }
    std::size_t cycles = 0;
    for (auto _ : state) {
        const comtrade::Record r = comtrade::Read(written.cfg);
        const auto phasors = PhasorsEveryCycle(r);
        cycles = phasors.size();
        benchmark::DoNotOptimize(phasors.data());
    }
    state.counters["cycles"] = static_cast<double>(cycles);
    state.SetBytesProcessed(static_cast<std::int64_t>(written.bytes) * state.iterations());
}
BENCHMARK(BM_ComtradeReadAndPhasors_Binary100MB)->Unit(benchmark::kMillisecond)->UseRealTime();

// The 10 s record of the writer's benchmarks, in ASCII (about 4 MB).
void BM_ComtradeRead_Ascii(benchmark::State& state) {
    static const ComtradeRecord data;
    static const WrittenRecord written("kv_bench_comtrade_read_ascii", [](const std::filesystem::path& stem) {
        return comtrade::Write(data.record, stem);
    });
    ComtradeRead(state, written);
}
BENCHMARK(BM_ComtradeRead_Ascii)->Unit(benchmark::kMillisecond);

}  // namespace
