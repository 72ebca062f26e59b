"""Test sequences, their waveforms, COMTRADE records read back, phasors from samples and
the assessment of trip times, over the engineering layer.

A sequence built in code is kept as the document a sequence file holds, and the layer
reads that document, so that its checks and messages are the same as for a file.
Sample arrays are read-only views of the layer's own vectors (no copy): copy one to
change it.
"""

from __future__ import annotations

import copy
import json
import os
from dataclasses import dataclass
from datetime import datetime, timedelta, timezone
from typing import Any, Callable, Dict, Iterator, List, Mapping, Optional, Sequence as Seq, Tuple, Union

import numpy as np

from . import _kvdata

#: The six analog channels of a sequence, in the order of every (6, ...) array.
CHANNELS = ("UA", "UB", "UC", "IA", "IB", "IC")

PathLike = Union[str, "os.PathLike[str]"]
Number = Union[int, float]
PhasorLike = Union[complex, float, int, Tuple[float, float]]

_EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


def _time(microseconds_and_text: Tuple[int, str]) -> Union[datetime, str]:
    """A record time as a UTC datetime; its ISO text where datetime cannot hold it."""
    microseconds, text = microseconds_and_text
    try:
        return _EPOCH + timedelta(microseconds=microseconds)
    except OverflowError:
        return text


def _iso(start: Union[datetime, str]) -> str:
    """A start time as the sequence file writes it: UTC, six decimals (naive means UTC)."""
    if isinstance(start, str):
        return start
    if start.tzinfo is not None:
        start = start.astimezone(timezone.utc).replace(tzinfo=None)
    return start.strftime("%Y-%m-%dT%H:%M:%S.%f")


def _polar_table(rows: Seq[Tuple[str, Optional[complex]]], unit: Callable[[str], str] = lambda _: "") -> str:
    lines = ["          magnitude   angle, deg"]
    for name, value in rows:
        if value is None or np.isnan(value):
            lines.append(f"{name:<8}{'-':>11}")
            continue
        magnitude, angle = _kvdata._reported_polar(complex(value))
        lines.append(f"{name:<8}{magnitude:>11.4f}{angle:>13.3f} {unit(name)}".rstrip())
    return "\n".join(lines)


def _channel_unit(name: str) -> str:
    return "V" if name.startswith("U") else "A"


def _plain(value: Any) -> Any:
    """numpy scalars and tuples as the JSON document's numbers and lists."""
    if isinstance(value, dict):
        return {str(k): _plain(v) for k, v in value.items()}
    if isinstance(value, (list, tuple)):
        return [_plain(v) for v in value]
    if isinstance(value, np.generic):
        return value.item()
    return value


def _polar(value: PhasorLike) -> Any:
    """(magnitude, degrees) as given; a complex number (or a real one) as [magnitude, degrees]."""
    if isinstance(value, (tuple, list)):
        return _plain(value)
    if isinstance(value, (complex, float, int, np.number)) and not isinstance(value, bool):
        return list(_kvdata._polar(complex(value)))
    return _plain(value)  # the layer says what is wrong with it


def _impedance_document(impedance: Mapping[str, Any]) -> Dict[str, Any]:
    """A fault at an impedance: z as (magnitude, angle) or complex R + jX; k0, source and ks
    as (magnitude, angle) or complex; k0 also {"rerl": a, "xexl": b} or {"z0z1": (m, a)}."""
    document: Dict[str, Any] = {}
    for key, value in impedance.items():
        if key == "z" and isinstance(value, (complex, np.complexfloating)):
            document["rx"] = [float(value.real), float(value.imag)]
        elif key in ("k0", "source", "ks") and not isinstance(value, dict):
            document[key] = _polar(value)
        else:
            document[key] = _plain(value)
    return document


