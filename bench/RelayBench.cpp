// The fault at an impedance: one call, and a million calls as a sweep makes them, over
// the seven loops and the four test models in turn. Neither may allocate.

#include <array>
#include <cstddef>

#include "BenchSupport.h"
#include "Kv_Relay/ImpedanceFault.h"

namespace {

using namespace kv::relay;

std::array<ImpedanceFault, 28> Faults() {
    const TestModel models[] = {ConstantCurrent{5}, ConstantVoltage{20}, SourceImpedance{Impedance::Polar(2, 80), {}},
                                SourceToLineRatio{0.5, {}}};
    std::array<ImpedanceFault, 28> faults;
    for (std::size_t k = 0; k < faults.size(); ++k) {
        ImpedanceFault& f = faults[k];
        f.loop = static_cast<FaultLoop>(k % 7);
        f.model = models[k / 7];
        f.z = Impedance::Polar(5, 75);
        f.k0 = ResidualCompensation::Polar(0.8, -5);
        f.limits = DeviceLimits{120, 20};
    }
    return faults;
}

void BM_ImpedanceFault(benchmark::State& state) {
    const auto faults = Faults();
    std::size_t k = 0;
    kvbench::CountedExactly(state, 0, [&] {
        benchmark::DoNotOptimize(Calculate(faults[k]));
        k = k + 1 == faults.size() ? 0 : k + 1;
    });
}
BENCHMARK(BM_ImpedanceFault);

// A reach test's sweep: 10^6 impedance magnitudes of one loop and model.
void BM_ImpedanceFault_Million(benchmark::State& state) {
    ImpedanceFault f = Faults()[0];
    kvbench::CountedExactly(state, 0, [&] {
        for (int n = 0; n < 1000000; ++n) {
            f.z = Impedance::RX(1.3 + n * 1e-6, 4.8);
            benchmark::DoNotOptimize(Calculate(f));
        }
    });
}
BENCHMARK(BM_ImpedanceFault_Million)->Unit(benchmark::kMillisecond);

}  // namespace
