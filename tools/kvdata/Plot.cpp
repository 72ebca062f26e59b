#include "Plot.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

#include "Cli.h"

namespace kvdata {

namespace {

enum class PictureType { Png, Svg, Pdf };

bool EndsWith(const std::string& text, const char* suffix) {
    const std::size_t n = std::strlen(suffix);
    if (text.size() < n) return false;
    return std::equal(text.end() - static_cast<std::ptrdiff_t>(n), text.end(), suffix,
                      [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

PictureType TypeOf(const std::string& path) {
    if (EndsWith(path, ".png")) return PictureType::Png;
    if (EndsWith(path, ".svg")) return PictureType::Svg;
    if (EndsWith(path, ".pdf")) return PictureType::Pdf;
    throw Error("--plot: '" + path + "' is not a picture name (use .png, .svg or .pdf)");
}

// A cairo context on a temporary file beside `path`; Commit() renames it into place,
// and a picture never committed leaves nothing behind.
class Picture {
public:
    Picture(const std::string& path, double width, double height)
        : m_path(path), m_temporary(TemporaryName(path)), m_type(TypeOf(path)) {
        switch (m_type) {
            case PictureType::Png:
                m_surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(width * kPngScale),
                                                       static_cast<int>(height * kPngScale));
                cairo_surface_set_device_scale(m_surface, kPngScale, kPngScale);
                break;
            case PictureType::Svg:
                m_surface = cairo_svg_surface_create(m_temporary.c_str(), width, height);
                break;
            case PictureType::Pdf:
                m_surface = cairo_pdf_surface_create(m_temporary.c_str(), width, height);
                break;
        }
        m_cr = cairo_create(m_surface);
        cairo_set_source_rgb(m_cr, 1, 1, 1);
        cairo_paint(m_cr);
        cairo_select_font_face(m_cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture() {
        if (m_cr != nullptr) cairo_destroy(m_cr);
        if (m_surface != nullptr) {
            cairo_surface_finish(m_surface);
            cairo_surface_destroy(m_surface);
        }
        if (!m_committed) std::remove(m_temporary.c_str());
    }

    cairo_t* cr() const { return m_cr; }

    void Commit() {
        cairo_status_t status = cairo_status(m_cr);
        cairo_destroy(m_cr);
        m_cr = nullptr;
        if (status == CAIRO_STATUS_SUCCESS) {
            if (m_type == PictureType::Png) status = cairo_surface_write_to_png(m_surface, m_temporary.c_str());
            cairo_surface_finish(m_surface);
            if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(m_surface);
        }
        if (status != CAIRO_STATUS_SUCCESS)
            throw Error("cannot write picture '" + m_path + "': " + cairo_status_to_string(status));
        if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0)
            throw Error("cannot write picture '" + m_path + "': " + std::strerror(errno));
        m_committed = true;
    }

private:
    static constexpr double kPngScale = 1.5;

    std::string m_path;
    std::string m_temporary;
    PictureType m_type;
    cairo_surface_t* m_surface = nullptr;
    cairo_t* m_cr = nullptr;
    bool m_committed = false;
};

constexpr Rgb kPhaseColours[] = {{0.85, 0.55, 0.0}, {0.0, 0.55, 0.25}, {0.80, 0.10, 0.10}};
constexpr Rgb kInk{0.15, 0.15, 0.15};
constexpr Rgb kMuted{0.45, 0.45, 0.45};
constexpr Rgb kGrid{0.86, 0.86, 0.86};
constexpr double kPi = 3.141592653589793;
constexpr double kDegree = kPi / 180.0;
constexpr double kDashes[] = {7.0, 4.0};

// Currents in a darker shade of their phase's colour: over a voltage of the same phase
// (the same angle) the dashes still stand out.
Rgb CurrentColour(int phase) {
    const Rgb c = kPhaseColours[phase];
    return {c.r * 0.62, c.g * 0.62, c.b * 0.62};
}

void SetColour(cairo_t* cr, Rgb c) { cairo_set_source_rgb(cr, c.r, c.g, c.b); }

void SetFont(cairo_t* cr, double size, bool bold) {
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
}

MeasureText CairoMeasure(cairo_t* cr) {
    return [cr](const std::string& text, double size, bool bold) {
        SetFont(cr, size, bold);
        cairo_text_extents_t extents;
        cairo_text_extents(cr, text.c_str(), &extents);
        return extents.x_advance;
    };
}

void Text(cairo_t* cr, double x, double y, const std::string& text, double size, bool bold = false) {
    SetFont(cr, size, bold);
    cairo_move_to(cr, x, y);
    cairo_show_text(cr, text.c_str());
    cairo_new_path(cr);  // the next line must not start where the text ended
}

Box TextBox(double x, double y, double width, double size) {
    return {x - 2, y - size, x + width + 2, y + 0.3 * size};
}

// The text at `size`, or smaller down to `minSize`, or cut short with an ellipsis,
// so that it is no wider than `maxWidth`.
PlacedText FitText(PlacedText::Kind kind, std::string text, double x, double y, double size, bool bold,
                   double maxWidth, const MeasureText& measure, double minSize = 9) {
    double width = measure(text, size, bold);
    if (width > maxWidth && size > minSize) {
        size = std::max(minSize, std::floor(size * maxWidth / width * 2) / 2);
        width = measure(text, size, bold);
    }
    if (width > maxWidth) {
        while (!text.empty() && width > maxWidth) {
            // One whole UTF-8 character: its continuation bytes, then its first byte.
            while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
            if (!text.empty()) text.pop_back();
            width = measure(text + "\u2026", size, bold);
        }
        text += "\u2026";
    }
    return {kind, std::move(text), size, bold, x, y, TextBox(x, y, width, size), kInk};
}

std::string Exponent(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2e", value);
    return text;
}

std::string AngleText(double angle) {
    if (std::isfinite(angle) && std::fabs(angle) < 1e6) return Fixed(angle, 1);
    return CompactNumber(angle, 1);
}

// Whether the segment from (ax, ay) to (bx, by) passes through the box (Liang-Barsky).
bool Crosses(const Box& box, double ax, double ay, double bx, double by) {
    double t0 = 0, t1 = 1;
    const double dx = bx - ax, dy = by - ay;
    const double p[] = {-dx, dx, -dy, dy};
    const double q[] = {ax - box.x0, box.x1 - ax, ay - box.y0, box.y1 - ay};
    for (int k = 0; k < 4; ++k) {
        if (p[k] == 0) {
            if (q[k] < 0) return false;
            continue;
        }
        const double t = q[k] / p[k];
        if (p[k] < 0) t0 = std::max(t0, t);
        else t1 = std::min(t1, t);
        if (t0 > t1) return false;
    }
    return true;
}

struct Spot {
    double x, y;  // start of the baseline
    Box box;
};

double DistanceToBox(const Box& box, double x, double y) {
    const double dx = std::max({box.x0 - x, 0.0, x - box.x1});
    const double dy = std::max({box.y0 - y, 0.0, y - box.y1});
    return std::hypot(dx, dy);
}

// A text `width` wide at font `size`, centred on (x, y).
Spot CentredSpot(double x, double y, double width, double size) {
    const double left = x - width / 2, baseline = y + 0.35 * size;
    return {left, baseline, TextBox(left, baseline, width, size)};
}

// A label's way out from its point at `angle`: the unit step (y down), and the shift from
// the point to the centre of a w-by-h box that touches it with the corner or edge facing it.
struct Heading {
    double c, s, offsetX, offsetY;
};

Heading HeadingAt(double angle, double w, double h) {
    const double c = std::cos(angle * kDegree), s = -std::sin(angle * kDegree);
    return {c, s, c > 0.35 ? w / 2 + 2 : c < -0.35 ? -(w / 2 + 2) : 0, s > 0.35 ? h / 2 : s < -0.35 ? -h / 2 : 0};
}

// Where a label `width` wide at font `size` goes: centred on the first candidate whose box
// lies in `region` clear of `taken` and of whatever `crosses` finds, else on the first
// clear of `taken` alone; failing both, on the free point of a 4-point grid nearest the
// first candidate, a crossing costing 80 points of distance; failing that, on the first.
template <class CrossesFn>
Spot FindLabelSpot(const std::vector<std::pair<double, double>>& candidates, const Box& region,
                   const std::vector<Box>& taken, double width, double size, CrossesFn crosses) {
    const double h = 1.3 * size;
    auto free = [&](const Box& box) {
        return box.Inside(region) &&
               std::none_of(taken.begin(), taken.end(), [&box](const Box& o) { return box.Overlaps(o); });
    };
    for (int pass = 0; pass < 2; ++pass)
        for (const auto& [x, y] : candidates) {
            const Spot spot = CentredSpot(x, y, width, size);
            if (free(spot.box) && (pass == 1 || !crosses(spot.box))) return spot;
        }
    const double wishX = candidates.front().first, wishY = candidates.front().second;
    std::optional<Spot> best;
    double bestCost = std::numeric_limits<double>::infinity();
    for (double y = region.y0 + h / 2; y <= region.y1 - h / 2; y += 4)
        for (double x = region.x0 + width / 2 + 2; x <= region.x1 - width / 2 - 2; x += 4) {
            const double distance = std::hypot(x - wishX, y - wishY);
            if (distance >= bestCost) continue;
            const Spot spot = CentredSpot(x, y, width, size);
            if (!free(spot.box)) continue;
            const double cost = distance + (crosses(spot.box) ? 80 : 0);
            if (cost >= bestCost) continue;
            bestCost = cost;
            best = spot;
        }
    return best ? *best : CentredSpot(wishX, wishY, width, size);
}

// A point's label at `spot`, with a leader to the point once it sits further than
// `leaderBeyond` from it.
PlacedText PointLabel(std::string text, double size, bool bold, Rgb colour, const Spot& spot, double anchorX,
                      double anchorY, double leaderBeyond) {
    PlacedText label{PlacedText::Kind::Phasor, std::move(text), size, bold, spot.x, spot.y, spot.box, colour};
    label.anchorX = anchorX;
    label.anchorY = anchorY;
    label.leader = DistanceToBox(spot.box, anchorX, anchorY) > leaderBeyond;
    return label;
}

}  // namespace

std::string CompactNumber(double value, int decimals) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    const double size = std::fabs(value);
    if (size == 0 || (size < 1e6 && size >= 0.5 * std::pow(10.0, -decimals))) return Fixed(value, decimals);
    return Exponent(value);
}

std::string CompactNumbers(const std::string& text) {
    std::string out;
    std::size_t k = 0;
    while (k < text.size()) {
        const bool startsNumber = std::isdigit(static_cast<unsigned char>(text[k])) &&
                                  (k == 0 || !std::isalnum(static_cast<unsigned char>(text[k - 1])));
        if (!startsNumber) {
            out += text[k++];
            continue;
        }
        std::size_t end = k;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) ++end;
        const std::size_t integerDigits = end - k;
        if (end + 1 < text.size() && text[end] == '.' && std::isdigit(static_cast<unsigned char>(text[end + 1]))) {
            ++end;
            while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) ++end;
        }
        const std::string number = text.substr(k, end - k);
        // A million and up, as in CompactNumber; shorter numbers are left as written.
        out += integerDigits > 6 ? Exponent(std::strtod(number.c_str(), nullptr)) : number;
        k = end;
    }
    return out;
}

DiagramLayout LayOutVectorDiagram(const VectorDiagram& d, const MeasureText& measure) {
    DiagramLayout layout;
    layout.width = 1000;
    layout.height = 640;
    layout.cx = 380;
    layout.cy = 365;
    layout.radius = 215;
    const double cx = layout.cx, cy = layout.cy, R = layout.radius;
    const double sideX = 740;
    // Labels of the arrows stay left of the side texts and below the subtitle.
    const Box region{8, 70, sideX - 12, layout.height - 8};

    auto& texts = layout.texts;
    texts.push_back(FitText(PlacedText::Kind::Title, d.title, 24, 36, 20, true, layout.width - 48, measure, 12));
    texts.push_back(FitText(PlacedText::Kind::Subtitle, CompactNumbers(d.subtitle), 24, 60, 13, false,
                            layout.width - 48, measure));
    texts.back().colour = kMuted;

    std::vector<Box> taken;
    for (int a = 0; a < 360; a += 90) {
        const std::string mark = std::to_string(a) + "\u00B0";
        const double w = measure(mark, 12, false);
        const double x = cx + (R + 18) * std::cos(a * kDegree) - w / 2;
        const double y = cy - (R + 18) * std::sin(a * kDegree) + 4;
        texts.push_back({PlacedText::Kind::Mark, mark, 12, false, x, y, TextBox(x, y, w, 12), kMuted});
        taken.push_back(texts.back().box);
    }

    // Each group on its own scale over its finite magnitudes: voltages reach the outer
    // circle, currents 0.8 of it.
    struct Vector {
        std::string label;
        double length, angle;
        bool current;
        int phase;
    };
    std::vector<Vector> vectors;
    auto addGroup = [&](const Phasor* group, bool current, double& scale) {
        static const char* const kPhase[] = {"A", "B", "C"};
        for (int k = 0; k < 3; ++k)
            if (std::isfinite(group[k].magnitude)) scale = std::max(scale, std::fabs(group[k].magnitude));
        const double reach = current ? 0.8 : 1.0;
        for (int k = 0; k < 3; ++k) {
            const Phasor& p = group[k];
            const bool drawable = std::isfinite(p.magnitude) && std::isfinite(p.angle) && scale > 0;
            Vector v{std::string(current ? "I" : "U") + kPhase[k] + " " +
                         CompactNumber(p.magnitude, current ? 3 : 2) + (current ? " A" : " V"),
                     drawable ? R * reach * (std::fabs(p.magnitude) / scale) : 0,
                     // A negative magnitude points the other way.
                     !drawable ? 0 : p.magnitude < 0 ? p.angle + 180 : p.angle, current, k};
            // A zero has no direction to tell.
            if (p.magnitude != 0) v.label += " \u2220 " + AngleText(p.angle) + "\u00B0";
            vectors.push_back(v);
        }
    };
    if (d.voltages) addGroup(d.u, false, layout.uScale);
    if (d.currents) addGroup(d.i, true, layout.iScale);

    for (const Vector& v : vectors) {
        PlacedArrow a;
        a.length = v.length;
        a.angle = v.angle;
        a.dashed = v.current;
        a.width = v.current ? 2 : 3;
        // Smaller heads for currents, so that a voltage's head under one still shows.
        a.head = std::min(v.current ? 11.0 : 14.0, v.length * 0.4);
        a.halo = v.current ? 5.5 : 0;
        a.colour = v.current ? CurrentColour(v.phase) : kPhaseColours[v.phase];
        layout.arrows.push_back(a);
    }

    // Labels: long arrows first, beyond their tips; short and zero ones around the centre
    // where room is left. The first candidate that keeps clear of the marks, the other
    // labels and the arrows wins; failing that, the nearest free place, with a leader.
    constexpr double kShort = 4;
    std::vector<std::size_t> order(vectors.size());
    for (std::size_t n = 0; n < order.size(); ++n) order[n] = n;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return (vectors[a].length >= kShort) > (vectors[b].length >= kShort);
    });
    auto crossesArrow = [&](const Box& box) {
        const Box wide{box.x0 - 3, box.y0 - 3, box.x1 + 3, box.y1 + 3};
        for (const PlacedArrow& a : layout.arrows) {
            const double tipX = cx + a.length * std::cos(a.angle * kDegree);
            const double tipY = cy - a.length * std::sin(a.angle * kDegree);
            if (Crosses(wide, cx, cy, tipX, tipY)) return true;
        }
        return false;
    };

    for (const std::size_t n : order) {
        const Vector& v = vectors[n];
        const double size = 13;
        const bool bold = !v.current;
        const double w = measure(v.label, size, bold);
        const double h = 1.3 * size;
        const bool isShort = v.length < kShort;
        // Short ones are labelled from the centre: their angle may not even be a number.
        const double anchorX = isShort ? cx : cx + v.length * std::cos(v.angle * kDegree);
        const double anchorY = isShort ? cy : cy - v.length * std::sin(v.angle * kDegree);

        // Centres of candidate boxes: the box beyond the point `distance` out from the
        // anchor, touching it with the corner or edge that faces the anchor, then shifted
        // sideways (up and down, or left and right for an upright direction).
        std::vector<std::pair<double, double>> candidates;
        auto addAlong = [&](double angle, std::initializer_list<double> distances, int lateral) {
            const Heading way = HeadingAt(angle, w, h);
            const bool upright = std::fabs(way.c) <= 0.35;
            for (double distance : distances)
                for (int side = 0; side <= 2 * lateral; ++side) {
                    const double shift = (side + 1) / 2 * (side % 2 == 1 ? 1.0 : -1.0);
                    candidates.emplace_back(
                        anchorX + distance * way.c + way.offsetX + (upright ? shift * (w / 2 + 6) : 0),
                        anchorY + distance * way.s + way.offsetY + (upright ? 0 : shift * (h + 2)));
                }
        };
        if (!isShort) {
            addAlong(v.angle, {8, 18, 30, 46, 66}, 2);
        } else {
            for (double distance : {8.0, 22.0, 40.0, 60.0})
                for (double angle : {300.0, 240.0, 60.0, 120.0, 270.0, 90.0, 0.0, 180.0, 330.0, 210.0, 30.0, 150.0})
                    addAlong(angle, {distance}, 0);
        }

        const Spot spot = FindLabelSpot(candidates, region, taken, w, size, crossesArrow);
        taken.push_back(spot.box);
        texts.push_back(PointLabel(v.label, size, bold, v.current ? CurrentColour(v.phase) : kPhaseColours[v.phase],
                                   spot, anchorX, anchorY, isShort ? 64 : 40));
    }

    // Beside the diagram: the scales, then the notes while there is room.
    double y = 132;
    const double maxWidth = layout.width - sideX - 36 - 8;
    auto scale = [&](PlacedText::Kind kind, const char* name, double value, const char* unit, int decimals) {
        const std::string text = value > 0 ? std::string(name) + ": outer circle " + CompactNumber(value, decimals) +
                                                 " " + unit
                                           : std::string(name) + ": all zero";
        texts.push_back(FitText(kind, text, sideX + 36, y, 13, false, maxWidth, measure));
        y += 20;
    };
    texts.push_back(FitText(PlacedText::Kind::Note, "Scales", sideX, 110, 14, true, maxWidth, measure));
    if (d.voltages) scale(PlacedText::Kind::ScaleU, "U", layout.uScale, "V", 2);
    if (d.currents) scale(PlacedText::Kind::ScaleI, "I", layout.iScale / 0.8, "A", 3);
    y += 14;
    for (std::size_t n = 0; n < d.notes.size() && y < layout.height - 8; ++n) {
        texts.push_back(FitText(PlacedText::Kind::Note, CompactNumbers(d.notes[n]), sideX, y, n == 0 ? 14 : 13,
                                n == 0, layout.width - sideX - 8, measure));
        y += n == 0 ? 22 : 20;
    }
    return layout;
}

