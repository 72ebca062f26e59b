"""The catalogue's faults and faults at an impedance, for single values and for arrays."""

from __future__ import annotations

import math
from typing import Any, Dict, List, Optional, Tuple, Union

import numpy as np

from . import _display, _kvdata

#: The six measuring loops, in the order of the apparent impedances.
LOOPS = ("AN", "BN", "CN", "AB", "BC", "CA")

ArrayLike = Union[float, int, complex, np.ndarray, list]

#: The catalogue's result codes.
RESULTS = {0: "done", 1: "voltage limited", 2: "current above its limit", 3: "not handled"}


def fault_type(name_or_code: Union[str, int]) -> int:
    """The code of a fault type: a name with or without "Fault" in any letter case
    ("FaultAB", "ab"), or a code. ValueError for anything the catalogue does not know."""
    return _kvdata._fault_type_code(str(name_or_code))


def fault_type_name(code: int) -> str:
    """The catalogue's name of a fault-type code ("FaultAB")."""
    return _kvdata._fault_type_name(int(code)).decode("cp1251")


def _flat(shape: Tuple[int, ...], *values: Any) -> list:
    """Each value as a contiguous 1-D array of doubles: one value that every point shares,
    or the value broadcast to `shape`, flattened."""
    arrays = [np.asarray(v, dtype=float) for v in values]
    return [a.reshape(1) if a.size == 1 else np.ascontiguousarray(np.broadcast_to(a, shape)).ravel() for a in arrays]


def _scalar(array: np.ndarray, shape: Tuple[int, ...]):
    """A result array in the inputs' shape; a plain Python value for scalar inputs."""
    shaped = array.reshape(shape + array.shape[1:])
    return shaped.item() if shaped.ndim == 0 else shaped


class FaultResult:
    """A catalogue fault's phasors.

    ``voltages`` and ``currents`` are complex RMS phasors of the phases A, B, C (the last
    axis); ``result`` is the catalogue's result code: 0 done, 1 voltage limited, 2 current
    above its limit, 3 not handled."""

    def __init__(self, fault_type: int, computed: Dict[str, np.ndarray], shape: Tuple[int, ...]):
        self.type = fault_type
        self.voltages: np.ndarray = computed["voltages"].reshape(shape + (3,))
        self.currents: np.ndarray = computed["currents"].reshape(shape + (3,))
        self.result = _scalar(computed["result"], shape)
        self.shape = shape

    def _title(self) -> str:
        return f"{fault_type_name(self.type)}: result {self.result} ({RESULTS.get(self.result, '?')})"

    def __repr__(self) -> str:
        if self.shape:
            return f"<FaultResult {fault_type_name(self.type)} of shape {self.shape}>"
        return self._title() + "\n" + _display.text_table(self.voltages, self.currents)

    def _repr_html_(self) -> Optional[str]:
        return None if self.shape else _display.html_table(self._title(), self.voltages, self.currents)


def fault(
    type: Union[str, int],
    u: ArrayLike = 30.0,
    i: ArrayLike = 5.0,
    phi: ArrayLike = 75.0,
    *,
    unom: Optional[ArrayLike] = None,
    aux: Optional[ArrayLike] = None,
    aux_angle: ArrayLike = 0.0,
    uhealthy: Optional[ArrayLike] = None,
    nominal_voltage: Optional[ArrayLike] = None,
) -> FaultResult:
    """The catalogue's full synthesis of a fault type.

    u (V), i (A) and phi (degrees: the angle by which the faulted loop's voltage leads its
    current) mean what the fault type makes of them. unom is the phase-to-phase geometry's
    threshold in V (default: the core's nominal line voltage); aux and aux_angle the base
    voltage or positive-sequence quantity of the patterns that read one; uhealthy the
    healthy phases' voltage of the types that take one; nominal_voltage the system's
    nominal line voltage for this synthesis (default: what the core holds).

    Numeric inputs broadcast; the result has their shape (and a last axis of 3)."""
    code = fault_type(type)
    values = (u, i, phi, -1.0 if unom is None else unom, -1.0 if aux is None else aux, aux_angle,
              -1.0 if uhealthy is None else uhealthy, 0.0 if nominal_voltage is None else nominal_voltage)
    shape = np.broadcast_shapes(*(np.shape(v) for v in values))
    flat = _flat(shape, *values)
    return FaultResult(code, _kvdata._fault(np.array([code], dtype=np.intc), *flat), shape)


