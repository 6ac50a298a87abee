#!/bin/sh
# The steps of `./dev test`: a failed one stops only those that need it, and the table says so.
# usage: steps_test.sh SOURCE_DIR
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

title() { echo "== $*"; }

# shellcheck source=/dev/null  # checked by itself
. "$1/dev.d/proof.sh"

fails_in_the_middle() {
  echo "before"
  false
  echo "behind"
}

# ctest's last lines, with 38 good tests of 40.
some_tests_fail() {
  printf '95%% tests passed, 2 tests failed out of 40\n\nThe following tests FAILED:\n' >"$scratch/tests.log"
  printf '\t  3 - Bus.Works (Failed)\n\t 15 - Bus.Ends (Timeout)\n\nErrors while\n' >>"$scratch/tests.log"
  false
}

all_tests_pass() {
  printf '100%% tests passed, 0 tests failed out of 7\n' >"$scratch/tests.log"
}

run_steps() {
  step "good" true
  step "bad" fails_in_the_middle
  step_after "needs bad" "bad" true
  step_after "tests" "good" some_tests_fail
  step_after "needs tests" "tests" true
  step_after "more tests" "good" all_tests_pass
}

expected='== good
== bad
before
== needs bad: left out, because "bad" failed
== tests
== needs tests: left out, because "tests" failed
== more tests
== result
step N passed failed
good N 1 0
bad N 0 1 FAILED
needs bad N 0 1 left out
tests N 38 2 FAILED
needs tests N 0 1 left out
more tests N 7 0
in all N 46 5

tests:
  Bus.Works (Failed)
  Bus.Ends (Timeout)

46 passed, 5 failed
status 1'

run_steps >"$scratch/output"
status=0
report >>"$scratch/output" || status=$?
echo "status $status" >>"$scratch/output"
# How long a step took stands in the first column of figures.
sed -E 's/ {2,}/ /g; s/^(step) seconds/\1 N/; s/^([a-z ]+) [0-9]+ ([0-9]+ [0-9]+)/\1 N \2/; s/^ (Bus)/  \1/' \
  "$scratch/output" >"$scratch/told"
echo "$expected" | diff - "$scratch/told"
