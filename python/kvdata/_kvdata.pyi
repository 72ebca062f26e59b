"""The compiled part of kvdata (what the package re-exports; the rest is private)."""

from types import ModuleType
from typing import Tuple

import numpy as np
import numpy.typing as npt

core: ModuleType

def symmetrical(phases: npt.ArrayLike) -> npt.NDArray[np.complex128]:
    """Positive, negative and zero sequence of three-phase sets (last axis A, B, C)."""

def line_values(phases: npt.ArrayLike) -> npt.NDArray[np.complex128]:
    """AB, BC and CA of three-phase sets (last axis A, B, C)."""

def report(sets: npt.ArrayLike) -> Tuple[npt.NDArray[np.float64], npt.NDArray[np.float64]]:
    """Magnitudes and angles in degrees [0, 360) of three-phase sets as they are reported."""

def free_kept_memory() -> int:
    """Frees the memory kept from dead results of fault and impedance (up to 512 MiB in
    all, reused by later results of the same size); returns how many bytes that was."""
