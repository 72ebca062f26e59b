// Three-phase sets as numpy arrays: their symmetrical components, line values and the
// magnitudes and angles the layer reports, over arrays of any number of sets.

#include "Bindings.h"
#include "Kv_Relay/Components.h"
#include "Kv_Relay/Phasors.h"

namespace kvpy {

namespace {

using namespace kv::relay;

// Sets as an (n, 3) array: each row is phases A, B, C (or positive, negative, zero).
template <class Body>
void ForEachSet(const Complexes& sets, Body body) {
    if (sets.ndim() < 1 || sets.shape(sets.ndim() - 1) != 3)
        throw py::value_error("give three-phase sets: an array whose last axis has 3 values");
    const std::size_t n = static_cast<std::size_t>(sets.size()) / 3;
    const std::complex<double>* in = sets.data();
    py::gil_scoped_release unlocked;
    for (std::size_t k = 0; k < n; ++k)
        body(k, ThreePhase{Phasor(in[3 * k]), Phasor(in[3 * k + 1]), Phasor(in[3 * k + 2])});
}

std::vector<py::ssize_t> ShapeOf(const py::array& a) { return {a.shape(), a.shape() + a.ndim()}; }

Complexes Transformed(const Complexes& sets, ThreePhase (*transform)(const ThreePhase&)) {
    Complexes out(ShapeOf(sets));
    std::complex<double>* o = out.mutable_data();
    ForEachSet(sets, [&](std::size_t k, const ThreePhase& t) {
        const ThreePhase r = transform(t);
        for (std::size_t p = 0; p < 3; ++p) o[3 * k + p] = r[p].Value();
    });
    return out;
}

}  // namespace

void BindPhasors(py::module_& module) {
    module.def(
        "symmetrical",
        [](const Complexes& phases) {
            return Transformed(phases, [](const ThreePhase& t) { return AsTriple(Symmetrical(t)); });
        },
        py::arg("phases"),
        "Symmetrical components of three-phase sets (last axis A, B, C): positive, negative and zero\n"
        "sequence on the last axis; X0 = (XA + XB + XC) / 3.");
    module.def(
        "line_values", [](const Complexes& phases) { return Transformed(phases, &LineValues); }, py::arg("phases"),
        "Line values of three-phase sets (last axis A, B, C): AB, BC, CA on the last axis.");
    module.def(
        "_reported_polar",
        [](std::complex<double> value) {
            const Phasor p(value);
            return py::make_tuple(p.Magnitude(), p.Angle());
        },
        "The magnitude and the angle in degrees [0, 360) of one phasor; a zero phasor has angle 0.");
    module.def(
        "report",
        [](const Complexes& sets) {
            Doubles magnitudes(ShapeOf(sets)), angles(ShapeOf(sets));
            double *m = magnitudes.mutable_data(), *a = angles.mutable_data();
            ForEachSet(sets, [&](std::size_t k, const ThreePhase& t) {
                const auto reported = Report(t);
                for (std::size_t p = 0; p < 3; ++p) {
                    m[3 * k + p] = reported[p].magnitude;
                    a[3 * k + p] = reported[p].angle;
                }
            });
            return py::make_tuple(magnitudes, angles);
        },
        py::arg("sets"),
        "Magnitudes and angles (degrees in [0, 360)) of three-phase sets as they are reported: a\n"
        "magnitude below 1e-12 of the set's largest is 0, with angle 0.");
}

}  // namespace kvpy
