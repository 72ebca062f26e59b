#include <gtest/gtest.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <fstream>
#include <numbers>

#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Error.h"

namespace {

namespace fs = std::filesystem;
using namespace kv::relay::comtrade;
using namespace std::chrono_literals;

std::span<const std::uint8_t> Bytes(std::string_view s) {
    return {reinterpret_cast<const std::uint8_t*>(s.data()), s.size()};
}

Record FromText(std::string_view cfg, std::string_view dat, Values values = Values::AsRecorded) {
    return ReadConfigurationAndData(cfg, Bytes(dat), "rec", values);
}

template <class Body>
std::string ErrorOf(Body body) {
    try {
        body();
    } catch (const kv::relay::Error& e) {
        return e.what();
    }
    return "no error";
}

void Put(const fs::path& path, std::string_view bytes) { std::ofstream(path, std::ios::binary) << bytes; }

Time At(int y, unsigned m, unsigned d) {
    return Time(std::chrono::sys_days(std::chrono::year(y) / std::chrono::month(m) / std::chrono::day(d)));
}

// Little-endian fields of a binary record.
std::string Le(std::uint32_t v, int bytes) {
    std::string s;
    for (int k = 0; k < bytes; ++k) s += static_cast<char>((v >> (8 * k)) & 0xFF);
    return s;
}

class ComtradeReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        m_dir = fs::temp_directory_path() / ("kv_comtrade_reader_" + std::to_string(::getpid()) + "_" + test);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }
    fs::path m_dir;
};

TEST_F(ComtradeReaderTest, WhatTheWriterWritesReadsBackInEveryFormatAndRevision) {
    constexpr std::size_t n = 1200;
    constexpr double rate = 4800;
    std::vector<double> u(n), i(n);
    std::vector<std::uint8_t> trip(n), start(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double t = static_cast<double>(k) / rate;
        u[k] = 100 * std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * 50 * t + 0.3);
        i[k] = 5 * std::cos(2 * std::numbers::pi * 50 * t) - 2;
        trip[k] = k % 300 > 120;
        start[k] = k % 7 == 0;
    }
    RecordToWrite w;
    w.station = "North";
    w.device = "Relay 7";
    w.lineFrequency = 50;
    w.sampleRate = rate;
    w.samples = n;
    w.start = At(2026, 11, 23) + 10h + 123456us;
    w.trigger = w.start + 62500us;
    w.analog = {{"UA", "A", "V", u}, {"IA", "A", "A", i}};
    // 17 channels take two status words.
    std::vector<DigitalChannel> digital(17, {"X", start, 0});
    digital[0] = {"TRIP", trip, 1};
    w.digital = digital;

    const WriteOptions options[] = {
        {Revision::Rev1999, DataFormat::Ascii, false},   {Revision::Rev1999, DataFormat::Binary, false},
        {Revision::Rev2013, DataFormat::Ascii, false},   {Revision::Rev2013, DataFormat::Binary32, false},
        {Revision::Rev2013, DataFormat::Float32, false}, {Revision::Rev2013, DataFormat::Ascii, true},
        {Revision::Rev2013, DataFormat::Binary, true},   {Revision::Rev2013, DataFormat::Float32, true}};
    for (const WriteOptions& o : options) {
        SCOPED_TRACE(std::string(Name(o.format)) + (o.singleFile ? " .cff " : " ") +
                     std::to_string(static_cast<int>(o.revision)));
        const auto paths = Write(w, m_dir / "r", o);
        const Record r = Read(paths.back());  // the .dat, or the .cff
        EXPECT_EQ(r.configuration, paths.front());
        EXPECT_EQ(r.revision, static_cast<int>(o.revision));
        EXPECT_EQ(r.format, o.format);
        EXPECT_EQ(r.station, "North");
        EXPECT_EQ(r.device, "Relay 7");
        EXPECT_EQ(r.lineFrequency, 50);
        ASSERT_EQ(r.rates.size(), 1u);
        EXPECT_EQ(r.rates[0].rate, rate);
        EXPECT_EQ(r.rates[0].lastSample, n);
        EXPECT_EQ(r.start, w.start);
        EXPECT_EQ(r.TriggerOffset(), 0.0625);
        ASSERT_EQ(r.analog.size(), 2u);
        ASSERT_EQ(r.digital.size(), 17u);
        EXPECT_EQ(r.analog[1].name, "IA");
        EXPECT_EQ(r.analog[1].unit, "A");
        EXPECT_EQ(r.digital[0].name, "TRIP");
        EXPECT_EQ(r.digital[0].normal, 1);
        ASSERT_EQ(r.samples, n);
        for (std::size_t k = 0; k < n; ++k) ASSERT_EQ(r.times[k], static_cast<double>(k) / rate) << k;
        for (std::size_t c = 0; c < 2; ++c) {
            const auto& v = w.analog[c].samples;
            const double a = r.analog[c].a;
            for (std::size_t k = 0; k < n; ++k)
                ASSERT_NEAR(r.Analog(c)[k], v[k],
                            o.format == DataFormat::Float32 ? std::fabs(v[k]) * FLT_EPSILON / 2 : a * (0.5 + 1e-6))
                    << c << " " << k;
        }
        for (std::size_t d = 0; d < 17; ++d)
            ASSERT_TRUE(std::equal(r.Digital(d).begin(), r.Digital(d).end(), w.digital[d].samples.begin())) << d;
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
}

