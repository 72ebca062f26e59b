// kvdata.core: the legacy interface, its names kept. What C++ writes through non-const
// references comes back as the result (after the function's own value, in a tuple when
// several); records (CValueIU) are changed in place as in C++.

#include <pybind11/complex.h>
#include <pybind11/operators.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Core.h"
#include "Kv_Data.h"

namespace kvpy {

namespace {

using kv::Complex;
using kv::CPoint;
using kv::CSize;
using kv::CString;
using kv::CValueIU;
using kv::Polar;

// Outputs that a call may leave alone come back as NaN: nothing was written there.
constexpr double kUnwritten = std::numeric_limits<double>::quiet_NaN();

// One Windows-1251 character, for the core's char arguments.
char OneChar(const CString& s, const char* name) {
    if (s.GetLength() != 1) throw py::value_error(std::string(name) + ": one character, not " + std::to_string(s.GetLength()));
    return s.GetAt(0);
}

// The samples of x for the spectrum functions, which read the first n of them.
const double* Samples(const Doubles& x, int n) {
    if (x.ndim() != 1) throw py::value_error("x: a 1-D array of samples is needed");
    if (n > 0 && x.size() < n)
        throw py::value_error("x: " + std::to_string(x.size()) + " samples where n is " + std::to_string(n));
    return x.data();
}

py::array_t<double> ArrayOf(const double* p, int count) {
    return p && count > 0 ? py::array_t<double>(count, p) : py::array_t<double>(0);
}

// A record's three-value block as a numpy view into the record itself.
void DefBlock(py::class_<CValueIU>& cls, const char* name, double (CValueIU::*block)[3], const char* doc) {
    cls.def_property(
        name,
        [block](py::object self) {
            CValueIU& v = self.cast<CValueIU&>();
            return py::array_t<double>(3, &(v.*block)[0], self);
        },
        [block, name](CValueIU& v, const Doubles& values) {
            if (values.ndim() != 1 || values.size() != 3)
                throw py::value_error(std::string(name) + ": three values (phases A, B, C) are needed");
            std::copy_n(values.data(), 3, &(v.*block)[0]);
        },
        doc);
}

void BindComplexes(py::module_& core) {
    py::class_<kv::FComplex>(core, "FComplex", "Complex number in single precision")
        .def(py::init<>())
        .def(py::init<float, float>(), py::arg("re"), py::arg("im"))
        .def("Re", &kv::FComplex::Re, "Real part")
        .def("Im", &kv::FComplex::Im, "Imaginary part")
        .def("__repr__", [](const kv::FComplex& f) {
            return "FComplex(" + py::repr(py::float_(f.Re())).cast<std::string>() + ", " +
                   py::repr(py::float_(f.Im())).cast<std::string>() + ")";
        });

    py::class_<Complex> complexClass(core, "Complex", "Complex number in rectangular form (re, im)");
    py::class_<Polar> polarClass(core, "Polar", "Complex number in polar form (modulus, angle in radians)");

    complexClass.def(py::init<>())
        .def(py::init<double, double>(), py::arg("re"), py::arg("im"))
        .def(py::init<double, double, int>(), py::arg("mod"), py::arg("ang"), py::arg("polar"),
             "Rectangular form of a modulus and an angle in radians; the third argument only selects this form")
        .def(py::init<const Polar&>(), py::arg("p"), "(0, 0) whatever p is: the core's Complex(Polar) does not convert")
        .def(py::init<kv::FComplex>(), py::arg("f"))
        .def(py::init([](std::complex<double> z) { return Complex(z.real(), z.imag()); }), py::arg("z"),
             "From a Python complex number")
        .def("Re", &Complex::Re, "Real part")
        .def("Im", &Complex::Im, "Imaginary part")
        .def("SetRe", &Complex::SetRe, py::arg("re"), "Sets the real part")
        .def("SetIm", &Complex::SetIm, py::arg("im"), "Sets the imaginary part")
        .def("Zero", &Complex::Zero, "A new (0, 0); this one unchanged")
        .def("SetEx", &Complex::SetEx, py::arg("c"), py::arg("eps"),
             "This becomes c with each part of magnitude below eps replaced by 0")
        .def(+py::self)
        .def(-py::self)
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(py::self * py::self)
        .def(py::self / py::self)
        .def(py::self + double())
        .def(double() + py::self)
        .def(py::self - double())
        .def(double() - py::self)
        .def(py::self * double())
        .def(double() * py::self)
        .def(py::self / double())
        .def(double() / py::self)
        .def(py::self += py::self)
        .def(py::self -= py::self)
        .def(py::self *= py::self)
        .def(py::self /= py::self)
        .def(py::self += double())
        .def(py::self -= double())
        .def(py::self *= double())
        .def(py::self /= double())
        .def("__eq__", [](const Complex& a, const Complex& b) { return a == b ? true : false; }, py::is_operator())
        .def("__ne__", [](const Complex& a, const Complex& b) { return a != b ? true : false; }, py::is_operator())
        .def("__abs__", [](const Complex& c) { return kv::abs(c); })
        .def("__complex__", [](const Complex& c) { return std::complex<double>(c.Re(), c.Im()); })
        .def("__copy__", [](const Complex& c) { return Complex(c); })
        .def("__repr__", [](const Complex& c) {
            return "Complex(" + py::repr(py::float_(c.Re())).cast<std::string>() + ", " +
                   py::repr(py::float_(c.Im())).cast<std::string>() + ")";
        });

    polarClass.def(py::init<>())
        .def(py::init<double, double>(), py::arg("mod"), py::arg("ang"), "Modulus and angle in radians")
        .def(py::init<double, double, int>(), py::arg("re"), py::arg("im"), py::arg("rect"),
             "Polar form of (re, im); angle 0 for a modulus outside [1e-7, 1e35]")
        .def(py::init<const Complex&>(), py::arg("c"))
        .def("Mod", &Polar::Mod, "Modulus")
        .def("Ang", &Polar::Ang, py::arg("digits"),
             "Angle in radians; 0 when digits > 0 and the modulus lies outside [10^-digits, 1e10]")
        .def("AngGtoR", &Polar::AngGtoR, "The angle from degrees to radians, in place")
        .def("AngRtoG", &Polar::AngRtoG, "The angle from radians to degrees, in place")
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(py::self * py::self, "Not the phasors' product: the core's operands convert through Complex(Polar)")
        .def(py::self / py::self, "Guarded quotient; the same caveat as the product")
        .def("__copy__", [](const Polar& p) { return Polar(p); })
        .def("__repr__", [](const Polar& p) {
            return "Polar(" + py::repr(py::float_(p.Mod())).cast<std::string>() + ", " +
                   py::repr(py::float_(p.Ang(0))).cast<std::string>() + ")";
        });

    core.def("real", &kv::real, py::arg("c"), "Real part");
    core.def("imag", &kv::imag, py::arg("c"), "Imaginary part");
    core.def("conj", &kv::conj, py::arg("c"), "Complex conjugate");
    core.def("PtoC", &kv::PtoC, py::arg("mod"), py::arg("ang"), "Rectangular form of a modulus and an angle in radians");
    core.def("polar", &kv::polar, py::arg("mod"), py::arg("ang"), "PtoC: modulus and angle in radians to Complex");
    core.def("abs", py::overload_cast<const Complex&>(&kv::abs), py::arg("c"), "Modulus");
    core.def("norm", &kv::norm, py::arg("c"), "Modulus (through hypot, not its square)");
    core.def("arg", &kv::arg, py::arg("c"), "Angle in radians, atan2(im, re); +pi/2 for the zero phasor");
    core.def("CtoP", &kv::CtoP, py::arg("re"), py::arg("im"), "Polar form of (re, im), angle in radians");
    core.def("complex", &kv::complex, py::arg("re"), py::arg("im"), "CtoP: (re, im) to Polar");
    core.def(
        "XYtoZF", [](double x, double y) { kv::XYtoZF(x, y); return std::make_tuple(x, y); }, py::arg("x"),
        py::arg("y"), "(x, y) to (modulus, angle in radians): returns (x, y) as the core leaves them");
    core.def(
        "ZFtoXY", [](double z, double f) { kv::ZFtoXY(z, f); return std::make_tuple(z, f); }, py::arg("z"),
        py::arg("f"), "(modulus, angle in degrees) to (x, y): returns (z, f) as the core leaves them");
    core.def("GtoR", &kv::GtoR, py::arg("deg"), "Degrees to radians");
    core.def("RtoG", &kv::RtoG, py::arg("rad"), "Radians to degrees");
    core.def("NormAngleGr", py::overload_cast<double>(&kv::NormAngleGr), py::arg("a"),
             "Degrees folded towards (-360, 360); within ±360 unchanged");
    core.def("AbsAngleGr", Guarded(py::overload_cast<double>(&kv::AbsAngleGr)), py::arg("a"),
             "Degrees folded into [-0.0001, 359.999] while glob_bEnableAbsAngle is set");
    core.def("IsEqualAngles", &kv::IsEqualAngles, py::arg("a"), py::arg("b"),
             "1 when two angles in radians agree to whole degrees modulo 360");
}

void BindThreePhase(py::module_& core) {
    py::class_<CValueIU> cls(core, "CValueIU",
                             "Three phase currents (A) and voltages (V) with angles in degrees; the arrays are "
                             "views into the record");
    cls.def(py::init([](const py::sequence& p) {
                 const auto values = Doubles::ensure(p);
                 if (!values || values.ndim() != 1 || values.size() != 12)
                     throw py::value_error("p: twelve values are needed (U_A, FiU_A, ..., I_C, FiI_C)");
                 return CValueIU(values.data());
             }),
             py::arg("p"), "Twelve values, voltages first: U_A, FiU_A, U_B, FiU_B, U_C, FiU_C, I_A, FiI_A, ...")
        .def(py::init<double, double, double, double, double, double, double, double, double, double, double,
                      double>(),
             py::arg("iA") = 0.0, py::arg("iB") = 0.0, py::arg("iC") = 0.0, py::arg("fiIA") = 0.0,
             py::arg("fiIB") = 0.0, py::arg("fiIC") = 0.0, py::arg("uA") = 0.0, py::arg("uB") = 0.0,
             py::arg("uC") = 0.0, py::arg("fiUA") = 0.0, py::arg("fiUB") = 0.0, py::arg("fiUC") = 0.0,
             "Currents first (A), magnitudes before angles (degrees)")
        .def("SetValueIU", &CValueIU::SetValueIU, py::arg("iA"), py::arg("iB"), py::arg("iC"), py::arg("fiIA"),
             py::arg("fiIB"), py::arg("fiIC"), py::arg("uA"), py::arg("uB"), py::arg("uC"), py::arg("fiUA"),
             py::arg("fiUB"), py::arg("fiUC"), "The working block, in the order of the constructor")
        .def("GetI", &CValueIU::GetI, py::arg("n"), "Current of phase n = 0..2 (A); -1.0 for any other n")
        .def("GetFiI", &CValueIU::GetFiI, py::arg("n"), "Current angle of phase n (degrees); -1.0 for any other n")
        .def("GetU", &CValueIU::GetU, py::arg("n"), "Voltage of phase n = 0..2 (V); -1.0 for any other n")
        .def("GetFiU", &CValueIU::GetFiU, py::arg("n"), "Voltage angle of phase n (degrees); -1.0 for any other n")
        .def("GetUI", &CValueIU::GetUI, py::arg("n"), "Currents at n = 0..2, voltages at 3..5; -1.0 otherwise")
        .def("GetFUI", &CValueIU::GetFUI, py::arg("n"), "Their angles (degrees); -1.0 otherwise")
        .def("__copy__", [](const CValueIU& v) { return CValueIU(v); }, "All 24 fields")
        .def("__deepcopy__", [](const CValueIU& v, py::dict) { return CValueIU(v); }, py::arg("memo"))
        .def("__repr__", [](const CValueIU& v) {
            std::string text = "CValueIU(";
            const char* names[] = {"iA", "iB", "iC", "fiIA", "fiIB", "fiIC", "uA", "uB", "uC", "fiUA", "fiUB", "fiUC"};
            const double* blocks[] = {v.dI, v.dFiI, v.dU, v.dFiU};
            for (std::size_t k = 0; k < 12; ++k) {
                if (k) text += ", ";
                text += names[k];
                text += '=';
                text += py::repr(py::float_(blocks[k / 3][k % 3])).cast<std::string>();
            }
            return text + ")";
        });
    DefBlock(cls, "dI", &CValueIU::dI, "Currents (A), working block");
    DefBlock(cls, "dFiI", &CValueIU::dFiI, "Current angles (degrees), working block");
    DefBlock(cls, "dU", &CValueIU::dU, "Voltages (V), working block");
    DefBlock(cls, "dFiU", &CValueIU::dFiU, "Voltage angles (degrees), working block");
    DefBlock(cls, "dSimI", &CValueIU::dSimI, "Current components (A), sequence block");
    DefBlock(cls, "dSimFiI", &CValueIU::dSimFiI, "Their angles (degrees)");
    DefBlock(cls, "dSimU", &CValueIU::dSimU, "Voltage components (V), sequence block");
    DefBlock(cls, "dSimFiU", &CValueIU::dSimFiU, "Their angles (degrees)");

    const char* mask = "mask: bit 0 the currents, bit 1 the voltages";
    core.def("FazToSim", Guarded(&kv::FazToSim), py::arg("v"), py::arg("mask"),
             (std::string("Phase values to symmetrical components in place; 1, or 0 above globImax/globUmax. ") + mask)
                 .c_str());
    core.def("SimToFaz", Guarded(&kv::SimToFaz), py::arg("v"), py::arg("mask"),
             (std::string("Symmetrical components to phase values in place; 1, or 0 above the limits. ") + mask)
                 .c_str());
    core.def("FazToSimAnotherFields", Guarded(&kv::FazToSimAnotherFields), py::arg("v"),
             "Working-block phase values to components in the sequence block (I0/U0); 1, or 0 above the limits");
    core.def("SimToFazAnotherFields", Guarded(&kv::SimToFazAnotherFields), py::arg("v"),
             "Sequence-block components to phase values in the working block; 1, or 0 above the limits");
    core.def("UcheckSimToFaz", Guarded(&kv::UcheckSimToFaz), py::arg("m1"), py::arg("fi1"), py::arg("m2"),
             py::arg("fi2"), py::arg("m0"), py::arg("fi0"), py::arg("limit"),
             "1 when the phase voltages of components (V, degrees) stay within limit + 0.001");
    core.def("IcheckSimToFaz", Guarded(&kv::IcheckSimToFaz), py::arg("m1"), py::arg("fi1"), py::arg("m2"),
             py::arg("fi2"), py::arg("m0"), py::arg("fi0"), py::arg("limit"),
             "1 when the phase currents of components (A, degrees) stay within limit + 0.001");
    core.def("FazToLin", Guarded(&kv::FazToLin), py::arg("v"), py::arg("mask"),
             (std::string("Phase values to line values (AB, BC, CA) in place; 1, or 0 above the limits. ") + mask)
                 .c_str());
    core.def("SimToLin", Guarded(&kv::SimToLin), py::arg("v"), py::arg("mask"),
             (std::string("SimToFaz then FazToLin in place; 1 only if both pass. ") + mask).c_str());
}

void BindFault(py::module_& core) {
    core.def("GetStringFromDefineKZ", Guarded(&kv::GetStringFromDefineKZ), py::arg("code"),
             "Name of fault code 0..132 (\"Fault...\"); \"\" for any other code");
    core.def("GetDefineFromStringKZ", Guarded(&kv::GetDefineFromStringKZ), py::arg("name"),
             "Fault code of a name, with or without \"Fault\"; -1 when not recognised");
    core.def(
        "SetUFaza",
        [](int code, double U, double phi) {
            double o[6] = {kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten};
            const int r = WithCore([&] { return kv::SetUFaza(code, U, phi, o[0], o[1], o[2], o[3], o[4], o[5]); });
            return std::make_tuple(r, o[0], o[1], o[2], o[3], o[4], o[5]);
        },
        py::arg("code"), py::arg("U"), py::arg("phi"),
        "Phase voltages of a fault (V, degrees): (result, UA, fiA, UB, fiB, UC, fiC), NaN where not written");
    core.def(
        "SetIFaza",
        [](int code, double I, double phi) {
            double o[6] = {kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten};
            const int r = WithCore([&] { return kv::SetIFaza(code, I, phi, o[0], o[1], o[2], o[3], o[4], o[5]); });
            return std::make_tuple(r, o[0], o[1], o[2], o[3], o[4], o[5]);
        },
        py::arg("code"), py::arg("I"), py::arg("phi"),
        "Phase currents of a fault (A, degrees): (result, IA, fiA, IB, fiB, IC, fiC), NaN where not written");
    core.def(
        "SetUIFaza",
        [](int code, double U, double I, double phi, double Unom, double Aux, double AuxAngle, double Uhealthy) {
            double o[12];
            std::fill_n(o, 12, kUnwritten);
            const int r = WithCore([&] {
                return kv::SetUIFaza(code, U, I, phi, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9],
                                     o[10], o[11], Unom, Aux, AuxAngle, Uhealthy);
            });
            return py::make_tuple(r, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9], o[10], o[11]);
        },
        py::arg("code"), py::arg("U"), py::arg("I"), py::arg("phi"), py::arg("Unom"), py::arg("Aux"),
        py::arg("AuxAngle"), py::arg("Uhealthy"),
        "Voltages and currents of a fault (V, A, degrees): (result, UA, fiUA, UB, fiUB, UC, fiUC, IA, fiIA, IB, "
        "fiIB, IC, fiIC), NaN where not written");
    core.def("SetUIFaza", Guarded(py::overload_cast<int, int, int, double, double, double, CValueIU&>(&kv::SetUIFaza)),
             py::arg("code"), py::arg("writeU"), py::arg("writeI"), py::arg("U"), py::arg("I"), py::arg("phi"),
             py::arg("v"), "Voltages and currents of a fault (V, A, degrees) into the working block of v; the result");
}

