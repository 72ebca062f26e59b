// The shortest text that reads back as the same double, written fast: long sweeps print
// tens of millions of numbers. The text is the one std::to_chars gives (plain or
// exponent form, whichever is shorter, plain on a tie).
#pragma once

#include <cstddef>

namespace kvdata {

// The longest such text ("-1.2345678901234567e-308").
constexpr std::size_t kShortestLength = 24;
// The room a text is given: the row writer copies texts as whole blocks of this size.
constexpr std::size_t kShortestRoom = 32;

// Writes the text at `at`, at most kShortestLength characters, and returns its end.
char* WriteShortest(char* at, double value);

}  // namespace kvdata