TEST_F(ComtradeReaderTest, SeveralRatesOddWhitespaceEmptyTimestampsAndTrailingCtrlZ) {
    const Record r = FromText(
        "North, R7 ,2013\n2,1A,1D\n 1, U ,A,,kV, 0.5 ,+1,0,-99,99,110,0.1,P\n1,K1,,,0\n50\n2\n"
        "1000,4\n500,6\n01/02/2020,00:00:00\n01/02/2020,00:00:00.004\nascii\n1\n0,0\nF,3\n",
        "1,0,10,0\r\n2, , -4 ,1\r\n3,,6.5e1,1 \r\n 4\t,,99999,0\n5,0,0,0\n6,0,1,1\n\r\n\x1A");
    EXPECT_EQ(r.device, "R7");
    EXPECT_EQ(r.analog[0].name, "U");
    EXPECT_EQ(r.analog[0].ps, 'P');
    EXPECT_EQ(r.format, DataFormat::Ascii);
    EXPECT_EQ(r.start, At(2020, 2, 1));
    EXPECT_EQ(r.TriggerOffset(), 0.004);
    EXPECT_EQ(r.times, (std::vector<double>{0, 0.001, 0.002, 0.003, 0.004, 0.004 + 1.0 / 500}));
    ASSERT_EQ(r.values.size(), 6u);
    EXPECT_EQ(r.values[0], 6);
    EXPECT_EQ(r.values[1], -1);
    EXPECT_EQ(r.values[2], 33.5);
    EXPECT_TRUE(std::isnan(r.values[3]));
    EXPECT_EQ(r.states, (std::vector<std::uint8_t>{0, 1, 1, 0, 0, 1}));
}

