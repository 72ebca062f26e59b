// Reading COMTRADE records (IEEE C37.111-1991, -1999 and -2013): the configuration read
// line by line, the data decoded from a read-only mapping of its file straight into the
// record's channel-major arrays, which are sized once from the data's length.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "ComtradeDetail.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Error.h"

namespace kv::relay::comtrade {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxChannels = 999999;            // TT, ##A, ##D (IEEE C37.111-2013, 7.4.2)
constexpr std::uint64_t kMaxSampleNumber = 9999999999;  // endsamp's ten digits (7.4.4)
constexpr double kMissingAscii = 99999;                 // clause 8
constexpr std::uint32_t kMissingStamp = 0xFFFFFFFF;
constexpr std::size_t kMaxFields = 13;  // the longest configuration line: an analog channel since 1999
constexpr std::uint8_t kCtrlZ = 0x1A;   // the end-of-file mark old writers append
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// ---- text ---------------------------------------------------------------------------

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
    return s;
}

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool SameNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Upper(x) == Upper(y); });
}

bool StartsNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && SameNoCase(text.substr(0, prefix.size()), prefix);
}

// The text in a message, cut short: a field may be a whole line of a damaged file.
std::string Shown(std::string_view text) {
    constexpr std::size_t kShown = 40;
    std::string s = "'";
    s.append(text.substr(0, kShown)).append(text.size() > kShown ? "...'" : "'");
    return s;
}

std::string Number(std::uint64_t n) { return std::to_string(n); }

std::string NumberText(double v) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, v).ptr};
}

// "rec.cfg:3: message", or "rec.dat: message" for line 0.
[[noreturn]] void FailAt(std::string_view file, std::size_t line, std::string_view message) {
    std::string text(file);
    if (line != 0) text.append(":").append(Number(line));
    text.append(": ").append(message);
    throw Error(text);
}

// A number filling the whole text, a leading '+' allowed, as some writers put one.
std::optional<double> ParseReal(std::string_view s) {
    if (!s.empty() && s.front() == '+') {
        s.remove_prefix(1);
        if (!s.empty() && (s.front() == '-' || s.front() == '+')) return std::nullopt;
    }
    double v = 0;
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (error != std::errc() || end != s.data() + s.size() || s.empty()) return std::nullopt;
    return v;
}

std::optional<std::uint64_t> ParseCount(std::string_view s) {
    if (s.empty() || !std::all_of(s.begin(), s.end(), IsDigit)) return std::nullopt;
    std::uint64_t v = 0;
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (error != std::errc()) return std::nullopt;
    return v;
}

// ---- the configuration ----------------------------------------------------------------

// What the data pass needs beyond the record's own fields.
struct Layout {
    std::size_t declared = 0;  // samples by endsamp; 0 when only the data tells
    std::size_t endsampLine = 0;
    std::size_t firstAnalogLine = 0;
    bool fromStamps = false;  // times from the timestamps: no sample rate
};

class ConfigurationParser {
public:
    ConfigurationParser(std::string_view text, std::string_view file, std::size_t firstLine)
        : m_text(text), m_file(file), m_number(firstLine - 1) {
        if (m_text.substr(0, 3) == "\xEF\xBB\xBF") m_text.remove_prefix(3);  // a byte order mark
    }

    Layout Parse(Record& r) {
        Layout layout;
        Line("station_name,rec_dev_id,rev_year (line 1)");
        ParseIdentity(r);
        Line("TT,##A,##D (line 2)");
        const auto [analog, digital] = ParseCounts();
        layout.firstAnalogLine = m_number + 1;
        for (std::size_t k = 0; k < analog; ++k) {
            Line("an analog channel");
            r.analog.push_back(ParseAnalog(k, analog, digital));
        }
        for (std::size_t k = 0; k < digital; ++k) {
            Line("a digital channel");
            r.digital.push_back(ParseDigital(k, analog, digital));
        }
        Line("the line frequency (lf)");
        if (Split() != 1) Fail("field lf", FieldCount("1", analog, digital));
        r.lineFrequency = Real(0, "", "lf", 0);
        if (r.lineFrequency < 0) Fail("field lf", Shown(m_fields[0]) + " is negative");
        ParseRates(r, layout);
        r.start = ParseStamp(r.revision, "start");
        Line("the trigger's date and time");
        r.trigger = ParseStamp(r.revision, "trigger");
        Line("the data file type (ft)");
        if (Split() != 1) Fail("field ft", "expected one field, got " + FieldsGot());
        const auto format = detail::FindDataFormat(m_fields[0]);
        if (!format) Fail("field ft", Shown(m_fields[0]) + " is not ASCII, BINARY, BINARY32 or FLOAT32");
        r.format = *format;
        // 1991 ends here. Later lines are read where there are any: timemult, and in 2013 the
        // time codes and the time quality, which the record does not keep.
        if (r.revision != 1991 && NextLine()) {
            if (Split() != 1) Fail("field timemult", "expected one field, got " + FieldsGot());
            r.timeMultiplier = Real(0, "", "timemult", 1);
            if (!(r.timeMultiplier > 0)) Fail("field timemult", Shown(m_fields[0]) + " is not a positive number");
        }
        return layout;
    }

private:
    bool NextLine() {
        if (m_at >= m_text.size()) return false;
        const std::size_t end = m_text.find('\n', m_at);
        const std::size_t stop = end == std::string_view::npos ? m_text.size() : end;
        m_line = m_text.substr(m_at, stop - m_at);
        if (!m_line.empty() && m_line.back() == '\r') m_line.remove_suffix(1);
        m_at = end == std::string_view::npos ? m_text.size() : end + 1;
        ++m_number;
        return true;
    }

    void Line(const char* what) {
        if (!NextLine()) FailAt(m_file, m_number + 1, std::string("the file ends where ") + what + " belongs");
    }

