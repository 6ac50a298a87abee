#!/bin/bash
# Asks the completion functions what they offer, and lets readline type it.
# usage: completion_test.bash COMPLETIONS PROGRAMS     folders of NAME.bash and of the programs
set -u
completions=$1
programs=$2
faults=0
scratch=$(mktemp -d)
camera=
trap '[[ ! $camera ]] || kill "$camera"; rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1
export VLM_BUS_DIR=$scratch/bus

tools=(vlm_udp_service vlm_bus_probe camera_sim vlm_time_report vlm_bus_monitor vlm_bus_replay)
for program in vlm_test vlmctl "${tools[@]}"; do
  # shellcheck source=/dev/null
  source "$completions/$program.bash"
done

# --- The language of the test ---

# Presses the tab key behind LINE: COMPREPLY has what is offered.
press_tab() {
  COMP_LINE=$1
  COMP_POINT=${#1}
  "_${1%% *}"
}

lines() { printf '%s\n' "$@"; }

# same WHAT EXPECTED GOT: texts of lines
same() {
  diff <(echo "$2") <(echo "$3") && return
  echo "^ $1: expected \"<\", got \">\""
  faults=$((faults + 1))
}

# offers LINE CANDIDATE...
offers() {
  press_tab "$1"
  same "$1" "$(lines "${@:2}")" "$(lines "${COMPREPLY[@]}")"
}

# What is offered behind LINE, without descriptions.
words_offered() {
  press_tab "$1"
  lines "${COMPREPLY[@]%% *}"
}

# --- The console ---

start_camera() {
  "$programs/camera_sim" </dev/null >camera.log 2>&1 &
  camera=$!
  "$programs/vlm_bus_probe" velmar_repeater_udp --wait 30000
}

# Of the numbers that the console lists, those that it takes. It reboots the camera last.
numbers_taken() {
  local numbers
  numbers=$("$programs/vlm_test" -h | sed -n 's/^\([0-9]*\):.*/\1/p' | sort -nu | grep -vx 45)
  lines "$numbers" 45 q | "$programs/vlm_test" | awk -v "numbers=${numbers//$'\n'/ } 45" '
    BEGIN { split(numbers, number, " ") }
    /^Please input cmd below/ { if (asked && !refused) print number[asked]; asked++; refused = 0 }
    /^unsupported command type$/ { refused = 1 }' | sort -n
}

the_numbers_that_the_console_takes_are_offered() {
  start_camera
  same "numbers" "$(numbers_taken)" "$(words_offered 'vlm_test ' | grep '^[0-9]' | sort -n)"
}

numbers_carry_their_names() {
  offers 'vlm_test 24' '24  set_image_quality' '240  get_osd_status' '241  get_focus_mode'
  offers 'vlm_test 80' 80
  offers 'vlm_test u' udp
  offers 'vlm_test -' -h
  offers 'vlm_test 999'
}

values_carry_their_meanings() {
  offers 'vlm_test 2 ' '1  video' '2  photo'
  offers 'vlm_test 26 ' '1  jpg' '130  dng(T63 only)' '131  jpg+dng'
  offers 'vlm_test 26 13' '130  dng(T63 only)' '131  jpg+dng'
  offers 'vlm_test 27 3' 3
  offers 'vlm_test 47 ' '2  4:3' '3  16:9'
  offers 'vlm_test   51   ' '0  single' '3  burst' '4  AEB' '5  horizontal' \
    '6  hemispherical panorama'
  offers 'vlm_test 51 3 '
  offers 'vlm_test 205 '
  offers 'vlm_test 2 1 '
}

words_of_the_udp_client_are_offered() {
  same "udp words" \
    "$("$programs/vlm_test" udp | sed -n 's/^"\([a-z]*\)[ "].*/\1/p' | grep -vxE 'such|aeb')" \
    "$(words_offered 'vlm_test udp ')"
  offers 'vlm_test udp setshutter' 'setshutter  [shutter_num] [shutter_dem]' \
    'setshutteriso  [shutter_num] [shutter_dem] [ISO]'
  offers 'vlm_test udp setcammode ' video v photo p
  offers 'vlm_test udp setwb s' sunrise sunset sunny
  offers 'vlm_test udp setwb l' lock
  offers 'vlm_test udp setphotomode ' single burst aeb panohorizon panohemisphere
  offers 'vlm_test udp setphotomode aeb '
  offers 'vlm_test udp setvideo '
  offers 'vlm_test udp nonsense '
}

# Readline replaces what follows the last word break of the word, a colon for one.
only_what_follows_a_word_break_is_offered() {
  offers 'vlm_test udp setphotoratio 16:' 9
  COMP_WORDBREAKS=' ' offers 'vlm_test udp setphotoratio 16:' 16:9
}

numbers_are_listed_in_their_order() {
  same "sorting" "complete -o nosort -F _vlm_test vlm_test" "$(complete -p vlm_test)"
}

menu_completion_types_no_descriptions() { COMP_TYPE=37 offers 'vlm_test 2 ' 1 2; }

what_stands_in_the_line_is_not_run() {
  # shellcheck disable=SC2016  # not to be expanded
  for line in 'vlm_test $(>ran) ' 'vlm_test udp `>ran` ' 'camera_sim x[$(>ran)] '; do
    offers "$line"
  done
  same "commands run" "" "$(ls ran 2>/dev/null)"
}

# --- The other programs ---

options_of_their_help_are_offered() {
  for tool in "${tools[@]}"; do
    same "$tool --" "$("$programs/$tool" --help | sed -nE 's/^  (-[a-z], )?(--[a-z-]*).*/\2/p')" \
      "$(words_offered "$tool --")"
  done
  offers 'camera_sim --d' '--drop  lose a reply with probability P (0 to 1)' \
    '--duplicate  send a reply twice with probability P'
  offers 'camera_sim --thermal --la' --latency
  offers 'camera_sim --latency '
  offers 'camera_sim --latency --'
}

files_and_directories_are_offered() {
  mkdir folder && touch file
  offers 'vlm_time_report --svg fi' file
  offers 'vlm_time_report --svg=fi' file
  offers 'vlm_time_report --json f' folder
  offers 'vlm_udp_service --sdcard f' folder
  COMP_WORDBREAKS=' ' offers 'vlm_time_report --svg=fi' --svg=file
}

# --- vlmctl, which is asked itself ---

names_and_choices_are_offered() {
  local PATH=$programs:$PATH
  offers 'vlmctl des' describe
  offers 'vlmctl --timeout 2s get lens.zo' lens.zoom
  offers 'vlmctl set exposure.mode=' auto manual
  COMP_WORDBREAKS=' ' offers 'vlmctl set exposure.mode=m' exposure.mode=manual
  offers 'vlmctl save '
  offers 'vlmctl --site lab --all-cameras get lens.zo' lens.zoom
  offers 'vlmctl --site lab list --cam' --cameras
  offers 'vlmctl --mqtt-ca-file ca.crt des' describe
}

# --- Readline ---

# types LINE RESULT: at a prompt, the tab key makes RESULT of LINE.
types() {
  expect -f - "$completions" "$1" "$2" <<'END' || faults=$((faults + 1))
    lassign $argv completions line result
    proc fail {what} { puts "^ $what"; exit 1 }
    log_user 0
    set timeout 30
    array set env {INPUTRC /dev/null TERM dumb}
    spawn -noecho bash --norc --noprofile -i
    send "bind 'set bell-style none'; PS1='rea''dy:'; source $completions/vlm_test.bash\r"
    expect ready: {} timeout { fail "the shell does not start" }
    send "$line\t|"
    expect -exact "$result|" {} "|" { fail "\"$line\" and a tab make \"$expect_out(buffer)\"" } \
      timeout { fail "\"$line\" and a tab make nothing" }
END
}

readline_types_what_is_offered() {
  types 'vlm_test udp setphotor' 'vlm_test udp setphotoratio '
  types 'vlm_test udp setphotoratio 16:' 'vlm_test udp setphotoratio 16:9 '
  types 'vlm_test 24' 'vlm_test 24'
  types 'vlm_test 27 3' 'vlm_test 27 3 '
}

generated_files_are_sound() {
  shellcheck -s bash "$completions"/*.bash || faults=$((faults + 1))
}

the_numbers_that_the_console_takes_are_offered
numbers_carry_their_names
values_carry_their_meanings
words_of_the_udp_client_are_offered
only_what_follows_a_word_break_is_offered
numbers_are_listed_in_their_order
menu_completion_types_no_descriptions
what_stands_in_the_line_is_not_run
options_of_their_help_are_offered
files_and_directories_are_offered
names_and_choices_are_offered
readline_types_what_is_offered
generated_files_are_sound
exit $((faults > 0))
