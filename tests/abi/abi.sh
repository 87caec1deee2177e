#!/usr/bin/env bash
# The library's ABI, as libabigail sees it, against the reviewed baseline of its architecture.
#   abi.sh dump LIBRARY BASELINE    writes BASELINE from the built library
#   abi.sh check LIBRARY BASELINE   fails on any difference between the two
# The dumps carry no paths, so a baseline does not depend on where the tree or the build lies, and
# their type ids are hashes, so that a reviewed change shows as a small difference of the file.
set -euo pipefail
mode=$1
lib=$2
baseline=$3
dump() {
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash --out-file "$2" "$1"
}

case $mode in
  dump)
    dump "$lib" "$baseline"
    ;;
  check)
    current=$(mktemp)
    trap 'rm -f "$current"' EXIT
    dump "$lib" "$current"
    if ! abidiff --no-show-locs "$baseline" "$current"; then
      echo "abi: the library's exported surface differs from $baseline."
      echo "abi: once the change is reviewed, regenerate the baseline with"
      echo "abi:   cmake --build <build directory> --target abi_baseline"
      exit 1
    fi
    echo "abi: no difference from $baseline"
    ;;
  *)
    echo "usage: abi.sh dump|check LIBRARY BASELINE" >&2
    exit 2
    ;;
esac
