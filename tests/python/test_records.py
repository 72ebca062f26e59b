import gc
import os
from datetime import datetime, timezone
from pathlib import Path

import numpy as np
import pytest

import kvdata
from kvdata import comtrade

CHANNELS = ("UA", "UB", "UC", "IA", "IB", "IC")
EXAMPLES = Path(os.environ.get("KV_EXAMPLES_DIR", Path(__file__).parents[2] / "examples"))
EARTH_FAULT = {"loop": "AN", "z": (4, 75), "k0": 0.8 - 0.07j, "current": 5}


def zone1(expected=0.1):
    """Pre-fault, an earth fault (the trigger), TRIP while the fault lasts, then clear."""
    q = kvdata.Sequence(rate=4000, nominal_voltage=100, frequency=50, station="Bench",
                        start=datetime(2026, 11, 23, 10, tzinfo=timezone.utc))
    q.add_state("prefault", 0.1)
    q.add_state("fault", 0.1, trigger=True, impedance=EARTH_FAULT)
    q.add_state("tripped", 0.06, phasors={"UA": (20, -5), "IA": 4 - 1j}, outputs={"TRIP": 1})
    q.add_state("open", 0.06, outputs={"TRIP": 0})
    return q.assess("zone 1 trips", "TRIP", "fault", expected, absolute=0.001)


@pytest.mark.parametrize("format", ["BINARY", "FLOAT32"])
def test_round_trip_through_comtrade(tmp_path, format):
    q = zone1()
    states = q.states
    assert [s.name for s in states] == ["prefault", "fault", "tripped", "open"]
    assert [s.start for s in states] == pytest.approx([0, 0.1, 0.2, 0.26])
    assert states[2].phasors[3] == pytest.approx(4 - 1j) and abs(states[2].phasors[0]) == pytest.approx(20)
    assert states[1].kind == "impedance" and abs(states[1].currents[0]) == pytest.approx(5)
    print(q, states[1], sep="\n")

    paths = q.write_comtrade(tmp_path / "zone1", format=format)
    assert [Path(p).suffix for p in paths] == [".cfg", ".dat"] and all(Path(p).exists() for p in paths)
    record = comtrade.read(paths[1])
    print(record)
    assert (record.format, record.revision, record.station) == (format, 2013, "Bench")
    assert record.start == datetime(2026, 11, 23, 10, tzinfo=timezone.utc)
    assert record.trigger_offset == pytest.approx(0.1)
    assert record.samples == q.waveforms().samples == len(record.times)
    assert [c.name for c in record.analog_channels] == list(CHANNELS)
    assert list(record.digital) == ["prefault", "fault", "tripped", "open", "TRIP"]
    np.testing.assert_allclose(record.values, q.waveforms().values, atol=max(c.a for c in record.analog_channels))

    # Each state's last whole cycle gives back the phasors it played, within the format's step.
    for state in states:
        at = record.phasors_at(state.start + state.duration - 1e-6, from_trigger=False)
        got = np.array([at.channels[name] for name in CHANNELS])
        step = np.array([c.a for c in record.analog_channels]) if format == "BINARY" else 1e-5 * np.abs(state.phasors)
        assert np.all(np.abs(got - state.phasors) <= step + 1e-9), (state.name, got, state.phasors)
    prefault = record.phasors_at(-0.001)  # from the trigger
    voltages = prefault.components[0]
    assert voltages.group.channels == ("UA", "UB", "UC")
    assert voltages.positive == pytest.approx(100 / np.sqrt(3), rel=1e-4) and abs(voltages.negative) < 1e-2
    print(prefault)

    cycles = record.phasors_every_cycle()
    assert cycles.channels.shape == (len(cycles.times), 6) and cycles.components.shape == (len(cycles.times), 2, 3)
    k = int(np.argmin(np.abs(cycles.times - 0.2)))
    np.testing.assert_allclose(cycles.channels[k], list(record.phasors_at(cycles.times[k], False).channels.values()))

    assert record.first_rising_edge("TRIP") == pytest.approx(0.1)
    assert record.first_rising_edge("TRIP", 0.15, from_trigger=False) == pytest.approx(0.2)
    assert record.first_rising_edge("TRIP", 0.25) is None
    result = kvdata.assess(q, record)
    assert result.passed and result[0].measured == pytest.approx(0.1)
    wrong = kvdata.assess(zone1(expected=0.05), record)
    assert not wrong.passed and (wrong[0].low, wrong[0].high) == pytest.approx((0.049, 0.051))
    assert "FAIL" in repr(wrong)