void CheckPictureName(const std::string& path) {
    TypeOf(path);
    CheckWritable(path, "--plot");
}

namespace {

void Shaft(cairo_t* cr, double cx, double cy, const PlacedArrow& a) {
    const double c = std::cos(a.angle * kDegree), s = std::sin(a.angle * kDegree);
    const double end = a.length - a.head * 0.8;
    if (end <= 0) return;
    auto stroke = [&](double width) {
        cairo_set_line_width(cr, width);
        if (a.dashed) cairo_set_dash(cr, kDashes, 2, 0);
        cairo_move_to(cr, cx, cy);
        cairo_line_to(cr, cx + end * c, cy - end * s);
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0);
    };
    if (a.halo > 0) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        stroke(a.halo);
    }
    SetColour(cr, a.colour);
    stroke(a.width);
}

void Head(cairo_t* cr, double cx, double cy, const PlacedArrow& a) {
    if (a.length <= 0) {
        // Nothing to point with: a ring at the centre says the vector is there.
        SetColour(cr, a.colour);
        cairo_set_line_width(cr, 1.5);
        cairo_arc(cr, cx, cy, a.dashed ? 6 : 3.5, 0, 2 * kPi);
        cairo_stroke(cr);
        return;
    }
    const double c = std::cos(a.angle * kDegree), s = std::sin(a.angle * kDegree);
    const double tipX = cx + a.length * c, tipY = cy - a.length * s;
    const double baseX = tipX - a.head * c, baseY = tipY + a.head * s;
    cairo_move_to(cr, tipX, tipY);
    cairo_line_to(cr, baseX - a.head * 0.35 * s, baseY - a.head * 0.35 * c);
    cairo_line_to(cr, baseX + a.head * 0.35 * s, baseY + a.head * 0.35 * c);
    cairo_close_path(cr);
    if (a.halo > 0) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_set_line_width(cr, a.halo - a.width);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_stroke_preserve(cr);
    }
    SetColour(cr, a.colour);
    cairo_fill(cr);
}

