"""Precise point positioning: deployments, files, engines.

    import gnx
    run = gnx.replay(gnx.Deployment.open("site"), ["site.rnx.gz", "brdc.rnx.gz", "orbits.sp3.gz", "clocks.clk.gz"])
    run.time, run.position, run.covariance, run.state      # numpy arrays, one row an epoch

Record by record, as a live host has them:

    engine = gnx.Engine(site)
    for event in gnx.read(files, deployment=site):
        if solution := engine.feed(event):
            print(solution.time, solution.position, solution.state)

The engine runs in a process of its own unless told otherwise. What goes wrong is a gnx.Error with file and line.
Times are GPS time, metres and degrees unless said otherwise.
"""
from ._gnx import (
    BandSolution,
    BroadcastEph,
    Clocks,
    CorrectionBatch,
    Deployment,
    Engine,
    Error,
    Event,
    EventStream,
    GlonassEph,
    GpsTime,
    IntegerJudge,
    IntegerPolicy,
    ObsEpoch,
    ObsHeader,
    ObservationReader,
    OrbitClockCorrection,
    Orbits,
    Run,
    SatBiases,
    SatelliteSolution,
    SatObs,
    SignalBias,
    SignalObs,
    Solution,
    State,
    StreamStart,
    ValueFate,
    __version__,
    read,
    read_clocks,
    read_messages,
    read_orbits,
    replay,
)

__all__ = [name for name in dir() if not name.startswith("_")]
