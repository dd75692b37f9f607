"""Tables over the runs of a matrix: fixes and wrong fixes by condition, first fixes, errors against sigmas."""

import math
import statistics

ORDINARY = ("nominal", "doubled")  # conditions under which a wrong fix is the rarest


def total(rows, column):
    return sum(int(row[column] or 0) for row in rows)


def wrong_rate(rows):
    """Share of the fixed epochs that are wrong; nothing without fixes."""
    fixed = total(rows, "fixed")
    return total(rows, "wrong") / fixed if fixed else None


def numbers(rows, column):
    return [float(row[column]) for row in rows if row[column] not in ("", None)]


def pooled(rows, kind, count, column):
    """RMS over runs, each with its own number of epochs."""
    pairs = [(int(row[f"{kind}_{count}"]), float(row[f"{kind}_{column}"])) for row in rows
             if row[f"{kind}_{column}"] not in ("", None)]
    epochs = sum(n for n, _ in pairs)
    return math.sqrt(sum(n * v * v for n, v in pairs) / epochs) if epochs else None


def shown(value, form=".4f"):
    return "-" if value is None else format(value, form)


def percent(value):
    return "-" if value is None else f"{100.0 * value:.3f} %"


def in_order(values, order):
    return sorted(set(values), key=lambda v: order.index(v) if v in order else len(order))


def cross_table(rows, column, conditions, order):
    """Fixed epochs, wrong ones and their share by condition and another property of the runs."""
    columns = in_order((row[column] for row in rows), order)
    lines = [f"{'condition':<12}{column:>10}" + "".join(f"{c:>11}" for c in [*columns, "all"])]
    for condition in [*in_order((row["condition"] for row in rows), conditions), "all"]:
        own = [row for row in rows if condition in (row["condition"], "all")]
        cells = [[row for row in own if row[column] == c] for c in columns] + [own]
        for name, text in (("fixed", lambda r: total(r, "fixed")), ("wrong", lambda r: total(r, "wrong")),
                           ("rate", lambda r: percent(wrong_rate(r))),
                           ("integer", lambda r: total(r, "wrong_integer_epochs"))):
            lines.append(f"{condition if name == 'fixed' else '':<12}{name:>10}"
                         + "".join(f"{text(cell):>11}" for cell in cells))
    return "\n".join(lines)


def first_fixes(rows):
    """One line by number of frequencies: GPS, Galileo and BeiDou without any fault."""
    lines = []
    for frequencies in in_order((row["frequencies"] for row in rows), ["2", "3"]):
        own = [r for r in rows if (r["systems"], r["condition"], r["frequencies"]) == ("GEC", "nominal", frequencies)]
        if not own:
            continue
        # A run that never fixed counts as later than any other and as not fixed.
        times = [float(r["first_fix_min"] or "inf") for r in own]
        shares = [float(r["share_after"] or 0.0) for r in own]
        lines.append(f"GEC nominal, {frequencies} frequencies: first fix {statistics.median(times):.1f} min in the "
                     f"median ({min(times):.1f} to {max(times):.1f}), {percent(statistics.mean(shares))} of the epochs fixed "
                     f"after it, {len(own)} runs")
    return lines


def error_lines(rows):
    """Errors after a quarter of an hour, and errors against sigmas, by kind of solution."""
    lines = []
    for kind in ("fixed", "float"):
        rms = [shown(pooled(rows, kind, "settled", f"rms_{axis}_m")) for axis in ("east", "north", "up")]
        ratio = [shown(pooled(rows, kind, "rated", f"{axis}_per_sigma"), ".2f") for axis in ("east", "north", "up")]
        lines.append(f"{kind} epochs: rms after 15 min east {rms[0]} north {rms[1]} up {rms[2]} m; "
                     f"error / sigma east {ratio[0]} north {ratio[1]} up {ratio[2]}")
    return lines


def rate_line(name, rows):
    known = total(rows, "known_sigma")
    sigmas = f"{total(rows, 'beyond_sigmas')} of {known} beyond 5 sigmas" if known else "no sigmas in the files"
    return (f"{name}: {total(rows, 'wrong')} of {total(rows, 'fixed')} fixed epochs wrong, "
            f"{percent(wrong_rate(rows))}; {sigmas}")


def summary(rows):
    ordinary = [row for row in rows if row["condition"] in ORDINARY]
    others = [row for row in rows if row["condition"] not in ORDINARY]
    lines = [f"{len(rows)} runs, {total(rows, 'epochs')} epochs, {total(rows, 'unsolved')} without a solution, "
             f"{sum(numbers(rows, 'cpu_s')):.0f} s of CPU in the engine's runs"]
    if ordinary:
        lines += [rate_line("nominal and doubled noise", ordinary)]
        lines += ["  " + line for line in error_lines(ordinary)]
    if others:
        lines += [rate_line("other conditions", others)]
        lines += ["  " + line for line in error_lines(others)]
    lines += first_fixes(rows)
    judged = [row for row in rows if row["integer_epochs"] not in ("", None)]
    if judged:
        lines.append(f"epochs with integers {total(judged, 'integer_epochs')}, with a wrong one "
                     f"{total(judged, 'wrong_integer_epochs')}")
    return "\n".join(lines)
