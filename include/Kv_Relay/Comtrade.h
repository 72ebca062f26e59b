// COMTRADE records (IEEE C37.111-1999 and -2013): writing sampled channels as a
// configuration file and a data file, or as one combined file, and reading records back.
//
// The writer takes the samples from the caller's arrays, so that any program with
// samples can write them. Analog values are stored as integers x = round(v / a) (ASCII,
// BINARY, BINARY32) or as 32-bit floats (FLOAT32), with the channel's line in the
// configuration giving v = a·x + b (IEEE C37.111-2013, 7.4.3). Files are written under
// temporary names beside their destination and renamed when whole, so an error leaves
// no half-written record.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Kv_Relay/Export.h"

namespace kv::relay::comtrade {

enum class Revision { Rev1999 = 1999, Rev2013 = 2013 };
enum class DataFormat { Ascii, Binary, Binary32, Float32 };

// "ASCII", "BINARY", "BINARY32", "FLOAT32"; parsing takes any letter case. Both parsers
// throw kv::relay::Error for any other text.
KV_RELAY_API std::string_view Name(DataFormat format);
KV_RELAY_API DataFormat ParseDataFormat(std::string_view text);
KV_RELAY_API Revision ParseRevision(std::string_view text);  // "1999" or "2013"

// Microseconds since 1970-01-01T00:00:00 UTC.
using Time = std::chrono::sys_time<std::chrono::microseconds>;

struct AnalogChannel {
    std::string name;   // ch_id
    std::string phase;  // ph: "A", "B", "C" or empty
    std::string unit;   // uu: "V", "A"
    std::span<const double> samples;  // one value per sample, in the unit
};

struct DigitalChannel {
    std::string name;
    std::span<const std::uint8_t> samples;  // 0 or 1 per sample
    int normal = 0;                         // y: the state of the channel when nothing happens, 0 or 1
};

// What a record holds: one sample rate, every channel with `samples` values. Texts go into
// comma-separated lines: station, device, names, phases and units must not contain a comma,
// CR or LF, and channel names must not be empty.
struct RecordToWrite {
    std::string station;
    std::string device;
    double lineFrequency = 50;  // Hz
    double sampleRate = 4000;   // samples per second; sample n lies at n / sampleRate
    std::size_t samples = 0;
    Time start{};    // the time of the first sample
    Time trigger{};  // the trigger point
    std::vector<AnalogChannel> analog;
    std::vector<DigitalChannel> digital;
};

struct WriteOptions {
    Revision revision = Revision::Rev2013;
    DataFormat format = DataFormat::Ascii;
    bool singleFile = false;  // NAME.cff (revision 2013 only) instead of NAME.cfg and NAME.dat
};

// Writes `stem`.cfg and `stem`.dat, or `stem`.cff, and returns the paths written. Error for
// a combination the revision does not know (1999 with BINARY32, FLOAT32 or a single file),
// channels whose sample counts differ from `samples`, a rate that is not a positive finite
// number, a non-finite sample (or one beyond float range for FLOAT32), a digital sample
// other than 0 or 1, a record without samples or whose sample numbers or time stamps do
// not fit the data file's fields, or a file that cannot be written (with the system's
// reason). The .cfg and .dat are both written whole before either is renamed into place.
KV_RELAY_API std::vector<std::filesystem::path> Write(const RecordToWrite& record, const std::filesystem::path& stem,
                                                      const WriteOptions& options = {});

// The configuration text alone, lines ended by CR LF, as Write puts it in the .cfg (or the
// CFG section of the .cff); the same errors as Write but those of the files.
KV_RELAY_API std::string Configuration(const RecordToWrite& record, const WriteOptions& options = {});

// ---- Reading ------------------------------------------------------------------------
//
// What real recorders write: revisions 1991, 1999 and 2013; NAME.cfg with NAME.dat (the
// other file found by the same stem, extension in any letter case) or NAME.cff; ASCII,
// BINARY, BINARY32 and FLOAT32 in any letter case; several sample rates, or nrates 0 with
// the times taken from the timestamps; missing values (99999 in ASCII, 0x8000 and
// 0x80000000 in binary) as NaN; a trailing 0x1A; text in any 8-bit encoding kept as bytes.
// Texts are kept without the spaces and tabs around them.

struct AnalogInfo {
    std::string name, phase, circuit, unit;  // ch_id, ph, ccbm, uu
    double a = 1, b = 0;                     // value = a·x + b
    double skew = 0;                         // µs
    double min = 0, max = 0;                 // of x
    double primary = 1, secondary = 1;       // transformer ratio
    char ps = 'S';                           // whether a·x + b is a primary ('P') or secondary ('S') value, as the file says
};

struct DigitalInfo {
    std::string name, phase, circuit;
    int normal = 0;
};

struct RateSegment {
    double rate = 0;            // samples per second
    std::size_t lastSample = 0;  // the last sample number (from 1) at this rate
};

// Which values Read gives: as the record's a·x + b, or converted to primary or secondary
// values with the channel's ratio.
enum class Values { AsRecorded, Primary, Secondary };

// A record read back: its configuration, and its samples as arrays.
struct KV_RELAY_API Record {
    std::filesystem::path configuration;  // the .cfg or .cff read
    std::string station, device;           // bytes as written
    int revision = 1999;                    // 1991, 1999 or 2013
    DataFormat format = DataFormat::Ascii;
    double lineFrequency = 0;              // Hz, 0 when not given
    std::vector<RateSegment> rates;        // empty for nrates 0
    Time start{}, trigger{};
    double timeMultiplier = 1;
    std::vector<AnalogInfo> analog;
    std::vector<DigitalInfo> digital;
    // The HDR and INF texts, bytes as written: the sections of a .cff, or NAME.hdr and
    // NAME.inf beside a .cfg; empty when there are none.
    std::string header, information;
    std::size_t samples = 0;
    // The time of each sample in seconds from the first sample: from the rate lines when
    // there are any (the timestamps are then not used), else timestamp × timemult, the
    // timestamps in µs.
    std::vector<double> times;
    std::vector<double> values;         // channel-major: analog channel c at [c · samples, (c + 1) · samples); NaN where missing
    std::vector<std::uint8_t> states;   // channel-major, digital channels, 0 or 1

