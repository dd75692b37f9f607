#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for some seconds, side by side, over its corpus in tests/fuzz/corpus
# and the public frames of tests/data. What makes one fail is left in build/fuzz/found.
# Usage: scripts/fuzz.sh [SECONDS=60] [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true

build=build/fuzz
cmake -S . -B $build -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DGNX_BUILD_FUZZ=ON \
  -DGNX_BUILD_TESTS=OFF -DGNX_BUILD_PYTHON=OFF "$@" >/dev/null
targets=$(basename -s .cpp tests/fuzz/*_fuzz.cpp)
# shellcheck disable=SC2086
cmake --build $build -j "$(nproc)" --target $targets

corpus=$build/corpus found=$build/found
mkdir -p $found
for target in $targets; do
  mkdir -p "$corpus/$target"
  if [ -d "tests/fuzz/corpus/$target" ]; then cp "tests/fuzz/corpus/$target"/* "$corpus/$target"; fi
done
# Frames of every family, whole and as the content that the target wraps itself.
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

declare -A running
for target in $targets; do
  "$build/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$found/$target-" \
    "$corpus/$target" >"$build/$target.log" 2>&1 &
  running[$target]=$!
done
status=0
for target in $targets; do
  if wait "${running[$target]}"; then
    tail -n 1 "$build/$target.log" | sed "s/^/$target: /"
  else
    echo "$target has failed:"
    tail -n 40 "$build/$target.log"
    status=1
  fi
done
exit $status