// Dotted lines from the points to their labels placed away from them.
void PaintLeaders(cairo_t* cr, const std::vector<PlacedText>& texts) {
    for (const PlacedText& t : texts)
        if (t.leader) {
            SetColour(cr, kMuted);
            cairo_set_line_width(cr, 0.75);
            const double dots[] = {1.5, 2.0};
            cairo_set_dash(cr, dots, 2, 0);
            cairo_move_to(cr, t.anchorX, t.anchorY);
            cairo_line_to(cr, std::clamp(t.anchorX, t.box.x0, t.box.x1), std::clamp(t.anchorY, t.box.y0, t.box.y1));
            cairo_stroke(cr);
            cairo_set_dash(cr, nullptr, 0, 0);
        }
}

// The vector diagram with its top left corner at (left, top) of a picture of any size.
void PaintVectorDiagram(cairo_t* cr, const DiagramLayout& layout, double left, double top) {
    cairo_save(cr);
    cairo_translate(cr, left, top);
    const double cx = layout.cx, cy = layout.cy, R = layout.radius;

    // Grid: quarter circles and a spoke every 30 degrees.
    SetColour(cr, kGrid);
    cairo_set_line_width(cr, 1);
    for (int ring = 1; ring <= 4; ++ring) {
        cairo_arc(cr, cx, cy, R * ring / 4.0, 0, 2 * kPi);
        cairo_stroke(cr);
    }
    for (int a = 0; a < 360; a += 30) {
        cairo_move_to(cr, cx, cy);
        cairo_line_to(cr, cx + R * std::cos(a * kDegree), cy - R * std::sin(a * kDegree));
        cairo_stroke(cr);
    }
    PaintLeaders(cr, layout.texts);
    // Shafts, then heads, currents last: a current at a voltage's angle lies on top of it.
    for (const PlacedArrow& a : layout.arrows) Shaft(cr, cx, cy, a);
    for (const PlacedArrow& a : layout.arrows) Head(cr, cx, cy, a);

    for (const PlacedText& t : layout.texts) {
        SetColour(cr, t.colour);
        if (t.kind == PlacedText::Kind::ScaleU || t.kind == PlacedText::Kind::ScaleI) {
            const bool dashed = t.kind == PlacedText::Kind::ScaleI;
            cairo_set_line_width(cr, dashed ? 2 : 3);
            if (dashed) cairo_set_dash(cr, kDashes, 2, 0);
            cairo_move_to(cr, t.x - 36, t.y - 4);
            cairo_line_to(cr, t.x - 8, t.y - 4);
            cairo_stroke(cr);
            cairo_set_dash(cr, nullptr, 0, 0);
        }
        Text(cr, t.x, t.y, t.text, t.size, t.bold);
    }
    cairo_restore(cr);
}

}  // namespace

void DrawVectorDiagram(const VectorDiagram& d, const std::string& path) {
    Picture picture(path, 1000, 640);
    cairo_t* cr = picture.cr();
    PaintVectorDiagram(cr, LayOutVectorDiagram(d, CairoMeasure(cr)), 0, 0);
    picture.Commit();
}

namespace {

// Round steps (1, 2 or 5 times a power of ten) giving about `count` ticks over span.
double TickStep(double span, int count) {
    if (!(span > 0) || !std::isfinite(span)) return 1;
    const double raw = span / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0})
        if (raw <= m * power) return m * power;
    return 10 * power;
}

// A tick's text: as many decimals as the step needs, exponent form for the very large
// and the very small.
std::string TickLabel(double value, double step) {
    if (value == 0) return "0";
    const double size = std::max(std::fabs(value), step);
    if (size >= 1e6 || step < 1e-4) {
        // Enough digits to tell neighbours apart, as on an axis far from zero.
        const int digits = std::clamp(static_cast<int>(std::ceil(std::log10(size / step))), 2, 15);
        char text[48];
        std::snprintf(text, sizeof text, "%.*e", digits, value);
        return text;
    }
    const int decimals = step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    return Fixed(value, decimals);
}

// Round ticks, about `count` of them, from 0 up to a top at or above `largest`.
AmplitudeAxis RoundAxis(double largest, int count) {
    AmplitudeAxis axis;
    if (!(largest > 0) || !std::isfinite(largest)) return axis;
    axis.step = TickStep(largest, count);
    axis.ticks = static_cast<int>(std::max(1.0, std::ceil(largest / axis.step)));
    axis.top = axis.ticks * axis.step;
    if (axis.top < largest) axis.top = ++axis.ticks * axis.step;  // rounding fell short
    if (!(axis.step > 0) || !std::isfinite(axis.top) || axis.ticks > 10) {
        // At the ends of the double range no round top exists: one tick at the largest.
        axis.ticks = 1;
        axis.step = axis.top = largest;
    }
    return axis;
}

}  // namespace

AmplitudeAxis LayOutAmplitudeAxis(double largest) { return RoundAxis(largest, 5); }

void DrawSpectrum(const SpectrumChart& chart, const std::string& path) {
    constexpr double kWidth = 960, kHeight = 540;
    constexpr double left = 80, right = 920, top = 80, bottom = 470;
    Picture picture(path, kWidth, kHeight);
    cairo_t* cr = picture.cr();
    const MeasureText measure = CairoMeasure(cr);
    const PlacedText title =
        FitText(PlacedText::Kind::Title, CompactNumbers(chart.title), 24, 36, 20, true, kWidth - 48, measure, 12);
    SetColour(cr, kInk);
    Text(cr, title.x, title.y, title.text, title.size, true);

    std::vector<double> frequencies;
    for (double f : chart.frequency)
        if (std::isfinite(f)) frequencies.push_back(f);
    double fMin = 0, fMax = 1, largest = 0;
    if (!frequencies.empty()) {
        fMin = *std::min_element(frequencies.begin(), frequencies.end());
        fMax = *std::max_element(frequencies.begin(), frequencies.end());
    }
    for (double a : chart.amplitude)
        if (std::isfinite(a)) largest = std::max(largest, a);
    const AmplitudeAxis axis = LayOutAmplitudeAxis(largest);
    // Half a bar of room at each end, so that the first and last bars are whole; a lone
    // frequency, however large, still gets a span that doubles can tell apart.
    double slot = frequencies.size() > 1 ? (fMax - fMin) / static_cast<double>(frequencies.size() - 1) : 0;
    if (!(slot > std::fabs(fMax) * 1e-9) || !std::isfinite(slot)) slot = std::max(1.0, std::fabs(fMax) * 1e-6);
    const double f0 = fMin - slot / 2, f1 = fMax + slot / 2;
    auto X = [&](double f) { return left + (f - f0) / (f1 - f0) * (right - left); };
    auto Y = [&](double a) { return bottom - std::min(a / axis.top, 1.0) * (bottom - top); };

    cairo_set_line_width(cr, 1);
    for (int k = 0; k <= axis.ticks; ++k) {
        const double a = k == axis.ticks ? axis.top : k * axis.step;
        SetColour(cr, kGrid);
        cairo_move_to(cr, left, Y(a));
        cairo_line_to(cr, right, Y(a));
        cairo_stroke(cr);
        SetColour(cr, kMuted);
        const std::string mark = TickLabel(a, axis.step);
        Text(cr, left - 8 - measure(mark, 12, false), Y(a) + 4, mark, 12);
    }
    // Ticks by index, so that a step lost in the rounding of large frequencies cannot
    // stall the loop; a mark that would touch the one before is left out.
    const double fStep = TickStep(f1 - f0, 8);
    const double fromF = fMin >= 0 ? std::max(f0, 0.0) : f0;  // no negative ticks under a spectrum
    const double first = std::ceil(fromF / fStep);
    double lastEnd = -std::numeric_limits<double>::infinity();
    for (int k = 0; k <= 20; ++k) {
        const double f = (first + k) * fStep + 0.0;
        if (f > f1) break;
        const std::string mark = TickLabel(f, fStep);
        const double w = measure(mark, 12, false);
        const double x = std::clamp(X(f) - w / 2, 2.0, kWidth - 2 - w);
        if (x < lastEnd + 8) continue;
        lastEnd = x + w;
        SetColour(cr, kMuted);
        Text(cr, x, bottom + 18, mark, 12);
    }
    Text(cr, (left + right) / 2 - 40, bottom + 44, "frequency, Hz", 13);
    Text(cr, 24, top - 16, "amplitude", 13);

    const double barWidth = std::clamp(0.8 * (X(f0 + slot) - X(f0)), 1.0, right - left);
    for (std::size_t k = 0; k < chart.frequency.size() && k < chart.amplitude.size(); ++k) {
        const double a = chart.amplitude[k], f = chart.frequency[k];
        if (!std::isfinite(f) || std::isnan(a) || a <= 0) continue;
        const double x = X(f) - barWidth / 2;
        if (std::isinf(a)) {
            // Off the scale: a pale bar to the top with a mark pointing up.
            SetColour(cr, {0.65, 0.75, 0.92});
            cairo_rectangle(cr, x, top, barWidth, bottom - top);
            cairo_fill(cr);
            SetColour(cr, {0.20, 0.40, 0.75});
            const double half = std::min(6.0, barWidth / 2 + 1);
            cairo_move_to(cr, X(f), top);
            cairo_line_to(cr, X(f) - half, top + 1.6 * half);
            cairo_line_to(cr, X(f) + half, top + 1.6 * half);
            cairo_close_path(cr);
            cairo_fill(cr);
            continue;
        }
        SetColour(cr, {0.20, 0.40, 0.75});
        cairo_rectangle(cr, x, Y(a), barWidth, bottom - Y(a));
        cairo_fill(cr);
    }
    const bool anyBar = std::any_of(chart.amplitude.begin(), chart.amplitude.end(), [](double a) { return a > 0; });
    if (!anyBar) {
        // An empty chart is told apart from one that failed to draw.
        const std::string note = chart.amplitude.empty() ? "no frequencies" : "all amplitudes are zero";
        SetColour(cr, kMuted);
        Text(cr, (left + right - measure(note, 14, false)) / 2, (top + bottom) / 2, note, 14);
    }
    SetColour(cr, kInk);
    cairo_move_to(cr, left, top);
    cairo_line_to(cr, left, bottom);
    cairo_line_to(cr, right, bottom);
    cairo_stroke(cr);
    picture.Commit();
}