TEST_F(ComtradeReaderTest, WithoutARateTheTimestampsAndTimemultGiveTheTimes) {
    const std::string head = "S,D,1999\n1,1A,0D\n1,I,,,A,2,0,0,-32767,32767,1,1,S\n60\n0\n0,3\n";
    const std::string stamps = "01/01/2021,00:00:00\n01/01/2021,00:00:00\n";
    const std::string binary = Le(1, 4) + Le(1000, 4) + Le(7, 2) + Le(2, 4) + Le(1250, 4) + Le(0x8000, 2) + Le(3, 4) +
                               Le(3000, 4) + Le(0xFFFF, 2);
    const Record b = FromText(head + stamps + "BINARY\n0.5\n", binary);
    EXPECT_TRUE(b.rates.empty());
    EXPECT_EQ(b.times, (std::vector<double>{0, 250 * 0.5 / 1e6, 2000 * 0.5 / 1e6}));
    EXPECT_EQ(b.values[0], 14);
    EXPECT_TRUE(std::isnan(b.values[1]));  // 0x8000: missing
    EXPECT_EQ(b.values[2], -2);

    // nrates 0 with no 0,endsamp line: the data tells the count. 0x80000000 is missing in BINARY32.
    const std::string b32 = Le(1, 4) + Le(5, 4) + Le(0x80000000, 4) + Le(2, 4) + Le(9, 4) + Le(0xFFFFFFFE, 4);
    const Record c = FromText("S,D,2013\n1,1A,0D\n1,I,,,A,2,0,0,-1,1,1,1,S\n60\n0\n" + stamps + "Binary32\n1\n", b32);
    EXPECT_EQ(c.times, (std::vector<double>{0, 4e-6}));
    EXPECT_TRUE(std::isnan(c.values[0]));
    EXPECT_EQ(c.values[1], -4);

    EXPECT_EQ(ErrorOf([&] { FromText(head + stamps + "ASCII\n", "1,0,1\n2,,2\n3,9,3\n"); }),
              "rec.dat:2: record 2, field timestamp: missing, and the configuration gives no sample rate");
    EXPECT_EQ(ErrorOf([&] {
                  FromText(head + stamps + "BINARY\n",
                           binary.substr(0, 10) + Le(2, 4) + Le(~0u, 4) + Le(1, 2) + binary.substr(20));
              }),
              "rec.dat: record 2, field timestamp: missing, and the configuration gives no sample rate");
}

TEST_F(ComtradeReaderTest, RevisionOf1991AndDatesToTheMicrosecond) {
    // No year on line 1, ten fields per analog channel, three per digital one, mm/dd/yy.
    const Record r = FromText(
        "Old Station,DFR\n2,1A,1D\n1,VA,A,,V,1,0,0,-32767,32767\n1,TRIP,1\n50\n1\n"
        "1200,2\n11/23/98,23:59:59.9999996\n01/02/03,10:00:00.1234565\nBINARY\n",
        Le(1, 4) + Le(0, 4) + Le(5, 2) + Le(0, 2) + Le(2, 4) + Le(833, 4) + Le(6, 2) + Le(1, 2));
    EXPECT_EQ(r.revision, 1991);
    EXPECT_EQ(r.station, "Old Station");
    EXPECT_EQ(r.start, At(1998, 11, 24));  // .9999996 rounds up across midnight
    EXPECT_EQ(r.trigger, At(2003, 1, 2) + 10h + 123457us);
    EXPECT_EQ(r.digital[0].normal, 1);
    EXPECT_EQ(r.values, (std::vector<double>{5, 6}));
    EXPECT_EQ(r.states, (std::vector<std::uint8_t>{0, 1}));

    // 2013 with nanoseconds, dd/mm/yyyy.
    const Record n = FromText(
        "S,D,2013\n0,0A,0D\n50\n1\n1000,1\n23/11/2026,10:00:00.000000499\n"
        "23/11/2026,10:00:00.0000005\nASCII\n1\n",
        "1,0\n");
    EXPECT_EQ(n.start, At(2026, 11, 23) + 10h);
    EXPECT_EQ(n.trigger, At(2026, 11, 23) + 10h + 1us);
}

