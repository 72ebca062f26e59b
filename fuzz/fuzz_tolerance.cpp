// Tolerance tables from arbitrary text. Input: dX, dT, then the table (the rest).
#include <cstdint>

#include "FuzzInput.h"
#include "Kv_Data.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::FuzzInput in(data, size);
    const double x = in.Double();
    const double t = in.Double();
    const kv::CString table(in.Rest());

    double absTol = -1.0;
    double percentTol = -1.0;
    int less = -1;
    const bool foundI = kv::GetITolerance(table, x, absTol, less, percentTol);
    KV_FUZZ_CHECK(less == 0 || less == 1);
    // Each pair sets one kind of tolerance and clears the other.
    KV_FUZZ_CHECK(absTol == 0.0 || percentTol == 0.0);
    if (foundI) KV_FUZZ_CHECK(absTol >= 0.001 || percentTol > 0.0001);
    if (table.IsEmpty()) KV_FUZZ_CHECK(!foundI && absTol == 0.0 && percentTol == 0.0 && less == 0);

    double minusTol = -1.0;
    double plusTol = -1.0;
    less = -1;
    percentTol = -1.0;
    const bool foundT = kv::GetTTolerance(table, x, t, minusTol, plusTol, less, percentTol);
    KV_FUZZ_CHECK(less == 0 || less == 1);
    if (foundT) KV_FUZZ_CHECK(minusTol >= 0.001 || percentTol > 0.0001);
    if (table.IsEmpty())
        KV_FUZZ_CHECK(!foundT && minusTol == 0.0 && plusTol == 0.0 && percentTol == 0.0 && less == 0);
    return 0;
}
