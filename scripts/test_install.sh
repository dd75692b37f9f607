#!/usr/bin/env bash
# Uses what `make install` and `make package` give as a stranger would: every example is compiled against the
# installed tree with pkg-config and with find_package, and run; the program of the packages runs where there is
# no compiler.
# Usage: scripts/test_install.sh [cmake options]
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
say() { printf -- '-- %s\n' "$*"; }
fail() { printf 'test_install: %s\n' "$*" >&2; exit 1; }

say "make install, without the packages of tests and benchmarks"
make install PREFIX="$prefix" OPTIONS="-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON $*" >"$work/install.log" 2>&1 || { cat "$work/install.log"; exit 1; }
libraries=$(dirname "$(find "$prefix" -name libGNX_SDK.so)")
export PKG_CONFIG_PATH=$libraries/pkgconfig PATH=$prefix/bin:$PATH

say "stable entry points and versions"
version=$(sed -n 's/^project(gnx VERSION \([0-9]*\.[0-9]*\)\..*/\1/p' CMakeLists.txt)
for library in "$libraries"/lib*.so; do
  soname=$(objdump -p "$library" | awk '$1 == "SONAME" {print $2}')
  [ "$soname" = "$(basename "$library").$version" ] || fail "$library has the soname $soname"
done
symbols=$(objdump -T "$libraries/libGNX_SDK.so")
for name in initialize finilize inputEph inputObs inputSsr inputSsrBias restart setintv isInitialize; do
  grep -q " GNX_SDK_1 *GNX_$name\$" <<<"$symbols" || fail "GNX_$name is not marked stable"
done
if grep 'UND.*GNX_IO_' <<<"$symbols"; then
  fail "the companion functions are bound to one library; a host must be able to bring its own"
fi

say "manual pages and completion"
for command in replay batch live; do
  grep -q '^\.SH EXIT STATUS' "$prefix/share/man/man1/gnx-$command.1" || fail "gnx-$command has no manual page"
done
completed=$(bash -c "source $prefix/share/bash-completion/completions/gnx
  COMP_WORDS=(gnx replay --hea) COMP_CWORD=2; _gnx; echo \"\${COMPREPLY[*]}\"")
[ "$completed" = --header-position ] || fail "bash completes --hea to '$completed'"

say "data: an hour of a simulated sky, and a deployment for it"
gnx simulate "$work/data" --hours 1 --systems GE >/dev/null
gnx init "$work/site" --systems GE --refpoint APC_ITRF --mode kinematic --date 2026-11-21 >/dev/null
mapfile -t files < <(find "$work/data" -name '*.rnx' -o -name '*.ssr')

# The last line of a host ends with x, y, z and the word "fixed"; it is kept.
last_position() { awk 'END {print $(NF-3), $(NF-2), $(NF-1), $NF}' | tee -a "$work/positions.txt" | grep -q ' fixed$'; }

# What an example links, and how it is run.
modules() { if grep -qE '<gnx(/|\.h)' "$1"; then echo gnx; else echo "gnx-sdk gnx-io"; fi; }
run() {
  local program=$1 name
  name=$(basename "$program")
  case $name in
    minimal_host*) (cd "$work/site" && "$program") >"$work/out.txt" ;;
    *) "$program" "$work/site" "${files[@]}" >"$work/out.txt" ;;
  esac || { tail -20 "$work/out.txt"; fail "$name ends with an error"; }
  case $name in
    minimal_host*) grep -q 'STAN' "$work/out.txt" ;;
    *) last_position <"$work/out.txt" ;;
  esac || { tail -5 "$work/out.txt"; fail "$name does not print what it should"; }
}

say "examples with pkg-config"
mkdir "$work/plain"
for example in examples/*.c examples/*.cpp; do
  [ -e "$example" ] || continue
  compiler="g++ -std=c++20"
  [[ $example == *.c ]] && compiler="gcc -std=c11 -Wpedantic"
  out=$work/plain/$(basename "${example%.*}")_${example##*.}
  # shellcheck disable=SC2046,SC2086
  $compiler -Wall -Wextra -Werror "$example" $(pkg-config --cflags --libs $(modules "$example")) \
    -Wl,-rpath,"$libraries" -o "$out"
  say "  $example"
  run "$out"
done

say "examples with find_package"
mkdir "$work/cmake"
{
  echo 'cmake_minimum_required(VERSION 3.22)'
  echo 'project(hosts LANGUAGES C CXX)'
  echo 'set(CMAKE_CXX_STANDARD 20)'
  echo 'find_package(gnx REQUIRED COMPONENTS sdk io gnx)'
  for example in examples/*.c examples/*.cpp; do
    [ -e "$example" ] || continue
    name=$(basename "${example%.*}")_${example##*.}
    targets="gnx::GNX_SDK gnx::GNX_IO"
    [ "$(modules "$example")" = gnx ] && targets=gnx::gnx
    echo "add_executable($name $source_dir/$example)"
    echo "target_link_libraries($name PRIVATE $targets)"
  done
} >"$work/cmake/CMakeLists.txt"
cmake -S "$work/cmake" -B "$work/cmake/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake/build" >/dev/null
for program in "$work"/cmake/build/*_c "$work"/cmake/build/*_cpp; do [ ! -x "$program" ] || run "$program"; done

module=$(find "$prefix" -path '*dist-packages/gnx' -type d)
if [ -n "$module" ]; then
  say "examples in Python"
  export PYTHONPATH=${module%/gnx}
  run_python() { /usr/bin/python3 "$@"; }
  run_python examples/python_host.py "$work/site" "${files[@]}" | last_position || fail "python_host.py does not fix"
  if run_python -c 'import matplotlib' 2>/dev/null; then
    run_python examples/plot_day.py "$work/figure.svg" "$work/site" "${files[@]}"
    [ -s "$work/figure.svg" ] || fail "plot_day.py makes no figure"
  fi
  unset PYTHONPATH
fi

say "all examples that print a position print the same"
sort -u "$work/positions.txt" | wc -l | grep -qx 1 || { cat "$work/positions.txt"; fail "positions differ"; }

say "Debian packages"
make package OPTIONS="$*" >"$work/package.log" 2>&1 || { tail -30 "$work/package.log"; exit 1; }
mkdir "$work/root" "$work/run"
for package in build/package/packages/*.deb; do dpkg-deb -x "$package" "$work/root"; done
if [ "$EUID" -eq 0 ]; then
  apt-get install --simulate ./build/package/packages/*.deb >"$work/apt.log" 2>&1 ||
    { tail -5 "$work/apt.log"; fail "the packages cannot be installed together"; }
fi
if dpkg-deb -f "$(ls build/package/packages/gnx_*.deb)" Depends | grep -qE -- '-dev|(^|, )(gcc|g\+\+|cmake)'; then
  fail "the program's package needs a compiler"
fi
multiarch=$(dirname "$(find "$work/root" -name 'libGNX_SDK.so.*.*.*')")
env -i PATH="$work/root/usr/bin" LD_LIBRARY_PATH="$multiarch" HOME="$work/run" TMPDIR="$work" \
  gnx demo --out "$work/run/demo" >"$work/demo.log" 2>&1 || { tail -5 "$work/demo.log"; fail "gnx demo failed"; }
say "done"