@dataclass(frozen=True)
class State:
    """A state as played. ``phasors``: the six steady RMS phasors UA, UB, UC (V), IA, IB,
    IC (A) as a complex array; ``start`` (s from the first sample) and ``frequency`` (Hz);
    ``tau``: the DC offset's time constant (s) where the state has one."""

    name: str
    duration: float
    start: float
    frequency: float
    trigger: bool
    kind: str  # "star", "phasors", "fault" or "impedance"
    phasors: np.ndarray
    dc_offset: bool
    tau: Optional[float]
    outputs: Dict[str, int]
    catalogue_result: int

    @property
    def voltages(self) -> np.ndarray:
        return self.phasors[:3]

    @property
    def currents(self) -> np.ndarray:
        return self.phasors[3:]

    def __repr__(self) -> str:
        extras = [f"from {self.start:.6g} s for {self.duration:.6g} s at {self.frequency:.6g} Hz"]
        if self.trigger:
            extras.append("trigger")
        if self.tau is not None:
            extras.append(f"DC offset tau {self.tau:.6g} s")
        if self.outputs:
            extras.append("outputs " + ", ".join(f"{k}={v}" for k, v in self.outputs.items()))
        head = f"State '{self.name}' ({self.kind}): " + ", ".join(extras)
        return head + "\n" + _polar_table(list(zip(CHANNELS, self.phasors)), _channel_unit)


