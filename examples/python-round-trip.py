#!/usr/bin/python3
"""From a fault to a judged record in Python: compute a fault at an impedance, play it as a
test sequence written as COMTRADE, read the record back, estimate its phasors and judge the
trip, and draw it. Run with the package installed (or PYTHONPATH=build/python):

    python examples/python-round-trip.py [OUTPUT_FOLDER]
"""

import pathlib
import sys

import kvdata

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
out.mkdir(parents=True, exist_ok=True)

# The fault the relay should see: an earth fault at 4 ohm, 75 degrees, 5 A.
fault = kvdata.impedance("AN", z=(4, 75), k0=(0.8, -5), current=5)
print(fault)

# A test as timed states, with the trip the relay's record would show 28 ms into the fault.
test = (kvdata.Sequence(rate=4000, station="Substation 1", start="2026-11-23T10:00:00")
        .add_state("prefault", 0.1)
        .add_state("fault", 0.028, trigger=True, impedance={"loop": "AN", "z": (4, 75), "k0": (0.8, -5), "current": 5})
        .add_state("tripped", 0.04, outputs={"TRIP": 1},
                   impedance={"loop": "AN", "z": (4, 75), "k0": (0.8, -5), "current": 5})
        .add_state("open", 0.1, outputs={"TRIP": 0})
        .assess("zone 1 trips", "TRIP", "fault", expected=0.03, absolute=0.01))
paths = test.write_comtrade(out / "zone1", format="BINARY")
print("wrote", ", ".join(str(p) for p in paths))

record = kvdata.comtrade.read(out / "zone1.cfg")
at = record.phasors_at(0.02)  # seconds after the trigger
print(at)
judged = kvdata.assess(test, record)
print(judged)

figure = kvdata.plot.waveforms(record, markers={"0.02 s": record.trigger_offset + 0.02})
figure.savefig(out / "zone1.png")
print("drew", out / "zone1.png")
sys.exit(0 if judged.passed else 3)
