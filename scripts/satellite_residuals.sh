#!/usr/bin/env bash
# Ionosphere-free phase residuals: mean, RMS and the drift through each pass of every satellite, RMS by elevation.
# Usage: scripts/satellite_residuals.sh RUN_DIR [SECONDS [SP3...]]
#   RUN_DIR  of 'gnx replay --details 30'; the first SECONDS (3600) of the run are left out
#   SP3      orbits: RMS of satellites in the Earth's shadow and in the 30 minutes after it besides
# Drifts in mm/h, of passes of two hours and more; a gap of 30 minutes ends a pass.
set -euo pipefail
run=$1 skip=${2:-3600}
shift $(($# < 2 ? $# : 2))
orbits=/dev/null
if (($# > 0)); then
  orbits=$(mktemp)
  trap 'rm -f "$orbits"' EXIT
  zcat -f "$@" > "$orbits"
fi
awk -v skip="$skip" -v orbits="$orbits" '
  BEGIN {
    hz["G L1"] = hz["E L1"] = hz["J L1"] = hz["C L1"] = 1575.42; hz["G L2"] = hz["J L2"] = 1227.60
    hz["G L5"] = hz["E L5"] = hz["J L5"] = hz["C L5"] = 1176.45; hz["E L7"] = 1207.14; hz["E L6"] = 1278.75
    hz["C L2"] = 1561.098; hz["C L6"] = 1268.52; hz["C L7"] = 1207.14
    rad = atan2(0, -1) / 180
    read_orbits()
  }
  function mjd(y, m, d) {  # valid from 1901 to 2099
    if (m < 3) { y--; m += 12 }
    return int(365.25 * y) + int(30.6001 * (m + 1)) + d - 679019
  }
  # Directions in a frame that does not turn with the Earth (sidereal angle of 1982, degrees)
  function read_orbits(  line, word, d, t, a, x, y, z, s, before) {
    while ((getline line < orbits) > 0) {
      if (line ~ /^\*/) {
        split(line, word, " ")
        d = mjd(word[2], word[3], word[4])
        if (day0 == 0) day0 = d  # times count from here, for large ones are no exact indices
        t = (d - day0) * 86400 + word[5] * 3600 + word[6] * 60 + word[7]
        a = (280.46061837 + 360.98564736629 * (t / 86400 + day0 - 51544.5)) * rad
        if (before != "" && t > before && (step == 0 || t - before < step)) step = t - before
        before = t
      } else if (line ~ /^P[A-Z]/) {
        s = substr(line, 2, 3); x = substr(line, 5, 14) * 1e3; y = substr(line, 19, 14) * 1e3
        z = substr(line, 33, 14) * 1e3
        px[s, t] = x * cos(a) - y * sin(a); py[s, t] = x * sin(a) + y * cos(a); pz[s, t] = z
      }
    }
  }
  # Cylinder behind the Earth. The Sun after the Astronomical Almanac, low precision, 0.01 degrees.
  function shadowed(s, t,  t0, f, x, y, z, r, d, g, l, e, along) {
    t0 = int(t / step) * step; f = (t - t0) / step
    if (!((s, t0) in px) || !((s, t0 + step) in px)) return 0
    x = (1 - f) * px[s, t0] + f * px[s, t0 + step]; y = (1 - f) * py[s, t0] + f * py[s, t0 + step]
    z = (1 - f) * pz[s, t0] + f * pz[s, t0 + step]
    r = sqrt(px[s, t0] ^ 2 + py[s, t0] ^ 2 + pz[s, t0] ^ 2) / sqrt(x * x + y * y + z * z)  # back on the arc
    x *= r; y *= r; z *= r
    d = t / 86400 + day0 - 51544.5; g = (357.529 + 0.98560028 * d) * rad; e = 23.439 * rad
    l = (280.459 + 0.98564736 * d + 1.915 * sin(g) + 0.020 * sin(2 * g)) * rad
    along = x * cos(l) + y * cos(e) * sin(l) + z * sin(e) * sin(l)
    return along < 0 && x * x + y * y + z * z - along * along < 6378137 ^ 2
  }
  function light(s, t,  back) {
    if (shadowed(s, t)) return "in shadow"
    for (back = 60; back <= 1800; back += 60) if (shadowed(s, t - back)) return "after it"
    return ""
  }
  function end_pass(s) {
    if (n[s] > 1 && last[s] - begin[s] >= 7200)
      drift[s] = drift[s] sprintf(" %.1f", (n[s] * sxy[s] - sx[s] * sy[s]) / (n[s] * sxx[s] - sx[s] ^ 2) * 3.6e6)
    n[s] = sx[s] = sy[s] = sxx[s] = sxy[s] = 0
  }
  $1 == "RES" && $7 == "phase" {
    s = $5; t = $2 * 86400 + $3; f = hz[substr(s, 1, 1) " " $6]
    if (start == 0) start = t
    if (t - start < skip || f == 0) next
    if (at[s] != t) { at[s] = t; fa[s] = f; a[s] = $10; next }
    if (f == fa[s]) next
    v = (fa[s] ^ 2 * a[s] - f ^ 2 * $10) / (fa[s] ^ 2 - f ^ 2)
    if (t - last[s] > 1800) { end_pass(s); begin[s] = t }
    last[s] = t; x = t - begin[s]
    n[s]++; sx[s] += x; sy[s] += v; sxx[s] += x * x; sxy[s] += x * v
    all[s]++; sum[s] += v; square[s] += v * v
    bin = int($8 / 10) * 10; high[bin]++; highsquare[bin] += v * v
    if (step && (when = light(s, t - day0 * 86400)) != "") {
      k = s " " when; dark[k]++; darkup[k] += $8; darksquare[k] += v * v
    }
  }
  END {
    print "sat  epochs  mean_mm  rms_mm  drift_mm_per_h"
    for (s in all) {
      end_pass(s)
      printf "%s %7d %8.1f %7.1f %s\n", s, all[s], sum[s] / all[s] * 1000, sqrt(square[s] / all[s]) * 1000, drift[s] | "sort"
    }
    close("sort")
    print "elevation  epochs  rms_mm"
    for (bin = 0; bin < 90; bin += 10) if (high[bin])
      printf "%2d to %2d %9d %7.1f\n", bin, bin + 10, high[bin], sqrt(highsquare[bin] / high[bin]) * 1000
    if (step) print "shadow of the Earth: epochs, mean elevation, rms_mm"
    for (k in dark)
      printf "%-14s %6d %5.0f %7.1f\n", k, dark[k], darkup[k] / dark[k], sqrt(darksquare[k] / dark[k]) * 1000 | "sort"
  }' "$run/diagnostics.log"
