#!/bin/sh
# Installs a build of libstrmcommon into a temporary prefix and builds two programs against it
# from outside the tree: one with nothing but pkg-config, one through find_package(strmcommon).
# Both download files of several sizes from a loopback HTTP server and compare the bytes.
#
#   tests/install/consumer-test.sh <build dir>
#
# A cross build names its tools in the environment: CONSUMER_SYSROOT, its sysroot; CONSUMER_CXX,
# its compiler; CONSUMER_TOOLCHAIN, its CMake toolchain file; CONSUMER_RUN, the emulator command
# that runs its programs. The library is then installed as a package of the sysroot would be, at
# /opt/strmcommon of a private view of the sysroot (links to its directories), since pkg-config
# puts one sysroot in front of every path it reports. The compiler gets the sysroot itself: its
# linker scripts resolve only inside the real one.
set -eu

build=$(cd "${1:?usage: $0 <build dir>}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
server_pid=
cleanup() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT INT TERM

prefix="$work/prefix"
cxx=g++
cmake_cross=
if [ -n "${CONSUMER_SYSROOT:-}" ]; then
  view="$work/sysroot"
  mkdir -p "$view"
  for entry in "$CONSUMER_SYSROOT"/*; do ln -s "$entry" "$view/"; done
  prefix="$view/opt/strmcommon"
  export PKG_CONFIG_SYSROOT_DIR="$view"
  cxx="$CONSUMER_CXX --sysroot=$CONSUMER_SYSROOT"
  cmake_cross="-DCMAKE_TOOLCHAIN_FILE=$CONSUMER_TOOLCHAIN -DCMAKE_SYSROOT=$CONSUMER_SYSROOT"
  cmake_cross="$cmake_cross -DCMAKE_FIND_ROOT_PATH=$view"
fi
cmake --install "$build" --prefix "$prefix" >/dev/null

pcfile=$(find "$prefix" -name strmcommon.pc | head -n 1)
[ -n "$pcfile" ] || { echo "no strmcommon.pc installed" >&2; exit 1; }
export PKG_CONFIG_PATH="$(dirname "$pcfile")"
[ -f "$prefix/include/strmcommon/strmcommon.h" ] || { echo "no umbrella header" >&2; exit 1; }

# Files of several sizes, served over loopback.
files="$work/files"
mkdir -p "$files"
for size in 0 1 1000 65536 1000000 8388608; do
  head -c "$size" /dev/urandom > "$files/f$size.bin"
done
python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$files" > "$work/server.log" 2>&1 &
server_pid=$!
port=
for _ in $(seq 1 100); do
  port=$(sed -n 's/.*port \([0-9][0-9]*\).*/\1/p' "$work/server.log" | head -n 1)
  [ -n "$port" ] && break
  sleep 0.1
done
[ -n "$port" ] || { echo "loopback server did not start" >&2; exit 1; }
base="http://127.0.0.1:$port"
names="f0.bin f1.bin f1000.bin f65536.bin f1000000.bin f8388608.bin"

echo "== pkg-config consumer"
# shellcheck disable=SC2046,SC2086
$cxx -std=c++17 -o "$work/consumer-pc" "$here/consumer.cpp" $(pkg-config --cflags --libs strmcommon)
# shellcheck disable=SC2086
DLOG_STUB_LEVEL=S ${CONSUMER_RUN:-} "$work/consumer-pc" "$base" "$files" $names

echo "== CMake package consumer"
mkdir -p "$work/cmake-src"
cp "$here/consumer.cpp" "$work/cmake-src/"
cat > "$work/cmake-src/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.16)
project(strmcommon_consumer CXX)
set(CMAKE_CXX_STANDARD 17)
find_package(strmcommon REQUIRED)
add_executable(consumer consumer.cpp)
target_link_libraries(consumer PRIVATE strmcommon::strmcommon)
CMAKE
# A cross toolchain finds packages inside its roots, where the prefix is /opt/strmcommon.
package_path="$prefix"
[ -n "$cmake_cross" ] && package_path=/opt/strmcommon
# shellcheck disable=SC2086
cmake -S "$work/cmake-src" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$package_path" \
  $cmake_cross >/dev/null
cmake --build "$work/cmake-build" >/dev/null
# shellcheck disable=SC2086
DLOG_STUB_LEVEL=S ${CONSUMER_RUN:-} "$work/cmake-build/consumer" "$base" "$files" $names

echo "consumer test passed"
