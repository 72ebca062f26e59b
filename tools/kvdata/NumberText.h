// The shortest text that reads back as the same double, written fast: long sweeps print
// tens of millions of numbers. The text is the one std::to_chars gives (plain or
// exponent form, whichever is shorter, plain on a tie).
#pragma once

namespace kvdata {

// Writes at most 32 characters at `at` and returns the end.
char* WriteShortest(char* at, double value);

}  // namespace kvdata
