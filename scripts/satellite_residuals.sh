#!/usr/bin/env bash
# Ionosphere-free phase residuals of each satellite: mean, RMS, and the drift through each pass.
# Usage: scripts/satellite_residuals.sh RUN_DIR [SECONDS]
#   RUN_DIR  of 'gnx replay --details 30'; the first SECONDS (3600) of the run are left out
# Drifts in mm/h, of passes of two hours and more; a gap of 30 minutes ends a pass.
set -euo pipefail
awk -v skip="${2:-3600}" '
  BEGIN {
    hz["G L1"] = hz["E L1"] = hz["J L1"] = hz["C L1"] = 1575.42; hz["G L2"] = hz["J L2"] = 1227.60
    hz["G L5"] = hz["E L5"] = hz["J L5"] = hz["C L5"] = 1176.45; hz["E L7"] = 1207.14; hz["E L6"] = 1278.75
    hz["C L2"] = 1561.098; hz["C L6"] = 1268.52; hz["C L7"] = 1207.14
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
  }
  END {
    print "sat  epochs  mean_mm  rms_mm  drift_mm_per_h"
    for (s in all) {
      end_pass(s)
      printf "%s %7d %8.1f %7.1f %s\n", s, all[s], sum[s] / all[s] * 1000, sqrt(square[s] / all[s]) * 1000, drift[s] | "sort"
    }
  }' "$1/diagnostics.log"
