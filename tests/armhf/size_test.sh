#!/bin/sh
# The console's program file fits its place on the board.
# usage: size_test.sh PROGRAM, linked dynamically and not yet stripped
set -eu
limit=89696  # the file grows by whole pages of 4096 bytes
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT

arm-linux-gnueabihf-readelf -d "$1" | grep -q 'NEEDED.*libstdc++' || {
  echo "$1 brings its own C++ library: its size says nothing" >&2
  exit 1
}
arm-linux-gnueabihf-strip -o "$stripped" "$1"
size=$(stat -c %s "$stripped")
echo "$(basename "$1"): $size bytes of at most $limit"
[ "$size" -le "$limit" ]
