// kvdata.fault and kvdata.impedance: the catalogue's synthesis and the fault at an
// impedance over whole arrays of inputs, one loop in C++ with the interpreter's lock
// released. The Python side broadcasts the inputs to one length and shapes the results.

#include <cmath>
#include <limits>
#include <string>

#include "Bindings.h"
#include "Kv_Relay/CatalogueFault.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/ImpedanceFault.h"

namespace kvpy {

namespace {

using namespace kv::relay;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// Results of n points: a three-phase set as two (n, 3) complex arrays.
struct PhaseArrays {
    explicit PhaseArrays(std::size_t n)
        : voltages({n, std::size_t{3}}), currents({n, std::size_t{3}}), v(voltages.mutable_data()),
          i(currents.mutable_data()) {}
    void Put(std::size_t k, const ThreePhaseSet& s) {
        for (std::size_t p = 0; p < 3; ++p) {
            v[3 * k + p] = s.voltages[p].Value();
            i[3 * k + p] = s.currents[p].Value();
        }
    }
    py::array_t<std::complex<double>> voltages, currents;
    std::complex<double>* v;
    std::complex<double>* i;
};

// Runs body(k) for every point; an Error names the point it came from.
template <class Body>
void ForEachPoint(std::size_t n, Body body) {
    std::size_t k = 0;
    try {
        for (; k < n; ++k) body(k);
    } catch (const Error& e) {
        throw Error(n > 1 ? "point " + std::to_string(k) + ": " + e.what() : std::string(e.what()));
    }
}

py::dict Fault(const py::array_t<int, py::array::c_style | py::array::forcecast>& type, const Doubles& u,
               const Doubles& i, const Doubles& phi, const Doubles& unom, const Doubles& aux, const Doubles& auxAngle,
               const Doubles& uhealthy, const Doubles& nominal) {
    const std::size_t n = CommonLength({{"type", static_cast<std::size_t>(type.size())},
                                        {"u", static_cast<std::size_t>(u.size())},
                                        {"i", static_cast<std::size_t>(i.size())},
                                        {"phi", static_cast<std::size_t>(phi.size())},
                                        {"unom", static_cast<std::size_t>(unom.size())},
                                        {"aux", static_cast<std::size_t>(aux.size())},
                                        {"aux_angle", static_cast<std::size_t>(auxAngle.size())},
                                        {"uhealthy", static_cast<std::size_t>(uhealthy.size())},
                                        {"nominal_voltage", static_cast<std::size_t>(nominal.size())}});
    py::array_t<int> result(static_cast<py::ssize_t>(n));
    PhaseArrays phases(n);
    int* codes = result.mutable_data();
    const int* t = type.data();
    const double *pu = u.data(), *pi = i.data(), *pphi = phi.data(), *punom = unom.data(), *paux = aux.data(),
                 *pangle = auxAngle.data(), *phealthy = uhealthy.data(), *pnominal = nominal.data();
    {
        py::gil_scoped_release unlocked;
        const std::lock_guard core(CoreLock());
        ForEachPoint(n, [&](std::size_t k) {
            CatalogueFault f;
            f.type = t[k];
            f.u = pu[k];
            f.i = pi[k];
            f.phi = pphi[k];
            f.unom = punom[k];
            f.aux = paux[k];
            f.auxAngle = pangle[k];
            f.uhealthy = phealthy[k];
            f.nominalVoltage = pnominal[k];
            const CatalogueResult r = Synthesise(f);
            codes[k] = r.result;
            phases.Put(k, r.phases);
        });
    }
    py::dict out;
    out["result"] = result;
    out["voltages"] = phases.voltages;
    out["currents"] = phases.currents;
    return out;
}

// A complex quantity given in one of its forms by two arrays: "polar" (magnitude, degrees),
// "rx" (real, imaginary), "rerl" (RE/RL, XE/XL: k0 only), "z0z1" (|Z0/Z1|, degrees: k0
// only); "" for none.
struct Form {
    std::string form;
    Doubles a, b;
};

Impedance ImpedanceAt(const Form& f, std::size_t k, const char* what) {
    if (f.form == "polar") return Impedance(CheckedPolar(f.a.data()[k], f.b.data()[k], what));
    if (f.form == "rx") {
        const double r = f.a.data()[k], x = f.b.data()[k];
        if (!std::isfinite(r) || !std::isfinite(x)) Fail(std::string(what) + ".rx", "must be finite numbers", r);
        return Impedance::RX(r, x);
    }
    throw Error(std::string(what) + ": give it as (magnitude, angle) or as R and X");
}

std::optional<ResidualCompensation> K0At(const Form& f, std::size_t k, Impedance line, const char* what) {
    const double a = f.a.data()[k], b = f.b.data()[k];
    if (f.form.empty()) return std::nullopt;
    if (f.form == "polar") return ResidualCompensation(CheckedPolar(a, b, what));
    if (f.form == "rx") return ResidualCompensation(Impedance::RX(a, b).Value());
    if (f.form == "rerl") return ResidualCompensation::FromRERLXEXL(a, b, line);
    if (f.form == "z0z1") return ResidualCompensation::FromZ0Z1(a, b);
    throw Error(std::string(what) + ": unknown form '" + f.form + "'");
}

std::size_t Length(const Form& f) { return static_cast<std::size_t>(f.a.size()); }

py::dict ImpedanceFaults(const std::string& loopName, const Form& z, const Form& k0, const std::string& model,
                         const Form& quantity, const Form& ks, const Form& relayK0, const Doubles& nominal,
                         const Doubles& umax, const Doubles& imax) {
    const FaultLoop loop = ParseFaultLoop(loopName);
    if (model != "current" && model != "voltage" && model != "source" && model != "sir")
        throw Error("model: one of current, voltage, source or sir, got '" + model + "'");
    const std::size_t n = CommonLength({{"z", Length(z)},
                                        {"k0", Length(k0)},
                                        {model.c_str(), Length(quantity)},
                                        {"ks", Length(ks)},
                                        {"relay_k0", Length(relayK0)},
                                        {"nominal_voltage", static_cast<std::size_t>(nominal.size())},
                                        {"umax", static_cast<std::size_t>(umax.size())},
                                        {"imax", static_cast<std::size_t>(imax.size())}});
    PhaseArrays phases(n);
    Complexes loops({n, kMeasuringLoops}), source(static_cast<py::ssize_t>(n));
    Doubles testCurrent(static_cast<py::ssize_t>(n)), loopVoltage(static_cast<py::ssize_t>(n)),
        preFault(static_cast<py::ssize_t>(n));
    py::array_t<bool> feasible(static_cast<py::ssize_t>(n)), voltageExceeded(static_cast<py::ssize_t>(n)),
        currentExceeded(static_cast<py::ssize_t>(n));
    Doubles k0Magnitude(static_cast<py::ssize_t>(n)), k0Angle(static_cast<py::ssize_t>(n)),
        rerl(static_cast<py::ssize_t>(n)), xexl(static_cast<py::ssize_t>(n)), z0z1Magnitude(static_cast<py::ssize_t>(n)),
        z0z1Angle(static_cast<py::ssize_t>(n));
    auto* ploops = loops.mutable_data();
    auto* psource = source.mutable_data();
    double *ptest = testCurrent.mutable_data(), *ploop = loopVoltage.mutable_data(), *ppre = preFault.mutable_data();
    bool *pfeasible = feasible.mutable_data(), *pvx = voltageExceeded.mutable_data(),
         *pix = currentExceeded.mutable_data();
    double *pk0m = k0Magnitude.mutable_data(), *pk0a = k0Angle.mutable_data(), *prerl = rerl.mutable_data(),
           *pxexl = xexl.mutable_data(), *pzm = z0z1Magnitude.mutable_data(), *pza = z0z1Angle.mutable_data();
    const double *pnominal = nominal.data(), *pumax = umax.data(), *pimax = imax.data();
    {
        py::gil_scoped_release unlocked;
        ImpedanceFault f;
        f.loop = loop;
        ForEachPoint(n, [&](std::size_t k) {
            f.z = ImpedanceAt(z, k, "z");
            f.k0 = K0At(k0, k, f.z, "k0").value_or(ResidualCompensation());
            const double q = quantity.a.data()[k];
            if (model == "current")
                f.model = ConstantCurrent{q};
            else if (model == "voltage")
                f.model = ConstantVoltage{q};
            else if (model == "sir")
                f.model = SourceToLineRatio{q, K0At(ks, k, f.z, "ks")};
            else
                f.model = SourceImpedance{ImpedanceAt(quantity, k, "source"), K0At(ks, k, f.z, "ks")};
            f.nominalVoltage = pnominal[k];
            f.relayK0 = K0At(relayK0, k, f.z, "relay_k0");
            f.limits.reset();
            if (!std::isnan(pumax[k]) || !std::isnan(pimax[k]))
                f.limits = DeviceLimits{std::isnan(pumax[k]) ? std::numeric_limits<double>::infinity() : pumax[k],
                                        std::isnan(pimax[k]) ? std::numeric_limits<double>::infinity() : pimax[k]};
            const ImpedanceFaultResult r = Calculate(f);
            phases.Put(k, r.phases);
            for (std::size_t l = 0; l < kMeasuringLoops; ++l)
                ploops[kMeasuringLoops * k + l] = r.loops[l] ? r.loops[l]->Value() : std::complex<double>(kNone, kNone);
            psource[k] = r.sourceImpedance.Value();
            ptest[k] = r.testCurrent;
            pfeasible[k] = r.feasible;
            ploop[k] = r.loopVoltage;
            ppre[k] = r.preFaultLoopVoltage;
            pvx[k] = r.limits && r.limits->voltageExceeded;
            pix[k] = r.limits && r.limits->currentExceeded;
            pk0m[k] = r.k0.magnitude;
            pk0a[k] = r.k0.angle;
            prerl[k] = r.k0.rerl.value_or(kNone);
            pxexl[k] = r.k0.xexl.value_or(kNone);
            pzm[k] = r.k0.z0z1Magnitude;
            pza[k] = r.k0.z0z1Angle;
        });
    }
    py::dict out;
    out["voltages"] = phases.voltages;
    out["currents"] = phases.currents;
    out["loops"] = loops;
    out["source_impedance"] = source;
    out["test_current"] = testCurrent;
    out["feasible"] = feasible;
    out["loop_voltage"] = loopVoltage;
    out["prefault_loop_voltage"] = preFault;
    out["voltage_exceeded"] = voltageExceeded;
    out["current_exceeded"] = currentExceeded;
    out["k0_magnitude"] = k0Magnitude;
    out["k0_angle"] = k0Angle;
    out["k0_rerl"] = rerl;
    out["k0_xexl"] = xexl;
    out["k0_z0z1_magnitude"] = z0z1Magnitude;
    out["k0_z0z1_angle"] = z0z1Angle;
    return out;
}

}  // namespace

void BindFaults(py::module_& m) {
    m.def("_fault", &Fault, "The catalogue's full synthesis over equal-length arrays", py::arg("type"), py::arg("u"),
          py::arg("i"), py::arg("phi"), py::arg("unom"), py::arg("aux"), py::arg("aux_angle"), py::arg("uhealthy"),
          py::arg("nominal_voltage"));
    m.def(
        "_impedance",
        [](const std::string& loop, const std::string& zForm, Doubles za, Doubles zb, const std::string& k0Form,
           Doubles k0a, Doubles k0b, const std::string& model, const std::string& qForm, Doubles qa, Doubles qb,
           const std::string& ksForm, Doubles ksa, Doubles ksb, const std::string& rForm, Doubles ra, Doubles rb,
           Doubles nominal, Doubles umax, Doubles imax) {
            return ImpedanceFaults(loop, {zForm, za, zb}, {k0Form, k0a, k0b}, model, {qForm, qa, qb},
                                   {ksForm, ksa, ksb}, {rForm, ra, rb}, nominal, umax, imax);
        },
        "The fault at an impedance over equal-length arrays; each complex input as (form, a, b)");
    m.def(
        "_k0_value",
        [](const std::string& form, double a, double b, double zr, double zx) {
            const Form f{form, Doubles(1, &a), Doubles(1, &b)};
            return K0At(f, 0, Impedance::RX(zr, zx), "k0").value_or(ResidualCompensation()).Value();
        },
        "k0 as a complex number from one of its forms; RE/RL and XE/XL need the line impedance R + jX");
    m.def(
        "_impedance_value",
        [](const std::string& form, double a, double b) {
            return ImpedanceAt({form, Doubles(1, &a), Doubles(1, &b)}, 0, "z").Value();
        },
        "An impedance as a complex number from (magnitude, degrees) or R and X");
    m.def(
        "_k0_forms",
        [](std::complex<double> k0, std::complex<double> z) {
            const ResidualCompensationForms f = Forms(ResidualCompensation(k0), Impedance(z));
            py::dict out;
            out["magnitude"] = f.magnitude;
            out["angle"] = f.angle;
            out["rerl"] = f.rerl ? py::object(py::float_(*f.rerl)) : py::object(py::none());
            out["xexl"] = f.xexl ? py::object(py::float_(*f.xexl)) : py::object(py::none());
            out["z0z1"] = py::make_tuple(f.z0z1Magnitude, f.z0z1Angle);
            return out;
        },
        "k0 in its three forms for the line impedance z");
    m.def("_fault_type_code", &FaultTypeCode, "The code of a fault type's name (with or without 'Fault') or code");
    m.def(
        "_fault_type_name", [](int code) { return py::bytes(FaultTypeName(code)); },
        "The catalogue's name of a code, as the core spells it (Windows-1251 bytes)");
}

}  // namespace kvpy
