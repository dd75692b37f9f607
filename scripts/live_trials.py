#!/usr/bin/env python3
"""Live runs under trial: a sky or a recording through a caster on loopback, whole, late, damaged, broken off.

    scripts/live_trials.py --gnx build/release/gnx --out /tmp/trials            # 1, 5 and 20 Hz, the short form
    scripts/live_trials.py --gnx ... --out ... --minutes 60 --speed 1           # the long form
    scripts/live_trials.py --gnx ... --out ... --memory --hours 10 --speed 20   # memory over time

Prints a line a trial: epochs of the stream, those without a solution and those of them that were sent whole,
distance to the positions of the stream read as a file and to those of what was sent read as a file, time from the
last byte of an epoch to its line of JSON beyond the engine's own, memory. Ends with 1 when a trial fails."""

import argparse
import csv
import json
import random
import re
import signal
import socket
import statistics
import subprocess
import sys
import threading
import time
from datetime import datetime, timedelta
from pathlib import Path

FAULTS = {"whole": {}, "late": {"delay_s": 0.5}, "damaged": {"damage": 0.05}, "broken": {"restart_s": 60.0},
          "all": {"delay_s": 0.5, "damage": 0.05, "restart_s": 60.0}}
MSM = {first + kind for first in (1070, 1080, 1090, 1110, 1120) for kind in (4, 5, 6, 7)}


def bits(data, offset, count):
    value = int.from_bytes(data, "big") >> (len(data) * 8 - offset - count)
    return value & ((1 << count) - 1)


def pieces_of(path):
    """Frames of a file with their seconds of the week; those without a time go with the one before."""
    data, at, now, pieces, whole = Path(path).read_bytes(), 0, None, [], []
    while at + 6 <= len(data):
        if data[at] != 0xD3:
            at += 1
            continue
        size = bits(data[at:at + 3], 14, 10)
        frame, payload = data[at:at + size + 6], data[at + 3:at + 3 + size]
        at += size + 6
        message = bits(payload, 0, 12)
        if message in MSM and message // 10 in (107, 109, 111):
            now = bits(payload, 24, 30) / 1000.0
        elif 1057 <= message <= 1062 or 1240 <= message <= 1245:
            now = float(bits(payload, 12, 20))
        pieces.append((now, frame, message in MSM))
    first = next(t for t, _, _ in pieces if t is not None)
    pieces = [(first if t is None else t, frame, observed) for t, frame, observed in pieces]
    return pieces