namespace {

constexpr const char* kLoopNames[] = {"AN", "BN", "CN", "AB", "BC", "CA"};
// Phase-to-earth loops in their phase's colour and drawn round, phase-to-phase ones in
// colours of their own and drawn as diamonds.
constexpr Rgb kLoopColours[] = {kPhaseColours[0], kPhaseColours[1], kPhaseColours[2],
                                {0.15, 0.35, 0.80}, {0.55, 0.20, 0.70}, {0.0, 0.50, 0.55}};
constexpr Rgb kImpedance{0.05, 0.05, 0.05};
constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Further out a point is only pointed at, so that the view's arithmetic stays finite;
// a value nearer zero than the smallest sets no scale.
constexpr double kRxLargest = 1e300, kRxSmallest = 1e-300;
// Points closer than this in the picture share one label.
constexpr double kCoincident = 6;
constexpr char kOhm[] = "\u03A9";

struct RxPlace {
    int loop;  // -1 for Z
    std::string name;
    double r, x, magnitude, angle;
    bool drawable;   // finite and small enough for the view
    bool pointable;  // has a direction at least
};

RxPlace MakePlace(int loop, std::string name, double r, double x) {
    const double magnitude = std::hypot(r, x);
    return {loop,
            std::move(name),
            r,
            x,
            magnitude,
            std::atan2(x, r) / kDegree,
            std::isfinite(r) && std::isfinite(x) && magnitude <= kRxLargest,
            !std::isnan(r) && !std::isnan(x)};
}

RxMarker LoopMarker(int loop, double x, double y) {
    return {RxMarker::Kind::Loop, loop, x, y, {x - 6, y - 6, x + 6, y + 6}, kLoopColours[loop]};
}

std::string ImpedanceText(double magnitude, double angle, int decimals, int angleDecimals) {
    std::string text = CompactNumber(magnitude, decimals) + " " + kOhm;
    // A zero has no direction to tell.
    if (magnitude != 0 && !std::isnan(magnitude)) text += " \u2220" + Fixed(angle, angleDecimals) + "\u00B0";
    return text;
}

}  // namespace

