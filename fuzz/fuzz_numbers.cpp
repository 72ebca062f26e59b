// The numeric routines (rounding, number text, phasors, angles, geometry, spectra,
// message parameters) with arbitrary doubles and ints. Input lines: x, y, z, n, m, the
// eight coordinates of two segments, fStart, fEnd, fStep, t0, t1, the sample count,
// then the samples.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

// Counts that make a routine do (and allocate) in proportion to them, as defined: the
// width and precision of EStr, a text that long; the frequencies and samples of the
// spectrum, count·n sums. The harness keeps them to what a fuzzer can afford. dRound's
// decimals and Polar::Ang's digits bound their own cost and go in as they come.
constexpr int kMaxDecimals = 1100;
constexpr double kMaxFrequencies = 1024;
constexpr int kMaxSamples = 256;

void Rounding(double x, double y, int n, int m) {
    kv::round(x);
    kv::round(static_cast<float>(x));
    kv::roundshort(x);
    kv::dRound(x, n);
    kv::DivRound(n, m);
    kv::DivRound(x, m);
    kv::dDivRound(x, y);
    kv::dDivRoundDegree(x, y);
    if (std::fabs(y) <= 1e-5) KV_FUZZ_CHECK(kv::ResultDiv(x, y) == 99999.9);
    KV_FUZZ_CHECK(kv::IsEqual(x, x, n) == 1);
    kv::IsEqual(x, y, n);
    const float f = kv::DoubleToFloat(x);
    KV_FUZZ_CHECK(std::isnan(f) || (std::fabs(f) >= 1e-35f && std::fabs(f) <= 1e35f));
    kv::LStr(n);
    kv::EStr(x, std::clamp(n, -kMaxDecimals, kMaxDecimals), std::clamp(m, -kMaxDecimals, kMaxDecimals));
}

void Phasors(double x, double y, double z, int n) {
    const kv::Complex a(x, y);
    const kv::Complex b(y, z);
    kv::Complex c = a + b;
    c = a - b, c = a * b, c = a / b, c = a / x, c = x / a, c = x + a, c = a + x, c = x - a, c = a - x;
    c = a * x, c = x * a, c = kv::conj(a), c = kv::PtoC(x, y), c = kv::Complex(x, y, 0);
    c += b, c -= b, c *= b, c /= b, c += x, c -= x, c *= x, c /= x;
    c.SetEx(a, z);
    kv::abs(a), kv::norm(a), kv::arg(a), kv::real(a), kv::imag(a);
    KV_FUZZ_CHECK((a == b) + (a != b) == 1);
    // A vanishing divisor gives zero, not infinity.
    if (std::hypot(y, z) < 1e-6) KV_FUZZ_CHECK(a / b == kv::Complex(0, 0));

    kv::Polar p(x, y, 0);
    const kv::Polar q = kv::CtoP(y, z);
    p = p + q, p = p - q, p = p * q, p = p / q;
    p = kv::Polar(a), p = kv::Polar(x, y);
    p.Ang(n);
    p.AngGtoR(), p.AngRtoG();
    double zx = x, zy = y;
    kv::XYtoZF(zx, zy);
    kv::ZFtoXY(zx, zy);
    kv::GtoR(x), kv::RtoG(x);
    kv::NormAngleGr(x), kv::NormAngleGr(static_cast<float>(x));
    kv::AbsAngleGr(x), kv::AbsAngleGr(static_cast<float>(x));
    const int equal = kv::IsEqualAngles(x, y);
    KV_FUZZ_CHECK(equal == 0 || equal == 1);
}

void Geometry(const int (&c)[8]) {
    const kv::CPoint a1(c[0], c[1]), a2(c[2], c[3]), b1(c[4], c[5]), b2(c[6], c[7]);
    kv::AngleLine(a1, a2), kv::AngleLine(a1);
    kv::LengthLine(a1, a2), kv::LengthLine(a1), kv::LengthLine(kv::CSize(c[0], c[1]));
    const int between = kv::PointInLine(c[0], c[1], c[2]);
    // Differences wrap at 32 bits, so only spans that fit are judged.
    const auto fits = [](int v) { return v > -(1 << 30) && v < (1 << 30); };
    if (fits(c[0]) && fits(c[1]) && fits(c[2]))
        KV_FUZZ_CHECK(between == (std::min(c[0], c[1]) <= c[2] && c[2] <= std::max(c[0], c[1])));
    const int inBox = kv::PointInLine(a1, a2, b1);
    KV_FUZZ_CHECK(inBox == 0 || inBox == 1);
    kv::CPoint out;
    const int meet = kv::PointIntersectTwoLine(out, a1, a2, b1, b2);
    KV_FUZZ_CHECK(meet == 0 || meet == 1);
}

void Spectrum(kvfuzz::FuzzInput& in) {
    const double fStart = in.Double(), fEnd = in.Double(), fStep = in.Double();
    const double t0 = in.Double(), t1 = in.Double();
    const int n = std::min(in.Int(), kMaxSamples);
    std::vector<double> x(static_cast<std::size_t>(std::max(n, 0)));
    for (double& sample : x) sample = in.Double();

    const double frequencies = (fEnd - fStart) / fStep + 1.0;
    if (!(frequencies > kMaxFrequencies && frequencies < 2147483648.0)) {
        int count = 0;
        double* amp = nullptr;
        double* phase = nullptr;
        const bool done = kv::GetSpectr(fStart, fEnd, fStep, t0, t1, n, x.data(), count, amp, phase);
        if (count < 0) KV_FUZZ_CHECK(!done && amp == nullptr && phase == nullptr);
        delete[] amp;
        delete[] phase;
    }
    double amp = 0, phase = 0;
    KV_FUZZ_CHECK(kv::Get_Furie_Amp_Phase(fStart, n, x.data(), amp, phase) == (n != 0));
}

void Integers(double x, int n) {
    const kv::CString rome = kv::GetRomeNumber(n);
    KV_FUZZ_CHECK(kv::GetIntFromRomeNumber(rome) == (n >= 1 && n <= 12 ? n : -1));
    kv::GetSeriesColor(n);
    kv::FloatFromLP(n);
    kv::LPFromFloat(static_cast<float>(x));
    KV_FUZZ_CHECK(kv::WPFromDouble(x) == static_cast<kv::UINT>(kv::LPFromFloat(x)));
    const kv::CValueIU v(x, x, x, x, x, x, x, x, x, x, x, x);
    if (n < 0 || n > 2)
        KV_FUZZ_CHECK(v.GetI(n) == -1.0 && v.GetFiI(n) == -1.0 && v.GetU(n) == -1.0 && v.GetFiU(n) == -1.0);
    if (n < 0 || n > 5) KV_FUZZ_CHECK(v.GetUI(n) == -1.0 && v.GetFUI(n) == -1.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::FuzzInput in(data, size);
    const double x = in.Double(), y = in.Double(), z = in.Double();
    const int n = in.Int(), m = in.Int();
    int corners[8];
    for (int& c : corners) c = in.Int();
    Rounding(x, y, n, m);
    Phasors(x, y, z, n);
    Geometry(corners);
    Integers(x, n);
    Spectrum(in);
    return 0;
}
