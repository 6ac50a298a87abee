# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: TEST_PACKAGES, scratch
# `./dev test`: a row of steps. A failed one does not stop those behind it, unless they need it.

# step NAME COMMAND...: runs COMMAND by itself and notes its time and its outcome.
step() {
  name=$1
  shift
  title "$name"
  began=$(date +%s)
  rm -f "$scratch/tests.log"
  # Not in a condition: there the shell would go on after a command of the step that fails.
  set +e
  (
    trap - EXIT
    set -e
    "$@"
  )
  status=$?
  set -e
  note "$name" "$(($(date +%s) - began))" "$status"
}

# step_after NAME NEEDED COMMAND...: the same, unless the step NEEDED has failed.
step_after() {
  name=$1
  needed=$2
  shift 2
  if passed "$needed"; then
    step "$name" "$@"
  else
    title "$name: left out, because \"$needed\" failed"
    note "$name" 0 "left out"
  fi
}

# note NAME SECONDS STATUS: a row of the table. A step that ran ctest counts its tests, any other
# counts as one.
note() {
  tests=$(sed -n 's/.* tests failed out of \([0-9]*\)$/\1/p' "$scratch/tests.log" 2>/dev/null || :)
  failed=$(sed -n 's/.*, \([0-9]*\) tests failed out of .*/\1/p' "$scratch/tests.log" 2>/dev/null || :)
  case $3 in
    0) outcome=passed ;;
    'left out')
      outcome=$3
      tests=
      ;;
    *) outcome=FAILED ;;
  esac
  if [ -z "$tests" ]; then
    tests=1
    failed=1
    [ "$outcome" != passed ] || failed=0
  elif [ "$outcome" = FAILED ] && [ "$failed" = 0 ]; then
    failed=1
  fi
  printf '%s|%s|%s|%s|%s\n' "$1" "$2" "$((tests - failed))" "$failed" "$outcome" >>"$scratch/steps"
  if [ "$outcome" = FAILED ] && [ -f "$scratch/tests.log" ]; then
    echo "$1:" >>"$scratch/failures"
    sed -n '/The following tests FAILED:/,/^$/ s/^[[:blank:]]*[0-9][0-9]* - /  /p' \
      "$scratch/tests.log" >>"$scratch/failures"
  fi
}

passed() { grep -q "^$1|.*|passed$" "$scratch/steps"; }

# The table of all steps; its last line stands alone, for programs that read it. Fails when one has
# failed.
report() {
  title "result"
  awk -F '|' '
    BEGIN { printf "%-44s %8s %8s %8s\n", "step", "seconds", "passed", "failed" }
    { printf "%-44s %8d %8d %8d%s\n", $1, $2, $3, $4, $5 == "passed" ? "" : "  " $5 }
    { seconds += $2; passed += $3; failed += $4 }
    END { printf "%-44s %8d %8d %8d\n", "in all", seconds, passed, failed }' "$scratch/steps"
  if [ -f "$scratch/failures" ]; then
    echo
    cat "$scratch/failures"
  fi
  echo
  awk -F '|' '
    { passed += $3; failed += $4 }
    END { print passed " passed, " failed " failed"; exit failed > 0 }' "$scratch/steps"
}

# --- The steps ---

check_format() { sources | xargs clang-format --dry-run -Werror; }

check_scripts() {
  git ls-files -- dev .ci/run '*.sh' 'tests/*.bash' 'packaging/debian/*/p*' | xargs shellcheck
}

analyse() {
  git ls-files -- 'camera_repeater/*.cpp' 'bus/*.cpp' 'camera_sim/*.cpp' 'service/*.cpp' \
    'tools/*.cpp' 'host/*.cpp' 'catalogue/*.cpp' 'client/*.cpp' 'fleet/*.cpp' | xargs -P "$(nproc)" -n 4 clang-tidy -p build/asan --quiet 2>/dev/null
}

run_tests() {
  ctest --preset "$1" --progress --output-log "$scratch/tests.log"
}

# What the documents show, from the programs that are delivered.
run_documents() {
  tests/documents/documents_test.py
  docs/demo/record.py --check build/dev/bin docs/demo.svg
}

# Both programs that run on the board.
check_sizes() {
  tests/armhf/size_test.sh build/board/bin/vlm_test 89696 # a file grows by whole pages of 4096 bytes
  tests/armhf/size_test.sh build/board/bin/vlmctl 204800
}

# build_and_test PRESET: two steps.
build_and_test() {
  step "build $1" build "$1"
  step_after "test $1" "build $1" run_tests "$1"
}

dev_test() {
  need "$TEST_PACKAGES"
  clean_up_at_exit
  step "format" check_format
  step "scripts" check_scripts
  step "models" dev_model
  build_and_test dev
  step_after "documents" "build dev" run_documents
  build_and_test asan
  step_after "static analysis" "build asan" analyse
  step_after "fuzzers, a moment each" "build asan" dev_fuzz 3
  build_and_test tsan
  build_and_test armhf
  step "build board" build board vlm_test vlmctl
  step_after "size on the board" "build board" check_sizes
  step "build board-static" build board-static vlm_test
  step_after "in a bare root" "build board-static" \
    tests/armhf/bare_root_test.sh build/board-static/bin/vlm_test
  step "worked example" tests/documents/new_command_test.sh "$PWD"
  report
}
