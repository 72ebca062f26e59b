// The page's interface to the layer: the catalogue's fault and the fault at an impedance,
// inputs as the page's fields hold them (text, kvdata's option names), results as plain
// objects; a COMTRADE record from bytes, its samples and its phasors at a time. Bad input
// comes back as {error, field}, never as an exception.

#include <emscripten/bind.h>
#include <emscripten/val.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Kv_Data/State.h"
#include "Kv_Relay.h"

using emscripten::val;
using namespace kv::relay;

namespace {

// Bad input in one field: the message, and which field it belongs to.
struct FieldError {
    std::string field;
    std::string message;
};

std::string Text(const val& input, const char* name) {
    const val v = input[name];
    if (v.isUndefined() || v.isNull()) return {};
    std::string s = v.isString() ? v.as<std::string>() : v.call<std::string>("toString");
    const auto first = s.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

// Read as kvdata reads its options.
double Number(const std::string& text, const std::string& field) {
    if (const auto value = ReadNumber(text)) return *value;
    throw FieldError{field, field + ": '" + text + "' is not a number"};
}

double NonNegative(const std::string& text, const std::string& field) {
    const double v = Number(text, field);
    if (v < 0) throw FieldError{field, field + ": must be >= 0, got " + text};
    return v;
}

struct PolarText {
    double m = 0, a = 0;
};

// "MAG@ANG"; a bare number is at 0°.
PolarText Polar(const std::string& text, const std::string& field) {
    const auto at = text.find('@');
    if (at == std::string::npos) return {NonNegative(text, field), 0.0};
    return {NonNegative(text.substr(0, at), field), Number(text.substr(at + 1), field)};
}

// Runs `step`, turning the layer's Error into a FieldError of `field`.
template <class F>
auto In(const std::string& field, F&& step) {
    try {
        return step();
    } catch (const Error& e) {
        throw FieldError{field, e.what()};
    }
}

val PolarObject(double magnitude, double angle) {
    val o = val::object();
    o.set("magnitude", magnitude);
    o.set("angle", angle);
    return o;
}

// UA, UB, UC, IA, ... ; U1, U2, U0, I1, ...; UAB, UBC, UCA, IAB, ...: each as
// {magnitude, angle}, angles in [0, 360) as the layer reports them.
void SetPhases(val& values, const ThreePhaseSet& phases) {
    static const char* const kPhase[] = {"A", "B", "C"};
    static const char* const kSequence[] = {"1", "2", "0"};
    static const char* const kLine[] = {"AB", "BC", "CA"};
    for (int q = 0; q < 2; ++q) {
        const ThreePhase& p = q == 0 ? phases.voltages : phases.currents;
        const std::string letter = q == 0 ? "U" : "I";
        const auto ph = Report(p), seq = Report(AsTriple(Symmetrical(p))), line = Report(LineValues(p));
        for (std::size_t k = 0; k < 3; ++k) {
            values.set(letter + kPhase[k], PolarObject(ph[k].magnitude, ph[k].angle));
            values.set(letter + kSequence[k], PolarObject(seq[k].magnitude, seq[k].angle));
            values.set(letter + kLine[k], PolarObject(line[k].magnitude, line[k].angle));
        }
    }
}

val Failure(const FieldError& e) {
    val out = val::object();
    out.set("error", e.message);
    out.set("field", e.field);
    return out;
}

// The core's state that a device type changes and the synthesis reads: kept as at start-up
// and put back before each fault, so that one fault's device does not stay for the next.
struct CoreState {
    kv::DWORD type = kv::glob_dwKavorType;
    double umax = kv::globUmax, umaxAB = kv::globUmaxAB, imax = kv::globImax;
    double u58 = kv::cst58V, u100 = kv::cstUmax100, u173 = kv::cst173V;
    double supply = kv::glob_dUpitForProgramStandart;
    int a1 = kv::glob_bFault_A1_Enable;

    void Restore() const {
        kv::glob_dwKavorType = type;
        kv::globUmax = umax;
        kv::globUmaxAB = umaxAB;
        kv::globImax = imax;
        kv::cst58V = u58;
        kv::cstUmax100 = u100;
        kv::cst173V = u173;
        kv::glob_dUpitForProgramStandart = supply;
        kv::glob_bFault_A1_Enable = a1;
    }
};

const CoreState& StartUp() {
    static const CoreState state;
    return state;
}

// The device's limits judged as kvdata judges them, while its constants are in force:
// {within, checks: [{key, quantity, limitName, unit, limit, largest, where, exceeded}]}.
val LimitsOf(const ThreePhaseSet& phases) {
    const ThreePhase lines = LineValues(phases.voltages);
    double u[3], line[3], i[3];
    for (std::size_t k = 0; k < 3; ++k) {
        u[k] = phases.voltages[k].Magnitude();
        line[k] = lines[k].Magnitude();
        i[k] = phases.currents[k].Magnitude();
    }
    const LimitChecks checks = CheckLimits(u, line, i);
    val items = val::array();
    for (int k = 0; k < checks.count; ++k) {
        const LimitCheck& c = checks.items[k];
        val item = val::object();
        item.set("key", std::string(c.key));
        item.set("quantity", std::string(c.quantity));
        item.set("limitName", std::string(c.limitName));
        item.set("unit", std::string(c.unit));
        item.set("limit", c.limit);
        item.set("largest", c.largest);
        item.set("where", std::string(c.where));
        item.set("exceeded", c.exceeded);
        items.call<void>("push", item);
    }
    val out = val::object();
    out.set("within", checks.within);
    out.set("checks", items);
    return out;
}

// {type, u, i, phi, nominal, device}: a catalogue fault through the core's full synthesis.
val CatalogueFaultOf(const val& input) {
    try {
        StartUp().Restore();
        CatalogueFault f;
        const std::string type = Text(input, "type");
        f.type = In("type", [&] { return FaultTypeCode(type.empty() ? "FaultAB" : type); });
        if (const auto s = Text(input, "u"); !s.empty()) f.u = Number(s, "u");
        if (const auto s = Text(input, "i"); !s.empty()) f.i = Number(s, "i");
        if (const auto s = Text(input, "phi"); !s.empty()) f.phi = Number(s, "phi");
        if (const auto s = Text(input, "nominal"); !s.empty()) {
            f.nominalVoltage = Number(s, "nominal");
            if (!(f.nominalVoltage > 0)) throw FieldError{"nominal", "nominal: must be > 0, got " + s};
        }
        std::optional<DeviceLimits> limits;
        if (const auto s = Text(input, "device"); !s.empty()) {
            const double code = Number(s, "device");
            if (code != std::floor(code) || code < 0 || code > 100000)
                throw FieldError{"device", "device: not a device type code: " + s};
            limits = In("device", [&] { return ApplyDeviceType(static_cast<int>(code)); });
        }
        const CatalogueResult r = In("", [&] { return Synthesise(f); });
        const val deviceLimits = LimitsOf(r.phases);
        StartUp().Restore();

        val out = val::object();
        out.set("kind", std::string("fault"));
        out.set("code", f.type);
        out.set("name", FaultTypeName(f.type));
        out.set("result", r.result);
        val values = val::object();
        SetPhases(values, r.phases);
        out.set("values", values);
        if (limits) {
            out.set("umax", limits->umax);
            out.set("imax", limits->imax);
        }
        out.set("limits", deviceLimits);
        return out;
    } catch (const FieldError& e) {
        StartUp().Restore();
        return Failure(e);
    }
}

std::optional<ResidualCompensation> K0Polar(const std::string& text, const char* field) {
    if (text.empty()) return std::nullopt;
    const PolarText p = Polar(text, field);
    return In(field, [&] { return ResidualCompensation::Polar(p.m, p.a); });
}

// {loop, z | rx, k0 | rerl+xexl | z0z1, current | voltage | source | sir, ks, nominal,
// relay-k0}: a fault at an impedance.
val ImpedanceFaultOf(const val& input) {
    try {
        ImpedanceFault f;
        const std::string loop = Text(input, "loop");
        f.loop = In("loop", [&] { return ParseFaultLoop(loop.empty() ? "AN" : loop); });

        const std::string z = Text(input, "z"), rx = Text(input, "rx");
        if (!rx.empty() && z.empty()) {
            const auto comma = rx.find(',');
            if (comma == std::string::npos) throw FieldError{"rx", "rx: '" + rx + "' is not R,X"};
            f.z = Impedance::RX(Number(rx.substr(0, comma), "rx"), Number(rx.substr(comma + 1), "rx"));
        } else {
            const PolarText p = Polar(z.empty() ? "5@75" : z, "z");
            f.z = In("z", [&] { return Impedance::Polar(p.m, p.a); });
        }

        const std::string k0 = Text(input, "k0"), rerl = Text(input, "rerl"), xexl = Text(input, "xexl"),
                          z0z1 = Text(input, "z0z1");
        if (!k0.empty() + (!rerl.empty() || !xexl.empty()) + !z0z1.empty() > 1)
            throw FieldError{"k0", "k0: give it in one form: k0, rerl with xexl, or z0z1"};
        if (!k0.empty()) {
            f.k0 = *K0Polar(k0, "k0");
        } else if (!rerl.empty() || !xexl.empty()) {
            if (rerl.empty()) throw FieldError{"rerl", "rerl: goes with xexl"};
            if (xexl.empty()) throw FieldError{"xexl", "xexl: goes with rerl"};
            const double re = Number(rerl, "rerl"), xe = Number(xexl, "xexl");
            f.k0 = In("rerl", [&] { return ResidualCompensation::FromRERLXEXL(re, xe, f.z); });
        } else if (!z0z1.empty()) {
            const PolarText p = Polar(z0z1, "z0z1");
            f.k0 = In("z0z1", [&] { return ResidualCompensation::FromZ0Z1(p.m, p.a); });
        }
        f.relayK0 = K0Polar(Text(input, "relay-k0"), "relay-k0");

        const std::string current = Text(input, "current"), voltage = Text(input, "voltage"),
                          source = Text(input, "source"), sir = Text(input, "sir"), ks = Text(input, "ks");
        const int models = !current.empty() + !voltage.empty() + !source.empty() + !sir.empty();
        if (models > 1) throw FieldError{"model", "give one test model: current, voltage, source or sir"};
        if (!voltage.empty()) {
            f.model = ConstantVoltage{NonNegative(voltage, "voltage")};
        } else if (!source.empty()) {
            const PolarText p = Polar(source, "source");
            f.model = SourceImpedance{In("source", [&] { return Impedance::Polar(p.m, p.a); }), K0Polar(ks, "ks")};
        } else if (!sir.empty()) {
            f.model = SourceToLineRatio{NonNegative(sir, "sir"), K0Polar(ks, "ks")};
        } else {
            f.model = ConstantCurrent{current.empty() ? 5.0 : NonNegative(current, "current")};
        }
        if (!ks.empty() && source.empty() && sir.empty())
            throw FieldError{"ks", "ks: the source's k0 goes with source or sir"};
        if (const auto s = Text(input, "nominal"); !s.empty()) f.nominalVoltage = Number(s, "nominal");

        const ImpedanceFaultResult r = In("", [&] { return Calculate(f); });

        val out = val::object();
        out.set("kind", std::string("impedance"));
        out.set("loop", std::string(Name(f.loop)));
        out.set("model", std::string(Name(f.model)));
        out.set("result", r.feasible ? 0 : 1);
        out.set("feasible", r.feasible);
        out.set("testCurrent", r.testCurrent);
        out.set("loopVoltage", r.loopVoltage);
        out.set("preFaultLoopVoltage", r.preFaultLoopVoltage);
        val values = val::object();
        SetPhases(values, r.phases);
        out.set("values", values);
        val zv = val::object();
        zv.set("r", f.z.R());
        zv.set("x", f.z.X());
        zv.set("magnitude", f.z.Magnitude());
        zv.set("angle", f.z.Angle());
        out.set("z", zv);
        val k = val::object();
        k.set("magnitude", r.k0.magnitude);
        k.set("angle", r.k0.angle);
        k.set("rerl", r.k0.rerl ? val(*r.k0.rerl) : val::null());
        k.set("xexl", r.k0.xexl ? val(*r.k0.xexl) : val::null());
        k.set("z0z1_magnitude", r.k0.z0z1Magnitude);
        k.set("z0z1_angle", r.k0.z0z1Angle);
        out.set("k0", k);
        val loops = val::object();
        for (std::size_t n = 0; n < kMeasuringLoops; ++n) {
            const auto& zl = r.loops[n];
            val l = val::null();
            if (zl) {
                l = val::object();
                l.set("r", zl->R());
                l.set("x", zl->X());
                l.set("magnitude", zl->Magnitude());
                l.set("angle", zl->Angle());
            }
            loops.set(std::string(Name(static_cast<MeasuringLoop>(n))), l);
        }
        out.set("loops", loops);
        return out;
    } catch (const FieldError& e) {
        return Failure(e);
    }
}

// The catalogue's fault types: [{code, name}], in code order.
val FaultTypes() {
    val list = val::array();
    for (int code = 0; code < 1000; ++code) {
        const std::string name = FaultTypeName(code);
        if (name.empty()) continue;
        val t = val::object();
        t.set("code", code);
        t.set("name", name);
        list.call<void>("push", t);
    }
    return list;
}

// ---- the record viewer: one record at a time, read from bytes the page was given ----

std::optional<comtrade::Record>& OpenRecord() {
    static std::optional<comtrade::Record> record;
    return record;
}

std::vector<std::uint8_t> Bytes(const val& array) {
    return emscripten::convertJSArrayToNumberVector<std::uint8_t>(array);
}

val Utf8(std::string_view bytes) { return val(comtrade::TextAsUtf8(bytes)); }

val RecordSummary(const comtrade::Record& r) {
    val out = val::object();
    out.set("station", Utf8(r.station));
    out.set("device", Utf8(r.device));
    out.set("revision", r.revision);
    out.set("lineFrequency", r.lineFrequency);
    out.set("samples", static_cast<double>(r.samples));
    out.set("triggerOffset", r.TriggerOffset());
    val analog = val::array();
    for (const auto& c : r.analog) {
        val a = val::object();
        a.set("name", Utf8(c.name));
        a.set("phase", Utf8(c.phase));
        a.set("unit", Utf8(c.unit));
        analog.call<void>("push", a);
    }
    out.set("analog", analog);
    val digital = val::array();
    for (const auto& c : r.digital) digital.call<void>("push", Utf8(c.name));
    out.set("digital", digital);
    val groups = val::array();
    for (const auto& g : PhaseGroups(r)) {
        val o = val::object();
        o.set("unit", Utf8(g.unit));
        o.set("channels", val::array(std::vector<double>{double(g.a), double(g.b), double(g.c)}));
        groups.call<void>("push", o);
    }
    out.set("groups", groups);
    return out;
}

// A .cfg with its .dat, or a .cff (dat empty): the record's summary, or {error}.
val ReadRecord(const val& first, const val& data, const std::string& name) {
    try {
        OpenRecord().reset();
        const std::vector<std::uint8_t> bytes = Bytes(first);
        if (data.isUndefined() || data.isNull()) {
            OpenRecord() = comtrade::ReadCombined(bytes, name);
        } else {
            const std::string configuration(bytes.begin(), bytes.end());
            OpenRecord() = comtrade::ReadConfigurationAndData(configuration, Bytes(data), name);
        }
        return RecordSummary(*OpenRecord());
    } catch (const Error& e) {
        return Failure({"record", e.what()});
    }
}

template <class T>
val Copy(const T* data, std::size_t n, const char* type) {
    return val::global(type).new_(emscripten::typed_memory_view(n, data));
}

// The samples' times (s, first sample at 0), an analog channel's values, a digital one's states.
val RecordTimes() {
    const auto& r = OpenRecord();
    return r ? Copy(r->times.data(), r->times.size(), "Float64Array") : val::null();
}
val RecordAnalog(int channel) {
    const auto& r = OpenRecord();
    if (!r || channel < 0 || static_cast<std::size_t>(channel) >= r->analog.size()) return val::null();
    const auto a = r->Analog(static_cast<std::size_t>(channel));
    return Copy(a.data(), a.size(), "Float64Array");
}
val RecordDigital(int channel) {
    const auto& r = OpenRecord();
    if (!r || channel < 0 || static_cast<std::size_t>(channel) >= r->digital.size()) return val::null();
    const auto d = r->Digital(static_cast<std::size_t>(channel));
    return Copy(d.data(), d.size(), "Uint8Array");
}

// Every channel's phasor and each phase group's components at `t` seconds from the
// trigger: {time, channels: [{magnitude, angle} | null], groups: [{positive, ...} | null]}.
val RecordPhasorsAt(double t) {
    const auto& r = OpenRecord();
    if (!r) return Failure({"at", "at: no record is open"});
    try {
        const PhasorsAtTime p = PhasorsAt(*r, t + r->TriggerOffset());
        val out = val::object();
        out.set("time", t);
        val channels = val::array();
        for (const auto& c : p.channels)
            channels.call<void>("push", c ? PolarObject(c->Magnitude(), c->Angle()) : val::null());
        out.set("channels", channels);
        val groups = val::array();
        for (const auto& g : p.groups) {
            val o = val::null();
            if (g) {
                o = val::object();
                o.set("positive", PolarObject(g->positive.Magnitude(), g->positive.Angle()));
                o.set("negative", PolarObject(g->negative.Magnitude(), g->negative.Angle()));
                o.set("zero", PolarObject(g->zero.Magnitude(), g->zero.Angle()));
            }
            groups.call<void>("push", o);
        }
        out.set("groups", groups);
        return out;
    } catch (const Error& e) {
        return Failure({"at", e.what()});
    }
}

}  // namespace

EMSCRIPTEN_BINDINGS(kvdata) {
    emscripten::function("catalogueFault", &CatalogueFaultOf);
    emscripten::function("impedanceFault", &ImpedanceFaultOf);
    emscripten::function("faultTypes", &FaultTypes);
    emscripten::function("readRecord", &ReadRecord);
    emscripten::function("recordTimes", &RecordTimes);
    emscripten::function("recordAnalog", &RecordAnalog);
    emscripten::function("recordDigital", &RecordDigital);
    emscripten::function("recordPhasorsAt", &RecordPhasorsAt);
}
