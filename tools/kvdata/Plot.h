// Pictures through cairo: the vector diagram of a fault and the bars of a spectrum.
// The type follows the file's extension (.png, .svg, .pdf); the picture is drawn to a
// temporary name beside the file and renamed, so a failed run leaves no half picture.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace kvdata {

// Error unless the name ends in .png, .svg or .pdf.
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

struct SpectrumChart {
    std::string title;
    std::vector<double> frequency;
    std::vector<double> amplitude;
};
void DrawSpectrum(const SpectrumChart& chart, const std::string& path);

// Frees what cairo and fontconfig keep for the life of the process, so that a leak
// checker sees only our own memory. Called once, at the end of the run.
void ReleasePictureResources();

}  // namespace kvdata