void BindCatalogue(py::module_& core) {
    core.def("GetStringFromResource", Guarded(&kv::GetStringFromResource), py::arg("id"),
             "String id of the host's or the library's string tables; \"\" when none has it");
    core.def("GetStringFromTest", Guarded(&kv::GetStringFromTest), py::arg("test"),
             "English key of a test code; \"\" for any other code");
    core.def("GetStringFromTestRus", Guarded(&kv::GetStringFromTestRus), py::arg("test"),
             "Russian name of a test code; \"\" for any other code");
    core.def("GetTestFromString", Guarded(&kv::GetTestFromString), py::arg("text"),
             "Test code found in text (after its last \"_\"), or -1");
    core.def(
        "GetITolerance",
        [](const CString& strTol, double dX) {
            double dAbsTol = 0, dPercentTol = 0;
            int nLessFlag = 0;
            const bool found = WithCore([&] { return kv::GetITolerance(strTol, dX, dAbsTol, nLessFlag, dPercentTol); });
            return std::make_tuple(found, dAbsTol, nLessFlag, dPercentTol);
        },
        py::arg("strTol"), py::arg("dX"),
        "Tolerance of a current-type quantity dX from \"threshold;tolerance;...\": (found, dAbsTol, nLessFlag, "
        "dPercentTol in %)");
    core.def(
        "GetTTolerance",
        [](const CString& strTol, double dX, double dT) {
            double dMinusTol = 0, dPlusTol = 0, dPercentTol = 0;
            int nLessFlag = 0;
            const bool found = WithCore(
                [&] { return kv::GetTTolerance(strTol, dX, dT, dMinusTol, dPlusTol, nLessFlag, dPercentTol); });
            return std::make_tuple(found, dMinusTol, dPlusTol, nLessFlag, dPercentTol);
        },
        py::arg("strTol"), py::arg("dX"), py::arg("dT"),
        "Tolerance of an operating time (s) from \"threshold;tolerance;...\": (found, dMinusTol, dPlusTol, "
        "nLessFlag, dPercentTol in %)");
    core.def("SetConstantsFromKavorType", Guarded(&kv::SetConstantsFromKavorType),
             "Rewrites the device-dependent globals for glob_dwKavorType; always 1");
}

