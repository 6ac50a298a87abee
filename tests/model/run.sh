#!/bin/sh
# Checks the models exhaustively, a line a property: run.sh [BUILD_DIR]. Exits with 1 when a property
# does not hold, when a weakness or a fault put in on purpose is not found, or when a kept
# counterexample is no longer the shortest.
set -eu
models=$(cd "$(dirname "$0")" && pwd)
mkdir -p "${1:-build/model}"
cd "${1:-build/model}"

status=0
lines=0

# line VERDICT PROPERTY: with the size of the last search.
line() {
  printf '%-8s %-72s %-9s %9s states\n' "$model" "$2" "$1" "$states"
  lines=$((lines + 1))
  case $1 in FAILED) status=1 ;; esac
}

# search SWITCHES COMPILER_OPTIONS PAN_OPTIONS: explores all states of $model, and leaves their number
# in $states and what went wrong, if anything, in $fault.
search() {
  # shellcheck disable=SC2086  # words are meant
  {
    cp "$models"/*.pml .
    rm -f "$model.pml.trail"
    spin -a $1 "$model.pml" >spin.log
    gcc -w -DCOLLAPSE $2 -o pan pan.c
    ./pan -m1000000 $3 >pan.log 2>&1 || :
  }
  states=$(sed -n 's/^ *\([0-9.e+]*\) states, stored.*/\1/p' pan.log)
  fault=$(sed -n 's/^pan:[0-9]*: //p' pan.log)
  if [ -z "$states" ] || grep -q -e 'max search depth too small' -e 'out of memory' pan.log; then
    cat spin.log pan.log >&2
    fault="the search was not completed"
  fi
}

# holds SWITCHES PROPERTY...: all proven by one search.
holds() {
  search "$1" "-O1 -DSAFETY" ""
  shift
  for property in "$@"; do
    if [ -z "$fault" ]; then line holds "$property"; else line FAILED "$property: $fault"; fi
  done
}

# ends SWITCHES PROPERTY: no thread can go round for ever.
ends() {
  search "$1" "-O1 -DNP" "-l"
  if [ -z "$fault" ]; then line holds "$2"; else line FAILED "$2: $fault"; fi
}

# found SWITCHES FAULT: a fault put in on purpose is noticed.
found() {
  search "$1" "-O0 -DSAFETY" ""
  if [ -n "$fault" ]; then line noticed "$2"; else line FAILED "not noticed: $2"; fi
}

# shown VERDICT SWITCHES FILE PROPERTY: the shortest way to break it is the one that is kept.
shown() {
  search "$2" "-O0 -DSAFETY -DBFS" ""
  # shellcheck disable=SC2086
  spin -t -T $2 "$model.pml" 2>&1 | grep -E '^(caller|listener|receiver|processor)' >"$3" || :
  if [ -z "$fault" ]; then
    line FAILED "not $1: $4"
  elif ! diff -u "$models/counterexamples/$3" "$3" >&2; then
    line FAILED "another way to: $4"
  else
    line "$1" "$4"
  fi
}

model=engine
holds "-DREQUESTS=2" \
  "one caller at a time has the engine" \
  "a request finds the engine as it left it" \
  "a caller is refused only while another's request runs" \
  "a result other than the time-out comes from a reply with the request's code" \
  "no own reply is lost"
holds "-DCALLERS=3 -DREQUESTS=1 -DSTRAYS=0" "no deadlock, and idle again in the end: three callers"
holds "-DREQUESTS=1 -DSTRAYS=2 -DSPURIOUS_WAKE_UPS=1" \
  "the same with wake-ups without a reason, and more strays"
holds "-DCALLERS=3 -DREQUESTS=1 -DNO_TIMEOUTS" "no wake-up is lost: three callers"
holds "-DNO_TIMEOUTS" "no wake-up is lost: two requests each"
ends "-DREQUESTS=1" "every request ends"
found "-DBREAK=1 -DNO_TIMEOUTS" "a reply that wakes nobody"
found "-DBREAK=2 -DNO_TIMEOUTS" "a request that ends without waking the next caller"
found "-DBREAK=3" "a woken caller that does not look again"
found "-DBREAK=4" "a time-out that keeps the engine"
shown violated "-DOVERWRITE -DREQUESTS=1 -DONLY=OWN_REPLY_KEPT" overwritten_reply.txt \
  "no own reply is lost, where a foreign one overwrites it"
shown reachable "-DSTRAYS=0 -DONLY=FRESH" late_reply.txt \
  "a late reply of the same code answers a newer request"

model=service
holds "-DDATAGRAMS=5 -DSHORT -DSPURIOUS_WAKE_UPS=1" \
  "no unchecked packet is executed" \
  "what passed the check and was not refused is executed, once" \
  "each datagram is answered, once" \
  "\"busy\" is answered only while a command runs or waits" \
  "no deadlock, no lost wake-up, and idle again in the end"
holds "-DDATAGRAMS=6 -DQUEUE=1" "all of them with a queue of one"
ends "-DDATAGRAMS=4" "every datagram is done with"
found "-DBREAK=1" "a command that is handed over without a signal"
found "-DBREAK=2 -DSPURIOUS_WAKE_UPS=1" "a woken processor that does not look again"
found "-DBREAK=3" "a command that stays in the queue"
found "-DBREAK=4" "a mutex that is not released"
shown violated "-DONE_SLOT -DONLY=CHECKED" one_slot_unchecked.txt \
  "no unchecked packet is executed, out of one slot"
shown violated "-DONE_SLOT -DONLY=ONCE" one_slot_twice.txt \
  "what passed the check is executed, once, out of one slot"
shown violated "-DONE_SLOT -DONLY=BUSY_IS_TRUE" one_slot_busy.txt \
  "\"busy\" only while a command runs or waits, by the mutex alone"
shown reachable "-DONLY=OWN_SENDER" latest_sender.txt \
  "the reply to a command goes to the latest sender"
shown reachable "-DSHORT -DONLY=WHOLE" short_datagram.txt \
  "a short datagram, completed from older bytes, is executed"

echo "$lines lines, $([ $status = 0 ] && echo all as they should be || echo NOT as they should be)"
exit $status