    // Fields at the commas, each trimmed; kMaxFields + 1 stands for any more.
    std::size_t Split() {
        m_count = 0;
        std::string_view rest = m_line;
        for (;;) {
            if (m_count == kMaxFields) return m_count = kMaxFields + 1;
            const std::size_t comma = rest.find(',');
            m_fields[m_count++] = Trim(rest.substr(0, comma));
            if (comma == std::string_view::npos) return m_count;
            rest.remove_prefix(comma + 1);
        }
    }

    std::string FieldsGot() const { return m_count > kMaxFields ? "more than 13" : Number(m_count); }

    std::string FieldCount(const char* expected, std::size_t analog, std::size_t digital) const {
        return FieldsGot() + " fields where " + expected + " belong; line 2 gives " + Number(analog) + " analog and " +
               Number(digital) + " digital channels";
    }

    // "where: message" at the current line; a line's own fault has no where.
    [[noreturn]] void Fail(std::string_view where, std::string_view message) const {
        std::string text(where);
        text.append(where.empty() ? "" : ": ").append(message);
        FailAt(m_file, m_number, text);
    }

    static std::string Where(std::string_view context, std::string_view field) {
        std::string where(context);
        if (!where.empty()) where.append(", ");
        return where.append("field ").append(field);
    }

    // Field k as a finite number; an empty field is `empty` where given, an error elsewhere.
    double Real(std::size_t k, std::string_view context, std::string_view field, std::optional<double> empty) const {
        const std::string_view text = m_fields[k];
        if (text.empty() && empty) return *empty;
        const auto v = ParseReal(text);
        if (!v) Fail(Where(context, field), Shown(text) + " is not a number");
        if (!std::isfinite(*v)) Fail(Where(context, field), Shown(text) + " is not a finite number");
        return *v;
    }

    std::uint64_t Count(std::size_t k, std::string_view field, std::string_view text, std::uint64_t max) const {
        const auto v = ParseCount(text);
        if (!v) Fail(Where("", field), Shown(m_fields[k]) + " is not a whole number");
        if (*v > max) Fail(Where("", field), Shown(m_fields[k]) + " is more than " + Number(max));
        return *v;
    }

    void ParseIdentity(Record& r) {
        const std::size_t n = Split();
        if (n < 2 || n > 3) Fail("", "expected station_name,rec_dev_id,rev_year, got " + FieldsGot() + " fields");
        r.station = m_fields[0];
        r.device = m_fields[1];
        // No year, or an empty one: the first revision (IEEE C37.111-1999, 5.3.1).
        const std::string_view year = n == 3 ? m_fields[2] : std::string_view();
        if (year.empty() || year == "1991")
            r.revision = 1991;
        else if (year == "1999" || year == "2013")
            r.revision = year == "1999" ? 1999 : 2013;
        else
            Fail("field rev_year", Shown(year) + " is not 1991, 1999 or 2013");
    }

    std::pair<std::size_t, std::size_t> ParseCounts() {
        if (Split() != 3) Fail("", "expected TT,##A,##D, got " + FieldsGot() + " fields");
        const std::uint64_t total = Count(0, "TT", m_fields[0], kMaxChannels);
        const auto typed = [&](std::size_t k, const char* field, char kind) {
            const std::string_view text = m_fields[k];
            if (text.empty() || Upper(text.back()) != kind)
                Fail(Where("", field), Shown(text) + " does not end in " + std::string(1, kind));
            return Count(k, field, Trim(text.substr(0, text.size() - 1)), kMaxChannels);
        };
        const std::uint64_t analog = typed(1, "##A", 'A');
        const std::uint64_t digital = typed(2, "##D", 'D');
        if (analog + digital != total)
            Fail("field TT", Number(total) + " is not ##A + ##D = " + Number(analog) + " + " + Number(digital));
        return {analog, digital};
    }

    // An,ch_id,ph,ccbm,uu,a,b,skew,min,max[,primary,secondary,PS]: ten fields in 1991,
    // thirteen since 1999; either is taken in any revision.
    AnalogInfo ParseAnalog(std::size_t k, std::size_t analog, std::size_t digital) {
        const std::string context = "analog channel " + Number(k + 1);
        const std::size_t n = Split();
        if (n != 10 && n != 13) Fail(context, FieldCount("13 (or 10)", analog, digital));
        AnalogInfo c;
        c.name = m_fields[1];
        c.phase = m_fields[2];
        c.circuit = m_fields[3];
        c.unit = m_fields[4];
        c.a = Real(5, context, "a", std::nullopt);
        c.b = Real(6, context, "b", std::nullopt);
        c.skew = Real(7, context, "skew", 0);
        c.min = Real(8, context, "min", 0);
        c.max = Real(9, context, "max", 0);
        if (n == 13) {
            c.primary = Real(10, context, "primary", 1);
            c.secondary = Real(11, context, "secondary", 1);
            const std::string_view ps = m_fields[12];
            if (ps.size() > 1 || (!ps.empty() && Upper(ps[0]) != 'P' && Upper(ps[0]) != 'S'))
                Fail(Where(context, "PS"), Shown(ps) + " is not P or S");
            c.ps = ps.empty() ? 'S' : Upper(ps[0]);
        }
        return c;
    }

    // Dn,ch_id,ph,ccbm,y since 1999; Dn,ch_id,y in 1991.
    DigitalInfo ParseDigital(std::size_t k, std::size_t analog, std::size_t digital) {
        const std::string context = "digital channel " + Number(k + 1);
        const std::size_t n = Split();
        if (n != 5 && n != 3) Fail(context, FieldCount("5 (or 3)", analog, digital));
        DigitalInfo c;
        c.name = m_fields[1];
        if (n == 5) {
            c.phase = m_fields[2];
            c.circuit = m_fields[3];
        }
        const std::string_view y = m_fields[n - 1];
        if (y != "0" && y != "1") Fail(Where(context, "y"), Shown(y) + " is not 0 or 1");
        c.normal = y == "1" ? 1 : 0;
        return c;
    }

