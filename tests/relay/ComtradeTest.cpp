#include "Kv_Relay/Comtrade.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numbers>

#include "Kv_Relay/Error.h"

namespace {

namespace fs = std::filesystem;
using namespace kv::relay::comtrade;
using namespace std::chrono_literals;

std::string Contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string Hex(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        text += "0123456789abcdef"[(c >> 4) & 15];
        text += "0123456789abcdef"[c & 15];
    }
    return text;
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    for (std::size_t at = 0, end = 0; end != std::string_view::npos; at = end + separator.size()) {
        end = text.find(separator, at);
        parts.emplace_back(text.substr(at, end - at));
    }
    return parts;
}

// The analog values a·x and the digital states of a written record, read back with its own
// configuration: just enough of a reader for these tests.
std::vector<std::vector<double>> Decode(const fs::path& cfgPath, const fs::path& datPath) {
    const auto cfg = Split(Contents(cfgPath), "\r\n");
    const std::string dat = Contents(datPath);
    const std::size_t na = std::stoul(Split(cfg[1], ",")[1]);
    const std::size_t nd = std::stoul(Split(cfg[1], ",")[2]);
    const std::size_t samples = std::stoul(Split(cfg[4 + na + nd], ",")[1]);
    const std::string format = cfg[7 + na + nd];
    const auto rows = Split(dat, "\r\n");
    std::vector<double> a(na);
    for (std::size_t k = 0; k < na; ++k) a[k] = std::stod(Split(cfg[2 + k], ",")[5]);
    std::vector<std::vector<double>> channels(na + nd);
    std::size_t at = 0;
    const auto le = [&](std::size_t size) {
        std::uint32_t v = 0;
        for (std::size_t k = 0; k < size; ++k) v |= std::uint32_t{static_cast<unsigned char>(dat.at(at++))} << (8 * k);
        return v;
    };
    for (std::size_t n = 0; n < samples; ++n) {
        const auto fields = format == "ASCII" ? Split(rows.at(n), ",") : std::vector<std::string>();
        at += 8;  // binary: sample number and time stamp
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < na + nd; ++k) {
            double x;
            if (format == "ASCII")
                x = std::stod(fields.at(2 + k));
            else if (k >= na) {
                if ((k - na) % 16 == 0) word = le(2);
                x = (word >> ((k - na) % 16)) & 1;
            } else if (format == "BINARY")
                x = static_cast<std::int16_t>(le(2));
            else if (format == "BINARY32")
                x = static_cast<std::int32_t>(le(4));
            else
                x = std::bit_cast<float>(le(4));
            channels[k].push_back(k < na ? a[k] * x : x);
        }
    }
    EXPECT_EQ(format == "ASCII" ? rows.size() - 1 : at, format == "ASCII" ? samples : dat.size());
    return channels;
}

class ComtradeTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        m_dir = fs::temp_directory_path() / ("kv_comtrade_test_" + std::to_string(::getpid()) + "_" + test);
        fs::create_directories(m_dir);
        m_record.station = "Substation North";
        m_record.device = "Relay 7";
        m_record.samples = 4;
        m_record.start = Time(std::chrono::sys_days(std::chrono::year(2026) / 11 / 23)) + 10h;
        m_record.trigger = m_record.start + 500us;
        m_record.analog = {{"VA", "A", "V", m_va}, {"IA", "A", "A", m_ia}};
        m_record.digital = {{"TRIP", m_trip, 0}, {"START", m_pickup, 1}};
    }
    void TearDown() override { fs::remove_all(m_dir); }

    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_dir)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string Written(const WriteOptions& options, const char* file = "r.dat") {
        Write(m_record, m_dir / "r", options);
        return Contents(m_dir / file);
    }

    fs::path m_dir;
    double m_va[4] = {1, -2, 0.5, 0};  // peak 2: 1/a = 16383.5 rounds away from 0, 0.5/a = 8191.75
    double m_ia[4] = {0, 0, 0, 0};     // a = 1
    std::uint8_t m_trip[4] = {0, 1, 1, 0};
    std::uint8_t m_pickup[4] = {1, 1, 0, 0};
    RecordToWrite m_record;
};