void BindNumbers(py::module_& core) {
    core.def("round", py::overload_cast<double>(&kv::round), py::arg("x"),
             "Nearest integer, halves away from zero, saturating at 32 bits (-1 < x <= -0.5 gives 1)");
    core.def("roundshort", &kv::roundshort, py::arg("x"), "As round, saturating at 16 bits");
    core.def("dRound", &kv::dRound, py::arg("x"), py::arg("n"), "x to n decimals (6 for negative n)");
    core.def("DivRound", py::overload_cast<int, int>(&kv::DivRound), py::arg("a"), py::arg("b"),
             "The multiple of b nearest to a, ties away from zero");
    core.def("DivRound", py::overload_cast<double, int>(&kv::DivRound), py::arg("x"), py::arg("b"),
             "The multiple of b nearest to x cut to tenths, in tenths");
    core.def("dDivRound", &kv::dDivRound, py::arg("x"), py::arg("step"), "The multiple of step nearest to x");
    core.def("dDivRoundDegree", &kv::dDivRoundDegree, py::arg("x"), py::arg("n"), "x to n significant digits");
    core.def("ResultDiv", &kv::ResultDiv, py::arg("a"), py::arg("b"), "a / b, or 99999.9 when |b| <= 1e-5");
    core.def("IsEqual", &kv::IsEqual, py::arg("a"), py::arg("b"), py::arg("n"),
             "1 when a and b agree when truncated to n decimals");
    core.def("DoubleToFloat", &kv::DoubleToFloat, py::arg("x"),
             "x in single precision, magnitudes clamped to 1e-35..1e35 (0 gives 1e-35)");
    core.def("LStr", &kv::LStr, py::arg("n"), "n as decimal text");
    core.def("EStr", Guarded(&kv::EStr), py::arg("x"), py::arg("precision"), py::arg("width"),
             "x as \"%*.*f\" text, trailing zeros cut; a decimal comma when glob_bUseInFieldPoint is 0");
    core.def("LAtStr", &kv::LAtStr, py::arg("s"), "Integer from the first '-' or digit of s; 99999999 without one");
    core.def(
        "EAtStr",
        [](CString s) {
            const double x = kv::EAtStr(s);
            return std::make_tuple(x, s);
        },
        py::arg("s"), "Number in s, commas read as points: (value, s with its commas turned into points)");
    core.def(
        "StrL", [](const std::optional<CString>& s) { return kv::StrL(s ? s->GetString() : nullptr); },
        py::arg("s").none(true), "atol(s), saturating at 32 bits; 0 for None");
    core.def("GetSeriesColor", &kv::GetSeriesColor, py::arg("series"), "Colour of plotted series as 0x00BBGGRR");
    core.def("FloatFromLP", &kv::FloatFromLP, py::arg("value"), "The 32 bits of a message parameter as a float");
    core.def("LPFromFloat", py::overload_cast<double>(&kv::LPFromFloat), py::arg("value"),
             "The 32 bits of value in single precision as a message parameter");
    core.def("WPFromDouble", &kv::WPFromDouble, py::arg("value"),
             "The 32 bits of value in single precision as an unsigned message parameter");
}

