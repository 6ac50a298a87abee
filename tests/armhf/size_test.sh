#!/bin/sh
# A program file fits its place on the board.
# usage: size_test.sh PROGRAM LIMIT: linked dynamically and not yet stripped; bytes
set -eu
limit=$2
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