def _form(value: Any, name: str) -> Tuple[str, Any, Any]:
    """A complex input as (form, a, b): (magnitude, angle) pairs are polar, complex numbers
    R + jX, and k0 also {"rerl": a, "xexl": b} or {"z0z1": (magnitude, angle)}."""
    if value is None:
        return ("", 0.0, 0.0)
    if isinstance(value, dict):
        if set(value) == {"rerl", "xexl"}:
            return ("rerl", value["rerl"], value["xexl"])
        if set(value) == {"z0z1"}:
            return ("z0z1", value["z0z1"][0], value["z0z1"][1])
        raise ValueError(f"{name}: give {{'rerl': a, 'xexl': b}} or {{'z0z1': (magnitude, angle)}}, got {value!r}")
    if isinstance(value, (tuple, list)):
        if len(value) != 2:
            raise ValueError(f"{name}: give (magnitude, angle in degrees), got {value!r}")
        return ("polar", value[0], value[1])
    array = np.asarray(value)
    if not np.issubdtype(array.dtype, np.number):
        raise ValueError(f"{name}: not a number: {value!r}")
    return ("rx", np.real(array), np.imag(array))


class ImpedanceResult:
    """A fault at an impedance: the phasors the relay sees, and what they mean.

    ``voltages``, ``currents``: complex RMS phasors of A, B, C (the last axis);
    ``loops``: each measuring loop's apparent impedance (Ω, complex; None, or NaN in arrays,
    where the loop carries no current); ``k0``: the line's k0 in its three forms;
    ``test_current`` (A); ``feasible``: False where the faulted loop's voltage exceeds its
    pre-fault value; ``voltage_exceeded`` and ``current_exceeded`` against umax and imax
    (None without limits)."""

    def __init__(self, loop: str, computed: Dict[str, np.ndarray], shape: Tuple[int, ...], limits: bool):
        self.loop = loop
        self.shape = shape
        self.voltages: np.ndarray = computed["voltages"].reshape(shape + (3,))
        self.currents: np.ndarray = computed["currents"].reshape(shape + (3,))
        apparent = computed["loops"].reshape(shape + (6,))
        if shape:
            self.loops = {name: apparent[..., k] for k, name in enumerate(LOOPS)}
        else:
            self.loops = {name: None if np.isnan(z.real) else complex(z) for name, z in zip(LOOPS, apparent)}
        rerl, xexl = _scalar(computed["k0_rerl"], shape), _scalar(computed["k0_xexl"], shape)
        if not shape:
            rerl = None if math.isnan(rerl) else rerl
            xexl = None if math.isnan(xexl) else xexl
        self.k0 = {
            "magnitude": _scalar(computed["k0_magnitude"], shape),
            "angle": _scalar(computed["k0_angle"], shape),
            "rerl": rerl,
            "xexl": xexl,
            "z0z1": (_scalar(computed["k0_z0z1_magnitude"], shape), _scalar(computed["k0_z0z1_angle"], shape)),
        }
        self.source_impedance = _scalar(computed["source_impedance"], shape)
        self.test_current = _scalar(computed["test_current"], shape)
        self.feasible = _scalar(computed["feasible"], shape)
        self.loop_voltage = _scalar(computed["loop_voltage"], shape)
        self.prefault_loop_voltage = _scalar(computed["prefault_loop_voltage"], shape)
        self.voltage_exceeded = _scalar(computed["voltage_exceeded"], shape) if limits else None
        self.current_exceeded = _scalar(computed["current_exceeded"], shape) if limits else None

    def _title(self) -> str:
        return (f"{self.loop} fault, test current {self.test_current:.3f} A"
                f"{'' if self.feasible else ' (not feasible: the loop voltage exceeds its pre-fault value)'}")

    def _loop_texts(self) -> List[Tuple[str, str]]:
        out = []
        for name, z in self.loops.items():
            out.append((f"Z {name}", "no current" if z is None else f"{z.real:.4f} {z.imag:+.4f}j ohm"))
        return out

    def __repr__(self) -> str:
        if self.shape:
            return f"<ImpedanceResult {self.loop} of shape {self.shape}>"
        loops = "\n".join(f"{name:<5}{text}" for name, text in self._loop_texts())
        return f"{self._title()}\n{_display.text_table(self.voltages, self.currents)}\n{loops}"

    def _repr_html_(self) -> Optional[str]:
        if self.shape:
            return None
        return _display.html_table(self._title(), self.voltages, self.currents, self._loop_texts())