def test_example_relay_record_is_judged(tmp_path):
    relay = kvdata.Sequence.load(EXAMPLES / "relay-record.json")
    paths = relay.write_comtrade(tmp_path / "relay", format="ASCII", revision=1999)
    result = kvdata.assess(EXAMPLES / "distance-zone1.json", paths[0])
    print(result)
    assert result.passed and [r.measured for r in result][0] == pytest.approx(0.028)


def test_record_arrays_view_the_library_samples(tmp_path):
    (cff,) = zone1().write_comtrade(tmp_path / "zone1", format="FLOAT32", single_file=True)
    record = comtrade.read(cff)
    ua = record.analog["UA"]
    assert np.shares_memory(ua, record.analog[0]) and np.shares_memory(ua, record.values)
    assert np.shares_memory(record.digital["TRIP"], record.states) and record.digital[-1].dtype == np.uint8
    assert ua.base is not None and not ua.flags.writeable
    with pytest.raises(ValueError):
        ua[0] = 1.0
    kept = ua.copy()
    del record
    gc.collect()
    _ = [np.ones(ua.size) for _ in range(20)]  # reuse any memory freed too early
    np.testing.assert_array_equal(ua, kept)

    # Bytes in memory read the same.
    again = comtrade.from_cff(Path(cff).read_bytes())
    np.testing.assert_array_equal(again.analog["UA"], kept)

    waveforms = zone1().waveforms(rate=2000)
    assert waveforms.values.shape == (6, waveforms.samples) and waveforms.rate == 2000
    assert np.shares_memory(waveforms.analog["IC"], waveforms.values) and not waveforms.values.flags.writeable
    trip = waveforms.digital["TRIP"]
    del waveforms
    gc.collect()
    assert trip.sum() == 0.06 * 2000


def test_texts_decode_from_windows_1251(tmp_path):
    cfg, dat = zone1().write_comtrade(tmp_path / "zone1", format="BINARY")
    configuration = Path(cfg).read_bytes().replace(b"Bench", "Подстанция".encode("cp1251"), 1)
    record = comtrade.from_bytes(configuration, Path(dat).read_bytes(), name="memory")
    assert record.station == "Подстанция"


def test_errors_carry_the_layers_message(tmp_path):
    q = kvdata.Sequence()
    with pytest.raises(ValueError, match=r"states\[0\]\.impedance\.zz: unknown key"):
        q.add_state("fault", 0.1, impedance={"loop": "AN", "zz": 1})
    with pytest.raises(ValueError, match=r"states\[0\]\.duration: must be > 0"):
        q.add_state("fault", -1)
    q.add_state("fault", 0.1)  # the refused states left nothing behind
    assert len(q.states) == 1
    with pytest.raises(ValueError, match="'later' is not a state"):
        q.assess("trip", "TRIP", "later", 0.1)
    with pytest.raises(ValueError, match="colour: unknown key"):
        kvdata.Sequence.parse('{"states": [{"name": "a", "duration": 1}], "colour": 1}')
    with pytest.raises(ValueError, match="missing.json: cannot open"):
        kvdata.Sequence.load(tmp_path / "missing.json")
    with pytest.raises(ValueError, match="absent.cfg"):
        comtrade.read(tmp_path / "absent.cfg")
    with pytest.raises(ValueError, match="BINARY32"):
        q.write_comtrade(tmp_path / "old", format="BINARY32", revision=1999)
    cfg, _ = q.write_comtrade(tmp_path / "ok")
    with pytest.raises(ValueError, match="values: one of"):
        comtrade.read(cfg, values="tertiary")
    with pytest.raises(ValueError, match="no channel 'TRIP'"):
        comtrade.read(cfg).first_rising_edge("TRIP")


