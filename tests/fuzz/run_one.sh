#!/bin/sh
# Runs a fuzzer on the seeds that run.sh has laid out and prints a line about it: run_one.sh BIN_DIR
# WORK_DIR SECONDS TARGET. Exits with 1 when an input broke something.
set -eu
bin=$1
work=$2
seconds=$3
target=$4
own_seeds=$(dirname "$0")/seeds/$target
log=$work/$target.log

mkdir -p "$work/corpus/$target"
[ ! -d "$own_seeds" ] || cp "$own_seeds"/* "$work/seeds/$target"
status=0
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
exit $status
