// The three-phase transforms with arbitrary records, masks, limits and flags. Input
// lines: mask, glob_bArm, glob_bEnableAbsAngle, globImax, globUmax, the check limit,
// then the 24 fields of the record in their declared order.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

using kvfuzz::SameBits;

bool SameRecord(const kv::CValueIU& a, const kv::CValueIU& b) {
    const auto* x = reinterpret_cast<const unsigned char*>(&a);
    const auto* y = reinterpret_cast<const unsigned char*>(&b);
    return std::memcmp(x, y, sizeof(kv::CValueIU)) == 0;
}

bool Above(const double (&values)[3], double limit) {
    return values[0] > limit || values[1] > limit || values[2] > limit;
}

// The limit check covers both groups whatever the mask; NaN never fails it.
void CheckLimits(int result, const double (&currents)[3], const double (&voltages)[3], double margin) {
    const bool over = Above(currents, kv::globImax + margin) || Above(voltages, kv::globUmax + margin);
    KV_FUZZ_CHECK(result == (over ? 0 : 1));
}

// Every angle a transform stores has passed AbsAngleGr; the angles of atan2 are finite.
void CheckAngles(const double (&angles)[3]) {
    if (kv::glob_bEnableAbsAngle == 0) return;
    for (const double a : angles) KV_FUZZ_CHECK(std::isnan(a) || (a >= -0.0001 && a <= 359.999));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::FuzzInput in(data, size);
    const auto mask = static_cast<unsigned short>(in.Int());
    kv::glob_bArm = in.Int();
    kv::glob_bEnableAbsAngle = in.Int();
    kv::globImax = in.Double();
    kv::globUmax = in.Double();
    const double limit = in.Double();
    kv::CValueIU record;
    double* const fields[] = {record.dI,    record.dFiI,    record.dU,    record.dFiU,
                              record.dSimI, record.dSimFiI, record.dSimU, record.dSimFiU};
    for (double* group : fields)
        for (int k = 0; k < 3; ++k) group[k] = in.Double();

    kv::CValueIU v = record;
    CheckLimits(kv::FazToSim(v, mask), v.dI, v.dU, 0.0);
    if ((mask & 3) == 0) KV_FUZZ_CHECK(SameRecord(v, record));
    if (mask & 1) CheckAngles(v.dFiI);
    if (mask & 2) CheckAngles(v.dFiU);

    v = record;
    CheckLimits(kv::SimToFaz(v, mask), v.dI, v.dU, 0.0001);
    if ((mask & 3) == 0) KV_FUZZ_CHECK(SameRecord(v, record));

    v = record;
    CheckLimits(kv::FazToLin(v, mask), v.dI, v.dU, 0.0);
    if ((mask & 3) == 0) KV_FUZZ_CHECK(SameRecord(v, record));
    if (mask & 1) CheckAngles(v.dFiI);
    if (mask & 2) CheckAngles(v.dFiU);

    v = record;
    const int lin = kv::SimToLin(v, mask);
    KV_FUZZ_CHECK(lin == 0 || lin == 1);

    kv::CValueIU w(record);
    CheckLimits(kv::FazToSimAnotherFields(w), w.dSimI, w.dSimU, 0.0);
    CheckAngles(w.dSimFiI);
    CheckAngles(w.dSimFiU);
    for (int k = 0; k < 3; ++k) KV_FUZZ_CHECK(SameBits(w.dI[k], record.dI[k]) && SameBits(w.dFiU[k], record.dFiU[k]));

    kv::CValueIU z(record);
    CheckLimits(kv::SimToFazAnotherFields(z), z.dI, z.dU, 0.0);
    for (int k = 0; k < 3; ++k)
        KV_FUZZ_CHECK(SameBits(z.dSimI[k], record.dSimI[k]) && SameBits(z.dSimFiU[k], record.dSimFiU[k]));

    // Two names for one computation.
    const double* s = record.dSimI;
    const double* f = record.dSimFiI;
    const int u = kv::UcheckSimToFaz(s[0], f[0], s[1], f[1], s[2], f[2], limit);
    KV_FUZZ_CHECK(u == 0 || u == 1);
    KV_FUZZ_CHECK(kv::IcheckSimToFaz(s[0], f[0], s[1], f[1], s[2], f[2], limit) == u);
    return 0;
}
