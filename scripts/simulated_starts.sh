#!/usr/bin/env bash
# Integer resolution on the simulated sky, whose integers are known: starts with different seeds and times of day.
# Usage: scripts/simulated_starts.sh [-n STARTS] [-f 2|3] [-m static|kinematic|moving] [-r ratio|table] [-k DIR]
#   -n  number of starts, 20          -f  frequencies of each system, 2
#   -m  static: coordinates constant; kinematic: the same data, coordinates free; moving: a receiver on a circle
#   -r  ratio: 3 without a table; table: critical values of a failure rate of 0.001
#   -k  keep the runs in this folder
# GPS, Galileo, BeiDou-3; 75 minutes, every 30 s; noise at the zenith: range 0.3 m, phase 3 mm, both growing to four
# times that at 10 degrees, besides slow errors (120 s) of 0.2 m and 1 mm. Prints one line a start and the totals.
# Errors are those of the fixed epochs; their integers are compared with those of the simulation.
set -euo pipefail
starts=20 frequencies=2 mode=kinematic test=ratio keep=
while getopts n:f:m:r:k: option; do
  case $option in
    n) starts=$OPTARG ;; f) frequencies=$OPTARG ;; m) mode=$OPTARG ;; r) test=$OPTARG ;; k) keep=$OPTARG ;;
    *) exit 2 ;;
  esac
done
gnx="${GNX:-$(dirname "$0")/../build/release/gnx}"
work=${keep:-$(mktemp -d)}
mkdir -p "$work"
[ -n "$keep" ] || trap 'rm -rf "$work"' EXIT

signals="G:1C,2W E:1C,5Q C:2I,6I"
observed="GPS:L1_L2 GAL:E1_E5a BD3:B1_B3"
if [ "$frequencies" = 3 ]; then
  signals="G:1C,2W,5Q E:1C,5Q,7Q C:2I,6I,5P"
  observed="GPS:L1_L2_L5 GAL:E1_E5a_E5b BD3:B1_B3_B2a"
fi
sky=(--hours 1.25 --interval 30 --systems GEC --signals "$signals" --phase-sigma 0.003 --quiet)
engine=$mode
table=no_ratio_table.txt
[ "$test" != table ] || table=ratio.txt
if [ "$mode" = moving ]; then
  sky+=(--path circle --radius 200 --speed 10)
  engine=dynamic
fi
"$gnx" init "$work/deployment" --systems GEC --refpoint APC_ITRF --freqobs "$observed" --mode "$engine" \
  --date 2026-11-21 --code-noise 0.3 --set files.rinput="$table" > "$work/init.txt"

for start in ${ONLY:-$(seq 1 "$starts")}; do
  data="$work/data$start" run="$work/run$start"
  hour=$(((start * 7) % 23)) minute=$(((start * 13) % 60))
  "$gnx" simulate "$data" "${sky[@]}" --seed "$start" --date "$(printf '2026-11-21T%02d:%02d:00' $hour $minute)"
  reference=$(awk -F, 'NR == 2 { print $4, $5, $6 }' "$data/truth.csv")
  at=(--reference $reference)
  [ "$mode" != moving ] || at=(--reference-path "$data/truth.csv")
  "$gnx" replay --obs "$data/observations.rnx" --nav "$data/navigation.rnx" --ssr "$data/corrections.ssr" \
    --deployment "$work/deployment" --mode "$engine" --interval 30 "${at[@]}" \
    --details 30 --quiet --out "$run" 2> "$run.log" || { cat "$run.log"; exit 1; }
  "$gnx" report "$run" --fixes > "$run.txt"
  awk -v start="$start" -v hour="$hour" -v minute="$minute" '
    /^fixed epochs/ { sub(",", ""); fixed = $3; first = $8 }
    /^their errors/ { east = $5; north = $7; up = $9; largest = $12; beyond = $14 }
    /^wide-lane/ { wl = $5 " " $2 }
    /^narrow-lane/ { n1 = $5 " " $2 }
    /^epochs with integers/ { sub(",", "", $4); wrong = $(NF) }
    END { printf "%2d %02d:%02d first_fix_min %s fixed %d wrong %d beyond_3cm %d rms %s %s %s largest %s\n",
          start, hour, minute, (fixed > 0 ? first : "never"), fixed, wrong, beyond, east, north, up, largest }' \
    "$run.txt" | tee -a "$work/all"
  [ -n "$keep" ] || rm -rf "$data" "$run"
done
awk '{ first[NR] = $4 == "never" ? 1e9 : $4; fixed += $6; wrong += $8; beyond += $10
       e += $6 * $12 ^ 2; n += $6 * $13 ^ 2; u += $6 * $14 ^ 2; if ($16 > largest) largest = $16 }
     END { for (i = 1; i <= NR; i++) for (j = i + 1; j <= NR; j++) if (first[j] < first[i]) { t = first[i]; first[i] = first[j]; first[j] = t }
       printf "starts %d: first fix %.1f min in the median (%.1f to %.1f); %d fixed epochs, %d with a wrong integer: %.3f %% right; %d beyond 3 cm\n",
         NR, (first[int((NR + 1) / 2)] + first[int(NR / 2) + 1]) / 2, first[1], first[NR], fixed, wrong, 100 * (1 - wrong / fixed), beyond
       printf "fixed errors rms east %.4f north %.4f up %.4f m, largest %.3f m\n", sqrt(e / fixed), sqrt(n / fixed), sqrt(u / fixed), largest }' "$work/all"
