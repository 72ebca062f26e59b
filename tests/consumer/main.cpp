// Uses the installed libraries as a client program would: through the umbrella headers,
// the exported globals and functions, the platform layer's archive, and a fault at an
// impedance from the engineering layer.
#include <cmath>
#include <cstdio>

#include "Kv_Data.h"
#include "Kv_Relay.h"

int main() {
    int failures = 0;
    auto check = [&failures](bool ok, const char* what) {
        std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
        if (!ok) ++failures;
    };

    check(kv::GetKvDataInstance() != nullptr, "the library's module handle exists once loaded");
    check(kv::glob_bUseInFieldPoint == 1, "an exported global holds its default");

    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        ar << 0.25 << static_cast<kv::BYTE>(7);
        ar.Close();
    }
    check(file.Bytes().size() == 9, "an archive stores a double and a byte as 9 bytes");

    kv::CString field;
    check(kv::AfxExtractSubString(field, "1;0.05;2", 1, ';') && field == "0.05", "field extraction");

    kv::relay::ImpedanceFault fault;
    fault.z = kv::relay::Impedance::Polar(5, 75);
    fault.k0 = kv::relay::ResidualCompensation::Polar(0.8, -5);
    fault.model = kv::relay::ConstantCurrent{5};
    const auto result = kv::relay::Calculate(fault);
    check(std::abs(result.phases.voltages.a.Magnitude() - 44.958) < 5e-4, "an earth fault at 5 ohm 75 deg");
    bool refused = false;
    try {
        fault.nominalVoltage = -1;
        kv::relay::Calculate(fault);
    } catch (const kv::relay::Error&) {
        refused = true;
    }
    check(refused, "bad input is a kv::relay::Error");

    if (failures == 0)
        std::printf("consumer: every check holds\n");
    else
        std::printf("consumer: %d checks failed\n", failures);
    return failures == 0 ? 0 : 1;
}
