# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: BUILD_PACKAGES, children, scratch
# A broker and many simulated cameras behind it.

FLEET_PORT=18883

dev_fleet() {
  cameras=${1:-3}
  case $cameras in *[!0-9]* | '' | 0*) fail "fleet takes a number of cameras, not '$cameras'" ;; esac
  need "$BUILD_PACKAGES mosquitto"
  build release
  clean_up_at_exit
  # On the loopback alone, so it may let everybody in; docs/fleet.md has what a network needs.
  cat >"$scratch/mosquitto.conf" <<CONF
listener $FLEET_PORT 127.0.0.1
allow_anonymous true
set_tcp_nodelay true
CONF
  /usr/sbin/mosquitto -c "$scratch/mosquitto.conf" >"$scratch/mosquitto.log" 2>&1 &
  children="$! $children"
  broker=mqtt://127.0.0.1:$FLEET_PORT
  VLM_BUS=$broker/lab build/release/bin/camera_sim --fleet "$cameras" --camera-prefix lab- \
    >"$scratch/fleet.log" 2>&1 &
  fleet=$!
  children="$fleet $children"
  until grep -q ready "$scratch/fleet.log"; do
    kill -0 "$fleet" 2>/dev/null || fail "the cameras did not start: $(cat "$scratch"/*.log)"
    sleep 0.1
  done
  cat "$scratch/fleet.log"
  echo "In another terminal, type:"
  echo "  VLM_BUS=$broker/lab/lab-1 build/release/bin/vlm_test 1"
  echo "  build/release/bin/vlmctl --camera $broker/lab/lab-$cameras get camera.version"
  wait "$fleet"
}
