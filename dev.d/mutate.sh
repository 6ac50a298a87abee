# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: CHECK_PACKAGES, scratch
# `./dev mutate`: puts one fault after the other into a copy of the sources and runs the test that
# has to find it.

# The copy and its builds are kept, so that the next run has little to build.
MUTANTS=build/mutants

# update_copy: brings the copy to the state of the sources; what is the same is not touched.
update_copy() {
  mkdir -p "$MUTANTS"
  git ls-files | while read -r file; do
    [ -f "$file" ] || continue
    cmp -s "$file" "$MUTANTS/$file" && continue
    mkdir -p "$MUTANTS/$(dirname "$file")"
    cp -p "$file" "$MUTANTS/$file"
    touch "$MUTANTS/$file"
  done
}

# build_copy PRESET PROGRAM
build_copy() {
  (cd "$MUTANTS" && cmake --preset "$1" && cmake --build --preset "$1" --target "$2") \
    >"$scratch/build.log" 2>&1
}

# finds_nothing PRESET PROGRAM TESTS: whether these tests of PROGRAM pass. TESTS is - for a library,
# in which only the compiler can find something.
finds_nothing() {
  [ "$3" != - ] || return 0
  timeout 300 "$MUTANTS/build/$1/bin/$2" --gtest_filter="$3" --gtest_brief=1 \
    >"$scratch/tests.log" 2>&1
}

# sound PRESET PROGRAM TESTS: fails unless the tests are there and pass without a fault.
sound() {
  grep -qxF "$*" "$scratch/sound" 2>/dev/null && return
  build_copy "$1" "$2" || {
    cat "$scratch/build.log" >&2
    fail "$2 cannot be built"
  }
  finds_nothing "$@" || {
    cat "$scratch/tests.log" >&2
    fail "$2 fails without a fault"
  }
  [ "$3" = - ] || grep -q '\[  PASSED  \] [1-9]' "$scratch/tests.log" || fail "$2 has no tests $3"
  echo "$*" >>"$scratch/sound"
}

# mutate NAME FILE EDIT PRESET PROGRAM TESTS: prints what became of one fault.
mutate() {
  sound "$4" "$5" "$6"
  sed -i "$3" "$MUTANTS/$2"
  ! cmp -s "$2" "$MUTANTS/$2" || fail "the edit changes nothing in $2: $1"
  if ! build_copy "$4" "$5"; then
    # Elsewhere nothing has been proven: the edit is wrong.
    [ "$4" = asan ] || {
      cat "$scratch/build.log" >&2
      fail "the edit does not compile: $1"
    }
    outcome="does not compile"
  elif finds_nothing "$4" "$5" "$6"; then
    outcome=SURVIVED
  else
    outcome=killed
  fi
  cp "$2" "$MUTANTS/$2"
  printf '%-16s %s\n' "$outcome" "$1"
  echo "$outcome" >>"$scratch/outcomes"
}

# concerns FILE [FILES]: whether FILE is one of FILES, or none are given.
concerns() {
  concerned=$1
  shift
  [ $# -gt 0 ] || return 0
  for wanted in "$@"; do
    [ "${wanted#./}" != "$concerned" ] || return 0
  done
  return 1
}

dev_mutate() {
  need "$FUZZ_PACKAGES $CHECK_PACKAGES"
  clean_up_at_exit
  update_copy
  : >"$scratch/outcomes"
  # Not through a pipe: a failure has to end all of it.
  while IFS='|' read -r name file edit preset program tests <&3; do
    case $name in '' | '#'*) continue ;; esac
    if concerns "$file" "$@"; then
      mutate "$name" "$file" "$edit" "$preset" "$program" "$tests"
    fi
  done 3<dev.d/mutants
  [ -s "$scratch/outcomes" ] || fail "no fault is listed for: $*"
  echo
  echo "$(grep -c . "$scratch/outcomes") faults, $(grep -c SURVIVED "$scratch/outcomes" || :) survived"
  ! grep -q SURVIVED "$scratch/outcomes"
}
