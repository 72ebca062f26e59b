// What the parts of the extension share: their entry points, and the lock that keeps the
// core's global state to one caller at a time while the interpreter's lock is released.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <complex>
#include <cstddef>
#include <mutex>

namespace kvpy {

namespace py = pybind11;

// A 1-D array of doubles as numpy gives it: contiguous, converted from ints where need be.
using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Complexes = py::array_t<std::complex<double>, py::array::c_style | py::array::forcecast>;

// The core's synthesis reads and briefly writes the core's globals; kvdata.core.state
// writes them. Every such access with the interpreter's lock released holds this lock.
std::mutex& CoreLock();

void BindCore(py::module_& core);
void BindFaults(py::module_& module);
void BindPhasors(py::module_& module);
void BindRecords(py::module_& module);

}  // namespace kvpy
