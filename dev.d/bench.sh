# shellcheck shell=sh
# `./dev bench`: the benchmarks, their page and the comparison with another revision.

BENCH_PACKAGES="$BUILD_PACKAGES libbenchmark-dev python3"

# bench_build SOURCES BUILD: the benchmarks of a tree, as they are delivered but for debugging symbols.
bench_build() {
  mkdir -p build
  {
    cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo &&
      cmake --build "$2" --target benchmarks
  } >build/bench.log 2>&1 || {
    cat build/bench.log >&2
    fail "the build of the benchmarks failed"
  }
}

# bench_other REVISION: builds the benchmarks of this tree with the sources of another revision.
bench_other() {
  git rev-parse --verify --quiet "$1^{commit}" >/dev/null || fail "no revision: $1"
  rm -rf build/against/sources
  mkdir -p build/against/sources
  git archive "$1" | tar -x -C build/against/sources
  rm -rf build/against/sources/bench
  cp -R bench build/against/sources/bench
  bench_build build/against/sources build/against/build
}

dev_bench() {
  revision=
  arguments=
  while [ $# -gt 0 ]; do
    case $1 in
      --against)
        [ $# -ge 2 ] || fail "--against takes a revision"
        revision=$2
        shift
        ;;
      --json)
        [ $# -ge 2 ] || fail "--json takes a file"
        arguments="$arguments --json $2"
        shift
        ;;
      --page) arguments="$arguments --page docs/performance.md --svg docs/performance.svg" ;;
      --quick) arguments="$arguments --quick" ;;
      -*) fail "usage: ./dev bench [--page] [--quick] [--json FILE] [--against REV] [NAME...]" ;;
      *) break ;;
    esac
    shift
  done
  need "$BENCH_PACKAGES"
  bench_build . build/bench
  if [ -n "$revision" ]; then
    bench_other "$revision"
    arguments="$arguments --against build/against/build/bin"
  fi
  # shellcheck disable=SC2086  # words are meant
  bench/report.py $arguments build/bench/bin "$@"
}
