#!/usr/bin/env bash
# Convergence and first fix over starts at every hour of a day.
# Usage: scripts/hourly_starts.sh DATE HOURS gnx-replay-options...
#   DATE   day of the data, e.g. 2020-06-25
#   HOURS  length of each run
# Prints one line a start and the medians, seconds from the start.
set -euo pipefail
date=$1 hours=$2
shift 2
gnx="${GNX:-$(dirname "$0")/../build/release/gnx}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for hour in $(seq 0 $((24 - hours))); do
  from=$(printf '%sT%02d:00:00' "$date" "$hour")
  to=$(printf '%sT%02d:59:59' "$date" $((hour + hours - 1)))
  "$gnx" replay "$@" --from "$from" --to "$to" --out "$work/run" --details 0 > "$work/out" 2>&1 || { cat "$work/out"; exit 1; }
  awk -v from="$from" '
    function seconds(value, unit) { return unit ~ /^min/ ? value * 60 : unit ~ /^h/ ? value * 3600 : value }
    /^fixed/ { fix = "never"; for (i = 1; i < NF; i++) if ($i == "after" && $(i + 1) != "never") fix = seconds($(i + 1), $(i + 2)) }
    /^convergence/ {
      h = v = "never"
      for (i = 1; i < NF; i++) {
        if ($(i - 1) == "cm" && seen == 0) { seen = 1; if ($i != "never,") h = seconds($i, $(i + 1)) }
        else if ($(i - 1) == "cm" && seen == 1) { seen = 2; if ($i != "never") v = seconds($i, $(i + 1)) }
      }
      if (seen == 1 && $NF != "never") v = seconds($(NF - 1), $NF)
    }
    END { print from, "horizontal", h, "vertical", v, "fix", fix }' "$work/run/summary.txt" | tee -a "$work/all"
done
for field in 3 5 7; do
  name=$(head -1 "$work/all" | cut -d' ' -f$((field - 1)))
  cut -d' ' -f$field "$work/all" | sed 's/never/999999/' | sort -n |
    awk -v name="$name" '{ a[NR] = $1 } END { m = a[int((NR + 1) / 2)]; print "median", name, m < 999999 ? m " s" : "never" }'
done