class Sequence:
    """A relay test as timed states.

    Build one in code with :meth:`add_state` (and :meth:`assess`), or read a sequence file
    with :meth:`load` or :meth:`parse`. Settings left as None take the layer's defaults
    (rate 4000 samples/s, Un 100 V, 50 Hz)."""

    def __init__(
        self,
        *,
        rate: Optional[Number] = None,
        nominal_voltage: Optional[Number] = None,
        frequency: Optional[Number] = None,
        station: Optional[str] = None,
        device: Optional[str] = None,
        start: Union[datetime, str, None] = None,
    ):
        document: Dict[str, Any] = {}
        if station is not None:
            document["station"] = station
        if device is not None:
            document["device"] = device
        nominal = {k: _plain(v) for k, v in (("voltage", nominal_voltage), ("frequency", frequency)) if v is not None}
        if nominal:
            document["nominal"] = nominal
        if rate is not None:
            document["rate"] = _plain(rate)
        if start is not None:
            document["start"] = _iso(start)
        document["states"] = []
        self._document = document
        self._parsed: Optional[Any] = None

    @classmethod
    def _read(cls, document: Dict[str, Any], parsed: Any) -> "Sequence":
        sequence = cls.__new__(cls)
        sequence._document = document
        sequence._parsed = parsed
        return sequence

    @classmethod
    def parse(cls, text: Union[str, bytes]) -> "Sequence":
        """A sequence file's JSON text."""
        if isinstance(text, bytes):
            text = text.decode("utf-8")
        parsed = _kvdata._parse_sequence(text)
        return cls._read(json.loads(text), parsed)

    @classmethod
    def load(cls, path: PathLike) -> "Sequence":
        """A sequence file; errors begin with the file's name."""
        # Read once: the layer checks the very text that the states are built from.
        name = os.fspath(path)
        try:
            with open(path, "rb") as f:
                text = f.read()
        except OSError as e:
            raise ValueError(f"{name}: cannot open: {e.strerror}") from None
        try:
            parsed = _kvdata._parse_sequence(text)
        except ValueError as e:
            raise ValueError(f"{name}: {e}") from None
        return cls._read(json.loads(text), parsed)

    # ---- building ----------------------------------------------------------------------

    def _changed(self, undo: Callable[[], None]) -> None:
        """Reads the changed document, so that a mistake shows where it was made; undoes
        the change when the layer refuses it."""
        try:
            self._parsed = _kvdata._parse_sequence(self.to_json(indent=None))
        except ValueError:
            undo()
            self._parsed = None
            raise

    def add_state(
        self,
        name: str,
        duration: Number,
        *,
        phasors: Optional[Mapping[str, PhasorLike]] = None,
        fault: Optional[Mapping[str, Any]] = None,
        impedance: Optional[Mapping[str, Any]] = None,
        frequency: Optional[Number] = None,
        trigger: bool = False,
        dc_offset: Union[bool, Number] = False,
        outputs: Optional[Mapping[str, int]] = None,
    ) -> "Sequence":
        """Appends a state of `duration` seconds; returns the sequence.

        Its phasors in one way or none (the pre-fault star): ``phasors`` by channel name
        (UA..IC: complex RMS or (magnitude, degrees); a voltage left out keeps its pre-fault
        value, a current is 0), ``fault`` (the catalogue: type, u, i, phi, unom, aux,
        aux_angle, uhealthy) or ``impedance`` (loop, z or rx, k0, one of current, voltage,
        source, sir, and ks). ``dc_offset``: True for τ from the loop's X/R, or τ in
        seconds. ``outputs``: binary outputs this state sets, name → 0 or 1."""
        state: Dict[str, Any] = {"name": name, "duration": _plain(duration)}
        if frequency is not None:
            state["frequency"] = _plain(frequency)
        if trigger:
            state["trigger"] = True
        if dc_offset is True:
            state["dc_offset"] = True
        elif dc_offset is not False and dc_offset is not None:
            state["dc_offset"] = {"tau": _plain(dc_offset)}
        if phasors is not None:
            state["phasors"] = {str(k): _polar(v) for k, v in phasors.items()}
        if fault is not None:
            state["fault"] = _plain(dict(fault))
        if impedance is not None:
            state["impedance"] = _impedance_document(impedance)
        if outputs is not None:
            state["outputs"] = _plain(dict(outputs))
        self._document.setdefault("states", []).append(state)
        self._changed(self._document["states"].pop)
        return self

    def assess(
        self,
        name: str,
        channel: str,
        state: str,
        expected: Optional[Number] = None,
        *,
        until: Optional[str] = None,
        absolute: Number = 0.0,
        relative: Number = 0.0,
    ) -> "Sequence":
        """Adds a trip time to judge: the first rising edge of digital `channel` after the
        start of `state` is expected `expected` s later, within max(absolute, relative ×
        expected); with no expected time, no edge may lie between the start of `state` and
        the start of `until` (default: the end of the record). Returns the sequence."""
        item: Dict[str, Any] = {"name": name, "channel": channel, "from": state, "expected": _plain(expected)}
        if until is not None:
            item["until"] = until
        if absolute:
            item["abs"] = _plain(absolute)
        if relative:
            item["rel"] = _plain(relative)
        self._document.setdefault("assess", []).append(item)
        self._changed(self._document["assess"].pop)
        return self

    # ---- reading -----------------------------------------------------------------------

    @property
    def _sequence(self) -> Any:
        if self._parsed is None:  # no state yet: the layer says what is missing
            self._parsed = _kvdata._parse_sequence(self.to_json(indent=None))
        return self._parsed

    @property
    def document(self) -> Dict[str, Any]:
        """The sequence file's document (a copy)."""
        return copy.deepcopy(self._document)

    def to_json(self, indent: Optional[int] = 2) -> str:
        return json.dumps(self._document, indent=indent, allow_nan=False, ensure_ascii=False)

    def save(self, path: PathLike) -> None:
        with open(path, "w", encoding="utf-8") as f:
            f.write(self.to_json() + "\n")

    def _info(self) -> Dict[str, Any]:
        return self._sequence.info()

    @property
    def station(self) -> str:
        return self._info()["station"]

    @property
    def device(self) -> str:
        return self._info()["device"]

    @property
    def rate(self) -> float:
        return self._info()["rate"]

    @property
    def nominal_voltage(self) -> float:
        return self._info()["nominal_voltage"]

    @property
    def frequency(self) -> float:
        return self._info()["frequency"]

    @property
    def start(self) -> Union[datetime, str, None]:
        """The record's start as the sequence gives it (UTC), or None."""
        start = self._info()["start"]
        return None if start is None else _time(start)

    @property
    def trigger_time(self) -> float:
        """Seconds from the first sample to the trigger."""
        return self._info()["trigger_time"]

    @property
    def digital_names(self) -> List[str]:
        """The digital channels: one per state, then the binary outputs."""
        return self._info()["digital_names"]

    @property
    def assessments(self) -> List[Dict[str, Any]]:
        return self._info()["assessments"]

    @property
    def states(self) -> List[State]:
        """Every state as played, with its phasors."""
        info = self._info()["states"]
        played = self._sequence.played()
        return [
            State(name=s["name"], duration=s["duration"], start=p["start"], frequency=p["frequency"],
                  trigger=s["trigger"], kind=s["kind"], phasors=p["phasors"], dc_offset=s["dc_offset"],
                  tau=p["tau"], outputs=dict(s["outputs"]), catalogue_result=p["catalogue_result"])
            for s, p in zip(info, played)
        ]

    def waveforms(self, rate: Optional[Number] = None) -> "Waveforms":
        """The waveforms at the sequence's rate, or at `rate` (samples per second)."""
        return Waveforms(_kvdata._Waveforms(self._sequence, 0.0 if rate is None else float(rate)))

    def write_comtrade(self, stem: PathLike, format: str = "ASCII", revision: int = 2013,
                       single_file: bool = False, rate: Optional[Number] = None) -> List[str]:
        """Writes the waveforms as a COMTRADE record; see :meth:`Waveforms.write_comtrade`."""
        return self.waveforms(rate).write_comtrade(stem, format=format, revision=revision, single_file=single_file)

    def __repr__(self) -> str:
        try:
            info = self._info()
        except ValueError as e:
            return f"<Sequence, not yet complete: {e}>"
        states = ", ".join(f"{s['name']} {s['duration']:g} s" for s in info["states"])
        return (f"<Sequence {info['station']}: Un {info['nominal_voltage']:g} V, {info['frequency']:g} Hz, "
                f"{info['rate']:g} samples/s; {states}; {len(info['assessments'])} assessments>")


