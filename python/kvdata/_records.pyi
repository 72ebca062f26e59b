import os
from datetime import datetime
from typing import Any, Dict, Iterator, List, Mapping, Optional, Tuple, Union

import numpy as np

CHANNELS: Tuple[str, str, str, str, str, str]

PathLike = Union[str, os.PathLike[str]]
Number = Union[int, float]
PhasorLike = Union[complex, float, int, Tuple[float, float]]

class State:
    name: str
    duration: float
    start: float
    frequency: float
    trigger: bool
    kind: str
    phasors: np.ndarray
    dc_offset: bool
    tau: Optional[float]
    outputs: Dict[str, int]
    catalogue_result: int
    @property
    def voltages(self) -> np.ndarray: ...
    @property
    def currents(self) -> np.ndarray: ...

class Sequence:
    def __init__(
        self,
        *,
        rate: Optional[Number] = ...,
        nominal_voltage: Optional[Number] = ...,
        frequency: Optional[Number] = ...,
        station: Optional[str] = ...,
        device: Optional[str] = ...,
        start: Union[datetime, str, None] = ...,
    ) -> None: ...
    @classmethod
    def parse(cls, text: Union[str, bytes]) -> Sequence: ...
    @classmethod
    def load(cls, path: PathLike) -> Sequence: ...
    def add_state(
        self,
        name: str,
        duration: Number,
        *,
        phasors: Optional[Mapping[str, PhasorLike]] = ...,
        fault: Optional[Mapping[str, Any]] = ...,
        impedance: Optional[Mapping[str, Any]] = ...,
        frequency: Optional[Number] = ...,
        trigger: bool = ...,
        dc_offset: Union[bool, Number] = ...,
        outputs: Optional[Mapping[str, int]] = ...,
    ) -> Sequence: ...
    def assess(
        self,
        name: str,
        channel: str,
        state: str,
        expected: Optional[Number] = ...,
        *,
        until: Optional[str] = ...,
        absolute: Number = ...,
        relative: Number = ...,
    ) -> Sequence: ...
    @property
    def document(self) -> Dict[str, Any]: ...
    def to_json(self, indent: Optional[int] = ...) -> str: ...
    def save(self, path: PathLike) -> None: ...
    @property
    def station(self) -> str: ...
    @property
    def device(self) -> str: ...
    @property
    def rate(self) -> float: ...
    @property
    def nominal_voltage(self) -> float: ...
    @property
    def frequency(self) -> float: ...
    @property
    def start(self) -> Union[datetime, str, None]: ...
    @property
    def trigger_time(self) -> float: ...
    @property
    def digital_names(self) -> List[str]: ...
    @property
    def assessments(self) -> List[Dict[str, Any]]: ...
    @property
    def states(self) -> List[State]: ...
    def waveforms(self, rate: Optional[Number] = ...) -> Waveforms: ...
    def write_comtrade(
        self,
        stem: PathLike,
        format: str = ...,
        revision: int = ...,
        single_file: bool = ...,
        rate: Optional[Number] = ...,
    ) -> List[str]: ...

class _Views(Mapping[str, np.ndarray]):
    def index(self, key: Union[str, int]) -> int: ...
    def __getitem__(self, key: Union[str, int]) -> np.ndarray: ...  # type: ignore[override]
    def __iter__(self) -> Iterator[str]: ...
    def __len__(self) -> int: ...

class Waveforms:
    rate: float
    samples: int
    times: np.ndarray
    values: np.ndarray
    analog: _Views
    digital: _Views
    def write_comtrade(
        self, stem: PathLike, format: str = ..., revision: int = ..., single_file: bool = ...
    ) -> List[str]: ...

class AnalogChannel:
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

class DigitalChannel:
    name: str
    phase: str
    circuit: str
    normal: int

class PhaseGroup:
    unit: str
    channels: Tuple[str, str, str]
    indices: Tuple[int, int, int]

class Components:
    group: PhaseGroup
    positive: complex
    negative: complex
    zero: complex

class PhasorsAtTime:
    time: float
    channels: Dict[str, Optional[complex]]
    values: List[Optional[complex]]
    components: List[Optional[Components]]

class CyclePhasors:
    times: np.ndarray
    channels: np.ndarray
    components: np.ndarray
    names: List[str]
    groups: List[PhaseGroup]
    def __getitem__(self, name: str) -> np.ndarray: ...

class Record:
    configuration: str
    station: str
    device: str
    revision: int
    format: str
    frequency: float
    rates: List[Tuple[float, int]]
    samples: int
    start: Union[datetime, str]
    trigger: Union[datetime, str]
    trigger_offset: float
    time_multiplier: float
    header: str
    information: str
    analog_channels: List[AnalogChannel]
    digital_channels: List[DigitalChannel]
    phase_groups: List[PhaseGroup]
    times: np.ndarray
    values: np.ndarray
    states: np.ndarray
    analog: _Views
    digital: _Views
    def phasors_at(self, t: float, from_trigger: bool = ...) -> PhasorsAtTime: ...
    def phasors_every_cycle(self) -> CyclePhasors: ...
    def first_rising_edge(
        self, channel: Union[str, int], after: float = ..., from_trigger: bool = ...
    ) -> Optional[float]: ...

def read(path: PathLike, values: str = ...) -> Record: ...
def from_bytes(
    configuration: Union[str, bytes], data: bytes, *, name: str = ..., values: str = ...
) -> Record: ...
def from_cff(cff: bytes, *, name: str = ..., values: str = ...) -> Record: ...

class AssessmentResult:
    name: str
    passed: bool
    measured: Optional[float]
    low: Optional[float]
    high: Optional[float]

class Assessment(List[AssessmentResult]):
    @property
    def passed(self) -> bool: ...

def assess(sequence: Union[Sequence, PathLike], record: Union[Record, PathLike]) -> Assessment: ...