void BindStrings(py::module_& core) {
    core.def(
        "SetAtSStr",
        [](CString s, const CString& str, int pos, kv::UINT mode) {
            kv::SetAtSStr(s, str, pos, mode);
            return s;
        },
        py::arg("s"), py::arg("str"), py::arg("pos"), py::arg("mode"),
        "s with str written over it at column pos (mode 0 from pos, 2 ending before pos)");
    core.def(
        "InsAtSStr",
        [](CString s, const CString& str, int pos) {
            kv::InsAtSStr(s, str, pos);
            return s;
        },
        py::arg("s"), py::arg("str"), py::arg("pos"), "s with str inserted before pos");
    core.def("GetLPString", py::overload_cast<const CString&>(&kv::GetLPString), py::arg("s"), "The text of s");
    core.def("FindTextA", &kv::FindTextA, py::arg("text"), py::arg("word"), py::arg("wholeWord"),
             "1 when word occurs in text (with wholeWord, its first occurrence as a whole word)");
    core.def(
        "AddSpaceToStringToMaxLength",
        [](CString s, int maxLen) {
            const int r = kv::AddSpaceToStringToMaxLength(s, maxLen);
            return std::make_tuple(r, s);
        },
        py::arg("s"), py::arg("maxLen"), "s padded with full stops to maxLen: (1 when padded, s)");
    core.def("StrAddSpaceToStringToMaxLength", &kv::StrAddSpaceToStringToMaxLength, py::arg("s"), py::arg("maxLen"),
             "s padded with full stops to maxLen");
    core.def("RemoveSubString", &kv::RemoveSubString, py::arg("s"), py::arg("sub"),
             "s without the first occurrence of sub");
    core.def(
        "ReplaceSubString",
        [](CString s, const CString& find, const CString& repl, int all) {
            return kv::ReplaceSubString(s, find, repl, all);
        },
        py::arg("s"), py::arg("find"), py::arg("repl"), py::arg("all"),
        "s with the first (all: every) occurrence of find replaced by repl");
    core.def(
        "RemoveReverseSubString",
        [](CString s, const CString& ch) {
            CString tail;
            const int r = kv::RemoveReverseSubString(tail, s, OneChar(ch, "ch"));
            return std::make_tuple(r, tail, s);
        },
        py::arg("s"), py::arg("ch"),
        "s split at its last ch: (1, the text after it, the text before it), or (0, \"\", s) without ch");
    core.def("TruncNullEndStr", Guarded(&kv::TruncNullEndStr), py::arg("s"),
             "Decimal text without its trailing zeros, one kept after the separator");
    core.def(
        "GetArrayStringFromString",
        [](const CString& s, int maxCount, const std::optional<CString>& sep) {
            if (maxCount < 0) throw py::value_error("maxCount: must not be negative");
            // No more fields than characters and one: the rest of a large maxCount is never written.
            std::vector<CString> out(static_cast<std::size_t>(std::min(maxCount, s.GetLength() + 2)));
            const int n = kv::GetArrayStringFromString(s, out.data(), static_cast<int>(out.size()),
                                                       sep ? sep->GetString() : nullptr);
            out.resize(static_cast<std::size_t>(n));
            return std::make_tuple(n, out);
        },
        py::arg("s"), py::arg("maxCount"), py::arg("sep").none(true),
        "s split at sep, at most maxCount fields: (count, fields); the text after the last sep is not a field");
    core.def("TrimBrackets", &kv::TrimBrackets, py::arg("s"), "s without its first '(' and the ')' at either end");
    core.def("GetRomeNumber", &kv::GetRomeNumber, py::arg("n"), "\"I\" .. \"XII\" for 1..12, \" \" otherwise");
    core.def("GetIntFromRomeNumber", &kv::GetIntFromRomeNumber, py::arg("s"), "1..12 for \"I\" .. \"XII\", else -1");
    core.def("GetNode", &kv::GetNode, py::arg("a"), py::arg("b"), py::arg("c") = "", py::arg("d") = "",
             py::arg("e") = "", py::arg("f") = "", "a_b, then _c .. _f for those not empty");
    core.def(
        "GetNodeWithSplitter",
        [](const CString& sep, const CString& a, const CString& b, const CString& c, const CString& d,
           const CString& e, const CString& f) { return kv::GetNodeWithSplitter(OneChar(sep, "sep"), a, b, c, d, e, f); },
        py::arg("sep"), py::arg("a"), py::arg("b"), py::arg("c") = "", py::arg("d") = "", py::arg("e") = "",
        py::arg("f") = "", "As GetNode, joined with sep");
}