class _Views(Mapping[str, np.ndarray]):
    """Channels by name (the first of that name) or by index, each array made on demand."""

    def __init__(self, names: Seq[str], make: Callable[[int], np.ndarray]):
        self._names = list(names)
        self._make = make

    def index(self, key: Union[str, int]) -> int:
        if isinstance(key, (int, np.integer)) and not isinstance(key, bool):
            if not -len(self._names) <= key < len(self._names):
                raise IndexError(f"channel {key}: there are {len(self._names)}")
            return int(key) % len(self._names)
        try:
            return self._names.index(key)
        except ValueError:
            raise KeyError(f"no channel '{key}' (there are: {', '.join(self._names)})") from None

    def __getitem__(self, key: Union[str, int]) -> np.ndarray:  # type: ignore[override]
        return self._make(self.index(key))

    def __iter__(self) -> Iterator[str]:
        return iter(self._names)

    def __len__(self) -> int:
        return len(self._names)

    def __repr__(self) -> str:
        return f"<channels {', '.join(self._names)}>"


class Waveforms:
    """A sequence's waveforms: ``times`` (s), ``analog`` (name → samples, V and A),
    ``values`` (the (6, N) array of UA..IC), ``digital`` (name → 0/1 as uint8). The arrays
    are read-only views of the samples held in C++."""

    def __init__(self, handle: Any):
        self._handle = handle
        self.rate: float = handle.rate
        self.samples: int = handle.samples
        self.times: np.ndarray = handle.times()
        self.values: np.ndarray = handle.analog()
        self.analog = _Views(CHANNELS, lambda c: self.values[c])
        self.digital = _Views(handle.digital_names, handle.digital)

    def write_comtrade(self, stem: PathLike, format: str = "ASCII", revision: int = 2013,
                       single_file: bool = False) -> List[str]:
        """Writes `stem`.cfg and `stem`.dat, or `stem`.cff (single_file, revision 2013 only),
        in format ASCII, BINARY, BINARY32 or FLOAT32; returns the paths written."""
        return [os.fspath(p) for p in self._handle.write(os.fspath(stem), str(format), int(revision),
                                                          bool(single_file))]

    def __repr__(self) -> str:
        return (f"<Waveforms: {self.samples} samples at {self.rate:g} samples/s; analog "
                f"{', '.join(CHANNELS)}; digital {', '.join(self.digital)}>")


@dataclass(frozen=True)
class AnalogChannel:
    """An analog channel's line of the configuration: value = a·x + b, in `unit`; ps says
    whether that is a primary ('P') or secondary ('S') value."""

    name: str
    phase: str
    circuit: str
    unit: str
    a: float
    b: float
    skew: float
    min: float
    max: float
    primary: float
    secondary: float
    ps: str


@dataclass(frozen=True)
class DigitalChannel:
    name: str
    phase: str
    circuit: str
    normal: int


@dataclass(frozen=True)
class PhaseGroup:
    """Three analog channels of one unit on phases A, B and C."""

    unit: str
    channels: Tuple[str, str, str]
    indices: Tuple[int, int, int]


@dataclass(frozen=True)
class Components:
    """Symmetrical components of a phase group (complex RMS; zero is X0, not 3·X0)."""

    group: PhaseGroup
    positive: complex
    negative: complex
    zero: complex


