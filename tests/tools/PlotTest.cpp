#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "Cli.h"
#include "Plot.h"

namespace fs = std::filesystem;
using kvdata::PlacedText;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// A little wider than the real font, so that the layout leaves room to spare.
double Measure(const std::string& text, double size, bool bold) {
    double characters = 0;
    for (char c : text) characters += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return characters * size * (bold ? 0.7 : 0.64);
}

kvdata::VectorDiagram Diagram(std::vector<kvdata::Phasor> u, std::vector<kvdata::Phasor> i) {
    kvdata::VectorDiagram d;
    d.title = "FaultAB (code 6)";
    d.subtitle = "SetUIFaza: U = 1000000000000000000000.00 V, I = 5.00 A, phi = 75.0 deg; result 0, done";
    for (std::size_t k = 0; k < 3; ++k) {
        d.u[k] = u[k];
        d.i[k] = i[k];
    }
    d.notes = {"Symmetrical components", "U1 = 100000000000000000000000000000.000 V at 45.0 deg",
               "I0 = 0.000 A at 90.0 deg"};
    return d;
}

TEST(PlotLayoutTest, LabelsOfNastyDiagramsNeitherOverlapNorLeaveTheCanvas) {
    const std::vector<kvdata::VectorDiagram> diagrams = {
        // A phase-to-phase fault: C's current zero, the others short.
        Diagram({{32.5, 12.5}, {32.5, 317.5}, {57.7, 165}}, {{5, 0}, {5, 180}, {0, 90}}),
        Diagram({{1, 75}, {1, 315}, {1, 195}}, {{0.01, 0}, {0.01, 240}, {0.01, 120}}),
        Diagram({{32.7, 163}, {32.7, 107}, {57.7, 315}}, {{0, 0}, {0, 0}, {0, 0}}),
        Diagram({{1e12, 0}, {1e300, 120}, {1e-300, 240}}, {{-1e15, 0}, {1e-15, 0}, {1e15, 0}}),
        // Everything at one angle, pointing at the 0 degree mark.
        Diagram({{30, 0}, {30, 0}, {30, 0}}, {{5, 0}, {5, 0}, {5, 0}}),
        Diagram({{kInf, 0}, {kNan, 90}, {30, kNan}}, {{-kInf, 0}, {5, 1e300}, {-5, -1e300}}),
        Diagram({{0, 0}, {0, 0}, {0, 0}}, {{0, 0}, {0, 0}, {0, 0}}),
    };
    for (std::size_t n = 0; n < diagrams.size(); ++n) {
        const kvdata::DiagramLayout layout = kvdata::LayOutVectorDiagram(diagrams[n], Measure);
        const kvdata::Box canvas{0, 0, layout.width, layout.height};
        int phasorLabels = 0;
        for (std::size_t a = 0; a < layout.texts.size(); ++a) {
            const PlacedText& t = layout.texts[a];
            phasorLabels += t.kind == PlacedText::Kind::Phasor;
            EXPECT_TRUE(t.box.Inside(canvas)) << n << ": " << t.text;
            if (t.kind == PlacedText::Kind::Phasor && !t.leader) {
                const double dx = std::max({t.box.x0 - t.anchorX, 0.0, t.anchorX - t.box.x1});
                const double dy = std::max({t.box.y0 - t.anchorY, 0.0, t.anchorY - t.box.y1});
                EXPECT_LE(std::hypot(dx, dy), 70) << n << ": " << t.text << " strays from its arrow";
            }
            for (std::size_t b = a + 1; b < layout.texts.size(); ++b)
                EXPECT_FALSE(t.box.Overlaps(layout.texts[b].box))
                    << n << ": " << t.text << " / " << layout.texts[b].text;
        }
        EXPECT_EQ(phasorLabels, 6) << n;  // zero and unknown vectors are labelled too
        for (const kvdata::PlacedArrow& arrow : layout.arrows)
            EXPECT_LE(arrow.length, layout.radius) << n;
    }
}

