#!/bin/sh
# The product builds with one plain compiler line and links with any library that provides the two
# bus functions.
# usage: plain_build_test.sh COMPILER SOURCE_DIR [EMULATOR...]
set -eu
compiler=$1
source=$2
shift 2
product=$source/camera_repeater/velmar_udp
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$compiler" -std=c++17 -shared -fPIC -I "$product" "$source/tests/support/loopback_bus.cpp" \
  -o "$scratch/libboardbus.so"
"$compiler" -std=c++17 -I "$product" "$product"/*.cpp -L "$scratch" -lboardbus -o "$scratch/vlm_test"

LD_LIBRARY_PATH=$scratch "$@" "$scratch/vlm_test" 1 >"$scratch/output"
grep -qx 'camera_mode = 0(1:video,2:photo)' "$scratch/output" || {
  cat "$scratch/output"
  exit 1
}
