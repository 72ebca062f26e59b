// The fault synthesis with every int code and arbitrary magnitudes, angles, limits and
// universal-fault globals. Input lines: code, U, I, phi, Unom, Aux, AuxAngle, Uhealthy,
// writeU, writeI, globUmax, globImax, cst58V, cstUmax100, cst173V,
// glob_bEnableAbsAngle, glob_dwKavorType, glob_dwProgramIconNumber,
// glob_n_U0_or_U1_or_U2, glob_n_I0_or_I1_or_I2, glob_bChangeUniversal_U_or_I,
// glob_b_ModeNoLoad, glob_dUk, glob_dIk, glob_dUpitForProgramStandart, then the
// universal fault's sequence, phase and no-load globals (36 lines, in declaration order).
#include <cstdint>
#include <cstring>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

using kvfuzz::SameBits;

// What the caller had in its variables: a value no formula produces by chance.
constexpr double kUntouched = -7.25e-300;

double* const kUniversal[] = {
    &kv::glob_dU0,        &kv::glob_dU1,        &kv::glob_dU2,        &kv::glob_dI0,
    &kv::glob_dI1,        &kv::glob_dI2,        &kv::glob_dU0f,       &kv::glob_dU1f,
    &kv::glob_dU2f,       &kv::glob_dI0f,       &kv::glob_dI1f,       &kv::glob_dI2f,
    &kv::glob_dUA,        &kv::glob_dUB,        &kv::glob_dUC,        &kv::glob_dIA,
    &kv::glob_dIB,        &kv::glob_dIC,        &kv::glob_dUAf,       &kv::glob_dUBf,
    &kv::glob_dUCf,       &kv::glob_dIAf,       &kv::glob_dIBf,       &kv::glob_dICf,
    &kv::glob_dUA_NoLoad, &kv::glob_dUB_NoLoad, &kv::glob_dUC_NoLoad, &kv::glob_dIA_NoLoad,
    &kv::glob_dIB_NoLoad, &kv::glob_dIC_NoLoad, &kv::glob_dUAf_NoLoad, &kv::glob_dUBf_NoLoad,
    &kv::glob_dUCf_NoLoad, &kv::glob_dIAf_NoLoad, &kv::glob_dIBf_NoLoad, &kv::glob_dICf_NoLoad,
};

struct Outputs {
    double v[12];
    Outputs() {
        for (double& x : v) x = kUntouched;
    }
    bool Untouched() const {
        for (const double x : v)
            if (!SameBits(x, kUntouched)) return false;
        return true;
    }
};

// Every call records the request first, valid or not.
void CheckRecorded(int code, double phi) {
    KV_FUZZ_CHECK(kv::glob_TT_nCombo_TypeKz == code);
    KV_FUZZ_CHECK(SameBits(kv::glob_TT_dAngleKz, phi));
}

bool OutsideCatalogue(int code) { return code < 0 || code > 132; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::FuzzInput in(data, size);
    const int code = in.Int();
    const double u = in.Double();
    const double i = in.Double();
    const double phi = in.Double();
    const double unom = in.Double();
    const double aux = in.Double();
    const double auxAngle = in.Double();
    const double uHealthy = in.Double();
    const int writeU = in.Int();
    const int writeI = in.Int();
    kv::globUmax = in.Double();
    kv::globImax = in.Double();
    kv::cst58V = in.Double();
    kv::cstUmax100 = in.Double();
    kv::cst173V = in.Double();
    kv::glob_bEnableAbsAngle = in.Int();
    kv::glob_dwKavorType = in.UInt32();
    kv::glob_dwProgramIconNumber = in.UInt32();
    kv::glob_n_U0_or_U1_or_U2 = in.Int();
    kv::glob_n_I0_or_I1_or_I2 = in.Int();
    kv::glob_bChangeUniversal_U_or_I = in.Int();
    kv::glob_b_ModeNoLoad = in.Int();
    kv::glob_dUk = in.Double();
    kv::glob_dIk = in.Double();
    kv::glob_dUpitForProgramStandart = in.Double();
    for (double* global : kUniversal) *global = in.Double();

    {
        Outputs o;
        double* v = o.v;
        const int r = kv::SetUFaza(code, u, phi, v[0], v[1], v[2], v[3], v[4], v[5]);
        CheckRecorded(code, phi);
        KV_FUZZ_CHECK(r >= 0 && r <= 3);
        if (OutsideCatalogue(code)) KV_FUZZ_CHECK(r == 3);
        // Only the isolated-neutral codes write their outputs and still give 3.
        if (r == 3 && (code < 93 || code > 95)) KV_FUZZ_CHECK(o.Untouched());
    }
    {
        Outputs o;
        double* v = o.v;
        const int r = kv::SetIFaza(code, i, phi, v[0], v[1], v[2], v[3], v[4], v[5]);
        CheckRecorded(code, phi);
        KV_FUZZ_CHECK(r == 0 || r == 2 || r == 3);
        if (OutsideCatalogue(code)) KV_FUZZ_CHECK(r == 3);
        if (r == 3) KV_FUZZ_CHECK(o.Untouched());
    }
    {
        Outputs o;
        double* v = o.v;
        const int r = kv::SetUIFaza(code, u, i, phi, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8],
                                    v[9], v[10], v[11], unom, aux, auxAngle, uHealthy);
        CheckRecorded(code, phi);
        KV_FUZZ_CHECK(r >= 0 && r <= 3);
        if (OutsideCatalogue(code)) KV_FUZZ_CHECK(r == 3);
        if (r == 3) KV_FUZZ_CHECK(o.Untouched());
    }
    {
        kv::CValueIU record;
        double* const groups[] = {record.dI,    record.dFiI,    record.dU,    record.dFiU,
                                  record.dSimI, record.dSimFiI, record.dSimU, record.dSimFiU};
        for (double* group : groups)
            for (int k = 0; k < 3; ++k) group[k] = kUntouched;
        const kv::CValueIU before(record);
        const int r = kv::SetUIFaza(code, writeU, writeI, u, i, phi, record);
        CheckRecorded(code, phi);
        KV_FUZZ_CHECK(r >= 0 && r <= 3);
        if (code < 3 || code > 126) KV_FUZZ_CHECK(r == 3);
        // The sequence block is never written; with 3 nothing is.
        const std::size_t checked = r == 3 ? sizeof(kv::CValueIU) : sizeof(kv::CValueIU) / 2;
        const auto* tail = reinterpret_cast<const unsigned char*>(&record) + sizeof(kv::CValueIU) - checked;
        const auto* tailBefore = reinterpret_cast<const unsigned char*>(&before) + sizeof(kv::CValueIU) - checked;
        KV_FUZZ_CHECK(std::memcmp(tail, tailBefore, checked) == 0);
    }
    return 0;
}