TEST_F(ComtradeReaderTest, FilesAreFoundByStemInAnyLetterCase) {
    const std::string cfg =
        "S,D,1999\n1,1A,0D\n1,I,,,A,1,0,0,-9,9,1,1,S\n50\n1\n1000,2\n"
        "01/01/2021,00:00:00\n01/01/2021,00:00:00\nAscii\n1\n";
    Put(m_dir / "REC.CFG", cfg);
    Put(m_dir / "Rec.Dat", "1,0,1\n2,1000,2\n");
    Put(m_dir / "rec.HDR", "notes");
    const Record r = Read(m_dir / "REC.CFG");
    EXPECT_EQ(r.values, (std::vector<double>{1, 2}));
    EXPECT_EQ(r.header, "notes");
    EXPECT_EQ(Read(m_dir / "Rec.Dat").configuration, m_dir / "REC.CFG");

    // A combined file: sections in any letter case and order, INF and HDR with text.
    const std::string dat = Le(1, 4) + Le(0, 4) + Le(0xFFFE, 2) + Le(2, 4) + Le(1000, 4) + Le(3, 2);
    const std::string cff = "--- file type: CFG ---\r\n" + cfg.substr(0, cfg.find("Ascii")) +
                            "BINARY\n1\n--- File Type: HDR ---\nheader\n--- file type: inf ---\r\n[Public]\r\n"
                            "x=1\r\n--- file type: DAT binary: 20 ---\r\n" +
                            dat + "\x1A";
    Put(m_dir / "two.CFF", cff);
    const Record c = Read(m_dir / "two.CFF");
    EXPECT_EQ(c.values, (std::vector<double>{-2, 3}));
    EXPECT_EQ(c.information, "[Public]\r\nx=1\r\n");
    EXPECT_EQ(c.header, "header\n");
    EXPECT_EQ(ReadCombined(Bytes(cff)).values, c.values);

    EXPECT_EQ(ErrorOf([&] { Read(m_dir / "none.cfg"); }),
              (m_dir / "none.cfg").string() + ": no none.dat beside it, in any letter case");
    EXPECT_EQ(ErrorOf([&] { Read(m_dir / "REC.txt"); }),
              (m_dir / "REC.txt").string() + ": not the name of a .cfg, .dat or .cff file");
}

TEST_F(ComtradeReaderTest, PrimaryAndSecondaryValuesByTheChannelsRatio) {
    const std::string cfg =
        "S,D,2013\n2,2A,0D\n1,U,,,V,2,1,0,-9,9,1000,100,S\n2,I,,,A,1,0,0,-9,9,400,1,P\n50\n1\n"
        "1000,1\n01/01/2021,00:00:00\n01/01/2021,00:00:00\nASCII\n1\n";
    EXPECT_EQ(FromText(cfg, "1,0,3,8\n").values, (std::vector<double>{7, 8}));
    EXPECT_EQ(FromText(cfg, "1,0,3,8\n", Values::Primary).values, (std::vector<double>{70, 8}));
    EXPECT_EQ(FromText(cfg, "1,0,3,8\n", Values::Secondary).values, (std::vector<double>{7, 0.02}));
    std::string zero = cfg;
    zero.replace(zero.find("400,1,P"), 7, "0,0,P");
    EXPECT_EQ(FromText(zero, "1,0,3,8\n").values[1], 8);  // a ratio of 0/0 matters only when used
    EXPECT_EQ(ErrorOf([&] { FromText(zero, "1,0,3,8\n", Values::Secondary); }),
              "rec.cfg:4: analog channel 2, fields primary and secondary: 0 and 0 give no ratio to convert with");
}