TEST(PlotLayoutTest, CurrentAtItsVoltagesAngleIsDrawnOverItInAContrastingStyle) {
    const kvdata::DiagramLayout layout =
        kvdata::LayOutVectorDiagram(Diagram({{30, 0}, {30, 240}, {30, 120}}, {{5, 0}, {5, 240}, {5, 120}}), Measure);
    ASSERT_EQ(layout.arrows.size(), 6u);
    for (std::size_t k = 0; k < 3; ++k) {
        const kvdata::PlacedArrow& u = layout.arrows[k];
        const kvdata::PlacedArrow& i = layout.arrows[3 + k];  // drawn later, so on top
        EXPECT_FALSE(u.dashed);
        EXPECT_TRUE(i.dashed);
        EXPECT_DOUBLE_EQ(i.angle, u.angle);
        EXPECT_GT(i.halo, u.width) << "the current's outline must show beside the voltage's line";
        EXPECT_LT(i.head, u.head);
        const double contrast = std::fabs(i.colour.r - u.colour.r) + std::fabs(i.colour.g - u.colour.g) +
                                std::fabs(i.colour.b - u.colour.b);
        EXPECT_GT(contrast, 0.25) << k;
    }
}

TEST(PlotLayoutTest, NumbersStayShortWhateverTheirSize) {
    EXPECT_EQ(kvdata::CompactNumber(57.7, 2), "57.70");
    EXPECT_EQ(kvdata::CompactNumber(0, 3), "0.000");
    EXPECT_EQ(kvdata::CompactNumber(1.234e12, 2), "1.23e+12");
    EXPECT_EQ(kvdata::CompactNumber(-1e300, 2), "-1.00e+300");
    EXPECT_EQ(kvdata::CompactNumber(1e-300, 3), "1.00e-300");  // not a misleading 0.000
    EXPECT_EQ(kvdata::CompactNumber(-kInf, 3), "-inf");
    EXPECT_EQ(kvdata::CompactNumber(kNan, 3), "nan");
    EXPECT_EQ(kvdata::CompactNumbers("FaultU2AB: U = 1000000000000.00 V, I = 999999.5 A, code 36"),
              "FaultU2AB: U = 1.00e+12 V, I = 999999.5 A, code 36");
}

TEST(PlotLayoutTest, AmplitudeAxisIsRoundFiniteAndCoversTheLargest) {
    const kvdata::AmplitudeAxis zero = kvdata::LayOutAmplitudeAxis(0);
    EXPECT_EQ(zero.top, 1);
    EXPECT_GT(zero.ticks, 0);
    const kvdata::AmplitudeAxis seven = kvdata::LayOutAmplitudeAxis(7);
    EXPECT_EQ(seven.step, 2);
    EXPECT_EQ(seven.top, 8);
    for (double largest : {1e-300, 5e-324, 0.07, 1e300, 1.7e308, DBL_MAX}) {
        const kvdata::AmplitudeAxis axis = kvdata::LayOutAmplitudeAxis(largest);
        EXPECT_TRUE(std::isfinite(axis.top)) << largest;
        EXPECT_GE(axis.top, largest) << largest;
        EXPECT_GT(axis.step, 0) << largest;
        EXPECT_GE(axis.ticks, 1) << largest;
        EXPECT_LE(axis.ticks, 10) << largest;
    }
}

// Z and the loops in order (AN, BN, CN, AB, BC, CA), absent where not given.
kvdata::RxDiagram Rx(double r, double x, std::vector<kvdata::RxPoint> loops) {
    kvdata::RxDiagram d;
    d.title = "R-X plane";
    d.faultR = r;
    d.faultX = x;
    for (std::size_t k = 0; k < loops.size(); ++k) d.loops[k] = loops[k];
    static const char* const kNames[] = {"AN", "BN", "CN", "AB", "BC", "CA"};
    for (std::size_t k = 0; k < 6; ++k) d.loops[k].label = kNames[k];
    return d;
}
constexpr kvdata::Box kRxArea{1000, 0, 1640, 640};

kvdata::RxDiagram FarLoops() {
    return Rx(1.294, 4.830, {{"", true, 1.294, 4.830}, {"", true, 40.1, -12.3}, {"", true, -35.2, 18.9},
                             {}, {"", true, 82.4, -17.5}, {"", true, -20.5, 30.2}});
}

