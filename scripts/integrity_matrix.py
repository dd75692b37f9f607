#!/usr/bin/env python3
"""Integrity of integer fixes over a matrix of simulated conditions, with the settings that a user gets.

Simulates each sky once, replays it with every choice of systems, frequencies and mode that it serves, and holds the
solutions against the truth. A sky has all systems and three frequencies; a run takes its part. Seeds differ in
satellites, noise, date, hour of the day and site; sites of runs with QZSS are in view of it. Static data serve the
modes static and kinematic, a receiver on a circle of 200 m at 10 m/s the mode dynamic.

The folder keeps runs.csv, one line a run. Runs that it holds are not repeated: the same call goes on where an
earlier one ended, and a call with more seeds adds theirs. It serves one build of the engine and one set of options.
"""

import argparse
import concurrent.futures
import csv
import hashlib
import itertools
import json
import math
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile
import threading

sys.dont_write_bytecode = True  # the folder of the sources stays clean
import integrity_measures as measures  # noqa: E402
import integrity_tables as tables  # noqa: E402

SYSTEMS = ["G", "E", "C", "GE", "GC", "EC", "GEC", "GECJ"]
MODES = ["static", "kinematic", "dynamic"]
FREQUENCIES = ["2", "3"]
INTERVALS = ["5", "30"]
HOURS = {"1": 0.5, "5": 2.0 / 3.0, "30": 2.0}
THREE = {"G": "GPS:L1_L2_L5", "E": "GAL:E1_E5a_E5b", "C": "BD3:B1_B3_B2a", "J": "QZS:L1_L2_L5"}

# Noise at the zenith, m: white and slow errors of ranges and phases.
NOISE = {"--code-sigma": 0.3, "--phase-sigma": 0.003, "--code-multipath": 0.2, "--phase-multipath": 0.001}

RUNS, MADE_BY = "runs.csv", "made_by.json"
KEYS = ["systems", "mode", "frequencies", "interval", "condition", "seed", "hours"]
COLUMNS = [*KEYS, *measures.MEASURES, "integer_epochs", "wrong_integer_epochs", "cpu_s"]

# Latitude, longitude, height: Europe, Africa, the Americas; and places from which QZSS is high.
SITES = [(47.5, 8.5, 450), (60.2, 24.9, 30), (-1.3, 36.8, 1700), (40.0, -105.3, 1650), (-33.4, -70.6, 550),
         (64.1, -21.9, 40), (28.5, -16.3, 600), (-33.9, 18.5, 30), (35.9, 14.4, 80), (-15.8, -47.9, 1100)]
QZSS_SITES = [(35.7, 139.7, 50), (1.4, 103.8, 20), (-31.9, 115.9, 30), (14.6, 121.0, 40), (-27.5, 153.0, 30)]


def no_faults(hours):
    return []


def sent_wrong(kind):
    return lambda hours: [{"kind": kind, "from": 0, "to": 3600.0 * hours}]


def stale_biases(hours):
    """From three eighths of the run on no phase biases come, and the true ones drift."""
    from_ = 1350.0 * hours
    return [{"kind": "ssr_phase_gap", "from": from_, "to": 3600.0 * hours},
            {"kind": "bias_drift", "from": from_, "size": 0.5}]


def stale_biases_jump(hours):
    """The same, and the true ones jump five minutes later."""
    faults = stale_biases(hours)
    return [faults[0], {"kind": "bias_jump", "from": faults[0]["from"] + 300.0, "size": 0.5}]


def stale_orbits(hours):
    return [{"kind": "ssr_orbit_gap", "from": 1350.0 * hours, "to": 3600.0 * hours}]


# Options of the simulator beside the noise, and faults.
CONDITIONS = {
    "nominal": ({}, no_faults),
    "doubled": ({name: 2.0 * value for name, value in NOISE.items()}, no_faults),
    "multipath": ({"--code-multipath": 1.0, "--phase-multipath": 0.005}, no_faults),
    "urban": ({"--urban": ""}, no_faults),
    "ionosphere": ({"--day-tec": 250, "--wave-tec": 3}, no_faults),
    "flipped": ({}, sent_wrong("ssr_phase_sign")),
    "random": ({}, sent_wrong("ssr_phase_random")),
    "stale": ({}, stale_biases),
    "stalejump": ({}, stale_biases_jump),
    "outage": ({}, stale_orbits),
}


