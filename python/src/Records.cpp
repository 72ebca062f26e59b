// Test sequences, COMTRADE records, phasors from samples and assessment for kvdata.

#include "Bindings.h"

namespace kvpy {

void BindRecords(py::module_&) {}

}  // namespace kvpy