    // nrates, then that many lines samp,endsamp; nrates 0 is followed by one line 0,endsamp
    // (IEEE C37.111-2013, 7.4.4). One rate of 0 says the same as nrates 0.
    void ParseRates(Record& r, Layout& layout) {
        Line("the number of sample rates (nrates)");
        if (Split() != 1) Fail("field nrates", "expected one field, got " + FieldsGot());
        const std::uint64_t nrates = Count(0, "nrates", m_fields[0], kMaxSampleNumber);
        Line("the sample rates");
        std::uint64_t last = 0;
        for (std::uint64_t j = 0; j < std::max<std::uint64_t>(nrates, 1); ++j) {
            if (j > 0) Line("the sample rates");
            const std::string context = "sample rate " + Number(j + 1);
            // Without a rate, some writers leave out the line 0,endsamp: a date follows.
            if (nrates == 0 && m_line.find('/') != std::string_view::npos) {
                layout.fromStamps = true;
                return;
            }
            if (Split() != 2) Fail(context, "expected samp,endsamp, got " + FieldsGot() + " fields");
            const double rate = Real(0, context, "samp", std::nullopt);
            const auto end = ParseCount(m_fields[1]);
            if (!end || *end > kMaxSampleNumber)
                Fail(Where(context, "endsamp"), Shown(m_fields[1]) + " is not a sample number up to 9999999999");
            if (nrates == 0 || (nrates == 1 && rate == 0)) {
                layout.fromStamps = true;
                layout.declared = static_cast<std::size_t>(*end);
                layout.endsampLine = m_number;
                break;
            }
            if (!(rate > 0)) Fail(Where(context, "samp"), Shown(m_fields[0]) + " is not a positive rate");
            if (*end <= last)
                Fail(Where(context, "endsamp"),
                     Shown(m_fields[1]) + " does not come after the previous rate's last sample " + Number(last));
            last = *end;
            r.rates.push_back({rate, static_cast<std::size_t>(last)});
            layout.declared = static_cast<std::size_t>(last);
            layout.endsampLine = m_number;
        }
        Line("the start's date and time");
    }

    // dd/mm/yyyy,hh:mm:ss.ssssss, mm/dd/yy in 1991 (IEEE C37.111-2013, 7.4.5); any number
    // of decimals, rounded to the microsecond.
    Time ParseStamp(int revision, const char* which) {
        if (Split() != 2) Fail(which, "expected date,time, got " + FieldsGot() + " fields");
        const bool monthFirst = revision == 1991;
        const std::string_view dateText = m_fields[0];
        const std::string_view timeText = m_fields[1];
        const auto bad = [&](const char* field, std::string_view text, const char* form) {
            Fail(Where(which, field), Shown(text) + " is not a " + form);
        };
        const char* dateForm = monthFirst ? "date mm/dd/yy" : "date dd/mm/yyyy";

        // Up to four digits, then the separator or the end.
        const auto take = [](std::string_view& s, char separator, unsigned& value, std::size_t& digits) {
            digits = 0;
            value = 0;
            while (digits < s.size() && IsDigit(s[digits]) && digits < 4)
                value = value * 10 + static_cast<unsigned>(s[digits++] - '0');
            if (digits == 0) return false;
            s.remove_prefix(digits);
            if (separator == 0) return true;
            if (s.empty() || s.front() != separator) return false;
            s.remove_prefix(1);
            return true;
        };
        unsigned first = 0, second = 0, year = 0, hour = 0, minute = 0, sec = 0;
        std::size_t digits = 0, yearDigits = 0;
        std::string_view s = dateText;
        if (!take(s, '/', first, digits) || digits > 2 || !take(s, '/', second, digits) || digits > 2 ||
            !take(s, 0, year, yearDigits) || !s.empty())
            bad("date", dateText, dateForm);
        // Two-digit years, as 1991 writes them: 1970 to 2069.
        if (yearDigits <= 2) year += year < 70 ? 2000 : 1900;
        const unsigned month = monthFirst ? first : second;
        const unsigned day = monthFirst ? second : first;
        const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                               std::chrono::day(day)};
        if (!date.ok()) bad("date", dateText, dateForm);

        s = timeText;
        if (!take(s, ':', hour, digits) || digits > 2 || !take(s, ':', minute, digits) || digits > 2 ||
            !take(s, 0, sec, digits) || digits > 2 || hour > 23 || minute > 59 || sec > 60)
            bad("time", timeText, "time hh:mm:ss.ssssss");
        std::int64_t micros = 0;
        if (!s.empty()) {
            if (s.front() != '.' || s.size() == 1) bad("time", timeText, "time hh:mm:ss.ssssss");
            s.remove_prefix(1);
            if (!std::all_of(s.begin(), s.end(), IsDigit)) bad("time", timeText, "time hh:mm:ss.ssssss");
            for (std::size_t k = 0; k < 6; ++k) micros = micros * 10 + (k < s.size() ? s[k] - '0' : 0);
            if (s.size() > 6 && s[6] >= '5') ++micros;  // to the nearest microsecond
        }
        using namespace std::chrono;
        return Time(sys_days(date)) + hours(hour) + minutes(minute) + seconds(sec) + microseconds(micros);
    }

    std::string_view m_text;
    std::string_view m_file;
    std::size_t m_at = 0;
    std::size_t m_number;  // of the current line in the file
    std::string_view m_line;
    std::string_view m_fields[kMaxFields];
    std::size_t m_count = 0;
};

// ---- the data -----------------------------------------------------------------------

// What turns a channel's x into its value: (a·x + b)·ratio, the ratio 1 as recorded.
struct Scales {
    std::vector<double> a, b;
};

