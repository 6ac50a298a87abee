#!/bin/sh
# One version everywhere: that of the project.
# usage: version_test.sh VERSION SOURCE_DIR PROGRAMS PAGES
set -eu
version=$1
source=$2
programs=$3
pages=$4
faults=0

# same WHAT FOUND
same() {
  [ "$2" = "$version" ] && return
  echo "$1: version $2, not $version" >&2
  faults=1
}

for program in vlm_udp_service vlm_bus_probe camera_sim vlm_time_report vlmctl; do
  same "$program" "$("$programs/$program" --version | sed -n "s/^$program //p")"
done
for page in "$pages"/*.[1-8].gz; do
  same "$page" "$(gzip -dc "$page" | sed -n 's/^\.Os vlm //p')"
done
same "CHANGELOG.md" "$(sed -n 's/^## \([0-9.]*\), .*/\1/p' "$source/CHANGELOG.md" | head -n 1)"
same "packaging/debian/changelog" "$(dpkg-parsechangelog -l "$source/packaging/debian/changelog" -S Version)"
exit "$faults"
