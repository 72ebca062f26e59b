import cmath
import math

import numpy as np
import pytest

import kvdata


def polar(m, a):
    return cmath.rect(m, math.radians(a))


def test_catalogue_fault_is_the_cores_synthesis():
    r = kvdata.fault("FaultAB", u=30, i=5, phi=75)
    assert r.result == 0 and r.type == 6
    assert r.voltages.shape == (3,) and r.voltages.dtype == complex
    # The faulted loop's voltage is U, leading its current I by phi.
    assert r.voltages[0] - r.voltages[1] == pytest.approx(polar(30, 75), abs=1e-12)
    assert r.currents[0] == pytest.approx(polar(5, 0), abs=1e-12)
    # Healthy phase C follows the nominal voltage given for this synthesis.
    assert abs(kvdata.fault("ab", nominal_voltage=110).voltages[2]) == pytest.approx(110 / math.sqrt(3))
    assert abs(kvdata.fault(6).voltages[2]) == pytest.approx(100 / math.sqrt(3))
    assert kvdata.fault_type("FaultAB") == 6 and kvdata.fault_type_name(6) == "FaultAB"


def test_impedance_fault_as_the_layer_computes_it():
    r = kvdata.impedance("AN", z=(5, 75), k0=(0.8, -5), current=5)
    assert abs(r.voltages[0]) == pytest.approx(44.958, abs=5e-4)
    assert math.degrees(cmath.phase(r.currents[0])) % 360 == pytest.approx(287.22, abs=5e-3)
    assert r.loops["AN"] == pytest.approx(polar(5, 75), abs=1e-12)  # the faulted loop sees Z
    assert r.loops["BC"] is None  # no current in B and C
    assert r.k0["rerl"] == pytest.approx(1.0572, abs=5e-5)
    assert r.test_current == pytest.approx(5) and r.feasible and r.voltage_exceeded is None
    # k0 in another form gives the same fault.
    forms = kvdata.k0_forms((0.8, -5), (5, 75))
    same = kvdata.impedance("an", rx=(r.loops["AN"].real, r.loops["AN"].imag),
                            k0={"rerl": forms["rerl"], "xexl": forms["xexl"]}, current=5)
    assert same.voltages == pytest.approx(r.voltages, abs=1e-9)
    assert kvdata.impedance("AN", z=(5, 75), k0={"z0z1": forms["z0z1"]}, current=5).voltages == \
        pytest.approx(r.voltages, abs=1e-9)
    limited = kvdata.impedance("AN", z=(5, 75), current=5, umax=40, imax=10)
    assert limited.voltage_exceeded and not limited.current_exceeded


def test_arrays_broadcast_and_agree_with_single_points():
    u = np.array([0.0, 10.0, 20.0, 30.0])
    i = np.array([[1.0], [5.0]])
    r = kvdata.fault("FaultAB", u=u, i=i, phi=75)
    assert r.voltages.shape == (2, 4, 3) and r.result.shape == (2, 4)
    assert r.currents[1, 2] == pytest.approx(kvdata.fault("FaultAB", u=20, i=5, phi=75).currents)
    z = kvdata.impedance("BC", z=(np.linspace(1, 8, 5), 80), k0=(0.5, 0), current=i)
    assert z.voltages.shape == (2, 5, 3) and z.loops["BC"].shape == (2, 5)
    one = kvdata.impedance("BC", z=(8, 80), k0=(0.5, 0), current=5)
    assert z.voltages[1, 4] == pytest.approx(one.voltages) and z.loops["BC"][1, 4] == pytest.approx(one.loops["BC"])
    assert np.isnan(z.loops["AN"]).all()
    # Enough points for several threads: each point still sees its own Z.
    zs = np.linspace(0.1, 10, 200_000)
    big = kvdata.impedance("AN", z=(zs, 75), k0=(0.8, -5), current=5)
    assert np.allclose(big.loops["AN"], zs * polar(1, 75), rtol=1e-12)
    us = np.linspace(0, 100, 200_000)
    sweep = kvdata.fault("FaultAB", u=us, i=5, phi=75)
    for k in (0, 99_999, 100_000, 199_999):
        assert (sweep.voltages[k] == kvdata.fault("FaultAB", u=us[k], i=5, phi=75).voltages).all()


def test_large_results_reuse_memory_only_once_it_is_free():
    us = np.linspace(0, 100, 100_000)
    phis = np.linspace(0, 90, 100_000)
    first = kvdata.fault("FaultAB", u=us, i=5, phi=phis)
    kept = first.voltages.copy()
    second = kvdata.fault("FaultAB", u=us[::-1], i=5, phi=phis)
    assert (first.voltages == kept).all() and not np.shares_memory(first.voltages, second.voltages)
    # Syntheses run in order: the core holds the last point's request.
    assert kvdata.core.state.glob_TT_dAngleKz == phis[-1]
    del first
    third = kvdata.fault("FaultAB", u=us, i=5, phi=phis)
    assert (third.voltages == kept).all()
    del second, third
    assert kvdata.free_kept_memory() > 0 and kvdata.free_kept_memory() == 0


def test_bad_input_is_a_value_error_naming_it():
    with pytest.raises(ValueError, match="z.magnitude"):
        kvdata.impedance("AN", z=(-5, 75), current=5)
    with pytest.raises(ValueError, match="point 2: "):
        kvdata.impedance("AN", z=(np.array([1, 2, np.nan]), 75), current=5)
    with pytest.raises(ValueError, match="one test model"):
        kvdata.impedance("AN", z=(5, 75), current=5, sir=1)
    with pytest.raises(ValueError, match="FaultXY"):
        kvdata.fault("FaultXY")
    with pytest.raises(ValueError, match="i"):
        kvdata.fault("FaultAB", i=-1)
    with pytest.raises(ValueError):
        kvdata.impedance("XY", z=(5, 75), current=5)
    with pytest.raises(ValueError, match="values where"):
        kvdata._kvdata._fault(np.array([6], dtype=np.intc), np.ones(3), np.ones(2), *[np.ones(1)] * 6)


def test_results_show_and_draw():
    r = kvdata.impedance("AN", z=(5, 75), k0=(0.8, -5), current=5)
    assert "UA" in repr(r) and "Z BC" in repr(r)
    assert "<svg" in r._repr_html_() and "U1" in r._repr_html_()
    assert "voltage limited" not in repr(kvdata.fault("FaultAB"))
    pytest.importorskip("matplotlib")
    assert kvdata.plot.vector(r) is not None
    assert kvdata.plot.rx(r) is not None
