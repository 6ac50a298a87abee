# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: BUILD_PACKAGES, children, scratch
# A broker and many simulated cameras behind it.

FLEET_PORT=18883
FLEET_SITE=mqtt://127.0.0.1:$FLEET_PORT/lab

start_broker() {
  # On the loopback alone, so it may let everybody in; docs/fleet.md has what a network needs.
  cat >"$scratch/mosquitto.conf" <<CONF
listener $FLEET_PORT 127.0.0.1
allow_anonymous true
set_tcp_nodelay true
CONF
  /usr/sbin/mosquitto -c "$scratch/mosquitto.conf" >"$scratch/mosquitto.log" 2>&1 &
  broker=$!
  children="$broker $children"
}

# start_fleet CAMERAS: until all of them are present.
start_fleet() {
  VLM_BUS=$FLEET_SITE build/release/bin/camera_sim --fleet "$1" --camera-prefix lab- \
    >"$scratch/fleet.log" 2>&1 &
  fleet=$!
  children="$fleet $children"
  until grep -q ready "$scratch/fleet.log"; do
    kill -0 "$fleet" "$broker" 2>/dev/null || fail "the cameras did not start: $(cat "$scratch"/*.log)"
    sleep 0.01
  done
}

now_ms() { echo $(($(date +%s%N) / 1000000)); }

# took WHAT START_MS
took() { echo "$1: $(($(now_ms) - $2)) ms"; }

memory() { awk '/VmRSS/ { print $2 " KiB" }' "/proc/$1/status"; }

measure_fleet() {
  start_broker
  start=$(now_ms)
  start_fleet "$1"
  took "$1 cameras are present" "$start"
  start=$(now_ms)
  build/release/bin/vlmctl --site "$FLEET_SITE" list --cameras >"$scratch/list"
  took "listed" "$start"
  start=$(now_ms)
  build/release/bin/vlmctl --site "$FLEET_SITE" --all-cameras get camera.version >"$scratch/versions"
  took "asked, each by a process of its own" "$start"
  echo "memory of the broker: $(memory "$broker"), of the cameras: $(memory "$fleet")"
}

load_fleet() {
  need "$BUILD_PACKAGES mosquitto python3"
  build dev programs
  seconds=${1:-600}
  [ $# -eq 0 ] || shift
  tests/soak/fleet_load.py build/dev/bin --seconds "$seconds" "$@"
}

dev_fleet() {
  if [ "${1:-}" = load ]; then
    shift
    load_fleet "$@"
    return
  fi
  measured=
  [ "${1:-}" != measure ] || { measured=yes && shift; }
  cameras=${1:-3}
  case $cameras in *[!0-9]* | '' | 0*) fail "fleet takes a number of cameras, not '$cameras'" ;; esac
  need "$BUILD_PACKAGES mosquitto"
  build release
  clean_up_at_exit
  if [ -n "$measured" ]; then
    measure_fleet "$cameras"
    return
  fi
  start_broker
  start_fleet "$cameras"
  cat "$scratch/fleet.log"
  echo "In another terminal, type:"
  echo "  VLM_BUS=$FLEET_SITE/lab-1 build/release/bin/vlm_test 1"
  echo "  build/release/bin/vlmctl --camera $FLEET_SITE/lab-$cameras get camera.version"
  echo "  build/release/bin/vlmctl --site $FLEET_SITE --all-cameras get camera.version"
  wait "$fleet"
}