@pytest.mark.parametrize("name", ["catalogue-fault", "dc-offset", "distance-zone1", "frequency-step"])
def test_example_sequences_play_and_read_back(tmp_path, name):
    q = kvdata.Sequence.load(EXAMPLES / f"{name}.json")
    waveforms = q.waveforms()
    assert waveforms.samples == round(sum(s.duration for s in q.states) * q.rate)
    (cff,) = q.write_comtrade(tmp_path / name, format="BINARY32", single_file=True)
    record = comtrade.read(cff)
    assert list(record.digital) == q.digital_names
    assert record.trigger_offset == pytest.approx(q.trigger_time)
    np.testing.assert_allclose(record.values, waveforms.values, atol=max(c.a for c in record.analog_channels))
    np.testing.assert_array_equal(record.states, np.stack([waveforms.digital[n] for n in q.digital_names]))


def test_sequence_in_code_plays_as_its_file():
    from_file = kvdata.Sequence.load(EXAMPLES / "distance-zone1.json")
    z = 4 * np.exp(1j * np.radians(75))  # the file's [4, 75] as R + jX
    q = kvdata.Sequence(station="Substation 1", start="2026-11-23T10:00:00.000000")
    q.add_state("prefault", 0.5)
    q.add_state("fault", 0.2, trigger=True, impedance={"loop": "AN", "z": z, "k0": (0.8, -5), "current": np.float64(5)})
    q.add_state("postfault", 0.3)
    q.assess("zone 1 trips", "TRIP", "fault", 0.03, absolute=0.01, relative=0.05)
    for mine, theirs in zip(q.states, from_file.states):
        np.testing.assert_allclose(mine.phasors, theirs.phasors, rtol=1e-12, atol=1e-12)
    assert q.start == from_file.start and q.assessments[0] == from_file.assessments[0]
    assert kvdata.Sequence.parse(q.to_json()).states[1].phasors == pytest.approx(q.states[1].phasors)


def test_missing_values_and_ratios(tmp_path):
    cfg, dat = zone1().write_comtrade(tmp_path / "zone1", format="ASCII")
    lines = Path(dat).read_text().splitlines()
    fields = lines[500].split(",")
    fields[2] = "99999"  # UA of sample 501, within the fault's first cycles
    lines[500] = ",".join(fields)
    data = ("\r\n".join(lines) + "\r\n").encode()
    configuration = Path(cfg).read_bytes()
    record = comtrade.from_bytes(configuration, data)
    assert np.isnan(record.analog["UA"][500]) and np.isfinite(record.analog["UB"][500])
    at = record.phasors_at(record.times[510], from_trigger=False)
    assert at.channels["UA"] is None and at.channels["UB"] is not None
    assert at.components[0] is None and at.components[1] is not None
    cycles = record.phasors_every_cycle()
    k = int(np.searchsorted(cycles.times, record.times[500]))
    assert np.isnan(cycles["UA"][k]) and not np.isnan(cycles["UA"][k + 1])
    assert np.isnan(cycles.components[k, 0]).all() and not np.isnan(cycles.components[k, 1]).any()

    # UA's transformer ratio 100:1, its values secondary as recorded.
    ua = configuration.split(b"\r\n")[2]
    assert ua.startswith(b"1,UA,") and ua.endswith(b",1,1,S")
    scaled = configuration.replace(ua, ua[:-len(b",1,1,S")] + b",100,1,S")
    recorded = comtrade.read(cfg).analog["UA"]
    primary = comtrade.from_bytes(scaled, Path(dat).read_bytes(), values="primary")
    assert primary.analog_channels[0].primary == 100
    np.testing.assert_allclose(primary.analog["UA"], 100 * recorded)
    np.testing.assert_array_equal(primary.analog["UB"], comtrade.read(cfg).analog["UB"])