class Sky:
    """One simulation and the runs that are still to be made on it."""

    def __init__(self, moving, interval, condition, seed, qzss):
        self.moving, self.interval, self.condition, self.seed, self.qzss = moving, interval, condition, seed, qzss
        self.runs = []

    def start(self, longitude):
        """Any day of four weeks and any hour; about noon at the site for a thick ionosphere."""
        seconds = (self.seed * 7 % 23) * 3600 + (self.seed * 13 % 60) * 60
        if self.condition == "ionosphere":
            seconds = round((10.0 + self.seed % 5 - longitude / 15.0) * 60) % 1440 * 60
        day = 1 + self.seed * 11 % 28
        return f"2026-11-{day:02d}T{seconds // 3600:02d}:{seconds // 60 % 60:02d}:00"

    def arguments(self, hours):
        sites = QZSS_SITES if self.qzss else SITES
        latitude, longitude, height = sites[self.seed % len(sites)]
        options = {**NOISE, **CONDITIONS[self.condition][0], "--hours": hours, "--interval": self.interval,
                   "--seed": self.seed, "--date": self.start(longitude), "--systems": "GECJ" if self.qzss else "GEC"}
        words = [str(word) for option in options.items() for word in option if word != ""]
        words += ["--site", str(latitude), str(longitude), str(height), "--quiet"]
        return words + (["--path", "circle", "--radius", "200", "--speed", "10"] if self.moving else [])


def takes_part(options, seed, condition, interval, moving, qzss):
    """With --every N a seed takes the N-th part of the skies, the next seed others: each comes with several seeds."""
    kinds = list(itertools.product(options.conditions, options.intervals, (False, True), (False, True)))
    return (kinds.index((condition, interval, moving, qzss)) + seed) % options.every == 0


def wanted_skies(options, done):
    """The simulations of the selection with the runs that the folder lacks."""
    skies = {}
    chosen = itertools.product(options.seed_list, options.conditions, options.intervals, options.systems, options.modes,
                               options.frequencies)
    for seed, condition, interval, systems, mode, frequencies in chosen:
        hours = options.hours or HOURS.get(interval, 2.0)
        key = (systems, mode, frequencies, interval, condition, str(seed), f"{hours:.3f}")
        if key in done:
            continue
        name = (seed, condition, interval, mode == "dynamic", "J" in systems)
        if not takes_part(options, *name):
            continue
        sky = skies.setdefault(name, Sky(mode == "dynamic", interval, condition, seed, "J" in systems))
        sky.hours = hours
        sky.runs.append(dict(zip(KEYS, key)))
    return list(skies.values())


def run_program(words):
    """Runs a program to its end and returns its CPU seconds, those of its own children included."""
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen([str(word) for word in words], stdout=output, stderr=subprocess.STDOUT)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            output.seek(0)
            text = output.read().decode(errors="replace")[-2000:]
            raise RuntimeError(f"{shlex.join(str(w) for w in words)}\nended with {process.returncode}: {text}")
    return usage.ru_utime + usage.ru_stime


