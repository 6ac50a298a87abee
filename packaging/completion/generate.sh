#!/bin/sh
# Prints the bash completion of a program.
# usage: generate.sh console LISTS        the console's two lists of commands
#        generate.sh tool NAME HELP       what the program NAME prints for --help
#        generate.sh vlmctl TEMPLATE      which asks the program itself
set -eu
parts=$(dirname "$0")

cat "$parts/engine.bash" "$parts/$1.bash"
case $1 in
  console) awk -f "$parts/../console_numbers.awk" -f "$parts/console.awk" "$2" ;;
  vlmctl) ;;
  tool) awk -v name="$2" -f "$parts/tool.awk" "$3" ;;
esac
