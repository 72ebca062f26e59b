#include "Plot.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

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
        : m_path(path), m_temporary(path + ".tmp" + std::to_string(::getpid())), m_type(TypeOf(path)) {
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

struct Colour {
    double r, g, b;
};
constexpr Colour kPhaseColours[] = {{0.85, 0.55, 0.0}, {0.0, 0.55, 0.25}, {0.80, 0.10, 0.10}};
constexpr Colour kInk{0.15, 0.15, 0.15};
constexpr Colour kMuted{0.45, 0.45, 0.45};
constexpr Colour kGrid{0.86, 0.86, 0.86};

void SetColour(cairo_t* cr, Colour c) { cairo_set_source_rgb(cr, c.r, c.g, c.b); }

double TextWidth(cairo_t* cr, const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text.c_str(), &extents);
    return extents.x_advance;
}

void Text(cairo_t* cr, double x, double y, const std::string& text, double size, bool bold = false) {
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    cairo_move_to(cr, x, y);
    cairo_show_text(cr, text.c_str());
    cairo_new_path(cr);  // the next line must not start where the text ended
}

constexpr double kDegree = 3.141592653589793 / 180.0;

struct Box {
    double x0, y0, x1, y1;
    bool Overlaps(const Box& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
};

void Arrow(cairo_t* cr, double cx, double cy, double length, double angleDeg, double width, bool dashed) {
    const double c = std::cos(angleDeg * kDegree);
    const double s = std::sin(angleDeg * kDegree);
    const double head = std::min(14.0, length * 0.4);
    const double tipX = cx + length * c;
    const double tipY = cy - length * s;
    cairo_set_line_width(cr, width);
    if (dashed) {
        const double dashes[] = {7.0, 4.0};
        cairo_set_dash(cr, dashes, 2, 0);
    }
    cairo_move_to(cr, cx, cy);
    cairo_line_to(cr, tipX - head * 0.8 * c, tipY + head * 0.8 * s);
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0);
    // The head: a filled triangle along the arrow.
    const double baseX = tipX - head * c;
    const double baseY = tipY + head * s;
    cairo_move_to(cr, tipX, tipY);
    cairo_line_to(cr, baseX - head * 0.35 * s, baseY - head * 0.35 * c);
    cairo_line_to(cr, baseX + head * 0.35 * s, baseY + head * 0.35 * c);
    cairo_close_path(cr);
    cairo_fill(cr);
}

std::string PhasorLabel(const char* name, const Phasor& p, const char* unit, int decimals) {
    return std::string(name) + " " + Fixed(p.magnitude, decimals) + " " + unit + " \u2220 " + Fixed(p.angle, 1) +
           "\u00B0";
}

}  // namespace

void CheckPictureName(const std::string& path) { TypeOf(path); }

