// kvdata.core.state: the core's exported globals as attributes. The list of names is
// generated from the headers at build time; each global's form in Python follows from its
// C++ type. Numbers and texts are read and written under the core's lock; arrays are numpy
// views, so writes to their elements go straight to the global without it.

#include <pybind11/stl.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "Core.h"
#include "Kv_Data.h"
#include "StateGlobals.inc"

namespace kvpy {

namespace {

struct State {};

template <class T>
constexpr bool kNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;

template <class T>
using Element = std::remove_all_extents_t<T>;

std::string TypeName(py::handle v) { return py::str(py::type::handle_of(v).attr("__name__")); }

// A Python number as T: TypeError for what is not a number (or, for integer types, not an
// integer), OverflowError for an integer outside T.
template <class T>
T NumberFrom(py::handle v, const std::string& name) {
    if constexpr (std::is_floating_point_v<T>) {
        if (PyUnicode_Check(v.ptr()) || PyBytes_Check(v.ptr()) || !PyNumber_Check(v.ptr()))
            throw py::type_error(name + ": a number is needed, not " + TypeName(v));
        const double x = PyFloat_AsDouble(v.ptr());
        if (x == -1.0 && PyErr_Occurred()) throw py::error_already_set();
        return static_cast<T>(x);
    } else {
        if (!PyIndex_Check(v.ptr())) throw py::type_error(name + ": an integer is needed, not " + TypeName(v));
        const auto i = py::reinterpret_steal<py::int_>(PyNumber_Index(v.ptr()));
        if (!i) throw py::error_already_set();
        const py::int_ lo(std::numeric_limits<T>::min()), hi(std::numeric_limits<T>::max());
        if (i < lo || i > hi) {
            const std::string text = name + ": " + py::repr(i).cast<std::string>() + " is outside " +
                                     py::repr(lo).cast<std::string>() + ".." + py::repr(hi).cast<std::string>();
            PyErr_SetString(PyExc_OverflowError, text.c_str());
            throw py::error_already_set();
        }
        return i.cast<T>();
    }
}

// A global array of texts or records, indexed like the C++ array (2-D: state.x[i][j]).
template <class E>
struct GlobalArray {
    E* data;
    std::vector<std::size_t> shape;

    std::size_t Index(py::ssize_t i) const {
        const auto n = static_cast<py::ssize_t>(shape[0]);
        if (i < 0) i += n;
        if (i < 0 || i >= n) throw py::index_error("index out of range");
        return static_cast<std::size_t>(i);
    }
    std::size_t Stride() const {
        std::size_t s = 1;
        for (std::size_t k = 1; k < shape.size(); ++k) s *= shape[k];
        return s;
    }
    GlobalArray Row(std::size_t i) const {
        return {data + i * Stride(), std::vector<std::size_t>(shape.begin() + 1, shape.end())};
    }
};

template <class E>
void BindGlobalArray(py::module_& core, const char* name, const char* doc) {
    using A = GlobalArray<E>;
    py::class_<A>(core, name, doc)
        .def("__len__", [](const A& a) { return a.shape[0]; })
        .def_property_readonly("shape", [](const A& a) { return py::tuple(py::cast(a.shape)); })
        .def("__getitem__",
             [](const A& a, py::ssize_t i) -> py::object {
                 const std::size_t k = a.Index(i);
                 if (a.shape.size() > 1) return py::cast(a.Row(k));
                 if constexpr (std::is_same_v<E, kv::CString>) {
                     kv::CString text = WithCore([&] { return a.data[k]; });
                     return py::cast(text);
                 } else {
                     return py::cast(&a.data[k], py::return_value_policy::reference);
                 }
             })
        .def("__setitem__", [](const A& a, py::ssize_t i, const E& value) {
            const std::size_t k = a.Index(i);
            if (a.shape.size() > 1) throw py::type_error("assign the elements of a row, not the row");
            WithCore([&] { a.data[k] = value; });
        });
}

class Binder {
public:
    explicit Binder(py::class_<State>& cls) : cls_(cls) {}