Scales ScalesOf(const Record& r, Values values, std::string_view cfgFile, const Layout& layout) {
    Scales s;
    s.a.reserve(r.analog.size());
    s.b.reserve(r.analog.size());
    for (std::size_t c = 0; c < r.analog.size(); ++c) {
        const AnalogInfo& info = r.analog[c];
        double ratio = 1;
        if (values == Values::Primary && info.ps == 'S') ratio = info.primary / info.secondary;
        if (values == Values::Secondary && info.ps == 'P') ratio = info.secondary / info.primary;
        if (!(std::isfinite(ratio) && ratio > 0))
            FailAt(cfgFile, layout.firstAnalogLine + c,
                   "analog channel " + Number(c + 1) + ", fields primary and secondary: " + NumberText(info.primary) +
                       " and " + NumberText(info.secondary) + " give no ratio to convert with");
        // (a·x + b)·ratio as a·ratio·x + b·ratio: the same but for the last bits, and it
        // costs the loop nothing; as recorded the ratio is 1 and both are exact.
        s.a.push_back(info.a * ratio);
        s.b.push_back(info.b * ratio);
    }
    return s;
}

// Sizes an array for n elements, asking for 2 MiB pages where the system has them: a large
// record's arrays take hundreds of MB, and a fault for each 4 KiB page of them costs more
// than decoding the data. The request is made before the first touch, the zeroing.
template <class T>
void SizeFor(std::vector<T>& v, std::size_t n) {
    v.reserve(n);
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    const std::size_t bytes = n * sizeof(T);
    if (bytes >= 2 * kHugePage) {
        const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        const auto begin = reinterpret_cast<std::uintptr_t>(v.data());
        const std::uintptr_t from = (begin + page - 1) / page * page;
        const std::uintptr_t to = (begin + bytes) / page * page;
        // A hint: where the system refuses it, the pages are small.
        if (to > from) ::madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
    }
#endif
    v.resize(n);
}

std::uint16_t Load16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t Load32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::string Holds(std::size_t records, const Layout& layout, std::string_view cfgFile) {
    return "holds " + Number(records) + " records, the configuration gives " + Number(layout.declared) + " (" +
           std::string(cfgFile) + ":" + Number(layout.endsampLine) + ", endsamp)";
}

[[noreturn]] void MissingStamp(std::string_view file, std::size_t line, std::size_t record) {
    FailAt(file, line,
           "record " + Number(record + 1) + ", field timestamp: missing, and the configuration gives no sample rate");
}

// Fixed-size records, little-endian: n and the timestamp as uint32, the analog values,
// then ceil(D/16) status words, lowest channel in the lowest bit (IEEE C37.111-2013,
// clause 8). Channel by channel over blocks of records, so that the reads stay in the
// cache and each array is written in order.
template <DataFormat F>
void DecodeBinary(Record& r, const Scales& s, const std::uint8_t* data, std::size_t recordSize, bool stamps,
                  std::string_view file) {
    constexpr std::size_t kBlock = 512;
    constexpr std::size_t valueBytes = F == DataFormat::Binary ? 2 : 4;
    const std::size_t samples = r.samples;
    const std::size_t na = r.analog.size();
    const std::size_t nd = r.digital.size();
    for (std::size_t first = 0; first < samples; first += kBlock) {
        const std::size_t last = std::min(samples, first + kBlock);
        const std::uint8_t* block = data + first * recordSize;
        if (stamps) {
            double* times = r.times.data();
            for (std::size_t i = first; i < last; ++i) {
                const std::uint32_t t = Load32(block + (i - first) * recordSize + 4);
                if (t == kMissingStamp) MissingStamp(file, 0, i);
                times[i] = t;
            }
        }
        for (std::size_t c = 0; c < na; ++c) {
            double* out = r.values.data() + c * samples;
            const std::uint8_t* p = block + 8 + c * valueBytes;
            const double a = s.a[c];
            const double b = s.b[c];
            for (std::size_t i = first; i < last; ++i, p += recordSize) {
                if constexpr (F == DataFormat::Binary) {
                    const auto x = static_cast<std::int16_t>(Load16(p));
                    out[i] = x == std::numeric_limits<std::int16_t>::min() ? kNaN : a * x + b;
                } else if constexpr (F == DataFormat::Binary32) {
                    const auto x = static_cast<std::int32_t>(Load32(p));
                    out[i] = x == std::numeric_limits<std::int32_t>::min() ? kNaN : a * x + b;
                } else {
                    out[i] = a * static_cast<double>(std::bit_cast<float>(Load32(p))) + b;
                }
            }
        }
        for (std::size_t d = 0; d < nd; ++d) {
            std::uint8_t* out = r.states.data() + d * samples;
            const std::uint8_t* p = block + 8 + na * valueBytes + 2 * (d / 16);
            const unsigned bit = d % 16;
            for (std::size_t i = first; i < last; ++i, p += recordSize)
                out[i] = static_cast<std::uint8_t>((unsigned{Load16(p)} >> bit) & 1u);
        }
    }
}

// A number field of an ASCII record, p at its first character after the blanks: integers
// directly, anything else (decimals, exponents: IEEE C37.111-2013, 4.5) by from_chars.
bool ParseField(const char*& p, const char* end, double& x) {
    const char* q = p;
    bool negative = false;
    if (q != end && (*q == '-' || *q == '+')) negative = *q++ == '-';
    std::uint64_t v = 0;
    const char* digits = q;
    while (q != end && IsDigit(*q) && q - digits < 18) v = v * 10 + static_cast<unsigned>(*q++ - '0');
    if (q != digits && (q == end || (!IsDigit(*q) && *q != '.' && *q != 'e' && *q != 'E'))) {
        const double m = static_cast<double>(v);
        x = negative ? -m : m;
        p = q;
        return true;
    }
    const char* from = p;
    if (*from == '+') {
        ++from;
        if (from != end && (*from == '-' || *from == '+')) return false;
    }
    const auto [stop, error] = std::from_chars(from, end, x);
    if (error != std::errc() || !std::isfinite(x)) return false;
    p = stop;
    return true;
}