void DrawVectorDiagram(const VectorDiagram& d, const std::string& path) {
    constexpr double kWidth = 1000, kHeight = 640;
    constexpr double cx = 380, cy = 365, R = 215;
    Picture picture(path, kWidth, kHeight);
    cairo_t* cr = picture.cr();

    SetColour(cr, kInk);
    Text(cr, 24, 36, d.title, 20, true);
    SetColour(cr, kMuted);
    Text(cr, 24, 60, d.subtitle, 13);

    // Grid: quarter circles, the axes and the angle marks.
    SetColour(cr, kGrid);
    cairo_set_line_width(cr, 1);
    for (int ring = 1; ring <= 4; ++ring) {
        cairo_arc(cr, cx, cy, R * ring / 4.0, 0, 2 * 3.141592653589793);
        cairo_stroke(cr);
    }
    for (int a = 0; a < 360; a += 30) {
        cairo_move_to(cr, cx, cy);
        cairo_line_to(cr, cx + R * std::cos(a * kDegree), cy - R * std::sin(a * kDegree));
        cairo_stroke(cr);
    }
    // Labels of the arrows keep clear of the angle marks and of each other.
    std::vector<Box> placed;
    SetColour(cr, kMuted);
    for (int a = 0; a < 360; a += 90) {
        const std::string mark = std::to_string(a) + "\u00B0";
        cairo_set_font_size(cr, 12);
        const double w = TextWidth(cr, mark);
        const double x = cx + (R + 18) * std::cos(a * kDegree) - w / 2;
        const double y = cy - (R + 18) * std::sin(a * kDegree) + 4;
        Text(cr, x, y, mark, 12);
        placed.push_back({x - 2, y - 12, x + w + 2, y + 4});
    }

    // Voltages reach the outer circle, currents 0.8 of it, each on its own scale.
    double uScale = 0, iScale = 0;
    for (int k = 0; k < 3; ++k) {
        uScale = std::max(uScale, std::fabs(d.u[k].magnitude));
        iScale = std::max(iScale, std::fabs(d.i[k].magnitude));
    }
    auto drawGroup = [&](const Phasor* group, const char* prefix, const char* unit, double scale,
                         double reach, bool dashed) {
        static const char* const kPhase[] = {"A", "B", "C"};
        for (int k = 0; k < 3; ++k) {
            const Phasor& p = group[k];
            if (scale <= 0 || p.magnitude == 0) continue;
            // A negative magnitude points the other way.
            const double length = R * reach * std::fabs(p.magnitude) / scale;
            const double angle = p.magnitude < 0 ? p.angle + 180 : p.angle;
            SetColour(cr, kPhaseColours[k]);
            Arrow(cr, cx, cy, length, angle, dashed ? 2.0 : 3.0, dashed);

            const std::string name = std::string(prefix) + kPhase[k];
            const std::string label = PhasorLabel(name.c_str(), p, unit, unit[0] == 'V' ? 2 : 3);
            cairo_set_font_size(cr, 13);
            const double w = TextWidth(cr, label);
            const double c = std::cos(angle * kDegree), s = std::sin(angle * kDegree);
            double x = cx + (length + 10) * c;
            double y = cy - (length + 10) * s + 5;
            if (c < -0.2) x -= w;
            else if (c <= 0.2) x -= w / 2;
            Box box{x - 2, y - 13, x + w + 2, y + 4};
            const double push = s >= 0 ? -18 : 18;
            for (int tries = 0; tries < 12 && std::any_of(placed.begin(), placed.end(),
                                                           [&box](const Box& o) { return box.Overlaps(o); });
                 ++tries) {
                y += push;
                box.y0 += push;
                box.y1 += push;
            }
            placed.push_back(box);
            Text(cr, x, y, label, 13, !dashed);
        }
    };
    if (d.voltages) drawGroup(d.u, "U", "V", uScale, 1.0, false);
    if (d.currents) drawGroup(d.i, "I", "A", iScale, 0.8, true);

    // Beside the diagram: the scales, the phasors and the notes.
    double y = 110;
    const double x = 740;
    SetColour(cr, kInk);
    Text(cr, x, y, "Scales", 14, true);
    y += 22;
    cairo_set_line_width(cr, 3);
    cairo_move_to(cr, x, y - 4);
    cairo_line_to(cr, x + 28, y - 4);
    cairo_stroke(cr);
    Text(cr, x + 36, y, "U: outer circle " + Fixed(uScale, 2) + " V", 13);
    y += 20;
    cairo_set_line_width(cr, 2);
    const double dashes[] = {7.0, 4.0};
    cairo_set_dash(cr, dashes, 2, 0);
    cairo_move_to(cr, x, y - 4);
    cairo_line_to(cr, x + 28, y - 4);
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0);
    Text(cr, x + 36, y, "I: outer circle " + Fixed(iScale / 0.8, 3) + " A", 13);
    y += 34;
    for (std::size_t n = 0; n < d.notes.size(); ++n) {
        SetColour(cr, kInk);
        Text(cr, x, y, d.notes[n], n == 0 ? 14 : 13, n == 0);
        y += n == 0 ? 22 : 20;
    }
    picture.Commit();
}

