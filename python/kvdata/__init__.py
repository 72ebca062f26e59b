"""kvdata: protection-relay test arithmetic in Python.

The catalogue's faults (:func:`fault`), faults at an impedance for distance protection
(:func:`impedance`) and residual compensation in its three forms (:func:`k0_forms`); test
sequences written as COMTRADE records (:class:`Sequence`), records read back
(:func:`comtrade.read`) with phasors from their samples, and trip times judged
(:func:`assess`); all computed by the Kv_Data libraries. Phasors are RMS complex numbers,
magnitude·e^(j·angle); angles given as numbers are degrees.

Numeric inputs may be numpy arrays: they broadcast against each other and the results
carry the broadcast shape, with a last axis of 3 for the phases A, B, C. The memory of
large results is kept when they die, for the next ones (:func:`free_kept_memory`).

``kvdata.core`` is the legacy interface with its names kept.
"""

import sys as _sys

from . import _kvdata, comtrade, plot
from ._faults import LOOPS, FaultResult, ImpedanceResult, fault, fault_type, fault_type_name, impedance, k0_forms
from ._kvdata import free_kept_memory, line_values, report, symmetrical
from ._records import Assessment, AssessmentResult, Record, Sequence, State, Waveforms, assess

core = _kvdata.core
# `import kvdata.core` and `from kvdata.core import SetUIFaza` work as for a module of its own.
_sys.modules[__name__ + ".core"] = core

__all__ = [
    "LOOPS",
    "Assessment",
    "AssessmentResult",
    "FaultResult",
    "ImpedanceResult",
    "Record",
    "Sequence",
    "State",
    "Waveforms",
    "assess",
    "comtrade",
    "core",
    "fault",
    "fault_type",
    "fault_type_name",
    "free_kept_memory",
    "impedance",
    "k0_forms",
    "line_values",
    "plot",
    "report",
    "symmetrical",
]
