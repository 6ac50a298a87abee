#!/bin/sh
# The static program runs in a root directory that holds nothing but it and the emulator.
# usage: bare_root_test.sh PROGRAM
set -eu
root=$(mktemp -d)
trap '[ "$?" = 0 ] || cat "$root/errors" >&2; rm -rf "$root"' EXIT
cp "$1" "$root/vlm_test"
cp /usr/bin/qemu-arm-static "$root/emulator"

# Without /proc there is no bus, which it says on standard error.
vlm_test() {
  if [ "$(id -u)" = 0 ]; then
    VLM_BUS_DIR=/bus timeout 60 chroot "$root" /emulator /vlm_test "$@" 2>"$root/errors"
  else
    VLM_BUS_DIR=/bus timeout 60 unshare --map-root-user --root="$root" /emulator /vlm_test "$@" 2>"$root/errors"
  fi
}

# expect WHAT WANTED GOT
expect() {
  [ "$2" = "$3" ] || {
    printf '%s: expected:\n%s\nbut got:\n%s\n' "$1" "$2" "$3" >&2
    exit 1
  }
  echo "in a bare root: $1"
}

usage=$(vlm_test -h)
expect "the usage" "soft version:  " "$(echo "$usage" | head -n 1)"
expect "the prompt" "Please input cmd below:[cmd_type] [param0] [param1] ..." "$(echo q | vlm_test)"
