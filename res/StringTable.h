// The library's own string table (language Russian): the display names of the test
// types. The texts are written here in UTF-8 and stored as Windows-1251 bytes, the
// conversion done by the compiler; a character outside Windows-1251's Cyrillic and
// ASCII stops the build.
#pragma once

#include <array>
#include <cstddef>

#include "Kv_Data/PlatformModule.h"

namespace kv::res {

// A UTF-8 literal as Windows-1251 bytes, zero-padded to the literal's length.
template <std::size_t N>
struct Cp1251Text {
    char bytes[N]{};

    consteval Cp1251Text(const char8_t (&utf8)[N]) {
        std::size_t out = 0;
        for (std::size_t in = 0; in < N && utf8[in] != 0;) {
            const unsigned lead = utf8[in];
            if (lead < 0x80) {
                bytes[out++] = static_cast<char>(lead);
                ++in;
                continue;
            }
            if ((lead & 0xE0) != 0xC0 || in + 1 >= N) throw "only ASCII and Cyrillic";
            const unsigned code = ((lead & 0x1F) << 6) | (utf8[in + 1] & 0x3FU);
            in += 2;
            if (code >= 0x0410 && code <= 0x044F)  // А..я
                bytes[out++] = static_cast<char>(0xC0 + (code - 0x0410));
            else if (code == 0x0401)  // Ё
                bytes[out++] = static_cast<char>(0xA8);
            else if (code == 0x0451)  // ё
                bytes[out++] = static_cast<char>(0xB8);
            else
                throw "not in Windows-1251";
        }
    }
};

// The template parameter object lives as long as the program, so its bytes do too.
template <Cp1251Text text>
consteval const char* Cp1251() {
    return text.bytes;
}

inline constexpr std::array<StringTableEntry, 13> kStringTable{{
    {1288, Cp1251<u8"Фмч">()},
    {1289, Cp1251<u8"Zуставки">()},
    {1290, Cp1251<u8"Смещение">()},
    {1291, Cp1251<u8"Соотношение осей">()},
    {1292, Cp1251<u8"Z(ф)">()},
    {1293, Cp1251<u8"Iтр">()},
    {1294, Cp1251<u8"T(Z)">()},
    {1295, Cp1251<u8"T(I)">()},
    {1296, Cp1251<u8"Работа по 'памяти'">()},
    {1297, Cp1251<u8"Наклон правой боковой стороны">()},
    {1298, Cp1251<u8"Направленность памяти">()},
    {1299, Cp1251<u8"T(U)">()},
    {1300, Cp1251<u8"U(I)">()},
}};

}  // namespace kv::res