TEST(RxLayoutTest, LabelsOfNastyDiagramsNeitherOverlapNorHideMarkersNorLeaveTheArea) {
    const kvdata::RxPoint atZ{"", true, 1.294, 4.830};
    const std::vector<kvdata::RxDiagram> diagrams = {
        FarLoops(),
        Rx(1.294, 4.830, {atZ, atZ, atZ, atZ, atZ, atZ}),  // three-phase: all six on Z
        Rx(0, 0, {{"", true, 0, 0}, {"", true, 30.5, 10.2}, {"", true, -20.1, 15.3}}),  // at the relay
        Rx(0, 0, {}),
        Rx(1e300, 1e300, {{"", true, 1e300, 0}, {"", true, kNan, 3}, {"", true, kInf, -kInf}, {"", true, 1e-300, 0},
                          {"", true, -DBL_MAX, DBL_MAX}, {"", true, 0, -1e300}}),
        Rx(1e300, 0, {{"", true, 1e300, 0}, {"", true, 5, 5}}),
        Rx(DBL_MAX, 0, {{"", true, -DBL_MAX, 0}, {"", true, 0, DBL_MAX}}),
        Rx(kNan, kInf, {atZ, {"", true, kNan, kNan}}),
        Rx(1e-300, 5e-324, {{"", true, 5e-324, 0}, {"", true, 2e-300, 1e-300}}),
        // A chain of loops a few points apart, and far ones at one angle with different values.
        Rx(1.294, 4.830, {atZ, {"", true, 1.32, 4.86}, {"", true, 1.35, 4.89}, {"", true, 84.2, -17.5},
                          {"", true, 84.3, -17.5}, {"", true, 168.4, -35}}),
    };
    for (std::size_t n = 0; n < diagrams.size(); ++n) {
        const kvdata::RxLayout layout = kvdata::LayOutRxDiagram(diagrams[n], Measure, kRxArea);
        EXPECT_TRUE(std::isfinite(layout.pointsPerOhm) && layout.pointsPerOhm > 0) << n;
        std::string labels;
        for (std::size_t a = 0; a < layout.texts.size(); ++a) {
            const PlacedText& t = layout.texts[a];
            EXPECT_TRUE(t.box.Inside(kRxArea)) << n << ": " << t.text;
            for (std::size_t b = a + 1; b < layout.texts.size(); ++b)
                EXPECT_FALSE(t.box.Overlaps(layout.texts[b].box))
                    << n << ": " << t.text << " / " << layout.texts[b].text;
            if (t.kind != PlacedText::Kind::Phasor) continue;
            labels += t.text + ", ";
            EXPECT_TRUE(t.box.Inside(layout.frame)) << n << ": " << t.text;
            for (const kvdata::RxMarker& m : layout.markers)
                EXPECT_FALSE(t.box.Overlaps(m.box)) << n << ": " << t.text << " over a marker";
        }
        EXPECT_NE(labels.find("Z ="), std::string::npos) << n;
        for (const kvdata::RxPoint& p : diagrams[n].loops)
            if (p.present && !std::isnan(p.r) && !std::isnan(p.x)) {
                EXPECT_NE(labels.find(p.label), std::string::npos) << n << ": " << p.label << " unlabelled";
            }
    }
}

TEST(RxLayoutTest, FarLoopsAreArrowsAtTheEdgeZStaysLargeAndCoincidentLoopsShareALabel) {
    const kvdata::RxLayout far = kvdata::LayOutRxDiagram(FarLoops(), Measure, kRxArea);
    const kvdata::Box& f = far.frame;
    ASSERT_TRUE(far.zShown);
    const double zLength = std::hypot(far.zTipX - far.originX, far.zTipY - far.originY);
    EXPECT_GT(zLength, 0.5 * std::min(f.x1 - f.x0, f.y1 - f.y0));
    EXPECT_NEAR(std::atan2(far.originY - far.zTipY, far.zTipX - far.originX) * 180 / std::numbers::pi, 75, 0.01);
    const double mantissa = far.step / std::pow(10.0, std::floor(std::log10(far.step)));
    EXPECT_TRUE(std::fabs(mantissa - 1) < 1e-9 || std::fabs(mantissa - 2) < 1e-9 || std::fabs(mantissa - 5) < 1e-9)
        << far.step;

    // BN, CN, BC and CA lie beyond the view; each arrow points the way its loop lies.
    ASSERT_EQ(far.arrows.size(), 4u);
    const kvdata::RxDiagram d = FarLoops();
    for (const kvdata::RxEdgeArrow& a : far.arrows) {
        ASSERT_GE(a.loop, 0);
        const kvdata::RxPoint& p = d.loops[a.loop];
        EXPECT_NEAR(std::atan2(a.tailY - a.tipY, a.tipX - a.tailX), std::atan2(p.x, p.r), 1e-9) << p.label;
        const double toEdge = std::min({a.tipX - f.x0, f.x1 - a.tipX, a.tipY - f.y0, f.y1 - a.tipY});
        EXPECT_TRUE(toEdge >= 0 && toEdge < 5) << p.label;
    }

    const kvdata::RxPoint atZ{"", true, 1.294, 4.830};
    const kvdata::RxLayout three =
        kvdata::LayOutRxDiagram(Rx(1.294, 4.830, {atZ, atZ, atZ, atZ, atZ, atZ}), Measure, kRxArea);
    std::vector<std::string> labels;
    for (const PlacedText& t : three.texts)
        if (t.kind == PlacedText::Kind::Phasor) labels.push_back(t.text);
    EXPECT_EQ(labels, (std::vector<std::string>{"Z = 5.00 \u03A9 \u222075.0\u00B0", "AN, BN, CN, AB, BC, CA"}));
}