class Caster:
    """Serves one stream to whoever comes, by the clock of the trial."""

    def __init__(self, pieces, clock, damage=0.0, restart_s=0.0, delay_s=0.0):
        self.pieces, self.clock, self.damage, self.restart_s, self.delay_s = pieces, clock, damage, restart_s, delay_s
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        self.random, self.sent, self.missing, self.finished = random.Random(1), {}, {}, False
        self.connections, self.bytes = 0, bytearray()
        for t, _, observed in pieces:
            self.missing[t] = self.missing.get(t, 0) + observed
        threading.Thread(target=self.accept, daemon=True).start()

    def url(self):
        return f"ntrip://127.0.0.1:{self.port}/SKY?silence=0"

    def accept(self):
        while True:
            client, _ = self.socket.accept()
            try:
                client.recv(4096)
                client.sendall(b"ICY 200 OK\r\n\r\n")
                self.connections += 1
                self.serve(client)
            except OSError:
                pass
            client.close()

    def serve(self, client):
        begun = self.clock.now()
        for t, frame, observed in self.pieces:
            due = t + self.delay_s
            if due < begun - 0.2:
                continue
            if self.restart_s and due - begun > self.restart_s:
                return
            self.clock.sleep_until(due)
            bad = self.random.random() < self.damage
            if bad:
                frame = frame[:len(frame) // 2] + bytes([frame[len(frame) // 2] ^ 0x55]) + frame[len(frame) // 2 + 1:]
            client.sendall(frame)
            self.bytes += frame
            self.missing[t] -= observed and not bad
            if observed:
                self.sent[t] = time.monotonic()
        self.finished = True
        time.sleep(3600)


class Clock:
    """Seconds of the week, faster than the machine's by a factor."""

    def __init__(self, start, speed):
        self.start, self.speed, self.begun = start, speed, time.monotonic()

    def now(self):
        return self.start + (time.monotonic() - self.begun) * self.speed

    def sleep_until(self, t):
        wait = (t - self.now()) / self.speed
        if wait > 0:
            time.sleep(wait)


class Live:
    """A run of gnx live and the lines that it gives."""

    def __init__(self, gnx, clock, week_start, out, choices):
        with socket.create_server(("127.0.0.1", 0)) as spare:
            self.port = spare.getsockname()[1]
        start = week_start + timedelta(seconds=clock.now())
        words = [gnx, "live", "--quiet", "--start", start.isoformat(), "--speed", str(clock.speed), "--solution-name",
                 "solution.csv", "--json", f"tcp-listen://127.0.0.1:{self.port}", "--out", str(out)] + choices
        self.process, self.lines = subprocess.Popen(words), {}
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        link = None
        for _ in range(100):
            try:
                link = socket.create_connection(("127.0.0.1", self.port))
                break
            except OSError:
                time.sleep(0.1)
        for line in link.makefile() if link else []:
            came = time.monotonic()
            try:
                self.lines[round(json.loads(line)["sow_s"], 3)] = came
            except ValueError:
                pass

    def memory_kb(self):
        pids = [self.process.pid]
        try:
            pids += [int(p) for p in Path(f"/proc/{pids[0]}/task/{pids[0]}/children").read_text().split()]
            return [int(re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{p}/status").read_text())[1]) for p in pids]
        except (OSError, TypeError):
            return []

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self):
        begun = time.monotonic()
        self.process.send_signal(signal.SIGTERM)
        status = self.process.wait(10)
        return status, time.monotonic() - begun


def positions(path):
    with open(path) as file:
        return {round(float(r["sow_s"]), 3): r for r in csv.DictReader(file)}


def apart(a, b, status=None):
    """Distances between the positions of two runs at their common epochs, both of a state or of the same one."""
    def distance(p, q):
        return sum((float(p[k]) - float(q[k])) ** 2 for k in ("x_m", "y_m", "z_m")) ** 0.5
    both = [t for t in a if t in b and a[t]["status"] == b[t]["status"] != "0"]
    both = [t for t in both if status in (None, a[t]["status"])]
    return sorted(distance(a[t], b[t]) for t in both) or [9.9]


def words_of(distances):
    most = distances[int(0.95 * (len(distances) - 1))]
    return f"{statistics.median(distances) * 1e3:.1f} mm, 95 % {most * 1e3:.1f} mm"


def run_over_file(options, stream, out):
    subprocess.run([options.gnx, "live", "--quiet", "--obs", f"file://{stream}?speed=0", "--solution-name",
                    "solution.csv", "--out", str(out)] + options.choices, check=True)
    return positions(out / "solution.csv")


def simulate(options, rate_hz, hours, out):
    subprocess.run([options.gnx, "simulate", str(out), "--date", "2026-11-21T04:00:00", "--hours", f"{hours:.4f}",
                    "--interval", str(1.0 / rate_hz), "--clock-interval", "5", "--rtcm", "--quiet",
                    "--no-satellite-truth"], check=True)
    return out / "stream.rtcm3"


def trial(options, name, stream, as_file, **faults):
    pieces = pieces_of(stream)
    out = options.out / name
    clock = Clock(pieces[0][0] - 2.0 * options.speed, options.speed)
    caster = Caster(pieces, clock, **faults)
    live = Live(options.gnx, clock, datetime(2026, 11, 15), out, ["--obs", caster.url()] + options.choices)
    while not caster.finished and clock.now() < pieces[-1][0] + 5.0 + options.speed:
        time.sleep(0.1)
    time.sleep(1.0)
    status, ending = live.end()

    (out / "sent.rtcm3").write_bytes(caster.bytes)
    same = run_over_file(options, out / "sent.rtcm3", out / "as_file")

    epochs = sorted({t for t, _, observed in pieces if observed})
    got = positions(out / "solution.csv")
    log = (out / "live.log").read_text()
    lost = [t for t in epochs if round(t, 3) not in got]
    unexplained = [t for t in lost if caster.missing[t] == 0]
    between = [t for t in lost if got and min(got) < t < max(got)]
    counted = int(re.search(r"(\d+) did not come", log)[1])
    other = [t for t in set(got) | set(same) if (t in got) != (t in same) or got[t]["status"] != same[t]["status"]]
    count = lambda rows: sum(r["status"] == "5" for r in rows.values())
    own = [float(r["milliseconds"]) for r in got.values() if r["status"] != "0"]
    total = [1e3 * (live.lines[t] - caster.sent[t]) for t in live.lines if t in caster.sent]
    beyond = statistics.median(total) - statistics.median(own) if total and own else float("nan")
    print(f"{name:12s} epochs {len(epochs)}, without solution {len(lost)}, of these sent whole {len(unexplained)}, "
          f"{counted} counted as missing by the run; "
          f"{caster.connections} connections; fixed {count(got)}, of the file {count(as_file)}, both apart by "
          f"{words_of(apart(got, as_file, '5'))}; what was sent as a file: {len(other)} epochs differ in state, the "
          f"others by {words_of(apart(got, same))}; {beyond:.1f} ms beyond the engine's "
          f"{statistics.median(own or [0.0]):.1f} ms; ended with {status} in {ending:.2f} s", flush=True)
    fractions = {round(t % 1.0, 3) for t in got}
    ok = status == 0 and ending < 1.0 and not unexplained and counted == len(between) and "Traceback" not in log
    return ok and len(fractions) >= min(len({round(t % 1.0, 3) for t in epochs}), 20)


def memory(options):
    stream = simulate(options, 1, options.hours, options.out / "sky_long")
    pieces = pieces_of(stream)
    clock = Clock(pieces[0][0] - 2.0 * options.speed, options.speed)
    caster = Caster(pieces, clock)
    choices = ["--obs", caster.url()] + options.choices
    live = Live(options.gnx, clock, datetime(2026, 11, 15), options.out / "memory", choices)
    series = []
    while not caster.finished and clock.now() < pieces[-1][0] + 60.0:
        time.sleep(options.hours * 3600.0 / options.speed / 40.0)
        series.append(live.memory_kb())
        print(f"{(clock.now() - clock.start) / 3600.0:6.2f} h  kB {series[-1]}", flush=True)
    live.end()
    series = [s for s in series if len(s) == 2]
    half = series[len(series) // 2]
    growth = [b - a for a, b in zip(half, series[-1])]
    print(f"growth over the second half: supervisor {growth[0]} kB, engine {growth[1]} kB", flush=True)
    return max(growth) < 10000


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--gnx", required=True)
    parser.add_argument("--out", type=Path, required=True)
    parser.add_argument("--minutes", type=float, default=8.0)
    parser.add_argument("--speed", type=float, default=4.0)
    parser.add_argument("--rates", default="1,5,20")
    parser.add_argument("--faults", default=",".join(FAULTS), help="names of trials")
    parser.add_argument("--memory", action="store_true")
    parser.add_argument("--hours", type=float, default=2.0)
    options = parser.parse_args()
    options.choices = ["--systems", "GEC", "--mode", "static", "--fix"]
    options.out.mkdir(parents=True, exist_ok=True)
    if options.memory:
        sys.exit(0 if memory(options) else 1)
    good = True
    for rate in [int(r) for r in options.rates.split(",")]:
        stream = simulate(options, rate, options.minutes / 60.0, options.out / f"sky{rate}")
        reference = run_over_file(options, stream, options.out / f"file{rate}")
        for name in options.faults.split(","):
            good = trial(options, f"{rate}Hz_{name}", stream, reference, **FAULTS[name]) and good
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
