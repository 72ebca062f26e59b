// Lookups by name, tolerance tables and the output-contact archive. These work on
// strings and archives and may allocate; the count per call is reported, not checked.

#include <cstddef>
#include <memory>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Data/Catalogue.h"
#include "Kv_Data/Fault.h"
#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformString.h"
#include "Kv_Data/State.h"

namespace {

using kvbench::Reported;

// A name found by the first comparison, one found by the last exact comparison, and one
// that goes through every comparison and every containment test in vain.
void BM_GetDefineFromStringKZ(benchmark::State& state, const char* text) {
    const kv::CString name(text);
    Reported(state, [&] { benchmark::DoNotOptimize(kv::GetDefineFromStringKZ(name)); });
}
BENCHMARK_CAPTURE(BM_GetDefineFromStringKZ, early, "FaultA");
BENCHMARK_CAPTURE(BM_GetDefineFromStringKZ, late, "FaultIcVarIbConst");
BENCHMARK_CAPTURE(BM_GetDefineFromStringKZ, none, "FaultXYZ");

// A table of a current-type setting: absolute below 1, percent above, finer from 10 up.
void BM_GetITolerance(benchmark::State& state) {
    const kv::CString table("0;0.05;1;5%;10;3%");
    double x = 3;
    Reported(state, [&] {
        double absTol = 0;
        int less = 0;
        double percent = 0;
        kvbench::Opaque(x);
        benchmark::DoNotOptimize(kv::GetITolerance(table, x, absTol, less, percent));
        kvbench::Keep(absTol);
        kvbench::Keep(percent);
    });
}
BENCHMARK(BM_GetITolerance);

// A table of operating times: absolute up to 1 s, then asymmetric limits with a percent.
void BM_GetTTolerance(benchmark::State& state) {
    const kv::CString table("0.1;0.01;1;0.02;10;-0.02 +0.05 10%");
    double x = 5;
    Reported(state, [&] {
        double minus = 0;
        double plus = 0;
        int less = 0;
        double percent = 0;
        kvbench::Opaque(x);
        benchmark::DoNotOptimize(kv::GetTTolerance(table, x, x, minus, plus, less, percent));
        kvbench::Keep(minus);
        kvbench::Keep(plus);
        kvbench::Keep(percent);
    });
}
BENCHMARK(BM_GetTTolerance);

// A configuration with every entry set, so that nothing stores as a run of zeros.
std::unique_ptr<kv::COutContactsVal> Contacts() {
    auto contacts = std::make_unique<kv::COutContactsVal>();
    for (std::size_t k = 0; k < kv::COutContactsVal::kEntryCount; ++k) {
        kv::COutContactEntry& e = contacts->m_aEntry[k];
        e.byFlag1 = static_cast<kv::BYTE>(k & 1);
        e.byFlag2 = static_cast<kv::BYTE>(k % 3);
        e.dValue1 = 0.5 * static_cast<double>(k);
        e.dValue2 = 0.1 + static_cast<double>(k);
    }
    return contacts;
}

// Both blocks, as a program writes them, 18 bytes per entry.
constexpr std::size_t kArchiveBytes = 18 * kv::COutContactsVal::kEntryCount;

std::vector<kv::BYTE> Store(kv::COutContactsVal& contacts) {
    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        contacts.Serialize(ar);
        contacts.SerializeRemain(ar);
    }
    return file.Bytes();
}

void BM_COutContactsVal_Store(benchmark::State& state) {
    const auto contacts = Contacts();
    Reported(state, [&] {
        std::vector<kv::BYTE> bytes = Store(*contacts);
        benchmark::DoNotOptimize(bytes.data());
    });
    state.SetBytesProcessed(static_cast<long long>(kArchiveBytes) * state.iterations());
}
BENCHMARK(BM_COutContactsVal_Store)->Unit(benchmark::kMicrosecond);

void BM_COutContactsVal_Load(benchmark::State& state) {
    const auto source = Contacts();
    kv::CMemFile file(Store(*source));
    if (file.GetLength() != kArchiveBytes) {
        kvbench::Fail(state, "the archive does not hold 18 bytes an entry");
        return;
    }
    const auto contacts = std::make_unique<kv::COutContactsVal>();
    Reported(state, [&] {
        file.SeekToBegin();
        kv::CArchive ar(&file, kv::CArchive::load);
        contacts->Serialize(ar);
        contacts->SerializeRemain(ar);
        benchmark::DoNotOptimize(contacts->m_aEntry[kv::COutContactsVal::kEntryCount - 1].dValue1);
    });
    if (!(*contacts == *source)) kvbench::Fail(state, "the loaded configuration differs from the stored one");
    state.SetBytesProcessed(static_cast<long long>(kArchiveBytes) * state.iterations());
}
BENCHMARK(BM_COutContactsVal_Load)->Unit(benchmark::kMicrosecond);

}  // namespace
