#!/bin/sh
# The page of settings is what the program describes.
# usage: settings_page_test.sh PROGRAMS SOURCE_DIR
set -eu
"$1/vlmctl" describe --json | "$2/packaging/settings_page.py" | diff "$2/docs/settings.md" -
