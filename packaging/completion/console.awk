# Prints the words of the console from its two lists of commands: an array entry for the first word,
# one for each parameter with named values.

function offer(key, word, description) {
  if (key in offers) {
    offers[key] = offers[key] "\n"
  } else {
    keys[++key_count] = key
  }
  offers[key] = offers[key] word (description == "" ? "" : "  " description)
}

# "[mode:u8(1:video,2:photo)]": the values that have names.
function offer_values(key, parameter,    values, i, count, colon) {
  sub(/^[^(]*\(/, "", parameter)
  count = split(parameter, values, ",")
  for (i = 1; i <= count; i++) {
    sub(/\)*\]$/, "", values[i])
    if (values[i] !~ /^[0-9]+:/ || values[i] ~ /~/) continue
    colon = index(values[i], ":")
    offer(key, substr(values[i], 1, colon - 1), substr(values[i], colon + 1))
  }
}

# "auto|manual", "single|burst [pcs]": the words to choose from.
function offer_choices(key, arguments,    choices, i, count) {
  count = split(arguments, choices, "|")
  for (i = 1; i <= count; i++) {
    sub(/ .*/, "", choices[i])
    if (choices[i] ~ /^[^[]/) offer(key, choices[i], "")
  }
}

/^[0-9]+:/ {
  number = $0
  sub(/:.*/, "", number)
  if (refused(number + 0) || number in named) next
  named[number] = 1
  text = substr($0, length(number) + 2)
  for (place = 1; match(text, /[ ]*\[[^]]*\]/); place++) {
    offer_values(number " " place, substr(text, RSTART, RLENGTH))
    text = substr(text, 1, RSTART - 1) substr(text, RSTART + RLENGTH)
  }
  sub(/^ +/, "", text)
  offer("first", number, text)
}

/^".*"$/ {
  line = line substr($0, 2, length($0) - 2)
  if (line ~ /\|$/) next  # the next line goes on with it
  word = line
  sub(/ .*/, "", word)
  arguments = substr(line, length(word) + 2)
  line = ""
  if (word == "such") next  # an example
  offer("udp", word, arguments)
  if (arguments ~ /\|/) offer_choices("udp " word " 1", arguments)
}

END {
  offer("first", "udp", "a word of the UDP test client")
  offer("first", "-h", "the list of numbered commands")
  print "declare -gA _vlm_test_words=("
  for (i = 1; i <= key_count; i++) {
    key = keys[i]
    gsub(/'/, "'\\''", offers[key])
    print "  ['" key "']='" offers[key] "'"
  }
  print ")"
}
