#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
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

// What cairo and fontconfig keep for the life of the process is freed at the end, as the
// program does, so that the leak checker sees only real leaks.
class ReleasePictures : public testing::Environment {
    void TearDown() override { kvdata::ReleasePictureResources(); }
};
[[maybe_unused]] const testing::Environment* const kReleasePictures =
    testing::AddGlobalTestEnvironment(new ReleasePictures);

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
    auto read = [this](const char* name) {
        std::ifstream in(dir / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    auto trimmed = [](std::string text) {
        while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
        return text;
    };
    const std::string png = read("rx.png"), svg = trimmed(read("rx.svg")), pdf = trimmed(read("rx.pdf"));
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_TRUE(png.ends_with(std::string("IEND\xae\x42\x60\x82", 8)));
    EXPECT_TRUE(svg.starts_with("<?xml") && svg.ends_with("</svg>"));
    EXPECT_TRUE(pdf.starts_with("%PDF-") && pdf.ends_with("%%EOF"));
}

}  // namespace
