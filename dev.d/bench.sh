# shellcheck shell=sh
# `./dev bench`: the benchmarks, their page and the comparison with another revision.

BENCH_PACKAGES="$BUILD_PACKAGES libbenchmark-dev mosquitto python3"
# Of the other message systems, beside which a request is measured.
PEER_PACKAGES="cyclonedds-dev cyclonedds-tools dbus-daemon libmosquitto-dev libsystemd-dev
  libzmq3-dev mosquitto"

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

# bench_other REVISION: builds the benchmarks of this tree with the sources of another revision, into
# the directory $other, which is of that revision alone: its sources have the time of the commit, by which
# a build would take what was built of another one for its own.
bench_other() {
  commit=$(git rev-parse --verify --quiet "$1^{commit}") || fail "no revision: $1"
  other=build/against/$commit
  if [ ! -d "$other" ]; then
    rm -rf build/against
    mkdir -p build/against/new/sources
    git archive "$commit" | tar -x -C build/against/new/sources
    mv build/against/new "$other"
  fi
  rm -rf "$other/sources/bench"
  cp -Rp bench "$other/sources/bench"
  bench_build "$other/sources" "$other/build"
}

dev_bench() {
  revision=
  peers=
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
      --peers) peers=$PEER_PACKAGES ;;
      --page) arguments="$arguments --page docs/performance.md --svg docs/performance.svg" ;;
      --quick) arguments="$arguments --quick" ;;
      -*) fail "usage: ./dev bench [--peers] [--page] [--quick] [--json FILE] [--against REV] [NAME...]" ;;
      *) break ;;
    esac
    shift
  done
  need "$BENCH_PACKAGES $peers"
  bench_build . build/bench
  if [ -n "$revision" ]; then
    bench_other "$revision"
    arguments="$arguments --against $other/build/bin"
  fi
  # shellcheck disable=SC2086  # words are meant
  bench/report.py $arguments build/bench/bin "$@"
}
