#!/bin/sh
# Installs the packages below an empty root, uses what they bring, removes them, and sees that nothing
# is left. Programs of another machine run under an emulator.
# usage: package_test.sh FOLDER ARCHITECTURE [EMULATOR...]     FOLDER holds the packages
set -eu

# dpkg gives files to root; elsewhere it has to believe that it does.
if [ "$(id -u)" != 0 ]; then exec fakeroot "$0" "$@"; fi

folder=$1
architecture=$2
shift 2
emulator=$*
scratch=$(mktemp -d)
root=$scratch/root
children=
trap 'stop; rm -rf "$scratch"' EXIT
export VLM_BUS_DIR="$scratch/bus"

fail() {
  echo "package_test: $*" >&2
  exit 1
}

# --- The root ---

# What every system has before our packages come.
make_root() {
  mkdir -p "$root/etc/systemd/system" "$root/run" \
    "$root/lib/systemd/system" "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" \
    "$root/var/lib/dpkg/triggers"
  cp /lib/systemd/system/*.target /lib/systemd/system/*.slice "$root/lib/systemd/system"
  : >"$root/var/lib/dpkg/status"
  for account in 'u root 0' 'u daemon 1'; do  # the second one leaves backups of the first
    echo "$account" | systemd-sysusers --root="$root" - 2>/dev/null
  done
}

# All but the accounts of dpkg.
files() { (cd "$root" && find . -path ./var/lib/dpkg -prune -o -print | sort); }

# The packages' scripts run with this machine's tools.
dpkg_below() {
  dpkg --root="$root" --force-script-chrootless --force-depends --force-architecture \
    --log=/dev/null "$@" >"$scratch/dpkg.log" 2>&1 || {
    cat "$scratch/dpkg.log" >&2
    fail "dpkg $* failed"
  }
}

# --- Programs of the packages ---

program() {
  name=$1
  shift
  # shellcheck disable=SC2086  # words are meant
  timeout 60 $emulator "$root/usr/bin/$name" "$@"
}

# start NAME [ARGUMENT...]: until `stop`.
start() {
  name=$1
  shift
  : >"$scratch/$name.log"
  # shellcheck disable=SC2086  # words are meant
  timeout 300 $emulator "$root/usr/bin/$name" "$@" </dev/null >"$scratch/$name.log" 2>&1 &
  children="$children $!"
}

stop() {
  for child in $children; do
    kill "$child" 2>/dev/null || :
    wait "$child" || :
  done
  children=
}

# until_printed NAME TEXT: waits until the program that was started has printed it.
until_printed() {
  tries=300
  until grep -q "$2" "$scratch/$1.log"; do
    tries=$((tries - 1))
    [ "$tries" -gt 0 ] || fail "$1 does not print \"$2\": $(cat "$scratch/$1.log")"
    sleep 0.1
  done
}

# prints TEXT NAME [ARGUMENT...]
prints() {
  text=$1
  shift
  program "$@" >"$scratch/output" 2>&1 || :
  grep -qF "$text" "$scratch/output" || {
    cat "$scratch/output" >&2
    fail "$* does not print \"$text\""
  }
}

# Programs of vlm find what vlm-fleet brings. An emulator has no libmosquitto.
brokers_are_reached() {
  if [ -n "$emulator" ]; then
    expected='brokers need the package vlm-fleet: libmosquitto.so.1'
  else
    expected='cannot reach mqtt://127.0.0.1:1/lab/cam: Connection refused'
  fi
  VLM_BUS=mqtt://127.0.0.1:1/lab/cam prints "$expected" vlm_test 6
}

# --- What the packages promise ---

# asks_for PACKAGE LIBRARY: the version that the package depends on.
asks_for() { dpkg-deb -f "$1" Depends | tr , '\n' | sed -n "s/^ *$2 (>= \(.*\))/\1/p"; }

# needs PREFIX: the newest symbol version PREFIX_* of the installed programs.
needs() {
  readelf -VW "$root"/usr/bin/* | grep -o "Name: $1_[0-9.]*" | sed 's/.*_//' | sort -uV | tail -1
}

# is_enough HAVE NEED WHAT
is_enough() { dpkg --compare-versions "$1" ge "$2" || fail "$3: $2 is needed, not $1"; }

depends_on_enough() {
  is_enough "$(asks_for "$1" libc6)" "$(needs GLIBC)" "$1: libc6"
  if [ -z "$(needs GLIBCXX)" ]; then  # the C++ library is linked in
    [ -z "$(asks_for "$1" libstdc++6)" ] || fail "$1: libstdc++6 is not needed"
    return
  fi
  is_enough "$(asks_for "$1" libgcc-s1)" "$(needs GCC)" "$1: libgcc-s1"
  is_enough "$(asks_for "$1" libstdc++6)" 12 "$1: libstdc++6"
  is_enough 3.4.30 "$(needs GLIBCXX)" "libstdc++6 12: GLIBCXX"
}

carries_no_build_path() {
  source=$(cd "$(dirname "$0")/../.." && pwd)
  if grep -rlF "$source" "$root"; then fail "these carry the path of the build"; fi
}

# is_unexposed UNIT: in tenths, of 100.
is_unexposed() {
  systemd-analyze --root="$root" --offline=true --threshold=15 --no-pager security "$1" \
    >"$scratch/security.log" || {
    cat "$scratch/security.log" >&2
    fail "the unit $1 is exposed"
  }
}

units_are_sound() {
  for unit in vlm-udp-service.service vlm-bus-bridge.service; do
    systemctl --root="$root" --quiet enable "$unit"
    systemd-analyze --root="$root" --man=no verify "$unit" || fail "the unit $unit has faults"
    is_unexposed "$unit"
  done
  grep -q '^vlm:' "$root/etc/passwd" || fail "the service's user is missing"
  # 200 lines a second: more than an application makes, less than a flood of datagrams does.
  for limit in IntervalSec=10s Burst=2000; do
    grep -q "^LogRateLimit$limit\$" "$root/usr/lib/systemd/system/vlm-udp-service.service" ||
      fail "the unit lets a flood fill the journal"
  done
}

programs_work() {
  start camera_sim
  program vlm_bus_probe velmar_repeater_udp --wait 30000 || fail "camera_sim does not start"
  prints 'succeeded in setting camera mode to 2' vlm_test 2 2
  start vlm_udp_service --port 0
  until_printed vlm_udp_service 'serving port'
  prints 'usage: vlm_time_report' vlm_time_report --help
  stop
}

manual_pages_are_readable() {
  for page in vlm_test.1 vlmctl.1 vlm_bus_probe.1 vlm_bus.7 vlm_bus_bridge.8 vlm_udp_service.8 camera_sim.1 \
    vlm_time_report.1 vlm_bus_monitor.1 vlm_bus_replay.1; do
    mandoc "$root/usr/share/man/man${page##*.}/$page.gz" >/dev/null || fail "$page is no page"
  done
}

# Where this machine's Wireshark looks, with the name of the packages' machine in the path.
dissector_is_where_wireshark_looks() {
  looks=$(tshark -G folders | sed -n 's/^Global Lua Plugins:[[:blank:]]*//p')
  here=$(dpkg-architecture -q DEB_HOST_MULTIARCH)
  there=$(dpkg-architecture -a "$architecture" -q DEB_HOST_MULTIARCH)
  dissector=$root$(echo "$looks" | sed "s|/$here/|/$there/|")/vlm.lua
  [ -s "$dissector" ] || fail "Wireshark would not find vlm.lua"
  plugins=$scratch/home/.local/lib/wireshark/plugins
  mkdir -p "$plugins"
  cp "$dissector" "$plugins"
  HOME=$scratch/home tshark -G protocols >"$scratch/protocols" 2>/dev/null
  for protocol in vlm_bus vlm_udp; do
    grep -qw "$protocol" "$scratch/protocols" ||
      fail "vlm.lua does not bring $protocol"
  done
}

