#!/bin/sh
# Runs fuzzers, a line each, as many at a time as there are processors: run.sh BIN_DIR WORK_DIR
# SECONDS [TARGET...], all of them without a target. The seeds are those of fuzz_seeds and the files of
# seeds/TARGET. Corpora grow under WORK_DIR; inputs that broke something are left in WORK_DIR/faults.
# Exits with 1 when one has, with 2 when there is no such fuzzer.
set -eu
bin=$1
work=$2
seconds=$3
shift 3
[ $# -gt 0 ] || set -- listener datagram client_reply client_words console camera_model \
  camera_peer time_log trace_log recording address client remote_reply

for target in "$@"; do
  if [ ! -x "$bin/${target}_fuzz" ]; then
    echo "no such fuzzer: $target" >&2
    exit 2
  fi
done
mkdir -p "$work/faults"
"$bin/fuzz_seeds" "$work/seeds"
printf '%s\n' "$@" |
  xargs -P "$(nproc)" -n 1 "$(dirname "$0")/run_one.sh" "$bin" "$work" "$seconds" || exit 1
