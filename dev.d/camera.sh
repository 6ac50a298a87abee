# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: BUILD_PACKAGES, CHECK_PACKAGES, children, scratch
# The words that run the programs, against a simulated camera.

# Where `./dev sim` serves, and the others look for it, when no bus is chosen.
KEPT_BUS=$PWD/build/bus

camera_serves() {
  build/dev/bin/vlm_bus_probe velmar_repeater_udp "$@" 2>/dev/null
}

choose_bus() {
  VLM_BUS_DIR=$1
  export VLM_BUS_DIR
}

# Joins the camera of the chosen bus or, without a choice, the one of `./dev sim`. Where there is
# none it starts one; without a choice, on a bus of its own.
have_camera() {
  if [ -n "${VLM_BUS_DIR:-}" ]; then
    if camera_serves; then return; fi
  else
    choose_bus "$KEPT_BUS"
    if camera_serves; then return; fi
    choose_bus "$scratch/bus"
  fi
  build/dev/bin/camera_sim </dev/null >"$scratch/camera.log" 2>&1 &
  children="$! $children"
  camera_serves --wait 5000 || {
    cat "$scratch/camera.log" >&2
    fail "the simulated camera did not start"
  }
}

# foreground COMMAND: runs it with our input, so that a signal ends it and what was started with it.
foreground() {
  exec 3<&0
  "$@" <&3 &
  children="$! $children"
  wait "$!"
}

dev_run() {
  need "$BUILD_PACKAGES"
  build dev programs
  clean_up_at_exit
  have_camera
  foreground build/dev/bin/vlm_test "$@"
}

dev_service() {
  need "$BUILD_PACKAGES"
  build dev programs
  clean_up_at_exit
  have_camera
  foreground build/dev/bin/vlm_udp_service "$@"
}

dev_sim() {
  need "$BUILD_PACKAGES"
  build dev programs
  clean_up_at_exit
  [ -n "${VLM_BUS_DIR:-}" ] || choose_bus "$KEPT_BUS"
  if camera_serves; then fail "a camera already serves the bus $VLM_BUS_DIR"; fi
  echo "dev: the camera's bus is $VLM_BUS_DIR" >&2
  foreground build/dev/bin/camera_sim "$@"
}

dev_demo() {
  need "$CHECK_PACKAGES"
  build dev programs
  docs/demo/record.py build/dev/bin docs/demo.svg
}
