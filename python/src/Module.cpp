// kvdata._kvdata: the extension under the Python package kvdata.

#include <string>

#include "Bindings.h"
#include "Kv_Relay/Error.h"

namespace kvpy {

std::mutex& CoreLock() {
    static std::mutex lock;
    return lock;
}

}  // namespace kvpy

PYBIND11_MODULE(_kvdata, m) {
    m.doc() = "The compiled part of kvdata: the core's legacy interface and the engineering layer";
    // Bad input to the layer is the caller's mistake: ValueError with the layer's message.
    kvpy::py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const kv::relay::Error& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        }
    });
    kvpy::py::module_ core = m.def_submodule("core", "The legacy interface, its names kept");
    kvpy::BindCore(core);
    kvpy::BindFaults(m);
    kvpy::BindPhasors(m);
    kvpy::BindRecords(m);
}
