// Prints doubles as std::to_chars writes them and whether from_chars reads each back:
// built natively and with web/compat/Compat.h under emscripten, the two outputs agree.
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>

int main() {
    const double edges[] = {0, -0.0, 1, -1, 0.1, 1e-7, 1.5e-7, 123456789012345678.0, 1e21, 1e22, 5e-324,
                            1.7976931348623157e308, 100, 1234.5, 0.001, 1e-5, 1e15, 1e16, 2.5e-10, 44.95769898573265};
    std::mt19937_64 rng(42);
    char text[64];
    auto print = [&](double v) {
        const auto written = std::to_chars(text, text + sizeof text, v);
        double back = 0;
        const auto read = std::from_chars(text, written.ptr, back);
        std::printf("%.*s %d\n", static_cast<int>(written.ptr - text), text, back == v && read.ptr == written.ptr);
    };
    for (const double v : edges) print(v);
    for (int k = 0; k < 100000; ++k) {
        double v = std::bit_cast<double>(rng());
        if (k % 2 == 0) {
            const double mantissa = static_cast<double>(rng() % 1000000) / 1000.0;
            v = std::ldexp(mantissa, static_cast<int>(rng() % 80) - 40);
        }
        if (std::isfinite(v)) print(v);
    }
}
