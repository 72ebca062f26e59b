// Counts every call of the global allocation functions in the benchmark program,
// whichever module makes it: the library's calls resolve to the replacements here too.
#pragma once

#include <cstddef>

namespace kvbench {

std::size_t Allocations();

}  // namespace kvbench