// UA, UB, UC, IA, IB, IC: 50 Hz, each group's phases 120 degrees apart.
struct Waves {
    std::vector<std::vector<double>> analog;
    std::vector<std::vector<std::uint8_t>> digital;
    kvdata::WaveformChart chart;
};

Waves SixChannels(std::size_t samples, double rate) {
    Waves w;
    const char* const names[] = {"UA", "UB", "UC", "IA", "IB", "IC"};
    for (std::size_t c = 0; c < 6; ++c) {
        std::vector<double> v(samples);
        for (std::size_t n = 0; n < samples; ++n)
            v[n] =
                (c < 3 ? 81.6 : 7.1) *
                std::sin(2 * std::numbers::pi * (50 * static_cast<double>(n) / rate - static_cast<double>(c % 3) / 3));
        w.analog.push_back(std::move(v));
    }
    w.chart.title = "FaultAN";
    w.chart.rate = rate;
    for (std::size_t c = 0; c < 6; ++c) w.chart.analog.push_back({names[c], c < 3 ? "V" : "A", w.analog[c]});
    return w;
}

TEST(WaveformLayoutTest, CrowdedMarkerLabelsNeitherOverlapNorLeaveTheCanvas) {
    Waves w = SixChannels(1200, 4000);  // 0.3 s over about 1250 points
    std::vector<kvdata::WaveformChart::Marker> states = {
        {0, "prefault"}, {0.1, "fault"}, {0.1015, "trip"}, {0.103, "reclose"}, {0.16, "postfault"},
        {0.2997, "end of the record"}, {0.29975, "end"}, {kNan, "nan"}, {-1, "before"}, {9, "after"}, {0.12, ""}};
    for (int k = 0; k < 8; ++k) states.push_back({0.2 + k * 0.006, "reclose attempt number " + std::to_string(k)});
    std::vector<kvdata::WaveformChart::Marker> crowd;
    for (int k = 0; k < 300; ++k) crowd.push_back({std::fmod(k * 0.0137, 0.3), "state " + std::to_string(k)});
    for (const auto* markers : {&states, &crowd}) {
        w.chart.markers = *markers;
        const kvdata::WaveformLayout layout = kvdata::LayOutWaveforms(w.chart, Measure);
        const kvdata::Box canvas{0, 0, layout.width, layout.height};
        std::vector<std::string> labels;
        for (std::size_t a = 0; a < layout.markerLabels.size(); ++a) {
            const PlacedText& t = layout.markerLabels[a];
            labels.push_back(t.text);
            EXPECT_TRUE(t.box.Inside(canvas)) << t.text;
            // Beside its own line: right of it, or left of it at the canvas's right edge.
            EXPECT_TRUE(std::fabs(t.box.x0 - t.anchorX) < 4 || std::fabs(t.box.x1 - (layout.width - 6)) < 1) << t.text;
            for (std::size_t b = a + 1; b < layout.markerLabels.size(); ++b)
                EXPECT_FALSE(t.box.Overlaps(layout.markerLabels[b].box))
                    << t.text << " / " << layout.markerLabels[b].text;
            for (const PlacedText& o : layout.texts) EXPECT_FALSE(t.box.Overlaps(o.box)) << t.text << " / " << o.text;
            for (const kvdata::WaveformPanel& p : layout.panels) EXPECT_FALSE(t.box.Overlaps(p.frame)) << t.text;
        }
        if (markers != &states) continue;
        EXPECT_EQ(layout.markers.size(), states.size() - 3);  // nan, before and after are not in view
        // Short states keep their whole names, markers on one line share a label, and long
        // names close together are shortened rather than lost.
        for (const char* whole : {"prefault", "fault", "trip", "reclose", "postfault", "end of the record, end"})
            EXPECT_NE(std::find(labels.begin(), labels.end(), whole), labels.end()) << whole;
        EXPECT_EQ(labels.size(), 6u + 8u);
        EXPECT_GE(
            std::count_if(labels.begin(), labels.end(), [](const std::string& l) { return l.ends_with("\u2026"); }), 5);
    }
}

