// COMTRADE records (IEEE C37.111-1999 and -2013): writing sampled channels as a
// configuration file and a data file, or as one combined file.
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

}  // namespace kv::relay::comtrade
