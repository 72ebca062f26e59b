#include "Kv_Relay/CatalogueFault.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string>

#include "Kv_Data/Fault.h"
#include "Kv_Data/State.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {

constexpr int kLastCode = 132;

// Naming a code sets the A1 flag for code 123 as a side effect; the flag is put back.
std::string NameOf(int code) {
    const int savedA1 = kv::glob_bFault_A1_Enable;
    std::string name(kv::GetStringFromDefineKZ(code).view());
    kv::glob_bFault_A1_Enable = savedA1;
    return name;
}

std::string Folded(std::string_view text) {
    std::string name(text);
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name.rfind("fault", 0) == 0 ? name : "fault" + name;
}

// Whether a code names a fault type: looked up once, for naming a code costs a string
// and touches the core's A1 flag.
bool InCatalogue(int code) {
    static const auto known = [] {
        std::array<bool, kLastCode + 1> names{};
        for (int k = 0; k <= kLastCode; ++k) names[static_cast<std::size_t>(k)] = !NameOf(k).empty();
        return names;
    }();
    return code >= 0 && code <= kLastCode && known[static_cast<std::size_t>(code)];
}

void RequireFinite(double value, const char* field) {
    if (!std::isfinite(value)) Fail(field, "must be a finite number", value);
}

}  // namespace

std::string FaultTypeName(int code) { return code >= 0 && code <= kLastCode ? NameOf(code) : std::string(); }

int FaultTypeCode(std::string_view text) {
    int code = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    if (!text.empty() && error == std::errc() && end == text.data() + text.size()) {
        if (!InCatalogue(code))
            throw Error("type: fault type " + std::string(text) + " is not in the catalogue");
        return code;
    }
    const int exact = kv::GetDefineFromStringKZ(kv::CString(text));
    if (exact >= 0) return exact;
    const std::string wanted = Folded(text);
    for (int k = 0; k <= kLastCode; ++k) {
        const std::string name = NameOf(k);
        if (!name.empty() && Folded(name) == wanted) return k;
    }
    throw Error("type: unknown fault type '" + std::string(text) + "'");
}

int SynthesisePolar(const CatalogueFault& f, std::span<double, 6> v, std::span<double, 6> c) {
    if (!InCatalogue(f.type)) Fail("type", "must be a code of the catalogue", f.type);
    RequireFinite(f.u, "u");
    RequireFinite(f.i, "i");
    RequireFinite(f.phi, "phi");
    RequireFinite(f.unom, "unom");
    RequireFinite(f.aux, "aux");
    RequireFinite(f.auxAngle, "aux_angle");
    RequireFinite(f.uhealthy, "uhealthy");
    RequireFinite(f.nominalVoltage, "nominal");
    if (f.u < 0 && f.type != 82) Fail("u", "must be >= 0 (only type 82 gives U a sign)", f.u);
    if (f.i < 0) Fail("i", "must be >= 0", f.i);
    if (f.nominalVoltage < 0) Fail("nominal", "must be > 0", f.nominalVoltage);

    const auto synthesise = [&] {
        return kv::SetUIFaza(f.type, f.u, f.i, f.phi, v[0], v[1], v[2], v[3], v[4], v[5], c[0], c[1], c[2], c[3],
                             c[4], c[5], f.unom < 0 ? kv::cstUmax100 : f.unom, f.aux, f.auxAngle, f.uhealthy);
    };
    if (!(f.nominalVoltage > 0)) return synthesise();
    // The healthy phases of the synthesis follow the core's two nominal values.
    const double savedLine = kv::cstUmax100, savedPhase = kv::cst58V;
    kv::cstUmax100 = f.nominalVoltage;
    kv::cst58V = f.nominalVoltage / std::sqrt(3.0);
    const int result = synthesise();
    kv::cstUmax100 = savedLine;
    kv::cst58V = savedPhase;
    return result;
}

CatalogueResult Synthesise(const CatalogueFault& f) {
    double v[6] = {}, c[6] = {};
    CatalogueResult r;
    r.result = SynthesisePolar(f, v, c);
    for (std::size_t k = 0; k < 3; ++k) {
        r.phases.voltages[k] = Phasor(FromPolarDegrees(v[2 * k], v[2 * k + 1]));
        r.phases.currents[k] = Phasor(FromPolarDegrees(c[2 * k], c[2 * k + 1]));
    }
    return r;
}

CatalogueResult CatalogueSweep::operator()(const CatalogueFault& f) {
    double v[6] = {}, c[6] = {};
    CatalogueResult r;
    r.result = SynthesisePolar(f, v, c);
    r.phases = Phasors(v, c);
    return r;
}

ThreePhaseSet CatalogueSweep::Phasors(std::span<const double, 6> v, std::span<const double, 6> c) {
    ThreePhaseSet phases;
    for (std::size_t k = 0; k < 3; ++k) {
        phases.voltages[k] = Phasor(m_phasors[k].Unchecked(v[2 * k], v[2 * k + 1]));
        phases.currents[k] = Phasor(m_phasors[3 + k].Unchecked(c[2 * k], c[2 * k + 1]));
    }
    return phases;
}

}  // namespace kv::relay