// The points of all pieces, in order of x.
std::vector<kvdata::PlotPoint> Points(const kvdata::WaveformTrace& trace) {
    std::vector<kvdata::PlotPoint> points;
    for (const auto& piece : trace.pieces) points.insert(points.end(), piece.begin(), piece.end());
    return points;
}

TEST(WaveformLayoutTest, DecimationBoundsThePointsAndKeepsEveryColumnsExtremes) {
    constexpr std::size_t kSamples = 100000;
    Waves w = SixChannels(kSamples, 10000);
    // Lone spikes either way, narrower than a column.
    w.analog[3][31234] = 60;
    w.analog[3][77777] = -45;
    w.digital.push_back(std::vector<std::uint8_t>(kSamples));
    for (std::size_t n = 0; n < kSamples; ++n) w.digital[0][n] = n % 2 == 0 || n > 90000;  // toggling, then high
    w.chart.digital.push_back({"TRIP", w.digital[0]});
    const kvdata::WaveformLayout layout = kvdata::LayOutWaveforms(w.chart, Measure);
    ASSERT_EQ(layout.panels.size(), 2u);
    EXPECT_EQ(layout.panels[0].unit, "V");
    const double columns = std::ceil(layout.right - layout.left);
    for (const kvdata::WaveformPanel& panel : layout.panels) {
        ASSERT_EQ(panel.traces.size(), 3u);
        const double mid = (panel.frame.y0 + panel.frame.y1) / 2, half = (panel.frame.y1 - panel.frame.y0) / 2;
        for (const kvdata::WaveformTrace& trace : panel.traces) {
            const std::vector<kvdata::PlotPoint> points = Points(trace);
            EXPECT_LE(static_cast<double>(points.size()), 2 * columns);
            EXPECT_GT(static_cast<double>(points.size()), columns);
            // Every sample lies between the least and greatest point within a column of it.
            const std::vector<double>& v = w.analog[trace.channel];
            for (std::size_t n = 0; n < kSamples; ++n) {
                const double x = layout.left + static_cast<double>(n) / (kSamples - 1) * (layout.right - layout.left);
                const double y = mid - v[n] / panel.axis.top * half;
                auto from = std::lower_bound(points.begin(), points.end(), x - 1.001,
                                             [](const kvdata::PlotPoint& p, double at) { return p.x < at; });
                double lo = kInf, hi = -kInf;
                for (auto p = from; p != points.end() && p->x <= x + 1.001; ++p) {
                    lo = std::min(lo, p->y);
                    hi = std::max(hi, p->y);
                }
                ASSERT_TRUE(lo <= y + 1e-6 && y - 1e-6 <= hi) << trace.channel << " sample " << n;
            }
        }
    }
    // The toggling shows as one busy stretch, then the high level.
    ASSERT_EQ(layout.strips.size(), 1u);
    const auto& runs = layout.strips[0].runs;
    ASSERT_TRUE(runs.size() == 2 || runs.size() == 3) << runs.size();
    const kvdata::DigitalRun& busy = runs[runs.size() - 2];
    EXPECT_EQ(busy.level, kvdata::DigitalRun::Level::Both);
    EXPECT_LT(busy.x0, layout.left + 1);
    EXPECT_EQ(runs.back().level, kvdata::DigitalRun::Level::High);
    EXPECT_NEAR(runs.back().x1, layout.right, 1e-9);
}

