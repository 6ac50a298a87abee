#!/bin/sh
# The worked example of docs/architecture.md: adds an invented command to a copy of the sources, as
# docs/examples/new_command.patch does, and runs tests that show it from the console and from UDP.
# usage: new_command_test.sh SOURCE_DIR
set -eu
cd "$1"
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

git ls-files | while read -r file; do
  [ ! -f "$file" ] || cp --parents "$file" "$copy"
done
patch=$PWD/docs/examples/new_command.patch
cd "$copy"
git apply -C1 "$patch"

# Each holds all commands against their one contract: the result store, the console, the service.
programs="lcm_request_data_test vlm_test_commands_test velmar_udp_master_k720_commands_test"
# shellcheck disable=SC2086  # words are meant
{ cmake --preset dev -DCMAKE_BUILD_TYPE=Debug &&
  cmake --build --preset dev --target $programs; } >build.log 2>&1 || {
  cat build.log >&2
  exit 1
}
for program in $programs; do
  "build/dev/bin/$program" >test.log 2>&1 || {
    cat test.log >&2
    exit 1
  }
done

# What the contract says of the new command is what was run.
for name in SetGrain GetGrain; do
  build/dev/bin/velmar_udp_master_k720_commands_test --gtest_list_tests | grep -q "/$name " || {
    echo "no test of $name" >&2
    exit 1
  }
done
