#!/bin/sh
# Runs fuzzers, a line each: run.sh BIN_DIR WORK_DIR SECONDS [TARGET...], all of them without a
# target. The seeds are those of fuzz_seeds and the files of seeds/TARGET. Corpora grow under
# WORK_DIR; inputs that broke something are left in WORK_DIR/faults. Exits with 1 when one has.
set -eu
bin=$1
work=$2
seconds=$3
shift 3
own_seeds=$(dirname "$0")/seeds
[ $# -gt 0 ] || set -- listener datagram client_reply client_words console camera_model \
  camera_peer time_log trace_log recording

mkdir -p "$work/faults"
"$bin/fuzz_seeds" "$work/seeds"
status=0
for target in "$@"; do
  if [ ! -x "$bin/${target}_fuzz" ]; then
    echo "no such fuzzer: $target" >&2
    exit 2
  fi
  mkdir -p "$work/corpus/$target"
  [ ! -d "$own_seeds/$target" ] || cp "$own_seeds/$target"/* "$work/seeds/$target"
  log=$work/$target.log
  # An input that takes 10 s is a stall.
  if "$bin/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
    -print_final_stats=1 -verbosity=1 -artifact_prefix="$work/faults/$target-" \
    "$work/corpus/$target" "$work/seeds/$target" >"$log" 2>&1; then
    verdict="nothing found"
  else
    verdict="FAULT, see $log"
    status=1
  fi
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  coverage=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
  printf '%-13s %10s executions %7s a second %6s edges  %s\n' "$target" "${executions:-?}" \
    "${rate:-?}" "${coverage:-?}" "$verdict"
done
exit $status