// One record per line: n, timestamp, analog values, digital values, separated by commas,
// blanks around them allowed; CR LF or LF at the ends; blank lines skipped.
class AsciiDecoder {
public:
    AsciiDecoder(std::string_view text, std::string_view file, std::size_t firstLine)
        : m_p(text.data()), m_end(text.data() + text.size()), m_file(file), m_line(firstLine) {}

    // Records with anything on their line, for a record count the configuration leaves to the data.
    static std::size_t CountRecords(std::string_view text) {
        std::size_t count = 0;
        bool content = false;
        for (const char c : text) {
            if (c == '\n') {
                count += content ? 1 : 0;
                content = false;
            } else if (!IsBlank(c) && c != '\r') {
                content = true;
            }
        }
        return count + (content ? 1 : 0);
    }

    void Decode(Record& r, const Scales& s, bool stamps, const Layout& layout, std::string_view cfgFile) {
        const std::size_t samples = r.samples;
        const std::size_t na = r.analog.size();
        const std::size_t nd = r.digital.size();
        m_analog = na;
        m_fields = 2 + na + nd;
        for (std::size_t i = 0; i < samples; ++i) {
            if (!NextRecord()) FailAt(m_file, 0, Holds(i, layout, cfgFile));
            m_record = i;
            m_recordLine = m_line;
            double x = 0;
            Field(x, 0);  // the sample number, which nothing needs
            // The timestamp, which may be empty where the rates give the times (IEEE
            // C37.111-2013, 8.4.2).
            Blanks();
            if (AtFieldEnd()) {
                if (stamps) MissingStamp(m_file, m_line, i);
                Separator(1);
            } else {
                Field(x, 1);
                if (stamps) r.times[i] = x;
            }
            for (std::size_t c = 0; c < na; ++c) {
                Field(x, 2 + c);
                r.values[c * samples + i] = x == kMissingAscii ? kNaN : s.a[c] * x + s.b[c];
            }
            for (std::size_t d = 0; d < nd; ++d) {
                Field(x, 2 + na + d);
                if (x != 0 && x != 1) Fail(2 + na + d, "is not 0 or 1");
                r.states[d * samples + i] = x != 0 ? 1 : 0;
            }
        }
    }

private:
    // Goes to the next record's first field over blank lines; false at the end of the text.
    bool NextRecord() {
        for (;;) {
            while (m_p != m_end && (IsBlank(*m_p) || *m_p == '\r')) ++m_p;
            if (m_p == m_end) return false;
            if (*m_p != '\n') return true;
            ++m_p;
            ++m_line;
        }
    }

    void Blanks() {
        while (m_p != m_end && IsBlank(*m_p)) ++m_p;
    }

    bool AtFieldEnd() const { return m_p == m_end || *m_p == ',' || *m_p == '\r' || *m_p == '\n'; }

    // Field k, and what ends it: a comma before the next field, the line's end after the last.
    void Field(double& x, std::size_t k) {
        Blanks();
        m_field = m_p;
        if (AtFieldEnd()) Fail(k, "is empty");
        if (!ParseField(m_p, m_end, x)) Fail(k, "is not a number");
        Separator(k);
    }

    void Separator(std::size_t k) {
        Blanks();
        const bool last = k + 1 == m_fields;
        if (m_p != m_end && *m_p == ',') {
            if (last) FailAt(m_file, m_recordLine, RecordName() + " has more than its " + Number(m_fields) + " fields");
            ++m_p;
            return;
        }
        if (m_p != m_end && *m_p == '\r' && m_p + 1 != m_end && m_p[1] == '\n') ++m_p;
        if (m_p == m_end || *m_p == '\n') {
            if (!last)
                FailAt(m_file, m_recordLine,
                       RecordName() + " ends before its " + FieldName(k + 1) + ": a record has " + Number(m_fields) +
                           " fields");
            if (m_p != m_end) {
                ++m_p;
                ++m_line;
            }
            return;
        }
        Fail(k, "is not a number");
    }

    std::string RecordName() const { return "record " + Number(m_record + 1); }

    std::string FieldName(std::size_t k) const {
        if (k == 0) return "sample number";
        if (k == 1) return "timestamp";
        if (k < 2 + m_analog) return "analog channel " + Number(k - 1);
        return "digital channel " + Number(k - 1 - m_analog);
    }

    // "record 5, analog channel 2: 'x' is not a number"
    [[noreturn]] void Fail(std::size_t k, std::string_view what) const {
        const char* stop = m_field != nullptr ? m_field : m_p;
        while (stop != m_end && *stop != ',' && *stop != '\r' && *stop != '\n') ++stop;
        const char* from = m_field != nullptr ? m_field : m_p;
        const std::string_view text = Trim({from, static_cast<std::size_t>(stop - from)});
        std::string message = RecordName() + ", " + FieldName(k) + ": ";
        message.append(text.empty() ? std::string() : Shown(text) + " ").append(what);
        FailAt(m_file, m_recordLine, message);
    }

    const char* m_p;
    const char* m_end;
    const char* m_field = nullptr;
    std::string_view m_file;
    std::size_t m_line;
    std::size_t m_record = 0;
    std::size_t m_recordLine = 0;  // where the record's errors point: its line, though a field may end it
    std::size_t m_analog = 0;
    std::size_t m_fields = 0;
};