class PhasorsAtTime:
    """Phasors from samples at one time (``time``, s on the record's axis): ``channels``
    maps each analog channel to its complex RMS phasor, None where the window has no value;
    ``components`` each phase group's symmetrical components, None where a phase has none."""

    def __init__(self, record: "Record", computed: Dict[str, Any]):
        self.time: float = computed["time"]
        self.channels: Dict[str, Optional[complex]] = {}
        for channel, value in zip(record.analog_channels, computed["channels"]):
            self.channels.setdefault(channel.name, value)
        self.values: List[Optional[complex]] = computed["channels"]
        self.components: List[Optional[Components]] = [
            None if c is None else Components(g, *c) for g, c in zip(record.phase_groups, computed["groups"])
        ]

    def __repr__(self) -> str:
        rows = list(self.channels.items())
        units = [c.group.unit for c in self.components if c is not None]
        for k, c in enumerate(self.components):
            if c is not None:  # V1, V2, V0 for positive, negative and zero sequence
                tag = c.group.unit + ("" if units.count(c.group.unit) == 1 else f"#{k}:")
                rows += [(f"{tag}1", c.positive), (f"{tag}2", c.negative), (f"{tag}0", c.zero)]
        return f"Phasors at {self.time:.6f} s\n" + _polar_table(rows)


class CyclePhasors:
    """Phasors from samples at the end of every whole cycle: ``times`` (K,), ``channels``
    (K, C) complex with NaN where there is no value, ``names`` the C analog channels;
    ``components`` (K, G, 3): for each phase group (``groups``) positive, negative and zero
    sequence."""

    def __init__(self, record: "Record", computed: Dict[str, np.ndarray]):
        self.times: np.ndarray = computed["times"]
        self.channels: np.ndarray = computed["channels"]
        self.components: np.ndarray = computed["components"]
        self.names: List[str] = [c.name for c in record.analog_channels]
        self.groups: List[PhaseGroup] = record.phase_groups

    def __getitem__(self, name: str) -> np.ndarray:
        """The phasors of the first channel named `name`, one per cycle."""
        return self.channels[:, self.names.index(name)]

    def __repr__(self) -> str:
        return f"<CyclePhasors: {len(self.times)} cycles of {len(self.names)} channels, {len(self.groups)} phase groups>"


class Record:
    """A COMTRADE record read back.

    Header: ``station``, ``device``, ``revision``, ``format``, ``frequency`` (Hz, 0 when not
    given), ``rates`` [(samples/s, last sample)], ``samples``, ``start`` and ``trigger``
    (UTC datetimes), ``trigger_offset`` (s on the axis of ``times``), ``header`` and
    ``information`` texts. Texts are decoded: UTF-8 where valid, else Windows-1251.

    Samples: ``times`` (s from the first sample), ``analog[name or index]`` (NaN where
    missing), ``digital[name or index]`` (uint8), ``values`` (C, N) and ``states`` (D, N):
    read-only views of the record's arrays in C++, which stay valid while any view lives."""

    def __init__(self, handle: Any):
        self._handle = handle
        info = handle.info()
        self.configuration: str = os.fspath(info["configuration"])
        self.station: str = info["station"]
        self.device: str = info["device"]
        self.revision: int = info["revision"]
        self.format: str = info["format"]
        self.frequency: float = info["frequency"]
        self.rates: List[Tuple[float, int]] = info["rates"]
        self.samples: int = info["samples"]
        self.start = _time(info["start"])
        self.trigger = _time(info["trigger"])
        self.trigger_offset: float = info["trigger_offset"]
        self.time_multiplier: float = info["time_multiplier"]
        self.header: str = info["header"]
        self.information: str = info["information"]
        self.analog_channels: List[AnalogChannel] = [AnalogChannel(**a) for a in info["analog"]]
        self.digital_channels: List[DigitalChannel] = [DigitalChannel(**d) for d in info["digital"]]
        names = [a.name for a in self.analog_channels]
        self.phase_groups: List[PhaseGroup] = [
            PhaseGroup(unit, (names[a], names[b], names[c]), (a, b, c)) for unit, a, b, c in info["groups"]
        ]
        self.times: np.ndarray = handle.times()
        self.values: np.ndarray = handle.values()
        self.states: np.ndarray = handle.states()
        self.analog = _Views(names, lambda c: self.values[c])
        self.digital = _Views([d.name for d in self.digital_channels], lambda d: self.states[d])

    def phasors_at(self, t: float, from_trigger: bool = True) -> PhasorsAtTime:
        """Every analog channel's phasor (full-cycle Fourier over the cycle that ends at the
        last sample at or before t) and the phase groups' symmetrical components; t in s
        after the trigger, or on the axis of ``times`` with from_trigger=False."""
        return PhasorsAtTime(self, self._handle.phasors_at(float(t), bool(from_trigger)))

    def phasors_every_cycle(self) -> CyclePhasors:
        """The same at the end of every whole cycle of the record."""
        return CyclePhasors(self, self._handle.phasors_every_cycle())

    def first_rising_edge(self, channel: Union[str, int], after: float = 0.0,
                          from_trigger: bool = True) -> Optional[float]:
        """The time of the first 0 → 1 edge of a digital channel at or after `after`: both
        in s after the trigger, or on the axis of ``times`` with from_trigger=False. None
        when there is no such edge."""
        try:
            index = self.digital.index(channel)
        except (KeyError, IndexError) as e:
            raise ValueError(e.args[0]) from None
        return self._handle.first_rising_edge(index, float(after), bool(from_trigger))

    def __repr__(self) -> str:
        rate = ", ".join(f"{r:g}" for r, _ in self.rates) or "timestamps"
        trigger = self.trigger.isoformat() if isinstance(self.trigger, datetime) else self.trigger
        return (f"<Record {self.station}/{self.device}: revision {self.revision} {self.format}, "
                f"{self.samples} samples at {rate} samples/s, {len(self.analog_channels)} analog, "
                f"{len(self.digital_channels)} digital; trigger {trigger} ({self.trigger_offset:.6f} s)>")


