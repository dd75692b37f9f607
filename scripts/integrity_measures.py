"""What one run of the engine achieved against the truth of its simulation: fixes, wrong fixes, errors, sigmas."""

import csv
import math

WRONG_M = 0.10  # a fix that is farther off than this is wrong
WRONG_SIGMAS = 5.0  # so is one that is beyond this many of its formal sigmas
SETTLED_S = 900.0  # errors are those after this time
FIX, FLOAT = 1, 2  # quality in a solution file

# Columns of a run: counts first, then values of which a run may have none.
COUNTS = ["epochs", "unsolved", "fixed", "wrong", "known_sigma", "beyond_sigmas"]
KINDS = ["fixed", "float"]
AXES = ["east", "north", "up"]
ERRORS = [f"{kind}_{what}" for kind in KINDS for what in ["settled", *[f"rms_{axis}_m" for axis in AXES]]]
RATIOS = [f"{kind}_{what}" for kind in KINDS for what in ["rated", *[f"{axis}_per_sigma" for axis in AXES]]]
MEASURES = [*COUNTS, "first_fix_min", "share_after", *ERRORS, *RATIOS]


def time_key(text):
    """Second of the day and day, rounded: tags of a wandering clock and of a solution differ by some ticks."""
    day, clock = text.replace("/", "-").replace("T", " ").split()
    hours, minutes, seconds = clock.split(":")
    return day, round(int(hours) * 3600 + int(minutes) * 60 + float(seconds))


def read_truth(file):
    with open(file) as lines:
        return {time_key(row["time_gpst"]): [float(row[c]) for c in ("x_m", "y_m", "z_m")]
                for row in csv.DictReader(lines)}


def read_solutions(file):
    """By epoch: position, quality, covariance in the earth-fixed axes (None where the file has zeros)."""
    solutions = {}
    with open(file) as lines:
        for line in lines:
            if line.startswith("%"):
                continue
            words = line.split()
            sx, sy, sz, sxy, syz, szx = (math.copysign(float(w) ** 2, float(w)) for w in words[7:13])
            covariance = [[sx, sxy, szx], [sxy, sy, syz], [szx, syz, sz]] if min(sx, sy, sz) > 0.0 else None
            position = [float(w) for w in words[2:5]]
            solutions[time_key(words[0] + " " + words[1])] = (position, int(words[5]), covariance)
    return solutions


def local_axes(position):
    """East, north, up; the geocentric vertical is within 0.2 degrees of the true one."""
    x, y, z = position
    r, p = math.hypot(x, y, z), math.hypot(x, y)
    return [[-y / p, x / p, 0.0], [-z * x / (p * r), -z * y / (p * r), p / r], [x / r, y / r, z / r]]


def dot(a, b):
    return sum(u * v for u, v in zip(a, b))


class Moments:
    """Mean squares by axis."""

    def __init__(self):
        self.count, self.sums = 0, [0.0, 0.0, 0.0]

    def add(self, values):
        self.count += 1
        self.sums = [s + v * v for s, v in zip(self.sums, values)]

    def row(self, kind, count_name, names):
        if self.count == 0:
            return {f"{kind}_{count_name}": 0}
        values = [math.sqrt(s / self.count) for s in self.sums]
        return {f"{kind}_{count_name}": self.count, **{f"{kind}_{n}": f"{v:.4f}" for n, v in zip(names, values)}}


def measure(truth_file, solution_file):
    """The measures of a run as a row of text."""
    truth, solutions = read_truth(truth_file), read_solutions(solution_file)
    counts = dict.fromkeys(COUNTS, 0)
    errors = {kind: Moments() for kind in KINDS}
    ratios = {kind: Moments() for kind in KINDS}
    first, after = None, 0
    interval = step(list(truth))
    for k, (time, place) in enumerate(truth.items()):
        counts["epochs"] += 1
        after += first is not None
        if time not in solutions:
            counts["unsolved"] += 1
            continue
        position, quality, covariance = solutions[time]
        difference = [p - t for p, t in zip(position, place)]
        axes = local_axes(place)
        enu = [dot(axis, difference) for axis in axes]
        if quality == FIX:
            if first is None:
                first, after = k * interval, 1
            count_fix(counts, difference, covariance)
        kind = {FIX: "fixed", FLOAT: "float"}.get(quality)
        if kind is None:
            continue
        if k * interval >= SETTLED_S:
            errors[kind].add(enu)
        if covariance:
            sigmas = [math.sqrt(max(1e-12, dot(a, [dot(row, a) for row in covariance]))) for a in axes]
            ratios[kind].add([e / s for e, s in zip(enu, sigmas)])
    row = dict(counts)
    if first is not None:
        row.update(first_fix_min=f"{first / 60.0:.2f}", share_after=f"{counts['fixed'] / after:.4f}")
    for kind in KINDS:
        row.update(errors[kind].row(kind, "settled", [f"rms_{a}_m" for a in AXES]))
        row.update(ratios[kind].row(kind, "rated", [f"{a}_per_sigma" for a in AXES]))
    return row


def step(times):
    """Seconds from the first to the second epoch."""
    return (times[1][1] - times[0][1]) % 86400 if len(times) > 1 else 0


def count_fix(counts, difference, covariance):
    distance = math.hypot(*difference)
    counts["fixed"] += 1
    counts["wrong"] += distance > WRONG_M
    if covariance:
        counts["known_sigma"] += 1
        counts["beyond_sigmas"] += distance > WRONG_SIGMAS * math.sqrt(sum(covariance[i][i] for i in range(3)))