TEST_F(ComtradeTest, ConfigurationOfBothRevisionsAndEveryScale) {
    const std::string common =
        "4,2A,2D\r\n"
        "1,VA,A,,V,6.103701895199438e-05,0,0,-32767,32767,1,1,S\r\n"
        "2,IA,A,,A,1,0,0,-32767,32767,1,1,S\r\n"
        "1,TRIP,,,0\r\n"
        "2,START,,,1\r\n"
        "50\r\n1\r\n4000,4\r\n"
        "23/11/2026,10:00:00.000000\r\n"
        "23/11/2026,10:00:00.000500\r\n";
    EXPECT_EQ(Written({}, "r.cfg"), "Substation North,Relay 7,2013\r\n" + common + "ASCII\r\n1\r\n0,0\r\nF,3\r\n");
    EXPECT_EQ(Configuration(m_record, {Revision::Rev1999, DataFormat::Binary, false}),
              "Substation North,Relay 7,1999\r\n" + common + "BINARY\r\n1\r\n");

    const auto b32 = Split(Configuration(m_record, {Revision::Rev2013, DataFormat::Binary32, false}), "\r\n");
    EXPECT_EQ(b32[2], "1,VA,A,,V,9.313225750491594e-10,0,0,-2147483647,2147483647,1,1,S");
    EXPECT_EQ(b32[3], "2,IA,A,,A,1,0,0,-2147483647,2147483647,1,1,S");
    const auto f32 = Split(Configuration(m_record, {Revision::Rev2013, DataFormat::Float32, false}), "\r\n");
    EXPECT_EQ(f32[2], "1,VA,A,,V,1,0,0,-2,1,1,1,S");  // a = 1, min and max the channel's own
    EXPECT_EQ(f32[11], "FLOAT32");
}

TEST_F(ComtradeTest, DataFilesByteForByte) {
    EXPECT_EQ(Written({}),
              "1,0,16384,0,0,1\r\n"
              "2,250,-32767,0,1,1\r\n"
              "3,500,8192,0,1,0\r\n"
              "4,750,0,0,0,0\r\n");
    // n, µs, VA, IA, then the status word with TRIP in bit 0 and START in bit 1.
    EXPECT_EQ(Hex(Written({Revision::Rev1999, DataFormat::Binary, false})),
              "01000000" "00000000" "0040" "0000" "0200"
              "02000000" "fa000000" "0180" "0000" "0300"
              "03000000" "f4010000" "0020" "0000" "0100"
              "04000000" "ee020000" "0000" "0000" "0000");
    EXPECT_EQ(Hex(Written({Revision::Rev2013, DataFormat::Binary32, false}).substr(0, 30)),
              "01000000" "00000000" "00000040" "00000000" "0200" "02000000" "fa000000" "01000080");
    EXPECT_EQ(Hex(Written({Revision::Rev2013, DataFormat::Float32, false}).substr(0, 30)),
              "01000000" "00000000" "0000803f" "00000000" "0200" "02000000" "fa000000" "000000c0");

    // Halves round away from 0 (a = 1 here), time stamps of 2.5 µs steps as well; 17
    // channels take two status words.
    const double halves[] = {2.5, -2.5, 32767};
    std::vector<std::vector<std::uint8_t>> states(17, {0, 0, 0});
    states[0][0] = states[5][0] = states[16][0] = 1;
    m_record = {};
    m_record.sampleRate = 400000;
    m_record.samples = 3;
    m_record.analog = {{"X", "", "V", halves}};
    for (std::size_t k = 0; k < states.size(); ++k) m_record.digital.push_back({"D" + std::to_string(k), states[k]});
    EXPECT_EQ(Hex(Written({Revision::Rev2013, DataFormat::Binary, false}).substr(0, 14)),
              "01000000" "00000000" "0300" "2100" "0100");
    const auto rows = Split(Written({}), "\r\n");
    EXPECT_EQ(rows[0], "1,0,3,1,0,0,0,0,1,0,0,0,0,0,0,0,0,0,0,1");
    EXPECT_EQ(rows[1].substr(0, 8), "2,3,-3,0");
    EXPECT_EQ(rows[2].substr(0, 11), "3,5,32767,0");
}