void BindPaths(py::module_& core) {
    core.def("FileExists", [](const CString& path) { return kv::FileExists(path); }, py::arg("path"),
             "1 for an existing file that is not a directory");
    core.def("DirectoryExists", [](const CString& path) { return kv::DirectoryExists(path); }, py::arg("path"),
             "1 for an existing directory");
    core.def("GetExePathNameAPI", &kv::GetExePathNameAPI, "Full path of the running executable; \"\" when unknown");
    core.def("GetExePathName", &kv::GetExePathName, "Folder of the running executable with its separator");
    core.def("GetCurrentDirectoryNew", &kv::GetCurrentDirectoryNew, "The current directory; \"\" when unreadable");
    core.def("StFileName", &kv::StFileName, py::arg("path"), "After the last backslash");
    core.def("StFileNameNoExt", &kv::StFileNameNoExt, py::arg("path"), "StFileName cut before its last dot");
    core.def("StExt", &kv::StExt, py::arg("path"), "After the last dot of the whole path; \"\" without one");
    core.def("StPath", &kv::StPath, py::arg("path"), "Before the last backslash (\"C:\\\" after a drive)");
}

void BindGeometry(py::module_& core) {
    py::class_<CPoint>(core, "CPoint", "Integer point (x, y)")
        .def(py::init<>())
        .def(py::init<kv::LONG, kv::LONG>(), py::arg("x"), py::arg("y"))
        .def(py::init([](const py::tuple& t) {
                 if (t.size() != 2) throw py::value_error("a point is two integers (x, y)");
                 return CPoint(t[0].cast<kv::LONG>(), t[1].cast<kv::LONG>());
             }),
             py::arg("xy"))
        .def_readwrite("x", &CPoint::x)
        .def_readwrite("y", &CPoint::y)
        .def(py::self == py::self)
        .def("__repr__", [](const CPoint& p) {
            return "CPoint(" + std::to_string(p.x) + ", " + std::to_string(p.y) + ")";
        });
    py::class_<CSize>(core, "CSize", "Integer extent (cx, cy)")
        .def(py::init<>())
        .def(py::init<kv::LONG, kv::LONG>(), py::arg("cx"), py::arg("cy"))
        .def_readwrite("cx", &CSize::cx)
        .def_readwrite("cy", &CSize::cy)
        .def(py::self == py::self)
        .def("__repr__", [](const CSize& s) {
            return "CSize(" + std::to_string(s.cx) + ", " + std::to_string(s.cy) + ")";
        });
    py::implicitly_convertible<py::tuple, CPoint>();

    core.def("AngleLine", py::overload_cast<CPoint, CPoint>(&kv::AngleLine), py::arg("p1"), py::arg("p2"),
             "Angle of the line p1-p2 (radians)");
    core.def("AngleLine", py::overload_cast<CPoint>(&kv::AngleLine), py::arg("p"),
             "Angle of the line from the origin to p (radians)");
    core.def("LengthLine", py::overload_cast<CPoint, CPoint>(&kv::LengthLine), py::arg("p1"), py::arg("p2"),
             "Length of the segment p1-p2");
    core.def("LengthLine", py::overload_cast<double, double, double, double>(&kv::LengthLine), py::arg("x1"),
             py::arg("y1"), py::arg("x2"), py::arg("y2"), "Length of the segment (x1, y1)-(x2, y2)");
    core.def("LengthLine", py::overload_cast<double, double>(&kv::LengthLine), py::arg("dx"), py::arg("dy"),
             "Length of the vector (dx, dy)");
    core.def("LengthLine", py::overload_cast<CSize>(&kv::LengthLine), py::arg("s"), "Length of the extent s");
    core.def("LengthLine", py::overload_cast<CPoint>(&kv::LengthLine), py::arg("p"), "Distance of p from the origin");
    core.def("PointInLine", py::overload_cast<int, int, int>(&kv::PointInLine), py::arg("a"), py::arg("b"),
             py::arg("c"), "1 when c lies between a and b inclusive");
    core.def("PointInLine", py::overload_cast<CPoint, CPoint, CPoint>(&kv::PointInLine), py::arg("p1"),
             py::arg("p2"), py::arg("p"), "1 when p lies in the bounding rectangle of p1-p2");
    core.def(
        "PointIntersectTwoLine",
        [](CPoint a1, CPoint a2, CPoint b1, CPoint b2) {
            CPoint out;
            const int r = kv::PointIntersectTwoLine(out, a1, a2, b1, b2);
            return std::make_tuple(r, out);
        },
        py::arg("a1"), py::arg("a2"), py::arg("b1"), py::arg("b2"),
        "(1 when the segments a1-a2 and b1-b2 meet, the meeting point of the two lines)");
}