RxLayout LayOutRxDiagram(const RxDiagram& d, const MeasureText& measure, Box area) {
    RxLayout layout;
    auto& texts = layout.texts;
    const double width = area.x1 - area.x0;
    texts.push_back(FitText(PlacedText::Kind::Title, CompactNumbers(d.title), area.x0 + 24, area.y0 + 36, 18, true,
                            width - 48, measure, 12));

    // The legend: phase-to-earth loops in the left column, phase-to-phase ones in the right.
    auto name = [&d](int k) { return d.loops[k].label.empty() ? std::string(kLoopNames[k]) : d.loops[k].label; };
    const double column = (width - 48) / 2;
    for (int k = 0; k < 6; ++k) {
        const RxPoint& p = d.loops[k];
        const double x = area.x0 + 42 + (k / 3) * column, y = area.y1 - 60 + (k % 3) * 20;
        const std::string value = p.present ? "R = " + CompactNumber(p.r, 2) + " " + kOhm +
                                                  "  X = " + CompactNumber(p.x, 2) + " " + kOhm
                                            : "no value (no loop current)";
        texts.push_back(FitText(PlacedText::Kind::Note, name(k) + "  " + value, x, y, 13, false, column - 30, measure));
        texts.back().colour = p.present ? kInk : kMuted;
        layout.markers.push_back(LoopMarker(k, x - 12, y - 4.5));
    }

    std::vector<RxPlace> places{MakePlace(-1, "Z", d.faultR, d.faultX)};
    for (int k = 0; k < 6; ++k)
        if (d.loops[k].present) places.push_back(MakePlace(k, name(k), d.loops[k].r, d.loops[k].x));
    const RxPlace& z = places.front();

    // The view: Z and the origin, and the loops within three times the scale's base, |Z|
    // (for a fault at the relay the nearest loop that sees anything).
    double base = z.drawable && z.magnitude >= kRxSmallest ? z.magnitude : kInfinity;
    if (base == kInfinity)
        for (const RxPlace& p : places)
            if (p.drawable && p.magnitude >= kRxSmallest) base = std::min(base, p.magnitude);
    if (base == kInfinity) base = 1;
    double rMin = 0, rMax = 0, xMin = 0, xMax = 0;
    for (const RxPlace& p : places)
        if (p.drawable && (p.loop < 0 || p.magnitude <= 3 * base)) {
            rMin = std::min(rMin, p.r);
            rMax = std::max(rMax, p.r);
            xMin = std::min(xMin, p.x);
            xMax = std::max(xMax, p.x);
        }
    const double spanR = rMax - rMin, spanX = xMax - xMin;
    const double size = std::max(spanR, spanX);
    const double pad = size > 0 ? 0.12 * std::max(size, base) : base;

    // Fitted to the frame at one scale for both axes; the left margin grows with the
    // X axis's tick marks, so the frame is laid out again if they need more room.
    const double top = area.y0 + 78, bottom = area.y1 - 106, right = area.x1 - 20;
    auto X = [&layout](double r) { return layout.frame.x0 + (r - layout.r0) * layout.pointsPerOhm; };
    auto Y = [&layout](double x) { return layout.frame.y1 - (x - layout.x0) * layout.pointsPerOhm; };
    std::vector<PlacedText> marks;
    double widestX = 0;
    auto view = [&](double left) {
        layout.frame = {left, top, right, bottom};
        const double w = right - left, h = bottom - top;
        const double scale = std::min(w / (spanR + 2 * pad), h / (spanX + 2 * pad));
        layout.pointsPerOhm = scale;
        layout.r0 = (rMin + rMax) / 2 - w / 2 / scale;
        layout.r1 = (rMin + rMax) / 2 + w / 2 / scale;
        layout.x0 = (xMin + xMax) / 2 - h / 2 / scale;
        layout.x1 = (xMin + xMax) / 2 + h / 2 / scale;

        marks.clear();
        layout.gridR.clear();
        layout.gridX.clear();
        widestX = 0;
        const std::string rName = std::string("R, ") + kOhm, xName = std::string("X, ") + kOhm;
        const double rWidth = measure(rName, 13, false), xWidth = measure(xName, 13, false);
        marks.push_back({PlacedText::Kind::Mark, rName, 13, false, right - rWidth, bottom + 17,
                         TextBox(right - rWidth, bottom + 17, rWidth, 13), kInk});
        marks.back().box.x0 -= 10;  // so that no number reads as part of the name
        marks.push_back({PlacedText::Kind::Mark, xName, 13, false, left - 6 - xWidth, top - 14,
                         TextBox(left - 6 - xWidth, top - 14, xWidth, 13), kInk});
        const double span = std::max(layout.r1 - layout.r0, layout.x1 - layout.x0);
        layout.step = TickStep(span, static_cast<int>(std::max(w, h) / 55));
        if (!std::isfinite(span / layout.step) || span / layout.step > 40) {
            layout.step = 0;
            return;
        }
        // A mark that would touch one already placed is left out.
        auto mark = [&](double value, double x, double baseline, bool level) {
            const std::string text = TickLabel(value, layout.step);
            const double markWidth = measure(text, 12, false);
            const double at =
                level ? x - 6 - markWidth : std::max(area.x0 + 2, std::min(x - markWidth / 2, area.x1 - 2 - markWidth));
            const PlacedText t{PlacedText::Kind::Mark, text, 12, false, at, baseline,
                               TextBox(at, baseline, markWidth, 12), kMuted};
            if (level) widestX = std::max(widestX, markWidth);
            if (t.box.Inside(area) &&
                std::none_of(marks.begin(), marks.end(), [&t](const PlacedText& o) { return t.box.Overlaps(o.box); }))
                marks.push_back(t);
        };
        // By index, so that a step lost in rounding cannot stall the loop.
        const double firstR = std::ceil(layout.r0 / layout.step), firstX = std::ceil(layout.x0 / layout.step);
        for (int k = 0; k <= 40; ++k) {
            const double value = (firstR + k) * layout.step + 0.0;
            if (value > layout.r1) break;
            layout.gridR.push_back(X(value));
            mark(value, X(value), bottom + 17, false);
        }
        for (int k = 0; k <= 40; ++k) {
            const double value = (firstX + k) * layout.step + 0.0;
            if (value > layout.x1) break;
            layout.gridX.push_back(Y(value));
            mark(value, left, Y(value) + 4, true);
        }
    };
    const double xNameRoom = measure(std::string("X, ") + kOhm, 13, false) + 12;
    view(area.x0 + std::max(48.0, xNameRoom));
    if (widestX + 12 > layout.frame.x0 - area.x0)
        view(area.x0 + std::min(std::max(widestX, xNameRoom) + 12, width / 3));
    texts.insert(texts.end(), marks.begin(), marks.end());

    const Box& frame = layout.frame;
    const double ox = X(0), oy = Y(0);
    layout.originX = ox;
    layout.originY = oy;
    layout.markers.push_back({RxMarker::Kind::Origin, -1, ox, oy, {ox - 4, oy - 4, ox + 4, oy + 4}, kInk});

    // What is to be labelled, where, and which way from there it would best go.
    struct Pending {
        std::string text;
        bool bold;
        Rgb colour;
        double x, y, angle;
    };
    std::vector<Pending> pending;
    std::vector<Box> taken;  // markers and arrows in the frame, then the labels placed
    struct Segment {
        double ax, ay, bx, by;
    };
    std::vector<Segment> lines;  // Z and the arrows: labels go over them only when nothing else is free

    // An arrow along the line from the origin toward the point, its tip at the frame's edge;
    // arrows to one place with one value share a label.
    struct EdgeLabel {
        std::string names, value;
        Rgb colour;
        double tipX, tipY, tailX, tailY, angle;
    };
    std::vector<EdgeLabel> edgeLabels;
    auto pointAt = [&](const RxPlace& p, Rgb colour, const std::string& value) {
        const double c = std::cos(p.angle * kDegree), s = -std::sin(p.angle * kDegree);
        const Box edge{frame.x0 + 3, frame.y0 + 3, frame.x1 - 3, frame.y1 - 3};
        double t = kInfinity;
        if (c > 1e-9) t = std::min(t, (edge.x1 - ox) / c);
        if (c < -1e-9) t = std::min(t, (edge.x0 - ox) / c);
        if (s > 1e-9) t = std::min(t, (edge.y1 - oy) / s);
        if (s < -1e-9) t = std::min(t, (edge.y0 - oy) / s);
        t = std::max(t, 0.0);
        const double tail = std::max(t - 26, 0.0);
        const RxEdgeArrow a{p.loop, ox + tail * c, oy + tail * s, ox + t * c, oy + t * s, colour};
        layout.arrows.push_back(a);
        taken.push_back({std::min(a.tailX, a.tipX) - 5, std::min(a.tailY, a.tipY) - 5, std::max(a.tailX, a.tipX) + 5,
                         std::max(a.tailY, a.tipY) + 5});
        lines.push_back({a.tailX, a.tailY, a.tipX, a.tipY});
        for (EdgeLabel& e : edgeLabels)
            if (e.value == value && std::hypot(e.tipX - a.tipX, e.tipY - a.tipY) < kCoincident) {
                e.names += ", " + p.name;
                e.colour = kInk;
                return;
            }
        edgeLabels.push_back({p.name, value, colour, a.tipX, a.tipY, a.tailX, a.tailY, p.angle});
    };

    const std::string zText = "Z = " + ImpedanceText(z.magnitude, z.angle, 2, 1);
    if (z.drawable) {
        layout.zShown = true;
        layout.zTipX = X(z.r);
        layout.zTipY = Y(z.x);
        const double tx = layout.zTipX, ty = layout.zTipY;
        layout.markers.push_back({RxMarker::Kind::Fault, -1, tx, ty, {tx - 8, ty - 8, tx + 8, ty + 8}, kImpedance});
        lines.push_back({ox, oy, tx, ty});
        pending.push_back({zText, true, kImpedance, tx, ty, z.angle});
    } else if (z.pointable) {
        pointAt(z, kImpedance, zText);
    } else {
        pending.push_back({zText, true, kImpedance, ox, oy, 0});  // nowhere to draw: told at the origin
    }

    // Loops in view, those that coincide in the picture under one label.
    struct Group {
        std::string names;
        Rgb colour;
        double x, y, angle;
    };
    std::vector<Group> groups;
    const Box inner{frame.x0 + 6, frame.y0 + 6, frame.x1 - 6, frame.y1 - 6};
    for (const RxPlace& p : places) {
        if (p.loop < 0) continue;
        const double x = p.drawable ? X(p.r) : 0, y = p.drawable ? Y(p.x) : 0;
        if (p.drawable && x >= inner.x0 && x <= inner.x1 && y >= inner.y0 && y <= inner.y1) {
            layout.markers.push_back(LoopMarker(p.loop, x, y));
            auto same = std::find_if(groups.begin(), groups.end(),
                                     [&](const Group& g) { return std::hypot(g.x - x, g.y - y) < kCoincident; });
            if (same != groups.end()) {
                same->names += ", " + p.name;
                same->colour = kInk;
            } else {
                groups.push_back({p.name, kLoopColours[p.loop], x, y, p.angle});
            }
        } else if (p.pointable) {
            pointAt(p, kLoopColours[p.loop], ImpedanceText(p.magnitude, p.angle, 1, 0));
        }
    }
    for (const RxMarker& m : layout.markers)
        if (m.box.Overlaps(frame)) taken.push_back(m.box);
    for (const Group& g : groups) pending.push_back({g.names, false, g.colour, g.x, g.y, g.angle});
    // Labels at an edge go inward from the arrow's tail.
    for (const EdgeLabel& e : edgeLabels)
        pending.push_back({e.names + " " + e.value, false, e.colour, e.tailX, e.tailY, e.angle + 180});

    // Each label at the first candidate around its point that keeps clear of the markers,
    // arrows and labels (and, if it can, of the lines); failing that, the nearest free
    // place in the frame, with a leader.
    const Box inside{frame.x0 + 2, frame.y0 + 2, frame.x1 - 2, frame.y1 - 2};
    auto crossesLine = [&](const Box& box) {
        const Box wide{box.x0 - 2, box.y0 - 2, box.x1 + 2, box.y1 + 2};
        return std::any_of(lines.begin(), lines.end(),
                           [&wide](const Segment& l) { return Crosses(wide, l.ax, l.ay, l.bx, l.by); });
    };
    for (const Pending& p : pending) {
        const PlacedText fitted =
            FitText(PlacedText::Kind::Phasor, p.text, 0, 0, 13, p.bold, inside.x1 - inside.x0 - 8, measure);
        const double textSize = fitted.size, w = measure(fitted.text, textSize, p.bold), h = 1.3 * textSize;
        // Centres of boxes beyond the point `distance` out, touching it with the corner or
        // edge that faces the point.
        std::vector<std::pair<double, double>> candidates;
        for (double distance : {8.0, 16.0, 28.0, 44.0, 64.0})
            for (double turn : {0.0, -45.0, 45.0, -90.0, 90.0, -135.0, 135.0, 180.0}) {
                const Heading way = HeadingAt(p.angle + turn, w, h);
                candidates.emplace_back(p.x + distance * way.c + way.offsetX, p.y + distance * way.s + way.offsetY);
            }
        const Spot spot = FindLabelSpot(candidates, inside, taken, w, textSize, crossesLine);
        taken.push_back(spot.box);
        texts.push_back(PointLabel(fitted.text, textSize, p.bold, p.colour, spot, p.x, p.y, 30));
    }
    return layout;
}

namespace {

void PaintRxDiagram(cairo_t* cr, const RxLayout& layout) {
    const Box& f = layout.frame;
    cairo_set_line_width(cr, 1);
    SetColour(cr, kGrid);
    for (double x : layout.gridR) {
        cairo_move_to(cr, x, f.y0);
        cairo_line_to(cr, x, f.y1);
    }
    for (double y : layout.gridX) {
        cairo_move_to(cr, f.x0, y);
        cairo_line_to(cr, f.x1, y);
    }
    cairo_stroke(cr);
    SetColour(cr, kMuted);
    cairo_set_line_width(cr, 1.2);
    cairo_move_to(cr, f.x0, layout.originY);
    cairo_line_to(cr, f.x1, layout.originY);
    cairo_move_to(cr, layout.originX, f.y0);
    cairo_line_to(cr, layout.originX, f.y1);
    cairo_stroke(cr);
    cairo_set_line_width(cr, 1);
    cairo_rectangle(cr, f.x0, f.y0, f.x1 - f.x0, f.y1 - f.y0);
    cairo_stroke(cr);

    PaintLeaders(cr, layout.texts);
    if (layout.zShown) {
        SetColour(cr, kImpedance);
        cairo_set_line_width(cr, 2.5);
        cairo_move_to(cr, layout.originX, layout.originY);
        cairo_line_to(cr, layout.zTipX, layout.zTipY);
        cairo_stroke(cr);
    }
    for (const RxEdgeArrow& a : layout.arrows) {
        const double length = std::hypot(a.tipX - a.tailX, a.tipY - a.tailY);
        if (!(length > 0)) continue;
        const double c = (a.tipX - a.tailX) / length, s = (a.tipY - a.tailY) / length;
        const double head = std::min(11.0, length), baseX = a.tipX - head * c, baseY = a.tipY - head * s;
        SetColour(cr, a.colour);
        cairo_set_line_width(cr, 2);
        cairo_move_to(cr, a.tailX, a.tailY);
        cairo_line_to(cr, baseX, baseY);
        cairo_stroke(cr);
        cairo_move_to(cr, a.tipX, a.tipY);
        cairo_line_to(cr, baseX - 4.5 * s, baseY + 4.5 * c);
        cairo_line_to(cr, baseX + 4.5 * s, baseY - 4.5 * c);
        cairo_close_path(cr);
        cairo_fill(cr);
    }
    // Rounds over diamonds, so that loops at one point still show more than one shape.
    auto paint = [cr](const RxMarker& m) {
        switch (m.kind) {
            case RxMarker::Kind::Origin:
                SetColour(cr, kInk);
                cairo_arc(cr, m.x, m.y, 3, 0, 2 * kPi);
                cairo_fill(cr);
                return;
            case RxMarker::Kind::Fault:
                SetColour(cr, kImpedance);
                cairo_set_line_width(cr, 2);
                cairo_arc(cr, m.x, m.y, 7, 0, 2 * kPi);
                cairo_stroke(cr);
                return;
            case RxMarker::Kind::Loop:
                if (m.loop < 3) {
                    cairo_arc(cr, m.x, m.y, 4.5, 0, 2 * kPi);
                } else {
                    cairo_move_to(cr, m.x, m.y - 6);
                    cairo_line_to(cr, m.x + 6, m.y);
                    cairo_line_to(cr, m.x, m.y + 6);
                    cairo_line_to(cr, m.x - 6, m.y);
                    cairo_close_path(cr);
                }
                SetColour(cr, m.colour);
                cairo_fill_preserve(cr);
                cairo_set_source_rgb(cr, 1, 1, 1);
                cairo_set_line_width(cr, 1);
                cairo_stroke(cr);
                return;
        }
    };
    for (const RxMarker& m : layout.markers)
        if (m.kind != RxMarker::Kind::Loop || m.loop >= 3) paint(m);
    for (const RxMarker& m : layout.markers)
        if (m.kind == RxMarker::Kind::Loop && m.loop < 3) paint(m);

    for (const PlacedText& t : layout.texts) {
        if (t.kind == PlacedText::Kind::Phasor) {
            // On a white ground, over the grid and the lines.
            cairo_set_source_rgba(cr, 1, 1, 1, 0.85);
            cairo_rectangle(cr, t.box.x0, t.box.y0, t.box.x1 - t.box.x0, t.box.y1 - t.box.y0);
            cairo_fill(cr);
        }
        SetColour(cr, t.colour);
        Text(cr, t.x, t.y, t.text, t.size, t.bold);
    }
}

}  // namespace

