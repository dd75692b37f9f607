import enum
import os
from typing import Callable, Dict, Iterator, List, Optional, Set, Tuple, Union

import numpy as np
import numpy.typing as npt

Path = Union[str, "os.PathLike[str]"]
Vector = Tuple[float, float, float]
Array = npt.NDArray[np.float64]
Times = npt.NDArray[np.datetime64]

__version__: str

class Error(RuntimeError): ...

class GpsTime:
    def __init__(
        self, year: int, month: int, day: int, hour: int = 0, minute: int = 0, second: float = 0.0
    ) -> None: ...
    @staticmethod
    def from_seconds(seconds: int, fraction: float = 0.0) -> GpsTime: ...
    @property
    def seconds(self) -> int: ...
    @property
    def fraction(self) -> float: ...
    def __add__(self, seconds: float) -> GpsTime: ...
    def __sub__(self, other: GpsTime) -> float: ...
    def __lt__(self, other: GpsTime) -> bool: ...

class SignalObs:
    def __init__(
        self,
        code: str,
        phase: float = 0.0,
        range: float = 0.0,
        doppler: float = 0.0,
        snr: float = 0.0,
        lli: int = 0,
    ) -> None: ...
    @property
    def code(self) -> str: ...
    phase: float
    range: float
    doppler: float
    snr: float
    lli: int

class SatObs:
    def __init__(self, sat: str, signals: List[SignalObs]) -> None: ...
    sat: str
    signals: List[SignalObs]

class ObsEpoch:
    def __init__(self, time: GpsTime, sats: List[SatObs]) -> None: ...
    time: GpsTime
    sats: List[SatObs]

class ObsHeader:
    marker: str
    receiver: str
    antenna: str
    position: Vector
    antenna_delta: Vector
    types: Dict[str, List[str]]
    interval: float

class ObservationReader:
    def __init__(self, path: str) -> None: ...
    @property
    def header(self) -> ObsHeader: ...
    def __iter__(self) -> Iterator[ObsEpoch]: ...
    def __next__(self) -> ObsEpoch: ...

class BroadcastEph:
    sat: str
    toc: GpsTime
    toe: GpsTime
    transmission: GpsTime
    iode: int
    iodc: int
    health: int
    accuracy: int
    code: int
    l2flag: int
    af: Vector
    tgd: Tuple[float, float]
    crs: float
    delta_n: float
    m0: float
    cuc: float
    e: float
    cus: float
    sqrt_a: float
    cic: float
    omega0: float
    cis: float
    i0: float
    crc: float
    omega: float
    omega_dot: float
    idot: float

class GlonassEph:
    sat: str
    toe: GpsTime
    frame: GpsTime
    tau: float
    gamma: float
    position: Vector
    velocity: Vector
    acceleration: Vector
    health: int
    channel: int
    age: int

class OrbitClockCorrection:
    def __init__(
        self, sat: str, iod: int, deph: Vector, ddeph: Vector = ..., dclk: Vector = ...
    ) -> None: ...
    sat: str
    iod: int
    deph: Vector
    ddeph: Vector
    dclk: Vector

class SignalBias:
    def __init__(self, signal: str, value: float, discontinuity: int = 0) -> None: ...
    signal: str
    value: float
    discontinuity: int

class SatBiases:
    def __init__(self, sat: str, code: List[SignalBias] = ..., phase: List[SignalBias] = ...) -> None: ...
    sat: str
    code: List[SignalBias]
    phase: List[SignalBias]

class CorrectionBatch:
    def __init__(
        self,
        delivery: GpsTime,
        tag: GpsTime,
        corrections: List[OrbitClockCorrection],
        biases: List[SatBiases] = ...,
    ) -> None: ...
    delivery: GpsTime
    tag: GpsTime
    corrections: List[OrbitClockCorrection]
    biases: List[SatBiases]

class Orbits:
    @property
    def satellites(self) -> List[str]: ...
    @property
    def agency(self) -> str: ...
    def positions(self, satellite: str) -> Tuple[Times, Array]: ...

class Clocks:
    @property
    def satellites(self) -> List[str]: ...
    @property
    def agency(self) -> str: ...
    def biases(self, satellite: str) -> Tuple[Times, Array]: ...

def read_orbits(paths: List[str]) -> Orbits: ...
def read_clocks(paths: List[str]) -> Clocks: ...
def read_messages(paths: List[str]) -> Tuple[List[BroadcastEph], List[GlonassEph]]: ...

class Deployment:
    @staticmethod
    def open(directory: Path) -> Deployment: ...
    @staticmethod
    def make(
        directory: Path,
        systems: str = "GE",
        antex: str = "",
        mode: str = "static",
        interval: float = 30.0,
        cutoff: float = 7.0,
        date: Optional[GpsTime] = None,
        refpoint: str = "CoM_ITRF",
        resolution: bool = True,
        overrides: Dict[str, str] = ...,
    ) -> Deployment: ...
    @property
    def directory(self) -> os.PathLike[str]: ...
    @property
    def notes(self) -> List[str]: ...
    def check(self) -> List[str]: ...
    def explain(self) -> str: ...