    template <class T>
    void operator()(const char* name, T* p) {
        const std::string key = name;
        if constexpr (kNumber<T>) {
            cls_.def_property(
                name, [p](const State&) { return WithCore([&] { return *p; }); },
                [p, key](State&, py::handle v) {
                    const T x = NumberFrom<T>(v, key);
                    WithCore([&] { *p = x; });
                },
                Doc<T>(kNumberKind<T>).c_str());
            Count(kNumberKind<T>);
        } else if constexpr (std::is_array_v<T> && kNumber<Element<T>>) {
            cls_.def_property_readonly(
                name,
                [p](py::object self) {
                    return py::array_t<Element<T>>(Shape<T>(), reinterpret_cast<Element<T>*>(p), self);
                },
                Doc<T>(std::string(kNumberKind<Element<T>>) + " array, a writable numpy view").c_str());
            Count(std::string(kNumberKind<Element<T>>) + " array");
        } else if constexpr (std::is_same_v<T, kv::CString>) {
            cls_.def_property(
                name, [p](const State&) { return WithCore([&] { return *p; }); },
                [p](State&, const kv::CString& text) { WithCore([&] { *p = text; }); }, Doc<T>("CString as str").c_str());
            Count("CString");
        } else if constexpr (std::is_same_v<T, kv::CValueIU>) {
            cls_.def_property_readonly(
                name, [p](const State&) { return p; }, py::return_value_policy::reference,
                Doc<T>("CValueIU, the global itself").c_str());
            Count("CValueIU");
        } else if constexpr (std::is_array_v<T> && (std::is_same_v<Element<T>, kv::CString> ||
                                                     std::is_same_v<Element<T>, kv::CValueIU>)) {
            using A = GlobalArray<Element<T>>;
            cls_.def_property_readonly(
                name,
                [p](const State&) {
                    const auto shape = Shape<T>();
                    return A{reinterpret_cast<Element<T>*>(p), std::vector<std::size_t>(shape.begin(), shape.end())};
                },
                Doc<T>(std::is_same_v<Element<T>, kv::CString> ? "array of CString as str, elements writable"
                                                               : "array of CValueIU, the globals themselves").c_str());
            Count(std::is_same_v<Element<T>, kv::CString> ? "CString array" : "CValueIU array");
        } else if constexpr (std::is_pointer_v<T>) {
            // Window and module handles: their value only, 0 for none.
            cls_.def_property_readonly(
                name, [p](const State&) { return WithCore([&] { return reinterpret_cast<std::uintptr_t>(*p); }); },
                Doc<T>("handle, read-only").c_str());
            Count("handle");
        } else if constexpr (std::is_class_v<Element<T>> && std::is_trivially_copyable_v<Element<T>>) {
            // Records whose fields the calling programs define: their bytes, read-only.
            cls_.def_property_readonly(
                name,
                [p](const State&) {
                    std::string bytes = WithCore([&] { return std::string(reinterpret_cast<const char*>(p), sizeof(T)); });
                    return py::bytes(bytes);
                },
                Doc<T>("record, its bytes, read-only").c_str());
            Count("record bytes");
        } else {
            leftOut_.push_back(key);
        }
    }

    const std::vector<std::string>& LeftOut() const { return leftOut_; }
    py::dict Counts() const { return counts_; }

private:
    template <class T>
    static constexpr const char* kNumberKind = std::is_floating_point_v<T> ? "double"
                                             : std::is_same_v<T, std::uint64_t> ? "ULONGLONG"
                                             : std::is_same_v<T, std::uint32_t> ? "DWORD"
                                             : std::is_same_v<T, std::uint16_t> ? "WORD"
                                             : std::is_same_v<T, std::uint8_t>  ? "BYTE"
                                                                                : "int";

    template <class T>
    static std::vector<py::ssize_t> Shape() {
        std::vector<py::ssize_t> shape;
        if constexpr (std::rank_v<T> >= 1) shape.push_back(static_cast<py::ssize_t>(std::extent_v<T, 0>));
        if constexpr (std::rank_v<T> >= 2) shape.push_back(static_cast<py::ssize_t>(std::extent_v<T, 1>));
        static_assert(std::rank_v<T> <= 2, "arrays of more than two dimensions");
        return shape;
    }

    template <class T>
    static std::string Doc(const std::string& kind) {
        std::string doc = kind;
        if constexpr (std::is_array_v<T>) {
            doc += " [";
            for (py::ssize_t n : Shape<T>()) doc += std::to_string(n) + "][";
            doc.resize(doc.size() - 1);
        }
        return doc;
    }

    void Count(const std::string& kind) {
        const py::str key(kind);
        counts_[key] = counts_.contains(key) ? py::int_(counts_[key].cast<int>() + 1) : py::int_(1);
    }

    py::class_<State>& cls_;
    std::vector<std::string> leftOut_;
    py::dict counts_;
};

}  // namespace

void BindCoreState(py::module_& core) {
    BindGlobalArray<kv::CString>(core, "CStringArray", "A global array of texts, indexed as in C++");
    BindGlobalArray<kv::CValueIU>(core, "CValueIUArray", "A global array of records, indexed as in C++");

    // No dynamic attributes: assigning a name the core does not export is an AttributeError.
    py::class_<State> cls(core, "State", "The core's exported globals as attributes");
    cls.def(py::init<>());
    Binder binder(cls);
    VisitGlobals(binder);

    std::string doc =
        "The core's exported globals. Numbers and texts read and write under the core's lock; "
        "numeric arrays are numpy views (assign their elements). Left out, having no Python form:";
    for (const std::string& name : binder.LeftOut()) doc += " " + name;
    cls.attr("__doc__") = doc;
    cls.attr("_left_out") = py::tuple(py::cast(binder.LeftOut()));
    cls.attr("_kinds") = binder.Counts();
    core.attr("state") = cls();
}

}  // namespace kvpy
