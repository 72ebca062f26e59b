#include "Kv_Relay/Comtrade.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "ComtradeDetail.h"
#include "Kv_Relay/Error.h"

namespace kv::relay::comtrade {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFormatNames[] = {"ASCII", "BINARY", "BINARY32", "FLOAT32"};

// Largest integer of each integer format, symmetric so that -x is as valid as x: -32768
// and its 32-bit peer mark a missing value (IEEE C37.111-2013, clause 8).
constexpr double kFull16 = 32767;
constexpr double kFull32 = 2147483647;

// The number fields of a data record: ASCII takes up to ten digits, binary four bytes, and
// the binary time stamp 0xFFFFFFFF means "missing" (IEEE C37.111-2013, clause 8).
constexpr std::uint64_t kAsciiFieldMax = 9999999999;
constexpr std::uint64_t kBinaryNumberMax = 0xFFFFFFFF;
constexpr std::uint64_t kBinaryTimeMax = 0xFFFFFFFE;

// The standard's bound on TT; it also keeps every byte count below 2^64.
constexpr std::size_t kMaxChannels = 999999;

constexpr std::size_t kBufferSize = std::size_t{1} << 20;

bool IsBinary(DataFormat format) { return format != DataFormat::Ascii; }

[[noreturn]] void FailText(const std::string& field, std::string_view requirement, std::string_view text) {
    std::string message = field;
    message.append(": ").append(requirement).append(", got '").append(text).append("'");
    throw Error(message);
}

// `field` names the text in the message; it is called only for one.
template <class Field>
void CheckText(Field field, std::string_view text, bool required) {
    if (required && text.empty()) FailText(field(), "must not be empty", text);
    if (text.find_first_of(",\r\n") != std::string_view::npos)
        FailText(field(), "must not contain a comma, CR or LF", text);
}

// "analog channel 2 (IA)": the number, and the name where there is one.
std::string ChannelField(const char* kind, std::size_t k, const std::string& name) {
    std::string field = kind;
    field.append(" channel ").append(std::to_string(k + 1));
    if (!name.empty()) field.append(" (").append(name).append(")");
    return field;
}
std::string AnalogField(std::size_t k, const AnalogChannel& c) { return ChannelField("analog", k, c.name); }
std::string DigitalField(std::size_t k, const DigitalChannel& c) { return ChannelField("digital", k, c.name); }

std::string NumberText(double value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

void AppendNumber(std::string& out, double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value + 0.0).ptr;  // -0 as 0
    out.append(text, end);
}

void AppendInteger(std::string& out, std::uint64_t value) {
    char text[24];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    out.append(text, end);
}

// dd/mm/yyyy,hh:mm:ss.ssssss (IEEE C37.111-2013, clause 7).
void AppendTime(std::string& out, Time t, const char* field) {
    using namespace std::chrono;
    const auto day = floor<days>(t);
    const year_month_day date{day};
    const int year = static_cast<int>(date.year());
    if (year < 0 || year > 9999) Fail(field, "must lie in the years 0000 to 9999", year);
    const hh_mm_ss clock{t - day};
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, "%02u/%02u/%04d,%02d:%02d:%02d.%06lld", static_cast<unsigned>(date.day()),
                      static_cast<unsigned>(date.month()), year, static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                      static_cast<long long>(clock.subseconds().count()));
    out.append(text, static_cast<std::size_t>(length));
    out.append("\r\n");
}

// Round half away from zero, for |q| < 2^62: the truncation is exact, and so is q minus it.
std::int64_t RoundHalfAway(double q) {
    auto i = static_cast<std::int64_t>(q);
    const double fraction = q - static_cast<double>(i);
    if (fraction >= 0.5)
        ++i;
    else if (fraction <= -0.5)
        --i;
    return i;
}

// The time stamp of sample n (from 0) in µs; n·10^6 is exact below 2^53.
double TimeOf(std::size_t n, double rate) { return static_cast<double>(n) * 1e6 / rate; }

