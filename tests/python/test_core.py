"""kvdata.core: the legacy interface against the answers of the C++ tests."""

import math
import pathlib
import re

import numpy as np
import pytest

from kvdata import core

state = core.state
SQRT3 = math.sqrt(3)
N = 100 / SQRT3  # cst58V
STATE_H = pathlib.Path(__file__).resolve().parents[2] / "include" / "Kv_Data" / "State.h"

# The globals the synthesis reads or writes, saved and restored around every test.
SAVED = ["cst58V", "cstUmax100", "cst173V", "globUmax", "globImax", "glob_dUpitForProgramStandart",
         "glob_bEnableAbsAngle", "glob_dwKavorType", "glob_dwProgramIconNumber", "glob_bArm",
         "glob_bUseInFieldPoint", "glob_strInfoKavor", "glob_TT_nCombo_TypeKz", "glob_bFault_A1_Enable"]


@pytest.fixture(autouse=True)
def frame():
    saved = {name: getattr(state, name) for name in SAVED}
    state.cst58V, state.cstUmax100, state.cst173V, state.globUmax, state.globImax = N, 100, 207.9, 120, 20
    state.glob_dUpitForProgramStandart, state.glob_bEnableAbsAngle = 220, 1
    state.glob_dwKavorType, state.glob_dwProgramIconNumber = 35, 103
    yield
    for name, value in saved.items():
        setattr(state, name, value)


def phasors(values):
    """(magnitude, degrees) pairs to complex numbers, so that angles compare modulo 360."""
    return np.array([m * np.exp(1j * np.radians(a)) for m, a in zip(values[::2], values[1::2])])


def test_fault_synthesis_outputs_returned():
    r, *u = core.SetUFaza(3, 30, 0)
    assert r == 0 and u == [30, 0, N, 240, N, 120]
    r, *u = core.SetUFaza(6, 50, 0)
    assert r == 0
    np.testing.assert_allclose(phasors(u), phasors([38.188, 310.893, 38.188, 229.107, N, 90]), atol=2e-3)
    r, *i = core.SetIFaza(11, 15, 400)
    assert r == 0 and i[0::2] == pytest.approx([5, 5, 5]) and i[1] == 400 and i[3] == pytest.approx(40)
    # Outputs a code leaves alone, and codes without a row.
    r, *u = core.SetUFaza(50, 10, 0)
    assert r == 0 and math.isnan(u[4]) and math.isnan(u[5])
    assert core.SetUFaza(500, 1, 0)[0] == 3 and core.SetIFaza(-1, 1, 0)[0] == 3

    r, *out = core.SetUIFaza(6, 10, 1, 10, -1, 0, 10, -1)
    assert r == 0 and state.glob_TT_nCombo_TypeKz == 6
    np.testing.assert_allclose(phasors(out[:6]), phasors([29.297326385411576, 289.8264298158323,
                                                          29.297326385411576, 270.1735701841677, N, 100]))
    np.testing.assert_allclose(phasors(out[6:]), phasors([1, 0, 1, 180, 0, 0]), atol=1e-12)


def test_state_reaches_the_synthesis():
    # Code 6 at U = 10 with Unom = -1 (cstUmax100): below it the loop geometry, from it the star.
    state.cstUmax100 = 10
    assert state.cstUmax100 == 10
    r, *out = core.SetUIFaza(6, 10, 1, 10, -1, 0, 10, -1)
    np.testing.assert_allclose(phasors(out[:6]), phasors([10 / SQRT3, 340, 10 / SQRT3, 220, 10 / SQRT3, 100]))
    # Code 3 at 150 V: limited to globUmax = 120, not when it is raised.
    assert core.SetUIFaza(3, 150, 1, 0, 100, 0, 0, -1)[:2] == (1, 120)
    state.globUmax = 200
    assert core.SetUIFaza(3, 150, 1, 0, 100, 0, 0, -1)[:2] == (0, 150)


def test_record_form_writes_the_record():
    v = core.CValueIU()
    assert core.SetUIFaza(3, 1, 1, 30, 2, 0, v) == 0
    assert list(v.dU) == [30, N, N] and list(v.dFiU) == [0, 240, 120] and v.dI[0] == 2
    assert core.SetUIFaza(0, 1, 1, 30, 2, 0, v) == 3  # no row in this form


def test_records_are_views_the_transforms_see():
    v = core.CValueIU(list(range(1, 13)))
    assert list(v.dU) == [1, 3, 5] and list(v.dFiU) == [2, 4, 6] and list(v.dI) == [7, 9, 11]
    view = v.dI
    assert view.base is not None and not view.flags.owndata
    view[:] = [1, 0, 0]
    v.dFiI = [0, 0, 0]
    v.dU[:] = 0
    assert core.FazToSim(v, 1) == 1
    np.testing.assert_allclose(view, [1 / 3] * 3)
    state.glob_bArm = 1
    w = core.CValueIU(1)
    assert core.FazToSim(w, 1) == 1 and w.dI[2] == pytest.approx(1)
    assert core.SimToFaz(w, 1) == 1
    np.testing.assert_allclose(phasors([w.dI[0], w.dFiI[0], w.dI[1], w.dFiI[1]]), [1, 0], atol=1e-9)
    assert core.UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.999) == 1
    assert core.UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.998) == 0
    with pytest.raises(ValueError):
        v.dI = [1, 2]
    with pytest.raises(ValueError):
        core.CValueIU([1, 2, 3])


