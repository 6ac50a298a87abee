# insert_lists.awk LISTS PAGE: puts the console's two lists of commands, and the numbers that it lists
# but refuses, into its page, in place of the comments that name them.

# Long lines may break between values.
function item(tag, text) {
  gsub(/[,|]/, "&\\:", text)
  return ".It Cm " tag "\n" text (text == "" ? "" : "\n")
}

function list(width, items) {
  return ".Pp\n.Bl -tag -width \"" width "\" -compact\n" items ".El"
}

# Neighbours make a range.
function add_refused(number) {
  if (number == last[ranges] + 1) {
    last[ranges] = number
  } else {
    first[++ranges] = last[ranges] = number
  }
}

function ranges_in_words(    i, text) {
  for (i = 1; i <= ranges; i++) {
    if (i > 1) text = text (i < ranges ? ", " : " and ")
    text = text first[i] (last[i] > first[i] ? " to " last[i] : "")
  }
  return text
}

NR == FNR && /^[0-9]+: ?/ {
  tag = $0
  sub(/:.*/, "", tag)
  sub(/^[0-9]+: ?/, "")
  if (refused(tag + 0)) add_refused(tag + 0)
  else numbers = numbers item(tag, $0)
}

NR == FNR && /^".*"$/ {
  line = line substr($0, 2, length($0) - 2)
  if (line ~ /\|$/) next  # the next line goes on with it
  tag = line
  sub(/ .*/, "", tag)
  if (tag != "such") words = words item(tag, substr(line, length(tag) + 2))
  line = ""
}

NR == FNR { next }

$0 == ".\\\" numbered commands" { print list("000", numbers); next }
$0 == ".\\\" udp words" { print list("setspotmetercoords", words); next }
$0 == ".\\\" refused numbers" { print ranges_in_words(); next }
{ print }
