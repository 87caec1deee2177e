#!/usr/bin/env bash
# Fails when the library exports a name that isn't its own. Every defined dynamic symbol must
# belong to one of the library's namespaces (strmcommon, url_parse, url_canon, url_util, base) or
# to GURL, or be one of its named global helpers; an instantiation of a standard template, or any
# other foreign name, is an error. The owner of a name is read from its mangled form, so that a
# template function returning one of the library's types still counts as foreign.
#   check-exports.sh NM LIBRARY
set -euo pipefail
nm=$1
lib=$2

symbols=$("$nm" -D --defined-only "$lib" | awk '{ print $NF }' | sed 's/@.*//')
[ -n "$symbols" ] || { echo "check-exports: no dynamic symbols in $lib" >&2; exit 1; }

foreign=$(echo "$symbols" | awk '
  # The outermost name of a mangled symbol: the namespace or class that owns it, or the name of a
  # global function or variable. "std" for the standard library and its abbreviations.
  function owner(s,   digits) {
    if (s !~ /^_Z/) return s
    s = substr(s, 3)
    if (s ~ /^Th/) sub(/^Th[^_]*_/, "", s)
    else if (s ~ /^Tv/) sub(/^Tv[^_]*_[^_]*_/, "", s)
    else if (s ~ /^T[VTIS]/) s = substr(s, 3)
    else if (s ~ /^GV/) s = substr(s, 3)
    if (s ~ /^Z/) s = substr(s, 2)
    if (s ~ /^N/) { s = substr(s, 2); sub(/^[rVKRO]+/, "", s) }
    if (s ~ /^S[tabsiod]/) return "std"
    if (s ~ /^ls/) return "operator<<"
    if (s !~ /^[0-9]/) return "?" s
    digits = s; sub(/[^0-9].*/, "", digits)
    return substr(s, length(digits) + 1, digits + 0)
  }
  {
    o = owner($0)
    if (o ~ /^(strmcommon|url_parse|url_canon|url_util|base|GURL|STRMCOMMON_1|g_nMemUsedSize)$/) next
    if (o ~ /^vas_/) next
    if (o ~ /^(byteToHexString|hexStringToByte|IsLittleEndian|swapByteOrder|sequenceToiv|stringToiv)$/) next
    if (o ~ /^(GetVasMemory|FreeVasMemory|GetUsedBufSize|read_scaling_list)$/) next
    if (o == "operator<<" && $0 ~ /4GURL/) next
    print
  }')

if [ -n "$foreign" ]; then
  echo "check-exports: $lib exports names that are not the library's own:"
  echo "$foreign" | c++filt | sed 's/^/  /'
  exit 1
fi
echo "check-exports: $(echo "$symbols" | wc -l) exported names, all the library's own"
