#!/usr/bin/env bash
# Checks that the sources include in one direction. The layers, bottom up; an include may point to a lower layer
# or stay in its folder, and within a layer follow the seams listed here. Headers that only forward a name to
# where it lives now are for hosts: nothing inside includes them.
# Usage: scripts/check_includes.sh
set -euo pipefail
cd "$(dirname "$0")/.."

awk '
BEGIN {
  split("Common Records Config Adapter Core/Model Core/Qc Core/Filter Core/Ambfix Interface", folders, " ")
  split("1 2 3 4 4 4 5 6 7", layers, " ")
  for (i in folders) layer[folders[i]] = layers[i]
  seam["Core/Model Adapter"]   # the interfaces by which a model asks for orbits and clocks
  seam["Core/Model Core/Qc"]   # robust means of code residuals
}
function folder(path,  part) {
  split(path, part, "/")
  return part[1] == "Core" ? part[1] "/" part[2] : part[1]
}
FNR == 1 { file = FILENAME; sub("^src/", "", file); from = folder(file) }
/^#include "/ {
  split($0, word, "\"")
  to = folder(word[2])
  if (!(to in layer)) next                                         # the boundary headers
  if (to == from) next
  if (layer[to] < layer[from] || (from " " to) in seam) next
  printf "src/%s:%d: %s includes %s, which lies %s\n", file, FNR, from, word[2],
         layer[to] > layer[from] ? "above it" : "beside it; the two do not know each other"
  bad = 1
}
END { exit bad }
' $(git ls-files 'src/*.h' 'src/*.cpp')

# Forwarding headers: one include and no declaration.
status=0
for header in $(grep -L 'namespace tarvio' $(git ls-files 'src/*.h')); do
  name=${header#src/}
  [ "$name" != Common/Com.h ] || continue
  if users=$(git grep -n "#include \"$name\"" -- src); then
    echo "$users: include the header that $name forwards to"
    status=1
  fi
done
exit $status
