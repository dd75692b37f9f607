#!/usr/bin/env bash
# What each term of the observation model is worth: the same run with one term left out at a time.
# Usage: scripts/model_terms.sh gnx-replay-options...   (with --reference)
# Prints a line a term: RMS east, north, up after the first hour (m) and the median of sigma0.
set -euo pipefail
gnx="${GNX:-$(dirname "$0")/../build/release/gnx}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
one() {
  local name=$1
  shift
  "$gnx" replay "$@" --out "$work/run" --details 0 > "$work/out" 2>&1 || { cat "$work/out"; exit 1; }
  awk -v name="$name" '
    /^sigma0/ { sigma = $3 }
    /after 1 h/ { on = 1 }
    on && /^ +(east|north|up) / { v[$1] = $4 }
    /^ +horizontal/ { on = 0 }
    END { sub(",", "", sigma); printf "%-14s %8.4f %8.4f %8.4f  %s\n", name, v["east"], v["north"], v["up"], sigma }' "$work/run/summary.txt"
}
printf '%-14s %8s %8s %8s  %s\n' 'left out' east north up sigma0
one none "$@"
for term in windup tides relativity troposphere satoffset recoffset; do one "$term" "$@" --without "$term"; done
one patterns "$@" --no-patterns
