# Completion for bash, made from the programs' own lists of commands and options.

# Sets `words` to the words before the cursor, and `cur` to the last of them. COMP_WORDS would cut
# "3:2" and "--latency=20ms" into pieces.
_vlm_split() {
  local line=${COMP_LINE:0:COMP_POINT}
  read -ra words <<<"$line"
  [[ $line != *[[:blank:]] ]] || words+=("")
  cur=${words[-1]}
}

# Offers its arguments, which all begin with `cur`. Readline replaces `cur` from its last word break
# on.
_vlm_reply() {
  local replaced=$cur
  [[ $COMP_WORDBREAKS != *=* ]] || replaced=${replaced##*=}
  [[ $COMP_WORDBREAKS != *:* ]] || replaced=${replaced##*:}
  COMPREPLY=("${@#"${cur%"$replaced"}"}")
}

# Offers those of its arguments, "WORD" or "WORD  DESCRIPTION", that begin with `cur`.
_vlm_offer() {
  local candidate matches=()
  for candidate; do
    [[ $candidate != "$cur"* ]] || matches+=("$candidate")
  done
  # Descriptions are for reading: the last match, and what menu completion (37) walks through, is
  # typed as it stands.
  ((${#matches[@]} > 1 && ${COMP_TYPE:-0} != 37)) || matches=("${matches[@]%%  *}")
  _vlm_reply "${matches[@]}"
}