void BindSpectra(py::module_& core) {
    core.def(
        "GetSpectr",
        [](double fStart, double fEnd, double fStep, double t0, double t1, int n, const Doubles& x) {
            const double* samples = Samples(x, n);
            int count = 0;
            double* amp = nullptr;
            double* phase = nullptr;
            const bool ok = WithCore([&] {
                return kv::GetSpectr(fStart, fEnd, fStep, t0, t1, n, samples, count, amp, phase);
            });
            // Handed over with new[]: ours to delete, also after false.
            const std::unique_ptr<double[]> ownAmp(amp), ownPhase(phase);
            return std::make_tuple(ok, ArrayOf(amp, count), ArrayOf(phase, count));
        },
        py::arg("fStart"), py::arg("fEnd"), py::arg("fStep"), py::arg("t0"), py::arg("t1"), py::arg("n"),
        py::arg("x"),
        "Spectrum of n samples over [t0, t1) s at fStart..fEnd step fStep Hz: (ok, peak amplitudes, phases in "
        "degrees)");
    core.def(
        "Get_Furie_Amp_Phase",
        [](double f, int n, const Doubles& x) {
            const double* samples = Samples(x, n);
            double amp = kUnwritten, phase = kUnwritten;
            const bool ok = WithCore([&] { return kv::Get_Furie_Amp_Phase(f, n, samples, amp, phase); });
            return std::make_tuple(ok, amp, phase);
        },
        py::arg("f"), py::arg("n"), py::arg("x"),
        "One Fourier component f (Hz) of n samples: (ok, peak amplitude, phase in degrees)");
}

}  // namespace

void BindCore(py::module_& core) {
    // The core's argument errors are the caller's; its other failures stay RuntimeError.
    py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const kv::CInvalidArgException& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        } catch (const kv::CMemoryException& e) {
            PyErr_SetString(PyExc_MemoryError, e.what());
        }
    });
    BindComplexes(core);
    BindThreePhase(core);
    BindFault(core);
    BindCatalogue(core);
    BindNumbers(core);
    BindStrings(core);
    BindPaths(core);
    BindGeometry(core);
    BindSpectra(core);
    BindCoreState(core);

    py::list names;
    for (const auto& item : core.attr("__dict__").cast<py::dict>()) {
        const auto name = item.first.cast<std::string>();
        if (name.rfind("__", 0) != 0) names.append(name);
    }
    names.attr("sort")();
    core.attr("__all__") = names;
}

}  // namespace kvpy