TEST(WaveformLayoutTest, NanLeavesAGapAndInfinitiesStayInTheFrame) {
    Waves w = SixChannels(1000, 4000);  // fewer samples than columns: every one is a point
    std::vector<double>& ua = w.analog[0];
    std::fill(ua.begin() + 400, ua.begin() + 450, kNan);
    ua[100] = kInf;
    ua[101] = -kInf;
    ua[102] = -DBL_MAX;
    const kvdata::WaveformLayout layout = kvdata::LayOutWaveforms(w.chart, Measure);
    const kvdata::WaveformTrace& trace = layout.panels[0].traces[0];
    ASSERT_EQ(trace.pieces.size(), 2u);
    const double step = (layout.right - layout.left) / 999;
    EXPECT_NEAR(trace.pieces[0].back().x, layout.left + 399 * step, 1e-9);
    EXPECT_NEAR(trace.pieces[1].front().x, layout.left + 450 * step, 1e-9);
    EXPECT_EQ(Points(trace).size(), 950u);
    EXPECT_GE(layout.panels[0].axis.top, DBL_MAX);
    const kvdata::Box& f = layout.panels[0].frame;
    for (const kvdata::PlotPoint& p : Points(trace))
        EXPECT_TRUE(p.y >= f.y0 && p.y <= f.y1 && p.x >= f.x0 && p.x <= f.x1) << p.x << ", " << p.y;
}

TEST(WaveformLayoutTest, DegenerateChartsAreLaidOutOrRefused) {
    Waves w = SixChannels(10, 4000);
    for (double rate : {0.0, -4000.0, kNan, kInf, 5e-324}) {
        w.chart.rate = rate;
        EXPECT_THROW(kvdata::LayOutWaveforms(w.chart, Measure), kvdata::Error) << rate;
    }
    w.chart.rate = 4000;
    w.chart.start = kNan;
    EXPECT_THROW(kvdata::LayOutWaveforms(w.chart, Measure), kvdata::Error);

    const std::vector<double> zeros(50, 0.0), none;
    const std::vector<std::uint8_t> high(1, 1);
    kvdata::WaveformChart empty{"empty", 4000, 0, {}, {}, {{0, "start"}}};
    kvdata::WaveformChart flat{"flat", 4000, 1e9, {{"U0", "V", zeros}, {"T", "", none}}, {{"TRIP", high}}, {}};
    kvdata::WaveformChart digitalOnly{"digital", 1, 0, {}, {{"TRIP", high}}, {{0.5, "here"}}};
    for (const kvdata::WaveformChart* chart : {&empty, &flat, &digitalOnly}) {
        const kvdata::WaveformLayout layout = kvdata::LayOutWaveforms(*chart, Measure);
        EXPECT_GT(layout.height, 100) << chart->title;
        for (const kvdata::WaveformPanel& p : layout.panels) {
            EXPECT_TRUE(std::isfinite(p.axis.top) && p.axis.top > 0) << chart->title;
            for (const auto& trace : p.traces)
                for (const kvdata::PlotPoint& q : Points(trace)) EXPECT_TRUE(std::isfinite(q.y)) << chart->title;
        }
    }
    const kvdata::WaveformLayout one = kvdata::LayOutWaveforms(digitalOnly, Measure);
    ASSERT_EQ(one.strips.size(), 1u);
    ASSERT_EQ(one.strips[0].runs.size(), 1u);  // a lone sample fills the width
    EXPECT_NEAR(one.strips[0].runs[0].x1 - one.strips[0].runs[0].x0, one.right - one.left, 1e-9);
    const kvdata::WaveformLayout nothing = kvdata::LayOutWaveforms(empty, Measure);
    EXPECT_TRUE(std::any_of(nothing.texts.begin(), nothing.texts.end(),
                            [](const PlacedText& t) { return t.text == "no samples"; }));
}

// What cairo and fontconfig keep for the life of the process is freed at the end, as the
// program does, so that the leak checker sees only real leaks.
class ReleasePictures : public testing::Environment {
    void TearDown() override { kvdata::ReleasePictureResources(); }
};
[[maybe_unused]] const testing::Environment* const kReleasePictures =
    testing::AddGlobalTestEnvironment(new ReleasePictures);

std::string Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string Trimmed(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    return text;
}