// What the configuration says of an analog channel: v = a·x, x within [min, max].
struct Scale {
    double a;
    double min;
    double max;
};

struct Plan {
    std::vector<Scale> scales;
    std::string configuration;
    std::uint64_t rowBytes = 0;  // binary formats
};

void CheckOptions(const WriteOptions& options) {
    if (options.revision != Revision::Rev1999 && options.revision != Revision::Rev2013)
        Fail("revision", "must be 1999 or 2013", static_cast<double>(options.revision));
    if (static_cast<unsigned>(options.format) > static_cast<unsigned>(DataFormat::Float32))
        Fail("format", "must be ASCII, BINARY, BINARY32 or FLOAT32", static_cast<double>(options.format));
    if (options.revision == Revision::Rev2013) return;
    if (options.format == DataFormat::Binary32 || options.format == DataFormat::Float32)
        Fail("format", std::string(Name(options.format)) + " needs revision 2013", 1999);
    if (options.singleFile) Fail("singleFile", "a .cff file needs revision 2013", 1999);
}

std::string SampleField(const std::string& channel, std::size_t i) {
    return channel + ", samples[" + std::to_string(i) + "]";
}

template <class Field, class Channel>
void CheckCount(Field field, const Channel& c, std::size_t samples) {
    if (c.samples.size() != samples)
        Fail(field(), "must have as many samples as the record (" + std::to_string(samples) + ")",
             static_cast<double>(c.samples.size()));
}

// Everything but the samples of the channels.
void CheckRecord(const RecordToWrite& record, DataFormat format) {
    CheckText([] { return std::string("station"); }, record.station, false);
    CheckText([] { return std::string("device"); }, record.device, false);
    if (!(std::isfinite(record.lineFrequency) && record.lineFrequency >= 0))
        Fail("lineFrequency", "must be a finite number >= 0", record.lineFrequency);
    if (!(std::isfinite(record.sampleRate) && record.sampleRate > 0))
        Fail("sampleRate", "must be a positive finite number", record.sampleRate);
    if (record.samples == 0) Fail("samples", "must be at least 1", 0);
    const std::size_t channels = record.analog.size() + record.digital.size();
    if (channels > kMaxChannels)
        Fail("analog, digital", "must hold at most 999999 channels in all", static_cast<double>(channels));

    const bool binary = IsBinary(format);
    if (record.samples > (binary ? kBinaryNumberMax : kAsciiFieldMax))
        Fail("samples", binary ? "must be at most 4294967295 in a binary data file" : "must be at most 9999999999",
             static_cast<double>(record.samples));
    const std::uint64_t timeMax = binary ? kBinaryTimeMax : kAsciiFieldMax;
    const double lastTime = TimeOf(record.samples - 1, record.sampleRate);
    if (!(lastTime < static_cast<double>(timeMax) + 0.5)) {
        char when[400];  // %.0f of any double, inf included
        std::snprintf(when, sizeof when, "%.0f", lastTime);
        throw Error("samples: the last of " + std::to_string(record.samples) + " samples at " +
                    NumberText(record.sampleRate) + " per second lies at " + when + " µs, beyond the " +
                    std::to_string(timeMax) + " µs of the data file's time stamps");
    }

    for (std::size_t k = 0; k < record.analog.size(); ++k) {
        const AnalogChannel& c = record.analog[k];
        CheckText([&] { return AnalogField(k, c) + " name"; }, c.name, true);
        CheckText([&] { return AnalogField(k, c) + " phase"; }, c.phase, false);
        CheckText([&] { return AnalogField(k, c) + " unit"; }, c.unit, false);
        CheckCount([&] { return AnalogField(k, c); }, c, record.samples);
    }
    for (std::size_t k = 0; k < record.digital.size(); ++k) {
        const DigitalChannel& c = record.digital[k];
        CheckText([&] { return DigitalField(k, c) + " name"; }, c.name, true);
        if (c.normal != 0 && c.normal != 1) Fail(DigitalField(k, c) + " normal", "must be 0 or 1", c.normal);
        CheckCount([&] { return DigitalField(k, c); }, c, record.samples);
        for (std::size_t i = 0; i < c.samples.size(); ++i)
            if (c.samples[i] > 1) Fail(SampleField(DigitalField(k, c), i), "must be 0 or 1", c.samples[i]);
    }
}

