// What the parts of kvdata.core share: the core's text as Python str, and calls into the
// core under the lock that guards its globals.
#pragma once

#include <mutex>
#include <utility>

#include "Bindings.h"
#include "Kv_Data/PlatformString.h"

// CString and the core's const char* texts are Windows-1251 bytes; Python sees str. A str
// with no Windows-1251 form raises UnicodeEncodeError, a ValueError.
namespace pybind11::detail {

template <>
struct type_caster<kv::CString> {
    PYBIND11_TYPE_CASTER(kv::CString, const_name("str"));

    bool load(handle src, bool) {
        if (!PyUnicode_Check(src.ptr())) return false;
        const auto bytes = reinterpret_steal<object>(PyUnicode_AsEncodedString(src.ptr(), "cp1251", "strict"));
        if (!bytes) throw error_already_set();
        char* data = nullptr;
        Py_ssize_t size = 0;
        if (PyBytes_AsStringAndSize(bytes.ptr(), &data, &size) != 0) throw error_already_set();
        value = kv::CString(std::string(data, static_cast<std::size_t>(size)));
        return true;
    }

    static handle cast(const kv::CString& s, return_value_policy, handle) {
        PyObject* text = PyUnicode_Decode(s.GetString(), s.GetLength(), "cp1251", "strict");
        if (!text) throw error_already_set();
        return text;
    }
};

}  // namespace pybind11::detail

namespace kvpy {

// f() with the interpreter's lock released and the core's lock held: the core's
// functions read (and the synthesis writes) globals that batch computations share.
template <class F>
decltype(auto) WithCore(F&& f) {
    py::gil_scoped_release unlocked;
    const std::lock_guard core(CoreLock());
    return std::forward<F>(f)();
}

// A core function called through WithCore, its signature kept.
template <class R, class... A>
auto Guarded(R (*f)(A...)) {
    return [f](A... a) -> R { return WithCore([&]() -> R { return f(std::forward<A>(a)...); }); };
}

void BindCoreState(py::module_& core);

}  // namespace kvpy
