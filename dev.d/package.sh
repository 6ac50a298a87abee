# shellcheck shell=sh
# shellcheck disable=SC2154  # from ./dev: BOARD_PACKAGES
# The Debian packages.

PACKAGE_PACKAGES="$BOARD_PACKAGES dpkg-dev fakeroot file lintian mandoc systemd tshark"

# package PRESET ARCHITECTURE [EMULATOR...]: makes both packages and tries them.
package() {
  preset=$1
  shift
  title "packages for $1"
  build "$preset"
  cpack --config "build/$preset/CPackConfig.cmake" -B build/packages >>"build/$preset.log" 2>&1 || {
    cat "build/$preset.log" >&2
    fail "the packages of $preset could not be made"
  }
  tests/packaging/package_test.sh build/packages "$@"
}

dev_package() {
  need "$PACKAGE_PACKAGES"
  # The same sources make the same packages.
  SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l packaging/debian/changelog -S Timestamp)
  export SOURCE_DATE_EPOCH
  rm -rf build/packages
  package release "$(dpkg --print-architecture)"
  package board armhf qemu-arm-static -L /usr/arm-linux-gnueabihf
  rm -rf build/packages/_CPack_Packages
  title "lintian"
  lintian --allow-root --fail-on error,warning build/packages/*.deb
  ls -l build/packages
}
