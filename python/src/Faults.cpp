// kvdata.fault and kvdata.impedance: the catalogue's synthesis and the fault at an
// impedance over whole arrays of inputs, one loop in C++ with the interpreter's lock
// released. The Python side broadcasts the inputs to one length and shapes the results.

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "Bindings.h"
#include "ResultMemory.h"
#include "Kv_Relay/CatalogueFault.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/ImpedanceFault.h"

namespace kvpy {

namespace {

using namespace kv::relay;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

py::ssize_t Extent(std::size_t n) { return static_cast<py::ssize_t>(n); }

// Results of n points: a three-phase set as two (n, 3) complex arrays.
struct PhaseArrays {
    explicit PhaseArrays(std::size_t n)
        : voltages(ResultArray<std::complex<double>>({Extent(n), 3})),
          currents(ResultArray<std::complex<double>>({Extent(n), 3})), v(voltages.mutable_data()),
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

// One numeric input over n points: n values, or one value that every point shares.
template <class T>
class Column {
public:
    explicit Column(const py::array_t<T, py::array::c_style | py::array::forcecast>& values)
        : m_data(values.data()), m_step(values.size() == 1 ? 0 : 1) {}
    T operator[](std::size_t k) const { return m_data[m_step * k]; }

private:
    const T* m_data;
    std::size_t m_step;
};

// The number of points: the length that the inputs of more than one value share.
std::size_t Points(std::initializer_list<std::pair<const char*, py::ssize_t>> lengths) {
    const char* first = nullptr;
    std::size_t n = 1;
    for (const auto& [name, length] : lengths) {
        const auto size = static_cast<std::size_t>(length);
        if (size == 1) continue;
        if (first == nullptr) {
            first = name;
            n = size;
        } else if (size != n) {
            throw py::value_error(std::string(name) + ": " + std::to_string(size) + " values where " + first +
                                  " has " + std::to_string(n));
        }
    }
    return n;
}

// Runs a worker over the points in chunks, on several threads when there are enough
// points to pay for them; each chunk has a worker of its own from makeWorker(). An Error
// names the first point it came from.
template <class MakeWorker>
void ForEachPoint(std::size_t n, unsigned threads, MakeWorker makeWorker) {
    constexpr std::size_t kPointsPerThread = std::size_t{1} << 15;
    const std::size_t chunks = std::clamp<std::size_t>(n / kPointsPerThread, 1, std::max(threads, 1u));
    std::vector<std::size_t> failedAt(chunks, n);
    std::vector<std::string> messages(chunks);
    const auto run = [&](std::size_t c) {
        const std::size_t first = n * c / chunks, last = n * (c + 1) / chunks;
        std::size_t k = first;
        try {
            auto worker = makeWorker();
            for (; k < last; ++k) worker(k);
        } catch (const Error& e) {
            failedAt[c] = k;
            messages[c] = e.what();
        }
    };
    std::vector<std::thread> workers;
    for (std::size_t c = 1; c < chunks; ++c) workers.emplace_back(run, c);
    run(0);
    for (std::thread& w : workers) w.join();
    for (std::size_t c = 0; c < chunks; ++c)
        if (failedAt[c] < n)
            throw Error(n > 1 ? "point " + std::to_string(failedAt[c]) + ": " + messages[c] : messages[c]);
}

using Ints = py::array_t<int, py::array::c_style | py::array::forcecast>;

// The catalogue over n points. Every synthesis records its request in the core's globals,
// so they run on this thread, one after another, and leave their polar outputs in the
// result arrays; then every core turns those into phasors in place.
py::dict Fault(const Ints& type, const Doubles& u, const Doubles& i, const Doubles& phi, const Doubles& unom,
               const Doubles& aux, const Doubles& auxAngle, const Doubles& uhealthy, const Doubles& nominal) {
    const std::size_t n = Points({{"type", type.size()},
                                  {"u", u.size()},
                                  {"i", i.size()},
                                  {"phi", phi.size()},
                                  {"unom", unom.size()},
                                  {"aux", aux.size()},
                                  {"aux_angle", auxAngle.size()},
                                  {"uhealthy", uhealthy.size()},
                                  {"nominal_voltage", nominal.size()}});
    py::array_t<int> result = ResultArray<int>({Extent(n)});
    PhaseArrays phases(n);
    int* codes = result.mutable_data();
    // A complex number is its real and imaginary parts, in this order, as an array of two.
    auto* polarVoltages = reinterpret_cast<double*>(phases.v);
    auto* polarCurrents = reinterpret_cast<double*>(phases.i);
    const Column<int> t(type);
    const Column<double> cu(u), ci(i), cphi(phi), cunom(unom), caux(aux), cangle(auxAngle), chealthy(uhealthy),
        cnominal(nominal);
    const auto synthesise = [&](std::size_t k) {
        CatalogueFault f;
        f.type = t[k];
        f.u = cu[k];
        f.i = ci[k];
        f.phi = cphi[k];
        f.unom = cunom[k];
        f.aux = caux[k];
        f.auxAngle = cangle[k];
        f.uhealthy = chealthy[k];
        f.nominalVoltage = cnominal[k];
        double v[6] = {}, c[6] = {};  // outputs a fault type leaves alone stay 0
        codes[k] = SynthesisePolar(f, v, c);
        std::copy_n(v, 6, polarVoltages + 6 * k);
        std::copy_n(c, 6, polarCurrents + 6 * k);
    };
    {
        py::gil_scoped_release unlocked;
        {
            const std::lock_guard core(CoreLock());
            ForEachPoint(n, 1, [&] { return synthesise; });
        }
        ForEachPoint(n, std::thread::hardware_concurrency(), [&] {
            return [&, sweep = CatalogueSweep()](std::size_t k) mutable {
                phases.Put(k, sweep.Phasors(std::span<const double, 6>(polarVoltages + 6 * k, 6),
                                            std::span<const double, 6>(polarCurrents + 6 * k, 6)));
            };
        });
    }
    py::dict out;
    out["result"] = result;
    out["voltages"] = phases.voltages;
    out["currents"] = phases.currents;
    return out;
}

// A complex quantity given in one of its forms by two columns: "polar" (magnitude,
// degrees), "rx" (real, imaginary), "rerl" (RE/RL, XE/XL: k0 only), "z0z1" (|Z0/Z1|,
// degrees: k0 only); "" for none.
struct Form {
    std::string form;
    Doubles a, b;
};

enum class Shape { None, Polar, RX, RERL, Z0Z1 };

Shape ShapeOf(const std::string& form, const char* what) {
    if (form.empty()) return Shape::None;
    if (form == "polar") return Shape::Polar;
    if (form == "rx") return Shape::RX;
    if (form == "rerl") return Shape::RERL;
    if (form == "z0z1") return Shape::Z0Z1;
    throw Error(std::string(what) + ": unknown form '" + form + "'");
}

Impedance ImpedanceOf(Shape form, double a, double b, const char* what) {
    if (form == Shape::Polar) return Impedance(CheckedPolar(a, b, what));
    if (form == Shape::RX) {
        if (!std::isfinite(a)) Fail(std::string(what) + ".r", "must be a finite number", a);
        if (!std::isfinite(b)) Fail(std::string(what) + ".x", "must be a finite number", b);
        return Impedance::RX(a, b);
    }
    throw Error(std::string(what) + ": give it as (magnitude, angle) or as R and X");
}

// An impedance input over the points; a polar one keeps the cosine and sine of its angle
// while the angle stays, as along a sweep of |Z|.
class ImpedanceColumn {
public:
    ImpedanceColumn(const Form& f, const char* what) : m_form(ShapeOf(f.form, what)), m_a(f.a), m_b(f.b), m_what(what) {}
    Impedance operator()(std::size_t k) {
        if (m_form == Shape::Polar) return Impedance(m_polar(m_a[k], m_b[k], m_what));
        return ImpedanceOf(m_form, m_a[k], m_b[k], m_what);
    }

private:
    Shape m_form;
    Column<double> m_a, m_b;
    const char* m_what;
    PolarSweep m_polar;
};

std::optional<ResidualCompensation> K0Of(Shape form, double a, double b, Impedance line, const char* what) {
    switch (form) {
        case Shape::None: return std::nullopt;
        case Shape::Polar: return ResidualCompensation(CheckedPolar(a, b, what));
        case Shape::RX: return ResidualCompensation(ImpedanceOf(Shape::RX, a, b, what).Value());
        case Shape::RERL: return ResidualCompensation::FromRERLXEXL(a, b, line);
        case Shape::Z0Z1: return ResidualCompensation::FromZ0Z1(a, b);
    }
    return std::nullopt;
}

// A k0 input over the points; worked out again only where its numbers (or, for RE/RL and
// XE/XL, the line impedance) differ from the previous point's, for k0 keeps its polar
// forms and a sweep of Z should not pay for them at every point.
class K0Column {
public:
    K0Column(const Form& f, const char* what) : m_form(ShapeOf(f.form, what)), m_a(f.a), m_b(f.b), m_what(what) {}
    std::optional<ResidualCompensation> operator()(std::size_t k, Impedance line) {
        const double a = m_a[k], b = m_b[k];
        if (!m_valid || a != m_lastA || b != m_lastB || (m_form == Shape::RERL && line != m_lastLine)) {
            m_value = K0Of(m_form, a, b, line, m_what);
            m_valid = true;
            m_lastA = a;
            m_lastB = b;
            m_lastLine = line;
        }
        return m_value;
    }

private:
    Shape m_form;
    Column<double> m_a, m_b;
    const char* m_what;
    bool m_valid = false;
    double m_lastA = 0, m_lastB = 0;
    Impedance m_lastLine;
    std::optional<ResidualCompensation> m_value;
};

ImpedanceFault FaultOn(FaultLoop loop) {
    ImpedanceFault f;
    f.loop = loop;
    return f;
}

py::dict ImpedanceFaults(const std::string& loopName, const Form& z, const Form& k0, const std::string& model,
                         const Form& quantity, const Form& ks, const Form& relayK0, const Doubles& nominal,
                         const Doubles& umax, const Doubles& imax) {
    const FaultLoop loop = ParseFaultLoop(loopName);
    enum class Model { Current, Voltage, Source, SIR };
    const Model kind = model == "current" ? Model::Current
                       : model == "voltage" ? Model::Voltage
                       : model == "source" ? Model::Source
                       : model == "sir" ? Model::SIR
                                        : throw Error("model: one of current, voltage, source or sir, got '" + model + "'");
    const std::size_t n = Points({{"z", z.a.size()},
                                  {"z", z.b.size()},
                                  {"k0", k0.a.size()},
                                  {"k0", k0.b.size()},
                                  {model.c_str(), quantity.a.size()},
                                  {model.c_str(), quantity.b.size()},
                                  {"ks", ks.a.size()},
                                  {"ks", ks.b.size()},
                                  {"relay_k0", relayK0.a.size()},
                                  {"relay_k0", relayK0.b.size()},
                                  {"nominal_voltage", nominal.size()},
                                  {"umax", umax.size()},
                                  {"imax", imax.size()}});
    const py::ssize_t size = Extent(n);
    PhaseArrays phases(n);
    auto loops = ResultArray<std::complex<double>>({size, Extent(kMeasuringLoops)});
    auto source = ResultArray<std::complex<double>>({size});
    auto testCurrent = ResultArray<double>({size}), loopVoltage = ResultArray<double>({size}),
         preFault = ResultArray<double>({size}), k0Magnitude = ResultArray<double>({size}),
         k0Angle = ResultArray<double>({size}), rerl = ResultArray<double>({size}), xexl = ResultArray<double>({size}),
         z0z1Magnitude = ResultArray<double>({size}), z0z1Angle = ResultArray<double>({size});
    auto feasible = ResultArray<bool>({size}), voltageExceeded = ResultArray<bool>({size}),
         currentExceeded = ResultArray<bool>({size});
    auto* ploops = loops.mutable_data();
    auto* psource = source.mutable_data();
    double *ptest = testCurrent.mutable_data(), *ploop = loopVoltage.mutable_data(), *ppre = preFault.mutable_data();
    bool *pfeasible = feasible.mutable_data(), *pvx = voltageExceeded.mutable_data(),
         *pix = currentExceeded.mutable_data();
    double *pk0m = k0Magnitude.mutable_data(), *pk0a = k0Angle.mutable_data(), *prerl = rerl.mutable_data(),
           *pxexl = xexl.mutable_data(), *pzm = z0z1Magnitude.mutable_data(), *pza = z0z1Angle.mutable_data();
    const Column<double> qa(quantity.a), cnominal(nominal), cumax(umax), cimax(imax);
    constexpr double kNoLimit = std::numeric_limits<double>::infinity();
    {
        // The layer keeps no state of its own: the points run on every core.
        py::gil_scoped_release unlocked;
        ForEachPoint(n, std::thread::hardware_concurrency(), [&] {
            return [&, f = FaultOn(loop), zs = ImpedanceColumn(z, "z"), sources = ImpedanceColumn(quantity, "source"),
                    k0s = K0Column(k0, "k0"), kss = K0Column(ks, "ks"),
                    relay = K0Column(relayK0, "relay_k0")](std::size_t k) mutable {
                f.z = zs(k);
                f.k0 = k0s(k, f.z).value_or(ResidualCompensation());
                switch (kind) {
                    case Model::Current: f.model = ConstantCurrent{qa[k]}; break;
                    case Model::Voltage: f.model = ConstantVoltage{qa[k]}; break;
                    case Model::SIR: f.model = SourceToLineRatio{qa[k], kss(k, f.z)}; break;
                    case Model::Source:
                        f.model = SourceImpedance{sources(k), kss(k, f.z)};
                        break;
                }
                f.nominalVoltage = cnominal[k];
                f.relayK0 = relay(k, f.z);
                const double umaxK = cumax[k], imaxK = cimax[k];
                f.limits.reset();
                if (!std::isnan(umaxK) || !std::isnan(imaxK))
                    f.limits = DeviceLimits{std::isnan(umaxK) ? kNoLimit : umaxK, std::isnan(imaxK) ? kNoLimit : imaxK};
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
            };
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
            return K0Of(ShapeOf(form, "k0"), a, b, Impedance::RX(zr, zx), "k0").value_or(ResidualCompensation()).Value();
        },
        "k0 as a complex number from one of its forms; RE/RL and XE/XL need the line impedance R + jX");
    m.def(
        "_impedance_value",
        [](const std::string& form, double a, double b) {
            return ImpedanceOf(ShapeOf(form, "z"), a, b, "z").Value();
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
    m.def("free_kept_memory", &FreeKeptMemory,
          "Frees the memory kept from dead results of kvdata.fault and kvdata.impedance for the next ones; "
          "returns how many bytes that was");
    m.def("_fault_type_code", &FaultTypeCode, "The code of a fault type's name (with or without 'Fault') or code");
    m.def(
        "_fault_type_name", [](int code) { return py::bytes(FaultTypeName(code)); },
        "The catalogue's name of a code, as the core spells it (Windows-1251 bytes)");
}

}  // namespace kvpy