namespace {

// Round steps (1, 2 or 5 times a power of ten) giving about `count` ticks over span.
double TickStep(double span, int count) {
    if (!(span > 0)) return 1;
    const double raw = span / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0})
        if (raw <= m * power) return m * power;
    return 10 * power;
}

}  // namespace

void DrawSpectrum(const SpectrumChart& chart, const std::string& path) {
    constexpr double kWidth = 960, kHeight = 540;
    constexpr double left = 80, right = 920, top = 80, bottom = 470;
    Picture picture(path, kWidth, kHeight);
    cairo_t* cr = picture.cr();
    SetColour(cr, kInk);
    Text(cr, 24, 36, chart.title, 20, true);

    double fMin = 0, fMax = 1, aMax = 0;
    if (!chart.frequency.empty()) {
        fMin = *std::min_element(chart.frequency.begin(), chart.frequency.end());
        fMax = *std::max_element(chart.frequency.begin(), chart.frequency.end());
    }
    for (double a : chart.amplitude)
        if (std::isfinite(a)) aMax = std::max(aMax, a);
    if (fMax <= fMin) fMax = fMin + 1;
    const double aStep = TickStep(aMax > 0 ? aMax : 1, 5);
    const double aTop = std::max(aStep, std::ceil((aMax > 0 ? aMax : 1) / aStep) * aStep);
    // Half a bar of room at each end, so that the first and last bars are whole.
    const double slot = chart.frequency.size() > 1 ? (fMax - fMin) / static_cast<double>(chart.frequency.size() - 1)
                                                   : 1.0;
    const double f0 = fMin - slot / 2, f1 = fMax + slot / 2;
    auto X = [&](double f) { return left + (f - f0) / (f1 - f0) * (right - left); };
    auto Y = [&](double a) { return bottom - a / aTop * (bottom - top); };

    cairo_set_line_width(cr, 1);
    for (double a = 0; a <= aTop + aStep / 2; a += aStep) {
        SetColour(cr, kGrid);
        cairo_move_to(cr, left, Y(a));
        cairo_line_to(cr, right, Y(a));
        cairo_stroke(cr);
        SetColour(cr, kMuted);
        const std::string mark = Fixed(a, aStep < 1 ? 2 : 0);
        cairo_set_font_size(cr, 12);
        Text(cr, left - 8 - TextWidth(cr, mark), Y(a) + 4, mark, 12);
    }
    const double fStep = TickStep(f1 - f0, 8);
    for (double f = std::ceil(f0 / fStep) * fStep; f <= f1; f += fStep) {
        SetColour(cr, kMuted);
        const std::string mark = Fixed(f, fStep < 1 ? 2 : 0);
        cairo_set_font_size(cr, 12);
        Text(cr, X(f) - TextWidth(cr, mark) / 2, bottom + 18, mark, 12);
    }
    Text(cr, (left + right) / 2 - 40, bottom + 44, "frequency, Hz", 13);
    Text(cr, 24, top - 16, "amplitude", 13);

    const double barWidth = std::max(1.0, 0.8 * (X(f0 + slot) - X(f0)));
    SetColour(cr, {0.20, 0.40, 0.75});
    for (std::size_t k = 0; k < chart.frequency.size() && k < chart.amplitude.size(); ++k) {
        const double a = chart.amplitude[k];
        if (!std::isfinite(a) || a <= 0) continue;
        cairo_rectangle(cr, X(chart.frequency[k]) - barWidth / 2, Y(a), barWidth, bottom - Y(a));
        cairo_fill(cr);
    }
    SetColour(cr, kInk);
    cairo_move_to(cr, left, top);
    cairo_line_to(cr, left, bottom);
    cairo_line_to(cr, right, bottom);
    cairo_stroke(cr);
    picture.Commit();
}

void ReleasePictureResources() {
    cairo_debug_reset_static_data();
    FcFini();
}

}  // namespace kvdata
