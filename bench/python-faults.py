#!/usr/bin/python3
"""How fast the Python package computes faults from arrays: 10^6 catalogue faults and 10^6
impedance faults in one call each, beside the same done point by point in a Python loop
(the catalogue through kvdata.fault per point, the earth fault at an impedance in plain
numpy per point). The loops run on fewer points and are scaled to 10^6.

    .venv/bin/python bench/python-faults.py [POINTS] [LOOP_POINTS]       (as installed)
    PYTHONPATH=build/python bench/python-faults.py [POINTS] [LOOP_POINTS]  (development build)
"""

import cmath
import math
import sys
import time

import numpy as np

import kvdata

POINTS = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
LOOP_POINTS = int(sys.argv[2]) if len(sys.argv) > 2 else 20_000


def best_of(runs, body):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        body()
        times.append(time.perf_counter() - start)
    return min(times)


def earth_fault_numpy(z_magnitude, z_angle, k0, current, nominal=100.0):
    """An AN fault at constant current in plain numpy, one point: IA = IT∠(−arg ZE),
    VA = ZE·IA, the healthy phases at their pre-fault star."""
    z = z_magnitude * np.exp(1j * np.radians(z_angle))
    ze = z * (1 + k0)
    ia = current * np.exp(-1j * np.angle(ze))
    vn = nominal / np.sqrt(3)
    voltages = np.array([ze * ia, vn * np.exp(-2j * np.pi / 3), vn * np.exp(2j * np.pi / 3)])
    currents = np.array([ia, 0, 0], dtype=complex)
    return voltages, currents


def main():
    u = np.linspace(0.0, 100.0, POINTS)
    z = np.linspace(0.1, 20.0, POINTS)
    print(f"{POINTS} points, best of 3 (the first call, into fresh memory, apart); "
          f"loops on {LOOP_POINTS} points, scaled")

    def timed(body):
        kvdata.free_kept_memory()
        return best_of(1, body), best_of(3, body)

    catalogue_first, catalogue = timed(lambda: kvdata.fault("FaultAB", u=u, i=5, phi=75))
    impedance_first, impedance = timed(lambda: kvdata.impedance("AN", z=(z, 75), k0=(0.8, -5), current=5))

    def catalogue_loop():
        for k in range(LOOP_POINTS):
            kvdata.fault("FaultAB", u=float(u[k]), i=5, phi=75)

    k0 = cmath.rect(0.8, math.radians(-5))

    def impedance_loop():
        for k in range(LOOP_POINTS):
            earth_fault_numpy(z[k], 75.0, k0, 5.0)

    scale = POINTS / LOOP_POINTS
    catalogue_per_point = best_of(1, catalogue_loop) * scale
    impedance_per_point = best_of(1, impedance_loop) * scale
    print(f"{'catalogue FaultAB':<24}{catalogue:8.3f} s from arrays (first {catalogue_first:.3f} s)"
          f"{catalogue_per_point:9.2f} s point by point (kvdata.fault)")
    print(f"{'impedance AN, current':<24}{impedance:8.3f} s from arrays (first {impedance_first:.3f} s)"
          f"{impedance_per_point:9.2f} s point by point (numpy)")


if __name__ == "__main__":
    main()