void DrawVectorAndRxDiagrams(const VectorDiagram& vectors, const RxDiagram& rx, const std::string& path) {
    constexpr double kVectorWidth = 1000, kRxWidth = 640, kHeight = 640;
    Picture picture(path, kVectorWidth + kRxWidth, kHeight);
    cairo_t* cr = picture.cr();
    const MeasureText measure = CairoMeasure(cr);
    PaintVectorDiagram(cr, LayOutVectorDiagram(vectors, measure), 0, 0);
    SetColour(cr, kGrid);
    cairo_set_line_width(cr, 1);
    cairo_move_to(cr, kVectorWidth, 24);
    cairo_line_to(cr, kVectorWidth, kHeight - 24);
    cairo_stroke(cr);
    PaintRxDiagram(cr, LayOutRxDiagram(rx, measure, {kVectorWidth, 0, kVectorWidth + kRxWidth, kHeight}));
    picture.Commit();
}

namespace {

constexpr double kWaveWidth = 1400;
// Channels that name no phase, in colours apart from the phases' and from each other.
constexpr Rgb kTraceColours[] = {{0.15, 0.35, 0.80}, {0.55, 0.20, 0.70}, {0.0, 0.50, 0.55}, {0.50, 0.32, 0.12},
                                 {0.85, 0.30, 0.55}, {0.40, 0.40, 0.40}, {0.45, 0.55, 0.05}};
constexpr Rgb kDigital{0.15, 0.30, 0.65};

// A time tick's text without the zeros a round step leaves ("0.1", not "0.10").
std::string TimeLabel(double value, double step) {
    std::string text = TickLabel(value, step);
    if (text.find('.') != std::string::npos && text.find('e') == std::string::npos) {
        while (text.back() == '0') text.pop_back();
        if (text.back() == '.') text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

// 0, 1 or 2 for a channel named after phase A, B or C ("UA", "IB", "Uc"); -1 otherwise.
int PhaseOf(const std::string& name) {
    std::size_t end = name.size();
    while (end > 0 && std::isspace(static_cast<unsigned char>(name[end - 1]))) --end;
    if (end == 0) return -1;
    const int letter = std::toupper(static_cast<unsigned char>(name[end - 1]));
    return letter >= 'A' && letter <= 'C' ? letter - 'A' : -1;
}

// Sample n at left + n / last * width, `last` being the index of the longest channel's
// last sample (1 for a single sample, which then fills the width); a column is one
// point of the width.
struct SampleScale {
    double left, width, last;
    std::size_t columns;
    double X(std::size_t n) const { return left + static_cast<double>(n) / last * width; }
    std::size_t Column(double x) const {
        const double c = std::floor(x - left);
        return c <= 0 ? 0 : std::min(columns - 1, static_cast<std::size_t>(c));
    }
};

// The polyline of one channel: per column its least and greatest sample in time order,
// broken where samples are NaN; infinities clamp to the frame's edge.
std::vector<std::vector<PlotPoint>> TracePieces(std::span<const double> samples, const SampleScale& scale, double mid,
                                                double half, double top) {
    std::vector<std::vector<PlotPoint>> pieces;
    std::vector<PlotPoint> piece;
    auto y = [&](double v) { return mid - std::clamp(v / top, -1.0, 1.0) * half; };
    struct Extreme {
        double value;
        std::size_t n;
    };
    std::optional<std::pair<Extreme, Extreme>> bucket;  // least, greatest
    auto flush = [&] {
        if (!bucket) return;
        auto [first, second] = *bucket;
        if (second.n < first.n) std::swap(first, second);
        piece.push_back({scale.X(first.n), y(first.value)});
        if (second.n != first.n) piece.push_back({scale.X(second.n), y(second.value)});
        bucket.reset();
    };
    auto endPiece = [&] {
        flush();
        if (!piece.empty()) pieces.push_back(std::move(piece));
        piece.clear();
    };
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    std::size_t column = kNone, gapColumn = kNone;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const std::size_t c = scale.Column(scale.X(n));
        if (c != column) {
            flush();
            column = c;
        }
        const double v = samples[n];
        if (std::isnan(v)) {
            // One gap per column is all a column can show, and it bounds the points.
            if (gapColumn != c) endPiece();
            gapColumn = c;
            continue;
        }
        if (!bucket) {
            bucket.emplace(Extreme{v, n}, Extreme{v, n});
        } else {
            if (v < bucket->first.value) bucket->first = {v, n};
            if (v > bucket->second.value) bucket->second = {v, n};
        }
    }
    endPiece();
    return pieces;
}

// A digital channel as levels from change to change; where a column holds more than one
// change, the stretch from its first to its last is Both.
std::vector<DigitalRun> DigitalRuns(std::span<const std::uint8_t> samples, const SampleScale& scale, double right) {
    using Level = DigitalRun::Level;
    std::vector<DigitalRun> runs;
    if (samples.empty()) return runs;
    auto add = [&runs](double a, double b, Level level) {
        b = std::max(a, b);
        if (!runs.empty()) {
            DigitalRun& back = runs.back();
            if (back.level == level) {
                back.x1 = b;
                return;
            }
            // A sliver between two busy stretches belongs to them.
            if (level == Level::Both && runs.size() >= 2 && back.x1 - back.x0 < 1 &&
                runs[runs.size() - 2].level == Level::Both) {
                runs.pop_back();
                runs.back().x1 = b;
                return;
            }
        }
        runs.push_back({a, b, level});
    };
    auto levelOf = [](std::uint8_t v) { return v != 0 ? Level::High : Level::Low; };
    Level level = levelOf(samples[0]), after = level;
    double at = scale.X(0), first = 0, last = 0;
    std::size_t column = std::numeric_limits<std::size_t>::max();
    int changes = 0;
    auto flush = [&] {
        if (changes == 0) return;
        add(at, first, level);
        if (changes > 1) add(first, last, Level::Both);
        at = changes > 1 ? last : first;
        level = after;
        changes = 0;
    };
    for (std::size_t n = 1; n < samples.size(); ++n) {
        if ((samples[n] != 0) == (samples[n - 1] != 0)) continue;
        const double x = scale.X(n);
        const std::size_t c = scale.Column(x);
        if (c != column) {
            flush();
            column = c;
        }
        if (changes++ == 0) first = x;
        last = x;
        after = levelOf(samples[n]);
    }
    flush();
    add(at, std::min(scale.X(samples.size()), right), level);  // the last sample holds for one interval
    return runs;
}

// Panels: volts, then amperes, then the other units as they come.
std::vector<std::string> PanelUnits(const WaveformChart& chart) {
    std::vector<std::string> units;
    auto add = [&units](const std::string& unit) {
        if (std::find(units.begin(), units.end(), unit) == units.end()) units.push_back(unit);
    };
    for (const char* unit : {"V", "A"})
        if (std::any_of(chart.analog.begin(), chart.analog.end(), [unit](const auto& a) { return a.unit == unit; }))
            add(unit);
    for (const auto& a : chart.analog) add(a.unit);
    return units;
}

// Known before the layout, so that the picture can be begun with the fonts it measures.
double WaveformHeight(const WaveformChart& chart) {
    const auto panels = static_cast<double>(PanelUnits(chart).size());
    const auto strips = static_cast<double>(chart.digital.size());
    return panels > 0 ? 300 + 180 * panels + 28 * strips : 190 + 28 * strips;
}

std::size_t Characters(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// Whether a label cut short still tells something: three characters or its whole text.
bool Readable(const std::string& cut, const std::string& whole) {
    return cut == whole || Characters(cut) > std::min<std::size_t>(3, Characters(whole));  // the ellipsis counts one
}

struct MarkerInView {
    double x;
    std::string label;
};

// Labels beside their lines (to the right, or to the left at the canvas's right edge) in
// up to three rows: each in the first row where it fits whole; else the row whose last
// label, cut short, leaves it the most room; else none. Markers closer than a line's
// width share one label, their names joined. Returns the rows used; labelOf gets each
// marker's label, if it has one.
int PlaceMarkerLabels(const std::vector<MarkerInView>& markers, double top, double canvasRight,
                      const MeasureText& measure, std::vector<PlacedText>& labels,
                      std::vector<std::optional<std::size_t>>& labelOf) {
    constexpr int kRows = 3;
    constexpr double kSize = 12, kRow = 16, kGap = 2, kWidest = 240, kTogether = 3;
    std::vector<std::string> full;           // labels' whole texts, to shorten them again
    std::optional<std::size_t> last[kRows];  // the rightmost label of each row
    int rows = 0;
    auto fit = [&](const std::string& text, double x, int row, double maxWidth) {
        return FitText(PlacedText::Kind::Mark, text, x, top + 12 + row * kRow, kSize, false, maxWidth, measure, kSize);
    };
    labelOf.assign(markers.size(), std::nullopt);
    for (std::size_t k = 0, end = 0; k < markers.size(); k = end) {
        const double x = markers[k].x;
        std::string text;
        for (end = k; end < markers.size() && markers[end].x - x < kTogether; ++end)
            if (!markers[end].label.empty()) text += (text.empty() ? "" : ", ") + markers[end].label;
        if (text.empty()) continue;
        auto put = [&](PlacedText t, int row) {
            t.anchorX = x;
            t.anchorY = top;
            for (std::size_t m = k; m < end; ++m) labelOf[m] = labels.size();
            labels.push_back(std::move(t));
            full.push_back(text);
            last[row] = labels.size() - 1;
            rows = std::max(rows, row + 1);
        };

        const PlacedText whole = fit(text, 0, 0, kWidest);
        const double width = whole.box.x1 - whole.box.x0 - 4;
        const double start = std::max(8.0, std::min(x + 3, canvasRight - width));
        int row = 0;
        while (row < kRows && last[row] && labels[*last[row]].box.x1 + kGap > start - 2) ++row;
        if (row < kRows) {
            put(fit(text, start, row, kWidest), row);
            continue;
        }

        // Every row is taken here: a label cut short makes room, if both stay readable.
        std::size_t head = 0;
        for (std::size_t c = 0; head < text.size(); ++head)
            if ((static_cast<unsigned char>(text[head]) & 0xC0) != 0x80 && c++ == 3) break;
        const double least = measure(text.substr(0, head) + "\u2026", kSize, false);
        const double at = std::max(8.0, std::min(x + 3, canvasRight - least));
        int bestRow = -1;
        PlacedText bestCut{};
        for (row = 0; row < kRows; ++row) {
            const PlacedText& before = labels[*last[row]];
            const double room = at - 2 - kGap - 2 - before.x;
            if (room <= 0) continue;
            const PlacedText cut = fit(full[*last[row]], before.x, row, room);
            if (!Readable(cut.text, full[*last[row]]) || cut.box.x1 + kGap > at - 2) continue;
            if (bestRow < 0 || cut.box.x1 > bestCut.box.x1) {
                bestRow = row;
                bestCut = cut;
            }
        }
        const PlacedText mine = fit(text, at, std::max(bestRow, 0), canvasRight - at);
        if (bestRow < 0 || !Readable(mine.text, text)) continue;  // too crowded: the line alone
        PlacedText& before = labels[*last[bestRow]];
        bestCut.anchorX = before.anchorX;
        bestCut.anchorY = before.anchorY;
        before = bestCut;
        put(mine, bestRow);
    }
    return rows;
}

}  // namespace

WaveformLayout LayOutWaveforms(const WaveformChart& chart, const MeasureText& measure) {
    if (!(chart.rate > 0) || !std::isfinite(chart.rate))
        throw Error("waveforms: the sample rate must be a finite number above 0");
    if (!std::isfinite(chart.start)) throw Error("waveforms: the start time must be a finite number");
    std::size_t samples = 0;
    for (const auto& a : chart.analog) samples = std::max(samples, a.samples.size());
    for (const auto& d : chart.digital) samples = std::max(samples, d.samples.size());
    const double lastIndex = samples > 1 ? static_cast<double>(samples - 1) : 1;
    const double span = lastIndex / chart.rate;
    if (!std::isfinite(span)) throw Error("waveforms: the sample rate is too low for a time axis");

    WaveformLayout layout;
    layout.width = kWaveWidth;
    layout.t0 = chart.start;
    layout.t1 = chart.start + span;

    const std::vector<std::string> units = PanelUnits(chart);
    std::vector<AmplitudeAxis> axes;
    for (const std::string& unit : units) {
        double largest = 0;
        for (const auto& a : chart.analog)
            if (a.unit == unit)
                for (double v : a.samples)
                    if (std::isfinite(v)) largest = std::max(largest, std::fabs(v));
        axes.push_back(RoundAxis(largest, 3));
    }

    // Across: tick labels, units and digital names left of the frames, the legend right.
    constexpr double kTick = 11, kName = 12;
    double leftRoom = 0;
    for (std::size_t p = 0; p < units.size(); ++p) {
        leftRoom = std::max(leftRoom, measure(TickLabel(-axes[p].top, axes[p].step), kTick, false));
        leftRoom = std::max(leftRoom, measure(units[p], kName, true));
    }
    for (const auto& d : chart.digital) leftRoom = std::max(leftRoom, measure(d.name, kName, false));
    layout.left = std::clamp(leftRoom + 18, 56.0, 200.0);
    double legendRoom = 0;
    for (const auto& a : chart.analog) legendRoom = std::max(legendRoom, measure(a.name, kName, false));
    const double legendWidth = chart.analog.empty() ? 8 : std::clamp(legendRoom + 48, 90.0, 200.0);
    layout.right = layout.width - 16 - legendWidth;
    const double plotWidth = layout.right - layout.left;
    const SampleScale scale{layout.left, plotWidth, lastIndex,
                            static_cast<std::size_t>(std::max(1.0, std::ceil(plotWidth)))};

    auto& texts = layout.texts;
    texts.push_back(FitText(PlacedText::Kind::Title, CompactNumbers(chart.title), 24, 32, 18, true, layout.width - 48,
                            measure, 12));

    // Markers within the samples' time (half a sample beyond either end still counts).
    std::vector<MarkerInView> inView;
    for (const auto& m : chart.markers) {
        const double at = (m.time - chart.start) * chart.rate;
        if (!(at >= -0.5 && at <= lastIndex + 0.5)) continue;
        inView.push_back({layout.left + std::clamp(at / lastIndex, 0.0, 1.0) * plotWidth, m.label});
    }
    std::stable_sort(inView.begin(), inView.end(), [](const auto& a, const auto& b) { return a.x < b.x; });
    constexpr double kBandTop = 46;
    std::vector<std::optional<std::size_t>> labelOf;
    const int rows = PlaceMarkerLabels(inView, kBandTop, layout.width - 8, measure, layout.markerLabels, labelOf);

    // Down: title, marker labels, the panels, the digital strips, the time axis.
    const std::size_t panelCount = units.size(), stripCount = chart.digital.size();
    constexpr double kPanelGap = 34, kStrip = 20, kStripPitch = 28;
    const double contentTop = kBandTop + rows * 16 + 26;
    double bottom = contentTop;
    layout.height = WaveformHeight(chart);
    if (panelCount > 0) {
        const double panelsBottom =
            layout.height - 52 - kStripPitch * static_cast<double>(stripCount) - (stripCount > 0 ? 10 : 0);
        const double panelHeight = (panelsBottom - contentTop - kPanelGap * static_cast<double>(panelCount - 1)) /
                                   static_cast<double>(panelCount);
        for (std::size_t p = 0; p < panelCount; ++p) {
            WaveformPanel panel;
            panel.unit = units[p];
            panel.axis = axes[p];
            const double y0 = contentTop + static_cast<double>(p) * (panelHeight + kPanelGap);
            panel.frame = {layout.left, y0, layout.right, y0 + panelHeight};
            bottom = panel.frame.y1;
            layout.panels.push_back(std::move(panel));
        }
        bottom += stripCount > 0 ? 10 : 0;
    } else if (stripCount == 0) {
        bottom = layout.height - 52;
    }
    for (std::size_t d = 0; d < stripCount; ++d) {
        const double y0 = bottom + (d == 0 ? 0 : kStripPitch - kStrip);
        layout.strips.push_back({d,
                                 {layout.left, y0, layout.right, y0 + kStrip},
                                 DigitalRuns(chart.digital[d].samples, scale, layout.right)});
        bottom = y0 + kStrip;
    }

    // Units first, so that a tick label that would touch one is the one left out.
    std::vector<Box> taken;
    auto mark = [&](const std::string& text, double x, double y, double size, bool bold, Rgb colour, bool always) {
        const double w = measure(text, size, bold);
        const PlacedText t{PlacedText::Kind::Mark, text, size, bold, x, y, TextBox(x, y, w, size), colour};
        if (!always && std::any_of(taken.begin(), taken.end(), [&t](const Box& b) { return t.box.Overlaps(b); }))
            return;
        taken.push_back(t.box);
        texts.push_back(t);
    };
    for (WaveformPanel& panel : layout.panels)
        mark(panel.unit, layout.left - 8 - measure(panel.unit, kName, true), panel.frame.y0 - 12, kName, true, kInk,
             true);
    for (WaveformPanel& panel : layout.panels) {
        const Box& f = panel.frame;
        const double mid = (f.y0 + f.y1) / 2, half = (f.y1 - f.y0) / 2;
        for (int k = panel.axis.ticks; k >= -panel.axis.ticks; --k) {
            const double value =
                std::abs(k) == panel.axis.ticks ? (k > 0 ? 1 : -1) * panel.axis.top : k * panel.axis.step;
            const std::string text = TickLabel(value, panel.axis.step);
            const double y = mid - value / panel.axis.top * half;
            mark(text, layout.left - 8 - measure(text, kTick, false), y + 4, kTick, false, kMuted, false);
        }
        // Traces and legend, phases in their colours; a colour already used in the panel
        // is not given twice.
        std::vector<bool> used(std::size(kPhaseColours) + std::size(kTraceColours));
        std::size_t nextColour = 0;
        std::vector<std::size_t> members;
        for (std::size_t a = 0; a < chart.analog.size(); ++a)
            if (chart.analog[a].unit == panel.unit) members.push_back(a);
        const auto perColumn = static_cast<std::size_t>(std::max(1.0, std::floor((f.y1 - f.y0 - 6) / 18)));
        for (std::size_t m = 0; m < members.size(); ++m) {
            const auto& channel = chart.analog[members[m]];
            const int phase = PhaseOf(channel.name);
            std::size_t colour = 0;
            if (phase >= 0 && !used[static_cast<std::size_t>(phase)]) {
                colour = static_cast<std::size_t>(phase);
            } else {
                while (nextColour < std::size(kTraceColours) - 1 && used[3 + nextColour]) ++nextColour;
                colour = 3 + nextColour;
            }
            used[colour] = true;
            const Rgb rgb = colour < 3 ? kPhaseColours[colour] : kTraceColours[colour - 3];
            panel.traces.push_back({members[m], rgb, TracePieces(channel.samples, scale, mid, half, panel.axis.top)});

            if (m >= perColumn) continue;
            const double x = layout.right + 40, y = f.y0 + 14 + static_cast<double>(m) * 18;
            if (m + 1 == perColumn && members.size() > perColumn) {
                PlacedText more = FitText(PlacedText::Kind::Mark, "+" + std::to_string(members.size() - m) + " more", x,
                                          y, kName, false, layout.width - 8 - x, measure);
                more.colour = kMuted;
                panel.legend.push_back(more);
                continue;
            }
            PlacedText entry =
                FitText(PlacedText::Kind::Note, channel.name, x, y, kName, false, layout.width - 8 - x, measure);
            entry.colour = rgb;
            panel.legend.push_back(entry);
        }
    }
    for (const WaveformStrip& strip : layout.strips) {
        const double maxWidth = layout.left - 16;
        PlacedText name = FitText(PlacedText::Kind::Note, chart.digital[strip.channel].name, 0,
                                  (strip.frame.y0 + strip.frame.y1) / 2 + 4, kName, false, maxWidth, measure);
        const double w = name.box.x1 - name.box.x0 - 4;
        name.x = layout.left - 8 - w;
        name.box = TextBox(name.x, name.y, w, name.size);
        texts.push_back(name);
    }

    // Time: round ticks by index, so that a step lost to a large start cannot stall.
    const double step = TickStep(span, std::max(2, static_cast<int>(plotWidth / 110)));
    const double first = std::ceil(chart.start / step);
    double lastEnd = -std::numeric_limits<double>::infinity();
    for (int k = 0; k <= 100; ++k) {
        const double value = (first + k) * step + 0.0;
        const double at = (value - chart.start) / span;
        if (at > 1 + 1e-9) break;
        if (at < -1e-9) continue;
        const double x = layout.left + std::clamp(at, 0.0, 1.0) * plotWidth;
        layout.timeGrid.push_back(x);
        const std::string text = TimeLabel(value, step);
        const double w = measure(text, kTick, false);
        const double from = std::clamp(x - w / 2, 4.0, layout.width - 4 - w);
        if (from < lastEnd + 10) continue;
        lastEnd = from + w;
        texts.push_back({PlacedText::Kind::Mark, text, kTick, false, from, bottom + 16,
                         TextBox(from, bottom + 16, w, kTick), kMuted});
    }
    const std::string axisName = "time, s";
    const double axisWidth = measure(axisName, kName, false);
    const double axisX = (layout.left + layout.right - axisWidth) / 2;
    texts.push_back({PlacedText::Kind::Mark, axisName, kName, false, axisX, bottom + 36,
                     TextBox(axisX, bottom + 36, axisWidth, kName), kInk});
    if (samples == 0) {
        const std::string note = "no samples";
        const double w = measure(note, 14, false), x = (layout.left + layout.right - w) / 2;
        const double y = (contentTop + bottom) / 2 + 5;
        texts.push_back({PlacedText::Kind::Note, note, 14, false, x, y, TextBox(x, y, w, 14), kMuted});
    }

    // A line reaches up to its label's row; one without a label starts at the panels.
    for (std::size_t m = 0; m < inView.size(); ++m)
        layout.markers.push_back(
            {inView[m].x, labelOf[m] ? layout.markerLabels[*labelOf[m]].box.y0 + 2 : contentTop, bottom});
    return layout;
}

namespace {

void PaintWaveforms(cairo_t* cr, const WaveformLayout& layout) {
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    for (const WaveformPanel& panel : layout.panels) {
        const Box& f = panel.frame;
        const double mid = (f.y0 + f.y1) / 2, half = (f.y1 - f.y0) / 2;
        SetColour(cr, kGrid);
        cairo_set_line_width(cr, 1);
        for (int k = 1; k < panel.axis.ticks; ++k)
            for (int sign : {-1, 1}) {
                const double y = mid - sign * k * panel.axis.step / panel.axis.top * half;
                cairo_move_to(cr, f.x0, y);
                cairo_line_to(cr, f.x1, y);
            }
        for (double x : layout.timeGrid) {
            cairo_move_to(cr, x, f.y0);
            cairo_line_to(cr, x, f.y1);
        }
        cairo_stroke(cr);
        SetColour(cr, kMuted);
        cairo_set_line_width(cr, 0.8);
        cairo_move_to(cr, f.x0, mid);
        cairo_line_to(cr, f.x1, mid);
        cairo_stroke(cr);
    }

    SetColour(cr, kMuted);
    cairo_set_line_width(cr, 1);
    const double dashes[] = {5.0, 3.0};
    cairo_set_dash(cr, dashes, 2, 0);
    for (const WaveformMarkerLine& m : layout.markers) {
        cairo_move_to(cr, m.x, m.y0);
        cairo_line_to(cr, m.x, m.y1);
    }
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0);

    for (const WaveformPanel& panel : layout.panels) {
        const Box& f = panel.frame;
        cairo_save(cr);
        cairo_rectangle(cr, f.x0, f.y0 - 1, f.x1 - f.x0, f.y1 - f.y0 + 2);
        cairo_clip(cr);
        cairo_set_line_width(cr, 1.3);
        for (const WaveformTrace& trace : panel.traces) {
            SetColour(cr, trace.colour);
            for (const auto& piece : trace.pieces) {
                cairo_move_to(cr, piece.front().x, piece.front().y);
                for (const PlotPoint& p : piece) cairo_line_to(cr, p.x, p.y);
                if (piece.size() == 1) {
                    // A lone sample between gaps: a short dash, so that it shows.
                    cairo_move_to(cr, piece.front().x - 1, piece.front().y);
                    cairo_line_to(cr, piece.front().x + 1, piece.front().y);
                }
            }
            cairo_stroke(cr);
        }
        cairo_restore(cr);
        SetColour(cr, kMuted);
        cairo_set_line_width(cr, 1);
        cairo_rectangle(cr, f.x0, f.y0, f.x1 - f.x0, f.y1 - f.y0);
        cairo_stroke(cr);
        for (const PlacedText& t : panel.legend) {
            SetColour(cr, t.colour);
            if (t.kind == PlacedText::Kind::Note) {  // a channel, not the count of those left out
                cairo_set_line_width(cr, 2.5);
                cairo_move_to(cr, t.x - 30, t.y - 4);
                cairo_line_to(cr, t.x - 8, t.y - 4);
                cairo_stroke(cr);
            }
            Text(cr, t.x, t.y, t.text, t.size, t.bold);
        }
    }

    for (const WaveformStrip& strip : layout.strips) {
        const Box& f = strip.frame;
        const double high = f.y0 + 2, low = f.y1 - 1;
        SetColour(cr, kGrid);
        cairo_set_line_width(cr, 1);
        cairo_move_to(cr, f.x0, low);
        cairo_line_to(cr, f.x1, low);
        cairo_stroke(cr);
        for (const DigitalRun& run : strip.runs)
            if (run.level != DigitalRun::Level::Low) {
                cairo_set_source_rgba(cr, kDigital.r, kDigital.g, kDigital.b,
                                      run.level == DigitalRun::Level::High ? 0.22 : 0.5);
                cairo_rectangle(cr, run.x0, high, std::max(run.x1 - run.x0, 0.5), low - high);
                cairo_fill(cr);
            }
        SetColour(cr, kDigital);
        cairo_set_line_width(cr, 1.5);
        for (std::size_t k = 0; k < strip.runs.size(); ++k) {
            const DigitalRun& run = strip.runs[k];
            const double y = run.level == DigitalRun::Level::Low ? low : high;
            if (k == 0)
                cairo_move_to(cr, run.x0, y);
            else
                cairo_line_to(cr, run.x0, y);
            cairo_line_to(cr, run.x1, y);
            if (run.level == DigitalRun::Level::Both) {
                cairo_move_to(cr, run.x0, low);
                cairo_line_to(cr, run.x1, low);
                cairo_move_to(cr, run.x1, high);
            }
        }
        cairo_stroke(cr);
    }

    for (const PlacedText& t : layout.texts) {
        SetColour(cr, t.colour);
        Text(cr, t.x, t.y, t.text, t.size, t.bold);
    }
    for (const PlacedText& t : layout.markerLabels) {
        SetColour(cr, t.colour);
        Text(cr, t.x, t.y, t.text, t.size, t.bold);
    }
}

}  // namespace

// A chart that cannot be laid out throws before anything is committed, and the
// picture's destructor removes what was begun.
void DrawWaveforms(const WaveformChart& chart, const std::string& path) {
    Picture picture(path, kWaveWidth, WaveformHeight(chart));
    PaintWaveforms(picture.cr(), LayOutWaveforms(chart, CairoMeasure(picture.cr())));
    picture.Commit();
}

void ReleasePictureResources() {
    cairo_debug_reset_static_data();
    FcFini();
}

}  // namespace kvdata
