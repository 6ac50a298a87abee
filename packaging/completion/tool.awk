# Prints the completion function of the program `name` from what its --help prints.

function quoted(text) {
  gsub(/'/, "'\\''", text)
  return "'" text "'"
}

tolower($1) == "usage:" && $NF ~ /^[A-Z]+$/ { operand = $NF }

# "  --wait MS    look for up to MS milliseconds"
# "  -w, --write FILE    record to FILE"
/^  (-[a-z], )?--[a-z]/ {
  line = substr($0, 3)
  sub(/^-[a-z], /, "", line)
  split(line, columns, /   */)
  help = substr(line, 1 + length(columns[1]))
  sub(/^ +/, "", help)
  split(columns[1], usage, " ")
  if (2 in usage) values = values " [" usage[1] "]=" quoted(usage[2])
  options = options " \\\n    " quoted(usage[1] "  " help)
}

END {
  print "\n_" name "() {"
  print "  local -A values=(" substr(values, 2) ")"
  print "  _vlm_tool " quoted(operand) options
  print "}\n\ncomplete -o nosort -F _" name " " name
}
