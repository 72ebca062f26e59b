#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <filesystem>
#include <limits>
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

}  // namespace