TEST_F(ComtradeTest, SingleFileHoldsTheSectionsInOrder) {
    for (const DataFormat format : {DataFormat::Ascii, DataFormat::Float32}) {
        const WriteOptions single{Revision::Rev2013, format, true};
        ASSERT_EQ(Write(m_record, m_dir / "s", single), std::vector<fs::path>{m_dir / "s.cff"});
        const std::string dat = Written({Revision::Rev2013, format, false});
        const std::string datHead =
            format == DataFormat::Ascii ? "DAT ASCII" : "DAT BINARY: " + std::to_string(dat.size());
        EXPECT_EQ(Contents(m_dir / "s.cff"), "--- file type: CFG ---\r\n" + Configuration(m_record, single) +
                                                 "--- file type: INF ---\r\n--- file type: HDR ---\r\n" +
                                                 "--- file type: " + datHead + " ---\r\n" + dat);
    }
    EXPECT_EQ(Files(), (std::vector<std::string>{"r.cfg", "r.dat", "s.cff"}));
}

TEST_F(ComtradeTest, EveryFormatGivesTheSameValuesWithinItsResolution) {
    constexpr std::size_t n = 70000;  // more than the writer's buffer of 1 MiB holds, in every format
    std::vector<double> u(n), i(n), dc(n, -7.25);
    std::vector<std::uint8_t> trip(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double t = static_cast<double>(k) / 4000;
        u[k] = 100 * std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * 50 * t + 0.3);
        i[k] = 1e-3 * std::cos(2 * std::numbers::pi * 50 * t) + (k > 1000 ? 25 * std::exp(-(t - 0.25) * 20) : 0);
        trip[k] = k % 3000 > 1200 ? 1 : 0;
    }
    m_record = {};
    m_record.samples = n;
    m_record.analog = {{"U", "A", "V", u}, {"I", "A", "A", i}, {"DC", "", "V", dc}};
    m_record.digital = {{"TRIP", trip}};
    for (const DataFormat format : {DataFormat::Ascii, DataFormat::Binary, DataFormat::Binary32, DataFormat::Float32}) {
        SCOPED_TRACE(std::string(Name(format)));
        Write(m_record, m_dir / "r", {Revision::Rev2013, format, false});
        const auto read = Decode(m_dir / "r.cfg", m_dir / "r.dat");
        ASSERT_EQ(read.size(), 4u);
        for (std::size_t c = 0; c < 3; ++c) {
            const auto& v = m_record.analog[c].samples;
            const double peak = std::fabs(
                *std::max_element(v.begin(), v.end(), [](double x, double y) { return std::fabs(x) < std::fabs(y); }));
            // Half a step of the integer scale, with room for the rounding of a·x; or the float's.
            const double step = format == DataFormat::Binary32 ? peak / 2147483647 : peak / 32767;
            for (std::size_t k = 0; k < n; ++k)
                ASSERT_NEAR(read[c][k], v[k],
                            format == DataFormat::Float32 ? std::fabs(v[k]) * FLT_EPSILON / 2 : step * (0.5 + 1e-6))
                    << "channel " << c << " sample " << k;
        }
        EXPECT_TRUE(std::equal(trip.begin(), trip.end(), read[3].begin(), read[3].end()));
    }
}