def impedance(
    loop: str,
    z: Any = None,
    *,
    rx: Any = None,
    k0: Any = 0.0,
    current: Optional[ArrayLike] = None,
    voltage: Optional[ArrayLike] = None,
    source: Any = None,
    sir: Optional[ArrayLike] = None,
    ks: Any = None,
    relay_k0: Any = None,
    nominal_voltage: ArrayLike = 100.0,
    umax: Optional[ArrayLike] = None,
    imax: Optional[ArrayLike] = None,
) -> ImpedanceResult:
    """A fault on loop AN, BN, CN, AB, BC, CA or ABC at the line impedance z from the relay.

    z is (magnitude in Ω, angle in degrees) or a complex R + jX; or give rx=(R, X). k0 is
    the line's residual compensation (Z0 − Z1)/(3·Z1): (magnitude, angle), complex,
    {"rerl": RE/RL, "xexl": XE/XL} or {"z0z1": (magnitude, angle)}. One test model:
    current (A, the faulted phase's current), voltage (V, the faulted loop's voltage),
    source (ZS as (magnitude, angle) or complex) or sir (ZS = SIR·|Z| at the angle of Z),
    the last two with the source's ks (default: k0). nominal_voltage is the line voltage
    Un (V); relay_k0 the relay's own k0 setting (default: the line's); umax and imax
    device limits per phase (V, A).

    Numeric inputs broadcast; the result has their shape (and a last axis of 3)."""
    if (z is None) == (rx is None):
        raise ValueError("give the line impedance as z=(magnitude, angle) or as rx=(R, X)")
    zf = _form(z, "z") if z is not None else ("rx", rx[0], rx[1])
    models = {"current": current, "voltage": voltage, "source": source, "sir": sir}
    given = [name for name, value in models.items() if value is not None]
    if len(given) != 1:
        raise ValueError("give one test model: current, voltage, source or sir")
    model = given[0]
    qf = _form(source, "source") if model == "source" else ("", models[model], 0.0)
    k0f, ksf, rkf = _form(k0, "k0"), _form(ks, "ks"), _form(relay_k0, "relay_k0")
    limits = umax is not None or imax is not None
    numbers = (zf[1], zf[2], k0f[1], k0f[2], qf[1], qf[2], ksf[1], ksf[2], rkf[1], rkf[2], nominal_voltage,
               math.nan if umax is None else umax, math.nan if imax is None else imax)
    shape = np.broadcast_shapes(*(np.shape(v) for v in numbers))
    f = _flat(shape, *numbers)
    computed = _kvdata._impedance(loop, zf[0], f[0], f[1], k0f[0], f[2], f[3], model, qf[0], f[4], f[5],
                                  ksf[0], f[6], f[7], rkf[0], f[8], f[9], f[10], f[11], f[12])
    return ImpedanceResult(loop.upper(), computed, shape, limits)


def k0_forms(k0: Any, z: Any) -> Dict[str, Any]:
    """k0 in its three forms for the line impedance z ((magnitude, angle) or complex):
    {"magnitude", "angle", "rerl", "xexl" (None where R or X is 0), "z0z1": (magnitude, angle)}.
    k0 may be given in any of its forms, as for :func:`impedance`."""
    zf = _form(z, "z")
    line = _kvdata._impedance_value(zf[0], float(zf[1]), float(zf[2]))
    form = _form(k0, "k0")
    value = _kvdata._k0_value(form[0], float(form[1]), float(form[2]), line.real, line.imag)
    return _kvdata._k0_forms(value, line)
