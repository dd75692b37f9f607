#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for some seconds, as many side by side as there are cores, over its
# corpus in tests/fuzz/corpus, the public frames of tests/data and, where the real data are, their beginnings.
# What makes one fail is left in build/fuzz/found.
# Usage: scripts/fuzz.sh [SECONDS=60] [cmake options...]     one target alone: TARGETS=orbit_fuzz scripts/fuzz.sh 3600
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true

build=build/fuzz
cmake -S . -B $build -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DGNX_BUILD_FUZZ=ON \
  -DGNX_BUILD_TESTS=OFF -DGNX_BUILD_PYTHON=OFF "$@" >/dev/null
targets=${TARGETS:-$(basename -s .cpp tests/fuzz/*_fuzz.cpp)}
# shellcheck disable=SC2086
cmake --build $build -j "$(nproc)" --target $targets

corpus=$build/corpus
export build seconds corpus found=$build/found
mkdir -p $found
for target in $targets; do
  mkdir -p "$corpus/$target"
  if [ -d "tests/fuzz/corpus/$target" ]; then cp "tests/fuzz/corpus/$target"/* "$corpus/$target"; fi
done
# Frames of every family, whole and as the content that the target wraps itself.
mkdir -p $corpus/rtcm_fuzz
python3 - tests/data/rtcm_frames.txt $corpus/rtcm_fuzz <<'PYTHON'
import pathlib, sys
for number, line in enumerate(pathlib.Path(sys.argv[1]).read_text().splitlines()):
    words = line.split()
    if len(words) != 3 or words[0].startswith("#"):
        continue
    frame = bytes.fromhex(words[2])
    pathlib.Path(sys.argv[2], f"{words[0]}_{number}").write_bytes(frame)
    pathlib.Path(sys.argv[2], f"{words[0]}_{number}_content").write_bytes(frame[3:-3])
PYTHON

# Files of a pattern, unpacked and cut small, for a target; none where the real data are not.
data=${GNX_DATA_DIR:-../shared/data}
cut() {
  local target=$1 file
  shift
  for file in "$@"; do
    if [ -f "$file" ] && [ -d "$corpus/$target" ]; then
      (gzip -cdqf "$file" 2>/dev/null || true) | head -c 6000 >"$corpus/$target/real_$(basename "$file")"
    fi
  done
}
cut observation_fuzz "$data"/rinex_samples/*.{21o,21O,21d,21D,crx,rnx} "$data"/*/*_MO.*.gz
cut navigation_fuzz "$data"/rinex_samples/*.21g "$data"/*/*_MN.rnx.gz
cut orbit_fuzz "$data"/*/*.{SP3,sp3}.gz
cut clock_fuzz "$data"/*/*.CLK.gz
cut bias_fuzz "$data"/*/*.BIA.gz
cut correction_fuzz "$data"/*/*.ssr.gz
cut sinex_fuzz "$data"/coords/*.snx.gz
cut antenna_fuzz "$data"/antex/*.atx.gz

fuzz() {
  if "$build/$1" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2048 -artifact_prefix="$found/$1-" \
    "$corpus/$1" >"$build/$1.log" 2>&1; then
    echo "$1: $(grep -a '^Done' "$build/$1.log")"
  else
    echo "$1 has failed:"
    tail -n 40 "$build/$1.log"
    return 1
  fi
}
export -f fuzz
printf '%s\n' $targets | xargs -P "$(nproc)" -I{} bash -c 'fuzz {}'