TEST_F(ComtradeTest, BadRecordsAreRefusedBeforeAnyFileIsMade) {
    const auto refused = [&](const WriteOptions& o, const char* words) {
        try {
            Write(m_record, m_dir / "r", o);
            ADD_FAILURE() << "no error for " << words;
        } catch (const kv::relay::Error& e) {
            EXPECT_NE(std::string(e.what()).find(words), std::string::npos) << e.what();
        }
    };
    refused({Revision::Rev1999, DataFormat::Float32, false}, "format: FLOAT32 needs revision 2013, got 1999");
    refused({Revision::Rev1999, DataFormat::Binary32, false}, "format: BINARY32 needs revision 2013");
    refused({Revision::Rev1999, DataFormat::Ascii, true}, "singleFile: a .cff file needs revision 2013");

    const RecordToWrite good = m_record;
    m_record.station = "North,South";
    refused({}, "station: must not contain a comma, CR or LF, got 'North,South'");
    m_record = good;
    m_record.analog[1].name = "";
    refused({}, "analog channel 2 name: must not be empty");
    m_record = good;
    m_record.analog[1].samples = m_record.analog[1].samples.first(3);
    refused({}, "analog channel 2 (IA): must have as many samples as the record (4), got 3");
    m_record = good;
    m_record.sampleRate = -4000;
    refused({}, "sampleRate: must be a positive finite number, got -4000");
    m_record = good;
    m_ia[2] = std::nan("");
    refused({}, "analog channel 2 (IA), samples[2]: must be finite, got nan");
    m_ia[2] = 1e39;  // an integer scale takes it, a float does not
    refused({Revision::Rev2013, DataFormat::Float32, false}, "(IA), samples[2]: must lie within the range of FLOAT32");
    m_trip[3] = 2;
    refused({Revision::Rev2013, DataFormat::Binary32, false},
            "digital channel 1 (TRIP), samples[3]: must be 0 or 1, got 2");
    EXPECT_EQ(Files(), std::vector<std::string>{});

    // 5000 samples at 1/s end beyond the 2^32 µs of a binary time stamp, within ASCII's ten digits.
    m_trip[3] = 0;
    m_record.sampleRate = 1;
    m_record.samples = 5000;
    m_record.analog = {};
    m_record.digital = {};
    refused({Revision::Rev2013, DataFormat::Binary, false},
            "samples: the last of 5000 samples at 1 per second lies at 4999000000 µs");
    EXPECT_NO_THROW(Write(m_record, m_dir / "r"));

    EXPECT_EQ(ParseDataFormat("binary32"), DataFormat::Binary32);
    EXPECT_THROW(ParseDataFormat("BINARY16"), kv::relay::Error);
    EXPECT_THROW(ParseRevision("2001"), kv::relay::Error);
}

TEST_F(ComtradeTest, AFailedWriteLeavesNothingBehind) {
    // The .dat cannot be renamed onto a directory, even by root: the .cfg, written first,
    // must not appear, nor any temporary.
    fs::create_directory(m_dir / "r.dat");
    try {
        Write(m_record, m_dir / "r");
        ADD_FAILURE() << "no error";
    } catch (const kv::relay::Error& e) {
        EXPECT_EQ(e.what(), (m_dir / "r.dat").string() + ": cannot rename the temporary file into place: " +
                                std::strerror(EISDIR));
    }
    fs::create_directory(m_dir / "s.cff");
    EXPECT_THROW(Write(m_record, m_dir / "s", {Revision::Rev2013, DataFormat::Binary, true}), kv::relay::Error);
    EXPECT_EQ(Files(), (std::vector<std::string>{"r.dat", "s.cff"}));

    try {
        Write(m_record, m_dir / "missing" / "r");
        ADD_FAILURE() << "no error";
    } catch (const kv::relay::Error& e) {
        const std::string message = e.what();
        EXPECT_EQ(message.rfind((m_dir / "missing" / "r.cfg").string() + ": cannot create the temporary file", 0), 0u);
        EXPECT_NE(message.find(std::strerror(ENOENT)), std::string::npos) << message;
    }
}

}  // namespace