// The scale of analog channel k, from one pass over its samples that checks them too.
Scale ScaleOf(std::size_t k, const AnalogChannel& c, DataFormat format) {
    double peak = 0;
    double lo = std::numeric_limits<double>::infinity();
    double hi = -lo;
    for (std::size_t i = 0; i < c.samples.size(); ++i) {
        const double v = c.samples[i];
        const double magnitude = std::fabs(v);
        if (!(magnitude <= DBL_MAX)) Fail(SampleField(AnalogField(k, c), i), "must be finite", v);
        // A double beyond the float range has no float to convert to.
        if (format == DataFormat::Float32 && magnitude > FLT_MAX)
            Fail(SampleField(AnalogField(k, c), i), "must lie within the range of FLOAT32", v);
        peak = std::max(peak, magnitude);
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    if (format == DataFormat::Float32) return {1, lo, hi};
    const double full = format == DataFormat::Binary32 ? kFull32 : kFull16;
    const double a = peak / full;
    // 1 for a channel of zeros, or of values so small that a would be 0.
    return {a > 0 ? a : 1, -full, full};
}

// The configuration file (IEEE C37.111-2013, clause 7).
std::string Compose(const RecordToWrite& record, const WriteOptions& options, const std::vector<Scale>& scales) {
    std::string out;
    out.reserve(256 + 96 * (record.analog.size() + record.digital.size()));
    const bool rev1999 = options.revision == Revision::Rev1999;
    out.append(record.station).append(",").append(record.device).append(rev1999 ? ",1999\r\n" : ",2013\r\n");
    AppendInteger(out, record.analog.size() + record.digital.size());
    out.append(",");
    AppendInteger(out, record.analog.size());
    out.append("A,");
    AppendInteger(out, record.digital.size());
    out.append("D\r\n");
    for (std::size_t k = 0; k < record.analog.size(); ++k) {
        const AnalogChannel& c = record.analog[k];
        AppendInteger(out, k + 1);
        out.append(",").append(c.name).append(",").append(c.phase).append(",,").append(c.unit).append(",");
        AppendNumber(out, scales[k].a);
        out.append(",0,0,");
        AppendNumber(out, scales[k].min);
        out.append(",");
        AppendNumber(out, scales[k].max);
        out.append(",1,1,S\r\n");
    }
    for (std::size_t k = 0; k < record.digital.size(); ++k) {
        const DigitalChannel& c = record.digital[k];
        AppendInteger(out, k + 1);
        out.append(",").append(c.name).append(",,,").append(c.normal ? "1" : "0").append("\r\n");
    }
    AppendNumber(out, record.lineFrequency);
    out.append("\r\n1\r\n");
    AppendNumber(out, record.sampleRate);
    out.append(",");
    AppendInteger(out, record.samples);
    out.append("\r\n");
    AppendTime(out, record.start, "start");
    AppendTime(out, record.trigger, "trigger");
    out.append(Name(options.format)).append("\r\n1\r\n");
    if (!rev1999) out.append("0,0\r\nF,3\r\n");  // time_code, local_code; tmq_code, leapsec
    return out;
}

// Checks the whole record, so that a bad value stops it before any file is opened.
Plan Prepare(const RecordToWrite& record, const WriteOptions& options) {
    CheckOptions(options);
    CheckRecord(record, options.format);
    Plan plan;
    plan.scales.reserve(record.analog.size());
    for (std::size_t k = 0; k < record.analog.size(); ++k)
        plan.scales.push_back(ScaleOf(k, record.analog[k], options.format));
    plan.configuration = Compose(record, options, plan.scales);
    const std::uint64_t valueBytes = options.format == DataFormat::Binary ? 2 : 4;
    plan.rowBytes = 8 + valueBytes * record.analog.size() + 2 * ((record.digital.size() + 15) / 16);
    return plan;
}

std::string SystemReason(int error) { return std::system_category().message(error); }

// A file written under a temporary name beside its destination: removed unless Commit
// renamed it into place.
class TemporaryFile {
public:
    explicit TemporaryFile(fs::path destination) : m_destination(std::move(destination)) {
        static std::atomic<std::uint64_t> counter{0};
        // Appended piece by piece: g++ 12 at -O3 sees an overlap that is not there in
        // "." + string.
        std::string prefix = ".";
        prefix += m_destination.filename().string();
        prefix += ".tmp-";
        std::uint64_t seed = static_cast<std::uint64_t>(::getpid()) * 0x9E3779B97F4A7C15u ^
                             static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
        for (int attempt = 0; attempt < 100; ++attempt) {
            seed += (counter.fetch_add(1, std::memory_order_relaxed) + 1) * 0xBF58476D1CE4E5B9u;
            std::uint64_t bits = seed ^ (seed >> 29);
            std::string name = prefix;
            constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
            for (int k = 0; k < 6; ++k, bits /= 62) name += kAlphabet[bits % 62];
            m_temporary = m_destination.parent_path() / name;
            // 0666 less the umask, as any new file gets; mkstemp would leave it at 0600.
            m_fd = ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (m_fd >= 0) return;
            if (errno != EEXIST) break;
        }
        const int error = errno;
        throw Error(m_destination.string() + ": cannot create the temporary file " + m_temporary.string() + ": " +
                    SystemReason(error));
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (m_fd >= 0) ::close(m_fd);
        if (!m_committed) ::unlink(m_temporary.c_str());
    }

    void Write(const char* data, std::size_t size) {
        while (size > 0) {
            const ssize_t written = ::write(m_fd, data, size);
            if (written < 0) {
                if (errno == EINTR) continue;
                Throw("cannot write", errno);
            }
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }

    void Close() {
        const int fd = std::exchange(m_fd, -1);
        if (::close(fd) != 0) Throw("cannot write", errno);  // delayed write errors (NFS, quotas)
    }

    void Commit() {
        if (::rename(m_temporary.c_str(), m_destination.c_str()) != 0)
            Throw("cannot rename the temporary file into place", errno);
        m_committed = true;
    }

    const fs::path& Destination() const { return m_destination; }

private:
    [[noreturn]] void Throw(const char* what, int error) const {
        throw Error(m_destination.string() + ": " + what + ": " + SystemReason(error));
    }

    fs::path m_destination;
    fs::path m_temporary;
    int m_fd = -1;
    bool m_committed = false;
};

// The output buffer: the data pass fills it at p, and it goes to the file in large blocks.
class Sink {
public:
    Sink(TemporaryFile& file, char* buffer, std::size_t size)
        : p(buffer), m_file(file), m_begin(buffer), m_end(buffer + size) {}

    char* p;

    // Room for n more bytes at p; n is far below the buffer's size.
    void Reserve(std::size_t n) {
        if (static_cast<std::size_t>(m_end - p) < n) Flush();
    }
    void Flush() {
        m_file.Write(m_begin, static_cast<std::size_t>(p - m_begin));
        p = m_begin;
    }
    void Put(std::string_view text) {
        Flush();
        m_file.Write(text.data(), text.size());
    }

private:
    TemporaryFile& m_file;
    char* m_begin;
    char* m_end;
};

char* Put16(char* p, std::uint16_t v) {
    p[0] = static_cast<char>(v & 0xFF);
    p[1] = static_cast<char>(v >> 8);
    return p + 2;
}

char* Put32(char* p, std::uint32_t v) {
    p[0] = static_cast<char>(v & 0xFF);
    p[1] = static_cast<char>((v >> 8) & 0xFF);
    p[2] = static_cast<char>((v >> 16) & 0xFF);
    p[3] = static_cast<char>(v >> 24);
    return p + 4;
}

// The columns the data pass reads, gathered once so that the loop over the samples
// touches plain arrays.
struct Columns {
    std::size_t samples;
    double rate;
    double full;
    std::vector<const double*> analog;
    std::vector<double> a;
    std::vector<const std::uint8_t*> digital;
};

// x = round(v / a) within ±full; the bound only matters when a is subnormal and v / a
// has lost its precision.
std::int32_t Scaled(double v, double a, double full) {
    const double q = std::clamp(v / a, -full, full);
    return static_cast<std::int32_t>(RoundHalfAway(q));
}

// One record per line: n,timestamp,analog values,digital values (IEEE C37.111-2013, clause 8).
void WriteAscii(Sink& out, const Columns& c) {
    constexpr std::size_t kField = 24;  // a comma and any integer of the record, with room
    const std::size_t na = c.analog.size();
    const std::size_t nd = c.digital.size();
    for (std::size_t n = 0; n < c.samples; ++n) {
        out.Reserve(2 * kField);
        out.p = std::to_chars(out.p, out.p + kField, static_cast<std::uint64_t>(n + 1)).ptr;
        *out.p++ = ',';
        out.p = std::to_chars(out.p, out.p + kField, RoundHalfAway(TimeOf(n, c.rate))).ptr;
        for (std::size_t k = 0; k < na; ++k) {
            out.Reserve(kField);
            *out.p++ = ',';
            out.p = std::to_chars(out.p, out.p + kField, Scaled(c.analog[k][n], c.a[k], c.full)).ptr;
        }
        for (std::size_t k = 0; k < nd; ++k) {
            out.Reserve(2);
            *out.p++ = ',';
            *out.p++ = c.digital[k][n] != 0 ? '1' : '0';
        }
        out.Reserve(2);
        *out.p++ = '\r';
        *out.p++ = '\n';
    }
}

// Fixed-size records, little-endian: n and the time stamp as uint32, the analog values,
// then the digital channels as 16-bit status words, lowest channel in the lowest bit
// (IEEE C37.111-2013, clause 8).
template <DataFormat F>
void WriteBinary(Sink& out, const Columns& c) {
    const std::size_t na = c.analog.size();
    const std::size_t nd = c.digital.size();
    for (std::size_t n = 0; n < c.samples; ++n) {
        out.Reserve(8);
        out.p = Put32(out.p, static_cast<std::uint32_t>(n + 1));
        out.p = Put32(out.p, static_cast<std::uint32_t>(RoundHalfAway(TimeOf(n, c.rate))));
        for (std::size_t k = 0; k < na; ++k) {
            out.Reserve(4);
            const double v = c.analog[k][n];
            if constexpr (F == DataFormat::Binary)
                out.p = Put16(out.p, static_cast<std::uint16_t>(Scaled(v, c.a[k], c.full)));
            else if constexpr (F == DataFormat::Binary32)
                out.p = Put32(out.p, static_cast<std::uint32_t>(Scaled(v, c.a[k], c.full)));
            else
                out.p = Put32(out.p, std::bit_cast<std::uint32_t>(static_cast<float>(v)));
        }
        for (std::size_t first = 0; first < nd; first += 16) {
            const std::size_t last = std::min(nd, first + 16);
            unsigned word = 0;
            for (std::size_t k = first; k < last; ++k) word |= (c.digital[k][n] != 0 ? 1u : 0u) << (k - first);
            out.Reserve(2);
            out.p = Put16(out.p, static_cast<std::uint16_t>(word));
        }
    }
}

void WriteData(TemporaryFile& file, char* buffer, const RecordToWrite& record, const Plan& plan, DataFormat format,
               std::string_view head) {
    Columns c{record.samples, record.sampleRate, format == DataFormat::Binary32 ? kFull32 : kFull16, {}, {}, {}};
    c.analog.reserve(record.analog.size());
    c.a.reserve(record.analog.size());
    for (std::size_t k = 0; k < record.analog.size(); ++k) {
        c.analog.push_back(record.analog[k].samples.data());
        c.a.push_back(plan.scales[k].a);
    }
    c.digital.reserve(record.digital.size());
    for (const DigitalChannel& d : record.digital) c.digital.push_back(d.samples.data());

    Sink out(file, buffer, kBufferSize);
    out.Put(head);
    switch (format) {
        case DataFormat::Ascii: WriteAscii(out, c); break;
        case DataFormat::Binary: WriteBinary<DataFormat::Binary>(out, c); break;
        case DataFormat::Binary32: WriteBinary<DataFormat::Binary32>(out, c); break;
        case DataFormat::Float32: WriteBinary<DataFormat::Float32>(out, c); break;
    }
    out.Flush();
    file.Close();
}

fs::path WithSuffix(const fs::path& stem, const char* suffix) {
    fs::path p = stem;
    p += suffix;  // not replace_extension: "fault.2026" keeps its dot
    return p;
}

}  // namespace

std::string_view Name(DataFormat format) {
    const auto k = static_cast<std::size_t>(format);
    return k < std::size(kFormatNames) ? kFormatNames[k] : std::string_view("?");
}

std::optional<DataFormat> detail::FindDataFormat(std::string_view text) {
    const auto same = [](char x, char y) {
        return std::toupper(static_cast<unsigned char>(x)) == static_cast<unsigned char>(y);
    };
    for (std::size_t k = 0; k < std::size(kFormatNames); ++k)
        if (std::equal(text.begin(), text.end(), kFormatNames[k].begin(), kFormatNames[k].end(), same))
            return static_cast<DataFormat>(k);
    return std::nullopt;
}

DataFormat ParseDataFormat(std::string_view text) {
    if (const auto format = detail::FindDataFormat(text)) return *format;
    FailText("format", "must be ASCII, BINARY, BINARY32 or FLOAT32", text);
}

Revision ParseRevision(std::string_view text) {
    if (text == "1999") return Revision::Rev1999;
    if (text == "2013") return Revision::Rev2013;
    FailText("revision", "must be 1999 or 2013", text);
}

std::string Configuration(const RecordToWrite& record, const WriteOptions& options) {
    return Prepare(record, options).configuration;
}

std::vector<fs::path> Write(const RecordToWrite& record, const fs::path& stem, const WriteOptions& options) {
    const Plan plan = Prepare(record, options);
    if (!stem.has_filename()) FailText("stem", "must end in a file name", stem.string());
    const std::unique_ptr<char[]> buffer(new char[kBufferSize]);

    if (options.singleFile) {
        // The single file format of IEEE C37.111-2013: the sections CFG, INF, HDR and DAT in
        // that order, a binary DAT section (any of the three binary formats, which the CFG
        // names) announced with its length in bytes.
        std::string head = "--- file type: CFG ---\r\n";
        head.append(plan.configuration).append("--- file type: INF ---\r\n--- file type: HDR ---\r\n");
        if (IsBinary(options.format)) {
            head.append("--- file type: DAT BINARY: ");
            AppendInteger(head, plan.rowBytes * record.samples);
            head.append(" ---\r\n");
        } else {
            head.append("--- file type: DAT ASCII ---\r\n");
        }
        TemporaryFile cff(WithSuffix(stem, ".cff"));
        WriteData(cff, buffer.get(), record, plan, options.format, head);
        cff.Commit();
        return {cff.Destination()};
    }

    TemporaryFile cfg(WithSuffix(stem, ".cfg"));
    cfg.Write(plan.configuration.data(), plan.configuration.size());
    cfg.Close();
    TemporaryFile dat(WithSuffix(stem, ".dat"));
    WriteData(dat, buffer.get(), record, plan, options.format, {});
    // The .dat first, so that the .cfg, which readers look for, appears only beside its
    // data. Should the second rename fail, the new .dat goes too rather than stay beside
    // a configuration it does not match.
    dat.Commit();
    try {
        cfg.Commit();
    } catch (...) {
        ::unlink(dat.Destination().c_str());
        throw;
    }
    return {cfg.Destination(), dat.Destination()};
}

}  // namespace kv::relay::comtrade
