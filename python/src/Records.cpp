// Test sequences, COMTRADE records, phasors from samples and assessment for kvdata.
//
// Samples leave C++ uncopied: an array of a record's or a sequence's waveforms is a
// read-only view of the C++ vector, its base the bound object that owns the vector, so
// the samples live as long as any array over them. The Python side names and shapes.

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "Bindings.h"
#include "Kv_Relay/Assessment.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/SamplePhasors.h"
#include "Kv_Relay/Sequence.h"
#include "Kv_Relay/Waveforms.h"

namespace kvpy {

namespace {

using namespace kv::relay;
namespace ct = kv::relay::comtrade;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::complex<double> kNoValue(kNaN, kNaN);

py::ssize_t Signed(std::size_t n) { return static_cast<py::ssize_t>(n); }

// A read-only array over `data` that `owner` keeps alive; rows of `columns` values.
template <class T>
py::array View(const T* data, std::size_t rows, std::size_t columns, bool matrix, py::handle owner) {
    std::vector<py::ssize_t> shape;
    if (matrix) shape.push_back(Signed(rows));
    shape.push_back(Signed(columns));
    // An empty vector may have no storage to point at: an empty array of its own then.
    py::array_t<T> array = rows * columns == 0 ? py::array_t<T>(shape) : py::array_t<T>(shape, data, owner);
    array.attr("flags").attr("writeable") = false;
    return array;
}

py::object Optional(const std::optional<double>& value) {
    return value ? py::object(py::float_(*value)) : py::object(py::none());
}

py::object Value(const std::optional<Phasor>& p) {
    return p ? py::cast(p->Value()) : py::object(py::none());
}

// Microseconds since 1970 (Python makes the datetime) and the ISO text.
py::tuple Time(ct::Time t) { return py::make_tuple(t.time_since_epoch().count(), IsoTime(t)); }

py::str Text(const std::string& bytes) { return py::str(ct::TextAsUtf8(bytes)); }

ct::Values ParseValues(const std::string& text) {
    if (text == "recorded") return ct::Values::AsRecorded;
    if (text == "primary") return ct::Values::Primary;
    if (text == "secondary") return ct::Values::Secondary;
    throw Error("values: one of recorded, primary or secondary, got '" + text + "'");
}

// ---- Sequences -----------------------------------------------------------------------

using SequencePtr = std::shared_ptr<Sequence>;

py::dict SequenceInfo(const Sequence& q) {
    py::dict out;
    out["station"] = q.station;
    out["device"] = q.device;
    out["nominal_voltage"] = q.nominalVoltage;
    out["frequency"] = q.nominalFrequency;
    out["rate"] = q.rate;
    out["start"] = q.start ? py::object(Time(*q.start)) : py::object(py::none());
    out["trigger_time"] = TriggerTime(q);
    out["digital_names"] = DigitalChannelNames(q);
    py::list states;
    for (const State& s : q.states) {
        py::dict d;
        d["name"] = s.name;
        d["duration"] = s.duration;
        d["frequency"] = Optional(s.frequency);
        d["trigger"] = s.trigger;
        d["dc_offset"] = s.dcOffset.enabled;
        d["outputs"] = s.outputs;
        d["kind"] = std::holds_alternative<ExplicitPhasors>(s.phasors)   ? "phasors"
                    : std::holds_alternative<CatalogueFault>(s.phasors) ? "fault"
                    : std::holds_alternative<ImpedanceFault>(s.phasors) ? "impedance"
                                                                         : "star";
        states.append(d);
    }
    out["states"] = states;
    py::list assessments;
    for (const Assessment& a : q.assessments) {
        py::dict d;
        d["name"] = a.name;
        d["channel"] = a.channel;
        d["from"] = a.from;
        d["until"] = a.until ? py::object(py::str(*a.until)) : py::object(py::none());
        d["expected"] = Optional(a.expected);
        d["abs"] = a.absolute;
        d["rel"] = a.relative;
        assessments.append(d);
    }
    out["assessments"] = assessments;
    return out;
}

// Every state as played; the catalogue's synthesis touches the core's globals.
py::list Played(const Sequence& q) {
    std::vector<PlayedState> played;
    {
        py::gil_scoped_release unlocked;
        const std::lock_guard core(CoreLock());
        played = Play(q);
    }
    py::list out;
    for (const PlayedState& p : played) {
        Complexes phasors(Signed(kChannels));
        auto* v = phasors.mutable_data();
        for (std::size_t c = 0; c < 3; ++c) {
            v[c] = p.phasors.voltages[c].Value();
            v[3 + c] = p.phasors.currents[c].Value();
        }
        py::dict d;
        d["start"] = p.start;
        d["frequency"] = p.frequency;
        d["phasors"] = phasors;
        d["tau"] = Optional(p.tau);
        d["catalogue_result"] = p.catalogueResult;
        out.append(d);
    }
    return out;
}

// A sequence's waveforms with the sequence they came from, which writing needs.
struct SequenceWaveforms {
    SequenceWaveforms(SequencePtr s, double rate) : sequence(std::move(s)), waveforms(*sequence, rate) {}
    SequencePtr sequence;
    Waveforms waveforms;
};

std::shared_ptr<SequenceWaveforms> MakeWaveforms(const SequencePtr& q, double rate) {
    py::gil_scoped_release unlocked;
    const std::lock_guard core(CoreLock());
    return std::make_shared<SequenceWaveforms>(q, rate);
}

py::array AnalogView(py::object self) {
    const Waveforms& w = self.cast<const SequenceWaveforms&>().waveforms;
    const std::size_t n = w.Samples();
    const double* first = w.Analog(Channel::UA).data();
    bool contiguous = true;  // channel after channel in one block, as Waveforms stores them
    for (std::size_t c = 1; c < kChannels; ++c)
        contiguous = contiguous && w.Analog(static_cast<Channel>(c)).data() == first + c * n;
    if (contiguous) return View(first, kChannels, n, true, self);
    py::array_t<double> copy({Signed(kChannels), Signed(n)});
    for (std::size_t c = 0; c < kChannels; ++c)
        std::copy_n(w.Analog(static_cast<Channel>(c)).data(), n, copy.mutable_data() + c * n);
    copy.attr("flags").attr("writeable") = false;
    return copy;
}

std::vector<std::filesystem::path> WriteComtrade(const SequenceWaveforms& w, const std::filesystem::path& stem,
                                                 const std::string& format, int revision, bool singleFile) {
    ct::WriteOptions options;
    options.format = ct::ParseDataFormat(format);
    options.revision = ct::ParseRevision(std::to_string(revision));
    options.singleFile = singleFile;
    py::gil_scoped_release unlocked;
    const ct::RecordToWrite record = ToRecord(*w.sequence, w.waveforms, RecordStart(*w.sequence));
    return ct::Write(record, stem, options);
}

// ---- Records -------------------------------------------------------------------------

using RecordPtr = std::shared_ptr<ct::Record>;

py::dict RecordInfo(const ct::Record& r) {
    py::dict out;
    out["configuration"] = r.configuration;
    out["station"] = Text(r.station);
    out["device"] = Text(r.device);
    out["revision"] = r.revision;
    out["format"] = std::string(ct::Name(r.format));
    out["frequency"] = r.lineFrequency;
    py::list rates;
    for (const ct::RateSegment& s : r.rates) rates.append(py::make_tuple(s.rate, s.lastSample));
    out["rates"] = rates;
    out["start"] = Time(r.start);
    out["trigger"] = Time(r.trigger);
    out["trigger_offset"] = r.TriggerOffset();
    out["time_multiplier"] = r.timeMultiplier;
    out["samples"] = r.samples;
    out["header"] = Text(r.header);
    out["information"] = Text(r.information);
    py::list analog;
    for (const ct::AnalogInfo& a : r.analog) {
        py::dict d;
        d["name"] = Text(a.name);
        d["phase"] = Text(a.phase);
        d["circuit"] = Text(a.circuit);
        d["unit"] = Text(a.unit);
        d["a"] = a.a;
        d["b"] = a.b;
        d["skew"] = a.skew;
        d["min"] = a.min;
        d["max"] = a.max;
        d["primary"] = a.primary;
        d["secondary"] = a.secondary;
        d["ps"] = std::string(1, a.ps);
        analog.append(d);
    }
    out["analog"] = analog;
    py::list digital;
    for (const ct::DigitalInfo& g : r.digital) {
        py::dict d;
        d["name"] = Text(g.name);
        d["phase"] = Text(g.phase);
        d["circuit"] = Text(g.circuit);
        d["normal"] = g.normal;
        digital.append(d);
    }
    out["digital"] = digital;
    py::list groups;
    for (const PhaseGroup& g : PhaseGroups(r)) groups.append(py::make_tuple(Text(g.unit), g.a, g.b, g.c));
    out["groups"] = groups;
    return out;
}

template <class Reader>
RecordPtr ReadRecord(Reader reader) {
    py::gil_scoped_release unlocked;
    return std::make_shared<ct::Record>(reader());
}

std::span<const std::uint8_t> Bytes(const std::string& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// Positive, negative and zero sequence, in the layer's order.
py::object Components(const std::optional<SequenceComponents>& s) {
    if (!s) return py::none();
    return py::make_tuple(s->positive.Value(), s->negative.Value(), s->zero.Value());
}

py::dict PhasorsAtTimeDict(const PhasorsAtTime& p) {
    py::dict out;
    out["time"] = p.time;
    py::list channels, groups;
    for (const auto& c : p.channels) channels.append(Value(c));
    for (const auto& g : p.groups) groups.append(Components(g));
    out["channels"] = channels;
    out["groups"] = groups;
    return out;
}

py::dict EveryCycle(const ct::Record& r) {
    std::vector<PhasorsAtTime> cycles;
    {
        py::gil_scoped_release unlocked;
        cycles = PhasorsEveryCycle(r);
    }
    const std::size_t k = cycles.size(), channels = r.analog.size(), groups = PhaseGroups(r).size();
    Doubles times(Signed(k));
    Complexes values({Signed(k), Signed(channels)}), components({Signed(k), Signed(groups), py::ssize_t{3}});
    double* t = times.mutable_data();
    auto* v = values.mutable_data();
    auto* s = components.mutable_data();
    for (std::size_t i = 0; i < k; ++i) {
        t[i] = cycles[i].time;
        for (std::size_t c = 0; c < channels; ++c)
            v[i * channels + c] = cycles[i].channels[c] ? cycles[i].channels[c]->Value() : kNoValue;
        for (std::size_t g = 0; g < groups; ++g) {
            const auto& set = cycles[i].groups[g];
            auto* out = s + 3 * (i * groups + g);
            out[0] = set ? set->positive.Value() : kNoValue;
            out[1] = set ? set->negative.Value() : kNoValue;
            out[2] = set ? set->zero.Value() : kNoValue;
        }
    }
    py::dict out;
    out["times"] = times;
    out["channels"] = values;
    out["components"] = components;
    return out;
}

py::list AssessRecord(const Sequence& q, const ct::Record& r) {
    py::list out;
    for (const AssessmentResult& a : Assess(q, r)) {
        py::dict d;
        d["name"] = a.name;
        d["passed"] = a.passed;
        d["measured"] = Optional(a.measured);
        d["low"] = Optional(a.low);
        d["high"] = Optional(a.high);
        out.append(d);
    }
    return out;
}

}  // namespace

void BindRecords(py::module_& m) {
    py::class_<Sequence, SequencePtr>(m, "_Sequence", "A test sequence as the layer read it")
        .def("info", &SequenceInfo, "The sequence's settings, states and assessments")
        .def("played", &Played, "Every state as played: start, frequency, the six phasors, tau");
    m.def(
        "_parse_sequence", [](const std::string& text) { return std::make_shared<Sequence>(ParseSequence(text)); },
        "A sequence file's text");
    m.def(
        "_polar", [](std::complex<double> v) { return py::make_tuple(std::abs(v), AngleDegrees180(v)); },
        "A complex value as (magnitude, degrees in (-180, 180])");

    py::class_<SequenceWaveforms, std::shared_ptr<SequenceWaveforms>>(m, "_Waveforms",
                                                                      "A sequence's waveforms, sample by sample")
        .def(py::init(&MakeWaveforms), py::arg("sequence"), py::arg("rate"))
        .def_property_readonly("samples", [](const SequenceWaveforms& w) { return w.waveforms.Samples(); })
        .def_property_readonly("rate", [](const SequenceWaveforms& w) { return w.waveforms.Rate(); })
        .def_property_readonly("digital_names",
                               [](const SequenceWaveforms& w) { return w.waveforms.DigitalNames(); })
        .def("times",
             [](const SequenceWaveforms& w) {
                 const std::size_t n = w.waveforms.Samples();
                 Doubles times(Signed(n));
                 double* t = times.mutable_data();
                 for (std::size_t k = 0; k < n; ++k) t[k] = w.waveforms.TimeOf(k);
                 return times;
             })
        .def("analog", &AnalogView, "The six channels UA..IC as a read-only (6, N) view")
        .def("digital",
             [](py::object self, std::size_t index) {
                 const auto samples = self.cast<const SequenceWaveforms&>().waveforms.Digital(index);
                 return View(samples.data(), 1, samples.size(), false, self);
             })
        .def("write", &WriteComtrade, py::arg("stem"), py::arg("format"), py::arg("revision"),
             py::arg("single_file"));

    py::class_<ct::Record, RecordPtr>(m, "_Record", "A COMTRADE record read back")
        .def("info", &RecordInfo, "The configuration, texts decoded")
        .def("times",
             [](py::object self) {
                 const auto& r = self.cast<const ct::Record&>();
                 return View(r.times.data(), 1, r.times.size(), false, self);
             })
        .def("values",
             [](py::object self) {
                 const auto& r = self.cast<const ct::Record&>();
                 return View(r.values.data(), r.analog.size(), r.samples, true, self);
             })
        .def("states",
             [](py::object self) {
                 const auto& r = self.cast<const ct::Record&>();
                 return View(r.states.data(), r.digital.size(), r.samples, true, self);
             })
        .def(
            "phasors_at",
            [](const ct::Record& r, double t, bool fromTrigger) {
                return PhasorsAtTimeDict(PhasorsAt(r, fromTrigger ? t + r.TriggerOffset() : t));
            },
            py::arg("t"), py::arg("from_trigger"))
        .def("phasors_every_cycle", &EveryCycle)
        .def(
            "first_rising_edge",
            [](const ct::Record& r, std::size_t channel, double after, bool fromTrigger) {
                const double offset = fromTrigger ? r.TriggerOffset() : 0.0;
                const auto edge = FirstRisingEdge(r, channel, after + offset);
                return Optional(edge ? std::optional<double>(*edge - offset) : std::nullopt);
            },
            py::arg("channel"), py::arg("after"), py::arg("from_trigger"));
    m.def(
        "_read",
        [](const std::filesystem::path& path, const std::string& values) {
            const ct::Values v = ParseValues(values);
            return ReadRecord([&] { return ct::Read(path, v); });
        },
        py::arg("path"), py::arg("values"));
    m.def(
        "_read_configuration_and_data",
        [](const std::string& configuration, const std::string& data, const std::string& name,
           const std::string& values) {
            const ct::Values v = ParseValues(values);
            return ReadRecord([&] { return ct::ReadConfigurationAndData(configuration, Bytes(data), name, v); });
        },
        py::arg("configuration"), py::arg("data"), py::arg("name"), py::arg("values"));
    m.def(
        "_read_combined",
        [](const std::string& cff, const std::string& name, const std::string& values) {
            const ct::Values v = ParseValues(values);
            return ReadRecord([&] { return ct::ReadCombined(Bytes(cff), name, v); });
        },
        py::arg("cff"), py::arg("name"), py::arg("values"));
    m.def("_assess", &AssessRecord, py::arg("sequence"), py::arg("record"));
}

}  // namespace kvpy
