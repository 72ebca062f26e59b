"""kvdata: protection-relay test arithmetic in Python.

The catalogue's faults (:func:`fault`), faults at an impedance for distance protection
(:func:`impedance`) and residual compensation in its three forms (:func:`k0_forms`),
computed by the Kv_Data libraries. Phasors are RMS complex numbers,
magnitude·e^(j·angle); angles given as numbers are degrees.

Numeric inputs may be numpy arrays: they broadcast against each other and the results
carry the broadcast shape, with a last axis of 3 for the phases A, B, C.

``kvdata.core`` is the legacy interface with its names kept.
"""

from . import _kvdata
from ._faults import FaultResult, ImpedanceResult, fault, fault_type, impedance, k0_forms
from . import comtrade
from ._records import Assessment, AssessmentResult, Record, Sequence, State, Waveforms, assess

core = _kvdata.core

__all__ = ["FaultResult", "ImpedanceResult", "core", "fault", "fault_type", "impedance", "k0_forms",
           "Assessment", "AssessmentResult", "Record", "Sequence", "State", "Waveforms", "assess", "comtrade"]