class PlotPictureTest : public testing::Test {
protected:
    void SetUp() override {
        dir = fs::path(testing::TempDir()) / ("kv_plot_" + std::to_string(::getpid()));
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }
    fs::path dir;
};

TEST_F(PlotPictureTest, ExtremeValuesDrawWithoutHangingAndUnwritablePlacesAreRefusedFirst) {
    kvdata::DrawVectorDiagram(Diagram({{kInf, 0}, {1e300, 90}, {1e-300, 200}}, {{kNan, 0}, {0, 0}, {-1e15, 33}}),
                              (dir / "vectors.png").string());
    // A lone frequency too large for a step of one, infinite and zero amplitudes.
    kvdata::DrawSpectrum({"one", {1e20}, {kInf}}, (dir / "lone.svg").string());
    kvdata::DrawSpectrum({"zeros", {0, 50, 100}, {0, 0, 0}}, (dir / "zeros.pdf").string());
    kvdata::DrawSpectrum({"huge", {0, 50, 100}, {1e300, DBL_MAX, 3}}, (dir / "huge.png").string());
    for (const char* name : {"vectors.png", "lone.svg", "zeros.pdf", "huge.png"})
        EXPECT_GT(fs::file_size(dir / name), 100u) << name;

    const fs::path nowhere = dir / "no" / "such" / "dir.png";
    EXPECT_THROW(kvdata::CheckPictureName(nowhere.string()), kvdata::Error);
    EXPECT_THROW(kvdata::CheckPictureName((dir / "x.jpg").string()), kvdata::Error);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 4);  // nothing left behind
}

TEST_F(PlotPictureTest, VectorAndRxDiagramsMakeWholeFilesOfEachType) {
    const kvdata::VectorDiagram vectors = Diagram({{30, 0}, {57.7, 240}, {57.7, 120}}, {{5, -75}, {0, 0}, {0, 0}});
    kvdata::DrawVectorAndRxDiagrams(vectors, FarLoops(), (dir / "rx.png").string());
    kvdata::DrawVectorAndRxDiagrams(vectors, Rx(0, 0, {}), (dir / "rx.svg").string());
    kvdata::DrawVectorAndRxDiagrams(vectors, Rx(kNan, 1e300, {{"", true, kInf, 0}}), (dir / "rx.pdf").string());
    const std::string png = Read(dir / "rx.png"), svg = Trimmed(Read(dir / "rx.svg")),
                      pdf = Trimmed(Read(dir / "rx.pdf"));
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_TRUE(png.ends_with(std::string("IEND\xae\x42\x60\x82", 8)));
    EXPECT_TRUE(svg.starts_with("<?xml") && svg.ends_with("</svg>"));
    EXPECT_TRUE(pdf.starts_with("%PDF-") && pdf.ends_with("%%EOF"));
}

TEST_F(PlotPictureTest, WaveformsMakeWholeFilesOfEachTypeAndManySamplesStaySmall) {
    Waves w = SixChannels(100000, 10000);
    w.chart.markers = {{0, "prefault"}, {0.1, "fault"}, {0.16, "postfault"}};
    kvdata::DrawWaveforms(w.chart, (dir / "waves.png").string());
    kvdata::DrawWaveforms(w.chart, (dir / "waves.svg").string());
    kvdata::DrawWaveforms(w.chart, (dir / "waves.pdf").string());
    const std::string png = Read(dir / "waves.png"), svg = Trimmed(Read(dir / "waves.svg")),
                      pdf = Trimmed(Read(dir / "waves.pdf"));
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_TRUE(png.ends_with(std::string("IEND\xae\x42\x60\x82", 8)));
    EXPECT_TRUE(svg.starts_with("<?xml") && svg.ends_with("</svg>"));
    EXPECT_TRUE(pdf.starts_with("%PDF-") && pdf.ends_with("%%EOF"));
    // 600000 samples drawn one by one would take megabytes.
    EXPECT_LT(svg.size(), 1000000u);

    kvdata::DrawWaveforms({"nothing", 1, 0, {}, {}, {{0, "start"}}}, (dir / "empty.png").string());
    w.chart.rate = 0;
    EXPECT_THROW(kvdata::DrawWaveforms(w.chart, (dir / "zero.svg").string()), kvdata::Error);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 4);  // nothing left behind
}

}  // namespace