class Matrix:
    """The folder of results and the work that fills it."""

    def __init__(self, options):
        self.options, self.folder = options, options.results
        self.lock, self.failures = threading.Lock(), []
        self.folder.mkdir(parents=True, exist_ok=True)
        self.check_identity()
        self.file = self.folder / RUNS
        if not self.file.exists():
            self.file.write_text(",".join(COLUMNS) + "\n")

    def check_identity(self):
        """Runs of two builds in one table would be a lie about both."""
        digest = hashlib.sha256()
        program = self.options.gnx.resolve()
        for binary in [program, *sorted(program.parent.glob("libGNX_*.so*"))]:
            digest.update(binary.read_bytes())
        identity = {"program": digest.hexdigest(), "replay": self.options.replay, "simulate": self.options.simulate}
        note = self.folder / MADE_BY
        if note.exists() and json.loads(note.read_text()) != identity:
            sys.exit(f"{self.folder} holds runs of another build or with other options; choose another --results, "
                     "or remove it")
        note.write_text(json.dumps(identity) + "\n")

    def rows(self):
        with open(self.file, newline="") as lines:
            return list(csv.DictReader(lines))

    def add(self, row):
        with self.lock, open(self.file, "a", newline="") as lines:
            csv.DictWriter(lines, COLUMNS).writerow(row)

    def run_sky(self, sky):
        """Simulates a sky, makes its runs and returns how many they are."""
        data = pathlib.Path(tempfile.mkdtemp(prefix=f"{sky.condition}_{sky.seed}_", dir=self.folder))
        try:
            self.simulate(sky, data)
            for run in sky.runs:
                self.add({**run, **self.replay(run, data)})
        except (RuntimeError, OSError, ValueError) as error:
            with self.lock:
                self.failures.append(f"{sky.condition}, seed {sky.seed}: {error}")
        finally:
            if not self.options.keep:
                shutil.rmtree(data, ignore_errors=True)
        return len(sky.runs)

    def simulate(self, sky, data):
        words = [self.options.gnx, "simulate", data, *sky.arguments(sky.hours), *shlex.split(self.options.simulate)]
        faults = CONDITIONS[sky.condition][1](sky.hours)
        if faults:
            (data / "faults.json").write_text(json.dumps(faults))
            words += ["--faults", data / "faults.json"]
        if not self.options.integers:
            words.append("--no-satellite-truth")
        run_program(words)

    def replay(self, run, data):
        out = data / f"{run['systems']}_{run['mode']}_{run['frequencies']}"
        words = [self.options.gnx, "replay", "--obs", data / "observations.rnx", "--nav", data / "navigation.rnx",
                 "--ssr", data / "corrections.ssr", "--systems", run["systems"], "--mode", run["mode"],
                 "--interval", run["interval"], "--fix", "--quiet", "--out", out,
                 "--details", run["interval"] if self.options.integers else "0", *shlex.split(self.options.replay)]
        if run["frequencies"] == "3":
            words += ["--freqobs", " ".join(THREE[system] for system in run["systems"])]
        row = {"cpu_s": f"{run_program(words):.2f}"}
        row.update(measures.measure(data / "truth.csv", out / "solution.pos"))
        if self.options.integers:
            row.update(self.integers(out))
        if not self.options.keep:
            shutil.rmtree(out)
        return row

    def integers(self, out):
        """Epochs with integers and with a wrong one, from the report of the run."""
        text = subprocess.run([self.options.gnx, "report", out, "--fixes"], capture_output=True, text=True, check=False)
        for line in text.stdout.splitlines():
            if line.startswith("epochs with integers"):
                words = line.replace(",", "").split()
                return {"integer_epochs": words[3], "wrong_integer_epochs": words[-1]}
        return {"integer_epochs": 0, "wrong_integer_epochs": 0}

    def run_all(self):
        done = {tuple(row[key] for key in KEYS) for row in self.rows()}
        skies = wanted_skies(self.options, done)
        count = sum(len(sky.runs) for sky in skies)
        print(f"{count} runs on {len(skies)} simulations, {len(done)} runs are in {self.file}", flush=True)
        finished = 0
        with concurrent.futures.ThreadPoolExecutor(self.options.jobs) as pool:
            for runs in concurrent.futures.as_completed([pool.submit(self.run_sky, sky) for sky in skies]):
                finished += runs.result()
                if sys.stderr.isatty():
                    print(f"\r{finished} of {count} runs", end="", file=sys.stderr, flush=True)
        if sys.stderr.isatty():
            print(file=sys.stderr)


def selected(rows, options):
    """The rows of the folder that the call asks for."""
    seeds = {str(seed) for seed in options.seed_list}
    return [row for row in rows if row["seed"] in seeds and row["systems"] in options.systems
            and row["mode"] in options.modes and row["frequencies"] in options.frequencies
            and row["interval"] in options.intervals and row["condition"] in options.conditions
            and (not options.hours or row["hours"] == f"{options.hours:.3f}")]


def print_tables(rows):
    names = list(CONDITIONS)
    for column, order in (("systems", SYSTEMS), ("frequencies", FREQUENCIES), ("mode", MODES), ("interval", INTERVALS)):
        if column == "systems" or len({row[column] for row in rows}) > 1:
            print("\n" + tables.cross_table(rows, column, names, order))
    print("\n" + tables.summary(rows))


def complaints(rows, options):
    """What exceeds the limits of the call."""
    ordinary = [row for row in rows if row["condition"] in tables.ORDINARY]
    others = [row for row in rows if row["condition"] not in tables.ORDINARY]
    first = [float(row["first_fix_min"] or "inf") for row in ordinary]
    ratios = [value for kind in measures.KINDS for axis in measures.AXES
              for value in [tables.pooled(ordinary, kind, "rated", f"{axis}_per_sigma")] if value is not None]
    checks = [
        ("share of wrong fixes, nominal and doubled", tables.wrong_rate(ordinary) or 0.0, options.max_wrong),
        ("share of wrong fixes, other conditions", tables.wrong_rate(others) or 0.0, options.max_wrong_elsewhere),
        ("latest first fix, nominal and doubled, min", max(first, default=0.0), options.max_first_fix),
        ("largest rms of error / sigma, nominal and doubled", max(ratios, default=math.inf), options.max_error_sigma),
    ]
    found = [f"{name}: {value:.5g} is above {limit:g}" for name, value, limit in checks
             if limit is not None and value > limit]
    if tables.total(rows, "fixed") < options.min_fixed:
        found.append(f"{tables.total(rows, 'fixed')} fixed epochs are fewer than {options.min_fixed}")
    return found


def words_of(choices):
    """A list with commas, each word among the choices."""
    def parse(text):
        words = text.split(",")
        for word in words:
            if word not in choices:
                raise argparse.ArgumentTypeError(f"'{word}' is none of {', '.join(choices)}")
        return words
    return parse


