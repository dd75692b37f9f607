#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy on the engine, the companion, the host library, the program and the
# Python module.
# Usage: scripts/check_tidy.sh BUILD [FILE...]    BUILD: a build directory of clang (preset clang or asan-ubsan)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
shift
files=("$@")
if [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <(git ls-files 'src/*.cpp' 'companion/*.cpp' 'common/*.cpp' 'gnx/*.cpp' 'worker/*.cpp' 'streams/*.cpp' 'host/*.cpp' 'python/*.cpp')
fi
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet 2>/dev/null