// Times from the rate lines: sample k of a segment lies at the end of the segments before
// plus (k - first) / rate (IEEE C37.111-2013, 7.4.4); else timestamp × timemult, in µs,
// from the first sample's.
void Times(Record& r, const Layout& layout, std::string_view datFile) {
    if (layout.fromStamps) {
        const double first = r.samples > 0 ? r.times[0] : 0;
        for (std::size_t i = 0; i < r.samples; ++i) {
            const double t = (r.times[i] - first) * r.timeMultiplier / 1e6;
            if (!std::isfinite(t))
                FailAt(datFile, 0, "record " + Number(i + 1) + ": timestamp × timemult lies beyond any time");
            r.times[i] = t;
        }
        return;
    }
    double start = 0;
    std::size_t i = 0;
    std::size_t previous = 0;
    for (const RateSegment& segment : r.rates) {
        const std::size_t count = segment.lastSample - previous;
        for (std::size_t k = 0; k < count; ++k) r.times[i++] = start + static_cast<double>(k) / segment.rate;
        start += static_cast<double>(count) / segment.rate;
        previous = segment.lastSample;
    }
    if (!std::isfinite(start)) FailAt(datFile, 0, "the sample rates give times beyond any time");
}

struct Source {
    std::string_view text;
    std::string_view file;
    std::size_t firstLine = 1;
};

// The configuration and the data: the one reading that every entry point comes to.
Record Decode(const Source& cfg, std::span<const std::uint8_t> data, std::string_view datFile, std::size_t datFirstLine,
              Values values, std::optional<bool> datAscii = std::nullopt, std::size_t datHeaderLine = 0) {
    Record r;
    ConfigurationParser parser(cfg.text, cfg.file, cfg.firstLine);
    const Layout layout = parser.Parse(r);
    if (datAscii && *datAscii != (r.format == DataFormat::Ascii))
        FailAt(datFile, datHeaderLine,
               std::string("the DAT section is ") + (*datAscii ? "ASCII" : "binary") +
                   ", the configuration's ft says " + std::string(Name(r.format)));
    const Scales scales = ScalesOf(r, values, cfg.file, layout);
    const std::size_t na = r.analog.size();
    const std::size_t nd = r.digital.size();

    // A trailing Ctrl-Z; in ASCII, trailing blanks and empty lines as well.
    std::size_t size = data.size();
    if (r.format == DataFormat::Ascii) {
        while (size > 0 && (data[size - 1] == kCtrlZ || data[size - 1] == '\n' || data[size - 1] == '\r' ||
                            IsBlank(static_cast<char>(data[size - 1]))))
            --size;
        const std::string_view text(reinterpret_cast<const char*>(data.data()), size);
        // Every record takes n, a comma, an empty timestamp, a comma and a digit for each
        // channel and a line end: the count the arrays are sized for must fit in the data.
        const std::size_t least = 3 + 2 * (na + nd);
        std::size_t samples = layout.declared;
        if (samples == 0) samples = AsciiDecoder::CountRecords(text);
        if (samples > (size + 1) / least) {
            if (layout.declared == 0)
                FailAt(datFile, 0,
                       Number(samples) + " lines too short for records of " + Number(2 + na + nd) + " fields");
            FailAt(datFile, 0, Holds(AsciiDecoder::CountRecords(text), layout, cfg.file));
        }
        r.samples = samples;
        SizeFor(r.times, samples);
        SizeFor(r.values, na * samples);
        SizeFor(r.states, nd * samples);
        AsciiDecoder(text, datFile, datFirstLine).Decode(r, scales, layout.fromStamps, layout, cfg.file);
    } else {
        const std::size_t recordSize = 8 + (r.format == DataFormat::Binary ? 2 : 4) * na + 2 * ((nd + 15) / 16);
        if (size % recordSize == 1 && data[size - 1] == kCtrlZ) --size;
        const std::size_t whole = size / recordSize;
        std::size_t samples = layout.declared;
        if (samples == 0) samples = whole;
        if (samples > whole || (layout.declared == 0 && size % recordSize != 0)) {
            if (size % recordSize != 0)
                FailAt(datFile, 0,
                       "record " + Number(whole + 1) + " is cut short: " + Number(size % recordSize) + " of its " +
                           Number(recordSize) + " bytes");
            FailAt(datFile, 0, Holds(whole, layout, cfg.file));
        }
        r.samples = samples;
        SizeFor(r.times, samples);
        SizeFor(r.values, na * samples);
        SizeFor(r.states, nd * samples);
        switch (r.format) {
            case DataFormat::Binary:
                DecodeBinary<DataFormat::Binary>(r, scales, data.data(), recordSize, layout.fromStamps, datFile);
                break;
            case DataFormat::Binary32:
                DecodeBinary<DataFormat::Binary32>(r, scales, data.data(), recordSize, layout.fromStamps, datFile);
                break;
            default:
                DecodeBinary<DataFormat::Float32>(r, scales, data.data(), recordSize, layout.fromStamps, datFile);
                break;
        }
    }
    Times(r, layout, datFile);
    return r;
}

// ---- the combined file ----------------------------------------------------------------

struct Section {
    std::size_t begin = 0, end = 0;
    std::size_t headerLine = 0;  // 0: no such section
};

// "--- file type: CFG ---" and the like (IEEE C37.111-2013, clause 9), in any letter case
// and spacing: the type, and for DAT what follows it.
bool IsSectionHeader(std::string_view line, std::string_view& type, std::string_view& rest) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
    line = Trim(line);
    if (line.size() < 6 || line.substr(0, 3) != "---" || line.substr(line.size() - 3) != "---") return false;
    std::string_view inner = Trim(line.substr(3, line.size() - 6));
    if (!StartsNoCase(inner, "file type")) return false;
    inner = Trim(inner.substr(9));
    if (inner.empty() || inner.front() != ':') return false;
    inner = Trim(inner.substr(1));
    const std::size_t space = inner.find_first_of(" \t:");
    type = inner.substr(0, space);
    rest = space == std::string_view::npos ? std::string_view() : Trim(inner.substr(space));
    return true;
}

