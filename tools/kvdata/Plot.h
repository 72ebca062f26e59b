// Pictures through cairo: the vector diagram of a fault and the bars of a spectrum.
// The type follows the file's extension (.png, .svg, .pdf); the picture is drawn to a
// temporary name beside the file and renamed, so a failed run leaves no half picture.
// Where things go is worked out apart from cairo (the Lay* functions), so that tests
// can check the layout without drawing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace kvdata {

// Error unless the name ends in .png, .svg or .pdf and a file can be created there.
void CheckPictureName(const std::string& path);

struct Phasor {
    double magnitude = 0;
    double angle = 0;  // degrees, counter-clockwise from the positive real axis
};

struct VectorDiagram {
    std::string title;
    std::string subtitle;
    bool voltages = true;
    bool currents = true;
    Phasor u[3]{};
    Phasor i[3]{};
    // Lines of text listed beside the diagram (the sequence components).
    std::vector<std::string> notes;
};
void DrawVectorDiagram(const VectorDiagram& diagram, const std::string& path);

// An R-X diagram: the line impedance from the relay to the fault, and what each of the
// relay's six measuring loops sees (in ohms).
struct RxPoint {
    std::string label;  // "AN", "BN", "CN", "AB", "BC", "CA"
    bool present = false;  // a loop without current has no apparent impedance
    double r = 0, x = 0;
};
struct RxDiagram {
    std::string title;  // "R-X plane"
    double faultR = 0, faultX = 0;
    RxPoint loops[6];
};
// The vector diagram with the R-X diagram beside it, in one picture.
void DrawVectorAndRxDiagrams(const VectorDiagram& vectors, const RxDiagram& rx, const std::string& path);

// Sampled waveforms: the analog channels one above the other (voltages, then currents),
// the digital channels as steps underneath, and marked times (state boundaries, chosen
// instants) as vertical lines with their labels, over a time axis in seconds.
struct WaveformChart {
    struct Analog {
        std::string name;  // "UA"
        std::string unit;  // "V"
        std::span<const double> samples;
    };
    struct Digital {
        std::string name;
        std::span<const std::uint8_t> samples;
    };
    struct Marker {
        double time = 0;  // s, on the chart's axis
        std::string label;
    };
    std::string title;
    double rate = 0;    // samples per second: sample n lies at start + n / rate
    double start = 0;   // s, the time of the first sample on the axis
    std::vector<Analog> analog;
    std::vector<Digital> digital;
    std::vector<Marker> markers;
};
void DrawWaveforms(const WaveformChart& chart, const std::string& path);

struct SpectrumChart {
    std::string title;
    std::vector<double> frequency;
    std::vector<double> amplitude;
};
void DrawSpectrum(const SpectrumChart& chart, const std::string& path);

// Frees what cairo and fontconfig keep for the life of the process, so that a leak
// checker sees only our own memory. Called once, at the end of the run.
void ReleasePictureResources();

// ---- Layout -------------------------------------------------------------------------

// Fixed decimals for ordinary sizes; 3 significant digits in exponent form (1.23e+12)
// from a million up and below the last decimal, so that no label grows with its value.
std::string CompactNumber(double value, int decimals);
// The same for the long numbers inside a text made elsewhere (subtitles, notes).
std::string CompactNumbers(const std::string& text);

// Width in points of a text at a font size; cairo's in the program, a stand-in in tests.
using MeasureText = std::function<double(const std::string& text, double size, bool bold)>;

