// kvdata.core: the legacy interface, its names kept.

#include "Bindings.h"
#include "Kv_Data.h"

namespace kvpy {

void BindCore(py::module_& core) {
    core.attr("__all__") = py::list();
}

}  // namespace kvpy