documents_are_there() {
  for page in README.md CHANGELOG.md docs/overview.svg docs/architecture.md docs/time_log.md; do
    [ -s "$root/usr/share/doc/vlm/$page" ] || fail "$page is missing"
  done
}

make_root
vlm=$(echo "$folder"/vlm_*_"$architecture.deb")
tools=$(echo "$folder"/vlm-tools_*_"$architecture.deb")
fleet=$(echo "$folder"/vlm-fleet_*_"$architecture.deb")
files >"$scratch/before"
dpkg_below -i "$vlm" "$tools" "$fleet"
depends_on_enough "$vlm"
depends_on_enough "$tools"
depends_on_enough "$fleet"
carries_no_build_path
manual_pages_are_readable
documents_are_there
dissector_is_where_wireshark_looks
units_are_sound
programs_work
brokers_are_reached
files >"$scratch/installed"
dpkg_below -i "$vlm"  # once more, as an upgrade does
files | diff "$scratch/installed" - || fail "the second installation left these differences"
dpkg_below --purge vlm-fleet vlm vlm-tools
files | diff "$scratch/before" - || fail "these differ from what there was before"
echo "$(dpkg-deb -c "$vlm" | grep -vc '/$') $(dpkg-deb -c "$tools" | grep -vc '/$') and $(dpkg-deb -c "$fleet" | grep -vc '/$') files installed and removed"