TEST_F(ComtradeReaderTest, MalformedInputNamesTheFileTheLineAndTheField) {
    const std::string cfg =
        "S,D,1999\n2,1A,1D\n1,U,,,V,1,0,0,-9,9,1,1,S\n1,K,,,0\n50\n1\n1000,3\n"
        "01/01/2021,00:00:00\n01/01/2021,00:00:00\nASCII\n1\n";
    const std::string dat = "1,0,1,0\n2,1,2,1\n3,2,3,0\n";
    const auto with = [&](std::string_view from, std::string_view to) {
        std::string s = cfg;
        return s.replace(s.find(from), from.size(), to);
    };
    const auto cfgError = [&](std::string_view from, std::string_view to) {
        return ErrorOf([&] { FromText(with(from, to), dat); });
    };
    EXPECT_EQ(cfgError("V,1,0", "V,x,0"), "rec.cfg:3: analog channel 1, field a: 'x' is not a number");
    EXPECT_EQ(
        cfgError("2,1A,1D", "3,2A,1D"),
        "rec.cfg:4: analog channel 2: 5 fields where 13 (or 10) belong; line 2 gives 2 analog and 1 digital channels");
    EXPECT_EQ(
        cfgError("2,1A,1D", "2,0A,2D"),
        "rec.cfg:3: digital channel 1: 13 fields where 5 (or 3) belong; line 2 gives 0 analog and 2 digital channels");
    EXPECT_EQ(cfgError("2,1A", "3,1A"), "rec.cfg:2: field TT: 3 is not ##A + ##D = 1 + 1");
    EXPECT_EQ(cfgError(",1999", ",2001"), "rec.cfg:1: field rev_year: '2001' is not 1991, 1999 or 2013");
    EXPECT_EQ(cfgError("1000,3", "1000,3\n01/01/2021"), "rec.cfg:8: start: expected date,time, got 1 fields");
    EXPECT_EQ(cfgError("01/01/2021,00:00:00\n01", "31/02/2021,00:00:00\n01"),
              "rec.cfg:8: start, field date: '31/02/2021' is not a date dd/mm/yyyy");
    EXPECT_EQ(cfgError("ASCII", "TEXT"), "rec.cfg:10: field ft: 'TEXT' is not ASCII, BINARY, BINARY32 or FLOAT32");
    EXPECT_EQ(cfgError("1000,3", "1000,0"),
              "rec.cfg:7: sample rate 1, field endsamp: '0' does not come after the previous rate's last sample 0");
    EXPECT_EQ(ErrorOf([&] { FromText(cfg.substr(0, cfg.find("50")), dat); }),
              "rec.cfg:5: the file ends where the line frequency (lf) belongs");

    const auto datError = [&](std::string_view text) { return ErrorOf([&] { FromText(cfg, text); }); };
    EXPECT_EQ(datError("1,0,1,0\n2,1,x,1\n3,2,3,0\n"), "rec.dat:2: record 2, analog channel 1: 'x' is not a number");
    EXPECT_EQ(datError("1,0,1,0\n\n2,1,1,2\n3,2,3,0\n"), "rec.dat:3: record 2, digital channel 1: '2' is not 0 or 1");
    EXPECT_EQ(datError("1,0,1\n2,1,2,1\n3,2,3,0\n"),
              "rec.dat:1: record 1 ends before its digital channel 1: a record has 4 fields");
    EXPECT_EQ(datError("1,0,1,0,\n2,1,2,1\n3,2,3,0\n"), "rec.dat:1: record 1 has more than its 4 fields");
    EXPECT_EQ(datError("1,0,1,0\n2,1,2,1\n"),
              "rec.dat: holds 2 records, the configuration gives 3 (rec.cfg:7, endsamp)");
    // A sample count far beyond the data is refused before anything is allocated for it.
    EXPECT_EQ(ErrorOf([&] { FromText(with("1000,3", "1000,9999999999"), dat); }),
              "rec.dat: holds 3 records, the configuration gives 9999999999 (rec.cfg:7, endsamp)");

    const std::string binary = with("ASCII", "BINARY");
    const std::string record = Le(1, 4) + Le(0, 4) + Le(1, 2) + Le(1, 2);
    EXPECT_EQ(ErrorOf([&] { FromText(binary, record + record + record.substr(0, 7)); }),
              "rec.dat: record 3 is cut short: 7 of its 12 bytes");
    EXPECT_EQ(ErrorOf([&] { ReadCombined(Bytes("--- file type: CFG ---\n" + cfg)); }), "record.cff: no DAT section");
    EXPECT_EQ(ErrorOf([&] {
                  ReadCombined(Bytes("--- file type: CFG ---\n" + cfg + "--- file type: DAT BINARY: 12 ---\n"), "r");
              }),
              "r.cff:13: the DAT section is binary, the configuration's ft says ASCII");
    EXPECT_EQ(ErrorOf([&] { ReadCombined(Bytes("CFG\n"), "r"); }),
              "r.cff:1: expected a section header such as '--- file type: CFG ---'");
}

TEST_F(ComtradeReaderTest, TextAsUtf8KeepsUtf8AndDecodesWindows1251) {
    EXPECT_EQ(TextAsUtf8("Подстанция Ω €"), "Подстанция Ω €");
    EXPECT_EQ(TextAsUtf8("\xCF\xF1-110 \xB9\x33 \xA8\xB8 \x88\x98"), "Пс-110 №3 Ёё €\uFFFD");
    // Overlong forms and surrogates are not UTF-8.
    EXPECT_EQ(TextAsUtf8("\xC0\x80"), "АЂ");
    EXPECT_EQ(TextAsUtf8("\xED\xA0\x80"), "н\u00A0Ђ");
}

}  // namespace