    std::span<const double> Analog(std::size_t channel) const {
        return {values.data() + channel * samples, samples};
    }
    std::span<const std::uint8_t> Digital(std::size_t channel) const {
        return {states.data() + channel * samples, samples};
    }
    // The trigger's time on the axis of `times`, seconds.
    double TriggerOffset() const;
};

// Reads NAME.cfg with its .dat, or NAME.cff (the path of either the .cfg, the .dat or the
// .cff). Error naming the file, the line and the field for anything malformed
// ("rec.cfg:3: analog channel 1, field a: 'x' is not a number", "rec.dat: record 5 is cut
// short"), a sample count that the data does not hold, a file that cannot be read. The
// data file is mapped, not copied; the arrays are sized from its length.
KV_RELAY_API Record Read(const std::filesystem::path& path, Values values = Values::AsRecorded);
// The same from texts and bytes in memory (for tests and fuzzing): a configuration with
// its data, or a combined file's bytes. Errors name them `name`.cfg and `name`.dat, or
// `name`.cff.
KV_RELAY_API Record ReadConfigurationAndData(std::string_view configuration, std::span<const std::uint8_t> data,
                                             std::string_view name = "record", Values values = Values::AsRecorded);
KV_RELAY_API Record ReadCombined(std::span<const std::uint8_t> cff, std::string_view name = "record",
                                 Values values = Values::AsRecorded);

// Text of a record for JSON: valid UTF-8 as it is, anything else decoded from Windows-1251.
KV_RELAY_API std::string TextAsUtf8(std::string_view bytes);

}  // namespace kv::relay::comtrade