Record DecodeCombined(std::span<const std::uint8_t> bytes, std::string_view file, Values values, std::string* header,
                      std::string* information) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    Section cfg, inf, hdr, dat, skipped;
    bool datAscii = true;
    Section* open = nullptr;
    std::size_t cfgFirstLine = 0, datFirstLine = 0;
    std::size_t at = 0;
    std::size_t line = 0;
    while (at < text.size()) {
        const std::size_t newline = text.find('\n', at);
        const std::size_t next = newline == std::string_view::npos ? text.size() : newline + 1;
        ++line;
        std::string_view type, rest;
        const std::string_view content = text.substr(at, next - at);
        if (!IsSectionHeader(content, type, rest)) {
            if (open == nullptr && content.find_first_not_of(" \t\r\n\x1A") != std::string_view::npos)
                FailAt(file, line, "expected a section header such as '--- file type: CFG ---'");
            at = next;
            continue;
        }
        if (open != nullptr) open->end = at;
        open = nullptr;
        Section* section = SameNoCase(type, "CFG")   ? &cfg
                           : SameNoCase(type, "INF") ? &inf
                           : SameNoCase(type, "HDR") ? &hdr
                           : SameNoCase(type, "DAT") ? &dat
                                                     : nullptr;
        if (section == nullptr) {  // a section of a later revision: skipped
            open = &skipped;
            at = next;
            continue;
        }
        if (section->headerLine != 0)
            FailAt(file, line,
                   "a second " + std::string(type) + " section; the first is at line " + Number(section->headerLine));
        section->headerLine = line;
        section->begin = next;
        section->end = text.size();
        if (section == &cfg) cfgFirstLine = line + 1;
        if (section == &dat) {
            datFirstLine = line + 1;
            // DAT ASCII, or DAT BINARY: <bytes> (BINARY32 and FLOAT32 taken as well).
            const std::size_t colon = rest.find(':');
            const std::string_view kind = Trim(rest.substr(0, colon));
            const auto format = detail::FindDataFormat(kind);
            if (!format)
                FailAt(file, line,
                       "the DAT section's type " + Shown(kind) + " is not ASCII, BINARY, BINARY32 or FLOAT32");
            datAscii = *format == DataFormat::Ascii;
            if (!datAscii) {
                // The bytes are counted, not searched: binary data may hold anything.
                std::size_t length = text.size() - next;
                if (colon != std::string_view::npos) {
                    const auto count = ParseCount(Trim(rest.substr(colon + 1)));
                    if (!count)
                        FailAt(file, line,
                               "the DAT section's length " + Shown(rest.substr(colon + 1)) + " is not a number");
                    length = static_cast<std::size_t>(std::min<std::uint64_t>(*count, length));
                }
                dat.end = next + length;
                at = dat.end;
                // Line numbers of any later section count the binary data's line ends too;
                // what follows the data up to a header is passed over (a line end, a Ctrl-Z).
                if (at < text.size()) line += static_cast<std::size_t>(std::count(&text[next], &text[at], '\n'));
                open = &skipped;
                continue;
            }
        }
        open = section;
        at = next;
    }
    if (cfg.headerLine == 0) FailAt(file, 0, "no CFG section");
    if (dat.headerLine == 0) FailAt(file, 0, "no DAT section");
    if (header != nullptr && hdr.headerLine != 0) header->assign(text.substr(hdr.begin, hdr.end - hdr.begin));
    if (information != nullptr && inf.headerLine != 0) information->assign(text.substr(inf.begin, inf.end - inf.begin));
    return Decode({text.substr(cfg.begin, cfg.end - cfg.begin), file, cfgFirstLine},
                  bytes.subspan(dat.begin, dat.end - dat.begin), file, datFirstLine, values, datAscii, dat.headerLine);
}

// ---- files --------------------------------------------------------------------------

std::string SystemReason(int error) { return std::system_category().message(error); }

// A file mapped read-only; the mapping outlives the descriptor.
class MappedFile {
public:
    explicit MappedFile(const fs::path& path) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) Throw(path, "cannot open", errno);
        struct stat status {};
        if (::fstat(fd, &status) != 0) {
            const int error = errno;
            ::close(fd);
            Throw(path, "cannot read", error);
        }
        if (!S_ISREG(status.st_mode)) {
            ::close(fd);
            throw Error(path.string() + ": not a regular file");
        }
        m_size = static_cast<std::size_t>(status.st_size);
        if (m_size > 0) {
            void* p = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
            const int error = errno;
            ::close(fd);
            if (p == MAP_FAILED) Throw(path, "cannot map", error);
            m_data = static_cast<std::uint8_t*>(p);
            ::madvise(p, m_size, MADV_SEQUENTIAL);
        } else {
            ::close(fd);
        }
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() {
        if (m_data != nullptr) ::munmap(m_data, m_size);
    }

    std::span<const std::uint8_t> Bytes() const { return {m_data, m_size}; }
    std::string_view Text() const { return {reinterpret_cast<const char*>(m_data), m_size}; }

private:
    [[noreturn]] static void Throw(const fs::path& path, const char* what, int error) {
        throw Error(path.string() + ": " + what + ": " + SystemReason(error));
    }

    std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
};

std::string Lower(std::string s) {
    for (char& c : s) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return s;
}

std::string Upper(std::string s) {
    for (char& c : s) c = Upper(c);
    return s;
}

