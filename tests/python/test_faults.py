import math

import numpy as np
import pytest

import kvdata


def test_catalogue_fault():
    r = kvdata.fault("FaultAB", u=30, i=5, phi=75)
    assert r.result == 0
    assert r.voltages.shape == (3,) and r.voltages.dtype == complex
    print(r)
