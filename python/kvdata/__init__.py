"""kvdata: protection-relay test arithmetic in Python.

The catalogue's faults (:func:`fault`), faults at an impedance for distance protection
(:func:`impedance`) and residual compensation in its three forms (:func:`k0_forms`),
computed by the Kv_Data libraries. Phasors are RMS complex numbers,
magnitude·e^(j·angle); angles given as numbers are degrees.

Numeric inputs may be numpy arrays: they broadcast against each other and the results
carry the broadcast shape, with a last axis of 3 for the phases A, B, C.

``kvdata.core`` is the legacy interface with its names kept.
"""

from . import _kvdata, plot
from ._faults import LOOPS, FaultResult, ImpedanceResult, fault, fault_type, fault_type_name, impedance, k0_forms
from ._kvdata import line_values, report, symmetrical

core = _kvdata.core

__all__ = [
    "LOOPS",
    "FaultResult",
    "ImpedanceResult",
    "core",
    "fault",
    "fault_type",
    "fault_type_name",
    "impedance",
    "k0_forms",
    "plot",
    "line_values",
    "report",
    "symmetrical",
]