// The files beside `path` with its stem and each of the extensions, in any letter case:
// the name with the extension as given or in capitals, else the first match by name in
// the directory.
std::vector<std::optional<fs::path>> Siblings(const fs::path& path, std::initializer_list<std::string> extensions) {
    const fs::path dir = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const std::string stem = path.stem().string();
    std::vector<std::optional<fs::path>> found;
    std::vector<std::string> wanted;  // of those not found by name
    std::error_code error;
    for (const std::string& extension : extensions) {
        found.emplace_back();
        for (const std::string& name : {stem + extension, stem + Upper(extension)})
            if (fs::is_regular_file(dir / name, error)) {
                found.back() = dir / name;
                break;
            }
        wanted.push_back(found.back() ? std::string() : Lower(stem + extension));
    }
    if (std::all_of(found.begin(), found.end(), [](const auto& f) { return f.has_value(); })) return found;
    for (fs::directory_iterator it(dir, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        const auto k = static_cast<std::size_t>(std::find(wanted.begin(), wanted.end(), Lower(name)) - wanted.begin());
        if (k == wanted.size() || wanted[k].empty()) continue;
        std::error_code ignored;
        if (it->is_regular_file(ignored) && (!found[k] || name < found[k]->filename().string())) found[k] = it->path();
    }
    return found;
}

std::string Contents(const fs::path& path) {
    const MappedFile file(path);
    return std::string(file.Text());
}

}  // namespace

double Record::TriggerOffset() const { return static_cast<double>((trigger - start).count()) / 1e6; }

Record ReadConfigurationAndData(std::string_view configuration, std::span<const std::uint8_t> data,
                                std::string_view name, Values values) {
    const std::string cfgFile = std::string(name) + ".cfg";
    const std::string datFile = std::string(name) + ".dat";
    Record r = Decode({configuration, cfgFile, 1}, data, datFile, 1, values);
    r.configuration = cfgFile;
    return r;
}

Record ReadCombined(std::span<const std::uint8_t> cff, std::string_view name, Values values) {
    const std::string file = std::string(name) + ".cff";
    std::string header, information;
    Record r = DecodeCombined(cff, file, values, &header, &information);
    r.configuration = file;
    r.header = std::move(header);
    r.information = std::move(information);
    return r;
}

Record Read(const fs::path& path, Values values) {
    const std::string extension = Lower(path.extension().string());
    if (extension == ".cff") {
        const MappedFile file(path);
        std::string header, information;
        Record r = DecodeCombined(file.Bytes(), path.string(), values, &header, &information);
        r.configuration = path;
        r.header = std::move(header);
        r.information = std::move(information);
        return r;
    }
    if (extension != ".cfg" && extension != ".dat")
        throw Error(path.string() + ": not the name of a .cfg, .dat or .cff file");
    const bool givenCfg = extension == ".cfg";
    const auto siblings = Siblings(path, {givenCfg ? ".dat" : ".cfg", ".hdr", ".inf"});
    if (!siblings[0])
        throw Error(path.string() + ": no " + path.stem().string() + (givenCfg ? ".dat" : ".cfg") +
                    " beside it, in any letter case");
    const fs::path cfgPath = givenCfg ? path : *siblings[0];
    const fs::path datPath = givenCfg ? *siblings[0] : path;
    const MappedFile cfg(cfgPath);
    const MappedFile dat(datPath);
    Record r = Decode({cfg.Text(), cfgPath.string(), 1}, dat.Bytes(), datPath.string(), 1, values);
    r.configuration = cfgPath;
    if (siblings[1]) r.header = Contents(*siblings[1]);
    if (siblings[2]) r.information = Contents(*siblings[2]);
    return r;
}

// ---- text ---------------------------------------------------------------------------

namespace {

// The length of the UTF-8 sequence at s[i], or 0 where it is not one: no overlong forms,
// surrogates or code points beyond U+10FFFF (RFC 3629, clause 4).
std::size_t Utf8Length(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned c = byte(i);
    if (c < 0x80) return 1;
    std::size_t n = 0;
    unsigned lo = 0x80, hi = 0xBF;  // the range of the second byte
    if (c >= 0xC2 && c <= 0xDF)
        n = 2;
    else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        if (c == 0xE0) lo = 0xA0;
        if (c == 0xED) hi = 0x9F;
    } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        if (c == 0xF0) lo = 0x90;
        if (c == 0xF4) hi = 0x8F;
    } else {
        return 0;
    }
    if (s.size() - i < n) return 0;
    if (byte(i + 1) < lo || byte(i + 1) > hi) return 0;
    for (std::size_t k = 2; k < n; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    return n;
}

// Windows-1251, the Cyrillic code page: the code points of bytes 0x80 to 0xFF. 0x98 is
// unassigned and becomes U+FFFD.
constexpr char16_t kWindows1251[128] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021,  // 80
    0x20AC, 0x2030, 0x0409, 0x2039, 0x040A, 0x040C, 0x040B, 0x040F,  // 88
    0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90
    0xFFFD, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F,  // 98
    0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7,  // A0
    0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,  // A8
    0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7,  // B0
    0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457,  // B8
    0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417,  // C0
    0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D, 0x041E, 0x041F,  // C8
    0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427,  // D0
    0x0428, 0x0429, 0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F,  // D8
    0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437,  // E0
    0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F,  // E8
    0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447,  // F0
    0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F,  // F8
};

}  // namespace

std::string TextAsUtf8(std::string_view bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        const std::size_t n = Utf8Length(bytes, i);
        if (n == 0) break;
        i += n;
    }
    if (i == bytes.size()) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x80) {
            out += ch;
            continue;
        }
        const unsigned u = kWindows1251[c - 0x80];  // all within the BMP: two or three bytes
        if (u < 0x800) {
            out += static_cast<char>(0xC0 | (u >> 6));
        } else {
            out += static_cast<char>(0xE0 | (u >> 12));
            out += static_cast<char>(0x80 | ((u >> 6) & 0x3F));
        }
        out += static_cast<char>(0x80 | (u & 0x3F));
    }
    return out;
}

}  // namespace kv::relay::comtrade