def test_catalogue_and_text():
    assert core.GetStringFromDefineKZ(6) == "FaultAB" and core.GetStringFromDefineKZ(132) == "FaultIcVarIbConst"
    assert core.GetStringFromDefineKZ(92) == "FaultABC лин" and core.GetStringFromDefineKZ(999) == ""
    assert [core.GetDefineFromStringKZ(s) for s in ("X_FaultAB_2", "FaultAB_2", "FaultABN_old", "cstKZU2",
                                                   "FaultABC лин")] == [6, -1, 118, 35, 92]
    assert core.GetStringFromTestRus(0) == "Фмч" and core.GetTestFromString("Фмч") == 0
    assert core.GetStringFromResource(1296) == "Работа по 'памяти'"
    assert core.GetITolerance("0;0.05;1;5%", -1) == (True, 0.05, 0, 0)
    assert core.GetITolerance("1;<0.1", 0) == (True, 0.1, 1, 0)
    assert core.GetTTolerance("5;-0,02 +0,05 1,5%", 1, 0) == (True, -0.02, 0.05, 0, 1.5)
    with pytest.raises(ValueError):  # no Windows-1251 form
        core.GetDefineFromStringKZ("故障")


def test_numbers_strings_geometry_spectra():
    assert [core.round(x) for x in (2.5, -1.5, -0.5)] == [3, -2, 1]
    assert core.dDivRoundDegree(1234.5, 2) == 1200 and core.ResultDiv(1, 0.00001) == 99999.9
    assert core.DivRound(7, 2) == 8 and core.DivRound(2.49, 5) == 0
    state.glob_bUseInFieldPoint = 0
    assert core.EStr(3.25, 2, 6) == "  3,25"
    assert core.EAtStr("U=-1,25V") == (-1.25, "U=-1.25V")
    assert core.StrL(None) == 0 and core.StrL("  -7x") == -7
    assert core.RemoveReverseSubString("a_b_c", "_") == (1, "c", "a_b")
    assert core.GetArrayStringFromString("a;b;c", 10, ";") == (2, ["a", "b"])
    with pytest.raises(ValueError):
        core.SetAtSStr("ab", "xyz", 1, 2)  # a write outside s
    assert core.PointIntersectTwoLine((0, 0), (2, 2), (0, 2), (2, 0)) == (1, core.CPoint(1, 1))
    assert core.XYtoZF(3, 4) == (5, pytest.approx(math.atan2(4, 3)))

    t = np.arange(200) * 1e-4
    ok, amp, phase = core.GetSpectr(0, 100, 10, 0, 0.02, 200, 3 + 10 * np.sin(2 * np.pi * 50 * t))
    assert ok and len(amp) == len(phase) == 11
    assert amp[0] == pytest.approx(3) and phase[0] == pytest.approx(90) and amp[5] == pytest.approx(10)
    with pytest.raises(ValueError):
        core.GetSpectr(0, 100, 10, 0, 0.02, 200, np.zeros(100))


def test_phasor_classes():
    c = core.Complex(1, 2) * core.Complex(3, 4)
    assert (c.Re(), c.Im()) == (-5, 10) and complex(2 - core.Complex(1, 2)) == 1 - 2j
    assert core.Complex(1, 1) / core.Complex(0, 0) == core.Complex(0, 0)  # the guarded quotient
    assert abs(core.PtoC(2, math.pi / 2)) == pytest.approx(2)
    p = core.CtoP(0, 2)
    assert p.Mod() == 2 and p.Ang(0) == pytest.approx(math.pi / 2)
    assert core.NormAngleGr(540.0) == -180 and core.NormAngleGr(360.0) == 360


def test_state_attributes():
    names = set(re.findall(r"^extern KV_DATA_API [^;]*?(\w+)\s*(?:\[\d+\])*;", STATE_H.read_text(), re.M))
    listed = set(dir(state)) | set(type(state)._left_out)
    assert len(names) > 500 and names <= listed

    state.glob_dwKavorType = 31
    assert state.glob_dwKavorType == 31 and isinstance(state.globUmax, float)
    with pytest.raises(OverflowError):
        state.glob_dwKavorType = -1
    with pytest.raises(OverflowError):
        state.cstIsKavor30 = 256
    with pytest.raises(TypeError):
        state.glob_dwKavorType = 1.5
    with pytest.raises(TypeError):
        state.globUmax = None
    with pytest.raises(AttributeError):
        state.globUmaxx = 1
    with pytest.raises(AttributeError):
        state.dGlobTimeUIFaza = [0]

    arr = state.dGlobTimeUIFaza
    assert arr.shape == (51,) and state.glob_bDataADC.shape == (2, 200)
    old = arr[3]
    arr[3] = 1.25
    assert state.dGlobTimeUIFaza[3] == 1.25
    arr[3] = old

    record = state.glob_ArrSV_CValueIU_AvtoMode[5][39]
    record.dI[0] = 7
    assert state.glob_ArrSV_CValueIU_AvtoMode[5][39].GetI(0) == 7
    record.dI[0] = 0
    with pytest.raises(IndexError):
        state.glob_arrStrIdSV[40]

    state.glob_strInfoKavor = "Ёж № 5"
    assert state.glob_strInfoKavor == "Ёж № 5"
    with pytest.raises(ValueError):
        state.glob_strInfoKavor = "故障"
    assert state.glob_strInfoKavor == "Ёж № 5"