class StreamStart:
    def __init__(
        self, header: ObsHeader, corrected: Dict[str, Set[str]] = ..., first: Optional[GpsTime] = None
    ) -> None: ...
    first: Optional[GpsTime]
    header: ObsHeader
    corrected: Dict[str, Set[str]]
    @property
    def notes(self) -> List[str]: ...

class Event:
    @property
    def time(self) -> GpsTime: ...
    @property
    def record(self) -> Union[StreamStart, BroadcastEph, GlonassEph, CorrectionBatch, ObsEpoch]: ...

class EventStream:
    @property
    def start(self) -> StreamStart: ...
    @property
    def share(self) -> float: ...
    def __iter__(self) -> Iterator[Event]: ...
    def __next__(self) -> Event: ...

def read(
    files: List[str],
    deployment: Optional[Deployment] = None,
    start: Optional[GpsTime] = None,
    end: Optional[GpsTime] = None,
) -> EventStream: ...

class State(enum.Enum):
    NONE = ...
    CODES = ...
    FLOAT = ...
    EXTRA_WIDE_LANE = ...
    WIDE_LANE = ...
    FIXED = ...

class ValueFate:
    @property
    def fate(self) -> str: ...
    @property
    def residual(self) -> float: ...
    @property
    def float_residual(self) -> float: ...
    @property
    def sigma(self) -> float: ...

class BandSolution:
    @property
    def band(self) -> str: ...
    @property
    def signal(self) -> str: ...
    @property
    def snr(self) -> float: ...
    @property
    def code(self) -> ValueFate: ...
    @property
    def phase(self) -> ValueFate: ...
    @property
    def ambiguity(self) -> Optional[float]: ...

class SatelliteSolution:
    @property
    def sat(self) -> str: ...
    @property
    def azimuth(self) -> float: ...
    @property
    def elevation(self) -> float: ...
    @property
    def bands(self) -> List[BandSolution]: ...
    @property
    def ionosphere(self) -> Optional[Tuple[float, float]]: ...

class Solution:
    @property
    def time(self) -> GpsTime: ...
    @property
    def state(self) -> State: ...
    @property
    def why(self) -> str: ...
    @property
    def position(self) -> Array: ...
    @property
    def covariance(self) -> Array: ...
    @property
    def fixed(self) -> int: ...
    @property
    def ratio(self) -> float: ...
    @property
    def sigma0(self) -> float: ...
    @property
    def pdop(self) -> float: ...
    @property
    def zenith_delay(self) -> float: ...
    @property
    def zenith_sigma(self) -> float: ...
    @property
    def clocks(self) -> Dict[str, float]: ...
    @property
    def ages(self) -> Dict[str, Optional[float]]: ...
    @property
    def satellites(self) -> List[SatelliteSolution]: ...
    @property
    def milliseconds(self) -> float: ...

class IntegerPolicy:
    resolved: bool
    @property
    def misfits(self) -> Dict[str, float]: ...
    @property
    def remarks(self) -> List[str]: ...

class IntegerJudge:
    def __init__(self, deployment: Deployment, start: StreamStart) -> None: ...
    def take(self, record: Union[BroadcastEph, CorrectionBatch, ObsEpoch]) -> None: ...
    def verdict(self, orbits: str = "", clocks: str = "", phase_biases: str = "") -> IntegerPolicy: ...

class Engine:
    def __init__(
        self,
        deployment: Deployment,
        mode: Optional[str] = None,
        in_process: bool = False,
        directory: str = "",
        output_options: str = "",
        worker: str = "",
        state: bytes = b"",
        on_event: Optional[Callable[[str, Dict[str, str]], None]] = None,
    ) -> None: ...
    def start(self, start: StreamStart) -> None: ...
    def feed(
        self, record: Union[Event, ObsEpoch, BroadcastEph, GlonassEph, CorrectionBatch]
    ) -> Optional[Solution]: ...
    def obey(self, policy: IntegerPolicy) -> None: ...
    def saved_state(self) -> bytes: ...
    def restart(self) -> None: ...
    def finish(self) -> None: ...
    @property
    def directory(self) -> os.PathLike[str]: ...
    @property
    def signals(self) -> str: ...
    @property
    def warnings(self) -> List[str]: ...
    @property
    def notes(self) -> List[str]: ...

class Run:
    def __len__(self) -> int: ...
    def __getitem__(self, index: int) -> Solution: ...
    def __iter__(self) -> Iterator[Solution]: ...
    @property
    def time(self) -> Times: ...
    @property
    def position(self) -> Array: ...
    @property
    def covariance(self) -> Array: ...
    @property
    def state(self) -> Array: ...
    @property
    def pdop(self) -> Array: ...
    @property
    def ratio(self) -> Array: ...
    @property
    def zenith_delay(self) -> Array: ...
    def enu(self, reference: Optional[Vector] = None) -> Array: ...

def replay(
    deployment: Deployment,
    files: List[str],
    mode: Optional[str] = None,
    in_process: bool = False,
    directory: str = "",
    output_options: str = "",
    worker: str = "",
) -> Run: ...