struct Box {
    double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    bool Overlaps(const Box& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
    bool Inside(const Box& o) const { return x0 >= o.x0 && y0 >= o.y0 && x1 <= o.x1 && y1 <= o.y1; }
};

struct Rgb {
    double r = 0, g = 0, b = 0;
};

struct PlacedText {
    enum class Kind { Title, Subtitle, Mark, Phasor, ScaleU, ScaleI, Note };
    Kind kind;
    std::string text;
    double size = 13;
    bool bold = false;
    double x = 0, y = 0;  // start of the baseline
    Box box;              // what the text covers, with a little air
    Rgb colour;
    // A phasor's label belongs to its arrow's tip (the centre for a short one); placed
    // away from it, the label gets a thin leader line there.
    double anchorX = 0, anchorY = 0;
    bool leader = false;
};

struct PlacedArrow {
    double length = 0;  // points from the centre; 0 draws a dot
    double angle = 0;   // degrees, as drawn (a negative magnitude turned round)
    double width = 0;
    double head = 0;
    bool dashed = false;
    double halo = 0;  // width of the white outline under the line and the head
    Rgb colour;
};

struct DiagramLayout {
    double width = 0, height = 0;
    double cx = 0, cy = 0, radius = 0;
    double uScale = 0, iScale = 0;  // magnitudes drawn at the outer circle and at 0.8 of it
    // Shafts in this order, then the heads in this order: currents come after voltages.
    std::vector<PlacedArrow> arrows;
    std::vector<PlacedText> texts;
};
DiagramLayout LayOutVectorDiagram(const VectorDiagram& diagram, const MeasureText& measure);

// Round ticks (1, 2 or 5 times a power of ten) from 0 up to `top` >= largest; `top` stays
// finite however large the values, and an all-zero or empty chart gets 0..1.
struct AmplitudeAxis {
    double top = 1;
    double step = 0.2;
    int ticks = 5;  // above zero
};
AmplitudeAxis LayOutAmplitudeAxis(double largest);

// The R-X diagram in `area` of a larger picture: ohms to the same scale on both axes, the
// view around Z (up to about three times |Z|, with the origin), so that far loops cannot
// shrink Z to a dot; a point outside the view is an arrow at the frame's edge on the line
// from the origin toward it, labelled with its value.
struct RxMarker {
    enum class Kind { Origin, Fault, Loop };
    Kind kind = Kind::Loop;
    int loop = -1;  // index into RxDiagram::loops, for Kind::Loop
    double x = 0, y = 0;
    Box box;
    Rgb colour;
};

struct RxEdgeArrow {
    int loop = -1;  // -1 for Z
    double tailX = 0, tailY = 0, tipX = 0, tipY = 0;
    Rgb colour;
};

struct RxLayout {
    Box frame;                              // what shows the plane
    double r0 = 0, r1 = 1, x0 = 0, x1 = 1;  // ohms at the frame's edges
    double pointsPerOhm = 1;                // on both axes
    double originX = 0, originY = 0;
    double step = 0;                        // ohms between grid lines; 0 for none
    std::vector<double> gridR, gridX;       // x of the upright grid lines, y of the level ones
    bool zShown = false;                    // Z is a line from the origin to (zTipX, zTipY)
    double zTipX = 0, zTipY = 0;
    // In the frame, then one beside each of the legend's lines.
    std::vector<RxMarker> markers;
    std::vector<RxEdgeArrow> arrows;
    // Title; Mark for ticks and axis names; Phasor for the labels of points (with
    // a leader when placed away); Note for the legend's lines.
    std::vector<PlacedText> texts;
};
RxLayout LayOutRxDiagram(const RxDiagram& diagram, const MeasureText& measure, Box area);

// The waveform chart: 1400 points wide, 300 + 180 per panel + 28 per digital channel
// high. Analog channels share a panel per unit (V first, then A, then the others as they
// come), each panel on its own symmetric axis; digital channels are strips underneath.
// Error for a rate that is not a finite number above 0 or a start that is not finite; a
// chart without samples is laid out with its axes empty and a note saying so.
struct PlotPoint {
    double x = 0, y = 0;
};

struct WaveformTrace {
    std::size_t channel = 0;  // into WaveformChart::analog
    Rgb colour;
    // The polyline in runs: NaN samples leave the gaps between them (at most one gap per
    // column). A column is one point of the frame's width; its samples are reduced to
    // the least and the greatest, each at its own time, so a channel has at most two
    // points per column (four where a gap falls), however many samples it holds.
    std::vector<std::vector<PlotPoint>> pieces;
};

struct WaveformPanel {
    std::string unit;
    Box frame;
    AmplitudeAxis axis;  // -axis.top at the frame's bottom, +axis.top at its top
    std::vector<WaveformTrace> traces;
    // Beside the frame, each name in its trace's colour (Note); where not all fit, the
    // last line counts those left out (Mark).
    std::vector<PlacedText> legend;
};

struct DigitalRun {
    // Both: changes closer together than a column, drawn as a filled block.
    enum class Level { Low, High, Both };
    double x0 = 0, x1 = 0;
    Level level = Level::Low;
};

struct WaveformStrip {
    std::size_t channel = 0;  // into WaveformChart::digital
    Box frame;
    std::vector<DigitalRun> runs;
};

struct WaveformMarkerLine {
    double x = 0, y0 = 0, y1 = 0;  // dashed from y0 (its label's row) down to y1
};

struct WaveformLayout {
    double width = 0, height = 0;
    double left = 0, right = 0;  // the x extent shared by every panel and strip
    double t0 = 0, t1 = 1;       // seconds at left and right
    std::vector<WaveformPanel> panels;
    std::vector<WaveformStrip> strips;
    std::vector<double> timeGrid;  // x of the time ticks
    // Markers within the time span; labels in rows above the first panel, shortened
    // with an ellipsis where a later one follows closely, left out only where even that
    // cannot fit. Markers less than 3 points apart share one label, their names joined.
    // A label's anchorX is its line.
    std::vector<WaveformMarkerLine> markers;
    std::vector<PlacedText> markerLabels;
    // Title (Title); tick labels, units and the time axis's name (Mark); digital
    // channels' names and the note of an empty chart (Note).
    std::vector<PlacedText> texts;
};
WaveformLayout LayOutWaveforms(const WaveformChart& chart, const MeasureText& measure);

}  // namespace kvdata