def read(path: PathLike, values: str = "recorded") -> Record:
    """Reads NAME.cfg with NAME.dat, or NAME.cff (the path of any of them). `values`: as
    recorded (a·x + b), or converted to "primary" or "secondary" values."""
    return Record(_kvdata._read(os.fspath(path), values))


def _bytes(value: Union[str, bytes]) -> bytes:
    return value.encode("utf-8") if isinstance(value, str) else bytes(value)


def from_bytes(configuration: Union[str, bytes], data: bytes, *, name: str = "record",
               values: str = "recorded") -> Record:
    """A record from a configuration's text and its data file's bytes in memory; errors
    name them `name`.cfg and `name`.dat."""
    return Record(_kvdata._read_configuration_and_data(_bytes(configuration), _bytes(data), name, values))


def from_cff(cff: bytes, *, name: str = "record", values: str = "recorded") -> Record:
    """A record from a combined file's bytes in memory; errors name it `name`.cff."""
    return Record(_kvdata._read_combined(_bytes(cff), name, values))


@dataclass(frozen=True)
class AssessmentResult:
    """A trip time judged: ``measured`` is the edge found, s after the start of the
    assessment's state (None: no edge); it had to fall in [``low``, ``high``]."""

    name: str
    passed: bool
    measured: Optional[float]
    low: Optional[float]
    high: Optional[float]

    def __repr__(self) -> str:
        def s(v: Optional[float]) -> str:
            return "-" if v is None else f"{v:.4f}"

        return (f"{self.name}: {'pass' if self.passed else 'FAIL'}, measured {s(self.measured)} s, "
                f"window {s(self.low)} .. {s(self.high)} s")


class Assessment(List[AssessmentResult]):
    """The results of a sequence's assessments; ``passed`` when all pass."""

    @property
    def passed(self) -> bool:
        return all(r.passed for r in self)

    def __repr__(self) -> str:
        lines = [repr(r) for r in self]
        lines.append("All assessments pass." if self.passed else "An assessment fails.")
        return "\n".join(lines)


def assess(sequence: Union[Sequence, PathLike], record: Union[Record, PathLike]) -> Assessment:
    """Judges a relay's record against the sequence's assessments (either may be given as
    a file's path)."""
    if not isinstance(sequence, Sequence):
        sequence = Sequence.load(sequence)
    if not isinstance(record, Record):
        record = read(record)
    return Assessment(AssessmentResult(**r) for r in _kvdata._assess(sequence._sequence, record._handle))
