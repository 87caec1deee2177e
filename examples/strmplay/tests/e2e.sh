#!/usr/bin/env bash
# End-to-end: strmplay against its built-in sample stream, time compressed, the link capped low.
# Checks the summary: every segment fetched, the resolution of every variant as ffprobe reported
# it when the sample was made, at least one switch down, no errors, exit status 0.
#   e2e.sh STRMPLAY SAMPLE_DIR WORK_DIR
set -uo pipefail
strmplay=$1
sample=$2
work=$3
rm -rf "$work"
mkdir -p "$work"
export TZPLATFORM_STUB_ROOT=$work/root  # cookie files of this run
fail=0
check() {  # check DESCRIPTION GREP_PATTERN
  if grep -qE "$2" "$work/out.txt"; then
    echo "ok   - $1"
  else
    echo "FAIL - $1 (no line matching: $2)"
    fail=1
  fi
}

"$strmplay" --quick --cap 600 --client-name e2e --csv "$work/trace.csv" --svg "$work/plot.svg" \
  >"$work/out.txt" 2>"$work/err.txt"
status=$?
cat "$work/out.txt"
[ -s "$work/err.txt" ] && { echo "--- stderr"; cat "$work/err.txt"; }
echo "---"
if [ $status -eq 0 ]; then echo "ok   - exit status 0"; else echo "FAIL - exit status $status"; fail=1; fi

total=$(grep -c '^seg' "$sample/v0/index.m3u8")
check "all $total segments fetched" "^  segments fetched: $total/$total \(failed 0"
check "at least one switch down" "^  switches: [0-9]+ \(up [0-9]+, down [1-9][0-9]*\)"
check "no errors" "^  errors by code: none$"
while read -r name width height _; do
  case "$name" in '#'*|'') continue ;; esac
  idx=${name#v}
  check "resolution of $name is ${width}x${height}" "^  resolution v$idx: ${width}x${height} "
done <"$sample/ffprobe.txt"
[ -s "$work/trace.csv" ] && echo "ok   - CSV trace written" || { echo "FAIL - no CSV trace"; fail=1; }
grep -q '</svg>' "$work/plot.svg" 2>/dev/null && echo "ok   - SVG plot written" \
  || { echo "FAIL - no SVG plot"; fail=1; }
exit $fail