def seeds_of(text):
    """"20" is 1 to 20, "3-5" and "1,7" are themselves."""
    if text.isdigit():
        return list(range(1, int(text) + 1))
    parts = [part.split("-") for part in text.split(",")]
    try:
        return [seed for part in parts for seed in range(int(part[0]), int(part[-1]) + 1)]
    except ValueError:
        raise argparse.ArgumentTypeError("seeds are a number, 3-5 or 1,7") from None


EPILOG = """
conditions: nominal; doubled (twice the noise, white and slow, unknown to the engine); multipath (slow errors of
  1 m and 5 mm); urban (streets, reflections, lost locks); ionosphere (250 TECU at noon with a travelling wave of
  3 TECU); flipped (phase biases sent with the wrong sign); random (sent wrong by up to half a cycle, constant);
  stale, stalejump (phase biases cease, true ones drift by half a cycle an hour or jump by half a cycle, rms);
  outage (orbits and clocks cease)

A full run takes some 10 minutes a seed on two cores, 3 to 4 hours for 20 seeds, with "--every 7" half an hour; --quick
takes half a minute. Of a table, "integer" counts epochs in which an integer of any level is wrong, fixed or not.
"""


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, epilog=EPILOG,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    root = pathlib.Path(__file__).resolve().parent.parent
    add = parser.add_argument
    add("--results", type=pathlib.Path, help="folder of the results; default out/integrity, out/integrity_quick")
    add("--gnx", type=pathlib.Path, default=pathlib.Path(os.environ.get("GNX", root / "build/release/gnx")))
    add("--systems", type=words_of(SYSTEMS), help=",".join(SYSTEMS))
    add("--modes", type=words_of(MODES), help=",".join(MODES))
    add("--frequencies", type=words_of(FREQUENCIES), help="2,3")
    add("--intervals", type=words_of(list(HOURS)), help="seconds: 5,30; or 1")
    add("--conditions", type=words_of(list(CONDITIONS)), help=",".join(CONDITIONS))
    add("--seeds", dest="seed_list", type=seeds_of, help="20 (1 to 20), 3-5 or 1,7")
    add("--every", type=int, default=1, help="of each seed take one sky of so many only, of the next seed others")
    add("--hours", type=float, help="of each run; default 2 at 30 s, 40 minutes at 5 s, 30 minutes at 1 s")
    add("--jobs", type=int, default=2, help="at a time")
    add("--no-integers", dest="integers", action="store_false", help="do not judge the integers: a sixth faster")
    add("--replay", default="", help="further options of gnx replay, in one word")
    add("--simulate", default="", help="further options of gnx simulate, in one word")
    add("--keep", action="store_true", help="keep simulations and runs in the folder")
    add("--quick", action="store_true", help="a small selection, for a test; its folder is begun anew")
    limits = parser.add_argument_group("limits; exit status 1 when one is exceeded")
    limits.add_argument("--max-wrong", type=float, help="share of wrong fixes, nominal and doubled noise")
    limits.add_argument("--max-wrong-elsewhere", type=float, help="the same, other conditions")
    limits.add_argument("--max-first-fix", type=float, help="minutes, nominal and doubled noise, every run")
    limits.add_argument("--max-error-sigma", type=float, help="rms of error / sigma, any axis; no sigmas are too many")
    limits.add_argument("--min-fixed", type=int, default=0, help="fixed epochs")
    options = parser.parse_args()
    complete(options)
    return options


def complete(options):
    """Fills what the call leaves open."""
    small = {"systems": ["G", "GE", "GEC"], "modes": ["kinematic", "dynamic"], "frequencies": FREQUENCIES,
             "intervals": ["30"], "conditions": ["nominal", "doubled", "flipped", "random", "stale"],
             "seed_list": [1, 2]}
    full = {"systems": SYSTEMS, "modes": MODES, "frequencies": FREQUENCIES, "intervals": INTERVALS,
            "conditions": list(CONDITIONS), "seed_list": seeds_of("20")}
    for name, value in (small if options.quick else full).items():
        if getattr(options, name) is None:
            setattr(options, name, value)
    options.results = options.results or pathlib.Path("out/integrity_quick" if options.quick else "out/integrity")
    if options.quick:
        options.hours = options.hours or 1.0
        for name in (RUNS, MADE_BY):
            (options.results / name).unlink(missing_ok=True)
    if not options.gnx.exists():
        sys.exit(f"{options.gnx} does not exist; build the program or name it with --gnx")


def main():
    options = parse_arguments()
    matrix = Matrix(options)
    matrix.run_all()
    rows = selected(matrix.rows(), options)
    if rows:
        print_tables(rows)
    wrong = [f"failed: {failure}" for failure in matrix.failures] + complaints(rows, options)
    for line in wrong:
        print(line, file=sys.stderr)
    return 1 if wrong or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
